#include "scene/export/x_blocks.h"

#include "scene/export/x_matrix.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <span>
#include <unordered_map>

// --- checks: each gives what is wrong, or "" ------------------------------------------------

static bool isFinite(std::span<const float> values) {
    return std::all_of(values.begin(), values.end(), [](float value) { return std::isfinite(value); });
}

static bool isColor(std::span<const float> values) {
    return std::all_of(values.begin(), values.end(), [](float value) { return value >= 0 && value <= 1; });
}

static std::string vertexFault(const QbExportMesh& mesh) {
    for (size_t i = 0; i < mesh.vertices.size(); i++) {
        const QbExportVertex& vertex = mesh.vertices[i];
        const char* what = !isFinite(vertex.position) ? "position"
                           : !isFinite(vertex.normal) ? "normal"
                           : !isFinite(vertex.uv)     ? "texture coordinate"
                                                      : nullptr;
        if (what) return "vertex " + std::to_string(i) + ": the " + what + " is not finite";
    }
    return "";
}

static std::string outOf(const char* what, uint32_t number, size_t count) {
    return std::string(what) + " " + std::to_string(number) + " of " + std::to_string(count);
}

static std::string triangleFault(const QbExportMesh& mesh) {
    size_t materials = std::max<size_t>(1, mesh.materials.size());
    if (mesh.triangles.empty()) return "has no triangles";
    for (size_t i = 0; i < mesh.triangles.size(); i++) {
        const QbExportTriangle& triangle = mesh.triangles[i];
        uint32_t last = *std::max_element(triangle.corners.begin(), triangle.corners.end());
        std::string fault;
        if (last >= mesh.vertices.size())
            fault = outOf("corner", last, mesh.vertices.size()) + " vertices";
        else if (triangle.material >= materials)
            fault = outOf("material", triangle.material, materials);
        if (!fault.empty()) return "triangle " + std::to_string(i) + ": " + fault;
    }
    return "";
}

static std::string materialFault(const QbExportMesh& mesh) {
    for (size_t i = 0; i < mesh.materials.size(); i++) {
        const QbExportMaterial& material = mesh.materials[i];
        std::string place = "material " + std::to_string(i) + ": ";
        if (!isColor(material.diffuse) || !isColor(material.specular) || !isColor(material.emissive))
            return place + "a colour lies outside 0 to 1";
        if (!(std::isfinite(material.power) && material.power >= 0))
            return place + "the specular power must be 0 or above";
        for (char c : material.textureFileName)
            if (c == '"' || static_cast<unsigned char>(c) < ' ')
                return place + "the texture's file name holds a quote or a control character";
    }
    return "";
}

static bool isName(const std::string& name) {
    auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; };
    auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    return !name.empty() && isLetter(name[0]) &&
           std::all_of(name.begin(), name.end(), [&](char c) { return isLetter(c) || isDigit(c); });
}

static bool isFinite(const QbExportBoneKey& key) {
    return isFinite(key.position) && isFinite(key.rotation) && isFinite(key.scale);
}

static std::string keyFault(const QbExportBone& bone, bool matrixKeys) {
    for (size_t i = 0; i < bone.keys.size(); i++) {
        std::string place = "key " + std::to_string(i) + ": ";
        if (!isFinite(bone.keys[i])) return place + "a value is not finite";
        if (i > 0 && bone.keys[i].tick <= bone.keys[i - 1].tick)
            return place + "tick " + std::to_string(bone.keys[i].tick) + " does not follow tick " +
                   std::to_string(bone.keys[i - 1].tick);
        if (matrixKeys && bone.keys[i].scale != QbVec3{1, 1, 1})
            return place + "a matrix key holds no scale, leave matrixKeys off";
    }
    return "";
}

static std::string weightFault(const QbExportBone& bone, size_t vertices) {
    for (size_t i = 0; i < bone.weights.size(); i++) {
        const QbExportWeight& weight = bone.weights[i];
        std::string fault;
        if (weight.vertex >= vertices)
            fault = outOf("vertex", weight.vertex, vertices) + " vertices";
        else if (!(std::isfinite(weight.weight) && weight.weight >= 0))
            fault = "must be 0 or above";
        if (!fault.empty()) return "weight " + std::to_string(i) + ": " + fault;
    }
    return "";
}

static std::string restFault(const QbExportBone& bone) {
    if (!isFinite(bone.rest)) return "a value of its rest place is not finite";
    for (float factor : bone.rest.scale)
        if (factor == 0) return "its rest place has a scale of 0";
    return "";
}

