#include "scene/export/mesh_shapes.h"
#include "scene/export/x_writer.h"

#include <gtest/gtest.h>
#include <irrlicht/irrlicht.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <functional>
#include <limits>

using namespace irr;

namespace {

// What the engine's reader makes of the files. Its warnings are kept: a whole file gives none.
struct Engine : IEventReceiver {
    std::string warnings;
    IrrlichtDevice* device;
    u32 loaded = 0;

    Engine() {
        SIrrlichtCreationParameters parameters;
        parameters.DriverType = video::EDT_NULL;
        parameters.LoggingLevel = ELL_NONE;
        parameters.EventReceiver = this;
        device = createDeviceEx(parameters);
        device->getLogger()->setLogLevel(ELL_WARNING);
    }
    ~Engine() override { device->drop(); }
    bool OnEvent(const SEvent& event) override {
        if (event.EventType == EET_LOG_TEXT_EVENT && !strstr(event.LogEvent.Text, "AnimTicksPerSecond"))
            warnings += event.LogEvent.Text;
        return false;
    }
    scene::ISkinnedMesh* load(const QbExportMesh& mesh, QbExportXFormat format) {
        std::vector<uint8_t> bytes;
        std::string error;
        EXPECT_EQ(qbMeshExportWrite(mesh, format, bytes, error), 0) << error;
        io::IReadFile* file = device->getFileSystem()->createMemoryReadFile(
            bytes.data(), static_cast<s32>(bytes.size()),
            (io::path("mesh") + io::path(loaded++) + ".x").c_str());
        scene::IAnimatedMesh* read = device->getSceneManager()->getMesh(file);
        file->drop();
        EXPECT_NE(read, nullptr);
        EXPECT_EQ(warnings, "");
        return static_cast<scene::ISkinnedMesh*>(read);
    }
};

constexpr QbExportXFormat FORMATS[] = {QB_EXPORT_X_TEXT, QB_EXPORT_X_BINARY};

void near(const core::vector3df& read, const QbVec3& written, float tolerance) {
    EXPECT_NEAR(read.X, written[0], tolerance);
    EXPECT_NEAR(read.Y, written[1], tolerance);
    EXPECT_NEAR(read.Z, written[2], tolerance);
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
TEST(XWriter, GeometryAndMaterialsComeBackFromBothForms) {
    const std::string picture = testing::TempDir() + "x_writer_picture.ppm";
    std::ofstream(picture) << "P6\n1 1\n255\nabc";
    QbExportMesh mesh = qbShapeTorus(1000, 0.3f, 24, 12);
    qbMeshAppend(mesh, qbShapeBox({1e-3f, 2, 3}), 1);
    mesh.materials.resize(2);
    mesh.materials[1] = {{0.2f, 0.4f, 0.6f, 0.8f}, 12.5f, {1, 0.5f, 0}, {0, 0.2f, 1}, picture};
    mesh.name = "sail";
    mesh.transform = qbExportMatrix({10, 20, 30}, {0, 0, 90}, {2, 2, 2});
    Engine engine;
    for (QbExportXFormat format : FORMATS) {
        const float error = format == QB_EXPORT_X_BINARY ? 0 : 5e-7f;
        scene::ISkinnedMesh* read = engine.load(mesh, format);
        ASSERT_EQ(read->getMeshBufferCount(), 2u);
        EXPECT_LE(read->getFrameCount(), 1u); // static
        EXPECT_EQ(read->getMeshBuffer(0)->getVertexCount(), 25u * 13);
        size_t next[2] = {0, 0};
        for (const QbExportTriangle& corners : mesh.triangles)
            for (uint32_t corner : corners.corners) {
                scene::IMeshBuffer* buffer = read->getMeshBuffer(corners.material);
                const QbExportVertex& written = mesh.vertices[corner];
                u16 index = buffer->getIndices()[next[corners.material]++];
                near(buffer->getPosition(index), written.position,
                     error * (std::fabs(written.position[0]) + 1));
                near(buffer->getNormal(index), written.normal, error);
                EXPECT_NEAR(buffer->getTCoords(index).X, written.uv[0], error);
                EXPECT_NEAR(buffer->getTCoords(index).Y, written.uv[1], error);
            }
        EXPECT_EQ(read->getMeshBuffer(1)->getIndexCount(), next[1]);
        const video::SMaterial& material = read->getMeshBuffer(1)->getMaterial();
        EXPECT_EQ(material.DiffuseColor.color, 0xCC336699u);
        EXPECT_EQ(material.Shininess, 12.5f);
        EXPECT_EQ(material.SpecularColor.color & 0xffffff, 0xFF8000u);
        EXPECT_EQ(material.EmissiveColor.color & 0xffffff, 0x0033FFu);
        EXPECT_NE(material.getTexture(0), nullptr);
        EXPECT_STREQ(read->getJointName(0), "sail");
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

core::vector3df at(scene::ISkinnedMesh* mesh, float frame, u32 vertex) {
    mesh->animateMesh(frame, 1);
    mesh->skinMesh();
    return mesh->getMeshBuffer(0)->getPosition(vertex);
}

// A corner that two materials share, and corners behind a split, follow their bone too.
TEST(XWriter, SplitsWhereTheEngineStopsCounting) {
    Engine engine;
    QbExportMesh whole = soup(65535), split = soup(65536);
    qbMeshAppend(whole, triangle(), 1); // another material counts for itself
    whole.materials.resize(2);
    EXPECT_EQ(qbMeshExportBlockCount(whole), 1u);
    EXPECT_EQ(engine.load(whole, QB_EXPORT_X_BINARY)->getMeshBuffer(0)->getVertexCount(), 65535u);

    split.triangles.push_back({{0, 1, 3}, 1});
    split.materials.resize(2);
    split.bones = {{"bone", -1, {}, {}, {{0, {}, {}, {1, 1, 1}}, {1, {0, 100, 0}, {}, {1, 1, 1}}}}};
    for (uint32_t i = 0; i < 65536; i++)
        split.bones[0].weights.push_back({i, 1});
    EXPECT_EQ(qbMeshExportBlockCount(split), 2u);
    scene::ISkinnedMesh* read = engine.load(split, QB_EXPORT_X_BINARY);
    const u32 corners[] = {65535, 0, 3, 3};
    ASSERT_EQ(read->getMeshBufferCount(), 4u);
    for (u32 b = 0; b < 4; b++)
        EXPECT_EQ(read->getMeshBuffer(b)->getIndexCount(), corners[b]) << b;
    at(read, 1, 0);
    const scene::IMeshBuffer* rest = read->getMeshBuffer(2);
    near(rest->getPosition(rest->getIndices()[0]), {0, 100, 0}, 0);
    near(rest->getPosition(rest->getIndices()[2]), {65535, 101, 0}, 0);
    const scene::IMeshBuffer* shared = read->getMeshBuffer(3);
    near(shared->getPosition(shared->getIndices()[2]), {3, 103, 0}, 0);
}

// An upright arm: the lower bone at (5, 0, 0), turned by 90 degrees about Y, the upper one at (6, 2, 0).
// Degrees mean what they mean to a scene node of the engine; a bone is scaled, then turned, then moved.
TEST(XWriter, BonesTurnLikeTheEngine) {
    QbExportMesh mesh = triangle();
    mesh.vertices[0].position = {6, 3, 0}; // on the upper bone, (0, 1, 0) in its space
    mesh.vertices[1].position = {7, 2, 0}; // on both, (0, 0, 1) in the upper one's
    mesh.vertices[2].position = {9, 9, 9}; // on none
    const QbExportBoneKey low = {0, {5, 0, 0}, {0, 90, 0}, {1, 1, 1}}, high = {0, {0, 2, 1}, {}, {1, 1, 1}};
    QbExportBoneKey bent = {30, {1, 3, 2}, {20, 130, -40}, {1, 1, 1}};
    mesh.bones = {{"lower", -1, low, {{1, 0.5f}}, {}}, {"upper", 0, high, {{0, 1}, {1, 0.5f}}, {high, bent}}};
    core::matrix4 lower, upper;
    lower.setRotationDegrees({0, 90, 0});
    lower.setTranslation({5, 0, 0});
    upper.setRotationDegrees({20, 130, -40});
    upper.setTranslation({1, 3, 2});
    Engine engine;
    for (QbExportXFormat format : FORMATS)
        for (bool matrixKeys : {false, true}) {
            core::vector3df tip(0, matrixKeys ? 1.0f : 2.0f, 0), side(0, 0, 1);
            mesh.matrixKeys = matrixKeys;
            mesh.bones[1].keys[1].scale[1] = tip.Y;
            for (core::vector3df* v : {&tip, &side}) {
                upper.transformVect(*v);
                lower.transformVect(*v);
            }
            side = (side + core::vector3df(7, 2, 0)) / 2;
            scene::ISkinnedMesh* read = engine.load(mesh, format);
            EXPECT_EQ(read->getFrameCount(), 30u);
            near(at(read, 0, 0), {6, 3, 0}, 1e-5f);
            near(at(read, 30, 0), {tip.X, tip.Y, tip.Z}, 1e-5f);
            near(at(read, 30, 1), {side.X, side.Y, side.Z}, 1e-5f);
            near(at(read, 30, 2), {9, 9, 9}, 0);
        }
}

TEST(XWriter, RefusesWithAReason) {
    constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();
    const struct {
        std::function<void(QbExportMesh&)> damage;
        const char* expected;
    } CASES[] = {
        {[](auto& m) { m.triangles.clear(); }, "has no triangles"},
        {[](auto& m) { m.name = "my mesh"; }, "a name is letters, digits and '_', not first a digit"},
        {[](auto& m) { m.vertices[2].position[1] = NOT_A_NUMBER; }, "vertex 2: the position is not finite"},
        {[](auto& m) { m.triangles[0].corners[1] = 3; }, "triangle 0: corner 3 of 3 vertices"},
        {[](auto& m) { m.triangles[0].material = 1; }, "triangle 0: material 1 of 1"},
        {[](auto& m) { m.materials[0].diffuse[3] = 1.5f; }, "material 0: a colour lies outside 0 to 1"},
        {[](auto& m) { m.materials[0].textureFileName = "a\"b"; },
         "material 0: the texture's file name holds a quote or a control character"},
        {[](auto& m) { m.ticksPerSecond = 0; }, "ticksPerSecond must be above 0"},
        {[](auto& m) { m.bones[0].parent = 0; }, "bone 0 \"a\": its parent must be an earlier bone"},
        {[](auto& m) {
             m.bones[0].weights.resize(1, {3, 1});
         },
         "bone 0 \"a\": weight 0: vertex 3 of 3 vertices"},
        {[](auto& m) { m.bones[0].keys.resize(2); }, "bone 0 \"a\": key 1: tick 0 does not follow tick 0"},
        {[](auto& m) {
             m.bones[0].keys.push_back({5, {}, {}, {1, 1, 2}});
         },
         "bone 0 \"a\": key 0: a matrix key holds no scale, leave matrixKeys off"},
        {[](auto& m) { m.transform[12] = 1; },
         "a mesh with bones cannot have a transform of its own, move its root bones"},
    };
    for (const auto& entry : CASES) {
        QbExportMesh mesh = triangle();
        mesh.materials.resize(1);
        mesh.bones.resize(1);
        mesh.bones[0].name = "a";
        mesh.matrixKeys = true;
        entry.damage(mesh);
        std::vector<uint8_t> bytes = {1};
        std::string error, name = mesh.name.empty() ? "mesh" : mesh.name;
        EXPECT_EQ(qbMeshExportWrite(mesh, QB_EXPORT_X_TEXT, bytes, error), -1);
        EXPECT_EQ(error, "mesh \"" + name + "\": " + entry.expected);
        EXPECT_TRUE(bytes.empty());
        EXPECT_EQ(qbMeshExportBlockCount(mesh), 0u);
    }
}

} // namespace
