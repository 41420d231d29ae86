#include "shell/object_view.h"

#include "engine/camera.h"
#include "engine/engine.h"
#include "engine/lights.h"
#include "platform/message.h"
#include "scene/runtime/objects.h"

#include <cstdarg>
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

struct World {
    bool loads = true;
    float depth = 40.0F;
    int frameCount = 1;
    int now = 0;
    bool active = true;
    int buttons = 0, x = 0, y = 0, wheel = 0;
    bool left = false, right = false, up = false, down = false;
    std::vector<std::function<void()>> frames;
    size_t frame = 0;
    std::vector<std::string> calls;
};

World world;

[[gnu::format(printf, 1, 2)]] void record(const char* format, ...) {
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    world.calls.emplace_back(text);
}

using Strings = std::vector<std::string>;

class ObjectView : public testing::Test {
protected:
    void SetUp() override { world = World(); }

    // The calls of the frames, without the set-up and the release.
    static Strings view(std::vector<std::function<void()>> frames) {
        world.frames = std::move(frames);
        EXPECT_EQ(qbObjectView("thing.x"), 0);
        Strings calls = world.calls;
        EXPECT_EQ(calls.back(), "free");
        calls.pop_back();
        calls.erase(calls.begin(), calls.begin() + 6);
        return calls;
    }
    static std::function<void()> mouse(int buttons, int x, int y) {
        return [=] {
            world.buttons = buttons;
            world.x = x;
            world.y = y;
        };
    }
};

} // namespace

void qbMessage(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    char text[256];
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    record("message %s", text);
}
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
    record("sleep %d", milliseconds);
}
void qbEngineDrawFrame() {}
void qbEngineSetBackground(uint32_t color) {
    record("background %06X", color);
}
uint8_t qbKeyLeft() {
    return world.left ? 1 : 0;
}
uint8_t qbKeyRight() {
    return world.right ? 1 : 0;
}
uint8_t qbKeyUp() {
    return world.up ? 1 : 0;
}
uint8_t qbKeyDown() {
    return world.down ? 1 : 0;
}
int qbMouseButtons() {
    return world.buttons;
}
int qbMouseX() {
    return world.x;
}
int qbMouseY() {
    return world.y;
}
int qbMouseWheel() {
    return world.wheel;
}
void qbLightCreate(int id) {
    record("light %d", id);
}
void qbLightSetDirectional(int id) {
    record("directional %d", id);
}
void qbCameraSetPosition(float x, float y, float z) {
    record("camera %g %g %g", x, y, z);
}
void qbObjectLoad(const char* name, int id) {
    record("load %s %d", name, id);
}
bool qbObjectExists(int) {
    return world.loads;
}
float qbObjectDepth(int) {
    return world.depth;
}
int qbObjectFrameCount(int) {
    return world.frameCount;
}
void qbObjectFree(int) {
    record("free");
}
void qbObjectSetRotation(int, float x, float y, float z) {
    record("turn %g %g %g", x, y, z);
}
void qbObjectSetFrame(int, float frame) {
    record("frame %g", frame);
}

TEST_F(ObjectView, SetsUpLightBackgroundAndDistance) {
    view({});
    EXPECT_EQ(world.calls, (Strings{"load thing.x 1", "light 1", "directional 1", "background 113366",
                                    "turn 0 0 0", "camera 0 0 -60", "free"}));
    world = World();
    world.depth = 0.0F; // a flat mesh still gets a distance
    view({});
    EXPECT_EQ(world.calls[5], "camera 0 0 -30");
}

TEST_F(ObjectView, AMissingMeshSaysSo) {
    world.loads = false;
    EXPECT_EQ(qbObjectView("thing.x"), -1);
    EXPECT_EQ(world.calls, (Strings{"load thing.x 1", "message Failed to load object thing.x\n"}));
}

TEST_F(ObjectView, DraggingTurnsWithTheLeftButtonAlone) {
    const Strings calls = view({mouse(1, 100, 100), mouse(1, 110, 100), mouse(1, 110, 96), mouse(1, 110, 96),
                                mouse(3, 300, 300), mouse(1, 10, 10), mouse(1, 12, 10)});
    // The press samples, both buttons end the drag, and the next press samples again.
    EXPECT_EQ(calls, (Strings{"turn 0 -5 0", "turn 2 -5 0", "turn 2 -6 0"}));
}

TEST_F(ObjectView, KeysTurnAndZoomAFrameAtATime) {
    const Strings calls = view({[] { world.left = world.right = true; },
                                [] {
                                    world.left = false;
                                    world.up = world.down = true;
                                },
                                [] { world.right = world.up = false; }, [] { world.down = false; }});
    EXPECT_EQ(calls, (Strings{"turn 0 1 0", "turn 0 0 0", "camera 0 0 -61", "camera 0 0 -60"}));
}

TEST_F(ObjectView, TheWheelMovesByATwentiethOfTheDepth) {
    EXPECT_EQ(view({[] { world.wheel = 3; }, [] {}, [] { world.wheel = 1; }}),
              (Strings{"camera 0 0 -54", "camera 0 0 -58"}));
}

TEST_F(ObjectView, AnimationLoopsAtThirtyFramesASecond) {
    world.frameCount = 10; // 333 ms a turn
    EXPECT_EQ(view({[] { world.now = 100; }, [] { world.now = 332; }, [] { world.now = 333; }}),
              (Strings{"frame 3", "frame 9.96", "frame 0"}));
    world = World();
    world.frameCount = 200000000; // a turn of 77 days
    EXPECT_EQ(view({[] { world.now = 2000000000; }}), (Strings{"frame 6e+07"}));
}

TEST_F(ObjectView, SleepsInTheBackground) {
    world.active = false;
    EXPECT_EQ(view({[] {}}), (Strings{"sleep 20"}));
}
