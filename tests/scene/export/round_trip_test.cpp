#include "scene/export/quab_writer.h"
#include "scene/format/channel.h"
#include "scene/format/tables.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>

// Random scenes, written and read back by the scene reader: every field and every sample must come back as it
// was, bit by bit.

namespace {

struct Random {
    std::mt19937 source;
    uint32_t below(uint32_t limit) { return static_cast<uint32_t>(source()) % limit; }
    int32_t integer() { return static_cast<int32_t>(source()); }
    float number() { return static_cast<float>(integer()) / 65536.0f; }
    template <size_t N>
    std::array<float, N> numbers() {
        std::array<float, N> values;
        for (float& value : values)
            value = number();
        return values;
    }
    // Lengths on both sides of the string padding and of the limit.
    std::string text(const std::string& start) {
        static const size_t LENGTHS[] = {0, 1, 2, 3, 30, 254, 255};
        std::string result = start;
        size_t length = LENGTHS[below(7)];
        while (result.size() < length)
            result += static_cast<char>('a' + below(26));
        return result;
    }
    QbExportChannel channel(size_t frames, bool allowNone = true) {
        QbExportChannel result;
        result.type = below(3) ? 0 : 1 + below(9);
        uint32_t kind = below(allowNone ? 4 : 3);
        if (kind == 3) return result;
        if (kind == 0) return result.samples = {number()}, result;
        while (result.samples.size() < frames) {
            float value = below(4) ? number() : below(2) ? 0.0f : -0.0f;
            for (uint32_t run = kind == 1 ? 1 : 1 + below(12); run > 0 && result.samples.size() < frames;
                 run--)
                result.samples.push_back(value);
        }
        return result;
    }
};

QbExportMotion randomMotion(Random& random, size_t frames) {
    QbExportMotion motion;
    for (int i = 0; i < 3; i++) {
        motion.position[i] = random.channel(frames);
        motion.rotation[i] = random.channel(frames);
        motion.scale[i] = random.channel(frames);
    }
    return motion;
}

QbExportSurface randomSurface(Random& random, size_t frames, uint32_t number) {
    QbExportSurface surface;
    surface.name = "surface" + std::to_string(number);
    for (const char* name : {"Diffuse", "Specularity", "IOR", "Bump", "GlowValue", "LineSize"})
        if (random.below(2)) {
            qbExportSetFloat(surface, name, random.number());
            qbExportParam(surface, name).channels[0] = random.channel(frames);
        }
    qbExportSetColor(surface, "BaseColor", random.numbers<3>());
    if (random.below(2))
        for (QbExportChannel& channel : qbExportParam(surface, "BaseColor").channels)
            channel = random.channel(frames, false);
    qbExportSetInt(surface, "Sidedness", random.integer());
    qbExportSetInt(surface, "AlphaOptions", random.integer()); // passed over by the reader
    qbExportSetImage(surface, "ReflectionImage", random.text("r"), random.integer());
    qbExportSetImage(surface, "Bump", "bump.png");
    surface.groups.push_back({"Texture layer", {{"Opacity", random.channel(frames)}}, {}});
    if (random.below(2)) return surface;
    surface.shaderName = std::string(63, 's');
    surface.shaderVertexFunction = random.below(2) ? "vertexMain" : "";
    surface.shaderPixelFunction = "pixelMain";
    for (uint32_t i = random.below(11); i > 0; i--)
        surface.shaderParams.push_back({"param" + std::to_string(i), random.channel(frames)});
    return surface;
}

QbExportScene randomScene(uint32_t seed) {
    Random random{std::mt19937(seed)};
    QbExportScene scene;
    scene.name = random.text("scene");
    scene.fileName = random.text("file.lws");
    scene.frameStart = static_cast<int32_t>(random.below(200)) - 100;
    scene.frameEnd = scene.frameStart + static_cast<int32_t>(random.below(300));
    scene.framesPerSecond = 1 + std::fabs(random.number());
    scene.renderOpts = static_cast<uint32_t>(random.integer());
    size_t frames = qbExportFrameCount(scene);
    scene.renderCamera = random.channel(frames);
    scene.cameraSelector = random.channel(frames);
    for (QbExportChannel& channel : scene.ambientChannels)
        channel = random.channel(frames);
    scene.backdrop = {random.integer(),    random.numbers<3>(), random.numbers<3>(),
                      random.numbers<3>(), random.numbers<3>(), random.numbers<2>()};
    scene.processing = {
        random.integer(), random.integer(), random.integer(),       random.number(), random.channel(frames),
        random.integer(), random.number(),  random.channel(frames), random.number(), random.channel(frames)};
    for (uint32_t i = random.below(6); i > 0; i--)
        scene.objects.push_back({"file:Layer" + std::to_string(i), random.below(2) ? "file0.lwo" : "other",
                                 random.integer(), random.integer(), random.integer(), random.integer(),
                                 randomMotion(random, frames)});
    for (uint32_t i = random.below(6); i > 0; i--)
        scene.emitters.push_back(
            {"emitter" + std::to_string(i), random.numbers<3>(), random.numbers<3>(), random.integer(),
             random.numbers<3>(), random.numbers<3>(), random.number(), random.numbers<2>(), random.number(),
             random.number(), random.integer(), random.integer(), random.numbers<2>(), random.numbers<2>(),
             random.numbers<2>(), random.number(), random.text("image.png"), randomMotion(random, frames)});
    for (uint32_t i = random.below(4); i > 0; i--) {
        QbExportLight light{"light" + std::to_string(i),
                            random.numbers<3>(),
                            random.integer(),
                            random.integer(),
                            random.numbers<2>(),
                            random.channel(frames),
                            random.channel(frames),
                            random.integer(),
                            random.number(),
                            random.channel(frames),
                            random.integer(),
                            random.numbers<3>(),
                            {},
                            random.number(),
                            random.channel(frames),
                            random.numbers<3>(),
                            randomMotion(random, frames)};
        for (QbExportChannel& channel : light.colorChannels)
            channel = random.channel(frames);
        scene.lights.push_back(light);
    }
    for (uint32_t i = random.below(3); i > 0; i--)
        scene.cameras.push_back({"camera" + std::to_string(i),
                                 random.number(),
                                 random.channel(frames),
                                 random.number(),
                                 random.number(),
                                 random.channel(frames),
                                 random.number(),
                                 random.channel(frames),
                                 random.number(),
                                 random.numbers<2>(),
                                 random.integer(),
                                 {random.integer(), random.integer()},
                                 random.number(),
                                 random.number(),
                                 randomMotion(random, frames)});
    for (uint32_t i = random.below(6); i > 0; i--) {
        QbExportSceneObject& file = scene.sceneObjects.emplace_back();
        file.name = "file" + std::to_string(i - 1);
        file.fileName = file.name + ".lwo";
        for (uint32_t k = random.below(4); k > 0; k--)
            file.surfaces.push_back(randomSurface(random, frames, k));
    }
    return scene;
}

// --- comparing ------------------------------------------------------------------------------

uint32_t bits(float value) {
    return std::bit_cast<uint32_t>(value);
}

struct Reader {
    const QbScene* scene;
    size_t frames;

