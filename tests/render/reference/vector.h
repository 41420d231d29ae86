// Vectors of the CPU reference: doubles throughout, so that its own rounding never decides a comparison.
#pragma once

#include <algorithm>
#include <cmath>

struct QbRef2 {
    double x = 0, y = 0;
};

struct QbRef3 {
    double x = 0, y = 0, z = 0;

    friend constexpr QbRef3 operator+(QbRef3 a, QbRef3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
    friend constexpr QbRef3 operator-(QbRef3 a, QbRef3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
    friend constexpr QbRef3 operator-(QbRef3 a) { return {-a.x, -a.y, -a.z}; }
    friend constexpr QbRef3 operator*(QbRef3 a, double s) { return {a.x * s, a.y * s, a.z * s}; }
    friend constexpr QbRef3 operator*(QbRef3 a, QbRef3 b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }
};

// A texel of a target or of a map.
struct QbRef4 {
    double r = 0, g = 0, b = 0, a = 0;

    friend constexpr QbRef4 operator+(QbRef4 c, QbRef4 d) {
        return {c.r + d.r, c.g + d.g, c.b + d.b, c.a + d.a};
    }
    friend constexpr QbRef4 operator*(QbRef4 c, double s) { return {c.r * s, c.g * s, c.b * s, c.a * s}; }
    friend constexpr bool operator==(QbRef4 c, QbRef4 d) {
        return c.r == d.r && c.g == d.g && c.b == d.b && c.a == d.a;
    }
};

constexpr double qbRefDot(QbRef3 a, QbRef3 b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

constexpr QbRef3 qbRefCross(QbRef3 a, QbRef3 b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline QbRef3 qbRefNormalize(QbRef3 a) {
    return a * (1.0 / std::sqrt(qbRefDot(a, a)));
}

inline double qbRefSaturate(double v) {
    return std::clamp(v, 0.0, 1.0);
}

// What channels of 8 bits hold after the write of `v`.
inline QbRef4 qbRefStore8(QbRef4 v) {
    const auto store = [](double channel) { return std::round(qbRefSaturate(channel) * 255.0) / 255.0; };
    return {store(v.r), store(v.g), store(v.b), store(v.a)};
}
