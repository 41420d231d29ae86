#include "materials/shader_preprocess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using Names = std::vector<const char*>;

struct Outcome {
    int result;
    std::string text, out;
};

Outcome run(std::string text, const Names& names) {
    Names defines = names;
    defines.push_back(nullptr);
    testing::internal::CaptureStdout();
    const int result = shaderPreprocess(text.data(), defines.data());
    return {result, text, testing::internal::GetCapturedStdout()};
}

std::string blanks(const std::string& covered) {
    return std::string(covered.size(), ' ');
}

TEST(ShaderPreprocess, UncoversByNameAndCommand) {
    struct {
        const char* covered; // up to the colon behind the name
        Names defines;
        bool uncovered;
    } const cases[] = {
        {"//QUAB_PP:D:FOG:", {"FOG"}, true},   {"//QUAB_PP:D:FOG:", {"TEX", "FOG"}, true},
        {"//QUAB_PP:D:FOG:", {}, false},       {"//QUAB_PP:D:FOG:", {"FOGGY"}, false},
        {"//QUAB_PP:D:FOG:", {"FO"}, false},   {"//QUAB_PP:D:FOG:", {"fog"}, false},
        {"//QUAB_PP:D: FOG:", {"FOG"}, false}, // a blank belongs to the name
        {"//QUAB_PP:D: FOG:", {" FOG"}, true}, {"//QUAB_PP:U:FOG:", {"FOG"}, false},
        {"//QUAB_PP:U:FOG:", {}, true},        {"//QUAB_PP:U:FOG:", {"fog"}, true},
        {"//QUAB_PP:U::", {}, true},           {"//QUAB_PP:D::", {""}, true},
    };
    for (const auto& c : cases) {
        const std::string covered = c.covered;
        const std::string tail = "//float a : 1; pixel\nlast";
        const Outcome got = run("x\n y " + covered + tail, c.defines);
        EXPECT_EQ(got.result, 0);
        EXPECT_EQ(got.text, "x\n y " + (c.uncovered ? blanks(covered) : covered) + tail) << covered;
    }
}

TEST(ShaderPreprocess, EachMarkerOfALineCountsForItself) {
    const Outcome got = run("//QUAB_PP:D:A://QUAB_PP:D:B:b //QUAB_PP:U:B:c\r\n//QUAB_PP:U:B:", {"A"});
    EXPECT_EQ(got.text, blanks("//QUAB_PP:D:A:") + "//QUAB_PP:D:B:b " + blanks("//QUAB_PP:U:B:") + "c\r\n" +
                            blanks("//QUAB_PP:U:B:"));
}

TEST(ShaderPreprocess, NoListLeavesAllAlone) {
    std::string text = "//QUAB_PP:U:FOG:a //QUAB_PP:x";
    const std::string before = text;
    testing::internal::CaptureStdout();
    EXPECT_EQ(shaderPreprocess(text.data(), nullptr), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(text, before);
}

TEST(ShaderPreprocess, PrintsItsDefines) {
    EXPECT_EQ(run("", {}).out, "\n[ShaderPP]:\n");
    EXPECT_EQ(run("", {"TEX_NORM", "DOF"}).out, "\n[ShaderPP]:TEX_NORM DOF \n");
}

TEST(ShaderPreprocess, RefusesBrokenMarkers) {
    const std::string notDu = "!! ERROR: bad preprocessor is not D nor U at offset ";
    const std::string noEnd = "!! ERROR: bad preprocessor missing end of def at offset ";
    struct {
        const char* text;
        std::string message;
    } const cases[] = {
        {"//QUAB_PP:", notDu + "10 (line 1)\n"},
        {"//QUAB_PP:D", notDu + "10 (line 1)\n"},
        {"//QUAB_PP:d:FOG:", notDu + "10 (line 1)\n"},
        {"//QUAB_PP:DU:FOG:", notDu + "10 (line 1)\n"},
        {"a\n\n//QUAB_PP::FOG:", notDu + "13 (line 3)\n"},
        {"//QUAB_PP:D:", noEnd + "12 (line 1)\n"},
        {"//QUAB_PP:D:FOG", noEnd + "15 (line 1)\n"},
        {"//QUAB_PP:U:FOG\n:", noEnd + "15 (line 1)\n"},
        {"\n//QUAB_PP:U:FOG\r\n:", noEnd + "16 (line 2)\n"},
    };
    for (const auto& c : cases) {
        const Outcome got = run(c.text, {"FOG"});
        EXPECT_EQ(got.result, -1) << c.text;
        EXPECT_EQ(got.out, "\n[ShaderPP]:FOG \n" + c.message) << c.text;
        EXPECT_EQ(got.text, c.text);
    }
}

TEST(ShaderPreprocess, KeepsLengthAndLineEndsOfLargeTexts) {
    std::string text;
    for (int i = 0; i < 40'000; ++i)
        text += i % 2 ? "//QUAB_PP:D:FOG:x\n" : "///////////QUAB_PP:U:FOG:y\r\n";
    const Outcome got = run(text, {"FOG"});
    ASSERT_EQ(got.text.size(), text.size());
    EXPECT_EQ(std::count(got.text.begin(), got.text.end(), '\n'), 40'000);
    for (size_t i = 0; i < text.size(); ++i)
        ASSERT_TRUE(got.text[i] == text[i] || got.text[i] == ' ') << i;
}

} // namespace
