#include "storage/file.h"

#include "support/messages.h"
#include "support/temporary_directory.h"

#include <cstring>
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
};

class MemoryFile : public testing::Test {
protected:
    MemoryFile() : file(qbFileOpenMemory(text, 10), qbFileClose) {}
    char text[11] = "abcdefghij";
    File file;
};

} // namespace

TEST_F(FileLayer, ReadsPlainFiles) {
    const File file = opened("data\\A.BIN");
    ASSERT_TRUE(file);
    char bytes[8] = "";
    EXPECT_EQ(qbFileSeek(file.get(), 4, 0), 0);
    EXPECT_EQ(qbFileSize(file.get()), 10);
    EXPECT_EQ(qbFileTell(file.get()), 4);
    EXPECT_EQ(qbFileRead(bytes, 4, 2, file.get()), 1U); // whole items only
    EXPECT_EQ(qbFileSeek(file.get(), -1, 2), 0);        // the C library's sign
    EXPECT_EQ(qbFileGetc(file.get()), 'j');
    EXPECT_EQ(qbFileGetc(file.get()), -1);
    EXPECT_EQ(qbFileSeek(file.get(), -1, 0), -1);
    EXPECT_NE(qbFileSeek(file.get(), 0, 3), 0);
    EXPECT_EQ(qbFileData(file.get()), nullptr);
}

TEST_F(FileLayer, RefusesWhatDoesNotOpen) {
    const std::string tooLong(2048, 'n');
    for (const auto use : {qbFileUseStdio, qbFileUseMemory}) {
        use();
        for (const char* name : {"missing", "data", "", tooLong.c_str(), static_cast<const char*>(nullptr)})
            EXPECT_EQ(qbFileOpen(name, "rb"), nullptr);
        EXPECT_EQ(qbFileOpen("data/a.bin", "?"), nullptr);
        EXPECT_EQ(qbFileOpen("data/a.bin", nullptr), nullptr);
        EXPECT_EQ(qbFileLoad("missing", "rb"), nullptr);
    }
}

TEST_F(FileLayer, ReadsWhole) {
    directory.write("empty");
    const File memory(qbFileLoad("Data/a.bin", "rb"), qbFileClose);
    const File empty(qbFileLoad("empty", "rb"), qbFileClose);
    ASSERT_TRUE(memory && empty);
    EXPECT_EQ(qbFileDataSize(memory.get()), 10);
    EXPECT_EQ(memcmp(qbFileData(memory.get()), "abcdefghij", 10), 0);
    EXPECT_EQ(qbFileTell(memory.get()), 0);
    EXPECT_EQ(qbFileDataSize(empty.get()), 0);
    EXPECT_EQ(qbFileGetc(empty.get()), -1);

    qbFileSeek(memory.get(), 3, 0);
    const File copy(qbFileReadAll(memory.get()), qbFileClose); // from the start, wherever the source stands
    ASSERT_TRUE(copy);
    EXPECT_EQ(qbFileDataSize(copy.get()), 10);
    EXPECT_NE(qbFileData(copy.get()), qbFileData(memory.get()));

    const File writing = opened("out", "wb");
    EXPECT_EQ(qbFileReadAll(opened("Data/a.bin", "ab").get()), nullptr); // not open for reading
    qbFileUseMemory();
    EXPECT_EQ(qbFileDataSize(opened("data/a.bin").get()), 10);
    EXPECT_EQ(qbFileTell(writing.get()), 0); // an open file keeps its back end
}

TEST_F(FileLayer, PutsTheRootInFront) {
    qbFileRootAppend("Data");
    EXPECT_TRUE(opened("a.bin"));
    EXPECT_FALSE(opened("Data/a.bin"));
    qbFileSetSeparator('\\');
    EXPECT_TRUE(opened("A.bin"));
    qbFileRootAppend("sub");
    EXPECT_STREQ(qbFileRootGet(), "Data\\sub");
    EXPECT_FALSE(opened("a.bin"));

    const Messages messages;
    const std::string longest(2047, 'r');
    qbFileSetRoot(longest.c_str());
    EXPECT_EQ(qbFileRootGet(), longest);
    EXPECT_FALSE(opened("a.bin"));
    qbFileSetRoot((longest + "r").c_str());
    qbFileRootAppend("");
    EXPECT_EQ(qbFileRootGet(), longest);
    EXPECT_EQ(messages.texts(),
              std::vector<std::string>(2, "The root path is too long: 2048 characters, 2047 at most"));
}

