#pragma once

#include "demo/demo.h"
#include "platform/cabinet/cabinet.h"

#include <string>
#include <vector>

struct QbMissingFile {
    std::string path;  // from the script's directory, or as named where it leads out of it
    std::string owner; // who names it, for the user
};

// Looks for all that a script names, by itself and through its scenes, their meshes and shaders, where the
// packed show will look for it: in its cabinets, by the path from the script's directory. What is missing
// comes back in the order of the script, each file once. What a missing or damaged file would name is not
// known.
//
// `baseDir` is the script's directory with its trailing separator: scenes, meshes and shaders are read there.
std::vector<QbMissingFile> qbShowMissing(const QbDemo& demo, const std::string& baseDir,
                                         const std::vector<QbCabinetFile>& data,
                                         const std::vector<QbCabinetFile>& music);
