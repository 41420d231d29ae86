#pragma once

#include "demo/demo.h"
#include "storage/builder/builder.h"

#include <string>
#include <string_view>
#include <vector>

// What goes into a cabinet: directories of the script, file patterns for them, and the files that they match.

enum { QB_SHOW_DIRECTORIES_MAX = 255 };

// The path with '/' alone between its parts, and without ".", empty parts and, behind a directory, "..".
std::string qbTidyPath(std::string_view path);

// The directories of all parts and extras in the order of the script, as it spells them, each once: "xport/",
// "./xport" and "XPORT" are the same. False when parts and extras name more than 255, repeated ones included.
bool qbShowDirectories(const QbDemo& demo, std::vector<std::string>& directories);

// `shadersDirectory` may be empty.
QbPatternList qbDataPatterns(const std::vector<std::string>& directories, const char* shadersDirectory,
                             const char* scriptName);
QbPatternList qbMusicPatterns(const char* musicDirectory);
QbPatternList qbLoadingPatterns();
QbPatternList qbShaderPatterns(); // the built-in shaders

// Each pattern followed by a blank.
std::string qbPatternText(const QbPatternList& list);

struct QbMatchedFiles {
    std::vector<std::string> files;   // relative to the base directory, as spelled on the disk
    std::vector<std::string> leftOut; // the same: another file has their name in the cabinet
};

// Finds the files in the order of the patterns, those of one pattern in byte order, each once; directories
// and links to nowhere are passed over. Letter case does not count. A pattern is a directory, a backslash,
// and either "*.ext" or a name; without a directory it means the base directory, which is a full path with
// its trailing separator. A file there that has the very text of a pattern for its name is the one meant.
//
// The cabinet drops what leads out of the base directory ("../", "/") from a name. Where that makes two files
// one, the one below the base directory is taken.
QbMatchedFiles qbPatternFiles(const std::string& baseDir, const QbPatternList& list);
