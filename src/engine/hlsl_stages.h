#pragma once

#include "engine/hlsl_scan.h"

// The two compilers behind the passes over the text, and what is known between them.

enum class HlslStage { Vertex, Pixel };

// An input or output of one program.
struct HlslPort {
    std::string semantic; // with its number: "TEXCOORD0"
    std::string glslName; // of its declaration in HlslGlsl::text
    uint32_t id = 0;      // in the SPIR-V code
    int line = 0, column = 0;
};

struct HlslGlsl {
    std::string text; // the ports are still declared with `in` and `out`, one a line
    std::vector<HlslPort> inputs, outputs;
    bool writesPosition = false; // by gl_Position itself, without a port
    std::vector<QbHlslUniform> uniforms;
    std::vector<QbHlslSampler> samplers;
};

// Errors of both go to `errors`, in the author's lines and columns.
bool hlslCompile(HlslStage stage, const HlslScan& scan, std::string_view entry, std::vector<uint32_t>* spirv,
                 std::vector<QbHlslError>* errors);
bool hlslToGlsl(HlslStage stage, const HlslScan& scan, const std::vector<uint32_t>& spirv, HlslGlsl* glsl,
                std::vector<QbHlslError>* errors);

// Turns the ports of both programs into Irrlicht's attributes, varyings and targets.
bool hlslConnect(const HlslScan& vertexScan, HlslGlsl* vertex, const HlslScan& pixelScan, HlslGlsl* pixel,
                 bool negateY, std::vector<QbHlslError>* errors);
