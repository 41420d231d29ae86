#pragma once

#include <string>
#include <vector>

// Packs a script and its data into one executable that plays them by itself.

struct QbCabinetFile;

enum { QB_TARGET_PATH_MAX = 260 }; // characters of the target's full path

// Copies this program to `target` and stores the four cabinets in it. Messages tell of every failure, and of
// what the script names and no cabinet holds; what was packed is printed. After a failure the target keeps
// what was stored until then; the tool's cabinets stay in the current directory, and what it printed beside
// the script. A target that is the script, or any other file that is to be packed, is refused.
void qbDemoExe(const char* target, const char* ini);

// File patterns ("xport\*.quab"), relative to a base directory.
using QbPatternList = std::vector<std::string>;

// Packs what the patterns match into one cabinet and stores it in `target`. `baseDir` is a full path with its
// trailing separator. 0 with the cabinet's files in `contents`, when that is given, or -1 after a message.
int qbCabAdd(const char* target, int id, const char* baseDir, const QbPatternList& list,
             std::vector<QbCabinetFile>* contents = nullptr);
// Stores a cabinet file as a resource of an executable. 0, or -1 after a message.
int qbCabStore(const char* exe, const char* cab, int id);
