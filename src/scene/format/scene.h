#pragma once

#include "scene/format/tables.h"
#include "storage/file.h"

#include <cstdint>

// The in-memory scene: what one scene file says, as records that point into the file's image. Strings and
// channel samples stay in the image, which lives exactly as long as the scene; nothing is decoded at load.
//
// Only the scene format and its tests look in here; everything else asks through scene/format/tables.h.

enum { QB_CHANNEL_WINDOW = 8 };

// Where the last fetch of a channel stood, checked then, so that the next one goes on from there: a window of
// samples from the one asked for onwards, and the chunk that holds the last of them. Play finds most samples
// in the window and reads the image every few frames. A VALS body holds at most 65,535 bytes, so offsets
// inside it take 16 bits. Zero-filled means "nothing remembered".
struct QbChannelPlace {
    uint32_t first;       // number of the chunk's first sample
    uint32_t count;       // its samples
    uint32_t held;        // of these, the ones whose value lies in it: fewer in a damaged one
    uint16_t values;      // offset of the first value in the VALS body; 0 in front of the first chunk
    uint16_t next;        // offset of the header behind the chunk
    uint16_t end;         // size of the body, cut to the image
    uint8_t stride;       // bytes from value to value: 4 in a VDAT, 0 in a VRUN
    uint8_t windowCount;  // samples in the window
    uint32_t windowFirst; // number of its first
    float window[QB_CHANNEL_WINDOW];
};

// A channel: the offset of a VALS body in the image; 0 means that none is bound and the constant beside it
// rules. The place is a cache and no part of the value.
struct QbChannelRef {
    uint32_t vals;
    mutable QbChannelPlace place;
};

// "Position.X", .Y, .Z, "Rotation.H", .P, .B, "Scale.X", .Y, .Z; angles in radians, world space.
struct QbMotionChannels {
    QbChannelRef channels[9];
};
enum { QB_MOTION_POSITION = 0, QB_MOTION_ROTATION = 3, QB_MOTION_SCALE = 6 };

struct QbChannel {
    const char* name;
    uint32_t type; // carried through, never interpreted
    uint32_t vals;
};

// Groups deeper than this are dropped with all that they hold; the top-level ones are at depth 1.
enum { QB_CHANNEL_GROUP_DEPTH_MAX = 5 };

struct QbChannelGroup {
    const char* name;
    int32_t channelCount;
    QbChannel* channels;
    int32_t groupCount;
    QbChannelGroup* groups;
};

struct QbSceneGlobals {
    const char* name;
    const char* fileName;
    int32_t frameStart;
    int32_t frameEnd;
    float framesPerSecond;
    uint32_t renderOpts;
    const char* renderChannelName;
    uint32_t renderChannelType;
    QbChannelRef renderChannel; // camera number
    QbChannelRef cameraSelector;
};

struct QbBackdrop {
    int32_t type;
    float zenith[3], sky[3], ground[3], nadir[3]; // fractions
    float squeeze[2];
};

struct QbProcessing {
    int32_t limitDynamicRange;
    int32_t ditherIntensity;
    int32_t animatedDither;
    float colorSaturation;
    QbChannelRef colorSaturationChannel;
    int32_t glowEffect;
    float glowIntensity;
    QbChannelRef glowIntensityChannel;
    float glowRadius;
    QbChannelRef glowRadiusChannel;
};

struct QbSceneObject;

struct QbObject {
    const char* name;     // a layer of a file ends in ":Layer" and its number
    const char* fileName; // the modeller's object file
    int32_t numPoints;
    int32_t numPolygons;
    int32_t shadowOpts;
    int32_t flags;
    const QbSceneObject* sceneObject; // null when no SOBJ shares the file name
    const QbChannelGroup* motionGroup;
    QbMotionChannels motion;
};

struct QbLight {
    const char* name;
    float ambient[3];
    QbChannelRef ambientChannels[3];
    int32_t type; // 0 distant, 1 point, 2 spot
    int32_t shadowType;
    float coneAngles[2]; // radians: cone, edge
    QbChannelRef coneAngleChannel;
    QbChannelRef edgeAngleChannel;
    int32_t flags;
    float range; // world units
    QbChannelRef rangeChannel;
    int32_t falloff;
    float rawColor[3];
    QbChannelRef colorChannels[3];
    float intensity;
    QbChannelRef intensityChannel;
    float shadowColor[3];
    const QbChannelGroup* group;
    QbMotionChannels motion;
};

