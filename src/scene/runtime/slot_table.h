#pragma once

#include "scene/format/tables.h"
#include "scene/runtime/slots.h"

#include <cstdint>

// The table behind the scene slots, for the files of this folder.

enum { QB_SCENE_DIRECTORY_SIZE = 256 }; // with the terminator

// All zero while empty. Item i of the scene has the id first + i, whether or not it has a node.
struct QbSceneSlot {
    int32_t loaded;
    int32_t isExtra; // no lights and no camera of its own, objects and emitters hang on the camera
    int32_t firstObject;
    int32_t firstLight;
    int32_t firstEmitter;
    QbSceneHandle* scene; // owned
    char directory[QB_SCENE_DIRECTORY_SIZE];
};

// QbLightInfo's type; any other one is a point light.
enum { QB_SCENE_LIGHT_DISTANT = 0, QB_SCENE_LIGHT_SPOT = 2 };

// The slot when it holds a scene; null for an empty one and for numbers outside the table.
QbSceneSlot* qbSceneSlotLoaded(int slot);

// A colour of fractions as the engine takes it, each channel cut towards zero. Nothing is limited: channels
// wrap at 256, so that 1.0 at intensity 1.5 becomes 382, and that 126.
uint32_t qbSceneColor(const float* rgb);
uint32_t qbSceneLightColor(const float* rgb, float intensity);
