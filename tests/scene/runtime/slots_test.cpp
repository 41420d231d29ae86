#include "engine/engine.h"
#include "engine/lights.h"
#include "fake_scene.h"
#include "meshes.h"
#include "scene/runtime/fx_emitters.h"
#include "scene/runtime/objects.h"
#include "scene/runtime/slots.h"

#include <climits>

using irr::core::vector3df;
using Texts = std::vector<std::string>;

namespace {

class Slots : public FakeStage {
protected:
    void SetUp() override {
        FakeStage::SetUp();
        directory.write("box.x", boxMesh(2.0F));
        directory.write("cone.x", boxMesh(3.0F));
    }

    static int load(const char* name, int slot, int firstObject, const char* directory = "data",
                    int extra = 0) {
        return qbSceneLoad(name, slot, firstObject, 0, 5, 0, directory, extra);
    }

    FakeScene& scene = fakeScenes["scene"];
};

} // namespace

TEST_F(Slots, AreSixtyAndAnswerWhenEmpty) {
    EXPECT_EQ(load("scene", 59, 1), 0);
    EXPECT_EQ(load("missing", 0, 1), -1);
    for (const int slot : {INT_MIN, -1, 0, 60, INT_MAX}) {
        EXPECT_EQ(load("missing", slot, 1), -1) << slot;
        EXPECT_EQ(qbSceneObjectCount(slot), -1) << slot;
        EXPECT_EQ(qbSceneLightCount(slot), -1) << slot;
        EXPECT_EQ(qbSceneFxEmitterCount(slot), -1) << slot;
        EXPECT_EQ(qbSceneDurationMs(slot), 0) << slot;
        EXPECT_EQ(qbSceneFramesPerSecond(slot), 0) << slot;
        EXPECT_EQ(qbSceneFirstFrame(slot), 0) << slot;
        EXPECT_EQ(qbSceneSaveBinary(slot, "x"), -1) << slot;
        EXPECT_EQ(qbSceneFindObjectByName(slot, "a"), -1) << slot;
        for (const auto act : {qbSceneStart, qbSceneStop, qbSceneHide, qbSceneShow, qbSceneFree})
            act(slot);
        qbSceneUpdate(slot, 0);
    }
    EXPECT_EQ(qbSceneSaveBinary(59, "x"), 7);

    const int durations[][4] = {
        {0, 249, 25, 9960}, {0, 1, 0, 0}, {0, 1, 30, 33}, {INT_MIN, INT_MAX, 1, INT_MAX}};
    for (const auto& [first, last, fps, duration] : durations) {
        scene.firstFrame = first;
        scene.lastFrame = last;
        scene.framesPerSecond = fps;
        EXPECT_EQ(qbSceneDurationMs(59), duration);
    }
}

TEST_F(Slots, RunIdsThroughItemsThatFail) {
    scene.objects = {
        {"A", "box.x"}, {"B", "", true}, {"C", "gone.x"}, {"D", "cone.x"}, {"E", "isle.terrain.x"}};
    scene.lights.resize(2);
    scene.emitters = {{"a"}, {"smoke", "smoke.png"}, {"spark", "spark.png", {1.0F, 0.0F, 0.0F}}};
    ASSERT_EQ(load("scene", 3, 10), 0);
    for (int id = 9; id < 16; id++)
        EXPECT_EQ(qbObjectExists(id), id == 10 || id == 13) << id;
    EXPECT_NE(qbIdListGet(qbEngineGet()->lights, 1), nullptr);
    EXPECT_EQ(qbSceneObjectCount(3), 5);
    EXPECT_EQ(qbSceneLightCount(3), 2);
    EXPECT_EQ(qbSceneFxEmitterCount(3), 3);
    EXPECT_EQ(qbSceneFindObjectByName(3, "d"), 13);
    EXPECT_EQ(qbSceneFindObjectByName(3, "B"), -1);
    const Texts expected = {
        "The object id=12 'gone.x' cannot be loaded",
        "Cannot load height map file 'isle.terrain.x_height.bmp'",
        "The object id=14 'isle.terrain.x' cannot be loaded",
        "fxemitter id=5 : image file='(null)' not set",
        "fxemitter mesh id=6 image file='smoke.png' cannot find object ",
        "The fxemitter id=6 image file='smoke.png' cannot be loaded",
        "The fxemitter id=7 image file='spark.png' cannot be loaded",
    };
    EXPECT_EQ(messages, expected);

    messages.clear();
    qbSceneSetReportLoadErrors(0);
    testing::internal::CaptureStderr();
    ASSERT_EQ(load("scene", 3, 999), 0);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(messages, (Texts{expected[1], expected[4]})) << "not behind the switch";
    EXPECT_EQ(nodes(), 5U) << "one object, as 1000 are too many, and two lights";
}

