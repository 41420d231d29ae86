#include "engine/engine.h"
#include "engine/fixture.h"
#include "support/temporary_directory.h"

#include <filesystem>
#include <irrlicht/irrlicht.h>
#include <string>

using namespace irr;

namespace {
class FileResolverTest : public EngineTest {
protected:
    // A picture that its width tells from others.
    static void writePicture(const std::string& name, int width) {
        std::filesystem::create_directories(std::filesystem::path(name).parent_path());
        EngineTest::writePicture(name.c_str(), width, 8);
    }
    // 0 for a picture that does not load.
    static u32 widthOf(const video::ITexture* texture) {
        return texture ? texture->getOriginalSize().Width : 0;
    }
    std::string opened(const char* name) const {
        io::IReadFile* file = qbEngineGet()->device->getFileSystem()->createAndOpenFile(name);
        if (!file) return "";
        std::string full = file->getFileName().c_str();
        file->drop();
        return full.substr(directory.path().size() + 1);
    }
    TemporaryDirectory directory;
};
} // namespace

TEST_F(FileResolverTest, LeavesExactNamesAlone) {
    for (const char* name : {"a.txt", "A.txt", "Dir/b.txt", "back\\slash.txt"})
        directory.write(name);
    const std::string full = directory.path() + "\\dir\\b.txt";
    const char* const cases[][2] = {{"a.txt", "a.txt"},
                                    {"A.txt", "A.txt"},
                                    {"A.TXT", "A.txt"},
                                    {"Dir/b.txt", "Dir/b.txt"},
                                    {"DIR\\B.TXT", "Dir/b.txt"},
                                    {full.c_str(), "Dir/b.txt"},
                                    {"back\\slash.txt", "back\\slash.txt"},
                                    {"DIR", ""},
                                    {"dir/c.txt", ""},
                                    {"", ""}};
    for (const auto& [name, file] : cases) {
        EXPECT_EQ(opened(name), file) << name;
        EXPECT_EQ(qbEngineGet()->device->getFileSystem()->existFile(name), *file != '\0') << name;
    }
}

TEST_F(FileResolverTest, TellsDirectoriesApart) {
    writePicture("one/tex/foo.png", 16);
    writePicture("two/tex/foo.png", 32);
    writePicture("three/Tex/Foo.png", 64);
    const struct {
        const char* directory;
        u32 width;
    } tour[] = {{"one", 16}, {"two", 32}, {"three", 64}, {"one", 16}};
    video::IVideoDriver* driver = qbEngineGet()->driver;
    for (const auto& stop : tour) {
        std::filesystem::current_path(directory.path() + "/" + stop.directory);
        const video::ITexture* texture = driver->getTexture("tex/foo.png");
        EXPECT_EQ(widthOf(texture), stop.width) << stop.directory;
        for (const char* name : {"TEX\\FOO.PNG", "TEX/foo.png", ".\\tex\\FOO.png"})
            EXPECT_EQ(driver->getTexture(name), texture) << stop.directory << ' ' << name;
    }
}

// A mesh made on Windows, with its texture beside it, drawn in from another directory.
TEST_F(FileResolverTest, FindsTheTexturesOfAMesh) {
    writePicture("data/wall.png", 16);
    writePicture("tex/floor.png", 32);
    const std::string material = "{ 1;1;1;1;; 1; 0;0;0;; 0;0;0;; TextureFilename { \"";
    directory.write("data/room.x",
                    "xof 0303txt 0032\nMesh m { 3; 0;0;0;, 0;1;0;, 1;0;0;; 2; 3;0,1,2;, 3;0,2,1;;"
                    "MeshMaterialList { 2; 2; 0, 1;; Material " +
                        material + "C:\\\\Art\\\\Wall.PNG\"; } } Material " + material +
                        "TEX\\\\Floor.png\"; } } }"
                        "MeshTextureCoords { 3; 0;0;, 0;1;, 1;0;; } }");
    scene::IAnimatedMesh* mesh = qbEngineGet()->smgr->getMesh("Data\\ROOM.X");
    ASSERT_NE(mesh, nullptr);
    ASSERT_EQ(mesh->getMesh(0)->getMeshBufferCount(), 2U);
    for (const u32 i : {0U, 1U})
        EXPECT_EQ(widthOf(mesh->getMesh(0)->getMeshBuffer(i)->getMaterial().getTexture(0)), 16U << i);
}
