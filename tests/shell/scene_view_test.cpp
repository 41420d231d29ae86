#include "shell/scene_view.h"

#include "engine/engine.h"
#include "platform/dialog/dialog.h"
#include "scene/format/tables.h"
#include "scene/runtime/slots.h"
#include "support/fake.h"
#include "support/messages.h"

#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace {

// A scene of frames 10 to 110 at 25 frames a second: 4000 ms.
struct World {
    int now = 0;
    int load = 0, open = 0, save = 0;
    int firstFrame = 10, lastFrame = 110, framesPerSecond = 25;
    std::optional<int> duration; // in place of what the frames give
    bool active = true;
    bool enter = false, space = false, shift = false, left = false, right = false;
    std::vector<std::function<void()>> frames; // what the user and the clock do before each frame
    size_t frame = 0;
    std::vector<int> updates;
    std::vector<std::string> calls, texts;
    int sleeps = 0, drawn = 0;
};

World world;

class SceneView : public testing::Test {
protected:
    void SetUp() override { world = World(); }
    Messages sink;
    std::vector<std::string>& messages = Messages::texts();

    static void play(std::vector<std::function<void()>> frames, uint32_t flags = 0, int32_t frameStart = 0) {
        world.frames = std::move(frames);
        const QbViewOptions options = {flags, frameStart};
        qbSceneView("walk.quab", &options);
    }
    static std::function<void()> at(int time) {
        return [time] { world.now = time; };
    }
    static std::function<void()> key(int time, bool World::*which, bool down) {
        return [=] {
            world.now = time;
            world.*which = down;
        };
    }
};

using Ints = std::vector<int>;
using Strings = std::vector<std::string>;

} // namespace

static int record(const std::string& call, int answer = 0) {
    world.calls.push_back(call);
    return answer;
}

int qbEngineIsOver() {
    if (world.frame == world.frames.size()) return 1;
    world.frames[world.frame++]();
    return 0;
}
FAKE(int, qbEngineTime, (), world.now)
FAKE(int, qbEngineIsActive, (), world.active)
FAKE(void, qbEngineSleep, (int milliseconds), world.sleeps += milliseconds)
FAKE(void, qbEngineDrawFrame, (), ++world.drawn)
void qbEngineText(int x, int y, const char* text) {
    EXPECT_EQ(x, 0);
    EXPECT_EQ(y, 0);
    world.texts.emplace_back(text);
}
FAKE(uint8_t, qbKeyEnter, (), world.enter)
FAKE(uint8_t, qbKeySpace, (), world.space)
FAKE(uint8_t, qbKeyShift, (), world.shift)
FAKE(uint8_t, qbKeyLeft, (), world.left)
FAKE(uint8_t, qbKeyRight, (), world.right)
int qbSceneLoad(const char* filename, int slot, int object, int light, int emitter, int reuse,
                const char* directory, int isExtra) {
    world.calls.push_back("load " + std::string(filename) + " in '" + directory + "'");
    EXPECT_EQ((Ints{slot, object, light, emitter, reuse, isExtra}), (Ints{1, 1, 0, 0, 0, 0}));
    return world.load;
}
FAKE(void, qbSceneFree, (int slot), record(callText("free", slot)))
FAKE(void, qbSceneStart, (int slot), record(callText("start", slot)))
void qbSceneUpdate(int slot, int32_t time) {
    EXPECT_EQ(slot, 1);
    world.updates.push_back(time);
}
int qbSceneDurationMs(int) {
    if (world.duration) return *world.duration;
    const int fps = world.framesPerSecond;
    return fps == 0 ? 0 : (world.lastFrame - world.firstFrame) * 1000 / fps;
}
FAKE(int, qbSceneFramesPerSecond, (int), world.framesPerSecond)
FAKE(int, qbSceneFirstFrame, (int), world.firstFrame)
FAKE(int, qbSceneSaveBinary, (int, const char* path), record(callText("save", path), world.save))
FAKE(void, qbSceneSetReportLoadErrors, (int report), record(callText("report", report)))
const char* qbOpenFileDialog(const char* title, const QbFileFilter* filters, int count) {
    world.calls.emplace_back(title);
    for (int i = 0; i < count; ++i)
        world.calls.push_back(std::string(filters[i].label) + "|" + filters[i].patterns);
    return nullptr;
}
QbSceneHandle* qbSceneOpen(const char* name) {
    static QbSceneHandle handle;
    world.calls.push_back("open " + std::string(name));
    return world.open == 0 ? &handle : nullptr;
}
FAKE(void, qbSceneClose, (QbSceneHandle*), record("close"))
FAKE(int, qbSceneSave, (QbSceneHandle*, const char* path), record(callText("save", path), world.save))

