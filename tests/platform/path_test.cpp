#include "platform/path.h"

#include "support/temporary_directory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

class Path : public testing::Test {
protected:
    static std::string resolved(const std::string& name) {
        std::string found = "untouched";
        return qbPathResolve(name.c_str(), found) ? found : "-" + found;
    }
    static bool opens(const char* name, const char* mode) {
        std::FILE* file = qbPathOpen(name, mode);
        if (file) fclose(file);
        return file != nullptr;
    }
    TemporaryDirectory directory;
};

} // namespace

TEST_F(Path, ResolvesWhatIsMeant) {
    directory.write("Data/Ville 1.QUAB");
    directory.write("Data/\xC3\xA9t\xC3\xA9.x");
    directory.write("we\\ird.x");
    directory.write("we/ird.x");
    const char* const cases[][2] = {
        {"Data/Ville 1.QUAB", "Data/Ville 1.QUAB"},
        {"data/ville 1.quab", "Data/Ville 1.QUAB"},
        {"DATA\\VILLE 1.quab", "Data/Ville 1.QUAB"},
        {"data//ville 1.quab", "Data/Ville 1.QUAB"},
        {".\\data\\..\\DATA\\\xC3\xA9T\xC3\xA9.X", "./Data/../Data/\xC3\xA9t\xC3\xA9.x"},
        {"data\\", "Data"},
        {"we\\ird.x", "we\\ird.x"}, // a backslash in a real name is a letter of it
        {"WE\\ird.x", "we/ird.x"},
        {"data/ville  1.quab", "-untouched"},
        {"Data/Ville 1.QUAB/x", "-untouched"},
        {"data/\xC3\x89t\xC3\x89.x", "-untouched"}, // only ASCII letters have a case
        {"missing\\ville 1.quab", "-untouched"},
        {"..\\missing", "-untouched"},
        {"", "-untouched"},
    };
    for (const auto& [asked, found] : cases)
        EXPECT_EQ(resolved(asked), found) << asked;
    EXPECT_EQ(resolved(directory.path() + "\\data\\Ville 1.Quab"), directory.path() + "/Data/Ville 1.QUAB");
    std::string name = "DATA\\VILLE 1.quab"; // in place
    EXPECT_TRUE(qbPathResolve(name.c_str(), name));
    EXPECT_EQ(name, "Data/Ville 1.QUAB");
    EXPECT_FALSE(qbPathResolve(nullptr, name));
}

TEST_F(Path, ResolvesThroughDirectoriesThatDifferInCaseAlone) {
    directory.write("SUB/a.txt");
    directory.write("Sub/A.TXT");
    directory.write("sub/b.txt");
    EXPECT_EQ(resolved("Sub/a.txt"), "Sub/A.TXT"); // the exact directory first
    EXPECT_EQ(resolved("sub/a.txt"), "SUB/a.txt"); // then in byte order
    EXPECT_EQ(resolved("SUB\\B.TXT"), "sub/b.txt");
}

TEST_F(Path, OpensForReading) {
    directory.write("Data/a.txt", "abc");
    ASSERT_EQ(mkfifo("pipe", 0600), 0); // it would be waited for
    EXPECT_TRUE(opens("data\\A.txt", "rb"));
    EXPECT_EQ(qbFileExists("DATA/A.TXT"), 1);
    for (const char* name : {"data", "data/b.txt", "b.txt", "pipe", "PIPE", ""}) {
        EXPECT_FALSE(opens(name, "rb")) << name;
        EXPECT_EQ(qbFileExists(name), 0) << name;
    }
    EXPECT_FALSE(opens("b.txt", "r+b")); // must exist, though it is written
    EXPECT_FALSE(opens(nullptr, "rb"));
}

