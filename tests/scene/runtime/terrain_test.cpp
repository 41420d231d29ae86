#include "engine/engine.h"
#include "engine/file_resolver.h"
#include "height_files.h"
#include "scene/runtime/height_map.h"
#include "scene/runtime/objects.h"
#include "scene/runtime/terrain.h"
#include "stage.h"

#include <cmath>

using irr::core::vector3df;
using irr::scene::ITerrainSceneNode;
using irr::video::S3DVertex2TCoords;
using Texts = std::vector<std::string>;

static const char NAME[] = "isle.terrain.layer1.x";
static const char CANNOT_OPEN[] = "Cannot load height map file 'isle.terrain_height.bmp'";
static const char CANNOT_LOAD[] = "Cannot load terrain basename='isle.terrain'. Check height map file "
                                  "'isle.terrain_height.bmp'";
static const char WRONG_RAW[] = "height map raw file 'isle.terrain_height.raw' is not 257 or 513 size";

namespace {

class Terrains : public Stage {
protected:
    // The terrain of id 1, anew; null when it did not load.
    ITerrainSceneNode* load(const char* name = NAME) {
        qbObjectFree(1);
        qbObjectLoad(name, 1);
        return node();
    }
    static ITerrainSceneNode* node() {
        auto* object = static_cast<QbObjectRec*>(qbIdListGet(qbEngineGet()->objects, 1));
        return object ? object->terrain : nullptr;
    }
    void writePicture(const char* name) {
        irr::video::IVideoDriver* driver = qbEngineGet()->driver;
        irr::video::IImage* image =
            driver->createImage(irr::video::ECF_R8G8B8, irr::core::dimension2du(4, 4));
        image->fill(irr::video::SColor(255, 9, 9, 9));
        ASSERT_TRUE(driver->writeImageToFile(image, name));
        image->drop();
    }
};

const S3DVertex2TCoords* verticesOf(ITerrainSceneNode* terrain) {
    EXPECT_EQ(terrain->getRenderBuffer()->getVertexType(), irr::video::EVT_2TCOORDS);
    return static_cast<const S3DVertex2TCoords*>(terrain->getRenderBuffer()->getVertices());
}

// The vertex of a sample, by its place in the world.
const S3DVertex2TCoords& vertexAt(ITerrainSceneNode* terrain, int n, int column, int row) {
    const float step = 7680.0F / static_cast<float>(n);
    const S3DVertex2TCoords& vertex = verticesOf(terrain)[(n - 1 - column) * n + row];
    EXPECT_NEAR(vertex.Pos.X, static_cast<float>(column) * step, 0.01F);
    EXPECT_NEAR(vertex.Pos.Z, static_cast<float>(n - 1 - row) * step, 0.01F);
    return vertex;
}

double stepsOf(uint32_t sample) {
    int32_t red = 0, green = 0, blue = 0;
    qbHeightToGrey(sample, 65535, &red, &green, &blue);
    return 0.3 * red + 0.59 * green + 0.11 * blue;
}

uint32_t anySample(int column, int row) {
    return static_cast<uint32_t>(column * 40503 + row * 30011 + column * row * 7) & 0xFFFF;
}

} // namespace

