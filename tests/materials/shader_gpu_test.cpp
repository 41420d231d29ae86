#include "engine/cube_map.h"
#include "materials/shader_stage.h"
#include "support/allocations.h"

#include <algorithm>
#include <cstring>
#include <epoxy/gl.h>
#include <string>
#include <vector>

using namespace irr;

namespace {

class ShaderGpu : public ShaderStage {
protected:
    // A shader that shows one colour everywhere.
    QbIrrShader* plain(const std::string& base, const char* color) {
        return load("//[QUAB_BEGIN]\n//config baseMaterial : " + base +
                    "\n//function vertexMain : Corner;\n//function pixelMain : Paint;\n//[QUAB_END]\n"
                    "float4 Corner(float4 p : POSITION) : POSITION { return p; }\n"
                    "float4 Paint() : COLOR0 { return float4(" +
                    color + "); }\n");
    }

    void expectTexel(int x, int y, const Texel& wanted) const {
        for (size_t c = 0; c < 4; ++c)
            EXPECT_NEAR(at(x, y)[c], wanted[c], 0.005F) << "channel " << c;
    }

    video::IImage* image(u32 width, u32 height, video::SColor color) {
        video::IImage* made = driver->createImage(video::ECF_A8R8G8B8, core::dimension2du(width, height));
        made->fill(color);
        images.push_back(made);
        return made;
    }
    ITextureCUBE* cube(const char* name, u32 edge) {
        video::IImage* face = image(edge, edge, video::SColor(255, 0, 0, 0));
        return addTextureCubeMap(name, face, face, face, face, face, face);
    }
    void TearDown() override {
        for (video::IImage* made : images)
            made->drop();
        ShaderStage::TearDown();
    }

    std::vector<video::IImage*> images;
};

} // namespace

// --- Compilation -----------------------------------------------------------------------------------------

TEST_F(ShaderGpu, MistakesAreShownInTheAuthorsLines) {
    static const char vertex[] = "float4 vertexMain(float4 p : POSITION) : POSITION { return p; }\n";
    static const struct {
        const char* text;
        const char* message;
    } table[] = {
        {"float4 pixelMain() : COLOR0 {\n    float4 a = 1\n    return a;\n}\n", "test.fx(4,5): Expected ';'"},
        {"//QUAB_PP:D:A:float4 pixelMain() : COLOR0 { return Missing; }\n",
         "test.fx(2,52): unknown variable 'Missing'"},
        {"float4 pixelMain() : COLOR0 {\n    float2 a = 1;\n    return dot(a);\n}\n",
         "test.fx(4,12): no matching overloaded function found 'dot'"},
        {"float4 pixelMain(float2 uv : TEXCOORD0) : COLOR0 { return uv.x; }\n",
         "test.fx(2,30): the pixel program reads TEXCOORD0, which the vertex program does not write"},
        {"float4 other() : COLOR0 { return 1; }\n",
         "test.fx: there is no function 'pixelMain' for the pixel program"},
        {"float4 A[4096], B[4096], C[4096], D[4096];\nfloat4 pixelMain(float2 at : VPOS) : COLOR0 {\n"
         "    return A[at.x] + B[at.x] + C[at.x] + D[at.x]; }\n",
         "test.fx: the driver refuses the translated program, for the reason in the log"},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.text);
        messages.texts().clear();
        directory.write("test.fx", std::string(vertex) + row.text);
        const char* const defines[] = {"A", nullptr};
        QbIrrShader* shader = qbIrrShaderCreate("test.fx", defines);
        testing::internal::CaptureStdout();
        EXPECT_EQ(qbIrrShaderSetupGpuMaterial(shader), -1);
        const std::string trace = testing::internal::GetCapturedStdout();
        const char* const line = "!! ERROR: addHighLevelShaderMaterialFromFiles('test.fx') failed\n";
        EXPECT_NE(trace.find(line), std::string::npos) << trace;
        EXPECT_EQ(messages.texts(), std::vector<std::string>{row.message});
        EXPECT_EQ(qbShaderMaterialType(shader), -1);
        EXPECT_TRUE(shader->vertexText && shader->pixelText && !shader->program);
        qbIrrShaderFree(shader);
    }
}