TEST_F(SceneView, PlaysByTheClockAndEndsPausedOnTheLastPicture) {
    play({at(0), at(40), at(3999), at(4100), at(4200), at(5000)});
    // The frame that passes the end shows it; the pause begins behind it, and its first frame shows the same
    // picture.
    EXPECT_EQ(world.updates, (Ints{0, 40, 3999, 4000, 4000}));
    EXPECT_EQ(Strings(world.texts.begin(), world.texts.begin() + 3),
              (Strings{"Frame=10.00 time=0mn0sec0 millisec=0", "Frame=11.00 time=0mn0sec0 millisec=40",
                       "Frame=109.97 time=0mn3sec9 millisec=3999"}));
    EXPECT_EQ(world.calls.back(), "free 1");
    EXPECT_EQ(world.drawn, 6 + 2); // two more show the emptied scene

    world = World();
    world.lastFrame = 10 + 25 * 300;
    play({at(0), at(125678)});
    EXPECT_EQ(world.texts[1], "Frame=3151.95 time=2mn5sec6 millisec=125678");

    world = World();
    world.active = false;
    play({at(0), at(100), at(200)}, QB_VIEW_PAUSED);
    EXPECT_EQ(world.updates, (Ints{0})); // one picture, however long
    EXPECT_EQ(world.sleeps, 3 * 200);
}

TEST_F(SceneView, SpaceActsOnThePressAndContinuesWhereItStood) {
    play({at(0), key(1000, &World::space, true), key(1500, &World::space, true),
          key(1600, &World::space, false), key(2000, &World::space, true), key(2100, &World::space, false)});
    // Paused at 1000 (shown once more), left at 2000, so that 2100 is position 1100.
    EXPECT_EQ(world.updates, (Ints{0, 1000, 1000, 1100}));

    // On the last picture it starts again.
    world = World();
    play({at(0), at(5000), key(6000, &World::space, true), key(6100, &World::space, false)});
    EXPECT_EQ(world.updates.back(), 100);
}

TEST_F(SceneView, LoopCarriesTheOverrunIntoTheNextTurn) {
    play({key(0, &World::enter, true), key(10, &World::enter, false), at(4070), at(4100)});
    EXPECT_EQ(world.updates, (Ints{0, 10, 4000, 100}));
}

TEST_F(SceneView, ArrowsSeekWhileRunningAndWhilePaused) {
    // Running: 10 ms a frame, 100 with Shift; the jump shows in the next frame.
    play({at(0), key(100, &World::right, true), key(100, &World::shift, true), at(100)});
    EXPECT_EQ(world.updates, (Ints{0, 100, 110, 210}));

    // Paused: 5 ms a frame, 50 with Shift, and the ends hold.
    world = World();
    play({at(0), key(50, &World::right, true), key(60, &World::shift, true), at(70),
          [] {
              world.right = false;
              world.left = true;
          },
          at(80), at(90), at(91), at(92)},
         QB_VIEW_PAUSED);
    EXPECT_EQ(world.updates, (Ints{0, 5, 55, 105, 55, 5, 0}));

    // Back past the start pauses at 0, and held down the key can not leave it. The picture stays: a position
    // of 0 is nothing new to the pause.
    world = World();
    play({at(0), key(5, &World::left, true), at(6), at(7)});
    EXPECT_EQ(world.updates, (Ints{0, 5}));
    EXPECT_EQ(world.texts[2], "Frame=10.00 time=0mn0sec0 millisec=0");
}

