#include "scene/format/scene.h"

#include "scene/format/container/chunks.h"

#include <gtest/gtest.h>
#include <memory>
#include <span>
#include <sstream>
#include <tuple>
#include <type_traits>

namespace {

struct SceneDeleter {
    void operator()(QbScene* scene) const { qbSceneRecordFree(scene); }
};
using ScenePointer = std::unique_ptr<QbScene, SceneDeleter>;

ScenePointer readScene(const std::string& chunks) {
    const TemporaryDirectory dir;
    dir.write("a.quab", form(chunks));
    return ScenePointer(qbSceneRead("a.quab"));
}

// --- fields: every property of a record gets the numbers that its place in the list counts off

template <class T>
std::span<const T> words(const T& field) {
    return {&field, 1};
}
template <class T, size_t N>
std::span<const T> words(const T (&field)[N]) {
    return field;
}

template <class T>
uint32_t typeOf(std::span<const T> field) {
    if (std::is_integral_v<T>) return field.size() == 1 ? QB_PROP_INT : QB_PROP_INT2;
    return field.size() == 1 ? QB_PROP_FLOAT : field.size() == 2 ? QB_PROP_FLOAT2 : QB_PROP_FLOAT3;
}

// Calls use(key, words of the field, first number of the field).
template <class Fields, class Use>
void eachField(const char* keys, const Fields& fields, Use use) {
    std::istringstream list(keys);
    std::string key;
    int number = 1;
    const auto useOne = [&](const auto& field) {
        ASSERT_TRUE(list >> key);
        use(key, words(field), number);
        number += 10;
    };
    std::apply([&](const auto&... field) { (useOne(field), ...); }, fields);
    EXPECT_FALSE(list >> key) << "no field for " << key;
}

template <class Fields>
void expectFields(const char* owner, const char* keys, Fields fields) {
    SCOPED_TRACE(owner);
    std::string props = intProp("unknown key", 99);
    const ScenePointer empty = readScene(top(owner, ""));
    eachField(keys, fields(*empty), [&](const std::string& key, auto field, int number) {
        std::string value;
        for (const auto& word : field)
            value += std::is_integral_v<std::decay_t<decltype(word)>> ? be32(static_cast<uint32_t>(number++))
                                                                      : beFloat(static_cast<float>(number++));
        props += prop(typeOf(field), key, value);
    });
    const ScenePointer full = readScene(top(owner, nested("PRPS", props)));
    ASSERT_NE(full, nullptr);
    eachField(keys, fields(*full), [](const std::string& key, auto field, int number) {
        for (const auto& word : field)
            EXPECT_EQ(word, static_cast<std::decay_t<decltype(word)>>(number++)) << key;
    });
}

std::string groups(int depth, const std::string& innermost) {
    std::string body = innermost;
    for (int level = depth; level > 1; --level) {
        const std::string number = std::to_string(level);
        body = nested("CGRP", name("level" + number) + chan("c" + number, 3, run(1, 1)) + body);
    }
    return top("CGRP", name("level1") + body + chan("c1", 3, run(1, 1)));
}

} // namespace

