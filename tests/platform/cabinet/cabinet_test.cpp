#include "platform/cabinet/cabinet.h"

#include "platform/path.h"
#include "platform/process.h"
#include "support/fake.h"
#include "support/files.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <numeric>
#include <sched.h>
#include <set>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

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

// The head of a cabinet with files of the same size, stored in one folder of blocks of 32 KiB.
std::string head(const Names& names, uint32_t fileSize, int flags = 0) {
    const uint64_t data = names.size() * fileSize;
    const uint64_t blocks = (data + 32767) / 32768;
    std::string files;
    for (size_t i = 0; i < names.size(); ++i)
        files += number(fileSize, 4) + number(i * fileSize, 4) + "\0\0\x21\x58\0\0\x20\0"s + names[i] + '\0';
    const std::string links = flags ? "other.cab\0disk\0"s : "";
    const uint64_t first = 44 + links.size();
    const uint64_t begin = first + files.size();
    return "MSCF\0\0\0\0"s + number(begin + data + 8 * blocks, 4) + number(0, 4) + number(first, 4) +
           number(0, 4) + "\3\1\1\0"s + number(names.size(), 2) + number(static_cast<uint64_t>(flags), 2) +
           "\0\0\0\0"s + links + number(begin, 4) + number(blocks, 2) + "\0\0"s + files;
}

// Small files, each with its number's digit.
std::string cabinetOf(const Names& names, int flags = 0) {
    std::string data;
    for (size_t i = 0; i < names.size(); ++i)
        data += static_cast<char>('0' + i);
    return head(names, 1, flags) + number(0, 4) + number(data.size(), 2) + number(data.size(), 2) + data;
}

// All that lies in a directory, sorted: "name=content " for plain files, "name/ " and "name? " for all else.
std::string tree(const fs::path& root) {
    std::set<std::string> found;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
        const fs::file_status status = entry.symlink_status();
        std::string text = entry.path().lexically_relative(root);
        if (fs::is_regular_file(status))
            text += '=' + readFile(entry.path());
        else
            text += fs::is_directory(status) ? "/" : "?";
        found.insert(text + ' ');
    }
    return std::accumulate(found.begin(), found.end(), std::string());
}

// t.cab with one file, stored: each block of 32 KiB begins with its number; the rest is a hole.
void writeLarge(const char* name, uint32_t blocks) {
    const std::string start = head({name}, blocks * 32768);
    std::ofstream stream("t.cab", std::ios::binary);
    stream << start;
    for (uint32_t block = 0; block < blocks; ++block) {
        stream.seekp(static_cast<std::streamoff>(start.size() + block * 32776ull));
        stream << number(0, 4) << number(32768, 2) << number(32768, 2) << number(block, 4);
    }
    stream.close();
    fs::resize_file("t.cab", start.size() + blocks * 32776ull);
}

// Runs it in a process of its own; its exit status.
int inChild(const std::function<int()>& work, struct rusage* usage = nullptr) {
    const pid_t child = fork();
    if (child == 0) _exit(work());
    int status = -1;
    struct rusage dropped;
    wait4(child, &status, 0, usage ? usage : &dropped);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + status;
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
    std::string noise(100000, '\0'); // four blocks that do not compress
    uint32_t state = 1;
    for (char& c : noise)
        c = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
    std::map<std::string, std::string> files = {{"a b.x", noise}, {"one/b", noise + "b"}};
    files["one/two/three/four.raw"] = std::string(70000, 'z');
    for (const char* name : {"-x.png", "a;touch pwned", "it's \"$(ls)\"", "\xc3\xa9/\xc3\xbc"})
        files[name] = name;
    files["empty"] = "";
    Names names;
    for (const auto& [name, content] : files) {
        directory.write("base/" + name, content);
        names.push_back(name == "empty" ? ".//empty" : name);
    }
    directory.write("made.cab", "an older one");
    ASSERT_EQ(pack(names), "");
    fs::current_path("base");
    ASSERT_EQ(std::system("gcab -c ../stored.cab -- -x.png a* empty it* one/*/*/* one/b */\xc3\xbc"), 0);
    fs::current_path("..");
    EXPECT_GT(fs::file_size("stored.cab"), 270000u);
    EXPECT_LT(fs::file_size("made.cab"), 205000u);
    EXPECT_FALSE(fs::exists("base/pwned"));

    for (const char* cabinet : {"made.cab", "stored.cab"}) {
        std::vector<QbCabinetFile> listed;
        ASSERT_EQ(qbCabinetList(cabinet, listed), 0);
        ASSERT_EQ(listed.size(), files.size());
        fs::remove_all("into");
        fs::create_directory("into");
        ASSERT_EQ(unpack(cabinet), 0) << line;
        for (const QbCabinetFile& file : listed) {
            ASSERT_TRUE(files.contains(file.name)) << file.name;
            EXPECT_EQ(file.size, files.at(file.name).size());
            EXPECT_TRUE(readFile("into/" + file.name) == files.at(file.name)) << file.name;
        }
    }
    EXPECT_EQ(fs::status("into/one/two").permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status("into/one/b").permissions(), fs::perms::owner_read | fs::perms::owner_write);

    // What lies elsewhere is packed under what remains of its name.
    directory.write("over", "o");
    ASSERT_EQ(pack({".././over", top + "//base/empty"}), "");
    std::vector<QbCabinetFile> listed;
    ASSERT_EQ(qbCabinetList("made.cab", listed), 0);
    ASSERT_EQ(listed.size(), 2u);
    EXPECT_EQ(listed[0].name, "over");
    EXPECT_EQ(listed[1].name, top.substr(1) + "/base/empty");
}

