#include "engine/events.h"

#include "engine/engine.h"
#include "engine/fixture.h"

using namespace irr;

namespace {
class EventsTest : public EngineTest {
protected:
    static void key(int code, bool down, bool shift = false) {
        SEvent event = {};
        event.EventType = EET_KEY_INPUT_EVENT;
        event.KeyInput.Key = static_cast<EKEY_CODE>(code);
        event.KeyInput.PressedDown = down;
        event.KeyInput.Shift = shift;
        qbEngineGet()->device->postEventFromUser(event);
    }
    static void mouse(EMOUSE_INPUT_EVENT what, u32 buttons, float wheel = 0.0F) {
        SEvent event = {};
        event.EventType = EET_MOUSE_INPUT_EVENT;
        event.MouseInput.Event = what;
        event.MouseInput.X = 12;
        event.MouseInput.Y = 34;
        event.MouseInput.ButtonStates = buttons;
        event.MouseInput.Wheel = wheel;
        qbEngineGet()->device->postEventFromUser(event);
    }
};
} // namespace

TEST_F(EventsTest, ReportsKeysByTheirCodes) {
    const struct {
        int code;
        uint8_t (*isDown)();
    } keys[] = {{13, qbKeyEnter}, {32, qbKeySpace}, {39, qbKeyRight},
                {37, qbKeyLeft},  {40, qbKeyDown},  {38, qbKeyUp}};
    for (const auto& entry : keys) {
        key(entry.code, true);
        for (const auto& other : keys)
            EXPECT_EQ(other.isDown(), other.code == entry.code ? 1 : 0) << entry.code << ' ' << other.code;
        key(entry.code, false);
        EXPECT_EQ(entry.isDown(), 1) << "a tap within one frame is seen in it";
        qbEventReceiver()->BeginFrame();
        EXPECT_EQ(entry.isDown(), 0) << entry.code;
    }
    key('A', true, true);
    EXPECT_EQ(qbKeyShift(), 1);
    key('A', false, false);
    EXPECT_EQ(qbKeyShift(), 0);
    key(16, true, false);
    EXPECT_EQ(qbKeyShift(), 0) << "the flag of the event has the last word";
}

TEST_F(EventsTest, IgnoresCodesOutsideTheTable) {
    for (const int code : {254, 255})
        key(code, true);
    EXPECT_EQ(qbEventReceiver()->IsKeyDown(254), 1);
    for (const int code : {255, 256, -1})
        EXPECT_EQ(qbEventReceiver()->IsKeyDown(code), 0) << code;
}

TEST_F(EventsTest, FollowsTheMouse) {
    const struct {
        u32 states;
        int buttons;
    } table[] = {{EMBSM_LEFT, 1}, {EMBSM_RIGHT, 2}, {EMBSM_LEFT | EMBSM_RIGHT, 3}, {EMBSM_MIDDLE, 0}};
    for (const auto& entry : table) {
        mouse(EMIE_MOUSE_MOVED, entry.states, 5.0F);
        EXPECT_EQ(qbMouseButtons(), entry.buttons);
    }
    EXPECT_EQ(qbMouseX(), 12);
    EXPECT_EQ(qbMouseY(), 34);
    const std::pair<float, int> turns[] = {{1.0F, 1}, {0.75F, 1}, {-3.5F, -1}, {1e30F, 1000000000}};
    for (const auto& [turn, sum] : turns) {
        mouse(EMIE_MOUSE_WHEEL, 0, turn);
        EXPECT_EQ(qbMouseWheel(), sum) << "the wheel is not summed, or not cut towards zero";
    }
}
