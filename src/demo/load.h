#pragma once

#include "demo/demo.h"

// Makes ready everything that the timeline will touch, and releases it. Failures show a message and give -1;
// what was loaded until then stays for qbDemoFree.

int qbDemoPrepare(QbDemo* demo); // run-time fields to "none"; always 0
// Parses the script and loads tunes, palettes, scenes and shader windows under the loading picture.
// The current directory is the script's from then on. A directory that the script leaves out (tunes,
// palettes, shaders) means the script's own. `shadersEnabled` is the setup's switch for shader windows.
int qbDemoLoad(QbDemo* demo, const char* path, int shadersEnabled);
// Stops ahead of the next scene, without a message, when the process is asked to end.
int qbDemoLoadScenes(QbDemo* demo, const char* baseDir);
int qbDemoLoadMusics(QbDemo* demo);
int qbDemoLoadPalettes(QbDemo* demo);
int qbDemoLoadShaders(QbDemo* demo);

int qbDemoFree(QbDemo* demo); // 0; harmless on a record that was only prepared
int qbDemoFreeScenes(QbDemo* demo);
int qbDemoFreeMusics(QbDemo* demo);
int qbDemoFreePalettes(QbDemo* demo);
int qbDemoFreeShaders(QbDemo* demo);
