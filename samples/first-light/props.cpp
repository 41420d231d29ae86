#include "props.h"

#include "noise.h"
#include "palette.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double tau = 2.0 * std::numbers::pi;

// Facets in three tones, so that the body reads as cut although it shines.
QbExportMesh makeCore() {
    QbExportMesh mesh = qbShapeIcosphere(6, 1);
    qbMeshFlatNormals(mesh);
    for (size_t i = 0; i < mesh.triangles.size(); ++i) {
        mesh.triangles[i].material = static_cast<uint32_t>(3.0 * hash01(static_cast<int>(i), 61));
    }
    return mesh;
}

QbExportMesh makeRays() {
    QbExportMesh mesh;
    for (int i = 0; i < 10; ++i) {
        const double angle = tau * i / 10, tilt = 0.9 * std::sin(i * 2.4);
        const Vec way = unitVector({std::cos(angle), tilt, std::sin(angle)});
        const Vec side = unitVector(crossProduct(way, {0.3, 1, 0.2})) * 0.55;
        const Vec other = unitVector(crossProduct(way, side)) * 0.55;
        const Vec tip = way * (i % 2 == 0 ? 19.0 : 12.0);
        const Vec ring[4] = {way * 6 + side, way * 6 + other, way * 6 - side, way * 6 - other};
        for (int k = 0; k < 4; ++k) {
            addTriangle(mesh, tip, ring[(k + 1) % 4], ring[k]);
            addTriangle(mesh, tip, ring[k], ring[(k + 1) % 4]);
        }
    }
    return mesh;
}

// An uneven hexagon as its foot, a slanted top.
QbExportMesh makeStone() {
    const Vec foot[6] = {{24, 0, -11}, {27, 0, 5}, {12, 0, 15}, {-15, 0, 13}, {-27, 0, 2}, {-23, 0, -12}};
    const double heights[5] = {-6, 30, 74, 112, 124};
    const double widths[5] = {1.08, 1.0, 0.9, 0.8, 0.6};
    std::vector<std::vector<Vec>> rings(5);
    for (size_t k = 0; k < 5; ++k) {
        for (size_t i = 0; i < 6; ++i) {
            const double jitter = 0.95 + 0.1 * hash01(static_cast<int>(i), static_cast<int>(k), 3);
            const double slant = k == 4 ? foot[i].x * 0.35 : 0.0;
            const double width = widths[k] * jitter;
            rings[k].push_back({foot[i].x * width, heights[k] + slant, foot[i].z * width});
        }
    }
    QbExportMesh mesh = skinOverRings(rings);
    qbMeshScaleUv(mesh, 2, 2);
    qbMeshFlatNormals(mesh);
    return mesh;
}

// A spine and three branches, the foot in the origin.
QbExportMesh makeRune() {
    QbExportMesh mesh;
    const auto bar = [&mesh](Vec a, Vec b) { addBeam(mesh, a, b, 3.0); };
    bar({0, 0, 0}, {0, 70, 0});
    bar({0, 62, 0}, {9, 53, 0});
    bar({0, 46, 0}, {-9, 37, 0});
    bar({0, 30, 0}, {9, 21, 0});
    return mesh;
}

// Worn layers shine, and at dawn they show the sky.
Look slateLook() {
    return {.name = "Slate",
            .colour = {0.45f, 0.40f, 0.56f},
            .diffuse = 0.95f,
            .specularity = 0.3f,
            .glossiness = 0.25f,
            .image = "slate.jpg",
            .specularityMap = "slate_shine.jpg",
            .glossinessMap = "slate_gloss.jpg",
            .bump = "slate_normal.png",
            .reflection = "sky.jpg",
            .reflectivity = 0.42f};
}

} // namespace

void addSparkModels(Folder& folder) {
    const Look ember = {.name = "Ember",
                        .colour = gold,
                        .diffuse = 0.1f,
                        .luminosity = 0.95f,
                        .glow = 0.5f,
                        .shader = "ember.hlsl"};
    const Look bright = {.name = "Ember Bright",
                         .colour = {1.0f, 0.88f, 0.62f},
                         .diffuse = 0.1f,
                         .luminosity = 0.95f,
                         .glow = 0.4f};
    const Look deep = {
        .name = "Ember Deep", .colour = amber, .diffuse = 0.1f, .luminosity = 0.85f, .glow = 0.5f};
    addModel(folder, "spark", makeCore(), {ember, bright, deep});
    addModel(folder, "spark", makeRays(), {ember}, QB_EXPORT_X_TEXT, 2);
    addModel(folder, "aura", qbShapeIcosphere(1, 2),
             {{.name = "Aura", .colour = gold, .diffuse = 0, .luminosity = 0.3f, .shader = "aura.hlsl"}});
}

