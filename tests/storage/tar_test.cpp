#include "storage/tar.h"

#include "support/temporary_directory.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>

namespace {

using namespace std::string_literals;
using File = std::unique_ptr<tarlib_file, decltype(&tarlib_fclose)>;

// Bytes that tell where they stand; no run of 512 of them looks like another.
std::string content(size_t size) {
    std::string text(size, '\0');
    for (size_t i = 0; i < size; ++i)
        text[i] = static_cast<char>('a' + (i * 7 + i / 512) % 26);
    return text;
}

std::string header(std::string name, const std::string& size) {
    name.resize(124);
    return (name + size + std::string(12, '\0')).substr(0, 136) + std::string(376, '\0');
}

class Tar : public testing::Test {
protected:
    ~Tar() override { tarlib_arch_close(&arch); }

    void run(const std::string& command) { ASSERT_EQ(std::system(command.c_str()), 0) << command; }

    // The result; what was printed goes to `printed` and `errors`.
    int open(const std::string& path, int32_t base = 0) {
        tarlib_arch_close(&arch);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int result = tarlib_arch_open(&arch, path.c_str(), base);
        errors = testing::internal::GetCapturedStderr();
        printed = testing::internal::GetCapturedStdout();
        return result;
    }
    // The whole of an entry, "none" when it does not open.
    std::string read(const std::string& name) const {
        const File file(tarlib_arch_fopen(&arch, name.c_str(), "rb"), tarlib_fclose);
        if (!file) return "none";
        std::string text(4096, '\0');
        text.resize(tarlib_fread(text.data(), 1, text.size(), file.get()));
        return text;
    }

    TemporaryDirectory directory;
    tarlib_arch arch = {};
    std::string printed, errors;
};

} // namespace

TEST_F(Tar, FindsTheEntriesOfEveryFormat) {
    const size_t sizes[] = {0, 511, 512, 513};
    for (const size_t size : sizes)
        directory.write("d/" + std::to_string(size), content(size));
    const std::string part(70, 'p'), longName = "l/" + part + "/" + part,
                                     fullName = "l/" + std::string(98, 'f');
    directory.write(longName, "long");
    directory.write(fullName, "full");
    directory.write("behind", std::string(1000, 'b'));
    const struct {
        const char* format;
        int32_t count;
        std::string plainName; // of the long one
    } cases[] = {
        {"ustar", 6, part}, {"gnu", 7, longName.substr(0, 100)}, {"pax", 15, longName.substr(0, 100)}};
    for (const auto& [format, count, plainName] : cases) {
        run("rm -f a.tar && tar cf a.tar --format="s + format + " d l && cat behind a.tar >inner.tar");
        for (const int32_t base : {0, 1000}) {
            ASSERT_EQ(open(base ? "inner.tar" : "a.tar", base), 0) << format;
            EXPECT_EQ(printed + errors, "") << format;
            EXPECT_EQ(arch.count, count) << format;
            for (const size_t size : sizes)
                EXPECT_EQ(read("d/" + std::to_string(size)), content(size)) << format << size;
            for (const char* name : {"d/", "d", "D/513", "d/51", "d/5133", "", longName.c_str()})
                EXPECT_EQ(read(name), "none") << format << name;
            EXPECT_EQ(read(plainName), "long") << format;
            EXPECT_EQ(read(fullName), "full") << format << "a name field without a terminator";
        }
    }
}

TEST_F(Tar, OpensArchivesOfAnyCount) {
    run("mkdir -p d/e && tar cf directories.tar d && tar cf empty.tar -T /dev/null && touch nothing");
    for (const char* name : {"directories.tar", "empty.tar", "nothing"}) {
        EXPECT_EQ(open(name), 0) << name;
        EXPECT_EQ(arch.count, 0) << name;
        EXPECT_EQ(printed, name == "nothing"s ? "getheader: failed to read at 00\n" : "") << name;
    }
    for (int i = 0; i < 17; ++i) // the table grows at 8 and 16
        directory.write("d/" + std::to_string(i), std::to_string(i));
    run("tar cf many.tar d && echo second >d/3 && tar rf many.tar d/3");
    ASSERT_EQ(open("many.tar"), 0);
    EXPECT_EQ(arch.count, 18);
    for (int i = 0; i < 17; ++i)
        EXPECT_EQ(read("d/" + std::to_string(i)), std::to_string(i));
}

TEST_F(Tar, ReadsWhatACutArchiveHas) {
    directory.write("cut.tar", header("a", "20") + content(11));
    ASSERT_EQ(open("cut.tar"), 0);
    EXPECT_EQ(printed, "getheader: failed to read at 0400\n");
    const File file(tarlib_arch_fopen(&arch, "a", "rb"), tarlib_fclose);
    char bytes[16];
    EXPECT_EQ(tarlib_fread(bytes, 4, 4, file.get()), 2U);
    EXPECT_EQ(tarlib_ftell(file.get()), 8) << "the part of an item before the cut stays unread";
    EXPECT_EQ(tarlib_fread(bytes, 1, 16, file.get()), 3U);
}

