#include "scene/format/container.h"

#include "scene/format/container/chunks.h"

#include <gtest/gtest.h>

namespace {

int lastFatal = 0;

struct Seen {
    int depth;
    std::string tag;
    uint32_t position, size;
};
std::vector<Seen> seen;
std::string trace; // "depth:parent/tag position+size ..."
uint32_t answeredTag = 0;
int answer = QB_CHUNK_WALK;

int noteChunk(QbFile*, int depth, uint32_t parent, uint32_t tag, uint32_t position, uint32_t size) {
    seen.push_back({depth, qbTagText(tag).text, position, size});
    trace += (trace.empty() ? "" : " ") + std::to_string(depth) + ":" + qbTagText(parent).text + "/" +
             seen.back().tag + " " + std::to_string(position) + "+" + std::to_string(size);
    return tag == answeredTag ? answer : int{QB_CHUNK_WALK};
}

class ContainerTest : public testing::Test {
protected:
    void SetUp() override {
        answeredTag = 0;
        lastFatal = 0;
        qbIffSetFileName("show.quab");
        qbIffSetChunkCallback(noteChunk);
        qbIffSetFatalHandler([](int status) { lastFatal = status; });
    }
    void TearDown() override {
        qbIffSetFileName(nullptr);
        qbIffSetChunkCallback(nullptr);
        qbIffSetFatalHandler(nullptr);
    }
    Messages messages;
};

int walk(const std::string& bytes, std::string* errors = nullptr) {
    const Image image(bytes);
    seen.clear();
    trace.clear();
    testing::internal::CaptureStderr();
    const int result = qbIffReadFile(image.file());
    const std::string text = testing::internal::GetCapturedStderr();
    if (errors) *errors = text;
    return result;
}

std::string scen(const std::string& body) {
    return form(top("SCEN", body));
}

std::string channel(const std::string& values) {
    return form(top("CGRP", nested("CHAN", nested("VALS", values))));
}

} // namespace

