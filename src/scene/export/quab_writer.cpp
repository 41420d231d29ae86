#include "scene/export/quab_writer.h"

#include "scene/export/chunk_writer.h"
#include "scene/export/save.h"
#include "scene/export/surface_writer.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <set>

enum ChannelType : uint32_t { TYPE_NUMBER = 2, TYPE_DISTANCE = 3, TYPE_PERCENT = 4, TYPE_ANGLE = 5 };

static constexpr const char* MOTION_PREFIX = "Quab.World:";

// --- channels and groups --------------------------------------------------------------------

static void writeChannel(QbChunkWriter& writer, const std::string& name, const QbExportChannel& channel,
                         uint32_t usualType, size_t frames) {
    if (channel.samples.empty()) return;
    qbChunkChannel(writer, name, channel.type != 0 ? channel.type : usualType, channel.samples, frames);
}

struct FieldChannel {
    const char* name;
    const QbExportChannel* channel;
    uint32_t usualType;
};

// A top-level group of those channels that are set; none, no group.
static void writeFieldGroup(QbChunkWriter& writer, const std::string& name,
                            const std::vector<FieldChannel>& channels, size_t frames) {
    if (std::all_of(channels.begin(), channels.end(),
                    [](const FieldChannel& field) { return field.channel->samples.empty(); }))
        return;
    qbChunkBegin(writer, QB_TAG_CGRP);
    qbChunkStringChunk(writer, QB_TAG_NAME, name);
    for (const FieldChannel& field : channels)
        writeChannel(writer, field.name, *field.channel, field.usualType, frames);
    qbChunkEnd(writer);
}

static void writeMotion(QbChunkWriter& writer, const std::string& name, const QbExportMotion& motion,
                        size_t frames) {
    static const QbExportChannel zero(0.0f), one(1.0f);
    auto orRest = [](const QbExportChannel& channel, const QbExportChannel& rest) {
        return channel.samples.empty() ? &rest : &channel;
    };
    writeFieldGroup(writer, MOTION_PREFIX + name,
                    {
                        {"Position.X", orRest(motion.position[0], zero), TYPE_DISTANCE},
                        {"Position.Y", orRest(motion.position[1], zero), TYPE_DISTANCE},
                        {"Position.Z", orRest(motion.position[2], zero), TYPE_DISTANCE},
                        {"Rotation.H", orRest(motion.rotation[0], zero), TYPE_DISTANCE},
                        {"Rotation.P", orRest(motion.rotation[1], zero), TYPE_DISTANCE},
                        {"Rotation.B", orRest(motion.rotation[2], zero), TYPE_DISTANCE},
                        {"Scale.X", orRest(motion.scale[0], one), TYPE_DISTANCE},
                        {"Scale.Y", orRest(motion.scale[1], one), TYPE_DISTANCE},
                        {"Scale.Z", orRest(motion.scale[2], one), TYPE_DISTANCE},
                    },
                    frames);
}

// --- items ----------------------------------------------------------------------------------

static void writeScene(QbChunkWriter& writer, const QbExportScene& scene, size_t frames) {
    int64_t points = 0, polygons = 0;
    for (const QbExportObject& object : scene.objects) {
        points += object.numPoints;
        polygons += object.numPolygons;
    }
    auto clamped = [](int64_t n) { return static_cast<int32_t>(std::clamp<int64_t>(n, INT_MIN, INT_MAX)); };
    QbChunkPlace place(writer, "scene", scene.name);
    qbChunkBegin(writer, QB_TAG_SCEN);
    qbChunkStringChunk(writer, QB_TAG_NAME, scene.name);
    qbChunkStringChunk(writer, QB_TAG_FNAM, scene.fileName);
    qbChunkBegin(writer, QB_TAG_PRPS);
    qbChunkPropInt(writer, "numPoints", scene.numPoints.value_or(clamped(points)));
    qbChunkPropInt(writer, "numPolygons", scene.numPolygons.value_or(clamped(polygons)));
    qbChunkPropInt(writer, "renderType", scene.renderType);
    qbChunkPropInt(writer, "renderOpts", static_cast<int32_t>(scene.renderOpts));
    qbChunkPropInt(writer, "frameStart", scene.frameStart);
    qbChunkPropInt(writer, "frameEnd", scene.frameEnd);
    qbChunkPropInt(writer, "frameStep", scene.frameStep);
    qbChunkPropFloats(writer, "framesPerSecond", &scene.framesPerSecond, 1);
    qbChunkPropInt(writer, "frameWidth", scene.frameWidth);
    qbChunkPropInt(writer, "frameHeight", scene.frameHeight);
    qbChunkEnd(writer);
    writeChannel(writer, "renderCamera", scene.renderCamera, TYPE_NUMBER, frames);
    qbChunkEnd(writer);
}

