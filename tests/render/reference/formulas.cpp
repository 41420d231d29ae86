#include "render/reference/formulas.h"

// --- geometry -------------------------------------------------------------------------------------------

static constexpr double SCALE = 0.8;

// In focus at 360; the blur grows to its most at 80 and at 1000.
static double blurAmount(double depth) {
    const double range = depth < 360 ? 360 - 80 : 1000 - 360;
    return std::min((depth - 360) / range, 1.0) * 0.5 + 0.5;
}

QbRefAxes qbRefAxes(QbRef3 normal, QbRef3 tangent) {
    const QbRef3 n = qbRefNormalize(normal), t = qbRefNormalize(tangent);
    return {n, t, qbRefNormalize(qbRefCross(n, t))};
}

QbRefView qbRefLookAt(QbRef3 eye, QbRef3 target, QbRef3 up) {
    const QbRef3 forward = qbRefNormalize(target - eye);
    const QbRef3 right = qbRefNormalize(qbRefCross(up, forward));
    return {eye, right, qbRefCross(forward, right), forward};
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

static QbRef3 mapNormal(std::optional<QbRef3> texel, double bump) {
    const QbRef3 flat{0.5, 0.5, 1};
    return (flat + (texel.value_or(flat) - flat) * (bump / 4)) * 2 - QbRef3{1, 1, 1};
}

QbRef3 qbRefShadingNormal(const QbRefAxes& axes, std::optional<QbRef3> texel, double bump) {
    const QbRef3 m = mapNormal(texel, bump);
    return -qbRefNormalize(axes.normal * m.z + axes.tangent * m.x - axes.binormal * m.y);
}

QbRef4 qbRefDepthTexel(double viewZ, double farValue, bool hasFocus) {
    return {viewZ / farValue, hasFocus ? blurAmount(viewZ) : 0, 0, 0};
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

// --- lights ---------------------------------------------------------------------------------------------

static double cosDegrees(double angle) {
    return std::cos(angle * 0.017453292519943295);
}

static double attenuation(const QbRefLight& light, QbRef3 p) {
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
    QbRef3 l = light.direction;
    if (light.kind != QbRefLightKind::Distant) l = qbRefNormalize(p - light.position);
    const double nl = qbRefSaturate(qbRefDot(n, l)) * attenuation(light, p);
    const QbRef3 h = qbRefNormalize(l + qbRefNormalize(p));
    const double power = std::pow(normalTexel.a * 10, 3);
    const double specular = nl * normalTexel.b * std::pow(qbRefSaturate(qbRefDot(n, h)), power);
    return {light.color.x * nl, light.color.y * nl, light.color.z * nl, specular};
}

QbRef4 qbRefAddColor(QbRef4 target, QbRef4 source) {
    const auto add = [](double t, double s) { return qbRefSaturate(s) + t * (1 - qbRefSaturate(s)); };
    return qbRefStore8(
        {add(target.r, source.r), add(target.g, source.g), add(target.b, source.b), add(target.a, source.a)});
}

// --- final pass -----------------------------------------------------------------------------------------

// As coarse as the shader's own.
static constexpr double PI = 3.1415926;

static QbRef3 reflectedLight(const QbRefReflection& reflection) {
    double amount = reflection.reflectivity;
    if (reflection.reflectivityTexel)
        amount = *reflection.reflectivityTexel + reflection.reflectivity * 0.001;
    return reflection.imageTexel * reflection.reflectivity * amount;
}

QbRef3 qbRefReflectedRay(QbRef3 view, QbRef3 normal) {
    const QbRef3 incident = -view;
    return incident - normal * (2 * qbRefDot(normal, incident));
}

QbRef3 qbRefReflectionNormal(const QbRefAxes& worldAxes, QbRef3 texel, double bump) {
    const QbRef3 m = qbRefNormalize(mapNormal(texel, bump));
    return qbRefNormalize(worldAxes.tangent * m.x + worldAxes.binormal * m.y + worldAxes.normal * m.z);
}

QbRef2 qbRefReflectionUv(QbRef3 r, double seamAngle, bool hasNormalMap) {
    if (!hasNormalMap)
        return {(PI - std::atan2(r.z, r.x) - seamAngle - 0.4 * PI) / (2 * PI), std::acos(r.y) / PI};
    double theta = std::acos(r.z / std::hypot(r.z, r.x));
    if (r.x < 0) theta = 2 * PI - theta;
    return {(theta - seamAngle) / (2 * PI), (1 - r.y) / 2};
}

QbRef4 qbRefFinalOutput(const QbRefSurface& surface, const std::optional<QbRefReflection>& reflection,
                        QbRef3 ambient, QbRef4 light) {
    const QbRef3 l{light.r, light.g, light.b};
    QbRef3 result = surface.color * (ambient + l) * surface.diffuse;
    result = result + surface.color * surface.luminosity + l * light.a;
    if (reflection) result = result + reflectedLight(*reflection);
    return {result.x, result.y, result.z, surface.glow};
}
