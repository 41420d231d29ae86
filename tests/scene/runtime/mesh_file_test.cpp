#include "scene/runtime/mesh_file.h"

#include "engine/engine.h"
#include "meshes.h"
#include "scene/runtime/objects.h"
#include "stage.h"

using irr::core::vector3df;

namespace {

// Keeps what the engine's logger says of errors.
class MeshFile : public Stage, public irr::IEventReceiver {
protected:
    void SetUp() override {
        Stage::SetUp();
        qbEngineGet()->device->setEventReceiver(this);
        qbEngineGet()->device->getLogger()->setLogLevel(irr::ELL_ERROR);
    }
    void TearDown() override {
        qbEngineGet()->device->setEventReceiver(nullptr);
        Stage::TearDown();
    }
    bool OnEvent(const irr::SEvent& event) override {
        if (event.EventType == irr::EET_LOG_TEXT_EVENT) log.emplace_back(event.LogEvent.Text);
        return true;
    }
    std::vector<std::string> log;
};

void expectNear(const vector3df& value, const vector3df& wanted) {
    EXPECT_TRUE(value.equals(wanted, 1e-5F)) << value.X << ' ' << value.Y << ' ' << value.Z;
}

// One triangle with the corners (0 0 0), (0 1 0), (3 0 0) and the normal (0 0 -1) in two frames.
std::string framedTriangle(const std::string& outer, const std::string& inner) {
    return "xof 0303txt 0032\nFrame Outer {\nFrameTransformMatrix {\n" + outer +
           ";;\n}\nFrame Inner {\nFrameTransformMatrix {\n" + inner +
           ";;\n}\nMesh {\n3;\n0.0;0.0;0.0;,\n0.0;1.0;0.0;,\n3.0;0.0;0.0;;\n1;\n3;0,1,2;;\n"
           "MeshNormals {\n1;\n0.0;0.0;-1.0;;\n1;\n3;0,0,0;;\n}\n}\n}\n}\n";
}

const char UNIT[] = "1.0,0.0,0.0,0.0, 0.0,1.0,0.0,0.0, 0.0,0.0,1.0,0.0, 0.0,0.0,0.0,1.0";
const char MOVED[] = "1.0,0.0,0.0,0.0, 0.0,1.0,0.0,0.0, 0.0,0.0,1.0,0.0, 10.0,20.0,30.0,1.0";
// A quarter turn about Y: x goes to -z, z to x.
const char TURNED[] = "0.0,0.0,-1.0,0.0, 0.0,1.0,0.0,0.0, 1.0,0.0,0.0,0.0, 0.0,0.0,0.0,1.0";
// Half as deep, and what was straight leans: z goes to x + z / 2.
const char LEANT[] = "1.0,0.0,0.0,0.0, 0.0,1.0,0.0,0.0, 1.0,0.0,0.5,0.0, 0.0,0.0,0.0,1.0";
const char FLAT[] = "1.0,0.0,0.0,0.0, 0.0,1.0,0.0,0.0, 0.0,0.0,0.0,0.0, 0.0,0.0,0.0,1.0";

} // namespace

