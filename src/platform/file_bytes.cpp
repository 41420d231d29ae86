#include "platform/file_bytes.h"

#include <array>

std::string qbFileBytes(std::FILE* file, size_t most) {
    std::array<char, 1 << 16> block;
    std::string bytes;
    while (file && bytes.size() <= most) {
        const size_t length = fread(block.data(), 1, block.size(), file);
        if (length == 0) break;
        bytes.append(block.data(), length);
    }
    return bytes;
}
