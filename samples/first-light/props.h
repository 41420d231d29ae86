#pragma once

#include "stage.h"

// What night and dawn have in common: the spark, the stones with their runes, drifting bodies.

// "spark": the core on layer 1, its rays on layer 2.
void addSparkModels(Folder& folder);
// "stone", 130 high, its face along -Z; "rune", 70 high, for that face.
void addStoneModels(Folder& folder);

// The spark with its lamp. `period` is that of its heart in seconds, `power` its brightness, 0 to 1.
void placeSpark(Shot& shot, const Path& path, double period, double size, float range, const Curve& power);
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
