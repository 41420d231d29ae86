#include "demo/load.h"

#include "demo/music.h"
#include "demo/palette.h"
#include "demo/spans.h"
#include "engine/loading.h"
#include "materials/camera_shaders.h"
#include "platform/message.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/span.h"
#include "platform/text.h"
#include "scene/runtime/slots.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <span>
#include <string>
#include <vector>

// "directory/name". A script that names no directory means its own, never the root of the disk.
static std::string dataPath(const char* directory, const char* name) {
    return std::string(*directory ? directory : ".") + '/' + name;
}

// The result of `work`; -1 after the text when memory runs out on the way.
template <class Work>
static int orNoMemory(const char* text, const Work& work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        qbMessage("%s", text);
        return -1;
    }
}

// --- loading --------------------------------------------------------------------------------------------

int qbDemoPrepare(QbDemo* demo) {
    for (QbDemoPart& part : qbDemoParts(demo)) {
        part.musicId = part.paletteId = part.sceneSlot = -1;
        part.firstObject = part.firstLight = part.firstEmitter = -1;
        for (QbDemoExtra& extra : qbDemoExtras(part)) {
            extra.active = 0;
            extra.sceneSlot = extra.firstObject = extra.firstLight = extra.firstEmitter = -1;
        }
        for (QbDemoShader& shader : qbDemoShaders(part))
            shader.shaderId = -1;
    }
    return 0;
}

// Enters the directory of the script and tells its full name; "" when that fails.
static std::string enterScriptDirectory(const char* path) {
    if (qbSetDirectory(qbDirName(path)) != 0) return "";
    return qbCurrentDirectory();
}

static int loadDemo(QbDemo* demo, const char* path, int shadersEnabled) {
    if (qbDemoParse(demo, path) != 0) return -1;
    if (qbDemoPrepare(demo) != 0) {
        qbMessage("Failed to prepare");
        return -1;
    }
    qbSceneSetReportLoadErrors(1);
    const std::string base = enterScriptDirectory(path);
    if (base.empty()) {
        qbMessage("The directory of %s can not be entered", path);
        return -1;
    }
    qbLoadingOpen();
    if (qbDemoLoadMusics(demo) != 0) return -1;
    qbSetDirectory(base.c_str());
    if (qbDemoLoadPalettes(demo) != 0) return -1;
    demo->shadersEnabled = shadersEnabled;
    if (shadersEnabled && qbShadersInit(demo->shadersDirectory) != 0) {
        qbMessage("Failed to init shaders !");
        return -1;
    }
    qbSetDirectory(base.c_str());
    if (qbDemoLoadScenes(demo, base.c_str()) != 0) return -1;
    if (shadersEnabled) {
        qbSetDirectory(base.c_str());
        qbDemoLoadShaders(demo); // a demo without its shaders is still worth showing
    }
    qbLoadingClose();
    return 0;
}

int qbDemoLoad(QbDemo* demo, const char* path, int shadersEnabled) {
    return orNoMemory("qbDemoLoad: Failed to malloc mem for defdir\n",
                      [=] { return loadDemo(demo, path, shadersEnabled); });
}

namespace {

// What the next scene of the demo takes: ids run end to end through all scenes.
struct NextScene {
    int slot = 0, object = 1, light = 0, emitter = 0;
};

} // namespace

// Loads one scene and notes its ids in `owner`, a part or an extra. False when it does not load.
template <class Owner>
static bool loadScene(const char* baseDir, Owner& owner, int isExtra, NextScene& next) {
    qbSetDirectory(baseDir);
    const bool entered = qbSetDirectory(owner.directory) == 0;
    if (qbSceneLoad(owner.filename, next.slot, next.object, next.light, next.emitter, owner.reuseObjects,
                    owner.directory, isExtra) != 0) {
        if (!entered)
            qbMessage("There is no directory %s for the scene %s: correct it in the script", owner.directory,
                      owner.filename);
        return false;
    }
    owner.sceneSlot = next.slot;
    owner.firstObject = next.object;
    owner.firstLight = next.light;
    owner.firstEmitter = next.emitter;
    next.object += qbSceneObjectCount(next.slot);
    next.light += qbSceneLightCount(next.slot);
    next.emitter += qbSceneFxEmitterCount(next.slot);
    next.slot++;
    return true;
}

static bool loadPartScenes(const char* baseDir, QbDemoPart& part, NextScene& next) {
    if (qbProcessEndAsked() != 0) return false;
    if (part.filename[0] && !loadScene(baseDir, part, 0, next)) {
        qbMessage("Fail to load scene %s", part.filename);
        return false;
    }
    for (int index = 0; index < part.extraCount; index++) {
        QbDemoExtra& extra = part.extras[index];
        if (qbProcessEndAsked() != 0) return false;
        if (extra.filename[0] && !loadScene(baseDir, extra, 1, next)) {
            qbMessage("Fail to load in scene %s the extra id=%d %s", part.filename, index, extra.filename);
            return false;
        }
    }
    return true;
}

int qbDemoLoadScenes(QbDemo* demo, const char* baseDir) {
    const QbSpan span("scenes");
    NextScene next;
    int result = 0;
    for (int index = 0; index < demo->partCount && result == 0; index++) {
        qbLoadingProgress((index * 100) / demo->partCount);
        if (!loadPartScenes(baseDir, demo->parts[index], next)) result = -1;
    }
    qbSetDirectory(baseDir);
    return result;
}

