// The valley after sunset: an airship over the lake, three bearers of lanterns on the bank, a fire that waits
// for them, the first snow.

#include "land.h"
#include "noise.h"
#include "palette.h"
#include "props.h"
#include "shots.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace {

constexpr double tau = 2.0 * std::numbers::pi;
constexpr double fireTime = 8; // when it is lit
constexpr double fireZ = 4720;
constexpr double left = -1;

Vec onGround(double x, double z, double above) {
    return {x, std::max(lakeLevel, valleyHeight(x, z)) + above, z};
}

const Vec& firePlace() {
    static const Vec place = onGround(bankX(fireZ, left, 46), fireZ, 0);
    return place;
}

// --- models -----------------------------------------------------------------------------------------------

QbExportMesh makeWater() {
    QbExportMesh mesh = qbShapePlane(2600, 6600, 13, 33);
    qbMeshTransform(mesh, {3840, static_cast<float>(lakeLevel), 5700});
    return mesh;
}

QbExportMesh makePine() {
    QbExportMesh mesh = qbShapeCylinder(7.5f, 0, 22, 5);
    qbMeshTransform(mesh, {0, 14, 0});
    QbExportMesh top = qbShapeCylinder(5.2f, 0, 20, 5);
    qbMeshTransform(top, {0, 27, 0});
    qbMeshAppend(mesh, top, 0);
    return mesh;
}

// All pines are one mesh, in groves on what is level and not too high.
QbExportMesh makeForest() {
    const QbExportMesh pine = makePine();
    QbExportMesh mesh;
    for (int i = 0; i < 5200; ++i) {
        const double z = 3300 + 3600 * hash01(i, 1), x = lakeMiddle(z) + 1900 * (hash01(i, 2) - 0.5);
        const double shore = shoreDistance(x, z);
        if (shore < 26 || smoothNoise(x / 190, z / 190, 7) < 0.50) {
            continue;
        }
        const double height = valleyHeight(x, z);
        const double fall = std::hypot(valleyHeight(x + 8, z) - height, valleyHeight(x, z + 8) - height) / 8;
        // Room for those who walk along the bank, and for the fire.
        const bool path = x < lakeMiddle(z) && shore < 70;
        if (height > 620 || fall > 0.8 || path || std::hypot(x - firePlace().x, z - firePlace().z) < 110) {
            continue;
        }
        QbExportMesh tree = pine;
        const float size = 0.7f + 0.8f * static_cast<float>(hash01(i, 3));
        qbMeshTransform(tree, toFloats({x, height - 3, z}), {0, static_cast<float>(90 * hash01(i, 4)), 0},
                        {size, size * (0.9f + 0.4f * static_cast<float>(hash01(i, 5))), size});
        qbMeshAppend(mesh, tree, 0);
    }
    return mesh;
}

// Boulders along the edge of the water.
QbExportMesh makeBoulders() {
    QbExportMesh mesh;
    for (int i = 0; i < 120; ++i) {
        const double z = 3350 + 1900 * hash01(i, 11), side = i % 2 == 0 ? left : -left;
        const double x = bankX(z, side, -14 + 30 * hash01(i, 12));
        QbExportMesh stone = qbShapeIcosphere(1, 0);
        for (QbExportVertex& vertex : stone.vertices) {
            const double dent = 0.75 + 0.5 * hash01(static_cast<int>(vertex.position[0] * 50) + i,
                                                    static_cast<int>(vertex.position[1] * 50), 13);
            for (float& part : vertex.position) {
                part *= static_cast<float>(dent);
            }
        }
        qbMeshFlatNormals(stone);
        const auto size = static_cast<float>(2.5 + 7 * hash01(i, 14) * hash01(i, 15));
        qbMeshTransform(stone, toFloats(onGround(x, z, 0)), {0, static_cast<float>(360 * hash01(i, 16)), 0},
                        {size * 1.3f, size * 0.8f, size});
        qbMeshAppend(mesh, stone, 0);
    }
    return mesh;
}

// Reeds in the shallows of both banks: blades that lean, seen from either side.
QbExportMesh makeReeds() {
    QbExportMesh mesh;
    for (int i = 0; i < 520; ++i) {
        const double z = 3350 + 1700 * hash01(i, 21), side = i % 3 == 0 ? -left : left;
        if (smoothNoise(z / 60, side, 22) < 0.42) {
            continue;
        }
        const Vec foot = onGround(bankX(z, side, -10 + 22 * hash01(i, 23)), z, -1);
        for (int k = 0; k < 5; ++k) {
            const double angle = tau * hash01(i, k, 24), tall = 9 + 9 * hash01(i, k, 25);
            const Vec root = foot + Vec{5 * (hash01(i, k, 26) - 0.5), 0, 5 * (hash01(i, k, 27) - 0.5)};
            const Vec tip = root + Vec{3.5 * std::cos(angle), tall, 3.5 * std::sin(angle)};
            addTriangle(mesh, root + Vec{-0.5, 0, 0}, tip, root + Vec{0.5, 0, 0});
        }
    }
    return mesh;
}

