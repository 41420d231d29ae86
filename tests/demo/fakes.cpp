#include "demo/fakes.h"

#include "demo/music.h"
#include "demo/palette.h"
#include "engine/camera.h"
#include "engine/engine.h"
#include "engine/fader.h"
#include "engine/loading.h"
#include "materials/camera_shaders.h"
#include "scene/runtime/slots.h"

#include <algorithm>
#include <filesystem>
#include <sstream>
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

std::string takeCalls() {
    return takeCalls({""});
}

// 0, or -1 when this is the call that fails.
template <class... Arguments>
static int record(const char* name, const Arguments&... arguments) {
    std::ostringstream text;
    text << name;
    ((text << ' ' << arguments), ...);
    fakes.calls.push_back(text.str());
    return !fakes.failing.empty() && text.str().starts_with(fakes.failing) ? -1 : 0;
}

int qbEngineIsOver() {
    if (fakes.frames.empty()) return 1;
    fakes.clock = fakes.frames.front();
    fakes.frames.erase(fakes.frames.begin());
    return 0;
}
int qbEngineTime() {
    return fakes.clock;
}
void qbEngineDrawFrame() {
    record("draw");
}
void qbEngineSleep(int milliseconds) {
    record("sleep", milliseconds);
}
void qbCameraSetRange(float near, float far) {
    record("range", near, far);
}
void qbFaderIn(int32_t length, uint32_t color) {
    record("fadeIn", length, color);
}
void qbFaderOut(int32_t length, uint32_t color) {
    record("fadeOut", length, color);
}
void qbFaderRemove() {
    record("fadeRemove");
}
void qbLoadingOpen() {
    record("loadingOpen");
}
void qbLoadingProgress(int percent) {
    record("progress", percent);
}
void qbLoadingClose() {
    record("loadingClose");
}

int qbMusicLoad(const char* path, int id) {
    return record("musicLoad", path, id);
}
int qbMusicExists(int id) {
    return id < 50 && record("musicExists", id) == 0;
}
int qbMusicFree(int id) {
    return record("musicFree", id);
}
int qbMusicPlay(int id) {
    return record("musicPlay", id);
}
int qbMusicStop(int id) {
    return record("musicStop", id);
}

void qbPaletteLoad(const char* path, int id) {
    record("paletteLoad", path, id);
}
bool qbPaletteExists(int id) {
    return record("paletteExists", id) == 0;
}
void qbPaletteSetEntry(int id, int channel, int value) {
    record("paletteEntry", id, channel, value);
}
void qbPaletteFree(int id) {
    record("paletteFree", id);
}
void qbPaletteUse(int id) {
    record("paletteUse", id);
}
void qbPaletteReset() {
    record("paletteReset");
}

int qbShadersInit(const char* directory) {
    return record("shadersInit", directory);
}
int qbShaderLoad(const char* path, int id) {
    return record("shaderLoad", path, id);
}
int qbShaderFree(int id) {
    return record("shaderFree", id);
}
int qbShaderEnable(int id) {
    return record("shaderEnable", id);
}
int qbShaderDisable(int id) {
    return record("shaderDisable", id);
}
int qbCameraShadersEnable() {
    return record("cameraShadersEnable");
}
int qbCameraShadersDisable() {
    return record("cameraShadersDisable");
}

// Says as well in which directory the load took place, by its last name.
int qbSceneLoad(const char* filename, int slot, int firstObject, int firstLight, int firstEmitter,
                int reuseObjects, const char* directory, int isExtra) {
    const std::string place = std::filesystem::current_path().filename();
    return slot >= QB_SCENE_SLOTS ||
                   record("sceneLoad", filename, slot, firstObject, firstLight, firstEmitter, reuseObjects,
                          '"' + std::string(directory) + '"', isExtra, "in", place)
               ? -1
               : 0;
}
void qbSceneFree(int slot) {
    record("sceneFree", slot);
}
void qbSceneStart(int slot) {
    record("sceneStart", slot);
}
void qbSceneStop(int slot) {
    record("sceneStop", slot);
}
void qbSceneHide(int slot) {
    record("sceneHide", slot);
}
void qbSceneShow(int slot) {
    record("sceneShow", slot);
}
void qbSceneUpdate(int slot, int32_t timeMs) {
    record("update", slot, timeMs);
}
int qbSceneObjectCount(int /*slot*/) {
    return fakes.objects;
}
int qbSceneLightCount(int /*slot*/) {
    return fakes.lights;
}
int qbSceneFxEmitterCount(int /*slot*/) {
    return fakes.emitters;
}
void qbSceneSetReportLoadErrors(int report) {
    record("reportLoadErrors", report);
}
