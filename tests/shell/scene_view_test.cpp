#include "shell/scene_view.h"

#include "engine/engine.h"
#include "platform/dialog/dialog.h"
#include "platform/message.h"
#include "scene/format/tables.h"
#include "scene/runtime/slots.h"

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
    std::vector<std::string> calls, texts, messages;
    int sleeps = 0, drawn = 0;
};

World world;

class SceneView : public testing::Test {
protected:
    void SetUp() override {
        world = World();
        qbMessageSetSink([](const char* text) { world.messages.emplace_back(text); });
    }
    void TearDown() override { qbMessageSetSink(nullptr); }

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

} // namespace

int qbEngineIsOver() {
    if (world.frame == world.frames.size()) return 1;
    world.frames[world.frame++]();
    return 0;
}
int qbEngineTime() {
    return world.now;
}
int qbEngineIsActive() {
    return world.active ? 1 : 0;
}
void qbEngineSleep(int milliseconds) {
    world.sleeps += milliseconds;
}
void qbEngineDrawFrame() {
    ++world.drawn;
}
void qbEngineText(int x, int y, const char* text) {
    EXPECT_EQ(x, 0);
    EXPECT_EQ(y, 0);
    world.texts.emplace_back(text);
}
uint8_t qbKeyEnter() {
    return world.enter ? 1 : 0;
}
uint8_t qbKeySpace() {
    return world.space ? 1 : 0;
}
uint8_t qbKeyShift() {
    return world.shift ? 1 : 0;
}
uint8_t qbKeyLeft() {
    return world.left ? 1 : 0;
}
uint8_t qbKeyRight() {
    return world.right ? 1 : 0;
}
int qbSceneLoad(const char* filename, int slot, int object, int light, int emitter, int reuse,
                const char* directory, int isExtra) {
    world.calls.push_back("load " + std::string(filename) + " in '" + directory + "'");
    EXPECT_EQ((Ints{slot, object, light, emitter, reuse, isExtra}), (Ints{1, 1, 0, 0, 0, 0}));
    return world.load;
}
void qbSceneFree(int slot) {
    world.calls.push_back("free " + std::to_string(slot));
}
void qbSceneStart(int slot) {
    world.calls.push_back("start " + std::to_string(slot));
}
void qbSceneUpdate(int slot, int32_t time) {
    EXPECT_EQ(slot, 1);
    world.updates.push_back(time);
}
int qbSceneDurationMs(int) {
    if (world.duration) return *world.duration;
    return world.framesPerSecond == 0 ? 0
                                      : (world.lastFrame - world.firstFrame) * 1000 / world.framesPerSecond;
}
int qbSceneFramesPerSecond(int) {
    return world.framesPerSecond;
}
int qbSceneFirstFrame(int) {
    return world.firstFrame;
}
int qbSceneSaveBinary(int, const char* path) {
    world.calls.push_back("save " + std::string(path));
    return world.save;
}
void qbSceneSetReportLoadErrors(int report) {
    world.calls.push_back("report " + std::to_string(report));
}
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
void qbSceneClose(QbSceneHandle*) {
    world.calls.emplace_back("close");
}
int qbSceneSave(QbSceneHandle*, const char* where) {
    world.calls.push_back("save " + std::string(where));
    return world.save;
}

TEST_F(SceneView, PlaysByTheClockAndEndsPausedOnTheLastPicture) {
    play({at(0), at(40), at(3999), at(4100), at(4200), at(5000)});
    // The frame that passes the end shows it; the pause begins behind it, and its first frame shows the same
    // picture.
    EXPECT_EQ(world.updates, (Ints{0, 40, 3999, 4000, 4000}));
    EXPECT_EQ(world.texts.front(), "Frame=10.00 time=0mn0sec0 millisec=0");
    EXPECT_EQ(world.texts[1], "Frame=11.00 time=0mn0sec0 millisec=40");
    EXPECT_EQ(world.texts[2], "Frame=109.97 time=0mn3sec9 millisec=3999");
    EXPECT_EQ(world.calls.back(), "free 1");
    EXPECT_EQ(world.drawn, 6 + 2); // two more show the emptied scene
}

