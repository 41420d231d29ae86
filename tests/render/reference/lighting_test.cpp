#include "render/reference/lighting.h"

#include <gtest/gtest.h>

namespace {
constexpr double EXACT = 1e-9;

// A surface that looks straight at the camera, with specular 0.5 and the glossiness given.
QbRef4 facing(double glossiness) {
    return {0.5, 0.5, 0.5, glossiness};
}

void expectNear(QbRef4 actual, QbRef4 expected, double tolerance = EXACT) {
    EXPECT_NEAR(actual.r, expected.r, tolerance);
    EXPECT_NEAR(actual.g, expected.g, tolerance);
    EXPECT_NEAR(actual.b, expected.b, tolerance);
    EXPECT_NEAR(actual.a, expected.a, tolerance);
}

TEST(ReferenceLight, DistantLightHasNoRange) {
    QbRefLight light;
    light.color = {1, 0.5, 0.25};
    light.direction = {0.6, 0, 0.8};
    // n = (0, 0, 1): nl = 0.8. h = (0.6, 0, 1.8) normalised: n.h = 1.8 / sqrt(3.6) = sqrt(0.9).
    // Glossiness 0.2 is a power of 8: 0.9^4 = 0.6561; specular 0.8 * 0.5 * 0.6561 = 0.26244.
    for (double distance : {1.0, 10.0, 10000.0})
        expectNear(qbRefLightOutput(light, {0, 0, distance}, facing(0.2)), {0.8, 0.4, 0.2, 0.26244});
    // Glossiness 0.1 is a power of 1, glossiness 0 a power of 0: 0.8 * 0.5 * 1.
    EXPECT_NEAR(qbRefLightOutput(light, {0, 0, 10}, facing(0.1)).a, 0.4 * std::sqrt(0.9), EXACT);
    EXPECT_NEAR(qbRefLightOutput(light, {0, 0, 10}, facing(0)).a, 0.4, EXACT);
    light.direction = {0, 0, -1}; // from behind the surface
    light.direction.x = 1e-3;
    expectNear(qbRefLightOutput(light, {0, 0, 10}, facing(0.2)), {0, 0, 0, 0});
}

TEST(ReferenceLight, PointLightFadesWithTheSquareOfTheDistance) {
    QbRefLight light;
    light.kind = QbRefLightKind::Point;
    light.position = {0, 0, 6};
    light.radius = 8;
    // Distance 4 of 8: 1 - 16/64 = 0.75; light and view along the normal: n.h = 1.
    expectNear(qbRefLightOutput(light, {0, 0, 10}, facing(0.9)), {0.75, 0.75, 0.75, 0.375});
    EXPECT_EQ(qbRefAttenuation(light, {0, 0, 14}), 0);
    EXPECT_EQ(qbRefAttenuation(light, {0, 0, 100}), 0);
    // Beside the light, at p = (3, 0, 10): distance 5, 1 - 25/64 = 39/64; l = (0.6, 0, 0.8): nl = 0.8 *
    // 39/64.
    EXPECT_NEAR(qbRefLightOutput(light, {3, 0, 10}, facing(0)).r, 0.4875, EXACT);
}

TEST(ReferenceLight, SpotFadesBetweenItsCones) {
    QbRefLight light;
    light.kind = QbRefLightKind::Spot;
    light.radius = 20;
    light.innerCone = 0;
    light.outerCone = 60;
    light.direction = {0.6, 0, 0.8};
    // rho = 0.8 between cos 60 = 0.5 and cos 0 = 1: 0.6. Distance 10 of 20: 0.75. Together 0.45.
    EXPECT_NEAR(qbRefAttenuation(light, {0, 0, 10}), 0.45, EXACT);
    // On the axis; outside the outer cone, rho = -0.6.
    EXPECT_NEAR(qbRefAttenuation(light, {6, 0, 8}), 0.75, EXACT);
    EXPECT_EQ(qbRefAttenuation(light, {-10, 0, 0}), 0);
    // Cones are not halved: 36.87 degrees off axis lies within an inner cone of 40.
    light.innerCone = 40;
    EXPECT_NEAR(qbRefAttenuation(light, {0, 0, 10}), 0.75, EXACT);
}

TEST(ReferenceLight, BackgroundBeginsAboveTheThreshold) {
    EXPECT_TRUE(qbRefIsLit(0.9999));
    EXPECT_FALSE(qbRefIsLit(0.99991));
}

TEST(ReferenceLight, LightsAddWithoutOverflow) {
    // Bytes: 0.5 + 0.5 * (1 - 0.5) = 0.75 is 191.25 of 255, stored as 191. A channel of 1 stays 1, a source
    // above 1 counts as 1.
    const QbRef4 sum = qbRefAddColor({0.5, 1, 0.5, 0}, {0.5, 0.5, 2, -1});
    expectNear(sum, {191.0 / 255, 1, 1, 0});
}
} // namespace
