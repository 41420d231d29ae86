#pragma once

// Pictures of a show while it plays: `--pictures=DIR` leaves one PNG a part, and one of a viewer's fourth
// second, and "contact-sheet.png" with all of them.

void qbPicturesStart(const char* directory); // before the engine draws
// Writes what was taken; -1 after a message when a file could not be written, else 0.
int qbPicturesFinish();
