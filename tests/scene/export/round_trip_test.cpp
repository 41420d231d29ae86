#include "scene/export/opened_scene.h"
#include "scene/format/channel.h"

#include <span>
#include <tuple>
#include <utility>

// A scene whose every field holds a number of its own, written and read back by the scene reader: a property
// or a channel that either side misspells or puts in the wrong place is found here.

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
constexpr auto shaderFields = [](auto& s) {
    return std::tie(s.name, s.shaderName, s.shaderVertexFunction, s.shaderPixelFunction);
};

constexpr auto shaderParamFields = [](auto& p) { return std::tie(p.name, p.channel); };
constexpr auto fileFields = [](auto& f) { return std::tie(f.name, f.fileName); };

constexpr struct Slot {
    size_t number;
    const char* property;
    uint32_t kind;
    size_t channels;
} SLOTS[] = {{0, "BaseColor", 0, 3},
             {1, "Luminosity", 1, 1},
             {2, "Diffuse", 1, 1},
             {3, "Specularity", 1, 1},
             {4, "Reflectivity", 1, 1},
             {5, "Transparency", 1, 1},
             {6, "Translucency", 1, 1},
             {7, "IOR", 1, 1},
             {8, "Bump", 1, 1},
             {9, "Glossiness", 1, 1},
             {17, "ReflectionSeamAngle", 1, 0},
             {25, "GlowValue", 1, 1},
             {27, "LineSize", 1, 1},
             {29, "ReflectionOptions", 2, 0},
             {31, "Sidedness", 2, 0},
             {34, "RenderOutlines", 2, 0},
             {35, "ReflectionImage", 2, 0}};

// Gives the fields of a record that is to be written the next numbers, and expects them in one that was read.
struct Counter {
    const QbScene* scene = nullptr;
    int32_t next = 1;

    void visit(int32_t& value) { value = next++; }
    void visit(uint32_t& value) { value = static_cast<uint32_t>(next++); }
    void visit(float& value) { value = static_cast<float>(next++); }
    void visit(std::string& value) { value = std::to_string(next++); }
    void visit(QbExportChannel& value) { value = static_cast<float>(next++); }
    void visit(QbExportMotion& value) { visit(std::tie(value.position, value.rotation, value.scale)); }

    void visit(const int32_t& value) { EXPECT_EQ(value, next++); }
    void visit(const uint32_t& value) { EXPECT_EQ(value, static_cast<uint32_t>(next++)); }
    void visit(const float& value) { EXPECT_EQ(value, static_cast<float>(next++)); }
    void visit(const char* const& value) {
        EXPECT_EQ(std::string(value ? value : ""), std::to_string(next++));
    }
    void visit(const QbMotionChannels& value) { visit(value.channels); }
    void visit(const QbChannelRef& value) {
        EXPECT_EQ(qbChannelSample(scene, &value, 1), static_cast<float>(next++));
    }

    template <size_t N>
    void visit(const char (&text)[N]) {
        const char* const start = text;
        visit(start);
    }
    template <class List>
    requires std::ranges::range<List>
    void visit(List& list) {
        for (auto& value : list)
            visit(value);
    }
    template <class... Fields>
    void visit(const std::tuple<Fields&...>& fields) {
        std::apply([&](Fields&... field) { (visit(field), ...); }, fields);
    }
    template <class Records, class Fields>
    void visitAll(Records&& records, Fields fields) {
        ASSERT_EQ(records.size(), 2u);
        for (auto& record : records) {
            SCOPED_TRACE(testing::Message() << record.name << ", numbers from " << next);
            visit(fields(record));
        }
    }
};

template <class Record>
std::span<const Record> all(const Record* records, int32_t count) {
    return {records, static_cast<size_t>(count)};
}

void visitSurface(Counter& counter, QbExportSurface& surface) {
    for (const Slot& slot : SLOTS) {
        QbExportSurfaceParam& param = qbExportParam(surface, slot.property);
        if (slot.kind == 0) counter.visit(param.color.emplace());
        if (slot.kind == 1) counter.visit(param.number.emplace());
        if (slot.kind == 2) counter.visit(param.integer.emplace());
        counter.visit(std::tie(param.textureImage, param.textureProjection.emplace()));
        for (size_t i = 0; i < slot.channels; i++)
            counter.visit(param.channels[i]);
    }
    surface.shaderParams.resize(2);
    counter.visitAll(surface.shaderParams, shaderParamFields);
    qbExportSetInt(surface, "AlphaOptions", 1); // passed over by the reader
    surface.groups.push_back({"Texture layer", {{"Opacity", 0.5f}}, {}});
}

void visitSurface(Counter& counter, const QbSurface& surface) {
    for (const Slot& slot : SLOTS) {
        SCOPED_TRACE(slot.property);
        const QbSurfaceParam& param = surface.params[slot.number];
        EXPECT_EQ(param.kind, slot.kind);
        if (slot.kind == 0) counter.visit(param.color);
        if (slot.kind == 1) counter.visit(param.color[0]);
        if (slot.kind == 2) counter.visit(param.integer);
        counter.visit(std::tie(param.textureImage, param.textureProjection));
        for (size_t i = 0; i < slot.channels; i++)
            counter.visit(param.channels[i]);
    }
    EXPECT_EQ(surface.hasShader, 1);
    counter.visitAll(all(surface.shaderParams, surface.shaderParamCount), shaderParamFields);
}

TEST(QuabRoundTrip, EveryFieldComesBack) {
    OpenedScene opened;
    QbExportScene& written = opened.scene;
    written.objects.resize(2);
    written.emitters.resize(2);
    written.lights.resize(2);
    written.cameras.resize(2);
    written.sceneObjects.resize(2);
    written.sceneObjects[1].surfaces.resize(2);
    Counter count;
    count.visit(globalsFields(written));
    count.visit(backdropFields(written.backdrop));
    count.visit(processingFields(written.processing));
    count.visitAll(written.objects, objectFields);
    count.visitAll(written.emitters, emitterFields);
    count.visitAll(written.lights, lightFields);
    count.visit(written.ambientChannels);
    count.visitAll(written.cameras, cameraFields);
    count.visitAll(written.sceneObjects, fileFields);
    count.visitAll(written.sceneObjects[1].surfaces, shaderFields);
    visitSurface(count, written.sceneObjects[1].surfaces[1]);

    opened.open();
    const QbScene& s = *opened.h->impl;
    const QbSceneObject& file = s.sceneObjects[1];
    Counter check{&s};
    check.visit(globalsFields(std::as_const(*s.globals)));
    check.visit(backdropFields(std::as_const(*s.backdrop)));
    check.visit(processingFields(std::as_const(*s.processing)));
    check.visitAll(all(s.objects, s.objectCount), objectFields);
    check.visitAll(all(s.emitters, s.emitterCount), emitterFields);
    check.visitAll(all(s.lights, s.lightCount), lightFields);
    check.visit(std::as_const(s.lights[1]).ambientChannels);
    check.visitAll(all(s.cameras, s.cameraCount), cameraFields);
    check.visitAll(all(s.sceneObjects, s.sceneObjectCount), fileFields);
    check.visitAll(all(file.surfaces, file.surfaceCount), shaderFields);
    visitSurface(check, std::as_const(file.surfaces[1]));
    EXPECT_EQ(check.next, count.next);
}

} // namespace
