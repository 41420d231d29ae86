#include "scene/runtime/slots.h"

#include "engine/camera.h"
#include "engine/lights.h"
#include "platform/memory.h"
#include "platform/message.h"
#include "platform/span.h"
#include "platform/text.h"
#include "scene/runtime/fx_emitters.h"
#include "scene/runtime/objects.h"
#include "scene/runtime/slot_table.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>

enum { MESH_NAME_SIZE = 256 };

// Where a hidden extra's objects wait, far behind everything.
static const float PARKED_Z = -1000000.0F;
// Largest deviation of particles for an explosion of 1, degrees.
static const float EXPLOSION_ANGLE = 45.0F;

static std::array<QbSceneSlot, QB_SCENE_SLOTS> slots;
static bool qbSceneLoadMessages = false;

// --- helpers --------------------------------------------------------------------------------------------

static bool sameWithoutCase(const char* a, const char* b) {
    return a && b && qbSameText(a, b);
}

// Cuts what does not fit.
template <size_t Size>
static void copyText(char (&to)[Size], const char* from) {
    const size_t length = from ? std::min(strlen(from), Size - 1) : 0;
    if (length > 0) memcpy(to, from, length);
    to[length] = '\0';
}

// The low 32 bits of the value cut towards zero; 0 for what no integer holds.
static int cutToInt(long double value) {
    const long double limit = 9.0e18L;
    if (!(value > -limit && value < limit)) return 0;
    return static_cast<int>(static_cast<uint32_t>(static_cast<int64_t>(value)));
}

uint32_t qbSceneColor(const float* rgb) {
    return qbSceneLightColor(rgb, 1.0F);
}

uint32_t qbSceneLightColor(const float* rgb, float intensity) {
    // Wide enough to hold the products exactly: a rounded one could cross the next integer.
    const auto channel = [intensity](float value) {
        return cutToInt(static_cast<long double>(value) * static_cast<long double>(intensity) * 255.0L);
    };
    return qbColorPack(channel(rgb[0]), channel(rgb[1]), channel(rgb[2]));
}

QbSceneSlot* qbSceneSlotLoaded(int slot) {
    if (slot < 0 || slot >= QB_SCENE_SLOTS) return nullptr;
    QbSceneSlot* found = &slots[static_cast<size_t>(slot)];
    return found->loaded ? found : nullptr;
}

template <typename Action>
static void forEachObject(const QbSceneSlot* slot, Action action) {
    const QbObjectInfo* info = slot->scene->objectInfo;
    const int count = info->count(slot->scene);
    for (int i = 0; i < count; i++) {
        if (!info->isNull(slot->scene, i)) action(slot->firstObject + i);
    }
}

// Lights of an extra do not exist.
template <typename Action>
static void forEachLight(const QbSceneSlot* slot, Action action) {
    const int count = slot->isExtra ? 0 : slot->scene->lightInfo->count(slot->scene);
    for (int i = 0; i < count; i++)
        action(slot->firstLight + i);
}

template <typename Action>
static void forEachEmitter(const QbSceneSlot* slot, Action action) {
    const int count = slot->scene->emitterInfo->count(slot->scene);
    for (int i = 0; i < count; i++)
        action(slot->firstEmitter + i);
}

// --- searching ------------------------------------------------------------------------------------------

// By one of the names that an object has.
static int findObject(const QbSceneSlot* slot, const char* (*nameOf)(QbSceneHandle*, int32_t),
                      const char* name) {
    const int count = slot->scene->objectInfo->count(slot->scene);
    for (int i = 0; i < count; i++) {
        const int id = slot->firstObject + i;
        if (qbObjectExists(id) && sameWithoutCase(nameOf(slot->scene, i), name)) return id;
    }
    return -1;
}