TEST_F(ShaderGpu, OneMessageHoldsTheFirstEightMistakes) {
    for (const int mistakes : {8, 9, 11}) {
        messages.texts().clear();
        std::string inputs, sum = "0";
        for (int i = 0; i < mistakes; ++i) {
            const std::string name = "t" + std::to_string(i);
            inputs += (i ? ", float4 " : "float4 ") + name + " : TEXCOORD" + std::to_string(i);
            sum += " + " + name;
        }
        EXPECT_EQ(load("float4 vertexMain(float4 p : POSITION) : POSITION { return p; }\n"
                       "float4 pixelMain(" +
                       inputs + ") : COLOR0 { return " + sum + "; }\n"),
                  nullptr);
        ASSERT_EQ(messages.texts().size(), 1U);
        const std::string& message = messages.texts()[0];
        EXPECT_EQ(std::count(message.begin(), message.end(), '\n'), mistakes > 8 ? 8 : 7);
        const char* const end = mistakes == 8   ? "TEXCOORD7, which the vertex program does not write"
                                : mistakes == 9 ? "write\nand 1 more error"
                                                : "write\nand 3 more errors";
        EXPECT_EQ(message.substr(message.size() - std::min(message.size(), strlen(end))), end);
    }
}

// --- Blending --------------------------------------------------------------------------------------------

TEST_F(ShaderGpu, BaseMaterialsBlend) {
    static const struct {
        const char* base;
        const char* color;
        Texel wanted; // over 0.2, 0.2, 0.2, 0
    } table[] = {
        {"solid", "0.5, 0.25, 1, 0", {0.5F, 0.25F, 1, 0}},
        {"transparent_add_color", "0.5, 0.25, 0, 0", {0.6F, 0.4F, 0.2F, 0}},
        {"transparent", "1, 0, 0.2, 0.5", {0.6F, 0.1F, 0.2F, 0.25F}},
        {"transparent_alpha_channel_ref", "1, 0, 0, 0.45", {0.2F, 0.2F, 0.2F, 0}},
        {"transparent_alpha_channel_ref", "1, 0, 0, 0.55", {1, 0, 0, 0.55F}},
        // Its alpha test is off: alpha 0 adds all the same.
        {"onetexture_blend", "0.5, 0.25, 0, 0", {0.7F, 0.45F, 0.2F, 0}},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(std::string(row.base) + " " + row.color);
        const QbIrrShader* ground = plain("solid", "0.2, 0.2, 0.2, 0");
        const QbIrrShader* shader = plain(row.base, row.color);
        ASSERT_NE(shader, nullptr);
        EXPECT_TRUE(!shader->vertexText && !shader->pixelText);
        video::SMaterial material = materialOf(shader);
        if (shader->baseMaterial == QB_BASE_ONETEXTURE_BLEND) {
            material.MaterialTypeParam = video::pack_textureBlendFunc(video::EBF_ONE, video::EBF_ONE);
            material.BlendOperation = video::EBO_ADD;
        }
        qbTargetSet(target, true, video::SColor(0, 0, 0, 0));
        drawQuad(materialOf(ground));
        drawQuad(material);
        qbTargetRead(target, texels.data());
        expectTexel(4, 4, row.wanted);
    }
}

// --- Constants -------------------------------------------------------------------------------------------

TEST_F(ShaderGpu, DrawsWithoutAllocating) {
    QbIrrShader* shader = probe("float4x4 V : WorldViewProjection", "float4x4 V", "mul(V, P)");
    const video::SMaterial material = materialOf(shader);
    qbTargetSet(target, true);
    drawQuad(material);
    // What a draw does with constants; the driver below may allocate as it likes.
    video::IMaterialRenderer* renderer =
        driver->getMaterialRenderer(static_cast<u32>(qbShaderMaterialType(shader)));
    for (int i = 0; i < 3; ++i) {
        core::matrix4 world;
        world.setTranslation(core::vector3df(static_cast<f32>(i), 0, 0));
        driver->setTransform(video::ETS_WORLD, world);
        const long before = allocationCount();
        renderer->OnRender(nullptr, video::EVT_STANDARD);
        EXPECT_EQ(allocationCount(), before);
    }
}

