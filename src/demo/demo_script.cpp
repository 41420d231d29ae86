#include "demo/demo.h"

#include "platform/memory.h"
#include "platform/message.h"
#include "storage/ini.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

// Entries are looked up under the numbers 0 to 19, however many of them a part may hold.
enum { ENTRY_NUMBERS = 20 };

namespace {

// One section of the script, for reading its keys.
struct Section {
    dictionary* ini;
    const char* path; // of the script, for messages
    std::string name;

    const char* find(const std::string& key) const {
        return iniparser_getstring(ini, (name + ':' + key).c_str(), nullptr);
    }
    int32_t number(const std::string& key, int32_t fallback) const {
        return iniparser_getint(ini, (name + ':' + key).c_str(), fallback);
    }
    // An absent key gives an empty text. False after a message when the text does not fit.
    bool text(const std::string& key, char (&target)[QB_DEMO_STRING_SIZE]) const {
        const char* value = find(key);
        const size_t length = value ? strlen(value) : 0;
        if (length >= QB_DEMO_STRING_SIZE) {
            qbMessage("%s: [%s] %s holds %zu characters, %d at most", path, name.c_str(), key.c_str(), length,
                      QB_DEMO_STRING_SIZE - 1);
            return false;
        }
        memcpy(target, value ? value : "", length + 1);
        return true;
    }
};

} // namespace

static std::string entryKey(const char* list, int number, const char* key) {
    return std::string(list) + '.' + std::to_string(number) + '.' + key;
}

static bool readDirectories(const Section& setup, QbDemo& demo) {
    return setup.text("musicdirectory", demo.musicDirectory) &&
           setup.text("palettedirectory", demo.paletteDirectory) &&
           setup.text("shadersdirectory", demo.shadersDirectory);
}

static void readCameraRange(const Section& section, QbDemoPart& part) {
    const char* range = section.find("camerarange");
    if (!range) {
        part.cameraNear = 0.01F;
        part.cameraFar = 3000.0F;
        return;
    }
    // What can not be read stays 0; "inf" and "nan" are numbers to sscanf, but no distances.
    sscanf(range, "%f %f", &part.cameraNear, &part.cameraFar);
    if (!std::isfinite(part.cameraNear) || !std::isfinite(part.cameraFar))
        part.cameraNear = part.cameraFar = 0.0F;
}

// The first of the three that is set counts; the others are not read.
static void readPaletteEntry(const Section& section, QbDemoPart& part) {
    static const char* const keys[] = {"palette.r", "palette.g", "palette.b"};
    part.paletteChannel = part.paletteValue = -1;
    for (int channel = 0; channel < 3; channel++) {
        const int32_t value = section.number(keys[channel], -1);
        if (value != -1) {
            part.paletteChannel = channel;
            part.paletteValue = value;
            return;
        }
    }
}

static bool readExtras(const Section& section, QbDemoPart& part) {
    for (int number = 0; number < ENTRY_NUMBERS && part.extraCount < QB_DEMO_EXTRAS_MAX; number++) {
        const auto key = [number](const char* name) { return entryKey("extra", number, name); };
        if (!section.find(key("directory")) || !section.find(key("filename"))) continue;
        QbDemoExtra& extra = part.extras[part.extraCount];
        if (!section.text(key("directory"), extra.directory) ||
            !section.text(key("filename"), extra.filename))
            return false;
        extra.time = section.number(key("time"), 0);
        extra.length = section.number(key("length"), 0);
        // An extra takes no reuseobjects and no flushobjects from a script: both fields stay 0.
        part.extraCount++;
    }
    return true;
}

static bool readShaders(const Section& section, QbDemoPart& part) {
    for (int number = 0; number < ENTRY_NUMBERS && part.shaderCount < QB_DEMO_SHADERS_MAX; number++) {
        const auto key = [number](const char* name) { return entryKey("shader", number, name); };
        if (!section.find(key("name"))) continue;
        QbDemoShader& shader = part.shaders[part.shaderCount];
        if (!section.text(key("name"), shader.name)) return false;
        shader.time = section.number(key("time"), 0);
        shader.length = section.number(key("length"), 0);
        part.shaderCount++;
    }
    return true;
}

static void readFaders(const Section& section, QbDemoPart& part) {
    for (int number = 0; number < ENTRY_NUMBERS && part.faderCount < QB_DEMO_FADERS_MAX; number++) {
        const auto key = [number](const char* name) { return entryKey("fader", number, name); };
        const int32_t time = section.number(key("time"), -1);
        if (time == -1) continue;
        QbDemoFader& fader = part.faders[part.faderCount];
        fader.time = time;
        fader.length = section.number(key("length"), 1000);
        fader.fadeLength = section.number(key("fadelength"), 1000);
        fader.color = section.number(key("color"), 0);
        fader.fadeOut = section.number(key("fadein"), -1) == -1 ? 1 : 0;
        part.faderCount++;
    }
}

static bool readPart(const Section& section, QbDemoPart& part) {
    part.time = section.number("time", -1);
    part.timeReset = section.number("timereset", 0);
    part.timeBase = part.timeReset == 0 ? part.time : 0;
    if (!section.text("music", part.music) || !section.text("palette", part.palette) ||
        !section.text("directory", part.directory) || !section.text("filename", part.filename))
        return false;
    readCameraRange(section, part);
    part.reuseObjects = section.number("reuseobjects", 0);
    part.flushObjects = section.number("flushobjects", 0);
    readPaletteEntry(section, part);
    if (!readExtras(section, part) || !readShaders(section, part)) return false;
    readFaders(section, part);
    return true;
}

static bool readScript(dictionary* ini, const char* path, QbDemo& demo) {
    if (!readDirectories({ini, path, "setup"}, demo)) return false;
    const int sections = iniparser_getnsec(ini);
    for (int index = 0; index < sections; index++) {
        const char* name = iniparser_getsecname(ini, index);
        if (!name || !strstr(name, "part")) continue;
        if (demo.partCount == QB_DEMO_PARTS_MAX) {
            qbMessage("%s: [%s] is one part too many, %d at most", path, name, QB_DEMO_PARTS_MAX);
            return false;
        }
        if (!readPart({ini, path, name}, demo.parts[demo.partCount])) return false;
        demo.partCount++;
    }
    if (demo.partCount == 0) qbMessage("No parts!");
    return demo.partCount > 0;
}

static int parse(QbDemo* demo, const char* path) {
    const std::unique_ptr<dictionary, decltype(&iniparser_freedict)> ini(qbIniLoad(path), iniparser_freedict);
    if (!ini) {
        qbMessage("Fail to parse ini");
        return -1;
    }
    return readScript(ini.get(), path, *demo) ? 0 : -1;
}

int qbDemoParse(QbDemo* demo, const char* path) {
    memset(demo, 0, sizeof(*demo));
    if (!path) {
        qbMessage("Fail to load %s", "(null)");
        return -1;
    }
    const int result = qbUnlessOutOfMemory(path, -1, [=] { return parse(demo, path); });
    if (result != 0)
        memset(demo, 0, sizeof(*demo)); // half a script must not pass for one with scenes to free
    return result;
}
