// Which point of which triangle a pixel shows, found with a ray through the pixel's centre.
#pragma once

#include "render/reference/formulas.h"

#include <array>
#include <vector>

// What a vertex hands to the pixels. Directions have length 1 at the vertices and are interpolated as they
// are.
struct QbRefPoint {
    QbRef3 position;     // view space
    QbRefAxes axes;      // view space
    QbRefAxes worldAxes; // world space
    QbRef3 toCamera;     // from the vertex as it stands in the mesh
    QbRef2 uv;
};

struct QbRefTriangle {
    int object = 0;                      // above 0
    std::array<QbRefPoint, 3> corners{}; // clockwise as seen from outside
};

struct QbRefHit {
    int object = 0; // 0: background
    // False where a neighbour shows another object, a bend or a step: there the GPU's rounding of a vertex to
    // its grid may decide for the other side.
    bool isInner = true;
    QbRefPoint point;
};

struct QbRefHits {
    int width = 0, height = 0;
    std::vector<QbRefHit> pixels; // rows from the top

    QbRefHit& at(int x, int y) { return pixels[static_cast<std::size_t>(y * width + x)]; }
    const QbRefHit& at(int x, int y) const { return pixels[static_cast<std::size_t>(y * width + x)]; }
};

inline QbRef3 qbRefMix(QbRef3 w, QbRef3 a, QbRef3 b, QbRef3 c) {
    return a * w.x + b * w.y + c * w.z;
}

inline QbRefAxes qbRefMix(QbRef3 w, const QbRefAxes& a, const QbRefAxes& b, const QbRefAxes& c) {
    return {qbRefMix(w, a.normal, b.normal, c.normal), qbRefMix(w, a.tangent, b.tangent, c.tangent),
            qbRefMix(w, a.binormal, b.binormal, c.binormal)};
}

// A point of a plane is a linear mix of its corners, and so is whatever they carry: that is what a GPU's
// division by depth amounts to.
inline QbRefPoint qbRefMix(QbRef3 w, const std::array<QbRefPoint, 3>& p) {
    return {qbRefMix(w, p[0].position, p[1].position, p[2].position),
            qbRefMix(w, p[0].axes, p[1].axes, p[2].axes),
            qbRefMix(w, p[0].worldAxes, p[1].worldAxes, p[2].worldAxes),
            qbRefMix(w, p[0].toCamera, p[1].toCamera, p[2].toCamera),
            {w.x * p[0].uv.x + w.y * p[1].uv.x + w.z * p[2].uv.x,
             w.x * p[0].uv.y + w.y * p[1].uv.y + w.z * p[2].uv.y}};
}

struct QbRefFace {
    const QbRefTriangle* triangle;
    QbRef3 sides[3]; // through the eye, against the corners

    explicit QbRefFace(const QbRefTriangle& of) : triangle(&of) {
        for (int i = 0; i < 3; i++)
            sides[i] = qbRefCross(corner(i + 1), corner(i + 2));
    }
    QbRef3 corner(int i) const { return triangle->corners[static_cast<std::size_t>(i % 3)].position; }
    // The weights of the corners; nothing when the ray misses or sees the back.
    std::optional<QbRef3> intersect(QbRef3 ray) const {
        const double a = qbRefDot(ray, sides[0]), b = qbRefDot(ray, sides[1]), c = qbRefDot(ray, sides[2]);
        const double sum = a + b + c;
        if (a > 0 || b > 0 || c > 0 || sum == 0) return {};
        return QbRef3{a, b, c} * (1 / sum);
    }
};

inline QbRefHit qbRefNearest(const std::vector<QbRefFace>& faces, QbRef3 ray, double nearValue) {
    QbRefHit hit;
    for (const QbRefFace& face : faces) {
        const std::optional<QbRef3> weights = face.intersect(ray);
        if (!weights) continue;
        const QbRefPoint point = qbRefMix(*weights, face.triangle->corners);
        if (point.position.z < nearValue || point.position.z > ray.z) continue;
        if (hit.object == 0 || point.position.z < hit.point.position.z)
            hit = {face.triangle->object, true, point};
    }
    return hit;
}

inline bool qbRefAreOneSurface(const QbRefHit& a, const QbRefHit& b) {
    if (a.object != b.object || a.object == 0) return a.object == b.object;
    const QbRef3 n = qbRefNormalize(a.point.axes.normal), m = qbRefNormalize(b.point.axes.normal);
    const double step = std::abs(a.point.position.z - b.point.position.z);
    return qbRefDot(n, m) > 0.9 && step < 0.1 * a.point.position.z;
}

inline bool qbRefIsInner(const QbRefHits& hits, int x, int y) {
    for (int j = std::max(y - 1, 0); j < std::min(y + 2, hits.height); j++)
        for (int i = std::max(x - 1, 0); i < std::min(x + 2, hits.width); i++)
            if (!qbRefAreOneSurface(hits.at(x, y), hits.at(i, j))) return false;
    return true;
}

// The nearest front face for each pixel, between the near and the far plane; `corners` are those of the far
// plane.
inline QbRefHits qbRefCast(const std::vector<QbRefTriangle>& triangles, const std::array<QbRef3, 4>& corners,
                           double nearValue, int width, int height) {
    const std::vector<QbRefFace> faces(triangles.begin(), triangles.end());
    QbRefHits hits{width, height, {}};
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            hits.pixels.push_back(
                qbRefNearest(faces, qbRefRay(corners, (x + 0.5) / width, (y + 0.5) / height), nearValue));
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            hits.at(x, y).isInner = qbRefIsInner(hits, x, y);
    return hits;
}
