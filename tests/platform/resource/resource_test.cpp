#include "platform/resource/resource.h"

#include "platform/process.h"
#include "support/fake.h"
#include "support/file_limit.h"
#include "support/files.h"
#include "support/messages.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <elf.h>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

namespace fs = std::filesystem;
using namespace std::string_literals;

static int endAskedAfter = -1; // answers until the process is asked to end
FAKE(int, qbProcessEndAsked, (), endAskedAfter-- == 0)
FAKE(const char*, qbProgramPath, (), "running-program")

static const char* const CUT =
    "The data packed into this file is cut off. Copy the file again, or pack it again: show";
static const char* const DAMAGED =
    "The data packed into this file is damaged. Copy the file again, or pack it again: show";
constexpr size_t BLOCK = 544;
constexpr size_t PIECE = 256 * 1024;

// --- helpers --------------------------------------------------------------------------------------------

static std::string noise(size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string text(size, '\0');
    std::generate(text.begin(), text.end(), [&] { return static_cast<char>(random()); });
    return text;
}

static size_t aligned(size_t size) {
    return (size + 15) / 16 * 16;
}

template <class Record>
static Record recordAt(const std::string& file, uint64_t offset) {
    Record record;
    memcpy(&record, file.data() + offset, sizeof(record));
    return record;
}

template <class Record>
static void putRecord(std::string& file, uint64_t offset, const Record& record) {
    memcpy(file.data() + offset, &record, sizeof(record));
}

// Long texts in a form that can be read in a report.
static std::string digest(const std::string& text) {
    if (text.size() <= 64) return text;
    return std::to_string(text.size()) + ":" + std::to_string(std::hash<std::string>()(text)) + " ";
}

// The digest of what a resource holds; "none", "damaged" or "not written".
static std::string carried(int id) {
    const std::unique_ptr<QbResource, decltype(&qbResourceClose)> resource(qbResourceOpen("CAB", id),
                                                                           &qbResourceClose);
    EXPECT_EQ(qbResourceFind("CAB", id), resource ? 1 : 0);
    if (!resource) return "none";
    const std::unique_ptr<std::FILE, decltype(&fclose)> file(tmpfile(), &fclose);
    const QbResourceResult result = qbResourceCopy(resource.get(), file.get());
    if (result != QB_RESOURCE_COPIED) return result == QB_RESOURCE_DAMAGED ? "damaged" : "not written";
    std::string text(static_cast<size_t>(ftell(file.get())), '\0');
    rewind(file.get());
    EXPECT_EQ(fread(text.data(), 1, text.size(), file.get()), text.size());
    return digest(text);
}

// One after the other.
static std::string carriedBy(const std::string& path, const std::vector<int>& ids) {
    qbResourceSetProgram(path.c_str());
    std::string all;
    for (const int id : ids)
        all += carried(id);
    return all;
}

static int put(QbResourceUpdate* update, int id, const std::string& data) {
    return qbResourceUpdatePut(update, "CAB", id, data.data(), data.size()) == 0 ? 0 : errno;
}

// 0, or the errno of the first step that fails.
static int store(const char* path, const std::vector<std::pair<int, std::string>>& list) {
    QbResourceUpdate* update = qbResourceUpdateBegin(path);
    if (!update) return errno;
    for (const auto& [id, data] : list) {
        if (const int error = put(update, id, data)) {
            EXPECT_EQ(qbResourceUpdateEnd(update, 1), 0);
            return error;
        }
    }
    return qbResourceUpdateEnd(update, 0);
}

static int copyError(const char* source, const char* target) {
    return qbResourceCopyProgram(source, target) == 0 ? 0 : errno;
}

static int beginError(const char* path) {
    QbResourceUpdate* update = qbResourceUpdateBegin(path);
    if (!update) return errno;
    return qbResourceUpdateEnd(update, 1);
}

// A small program whose section table, and so its end, stands at an odd place.
static std::string oddProgram() {
    std::string file = readFile("/bin/true");
    auto header = recordAt<Elf64_Ehdr>(file, 0);
    const std::string sections = file.substr(header.e_shoff, header.e_shnum * sizeof(Elf64_Shdr));
    file.append(file.size() % 2 ? 2 : 1, '\0');
    header.e_shoff = file.size();
    putRecord(file, 0, header);
    return file + sections;
}

// A program to store in; the current directory holds nothing else.
class Resource : public testing::Test {
protected:
    Resource() {
        endAskedAfter = -1;
        directory_.write("show", program_);
        fs::permissions("show", fs::perms(0755));
    }
    ~Resource() override { qbResourceSetProgram(nullptr); }

