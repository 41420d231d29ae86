#include "engine/hlsl.h"

#include "engine/hlsl_stages.h"

#include <algorithm>

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

static bool writeStage(HlslStage stage, const HlslScan& scan, std::string_view entry, HlslGlsl* glsl,
                       std::vector<QbHlslError>* errors) {
    std::vector<uint32_t> spirv;
    std::vector<QbHlslError> own;
    const bool good =
        hlslCompile(stage, scan, entry, &spirv, &own) && hlslToGlsl(stage, scan, spirv, glsl, &own);
    addErrors(own, errors);
    return good;
}

static void moveStage(HlslGlsl* from, QbHlslStage* to) {
    to->glsl = std::move(from->text);
    to->uniforms = std::move(from->uniforms);
    to->samplers = std::move(from->samplers);
}

static bool translate(const QbHlslSource& source, QbHlslProgram* program) {
    HlslScan scans[2];
    const bool shared = source.vertexText == source.pixelText;
    HlslScan& vertexScan = scans[0];
    HlslScan& pixelScan = shared ? scans[0] : scans[1];
    bool good = hlslScan(source.file, source.vertexText, &vertexScan);
    if (!shared) good &= hlslScan(source.file, source.pixelText, &pixelScan);
    addErrors(vertexScan.errors, &program->errors);
    addErrors(pixelScan.errors, &program->errors);
    if (!good) return false;

    HlslGlsl vertex, pixel;
    good = writeStage(HlslStage::Vertex, vertexScan, source.vertexMain, &vertex, &program->errors);
    good &= writeStage(HlslStage::Pixel, pixelScan, source.pixelMain, &pixel, &program->errors);
    if (!good || !hlslConnect(vertexScan, &vertex, pixelScan, &pixel, source.negateY, &program->errors))
        return false;
    moveStage(&vertex, &program->vertex);
    moveStage(&pixel, &program->pixel);
    return true;
}

int qbHlslTranslate(const QbHlslSource& source, QbHlslProgram* program) {
    *program = QbHlslProgram();
    return translate(source, program) ? 0 : -1;
}
