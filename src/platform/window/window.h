#pragma once

// The window system beneath the engine's window.

// Makes each swap of the current OpenGL context's window wait for the screen's refresh, or not (0).
// 0, or -1 where the driver offers no choice, as software renderers do.
int qbVsyncSet(int on);

// From here to qbWindowGuardEnd an error of the window system does not end the process: the first is reported
// on the error stream, and one that tells of a lost window is remembered. Calls do not nest.
void qbWindowGuardBegin();
void qbWindowGuardEnd(); // harmless without a begin
// 1 when the window was destroyed from outside, or could not be made, since qbWindowGuardBegin. Ask before
// drawing: a software renderer that draws into a window which is gone writes anywhere. Takes the event that
// tells of it, and no other.
int qbWindowLost();
