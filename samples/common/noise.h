#pragma once

#include <cmath>
#include <cstdint>

// Chance that is the same on every run: values between 0 and 1 from whole numbers.
inline double hash01(int x, int y = 0, int salt = 0) {
    uint32_t h = static_cast<uint32_t>(x) * 374761393u + static_cast<uint32_t>(y) * 668265263u +
                 static_cast<uint32_t>(salt) * 2246822519u;
    h = (h ^ (h >> 13)) * 1274126177u;
    h ^= h >> 16;
    return h / 4294967295.0;
}

// Smooth noise with features of about one unit, 0 to 1.
inline double smoothNoise(double x, double y, int salt = 0) {
    const double fx = std::floor(x), fy = std::floor(y);
    const int ix = static_cast<int>(fx), iy = static_cast<int>(fy);
    const double u = (x - fx) * (x - fx) * (3 - 2 * (x - fx));
    const double v = (y - fy) * (y - fy) * (3 - 2 * (y - fy));
    const double low = hash01(ix, iy, salt) * (1 - u) + hash01(ix + 1, iy, salt) * u;
    const double high = hash01(ix, iy + 1, salt) * (1 - u) + hash01(ix + 1, iy + 1, salt) * u;
    return low * (1 - v) + high * v;
}

// The same, repeating after `period` units in both directions.
inline double tiledNoise(double x, double y, int period, int salt) {
    const auto wrap = [period](double value) {
        const int whole = static_cast<int>(std::floor(value)) % period;
        return whole < 0 ? whole + period : whole;
    };
    const int ix = wrap(x), iy = wrap(y), jx = (ix + 1) % period, jy = (iy + 1) % period;
    const double fx = x - std::floor(x), fy = y - std::floor(y);
    const double u = fx * fx * (3 - 2 * fx), v = fy * fy * (3 - 2 * fy);
    const double low = hash01(ix, iy, salt) * (1 - u) + hash01(jx, iy, salt) * u;
    const double high = hash01(ix, jy, salt) * (1 - u) + hash01(jx, jy, salt) * u;
    return low * (1 - v) + high * v;
}

// Octaves of it, 0 to 1; x and y from 0 to 1 make one tile.
inline double tiledClouds(double x, double y, int cells, int octaves, int salt) {
    double sum = 0, weight = 0.5, all = 0;
    for (int i = 0; i < octaves; ++i, cells *= 2, weight *= 0.5) {
        sum += weight * tiledNoise(x * cells, y * cells, cells, salt + i);
        all += weight;
    }
    return sum / all;
}
