#pragma once

#include <cstdint>

// A scene as the rest of the system sees it: a handle and seven tables of operations. A second scene format
// would fill the same tables.
//
// Every operation takes the handle first (behind `out`, where it gives a vector: three floats, returned). An
// index i counts from 0 to below the count. Times are milliseconds from the scene's start. Strings live as
// long as the handle, unless said otherwise.

struct QbScene;
struct QbSceneHandle;

enum QbItemParam {
    QB_ITEM_ROTATION = 5,      // heading, pitch, bank, degrees
    QB_ITEM_SCALING = 6,       // factors; objects and emitters only
    QB_ITEM_POSITION = 8,      // world units
    QB_ITEM_ROTATION_ALT = 25, // about X, then Y, then Z, degrees: the engine's rotation
};

enum { QB_SURFACE_VALUE_COUNT = 39, QB_SHADER_VALUE_PARAMS_MAX = 10 };

// Slots of the surface parameters that are in use.
enum QbSurfaceSlot {
    QB_SURFACE_BASE_COLOR = 0,
    QB_SURFACE_LUMINOSITY = 1,
    QB_SURFACE_DIFFUSE = 2,
    QB_SURFACE_SPECULARITY = 3,
    QB_SURFACE_REFLECTIVITY = 4,
    QB_SURFACE_TRANSPARENCY = 5,
    QB_SURFACE_TRANSLUCENCY = 6,
    QB_SURFACE_IOR = 7,
    QB_SURFACE_BUMP = 8,
    QB_SURFACE_GLOSSINESS = 9,
    QB_SURFACE_REFLECTION_SEAM_ANGLE = 17,
    QB_SURFACE_GLOW_VALUE = 25,
    QB_SURFACE_LINE_SIZE = 27,
    QB_SURFACE_REFLECTION_OPTIONS = 29,
    QB_SURFACE_SIDEDNESS = 31,
    QB_SURFACE_RENDER_OUTLINES = 34,
    QB_SURFACE_REFLECTION_IMAGE = 35,
    QB_SURFACE_REFRACTION_IMAGE = 36, // a scene never fills it
};

struct QbSurfaceParamValue {
    uint32_t kind;   // 0 colour, 1 float, 2 integer
    float color[3];  // colour as fractions; color[0] is a float's value
    int32_t integer; // an integer's value
    int32_t textureProjection;
    const char* textureImage; // null when there is none
};

struct QbShaderValues {
    const char* shaderName;
    const char* vertexFunction;
    const char* pixelFunction;
    int32_t paramCount; // at most QB_SHADER_VALUE_PARAMS_MAX; further ones are left out
    const char* paramNames[QB_SHADER_VALUE_PARAMS_MAX];
    float paramValues[QB_SHADER_VALUE_PARAMS_MAX];
};

struct QbSurfaceValues {
    const char* name;
    QbSurfaceParamValue params[QB_SURFACE_VALUE_COUNT];
    int32_t hasShader;
    QbShaderValues shader; // filled only when hasShader is set
};

struct QbSceneInfo {
    int32_t (*firstFrame)(QbSceneHandle*);
    int32_t (*lastFrame)(QbSceneHandle*);
    int32_t (*framesPerSecond)(QbSceneHandle*); // truncated
    uint32_t (*renderOpts)(QbSceneHandle*);
    int32_t (*currentCamera)(QbSceneHandle*, float time); // 0 to the camera count - 1; 0 without cameras
};

struct QbBackdropInfo {
    float* (*zenithColor)(float* out, QbSceneHandle*);
    float* (*zenithColor2)(float* out, QbSceneHandle*); // zenithColor again: keeps the table's five places
    float* (*skyColor)(float* out, QbSceneHandle*);
    float* (*groundColor)(float* out, QbSceneHandle*);
    float* (*nadirColor)(float* out, QbSceneHandle*);
};

struct QbProcessingInfo {
    int32_t (*limitDynamicRange)(QbSceneHandle*);
    int32_t (*ditherIntensity)(QbSceneHandle*);
    int32_t (*animatedDither)(QbSceneHandle*);
    float (*colorSaturation)(QbSceneHandle*, float time);
    int32_t (*glowEffect)(QbSceneHandle*);
    float (*glowIntensity)(QbSceneHandle*, float time);
    float (*glowRadius)(QbSceneHandle*, float time);
};