// A pair whose pixel program shows its register 7, with what the vertex program hands over added.
TEST_F(ShaderGpu, AssemblerProgramsReceiveRegisters) {
    static const struct {
        const char* vertex;
        const char* pixel;
        Texel wanted;
    } table[] = {
        {"float4x4 M : WorldViewProjection; 2", "", {3, 5, 7, 1}}, // of (2, 3, 4, 1), moved by (1, 2, 3)
        {"float4x4 M : World; 2", "", {0, 0, 0, 0}},
        {"", "float V : 2.5; 7", {2.5F, 0, 0, 0}},
        {"", "float4 V : 1,2,3,4; 7", {1, 2, 3, 4}},
        {"", "float4x4 V : View; 4", {0, 0, 0, 0}},
        {"", "float4 V : ViewPosition; 7", {0, 0, 0, 0}},
        {"", "float V : ZFarValue; 7", {101, 0, 0, 0}},
        {"", "floatN Floats : 0; 7", {1, 2, 3, 4}},
        {"", "floatN Floats : 0; 6", {5, 0, 0, 0}},
        {"", "floatN Floats : 0; 255", {0, 0, 0, 0}},
    };
    int number = 0;
    for (const auto& row : table) {
        SCOPED_TRACE(std::string(row.vertex) + row.pixel);
        const auto block = [](const std::string& line) {
            return "//[QUAB_BEGIN]\n" + (line.empty() ? "" : "//" + line + "\n") + "//[QUAB_END]\n";
        };
        const std::string name = "pair" + std::to_string(number++);
        directory.write(name + ".vsh", "!!ARBvp1.0\n" + block(row.vertex) +
                                           "PARAM m[4] = { program.local[2..5] };\n"
                                           "PARAM p = { 2, 3, 4, 1 };\n"
                                           "MOV result.position, vertex.position;\n"
                                           "DP4 result.texcoord[0].x, p, m[0];\n"
                                           "DP4 result.texcoord[0].y, p, m[1];\n"
                                           "DP4 result.texcoord[0].z, p, m[2];\n"
                                           "DP4 result.texcoord[0].w, p, m[3];\n"
                                           "END\n");
        directory.write(name + ".psh",
                        "!!ARBfp1.0\n" + block(row.pixel) +
                            "ADD result.color, fragment.texcoord[0], program.local[7];\nEND\n");
        QbIrrShader* shader = qbIrrShaderCreate(name.c_str(), nullptr);
        ASSERT_EQ(qbIrrShaderSetupGpuMaterial(shader), 0);
        const float floats[] = {1, 2, 3, 4, 5};
        qbShaderSetFloatN(shader, "Floats", floats, 5);
        core::matrix4 world;
        world.setTranslation(core::vector3df(1, 2, 3));
        for (const auto transform : {video::ETS_VIEW, video::ETS_PROJECTION})
            driver->setTransform(transform, core::IdentityMatrix);
        driver->setTransform(video::ETS_WORLD, world);
        draw(shader);
        expectTexel(4, 4, row.wanted);
    }

    directory.write("broken.vsh", "!!ARBvp1.0\nMOVE result.position, vertex.position;\nEND\n");
    directory.write("broken.psh", "!!ARBfp1.0\nMOV result.color, 1;\nEND\n");
    QbIrrShader* broken = qbIrrShaderCreate("broken", nullptr);
    EXPECT_EQ(qbIrrShaderSetupGpuMaterial(broken), -1);
    EXPECT_EQ(messages.texts(),
              std::vector<std::string>{
                  "broken.vsh + broken.psh: the driver refuses the programs, for the reason in the log"});
    qbIrrShaderFree(broken);
}

// --- Sampling --------------------------------------------------------------------------------------------

