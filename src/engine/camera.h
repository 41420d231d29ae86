#pragma once

// The one camera. Scenes move its holder; the camera follows. While the user steers it, it is taken along and
// keeps looking where the user looks. A value that is not finite changes nothing.

namespace irr {
namespace core {
template <class T>
class vector3d;
}
namespace scene {
class ICameraSceneNode;
class ISceneNode;
} // namespace scene
} // namespace irr

void qbCameraSetRange(float near, float far); // world units
void qbCameraSetFov(float degrees);           // degrees x 3.14 / 230 radians: the factor of this camera
void qbCameraSetPosition(float x, float y, float z); // moves the holder, then the camera
void qbCameraSetRotation(float x, float y, float z); // degrees; while the user steers, the holder alone
void qbSetBackground(unsigned color);                // 0xRRGGBB, forwards to qbEngineSetBackground

// Puts the camera at the holder, `offset` away as the holder turns it, looking and standing as the holder
// does.
void qbCameraFollowHolder(irr::scene::ICameraSceneNode* camera, irr::scene::ISceneNode* holder,
                          const irr::core::vector3d<float>& offset);