    size_t base() const { return aligned(program_.size()); }
    static size_t filesHere() { return static_cast<size_t>(std::distance(fs::directory_iterator("."), {})); }

    TemporaryDirectory directory_;
    Messages messages_;
    const std::string program_ = oddProgram();
};

// --- storing and reading --------------------------------------------------------------------------------

TEST_F(Resource, CarriesWhatWasStoredBehindAProgramThatStaysAsItWas) {
    EXPECT_EQ(carriedBy("show", {500}), "none");

    const std::vector<std::pair<int, std::string>> list = {{0, ""},
                                                           {500, noise(PIECE, 1)},
                                                           {501, noise(4 * PIECE + 1, 2)},
                                                           {502, "x"},
                                                           {65535, noise(PIECE - 1, 3)}};
    EXPECT_EQ(store("show", {list[0], list[1]}), 0);
    EXPECT_EQ(store("show", {list[2], list[3], list[4]}), 0);
    size_t size = 0;
    for (const auto& [id, data] : list) {
        EXPECT_EQ(carriedBy("show", {id}), digest(data)) << id;
        size += data.size();
    }
    EXPECT_EQ(qbResourceFind("CA", 500) + qbResourceFind("CABS", 500) + qbResourceFind(nullptr, 500), 0);
    EXPECT_EQ(fs::file_size("show"), base() + BLOCK + size);
    EXPECT_EQ(readFile("show").substr(0, program_.size()), program_);
    EXPECT_EQ(system("./show"), 0);
    EXPECT_TRUE(messages_.texts().empty());
}

TEST_F(Resource, ReplacesWithoutGrowing) {
    fs::permissions("show", fs::perms(0750));
    fs::create_symlink("show", "link");
    const std::string kept = noise(1000, 1);
    EXPECT_EQ(store("show", {{500, noise(5000, 2)}, {501, kept}, {502, "old"}}), 0);
    for (const size_t size : {2000, 9000, 0, 9000}) {
        const std::string data = noise(size, 3);
        EXPECT_EQ(store("link", {{503, "new"}, {500, "at once replaced"}, {500, data}, {502, "newer"}}), 0);
        EXPECT_EQ(carriedBy("show", {500, 501, 502, 503}), digest(data) + digest(kept) + "newernew");
        EXPECT_EQ(fs::file_size("show"), base() + BLOCK + size + kept.size() + strlen("newernew"));
    }
    EXPECT_EQ(fs::status("show").permissions(), fs::perms(0750));
    EXPECT_TRUE(fs::is_symlink("link"));
    EXPECT_EQ(filesHere(), 2u);
    EXPECT_EQ(system("./show"), 0);
}

TEST_F(Resource, RefusesNamesOutOfRangeAndOneResourceTooMany) {
    QbResourceUpdate* update = qbResourceUpdateBegin("show");
    const auto error = [&](const char* type, int id) {
        return qbResourceUpdatePut(update, type, id, "x", 1) == 0 ? 0 : errno;
    };
    EXPECT_EQ(error("", 1), EINVAL);
    EXPECT_EQ(error("12345678", 1), EINVAL);
    EXPECT_EQ(error("CAB", -1), EINVAL);
    EXPECT_EQ(error("CAB", 65536), EINVAL);
    EXPECT_EQ(error("1234567", 1), 0);
    for (int id = 1; id < QB_RESOURCES_MAX; ++id)
        EXPECT_EQ(error("CAB", id), 0);
    EXPECT_EQ(error("CAB", 16), ENOSPC);
    EXPECT_EQ(put(update, 15, "y"), 0);
    EXPECT_EQ(qbResourceUpdateEnd(update, 0), 0);
    EXPECT_EQ(carriedBy("show", {14, 15, 16}), "xynone");
    EXPECT_EQ(qbResourceFind("1234567", 1), 1);
}

