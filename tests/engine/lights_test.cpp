#include "engine/lights.h"

#include "engine/engine.h"
#include "engine/fixture.h"

#include <initializer_list>
#include <irrlicht/irrlicht.h>

using namespace irr;

namespace {
class LightsTest : public EngineTest {
protected:
    static QbLightRec* record(int id) {
        return static_cast<QbLightRec*>(qbIdListGet(qbEngineGet()->lights, id));
    }
    static void expectChain(std::initializer_list<int> ids) {
        int n = 0;
        for (const int id : ids)
            EXPECT_EQ(qbVisibleLightNode(n++), record(id)->node)
                << "place " << n - 1 << " is not light " << id;
        EXPECT_EQ(qbVisibleLightNode(n), nullptr) << "more than " << n << " lights";
        EXPECT_EQ(qbVisibleLightData(n), nullptr);
    }
};
} // namespace

TEST_F(LightsTest, ChainThemselvesInOrderOfAppearance) {
    for (const int id : {5, 3, 4, 0})
        qbLightCreate(id);
    expectChain({5, 3, 4, 0});
    for (int twice = 0; twice < 2; ++twice) {
        qbLightHide(3);
        expectChain({5, 4, 0});
    }
    qbLightHide(5);
    expectChain({4, 0});
    for (int twice = 0; twice < 2; ++twice) {
        qbLightShow(5);
        expectChain({4, 0, 5});
    }
    qbLightHide(5);
    qbLightShow(3);
    expectChain({4, 0, 3});
    qbLightFree(0);
    expectChain({4, 3});
    for (const int id : {4, 3})
        qbLightHide(id);
    expectChain({});
    qbLightShow(3);
    expectChain({3});
    EXPECT_EQ(qbVisibleLightNode(-1), nullptr);
    EXPECT_FALSE(record(4)->node->isVisible());
    EXPECT_TRUE(record(3)->node->isVisible());

    ASSERT_EQ(qbEngineOpen(&setup), 0);
    expectChain({});
    qbLightCreate(3);
    expectChain({3});
}

TEST_F(LightsTest, ReportALightThatTheChainDoesNotHold) {
    qbLightCreate(0);
    qbLightHide(0);
    record(0)->listed = 1;
    testing::internal::CaptureStdout();
    qbLightHide(0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ERROR: make the light not visible but no visible light present!\n");
    EXPECT_EQ(record(0)->listed, 0);
}

TEST_F(LightsTest, DoNothingOnAnEmptyOrRefusedId) {
    qbLightCreate(7);
    const auto& nodes = qbEngineGet()->smgr->getRootSceneNode()->getChildren();
    const unsigned children = nodes.getSize();
    testing::internal::CaptureStderr();
    for (const int id : {7, 1000, -1})
        qbLightCreate(id);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "fail to add to list id=7 already added\n"
                                                      "fail to add to list id=1000 > max\n"
                                                      "fail to add to list id=-1 < 0\n");
    EXPECT_EQ(nodes.getSize(), children);
    for (const int id : {0, -1, 1000}) {
        for (void (*act)(int) :
             {qbLightShow, qbLightHide, qbLightSetDirectional, qbLightSetPoint, qbLightFree})
            act(id);
        qbLightSetSpot(id, 1, 2);
        qbLightSetRange(id, 3);
        qbLightSetColor(id, 0x112233);
        qbLightSetPosition(id, 1, 2, 3);
        qbLightSetRotation(id, 1, 2, 3);
    }
    expectChain({7});
}

TEST_F(LightsTest, CarryTheirValuesInTheNode) {
    qbLightCreate(0);
    scene::ILightSceneNode* node = record(0)->node;
    const video::SLight& light = node->getLightData();
    const core::vector3df attenuation = light.Attenuation;
    const auto expectIs = [&](video::E_LIGHT_TYPE type, float radius) {
        EXPECT_EQ(node->getLightType(), type);
        EXPECT_FLOAT_EQ(light.Radius, radius);
        EXPECT_EQ(light.Attenuation, attenuation);
    };
    expectIs(video::ELT_POINT, 100.0F);
    EXPECT_EQ(light.DiffuseColor.toSColor().color, 0xFFFFFFFFU);
    qbLightSetDirectional(0);
    expectIs(video::ELT_DIRECTIONAL, 100.0F);
    qbLightSetSpot(0, 20.0F, 35.0F);
    expectIs(video::ELT_SPOT, 10000000.0F);
    EXPECT_FLOAT_EQ(light.InnerCone, 20.0F);
    EXPECT_FLOAT_EQ(light.OuterCone, 35.0F);
    qbLightSetRange(0, 12.5F);
    expectIs(video::ELT_SPOT, 12.5F);
    qbLightSetPoint(0);
    expectIs(video::ELT_POINT, 10000000.0F);

    qbLightSetColor(0, 0xFF804020);
    EXPECT_NEAR(light.DiffuseColor.r, 0.501961, 1e-6);
    EXPECT_NEAR(light.DiffuseColor.g, 0.250980, 1e-6);
    EXPECT_NEAR(light.DiffuseColor.b, 0.125490, 1e-6);
    EXPECT_NEAR(light.DiffuseColor.a, 1.0, 1e-6);
    qbLightSetPosition(0, 1, 2, 3);
    qbLightSetRotation(0, 40, 50, 60);
    EXPECT_EQ(node->getPosition(), core::vector3df(1, 2, 3));
    EXPECT_EQ(node->getRotation(), core::vector3df(40, 50, 60));
}

TEST_F(LightsTest, TheFirstCarriesTheAmbientTerm) {
    qbEngineSetAmbient(0xFFFFFFFF);
    qbLightCreate(0);
    qbLightCreate(1);
    qbEngineSetAmbient(0xFF003300);
    EXPECT_NEAR(qbVisibleLightData(0)->AmbientColor.g, 0.2, 1e-6);
    EXPECT_FLOAT_EQ(qbVisibleLightData(1)->AmbientColor.g, 0.0F);
    qbLightHide(0);
    qbEngineSetAmbient(0xFF0000FF);
    EXPECT_NEAR(record(1)->node->getLightData().AmbientColor.b, 1.0, 1e-6);
    EXPECT_FLOAT_EQ(record(0)->node->getLightData().AmbientColor.b, 0.0F);
}

TEST(ColorPack, WrapsEachChannel) {
    EXPECT_EQ(qbColorPack(306, 382, 256), 0xFF327E00U);
    EXPECT_EQ(qbColorPack(-1, 2, -256), 0xFFFF0200U);
}
