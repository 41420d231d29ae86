#pragma once

#include "engine/engine.h"
#include "engine/render_target.h"
#include "materials/shader_file.h"
#include "materials/shader_gpu.h"
#include "support/messages.h"
#include "support/temporary_directory.h"

#include <array>
#include <gtest/gtest.h>
#include <irrlicht/irrlicht.h>
#include <string>

using Texel = std::array<float, 4>;

// Draws quads with shaders written by the test into a float target of 8 x 8 texels.
class ShaderStage : public testing::Test {
protected:
    static constexpr int size = 8;

    void SetUp() override {
        ASSERT_EQ(qbEngineOpen(&setup), 0);
        driver = qbEngineGet()->driver;
        target = driver->addRenderTargetTexture(irr::core::dimension2du(size, size), "target",
                                                irr::video::ECF_A32B32G32R32F);
        ASSERT_NE(target, nullptr);
    }
    void TearDown() override { qbEngineClose(); }

    // The engine's until it closes; null when it does not compile.
    QbIrrShader* load(const std::string& text) {
        const std::string name = "shader" + std::to_string(files++) + ".hlsl";
        directory.write(name, text);
        QbIrrShader* shader = qbIrrShaderCreate(name.c_str(), nullptr);
        if (shader && qbIrrShaderSetupGpuMaterial(shader) == 0) return shader;
        qbIrrShaderFree(shader);
        return nullptr;
    }

    // A shader whose constant V has the annotation's value. V is looked at by `expression`, a float4: on the
    // left half of the target by the vertex program, on the right half by the pixel program.
    QbIrrShader* probe(const std::string& annotation, const std::string& declaration,
                       const std::string& expression) {
        return load("//[QUAB_BEGIN]\n//" + annotation + "; both\n//[QUAB_END]\n" + declaration + ";\n" +
                    "static const float4 P = float4(2, 3, 4, 1);\n"
                    "void vertexMain(float4 p : POSITION, float2 t : TEXCOORD0, out float4 o : POSITION,\n"
                    "                out float2 uv : TEXCOORD0, out float4 seen : TEXCOORD1) {\n"
                    "    o = p; uv = t; seen = " +
                    expression +
                    ";\n}\n"
                    "float4 pixelMain(float2 uv : TEXCOORD0, float4 seen : TEXCOORD1) : COLOR0 {\n"
                    "    return uv.x < 0.5 ? seen : " +
                    expression + ";\n}\n");
    }

    static irr::video::SMaterial materialOf(const QbIrrShader* shader) {
        irr::video::SMaterial material;
        material.BackfaceCulling = false;
        material.ZBuffer = irr::video::ECFN_NEVER;
        material.ZWriteEnable = false;
        qbShaderApply(shader, &material);
        return material;
    }

    // Over the whole of what is bound. Texture coordinates are (0, 0) at the top left.
    void drawQuad(const irr::video::SMaterial& material) {
        const irr::video::SColor white(255, 255, 255, 255);
        const irr::video::S3DVertex corners[] = {
            {-1, 1, 0, 0, 0, 1, white, 0, 0},
            {1, 1, 0, 0, 0, 1, white, 1, 0},
            {1, -1, 0, 0, 0, 1, white, 1, 1},
            {-1, -1, 0, 0, 0, 1, white, 0, 1},
        };
        const irr::u16 order[] = {0, 1, 2, 0, 2, 3};
        driver->setMaterial(material);
        driver->drawIndexedTriangleList(corners, 4, order, 2);
    }

    // A black target, drawn over.
    void draw(const irr::video::SMaterial& material) {
        qbTargetSet(target, true, irr::video::SColor(0, 0, 0, 0));
        drawQuad(material);
        qbTargetRead(target, texels.data());
    }
    void draw(const QbIrrShader* shader) { draw(materialOf(shader)); }

    Texel at(int x, int y) const {
        const float* texel = &texels.at(static_cast<size_t>((y * size + x) * 4));
        return {texel[0], texel[1], texel[2], texel[3]};
    }
    // What both programs of a probe see.
    void expectSeen(const Texel& wanted, float tolerance = 1e-4F) const {
        for (const int x : {1, size - 2})
            for (size_t c = 0; c < 4; ++c)
                EXPECT_NEAR(at(x, 4)[c], wanted[c], tolerance)
                    << "channel " << c << (x == 1 ? ", vertex program" : ", pixel program");
    }

    TemporaryDirectory directory;
    Messages messages;
    QbSetup setup{1.0F, 101.0F, 64, 48};
    irr::video::IVideoDriver* driver = nullptr;
    irr::video::ITexture* target = nullptr;
    std::array<float, size * size * 4> texels{};

private:
    int files = 0;
};
