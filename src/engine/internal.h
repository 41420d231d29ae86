#pragma once

// What the files of this folder say to one another.

// --- clock.cpp: the device's timer appears and goes ------------------------------------------------------
// qbEngineTime runs on without a jump across both.

void qbClockAttach(); // the device has just been created
void qbClockDetach(); // the device is about to be dropped
// With a replaced time source, sets Irrlicht's timer to its time.
void qbClockStep();

// --- frame.cpp -----------------------------------------------------------------------------------------

void qbOverlayClear();
// The picture without a renderer: scene, GUI, overlay.
void qbFrameDrawPlain();

// --- lights.cpp ----------------------------------------------------------------------------------------

void qbLightFreeAll();

// --- cube_map.cpp ----------------------------------------------------------------------------------------

void qbCubeMapFreeAll(); // while the device is still there
