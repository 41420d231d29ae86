// One light of the light pass on the CPU, and how the passes of the light buffer add up.
#pragma once

#include "render/reference/vector.h"

enum class QbRefLightKind { Distant, Point, Spot };

// Vectors in view space. A kind reads only the fields that it needs.
struct QbRefLight {
    QbRefLightKind kind = QbRefLightKind::Distant;
    QbRef3 color{1, 1, 1};
    QbRef3 direction{0, 0, 1}; // of length 1, away from the light; distant and spot
    QbRef3 position;           // point and spot
    double radius = 10;        // where the light ends; point and spot
    double innerCone = 30;     // degrees from the axis to full light; spot, below outerCone
    double outerCone = 60;     // degrees from the axis to none; spot
};

// Depth as stored in R of the depth target; beyond the threshold lies background, which gets no light.
bool qbRefIsLit(double depth);

// 0..1 at the view-space position `p`; 1 for a distant light.
double qbRefAttenuation(const QbRefLight& light, QbRef3 p);

// What the light pass puts out, before blending, for a texel of the normal target: RGB diffuse, A specular.
QbRef4 qbRefLightOutput(const QbRefLight& light, QbRef3 p, QbRef4 normalTexel);

// One write to an 8-bit target with the blending of EMT_TRANSPARENT_ADD_COLOR: source + target * (1 -
// source).
QbRef4 qbRefAddColor(QbRef4 target, QbRef4 source);
