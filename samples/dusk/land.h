#pragma once

#include <algorithm>

// The two lands of the show in world units, for their height maps, their pictures and what stands on them.
// A terrain covers 0 to 7680 along X and Z and reaches up to 2000.

inline constexpr double landExtent = 7680;
inline constexpr double landTop = 2000;

// From 0 at `from` to 1 at `to`, which may be the smaller one.
constexpr double smoothBetween(double from, double to, double x) {
    const double t = std::clamp((x - from) / (to - from), 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

// --- the valley: a lake along Z between ridges ----------------------------------------------------------

inline constexpr double lakeLevel = 160;

double lakeMiddle(double z);
// How far a place lies from the water; below 0 in the lake.
double shoreDistance(double x, double z);
double valleyHeight(double x, double z);
// The right-hand (side 1) or left-hand (side -1) bank, `inland` behind the edge of the water.
double bankX(double z, double side, double inland);

// --- the crater: terraces from the rim down to a level floor --------------------------------------------

inline constexpr double craterMiddle = 3840; // X and Z
inline constexpr double craterFloor = 320;
inline constexpr double terraceStep = 160; // twenty grey steps of the height map

struct Terrace {
    double height;
    double edge; // 0 on a level tread, 1 where the ground falls to the next one
};
Terrace terraceAt(double x, double z);
