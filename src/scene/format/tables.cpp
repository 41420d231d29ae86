#include "scene/format/tables.h"

#include "platform/memory.h"
#include "platform/text.h"
#include "scene/format/channel.h"
#include "scene/format/scene.h"
#include "scene/format/transform.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>

static_assert(static_cast<int>(QB_SURFACE_VALUE_COUNT) == static_cast<int>(QB_SURFACE_PARAM_COUNT));

namespace {

constexpr double DEGREES = 57.29577951308232;

enum { FORMAT_NONE = -1, FORMAT_TEXT = 0, FORMAT_QUAB = 1 };

// An index outside the scene answers as a record of zeros does.
template <class Record>
const Record& recordAt(const Record* records, int32_t count, int32_t i) {
    static const Record none{};
    return i >= 0 && i < count ? records[i] : none;
}

const QbObject& objectAt(QbSceneHandle* h, int32_t i) {
    return recordAt(h->impl->objects, h->impl->objectCount, i);
}

const QbLight& lightAt(QbSceneHandle* h, int32_t i) {
    return recordAt(h->impl->lights, h->impl->lightCount, i);
}

const QbCamera& cameraAt(QbSceneHandle* h, int32_t i) {
    return recordAt(h->impl->cameras, h->impl->cameraCount, i);
}

const QbEmitter& emitterAt(QbSceneHandle* h, int32_t i) {
    return recordAt(h->impl->emitters, h->impl->emitterCount, i);
}

float* copyVector(float* out, const float* vector) {
    return std::copy_n(vector, 3, out), out;
}

float* zeroVector(float* out) {
    return std::fill_n(out, 3, 0.0f), out;
}

float toDegrees(float radians) {
    return static_cast<float>(radians * DEGREES);
}

float limitToOne(float value) {
    if (!(value > 0.0f)) return 0.0f; // NaN as well
    return std::min(value, 1.0f);
}

float valueOr(QbSceneHandle* h, const QbChannelRef& channel, float constant, float time) {
    return channel.vals ? qbChannelValue(h->impl, &channel, time) : constant;
}

// A bound colour is limited, a constant one is passed on as it was written.
float* colorOr(float* out, QbSceneHandle* h, const QbChannelRef* channels, const float* constant,
               float time) {
    if (!channels[0].vals) return copyVector(out, constant);
    qbChannelVector(out, h->impl, channels, time);
    std::transform(out, out + 3, out, limitToOne);
    return out;
}

float* motionParam(float* out, QbSceneHandle* h, const QbMotionChannels& motion, int32_t kind, float time) {
    switch (kind) {
    case QB_ITEM_ROTATION:
        qbItemRotationHpb(out, h->impl, motion.channels + QB_MOTION_ROTATION, time);
        return out;
    case QB_ITEM_ROTATION_ALT:
        qbItemRotationEngine(out, h->impl, motion.channels + QB_MOTION_ROTATION, time);
        return out;
    case QB_ITEM_POSITION:
        return qbChannelVector(out, h->impl, motion.channels + QB_MOTION_POSITION, time);
    case QB_ITEM_SCALING:
        return qbChannelVector(out, h->impl, motion.channels + QB_MOTION_SCALE, time);
    default:
        return zeroVector(out);
    }
}

// --- scene, backdrop, processing

int32_t firstFrame(QbSceneHandle* h) {
    return h->impl->globals->frameStart;
}

int32_t lastFrame(QbSceneHandle* h) {
    return h->impl->globals->frameEnd;
}

int32_t framesPerSecond(QbSceneHandle* h) {
    return qbTruncate(h->impl->globals->framesPerSecond);
}

uint32_t renderOpts(QbSceneHandle* h) {
    return h->impl->globals->renderOpts;
}

int32_t currentCamera(QbSceneHandle* h, float time) {
    const QbSceneGlobals& globals = *h->impl->globals;
    const QbChannelRef& channel =
        globals.cameraSelector.vals ? globals.cameraSelector : globals.renderChannel;
    const int32_t camera = qbTruncate(valueOr(h, channel, 0.0f, time));
    return std::max(std::min(camera, h->impl->cameraCount - 1), 0);
}

float* zenithColor(float* out, QbSceneHandle* h) {
    return copyVector(out, h->impl->backdrop->zenith);
}

float* skyColor(float* out, QbSceneHandle* h) {
    return copyVector(out, h->impl->backdrop->sky);
}

float* groundColor(float* out, QbSceneHandle* h) {
    return copyVector(out, h->impl->backdrop->ground);
}

float* nadirColor(float* out, QbSceneHandle* h) {
    return copyVector(out, h->impl->backdrop->nadir);
}

int32_t limitDynamicRange(QbSceneHandle* h) {
    return h->impl->processing->limitDynamicRange;
}

int32_t ditherIntensity(QbSceneHandle* h) {
    return h->impl->processing->ditherIntensity;
}

int32_t animatedDither(QbSceneHandle* h) {
    return h->impl->processing->animatedDither;
}

float colorSaturation(QbSceneHandle* h, float time) {
    const QbProcessing& processing = *h->impl->processing;
    return valueOr(h, processing.colorSaturationChannel, processing.colorSaturation, time);
}

int32_t glowEffect(QbSceneHandle* h) {
    return h->impl->processing->glowEffect;
}

float glowIntensity(QbSceneHandle* h, float time) {
    const QbProcessing& processing = *h->impl->processing;
    return valueOr(h, processing.glowIntensityChannel, processing.glowIntensity, time);
}

float glowRadius(QbSceneHandle* h, float time) {
    const QbProcessing& processing = *h->impl->processing;
    return valueOr(h, processing.glowRadiusChannel, processing.glowRadius, time);
}

// --- objects and their surfaces

int32_t objectCount(QbSceneHandle* h) {
    return h->impl->objectCount;
}

const char* objectName(QbSceneHandle* h, int32_t i) {
    return objectAt(h, i).name;
}

const char* objectFileName(QbSceneHandle* h, int32_t i) {
    return objectAt(h, i).fileName;
}

const char* objectMeshFileName(QbSceneHandle* h, int32_t i) {
    return qbSceneMeshFileName(&objectAt(h, i));
}

int32_t objectIsNull(QbSceneHandle* h, int32_t i) {
    const QbObject& object = objectAt(h, i);
    return object.numPoints == 0 || object.numPolygons == 0;
}

int32_t objectShadowOpts(QbSceneHandle* h, int32_t i) {
    return objectAt(h, i).shadowOpts;
}

int32_t objectFlags(QbSceneHandle* h, int32_t i) {
    return objectAt(h, i).flags;
}

float* objectItemParam(float* out, QbSceneHandle* h, int32_t i, int32_t kind, float time) {
    return motionParam(out, h, objectAt(h, i).motion, kind, time);
}

int32_t objectAlwaysOne(QbSceneHandle*, int32_t) {
    return 1;
}

int32_t objectSurfaceCount(QbSceneHandle* h, int32_t i) {
    const QbSceneObject* sceneObject = objectAt(h, i).sceneObject;
    return sceneObject ? sceneObject->surfaceCount : 0;
}

float firstSurfaceValue(QbSceneHandle* h, int32_t i, QbSurfaceSlot slot) {
    if (objectSurfaceCount(h, i) <= 0) return 0.0f;
    return qbParamFloat(h->impl, &objectAt(h, i).sceneObject->surfaces[0].params[slot], 0.0f);
}

float objectTransparency(QbSceneHandle* h, int32_t i) {
    return firstSurfaceValue(h, i, QB_SURFACE_TRANSPARENCY);
}

float objectTranslucency(QbSceneHandle* h, int32_t i) {
    return firstSurfaceValue(h, i, QB_SURFACE_TRANSLUCENCY);
}

QbSurfaceParamValue paramValue(const QbScene* scene, const QbSurfaceParam& param, float time) {
    QbSurfaceParamValue value{};
    value.kind = param.kind;
    value.textureProjection = param.textureProjection;
    value.textureImage = param.textureImage;
    if (param.kind == QB_PARAM_COLOR) qbParamVector(value.color, scene, &param, time);
    if (param.kind == QB_PARAM_FLOAT) value.color[0] = qbParamFloat(scene, &param, time);
    if (param.kind == QB_PARAM_INT) value.integer = qbParamInt(scene, &param, time);
    return value;
}

void shaderValues(QbShaderValues& values, const QbScene* scene, const QbSurface& surface, float time) {
    values.shaderName = surface.shaderName;
    values.vertexFunction = surface.shaderVertexFunction;
    values.pixelFunction = surface.shaderPixelFunction;
    values.paramCount = std::min<int32_t>(surface.shaderParamCount, QB_SHADER_VALUE_PARAMS_MAX);
    for (int32_t i = 0; i < values.paramCount; i++) {
        values.paramNames[i] = surface.shaderParams[i].name;
        values.paramValues[i] = qbChannelValue(scene, &surface.shaderParams[i].channel, time);
    }
}

void objectSurfaces(QbSceneHandle* h, int32_t i, QbSurfaceValues* out, int32_t capacity, float time) {
    const int32_t count = std::min(objectSurfaceCount(h, i), capacity);
    for (int32_t n = 0; n < count; n++) {
        const QbSurface& surface = objectAt(h, i).sceneObject->surfaces[n];
        out[n].name = surface.name;
        for (int slot = 0; slot < QB_SURFACE_PARAM_COUNT; slot++)
            out[n].params[slot] = paramValue(h->impl, surface.params[slot], time);
        out[n].hasShader = surface.hasShader;
        if (surface.hasShader) shaderValues(out[n].shader, h->impl, surface, time);
    }
}

// --- lights

int32_t lightCount(QbSceneHandle* h) {
    return h->impl->lightCount;
}

float* lightAmbient(float* out, QbSceneHandle* h, float time) {
    const QbLight& light = lightAt(h, 0);
    return colorOr(out, h, light.ambientChannels, light.ambient, time);
}

const char* lightName(QbSceneHandle* h, int32_t i) {
    return lightAt(h, i).name;
}

int32_t lightType(QbSceneHandle* h, int32_t i) {
    return lightAt(h, i).type;
}

int32_t lightShadowType(QbSceneHandle* h, int32_t i) {
    return lightAt(h, i).shadowType;
}

void lightConeAngles(QbSceneHandle* h, int32_t i, float* cone, float* edge, float time) {
    const QbLight& light = lightAt(h, i);
    *cone = toDegrees(valueOr(h, light.coneAngleChannel, light.coneAngles[0], time));
    *edge = toDegrees(valueOr(h, light.edgeAngleChannel, light.coneAngles[1], time));
}

int32_t lightFlags(QbSceneHandle* h, int32_t i) {
    return lightAt(h, i).flags;
}

float lightRange(QbSceneHandle* h, int32_t i, float time) {
    const QbLight& light = lightAt(h, i);
    if (!light.rangeChannel.vals) return light.range;
    return std::max(0.0f, qbChannelValue(h->impl, &light.rangeChannel, time));
}

int32_t lightFalloff(QbSceneHandle* h, int32_t i) {
    return lightAt(h, i).falloff;
}

float* lightColor(float* out, QbSceneHandle* h, int32_t i, float time) {
    const QbLight& light = lightAt(h, i);
    return colorOr(out, h, light.colorChannels, light.rawColor, time);
}

// The other way round than a colour: here the constant is limited and the channel is not.
float lightIntensity(QbSceneHandle* h, int32_t i, float time) {
    const QbLight& light = lightAt(h, i);
    if (!light.intensityChannel.vals) return limitToOne(light.intensity);
    return qbChannelValue(h->impl, &light.intensityChannel, time);
}

float* lightShadowColor(float* out, QbSceneHandle* h, int32_t i) {
    return copyVector(out, lightAt(h, i).shadowColor);
}

float* lightItemParam(float* out, QbSceneHandle* h, int32_t i, int32_t kind, float time) {
    if (kind == QB_ITEM_SCALING) return zeroVector(out);
    return motionParam(out, h, lightAt(h, i).motion, kind, time);
}

// --- cameras

int32_t cameraCount(QbSceneHandle* h) {
    return h->impl->cameraCount;
}

const char* cameraName(QbSceneHandle* h, int32_t i) {
    return cameraAt(h, i).name;
}

void cameraFovAngles(QbSceneHandle* h, int32_t i, float* horizontal, float* vertical, float time) {
    const QbCamera& camera = cameraAt(h, i);
    const double zoom = valueOr(h, camera.zoomChannel, 0.0f, time);
    if (zoom != 0.0 && !std::isnan(zoom)) {
        *horizontal = *vertical = static_cast<float>(2.0 * std::atan(1.0 / zoom) * DEGREES);
        return;
    }
    *horizontal = toDegrees(camera.fovAngles[0]);
    *vertical = toDegrees(camera.fovAngles[1]);
}

void cameraDepthOfField(QbSceneHandle* h, int32_t i, int32_t* enabled, float* focalDistance, float* fStop,
                        float time) {
    const QbCamera& camera = cameraAt(h, i);
    *enabled = camera.flags & 1;
    *focalDistance = valueOr(h, camera.focalDistanceChannel, camera.focalDistance, time);
    *fStop = valueOr(h, camera.fStopChannel, camera.fStop, time);
}

float* cameraItemParam(float* out, QbSceneHandle* h, int32_t i, int32_t kind, float time) {
    if (kind == QB_ITEM_SCALING) return zeroVector(out);
    return motionParam(out, h, cameraAt(h, i).motion, kind, time);
}

// --- emitters

int32_t emitterCount(QbSceneHandle* h) {
    return h->impl->emitterCount;
}

const char* emitterName(QbSceneHandle* h, int32_t i) {
    return emitterAt(h, i).name;
}

const char* emitterHyperVoxelImage(QbSceneHandle* h, int32_t i) {
    return emitterAt(h, i).hyperVoxelImage;
}

float emitterHyperVoxelParticleSize(QbSceneHandle* h, int32_t i) {
    return emitterAt(h, i).hyperVoxelParticleSize;
}

float* emitterGeneratorSize(float* out, QbSceneHandle* h, int32_t i) {
    return copyVector(out, emitterAt(h, i).generatorSize);
}

float* emitterItemParam(float* out, QbSceneHandle* h, int32_t i, int32_t kind, float time) {
    return motionParam(out, h, emitterAt(h, i).motion, kind, time);
}

float* emitterVelocity(float* out, QbSceneHandle* h, int32_t i) {
    const QbEmitter& emitter = emitterAt(h, i);
    for (int axis = 0; axis < 3; axis++)
        out[axis] = emitter.velocity[axis] * emitter.velocityP;
    return out;
}

float* emitterGravity(float* out, QbSceneHandle* h, int32_t i) {
    return copyVector(out, emitterAt(h, i).gravity);
}

float emitterBirthRate(QbSceneHandle* h, int32_t i, float time) {
    const QbEmitter& emitter = emitterAt(h, i);
    const QbSceneGlobals& globals = *h->impl->globals;
    const auto played = static_cast<float>(static_cast<double>(globals.framesPerSecond) * time / 1000.0);
    const int64_t frame = static_cast<int64_t>(globals.frameStart) + qbTruncate(played);
    return emitter.fixed && frame < emitter.startFrame ? 0.0f : emitter.birthRate;
}

float emitterLifeTime(QbSceneHandle* h, int32_t i) {
    const int32_t rate = framesPerSecond(h);
    if (rate == 0) return 0.0f;
    return emitterAt(h, i).lifeTime[0] * 1000.0f / static_cast<float>(rate);
}

float emitterExplosion(QbSceneHandle* h, int32_t i) {
    return emitterAt(h, i).explosion;
}

int32_t emitterParticleLimit(QbSceneHandle* h, int32_t i) {
    return emitterAt(h, i).particleLimit;
}

// --- tables

constexpr QbSceneInfo SCENE_INFO = {firstFrame, lastFrame, framesPerSecond, renderOpts, currentCamera};

constexpr QbBackdropInfo BACKDROP_INFO = {zenithColor, zenithColor, skyColor, groundColor, nadirColor};

constexpr QbProcessingInfo PROCESSING_INFO = {
    limitDynamicRange, ditherIntensity, animatedDither, colorSaturation,
    glowEffect,        glowIntensity,   glowRadius,
};

constexpr QbObjectInfo OBJECT_INFO = {
    objectCount,        objectName,         objectFileName,  objectMeshFileName, objectIsNull,
    objectShadowOpts,   objectFlags,        objectItemParam, objectAlwaysOne,    objectTransparency,
    objectTranslucency, objectSurfaceCount, objectSurfaces,
};

constexpr QbLightInfo LIGHT_INFO = {
    lightCount, lightAmbient, lightName,  lightType,      lightShadowType,  lightConeAngles, lightFlags,
    lightRange, lightFalloff, lightColor, lightIntensity, lightShadowColor, lightItemParam,
};

constexpr QbCameraInfo CAMERA_INFO = {cameraCount, cameraName, cameraFovAngles, cameraDepthOfField,
                                      cameraItemParam};

constexpr QbEmitterInfo EMITTER_INFO = {
    emitterCount,         emitterName,      emitterHyperVoxelImage, emitterHyperVoxelParticleSize,
    emitterGeneratorSize, emitterItemParam, emitterVelocity,        emitterGravity,
    emitterBirthRate,     emitterLifeTime,  emitterExplosion,       emitterParticleLimit,
};

// Without regard to case: the name may come from a script made where case does not count.
int formatOf(const char* fileName) {
    std::string name(fileName);
    std::transform(name.begin(), name.end(), name.begin(), qbFoldCase);
    if (name.find(".lws.ini") != std::string::npos) return FORMAT_TEXT;
    return name.find(".quab") != std::string::npos ? FORMAT_QUAB : FORMAT_NONE;
}

} // namespace

