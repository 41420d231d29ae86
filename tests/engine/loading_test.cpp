#include "engine/loading.h"

#include "engine/engine.h"
#include "engine/fixture.h"
#include "support/temporary_directory.h"

#include <irrlicht/irrlicht.h>

using namespace irr;

static const Pixel red = {200, 0, 0};
static const Pixel black = {0, 0, 0};

namespace {
class LoadingTest : public EngineTest {
protected:
    static void writePicture(u32 width, u32 height) {
        video::IVideoDriver* driver = qbEngineGet()->driver;
        video::IImage* image = driver->createImage(video::ECF_R8G8B8, core::dimension2du(width, height));
        image->fill(video::SColor(255, 200, 0, 0));
        driver->writeImageToFile(image, "loading.png");
        image->drop();
    }
    // The picture of 63 x 31 red pixels has its left upper corner there and nothing else is lit.
    static void expectAt(int x, int y) {
        EXPECT_EQ(picture.count(red, x, y, x + 63, y + 31), 63 * 31) << x << ' ' << y;
        EXPECT_EQ(picture.count(black), 640 * 480 - 63 * 31);
    }
    TemporaryDirectory directory;
};
} // namespace

TEST_F(LoadingTest, CreepsLeftByAPixelAPercent) {
    writePicture(63, 31);
    qbEngineSetBackground(0x00FF00);
    qbLoadingOpen();
    EXPECT_EQ(frames, 1);
    expectAt(640 - 32 - 63, 480 - 24 - 31);
    qbLoadingProgress(40);
    expectAt(640 - 32 - 63 - 40, 480 - 24 - 31);
    qbLoadingProgress(10);
    expectAt(640 - 32 - 63 - 10, 480 - 24 - 31);
    qbLoadingProgress(0);
    expectAt(640 - 32 - 63, 480 - 24 - 31);
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
    writePicture(700, 500);
    qbLoadingOpen();
    // 640 - 32 - 700 = -92 to 608, 480 - 24 - 500 = -44 to 456
    EXPECT_EQ(picture.count(red, 0, 0, 608, 456), 608 * 456);
    EXPECT_EQ(picture.count(red), 608 * 456);
}

TEST_F(LoadingTest, ForgetsThePictureWithItsDevice) {
    writePicture(63, 31);
    qbLoadingOpen();
    ASSERT_EQ(qbEngineOpen(&setup), 0);
    qbLoadingProgress(10);
    qbLoadingClose();
    EXPECT_EQ(frames, 1);
}