TEST_F(Path, WritingResolvesTheDirectoryAndKeepsTheName) {
    directory.write("Data/old.txt", "old");
    EXPECT_TRUE(opens("DATA\\New.txt", "wb"));
    EXPECT_TRUE(std::filesystem::exists("Data/New.txt"));
    EXPECT_TRUE(opens("data/OLD.txt", "wb"));
    EXPECT_EQ(std::filesystem::file_size("Data/old.txt"), 3U);
    EXPECT_TRUE(std::filesystem::exists("Data/OLD.txt"));
    EXPECT_FALSE(opens("missing\\new.txt", "wb"));
    EXPECT_FALSE(opens("data\\", "wb"));
    EXPECT_FALSE(std::filesystem::exists("missing\\new.txt"));
}

TEST_F(Path, SplitsAtEitherSeparator) {
    const char* const cases[][3] = {
        {"xport/ville.quab", "xport/", "ville.quab"},
        {"xport\\ville.quab", "xport\\", "ville.quab"},
        {"/a/b\\c d.x", "/a/b\\", "c d.x"},
        {"plain.x", "", "plain.x"},
        {"xport/", "xport/", ""},
        {"/root", "/", "root"},
        {"", "", ""},
    };
    for (const auto& [path, parent, name] : cases) {
        EXPECT_STREQ(qbDirName(path), parent) << path;
        EXPECT_STREQ(qbBaseName(path), name) << path;
    }
    directory.write("ba\\ck.x");
    EXPECT_STREQ(qbBaseName("ba\\ck.x"), "ba\\ck.x");
    EXPECT_EQ(std::string(qbBaseName(std::string(300, 'n').c_str())), std::string(256, 'n'));
    EXPECT_EQ(std::string(qbDirName((std::string(3000, 'd') + "/n").c_str())), std::string(2048, 'd'));
}

TEST_F(Path, FullPathIsAbsoluteAndNeverCut) {
    directory.write("Data/a.txt");
    EXPECT_EQ(qbFullPath("data\\a.txt"), directory.path() + "/Data/a.txt");
    EXPECT_EQ(qbFullPath("./new.txt"), directory.path() + "/new.txt");
    EXPECT_EQ(qbFullPath("."), directory.path());
    EXPECT_STREQ(qbFullPath("/new/file"), "/new/file");
    const std::string longest = "/" + std::string(2047, 'n');
    EXPECT_EQ(qbFullPath(longest.c_str()), longest);
    EXPECT_STREQ(qbFullPath((longest + "n").c_str()), "");
}

TEST_F(Path, EntersDirectories) {
    directory.write("Data/sub dir/a.txt");
    EXPECT_EQ(qbSetDirectory("DATA\\Sub Dir"), 0);
    EXPECT_EQ(qbCurrentDirectory(), directory.path() + "/Data/sub dir");
    EXPECT_EQ(qbSetDirectory(""), 0);
    EXPECT_EQ(qbSetDirectory("a.txt"), -1);
    EXPECT_EQ(qbSetDirectory("missing"), -1);
    EXPECT_EQ(qbCurrentDirectory(), directory.path() + "/Data/sub dir");
}

TEST_F(Path, FindsInTheOrderOfThePlaces) {
    const std::string name = std::filesystem::path(directory.path()).filename();
    ASSERT_NE(qbProgramDirectory(), nullptr);
    const std::string beside = qbProgramDirectory() + name;
    EXPECT_EQ(std::filesystem::path(beside).parent_path(),
              std::filesystem::read_symlink("/proc/self/exe").parent_path());
    EXPECT_EQ(qbFindFile(name.c_str()), name); // nowhere
    directory.write(beside);
    EXPECT_EQ(qbFindFile(name.c_str()), beside);
    EXPECT_EQ(qbFindFile(qbFindFile(name.c_str())), beside);
    directory.write("shaders/" + name);
    EXPECT_EQ(qbFindFile(name.c_str()), "shaders/" + name);
    directory.write(name);
    EXPECT_EQ(qbFindFile(name.c_str()), name);
    std::filesystem::remove(beside);
}
