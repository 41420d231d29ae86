#pragma once

// Terrains: objects built from a height map and two pictures beside the name of a mesh.

namespace irr {
namespace scene {
class ITerrainSceneNode;
}
} // namespace irr

// True when the name contains ".terrain" anywhere, whatever its ending.
bool qbTerrainIsTerrainFile(const char* name);
// The node, owned by the scene manager, or null. Terrains are not built yet: always null.
irr::scene::ITerrainSceneNode* qbTerrainLoad(const char* name);
