#include "materials/shader_annotation.h"

#include "materials/shader_file.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

struct Outcome {
    QbIrrShader shader{};
    Texts messages;
    std::string out;
};

// What `outcome` holds already stays.
Outcome parse(const std::string& text, Outcome outcome, bool isPixelFile = false) {
    const Messages messages;
    testing::internal::CaptureStdout();
    EXPECT_EQ(parseShaderFile(&outcome.shader, "wave.fx", text.c_str(), isPixelFile), 0);
    outcome.out += testing::internal::GetCapturedStdout();
    outcome.messages = Messages::texts();
    return outcome;
}

Outcome parse(const std::string& text) {
    Outcome hlsl;
    hlsl.shader.highLevel = 1;
    return parse(text, hlsl);
}

std::string block(const std::string& lines) {
    return "//[QUAB_BEGIN]\n" + lines + "\n//[QUAB_END]\n";
}

// All that was understood. A variable: name, kind, values or automatic id, programs and first register.
std::string shown(const QbIrrShader& shader) {
    std::ostringstream out;
    if (*shader.vertexMain) out << "vertex " << shader.vertexMain << ' ';
    if (*shader.pixelMain) out << "pixel " << shader.pixelMain << ' ';
    if (shader.baseMaterial) out << "base " << shader.baseMaterial << ' ';
    if (shader.tangents) out << "tangents ";
    for (int i = 0; i < QB_SHADER_TEXTURES_MAX; ++i) {
        const QbShaderTexture& texture = shader.textures[i];
        if (texture.used) out << 't' << i << ' ' << texture.name << (texture.cube ? " cube " : " ");
    }
    for (int i = 0; i < shader.variableCount; ++i) {
        const QbShaderVariable& v = shader.variables[i];
        out << '[' << v.name << ' ' << v.kind << ' ';
        if (v.automatic)
            out << "auto " << v.automaticId;
        else
            out << v.value[0] << ',' << v.value[1] << ',' << v.value[2] << ',' << v.value[3];
        out << (v.toVertex ? " v" : "") << (v.toPixel ? " p" : "");
        if (v.firstRegister) out << " r" << v.firstRegister;
        out << "] ";
    }
    return out.str();
}

} // namespace

TEST(ShaderAnnotation, BlockBounds) {
    const std::string a = "//float a : 1;\n", b = "//float b : 2;\n", code(1'000'000, '/');
    const std::string begin = "/* [QUAB_BEGIN] */\n", end = "x[QUAB_END]x\n";
    const std::pair<std::string, int> cases[] = {
        {"//[quab_begin]\n" + a, 0},
        {code + "\n" + a + begin + b + end + begin + a, 1}, // one block counts
        {end + begin + a + b, 2},                           // and need not end
        {"//[QUAB_BEGIN][QUAB_END]\n" + a, 1},
        {"//[QUAB_BEGIN]\r\r\n\n//float a : 1;\r//float b : 2;", 2},
        {begin + "//float a : 1; [QUAB_END]\n" + b, 0},
    };
    for (const auto& [text, count] : cases)
        EXPECT_EQ(parse(text).shader.variableCount, count) << text.substr(0, 80);
}

TEST(ShaderAnnotation, PrintsThirtyTwoWordsALine) {
    std::string line, out = "[Shader:wave.fx] ";
    for (int i = 0; i < 31; ++i) {
        line += "w" + std::to_string(i) + " ";
        out += "[" + std::to_string(i) + ":w" + std::to_string(i) + "] ";
    }
    EXPECT_EQ(parse(block(line)).out, out + "\n");
    EXPECT_EQ(parse(block(line + "\t last : one; ")).out, out + "[31:last : one; ] \n");
    EXPECT_EQ(parse(block("//float BlurStart : 1.0; pixel; \n//\n\t/:;")).out,
              "[Shader:wave.fx] [0:float] [1:BlurStart] [2:1.0] [3:pixel] \n"
              "[Shader:wave.fx] \n[Shader:wave.fx] \n");
}

