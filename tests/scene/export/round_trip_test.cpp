#include "scene/export/quab_writer.h"
#include "scene/format/channel.h"
#include "scene/format/tables.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <tuple>

// Random scenes, written and read back by the scene reader: every field and every sample must come back as it
// was, bit by bit.

namespace {

// The fields that the writer's record and the reader's have in common, under the same names.
constexpr auto globalsFields = [](auto& g) {
    return std::tie(g.name, g.fileName, g.frameStart, g.frameEnd, g.framesPerSecond, g.renderOpts,
                    g.cameraSelector);
};
constexpr auto backdropFields = [](auto& b) {
    return std::tie(b.type, b.zenith, b.sky, b.ground, b.nadir, b.squeeze);
};
constexpr auto processingFields = [](auto& p) {
    return std::tie(p.limitDynamicRange, p.ditherIntensity, p.animatedDither, p.colorSaturation,
                    p.colorSaturationChannel, p.glowEffect, p.glowIntensity, p.glowIntensityChannel,
                    p.glowRadius, p.glowRadiusChannel);
};
constexpr auto objectFields = [](auto& o) {
    return std::tie(o.name, o.fileName, o.numPoints, o.numPolygons, o.shadowOpts, o.flags, o.motion);
};
constexpr auto emitterFields = [](auto& e) {
    return std::tie(e.name, e.generatorSize, e.centerPosition, e.particleLimit, e.velocity, e.gravity,
                    e.birthRate, e.lifeTime, e.explosion, e.velocityP, e.startFrame, e.fixed, e.weight,
                    e.resistance, e.size, e.hyperVoxelParticleSize, e.hyperVoxelImage, e.motion);
};
constexpr auto lightFields = [](auto& l) {
    return std::tie(l.name, l.ambient, l.type, l.shadowType, l.coneAngles, l.coneAngleChannel,
                    l.edgeAngleChannel, l.flags, l.range, l.rangeChannel, l.falloff, l.rawColor,
                    l.colorChannels, l.intensity, l.intensityChannel, l.shadowColor, l.motion);
};
constexpr auto cameraFields = [](auto& c) {
    return std::tie(c.name, c.zoomFactor, c.zoomChannel, c.focalLength, c.focalDistance,
                    c.focalDistanceChannel, c.fStop, c.fStopChannel, c.blurLength, c.fovAngles, c.flags,
                    c.resolution, c.pixelAspect, c.separation, c.motion);
};

struct Random {
    std::mt19937 source;
    size_t frames = 0;

