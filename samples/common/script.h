#pragma once

#include <string>
#include <string_view>

// Writes a show's script. 0, or -1 after a line on the error stream that `program` begins.
int saveScript(const std::string& path, std::string_view script, const char* program);
