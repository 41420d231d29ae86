#include "scene/export/opened_scene.h"
#include "scene/format/scene.h"

#include <gtest/gtest.h>

#include <numbers>

namespace {

constexpr auto EIGHTH_TURN = static_cast<float>(std::numbers::pi / 4);

void expectVector(const float* vector, float x, float y, float z) {
    EXPECT_NEAR(vector[0], x, 1e-4f);
    EXPECT_NEAR(vector[1], y, 1e-4f);
    EXPECT_NEAR(vector[2], z, 1e-4f);
}

struct TablesTest : testing::Test, OpenedScene {
    float out[3];

    TablesTest() {
        scene.frameStart = 10;
        scene.frameEnd = 14;
        for (const char* number : {"1", "2", "3"}) {
            scene.objects.emplace_back().name = std::string("object") + number;
            scene.lights.emplace_back().name = std::string("light") + number;
            scene.cameras.emplace_back().name = std::string("camera") + number;
        }
        scene.emitters.emplace_back().name = "emitter";
    }
};

TEST_F(TablesTest, OpensByNameAndSavesNothing) {
    open("OLD.QUAB.bak");
    EXPECT_EQ(h->format, 1);
    EXPECT_EQ(qbSceneSave(h, "elsewhere"), 0);
    testing::internal::CaptureStderr();
    for (const char* name : {"a.lws.ini", "a.lws.ini.bin", "a.quab.lws.ini", "a.scene"}) {
        std::filesystem::copy_file("OLD.QUAB.bak", name);
        EXPECT_EQ(qbSceneOpen(name), nullptr) << name;
    }
    EXPECT_EQ(qbSceneOpen("missing.quab"), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(qbSceneSave(nullptr, "x"), -1);
    qbSceneClose(nullptr);
}

TEST_F(TablesTest, CurrentCameraIsLimited) {
    scene.cameraSelector.samples = {2.9f, 7, -4, 2147483648.0f, 0.9f};
    scene.renderCamera = 1;
    open();
    const int32_t wanted[] = {2, 2, 0, 2, 0};
    for (int i = 0; i < 5; i++)
        EXPECT_EQ(h->sceneInfo->currentCamera(h, static_cast<float>(40 * i)), wanted[i]) << i;
    scene.cameraSelector = {};
    open();
    EXPECT_EQ(h->sceneInfo->currentCamera(h, 0), 1) << "without a selector";
    scene.cameras.clear();
    open();
    EXPECT_EQ(h->sceneInfo->currentCamera(h, 0), 0);
}

TEST_F(TablesTest, BackdropAndProcessing) {
    scene.backdrop = {1, {1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {10, 11, 12}, {}};
    scene.processing.glowRadius = 8;
    scene.processing.glowRadiusChannel = 16;
    open();
    expectVector(h->backdropInfo->zenithColor2(out, h), 1, 2, 3);
    expectVector(h->backdropInfo->skyColor(out, h), 4, 5, 6);
    expectVector(h->backdropInfo->groundColor(out, h), 7, 8, 9);
    expectVector(h->backdropInfo->nadirColor(out, h), 10, 11, 12);
    EXPECT_EQ(h->processingInfo->glowRadius(h, 0), 16.0f);
}

TEST_F(TablesTest, LightsLimitColourChannelsAndConstantIntensity) {
    QbExportLight &constant = scene.lights[0], &bound = scene.lights[1];
    constant.ambient = {1.5f, 0, 0};
    constant.intensity = 1.5f;
    constant.rawColor = {0, 2.5f, 0};
    constant.range = -4;
    constant.coneAngles = {EIGHTH_TURN, 0};
    bound.colorChannels[0] = bound.intensityChannel = 1.5f;
    bound.colorChannels[1] = -0.5f;
    bound.rangeChannel = -4;
    bound.coneAngles[0] = 0;
    bound.edgeAngleChannel = EIGHTH_TURN;
    open();
    expectVector(h->lightInfo->ambient(out, h, 0), 1.5f, 0, 0);
    expectVector(h->lightInfo->color(out, h, 0, 0), 0, 2.5f, 0);
    expectVector(h->lightInfo->color(out, h, 1, 0), 1, 0, 0);
    const float wanted[2][4] = {{1, -4, 45, 0}, {1.5f, 0, 0, 45}};
    for (int32_t i = 0; i < 2; i++) {
        float cone, edge;
        h->lightInfo->coneAngles(h, i, &cone, &edge, 0);
        EXPECT_EQ(h->lightInfo->intensity(h, i, 0), wanted[i][0]);
        EXPECT_EQ(h->lightInfo->range(h, i, 0), wanted[i][1]);
        EXPECT_NEAR(cone, wanted[i][2], 1e-4);
        EXPECT_NEAR(edge, wanted[i][3], 1e-4);
    }
    scene.ambientChannels[0] = scene.ambientChannels[2] = 1.5f;
    open();
    expectVector(h->lightInfo->ambient(out, h, 0), 1, 0, 1);
    scene.lights.clear();
    open();
    expectVector(h->lightInfo->ambient(out, h, 0), 0, 0, 0);
}

TEST_F(TablesTest, CameraAnglesComeFromTheZoomUnlessItIsZero) {
    for (QbExportCamera& camera : scene.cameras) {
        camera.fovAngles = {EIGHTH_TURN, EIGHTH_TURN / 2};
        camera.focalDistance = 7;
        camera.fStopChannel = 4;
    }
    scene.cameras[1].zoomChannel = 1;
    scene.cameras[1].flags = 2;
    scene.cameras[2].zoomChannel = 0;
    scene.cameras[2].flags = 3;
    open();
    const float expected[3][2] = {{45, 22.5f}, {90, 90}, {45, 22.5f}};
    for (int32_t i = 0; i < 3; i++) {
        int32_t enabled;
        float a, b;
        h->cameraInfo->fovAngles(h, i, &a, &b, 0);
        EXPECT_NEAR(a, expected[i][0], 1e-4);
        EXPECT_NEAR(b, expected[i][1], 1e-4);
        h->cameraInfo->depthOfField(h, i, &enabled, &a, &b, 0);
        EXPECT_TRUE(enabled == (i == 2) && a == 7 && b == 4) << i;
    }
}

TEST_F(TablesTest, EmittersCountInFramesOfTheScene) {
    QbExportEmitter& emitter = scene.emitters[0];
    emitter.birthRate = 50;
    emitter.startFrame = 12;
    emitter.lifeTime[0] = 60;
    emitter.velocity = {0, 0, -2};
    emitter.velocityP = 3;
    scene.framesPerSecond = 25.9f;
    open();
    expectVector(h->emitterInfo->velocity(out, h, 0), 0, 0, -6);
    EXPECT_EQ(h->emitterInfo->lifeTime(h, 0), 2400.0f) << "the rate is truncated first";
    EXPECT_EQ(h->emitterInfo->birthRate(h, 0, 0), 50.0f) << "not fixed: from the start";
    emitter.fixed = 1;
    open();
    EXPECT_EQ(h->emitterInfo->birthRate(h, 0, 77), 0.0f);
    EXPECT_EQ(h->emitterInfo->birthRate(h, 0, 78), 50.0f) << "at the second frame behind the tenth";
    EXPECT_EQ(h->emitterInfo->birthRate(h, 0, 1e38f), 50.0f);
    scene.framesPerSecond = 0.5f;
    open();
    EXPECT_EQ(h->emitterInfo->lifeTime(h, 0), 0.0f);
}

TEST_F(TablesTest, ItemParamByKind) {
    QbExportMotion& motion = scene.objects[1].motion;
    qbExportSetPosition(motion, {1, 2, 3});
    qbExportSetRotation(motion, {45, 0, 0});
    qbExportSetScale(motion, {7, 8, 9});
    scene.lights[1].motion = motion;
    open();
    const struct {
        int32_t kind;
        float x, y, z;
    } ROWS[] = {{QB_ITEM_POSITION, 1, 2, 3},
                {QB_ITEM_SCALING, 7, 8, 9},
                {QB_ITEM_ROTATION, 45, 0, 0},
                {QB_ITEM_ROTATION_ALT, 0, 45, 0},
                {7, 0, 0, 0}};
    for (const auto& row : ROWS)
        expectVector(h->objectInfo->itemParam(out, h, 1, row.kind, 30), row.x, row.y, row.z);
    expectVector(h->lightInfo->itemParam(out, h, 1, QB_ITEM_POSITION, 30), 1, 2, 3);
    expectVector(h->lightInfo->itemParam(out, h, 1, QB_ITEM_SCALING, 30), 0, 0, 0);
}

TEST_F(TablesTest, SurfacesAreFilledUpToTheCapacity) {
    scene.frameEnd = 11;
    scene.objects[0].fileName = "file";
    scene.sceneObjects.push_back({"file", "file", std::vector<QbExportSurface>(2)});
    QbExportSurface &skin = scene.sceneObjects[0].surfaces[0], &hair = scene.sceneObjects[0].surfaces[1];
    skin.name = "Skin";
    skin.shaderName = "blur.hlsl";
    skin.shaderParams = {{"speed", 9.0f}};
    qbExportSetColor(skin, "BaseColor", {0, 1.5f, 0});
    qbExportParam(skin, "BaseColor").channels[0] = 0.5f;
    qbExportParam(skin, "Transparency").channels[0].samples = {0.25f, 0.75f};
    qbExportParam(skin, "Sidedness").integer = 3;
    hair.name = "Hair";
    qbExportSetColor(hair, "BaseColor", {0, 1.5f, 0});
    open();
    EXPECT_EQ(h->objectInfo->transparency(h, 0), 0.25f) << "at time 0";
    EXPECT_EQ(h->objectInfo->transparency(h, 1), 0.0f) << "no surfaces";
    QbSurfaceValues values[3] = {};
    h->objectInfo->surfaces(h, 0, values, 1, 20);
    expectVector(values[0].params[QB_SURFACE_BASE_COLOR].color, 0.5f, 0, 0); // the first decides for all
    EXPECT_EQ(values[0].params[QB_SURFACE_TRANSPARENCY].color[0], 0.5f);
    EXPECT_EQ(values[0].params[QB_SURFACE_SIDEDNESS].integer, 3);
    EXPECT_EQ(values[0].shader.paramCount, 1);
    EXPECT_EQ(values[0].shader.paramValues[0], 9.0f);
    EXPECT_EQ(values[1].name, nullptr) << "over the capacity";
    h->objectInfo->surfaces(h, 0, values, 3, 20);
    EXPECT_STREQ(values[1].name, "Hair");
    expectVector(values[1].params[QB_SURFACE_BASE_COLOR].color, 0, 1.5f, 0);
    EXPECT_EQ(values[1].shader.shaderName, nullptr) << "no shader";
}

TEST_F(TablesTest, WithoutGeometryAndOutsideOfTheSceneAnObjectIsNull) {
    scene.objects[1].numPoints = scene.objects[2].numPolygons = 0;
    open();
    for (const int32_t i : {0, 1, 2, 3, -1})
        EXPECT_EQ(h->objectInfo->isNull(h, i), i != 0) << i;
}

} // namespace
