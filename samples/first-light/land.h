#pragma once

#include "noise.h"

#include <algorithm>

// The lake and its hills, for the mesh and for the pictures that reflect it. The lake lies along Z at height
// 0.

constexpr double smoothBetween(double from, double to, double x) {
    const double t = std::clamp((x - from) / (to - from), 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

// Hills rise with the distance from the shore.
inline double landHeight(double x, double z) {
    const double shore = std::abs(x + 70.0 * std::sin(z / 330.0)) - 26.0 * smoothNoise(x / 70, z / 70, 3);
    const double up = smoothBetween(120, 620, shore);
    const double ridge = 1.0 - std::abs(2.0 * smoothNoise(x / 260, z / 260, 9) - 1.0);
    const double height =
        up * (110 + 250 * ridge) + 34 * smoothBetween(100, 220, shore) * smoothNoise(x / 75, z / 75, 10);
    return height < 3.0 ? 0.0 : height;
}
