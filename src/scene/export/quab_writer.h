#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// Writes scene files. Fill a QbExportScene, then qbSceneExportSave. What a record leaves at its default is
// written as that default; a string left empty and an optional left unset are not written at all.
//
//   QbExportScene scene;
//   scene.name = scene.fileName = "room.lws";
//   scene.frameEnd = 249;                                       // 250 frames, 10 s at 25
//   QbExportObject& room = scene.objects.emplace_back();
//   room.name = "room:Layer1";
//   room.fileName = "room.lwo";                                 // plays the mesh file room.layer1.x
//   QbExportSceneObject& file = scene.sceneObjects.emplace_back();
//   file.name = "room";
//   file.fileName = "room.lwo";                                 // surface i goes with material i of the mesh
//   qbExportSetColor(file.surfaces.emplace_back(), "BaseColor", {1, 0.5f, 0.2f});
//   file.surfaces.back().name = "Wall";
//   scene.cameras.emplace_back().name = "Camera";
//   qbExportRotationBySeconds(scene, scene.cameras[0].motion, [](double s) {
//       return std::array<float, 3>{float(10 * s), 0, 0}; });
//   if (qbSceneExportSave(scene, "room.quab", error) != 0) ...
//
// Units: positions in world units, left-handed, Y up; angles in radians where a field does not say degrees;
// colours and percentages as fractions, 1 is 100 %.

// One animated value. Samples: none (not written; a motion channel gets its rest value), one (constant), or
// one for each frame, frameStart first. All finite.
struct QbExportChannel {
    std::vector<float> samples;
    uint32_t type = 0; // 0: the usual type of the place where it stands (2 number, 3 distance, 4 %, 5 angle)

    QbExportChannel() = default;
    QbExportChannel(float constant) : samples{constant} {}
    QbExportChannel(std::vector<float> values) : samples(std::move(values)) {}
};

// World space, parents resolved. Rest: position 0, rotation 0, scale 1. Rotation is heading (about Y), pitch
// (about X; positive looks down), bank (about Z), applied bank first. Cameras and lights look along +Z.
// A heading of exactly 90 or 270 degrees with a bank of 0 is played wrong: stay 0.01 degrees beside it.
struct QbExportMotion {
    QbExportChannel position[3]; // X, Y, Z
    QbExportChannel rotation[3]; // H, P, B in radians
    QbExportChannel scale[3];    // X, Y, Z factors
};

struct QbExportNamedChannel {
    std::string name;
    QbExportChannel channel;
};

// A group of channels that no field covers. Groups nest at most five deep, the top level included.
struct QbExportGroup {
    std::string name;
    std::vector<QbExportNamedChannel> channels;
    std::vector<QbExportGroup> groups;
};

struct QbExportBackdrop {
    int32_t type = 0;
    std::array<float, 3> zenith{}, sky{}, ground{}, nadir{};
    std::array<float, 2> squeeze{2, 2};
};

// A channel that is set overrides the constant beside it, here and in every record below.
struct QbExportProcessing {
    int32_t limitDynamicRange = 0;
    int32_t ditherIntensity = 0;
    int32_t animatedDither = 0;
    float colorSaturation = 1;
    QbExportChannel colorSaturationChannel;
    int32_t glowEffect = 0; // 1 switches the glow on
    float glowIntensity = 0;
    QbExportChannel glowIntensityChannel;
    float glowRadius = 0;
    QbExportChannel glowRadiusChannel;
};

// Item names are unique in a scene, and none of them may be "MC", "Global" or "Surfaces". Only an emitter may
// bear an object's name: particles then rise from that object, and the emitter moves with it.
struct QbExportObject {
    std::string name;      // "ville:Layer2" for a layer of "ville.lwo"
    std::string fileName;  // "ville.lwo": the mesh file is "ville.layer2.x"
    int32_t numPoints = 1; // 0 here or in numPolygons: an item without geometry
    int32_t numPolygons = 1;
    int32_t shadowOpts = 0;
    int32_t flags = 0;
    QbExportMotion motion;
};

enum QbExportLightType { QB_EXPORT_LIGHT_DISTANT = 0, QB_EXPORT_LIGHT_POINT = 1, QB_EXPORT_LIGHT_SPOT = 2 };