void addStoneModels(Folder& folder) {
    addModel(folder, "stone", makeStone(), {slateLook()});
    addModel(folder, "rune", makeRune(),
             {{.name = "Rune", .colour = coral, .diffuse = 0.1f, .luminosity = 1.0f, .glow = 0.7f}},
             QB_EXPORT_X_TEXT);
}

// Everything turns in whole rounds of eight seconds, the city's lap.
static void placeSparkBody(Shot& shot, const Path& path, const Spark& spark) {
    const auto heart = [spark](double s) {
        return spark.size * (0.85 + 0.4 * beatPulse(s, spark.period, 0.22));
    };
    QbExportMotion& core = place(shot, "spark").motion;
    movePosition(shot, core, path);
    moveRotation(shot, core, [](double s) { return Vec{s * 90, s * 45, 0}; });
    moveScale(shot, core, [&](double s) { return Vec{heart(s), heart(s), heart(s)}; });
    QbExportMotion& rays = place(shot, "spark", 2).motion;
    movePosition(shot, rays, path);
    moveRotation(shot, rays, [](double s) { return Vec{s * -45, 20 * std::sin(s * tau / 8), s * 45}; });
    moveScale(shot, rays, [&](double s) {
        const double reach = heart(s) * (0.55 + 0.65 * beatPulse(s, spark.period, 0.3));
        return Vec{reach, reach, reach};
    });
}

void placeSpark(Shot& shot, const Path& path, const Spark& spark, const Curve& power) {
    placeSparkBody(shot, path, spark);
    const double period = spark.period;
    QbExportMotion& aura = place(shot, "aura").motion;
    movePosition(shot, aura, path);
    moveScale(shot, aura, [&](double s) {
        return Vec{46, 46, 46} * (spark.size * (0.85 + 0.3 * beatPulse(s, period, 0.3)));
    });
    setParam(shot, "spark", "Pulse", [=](double s) { return beatPulse(s, period, 0.3); });
    setParam(shot, "spark", "Heat", [](double s) { return 0.6 + 0.2 * std::sin(s * tau / 4); });
    setParamColour(shot, "aura", {1.0f, 0.60f, 0.24f});
    setParam(shot, "aura", "Strength",
             [&](double s) { return spark.aura * power(s) * (0.7 + 0.3 * beatPulse(s, period, 0.35)); });
    addLamp(shot, "Spark Light", {1.0f, 0.72f, 0.42f}, spark.range, path,
            [&](double s) { return power(s) * (0.7 + 0.3 * beatPulse(s, period, 0.35)); });
}

void placeSparkBelow(Shot& shot, const Path& path, const Spark& spark) {
    placeSparkBody(
        shot,
        [&path](double s) {
            const Vec above = path(s);
            return Vec{above.x, -above.y, above.z};
        },
        spark);
}

Vec runePosition(Vec stone, double heading, double scale) {
    const double angle = heading * std::numbers::pi / 180.0;
    return stone + Vec{-14 * std::sin(angle), 26 * scale, -14 * std::cos(angle)};
}

void placeDrift(Shot& shot, const Drift& drift) {
    for (int i = 0; i < drift.count; ++i) {
        const auto chance = [i](int salt) { return hash01(i, salt, 2) * 2 - 1; };
        const Vec home = drift.middle + Vec{drift.spread.x * chance(1), drift.spread.y * chance(2),
                                            drift.spread.z * chance(3)};
        const double phase = hash01(i, 4, 2) * tau, pace = 0.35 + 0.45 * hash01(i, 5);
        const double rise = drift.rise * (0.6 + 0.8 * hash01(i, 6));
        QbExportMotion& motion = place(shot, drift.stem).motion;
        movePosition(shot, motion, [=](double s) {
            return home + Vec{8 * std::sin(s * pace + phase), rise * s, 7 * std::cos(s * pace * 0.8 + phase)};
        });
        moveRotation(shot, motion, [=](double s) {
            return Vec{s * 60 * pace + phase * 50, 25 * std::sin(s + phase), phase * 57};
        });
        const float size = static_cast<float>(drift.size * (0.6 + 0.9 * hash01(i, 7)));
        qbExportSetScale(motion, {size, size, size});
    }
}
