#include "scene/runtime/slots.h"

#include "engine/lights.h"
#include "scene/runtime/fx_emitters.h"
#include "scene/runtime/objects.h"
#include "stage.h"

#include <climits>

using Slots = Stage;

TEST_F(Slots, AreSixtyAndAnswerWhenEmpty) {
    EXPECT_EQ(load(scene, 59, 1), 0);
    for (const int slot : {INT_MIN, -1, 0, 60, INT_MAX}) {
        for (const char* none : {"missing.quab", "old.lws.ini"})
            EXPECT_EQ(qbSceneLoad(none, slot, 1, 0, 0, 0, "", 0), -1) << slot;
        for (const auto count : {qbSceneObjectCount, qbSceneLightCount, qbSceneFxEmitterCount})
            EXPECT_EQ(count(slot), -1) << slot;
        for (const auto time : {qbSceneDurationMs, qbSceneFramesPerSecond, qbSceneFirstFrame})
            EXPECT_EQ(time(slot), 0) << slot;
        EXPECT_EQ(qbSceneSaveBinary(slot, "x"), -1) << slot;
        EXPECT_EQ(qbSceneFindObjectByName(slot, "a"), -1) << slot;
        for (const auto act : {qbSceneStart, qbSceneStop, qbSceneHide, qbSceneShow, qbSceneFree})
            act(slot);
        qbSceneUpdate(slot, 0);
    }
    // Half a frame a second is cut to none.
    const int scenes[][4] = {{0, 249, 50, 9960}, {0, 1, 1, 0}, {0, 1, 60, 33}, {INT_MIN, -2, 2, INT_MAX}};
    for (const auto& [first, last, halfRate, duration] : scenes) {
        scene.frameStart = first;
        scene.frameEnd = last;
        scene.framesPerSecond = static_cast<float>(halfRate) / 2;
        ASSERT_EQ(load(scene, 0, 1), 0);
        EXPECT_EQ(qbSceneDurationMs(0), duration);
    }
}

TEST_F(Slots, RunIdsThroughItemsThatFail) {
    writeBox("cone.x");
    scene.objects = {object("A", "box.x"), object("B", "box.x"), object("C", "gone.x"), object("D", "cone.x"),
                     object("E", "isle.terrain.x")};
    scene.objects[1].numPolygons = 0;
    scene.lights.resize(2);
    scene.emitters.resize(3);
    scene.emitters[1].hyperVoxelImage = "smoke.png";
    scene.emitters[1].generatorSize = {};
    scene.emitters[2].hyperVoxelImage = "gone.png";
    ASSERT_EQ(load(scene, 3, 10), 0);
    for (int id = 9; id < 16; id++)
        EXPECT_EQ(qbObjectExists(id), id == 10 || id == 13) << id;
    EXPECT_NE(qbIdListGet(qbEngineGet()->lights, 11), nullptr);
    EXPECT_EQ(qbSceneObjectCount(3), 5);
    EXPECT_EQ(qbSceneFxEmitterCount(3), 3);
    EXPECT_EQ(qbSceneFindObjectByName(3, "d"), 13);
    EXPECT_EQ(qbSceneFindObjectByName(3, "B"), -1);
    const Texts expected = {
        "The object id=12 'gone.x' cannot be loaded",
        "Cannot load height map file 'isle.terrain.x_height.bmp'",
        "The object id=14 'isle.terrain.x' cannot be loaded",
        "fxemitter id=10 : image file='(null)' not set",
        "fxemitter mesh id=11 image file='smoke.png' cannot find object ",
        "The fxemitter id=11 image file='smoke.png' cannot be loaded",
        "The fxemitter id=12 image file='gone.png' cannot be loaded",
    };
    EXPECT_EQ(messages, expected);

    // Over a loaded slot, where most ids are beyond the tables.
    messages.clear();
    qbSceneSetReportLoadErrors(0);
    ASSERT_EQ(load(scene, 3, 999), 0);
    EXPECT_EQ(messages.size(), 2U) << "not behind the switch: height map, emitter without object";
    EXPECT_EQ(nodes(), 2U + 1U + 1U) << "the first object and the first light";
    EXPECT_EQ(qbSceneLoad("missing.quab", 3, 1, 0, 0, 0, "", 0), -1);
    EXPECT_EQ(nodes(), 2U) << "freed before the new one fails";
}

