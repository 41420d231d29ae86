#include "engine/hlsl_scan.h"

#include <gtest/gtest.h>

static HlslScan scanned(std::string_view text) {
    HlslScan scan;
    EXPECT_TRUE(hlslScan("test.hlsl", text, &scan)) << (scan.errors.empty() ? "" : scan.errors[0].reason);
    return scan;
}

TEST(HlslScan, EffectPartsGoAndEverythingElseKeepsItsLine) {
    EXPECT_EQ(
        scanned("texture A;\r\n"
                "float4 Color : COLOR0 < string UIName = \"a;b\"; > = { 1, 0, 0, 1 };\r\n"
                "sampler2D S = sampler_state\n{\n  Texture = (A);\n};\n"
                "Technique T < int a = 1; >\n{ pass P { } }\n"
                "float4 f(float4 x : VPOS) { return x; } // end")
            .text,
        "\nfloat4 Color                                                     ;\nsampler2D S\n\n\n ;\n\n\n"
        "float4 f(float4 x : QB_VPOS ) { return x ; }\n");
}

// The words behind directives and macros, on their lines.
static std::string preprocessed(std::string_view text) {
    HlslScan scan;
    EXPECT_TRUE(hlslTokenize(text, &scan) && hlslPreprocess(&scan)) << text;
    std::string words;
    int line = 1;
    for (const HlslToken& token : scan.tokens) {
        const auto lines = static_cast<size_t>(token.line - line);
        words += (words.empty() || lines > 0 ? std::string(lines, '\n') : " ") + std::string(token.text);
        line = token.line;
    }
    return words;
}

TEST(HlslScan, MacrosAndConditions) {
    const char* const table[][2] = {
        {"#define A(x,y) x##y+x\nA(b,c)", "\nbc + b"},
        {"#define F(x) [x]\nF (F(1)) F", "\n[ [ 1 ] ] F"},
        {"#define A B\n#define B A\nA B", "\n\nA B"},
        {"#define A 3 /* two\nlines */ + 4\nA", "\n\n3 + 4"},
        {"#if (2 << 1) == 4 && !defined X\n1\n#elif 1\n2\n#else\n3\n#endif", "\n1"},
        {"#if 0\ndon't\n#elif UNKNOWN\n2\n#else\n3\n#endif", "\n\n\n\n\n3"},
        {"#define X\n#ifdef X\n#ifndef X\n1\n#endif\n2\n#endif\n#undef X\n#ifdef X\n3\n#endif",
         "\n\n\n\n\n2"},
        {"\xEF\xBB\xBF#define LONG 1 + \\\n 2\nLONG", "\n\n1 + 2"},
        {"a // b \\\n c\rd", "a\n\nd"},
    };
    for (const auto& [text, wanted] : table)
        EXPECT_EQ(preprocessed(text), wanted) << text;
    // Two signs that a macro brings together stay two.
    EXPECT_EQ(scanned("#define N -1\nfloat f() { return a-N; }").text, "\nfloat f() { return a- - 1 ; }\n");
}

TEST(HlslScan, MarksBehindTheirOperandMoveInFront) {
    const char* const table[][2] = {
        {"a.x[1]++;", "++ a . x [ 1 ] ;"},
        {"for (; 1; i++) { }", "for (; 1; ++ i ) { }"},
        {"b = f(a)[i++].x--;", "b = ( -- f ( a ) [ ( ++ i - 1 ) ] . x + 1 ) ;"},
        {"if (a) ++b; else --c;", "if (a) ++b; else --c;"},
        {"return (float)++a;", "return (float)++a;"},
        {"return a++;", "return ( ++ a - 1 ) ;"},
    };
    for (const auto& [text, wanted] : table)
        EXPECT_EQ(scanned("float f() { " + std::string(text) + "}").text.find(wanted), 12U) << text;
}

