#include "scene/export/mesh_shapes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

using Vec = std::array<double, 3>;
constexpr double PI = std::numbers::pi;

Vec minus(const QbVec3& a, const QbVec3& b) {
    return {double{a[0]} - b[0], double{a[1]} - b[1], double{a[2]} - b[2]};
}
Vec cross(const Vec& a, const Vec& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
template <class A, class B>
double dot(const A& a, const B& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

// The front of each triangle, where its corners run clockwise, must lie on the side of each corner's normal.
// The volume that the triangles enclose, if that is so; it is negative when they face inwards.
double volume(const QbExportMesh& mesh) {
    double sum = 0;
    for (const QbExportTriangle& triangle : mesh.triangles) {
        const QbExportVertex* v[3];
        for (size_t i = 0; i < 3; i++)
            v[i] = &mesh.vertices.at(triangle.corners[i]);
        const Vec front = cross(minus(v[1]->position, v[0]->position), minus(v[2]->position, v[0]->position));
        for (const QbExportVertex* vertex : v) {
            EXPECT_NEAR(dot(vertex->normal, vertex->normal), 1, 1e-5);
            EXPECT_GT(dot(front, vertex->normal) / std::sqrt(dot(front, front)), 0.3);
            EXPECT_TRUE(vertex->uv[1] >= 0 && vertex->uv[1] <= 1);
        }
        sum += dot(v[0]->position, front) / 6;
    }
    return sum;
}

TEST(MeshShapes, FaceOutwardsAndHoldTheirVolume) {
    // Prisms and pyramids over a 12-gon: area 3 r r.
    const struct {
        const char* name;
        QbExportMesh mesh;
        double volume, tolerance;
        size_t triangles;
    } CASES[] = {
        {"box", qbShapeBox({2, 3, 4}), 24, 1e-5, 12},
        {"icosahedron", qbShapeIcosphere(1, 0), 2.5361507, 1e-5, 20},
        {"icosphere", qbShapeIcosphere(2, 4), 4.0 / 3 * PI * 8, 0.2, 20 * 256},
        {"torus", qbShapeTorus(3, 1, 96, 48), 2 * PI * PI * 3, 0.3, 96 * 48 * 2},
        {"cylinder", qbShapeCylinder(2, 2, 5, 12), 3 * 4 * 5, 1e-4, 12 * 4},
        {"upturned cone", qbShapeCylinder(0, 2, 5, 12), 3 * 4 * 5 / 3.0, 1e-4, 12 * 2},
    };
    for (const auto& entry : CASES) {
        SCOPED_TRACE(entry.name);
        EXPECT_EQ(entry.mesh.triangles.size(), entry.triangles);
        EXPECT_NEAR(volume(entry.mesh), entry.volume, entry.tolerance);
    }
    EXPECT_EQ(qbShapeTorus(3, 1, 0, 0).triangles.size(), 18u) << "counts are raised to the least";
}

TEST(MeshShapes, PicturesStandUpright) {
    const struct {
        QbExportMesh mesh;
        QbVec3 place, normal;
        QbVec2 uv;
    } CASES[] = {{qbShapeBox({2, 2, 2}), {-1, 1, -1}, {0, 0, -1}, {0, 0}},
                 {qbShapeBox({2, 2, 2}), {1, 1, -1}, {1, 0, 0}, {0, 0}},
                 {qbShapePlane(2, 2, 2, 2), {1, 0, 0}, {0, 1, 0}, {1, 0.5f}}};
    for (const auto& entry : CASES) {
        const auto found = std::find_if(
            entry.mesh.vertices.begin(), entry.mesh.vertices.end(), [&](const QbExportVertex& vertex) {
                const Vec gap = minus(vertex.position, entry.place);
                return dot(gap, gap) < 1e-8 && dot(vertex.normal, entry.normal) > 0.99;
            });
        ASSERT_NE(found, entry.mesh.vertices.end());
        EXPECT_EQ(found->uv, entry.uv);
    }
}

TEST(MeshShapes, TransformsKeepTheOutside) {
    QbExportMesh mesh = qbShapeTorus(3, 1, 24, 12);
    const double before = volume(mesh);
    qbMeshTransform(mesh, {10, -4, 2}, {20, 130, -40}, {-1, 2, 0.5f});
    EXPECT_NEAR(volume(mesh), before, 1e-3);

    QbExportMesh arrow;
    arrow.vertices = {{{1, 2, 3}, {0.6f, 0.8f, 0}, {}}};
    qbMeshTransform(arrow, {0, 0, 10}, {90, 0, 90}, {2, 1, 1});
    // Scaled (2, 2, 3), about X to (2, -3, 2), about Z to (3, 2, 2), moved.
    const Vec gap = minus(arrow.vertices[0].position, {3, 2, 12});
    EXPECT_LT(dot(gap, gap), 1e-10);
    // A normal shrinks where the body grows: (0.3, 0.8, 0), turned to (0, 0.3, 0.8).
    EXPECT_NEAR(dot(arrow.vertices[0].normal, Vec{0, 0.3, 0.8}), std::sqrt(0.73), 1e-6);
}

TEST(MeshShapes, NormalsChangeBetweenFlatAndSmoothAlsoOfAPart) {
    QbExportMesh mesh = qbShapeBox({2, 2, 2});
    qbMeshAppend(mesh, qbShapeBox({4, 4, 4}), 1);
    EXPECT_EQ(mesh.triangles.back().material, 1u);
    qbMeshSmoothNormals(mesh);
    EXPECT_GT(dot(mesh.vertices.back().normal, mesh.vertices.back().position),
              3.2); // over the corner, 8 / sqrt(6): one face counts twice
    qbMeshFlatNormals(mesh);
    EXPECT_NEAR(dot(mesh.vertices.back().normal, mesh.vertices.back().position), 2, 1e-6);
}

} // namespace
