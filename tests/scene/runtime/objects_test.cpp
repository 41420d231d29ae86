#include "engine/engine.h"
#include "meshes.h"
#include "scene/runtime/objects.h"
#include "stage.h"

#include <climits>

using irr::core::vector3df;

namespace {

class Objects : public Stage {
protected:
    void SetUp() override {
        Stage::SetUp();
        directory.write("box.x", boxMesh(2.0F));
        directory.write("slide.x", slidingMesh());
    }
};

// x of the mesh's first vertex as the node would draw it now.
float drawnX(int id) {
    irr::scene::IAnimatedMeshSceneNode* node = qbObjectAnimatedNode(id);
    node->OnAnimate(1000);
    return node->getMesh()->getMeshBuffer(0)->getPosition(0).X;
}

irr::video::E_VERTEX_TYPE verticesOf(int id) {
    return qbObjectMeshNode(id)->getMesh()->getMeshBuffer(0)->getVertexType();
}

} // namespace

TEST_F(Objects, FindTheirMeshByName) {
    directory.write("Data/town/Tower.x", boxMesh(2.0F));
    directory.write("Data/box.x", boxMesh(6.0F));
    directory.write("isle.terrain.x", boxMesh(2.0F));
    directory.write("tri.obj", "v 0 0 0\nv 0 1 0\nv 1 0 0\nf 1 2 3\n");
    const std::string full = directory.path() + "/box.x";
    const char* const found[] = {
        "BOX.X", "./box.x", full.c_str(), "Data\\town\\tower.x", "data/TOWN/Tower.x", "tri.obj"};
    for (const char* name : found) {
        qbObjectLoad(name, 1);
        EXPECT_TRUE(qbObjectExists(1)) << name;
        qbObjectFree(1);
    }
    EXPECT_TRUE(messages.empty());
    for (const char* name : {"", "Tower.x", "\\box.x", "Data", "box", "isle.terrain.x"}) {
        qbObjectLoad(name, 1);
        EXPECT_FALSE(qbObjectExists(1)) << name;
    }
    EXPECT_EQ(nodes(), 2U) << "camera and holder only";

    // The same name in two directories is two meshes.
    qbObjectLoad("./box.x", 1);
    std::filesystem::current_path("Data");
    qbObjectLoad("./box.x", 2);
    EXPECT_FLOAT_EQ(qbObjectDepth(1), 2.0F);
    EXPECT_FLOAT_EQ(qbObjectDepth(2), 6.0F);
}

TEST_F(Objects, AreAnimatedWithMoreThanOneFrame) {
    qbObjectLoad("box.x", 1);
    qbObjectLoad("slide.x", 2);
    EXPECT_EQ(qbObjectFrameCount(2), 10);
    EXPECT_EQ(qbObjectMeshNode(2), nullptr);
    ASSERT_NE(qbObjectAnimatedNode(2), nullptr);
    EXPECT_EQ(qbObjectFrameCount(3), 0);

    // Two nodes of one mesh show the frame asked for, whatever the clock, and stay within its frames.
    qbObjectCopy(3, 2);
    const std::pair<float, float> cases[] = {{2.5F, 2.5F}, {0.0F, 0.0F}, {10.0F, 9.0F}, {-1.0F, 0.0F}};
    for (const auto& [frame, shown] : cases) {
        qbObjectSetFrame(2, frame);
        qbObjectSetFrame(3, 9.0F - shown);
        EXPECT_NEAR(drawnX(2), shown, 1e-4F) << frame;
        EXPECT_NEAR(drawnX(3), 9.0F - shown, 1e-4F) << frame;
    }
}

TEST_F(Objects, CopyNodesButNotCopiesOrNothing) {
    qbObjectLoad("box.x", 1);
    qbObjectCopy(2, 1);
    ASSERT_TRUE(qbObjectExists(2));
    EXPECT_EQ(qbObjectMeshNode(2)->getMesh(), qbObjectMeshNode(1)->getMesh());
    EXPECT_EQ(qbObjectMeshNode(2)->getID(), 2);
    EXPECT_TRUE(qbObjectMeshNode(2)->getMaterial(0).NormalizeNormals);
    qbObjectCopy(3, 2);
    qbObjectCopyUnshared(4, 99);
    qbObjectCopy(5, -1);
    EXPECT_EQ(nodes(), 4U);
}

