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
    for (const char* name : {"Data/Ville 1.QUAB", "Data/\xC3\xA9t\xC3\xA9.x", "we\\ird.x", "we/ird.x",
                             "SUB/a.txt", "Sub/A.TXT", "sub/b.txt"})
        directory.write(name);
    const char* const cases[][2] = {
        {"DATA\\VILLE 1.quab", "Data/Ville 1.QUAB"},
        {".\\data\\..\\DATA\\\xC3\xA9T\xC3\xA9.X", "./Data/../Data/\xC3\xA9t\xC3\xA9.x"},
        {"data\\", "Data"},
        {"we\\ird.x", "we\\ird.x"}, // a backslash in a real name is a letter of it
        {"WE\\ird.x", "we/ird.x"},
        {"Sub/a.txt", "Sub/A.TXT"}, // the exact directory first
        {"sub/a.txt", "SUB/a.txt"}, // then in byte order
        {"SUB\\B.TXT", "sub/b.txt"},
        {"Data/Ville 1.QUAB/x", "-untouched"},
        {"data/\xC3\x89t\xC3\x89.x", "-untouched"}, // only ASCII letters have a case
        {"missing\\ville 1.quab", "-untouched"},
        {"", "-untouched"},
    };
    for (const auto& [asked, found] : cases)
        EXPECT_EQ(resolved(asked), found) << asked;
    EXPECT_EQ(resolved(directory.path() + "\\data\\Ville 1.Quab"), directory.path() + "/Data/Ville 1.QUAB");
}

TEST_F(Path, OpensAndKeepsTheNameOfWhatIsNew) {
    directory.write("Data/a.txt", "abc");
    ASSERT_EQ(mkfifo("pipe", 0600), 0); // it would be waited for
    EXPECT_TRUE(opens("data\\A.txt", "rb"));
    for (const char* name : {"data", "data/b.txt", "PIPE", ""})
        EXPECT_FALSE(opens(name, "rb")) << name;
    EXPECT_FALSE(opens("b.txt", "r+b")); // must exist, though it is written
    EXPECT_TRUE(opens("DATA\\A.txt", "wb"));
    EXPECT_EQ(std::filesystem::file_size("Data/a.txt"), 3U);
    EXPECT_TRUE(std::filesystem::exists("Data/A.txt"));
    EXPECT_FALSE(opens("missing\\new.txt", "wb"));
    EXPECT_FALSE(opens("data\\", "wb"));
}

TEST_F(Path, SplitsAtEitherSeparator) {
    const char* const cases[][3] = {{"xport\\ville.quab", "xport\\", "ville.quab"},
                                    {"/a/b\\c d.x", "/a/b\\", "c d.x"},
                                    {"plain.x", "", "plain.x"},
                                    {"xport/", "xport/", ""},
                                    {"/root", "/", "root"}};
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
    directory.write("Data/sub dir/a.txt");
    for (const char* name : {"./new.txt", ".//new.txt", "././/new.txt"})
        EXPECT_EQ(qbFullPath(name), directory.path() + "/new.txt") << name;
    for (const char* name : {".", "./", ".//"})
        EXPECT_EQ(qbFullPath(name), directory.path()) << name;
    const std::string longest = "/" + std::string(2047, 'n');
    EXPECT_EQ(qbFullPath(longest.c_str()), longest);
    EXPECT_STREQ(qbFullPath((longest + "n").c_str()), "");
    EXPECT_EQ(qbSetDirectory("DATA\\Sub Dir"), 0);
    EXPECT_EQ(qbSetDirectory(""), 0);
    EXPECT_EQ(qbSetDirectory("a.txt"), -1);
    EXPECT_EQ(qbCurrentDirectory(), directory.path() + "/Data/sub dir");
}

TEST_F(Path, FindsInTheOrderOfThePlaces) {
    const std::string name = std::filesystem::path(directory.path()).filename();
    const std::string beside = std::filesystem::read_symlink("/proc/self/exe").parent_path() / name;
    EXPECT_EQ(qbFindFile(name.c_str()), name); // nowhere
    for (const std::string& place : {beside, "shaders/" + name, name}) {
        directory.write(place);
        EXPECT_EQ(qbFindFile(name.c_str()), place);
    }
    std::filesystem::remove(beside);
}
