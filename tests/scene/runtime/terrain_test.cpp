#include "scene/runtime/terrain.h"

#include "engine/file_resolver.h"
#include "height_files.h"
#include "scene/runtime/objects.h"
#include "stage.h"

#include <cmath>

using irr::scene::ITerrainSceneNode;
using irr::video::S3DVertex2TCoords;

using Terrains = Stage;

// The terrain of id 1, anew; null when it did not load.
static ITerrainSceneNode* loadTerrain(const char* name = "isle.terrain.layer1.x") {
    qbObjectFree(1);
    qbObjectLoad(name, 1);
    auto* object = static_cast<QbObjectRec*>(qbIdListGet(qbEngineGet()->objects, 1));
    return object ? object->terrain : nullptr;
}

// The vertex of a sample, by its place in the world.
static const S3DVertex2TCoords& vertexAt(ITerrainSceneNode* terrain, int n, int column, int row) {
    const float step = 7680.0F / static_cast<float>(n);
    const auto* all = static_cast<const S3DVertex2TCoords*>(terrain->getRenderBuffer()->getVertices());
    const S3DVertex2TCoords& vertex = all[(n - 1 - column) * n + row];
    EXPECT_NEAR(vertex.Pos.X, static_cast<float>(column) * step, 0.01F);
    EXPECT_NEAR(vertex.Pos.Z, static_cast<float>(n - 1 - row) * step, 0.01F);
    return vertex;
}

TEST_F(Terrains, StandAsTheirSamplesSay) {
    const auto any = [](int column, int row) {
        return static_cast<uint32_t>(column * 40503 + row * 30011 + column * row * 7) & 0xFFFF;
    };
    for (const int n : {257, 513}) {
        directory.write("isle.terrain_height.raw", rawOf(n, any));
        ITerrainSceneNode* terrain = loadTerrain();
        ASSERT_NE(terrain, nullptr);
        double worst = 0.0;
        for (int row = 0; row < n; row++)
            for (int column = 0; column < n; column++)
                worst = std::max(worst, std::abs(vertexAt(terrain, n, column, row).Pos.Y / 8.0 -
                                                 any(column, row) / 65535.0 * 250.0));
        EXPECT_NEAR(worst, 0.08, 0.001) << "the steps of a raw height";
        EXPECT_EQ(terrain->getID(), 1);
    }
}

TEST_F(Terrains, LieLikeTheirPicture) {
    directory.write("isle.terrain_height.bmp", bmpOf(65, 65, [](int column, int row) {
                        return static_cast<uint32_t>(column + 2 * row) * 0x10101;
                    }));
    ITerrainSceneNode* terrain = loadTerrain();
    ASSERT_NE(terrain, nullptr);
    // A slope of 1 step a column to the right and 2 steps a row downwards.
    const float slope = 8.0F / (7680.0F / 65);
    const vector3df normal = vector3df(-slope, 1.0F, 2 * slope).normalize();
    for (const auto& [column, row] : {std::pair(0, 0), {64, 0}, {0, 64}, {64, 64}, {32, 16}}) {
        const S3DVertex2TCoords& vertex = vertexAt(terrain, 65, column, row);
        EXPECT_NEAR(vertex.Pos.Y, static_cast<float>(column + 2 * row) * 8, 0.01F);
        EXPECT_NEAR(vertex.TCoords.X, static_cast<float>(column) / 64, 1e-5F);
        EXPECT_NEAR(vertex.TCoords.Y, static_cast<float>(row) / 64, 1e-5F);
        EXPECT_TRUE(vertex.Normal.equals(normal, 1e-4F)) << column << ' ' << row;
    }
}

TEST_F(Terrains, ChooseTheirHeightMap) {
    const std::string raw = rawOf(257, [](int, int) { return 65535U; });
    const std::string bmp = plainBmp(33, 33, 0xC80A64);
    const float color = (0.3F * 200 + 0.59F * 10 + 0.11F * 100) * 8;
    const std::string name = "'isle.terrain_height.bmp'";
    const std::string cannotOpen = "Cannot load height map file " + name;
    const std::string cannotLoad =
        "Cannot load terrain basename='isle.terrain'. Check height map file " + name;
    const std::string wrongRaw = "height map raw file 'isle.terrain_height.raw' is not 257 or 513 size";
    const std::string notBmp =
        "height map " + name + " is not a .bmp; save it as an uncompressed .bmp with 8 or 24 bits";
    const std::string oblong =
        "height map " + name +
        " is 65 x 64 pixels; it must be square, of 33 to 1025 pixels a side (best 257 or 513)";
    const std::string none = "-"; // no file
    const struct {
        std::string raw, bmp;
        float height; // 0: does not load
        Texts messages;
    } cases[] = {
        {none, none, 0, {cannotOpen}},
        {raw, bmp, 2000, {}},
        {none, plainBmp(64, 64, 0xC80A64), color, {}}, // its border is left out
        {raw.substr(1), bmp, color, {wrongRaw}},
        {raw + "x", none, 0, {wrongRaw, cannotOpen}},
        {none, "\x89PNG", 0, {notBmp, cannotOpen}},
        {none, plainBmp(65, 64, 0), 0, {oblong, cannotLoad}},
    };
    for (const auto& c : cases) {
        const auto place = [&](const char* file, const std::string& content) {
            std::filesystem::remove(file);
            if (content != none) directory.write(file, content);
        };
        place("isle.terrain_height.raw", c.raw);
        place("isle.terrain_height.bmp", c.bmp);
        messages.clear();
        const ITerrainSceneNode* terrain = loadTerrain();
        EXPECT_EQ(messages, c.messages);
        ASSERT_EQ(terrain != nullptr, c.height != 0) << &c - cases;
        EXPECT_NEAR(terrain ? terrain->getBoundingBox().MaxEdge.Y : 0, c.height, 0.01F);
        EXPECT_EQ(nodes(), terrain ? 3U : 2U);
    }
}