TEST_F(Terrains, StandAsTheFormulaSays) {
    for (const int n : {257, 513}) {
        directory.write("isle.terrain_height.raw", rawOf(n, anySample));
        ITerrainSceneNode* terrain = load();
        ASSERT_NE(terrain, nullptr);
        double worst = 0.0;
        for (int row = 0; row < n; row++)
            for (int column = 0; column < n; column++)
                worst = std::max(worst, std::abs(vertexAt(terrain, n, column, row).Pos.Y / 8.0 -
                                                 stepsOf(anySample(column, row))));
        EXPECT_LT(worst, 0.001) << n;
        EXPECT_FLOAT_EQ(terrain->getScale().X, n == 257 ? 29.883268F : 14.970760F);
        EXPECT_EQ(terrain->getScale().Z, terrain->getScale().X);
        EXPECT_EQ(terrain->getID(), 1);
    }
    // The same picture in both forms; a colour counts by its luminance.
    const auto grey = [](int column, int row) { return static_cast<uint32_t>(column * 3 + row * 5) % 251; };
    directory.write("isle.terrain_height.raw", rawOf(257, [&](int column, int row) {
                        return static_cast<uint32_t>(std::lround(grey(column, row) * 65535.0 / 250.0));
                    }));
    directory.write("bmp.terrain_height.bmp", bmpOf(257, 257, [&](int column, int row) {
                        return column == 9 && row == 4 ? 0xC80A64 : grey(column, row) * 0x10101;
                    }));
    qbObjectLoad("bmp.terrain", 2);
    auto* bmp = static_cast<QbObjectRec*>(qbIdListGet(qbEngineGet()->objects, 2))->terrain;
    ITerrainSceneNode* raw = load();
    double worst = 0.0;
    for (int i = 0; i < 257 * 257; i++)
        if (i != (256 - 9) * 257 + 4)
            worst = std::max<double>(worst, std::abs(verticesOf(bmp)[i].Pos.Y - verticesOf(raw)[i].Pos.Y));
    EXPECT_LT(worst, 0.5 * 8.0);
    EXPECT_NEAR(vertexAt(bmp, 257, 9, 4).Pos.Y, (0.3 * 200 + 0.59 * 10 + 0.11 * 100) * 8.0, 0.01);
    EXPECT_TRUE(messages.empty());
}

TEST_F(Terrains, LieLikeTheirPicture) {
    // Corners of the picture: where they stand, and where they lie in a texture.
    const struct {
        int column, row;
        float x, z, u, v;
    } corners[] = {{0, 0, 0, 1, 0, 0}, {64, 0, 1, 1, 1, 0}, {0, 64, 0, 0, 0, 1}, {64, 64, 1, 0, 1, 1}};
    const float edge = 7680.0F * 64 / 65;
    directory.write("isle.terrain_height.bmp", bmpOf(65, 65, [](int column, int row) {
                        return static_cast<uint32_t>(column + 2 * row) * 0x10101;
                    }));
    ITerrainSceneNode* terrain = load();
    for (const auto& corner : corners) {
        const S3DVertex2TCoords& vertex = vertexAt(terrain, 65, corner.column, corner.row);
        EXPECT_LT(vertex.Pos.getDistanceFrom(vector3df(corner.x * edge,
                                                       static_cast<float>(corner.column + 2 * corner.row) * 8,
                                                       corner.z * edge)),
                  0.01F);
        EXPECT_LT(vertex.TCoords.getDistanceFrom({corner.u, corner.v}), 1e-5F);
    }
    // A slope of 1 step a column to the right and 2 steps a row downwards.
    const float slope = 8.0F / (7680.0F / 65);
    const vector3df normal = vector3df(-slope, 1.0F, 2 * slope).normalize();
    for (int i = 0; i < 65 * 65; i++)
        ASSERT_LT(verticesOf(terrain)[i].Normal.getDistanceFrom(normal), 1e-4F) << i;
}

