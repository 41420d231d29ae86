#pragma once

#include <string>

// Terrains: objects built from a height map and two pictures beside the name of a mesh.
//
//   island.terrain.layer1.x          the name that the scene holds; no such file is read
//   island.terrain_height.raw, .bmp  the height map, raw over bitmap: see height_map.h
//   island.terrain_texture.jpg       colours over the whole terrain; may be missing
//   island.terrain_details.jpg       detail, repeated 20 times; may be missing
//
// In the world a map of n x n samples stands as its picture does on paper: the sample of column c and row r
// (from the top) at x = c * 7680 / n, z = (n - 1 - r) * 7680 / n, at a height of 8 units a grey step. The
// terrain is drawn in patches of 32 x 32 squares: of a size that is no multiple of 32, plus 1, the left and
// lower border is left out, and the rest begins at 0.
//
// The two pictures are layers 0 and 1 of the material, for a shader of the surface; the light pre-pass draws
// a surface without one by the surface's own images, so that its base colour names the texture again.

namespace irr {
namespace scene {
class ITerrainSceneNode;
}
} // namespace irr

// True when the name contains ".terrain" anywhere, whatever its ending.
bool qbTerrainIsTerrainFile(const char* name);

struct QbTerrainFiles {
    std::string base, raw, bmp, texture, details;
};
// The names above, for the one that the scene holds.
QbTerrainFiles qbTerrainFiles(const std::string& name);

// The node, owned by the scene manager, with normals that fit its shape in the world. Files are looked for in
// the current directory. Null after a message: "Cannot load height map file '%s'" without a map that can be
// read; "Cannot load terrain basename='%s'. Check height map file '%s'", behind one that names the size, for
// a map that is not square, or smaller than a patch.
irr::scene::ITerrainSceneNode* qbTerrainLoad(const char* name);
// Removes the node, and with it what the driver keeps of its shape.
void qbTerrainFree(irr::scene::ITerrainSceneNode* node);
