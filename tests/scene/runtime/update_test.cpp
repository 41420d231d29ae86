#include "engine/lights.h"
#include "scene/runtime/objects.h"
#include "scene/runtime/slot_table.h"
#include "stage.h"
#include "support/allocations.h"

#include <cmath>

namespace {

class Update : public Stage {
protected:
    void SetUp() override {
        Stage::SetUp();
        scene.objects = {object("A", "box.x")};
        scene.lights.resize(1);
        scene.cameras.resize(2);
        scene.renderCamera = 1.0F;
        QbExportCamera& second = scene.cameras[1];
        second.fovAngles = {qbExportRadians(60), 1};
        second.flags = 1;
        second.focalDistance = 7;
        second.fStop = 2.5F;
        qbExportSetPosition(second.motion, {0, 2, 3});
        qbExportSetRotation(second.motion, {30, 0, 0});
        second.motion.position[0] = ramp(1, 20);
        scene.processing.glowEffect = 1;
        scene.processing.glowIntensity = 0.5F;
        scene.processing.glowRadius = 9;
        camera->setFOV(1.25F);
    }
};

// 0xRRGGBB.
uint32_t packed(const irr::video::SColorf& color) {
    return color.toSColor().color & 0xFFFFFF;
}

void expectNear(const vector3df& value, const vector3df& wanted) {
    EXPECT_TRUE(value.equals(wanted, 1e-4F)) << value.X << ' ' << value.Y << ' ' << value.Z;
}

} // namespace

TEST_F(Update, CarriesTheCamera) {
    const auto effects = [] {
        const QbEngine* e = qbEngineGet();
        return std::array<float, 6>{
            static_cast<float>(e->glowEnabled),         e->glowIntensity, e->glowRadius,
            static_cast<float>(e->depthOfFieldEnabled), e->focalDistance, e->fStop};
    };
    ASSERT_EQ(load(scene, 1, 10, 1), 0) << "nothing of it comes from an extra";
    EXPECT_EQ(camera->getFOV(), 1.25F);
    EXPECT_EQ(holder->getPosition(), vector3df());
    EXPECT_EQ(effects(), (std::array<float, 6>{}));

    ASSERT_EQ(load(scene, 0, 1), 0);
    qbSceneUpdate(0, 40);
    EXPECT_EQ(camera->getPosition(), vector3df(21, 2, 3));
    expectNear(holder->getRotation(), vector3df(0, 30, 0));
    expectNear(camera->getTarget() - camera->getPosition(), vector3df(0.5F, 0, std::sqrt(0.75F)));
    EXPECT_NEAR(camera->getFOV(), 60.0F * 3.14F / 230.0F, 1e-6F);
    EXPECT_EQ(effects(), (std::array<float, 6>{1, 0.5F, 9, 1, 7, 2.5F}));

    // Without a camera the view stays, but not the depth of field.
    scene.cameras.clear();
    ASSERT_EQ(load(scene, 0, 1), 0);
    EXPECT_EQ(camera->getPosition(), vector3df(21, 2, 3));
    EXPECT_NEAR(camera->getFOV(), 60.0F * 3.14F / 230.0F, 1e-6F);
    EXPECT_EQ(effects(), (std::array<float, 6>{1, 0.5F, 9, 0, 0, 0}));
}