TEST(ShaderAnnotation, UnderstandsStatements) {
    const std::string tooFew = "ERROR: Shader Parse error for variable 'a' of type ";
    const std::string badIndex = ": the index must be 0 to 7; the line is left out";
    const struct {
        const char* lines;
        const char* wanted;
        std::string message = "";
    } cases[] = {
        {"//function vertexMain : VS;\n//FUNCTION PIXELMAIN PS B", "vertex VS pixel PS "},
        {"//function vertexMain\n//function geometryMain : GS", ""},
        {"//config baseMaterial : transparent_vertex_alpha", "base 15 "},
        {"//config baseMaterial : transparent_alpha_channel", "base 13 "},
        {"//Config BASEMATERIAL : Transparent;\n//config baseMaterial : solid", "base 13 "},
        {"//config baseMaterial : transparent_\n//config baseMaterial\n//config", ""},
        {"//config tangents : no", "tangents "},
        {"//texture 0 : Color\n//Texture 7 : sky.jpg; cube\n//texture 3 : a.png cubes\n//texture 1",
         "t0 Color t3 a.png t7 sky.jpg cube "},
        {"//texture 2 : x.png cube\n//texture 2 : y.png", "t2 y.png "},
        {"//texture 8 : a.png\n//texture 1 : b.png", "t1 b.png ", "wave.fx:2: texture 8" + badIndex},
        {"\n//texture 4294967296 : a.png", "", "wave.fx:3: texture 4294967296" + badIndex},
        {"\r\n\r//texture -1 : a.png", "", "wave.fx:4: texture -1" + badIndex},
        {"//FLOAT a : -2e1\n//float a : +.25f; pixel", "[a 0 -20,0,0,0 v] [a 0 0.25,0,0,0 p] "},
        {"//float a : 1,2; both\n//float a : nan; pixels", "[a 0 1,0,0,0 v p] [a 0 0,0,0,0 v] "},
        {"//float2 a : 0.8,0.7; x pixel\n//float2 a : 1,2,3", "[a 1 0.8,0.7,0,0 v] [a 1 1,2,0,0 v] "},
        {"//float3 a : ,1,,2,3,\n//float4 a : 1,2,3,4,5", "[a 2 1,2,3,0 v] [a 3 1,2,3,4 v] "},
        {"//FloatN a : 1,2,3,4,5,6", "[a 5 1,2,3,4 v] "},
        {"//float2 a : 0.8, pixel", "[a 1 0,0,0,0 p] ", tooFew + "float2\n"}, // the blank ends the value
        {"//float3 a : 1,2; pixel", "[a 2 0,0,0,0 p] ", tooFew + "float3\n"},
        {"//float4 a : 1,2,3", "[a 3 0,0,0,0 v] ", tooFew + "float4\n"},
        {"//floatN a : ,", "[a 5 0,0,0,0 v] ", tooFew + "floatN\n"},
        {"//float4x4 m : WORLD; both\n//float t : Time_0_X", "[m 4 auto 14 v p] [t 0 auto 0 v] "},
        {"//float a : Surface_IOR\n//float a : Surface_ColorHighlights\n//float a : Surface_VertexNormal",
         "[a 0 auto 65543 v] [a 0 auto 65558 v] [a 0 auto 65574 v] "},
        {"//float a : Surface_basecolor\n//float a : surface_BaseColor", "[a 0 0,0,0,0 v] [a 0 0,0,0,0 v] "},
        // What is not understood keeps an empty slot.
        {"//QUAB_PP:D:FOG://float fog : 1; pixel\n//two words\n//flaot a : 1; both\n//float b : 2",
         "[ 0 0,0,0,0] [ 0 0,0,0,0] [b 0 2,0,0,0 v] "},
    };
    for (const auto& c : cases) {
        const Outcome got = parse(block(c.lines));
        EXPECT_EQ(shown(got.shader), c.wanted) << c.lines;
        EXPECT_EQ(got.messages, c.message.empty() ? Texts() : Texts({c.message})) << c.lines;
    }
    const Outcome matrix = parse(block("//Float4x4 m : 1,0,0,0"));
    EXPECT_EQ(shown(matrix.shader), "[m 4 0,0,0,0 v] ");
    EXPECT_NE(matrix.out.find("ERROR: Shader Parse: Unsupported value '1,0,0,0' for variable 'm' of type "
                              "'Float4x4'\n"),
              std::string::npos);
}

