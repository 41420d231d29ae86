#include "engine/hlsl/programs.h"

static void expectIn(const std::string& text, const char* part) {
    EXPECT_NE(text.find(part), std::string::npos) << "no \"" << part << "\" in\n" << text;
}

static void expectNotIn(const std::string& text, const char* part) {
    EXPECT_EQ(text.find(part), std::string::npos) << "\"" << part << "\" in\n" << text;
}

TEST(HlslTranslate, VertexInputsAreIrrlichtsAttributes) {
    const QbHlslProgram program = translated(R"(
struct In { float3 p : POSITION; float4 n : NORMAL; float4 c : COLOR; float t : TEXCOORD; float3 b : BINORMAL; };
float4 vertexMain(In i, float4 tangent : tangent, float2 last : TEXCOORD7) : POSITION {
    return float4(i.p, 1) + i.n + i.c + i.t + float4(i.b, 0) + tangent + last.xyxy;
}
float4 pixelMain() : COLOR { return 1; }
)");
    const std::string& glsl = program.vertex.glsl;
    EXPECT_EQ(glsl.substr(0, 13), "#version 130\n");
    expectIn(glsl, "gl_Vertex.xyz\n");
    expectIn(glsl, "vec4(gl_Normal, 1.0)\n");
    expectIn(glsl, " gl_Color\n");
    expectIn(glsl, " gl_MultiTexCoord0.x\n");
    expectIn(glsl, " gl_MultiTexCoord1\n");
    expectIn(glsl, " gl_MultiTexCoord2.xyz\n");
    expectIn(glsl, " gl_MultiTexCoord7.xy\n");
    expectNotIn(glsl, "\nin ");
}

TEST(HlslTranslate, VaryingsMeetBySemanticWhateverTheirNameOrderAndSize) {
    const QbHlslProgram program = translated(R"(
struct Out { float3 wide : TEXCOORD0; float2 narrow : texcoord1; float4 c : COLOR0; float4 p : POSITION;
             float3x3 frame : TEXCOORD2; float one : TEXCOORD6; };
Out vertexMain(float4 p : POSITION) {
    Out o;
    o.p = p; o.wide = p.xyz; o.narrow = p.xy; o.c = p; o.frame = float3x3(p.xyz, p.xyz, p.xyz); o.one = p.x;
    return o;
}
float4 pixelMain(float4 a : TEXCOORD1, float b : TEXCOORD0, float4 c : COLOR, float3x3 f : TEXCOORD2,
                 float4 one : TEXCOORD6) : COLOR0 {
    return a + b + c + float4(f[0], 1) + one;
}
)");
    for (const char* varying :
         {" vec3 qbVarying_TEXCOORD0;", " vec2 qbVarying_TEXCOORD1;", " vec4 qbVarying_COLOR0;",
          " mat3 qbVarying_TEXCOORD2;", " float qbVarying_TEXCOORD6;"}) {
        expectIn(program.vertex.glsl, ("\nout" + std::string(varying)).c_str());
        expectIn(program.pixel.glsl, ("\nin" + std::string(varying)).c_str());
    }
    expectIn(program.pixel.glsl, " vec4(qbVarying_TEXCOORD1, 0.0, 1.0)\n");
    expectIn(program.pixel.glsl, " qbVarying_TEXCOORD0.x\n");
    expectIn(program.pixel.glsl, " vec4(qbVarying_TEXCOORD6, 0.0, 0.0, 1.0)\n");
    expectIn(program.vertex.glsl, "    qbVarying_COLOR0 = clamp(qbVarying_COLOR0, 0.0, 1.0);\n}");
}

