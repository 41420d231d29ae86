#include "scene/format/channel.h"

#include "test_scene.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <deque>
#include <string>
#include <vector>

namespace {

// Offsets stand for channels here: binding never looks at samples.
struct Group {
    const char* name;
    std::vector<std::pair<const char*, uint32_t>> channels = {};
    std::vector<Group> children = {};
};

struct BindTest : testing::Test {
    std::deque<std::vector<QbChannel>> channelArrays;
    std::deque<std::vector<QbChannelGroup>> groupArrays;
    QbSceneGlobals globals{};
    QbProcessing processing{};
    QbScene scene{};
    std::vector<QbObject> objects;
    std::vector<QbLight> lights;
    std::vector<QbCamera> cameras;
    std::vector<QbEmitter> emitters;
    std::vector<QbSurface> surfaces;
    std::vector<QbSceneObject> sceneObjects;

    ~BindTest() override {
        for (const QbSurface& surface : surfaces)
            std::free(surface.shaderParams);
    }

    QbChannelGroup* build(const std::vector<Group>& groups) {
        std::vector<QbChannelGroup> built;
        for (const Group& group : groups) {
            auto& channels = channelArrays.emplace_back();
            for (const auto& [name, vals] : group.channels)
                channels.push_back({name, 0, vals});
            QbChannelGroup* children = build(group.children);
            built.push_back({group.name, static_cast<int32_t>(channels.size()), channels.data(),
                             static_cast<int32_t>(group.children.size()), children});
        }
        return groupArrays.emplace_back(std::move(built)).data();
    }

    void bind(const std::vector<Group>& groups) {
        scene.globals = &globals;
        scene.processing = &processing;
        scene.groups = build(groups);
        scene.groupCount = static_cast<int32_t>(groups.size());
        attach(objects, scene.objects, scene.objectCount);
        attach(lights, scene.lights, scene.lightCount);
        attach(cameras, scene.cameras, scene.cameraCount);
        attach(emitters, scene.emitters, scene.emitterCount);
        attach(sceneObjects, scene.sceneObjects, scene.sceneObjectCount);
        EXPECT_EQ(qbSceneBindChannels(&scene), 0);
    }

    // Two surfaces of one name with these shader nodes.
    void bindSurfaces(const Group& nodes) {
        for (const QbSurface& surface : surfaces)
            std::free(surface.shaderParams);
        surfaces = {named<QbSurface>("S"), named<QbSurface>("S")};
        sceneObjects = {named<QbSceneObject>("o")};
        attach(surfaces, sceneObjects[0].surfaces, sceneObjects[0].surfaceCount);
        bind({{"Surfaces", {}, {{"o", {}, {{"S", {}, {nodes}}}}}}});
    }

