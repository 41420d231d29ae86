// The reference against numbers worked out by hand.
#include "render/reference/formulas.h"
#include "render/reference/glow.h"

#include <gtest/gtest.h>

namespace {
constexpr double EXACT = 1e-9;
constexpr double STEP = 0.5 / 255 + 1e-9; // a pass rounds to the nearest of 255 steps

void expectNear(QbRef4 actual, QbRef4 expected, double tolerance = EXACT) {
    EXPECT_NEAR(actual.r, expected.r, tolerance);
    EXPECT_NEAR(actual.g, expected.g, tolerance);
    EXPECT_NEAR(actual.b, expected.b, tolerance);
    EXPECT_NEAR(actual.a, expected.a, tolerance);
}

void expectNear(QbRef3 actual, QbRef3 expected) {
    expectNear(QbRef4{actual.x, actual.y, actual.z, 0}, {expected.x, expected.y, expected.z, 0});
}

TEST(Reference, Geometry) {
    // 0.6 / 1.8 / 0.8 = 5/12; * 0.5 + 0.5 = 17/24. The other axis has the opposite sign: 7/24.
    const QbRef2 slanted = qbRefEncodeNormal({0.6, 0, 0.8});
    EXPECT_NEAR(slanted.x, 17.0 / 24, EXACT);
    EXPECT_NEAR(qbRefEncodeNormal({0, -0.6, 0.8}).y, 7.0 / 24, EXACT);
    expectNear(qbRefDecodeNormal(slanted), {0.6, 0, 0.8});
    // The clear value: m = (-0.8, 0, 1), g = 2 / 1.64 = 50/41.
    expectNear(qbRefDecodeNormal({0, 0.5}), {-40.0 / 41, 0, 9.0 / 41});

    // Bump 4 shows the map in full: m = (0, 1, 0) is the negated binormal, then negated. Bump 2 shows half.
    expectNear(qbRefAxes({0, 0, -3}, {2, 0, 1}).binormal, QbRef3{0, -1, 0});
    const QbRefAxes square{{0, 0, -1}, {1, 0, 0}, {0, 1, 0}};
    expectNear(qbRefShadingNormal(square, std::nullopt, 4), {0, 0, 1});
    expectNear(qbRefShadingNormal(square, QbRef3{1, 0, 0.5}, 0), {0, 0, 1});
    expectNear(qbRefShadingNormal(square, QbRef3{0.5, 1, 0.5}, 4), {0, 1, 0});
    expectNear(qbRefShadingNormal(square, QbRef3{1, 0.5, 0.5}, 2), {-std::sqrt(0.5), 0, std::sqrt(0.5)});

    // 90 degrees high and twice as wide, at 100: the half height is 100, the half width 200.
    const auto corners = qbRefFarCorners(2 * std::atan(1.0), 2, 100);
    expectNear(corners[2], {-200, -100, 100});
    expectNear(qbRefPosition(0.4, 100, qbRefRay(corners, 0.75, 0.25)), {40, 20, 40});
    // From (10, 0, 0) toward the origin: forward is -x, so the left-handed right is +z.
    expectNear(qbRefPointToView(qbRefLookAt({10, 0, 0}, {0, 0, 0}, {0, 1, 0}), {4, 2, 3}), {3, 2, 6});
    const struct {
        double depth, blur;
    } rows[] = {{80, 0}, {220, 0.25}, {360, 0.5}, {680, 0.75}, {1000, 1}, {2000, 1}};
    for (const auto& row : rows)
        expectNear(qbRefDepthTexel(row.depth, 4000, true), {row.depth / 4000, row.blur, 0, 0});
}

TEST(Reference, Lights) {
    // Straight at the camera, n = (0, 0, 1), specular 0.5, glossiness 0.2: a power of 8.
    const QbRef4 facing{0.5, 0.5, 0.5, 0.2};
    QbRefLight light{QbRefLightKind::Distant, {1, 0.5, 0.25}, {0.6, 0, 0.8}, {0, 0, 6}, 8, 0, 60};
    // nl = 0.8; h = (0.6, 0, 1.8) normalised: n.h = sqrt(0.9); 0.8 * 0.5 * 0.9^4 = 0.26244.
    expectNear(qbRefLightOutput(light, {0, 0, 1000}, facing), {0.8, 0.4, 0.2, 0.26244});
    // Distance 5 of 8: 39/64; l = (0.6, 0, 0.8): nl = 0.8 * 39/64.
    light.kind = QbRefLightKind::Point;
    EXPECT_NEAR(qbRefLightOutput(light, {3, 0, 10}, facing).r, 0.4875, EXACT);
    EXPECT_EQ(qbRefLightOutput(light, {0, 0, 14}, facing).r, 0);
    // rho = 0.8 between cos 60 = 0.5 and cos 0 = 1: 0.6. Distance 4 of 8: 0.75. nl = 1.
    light.kind = QbRefLightKind::Spot;
    EXPECT_NEAR(qbRefLightOutput(light, {0, 0, 10}, facing).r, 0.45, EXACT);
    EXPECT_EQ(qbRefLightOutput(light, {-4, 0, 7}, facing).r, 0);
    // 0.5 + 0.5 * (1 - 0.5) = 0.75 is 191.25 of 255. A source above 1 counts as 1, one below 0 as 0.
    expectNear(qbRefAddColor({0.5, 1, 0.5, 0}, {0.5, 0.5, 2, -1}), {191.0 / 255, 1, 1, 0});
}

TEST(Reference, Surfaces) {
    const QbRefSurface surface{{0.5, 0.4, 0.2}, 0.8, 0.25, 0.7};
    const QbRef3 ambient{0.1, 0.2, 0.3};
    const QbRef4 light{0.4, 0.3, 0.2, 0.5};
    // Red: 0.8 * 0.5 * (0.1 + 0.4) + 0.25 * 0.5 + 0.5 * 0.4; green 0.16 + 0.1 + 0.15; blue 0.08 + 0.05 + 0.1.
    expectNear(qbRefFinalOutput(surface, {}, ambient, light), {0.525, 0.41, 0.23, 0.7});
    QbRefReflection reflection{{1, 0.5, 0}, 0.5, {}};
    expectNear(qbRefFinalOutput(surface, reflection, ambient, light), {0.775, 0.535, 0.23, 0.7});
    // With the map: (0.4 + 0.5 * 0.001) * 0.5 = 0.20025.
    reflection.reflectivityTexel = 0.4;
    expectNear(qbRefFinalOutput(surface, reflection, ambient, light), {0.72525, 0.510125, 0.23, 0.7});

    // -v + n * 2 (n . v) with a short normal: (-0.6, -0.8 + 0.5 * 0.8, 0).
    expectNear(qbRefReflectedRay({0.6, 0.8, 0}, {0, 0.5, 0}), {-0.6, -0.4, 0});
    // +binormal here, where the depth pass takes -binormal.
    expectNear(qbRefReflectionNormal({{0, 1, 0}, {1, 0, 0}, {0, 0, 1}}, {0.5, 1, 0.5}, 4), {0, 0, 1});
    const struct {
        QbRef3 ray;
        double seam; // times PI
        QbRef2 smooth, bumped;
    } rows[] = {
        {{0, 0, -1}, 0.25, {0.425, 0.5}, {0.375, 0.5}}, // (1 + 0.5 - 0.25 - 0.4) / 2; (1 - 0.25) / 2
        {{1, 0, 0}, 0, {0.3, 0.5}, {0.25, 0.5}},        // (1 - 0.4) / 2
        {{-1, 0, 0}, 0, {-0.2, 0.5}, {0.75, 0.5}},      // (1 - 1 - 0.4) / 2; (2 - 0.5) / 2
        {{std::sqrt(0.75), 0.5, 0}, 0, {0.3, 1.0 / 3}, {0.25, 0.25}}, // an angle; linear
    };
    for (const auto& row : rows) {
        const QbRef2 smooth = qbRefReflectionUv(row.ray, row.seam * 3.1415926, false);
        const QbRef2 bumped = qbRefReflectionUv(row.ray, row.seam * 3.1415926, true);
        expectNear({smooth.x, smooth.y, bumped.x, bumped.y},
                   {row.smooth.x, row.smooth.y, row.bumped.x, row.bumped.y}, 1e-6);
    }
}

TEST(Reference, Glow) {
    EXPECT_EQ(qbRefHalf(QbRefPicture(5, 3)).texels.size(), 2U);
    QbRefPicture picture(4, 2);
    picture.at(0, 0) = {1, 0, 0, 1};
    picture.at(1, 1) = {0, 0.8, 0, 0};
    expectNear(qbRefHalf(picture).at(0, 0), {0.25, 0.2, 0, 0.25}, STEP);
    expectNear(qbRefBrightPass(QbRefPicture(1, 1, {0.8, 0.4, 0.2, 0.5})).at(0, 0), {0.4, 0.2, 0.1, 1}, STEP);
    // 0.2 right of an edge, black left of it; taps at 84, 70, 33 and 20 texels to both sides. Evenly lit
    // 0.2 * 9 / 8 * 2 = 0.45; 25 texels right of the edge three fall on black.
    QbRefPicture edge(1000, 1);
    std::fill(edge.texels.begin() + 500, edge.texels.end(), QbRef4{0.2, 0.2, 0.2, 1});
    const QbRefPicture across = qbRefBlurPass(edge, {0.1, 0});
    EXPECT_NEAR(across.at(525, 0).r, 0.3, STEP);
    EXPECT_EQ(across.at(410, 0).r, 0);
    EXPECT_NEAR(qbRefBlurPass(edge, {0, 0.1}).at(500, 0).r, 0.45, STEP);
    // 0.4 * 0.5 = 0.2 over 0.5: 0.2 + 0.5 * 0.8 = 0.6. Alpha: 0.5 + 0.25 * 0.5 = 0.625.
    const QbRefPicture frame(2, 2, {0.5, 0.5, 0, 0.25});
    expectNear(qbRefCompose(frame, QbRefPicture(1, 1, {0.4, 0, 1, 1}), 0.5).at(1, 1), {0.6, 0.5, 0.5, 0.625},
               STEP);
}
} // namespace
