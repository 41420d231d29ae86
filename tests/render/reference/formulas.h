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

// The axes that the depth pass makes of a view-space normal and tangent.
QbRefAxes qbRefAxes(QbRef3 normal, QbRef3 tangent);

QbRefView qbRefLookAt(QbRef3 eye, QbRef3 target, QbRef3 up);
QbRef3 qbRefPointToView(const QbRefView& view, QbRef3 point);
QbRef3 qbRefDirectionToView(const QbRefView& view, QbRef3 direction);

// `n` of length 1 with n.z > -1. The results lie in 0..1 for normals up to about 77 degrees from positive z;
// beyond that the target clamps them.
QbRef2 qbRefEncodeNormal(QbRef3 n);
QbRef3 qbRefDecodeNormal(QbRef2 e);

// The normal that the depth pass encodes: of length 1, away from the camera. `texel` of the normal map is
// faded in by the bump value.
QbRef3 qbRefShadingNormal(const QbRefAxes& axes, std::optional<QbRef3> texel, double bump);

// Texel of the depth target, with or without depth of field.
QbRef4 qbRefDepthTexel(double viewZ, double farValue, bool hasFocus);

// Far corners in view space: left up, right up, left down, right down. `fovY` is the full angle in radians.
std::array<QbRef3, 4> qbRefFarCorners(double fovY, double aspect, double farValue);
// The ray through a point of the screen; u runs right and v down, both 0..1.
QbRef3 qbRefRay(const std::array<QbRef3, 4>& corners, double u, double v);
// View-space position of a stored depth.
QbRef3 qbRefPosition(double depth, double farValue, QbRef3 ray);

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

// What the light pass puts out, before blending, for a light and a position `p` in view space and a texel of
// the normal target: RGB diffuse, A specular.
QbRef4 qbRefLightOutput(const QbRefLight& light, QbRef3 p, QbRef4 normalTexel);
// One write to an 8-bit target, rounded, with the blending source + target * (1 - source).
QbRef4 qbRefAddColor(QbRef4 target, QbRef4 source);

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

// World axes and the vector from the mesh's vertex to the camera, as interpolated.
QbRef3 qbRefReflectedRay(QbRef3 view, QbRef3 normal);
// World normal of a reflecting surface with a normal map, of length 1. No negation here, and +binormal.
QbRef3 qbRefReflectionNormal(const QbRefAxes& worldAxes, QbRef3 texel, double bump);
// Coordinates in the reflection image, without and with a normal map; seam angle in radians.
QbRef2 qbRefReflectionUv(QbRef3 r, double seamAngle, bool hasNormalMap);

// RGB may exceed 1; the target clamps it. `light` is the texel of the light buffer.
QbRef4 qbRefFinalOutput(const QbRefSurface& surface, const std::optional<QbRefReflection>& reflection,
                        QbRef3 ambient, QbRef4 light);
