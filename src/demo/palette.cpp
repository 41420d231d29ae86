#include "demo/palette.h"

void qbPaletteLoad(const char* /*path*/, int /*id*/) {}

bool qbPaletteExists(int /*id*/) {
    return true;
}

void qbPaletteSetEntry(int /*id*/, int /*channel*/, int /*value*/) {}

void qbPaletteFree(int /*id*/) {}

void qbPaletteUse(int /*id*/) {}

void qbPaletteReset() {}
