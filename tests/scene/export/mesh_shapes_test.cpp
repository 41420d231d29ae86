#include "scene/export/mesh_shapes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
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

// The front of a triangle, where its corners run clockwise, must lie on the side of each corner's normal.
void expectFrontsAndNormalsAgree(const QbExportMesh& mesh) {
    for (const QbExportTriangle& triangle : mesh.triangles) {
        const QbExportVertex* v[3];
        for (size_t i = 0; i < 3; i++)
            v[i] = &mesh.vertices.at(triangle.corners[i]);
        Vec front = cross(minus(v[1]->position, v[0]->position), minus(v[2]->position, v[0]->position));
        double length = std::sqrt(dot(front, front));
        EXPECT_GT(length, 0);
        for (const QbExportVertex* vertex : v) {
            EXPECT_NEAR(dot(vertex->normal, vertex->normal), 1, 1e-5);
            EXPECT_GT(dot(front, vertex->normal) / length, 0.3);
        }
    }
}

double volume(const QbExportMesh& mesh) {
    double sum = 0;
    for (const QbExportTriangle& t : mesh.triangles)
        sum += dot(mesh.vertices[t.corners[0]].position,
                   cross(minus(mesh.vertices[t.corners[1]].position, {}),
                         minus(mesh.vertices[t.corners[2]].position, {}))) /
               6;
    return sum;
}

// Each edge is walked once each way: no hole, no doubled and no turned triangle.
bool isClosed(const QbExportMesh& mesh) {
    std::map<std::pair<QbVec3, QbVec3>, int> edges;
    for (const QbExportTriangle& t : mesh.triangles)
        for (size_t i = 0; i < 3; i++) {
            const QbVec3& a = mesh.vertices[t.corners[i]].position;
            const QbVec3& b = mesh.vertices[t.corners[(i + 1) % 3]].position;
            edges[{a, b}]++;
            edges[{b, a}]--;
        }
    for (const auto& [edge, count] : edges)
        if (count != 0) return false;
    return true;
}

TEST(MeshShapes, FaceOutwardsAndHoldTheirVolume) {
    // An L of 3 squares of side 2, given both ways round.
    const std::vector<QbVec2> corner = {{0, 0}, {4, 0}, {4, 2}, {2, 2}, {2, 4}, {0, 4}};
    const std::vector<QbVec2> turned(corner.rbegin(), corner.rend());
    // Prisms and pyramids over a 12-gon: area 3 r r.
    const struct {
        const char* name;
        QbExportMesh mesh;
        double volume, tolerance;
        size_t triangles;
    } CASES[] = {
        {"box", qbShapeBox({2, 3, 4}), 24, 1e-5, 12},
        {"sphere", qbShapeSphere(2, 64, 32), 4.0 / 3 * PI * 8, 0.2, 64 * 31 * 2},
        {"icosahedron", qbShapeIcosphere(1, 0), 2.5361507, 1e-5, 20},
        {"icosphere", qbShapeIcosphere(2, 4), 4.0 / 3 * PI * 8, 0.2, 20 * 256},
        {"torus", qbShapeTorus(3, 1, 96, 48), 2 * PI * PI * 3, 0.3, 96 * 48 * 2},
        {"cylinder", qbShapeCylinder(2, 2, 5, 12), 3 * 4 * 5, 1e-4, 12 * 4},
        {"cone", qbShapeCylinder(2, 0, 5, 12), 3 * 4 * 5 / 3.0, 1e-4, 12 * 2},
        {"upturned cone", qbShapeCylinder(0, 2, 5, 12), 3 * 4 * 5 / 3.0, 1e-4, 12 * 2},
        {"extrusion", qbShapeExtrude(corner, 3), 36, 1e-4, 4 + 4 + 12},
        {"turned extrusion", qbShapeExtrude(turned, 3), 36, 1e-4, 4 + 4 + 12},
        {"ring", qbShapeRing(2, 3, 5, 12), 3 * (9 - 4) * 5, 1e-4, 12 * 8},
        {"least sphere", qbShapeSphere(1, 0, 0), std::sqrt(3.0) / 2, 1e-5, 6},
    };
    for (const auto& entry : CASES) {
        SCOPED_TRACE(entry.name);
        EXPECT_EQ(entry.mesh.triangles.size(), entry.triangles);
        EXPECT_NEAR(volume(entry.mesh), entry.volume, entry.tolerance);
        EXPECT_TRUE(isClosed(entry.mesh));
        if (entry.triangles > 6) expectFrontsAndNormalsAgree(entry.mesh);
        for (const QbExportVertex& vertex : entry.mesh.vertices) {
            EXPECT_GE(vertex.uv[1], 0);
            EXPECT_LE(vertex.uv[1], 1);
        }
    }
}

