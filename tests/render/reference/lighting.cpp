#include "render/reference/lighting.h"

#include "render/reference/geometry.h"

namespace {
double cosDegrees(double angle) {
    return std::cos(angle * 0.017453292519943295);
}

QbRef3 lightVector(const QbRefLight& light, QbRef3 p) {
    return light.kind == QbRefLightKind::Distant ? light.direction : qbRefNormalize(p - light.position);
}

double addChannel(double target, double source) {
    source = qbRefSaturate(source);
    return qbRefStore8(source + target * (1 - source));
}
} // namespace

bool qbRefIsLit(double depth) {
    return depth <= 0.9999;
}

double qbRefAttenuation(const QbRefLight& light, QbRef3 p) {
    if (light.kind == QbRefLightKind::Distant) return 1;
    const QbRef3 away = p - light.position;
    const double byDistance = 1 - qbRefSaturate(qbRefDot(away, away) / (light.radius * light.radius));
    if (light.kind == QbRefLightKind::Point) return byDistance;
    const double inner = cosDegrees(light.innerCone);
    const double outer = cosDegrees(light.outerCone);
    const double rho = qbRefDot(qbRefNormalize(away), light.direction);
    return byDistance * qbRefSaturate((rho - outer) / (inner - outer));
}

QbRef4 qbRefLightOutput(const QbRefLight& light, QbRef3 p, QbRef4 normalTexel) {
    const QbRef3 n = qbRefDecodeNormal({normalTexel.r, normalTexel.g});
    const QbRef3 l = lightVector(light, p);
    const double nl = qbRefSaturate(qbRefDot(n, l)) * qbRefAttenuation(light, p);
    const QbRef3 h = qbRefNormalize(l + qbRefNormalize(p));
    const double power = std::pow(normalTexel.a * 10, 3);
    const double specular = nl * normalTexel.b * std::pow(qbRefSaturate(qbRefDot(n, h)), power);
    return {light.color.x * nl, light.color.y * nl, light.color.z * nl, specular};
}

QbRef4 qbRefAddColor(QbRef4 target, QbRef4 source) {
    return {addChannel(target.r, source.r), addChannel(target.g, source.g), addChannel(target.b, source.b),
            addChannel(target.a, source.a)};
}
