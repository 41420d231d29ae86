#include "render/reference/raycast.h"

namespace {
QbRef3 mix(QbRef3 w, QbRef3 a, QbRef3 b, QbRef3 c) {
    return a * w.x + b * w.y + c * w.z;
}

QbRefAxes mix(QbRef3 w, const QbRefAxes& a, const QbRefAxes& b, const QbRefAxes& c) {
    return {mix(w, a.normal, b.normal, c.normal), mix(w, a.tangent, b.tangent, c.tangent),
            mix(w, a.binormal, b.binormal, c.binormal)};
}

// A point of a plane is a linear mix of its corners, and so is whatever they carry: that is what a GPU's
// division by depth amounts to.
QbRefPoint mix(QbRef3 w, const std::array<QbRefPoint, 3>& p) {
    return {mix(w, p[0].position, p[1].position, p[2].position),
            mix(w, p[0].axes, p[1].axes, p[2].axes),
            mix(w, p[0].worldAxes, p[1].worldAxes, p[2].worldAxes),
            mix(w, p[0].toCamera, p[1].toCamera, p[2].toCamera),
            {w.x * p[0].uv.x + w.y * p[1].uv.x + w.z * p[2].uv.x,
             w.x * p[0].uv.y + w.y * p[1].uv.y + w.z * p[2].uv.y}};
}

struct Face {
    const QbRefTriangle* triangle;
    QbRef3 sides[3]; // through the eye, against the corners

    explicit Face(const QbRefTriangle& of) : triangle(&of) {
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

QbRefHit nearest(const std::vector<Face>& faces, QbRef3 ray, double nearValue) {
    QbRefHit hit;
    for (const Face& face : faces) {
        const std::optional<QbRef3> weights = face.intersect(ray);
        if (!weights) continue;
        const QbRefPoint point = mix(*weights, face.triangle->corners);
        if (point.position.z < nearValue || point.position.z > ray.z) continue;
        if (hit.object == 0 || point.position.z < hit.point.position.z)
            hit = {face.triangle->object, true, point};
    }
    return hit;
}

bool areOneSurface(const QbRefHit& a, const QbRefHit& b) {
    if (a.object != b.object || a.object == 0) return a.object == b.object;
    const QbRef3 n = qbRefNormalize(a.point.axes.normal), m = qbRefNormalize(b.point.axes.normal);
    const double step = std::abs(a.point.position.z - b.point.position.z);
    return qbRefDot(n, m) > 0.9 && step < 0.1 * a.point.position.z;
}

bool isInner(const QbRefHits& hits, int x, int y) {
    for (int j = std::max(y - 1, 0); j < std::min(y + 2, hits.height); j++)
        for (int i = std::max(x - 1, 0); i < std::min(x + 2, hits.width); i++)
            if (!areOneSurface(hits.at(x, y), hits.at(i, j))) return false;
    return true;
}
} // namespace

QbRefHits qbRefCast(const std::vector<QbRefTriangle>& triangles, const std::array<QbRef3, 4>& corners,
                    double nearValue, int width, int height) {
    const std::vector<Face> faces(triangles.begin(), triangles.end());
    QbRefHits hits{width, height, {}};
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            hits.pixels.push_back(
                nearest(faces, qbRefRay(corners, (x + 0.5) / width, (y + 0.5) / height), nearValue));
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            hits.at(x, y).isInner = isInner(hits, x, y);
    return hits;
}
