// Every variant of the built-in shaders: its annotations say what the renderer counts on, and its two
// programs use exactly the constants and samplers that the annotations and the material layers supply.
#include "engine/hlsl.h"
#include "materials/shader_file.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace {
using Names = std::vector<std::string>;

struct Variant {
    std::string file;
    Names defines;
    bool preprocessed = true; // false: no define list at all
};

struct File {
    const char* name;
    const char* vertexMain;
    const char* pixelMain;
    uint32_t baseMaterial;
};

const File FILES[] = {
    {"LppDepthClear.hlsl", "VS", "PS", QB_BASE_SOLID},
    {"LppDepthPass.hlsl", "VertexShaderFunction", "PixelShaderFunction", QB_BASE_SOLID},
    {"LppLightClear.hlsl", "VS", "PS", QB_BASE_SOLID},
    {"LppLightPass.hlsl", "LightVS", "LightPS", QB_BASE_TRANSPARENT_ADD_COLOR},
    {"LppFinalPass.hlsl", "VertexShaderFunction", "PixelShaderFunction", QB_BASE_SOLID},
    {"GlowAlphaMul.hlsl", "VSfunc", "PSfunc", QB_BASE_SOLID},
    {"GlowHVBlur.hlsl", "VSfunc", "PSfunc", QB_BASE_SOLID},
    {"GlowHBlur.hlsl", "VSfunc", "PSfunc", QB_BASE_SOLID},
    {"GlowVBlur.hlsl", "VSfunc", "PSfunc", QB_BASE_SOLID},
    {"GlowCompose.hlsl", "VSfunc", "PSfunc", QB_BASE_TRANSPARENT_ADD_COLOR},
    {"BlurExtraBuf.hlsl", "VSfunc", "PSfunc", QB_BASE_SOLID},
    {"gaussianblur.hlsl", "vertexMain", "pixelMain", QB_BASE_TRANSPARENT_ALPHA_CHANNEL},
    {"radialblur.hlsl", "vertexMain", "pixelMain", QB_BASE_TRANSPARENT_ALPHA_CHANNEL},
};

// A constant and the one program that reads it.
struct Constant {
    const char* file;
    const char* when; // "": always; "+X": with the define X; "-X": without it
    const char* name;
    uint32_t kind;
    int automatic; // PLAIN: the floats behind it
    char target;   // 'v' or 'p'
    std::vector<float> value = {};
};

constexpr int PLAIN = -1;
constexpr int surfaceValue(int index) {
    return QB_SHADER_SURFACE_BASE + index;
}

