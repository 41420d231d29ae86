#include "materials/shader_file.h"

#include "support/messages.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace {

using Shader = std::unique_ptr<QbIrrShader, decltype(&qbIrrShaderFree)>;

const char* const noDefines[] = {nullptr};

Shader create(const std::string& name, const char* const* defines = nullptr) {
    return Shader(qbIrrShaderCreate(name.c_str(), defines), qbIrrShaderFree);
}

// What creation prints.
std::string outputOf(const std::string& name, const char* const* defines = nullptr) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(create(name, defines), nullptr);
    return testing::internal::GetCapturedStdout();
}

class ShaderFile : public testing::Test {
protected:
    TemporaryDirectory directory;
    Messages messages;
};

TEST_F(ShaderFile, RecordOfAnHlslFile) {
    directory.write("wave.hlsl",
                    "//[QUAB_BEGIN]\n//function pixelMain : PS\n//float a : 1; pixel\n//[QUAB_END]\n");
    const Shader shader = create("wave.hlsl");
    ASSERT_TRUE(shader);
    EXPECT_EQ(shader->highLevel, 1U);
    EXPECT_STREQ(shader->vertexFile, "wave.hlsl");
    EXPECT_STREQ(shader->pixelFile, "wave.hlsl");
    EXPECT_STREQ(shader->vertexMain, "vertexMain");
    EXPECT_STREQ(shader->pixelMain, "PS");
    EXPECT_STREQ(shader->vertexText, shader->pixelText);
    EXPECT_NE(shader->vertexText, shader->pixelText);
    EXPECT_EQ(qbShaderVariableCount(shader.get()), 1); // read once
    EXPECT_EQ(qbShaderMaterialType(shader.get()), -1);
    EXPECT_EQ(qbShaderBaseMaterial(shader.get()), 0U);
    EXPECT_EQ(qbShaderTangents(shader.get()), 0U);
    EXPECT_EQ(shader->time, 0.0F);
    qbShaderTextsFree(shader.get());
    EXPECT_EQ(shader->vertexText, nullptr);
    EXPECT_EQ(shader->pixelText, nullptr);
}

TEST_F(ShaderFile, KindByTheName) {
    const struct {
        const char *name, *vertexFile, *pixelFile;
    } cases[] = {
        {"a.hlsl", "a.hlsl", "a.hlsl"},
        {"a.fx", "a.fx", "a.fx"},
        {"a.hlsl.txt", "a.hlsl.txt", "a.hlsl.txt"},
        {"old.fxes/a", "old.fxes/a", "old.fxes/a"},
        {"a.vsh", "a.vsh", "a.psh"},
        {"a.b.txt", "a.b.vsh", "a.b.psh"},
        {"plain", "plain.vsh", "plain.psh"},
        {"v1.2/plain", "v1.2/plain.vsh", "v1.2/plain.psh"},
    };
    for (const auto& c : cases) {
        directory.write(c.vertexFile, "vertex");
        if (std::string(c.pixelFile) != c.vertexFile) directory.write(c.pixelFile, "pixel");
        const Shader shader = create(c.name);
        ASSERT_TRUE(shader) << c.name;
        EXPECT_STREQ(qbShaderFileName(shader.get()), c.vertexFile);
        EXPECT_STREQ(shader->pixelFile, c.pixelFile);
        EXPECT_EQ(shader->highLevel, std::string(c.pixelFile) == c.vertexFile ? 1U : 0U);
        EXPECT_STREQ(shader->pixelText, shader->highLevel ? "vertex" : "pixel");
    }
}

TEST_F(ShaderFile, AssemblerFilesShareOneList) {
    std::string block = "//[QUAB_BEGIN]\n";
    for (int i = 0; i < 11; ++i)
        block += "//float v" + std::to_string(i) + " : 1; " + std::to_string(i) + "\n";
    directory.write("a.vsh", block);
    directory.write("a.psh", block);
    const Shader shader = create("a.vsh");
    ASSERT_TRUE(shader);
    EXPECT_EQ(qbShaderVariableCount(shader.get()), 20);
    EXPECT_EQ(shader->variables[10].toVertex, 1U);
    EXPECT_EQ(shader->variables[11].toPixel, 1U);
    ASSERT_EQ(Messages::texts().size(), 1U);
    EXPECT_EQ(Messages::texts()[0].substr(0, 50), "a.psh:11: 'float v9' is one variable too many, 20 ");
    EXPECT_EQ(Messages::texts()[0].find("a.vsh"), std::string::npos);
}

