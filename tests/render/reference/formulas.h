// The passes on the CPU, for a point of a surface. Values are exact; the rounding of the targets is the
// caller's, unless said otherwise.
#pragma once

#include "render/reference/vector.h"

#include <array>
#include <optional>

// --- geometry -------------------------------------------------------------------------------------------

// Axes at a point of a surface, each of length 1.
struct QbRefAxes {
    QbRef3 normal, tangent, binormal;
};

// A camera without roll or scale: world vectors of length 1, left-handed.
struct QbRefView {
    QbRef3 eye, right, up, forward;
};

// Both targets where no surface was drawn.
constexpr QbRef4 QB_REF_CLEAR_NORMAL{0, 0.5, 0, 0};
constexpr QbRef4 QB_REF_CLEAR_DEPTH{1, 0, 0, 0};

constexpr double QB_REF_NORMAL_SCALE = 0.8;

// The axes that the depth pass makes of a view-space normal and tangent.
inline QbRefAxes qbRefAxes(QbRef3 normal, QbRef3 tangent) {
    const QbRef3 n = qbRefNormalize(normal), t = qbRefNormalize(tangent);
    return {n, t, qbRefNormalize(qbRefCross(n, t))};
}

inline QbRefView qbRefLookAt(QbRef3 eye, QbRef3 target) {
    const QbRef3 forward = qbRefNormalize(target - eye);
    const QbRef3 right = qbRefNormalize(qbRefCross({0, 1, 0}, forward));
    return {eye, right, qbRefCross(forward, right), forward};
}

inline QbRef3 qbRefDirectionToView(const QbRefView& view, QbRef3 direction) {
    return {qbRefDot(direction, view.right), qbRefDot(direction, view.up), qbRefDot(direction, view.forward)};
}

inline QbRef3 qbRefPointToView(const QbRefView& view, QbRef3 point) {
    return qbRefDirectionToView(view, point - view.eye);
}

// `n` of length 1 with n.z > -1. The results lie in 0..1 for normals up to about 77 degrees from positive z;
// beyond that the target clamps them.
inline QbRef2 qbRefEncodeNormal(QbRef3 n) {
    return {n.x / (n.z + 1) / QB_REF_NORMAL_SCALE * 0.5 + 0.5,
            n.y / (n.z + 1) / QB_REF_NORMAL_SCALE * 0.5 + 0.5};
}

inline QbRef3 qbRefDecodeNormal(QbRef2 e) {
    const double scale = QB_REF_NORMAL_SCALE;
    const QbRef3 m{e.x * 2 * scale - scale, e.y * 2 * scale - scale, 1};
    const double g = 2 / qbRefDot(m, m);
    return {g * m.x, g * m.y, g - 1};
}

// `texel` of the normal map, faded in by the bump value.
inline QbRef3 qbRefMapNormal(std::optional<QbRef3> texel, double bump) {
    const QbRef3 flat{0.5, 0.5, 1};
    return (flat + (texel.value_or(flat) - flat) * (bump / 4)) * 2 - QbRef3{1, 1, 1};
}

// The normal that the depth pass encodes: of length 1, away from the camera.
inline QbRef3 qbRefShadingNormal(const QbRefAxes& axes, std::optional<QbRef3> texel, double bump) {
    const QbRef3 m = qbRefMapNormal(texel, bump);
    return -qbRefNormalize(axes.normal * m.z + axes.tangent * m.x - axes.binormal * m.y);
}

// Texel of the depth target. In focus at 360; the blur grows to its most at 80 and at 1000.
inline QbRef4 qbRefDepthTexel(double viewZ, double farValue, bool hasFocus) {
    const double range = viewZ < 360 ? 360 - 80 : 1000 - 360;
    const double blur = std::min((viewZ - 360) / range, 1.0) * 0.5 + 0.5;
    return {viewZ / farValue, hasFocus ? blur : 0, 0, 0};
}

// Far corners in view space: left up, right up, left down, right down. `fovY` is the full angle in radians.
inline std::array<QbRef3, 4> qbRefFarCorners(double fovY, double aspect, double farValue) {
    const double y = std::tan(fovY / 2) * farValue;
    const double x = y * aspect;
    return {QbRef3{-x, y, farValue}, QbRef3{x, y, farValue}, QbRef3{-x, -y, farValue},
            QbRef3{x, -y, farValue}};
}

// The ray through a point of the screen; u runs right and v down, both 0..1.
inline QbRef3 qbRefRay(const std::array<QbRef3, 4>& corners, double u, double v) {
    const QbRef3 above = corners[0] * (1 - u) + corners[1] * u;
    const QbRef3 below = corners[2] * (1 - u) + corners[3] * u;
    return above * (1 - v) + below * v;
}

// View-space position of a stored depth.
inline QbRef3 qbRefPosition(double depth, double farValue, QbRef3 ray) {
    return ray * (depth * farValue / ray.z);
}

// --- lights ---------------------------------------------------------------------------------------------

enum class QbRefLightKind { Distant, Point, Spot };

