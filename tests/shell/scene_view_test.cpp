#include "shell/scene_view.h"

#include "engine/engine.h"
#include "platform/dialog/dialog.h"
#include "scene/format/tables.h"
#include "scene/runtime/slots.h"
#include "support/fake.h"
#include "support/messages.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

using Ints = std::vector<int>;
using Strings = std::vector<std::string>;

// What the user and the clock do before a frame.
struct Step {
    int now = 0;
    const char* keys = ""; // those down: Enter, Space, Shift (capital S), left, right
};

// A scene of frames 10 to 110 at 25 frames a second: 4000 ms.
struct World {
    int result = 0; // of loading, opening and saving
    int framesPerSecond = 25;
    int duration = 4000;
    bool active = true;
    std::vector<Step> steps;
    size_t frame = 0;
    Step step; // of this frame
    Ints updates;
    Strings calls, texts;
    int sleeps = 0, drawn = 0;
};

World world;

class SceneView : public testing::Test {
protected:
    void SetUp() override { world = World(); }
    Messages messages;

    static int scene(std::vector<Step> steps, uint32_t flags = 0, int frame = 0,
                     const char* name = "a.quab") {
        world.frame = 0;
        world.steps = std::move(steps);
        world.step = world.steps.empty() ? Step() : world.steps[0];
        const QbViewOptions options = {flags, frame};
        return qbSceneView(name, &options);
    }
    // The positions that a fresh scene shows.
    static Ints shown(std::vector<Step> steps, uint32_t flags = 0, int frame = 0) {
        world.updates.clear();
        scene(std::move(steps), flags, frame);
        return world.updates;
    }
};

void record(const std::string& call) {
    world.calls.push_back(call);
}

uint8_t isDown(char key) {
    return strchr(world.step.keys, key) ? 1 : 0;
}

} // namespace

int qbEngineIsOver() {
    if (world.frame == world.steps.size()) return 1;
    world.step = world.steps[world.frame++];
    return 0;
}
FAKE(int, qbEngineTime, (), world.step.now)
FAKE(int, qbEngineIsActive, (), world.active)
FAKE(void, qbEngineSleep, (int milliseconds), world.sleeps += milliseconds)
FAKE(void, qbEngineWarmUp, (), static_cast<void>(0))
FAKE(void, qbEngineDrawFrame, (), ++world.drawn)
FAKE(void, qbEngineText, (int x, int y, const char* text), world.texts.push_back(callText(text, x, y)))
FAKE(uint8_t, qbKeyEnter, (), isDown('e'))
FAKE(uint8_t, qbKeySpace, (), isDown('s'))
FAKE(uint8_t, qbKeyShift, (), isDown('S'))
FAKE(uint8_t, qbKeyLeft, (), isDown('l'))
FAKE(uint8_t, qbKeyRight, (), isDown('r'))
int qbSceneLoad(const char* name, int slot, int object, int light, int emitter, int reuse,
                const char* directory, int isExtra) {
    record(callText("load", name, slot, object, light, emitter, reuse, directory, isExtra));
    return world.result;
}
FAKE(void, qbSceneFree, (int slot), record(callText("free", slot)))
FAKE(void, qbSceneStart, (int slot), record(callText("start", slot)))
FAKE(void, qbSceneUpdate, (int, int32_t time), world.updates.push_back(time))
FAKE(int, qbSceneDurationMs, (int), world.duration)
FAKE(int, qbSceneFramesPerSecond, (int), world.framesPerSecond)
FAKE(int, qbSceneFirstFrame, (int), 10)
FAKE(int, qbSceneSaveBinary, (int, const char* path), (record(callText("save", path)), world.result))
FAKE(void, qbSceneSetReportLoadErrors, (int report), record(callText("report", report)))
const char* qbOpenFileDialog(const char* title, const QbFileFilter* filters, int count) {
    record(callText(title, filters[0].label, filters[0].patterns, filters[1].patterns, count));
    return nullptr;
}
QbSceneHandle* qbSceneOpen(const char* name) {
    static QbSceneHandle handle;
    record(callText("open", name));
    return world.result == 0 ? &handle : nullptr;
}
FAKE(void, qbSceneClose, (QbSceneHandle*), record("close"))
FAKE(int, qbSceneSave, (QbSceneHandle*, const char* path), (record(callText("save", path)), 0))

TEST_F(SceneView, PlaysByTheClockAndEndsPausedOnTheLastPicture) {
    // The frame that passes the end shows it; the pause begins behind it, and its first frame shows the same
    // picture.
    EXPECT_EQ(shown({{0}, {40}, {3999}, {4100}, {4200}, {5000}}), (Ints{0, 40, 3999, 4000, 4000}));
    EXPECT_EQ(world.texts[1], "Frame=11.00 time=0mn0sec0 millisec=40 0 0");
    EXPECT_EQ(world.texts[2], "Frame=109.97 time=0mn3sec9 millisec=3999 0 0");
    EXPECT_EQ(world.drawn, 6 + 2); // two more show the emptied scene
    world.active = false;
    EXPECT_EQ(shown({{0}, {100}, {200}}, QB_VIEW_PAUSED), (Ints{0})); // one picture, however long
    EXPECT_EQ(world.sleeps, 3 * 200);
    world.duration = 300000;
    world.texts.clear();
    shown({{0}, {125678}});
    EXPECT_EQ(world.texts[1], "Frame=3151.95 time=2mn5sec6 millisec=125678 0 0");
}

