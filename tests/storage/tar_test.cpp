#include "storage/tar.h"

#include "support/temporary_directory.h"

#include <algorithm>
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

TEST_F(Tar, ReadsEveryFormat) {
    const size_t sizes[] = {0, 511, 512, 513};
    for (const size_t size : sizes)
        directory.write("d/" + std::to_string(size), content(size));
    run("ln -s 513 d/link");
    const std::string part(70, 'p'), longName = "l/" + part + "/" + part,
                                     fullName = "l/" + std::string(98, 'f');
    directory.write(longName, "long");
    directory.write(fullName, "full");
    const struct {
        const char* options;
        int32_t count;
        std::string plainName; // of the long one
    } cases[] = {
        {"--format=ustar d l", 7, part},
        {"--format=gnu d l", 8, longName.substr(0, 100)},
        {"--format=pax d l", 17, longName.substr(0, 100)}, // 7, and an 'x' for each and for 3 directories
        {"--format=v7 d", 5, ""}};
    run("find d l -exec touch -h -d @1.5 {} +"); // half a second needs a pax header of each entry's own
    directory.write("behind", std::string(1000, 'b'));
    for (const auto& [options, count, plainName] : cases) {
        run("rm -f a.tar && tar cf a.tar --sort=name "s + options);
        run("cat behind a.tar > inner.tar");
        for (const int32_t base : {0, 1000}) {
            ASSERT_EQ(open(base ? "inner.tar" : "a.tar", base), 0) << options;
            EXPECT_EQ(printed + errors, "") << options;
            EXPECT_EQ(arch.count, count) << options;
            for (const size_t size : sizes)
                EXPECT_EQ(read("d/" + std::to_string(size)), content(size)) << options << size;
            EXPECT_EQ(read("d/link"), "") << options;
            for (const char* name : {"d/", "d", "D/513", "d/51", "d/5133", ""})
                EXPECT_EQ(read(name), "none") << options << name;
            if (plainName.empty()) continue;
            EXPECT_EQ(read(plainName), "long") << options;
            EXPECT_EQ(read(longName), "none") << options;
            EXPECT_EQ(read(fullName), "full") << options << "a name field without a terminator";
        }
    }
    EXPECT_EQ(open("inner.tar", 20000), 0);
    EXPECT_EQ(printed, "getheader: failed to read at 04e20\n");
}

TEST_F(Tar, StaysSafeOnSparseFiles) {
    directory.write("first", "1");
    directory.write("last", "9");
    run("truncate -s 1M holes && cp holes many");
    for (int i = 0; i < 30; ++i)
        run("printf x | dd of=many bs=1 conv=notrunc status=none seek=" + std::to_string(i * 32768));
    for (const std::string format : {"gnu", "pax"}) {
        run("tar cSf a.tar --format=" + format + " first holes last");
        ASSERT_EQ(open("a.tar"), 0);
        EXPECT_EQ(read("first") + read("last"), "19") << format;
        run("tar cSf a.tar --format=" + format + " first many last");
        if (open("a.tar") != 0) continue; // GNU's pieces can look like an entry that does not fit
        EXPECT_EQ(read("first"), "1") << format;
    }
}

TEST_F(Tar, OpensArchivesOfAnyCount) {
    run("mkdir -p d/e && tar cf directories.tar d && tar cf empty.tar -T /dev/null && touch nothing");
    for (const char* name : {"directories.tar", "empty.tar", "nothing"}) {
        EXPECT_EQ(open(name), 0) << name;
        EXPECT_EQ(arch.count, 0) << name;
        EXPECT_EQ(printed, name == "nothing"s ? "getheader: failed to read at 00\n" : "") << name;
        EXPECT_EQ(read("d"), "none") << name;
    }
    for (int i = 0; i < 10000; ++i)
        std::ofstream("d/e/" + std::to_string(i)) << i;
    run("tar cf many.tar --sort=name d");
    ASSERT_EQ(open("many.tar"), 0);
    EXPECT_EQ(arch.count, 10000);
    for (int i = 0; i < 10000; i += 1111)
        EXPECT_EQ(read("d/e/" + std::to_string(i)), std::to_string(i));

    directory.write("twice", "first");
    run("tar cf twice.tar twice && echo second > twice && tar rf twice.tar twice");
    ASSERT_EQ(open("twice.tar"), 0);
    EXPECT_EQ(arch.count, 2);
    EXPECT_EQ(read("twice"), "first");
}

