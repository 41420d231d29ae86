#include "demo/player.h"

#include "demo/fakes.h"
#include "demo/load.h"

#include <climits>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>

namespace {

class Timeline : public testing::Test {
protected:
    Timeline() { fakes = {}; }
    ~Timeline() override { qbDemoSetObserver(nullptr); }

    // Adds a part that begins at `time`; -1 for no scene and no tune.
    QbDemoPart& part(int time, int slot = -1, int tune = -1) {
        QbDemoPart& part = demo->parts[demo->partCount++];
        part.time = part.timeBase = time;
        part.sceneSlot = slot;
        part.musicId = tune;
        part.paletteId = -1;
        part.cameraNear = 1;
        part.cameraFar = 9;
        return part;
    }
    static void resetting(QbDemoPart& part) {
        part.timeReset = 1;
        part.timeBase = 0;
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
        Frames result(1);
        for (const std::string& call : std::exchange(fakes.calls, {})) {
            if (call == "draw") {
                result.emplace_back();
                continue;
            }
            fakes.calls = {call};
            const std::string taken = takeCalls(words);
            if (!taken.empty()) result.back() += (result.back().empty() ? "" : "; ") + taken;
        }
        EXPECT_TRUE(result.back().empty() || result.back() == "paletteReset") << "behind the last drawing";
        result.pop_back();
        return result;
    }

    std::unique_ptr<QbDemo> demo = std::make_unique<QbDemo>();
};

} // namespace

TEST_F(Timeline, ChangesOnePartAFrameAndNeverPlaysTheLast) {
    part(0, 0, 1);
    part(0, 1, 2);
    part(50, 2, 3);
    part(100, 3, 4);
    EXPECT_EQ(
        play({0, 0, 49, 70, 99, 100, 101}, {"sceneSta", "music", "update"}),
        (Frames{"musicPlay 1; sceneStart 0; update 0 0", "musicStop 1; musicPlay 2; sceneStart 1; update 1 0",
                "update 1 49", "musicStop 2; musicPlay 3; sceneStart 2; update 2 20", "update 2 49"}));
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
    QbDemoPart& second = part(100, 3, 2);
    resetting(second);
    second.paletteId = 5;
    extra(second, 4, 0, 1000);
    extra(second, 5, 20, 1000);
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
            "sceneFree 0; musicPlay 2; range 1 9; sceneStart 3; sceneHide 4; sceneStart 4; sceneHide 5; "
            "sceneStart 5; sceneShow 4; update 4 0; paletteUse 5; shaderEnable 8; fadeIn 500 254; "
            "update 3 0"}));
    EXPECT_EQ(first.faders[0].active + first.shaders[0].active, 0);
}

TEST_F(Timeline, RunsOnOneClockThatAPartMaySetBack) {
    part(0, 0);
    part(100, 1);            // absolute: its scene begins where the part was due, at 100
    resetting(part(200, 2)); // sets the clock back when it is seen, at 230
    part(50, 3);
    part(1000);
    EXPECT_EQ(play({30, 130, 230, 270, 290}, {"update"}),
              (Frames{"update 0 30", "update 1 30", "update 2 0", "update 2 40", "update 3 10"}));
}

TEST_F(Timeline, KeepsSceneAndTuneOverAPartThatHasNone) {
    QbDemoPart& first = part(0, 0, 1);
    extra(first, 1, 0, 40);
    fader(first, 0, 20, 0xFF);
    part(10).cameraFar = 7;
    part(50, 2, 2);
    part(1000);
    EXPECT_EQ(
        play({0, 15, 45, 50}),
        (Frames{
            "paletteReset; musicPlay 1; range 1 9; sceneStart 0; sceneHide 1; sceneStart 1; sceneShow 1; "
            "update 1 0; fadeOut 10 255; update 0 0",
            "range 1 7; update 0 5", // the new part's base; extra and fader of the old are left as they are
            "update 0 35",
            "musicStop 1; sceneStop 0; fadeRemove; musicPlay 2; range 1 9; sceneStart 2; update 2 0"}));
}