    uint32_t below(uint32_t limit) { return static_cast<uint32_t>(source()) % limit; }
    int32_t integer() { return static_cast<int32_t>(source()); }
    float number() { return static_cast<float>(integer()) / 65536.0f; }
    // Lengths on both sides of the string padding and of the limit.
    std::string text(const std::string& start = "") {
        static const size_t LENGTHS[] = {0, 1, 2, 3, 30, 254, 255};
        std::string result = start;
        size_t length = LENGTHS[below(7)];
        while (result.size() < length)
            result += static_cast<char>('a' + below(26));
        return result;
    }
    QbExportChannel channel(bool allowNone = true) {
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

    void fill(int32_t& value) { value = integer(); }
    void fill(uint32_t& value) { value = static_cast<uint32_t>(integer()); }
    void fill(float& value) { value = number(); }
    void fill(std::string& value) { value = text(); }
    void fill(QbExportChannel& value) { value = channel(); }
    void fill(QbExportMotion& value) { fillAll(std::tie(value.position, value.rotation, value.scale)); }
    template <class T, size_t N>
    void fill(std::array<T, N>& values) {
        for (T& value : values)
            fill(value);
    }
    template <class T, size_t N>
    void fill(T (&values)[N]) {
        for (T& value : values)
            fill(value);
    }
    template <class... Fields>
    void fillAll(const std::tuple<Fields&...>& fields) {
        std::apply([&](Fields&... field) { (fill(field), ...); }, fields);
    }
    template <class Item, class Fields>
    void addSome(std::vector<Item>& items, uint32_t limit, const std::string& name, Fields fields) {
        for (uint32_t i = below(limit); i > 0; i--) {
            fillAll(fields(items.emplace_back()));
            items.back().name = name + std::to_string(i);
        }
    }
};

QbExportSurface randomSurface(Random& random, uint32_t number) {
    QbExportSurface surface;
    surface.name = "surface" + std::to_string(number);
    for (const char* name : {"Diffuse", "Specularity", "IOR", "Bump", "GlowValue", "LineSize"})
        if (random.below(2)) {
            qbExportSetFloat(surface, name, random.number());
            qbExportParam(surface, name).channels[0] = random.channel();
        }
    qbExportSetColor(surface, "BaseColor", {random.number(), random.number(), random.number()});
    if (random.below(2))
        for (QbExportChannel& channel : qbExportParam(surface, "BaseColor").channels)
            channel = random.channel(false);
    qbExportSetInt(surface, "Sidedness", random.integer());
    qbExportSetInt(surface, "AlphaOptions", random.integer()); // passed over by the reader
    qbExportSetImage(surface, "ReflectionImage", random.text("r"), random.integer());
    qbExportSetImage(surface, "Bump", "bump.png");
    surface.groups.push_back({"Texture layer", {{"Opacity", random.channel()}}, {}});
    if (random.below(2)) return surface;
    surface.shaderName = std::string(63, 's');
    surface.shaderVertexFunction = random.below(2) ? "vertexMain" : "";
    surface.shaderPixelFunction = "pixelMain";
    for (uint32_t i = random.below(11); i > 0; i--)
        surface.shaderParams.push_back({"param" + std::to_string(i), random.channel()});
    return surface;
}

QbExportScene randomScene(uint32_t seed) {
    Random random{std::mt19937(seed)};
    QbExportScene scene;
    scene.frameStart = static_cast<int32_t>(random.below(200)) - 100;
    scene.frameEnd = scene.frameStart + static_cast<int32_t>(random.below(300));
    scene.framesPerSecond = 1 + std::fabs(random.number());
    random.frames = qbExportFrameCount(scene);
    random.fillAll(std::tie(scene.name, scene.fileName, scene.renderOpts, scene.renderCamera,
                            scene.cameraSelector, scene.ambientChannels));
    random.fillAll(backdropFields(scene.backdrop));
    random.fillAll(processingFields(scene.processing));
    random.addSome(scene.objects, 6, "file:Layer", objectFields);
    for (QbExportObject& object : scene.objects)
        object.fileName = random.below(2) ? "file0.lwo" : "other";
    random.addSome(scene.emitters, 6, "emitter", emitterFields);
    random.addSome(scene.lights, 4, "light", lightFields);
    random.addSome(scene.cameras, 3, "camera", cameraFields);
    for (uint32_t i = random.below(6); i > 0; i--) {
        QbExportSceneObject& file = scene.sceneObjects.emplace_back();
        file.name = "file" + std::to_string(i - 1);
        file.fileName = file.name + ".lwo";
        for (uint32_t k = random.below(4); k > 0; k--)
            file.surfaces.push_back(randomSurface(random, k));
    }
    return scene;
}

// --- comparing ------------------------------------------------------------------------------

// What the reader makes of a scene that was saved.
struct Reread {
    std::string path = testing::TempDir() + "quab_round_trip.quab";
    QbSceneHandle* handle = nullptr;

    explicit Reread(const QbExportScene& scene) {
        std::string error;
        EXPECT_EQ(qbSceneExportSave(scene, path, error), 0) << error;
        handle = qbSceneOpen(path.c_str());
    }
    ~Reread() {
        qbSceneClose(handle);
        std::remove(path.c_str());
    }
    Reread(const Reread&) = delete;
    Reread& operator=(const Reread&) = delete;
};

struct Reader {
    const QbScene& scene;
    size_t frames;