static std::string boneFault(const QbExportMesh& mesh) {
    std::set<std::string> names = {mesh.name.empty() ? "mesh" : mesh.name};
    for (size_t i = 0; i < mesh.bones.size(); i++) {
        const QbExportBone& bone = mesh.bones[i];
        std::string place = "bone " + std::to_string(i) + " \"" + bone.name + "\": ";
        if (!isName(bone.name)) return place + "a name is letters, digits and '_', not first a digit";
        if (!names.insert(bone.name).second) return place + "another bone or the mesh bears this name";
        if (bone.parent >= static_cast<int64_t>(i)) return place + "its parent must be an earlier bone";
        for (const std::string& fault :
             {restFault(bone), weightFault(bone, mesh.vertices.size()), keyFault(bone, mesh.matrixKeys)})
            if (!fault.empty()) return place + fault;
    }
    if (!mesh.bones.empty() && mesh.transform != QB_EXPORT_IDENTITY)
        return "a mesh with bones cannot have a transform of its own, move its root bones";
    return "";
}

std::string qbXMeshFault(const QbExportMesh& mesh) {
    if (!mesh.name.empty() && !isName(mesh.name))
        return "a name is letters, digits and '_', not first a digit";
    if (!isFinite(mesh.transform)) return "its transform is not finite";
    if (mesh.ticksPerSecond == 0) return "ticksPerSecond must be above 0";
    for (auto fault : {vertexFault, triangleFault, materialFault, boneFault})
        if (std::string text = fault(mesh); !text.empty()) return text;
    return "";
}

// --- blocks ---------------------------------------------------------------------------------

struct OpenBlock {
    QbXBlock block;
    std::unordered_map<uint64_t, uint32_t> places; // by material and vertex
    std::vector<uint32_t> vertices;                // for each material
};

static uint64_t placeKey(const QbExportTriangle& triangle, uint32_t corner) {
    return uint64_t{triangle.material} << 32 | corner;
}

static bool hasRoom(const OpenBlock& open, const QbExportTriangle& triangle) {
    if (open.vertices[triangle.material] + 3 <= QB_EXPORT_X_VERTICES_MAX) return true;
    std::set<uint32_t> fresh;
    for (uint32_t corner : triangle.corners)
        if (!open.places.contains(placeKey(triangle, corner))) fresh.insert(corner);
    return open.vertices[triangle.material] + fresh.size() <= QB_EXPORT_X_VERTICES_MAX;
}

static void addTriangle(OpenBlock& open, const QbExportTriangle& triangle) {
    QbExportTriangle placed = triangle;
    for (size_t i = 0; i < 3; i++) {
        uint32_t next = static_cast<uint32_t>(open.block.sources.size());
        auto [entry, isNew] = open.places.try_emplace(placeKey(triangle, triangle.corners[i]), next);
        if (isNew) {
            open.block.sources.push_back(triangle.corners[i]);
            open.vertices[triangle.material]++;
        }
        placed.corners[i] = entry->second;
    }
    open.block.triangles.push_back(placed);
}

std::vector<QbXBlock> qbXBlocks(const QbExportMesh& mesh) {
    size_t materials = std::max<size_t>(1, mesh.materials.size());
    OpenBlock empty;
    empty.vertices.assign(materials, 0);
    std::vector<QbXBlock> blocks;
    OpenBlock open = empty;
    for (const QbExportTriangle& triangle : mesh.triangles) {
        if (!hasRoom(open, triangle)) {
            blocks.push_back(std::move(open.block));
            open = empty;
        }
        addTriangle(open, triangle);
    }
    blocks.push_back(std::move(open.block));
    return blocks;
}

std::vector<std::vector<QbExportWeight>> qbXBlockWeights(const QbExportMesh& mesh, const QbXBlock& block) {
    std::vector<std::vector<uint32_t>> places(mesh.vertices.size());
    for (uint32_t i = 0; i < block.sources.size(); i++)
        places[block.sources[i]].push_back(i);
    std::vector<std::vector<QbExportWeight>> weights(mesh.bones.size());
    for (size_t bone = 0; bone < mesh.bones.size(); bone++)
        for (const QbExportWeight& weight : mesh.bones[bone].weights)
            for (uint32_t place : places[weight.vertex])
                weights[bone].push_back({place, weight.weight});
    return weights;
}
