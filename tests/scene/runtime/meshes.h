#pragma once

#include <string>

// Small .x files as text.

// A cube around the origin, one white material.
std::string boxMesh(float edge);

// A triangle with its corners at x = 0, 1 and 0, bound to one bone that moves along X by one unit a frame,
// keys at 0 and 10. The engine's reader counts ten frames there, 0 to 9: it never reaches the last key.
std::string slidingMesh();