int qbSceneFindObjectByMesh(const char* directory, const char* meshFile) {
    for (const QbSceneSlot& slot : slots) {
        if (!slot.loaded || !sameWithoutCase(slot.directory, directory)) continue;
        const int id = findObject(&slot, slot.scene->objectInfo->meshFileName, meshFile);
        if (id != -1) return id;
    }
    return -1;
}

int qbSceneFindObjectByName(int slot, const char* name) {
    const QbSceneSlot* found = qbSceneSlotLoaded(slot);
    return found ? findObject(found, found->scene->objectInfo->name, name) : -1;
}

// --- loading --------------------------------------------------------------------------------------------

void qbSceneSetReportLoadErrors(int report) {
    qbSceneLoadMessages = report != 0;
}

static void createObject(const QbSceneSlot* slot, const char* name, int id, int reuseObjects) {
    const int found = qbSceneFindObjectByMesh(slot->directory, name);
    if (found == -1) {
        qbObjectLoad(name, id);
    } else if (reuseObjects) {
        qbObjectCopy(id, found);
    } else {
        qbObjectCopyUnshared(id, found);
    }
    if (!qbObjectExists(id) && qbSceneLoadMessages)
        qbMessage("The object id=%d '%s' cannot be loaded", id, name);
}

static void setFirstSurfaces(QbSceneHandle* scene, int i, const char* name, int id) {
    static std::array<QbSurfaceValues, NOF_SURFACE_MAX> values;
    const int count = scene->objectInfo->surfaceCount(scene, i);
    if (count > NOF_SURFACE_MAX) {
        qbMessage("The object id=%d '%s' numSurfaces=%d > NOF_SURFACE_MAX=%d. Will result in corruption", id,
                  name, count, NOF_SURFACE_MAX);
    }
    scene->objectInfo->surfaces(scene, i, values.data(), NOF_SURFACE_MAX, 0.0F);
    qbObjectSetSurfaces(id, count, values.data(), 0);
}

static void setOpacity(QbSceneHandle* scene, int i, int id) {
    if (scene->objectInfo->translucency(scene, i) != 0.0F) {
        qbObjectSetTranslucent(id);
        return;
    }
    const float transparency = scene->objectInfo->transparency(scene, i);
    if (transparency != 0.0F) qbObjectSetTransparent(id, 100.0F - transparency * 100.0F);
}

static int fillObject(const QbSceneSlot* slot, int i, const char* name, int reuseObjects) {
    QbSceneHandle* scene = slot->scene;
    const QbObjectInfo* info = scene->objectInfo;
    const int id = slot->firstObject + i;
    createObject(slot, name, id, reuseObjects);
    const bool anyShadows = (scene->sceneInfo->renderOpts(scene) & 1U) != 0;
    if (anyShadows && (info->shadowOpts(scene, i) & 2) != 0) qbObjectReceiveShadows(id);
    setFirstSurfaces(scene, i, name, id);
    if (slot->isExtra) qbObjectAttachToHolder(id);
    qbObjectSurfacesSet(id);
    setOpacity(scene, i, id);
    return 0;
}

static void loadObject(const QbSceneSlot* slot, int i, int reuseObjects) {
    static char name[MESH_NAME_SIZE];
    const QbObjectInfo* info = slot->scene->objectInfo;
    if (info->isNull(slot->scene, i)) return;
    // The next name asked for overwrites the scene's buffer.
    copyText(name, info->meshFileName(slot->scene, i));
    qbUnlessOutOfMemory(name, -1, [=] { return fillObject(slot, i, name, reuseObjects); });
}

static void loadLight(QbSceneHandle* scene, int i, int id) {
    const QbLightInfo* info = scene->lightInfo;
    qbLightCreate(id);
    switch (info->type(scene, i)) {
    case QB_SCENE_LIGHT_DISTANT:
        qbLightSetDirectional(id);
        break;
    case QB_SCENE_LIGHT_SPOT: {
        float cone = 0.0F;
        float edge = 0.0F;
        info->coneAngles(scene, i, &cone, &edge, 0.0F);
        qbLightSetSpot(id, cone, edge);
        break;
    }
    default:
        qbLightSetPoint(id);
        break;
    }
    if (info->falloff(scene, i)) qbLightSetRange(id, info->range(scene, i, 0.0F));
    float color[3] = {};
    info->color(color, scene, i, 0.0F);
    qbLightSetColor(id, qbSceneLightColor(color, info->intensity(scene, i, 0.0F)));
}

