#pragma once

// The loading picture: "loading.png" of the current directory in the lower right corner, creeping left by one
// pixel a percent. Without the file the calls do nothing.
void qbLoadingOpen();
void qbLoadingProgress(int percent); // 0 to 100
void qbLoadingClose();
