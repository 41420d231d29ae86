#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

// Reads `size` bytes, however small the pieces are in which the system gives them. Fewer at the end of the
// file, and after an error: ferror then tells, with errno.
size_t qbFileFill(std::FILE* file, void* bytes, size_t size);

// What is left of an open file; of one longer than `most` bytes it ends somewhere behind them, so that the
// caller can tell that it is too long. 0, or -1 with errno when it can not be read; null is errno's fault.
int qbFileBytes(std::FILE* file, size_t most, std::string& bytes);
