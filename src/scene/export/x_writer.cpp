#include "scene/export/x_writer.h"

#include "scene/export/save.h"
#include "scene/export/x_blocks.h"
#include "scene/export/x_matrix.h"
#include "scene/export/x_tokens.h"

#include <algorithm>
#include <string>

static const std::string& meshName(const QbExportMesh& mesh) {
    static const std::string usual = "mesh";
    return mesh.name.empty() ? usual : mesh.name;
}

static const char* vectorEnd(size_t i, size_t count) {
    return i + 1 < count ? ";,\n" : ";;\n";
}

static void writeMatrix(QbXTokens& tokens, const QbExportMatrix& matrix) {
    qbXOpen(tokens, "FrameTransformMatrix");
    qbXFloats(tokens, matrix.data(), matrix.size(), ",", ";;\n");
    qbXClose(tokens);
}

// --- geometry -------------------------------------------------------------------------------

static void writeFaces(QbXTokens& tokens, const std::vector<QbExportTriangle>& triangles) {
    qbXInt(tokens, static_cast<uint32_t>(triangles.size()), ";\n");
    for (size_t i = 0; i < triangles.size(); i++) {
        qbXInt(tokens, 3, ";");
        qbXInt(tokens, triangles[i].corners[0], ",");
        qbXInt(tokens, triangles[i].corners[1], ",");
        qbXInt(tokens, triangles[i].corners[2], vectorEnd(i, triangles.size()));
    }
}

static void writeVertices(QbXTokens& tokens, const QbExportMesh& mesh, const QbXBlock& block) {
    size_t count = block.sources.size();
    qbXInt(tokens, static_cast<uint32_t>(count), ";\n");
    for (size_t i = 0; i < count; i++)
        qbXFloats(tokens, mesh.vertices[block.sources[i]].position.data(), 3, ";", vectorEnd(i, count));
    writeFaces(tokens, block.triangles);
}

static void writeNormals(QbXTokens& tokens, const QbExportMesh& mesh, const QbXBlock& block) {
    size_t count = block.sources.size();
    qbXOpen(tokens, "MeshNormals");
    qbXInt(tokens, static_cast<uint32_t>(count), ";\n");
    for (size_t i = 0; i < count; i++)
        qbXFloats(tokens, mesh.vertices[block.sources[i]].normal.data(), 3, ";", vectorEnd(i, count));
    writeFaces(tokens, block.triangles);
    qbXClose(tokens);
}

static void writeTextureCoords(QbXTokens& tokens, const QbExportMesh& mesh, const QbXBlock& block) {
    size_t count = block.sources.size();
    qbXOpen(tokens, "MeshTextureCoords");
    qbXInt(tokens, static_cast<uint32_t>(count), ";\n");
    for (size_t i = 0; i < count; i++)
        qbXFloats(tokens, mesh.vertices[block.sources[i]].uv.data(), 2, ";", vectorEnd(i, count));
    qbXClose(tokens);
}

static void writeMaterial(QbXTokens& tokens, const QbExportMaterial& material) {
    qbXOpen(tokens, "Material");
    qbXFloats(tokens, material.diffuse.data(), 4, ";", ";;\n");
    qbXFloat(tokens, material.power, ";\n");
    qbXFloats(tokens, material.specular.data(), 3, ";", ";;\n");
    qbXFloats(tokens, material.emissive.data(), 3, ";", ";;\n");
    if (!material.textureFileName.empty()) {
        qbXOpen(tokens, "TextureFilename");
        qbXString(tokens, material.textureFileName);
        qbXClose(tokens);
    }
    qbXClose(tokens);
}

