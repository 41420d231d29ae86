#include "scene/export/mesh_shapes.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>

static constexpr double TURN = 2 * std::numbers::pi;

static QbVec3 vec3(double x, double y, double z) {
    return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
}

static QbVec2 vec2(double u, double v) {
    return {static_cast<float>(u), static_cast<float>(v)};
}

static QbVec3 unit(double x, double y, double z) {
    double length = std::hypot(x, y, z);
    return length > 0 ? vec3(x / length, y / length, z / length) : QbVec3{0, 1, 0};
}

static uint32_t addVertex(QbExportMesh& mesh, QbVec3 position, QbVec3 normal, QbVec2 uv) {
    mesh.vertices.push_back({position, normal, uv});
    return static_cast<uint32_t>(mesh.vertices.size() - 1);
}

static void addTriangle(QbExportMesh& mesh, uint32_t a, uint32_t b, uint32_t c) {
    mesh.triangles.push_back({{a, b, c}, 0});
}

// --- surfaces over a grid -------------------------------------------------------------------

// Columns run along the first direction, rows along the second; the front is where their cross product
// (second x first) points. `vertex(column, row)` gives the vertex.
template <class Vertex>
static void addGrid(QbExportMesh& mesh, uint32_t columns, uint32_t rows, Vertex vertex) {
    uint32_t base = static_cast<uint32_t>(mesh.vertices.size());
    for (uint32_t row = 0; row <= rows; row++)
        for (uint32_t column = 0; column <= columns; column++)
            mesh.vertices.push_back(vertex(column, row));
    auto samePlace = [&](uint32_t a, uint32_t b) {
        return mesh.vertices[a].position == mesh.vertices[b].position;
    };
    for (uint32_t row = 0; row < rows; row++)
        for (uint32_t column = 0; column < columns; column++) {
            uint32_t low = base + row * (columns + 1) + column, high = low + columns + 1;
            // At a pole or a doubled row one or both triangles have no area.
            if (!samePlace(low, high) && !samePlace(low, low + 1)) addTriangle(mesh, low, high, low + 1);
            if (!samePlace(high, high + 1) && !samePlace(low + 1, high + 1))
                addTriangle(mesh, low + 1, high, high + 1);
        }
}

QbExportMesh qbShapePlane(float sizeX, float sizeZ, uint32_t cellsX, uint32_t cellsZ) {
    return qbShapeHeightField(sizeX, sizeZ, cellsX, cellsZ, [](float, float) { return 0.0f; });
}

QbExportMesh qbShapeHeightField(float sizeX, float sizeZ, uint32_t cellsX, uint32_t cellsZ,
                                const std::function<float(float x, float z)>& height) {
    cellsX = std::max(1u, cellsX);
    cellsZ = std::max(1u, cellsZ);
    float stepX = sizeX / static_cast<float>(4 * cellsX), stepZ = sizeZ / static_cast<float>(4 * cellsZ);
    QbExportMesh mesh;
    addGrid(mesh, cellsX, cellsZ, [&](uint32_t column, uint32_t row) {
        double u = double{1} * column / cellsX, v = double{1} * row / cellsZ;
        QbVec3 p = vec3((u - 0.5) * sizeX, 0, (v - 0.5) * sizeZ);
        double slopeX = (height(p[0] + stepX, p[2]) - height(p[0] - stepX, p[2])) / (2 * stepX);
        double slopeZ = (height(p[0], p[2] + stepZ) - height(p[0], p[2] - stepZ)) / (2 * stepZ);
        p[1] = height(p[0], p[2]);
        return QbExportVertex{p, unit(-slopeX, 1, -slopeZ), vec2(u, 1 - v)};
    });
    return mesh;
}

QbExportMesh qbShapeTorus(float ring, float tube, uint32_t ringSegments, uint32_t tubeSegments) {
    ringSegments = std::max(3u, ringSegments);
    tubeSegments = std::max(3u, tubeSegments);
    QbExportMesh mesh;
    addGrid(mesh, ringSegments, tubeSegments, [&](uint32_t column, uint32_t row) {
        double u = double{1} * column / ringSegments, v = double{1} * row / tubeSegments;
        double around = column == ringSegments ? 0 : u * TURN, across = row == tubeSegments ? 0 : v * TURN;
        double x = std::cos(around), z = std::sin(around);
        double radius = ring + tube * std::cos(across);
        return QbExportVertex{vec3(radius * x, tube * std::sin(across), radius * z),
                              vec3(std::cos(across) * x, std::sin(across), std::cos(across) * z),
                              vec2(u, 1 - v)};
    });
    return mesh;
}

