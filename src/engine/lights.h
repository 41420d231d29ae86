#pragma once

#include <cstdint>

// Lights by id (0 to 999), and the chain of visible ones in the order in which they became visible.
// On an empty id an operation does nothing.

namespace irr {
namespace scene {
class ILightSceneNode;
}
namespace video {
struct SLight;
}
} // namespace irr

struct QbLightRec {
    irr::scene::ILightSceneNode* node;
    uint8_t listed; // 1 while in the chain of visible lights
    QbLightRec* prev;
    QbLightRec* next;
};

void qbLightCreate(int id); // a visible point light, white, radius 100
void qbLightFree(int id);
void qbLightShow(int id);
void qbLightHide(int id);
void qbLightSetDirectional(int id);                    // shines along the node's rotation
void qbLightSetSpot(int id, float inner, float outer); // degrees; radius 10000000
void qbLightSetPoint(int id);                          // radius 10000000
void qbLightSetRange(int id, float range);             // radius, world units
void qbLightSetColor(int id, uint32_t color);          // 0xRRGGBB
void qbLightSetPosition(int id, float x, float y, float z);
void qbLightSetRotation(int id, float x, float y, float z); // degrees

// The n-th visible light from 0; null past the end.
irr::scene::ILightSceneNode* qbVisibleLightNode(int n);
irr::video::SLight* qbVisibleLightData(int n);

// The frame's one ambient term, carried by the first visible light; without one it does nothing.
void qbEngineSetAmbient(uint32_t color); // 0xRRGGBB

// 0xFF000000 | r << 16 | g << 8 | b with each value cut to its low 8 bits: 306 wraps to 50.
uint32_t qbColorPack(int r, int g, int b);
