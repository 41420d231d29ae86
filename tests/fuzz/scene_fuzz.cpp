#include "fuzz/fuzz.h"
#include "fuzz/scene_tree.h"
#include "scene/format/channel.h"
#include "scene/format/container.h"
#include "scene/format/dump.h"
#include "scene/format/scene.h"

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <vector>

// Any file is a scene: dumped in one of two forms, opened, and everything in it asked for at times inside and
// around its range.

namespace {

enum { SURFACES_AT_ONCE = 65, ITEMS_ASKED = 12, CHANNELS_CHECKED = 100 };

float vector[3];

} // namespace

static void askItem(float* (*itemParam)(float*, QbSceneHandle*, int32_t, int32_t, float), QbSceneHandle* h,
                    int32_t i, float time) {
    for (const int32_t kind :
         {-1, +QB_ITEM_ROTATION, +QB_ITEM_SCALING, +QB_ITEM_POSITION, +QB_ITEM_ROTATION_ALT})
        qbFuzzExpect(itemParam(vector, h, i, kind, time) == vector);
}

static void askScene(QbSceneHandle* h, float time) {
    const int32_t camera = h->sceneInfo->currentCamera(h, time);
    qbFuzzExpect(camera >= 0 && camera < std::max(h->cameraInfo->count(h), 1));
    h->sceneInfo->firstFrame(h), h->sceneInfo->lastFrame(h), h->sceneInfo->framesPerSecond(h),
        h->sceneInfo->renderOpts(h);
    const QbBackdropInfo& backdrop = *h->backdropInfo;
    for (auto* color : {backdrop.zenithColor, backdrop.zenithColor2, backdrop.skyColor, backdrop.groundColor,
                        backdrop.nadirColor})
        color(vector, h);
    const QbProcessingInfo& processing = *h->processingInfo;
    processing.limitDynamicRange(h), processing.ditherIntensity(h), processing.animatedDither(h),
        processing.glowEffect(h);
    processing.colorSaturation(h, time), processing.glowIntensity(h, time), processing.glowRadius(h, time);
}

// Reads every byte of a text, which may be none.
static size_t lengthOf(const char* text) {
    return text ? strlen(text) : 0;
}

static void askSurfaces(QbSceneHandle* h, int32_t object, float time) {
    static QbSurfaceValues values[SURFACES_AT_ONCE];
    const int32_t count = h->objectInfo->surfaceCount(h, object);
    h->objectInfo->surfaces(h, object, values, SURFACES_AT_ONCE, time);
    for (int32_t i = 0; i < std::min<int32_t>(count, SURFACES_AT_ONCE); ++i) {
        lengthOf(values[i].name);
        for (const QbSurfaceParamValue& param : values[i].params) {
            qbFuzzExpect(param.kind <= 2);
            lengthOf(param.textureImage);
        }
        if (!values[i].hasShader) continue;
        const QbShaderValues& shader = values[i].shader;
        qbFuzzExpect(shader.paramCount >= 0 && shader.paramCount <= QB_SHADER_VALUE_PARAMS_MAX);
        lengthOf(shader.shaderName), lengthOf(shader.vertexFunction), lengthOf(shader.pixelFunction);
        for (int32_t p = 0; p < shader.paramCount; ++p)
            lengthOf(shader.paramNames[p]);
    }
}

static void askObjects(QbSceneHandle* h, float time) {
    const QbObjectInfo& info = *h->objectInfo;
    for (int32_t i = -1; i <= std::min<int32_t>(info.count(h), ITEMS_ASKED); ++i) {
        lengthOf(info.name(h, i)), lengthOf(info.fileName(h, i));
        qbFuzzExpect(lengthOf(info.meshFileName(h, i)) < 256);
        info.isNull(h, i), info.shadowOpts(h, i), info.flags(h, i), info.alwaysOne(h, i);
        info.transparency(h, i), info.translucency(h, i);
        askItem(info.itemParam, h, i, time);
        askSurfaces(h, i, time);
    }
}