TEST(ShaderAnnotation, AssemblerFilesGiveRegistersToTheirOwnProgram) {
    const Outcome vertex = parse(block("//float4x4 m : WorldViewProjection; 4\n//float a : 1"), {});
    EXPECT_NE(vertex.out.find("Missing register for Assembler shader!\n"), std::string::npos);
    const Outcome both =
        parse(block("//float b : 2; 255 pixel\n//float c : 1; 256\n//float d : 1; c3"), vertex, true);
    EXPECT_EQ(both.messages,
              Texts({"wave.fx:3: 'c': the register 256 must be 0 to 255; the variable is not sent"}));
    EXPECT_EQ(shown(both.shader),
              "[m 4 auto 6 v r4] [a 0 1,0,0,0] [b 0 2,0,0,0 p r255] [c 0 1,0,0,0] [d 0 1,0,0,0] ");
}

TEST(ShaderAnnotation, TwentyVariablesCoveredOnesIncluded) {
    std::string lines = "//QUAB_PP:D:X://float covered : 1\n";
    for (int i = 1; i < 20; ++i)
        lines += "//float v : 1\n";
    EXPECT_EQ(parse(block(lines)).messages, Texts());
    const Outcome over = parse(block(lines + "//float late : 1\n//texture 1 : a.png\n//flaot later : 1"));
    EXPECT_EQ(over.shader.variableCount, 20);
    EXPECT_EQ(over.shader.textures[1].used, 1U);
    const std::string why =
        "is one variable too many, 20 at most; every line counts that is no function, config or "
        "texture, conditional lines that stay covered too";
    EXPECT_EQ(over.messages, Texts({"wave.fx:22: 'float late' " + why}));
    EXPECT_NE(over.out.find("wave.fx:24: 'flaot later' " + why), std::string::npos) << "one message a file";
}

TEST(ShaderAnnotation, LengthsOfNamesAndLines) {
    const std::string begun = std::string(40, 'n') + "...' holds ";
    const struct {
        const char* start;
        size_t fits; // letters; one more is refused
        const char* end;
        std::string message;
    } cases[] = {
        {"//function vertexMain : ", 79, "",
         "the entry point '" + begun + "80 characters, 79 at most; the line is"},
        {"//function pixelMain : ", 79, "",
         "the entry point '" + begun + "80 characters, 79 at most; the line is"},
        {"//float ", 79, " : 1",
         "the name of the variable '" + begun + "80 characters, 79 at most; the line is"},
        {"//texture 1 : ", 127, "",
         "the texture name '" + begun + "128 characters, 127 at most; the line is"},
        {"//float a : 1;", 241, "", "the line holds 256 characters, 255 at most; it is"},
    };
    for (const auto& c : cases) {
        const std::string name(c.fits, 'n');
        const Outcome fits = parse(block(c.start + name + c.end)),
                      over = parse(block(c.start + name + "n" + c.end));
        EXPECT_EQ(fits.messages, Texts());
        EXPECT_NE(shown(fits.shader), "") << c.start;
        EXPECT_EQ(over.messages, Texts({"wave.fx:2: " + c.message + " left out"}));
        EXPECT_EQ(shown(over.shader).find('n'), std::string::npos) << c.start;
    }
}
