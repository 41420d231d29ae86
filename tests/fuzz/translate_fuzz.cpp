#include "engine/hlsl_scan.h"
#include "fuzz/fuzz.h"

#include <algorithm>
#include <random>
#include <string>

// HLSL with the entry points vertexMain and pixelMain, translated to GLSL: whatever the scan lets through,
// the two compilers behind it must survive. Most changes are made word by word, since hardly any others pass
// the scan.

static void expectSound(const QbHlslStage& stage) {
    for (const QbHlslUniform& uniform : stage.uniforms) {
        qbFuzzExpect(uniform.rows >= 1 && uniform.rows <= 4);
        qbFuzzExpect(uniform.columns >= 1 && uniform.columns <= 4);
        qbFuzzExpect(uniform.count >= 0 && uniform.count <= HLSL_ARRAY_MAX);
    }
    for (const QbHlslSampler& sampler : stage.samplers)
        qbFuzzExpect(sampler.layer >= 0 && sampler.count >= 0 && sampler.layer + sampler.count <= 16);
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    QbHlslSource source;
    source.file = "input.hlsl";
    source.vertexText = source.pixelText = {reinterpret_cast<const char*>(data), size};
    source.vertexMain = "vertexMain";
    source.pixelMain = "pixelMain";
    QbHlslProgram program;
    const bool good = qbHlslTranslate(source, &program) == 0;
    qbFuzzExpect(good == program.errors.empty());
    qbFuzzExpect(good != program.vertex.glsl.empty() && good != program.pixel.glsl.empty());
    expectSound(program.vertex);
    expectSound(program.pixel);
    return 0;
}

// --- changes ----------------------------------------------------------------------------------------------

// What a text may not hold itself; some of it is for other profiles than that of the show.
static constexpr std::string_view WORDS = R"(
float float2 float3x3 float4x4 float1x3 half4 double int int3 uint bool4 void vector matrix struct typedef const
static uniform in out inout cbuffer tbuffer namespace this enum template precise linear centroid groupshared string
Texture2D SamplerState Buffer RWBuffer RWTexture2D Texture2DMS SubpassInput ByteAddressBuffer StructuredBuffer
sampler sampler2D samplerCUBE sampler3D return if else for while do switch case default break continue discard true
( ) { } [ ] < > ; , : ? . :: = += == && || ! ~ - + * / % << ++ -- 0 1 1.5f 4294967296 1e39 0x7fffffff
xyzw rgba _m00 _11 length Sample Load GetDimensions Append RestartStrip mips
mul dot cross transpose determinant tex2D tex2Dlod tex2Dproj tex2Dgrad texCUBE tex3D tex1D sincos modf frexp ldexp lit
dst clip asfloat asint any all saturate lerp fmod atan2 ddx isnan rcp reflect refract smoothstep step f16tof32
firstbithigh countbits D3DCOLORtoUBYTE4 InterlockedAdd EvaluateAttributeSnapped GetRenderTargetSampleCount
POSITION SV_Position NORMAL COLOR0 TEXCOORD0 DEPTH VPOS VFACE PSIZE SV_VertexID SV_Target SV_ClipDistance
register packoffset unroll numthreads vertexMain pixelMain
)";

namespace {

struct Changer {
    std::minstd_rand random;

    size_t below(size_t limit) { return random() % limit; }

    // A word, a bracket with all that is in it, or some words.
    std::string_view part(std::string_view text, const HlslScan& scan) {
        const size_t first = below(scan.tokens.size());
        const std::string_view word = scan.tokens[first].text;
        size_t last = first;
        if (word == "(" || word == "[" || word == "{")
            last = HlslReader(scan.tokens, 0, scan.tokens.size()).behindGroup(first) - 1;
        else if (below(4) == 0)
            last = std::min(first + below(12), scan.tokens.size() - 1);
        const char* end = scan.tokens[last].text.data() + scan.tokens[last].text.size();
        return text.substr(static_cast<size_t>(word.data() - text.data()),
                           static_cast<size_t>(end - word.data()));
    }

    std::string once(const std::string& text) {
        HlslScan own, others;
        if (!hlslTokenize(text, &own) || own.tokens.empty() || !hlslTokenize(WORDS, &others)) return text;
        const std::string_view at = part(text, own);
        const size_t kind = below(5);
        std::string to;
        if (kind < 2) to = part(text, own);
        if (kind == 2 || kind == 3) to = part(WORDS, others);
        const bool inserts = kind == 0 || kind == 2;
        std::string changed = text;
        return changed.replace(static_cast<size_t>(at.data() - text.data()), inserts ? 0 : at.size(),
                               to + ' ');
    }
};

} // namespace

size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t most, unsigned seed) {
    Changer changer{std::minstd_rand(seed)};
    if (changer.below(8) == 0) return LLVMFuzzerMutate(data, size, most);
    std::string text(reinterpret_cast<const char*>(data), size);
    for (size_t left = 1 + changer.below(4); left > 0; --left)
        text = changer.once(text);
    return text.copy(reinterpret_cast<char*>(data), most);
}
