#include "engine/engine.h"
#include "engine/lights.h"
#include "fake_stage.h"
#include "meshes.h"
#include "scene/runtime/fx_emitters.h"
#include "scene/runtime/objects.h"
#include "scene/runtime/slots.h"

#include <climits>

using irr::core::vector3df;

namespace {

class Slots : public FakeStage {
protected:
    void SetUp() override {
        FakeStage::SetUp();
        directory.write("box.x", boxMesh(2.0F, "1.0;1.0;1.0"));
        directory.write("cone.x", boxMesh(3.0F, "1.0;1.0;1.0"));
    }

    static int load(const char* name, int slot, int firstObject, const char* directory = "data",
                    int extra = 0) {
        return qbSceneLoad(name, slot, firstObject, 0, 0, 0, directory, extra);
    }

    static irr::scene::IMesh* meshOf(int id) {
        return qbObjectActiveMesh(static_cast<QbObjectRec*>(qbIdListGet(qbEngineGet()->objects, id)));
    }

    FakeScene& scene = fakeScenes["scene"];
};

FakeObject null(const char* name) {
    FakeObject object{name, ""};
    object.isNull = true;
    return object;
}

} // namespace

TEST_F(Slots, AreSixty) {
    for (const int slot : {INT_MIN, -1, 60, INT_MAX})
        EXPECT_EQ(load("scene", slot, 1), -1) << slot;
    EXPECT_EQ(load("scene", 59, 1), 0);
    EXPECT_EQ(load("missing", 0, 1), -1);
    for (const int slot : {INT_MIN, -1, 0, 58, 60, INT_MAX}) {
        EXPECT_EQ(qbSceneObjectCount(slot), -1) << slot;
        EXPECT_EQ(qbSceneLightCount(slot), -1) << slot;
        EXPECT_EQ(qbSceneFxEmitterCount(slot), -1) << slot;
        EXPECT_EQ(qbSceneDurationMs(slot), 0) << slot;
        EXPECT_EQ(qbSceneFramesPerSecond(slot), 0) << slot;
        EXPECT_EQ(qbSceneFirstFrame(slot), 0) << slot;
        EXPECT_EQ(qbSceneSaveBinary(slot, "x"), -1) << slot;
        EXPECT_EQ(qbSceneFindObjectByName(slot, "a"), -1) << slot;
        qbSceneStart(slot);
        qbSceneStop(slot);
        qbSceneHide(slot);
        qbSceneShow(slot);
        qbSceneUpdate(slot, 0);
        qbSceneFree(slot);
    }
    EXPECT_EQ(qbSceneSaveBinary(59, "x"), 7);
}

TEST_F(Slots, TellDurations) {
    const struct {
        int first, last, fps, duration;
    } cases[] = {
        {0, 249, 25, 9960}, {10, 10, 25, 0},   {0, 100, 0, 0},
        {0, 1, 30, 33},     {10, 0, 25, -400}, {INT_MIN, INT_MAX, 1, INT_MAX},
    };
    for (const auto& entry : cases) {
        scene.firstFrame = entry.first;
        scene.lastFrame = entry.last;
        scene.framesPerSecond = entry.fps;
        ASSERT_EQ(load("scene", 1, 1), 0);
        EXPECT_EQ(qbSceneDurationMs(1), entry.duration);
    }
}

TEST_F(Slots, RunIdsThroughItemsWithoutNode) {
    scene.objects = {{"A", "box.x"}, null("B"), {"C", "gone.x"}, {"D", "cone.x"}};
    scene.lights.resize(2);
    ASSERT_EQ(qbSceneLoad("scene", 3, 10, 20, 30, 0, "data", 0), 0);
    for (int id = 8; id < 16; id++)
        EXPECT_EQ(qbObjectExists(id), id == 10 || id == 13) << id;
    EXPECT_EQ(qbObjectMeshNode(13)->getID(), 13);
    EXPECT_NE(qbIdListGet(qbEngineGet()->lights, 20), nullptr);
    EXPECT_NE(qbIdListGet(qbEngineGet()->lights, 21), nullptr);
    EXPECT_EQ(qbSceneObjectCount(3), 4);
    EXPECT_EQ(qbSceneLightCount(3), 2);
    EXPECT_EQ(messages, std::vector<std::string>{"The object id=12 'gone.x' cannot be loaded"});
    EXPECT_EQ(qbSceneFindObjectByName(3, "d"), 13);
    EXPECT_EQ(qbSceneFindObjectByName(3, "B"), -1);

    qbSceneFree(3);
    messages.clear();
    scene.objects = {{"A", "box.x"}, {"B", "cone.x"}};
    testing::internal::CaptureStderr();
    ASSERT_EQ(load("scene", 3, 999), 0);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(messages, std::vector<std::string>{"The object id=1000 'cone.x' cannot be loaded"});
    EXPECT_EQ(nodes(), 5U) << "a node and two lights";
}

