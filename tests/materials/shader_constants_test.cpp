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

    void expectValue(const std::string& name, const std::string& declaration, const std::string& expression,
                     const Texel& wanted) {
        SCOPED_TRACE(name + " in " + declaration);
        const QbIrrShader* shader = probe("float4 V : " + name, declaration, expression);
        ASSERT_NE(shader, nullptr);
        draw(shader);
        expectSeen(wanted, 0.01F);
    }
};

} // namespace

// Of the point P, (2, 3, 4, 1).
TEST_F(ShaderConstants, MatricesReachBothPrograms) {
    const std::pair<std::string, Texel> table[] = {
        {"World", {9, 9, 3, 1}},
        {"View", {-14, -1, -1, 1}},
        {"WorldView", {-13, 5, 6, 1}},
        {"ViewProjection", {-7, -1, -2.02F, -1}},
        {"WorldViewProjection", {-6.5F, 5, 5.05F, 6}},
        {"WorldInverse", {1.5F, -3, -3, 1}},
        {"WorldViewInverse", {9.5F, 1, 2, 1}},
    };
    for (const auto& [name, wanted] : table) {
        expectValue(name + "Transpose", "float4x4 V", "mul(P, V)", wanted);
        expectValue(name, "float4x4 V", "mul(V, P)", wanted);
    }
    // A program may declare a part of a matrix, and an array of them.
    expectValue("WorldTranspose", "float3x3 V", "float4(mul(P.xyz, V), 0)", {4, 3, -4, 0});
    expectValue("World", "float3x4 V", "float4(mul(V, P), 0)", {9, 9, 3, 0});
    expectValue("WorldTranspose", "float4x4 V[2]", "mul(P, V[0]) + mul(P, V[1])", {9, 9, 3, 1});
}

TEST_F(ShaderConstants, ValuesOfCameraAndLightsReachBothPrograms) {
    expectValue("ViewPosition", "float4 V", "V", {3, 4, -10, 1});
    expectValue("FrustrumFarCorners", "float3 V[4]", "float4(V[1], V[2].y)", {202, 101, 101, -101});
    expectValue("ZFarValue", "float3 V", "float4(V, 1)", {101, 0, 0, 1});
    for (const std::string name : {"PixelSize", "HalfPixelSize"})
        expectValue(name, "float2 V = { 3, 4 }", "V.xyxy", {0, 0, 0, 0});
    const std::pair<std::string, Texel> table[] = {
        {"Pos0", {1, 2, 3, 1}},
        {"Dir0", {1, 0, 0, 0}},
        {"Diffuse0", {0.2F, 0.4F, 0.6F, 0}},
        {"Ambient0", {0.6F, 0.8F, 1, 0}},
        {"Pos1", {-1, -2, -3, 1}},
        {"Dir1", {0, -1, 0, 0}},
        {"Diffuse1", {1, 0, 0.2F, 0}},
        {"Ambient1", {0.25F, 0.5F, 0.75F, 0.125F}},
    };
    for (const auto& [name, wanted] : table)
        expectValue("Light" + name, "float4 V", "V", wanted);
}

TEST_F(ShaderConstants, PlainValuesFollowTheRecord) {
    QbIrrShader* pair = probe("float2 V : 0.5,-2", "float4 V = { 9, 9, 9, 9 }", "V");
    draw(pair);
    expectSeen({0.5F, -2, 0, 0});
    qbShaderSetFloat2(pair, "v", 3, 4);
    draw(pair);
    expectSeen({3, 4, 0, 0});

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

    const std::pair<std::string, Texel> table[] = {{"BaseColor", {0.25F, 0.5F, 0.75F, 0}},
                                                   {"Luminosity", {0.5F, 0, 0, 0}},
                                                   {"VertexNormal", {7, 0, 0, 0}},
                                                   {"Diffuse", {0, 0, 0, 0}}};
    for (const auto& [name, wanted] : table) {
        SCOPED_TRACE(name);
        video::SMaterial material = materialOf(probe("float V : Surface_" + name, "float4 V = 4", "V"));
        draw(material);
        expectSeen({4, 4, 4, 4});
        qbSurfaceMarksClear();
        qbMaterialMark(&material, &first);
        draw(material);
        expectSeen(wanted);
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
}
