#include "demo/player.h"

#include "demo/fakes.h"
#include "demo/load.h"

#include <climits>
#include <gtest/gtest.h>
#include <memory>
#include <utility>

namespace {

class Timeline : public testing::Test {
protected:
    Timeline() { fakes = {}; }
    ~Timeline() override { qbDemoSetObserver(nullptr); }

    // Adds a part that begins at `time`; -1 for no scene and no tune.
    QbDemoPart& part(int time, int slot = -1, int tune = -1, int timeReset = 0) {
        QbDemoPart& part = demo->parts[demo->partCount++];
        part.time = time;
        part.timeReset = timeReset;
        part.timeBase = timeReset ? 0 : time;
        part.sceneSlot = slot;
        part.musicId = tune;
        part.paletteId = -1;
        part.cameraNear = 1;
        part.cameraFar = 9;
        return part;
    }
    static QbDemoExtra& extra(QbDemoPart& part, int slot, int time, int length) {
        QbDemoExtra& extra = part.extras[part.extraCount++];
        extra.sceneSlot = slot;
        extra.time = time;
        extra.length = length;
        return extra;
    }
    static void shader(QbDemoPart& part, int id, int time, int length) {
        part.shaders[part.shaderCount++] = {0, 0, "", time, length, id};
    }
    static void fader(QbDemoPart& part, int time, int length, int color, int fadeOut = 1) {
        part.faders[part.faderCount++] = {fadeOut, 0, 0, time, length, length / 2, color};
    }
    using Frames = std::vector<std::string>;
    // Plays the frames at these times since the start, and gives the calls of each up to its drawing.
    Frames play(const std::vector<int>& times, const Frames& words = {""}) {
        fakes.clock = 5000; // the start is no zero
        fakes.frames.clear();
        for (const int time : times)
            fakes.frames.push_back(5000 + time);
        EXPECT_EQ(qbDemoPlay(demo.get()), 0);
        Frames result;
        std::vector<std::string> frame;
        for (const std::string& call : std::exchange(fakes.calls, {})) {
            if (call != "draw") {
                frame.push_back(call);
                continue;
            }
            fakes.calls = std::exchange(frame, {});
            result.push_back(takeCalls(words));
        }
        EXPECT_LE(frame.size(), 1U) << "behind the last drawing only the palette is put back";
        return result;
    }

    std::unique_ptr<QbDemo> demo = std::make_unique<QbDemo>();
};

} // namespace

TEST_F(Timeline, ChangesOnePartAFrameAndNeverPlaysTheLast) {
    for (const int time : {0, 0, 50, 100})
        part(time, demo->partCount);
    EXPECT_EQ(play({0, 0, 49, 70, 99, 100, 101}, {"update"}),
              (Frames{"update 0 0", "update 1 0", "update 1 49", "update 2 20", "update 2 49"}));
    EXPECT_EQ(fakes.frames.size(), 1U); // left at once
}

TEST_F(Timeline, TakesAPartChangeInItsOrder) {
    demo->shadersEnabled = 1;
    QbDemoPart& first = part(0, 0, 1);
    first.flushObjects = 1;
    extra(first, 1, 0, 1000).flushObjects = 1;
    extra(first, -1, 0, 1000);
    extra(first, 2, 0, 10);
    shader(first, 7, 0, 1000);
    fader(first, 0, 1000, 0xFF);
    QbDemoPart& second = part(100, 3, 2, 1);
    second.paletteId = 5;
    extra(second, 4, 0, 1000);
    shader(second, 8, 0, 1000);
    fader(second, 0, 1000, 0xFE, 0);
    part(1000);
    EXPECT_EQ(
        play({0, 130}),
        (Frames{
            "paletteReset; musicPlay 1; range 1 9; sceneStart 0; sceneHide 1; sceneStart 1; sceneHide 2; "
            "sceneStart 2; sceneShow 1; update 1 0; sceneShow 2; update 2 0; shaderEnable 7; "
            "fadeOut 500 255; update 0 0",
            "musicStop 1; sceneStop 0; sceneStop 1; sceneFree 1; sceneStop 2; shaderDisable 7; fadeRemove; "
            "sceneFree 0; musicPlay 2; range 1 9; sceneStart 3; sceneHide 4; sceneStart 4; "
            "sceneShow 4; update 4 0; paletteUse 5; shaderEnable 8; fadeIn 500 254; update 3 0"}));
}

