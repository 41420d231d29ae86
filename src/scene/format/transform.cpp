#include "scene/format/transform.h"

#include "scene/format/channel.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double DEGREES = 57.29577951308232;
constexpr float PI = 3.1415927410125732f;

// Below this the sine and the cosine of the middle angle no longer tell the two outer ones apart.
constexpr double SINGULAR = 0.0001;

// From here on two rotations are so close that the arc is a line.
constexpr double STRAIGHT = 0.0001;

void rotationAt(const QbScene* scene, const QbChannelRef* channels, float time, float* out) {
    int32_t first, second;
    float blend, from[3], to[3];
    qbChannelSampleTime(scene, time, &first, &second, &blend);
    for (int i = 0; i < 3; i++) {
        qbChannelSamplePair(scene, &channels[i], first, second, &from[i], &to[i]);
        from[i] = static_cast<float>(from[i] * DEGREES);
        to[i] = static_cast<float>(to[i] * DEGREES);
    }

    float start[4], end[4];
    qbEulerToQuat(from[0], from[1], from[2], start);
    if (first == second) {
        std::copy_n(start, 4, out);
        return;
    }
    qbEulerToQuat(to[0], to[1], to[2], end);
    qbQuatSlerp(start, end, blend, out);
}

float degrees(double y, double x) {
    return static_cast<float>(std::atan2(y, x) * DEGREES);
}

// The cosine that goes with the sine of the middle angle, which rounding may put above 1.
double cosineOf(double s) {
    return std::sqrt(std::max(0.0, 1 - s * s));
}

} // namespace

void qbItemRotationHpb(float* out, const QbScene* scene, const QbChannelRef* channels, float time) {
    float q[4], e[3];
    rotationAt(scene, channels, time, q);
    qbQuatToEulerHpb(q, e);
    out[0] = e[2];
    out[1] = e[1];
    out[2] = e[0];
}

void qbItemRotationEngine(float* out, const QbScene* scene, const QbChannelRef* channels, float time) {
    float q[4];
    rotationAt(scene, channels, time, q);
    qbQuatToEulerEngine(q, out);
}

void qbEulerToQuat(float h, float p, float b, float* out) {
    const float a = h * PI / 180.0f * 0.5f;
    const float c = p * PI / 180.0f * 0.5f;
    const float d = b * PI / 180.0f * 0.5f;
    const float sinH = std::sin(a), cosH = std::cos(a);
    const float sinP = std::sin(c), cosP = std::cos(c);
    const float sinB = std::sin(d), cosB = std::cos(d);
    out[0] = cosP * (sinH * cosB) - sinP * (cosH * sinB);
    out[1] = sinP * (cosH * cosB) + cosP * (sinH * sinB);
    out[2] = cosP * (cosH * sinB) - sinP * (sinH * cosB);
    out[3] = sinP * (sinH * sinB) + cosP * (cosH * cosB);
    qbQuatNormalize(out);
}

void qbQuatNormalize(float* q) {
    const float n = q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3];
    if (n == 0.0f) return;
    for (int i = 0; i < 4; i++)
        q[i] /= n;
}

void qbQuatSlerp(const float* a, const float* b, float t, float* out) {
    double d = 0.0;
    for (int i = 0; i < 4; i++)
        d += static_cast<double>(a[i]) * b[i];
    const double sign = d < 0.0 ? -1.0 : 1.0; // q and -q are one rotation: take the shorter arc
    d *= sign;

    double s0 = 1.0 - t, s1 = t;
    if (!(1.0 - d <= STRAIGHT)) {
        const double omega = std::acos(d);
        s0 = std::sin((1.0 - t) * omega) / std::sin(omega);
        s1 = std::sin(t * omega) / std::sin(omega);
    }
    for (int i = 0; i < 4; i++)
        out[i] = static_cast<float>(s0 * sign * a[i] + s1 * b[i]);
}

void qbQuatToEulerHpb(const float* q, float* out) {
    const double x = q[0], y = q[1], z = q[2], w = q[3];
    const double s = 2 * w * y - 2 * x * z;
    const double m = cosineOf(s);
    if (m <= SINGULAR) {
        out[0] = 0.0f;
        out[2] = degrees(2 * w * x - 2 * y * z, 1 - 2 * x * x - 2 * z * z);
    } else {
        out[0] = degrees((2 * x * y + 2 * w * z) / m, (1 - 2 * y * y - 2 * z * z) / m);
        out[2] = degrees((2 * y * z + 2 * w * x) / m, (1 - 2 * x * x - 2 * y * y) / m);
    }
    out[1] = degrees(s, m);
}

void qbQuatToEulerEngine(const float* q, float* out) {
    const double x = q[0], y = q[1], z = q[2], w = q[3];
    const double s = 2 * w * x - 2 * y * z;
    const double m = cosineOf(s);
    if (m <= SINGULAR) {
        // Straight up and down leaves the outer angles undetermined: the third is pinned.
        out[0] = 0.0f;
        out[2] = 90.0f;
    } else {
        out[0] = degrees((2 * x * z + 2 * w * y) / m, (1 - 2 * x * x - 2 * y * y) / m);
        out[2] = degrees((2 * x * y + 2 * w * z) / m, (1 - 2 * x * x - 2 * z * z) / m);
    }
    out[1] = degrees(s, m);
}