    void same(int32_t read, int32_t written) const { EXPECT_EQ(read, written); }
    void same(uint32_t read, uint32_t written) const { EXPECT_EQ(read, written); }
    void same(float read, float written) const {
        EXPECT_EQ(std::bit_cast<uint32_t>(read), std::bit_cast<uint32_t>(written)) << read << " " << written;
    }
    void same(const char* read, const std::string& written) const {
        EXPECT_EQ(read == nullptr, written.empty());
        EXPECT_EQ(read ? read : "", written);
    }
    void same(const QbChannelRef& read, const QbExportChannel& written) const {
        ASSERT_EQ(read.vals != 0, !written.samples.empty());
        for (size_t i = 0; read.vals != 0 && i < frames && !testing::Test::HasFailure(); i++)
            same(qbChannelSample(&scene, &read, static_cast<int32_t>(i)),
                 written.samples[written.samples.size() == 1 ? 0 : i]);
    }
    void same(const QbMotionChannels& read, const QbExportMotion& written) const {
        auto orRest = [](const QbExportChannel& channel, float rest) {
            return channel.samples.empty() ? QbExportChannel(rest) : channel;
        };
        for (int i = 0; i < 3; i++) {
            same(read.channels[QB_MOTION_POSITION + i], orRest(written.position[i], 0));
            same(read.channels[QB_MOTION_ROTATION + i], orRest(written.rotation[i], 0));
            same(read.channels[QB_MOTION_SCALE + i], orRest(written.scale[i], 1));
        }
    }
    template <class Read, class Written, size_t N>
    void same(const Read (&read)[N], const std::array<Written, N>& written) const {
        for (size_t i = 0; i < N; i++)
            same(read[i], written[i]);
    }
    template <class Read, class Written, size_t N>
    void same(const Read (&read)[N], const Written (&written)[N]) const {
        for (size_t i = 0; i < N; i++)
            same(read[i], written[i]);
    }

