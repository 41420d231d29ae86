#include "land.h"

#include "noise.h"

#include <algorithm>
#include <cmath>

namespace {

// The shot was composed around Z = 3000. It plays further along, so that less of the land lies before the
// eye.
constexpr double shift = 1000;

// Sharp crests, 0 to 1; lower octaves break up the higher ones, so that hollows stay smooth.
double ridges(double x, double z, double size, int octaves, int salt) {
    double sum = 0, weight = 0.5, all = 0, before = 1;
    for (int i = 0; i < octaves; ++i, size *= 0.47, weight *= 0.5) {
        const double n = smoothNoise(x / size + 17.3 * i, z / size - 9.1 * i, salt + i);
        const double crest = 1 - std::abs(2 * n - 1);
        sum += weight * crest * crest * before;
        all += weight;
        before = std::clamp(crest * 1.4, 0.0, 1.0);
    }
    return sum / all;
}

double rolling(double x, double z, double size, int octaves, int salt) {
    double sum = 0, weight = 0.5, all = 0;
    for (int i = 0; i < octaves; ++i, size *= 0.5, weight *= 0.5) {
        sum += weight * smoothNoise(x / size, z / size, salt + i);
        all += weight;
    }
    return sum / all;
}

double lakeWidth(double z) {
    z -= shift;
    return 250 + 90 * std::sin(z / 310.0 + 1.0) + 60 * std::sin(z / 173.0);
}

} // namespace

double lakeMiddle(double z) {
    z -= shift;
    return 3840 + 260 * std::sin(z / 1150.0 - 2.4) + 70 * std::sin(z / 420.0);
}

double shoreDistance(double x, double z) {
    const double bays = 70 * (rolling(x, z - shift, 240, 3, 5) - 0.5);
    return std::abs(x - lakeMiddle(z)) - lakeWidth(z) + bays;
}

double bankX(double z, double side, double inland) {
    double x = lakeMiddle(z);
    while (shoreDistance(x, z) < inland) {
        x += side * 2;
    }
    return x;
}

double valleyHeight(double x, double z) {
    const double shore = shoreDistance(x, z);
    const double bed = lakeLevel - 4 - 60 * smoothBetween(0, -140, shore);
    if (shore < 0) {
        return bed;
    }
    z -= shift;
    const double meadow = lakeLevel - 4 + 16 * smoothBetween(0, 26, shore) + 0.09 * shore +
                          26 * smoothBetween(40, 200, shore) * rolling(x, z, 130, 3, 21);
    const double up = smoothBetween(130, 1250, shore);
    const double crests = ridges(x, z, 1500, 7, 31);
    const double mountains = up * (260 + 1350 * crests) + 120 * up * rolling(x, z, 420, 4, 51);
    return std::min(meadow + mountains, landTop - 1);
}

Terrace terraceAt(double x, double z) {
    const double east = x - craterMiddle, north = z - craterMiddle;
    const double angle = std::atan2(east, north);
    const double away = std::hypot(east, north) * (1 + 0.10 * std::sin(angle * 2 + 0.7)) +
                        420 * (rolling(x, z, 900, 3, 71) - 0.5);
    const double rim = 1180 + 330 * rolling(x, z, 1300, 2, 81) + 150 * std::sin(angle * 3 + 1.9);
    const double inside = craterFloor + (rim - craterFloor) * smoothBetween(430, 2250, away);
    const double outside = rim - 900 * smoothBetween(2350, 3900, away);
    const double slope = away < 2300 ? inside : outside;
    const double steps = slope / terraceStep, tread = std::floor(steps);
    const double edge = smoothBetween(0.58, 1.0, steps - tread);
    const double rough = away < 2300 ? 0 : 260 * smoothBetween(2300, 2900, away) * ridges(x, z, 700, 5, 91);
    const double height = (tread + edge) * terraceStep + rough;
    return {std::clamp(height, 0.0, landTop - 1), edge * (1 - edge) * 4};
}
