#include "engine/hlsl/programs.h"

#include <GL/gl.h>
#include <array>
#include <functional>
#include <irrlicht/irrlicht.h>
#include <memory>

using namespace irr;

namespace {

using Send = std::function<void(video::IMaterialRendererServices*)>;

// Sends what the test wants at each draw, and each sampler's layer.
class Constants : public video::IShaderConstantSetCallBack {
public:
    Constants(const QbHlslProgram& program, Send send) : program_(program), send_(std::move(send)) {}
    void OnSetConstants(video::IMaterialRendererServices* services, s32) override {
        for (const QbHlslSampler& sampler : program_.pixel.samplers) {
            const s32 layer = sampler.layer;
            EXPECT_TRUE(services->setPixelShaderConstant(sampler.glslName.c_str(), &layer, 1));
        }
        if (send_) send_(services);
    }

private:
    QbHlslProgram program_;
    Send send_;
};

class HlslPicture : public testing::Test {
protected:
    static constexpr int size = 64;

    void SetUp() override {
        SIrrlichtCreationParameters wanted;
        wanted.DriverType = video::EDT_OPENGL;
        wanted.WindowSize = core::dimension2du(size, size);
        wanted.LoggingLevel = ELL_WARNING;
        device_ = createDeviceEx(wanted);
        ASSERT_NE(device_, nullptr);
        driver_ = device_->getVideoDriver();
    }
    void TearDown() override {
        if (device_) device_->drop();
    }

    // A quad over the whole window. Texture coordinates are (0, 0) at the top left.
    void draw(const std::string& text, Send send = nullptr,
              const std::vector<video::ITexture*>& textures = {}) {
        const QbHlslProgram program = translated(text);
        Constants* constants = new Constants(program, std::move(send));
        const s32 type = driver_->getGPUProgrammingServices()->addHighLevelShaderMaterial(
            program.vertex.glsl.c_str(), "main", video::EVST_VS_2_0, program.pixel.glsl.c_str(), "main",
            video::EPST_PS_2_0, constants, video::EMT_SOLID);
        constants->drop();
        ASSERT_GE(type, 0) << program.vertex.glsl << program.pixel.glsl;

        video::SMaterial material;
        material.MaterialType = static_cast<video::E_MATERIAL_TYPE>(type);
        material.BackfaceCulling = false;
        material.setFlag(video::EMF_BILINEAR_FILTER, false);
        for (size_t i = 0; i < textures.size(); ++i)
            material.setTexture(static_cast<u32>(i), textures[i]);
        const video::SColor red(255, 255, 0, 0);
        const video::S3DVertex corners[] = {
            video::S3DVertex(-1, 1, 0, 0, 0, 1, red, 0, 0), video::S3DVertex(1, 1, 0, 0, 0, 1, red, 1, 0),
            video::S3DVertex(1, -1, 0, 0, 0, 1, red, 1, 1), video::S3DVertex(-1, -1, 0, 0, 0, 1, red, 0, 1)};
        const u16 order[] = {0, 1, 2, 0, 2, 3};
        driver_->beginScene(true, true, video::SColor(255, 0, 0, 0));
        driver_->setMaterial(material);
        driver_->drawIndexedTriangleList(corners, 4, order, 2);
        glReadPixels(0, 0, size, size, GL_RGBA, GL_UNSIGNED_BYTE, pixels_.data());
        driver_->endScene();
    }

    // One step of 8-bit rounding is allowed. x from the left, y from the top.
    void expectPixel(int x, int y, std::array<double, 3> wanted) const {
        for (int c = 0; c < 3; ++c) {
            const size_t at = static_cast<size_t>(((size - 1 - y) * size + x) * 4 + c);
            EXPECT_NEAR(pixels_.at(at), wanted.at(static_cast<size_t>(c)) * 255, 1.0)
                << "channel " << c << " at " << x << ' ' << y;
        }
    }

    video::ITexture* texture(const char* name, video::SColor left, video::SColor right) {
        video::IImage* image = driver_->createImage(video::ECF_A8R8G8B8, core::dimension2du(2, 1));
        image->setPixel(0, 0, left);
        image->setPixel(1, 0, right);
        driver_->setTextureCreationFlag(video::ETCF_CREATE_MIP_MAPS, false);
        video::ITexture* made = driver_->addTexture(name, image);
        image->drop();
        return made;
    }

