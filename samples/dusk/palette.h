#pragma once

#include "colour.h"

// The show's colours, from the last light to the blue hour.

inline constexpr Colour deepBlue = {0.024f, 0.043f, 0.125f};
inline constexpr Colour slateBlue = {0.145f, 0.180f, 0.384f};
inline constexpr Colour mauve = {0.420f, 0.310f, 0.475f};
inline constexpr Colour peach = {1.000f, 0.655f, 0.420f};
inline constexpr Colour lantern = {1.000f, 0.620f, 0.235f};
inline constexpr Colour flame = {1.000f, 0.420f, 0.130f};
inline constexpr Colour snow = {0.860f, 0.890f, 1.000f};