TEST(HlslTranslate, TargetsDepthAndWhatTheRasteriserGives) {
    const QbHlslProgram program = translated(withPlainVertex(R"(
struct Out { float4 second : COLOR1; float depth : DEPTH; float4 first : COLOR; };
Out pixelMain(float4 ignored : POSITION, float2 at : vpos, float face : VFACE) {
    Out o;
    o.first = float4(at, face, 1); o.second = 0; o.depth = 0.5;
    return o;
}
)"));
    const std::string& glsl = program.pixel.glsl;
    expectIn(glsl, "#define qbOut_COLOR0 gl_FragData[0]\n");
    expectIn(glsl, "#define qbOut_COLOR1 gl_FragData[1]\n");
    expectIn(glsl, " gl_FragDepth\n");
    expectIn(glsl, "vec4(gl_FragCoord.xy - 0.5, gl_FragCoord.zw).xy\n");
    expectIn(glsl, "(gl_FrontFacing ? 1.0 : -1.0)\n");
}

TEST(HlslTranslate, RemaindersAreTruncated) {
    const QbHlslProgram program = translated(withPlainVertex(R"(
float4 pixelMain(float2 uv : TEXCOORD0) : COLOR0 {
    return float4(fmod(uv, 2), fmod(-1.5, 1.0), uv.x % uv.y);
}
)"));
    expectIn(program.pixel.glsl, "trunc(");
    expectNotIn(program.pixel.glsl, " mod(");
}

TEST(HlslTranslate, TheVerticalAxisIsNegatedLastAndOnlyOnDemand) {
    const std::string text = withPlainVertex("float4 pixelMain() : COLOR0 { return 0; }");
    QbHlslSource source = sourceOf(text);
    QbHlslProgram program;
    const std::string line = "    gl_Position.y = -gl_Position.y;\n}\n";
    ASSERT_EQ(qbHlslTranslate(source, &program), 0);
    expectNotIn(program.vertex.glsl, line.c_str());
    source.negateY = true;
    ASSERT_EQ(qbHlslTranslate(source, &program), 0);
    expectIn(program.vertex.glsl, line.c_str());
    EXPECT_GT(program.vertex.glsl.find(line), program.vertex.glsl.find("void main()"));
}

TEST(HlslTranslate, UniformsInUseAreDescribedForEachProgram) {
    const QbHlslProgram program = translated(withPlainVertex(R"(
float4x4 Unused;
float4x3 Bones[2];
row_major float3x4 M34 : WORLD;
int Steps; uint Bits; bool On; half h;
float input : register(c7);
struct Light { float3 output; float2 cone[2]; } ;
Light lights[2];
float4 pixelMain(float4 v : TEXCOORD0) : COLOR0 {
    return float4(mul(v, Bones[1]), Steps) + float(Bits) + (On ? h : input) + lights[1].cone[0].x
           + float4(mul(M34, v), lights[0].output.x);
}
)"));
    EXPECT_TRUE(program.vertex.uniforms.empty());
    const struct {
        const char *name, *glslName;
        QbHlslType type;
        int rows, columns, count;
    } wanted[] = {{"Bones", "ps.Bones[0]", QB_HLSL_FLOAT, 4, 3, 2},
                  {"M34", "ps.M34", QB_HLSL_FLOAT, 3, 4, 0},
                  {"Steps", "ps.Steps", QB_HLSL_INT, 1, 1, 0},
                  {"Bits", "ps.Bits", QB_HLSL_UINT, 1, 1, 0},
                  {"On", "ps.On", QB_HLSL_BOOL, 1, 1, 0},
                  {"h", "ps.h", QB_HLSL_FLOAT, 1, 1, 0},
                  // GLSL keeps both words for itself.
                  {"input", "ps._input", QB_HLSL_FLOAT, 1, 1, 0},
                  {"lights[0].output", "ps.lights[0]._output", QB_HLSL_FLOAT, 1, 3, 0},
                  {"lights[0].cone", "ps.lights[0].cone[0]", QB_HLSL_FLOAT, 1, 2, 2},
                  {"lights[1].output", "ps.lights[1]._output", QB_HLSL_FLOAT, 1, 3, 0},
                  {"lights[1].cone", "ps.lights[1].cone[0]", QB_HLSL_FLOAT, 1, 2, 2}};
    ASSERT_EQ(program.pixel.uniforms.size(), std::size(wanted));
    for (size_t i = 0; i < std::size(wanted); ++i) {
        const QbHlslUniform& uniform = program.pixel.uniforms[i];
        SCOPED_TRACE(wanted[i].name);
        EXPECT_EQ(uniform.name, wanted[i].name);
        EXPECT_EQ(uniform.glslName, wanted[i].glslName);
        EXPECT_EQ(uniform.type, wanted[i].type);
        EXPECT_EQ(uniform.rows, wanted[i].rows);
        EXPECT_EQ(uniform.columns, wanted[i].columns);
        EXPECT_EQ(uniform.count, wanted[i].count);
        EXPECT_TRUE(uniform.value.empty());
    }
}

TEST(HlslTranslate, SamplersWithoutRegisterFillTheFreeLayersInOrderOfDeclaration) {
    const QbHlslProgram program = translated(withPlainVertex(R"(
sampler Last;
sampler2D Unused;
sampler2D Fixed : register(ps, s1);
samplerCUBE Cube, CubeToo;
sampler2D Pair[2];
sampler3D Volume : register(s0);
float4 fetch(sampler2D from, float2 uv) { return tex2D(from, uv); }
float4 pixelMain(float2 uv : TEXCOORD0) : COLOR0 {
    return tex3D(Volume, uv.xyx) + fetch(Pair[1], uv) + texCUBE(CubeToo, uv.xyx) + texCUBE(Cube, uv.xyx)
           + fetch(Fixed, uv) + texCUBE(Last, uv.xyx);
}
)"));
    const struct {
        const char *name, *glslName;
        int layer, count;
        QbHlslDimension dimension;
    } wanted[] = {{"Last", "Last", 2, 0, QB_HLSL_CUBE},  {"Fixed", "Fixed", 1, 0, QB_HLSL_2D},
                  {"Cube", "Cube", 3, 0, QB_HLSL_CUBE},  {"CubeToo", "CubeToo", 4, 0, QB_HLSL_CUBE},
                  {"Pair", "Pair[0]", 5, 2, QB_HLSL_2D}, {"Volume", "Volume", 0, 0, QB_HLSL_3D}};
    ASSERT_EQ(program.pixel.samplers.size(), std::size(wanted));
    for (size_t i = 0; i < std::size(wanted); ++i) {
        const QbHlslSampler& sampler = program.pixel.samplers[i];
        SCOPED_TRACE(wanted[i].name);
        EXPECT_EQ(sampler.name, wanted[i].name);
        EXPECT_EQ(sampler.glslName, wanted[i].glslName);
        EXPECT_EQ(sampler.layer, wanted[i].layer);
        EXPECT_EQ(sampler.count, wanted[i].count);
        EXPECT_EQ(sampler.dimension, wanted[i].dimension);
    }
}

TEST(HlslTranslate, TheVertexProgramNumbersItsOwnSamplers) {
    const QbHlslProgram program = translated(R"(
sampler2D Height, Color;
void vertexMain(float4 p : POSITION, out float4 o : POSITION) { o = p + tex2Dlod(Color, p); }
float4 pixelMain() : COLOR0 { return tex2D(Height, 0.5) + tex2D(Color, 0.5); }
)");
    ASSERT_EQ(program.vertex.samplers.size(), 1u);
    EXPECT_EQ(program.vertex.samplers[0].glslName, "vs_Color");
    EXPECT_EQ(program.vertex.samplers[0].layer, 0);
    ASSERT_EQ(program.pixel.samplers.size(), 2u);
    EXPECT_EQ(program.pixel.samplers[1].glslName, "Color");
    EXPECT_EQ(program.pixel.samplers[1].layer, 1);
}

TEST(HlslTranslate, EachProgramMayHaveItsOwnText) {
    QbHlslSource source =
        sourceOf("float K = 1; float4 vertexMain(float4 p : POSITION) : POSITION { return p * K; }");
    source.pixelText = "float K = 2; float4 pixelMain() : COLOR0 { return K; }";
    QbHlslProgram program;
    ASSERT_EQ(qbHlslTranslate(source, &program), 0) << errorsOf(program);
    EXPECT_EQ(program.vertex.uniforms.at(0).value, std::vector<float>{1});
    EXPECT_EQ(program.pixel.uniforms.at(0).value, std::vector<float>{2});
}
