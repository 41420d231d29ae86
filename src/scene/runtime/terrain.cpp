#include "scene/runtime/terrain.h"

#include <cstring>

bool qbTerrainIsTerrainFile(const char* name) {
    return name && strstr(name, ".terrain") != nullptr;
}

irr::scene::ITerrainSceneNode* qbTerrainLoad(const char*) {
    return nullptr;
}
