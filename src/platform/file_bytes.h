#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

// What is left of an open file; "" for null. Of one longer than `most` bytes it ends somewhere behind them,
// so that the caller can tell that it is too long.
std::string qbFileBytes(std::FILE* file, size_t most);
