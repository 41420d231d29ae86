#pragma once

#include "scene/export/x_writer.h"

#include <array>
#include <vector>

// A key's rotation as the format wants it: w, x, y, z of the inverse rotation.
std::array<float, 4> qbXKeyQuaternion(QbVec3 degrees);

// For each bone the matrix from the mesh to the bone in rest.
std::vector<QbExportMatrix> qbXBoneOffsets(const QbExportMesh& mesh);
