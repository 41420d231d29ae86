// Which point of which triangle a pixel shows, found with a ray through the pixel's centre.
#pragma once

#include "render/reference/formulas.h"

#include <array>
#include <vector>

// What a vertex hands to the pixels. Directions have length 1 at the vertices and are interpolated as they
// are.
struct QbRefPoint {
    QbRef3 position;     // view space
    QbRefAxes axes;      // view space
    QbRefAxes worldAxes; // world space
    QbRef3 toCamera;     // from the vertex as it stands in the mesh
    QbRef2 uv;
};

struct QbRefTriangle {
    int object = 0;                      // above 0
    std::array<QbRefPoint, 3> corners{}; // clockwise as seen from outside
};

struct QbRefHit {
    int object = 0; // 0: background
    // False where a neighbour shows another object, a bend or a step: there the GPU's rounding of a vertex to
    // its grid may decide for the other side.
    bool isInner = true;
    QbRefPoint point;
};

struct QbRefHits {
    int width = 0, height = 0;
    std::vector<QbRefHit> pixels; // rows from the top

    QbRefHit& at(int x, int y) { return pixels[static_cast<std::size_t>(y * width + x)]; }
    const QbRefHit& at(int x, int y) const { return pixels[static_cast<std::size_t>(y * width + x)]; }
};

// The nearest front face for each pixel, between the near and the far plane; `corners` are those of the far
// plane.
QbRefHits qbRefCast(const std::vector<QbRefTriangle>& triangles, const std::array<QbRef3, 4>& corners,
                    double nearValue, int width, int height);
