#include "storage/builder/builder.h"

#include "platform/cabinet/cabinet.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/resource/resource.h"
#include "show.h"
#include "storage/builder/patterns.h"
#include "support/fake.h"
#include "support/messages.h"

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <new>

// --- what the builder calls -----------------------------------------------------------------------------

namespace {

// What goes wrong; numbers are ids of cabinets, errors those of the system. 0: nothing.
struct Faults {
    int copy = 0, tool = 0, list = 0, begin = 0, put = 0, end = 0; // errors, but `tool` and `list`
    bool emptyCabinet = false;
};

using Texts = std::vector<std::string>;

Faults faults;
Texts calls, outputs;
std::vector<QbCabinetFile> packed; // by the last call of the tool
std::function<bool(size_t)> refusesMemory;

std::string nameOf(const std::string& path) {
    return std::filesystem::path(path).filename();
}

int fail(int error) {
    errno = error;
    return error ? -1 : 0;
}

} // namespace

void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return refusesMemory && refusesMemory(size) ? nullptr : ::operator new(size);
}

void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return refusesMemory && refusesMemory(size) ? nullptr : ::operator new[](size);
}

FAKE(int, qbResourceFind, (const char*, int), 0)
FAKE(QbResource*, qbResourceOpen, (const char*, int), nullptr)
FAKE(void, qbResourceClose, (QbResource*), 0)
FAKE(QbResourceResult, qbResourceCopy, (const QbResource*, std::FILE*), 0)
FAKE(int, qbCabinetUnpack, (const char*, const char*), 0)

struct QbResourceUpdate {};

int qbResourceCopyProgram(const char* source, const char* target) {
    EXPECT_EQ(source, nullptr); // the running one
    calls.push_back(callText("copy", target));
    if (!faults.copy) std::ofstream(target) << "program";
    return fail(faults.copy);
}

