#include "damage_meshes.h"

#include "scene/export/mesh_shapes.h"

static std::string written(const QbExportMesh& mesh, bool binary) {
    std::vector<uint8_t> bytes;
    std::string error;
    qbMeshExportWrite(mesh, binary ? QB_EXPORT_X_BINARY : QB_EXPORT_X_TEXT, bytes, error);
    return {bytes.begin(), bytes.end()};
}

std::string soundBox(bool binary) {
    QbExportMesh mesh = qbShapeBox({1, 2, 3});
    mesh.name = "box";
    mesh.materials.resize(2);
    mesh.materials[1].textureFileName = "wood.png";
    for (size_t i = 0; i < 4; i++)
        mesh.triangles[i].material = 1;
    mesh.transform = qbExportMatrix({1, 2, 3}, {0, 90, 0}, {1, 1, 1});
    return written(mesh, binary);
}

std::string soundSkin(bool binary) {
    QbExportMesh mesh = qbShapeBox({4, 1, 1});
    mesh.name = "bar";
    mesh.bones.resize(2);
    mesh.bones[0].name = "root";
    mesh.bones[1].name = "tip";
    mesh.bones[1].parent = 0;
    for (uint32_t i = 0; i < mesh.vertices.size(); i++)
        mesh.bones[mesh.vertices[i].position[0] > 0 ? 1 : 0].weights.push_back({i, 1});
    mesh.bones[1].keys.resize(2);
    mesh.bones[1].keys[1].tick = 20;
    mesh.bones[1].keys[1].rotation = {0, 0, 45};
    return written(mesh, binary);
}
