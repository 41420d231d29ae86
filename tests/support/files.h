#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// The whole of a file; "" when it does not open.
inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
