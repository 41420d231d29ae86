#include "engine/loading.h"

#include "engine/engine.h"
#include "engine/fixture.h"
#include "support/temporary_directory.h"

static const Pixel red = {200, 0, 0};

namespace {
class LoadingTest : public EngineTest {
protected:
    TemporaryDirectory directory;
};
} // namespace

TEST_F(LoadingTest, CreepsLeftByAPixelAPercent) {
    writePicture("loading.png", 63, 31);
    qbEngineSetBackground(0x00FF00);
    qbLoadingOpen();
    const auto expectMoved = [](int pixels) {
        const int x = 640 - 32 - 63 - pixels;
        const int y = 480 - 24 - 31;
        EXPECT_EQ(picture.count(red, x, y, x + 63, y + 31), 63 * 31) << pixels;
        EXPECT_EQ(picture.count({0, 0, 0}), 640 * 480 - 63 * 31) << pixels;
    };
    expectMoved(0);
    for (const int percent : {40, 10, 0}) {
        qbLoadingProgress(percent);
        expectMoved(percent);
    }
    EXPECT_EQ(frames, 4);

    qbLoadingClose();
    EXPECT_EQ(draw().count({0, 255, 0}), 640 * 480);
    qbLoadingProgress(50);
    EXPECT_EQ(frames, 5);
}

TEST_F(LoadingTest, DoesNothingWithoutThePicture) {
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    qbLoadingOpen();
    qbLoadingProgress(50);
    qbLoadingClose();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(frames, 0);
}

TEST_F(LoadingTest, APictureLargerThanTheWindowReachesOut) {
    writePicture("loading.png", 700, 500);
    qbLoadingOpen();
    // 640 - 32 - 700 = -92 to 608, 480 - 24 - 500 = -44 to 456
    EXPECT_EQ(picture.count(red, 0, 0, 608, 456), 608 * 456);
    EXPECT_EQ(picture.count(red), 608 * 456);

    ASSERT_EQ(qbEngineOpen(&setup), 0);
    qbLoadingProgress(10);
    qbLoadingClose();
    EXPECT_EQ(frames, 1) << "the picture outlives its device";
}
