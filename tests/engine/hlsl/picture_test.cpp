#include "engine/fixture.h"
#include "engine/hlsl/programs.h"

#include <fstream>
#include <iterator>
#include <utility>

using namespace irr;

// What every program is sent, as far as it has it.
static const f32 WEIGHTS[] = {0, 0, 0, 0, 0.25f, 0.5f, 0.75f, 1};
static const f32 V[] = {0.1f, 0.2f, 0.3f, 0.4f};
static const f32 M[] = {0, 0.1f, 0.2f, 0.3f, 0, 0.2f, 0.1f, 0, 0.5f, 0, 0, 0, 1, 0, 0.5f, 0};
static const f32 RIGHT[] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 1};

namespace {

class Constants : public video::IShaderConstantSetCallBack {
    void OnSetConstants(video::IMaterialRendererServices* services, s32) override {
        services->setPixelShaderConstant("ps.Weights[0]", WEIGHTS, 8);
        services->setPixelShaderConstant("ps.V", V, 4);
        services->setPixelShaderConstant("ps.M", M, 16);
        services->setVertexShaderConstant("vs.World", RIGHT, 16);
    }
};

class HlslPicture : public EngineTest {
protected:
    // A red quad over the whole window. Texture coordinates are (0, 0) at the top left.
    static void drawQuad(const std::string& text) {
        video::IVideoDriver* driver = qbEngineGet()->driver;
        const QbHlslProgram program = translated(text);
        Constants* constants = new Constants;
        const s32 type = driver->getGPUProgrammingServices()->addHighLevelShaderMaterial(
            program.vertex.glsl.c_str(), "main", video::EVST_VS_2_0, program.pixel.glsl.c_str(), "main",
            video::EPST_PS_2_0, constants, video::EMT_SOLID);
        constants->drop();
        ASSERT_GE(type, 0) << program.vertex.glsl << program.pixel.glsl;

        video::SMaterial material;
        material.MaterialType = static_cast<video::E_MATERIAL_TYPE>(type);
        material.BackfaceCulling = false;
        const video::SColor red(0xFFFF0000);
        const video::S3DVertex corners[] = {
            video::S3DVertex(-1, 1, 0, 0, 0, 1, red, 0, 0), video::S3DVertex(1, 1, 0, 0, 0, 1, red, 1, 0),
            video::S3DVertex(1, -1, 0, 0, 0, 1, red, 1, 1), video::S3DVertex(-1, -1, 0, 0, 0, 1, red, 0, 1)};
        const u16 order[] = {0, 1, 2, 0, 2, 3};
        driver->beginScene(true, true, video::SColor(0xFF000000));
        driver->setMaterial(material);
        driver->drawIndexedTriangleList(corners, 4, order, 2);
        qbEngineEndScene();
    }
};

} // namespace

// A pixel ten from the left; one step of 8-bit rounding is allowed.
TEST_F(HlslPicture, ShowsWhatTheTextSays) {
    const std::pair<Pixel, const char*> cases[] = {
        {{64, 128, 191}, "float4 Weights[2]; float4 pixelMain() : COLOR0 { return Weights[1]; }"},
        // The row-vector product: the sum over rows.
        {{140, 13, 61}, "float4x4 M; float4 V; float4 pixelMain() : COLOR0 { return mul(V, M); }"},
        {{10, 128, 64},
         "float4 pixelMain(float2 at : VPOS) : COLOR0 {"
         "    return float4(at.x / 255, -fmod(-1.5 - 0 * at.x, 1.0), -fmod(-0.75, 0.5), 1); }"},
    };
    for (const auto& [color, text] : cases) {
        drawQuad(withPlainVertex(text));
        for (size_t i = 0; i < color.size(); ++i)
            EXPECT_NEAR(picture.at(10, 5)[i], color[i], 1) << text;
    }
    // One of everything that shader files hold is valid for the driver.
    std::ifstream rich(QB_SOURCE_DIR "/tests/fuzz/corpus/translate_fuzz/everything.hlsl");
    drawQuad(std::string(std::istreambuf_iterator<char>(rich), {}));
    // Colours are clamped behind the vertex program.
    drawQuad("float4x4 World;"
             "void vertexMain(float4 p : POSITION, float4 c : COLOR,"
             "                out float4 o : POSITION, out float4 d : COLOR0) {"
             "    o = mul(p, World); d = c * 2; }"
             "float4 pixelMain(float4 c : COLOR0) : COLOR0 { return c * 0.5; }");
    EXPECT_EQ(picture.at(310, 240), (Pixel{0, 0, 0}));
    EXPECT_NEAR(picture.at(330, 240)[0], 128, 1);
}
