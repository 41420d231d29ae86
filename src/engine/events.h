#pragma once

#include <cstdint>
#include <irrlicht/irrlicht.h>

// Keys and mouse as Irrlicht reports them; key codes are those of Windows virtual keys.
class MyEventReceiver : public irr::IEventReceiver {
public:
    MyEventReceiver() = default;
    // Always false: the event goes on to the GUI and the camera.
    bool OnEvent(const irr::SEvent& event) override;
    // 1 while the key is down, and in the frame in which it went down and up again: a tap shorter than a
    // frame is not lost. 0 for a code outside the table.
    uint8_t IsKeyDown(int keyCode) const;
    // Forgets the taps of the frame before; call it ahead of taking events.
    void BeginFrame();

    uint8_t leftButton = 0, rightButton = 0;
    int32_t mouseX = 0, mouseY = 0; // pixels
    float wheel = 0.0F;             // sum of all turns
    uint8_t keys[255] = {};         // by key code; 16 (shift) holds the shift flag of the last key event
    uint8_t tapped[255] = {};       // by key code: went down in this frame
};

// The program's one receiver, handed to the device when it is created.
MyEventReceiver* qbEventReceiver();
