#include "engine/fader.h"
#include "engine/fixture.h"
#include "engine/loading.h"
#include "support/temporary_directory.h"

using FrameTest = EngineTest;

TEST_F(FrameTest, ReadsRowsFromTheTop) {
    qbEngineSetBackground(0x123456);
    qbEngineDrawFrame(); // sizes the picture
    qbEngineSetFrameHook([] {
        const irr::core::recti dot(2, 1, 3, 2);
        qbEngineGet()->driver->draw2DRectangle(irr::video::SColor(255, 10, 20, 30), dot);
        int size[2];
        const auto capacity = static_cast<uint32_t>(picture.rgb.size());
        EXPECT_EQ(qbEngineReadPixels(picture.rgb.data(), capacity - 1, &size[0], &size[1]), -1);
        EXPECT_EQ(qbEngineReadPixels(picture.rgb.data(), capacity, &size[0], &size[1]), 0);
    });
    EXPECT_EQ(draw().at(2, 1), (Pixel{10, 20, 30}));
    EXPECT_EQ(draw().at(3, 1), (Pixel{0x12, 0x34, 0x56}));
}

TEST_F(FrameTest, KeepsFourTextsOf511CharactersOfWhichTheLastIsShared) {
    const Pixel white = {255, 255, 255};
    // White pixels of the line of text that starts at (10, y).
    const auto inLine = [&white](int y) { return picture.count(white, 10, y, 70, y + 12); };
    int y = 0;
    for (const char* text : {"line 1", "", "line 3", "line 4", "line 5", "\xE9\xE9\xE9\xE9"})
        qbEngineText(10, y += 20, text);
    draw();
    for (const int line : {20, 60, 120})
        EXPECT_GT(inLine(line), 20) << line;
    EXPECT_EQ(picture.count(white), inLine(20) + inLine(60) + inLine(120));
    EXPECT_EQ(draw().count(white), 0) << "the texts outlive their frame";
    // A line whose last letter alone would stand inside the window.
    const int blank = static_cast<int>(qbEngineGet()->font->getDimension(L" ").Width);
    for (const int blanks : {510, 511}) {
        qbEngineText(20 - blanks * blank, 20, (std::string(static_cast<size_t>(blanks), ' ') + "W").c_str());
        EXPECT_EQ(draw().count(white) > 0, blanks == 510);
    }
}

TEST_F(FrameTest, FadersGoOutToTheirColorAndComeInFromIt) {
    enum { COLOR = 0xFF8000 };
    const Pixel background = {0, 0, 200}, quarter = {64, 32, 150}, color = {255, 128, 0};
    qbEngineSetBackground(0x0000C8);
    qbEngineSetTimeSource(steppedTime);
    const auto expectAt = [](int time, const Pixel& wanted) {
        now = time;
        const Pixel is = draw().at(320, 240);
        // Irrlicht rounds the opacity to one of 255 steps, and the blend rounds once more.
        for (size_t i = 0; i < is.size(); ++i)
            EXPECT_NEAR(is[i], wanted[i], 2) << i << " at " << time;
    };
    expectAt(qbEngineTime(), background);
    qbFaderOut(1000, 0x80000000U | COLOR); // the alpha is none of its business
    expectAt(0, background);
    expectAt(250, quarter);
    expectAt(1000, color);
    EXPECT_EQ(picture.count(color), 640 * 480) << "the fader does not cover the screen";
    qbFaderIn(1000, COLOR); // in place of the other
    expectAt(1000, color);
    expectAt(1750, quarter);
    expectAt(2000, background);
    qbFaderOut(0, COLOR); // done at once
    expectAt(2000, color);
    qbFaderRemove();
    expectAt(2000, background);
}

TEST_F(FrameTest, TheLoadingPictureCreepsLeftByAPixelAPercent) {
    const TemporaryDirectory directory;
    const Pixel red = {200, 0, 0};
    qbLoadingOpen(); // there is no picture
    qbLoadingProgress(50);
    EXPECT_EQ(frames, 0);
    writePicture("loading.png", 63, 31);
    qbLoadingOpen();
    for (const int percent : {40, 10}) {
        qbLoadingProgress(percent);
        const int x = 640 - 32 - 63 - percent;
        const int y = 480 - 24 - 31;
        EXPECT_EQ(picture.count(red, x, y, x + 63, y + 31), 63 * 31) << percent;
        EXPECT_EQ(picture.count(red), 63 * 31) << percent;
    }
    frames = 0;
    ASSERT_EQ(qbEngineOpen(&setup), 0);
    qbLoadingProgress(10);
    EXPECT_EQ(frames, 0) << "the picture outlives its device";
}
