#include "materials/shader_annotation.h"

#include "materials/shader_file.h"
#include "materials/shader_preprocess.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

struct Outcome {
    QbIrrShader shader{};
    Texts messages;
    std::string out;
};

void parseInto(Outcome& outcome, const std::string& text, bool isPixelFile = false) {
    Messages messages;
    testing::internal::CaptureStdout();
    EXPECT_EQ(parseShaderFile(&outcome.shader, "wave.fx", text.c_str(), isPixelFile), 0);
    outcome.out += testing::internal::GetCapturedStdout();
    outcome.messages = Messages::texts();
}

Outcome parse(const std::string& text) {
    Outcome outcome;
    outcome.shader.highLevel = 1;
    parseInto(outcome, text);
    return outcome;
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
    const std::string a = "//float a : 1;\n", b = "//float b : 2;\n";
    const std::string begin = "/* [QUAB_BEGIN] */\n", end = "x[QUAB_END]x\n", code(1'000'000, '/');
    const struct {
        std::string text;
        int count;
    } cases[] = {
        {"", 0},
        {a, 0},
        {a + begin + b + end + a, 1},
        {begin + a + b, 2}, // never ends
        {end + begin + a, 1},
        {begin + a + end + begin + b, 1}, // one block counts
        {"//[QUAB_BEGIN][QUAB_END]\n" + a, 1},
        {"//[quab_begin]\n" + a, 0},
        {"//[QUAB_BEGIN]\r\r\n\n//float a : 1;\r//float b : 2;", 2},
        {begin + "//float a : 1; [QUAB_END]\n" + b, 0},
        {code + "\n" + begin + a + end + code, 1},
    };
    for (const auto& c : cases) {
        const Outcome got = parse(c.text);
        EXPECT_EQ(got.shader.variableCount, c.count) << c.text.substr(0, 80);
        EXPECT_EQ(got.messages, Texts());
    }
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
    const struct {
        const char* lines;
        std::string wanted;
        std::string message;
    } cases[] = {
        {"//function vertexMain : VS;\n//FUNCTION PIXELMAIN PS", "vertex VS pixel PS ", ""},
        {"//function vertexMain\n//function geometryMain : GS\n//function pixelMain : A B", "pixel A ", ""},
        {"//config baseMaterial : transparent_add_color", "base 12 ", ""},
        {"//config baseMaterial : transparent_vertex_alpha", "base 15 ", ""},
        {"//config baseMaterial : transparent_alpha_channel", "base 13 ", ""},
        {"//config baseMaterial : transparent_alpha_channel_ref", "base 14 ", ""},
        {"//config baseMaterial : onetexture_blend", "base 23 ", ""},
        {"//Config BASEMATERIAL : Transparent;", "base 13 ", ""},
        {"//config baseMaterial : transparent\n//config baseMaterial : solid", "base 13 ", ""},
        {"//config baseMaterial : transparent_\n//config baseMaterial\n//config", "", ""},
        {"//config tangents : no", "tangents ", ""},
        {"//texture 0 : Color\n//Texture 7 : sky.jpg cube\n//texture 3 : a.png cubes\n//texture 1",
         "t0 Color t3 a.png t7 sky.jpg cube ", ""},
        {"//texture 2 : x.png; cube\n//texture 2 : y.png", "t2 y.png ", ""},
        {"//FLOAT a : -2e1", "[a 0 -20,0,0,0 v] ", ""},
        {"//float a : +.25f; pixel", "[a 0 0.25,0,0,0 p] ", ""},
        {"//float a : 1,2; both", "[a 0 1,0,0,0 v p] ", ""},
        {"//float a : many; vertex", "[a 0 0,0,0,0 v] ", ""},
        {"//float a : nan; PIXEL", "[a 0 0,0,0,0 p] ", ""},
        {"//float a : 1e99; pixels", "[a 0 0,0,0,0 v] ", ""},
        {"//float2 a : 0.8,0.7; x pixel", "[a 1 0.8,0.7,0,0 v] ", ""},
        {"//float2 a : 1,2,3", "[a 1 1,2,0,0 v] ", ""},
        {"//float3 a : ,1,,2,3,", "[a 2 1,2,3,0 v] ", ""},
        {"//float4 a : 1,2,3,4,5", "[a 3 1,2,3,4 v] ", ""},
        {"//FloatN a : 1,2,3,4,5,6", "[a 5 1,2,3,4 v] ", ""},
        {"//float2 a : 0.8, pixel", "[a 1 0,0,0,0 p] ", tooFew + "float2\n"}, // the blank ends the value
        {"//float3 a : 1,2; pixel", "[a 2 0,0,0,0 p] ", tooFew + "float3\n"},
        {"//float4 a : 1,2,3", "[a 3 0,0,0,0 v] ", tooFew + "float4\n"},
        {"//floatN a : ,", "[a 5 0,0,0,0 v] ", tooFew + "floatN\n"},
        {"//Float4x4 m : 1,0,0,0", "[m 4 0,0,0,0 v] ", ""},
        {"//float4x4 m : WORLD; both", "[m 4 auto 14 v p] ", ""},
        {"//float t : Time_0_X\n//float t : zfarvalue", "[t 0 auto 0 v] [t 0 auto 17 v] ", ""},
        {"//float a : Surface_BaseColor\n//float a : Surface_IOR", "[a 0 auto 65536 v] [a 0 auto 65543 v] ",
         ""},
        {"//float a : Surface_ColorHighlights\n//float a : Surface_VertexNormal",
         "[a 0 auto 65558 v] [a 0 auto 65574 v] ", ""},
        {"//float a : Surface_basecolor\n//float a : surface_BaseColor", "[a 0 0,0,0,0 v] [a 0 0,0,0,0 v] ",
         ""},
        {"//float a : Surface_\n//float a : xSurface_Bump", "[a 0 0,0,0,0 v] [a 0 0,0,0,0 v] ", ""},
        // What is not understood keeps an empty slot.
        {"//QUAB_PP:D:FOG://float fog : 1; pixel\n//two words\n//flaot a : 1; both\n//float b : 2",
         "[ 0 0,0,0,0] [ 0 0,0,0,0] [b 0 2,0,0,0 v] ", ""},
        {"//texture 8 : a.png\n//texture 1 : b.png", "t1 b.png ",
         "wave.fx:2: texture 8: the index must be 0 to 7; the line is left out"},
        {"\n//texture 4294967296 : a.png", "",
         "wave.fx:3: texture 4294967296: the index must be 0 to 7; the line is left out"},
        {"\r\n\r//texture -1 : a.png", "",
         "wave.fx:4: texture -1: the index must be 0 to 7; the line is left out"},
    };
    for (const auto& c : cases) {
        const Outcome got = parse(block(c.lines));
        EXPECT_EQ(shown(got.shader), c.wanted) << c.lines;
        EXPECT_EQ(got.messages, c.message.empty() ? Texts() : Texts({c.message})) << c.lines;
    }
    EXPECT_NE(parse(block(cases[28].lines))
                  .out.find("ERROR: Shader Parse: Unsupported value '1,0,0,0' for variable 'm' of type "
                            "'Float4x4'\n"),
              std::string::npos);
}