static void writeMaterials(QbXTokens& tokens, const QbExportMesh& mesh, const QbXBlock& block) {
    static const std::vector<QbExportMaterial> white(1);
    const std::vector<QbExportMaterial>& materials = mesh.materials.empty() ? white : mesh.materials;
    qbXOpen(tokens, "MeshMaterialList");
    qbXInt(tokens, static_cast<uint32_t>(materials.size()), ";\n");
    qbXInt(tokens, static_cast<uint32_t>(block.triangles.size()), ";\n");
    for (size_t i = 0; i < block.triangles.size(); i++)
        qbXInt(tokens, block.triangles[i].material, i + 1 < block.triangles.size() ? ",\n" : ";\n");
    for (const QbExportMaterial& material : materials)
        writeMaterial(tokens, material);
    qbXClose(tokens);
}

// --- bones ----------------------------------------------------------------------------------

static void writeBone(QbXTokens& tokens, const QbExportMesh& mesh, size_t bone) {
    const QbExportBoneKey& rest = mesh.bones[bone].rest;
    qbXOpen(tokens, "Frame", mesh.bones[bone].name);
    writeMatrix(tokens, qbExportMatrix(rest.position, rest.rotation, rest.scale));
    for (size_t child = bone + 1; child < mesh.bones.size(); child++)
        if (mesh.bones[child].parent == static_cast<int32_t>(bone)) writeBone(tokens, mesh, child);
    qbXClose(tokens);
}

static void writeBones(QbXTokens& tokens, const QbExportMesh& mesh) {
    for (size_t bone = 0; bone < mesh.bones.size(); bone++)
        if (mesh.bones[bone].parent < 0) writeBone(tokens, mesh, bone);
}

static void writeSkinHeader(QbXTokens& tokens, const QbXBlock& block,
                            const std::vector<std::vector<QbExportWeight>>& weights) {
    std::vector<uint32_t> vertex(block.sources.size());
    uint32_t bones = 0, most = 0;
    for (const std::vector<QbExportWeight>& list : weights) {
        bones += !list.empty();
        for (const QbExportWeight& weight : list)
            most = std::max(most, ++vertex[weight.vertex]);
    }
    qbXOpen(tokens, "XSkinMeshHeader");
    qbXInt(tokens, most, ";\n");
    qbXInt(tokens, std::min(bones, 3 * most), ";\n"); // a face: at most those of its three corners
    qbXInt(tokens, bones, ";\n");
    qbXClose(tokens);
}

static void writeSkin(QbXTokens& tokens, const QbExportMesh& mesh, const QbXBlock& block) {
    std::vector<std::vector<QbExportWeight>> weights = qbXBlockWeights(mesh, block);
    std::vector<QbExportMatrix> offsets = qbXBoneOffsets(mesh);
    writeSkinHeader(tokens, block, weights);
    for (size_t bone = 0; bone < weights.size(); bone++) {
        const std::vector<QbExportWeight>& list = weights[bone];
        if (list.empty()) continue;
        qbXOpen(tokens, "SkinWeights");
        qbXString(tokens, mesh.bones[bone].name);
        qbXInt(tokens, static_cast<uint32_t>(list.size()), ";\n");
        for (size_t i = 0; i < list.size(); i++)
            qbXInt(tokens, list[i].vertex, i + 1 < list.size() ? ",\n" : ";\n");
        for (size_t i = 0; i < list.size(); i++)
            qbXFloat(tokens, list[i].weight, i + 1 < list.size() ? ",\n" : ";\n");
        qbXFloats(tokens, offsets[bone].data(), offsets[bone].size(), ",", ";;\n");
        qbXClose(tokens);
    }
}

// --- animation ------------------------------------------------------------------------------

enum KeyType : uint32_t { KEY_ROTATION = 0, KEY_SCALE = 1, KEY_POSITION = 2, KEY_MATRIX = 4 };

// `value(key)` gives an array of floats.
template <class Value>
static void writeKeys(QbXTokens& tokens, KeyType type, const std::vector<QbExportBoneKey>& keys,
                      Value value) {
    qbXOpen(tokens, "AnimationKey");
    qbXInt(tokens, type, ";\n");
    qbXInt(tokens, static_cast<uint32_t>(keys.size()), ";\n");
    for (size_t i = 0; i < keys.size(); i++) {
        auto floats = value(keys[i]);
        qbXInt(tokens, keys[i].tick, ";");
        qbXInt(tokens, static_cast<uint32_t>(floats.size()), ";");
        qbXFloats(tokens, floats.data(), floats.size(), ",", i + 1 < keys.size() ? ";;,\n" : ";;;\n");
    }
    qbXClose(tokens);
}

