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

// From here on a wish to end the process (Ctrl+C, SIGTERM, a closed terminal) is kept for qbProcessEndAsked
// instead of ending it at once; one that comes two seconds later or more ends it. Wishes that the process was
// started to ignore, as under nohup, stay ignored. A reader of its output that goes away does not end it.
void qbProcessCatchEnd();
// 1 when there was such a wish: every loop of the program ends on it as if Escape had been pressed.
int qbProcessEndAsked();