TEST_F(ShaderFile, FoundAmongTheShaders) {
    directory.write("shaders/wave.fx", "in shaders");
    EXPECT_STREQ(create("wave.fx")->vertexText, "in shaders");
    directory.write("Wave.fx", "other case");
    directory.write("data/glow.fx", "below");
    EXPECT_STREQ(create("wave.fx")->vertexText, "other case");
    EXPECT_STREQ(create("DATA\\glow.fx")->vertexText, "below");
    EXPECT_STREQ(create("DATA\\glow.fx")->vertexFile, "DATA\\glow.fx"); // as given
}

TEST_F(ShaderFile, ConditionalLinesOfTextAndBlockGoTogether) {
    const std::string text =
        "//[QUAB_BEGIN]\n//QUAB_PP:D:FOG://float fog : 1; pixel\n"
        "//QUAB_PP:U:FOG://float clear : 1; pixel\n//[QUAB_END]\n//QUAB_PP:D:FOG:float fog;\n";
    directory.write("wave.fx", text);
    const char* const fog[] = {"FOG", nullptr};
    const struct {
        const char* const* defines;
        int32_t fogIndex, clearIndex, count;
        bool isCodeLive;
    } cases[] = {{fog, 0, -1, 2, true}, {noDefines, -1, 1, 2, false}, {nullptr, -1, -1, 2, false}};
    for (const auto& c : cases) {
        const Shader shader = create("wave.fx", c.defines);
        ASSERT_TRUE(shader);
        EXPECT_EQ(qbShaderVariableFind(shader.get(), "fog"), c.fogIndex);
        EXPECT_EQ(qbShaderVariableFind(shader.get(), "clear"), c.clearIndex);
        EXPECT_EQ(qbShaderVariableCount(shader.get()), c.count);
        for (const std::string live : {shader->vertexText, shader->pixelText}) {
            EXPECT_EQ(live.size(), text.size());
            EXPECT_EQ(std::count(live.begin(), live.end(), '\n'), 5);
            EXPECT_EQ(live.find("                float fog;") != std::string::npos, c.isCodeLive);
        }
    }
}

TEST_F(ShaderFile, Failures) {
    const auto unread = [](const std::string& path) {
        return "!! ERROR: qbIrrShaderCreate() loadShaderFileContent('" + path + "') failed\n";
    };
    EXPECT_EQ(outputOf("none.fx"), unread("none.fx"));
    EXPECT_EQ(outputOf(""), unread(".vsh"));
    directory.write("half.vsh");
    EXPECT_EQ(outputOf("half.vsh"), unread("half.psh"));
    directory.write("folder.fx/a");
    EXPECT_EQ(outputOf("folder.fx"), unread("folder.fx"));
    directory.write("huge.fx", std::string(QB_SHADER_SIZE_MAX + 1, 'x'));
    EXPECT_EQ(outputOf("huge.fx"),
              "huge.fx: 16777217 bytes, a shader holds 16777216 at most\n" + unread("huge.fx"));

    directory.write("broken.vsh", "fine");
    directory.write("broken.psh", "\n//QUAB_PP:X:");
    EXPECT_EQ(
        outputOf("broken.vsh", noDefines),
        "\n[ShaderPP]:\n\n[ShaderPP]:\n!! ERROR: bad preprocessor is not D nor U at offset 11 (line 2)\n"
        "!! ERROR: qbIrrShaderCreate() shaderPreprocess('broken.psh') failed\n");
    EXPECT_TRUE(create("broken.vsh")); // without a list the marker is a comment
    EXPECT_EQ(Messages::texts().size(), 0U);
}

