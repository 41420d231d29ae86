// Vectors of the CPU reference: doubles throughout, so that its own rounding never decides a comparison.
#pragma once

#include <algorithm>
#include <cmath>

struct QbRef2 {
    double x = 0, y = 0;
};

struct QbRef3 {
    double x = 0, y = 0, z = 0;
};

// A texel of a target or of a map.
struct QbRef4 {
    double r = 0, g = 0, b = 0, a = 0;
};

constexpr QbRef3 operator+(QbRef3 a, QbRef3 b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
constexpr QbRef3 operator-(QbRef3 a, QbRef3 b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
constexpr QbRef3 operator-(QbRef3 a) {
    return {-a.x, -a.y, -a.z};
}
constexpr QbRef3 operator*(QbRef3 a, double s) {
    return {a.x * s, a.y * s, a.z * s};
}
constexpr QbRef3 operator*(QbRef3 a, QbRef3 b) {
    return {a.x * b.x, a.y * b.y, a.z * b.z};
}

constexpr QbRef4 operator+(QbRef4 a, QbRef4 b) {
    return {a.r + b.r, a.g + b.g, a.b + b.b, a.a + b.a};
}
constexpr QbRef4 operator*(QbRef4 a, double s) {
    return {a.r * s, a.g * s, a.b * s, a.a * s};
}

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

// What a channel of 8 bits holds after the write of `v`.
inline double qbRefStore8(double v) {
    return std::round(qbRefSaturate(v) * 255.0) / 255.0;
}

inline QbRef4 qbRefStore8(QbRef4 v) {
    return {qbRefStore8(v.r), qbRefStore8(v.g), qbRefStore8(v.b), qbRefStore8(v.a)};
}