TEST_F(ContainerTest, GoodFormsAreWalked) {
    const struct {
        const char* what;
        std::string bytes;
        std::string chunks;
    } cases[] = {
        {"no chunks", form(""), ""},
        {"bytes behind the form", form("") + "behind", ""},
        {"unknown chunk of size 0, then a known one", form(top("WHAT", "") + top("SCEN", "")),
         "0:QUAB/WHAT 20+0 0:QUAB/SCEN 28+0"},
        {"property left at the top level",
         form(top("PROP", be32(3) + padded("ERROR") + padded("Image filename not found")) + top("BKDR", "")),
         "0:QUAB/PROP 20+36 0:QUAB/BKDR 64+0"},
        {"unknown chunk of odd size at depth 1, no pad byte behind it",
         scen(nested("WHAT", "odd") + name("sky")), "0:QUAB/SCEN 20+19 1:SCEN/WHAT 26+3 1:SCEN/NAME 35+4"},
        {"unknown chunk at depth 2, 16-bit size",
         scen(nested("PRPS", nested("WHAT", "1234567") + intProp("a", 1))),
         "0:QUAB/SCEN 20+35 1:SCEN/PRPS 26+29 2:PRPS/WHAT 32+7 2:PRPS/PROP 45+10"},
        {"known chunk where it does not belong is passed over whole", scen(nested("VALS", "not a chunk")),
         "0:QUAB/SCEN 20+17 1:SCEN/VALS 26+11"},
        {"group sizes: 32 bits at the top, 16 bits below",
         form(top("CGRP", nested("CGRP", chan("X", 3, run(1, 2))))),
         "0:QUAB/CGRP 20+50 1:CGRP/CGRP 26+44 2:CGRP/CHAN 32+38 3:CHAN/NAME 38+2 3:CHAN/TYPE 46+4 "
         "3:CHAN/VALS 56+14 4:VALS/VRUN 62+8"},
        {"property of unknown type without a value agrees with its size",
         scen(nested("PRPS", prop(7, "a", ""))), "0:QUAB/SCEN 20+18 1:SCEN/PRPS 26+12 2:PRPS/PROP 32+6"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(walk(c.bytes), 0);
        EXPECT_EQ(trace, c.chunks);
    }
    EXPECT_EQ(Messages::texts().size(), 0u);
}

TEST_F(ContainerTest, StringsUpTo255CharactersAreRead) {
    for (const size_t length : {0, 1, 3, 4, 9, 254, 255}) {
        const std::string text(length, 'n');
        EXPECT_EQ(walk(scen(name(text) + fnam(text) + nested("PRPS", stringProp(text, text)))), 0) << length;
    }
}

TEST_F(ContainerTest, WhatIsNoSceneIsRefused) {
    const std::string noForm = "Not an IFF file (Missing FORM tag)";
    const std::string noQuab = "Not a QUAB scene file (Missing QUAB tag)";
    const struct {
        const char* what;
        std::string bytes, message;
    } cases[] = {
        {"empty file", "", noForm},
        {"three bytes", "FOR", noForm},
        {"little-endian tag", "MROF" + be32(4) + "QUAB", noForm},
        {"nothing behind the tag", "FORM", noQuab},
        {"another form type", "FORM" + be32(4) + "LWSC", noQuab},
        {"form type cut short", "FORM" + be32(4) + "QUA", noQuab},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        std::string errors;
        EXPECT_EQ(walk(c.bytes, &errors), -1);
        EXPECT_EQ(errors, c.message);
    }
    EXPECT_EQ(Messages::texts().size(), 0u);
    EXPECT_EQ(lastFatal, 0);
}

TEST_F(ContainerTest, DamageIsRefusedWithFileAndOffset) {
    const std::string longText(256, 'x'), tooLong = ": a string of 256 characters, 255 are allowed";
    const struct {
        const char* what;
        std::string bytes, message;
    } cases[] = {
        {"form too small for its type", "FORM" + be32(3) + "QUAB",
         "byte 0: the form says that it has 3 bytes, the file holds 4"},
        {"form one byte past the file", "FORM" + be32(5) + "QUAB",
         "byte 0: the form says that it has 5 bytes, the file holds 4"},
        {"form of 4 GiB", "FORM" + be32(0xffffffff) + "QUAB",
         "byte 0: the form says that it has 4294967295 bytes, the file holds 4"},
        {"top header cut", form("SCEN123"), "byte 12: 7 bytes are left in QUAB, a chunk's header has 8"},
        {"nested header cut", scen("NAME1"), "byte 20: 5 bytes are left in SCEN, a chunk's header has 6"},
        {"container past the form", form(topSized("SCEN", 9, name(""))),
         "byte 12: SCEN has 9 bytes, 8 are left in QUAB"},
        {"unknown chunk of 4 GiB", form(topSized("A\x01\xff~", 0xffffffff, "")),
         "byte 12: A??~ has 4294967295 bytes, 0 are left in QUAB"},
        {"nested chunk past its parent", scen(nestedSized("PRPS", 11, intProp("", 0).substr(0, 10))),
         "byte 20: PRPS has 11 bytes, 10 are left in SCEN"},
        {"child past its parent, though not past the file",
         form(top("SCEN", nestedSized("WHAT", 1, "")) + top("BKDR", "")),
         "byte 20: WHAT has 1 bytes, 0 are left in SCEN"},
        {"good name past its parent", form(top("SCEN", nestedSized("NAME", 4, "")) + padded("sky")),
         "byte 20: NAME has 4 bytes, 0 are left in SCEN"},
        {"type too short", form(top("CGRP", nested("CHAN", nested("TYPE", "12")))),
         "byte 32: TYPE has 2 bytes, 4 are expected"},
        {"type too long", form(top("CGRP", nested("CHAN", nested("TYPE", "123456")))),
         "byte 32: TYPE has 6 bytes, 4 are expected"},
        {"run without its value", channel(nested("VRUN", be32(1))),
         "byte 38: VRUN has 4 bytes, 8 are expected"},
        {"run with two values", channel(nested("VRUN", be32(1) + beFloat(1) + beFloat(2))),
         "byte 38: VRUN has 12 bytes, 8 are expected"},
        {"data without a count", channel(nested("VDAT", "12")),
         "byte 38: VDAT has 2 bytes and says that it holds 0 values"},
        {"data with a value too many", channel(nested("VDAT", be32(1) + beFloat(1) + beFloat(2))),
         "byte 38: VDAT has 12 bytes and says that it holds 1 values"},
        {"data with a value too few", channel(nested("VDAT", be32(2) + beFloat(1))),
         "byte 38: VDAT has 8 bytes and says that it holds 2 values"},
        {"data with half a value", channel(nested("VDAT", be32(1) + beFloat(1) + "12")),
         "byte 38: VDAT has 10 bytes and says that it holds 1 values"},
        {"data whose count times four is zero in 32 bits", channel(nested("VDAT", be32(0x40000000))),
         "byte 38: VDAT has 4 bytes and says that it holds 1073741824 values"},
        {"name of 256 characters", scen(name(longText)), "byte 26" + tooLong},
        {"file name of 256 characters", scen(fnam(longText)), "byte 26" + tooLong},
        {"property name of 256 characters", scen(nested("PRPS", prop(1, longText, be32(1)))),
         "byte 36" + tooLong},
        {"property value of 256 characters", scen(nested("PRPS", stringProp("a", longText))),
         "byte 38" + tooLong},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Messages::texts().clear();
        EXPECT_EQ(walk(c.bytes), -1);
        ASSERT_EQ(Messages::texts().size(), 1u);
        EXPECT_EQ(Messages::texts()[0], "show.quab: damaged scene file, " + c.message);
    }
    EXPECT_EQ(lastFatal, 0);
}

TEST_F(ContainerTest, SizeErrorsAreFatal) {
    const auto prps = [](const std::string& body) { return scen(nested("PRPS", body)); };
    const std::string zero = be32(0);
    const struct {
        const char* what;
        std::string bytes;
        const char* reader;
        int read, expected;
    } cases[] = {
        {"name two too large", scen(nestedSized("NAME", 6, padded("sky") + "\0\0")), "read_name", 4, 6},
        {"name two too small", scen(nestedSized("NAME", 4, padded("skies"))), "read_name", 6, 4},
        {"name leaves its parent", scen(nestedSized("NAME", 60000, padded("sky"))), "read_name", 4, 60000},
        {"name without a body at the end of the file", scen(nested("NAME", "")), "read_name", 2, 0},
        {"name without its zero at the end", scen(nested("NAME", "sky1")), "read_name", 6, 4},
        {"name without its pad", scen(nested("NAME", std::string("skye\0", 5))), "read_name", 6, 5},
        {"file name", scen(nested("FNAM", padded("a.lwo") + "12")), "read_fnam", 6, 8},
        {"property of type 7", prps(prop(7, "a", zero)), "read_prop", 6, 10},
        {"property of type 0", prps(prop(0, "a", zero)), "read_prop", 6, 10},
        {"three floats where one is declared", prps(prop(2, "a", zero + zero + zero)), "read_prop", 10, 18},
        {"one float where three are declared", prps(prop(4, "a", zero)), "read_prop", 18, 10},
        {"integer pair cut", prps(prop(5, "ab", zero)), "read_prop", 16, 12},
        {"float pair cut", prps(prop(6, "ab", zero)), "read_prop", 16, 12},
        {"property without a body", prps(nested("PROP", "")), "read_prop", 6, 0},
        {"string value without its zero", prps(prop(3, "a", "xy")), "read_prop", 10, 8},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        lastFatal = 0;
        std::string errors;
        EXPECT_EQ(walk(c.bytes, &errors), -1);
        EXPECT_EQ(errors, std::string("Error: ") + c.reader + ": bytesread(" + std::to_string(c.read) +
                              ")  != nbytes expected(" + std::to_string(c.expected) + ")\n");
        EXPECT_EQ(lastFatal, 1);
    }
    EXPECT_EQ(Messages::texts().size(), 0u);
}

TEST_F(ContainerTest, WithoutAHandlerASizeErrorEndsTheProcess) {
    qbIffSetFatalHandler(nullptr);
    const Image image(scen(nested("NAME", "")));
    EXPECT_EXIT(qbIffReadFile(image.file()), testing::ExitedWithCode(1),
                "Error: read_name: bytesread\\(2\\)  != nbytes expected\\(0\\)");
}

TEST_F(ContainerTest, DeepGroupsAreCutAndTheRestIsRead) {
    const auto nest = [](int levels) {
        std::string group = name("leaf");
        for (int i = 1; i < levels; ++i)
            group = nested("CGRP", group);
        return form(top("CGRP", group) + top("BKDR", ""));
    };
    const struct {
        int levels;
        bool isLeafSeen;
    } cases[] = {{QB_GROUP_NESTING_MAX, true}, {QB_GROUP_NESTING_MAX + 1, false}, {10'000, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.levels);
        EXPECT_EQ(walk(nest(c.levels)), 0);
        ASSERT_EQ(seen.size(), static_cast<size_t>(QB_GROUP_NESTING_MAX) + 2);
        EXPECT_EQ(seen[QB_GROUP_NESTING_MAX].tag, c.isLeafSeen ? "NAME" : "CGRP");
        EXPECT_EQ(seen[QB_GROUP_NESTING_MAX].depth, QB_GROUP_NESTING_MAX);
        EXPECT_EQ(seen.back().tag, "BKDR");
    }
}

TEST_F(ContainerTest, TheCallbackSteersTheWalk) {
    const struct {
        uint32_t tag;
        int answer, result;
        const char* last;
    } cases[] = {{QB_TAG_VALS, QB_CHUNK_SKIP, 0, "VALS"}, {QB_TAG_CHAN, QB_CHUNK_STOP, -1, "CHAN"}};
    for (const auto& c : cases) {
        answeredTag = c.tag;
        answer = c.answer;
        EXPECT_EQ(walk(channel(nested("VRUN", "bad"))), c.result);
        EXPECT_EQ(seen.back().tag, c.last);
    }
    EXPECT_EQ(Messages::texts().size(), 0u);
}

TEST_F(ContainerTest, TheFormMayStandBehindOtherBytes) {
    const Image image("12345" + scen(name("sky")) + "behind");
    ASSERT_EQ(qbFileSeek(image.file(), 5, 0), 0);
    EXPECT_EQ(qbIffReadFile(image.file()), 0);
    EXPECT_EQ(qbFileTell(image.file()), 5 + 30);
    EXPECT_STREQ(qbIffString(image.file(), seen.back().position, seen.back().size), "sky");
}

TEST_F(ContainerTest, AccessorsKeepInsideTheBody) {
    const std::string body = be32(3) + padded("key") + be32(0x80000001) + beFloat(-2.5f);
    const Image image(padded("sky") + body);
    const QbFile* file = image.file();
    const auto size = static_cast<uint32_t>(body.size());

    EXPECT_STREQ(qbIffString(file, 0, 4), "sky");
    EXPECT_EQ(qbIffString(file, 0, 3), nullptr);
    EXPECT_EQ(qbIffString(file, 0, 0), nullptr);
    EXPECT_EQ(qbIffString(file, 0xffffffff, 4), nullptr);
    EXPECT_EQ(qbIffWord(file, 4), 3u);
    EXPECT_EQ(qbIffWord(file, 16), std::bit_cast<uint32_t>(-2.5f));
    EXPECT_EQ(qbIffWord(file, 17), 0u);
    EXPECT_EQ(qbIffWord(file, 0xfffffffe), 0u);
    EXPECT_EQ(qbIffFloat(file, 16), -2.5f);

    EXPECT_STREQ(qbIffPropName(file, 4, size), "key");
    EXPECT_EQ(qbIffPropName(file, 4, 7), nullptr);
    EXPECT_EQ(qbIffPropName(file, 4, 3), nullptr);
    EXPECT_EQ(qbIffPropInt(file, 4, size, 0), -2147483647);
    EXPECT_EQ(qbIffPropInt(file, 4, size, -1), 0);
    EXPECT_EQ(qbIffPropFloat(file, 4, size, 1), -2.5f);
    EXPECT_EQ(qbIffPropFloat(file, 4, size - 1, 1), 0.0f);
    EXPECT_EQ(qbIffPropFloat(file, 4, size, 2), 0.0f);
    EXPECT_EQ(qbIffPropInt(file, 4, 0xffffffff, 2147483647), 0);
    EXPECT_EQ(qbIffPropString(file, 4, 8), nullptr);
    EXPECT_EQ(qbIffPropString(file, 4, 9), nullptr);
}

TEST_F(ContainerTest, FilesOfTwoGigabytesAreRefused) {
    const TemporaryDirectory dir;
    dir.write("huge.quab", "FORM");
    std::filesystem::resize_file("huge.quab", uint64_t{1} << 31);
    EXPECT_EQ(qbIffLoad("huge.quab"), nullptr);
    ASSERT_EQ(Messages::texts().size(), 1u);
    EXPECT_EQ(Messages::texts()[0],
              "huge.quab: the file can not be read whole; a scene file has less than 2 GiB");
    EXPECT_EQ(qbIffLoad("absent.quab"), nullptr);
    EXPECT_EQ(Messages::texts().size(), 1u);
}