TEST_F(Timeline, RunsOnOneClockThatAPartMaySetBack) {
    qbDemoSetObserver([](const QbDemo*, int index, int elapsed) {
        fakes.calls.push_back("observe " + std::to_string(index) + " " + std::to_string(elapsed));
    });
    part(20, 0);
    part(100, 1);        // absolute: its scene begins where the part was due, at 100
    part(200, 2, -1, 1); // sets the clock back when it is seen, at 230
    part(50, 3);
    part(1000);
    EXPECT_EQ(play({19, 30, 130, 230, 270, 290}, {"update", "observe"}),
              (Frames{"observe -1 19", "update 0 10; observe 0 30", "update 1 30; observe 1 130",
                      "update 2 0; observe 2 0", "update 2 40; observe 2 40", "update 3 10; observe 3 60"}));
}

TEST_F(Timeline, KeepsSceneAndTuneOverAPartThatHasNone) {
    QbDemoPart& first = part(0, 0, 1);
    extra(first, 1, 0, 40);
    fader(first, 0, 20, 0xFF);
    part(10).cameraFar = 7;
    part(50, 2, 2);
    part(1000);
    const Frames frames = play({0, 15, 45, 50});
    EXPECT_EQ(frames[1],
              "range 1 7; update 0 5"); // the new part's base; extra and fader are left as they are
    EXPECT_EQ(frames[2], "update 0 35");
    EXPECT_EQ(frames[3],
              "musicStop 1; sceneStop 0; fadeRemove; musicPlay 2; range 1 9; sceneStart 2; update 2 0");
}

TEST_F(Timeline, OpensAndClosesItsWindowsOnTheMillisecond) {
    demo->shadersEnabled = 1;
    QbDemoPart& only = part(0, 0);
    only.paletteId = 1;
    extra(only, 1, 100, 100);
    extra(only, 2, 150, 0); // never, as all of no length
    extra(only, 3, INT_MAX, INT_MAX);
    extra(only, 4, INT_MIN, INT_MIN);
    fader(only, 100, 100, 1, 0);
    fader(only, 150, 20, 2); // cuts the first off, which does not come back
    fader(only, 180, 0, 3);
    shader(only, 1, 100, 100);
    shader(only, -1, 100, 100); // did not load
    shader(only, 2, 150, 20);
    shader(only, 1, 160, 5); // the same shader again
    shader(only, 3, 180, 0);
    part(1000);
    const std::vector<int> times = {99, 100, 149, 150, 160, 165, 170, 180, 199, 200};
    EXPECT_EQ(
        play(times, {"sceneShow", "sceneHide 1", "fade", "shader", "paletteUse"}),
        (Frames{"sceneHide 1; paletteUse 1", "sceneShow 1; shaderEnable 1; fadeIn 50 1", "",
                "shaderDisable 1; shaderEnable 2; fadeRemove; fadeOut 10 2",
                "shaderDisable 2; shaderEnable 1", "shaderDisable 1", "fadeRemove", "", "", "sceneHide 1"}));
}

TEST_F(Timeline, EndsBehindItsLastPartWhateverTheTimes) {
    EXPECT_EQ(play({0, 10}), Frames());
    QbDemoPart& first = part(INT_MIN, 0, 1); // a single part is the last one
    EXPECT_EQ(play({0, 10}, {"scene", "music", "range"}), Frames());
    extra(first, 1, INT_MIN, INT_MAX);
    extra(first, 2, -5, INT_MAX);
    fader(first, INT_MAX, INT_MAX, 1);
    part(INT_MAX, 1);
    part(INT_MAX);
    EXPECT_EQ(play({0, 100}, {"update"}),
              (Frames{"update 2 5; update 0 2147483647", "update 2 105; update 0 2147483647"}));
    for (demo->partCount = 0;
         demo->partCount < QB_DEMO_PARTS_MAX;) // a full table, and nothing read behind it
        part(0, demo->partCount % 60);
    EXPECT_EQ(play(std::vector<int>(100, 0), {"range"}).size(), 63U);
}