struct QbExportLight {
    std::string name;
    std::array<float, 3> ambient{}; // that of the first light is the scene's
    int32_t type = QB_EXPORT_LIGHT_POINT;
    int32_t shadowType = 0;
    std::array<float, 2> coneAngles{0.5235988f, 0.0872665f}; // radians: cone, edge
    QbExportChannel coneAngleChannel;
    QbExportChannel edgeAngleChannel;
    int32_t flags = 0;
    float range = 1;
    QbExportChannel rangeChannel;
    int32_t falloff = 0;
    std::array<float, 3> rawColor{1, 1, 1};
    QbExportChannel colorChannels[3];
    float intensity = 1; // without a channel limited to 0..1 when it plays
    QbExportChannel intensityChannel;
    std::array<float, 3> shadowColor{};
    QbExportMotion motion;
};

struct QbExportCamera {
    std::string name;
    float zoomFactor = 3.2f;
    QbExportChannel zoomChannel; // overrides fovAngles: both angles become 2 atan(1 / zoom)
    float focalLength = 0.024f;
    float focalDistance = 1;
    QbExportChannel focalDistanceChannel;
    float fStop = 4;
    QbExportChannel fStopChannel;
    float blurLength = 0.5f;
    std::array<float, 2> fovAngles{0.7853982f, 0.6058997f}; // radians: horizontal, vertical
    int32_t flags = 0;                                      // bit 0: depth of field
    std::array<int32_t, 2> resolution{640, 480};
    float pixelAspect = 1;
    float separation = 0;
    QbExportMotion motion;
};

struct QbExportEmitter {
    std::string name;
    std::array<float, 3> generatorSize{1, 1, 1}; // all 0: the mesh of the object with this name
    std::array<float, 3> centerPosition{};
    int32_t particleLimit = -1;      // particles ever emitted; -1 without limit
    std::array<float, 3> velocity{}; // times velocityP, world units a second
    std::array<float, 3> gravity{};
    float birthRate = 0;             // particles a second
    std::array<float, 2> lifeTime{}; // frames
    float explosion = 0;             // 1: spread of 45 degrees
    float velocityP = 1;
    int32_t startFrame = 0;
    int32_t fixed = 0; // non-zero: silent before startFrame
    std::array<float, 2> weight{}, resistance{}, size{};
    float hyperVoxelParticleSize = 1;
    std::string hyperVoxelImage; // without one the emitter is not shown
    QbExportMotion motion;
};

// One parameter of a surface, by its property name; a second entry for the same one is refused.
//   colour:  "BaseColor"
//   float:   "Luminosity", "Diffuse", "Specularity", "Reflectivity", "Transparency", "Translucency", "IOR",
//            "Bump", "Glossiness", "GlowValue", "LineSize", and without a channel: "ReflectionSeamAngle"
//   integer, without a channel: "ReflectionOptions", "Sidedness", "RenderOutlines", "ReflectionImage"
//   carried and not read, without a channel: float "ReflectionBlurring", "RefractionBlurring",
//            "RefractionSeamAngle"; integer "AlphaOptions", "RefractionOptions"
// A value of another kind than the property's is refused. Any property may hold an image.
struct QbExportSurfaceParam {
    std::string property;
    std::optional<std::array<float, 3>> color;
    std::optional<float> number;
    std::optional<int32_t> integer;
    QbExportChannel channels[3]; // R, G, B of "BaseColor", else the first one alone
    std::string textureImage;
    std::optional<int32_t> textureProjection;
};

struct QbExportShaderParam {
    std::string name;        // no blanks
    QbExportChannel channel; // no samples: the parameter stays 0
};

struct QbExportSurface {
    std::string name;
    std::vector<QbExportSurfaceParam> params;
    std::string shaderName; // no blanks, at most 63 characters; the same for the two functions
    std::string shaderVertexFunction;
    std::string shaderPixelFunction;
    std::vector<QbExportShaderParam> shaderParams; // at most 10
    std::vector<QbExportGroup> groups; // further groups under the surface, ignored when the scene plays
};

// One object file; all layers share its surfaces. Surfaces of one name must agree in what animates them.
struct QbExportSceneObject {
    std::string name;     // unique
    std::string fileName; // links it to the objects of the same file name
    std::vector<QbExportSurface> surfaces;
};

struct QbExportScene {
    std::string name;
    std::string fileName;
    int32_t frameStart = 0;
    int32_t frameEnd = 0; // the last frame, not one behind it
    float framesPerSecond = 25;
    uint32_t renderOpts = 0;

    // Carried in the file and read by nobody. numPoints and numPolygons unset: the objects' sums.
    std::optional<int32_t> numPoints, numPolygons;
    int32_t renderType = 0, frameStep = 1, frameWidth = 640, frameHeight = 480;

