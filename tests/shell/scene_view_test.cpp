#include "shell/scene_view.h"

#include "engine/engine.h"
#include "platform/dialog/dialog.h"
#include "scene/format/tables.h"
#include "scene/runtime/slots.h"
#include "support/fake.h"
#include "support/messages.h"

#include <algorithm>
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
    int result = 0; // of loading and opening
    int framesPerSecond = 25;
    int duration = 4000;
    bool active = true;
    std::vector<Step> steps;
    size_t frame = 0;
    Ints updates;
    Strings calls, texts;
    int sleeps = 0, drawn = 0;
};

World world;

class SceneView : public testing::Test {
protected:
    void SetUp() override { world = World(); }
    Messages messages;

    // The calls of one run.
    static Strings scene(uint32_t flags, const char* name, int expected = 0) {
        world.calls.clear();
        const QbViewOptions options = {flags, 0};
        EXPECT_EQ(qbSceneView(name, &options), expected);
        return world.calls;
    }
    // The positions that a fresh scene shows.
    static Ints shown(std::vector<Step> steps, uint32_t flags = 0, int frame = 0) {
        world.updates.clear();
        world.frame = 0;
        world.steps = std::move(steps);
        const QbViewOptions options = {flags, frame};
        qbSceneView("a.quab", &options);
        return world.updates;
    }
};

template <class... Arguments>
int called(const char* name, const Arguments&... arguments) {
    world.calls.push_back(callText(name, arguments...));
    return 0;
}

// Of this frame; before the first one the clock stands there already.
const Step& step() {
    return world.steps[std::max<size_t>(world.frame, 1) - 1];
}

uint8_t isDown(char key) {
    return strchr(step().keys, key) ? 1 : 0;
}

} // namespace

FAKE(int, qbEngineIsOver, (), world.frame++ >= world.steps.size())
FAKE(int, qbEngineTime, (), world.steps.empty() ? 0 : step().now)
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
FAKE(int, qbSceneLoad,
     (const char* name, int slot, int object, int light, int emitter, int reuse, const char* directory,
      int isExtra),
     called("load", name, slot, object, light, emitter, reuse, directory, isExtra) + world.result)
FAKE(void, qbSceneFree, (int slot), called("free", slot))
FAKE(void, qbSceneStart, (int slot), called("start", slot))
FAKE(void, qbSceneUpdate, (int, int32_t time), world.updates.push_back(time))
FAKE(int, qbSceneDurationMs, (int), world.duration)
FAKE(int, qbSceneFramesPerSecond, (int), world.framesPerSecond)
FAKE(int, qbSceneFirstFrame, (int), 10)
FAKE(int, qbSceneSaveBinary, (int, const char* path), called("save", path) - 1) // a view goes on
FAKE(void, qbSceneSetReportLoadErrors, (int report), called("report", report))
FAKE(const char*, qbOpenFileDialog, (const char* title, const QbFileFilter* filters, int count),
     (called(title, filters[0].label, filters[0].patterns, filters[1].patterns, count), nullptr))
FAKE(QbSceneHandle*, qbSceneOpen, (const char* name),
     called("open", name) + world.result == 0 ? new QbSceneHandle() : nullptr)
FAKE(void, qbSceneClose, (QbSceneHandle * scene), (called("close"), delete scene))
FAKE(int, qbSceneSave, (QbSceneHandle*, const char* path), called("save", path))

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
    world.duration = INT32_MAX;
    for (const uint32_t flags : {0U, uint32_t{QB_VIEW_PAUSED}})
        EXPECT_EQ(shown({{1000, "rS"}, {1000, "rS"}, {1000}}, flags | QB_VIEW_FRAME_START, INT32_MAX).back(),
                  INT32_MAX);
    // Last frame before the first, or no frame rate: nothing to play, but nothing to fall over either.
    world.duration = INT32_MIN;
    EXPECT_EQ(shown({{1000, "lS"}, {1000, "elS"}, {1000, "lS"}}).front(), INT32_MIN);
    world.framesPerSecond = 0;
    shown({{0}}, QB_VIEW_FRAME_START, 40);
}

TEST_F(SceneView, ConvertsBeforePlayingAndWithoutAnEngine) {
    enum { CONVERT = QB_VIEW_BINARY | QB_VIEW_CONVERT_ONLY };
    const std::string load = " 1 1 0 0 0  0";
    EXPECT_EQ(scene(QB_VIEW_BINARY, "a.quab"),
              (Strings{"report 1", "load a.quab" + load, "save a.quab.bin", "start 1", "free 1"}));
    EXPECT_EQ(scene(QB_VIEW_BINARY, "a.lws.ini.bin"), // binary already
              (Strings{"report 1", "load a.lws.ini.bin" + load, "start 1", "free 1"}));
    EXPECT_EQ(scene(CONVERT, "a.quab"), (Strings{"open a.quab", "save a.quab.bin", "close"}));
    EXPECT_EQ(scene(CONVERT, nullptr, -1), // the dialog is cancelled
              Strings{"Open Quab scene for binary convert Quab Scene (lws.ini) *.lws.ini *.* 2"});
    // A directory that is not there is not taken for the current one.
    EXPECT_EQ(scene(QB_VIEW_BINARY, "nowhere/a.quab", -1), Strings());
    world.result = -1;
    EXPECT_EQ(scene(QB_VIEW_BINARY, "a.quab", -1).size(), 2U);
    EXPECT_EQ(scene(CONVERT, "a.quab", -1).size(), 1U);
    Strings said(4, "Failed to load scene");
    said[0] = "Failed to save scene to binary a.quab.bin";
    EXPECT_EQ(messages.texts(), said);
}

TEST_F(SceneView, RefusesNamesAndDirectoriesOfMoreThan256Characters) {
    const std::string too = " of the scene is longer than 256 characters. Move or rename it: '";
    const std::string fits(256, 'n'), directory = std::string(255, 'd') + "/";
    EXPECT_EQ(scene(0, fits.c_str())[1], "load " + fits + " 1 1 0 0 0  0");
    for (const std::string& path : {fits + "n", directory + "a.quab", "d" + directory + "a.quab"})
        scene(0, path.c_str(), -1);
    EXPECT_EQ(messages.texts(), (Strings{"The name" + too + fits + "n'", "Failed to load scene", // not there
                                         "The directory" + too + "d" + directory + "'"}));
}