// --- surfaces of revolution -----------------------------------------------------------------

// Normal of a profile point in the plane of the profile: the mean of the two pieces beside it. A repeated
// point has one piece on each side, and so keeps the edge.
static QbVec2 profileNormal(const std::vector<QbVec2>& profile, size_t i) {
    double radial = 0, up = 0;
    for (size_t piece = i == 0 ? 0 : i - 1; piece <= i && piece + 1 < profile.size(); piece++) {
        double dr = double{profile[piece + 1][0]} - profile[piece][0];
        double dy = double{profile[piece + 1][1]} - profile[piece][1];
        double length = std::hypot(dr, dy);
        if (length == 0) continue;
        radial += dy / length;
        up -= dr / length;
    }
    double length = std::hypot(radial, up);
    return length > 0 ? vec2(radial / length, up / length) : QbVec2{1, 0};
}

static std::vector<double> profileShares(const std::vector<QbVec2>& profile) {
    std::vector<double> shares(profile.size());
    for (size_t i = 1; i < profile.size(); i++)
        shares[i] =
            shares[i - 1] + std::hypot(profile[i][0] - profile[i - 1][0], profile[i][1] - profile[i - 1][1]);
    double total = shares.empty() || shares.back() == 0 ? 1 : shares.back();
    for (double& share : shares)
        share /= total;
    return shares;
}

QbExportMesh qbShapeRevolve(const std::vector<QbVec2>& profile, uint32_t segments) {
    QbExportMesh mesh;
    if (profile.size() < 2) return mesh;
    segments = std::max(3u, segments);
    std::vector<double> shares = profileShares(profile);
    addGrid(mesh, segments, static_cast<uint32_t>(profile.size() - 1), [&](uint32_t column, uint32_t row) {
        double u = double{1} * column / segments, around = column == segments ? 0 : u * TURN;
        double x = std::cos(around), z = std::sin(around), radius = profile[row][0];
        QbVec2 normal = profileNormal(profile, row);
        return QbExportVertex{vec3(radius * x, profile[row][1], radius * z),
                              vec3(normal[0] * x, normal[1], normal[0] * z), vec2(u, 1 - shares[row])};
    });
    return mesh;
}

static void addDisc(QbExportMesh& mesh, float radius, float y, bool up, uint32_t segments) {
    if (radius == 0) return;
    QbVec3 normal = {0, up ? 1.0f : -1.0f, 0};
    uint32_t centre = addVertex(mesh, {0, y, 0}, normal, {0.5f, 0.5f});
    for (uint32_t i = 0; i < segments; i++) {
        double angle = TURN * i / segments, x = std::cos(angle), z = std::sin(angle);
        // As seen from its front, the picture stands upright with its top towards +Z.
        addVertex(mesh, vec3(radius * x, y, radius * z), normal, vec2(0.5 + (up ? x : -x) / 2, 0.5 - z / 2));
    }
    for (uint32_t i = 0; i < segments; i++) {
        uint32_t rim = centre + 1 + i, next = centre + 1 + (i + 1) % segments;
        addTriangle(mesh, centre, up ? next : rim, up ? rim : next);
    }
}

QbExportMesh qbShapeCylinder(float bottomRadius, float topRadius, float height, uint32_t segments) {
    segments = std::max(3u, segments);
    QbExportMesh mesh =
        qbShapeRevolve({QbVec2{bottomRadius, -height / 2}, QbVec2{topRadius, height / 2}}, segments);
    addDisc(mesh, bottomRadius, -height / 2, false, segments);
    addDisc(mesh, topRadius, height / 2, true, segments);
    return mesh;
}

// --- flat bodies ----------------------------------------------------------------------------

QbExportMesh qbShapeBox(QbVec3 size) {
    struct Side {
        QbVec3 normal, right, up; // as seen from outside
    };
    static constexpr Side SIDES[] = {
        {{0, 0, -1}, {1, 0, 0}, {0, 1, 0}},  {{0, 0, 1}, {-1, 0, 0}, {0, 1, 0}},
        {{-1, 0, 0}, {0, 0, -1}, {0, 1, 0}}, {{1, 0, 0}, {0, 0, 1}, {0, 1, 0}},
        {{0, 1, 0}, {1, 0, 0}, {0, 0, 1}},   {{0, -1, 0}, {1, 0, 0}, {0, 0, -1}},
    };
    QbExportMesh mesh;
    for (const Side& side : SIDES)
        addGrid(mesh, 1, 1, [&](uint32_t column, uint32_t row) {
            QbVec3 p;
            for (size_t i = 0; i < 3; i++)
                p[i] = size[i] / 2 *
                       (side.normal[i] + (column ? side.right[i] : -side.right[i]) +
                        (row ? side.up[i] : -side.up[i]));
            return QbExportVertex{p, side.normal, vec2(column, 1.0 - row)};
        });
    return mesh;
}

