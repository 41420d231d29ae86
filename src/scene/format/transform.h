#pragma once

#include "scene/format/scene.h"

// Item rotations: heading, pitch, bank in LightWave's order, and the engine's angles about X, then Y, then Z.
// Angles in degrees. A quaternion is four floats x, y, z, w, with heading on x, pitch on y and bank on z:
// private to these functions, which only need to agree with each other.

// `channels` are the three rotation channels (radians). The rotation follows the great arc between samples.
void qbItemRotationHpb(float* out, const QbScene* scene, const QbChannelRef* channels, float time);
void qbItemRotationEngine(float* out, const QbScene* scene, const QbChannelRef* channels, float time);

void qbEulerToQuat(float h, float p, float b, float* out);
void qbQuatNormalize(float* q); // divides by the squared length: meant for quaternions near unit length
void qbQuatSlerp(const float* a, const float* b, float t, float* out);
void qbQuatToEulerHpb(const float* q, float* out);
void qbQuatToEulerEngine(const float* q, float* out);
