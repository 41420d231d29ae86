#include "render/reference/surface.h"

#include <gtest/gtest.h>

namespace {
constexpr double EXACT = 1e-9;
// The shader's PI is short of the true one by 5e-8.
constexpr double NEAR = 1e-6;

constexpr QbRef3 AMBIENT{0.1, 0.2, 0.3};
constexpr QbRef4 LIGHT{0.4, 0.3, 0.2, 0.5};

void expectNear(QbRef4 actual, QbRef4 expected) {
    EXPECT_NEAR(actual.r, expected.r, EXACT);
    EXPECT_NEAR(actual.g, expected.g, EXACT);
    EXPECT_NEAR(actual.b, expected.b, EXACT);
    EXPECT_NEAR(actual.a, expected.a, EXACT);
}

QbRefSurface painted() {
    QbRefSurface surface;
    surface.color = {0.5, 0.4, 0.2};
    surface.diffuse = 0.8;
    surface.luminosity = 0.25;
    surface.glow = 0.7;
    return surface;
}

TEST(ReferenceSurface, ComposesLightAndLuminosity) {
    // Red: 0.8 * 0.5 * (0.1 + 0.4) + 0.25 * 0.5 + 0.5 * 0.4 = 0.2 + 0.125 + 0.2; green 0.16 + 0.1 + 0.15;
    // blue 0.08 + 0.05 + 0.1. The specular part has the colour of the light alone.
    expectNear(qbRefFinalOutput(painted(), std::nullopt, AMBIENT, LIGHT), {0.525, 0.41, 0.23, 0.7});
    // Without light: 0.8 * 0.5 * 0.1 + 0.125, and so on.
    expectNear(qbRefFinalOutput(painted(), std::nullopt, AMBIENT, {}), {0.165, 0.164, 0.098, 0.7});
}

TEST(ReferenceSurface, MapsTakeThePlaceOfValues) {
    QbRefSurface surface = painted();
    surface.colorTexel = QbRef3{1, 0, 0.5};
    // 0.8 * 1 * 0.5 + 0.25 + 0.2; 0.15; 0.8 * 0.5 * 0.5 + 0.125 + 0.1.
    expectNear(qbRefFinalOutput(surface, std::nullopt, AMBIENT, LIGHT), {0.85, 0.15, 0.425, 0.7});
    surface.diffuseTexel = 0.5;
    surface.luminosityTexel = 0.0;
    expectNear(qbRefFinalOutput(surface, std::nullopt, AMBIENT, LIGHT), {0.45, 0.15, 0.225, 0.7});
}

TEST(ReferenceSurface, ReflectivityCountsTwiceWithoutItsMap) {
    QbRefReflection reflection;
    reflection.imageTexel = {1, 0.5, 0};
    reflection.reflectivity = 0.5;
    expectNear(qbRefFinalOutput(painted(), reflection, AMBIENT, {}),
               {0.165 + 0.25, 0.164 + 0.125, 0.098, 0.7});
    // With the map: (0.4 + 0.5 * 0.001) * 0.5 = 0.20025.
    reflection.reflectivityTexel = 0.4;
    expectNear(qbRefFinalOutput(painted(), reflection, AMBIENT, {}),
               {0.165 + 0.20025, 0.164 + 0.100125, 0.098, 0.7});
}

TEST(ReferenceReflection, TurnsTheViewRound) {
    // Seen from 36.87 degrees off the normal, the ray leaves on the other side.
    const QbRef3 r = qbRefReflectedRay({0.6, 0.8, 0}, {0, 1, 0});
    EXPECT_NEAR(r.x, -0.6, EXACT);
    EXPECT_NEAR(r.y, 0.8, EXACT);
    // A short normal gives a short ray: -v + n * 2 (n . v) = (-0.6, -0.8 + 0.5 * 0.8, 0).
    EXPECT_NEAR(qbRefReflectedRay({0.6, 0.8, 0}, {0, 0.5, 0}).y, -0.4, EXACT);
}

TEST(ReferenceReflection, NormalMapAddsTheBinormal) {
    const QbRefAxes axes{{0, 1, 0}, {1, 0, 0}, {0, 0, 1}};
    // m = (0, 1, 0): +binormal here, where the depth pass takes -binormal.
    const QbRef3 n = qbRefReflectionNormal(axes, {0.5, 1, 0.5}, 4);
    EXPECT_NEAR(n.z, 1, EXACT);
    // Bump 0: the normal.
    EXPECT_NEAR(qbRefReflectionNormal(axes, {0.5, 1, 0.5}, 0).y, 1, EXACT);
}

TEST(ReferenceReflection, MapsRaysToTheImage) {
    const struct {
        QbRef3 r;
        double seam, u, v;
    } rows[] = {
        // (PI - atan2(-1, 0) - 0.4 PI) / 2 PI = (1 + 0.5 - 0.4) / 2; acos 0 is the middle of the image.
        {{0, 0, -1}, 0, 0.55, 0.5},
        // (1 - 0 - 0.4) / 2.
        {{1, 0, 0}, 0, 0.3, 0.5},
        // (1 + 0.5 - 0.25 - 0.4) / 2 with a seam of a quarter PI.
        {{0, 0, -1}, 3.1415926 / 4, 0.425, 0.5},
        // Upward is the top row: acos(0.5) is a third of PI.
        {{std::sqrt(0.75), 0.5, 0}, 0, 0.3, 1.0 / 3},
    };
    for (const auto& row : rows) {
        const QbRef2 uv = qbRefReflectionUv(row.r, row.seam);
        EXPECT_NEAR(uv.x, row.u, NEAR);
        EXPECT_NEAR(uv.y, row.v, NEAR);
    }
}

TEST(ReferenceReflection, MapsRaysOfNormalMappedSurfacesOtherwise) {
    const struct {
        QbRef3 r;
        double seam, u, v;
    } rows[] = {
        // a = -1: theta = PI.
        {{0, 0, -1}, 0, 0.5, 0.5},
        // a = 0, b = 1: a quarter; b = -1: three quarters.
        {{1, 0, 0}, 0, 0.25, 0.5},
        {{-1, 0, 0}, 0, 0.75, 0.5},
        // The height is linear, not an angle: (1 - 0.6) / 2. A seam of half PI takes a quarter off.
        {{0.8, 0.6, 0}, 3.1415926 / 2, 0.0, 0.2},
    };
    for (const auto& row : rows) {
        const QbRef2 uv = qbRefReflectionUvWithNormalMap(row.r, row.seam);
        EXPECT_NEAR(uv.x, row.u, NEAR);
        EXPECT_NEAR(uv.y, row.v, NEAR);
    }
}
} // namespace
