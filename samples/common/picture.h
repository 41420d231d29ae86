#pragma once

#include "colour.h"

#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

// Pictures in memory and their two file formats. Solid surfaces take jpg, since a png in a mesh file counts
// as one that shows what lies behind it.

struct Picture {
    int width, height;
    std::vector<std::array<float, 4>> texels; // red, green, blue, alpha as fractions; top row first
    Picture(int w, int h);
    std::array<float, 4>& at(int x, int y);
};

struct Stop {
    double at;
    Colour colour;
};
// The stops ascend; before the first and behind the last one their colours go on.
Colour gradient(std::initializer_list<Stop> stops, double at);
void setTexel(Picture& picture, int x, int y, const Colour& colour, double light = 1.0, double alpha = 1.0);
struct Way {
    double x, y, z;
};
// Through a place on the faces of a cube map as they lie: +X -X +Y -Y +Z -Z, each seen from inside, s to the
// right and t down from -1 to 1.
Way wayThrough(int face, double s, double t);

// Both: 0, or -1 with a reason in `error`. The same picture gives the same bytes.
int savePng(const Picture& picture, const std::string& path, std::string& error);
int saveJpg(const Picture& picture, const std::string& path, std::string& error);
