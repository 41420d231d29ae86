#pragma once

#include <cstdint>

// The demo record: what one script says, and where the player keeps what it loaded. Times in milliseconds.

// Limits, each per what it names: parts per demo, the rest per part. Strings count their terminator.
enum {
    QB_DEMO_PARTS_MAX = 64,
    QB_DEMO_EXTRAS_MAX = 15,
    QB_DEMO_SHADERS_MAX = 10,
    QB_DEMO_FADERS_MAX = 20,
    QB_DEMO_STRING_SIZE = 128,
};

struct QbDemoExtra {
    int32_t active;
    char directory[QB_DEMO_STRING_SIZE];
    char filename[QB_DEMO_STRING_SIZE];
    int32_t time;
    int32_t length;
    int32_t sceneSlot, firstObject, firstLight, firstEmitter; // -1 for none
    int32_t reuseObjects;                                     // always 0: an extra never reuses
    int32_t flushObjects;                                     // always 0: an extra never flushes
};

struct QbDemoShader {
    int32_t active, done;
    char name[QB_DEMO_STRING_SIZE];
    int32_t time;
    int32_t length;
    int32_t shaderId; // from 1, -1 for none
};

struct QbDemoFader {
    int32_t fadeOut; // 0 when the key `fadein` is there, whatever its value
    int32_t active, done;
    int32_t time;
    int32_t length;     // how long the fader stays
    int32_t fadeLength; // how long the fade takes
    int32_t color;      // 0xRRGGBB
};

struct QbDemoPart {
    int32_t time;
    int32_t timeReset;
    int32_t timeBase; // `time` without timeReset, else 0
    char music[QB_DEMO_STRING_SIZE];
    char palette[QB_DEMO_STRING_SIZE];
    char directory[QB_DEMO_STRING_SIZE];
    char filename[QB_DEMO_STRING_SIZE];
    float cameraNear, cameraFar;
    int32_t musicId, paletteId, sceneSlot; // -1 for none
    int32_t firstObject, firstLight, firstEmitter;
    int32_t reuseObjects, flushObjects;
    int32_t paletteChannel; // -1 none, 0 red, 1 green, 2 blue
    int32_t paletteValue;
    int32_t extraCount;
    QbDemoExtra extras[QB_DEMO_EXTRAS_MAX];
    int32_t shaderCount;
    QbDemoShader shaders[QB_DEMO_SHADERS_MAX];
    int32_t faderCount;
    QbDemoFader faders[QB_DEMO_FADERS_MAX];
};

struct QbDemo {
    char musicDirectory[QB_DEMO_STRING_SIZE];
    char paletteDirectory[QB_DEMO_STRING_SIZE];
    char shadersDirectory[QB_DEMO_STRING_SIZE];
    int32_t partCount;
    QbDemoPart parts[QB_DEMO_PARTS_MAX]; // in file order
    int32_t shadersEnabled;              // the setup's switch
};

// Clears the record and fills it from a script. 0, or -1 after a message: the script does not load, has no
// part, more than 64 parts, or a text of more than 127 characters (the message names section and key). The
// record is then clear.
int qbDemoParse(QbDemo* demo, const char* path);
