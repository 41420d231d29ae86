#pragma once

#include <cstdint>

enum QbViewFlags {
    QB_VIEW_BINARY = 1,       // ask for the binary form after loading
    QB_VIEW_CONVERT_ONLY = 2, // and stop there
    QB_VIEW_PAUSED = 4,
    QB_VIEW_FRAME_START = 8, // frameStart is given
    QB_VIEW_RIDE = 16,
};

enum { QB_VIEW_SLOT = 1 }; // where the viewer's scene lies

struct QbViewOptions {
    uint32_t flags;
    int32_t frameStart; // frame number of the scene
};

// Plays one scene with transport keys. `path` may be null with both conversion flags: a dialog asks. 0, or -1
// when nothing was shown.
int qbSceneView(const char* path, const QbViewOptions* options);
