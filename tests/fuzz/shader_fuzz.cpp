#include "engine/hlsl_scan.h"
#include "fuzz/fuzz.h"
#include "materials/shader_file.h"

#include <cstring>
#include <memory>

// The first byte says what the rest is:
//
//   'D'  HLSL, loaded with some of its conditional lines uncovered
//   'P'  an assembler pair, parted by a zero byte
//   'T'  HLSL, translated in the end: the two compilers behind the scan are slow
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

static void expectSound(const QbHlslStage& stage) {
    for (const QbHlslUniform& uniform : stage.uniforms) {
        qbFuzzExpect(uniform.rows >= 1 && uniform.rows <= 4);
        qbFuzzExpect(uniform.columns >= 1 && uniform.columns <= 4);
        qbFuzzExpect(uniform.count >= 0 && uniform.count <= HLSL_ARRAY_MAX);
    }
    for (const QbHlslSampler& sampler : stage.samplers)
        qbFuzzExpect(sampler.layer >= 0 && sampler.count >= 0 && sampler.layer + sampler.count <= 16);
}

static void translate(const QbIrrShader& shader) {
    QbHlslSource source;
    source.file = "input.hlsl";
    source.vertexText = shader.vertexText;
    source.pixelText = shader.pixelText;
    source.vertexMain = shader.vertexMain;
    source.pixelMain = shader.pixelMain;
    QbHlslProgram program;
    const bool good = qbHlslTranslate(source, &program) == 0;
    qbFuzzExpect(good == program.errors.empty());
    expectSound(program.vertex);
    expectSound(program.pixel);
}

static void load(const char* path, const char* const* defines, bool toGlsl) {
    const std::unique_ptr<QbIrrShader, void (*)(QbIrrShader*)> shader(qbIrrShaderCreate(path, defines),
                                                                      qbIrrShaderFree);
    if (!shader) return;
    expectSound(*shader);
    if (!shader->highLevel) return;
    scan(shader->vertexText);
    if (toGlsl) translate(*shader);
}

static void loadPair(const char* bytes, size_t size) {
    const auto* middle = static_cast<const char*>(memchr(bytes, 0, size));
    const size_t first = middle ? static_cast<size_t>(middle - bytes) : size;
    const size_t second = middle ? first + 1 : size;
    qbFuzzFile("input.psh", bytes + second, size - second);
    load(qbFuzzFile("input.vsh", bytes, first), nullptr, false);
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const char* const defines[] = {"TEX_NORM", "SPOT", nullptr};
    const auto* bytes = reinterpret_cast<const char*>(data);
    if (size == 0) return 0;
    if (bytes[0] == 'P') {
        loadPair(bytes + 1, size - 1);
    } else {
        const char* path = qbFuzzFile("input.hlsl", bytes + 1, size - 1);
        load(path, bytes[0] == 'D' ? defines : nullptr, bytes[0] == 'T');
    }
    return 0;
}
