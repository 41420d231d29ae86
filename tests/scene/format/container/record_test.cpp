#include "scene/format/scene.h"

#include "scene/format/container/chunks.h"

#include <gtest/gtest.h>

namespace {

struct SceneDeleter {
    void operator()(QbScene* scene) const { qbSceneRecordFree(scene); }
};
using ScenePointer = std::unique_ptr<QbScene, SceneDeleter>;

ScenePointer readScene(const std::string& chunks) {
    const TempDir dir;
    return ScenePointer(qbSceneRead(dir.write("a.quab", form(chunks)).c_str()));
}

// --- fields: every property of a record gets the numbers that its row counts off

struct Field {
    const char* owner;
    const char* key;
    uint32_t type;
    const void* (*at)(const QbScene&);
};

#define QB_AT(expression) [](const QbScene& s) -> const void* { return &(expression); }
#define QB_ARRAY_AT(expression) [](const QbScene& s) -> const void* { return (expression); }

const Field fields[] = {
    {"SCEN", "frameStart", 1, QB_AT(s.globals->frameStart)},
    {"SCEN", "frameEnd", 1, QB_AT(s.globals->frameEnd)},
    {"SCEN", "framesPerSecond", 2, QB_AT(s.globals->framesPerSecond)},
    {"SCEN", "renderOpts", 1, QB_AT(s.globals->renderOpts)},
    {"BKDR", "type", 1, QB_AT(s.backdrop->type)},
    {"BKDR", "zenith", 4, QB_ARRAY_AT(s.backdrop->zenith)},
    {"BKDR", "sky", 4, QB_ARRAY_AT(s.backdrop->sky)},
    {"BKDR", "ground", 4, QB_ARRAY_AT(s.backdrop->ground)},
    {"BKDR", "nadir", 4, QB_ARRAY_AT(s.backdrop->nadir)},
    {"BKDR", "squeeze", 6, QB_ARRAY_AT(s.backdrop->squeeze)},
    {"PROC", "LimitDynamicRange", 1, QB_AT(s.processing->limitDynamicRange)},
    {"PROC", "DitherIntensity", 1, QB_AT(s.processing->ditherIntensity)},
    {"PROC", "AnimatedDither", 1, QB_AT(s.processing->animatedDither)},
    {"PROC", "ColorSaturation", 2, QB_AT(s.processing->colorSaturation)},
    {"PROC", "GlowEffect", 1, QB_AT(s.processing->glowEffect)},
    {"PROC", "GlowIntensity", 2, QB_AT(s.processing->glowIntensity)},
    {"PROC", "GlowRadius", 2, QB_AT(s.processing->glowRadius)},
    {"OBJE", "numPoints", 1, QB_AT(s.objects[0].numPoints)},
    {"OBJE", "numPolygons", 1, QB_AT(s.objects[0].numPolygons)},
    {"OBJE", "shadowOpts", 1, QB_AT(s.objects[0].shadowOpts)},
    {"OBJE", "flags", 1, QB_AT(s.objects[0].flags)},
    {"LIGH", "ambient", 4, QB_ARRAY_AT(s.lights[0].ambient)},
    {"LIGH", "type", 1, QB_AT(s.lights[0].type)},
    {"LIGH", "shadowType", 1, QB_AT(s.lights[0].shadowType)},
    {"LIGH", "coneAngles", 6, QB_ARRAY_AT(s.lights[0].coneAngles)},
    {"LIGH", "flags", 1, QB_AT(s.lights[0].flags)},
    {"LIGH", "range", 2, QB_AT(s.lights[0].range)},
    {"LIGH", "falloff", 1, QB_AT(s.lights[0].falloff)},
    {"LIGH", "rawColor", 4, QB_ARRAY_AT(s.lights[0].rawColor)},
    {"LIGH", "intensity", 2, QB_AT(s.lights[0].intensity)},
    {"LIGH", "shadowColor", 4, QB_ARRAY_AT(s.lights[0].shadowColor)},
    {"CAME", "zoomFactor", 2, QB_AT(s.cameras[0].zoomFactor)},
    {"CAME", "focalLength", 2, QB_AT(s.cameras[0].focalLength)},
    {"CAME", "focalDistance", 2, QB_AT(s.cameras[0].focalDistance)},
    {"CAME", "fStop", 2, QB_AT(s.cameras[0].fStop)},
    {"CAME", "blurLength", 2, QB_AT(s.cameras[0].blurLength)},
    {"CAME", "fovAngles", 6, QB_ARRAY_AT(s.cameras[0].fovAngles)},
    {"CAME", "flags", 1, QB_AT(s.cameras[0].flags)},
    {"CAME", "resolution", 5, QB_ARRAY_AT(s.cameras[0].resolution)},
    {"CAME", "pixelAspect", 2, QB_AT(s.cameras[0].pixelAspect)},
    {"CAME", "separation", 2, QB_AT(s.cameras[0].separation)},
    {"FXEM", "GeneratorSize", 4, QB_ARRAY_AT(s.emitters[0].generatorSize)},
    {"FXEM", "CenterPosition", 4, QB_ARRAY_AT(s.emitters[0].centerPosition)},
    {"FXEM", "ParticleLimit", 1, QB_AT(s.emitters[0].particleLimit)},
    {"FXEM", "Velocity", 4, QB_ARRAY_AT(s.emitters[0].velocity)},
    {"FXEM", "Gravity", 4, QB_ARRAY_AT(s.emitters[0].gravity)},
    {"FXEM", "BirthRate", 2, QB_AT(s.emitters[0].birthRate)},
    {"FXEM", "LifeTime", 6, QB_ARRAY_AT(s.emitters[0].lifeTime)},
    {"FXEM", "Explosion", 2, QB_AT(s.emitters[0].explosion)},
    {"FXEM", "VelocityP", 2, QB_AT(s.emitters[0].velocityP)},
    {"FXEM", "StartFrame", 1, QB_AT(s.emitters[0].startFrame)},
    {"FXEM", "Fixed", 1, QB_AT(s.emitters[0].fixed)},
    {"FXEM", "Weight", 6, QB_ARRAY_AT(s.emitters[0].weight)},
    {"FXEM", "Resistance", 6, QB_ARRAY_AT(s.emitters[0].resistance)},
    {"FXEM", "Size", 6, QB_ARRAY_AT(s.emitters[0].size)},
    {"FXEM", "HyperVoxelParticleSize", 2, QB_AT(s.emitters[0].hyperVoxelParticleSize)},
};

bool isFloat(uint32_t type) {
    return type == QB_PROP_FLOAT || type == QB_PROP_FLOAT2 || type == QB_PROP_FLOAT3;
}

int wordCount(uint32_t type) {
    return type == QB_PROP_FLOAT3 ? 3 : type >= QB_PROP_INT2 ? 2 : 1;
}

int numberOf(size_t row, int word) {
    return static_cast<int>(row) * 10 + word + 1;
}

std::string propsOf(const std::string& owner) {
    std::string props = intProp("unknown key", 99);
    for (size_t row = 0; row < std::size(fields); ++row) {
        const Field& field = fields[row];
        if (owner != field.owner) continue;
        std::string value;
        for (int word = 0; word < wordCount(field.type); ++word) {
            const int number = numberOf(row, word);
            value += isFloat(field.type) ? beFloat(static_cast<float>(number))
                                         : be32(static_cast<uint32_t>(number));
        }
        props += prop(field.type, field.key, value);
    }
    return nested("PRPS", props);
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
    const ScenePointer scene =
        readScene(top("SCEN", propsOf("SCEN")) + top("BKDR", propsOf("BKDR")) + top("PROC", propsOf("PROC")) +
                  top("OBJE", propsOf("OBJE")) + top("LIGH", propsOf("LIGH")) + top("CAME", propsOf("CAME")) +
                  top("FXEM", propsOf("FXEM")));
    ASSERT_NE(scene, nullptr);
    for (size_t row = 0; row < std::size(fields); ++row) {
        const Field& field = fields[row];
        SCOPED_TRACE(std::string(field.owner) + " " + field.key);
        for (int word = 0; word < wordCount(field.type); ++word) {
            const auto expected = numberOf(row, word);
            if (isFloat(field.type))
                EXPECT_EQ(static_cast<const float*>(field.at(*scene))[word], static_cast<float>(expected));
            else
                EXPECT_EQ(static_cast<const int32_t*>(field.at(*scene))[word], expected);
        }
    }
}

TEST(RecordTest, NamesAndStrings) {
    const ScenePointer scene = readScene(
        top("SCEN", name("scene") + fnam("scene.lws")) + top("OBJE", name("a:Layer1") + fnam("a.lwo")) +
        top("LIGH", name("first") + name("sun")) + top("CAME", name("eye")) +
        top("FXEM", name("rain") + nested("PRPS", stringProp("HyperVoxelImage", "drop.png"))) +
        top("FXEM", "") +
        top("SOBJ",
            nested("SURF", name("stone")) + name("a") + nested("SURF", name("glass")) + fnam("a.lwo")));
    ASSERT_NE(scene, nullptr);
    EXPECT_STREQ(scene->globals->name, "scene");
    EXPECT_STREQ(scene->globals->fileName, "scene.lws");
    EXPECT_STREQ(scene->objects[0].name, "a:Layer1");
    EXPECT_STREQ(scene->objects[0].fileName, "a.lwo");
    EXPECT_STREQ(scene->lights[0].name, "sun");
    EXPECT_STREQ(scene->cameras[0].name, "eye");
    ASSERT_EQ(scene->emitterCount, 2);
    EXPECT_STREQ(scene->emitters[0].name, "rain");
    EXPECT_STREQ(scene->emitters[0].hyperVoxelImage, "drop.png");
    EXPECT_EQ(scene->emitters[1].name, nullptr);
    EXPECT_EQ(scene->emitters[1].hyperVoxelImage, nullptr);
    EXPECT_STREQ(scene->sceneObjects[0].name, "a");
    EXPECT_STREQ(scene->sceneObjects[0].fileName, "a.lwo");
    ASSERT_EQ(scene->sceneObjects[0].surfaceCount, 2);
    EXPECT_STREQ(scene->sceneObjects[0].surfaces[0].name, "stone");
    EXPECT_STREQ(scene->sceneObjects[0].surfaces[1].name, "glass");
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
        const char* key;
        uint32_t kind;
    } slots[] = {{0, "BaseColor", 0},
                 {1, "Luminosity", 1},
                 {2, "Diffuse", 1},
                 {3, "Specularity", 1},
                 {4, "Reflectivity", 1},
                 {5, "Transparency", 1},
                 {6, "Translucency", 1},
                 {7, "IOR", 1},
                 {8, "Bump", 1},
                 {9, "Glossiness", 1},
                 {17, "ReflectionSeamAngle", 1},
                 {25, "GlowValue", 1},
                 {27, "LineSize", 1},
                 {29, "ReflectionOptions", 2},
                 {31, "Sidedness", 2},
                 {34, "RenderOutlines", 2},
                 {35, "ReflectionImage", 2}};
    std::string props;
    for (const auto& row : slots) {
        const auto number = static_cast<float>(row.slot);
        const std::string floats =
            beFloat(number + 1) + (row.kind == 0 ? beFloat(0.25f) + beFloat(0.5f) : "");
        props +=
            row.kind == 2 ? intProp(row.key, row.slot + 1) : prop(row.kind == 0 ? 4 : 2, row.key, floats);
        props += stringProp(std::string(row.key) + "_tex_image", std::string(row.key) + ".png");
        props += intProp(std::string(row.key) + "_tex_proj", row.slot + 100);
        props += intProp(std::string(row.key) + "_tex_other", -1);
    }
    for (const char* passedOver : {"AlphaOptions", "RefractionOptions", "BaseColor2", "basecolor", "Bum"})
        props += intProp(passedOver, 77);
    const ScenePointer scene = readScene(top("SOBJ", nested("SURF", nested("PRPS", props))));
    ASSERT_NE(scene, nullptr);
    const QbSurface& surface = scene->sceneObjects[0].surfaces[0];
    QbSurfaceParam untouched[QB_SURFACE_PARAM_COUNT] = {};
    for (const auto& row : slots) {
        SCOPED_TRACE(row.key);
        const QbSurfaceParam& param = surface.params[row.slot];
        EXPECT_EQ(param.kind, row.kind);
        EXPECT_EQ(param.integer, row.kind == 2 ? row.slot + 1 : 0);
        EXPECT_EQ(param.color[0], row.kind == 2 ? 0.0f : static_cast<float>(row.slot + 1));
        EXPECT_EQ(param.color[1], row.kind == 0 ? 0.25f : 0.0f);
        EXPECT_EQ(param.color[2], row.kind == 0 ? 0.5f : 0.0f);
        EXPECT_EQ(param.textureProjection, row.slot + 100);
        EXPECT_STREQ(param.textureImage, (std::string(row.key) + ".png").c_str());
        untouched[row.slot].kind = 1;
    }
    for (int slot = 0; slot < QB_SURFACE_PARAM_COUNT; ++slot) {
        if (untouched[slot].kind == 1 || slot == 0) continue;
        EXPECT_EQ(surface.params[slot].kind, 0u) << slot;
        EXPECT_EQ(surface.params[slot].textureImage, nullptr) << slot;
    }
}