TEST(RecordTest, EveryPropertyLandsInItsField) {
    expectFields("SCEN", "frameStart frameEnd framesPerSecond renderOpts", [](const QbScene& s) {
        const QbSceneGlobals& g = *s.globals;
        return std::tie(g.frameStart, g.frameEnd, g.framesPerSecond, g.renderOpts);
    });
    expectFields("BKDR", "type zenith sky ground nadir squeeze", [](const QbScene& s) {
        const QbBackdrop& b = *s.backdrop;
        return std::tie(b.type, b.zenith, b.sky, b.ground, b.nadir, b.squeeze);
    });
    expectFields("PROC",
                 "LimitDynamicRange DitherIntensity AnimatedDither ColorSaturation GlowEffect GlowIntensity "
                 "GlowRadius",
                 [](const QbScene& s) {
                     const QbProcessing& p = *s.processing;
                     return std::tie(p.limitDynamicRange, p.ditherIntensity, p.animatedDither,
                                     p.colorSaturation, p.glowEffect, p.glowIntensity, p.glowRadius);
                 });
    expectFields("OBJE", "numPoints numPolygons shadowOpts flags", [](const QbScene& s) {
        const QbObject& o = s.objects[0];
        return std::tie(o.numPoints, o.numPolygons, o.shadowOpts, o.flags);
    });
    expectFields("LIGH",
                 "ambient type shadowType coneAngles flags range falloff rawColor intensity shadowColor",
                 [](const QbScene& s) {
                     const QbLight& l = s.lights[0];
                     return std::tie(l.ambient, l.type, l.shadowType, l.coneAngles, l.flags, l.range,
                                     l.falloff, l.rawColor, l.intensity, l.shadowColor);
                 });
    expectFields("CAME",
                 "zoomFactor focalLength focalDistance fStop blurLength fovAngles flags resolution "
                 "pixelAspect separation",
                 [](const QbScene& s) {
                     const QbCamera& c = s.cameras[0];
                     return std::tie(c.zoomFactor, c.focalLength, c.focalDistance, c.fStop, c.blurLength,
                                     c.fovAngles, c.flags, c.resolution, c.pixelAspect, c.separation);
                 });
    expectFields("FXEM",
                 "GeneratorSize CenterPosition ParticleLimit Velocity Gravity BirthRate LifeTime Explosion "
                 "VelocityP StartFrame Fixed Weight Resistance Size HyperVoxelParticleSize",
                 [](const QbScene& s) {
                     const QbEmitter& e = s.emitters[0];
                     return std::tie(e.generatorSize, e.centerPosition, e.particleLimit, e.velocity,
                                     e.gravity, e.birthRate, e.lifeTime, e.explosion, e.velocityP,
                                     e.startFrame, e.fixed, e.weight, e.resistance, e.size,
                                     e.hyperVoxelParticleSize);
                 });
}

TEST(RecordTest, NamesAndStrings) {
    const ScenePointer scene =
        readScene(top("SCEN", name("scene") + fnam("scene.lws")) + top("LIGH", name("first") + name("sun")) +
                  top("FXEM", name("rain") + nested("PRPS", stringProp("HyperVoxelImage", "drop.png"))) +
                  top("FXEM", "") +
                  top("SOBJ", nested("SURF", name("stone")) + name("a") + nested("SURF", name("glass")) +
                                  fnam("a.lwo")));
    ASSERT_NE(scene, nullptr);
    EXPECT_STREQ(scene->globals->name, "scene");
    EXPECT_STREQ(scene->globals->fileName, "scene.lws");
    EXPECT_STREQ(scene->lights[0].name, "sun");
    ASSERT_EQ(scene->emitterCount, 2);
    EXPECT_STREQ(scene->emitters[0].hyperVoxelImage, "drop.png");
    EXPECT_EQ(scene->emitters[1].name, nullptr);
    EXPECT_EQ(scene->emitters[1].hyperVoxelImage, nullptr);
    const QbSceneObject& object = scene->sceneObjects[0];
    EXPECT_STREQ(object.name, "a");
    EXPECT_STREQ(object.fileName, "a.lwo");
    ASSERT_EQ(object.surfaceCount, 2);
    EXPECT_STREQ(object.surfaces[0].name, "stone");
    EXPECT_STREQ(object.surfaces[1].name, "glass");
}

TEST(RecordTest, KnownKeyWithAnotherTypeIsReadAsTheExpectedOne) {
    const ScenePointer scene = readScene(
        top("SCEN", nested("PRPS", prop(2, "frameStart", beFloat(1)) +
                                       intProp("framesPerSecond", 0x41c80000) + stringProp("frameEnd", ""))) +
        top("BKDR", nested("PRPS", prop(2, "sky", beFloat(0.5f)))));
    ASSERT_NE(scene, nullptr);
    EXPECT_EQ(scene->globals->frameStart, 0x3f800000);
    EXPECT_EQ(scene->globals->framesPerSecond, 25.0f);
    EXPECT_EQ(scene->globals->frameEnd, 0);
    EXPECT_EQ(scene->backdrop->sky[0], 0.5f);
    EXPECT_EQ(scene->backdrop->sky[1], 0.0f);
}