static void createEmitterFromMesh(QbSceneHandle* scene, int slot, int i, int id, const char* image) {
    const QbEmitterInfo* info = scene->emitterInfo;
    const int found = qbSceneFindObjectByName(slot, info->name(scene, i));
    if (found == -1) {
        qbMessage("fxemitter mesh id=%d image file='%s' cannot find object ", id, image);
        return;
    }
    qbFxEmitterCreateFromMesh(id, found, image, info->hyperVoxelParticleSize(scene, i));
}

static void createEmitter(QbSceneHandle* scene, int slot, int i, int id) {
    const QbEmitterInfo* info = scene->emitterInfo;
    const char* image = info->hyperVoxelImage(scene, i);
    if (!image) {
        if (qbSceneLoadMessages) qbMessage("fxemitter id=%d : image file='%s' not set", id, "(null)");
        return;
    }
    float size[3] = {};
    info->generatorSize(size, scene, i);
    if (size[0] == 0.0F && size[1] == 0.0F && size[2] == 0.0F) {
        createEmitterFromMesh(scene, slot, i, id, image);
    } else {
        qbFxEmitterCreateBox(id, image, info->hyperVoxelParticleSize(scene, i), info->lifeTime(scene, i),
                             info->explosion(scene, i) * EXPLOSION_ANGLE, size[0], size[1], size[2]);
    }
    if (!qbFxEmitterExists(id) && qbSceneLoadMessages)
        qbMessage("The fxemitter id=%d image file='%s' cannot be loaded", id, image);
    qbFxEmitterSetLimit(id, info->particleLimit(scene, i));
}

static void loadEmitters(const QbSceneSlot* slot, int number) {
    const int count = slot->scene->emitterInfo->count(slot->scene);
    for (int i = 0; i < count; i++) {
        const int id = slot->firstEmitter + i;
        createEmitter(slot->scene, number, i, id);
        if (slot->isExtra) qbFxEmitterAttachToHolder(id);
    }
}

static QbSceneHandle* openScene(const char* filename) {
    const QbSpan span("scene files");
    return qbSceneOpen(filename);
}

static int loadScene(const char* filename, QbSceneSlot* record, int slot, int firstObject, int firstLight,
                     int firstEmitter, int reuseObjects, const char* directory) {
    record->scene = openScene(filename);
    if (!record->scene) return -1;

    // From here on the slot is searched for meshes: later objects share those of earlier ones.
    copyText(record->directory, directory);
    record->loaded = 1;
    record->firstObject = firstObject;
    record->firstLight = firstLight;
    record->firstEmitter = firstEmitter;
    const int objects = record->scene->objectInfo->count(record->scene);
    for (int i = 0; i < objects; i++)
        loadObject(record, i, reuseObjects);

    const int lights = record->isExtra ? 0 : record->scene->lightInfo->count(record->scene);
    for (int i = 0; i < lights; i++)
        loadLight(record->scene, i, firstLight + i);

    loadEmitters(record, slot);

    qbSceneStop(slot);
    qbSceneUpdate(slot, 0);
    return 0;
}

int qbSceneLoad(const char* filename, int slot, int firstObject, int firstLight, int firstEmitter,
                int reuseObjects, const char* directory, int isExtra) {
    if (slot < 0 || slot >= QB_SCENE_SLOTS) return -1;
    qbSceneFree(slot);
    QbSceneSlot* record = &slots[static_cast<size_t>(slot)];
    record->isExtra = isExtra;
    const int result = qbUnlessOutOfMemory(filename, -1, [=] {
        return loadScene(filename, record, slot, firstObject, firstLight, firstEmitter, reuseObjects,
                         directory);
    });
    if (result != 0) qbSceneFree(slot);
    return result;
}

