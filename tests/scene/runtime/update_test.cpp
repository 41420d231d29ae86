#include "engine/engine.h"
#include "engine/lights.h"
#include "fake_scene.h"
#include "meshes.h"
#include "scene/runtime/objects.h"
#include "scene/runtime/slots.h"
#include "support/allocations.h"

using irr::core::vector3df;
using irr::video::SColorf;

namespace {

class Update : public FakeStage {
protected:
    void SetUp() override {
        FakeStage::SetUp();
        directory.write("box.x", boxMesh(2.0F));
        directory.write("slide.x", slidingMesh());
        scene.objects = {{"A", "box.x"}};
        scene.objects[0].surfaceCount = 1;
        scene.lights.resize(1);
        scene.cameras.resize(1);
        scene.emitters = {{"E", "e.png", {1.0F, 1.0F, 1.0F}}};
    }

    void load(const char* name, int slot, int first, int extra) {
        fakeLog.clear();
        ASSERT_EQ(qbSceneLoad(name, slot, first, first, first, 0, "data", extra), 0);
    }

    FakeScene& scene = fakeScenes["main"];
};

void expectColor(const SColorf& color, int r, int g, int b) {
    EXPECT_FLOAT_EQ(color.r, static_cast<float>(r) / 255.0F);
    EXPECT_FLOAT_EQ(color.g, static_cast<float>(g) / 255.0F);
    EXPECT_FLOAT_EQ(color.b, static_cast<float>(b) / 255.0F);
}

} // namespace

TEST_F(Update, FollowsTheLoadInTheSettledOrder) {
    load("main", 0, 1, 0);
    EXPECT_EQ(fakeLog, "stigcalteos");
    load("main", 0, 1, 1);
    EXPECT_EQ(fakeLog, "sicaeos") << "an extra has neither lights nor glow";
}

TEST_F(Update, CarriesTheCamera) {
    scene.cameras.resize(2);
    scene.camera = 99; // the last one
    scene.cameras[1] = {{{1.0F, 2.0F, 3.0F}, {0.0F, 90.0F, 0.0F}, {}, 0.5F}, 60.0F, 1, 7.0F, 2.8F};
    scene.glow = 1;
    load("main", 0, 1, 0);
    qbSceneUpdate(0, 10);
    EXPECT_EQ(camera->getPosition(), vector3df(6.0F, 2.0F, 3.0F));
    EXPECT_EQ(holder->getRotation(), vector3df(0.0F, 90.0F, 0.0F));
    EXPECT_NEAR((camera->getTarget() - camera->getPosition()).X, 1.0F, 1e-5F) << "turned to look along X";
    EXPECT_NEAR(camera->getFOV(), 60.0F * 3.14F / 230.0F, 1e-6F);
    const QbEngine* engine = qbEngineGet();
    const float wanted[] = {1, 0.5F, 9, 1, 7, 2.8F};
    const float got[] = {
        static_cast<float>(engine->glowEnabled),         engine->glowIntensity, engine->glowRadius,
        static_cast<float>(engine->depthOfFieldEnabled), engine->focalDistance, engine->fStop};
    EXPECT_TRUE(std::equal(got, got + 6, wanted)) << testing::PrintToString(got);

    scene.camera = -3; // the first one
    scene.cameras[0].motion.position = {8.0F, 8.0F, 8.0F};
    qbSceneUpdate(0, 0);
    EXPECT_EQ(camera->getPosition(), vector3df(8.0F, 8.0F, 8.0F));
    scene.cameras.clear();
    camera->setFOV(1.25F);
    qbSceneUpdate(0, 10);
    EXPECT_EQ(camera->getFOV(), 1.25F);
    EXPECT_EQ(camera->getPosition(), vector3df(8.0F, 8.0F, 8.0F));
}

TEST_F(Update, PlacesExtrasAgainstTheirOwnCamera) {
    scene.glow = 1;
    scene.objects[0].motion.position = {10.0F, 20.0F, 30.0F};
    scene.cameras[0] = {{{1.0F, 2.0F, 3.0F}, {0.0F, 90.0F, 0.0F}, {}, 0.5F}, 20.0F, 1, 7.0F, 2.8F};
    camera->setFOV(1.25F);
    load("main", 0, 1, 1);
    qbSceneUpdate(0, 8);
    EXPECT_EQ(qbObjectMeshNode(1)->getPosition(), vector3df(5.0F, 18.0F, 27.0F));
    EXPECT_EQ(camera->getFOV(), 1.25F);
    EXPECT_EQ(holder->getPosition(), vector3df(0.0F, 0.0F, 0.0F));
    EXPECT_EQ(qbEngineGet()->depthOfFieldEnabled, 0);
}

