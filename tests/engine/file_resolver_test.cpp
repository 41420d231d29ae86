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
    static void writePicture(const std::string& name, u32 width) {
        std::filesystem::create_directories(std::filesystem::absolute(name).parent_path());
        video::IVideoDriver* driver = qbEngineGet()->driver;
        video::IImage* image = driver->createImage(video::ECF_R8G8B8, core::dimension2du(width, 8));
        driver->writeImageToFile(image, name.c_str());
        image->drop();
    }
    // Width of the texture of this name, 0 when it does not load.
    static u32 load(const char* name) {
        const video::ITexture* texture = qbEngineGet()->driver->getTexture(name);
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

TEST_F(FileResolverTest, OpensOtherSpellings) {
    writePicture("tex/foo.png", 16);
    const char* names[] = {"tex/foo.png", "TEX\\Foo.PNG", "TEX/Foo.png", ".\\tex\\FOO.png", "tex/FOO.PNG"};
    const video::ITexture* first = qbEngineGet()->driver->getTexture(names[0]);
    for (const char* name : names)
        EXPECT_EQ(qbEngineGet()->driver->getTexture(name), first) << name;
    const std::string full = directory.path() + "\\Tex\\Foo.png";
    EXPECT_EQ(qbEngineGet()->driver->getTexture(full.c_str()), first);
}

TEST_F(FileResolverTest, LeavesExactNamesAlone) {
    directory.write("a.txt");
    directory.write("A.txt");
    directory.write("Dir/b.txt");
    directory.write("back\\slash.txt");
    EXPECT_EQ(opened("a.txt"), "a.txt");
    EXPECT_EQ(opened("A.txt"), "A.txt");
    EXPECT_EQ(opened("A.TXT"), "A.txt");
    EXPECT_EQ(opened("Dir/b.txt"), "Dir/b.txt");
    EXPECT_EQ(opened("back\\slash.txt"), "back\\slash.txt");
    EXPECT_EQ(opened((directory.path() + "/a.txt").c_str()), "a.txt");
    EXPECT_EQ(opened("dir"), "");
    EXPECT_EQ(opened("dir/c.txt"), "");
}

TEST_F(FileResolverTest, AnswersWhetherAFileExists) {
    directory.write("Dir/b.txt");
    io::IFileSystem* fileSystem = qbEngineGet()->device->getFileSystem();
    EXPECT_TRUE(fileSystem->existFile("Dir/b.txt"));
    EXPECT_TRUE(fileSystem->existFile("DIR\\B.TXT"));
    EXPECT_FALSE(fileSystem->existFile("DIR\\C.TXT"));
    EXPECT_FALSE(fileSystem->existFile("DIR"));
    EXPECT_FALSE(fileSystem->existFile(""));
}

TEST_F(FileResolverTest, TellsDirectoriesApart) {
    writePicture("one/tex/foo.png", 16);
    writePicture("two/tex/foo.png", 32);
    writePicture("three/Tex/Foo.png", 64);
    const struct {
        const char* directory;
        u32 width;
    } tour[] = {{"one", 16}, {"two", 32}, {"three", 64}, {"one", 16}};
    for (const auto& stop : tour) {
        std::filesystem::current_path(directory.path() + "/" + stop.directory);
        for (const char* name : {"tex/foo.png", "TEX\\FOO.PNG", "TEX/foo.png"})
            EXPECT_EQ(load(name), stop.width) << stop.directory << ' ' << name;
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
    const u32 widths[] = {16, 32};
    for (u32 i = 0; i < 2; ++i) {
        const video::ITexture* texture = mesh->getMesh(0)->getMeshBuffer(i)->getMaterial().getTexture(0);
        ASSERT_NE(texture, nullptr) << i;
        EXPECT_EQ(texture->getOriginalSize().Width, widths[i]);
    }
}
