#include "engine/hlsl_stages.h"

#include <glslang/Public/ResourceLimits.h>
#include <glslang/Public/ShaderLang.h>
#include <glslang/SPIRV/GlslangToSpv.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

// Direct3D rounds the quotient toward 0, for fmod and % alike; see keepRemainderSign. Through functions,
// since the compiler folds either one of two constants wrongly.
static const char remainders[] = R"(
float qbFmod(float a, float b) { return a % b; }
float2 qbFmod(float2 a, float2 b) { return a % b; }
float3 qbFmod(float3 a, float3 b) { return a % b; }
float4 qbFmod(float4 a, float4 b) { return a % b; }
float2 qbFmod(float2 a, float b) { return a % b; }
float3 qbFmod(float3 a, float b) { return a % b; }
float4 qbFmod(float4 a, float b) { return a % b; }
float2 qbFmod(float a, float2 b) { return a % b; }
float3 qbFmod(float a, float3 b) { return a % b; }
float4 qbFmod(float a, float4 b) { return a % b; }
)";

// --- Errors ----------------------------------------------------------------------------------------------

// The place where the author wrote the word `text`, or else whatever stands at the column of the compiler's
// line.
static void locate(const HlslScan& scan, std::string_view text, QbHlslError* error) {
    const HlslToken* best = nullptr;
    bool bestIsWord = false;
    for (const HlslToken& token : scan.tokens) {
        if (token.line != error->line) continue;
        if (error->column > 0 && token.outColumn > error->column) break;
        const bool isWord = token.text == text;
        if (bestIsWord && !isWord) continue;
        best = &token;
        bestIsWord = isWord;
    }
    const bool sure = best && (bestIsWord || error->column > 0);
    error->column = sure ? best->column : 0;
}

static std::string_view trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

// "ERROR: 1:<line>: '<word>' : <reason>", 1 being the author's text behind the prelude.
static bool parseErrorLine(const std::string& line, std::string_view* word, QbHlslError* error) {
    int number = 0, length = 0;
    if (std::sscanf(line.c_str(), "ERROR: 1:%d: %n", &number, &length) != 1 || length == 0) return false;
    std::string_view rest = std::string_view(line).substr(static_cast<size_t>(length));
    const size_t behind = rest.find("' : ");
    if (!rest.empty() && rest[0] == '\'' && behind != std::string_view::npos) {
        *word = rest.substr(1, behind - 1);
        rest.remove_prefix(behind + 4);
    }
    error->line = number;
    error->reason = trimmed(rest);
    return true;
}

// The renamed words go back to what the author wrote.
static std::string shownWord(std::string_view word) {
    if (word == "qbFmod") return "fmod";
    return std::string(word);
}

// "(<line>): error at column <n>, HLSL parsing failed." stands behind the errors: where the compiler gave up.
static int columnOf(const std::string& log, int line) {
    int column = 0;
    const size_t at = log.find("\n(" + std::to_string(line) + "): error at column ");
    if (at == std::string::npos ||
        std::sscanf(log.c_str() + at + 1, "(%*d): error at column %d", &column) != 1)
        return 0;
    return column;
}

// The compiler gives up at the first error: those that follow are its way out through nested rules.
static bool readLog(const HlslScan& scan, const std::string& log, QbHlslError* error) {
    for (size_t at = 0; at < log.size();) {
        const size_t end = std::min(log.find('\n', at), log.size());
        const std::string line = log.substr(at, end - at);
        std::string_view word;
        at = end + 1;
        if (!parseErrorLine(line, &word, error)) continue;
        error->column = columnOf(log, error->line);
        locate(scan, word, error);
        if (!word.empty()) error->reason += " '" + shownWord(word) + "'";
        return true;
    }
    return false;
}

static bool failed(const HlslScan& scan, const char* log, std::vector<QbHlslError>* errors) {
    QbHlslError error;
    error.file = scan.file;
    if (!readLog(scan, log, &error)) error.reason = trimmed(log);
    if (error.reason.empty()) error.reason = "the compiler gave no reason";
    errors->push_back(error);
    return false;
}