TEST(ShaderAnnotation, AssemblerFilesGiveRegistersToTheirOwnProgram) {
    Outcome got;
    parseInto(got, block("//float4x4 m : WorldViewProjection; 4\n//float a : 1"));
    EXPECT_NE(got.out.find("Missing register for Assembler shader!\n"), std::string::npos);
    parseInto(got, block("//float b : 2; 255 pixel\n//float c : 1; 256\n//float d : 1; c3"), true);
    EXPECT_EQ(got.messages,
              Texts({"wave.fx:3: 'c': the register 256 must be 0 to 255; the variable is not sent"}));
    EXPECT_EQ(shown(got.shader),
              "[m 4 auto 6 v r4] [a 0 1,0,0,0] [b 0 2,0,0,0 p r255] [c 0 1,0,0,0] [d 0 1,0,0,0] ");
}

TEST(ShaderAnnotation, TwentyVariablesCoveredOnesIncluded) {
    std::string lines;
    for (int i = 0; i < 20; ++i)
        lines += i == 4 ? "//QUAB_PP:D:X://float covered : 1\n" : "//float v" + std::to_string(i) + " : 1\n";
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
    const struct {
        const char* start;
        size_t fits; // letters; one more is refused
        const char* end;
        const char* what;
    } cases[] = {
        {"//function vertexMain : ", 79, "", "entry point"},
        {"//function pixelMain : ", 79, "", "entry point"},
        {"//float ", 79, " : 1", "name of the variable"},
        {"//texture 1 : ", 127, "", "texture name"},
        {"//function ", 244, "", nullptr},
    };
    for (const auto& c : cases) {
        const std::string name(c.fits, 'n');
        const Outcome fits = parse(block(c.start + name + c.end)),
                      over = parse(block(c.start + name + "n" + c.end));
        EXPECT_EQ(fits.messages, Texts());
        EXPECT_EQ(shown(fits.shader).find(name) != std::string::npos, c.what != nullptr) << c.start;
        const std::string sizes = std::to_string(c.fits + 1) + " characters, " + std::to_string(c.fits);
        EXPECT_EQ(over.messages,
                  Texts({c.what ? "wave.fx:2: the " + std::string(c.what) + " '" + std::string(40, 'n') +
                                      "...' holds " + sizes + " at most; the line is left out"
                                : "wave.fx:2: the line holds 256 characters, 255 at most; it is left out"}));
        EXPECT_EQ(shown(over.shader).find('n'), std::string::npos) << c.start;
    }
}

