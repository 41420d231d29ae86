#include "scene/runtime/objects.h"

#include "stage.h"

#include <climits>

using Objects = Stage;

static irr::scene::IMesh* meshOf(int id) {
    return qbObjectMeshNode(id)->getMesh();
}

static irr::video::E_VERTEX_TYPE verticesOf(const irr::scene::IMesh* mesh) {
    return mesh->getMeshBuffer(0)->getVertexType();
}

TEST_F(Objects, FindTheirMeshByName) {
    writeBox("Data/town/Tower.x");
    writeBox("Data/box.x", 6);
    const std::string full = directory.path() + "/box.x";
    const char* const found[] = {"BOX.X", "./box.x", full.c_str(), "Data\\town\\tower.x",
                                 "data/TOWN/Tower.x"};
    for (const char* name : found) {
        qbObjectLoad(name, 1);
        EXPECT_TRUE(qbObjectExists(1)) << name;
        qbObjectFree(1);
    }
    EXPECT_TRUE(messages.empty());
    for (const char* name : {"", "Tower.x", "\\box.x", "Data", "box"}) {
        qbObjectLoad(name, 1);
        EXPECT_FALSE(qbObjectExists(1)) << name;
    }
    EXPECT_EQ(nodes(), 2U) << "camera and holder only";

    // The same name in two directories is two meshes.
    qbObjectLoad("./box.x", 1);
    std::filesystem::current_path("Data");
    qbObjectLoad("./box.x", 2);
    EXPECT_FLOAT_EQ(qbObjectDepth(1), 2);
    EXPECT_FLOAT_EQ(qbObjectDepth(2), 6);
}

TEST_F(Objects, LeaveNothingBehindWhenRefused) {
    qbObjectLoad("box.x", 1);
    qbObjectCopy(2, 1);
    EXPECT_EQ(meshOf(2), meshOf(1));
    EXPECT_EQ(qbObjectMeshNode(2)->getID(), 2);
    EXPECT_TRUE(qbObjectMeshNode(2)->getMaterial(0).NormalizeNormals);
    qbObjectCopy(3, 2); // a copy has no mesh to give
    qbObjectCopyUnshared(3, 99);
    for (const int id : {1, 1000, INT_MAX, -1, INT_MIN}) {
        testing::internal::CaptureStderr();
        qbObjectLoad("box.x", id);
        qbObjectCopy(id, 1);
        EXPECT_FALSE(testing::internal::GetCapturedStderr().empty());
        EXPECT_EQ(nodes(), 4U) << id;
    }
}

TEST_F(Objects, MatchSurfacesToMaterialsAndGetTangentsForBumps) {
    qbObjectLoad("box.x", 1);
    qbObjectLoad("slide.x", 2);
    qbObjectMeshNode(1)->getMaterial(0).Shininess = 7;
    const irr::scene::IMesh* plain = meshOf(1);
    QbSurfaceValues values[2] = {};
    values[0].params[8].textureImage = "none.png";
    values[1].hasShader = 1;
    qbObjectSetSurfaces(1, 2, values, 0);
    qbObjectSetSurfaces(2, 1, values, 0);
    ASSERT_NE(qbObjectSurfaceCtx(1, 1), nullptr);
    EXPECT_EQ(qbObjectSurfaceCtx(1, 1)->hasShader, 0) << "without a material it stays cleared";
    EXPECT_EQ(qbObjectSurfaceCtx(1, 2), nullptr);
    EXPECT_EQ(qbObjectSurfaceCtx(1, -1), nullptr);

    EXPECT_EQ(verticesOf(meshOf(1)), irr::video::EVT_TANGENTS);
    EXPECT_EQ(verticesOf(qbObjectAnimatedNode(2)->getMesh()), irr::video::EVT_STANDARD);
    const irr::video::SMaterial& material = qbObjectMeshNode(1)->getMaterial(0);
    EXPECT_EQ(material.Shininess, 7) << "the node's material, not the mesh's";
    EXPECT_EQ(material.MaterialType, irr::video::EMT_PARALLAX_MAP_SOLID);
    EXPECT_EQ(qbObjectDepth(1), 2);

    QbSurfaceValues flat{};
    flat.params[1].color[0] = 0.75F;
    qbObjectSetSurfaces(1, 1, &flat, 40);
    EXPECT_EQ(qbObjectSurfaceCtx(1, 0)->params[1].color[0], 0.75F);
    EXPECT_EQ(qbObjectSurfaceCtx(1, 0)->needsTangents, 1) << "set up once";

    // A copy shares the new mesh, has the material of its own surface, and outlives its source.
    qbObjectCopy(3, 1);
    qbObjectSetSurfaces(3, 1, &flat, 0);
    qbObjectFree(1);
    EXPECT_EQ(verticesOf(meshOf(3)), irr::video::EVT_TANGENTS);
    EXPECT_EQ(qbObjectMeshNode(3)->getMaterial(0).MaterialType, irr::video::EMT_SOLID);

    // The engine's own mesh stays as it was read. A copy never builds tangents.
    qbObjectLoad("box.x", 1);
    qbObjectCopy(4, 1);
    qbObjectSetSurfaces(4, 1, values, 0);
    EXPECT_EQ(meshOf(4), plain);
}
