#pragma once

#include <cstdint>

// The one screen fader. Lengths in milliseconds, colour 0xRRGGBB (its alpha plays no part).
void qbFaderIn(int32_t length, uint32_t color);  // from the colour to the picture
void qbFaderOut(int32_t length, uint32_t color); // from the picture to the colour, which then stays
void qbFaderRemove();
