#include "storage/cabinet.h"

#include "platform/cabinet/cabinet.h"
#include "platform/resource/resource.h"
#include "platform/temporary.h"
#include "support/in_process.h"
#include "support/messages.h"
#include "support/temporary_directory.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

// --- the program's resources and the reader of cabinets -------------------------------------------------

struct QbResource {
    int id;
};

namespace {

struct Program {
    std::set<int> carries = {500, 501, 502, 503};
    bool opens = true;
    QbResourceResult copied = QB_RESOURCE_COPIED;
    bool fullDisk = false;
    int unpacked = 0; // result
    int open = 0;     // resources at this moment
};

Program program;

} // namespace

int qbResourceFind(const char* type, int id) {
    return type == std::string("CAB") && program.carries.count(id) != 0 ? 1 : 0;
}

QbResource* qbResourceOpen(const char* type, int id) {
    if (!program.opens || qbResourceFind(type, id) == 0) return nullptr;
    ++program.open;
    return new QbResource{id};
}

void qbResourceClose(QbResource* resource) {
    if (resource) --program.open;
    delete resource;
}

QbResourceResult qbResourceCopy(const QbResource* resource, std::FILE* target) {
    fputs(std::to_string(resource->id).c_str(), target);
    if (program.fullDisk) { // what the buffer holds meets the full disk when the file is closed
        const int full = open("/dev/full", O_WRONLY);
        EXPECT_EQ(dup2(full, fileno(target)), fileno(target));
        close(full);
    }
    if (program.copied == QB_RESOURCE_NOT_WRITTEN) errno = ENOSPC;
    return program.copied;
}

// Unpacks one file, named by what the scratch file holds.
int qbCabinetUnpack(const char* cabinet, const char* directory) {
    struct stat info = {};
    EXPECT_EQ(stat(cabinet, &info), 0);
    EXPECT_EQ(info.st_mode & 0777U, 0600U);
    EXPECT_EQ(fs::path(cabinet).parent_path(), directory);
    std::string name;
    std::ifstream(cabinet) >> name;
    std::ofstream(std::string(directory) + '/' + name) << "new";
    return program.unpacked;
}

// --- tests ----------------------------------------------------------------------------------------------

namespace {

class Cabinet : public testing::Test {
protected:
    void SetUp() override {
        program = {};
        setenv("TMPDIR", directory.path().c_str(), 1);
    }
    void TearDown() override {
        qbCabCloseAll();
        unsetenv("TMPDIR");
    }
    std::string pathOf(const std::string& name) const { return directory.path() + '/' + name; }
    // Names in the temporary directory, or below it, in order and each with a blank behind.
    std::string names(const std::string& below = "") const {
        std::set<std::string> sorted;
        for (const auto& entry : fs::directory_iterator(pathOf(below)))
            sorted.insert(entry.path().filename());
        std::string text;
        for (const std::string& name : sorted)
            text += name + ' ';
        return text;
    }
    TemporaryDirectory directory;
    Messages messages;
};

} // namespace

TEST_F(Cabinet, AsksForThreeCabinetsOfTheFour) {
    EXPECT_EQ(qbHasResources(), 0);
    for (const int id : {500, 501, 502, 503}) {
        program.carries.erase(id);
        EXPECT_EQ(qbHasResources(), id == 503 ? 0 : -1) << id;
        EXPECT_EQ(qbResourceExists(id), 0);
        EXPECT_EQ(qbCabOpen(1, id), QB_CAB_NOT_FOUND);
        program.carries.insert(id);
    }
    EXPECT_EQ(messages.texts().size(), 0U); // the caller tells the code
}

TEST_F(Cabinet, UnpacksIntoNumberedDirectories) {
    for (const int row : {-1, 10}) {
        EXPECT_EQ(qbCabOpen(row, 500), -1);
        EXPECT_EQ(qbCabUse(row), -1);
        EXPECT_EQ(qbCabClose(row), -1);
    }
    EXPECT_EQ(qbCabOpen(9, 501), 0);
    EXPECT_EQ(qbCabOpen(1, 500), 0);
    EXPECT_EQ(fs::current_path(), pathOf("TheDemoExtractDir.1"));
    EXPECT_EQ(names("TheDemoExtractDir.1"), "500 "); // without the scratch file
    EXPECT_EQ(qbCabOpen(1, 502), 0);                 // deletes what was there
    EXPECT_EQ(names("TheDemoExtractDir.1"), "502 ");
    EXPECT_EQ(qbCabUse(9), 0);
    EXPECT_EQ(fs::current_path(), pathOf("TheDemoExtractDir.9"));
    EXPECT_EQ(qbCabUse(2), -1);
    EXPECT_EQ(qbCabClose(1), 0);
    EXPECT_EQ(qbCabClose(1), -1);
    EXPECT_EQ(qbCabUse(1), -1);
    EXPECT_EQ(names(), "TheDemoExtractDir.9 ");
    EXPECT_EQ(qbCabOpen(0, 500), 0); // from a directory that is to vanish
    EXPECT_EQ(qbCabCloseAll(), 0);
    EXPECT_EQ(names(), "");
    EXPECT_EQ(program.open, 0);
}

