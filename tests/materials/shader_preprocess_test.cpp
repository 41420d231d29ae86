#include "materials/shader_preprocess.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Names = std::vector<const char*>;

// Lines as they should become, a marker that goes written with '~' for each of its blanks.
TEST(ShaderPreprocess, UncoversMarkersByNameAndCommand) {
    const struct {
        Names defines;
        std::string text;
        const char* wanted; // null: as it is
        std::string error = "";
    } cases[] = {
        {{"TEX", "FOG"}, "x\n y //QUAB_PP:D:FOG:a; b", "x\n y ~~~~~~~~~~~~~~~~a; b"},
        {{"FOGGY", "FO", "fog"}, "//QUAB_PP:D:FOG:a", nullptr},
        {{"FOG"}, "//QUAB_PP:D: FOG:a", nullptr}, // a blank belongs to the name
        {{"FOG"}, "//QUAB_PP:U:FOG:a", nullptr},
        {{"fog"}, "//QUAB_PP:U:FOG:a", "~~~~~~~~~~~~~~~~a"},
        {{}, "//QUAB_PP:U::", "~~~~~~~~~~~~~"},
        {{"A"},
         "//QUAB_PP:D:A://QUAB_PP:D:B:b //QUAB_PP:U:B:c\r\n//QUAB_PP:U:B:",
         "~~~~~~~~~~~~~~//QUAB_PP:D:B:b ~~~~~~~~~~~~~~c\r\n~~~~~~~~~~~~~~"},
        {{}, "//QUAB_PP:", nullptr, "is not D nor U at offset 10 (line 1)"},
        {{"FOG"}, "a\n\n//QUAB_PP:d:FOG:", nullptr, "is not D nor U at offset 13 (line 3)"},
        {{"FOG"}, "//QUAB_PP:D:FOG", nullptr, "missing end of def at offset 15 (line 1)"},
        {{}, "\n//QUAB_PP:U:FOG\r\n:", nullptr, "missing end of def at offset 16 (line 2)"},
    };
    for (const auto& c : cases) {
        std::string text = c.text, wanted = c.wanted ? c.wanted : c.text, out = "\n[ShaderPP]:";
        for (char& letter : wanted)
            if (letter == '~') letter = ' ';
        Names defines = c.defines;
        for (const char* name : defines)
            out += name + std::string(" ");
        defines.push_back(nullptr);
        out += c.error.empty() ? "\n" : "\n!! ERROR: bad preprocessor " + c.error + "\n";
        testing::internal::CaptureStdout();
        EXPECT_EQ(shaderPreprocess(text.data(), defines.data()), c.error.empty() ? 0 : -1) << c.text;
        EXPECT_EQ(testing::internal::GetCapturedStdout(), out);
        EXPECT_EQ(text, wanted);
    }
}
