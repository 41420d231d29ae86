#include "shell/entry.h"

#include "demo/player.h"
#include "engine/engine.h"
#include "platform/dialog/dialog.h"
#include "platform/message.h"
#include "platform/process.h"
#include "render/renderer.h"
#include "shell/object_view.h"
#include "shell/pictures.h"
#include "shell/scene_view.h"
#include "shell/setup.h"
#include "shell/standalone.h"
#include "storage/builder/builder.h"
#include "storage/cabinet.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <string>

namespace {

enum class Mode { None, Object, Scene, Demo };

struct Arguments {
    QbViewOptions view = {QB_VIEW_BINARY, 0};
    const char* file = nullptr;
    const char* pictures = nullptr;
    bool unattended = false;
    bool help = false;
    bool version = false;
};

} // namespace

static const char* const USAGE =
    "Usage: quab [options] [file]\n"
    "\n"
    "  file.demo.ini          plays the demo of this script\n"
    "  file.quab              plays one scene: Space pauses, Enter loops, arrows seek (Shift: faster)\n"
    "  file.x                 shows one mesh on a turntable: drag or arrows turn, wheel moves\n"
    "  (no file)              asks for one\n"
    "Escape ends everything.\n"
    "\n"
    "Options:\n"
    "  -framestart <frame>    scene: starts at this frame\n"
    "  -paused                scene: starts paused\n"
    "  -ride                  the mouse and the arrow keys steer the camera\n"
    "  --pictures=DIR         leaves a picture of each part, or four of a scene or mesh, in DIR\n"
    "  --unattended           no dialogs: messages go to the error stream, a viewer ends by itself\n"
    "  --help, --version      print this, or the version, and end\n"
    "\n"
    "Other forms:\n"
    "  quab -binary [scene]                         converts a scene to its binary form\n"
    "  quab -demoexe <target> <file.demo.ini>       packs a demo into one executable (with the tool gcab)\n"
    "An executable that carries a demo plays it, whatever it is asked for.\n"
    "\n"
    "Window, depth and camera range come from \"quab-setup.ini\" in the current directory or beside the "
    "program.\n";

// strtol, cut to 32 bits; no number reads as 0.
static int32_t parseInt(const char* text) {
    const long value = std::strtol(text, nullptr, 10);
    if (value > INT32_MAX) return INT32_MAX;
    if (value < INT32_MIN) return INT32_MIN;
    return static_cast<int32_t>(value);
}

static Arguments scanArguments(int argc, char** argv) {
    static const char PICTURES[] = "--pictures=";
    Arguments arguments;
    for (int i = 1; i < argc; ++i) {
        const char* word = argv[i];
        if (word[0] != '-') {
            if (arguments.file == nullptr) arguments.file = word;
        } else if (std::strcmp(word, "-framestart") == 0) {
            arguments.view.flags |= QB_VIEW_FRAME_START;
            arguments.view.frameStart = i + 1 < argc ? parseInt(argv[++i]) : 0;
        } else if (std::strcmp(word, "-paused") == 0) {
            arguments.view.flags |= QB_VIEW_PAUSED;
        } else if (std::strcmp(word, "-ride") == 0) {
            arguments.view.flags |= QB_VIEW_RIDE;
        } else if (std::strcmp(word, "--unattended") == 0) {
            arguments.unattended = true;
        } else if (std::strncmp(word, PICTURES, sizeof PICTURES - 1) == 0) {
            arguments.pictures = word + sizeof PICTURES - 1;
        } else if (std::strcmp(word, "--help") == 0) {
            arguments.help = true;
        } else if (std::strcmp(word, "--version") == 0) {
            arguments.version = true;
        }
    }
    return arguments;
}

// The name decides, wherever in it the suffix stands.
static Mode chooseMode(const char* file) {
    if (std::strstr(file, ".demo.ini") != nullptr) return Mode::Demo;
    if (std::strstr(file, ".lws.ini") != nullptr) return Mode::Scene;
    if (std::strstr(file, ".quab") != nullptr) return Mode::Scene;
    if (std::strstr(file, ".x") != nullptr) return Mode::Object;
    return Mode::None;
}

// Where nobody can see a box, or nobody shall wait for it, the line on the error stream is all there is.
static void showMessage(const char* text) {
    static const bool hasDisplay = qbProcessHasDisplay() != 0;
    if (!hasDisplay || qbProcessEndAsked() != 0) return;
    try {
        qbMessageBox(text);
    } catch (const std::bad_alloc&) { // the line on the error stream has said it
    }
}

static const char* askFile() {
    static const QbFileFilter filters[] = {{"Quab Scene (.quab)", "*.quab"},
                                           {"Quab Scene (lws.ini)", "*.lws.ini;*.lws.ini.bin"},
                                           {"Quab Demo (demo.ini)", "*.demo.ini"},
                                           {"DirectX Object(.x)", "*.x"},
                                           {"All", "*.*"}};
    return qbOpenFileDialog("Open Quab scene", filters, 5);
}

