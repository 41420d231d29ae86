#include "engine/hlsl/programs.h"

static void expectErrors(const std::string& text, const std::string& errors) {
    QbHlslProgram program;
    EXPECT_EQ(qbHlslTranslate(sourceOf(text), &program), -1);
    EXPECT_EQ(errorsOf(program), "test.hlsl" + errors + "\n");
    EXPECT_TRUE(program.vertex.glsl.empty() && program.pixel.glsl.empty());
}

TEST(HlslErrors, NameTheAuthorsPlace) {
    const char* const table[][2] = {
        // Words that the passes ahead of the compiler moved or replaced stand in the author's column all the
        // same.
        {"#define TWICE(x) ((x) + (x))\nfloat4 pixelMain(float2 p : VPOS) : COLOR0 {\n"
         "    return TWICE(p.x) + fmod(p.x, 2) * Missing;\n}\n",
         "(3,40): unknown variable 'Missing'"},
        {"sampler2D A = sampler_state {\n    MinFilter = Point;\n};\n"
         "float4 pixelMain() : COLOR0 {\n    return tex2D(A, 0).rgbq;\n}\n",
         "(5,24): vector swizzle selectors not from the same set 'rgbq'"},
        {"float4 other() : COLOR0 { return 0; }\n",
         ": there is no function 'pixelMain' for the pixel program"},
        {"float4 pixelMain(float2 a : TEXCOORD0,\n   float2 b : TEXCOORD3) : COLOR0 { return a.x + b.x; }\n",
         "(2,15): the pixel program reads TEXCOORD3, which the vertex program does not write"},
        {"void pixelMain(out float4 a : COLOR0, out float4 b : COLOR4) { a = b = 0; }\n",
         "(1,54): a pixel program writes COLOR0 to COLOR3 and DEPTH, not COLOR4"},
        {"sampler A = sampler_state { MinFilter = Blurred; };",
         "(1,41): 'Blurred' is no filter: None, Point, Linear or Anisotropic"},
        {"sampler A : register(s2);\nsampler B : register(s2);\n"
         "float4 pixelMain() : COLOR0 { return tex2D(A, 0) + tex2D(B, 0); }\n",
         "(2,9): the register of the sampler 'B' is taken"},
        {"Texture2D A; SamplerState S;\nfloat4 pixelMain() : COLOR0 { return A.Sample(S, 0); }\n",
         ": 'A' is not for this profile: write sampler2D and tex2D, or samplerCUBE and texCUBE"},
        {"float4 A = { 1, 2, 3 };", "(1,8): 'A' takes 4 values, not 3"},
        {"\n  #include \"other.h\"\n", "(2,4): #include: a shader is one file, copy the text in"},
        {"#define F(a, b) a\nfloat x = F(1);\n", "(2,11): the macro 'F' takes 2 arguments, not 1"},
        // Mistakes that the compiler behind does not survive.
        {"float A;\nfloat A() { return 1; }\n", "(2,7): 'A' is declared twice"},
        {"struct A { float4 a; };\nfloat4 A;\n", "(2,8): 'A' is declared twice"},
        {"typedef float4 A;\nfloat4 A;\n", "(2,8): 'A' is declared twice"},
        {"typedef struct { float4 a; } T;\nfloat4 pixelMain() : COLOR0 T { return 0; }\n",
         "(2,29): expected '{'"},
        {"float4 pixelMain(float2 : TEXCOORD0) : COLOR0 { return 0; }\n",
         "(1,18): a parameter needs a type and a name"},
        {"float4 pixelMain(float2 a : VPOS) : COLOR0 {\n    return 1 + a.z++;\n}\n",
         "(2,18): vector swizzle selection out of range 'z'"},
        {"float4 pixelMain() : COLOR0 { float b, a; { float a[2]; } float a[2]; return 1; }\n",
         "(1,65): 'a' is declared twice"},
        {"float4 pixelMain() : COLOR0 { return 1 ++ + 2; }\n", "(1,40): '++' behind a number"},
        {"float4 pixelMain() : COLOR0 { case 1: return 0; }\n", "(1,31): 'case' outside a switch"},
        {"float4 pixelMain() : COLOR0 { float f() { return 0; } return 1; }\n",
         "(1,38): a function inside a function"},
    };
    for (const auto& [text, errors] : table)
        expectErrors(withPlainVertex(text), errors);
}

TEST(HlslErrors, OfTheVertexProgram) {
    const char* const table[][2] = {
        {"float4 vertexMain(float4 p : POSITION) : TEXCOORD0 { return p; }",
         ": the vertex program writes no POSITION"},
        {"float4 vertexMain(float4 p : BLENDWEIGHT) : POSITION { return p; }",
         "(1,30): meshes have no BLENDWEIGHT0 for the vertex program"},
        {"float4 vertexMain(float4 p) : POSITION { return p; }", ": the parameter 'p' needs a semantic"},
    };
    for (const auto& [text, errors] : table)
        expectErrors(text + std::string(" float4 pixelMain() : COLOR0 { return 0; }"), errors);
}
