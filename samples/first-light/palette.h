#pragma once

#include <array>

// The show's colours, from night to day, as fractions.

using Colour = std::array<float, 3>;

inline constexpr Colour abyss = {0.016f, 0.012f, 0.055f};
inline constexpr Colour night = {0.055f, 0.043f, 0.165f};
inline constexpr Colour indigo = {0.141f, 0.106f, 0.369f};
inline constexpr Colour violet = {0.294f, 0.180f, 0.514f};
inline constexpr Colour plum = {0.478f, 0.231f, 0.525f};
inline constexpr Colour rose = {0.784f, 0.314f, 0.431f};
inline constexpr Colour coral = {1.000f, 0.435f, 0.380f};
inline constexpr Colour amber = {1.000f, 0.620f, 0.290f};
inline constexpr Colour gold = {1.000f, 0.784f, 0.341f};
inline constexpr Colour cream = {1.000f, 0.914f, 0.788f};

constexpr Colour mixColours(const Colour& a, const Colour& b, float way) {
    return {a[0] + (b[0] - a[0]) * way, a[1] + (b[1] - a[1]) * way, a[2] + (b[2] - a[2]) * way};
}

constexpr Colour scaleColour(const Colour& a, float factor) {
    return {a[0] * factor, a[1] * factor, a[2] * factor};
}
