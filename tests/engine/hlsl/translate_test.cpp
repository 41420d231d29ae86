#include "engine/hlsl/programs.h"

#include <initializer_list>

static void expectIn(const std::string& text, std::initializer_list<const char*> parts) {
    for (const char* part : parts)
        EXPECT_NE(text.find(part), std::string::npos) << "no \"" << part << "\" in\n" << text;
}

TEST(HlslTranslate, InputsAndOutputsMeetBySemanticWhateverTheirNameOrderAndSize) {
    const QbHlslProgram program = translated(R"(
struct Out { float3 wide : TEXCOORD0; float2 narrow : texcoord1; float4 c : COLOR0; float4 p : POSITION;
             float3x3 frame : TEXCOORD2; };
Out vertexMain(float3 p : POSITION, float4 n : NORMAL, float4 c : COLOR, float t : TEXCOORD,
               float3 b : BINORMAL, float4 tangent : tangent, float2 last : TEXCOORD7) {
    Out o;
    o.p = float4(p, 1) + n; o.wide = p + t; o.narrow = last; o.c = c + float4(b, 0) + tangent;
    o.frame = float3x3(p, p, p);
    return o;
}
struct Pixel { float4 second : COLOR1; float depth : DEPTH; float4 first : COLOR; };
Pixel pixelMain(float4 a : TEXCOORD1, float b : TEXCOORD0, float3x3 f : TEXCOORD2, float face : VFACE) {
    Pixel o;
    o.first = a + b + float4(f[0], face); o.second = 0; o.depth = 0.5;
    return o;
}
)");
    expectIn(program.vertex.glsl,
             {"#version 130\n", "gl_Vertex.xyz\n", "vec4(gl_Normal, 1.0)\n", " gl_Color\n",
              " gl_MultiTexCoord0.x\n", " gl_MultiTexCoord1\n", " gl_MultiTexCoord2.xyz\n",
              " gl_MultiTexCoord7.xy\n", "\nout vec3 qbVarying_TEXCOORD0;", "\nout vec2 qbVarying_TEXCOORD1;",
              "\nout mat3 qbVarying_TEXCOORD2;"});
    expectIn(program.pixel.glsl, {"\nin vec3 qbVarying_TEXCOORD0;", " vec4(qbVarying_TEXCOORD1, 0.0, 1.0)\n",
                                  " qbVarying_TEXCOORD0.x\n", "#define qbOut_COLOR1 gl_FragData[1]\n",
                                  " gl_FragDepth\n", "(gl_FrontFacing ? 1.0 : -1.0)\n"});
}

TEST(HlslTranslate, TheVerticalAxisIsNegatedLastAndOnlyOnDemand) {
    const std::string text = withPlainVertex("float4 pixelMain() : COLOR0 { return 0; }");
    QbHlslSource source = sourceOf(text);
    for (const bool negate : {false, true}) {
        source.negateY = negate;
        QbHlslProgram program;
        ASSERT_EQ(qbHlslTranslate(source, &program), 0);
        const size_t at = program.vertex.glsl.find("    gl_Position.y = -gl_Position.y;\n}\n");
        EXPECT_EQ(at != std::string::npos && at > program.vertex.glsl.find("void main()"), negate);
    }
}

