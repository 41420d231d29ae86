// The final pass on the CPU: a surface with its maps, the gathered light and its reflection.
#pragma once

#include "render/reference/geometry.h"

// Surface values, each with the texel of its map where the surface has one; a texel takes the place of the
// value.
struct QbRefSurface {
    QbRef3 color{1, 1, 1};
    double diffuse = 1;
    double luminosity = 0;
    double glow = 0;
    std::optional<QbRef3> colorTexel;
    std::optional<double> diffuseTexel;
    std::optional<double> luminosityTexel;
};

struct QbRefReflection {
    QbRef3 imageTexel; // of the reflection image, at the coordinates below
    double reflectivity = 0;
    std::optional<double> reflectivityTexel;
};

// World axes and the vector from the mesh's vertex to the camera, as interpolated; the result is not
// normalised unless both are.
QbRef3 qbRefReflectedRay(QbRef3 view, QbRef3 normal);

// World normal of a reflecting surface with a normal map, of length 1. No negation here, and +binormal.
QbRef3 qbRefReflectionNormal(const QbRefAxes& worldAxes, QbRef3 texel, double bump);

// Coordinates in the reflection image for surfaces without and with a normal map; seam angle in radians.
QbRef2 qbRefReflectionUv(QbRef3 r, double seamAngle);
QbRef2 qbRefReflectionUvWithNormalMap(QbRef3 r, double seamAngle);

// RGB may exceed 1; the target clamps it. `light` is the texel of the light buffer.
QbRef4 qbRefFinalOutput(const QbRefSurface& surface, const std::optional<QbRefReflection>& reflection,
                        QbRef3 ambient, QbRef4 light);
