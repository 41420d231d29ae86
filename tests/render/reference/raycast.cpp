#include "render/reference/raycast.h"

namespace {
struct Bounds {
    int left, top, right, bottom; // the last two not included
};

struct Weights {
    double a, b, c;
};

QbRef3 mix(const Weights& w, QbRef3 a, QbRef3 b, QbRef3 c) {
    return a * w.a + b * w.b + c * w.c;
}

QbRefAxes mix(const Weights& w, const QbRefAxes& a, const QbRefAxes& b, const QbRefAxes& c) {
    return {mix(w, a.normal, b.normal, c.normal), mix(w, a.tangent, b.tangent, c.tangent),
            mix(w, a.binormal, b.binormal, c.binormal)};
}

// A point of a plane is a linear mix of its corners, and so is whatever they carry: that is what a GPU's
// division by depth amounts to.
QbRefPoint mix(const Weights& w, const std::array<QbRefPoint, 3>& p) {
    return {mix(w, p[0].position, p[1].position, p[2].position),
            mix(w, p[0].axes, p[1].axes, p[2].axes),
            mix(w, p[0].worldAxes, p[1].worldAxes, p[2].worldAxes),
            mix(w, p[0].toCamera, p[1].toCamera, p[2].toCamera),
            {w.a * p[0].uv.x + w.b * p[1].uv.x + w.c * p[2].uv.x,
             w.a * p[0].uv.y + w.b * p[1].uv.y + w.c * p[2].uv.y}};
}

// Of the ray from the origin; nothing when it misses or sees the back.
std::optional<Weights> intersect(QbRef3 ray, const std::array<QbRefPoint, 3>& p) {
    const QbRef3 a = p[0].position, b = p[1].position, c = p[2].position;
    const double volumeA = qbRefDot(ray, qbRefCross(b, c));
    const double volumeB = qbRefDot(ray, qbRefCross(c, a));
    const double volumeC = qbRefDot(ray, qbRefCross(a, b));
    const double sum = volumeA + volumeB + volumeC;
    if (volumeA > 0 || volumeB > 0 || volumeC > 0 || sum == 0) return {};
    return Weights{volumeA / sum, volumeB / sum, volumeC / sum};
}

// Only to save time: the whole picture for a triangle that reaches behind the camera.
Bounds boundsOf(const QbRefTriangle& triangle, QbRef3 rightUp, int width, int height) {
    Bounds bounds{width, height, 0, 0};
    for (const QbRefPoint& corner : triangle.corners) {
        const QbRef3 p = corner.position;
        if (p.z < 1e-3) return {0, 0, width, height};
        const double x = (p.x / p.z / (rightUp.x / rightUp.z) + 1) / 2 * width;
        const double y = (1 - p.y / p.z / (rightUp.y / rightUp.z)) / 2 * height;
        bounds.left = std::min(bounds.left, static_cast<int>(std::clamp(x - 1, 0.0, width + 0.0)));
        bounds.top = std::min(bounds.top, static_cast<int>(std::clamp(y - 1, 0.0, height + 0.0)));
        bounds.right = std::max(bounds.right, static_cast<int>(std::clamp(x + 2, 0.0, width + 0.0)));
        bounds.bottom = std::max(bounds.bottom, static_cast<int>(std::clamp(y + 2, 0.0, height + 0.0)));
    }
    return bounds;
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
    QbRefHits hits{width, height, {}};
    hits.pixels.resize(static_cast<std::size_t>(width * height));
    for (const QbRefTriangle& triangle : triangles) {
        const Bounds bounds = boundsOf(triangle, corners[1], width, height);
        for (int y = bounds.top; y < bounds.bottom; y++)
            for (int x = bounds.left; x < bounds.right; x++) {
                const QbRef3 ray = qbRefRay(corners, (x + 0.5) / width, (y + 0.5) / height);
                const std::optional<Weights> weights = intersect(ray, triangle.corners);
                if (!weights) continue;
                const QbRefPoint point = mix(*weights, triangle.corners);
                QbRefHit& hit = hits.at(x, y);
                if (point.position.z < nearValue || point.position.z > corners[0].z) continue;
                if (hit.object == 0 || point.position.z < hit.point.position.z)
                    hit = {triangle.object, true, point};
            }
    }
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            hits.at(x, y).isInner = isInner(hits, x, y);
    return hits;
}
