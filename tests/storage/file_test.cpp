#include "storage/file.h"

#include "storage/ini.h"
#include "support/messages.h"
#include "support/temporary_directory.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <memory>

namespace {

using File = std::unique_ptr<QbFile, decltype(&qbFileClose)>;

File opened(const char* name, const char* mode = "rb") {
    return {qbFileOpen(name, mode), qbFileClose};
}

class FileLayer : public testing::Test {
protected:
    void SetUp() override { directory.write("Data/a.bin", "abcdefghij"); }
    void TearDown() override {
        qbFileUseStdio();
        qbFileSetRoot("");
        qbFileSetSeparator('/');
    }
    TemporaryDirectory directory;
    char bytes[16] = "...............";
};

} // namespace

TEST_F(FileLayer, ReadsPlainFiles) {
    const File file = opened("data\\A.BIN");
    ASSERT_TRUE(file);
    EXPECT_EQ(qbFileSeek(file.get(), 4, 0), 0);
    EXPECT_EQ(qbFileSize(file.get()), 10);
    EXPECT_EQ(qbFileTell(file.get()), 4);
    EXPECT_EQ(qbFileRead(bytes, 4, 2, file.get()), 1U); // whole items only
    EXPECT_EQ(qbFileSeek(file.get(), -1, 2), 0);        // the C library's sign
    EXPECT_EQ(qbFileGetc(file.get()), 'j');
    EXPECT_EQ(qbFileGetc(file.get()), -1);
    EXPECT_NE(qbFileSeek(file.get(), 0, 3), 0);
    EXPECT_EQ(qbFileData(file.get()), nullptr);
    const std::string tooLong(2048, 'n');
    for (const auto use : {qbFileUseStdio, qbFileUseMemory}) {
        use();
        const std::pair<const char*, int> refused[] = {{"missing", ENOENT},
                                                       {"data", EISDIR},
                                                       {"", EISDIR},
                                                       {tooLong.c_str(), ENAMETOOLONG},
                                                       {nullptr, EINVAL}};
        for (const auto& [name, error] : refused) {
            EXPECT_EQ(qbFileLoad(name, "rb"), nullptr);
            EXPECT_EQ(errno, error);
        }
    }
    EXPECT_EQ(qbFileDataSize(opened("data/a.bin").get()), 10);
    EXPECT_EQ(qbFileTell(file.get()), 10) << "an open file keeps its back end";
}

TEST_F(FileLayer, PutsTheRootInFront) {
    qbFileRootAppend("Data");
    EXPECT_TRUE(opened("a.bin"));
    EXPECT_FALSE(opened("Data/a.bin"));
    qbFileSetSeparator('\\');
    EXPECT_TRUE(opened("A.bin"));
    qbFileRootAppend("sub");
    EXPECT_STREQ(qbFileRootGet(), "Data\\sub");
    const Messages messages;
    const std::string longest(2047, 'r');
    qbFileSetRoot(longest.c_str());
    EXPECT_FALSE(opened("a.bin"));
    qbFileSetRoot((longest + "r").c_str());
    qbFileRootAppend("");
    EXPECT_EQ(qbFileRootGet(), longest);
    EXPECT_EQ(messages.texts(),
              std::vector<std::string>(2, "The root path is too long: 2048 characters, 2047 at most"));
    const char* const cases[][2] = {
        {"a/b/c.x", "a/b"}, {"a/b\\c.x", "a"}, {"a\\b\\c.x", "a\\b"}, {"plain.x", "plain.x"}, {"/c.x", ""}};
    for (const auto& [path, parent] : cases)
        EXPECT_STREQ(qbFileParent(path), parent) << path;
    EXPECT_STREQ(qbFileParent(qbFileParent("a/b/c.x")), "a"); // out of its own buffer
}

