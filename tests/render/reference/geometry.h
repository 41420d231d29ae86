// The geometry buffer on the CPU: what the depth pass stores for a point of a surface, and what the light
// pass makes of it again. Values are exact; the rounding of the targets is the caller's.
#pragma once

#include "render/reference/vector.h"

#include <array>
#include <optional>

// View-space axes at a point of a surface, each of length 1.
struct QbRefAxes {
    QbRef3 normal;
    QbRef3 tangent;
    QbRef3 binormal;
};

// Distances of the depth-of-field blur, in view-space units; the defaults are those of the shader.
struct QbRefFocus {
    double nearDistance = 80;
    double focusDistance = 360;
    double farDistance = 1000;
    double farClamp = 1;
};

// A camera without roll or scale: world vectors of length 1, left-handed.
struct QbRefView {
    QbRef3 eye;
    QbRef3 right{1, 0, 0};
    QbRef3 up{0, 1, 0};
    QbRef3 forward{0, 0, 1};
};

// Both targets where no surface was drawn.
constexpr QbRef4 QB_REF_CLEAR_NORMAL{0, 0.5, 0, 0};
constexpr QbRef4 QB_REF_CLEAR_DEPTH{1, 0, 0, 0};

// The axes that the depth pass makes of a view-space normal and tangent; `sign` is the tangent's fourth
// component.
QbRefAxes qbRefAxes(QbRef3 normal, QbRef3 tangent, double sign);

QbRefView qbRefLookAt(QbRef3 eye, QbRef3 target, QbRef3 up);
QbRef3 qbRefPointToView(const QbRefView& view, QbRef3 point);
QbRef3 qbRefDirectionToView(const QbRefView& view, QbRef3 direction);

// `n` of length 1 with n.z > -1. Both results lie in 0..1 for normals up to about 77 degrees from positive z;
// beyond that the target clamps them.
QbRef2 qbRefEncodeNormal(QbRef3 n);
QbRef3 qbRefDecodeNormal(QbRef2 e);

// A fetched normal-map texel, faded in by the bump value and expanded to -1..1; not normalised. No texel: (0,
// 0, 1).
QbRef3 qbRefMapNormal(std::optional<QbRef3> texel, double bump);

// The normal that the depth pass encodes: of length 1, away from the camera.
QbRef3 qbRefShadingNormal(const QbRefAxes& axes, std::optional<QbRef3> texel, double bump);

// Texel of the normal target and, with `focus`, of the depth target.
QbRef4 qbRefNormalTexel(QbRef3 shadingNormal, double specular, double glossiness);
QbRef4 qbRefDepthTexel(double viewZ, double farValue, std::optional<QbRefFocus> focus);

// Far corners in view space: left up, right up, left down, right down. `fovY` is the full angle in radians.
std::array<QbRef3, 4> qbRefFarCorners(double fovY, double aspect, double farValue);

// The ray through a point of the screen; u runs right and v down, both 0..1.
QbRef3 qbRefRay(const std::array<QbRef3, 4>& corners, double u, double v);

// View-space position of a stored depth.
QbRef3 qbRefPosition(double depth, double farValue, QbRef3 ray);
