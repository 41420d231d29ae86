#pragma once

#include <algorithm>
#include <string_view>

// Texts without regard to case. Only ASCII letters fold, whatever the locale says: UTF-8 stays as it is.

constexpr char qbFoldCase(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

inline bool qbSameText(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return qbFoldCase(x) == qbFoldCase(y); });
}

// Below 0, 0 or above 0, as strcmp.
inline int qbStrICmp(const char* a, const char* b) {
    while (*a && qbFoldCase(*a) == qbFoldCase(*b)) {
        a++;
        b++;
    }
    return static_cast<unsigned char>(qbFoldCase(*a)) - static_cast<unsigned char>(qbFoldCase(*b));
}

// A name against a pattern in which '*' stands for any characters, also none: "*.x", "loading.png".
inline bool qbMatchesPattern(std::string_view name, std::string_view pattern) {
    const size_t star = pattern.find('*');
    if (star == std::string_view::npos) return qbSameText(name, pattern);
    const std::string_view head = pattern.substr(0, star);
    if (name.size() < head.size() || !qbSameText(name.substr(0, head.size()), head)) return false;
    for (size_t end = head.size(); end <= name.size(); ++end)
        if (qbMatchesPattern(name.substr(end), pattern.substr(star + 1))) return true;
    return false;
}
