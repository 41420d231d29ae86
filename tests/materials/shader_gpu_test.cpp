#include "engine/cube_map.h"
#include "materials/shader_stage.h"
#include "support/allocations.h"

#include <algorithm>
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

TEST_F(ShaderGpu, MistakesAreShownInTheAuthorsLines) {
    const struct {
        const char* text;
        const char* message;
    } table[] = {
        {"float4 pixelMain() : COLOR0 {\n    float4 a = 1\n    return a;\n}\n", "test.fx(4,5): Expected ';'"},
        {"//QUAB_PP:D:A:float4 pixelMain() : COLOR0 { return Missing; }\n",
         "test.fx(2,52): unknown variable 'Missing'"},
        {"float4 pixelMain(float2 uv : TEXCOORD0) : COLOR0 { return uv.x; }\n",
         "test.fx(2,30): the pixel program reads TEXCOORD0, which the vertex program does not write"},
        {"float4 A[4096], B[4096], C[4096], D[4096];\nfloat4 pixelMain(float2 at : VPOS) : COLOR0 {\n"
         "    return A[at.x] + B[at.x] + C[at.x] + D[at.x]; }\n",
         "test.fx: the driver refuses the translated program, for the reason in the log"},
        {"float4 Paint() : COLOR0 { return 1; }\n",
         "test.fx: there is no function 'pixelMain' for the pixel program"},
        {"float4 pixelMain() : COLOR0 { return float3(1, 2, 3); }\n",
         "test.fx(2,31): type does not match, or is not convertible to, the function's return type 'return'"},
    };
    for (const auto& row : table) {
        messages.texts().clear();
        directory.write("test.fx", "float4 vertexMain(float4 p : POSITION) : POSITION { return p; }\n" +
                                       std::string(row.text));
        const char* const defines[] = {"A", nullptr};
        QbIrrShader* shader = qbIrrShaderCreate("test.fx", defines);
        testing::internal::CaptureStdout();
        EXPECT_EQ(qbIrrShaderSetupGpuMaterial(shader), -1);
        EXPECT_NE(testing::internal::GetCapturedStdout().find(
                      "!! ERROR: addHighLevelShaderMaterialFromFiles('test.fx') failed\n"),
                  std::string::npos);
        EXPECT_EQ(messages.texts(), std::vector<std::string>{row.message});
        EXPECT_TRUE(shader->vertexText && shader->pixelText && !shader->program);
        qbIrrShaderFree(shader);
    }
}

TEST_F(ShaderGpu, OneMessageHoldsTheFirstEightMistakes) {
    std::string inputs = "float4 t0 : TEXCOORD0", sum = "t0";
    for (int i = 1; i < 10; ++i) {
        const std::string number = std::to_string(i);
        inputs += ", float4 t" + number + " : TEXCOORD" + number;
        sum += " + t" + number;
        if (i < 7) continue;
        messages.texts().clear();
        load("float4 vertexMain(float4 p : POSITION) : POSITION { return p; }\nfloat4 pixelMain(" + inputs +
             ") : COLOR0 { return " + sum + "; }\n");
        ASSERT_EQ(messages.texts().size(), 1U);
        const std::string& text = messages.texts()[0];
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), i > 7 ? 8 : 7);
        const char* const ends[] = {"does not write", "\nand 1 more error", "\nand 2 more errors"};
        EXPECT_NE(text.find(ends[i - 7], text.rfind('\n')), std::string::npos) << text;
    }
}

TEST_F(ShaderGpu, ALongMistakeKeepsItsPlace) {
    load("#error " + std::string(200, 'x') + "\n#error " + std::string(2000, 'y') + "\n");
    load("#error " + std::string(2000, 'y') + "\n");
    ASSERT_EQ(messages.texts().size(), 2U);
    EXPECT_EQ(messages.texts()[0].rfind("shader0.hlsl(1", 0), 0U);
    EXPECT_EQ(messages.texts()[1].rfind("shader1.hlsl(1", 0), 0U);
}

TEST_F(ShaderGpu, ALayerHoldsOneKindForBothPrograms) {
    load("sampler2D A; samplerCUBE B;\n"
         "float4 vertexMain(float4 p : POSITION) : POSITION { return p + tex2Dlod(A, 0); }\n"
         "float4 pixelMain() : COLOR0 { return texCUBE(B, 1); }\n");
    EXPECT_EQ(messages.texts(), std::vector<std::string>{
                                    "shader0.hlsl: the samplers 'A' and 'B' are of different kinds and share "
                                    "layer 0: give one of them another register"});
}