static QbSceneHandle* openQuab(const char* fileName) {
    if (formatOf(fileName) != FORMAT_QUAB) return nullptr;
    std::unique_ptr<QbScene, decltype(&qbSceneRecordFree)> scene(qbSceneRead(fileName), qbSceneRecordFree);
    if (!scene) return nullptr;
    qbSceneBindChannels(scene.get());
    auto* handle =
        new QbSceneHandle{scene.get(),  FORMAT_QUAB, &SCENE_INFO,  &BACKDROP_INFO, &PROCESSING_INFO,
                          &OBJECT_INFO, &LIGHT_INFO, &CAMERA_INFO, &EMITTER_INFO};
    static_cast<void>(scene.release());
    return handle;
}

QbSceneHandle* qbSceneOpen(const char* fileName) {
    if (!fileName) return nullptr;
    return qbUnlessOutOfMemory<QbSceneHandle*>(fileName, nullptr, [fileName] { return openQuab(fileName); });
}

void qbSceneClose(QbSceneHandle* handle) {
    if (!handle || handle->format != FORMAT_QUAB) return;
    qbSceneRecordFree(handle->impl);
    delete handle;
}

int qbSceneSave(QbSceneHandle* handle, const char*) {
    return handle && handle->format == FORMAT_QUAB ? 0 : -1;
}
