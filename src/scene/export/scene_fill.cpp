#include "scene/export/quab_writer.h"

#include <algorithm>
#include <cmath>
#include <numbers>

size_t qbExportFrameCount(const QbExportScene& scene) {
    return static_cast<size_t>(std::max<int64_t>(0, int64_t{scene.frameEnd} - scene.frameStart + 1));
}

float qbExportRadians(double degrees) {
    return static_cast<float>(degrees * std::numbers::pi / 180);
}

QbExportSurfaceParam& qbExportParam(QbExportSurface& surface, const std::string& property) {
    for (QbExportSurfaceParam& param : surface.params)
        if (param.property == property) return param;
    surface.params.emplace_back().property = property;
    return surface.params.back();
}

void qbExportSetColor(QbExportSurface& surface, const std::string& property, std::array<float, 3> rgb) {
    qbExportParam(surface, property).color = rgb;
}

void qbExportSetFloat(QbExportSurface& surface, const std::string& property, float value) {
    qbExportParam(surface, property).number = value;
}

void qbExportSetInt(QbExportSurface& surface, const std::string& property, int32_t value) {
    qbExportParam(surface, property).integer = value;
}

void qbExportSetImage(QbExportSurface& surface, const std::string& property, const std::string& image,
                      int32_t projection) {
    QbExportSurfaceParam& param = qbExportParam(surface, property);
    param.textureImage = image;
    param.textureProjection = projection;
}

void qbExportSetPosition(QbExportMotion& motion, std::array<float, 3> position) {
    std::copy(position.begin(), position.end(), motion.position);
}

void qbExportSetRotation(QbExportMotion& motion, std::array<float, 3> degrees) {
    std::transform(degrees.begin(), degrees.end(), motion.rotation, qbExportRadians);
}

void qbExportSetScale(QbExportMotion& motion, std::array<float, 3> factors) {
    std::copy(factors.begin(), factors.end(), motion.scale);
}

std::array<float, 3> qbExportAim(std::array<float, 3> from, std::array<float, 3> to, float bank) {
    double x = double{to[0]} - from[0], y = double{to[1]} - from[1], z = double{to[2]} - from[2];
    double degrees = 180 / std::numbers::pi;
    return {static_cast<float>(std::atan2(x, z) * degrees),
            static_cast<float>(-std::atan2(y, std::hypot(x, z)) * degrees), bank};
}
