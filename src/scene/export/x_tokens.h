#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The tokens of an .x file in either of its two forms. Text keeps the punctuation that the caller gives
// behind each number; binary gathers numbers into lists and needs none.
//
//   binary token: u16 kind, then for a name or a string u32 length and its characters (a string also a u16
//   terminator), for a list of integers or floats u32 count and its values; all little-endian.
struct QbXTokens {
    bool binary = false;
    std::vector<uint8_t> bytes;
    size_t depth = 0;
    std::vector<uint32_t> integers; // binary: list not written yet
    std::vector<float> floats;      // the same; one of the two is empty
};

void qbXBegin(QbXTokens& tokens, bool binary); // the 16 bytes of the header
void qbXOpen(QbXTokens& tokens, const char* type, const std::string& name = "");
void qbXClose(QbXTokens& tokens); // every begun file is whole when all that is open is closed
void qbXInt(QbXTokens& tokens, uint32_t value, const char* after);
void qbXFloat(QbXTokens& tokens, float value, const char* after);
void qbXFloats(QbXTokens& tokens, const float* values, size_t count, const char* between, const char* after);
void qbXString(QbXTokens& tokens, const std::string& text);
void qbXReference(QbXTokens& tokens, const std::string& name);
