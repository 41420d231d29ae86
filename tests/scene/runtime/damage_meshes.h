#pragma once

#include <string>

// Small sound .x files as an author exports them, to be damaged. Text or binary.

// A box of two materials in a frame that moves and turns it.
std::string soundBox(bool binary);
// A bar on two bones, the second one inside the first, that bends.
std::string soundSkin(bool binary);