// Along +Z: a hull of gores on material 0 with a lit band on material 1, fins on 2, a cabin on 3.
QbExportMesh makeShip() {
    std::vector<std::vector<Vec>> rings;
    for (int k = 0; k <= 16; ++k) {
        const double way = k / 16.0, radius = 17 * std::sqrt(std::sin(way * tau / 2) * (1.15 - 0.3 * way));
        std::vector<Vec>& ring = rings.emplace_back();
        for (int i = 0; i < 14; ++i) {
            const double angle = -tau * i / 14;
            ring.push_back({radius * std::cos(angle), radius * std::sin(angle), -52 + 104 * (1 - way)});
        }
    }
    QbExportMesh mesh = skinOverRings(rings);
    for (int i = 0; i < 4; ++i) {
        QbExportMesh fin = qbShapeBox({1, 11, 17});
        qbMeshTransform(fin, {0, 11.5f, 0}, {-16, 0, 0});
        qbMeshTransform(fin, {0, 0, -40}, {0, 0, 45 + 90.0f * static_cast<float>(i)});
        qbMeshAppend(mesh, fin, 0);
    }
    QbExportMesh cabin = qbShapeBox({7, 6, 26});
    qbMeshTransform(cabin, {0, -20.5f, 6});
    qbMeshAppend(mesh, cabin, 2);
    QbExportMesh panes = qbShapeBox({7.3f, 2.4f, 23});
    qbMeshTransform(panes, {0, -20, 6});
    qbMeshAppend(mesh, panes, 1);
    return mesh;
}

// A figure in a cloak with a pole; the lantern at its end, on material 1, hangs 22 above the ground, 7 ahead.
QbExportMesh makeBearer() {
    QbExportMesh mesh = qbShapeCylinder(4.2f, 1.6f, 13, 8);
    qbMeshTransform(mesh, {0, 6.5f, 0});
    QbExportMesh head = qbShapeIcosphere(2.1f, 1);
    qbMeshTransform(head, {0, 14.4f, 0.4f});
    qbMeshAppend(mesh, head, 0);
    addBeam(mesh, {2.4, 6, 1.5}, {1.0, 26, 7}, 0.5);
    QbExportMesh light = qbShapeRevolve({{0, -2.4f}, {1.5f, -1.2f}, {1.7f, 1.0f}, {0, 2.2f}}, 7);
    qbMeshTransform(light, {1, 22, 7});
    qbMeshAppend(mesh, light, 1);
    return mesh;
}

QbExportMesh makeLogs() {
    QbExportMesh mesh;
    for (int i = 0; i < 7; ++i) {
        const double angle = tau * i / 7 + 0.4;
        addBeam(mesh, Vec{std::cos(angle), 0, std::sin(angle)} * 9.0,
                Vec{-1.5 * std::cos(angle), 13, -1.5 * std::sin(angle)}, 2.2);
    }
    return mesh;
}

// One tongue of fire, its foot in the origin.
QbExportMesh makeFlame() {
    QbExportMesh mesh = qbShapeRevolve({{0, 0}, {3.6f, 2.5f}, {3.2f, 6}, {1.5f, 12}, {0, 19}}, 6);
    qbMeshFlatNormals(mesh);
    return mesh;
}

void addValleyModels(Folder& folder) {
    addAirModels(folder);
    addModel(folder, "water", makeWater(), {{.name = "Water", .colour = slateBlue, .shader = "water.hlsl"}});
    addModel(folder, "forest", makeForest(),
             {{.name = "Needles", .colour = {0.10f, 0.13f, 0.13f}, .diffuse = 1}});
    addModel(folder, "boulders", makeBoulders(),
             {{.name = "Boulder",
               .colour = {0.30f, 0.28f, 0.30f},
               .diffuse = 1,
               .specularity = 0.25f,
               .glossiness = 0.25f}});
    addModel(folder, "reeds", makeReeds(),
             {{.name = "Reed", .colour = {0.34f, 0.28f, 0.17f}, .diffuse = 1, .bothSides = true}});
    const Look wood = {.name = "Wood", .colour = {0.20f, 0.13f, 0.10f}, .diffuse = 1};
    const Look glow = {
        .name = "Glow", .colour = {1.0f, 0.80f, 0.46f}, .diffuse = 0, .luminosity = 1, .glow = 0.55f};
    addModel(folder, "ship", makeShip(),
             {{.name = "Hull",
               .colour = {0.62f, 0.40f, 0.34f},
               .diffuse = 0.95f,
               .luminosity = 0.03f,
               .specularity = 0.3f,
               .glossiness = 0.24f},
              glow,
              wood});
    addModel(folder, "bearer", makeBearer(),
             {{.name = "Cloak", .colour = {0.22f, 0.16f, 0.20f}, .diffuse = 1}, glow});
    addModel(folder, "logs", makeLogs(), {wood});
    addModel(
        folder, "flame", makeFlame(),
        {{.name = "Flame", .colour = {1.0f, 0.58f, 0.20f}, .diffuse = 0, .luminosity = 1, .glow = 0.6f}});
    addModel(folder, "aura", qbShapeIcosphere(1, 2),
             {{.name = "Aura", .colour = lantern, .diffuse = 0, .shader = "aura.hlsl"}});
    addModel(folder, "beam", makeBeam(2, 60, 230),
             {{.name = "Beam", .colour = lantern, .diffuse = 0, .bothSides = true, .shader = "beam.hlsl"}});
}