// --- Compilation -----------------------------------------------------------------------------------------

static bool hasFunction(const HlslScan& scan, std::string_view name) {
    int depth = 0;
    for (size_t i = 0; i + 1 < scan.tokens.size(); ++i) {
        const std::string_view text = scan.tokens[i].text;
        if (depth == 0 && text == name && scan.tokens[i + 1].text == "(") return true;
        depth += text == "{" ? 1 : text == "}" ? -1 : 0;
    }
    return false;
}

// The compiler's remainder of floats takes the sign of the divisor; this one takes the sign of the dividend.
static void keepRemainderSign(std::vector<uint32_t>* spirv) {
    constexpr uint32_t opFRem = 140, opFMod = 141;
    constexpr size_t headerWords = 5;
    for (size_t at = headerWords; at < spirv->size();) {
        uint32_t& word = (*spirv)[at];
        const uint32_t length = word >> 16;
        if ((word & 0xFFFF) == opFMod) word = (length << 16) | opFRem;
        if (length == 0) return;
        at += length;
    }
}

static std::string preludeOf(const HlslScan& scan) {
    const auto isRemainder = [](const HlslToken& token) { return token.text == "qbFmod"; };
    const bool needed = std::any_of(scan.tokens.begin(), scan.tokens.end(), isRemainder);
    return std::string("#pragma pack_matrix(row_major)\n") + (needed ? remainders : "");
}

static void setUp(glslang::TShader* shader, EShLanguage language, const std::string& entry) {
    shader->setEntryPoint(entry.c_str());
    shader->setSourceEntryPoint(entry.c_str());
    shader->setEnvInput(glslang::EShSourceHlsl, language, glslang::EShClientOpenGL, 450);
    shader->setEnvClient(glslang::EShClientOpenGL, glslang::EShTargetOpenGL_450);
    shader->setEnvTarget(glslang::EShTargetSpv, glslang::EShTargetSpv_1_0);
    shader->setEnvTargetHlslFunctionality1();
    shader->setAutoMapLocations(true);
    shader->setAutoMapBindings(true);
}

bool hlslCompile(HlslStage stage, const HlslScan& scan, std::string_view entry, std::vector<uint32_t>* spirv,
                 std::vector<QbHlslError>* errors) {
    static const bool ready = glslang::InitializeProcess();
    const bool isVertex = stage == HlslStage::Vertex;
    const std::string name(entry), kind = isVertex ? "vertex" : "pixel";
    if (!ready) return failed(scan, "the shader compiler does not start", errors);
    if (!hasFunction(scan, name)) {
        errors->push_back(
            {scan.file, 0, 0, "there is no function '" + name + "' for the " + kind + " program"});
        return false;
    }
    const EShLanguage language = isVertex ? EShLangVertex : EShLangFragment;
    const auto messages = static_cast<EShMessages>(EShMsgReadHlsl | EShMsgSpvRules | EShMsgHlslDX9Compatible);
    const std::string prelude = preludeOf(scan);
    const char* const strings[] = {prelude.c_str(), scan.text.c_str()};
    const int lengths[] = {static_cast<int>(prelude.size()), static_cast<int>(scan.text.size())};

    // A program goes before its shader.
    const auto shader = std::make_unique<glslang::TShader>(language);
    const auto program = std::make_unique<glslang::TProgram>();
    setUp(shader.get(), language, name);
    shader->setStringsWithLengths(strings, lengths, 2);
    if (!shader->parse(GetDefaultResources(), 450, false, messages))
        return failed(scan, shader->getInfoLog(), errors);
    program->addShader(shader.get());
    if (!program->link(messages) || !program->mapIO()) return failed(scan, program->getInfoLog(), errors);

    glslang::SpvOptions options;
    options.disableOptimizer = true;
    glslang::GlslangToSpv(*program->getIntermediate(language), *spirv, &options);
    keepRemainderSign(spirv);
    return true;
}
