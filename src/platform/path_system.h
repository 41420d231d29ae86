#pragma once

#include <cstdio>
#include <string>
#include <vector>

// What path.cpp needs of the operating system. Names are taken exactly as given, with '/' as separator.

bool qbSystemExists(const std::string& name);
bool qbSystemIsFile(const std::string& name); // links are followed
// True when both exist and are one file; links are followed.
bool qbSystemIsSame(const std::string& a, const std::string& b);
// True for a name that does not depend on the current directory.
bool qbSystemIsAbsolute(const std::string& name);
// The names in a directory in no particular order, without "." and ".."; none when it can not be read.
std::vector<std::string> qbSystemList(const std::string& directory);
// For reading, plain files only; for writing, all but directories.
std::FILE* qbSystemOpen(const std::string& name, const char* mode);
bool qbSystemCurrentDirectory(std::string& directory);
bool qbSystemEnter(const std::string& directory);
