#include "engine/camera.h"

#include "engine/engine.h"
#include "engine/fixture.h"

#include <cmath>
#include <irrlicht/irrlicht.h>
#include <limits>

using namespace irr;

namespace {

class CameraTest : public EngineTest {
protected:
    static scene::ICameraSceneNode* camera() { return qbEngineGet()->camera; }
    static scene::ISceneNode* holder() { return qbEngineGet()->cameraHolder; }
    static void expectVector(const core::vector3df& is, float x, float y, float z) {
        EXPECT_NEAR(is.X, x, 1e-4);
        EXPECT_NEAR(is.Y, y, 1e-4);
        EXPECT_NEAR(is.Z, z, 1e-4);
    }
};

class RideTest : public CameraTest {
    void SetUp() override {
        setup.ride = 1;
        CameraTest::SetUp();
    }
};

} // namespace

TEST_F(CameraTest, TurnsDegreesByItsOwnFactor) {
    qbCameraSetFov(60.0F);
    EXPECT_NEAR(camera()->getFOV(), 0.819130, 1e-6);
    qbCameraSetFov(73.248405F);
    EXPECT_NEAR(camera()->getFOV(), 1.0, 1e-6);
}

TEST_F(CameraTest, FollowsItsHolder) {
    qbCameraSetPosition(1, 2, 3);
    expectVector(camera()->getPosition(), 1, 2, 3);
    expectVector(camera()->getTarget(), 1, 2, 4);
    expectVector(camera()->getUpVector(), 0, 1, 0);
    expectVector(holder()->getPosition(), 1, 2, 3);

    qbCameraSetRotation(0, 90, 0);
    expectVector(camera()->getTarget(), 2, 2, 3);
    qbCameraSetRotation(90, 0, 0);
    expectVector(camera()->getTarget(), 1, 1, 3);
    expectVector(camera()->getUpVector(), 0, 0, 1);
    qbCameraSetRotation(0, 0, 90);
    expectVector(camera()->getTarget(), 1, 2, 4);
    expectVector(camera()->getUpVector(), -1, 0, 0);
    expectVector(camera()->getPosition(), 1, 2, 3);
}

TEST_F(CameraTest, StandsOffAsTheHolderTurnsTheOffset) {
    qbCameraSetPosition(10, 0, 0);
    qbCameraSetRotation(0, 90, 0);
    qbCameraFollowHolder(camera(), holder(), core::vector3df(0, 5, 2));
    expectVector(camera()->getPosition(), 12, 5, 0);
    expectVector(camera()->getTarget(), 11, 0, 0);
}

TEST_F(CameraTest, NeverLeavesTheFiniteWorld) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    qbCameraSetPosition(1, 2, 3);
    for (const float bad : {nan, infinity, -infinity}) {
        qbCameraSetPosition(bad, 0, 0);
        qbCameraSetRotation(0, bad, 0);
        qbCameraSetFov(bad);
        qbCameraSetRange(1, bad);
    }
    qbCameraSetFov(0);
    qbCameraSetRange(5, 5);
    expectVector(camera()->getPosition(), 1, 2, 3);
    for (const float pitch : {90.0F, -90.0F, 180.0F, 1e6F}) {
        qbCameraSetRotation(pitch, 30, 0);
        draw();
        for (unsigned i = 0; i < 16; ++i) {
            EXPECT_TRUE(std::isfinite(camera()->getViewMatrix()[i])) << pitch << ' ' << i;
            EXPECT_TRUE(std::isfinite(camera()->getProjectionMatrix()[i])) << pitch << ' ' << i;
        }
    }
}

TEST_F(CameraTest, SetsItsRange) {
    qbCameraSetRange(2.5F, 700.0F);
    EXPECT_FLOAT_EQ(camera()->getNearValue(), 2.5F);
    EXPECT_FLOAT_EQ(camera()->getFarValue(), 700.0F);
}

TEST_F(CameraTest, NeedsADevice) {
    qbEngineClose();
    qbCameraSetRange(1, 2);
    qbCameraSetFov(60);
    qbCameraSetPosition(1, 2, 3);
    qbCameraSetRotation(1, 2, 3);
}

// The scene's rotation stops at the holder; where the user looks stays, also over frames.
TEST_F(RideTest, CarriesTheUserAlong) {
    qbCameraSetPosition(1, 2, 3);
    camera()->updateAbsolutePosition();
    camera()->setTarget(core::vector3df(11, 2, 3));
    for (int frame = 0; frame < 3; ++frame) {
        qbCameraSetRotation(0, 180, 45);
        qbCameraSetPosition(5, 6, 7 + static_cast<float>(frame));
        draw();
        const core::vector3df look = (camera()->getTarget() - camera()->getPosition()).normalize();
        expectVector(look, 1, 0, 0);
        expectVector(camera()->getPosition(), 5, 6, 7 + static_cast<float>(frame));
        expectVector(camera()->getUpVector(), 0, 1, 0);
    }
    expectVector(holder()->getRotation(), 0, 180, 45);
}