TEST_F(Terrains, WearTheirPictures) {
    qbFileResolverAttach(smgr->getFileSystem());
    qbEngineGet()->device->getLogger()->setLogLevel(irr::ELL_WARNING);
    directory.write("Data/Isle.terrain_Height.BMP", plainBmp(33, 33, 0));
    for (const bool pictures : {false, true}) {
        if (pictures) writePicture("Data/isle.terrain_texture.jpg");
        if (pictures) writePicture("Data/isle.terrain_details.jpg");
        EXPECT_EQ(loadTerrain("data\\isle.terrain.LAYER1.x"), nullptr) << "the whole of it is the base";
        testing::internal::CaptureStdout();
        ITerrainSceneNode* terrain = loadTerrain("data\\isle.terrain.layer1.layer2.x");
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "openHeightMapFileRaw(data\\isle.terrain_height.raw) file not found\n");
        ASSERT_NE(terrain, nullptr);
        const irr::video::SMaterial& material = terrain->getMaterial(0);
        EXPECT_EQ(material.getTexture(0) != nullptr, pictures);
        EXPECT_EQ(material.getTexture(1) != nullptr, pictures);
        EXPECT_EQ(material.MaterialType, pictures ? irr::video::EMT_DETAIL_MAP : irr::video::EMT_SOLID);
        EXPECT_FALSE(material.Lighting);
        const S3DVertex2TCoords& corner = vertexAt(terrain, 33, 0, 32);
        EXPECT_NEAR(corner.TCoords.Y, 1, 1e-5F);
        EXPECT_NEAR(corner.TCoords2.Y, pictures ? 20 : 0, 1e-4F);
    }
}

TEST_F(Terrains, StayWhereTheyAreAndFollowTheView) {
    directory.write("isle.terrain_height.bmp", plainBmp(65, 65, 0x202020));
    const ITerrainSceneNode* terrain = loadTerrain();
    ASSERT_NE(terrain, nullptr);
    qbObjectSetPosition(1, 1, 2, 3);
    qbObjectSetRotation(1, 1, 2, 3);
    qbObjectSetScale(1, 50, 50, 50);
    EXPECT_EQ(terrain->getPosition(), vector3df());
    EXPECT_EQ(terrain->getRotation(), vector3df(0, -180, 0));
    EXPECT_EQ(terrain->getScale().X, 7680.0F / 65);
    qbObjectCopy(2, 1);
    EXPECT_FALSE(qbObjectExists(2));
    EXPECT_EQ(qbObjectFrameCount(1), 1);
    EXPECT_EQ(qbObjectRadius(1), 0);
    EXPECT_EQ(qbObjectMeshNode(1), nullptr);
    EXPECT_EQ(qbObjectAnimatedNode(1), nullptr);

    // Down from above the middle of one patch of four, 1861 to its neighbours: a small change of the view.
    camera->setPosition(vector3df(1920, 500, 1920));
    camera->setTarget(vector3df(1920, 0, 1920));
    const auto patchesIn = [&](float far, float fov, float aspect, float roll) {
        camera->setFarValue(far);
        camera->setFOV(fov);
        camera->setAspectRatio(aspect);
        camera->setUpVector(vector3df(std::sin(roll), 0, std::cos(roll)));
        smgr->drawAll();
        return terrain->getIndexCount() / (32 * 32 * 6);
    };
    qbObjectHide(1);
    patchesIn(3000, 1.1F, 0.9F, 0);
    EXPECT_FALSE(terrain->isVisible());
    qbObjectShow(1);
    const float views[][5] = {{3200, 1.1F, 0.9F, 0, 2},
                              {3000, 1.15F, 0.9F, 0, 2},
                              {3000, 1.1F, 1.1F, 0, 2},
                              {3000, 1.1F, 0.9F, 0.2F, 4}};
    for (const auto& [far, fov, aspect, roll, patches] : views) {
        EXPECT_EQ(patchesIn(3000, 1.1F, 0.9F, 0), 1U); // tan 0.55 * 3000 = 1839 each way
        EXPECT_EQ(patchesIn(far, fov, aspect, roll), static_cast<unsigned>(patches));
    }
}
