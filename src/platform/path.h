#pragma once

#include <cstdio>
#include <string>
#include <vector>

// Paths and files as the user names them.
//
// A path from a script, a scene or a mesh may hold backslashes and the wrong letter case, since the data may
// have been made on Windows. Every function here that touches the disk takes such a path: the exact name is
// tried first, then each component is looked up without regard to case.
//
// The functions that return `const char*` keep their result in a static buffer until their next call.

// Finds the file or directory that `name` means. True and the name as it is on the disk in `found` when there
// is one. `found` may be the very string that `name` points into.
bool qbPathResolve(const char* name, std::string& found);

// Opens what `name` means, with the C library's mode; names to be written resolve their directory only.
// Null when it does not open (directories never do, and for reading only plain files do). The caller closes
// it.
std::FILE* qbPathOpen(const char* name, const char* mode);

// True for a plain file and a link to one, under this very name.
bool qbPathIsFile(const std::string& name);
// True when these very names mean one file or directory that exists, by way of links too.
bool qbPathIsSame(const std::string& a, const std::string& b);

// The name with its extension: "xport/ville.quab" gives "ville.quab". 256 characters at most.
const char* qbBaseName(const char* path);
// The directory with its trailing separator, "" for a plain name. 2048 characters at most.
const char* qbDirName(const char* path);
// The full path; "" when it does not fit 2048 characters. The file need not exist.
const char* qbFullPath(const char* path);
// The process's current directory; "" when it can not be told.
const char* qbCurrentDirectory();
// Enters a directory, resolved as above; an empty path stays where it is. 0, or -1.
int qbSetDirectory(const char* path);
// The directory of the running program with its trailing separator, worked out once; null when that fails.
const char* qbProgramDirectory();
// The names in a directory, resolved as above, in byte order, without "." and ".."; none when it can not be
// read.
std::vector<std::string> qbPathList(const char* directory);
// 1 when the file opens for reading, else 0.
int qbFileExists(const char* path);
// The first of these that exists, else the name itself: `name`, "shaders/name", and both again below the
// program's directory.
const char* qbFindFile(const char* name);