TEST_F(Terrains, ChooseTheirHeightMap) {
    const std::string raw = rawOf(257, [](int, int) { return 65535U; });
    const std::string bmp = plainBmp(33, 33, 0x646464);
    const std::string notFound = "openHeightMapFileRaw(isle.terrain_height.raw) file not found\n";
    const std::string success = "openHeightMapFileRaw(isle.terrain_height.raw) success\n";
    const std::string wrongRaw = std::string(WRONG_RAW) + "\n";
    const std::string notBmp =
        "height map 'isle.terrain_height.bmp' is not a .bmp; save it as an uncompressed "
        ".bmp with 8 or 24 bits";
    const std::string border = "height map 'isle.terrain_height.bmp' is 64 pixels a side, no multiple of 32 "
                               "plus 1: its left and lower border is left out\n";
    const auto pixels = [](const char* size) {
        return std::string("height map 'isle.terrain_height.bmp' is ") + size +
               " pixels; it must be square, of 33 to 1025 pixels a side (best 257 or 513)";
    };
    const std::string huge = "height map 'isle.terrain_height.bmp' is 100000 x 100000 pixels; at most 1025 a "
                             "side can be read";
    const std::string none = "-"; // no file
    const struct {
        std::string raw, bmp;
        float height; // 0: does not load
        Texts messages;
        std::string traces;
    } cases[] = {
        {none, none, 0, {CANNOT_OPEN}, notFound},
        {raw, none, 2000, {}, success},
        {raw, bmp, 2000, {}, success},
        {none, bmp, 800, {}, notFound},
        {none, plainBmp(64, 64, 0x646464), 800, {}, notFound + border},
        {raw.substr(1), bmp, 800, {WRONG_RAW}, wrongRaw},
        {raw + "x", none, 0, {WRONG_RAW, CANNOT_OPEN}, wrongRaw},
        {none, "\x89PNG", 0, {notBmp, CANNOT_OPEN}, notFound + notBmp + "\n"},
        {none, plainBmp(1, 1, 0), 0, {pixels("1 x 1"), CANNOT_LOAD}, notFound},
        {none, plainBmp(65, 64, 0), 0, {pixels("65 x 64"), CANNOT_LOAD}, notFound},
        {none, bmpFile(100000, 100000, 24, 0, "", ""), 0, {huge, CANNOT_OPEN}, notFound + huge + "\n"},
    };
    qbEngineGet()->device->getLogger()->setLogLevel(irr::ELL_WARNING);
    const unsigned before = nodes();
    for (size_t i = 0; i < std::size(cases); i++) {
        const auto place = [&](const char* name, const std::string& content) {
            std::filesystem::remove_all(name);
            if (content != none) directory.write(name, content);
        };
        place("isle.terrain_height.raw", cases[i].raw);
        place("isle.terrain_height.bmp", cases[i].bmp);
        messages.clear();
        testing::internal::CaptureStdout();
        const ITerrainSceneNode* terrain = load();
        EXPECT_EQ(testing::internal::GetCapturedStdout(), cases[i].traces) << "case " << i;
        EXPECT_EQ(messages, cases[i].messages) << "case " << i;
        ASSERT_EQ(qbObjectExists(1), cases[i].height != 0) << "case " << i;
        if (terrain) {
            EXPECT_NEAR(terrain->getBoundingBox().MaxEdge.Y, cases[i].height, 0.01F) << i;
        }
        EXPECT_EQ(nodes(), before + (terrain ? 1 : 0)) << "case " << i;
    }
}

TEST_F(Terrains, WearTheirPictures) {
    qbFileResolverAttach(smgr->getFileSystem());
    qbEngineGet()->device->getLogger()->setLogLevel(irr::ELL_WARNING);
    directory.write("Data/Isle.terrain_Height.BMP", plainBmp(33, 33, 0));
    for (const int pictures : {0, 1, 2, 3}) {
        if (pictures & 1) writePicture("Data/isle.terrain_texture.jpg");
        if (pictures & 2) writePicture("Data/isle.terrain_details.jpg");
        testing::internal::CaptureStdout();
        ITerrainSceneNode* terrain = load("data\\isle.terrain.LAYER1.x"); // the whole of it is the base
        EXPECT_EQ(terrain, nullptr);
        terrain = load("data\\isle.terrain.layer1.layer2.x");
        const std::string said = testing::internal::GetCapturedStdout();
        ASSERT_NE(terrain, nullptr);
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 2) << said;
        irr::video::SMaterial& material = terrain->getMaterial(0);
        EXPECT_EQ(material.getTexture(0) != nullptr, (pictures & 1) != 0);
        EXPECT_EQ(material.getTexture(1) != nullptr, (pictures & 2) != 0);
        EXPECT_EQ(material.MaterialType, pictures & 2 ? irr::video::EMT_DETAIL_MAP : irr::video::EMT_SOLID);
        EXPECT_FALSE(material.Lighting);
        const S3DVertex2TCoords& corner = vertexAt(terrain, 33, 0, 32);
        EXPECT_NEAR(corner.TCoords.Y, 1.0F, 1e-5F);
        EXPECT_NEAR(corner.TCoords2.Y, pictures & 2 ? 20.0F : 0.0F, 1e-4F);
        EXPECT_NEAR(corner.TCoords2.X, pictures & 2 ? -19.0F : 0.0F, 1e-4F);
        std::filesystem::remove("Data/isle.terrain_texture.jpg");
        std::filesystem::remove("Data/isle.terrain_details.jpg");
    }
}