struct QbCamera {
    const char* name;
    float zoomFactor;
    QbChannelRef zoomChannel;
    float focalLength;
    float focalDistance;
    QbChannelRef focalDistanceChannel;
    float fStop;
    QbChannelRef fStopChannel;
    float blurLength;
    float fovAngles[2]; // radians: horizontal, vertical
    int32_t flags;      // bit 0 asks for depth of field
    int32_t resolution[2];
    float pixelAspect;
    float separation;
    const QbChannelGroup* group;
    QbMotionChannels motion;
};

struct QbEmitter {
    const char* name;
    float generatorSize[3];
    float centerPosition[3];
    int32_t particleLimit;
    float velocity[3];
    float gravity[3];
    float birthRate;
    float lifeTime[2]; // frames
    float explosion;
    float velocityP;
    int32_t startFrame;
    int32_t fixed;
    float weight[2], resistance[2], size[2];
    float hyperVoxelParticleSize;
    const char* hyperVoxelImage;
    const QbChannelGroup* motionGroup;
    QbMotionChannels motion;
};

enum { QB_SURFACE_PARAM_COUNT = 39, QB_SHADER_NAME_SIZE = 64, QB_SHADER_PARAM_NAME_SIZE = 68 };

enum QbSurfaceParamKind { QB_PARAM_COLOR = 0, QB_PARAM_FLOAT = 1, QB_PARAM_INT = 2 };

struct QbSurfaceParam {
    uint32_t kind;            // QbSurfaceParamKind
    float color[3];           // constant of a colour; color[0] is the constant of a float
    int32_t integer;          // constant of an integer
    QbChannelRef channels[3]; // three for a colour, else the first
    int32_t textureProjection;
    const char* textureImage; // null when the slot has no image
};

struct QbShaderParam {
    char name[QB_SHADER_PARAM_NAME_SIZE];
    QbChannelRef channel;
};

struct QbSurface {
    const char* name;
    QbSurfaceParam params[QB_SURFACE_PARAM_COUNT];
    int32_t hasShader;
    char shaderName[QB_SHADER_NAME_SIZE];
    char shaderVertexFunction[QB_SHADER_NAME_SIZE];
    char shaderPixelFunction[QB_SHADER_NAME_SIZE];
    int32_t shaderParamCount;
    QbShaderParam* shaderParams; // owned by the scene
    const QbChannelGroup* nodesGroup;
    const QbChannelGroup* group;
};

struct QbSceneObject {
    const char* name;
    const char* fileName;
    int32_t surfaceCount;
    QbSurface* surfaces;
};

struct QbScene {
    QbFile* file; // memory image, owned
    QbSceneGlobals* globals;
    QbBackdrop* backdrop;
    QbProcessing* processing;
    int32_t objectCount;
    QbObject* objects;
    int32_t lightCount;
    QbLight* lights;
    int32_t cameraCount;
    QbCamera* cameras;
    int32_t sceneObjectCount;
    QbSceneObject* sceneObjects;
    int32_t emitterCount;
    QbEmitter* emitters;
    int32_t groupCount;
    QbChannelGroup* groups;
};

// Reads a scene file whole and builds its records, channels unbound. Null when the file does not open or is
// no scene; a message names the file and, for damage, the offset.
QbScene* qbSceneRead(const char* fileName);
// The same from a memory file, which the scene takes over, on failure too. `fileName` is for messages.
QbScene* qbSceneReadImage(QbFile* image, const char* fileName);

// Binds every channel of the records by the names of groups and channels. Missing ones are no error. 0.
int qbSceneBindChannels(QbScene* scene);

// Frees the records and the image; null is allowed.
void qbSceneRecordFree(QbScene* scene);

// Name of the mesh file of one object: "ville.lwo" with the item name "ville:Layer2" gives "ville.layer2.x".
// A file name without ".lwo" comes back unchanged. Static buffer of 256 bytes; "" for an object without file.
const char* qbSceneMeshFileName(const QbObject* object);
