#include "shell/object_view.h"

#include "engine/camera.h"
#include "engine/engine.h"
#include "engine/lights.h"
#include "scene/runtime/objects.h"
#include "support/fake.h"
#include "support/messages.h"

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

using Strings = std::vector<std::string>;

class ObjectView : public testing::Test {
protected:
    void SetUp() override { world = World(); }
    Messages messages;

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

static void record(const std::string& call) {
    world.calls.push_back(call);
}

int qbEngineIsOver() {
    if (world.frame == world.frames.size()) return 1;
    world.frames[world.frame++]();
    return 0;
}
FAKE(int, qbEngineTime, (), world.now)
FAKE(int, qbEngineIsActive, (), world.active)
FAKE(void, qbEngineSleep, (int milliseconds), record(callText("sleep", milliseconds)))
void qbEngineDrawFrame() {}
FAKE(void, qbEngineSetBackground, (uint32_t color), record(callText("background", color)))
FAKE(uint8_t, qbKeyLeft, (), world.left)
FAKE(uint8_t, qbKeyRight, (), world.right)
FAKE(uint8_t, qbKeyUp, (), world.up)
FAKE(uint8_t, qbKeyDown, (), world.down)
FAKE(int, qbMouseButtons, (), world.buttons)
FAKE(int, qbMouseX, (), world.x)
FAKE(int, qbMouseY, (), world.y)
FAKE(int, qbMouseWheel, (), world.wheel)
FAKE(void, qbLightCreate, (int id), record(callText("light", id)))
FAKE(void, qbLightSetDirectional, (int id), record(callText("directional", id)))
FAKE(void, qbCameraSetPosition, (float x, float y, float z), record(callText("camera", x, y, z)))
FAKE(void, qbObjectLoad, (const char* name, int id), record(callText("load", name, id)))
FAKE(bool, qbObjectExists, (int), world.loads)
FAKE(float, qbObjectDepth, (int), world.depth)
FAKE(int, qbObjectFrameCount, (int), world.frameCount)
FAKE(void, qbObjectFree, (int), record(callText("free")))
FAKE(void, qbObjectSetRotation, (int, float x, float y, float z), record(callText("turn", x, y, z)))
FAKE(void, qbObjectSetFrame, (int, float frame), record(callText("frame", frame)))

TEST_F(ObjectView, SetsUpLightBackgroundAndDistance) {
    view({});
    EXPECT_EQ(world.calls,
              (Strings{"load thing.x 1", "light 1", "directional 1", "background " + std::to_string(0x113366),
                       "turn 0 0 0", "camera 0 0 -60", "free"}));
    world = World();
    world.depth = 0.0F; // a flat mesh still gets a distance
    view({});
    EXPECT_EQ(world.calls[5], "camera 0 0 -30");
}

TEST_F(ObjectView, AMissingMeshSaysSo) {
    world.loads = false;
    EXPECT_EQ(qbObjectView("thing.x"), -1);
    EXPECT_EQ(world.calls, (Strings{"load thing.x 1"}));
    EXPECT_EQ(Messages::texts(), (Strings{"Failed to load object thing.x\n"}));
}

TEST_F(ObjectView, DraggingTurnsWithTheLeftButtonAlone) {
    const Strings calls = view({mouse(1, 100, 100), mouse(1, 110, 100), mouse(1, 110, 96), mouse(1, 110, 96),
                                mouse(3, 300, 300), mouse(1, 10, 10), mouse(1, 12, 10)});
    // The press samples, both buttons end the drag, and the next press samples again.
    EXPECT_EQ(calls, (Strings{"turn 0 -5 0", "turn 2 -5 0", "turn 2 -6 0"}));
}

TEST_F(ObjectView, KeysTurnAndZoomAFrameAtATimeAndTheWheelZooms) {
    const Strings calls = view({[] { world.left = world.right = true; },
                                [] {
                                    world.left = false;
                                    world.up = world.down = true;
                                },
                                [] { world.right = world.up = false; }, [] { world.down = false; }});
    EXPECT_EQ(calls, (Strings{"turn 0 1 0", "turn 0 0 0", "camera 0 0 -61", "camera 0 0 -60"}));

    // The wheel moves by a twentieth of the depth.
    world = World();
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
    world = World();
    world.active = false;
    EXPECT_EQ(view({[] {}}), (Strings{"sleep 20"})); // in the background
}
