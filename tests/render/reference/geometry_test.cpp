#include "render/reference/geometry.h"

#include <gtest/gtest.h>

namespace {
constexpr double EXACT = 1e-9;

void expectNear(QbRef3 actual, QbRef3 expected, double tolerance = EXACT) {
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
    EXPECT_NEAR(actual.z, expected.z, tolerance);
}

const QbRefAxes AXES{{0, 0, -1}, {1, 0, 0}, {0, 1, 0}};

TEST(ReferenceNormal, EncodesByHandWorkedValues) {
    const QbRef2 forward = qbRefEncodeNormal({0, 0, 1});
    EXPECT_NEAR(forward.x, 0.5, EXACT);
    EXPECT_NEAR(forward.y, 0.5, EXACT);
    // 0.6 / 1.8 = 1/3; / 0.8 = 5/12; * 0.5 + 0.5 = 17/24. The other axis has the opposite sign: 7/24.
    const QbRef2 slanted = qbRefEncodeNormal({0.6, 0, 0.8});
    EXPECT_NEAR(slanted.x, 17.0 / 24, EXACT);
    EXPECT_NEAR(slanted.y, 0.5, EXACT);
    EXPECT_NEAR(qbRefEncodeNormal({0, -0.6, 0.8}).y, 7.0 / 24, EXACT);
    // Seen edge on: 1 / 1 / 0.8 * 0.5 + 0.5 = 1.125, outside what the target holds.
    EXPECT_NEAR(qbRefEncodeNormal({1, 0, 0}).x, 1.125, EXACT);
}

TEST(ReferenceNormal, DecodesWhatWasEncodedAndTheClearValue) {
    for (const QbRef3 n : {QbRef3{0, 0, 1}, {0.6, 0, 0.8}, {-0.48, 0.64, 0.6}, {0.36, -0.48, 0.8}})
        expectNear(qbRefDecodeNormal(qbRefEncodeNormal(n)), n);
    // m = (-0.8, 0, 1), m.m = 1.64, g = 2 / 1.64 = 50/41: (-40/41, 0, 9/41).
    const QbRef4 clear = QB_REF_CLEAR_NORMAL;
    expectNear(qbRefDecodeNormal({clear.r, clear.g}), {-40.0 / 41, 0, 9.0 / 41});
}

TEST(ReferenceNormal, MapFadesInAndTurnsTheNormal) {
    // No map: the interpolated normal, negated. Bump 0 hides the map.
    expectNear(qbRefShadingNormal(AXES, std::nullopt, 4), {0, 0, 1});
    expectNear(qbRefShadingNormal(AXES, QbRef3{1, 0, 0.5}, 0), {0, 0, 1});
    // Bump 4 shows the map in full: m = (1, 0, 0) is the tangent, m = (0, 1, 0) the negated binormal; then
    // both negated.
    expectNear(qbRefShadingNormal(AXES, QbRef3{1, 0.5, 0.5}, 4), {-1, 0, 0});
    expectNear(qbRefShadingNormal(AXES, QbRef3{0.5, 1, 0.5}, 4), {0, 1, 0});
    // Bump 2 shows half of it: (0.75, 0.5, 0.75) is m = (0.5, 0, 0.5).
    expectNear(qbRefShadingNormal(AXES, QbRef3{1, 0.5, 0.5}, 2), {-std::sqrt(0.5), 0, std::sqrt(0.5)});
}

TEST(ReferenceNormal, BinormalFollowsNormalAndTangent) {
    // (0, 0, -1) x (1, 0, 0) = (0, -1, 0), of length 1 also when the tangent leans toward the normal.
    expectNear(qbRefAxes({0, 0, -3}, {2, 0, 1}, 1).binormal, {0, -1, 0});
    expectNear(qbRefAxes({0, 0, -3}, {2, 0, 0}, -1).binormal, {0, 1, 0});
    expectNear(qbRefAxes({0, 0, -3}, {2, 0, 0}, -1).tangent, {1, 0, 0});
}

TEST(ReferenceDepth, GivesThePositionBack) {
    // 90 degrees high and twice as wide, at 100: the half height is 100, the half width 200.
    const auto corners = qbRefFarCorners(2 * std::atan(1.0), 2, 100);
    expectNear(corners[0], {-200, 100, 100});
    expectNear(corners[1], {200, 100, 100});
    expectNear(corners[2], {-200, -100, 100});
    expectNear(corners[3], {200, -100, 100});
    expectNear(qbRefRay(corners, 0.75, 0.25), {100, 50, 100});
    // Depth 40 of 100 along that ray.
    EXPECT_NEAR(qbRefDepthTexel(40, 100, std::nullopt).r, 0.4, EXACT);
    expectNear(qbRefPosition(0.4, 100, qbRefRay(corners, 0.75, 0.25)), {40, 20, 40});
}

TEST(ReferenceDepth, BlurAmountRunsThroughItsMarks) {
    const QbRefFocus focus;
    EXPECT_EQ(qbRefDepthTexel(500, 1000, std::nullopt).g, 0);
    // Near: (220 - 360) / (360 - 80) = -0.5; far: (680 - 360) / (1000 - 360) = 0.5; half of that, plus 0.5.
    const struct {
        double depth, blur;
    } rows[] = {{80, 0}, {220, 0.25}, {360, 0.5}, {680, 0.75}, {1000, 1}, {2000, 1}};
    for (const auto& row : rows)
        EXPECT_NEAR(qbRefDepthTexel(row.depth, 4000, focus).g, row.blur, EXACT) << row.depth;
    const QbRefFocus clamped{80, 360, 1000, 0.5};
    EXPECT_NEAR(qbRefDepthTexel(1000, 4000, clamped).g, 0.75, EXACT);
}

TEST(ReferenceView, TurnsWorldIntoView) {
    // From (10, 0, 0) toward the origin: forward is -x, so the left-handed right is +z.
    const QbRefView view = qbRefLookAt({10, 0, 0}, {0, 0, 0}, {0, 1, 0});
    expectNear(qbRefPointToView(view, {4, 2, 3}), {3, 2, 6});
    expectNear(qbRefDirectionToView(view, {-1, 0, 0}), {0, 0, 1});
}
} // namespace
