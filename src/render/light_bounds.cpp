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

static constexpr float INFINITE = std::numeric_limits<float>::infinity();

// Slopes side/forward between the two tangents from the eye to a circle. A tangent that points behind the
// eye leaves its side open.
static Span slopes(float side, float forward, float radius) {
    const float distance2 = side * side + forward * forward;
    const float tangent2 = distance2 - radius * radius;
    if (!(tangent2 > 0.0F)) return {-INFINITE, INFINITE};
    const float distance = std::sqrt(distance2);
    const float c = std::sqrt(tangent2) / distance;
    const float s = radius / distance;
    const float lowForward = forward * c + side * s;
    const float highForward = forward * c - side * s;
    const float nothing = distance * 1e-4F;
    return {lowForward > nothing ? (side * c - forward * s) / lowForward : -INFINITE,
            highForward > nothing ? (side * c + forward * s) / highForward : INFINITE};
}

// Clip coordinate -1..1 to pixels 0..count, one more on each side for the rounding of the GPU.
static int pixelFrom(float clip, int count) {
    const float pixel = (clip * 0.5F + 0.5F) * static_cast<float>(count);
    return static_cast<int>(std::clamp(std::floor(pixel) - 1.0F, 0.0F, static_cast<float>(count)));
}

static int pixelTo(float clip, int count) {
    const float pixel = (clip * 0.5F + 0.5F) * static_cast<float>(count);
    return static_cast<int>(std::clamp(std::ceil(pixel) + 1.0F, 0.0F, static_cast<float>(count)));
}

core::recti qbSphereBounds(const core::vector3df& center, float radius, const core::matrix4& projection,
                           const core::dimension2du& size) {
    if (center.Z + radius <= 0.0F) return core::recti();
    const Span x = slopes(center.X, center.Z, radius);
    const Span y = slopes(center.Y, center.Z, radius);
    const auto width = static_cast<int>(size.Width);
    const auto height = static_cast<int>(size.Height);
    // A slope of y upward is a row downward. A span beside the picture ends with both edges on one border.
    return core::recti(pixelFrom(x.low * projection[0] + projection[8], width),
                       pixelFrom(-(y.high * projection[5] + projection[9]), height),
                       pixelTo(x.high * projection[0] + projection[8], width),
                       pixelTo(-(y.low * projection[5] + projection[9]), height));
}