TEST_F(Timeline, ShowsExtrasWithinTheirWindow) {
    QbDemoPart& only = part(0, 0);
    extra(only, 1, 100, 100);
    extra(only, 2, 150, 0);   // never
    extra(only, 3, 150, -10); // never
    extra(only, 4, INT_MAX, INT_MAX);
    extra(only, 5, INT_MIN, INT_MIN);
    part(1000);
    EXPECT_EQ(play({0, 99, 100, 199, 200, 250}, {"sceneShow", "sceneHide", "update"}),
              (Frames{"sceneHide 1; sceneHide 2; sceneHide 3; sceneHide 4; sceneHide 5; update 0 0",
                      "update 0 99", "sceneShow 1; update 1 0; update 0 100", "update 1 99; update 0 199",
                      "sceneHide 1; update 0 200", "update 0 250"}));
}

TEST_F(Timeline, FiresEachFaderOnce) {
    QbDemoPart& only = part(0, 0);
    fader(only, 10, 100, 1, 0);
    fader(only, 50, 20, 2); // cuts the first off, which does not come back
    fader(only, 80, 0, 3);  // never
    fader(only, 200, 10, 4);
    part(1000);
    EXPECT_EQ(play({9, 10, 49, 50, 69, 70, 80, 199, 200, 210, 300}, {"fade"}),
              (Frames{"", "fadeIn 50 1", "", "fadeRemove; fadeOut 10 2", "", "fadeRemove", "", "",
                      "fadeOut 5 4", "fadeRemove", ""}));
}

TEST_F(Timeline, StepsShaderWindowsWhenSwitchedOn) {
    QbDemoPart& only = part(0, 0);
    shader(only, 1, 10, 100);
    shader(only, -1, 10, 100); // did not load
    shader(only, 2, 50, 20);
    shader(only, 1, 60, 5); // the same shader again
    shader(only, 3, 80, 0); // never
    part(1000);
    const std::vector<int> times = {10, 50, 60, 65, 70, 90};
    EXPECT_EQ(play(times, {"shader"}), Frames(6, ""));
    demo->shadersEnabled = 1;
    EXPECT_EQ(play(times, {"shader"}),
              (Frames{"shaderEnable 1", "shaderDisable 1; shaderEnable 2", "shaderDisable 2; shaderEnable 1",
                      "shaderDisable 1", "", ""}));
}

TEST_F(Timeline, ActivatesAPaletteWhenItChanges) {
    part(0).paletteId = 1;
    part(10).paletteId = 1;
    part(20);
    part(30).paletteId = 2;
    part(1000);
    EXPECT_EQ(play({0, 5, 10, 20, 30, 40}, {"paletteUse"}),
              (Frames{"paletteUse 1", "", "", "", "paletteUse 2", ""}));
}

TEST_F(Timeline, DrawsOnUntilTheFirstPartIsDueAndTellsTheObserver) {
    qbDemoSetObserver([](const QbDemo*, int index, int elapsed) {
        fakes.calls.push_back("observe " + std::to_string(index) + " " + std::to_string(elapsed));
    });
    resetting(part(100, 0));
    part(1000);
    EXPECT_EQ(
        play({0, 99, 120, 130}, {"update", "observe"}),
        (Frames{"observe -1 0", "observe -1 99", "update 0 0; observe 0 0", "update 0 10; observe 0 10"}));
}

TEST_F(Timeline, EndsBehindItsLastPart) {
    EXPECT_EQ(play({0, 10}), Frames());
    part(0, 0, 1); // a single part is the last one
    fakes.calls.clear();
    EXPECT_EQ(play({0, 10}, {"scene", "music", "range"}), Frames());
    EXPECT_EQ(play({}), Frames()); // over before the first frame

    while (demo->partCount < QB_DEMO_PARTS_MAX) // a full table, and nothing read behind it
        part(0, demo->partCount % 60);
    EXPECT_EQ(play(std::vector<int>(100, 0), {"range"}).size(), 63U);
}

TEST_F(Timeline, TakesAnyTimes) {
    QbDemoPart& first = part(INT_MIN, 0);
    extra(first, 1, INT_MIN, INT_MAX);
    extra(first, 2, -5, INT_MAX);
    fader(first, INT_MAX, INT_MAX, 1);
    part(INT_MAX, 1);
    part(INT_MAX);
    EXPECT_EQ(play({0, 100}, {"update"}),
              (Frames{"update 2 5; update 0 2147483647", "update 2 105; update 0 2147483647"}));
    EXPECT_EQ(play({0}, {"fade"}), Frames{""}); // played once more, with the marks of the first time
}
