#pragma once

#include <cstdint>
#include <memory>

// Height maps on their way into a terrain: a raw file of 16-bit heights, or a bitmap. A height is the
// luminance of a colour, 0.3 red + 0.59 green + 0.11 blue, in grey steps of 0 to 255.
//
//   <base>_height.raw   257 x 257 or 513 x 513 samples, row after row from the top, no header; each an
//                       unsigned 16-bit integer, little-endian. 65535 stands for 250 grey steps.
//   <base>_height.bmp   a picture of at most QB_BMP_SIDE_MAX pixels a side; see bmp_file.h

namespace irr {
namespace io {
class IReadFile;
}
} // namespace irr

// Both return a file in memory, which owns its bytes and is dropped by the caller, and its size in samples.
// It holds width * height floats of 32 bits, the heights in the order in which the engine's terrain reads
// them: number x * height + z is the height of the pixel in column width - 1 - x of row z from the top.
// A name may hold backslashes and the wrong letter case.

// The heights of a raw file are those of the colours of qbHeightToGrey: at most 0.08 of a step beside
// sample / 65535 * 250. Null after a trace when there is no such file (the normal way of a terrain with a
// bitmap), after trace and message when its size is another one.
irr::io::IReadFile* openHeightMapFileRaw(const char* path, uint32_t* width, uint32_t* height);
// Null when there is no such file, and after trace and message that tell why when it can not be read.
irr::io::IReadFile* qbHeightMapOpenBmp(const char* path, uint32_t* width, uint32_t* height);

// The colour near grey whose luminance comes nearest below value / maximum * 250, in steps of about a tenth;
// 252 in a channel at most. Values outside 0 to `maximum` count as the nearer end, a `maximum` of 0 or less
// gives black.
void qbHeightToGrey(double value, double maximum, int32_t* red, int32_t* green, int32_t* blue);

// Spreads n x n samples to 2n - 1 a side: what lies between samples is their mean, rounded down. Null, with
// `newSize` left alone, for an n of 0 or over 32768, or without memory. The input is freed in either case.
std::unique_ptr<uint16_t[]> qbHeightMapDouble(std::unique_ptr<uint16_t[]> samples, uint32_t n,
                                              uint32_t* newSize);
