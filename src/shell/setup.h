#pragma once

// The setup step: "quab-setup.ini", else the Screen Mode dialog, else defaults; then the engine opens.

// 0, or -1 when the dialog was cancelled or the engine did not open. `ride` 1 forces it, -1 leaves it to the
// file.
int qbSetupOpen(const char* fileName, int allowDialog, int ride);
int qbSetupFileRead(); // 1 when a setup file was read
int qbSetupShaders();  // 1 when the setup's shaders switch is on