TEST_F(SceneView, StartFrames) {
    struct {
        int32_t frame;
        int position;
    } cases[] = {{10, 0}, {35, 1000}, {110, 4000}, {500, 4000}, {-7, 0}, {INT32_MIN, 0}, {INT32_MAX, 4000}};
    for (const auto& item : cases) {
        world = World();
        world.now = 777;
        play({at(777)}, QB_VIEW_FRAME_START | QB_VIEW_PAUSED, item.frame);
        EXPECT_EQ(world.updates, (Ints{item.position})) << item.frame;
    }
    world = World();
    world.framesPerSecond = 0;
    play({at(0), at(50)}, QB_VIEW_FRAME_START, 40);
    EXPECT_EQ(world.texts[1], "Frame=10.00 time=0mn0sec0 millisec=0");
}

TEST_F(SceneView, SeeksPastTheEndsOfTheLongestScene) {
    for (const uint32_t flags : {0U, uint32_t{QB_VIEW_PAUSED}}) {
        world = World();
        world.duration = INT32_MAX;
        world.right = world.shift = true;
        play({at(1000), at(1000), at(1000)}, flags | QB_VIEW_FRAME_START, INT32_MAX);
        EXPECT_EQ(world.updates.front(), INT32_MAX) << flags;
        EXPECT_EQ(world.updates.back(), INT32_MAX) << flags;
    }
    // Last frame before the first: nothing to play, but nothing to fall over either.
    for (const bool loop : {false, true}) {
        world = World();
        world.duration = INT32_MIN;
        world.enter = loop;
        world.left = world.shift = true;
        play({at(1000), at(1000), at(1000)});
        EXPECT_EQ(world.updates.front(), INT32_MIN) << loop;
    }
}

TEST_F(SceneView, AsksForTheBinaryFormBeforePlaying) {
    play({}, QB_VIEW_BINARY);
    EXPECT_EQ(world.calls,
              (Strings{"report 1", "load walk.quab in ''", "save walk.quab.bin", "start 1", "free 1"}));
    EXPECT_TRUE(messages.empty());

    world = World();
    world.save = -1;
    const QbViewOptions options = {QB_VIEW_BINARY, 0};
    qbSceneView("walk.lws.ini", &options);
    EXPECT_EQ(messages, (Strings{"Failed to save scene to binary walk.lws.ini.bin"}));
    EXPECT_EQ(world.calls.back(), "free 1"); // the view went on

    world = World();
    qbSceneView("walk.lws.ini.bin", &options);
    EXPECT_EQ(world.calls[2], "start 1"); // binary already
}

TEST_F(SceneView, AFailedLoadShowsNothing) {
    world.load = -1;
    play({at(0)});
    EXPECT_EQ(world.drawn, 0);

    // A directory that is not there is not taken for the current one.
    world.calls.clear();
    for (const uint32_t flags : {0U, uint32_t{QB_VIEW_BINARY | QB_VIEW_CONVERT_ONLY}}) {
        const QbViewOptions options = {flags, 0};
        EXPECT_EQ(qbSceneView("nowhere/walk.quab", &options), -1);
        EXPECT_TRUE(world.calls.empty());
    }
    EXPECT_EQ(messages, Strings(3, "Failed to load scene"));
}

TEST_F(SceneView, ConvertingNeedsNoEngine) {
    const QbViewOptions options = {QB_VIEW_BINARY | QB_VIEW_CONVERT_ONLY, 0};
    qbSceneView("walk.quab", &options);
    EXPECT_EQ(world.calls, (Strings{"open walk.quab", "save walk.quab.bin", "close"}));

    world = World();
    world.open = -1;
    qbSceneView("walk.lws.ini", &options);
    EXPECT_EQ(messages, (Strings{"Failed to load scene"}));

    world = World();
    qbSceneView(nullptr, &options); // the dialog is cancelled
    EXPECT_EQ(world.calls,
              (Strings{"Open Quab scene for binary convert", "Quab Scene (lws.ini)|*.lws.ini", "All|*.*"}));
}
