#include "render/reference/geometry.h"

namespace {
constexpr double SCALE = 0.8;

double mix(double a, double b, double t) {
    return a + (b - a) * t;
}

double blurAmount(double depth, const QbRefFocus& f) {
    double amount = 0;
    if (depth < f.focusDistance)
        amount = (depth - f.focusDistance) / (f.focusDistance - f.nearDistance);
    else
        amount = std::clamp((depth - f.focusDistance) / (f.farDistance - f.focusDistance), 0.0, f.farClamp);
    return amount * 0.5 + 0.5;
}
} // namespace

QbRefAxes qbRefAxes(QbRef3 normal, QbRef3 tangent, double sign) {
    QbRefAxes axes;
    axes.normal = qbRefNormalize(normal);
    axes.tangent = qbRefNormalize(tangent);
    axes.binormal = qbRefNormalize(qbRefCross(axes.normal, axes.tangent)) * sign;
    return axes;
}

QbRefView qbRefLookAt(QbRef3 eye, QbRef3 target, QbRef3 up) {
    QbRefView view;
    view.eye = eye;
    view.forward = qbRefNormalize(target - eye);
    view.right = qbRefNormalize(qbRefCross(up, view.forward));
    view.up = qbRefCross(view.forward, view.right);
    return view;
}

QbRef3 qbRefPointToView(const QbRefView& view, QbRef3 point) {
    return qbRefDirectionToView(view, point - view.eye);
}

QbRef3 qbRefDirectionToView(const QbRefView& view, QbRef3 direction) {
    return {qbRefDot(direction, view.right), qbRefDot(direction, view.up), qbRefDot(direction, view.forward)};
}

QbRef2 qbRefEncodeNormal(QbRef3 n) {
    return {n.x / (n.z + 1) / SCALE * 0.5 + 0.5, n.y / (n.z + 1) / SCALE * 0.5 + 0.5};
}

QbRef3 qbRefDecodeNormal(QbRef2 e) {
    const QbRef3 m{e.x * 2 * SCALE - SCALE, e.y * 2 * SCALE - SCALE, 1};
    const double g = 2 / qbRefDot(m, m);
    return {g * m.x, g * m.y, g - 1};
}

QbRef3 qbRefMapNormal(std::optional<QbRef3> texel, double bump) {
    if (!texel) return {0, 0, 1};
    const double t = bump / 4;
    return {mix(0.5, texel->x, t) * 2 - 1, mix(0.5, texel->y, t) * 2 - 1, mix(1.0, texel->z, t) * 2 - 1};
}

QbRef3 qbRefShadingNormal(const QbRefAxes& axes, std::optional<QbRef3> texel, double bump) {
    const QbRef3 m = qbRefMapNormal(texel, bump);
    return -qbRefNormalize(axes.normal * m.z + axes.tangent * m.x - axes.binormal * m.y);
}

QbRef4 qbRefNormalTexel(QbRef3 shadingNormal, double specular, double glossiness) {
    const QbRef2 e = qbRefEncodeNormal(shadingNormal);
    return {e.x, e.y, specular, glossiness};
}

QbRef4 qbRefDepthTexel(double viewZ, double farValue, std::optional<QbRefFocus> focus) {
    return {viewZ / farValue, focus ? blurAmount(viewZ, *focus) : 0, 0, 0};
}

std::array<QbRef3, 4> qbRefFarCorners(double fovY, double aspect, double farValue) {
    const double y = std::tan(fovY / 2) * farValue;
    const double x = y * aspect;
    return {QbRef3{-x, y, farValue}, QbRef3{x, y, farValue}, QbRef3{-x, -y, farValue},
            QbRef3{x, -y, farValue}};
}

QbRef3 qbRefRay(const std::array<QbRef3, 4>& corners, double u, double v) {
    const QbRef3 above = corners[0] * (1 - u) + corners[1] * u;
    const QbRef3 below = corners[2] * (1 - u) + corners[3] * u;
    return above * (1 - v) + below * v;
}

QbRef3 qbRefPosition(double depth, double farValue, QbRef3 ray) {
    return ray * (depth * farValue / ray.z);
}