TEST_F(Tar, ReadsWithinAnEntry) {
    directory.write("a", content(13));
    directory.write("b", content(600));
    run("tar cf ab.tar a b");
    ASSERT_EQ(open("ab.tar"), 0);
    EXPECT_EQ(tarlib_arch_set_default(&arch), 0);
    const File a(tarlib_fopen("a", "w"), tarlib_fclose), b(tarlib_fopen("b", nullptr), tarlib_fclose);
    std::string text(64, '.');
    tarlib_fseek(a.get(), 4, 0);
    tarlib_fseek(b.get(), 590, 0);
    EXPECT_EQ(tarlib_fread(text.data(), 0, 5, a.get()) + tarlib_fread(text.data(), 5, 0, a.get()), 0U);
    EXPECT_EQ(tarlib_fread(text.data(), SIZE_MAX, SIZE_MAX, a.get()), 0U);
    EXPECT_EQ(tarlib_fread(text.data(), 4, 10, a.get()), 2U) << "of 9 bytes";
    EXPECT_EQ(text.substr(0, 9), content(13).substr(4, 8) + '.');
    EXPECT_EQ(tarlib_ftell(a.get()), 12);
    EXPECT_EQ(tarlib_fread(text.data(), 1, SIZE_MAX, b.get()), 10U) << "side by side";
    EXPECT_EQ(text.substr(0, 10), content(600).substr(590));

    tarlib_arch_close(&arch);
    EXPECT_EQ(tarlib_ftell(a.get()), -1) << "closed under the file";
    EXPECT_EQ(tarlib_fseek(a.get(), 0, 0), -1);
    EXPECT_EQ(tarlib_fread(text.data(), 1, 1, a.get()), 0U);
    ASSERT_EQ(open("ab.tar"), 0);
    EXPECT_EQ(tarlib_fopen("a", "rb"), nullptr) << "closing took the default out";
}

TEST_F(Tar, TakesSizeFieldsAsTheyStand) {
    const std::string cut = "getheader: failed to read at 0",
                      refused = "tarlib_arch_open: failed to advance at 0200\n",
                      tooLarge = "a.tar: an entry is larger or begins later than 2147483647 bytes; "
                                 "use smaller archives\n";
    const struct {
        std::string field;
        int64_t size; // -1 when the archive is refused
        std::string printed;
    } cases[] = {{"00000001000\0"s, 512, ""},
                 {"        1000", 512, ""},
                 {"\0\xFF-1x0/0:0\xFE"s, 512, ""},
                 {"778", 512, ""}, // 7 * 64 + 7 * 8 + 8
                 {"1001", 513, cut + "600\n"},
                 {"17777777777", INT32_MAX, cut + "80000200\n"},
                 {"20000000000", -1, refused},
                 {"999999999999", -1, refused},
                 {"\x80\0\0\0\0\0\0\0\0\0\2\0"s, -1, refused}};
    for (const auto& [field, size, text] : cases) {
        directory.write("a.tar", header("a", field) + content(512) + std::string(512, '\0'));
        ASSERT_EQ(open("a.tar"), size < 0 ? -1 : 0) << field;
        EXPECT_EQ(printed, text) << field;
        EXPECT_EQ(errors, size < 0 ? tooLarge : "") << field;
        EXPECT_EQ(read("a").substr(0, 512), size < 0 ? "none" : content(512)) << field;
        EXPECT_EQ(size < 0 ? -1 : arch.entries[0].size, size) << field;
    }
}

TEST_F(Tar, HoldsTheLimitsOfItsFields) {
    directory.write("big.tar");
    const auto put = [](std::streamoff position, const std::string& block) { // sparse on the disk
        std::fstream("big.tar", std::ios::in | std::ios::out | std::ios::binary).seekp(position) << block;
    };
    put(0, header("a", "17777777777"));
    put((1LL << 31) + 512, header("b", "1"));
    EXPECT_EQ(open("big.tar"), -1) << "an entry that begins later than its field can tell";
    EXPECT_EQ(open("big.tar", -1), -1);
    const std::string longest(79, 'p');
    directory.write(longest, std::string(512, '\0'));
    directory.write(longest + "p", std::string(512, '\0'));
    EXPECT_EQ(tarlib_arch_open_file(&arch, longest.c_str()), 0);
    EXPECT_EQ(open(longest + "p"), -1) << "must not be cut to another file's name";
    EXPECT_EQ(errors, longest + "p: the path of an archive has 79 characters at most\n");
    EXPECT_EQ(open("missing.tar"), -1);
}
