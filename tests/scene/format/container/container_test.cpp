#include "scene/format/container.h"

#include "scene/format/container/chunks.h"

#include <gtest/gtest.h>

namespace {

using Texts = std::vector<std::string>;

int lastFatal = 0;
std::vector<std::pair<int, uint32_t>> seen; // depths of the parents, tags

int noteChunk(QbFile*, int depth, uint32_t, uint32_t tag, uint32_t, uint32_t) {
    seen.emplace_back(depth, tag);
    return QB_CHUNK_WALK;
}

struct ContainerTest : testing::Test {
    Messages messages;

    void SetUp() override {
        qbIffSetFileName("show.quab");
        qbIffSetChunkCallback(noteChunk);
        qbIffSetFatalHandler([](int status) { lastFatal = status; });
    }
    void TearDown() override {
        qbIffSetFileName(nullptr);
        qbIffSetChunkCallback(nullptr);
        qbIffSetFatalHandler(nullptr);
    }
    static int walk(const std::string& bytes) {
        seen.clear();
        return qbIffReadFile(Image(bytes).file());
    }
};

std::string scen(const std::string& body) {
    return form(top("SCEN", body));
}
std::string prps(const std::string& body) {
    return scen(nested("PRPS", body));
}
std::string values(const std::string& body) {
    return form(top("CGRP", nested("CHAN", nested("VALS", body))));
}

TEST_F(ContainerTest, RefusesDamageWithFileAndOffset) {
    const std::string longest(256, 'x'), tooLong = ": a string of 256 characters, 255 are allowed";
    const struct {
        std::string bytes, message;
    } CASES[] = {
        {"FORM" + be32(3) + "QUAB", "0: the form says that it has 3 bytes, the file holds 4"},
        {"FORM" + be32(5) + "QUAB", "0: the form says that it has 5 bytes, the file holds 4"},
        {form("SCEN123"), "12: 7 bytes are left in QUAB, a chunk's header has 8"},
        {scen("NAME1"), "20: 5 bytes are left in SCEN, a chunk's header has 6"},
        {form(top("A\x01\xff~", "", 0xffffffff)), "12: A??~ has 4294967295 bytes, 0 are left in QUAB"},
        {form(top("SCEN", nested("WHAT", "", 1)) + top("BKDR", "")), // past its parent, not past the file
         "20: WHAT has 1 bytes, 0 are left in SCEN"},
        {form(top("SCEN", nested("NAME", "", 4)) + padded("sky")),
         "20: NAME has 4 bytes, 0 are left in SCEN"},
        {form(top("CGRP", nested("CHAN", nested("TYPE", "12")))), "32: TYPE has 2 bytes, 4 are expected"},
        {values(nested("VRUN", be32(1) + be32(1) + be32(2))), "38: VRUN has 12 bytes, 8 are expected"},
        {values(nested("VDAT", be32(2) + be32(1))), "38: VDAT has 8 bytes and says that it holds 2 values"},
        {values(nested("VDAT", be32(0x40000000))), // times four, zero in 32 bits
         "38: VDAT has 4 bytes and says that it holds 1073741824 values"},
        {scen(name(longest)), "26" + tooLong},
        {prps(prop(1, longest, be32(1))), "36" + tooLong},
        {prps(stringProp("a", longest)), "38" + tooLong},
    };
    for (const auto& c : CASES) {
        Messages::texts().clear();
        EXPECT_EQ(walk(c.bytes), -1);
        EXPECT_EQ(Messages::texts(), Texts{"show.quab: damaged scene file, byte " + c.message});
    }
}

TEST_F(ContainerTest, RefusesOtherFilesAndContentThatDisagreesWithItsSize) {
    const std::string noQuab = "Not a QUAB scene file (Missing QUAB tag)", zero = be32(0);
    const auto sizes = [](const std::string& reader, int read, int expected) {
        return "Error: read_" + reader + ": bytesread(" + std::to_string(read) + ")  != nbytes expected(" +
               std::to_string(expected) + ")\nshow.quab: damaged scene file, byte " +
               (reader == "prop" ? "26" : "20") + ": export it again\n";
    };
    const struct {
        std::string bytes, errors;
    } CASES[] = {
        {"", "Not an IFF file (Missing FORM tag)"},
        {"FORM" + be32(4) + "LWSC", noQuab},
        {scen(nested("NAME", padded("sky") + "12")), sizes("name", 4, 6)},
        {scen(nested("NAME", padded("sky"), 60000)), sizes("name", 4, 60000)},
        {scen(nested("NAME", "sky1")), sizes("name", 6, 4)},
        {scen(nested("NAME", {"skye\0", 5})), sizes("name", 6, 5)},
        {scen(nested("FNAM", padded("a.lwo") + "12")), sizes("fnam", 6, 8)},
        {prps(prop(7, "a", zero)), sizes("prop", 6, 10)},
        {prps(prop(2, "a", zero + zero + zero)), sizes("prop", 10, 18)},
        {prps(prop(4, "a", zero)), sizes("prop", 18, 10)},
        {prps(prop(3, "a", "xy")), sizes("prop", 10, 8)},
        {prps(nested("PROP", "")), sizes("prop", 6, 0)},
    };
    for (const auto& c : CASES) {
        lastFatal = 0;
        testing::internal::CaptureStderr();
        EXPECT_EQ(walk(c.bytes), -1);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), c.errors);
        EXPECT_EQ(lastFatal, c.errors.starts_with("Error") ? 1 : 0);
    }
    EXPECT_EQ(Messages::texts(), Texts{});
}

// What random damage does is left to the fuzz target of scenes.
TEST_F(ContainerTest, EveryTruncationIsRefused) {
    testing::internal::CaptureStderr();
    const std::string good = everything();
    for (size_t length = 0; length < good.size(); ++length) {
        EXPECT_EQ(walk(good.substr(0, length)), -1) << length;
        // The same with a form that knows how long the file is: refused, or read and bound as far as it goes.
        if (length >= 12) Image(form(good.substr(12, length - 12))).scene();
    }
    testing::internal::GetCapturedStderr();
}

TEST_F(ContainerTest, CutsDeepGroupsAndReadsTheRest) {
    for (const int levels : {256, 257, 10'000}) {
        std::string group = name("leaf");
        for (int i = 1; i < levels; ++i)
            group = nested("CGRP", group);
        EXPECT_EQ(walk(form(top("CGRP", group) + top("BKDR", ""))), 0);
        ASSERT_EQ(seen.size(), 258u);
        EXPECT_EQ(seen[256], std::pair(256, levels == 256 ? +QB_TAG_NAME : +QB_TAG_CGRP)) << levels;
        EXPECT_EQ(seen[257], std::pair(0, +QB_TAG_BKDR)) << levels;
    }
}

TEST_F(ContainerTest, RefusesFilesOfTwoGigabytes) {
    const TemporaryDirectory dir;
    dir.write("huge.quab", "FORM");
    std::filesystem::resize_file("huge.quab", uint64_t{1} << 31);
    EXPECT_EQ(qbIffLoad("absent.quab"), nullptr);
    EXPECT_EQ(qbIffLoad("huge.quab"), nullptr);
    EXPECT_EQ(Messages::texts(),
              Texts{"huge.quab: the file can not be read whole; a scene file has less than 2 GiB"});
}

} // namespace