TEST(RecordTest, SurfaceSlots) {
    const struct {
        int slot;
        uint32_t kind;
        std::string key;
    } slots[] = {{0, 0, "BaseColor"},
                 {1, 1, "Luminosity"},
                 {2, 1, "Diffuse"},
                 {3, 1, "Specularity"},
                 {4, 1, "Reflectivity"},
                 {5, 1, "Transparency"},
                 {6, 1, "Translucency"},
                 {7, 1, "IOR"},
                 {8, 1, "Bump"},
                 {9, 1, "Glossiness"},
                 {17, 1, "ReflectionSeamAngle"},
                 {25, 1, "GlowValue"},
                 {27, 1, "LineSize"},
                 {29, 2, "ReflectionOptions"},
                 {31, 2, "Sidedness"},
                 {34, 2, "RenderOutlines"},
                 {35, 2, "ReflectionImage"}};
    std::string props;
    for (const auto& [slot, kind, key] : slots) {
        const std::string color = beFloat(static_cast<float>(slot + 1)) + beFloat(0.25f) + beFloat(0.5f);
        props += kind == 2 ? intProp(key, slot + 1)
                           : prop(kind == 0 ? 4 : 2, key, color.substr(0, kind == 0 ? 12 : 4));
        props += stringProp(key + "_tex_image", key + ".png") + intProp(key + "_tex_proj", slot + 100) +
                 intProp(key + "_tex_other", -1);
    }
    for (const char* passedOver : {"AlphaOptions", "RefractionOptions", "BaseColor2", "basecolor", "Bum"})
        props += intProp(passedOver, 77);
    const ScenePointer scene = readScene(top("SOBJ", nested("SURF", nested("PRPS", props))));
    ASSERT_NE(scene, nullptr);
    const auto& params = scene->sceneObjects[0].surfaces[0].params;
    int filled = 0;
    for (const QbSurfaceParam& param : params)
        filled += param.kind || param.textureImage || param.integer;
    EXPECT_EQ(filled, static_cast<int>(std::size(slots)));
    for (const auto& [slot, kind, key] : slots) {
        SCOPED_TRACE(key);
        const QbSurfaceParam& param = params[slot];
        EXPECT_EQ(param.kind, kind);
        EXPECT_EQ(param.integer, kind == 2 ? slot + 1 : 0);
        EXPECT_EQ(param.color[0], kind == 2 ? 0.0f : static_cast<float>(slot + 1));
        EXPECT_EQ(param.color[1], kind == 0 ? 0.25f : 0.0f);
        EXPECT_EQ(param.color[2], kind == 0 ? 0.5f : 0.0f);
        EXPECT_EQ(param.textureProjection, slot + 100);
        EXPECT_EQ(param.textureImage, key + ".png");
    }
}

TEST(RecordTest, RecordsSurviveTheGrowthOfTheirArrays) {
    std::string chunks;
    for (int i = 0; i < 40; ++i) {
        const std::string number = std::to_string(i);
        for (const char* tag : {"OBJE", "LIGH", "CAME", "FXEM"})
            chunks += top(tag, name(tag + number));
        std::string surfaces, channels;
        for (int j = 0; j < i; ++j) {
            const std::string inner = std::to_string(j);
            surfaces += nested("SURF", name("s" + inner));
            channels +=
                chan("v" + inner, static_cast<uint32_t>(j), run(1, 1)) + nested("CGRP", name("g" + inner));
        }
        chunks += top("SOBJ", name("so" + number) + surfaces) + top("CGRP", name("g" + number) + channels);
    }
    const ScenePointer scene = readScene(chunks);
    ASSERT_NE(scene, nullptr);
    for (const int32_t count : {scene->objectCount, scene->lightCount, scene->cameraCount,
                                scene->sceneObjectCount, scene->emitterCount, scene->groupCount})
        ASSERT_EQ(count, 40);
    for (int i = 0; i < 40; ++i) {
        const std::string number = std::to_string(i);
        EXPECT_EQ(scene->objects[i].name, "OBJE" + number);
        EXPECT_EQ(scene->lights[i].name, "LIGH" + number);
        EXPECT_EQ(scene->cameras[i].name, "CAME" + number);
        EXPECT_EQ(scene->emitters[i].name, "FXEM" + number);
        EXPECT_EQ(scene->objects[i].motionGroup, nullptr);
        const QbSceneObject& object = scene->sceneObjects[i];
        const QbChannelGroup& group = scene->groups[i];
        ASSERT_EQ(object.surfaceCount, i);
        ASSERT_EQ(group.channelCount, i);
        ASSERT_EQ(group.groupCount, i);
        for (int j = 0; j < i; ++j) {
            const std::string inner = std::to_string(j);
            EXPECT_EQ(object.surfaces[j].name, "s" + inner);
            EXPECT_EQ(object.surfaces[j].shaderParams, nullptr);
            EXPECT_EQ(group.channels[j].name, "v" + inner);
            EXPECT_EQ(group.channels[j].type, static_cast<uint32_t>(j));
            EXPECT_EQ(group.groups[j].name, "g" + inner);
        }
    }
}