int qbCabinetPack(const QbCabinetPacking& packing, std::string& command, std::string& reason) {
    const std::string name = nameOf(packing.cabinet);
    const int id = atoi(packing.output.c_str() + packing.output.rfind('-') + 1);
    calls.push_back(callText("pack", name, packing.files.size(), packing.baseDirectory));
    outputs.push_back(packing.output);
    command = "tool " + name;
    reason = "the tool says no";
    packed.clear();
    for (const std::string& file : packing.files)
        packed.push_back({file, 10});
    if (faults.tool == id) return -1;
    std::ofstream(packing.cabinet) << (faults.emptyCabinet ? "" : std::string(100'000, 'c'));
    return 0;
}

int qbCabinetList(const char*, std::vector<QbCabinetFile>& files) {
    files = packed;
    return faults.list;
}

QbResourceUpdate* qbResourceUpdateBegin(const char* executable) {
    calls.push_back(callText("begin", nameOf(executable)));
    return fail(faults.begin) ? nullptr : new QbResourceUpdate;
}

int qbResourceUpdatePut(QbResourceUpdate*, const char* type, int id, const void* data, size_t size) {
    calls.push_back(callText("put", type, id, size, std::string(static_cast<const char*>(data), 3)));
    return fail(faults.put);
}

int qbResourceUpdateEnd(QbResourceUpdate* update, int discard) {
    calls.push_back(callText("end", discard));
    delete update;
    return faults.end;
}

// --- the tests ------------------------------------------------------------------------------------------

namespace {

class Builder : public testing::Test {
protected:
    void SetUp() override {
        faults = {};
        calls.clear();
        outputs.clear();
        writeShow(directory);
    }
    void TearDown() override { refusesMemory = nullptr; }
    // The messages of one run, and in `output` what it printed.
    Texts build(const std::string& name = "target", const std::string& ini = SHOW_SCRIPT) {
        Messages::texts().clear();
        calls.clear();
        testing::internal::CaptureStdout();
        qbDemoExe(name.c_str(), ini.c_str());
        output = testing::internal::GetCapturedStdout();
        return Messages::texts();
    }
    std::string here(const std::string& name) const { return directory.path() + "/" + name; }

    TemporaryDirectory directory;
    Messages messages;
    std::string output;
    const std::string target = here("target"), base = here("show/");
};

TEST_F(Builder, CopiesThenAddsFourCabinetsAndReports) {
    std::filesystem::create_directory("show/out-502.txt"); // the tool can not write its output there
    EXPECT_EQ(build(), Texts());
    const std::string program = qbProgramDirectory();
    const std::string tool[] = {"data.cab 22 " + base, "music.cab 1 " + base, "loading.cab 1 " + base,
                                "defdata.cab "};
    ASSERT_EQ(calls.size(), 17U);
    EXPECT_EQ(calls[0], "copy " + target);
    for (size_t i = 0; i < 4; i++) {
        EXPECT_TRUE(calls[4 * i + 1].starts_with("pack tmp_demo_" + tool[i])) << calls[4 * i + 1];
        EXPECT_EQ(calls[4 * i + 2], "begin target");
        EXPECT_EQ(calls[4 * i + 3], "put CAB " + std::to_string(500 + i) + " 100000 ccc");
        EXPECT_EQ(calls[4 * i + 4], "end 0");
    }
    EXPECT_TRUE(calls[13].ends_with(" " + program)) << calls[13];
    EXPECT_EQ(outputs, (Texts{base + "out-500.txt", base + "out-501.txt", here("out-502.txt"),
                              program + "out-503.txt"}));
    EXPECT_NE(output.find("500 script and scenes     22 files          220 bytes, packed       100000\n"),
              std::string::npos)
        << output;
    EXPECT_TRUE(output.ends_with("Everything that the script names is packed.\n" + target + ": 7 bytes\n"))
        << output;
}

TEST_F(Builder, EveryFailureEndsTheBuildWithItsMessages) {
    const std::string cab = here("tmp_demo_data.cab"), program = qbProgramPath(), says = "the tool says no",
                      copied = "copy " + program + " to " + target + "\n", tool = "execute: tool tmp_demo_",
                      inShow = " to cab base_dir='" + base + "' dirlist='",
                      data = "data" + inShow +
                             qbPatternText(
                                 qbDataPatterns({"xport", "Deep\\Yard"}, "fx", "-my \"show\" one.demo.ini")),
                      full = target + ": No space left on device";
    const struct {
        Faults fault;
        std::string reason, failed, add; // the texts behind "Failed to", "Failed to add"
        size_t calls;                    // until the build ended
    } cases[] = {
        {{.copy = EACCES}, target + ": Permission denied", copied, "", 1},
        {{.copy = ENOEXEC}, program + ": Exec format error", copied, "", 1},
        {{.copy = EEXIST}, target + ": it is no plain file, choose another target", copied, "", 1},
        {{.copy = EINVAL}, target + ": it is this very program, choose another target", copied, "", 1},
        {{.tool = 500}, says, tool + "data.cab", data, 2},
        {{.tool = 501},
         says,
         tool + "music.cab",
         "music" + inShow + "music\\*.mp3 music\\*.mpg music\\*.mpeg ",
         6},
        {{.tool = 502}, says, tool + "loading.cab", "loading" + inShow + "loading.png ", 10},
        {{.tool = 503},
         says,
         tool + "defdata.cab",
         std::string("default data to cab base_dir='") + qbProgramDirectory() + "' dirlist='" +
             qbPatternText(qbShaderPatterns()),
         14},
        {{.list = EBADMSG}, cab + " can not be read back and is not stored", "", data, 2},
        {{.emptyCabinet = true}, "", "get size of cab " + cab, data, 2},
        {{.begin = EROFS}, target + ": Read-only file system", "BeginUpdate " + target, data, 3},
        {{.put = ENOSPC}, full, "UpdateResource " + target, data, 5},
        {{.end = ENOSPC}, full, "EndUpdate " + target + " lastError=28", data, 5},
    };
    for (const auto& c : cases) {
        faults = c.fault;
        Texts expected;
        if (!c.reason.empty()) expected.push_back(c.reason);
        if (!c.failed.empty()) expected.push_back("Failed to " + c.failed);
        if (!c.add.empty()) expected.push_back("Failed to add " + c.add + "'\n");
        EXPECT_EQ(build(), expected);
        EXPECT_EQ(calls.size(), c.calls) << c.reason << c.failed;
        EXPECT_EQ(calls.back() == "end 1", c.fault.put != 0) << c.reason << c.failed;
    }
}

TEST_F(Builder, MemoryAndReadFailuresStoreNothing) {
    std::ofstream("a.cab") << std::string(100'000, 'c');
    refusesMemory = [](size_t size) { return size == 100'000; };
    EXPECT_EQ(qbCabStore("exe", "a.cab", 500), -1);
    refusesMemory = [](size_t) {
        std::filesystem::resize_file("a.cab", 50'000);
        return false;
    };
    EXPECT_EQ(qbCabStore("exe", "a.cab", 500), -1);
    EXPECT_EQ(Messages::texts(), (Texts{"Alloc failure 100000 bytes", "Failed to read cab a.cab"}));
    EXPECT_EQ(calls, Texts());
}

TEST_F(Builder, ScriptsAndTargetsAreCheckedFirst) {
    EXPECT_EQ(build("target", "none.demo.ini"),
              (Texts{"Fail to parse ini", "Failed to load ini file none.demo.ini\n"}));
    std::filesystem::create_symlink(SHOW_SCRIPT, "link");
    const std::string name = std::string(SHOW_SCRIPT).substr(5), inShow = "show/xport/../";
    for (const std::string& taken : {SHOW_SCRIPT + std::string(), inShow + name, std::string("link")})
        EXPECT_EQ(build(taken, inShow + name),
                  Texts{"The target is the script itself, choose another name: " +
                        (taken == "link" ? here(taken) : base + name)});
    faults.copy = EACCES; // a target that is not refused stays as it is
    const std::string program = qbProgramDirectory(),
                      shader = program + qbPatternFiles(program, qbShaderPatterns()).files.at(0);
    for (const std::string& taken :
         {inShow + "loading.png", inShow + "xport/Room.quab", inShow + "music/Tune.MP3", shader})
        EXPECT_EQ(build(taken),
                  Texts{"The target is a file of the show that is to be packed, choose another name: " +
                        std::filesystem::canonical(taken).string()});
    std::string many;
    for (int part = 10; part < 26; part++) {
        many += "[part." + std::to_string(part) + "]\ndirectory=d\n";
        for (int i = 1; i < 16; i++)
            for (const char* key : {".directory=d\n", ".filename=\n"})
                many += "extra." + std::to_string(i) + key;
    }
    directory.write("256.demo.ini", many);
    EXPECT_EQ(build("target", "256.demo.ini"), Texts{"Reached max directories\n"});
    EXPECT_EQ(calls, Texts());
    directory.write("255.demo.ini", many.replace(many.rfind("=d\n"), 3, "=\n"));
    EXPECT_EQ(build("target", "255.demo.ini")[0], target + ": Permission denied");
    const std::string fits(260 - directory.path().size() - 1, 't');
    EXPECT_EQ(build(fits)[0], here(fits) + ": Permission denied");
    EXPECT_EQ(build(fits + "t"),
              Texts{"The full path of the target holds 261 characters, 260 at most: choose a shorter "
                    "one\n" +
                    here(fits) + "t"});
    EXPECT_EQ(calls, Texts());
    directory.write("Other", "");
    build("OTHER");
    EXPECT_EQ(calls, Texts{"copy " + here("OTHER")});
}

TEST_F(Builder, PatternsThatMatchNothingAreTheReason) {
    std::filesystem::remove("show/loading.png");
    EXPECT_EQ(build()[0], "Nothing to pack: put a loading.png beside the script: it is shown while the show "
                          "loads.\nNothing in " +
                              base + " matches loading.png ");
}

TEST_F(Builder, TellsTheFirstTenOfWhatIsMissingAndPrintsAll) {
    std::filesystem::remove("show/xport/wall.png");
    EXPECT_EQ(build(),
              Texts{"The packed show will not find what no cabinet holds:\n"
                    "xport/WALL.png (surface \"Wall\" of xport/room.quab)\n"
                    "Put it into the directory of the scene or of the tunes, below the script's, and pack "
                    "again."});
    EXPECT_EQ(calls.size(), 17U);

    directory.write("show/xport/Room.quab", "FORM, says the file");
    EXPECT_EQ(build().back(), "xport/room.quab can not be read as a scene: what it names was not looked for");
    EXPECT_EQ(output.find("Everything"), std::string::npos);

    std::string script = "[part.0]\nmusic=../m/x.mp3\n";
    for (const char* letter = "abcdefghijkl"; *letter; letter++)
        script += std::string("[part.") + letter + "]\nfilename=" + *letter + ".quab\n";
    directory.write("show/missing.txt", script);
    std::filesystem::copy("show/music/Tune.MP3", "show/tune.mp3");
    const Texts told = build("target", "show/missing.txt");
    ASSERT_EQ(told.size(), 1U);
    EXPECT_NE(told[0].find("\nmissing.txt (the script) - rename the script to end in .demo.ini\n../m/x.mp3 "
                           "(tune of part 1 of the script) - leads out of the script's directory: move it "
                           "below\na.quab (part 2 of the script)\n"),
              std::string::npos)
        << told[0];
    EXPECT_NE(told[0].find("\nh.quab (part 9 of the script)\nand 4 more\nPut the others into"),
              std::string::npos)
        << told[0];
    EXPECT_NE(output.find("Not packed: l.quab (part 13 of the script)\n"), std::string::npos);
}

} // namespace
