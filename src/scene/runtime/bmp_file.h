#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Windows bitmaps at their full precision: the engine's own reader keeps five bits a channel of a picture
// with a palette, and trusts sizes and indices of the file.

// Longest side in pixels.
enum { QB_BMP_SIDE_MAX = 1025 };

struct QbBmp {
    uint32_t width = 0, height = 0; // 1 to QB_BMP_SIDE_MAX each
    std::vector<uint8_t> rgb;       // red, green, blue of each pixel; rows from the top, without padding
};

// Reads a whole file: 1, 4 and 8 bits with a palette, plain or run-length coded; 16, 24 and 32 bits, plain or
// with bit fields. Rows may go up or down. An index beyond the palette is black. Returns "", or what is wrong
// with the file and what to do, to be put behind its name; then `picture` has no pixels.
std::string qbBmpRead(std::string_view bytes, QbBmp& picture);
