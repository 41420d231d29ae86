#pragma once

#include <string_view>
#include <vector>

// A stroke alphabet of capitals, for the captions' meshes and the loading picture. Capitals stand on y = 0
// and reach y = 1; x grows to the right.

struct Point {
    double x, y;
};

// A line of constant width through the points.
using Stroke = std::vector<Point>;

struct Lettering {
    std::vector<Stroke> strokes;
    double width; // to the right edge of the last letter
};

// The strokes of a text, letter after letter. `spacing` is the gap between letters; what is no capital letter
// becomes a blank.
Lettering layLetters(std::string_view text, double spacing);
double distanceToStrokes(const Lettering& lettering, Point point);
