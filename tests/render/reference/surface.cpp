#include "render/reference/surface.h"

namespace {
// As coarse as the shader's own.
constexpr double PI = 3.1415926;

QbRef3 reflectedLight(const QbRefReflection& reflection) {
    double amount = reflection.reflectivity;
    if (reflection.reflectivityTexel)
        amount = *reflection.reflectivityTexel + reflection.reflectivity * 0.001;
    return reflection.imageTexel * reflection.reflectivity * amount;
}
} // namespace

QbRef3 qbRefReflectedRay(QbRef3 view, QbRef3 normal) {
    const QbRef3 incident = -view;
    return incident - normal * (2 * qbRefDot(normal, incident));
}

QbRef3 qbRefReflectionNormal(const QbRefAxes& worldAxes, QbRef3 texel, double bump) {
    const QbRef3 m = qbRefNormalize(qbRefMapNormal(texel, bump));
    return qbRefNormalize(worldAxes.tangent * m.x + worldAxes.binormal * m.y + worldAxes.normal * m.z);
}

QbRef2 qbRefReflectionUv(QbRef3 r, double seamAngle) {
    const double u = (PI - std::atan2(r.z, r.x) - seamAngle - 0.4 * PI) / (2 * PI);
    return {u, std::acos(r.y) / PI};
}

QbRef2 qbRefReflectionUvWithNormalMap(QbRef3 r, double seamAngle) {
    double theta = std::acos(r.z / std::hypot(r.z, r.x));
    if (r.x < 0) theta = 2 * PI - theta;
    return {(theta - seamAngle) / (2 * PI), (1 - r.y) / 2};
}

QbRef4 qbRefFinalOutput(const QbRefSurface& surface, const std::optional<QbRefReflection>& reflection,
                        QbRef3 ambient, QbRef4 light) {
    const QbRef3 color = surface.colorTexel.value_or(surface.color);
    const double diffuse = surface.diffuseTexel.value_or(surface.diffuse);
    const double luminosity = surface.luminosityTexel.value_or(surface.luminosity);
    const QbRef3 l{light.r, light.g, light.b};
    QbRef3 result = color * (ambient + l) * diffuse + color * luminosity + l * light.a;
    if (reflection) result = result + reflectedLight(*reflection);
    return {result.x, result.y, result.z, surface.glow};
}
