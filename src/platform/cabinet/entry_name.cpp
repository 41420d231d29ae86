#include "platform/cabinet/entry_name.h"

#include <algorithm>

static bool isSeparator(char c) {
    return c == '/' || c == '\\';
}

static bool hasDrive(std::string_view name) {
    if (name.size() < 2 || name[1] != ':') return false;
    const char letter = static_cast<char>(name[0] | 0x20);
    return letter >= 'a' && letter <= 'z';
}

bool qbEntryNameSplit(std::string_view name, std::vector<std::string>& parts) {
    parts.clear();
    if (name.empty() || isSeparator(name.front()) || isSeparator(name.back()) || hasDrive(name)) return false;
    if (name.find('\0') != std::string_view::npos) return false;
    for (size_t begin = 0; begin <= name.size();) {
        const size_t end = std::min(name.find_first_of("/\\", begin), name.size());
        const std::string_view part = name.substr(begin, end - begin);
        begin = end + 1;
        if (part == "..") return false;
        if (part == "." && end == name.size()) return false;
        // Behind "./" a drive would be the first thing again.
        if (parts.empty() && hasDrive(part)) return false;
        if (!part.empty() && part != ".") parts.emplace_back(part);
    }
    return true;
}