// One program, but the values are those of each record.
TEST_F(ShaderGpu, RecordsOfOneTextShareTheirProgram) {
    const std::string text = "//[QUAB_BEGIN]\n//float Grey : 0; pixel\n//[QUAB_END]\nfloat Grey;\n"
                             "float4 vertexMain(float4 p : POSITION) : POSITION { return p; }\n"
                             "float4 pixelMain() : COLOR0 { return Grey; }\n";
    QbIrrShader* const shaders[] = {load(text), load(text), load(text + "// another")};
    EXPECT_EQ(shaders[0]->materialType, shaders[1]->materialType);
    EXPECT_NE(shaders[0]->materialType, shaders[2]->materialType);
    // An array that one record sets from code must not reach the other.
    const std::string array =
        "//[QUAB_BEGIN]\n//floatN A : 1; pixel\n//[QUAB_END]\n" + text.substr(text.find("float Grey;"));
    EXPECT_NE(load(array)->materialType, load(array)->materialType);
    for (size_t i = 0; i < 3; ++i)
        qbShaderSetFloat(shaders[i], "Grey", 0.25F * static_cast<float>(i + 1));
    for (const size_t i : {0, 1, 2, 1, 0}) {
        draw(shaders[i]);
        EXPECT_EQ(at(4, 4)[0], 0.25F * static_cast<float>(i + 1)) << i;
    }
}

// The driver parts with no material type: what is loaded anew takes that of the record that is gone, and
// nothing of its values.
TEST_F(ShaderGpu, AReleasedRecordLeavesItsProgramToTheNext) {
    for (const std::string kind : {"float", "floatN"}) {
        const std::string text = "//[QUAB_BEGIN]\n//" + kind + " Grey : 0.5; pixel\n//[QUAB_END]\n" +
                                 "float Grey = 0.5;\n"
                                 "float4 vertexMain(float4 p : POSITION) : POSITION { return p; }\n"
                                 "float4 pixelMain() : COLOR0 { return Grey; }\n";
        QbIrrShader* gone = load(text);
        const int type = gone->materialType;
        const u32 renderers = driver->getMaterialRendererCount();
        const int records = qbShaderRecordCount();
        const float dark = 0.25F;
        qbShaderSetFloat(gone, "Grey", dark);
        qbShaderSetFloatN(gone, "Grey", &dark, 1);
        draw(gone);
        EXPECT_EQ(at(4, 4)[0], dark) << kind;
        qbShaderRelease(gone);
        EXPECT_EQ(qbShaderRecordCount(), records - 1);
        const QbIrrShader* next = load(text);
        EXPECT_EQ(next->materialType, type);
        EXPECT_EQ(driver->getMaterialRendererCount(), renderers);
        EXPECT_EQ(qbShaderRecordCount(), records);
        draw(next);
        EXPECT_EQ(at(4, 4)[0], 0.5F) << kind;
    }
}

// An empty layer is black, whatever the draw before left on its unit.
TEST_F(ShaderGpu, EmptyLayersSampleNothing) {
    const std::string vertex = "float4 vertexMain(float4 p : POSITION) : POSITION { return p; }\n";
    QbIrrShader* flat = load(vertex + "sampler2D A : register(s1);\n"
                                      "float4 pixelMain() : COLOR0 { return tex2D(A, 0.5); }\n");
    QbIrrShader* sky = load(vertex + "samplerCUBE A : register(s1);\n"
                                     "float4 pixelMain() : COLOR0 { return texCUBE(A, float3(1, 0, 0)); }\n");
    ASSERT_TRUE(flat && sky);
    video::SMaterial painted = materialOf(flat);
    painted.setTexture(1, driver->addTexture("white", image(8, 8, video::SColor(255, 255, 255, 255))));
    video::IImage* face = image(8, 8, video::SColor(255, 255, 255, 255));
    const ITextureCUBE* day = addTextureCubeMap("day", face, face, face, face, face, face);
    for (const bool empty : {true, false, true}) {
        draw(empty ? materialOf(flat) : painted);
        EXPECT_EQ(at(4, 4)[0], empty ? 0.0F : 1.0F) << "texture";
        qbShaderSetCubeMap(sky, 1, empty ? nullptr : day);
        draw(sky);
        EXPECT_EQ(at(4, 4)[0], empty ? 0.0F : 1.0F) << "cube map";
    }
}

