#include "engine/hlsl/programs.h"

namespace {

struct Broken {
    const char* name;
    const char* text;   // behind it stands the plain vertex program
    const char* errors; // exactly
};

std::ostream& operator<<(std::ostream& out, const Broken& broken) {
    return out << broken.name;
}

class HlslErrors : public testing::TestWithParam<Broken> {};

} // namespace

TEST_P(HlslErrors, NameTheAuthorsPlace) {
    const std::string text = withPlainVertex(GetParam().text);
    QbHlslProgram program;
    EXPECT_EQ(qbHlslTranslate(sourceOf(text), &program), -1);
    EXPECT_EQ(errorsOf(program), GetParam().errors);
    EXPECT_TRUE(program.vertex.glsl.empty() && program.pixel.glsl.empty());
}

static const Broken brokenTexts[] = {
    // Words that the passes ahead of the compiler moved or replaced stand in the author's column all the
    // same.
    {"unknownName",
     "#define TWICE(x) ((x) + (x))\nfloat4 pixelMain(float2 p : VPOS) : COLOR0 {\n"
     "    return TWICE(p.x) + fmod(p.x, 2) * Missing;\n}\n",
     "test.hlsl(3,40): unknown variable 'Missing'\n"},
    {"missingSemicolon", "float4 pixelMain() : COLOR0 {\n    float4 a = 1\n    return a;\n}\n",
     "test.hlsl(3,5): Expected ';'\n"},
    {"wrongArguments", "/* one\n   two */ float4 pixelMain() : COLOR0 { return dot(float2(1, 2)); }\n",
     "test.hlsl(2,48): no matching overloaded function found 'dot'\n"},
    {"behindSamplerState",
     "sampler2D A = sampler_state {\n    MinFilter = Point;\n};\n"
     "float4 pixelMain() : COLOR0 {\n    return tex2D(A, 0).rgbq;\n}\n",
     "test.hlsl(5,24): vector swizzle selectors not from the same set 'rgbq'\n"},
    {"noEntryPoint", "float4 other() : COLOR0 { return 0; }\n",
     "test.hlsl: there is no function 'pixelMain' for the pixel program\n"},
    {"unwrittenInput",
     "float4 pixelMain(float2 a : TEXCOORD0,\n                 float2 b : TEXCOORD3) : COLOR0 { return a.x + "
     "b.x; }\n",
     "test.hlsl(2,29): the pixel program reads TEXCOORD3, which the vertex program does not write\n"},
    {"narrowTarget", "float3 pixelMain() : COLOR0 { return 0; }\n",
     "test.hlsl(1,22): the pixel program's COLOR0 must be float4\n"},
    {"noTarget", "void pixelMain() { }\n", "test.hlsl: the pixel program writes no COLOR0\n"},
    {"fifthTarget", "void pixelMain(out float4 a : COLOR0, out float4 b : COLOR4) { a = b = 0; }\n",
     "test.hlsl(1,54): a pixel program writes COLOR0 to COLOR3 and DEPTH, not COLOR4\n"},
    {"repeatedSemantic",
     "float4 pixelMain(float2 a : TEXCOORD0, float2 b : TEXCOORD) : COLOR0 { return 0; }\n",
     "test.hlsl(1,51): the semantic TEXCOORD is used twice\n"},
    {"samplerState", "sampler A = sampler_state { MinFilter = Blurred; };",
     "test.hlsl(1,41): 'Blurred' is no filter: None, Point, Linear or Anisotropic\n"},
    {"samplerStateName", "sampler A = sampler_state { Filtre = Point; };",
     "test.hlsl(1,29): unknown sampler state 'Filtre'\n"},
    {"samplerRegister", "sampler A : register(s16);", "test.hlsl(1,13): a sampler's register is s0 to s15\n"},
    {"samplersCollide",
     "sampler A : register(s2);\nsampler B : register(s2);\n"
     "float4 pixelMain() : COLOR0 { return tex2D(A, 0) + tex2D(B, 0); }\n",
     "test.hlsl(2,9): the register of the sampler 'B' is taken\n"},
    {"laterTextures",
     "Texture2D A; SamplerState S;\nfloat4 pixelMain() : COLOR0 { return A.Sample(S, 0); }\n",
     "test.hlsl: 'A' is not for this profile: write sampler2D and tex2D, or samplerCUBE and texCUBE\n"},
    {"initialiserCount", "float4 A = { 1, 2, 3 };", "test.hlsl(1,8): 'A' takes 4 values, not 3\n"},
    {"initialiserValue", "float A;\nfloat B = sin(1);",
     "test.hlsl(2,7): the value of 'B' must be made of plain numbers\n"},
    // Mistakes that the compiler behind does not survive.
    {"declaredTwice", "float A;\nfloat4 A;\n", "test.hlsl(2,8): 'A' is declared twice\n"},
    {"functionAndVariable", "float A;\nfloat A() { return 1; }\n", "test.hlsl(2,7): 'A' is declared twice\n"},
    {"namelessParameter", "float4 pixelMain(float2 : TEXCOORD0) : COLOR0 { return 0; }\n",
     "test.hlsl(1,18): a parameter needs a type and a name\n"},
    {"incrementOfNothing", "float4 pixelMain(float2 a : VPOS) : COLOR0 {\n    return 1 + a.z++;\n}\n",
     "test.hlsl(2,18): vector swizzle selection out of range 'z'\n"},
    {"arrayAfterPlain", "float4 pixelMain() : COLOR0 { float b, a; { float a[2]; } float a[2]; return 1; }\n",
     "test.hlsl(1,65): 'a' is declared twice\n"},
    {"incrementBehindNumber", "float4 pixelMain() : COLOR0 { return 1 ++ + 2; }\n",
     "test.hlsl(1,40): '++' behind a number\n"},
    {"strayLabel", "float4 pixelMain() : COLOR0 { case 1: return 0; }\n",
     "test.hlsl(1,31): 'case' outside a switch\n"},
    {"variableLabel", "int A; float4 pixelMain() : COLOR0 { switch (A) { case A: return 0; } return 1; }\n",
     "test.hlsl(1,56): 'A' is no constant\n"},
    {"innerFunction", "float4 pixelMain() : COLOR0 { float f() { return 0; } return 1; }\n",
     "test.hlsl(1,38): a function inside a function\n"},
    {"include", "\n  #include \"other.h\"\n",
     "test.hlsl(2,4): #include: a shader is one file, copy the text in\n"},
    {"errorDirective", "#if 1 + 1 == 2\n#error no good\n#endif\n", "test.hlsl(2,2): #error no good\n"},
    {"openCondition", "#ifdef A\n#else\n", "test.hlsl(1,2): this condition is never closed with #endif\n"},
    {"macroArguments", "#define F(a, b) a\nfloat x = F(1);\n",
     "test.hlsl(2,11): the macro 'F' takes 2 arguments, not 1\n"},
};
INSTANTIATE_TEST_SUITE_P(Texts, HlslErrors, testing::ValuesIn(brokenTexts),
                         [](const testing::TestParamInfo<Broken>& one) { return one.param.name; });

TEST(HlslError, TheVertexProgramsOwnErrors) {
    const struct {
        const char *text, *errors;
    } table[] = {
        {"float4 vertexMain(float4 p : POSITION) : TEXCOORD0 { return p; }",
         "test.hlsl: the vertex program writes no POSITION\n"},
        {"float4 vertexMain(float4 p : BLENDWEIGHT) : POSITION { return p; }",
         "test.hlsl(1,30): meshes have no BLENDWEIGHT0 for the vertex program\n"},
        {"float4 vertexMain(int4 p : POSITION) : POSITION { return p; }",
         "test.hlsl(1,28): POSITION0 must be float, float2, float3 or float4\n"},
        {"float4 vertexMain(float4 p) : POSITION { return p; }",
         "test.hlsl: the parameter 'p' needs a semantic\n"},
    };
    for (const auto& one : table) {
        QbHlslProgram program;
        const std::string text = std::string(one.text) + " float4 pixelMain() : COLOR0 { return 0; }";
        EXPECT_EQ(qbHlslTranslate(sourceOf(text), &program), -1);
        EXPECT_EQ(errorsOf(program), one.errors);
    }
}