TEST_F(Cabinet, TakesTheWordOfTheNames) {
    const std::string longest(255, 'w'), longer = longest + 'w';
    for (const char* word : {"", "a/b", "a\\b", longer.c_str(), static_cast<const char*>(nullptr)})
        EXPECT_EQ(qbCabSetExtractDir(word), -1);
    EXPECT_EQ(qbCabSetExtractDir(longest.c_str()), 0);
    EXPECT_EQ(qbCabOpen(1, 500), QB_CAB_NOT_CREATED); // too long for the disk
    EXPECT_EQ(qbCabSetExtractDir("Show"), 0);
    EXPECT_EQ(qbCabOpen(1, 500), 0);
    EXPECT_EQ(qbCabSetExtractDir("TheDemoExtractDir"), 0);
    EXPECT_EQ(names(), "Show.1 ");
}

TEST_F(Cabinet, TellsWhyNothingWasUnpacked) {
    const struct {
        Program program;
        int code;
        const char *left, *line;
    } cases[] = {
        {{.carries = {}}, -10, "", ""},
        {{.opens = false}, -20, "", ""},
        {{.copied = QB_RESOURCE_DAMAGED}, -30, "", ""},
        {{.copied = QB_RESOURCE_NOT_WRITTEN}, -50, "", "hollow.tmp can not be written: No space left"},
        {{.fullDisk = true}, -50, "", "hollow.tmp can not be written: No space left"},
        {{.unpacked = EBADMSG}, EBADMSG, "500 hollow.tmp ", ""},
    };
    for (const auto& [answers, code, left, line] : cases) {
        fs::current_path(directory.path());
        program = answers;
        testing::internal::CaptureStderr();
        EXPECT_EQ(qbCabOpen(1, 500), code);
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_TRUE(*line ? said.find(line) != std::string::npos : said.empty()) << said;
        EXPECT_EQ(names("TheDemoExtractDir.1"), left) << code;
        EXPECT_EQ(qbCabUse(1), -1);
        EXPECT_EQ(qbCabClose(1), -1);
        EXPECT_EQ(fs::current_path(), directory.path());
        EXPECT_EQ(program.open, 0);
        program = {};
        EXPECT_EQ(qbCabOpen(1, 500), 0);
        EXPECT_EQ(names("TheDemoExtractDir.1"), "500 ");
    }
    directory.write("out/hollow.tmp/in the way");
    EXPECT_EQ(qbCabExtract(500, pathOf("out").c_str()), QB_CAB_NOT_CREATED);
    EXPECT_EQ(qbCabExtract(500, pathOf("missing").c_str()), QB_CAB_NOT_CREATED);
}

TEST_F(Cabinet, SaysWhyTheDirectoryCanNotBeHad) {
    fs::create_directory(pathOf("target"));
    fs::create_directory_symlink("target", pathOf("TheDemoExtractDir.1"));
    directory.write("TheDemoExtractDir.2");
    fs::create_directory(pathOf("TheDemoExtractDir.3"));
    const std::string here = directory.path(), can = " can not be used for the show's data: ",
                      none = "There is no directory for the show's data: ",
                      full = ". Set TMPDIR to the full path of one.",
                      remove = ". Remove it, or set TMPDIR to another directory.";
    struct Case {
        std::string place;
        int row, code;
        std::string message;
    };
    std::vector<Case> cases = {
        {here, 1, -1, pathOf("TheDemoExtractDir.1") + can + "it is a link" + remove},
        {here, 2, -1, pathOf("TheDemoExtractDir.2") + can + "it is no directory" + remove},
        {"/proc", 1, -40,
         "/proc/TheDemoExtractDir.1 can not be made for the show's data: No such file or directory. Set "
         "TMPDIR to a directory that can be written and has room."},
        {".", 1, -1, none + "TMPDIR is no full path" + full},
        {here + "/missing", 1, -1, none + "No such file or directory" + full},
        {directory.makeDeep(2025), 1, -1, none + "File name too long" + full}};
    if (chown(pathOf("TheDemoExtractDir.3").c_str(), 12345, 12345) == 0) // root alone can
        cases.push_back({here, 3, -1,
                         pathOf("TheDemoExtractDir.3") + can +
                             "it belongs to another user. Set TMPDIR to another directory."});
    for (const auto& [place, row, code, message] : cases) {
        setenv("TMPDIR", place.c_str(), 1);
        messages.texts().clear();
        EXPECT_EQ(qbCabOpen(row, 500), code);
        EXPECT_EQ(messages.texts(), std::vector<std::string>{message});
        EXPECT_EQ(qbCabUse(row), -1);
    }
    EXPECT_EQ(names("target") + names("TheDemoExtractDir.3"), "");
    setenv("TMPDIR", directory.makeDeep(2024).c_str(), 1);
    EXPECT_EQ(qbCabOpen(1, 500), 0);
}

