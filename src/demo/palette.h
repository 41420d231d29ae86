#pragma once

// Palettes: read and numbered from 1, without an effect. The hooks do nothing; qbPaletteExists says yes.
void qbPaletteLoad(const char* path, int id);
bool qbPaletteExists(int id);
void qbPaletteSetEntry(int id, int channel, int value);
void qbPaletteFree(int id);
void qbPaletteUse(int id);
void qbPaletteReset();