TEST(HlslTranslate, UniformsInUseAreDescribed) {
    const QbHlslProgram program = translated(withPlainVertex(R"(
float4x4 Unused;
float4x3 Bones[2];
row_major float3x4 M34 : WORLD;
int Steps; uint Bits; bool On; half h = 2;
float input : register(c7);
struct Light { float3 output; float2 cone[2]; } ;
Light lights[2];
float4 pixelMain(float4 v : TEXCOORD0) : COLOR0 {
    return float4(mul(v, Bones[1]), Steps) + float(Bits) + (On ? h : input) + lights[1].cone[0].x
           + float4(mul(M34, v), lights[0].output.x);
}
)"));
    EXPECT_TRUE(program.vertex.uniforms.empty());
    std::string text;
    for (const QbHlslUniform& u : program.pixel.uniforms)
        text += "\n" + u.name + " " + u.glslName + " " + "FIUB"[u.type] + std::to_string(u.rows) + "x" +
                std::to_string(u.columns) + " " + std::to_string(u.count);
    EXPECT_EQ(text, "\nBones ps.Bones[0] F4x3 2"
                    "\nM34 ps.M34 F3x4 0"
                    "\nSteps ps.Steps I1x1 0"
                    "\nBits ps.Bits U1x1 0"
                    "\nOn ps.On B1x1 0"
                    "\nh ps.h F1x1 0"
                    "\ninput ps._input F1x1 0" // GLSL keeps the word for itself, and the next
                    "\nlights[0].output ps.lights[0]._output F1x3 0"
                    "\nlights[0].cone ps.lights[0].cone[0] F1x2 2"
                    "\nlights[1].output ps.lights[1]._output F1x3 0"
                    "\nlights[1].cone ps.lights[1].cone[0] F1x2 2");
    EXPECT_EQ(program.pixel.uniforms.at(5).value, std::vector<float>{2});
}

static std::string samplersOf(const QbHlslStage& stage) {
    std::string text;
    for (const QbHlslSampler& s : stage.samplers)
        text += s.glslName + " " + "123C"[s.dimension] + std::to_string(s.layer) + " " +
                std::to_string(s.count) + "\n";
    return text;
}

TEST(HlslTranslate, SamplersWithoutRegisterFillTheFreeLayersInOrderOfDeclaration) {
    const QbHlslProgram program = translated(R"(
sampler Last;
sampler2D Unused;
sampler2D Fixed : register(ps, s1);
samplerCUBE Cube, CubeToo;
sampler2D Pair[2];
sampler3D Volume : register(s0);
float4 fetch(sampler2D from, float2 uv) { return tex2D(from, uv); }
void vertexMain(float4 p : POSITION, out float4 o : POSITION) { o = p + tex2Dlod(Unused, p); }
float4 pixelMain(float2 uv : VPOS) : COLOR0 {
    return tex3D(Volume, uv.xyx) + fetch(Pair[1], uv) + texCUBE(CubeToo, uv.xyx) + texCUBE(Cube, uv.xyx)
           + fetch(Fixed, uv) + texCUBE(Last, uv.xyx);
}
)");
    EXPECT_EQ(samplersOf(program.vertex), "vs_Unused 20 0\n");
    EXPECT_EQ(samplersOf(program.pixel), "Last C2 0\nFixed 21 0\nCube C3 0\nCubeToo C4 0\nPair[0] 25 2\n"
                                         "Volume 30 0\n");
}

TEST(HlslTranslate, AheadGivesTheSameWhetherAskedForOrNot) {
    std::vector<std::string> texts;
    for (int i = 0; i < 12; ++i)
        texts.push_back(withPlainVertex("float4 pixelMain() : COLOR0 { return " + std::to_string(i) +
                                        (i % 4 == 3 ? "\n+ Missing; }" : "; }")));
    std::vector<QbHlslSource> sources;
    for (const std::string& text : texts)
        sources.push_back(sourceOf(text));
    for (int round = 0; round < 3; ++round) {
        qbHlslTranslateAhead(sources.data(), sources.size());
        for (size_t i = 1; i < sources.size(); i += 2) { // every other one is never asked for
            QbHlslProgram program;
            const bool isGood = i % 4 != 3;
            EXPECT_EQ(qbHlslTranslate(sources[i], &program), isGood ? 0 : -1);
            EXPECT_EQ(errorsOf(program), isGood ? "" : "test.hlsl(2,3): unknown variable 'Missing'\n");
            if (isGood) expectIn(program.pixel.glsl, {("vec4(" + std::to_string(i) + ".0)").c_str()});
        }
    }
}
