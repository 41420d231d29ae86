#include "shell/setup.h"

#include "engine/engine.h"
#include "platform/dialog/dialog.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/text.h"
#include "storage/ini.h"

#include <cctype>
#include <charconv>
#include <cstdlib>
#include <string_view>

static int setupFileRead = 0;
static int setupShaders = 0;

// Reads up to `count` decimal integers separated by blanks; a field that does not scan, and all behind it,
// stay.
static void scanInts(std::string_view text, int32_t** fields, int count) {
    for (int i = 0; i < count; ++i) {
        while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())) != 0)
            text.remove_prefix(1);
        int32_t value = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error != std::errc()) return;
        *fields[i] = value;
        text.remove_prefix(static_cast<size_t>(end - text.data()));
    }
}

static void scanFloats(const char* text, float** fields, int count) {
    for (int i = 0; i < count; ++i) {
        char* end = nullptr;
        const float value = std::strtof(text, &end);
        if (end == text) return;
        *fields[i] = value;
        text = end;
    }
}

// An absent key leaves the wish open; "1", "yes" and "y" ask for a window, any other text for the whole
// screen.
static int32_t readWindowed(dictionary* ini) {
    const char* text = iniparser_getstring(ini, "Setup:windowed", nullptr);
    if (text == nullptr) return -1;
    return qbSameText(text, "1") || qbSameText(text, "yes") || qbSameText(text, "y") ? 1 : 0;
}

static void readSetupFile(dictionary* ini, int ride, QbSetup* setup) {
    int32_t* display[] = {&setup->width, &setup->height, &setup->bits};
    scanInts(iniparser_getstring(ini, "Setup:display", ""), display, 3);
    setup->windowed = readWindowed(ini);
    setup->vsync = iniparser_getint(ini, "Setup:vsync", -1);
    setup->hideMouse = iniparser_getint(ini, "Setup:hide_mouse", -1);
    setup->fps = iniparser_getint(ini, "Setup:fps", -1);
    setup->antialias = iniparser_getint(ini, "Setup:antialias", -1);
    setup->lightPrePass = iniparser_getint(ini, "Setup:lightprepass", -1);
    setup->shaders = iniparser_getint(ini, "Setup:shaders", -1);
    if (ride == -1) setup->ride = iniparser_getint(ini, "Setup:ride", -1);
    float* range[] = {&setup->cameraNear, &setup->cameraFar};
    scanFloats(iniparser_getstring(ini, "Setup:camerarange", ""), range, 2);
}

static int askSetup(QbSetup* setup) {
    const int result = qbSetupDialog(&setup->width, &setup->height, &setup->bits, &setup->windowed,
                                     &setup->vsync, &setup->fps, &setup->antialias, &setup->shaders);
    if (result != 0) return -1;
    setup->hideMouse = setup->windowed == 0 ? 1 : 0;
    return 0;
}

int qbSetupOpen(const char* fileName, int allowDialog, int ride) {
    QbSetup setup;
    setup.ride = ride;
    setupFileRead = 0;

    const char* found = qbFindFile(fileName);
    dictionary* ini = qbFileExists(found) != 0 ? qbIniLoad(found) : nullptr;
    if (ini != nullptr) {
        readSetupFile(ini, ride, &setup);
        iniparser_freedict(ini);
        setupFileRead = 1;
    } else if (allowDialog != 0 && qbProcessHasDisplay() != 0) {
        // Without a display the engine says what is missing.
        if (askSetup(&setup) != 0) return -1;
    }

    setup.vsync = 1; // neither file nor dialog can turn it off: it paces the show
    setupShaders = setup.shaders != -1 && setup.shaders != 0 ? 1 : 0;
    return qbEngineOpen(&setup) == 0 ? 0 : -1;
}

int qbSetupFileRead() {
    return setupFileRead;
}

int qbSetupShaders() {
    return setupShaders;
}