const Constant CONSTANTS[] = {
    {"LppDepthPass.hlsl", "", "WorldViewProjection", QB_SHADER_FLOAT4X4, 7, 'v'},
    {"LppDepthPass.hlsl", "", "WorldView", QB_SHADER_FLOAT4X4, 9, 'v'},
    {"LppDepthPass.hlsl", "", "fDepthFactor", QB_SHADER_FLOAT, 17, 'p'},
    {"LppDepthPass.hlsl", "+TEX_NORM", "fBumpiness", QB_SHADER_FLOAT, surfaceValue(8), 'p'},
    {"LppDepthPass.hlsl", "-TEX_SPEC", "fSpecular", QB_SHADER_FLOAT, surfaceValue(3), 'p'},
    {"LppDepthPass.hlsl", "-TEX_GLOS", "fGlossiness", QB_SHADER_FLOAT, surfaceValue(9), 'p'},
    {"LppDepthPass.hlsl", "+DOF", "d_far", QB_SHADER_FLOAT, PLAIN, 'p', {1000}},
    {"LppDepthPass.hlsl", "+DOF", "d_focus", QB_SHADER_FLOAT, PLAIN, 'p', {360}},
    {"LppDepthPass.hlsl", "+DOF", "d_near", QB_SHADER_FLOAT, PLAIN, 'p', {80}},
    {"LppDepthPass.hlsl", "+DOF", "far_clamp", QB_SHADER_FLOAT, PLAIN, 'p', {1}},

    {"LppLightPass.hlsl", "+DISTANT", "LightDirection", QB_SHADER_FLOAT3, PLAIN, 'p', {0, 0, 0}},
    {"LppLightPass.hlsl", "+SPOTLIGHT", "LightDirection", QB_SHADER_FLOAT3, PLAIN, 'p', {0, 0, 0}},
    {"LppLightPass.hlsl", "-DISTANT", "LightPosition", QB_SHADER_FLOAT3, PLAIN, 'p', {0, 0, 0}},
    {"LppLightPass.hlsl", "-DISTANT", "InvLightRadiusSqr", QB_SHADER_FLOAT, PLAIN, 'p', {0.01f}},
    {"LppLightPass.hlsl", "+SPOTLIGHT", "SpotlightAngles", QB_SHADER_FLOAT2, PLAIN, 'p', {0.8f, 0.7f}},
    {"LppLightPass.hlsl", "", "LightColor", QB_SHADER_FLOAT3, PLAIN, 'p', {1, 1, 1}},
    {"LppLightPass.hlsl", "", "GBufferPixelSize", QB_SHADER_FLOAT2, 18, 'v'},
    {"LppLightPass.hlsl", "", "FrustumCorners", QB_SHADER_FLOATN, 16, 'v'},
    {"LppLightPass.hlsl", "", "fDepthFactor", QB_SHADER_FLOAT, 17, 'p'},

    {"LppFinalPass.hlsl", "", "WorldViewProjection", QB_SHADER_FLOAT4X4, 7, 'v'},
    {"LppFinalPass.hlsl", "", "Ambient", QB_SHADER_FLOAT4, 23, 'p'},
    {"LppFinalPass.hlsl", "", "Glow", QB_SHADER_FLOAT, surfaceValue(25), 'p'},
    {"LppFinalPass.hlsl", "", "LightBufferPixelSize", QB_SHADER_FLOAT2, 18, 'p'},
    {"LppFinalPass.hlsl", "-TEX_COLOR", "Color", QB_SHADER_FLOAT3, surfaceValue(0), 'p'},
    {"LppFinalPass.hlsl", "-TEX_LUMINOSITY", "Luminosity", QB_SHADER_FLOAT, surfaceValue(1), 'p'},
    {"LppFinalPass.hlsl", "-TEX_DIFFUSE", "Diffuse", QB_SHADER_FLOAT, surfaceValue(2), 'p'},
    {"LppFinalPass.hlsl", "+TEX_REFLECIMG", "view_position", QB_SHADER_FLOAT4, 5, 'v'},
    {"LppFinalPass.hlsl", "+TEX_REFLECIMG", "World", QB_SHADER_FLOAT4X4, 15, 'v'},
    {"LppFinalPass.hlsl", "+TEX_REFLECIMG", "Reflectivity", QB_SHADER_FLOAT, surfaceValue(4), 'p'},
    {"LppFinalPass.hlsl", "+TEX_REFLECIMG", "ReflectionSeamAngle", QB_SHADER_FLOAT, surfaceValue(17), 'p'},
    {"LppFinalPass.hlsl", "+TEX_NORMAL", "fBumpiness", QB_SHADER_FLOAT, surfaceValue(8), 'p'},

    {"GlowAlphaMul.hlsl", "", "HalfPixelSize", QB_SHADER_FLOAT2, 19, 'v'},
    {"GlowHVBlur.hlsl", "", "HalfPixelSize", QB_SHADER_FLOAT2, 19, 'v'},
    {"GlowHVBlur.hlsl", "", "sampleDist1", QB_SHADER_FLOAT, PLAIN, 'p', {0.0198f}},
    {"GlowHBlur.hlsl", "", "HalfPixelSize", QB_SHADER_FLOAT2, 19, 'v'},
    {"GlowHBlur.hlsl", "", "sampleDist1", QB_SHADER_FLOAT, PLAIN, 'p', {0.0198f}},
    {"GlowVBlur.hlsl", "", "HalfPixelSize", QB_SHADER_FLOAT2, 19, 'v'},
    {"GlowVBlur.hlsl", "", "sampleDist1", QB_SHADER_FLOAT, PLAIN, 'p', {0.0198f}},
    {"GlowCompose.hlsl", "", "HalfPixelSize", QB_SHADER_FLOAT2, 19, 'v'},
    {"GlowCompose.hlsl", "", "GlowIntensity", QB_SHADER_FLOAT, PLAIN, 'p', {0.5f}},

    {"BlurExtraBuf.hlsl", "", "HalfPixelSize", QB_SHADER_FLOAT2, 19, 'v'},
    {"BlurExtraBuf.hlsl", "", "sampleDist1", QB_SHADER_FLOAT, PLAIN, 'p', {0.0198f}},
    {"BlurExtraBuf.hlsl", "", "BlurSamples", QB_SHADER_FLOATN, PLAIN, 'p'},
    {"gaussianblur.hlsl", "", "view_proj_matrix", QB_SHADER_FLOAT4X4, 6, 'v'},
    {"gaussianblur.hlsl", "", "blurOffset", QB_SHADER_FLOAT, PLAIN, 'p', {0.16f}},
    {"gaussianblur.hlsl", "", "alpha", QB_SHADER_FLOAT, PLAIN, 'p', {1}},
    {"radialblur.hlsl", "", "view_proj_matrix", QB_SHADER_FLOAT4X4, 6, 'v'},
    {"radialblur.hlsl", "", "BlurStart", QB_SHADER_FLOAT, PLAIN, 'p', {1}},
    {"radialblur.hlsl", "", "BlurWidth", QB_SHADER_FLOAT, PLAIN, 'p', {-0.14f}},
    {"radialblur.hlsl", "", "alpha", QB_SHADER_FLOAT, PLAIN, 'p', {1}},
};