TEST(RecordTest, TheScenesOwnChannelIsTheLastOne) {
    const std::string second = chan("renderCamera", 2, run(10, 3));
    const ScenePointer scene =
        readScene(top("SCEN", chan("early", 5, run(1, 1)) + second) + top("CGRP", name("MC")));
    ASSERT_NE(scene, nullptr);
    EXPECT_STREQ(scene->globals->renderChannelName, "renderCamera");
    EXPECT_EQ(scene->globals->renderChannelType, 2u);
    EXPECT_EQ(dumpquab_ext_vals_get_value(scene->file, scene->globals->renderChannel.vals, 9), 3.0f);
    EXPECT_EQ(scene->groups[0].channelCount, 0);
}

TEST(RecordTest, GroupsNestFiveDeep) {
    for (const int depth : {5, 6, 8}) {
        SCOPED_TRACE(depth);
        const ScenePointer scene = readScene(groups(depth, "") + top("CGRP", name("next")));
        ASSERT_NE(scene, nullptr);
        ASSERT_EQ(scene->groupCount, 2);
        EXPECT_STREQ(scene->groups[1].name, "next");
        const QbChannelGroup* group = &scene->groups[0];
        for (int level = 1; level <= 5; ++level) {
            EXPECT_EQ(group->name, "level" + std::to_string(level));
            ASSERT_EQ(group->channelCount, 1);
            EXPECT_EQ(group->channels[0].name, "c" + std::to_string(level));
            EXPECT_EQ(dumpquab_ext_vals_get_value(scene->file, group->channels[0].vals, 0), 1.0f);
            ASSERT_EQ(group->groupCount, level < 5 ? 1 : 0);
            group = group->groups;
        }
    }
}

TEST(RecordTest, WhatIsDroppedLeavesTheGroupsAroundItAlone) {
    const std::string sixth = nested("CGRP", name("sixth") + chan("lost", 1, run(1, 1)));
    const ScenePointer scene = readScene(groups(5, sixth + chan("behind", 7, run(1, 4))));
    ASSERT_NE(scene, nullptr);
    const QbChannelGroup& fifth = scene->groups[0].groups[0].groups[0].groups[0].groups[0];
    EXPECT_STREQ(fifth.name, "level5");
    ASSERT_EQ(fifth.channelCount, 2);
    EXPECT_STREQ(fifth.channels[1].name, "behind");
    EXPECT_EQ(fifth.channels[1].type, 7u);
}

TEST(RecordTest, RefusedFilesGiveNull) {
    const TemporaryDirectory dir;
    dir.write("a.quab", "FORM");
    dir.write("b.quab", form(top("OBJE", name("a")) + top("CGRP", "VALS")));
    const Messages messages;
    EXPECT_EQ(qbSceneRead(nullptr), nullptr);
    EXPECT_EQ(qbSceneRead("absent.quab"), nullptr);
    EXPECT_EQ(qbSceneRead("a.quab"), nullptr);
    EXPECT_EQ(Messages::texts().size(), 0u);
    EXPECT_EQ(qbSceneRead("b.quab"), nullptr);
    ASSERT_EQ(Messages::texts().size(), 1u);
    EXPECT_EQ(Messages::texts()[0],
              "b.quab: damaged scene file, byte 36: 4 bytes are left in CGRP, a chunk's header has 6");
}