TEST_F(Resource, CopyStopsForAFullDiskAndWhenAskedToEnd) {
    EXPECT_EQ(store("show", {{500, "x"}, {501, noise(3 * PIECE, 1)}}), 0);
    qbResourceSetProgram("show");
    QbResource* resource = nullptr;
    for (const int id : {500, 501}) {
        qbResourceClose(resource);
        resource = qbResourceOpen("CAB", id);
        std::FILE* full = fopen("/dev/full", "wb");
        EXPECT_EQ(qbResourceCopy(resource, full), QB_RESOURCE_NOT_WRITTEN);
        EXPECT_EQ(errno, ENOSPC);
        fclose(full);
    }
    endAskedAfter = 2;
    std::FILE* file = fopen("part", "wb");
    EXPECT_EQ(qbResourceCopy(resource, file), QB_RESOURCE_NOT_WRITTEN);
    EXPECT_EQ(errno, EINTR);
    fclose(file);
    EXPECT_EQ(fs::file_size("part"), 2 * PIECE);

    fs::resize_file("show", base() + BLOCK + PIECE); // meanwhile
    EXPECT_EQ(carried(501), "damaged");
    fs::remove("show");
    EXPECT_EQ(qbResourceFind("CAB", 501), 1);
    EXPECT_EQ(qbResourceOpen("CAB", 501), nullptr);
    qbResourceClose(resource);
}

// --- the running program --------------------------------------------------------------------------------

TEST(ResourceChild, DISABLED_ReadsItsOwnFileWhereverThatIs) {
    const std::string data = digest(noise(2 * PIECE + 5, 1));
    fs::rename("self", "moved");
    EXPECT_EQ(carried(500), data);
    fs::remove("moved");
    EXPECT_EQ(carried(500), data);
    EXPECT_EQ(carriedBy("other", {500}), "other's");
    qbResourceSetProgram(nullptr);
    EXPECT_EQ(carried(500), data);
}

TEST_F(Resource, OfTheRunningProgramAreReadAfterItWasMovedAndDeleted) {
    EXPECT_EQ(carried(500), "none"); // this program
    EXPECT_EQ(copyError("/proc/self/exe", "self"), 0);
    EXPECT_EQ(store("self", {{500, noise(2 * PIECE + 5, 1)}}), 0);
    EXPECT_EQ(store("show", {{500, "other's"}}), 0);
    fs::rename("show", "other");
    EXPECT_EQ(system("./self --gtest_also_run_disabled_tests --gtest_filter=ResourceChild.* >out.txt"), 0)
        << readFile("out.txt");
    EXPECT_FALSE(fs::exists("moved"));
}

// --- damages --------------------------------------------------------------------------------------------

// `value` goes to `offset` of the block; `size` 0 cuts the file there.
struct Damage {
    const char* what;
    long offset;
    unsigned size;
    uint64_t value;
    bool sealed; // the block's checksum is made right again
    const char* message;
    const char *first = "none", *second = "none"; // what 500 and 501 give
};

TEST_F(Resource, ADamagedStoreIsNoneAndADamagedResourceIsToldAlone) {
    const long entry = 16, second = entry + 32, end = BLOCK + 100;
    const long padding = static_cast<long>(program_.size()) - static_cast<long>(base());
    const Damage damages[] = {
        {"nothing", 0, 1, 'Q', false, nullptr, "first", "second"},
        {"magic", 7, 1, 0, true, DAMAGED},
        {"version", 8, 4, 2, true, DAMAGED},
        {"count above the limit", 12, 4, 17, true, DAMAGED},
        {"count, not sealed", 12, 4, 1, false, DAMAGED},
        {"type without end", entry, 8, 0x4242424242424242, true, DAMAGED},
        {"id", entry + 8, 4, 65536, true, DAMAGED},
        {"checksum", second + 12, 4, 1, true, nullptr, "first", "damaged"},
        {"offset in the data before", second + 16, 8, BLOCK + 49, true, DAMAGED},
        {"offset and size beyond all files", second + 16, 8, INT64_MAX - 49, true, DAMAGED},
        {"largest size", second + 24, 8, UINT64_MAX, true, DAMAGED},
        {"size beyond this file", second + 24, 8, 51, true, CUT},
        {"data", BLOCK + 10, 1, 'x', false, nullptr, "damaged", "second"},
        {"bytes behind", end, 1, 'x', false, nullptr, "first", "second"},
        {"cut in the program", padding - 1, 0, 0, false, CUT},
        {"cut behind the program", padding, 0, 0, false, nullptr},
        {"cut in the magic", 3, 0, 0, false, CUT},
        {"cut in the block", BLOCK - 1, 0, 0, false, CUT},
        {"cut in the data", end - 1, 0, 0, false, CUT},
    };
    const std::string data(50, '1'), other(50, '2');
    EXPECT_EQ(store("show", {{500, data}, {501, other}}), 0);
    const std::string good = readFile("show");
    ASSERT_EQ(good.size(), base() + static_cast<size_t>(end));

    for (const Damage& damage : damages) {
        SCOPED_TRACE(damage.what);
        std::string file = good;
        const size_t offset = static_cast<size_t>(static_cast<long>(base()) + damage.offset);
        file.resize(damage.size ? std::max(file.size(), offset + damage.size) : offset);
        memcpy(file.data() + offset, &damage.value, damage.size);
        if (damage.sealed) {
            const auto checksum =
                static_cast<uint32_t>(crc32(0, reinterpret_cast<Bytef*>(&file[base()]), BLOCK - 4));
            memcpy(&file[base() + BLOCK - 4], &checksum, sizeof(checksum));
        }
        directory_.write("show", file);
        messages_.texts().clear();
        const std::string kept = damage.first == "first"s ? data : damage.first;
        EXPECT_EQ(carriedBy("show", {500}), kept);
        EXPECT_EQ(carried(501), damage.second == "second"s ? other : damage.second);
        EXPECT_EQ(messages_.texts(),
                  damage.message ? std::vector<std::string>{damage.message} : std::vector<std::string>{});

        if (damage.offset < padding) continue; // no whole program
        const bool dropped = damage.first == "none"s;
        EXPECT_EQ(store("show", {{503, "third"}}), 0);
        EXPECT_EQ(carriedBy("show", {503}), "third");
        EXPECT_EQ(carried(500), kept);
        const size_t others = dropped ? BLOCK : static_cast<size_t>(end);
        EXPECT_LE(fs::file_size("show"), base() + others + strlen("third"));
    }
}