// Samplers in the order of the layers that the frame binds.
struct Sampler {
    const char* file;
    const char* when;
    const char* name;
    QbHlslFilter filter;
    QbHlslFilter mipFilter;
    QbHlslAddress address;
};

constexpr QbHlslFilter LINEAR = QB_HLSL_FILTER_LINEAR;
constexpr QbHlslFilter POINT = QB_HLSL_FILTER_POINT;
constexpr QbHlslFilter NONE = QB_HLSL_FILTER_NONE;
constexpr QbHlslAddress WRAP = QB_HLSL_ADDRESS_WRAP;
constexpr QbHlslAddress CLAMP = QB_HLSL_ADDRESS_CLAMP;

const Sampler SAMPLERS[] = {
    {"LppDepthPass.hlsl", "+TEX_NORM", "NormalMap", LINEAR, LINEAR, WRAP},
    {"LppDepthPass.hlsl", "+TEX_SPEC", "SpecularMap", LINEAR, LINEAR, WRAP},
    {"LppDepthPass.hlsl", "+TEX_GLOS", "GlossinessMap", LINEAR, LINEAR, WRAP},
    {"LppLightPass.hlsl", "", "DepthBuffer", POINT, NONE, CLAMP},
    {"LppLightPass.hlsl", "", "NormalBuffer", LINEAR, NONE, CLAMP},
    {"LppFinalPass.hlsl", "+TEX_COLOR", "ColorMap", LINEAR, LINEAR, WRAP},
    {"LppFinalPass.hlsl", "+TEX_LUMINOSITY", "LuminosityMap", LINEAR, LINEAR, WRAP},
    {"LppFinalPass.hlsl", "+TEX_DIFFUSE", "DiffuseMap", LINEAR, LINEAR, WRAP},
    {"LppFinalPass.hlsl", "+TEX_REFLECIMG", "ReflecImgMap", LINEAR, NONE, WRAP},
    {"LppFinalPass.hlsl", "+TEX_REFLECTIVITY", "ReflectivityMap", LINEAR, LINEAR, WRAP},
    {"LppFinalPass.hlsl", "+TEX_NORMAL", "NormalMap", LINEAR, LINEAR, WRAP},
    {"LppFinalPass.hlsl", "", "LightBuffer", POINT, NONE, CLAMP},
    {"GlowAlphaMul.hlsl", "", "Picture", LINEAR, NONE, CLAMP},
    {"GlowHVBlur.hlsl", "", "Picture", LINEAR, NONE, CLAMP},
    {"GlowHBlur.hlsl", "", "Picture", LINEAR, NONE, CLAMP},
    {"GlowVBlur.hlsl", "", "Picture", LINEAR, NONE, CLAMP},
    {"GlowCompose.hlsl", "", "Picture", LINEAR, NONE, CLAMP},
    {"BlurExtraBuf.hlsl", "", "Picture", LINEAR, NONE, CLAMP},
    {"gaussianblur.hlsl", "", "screenSampler", LINEAR, NONE, CLAMP},
    {"radialblur.hlsl", "", "screenSampler", LINEAR, NONE, CLAMP},
};

// --- variants ----------------------------------------------------------------------------------------------

Names pick(const Names& always, const Names& byBit, unsigned bits) {
    Names result = always;
    for (size_t i = 0; i < byBit.size(); i++)
        if (bits >> i & 1) result.push_back(byBit[i]);
    return result;
}

