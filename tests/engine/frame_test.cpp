#include "engine/camera.h"
#include "engine/engine.h"
#include "engine/fixture.h"

#include <irrlicht/irrlicht.h>
#include <string>

using namespace irr;

static const Pixel white = {255, 255, 255};

namespace {
class FrameTest : public EngineTest {
protected:
    // White pixels of the line of text that starts at (10, y).
    static int inLine(int y) { return picture.count(white, 10, y, 70, y + 12); }
};
} // namespace

TEST_F(FrameTest, ClearsToTheBackground) {
    EXPECT_EQ(draw().count({0, 0, 0}), 640 * 480);
    qbSetBackground(0x123456);
    EXPECT_EQ(draw().count({0x12, 0x34, 0x56}), 640 * 480);
    EXPECT_EQ(frames, 2);
}

TEST_F(FrameTest, ReadsRowsFromTheTop) {
    static uint8_t pixels[640 * 480 * 3];
    static int results[3];
    qbEngineSetFrameHook([] {
        qbEngineGet()->driver->draw2DRectangle(video::SColor(255, 10, 20, 30), core::recti(2, 1, 3, 2));
        int width = 0;
        int height = 0;
        results[0] = qbEngineReadPixels(pixels, sizeof(pixels) - 1, &width, &height);
        results[1] = qbEngineReadPixels(nullptr, sizeof(pixels), &width, &height);
        results[2] = qbEngineReadPixels(pixels, sizeof(pixels), &width, &height);
    });
    draw();
    EXPECT_EQ(results[0], -1);
    EXPECT_EQ(results[1], -1);
    ASSERT_EQ(results[2], 0);
    const uint8_t* pixel = pixels + (1 * 640 + 2) * 3;
    EXPECT_EQ((Pixel{pixel[0], pixel[1], pixel[2]}), (Pixel{10, 20, 30}));
    EXPECT_EQ(pixel[3], 0);
}

// --- overlay --------------------------------------------------------------------------------------------

TEST_F(FrameTest, KeepsFourTextsOfWhichTheLastIsShared) {
    const char* texts[] = {"line 1", "", "line 3", "line 4", "line 5", "\xE9\xE9\xE9\xE9"};
    int y = 0;
    for (const char* text : texts)
        qbEngineText(10, y += 20, text);
    draw();
    for (const int line : {20, 60, 120})
        EXPECT_GT(inLine(line), 20) << line;
    EXPECT_EQ(picture.count(white), inLine(20) + inLine(60) + inLine(120));

    EXPECT_EQ(draw().count(white), 0) << "the texts outlive their frame";
    qbEngineText(10, 20, "again");
    qbEngineText(10, 60, "again");
    draw();
    EXPECT_GT(inLine(20), 20) << "the table was not emptied";
    EXPECT_GT(inLine(60), 20);

    for (const char* text : {"one", "two", "three", "four", ""})
        qbEngineText(10, text[0] == 'f' ? 200 : 20, text);
    draw();
    EXPECT_EQ(inLine(200), 0) << "an empty text does not reset the shared slot";
    qbEngineText(10, 20, nullptr);
    EXPECT_EQ(draw().count(white), 0);
}

// A line whose last letter alone would stand inside the window.
TEST_F(FrameTest, CutsTextsAt511Characters) {
    const int blank = static_cast<int>(qbEngineGet()->font->getDimension(L" ").Width);
    qbEngineText(20 - 510 * blank, 20, (std::string(510, ' ') + "W").c_str());
    EXPECT_GT(draw().count(white), 0);
    qbEngineText(20 - 511 * blank, 20, (std::string(511, ' ') + "W").c_str());
    EXPECT_EQ(draw().count(white), 0);
}