TEST_F(Update, DrivesLights) {
    scene.lights.resize(4);
    scene.lights[0].type = 0;
    scene.lights[0].rotation = {10.0F, 20.0F, 30.0F};
    scene.lights[1].type = 2;
    scene.lights[1].color = {-1.0F, 1e30F, NAN};
    scene.lights[2].type = 7; // neither distant nor spot
    scene.lights[2].color = {1.0F, 0.5F, 0.0F};
    scene.lights[2].intensity = 1.5F;
    scene.lights[3].falloff = 1;
    load("main", 0, 1, 0);
    qbSceneStart(0);
    scene.lights[1].edge = 12.0F;
    qbSceneUpdate(0, 5);
    const irr::video::E_LIGHT_TYPE types[] = {irr::video::ELT_DIRECTIONAL, irr::video::ELT_SPOT,
                                              irr::video::ELT_POINT, irr::video::ELT_POINT};
    const float radii[] = {100.0F, 10000000.0F, 10000000.0F, 45.0F};
    for (int id = 0; id < 4; id++) {
        ASSERT_NE(qbVisibleLightData(id), nullptr);
        EXPECT_EQ(qbVisibleLightData(id)->Type, types[id]) << id;
        EXPECT_EQ(qbVisibleLightData(id)->Radius, radii[id]) << id;
    }
    EXPECT_EQ(qbVisibleLightNode(0)->getRotation(), vector3df(10.0F, 20.0F, 30.0F));
    EXPECT_EQ(qbVisibleLightData(1)->InnerCone, 18.0F) << "cone less edge";
    EXPECT_EQ(qbVisibleLightData(1)->OuterCone, 30.0F);
    expectColor(qbVisibleLightData(2)->DiffuseColor, 126, 191, 0);
    expectColor(qbVisibleLightData(1)->DiffuseColor, 1, 0, 0);
}

TEST_F(Update, PutsTheAmbientIntoTheFirstVisibleLight) {
    scene.ambient = {0.5F, 0.25F, 2.0F};
    scene.lights.resize(2);
    load("main", 0, 1, 0);
    qbSceneUpdate(0, 0);
    EXPECT_EQ(qbVisibleLightNode(0), nullptr) << "no light is visible: nothing takes it";
    qbSceneStart(0);
    const SColorf before = qbVisibleLightData(1)->AmbientColor;
    qbSceneUpdate(0, 0);
    expectColor(qbVisibleLightData(0)->AmbientColor, 127, 63, 254);
    EXPECT_EQ(qbVisibleLightData(1)->AmbientColor.r, before.r);
    fakeScenes["extra"] = {};
    load("extra", 1, 50, 1);
    expectColor(qbVisibleLightData(0)->AmbientColor, 0, 0, 0);
}

TEST_F(Update, MovesObjectsAndTheirMeshesFromTheScenesZero) {
    scene.objects = {{"A", "slide.x"}, {"B", "box.x"}};
    scene.objects[1].motion = {{1.0F, 2.0F, 3.0F}, {10.0F, 20.0F, 30.0F}, {0.5F, 2.0F, 1.0F}, 0.5F};
    scene.firstFrame = 100;
    load("main", 0, 1, 0);
    const std::pair<int, float> cases[] = {{0, 0.0F},   {100, 2.5F}, {360, 9.0F},
                                           {400, 9.0F}, {-80, 0.0F}, {20, 0.5F}};
    for (const auto& [time, frame] : cases) {
        qbSceneUpdate(0, time);
        EXPECT_NEAR(qbObjectAnimatedNode(1)->getFrameNr(), frame, 1e-5F) << time;
    }
    const irr::scene::ISceneNode* node = qbObjectMeshNode(2);
    EXPECT_EQ(node->getPosition(), vector3df(11.0F, 2.0F, 3.0F));
    EXPECT_EQ(node->getRotation(), vector3df(10.0F, 20.0F, 30.0F));
    EXPECT_EQ(node->getScale(), vector3df(0.5F, 2.0F, 1.0F));
}

TEST_F(Update, AllocatesNothing) {
    scene.objects = {{"A", "box.x"}, {"B", "slide.x"}};
    scene.objects[0].surfaceCount = 65;
    load("main", 0, 1, 0);
    load("main", 1, 10, 1);
    qbSceneStart(0);
    fakeLog.reserve(1000);
    const long before = allocationCount();
    ASSERT_GT(before, 0);
    for (int time = 0; time < 400; time += 40) {
        qbSceneUpdate(1, time);
        qbSceneUpdate(0, time);
    }
    EXPECT_EQ(allocationCount(), before);
}
