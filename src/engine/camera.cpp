#include "engine/camera.h"

#include "engine/engine.h"

#include <cmath>
#include <irrlicht/irrlicht.h>

using namespace irr;

// Of this camera's angles, on purpose not a half turn in degrees: scenes are made for it.
static const double HALF_TURN = 230.0;
static const float PI_SHORT = 3.14F;

static bool isFinite(float x, float y, float z) {
    return std::isfinite(x) && std::isfinite(y) && std::isfinite(z);
}

void qbCameraSetRange(float near, float far) {
    scene::ICameraSceneNode* camera = qbEngineGet()->camera;
    // Equal planes would divide by zero in the projection.
    if (!camera || !isFinite(near, far, 0.0F) || near == far) return;
    camera->setNearValue(near);
    camera->setFarValue(far);
}

void qbCameraSetFov(float degrees) {
    scene::ICameraSceneNode* camera = qbEngineGet()->camera;
    if (!camera || !std::isfinite(degrees) || degrees == 0.0F) return;
    camera->setFOV(static_cast<float>(degrees * double{PI_SHORT} / HALF_TURN));
}

void qbCameraFollowHolder(scene::ICameraSceneNode* camera, scene::ISceneNode* holder,
                          const core::vector3d<float>& offset) {
    core::matrix4 turn;
    turn.setRotationDegrees(holder->getRotation());
    core::vector3df direction(0.0F, 0.0F, 1.0F);
    core::vector3df up(0.0F, 1.0F, 0.0F);
    core::vector3df shift = offset;
    turn.transformVect(direction);
    turn.transformVect(up);
    turn.transformVect(shift);
    camera->setPosition(holder->getPosition() + shift);
    camera->setUpVector(up);
    camera->setTarget(holder->getPosition() + direction);
}

// Takes the camera along and leaves it looking where its user looks.
static void carryAlong(scene::ICameraSceneNode* camera, scene::ISceneNode* holder) {
    const core::vector3df up = camera->getUpVector();
    const core::vector3df look = camera->getTarget() - camera->getPosition();
    qbCameraFollowHolder(camera, holder, core::vector3df());
    camera->setUpVector(up);
    // setTarget turns this camera by its absolute position, which the scene manager updates only when it
    // draws.
    camera->updateAbsolutePosition();
    camera->setTarget(camera->getPosition() + look);
}

void qbCameraSetPosition(float x, float y, float z) {
    QbEngine* engine = qbEngineGet();
    if (!engine->camera || !engine->cameraHolder || !isFinite(x, y, z)) return;
    engine->cameraHolder->setPosition(core::vector3df(x, y, z));
    if (engine->ride)
        carryAlong(engine->camera, engine->cameraHolder);
    else
        qbCameraFollowHolder(engine->camera, engine->cameraHolder, core::vector3df());
}

void qbCameraSetRotation(float x, float y, float z) {
    QbEngine* engine = qbEngineGet();
    if (!engine->camera || !engine->cameraHolder || !isFinite(x, y, z)) return;
    engine->cameraHolder->setRotation(core::vector3df(x, y, z));
    if (!engine->ride) qbCameraFollowHolder(engine->camera, engine->cameraHolder, core::vector3df());
}

void qbSetBackground(unsigned color) {
    qbEngineSetBackground(color);
}