TEST_F(Objects, LeaveNothingBehindWhenTheIdIsRefused) {
    qbObjectLoad("box.x", 1);
    const irr::scene::ISceneNode* first = qbObjectMeshNode(1);
    for (const int id : {1, 1000, INT_MAX, -1, INT_MIN}) {
        testing::internal::CaptureStderr();
        qbObjectLoad("box.x", id);
        qbObjectCopy(id, 1);
        EXPECT_FALSE(testing::internal::GetCapturedStderr().empty());
        EXPECT_EQ(nodes(), 3U) << id;
    }
    EXPECT_EQ(qbObjectMeshNode(1), first);
    for (const int id : {-1, 0, 5, 1000}) {
        qbObjectShow(id);
        qbObjectHide(id);
        qbObjectSetPosition(id, 1.0F, 1.0F, 1.0F);
        qbObjectSetRotation(id, 1.0F, 1.0F, 1.0F);
        qbObjectSetScale(id, 1.0F, 1.0F, 1.0F);
        qbObjectSetFrame(id, 1.0F);
        qbObjectAttachToHolder(id);
        qbObjectSetSurfaces(id, 1, nullptr, 0);
        qbObjectFree(id);
        EXPECT_EQ(qbObjectSurfaceCtx(id, 0), nullptr);
    }
}

TEST_F(Objects, MatchSurfacesToMaterialsByPosition) {
    qbObjectLoad("box.x", 1);
    QbSurfaceValues values[2] = {};
    values[0].params[8].textureImage = "bump.png";
    values[1].hasShader = 1;
    qbObjectSetSurfaces(1, 2, values, 0);
    ASSERT_NE(qbObjectSurfaceCtx(1, 1), nullptr);
    EXPECT_EQ(qbObjectSurfaceCtx(1, 1)->hasShader, 0) << "without a material it stays cleared";
    EXPECT_EQ(qbObjectSurfaceCtx(1, 2), nullptr);
    EXPECT_EQ(qbObjectSurfaceCtx(1, -1), nullptr);

    values[0].params[1].color[0] = 0.75F;
    values[0].params[8].textureImage = nullptr;
    qbObjectSetSurfaces(1, 2, values, 40);
    EXPECT_EQ(qbObjectSurfaceCtx(1, 0)->params[1].color[0], 0.75F);
    EXPECT_EQ(qbObjectSurfaceCtx(1, 0)->needsTangents, 1) << "set up once";
}

TEST_F(Objects, GetTangentsForBumps) {
    qbObjectLoad("box.x", 1);
    qbObjectLoad("slide.x", 2);
    qbObjectMeshNode(1)->getMaterial(0).Shininess = 7.0F;
    const irr::scene::IMesh* plain = qbObjectMeshNode(1)->getMesh();
    QbSurfaceValues bumpy{};
    bumpy.params[8].textureImage = "none.png";
    qbObjectSetSurfaces(1, 1, &bumpy, 0);
    qbObjectSetSurfaces(2, 1, &bumpy, 0);

    EXPECT_EQ(verticesOf(1), irr::video::EVT_TANGENTS);
    const irr::video::SMaterial& material = qbObjectMeshNode(1)->getMaterial(0);
    EXPECT_EQ(material.Shininess, 7.0F) << "the node's material, not the mesh's";
    EXPECT_EQ(material.MaterialType, irr::video::EMT_PARALLAX_MAP_SOLID);
    EXPECT_EQ(qbObjectDepth(1), 2.0F);
    EXPECT_EQ(qbObjectAnimatedNode(2)->getMesh()->getMeshBuffer(0)->getVertexType(),
              irr::video::EVT_STANDARD);

    // The copy shares the new mesh, has the material of its own surface, and outlives its source.
    qbObjectCopy(3, 1);
    const QbSurfaceValues flat{};
    qbObjectSetSurfaces(3, 1, &flat, 0);
    qbObjectFree(1);
    EXPECT_EQ(verticesOf(3), irr::video::EVT_TANGENTS);
    EXPECT_EQ(qbObjectMeshNode(3)->getMaterial(0).MaterialType, irr::video::EMT_SOLID);

    // The engine's own mesh stays as it was read. A copy never builds tangents.
    qbObjectLoad("box.x", 1);
    EXPECT_EQ(qbObjectMeshNode(1)->getMesh(), plain);
    qbObjectCopy(4, 1);
    qbObjectSetSurfaces(4, 1, &bumpy, 0);
    EXPECT_EQ(qbObjectMeshNode(4)->getMesh(), plain);
}