TEST_F(Slots, ShareMeshesWithinADirectory) {
    fakeScenes["one"].objects = {{"A", "box.x"}, {"B", "BOX.X"}};
    fakeScenes["two"].objects = {{"C", "box.x"}};
    ASSERT_EQ(load("one", 0, 1, "Data/"), 0);
    ASSERT_EQ(load("two", 1, 3, "data/"), 0);
    ASSERT_EQ(load("two", 2, 4, "other/"), 0);
    EXPECT_NE(meshOf(1), nullptr);
    EXPECT_EQ(meshOf(2), nullptr) << "a copy";
    EXPECT_EQ(meshOf(3), nullptr) << "a copy across slots";
    EXPECT_NE(meshOf(4), nullptr) << "another directory loads anew";
    EXPECT_EQ(qbSceneFindObjectByMesh("DATA/", "Box.x"), 1);
    EXPECT_EQ(qbSceneFindObjectByMesh("data", "box.x"), -1);

    // Its source gone, a copy has no mesh to give.
    qbSceneFree(0);
    EXPECT_EQ(load("two", 5, 9, "data/"), 0);
    EXPECT_FALSE(qbObjectExists(9));
    EXPECT_EQ(messages, std::vector<std::string>{"The object id=9 'box.x' cannot be loaded"});

    // A directory counts with its first 255 characters, none as an empty one.
    ASSERT_EQ(load("two", 6, 10, std::string(300, 'd').c_str()), 0);
    ASSERT_EQ(load("two", 7, 11, nullptr), 0);
    EXPECT_EQ(qbSceneFindObjectByMesh(std::string(255, 'd').c_str(), "box.x"), 10);
    EXPECT_EQ(qbSceneFindObjectByMesh("", "box.x"), 11);
}

TEST_F(Slots, ReportItemsThatFail) {
    scene.objects = {{"A", "gone.x"}, {"B", "isle.terrain.x"}};
    scene.emitters = {{"a"}, {"smoke", "smoke.png"}, {"spark", "spark.png", {1.0F, 0.0F, 0.0F}}};
    ASSERT_EQ(qbSceneLoad("scene", 0, 1, 0, 5, 0, "data", 0), 0);
    const std::vector<std::string> expected = {
        "The object id=1 'gone.x' cannot be loaded",
        "The object id=2 'isle.terrain.x' cannot be loaded",
        "fxemitter id=5 : image file='(null)' not set",
        "fxemitter mesh id=6 image file='smoke.png' cannot find object ",
        "The fxemitter id=6 image file='smoke.png' cannot be loaded",
        "The fxemitter id=7 image file='spark.png' cannot be loaded",
    };
    EXPECT_EQ(messages, expected);
    EXPECT_EQ(qbSceneFxEmitterCount(0), 3);

    messages.clear();
    qbSceneSetReportLoadErrors(0);
    ASSERT_EQ(qbSceneLoad("scene", 0, 1, 0, 5, 0, "data", 0), 0);
    EXPECT_EQ(messages, std::vector<std::string>{expected[3]}) << "not behind the switch";
}

TEST_F(Slots, UseSixtyFiveSurfacesOfMore) {
    scene.objects = {{"A", "box.x"}};
    scene.objects[0].surfaceCount = 65;
    ASSERT_EQ(load("scene", 0, 1), 0);
    EXPECT_TRUE(messages.empty());

    scene.objects[0].surfaceCount = 66;
    ASSERT_EQ(load("scene", 0, 1), 0);
    const std::vector<std::string> expected = {
        "The object id=1 'box.x' numSurfaces=66 > NOF_SURFACE_MAX=65. Will result in corruption",
        "surfaceSetup(): numSurfaces=66 > MAX_SURFACES=65",
    };
    EXPECT_EQ(messages, expected);
    qbSceneUpdate(0, 40);
    EXPECT_EQ(messages.size(), 2U);
    EXPECT_NE(qbObjectSurfaceCtx(1, 64), nullptr);
    EXPECT_EQ(qbObjectSurfaceCtx(1, 65), nullptr);
    EXPECT_EQ(qbObjectSurfaceCtx(1, 0)->params[1].color[0], 40.0F);
}

TEST_F(Slots, LoadInTheSettledOrder) {
    scene.objects = {{"A", "box.x"}};
    scene.lights.resize(1);
    scene.lights[0].type = 2;
    scene.lights[0].falloff = 1;
    scene.emitters = {{"E", "e.png", {1.0F, 1.0F, 1.0F}}};
    scene.cameras.resize(1);
    fakeLogs = true;
    ASSERT_EQ(load("scene", 0, 1), 0);
    // The update at time 0, which begins with the glow, ends the load.
    const std::vector<std::string> expected = {
        "object surfaces", "object translucency", "object transparency", "light type",    "light cone",
        "light range",     "light color",         "emitter image",       "emitter limit", "glow"};
    ASSERT_GT(fakeLog.size(), expected.size());
    fakeLog.resize(expected.size());
    EXPECT_EQ(fakeLog, expected);
}

