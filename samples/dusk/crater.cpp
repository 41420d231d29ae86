// The crater at the blue hour: terraces, a crown of sparks over its floor, a light that sweeps round.

#include "land.h"
#include "noise.h"
#include "palette.h"
#include "props.h"
#include "shots.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double tau = 2.0 * std::numbers::pi;
constexpr Vec middle = {craterMiddle, craterFloor, craterMiddle};

Vec around(double turns, double radius, double height) {
    return {craterMiddle + radius * std::sin(turns * tau), height,
            craterMiddle + radius * std::cos(turns * tau)};
}

Vec onTerrace(double turns, double radius, double above) {
    const Vec place = around(turns, radius, 0);
    return {place.x, terraceAt(place.x, place.z).height + above, place.z};
}

// --- models -----------------------------------------------------------------------------------------------

// A ring with eight spikes on one bone, which turns it: particles leave an animated mesh point by point.
QbExportMesh makeCrown() {
    QbExportMesh mesh = qbShapeTorus(120, 7, 36, 5);
    for (int i = 0; i < 8; ++i) {
        QbExportMesh spike = qbShapeRevolve(
            {{7, 0}, {6.2f, 12}, {5.4f, 24}, {4.4f, 36}, {3.2f, 48}, {2, 60}, {0.8f, 72}, {0, 82}}, 4);
        qbMeshTransform(spike, {0, 0, 118}, {20, 0, 0});
        qbMeshTransform(spike, {0, 0, 0}, {0, 45.0f * static_cast<float>(i), 0});
        qbMeshAppend(mesh, spike, 0);
    }
    QbExportBone& bone = mesh.bones.emplace_back();
    bone.name = "hub";
    for (uint32_t i = 0; i < mesh.vertices.size(); ++i) {
        bone.weights.push_back({i, 1});
    }
    for (uint32_t tick = 0; tick <= static_cast<uint32_t>(craterSeconds) * 30; tick += 10) {
        bone.keys.push_back({.tick = tick, .rotation = {0, 6.0f * static_cast<float>(tick), 0}});
    }
    return mesh;
}

QbExportMesh makeTower() {
    QbExportMesh mesh = qbShapeRevolve(
        {{0, -60}, {95, -60}, {70, 40}, {34, 120}, {26, 240}, {26, 240}, {44, 262}, {0, 262}}, 10);
    qbMeshFlatNormals(mesh);
    return mesh;
}

// Lanterns along the kerbs of the terraces.
QbExportMesh makeLanterns() {
    QbExportMesh mesh;
    for (int i = 0; i < 2600 && mesh.triangles.size() < 20 * 330; ++i) {
        const double turns = hash01(i, 1), radius = 520 + 1700 * std::sqrt(hash01(i, 2));
        const Vec place = onTerrace(turns, radius, 0);
        const double level = place.y / terraceStep - std::floor(place.y / terraceStep);
        if (level > 0.06 || terraceAt(place.x, place.z).edge > 0.06 ||
            smoothNoise(turns * 40, radius / 300, 9) < 0.42) {
            continue;
        }
        QbExportMesh lamp = qbShapeIcosphere(4.5f, 0);
        qbMeshTransform(lamp, toFloats(place + Vec{0, 8, 0}));
        qbMeshAppend(mesh, lamp, 0);
    }
    return mesh;
}

void addCraterModels(Folder& folder) {
    addAirModels(folder);
    addModel(folder, "crown", makeCrown(),
             {{.name = "Crown",
               .colour = {0.50f, 0.80f, 1.0f},
               .diffuse = 0.2f,
               .luminosity = 0.9f,
               .glow = 0.5f}});
    addModel(folder, "tower", makeTower(),
             {{.name = "Tower",
               .colour = {0.34f, 0.35f, 0.42f},
               .diffuse = 1,
               .specularity = 0.4f,
               .glossiness = 0.25f}});
    addModel(folder, "lanterns", makeLanterns(),
             {{.name = "Lantern", .colour = lantern, .diffuse = 0, .luminosity = 1, .glow = 0.5f}});
    addModel(folder, "aura", qbShapeIcosphere(1, 2),
             {{.name = "Aura", .colour = slateBlue, .diffuse = 0, .shader = "aura.hlsl"}});
    addModel(folder, "beam", makeBeam(8, 250, 1250),
             {{.name = "Beam", .colour = snow, .diffuse = 0, .bothSides = true, .shader = "beam.hlsl"}});
}

