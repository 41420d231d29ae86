#pragma once

#include "engine/hlsl.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>

// Both programs from one text, with the entry points "vertexMain" and "pixelMain".
inline QbHlslSource sourceOf(std::string_view text) {
    QbHlslSource source;
    source.file = "test.hlsl";
    source.vertexText = source.pixelText = text;
    source.vertexMain = "vertexMain";
    source.pixelMain = "pixelMain";
    return source;
}

inline std::string errorsOf(const QbHlslProgram& program) {
    std::string text;
    for (const QbHlslError& error : program.errors)
        text += qbHlslErrorText(error) + "\n";
    return text;
}

inline QbHlslProgram translated(std::string_view text) {
    QbHlslProgram program;
    EXPECT_EQ(qbHlslTranslate(sourceOf(text), &program), 0) << errorsOf(program);
    return program;
}

// With a vertex program that passes one coordinate set on.
inline std::string withPlainVertex(const std::string& text) {
    return text + "\nvoid vertexMain(float4 p : POSITION, float2 t : TEXCOORD0, "
                  "out float4 o : POSITION, out float2 uv : TEXCOORD0) { o = p; uv = t; }\n";
}

// One of everything that shader files hold, for damage.
constexpr std::string_view richText = R"(// A surface of the final pass.
#define SCALE 2.0
#define COLOR_OF(r, g, b) float3(r / 255.0, g / 255.0, b / 255.0)
#if defined(SCALE) && SCALE != 3
texture SurfaceTexture < string ResourceName = "a.png"; >;
#endif
float4x4 WorldViewProjection : WORLDVIEWPROJECTION; float3 Tint = COLOR_OF(255, 127.5, 0);
float4 Weights[3] = { {1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12} };
static const float PI = 3.1415926; float Turn = PI * SCALE; bool Flag = true; int Count = 3;
struct Light { float4 position; float3 color; }; Light lights[2];
sampler2D ColorMap : register(s1) = sampler_state { Texture = <SurfaceTexture>; MinFilter = Linear; AddressU = Clamp; };
sampler Sky;
struct VertexOut { float4 position : POSITION; float2 uv : TEXCOORD0; float3 normal : TEXCOORD1; };
VertexOut vertexMain(float4 position : POSITION, float3 normal : NORMAL, float2 uv : TEXCOORD0) {
    VertexOut result;
    result.position = mul(position, WorldViewProjection);
    result.uv = uv * SCALE; result.normal = mul(normal, (float3x3)WorldViewProjection);
    return result;
}
float4 pixelMain(VertexOut input, float2 where : VPOS, float face : VFACE) : COLOR0 {
    float4 sum = tex2D(ColorMap, input.uv) * float4(Tint, 1) + texCUBE(Sky, input.normal);
    for (int i = 0; i < Count; i++) sum += Weights[i] * fmod(input.uv.x, Turn) * lights[1].position;
    if (Flag && face > 0) sum.xy += where; else clip(sum.a - 0.5);
    return saturate(sum) / (1 + dot(sum, sum));
}
technique Surface { pass First { VertexShader = compile vs_2_0 vertexMain(); PixelShader = compile ps_2_0 pixelMain(); } }
)";