TEST_F(Terrains, StayWhereTheyAreAndShowAtOnce) {
    directory.write("isle.terrain_height.bmp", plainBmp(65, 65, 0x202020));
    ITerrainSceneNode* terrain = load();
    ASSERT_NE(terrain, nullptr);
    qbObjectSetPosition(1, 1.0F, 2.0F, 3.0F);
    qbObjectSetRotation(1, 1.0F, 2.0F, 3.0F);
    qbObjectSetScale(1, 50.0F, 50.0F, 50.0F);
    EXPECT_EQ(terrain->getPosition(), vector3df());
    EXPECT_EQ(terrain->getRotation(), vector3df(0.0F, -180.0F, 0.0F));
    vertexAt(terrain, 65, 0, 0);
    qbObjectCopy(2, 1);
    EXPECT_FALSE(qbObjectExists(2));
    EXPECT_EQ(qbObjectFrameCount(1), 1);
    EXPECT_EQ(qbObjectRadius(1), 0.0F);
    EXPECT_EQ(qbObjectMeshNode(1), nullptr);
    EXPECT_EQ(qbObjectAnimatedNode(1), nullptr);

    // Hidden in its first frames, then seen by a camera that never moves, but looks farther at the end.
    camera->setPosition(vector3df(3840.0F, 3000.0F, -1000.0F));
    camera->setTarget(vector3df(3840.0F, 0.0F, 3840.0F));
    camera->setFarValue(100.0F);
    qbObjectHide(1);
    smgr->drawAll();
    EXPECT_FALSE(terrain->isVisible());
    qbObjectShow(1);
    smgr->drawAll();
    EXPECT_EQ(terrain->getIndexCount(), 0U);
    camera->setFarValue(20000.0F);
    irr::video::IVideoDriver* driver = qbEngineGet()->driver;
    driver->beginScene();
    smgr->drawAll();
    driver->endScene();
    EXPECT_EQ(terrain->getIndexCount(), 64U * 64 * 6);
    EXPECT_EQ(driver->getPrimitiveCountDrawn(), 64U * 64 * 2);

    // Down from above the middle of one patch of four, 1861 to its neighbours: a small change of the view.
    camera->setPosition(vector3df(1920.0F, 500.0F, 1920.0F));
    camera->setTarget(vector3df(1920.0F, 0.0F, 1920.0F));
    const auto patchesIn = [&](float far, float fov, float aspect, float roll) {
        camera->setFarValue(far);
        camera->setFOV(fov);
        camera->setAspectRatio(aspect);
        camera->setUpVector(vector3df(std::sin(roll), 0.0F, std::cos(roll)));
        smgr->drawAll();
        return terrain->getIndexCount() / (32 * 32 * 6);
    };
    const struct {
        float far, fov, aspect, roll;
        unsigned patches;
    } views[] = {{3200.0F, 1.1F, 0.9F, 0.0F, 2},
                 {3000.0F, 1.15F, 0.9F, 0.0F, 2},
                 {3000.0F, 1.1F, 1.1F, 0.0F, 2},
                 {3000.0F, 1.1F, 0.9F, 0.2F, 4}};
    for (const auto& view : views) {
        EXPECT_EQ(patchesIn(3000.0F, 1.1F, 0.9F, 0.0F), 1U); // tan 0.55 * 3000 = 1839 each way
        EXPECT_EQ(patchesIn(view.far, view.fov, view.aspect, view.roll), view.patches) << &view - views;
    }
}