void qbSceneFree(int slot) {
    QbSceneSlot* record = qbSceneSlotLoaded(slot);
    if (!record) return;
    forEachObject(record, qbObjectFree);
    forEachLight(record, qbLightFree);
    forEachEmitter(record, qbFxEmitterFree);
    qbSceneClose(record->scene);
    record->loaded = 0;
    record->scene = nullptr;
}

// --- showing --------------------------------------------------------------------------------------------

void qbSceneStart(int slot) {
    const QbSceneSlot* record = qbSceneSlotLoaded(slot);
    if (!record) return;
    forEachObject(record, qbObjectShow);
    forEachLight(record, qbLightShow);
    forEachEmitter(record, qbFxEmitterShow);
    if (record->isExtra) return;
    float zenith[3] = {};
    record->scene->backdropInfo->zenithColor(zenith, record->scene);
    qbSetBackground(qbSceneColor(zenith));
}

void qbSceneStop(int slot) {
    const QbSceneSlot* record = qbSceneSlotLoaded(slot);
    if (!record) return;
    forEachObject(record, qbObjectHide);
    forEachLight(record, qbLightHide);
    forEachEmitter(record, qbFxEmitterHide);
}

void qbSceneHide(int slot) {
    const QbSceneSlot* record = qbSceneSlotLoaded(slot);
    if (!record) return;
    forEachObject(record, [](int id) { qbObjectSetPosition(id, 0.0F, 0.0F, PARKED_Z); });
    forEachEmitter(record, qbFxEmitterHide);
}

void qbSceneShow(int slot) {
    // The objects come back with the next update, which sets their positions.
    const QbSceneSlot* record = qbSceneSlotLoaded(slot);
    if (record) forEachEmitter(record, qbFxEmitterShow);
}

// --- asking ---------------------------------------------------------------------------------------------

int qbSceneObjectCount(int slot) {
    const QbSceneSlot* record = qbSceneSlotLoaded(slot);
    return record ? record->scene->objectInfo->count(record->scene) : -1;
}

int qbSceneLightCount(int slot) {
    const QbSceneSlot* record = qbSceneSlotLoaded(slot);
    return record ? record->scene->lightInfo->count(record->scene) : -1;
}

int qbSceneFxEmitterCount(int slot) {
    const QbSceneSlot* record = qbSceneSlotLoaded(slot);
    return record ? record->scene->emitterInfo->count(record->scene) : -1;
}

int qbSceneDurationMs(int slot) {
    const QbSceneSlot* record = qbSceneSlotLoaded(slot);
    if (!record) return 0;
    const QbSceneInfo* info = record->scene->sceneInfo;
    const int64_t fps = info->framesPerSecond(record->scene);
    if (fps == 0) return 0;
    const int64_t frames = int64_t{info->lastFrame(record->scene)} - info->firstFrame(record->scene);
    return static_cast<int>(std::clamp<int64_t>(frames * 1000 / fps, INT_MIN, INT_MAX));
}

int qbSceneFramesPerSecond(int slot) {
    const QbSceneSlot* record = qbSceneSlotLoaded(slot);
    return record ? record->scene->sceneInfo->framesPerSecond(record->scene) : 0;
}

int qbSceneFirstFrame(int slot) {
    const QbSceneSlot* record = qbSceneSlotLoaded(slot);
    return record ? record->scene->sceneInfo->firstFrame(record->scene) : 0;
}

int qbSceneSaveBinary(int slot, const char* path) {
    const QbSceneSlot* record = qbSceneSlotLoaded(slot);
    return record ? qbSceneSave(record->scene, path) : -1;
}