TEST(RecordTest, SamplesAreNotLookedAtWhileReading) {
    const ScenePointer scene = readScene(top("CGRP", chan("X", 1, nested("VRUN", be32(5)))));
    ASSERT_NE(scene, nullptr);
    EXPECT_EQ(dumpquab_ext_vals_get_value(scene->file, scene->groups[0].channels[0].vals, 0), 0.0f);
}

TEST(RecordTest, RecordsAreBoundedByTheFile) {
    // 300 KB of empty surfaces would take more than 200 MB.
    std::string surfaces;
    for (int i = 0; i < 50'000; ++i)
        surfaces += nested("SURF", "");
    const Messages messages;
    EXPECT_EQ(readScene(top("SOBJ", surfaces)), nullptr);
    ASSERT_EQ(Messages::texts().size(), 1u);
    EXPECT_TRUE(
        Messages::texts()[0].ends_with(": damaged scene file: more records than a file of its size can hold"))
        << Messages::texts()[0];
    EXPECT_NE(readScene(top("SOBJ", surfaces.substr(0, 6 * 4'000))), nullptr);
}

TEST(MeshFileNameTest, Names) {
    const std::string longest = std::string(246, 's');
    const struct {
        std::string fileName;
        const char* objectName;
        std::string expected;
    } cases[] = {
        {"ville.lwo", "ville:Layer2", "ville.layer2.x"},
        {"ville.lwo", "ville", "ville.layer1.x"},
        {"ville.lwo", nullptr, "ville.layer1.x"},
        {"ville.lwo", "Ville:Layer2", "ville.layer1.x"},
        {"ville.lwo", "ville:layer2", "ville.layer1.x"},
        {"ville.lwo", "ville:Layerx", "ville.layer1.x"},
        {"ville.lwo", "ville:Layer12 (3)", "ville.layer12.x"},
        {"ville.lwo", "ville:Layer 2", "ville.layer2.x"},
        {"ville.lwo", "ville:Layer+2", "ville.layer2.x"},
        {"ville.lwo", "ville:Layer-2", "ville.layer-2.x"},
        {"ville.lwo", "ville:Layer+-2", "ville.layer1.x"},
        {"ville.lwo", "ville:Layer99999999999", "ville.layer1.x"},
        {"Objects/ville.lwo", "ville:Layer2", "Objects/ville.layer1.x"},
        {"old town.lwo", "old  town:Layer3", "old town.layer3.x"},
        {"ville.lwo.lwo", "ville:Layer2", "ville.layer2.x"},
        {".lwo", ":Layer4", ".layer4.x"},
        {"ville.LWO", "ville:Layer2", "ville.LWO"},
        {"ville", "ville:Layer2", "ville"},
        {"", "ville", ""},
        {"%s%n.lwo", "abc:Layer2", "%s%n.layer1.x"},
        {"%d.lwo", "7:Layer2", "%d.layer1.x"},
        {"%d.lwo", "%d:Layer2", "%d.layer2.x"},
        {longest + ".lwo", nullptr, longest + ".layer1.x"},
    };
    const Messages messages;
    QbObject object = {};
    for (const auto& c : cases) {
        object.fileName = c.fileName.c_str();
        object.name = c.objectName;
        EXPECT_EQ(qbSceneMeshFileName(&object), c.expected) << (c.objectName ? c.objectName : "null");
    }
    object.fileName = nullptr;
    EXPECT_STREQ(qbSceneMeshFileName(&object), "");
    EXPECT_STREQ(qbSceneMeshFileName(nullptr), "");
    EXPECT_TRUE(Messages::texts().empty());

    const std::string tooLong = longest + "s.lwo";
    object.fileName = tooLong.c_str();
    EXPECT_STREQ(qbSceneMeshFileName(&object), "");
    EXPECT_EQ(Messages::texts(),
              std::vector<std::string>{
                  "The mesh file name of \"" + tooLong +
                  "\" would be longer than 255 characters: give the object file a shorter name"});
}
