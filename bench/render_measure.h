#pragma once

// Clocks, frames and rows of the renderer's benchmark. Times in milliseconds.

#include "render/renderer.h"

#include <array>

struct Options {
    int width = 800, height = 600;
    int objects = 1000;
    int lights = 100;
    int frames = 60; // of each row
};

using Times = std::array<double, QB_PASS_COUNT>; // a pass; the whole frame at QB_PASS_END

double wallTime();
double threadTime(); // of the drawing thread alone: a software renderer draws in threads of its own

Times unmeasured();
void keepFastest(Times& best, const Times& times);

// From here on frames are measured, until the engine closes.
void startMeasuring();
bool hasGpuTimes();

// Ends the program when the window was closed.
void drawFrame();
// Of the frame drawn last.
Times threadTimes();
Times gpuTimes();
// Draws a frame and waits for the driver after each pass; on a software renderer that is the drawing itself.
Times finishedFrame();
// Irrlicht's own frame of the same scene, without the end that both share; drawing thread.
double stockFrame();

// True when the target is met.
bool printRatio(const char* what, double ratio, double target);
void printPasses(const char* what, const Times& times);

// --- render_nature.cpp ---

// What 16 emitters and a terrain add to an empty frame, beside Irrlicht's own.
void measureParticles(const Options& options);
void measureTerrain(const Options& options);