TEST_F(FileLayer, ReadsMemoryAndEntriesOfAnArchiveAlike) {
    const struct {
        long offset;
        int origin;
        long position; // -1 when it is refused
    } seeks[] = {{10, 0, 10},       {11, 0, -1},      {-1, 0, -1}, {5, 1, 10},  {6, 1, -1},
                 {-5, 1, 0},        {-6, 1, -1},      {0, 2, 10},  {10, 2, 0},  {3, 2, 7},
                 {11, 2, -1},       {-1, 2, -1},      {0, 3, -1},  {0, -1, -1}, {LONG_MAX, 1, -1},
                 {LONG_MIN, 1, -1}, {LONG_MIN, 2, -1}};
    directory.write("data/b", "\xFE\n\nb\n\n\n\n\n\n");
    ASSERT_EQ(std::system("tar cf a.tar data"), 0);
    QbFileOwner owner = {};
    ASSERT_EQ(tarlib_arch_open_file(&owner.archive, "a.tar"), 0);
    qbFileSetRoot("data");
    const std::pair<std::function<void()>, std::string> modes[] = {
        {qbFileUseMemory, "memory"},
        {[&] { qbFileUseTar(&owner.archive); }, "an archive"},
        {[&] { qbFileUseOwnedTar(&owner); }, "an archive"}};
    for (const auto& [use, place] : modes) {
        use();
        const File file = opened("b");
        ASSERT_TRUE(file);
        EXPECT_EQ(qbFileGetc(file.get()), -2);
        bytes[4] = '.';
        EXPECT_EQ(qbFileGets(bytes, 0, file.get()), nullptr);
        for (const long position : {4, 8, 10}) // behind the first other character, the buffer and the end
            EXPECT_EQ(qbFileGets(bytes, 4, file.get()) ? qbFileTell(file.get()) : 0, position);
        EXPECT_EQ(bytes[4], '.') << "a character behind the length";
        EXPECT_EQ(qbFileGets(bytes, 4, file.get()), nullptr);
        EXPECT_EQ(qbFileGetc(file.get()), -1);
        for (const auto& [offset, origin, position] : seeks) {
            ASSERT_EQ(qbFileSeek(file.get(), 5, 0), 0);
            EXPECT_EQ(qbFileSeek(file.get(), offset, origin) == 0, position != -1) << offset << origin;
            EXPECT_EQ(qbFileTell(file.get()), position == -1 ? 5 : position) << offset << origin;
        }
        qbFileSeek(file.get(), 3, 0);
        EXPECT_EQ(qbFileSize(file.get()), 10);
        EXPECT_EQ(qbFileRead(bytes, 0, 5, file.get()), 0U);
        EXPECT_EQ(qbFileRead(bytes, SIZE_MAX, SIZE_MAX, file.get()), 0U);
        EXPECT_EQ(qbFileRead(bytes, 2, SIZE_MAX / 2, file.get()), 3U); // whole items only
        EXPECT_EQ(bytes[0], 'b');
        EXPECT_EQ(qbFileTell(file.get()), 9);
        EXPECT_EQ(qbFileDataSize(File(qbFileLoad("b", "rb"), qbFileClose).get()), 10);

        testing::internal::CaptureStderr();
        EXPECT_EQ(qbIniLoad("b"), nullptr);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "iniparser: b can not be read by lines from " + place + "\n");
    }
    tarlib_arch_close(&owner.archive);
    EXPECT_FALSE(opened("b"));
    EXPECT_EQ(errno, ENOENT) << "and not what the last load left";
    qbFileUseOwnedTar(nullptr);
    EXPECT_FALSE(opened("b"));
}

TEST_F(FileLayer, LeavesACallersBufferToTheCaller) {
    char text[] = "ab";
    qbFileClose(qbFileOpenMemory(text, 2));
    EXPECT_EQ(qbFileOpenMemory(text, -1), nullptr);
    EXPECT_EQ(qbFileOpenMemory(nullptr, 1), nullptr);
}