    IrrlichtDevice* device_ = nullptr;
    video::IVideoDriver* driver_ = nullptr;
    std::array<uint8_t, size * size * 4> pixels_{};
};

} // namespace

TEST_F(HlslPicture, ConstantsArriveByName) {
    const Send send = [](video::IMaterialRendererServices* services) {
        const f32 tint[] = {0.25f, 0.5f, 0.75f}, weights[] = {0, 0, 0, 0, 1, 1, 1, 1};
        EXPECT_TRUE(services->setPixelShaderConstant("ps.Tint", tint, 3));
        EXPECT_TRUE(services->setPixelShaderConstant("ps.Weights[0]", weights, 8));
    };
    draw(withPlainVertex("float3 Tint; float4 Weights[2];"
                         "float4 pixelMain() : COLOR0 { return float4(Tint, 1) * Weights[1]; }"),
         send);
    expectPixel(32, 32, {0.25, 0.5, 0.75});
}

TEST_F(HlslPicture, SamplersReadTheirLayers) {
    const video::SColor red(255, 255, 0, 0), green(255, 0, 255, 0), blue(255, 0, 0, 255), black(255, 0, 0, 0);
    draw(withPlainVertex("sampler2D Second : register(s1); sampler2D First;"
                         "float4 pixelMain(float2 uv : TEXCOORD0) : COLOR0 {"
                         "    return tex2D(First, uv) + 0.5 * tex2D(Second, uv); }"),
         nullptr, {texture("first", red, green), texture("second", black, blue)});
    expectPixel(8, 32, {1, 0, 0});
    expectPixel(56, 32, {0, 1, 0.5});
}

// The reference is the sum over rows, written out.
TEST_F(HlslPicture, MulIsTheRowVectorProduct) {
    core::matrix4 m;
    std::array<double, 4> wanted{};
    const f32 v[] = {0.1f, 0.2f, 0.3f, 0.4f};
    for (u32 row = 0; row < 4; ++row)
        for (u32 column = 0; column < 4; ++column) {
            m(static_cast<s32>(row), static_cast<s32>(column)) = 0.05f * static_cast<f32>(row * 4 + column);
            wanted[column] += static_cast<double>(v[row]) * 0.05 * static_cast<double>(row * 4 + column);
        }
    const Send send = [&](video::IMaterialRendererServices* services) {
        EXPECT_TRUE(services->setPixelShaderConstant("ps.M", m.pointer(), 16));
        EXPECT_TRUE(services->setPixelShaderConstant("ps.V", v, 4));
    };
    draw(withPlainVertex("float4x4 M; float4 V; float4 pixelMain() : COLOR0 { return mul(V, M); }"), send);
    expectPixel(32, 32, {wanted[0], wanted[1], wanted[2]});
}

TEST_F(HlslPicture, AMatrixMovesTheVertices) {
    core::matrix4 move;
    move.setTranslation(core::vector3df(1, 0, 0));
    const Send send = [&](video::IMaterialRendererServices* services) {
        EXPECT_TRUE(services->setVertexShaderConstant("vs.World", move.pointer(), 16));
    };
    draw("float4x4 World;"
         "void vertexMain(float4 p : POSITION, float4 c : COLOR, out float4 o : POSITION, out float4 d : "
         "COLOR0) {"
         "    o = mul(p, World); d = c * 2; }"
         "float4 pixelMain(float4 c : COLOR0) : COLOR0 { return c * 0.5; }",
         send);
    expectPixel(30, 32, {0, 0, 0});
    // Twice red is clamped to red between the programs.
    expectPixel(34, 32, {0.5, 0, 0});
}

TEST_F(HlslPicture, PixelPositionsAreWholeAndRemaindersTruncated) {
    draw(withPlainVertex(
        "float4 pixelMain(float2 uv : TEXCOORD0, float2 at : VPOS) : COLOR0 {"
        "    return float4(at.x / 255, -fmod(-1.5 - 0 * uv.x, 1.0), -fmod(-0.75, 0.5), 1); }"));
    expectPixel(10, 5, {10 / 255.0, 0.5, 0.25});
}

TEST_F(HlslPicture, EverythingAtOnceIsValidGlsl) {
    draw(std::string(richText));
}