// --- what can not be written ----------------------------------------------------------------------------

TEST_F(Resource, AFullDiskLeavesWhatWasThere) {
    const std::string large = noise(3 * PIECE, 2);
    EXPECT_EQ(store("show", {{500, "old"}, {501, "kept"}}), 0);
    const std::string before = readFile("show");
    // The block, the old data and the new data meet the end of the disk.
    for (const size_t limit : {base() + BLOCK - 1, before.size(), before.size() + PIECE + 7}) {
        for (const int id : {500, 502}) {
            SCOPED_TRACE(std::to_string(id) + " below " + std::to_string(limit));
            {
                const FileLimit full(limit);
                EXPECT_EQ(store("show", {{id, large}}), EFBIG);
            }
            QbResourceUpdate* update = qbResourceUpdateBegin("show");
            EXPECT_EQ(put(update, id, "small"), 0);
            const FileLimit full(limit);
            const bool fits = limit >= base() + BLOCK;
            EXPECT_EQ(qbResourceUpdateEnd(update, fits), fits ? 0 : EFBIG);
            EXPECT_TRUE(readFile("show") == before);
        }
    }
    {
        const FileLimit full(5000);
        EXPECT_EQ(copyError("/bin/true", "show"), EFBIG);
    }
    EXPECT_TRUE(readFile("show") == before);
    EXPECT_EQ(filesHere(), 1u);

    // A refused resource does not take the others along.
    QbResourceUpdate* update = qbResourceUpdateBegin("show");
    for (const int id : {502, 500}) {
        const FileLimit full(before.size() + PIECE);
        EXPECT_EQ(put(update, id, large), EFBIG);
        EXPECT_EQ(put(update, 503, "fits"), 0);
    }
    EXPECT_EQ(qbResourceUpdateEnd(update, 0), 0);
    EXPECT_EQ(carriedBy("show", {500, 501, 502, 503}), "oldkeptnonefits");
}

TEST_F(Resource, RefusesWhatIsNoProgram) {
    std::string other = program_;
    other[EI_CLASS] = ELFCLASS32;
    directory_.write("32bit", other);
    directory_.write("text", std::string(1000, '#'));
    directory_.write("cut", program_.substr(0, program_.size() - 1));
    directory_.write("empty");
    fs::create_directory("directory");
    EXPECT_EQ(mkfifo("pipe", 0600), 0);
    const std::pair<const char*, int> cases[] = {
        {"32bit", ENOEXEC}, {"text", ENOEXEC},     {"cut", ENOEXEC},   {"empty", ENOEXEC},
        {"pipe", ENOEXEC},  {"directory", EISDIR}, {"absent", ENOENT}, {"text/x", ENOTDIR}};
    for (const auto& [name, error] : cases) {
        EXPECT_EQ(beginError(name), error) << name;
        EXPECT_EQ(copyError(name, "target"), error) << name;
    }
    EXPECT_FALSE(fs::exists("target"));
    EXPECT_EQ(carriedBy("text", {500}), "none");
    EXPECT_TRUE(messages_.texts().empty()); // nobody packed a show there
    EXPECT_EQ(carriedBy("absent", {500}), "none");
    EXPECT_EQ(messages_.texts(),
              std::vector<std::string>{"The data packed into this file can not be read (No such file or "
                                       "directory). Allow reading it: absent"});
}