TEST_F(MeshFile, PutsStaticMeshesWhereTheirFramesAre) {
    const struct {
        const char *outer, *inner;
        vector3df corners[3], normal;
    } cases[] = {
        {UNIT, MOVED, {{10, 20, 30}, {10, 21, 30}, {13, 20, 30}}, {0, 0, -1}},
        // First the inner one moves, then the outer one turns.
        {TURNED, MOVED, {{30, 20, -10}, {30, 21, -10}, {30, 20, -13}}, {-1, 0, 0}},
        {MOVED, TURNED, {{10, 20, 30}, {10, 21, 30}, {10, 20, 27}}, {-1, 0, 0}},
        // The triangle stays, and so does what is at right angles to it.
        {UNIT, LEANT, {{0, 0, 0}, {0, 1, 0}, {3, 0, 0}}, {0, 0, -1}},
        {UNIT, FLAT, {{0, 0, 0}, {0, 1, 0}, {3, 0, 0}}, {0, 0, 0}},
    };
    for (const auto& entry : cases) {
        directory.write("tri.x", framedTriangle(entry.outer, entry.inner));
        for (int id : {1, 2}) { // the second one takes the kept mesh
            qbObjectLoad("tri.x", id);
            ASSERT_NE(qbObjectMeshNode(id), nullptr);
            irr::scene::IMesh* mesh = qbObjectMeshNode(id)->getMesh();
            const irr::scene::IMeshBuffer* buffer = mesh->getMeshBuffer(0);
            for (irr::u32 i = 0; i < 3; i++) {
                expectNear(buffer->getPosition(i), entry.corners[i]);
                expectNear(buffer->getNormal(i), entry.normal);
            }
            irr::core::aabbox3df around(entry.corners[0]);
            for (const vector3df& corner : entry.corners)
                around.addInternalPoint(corner);
            for (const irr::core::aabbox3df& box : {buffer->getBoundingBox(), mesh->getBoundingBox()}) {
                expectNear(box.MinEdge, around.MinEdge);
                expectNear(box.MaxEdge, around.MaxEdge);
            }
        }
        qbObjectFree(1);
        qbObjectFree(2);
        smgr->getMeshCache()->clear();
    }
}

TEST_F(MeshFile, RefusesWithTheReason) {
    // A Mesh of one vertex whose list of floats is announced but does not come.
    const char cut[] = "xof 0303bin 0032\1\0\4\0\0\0Mesh\12\0\6\0\1\0\0\0\1\0\0\0\7\0\3\0\0\0";
    const std::string noX = " is not a .x file: it does not begin with \"xof \"; save the mesh again as .x";
    const std::string packed = " is a compressed .x file; save it as text or binary (not compressed)";
    const std::string unknown =
        " is a .x file of an unknown kind; save it as text or binary with 32-bit floats";
    const std::pair<std::string, std::string> cases[] = {
        {"", noX},
        {"xof 0303txt 003", noX},
        {"PK\3\4 a whole archive", noX},
        {"xof 0303tzip0032 rest", packed},
        {"xof 0303bzip0032 rest", packed},
        {"xof 0303com 0032 rest", unknown},
        {"xof 0303txt 0016 rest", unknown},
        {{cut, sizeof cut - 1},
         ", byte 44, in Mesh: the file ends here; copy the file again or save the mesh again as .x"}};
    for (const auto& [bytes, message] : cases) {
        messages.clear();
        EXPECT_TRUE(log.empty());
        directory.write("bad.x", bytes);
        qbObjectLoad("BAD.X", 1);
        EXPECT_FALSE(qbObjectExists(1)) << bytes;
        EXPECT_EQ(messages, std::vector<std::string>{directory.path() + "/bad.x" + message});
    }
    EXPECT_EQ(log, std::vector<std::string>{"QUAB Object: getNextToken reached end!!"});
}

// Files of several exporters, text and binary, still and animated: from Debian's package assimp-testmodels.
TEST_F(MeshFile, LoadsWhatOtherProgramsWrote) {
    const std::filesystem::path models = "/usr/share/assimp/models/X";
    if (!std::filesystem::exists(models)) GTEST_SKIP() << "assimp-testmodels is not installed";
    int loaded = 0;
    for (const auto& entry : std::filesystem::directory_iterator(models)) {
        const std::string extension = entry.path().extension().string();
        if (extension != ".x" && extension != ".X") continue;
        const bool packed = entry.path().filename() == "test_cube_compressed.x";
        qbObjectLoad(entry.path().c_str(), 1);
        EXPECT_EQ(qbObjectExists(1), !packed) << entry.path();
        EXPECT_EQ(messages.size(), packed ? 1U : 0U) << entry.path();
        messages.clear();
        qbObjectFree(1);
        loaded += !packed;
    }
    EXPECT_GE(loaded, 8);
}
