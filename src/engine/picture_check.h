#pragma once

#include <string>

// Irrlicht's picture readers trust sizes, indices and ends of the file. This looks at a picture first.

// Longest side in pixels.
enum { QB_PICTURE_SIDE_MAX = 16384 };

// Takes a whole file and the name that it has for Irrlicht, whose readers go by both. Null: the readers come
// to no harm, be it because the picture is sound or because none of them takes the file. `bytes` is then what
// they must be given, with more at its end or in its palette than the file has. Otherwise what is wrong and
// what to do, to be put behind the name of the file.
const char* qbPictureCheck(const char* name, std::string& bytes);
