#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// Writes meshes as DirectX .x files, text or binary, static or skinned. Left-handed, Y up; a triangle's front
// shows its corners clockwise. The same mesh gives the same bytes.

using QbVec2 = std::array<float, 2>;
using QbVec3 = std::array<float, 3>;
// Row-vector matrix, row by row; the translation stands in elements 12 to 14.
using QbExportMatrix = std::array<float, 16>;
constexpr QbExportMatrix QB_EXPORT_IDENTITY = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

struct QbExportVertex {
    std::array<float, 3> position{};
    std::array<float, 3> normal{0, 1, 0}; // unit length
    std::array<float, 2> uv{};            // v grows downwards in the picture
};

struct QbExportTriangle {
    std::array<uint32_t, 3> corners{};
    uint32_t material = 0;
};

struct QbExportMaterial {
    std::array<float, 4> diffuse{1, 1, 1, 1}; // red, green, blue, alpha
    float power = 0;                          // specular exponent; 0 without highlight
    std::array<float, 3> specular{};
    std::array<float, 3> emissive{};
    std::string textureFileName; // empty: none. Relative to the mesh file or the working directory
};

// Keys: ticks count from 0, 30 to a second unless QbExportMesh says otherwise; the object viewer plays 30 a
// second. The engine's frame numbers are ticks and its frame count is the last tick, so an animation that
// ends before tick 2 stands still. Between keys it plays linearly, and along the great arc for rotations.
struct QbExportBoneKey {
    uint32_t tick = 0;
    std::array<float, 3> position{}; // relative to the parent bone
    std::array<float, 3> rotation{}; // degrees about X, then Y, then Z
    std::array<float, 3> scale{1, 1, 1};
};

struct QbExportWeight {
    uint32_t vertex = 0;
    float weight = 0;
};

// A joint of a skinned mesh. `rest` places it relative to its parent in the pose in which the vertices stand.
struct QbExportBone {
    std::string name;    // letters, digits and '_', not first a digit; unique
    int32_t parent = -1; // index of an earlier bone; -1: a root
    QbExportBoneKey rest;
    std::vector<QbExportWeight> weights;
    std::vector<QbExportBoneKey> keys; // ascending ticks; none: the bone keeps its rest place
};

struct QbExportMesh {
    std::string name;                              // empty: "mesh"; else as a bone's name
    QbExportMatrix transform = QB_EXPORT_IDENTITY; // of the frame that holds the mesh
    std::vector<QbExportVertex> vertices;
    std::vector<QbExportTriangle> triangles;
    std::vector<QbExportMaterial> materials; // none: one white material
    std::vector<QbExportBone> bones;         // none: a static mesh
    uint32_t ticksPerSecond = 30;
    // Write a key as one matrix. The engine then passes over scales, so only 1 is taken.
    bool matrixKeys = false;
};

enum QbExportXFormat { QB_EXPORT_X_TEXT, QB_EXPORT_X_BINARY };

// Most vertices of one material in one Mesh block: the engine counts them with 16 bits. A larger mesh becomes
// several blocks, in the order of its triangles, with shared corners repeated. Every block lists all
// materials, so the engine has blocks x materials of them, block by block: let a scene object repeat its
// surfaces in the same order.
enum { QB_EXPORT_X_VERTICES_MAX = 65535 };

// Makes the file's bytes. 0, or -1 with `bytes` empty and a reason in `error` that names the mesh and the
// place: a value that is not finite, a corner, material, weight or parent out of range, keys out of order, a
// name that the format does not hold, no triangle at all.
int qbMeshExportWrite(const QbExportMesh& mesh, QbExportXFormat format, std::vector<uint8_t>& bytes,
                      std::string& error);
// The same, into a file. A refused mesh leaves an existing file alone.
int qbMeshExportSave(const QbExportMesh& mesh, QbExportXFormat format, const std::string& path,
                     std::string& error);

// Mesh blocks that the mesh will be written as; 0 for a mesh that is refused.
size_t qbMeshExportBlockCount(const QbExportMesh& mesh);

// The matrix of a scale, a turn about X, then Y, then Z in degrees, and a move, in this order.
QbExportMatrix qbExportMatrix(QbVec3 position, QbVec3 degrees, QbVec3 scale);