TEST_F(ShaderFile, LengthOfThePath) {
    const std::string folder(200, 'd');
    const std::string fits = folder + "/" + std::string(50, 'n') + ".vsh"; // 255
    directory.write(fits);
    directory.write(fits.substr(0, 251) + ".psh");
    EXPECT_STREQ(create(fits)->vertexFile, fits.c_str());
    EXPECT_TRUE(create(fits.substr(0, 251) + ".a"));

    EXPECT_EQ(outputOf(folder + "/" + std::string(51, 'n') + ".vsh"), "");
    EXPECT_EQ(outputOf(std::string(253, 'n') + ".fx"), "");
    const std::string why = "...': the path holds 256 characters, 255 at most";
    EXPECT_EQ(Messages::texts(), std::vector<std::string>({"Shader '" + std::string(40, 'd') + why,
                                                           "Shader '" + std::string(40, 'n') + why}));
}

TEST_F(ShaderFile, EmptyFilesAndZeroBytes) {
    directory.write("empty.fx");
    EXPECT_STREQ(create("empty.fx", noDefines)->vertexText, "");
    directory.write("zero.fx", std::string("//[QUAB_BEGIN]\n//float a : 1\n\0//float b : 1\n", 45));
    const Shader shader = create("zero.fx", noDefines);
    ASSERT_TRUE(shader);
    EXPECT_EQ(qbShaderVariableCount(shader.get()), 1);
}

TEST_F(ShaderFile, ReadersAndWriters) {
    directory.write("wave.fx",
                    "[QUAB_BEGIN]\nx y z\nfloat Glow : 1\nfloat4 glow : 1,2,3,4\nfloat4x4 m : World\n"
                    "floatN n : 1,2\ntexture 2 : sky.jpg cube\nconfig tangents\n"
                    "config baseMaterial : onetexture_blend\n");
    const Shader owner = create("wave.fx");
    QbIrrShader* shader = owner.get();
    ASSERT_TRUE(shader);
    EXPECT_EQ(qbShaderTangents(shader), 1U);
    EXPECT_EQ(qbShaderBaseMaterial(shader), 23U);
    EXPECT_EQ(qbShaderVariableFind(shader, "GLOW"), 1); // the first of that name
    EXPECT_EQ(qbShaderVariableFind(shader, "glo"), -1);
    EXPECT_EQ(qbShaderVariableFind(shader, ""), -1);
    EXPECT_EQ(qbShaderVariableFind(shader, nullptr), -1);
    EXPECT_EQ(qbShaderVariableGet(shader, 5), nullptr);
    EXPECT_EQ(qbShaderVariableGet(shader, -1), nullptr);
    EXPECT_STREQ(qbShaderVariableGet(shader, 4)->name, "n");
    for (const int32_t index : {-1, 0, 7, 8}) {
        EXPECT_EQ(qbShaderTextureUsed(shader, index), 0U);
        EXPECT_EQ(qbShaderTextureCube(shader, index), 0U);
        EXPECT_EQ(qbShaderTextureName(shader, index), nullptr);
    }
    EXPECT_EQ(qbShaderTextureUsed(shader, 2), 1U);
    EXPECT_EQ(qbShaderTextureCube(shader, 2), 1U);
    EXPECT_STREQ(qbShaderTextureName(shader, 2), "sky.jpg");

    const float samples[] = {5, 6, 7, 8, 9, 10};
    qbShaderSetFloat2(shader, "glow", 7, 8);
    qbShaderVariableSetFloat3(shader, 2, 9, 10, 11);
    qbShaderSetFloat4(shader, "m", 1, 1, 1, 1);
    qbShaderSetFloatN(shader, "N", samples, 6);
    qbShaderSetFloat(shader, "absent", 1);
    qbShaderVariableSetFloat4(shader, 20, 1, 1, 1, 1);
    qbShaderVariableSetFloatN(shader, -1, samples, 6);
    qbShaderSetTime(shader, 2.5F);
    EXPECT_EQ(shader->variables[1].value[0], 7.0F);
    EXPECT_EQ(shader->variables[1].value[1], 8.0F);
    EXPECT_EQ(shader->variables[2].value[2], 11.0F);
    EXPECT_EQ(shader->variables[2].value[3], 4.0F); // untouched
    EXPECT_EQ(shader->variables[3].automaticId, static_cast<uint32_t>(QB_SHADER_WORLD));
    EXPECT_EQ(shader->variables[4].values, samples);
    EXPECT_EQ(shader->variables[4].count, 6U);
    EXPECT_EQ(shader->time, 2.5F);
    qbShaderSetFloatN(shader, "n", nullptr, 6);
    EXPECT_EQ(shader->variables[4].count, 0U);
}

} // namespace