TEST_F(ShaderGpu, SamplersSetLayersOfTheMaterial) {
    const std::string text =
        "sampler2D A : register(s0) = sampler_state { MinFilter = Point; MagFilter = Point; MipFilter = "
        "None;\n"
        "    AddressU = Clamp; AddressV = Mirror; };\n"
        "sampler2D B : register(s1) = sampler_state { MinFilter = Linear; MagFilter = Linear; MipFilter = "
        "Linear;\n"
        "    AddressU = Border; AddressV = Wrap; };\n"
        "sampler2D C : register(s2) = sampler_state { MinFilter = Anisotropic; MagFilter = Linear;\n"
        "    MaxAnisotropy = 4; AddressU = MirrorOnce; };\n"
        "sampler2D D : register(s3);\n"
        "void vertexMain(float4 p : POSITION, float2 t : TEXCOORD0, out float4 o : POSITION,\n"
        "                out float2 uv : TEXCOORD0) { o = p; uv = t; }\n"
        "float4 pixelMain(float2 uv : TEXCOORD0) : COLOR0 {\n"
        "    return tex2D(A, uv) + tex2D(B, uv) + tex2D(C, uv) + tex2D(D, uv); }\n";
    const QbIrrShader* shader = load(text);
    ASSERT_NE(shader, nullptr);
    // What is not written stays, so both beginnings are tried.
    for (const bool start : {false, true}) {
        video::SMaterial material;
        for (video::SMaterialLayer& layer : material.TextureLayer) {
            layer.BilinearFilter = layer.TrilinearFilter = start;
            layer.AnisotropicFilter = start ? 2 : 0;
            layer.TextureWrapU = layer.TextureWrapV = video::ETC_MIRROR_CLAMP;
        }
        qbShaderApply(shader, &material);
        const struct {
            bool bilinear, trilinear;
            int anisotropic, u, v;
        } wanted[] = {
            {false, false, 0, video::ETC_CLAMP_TO_EDGE, video::ETC_MIRROR},
            {true, true, 0, video::ETC_CLAMP_TO_BORDER, video::ETC_REPEAT},
            {true, start, 4, video::ETC_MIRROR_CLAMP_TO_EDGE, video::ETC_MIRROR_CLAMP},
            {start, start, start ? 2 : 0, video::ETC_MIRROR_CLAMP, video::ETC_MIRROR_CLAMP},
        };
        for (int i = 0; i < 4; ++i) {
            const video::SMaterialLayer& layer = material.TextureLayer[i];
            EXPECT_EQ(layer.BilinearFilter, wanted[i].bilinear) << i;
            EXPECT_EQ(layer.TrilinearFilter, wanted[i].trilinear) << i;
            EXPECT_EQ(layer.AnisotropicFilter, wanted[i].anisotropic) << i;
            EXPECT_EQ(layer.TextureWrapU, wanted[i].u) << i;
            EXPECT_EQ(layer.TextureWrapV, wanted[i].v) << i;
        }
        EXPECT_EQ(material.MaterialType, qbShaderMaterialType(shader));
        EXPECT_TRUE(material.UseMipMaps);
    }
    const QbIrrShader* flat = load("sampler2D A = sampler_state { MipFilter = None; };\n"
                                   "float4 vertexMain(float4 p : POSITION) : POSITION { return p; }\n"
                                   "float4 pixelMain() : COLOR0 { return tex2D(A, 0.5); }\n");
    EXPECT_FALSE(materialOf(flat).UseMipMaps);
}

TEST_F(ShaderGpu, SamplersReadTheirLayers) {
    const QbIrrShader* shader =
        load("sampler2D Pair[2] : register(s1);\nsampler2D Lifted : register(s3);\n"
             "void vertexMain(float4 p : POSITION, float2 t : TEXCOORD0, out float4 o : POSITION,\n"
             "                out float2 uv : TEXCOORD0, out float4 seen : TEXCOORD1) {\n"
             "    o = p; uv = t; seen = tex2Dlod(Lifted, float4(t, 0, 0)); }\n"
             "float4 pixelMain(float2 uv : TEXCOORD0, float4 seen : TEXCOORD1) : COLOR0 {\n"
             "    return float4(tex2D(Pair[0], uv).r, tex2D(Pair[1], uv).g, seen.b, 1); }\n");
    ASSERT_NE(shader, nullptr);
    video::SMaterial material = materialOf(shader);
    const video::SColor colors[] = {{255, 0, 0, 0}, {255, 51, 0, 0}, {255, 0, 102, 0}, {255, 0, 0, 153}};
    for (u32 i = 0; i < 4; ++i)
        material.setTexture(i, driver->addTexture(std::to_string(i).c_str(), image(2, 2, colors[i])));
    draw(material);
    expectTexel(4, 4, {0.2F, 0.4F, 0.6F, 1});
}

// --- Cube maps -------------------------------------------------------------------------------------------

