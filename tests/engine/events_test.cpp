#include "engine/events.h"

#include "engine/fixture.h"

using namespace irr;
using EventsTest = EngineTest;

static void key(int code, bool down, bool shift = false) {
    SEvent event = {};
    event.EventType = EET_KEY_INPUT_EVENT;
    event.KeyInput = {0, static_cast<EKEY_CODE>(code), down, shift, false};
    qbEngineGet()->device->postEventFromUser(event);
}

TEST_F(EventsTest, ReportsKeysByTheirCodes) {
    const std::pair<int, uint8_t (*)()> keys[] = {{13, qbKeyEnter}, {32, qbKeySpace}, {39, qbKeyRight},
                                                  {37, qbKeyLeft},  {40, qbKeyDown},  {38, qbKeyUp}};
    for (const auto& [code, isDown] : keys) {
        EXPECT_EQ(isDown(), 0) << code;
        key(code, true);
        key(code, false);
        EXPECT_EQ(isDown(), 1) << "a tap within one frame is seen in it";
        qbEventReceiver()->BeginFrame();
        EXPECT_EQ(isDown(), 0) << code;
    }
    key('A', true, true);
    EXPECT_EQ(qbKeyShift(), 1);
    key(16, true, false);
    EXPECT_EQ(qbKeyShift(), 0) << "the flag of the event has the last word";
    for (const int code : {254, 255, 256, -1}) {
        if (code > 0) key(code, true);
        EXPECT_EQ(qbEventReceiver()->IsKeyDown(code), code == 254 ? 1 : 0) << code;
    }
}

TEST_F(EventsTest, FollowsTheMouse) {
    const struct {
        u32 states;
        int buttons;
        float turn;
        int wheel; // summed, cut towards zero
    } events[] = {{EMBSM_LEFT, 1, 1.0F, 1},
                  {EMBSM_RIGHT, 2, 0.75F, 1},
                  {EMBSM_LEFT | EMBSM_RIGHT, 3, -3.5F, -1},
                  {EMBSM_MIDDLE, 0, 1e30F, 1000000000}};
    for (const auto& [states, buttons, turn, wheel] : events) {
        SEvent event = {};
        event.EventType = EET_MOUSE_INPUT_EVENT;
        for (const EMOUSE_INPUT_EVENT what : {EMIE_MOUSE_MOVED, EMIE_MOUSE_WHEEL}) {
            event.MouseInput = {12, 34, turn, false, false, states, what};
            qbEngineGet()->device->postEventFromUser(event);
        }
        EXPECT_EQ(qbMouseButtons(), buttons);
        EXPECT_EQ(qbMouseX() * 100 + qbMouseY(), 1234);
        EXPECT_EQ(qbMouseWheel(), wheel);
    }
}