static void writeBoneAnimation(QbXTokens& tokens, const QbExportMesh& mesh, const QbExportBone& bone) {
    qbXOpen(tokens, "Animation");
    qbXReference(tokens, bone.name);
    if (mesh.matrixKeys) {
        writeKeys(tokens, KEY_MATRIX, bone.keys, [](const QbExportBoneKey& key) {
            return qbExportMatrix(key.position, key.rotation, key.scale);
        });
    } else {
        writeKeys(tokens, KEY_ROTATION, bone.keys,
                  [](const QbExportBoneKey& key) { return qbXKeyQuaternion(key.rotation); });
        writeKeys(tokens, KEY_SCALE, bone.keys, [](const QbExportBoneKey& key) { return key.scale; });
        writeKeys(tokens, KEY_POSITION, bone.keys, [](const QbExportBoneKey& key) { return key.position; });
    }
    qbXClose(tokens);
}

static void writeAnimation(QbXTokens& tokens, const QbExportMesh& mesh) {
    if (std::all_of(mesh.bones.begin(), mesh.bones.end(),
                    [](const QbExportBone& bone) { return bone.keys.empty(); }))
        return;
    qbXOpen(tokens, "AnimTicksPerSecond");
    qbXInt(tokens, mesh.ticksPerSecond, ";\n");
    qbXClose(tokens);
    qbXOpen(tokens, "AnimationSet");
    for (const QbExportBone& bone : mesh.bones)
        if (!bone.keys.empty()) writeBoneAnimation(tokens, mesh, bone);
    qbXClose(tokens);
}

// --- the file -------------------------------------------------------------------------------

static void writeBlock(QbXTokens& tokens, const QbExportMesh& mesh, const QbXBlock& block) {
    qbXOpen(tokens, "Mesh");
    writeVertices(tokens, mesh, block);
    writeNormals(tokens, mesh, block);
    writeTextureCoords(tokens, mesh, block);
    writeMaterials(tokens, mesh, block);
    if (!mesh.bones.empty()) writeSkin(tokens, mesh, block);
    qbXClose(tokens);
}

static int writeMesh(const QbExportMesh& mesh, QbExportXFormat format, std::vector<uint8_t>& bytes,
                     std::string& error) {
    std::string reason = qbXMeshFault(mesh);
    error = reason.empty() ? reason : "mesh \"" + meshName(mesh) + "\": " + reason;
    if (!error.empty()) return -1;
    QbXTokens tokens;
    qbXBegin(tokens, format == QB_EXPORT_X_BINARY);
    writeBones(tokens, mesh);
    qbXOpen(tokens, "Frame", meshName(mesh));
    writeMatrix(tokens, mesh.transform);
    for (const QbXBlock& block : qbXBlocks(mesh))
        writeBlock(tokens, mesh, block);
    qbXClose(tokens);
    writeAnimation(tokens, mesh);
    bytes = std::move(tokens.bytes);
    return 0;
}

int qbMeshExportWrite(const QbExportMesh& mesh, QbExportXFormat format, std::vector<uint8_t>& bytes,
                      std::string& error) {
    bytes.clear();
    return qbExportUnlessOutOfMemory(error, [&] { return writeMesh(mesh, format, bytes, error); });
}

int qbMeshExportSave(const QbExportMesh& mesh, QbExportXFormat format, const std::string& path,
                     std::string& error) {
    std::vector<uint8_t> bytes;
    if (qbMeshExportWrite(mesh, format, bytes, error) != 0) return -1;
    return qbExportSaveBytes(path, bytes, error);
}

size_t qbMeshExportBlockCount(const QbExportMesh& mesh) {
    return qbXMeshFault(mesh).empty() ? qbXBlocks(mesh).size() : 0;
}
