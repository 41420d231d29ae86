#include "demo/fakes.h"

#include "demo/music.h"
#include "demo/palette.h"
#include "engine/camera.h"
#include "engine/engine.h"
#include "engine/fader.h"
#include "engine/loading.h"
#include "materials/camera_shaders.h"
#include "scene/runtime/slots.h"
#include "support/fake.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <utility>

Fakes fakes;

std::string takeCalls(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& call : std::exchange(fakes.calls, {})) {
        const auto begins = [&](const std::string& word) { return call.starts_with(word); };
        if (std::any_of(words.begin(), words.end(), begins)) text += (text.empty() ? "" : "; ") + call;
    }
    return text;
}

// 0, or -1 when this is the call that fails.
template <class... Arguments>
static int record(const char* name, const Arguments&... arguments) {
    fakes.calls.push_back(callText(name, arguments...));
    const std::string& call = fakes.calls.back();
    if (!fakes.ending.empty() && call.starts_with(fakes.ending)) raise(SIGTERM);
    return !fakes.failing.empty() && call.starts_with(fakes.failing) ? -1 : 0;
}

int qbEngineIsOver() {
    if (fakes.frames.empty()) return 1;
    fakes.clock = fakes.frames.front();
    fakes.frames.erase(fakes.frames.begin());
    return 0;
}
FAKE(int, qbEngineTime, (), fakes.clock)
FAKE(void, qbEngineDrawFrame, (), record("draw"))
FAKE(void, qbEngineSleep, (int milliseconds), record("sleep", milliseconds))
FAKE(void, qbEngineWarmUp, (), record("warm up"))
FAKE(void, qbCameraSetRange, (float near, float far), record("range", near, far))
FAKE(void, qbFaderIn, (int32_t length, uint32_t color), record("fadeIn", length, color))
FAKE(void, qbFaderOut, (int32_t length, uint32_t color), record("fadeOut", length, color))
FAKE(void, qbFaderRemove, (), record("fadeRemove"))
FAKE(void, qbLoadingOpen, (), record("loadingOpen"))
FAKE(void, qbLoadingProgress, (int percent), record("progress", percent))
FAKE(void, qbLoadingClose, (), record("loadingClose"))

FAKE(int, qbMusicLoad, (const char* path, int id), record("musicLoad", path, id))
FAKE(int, qbMusicExists, (int id), record("musicExists", id) == 0)
FAKE(int, qbMusicFree, (int id), record("musicFree", id))
FAKE(int, qbMusicPlay, (int id), record("musicPlay", id))
FAKE(int, qbMusicStop, (int id), record("musicStop", id))

FAKE(void, qbPaletteLoad, (const char* path, int id), record("paletteLoad", path, id))
FAKE(bool, qbPaletteExists, (int id), record("paletteExists", id) == 0)
FAKE(void, qbPaletteSetEntry, (int id, int channel, int value), record("paletteEntry", id, channel, value))
FAKE(void, qbPaletteFree, (int id), record("paletteFree", id))
FAKE(void, qbPaletteUse, (int id), record("paletteUse", id))
FAKE(void, qbPaletteReset, (), record("paletteReset"))

FAKE(int, qbShadersInit, (const char* directory), record("shadersInit", directory))
FAKE(int, qbShaderLoad, (const char* path, int id), record("shaderLoad", path, id))
FAKE(int, qbShaderFree, (int id), record("shaderFree", id))
FAKE(int, qbShaderEnable, (int id), record("shaderEnable", id))
FAKE(int, qbShaderDisable, (int id), record("shaderDisable", id))
FAKE(int, qbCameraShadersEnable, (), record("cameraShadersEnable"))
FAKE(int, qbCameraShadersDisable, (), record("cameraShadersDisable"))

// Says as well in which directory the load took place, by its last name.
FAKE(int, qbSceneLoad,
     (const char* filename, int slot, int firstObject, int firstLight, int firstEmitter, int reuseObjects,
      const char* directory, int isExtra),
     record("sceneLoad", filename, slot, firstObject, firstLight, firstEmitter, reuseObjects,
            '"' + std::string(directory) + '"', isExtra, "in",
            std::filesystem::current_path().filename().string()))
FAKE(void, qbSceneFree, (int id), record("sceneFree", id))
FAKE(void, qbSceneStart, (int id), record("sceneStart", id))
FAKE(void, qbSceneStop, (int id), record("sceneStop", id))
FAKE(void, qbSceneHide, (int id), record("sceneHide", id))
FAKE(void, qbSceneShow, (int id), record("sceneShow", id))
FAKE(void, qbSceneUpdate, (int slot, int32_t timeMs), record("update", slot, timeMs))
FAKE(int, qbSceneObjectCount, (int), 3)
FAKE(int, qbSceneLightCount, (int), 2)
FAKE(int, qbSceneFxEmitterCount, (int), 1)
FAKE(void, qbSceneSetReportLoadErrors, (int report), record("reportLoadErrors", report))
