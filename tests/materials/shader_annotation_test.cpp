#include "materials/shader_annotation.h"

#include "materials/shader_file.h"
#include "materials/shader_preprocess.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <array>
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

// What follows the words of the lines in the output.
bool logged(const Outcome& outcome, const std::string& text) {
    return outcome.out.find(text) != std::string::npos;
}

// --- the block ------------------------------------------------------------------------------------------

TEST(ShaderAnnotation, BlockBounds) {
    const std::string a = "//float a : 1;\n", b = "//float b : 2;\n";
    const std::string begin = "/* [QUAB_BEGIN] */\n", end = "x[QUAB_END]x\n";
    struct {
        std::string text;
        int count;
    } const cases[] = {
        {"", 0},
        {"\n\n", 0},
        {a, 0},
        {a + begin + b + end + a, 1},
        {begin + a + b, 2}, // never ends
        {end + begin + a, 1},
        {begin + a + end + begin + b, 1}, // one block counts
        {"//[QUAB_BEGIN][QUAB_END]\n" + a, 1},
        {"//[quab_begin]\n" + a, 0},
        {"//[QUAB_BEGIN]\r\r\n\n//float a : 1;\r//float b : 2;", 2},
        {begin + "//float a : 1; [QUAB_END]\n" + b, 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(parse(c.text).shader.variableCount, c.count) << c.text;
}

TEST(ShaderAnnotation, PrintsTheWordsOfEachLine) {
    const Outcome got = parse(block("//float BlurStart : 1.0; pixel; \n//\n\t/:;\n// two words"));
    EXPECT_EQ(got.out, "[Shader:wave.fx] [0:float] [1:BlurStart] [2:1.0] [3:pixel] \n"
                       "[Shader:wave.fx] \n[Shader:wave.fx] \n[Shader:wave.fx] [0:two] [1:words] \n");
    EXPECT_EQ(got.shader.variableCount, 1);
    EXPECT_EQ(got.messages, Texts());
}

TEST(ShaderAnnotation, TheLastWordTakesTheRestOfTheLine) {
    std::string line, out = "[Shader:wave.fx] ";
    for (int i = 0; i < 31; ++i) {
        line += "w" + std::to_string(i) + " ";
        out += "[" + std::to_string(i) + ":w" + std::to_string(i) + "] ";
    }
    EXPECT_EQ(parse(block(line)).out, out + "\n");
    EXPECT_EQ(parse(block(line + "\t last : one; ")).out, out + "[31:last : one; ] \n");
}

// --- function, config, texture --------------------------------------------------------------------------

TEST(ShaderAnnotation, Functions) {
    struct {
        const char *line, *vertexMain, *pixelMain;
    } const cases[] = {
        {"//function vertexMain : VS;", "VS", ""}, {"//FUNCTION PIXELMAIN PS", "", "PS"},
        {"//function vertexMain", "", ""},         {"//function geometryMain : GS", "", ""},
        {"//function vertexMain : A B", "A", ""},
    };
    for (const auto& c : cases) {
        const Outcome got = parse(block(c.line));
        EXPECT_STREQ(got.shader.vertexMain, c.vertexMain) << c.line;
        EXPECT_STREQ(got.shader.pixelMain, c.pixelMain) << c.line;
        EXPECT_EQ(got.shader.variableCount, 0) << c.line;
    }
}

TEST(ShaderAnnotation, Config) {
    struct {
        const char* line;
        uint32_t baseMaterial, tangents;
    } const cases[] = {
        {"//config baseMaterial : transparent_add_color", 12, 0},
        {"//config baseMaterial : transparent_vertex_alpha", 15, 0},
        {"//config baseMaterial : transparent_alpha_channel", 13, 0},
        {"//config baseMaterial : transparent_alpha_channel_ref", 14, 0},
        {"//config baseMaterial : onetexture_blend", 23, 0},
        {"//config baseMaterial : transparent", 13, 0},
        {"//Config BASEMATERIAL : Transparent;", 13, 0},
        {"//config baseMaterial : solid", 0, 0},
        {"//config baseMaterial : transparent\n//config baseMaterial : solid", 13, 0},
        {"//config baseMaterial : transparent_", 0, 0},
        {"//config baseMaterial", 0, 0},
        {"//config tangents", 0, 1},
        {"//config tangents : no", 0, 1},
        {"//config", 0, 0},
    };
    for (const auto& c : cases) {
        const Outcome got = parse(block(c.line));
        EXPECT_EQ(got.shader.baseMaterial, c.baseMaterial) << c.line;
        EXPECT_EQ(got.shader.tangents, c.tangents) << c.line;
        EXPECT_EQ(got.shader.variableCount, 0) << c.line;
    }
}

TEST(ShaderAnnotation, Textures) {
    const Outcome got =
        parse(block("//texture 0 : Color\n//Texture 7 : sky.jpg cube\n//texture 3 : a.png cubes\n"
                    "//texture 1\n//texture 2 : x.png; cube\n//texture 2 : y.png"));
    const auto& textures = got.shader.textures;
    EXPECT_STREQ(textures[0].name, "Color");
    EXPECT_EQ(textures[0].used, 1U);
    EXPECT_EQ(textures[0].cube, 0U);
    EXPECT_STREQ(textures[7].name, "sky.jpg");
    EXPECT_EQ(textures[7].cube, 1U);
    EXPECT_EQ(textures[3].cube, 0U);
    EXPECT_EQ(textures[1].used, 0U);
    EXPECT_STREQ(textures[2].name, "y.png");
    EXPECT_EQ(textures[2].cube, 0U); // the last statement counts
    EXPECT_EQ(got.shader.variableCount, 0);
    EXPECT_EQ(got.messages, Texts());
}

TEST(ShaderAnnotation, TextureIndexOutside) {
    for (const std::string index : {"8", "-1", "4294967296", "99999999999999999999", "sky.jpg"}) {
        const Outcome got = parse(block("//texture " + index + " : a.png\n//texture 1 : b.png"));
        EXPECT_EQ(got.messages, Texts({"wave.fx:2: texture " + index +
                                       ": the index must be 0 to 7; the line is left out"}));
        for (int i = 0; i < QB_SHADER_TEXTURES_MAX; ++i)
            EXPECT_EQ(got.shader.textures[i].used, i == 1 ? 1U : 0U);
    }
}

// --- variables ------------------------------------------------------------------------------------------

TEST(ShaderAnnotation, PlainValues) {
    struct {
        const char* line;
        uint32_t kind;
        std::array<float, 4> value;
    } const cases[] = {
        {"//float a : 1.5;", QB_SHADER_FLOAT, {1.5F}},
        {"//FLOAT a : -2e1", QB_SHADER_FLOAT, {-20}},
        {"//float a : +.25f", QB_SHADER_FLOAT, {0.25F}},
        {"//float a : 1,2", QB_SHADER_FLOAT, {1}},
        {"//float a : many", QB_SHADER_FLOAT, {0}},
        {"//float a : nan", QB_SHADER_FLOAT, {0}},
        {"//float a : 1e99", QB_SHADER_FLOAT, {0}},
        {"//float2 a : 0.8,0.7; pixel", QB_SHADER_FLOAT2, {0.8F, 0.7F}},
        {"//float2 a : 1,2,3", QB_SHADER_FLOAT2, {1, 2}},
        {"//float3 a : ,1,,2,3,", QB_SHADER_FLOAT3, {1, 2, 3}},
        {"//float4 a : 1,2,3,4,5", QB_SHADER_FLOAT4, {1, 2, 3, 4}},
        {"//FloatN a : 1", QB_SHADER_FLOATN, {1}},
        {"//floatN a : 1,2,3,4,5,6", QB_SHADER_FLOATN, {1, 2, 3, 4}},
    };
    for (const auto& c : cases) {
        const Outcome got = parse(block(c.line));
        ASSERT_EQ(got.shader.variableCount, 1) << c.line;
        const QbShaderVariable& variable = got.shader.variables[0];
        EXPECT_STREQ(variable.name, "a");
        EXPECT_EQ(variable.kind, c.kind) << c.line;
        EXPECT_EQ(variable.automatic, 0U);
        for (size_t i = 0; i < 4; ++i)
            EXPECT_EQ(variable.value[i], c.value[i]) << c.line << " " << i;
        EXPECT_EQ(variable.count, 0U);
        EXPECT_EQ(got.messages, Texts()) << c.line;
    }
}

TEST(ShaderAnnotation, VectorsWithTooFewNumbers) {
    struct {
        const char *line, *type;
        bool toPixel;
    } const cases[] = {
        {"//float2 a : 0.8, 0.7", "float2", false}, // the blank ends the value
        {"//float2 a : 0.8, pixel", "float2", true},   {"//float3 a : 1,2; pixel", "float3", true},
        {"//float4 a : 1,2,3; pixel", "float4", true}, {"//floatN a : ,; pixel", "floatN", true},
    };
    for (const auto& c : cases) {
        const Outcome got = parse(block(c.line));
        EXPECT_EQ(got.messages, Texts({std::string("ERROR: Shader Parse error for variable 'a' of type ") +
                                       c.type + "\n"}));
        ASSERT_EQ(got.shader.variableCount, 1);
        EXPECT_EQ(got.shader.variables[0].value[0], 0.0F) << c.line;
        EXPECT_EQ(got.shader.variables[0].toPixel, c.toPixel ? 1U : 0U) << c.line;
    }
}

TEST(ShaderAnnotation, MatricesHaveNoPlainValue) {
    const Outcome got = parse(block("//Float4x4 m : 1,0,0,0"));
    EXPECT_TRUE(logged(
        got, "ERROR: Shader Parse: Unsupported value '1,0,0,0' for variable 'm' of type 'Float4x4'\n"));
    EXPECT_EQ(got.messages, Texts());
    EXPECT_EQ(got.shader.variables[0].kind, static_cast<uint32_t>(QB_SHADER_FLOAT4X4));
    EXPECT_EQ(got.shader.variables[0].toVertex, 1U);
    EXPECT_EQ(got.shader.variables[0].toPixel, 0U);
}

TEST(ShaderAnnotation, Targets) {
    struct {
        const char* target;
        uint32_t toVertex, toPixel;
    } const cases[] = {{"", 1, 0},       {"pixel", 0, 1}, {"both", 1, 1},   {"vertex", 1, 0},
                       {"pixels", 1, 0}, {"PIXEL", 0, 1}, {"x pixel", 1, 0}};
    for (const auto& c : cases) {
        for (const std::string start : {"//float a : 1; ", "//float4x4 a : World; "}) {
            const Outcome got = parse(block(start + c.target));
            EXPECT_EQ(got.shader.variables[0].toVertex, c.toVertex) << start + c.target;
            EXPECT_EQ(got.shader.variables[0].toPixel, c.toPixel) << start + c.target;
        }
    }
}

// By id, from 0.
const char automaticNames[] =
    "Time0_X ViewProjection ViewProjectionTranspose View ViewTranspose ViewPosition WorldViewProjection "
    "WorldViewProjectionTranspose WorldView WorldViewTranspose WorldViewInverse WorldViewInverseTranspose "
    "WorldInverse WorldInverseTranspose World WorldTranspose FrustrumFarCorners ZFarValue PixelSize "
    "HalfPixelSize "
    "LightPos0 LightDir0 LightDiffuse0 LightAmbient0 LightPos1 LightDir1 LightDiffuse1 LightAmbient1";
// By slot, from 0.
const char surfaceParameters[] =
    "BaseColor Luminosity Diffuse Specularity Reflectivity Transparency Translucency IOR Bump Glossiness "
    "SpecialBuffer1 SpecialBuffer2 SpecialBuffer3 SpecialBuffer4 DiffuseSharpness BumpDropoff SmoothingAngle "
    "ReflectionSeamAngle RefractionSeamAngle ReflectionBlurring RefractionBlurring ColorFilter "
    "ColorHighlights "
    "AdditiveTransparency AlphaValue GlowValue LineColor LineSize AlphaOptions ReflectionOptions "
    "RefractionOptions Sidedness ExcludeFromVStack Glow RenderOutlines ReflectionImage RefractionImage "
    "VertexColoring VertexNormal";

TEST(ShaderAnnotation, AutomaticNames) {
    const auto idOf = [](const std::string& name) {
        const Outcome got = parse(block("//float a : " + name));
        EXPECT_EQ(got.shader.variables[0].automatic, 1U) << name;
        return got.shader.variables[0].automaticId;
    };
    const auto expectInOrder = [&idOf](const char* names, const std::string& prefix, uint32_t first,
                                       uint32_t end) {
        std::istringstream words(names);
        for (std::string name; words >> name; ++first)
            EXPECT_EQ(idOf(prefix + name), first) << name;
        EXPECT_EQ(first, end);
    };
    expectInOrder(automaticNames, "", 0, 28);
    expectInOrder(surfaceParameters, "Surface_", 0x10000, 0x10027);
    EXPECT_EQ(idOf("Time_0_X"), 0U);
    EXPECT_EQ(idOf("WORLDVIEW"), 8U);
    EXPECT_EQ(idOf("zfarvalue"), 17U);
}

TEST(ShaderAnnotation, OtherWordsAreThePlainValueZero) {
    for (const char* name : {"Surface_", "Surface_Color", "Surface_basecolor", "surface_BaseColor",
                             "LightPos2", "ProjectionView", "xSurface_Bump", "Surface_Bump2"}) {
        const Outcome got = parse(block(std::string("//float a : ") + name));
        EXPECT_EQ(got.shader.variables[0].automatic, 0U) << name;
        EXPECT_EQ(got.shader.variables[0].value[0], 0.0F) << name;
        EXPECT_EQ(got.messages, Texts());
    }
}

TEST(ShaderAnnotation, UnknownStatementsKeepAnEmptySlot) {
    const Outcome got =
        parse(block("//QUAB_PP:D:FOG://float fog : 1; pixel\n//flaot a : 1; both\n//two words\n"
                    "//a remark of some length\n//float b : 2; pixel"));
    ASSERT_EQ(got.shader.variableCount, 4);
    for (int i = 0; i < 3; ++i) {
        const QbShaderVariable& slot = got.shader.variables[i];
        EXPECT_STREQ(slot.name, "");
        EXPECT_EQ(slot.toVertex + slot.toPixel, 0U);
    }
    EXPECT_STREQ(got.shader.variables[3].name, "b");
    EXPECT_EQ(got.messages, Texts());
}

TEST(ShaderAnnotation, AssemblerPair) {
    Outcome got;
    parseInto(got, block("//float4x4 m : WorldViewProjection; 4\n//float a : 1\n//texture 0 : Color"));
    EXPECT_TRUE(logged(got, "Missing register for Assembler shader!\n"));
    parseInto(got,
              block("//float b : 2; 255 pixel\n//float c : 1; 256\n//float d : 1; c3\n//texture 1 : Bump"),
              true);
    EXPECT_EQ(got.messages,
              Texts({"wave.fx:3: 'c': the register 256 must be 0 to 255; the variable is not sent"}));
    EXPECT_TRUE(logged(got, "wave.fx:4: 'd': the register c3 must be 0 to 255; the variable is not sent\n"));
    const struct {
        const char* name;
        uint32_t toVertex, toPixel, firstRegister;
    } expected[] = {{"m", 1, 0, 4}, {"a", 0, 0, 0}, {"b", 0, 1, 255}, {"c", 0, 0, 0}, {"d", 0, 0, 0}};
    ASSERT_EQ(got.shader.variableCount, 5);
    for (int i = 0; i < 5; ++i) {
        const QbShaderVariable& variable = got.shader.variables[i];
        EXPECT_STREQ(variable.name, expected[i].name);
        EXPECT_EQ(variable.toVertex, expected[i].toVertex) << i;
        EXPECT_EQ(variable.toPixel, expected[i].toPixel) << i;
        EXPECT_EQ(variable.firstRegister, expected[i].firstRegister) << i;
    }
    EXPECT_EQ(got.shader.textures[0].used + got.shader.textures[1].used, 2U);
}

// --- limits ---------------------------------------------------------------------------------------------

TEST(ShaderAnnotation, TwentyVariables) {
    std::string lines;
    for (int i = 0; i < 20; ++i)
        lines += i == 4 ? "//QUAB_PP:D:X://float covered : 1\n" : "//float v" + std::to_string(i) + " : 1\n";
    const Outcome full = parse(block(lines));
    EXPECT_EQ(full.shader.variableCount, 20);
    EXPECT_EQ(full.messages, Texts());

    const Outcome over = parse(block(lines + "//float late : 1\n//texture 1 : a.png\n//flaot later : 1"));
    EXPECT_EQ(over.shader.variableCount, 20);
    EXPECT_EQ(over.shader.textures[1].used, 1U);
    const std::string why =
        "is one variable too many, 20 at most; every line counts that is no function, config or "
        "texture, conditional lines that stay covered too";
    EXPECT_EQ(over.messages, Texts({"wave.fx:22: 'float late' " + why}));
    EXPECT_TRUE(logged(over, "wave.fx:24: 'flaot later' " + why + "\n")); // one message a file
}

TEST(ShaderAnnotation, LengthsOfNamesAndLines) {
    const std::string n79(79, 'n'), n80(80, 'n'), n127(127, 't'), n128(128, 't');
    const auto refused = [](const std::string& what, char letter, int length, int most) {
        return Texts({"wave.fx:2: the " + what + " '" + std::string(40, letter) + "...' holds " +
                      std::to_string(length) + " characters, " + std::to_string(most) +
                      " at most; the line is left out"});
    };
    const struct {
        std::string fits, over;
        Texts message;
    } cases[] = {
        {"//function vertexMain : " + n79, "//function vertexMain : " + n80,
         refused("entry point", 'n', 80, 79)},
        {"//function pixelMain : " + n79, "//function pixelMain : " + n80,
         refused("entry point", 'n', 80, 79)},
        {"//float " + n79 + " : 1", "//float " + n80 + " : 1", refused("name of the variable", 'n', 80, 79)},
        {"//texture 1 : " + n127, "//texture 1 : " + n128, refused("texture name", 't', 128, 127)},
        {"//function vertexMain VS" + std::string(231, ' '),
         "//function vertexMain VS" + std::string(232, ' '),
         {"wave.fx:2: the line holds 256 characters, 255 at most; it is left out"}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(parse(block(c.fits)).messages, Texts()) << c.fits;
        EXPECT_EQ(parse(block(c.over)).messages, c.message);
        const Outcome got = parse(block(c.over + "\n//float next : 1"));
        EXPECT_STREQ(got.shader.vertexMain, "");
        EXPECT_STREQ(got.shader.pixelMain, "");
        EXPECT_EQ(got.shader.textures[1].used, 0U);
        EXPECT_EQ(qbShaderVariableFind(&got.shader, "next"), got.shader.variableCount - 1);
    }
    EXPECT_EQ(n79, parse(block(cases[0].fits)).shader.vertexMain);
    EXPECT_EQ(n79, parse(block(cases[2].fits)).shader.variables[0].name);
    EXPECT_EQ(n127, parse(block(cases[3].fits)).shader.textures[1].name);
}

TEST(ShaderAnnotation, LinesOutsideTheBlockMayBeLong) {
    const std::string code(1'000'000, '/');
    const Outcome got = parse(code + "\n" + block("//float a : 1") + code);
    EXPECT_EQ(got.shader.variableCount, 1);
    EXPECT_EQ(got.messages, Texts());
}

TEST(ShaderAnnotation, MessagesNameTheLineOfTheFile) {
    // Line ends of all kinds, empty lines, and a line that was uncovered.
    std::string text = "a\r\n\r\nb\n\nc\r//[QUAB_BEGIN]\n//QUAB_PP:U:FOG://texture 9 : x.png\n";
    const char* const none[] = {nullptr};
    testing::internal::CaptureStdout();
    ASSERT_EQ(shaderPreprocess(text.data(), none), 0);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(parse(text).messages,
              Texts({"wave.fx:7: texture 9: the index must be 0 to 7; the line is left out"}));
}

// --- damaged texts --------------------------------------------------------------------------------------

const char lightShader[] = R"(//[QUAB_BEGIN]
//function vertexMain : LightVS;
//function pixelMain : LightPS;
//config baseMaterial : transparent_add_color;
//config tangents
//texture 0 : sky.jpg cube;
//texture 1 : Bump;
//QUAB_PP:D:SPOTLIGHT://float2 SpotlightAngles : 0.8,0.7; pixel;
//QUAB_PP:U:DISTANT://float3 LightPosition : 0,0,0; pixel;
//QUAB_PP:U:DISTANT://float InvLightRadiusSqr : 0.01; pixel;
//float3 LightColor : 1,1,1; pixel;
//float4x4 WorldViewProjection : WorldViewProjectionTranspose;
//floatN Samples : 1,2,3,4,5,6;
//float3 Color : Surface_BaseColor; both;
//[QUAB_END]
//QUAB_PP:D:SPOTLIGHT: #define USE_SPOT
float4 LightPS(float2 uv : TEXCOORD0) : COLOR0 { return float4(LightColor, 1); }
)";

std::string mutated(std::mt19937& random) {
    static constexpr std::string_view pieces[] = {
        "//QUAB_PP:",  "D:", "U:", "[QUAB_BEGIN]", "[QUAB_END]", "texture", "float4", "floatN",
        "99999999999", ":",  "\n", "\r",           ",",          "-",       ""};
    const auto below = [&random](size_t n) {
        return std::uniform_int_distribution<size_t>(0, n - 1)(random);
    };
    std::string text = lightShader;
    for (size_t changes = 1 + below(6); changes > 0; --changes) {
        const size_t at = below(text.size());
        switch (below(5)) {
        case 0:
            text[at] = static_cast<char>(below(256));
            break;
        case 1:
            text.insert(at, pieces[below(std::size(pieces))]);
            break;
        case 2:
            text.erase(at, below(40));
            break;
        case 3:
            text.insert(at, text.substr(below(text.size()), below(300)));
            break;
        default:
            text.insert(at, below(300), text[at]);
            break;
        }
        if (text.empty()) text = "/";
    }
    return text;
}

template <size_t Size>
bool isEnded(const char (&name)[Size]) {
    return std::string_view(name, Size).find('\0') != std::string_view::npos;
}

bool isSound(const QbIrrShader& shader) {
    if (shader.variableCount < 0 || shader.variableCount > QB_SHADER_VARIABLES_MAX) return false;
    bool sound = isEnded(shader.vertexMain) && isEnded(shader.pixelMain);
    for (const QbShaderTexture& texture : shader.textures)
        sound = sound && isEnded(texture.name) && texture.used <= 1;
    for (const QbShaderVariable& v : shader.variables) {
        const bool known =
            v.automaticId <= QB_SHADER_LIGHT_AMBIENT1 ||
            (v.automaticId >= QB_SHADER_SURFACE_BASE && v.automaticId < QB_SHADER_SURFACE_BASE + 39);
        sound = sound && isEnded(v.name) && v.kind <= QB_SHADER_FLOATN && known && v.count == 0 &&
                v.firstRegister < QB_SHADER_REGISTERS;
    }
    return sound;
}

TEST(ShaderAnnotation, DamagedTexts) {
    std::mt19937 random(20);
    const char* const defines[] = {"SPOTLIGHT", nullptr};
    for (int batch = 0; batch < 20; ++batch) {
        Messages messages;
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        for (int i = 0; i < 1000; ++i) {
            std::string text = mutated(random);
            const size_t size = text.size();
            shaderPreprocess(text.data(), defines);
            ASSERT_EQ(text.size(), size);
            QbIrrShader shader{};
            shader.highLevel = i % 2 ? 1 : 0;
            parseShaderFile(&shader, "wave.fx", text.c_str(), i % 4 == 0);
            ASSERT_TRUE(isSound(shader)) << text;
        }
        testing::internal::GetCapturedStdout();
        testing::internal::GetCapturedStderr();
    }
}

} // namespace
