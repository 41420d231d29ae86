// What no picture tells of the shader files: the parts that no frame draws, and that each program's constants
// are those that its annotations supply.
#include "engine/hlsl.h"
#include "materials/shader_file.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace {
using Names = std::vector<std::string>;
using Shader = std::unique_ptr<QbIrrShader, void (*)(QbIrrShader*)>;

const Names DEPTH = {"TEX_NORM", "TEX_SPEC", "TEX_GLOS", "DOF"};
const Names FINAL = {"TEX_COLOR", "TEX_LUMINOSITY", "TEX_DIFFUSE"};
const Names REFLECTING = {"TEX_COLOR", "TEX_LUMINOSITY", "TEX_DIFFUSE", "TEX_REFLECTIVITY", "TEX_NORMAL"};

const struct {
    const char* path;
    const char* always = nullptr; // a define
    Names byBit = {};
} FILES[] = {
    {"shaders/LppDepthClear.hlsl"},
    {"shaders/LppDepthPass.hlsl", nullptr, DEPTH},
    {"shaders/LppLightClear.hlsl"},
    {"shaders/LppLightPass.hlsl", "DISTANT"},
    {"shaders/LppLightPass.hlsl", "POINT"},
    {"shaders/LppLightPass.hlsl", "SPOTLIGHT"},
    {"shaders/LppFinalPass.hlsl", nullptr, FINAL},
    {"shaders/LppFinalPass.hlsl", "TEX_REFLECIMG", REFLECTING},
    {"shaders/GlowAlphaMul.hlsl"},
    {"shaders/GlowHVBlur.hlsl"},
    {"shaders/GlowHBlur.hlsl"},
    {"shaders/GlowVBlur.hlsl"},
    {"shaders/GlowCompose.hlsl"},
    {"shaders/BlurExtraBuf.hlsl"},
    {"shaders/ScreenCopy.hlsl"},
    {"samples/shaders/gaussianblur.hlsl"},
    {"samples/shaders/radialblur.hlsl"},
};

Shader create(const char* path, const Names& defines) {
    std::vector<const char*> list;
    for (const std::string& define : defines)
        list.push_back(define.c_str());
    list.push_back(nullptr);
    return Shader(qbIrrShaderCreate((std::string(QB_SOURCE_DIR "/") + path).c_str(), list.data()),
                  qbIrrShaderFree);
}

QbHlslProgram translate(const QbIrrShader& shader) {
    QbHlslSource source;
    source.file = shader.vertexFile;
    source.vertexText = shader.vertexText;
    source.pixelText = shader.pixelText;
    source.vertexMain = shader.vertexMain;
    source.pixelMain = shader.pixelMain;
    QbHlslProgram program;
    EXPECT_EQ(qbHlslTranslate(source, &program), 0);
    for (const QbHlslError& error : program.errors)
        ADD_FAILURE() << qbHlslErrorText(error);
    return program;
}

// A constant that a program uses and nobody sends would hold anything; one that is sent and not used would
// only fill the log.
void expectConstants(const QbIrrShader& shader, const QbHlslProgram& program) {
    std::set<std::string> sent, used;
    for (const QbShaderVariable& variable : shader.variables) {
        if (variable.toVertex) sent.insert(std::string("vertex ") + variable.name);
        if (variable.toPixel) sent.insert(std::string("pixel ") + variable.name);
    }
    for (const QbHlslUniform& uniform : program.vertex.uniforms)
        used.insert("vertex " + uniform.name);
    for (const QbHlslUniform& uniform : program.pixel.uniforms)
        used.insert("pixel " + uniform.name);
    EXPECT_EQ(used, sent);
}

// Maps repeat and have mip levels, but for the image of a reflection; targets do neither.
void expectSamplers(const QbHlslProgram& program) {
    for (const QbHlslSampler& sampler : program.pixel.samplers) {
        SCOPED_TRACE(sampler.name);
        const bool isMap = sampler.name.find("Map") != std::string::npos;
        const bool hasLevels = isMap && sampler.name != "ReflecImgMap";
        const bool isExact = sampler.name == "DepthBuffer" || sampler.name == "LightBuffer";
        const QbHlslSamplerState& state = sampler.state;
        EXPECT_EQ(state.minFilter, isExact ? QB_HLSL_FILTER_POINT : QB_HLSL_FILTER_LINEAR);
        EXPECT_EQ(state.magFilter, state.minFilter);
        EXPECT_EQ(state.mipFilter, hasLevels ? QB_HLSL_FILTER_LINEAR : QB_HLSL_FILTER_NONE);
        EXPECT_EQ(state.addressU, isMap ? QB_HLSL_ADDRESS_WRAP : QB_HLSL_ADDRESS_CLAMP);
        EXPECT_EQ(state.addressV, state.addressU);
    }
}

TEST(BuiltinShaders, EveryVariantTranslatesAndUsesTheConstantsThatItIsSent) {
    const Messages messages;
    for (const auto& file : FILES)
        for (unsigned bits = 0; bits < 1U << file.byBit.size(); bits++) {
            SCOPED_TRACE(file.path + (" " + std::to_string(bits)));
            Names defines;
            if (file.always) defines.emplace_back(file.always);
            for (size_t i = 0; i < file.byBit.size(); i++)
                if (bits >> i & 1) defines.push_back(file.byBit[i]);
            const Shader shader = create(file.path, defines);
            ASSERT_TRUE(shader);
            const QbHlslProgram program = translate(*shader);
            expectConstants(*shader, program);
            expectSamplers(program);
        }
    EXPECT_EQ(Messages::texts(), Names());
}
} // namespace
