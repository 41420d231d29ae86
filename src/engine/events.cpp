#include "engine/events.h"

#include "engine/engine.h"

#include <algorithm>
#include <iterator>

using namespace irr;

static MyEventReceiver receiver;

MyEventReceiver* qbEventReceiver() {
    return &receiver;
}

static void takeKey(MyEventReceiver& state, const SEvent::SKeyInput& key) {
    const auto code = static_cast<unsigned>(key.Key);
    if (code < std::size(state.keys)) {
        state.keys[code] = key.PressedDown ? 1 : 0;
        if (key.PressedDown) state.tapped[code] = 1;
    }
    state.keys[KEY_SHIFT] = key.Shift ? 1 : 0;
}

static void takeMouse(MyEventReceiver& state, const SEvent::SMouseInput& mouse) {
    if (mouse.Event == EMIE_MOUSE_WHEEL) state.wheel += mouse.Wheel;
    state.mouseX = mouse.X;
    state.mouseY = mouse.Y;
    state.leftButton = mouse.isLeftPressed() ? 1 : 0;
    state.rightButton = mouse.isRightPressed() ? 1 : 0;
}

bool MyEventReceiver::OnEvent(const SEvent& event) {
    if (event.EventType == EET_KEY_INPUT_EVENT) takeKey(*this, event.KeyInput);
    if (event.EventType == EET_MOUSE_INPUT_EVENT) takeMouse(*this, event.MouseInput);
    return false;
}

uint8_t MyEventReceiver::IsKeyDown(int keyCode) const {
    if (keyCode < 0 || keyCode >= static_cast<int>(std::size(keys))) return 0;
    // The shift entry follows the modifier, not the key.
    if (keyCode == KEY_SHIFT) return keys[keyCode];
    return keys[keyCode] | tapped[keyCode];
}

void MyEventReceiver::BeginFrame() {
    std::fill(std::begin(tapped), std::end(tapped), uint8_t{0});
}

// --- the facade's view ----------------------------------------------------------------------------------

uint8_t qbKeyEnter() {
    return receiver.IsKeyDown(KEY_RETURN);
}
uint8_t qbKeySpace() {
    return receiver.IsKeyDown(KEY_SPACE);
}
uint8_t qbKeyShift() {
    return receiver.IsKeyDown(KEY_SHIFT);
}
uint8_t qbKeyRight() {
    return receiver.IsKeyDown(KEY_RIGHT);
}
uint8_t qbKeyLeft() {
    return receiver.IsKeyDown(KEY_LEFT);
}
uint8_t qbKeyDown() {
    return receiver.IsKeyDown(KEY_DOWN);
}
uint8_t qbKeyUp() {
    return receiver.IsKeyDown(KEY_UP);
}

int qbMouseButtons() {
    return (receiver.leftButton ? 1 : 0) + (receiver.rightButton ? 2 : 0);
}
int qbMouseX() {
    return receiver.mouseX;
}
int qbMouseY() {
    return receiver.mouseY;
}
int qbMouseWheel() {
    return static_cast<int>(std::clamp(receiver.wheel, -1e9F, 1e9F));
}