static void writeBackdrop(QbChunkWriter& writer, const QbExportBackdrop& backdrop) {
    QbChunkPlace place(writer, "section", "backdrop");
    qbChunkBegin(writer, QB_TAG_BKDR);
    qbChunkBegin(writer, QB_TAG_PRPS);
    qbChunkPropInt(writer, "type", backdrop.type);
    qbChunkPropFloats(writer, "zenith", backdrop.zenith.data(), 3);
    qbChunkPropFloats(writer, "sky", backdrop.sky.data(), 3);
    qbChunkPropFloats(writer, "ground", backdrop.ground.data(), 3);
    qbChunkPropFloats(writer, "nadir", backdrop.nadir.data(), 3);
    qbChunkPropFloats(writer, "squeeze", backdrop.squeeze.data(), 2);
    qbChunkEnd(writer);
    qbChunkEnd(writer);
}

static void writeProcessing(QbChunkWriter& writer, const QbExportProcessing& processing) {
    QbChunkPlace place(writer, "section", "processing");
    qbChunkBegin(writer, QB_TAG_PROC);
    qbChunkBegin(writer, QB_TAG_PRPS);
    qbChunkPropInt(writer, "LimitDynamicRange", processing.limitDynamicRange);
    qbChunkPropInt(writer, "DitherIntensity", processing.ditherIntensity);
    qbChunkPropInt(writer, "AnimatedDither", processing.animatedDither);
    qbChunkPropFloats(writer, "ColorSaturation", &processing.colorSaturation, 1);
    qbChunkPropInt(writer, "GlowEffect", processing.glowEffect);
    qbChunkPropFloats(writer, "GlowIntensity", &processing.glowIntensity, 1);
    qbChunkPropFloats(writer, "GlowRadius", &processing.glowRadius, 1);
    qbChunkEnd(writer);
    qbChunkEnd(writer);
}

static void writeObject(QbChunkWriter& writer, const QbExportObject& object) {
    QbChunkPlace place(writer, "object", object.name);
    qbChunkBegin(writer, QB_TAG_OBJE);
    qbChunkStringChunk(writer, QB_TAG_NAME, object.name);
    qbChunkStringChunk(writer, QB_TAG_FNAM, object.fileName);
    qbChunkBegin(writer, QB_TAG_PRPS);
    qbChunkPropInt(writer, "numPoints", object.numPoints);
    qbChunkPropInt(writer, "numPolygons", object.numPolygons);
    qbChunkPropInt(writer, "shadowOpts", object.shadowOpts);
    qbChunkPropInt(writer, "flags", object.flags);
    qbChunkEnd(writer);
    qbChunkEnd(writer);
}

