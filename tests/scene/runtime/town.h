#pragma once

#include <string>

// Writes a scene as an author exports it: house (two layers, the second one moves), a pivot without geometry,
// a skinned walker, a spot light, a camera. "" or what went wrong.
std::string writeTown(const std::string& path);