TEST(HlslScan, InitialValues) {
    const std::pair<const char*, std::vector<float>> table[] = {
        {"float a = -2e-1f;", {-0.2f}},
        {"float3 a = 0.5;", {0.5f, 0.5f, 0.5f}},
        {"float4 a = float4(float2(1, 2), (float2)3) * 2 - 1;", {1, 3, 5, 5}},
        {"float a = 7 / 2 + 7 / 2.0 - (1 + 2) * 2;", {0.5f}},
        {"static const float2 k = {3, 4}; float2 a = k / 2;", {1.5f, 2}},
        {"#define N 3\nvector<float, 2> a[N - 1] = { {1, 2}, 3, 4, };", {1, 2, 3, 4}},
        {"uniform extern float a : register(c4) = 0x10;", {16}},
        {"bool a = true;", {1}},
        {"int2 a = int2(2.9, -2.9);", {2, -2}},
        {"float3 a; float f(float x = 4) { float y = 5; return y; }", {}},
    };
    for (const auto& [text, value] : table) {
        const HlslScan scan = scanned(text);
        ASSERT_EQ(scan.globals.size(), 1u) << text;
        EXPECT_EQ(scan.globals[0].value, value) << text;
    }
}

TEST(HlslScan, SamplerStates) {
    const HlslScan scan = scanned(R"(
sampler A = SAMPLER_STATE { texture = <Wood>; MINFILTER = Anisotropic; MagFilter = 1; MipFilter = none;
                            AddressU = Border; addressv = MirrorOnce; AddressW = 3; MaxAnisotropy = 16; };
sampler B : register(s3), C { MinFilter = Linear; };
)");
    ASSERT_EQ(scan.samplers.size(), 3u);
    const QbHlslSamplerState& all = scan.samplers[0].state;
    EXPECT_EQ(all.texture, "Wood");
    EXPECT_EQ(
        (std::vector<int>{all.minFilter, all.magFilter, all.mipFilter, all.addressU, all.addressV,
                          all.addressW, all.maxAnisotropy}),
        (std::vector<int>{QB_HLSL_FILTER_ANISOTROPIC, QB_HLSL_FILTER_POINT, QB_HLSL_FILTER_NONE,
                          QB_HLSL_ADDRESS_BORDER, QB_HLSL_ADDRESS_MIRROR_ONCE, QB_HLSL_ADDRESS_CLAMP, 16}));
    EXPECT_EQ(scan.samplers[0].layer, -1);
    EXPECT_EQ(scan.samplers[1].layer, 3);
    EXPECT_EQ(scan.samplers[1].state.minFilter, QB_HLSL_FILTER_UNSET);
    EXPECT_EQ(scan.samplers[2].state.minFilter, QB_HLSL_FILTER_LINEAR);
}

TEST(HlslPrune, LeavesEachProgramWhatItNeedsInItsPlace) {
    const std::string text =
        "float A; float B;\n"
        "struct In { float4 p : POSITION; }; float4 C[2];\n"
        "float once(float x) { if (x) { return B; } return 1; }\n"
        "float4 vertexMain(In i) : POSITION { return i.p * A; } float both() { return A; }\n"
        "float never();\n"
        "float4 pixelMain() : COLOR0 { return once(both()); }\n"
        "float4 dead(In i) { return 0; }\n";
    HlslScan whole, vertex, pixel;
    ASSERT_TRUE(hlslScan("test.hlsl", text, &whole));
    hlslPrune(whole, "vertexMain", "pixelMain", &vertex, &pixel);
    EXPECT_EQ(vertex.text, "float A;\n"
                           "struct In { float4 p : POSITION; };\n\n"
                           "float4 vertexMain(In i) : POSITION { return i.p * A; }\n"
                           "float never();\n");
    // And what neither uses, with what that needs, for its errors.
    EXPECT_EQ(pixel.text,
              "float A; float B;\n"
              "struct In { float4 p : POSITION; }; float4 C[2];\n"
              "float once(float x) { if (x) { return B; } return 1; }\n"
              "                                                       float both() { return A; }\n"
              "float never();\n"
              "float4 pixelMain() : COLOR0 { return once(both()); }\n"
              "float4 dead(In i) { return 0; }\n");
}
