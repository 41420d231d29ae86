#pragma once

#include <string>
#include <string_view>
#include <vector>

// Splits a name at '/' and '\' into directories and, last, the file; "." and doubled separators drop out.
// False when the name could mean anything but a file below the directory that it is relative to: no file at
// its end, "..", a separator or a drive at its start.
bool qbEntryNameSplit(std::string_view name, std::vector<std::string>& parts);