TEST_F(Cabinet, NamesOutsideTheDirectoryAreRefused) {
    fs::create_directory("side");
    const auto before = tree(".");
    const char* const hostile[] = {"../x",       "..\\x",     "a/../../x", "a\\..\\x",       "..",
                                   "a/..",       "/tmp/qb-x", "\\x",       "\\\\host\\s\\x", "//x",
                                   "C:x",        "c:\\x",     "./C:/x",    "./../x",         "a/",
                                   "a\\",        ".",         "a/.",       "into/../x",      "..\\side\\x\t",
                                   ".\\.\\..\\x"};
    for (const std::string name : hostile) {
        directory.write("t.cab", cabinetOf({"good.txt", name, "late.txt"}));
        EXPECT_EQ(unpack("t.cab"), EPERM) << name;
        std::string told = name;
        std::replace(told.begin(), told.end(), '\t', '?');
        EXPECT_EQ(line, "The cabinet t.cab is refused: the name \"" + told +
                            "\" in it leads out of the directory.\n");
        EXPECT_EQ(tree("into"), "good.txt=0 ") << name;
        std::vector<QbCabinetFile> listed;
        ASSERT_EQ(qbCabinetList("t.cab", listed), 0);
        std::replace(told.begin(), told.end(), '?', '\t');
        std::replace(told.begin(), told.end(), '\\', '/');
        EXPECT_EQ(listed.at(1).name, told);
        fs::remove("into/good.txt");
        fs::remove("t.cab");
        EXPECT_EQ(tree("."), before) << name;
    }
    EXPECT_FALSE(fs::exists("/tmp/qb-x"));

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

TEST_F(Cabinet, DamageIsToldInOneLineAndNeverCrashes) {
    directory.write("base/one.txt", std::string(40000, 'o'));
    directory.write("base/two/three.txt", "three");
    ASSERT_EQ(pack({"one.txt", "two/three.txt"}), "");
    const std::string whole = readFile("made.cab");
    const std::string stored = cabinetOf({"a", "b"});
    for (const std::string& good : {whole, stored})
        for (size_t i = 0; i < good.size(); ++i)
            for (const int bits : {0, 0x01, 0x80, 0xff}) { // 0: cut here
                std::string bad = good;
                bad[i] = static_cast<char>(bad[i] ^ bits);
                directory.write("t.cab", bits ? bad : good.substr(0, i));
                const int error = unpack("t.cab");
                EXPECT_TRUE(error == EBADMSG || (bits && (error == 0 || error == EPERM || error == EISDIR)))
                    << i << ' ' << error << line;
                EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), error ? 1 : 0) << line;
            }

    std::string checksum = whole, longer = stored, name = stored, method = stored, blocks = stored;
    blocks[41] = 1; // more of them than bytes
    method[42] = 3; // LZX with a window of no bytes
    checksum.back() ^= 1;
    longer[44] = 3; // the first file's size, one more than there is in all
    name.replace(name.find("b\0"s), 1, "\0"s);
    const struct {
        std::string bytes, line;
    } cases[] = {
        {"Quab is no cabinet at all, though long enough", ": it is no cabinet file.\n"},
        {checksum, " at the file \"one.txt\": a checksum is wrong.\n"},
        {longer, " at the file \"a\": its data makes no sense.\n"},
        {name, ": its data makes no sense.\n"},
        {blocks, ": its data makes no sense.\n"},
        {method, " at the file \"a\": its data makes no sense.\n"},
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
    EXPECT_EQ(unpack("into"), EISDIR);
    EXPECT_EQ(line, "The cabinet into can not be read: Is a directory.\n");
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
}

