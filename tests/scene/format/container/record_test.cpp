#include "scene/format/scene.h"

#include "scene/format/container/chunks.h"

#include <gtest/gtest.h>

// That every field comes from its property is shown by the round trip of the scene writer's tests.

namespace {

TEST(RecordTest, ReadsAKnownKeyAsItsOwnTypeAndPassesOverTheOthers) {
    std::string passedOver;
    for (const char* key : {"BaseColor2", "basecolor", "Bum", "Bump_tex_other", "AlphaOptions"})
        passedOver += intProp(key, 77);
    const std::string properties = prop(2, "frameStart", beFloat(1)) + stringProp("frameEnd", "") +
                                   intProp("framesPerSecond", 0x41c80000);
    Image image(form(top("SCEN", nested("PRPS", properties)) +
                     top("SOBJ", nested("SURF", nested("PRPS", passedOver)))));
    const QbScene* scene = image.scene();
    ASSERT_NE(scene, nullptr);
    EXPECT_EQ(scene->globals->frameStart, 0x3f800000);
    EXPECT_EQ(scene->globals->framesPerSecond, 25.0f);
    EXPECT_EQ(scene->globals->frameEnd, 0);
    for (const QbSurfaceParam& param : scene->sceneObjects[0].surfaces[0].params)
        EXPECT_TRUE(param.integer == 0 && param.color[0] == 0.0f);
}

// Each array grows by its own rule, past its first size and more than once.
TEST(RecordTest, RecordsSurviveTheGrowthOfTheirArrays) {
    constexpr int COUNT = 40;
    std::string items, surfaces, members;
    for (int i = 0; i < COUNT; ++i) {
        const std::string named = name(std::to_string(i));
        for (const char* tag : {"OBJE", "LIGH", "CAME", "FXEM", "CGRP", "SOBJ"})
            items += top(tag, named);
        surfaces += nested("SURF", named);
        members += nested("CHAN", named) + nested("CGRP", named);
    }
    Image image(form(items + top("SOBJ", surfaces) + top("CGRP", members)));
    const QbScene* s = image.scene();
    ASSERT_NE(s, nullptr);
    const QbSceneObject& file = s->sceneObjects[COUNT];
    const QbChannelGroup& group = s->groups[COUNT];
    for (const int32_t count :
         {s->objectCount, s->lightCount, s->cameraCount, s->sceneObjectCount - 1, s->emitterCount,
          s->groupCount - 1, file.surfaceCount, group.channelCount, group.groupCount})
        ASSERT_EQ(count, COUNT);
    for (int i = 0; i < COUNT; ++i) {
        for (const char* text : {s->objects[i].name, s->lights[i].name, s->cameras[i].name,
                                 s->sceneObjects[i].name, s->emitters[i].name, s->groups[i].name,
                                 file.surfaces[i].name, group.channels[i].name, group.groups[i].name})
            EXPECT_EQ(text, std::to_string(i));
        EXPECT_EQ(s->objects[i].motionGroup, nullptr) << "fresh records are zero";
    }
}

TEST(RecordTest, KeepsFiveLevelsOfGroupsAndDropsWhatIsDeeper) {
    std::string group = name("6") + nested("CGRP", name("7")) + chan("lost", 1, run(1, 1));
    for (int level = 5; level >= 1; --level)
        group = name(std::to_string(level)) + nested("CGRP", group) + chan("behind", 7, run(1, 4));
    Image image(form(top("CGRP", group) + top("CGRP", name("next"))));
    const QbScene* scene = image.scene();
    ASSERT_NE(scene, nullptr);
    ASSERT_EQ(scene->groupCount, 2);
    EXPECT_STREQ(scene->groups[1].name, "next");
    const QbChannelGroup* at = &scene->groups[0];
    for (int level = 1; level <= 5; ++level) {
        EXPECT_EQ(at->name, std::to_string(level));
        ASSERT_EQ(at->channelCount, 1);
        EXPECT_STREQ(at->channels[0].name, "behind");
        EXPECT_EQ(at->channels[0].type, 7u);
        ASSERT_EQ(at->groupCount, level < 5 ? 1 : 0);
        at = at->groups;
    }
}

TEST(RecordTest, LooksAtSamplesOnlyWhenTheyAreAskedFor) {
    Image image(form(top("CGRP", chan("X", 1, nested("VRUN", be32(5))))));
    const QbScene* scene = image.scene();
    ASSERT_NE(scene, nullptr);
    EXPECT_EQ(dumpquab_ext_vals_get_value(scene->file, scene->groups[0].channels[0].vals, 0), 0.0f);
}

TEST(RecordTest, RecordsAreBoundedByTheFile) {
    // 300 KB of empty surfaces would take more than 200 MB.
    std::string surfaces;
    for (int i = 0; i < 50'000; ++i)
        surfaces += nested("SURF", "");
    const Messages messages;
    EXPECT_EQ(Image(form(top("SOBJ", surfaces))).scene(), nullptr);
    const std::string wanted = "show.quab: damaged scene file: more records than a file of its size can hold";
    EXPECT_EQ(Messages::texts(), std::vector{wanted});
    EXPECT_NE(Image(form(top("SOBJ", surfaces.substr(0, 6 * 4'000)))).scene(), nullptr);
}

TEST(MeshFileNameTest, ComesFromTheFileAndTheLayer) {
    const std::string longest = std::string(246, 's'), tooLong = longest + "s.lwo";
    const struct {
        std::string fileName;
        const char* objectName;
        std::string expected;
    } CASES[] = {
        {"ville.lwo", "ville:Layer2", "ville.layer2.x"},
        {"ville.lwo", nullptr, "ville.layer1.x"},
        {"ville.lwo", "ville:Layer12 (3)", "ville.layer12.x"},
        {"ville.lwo", "ville:Layer +2", "ville.layer2.x"},
        {"ville.lwo", "ville:Layer99999999999", "ville.layer1.x"},
        {"old town.lwo", "old  town:Layer3", "old town.layer3.x"},
        {"ville.lwo.lwo", "ville:Layer2", "ville.layer2.x"},
        {"ville", "ville:Layer2", "ville"},
        {"%s%n.lwo", "abc:Layer2", "%s%n.layer1.x"},
        {longest + ".lwo", nullptr, longest + ".layer1.x"},
        {tooLong, nullptr, ""},
    };
    const Messages messages;
    for (const auto& c : CASES) {
        QbObject object{};
        object.fileName = c.fileName.c_str();
        object.name = c.objectName;
        EXPECT_EQ(qbSceneMeshFileName(&object), c.expected) << (c.objectName ? c.objectName : "null");
    }
    const std::string wanted = "The mesh file name of \"" + tooLong +
                               "\" would be longer than 255 characters: give the object file a shorter name";
    EXPECT_EQ(Messages::texts(), std::vector{wanted});
}

} // namespace
