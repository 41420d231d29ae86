#include "engine/camera.h"

#include "engine/fixture.h"

#include <cmath>

using namespace irr;
using Vector = core::vector3df;
using CameraTest = EngineTest;

static void expectVector(const Vector& is, const Vector& wanted) {
    EXPECT_TRUE(is.equals(wanted, 1e-4F)) << is.X << ' ' << is.Y << ' ' << is.Z;
}

TEST_F(CameraTest, FollowsItsHolderAndNeverLeavesTheFiniteWorld) {
    scene::ICameraSceneNode* camera = qbEngineGet()->camera;
    qbCameraSetFov(60.0F);
    qbCameraSetPosition(1, 2, 3);
    const Vector turns[][3] = {{{0, 90, 0}, {2, 2, 3}, {0, 1, 0}},
                               {{0, 0, 90}, {1, 2, 4}, {-1, 0, 0}},
                               {{90, 0, 0}, {1, 1, 3}, {0, 0, 1}}};
    for (const auto& [rotation, target, up] : turns) {
        qbCameraSetRotation(rotation.X, rotation.Y, rotation.Z);
        for (const float bad : {NAN, INFINITY}) {
            qbCameraSetPosition(bad, 0, 0);
            qbCameraSetRotation(0, bad, 0);
            qbCameraSetFov(bad);
            qbCameraSetRange(1, bad);
        }
        qbCameraSetFov(0);
        qbCameraSetRange(5, 5);
        draw();
        EXPECT_NEAR(camera->getFOV(), 0.819130, 1e-6); // 60 * 3.14 / 230
        expectVector(camera->getPosition(), {1, 2, 3});
        expectVector(camera->getTarget(), target);
        expectVector(camera->getUpVector(), up);
        for (unsigned i = 0; i < 16; ++i)
            EXPECT_TRUE(std::isfinite(camera->getViewMatrix()[i] + camera->getProjectionMatrix()[i])) << i;
    }
    qbCameraSetRotation(0, 90, 0);
    qbCameraFollowHolder(camera, qbEngineGet()->cameraHolder, Vector(0, 5, 2));
    expectVector(camera->getPosition(), {3, 7, 3});
}

// The scene's rotation stops at the holder; where the user looks stays, also over frames.
TEST_F(CameraTest, CarriesARidingUserAlong) {
    setup.ride = 1;
    ASSERT_EQ(qbEngineOpen(&setup), 0);
    scene::ICameraSceneNode* camera = qbEngineGet()->camera;
    qbCameraSetPosition(1, 2, 3);
    camera->updateAbsolutePosition();
    camera->setTarget(Vector(11, 2, 3));
    for (const float z : {7.0F, 8.0F}) {
        qbCameraSetRotation(0, 180, 45);
        qbCameraSetPosition(5, 6, z);
        draw();
        expectVector((camera->getTarget() - camera->getPosition()).normalize(), {1, 0, 0});
        expectVector(camera->getPosition(), {5, 6, z});
        expectVector(camera->getUpVector(), {0, 1, 0});
    }
}