TEST_F(Slots, ShareMeshesWithinADirectory) {
    fakeScenes["one"].objects = {{"A", "box.x"}, {"B", "BOX.X"}};
    fakeScenes["two"].objects = {{"C", "box.x"}};
    ASSERT_EQ(load("one", 0, 1, "Data/"), 0);
    ASSERT_EQ(load("two", 1, 3, "data/"), 0);
    ASSERT_EQ(load("two", 2, 4, "other/"), 0);
    // A copy holds no mesh of its own.
    for (const int id : {1, 2, 3, 4})
        EXPECT_EQ(qbObjectDepth(id) > 0.0F, id == 1 || id == 4) << id;
    EXPECT_EQ(qbSceneFindObjectByMesh("DATA/", "Box.x"), 1);
    EXPECT_EQ(qbSceneFindObjectByMesh("data", "box.x"), -1);

    // Its source gone, a copy has no mesh to give.
    qbSceneFree(0);
    EXPECT_EQ(load("two", 5, 9, "data/"), 0);
    EXPECT_EQ(messages, Texts{"The object id=9 'box.x' cannot be loaded"});

    // A directory counts with its first 255 characters, none as an empty one.
    ASSERT_EQ(load("two", 6, 10, std::string(300, 'd').c_str()), 0);
    ASSERT_EQ(load("two", 7, 11, nullptr), 0);
    EXPECT_EQ(qbSceneFindObjectByMesh(std::string(255, 'd').c_str(), "box.x"), 10);
    EXPECT_EQ(qbSceneFindObjectByMesh("", "box.x"), 11);
}

TEST_F(Slots, UseSixtyFiveSurfacesOfMore) {
    scene.objects = {{"A", "box.x"}};
    scene.objects[0].surfaceCount = 65;
    ASSERT_EQ(load("scene", 0, 1), 0);
    EXPECT_TRUE(messages.empty());
    scene.objects[0].surfaceCount = 66;
    ASSERT_EQ(load("scene", 0, 1), 0);
    qbSceneUpdate(0, 40);
    EXPECT_EQ(messages,
              (Texts{"The object id=1 'box.x' numSurfaces=66 > NOF_SURFACE_MAX=65. Will result in corruption",
                     "surfaceSetup(): numSurfaces=66 > MAX_SURFACES=65"}));
    EXPECT_NE(qbObjectSurfaceCtx(1, 64), nullptr);
    EXPECT_EQ(qbObjectSurfaceCtx(1, 65), nullptr);
    EXPECT_EQ(qbObjectSurfaceCtx(1, 0)->params[1].color[0], 40.0F);
}

TEST_F(Slots, ShowAndHideWhatTheyHold) {
    scene.objects = {{"A", "box.x"}};
    scene.objects[0].motion.position = {1.0F, 2.0F, 3.0F};
    scene.lights.resize(1);
    scene.emitters = {{"E", "e.png", {1.0F, 1.0F, 1.0F}}};
    scene.zenith = {1.0F, 0.5F, 0.999F};
    qbEngineSetBackground(0);
    ASSERT_EQ(load("scene", 0, 1), 0);
    auto* smoke = smgr->addParticleSystemSceneNode(false);
    ASSERT_EQ(qbIdListAdd(qbEngineGet()->fxemitters, 5, new QbFxEmitterRec{smoke, 5, QB_FX_EMITTER_BOX}), 0);
    const irr::scene::ISceneNode* node = qbObjectMeshNode(1);
    const vector3df place(1.0F, 2.0F, 3.0F), parked(0.0F, 0.0F, -1000000.0F);
    const struct {
        void (*act)(int);
        bool object, light, emitter;
        vector3df place;
    } cases[] = {
        {nullptr, false, false, true, place}, // a load ends stopped, at time 0
        {qbSceneStart, true, true, true, place},
        {qbSceneHide, true, true, false, parked},
        {qbSceneShow, true, true, true, parked},
        {[](int slot) { qbSceneUpdate(slot, 0); }, true, true, true, place},
        {qbSceneStop, false, false, false, place},
    };
    for (const auto& c : cases) {
        const auto step = &c - cases;
        if (c.act) c.act(0);
        EXPECT_EQ(node->isVisible(), c.object) << step;
        EXPECT_EQ(qbVisibleLightNode(0) != nullptr, c.light) << step;
        EXPECT_EQ(smoke->isVisible(), c.emitter) << step;
        EXPECT_EQ(node->getPosition(), c.place) << step;
        EXPECT_EQ(qbEngineBackground() & 0xFFFFFFU, c.act ? 0xFF7FFEU : 0U) << "0.5, 0.999 of 255 are cut";
    }
    scene.emitters[0].motion = {{4.0F, 5.0F, 6.0F}, {}, {}, 0.5F};
    qbSceneUpdate(0, 10);
    EXPECT_EQ(smoke->getPosition(), vector3df(9.0F, 5.0F, 6.0F));
    qbSceneFree(0);
    EXPECT_EQ(nodes(), 2U);
}

TEST_F(Slots, GiveEverythingBack) {
    scene.objects = {{"A", "box.x"}, {"B", "", true}, {"C", "box.x"}, {"D", "cone.x"}};
    scene.lights.resize(2);
    fakeScenes["small"].objects = {{"A", "box.x"}};
    ASSERT_EQ(load("scene", 0, 1), 0);
    EXPECT_EQ(nodes(), 2U + 3U + 2U);
    ASSERT_EQ(load("small", 0, 1), 0) << "over a loaded slot";
    EXPECT_EQ(nodes(), 3U);
    EXPECT_EQ(fakeOpenScenes, 1);
    EXPECT_EQ(load("missing", 0, 1), -1);
    EXPECT_EQ(nodes(), 2U) << "freed before the new one fails";
    EXPECT_EQ(qbSceneObjectCount(0), -1);
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
}
