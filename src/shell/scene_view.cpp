#include "shell/scene_view.h"

#include "engine/engine.h"
#include "platform/dialog/dialog.h"
#include "platform/message.h"
#include "platform/path.h"
#include "scene/format/tables.h"
#include "scene/runtime/slots.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

enum { VIEW_NAME_MAX = 256 };

namespace {

// The transport: a clock zero while running, a position while paused. Milliseconds, wide enough to seek past
// either end of the longest scene.
struct Transport {
    int64_t base = 0;
    int64_t pausedTime = 0;
    int64_t lastPausedTime = -1; // no position, so that a paused start shows its frame
    bool paused = false;
    bool loop = false;
    bool enterHeld = false;
    bool spaceHeld = false;
};

} // namespace

static const char* askScene() {
    static const QbFileFilter filters[] = {{"Quab Scene (lws.ini)", "*.lws.ini"}, {"All", "*.*"}};
    return qbOpenFileDialog("Open Quab scene for binary convert", filters, 2);
}

static bool fits(std::string_view text, const char* what) {
    if (text.size() <= VIEW_NAME_MAX) return true;
    qbMessage("The %s of the scene is longer than %d characters. Move or rename it: '%.*s'", what,
              VIEW_NAME_MAX, static_cast<int>(text.size()), text.data());
    return false;
}

static bool wantsBinary(const std::string& name, uint32_t flags) {
    return (flags & QB_VIEW_BINARY) != 0 && name.find("ini.bin") == std::string::npos;
}

static int loadFailed() {
    qbMessage("Failed to load scene");
    return -1;
}

// Converts without a device: the scene's record is all that a save needs.
static int convertOnly(const std::string& name, uint32_t flags) {
    QbSceneHandle* scene = qbSceneOpen(name.c_str());
    if (scene == nullptr) return loadFailed();
    int result = 0;
    if (wantsBinary(name, flags)) {
        const std::string output = name + ".bin";
        if (qbSceneSave(scene, output.c_str()) != 0) {
            qbMessage("Failed to save scene to binary %s", output.c_str());
            result = -1;
        }
    }
    qbSceneClose(scene);
    return result;
}

static void setStart(Transport* view, const QbViewOptions* options) {
    view->base = qbEngineTime();
    const int framesPerSecond = qbSceneFramesPerSecond(QB_VIEW_SLOT);
    if ((options->flags & QB_VIEW_FRAME_START) != 0 && framesPerSecond != 0) {
        const double frame = static_cast<double>(options->frameStart) - qbSceneFirstFrame(QB_VIEW_SLOT);
        const double duration = qbSceneDurationMs(QB_VIEW_SLOT);
        double start = frame * 1000.0 / framesPerSecond;
        if (start < 0.0) start = 0.0;
        if (start > duration) start = duration;
        view->base = qbEngineTime() - static_cast<int>(start);
    }
    if ((options->flags & QB_VIEW_PAUSED) != 0) {
        view->paused = true;
        view->pausedTime = qbEngineTime() - view->base;
    }
}

// True in the frame in which a key goes down.
static bool pressed(uint8_t down, bool* held) {
    const bool edge = down != 0 && !*held;
    *held = down != 0;
    return edge;
}

// The position of this frame; below zero only in a scene that ends before it begins.
static int positionNow(const Transport* view, int duration) {
    const int64_t position = view->paused ? view->pausedTime : qbEngineTime() - view->base;
    return static_cast<int>(std::clamp<int64_t>(position, INT32_MIN, duration));
}

static void togglePause(Transport* view, int position, int duration) {
    view->paused = !view->paused;
    if (view->paused) {
        view->pausedTime = position;
    } else {
        view->base = view->pausedTime == duration ? qbEngineTime() : qbEngineTime() - view->pausedTime;
    }
}