// A picture stands upright and unmirrored on a box's front, a sphere's side and a plane.
TEST(MeshShapes, PicturesStandUpright) {
    auto uvAt = [](const QbExportMesh& mesh, QbVec3 place, QbVec3 normal) {
        for (const QbExportVertex& vertex : mesh.vertices) {
            Vec gap = minus(vertex.position, place);
            if (dot(gap, gap) < 1e-8 && dot(vertex.normal, normal) > 0.99) return vertex.uv;
        }
        ADD_FAILURE() << "no such vertex";
        return QbVec2{};
    };
    const QbExportMesh box = qbShapeBox({2, 2, 2}), plane = qbShapePlane(2, 2, 2, 2),
                       ball = qbShapeSphere(1, 4, 4);
    EXPECT_EQ(uvAt(box, {-1, 1, -1}, {0, 0, -1}), (QbVec2{0, 0}));
    EXPECT_EQ(uvAt(box, {1, -1, -1}, {0, 0, -1}), (QbVec2{1, 1}));
    EXPECT_EQ(uvAt(box, {1, 1, -1}, {1, 0, 0}), (QbVec2{0, 0}));
    EXPECT_EQ(uvAt(box, {-1, 1, 1}, {0, 1, 0}), (QbVec2{0, 0}));
    EXPECT_EQ(uvAt(plane, {-1, 0, 1}, {0, 1, 0}), (QbVec2{0, 0}));
    EXPECT_EQ(uvAt(plane, {1, 0, 0}, {0, 1, 0}), (QbVec2{1, 0.5f}));
    EXPECT_EQ(uvAt(ball, {0, 0, -1}, {0, 0, -1}), (QbVec2{0.75f, 0.5f}));
    EXPECT_EQ(uvAt(ball, {-1, 0, 0}, {-1, 0, 0})[0], 0.5f); // left of it
}

TEST(MeshShapes, HeightFieldsSlopeAsTheirFunction) {
    QbExportMesh mesh = qbShapeHeightField(8, 4, 8, 4, [](float x, float z) { return 2 * x - z; });
    ASSERT_EQ(mesh.vertices.size(), 45u);
    for (const QbExportVertex& vertex : mesh.vertices) {
        EXPECT_NEAR(vertex.position[1], 2 * vertex.position[0] - vertex.position[2], 1e-6);
        EXPECT_NEAR(vertex.normal[0], -2 / std::sqrt(6.0), 1e-5);
        EXPECT_NEAR(vertex.normal[1], 1 / std::sqrt(6.0), 1e-5);
        EXPECT_NEAR(vertex.normal[2], 1 / std::sqrt(6.0), 1e-5);
    }
    expectFrontsAndNormalsAgree(mesh);
}

TEST(MeshShapes, TransformsKeepTheOutside) {
    QbExportMesh mesh = qbShapeTorus(3, 1, 24, 12);
    double before = volume(mesh);
    qbMeshTransform(mesh, {10, -4, 2}, {20, 130, -40}, {-1, 2, 0.5f});
    EXPECT_NEAR(volume(mesh), before, 1e-3);
    expectFrontsAndNormalsAgree(mesh);
    qbMeshFlip(mesh);
    EXPECT_NEAR(volume(mesh), -before, 1e-3);
    expectFrontsAndNormalsAgree(mesh);

    QbExportMesh arrow = qbShapeBox({0, 0, 0});
    arrow.vertices[0].position = {1, 2, 3};
    qbMeshTransform(arrow, {0, 0, 10}, {90, 0, 90}, {2, 1, 1});
    // Scaled (2, 2, 3), about X to (2, -3, 2), about Z to (3, 2, 2), moved.
    EXPECT_NEAR(arrow.vertices[0].position[0], 3, 1e-6);
    EXPECT_NEAR(arrow.vertices[0].position[1], 2, 1e-6);
    EXPECT_NEAR(arrow.vertices[0].position[2], 12, 1e-6);
}

TEST(MeshShapes, NormalsChangeBetweenFlatAndSmooth) {
    QbExportMesh mesh = qbShapeBox({2, 2, 2});
    qbMeshSmoothNormals(mesh);
    for (const QbExportVertex& vertex : mesh.vertices)
        EXPECT_GT(dot(vertex.normal, vertex.position), 1.6); // outwards over the corner, 3 / sqrt(3)
    qbMeshFlatNormals(mesh);
    EXPECT_EQ(mesh.vertices.size(), 36u);
    for (const QbExportTriangle& t : mesh.triangles)
        EXPECT_NEAR(dot(mesh.vertices[t.corners[0]].normal, mesh.vertices[t.corners[1]].position), 1, 1e-6);
}

TEST(MeshShapes, MergeKeepsMaterialsApart) {
    QbExportMesh mesh = qbShapeBox({1, 1, 1}), part = qbShapeBox({1, 1, 1}), bare = part;
    part.materials.resize(2);
    part.materials[1].power = 7;
    qbMeshSetMaterial(part, 1);
    qbMeshMerge(mesh, part);
    qbMeshMerge(mesh, bare);
    qbMeshAppend(mesh, bare, 2);
    ASSERT_EQ(mesh.materials.size(), 4u); // the white one of the first box, two, and one
    EXPECT_EQ(mesh.materials[2].power, 7);
    const uint32_t EXPECTED[] = {0, 2, 3, 2};
    for (size_t box = 0; box < 4; box++)
        EXPECT_EQ(mesh.triangles[box * 12].material, EXPECTED[box]);
    EXPECT_EQ(mesh.triangles.back().corners[2] / 24, 3u);
}

} // namespace