TEST(RecordTest, AnImageWithoutItsColour) {
    const ScenePointer scene =
        readScene(top("SOBJ", nested("SURF", nested("PRPS", stringProp("BaseColor_tex_image", "a.png")))));
    ASSERT_NE(scene, nullptr);
    const QbSurfaceParam& color = scene->sceneObjects[0].surfaces[0].params[QB_SURFACE_BASE_COLOR];
    EXPECT_STREQ(color.textureImage, "a.png");
    EXPECT_EQ(color.color[0] + color.color[1] + color.color[2], 0.0f);
}

TEST(RecordTest, RecordsSurviveTheGrowthOfTheirArrays) {
    std::string chunks;
    for (int i = 0; i < 40; ++i) {
        const std::string number = std::to_string(i);
        chunks += top("OBJE", name("o" + number)) + top("LIGH", name("l" + number)) +
                  top("CAME", name("c" + number)) + top("FXEM", name("f" + number));
        std::string surfaces, channels;
        for (int j = 0; j < i; ++j) {
            surfaces += nested("SURF", name("s" + std::to_string(j)));
            channels += chan("v" + std::to_string(j), static_cast<uint32_t>(j), run(1, 1));
            channels += nested("CGRP", name("g" + std::to_string(j)));
        }
        chunks += top("SOBJ", name("so" + number) + surfaces) + top("CGRP", name("g" + number) + channels);
        if (i == 4) {
            const ScenePointer five = readScene(chunks);
            ASSERT_NE(five, nullptr);
            EXPECT_EQ(five->objectCount, 5);
            EXPECT_STREQ(five->objects[4].name, "o4");
        }
    }
    const ScenePointer scene = readScene(chunks);
    ASSERT_NE(scene, nullptr);
    const int32_t counts[] = {scene->objectCount,      scene->lightCount,   scene->cameraCount,
                              scene->sceneObjectCount, scene->emitterCount, scene->groupCount};
    for (const int32_t count : counts)
        ASSERT_EQ(count, 40);
    for (int i = 0; i < 40; ++i) {
        const std::string number = std::to_string(i);
        EXPECT_EQ(scene->objects[i].name, "o" + number);
        EXPECT_EQ(scene->lights[i].name, "l" + number);
        EXPECT_EQ(scene->cameras[i].name, "c" + number);
        EXPECT_EQ(scene->emitters[i].name, "f" + number);
        EXPECT_EQ(scene->objects[i].motionGroup, nullptr);
        const QbSceneObject& object = scene->sceneObjects[i];
        const QbChannelGroup& group = scene->groups[i];
        ASSERT_EQ(object.surfaceCount, i);
        ASSERT_EQ(group.channelCount, i);
        ASSERT_EQ(group.groupCount, i);
        for (int j = 0; j < i; ++j) {
            EXPECT_EQ(object.surfaces[j].name, "s" + std::to_string(j));
            EXPECT_EQ(object.surfaces[j].shaderParams, nullptr);
            EXPECT_EQ(group.channels[j].name, "v" + std::to_string(j));
            EXPECT_EQ(group.channels[j].type, static_cast<uint32_t>(j));
            EXPECT_EQ(group.groups[j].name, "g" + std::to_string(j));
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
    const TempDir dir;
    const Messages messages;
    EXPECT_EQ(qbSceneRead(nullptr), nullptr);
    EXPECT_EQ(qbSceneRead(dir.path("absent.quab").c_str()), nullptr);
    EXPECT_EQ(qbSceneRead(dir.write("a.quab", "FORM").c_str()), nullptr);
    EXPECT_EQ(Messages::texts().size(), 0u);
    const std::string path = dir.write("b.quab", form(top("OBJE", name("a")) + top("CGRP", "VALS")));
    EXPECT_EQ(qbSceneRead(path.c_str()), nullptr);
    ASSERT_EQ(Messages::texts().size(), 1u);
    EXPECT_EQ(Messages::texts()[0],
              path + ": damaged scene file, byte 36: 4 bytes are left in CGRP, a chunk's header has 6");
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
    const std::string longStem(246, 's');
    const struct {
        const char *fileName, *objectName;
        std::string expected;
    } cases[] = {
        {"ville.lwo", "ville:Layer2", "ville.layer2.x"},
        {"ville.lwo", "ville", "ville.layer1.x"},
        {"ville.lwo", nullptr, "ville.layer1.x"},
        {nullptr, "ville:Layer2", ""},
        {"ville.lwo", "Ville:Layer2", "ville.layer1.x"},
        {"ville.lwo", "ville:layer2", "ville.layer1.x"},
        {"ville.lwo", "ville:Layer", "ville.layer1.x"},
        {"ville.lwo", "ville:Layerx", "ville.layer1.x"},
        {"ville.lwo", "ville:Layer12 (3)", "ville.layer12.x"},
        {"ville.lwo", "ville:Layer 2", "ville.layer2.x"},
        {"ville.lwo", "ville:Layer+2", "ville.layer2.x"},
        {"ville.lwo", "ville:Layer-2", "ville.layer-2.x"},
        {"ville.lwo", "ville:Layer+-2", "ville.layer1.x"},
        {"ville.lwo", "ville:Layer99999999999", "ville.layer1.x"},
        {"Objects/ville.lwo", "ville:Layer2", "Objects/ville.layer1.x"},
        {"old town.lwo", "old town:Layer3", "old town.layer3.x"},
        {"old town.lwo", "old  town:Layer3", "old town.layer3.x"},
        {"ville.lwo.lwo", "ville:Layer2", "ville.layer2.x"},
        {".lwo", ":Layer4", ".layer4.x"},
        {"ville.LWO", "ville:Layer2", "ville.LWO"},
        {"ville", "ville:Layer2", "ville"},
        {"", "ville", ""},
        {"100%.lwo", "100%:Layer2", "100%.layer2.x"},
        {"%s%n.lwo", "abc:Layer2", "%s%n.layer1.x"},
        {"%d.lwo", "7:Layer2", "%d.layer1.x"},
        {"%d.lwo", "%d:Layer2", "%d.layer2.x"},
    };
    for (const auto& c : cases) {
        QbObject object = {};
        object.fileName = c.fileName;
        object.name = c.objectName;
        EXPECT_EQ(qbSceneMeshFileName(&object), c.expected) << (c.fileName ? c.fileName : "null");
    }
    EXPECT_STREQ(qbSceneMeshFileName(nullptr), "");
}

TEST(MeshFileNameTest, LongestName) {
    const Messages messages;
    QbObject object = {};
    const std::string fits = std::string(246, 's') + ".lwo";
    object.fileName = fits.c_str();
    EXPECT_EQ(qbSceneMeshFileName(&object), std::string(246, 's') + ".layer1.x");
    EXPECT_EQ(Messages::texts().size(), 0u);
    const std::string tooLong = std::string(247, 's') + ".lwo";
    object.fileName = tooLong.c_str();
    EXPECT_STREQ(qbSceneMeshFileName(&object), "");
    ASSERT_EQ(Messages::texts().size(), 1u);
    EXPECT_EQ(Messages::texts()[0],
              "The mesh file name of \"" + tooLong +
                  "\" would be longer than 255 characters: give the object file a shorter name");
}
