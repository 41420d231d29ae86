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
    static void expectVector(const core::vector3df& is, const core::vector3df& wanted) {
        EXPECT_TRUE(is.equals(wanted, 1e-4F)) << is.X << ' ' << is.Y << ' ' << is.Z;
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
    const struct {
        core::vector3df rotation, target, up;
    } turns[] = {{{0, 0, 0}, {1, 2, 4}, {0, 1, 0}},
                 {{0, 90, 0}, {2, 2, 3}, {0, 1, 0}},
                 {{90, 0, 0}, {1, 1, 3}, {0, 0, 1}},
                 {{0, 0, 90}, {1, 2, 4}, {-1, 0, 0}}};
    qbCameraSetPosition(1, 2, 3);
    for (const auto& turn : turns) {
        qbCameraSetRotation(turn.rotation.X, turn.rotation.Y, turn.rotation.Z);
        expectVector(camera()->getTarget(), turn.target);
        expectVector(camera()->getUpVector(), turn.up);
        expectVector(camera()->getPosition(), {1, 2, 3});
    }
    qbCameraSetPosition(10, 0, 0);
    qbCameraSetRotation(0, 90, 0);
    qbCameraFollowHolder(camera(), holder(), core::vector3df(0, 5, 2));
    expectVector(camera()->getPosition(), {12, 5, 0});
    expectVector(camera()->getTarget(), {11, 0, 0});
}

TEST_F(CameraTest, NeverLeavesTheFiniteWorld) {
    const float infinity = std::numeric_limits<float>::infinity();
    qbCameraSetPosition(1, 2, 3);
    for (const float bad : {std::numeric_limits<float>::quiet_NaN(), infinity, -infinity}) {
        qbCameraSetPosition(bad, 0, 0);
        qbCameraSetRotation(0, bad, 0);
        qbCameraSetFov(bad);
        qbCameraSetRange(1, bad);
    }
    qbCameraSetFov(0);
    qbCameraSetRange(5, 5);
    expectVector(camera()->getPosition(), {1, 2, 3});
    for (const float pitch : {90.0F, -90.0F, 180.0F, 1e6F}) {
        qbCameraSetRotation(pitch, 30, 0);
        draw();
        for (unsigned i = 0; i < 16; ++i) {
            EXPECT_TRUE(std::isfinite(camera()->getViewMatrix()[i])) << pitch << ' ' << i;
            EXPECT_TRUE(std::isfinite(camera()->getProjectionMatrix()[i])) << pitch << ' ' << i;
        }
    }
}

// The scene's rotation stops at the holder; where the user looks stays, also over frames.
TEST_F(RideTest, CarriesTheUserAlong) {
    qbCameraSetPosition(1, 2, 3);
    camera()->updateAbsolutePosition();
    camera()->setTarget(core::vector3df(11, 2, 3));
    for (const float z : {7.0F, 8.0F, 9.0F}) {
        qbCameraSetRotation(0, 180, 45);
        qbCameraSetPosition(5, 6, z);
        draw();
        expectVector((camera()->getTarget() - camera()->getPosition()).normalize(), {1, 0, 0});
        expectVector(camera()->getPosition(), {5, 6, z});
        expectVector(camera()->getUpVector(), {0, 1, 0});
    }
    expectVector(holder()->getRotation(), {0, 180, 45});
}
