#pragma once

// The one camera. Scenes move its holder; the camera follows.

void qbCameraSetRange(float near, float far); // world units
void qbCameraSetFov(float degrees);           // degrees x 3.14 / 230 radians: the factor of this camera
void qbCameraSetPosition(float x, float y, float z); // moves the holder, then the camera
void qbCameraSetRotation(float x, float y, float z); // degrees; while the user steers, the holder alone
void qbSetBackground(unsigned color);                // 0xRRGGBB, forwards to qbEngineSetBackground
