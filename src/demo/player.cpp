#include "demo/player.h"

#include "demo/load.h"
#include "demo/music.h"
#include "demo/palette.h"
#include "demo/spans.h"
#include "engine/camera.h"
#include "engine/engine.h"
#include "engine/fader.h"
#include "materials/camera_shaders.h"
#include "platform/message.h"
#include "platform/span.h"
#include "scene/runtime/slots.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <new>

enum { START_PAUSE = 500 }; // milliseconds between the loading picture and the first frame

static QbDemoObserver demoObserver = nullptr;

namespace {

// The loop's state, which survives from frame to frame.
struct Player {
    QbDemo* demo;
    int partIndex = -1;
    QbDemoPart* part = nullptr;
    int base = 0;    // clock zero
    int elapsed = 0; // time of this frame since `base`
    int scene = -1;  // slot of the scene being played
    int tune = -1;
    int paletteShown = -1;
    QbDemoShader* activeShader = nullptr;
    QbDemoFader* activeFader = nullptr;
};

} // namespace

// Times from a script are any 32-bit numbers: sums and differences are taken wider.
static int32_t timeBetween(int32_t start, int32_t now) {
    const int64_t span = static_cast<int64_t>(now) - start;
    return static_cast<int32_t>(
        std::clamp<int64_t>(span, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
}

template <class Entry>
static bool isOver(const Entry& entry, int elapsed) {
    return static_cast<int64_t>(entry.time) + entry.length <= elapsed;
}

template <class Entry>
static bool isDue(const Entry& entry, int elapsed) {
    return entry.time <= elapsed && !isOver(entry, elapsed);
}

// --- part change ----------------------------------------------------------------------------------------

static void stopExtras(QbDemoPart& part) {
    for (const QbDemoExtra& extra : qbDemoExtras(part)) {
        if (extra.sceneSlot == -1) continue;
        qbSceneStop(extra.sceneSlot);
        if (extra.flushObjects) qbSceneFree(extra.sceneSlot);
    }
}

// Takes down the playing scene with all that the previous part has on the screen.
static void endScene(Player& player, QbDemoPart* previous) {
    qbSceneStop(player.scene);
    if (!previous) return;
    stopExtras(*previous);
    if (player.demo->shadersEnabled && player.activeShader) {
        qbShaderDisable(player.activeShader->shaderId);
        player.activeShader->active = 0;
        player.activeShader = nullptr;
    }
    if (player.activeFader) {
        qbFaderRemove();
        player.activeFader->active = 0;
        player.activeFader = nullptr;
    }
    if (previous->flushObjects) qbSceneFree(player.scene);
}

// All extras of a part start with it, in hiding.
static void beginScene(Player& player, QbDemoPart& part) {
    player.scene = part.sceneSlot;
    qbSceneStart(player.scene);
    for (const QbDemoExtra& extra : qbDemoExtras(part)) {
        if (extra.sceneSlot == -1) continue;
        qbSceneHide(extra.sceneSlot);
        qbSceneStart(extra.sceneSlot);
    }
}

static void beginPart(Player& player, QbDemoPart& part, int now) {
    QbDemoPart* previous = player.part;
    const bool hasTune = part.musicId != -1;
    const bool hasScene = part.sceneSlot != -1;
    if (hasTune && player.tune != -1) qbMusicStop(player.tune);
    if (hasScene && player.scene != -1) endScene(player, previous);
    if (hasTune) {
        player.tune = part.musicId;
        qbMusicPlay(player.tune);
    }
    if (part.timeReset) {
        player.base = now;
        player.elapsed = 0;
    }
    qbCameraSetRange(part.cameraNear, part.cameraFar);
    player.part = &part;
    if (hasScene) beginScene(player, part);
}

// Changes to the next part when its time has come, one part a frame. False when the last part is reached: it
// is never played, its time is the end of the demo.
static bool stepPart(Player& player, int now) {
    const int last = std::min<int>(player.demo->partCount, QB_DEMO_PARTS_MAX) - 1;
    if (player.partIndex >= last) return false;
    QbDemoPart& next = player.demo->parts[player.partIndex + 1];
    if (next.time > player.elapsed) return true;
    player.partIndex++;
    if (player.partIndex == last) return false;
    beginPart(player, next, now);
    return true;
}

// --- within a part --------------------------------------------------------------------------------------

static void stepExtras(QbDemoPart& part, int elapsed) {
    for (QbDemoExtra& extra : qbDemoExtras(part)) {
        if (extra.sceneSlot == -1) continue;
        if (isDue(extra, elapsed) && !extra.active) {
            qbSceneShow(extra.sceneSlot);
            extra.active = 1;
        }
        if (isOver(extra, elapsed) && extra.active) {
            qbSceneHide(extra.sceneSlot);
            extra.active = 0;
        }
        if (extra.active) qbSceneUpdate(extra.sceneSlot, timeBetween(extra.time, elapsed));
    }
}

static void stepPalette(Player& player) {
    const int id = player.part->paletteId;
    if (id == -1 || id == player.paletteShown) return;
    player.paletteShown = id;
    qbPaletteUse(id);
}

static void startShader(Player& player, QbDemoShader& shader) {
    if (player.activeShader && player.activeShader->active) {
        qbShaderDisable(player.activeShader->shaderId);
        player.activeShader->active = 0;
        player.activeShader->done = 1;
    }
    qbShaderEnable(shader.shaderId);
    shader.active = 1;
    player.activeShader = &shader;
}

static void stepShaders(Player& player) {
    for (QbDemoShader& shader : qbDemoShaders(*player.part)) {
        if (shader.shaderId == -1) continue;
        if (isDue(shader, player.elapsed) && !shader.active && !shader.done) startShader(player, shader);
        if (isOver(shader, player.elapsed) && shader.active) {
            qbShaderDisable(shader.shaderId);
            shader.active = 0;
            shader.done = 1;
            player.activeShader = nullptr;
        }
    }
}

static void startFader(Player& player, QbDemoFader& fader) {
    if (player.activeFader && player.activeFader->active) {
        qbFaderRemove();
        player.activeFader->active = 0;
        player.activeFader->done = 1;
    }
    const auto color = static_cast<uint32_t>(fader.color);
    if (fader.fadeOut)
        qbFaderOut(fader.fadeLength, color);
    else
        qbFaderIn(fader.fadeLength, color);
    fader.active = 1;
    player.activeFader = &fader;
}

static void stepFaders(Player& player) {
    for (QbDemoFader& fader : qbDemoFaders(*player.part)) {
        if (isDue(fader, player.elapsed) && !fader.active && !fader.done) startFader(player, fader);
        if (isOver(fader, player.elapsed) && fader.active) {
            qbFaderRemove();
            fader.active = 0;
            fader.done = 1;
            player.activeFader = nullptr;
        }
    }
}

// The main scene comes after the extras, so that its camera has the last word.
static void stepTimeline(Player& player) {
    if (!player.part) return;
    stepExtras(*player.part, player.elapsed);
    stepPalette(player);
    if (player.demo->shadersEnabled) stepShaders(player);
    stepFaders(player);
    if (player.scene != -1) qbSceneUpdate(player.scene, timeBetween(player.part->timeBase, player.elapsed));
}

// --- the loop -------------------------------------------------------------------------------------------

void qbDemoGetReady() {
    qbEngineWarmUp();
    const QbSpan span("pause");
    qbEngineSleep(START_PAUSE);
}

int qbDemoPlay(QbDemo* demo) {
    Player player = {demo};
    player.base = qbEngineTime();
    qbPaletteReset();
    while (!qbEngineIsOver()) {
        const int now = qbEngineTime();
        player.elapsed = timeBetween(player.base, now);
        const QbSpan span("frame");
        if (!stepPart(player, now)) break;
        stepTimeline(player);
        if (demoObserver) demoObserver(demo, player.partIndex, player.elapsed);
        qbEngineDrawFrame();
    }
    return 0;
}

int qbDemoRun(const char* path, int shadersEnabled) {
    const std::unique_ptr<QbDemo> demo(new (std::nothrow) QbDemo{});
    if (!demo) {
        qbMessage("%.512s: out of memory", path);
        return -1;
    }
    const int result = qbDemoLoad(demo.get(), path, shadersEnabled);
    if (result == 0) {
        qbDemoGetReady();
        qbDemoPlay(demo.get());
    }
    qbDemoFree(demo.get());
    return result;
}

void qbDemoSetObserver(QbDemoObserver observer) {
    demoObserver = observer;
}