static void askLights(QbSceneHandle* h, float time) {
    const QbLightInfo& info = *h->lightInfo;
    info.ambient(vector, h, time);
    for (int32_t i = -1; i <= std::min<int32_t>(info.count(h), ITEMS_ASKED); ++i) {
        float cone, edge;
        lengthOf(info.name(h, i));
        info.type(h, i), info.shadowType(h, i), info.flags(h, i), info.falloff(h, i);
        info.coneAngles(h, i, &cone, &edge, time);
        info.range(h, i, time), info.color(vector, h, i, time), info.intensity(h, i, time),
            info.shadowColor(vector, h, i);
        askItem(info.itemParam, h, i, time);
    }
}

static void askCameras(QbSceneHandle* h, float time) {
    const QbCameraInfo& info = *h->cameraInfo;
    for (int32_t i = -1; i <= std::min<int32_t>(info.count(h), ITEMS_ASKED); ++i) {
        float a, b;
        int32_t enabled;
        lengthOf(info.name(h, i));
        info.fovAngles(h, i, &a, &b, time);
        info.depthOfField(h, i, &enabled, &a, &b, time);
        askItem(info.itemParam, h, i, time);
    }
}

static void askEmitters(QbSceneHandle* h, float time) {
    const QbEmitterInfo& info = *h->emitterInfo;
    for (int32_t i = -1; i <= std::min<int32_t>(info.count(h), ITEMS_ASKED); ++i) {
        lengthOf(info.name(h, i)), lengthOf(info.hyperVoxelImage(h, i));
        info.hyperVoxelParticleSize(h, i), info.generatorSize(vector, h, i), info.velocity(vector, h, i);
        info.gravity(vector, h, i), info.birthRate(h, i, time), info.lifeTime(h, i), info.explosion(h, i);
        info.particleLimit(h, i);
        askItem(info.itemParam, h, i, time);
    }
}

// The remembered place of a channel must not change what its samples are.
static void checkChannel(const QbScene* scene, uint32_t vals) {
    QbChannelRef channel = {};
    channel.vals = vals;
    for (const int32_t index :
         {0, 1, 2, 3, 7, 8, 9, 20, 11, 5, 6, 0, 70, 71, 1000, 4, INT32_MAX, INT32_MIN, -1, 1}) {
        const float direct = dumpquab_ext_vals_get_value(scene->file, vals, index);
        const float remembered = vals ? qbChannelSample(scene, &channel, index) : 0.0f;
        qbFuzzExpect(std::bit_cast<uint32_t>(direct) == std::bit_cast<uint32_t>(remembered));
    }
}

static void checkChannels(const QbScene* scene, const QbChannelGroup* groups, int32_t count, int& left) {
    for (int32_t i = 0; i < count; ++i) {
        lengthOf(groups[i].name);
        for (int32_t c = 0; c < groups[i].channelCount && left > 0; ++c, --left) {
            lengthOf(groups[i].channels[c].name);
            if (groups[i].channels[c].vals) checkChannel(scene, groups[i].channels[c].vals);
        }
        checkChannels(scene, groups[i].groups, groups[i].groupCount, left);
    }
}

static void dump(const uint8_t* data, size_t size, int mode) {
    std::vector<uint8_t> bytes(data, data + size);
    QbFile* file = qbFileOpenMemory(bytes.data(), static_cast<int32_t>(size));
    qbIffMode = mode;
    qbIffReadFile(file);
    qbIffMode = QB_DUMP_SILENT;
    qbFileClose(file);
}

int LLVMFuzzerInitialize(int*, char***) {
    qbIffSetFatalHandler([](int) {});
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    dump(data, size, size % 2 == 0 ? QB_DUMP_LABELS : QB_DUMP_RAW);
    QbSceneHandle* h = qbSceneOpen(qbFuzzFile("scene.quab", data, size));
    if (!h) return 0;
    for (const float time : {0.0f, 333.3f, 20.0f, -FLT_MAX, FLT_MAX, HUGE_VALF}) {
        askScene(h, time);
        askObjects(h, time);
        askLights(h, time);
        askCameras(h, time);
        askEmitters(h, time);
    }
    int channels = CHANNELS_CHECKED;
    checkChannels(h->impl, h->impl->groups, h->impl->groupCount, channels);
    qbSceneClose(h);
    return 0;
}

size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t most, unsigned seed) {
    return mutateSceneTree(data, size, most, seed);
}