static int loadMusics(QbDemo* demo) {
    const QbSpan span("music");
    int id = 1;
    for (QbDemoPart& part : qbDemoParts(demo)) {
        if (!part.music[0]) continue;
        qbMusicLoad(dataPath(demo->musicDirectory, part.music).c_str(), id);
        if (!qbMusicExists(id)) {
            qbMessage("Fail to load music %s", part.music);
            return -1;
        }
        part.musicId = id++;
    }
    return 0;
}

int qbDemoLoadMusics(QbDemo* demo) {
    return orNoMemory("qbDemoLoadMusics: Failed to malloc mem for path\n", [=] { return loadMusics(demo); });
}

static int loadPalettes(QbDemo* demo) {
    int id = 1;
    for (QbDemoPart& part : qbDemoParts(demo)) {
        if (!part.palette[0]) continue;
        qbPaletteLoad(dataPath(demo->paletteDirectory, part.palette).c_str(), id);
        if (!qbPaletteExists(id)) {
            qbMessage("Fail to load palette %s", part.palette);
            return -1;
        }
        part.paletteId = id++;
        if (part.paletteChannel != 0)
            qbPaletteSetEntry(part.paletteId, part.paletteChannel, part.paletteValue);
    }
    return 0;
}

int qbDemoLoadPalettes(QbDemo* demo) {
    return orNoMemory("qbDemoLoadPalettes: Failed to malloc mem for path\n",
                      [=] { return loadPalettes(demo); });
}

// --- shader windows -------------------------------------------------------------------------------------

// The first window of each name, in order.
static std::vector<QbDemoShader*> distinctShaders(QbDemo* demo) {
    std::vector<QbDemoShader*> table;
    for (QbDemoPart& part : qbDemoParts(demo)) {
        for (QbDemoShader& shader : qbDemoShaders(part)) {
            const auto sameName = [&](const QbDemoShader* entry) {
                return qbStrICmp(entry->name, shader.name) == 0;
            };
            if (std::none_of(table.begin(), table.end(), sameName)) table.push_back(&shader);
        }
    }
    return table;
}

static void shareShaderIds(QbDemo* demo, std::span<QbDemoShader* const> table) {
    for (QbDemoPart& part : qbDemoParts(demo)) {
        for (QbDemoShader& shader : qbDemoShaders(part)) {
            for (const QbDemoShader* entry : table) {
                if (qbStrICmp(entry->name, shader.name) == 0) shader.shaderId = entry->shaderId;
            }
        }
    }
}

static int loadShaders(QbDemo* demo) {
    const std::vector<QbDemoShader*> table = distinctShaders(demo);
    int id = 1;
    for (QbDemoShader* shader : table) {
        shader->shaderId = id++;
        const std::string path = dataPath(demo->shadersDirectory, shader->name);
        if (qbShaderLoad(path.c_str(), shader->shaderId) != 0) {
            qbMessage("Failed to load shader %s", path.c_str());
            return -1;
        }
    }
    shareShaderIds(demo, table);
    if (qbCameraShadersEnable() != 0) {
        qbMessage("Failed to enable camera shaders");
        return -1;
    }
    return 0;
}

int qbDemoLoadShaders(QbDemo* demo) {
    return orNoMemory("qbDemoLoadShaders: Failed to malloc mem for path\n",
                      [=] { return loadShaders(demo); });
}

// --- releasing ------------------------------------------------------------------------------------------

int qbDemoFree(QbDemo* demo) {
    qbDemoFreeMusics(demo);
    qbDemoFreePalettes(demo);
    qbDemoFreeScenes(demo);
    if (demo->shadersEnabled) qbDemoFreeShaders(demo);
    return 0;
}

int qbDemoFreeMusics(QbDemo* demo) {
    for (QbDemoPart& part : qbDemoParts(demo)) {
        if (part.music[0] && part.musicId != -1) qbMusicFree(part.musicId);
        part.musicId = -1;
    }
    return 0;
}

int qbDemoFreePalettes(QbDemo* demo) {
    for (QbDemoPart& part : qbDemoParts(demo)) {
        if (part.palette[0] && part.paletteId != -1) qbPaletteFree(part.paletteId);
        part.paletteId = -1;
    }
    return 0;
}

template <class Owner>
static void freeScene(Owner& owner) {
    if (owner.filename[0] && owner.sceneSlot != -1) qbSceneFree(owner.sceneSlot);
    owner.sceneSlot = -1;
}

int qbDemoFreeScenes(QbDemo* demo) {
    for (QbDemoPart& part : qbDemoParts(demo)) {
        freeScene(part);
        for (QbDemoExtra& extra : qbDemoExtras(part))
            freeScene(extra);
    }
    return 0;
}

int qbDemoFreeShaders(QbDemo* demo) {
    qbCameraShadersDisable();
    for (QbDemoPart& part : qbDemoParts(demo)) {
        for (QbDemoShader& shader : qbDemoShaders(part)) {
            if (shader.shaderId != -1) qbShaderFree(shader.shaderId);
            shader.shaderId = -1;
        }
    }
    return 0;
}