struct QbObjectInfo {
    int32_t (*count)(QbSceneHandle*);
    const char* (*name)(QbSceneHandle*, int32_t i);
    const char* (*fileName)(QbSceneHandle*, int32_t i);
    const char* (*meshFileName)(QbSceneHandle*, int32_t i); // static buffer until the next call
    int32_t (*isNull)(QbSceneHandle*, int32_t i);           // 1: an item without geometry
    int32_t (*shadowOpts)(QbSceneHandle*, int32_t i);
    int32_t (*flags)(QbSceneHandle*, int32_t i);
    float* (*itemParam)(float* out, QbSceneHandle*, int32_t i, int32_t kind, float time);
    int32_t (*alwaysOne)(QbSceneHandle*, int32_t i);
    float (*transparency)(QbSceneHandle*, int32_t i); // of the first surface, at time 0
    float (*translucency)(QbSceneHandle*, int32_t i);
    int32_t (*surfaceCount)(QbSceneHandle*, int32_t i);
    // Fills at most `capacity` records in file order; nothing without surfaces.
    void (*surfaces)(QbSceneHandle*, int32_t i, QbSurfaceValues* out, int32_t capacity, float time);
};

struct QbLightInfo {
    int32_t (*count)(QbSceneHandle*);
    float* (*ambient)(float* out, QbSceneHandle*, float time); // of the whole scene, fractions
    const char* (*name)(QbSceneHandle*, int32_t i);
    int32_t (*type)(QbSceneHandle*, int32_t i); // 0 distant, 2 spot, else point
    int32_t (*shadowType)(QbSceneHandle*, int32_t i);
    void (*coneAngles)(QbSceneHandle*, int32_t i, float* cone, float* edge, float time); // degrees
    int32_t (*flags)(QbSceneHandle*, int32_t i);
    float (*range)(QbSceneHandle*, int32_t i, float time);
    int32_t (*falloff)(QbSceneHandle*, int32_t i);
    float* (*color)(float* out, QbSceneHandle*, int32_t i, float time);
    float (*intensity)(QbSceneHandle*, int32_t i, float time);
    float* (*shadowColor)(float* out, QbSceneHandle*, int32_t i);
    float* (*itemParam)(float* out, QbSceneHandle*, int32_t i, int32_t kind, float time);
};

struct QbCameraInfo {
    int32_t (*count)(QbSceneHandle*);
    const char* (*name)(QbSceneHandle*, int32_t i);
    void (*fovAngles)(QbSceneHandle*, int32_t i, float* horizontal, float* vertical, float time); // degrees
    void (*depthOfField)(QbSceneHandle*, int32_t i, int32_t* enabled, float* focalDistance, float* fStop,
                         float time);
    float* (*itemParam)(float* out, QbSceneHandle*, int32_t i, int32_t kind, float time);
};

struct QbEmitterInfo {
    int32_t (*count)(QbSceneHandle*);
    const char* (*name)(QbSceneHandle*, int32_t i);
    const char* (*hyperVoxelImage)(QbSceneHandle*, int32_t i); // null when not set
    float (*hyperVoxelParticleSize)(QbSceneHandle*, int32_t i);
    float* (*generatorSize)(float* out, QbSceneHandle*, int32_t i);
    float* (*itemParam)(float* out, QbSceneHandle*, int32_t i, int32_t kind, float time);
    float* (*velocity)(float* out, QbSceneHandle*, int32_t i);
    float* (*gravity)(float* out, QbSceneHandle*, int32_t i);
    float (*birthRate)(QbSceneHandle*, int32_t i, float time);
    float (*lifeTime)(QbSceneHandle*, int32_t i); // milliseconds
    float (*explosion)(QbSceneHandle*, int32_t i);
    int32_t (*particleLimit)(QbSceneHandle*, int32_t i);
};

struct QbSceneHandle {
    QbScene* impl;
    int32_t format; // 1: .quab
    const QbSceneInfo* sceneInfo;
    const QbBackdropInfo* backdropInfo;
    const QbProcessingInfo* processingInfo;
    const QbObjectInfo* objectInfo;
    const QbLightInfo* lightInfo;
    const QbCameraInfo* cameraInfo;
    const QbEmitterInfo* emitterInfo;
};

// Opens a scene by its name: ".lws.ini" anywhere in it has no reader, ".quab" anywhere is the scene file.
// Null on failure; the caller reports. Owned by the caller until qbSceneClose.
QbSceneHandle* qbSceneOpen(const char* fileName);
void qbSceneClose(QbSceneHandle* handle); // null is allowed
// Saves nothing: -1 for null or another format than .quab, else 0.
int qbSceneSave(QbSceneHandle* handle, const char* where);
