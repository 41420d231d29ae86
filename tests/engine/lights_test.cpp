#include "engine/lights.h"

#include "engine/fixture.h"

using namespace irr;
using LightsTest = EngineTest;

static QbLightRec* record(int id) {
    return static_cast<QbLightRec*>(qbIdListGet(qbEngineGet()->lights, id));
}

static void expectChain(const std::vector<int>& ids) {
    int n = 0;
    for (const int id : ids)
        EXPECT_EQ(qbVisibleLightNode(n++), record(id)->node) << n - 1 << " is not light " << id;
    EXPECT_EQ(qbVisibleLightNode(n), nullptr) << "more than " << n << " lights";
}

TEST_F(LightsTest, ChainThemselvesInOrderOfAppearance) {
    for (const int id : {5, 3, 4, 0})
        qbLightCreate(id);
    expectChain({5, 3, 4, 0});
    for (const int id : {3, 3, 5})
        qbLightHide(id);
    expectChain({4, 0});
    for (const int id : {5, 5, 3})
        qbLightShow(id);
    expectChain({4, 0, 5, 3});
    qbLightFree(5);
    expectChain({4, 0, 3});
    for (const int id : {4, 0, 3})
        qbLightHide(id);
    record(3)->listed = 1; // the chain does not hold it
    testing::internal::CaptureStdout();
    qbLightHide(3);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ERROR: make the light not visible but no visible light present!\n");
    qbLightShow(3);
    ASSERT_EQ(qbEngineOpen(&setup), 0);
    expectChain({});
    const unsigned children = qbEngineGet()->smgr->getRootSceneNode()->getChildren().getSize();
    for (const int id : {1000, -1}) {
        qbLightCreate(id);
        for (const auto act : {qbLightShow, qbLightHide, qbLightSetDirectional, qbLightSetPoint, qbLightFree})
            act(id);
        qbLightSetSpot(id, 1, 2);
        qbLightSetColor(id, 0x112233);
    }
    EXPECT_EQ(qbEngineGet()->smgr->getRootSceneNode()->getChildren().getSize(), children);
}

TEST_F(LightsTest, CarryTheirValuesInTheNode) {
    qbLightCreate(0);
    qbLightCreate(1);
    const video::SLight& light = record(0)->node->getLightData();
    const core::vector3df attenuation = light.Attenuation;
    qbLightSetDirectional(0);
    EXPECT_EQ(light.Radius, 100.0F);
    qbLightSetSpot(0, 20.0F, 35.0F);
    EXPECT_EQ(light.Radius, 10000000.0F);
    EXPECT_EQ(light.OuterCone - light.InnerCone, 15.0F);
    qbLightSetRange(0, 12.5F);
    EXPECT_EQ(light.Type, video::ELT_SPOT);
    EXPECT_EQ(light.Radius, 12.5F);
    EXPECT_EQ(light.Attenuation, attenuation);
    qbLightSetColor(0, qbColorPack(384, 64, -224)); // each channel wraps
    const video::SColorf& color = light.DiffuseColor;
    EXPECT_NEAR(color.r + 10 * color.g + 100 * color.b, (128 + 640 + 3200) / 255.0, 1e-4);
    qbEngineSetAmbient(0xFF003300); // to the first visible one alone
    EXPECT_NEAR(light.AmbientColor.g, 0.2, 1e-6);
    EXPECT_EQ(record(1)->node->getLightData().AmbientColor.g, 0.0F);
}