TEST(FileParent, CutsAtTheLastSeparator) {
    const char* const cases[][2] = {
        {"a/b/c.x", "a/b"}, {"a/b\\c.x", "a"}, {"a\\b\\c.x", "a\\b"}, {"plain.x", "plain.x"}, {"/c.x", ""},
        {"a/", "a"},        {"", ""}};
    for (const auto& [path, parent] : cases)
        EXPECT_STREQ(qbFileParent(path), parent) << path;
    EXPECT_STREQ(qbFileParent(qbFileParent("a/b/c.x")), "a"); // out of its own buffer
}

TEST_F(MemoryFile, SeeksWithinItsBounds) {
    struct Seek {
        long offset;
        int origin;
        long position; // -1 when it is refused
    };
    const Seek cases[] = {{10, 0, 10},       {11, 0, -1},       {-1, 0, -1},      {3, 1, 8},  {5, 1, 10},
                          {6, 1, -1},        {-5, 1, 0},        {-6, 1, -1},      {0, 2, 10}, {10, 2, 0},
                          {3, 2, 7},         {11, 2, -1},       {-1, 2, -1},      {0, 3, -1}, {0, -1, -1},
                          {LONG_MAX, 1, -1}, {LONG_MIN, 1, -1}, {LONG_MIN, 2, -1}};
    for (const Seek& c : cases) {
        ASSERT_EQ(qbFileSeek(file.get(), 5, 0), 0);
        EXPECT_EQ(qbFileSeek(file.get(), c.offset, c.origin) == 0, c.position != -1)
            << c.offset << ' ' << c.origin;
        EXPECT_EQ(qbFileTell(file.get()), c.position == -1 ? 5 : c.position) << c.offset << ' ' << c.origin;
    }
}

TEST_F(MemoryFile, ReadsWholeItemsUpToItsEnd) {
    char bytes[16] = "";
    EXPECT_EQ(qbFileRead(bytes, 4, 2, file.get()), 2U);
    EXPECT_STREQ(bytes, "abcdefgh");
    EXPECT_EQ(qbFileRead(bytes, 4, 1, file.get()), 0U);
    EXPECT_EQ(qbFileTell(file.get()), 8);
    EXPECT_EQ(qbFileRead(bytes, 1, SIZE_MAX, file.get()), 2U);
    EXPECT_EQ(qbFileRead(bytes, SIZE_MAX, SIZE_MAX, file.get()), 0U);
    EXPECT_EQ(qbFileRead(bytes, 0, 5, file.get()), 0U);
    EXPECT_EQ(qbFileGetc(file.get()), -1);
    text[0] = '\xFE'; // the buffer stays the caller's
    qbFileSeek(file.get(), 0, 0);
    EXPECT_EQ(qbFileGetc(file.get()), -2);
}

TEST_F(MemoryFile, GetsStopsBehindTheFirstOtherCharacter) {
    memcpy(text, "\n\nab\n\n\n\n\n\n", 10);
    char line[9] = "........";
    char* const none = nullptr;
    EXPECT_EQ(qbFileGets(line, 8, file.get()), line);
    EXPECT_EQ(std::string(line, 4), "\n\na.");
    EXPECT_EQ(qbFileTell(file.get()), 3);
    EXPECT_EQ(qbFileGets(line, 0, file.get()), none);
    qbFileSeek(file.get(), 4, 0);
    EXPECT_EQ(qbFileGets(line, 4, file.get()), line); // never past the buffer
    EXPECT_EQ(qbFileTell(file.get()), 8);
    EXPECT_EQ(std::string(line, 5), "\n\n\n\n.");
    EXPECT_EQ(qbFileGets(line, 8, file.get()), line); // never past the end
    EXPECT_EQ(qbFileGets(line, 8, file.get()), none);
}

TEST(MemoryFileOpen, RefusesWhatHasNoBytes) {
    char byte = 0;
    EXPECT_EQ(qbFileOpenMemory(&byte, -1), nullptr);
    EXPECT_EQ(qbFileOpenMemory(nullptr, 1), nullptr);
    const File empty(qbFileOpenMemory(nullptr, 0), qbFileClose);
    EXPECT_TRUE(empty);
    EXPECT_EQ(qbFileRead(&byte, 1, 1, empty.get()), 0U);
    EXPECT_EQ(qbFileSize(empty.get()), 0);
}