TEST_F(Cabinet, GoesOnWithWhatAKilledRunLeft) {
    const int killed =
        inProcess([] { return qbCabOpen(1, 503) || qbCabOpen(2, 503) || kill(getpid(), SIGKILL); });
    ASSERT_TRUE(WIFSIGNALED(killed));
    EXPECT_EQ(names(), "TheDemoExtractDir.1 TheDemoExtractDir.2 ");
    directory.write("TheDemoExtractDir.1.2/of a copy");
    directory.write("TheDemoExtractDir.9.99/of a copy");
    directory.write("TheDemoExtractDir.1.100", "not ours");
    EXPECT_EQ(qbCabOpen(1, 500), 0);
    EXPECT_EQ(qbCabOpen(2, 501), 0);
    EXPECT_EQ(names(), "TheDemoExtractDir.1 TheDemoExtractDir.1.100 TheDemoExtractDir.2 ");
    EXPECT_EQ(names("TheDemoExtractDir.1"), "500 503 ");
    qbCabCloseAll();
    EXPECT_EQ(names(), "TheDemoExtractDir.1.100 ");
}

TEST_F(Cabinet, LeavesTheDataOfACopyThatRunsBesideItAlone) {
    ASSERT_EQ(qbCabOpen(1, 500), 0);
    const int second = inProcess([&] {
        if (qbCabOpen(1, 502) != 0 || fs::current_path() != pathOf("TheDemoExtractDir.1.2")) return 1;
        const int third = inProcess([&] {
            const bool beside = qbCabOpen(1, 503) == 0 && fs::exists(pathOf("TheDemoExtractDir.1.3/503"));
            return beside ? qbCabClose(1) : 1;
        });
        if (third != 0 || names() != "TheDemoExtractDir.1 TheDemoExtractDir.1.2 ") return 2;
        return kill(getpid(), SIGKILL);
    });
    EXPECT_TRUE(WIFSIGNALED(second)) << second;
    EXPECT_EQ(names("TheDemoExtractDir.1"), "500 ");
    EXPECT_EQ(qbCabOpen(2, 500), 0);
    EXPECT_EQ(names(), "TheDemoExtractDir.1 TheDemoExtractDir.2 ") << "what the second one left";
}

TEST_F(Cabinet, RefusesTheHundredthCopy) {
    const std::string first = pathOf("TheDemoExtractDir.1");
    std::vector<QbHeldDirectory*> copies(99);
    for (size_t i = 0; i < copies.size(); ++i)
        ASSERT_EQ(qbDirectoryHold((i ? first + '.' + std::to_string(i + 1) : first).c_str(), &copies[i]), 0);
    EXPECT_EQ(qbCabOpen(1, 500), -1);
    EXPECT_EQ(messages.texts(),
              std::vector<std::string>{first + " and the names behind it are taken by 99 running copies of "
                                               "the show: end some of them."});
    qbDirectoryRemove(copies.back());
    EXPECT_EQ(qbCabOpen(1, 500), 0);
    EXPECT_EQ(names("TheDemoExtractDir.1.99"), "500 ");
    copies.pop_back();
    for (QbHeldDirectory* copy : copies)
        qbDirectoryRemove(copy);
}

// As where a library or a damaged file ends the process; rows that are not in use belong to it as well.
TEST_F(Cabinet, LeavesNothingBehindWhenTheProcessEnds) {
    const int status = inProcess([&] {
        if (qbCabOpen(1, 500) != 0 || qbCabOpen(2, 501) != 0) return 1;
        program.unpacked = EBADMSG;
        if (qbCabOpen(3, 502) != EBADMSG || names("TheDemoExtractDir.3") != "502 hollow.tmp ") return 2;
        exit(0);
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(names(), "");
}
