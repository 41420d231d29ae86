#include "engine/fixture.h"
#include "support/temporary_directory.h"

#include <sys/stat.h>

using FileResolverTest = EngineTest;

// Textures of one name in several directories, asked for as on Windows.
TEST_F(FileResolverTest, TellsFilesAndDirectoriesApart) {
    const TemporaryDirectory directory;
    const std::pair<const char*, unsigned> tour[] = {
        {"one/tex/foo.png", 16}, {"two/tex/foo.png", 32}, {"three/Tex/Foo.png", 64}, {"one/tex/foo.png", 16}};
    for (const auto& [file, width] : tour) {
        directory.write(file);
        writePicture(file, width, 8);
        std::filesystem::current_path(std::string(file, 0, std::string(file).find('/')));
        for (const char* name : {"tex/foo.png", "TEX\\FOO.PNG", ".\\tex\\FOO.png"}) {
            const irr::video::ITexture* texture = qbEngineGet()->driver->getTexture(name);
            ASSERT_NE(texture, nullptr) << file << ' ' << name;
            EXPECT_EQ(texture->getOriginalSize().Width, width) << file << ' ' << name;
        }
        for (const char* name : {"TEX", "tex/none.png", ""})
            EXPECT_FALSE(qbEngineGet()->device->getFileSystem()->existFile(name)) << name;
        std::filesystem::current_path(directory.path());
    }
}

// What never ends, or claims a size that no memory has.
TEST_F(FileResolverTest, OpensPlainFilesOnly) {
    const TemporaryDirectory directory;
    std::filesystem::create_directory("directory.jpg");
    std::filesystem::create_symlink("/dev/zero", "zero.png");
    ASSERT_EQ(mkfifo("pipe.png", 0600), 0);
    directory.write("holes.jpg");
    directory.write("empty.jpg");
    std::filesystem::resize_file("holes.jpg", uintmax_t{1} << 40);
    for (const char* name : {"directory.jpg", "zero.png", "pipe.png", "PIPE.png", "holes.jpg", "empty.jpg"})
        EXPECT_EQ(qbEngineGet()->driver->getTexture(name), nullptr) << name;
}
