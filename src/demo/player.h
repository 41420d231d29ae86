#pragma once

#include "demo/demo.h"

// The end of loading: everything is drawn once, unseen, and the last loading picture stands for half a
// second.
void qbDemoGetReady();
// Plays a loaded demo to its end, Escape or the closing of the window. Always 0.
int qbDemoPlay(QbDemo* demo);
// Loads, plays and frees the demo of a script. 0, or -1 when it did not load. `shadersEnabled`: the setup's
// switch.
int qbDemoRun(const char* path, int shadersEnabled);

// Called by qbDemoPlay in each pass just before the frame is drawn, with the current part's index (-1 before
// the first) and the timeline's clock in milliseconds; null removes it.
using QbDemoObserver = void (*)(const QbDemo* demo, int partIndex, int elapsed);
void qbDemoSetObserver(QbDemoObserver observer);
