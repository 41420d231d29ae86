#include "engine/fader.h"

#include "engine/engine.h"
#include "engine/fixture.h"

#include <cstdlib>

namespace {
class FaderTest : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        qbEngineSetBackground(0x0000C8);
        now = 0;
        qbEngineSetTimeSource(steppedTime);
        qbEngineTime();
    }
    static const Picture& drawAt(int time) {
        now = time;
        return draw();
    }
    // Irrlicht rounds the opacity to one of 255 steps, and the blend rounds once more.
    static void expectNear(const Pixel& wanted) {
        const Pixel pixel = picture.at(320, 240);
        EXPECT_TRUE(abs(pixel.r - wanted.r) <= 2 && abs(pixel.g - wanted.g) <= 2 &&
                    abs(pixel.b - wanted.b) <= 2)
            << pixel << " at " << now;
    }
    static constexpr Pixel background = {0, 0, 200};
    static constexpr Pixel color = {255, 128, 0};
    enum { COLOR = 0xFF8000 };
};
} // namespace

TEST_F(FaderTest, GoesOutToTheColorAndStaysThere) {
    for (const uint32_t alpha : {0U, 0x80U, 0xFFU}) {
        qbFaderOut(1000, alpha << 24 | COLOR);
        const int start = now;
        EXPECT_EQ(drawAt(start).at(320, 240), background);
        drawAt(start + 250);
        expectNear({64, 32, 150});
        drawAt(start + 500);
        expectNear({128, 64, 100});
        EXPECT_EQ(drawAt(start + 1000).count(color), 640 * 480) << "the fader does not cover the screen";
        EXPECT_EQ(drawAt(start + 50000).at(320, 240), color);
    }
    qbFaderRemove();
    EXPECT_EQ(draw().at(320, 240), background);
}

TEST_F(FaderTest, ComesInFromTheColor) {
    qbFaderIn(1000, COLOR);
    EXPECT_EQ(drawAt(0).count(color), 640 * 480);
    drawAt(500);
    expectNear({128, 64, 100});
    EXPECT_EQ(drawAt(1000).at(320, 240), background);
    EXPECT_EQ(drawAt(50000).at(320, 240), background);
}

TEST_F(FaderTest, ANewFaderReplacesTheOld) {
    qbFaderOut(1, 0xFF0000);
    qbFaderOut(1, 0x00FF00);
    EXPECT_EQ(drawAt(10).at(320, 240), (Pixel{0, 255, 0}));
    qbFaderRemove();
    EXPECT_EQ(draw().at(320, 240), background);
}

TEST_F(FaderTest, AFadeWithoutLengthIsDoneAtOnce) {
    for (const int length : {0, -5}) {
        qbFaderOut(length, COLOR);
        EXPECT_EQ(drawAt(0).at(320, 240), color) << length;
        qbFaderIn(length, COLOR);
        EXPECT_EQ(drawAt(0).at(320, 240), background) << length;
    }
}
