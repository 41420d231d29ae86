#include "engine/lights.h"
#include "materials/shader_stage.h"
#include "materials/surface.h"
#include "materials/surface_mark.h"

using namespace irr;

namespace {

// A camera at (3, 4, -10) that looks along +X, with a field of view of 90 degrees, twice as wide as high,
// from 1 to 101; a world matrix that takes (x, y, z) to (z + 5, y + 6, 7 - 2 x); one spot that shines along
// +X and one that shines down. In view space X is -(z + 10), Y is y - 4 and Z is x - 3 of the world.
class ShaderConstants : public ShaderStage {
protected:
    void SetUp() override {
        ShaderStage::SetUp();
        scene::ICameraSceneNode* camera = qbEngineGet()->camera;
        camera->setPosition(core::vector3df(3, 4, -10));
        camera->setTarget(core::vector3df(4, 4, -10));
        camera->setFOV(core::PI / 2);
        camera->setAspectRatio(2);

        for (const int id : {0, 1})
            qbLightCreate(id);
        qbLightSetPosition(0, 1, 2, 3);
        qbLightSetSpot(0, 10, 20);
        qbLightSetRotation(0, 0, 90, 0);
        qbLightSetColor(0, 0x336699);
        qbEngineSetAmbient(0x99CCFF);
        qbLightSetPosition(1, -1, -2, -3);
        qbLightSetSpot(1, 10, 20);
        qbLightSetRotation(1, 90, 0, 0);
        qbLightSetColor(1, 0xFF0033);
        qbVisibleLightData(1)->AmbientColor = video::SColorf(0.25F, 0.5F, 0.75F, 0.125F);
        // Nothing is drawn, but camera and lights take their places.
        qbEngineGet()->smgr->drawAll();
        const f32 rows[16] = {0, 0, -2, 0, 0, 1, 0, 0, 1, 0, 0, 0, 5, 6, 7, 1};
        core::matrix4 world;
        world.setM(rows);
        driver->setTransform(video::ETS_WORLD, world);
    }
};

} // namespace

TEST_F(ShaderConstants, AutomaticValuesReachBothPrograms) {
    static const struct {
        const char* name;
        const char* declaration;
        const char* expression; // P is (2, 3, 4, 1)
        Texel wanted;
    } table[] = {
        {"WorldTranspose", "float4x4 V", "mul(P, V)", {9, 9, 3, 1}},
        {"World", "float4x4 V", "mul(V, P)", {9, 9, 3, 1}},
        {"ViewTranspose", "float4x4 V", "mul(P, V)", {-14, -1, -1, 1}},
        {"View", "float4x4 V", "mul(V, P)", {-14, -1, -1, 1}},
        {"WorldViewTranspose", "float4x4 V", "mul(P, V)", {-13, 5, 6, 1}},
        {"WorldView", "float4x4 V", "mul(V, P)", {-13, 5, 6, 1}},
        {"ViewProjectionTranspose", "float4x4 V", "mul(P, V)", {-7, -1, -2.02F, -1}},
        {"ViewProjection", "float4x4 V", "mul(V, P)", {-7, -1, -2.02F, -1}},
        {"WorldViewProjectionTranspose", "float4x4 V", "mul(P, V)", {-6.5F, 5, 5.05F, 6}},
        {"WorldViewProjection", "float4x4 V", "mul(V, P)", {-6.5F, 5, 5.05F, 6}},
        {"WorldInverseTranspose", "float4x4 V", "mul(P, V)", {1.5F, -3, -3, 1}},
        {"WorldInverse", "float4x4 V", "mul(V, P)", {1.5F, -3, -3, 1}},
        {"WorldViewInverseTranspose", "float4x4 V", "mul(P, V)", {9.5F, 1, 2, 1}},
        {"WorldViewInverse", "float4x4 V", "mul(V, P)", {9.5F, 1, 2, 1}},
        // A program may declare a part of a matrix.
        {"WorldTranspose", "float3x3 V", "float4(mul(P.xyz, V), 0)", {4, 3, -4, 0}},
        {"World", "float3x4 V", "float4(mul(V, P), 0)", {9, 9, 3, 0}},
        {"WorldTranspose", "float2x4 V", "mul(P.xy, V)", {0, 3, -4, 0}},
        {"WorldTranspose", "float4x4 V[2]", "mul(P, V[0]) + mul(P, V[1])", {9, 9, 3, 1}},
        {"ViewPosition", "float4 V", "V", {3, 4, -10, 1}},
        {"FrustrumFarCorners", "float3 V[4]", "float4(V[1], V[2].y)", {202, 101, 101, -101}},
        {"ZFarValue", "float V", "V", {101, 101, 101, 101}},
        {"ZFarValue", "float3 V", "float4(V, 1)", {101, 0, 0, 1}},
        {"PixelSize", "float2 V = { 3, 4 }", "V.xyxy", {0, 0, 0, 0}},
        {"HalfPixelSize", "float2 V = { 3, 4 }", "V.xyxy", {0, 0, 0, 0}},
        {"LightPos0", "float4 V", "V", {1, 2, 3, 1}},
        {"LightDir0", "float4 V", "V", {1, 0, 0, 0}},
        {"LightDiffuse0", "float4 V", "V", {0.2F, 0.4F, 0.6F, 0}},
        {"LightAmbient0", "float4 V", "V", {0.6F, 0.8F, 1, 0}},
        {"LightPos1", "float4 V", "V", {-1, -2, -3, 1}},
        {"LightDir1", "float4 V", "V", {0, -1, 0, 0}},
        {"LightDiffuse1", "float3 V", "float4(V, 7)", {1, 0, 0.2F, 7}},
        {"LightAmbient1", "float4 V", "V", {0.25F, 0.5F, 0.75F, 0.125F}},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(std::string(row.name) + " in " + row.declaration);
        const QbIrrShader* shader =
            probe(std::string("float4 V : ") + row.name, row.declaration, row.expression);
        ASSERT_NE(shader, nullptr);
        draw(shader);
        expectSeen(row.wanted, 0.01F);
    }
}

