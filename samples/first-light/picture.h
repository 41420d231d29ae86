#pragma once

#include <array>
#include <cstdint>
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

// Both: 0, or -1 with a reason in `error`. The same picture gives the same bytes.
int savePng(const Picture& picture, const std::string& path, std::string& error);
int saveJpg(const Picture& picture, const std::string& path, std::string& error);
