#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Height map files, made in memory.

inline std::string littleEndian(uint64_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; i++)
        text += static_cast<char>(value >> (8 * i) & 0xFF);
    return text;
}

// `extra` stands between header and pixels: masks or palette, as it is in the file.
inline std::string bmpFile(int64_t width, int64_t height, int bits, uint32_t compression,
                           const std::string& extra, const std::string& pixels) {
    return "BM" + littleEndian(0, 8) + littleEndian(54 + extra.size(), 4) + littleEndian(40, 4) +
           littleEndian(static_cast<uint64_t>(width), 4) + littleEndian(static_cast<uint64_t>(height), 4) +
           littleEndian(1, 2) + littleEndian(static_cast<uint64_t>(bits), 2) + littleEndian(compression, 4) +
           std::string(20, '\0') + extra + pixels;
}

// colorAt(column, row from the top) gives 0xRRGGBB.
template <class ColorAt>
std::string bmpOf(int width, int height, const ColorAt& colorAt) {
    std::string pixels;
    for (int row = height - 1; row >= 0; row--) {
        for (int column = 0; column < width; column++)
            pixels += littleEndian(colorAt(column, row), 3);
        pixels.append(static_cast<size_t>(width % 4), '\0');
    }
    return bmpFile(width, height, 24, 0, "", pixels);
}

inline std::string plainBmp(int width, int height, uint32_t color) {
    return bmpOf(width, height, [=](int, int) { return color; });
}

// sampleAt(column, row from the top) gives 0 to 65535.
template <class SampleAt>
std::string rawOf(int n, const SampleAt& sampleAt) {
    std::string file;
    for (int i = 0; i < n * n; i++)
        file += littleEndian(sampleAt(i % n, i / n), 2);
    return file;
}