TEST_F(ShaderGpu, BaseMaterialsBlend) {
    const struct {
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
    const QbIrrShader* ground = plain("solid", "0.2, 0.2, 0.2, 0");
    for (const auto& row : table) {
        SCOPED_TRACE(std::string(row.base) + " " + row.color);
        const QbIrrShader* shader = plain(row.base, row.color);
        ASSERT_NE(shader, nullptr);
        video::SMaterial material = materialOf(shader);
        if (shader->baseMaterial == QB_BASE_ONETEXTURE_BLEND)
            material.MaterialTypeParam = video::pack_textureBlendFunc(video::EBF_ONE, video::EBF_ONE);
        qbTargetSet(target, true, video::SColor(0, 0, 0, 0));
        drawQuad(materialOf(ground));
        drawQuad(material);
        qbTargetRead(target, texels.data());
        expectTexel(4, 4, row.wanted);
    }
}

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
    const struct {
        const char* vertex;
        const char* pixel;
        Texel wanted;
    } table[] = {
        {"//float4x4 M : WorldViewProjection; 2", "", {3, 5, 7, 1}}, // of (2, 3, 4, 1), moved by (1, 2, 3)
        {"//float4x4 M : World; 2", "", {0, 0, 0, 0}},
        {"", "//float4 V : 1,2,3,4; 7", {1, 2, 3, 4}},
        {"", "//float4 V : ViewPosition; 7", {0, 0, 0, 0}},
        {"", "//float V : ZFarValue; 7", {101, 0, 0, 0}},
        {"", "//floatN Floats : 0; 7", {1, 2, 3, 4}},
        {"", "//floatN Floats : 0; 6", {5, 0, 0, 0}},
        {"", "//floatN Floats : 0; 255", {0, 0, 0, 0}},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(std::string(row.vertex) + row.pixel);
        const auto block = [](const std::string& line) {
            return "//[QUAB_BEGIN]\n" + line + "\n//[QUAB_END]\n";
        };
        directory.write("pair.vsh",
                        "!!ARBvp1.0\n" + block(row.vertex) +
                            "PARAM m[4] = { program.local[2..5] };\nPARAM p = { 2, 3, 4, 1 };\n"
                            "MOV result.position, vertex.position;\n"
                            "DP4 result.texcoord[0].x, p, m[0];\nDP4 result.texcoord[0].y, p, m[1];\n"
                            "DP4 result.texcoord[0].z, p, m[2];\nDP4 result.texcoord[0].w, p, m[3];\n"
                            "END\n");
        directory.write("pair.psh", "!!ARBfp1.0\n" + block(row.pixel) +
                                        "ADD result.color, fragment.texcoord[0], program.local[7];\nEND\n");
        QbIrrShader* shader = qbIrrShaderCreate("pair", nullptr);
        ASSERT_EQ(qbIrrShaderSetupGpuMaterial(shader), 0);
        const float floats[] = {1, 2, 3, 4, 5};
        qbShaderSetFloatN(shader, "Floats", floats, 5);
        core::matrix4 world;
        world.setTranslation(core::vector3df(1, 2, 3));
        driver->setTransform(video::ETS_VIEW, core::IdentityMatrix);
        driver->setTransform(video::ETS_PROJECTION, core::IdentityMatrix);
        driver->setTransform(video::ETS_WORLD, world);
        draw(shader);
        expectTexel(4, 4, row.wanted);
    }
}

TEST_F(ShaderGpu, CubeMapsTakeSixEqualSquares) {
    const u32 edges[][2] = {{1, 1}, {3, 4}, {64, 64}, {65, 64}, {128, 128}, {250, 128}};
    for (const auto& edge : edges)
        EXPECT_EQ(cube(std::to_string(edge[0]).c_str(), edge[0])->getSize().Width, edge[1]) << edge[0];
    EXPECT_EQ(cube("65", 8), cube("65", 16));

    video::IImage* face = image(4, 4, video::SColor(0));
    video::IImage* wide = image(8, 4, video::SColor(0));
    EXPECT_EQ(addTextureCubeMap("a", face, face, nullptr, face, face, face), nullptr);
    EXPECT_EQ(addTextureCubeMap("a", face, face, face, face, face, wide), nullptr);
    EXPECT_NE(addTextureCubeMap("a", face, face, face, face, face, face), nullptr);
    qbEngineClose();
    EXPECT_EQ(addTextureCubeMap("a", face, face, face, face, face, face), nullptr);
    ASSERT_EQ(qbEngineOpen(&setup), 0);
    driver = qbEngineGet()->driver;
    EXPECT_EQ(cube("65", 8)->getSize().Width, 8U) << "none outlives its engine";
}