// A kind reads only the fields that it needs.
struct QbRefLight {
    QbRefLightKind kind = QbRefLightKind::Distant;
    QbRef3 color;
    QbRef3 direction; // of length 1, away from the light; distant and spot
    QbRef3 position;
    double radius = 0;                   // where the light ends
    double innerCone = 0, outerCone = 0; // degrees from the axis, to full light and to none
};

inline double qbRefAttenuation(const QbRefLight& light, QbRef3 p) {
    if (light.kind == QbRefLightKind::Distant) return 1;
    const QbRef3 away = p - light.position;
    const double byDistance = 1 - qbRefSaturate(qbRefDot(away, away) / (light.radius * light.radius));
    if (light.kind == QbRefLightKind::Point) return byDistance;
    const double radians = 0.017453292519943295;
    const double inner = std::cos(light.innerCone * radians), outer = std::cos(light.outerCone * radians);
    const double rho = qbRefDot(qbRefNormalize(away), light.direction);
    return byDistance * qbRefSaturate((rho - outer) / (inner - outer));
}

// What the light pass puts out, before blending, for a light and a position `p` in view space and a texel of
// the normal target: RGB diffuse, A specular.
inline QbRef4 qbRefLightOutput(const QbRefLight& light, QbRef3 p, QbRef4 normalTexel) {
    const QbRef3 n = qbRefDecodeNormal({normalTexel.r, normalTexel.g});
    QbRef3 l = light.direction;
    if (light.kind != QbRefLightKind::Distant) l = qbRefNormalize(p - light.position);
    const double nl = qbRefSaturate(qbRefDot(n, l)) * qbRefAttenuation(light, p);
    const QbRef3 h = qbRefNormalize(l + qbRefNormalize(p));
    const double power = std::pow(normalTexel.a * 10, 3);
    const double specular = nl * normalTexel.b * std::pow(qbRefSaturate(qbRefDot(n, h)), power);
    return {light.color.x * nl, light.color.y * nl, light.color.z * nl, specular};
}

// One write to an 8-bit target, rounded, with the blending source + target * (1 - source).
inline QbRef4 qbRefAddColor(QbRef4 target, QbRef4 source) {
    const auto add = [](double t, double s) { return qbRefSaturate(s) + t * (1 - qbRefSaturate(s)); };
    return qbRefStore8(
        {add(target.r, source.r), add(target.g, source.g), add(target.b, source.b), add(target.a, source.a)});
}

// --- final pass -----------------------------------------------------------------------------------------

// Values of a surface, or the texels of its maps.
struct QbRefSurface {
    QbRef3 color;
    double diffuse = 0, luminosity = 0, glow = 0;
};

struct QbRefReflection {
    QbRef3 imageTexel; // of the reflection image, at the coordinates below
    double reflectivity = 0;
    std::optional<double> reflectivityTexel;
};

// From the vector from the mesh's vertex to the camera, as interpolated.
inline QbRef3 qbRefReflectedRay(QbRef3 view, QbRef3 normal) {
    const QbRef3 incident = -view;
    return incident - normal * (2 * qbRefDot(normal, incident));
}

// World normal of a reflecting surface with a normal map, of length 1. No negation here, and +binormal.
inline QbRef3 qbRefReflectionNormal(const QbRefAxes& worldAxes, QbRef3 texel, double bump) {
    const QbRef3 m = qbRefNormalize(qbRefMapNormal(texel, bump));
    return qbRefNormalize(worldAxes.tangent * m.x + worldAxes.binormal * m.y + worldAxes.normal * m.z);
}

// Coordinates in the reflection image, without and with a normal map; seam angle in radians.
inline QbRef2 qbRefReflectionUv(QbRef3 r, double seamAngle, bool hasNormalMap) {
    const double PI = 3.1415926; // as coarse as the shader's own
    if (!hasNormalMap)
        return {(PI - std::atan2(r.z, r.x) - seamAngle - 0.4 * PI) / (2 * PI), std::acos(r.y) / PI};
    double theta = std::acos(r.z / std::hypot(r.z, r.x));
    if (r.x < 0) theta = 2 * PI - theta;
    return {(theta - seamAngle) / (2 * PI), (1 - r.y) / 2};
}

// RGB may exceed 1; the target clamps it. `light` is the texel of the light buffer.
inline QbRef4 qbRefFinalOutput(const QbRefSurface& surface, const std::optional<QbRefReflection>& reflection,
                               QbRef3 ambient, QbRef4 light) {
    const QbRef3 l{light.r, light.g, light.b};
    QbRef3 result = surface.color * (ambient + l) * surface.diffuse;
    result = result + surface.color * surface.luminosity + l * light.a;
    if (reflection) {
        double amount = reflection->reflectivity;
        if (reflection->reflectivityTexel) amount = *reflection->reflectivityTexel + amount * 0.001;
        result = result + reflection->imageTexel * reflection->reflectivity * amount;
    }
    return {result.x, result.y, result.z, surface.glow};
}
