#include "engine/engine.h"
#include "engine/lights.h"
#include "meshes.h"
#include "scene/runtime/objects.h"
#include "scene/runtime/slots.h"
#include "stage.h"
#include "town.h"

// From files on the disk to nodes: scene, meshes and their values as an author exports them.

using irr::core::vector3df;

namespace {

class SceneFile : public Stage {};

} // namespace

TEST_F(SceneFile, BecomesNodes) {
    // The layers of one file are files of their own; the case of names is the author's affair.
    directory.write("Data/house.layer1.x", boxMesh(2.0F, "1.0;1.0;1.0"));
    directory.write("Data/House.Layer2.X", boxMesh(4.0F, "1.0;1.0;1.0"));
    directory.write("Data/walker.layer1.x", slidingMesh());
    ASSERT_EQ(writeTown("Data/town.quab"), "");
    std::filesystem::current_path("Data");
    ASSERT_EQ(qbSceneLoad("TOWN.quab", 7, 1, 0, 0, 0, "Data/", 0), 0);
    EXPECT_TRUE(messages.empty()) << messages[0];
    EXPECT_EQ(qbSceneObjectCount(7), 4);
    EXPECT_EQ(qbSceneFirstFrame(7), 10);
    EXPECT_EQ(qbSceneFramesPerSecond(7), 25);
    EXPECT_EQ(qbSceneDurationMs(7), 1960);

    qbSceneStart(7);
    qbSceneUpdate(7, 200);
    EXPECT_FALSE(qbObjectExists(2)) << "an item without geometry";
    EXPECT_FLOAT_EQ(qbObjectDepth(1), 2.0F);
    EXPECT_FLOAT_EQ(qbObjectDepth(3), 4.0F);
    const irr::scene::ISceneNode* house = qbObjectMeshNode(3);
    ASSERT_NE(house, nullptr);
    EXPECT_TRUE(house->isVisible());
    EXPECT_NEAR(house->getPosition().X, 2.0F, 1e-4F);
    EXPECT_EQ(house->getScale(), vector3df(2.0F, 1.0F, 0.5F));
    ASSERT_NE(qbObjectSurfaceCtx(3, 0), nullptr);
    EXPECT_EQ(qbObjectSurfaceCtx(3, 0)->params[1].color[0], 0.25F);
    ASSERT_NE(qbObjectAnimatedNode(4), nullptr);
    EXPECT_NEAR(qbObjectAnimatedNode(4)->getFrameNr(), 5.0F, 1e-4F);

    const irr::video::SLight* lamp = qbVisibleLightData(0);
    ASSERT_NE(lamp, nullptr);
    EXPECT_NEAR(lamp->InnerCone, 30.0F, 1e-3F);
    EXPECT_NEAR(lamp->OuterCone, 40.0F, 1e-3F);
    EXPECT_NEAR(lamp->AmbientColor.g, 51.0F / 255.0F, 1e-5F);
    EXPECT_EQ(qbVisibleLightNode(0)->getPosition(), vector3df(0.0F, 9.0F, 0.0F));

    EXPECT_EQ(camera->getPosition(), vector3df(1.0F, 2.0F, -20.0F));
    EXPECT_NEAR(holder->getRotation().Y, 30.0F, 1e-3F);
    EXPECT_NEAR(camera->getFOV(), 60.0F * 3.14F / 230.0F, 1e-4F);
}

TEST_F(SceneFile, ThatDoesNotOpenLeavesTheSlotEmpty) {
    directory.write("bad.quab", "no scene at all");
    for (const char* name : {"bad.quab", "missing.quab", "scene.lws.ini", ""})
        EXPECT_EQ(qbSceneLoad(name, 7, 1, 0, 0, 0, "", 0), -1) << name;
    EXPECT_EQ(qbSceneObjectCount(7), -1);
}
