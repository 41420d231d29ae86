#pragma once

#include "scene/export/x_writer.h"

#include <string>
#include <vector>

// One Mesh block: vertices by their numbers in the mesh, in the order of their first use by the triangles.
// A vertex stands once for each material that uses it, since the engine keeps the vertices of each material
// apart and would lose the weights of those that it has to double by itself.
struct QbXBlock {
    std::vector<uint32_t> sources;
    std::vector<QbExportTriangle> triangles; // corners count within the block
};

// What is wrong with a mesh, or "".
std::string qbXMeshFault(const QbExportMesh& mesh);

// The following take meshes without fault.
std::vector<QbXBlock> qbXBlocks(const QbExportMesh& mesh);
// For each bone its weights, by the vertices of the block.
std::vector<std::vector<QbExportWeight>> qbXBlockWeights(const QbExportMesh& mesh, const QbXBlock& block);
