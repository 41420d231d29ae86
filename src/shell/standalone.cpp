#include "shell/standalone.h"

#include "demo/load.h"
#include "demo/player.h"
#include "engine/engine.h"
#include "engine/loading.h"
#include "materials/camera_shaders.h"
#include "platform/message.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/text.h"
#include "scene/runtime/slots.h"
#include "shell/setup.h"
#include "storage/cabinet.h"

#include <memory>
#include <new>
#include <string>

// Numbers of the directories: everything that is read once goes through the first, the tunes stay in the
// second until the end.
enum { DIRECTORY_DATA = 1, DIRECTORY_MUSIC = 2 };

// A show that somebody ends while it loads has not failed.
static void say(const std::string& message) {
    if (!message.empty() && qbProcessEndAsked() == 0) qbMessage("%s", message.c_str());
}

// Says what failed, when there is something to say, and deletes the directory.
static int fail(int directory, const std::string& message) {
    say(message);
    qbCabClose(directory);
    return -1;
}

// Unpacks a cabinet and enters its directory. 0, or -1 after a message.
static int openCabinet(int directory, int id, const std::string& what) {
    const int error = qbCabOpen(directory, id);
    if (error != 0) {
        say("Failed to open " + what + " err=" + std::to_string(error));
        return -1;
    }
    return qbCabUse(directory) == 0 ? 0 : fail(directory, "Failed to use " + what);
}

// --- steps ----------------------------------------------------------------------------------------------

static int openEngine() {
    if (qbHasResources() != 0) {
        qbMessage("Resources don't exist");
        return -1;
    }
    if (openCabinet(DIRECTORY_DATA, QB_CAB_DEFDATA, "default data") != 0) return -1;
    if (qbSetupOpen("quab-setup.ini", 1, -1) != 0) return -1;
    qbCabClose(DIRECTORY_DATA);
    return 0;
}

static int showLoading() {
    if (openCabinet(DIRECTORY_DATA, QB_CAB_LOADING, "loading") != 0) return -1;
    qbLoadingOpen();
    qbCabClose(DIRECTORY_DATA);
    return 0;
}

// The first script by name; "" without any.
static std::string findScript() {
    for (const std::string& name : qbPathList(".")) {
        if (qbMatchesPattern(name, "*.demo.ini")) return name;
    }
    return "";
}

static int parseScript(QbDemo* demo) {
    const std::string script = findScript();
    if (script.empty()) return fail(DIRECTORY_DATA, "Failed to find .demo.ini");
    if (qbDemoParse(demo, script.c_str()) != 0) return fail(DIRECTORY_DATA, "");
    if (qbDemoPrepare(demo) != 0) return fail(DIRECTORY_DATA, "Failed to prepare");
    return 0;
}

// `base` gets the directory of the unpacked data.
static int loadData(QbDemo* demo, std::string& base) {
    if (openCabinet(DIRECTORY_DATA, QB_CAB_DATA, "data") != 0) return -1;
    if (parseScript(demo) != 0) return -1;
    base = qbCurrentDirectory();
    demo->shadersEnabled = qbSetupShaders();
    if (demo->shadersEnabled && qbShadersInit(demo->shadersDirectory) != 0) {
        qbMessage("Failed to init shaders !\n");
        return -1;
    }
    qbSceneSetReportLoadErrors(1);
    const bool loaded = qbDemoLoadScenes(demo, base.c_str()) == 0;
    if (!loaded) say("Failed to load scenes");
    qbSetDirectory(base.c_str());
    if (!loaded) return fail(DIRECTORY_DATA, "");
    if (demo->shadersEnabled) {
        qbDemoLoadShaders(demo); // a demo without its shaders is still worth showing
        qbSetDirectory(base.c_str());
    }
    qbCabClose(DIRECTORY_DATA);
    return 0;
}

static int loadMusic(QbDemo* demo) {
    if (openCabinet(DIRECTORY_MUSIC, QB_CAB_MUSIC, "music") != 0) return -1;
    if (qbDemoLoadMusics(demo) != 0) return fail(DIRECTORY_MUSIC, "Failed to load music");
    return 0;
}

static int play(QbDemo* demo, const std::string& base) {
    qbSetDirectory(base.c_str()); // it is gone by now, and nothing is read any more
    qbLoadingClose();
    qbDemoGetReady();
    const int result = qbDemoPlay(demo);
    if (result != 0) qbMessage("Failed to play demo");
    qbDemoFree(demo);
    qbCabClose(DIRECTORY_MUSIC);
    return result;
}

// --- the show -------------------------------------------------------------------------------------------

static int playShow(QbDemo* demo) {
    std::string base;
    if (showLoading() != 0 || loadData(demo, base) != 0 || loadMusic(demo) != 0) {
        qbDemoFree(demo);
        return -1;
    }
    return play(demo, base);
}

int qbStandaloneRun() {
    const std::unique_ptr<QbDemo> demo(new (std::nothrow) QbDemo{});
    if (!demo) return -1;
    if (openEngine() != 0) return -1;
    const int result = playShow(demo.get());
    qbEngineClose();
    return result;
}
