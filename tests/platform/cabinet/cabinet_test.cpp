#include "platform/cabinet/cabinet.h"

#include "platform/path.h"
#include "platform/process.h"
#include "support/fake.h"
#include "support/file_limit.h"
#include "support/files.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <cerrno>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>
#include <sys/stat.h>

static std::string programDirectory;
static int callsUntilEnd; // 0: never

FAKE(const char*, qbProgramDirectory, (), programDirectory.c_str())
FAKE(int, qbProcessEndAsked, (), callsUntilEnd > 0 && --callsUntilEnd == 0 && ++callsUntilEnd)

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using Names = std::vector<std::string>;

std::string number(uint64_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i)
        text += static_cast<char>(value >> (8 * i));
    return text;
}

// A cabinet with files of one byte, each its number's digit, stored in one block.
std::string cabinetOf(const Names& names, int flags = 0) {
    std::string files, data;
    for (size_t i = 0; i < names.size(); ++i) {
        files += number(1, 4) + number(i, 4) + "\0\0\x21\x58\0\0\x20\0"s + names[i] + '\0';
        data += static_cast<char>('0' + i);
    }
    const std::string links = flags ? "other.cab\0disk\0"s : "";
    const uint64_t first = 44 + links.size(), begin = first + files.size();
    return "MSCF\0\0\0\0"s + number(begin + 8 + data.size(), 4) + number(0, 4) + number(first, 4) +
           number(0, 4) + "\3\1\1\0"s + number(names.size(), 2) + number(static_cast<uint64_t>(flags), 2) +
           "\0\0\0\0"s + links + number(begin, 4) + "\1\0\0\0"s + files + number(0, 4) +
           number(data.size(), 2) + number(data.size(), 2) + data;
}

// All that lies in a directory, sorted: "name=content " for plain files, "name/ " and "name? " for all else.
std::string tree(const fs::path& root) {
    std::set<std::string> found;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
        const fs::file_status status = entry.symlink_status();
        const std::string content = fs::is_regular_file(status) ? '=' + readFile(entry.path()) : "";
        const char* kind = fs::is_directory(status) ? "/" : "?";
        found.insert(entry.path().lexically_relative(root).string() + (content.empty() ? kind : content) +
                     ' ');
    }
    std::string text;
    for (const std::string& entry : found)
        text += entry;
    return text;
}

class Cabinet : public testing::Test {
protected:
    Cabinet() {
        fs::create_directory("into");
        programDirectory = top + "/bin/";
        callsUntilEnd = 0;
    }
    ~Cabinet() override { setenv("PATH", path.c_str(), 1); }

    int unpack(const std::string& cabinet, const char* into = "into") {
        testing::internal::CaptureStderr();
        const int error = qbCabinetUnpack(cabinet.c_str(), into);
        line = testing::internal::GetCapturedStderr();
        return error;
    }
    // The reason of a failure, "" when it succeeds.
    std::string pack(const Names& files) {
        reason.clear();
        const int result =
            qbCabinetPack({top + "/made.cab", top + "/base", files, top + "/out.txt"}, command, reason);
        EXPECT_EQ(result, reason.empty() ? 0 : -1);
        return reason;
    }
    // A stand-in for the tool.
    void tool(const std::string& script, const std::string& folder = "bin") {
        directory.write(folder + "/gcab", "#!/bin/sh\n" + script);
        fs::permissions(folder + "/gcab", fs::perms::owner_all);
    }

    TemporaryDirectory directory;
    const std::string top = directory.path();
    std::string line, command, reason;
    const std::string path = getenv("PATH");
};

// --- unpacking ------------------------------------------------------------------------------------------

