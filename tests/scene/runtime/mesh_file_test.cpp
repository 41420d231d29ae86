#include "scene/runtime/mesh_file.h"

#include "engine/engine.h"
#include "meshes.h"
#include "scene/runtime/objects.h"
#include "stage.h"

using irr::core::vector3df;

namespace {

// Keeps what the engine's logger says of errors.
class LogKeeper : public irr::IEventReceiver {
public:
    bool OnEvent(const irr::SEvent& event) override {
        if (event.EventType != irr::EET_LOG_TEXT_EVENT) return false;
        lines.emplace_back(event.LogEvent.Text);
        return true;
    }
    std::vector<std::string> lines;
};

class MeshFile : public Stage {
protected:
    void SetUp() override {
        Stage::SetUp();
        qbEngineGet()->device->setEventReceiver(&log);
        qbEngineGet()->device->getLogger()->setLogLevel(irr::ELL_ERROR);
    }
    void TearDown() override {
        qbEngineGet()->device->setEventReceiver(nullptr);
        Stage::TearDown();
    }
    LogKeeper log;
};

void expectNear(const vector3df& value, const vector3df& wanted) {
    EXPECT_NEAR(value.X, wanted.X, 1e-5F);
    EXPECT_NEAR(value.Y, wanted.Y, 1e-5F);
    EXPECT_NEAR(value.Z, wanted.Z, 1e-5F);
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
        vector3df corners[3], normal, least, most;
    } cases[] = {
        {UNIT, UNIT, {{0, 0, 0}, {0, 1, 0}, {3, 0, 0}}, {0, 0, -1}, {0, 0, 0}, {3, 1, 0}},
        {UNIT, MOVED, {{10, 20, 30}, {10, 21, 30}, {13, 20, 30}}, {0, 0, -1}, {10, 20, 30}, {13, 21, 30}},
        {TURNED, UNIT, {{0, 0, 0}, {0, 1, 0}, {0, 0, -3}}, {-1, 0, 0}, {0, 0, -3}, {0, 1, 0}},
        // First the inner one moves, then the outer one turns.
        {TURNED,
         MOVED,
         {{30, 20, -10}, {30, 21, -10}, {30, 20, -13}},
         {-1, 0, 0},
         {30, 20, -13},
         {30, 21, -10}},
        {MOVED, TURNED, {{10, 20, 30}, {10, 21, 30}, {10, 20, 27}}, {-1, 0, 0}, {10, 20, 27}, {10, 21, 30}},
        // The triangle stays, and so does what is at right angles to it.
        {UNIT, LEANT, {{0, 0, 0}, {0, 1, 0}, {3, 0, 0}}, {0, 0, -1}, {0, 0, 0}, {3, 1, 0}},
        {UNIT, FLAT, {{0, 0, 0}, {0, 1, 0}, {3, 0, 0}}, {0, 0, 0}, {0, 0, 0}, {3, 1, 0}},
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
            for (const irr::core::aabbox3df& box : {buffer->getBoundingBox(), mesh->getBoundingBox()}) {
                expectNear(box.MinEdge, entry.least);
                expectNear(box.MaxEdge, entry.most);
            }
        }
        qbObjectFree(1);
        qbObjectFree(2);
        smgr->getMeshCache()->clear();
    }
}

TEST_F(MeshFile, LeavesMovingMeshesToTheirBones) {
    directory.write("slide.x", slidingMesh());
    qbObjectLoad("slide.x", 1);
    ASSERT_NE(qbObjectAnimatedNode(1), nullptr);
    qbObjectSetFrame(1, 4.0F);
    qbObjectAnimatedNode(1)->OnAnimate(1000);
    EXPECT_NEAR(qbObjectAnimatedNode(1)->getMesh()->getMeshBuffer(0)->getPosition(2).X, 5.0F, 1e-4F);
}

TEST_F(MeshFile, SaysThatBinaryDataEnded) {
    // A Mesh of one vertex whose list of floats is announced but does not come.
    const char binary[] = "xof 0303bin 0032\1\0\4\0\0\0Mesh\12\0\6\0\1\0\0\0\1\0\0\0\7\0\3\0\0\0";
    directory.write("cut.x", {binary, sizeof binary - 1});
    qbObjectLoad("cut.x", 1);
    EXPECT_FALSE(qbObjectExists(1));
    EXPECT_EQ(log.lines, std::vector<std::string>{"QUAB Object: getNextToken reached end!!"});
    EXPECT_EQ(messages, std::vector<std::string>{directory.path() +
                                                 "/cut.x, byte 44, in Mesh: the file ends here; copy the "
                                                 "file again or save the mesh again as .x"});
}

TEST_F(MeshFile, LogsNothingForTextAndOtherDamage) {
    const std::string text = boxMesh(1.0F, "1.0;1.0;1.0");
    directory.write("cut.x", text.substr(0, text.size() / 2));
    directory.write("bad.x", "xof 0303bin 0032\1\1");
    qbObjectLoad("cut.x", 1);
    EXPECT_TRUE(log.lines.empty());
    EXPECT_EQ(messages.size(), 1U);
    EXPECT_FALSE(qbObjectExists(1));
}

TEST_F(MeshFile, PassesOverPadding) {
    directory.write("padded.x", boxMesh(2.0F, "1.0;1.0;1.0") + std::string(3, '\0') + "\x1a");
    qbObjectLoad("padded.x", 1);
    EXPECT_TRUE(qbObjectExists(1));
    EXPECT_TRUE(messages.empty());
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
