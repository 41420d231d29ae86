#pragma once

#include "stage.h"

// What night and dawn have in common: the spark, the stones with their runes, drifting bodies.

// "spark": the core on layer 1, its rays on layer 2. "aura": the light around it. "beam": a shaft of light
// 100 long, along +Z.
void addSparkModels(Folder& folder);
// "stone", 130 high, its face along -Z; "rune", 70 high, for that face.
void addStoneModels(Folder& folder);

struct Spark {
    double period; // of its heart, in seconds
    double size;
    float range; // of its lamp
    double aura; // brightness of the air around it, 0 to 1
};
// The spark with its lamp, which shaders expect to be the scene's second light. `power` is its brightness, 0
// to 1.
void placeSpark(Shot& shot, const Path& path, const Spark& spark, const Curve& power);
// Its picture in a level ground at height 0, without its aura.
void placeSparkBelow(Shot& shot, const Path& path, const Spark& spark);
// A rune in the face of a stone that was placed with the same values.
Vec runePosition(Vec stone, double heading, double scale);

struct Drift {
    const char* stem;
    int count;
    Vec middle, spread;
    double rise; // units a second
    double size;
};
void placeDrift(Shot& shot, const Drift& drift);