TEST_F(Tar, SurvivesEveryCut) {
    directory.write("a", content(513));
    directory.write("b", "");
    directory.write("c", content(512));
    run("tar cf whole.tar --format=ustar a b c");
    // Where the data of each begins, and where the end mark does.
    const size_t a = 512, b = 2048, c = 2560, end = 3072;
    for (const size_t place : {size_t{0}, a, size_t{1024}, b - 512, b, c, end}) {
        for (const size_t cut :
             {place - std::min<size_t>(place, 1), place, place + 1, place + 499, place + 500}) {
            run("head -c " + std::to_string(cut) + " whole.tar > cut.tar");
            ASSERT_EQ(open("cut.tar"), 0) << cut;
            EXPECT_EQ(arch.count, (cut >= 500) + (cut >= b - 12) + (cut >= c - 12)) << cut;
            EXPECT_EQ(printed.starts_with("getheader: failed to read at 0"), cut < end + 500) << cut;
            const auto kept = [cut](size_t size, size_t data) {
                return content(size).substr(0, std::max(cut, data) - data);
            };
            EXPECT_EQ(read("a"), cut < 500 ? "none" : kept(513, a)) << cut;
            EXPECT_EQ(read("c"), cut < c - 12 ? "none" : kept(512, c)) << cut;
        }
    }
    run("head -c 523 whole.tar > cut.tar");
    ASSERT_EQ(open("cut.tar"), 0);
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
    EXPECT_EQ(tarlib_fread(text.data(), 1, 64, a.get()), 1U);

    tarlib_arch_close(&arch);
    EXPECT_EQ(tarlib_ftell(a.get()), -1) << "closed under the file";
    EXPECT_EQ(tarlib_fseek(a.get(), 0, 0), -1);
    EXPECT_EQ(tarlib_fread(text.data(), 1, 1, a.get()), 0U);
    EXPECT_EQ(tarlib_arch_fopen(&arch, "a", "rb"), nullptr);
    EXPECT_EQ(tarlib_arch_fopen(nullptr, "a", "rb"), nullptr);
    EXPECT_EQ(tarlib_arch_close(&arch), 0) << "twice";
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
    } cases[] = {{"00000001000\0"s, 512, ""},      {"        1000", 512, ""},
                 {"\0\xFF-1x0/0:0\xFE"s, 512, ""}, {"778", 512, ""}, // 7 * 64 + 7 * 8 + 8
                 {"1001", 513, cut + "600\n"},     {"17777777777", INT32_MAX, cut + "80000200\n"},
                 {"20000000000", -1, refused},     {"777777777777", -1, refused},
                 {"999999999999", -1, refused},    {"\x80\0\0\0\0\0\0\0\0\0\2\0"s, -1, refused}};
    for (const auto& [field, size, text] : cases) {
        directory.write("a.tar", header("a", field) + content(512) + std::string(512, '\0'));
        ASSERT_EQ(open("a.tar"), size < 0 ? -1 : 0) << field;
        EXPECT_EQ(printed, text) << field;
        EXPECT_EQ(arch.count, size < 0 ? 0 : 1) << field;
        EXPECT_EQ(read("a").substr(0, 512), size < 0 ? "none" : content(512)) << field;
        EXPECT_EQ(errors, size < 0 ? tooLarge : "") << field;
        if (size < 0) continue;
        EXPECT_EQ(arch.entries[0].size, size) << field;
        const File file(tarlib_arch_fopen(&arch, "a", "rb"), tarlib_fclose);
        EXPECT_EQ(tarlib_fseek(file.get(), static_cast<long>(size), 0), 0) << field;
        EXPECT_EQ(tarlib_fread(printed.data(), 1, 1, file.get()), 0U) << field;
    }
}

TEST_F(Tar, HoldsTheLimitsOfItsFields) {
    // Sparse on the disk: the largest entry and the end mark, which then makes room for another entry.
    const std::streamoff behind = (1LL << 31) + 512;
    directory.write("big.tar", header("a", "17777777777"));
    const auto put = [](std::streamoff position, const std::string& block) {
        std::fstream("big.tar", std::ios::in | std::ios::out | std::ios::binary).seekp(position) << block;
    };
    put(behind, std::string(512, '\0'));
    put(behind - 2, "z");
    ASSERT_EQ(open("big.tar"), 0);
    EXPECT_EQ(printed, "");
    {
        const File file(tarlib_arch_fopen(&arch, "a", "rb"), tarlib_fclose);
        char bytes[2] = "";
        EXPECT_EQ(tarlib_fseek(file.get(), 1, 2), 0);
        EXPECT_EQ(tarlib_fread(bytes, 1, 2, file.get()), 1U);
        EXPECT_EQ(bytes[0], 'z');
    }
    put(behind, header("b", "1"));
    EXPECT_EQ(open("big.tar"), -1);
    EXPECT_EQ(printed, "tarlib_arch_open: failed to advance at 080000400\n");
    EXPECT_NE(errors, "");
    EXPECT_EQ(read("a"), "none");

    put(INT32_MAX, header("c", "3") + "ccc");
    ASSERT_EQ(open("big.tar", INT32_MAX), 0); // and the end of the file is no whole block
    EXPECT_EQ(read("c"), "ccc");
    EXPECT_EQ(open("big.tar", -1), -1);

    const std::string longest(79, 'p');
    directory.write(longest, std::string(512, '\0'));
    directory.write(longest + "p", std::string(512, '\0'));
    EXPECT_EQ(tarlib_arch_open_file(&arch, longest.c_str()), 0);
    EXPECT_EQ(open(longest + "p"), -1) << "must not be cut to another file's name";
    EXPECT_EQ(errors, longest + "p: the path of an archive has 79 characters at most\n");
    for (const char* path : {"missing.tar", ".", "", static_cast<const char*>(nullptr)})
        EXPECT_EQ(tarlib_arch_open(&arch, path, 0), -1);
    EXPECT_EQ(tarlib_arch_open(nullptr, "big.tar", 0), -1);
}
