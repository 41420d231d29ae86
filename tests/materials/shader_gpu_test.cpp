#include "engine/cube_map.h"
#include "materials/shader_stage.h"
#include "support/allocations.h"

#include <algorithm>
#include <string>
#include <vector>

using namespace irr;

namespace {

const std::string vertexProgram = "float4 vertexMain(float4 p : POSITION) : POSITION { return p; }\n";

// A shader whose pixels are its constant Grey, 0.5 of itself.
std::string grey(const std::string& annotation) {
    return "//[QUAB_BEGIN]\n//" + annotation + "\n//[QUAB_END]\nfloat Grey = 0.5;\n" + vertexProgram +
           "float4 pixelMain() : COLOR0 { return Grey; }\n";
}

class ShaderGpu : public ShaderStage {
protected:
    video::IImage* image(u32 width, u32 height, video::SColor color) {
        video::IImage* made = driver->createImage(video::ECF_A8R8G8B8, core::dimension2du(width, height));
        made->fill(color);
        images.push_back(made);
        return made;
    }
    ITextureCUBE* cube(const char* name, u32 edge) {
        video::IImage* face = image(edge, edge, video::SColor(255, 255, 255, 255));
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
    const std::pair<std::string, std::string> table[] = {
        {"//QUAB_PP:D:A:float4 pixelMain() : COLOR0 { return Missing; }\n",
         "test.fx(2,52): unknown variable 'Missing'"},
        {"float4 A[4096], B[4096], C[4096], D[4096];\nfloat4 pixelMain(float2 at : VPOS) : COLOR0 {\n"
         "    return A[at.x] + B[at.x] + C[at.x] + D[at.x]; }\n",
         "test.fx: the driver refuses the translated program, for the reason in the log"},
    };
    for (const auto& [text, message] : table) {
        messages.texts().clear();
        directory.write("test.fx", vertexProgram + text);
        const char* const defines[] = {"A", nullptr};
        QbIrrShader* shader = qbIrrShaderCreate("test.fx", defines);
        testing::internal::CaptureStdout();
        EXPECT_EQ(qbIrrShaderSetupGpuMaterial(shader), -1);
        EXPECT_NE(testing::internal::GetCapturedStdout().find(
                      "!! ERROR: addHighLevelShaderMaterialFromFiles('test.fx') failed\n"),
                  std::string::npos);
        EXPECT_EQ(messages.texts(), std::vector<std::string>{message});
        EXPECT_TRUE(shader->vertexText && shader->pixelText && !shader->program);
        qbIrrShaderFree(shader);
    }
}

TEST_F(ShaderGpu, OneMessageHoldsTheFirstEightMistakes) {
    std::string inputs, sum = "0";
    for (int i = 0; i < 9; ++i) {
        const std::string number = std::to_string(i);
        inputs += (i > 0 ? ", float4 t" : "float4 t") + number + " : TEXCOORD" + number;
        sum += " + t" + number;
    }
    load(vertexProgram + "float4 pixelMain(" + inputs + ") : COLOR0 { return " + sum + "; }\n");
    load("#error " + std::string(2000, 'y') + "\n");
    ASSERT_EQ(messages.texts().size(), 2U);
    const std::string& text = messages.texts()[0];
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 8);
    EXPECT_EQ(text.substr(text.rfind('\n')), "\nand 1 more error");
    EXPECT_EQ(messages.texts()[1].rfind("shader1.hlsl(1", 0), 0U) << "a long one keeps its place";
}

TEST_F(ShaderGpu, ALayerHoldsOneKindForBothPrograms) {
    for (const std::string layer : {"0", "1"})
        load("sampler2D A[2] : register(s0); samplerCUBE B : register(s" + layer + ");\n" +
             "float4 vertexMain(float4 p : POSITION) : POSITION {\n"
             "    return p + tex2Dlod(A[0], 0) + tex2Dlod(A[1], 0); }\n"
             "float4 pixelMain() : COLOR0 { return texCUBE(B, 1); }\n");
    const auto message = [](const std::string& n) {
        return "shader" + n + ".hlsl: the samplers 'A' and 'B' are of different kinds and share layer " + n +
               ": give one of them another register";
    };
    EXPECT_EQ(messages.texts(), (std::vector<std::string>{message("0"), message("1")}));
}

// One program, but the values are those of each record.
TEST_F(ShaderGpu, RecordsOfOneTextShareTheirProgram) {
    const std::string text = grey("float Grey : 0; pixel");
    QbIrrShader* const shaders[] = {load(text), load(text), load(text + "// another")};
    EXPECT_EQ(shaders[0]->materialType, shaders[1]->materialType);
    EXPECT_NE(shaders[0]->materialType, shaders[2]->materialType);
    // An array that one record sets from code must not reach the other.
    const std::string array = grey("floatN A : 1; pixel");
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
        const std::string text = grey(kind + " Grey : 0.5; pixel");
        QbIrrShader* gone = load(text);
        const int type = gone->materialType;
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
        EXPECT_EQ(qbShaderRecordCount(), records);
        draw(next);
        EXPECT_EQ(at(4, 4)[0], 0.5F) << kind;
    }
}

