#include "render/reference/glow.h"

#include <gtest/gtest.h>

namespace {
// A pass rounds to the nearest of 255 steps.
constexpr double STEP = 0.5 / 255 + 1e-9;

// Black on the left half, 0.2 on the right.
QbRefPicture edge(int width, int height) {
    QbRefPicture picture(width, height);
    for (int y = 0; y < height; y++)
        for (int x = width / 2; x < width; x++)
            picture.at(x, y) = {0.2, 0.2, 0.2, 1};
    return picture;
}

TEST(ReferenceGlow, HalfAveragesAndRoundsDown) {
    QbRefPicture picture(4, 2);
    picture.at(0, 0) = {1, 0, 0, 1};
    picture.at(1, 1) = {0, 0.8, 0, 0};
    const QbRefPicture half = qbRefHalf(picture);
    ASSERT_EQ(half.width, 2);
    ASSERT_EQ(half.height, 1);
    EXPECT_NEAR(half.at(0, 0).r, 0.25, STEP);
    EXPECT_NEAR(half.at(0, 0).g, 0.2, STEP);
    EXPECT_NEAR(half.at(0, 0).a, 0.25, STEP);
    EXPECT_EQ(half.at(1, 0).r, 0);
    EXPECT_EQ(qbRefHalf(QbRefPicture(5, 3)).width, 2);
    EXPECT_EQ(qbRefHalf(QbRefPicture(5, 3)).height, 1);
}

TEST(ReferenceGlow, BrightPassKeepsWhatGlows) {
    const QbRef4 c = qbRefBrightPass(QbRefPicture(1, 1, {0.8, 0.4, 0.2, 0.5})).at(0, 0);
    EXPECT_NEAR(c.r, 0.4, STEP);
    EXPECT_NEAR(c.g, 0.2, STEP);
    EXPECT_NEAR(c.b, 0.1, STEP);
    EXPECT_EQ(c.a, 1);
}

TEST(ReferenceGlow, BlurBrightens) {
    const QbRefPicture even(8, 8, {0.2, 0.2, 0.2, 1});
    // 0.2 * 9 / 8 * 2 = 0.45 along an axis; 0.2 * 13 / 13 * 2 = 0.4 on the disc; alpha stays within 1.
    for (double distance : {0.0, 0.0198, 0.5}) {
        EXPECT_NEAR(qbRefBlurPass(even, QbRefBlur::Horizontal, distance).at(3, 3).r, 0.45, STEP);
        EXPECT_NEAR(qbRefBlurPass(even, QbRefBlur::Vertical, distance).at(3, 3).r, 0.45, STEP);
        EXPECT_NEAR(qbRefBlurPass(even, QbRefBlur::Disc, distance).at(3, 3).r, 0.4, STEP);
    }
    EXPECT_EQ(qbRefBlurPass(even, QbRefBlur::Disc, 0.5).at(3, 3).a, 1);
}

TEST(ReferenceGlow, BlurReachesAlongItsAxis) {
    // 1000 wide, distance 0.1: taps at 84, 70, 33 and 20 texels to both sides.
    const QbRefPicture step = edge(1000, 1);
    const QbRefPicture across = qbRefBlurPass(step, QbRefBlur::Horizontal, 0.1);
    // 25 texels right of the edge three taps fall on black: 6 * 0.2 / 8 * 2 = 0.3; as far to the left three
    // on white.
    EXPECT_NEAR(across.at(525, 0).r, 0.3, STEP);
    EXPECT_NEAR(across.at(475, 0).r, 0.15, STEP);
    EXPECT_NEAR(across.at(590, 0).r, 0.45, STEP);
    EXPECT_EQ(across.at(410, 0).r, 0);
    const QbRefPicture down = qbRefBlurPass(step, QbRefBlur::Vertical, 0.1);
    EXPECT_NEAR(down.at(500, 0).r, 0.45, STEP);
    EXPECT_EQ(down.at(499, 0).r, 0);
}

TEST(ReferenceGlow, DiscBlurReachesBothWays) {
    // 100 wide, distance 0.5: 12.5 texels right of the edge the five taps left of -0.25 fall on black.
    const QbRefPicture step = edge(100, 1);
    EXPECT_NEAR(qbRefBlurPass(step, QbRefBlur::Disc, 0.5).at(62, 0).r, 0.2 * 8 / 13 * 2, STEP);
    // The same edge lying: 5.5 texels below it the six taps above -0.11 do.
    QbRefPicture lying(1, 100);
    lying.texels = step.texels;
    EXPECT_NEAR(qbRefBlurPass(lying, QbRefBlur::Disc, 0.5).at(0, 55).r, 0.2 * 7 / 13 * 2, STEP);
}

TEST(ReferenceGlow, ComposeLaysGlowOverTheFrame) {
    const QbRefPicture frame(2, 2, {0.5, 0.5, 0, 0.25});
    const QbRefPicture glow(1, 1, {0.4, 0, 1, 1});
    // 0.4 * 0.5 = 0.2 over 0.5: 0.2 + 0.5 * 0.8 = 0.6. Alpha: 0.5 + 0.25 * 0.5 = 0.625.
    const QbRef4 c = qbRefCompose(frame, glow, 0.5).at(1, 1);
    EXPECT_NEAR(c.r, 0.6, STEP);
    EXPECT_NEAR(c.g, 0.5, STEP);
    EXPECT_NEAR(c.b, 0.5, STEP);
    EXPECT_NEAR(c.a, 0.625, STEP);
    // A negative intensity adds nothing.
    EXPECT_NEAR(qbRefCompose(frame, glow, -1).at(0, 0).r, 0.5, STEP);
}

TEST(ReferenceGlow, ChainMultipliesItsPasses) {
    // 0.8 * 0.1 = 0.08; across 0.18; down 0.405; at intensity 0.5 0.2025 over 0.8: 0.2025 + 0.8 * 0.7975 =
    // 0.8405.
    const QbRefPicture frame(8, 6, {0.8, 0, 0, 0.1});
    // Three roundings ahead of the last are each multiplied by 2.25 at most twice, then halved and weakened
    // to a fifth.
    EXPECT_NEAR(qbRefGlow(frame, 0.5, 20).at(3, 3).r, 0.8405, 2 * STEP);
    EXPECT_EQ(qbRefGlow(QbRefPicture(8, 6, {0.8, 0, 0, 0}), 0.5, 20).at(3, 3).r, qbRefStore8(0.8));
}
} // namespace