TEST_F(Update, DrivesLights) {
    scene.lights.resize(4);
    scene.lights[0].type = 0;
    scene.lights[0].ambient = {0.5F, 0.25F, 2};
    qbExportSetRotation(scene.lights[0].motion, {20, 0, 0});
    scene.lights[1].type = 2;
    scene.lights[1].coneAngles = {qbExportRadians(30), qbExportRadians(12)};
    scene.lights[2].type = 7; // neither distant nor spot
    scene.lights[2].rawColor = {1, 0.5F, 0};
    scene.lights[2].intensityChannel = ramp(1, 0.5F);
    scene.lights[3].falloff = 1;
    scene.lights[3].rangeChannel = ramp(40, 5);
    ASSERT_EQ(load(scene, 0, 1), 0);
    qbSceneStart(0);
    qbSceneUpdate(0, 40);
    const irr::video::E_LIGHT_TYPE types[] = {irr::video::ELT_DIRECTIONAL, irr::video::ELT_SPOT,
                                              irr::video::ELT_POINT, irr::video::ELT_POINT};
    const float radii[] = {100, 10000000, 10000000, 45};
    for (int n = 0; n < 4; n++) {
        EXPECT_EQ(qbVisibleLightData(n)->Type, types[n]) << n;
        EXPECT_EQ(qbVisibleLightData(n)->Radius, radii[n]) << n;
    }
    expectNear(qbVisibleLightNode(0)->getRotation(), vector3df(0, 20, 0));
    EXPECT_NEAR(qbVisibleLightData(1)->InnerCone, 18, 1e-4F) << "cone less edge";
    EXPECT_NEAR(qbVisibleLightData(1)->OuterCone, 30, 1e-4F);
    EXPECT_EQ(packed(qbVisibleLightData(2)->DiffuseColor), 0x7EBF00U) << "382 wraps to 126";
    const float wild[] = {-1.0F, 1e30F, NAN};
    EXPECT_EQ(qbSceneLightColor(wild, 1.0F), 0xFF010000U);

    // The first visible light carries the ambient, that of an extra without lights too.
    EXPECT_EQ(packed(qbVisibleLightData(0)->AmbientColor), 0x7F3FFEU);
    EXPECT_NE(packed(qbVisibleLightData(1)->AmbientColor), 0x7F3FFEU);
    ASSERT_EQ(load(QbExportScene(), 1, 50, 1), 0);
    EXPECT_EQ(packed(qbVisibleLightData(0)->AmbientColor), 0U);
}

TEST_F(Update, MovesObjectsAndTheirMeshesFromTheScenesZero) {
    scene.objects = {object("A", "slide.x"), object("B", "box.x")};
    QbExportMotion& motion = scene.objects[1].motion;
    qbExportSetPosition(motion, {0, 2, 3});
    qbExportSetRotation(motion, {20, 0, 0});
    qbExportSetScale(motion, {0.5F, 2, 1});
    motion.position[0] = ramp(1, 20);
    scene.frameStart = 100;
    scene.frameEnd = 110;
    ASSERT_EQ(load(scene, 0, 1), 0);
    EXPECT_EQ(qbObjectFrameCount(1), 10);
    EXPECT_EQ(qbObjectFrameCount(2), 1);
    const std::pair<int, float> cases[] = {{0, 0.0F},   {100, 2.5F}, {360, 9.0F},
                                           {400, 9.0F}, {-80, 0.0F}, {40, 1.0F}};
    irr::u32 clock = 0;
    for (const auto& [time, frame] : cases) {
        qbSceneUpdate(0, time);
        qbObjectAnimatedNode(1)->OnAnimate(clock += 1000); // nothing plays by itself
        EXPECT_NEAR(qbObjectAnimatedNode(1)->getFrameNr(), frame, 1e-5F) << time;
    }
    const irr::scene::ISceneNode* node = qbObjectMeshNode(2);
    EXPECT_EQ(node->getPosition(), vector3df(21, 2, 3));
    expectNear(node->getRotation(), vector3df(0, 20, 0));
    EXPECT_EQ(node->getScale(), vector3df(0.5F, 2, 1));

    // Those of an extra stand against its own camera, without its rotation.
    ASSERT_EQ(load(scene, 0, 1, 1), 0);
    qbSceneUpdate(0, 40);
    EXPECT_EQ(qbObjectMeshNode(2)->getPosition(), vector3df(0, 0, 0));
}

TEST_F(Update, AllocatesNothing) {
    scene.objects.push_back(object("B", "slide.x"));
    scene.sceneObjects = {surfacesOf("box.x", 65)};
    scene.emitters.resize(1);
    scene.emitters[0].hyperVoxelImage = "spark.png";
    ASSERT_EQ(load(scene, 0, 1), 0);
    ASSERT_EQ(load(scene, 1, 10, 1), 0);
    qbSceneStart(0);
    const long before = allocationCount();
    ASSERT_GT(before, 0);
    for (int time = 0; time < 400; time += 40) {
        qbSceneUpdate(1, time);
        qbSceneUpdate(0, time);
    }
    EXPECT_EQ(allocationCount(), before);
}
