#include "render/light_bounds.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

using namespace irr;
using core::recti;
using core::vector3df;

static core::matrix4 squareProjection() {
    core::matrix4 projection;
    projection.buildProjectionMatrixPerspectiveFovLH(core::HALF_PI, 1.0F, 1.0F, 1000.0F);
    return projection;
}

// 90 degrees over 100 x 100 pixels: a slope s is pixel 50 + 50 s, and each side has a pixel to spare.
TEST(SphereBounds, EnclosesTheSphereClosely) {
    static const struct {
        const char* name;
        vector3df center;
        float radius;
        recti pixels;
    } spheres[] = {
        {"ahead: slopes of 1 / sqrt(99)", {0, 0, 10}, 1, {43, 43, 57, 57}},
        {"above: 45 degrees and asin(1 / sqrt(200)) around", {0, 10, 10}, 1, {43, 0, 57, 8}},
        {"across the eye's plane, to the left", {-4, 0, 1}, 3, {0, 0, 23, 100}},
        {"around the eye", {0, 0, -1}, 2, {0, 0, 100, 100}},
    };
    for (const auto& sphere : spheres) {
        SCOPED_TRACE(sphere.name);
        const recti pixels = qbSphereBounds(sphere.center, sphere.radius, squareProjection(), {100, 100});
        EXPECT_EQ(pixels.UpperLeftCorner, sphere.pixels.UpperLeftCorner);
        EXPECT_EQ(pixels.LowerRightCorner, sphere.pixels.LowerRightCorner);
    }
    EXPECT_EQ(qbSphereBounds({0, 0, -5}, 4, squareProjection(), {100, 100}).getArea(), 0) << "behind";
    EXPECT_EQ(qbSphereBounds({30, 0, 10}, 2, squareProjection(), {100, 100}).getArea(), 0) << "beside";
}

TEST(SphereBounds, LeavesNoPointOfAnySphereOut) {
    std::mt19937 random(7);
    const auto between = [&random](float low, float high) {
        return std::uniform_real_distribution<float>(low, high)(random);
    };
    int seen = 0;
    for (int i = 0; i < 3000; ++i) {
        const int width = 1920, height = 1079;
        core::matrix4 projection;
        projection.buildProjectionMatrixPerspectiveFovLH(between(0.2F, 2.5F), between(0.5F, 3), 0.1F, 1000);
        projection[8] = i % 2 ? between(-0.5F, 0.5F) : 0;
        projection[9] = i % 2 ? between(-0.5F, 0.5F) : 0;
        const vector3df center(between(-60, 60), between(-60, 60), between(-40, 80));
        const float radius = std::exp(between(-4, 5));
        const recti pixels = qbSphereBounds(center, radius, projection, {width, height});
        for (int j = 0; j < 60; ++j) {
            vector3df offset(between(-1, 1), between(-1, 1), between(-1, 1));
            const vector3df p = center + offset.normalize() * radius * (j % 4 ? 1.0F : between(0, 1));
            if (p.Z <= 1e-3F) continue;
            const float x = (p.X / p.Z * projection[0] + projection[8]) * 0.5F + 0.5F;
            const float y = 0.5F - (p.Y / p.Z * projection[5] + projection[9]) * 0.5F;
            if (x < 0 || x >= 1 || y < 0 || y >= 1) continue;
            const core::vector2di pixel(static_cast<s32>(x * width), static_cast<s32>(y * height));
            ASSERT_TRUE(pixel.X >= pixels.UpperLeftCorner.X && pixel.X < pixels.LowerRightCorner.X &&
                        pixel.Y >= pixels.UpperLeftCorner.Y && pixel.Y < pixels.LowerRightCorner.Y)
                << "sphere " << i << ", pixel " << pixel.X << ", " << pixel.Y;
            ++seen;
        }
    }
    EXPECT_GT(seen, 10000);
}