// --- the scene --------------------------------------------------------------------------------------------

Vec crownPlace(double s) {
    return middle + Vec{70 * std::sin(s * 1.6), 400 + 34 * std::sin(s * 1.1), 70 * std::cos(s * 1.6)};
}

// Sparks leave the ring and stay where they were born: it draws a trail as it tilts and turns.
void addCrown(Shot& shot) {
    const Path tilt = [](double s) { return Vec{s * 25, 17 * std::sin(s * 0.9), 12 * std::cos(s * 0.7)}; };
    QbExportObject& crown = place(shot, "crown");
    movePosition(shot, crown.motion, crownPlace);
    moveRotation(shot, crown.motion, tilt);
    addEmitter(shot, {.name = crown.name, .image = "spark.jpg", .size = 16});
    QbExportMotion& aura = place(shot, "aura").motion;
    movePosition(shot, aura, crownPlace);
    qbExportSetScale(aura, {330, 330, 330});
    setParamColour(shot, "aura", {0.30f, 0.55f, 1.0f});
    setParam(shot, "aura", "Focus", constant(2.5));
    setParam(shot, "aura", "Strength", [](double s) { return 0.26 + 0.06 * std::sin(s * 3); });
}

void addSweep(Shot& shot) {
    addLamp(shot, "Crown Light", {0.44f, 0.70f, 1.0f}, 1050, crownPlace, constant(0.8));
    const Path spot = [](double s) { return onTerrace(0.82 + 0.036 * s, 1250 + 250 * std::sin(s * 0.8), 0); };
    addSpot(shot, "Sweep", {1.0f, 0.92f, 0.74f}, {.range = 2300, .cone = 13, .edge = 8}, crownPlace, spot,
            constant(1));
    QbExportMotion& beam = place(shot, "beam").motion;
    movePosition(shot, beam, crownPlace);
    moveAim(shot, beam, crownPlace, spot);
    setParamColour(shot, "beam", {1.0f, 0.90f, 0.70f});
    setParam(shot, "beam", "Strength", constant(0.26));
}

} // namespace

void makeCrater(const std::string& directory) {
    Folder folder{directory, {}};
    addCraterModels(folder);
    saveModels(folder);

    Shot shot = openShot(folder, "crater", craterSeconds, deepBlue);
    addDistantLight(shot, "Afterglow", {0.52f, 0.58f, 1.0f}, 75 + 180, 32, constant(0.55));
    setAmbient(shot, constantVec({0.11, 0.14, 0.25}));
    const Path eye = [](double s) {
        const double in = easeBetween(-2, 12, s);
        return around(0.54 + 0.014 * s, 2020 - 620 * in, 1900 - 720 * in);
    };
    const Path target = [](double s) { return middle + Vec{0, 330 + 90 * easeBetween(5, 12, s), 0}; };
    addSweep(shot);
    placeTerrain(shot, "crater.terrain",
                 {.image = "crater.terrain_texture.jpg",
                  .luminosityMap = "crater_light.jpg",
                  .specularityMap = "crater_shine.jpg",
                  .glossiness = 0.26f});
    placeAir(shot, eye, {.radius = 6200, .late = 1, .haze = 0.55});
    placeAt(shot, "tower", middle);
    placeAt(shot, "lanterns", {0, 0, 0});
    addCrown(shot);
    addEmitter(shot,
               {.name = "Fireflies",
                .image = "ember.jpg",
                .size = 9,
                .box = {1900, 20, 1900},
                .velocity = {6, 46, 4},
                .gravity = {0, 3, 0},
                .spread = 0.8f,
                .rate = 30,
                .seconds = 5},
               constantVec(middle + Vec{0, 40, 0}));
    film(shot, eye, target, constant(60), [](double s) { return -2.0 * std::sin(s * 0.4); });
    setGlow(shot, constant(0.24), constant(9));
    saveShot(shot);
}
