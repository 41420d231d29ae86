#include "engine/hlsl_scan.h"
#include "fuzz/fuzz.h"
#include "materials/shader_file.h"

#include <cstring>
#include <memory>

// The first byte says what the rest is:
//
//   'D'  HLSL, loaded with some of its conditional lines uncovered
//   'P'  an assembler pair, parted by a zero byte
//   else HLSL
//
// Loads a file as a surface does and takes its text through all that comes ahead of the compiler.

static bool isEnded(const char* name, size_t size) {
    return memchr(name, 0, size) != nullptr;
}

static void expectSound(const QbIrrShader& shader) {
    qbFuzzExpect(isEnded(shader.vertexMain, sizeof shader.vertexMain));
    qbFuzzExpect(isEnded(shader.pixelMain, sizeof shader.pixelMain));
    qbFuzzExpect(shader.variableCount >= 0 && shader.variableCount <= QB_SHADER_VARIABLES_MAX);
    for (const QbShaderTexture& texture : shader.textures)
        qbFuzzExpect(isEnded(texture.name, sizeof texture.name));
    for (const QbShaderVariable& variable : shader.variables) {
        qbFuzzExpect(isEnded(variable.name, sizeof variable.name));
        qbFuzzExpect(variable.kind <= QB_SHADER_FLOATN && variable.firstRegister < QB_SHADER_REGISTERS);
    }
}

// Each word stands where it is said to stand, in order.
static void expectSound(const HlslScan& scan) {
    const std::string_view text = scan.text;
    size_t lineStart = 0;
    int line = 1;
    for (const HlslToken& token : scan.tokens) {
        for (; line < token.line; ++line)
            lineStart = text.find('\n', lineStart) + 1;
        const size_t at = lineStart + static_cast<size_t>(token.outColumn - 1);
        qbFuzzExpect(text.substr(at, token.text.size()) == token.text);
    }
    for (const HlslSamplerDeclaration& sampler : scan.samplers)
        qbFuzzExpect(sampler.layer >= -1 && sampler.layer < 16);
}

static void scan(const char* text) {
    HlslScan result;
    const bool good = hlslScan("input.hlsl", text, &result);
    qbFuzzExpect(good == result.errors.empty());
    if (good) expectSound(result);
}

static void load(const char* path, const char* const* defines) {
    const std::unique_ptr<QbIrrShader, void (*)(QbIrrShader*)> shader(qbIrrShaderCreate(path, defines),
                                                                      qbIrrShaderFree);
    if (!shader) return;
    expectSound(*shader);
    if (shader->highLevel) scan(shader->vertexText);
}

static void loadPair(const char* bytes, size_t size) {
    const auto* middle = static_cast<const char*>(memchr(bytes, 0, size));
    const size_t first = middle ? static_cast<size_t>(middle - bytes) : size;
    const size_t second = middle ? first + 1 : size;
    qbFuzzFile("input.psh", bytes + second, size - second);
    load(qbFuzzFile("input.vsh", bytes, first), nullptr);
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const char* const defines[] = {"DISTANT", "SPOTLIGHT", nullptr};
    const auto* bytes = reinterpret_cast<const char*>(data);
    if (size == 0) return 0;
    if (bytes[0] == 'P') {
        loadPair(bytes + 1, size - 1);
    } else {
        const char* path = qbFuzzFile("input.hlsl", bytes + 1, size - 1);
        load(path, bytes[0] == 'D' ? defines : nullptr);
    }
    return 0;
}
