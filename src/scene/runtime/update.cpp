#include "engine/camera.h"
#include "engine/engine.h"
#include "engine/lights.h"
#include "scene/runtime/fx_emitters.h"
#include "scene/runtime/objects.h"
#include "scene/runtime/slot_table.h"
#include "scene/runtime/slots.h"

#include <algorithm>
#include <array>

// Every value is a function of time, read afresh at each update: nothing is kept from one call to the next,
// and nothing is compared with its old value.

namespace {

struct Vector {
    float x, y, z;
};

// What writes a vector to the node behind an id.
using Setter = void (*)(int id, float x, float y, float z);

} // namespace

template <typename Info>
static Vector itemVector(const Info* info, QbSceneHandle* scene, int i, QbItemParam kind, float time) {
    float value[3] = {};
    info->itemParam(value, scene, i, kind, time);
    return {value[0], value[1], value[2]};
}

// Position, seen from `origin`, then rotation.
template <typename Info>
static void placeItem(const Info* info, QbSceneHandle* scene, int i, int id, float time, Setter setPosition,
                      Setter setRotation, Vector origin = {}) {
    const Vector position = itemVector(info, scene, i, QB_ITEM_POSITION, time);
    setPosition(id, position.x - origin.x, position.y - origin.y, position.z - origin.z);
    const Vector rotation = itemVector(info, scene, i, QB_ITEM_ROTATION_ALT, time);
    setRotation(id, rotation.x, rotation.y, rotation.z);
}

static void updateGlow(QbSceneHandle* scene, float time) {
    const QbProcessingInfo* info = scene->processingInfo;
    qbEngineSetGlow(info->glowEffect(scene), info->glowIntensity(scene, time), info->glowRadius(scene, time));
}

static void updateLens(QbSceneHandle* scene, int camera, float time) {
    float horizontal = 0.0F;
    float vertical = 0.0F;
    scene->cameraInfo->fovAngles(scene, camera, &horizontal, &vertical, time);
    qbCameraSetFov(horizontal);

    int32_t enabled = 0;
    float focalDistance = 0.0F;
    float fStop = 0.0F;
    scene->cameraInfo->depthOfField(scene, camera, &enabled, &focalDistance, &fStop, time);
    qbEngineSetDepthOfField(enabled, focalDistance, fStop);
}

// The camera's position, which the objects of an extra are placed against. A scene without a camera has no
// depth of field, leaves the engine's camera where it is, and counts as seen from its origin.
static Vector updateCamera(const QbSceneSlot* slot, float time) {
    QbSceneHandle* scene = slot->scene;
    const QbCameraInfo* info = scene->cameraInfo;
    const int count = info->count(scene);
    if (count <= 0) {
        // That of the scene before would stay.
        if (!slot->isExtra) qbEngineSetDepthOfField(0, 0.0F, 0.0F);
        return {};
    }
    const int camera = std::clamp(scene->sceneInfo->currentCamera(scene, time), 0, count - 1);
    if (!slot->isExtra) updateLens(scene, camera, time);
    const Vector position = itemVector(info, scene, camera, QB_ITEM_POSITION, time);
    if (slot->isExtra) return position;
    qbCameraSetPosition(position.x, position.y, position.z);
    const Vector rotation = itemVector(info, scene, camera, QB_ITEM_ROTATION_ALT, time);
    qbCameraSetRotation(rotation.x, rotation.y, rotation.z);
    return position;
}

static void updateAmbient(QbSceneHandle* scene, float time) {
    float ambient[3] = {};
    scene->lightInfo->ambient(ambient, scene, time);
    qbEngineSetAmbient(qbSceneColor(ambient));
}

static void updateLight(QbSceneHandle* scene, int i, int id, float time) {
    const QbLightInfo* info = scene->lightInfo;
    placeItem(info, scene, i, id, time, qbLightSetPosition, qbLightSetRotation);
    float color[3] = {};
    info->color(color, scene, i, time);
    qbLightSetColor(id, qbSceneLightColor(color, info->intensity(scene, i, time)));
    if (info->type(scene, i) == QB_SCENE_LIGHT_SPOT) {
        // The edge is the soft rim inside the cone.
        float cone = 0.0F;
        float edge = 0.0F;
        info->coneAngles(scene, i, &cone, &edge, time);
        qbLightSetSpot(id, cone - edge, cone);
    }
    if (info->falloff(scene, i)) qbLightSetRange(id, info->range(scene, i, time));
}

static void updateEmitter(QbSceneHandle* scene, int i, int id, float time) {
    const QbEmitterInfo* info = scene->emitterInfo;
    placeItem(info, scene, i, id, time, qbFxEmitterSetPosition, qbFxEmitterSetRotation);
    float velocity[3] = {};
    info->velocity(velocity, scene, i);
    qbFxEmitterSetVelocity(id, velocity[0], velocity[1], velocity[2]);
    float gravity[3] = {};
    info->gravity(gravity, scene, i);
    qbFxEmitterSetGravity(id, gravity[0], gravity[1], gravity[2]);
    qbFxEmitterSetBirthRate(id, info->birthRate(scene, i, time));
    qbFxEmitterSetLifeTime(id, info->lifeTime(scene, i));
}

// The mesh's own animation starts at the scene's time 0, whatever the scene's first frame.
static void updateFrame(QbSceneHandle* scene, int id, float time) {
    const int count = qbObjectFrameCount(id);
    if (count <= 1) return;
    const float frame = static_cast<float>(scene->sceneInfo->framesPerSecond(scene)) * time / 1000.0F;
    qbObjectSetFrame(id, std::clamp(frame, 0.0F, static_cast<float>(count)));
}

static void updateObject(const QbSceneSlot* slot, int i, Vector camera, int32_t timeMs) {
    static std::array<QbSurfaceValues, NOF_SURFACE_MAX> values;
    QbSceneHandle* scene = slot->scene;
    const QbObjectInfo* info = scene->objectInfo;
    const int id = slot->firstObject + i;
    const auto time = static_cast<float>(timeMs);

    // The extra's own camera stands for the view of the main scene: its objects keep their place against it.
    placeItem(info, scene, i, id, time, qbObjectSetPosition, qbObjectSetRotation,
              slot->isExtra ? camera : Vector{});
    const Vector scale = itemVector(info, scene, i, QB_ITEM_SCALING, time);
    qbObjectSetScale(id, scale.x * 100.0F, scale.y * 100.0F, scale.z * 100.0F);
    updateFrame(scene, id, time);

    info->surfaces(scene, i, values.data(), NOF_SURFACE_MAX, time);
    qbObjectSetSurfaces(id, info->surfaceCount(scene, i), values.data(), timeMs);
}

void qbSceneUpdate(int slot, int32_t timeMs) {
    const QbSceneSlot* record = qbSceneSlotLoaded(slot);
    if (!record) return;
    QbSceneHandle* scene = record->scene;
    const auto time = static_cast<float>(timeMs);

    if (!record->isExtra) updateGlow(scene, time);
    const Vector camera = updateCamera(record, time);
    updateAmbient(scene, time);

    const int lights = record->isExtra ? 0 : scene->lightInfo->count(scene);
    for (int i = 0; i < lights; i++)
        updateLight(scene, i, record->firstLight + i, time);

    const int emitters = scene->emitterInfo->count(scene);
    for (int i = 0; i < emitters; i++)
        updateEmitter(scene, i, record->firstEmitter + i, time);

    const int objects = scene->objectInfo->count(scene);
    for (int i = 0; i < objects; i++) {
        if (!scene->objectInfo->isNull(scene, i)) updateObject(record, i, camera, timeMs);
    }
}
