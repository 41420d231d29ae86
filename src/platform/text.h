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
