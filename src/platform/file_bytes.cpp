#include "platform/file_bytes.h"

#include <array>
#include <cerrno>

// A signal that somebody handles ends a read early on some file systems.
static bool isInterrupted(std::FILE* file) {
    if (!ferror(file) || errno != EINTR) return false;
    clearerr(file);
    return true;
}

size_t qbFileFill(std::FILE* file, void* bytes, size_t size) {
    size_t done = 0;
    do
        done += fread(static_cast<char*>(bytes) + done, 1, size - done, file);
    while (done < size && isInterrupted(file));
    return done;
}

int qbFileBytes(std::FILE* file, size_t most, std::string& bytes) {
    std::array<char, 1 << 16> block;
    bytes.clear();
    if (!file) return -1;
    while (bytes.size() <= most) {
        const size_t length = qbFileFill(file, block.data(), block.size());
        bytes.append(block.data(), length);
        if (length < block.size()) break;
    }
    return ferror(file) ? -1 : 0;
}