TEST_F(SceneView, OverlayCountsMinutesSecondsAndTenths) {
    world.lastFrame = 10 + 25 * 300;
    play({at(0), at(125678)});
    EXPECT_EQ(world.texts[1], "Frame=3151.95 time=2mn5sec6 millisec=125678");
}

TEST_F(SceneView, SpaceActsOnThePressAndContinuesWhereItStood) {
    play({at(0), key(1000, &World::space, true), key(1500, &World::space, true),
          key(1600, &World::space, false), key(2000, &World::space, true), key(2100, &World::space, false)});
    // Paused at 1000 (shown once more), left at 2000, so that 2100 is position 1100.
    EXPECT_EQ(world.updates, (Ints{0, 1000, 1000, 1100}));
}

TEST_F(SceneView, SpaceOnTheLastPictureStartsAgain) {
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
}

TEST_F(SceneView, SeekingBackPastTheStartPausesAtZero) {
    play({at(0), key(5, &World::left, true), at(6), at(7)});
    // 5 ms - 10 ms lies before the start. The picture stays, since a position of 0 is nothing new to the
    // pause; held down, the key can not leave 0.
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

TEST_F(SceneView, PausedShowsOnePictureAndSleepsInTheBackground) {
    world.active = false;
    play({at(0), at(100), at(200)}, QB_VIEW_PAUSED);
    EXPECT_EQ(world.updates, (Ints{0}));
    EXPECT_EQ(world.sleeps, 3 * 200);
}

TEST_F(SceneView, AsksForTheBinaryFormBeforePlaying) {
    play({}, QB_VIEW_BINARY);
    EXPECT_EQ(world.calls, (std::vector<std::string>{"report 1", "load walk.quab in ''", "save walk.quab.bin",
                                                     "start 1", "free 1"}));
    EXPECT_TRUE(world.messages.empty());

    world = World();
    world.save = -1;
    const QbViewOptions options = {QB_VIEW_BINARY, 0};
    qbSceneView("walk.lws.ini", &options);
    EXPECT_EQ(world.messages, (std::vector<std::string>{"Failed to save scene to binary walk.lws.ini.bin"}));
    EXPECT_EQ(world.calls.back(), "free 1"); // the view went on

    world = World();
    qbSceneView("walk.lws.ini.bin", &options);
    EXPECT_EQ(world.calls[2], "start 1"); // binary already
}

TEST_F(SceneView, AFailedLoadShowsNothing) {
    world.load = -1;
    play({at(0)});
    EXPECT_EQ(world.messages, (std::vector<std::string>{"Failed to load scene"}));
    EXPECT_EQ(world.drawn, 0);
}

TEST_F(SceneView, ADirectoryThatIsNotThereIsNotTheCurrentOne) {
    for (const uint32_t flags : {0U, uint32_t{QB_VIEW_BINARY | QB_VIEW_CONVERT_ONLY}}) {
        world = World();
        const QbViewOptions options = {flags, 0};
        EXPECT_EQ(qbSceneView("nowhere/walk.quab", &options), -1);
        EXPECT_EQ(world.messages, (std::vector<std::string>{"Failed to load scene"}));
        EXPECT_TRUE(world.calls.empty());
    }
}

TEST_F(SceneView, ConvertingNeedsNoEngine) {
    const QbViewOptions options = {QB_VIEW_BINARY | QB_VIEW_CONVERT_ONLY, 0};
    qbSceneView("walk.quab", &options);
    EXPECT_EQ(world.calls, (std::vector<std::string>{"open walk.quab", "save walk.quab.bin", "close"}));

    world = World();
    world.open = -1;
    qbSceneView("walk.lws.ini", &options);
    EXPECT_EQ(world.messages, (std::vector<std::string>{"Failed to load scene"}));

    world = World();
    qbSceneView(nullptr, &options); // the dialog is cancelled
    EXPECT_EQ(world.calls, (std::vector<std::string>{"Open Quab scene for binary convert",
                                                     "Quab Scene (lws.ini)|*.lws.ini", "All|*.*"}));
}