// --- the ship ---------------------------------------------------------------------------------------------

Vec shipPlace(double s) {
    const double z = 3640 + 80 * s;
    return {lakeMiddle(z) + 70 + 120 * std::sin(1.0 - s * 0.24), lakeLevel + 112 + 9 * std::sin(s * 0.7), z};
}

void addShip(Shot& shot) {
    QbExportMotion& ship = place(shot, "ship").motion;
    movePosition(shot, ship, shipPlace);
    qbExportSetScale(ship, {1.3f, 1.3f, 1.3f});
    moveAim(shot, ship, shipPlace, [](double s) { return shipPlace(s + 0.8); });
    const Path lampPlace = [](double s) { return shipPlace(s) + Vec{0, -38, 0}; };
    addLamp(shot, "Ship Light", lantern, 260, lampPlace, constant(0.85));
    const Path spot = [](double s) {
        const Vec at = shipPlace(s + 2.0);
        return Vec{at.x + 150 * std::sin(s * 0.55 + 2.6), lakeLevel, at.z + 40 * std::cos(s * 0.4)};
    };
    addSpot(shot, "Ship Spot", {1.0f, 0.84f, 0.58f}, {.range = 460, .cone = 16, .edge = 9}, lampPlace, spot,
            constant(1));
    QbExportMotion& beam = place(shot, "beam").motion;
    movePosition(shot, beam, lampPlace);
    moveAim(shot, beam, lampPlace, spot);
    setParamColour(shot, "beam", {1.0f, 0.72f, 0.42f});
    setParam(shot, "beam", "Strength", constant(0.34));
}

// --- bearers and fire -------------------------------------------------------------------------------------

// They follow the bank and stand around the fire in the end.
Vec bearerPlace(int i, double s) {
    const double arrive = 8.5 + 1.2 * i;
    const double z = fireZ - 26 - 16 * i - 34 * std::max(0.0, arrive - s);
    return onGround(bankX(z, left, 30 + 7 * i), z, 0);
}

void addBearers(Shot& shot) {
    static constexpr std::array<const char*, 3> names = {"Bearer 1", "Bearer 2", "Bearer 3"};
    for (int i = 0; i < 3; ++i) {
        const Path walk = [i](double s) {
            return bearerPlace(i, s) + Vec{0, 0.5 * std::abs(std::sin(s * 5 + i)), 0};
        };
        const Path light = [i](double s) { return bearerPlace(i, s) + Vec{1, 22, 7}; };
        movePosition(shot, place(shot, "bearer").motion, walk);
        QbExportMotion& aura = place(shot, "aura").motion;
        movePosition(shot, aura, light);
        qbExportSetScale(aura, {26, 26, 26});
        addLamp(shot, names[static_cast<size_t>(i)], lantern, 150, light,
                [i](double s) { return 0.82 + 0.12 * std::sin(s * 7 + i * 2) * std::sin(s * 3.1); });
    }
}

double burning(double s) {
    return std::max(0.0, overshoot(fireTime, fireTime + 1.4, s));
}

double flicker(double s, int salt) {
    return 0.8 + 0.35 * (smoothNoise(s * 5, salt, 17) - 0.5) + 0.25 * (smoothNoise(s * 11, salt, 18) - 0.5);
}

void addFireLight(Shot& shot) {
    addLamp(
        shot, "Fire", flame, 330,
        [](double s) {
            return firePlace() + Vec{3 * std::sin(s * 9), 20 + 3 * std::sin(s * 7.1), 0};
        },
        [](double s) { return burning(s) * flicker(s, 1); });
}

