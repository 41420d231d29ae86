#pragma once

#include <array>

using Colour = std::array<float, 3>; // red, green, blue as fractions

constexpr Colour mixColours(const Colour& a, const Colour& b, float way) {
    return {a[0] + (b[0] - a[0]) * way, a[1] + (b[1] - a[1]) * way, a[2] + (b[2] - a[2]) * way};
}

constexpr Colour scaleColour(const Colour& a, float factor) {
    return {a[0] * factor, a[1] * factor, a[2] * factor};
}
