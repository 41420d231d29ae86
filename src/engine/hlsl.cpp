#include "engine/hlsl.h"

#include "engine/hlsl_stages.h"
#include "platform/span.h"

#include <algorithm>
#include <unordered_map>

constexpr size_t STAGES_KEPT_MAX = 1024; // some KB each

std::string qbHlslErrorText(const QbHlslError& error) {
    std::string place = error.file;
    if (error.line > 0) {
        place += "(" + std::to_string(error.line);
        if (error.column > 0) place += "," + std::to_string(error.column);
        place += ")";
    }
    return place + ": " + error.reason;
}

// Both programs tell the same errors of the text that they share.
static void addErrors(const std::vector<QbHlslError>& from, std::vector<QbHlslError>* to) {
    for (const QbHlslError& error : from) {
        const auto same = [&](const QbHlslError& other) {
            return other.line == error.line && other.column == error.column && other.reason == error.reason;
        };
        if (std::none_of(to->begin(), to->end(), same)) to->push_back(error);
    }
}

static void addNumber(std::string* key, double number) {
    key->append(reinterpret_cast<const char*>(&number), sizeof number);
}

// All that the program of one stage is made of.
static std::string keyOf(HlslStage stage, const HlslScan& scan, std::string_view entry) {
    std::string key(stage == HlslStage::Vertex ? "v" : "p");
    key.append(entry).append(1, '\0').append(scan.text);
    for (const HlslGlobal& global : scan.globals) {
        key.append(1, '\0').append(global.name).append(1, '\0');
        addNumber(&key, global.type);
        for (const float part : global.value)
            addNumber(&key, static_cast<double>(part));
    }
    for (const HlslSamplerDeclaration& sampler : scan.samplers) {
        const QbHlslSamplerState& state = sampler.state;
        key.append(1, '\0').append(sampler.name).append(1, '\0').append(state.texture).append(1, '\0');
        for (const int number : {sampler.layer, sampler.line, sampler.column, int{state.minFilter},
                                 int{state.magFilter}, int{state.mipFilter}, int{state.addressU},
                                 int{state.addressV}, int{state.addressW}, state.maxAnisotropy})
            addNumber(&key, number);
    }
    return key;
}

// Variants of a shader share their vertex program, and a scene that is loaded again all it has.
static bool writeStage(HlslStage stage, const HlslScan& scan, std::string_view entry, HlslGlsl* glsl,
                       std::vector<QbHlslError>* errors) {
    static std::unordered_map<std::string, HlslGlsl> made;
    const std::string key = keyOf(stage, scan, entry);
    if (const auto found = made.find(key); found != made.end()) {
        *glsl = found->second;
        return true;
    }
    std::vector<uint32_t> spirv;
    std::vector<QbHlslError> own;
    const bool good =
        hlslCompile(stage, scan, entry, &spirv, &own) && hlslToGlsl(stage, scan, spirv, glsl, &own);
    addErrors(own, errors);
    if (!good) return false;
    if (made.size() >= STAGES_KEPT_MAX) made.clear();
    made.emplace(key, *glsl);
    return true;
}

static void moveStage(HlslGlsl* from, QbHlslStage* to) {
    to->glsl = std::move(from->text);
    to->uniforms = std::move(from->uniforms);
    to->samplers = std::move(from->samplers);
}

// The scans of the two programs; `whole` holds what they point into.
static bool scanBoth(const QbHlslSource& source, HlslScan* whole, HlslScan* vertex, HlslScan* pixel,
                     std::vector<QbHlslError>* errors) {
    if (source.vertexText == source.pixelText) {
        const bool good = hlslScan(source.file, source.vertexText, whole);
        addErrors(whole->errors, errors);
        if (good) hlslPrune(*whole, source.vertexMain, source.pixelMain, vertex, pixel);
        return good;
    }
    bool good = hlslScan(source.file, source.vertexText, vertex);
    good &= hlslScan(source.file, source.pixelText, pixel);
    addErrors(vertex->errors, errors);
    addErrors(pixel->errors, errors);
    return good;
}

static bool translate(const QbHlslSource& source, QbHlslProgram* program) {
    HlslScan whole, vertexScan, pixelScan;
    if (!scanBoth(source, &whole, &vertexScan, &pixelScan, &program->errors)) return false;

    HlslGlsl vertex, pixel;
    bool good = writeStage(HlslStage::Vertex, vertexScan, source.vertexMain, &vertex, &program->errors);
    good &= writeStage(HlslStage::Pixel, pixelScan, source.pixelMain, &pixel, &program->errors);
    if (!good || !hlslConnect(vertexScan, &vertex, pixelScan, &pixel, source.negateY, &program->errors))
        return false;
    moveStage(&vertex, &program->vertex);
    moveStage(&pixel, &program->pixel);
    return true;
}

int qbHlslTranslate(const QbHlslSource& source, QbHlslProgram* program) {
    const QbSpan span("shaders: translation");
    *program = QbHlslProgram();
    return translate(source, program) ? 0 : -1;
}
