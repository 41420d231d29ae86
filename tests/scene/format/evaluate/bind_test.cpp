#include "scene/format/channel.h"
#include "scene/format/container/chunks.h"

#include <gtest/gtest.h>

#include <memory>

// The names of all channels are checked by the round trip of the scene writer's tests. Here a channel's one
// sample tells which one was bound; 0 is none.

namespace {

std::string value(const std::string& text, float sample) {
    return chan(text, 3, run(1, sample));
}
std::string group(const std::string& text, const std::string& members) {
    return nested("CGRP", name(text) + members);
}
std::string topGroup(const std::string& text, const std::string& members) {
    return top("CGRP", name(text) + members);
}

// From the last channel to the first: their order in the file does not count.
std::string motion(float base) {
    std::string members;
    for (const char* text : {"Position.X", "Position.Y", "Position.Z", "Rotation.H", "Rotation.P",
                             "Rotation.B", "Scale.X", "Scale.Y", "Scale.Z"})
        members = value(text, base++) + members;
    return members;
}

struct BindTest : testing::Test {
    std::unique_ptr<Image> image;
    QbScene* scene = nullptr;

    void read(const std::string& chunks) {
        image = std::make_unique<Image>(form(chunks));
        scene = image->scene();
        ASSERT_NE(scene, nullptr);
    }
    float at(const QbChannelRef& channel) const { return qbChannelSample(scene, &channel, 0); }
    void expectMotion(const QbMotionChannels& channels, float base) const {
        for (int i = 0; i < 9; i++)
            EXPECT_EQ(at(channels.channels[i]), base ? base + static_cast<float>(i) : 0) << i;
    }
};

TEST_F(BindTest, BindsItemsByTheirWorldGroupFirst) {
    // Of equal names the first in the file counts, in small groups and in those that are searched by an
    // index.
    const std::string again = value("Position.X", 900) + value("Scale.X", 901);
    std::string crowd;
    for (int i = 0; i < 100; i++)
        crowd += value("Other", 8);
    read(top("OBJE", name("Tree") + fnam("f")) + top("OBJE", name("Rock")) + top("OBJE", fnam("f")) +
         top("SOBJ", name("Rock")) + top("SOBJ", name("one") + fnam("f")) + top("SOBJ", fnam("f")) +
         top("LIGH", name("Dark")) + top("LIGH", name("Still")) + top("LIGH", "") +
         top("CAME", name("Still")) + top("FXEM", name("Tree")) + top("CGRP", "") + topGroup("global", "") +
         topGroup("Global", nested("CHAN", "") + value("AmbientColor.G", 5)) +
         topGroup("Tree", value("Position.X", 1)) + topGroup("Quab.World:Tree", crowd + motion(100) + again) +
         topGroup("Quab.World:Tree", motion(900)) + topGroup("Quab.World:", motion(950)) +
         topGroup("Quab.World:Dark", motion(300) + again) +
         topGroup("Still", value("Range", 38) + value("ZoomFactor", 39)));
    expectMotion(scene->emitters[0].motion, 100);
    expectMotion(scene->objects[0].motion, 100);
    expectMotion(scene->lights[0].motion, 300);
    EXPECT_EQ(scene->lights[0].group, nullptr) << "motion, but constant colour";
    EXPECT_EQ(at(scene->lights[1].rangeChannel), 0) << "without a world group the plain one is not used";
    EXPECT_EQ(at(scene->cameras[0].zoomChannel), 0);
    EXPECT_EQ(at(scene->lights[2].ambientChannels[1]), 5) << "for every light alike";
    EXPECT_EQ(scene->objects[0].sceneObject, &scene->sceneObjects[1]) << "the first that shares the file";
    EXPECT_EQ(scene->objects[1].sceneObject, nullptr) << "not by name";
    EXPECT_EQ(scene->objects[2].sceneObject, nullptr) << "an item without a name is passed over";
    expectMotion(scene->objects[2].motion, 0);
}

// Names at the limit and one behind it: of a file, a function and a parameter.
TEST_F(BindTest, ReadsShaderNodesAndCutsWhatDoesNotFit) {
    for (const size_t extra : {0u, 1u}) {
        const Messages messages;
        const std::string n63(63 + extra, 's'), n67(67 + extra, 'p');
        std::string nodes =
            nested("CGRP", "") + group("ShaderVertexFunction:" + n63, "") + group("shader:lower.hlsl", "") +
            group("ShaderParam:no:scalar (1)", value("Vector", 52)) + group("ShaderParam:" + n67, "");
        for (size_t i = 2; i < 10 + extra; i++)
            nodes += group("ShaderParam:p", value("Scalar", static_cast<float>(i)));
        const std::string last = group("Shader:" + n63, "") + group("ShaderPixelFunction:main (1)", "");
        read(top("SOBJ", name("o") + nested("SURF", name("S")) + nested("SURF", name("T"))) +
             top("SOBJ", name("x")) + topGroup("S", group("Nodes", nodes)) +
             topGroup("Surfaces", group("o", group("S", value("Diffuse", 7) + group("Nodes", nodes + last))) +
                                      group("x", group("T", ""))));
        const QbSurface& s = scene->sceneObjects[0].surfaces[0];
        EXPECT_EQ(at(s.params[QB_SURFACE_DIFFUSE].channels[0]), 7);
        EXPECT_EQ(s.hasShader, 1) << "the nodes behind the last parameter still count";
        EXPECT_EQ(s.shaderName, std::string(63, 's'));
        EXPECT_EQ(s.shaderVertexFunction, std::string(63, 's'));
        EXPECT_STREQ(s.shaderPixelFunction, "main");
        ASSERT_EQ(s.shaderParamCount, 10);
        EXPECT_STREQ(s.shaderParams[0].name, "no:scalar");
        EXPECT_EQ(s.shaderParams[0].channel.vals, 0u);
        EXPECT_EQ(s.shaderParams[1].name, std::string(67, 'p'));
        EXPECT_EQ(at(s.shaderParams[9].channel), 9);
        EXPECT_EQ((&s)[1].group, nullptr) << "another scene object's surface";
        const std::string cut = "A scene: surface \"S\": \"ShaderVertexFunction:" + n63 +
                                "\" is too long and is cut: a shader's file and functions have at most 63 "
                                "characters, its parameters 67";
        EXPECT_EQ(Messages::texts(), std::vector(extra, cut)) << "once, whatever else does not fit";
    }
    const Messages messages;
    std::string nodes = group("ShaderPixelFunction:p", "");
    for (int i = 0; i < 11; i++)
        nodes += group("ShaderParam:p" + std::to_string(i), "");
    read(top("SCEN", fnam("ville.lws")) + top("SOBJ", name("o") + nested("SURF", name("S"))) +
         topGroup("Surfaces", group("o", group("S", group("Nodes", nodes)))));
    EXPECT_EQ(scene->sceneObjects[0].surfaces[0].hasShader, 0) << "a function alone is no shader";
    const std::string wanted =
        "ville.lws: surface \"S\": \"ShaderParam:p10\" is one parameter too many: a shader takes 10, "
        "the others are left out";
    EXPECT_EQ(Messages::texts(), std::vector{wanted});
}

} // namespace