// --- damaged texts --------------------------------------------------------------------------------------

static std::string damaged(std::mt19937& random) {
    static constexpr std::string_view pieces[] = {
        "//QUAB_PP:",  "D:", "U:", "[QUAB_BEGIN]", "[QUAB_END]", "texture", "float4", "floatN",
        "99999999999", ":",  "\n", "\r",           ",",          "-",       ""};
    std::string text =
        block("//function vertexMain : LightVS;\n//config baseMaterial : transparent_add_color\n"
              "//texture 0 : sky.jpg cube;\n//QUAB_PP:D:SPOT://float2 Angles : 0.8,0.7; pixel\n"
              "//QUAB_PP:U:DISTANT://float3 Place : 0,0,0; pixel\n//floatN N : 1,2,3,4,5,6\n"
              "//float4x4 M : WorldViewProjectionTranspose\n//float3 C : Surface_BaseColor; 7");
    for (size_t changes = 1 + random() % 6; changes > 0; --changes) {
        const size_t at = random() % text.size();
        const size_t kind = random() % 4;
        if (kind == 0) text[at] = static_cast<char>(random());
        if (kind == 1) text.insert(at, pieces[random() % std::size(pieces)]);
        if (kind == 2) text.insert(at, text.substr(random() % text.size(), random() % 300));
        if (kind == 3) text.insert(at, random() % 300, text[at]);
    }
    return text;
}

static bool isSound(const QbIrrShader& shader) {
    const auto isEnded = [](const auto& name) { return memchr(name, 0, sizeof name) != nullptr; };
    bool sound = shader.variableCount >= 0 && shader.variableCount <= QB_SHADER_VARIABLES_MAX &&
                 isEnded(shader.vertexMain) && isEnded(shader.pixelMain);
    for (const QbShaderTexture& texture : shader.textures)
        sound = sound && isEnded(texture.name);
    for (const QbShaderVariable& v : shader.variables)
        sound =
            sound && isEnded(v.name) && v.kind <= QB_SHADER_FLOATN && v.firstRegister < QB_SHADER_REGISTERS;
    return sound;
}

TEST(ShaderAnnotation, DamagedTextsLeaveASoundRecord) {
    std::mt19937 random(20);
    const char* const defines[] = {"SPOT", nullptr};
    const Messages messages;
    testing::internal::CaptureStdout();
    for (int i = 0; i < 20000; ++i) {
        std::string text = damaged(random);
        const size_t size = text.size();
        shaderPreprocess(text.data(), defines);
        ASSERT_EQ(text.size(), size);
        QbIrrShader shader{};
        shader.highLevel = i % 2 ? 1 : 0;
        parseShaderFile(&shader, "wave.fx", text.c_str(), i % 4 == 0);
        ASSERT_TRUE(isSound(shader)) << text;
    }
    testing::internal::GetCapturedStdout();
}