TEST_F(ShaderGpu, CubeMapShowsEachFaceInItsDirection) {
    const video::SColor colors[] = {{255, 255, 0, 0},   {255, 0, 255, 0},   {255, 0, 0, 255},
                                    {255, 255, 255, 0}, {255, 0, 255, 255}, {128, 255, 0, 255}};
    video::IImage* faces[6];
    for (size_t i = 0; i < 6; ++i)
        faces[i] = image(64, 64, colors[i]);
    // The left top quarter of +Z, as its file shows it.
    for (u32 y = 0; y < 32; ++y)
        for (u32 x = 0; x < 32; ++x)
            faces[4]->setPixel(x, y, video::SColor(255, 255, 255, 255));
    const ITextureCUBE* sky =
        addTextureCubeMap("sky.png", faces[0], faces[1], faces[2], faces[3], faces[4], faces[5]);
    ASSERT_NE(sky, nullptr);
    QbIrrShader* shader =
        load("//[QUAB_BEGIN]\n//texture 2 : sky.png cube\n//float3 Way : 0,0,0; pixel\n//[QUAB_END]\n"
             "samplerCUBE Sky : register(s2);\nfloat3 Way;\n"
             "float4 vertexMain(float4 p : POSITION) : POSITION { return p; }\n"
             "float4 pixelMain() : COLOR0 { return texCUBE(Sky, Way); }\n");
    ASSERT_NE(shader, nullptr);
    qbShaderSetCubeMap(shader, 2, sky);
    static const struct {
        float way[3];
        Texel wanted;
    } table[] = {
        {{1, 0.1F, 0.2F}, {1, 0, 0, 1}},   {{-1, 0.1F, 0.2F}, {0, 1, 0, 1}},
        {{0.1F, 1, 0.2F}, {0, 0, 1, 1}},   {{0.1F, -1, 0.2F}, {1, 1, 0, 1}},
        {{0.5F, -0.5F, 1}, {0, 1, 1, 1}},  {{0.1F, 0.2F, -1}, {1, 0, 1, 128 / 255.0F}},
        {{-0.5F, 0.5F, 1}, {1, 1, 1, 1}},  {{0.5F, 0.5F, 1}, {0, 1, 1, 1}},
        {{-0.5F, -0.5F, 1}, {0, 1, 1, 1}},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(testing::PrintToString(row.way));
        qbShaderSetFloat3(shader, "Way", row.way[0], row.way[1], row.way[2]);
        draw(shader);
        expectTexel(4, 4, row.wanted);
    }
    // The engine goes on at the first unit.
    drawQuad(materialOf(shader));
    GLint unit = 0;
    driver->getMaterialRenderer(static_cast<u32>(qbShaderMaterialType(shader)))
        ->OnRender(nullptr, video::EVT_STANDARD);
    glGetIntegerv(GL_ACTIVE_TEXTURE, &unit);
    EXPECT_EQ(unit, GL_TEXTURE0);
}

TEST_F(ShaderGpu, CubeMapsHaveEdgesOfPowersOfTwo) {
    const u32 edges[][2] = {{1, 1},    {3, 4},     {33, 64},   {64, 64},   {65, 64},
                            {100, 64}, {128, 128}, {129, 128}, {250, 128}, {256, 256}};
    for (const auto& edge : edges) {
        const ITextureCUBE* made = cube(std::to_string(edge[0]).c_str(), edge[0]);
        ASSERT_NE(made, nullptr);
        EXPECT_EQ(made->getSize(), core::dimension2du(edge[1], edge[1])) << edge[0];
        EXPECT_EQ(made->getOriginalSize(), core::dimension2du(edge[0], edge[0]));
    }
    EXPECT_EQ(cube("100", 8), cube("100", 16));
}

TEST_F(ShaderGpu, CubeMapsThatMakeNoCubeAreRefused) {
    video::IImage* face = image(4, 4, video::SColor(0));
    video::IImage* wide = image(8, 4, video::SColor(0));
    EXPECT_EQ(addTextureCubeMap("a", face, face, nullptr, face, face, face), nullptr);
    EXPECT_EQ(addTextureCubeMap("a", nullptr, face, face, face, face, face), nullptr);
    EXPECT_EQ(addTextureCubeMap("a", face, face, face, face, face, wide), nullptr);
    EXPECT_NE(addTextureCubeMap("a", face, face, face, face, face, face), nullptr);
    qbEngineClose();
    EXPECT_EQ(addTextureCubeMap("a", face, face, face, face, face, face), nullptr);
    ASSERT_EQ(qbEngineOpen(&setup), 0);
    driver = qbEngineGet()->driver;
    EXPECT_EQ(cube("a", 8)->getSize().Width, 8U);
}
