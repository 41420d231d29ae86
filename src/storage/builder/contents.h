#pragma once

#include "demo/demo.h"
#include "platform/cabinet/cabinet.h"

#include <string>
#include <vector>

struct QbMissingFile {
    std::string path;        // from the script's directory, or as named where it leads out of it
    std::string owner;       // who names it, for the user
    std::string remedy = ""; // empty: to be put where the packed show looks for it
};

struct QbShowCheck {
    std::vector<QbMissingFile> missing;
    bool complete = true; // each scene that is packed could be read
};

// Looks for all that a script names, by itself and through its scenes, their meshes and shaders, where the
// packed show will look for it: in its cabinets, by the path from the script's directory. What is missing
// comes back in the order of the script, each file once. What a missing or damaged file would name is not
// known, nor what a scene would that can not be read: a message tells of it.
//
// `baseDir` is the script's directory with its trailing separator: scenes, meshes and shaders are read there.
QbShowCheck qbShowCheck(const QbDemo& demo, const std::string& baseDir,
                        const std::vector<QbCabinetFile>& data, const std::vector<QbCabinetFile>& music);