static void writeEmitter(QbChunkWriter& writer, const QbExportEmitter& emitter) {
    QbChunkPlace place(writer, "emitter", emitter.name);
    qbChunkBegin(writer, QB_TAG_FXEM);
    qbChunkStringChunk(writer, QB_TAG_NAME, emitter.name);
    qbChunkBegin(writer, QB_TAG_PRPS);
    qbChunkPropFloats(writer, "GeneratorSize", emitter.generatorSize.data(), 3);
    qbChunkPropFloats(writer, "CenterPosition", emitter.centerPosition.data(), 3);
    qbChunkPropInt(writer, "ParticleLimit", emitter.particleLimit);
    qbChunkPropFloats(writer, "Velocity", emitter.velocity.data(), 3);
    qbChunkPropFloats(writer, "Gravity", emitter.gravity.data(), 3);
    qbChunkPropFloats(writer, "BirthRate", &emitter.birthRate, 1);
    qbChunkPropFloats(writer, "LifeTime", emitter.lifeTime.data(), 2);
    qbChunkPropFloats(writer, "Explosion", &emitter.explosion, 1);
    qbChunkPropFloats(writer, "VelocityP", &emitter.velocityP, 1);
    qbChunkPropInt(writer, "StartFrame", emitter.startFrame);
    qbChunkPropInt(writer, "Fixed", emitter.fixed);
    qbChunkPropFloats(writer, "Weight", emitter.weight.data(), 2);
    qbChunkPropFloats(writer, "Resistance", emitter.resistance.data(), 2);
    qbChunkPropFloats(writer, "Size", emitter.size.data(), 2);
    qbChunkPropFloats(writer, "HyperVoxelParticleSize", &emitter.hyperVoxelParticleSize, 1);
    if (!emitter.hyperVoxelImage.empty())
        qbChunkPropString(writer, "HyperVoxelImage", emitter.hyperVoxelImage);
    qbChunkEnd(writer);
    qbChunkEnd(writer);
}

static void writeLight(QbChunkWriter& writer, const QbExportLight& light) {
    QbChunkPlace place(writer, "light", light.name);
    qbChunkBegin(writer, QB_TAG_LIGH);
    qbChunkStringChunk(writer, QB_TAG_NAME, light.name);
    qbChunkBegin(writer, QB_TAG_PRPS);
    qbChunkPropFloats(writer, "ambient", light.ambient.data(), 3);
    qbChunkPropInt(writer, "type", light.type);
    qbChunkPropInt(writer, "shadowType", light.shadowType);
    qbChunkPropFloats(writer, "coneAngles", light.coneAngles.data(), 2);
    qbChunkPropInt(writer, "flags", light.flags);
    qbChunkPropFloats(writer, "range", &light.range, 1);
    qbChunkPropInt(writer, "falloff", light.falloff);
    qbChunkPropFloats(writer, "rawColor", light.rawColor.data(), 3);
    qbChunkPropFloats(writer, "intensity", &light.intensity, 1);
    qbChunkPropFloats(writer, "shadowColor", light.shadowColor.data(), 3);
    qbChunkEnd(writer);
    qbChunkEnd(writer);
}

static void writeCamera(QbChunkWriter& writer, const QbExportCamera& camera) {
    QbChunkPlace place(writer, "camera", camera.name);
    qbChunkBegin(writer, QB_TAG_CAME);
    qbChunkStringChunk(writer, QB_TAG_NAME, camera.name);
    qbChunkBegin(writer, QB_TAG_PRPS);
    qbChunkPropFloats(writer, "zoomFactor", &camera.zoomFactor, 1);
    qbChunkPropFloats(writer, "focalLength", &camera.focalLength, 1);
    qbChunkPropFloats(writer, "focalDistance", &camera.focalDistance, 1);
    qbChunkPropFloats(writer, "fStop", &camera.fStop, 1);
    qbChunkPropFloats(writer, "blurLength", &camera.blurLength, 1);
    qbChunkPropFloats(writer, "fovAngles", camera.fovAngles.data(), 2);
    qbChunkPropInt(writer, "flags", camera.flags);
    qbChunkPropInt2(writer, "resolution", camera.resolution.data());
    qbChunkPropFloats(writer, "pixelAspect", &camera.pixelAspect, 1);
    qbChunkPropFloats(writer, "separation", &camera.separation, 1);
    qbChunkEnd(writer);
    qbChunkEnd(writer);
}

