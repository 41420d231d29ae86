#pragma once

#include <string>

// Writes town.quab and its meshes, as an author exports them: house (two layers, the second one moves), a
// pivot without geometry, a skinned walker, a spot light, a camera. "" or what went wrong.
std::string writeTown(const std::string& directory);