TEST_F(Slots, ShareMeshesWithinADirectory) {
    QbExportScene pair = scene;
    scene.objects = {object("A", "box.x")};
    pair.objects = {object("A", "box.x"), object("B", "BOX.X")};
    ASSERT_EQ(load(pair, 0, 1, 0, "Data/"), 0);
    ASSERT_EQ(load(scene, 1, 3, 0, "data/"), 0);
    ASSERT_EQ(load(scene, 2, 4, 0, "other/"), 0);
    // A copy holds no mesh of its own.
    for (const int id : {1, 2, 3, 4})
        EXPECT_EQ(qbObjectDepth(id) > 0.0F, id == 1 || id == 4) << id;
    EXPECT_EQ(qbSceneFindObjectByMesh("DATA/", "Box.x"), 1);
    EXPECT_EQ(qbSceneFindObjectByMesh("data", "box.x"), -1);

    // Its source gone, a copy has no mesh to give.
    qbSceneFree(0);
    EXPECT_EQ(load(scene, 5, 9, 0, "data/"), 0);
    EXPECT_EQ(messages, Texts{"The object id=9 'box.x' cannot be loaded"});
}

TEST_F(Slots, UseSixtyFiveSurfacesOfMore) {
    scene.objects = {object("A", "box.x")};
    for (const size_t count : {65, 66}) {
        EXPECT_TRUE(messages.empty());
        scene.sceneObjects = {surfacesOf("box.x", count)};
        qbExportParam(scene.sceneObjects[0].surfaces[0], "Luminosity").channels[0] = ramp(0, 40);
        ASSERT_EQ(load(scene, 0, 1), 0);
    }
    qbSceneUpdate(0, 40);
    EXPECT_EQ(messages,
              (Texts{"The object id=1 'box.x' numSurfaces=66 > NOF_SURFACE_MAX=65. Will result in corruption",
                     "surfaceSetup(): numSurfaces=66 > MAX_SURFACES=65"}));
    EXPECT_NE(qbObjectSurfaceCtx(1, 64), nullptr);
    EXPECT_EQ(qbObjectSurfaceCtx(1, 65), nullptr);
    EXPECT_EQ(qbObjectSurfaceCtx(1, 0)->params[1].color[0], 40.0F);
}

TEST_F(Slots, ShowAndHideWhatTheyHold) {
    scene.objects = {object("A", "box.x")};
    qbExportSetPosition(scene.objects[0].motion, {1, 2, 3});
    scene.lights.resize(1);
    scene.emitters.resize(1);
    scene.emitters[0].hyperVoxelImage = "spark.png";
    scene.backdrop.zenith = {1, 0.5F, 0.999F};
    qbEngineSetBackground(0);
    const vector3df place(1, 2, 3), parked(0, 0, -1000000);
    const struct {
        void (*act)(int);
        bool object, light, emitter;
        vector3df place;
    } steps[] = {
        {[](int) {}, false, false, false, place}, // a load ends stopped, at time 0
        {qbSceneStart, true, true, true, place},
        {qbSceneHide, true, true, false, parked},
        {qbSceneShow, true, true, true, parked},
        {[](int slot) { qbSceneUpdate(slot, 0); }, true, true, true, place},
        {qbSceneStop, false, false, false, place},
    };
    for (const int extra : {1, 0}) {
        ASSERT_EQ(load(scene, 0, 1, extra), 0);
        const irr::scene::ISceneNode* node = qbObjectMeshNode(1);
        const auto* smoke = static_cast<QbFxEmitterRec*>(qbIdListGet(qbEngineGet()->fxemitters, 1))->node;
        EXPECT_EQ(node->getParent() == holder, extra == 1);
        EXPECT_EQ(smoke->getParent() == holder, extra == 1);
        EXPECT_EQ(qbSceneLightCount(0), 1) << "the ids of an extra are used up all the same";
        EXPECT_EQ(nodes(), extra ? 4U : 5U);
        for (const auto& step : steps) {
            const auto number = &step - steps;
            step.act(0);
            EXPECT_EQ(node->isVisible(), step.object) << number;
            EXPECT_EQ(qbVisibleLightNode(0) != nullptr, step.light && !extra) << number;
            EXPECT_EQ(smoke->isVisible(), step.emitter) << number;
            EXPECT_EQ(node->getPosition(), step.place) << number;
            EXPECT_EQ(qbEngineBackground() & 0xFFFFFFU, number > 0 && !extra ? 0xFF7FFEU : 0U)
                << "0.5 and 0.999 of 255 are cut";
        }
    }
    // An extra leaves lights of another scene alone that have its ids.
    qbSceneStart(0);
    scene.objects.clear();
    scene.emitters.clear();
    ASSERT_EQ(load(scene, 1, 1, 1), 0);
    qbSceneFree(1);
    EXPECT_NE(qbVisibleLightNode(0), nullptr);
}