std::vector<Variant> rendererVariants() {
    const Names geometry = {"TEX_NORM", "TEX_SPEC", "TEX_GLOS", "DOF"};
    const Names colour = {"TEX_COLOR", "TEX_LUMINOSITY", "TEX_DIFFUSE"};
    const Names reflection = {"TEX_COLOR", "TEX_LUMINOSITY", "TEX_DIFFUSE", "TEX_REFLECTIVITY", "TEX_NORMAL"};
    std::vector<Variant> result = {{"LppDepthClear.hlsl", {}, false}};
    for (unsigned bits = 0; bits < 16; bits++)
        result.push_back({"LppDepthPass.hlsl", pick({}, geometry, bits)});
    result.push_back({"LppLightClear.hlsl", geometry});
    for (const char* kind : {"DISTANT", "POINT", "SPOTLIGHT"})
        result.push_back({"LppLightPass.hlsl", {kind}});
    for (unsigned bits = 0; bits < 8; bits++)
        result.push_back({"LppFinalPass.hlsl", pick({}, colour, bits)});
    for (unsigned bits = 0; bits < 32; bits++)
        result.push_back({"LppFinalPass.hlsl", pick({"TEX_REFLECIMG"}, reflection, bits)});
    for (const char* file : {"GlowAlphaMul", "GlowHVBlur", "GlowHBlur", "GlowVBlur", "GlowCompose"})
        result.push_back({std::string(file) + ".hlsl", {}, false});
    return result;
}

std::vector<Variant> surfaceVariants() {
    return {
        {"BlurExtraBuf.hlsl", {}, false}, {"gaussianblur.hlsl", {}, false}, {"radialblur.hlsl", {}, false}};
}

bool applies(const char* file, const char* when, const Variant& variant) {
    if (variant.file != file) return false;
    if (!*when) return true;
    const bool defined =
        std::find(variant.defines.begin(), variant.defines.end(), when + 1) != variant.defines.end();
    return defined == (*when == '+');
}

std::string pathOf(const std::string& file) {
    const bool isSample = file == "gaussianblur.hlsl" || file == "radialblur.hlsl";
    return std::string(QB_SOURCE_DIR) + (isSample ? "/samples/shaders/" : "/shaders/") + file;
}

std::string label(const Variant& variant) {
    std::string result = variant.file;
    for (const std::string& define : variant.defines)
        result += " " + define;
    return result;
}

using Shader = std::unique_ptr<QbIrrShader, void (*)(QbIrrShader*)>;

Shader create(const Variant& variant) {
    std::vector<const char*> defines;
    for (const std::string& define : variant.defines)
        defines.push_back(define.c_str());
    defines.push_back(nullptr);
    return Shader(
        qbIrrShaderCreate(pathOf(variant.file).c_str(), variant.preprocessed ? defines.data() : nullptr),
        qbIrrShaderFree);
}

// --- checks ------------------------------------------------------------------------------------------------

void expectHead(const QbIrrShader& shader, const Variant& variant) {
    for (const File& file : FILES) {
        if (variant.file != file.name) continue;
        EXPECT_STREQ(shader.vertexMain, file.vertexMain);
        EXPECT_STREQ(shader.pixelMain, file.pixelMain);
        EXPECT_EQ(shader.baseMaterial, file.baseMaterial);
    }
}

void expectVariable(const QbShaderVariable& variable, const Constant& constant) {
    EXPECT_EQ(variable.kind, constant.kind);
    const bool isPlain = constant.automatic == PLAIN;
    EXPECT_EQ(variable.automatic, isPlain ? 0u : 1u);
    EXPECT_EQ(variable.automaticId, isPlain ? 0u : static_cast<uint32_t>(constant.automatic));
    for (size_t i = 0; i < constant.value.size(); i++)
        EXPECT_EQ(variable.value[i], constant.value[i]) << i;
    EXPECT_EQ(variable.toVertex, constant.target == 'v' ? 1u : 0u);
    EXPECT_EQ(variable.toPixel, constant.target == 'p' ? 1u : 0u);
}

void expectConstants(const QbIrrShader& shader, const Variant& variant) {
    int named = 0;
    for (int i = 0; i < shader.variableCount; i++)
        named += shader.variables[i].name[0] != '\0';
    for (const Constant& constant : CONSTANTS) {
        if (!applies(constant.file, constant.when, variant)) continue;
        SCOPED_TRACE(constant.name);
        const int index = qbShaderVariableFind(&shader, constant.name);
        ASSERT_GE(index, 0);
        expectVariable(shader.variables[index], constant);
        named--;
    }
    EXPECT_EQ(named, 0) << "annotations beyond those of the table";
}

