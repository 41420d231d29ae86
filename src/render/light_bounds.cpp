#include "render/light_bounds.h"

#include <algorithm>
#include <cmath>
#include <limits>

using namespace irr;

namespace {

struct Span {
    float low, high;
};

} // namespace

static constexpr float UNBOUNDED = std::numeric_limits<float>::infinity();

// Slopes side/forward between the two tangents from the eye to a circle. A tangent that points behind the
// eye leaves its side open.
static Span slopes(float side, float forward, float radius) {
    const float distance2 = side * side + forward * forward;
    const float tangent2 = distance2 - radius * radius;
    if (!(tangent2 > 0.0F)) return {-UNBOUNDED, UNBOUNDED};
    const float distance = std::sqrt(distance2);
    const float c = std::sqrt(tangent2) / distance;
    const float s = radius / distance;
    const float lowForward = forward * c + side * s;
    const float highForward = forward * c - side * s;
    const float epsilon = distance * 1e-4F;
    return {lowForward > epsilon ? (side * c - forward * s) / lowForward : -UNBOUNDED,
            highForward > epsilon ? (side * c + forward * s) / highForward : UNBOUNDED};
}

// The clip coordinates of a span, in order: a camera that turns the picture over swaps them. What cannot be
// told is everything.
static Span clipSpan(const Span& slope, float factor, float offset) {
    const float a = slope.low * factor + offset;
    const float b = slope.high * factor + offset;
    if (std::isnan(a) || std::isnan(b)) return {-UNBOUNDED, UNBOUNDED};
    return {std::min(a, b), std::max(a, b)};
}

static float pixelOf(float clip, int count) {
    return (clip * 0.5F + 0.5F) * static_cast<float>(count);
}

// Pixels from the first to behind the last, one more on each side for the rounding of the GPU.
static int firstPixel(float clip, int count) {
    return static_cast<int>(
        std::clamp(std::floor(pixelOf(clip, count)) - 1.0F, 0.0F, static_cast<float>(count)));
}

static int behindPixel(float clip, int count) {
    return static_cast<int>(
        std::clamp(std::ceil(pixelOf(clip, count)) + 1.0F, 0.0F, static_cast<float>(count)));
}

core::recti qbSphereBounds(const core::vector3df& center, float radius, const core::matrix4& projection,
                           const core::dimension2du& size) {
    if (center.Z + radius <= 0.0F) return core::recti();
    const Span x = clipSpan(slopes(center.X, center.Z, radius), projection[0], projection[8]);
    const Span y = clipSpan(slopes(center.Y, center.Z, radius), projection[5], projection[9]);
    const auto width = static_cast<int>(size.Width);
    const auto height = static_cast<int>(size.Height);
    // What lies high is a low row. A span beside the picture ends with both edges on one border.
    return core::recti(firstPixel(x.low, width), firstPixel(-y.high, height), behindPixel(x.high, width),
                       behindPixel(-y.low, height));
}