TEST_F(Cabinet, AFullDiskIsToldAsSuch) {
    writeLarge("big.raw", 8);
    const int noMount = 255;
    testing::internal::CaptureStderr();
    int error = inChild([] {
        if (unshare(CLONE_NEWNS) != 0) return noMount;
        if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return noMount;
        if (mount("none", "into", "tmpfs", 0, "size=64k") != 0) return noMount;
        return qbCabinetUnpack("t.cab", "into");
    });
    int expected = ENOSPC;
    if (error == noMount) { // a limit on files is near enough
        expected = EFBIG;
        error = inChild([] {
            const struct rlimit limit = {65536, 65536};
            signal(SIGXFSZ, SIG_IGN);
            setrlimit(RLIMIT_FSIZE, &limit);
            return qbCabinetUnpack("t.cab", "into");
        });
    }
    EXPECT_EQ(error, expected);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "The cabinet t.cab can not be unpacked: writing \"big.raw\" fails: "s + strerror(expected) +
                  ".\n");
}

TEST_F(Cabinet, ALargeOneUnpacksInLittleMemory) {
    writeLarge("large.raw", 3200);
    struct rusage usage = {};
    EXPECT_EQ(inChild([] { return qbCabinetUnpack("t.cab", "into"); }, &usage), 0);
    ASSERT_EQ(fs::file_size("into/large.raw"), 3200u * 32768);
    std::ifstream large("into/large.raw", std::ios::binary);
    std::string mark(5, ' ');
    large.seekg(3199 * 32768).read(mark.data(), 5);
    EXPECT_EQ(mark, number(3199, 5));
#ifndef __SANITIZE_ADDRESS__
    EXPECT_LT(usage.ru_maxrss, 64 * 1024); // KiB
#endif
}

// --- packing --------------------------------------------------------------------------------------------

TEST_F(Cabinet, TheToolIsStartedAsToldInTheDirectoryWithoutAShell) {
    directory.write("base/a;rm b", "a");
    const std::string script =
        "pwd -P; echo $LC_ALL; printf '%s\\n' \"$@\"; read -r typed; echo no$typed >&2; exit 3\n";
    tool(script);
    tool("exit 9\n", "path");
    setenv("PATH", ("base:" + top + "/path").c_str(), 1);
    setenv("LANGUAGE", "de", 1);
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
    for (const char* none : {"", "base::."}) {
        setenv("PATH", none, 1);
        EXPECT_EQ(pack({"a;rm b"}),
                  "the tool gcab is missing: install the package gcab, or put gcab beside the program or "
                  "on the PATH");
        EXPECT_EQ(command, "gcab" + arguments);
    }
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
    fs::remove("made.cab");
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
    for (const std::string& name : {"a"s, "dir/a"s, "b\\s"s, fits, fits + 'n'})
        directory.write("base/" + name);
    directory.write("base/large");
    directory.write("base/byte", "1");
    fs::resize_file("base/large", 2147450880); // a hole
    const std::string outside = "\" leads out of the directory that a cabinet is unpacked into";
    const struct {
        Names files;
        std::string reason;
    } cases[] = {
        {{}, "nothing matches"},
        {{"a", "no"}, "the file \"no\" in " + base + ": No such file or directory"},
        {{"dir"}, "\"dir\" in " + base + " is no plain file"},
        {{"../base/b/../a"}, "the name \"../base/b/../a" + outside},
        {{"../.."}, "the name \"../.." + outside},
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
    for (const auto& [files, told] : cases) {
        EXPECT_EQ(pack(files), told);
    }
}

} // namespace
