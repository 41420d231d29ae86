#pragma once

// The process and its clock.

// Keeps the command line for qbProgramPath; call it first thing in main. Sets the locale to "C" for numbers.
void qbProcessStart(int argc, char** argv);

// Full path of the running executable, "" when it can not be told.
const char* qbProgramPath();

// Sleeps the calling thread.
void qbProcessSleep(int milliseconds);

// Milliseconds of a monotonic clock, from an arbitrary zero.
long long qbProcessTime();

// 1 when a window could be opened (an X display answers), else 0. Tells it without any output.
int qbProcessHasDisplay();