static void runJob(Mode mode, const Arguments& arguments) {
    switch (mode) {
    case Mode::Object:
        qbObjectView(arguments.file);
        break;
    case Mode::Scene:
        qbSceneView(arguments.file, &arguments.view);
        break;
    case Mode::Demo:
        qbDemoRun(arguments.file, qbSetupShaders());
        break;
    case Mode::None:
        break;
    }
}

static int startPictures(Mode mode, const Arguments& arguments) {
    if (mode == Mode::None || (arguments.pictures == nullptr && !arguments.unattended)) return 0;
    QbPicturesOptions options = {};
    options.directory = arguments.pictures;
    options.unattended = arguments.unattended ? 1 : 0;
    options.job = mode == Mode::Demo    ? QB_PICTURES_DEMO
                  : mode == Mode::Scene ? QB_PICTURES_SCENE
                                        : QB_PICTURES_OBJECT;
    return qbPicturesStart(&options);
}

// Opens the engine, does the job, closes the engine.
static int runWindow(const Arguments& arguments) {
    const Mode mode = chooseMode(arguments.file);
    const int ride = (arguments.view.flags & QB_VIEW_RIDE) != 0 ? 1 : -1;
    qbEngineSetRenderer(qbRendererOps());
    qbProcessCatchEnd(); // a display on the whole screen goes back to its own size
    const bool allowDialog = mode == Mode::Demo && !arguments.unattended;
    if (qbSetupOpen("quab-setup.ini", allowDialog ? 1 : 0, ride) != 0) return -1;
    qbEngineMaximize();
    qbEngineRestore();
    int result = startPictures(mode, arguments);
    if (result == 0) {
        runJob(mode, arguments);
        result = qbPicturesFinish();
    }
    qbEngineClose();
    return result;
}

// The show that this executable carries. It takes no orders from the command line, and tells of failures by
// messages alone.
static int playOwnShow() {
    qbMessageSetSink(showMessage);
    qbEngineSetRenderer(qbRendererOps());
    qbProcessCatchEnd();
    qbStandaloneRun();
    return 0;
}

static int convert(int argc, char** argv) {
    const QbViewOptions options = {QB_VIEW_BINARY | QB_VIEW_CONVERT_ONLY, 0};
    qbSceneView(argc > 2 ? argv[2] : nullptr, &options);
    return -1;
}

static const char* const OUT_OF_MEMORY =
    "Out of memory. End other programs, or make the pictures and meshes of the show smaller.";

static int run(int argc, char** argv) {
    const Arguments scanned = scanArguments(argc, argv);
    qbMessageSetSink(scanned.unattended ? nullptr : showMessage);

    if (argc > 1 && std::strcmp(argv[1], "-binary") == 0) return convert(argc, argv);
    if (argc == 4 && std::strcmp(argv[1], "-demoexe") == 0) {
        qbProcessCatchEnd();
        qbDemoExe(argv[2], argv[3]);
        return -1;
    }
    if (qbHasResources() == 0) return playOwnShow();
    if (scanned.help) {
        std::fputs(USAGE, stdout);
        return 0;
    }
    if (scanned.version) {
        std::puts("quab " QB_VERSION);
        return 0;
    }
    Arguments arguments = scanned;
    std::string file; // the dialog's buffer is not ours to keep
    if (arguments.file == nullptr && arguments.unattended) {
        qbMessage("No file is named, and --unattended asks for none: name a script, a scene or a mesh.");
        return -1;
    }
    if (arguments.file == nullptr) {
        const char* chosen = askFile();
        if (chosen == nullptr) return -1;
        file = chosen;
        arguments.file = file.c_str();
    }
    return runWindow(arguments);
}

// The engine puts the display back to its own size; without memory even that may fail.
static void closeWindow() {
    try {
        qbEngineClose();
    } catch (const std::exception&) {
    }
}

// The library that translates shaders ends the process when it gets no memory. At an exit what was unpacked
// is removed.
static void endForMemory() {
    if (errno != ENOMEM) std::abort();
    errno = 0;
    qbMessage("%s", OUT_OF_MEMORY);
    std::exit(EXIT_FAILURE);
}

// What runs out of memory while a file is loaded is reported there, with the file's name.
int qbMain(int argc, char** argv) {
    std::set_terminate(endForMemory);
    try {
        qbProcessStart(argc, argv);
        return run(argc, argv);
    } catch (const std::bad_alloc&) {
        closeWindow();
        qbMessage("%s", OUT_OF_MEMORY);
    } catch (const std::exception& error) {
        closeWindow();
        qbMessage("Ended by an error of the program: %s", error.what());
    }
    return -1;
}
