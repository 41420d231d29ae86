#pragma once

#include "stage.h"

// What both scenes of the show have in common: terrain, sky and air, emitters.

void addAirModels(Folder& folder); // "sky", "air"
struct Air {
    float radius; // of the sky
    double late;  // 0 after sunset, 1 in the blue hour
    double haze;  // scales the air
};
void placeAir(Shot& shot, const Path& eye, const Air& air);

struct Ground {
    const char* image;                   // pictures, all laid over the whole terrain
    const char* luminosityMap = nullptr; // of brightness, as in Look
    const char* specularityMap = nullptr;
    float glossiness = 0;
};
// A terrain has no mesh file: its name stands for the maps and pictures beside it, and its colours under the
// light are those of the surface.
void placeTerrain(Shot& shot, const char* stem, const Ground& ground);

struct Emitter {
    std::string name;
    const char* image;
    float size;
    Vec box = {0, 0, 0};
    Vec velocity = {0, 0, 0}; // units a second
    Vec gravity = {0, 0, 0};  // units a second, each second
    float spread = 0;         // 1: up to 45 degrees off
    float rate = 0;           // a second
    float seconds = 1;
    double from = 0; // silent before
    int limit = -1;  // particles ever
};
// Without a box it bears the name of an object, whose mesh emits and whose motion it shares: no position
// then.
void addEmitter(Shot& shot, const Emitter& emitter, const Path& position = nullptr);
