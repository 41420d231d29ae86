#pragma once

#include "colour.h"

// The show's colours, from night to day.

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
