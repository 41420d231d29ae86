#include "engine/camera.h"
#include "engine/engine.h"
#include "engine/fixture.h"

#include <irrlicht/irrlicht.h>
#include <string>

using namespace irr;

static const Pixel white = {255, 255, 255};
static const Pixel black = {0, 0, 0};

namespace {
class FrameTest : public EngineTest {};
} // namespace

TEST_F(FrameTest, ClearsToTheBackground) {
    EXPECT_EQ(draw().count(black), 640 * 480);
    qbSetBackground(0x123456);
    EXPECT_EQ(draw().count({0x12, 0x34, 0x56}), 640 * 480);
    EXPECT_EQ(qbEngineBackground(), 0x123456U);
}

TEST_F(FrameTest, RunsTheHookOnceAFrame) {
    for (int frame = 1; frame < 4; ++frame) {
        draw();
        EXPECT_EQ(frames, frame);
    }
    qbEngineSetFrameHook(nullptr);
    draw();
    EXPECT_EQ(frames, 3);
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

TEST_F(FrameTest, StoresGlowAndDepthOfField) {
    qbEngineSetGlow(1, 0.25F, 8.0F);
    qbEngineSetDepthOfField(1, 3.5F, 2.8F);
    const QbEngine* engine = qbEngineGet();
    EXPECT_EQ(engine->glowEnabled, 1);
    EXPECT_FLOAT_EQ(engine->glowIntensity, 0.25F);
    EXPECT_FLOAT_EQ(engine->glowRadius, 8.0F);
    EXPECT_EQ(engine->depthOfFieldEnabled, 1);
    EXPECT_FLOAT_EQ(engine->focalDistance, 3.5F);
    EXPECT_FLOAT_EQ(engine->fStop, 2.8F);
}

// --- overlay --------------------------------------------------------------------------------------------

// White pixels of the line of text that starts at (x, y), and all of them.
static int inLine(const Picture& picture, int x, int y) {
    return picture.count(white, x, y, x + 60, y + 12);
}

TEST_F(FrameTest, DrawsOverlayTextsForOneFrame) {
    qbEngineText(10, 10, "first");
    qbEngineText(10, 30, "");
    qbEngineText(10, 50, "third");
    const Picture once = draw();
    EXPECT_GT(inLine(once, 10, 10), 20);
    EXPECT_GT(inLine(once, 10, 50), 20);
    EXPECT_EQ(once.count(white), inLine(once, 10, 10) + inLine(once, 10, 50));
    EXPECT_EQ(draw().count(white), 0);
}

TEST_F(FrameTest, KeepsFourTextsOfWhichTheLastIsShared) {
    const char* texts[] = {"line 1", "line 2", "line 3", "line 4", "line 5", "line 6"};
    int y = 0;
    for (const char* text : texts)
        qbEngineText(10, y += 20, text);
    const Picture& shown = draw();
    for (const int line : {20, 40, 60, 120})
        EXPECT_GT(inLine(shown, 10, line), 20) << line;
    for (const int line : {80, 100})
        EXPECT_EQ(inLine(shown, 10, line), 0) << line;

    qbEngineText(10, 20, "again");
    EXPECT_GT(inLine(draw(), 10, 20), 20) << "the table was not emptied";
}

TEST_F(FrameTest, AnEmptyTextResetsTheSharedSlot) {
    for (const char* text : {"one", "two", "three", "four", ""})
        qbEngineText(10, text[0] == 'f' ? 200 : 20, text);
    EXPECT_EQ(inLine(draw(), 10, 200), 0);
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

TEST_F(FrameTest, DrawsLettersBeyondAscii) {
    qbEngineText(10, 10, "\xE9\xE9\xE9\xE9");
    EXPECT_GT(inLine(draw(), 10, 10), 20);
}