    void same(const QbChannelRef& read, const QbExportChannel& written, const char* what) const {
        SCOPED_TRACE(what);
        ASSERT_EQ(read.vals != 0, !written.samples.empty());
        for (size_t i = 0; read.vals != 0 && i < frames; i++) {
            float expected = written.samples[written.samples.size() == 1 ? 0 : i];
            ASSERT_EQ(bits(qbChannelSample(scene, &read, static_cast<int32_t>(i))), bits(expected)) << i;
        }
    }
    void same(const QbMotionChannels& read, const QbExportMotion& written) const {
        auto orRest = [](const QbExportChannel& channel, float rest) {
            return channel.samples.empty() ? QbExportChannel(rest) : channel;
        };
        for (int i = 0; i < 3; i++) {
            same(read.channels[QB_MOTION_POSITION + i], orRest(written.position[i], 0), "position");
            same(read.channels[QB_MOTION_ROTATION + i], orRest(written.rotation[i], 0), "rotation");
            same(read.channels[QB_MOTION_SCALE + i], orRest(written.scale[i], 1), "scale");
        }
    }
};

template <size_t N>
void same(const float (&read)[N], const std::array<float, N>& written) {
    for (size_t i = 0; i < N; i++)
        EXPECT_EQ(bits(read[i]), bits(written[i])) << i;
}

void sameText(const char* read, const std::string& written) {
    EXPECT_EQ(read == nullptr, written.empty());
    EXPECT_EQ(std::string(read ? read : ""), written);
}

void sameGlobals(const Reader& reader, const QbExportScene& written) {
    const QbScene& scene = *reader.scene;
    sameText(scene.globals->name, written.name);
    sameText(scene.globals->fileName, written.fileName);
    EXPECT_EQ(scene.globals->frameStart, written.frameStart);
    EXPECT_EQ(scene.globals->frameEnd, written.frameEnd);
    EXPECT_EQ(scene.globals->framesPerSecond, written.framesPerSecond);
    EXPECT_EQ(scene.globals->renderOpts, written.renderOpts);
    reader.same(scene.globals->renderChannel, written.renderCamera, "renderCamera");
    if (!written.renderCamera.samples.empty()) {
        EXPECT_STREQ(scene.globals->renderChannelName, "renderCamera");
        EXPECT_EQ(scene.globals->renderChannelType,
                  written.renderCamera.type ? written.renderCamera.type : 2);
    }
    reader.same(scene.globals->cameraSelector, written.cameraSelector, "CameraSelector");
    EXPECT_EQ(scene.backdrop->type, written.backdrop.type);
    same(scene.backdrop->zenith, written.backdrop.zenith);
    same(scene.backdrop->sky, written.backdrop.sky);
    same(scene.backdrop->ground, written.backdrop.ground);
    same(scene.backdrop->nadir, written.backdrop.nadir);
    same(scene.backdrop->squeeze, written.backdrop.squeeze);
    EXPECT_EQ(scene.processing->limitDynamicRange, written.processing.limitDynamicRange);
    EXPECT_EQ(scene.processing->ditherIntensity, written.processing.ditherIntensity);
    EXPECT_EQ(scene.processing->animatedDither, written.processing.animatedDither);
    EXPECT_EQ(scene.processing->colorSaturation, written.processing.colorSaturation);
    EXPECT_EQ(scene.processing->glowEffect, written.processing.glowEffect);
    EXPECT_EQ(scene.processing->glowIntensity, written.processing.glowIntensity);
    EXPECT_EQ(scene.processing->glowRadius, written.processing.glowRadius);
    reader.same(scene.processing->colorSaturationChannel, written.processing.colorSaturationChannel,
                "saturation");
    reader.same(scene.processing->glowIntensityChannel, written.processing.glowIntensityChannel, "intensity");
    reader.same(scene.processing->glowRadiusChannel, written.processing.glowRadiusChannel, "radius");
}

void sameObject(const Reader& reader, const QbObject& read, const QbExportObject& written) {
    sameText(read.name, written.name);
    sameText(read.fileName, written.fileName);
    EXPECT_EQ(read.numPoints, written.numPoints);
    EXPECT_EQ(read.numPolygons, written.numPolygons);
    EXPECT_EQ(read.shadowOpts, written.shadowOpts);
    EXPECT_EQ(read.flags, written.flags);
    reader.same(read.motion, written.motion);
}

void sameEmitter(const Reader& reader, const QbEmitter& read, const QbExportEmitter& written) {
    sameText(read.name, written.name);
    same(read.generatorSize, written.generatorSize);
    same(read.centerPosition, written.centerPosition);
    EXPECT_EQ(read.particleLimit, written.particleLimit);
    same(read.velocity, written.velocity);
    same(read.gravity, written.gravity);
    EXPECT_EQ(read.birthRate, written.birthRate);
    same(read.lifeTime, written.lifeTime);
    EXPECT_EQ(read.explosion, written.explosion);
    EXPECT_EQ(read.velocityP, written.velocityP);
    EXPECT_EQ(read.startFrame, written.startFrame);
    EXPECT_EQ(read.fixed, written.fixed);
    same(read.weight, written.weight);
    same(read.resistance, written.resistance);
    same(read.size, written.size);
    EXPECT_EQ(read.hyperVoxelParticleSize, written.hyperVoxelParticleSize);
    sameText(read.hyperVoxelImage, written.hyperVoxelImage);
    reader.same(read.motion, written.motion);
}

void sameLight(const Reader& reader, const QbLight& read, const QbExportLight& written,
               const QbExportScene& scene) {
    sameText(read.name, written.name);
    same(read.ambient, written.ambient);
    EXPECT_EQ(read.type, written.type);
    EXPECT_EQ(read.shadowType, written.shadowType);
    same(read.coneAngles, written.coneAngles);
    EXPECT_EQ(read.flags, written.flags);
    EXPECT_EQ(read.range, written.range);
    EXPECT_EQ(read.falloff, written.falloff);
    same(read.rawColor, written.rawColor);
    EXPECT_EQ(read.intensity, written.intensity);
    same(read.shadowColor, written.shadowColor);
    reader.same(read.coneAngleChannel, written.coneAngleChannel, "cone");
    reader.same(read.edgeAngleChannel, written.edgeAngleChannel, "edge");
    reader.same(read.rangeChannel, written.rangeChannel, "range");
    reader.same(read.intensityChannel, written.intensityChannel, "intensity");
    for (int i = 0; i < 3; i++) {
        reader.same(read.colorChannels[i], written.colorChannels[i], "colour");
        reader.same(read.ambientChannels[i], scene.ambientChannels[i], "ambient");
    }
    reader.same(read.motion, written.motion);
}

void sameCamera(const Reader& reader, const QbCamera& read, const QbExportCamera& written) {
    sameText(read.name, written.name);
    EXPECT_EQ(read.zoomFactor, written.zoomFactor);
    EXPECT_EQ(read.focalLength, written.focalLength);
    EXPECT_EQ(read.focalDistance, written.focalDistance);
    EXPECT_EQ(read.fStop, written.fStop);
    EXPECT_EQ(read.blurLength, written.blurLength);
    same(read.fovAngles, written.fovAngles);
    EXPECT_EQ(read.flags, written.flags);
    EXPECT_EQ(read.resolution[0], written.resolution[0]);
    EXPECT_EQ(read.resolution[1], written.resolution[1]);
    EXPECT_EQ(read.pixelAspect, written.pixelAspect);
    EXPECT_EQ(read.separation, written.separation);
    reader.same(read.zoomChannel, written.zoomChannel, "zoom");
    reader.same(read.focalDistanceChannel, written.focalDistanceChannel, "focal distance");
    reader.same(read.fStopChannel, written.fStopChannel, "f-stop");
    reader.same(read.motion, written.motion);
}

const QbExportSurfaceParam* findParam(const QbExportSurface& surface, const std::string& property) {
    for (const QbExportSurfaceParam& param : surface.params)
        if (param.property == property) return &param;
    return nullptr;
}

void sameSlot(const Reader& reader, const QbSurfaceParam& read, const QbExportSurface& surface,
              const char* property) {
    SCOPED_TRACE(property);
    static const QbExportSurfaceParam none;
    const QbExportSurfaceParam* found = findParam(surface, property);
    const QbExportSurfaceParam& written = found ? *found : none;
    if (written.color) same(read.color, *written.color);
    if (written.number) same({read.color[0]}, std::array<float, 1>{*written.number});
    EXPECT_EQ(read.integer, written.integer.value_or(0));
    EXPECT_EQ(read.textureProjection, written.textureProjection.value_or(0));
    sameText(read.textureImage, written.textureImage);
    for (int i = 0; i < (read.kind == QB_PARAM_COLOR ? 3 : 1); i++)
        reader.same(read.channels[i], written.channels[i], "slot");
}

void sameSurface(const Reader& reader, const QbSurface& read, const QbExportSurface& written) {
    SCOPED_TRACE(written.name);
    static const std::pair<QbSurfaceSlot, const char*> SLOTS[] = {
        {QB_SURFACE_BASE_COLOR, "BaseColor"},
        {QB_SURFACE_DIFFUSE, "Diffuse"},
        {QB_SURFACE_SPECULARITY, "Specularity"},
        {QB_SURFACE_IOR, "IOR"},
        {QB_SURFACE_BUMP, "Bump"},
        {QB_SURFACE_GLOW_VALUE, "GlowValue"},
        {QB_SURFACE_LINE_SIZE, "LineSize"},
        {QB_SURFACE_SIDEDNESS, "Sidedness"},
        {QB_SURFACE_REFLECTION_IMAGE, "ReflectionImage"},
        {QB_SURFACE_TRANSPARENCY, "Transparency"},
    };
    sameText(read.name, written.name);
    for (auto [slot, property] : SLOTS)
        sameSlot(reader, read.params[slot], written, property);
    EXPECT_EQ(read.hasShader, written.shaderName.empty() ? 0 : 1);
    EXPECT_EQ(read.shaderName, written.shaderName);
    EXPECT_EQ(read.shaderVertexFunction, written.shaderVertexFunction);
    EXPECT_EQ(read.shaderPixelFunction, written.shaderPixelFunction);
    ASSERT_EQ(static_cast<size_t>(read.shaderParamCount), written.shaderParams.size());
    for (size_t i = 0; i < written.shaderParams.size(); i++) {
        EXPECT_EQ(read.shaderParams[i].name, written.shaderParams[i].name);
        reader.same(read.shaderParams[i].channel, written.shaderParams[i].channel, "parameter");
    }
}

void sameFiles(const Reader& reader, const QbExportScene& written) {
    const QbScene& scene = *reader.scene;
    ASSERT_EQ(static_cast<size_t>(scene.sceneObjectCount), written.sceneObjects.size());
    for (size_t i = 0; i < written.sceneObjects.size(); i++) {
        const QbSceneObject& read = scene.sceneObjects[i];
        SCOPED_TRACE(read.name);
        sameText(read.name, written.sceneObjects[i].name);
        sameText(read.fileName, written.sceneObjects[i].fileName);
        ASSERT_EQ(static_cast<size_t>(read.surfaceCount), written.sceneObjects[i].surfaces.size());
        for (size_t k = 0; k < written.sceneObjects[i].surfaces.size(); k++)
            sameSurface(reader, read.surfaces[k], written.sceneObjects[i].surfaces[k]);
    }
}

void sameItems(const Reader& reader, const QbExportScene& written) {
    const QbScene& scene = *reader.scene;
    ASSERT_EQ(static_cast<size_t>(scene.objectCount), written.objects.size());
    ASSERT_EQ(static_cast<size_t>(scene.emitterCount), written.emitters.size());
    ASSERT_EQ(static_cast<size_t>(scene.lightCount), written.lights.size());
    ASSERT_EQ(static_cast<size_t>(scene.cameraCount), written.cameras.size());
    for (size_t i = 0; i < written.objects.size(); i++)
        sameObject(reader, scene.objects[i], written.objects[i]);
    for (size_t i = 0; i < written.emitters.size(); i++)
        sameEmitter(reader, scene.emitters[i], written.emitters[i]);
    for (size_t i = 0; i < written.lights.size(); i++)
        sameLight(reader, scene.lights[i], written.lights[i], written);
    for (size_t i = 0; i < written.cameras.size(); i++)
        sameCamera(reader, scene.cameras[i], written.cameras[i]);
}

TEST(QuabRoundTrip, EveryFieldAndSampleComesBack) {
    std::string path = testing::TempDir() + "quab_round_trip.quab", error;
    for (uint32_t seed = 1; seed <= 25; seed++) {
        SCOPED_TRACE(seed);
        QbExportScene written = randomScene(seed);
        ASSERT_EQ(qbSceneExportSave(written, path, error), 0) << error;
        QbSceneHandle* handle = qbSceneOpen(path.c_str());
        ASSERT_NE(handle, nullptr);
        Reader reader{handle->impl, qbExportFrameCount(written)};
        sameGlobals(reader, written);
        sameItems(reader, written);
        sameFiles(reader, written);
        qbSceneClose(handle);
    }
    std::remove(path.c_str());
}

// What ties an item to another: an emitter on an object, the layers of one file, a surface used twice.
TEST(QuabRoundTrip, LinksByName) {
    std::string path = testing::TempDir() + "quab_links.quab", error;
    QbExportScene scene;
    scene.objects.resize(2);
    scene.objects[0].name = "tree:Layer1";
    scene.objects[1].name = "tree:Layer2";
    scene.objects[0].fileName = scene.objects[1].fileName = "tree.lwo";
    scene.objects[1].motion.position[0] = 5.0f;
    scene.emitters.emplace_back().name = "tree:Layer2";
    scene.sceneObjects.emplace_back().name = "tree";
    scene.sceneObjects[0].fileName = "tree.lwo";
    QbExportSurface& bark = scene.sceneObjects[0].surfaces.emplace_back();
    bark.name = "bark";
    qbExportParam(bark, "Diffuse").channels[0] = 0.75f;
    scene.sceneObjects[0].surfaces.push_back(bark);
    ASSERT_EQ(qbSceneExportSave(scene, path, error), 0) << error;
    QbSceneHandle* handle = qbSceneOpen(path.c_str());
    ASSERT_NE(handle, nullptr);
    EXPECT_STREQ(handle->objectInfo->meshFileName(handle, 1), "tree.layer2.x");
    EXPECT_EQ(handle->impl->objects[0].sceneObject, handle->impl->objects[1].sceneObject);
    float position[3];
    EXPECT_EQ(handle->emitterInfo->itemParam(position, handle, 0, QB_ITEM_POSITION, 0)[0], 5);
    QbSurfaceValues values[2];
    handle->objectInfo->surfaces(handle, 0, values, 2, 0);
    EXPECT_EQ(values[0].params[QB_SURFACE_DIFFUSE].color[0], 0.75f);
    EXPECT_EQ(values[1].params[QB_SURFACE_DIFFUSE].color[0], 0.75f);
    qbSceneClose(handle);
    std::remove(path.c_str());
}

// The aim of the exporter and the angles of the player agree: +Z, turned about X, Y, Z, points at the target.
TEST(QuabRoundTrip, RotationsPlayAsAimed) {
    std::string path = testing::TempDir() + "quab_aim.quab", error;
    QbExportScene scene;
    scene.cameras.emplace_back().name = "eye";
    qbExportSetRotation(scene.cameras[0].motion, qbExportAim({0, 0, 0}, {2, 3, 6}, 25));
    ASSERT_EQ(qbSceneExportSave(scene, path, error), 0) << error;
    QbSceneHandle* handle = qbSceneOpen(path.c_str());
    ASSERT_NE(handle, nullptr);
    float xyz[3];
    handle->cameraInfo->itemParam(xyz, handle, 0, QB_ITEM_ROTATION_ALT, 0);
    double x = qbExportRadians(xyz[0]), y = qbExportRadians(xyz[1]), z = qbExportRadians(xyz[2]);
    double afterX[3] = {0, -std::sin(x), std::cos(x)};
    double afterY[3] = {afterX[2] * std::sin(y), afterX[1], afterX[2] * std::cos(y)};
    EXPECT_NEAR(afterY[0] * std::cos(z) - afterY[1] * std::sin(z), 2.0 / 7, 1e-5);
    EXPECT_NEAR(afterY[0] * std::sin(z) + afterY[1] * std::cos(z), 3.0 / 7, 1e-5);
    EXPECT_NEAR(afterY[2], 6.0 / 7, 1e-5);
    qbSceneClose(handle);
    std::remove(path.c_str());
}

} // namespace