    // Number of the camera that plays, from 0. The selector, when it has samples, overrides the other.
    QbExportChannel renderCamera{0.0f};
    QbExportChannel cameraSelector;

    QbExportChannel ambientChannels[3]; // R, G, B for the whole scene; override the lights' ambient
    QbExportBackdrop backdrop;
    QbExportProcessing processing;
    std::vector<QbExportObject> objects;
    std::vector<QbExportEmitter> emitters;
    std::vector<QbExportLight> lights;
    std::vector<QbExportCamera> cameras;
    std::vector<QbExportSceneObject> sceneObjects;
    std::vector<QbExportGroup> groups; // written last
};

// Makes the file's bytes. 0, or -1 with `bytes` empty and a reason in `error` that names the item and the
// channel: a channel with a wrong number of samples or a sample that is not finite, a string over 255
// characters, a chunk over 65,535 bytes (a channel of more than about 16,000 different samples), groups
// nested over five deep, names that clash.
int qbSceneExportWrite(const QbExportScene& scene, std::vector<uint8_t>& bytes, std::string& error);
// The same, into a file. A refused scene leaves an existing file alone.
int qbSceneExportSave(const QbExportScene& scene, const std::string& path, std::string& error);

// --- filling records ------------------------------------------------------------

// Frames of the scene, both ends included; 0 when frameEnd lies before frameStart.
size_t qbExportFrameCount(const QbExportScene& scene);
float qbExportRadians(double degrees);

// Finds the surface's entry for a property, or adds one. The reference lives until the next entry is added.
QbExportSurfaceParam& qbExportParam(QbExportSurface& surface, const std::string& property);
void qbExportSetColor(QbExportSurface& surface, const std::string& property, std::array<float, 3> rgb);
void qbExportSetFloat(QbExportSurface& surface, const std::string& property, float value);
void qbExportSetInt(QbExportSurface& surface, const std::string& property, int32_t value);
void qbExportSetImage(QbExportSurface& surface, const std::string& property, const std::string& image,
                      int32_t projection = 0);

// Constant motion. Rotation in degrees: heading, pitch, bank.
void qbExportSetPosition(QbExportMotion& motion, std::array<float, 3> position);
void qbExportSetRotation(QbExportMotion& motion, std::array<float, 3> degrees);
void qbExportSetScale(QbExportMotion& motion, std::array<float, 3> factors);
// Heading, pitch and bank in degrees that turn +Z at `from` towards `to`; heading 0 when straight up or down.
std::array<float, 3> qbExportAim(std::array<float, 3> from, std::array<float, 3> to, float bank = 0);

// A channel from a function of the frame number (frameStart to frameEnd), or of the seconds since the first
// frame: value(double seconds) -> float. The scene's frames and rate are read now, so set them first.
template <class Value>
QbExportChannel qbExportByFrame(const QbExportScene& scene, Value value) {
    QbExportChannel channel;
    channel.samples.reserve(qbExportFrameCount(scene));
    for (int64_t frame = scene.frameStart; frame <= scene.frameEnd; frame++)
        channel.samples.push_back(static_cast<float>(value(static_cast<int32_t>(frame))));
    return channel;
}

template <class Value>
QbExportChannel qbExportBySeconds(const QbExportScene& scene, Value value) {
    return qbExportByFrame(scene, [&](int32_t frame) {
        return value((static_cast<double>(frame) - scene.frameStart) / scene.framesPerSecond);
    });
}

// Three channels at once: value(double seconds) -> std::array<float, 3>.
template <class Value>
void qbExportVectorBySeconds(const QbExportScene& scene, QbExportChannel* channels, Value value) {
    for (size_t i = 0; i < 3; i++)
        channels[i] = qbExportBySeconds(scene, [&](double seconds) { return value(seconds)[i]; });
}

template <class Value>
void qbExportPositionBySeconds(const QbExportScene& scene, QbExportMotion& motion, Value value) {
    qbExportVectorBySeconds(scene, motion.position, value);
}

// Heading, pitch, bank in degrees.
template <class Value>
void qbExportRotationBySeconds(const QbExportScene& scene, QbExportMotion& motion, Value value) {
    for (size_t i = 0; i < 3; i++)
        motion.rotation[i] =
            qbExportBySeconds(scene, [&](double seconds) { return qbExportRadians(value(seconds)[i]); });
}

template <class Value>
void qbExportScaleBySeconds(const QbExportScene& scene, QbExportMotion& motion, Value value) {
    qbExportVectorBySeconds(scene, motion.scale, value);
}