    template <class Record>
    static Record named(const char* text) {
        Record record{};
        record.name = text;
        return record;
    }
};

using Channels = std::vector<std::pair<const char*, uint32_t>>;

// Channels with offsets that count up.
Channels numbered(uint32_t first, std::initializer_list<const char*> names) {
    Channels channels;
    for (const char* text : names)
        channels.emplace_back(text, first++);
    return channels;
}

Channels motion(uint32_t base) {
    return {{"Scale.Z", base + 8},    {"Scale.Y", base + 7},    {"Scale.X", base + 6},
            {"Rotation.B", base + 5}, {"Rotation.P", base + 4}, {"Rotation.H", base + 3},
            {"Position.Z", base + 2}, {"Position.Y", base + 1}, {"Position.X", base}};
}

void expectMotion(const QbMotionChannels& channels, uint32_t base) {
    for (uint32_t i = 0; i < 9; i++)
        EXPECT_EQ(channels.channels[i].vals, base ? base + i : 0) << i;
}

using Offsets = std::vector<uint32_t>;

Offsets valsOf(std::initializer_list<QbChannelRef> channels) {
    Offsets offsets;
    for (const QbChannelRef& channel : channels)
        offsets.push_back(channel.vals);
    return offsets;
}

TEST_F(BindTest, FindsByExactNameTheFirstInTheFile) {
    bind({{nullptr},
          {"A", {{nullptr, 1}, {"x", 10}, {"x", 11}}, {{nullptr}, {"B", {{"y", 20}}}, {"B"}}},
          {"A"},
          {"a"}});
    const QbChannelGroup* a = qbFindGroup(&scene, "A");
    EXPECT_EQ(a, &scene.groups[1]);
    EXPECT_EQ(qbFindGroup(&scene, "AA"), nullptr);
    EXPECT_EQ(qbFindGroup(&scene, nullptr), nullptr);
    EXPECT_EQ(qbFindGroup(nullptr, "A"), nullptr);
    EXPECT_EQ(qbFindChildGroup(a, "B"), &a->groups[1]);
    EXPECT_EQ(qbFindChildGroup(nullptr, "B"), nullptr);
    EXPECT_EQ(qbFindChannel(a, "x"), 10u);
    EXPECT_EQ(qbFindChannel(a, "X"), 0u);
    EXPECT_EQ(qbFindChannel(nullptr, "x"), 0u);
}

TEST_F(BindTest, BindsSceneAndItems) {
    objects = {named<QbObject>("Tree"), named<QbObject>("Tree"), named<QbObject>("Rock"), QbObject{}};
    lights = {named<QbLight>("Lamp"), named<QbLight>("Dark"), named<QbLight>("Still")};
    cameras = {named<QbCamera>("Eye"), named<QbCamera>("Fixed")};
    emitters = {named<QbEmitter>("Smoke"), QbEmitter{}};
    bind({{"MC", {{"CameraSelector", 5}}},
          {"Global", numbered(11, {"ColorSaturation", "GlowIntensity", "GlowRadius", "AmbientColor.R",
                                   "AmbientColor.G", "AmbientColor.B"})},
          {"Tree", {{"Position.X", 1}}},
          {"Quab.World:Tree", motion(100)},
          {"Quab.World:Tree", motion(900)},
          {"Quab.World:", motion(950)},
          {"Quab.World:Lamp", motion(200)},
          {"Lamp",
           numbered(31, {"Range", "Color.R", "Color.G", "Color.B", "Intensity", "ConeAngle", "EdgeAngle"})},
          {"Quab.World:Dark", motion(300)},
          {"Still", {{"Range", 38}}},
          {"Quab.World:Eye", motion(400)},
          {"Eye", numbered(41, {"ZoomFactor", "FocalDistance", "FStop"})},
          {"Fixed", {{"ZoomFactor", 44}}},
          {"Quab.World:Smoke", motion(500)}});

    EXPECT_EQ(valsOf({globals.cameraSelector, processing.colorSaturationChannel,
                      processing.glowIntensityChannel, processing.glowRadiusChannel}),
              (Offsets{5, 11, 12, 13}));

    EXPECT_EQ(objects[0].motionGroup, &scene.groups[3]);
    expectMotion(objects[0].motion, 100);
    expectMotion(objects[1].motion, 100);
    expectMotion(objects[2].motion, 0);
    expectMotion(objects[3].motion, 0);
    EXPECT_EQ(objects[2].motionGroup, nullptr);

    for (const QbLight& light : lights) {
        const auto& ambient = light.ambientChannels;
        EXPECT_EQ(valsOf({ambient[0], ambient[1], ambient[2]}), (Offsets{14, 15, 16}));
    }
    const QbLight& lamp = lights[0];
    expectMotion(lamp.motion, 200);
    EXPECT_EQ(lamp.group, &scene.groups[7]);
    EXPECT_EQ(valsOf({lamp.rangeChannel, lamp.colorChannels[0], lamp.colorChannels[1], lamp.colorChannels[2],
                      lamp.intensityChannel, lamp.coneAngleChannel, lamp.edgeAngleChannel}),
              (Offsets{31, 32, 33, 34, 35, 36, 37}));
    expectMotion(lights[1].motion, 300);
    EXPECT_EQ(lights[1].group, nullptr) << "motion, but constant colour";
    EXPECT_EQ(lights[2].group, nullptr) << "without a world group the plain one is not looked for";
    EXPECT_EQ(lights[2].rangeChannel.vals, 0u);

    expectMotion(cameras[0].motion, 400);
    EXPECT_EQ(valsOf({cameras[0].zoomChannel, cameras[0].focalDistanceChannel, cameras[0].fStopChannel}),
              (Offsets{41, 42, 43}));
    EXPECT_EQ(cameras[1].zoomChannel.vals, 0u);

    expectMotion(emitters[0].motion, 500);
    expectMotion(emitters[1].motion, 0);
}

TEST_F(BindTest, LinksObjectsByFileName) {
    objects = {named<QbObject>("ville:Layer1"), named<QbObject>("ville:Layer2"), named<QbObject>("no file"),
               QbObject{}};
    objects[0].fileName = objects[1].fileName = objects[3].fileName = "ville.lwo";
    sceneObjects = {named<QbSceneObject>("no file"), named<QbSceneObject>("ville"),
                    named<QbSceneObject>("again")};
    sceneObjects[1].fileName = sceneObjects[2].fileName = "ville.lwo";
    bind({});
    EXPECT_EQ(objects[0].sceneObject, &sceneObjects[1]);
    EXPECT_EQ(objects[1].sceneObject, &sceneObjects[1]);
    EXPECT_EQ(objects[2].sceneObject, nullptr);
    EXPECT_EQ(objects[3].sceneObject, nullptr) << "an object without a name is passed over";
}

TEST_F(BindTest, BindsSurfacesAndTheirShaderNodes) {
    const std::string longName(200, 'n');
    const std::string longShader = "Shader:" + longName, longParam = "ShaderParam:" + longName;
    surfaces = {named<QbSurface>("Skin"), named<QbSurface>("Cut"), named<QbSurface>("Missing"), QbSurface{}};
    sceneObjects = {named<QbSceneObject>("elsewhere"), named<QbSceneObject>("ville")};
    attach(surfaces, sceneObjects[1].surfaces, sceneObjects[1].surfaceCount);
    const Group skinNodes = {"Nodes",
                             {},
                             {{nullptr},
                              {"ShaderVertexFunction:vertexMain (1)"},
                              {"ShaderPixelFunction:pixelMain"},
                              {"ShaderParam:glow (2)", {{"Scalar", 51}}},
                              {"shader:lower.hlsl"},
                              {"ShaderParam:no:scalar", {{"Vector", 52}}},
                              {"Shader:radialblur.hlsl (1)"}}};
    const Group cutNodes = {"Nodes", {}, {{"ShaderVertexFunction:alone"}, {longParam.c_str()}}};
    const Group secondNodes = {"Nodes", {}, {{"Shader:second"}}};
    const Channels skinChannels =
        numbered(1, {"Color.R", "Color.G", "Color.B", "Specular", "Refractive Index", "Bump_chanvals_ref",
                     "GlowIntensity", "PolygonOutlineSize", "Reflective"});
    const Group ville = {
        "ville", {}, {{"Skin", skinChannels, {skinNodes}}, {"Cut", {}, {cutNodes, secondNodes}}}};
    const Group elsewhere = {"elsewhere", {}, {{"Missing", {{"Diffuse", 98}}}}};
    bind({{"Skin", {{"Diffuse", 99}}}, {"Surfaces", {}, {ville, elsewhere}}});

    const QbSurface& skin = surfaces[0];
    ASSERT_NE(skin.group, nullptr);
    const struct {
        QbSurfaceSlot slot;
        Offsets offsets;
    } SLOTS[] = {{QB_SURFACE_BASE_COLOR, {1, 2, 3}},   {QB_SURFACE_SPECULARITY, {4, 0, 0}},
                 {QB_SURFACE_IOR, {5, 0, 0}},          {QB_SURFACE_BUMP, {6, 0, 0}},
                 {QB_SURFACE_GLOW_VALUE, {7, 0, 0}},   {QB_SURFACE_LINE_SIZE, {8, 0, 0}},
                 {QB_SURFACE_REFLECTIVITY, {9, 0, 0}}, {QB_SURFACE_DIFFUSE, {0, 0, 0}}};
    for (const auto& [slot, offsets] : SLOTS) {
        const auto& channels = skin.params[slot].channels;
        EXPECT_EQ(valsOf({channels[0], channels[1], channels[2]}), offsets) << slot;
    }
    EXPECT_EQ(skin.hasShader, 1);
    EXPECT_STREQ(skin.shaderName, "radialblur.hlsl");
    EXPECT_STREQ(skin.shaderVertexFunction, "vertexMain");
    EXPECT_STREQ(skin.shaderPixelFunction, "pixelMain");
    ASSERT_EQ(skin.shaderParamCount, 2);
    EXPECT_STREQ(skin.shaderParams[0].name, "glow");
    EXPECT_EQ(skin.shaderParams[0].channel.vals, 51u);
    EXPECT_STREQ(skin.shaderParams[1].name, "no:scalar");
    EXPECT_EQ(skin.shaderParams[1].channel.vals, 0u);

    EXPECT_EQ(surfaces[1].hasShader, 0);
    EXPECT_STREQ(surfaces[1].shaderVertexFunction, "alone");
    ASSERT_EQ(surfaces[1].shaderParamCount, 1);
    EXPECT_EQ(surfaces[1].shaderParams[0].name, std::string(67, 'n'));
    EXPECT_EQ(surfaces[2].group, nullptr) << "another scene object's surface";
    EXPECT_EQ(surfaces[3].group, nullptr);
}

TEST_F(BindTest, FindsTheSameInSmallAndInLargeGroups) {
    for (const size_t others : {53u, 54u, 300u}) {
        Group shared = {"Quab.World:Tree", motion(100)};
        shared.channels.insert(shared.channels.begin(), {nullptr, 7u});
        shared.channels.insert(shared.channels.begin(), others - 1, {"Other", 8u});
        shared.channels.insert(shared.channels.end(), {{"Position.X", 900u}, {"Scale.X", 901u}});
        objects = {named<QbObject>("Tree"), named<QbObject>("Tree")};
        emitters = {named<QbEmitter>("Tree")};
        bind({shared});
        expectMotion(objects[0].motion, 100);
        expectMotion(objects[1].motion, 100);
        expectMotion(emitters[0].motion, 100);
    }
}

TEST_F(BindTest, KeepsTheFirstShaderParametersThatFit) {
    for (const uint32_t count : {10u, 11u}) {
        std::deque<std::string> names;
        Group nodes = {"Nodes"};
        for (uint32_t i = 0; i < count; i++)
            nodes.children.push_back(
                {names.emplace_back("ShaderParam:p" + std::to_string(i)).c_str(), {{"Scalar", 20 + i}}});
        nodes.children.push_back({"Shader:last.hlsl"});
        bindSurfaces(nodes);
        for (const QbSurface& surface : surfaces) {
            ASSERT_EQ(surface.shaderParamCount, 10) << count;
            EXPECT_STREQ(surface.shaderParams[9].name, "p9");
            EXPECT_EQ(surface.shaderParams[9].channel.vals, 29u);
            EXPECT_STREQ(surface.shaderName, "last.hlsl") << "the nodes behind still count";
        }
    }
}

TEST_F(BindTest, CutsShaderNamesThatDoNotFit) {
    for (const size_t length : {63u, 64u}) {
        const std::string text(length, 's');
        const std::string names[] = {"Shader:" + text, "ShaderVertexFunction:" + text,
                                     "ShaderPixelFunction:" + text};
        bindSurfaces({"Nodes", {}, {{names[0].c_str()}, {names[1].c_str()}, {names[2].c_str()}}});
        EXPECT_EQ(surfaces[0].shaderName, std::string(63, 's'));
        EXPECT_EQ(surfaces[0].shaderVertexFunction, std::string(63, 's'));
        EXPECT_EQ(surfaces[0].shaderPixelFunction, std::string(63, 's'));
    }
}

} // namespace
