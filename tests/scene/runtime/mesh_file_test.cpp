#include "scene/runtime/mesh_file.h"

#include "scene/runtime/objects.h"
#include "stage.h"

using MeshFile = Stage;

static void expectNear(const vector3df& value, const vector3df& wanted) {
    EXPECT_TRUE(value.equals(wanted, 1e-5F)) << value.X << ' ' << value.Y << ' ' << value.Z;
}

TEST_F(MeshFile, PutsStaticMeshesWhereTheirFramesAre) {
    const struct {
        QbExportMatrix frame;
        vector3df corners[3], normal;
    } cases[] = {
        // First a quarter turn about Y, x to -z and z to x, then the move.
        {qbExportMatrix({10, 20, 30}, {0, 90, 0}, {1, 1, 1}),
         {{10, 20, 30}, {10, 21, 30}, {10, 20, 27}},
         {-1, 0, 0}},
        // Half as deep, and z leans to x + z / 2: the triangle stays, and so does what is at right angles to
        // it.
        {{1, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0.5F, 0, 0, 0, 0, 1}, {{0, 0, 0}, {0, 1, 0}, {3, 0, 0}}, {0, 0, -1}},
    };
    for (const auto& entry : cases) {
        QbExportMesh triangle = triangleMesh(3);
        triangle.transform = entry.frame;
        writeMesh("tri.x", triangle);
        qbObjectLoad("tri.x", 1);
        qbObjectLoad("tri.x", 2); // takes the kept mesh
        ASSERT_NE(qbObjectMeshNode(2), nullptr);
        irr::scene::IMesh* mesh = qbObjectMeshNode(2)->getMesh();
        const irr::scene::IMeshBuffer* buffer = mesh->getMeshBuffer(0);
        irr::core::aabbox3df around(entry.corners[0]);
        for (irr::u32 i = 0; i < 3; i++) {
            expectNear(buffer->getPosition(i), entry.corners[i]);
            expectNear(buffer->getNormal(i), entry.normal);
            around.addInternalPoint(entry.corners[i]);
        }
        EXPECT_EQ(buffer->getBoundingBox(), mesh->getBoundingBox());
        expectNear(mesh->getBoundingBox().MinEdge, around.MinEdge);
        expectNear(mesh->getBoundingBox().MaxEdge, around.MaxEdge);
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
    const std::string ends =
        ", byte 44, in Mesh: the file ends here; copy the file again or save the mesh again as .x";
    const std::pair<std::string, std::string> cases[] = {{"", noX},
                                                         {"xof 0303txt 003", noX},
                                                         {"xof 0303bzip0032 rest", packed},
                                                         {"xof 0303txt 0016 rest", unknown},
                                                         {{cut, sizeof cut - 1}, ends}};
    qbEngineGet()->device->getLogger()->setLogLevel(irr::ELL_ERROR);
    for (const auto& [bytes, message] : cases) {
        messages.clear();
        directory.write("bad.x", bytes);
        testing::internal::CaptureStdout();
        qbObjectLoad("BAD.X", 1);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  message == ends ? "QUAB Object: getNextToken reached end!!\n" : "");
        EXPECT_FALSE(qbObjectExists(1)) << bytes;
        EXPECT_EQ(messages, Texts{directory.path() + "/bad.x" + message});
    }
}

// Files of several exporters, text and binary, still and animated: from Debian's package assimp-testmodels.
TEST_F(MeshFile, LoadsWhatOtherProgramsWrote) {
    const std::filesystem::path models = "/usr/share/assimp/models/X";
    if (!std::filesystem::exists(models)) GTEST_SKIP() << "assimp-testmodels is not installed";
    int loaded = 0;
    for (const auto& entry : std::filesystem::directory_iterator(models)) {
        if (entry.path().extension() != ".x" && entry.path().extension() != ".X") continue;
        const bool packed = entry.path().filename() == "test_cube_compressed.x";
        qbObjectLoad(entry.path().c_str(), 1);
        EXPECT_EQ(qbObjectExists(1), !packed) << entry.path();
        loaded += qbObjectExists(1);
        qbObjectFree(1);
    }
    EXPECT_EQ(messages.size(), 1U);
    EXPECT_GE(loaded, 8);
}