static void writeItems(QbChunkWriter& writer, const QbExportScene& scene) {
    for (const QbExportObject& object : scene.objects)
        writeObject(writer, object);
    for (const QbExportEmitter& emitter : scene.emitters)
        writeEmitter(writer, emitter);
    for (const QbExportLight& light : scene.lights)
        writeLight(writer, light);
    for (const QbExportCamera& camera : scene.cameras)
        writeCamera(writer, camera);
    for (const QbExportSceneObject& sceneObject : scene.sceneObjects)
        qbExportSceneObjectWrite(writer, sceneObject);
}

// --- the group tree -------------------------------------------------------------------------

static void writeSceneGroups(QbChunkWriter& writer, const QbExportScene& scene, size_t frames) {
    const QbExportProcessing& processing = scene.processing;
    QbChunkPlace place(writer, "scene", scene.name);
    writeFieldGroup(writer, "MC", {{"CameraSelector", &scene.cameraSelector, TYPE_NUMBER}}, frames);
    writeFieldGroup(writer, "Global",
                    {
                        {"ColorSaturation", &processing.colorSaturationChannel, TYPE_PERCENT},
                        {"GlowIntensity", &processing.glowIntensityChannel, TYPE_PERCENT},
                        {"GlowRadius", &processing.glowRadiusChannel, TYPE_NUMBER},
                        {"AmbientColor.R", &scene.ambientChannels[0], TYPE_PERCENT},
                        {"AmbientColor.G", &scene.ambientChannels[1], TYPE_PERCENT},
                        {"AmbientColor.B", &scene.ambientChannels[2], TYPE_PERCENT},
                    },
                    frames);
}

static void writeLightGroups(QbChunkWriter& writer, const QbExportLight& light, size_t frames) {
    QbChunkPlace place(writer, "light", light.name);
    writeMotion(writer, light.name, light.motion, frames);
    writeFieldGroup(writer, light.name,
                    {
                        {"Range", &light.rangeChannel, TYPE_DISTANCE},
                        {"Color.R", &light.colorChannels[0], TYPE_PERCENT},
                        {"Color.G", &light.colorChannels[1], TYPE_PERCENT},
                        {"Color.B", &light.colorChannels[2], TYPE_PERCENT},
                        {"Intensity", &light.intensityChannel, TYPE_PERCENT},
                        {"ConeAngle", &light.coneAngleChannel, TYPE_ANGLE},
                        {"EdgeAngle", &light.edgeAngleChannel, TYPE_ANGLE},
                    },
                    frames);
}

static void writeCameraGroups(QbChunkWriter& writer, const QbExportCamera& camera, size_t frames) {
    QbChunkPlace place(writer, "camera", camera.name);
    writeMotion(writer, camera.name, camera.motion, frames);
    writeFieldGroup(writer, camera.name,
                    {
                        {"ZoomFactor", &camera.zoomChannel, TYPE_NUMBER},
                        {"FocalDistance", &camera.focalDistanceChannel, TYPE_DISTANCE},
                        {"FStop", &camera.fStopChannel, TYPE_NUMBER},
                    },
                    frames);
}

static bool isObjectName(const QbExportScene& scene, const std::string& name) {
    return std::any_of(scene.objects.begin(), scene.objects.end(),
                       [&](const QbExportObject& object) { return object.name == name; });
}

static void writeGroups(QbChunkWriter& writer, const QbExportScene& scene, size_t frames) {
    writeSceneGroups(writer, scene, frames);
    for (const QbExportObject& object : scene.objects) {
        QbChunkPlace place(writer, "object", object.name);
        writeMotion(writer, object.name, object.motion, frames);
    }
    for (const QbExportEmitter& emitter : scene.emitters) {
        if (isObjectName(scene, emitter.name)) continue; // the object's group serves both
        QbChunkPlace place(writer, "emitter", emitter.name);
        writeMotion(writer, emitter.name, emitter.motion, frames);
    }
    for (const QbExportLight& light : scene.lights)
        writeLightGroups(writer, light, frames);
    for (const QbExportCamera& camera : scene.cameras)
        writeCameraGroups(writer, camera, frames);
    qbExportSurfaceGroupsWrite(writer, scene, frames);
    for (const QbExportGroup& group : scene.groups)
        qbExportGroupWrite(writer, group, 1, frames);
}