TEST_F(SceneView, ObeysItsKeys) {
    // Space acts on the press: paused at 1000 (shown once more), left at 2000, so that 2100 is position 1100.
    EXPECT_EQ(shown({{0}, {1000, "s"}, {1500, "s"}, {1600}, {2000, "s"}, {2100}}),
              (Ints{0, 1000, 1000, 1100}));
    // On the last picture it starts again.
    EXPECT_EQ(shown({{0}, {5000}, {6000, "s"}, {6100}}).back(), 100);
    // A loop carries the overrun into the next turn.
    EXPECT_EQ(shown({{0, "e"}, {10}, {4070}, {4100}}), (Ints{0, 10, 4000, 100}));
    // Running: 10 ms a frame, 100 with Shift; the jump shows in the next frame.
    EXPECT_EQ(shown({{0}, {100, "r"}, {100, "rS"}, {100}}), (Ints{0, 100, 110, 210}));
    // Paused: 5 ms a frame, 50 with Shift, and the ends hold.
    EXPECT_EQ(shown({{0}, {50, "r"}, {60, "rS"}, {70, "lS"}, {80, "l"}, {90, "lS"}, {91, "lS"}, {92}},
                    QB_VIEW_PAUSED),
              (Ints{0, 5, 55, 5, 0}));
    EXPECT_EQ(shown({{0, "r"}, {0, "l"}, {0}}, QB_VIEW_PAUSED | QB_VIEW_FRAME_START, 110),
              (Ints{4000, 3995}));
    // Back past the start pauses at 0, and held down the key can not leave it.
    EXPECT_EQ(shown({{0}, {5, "l"}, {6, "l"}, {7, "l"}}), (Ints{0, 5}));
}

TEST_F(SceneView, StartsAtAFrameAndSeeksPastTheEndsOfTheLongestScene) {
    const std::pair<int32_t, int> cases[] = {{35, 1000}, {110, 4000},    {500, 4000},
                                             {-7, 0},    {INT32_MIN, 0}, {INT32_MAX, 4000}};
    for (const auto& [frame, position] : cases)
        EXPECT_EQ(shown({{777}}, QB_VIEW_FRAME_START | QB_VIEW_PAUSED, frame), (Ints{position})) << frame;
    for (const uint32_t flags : {0U, uint32_t{QB_VIEW_PAUSED}}) {
        world.duration = INT32_MAX;
        const Ints all = shown({{1000, "rS"}, {1000, "rS"}, {1000}}, flags | QB_VIEW_FRAME_START, INT32_MAX);
        EXPECT_EQ(all.front(), INT32_MAX) << flags;
        EXPECT_EQ(all.back(), INT32_MAX) << flags;
    }
    // Last frame before the first, or no frame rate: nothing to play, but nothing to fall over either.
    world.duration = INT32_MIN;
    for (const char* keys : {"lS", "elS"})
        EXPECT_EQ(shown({{1000, keys}, {1000, keys}, {1000, keys}}).front(), INT32_MIN);
    world.framesPerSecond = 0;
    shown({{0}}, QB_VIEW_FRAME_START, 40);
}

TEST_F(SceneView, ConvertsBeforePlayingAndWithoutAnEngine) {
    const char load[] = "load a.quab 1 1 0 0 0  0";
    enum { CONVERT = QB_VIEW_BINARY | QB_VIEW_CONVERT_ONLY };
    scene({}, QB_VIEW_BINARY);
    EXPECT_EQ(world.calls, (Strings{"report 1", load, "save a.quab.bin", "start 1", "free 1"}));
    world.calls.clear();
    scene({}, QB_VIEW_BINARY, 0, "a.lws.ini.bin"); // binary already
    EXPECT_EQ(world.calls[2], "start 1");
    world.calls.clear();
    scene({}, CONVERT);
    EXPECT_EQ(world.calls, (Strings{"open a.quab", "save a.quab.bin", "close"}));
    world.calls.clear();
    scene({}, CONVERT, 0, nullptr); // the dialog is cancelled
    EXPECT_EQ(world.calls,
              (Strings{"Open Quab scene for binary convert Quab Scene (lws.ini) *.lws.ini *.* 2"}));
    world.calls.clear();
    // A directory that is not there is not taken for the current one.
    EXPECT_EQ(scene({}, QB_VIEW_BINARY, 0, "nowhere/a.quab"), -1);
    EXPECT_TRUE(world.calls.empty());
    world.result = -1;
    EXPECT_EQ(scene({}, QB_VIEW_BINARY), -1);
    EXPECT_EQ(scene({}, CONVERT), -1);
    EXPECT_EQ(messages.texts(), Strings(3, "Failed to load scene"));
    EXPECT_EQ(world.drawn, 2 * 2) << "a failed load is shown";
}

TEST_F(SceneView, RefusesNamesAndDirectoriesOfMoreThan256Characters) {
    const std::string too = " of the scene is longer than 256 characters. Move or rename it: '";
    const std::string fits(256, 'n'), directory = std::string(255, 'd') + "/";
    scene({}, 0, 0, fits.c_str());
    EXPECT_EQ(world.calls[1], "load " + fits + " 1 1 0 0 0  0");
    for (const std::string& path : {fits + "n", directory + "a.quab", "d" + directory + "a.quab"})
        EXPECT_EQ(scene({}, 0, 0, path.c_str()), -1);
    EXPECT_EQ(messages.texts(), (Strings{"The name" + too + fits + "n'", "Failed to load scene", // not there
                                         "The directory" + too + "d" + directory + "'"}));
}
