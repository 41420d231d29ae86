#pragma once

// The program's own windows: message box, file chooser, the "Screen Mode" dialog.
// Without a display each returns at once, as if the user had closed it, after one line on the error stream.
// When the process is asked to end (platform/process.h) the open one closes within a quarter of a second.

// One filter of the file dialog: what the user reads, and patterns separated by ';'.
struct QbFileFilter {
    const char* label;    // "Quab Scene (.quab)"
    const char* patterns; // "*.quab", "*.lws.ini;*.lws.ini.bin"
};

// Modal box with an empty caption and one OK button; fits qbMessageSetSink.
void qbMessageBox(const char* text);

// Asks for an existing file. The current directory is the initial one and is restored whatever the user does.
// Returns the path in a static buffer until the next call, or null when the user cancelled.
const char* qbOpenFileDialog(const char* title, const QbFileFilter* filters, int filterCount);

struct QbDisplayMode {
    int width;   // pixels
    int height;  // pixels
    int bits;    // colour depth
    int refresh; // Hz, 0 when unknown
};

// The modes of the primary display as the system lists them, unfiltered; at most `capacity` are written.
// Returns how many there are. The desktop's current mode goes to `desktop` (all zero when unknown).
int qbDisplayModes(QbDisplayMode* modes, int capacity, QbDisplayMode* desktop);

// What the dialog offers: drops modes narrower than 720 pixels, of less than 32 bits, and those whose size
// and depth repeat an earlier one; sorts by width, height, depth, refresh rate. In place; at most 200 remain.
// Returns how many remain.
int qbDisplayModesOffered(QbDisplayMode* modes, int count);

// The line of one mode: "%4d x %4d %2d Bits", with " (recommended)" behind 1280 x 720 at 32 bits.
const char* qbDisplayModeLabel(const QbDisplayMode* mode); // static buffer

// Index of the mode selected at first: the recommended one, else the desktop's, else -1.
int qbDisplayModeDefault(const QbDisplayMode* modes, int count, const QbDisplayMode* desktop);

// The "Screen Mode" dialog. 0 after Start with all eight values set (flags 0 or 1, fps 60), -1 after cancel
// or close, or without a display. With nothing selected width, height and bits stay as the caller set them.
int qbSetupDialog(int* width, int* height, int* bits, int* windowed, int* vsync, int* fps, int* antialias,
                  int* shaders);