// A constant that a program uses and nobody sends would hold anything; one that is sent and not used would
// only fill the log.
void expectUniforms(const QbHlslStage& stage, const Variant& variant, char target) {
    std::set<std::string> expected, actual;
    for (const Constant& constant : CONSTANTS)
        if (constant.target == target && applies(constant.file, constant.when, variant))
            expected.insert(constant.name);
    for (const QbHlslUniform& uniform : stage.uniforms)
        actual.insert(uniform.name);
    EXPECT_EQ(actual, expected) << target;
}

void expectSamplers(const QbHlslStage& stage, const Variant& variant) {
    std::map<int, const QbHlslSampler*> byLayer;
    for (const QbHlslSampler& sampler : stage.samplers)
        byLayer[sampler.layer] = &sampler;
    int layer = 0;
    for (const Sampler& sampler : SAMPLERS) {
        if (!applies(sampler.file, sampler.when, variant)) continue;
        SCOPED_TRACE(sampler.name);
        ASSERT_EQ(byLayer.count(layer), 1u) << layer;
        const QbHlslSampler& actual = *byLayer[layer++];
        EXPECT_EQ(actual.name, sampler.name);
        EXPECT_EQ(actual.state.minFilter, sampler.filter);
        EXPECT_EQ(actual.state.magFilter, sampler.filter);
        EXPECT_EQ(actual.state.mipFilter, sampler.mipFilter);
        EXPECT_EQ(actual.state.addressU, sampler.address);
        EXPECT_EQ(actual.state.addressV, sampler.address);
    }
    EXPECT_EQ(byLayer.size(), static_cast<size_t>(layer));
}

int translate(const QbIrrShader& shader, QbHlslProgram* program) {
    QbHlslSource source;
    source.file = shader.vertexFile;
    source.vertexText = shader.vertexText;
    source.pixelText = shader.pixelText;
    source.vertexMain = shader.vertexMain;
    source.pixelMain = shader.pixelMain;
    const int result = qbHlslTranslate(source, program);
    for (const QbHlslError& error : program->errors)
        ADD_FAILURE() << qbHlslErrorText(error);
    return result;
}

void expectVariant(const Variant& variant) {
    SCOPED_TRACE(label(variant));
    Messages messages;
    const Shader shader = create(variant);
    ASSERT_TRUE(shader);
    EXPECT_EQ(Messages::texts(), Names());
    expectHead(*shader, variant);
    expectConstants(*shader, variant);

    QbHlslProgram program;
    ASSERT_EQ(translate(*shader, &program), 0);
    expectUniforms(program.vertex, variant, 'v');
    expectUniforms(program.pixel, variant, 'p');
    EXPECT_TRUE(program.vertex.samplers.empty());
    expectSamplers(program.pixel, variant);
}

TEST(BuiltinShaders, EveryVariantOfTheRendererTranslates) {
    const std::vector<Variant> variants = rendererVariants();
    ASSERT_EQ(variants.size(), 66u);
    for (const Variant& variant : variants)
        expectVariant(variant);
}

TEST(BuiltinShaders, FilesThatOnlySurfacesNameTranslate) {
    for (const Variant& variant : surfaceVariants())
        expectVariant(variant);
}

// The points of the disc are a default of the program text, since an annotation carries four floats at most.
TEST(BuiltinShaders, ReplaceableDiscBeginsAsTheFixedOne) {
    const Shader shader = create({"BlurExtraBuf.hlsl", {}, false});
    ASSERT_TRUE(shader);
    QbHlslProgram program;
    ASSERT_EQ(translate(*shader, &program), 0);
    for (const QbHlslUniform& uniform : program.pixel.uniforms) {
        if (uniform.name != "BlurSamples") continue;
        EXPECT_EQ(uniform.count, 12);
        ASSERT_EQ(uniform.value.size(), 24u);
        EXPECT_FLOAT_EQ(uniform.value[0], -0.326212f);
        EXPECT_FLOAT_EQ(uniform.value[1], -0.405805f);
        EXPECT_FLOAT_EQ(uniform.value[23], -0.597705f);
    }
}
} // namespace
