#include "scene/export/mesh_shapes.h"
#include "scene/export/x_writer.h"

#include <gtest/gtest.h>
#include <irrlicht/irrlicht.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <limits>
#include <memory>

using namespace irr;

namespace {

// What the engine's reader makes of the files. Its warnings are kept: a whole file gives none.
struct Engine : IEventReceiver {
    struct Dropper {
        void operator()(IrrlichtDevice* owned) const { owned->drop(); }
    };
    std::string warnings;
    std::unique_ptr<IrrlichtDevice, Dropper> device;

    Engine() {
        SIrrlichtCreationParameters parameters;
        parameters.DriverType = video::EDT_NULL;
        parameters.LoggingLevel = ELL_NONE;
        parameters.EventReceiver = this;
        device.reset(createDeviceEx(parameters));
        device->getLogger()->setLogLevel(ELL_WARNING);
    }
    bool OnEvent(const SEvent& event) override {
        if (event.EventType != EET_LOG_TEXT_EVENT) return false;
        std::string text = event.LogEvent.Text;
        if (text.find("AnimTicksPerSecond") == std::string::npos) warnings += text + "\n";
        return true;
    }
    scene::ISkinnedMesh* load(const QbExportMesh& mesh, QbExportXFormat format) {
        std::vector<uint8_t> bytes;
        std::string error;
        EXPECT_EQ(qbMeshExportWrite(mesh, format, bytes, error), 0) << error;
        core::stringc name = "mesh";
        name += core::stringc(loaded++) + ".x";
        io::IReadFile* file = device->getFileSystem()->createMemoryReadFile(
            bytes.data(), static_cast<s32>(bytes.size()), name.c_str(), false);
        scene::IAnimatedMesh* read = device->getSceneManager()->getMesh(file);
        file->drop();
        EXPECT_NE(read, nullptr);
        EXPECT_EQ(warnings, "");
        return static_cast<scene::ISkinnedMesh*>(read);
    }
    u32 loaded = 0;
};

constexpr QbExportXFormat FORMATS[] = {QB_EXPORT_X_TEXT, QB_EXPORT_X_BINARY};

void near(const core::vector3df& read, const QbVec3& written, float tolerance) {
    EXPECT_NEAR(read.X, written[0], tolerance);
    EXPECT_NEAR(read.Y, written[1], tolerance);
    EXPECT_NEAR(read.Z, written[2], tolerance);
}

std::string refusal(const QbExportMesh& mesh) {
    std::vector<uint8_t> bytes = {1};
    std::string error;
    EXPECT_EQ(qbMeshExportWrite(mesh, QB_EXPORT_X_TEXT, bytes, error), -1);
    EXPECT_TRUE(bytes.empty());
    EXPECT_EQ(qbMeshExportBlockCount(mesh), 0u);
    return error;
}

QbExportMesh triangle() {
    QbExportMesh mesh;
    mesh.vertices = {
        {{0, 0, 0}, {0, 0, -1}, {0, 1}}, {{0, 1, 0}, {0, 0, -1}, {0, 0}}, {{1, 0, 0}, {0, 0, -1}, {1, 1}}};
    mesh.triangles = {{{0, 1, 2}, 0}};
    return mesh;
}

// Every corner, in the order of the triangles, through index, buffer and vertex. The engine reads numbers of
// a text to about seven digits.
TEST(XWriter, GeometryComesBackFromBothForms) {
    Engine engine;
    QbExportMesh mesh = qbShapeTorus(1000, 0.3f, 24, 12);
    qbMeshMerge(mesh, qbShapeBox({1e-3f, 2, 3}));
    for (QbExportXFormat format : FORMATS) {
        scene::ISkinnedMesh* read = engine.load(mesh, format);
        ASSERT_EQ(read->getMeshBufferCount(), 2u);
        EXPECT_LE(read->getFrameCount(), 1u); // static
        EXPECT_EQ(read->getMeshBuffer(0)->getVertexCount(), 25u * 13);
        EXPECT_EQ(read->getMeshBuffer(1)->getVertexCount(), 24u);
        EXPECT_EQ(read->getMeshBuffer(0)->getIndexCount(), 24u * 12 * 6);
        size_t next[2] = {0, 0};
        for (const QbExportTriangle& corners : mesh.triangles)
            for (uint32_t corner : corners.corners) {
                scene::IMeshBuffer* buffer = read->getMeshBuffer(corners.material);
                const QbExportVertex& written = mesh.vertices[corner];
                u16 index = buffer->getIndices()[next[corners.material]++];
                near(buffer->getPosition(index), written.position,
                     format == QB_EXPORT_X_BINARY ? 0 : std::fabs(written.position[0]) * 5e-7f + 5e-7f);
                near(buffer->getNormal(index), written.normal, format == QB_EXPORT_X_BINARY ? 0 : 5e-7f);
                EXPECT_NEAR(buffer->getTCoords(index).X, written.uv[0], 5e-7f);
                EXPECT_NEAR(buffer->getTCoords(index).Y, written.uv[1], 5e-7f);
            }
        near(read->getBoundingBox().MaxEdge, {1000.3f, 1, 1000.3f}, 2e-3f);
        near(read->getBoundingBox().MinEdge, {-1000.3f, -1, -1000.3f}, 2e-3f);
    }
}

TEST(XWriter, MaterialsAndPlaceComeBack) {
    // The smallest picture: one pixel, 24 bits.
    const char PICTURE[] =
        "BM\x3a\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\1\0\0\0\1\0\0\0\1\0\x18\0\0\0\0\0\4\0\0\0\0\0\0"
        "\0\0\0\0\0\0\0\0\0\0\0\0\0\x10\x20\x30\0";
    std::string picture = testing::TempDir() + "x_writer_picture.bmp";
    std::ofstream(picture, std::ios::binary).write(PICTURE, sizeof PICTURE - 1);
    QbExportMesh mesh = triangle();
    mesh.name = "sail";
    mesh.transform = qbExportMatrix({10, 20, 30}, {0, 0, 90}, {2, 2, 2});
    mesh.materials.resize(2);
    mesh.materials[1] = {{0.2f, 0.4f, 0.6f, 0.8f}, 12.5f, {1, 0.5f, 0}, {0, 0.2f, 1}, picture};
    mesh.triangles[0].material = 1;
    Engine engine;
    for (QbExportXFormat format : FORMATS) {
        scene::ISkinnedMesh* read = engine.load(mesh, format);
        ASSERT_EQ(read->getMeshBufferCount(), 2u);
        const video::SMaterial& material = read->getMeshBuffer(1)->getMaterial();
        EXPECT_EQ(material.DiffuseColor.color, 0xCC336699u);
        EXPECT_EQ(material.Shininess, 12.5f);
        EXPECT_EQ(material.SpecularColor.color & 0xffffff, 0xFF8000u);
        EXPECT_EQ(material.EmissiveColor.color & 0xffffff, 0x0033FFu);
        ASSERT_NE(material.getTexture(0), nullptr);
        EXPECT_NE(std::string(core::stringc(material.getTexture(0)->getName().getPath()).c_str())
                      .find("x_writer_picture.bmp"),
                  std::string::npos);
        EXPECT_EQ(read->getMeshBuffer(0)->getMaterial().getTexture(0), nullptr);
        EXPECT_STREQ(read->getJointName(0), "sail");
        near(read->getAllJoints()[0]->GlobalMatrix.getTranslation(), {10, 20, 30}, 0);
        core::vector3df tip(1, 0, 0);
        read->getAllJoints()[0]->GlobalMatrix.transformVect(tip);
        near(tip, {10, 22, 30}, 1e-5f);
    }
    std::remove(picture.c_str());
}

// n vertices of one material, the last triangle reaching back to the first corner.
QbExportMesh soup(uint32_t n) {
    QbExportMesh mesh;
    for (uint32_t i = 0; i < n; i++)
        mesh.vertices.push_back({{static_cast<float>(i), static_cast<float>(i % 7), 0}, {0, 0, -1}, {}});
    for (uint32_t i = 0; i + 2 < n; i += 3)
        mesh.triangles.push_back({{i, i + 1, i + 2}, 0});
    if (n % 3 != 0) mesh.triangles.push_back({{0, n - 2, n - 1}, 0});
    return mesh;
}

TEST(XWriter, SplitsWhereTheEngineStopsCounting) {
    Engine engine;
    QbExportMesh whole = soup(65535), split = soup(65536);
    EXPECT_EQ(qbMeshExportBlockCount(whole), 1u);
    EXPECT_EQ(qbMeshExportBlockCount(split), 2u);
    // Another material counts for itself.
    QbExportMesh two = whole;
    qbMeshMerge(two, triangle());
    EXPECT_EQ(qbMeshExportBlockCount(two), 1u);
    EXPECT_EQ(engine.load(whole, QB_EXPORT_X_BINARY)->getMeshBuffer(0)->getVertexCount(), 65535u);
    for (QbExportXFormat format : FORMATS) {
        scene::ISkinnedMesh* read = engine.load(split, format);
        ASSERT_EQ(read->getMeshBufferCount(), 2u);
        EXPECT_EQ(read->getMeshBuffer(0)->getVertexCount(), 65535u);
        EXPECT_EQ(read->getMeshBuffer(0)->getIndexCount(), 65535u);
        ASSERT_EQ(read->getMeshBuffer(1)->getIndexCount(), 3u);
        near(read->getMeshBuffer(1)->getPosition(read->getMeshBuffer(1)->getIndices()[0]), {0, 0, 0}, 0);
        near(read->getMeshBuffer(1)->getPosition(read->getMeshBuffer(1)->getIndices()[2]), {65535, 1, 0}, 0);
    }
}

// --- bones ----------------------------------------------------------------------------------

// An upright arm: the lower bone at (5, 0, 0), turned by 90 degrees about Y, the upper one 2 above it.
QbExportMesh arm() {
    QbExportMesh mesh = triangle();
    mesh.vertices[0].position = {5, 3, 0}; // on the upper bone
    mesh.vertices[1].position = {6, 2, 0}; // on both
    mesh.vertices[2].position = {9, 9, 9}; // on none
    mesh.bones.resize(2);
    mesh.bones[0].name = "lower";
    mesh.bones[0].rest = {0, {5, 0, 0}, {0, 90, 0}, {1, 1, 1}};
    mesh.bones[0].weights = {{1, 0.5f}};
    mesh.bones[1].name = "upper";
    mesh.bones[1].parent = 0;
    mesh.bones[1].rest = {0, {0, 2, 0}, {0, 0, 0}, {1, 1, 1}};
    mesh.bones[1].weights = {{0, 1}, {1, 0.5f}};
    return mesh;
}

core::vector3df at(scene::ISkinnedMesh* mesh, float frame, u32 vertex) {
    mesh->animateMesh(frame, 1);
    mesh->skinMesh();
    return mesh->getMeshBuffer(0)->getPosition(vertex);
}

// The upper bone bends about its own Z, which the lower bone has turned to the world's X (Z after 90 degrees
// about Y). At 90 degrees its +Y points along its -X, the world's +Z.
TEST(XWriter, BonesBendAsWorkedOut) {
    QbExportMesh mesh = arm();
    mesh.bones[1].keys = {mesh.bones[1].rest, mesh.bones[1].rest};
    mesh.bones[1].keys[1].tick = 30;
    mesh.bones[1].keys[1].rotation = {0, 0, 90};
    Engine engine;
    for (QbExportXFormat format : FORMATS)
        for (bool matrixKeys : {false, true}) {
            mesh.matrixKeys = matrixKeys;
            scene::ISkinnedMesh* read = engine.load(mesh, format);
            EXPECT_EQ(read->getFrameCount(), 30u);
            EXPECT_EQ(read->getJointCount(), 3u); // and the frame of the mesh
            near(at(read, 0, 0), {5, 3, 0}, 1e-5f);
            near(at(read, 0, 1), {6, 2, 0}, 1e-5f);
            near(at(read, 30, 0), {5, 2, 1}, 1e-5f);
            near(at(read, 30, 1), {6, 2, 0}, 1e-5f); // on the axis
            near(at(read, 15, 0), {5, 2 + std::sqrt(0.5f), std::sqrt(0.5f)}, 1e-5f);
            near(at(read, 15, 2), {9, 9, 9}, 0);
        }
}

// Degrees mean what they mean to a scene node of the engine; a bone is scaled, then turned, then moved.
TEST(XWriter, KeysTurnLikeTheEngine) {
    QbExportMesh mesh = triangle();
    mesh.bones.resize(1);
    mesh.bones[0].name = "bone";
    mesh.bones[0].weights = {{0, 1}, {1, 1}, {2, 1}};
    mesh.vertices[0].position = {1, 2, 3};
    mesh.bones[0].keys = {{0, {}, {}, {1, 1, 1}}, {10, {7, 8, 9}, {20, 130, -40}, {1, 2, 0.5f}}};
    core::matrix4 turn;
    turn.setRotationDegrees({20, 130, -40});
    core::vector3df expected(1, 4, 1.5f);
    turn.transformVect(expected);
    expected += core::vector3df(7, 8, 9);
    Engine engine;
    near(at(engine.load(mesh, QB_EXPORT_X_TEXT), 10, 0), {expected.X, expected.Y, expected.Z}, 1e-5f);

    mesh.bones[0].keys[1].scale = {1, 1, 1};
    expected = {1, 2, 3};
    turn.transformVect(expected);
    expected += core::vector3df(7, 8, 9);
    for (bool matrixKeys : {false, true}) {
        mesh.matrixKeys = matrixKeys;
        near(at(engine.load(mesh, QB_EXPORT_X_TEXT), 10, 0), {expected.X, expected.Y, expected.Z}, 1e-5f);
    }
}

// A corner that two materials share, and corners behind a split, follow their bone too.
TEST(XWriter, EveryCopyOfAVertexKeepsItsWeight) {
    QbExportMesh mesh = soup(65536);
    mesh.materials.resize(2);
    mesh.triangles[1] = {{0, 1, 3}, 1};
    mesh.bones.resize(1);
    mesh.bones[0].name = "bone";
    for (uint32_t i = 0; i < mesh.vertices.size(); i++)
        mesh.bones[0].weights.push_back({i, 1});
    mesh.bones[0].keys = {{0, {}, {}, {1, 1, 1}}, {1, {0, 100, 0}, {}, {1, 1, 1}}};
    Engine engine;
    scene::ISkinnedMesh* read = engine.load(mesh, QB_EXPORT_X_BINARY);
    at(read, 1, 0);
    size_t moved = 0;
    for (u32 b = 0; b < read->getMeshBufferCount(); b++)
        for (u32 i = 0; i < read->getMeshBuffer(b)->getVertexCount(); i++)
            moved += read->getMeshBuffer(b)->getPosition(i).Y >= 100;
    EXPECT_EQ(moved, 65536u - 2 + 2); // two are used no longer, two twice
}

TEST(XWriter, RefusesWithAReason) {
    constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();
    constexpr float INFINITE = std::numeric_limits<float>::infinity();
    const struct {
        std::function<void(QbExportMesh&)> damage;
        const char* expected;
    } CASES[] = {
        {[](auto& m) { m = {}; }, "has no triangles"},
        {[](auto& m) { m.transform[3] = INFINITE; }, "its transform is not finite"},
        {[](auto& m) { m.vertices[2].position[1] = NOT_A_NUMBER; }, "vertex 2: the position is not finite"},
        {[](auto& m) { m.vertices[1].uv[0] = INFINITE; }, "vertex 1: the texture coordinate is not finite"},
        {[](auto& m) { m.triangles[0].corners[1] = 3; }, "triangle 0: corner 3 of 3 vertices"},
        {[](auto& m) { m.triangles[0].material = 1; }, "triangle 0: material 1 of 1"},
        {[](auto& m) { m.materials.resize(1), m.materials[0].diffuse[3] = 1.5f; },
         "material 0: a colour lies outside 0 to 1"},
        {[](auto& m) { m.materials.resize(1), m.materials[0].power = -1; },
         "material 0: the specular power must be 0 or above"},
        {[](auto& m) { m.materials.resize(1), m.materials[0].textureFileName = "a\"b"; },
         "material 0: the texture's file name holds a quote or a control character"},
        {[](auto& m) { m.ticksPerSecond = 0; }, "ticksPerSecond must be above 0"},
    };
    for (const auto& entry : CASES) {
        QbExportMesh mesh = triangle();
        entry.damage(mesh);
        EXPECT_EQ(refusal(mesh), std::string("mesh \"mesh\": ") + entry.expected);
    }
    QbExportMesh mesh = triangle();
    mesh.name = "my mesh";
    EXPECT_EQ(refusal(mesh), "mesh \"my mesh\": a name is letters, digits and '_', not first a digit");
}

TEST(XWriter, RefusesBonesWithAReason) {
    const struct {
        QbExportBone bone;
        const char* expected;
    } CASES[] = {
        {{"mesh", -1, {}, {}, {}}, "bone 0 \"mesh\": another bone or the mesh bears this name"},
        {{"a", 0, {}, {}, {}}, "bone 0 \"a\": its parent must be an earlier bone"},
        {{"a", -1, {}, {{3, 1}}, {}}, "bone 0 \"a\": weight 0: vertex 3 of 3 vertices"},
        {{"a", -1, {}, {{0, -1}}, {}}, "bone 0 \"a\": weight 0: must be 0 or above"},
        {{"a", -1, {0, {}, {}, {1, 0, 1}}, {}, {}}, "bone 0 \"a\": its rest place has a scale of 0"},
        {{"a", -1, {}, {}, {{5, {}, {}, {1, 1, 1}}, {5, {}, {}, {1, 1, 1}}}},
         "bone 0 \"a\": key 1: tick 5 does not follow tick 5"},
        {{"a", -1, {}, {}, {{5, {}, {}, {1, 1, 2}}}},
         "bone 0 \"a\": key 0: a matrix key holds no scale, leave matrixKeys off"},
    };
    for (const auto& entry : CASES) {
        QbExportMesh mesh = triangle();
        mesh.bones = {entry.bone};
        mesh.matrixKeys = true;
        EXPECT_EQ(refusal(mesh), std::string("mesh \"mesh\": ") + entry.expected);
    }
    QbExportMesh mesh = triangle();
    mesh.bones = {{"a", -1, {}, {}, {}}};
    mesh.transform[12] = 1;
    EXPECT_EQ(refusal(mesh),
              "mesh \"mesh\": a mesh with bones cannot have a transform of its own, move its root bones");
}

} // namespace