// Silent until the fire is lit, then a burst that its limit ends, then a trickle.
void addEmbers(Shot& shot) {
    const Path mouth = [](double) { return firePlace() + Vec{0, 14, 0}; };
    addEmitter(shot,
               {.name = "Burst",
                .image = "ember.jpg",
                .size = 3.4f,
                .box = {12, 6, 12},
                .velocity = {10, 74, 4},
                .gravity = {3, -7, 0},
                .spread = 0.7f,
                .rate = 420,
                .seconds = 3.2f,
                .from = fireTime,
                .limit = 420},
               mouth);
    addEmitter(shot,
               {.name = "Trickle",
                .image = "ember.jpg",
                .size = 2.8f,
                .box = {12, 6, 12},
                .velocity = {8, 40, 3},
                .gravity = {3, 2, 0},
                .spread = 0.5f,
                .rate = 45,
                .seconds = 3.6f,
                .from = fireTime + 1.5},
               mouth);
}

void addFire(Shot& shot) {
    const Vec fire = firePlace();
    placeAt(shot, "logs", fire);
    for (int i = 0; i < 5; ++i) {
        const double angle = tau * i / 5;
        QbExportMotion& tongue = place(shot, "flame").motion;
        qbExportSetPosition(tongue, toFloats(fire + Vec{3.6 * std::cos(angle), 2, 3.6 * std::sin(angle)}));
        moveRotation(shot, tongue, [=](double s) {
            return Vec{s * 40 + i * 70, 7 * std::sin(s * 6 + i), 7 * std::cos(s * 5 + i)};
        });
        moveScale(shot, tongue, [=](double s) {
            const double size = std::max(0.001, burning(s));
            return Vec{size, size * flicker(s * 1.3, 20 + i) * 1.2, size};
        });
    }
    addEmbers(shot);
}

// It falls where the eye is about to come.
void addSnow(Shot& shot, const Path& eye) {
    addEmitter(shot,
               {.name = "Snow",
                .image = "flake.jpg",
                .size = 2.3f,
                .box = {620, 30, 560},
                .velocity = {-16, -36, -14},
                .gravity = {2, -1, 0},
                .spread = 0.5f,
                .rate = 190,
                .seconds = 5},
               [eye](double s) {
                   return eye(s) + Vec{20, 115, 430};
               });
}

} // namespace

void makeValley(const std::string& directory) {
    Folder folder{directory, {}};
    addValleyModels(folder);
    saveModels(folder);

    Shot shot = openShot(folder, "valley", valleySeconds, slateBlue);
    // Low from the right and ahead, where the sky is bright.
    addDistantLight(shot, "Last Light", {1.0f, 0.55f, 0.36f}, 58 + 180, 17, constant(0.95));
    setAmbient(shot, constantVec({0.115, 0.125, 0.215}));
    const Path eye = [](double s) {
        const double z = 3260 + 84 * s - 0.9 * s * s;
        return Vec{lakeMiddle(z) + 60 - 170 * easeBetween(4, 16, s),
                   lakeLevel + 34 + 40 * easeBetween(1, 9, s), z};
    };
    const Path target = [&eye](double s) {
        const Vec ahead = eye(s) + Vec{lakeMiddle(eye(s).z + 500) - eye(s).x, 34, 500};
        return ahead + (firePlace() + Vec{70, 46, 0} - ahead) * (0.80 * easeBetween(6, 15, s));
    };
    addShip(shot); // its lamp is the second light, which the water mirrors
    placeTerrain(shot, "valley.terrain", {.image = "valley.terrain_texture.jpg"});
    placeAir(shot, eye, {.radius = 4400, .late = 0, .haze = 1});
    placeAt(shot, "water", {0, 0, 0});
    const Vec fire = firePlace() + Vec{0, 20, 0};
    setParam(shot, "water", "FireX", constant(fire.x));
    setParam(shot, "water", "FireY", constant(fire.y));
    setParam(shot, "water", "FireZ", constant(fire.z));
    setParam(shot, "water", "Fire", [](double s) { return burning(s) * flicker(s, 1); });
    placeAt(shot, "forest", {0, 0, 0});
    placeAt(shot, "boulders", {0, 0, 0});
    placeAt(shot, "reeds", {0, 0, 0});
    addFireLight(shot);
    addBearers(shot);
    addFire(shot);
    addSnow(shot, eye);
    QbExportMotion& aura = place(shot, "aura").motion;
    movePosition(shot, aura, [](double s) { return shipPlace(s) + Vec{0, -28, 8}; });
    qbExportSetScale(aura, {44, 44, 44});
    setParamColour(shot, "aura", {1.0f, 0.58f, 0.24f});
    setParam(shot, "aura", "Strength", constant(0.42));
    film(shot, eye, target, constant(60), [](double s) { return 2.0 * std::sin(s * 0.4); });
    setGlow(shot, constant(0.22), constant(9));
    saveShot(shot);
}