static void seek(Transport* view, int duration) {
    const int step = qbKeyShift() != 0 ? 10 : 1;
    if (qbKeyRight() != 0) {
        if (view->paused)
            view->pausedTime += step * 5;
        else
            view->base -= step * 10;
    }
    if (qbKeyLeft() != 0) {
        if (view->paused)
            view->pausedTime -= step * 5;
        else
            view->base += step * 10;
    }
    if (view->pausedTime < 0) view->pausedTime = 0;
    if (view->pausedTime >= duration) view->pausedTime = duration;
}

// Running past an end of the scene stops there, or turns round in a loop with the overrun carried over.
static void meetEnds(Transport* view, int duration) {
    if (view->paused) return;
    const int64_t now = qbEngineTime();
    if (now < view->base) {
        view->base = now;
        view->paused = true;
        view->pausedTime = 0;
    }
    const int64_t elapsed = now - view->base;
    if (elapsed < duration) return;
    if (view->loop) {
        view->base = now - (elapsed - duration);
    } else {
        view->base = now - duration;
        view->pausedTime = duration;
        view->paused = true;
    }
}

static void showPosition(int position) {
    const double frame = qbSceneFramesPerSecond(QB_VIEW_SLOT) * static_cast<double>(position) / 1000.0 +
                         qbSceneFirstFrame(QB_VIEW_SLOT);
    char text[128];
    std::snprintf(text, sizeof text, "Frame=%4.2f time=%dmn%dsec%d millisec=%d", frame, position / 60000,
                  (position / 1000) % 60, ((position / 100) % 600) % 10, position);
    qbEngineText(0, 0, text);
}

static void playFrame(Transport* view) {
    const int duration = qbSceneDurationMs(QB_VIEW_SLOT);
    const int position = positionNow(view, duration);

    // A still picture costs no update.
    if (!view->paused || view->pausedTime != view->lastPausedTime) qbSceneUpdate(QB_VIEW_SLOT, position);
    view->lastPausedTime = view->pausedTime;

    if (pressed(qbKeyEnter(), &view->enterHeld)) view->loop = !view->loop;
    if (pressed(qbKeySpace(), &view->spaceHeld)) togglePause(view, position, duration);
    seek(view, duration);
    meetEnds(view, duration);

    showPosition(position);
    qbEngineDrawFrame();
    if (view->paused && qbEngineIsActive() == 0) qbEngineSleep(200);
}

static void play(const QbViewOptions* options) {
    Transport view;
    qbSceneStart(QB_VIEW_SLOT);
    setStart(&view, options);
    while (qbEngineIsOver() == 0)
        playFrame(&view);
    qbSceneFree(QB_VIEW_SLOT);
    // Two frames, one for each buffer: the window shows the emptied scene.
    qbEngineDrawFrame();
    qbEngineDrawFrame();
}

int qbSceneView(const char* path, const QbViewOptions* options) {
    const uint32_t flags = options->flags;
    const bool isConvertOnly = (flags & QB_VIEW_CONVERT_ONLY) != 0;
    if (isConvertOnly && (flags & QB_VIEW_BINARY) != 0 && path == nullptr) path = askScene();
    if (path == nullptr) return -1;

    const std::string directory = qbDirName(path);
    // What qbBaseName gives is cut to fit.
    if (!fits(directory, "directory") || !fits(path + directory.size(), "name")) return -1;
    const std::string name = qbBaseName(path);
    // From the wrong directory another scene of that name could be taken.
    if (qbSetDirectory(directory.c_str()) != 0) return loadFailed();

    if (isConvertOnly) return convertOnly(name, flags);

    qbSceneSetReportLoadErrors(1);
    if (qbSceneLoad(name.c_str(), QB_VIEW_SLOT, 1, 0, 0, 0, directory.c_str(), 0) != 0) return loadFailed();
    if (wantsBinary(name, flags)) {
        const std::string output = name + ".bin";
        if (qbSceneSaveBinary(QB_VIEW_SLOT, output.c_str()) != 0)
            qbMessage("Failed to save scene to binary %s", output.c_str());
    }
    qbEngineWarmUp();
    play(options);
    return 0;
}
