#include "materials/shader_file.h"

#include "support/messages.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using Shader = std::unique_ptr<QbIrrShader, decltype(&qbIrrShaderFree)>;

const char* const noDefines[] = {nullptr};
const char* const fog[] = {"FOG", nullptr};

Shader create(const std::string& name, const char* const* defines = nullptr) {
    return Shader(qbIrrShaderCreate(name.c_str(), defines), qbIrrShaderFree);
}

// What creation prints when it fails.
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

TEST_F(ShaderFile, KindAndFilesByTheName) {
    const struct {
        std::string name, vertexFile, pixelFile;
    } cases[] = {
        {"a.hlsl.txt", "a.hlsl.txt", "a.hlsl.txt"},
        {"old.fxes/a", "old.fxes/a", "old.fxes/a"},
        {"a.b.txt", "a.b.vsh", "a.b.psh"},
        {"v1.2/plain", "v1.2/plain.vsh", "v1.2/plain.psh"},
    };
    for (const auto& c : cases) {
        directory.write(c.pixelFile, "pixel");
        directory.write(c.vertexFile, "vertex");
        const Shader shader = create(c.name);
        ASSERT_TRUE(shader) << c.name;
        EXPECT_EQ(qbShaderFileName(shader.get()), c.vertexFile);
        EXPECT_EQ(shader->pixelFile, c.pixelFile);
        EXPECT_EQ(shader->highLevel, c.pixelFile == c.vertexFile ? 1U : 0U);
        EXPECT_STREQ(shader->vertexText, "vertex");
        EXPECT_STREQ(shader->pixelText, shader->highLevel ? "vertex" : "pixel");
        EXPECT_EQ(shader->vertexMain + std::string(shader->pixelMain), "vertexMainpixelMain");
        EXPECT_EQ(qbShaderMaterialType(shader.get()), -1);
    }
}

TEST_F(ShaderFile, ConditionalLinesOfTextAndBlockGoTogether) {
    directory.write("wave.fx",
                    "//[QUAB_BEGIN]\n//QUAB_PP:D:FOG://float fog : 1\n//QUAB_PP:U:FOG://float clear : 1\n"
                    "//[QUAB_END]\n//QUAB_PP:D:FOG:float fog;\n");
    for (const auto defines : {fog, noDefines, static_cast<const char* const*>(nullptr)}) {
        const Shader shader = create("wave.fx", defines);
        EXPECT_EQ(qbShaderVariableFind(shader.get(), "fog"), defines == fog ? 0 : -1);
        EXPECT_EQ(qbShaderVariableFind(shader.get(), "clear"), defines == noDefines ? 1 : -1);
        for (const std::string live : {shader->vertexText, shader->pixelText})
            EXPECT_EQ(live.find("                float fog;") != std::string::npos, defines == fog);
    }
}

TEST_F(ShaderFile, FailuresNameTheFile) {
    const auto unread = [](const std::string& path) {
        return "!! ERROR: qbIrrShaderCreate() loadShaderFileContent('" + path + "') failed\n";
    };
    directory.write("half.vsh");
    directory.write("folder.fx/a");
    directory.write("huge.fx", std::string(QB_SHADER_SIZE_MAX + 1, 'x'));
    directory.write("broken.vsh", "fine");
    directory.write("broken.psh", "\n//QUAB_PP:X:");
    EXPECT_EQ(outputOf("none.fx"), unread("none.fx"));
    EXPECT_EQ(outputOf("half.vsh"), unread("half.psh"));
    EXPECT_EQ(outputOf("folder.fx"), unread("folder.fx"));
    EXPECT_EQ(outputOf("huge.fx"),
              "huge.fx: 2097153 bytes, a shader holds 2097152 at most\n" + unread("huge.fx"));
    EXPECT_EQ(
        outputOf("broken.vsh", noDefines),
        "\n[ShaderPP]:\n\n[ShaderPP]:\n!! ERROR: bad preprocessor is not D nor U at offset 11 (line 2)\n"
        "!! ERROR: qbIrrShaderCreate() shaderPreprocess('broken.psh') failed\n");
    EXPECT_TRUE(create("broken.vsh")) << "without a list the marker is a comment";

    const std::string folder(200, 'd');
    const std::string longest = folder + "/" + std::string(50, 'n') + ".vsh"; // 255
    directory.write(longest);
    directory.write(longest.substr(0, 251) + ".psh");
    EXPECT_STREQ(create(longest)->vertexFile, longest.c_str());
    EXPECT_EQ(Messages::texts().size(), 0U);
    EXPECT_EQ(outputOf(folder + "/" + std::string(51, 'n') + ".vsh"), "");
    EXPECT_EQ(Messages::texts(),
              std::vector<std::string>(
                  {"Shader '" + std::string(40, 'd') + "...': the path holds 256 characters, 255 at most"}));
}

TEST_F(ShaderFile, ReadersAndWritersStayInTheirBounds) {
    directory.write("wave.fx",
                    std::string("[QUAB_BEGIN]\nx y z\nfloat Glow : 1\nfloat4 glow : 1,2,3,4\n\0q r s", 58));
    const Shader owner = create("wave.fx");
    QbIrrShader* shader = owner.get();
    ASSERT_TRUE(shader);
    EXPECT_EQ(qbShaderVariableCount(shader), 3) << "a zero byte ends the text";
    EXPECT_EQ(qbShaderVariableFind(shader, "GLOW"), 1) << "the first of that name";
    EXPECT_EQ(qbShaderVariableFind(shader, ""), -1);
    for (const int32_t index : {-1, 8})
        EXPECT_TRUE(!qbShaderTextureUsed(shader, index) && !qbShaderVariableGet(shader, index)) << index;
    const float one = 5;
    qbShaderVariableSetFloat3(shader, 2, 9, 10, 11);
    qbShaderVariableSetFloat4(shader, 20, 1, 1, 1, 1);
    qbShaderVariableSetFloatN(shader, -1, &one, 1);
    qbShaderSetFloatN(shader, "glow", nullptr, 6);
    EXPECT_EQ(shader->variables[2].value[2], 11.0F);
    EXPECT_EQ(shader->variables[2].value[3], 4.0F) << "untouched";
    EXPECT_EQ(shader->variables[1].count, 0U);
}

} // namespace
