#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Replaces a file's contents. 0, or -1 with a reason that names the file.
int qbExportSaveBytes(const std::string& path, const std::vector<uint8_t>& bytes, std::string& error);