TEST_F(ShaderConstants, PlainValuesAndTimeFollowTheRecord) {
    QbIrrShader* pair = probe("float2 V : 0.5,-2", "float4 V = { 9, 9, 9, 9 }", "V");
    draw(pair);
    expectSeen({0.5F, -2, 0, 0});
    qbShaderSetFloat2(pair, "v", 3, 4);
    draw(pair);
    expectSeen({3, 4, 0, 0});

    QbIrrShader* time = probe("float V : Time_0_X", "float V", "V");
    draw(time);
    expectSeen({0, 0, 0, 0});
    qbShaderSetTime(time, 12.5F);
    draw(time);
    expectSeen({12.5F, 12.5F, 12.5F, 12.5F});

    // The array takes what it has room for of the caller's floats.
    QbIrrShader* array = probe("floatN V : 1,2,3,4", "float2 V[2] = { 7, 7, 7, 8 }", "float4(V[0], V[1])");
    draw(array);
    expectSeen({7, 7, 7, 8});
    const float five[] = {1, 2, 3, 4, 5};
    qbShaderSetFloatN(array, "V", five, 5);
    draw(array);
    expectSeen({1, 2, 3, 4});
    qbShaderSetFloatN(array, "V", five, 3);
    draw(array);
    expectSeen({1, 2, 3, 0});
}

TEST_F(ShaderConstants, MissingLightLeavesTheLastValue) {
    const QbIrrShader* shader = probe("float4 V : LightPos1", "float4 V", "V");
    draw(shader);
    expectSeen({-1, -2, -3, 1});
    qbLightHide(0);
    draw(shader);
    expectSeen({-1, -2, -3, 1});
}

TEST_F(ShaderConstants, SurfaceParametersNeedTheMark) {
    QbSurfaceCtx first{}, second{};
    first.params[0] = {0, {0.25F, 0.5F, 0.75F}, 0, 0, nullptr};
    first.params[1] = {1, {0.5F, 8, 8}, 0, 0, nullptr};
    first.params[38] = {2, {8, 8, 8}, 7, 0, nullptr};
    first.params[2] = {9, {8, 8, 8}, 7, 0, nullptr};
    second.params[0] = {0, {1, 2, 3}, 0, 0, nullptr};

    const struct {
        const char* name;
        Texel wanted;
    } table[] = {{"BaseColor", {0.25F, 0.5F, 0.75F, 0}},
                 {"Luminosity", {0.5F, 0, 0, 0}},
                 {"VertexNormal", {7, 0, 0, 0}},
                 {"Diffuse", {0, 0, 0, 0}}};
    for (const auto& row : table) {
        SCOPED_TRACE(row.name);
        video::SMaterial material =
            materialOf(probe(std::string("float V : Surface_") + row.name, "float4 V = { 4, 4, 4, 4 }", "V"));
        draw(material);
        expectSeen({4, 4, 4, 4});
        qbSurfaceMarksClear();
        qbMaterialMark(&material, &first);
        draw(material);
        expectSeen(row.wanted);
    }

    // Two materials that differ in their marks only, one after the other, and a mark of the last frame.
    video::SMaterial material = materialOf(probe("float3 V : Surface_BaseColor", "float4 V", "V"));
    video::SMaterial other = material;
    qbSurfaceMarksClear();
    qbMaterialMark(&material, &first);
    qbMaterialMark(&other, &second);
    draw(other);
    expectSeen({1, 2, 3, 0});
    draw(material);
    expectSeen({0.25F, 0.5F, 0.75F, 0});
    qbSurfaceMarksClear();
    qbMaterialMark(&material, &first);
    draw(other);
    expectSeen({0.25F, 0.5F, 0.75F, 0});
    EXPECT_EQ(qbMarkedSurface(QB_MATERIAL_MARK, 0), nullptr);
    EXPECT_EQ(qbMarkedSurface(0, 0), nullptr);
}
