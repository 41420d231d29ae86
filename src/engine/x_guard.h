#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Looks through a whole .x file before the engine's reader sees it: that reader trusts counts, indices and
// lengths, and a damaged file makes it crash, hang or take all memory. What passes here it reads safely.

// Longest file taken; the engine holds several times its size while it reads.
constexpr size_t QB_X_FILE_MAX = size_t{256} * 1024 * 1024;

struct QbXVerdict {
    // Empty for a sound file. Otherwise names the file, the line (text) or byte (binary) counted from 1 and
    // 0, the data object, what is wrong there and what to do.
    std::string message;
    bool cut = false; // refused because the data of a binary file end too early
    size_t size = 0;  // of a sound file: bytes that count; padding may follow them
};

// `path` only names the file in the message. Takes time and memory in proportion to the size of `bytes`.
//
// Sound are text and binary files with 32-bit or 64-bit floats, with at least one Mesh, in which each list is
// as long as its count and each index lies inside its list. Data objects that the engine does not know are
// passed over, as it does. Normals, texture coordinates and colours may be any bits; positions, matrices,
// weights and keys are finite.
QbXVerdict qbXGuardCheck(std::string_view bytes, const char* path);