// --- icosphere ------------------------------------------------------------------------------

using Corners = std::array<uint32_t, 3>;

static QbVec3 between(const QbVec3& a, const QbVec3& b) {
    return unit(double{a[0]} + b[0], double{a[1]} + b[1], double{a[2]} + b[2]);
}

static std::vector<Corners> subdivide(std::vector<QbVec3>& points, const std::vector<Corners>& faces) {
    std::map<std::pair<uint32_t, uint32_t>, uint32_t> middles;
    auto middle = [&](uint32_t a, uint32_t b) {
        auto [entry, isNew] = middles.try_emplace(std::minmax(a, b), static_cast<uint32_t>(points.size()));
        if (isNew) points.push_back(between(points[a], points[b]));
        return entry->second;
    };
    std::vector<Corners> finer;
    for (const Corners& face : faces) {
        uint32_t ab = middle(face[0], face[1]), bc = middle(face[1], face[2]), ca = middle(face[2], face[0]);
        finer.insert(finer.end(), {{face[0], ab, ca}, {ab, face[1], bc}, {ca, bc, face[2]}, {ab, bc, ca}});
    }
    return finer;
}

// Longitudes of a triangle's corners, without a jump at the seam and without a swirl at the poles.
static std::array<double, 3> longitudes(const std::vector<QbVec3>& points, const Corners& face) {
    std::array<double, 3> u;
    auto isPole = [&](size_t i) { return points[face[i]][0] == 0 && points[face[i]][2] == 0; };
    for (size_t i = 0; i < 3; i++) {
        double angle = std::atan2(points[face[i]][2], points[face[i]][0]) / TURN;
        u[i] = angle < 0 ? angle + 1 : angle;
    }
    double most = 0;
    for (size_t i = 0; i < 3; i++)
        if (!isPole(i)) most = std::max(most, u[i]);
    for (size_t i = 0; i < 3; i++)
        if (most - u[i] > 0.5) u[i] += 1;
    for (size_t i = 0; i < 3; i++)
        if (isPole(i)) u[i] = (u[(i + 1) % 3] + u[(i + 2) % 3]) / 2;
    return u;
}

// An icosahedron with a corner at each pole; the faces are clockwise as seen from outside.
static void icosahedron(std::vector<QbVec3>& points, std::vector<Corners>& faces) {
    double y = 1 / std::sqrt(5.0), across = 2 * y;
    points.push_back({0, -1, 0});
    for (int i = 0; i < 5; i++)
        points.push_back(vec3(across * std::cos(TURN * i / 5), -y, across * std::sin(TURN * i / 5)));
    for (int i = 0; i < 5; i++)
        points.push_back(
            vec3(across * std::cos(TURN * (i + 0.5) / 5), y, across * std::sin(TURN * (i + 0.5) / 5)));
    points.push_back({0, 1, 0});
    for (uint32_t i = 0; i < 5; i++) {
        uint32_t low = 1 + i, lowNext = 1 + (i + 1) % 5, high = 6 + i, highNext = 6 + (i + 1) % 5;
        faces.insert(
            faces.end(),
            {{0, low, lowNext}, {low, high, lowNext}, {lowNext, high, highNext}, {high, 11, highNext}});
    }
}

QbExportMesh qbShapeIcosphere(float radius, uint32_t subdivisions) {
    std::vector<QbVec3> points;
    std::vector<Corners> faces;
    icosahedron(points, faces);
    for (uint32_t i = 0; i < subdivisions; i++)
        faces = subdivide(points, faces);
    QbExportMesh mesh;
    std::map<std::pair<uint32_t, double>, uint32_t> known;
    for (const Corners& face : faces) {
        std::array<double, 3> u = longitudes(points, face);
        Corners corners{};
        for (size_t i = 0; i < 3; i++) {
            const QbVec3& p = points[face[i]];
            auto [entry, isNew] =
                known.try_emplace({face[i], u[i]}, static_cast<uint32_t>(mesh.vertices.size()));
            if (isNew)
                addVertex(mesh, {radius * p[0], radius * p[1], radius * p[2]}, p,
                          vec2(u[i], 0.5 - std::asin(double{p[1]}) * 2 / TURN));
            corners[i] = entry->second;
        }
        addTriangle(mesh, corners[0], corners[1], corners[2]);
    }
    return mesh;
}