// --- checks ---------------------------------------------------------------------------------

static bool hasOwnMotion(const QbExportMotion& motion) {
    for (int i = 0; i < 3; i++)
        if (!motion.position[i].samples.empty() || !motion.rotation[i].samples.empty() ||
            !motion.scale[i].samples.empty())
            return true;
    return false;
}

static void checkName(QbChunkWriter& writer, std::set<std::string>& taken, const char* kind,
                      const std::string& name) {
    QbChunkPlace place(writer, kind, name);
    if (name.empty()) qbChunkFail(writer, "needs a name");
    if (name == "MC" || name == "Global" || name == "Surfaces")
        qbChunkFail(writer, "the scene's own groups bear this name, choose another");
    if (!taken.insert(name).second) qbChunkFail(writer, "another item bears this name, choose another");
}

static void checkNames(QbChunkWriter& writer, const QbExportScene& scene) {
    std::set<std::string> taken;
    for (const QbExportObject& object : scene.objects)
        checkName(writer, taken, "object", object.name);
    for (const QbExportEmitter& emitter : scene.emitters) {
        if (!isObjectName(scene, emitter.name)) {
            checkName(writer, taken, "emitter", emitter.name);
            continue;
        }
        QbChunkPlace place(writer, "emitter", emitter.name);
        if (hasOwnMotion(emitter.motion))
            qbChunkFail(writer, "bears an object's name and moves with it, leave its motion empty");
    }
    for (const QbExportLight& light : scene.lights)
        checkName(writer, taken, "light", light.name);
    for (const QbExportCamera& camera : scene.cameras)
        checkName(writer, taken, "camera", camera.name);
}

static void checkScene(QbChunkWriter& writer, const QbExportScene& scene) {
    int64_t frames = int64_t{scene.frameEnd} - scene.frameStart + 1;
    QbChunkPlace place(writer, "scene", scene.name);
    if (frames < 1)
        qbChunkFail(writer, "frameEnd " + std::to_string(scene.frameEnd) + " lies before frameStart " +
                                std::to_string(scene.frameStart));
    if (frames > INT_MAX) qbChunkFail(writer, "has more than " + std::to_string(INT_MAX) + " frames");
    if (!(std::isfinite(scene.framesPerSecond) && scene.framesPerSecond > 0))
        qbChunkFail(writer, "framesPerSecond must be above 0");
}

static int writeForm(const QbExportScene& scene, std::vector<uint8_t>& bytes, std::string& error) {
    QbChunkWriter writer;
    checkScene(writer, scene);
    checkNames(writer, scene);
    if (writer.error.empty()) {
        size_t frames = qbExportFrameCount(scene);
        qbFormBegin(writer);
        writeScene(writer, scene, frames);
        writeBackdrop(writer, scene.backdrop);
        writeProcessing(writer, scene.processing);
        writeItems(writer, scene);
        writeGroups(writer, scene, frames);
        qbFormEnd(writer);
    }
    error = writer.error;
    if (!error.empty()) return -1;
    bytes = std::move(writer.bytes);
    return 0;
}

int qbSceneExportWrite(const QbExportScene& scene, std::vector<uint8_t>& bytes, std::string& error) {
    bytes.clear();
    error.clear();
    return qbExportUnlessOutOfMemory(error, [&] { return writeForm(scene, bytes, error); });
}

int qbSceneExportSave(const QbExportScene& scene, const std::string& path, std::string& error) {
    std::vector<uint8_t> bytes;
    if (qbSceneExportWrite(scene, bytes, error) != 0) return -1;
    return qbExportSaveBytes(path, bytes, error);
}