TEST_F(Slots, StandStoppedAndHiddenAfterTheLoad) {
    scene.objects = {{"A", "box.x"}};
    scene.objects[0].motion.position = {1.0F, 2.0F, 3.0F};
    scene.lights.resize(1);
    scene.zenith = {1.0F, 0.5F, 0.999F};
    qbEngineSetBackground(0);
    ASSERT_EQ(load("scene", 0, 1), 0);
    irr::scene::ISceneNode* node = qbObjectMeshNode(1);
    EXPECT_FALSE(node->isVisible());
    EXPECT_EQ(node->getPosition(), vector3df(1.0F, 2.0F, 3.0F));
    EXPECT_EQ(qbVisibleLightNode(0), nullptr);

    qbSceneStart(0);
    EXPECT_NE(qbVisibleLightNode(0), nullptr);
    EXPECT_EQ(qbEngineBackground() & 0xFFFFFFU, 0xFF7FFEU) << "0.5 and 0.999 of 255, cut";

    qbSceneHide(0);
    EXPECT_TRUE(node->isVisible());
    EXPECT_EQ(node->getPosition(), vector3df(0.0F, 0.0F, -1000000.0F));
    EXPECT_NE(qbVisibleLightNode(0), nullptr);
    qbSceneShow(0);
    qbSceneUpdate(0, 0);
    EXPECT_EQ(node->getPosition(), vector3df(1.0F, 2.0F, 3.0F));

    qbSceneStop(0);
    EXPECT_FALSE(node->isVisible());
    EXPECT_EQ(qbVisibleLightNode(0), nullptr);
    EXPECT_EQ(qbEngineBackground() & 0xFFFFFFU, 0xFF7FFEU) << "stopping leaves the background";
}

TEST_F(Slots, GiveEverythingBack) {
    scene.objects = {{"A", "box.x"}, null("B"), {"C", "box.x"}, {"D", "cone.x"}};
    scene.lights.resize(2);
    fakeScenes["small"].objects = {{"A", "box.x"}};
    ASSERT_EQ(load("scene", 0, 1), 0);
    EXPECT_EQ(nodes(), 2U + 3U + 2U);
    ASSERT_EQ(load("small", 0, 1), 0) << "over a loaded slot";
    EXPECT_EQ(nodes(), 3U);
    EXPECT_EQ(fakeOpenScenes, 1);
    EXPECT_FALSE(qbObjectExists(3));
    EXPECT_EQ(load("missing", 0, 1), -1);
    EXPECT_EQ(nodes(), 2U) << "freed before the new one fails";
    EXPECT_EQ(qbSceneObjectCount(0), -1);
    EXPECT_EQ(fakeOpenScenes, 0);
}

TEST_F(Slots, HangExtrasOnTheCamera) {
    scene.objects = {{"A", "box.x"}};
    scene.lights.resize(3);
    scene.zenith = {1.0F, 1.0F, 1.0F};
    qbEngineSetBackground(0x123456);
    ASSERT_EQ(load("scene", 0, 1, "data", 1), 0);
    qbSceneStart(0);
    EXPECT_EQ(qbObjectMeshNode(1)->getParent(), holder);
    EXPECT_EQ(qbIdListGet(qbEngineGet()->lights, 0), nullptr);
    EXPECT_EQ(qbSceneLightCount(0), 3) << "the ids are used up all the same";
    EXPECT_EQ(qbEngineBackground() & 0xFFFFFFU, 0x123456U);

    ASSERT_EQ(load("scene", 1, 10), 0);
    qbSceneStart(1);
    qbSceneStop(0);
    EXPECT_NE(qbVisibleLightNode(0), nullptr) << "a light of another scene with the same id";
    qbSceneFree(1);
    qbSceneFree(0);
    EXPECT_EQ(nodes(), 2U);
}

TEST_F(Slots, DriveEmittersThatExist) {
    scene.emitters = {{"E", "e.png", {1.0F, 1.0F, 1.0F}}};
    scene.emitters[0].motion.position = {4.0F, 5.0F, 6.0F};
    scene.emitters[0].motion.speed = 0.5F;
    scene.cameras.resize(1);
    scene.cameras[0].motion.position = {100.0F, 0.0F, 0.0F};
    ASSERT_EQ(load("scene", 0, 1, "data", 1), 0);
    auto* node = smgr->addParticleSystemSceneNode(false);
    ASSERT_EQ(qbIdListAdd(qbEngineGet()->fxemitters, 0, new QbFxEmitterRec{node, 0, QB_FX_EMITTER_BOX}), 0);
    void (*const switches[])(int) = {qbSceneStop, qbSceneShow, qbSceneHide, qbSceneStart};
    for (int i = 0; i < 4; i++) {
        switches[i](0);
        EXPECT_EQ(node->isVisible(), i % 2 == 1) << i;
    }
    qbSceneUpdate(0, 10);
    EXPECT_EQ(node->getPosition(), vector3df(9.0F, 5.0F, 6.0F))
        << "the camera of an extra does not move emitters";
    qbSceneFree(0);
    EXPECT_EQ(nodes(), 2U);
    EXPECT_FALSE(qbFxEmitterExists(0));
}