    template <class Read, class Written, class Fields>
    void sameFields(const char* record, const Read& read, const Written& written, Fields fields) const {
        int number = 0;
        auto sameField = [&](const auto& fieldRead, const auto& fieldWritten) {
            SCOPED_TRACE(testing::Message() << record << ", field " << number++);
            same(fieldRead, fieldWritten);
        };
        std::apply(
            [&](const auto&... ofRead) {
                std::apply([&](const auto&... ofWritten) { (sameField(ofRead, ofWritten), ...); },
                           fields(written));
            },
            fields(read));
    }
    template <class Read, class Written, class Fields>
    void sameEach(const Read* read, int32_t count, const std::vector<Written>& written, Fields fields) const {
        ASSERT_EQ(static_cast<size_t>(count), written.size());
        for (size_t i = 0; i < written.size(); i++)
            sameFields(read[i].name, read[i], written[i], fields);
    }
};

void sameGlobals(const Reader& reader, const QbExportScene& written) {
    const QbSceneGlobals& read = *reader.scene.globals;
    reader.sameFields("globals", read, written, globalsFields);
    reader.same(read.renderChannel, written.renderCamera);
    if (!written.renderCamera.samples.empty()) {
        EXPECT_STREQ(read.renderChannelName, "renderCamera");
        EXPECT_EQ(read.renderChannelType, written.renderCamera.type ? written.renderCamera.type : 2);
    }
    reader.sameFields("backdrop", *reader.scene.backdrop, written.backdrop, backdropFields);
    reader.sameFields("processing", *reader.scene.processing, written.processing, processingFields);
}

void sameItems(const Reader& reader, const QbExportScene& written) {
    const QbScene& scene = reader.scene;
    reader.sameEach(scene.objects, scene.objectCount, written.objects, objectFields);
    reader.sameEach(scene.emitters, scene.emitterCount, written.emitters, emitterFields);
    reader.sameEach(scene.lights, scene.lightCount, written.lights, lightFields);
    reader.sameEach(scene.cameras, scene.cameraCount, written.cameras, cameraFields);
    for (int32_t i = 0; i < scene.lightCount; i++)
        reader.same(scene.lights[i].ambientChannels, written.ambientChannels);
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
    if (written.color) reader.same(read.color, *written.color);
    if (written.number) reader.same(read.color[0], *written.number);
    EXPECT_EQ(read.integer, written.integer.value_or(0));
    EXPECT_EQ(read.textureProjection, written.textureProjection.value_or(0));
    reader.same(read.textureImage, written.textureImage);
    for (int i = 0; i < (read.kind == QB_PARAM_COLOR ? 3 : 1); i++)
        reader.same(read.channels[i], written.channels[i]);
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
    reader.same(read.name, written.name);
    for (auto [slot, property] : SLOTS)
        sameSlot(reader, read.params[slot], written, property);
    EXPECT_EQ(read.hasShader, written.shaderName.empty() ? 0 : 1);
    EXPECT_EQ(read.shaderName, written.shaderName);
    EXPECT_EQ(read.shaderVertexFunction, written.shaderVertexFunction);
    EXPECT_EQ(read.shaderPixelFunction, written.shaderPixelFunction);
    ASSERT_EQ(static_cast<size_t>(read.shaderParamCount), written.shaderParams.size());
    for (size_t i = 0; i < written.shaderParams.size(); i++) {
        EXPECT_EQ(read.shaderParams[i].name, written.shaderParams[i].name);
        reader.same(read.shaderParams[i].channel, written.shaderParams[i].channel);
    }
}

void sameFiles(const Reader& reader, const QbExportScene& written) {
    constexpr auto fields = [](auto& file) { return std::tie(file.name, file.fileName); };
    reader.sameEach(reader.scene.sceneObjects, reader.scene.sceneObjectCount, written.sceneObjects, fields);
    for (size_t i = 0; i < written.sceneObjects.size(); i++) {
        const QbSceneObject& read = reader.scene.sceneObjects[i];
        ASSERT_EQ(static_cast<size_t>(read.surfaceCount), written.sceneObjects[i].surfaces.size());
        for (size_t k = 0; k < written.sceneObjects[i].surfaces.size(); k++)
            sameSurface(reader, read.surfaces[k], written.sceneObjects[i].surfaces[k]);
    }
}

TEST(QuabRoundTrip, EveryFieldAndSampleComesBack) {
    for (uint32_t seed = 1; seed <= 25; seed++) {
        SCOPED_TRACE(seed);
        const QbExportScene written = randomScene(seed);
        const Reread reread(written);
        ASSERT_NE(reread.handle, nullptr);
        const Reader reader{*reread.handle->impl, qbExportFrameCount(written)};
        sameGlobals(reader, written);
        sameItems(reader, written);
        sameFiles(reader, written);
    }
}

// What ties an item to another: an emitter on an object, the layers of one file, a surface used twice.
TEST(QuabRoundTrip, LinksByName) {
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
    const Reread reread(scene);
    QbSceneHandle* handle = reread.handle;
    ASSERT_NE(handle, nullptr);
    EXPECT_STREQ(handle->objectInfo->meshFileName(handle, 1), "tree.layer2.x");
    EXPECT_EQ(handle->impl->objects[0].sceneObject, handle->impl->objects[1].sceneObject);
    float position[3];
    EXPECT_EQ(handle->emitterInfo->itemParam(position, handle, 0, QB_ITEM_POSITION, 0)[0], 5);
    QbSurfaceValues values[2];
    handle->objectInfo->surfaces(handle, 0, values, 2, 0);
    EXPECT_EQ(values[0].params[QB_SURFACE_DIFFUSE].color[0], 0.75f);
    EXPECT_EQ(values[1].params[QB_SURFACE_DIFFUSE].color[0], 0.75f);
}

} // namespace
