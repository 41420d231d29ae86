#include "engine/engine.h"
#include "meshes.h"
#include "scene/runtime/objects.h"
#include "stage.h"

#include <climits>
#include <filesystem>

using irr::core::vector3df;

namespace {

class Objects : public Stage {
protected:
    void SetUp() override {
        Stage::SetUp();
        directory.write("box.x", boxMesh(2.0F, "1.0;1.0;1.0"));
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
    directory.write("Data/town/Tower.x", boxMesh(2.0F, "1.0;1.0;1.0"));
    directory.write("isle.terrain.x", boxMesh(2.0F, "1.0;1.0;1.0"));
    directory.write("tri.obj", "v 0 0 0\nv 0 1 0\nv 1 0 0\nf 1 2 3\n");
    const std::string full = directory.path() + "/box.x";
    const char* const found[] = {
        "box.x", "BOX.X", "./box.x", full.c_str(), "Data\\town\\tower.x", "data/TOWN/Tower.x", "tri.obj"};
    for (const char* name : found) {
        qbObjectLoad(name, 1);
        EXPECT_TRUE(qbObjectExists(1)) << name;
        qbObjectFree(1);
    }
    EXPECT_TRUE(messages.empty());
    const char* const missing[] = {"", "Tower.x", "\\box.x", "Data", "box", "isle.terrain.x"};
    for (const char* name : missing) {
        qbObjectLoad(name, 1);
        EXPECT_FALSE(qbObjectExists(1)) << name;
    }
    EXPECT_EQ(nodes(), 2U) << "camera and holder only";
}

TEST_F(Objects, KeepMeshesOfTwoDirectoriesApart) {
    directory.write("a/box.x", boxMesh(2.0F, "1.0;1.0;1.0"));
    directory.write("b/box.x", boxMesh(6.0F, "1.0;1.0;1.0"));
    const std::filesystem::path top = std::filesystem::current_path();
    std::filesystem::current_path(top / "a");
    qbObjectLoad("box.x", 1);
    std::filesystem::current_path(top / "b");
    qbObjectLoad("box.x", 2);
    EXPECT_FLOAT_EQ(qbObjectDepth(1), 2.0F);
    EXPECT_FLOAT_EQ(qbObjectRadius(2), 6.0F);
}

TEST_F(Objects, RefuseWhatTheReaderCanNotRead) {
    const std::string path = directory.path() + "/bad.x";
    const std::string noX =
        path + " is not a .x file: it does not begin with \"xof \"; save the mesh again as .x";
    const std::string packed = path + " is a compressed .x file; save it as text or binary (not compressed)";
    const std::string unknown =
        path + " is a .x file of an unknown kind; save it as text or binary with 32-bit floats";
    const struct {
        const char* bytes;
        const std::string& message;
    } cases[] = {
        {"", noX},
        {"xof 0303txt 003", noX},
        {"PK\3\4 a whole archive", noX},
        {"xof 0303tzip0032 rest", packed},
        {"xof 0303bzip0032 rest", packed},
        {"xof 0303com 0032 rest", unknown},
        {"xof 0303txt 0016 rest", unknown},
    };
    for (const auto& entry : cases) {
        messages.clear();
        directory.write("bad.x", entry.bytes);
        qbObjectLoad("BAD.X", 1);
        EXPECT_FALSE(qbObjectExists(1)) << entry.bytes;
        EXPECT_EQ(messages, std::vector<std::string>{entry.message}) << entry.bytes;
    }
}

TEST_F(Objects, AreAnimatedWithMoreThanOneFrame) {
    qbObjectLoad("box.x", 1);
    qbObjectLoad("slide.x", 2);
    EXPECT_EQ(qbObjectFrameCount(1), 1);
    EXPECT_EQ(qbObjectAnimatedNode(1), nullptr);
    EXPECT_EQ(qbObjectFrameCount(2), 10);
    EXPECT_EQ(qbObjectMeshNode(2), nullptr);
    ASSERT_NE(qbObjectAnimatedNode(2), nullptr);
    EXPECT_EQ(qbObjectAnimatedNode(2)->getID(), 2);
    EXPECT_EQ(qbObjectAnimatedNode(2)->getAnimationSpeed(), 0.0F);
    EXPECT_EQ(qbObjectFrameCount(3), 0);

    // Two nodes of one mesh show the frame asked for, whatever the clock, and stay within its frames.
    qbObjectCopy(3, 2);
    const std::pair<float, float> cases[] = {
        {2.5F, 2.5F}, {9.0F, 9.0F}, {0.0F, 0.0F}, {10.0F, 9.0F}, {-1.0F, 0.0F}};
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
    EXPECT_NE(qbObjectMeshNode(2), qbObjectMeshNode(1));
    EXPECT_EQ(qbObjectMeshNode(2)->getID(), 2);
    EXPECT_EQ(qbObjectDepth(2), 0.0F) << "a copy holds no mesh of its own";
    qbObjectCopy(3, 2);
    qbObjectCopyUnshared(4, 99);
    qbObjectCopy(5, -1);
    for (int id : {3, 4, 5})
        EXPECT_FALSE(qbObjectExists(id)) << id;
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
    qbObjectLoad("box.x", 999);
    EXPECT_TRUE(qbObjectExists(999));
}

TEST_F(Objects, ScaleByPercentAndHang) {
    qbObjectLoad("box.x", 1);
    irr::scene::ISceneNode* node = qbObjectMeshNode(1);
    qbObjectSetScale(1, 50.0F, 100.0F, 250.0F);
    EXPECT_EQ(node->getScale(), vector3df(0.5F, 1.0F, 2.5F));
    qbObjectAttachToHolder(1);
    EXPECT_EQ(node->getParent(), holder);
    EXPECT_TRUE(node->getMaterial(0).NormalizeNormals);
}

TEST_F(Objects, IgnoreEmptyIds) {
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
        EXPECT_EQ(qbObjectDepth(id), 0.0F);
    }
    EXPECT_EQ(nodes(), 2U);
}

TEST_F(Objects, MatchSurfacesToMaterialsByPosition) {
    qbObjectLoad("box.x", 1);
    std::vector<QbSurfaceValues> values(2);
    values[0].params[1].color[0] = 0.25F;
    values[0].params[8].textureImage = "bump.png";
    values[1].params[1].color[0] = 0.5F;
    values[1].hasShader = 1;
    qbObjectSetSurfaces(1, 2, values.data(), 0);
    ASSERT_NE(qbObjectSurfaceCtx(1, 1), nullptr);
    EXPECT_EQ(qbObjectSurfaceCtx(1, 0)->params[1].color[0], 0.25F);
    EXPECT_EQ(qbObjectSurfaceCtx(1, 0)->needsTangents, 1);
    EXPECT_EQ(qbObjectSurfaceCtx(1, 1)->hasShader, 0)
        << "the mesh has one material: the second stays cleared";
    EXPECT_EQ(qbObjectSurfaceCtx(1, 2), nullptr);
    EXPECT_EQ(qbObjectSurfaceCtx(1, -1), nullptr);

    values[0].params[1].color[0] = 0.75F;
    values[0].params[8].textureImage = nullptr;
    qbObjectSetSurfaces(1, 2, values.data(), 40);
    EXPECT_EQ(qbObjectSurfaceCtx(1, 0)->params[1].color[0], 0.75F);
    EXPECT_EQ(qbObjectSurfaceCtx(1, 0)->needsTangents, 1) << "set up once";
}

TEST_F(Objects, GetTangentsForBumps) {
    qbObjectLoad("box.x", 1);
    qbObjectLoad("slide.x", 2);
    qbObjectHide(1);
    qbObjectAttachToHolder(1);
    qbObjectMeshNode(1)->getMaterial(0).Shininess = 7.0F;
    const unsigned before = nodes();
    const irr::scene::IMesh* plain = qbObjectMeshNode(1)->getMesh();
    QbSurfaceValues bumpy{};
    bumpy.params[8].textureImage = "none.png";
    qbObjectSetSurfaces(1, 1, &bumpy, 0);
    qbObjectSetSurfaces(2, 1, &bumpy, 0);

    irr::scene::IMeshSceneNode* node = qbObjectMeshNode(1);
    EXPECT_EQ(verticesOf(1), irr::video::EVT_TANGENTS);
    EXPECT_EQ(node->getID(), 1);
    EXPECT_FALSE(node->isVisible());
    EXPECT_EQ(node->getParent(), holder);
    EXPECT_EQ(node->getMaterial(0).Shininess, 7.0F) << "the node's material, not the mesh's";
    EXPECT_EQ(node->getMaterial(0).MaterialType, irr::video::EMT_PARALLAX_MAP_SOLID);
    EXPECT_EQ(qbObjectDepth(1), 2.0F);
    EXPECT_EQ(nodes(), before);
    EXPECT_EQ(qbObjectAnimatedNode(2)->getMesh()->getMeshBuffer(0)->getVertexType(),
              irr::video::EVT_STANDARD);
    EXPECT_EQ(qbObjectAnimatedNode(2)->getMaterial(0).MaterialType, irr::video::EMT_PARALLAX_MAP_SOLID);

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
