#include "scene/format/tables.h"

#include "test_scene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

namespace {

constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();

// A scene without chunks, opened for its handle; the tests put records of their own behind it.
struct TablesTest : testing::Test {
    TemporaryDirectory directory;
    QbSceneHandle* empty = nullptr;
    QbSceneHandle handle{};
    QbSceneHandle* h = &handle;
    TestScene test{10, 100, 25};
    std::vector<QbObject> objects{2};
    std::vector<QbLight> lights{2};
    std::vector<QbCamera> cameras{3};
    std::vector<QbEmitter> emitters{1};

    QbSceneHandle* open(const char* name) {
        directory.write(name, form(""));
        return qbSceneOpen(name);
    }
    void SetUp() override {
        empty = open("empty.quab");
        ASSERT_NE(empty, nullptr);
        handle = *empty;
        handle.impl = &test.record;
    }
    void TearDown() override { qbSceneClose(empty); }
    // Call when all channels are added.
    void finish() {
        test.scene();
        attach(objects, test.record.objects, test.record.objectCount);
        attach(lights, test.record.lights, test.record.lightCount);
        attach(cameras, test.record.cameras, test.record.cameraCount);
        attach(emitters, test.record.emitters, test.record.emitterCount);
    }
};

void expectVector(const float* out, float x, float y, float z) {
    EXPECT_FLOAT_EQ(out[0], x);
    EXPECT_FLOAT_EQ(out[1], y);
    EXPECT_FLOAT_EQ(out[2], z);
}

TEST_F(TablesTest, OpensByName) {
    EXPECT_EQ(empty->format, 1);
    EXPECT_EQ(empty->objectInfo->count(empty), 0);
    QbSceneHandle* backup = open("old.quab.bak");
    ASSERT_NE(backup, nullptr);
    EXPECT_EQ(qbSceneSave(backup, "elsewhere"), 0);
    qbSceneClose(backup);

    testing::internal::CaptureStderr();
    for (const char* name : {"a.lws.ini", "a.lws.ini.bin", "a.quab.lws.ini", "a.scene"})
        EXPECT_EQ(open(name), nullptr) << name;
    EXPECT_EQ(qbSceneOpen(nullptr), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(qbSceneOpen("missing.quab"), nullptr);

    EXPECT_EQ(qbSceneSave(nullptr, "x"), -1);
    QbSceneHandle other = handle;
    other.format = 0;
    EXPECT_EQ(qbSceneSave(&other, "x"), -1);
    qbSceneClose(&other); // another format's: left alone
    qbSceneClose(nullptr);
}

TEST_F(TablesTest, CurrentCameraIsLimited) {
    const struct {
        float selector;
        int32_t wanted;
    } rows[] = {{2.9f, 2}, {7, 2}, {-4, 0}, {0.9f, 0}, {1e30f, 2}, {-1e30f, 0}, {NOT_A_NUMBER, 0}};
    QbChannelRef selectors[std::size(rows)];
    for (size_t i = 0; i < std::size(rows); i++)
        selectors[i] = test.constant(rows[i].selector);
    test.globals.renderChannel = test.constant(1);
    finish();
    EXPECT_EQ(h->sceneInfo->currentCamera(h, 0), 1) << "without a selector";
    for (size_t i = 0; i < std::size(rows); i++) {
        test.globals.cameraSelector = selectors[i];
        EXPECT_EQ(h->sceneInfo->currentCamera(h, 0), rows[i].wanted) << rows[i].selector;
    }
    test.record.cameraCount = 0;
    EXPECT_EQ(h->sceneInfo->currentCamera(h, 0), 0);
    test.record.cameraCount = 3;
    test.globals.cameraSelector = test.globals.renderChannel = {};
    EXPECT_EQ(h->sceneInfo->currentCamera(h, 0), 0) << "no channel at all";
}

TEST_F(TablesTest, SceneBackdropAndProcessing) {
    test.globals.framesPerSecond = 29.97f;
    test.globals.renderOpts = 0x80000001;
    test.backdrop = {1, {1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {10, 11, 12}, {}};
    test.processing.glowEffect = 1;
    test.processing.glowIntensity = 3.5f;
    test.processing.glowRadius = 8;
    test.processing.glowRadiusChannel = test.constant(16);
    finish();
    EXPECT_EQ(h->sceneInfo->firstFrame(h), 10);
    EXPECT_EQ(h->sceneInfo->lastFrame(h), 100);
    EXPECT_EQ(h->sceneInfo->framesPerSecond(h), 29);
    EXPECT_EQ(h->sceneInfo->renderOpts(h), 0x80000001u);

    float out[3];
    expectVector(h->backdropInfo->zenithColor(out, h), 1, 2, 3);
    expectVector(h->backdropInfo->zenithColor2(out, h), 1, 2, 3);
    expectVector(h->backdropInfo->skyColor(out, h), 4, 5, 6);
    expectVector(h->backdropInfo->groundColor(out, h), 7, 8, 9);
    expectVector(h->backdropInfo->nadirColor(out, h), 10, 11, 12);

    EXPECT_EQ(h->processingInfo->glowEffect(h), 1);
    EXPECT_EQ(h->processingInfo->glowIntensity(h, 0), 3.5f);
    EXPECT_EQ(h->processingInfo->glowRadius(h, 0), 16.0f);
}

TEST_F(TablesTest, LightsLimitColourChannelsAndConstantIntensity) {
    float out[3];
    EXPECT_EQ(h->lightInfo->ambient(out, h, 0), out);
    expectVector(out, 0, 0, 0); // no lights yet

    QbLight& constant = lights[0];
    constant.ambient[0] = 1.5f;
    constant.rawColor[1] = 2.5f;
    constant.intensity = 1.5f;
    constant.range = -4;
    constant.coneAngles[0] = static_cast<float>(std::numbers::pi / 6);
    QbLight& bound = lights[1];
    bound.colorChannels[0] = test.constant(1.5f);
    bound.colorChannels[1] = test.constant(-0.5f);
    bound.colorChannels[2] = test.constant(0.5f);
    bound.intensityChannel = test.constant(1.5f);
    bound.rangeChannel = test.constant(-4);
    bound.edgeAngleChannel = test.constant(static_cast<float>(std::numbers::pi / 4));
    bound.motion.channels[QB_MOTION_SCALE] = test.constant(3);
    bound.motion.channels[QB_MOTION_POSITION] = test.constant(5);
    finish();

    expectVector(h->lightInfo->ambient(out, h, 0), 1.5f, 0, 0);
    expectVector(h->lightInfo->color(out, h, 0, 0), 0, 2.5f, 0);
    expectVector(h->lightInfo->color(out, h, 1, 0), 1, 0, 0.5f);
    EXPECT_EQ(h->lightInfo->intensity(h, 0, 0), 1.0f);
    EXPECT_EQ(h->lightInfo->intensity(h, 1, 0), 1.5f);
    EXPECT_EQ(h->lightInfo->range(h, 0, 0), -4.0f);
    EXPECT_EQ(h->lightInfo->range(h, 1, 0), 0.0f);
    float cone, edge;
    h->lightInfo->coneAngles(h, 0, &cone, &edge, 0);
    EXPECT_NEAR(cone, 30, 1e-4);
    EXPECT_EQ(edge, 0.0f);
    h->lightInfo->coneAngles(h, 1, &cone, &edge, 0);
    EXPECT_NEAR(edge, 45, 1e-4);
    expectVector(h->lightInfo->itemParam(out, h, 1, QB_ITEM_POSITION, 0), 5, 0, 0);
    expectVector(h->lightInfo->itemParam(out, h, 1, QB_ITEM_SCALING, 0), 0, 0, 0);

    constant.ambientChannels[0] = constant.ambientChannels[2] = bound.colorChannels[0];
    expectVector(h->lightInfo->ambient(out, h, 0), 1, 0, 1);
}

TEST_F(TablesTest, CameraAnglesComeFromTheZoomUnlessItIsZero) {
    cameras[0].fovAngles[0] = static_cast<float>(std::numbers::pi / 4);
    cameras[0].fovAngles[1] = static_cast<float>(std::numbers::pi / 6);
    cameras[1] = cameras[2] = cameras[0];
    cameras[1].zoomChannel = test.constant(1);
    cameras[2].zoomChannel = test.constant(0);
    cameras[1].flags = 2;
    cameras[2].flags = 3;
    cameras[2].focalDistance = 7;
    cameras[2].fStopChannel = test.constant(4);
    finish();
    const float expected[3][2] = {{45, 30}, {90, 90}, {45, 30}};
    for (int32_t i = 0; i < 3; i++) {
        float horizontal, vertical;
        h->cameraInfo->fovAngles(h, i, &horizontal, &vertical, 0);
        EXPECT_NEAR(horizontal, expected[i][0], 1e-4);
        EXPECT_NEAR(vertical, expected[i][1], 1e-4);
    }
    int32_t enabled;
    float distance, fStop;
    h->cameraInfo->depthOfField(h, 1, &enabled, &distance, &fStop, 0);
    EXPECT_EQ(enabled, 0);
    h->cameraInfo->depthOfField(h, 2, &enabled, &distance, &fStop, 0);
    EXPECT_EQ(enabled, 1);
    EXPECT_EQ(distance, 7.0f);
    EXPECT_EQ(fStop, 4.0f);
}

TEST_F(TablesTest, EmittersCountInFramesOfTheScene) {
    QbEmitter& emitter = emitters[0];
    emitter.birthRate = 50;
    emitter.startFrame = 12;
    emitter.lifeTime[0] = 60;
    emitter.velocity[0] = 1;
    emitter.velocity[2] = -2;
    emitter.velocityP = 3;
    test.globals.framesPerSecond = 25.9f;
    finish();
    float out[3];
    expectVector(h->emitterInfo->velocity(out, h, 0), 3, 0, -6);
    EXPECT_EQ(h->emitterInfo->lifeTime(h, 0), 2400.0f) << "the rate is truncated first";
    EXPECT_EQ(h->emitterInfo->birthRate(h, 0, 0), 50.0f) << "not fixed: from the start";

    emitter.fixed = 1;
    test.globals.framesPerSecond = 25;
    EXPECT_EQ(h->emitterInfo->birthRate(h, 0, 79), 0.0f);
    EXPECT_EQ(h->emitterInfo->birthRate(h, 0, 80), 50.0f);
    EXPECT_EQ(h->emitterInfo->birthRate(h, 0, 1e38f), 50.0f);
    EXPECT_EQ(h->emitterInfo->birthRate(h, 0, NOT_A_NUMBER), 0.0f);

    test.globals.framesPerSecond = 0.5f;
    EXPECT_EQ(h->emitterInfo->lifeTime(h, 0), 0.0f);
    test.globals.framesPerSecond = 1e30f;
    EXPECT_TRUE(std::isfinite(h->emitterInfo->lifeTime(h, 0)));
}

TEST_F(TablesTest, ItemParamByKind) {
    const auto eighth = static_cast<float>(std::numbers::pi / 4);
    for (int i = 0; i < 9; i++)
        objects[1].motion.channels[i] = test.constant(i == 3             ? eighth
                                                      : i == 4 || i == 5 ? 0
                                                                         : static_cast<float>(i + 1));
    finish();
    const struct {
        int32_t kind;
        float wanted[3];
    } rows[] = {{QB_ITEM_POSITION, {1, 2, 3}},
                {QB_ITEM_SCALING, {7, 8, 9}},
                {QB_ITEM_ROTATION, {45, 0, 0}},
                {QB_ITEM_ROTATION_ALT, {0, 45, 0}},
                {7, {0, 0, 0}}};
    for (const auto& row : rows) {
        float out[3];
        h->objectInfo->itemParam(out, h, 1, row.kind, 30);
        for (int i = 0; i < 3; i++)
            EXPECT_NEAR(out[i], row.wanted[i], 1e-3) << "kind " << row.kind << " part " << i;
    }
}

TEST_F(TablesTest, SurfacesAreFilledUpToTheCapacity) {
    QbShaderParam params[12] = {};
    for (int i = 0; i < 12; i++)
        params[i].channel = test.constant(static_cast<float>(i));
    QbSurface surfaces[2] = {};
    surfaces[0].name = "Skin";
    surfaces[0].params[QB_SURFACE_BASE_COLOR].color[1] = 1.5f;
    surfaces[0].params[QB_SURFACE_BASE_COLOR].textureImage = "skin.png";
    surfaces[0].params[QB_SURFACE_TRANSPARENCY].kind = QB_PARAM_FLOAT;
    surfaces[0].params[QB_SURFACE_TRANSPARENCY].channels[0] = test.add(literals({0.25f, 0.75f}));
    surfaces[0].params[QB_SURFACE_TRANSLUCENCY].color[0] = 0.5f;
    surfaces[0].params[QB_SURFACE_SIDEDNESS].kind = QB_PARAM_INT;
    surfaces[0].params[QB_SURFACE_SIDEDNESS].channels[0] = test.add(literals({3, 1}));
    std::strcpy(surfaces[0].shaderName, "blur.hlsl");
    surfaces[0].hasShader = 1;
    surfaces[0].shaderParams = params;
    surfaces[0].shaderParamCount = 12;
    surfaces[1].name = "Hair";
    QbSceneObject file{};
    file.surfaces = surfaces;
    file.surfaceCount = 2;
    objects[0].sceneObject = &file;
    finish();

    EXPECT_EQ(h->objectInfo->surfaceCount(h, 0), 2);
    EXPECT_EQ(h->objectInfo->surfaceCount(h, 1), 0);
    EXPECT_EQ(h->objectInfo->transparency(h, 0), 0.25f) << "at time 0";
    EXPECT_EQ(h->objectInfo->translucency(h, 0), 0.5f);
    EXPECT_EQ(h->objectInfo->transparency(h, 1), 0.0f);

    QbSurfaceValues out[3] = {};
    h->objectInfo->surfaces(h, 0, out, 1, 20);
    EXPECT_STREQ(out[0].name, "Skin");
    EXPECT_EQ(out[1].name, nullptr) << "over the capacity";
    EXPECT_EQ(out[0].params[QB_SURFACE_BASE_COLOR].color[1], 1.5f);
    EXPECT_STREQ(out[0].params[QB_SURFACE_BASE_COLOR].textureImage, "skin.png");
    EXPECT_EQ(out[0].params[QB_SURFACE_TRANSPARENCY].color[0], 0.5f);
    EXPECT_EQ(out[0].params[QB_SURFACE_SIDEDNESS].integer, 2);
    EXPECT_STREQ(out[0].shader.shaderName, "blur.hlsl");
    EXPECT_EQ(out[0].shader.paramCount, 10);
    EXPECT_EQ(out[0].shader.paramValues[9], 9.0f);
    EXPECT_EQ(out[0].shader.paramNames[9], params[9].name);

    h->objectInfo->surfaces(h, 0, out, 3, 20);
    EXPECT_STREQ(out[1].name, "Hair");
    EXPECT_EQ(out[1].shader.shaderName, nullptr);
    EXPECT_EQ(out[2].name, nullptr);
    h->objectInfo->surfaces(h, 0, out, 0, 20);
    h->objectInfo->surfaces(h, 1, nullptr, 0, 20);
}

TEST_F(TablesTest, IsNullWithoutPointsOrPolygons) {
    objects.resize(3);
    objects[0].numPoints = objects[0].numPolygons = objects[1].numPoints = objects[2].numPolygons = 5;
    finish();
    for (int32_t i = 0; i < 3; i++)
        EXPECT_EQ(h->objectInfo->isNull(h, i), i > 0) << i;
    EXPECT_EQ(h->objectInfo->alwaysOne(h, 2), 1);
}

TEST_F(TablesTest, AnIndexOutsideAnswersWithZeros) {
    finish();
    for (const int32_t i : {-1, 3, std::numeric_limits<int32_t>::max()}) {
        float out[3] = {9, 9, 9}, a = 9, b = 9;
        int32_t enabled = 9;
        QbSurfaceValues values{};
        EXPECT_EQ(h->objectInfo->name(h, i), nullptr);
        EXPECT_STREQ(h->objectInfo->meshFileName(h, i), "");
        EXPECT_EQ(h->objectInfo->surfaceCount(h, i), 0);
        EXPECT_EQ(h->objectInfo->translucency(h, i), 0.0f);
        h->objectInfo->surfaces(h, i, &values, 1, 0);
        EXPECT_EQ(values.name, nullptr);
        expectVector(h->objectInfo->itemParam(out, h, i, QB_ITEM_POSITION, 0), 0, 0, 0);
        EXPECT_EQ(h->lightInfo->name(h, i), nullptr);
        EXPECT_EQ(h->lightInfo->intensity(h, i, 0), 0.0f);
        expectVector(h->lightInfo->color(out, h, i, 0), 0, 0, 0);
        h->cameraInfo->fovAngles(h, i, &a, &b, 0);
        EXPECT_EQ(a, 0.0f);
        h->cameraInfo->depthOfField(h, i, &enabled, &a, &b, 0);
        EXPECT_EQ(enabled, 0);
        EXPECT_EQ(h->emitterInfo->hyperVoxelImage(h, i), nullptr);
        EXPECT_EQ(h->emitterInfo->birthRate(h, i, 0), 0.0f);
        expectVector(h->emitterInfo->itemParam(out, h, i, QB_ITEM_ROTATION_ALT, 0), 0, 0, 0);
    }
}

} // namespace