// An empty layer is black, whatever the draw before left on its unit.
TEST_F(ShaderGpu, EmptyLayersSampleNothing) {
    QbIrrShader* flat = load(vertexProgram + "sampler2D A : register(s1);\n"
                                             "float4 pixelMain() : COLOR0 { return tex2D(A, 0.5); }\n");
    QbIrrShader* sky = load(vertexProgram + "samplerCUBE A : register(s1);\n"
                                            "float4 pixelMain() : COLOR0 { return texCUBE(A, 1); }\n");
    ASSERT_TRUE(flat && sky);
    video::SMaterial painted = materialOf(flat);
    painted.setTexture(1, driver->addTexture("white", image(8, 8, video::SColor(255, 255, 255, 255))));
    for (const bool empty : {true, false, true}) {
        draw(empty ? materialOf(flat) : painted);
        EXPECT_EQ(at(4, 4)[0], empty ? 0.0F : 1.0F) << "texture";
        qbShaderSetCubeMap(sky, 1, empty ? nullptr : cube("day", 8));
        draw(sky);
        EXPECT_EQ(at(4, 4)[0], empty ? 0.0F : 1.0F) << "cube map";
    }
}

TEST_F(ShaderGpu, BaseMaterialsBlend) {
    const struct {
        std::string base, color;
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
    const QbIrrShader* ground = load(vertexProgram + "float4 pixelMain() : COLOR0 {\n"
                                                     "    return float4(0.2, 0.2, 0.2, 0); }\n");
    for (const auto& row : table) {
        SCOPED_TRACE(row.base + " " + row.color);
        video::SMaterial material =
            materialOf(load("//[QUAB_BEGIN]\n//config baseMaterial : " + row.base +
                            "\n//function vertexMain : Corner;\n//function pixelMain : Paint;\n//[QUAB_END]\n"
                            "float4 Corner(float4 p : POSITION) : POSITION { return p; }\n"
                            "float4 Paint() : COLOR0 { return float4(" +
                            row.color + "); }\n"));
        if (row.base == "onetexture_blend")
            material.MaterialTypeParam = video::pack_textureBlendFunc(video::EBF_ONE, video::EBF_ONE);
        qbTargetSet(target, true, video::SColor(0, 0, 0, 0));
        drawQuad(materialOf(ground));
        drawQuad(material);
        qbTargetRead(target, texels.data());
        expectSeen(row.wanted, 0.005F);
    }
}

TEST_F(ShaderGpu, DrawsWithoutAllocating) {
    QbIrrShader* shader = probe("float4x4 V : WorldViewProjection", "float4x4 V", "mul(V, P)");
    draw(shader);
    core::matrix4 world;
    world.setTranslation(core::vector3df(1, 0, 0));
    driver->setTransform(video::ETS_WORLD, world);
    // What a draw does with constants; the driver below may allocate as it likes.
    const u32 type = static_cast<u32>(qbShaderMaterialType(shader));
    const long before = allocationCount();
    driver->getMaterialRenderer(type)->OnRender(nullptr, video::EVT_STANDARD);
    EXPECT_EQ(allocationCount(), before);
}

// A pair whose pixel program shows its register 7, with what the vertex program hands over added.
TEST_F(ShaderGpu, AssemblerProgramsReceiveRegisters) {
    const struct {
        std::string vertex, pixel;
        Texel wanted;
    } table[] = {
        {"//float4x4 M : WorldViewProjection; 2", "", {3, 5, 7, 1}}, // of (2, 3, 4, 1), moved by (1, 2, 3)
        {"//float4x4 M : World; 2", "", {0, 0, 0, 0}},
        {"", "//float4 V : 1,2,3,4; 7", {1, 2, 3, 4}},
        {"", "//float V : ZFarValue; 7", {101, 0, 0, 0}},
        {"", "//floatN Floats : 0; 6", {5, 0, 0, 0}},
        {"", "//floatN Floats : 0; 255", {0, 0, 0, 0}},
    };
    const float floats[] = {1, 2, 3, 4, 5};
    core::matrix4 world;
    world.setTranslation(core::vector3df(1, 2, 3));
    for (const auto& row : table) {
        SCOPED_TRACE(row.vertex + row.pixel);
        directory.write("pair.vsh",
                        "!!ARBvp1.0\n//[QUAB_BEGIN]\n" + row.vertex +
                            "\n//[QUAB_END]\nPARAM m[4] = { program.local[2..5] };\n"
                            "PARAM p = { 2, 3, 4, 1 };\nMOV result.position, vertex.position;\n"
                            "DP4 result.texcoord[0].x, p, m[0];\nDP4 result.texcoord[0].y, p, m[1];\n"
                            "DP4 result.texcoord[0].z, p, m[2];\nDP4 result.texcoord[0].w, p, m[3];\n"
                            "END\n");
        directory.write(
            "pair.psh",
            "!!ARBfp1.0\n//[QUAB_BEGIN]\n" + row.pixel +
                "\n//[QUAB_END]\nADD result.color, fragment.texcoord[0], program.local[7];\nEND\n");
        QbIrrShader* shader = qbIrrShaderCreate("pair", nullptr);
        ASSERT_EQ(qbIrrShaderSetupGpuMaterial(shader), 0);
        qbShaderSetFloatN(shader, "Floats", floats, 5);
        driver->setTransform(video::ETS_VIEW, core::IdentityMatrix);
        driver->setTransform(video::ETS_PROJECTION, core::IdentityMatrix);
        driver->setTransform(video::ETS_WORLD, world);
        draw(shader);
        expectSeen(row.wanted, 0.005F);
    }
}

TEST_F(ShaderGpu, CubeMapsTakeSixEqualSquares) {
    const u32 edges[][2] = {{1, 1}, {3, 4}, {64, 64}, {65, 64}, {250, 128}};
    for (const auto& edge : edges)
        EXPECT_EQ(cube(std::to_string(edge[0]).c_str(), edge[0])->getSize().Width, edge[1]) << edge[0];
    EXPECT_EQ(cube("65", 8), cube("65", 16));

    video::IImage* face = image(4, 4, video::SColor(0));
    video::IImage* wide = image(8, 4, video::SColor(0));
    EXPECT_EQ(addTextureCubeMap("65", face, face, nullptr, face, face, face), nullptr);
    EXPECT_EQ(addTextureCubeMap("65", face, face, face, face, face, wide), nullptr);
    qbEngineClose();
    EXPECT_EQ(addTextureCubeMap("65", face, face, face, face, face, face), nullptr);
    ASSERT_EQ(qbEngineOpen(&setup), 0);
    driver = qbEngineGet()->driver;
    EXPECT_EQ(cube("65", 8)->getSize().Width, 8U) << "none outlives its engine";
}