TEST_F(Cabinet, WhatTheToolPackedReadsBack) {
    std::string noise(100'000, '\0'); // four blocks that do not compress
    std::generate(noise.begin(), noise.end(), std::minstd_rand());
    std::map<std::string, std::string> files = {{"a b.x", noise}, {"one/b", noise + "b"}, {"empty", ""}};
    files["one/two/three/four.raw"] = std::string(70'000, 'z');
    for (const char* name : {"-x.png", "a;touch pwned", "it's \"$(ls)\"", "\xc3\xa9/\xc3\xbc"})
        files[name] = name;
    Names names = {".././over", top + "//base/empty"}; // packed under what remains of its name
    for (const auto& [name, content] : files) {
        directory.write("base/" + name, content);
        names.push_back(name == "empty" ? ".//empty" : name);
    }
    directory.write("over", files["over"] = "o");
    files[top.substr(1) + "/base/empty"] = "";
    directory.write("made.cab", "an older one");
    ASSERT_EQ(pack(names), "");
    EXPECT_LT(fs::file_size("made.cab"), 205'000U);
    EXPECT_FALSE(fs::exists("base/pwned"));

    std::vector<QbCabinetFile> listed;
    ASSERT_EQ(qbCabinetList("made.cab", listed), 0);
    ASSERT_EQ(listed.size(), files.size());
    ASSERT_EQ(unpack("made.cab"), 0) << line;
    for (const QbCabinetFile& file : listed) {
        ASSERT_TRUE(files.contains(file.name)) << file.name;
        EXPECT_EQ(file.size, files.at(file.name).size());
        EXPECT_TRUE(readFile("into/" + file.name) == files.at(file.name)) << file.name;
    }
    EXPECT_EQ(fs::status("into/one/two").permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status("into/one/b").permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(Cabinet, NamesOutsideTheDirectoryAreRefused) {
    const char* const hostile[] = {"../x",      "..\\x", "a/../../x", "a\\..\\x",  "..",     "a/..",
                                   "/tmp/qb-x", "\\x",   "C:x",       "./C:/x",    "./../x", "a\\",
                                   ".",         "a/.",   "//x",       "into/../x", "..\\x\t"};
    for (const std::string name : hostile) {
        directory.write("t.cab", cabinetOf({"good.txt", name, "late.txt"}));
        EXPECT_EQ(unpack("t.cab"), EPERM) << name;
        std::string told = name;
        std::replace(told.begin(), told.end(), '\t', '?');
        EXPECT_EQ(line, "The cabinet t.cab is refused: the name \"" + told +
                            "\" in it leads out of the directory.\n");
        fs::remove("t.cab");
        EXPECT_EQ(tree("."), "into/ into/good.txt=0 ") << name;
    }
    EXPECT_FALSE(fs::exists("/tmp/qb-x"));
    fs::remove("into/good.txt");
    directory.write("t.cab",
                    cabinetOf({"..x", "x..", "...", ".h", "a\\b/c", "a//d", "./e", "\xe9", "ab:c", "..x"}));
    EXPECT_EQ(unpack("t.cab"), 0) << line;
    EXPECT_EQ(tree("into"), "...=2 ..x=9 .h=3 a/ a/b/ a/b/c=4 a/d=5 ab:c=8 e=6 x..=1 \xe9=7 ");
}

TEST_F(Cabinet, WhatLiesInTheDirectoryIsReplacedAndLinksAreNotFollowed) {
    directory.write("side/file", "kept");
    fs::create_symlink("../side/file", "into/link");
    fs::create_hard_link("side/file", "into/hard");
    fs::create_symlink("../side", "into/dir");
    fs::create_symlink("nowhere", "into/dangling");
    directory.write("into/was_file", "old");
    ASSERT_EQ(mkfifo("into/pipe", 0600), 0);
    // The cabinet itself is among them.
    directory.write("into/hollow.tmp", cabinetOf({"link", "hard", "dir/file", "hollow.tmp", "dangling",
                                                  "pipe", "was_file/f", "last"}));
    EXPECT_EQ(unpack("into/hollow.tmp"), 0) << line;
    EXPECT_EQ(tree("side"), "file=kept ");
    EXPECT_EQ(tree("into"),
              "dangling=4 dir/ dir/file=2 hard=1 hollow.tmp=3 last=7 link=0 pipe=5 was_file/ was_file/f=6 ");

    directory.write("t.cab", cabinetOf({"dir"}));
    EXPECT_EQ(unpack("t.cab"), EISDIR);
    EXPECT_EQ(line, "The cabinet t.cab can not be unpacked: writing \"dir\" fails: Is a directory.\n");
}

TEST_F(Cabinet, DamageIsToldInOneLine) {
    directory.write("base/one.txt", std::string(40'000, 'o'));
    ASSERT_EQ(pack({"one.txt"}), "");
    const std::string stored = cabinetOf({"a", "b"});
    const auto changed = [&](size_t place, char byte) {
        return std::string(stored).replace(place, 1, 1, byte);
    };
    std::string checksum = readFile("made.cab");
    checksum.back() ^= 1;
    const struct {
        std::string bytes, line;
    } cases[] = {
        {"Quab is no cabinet at all, though long enough", ": it is no cabinet file.\n"},
        {stored.substr(0, stored.size() - 1), ": it ends too early.\n"},
        {checksum, " at the file \"one.txt\": a checksum is wrong.\n"},
        {changed(62, 2), " at the file \"b\": its data makes no sense.\n"}, // its size, more than there is
        {changed(41, 1), ": its data makes no sense.\n"},                   // more blocks than bytes
        {changed(44, 2), " at the file \"a\": its data makes no sense.\n"}, // its size, with "b" in it
        {changed(78, '\0'), ": its data makes no sense.\n"},                // its name
        {changed(42, 3), " at the file \"a\": its data makes no sense.\n"}, // LZX with a window of no bytes
        {cabinetOf({"a"}, 1), ": it is one of a set, and the others are not here.\n"},
        {cabinetOf({"a"}, 2), ": it is one of a set, and the others are not here.\n"},
    };
    for (const auto& [bytes, told] : cases) {
        directory.write("t.cab", bytes);
        EXPECT_EQ(unpack("t.cab"), EBADMSG);
        EXPECT_EQ(line, "The cabinet t.cab is damaged" + told);
    }
}

TEST_F(Cabinet, KeepsTheErrorNumberOfTheSystem) {
    EXPECT_EQ(unpack("none.cab"), ENOENT);
    EXPECT_EQ(line, "The cabinet none.cab can not be read: No such file or directory.\n");
    directory.write("t.cab", cabinetOf({"d/a", "b"}));
    EXPECT_EQ(unpack("t.cab", "missing"), ENOENT);
    EXPECT_EQ(
        line,
        "The cabinet t.cab can not be unpacked: writing \"missing\" fails: No such file or directory.\n");
    for (int calls = 1; calls < 100; ++calls) {
        callsUntilEnd = calls;
        const int error = unpack("t.cab");
        EXPECT_EQ(line, "");
        if (error == 0) break;
        EXPECT_EQ(error, EINTR) << calls;
        EXPECT_LT(calls, 99);
    }
    callsUntilEnd = 0;
    directory.write("base/big.raw", std::string(100'000, 'r'));
    ASSERT_EQ(pack({"big.raw"}), "");
    const FileLimit full(65536);
    EXPECT_EQ(unpack("made.cab"), EFBIG);
    EXPECT_EQ(line, "The cabinet made.cab can not be unpacked: writing \"big.raw\" fails: File too large.\n");
}

// --- packing --------------------------------------------------------------------------------------------

TEST_F(Cabinet, TheToolIsStartedAsToldInTheDirectoryWithoutAShell) {
    directory.write("base/a;rm b", "a");
    const std::string script =
        "pwd -P; echo $LC_ALL; printf '%s\\n' \"$@\"; read -r typed; echo no$typed >&2; exit 3\n";
    tool(script);
    tool("exit 9\n", "path");
    setenv("PATH", ("base:" + top + "/path").c_str(), 1);
    const std::string arguments = " -c -z -- " + top + "/made.cab a;rm b";
    EXPECT_EQ(pack({"./a;rm b"}), top + "/bin/gcab ended with status 3, see " + top + "/out.txt");
    EXPECT_EQ(command, top + "/bin/gcab" + arguments);
    EXPECT_EQ(readFile("out.txt"), top + "/base\nC.UTF-8\n-c\n-z\n--\n" + top + "/made.cab\na;rm b\nno\n");

    fs::remove("out.txt");
    fs::create_directory("out.txt"); // the tool's words are lost, and that is all
    EXPECT_EQ(pack({"a;rm b"}), top + "/bin/gcab ended with status 3");

    fs::remove("bin/gcab");
    tool("kill -9 $$\n", "base"); // a relative entry of the PATH does not count
    EXPECT_EQ(pack({"a;rm b"}), top + "/path/gcab ended with status 9");
    tool("kill -9 $$\n", "path");
    EXPECT_EQ(pack({"a;rm b"}), top + "/path/gcab was ended by signal 9");
    directory.write("path/gcab", "#!/no/such/shell\n");
    EXPECT_EQ(pack({"a;rm b"}), top + "/path/gcab does not start: No such file or directory");
    setenv("PATH", "base::.", 1);
    EXPECT_EQ(pack({"a;rm b"}),
              "the tool gcab is missing: install the package gcab, or put gcab beside the program or "
              "on the PATH");
    EXPECT_EQ(command, "gcab" + arguments);
}

TEST_F(Cabinet, ACabinetThatLacksAFileIsNoSuccess) {
    directory.write("base/a", "a");
    directory.write("base/b", "b");
    directory.write("made.cab", cabinetOf({"a", "b"}));
    tool("exit 0\n"); // the older cabinet is not taken for the new one
    EXPECT_EQ(pack({"a", "b"}), "the cabinet " + top + "/made.cab that was made does not read back");
    tool("rm b; exec " + std::string("/usr/bin/env PATH='") + path + "' gcab \"$@\"\n");
    EXPECT_EQ(pack({"a", "b"}), "the file \"b\" did not get into the cabinet, see " + top + "/out.txt");
    EXPECT_NE(readFile("out.txt").find("Cannot add file b"), std::string::npos);
    EXPECT_FALSE(fs::exists("made.cab"));
    fs::create_directories("made.cab/x");
    EXPECT_EQ(pack({"a"}), "the older " + top + "/made.cab can not be replaced: Is a directory");
    EXPECT_EQ(qbCabinetPack({top + "/no/made.cab", top + "/base", {"a"}, "out.txt"}, command, reason), -1);
    EXPECT_EQ(reason, top + "/no/made.cab can not be made there: No such file or directory; pack from a "
                            "directory that may be written");
}

TEST_F(Cabinet, WhatACabinetCanNotHoldIsRefused) {
    tool("exit 3\n");
    const std::string base = top + "/base";
    const std::string ran = top + "/bin/gcab ended with status 3, see " + top + "/out.txt";
    const std::string folder(200, 'f'), fits = folder + '/' + std::string(54, 'n');
    for (const std::string& name : {"a"s, "dir/a"s, "b\\s"s, fits, fits + 'n', "large"s})
        directory.write("base/" + name);
    directory.write("base/byte", "1");
    fs::resize_file("base/large", 2147450880); // a hole
    const struct {
        Names files;
        std::string reason;
    } cases[] = {
        {{}, "nothing matches"},
        {{"a", "no"}, "the file \"no\" in " + base + ": No such file or directory"},
        {{"dir"}, "\"dir\" in " + base + " is no plain file"},
        {{"../base/b/../a"},
         "the name \"../base/b/../a\" leads out of the directory that a cabinet is unpacked into"},
        {{"a", "../base/a", "../a"}, "\"a\" and \"../a\" have the same name in a cabinet"},
        {{"./file:/etc/passwd"},
         "the name \"./file:/etc/passwd\" has a colon in its first part, which gcab takes for an address"},
        {{"b\\s"}, "the file \"b\\s\" has a backslash in its name"},
        {{fits}, ran},
        {{fits + 'n'}, "the name \"" + fits + "n\" is longer than the 255 bytes that a cabinet takes"},
        {Names(65535, "a"), ran},
        {Names(65536, "a"), "65536 files are more than the 65535 that a cabinet takes"},
        {Names(30000, fits), "too many files, their names are longer than the system takes in one command"},
        {{"large"}, ran},
        {{"large", "byte"}, "the files have 2147450881 bytes, more than the 2147450880 that a cabinet takes"},
    };
    for (const auto& [files, told] : cases)
        EXPECT_EQ(pack(files), told);
}

} // namespace