TEST_F(Resource, CopiesTheProgramWithoutResourcesOverAnythingButItself) {
    EXPECT_EQ(store("show", {{500, "first"}}), 0);
    fs::permissions("show", fs::perms(0551));
    EXPECT_EQ(copyError("show", "copy"), 0);
    EXPECT_TRUE(readFile("copy") == program_);
    EXPECT_EQ(fs::status("copy").permissions(), fs::perms(0751)); // to be packed

    fs::create_symlink("show", "link");
    fs::create_hard_link("show", "hard");
    fs::create_directory("directory");
    for (const char* target : {"show", "./show", "link", "hard"})
        EXPECT_EQ(copyError("show", target), EINVAL) << target;
    EXPECT_EQ(copyError("show", "directory"), EISDIR);
    EXPECT_EQ(copyError("show", "/dev/null"), EEXIST);
    EXPECT_EQ(copyError("show", "absent/x"), ENOENT);
    EXPECT_EQ(copyError("show", ""), ENOENT);
    EXPECT_TRUE(geteuid() == 0 || copyError("copy", "show") == EACCES); // write-protected
    fs::permissions("show", fs::perms(0755));
    EXPECT_EQ(copyError("copy", "link"), 0); // through the link
    EXPECT_EQ(carriedBy("hard", {500}), "first");
    EXPECT_TRUE(fs::is_symlink("link"));
    EXPECT_EQ(filesHere(), 5u);
}

TEST_F(Resource, AProgramThatRunsIsReplacedAndNotWrittenTo) {
    EXPECT_EQ(copyError("/bin/sleep", "sleeper"), 0);
    const pid_t child = fork();
    if (child == 0) {
        execl("./sleeper", "sleeper", "100", nullptr);
        _exit(1);
    }
    while (fs::read_symlink("/proc/" + std::to_string(child) + "/exe").filename() != "sleeper")
        usleep(1000);
    EXPECT_EQ(beginError("sleeper"), ETXTBSY);
    EXPECT_EQ(copyError("show", "sleeper"), 0);
    EXPECT_EQ(store("sleeper", {{500, "first"}}), 0);
    EXPECT_EQ(carriedBy("sleeper", {500}), "first");
    EXPECT_EQ(waitpid(child, nullptr, WNOHANG), 0);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

// --- headers --------------------------------------------------------------------------------------------

TEST_F(Resource, FindsTheEndOfUnusualPrograms) {
    EXPECT_EQ(store("show", {{500, "first"}}), 0);
    std::string file = readFile("show");
    const auto header = recordAt<Elf64_Ehdr>(file, 0);
    Elf64_Ehdr large = header; // counts that stand in the first section
    large.e_phnum = PN_XNUM;
    large.e_shnum = 0;
    putRecord(file, 0, large);
    auto counts = recordAt<Elf64_Shdr>(file, header.e_shoff);
    counts.sh_info = header.e_phnum;
    for (const uint64_t wrapped : {0, 1}) { // around to a small table
        counts.sh_size = wrapped * (UINT64_MAX / sizeof(Elf64_Shdr) + 1) + header.e_shnum;
        putRecord(file, header.e_shoff, counts);
        directory_.write("show", file);
        EXPECT_EQ(carriedBy("show", {500}), wrapped ? "none" : "first");
    }

    // Without sections the last segment ends the program.
    uint64_t end = 0;
    for (uint64_t i = 0; i < header.e_phnum; ++i) {
        const auto segment = recordAt<Elf64_Phdr>(program_, header.e_phoff + i * sizeof(Elf64_Phdr));
        end = std::max(end, segment.p_offset + segment.p_filesz);
    }
    large.e_phnum = header.e_phnum;
    large.e_shoff = 0;
    file = program_.substr(0, end);
    putRecord(file, 0, large);
    directory_.write("show", file);
    EXPECT_EQ(store("show", {{500, "first"}}), 0);
    EXPECT_EQ(fs::file_size("show"), aligned(end) + BLOCK + strlen("first"));
    EXPECT_EQ(carriedBy("show", {500}), "first");
}
