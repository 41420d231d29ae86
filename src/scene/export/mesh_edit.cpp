#include "scene/export/mesh_shapes.h"

#include <cmath>
#include <map>
#include <utility>

using Vec = std::array<double, 3>;

static QbVec3 unit(const Vec& v) {
    double length = std::hypot(v[0], v[1], v[2]);
    if (length == 0) return {0, 1, 0};
    return {static_cast<float>(v[0] / length), static_cast<float>(v[1] / length),
            static_cast<float>(v[2] / length)};
}

// Along the triangle's normal on its front; twice its area long.
static Vec areaNormal(const QbExportMesh& mesh, const QbExportTriangle& triangle) {
    const QbVec3& a = mesh.vertices[triangle.corners[0]].position;
    const QbVec3& b = mesh.vertices[triangle.corners[1]].position;
    const QbVec3& c = mesh.vertices[triangle.corners[2]].position;
    Vec p, q;
    for (size_t i = 0; i < 3; i++) {
        p[i] = double{b[i]} - a[i];
        q[i] = double{c[i]} - a[i];
    }
    return {p[1] * q[2] - p[2] * q[1], p[2] * q[0] - p[0] * q[2], p[0] * q[1] - p[1] * q[0]};
}

void qbMeshAppend(QbExportMesh& mesh, const QbExportMesh& part, uint32_t material) {
    uint32_t base = static_cast<uint32_t>(mesh.vertices.size());
    mesh.vertices.insert(mesh.vertices.end(), part.vertices.begin(), part.vertices.end());
    for (QbExportTriangle triangle : part.triangles) {
        for (uint32_t& corner : triangle.corners)
            corner += base;
        triangle.material = material;
        mesh.triangles.push_back(triangle);
    }
}

static void swapCorners(QbExportMesh& mesh) {
    for (QbExportTriangle& triangle : mesh.triangles)
        std::swap(triangle.corners[1], triangle.corners[2]);
}

void qbMeshTransform(QbExportMesh& mesh, QbVec3 position, QbVec3 degrees, QbVec3 scale) {
    QbExportMatrix place = qbExportMatrix(position, degrees, scale);
    QbExportMatrix turn = qbExportMatrix({0, 0, 0}, degrees, {1, 1, 1});
    double sign = double{scale[0]} * scale[1] * scale[2] < 0 ? -1 : 1;
    // The inverse transposed, up to its length, which also serves a body flattened to a sheet.
    Vec stretch = {sign * scale[1] * scale[2], sign * scale[0] * scale[2], sign * scale[0] * scale[1]};
    for (QbExportVertex& vertex : mesh.vertices) {
        QbVec3 p{};
        Vec n{};
        for (size_t column = 0; column < 3; column++) {
            p[column] = place[12 + column];
            for (size_t row = 0; row < 3; row++) {
                p[column] += vertex.position[row] * place[row * 4 + column];
                n[column] += vertex.normal[row] * stretch[row] * turn[row * 4 + column];
            }
        }
        vertex.position = p;
        vertex.normal = unit(n);
    }
    if (sign < 0) swapCorners(mesh);
}

void qbMeshScaleUv(QbExportMesh& mesh, float u, float v) {
    for (QbExportVertex& vertex : mesh.vertices) {
        vertex.uv[0] *= u;
        vertex.uv[1] *= v;
    }
}

void qbMeshFlatNormals(QbExportMesh& mesh) {
    std::vector<QbExportVertex> vertices;
    vertices.reserve(mesh.triangles.size() * 3);
    for (QbExportTriangle& triangle : mesh.triangles) {
        QbVec3 normal = unit(areaNormal(mesh, triangle));
        for (uint32_t& corner : triangle.corners) {
            vertices.push_back(mesh.vertices[corner]);
            vertices.back().normal = normal;
            corner = static_cast<uint32_t>(vertices.size() - 1);
        }
    }
    mesh.vertices = std::move(vertices);
}

void qbMeshSmoothNormals(QbExportMesh& mesh) {
    std::map<QbVec3, Vec> sums;
    for (const QbExportTriangle& triangle : mesh.triangles) {
        Vec normal = areaNormal(mesh, triangle);
        for (uint32_t corner : triangle.corners) {
            Vec& sum = sums[mesh.vertices[corner].position];
            for (size_t i = 0; i < 3; i++)
                sum[i] += normal[i];
        }
    }
    for (QbExportVertex& vertex : mesh.vertices)
        if (auto sum = sums.find(vertex.position); sum != sums.end()) vertex.normal = unit(sum->second);
}
