// Night: the spark, the ring of stones, the city. One set of models for all three.

#include "noise.h"
#include "palette.h"
#include "props.h"
#include "shots.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double tau = 2.0 * std::numbers::pi;
constexpr double ringRadius = 220.0;
constexpr int stoneCount = 12;

// The city repeats after a block, so that the flight can go round.
constexpr double block = 480.0;
constexpr double lap = 8.0;
constexpr int postPairs = 42;

constexpr double postPlace(int pair) {
    return -80.0 + pair * block / 12;
}

Vec onRing(double turns, double radius, double y) {
    return {radius * std::sin(turns * tau), y, radius * std::cos(turns * tau)};
}

// --- models -----------------------------------------------------------------------------------

// It rolls a little; flat enough to stand on.
QbExportMesh makeGround() {
    const auto height = [](float x, float z) {
        return static_cast<float>(7.0 * smoothNoise(x / 52.0, z / 52.0, 31) - 5.0);
    };
    QbExportMesh mesh = qbShapeHeightField(2600, 2600, 52, 52, height);
    qbMeshScaleUv(mesh, 40, 40);
    return mesh;
}

// Sparse far points, more of them near the zenith.
QbExportMesh makeStars() {
    QbExportMesh mesh;
    for (int i = 0; i < 240; ++i) {
        const double up = 0.06 + 0.9 * hash01(i, 71), angle = tau * hash01(i, 72);
        const double flat = std::sqrt(1.0 - up * up);
        const Vec way = {flat * std::cos(angle), up, flat * std::sin(angle)};
        const double size = 2.0 + 6.0 * hash01(i, 73) * hash01(i, 74);
        const Vec side = unitVector(crossProduct(way, {0, 1, 0})) * size;
        const Vec high = unitVector(crossProduct(way, side)) * size;
        const Vec at = way * 2400.0;
        addQuad(mesh, at + high, at + side, at - high, at - side);
    }
    return mesh;
}

// Faces -Z; the picture fills it.
QbExportMesh makeMoon() {
    constexpr int corners = 40;
    QbExportMesh mesh;
    const auto rim = [](int i) { return Vec{std::sin(tau * i / corners), std::cos(tau * i / corners), 0}; };
    for (int i = 0; i < corners; ++i) {
        addTriangle(mesh, {0, 0, 0}, rim(i), rim(i + 1));
    }
    for (QbExportVertex& vertex : mesh.vertices) {
        vertex.uv = {0.5f + 0.5f * vertex.position[0], 0.5f - 0.5f * vertex.position[1]};
    }
    return mesh;
}

// A sheet of mist; its rim fades by u and v.
QbExportMesh makeMist() {
    QbExportMesh mesh = qbShapePlane(1500, 1500, 2, 2);
    qbMeshTransform(mesh, {0, 6, 0});
    return mesh;
}

// A shaft of light from the top of each stone, numbered as they are struck.
QbExportMesh makeShafts() {
    QbExportMesh mesh;
    for (int i = 0; i < stoneCount; ++i) {
        QbExportMesh shaft = makeBeam(3, 24, 360);
        for (QbExportVertex& vertex : shaft.vertices) {
            vertex.uv[0] += static_cast<float>(i);
        }
        qbMeshTransform(shaft, toFloats(onRing(static_cast<double>(i) / stoneCount, ringRadius, 96)),
                        {-90, 0, 0});
        qbMeshAppend(mesh, shaft, 0);
    }
    return mesh;
}

QbExportMesh makeBlock(QbVec3 size, float columns, float rows) {
    QbExportMesh mesh = qbShapeBox(size);
    qbMeshScaleUv(mesh, columns / 16, rows / 16);
    qbMeshTransform(mesh, {0, size[1] / 2, 0});
    return mesh;
}

// A tower of shrinking blocks with a lit crown on material 1.
QbExportMesh makeStepTower() {
    QbExportMesh mesh = makeBlock({58, 150, 58}, 8, 20);
    QbExportMesh middle = makeBlock({42, 80, 42}, 6, 11);
    qbMeshTransform(middle, {0, 150, 0});
    qbMeshAppend(mesh, middle, 0);
    QbExportMesh head = makeBlock({26, 46, 26}, 4, 6);
    qbMeshTransform(head, {0, 230, 0});
    qbMeshAppend(mesh, head, 0);
    QbExportMesh crown = qbShapeBox({30, 3, 30});
    qbMeshTransform(crown, {0, 277, 0});
    qbMeshAppend(mesh, crown, 1);
    QbExportMesh mast = qbShapeCylinder(1.5f, 0.4f, 60, 5);
    qbMeshTransform(mast, {0, 306, 0});
    qbMeshAppend(mesh, mast, 1);
    addMirrored(mesh);
    return mesh;
}

// Four legs, rings of beams and a brace on each face: 240 high.
QbExportMesh makeLattice() {
    QbExportMesh mesh;
    constexpr int levels = 6;
    const auto corner = [](int i, int level) {
        const double half = 26.0 - 3.2 * level;
        return Vec{(i == 0 || i == 3 ? -half : half), level * 40.0, (i < 2 ? -half : half)};
    };
    for (int level = 0; level < levels; ++level) {
        for (int i = 0; i < 4; ++i) {
            const int next = (i + 1) % 4;
            addBeam(mesh, corner(i, level), corner(i, level + 1), 3.4);
            addBeam(mesh, corner(i, level + 1), corner(next, level + 1), 2.2);
            addBeam(mesh, corner((i + level) % 2 == 0 ? i : next, level),
                    corner((i + level) % 2 == 0 ? next : i, level + 1), 1.6);
        }
    }
    QbExportMesh lamp = qbShapeIcosphere(7, 1);
    qbMeshTransform(lamp, {0, 250, 0});
    qbMeshFlatNormals(lamp);
    qbMeshAppend(mesh, lamp, 1);
    addMirrored(mesh);
    return mesh;
}

QbExportMesh makeStreet() {
    QbExportMesh mesh = qbShapePlane(1200, 2400, 20, 40);
    qbMeshScaleUv(mesh, 10, 60);
    return mesh;
}

// Half of it shows above the street, half as its picture below.
QbExportMesh makeStreak() {
    QbExportMesh mesh = qbShapeBox({2.2f, 1.4f, 34});
    qbMeshTransform(mesh, {0, 3.5f, 0});
    addMirrored(mesh);
    return mesh;
}

QbExportMesh makeHouse() {
    QbExportMesh mesh = makeBlock({64, 120, 60}, 9, 16);
    addMirrored(mesh);
    return mesh;
}

QbExportMesh makeDiamond(float radius, float height) {
    QbExportMesh mesh = qbShapeRevolve({{0, -height / 2}, {radius, 0}, {0, height / 2}}, 4);
    qbMeshFlatNormals(mesh);
    return mesh;
}

void addSkyModels(Folder& folder) {
    addModel(folder, "dome", makeDome(2600),
             {{.name = "Sky",
               .colour = indigo,
               .diffuse = 0,
               .luminosity = 1.0f,
               .image = "clouds.jpg",
               .shader = "nightsky.hlsl"}});
    addModel(folder, "stars", makeStars(),
             {{.name = "Stars",
               .colour = cream,
               .diffuse = 0,
               .luminosity = 0.95f,
               .glow = 0.6f,
               .bothSides = true}});
    addModel(folder, "moon", makeMoon(),
             {{.name = "Moon",
               .colour = cream,
               .diffuse = 0,
               .luminosity = 0.95f,
               .glow = 0.28f,
               .image = "moon.jpg"}});
    addModel(
        folder, "moonlight", qbShapeIcosphere(1, 2),
        {{.name = "Moonlight", .colour = violet, .diffuse = 0, .luminosity = 0.2f, .shader = "aura.hlsl"}});
}

void addCityModels(Folder& folder) {
    // Panes shine, walls do not; what is lit stands in a map of its own.
    const Look windows = {.name = "Windows",
                          .colour = indigo,
                          .diffuse = 0.9f,
                          .luminosity = 0.3f,
                          .specularity = 0.4f,
                          .glossiness = 0.32f,
                          .glow = 0.26f,
                          .image = "windows.jpg",
                          .luminosityMap = "windows_light.jpg",
                          .specularityMap = "windows_shine.jpg",
                          .reflection = "around.jpg",
                          .reflectivity = 0.3f};
    const Look crown = {.name = "Crown", .colour = gold, .diffuse = 0.1f, .luminosity = 1.0f, .glow = 0.5f};
    addModel(folder, "tower", makeStepTower(), {windows, crown});
    Look plain = windows;
    plain.reflection = nullptr;
    addModel(folder, "block", makeHouse(), {plain});
    addModel(folder, "lattice", makeLattice(),
             {{.name = "Steel",
               .colour = rose,
               .diffuse = 1.0f,
               .luminosity = 0.24f,
               .specularity = 0.6f,
               .glossiness = 0.3f,
               .glow = 0.05f},
              crown});
    addModel(folder, "beam", makeBeam(3, 22, 100),
             {{.name = "Beam", .colour = cream, .diffuse = 0, .bothSides = true, .shader = "beam.hlsl"}});
    addModel(folder, "street", makeStreet(),
             {{.name = "Street", .colour = night, .image = "street.jpg", .shader = "street.hlsl"}});
    addModel(folder, "bar", qbShapeBox({2.4f, 14, 2.4f}),
             {{.name = "Bar", .colour = amber, .diffuse = 0.1f, .luminosity = 0.95f, .glow = 0.32f}});
    addModel(folder, "streak", makeStreak(),
             {{.name = "Streak", .colour = coral, .diffuse = 0.0f, .luminosity = 1.0f, .glow = 0.5f}});
}

void addNightModels(Folder& folder) {
    addSparkModels(folder);
    addStoneModels(folder);
    addModel(folder, "mote", makeDiamond(1.1f, 3.2f),
             {{.name = "Mote", .colour = cream, .diffuse = 0.3f, .luminosity = 0.75f, .glow = 0.5f}});
    addModel(folder, "ground", makeGround(),
             {{.name = "Ground",
               .colour = {0.30f, 0.26f, 0.50f},
               .specularity = 0.4f,
               .glossiness = 0.3f,
               .image = "soil.jpg",
               .specularityMap = "soil_shine.jpg",
               .bump = "soil_normal.png"}});
    addModel(folder, "mist", makeMist(),
             {{.name = "Mist", .colour = violet, .bothSides = true, .shader = "mist.hlsl"}});
    addModel(folder, "shafts", makeShafts(),
             {{.name = "Shafts", .colour = coral, .bothSides = true, .shader = "beam.hlsl"}});
    addSkyModels(folder);
    addCityModels(folder);
}

// --- what the scenes share --------------------------------------------------------------------------

void addStones(Shot& shot) {
    for (int i = 0; i < stoneCount; ++i) {
        const double turns = static_cast<double>(i) / stoneCount;
        const double size = 0.85 + 0.35 * hash01(i, 8);
        // Half a degree off keeps headings clear of straight angles.
        placeAt(shot, "stone", onRing(turns, ringRadius, 0), {turns * 360.0 + 0.5, 0, 3 * hash01(i, 9) - 1.5},
                {1, size, 1});
    }
}

// Where the moon stands, as seen from the middle of the ring.
constexpr double moonHeading = 22.0;
constexpr double moonRise = 15.0;

Vec towardsMoon(double distance) {
    const double heading = moonHeading * tau / 360, rise = moonRise * tau / 360;
    return Vec{std::sin(heading) * std::cos(rise), std::sin(rise), std::cos(heading) * std::cos(rise)} *
           distance;
}

void addNightSky(Shot& shot, double moonSize, const Curve& moonlight) {
    placeAt(shot, "dome", {0, 0, 0});
    placeAt(shot, "stars", {0, 0, 0});
    placeAt(shot, "moon", towardsMoon(2450), {moonHeading, -moonRise, 0}, {moonSize, moonSize, 1});
    placeAt(shot, "moonlight", towardsMoon(2380), {0, 0, 0}, Vec{5.5, 5.5, 5.5} * moonSize);
    setParamColour(shot, "moonlight", {0.36f, 0.34f, 0.86f});
    setParam(shot, "moonlight", "Focus", constant(4));
    setParam(shot, "moonlight", "Strength", [&](double s) { return 0.8 * moonlight(s); });
    addDistantLight(shot, "Moon", {0.44f, 0.48f, 0.96f}, moonHeading + 180, moonRise, moonlight);
}

void addMist(Shot& shot, const Curve& density, const Curve& warmth) {
    placeAt(shot, "mist", {0, 0, 0});
    setParam(shot, "mist", "Density", density);
    setParam(shot, "mist", "Warmth", warmth);
}

// --- the scenes -------------------------------------------------------------------------------------

Vec sparkAlone(double s) {
    // Wakes near the ground, wanders in a widening spiral and ends before the first stone, at heading 0.
    const double turns = -0.95 * (1.0 - easeBetween(1.5, 12.0, s));
    const double radius = 150.0 * easeBetween(2.0, 12.0, s);
    const double rise = 16 + 20 * easeBetween(0.5, 6.0, s) + 5 * std::sin(s * 1.7);
    return onRing(turns, radius, rise);
}

void makeSparkShot(Folder& folder) {
    Shot shot = openShot(folder, "spark", 12, abyss);
    addNightSky(shot, 130, [](double s) { return 0.12 + 0.48 * easeBetween(2, 11, s); });
    setAmbient(shot, constantVec({0.030, 0.026, 0.075}));
    placeAt(shot, "ground", {0, 0, 0});
    placeSpark(shot, sparkAlone, {.period = 2.0, .size = 1.0, .range = 300, .aura = 0.42},
               [](double s) { return 0.3 + 0.7 * easeBetween(1, 9, s); });
    addMist(
        shot, [](double s) { return 0.35 + 0.35 * easeBetween(2, 10, s); }, constant(0));
    addStones(shot);
    placeDrift(shot, {"mote", 56, {0, 44, 20}, {130, 40, 100}, 1.5, 0.8});
    const Path eye =
        throughKeys({{0, {26, 20, -132}}, {4, {4, 22, -104}}, {8, {-52, 34, -120}}, {12, {-74, 52, -176}}});
    const Path target = [](double s) {
        const Vec spark = sparkAlone(std::max(0.0, s - 0.35));
        return spark * 0.75 + Vec{0, 6 + 14 * easeBetween(5, 12, s), 0};
    };
    film(
        shot, eye, target, [](double s) { return 60 + 4 * easeBetween(9, 12, s); },
        [](double s) { return 2.5 * std::sin(s * 0.5); });
    setGlow(
        shot, [](double s) { return 0.12 + 0.16 * beatPulse(s, 2.0, 0.4); },
        [](double s) { return 9 + 3 * beatPulse(s, 2.0, 0.4); });
    saveShot(shot);
}

constexpr double strikeTime(int stone) {
    return stone * 1.0;
}

Vec sparkOnRing(double s) {
    const double turns = s / stoneCount;
    return onRing(turns, 150 - 12 * beatPulse(s, 1.0, 0.3), 42 + 16 * std::sin(s * tau / 4));
}

void addRunes(Shot& shot) {
    for (int i = 0; i < stoneCount; ++i) {
        const double turns = static_cast<double>(i) / stoneCount;
        const double strike = strikeTime(i);
        QbExportMotion& motion = place(shot, "rune").motion;
        const Vec stone = onRing(turns, ringRadius, 0);
        qbExportSetPosition(motion, toFloats(runePosition(stone, turns * 360.0 + 0.5, 1)));
        qbExportSetRotation(motion, toFloats({turns * 360.0 + 0.5, 0, 0}));
        moveScale(shot, motion, [strike](double s) {
            const double grown = std::max(0.001, overshoot(strike, strike + 0.45, s));
            const double all = s > 11.0 ? 0.9 * beatPulse(s, 0.25, 0.12) : 0.0;
            const double width = (0.6 + 0.4 * grown) * (1.0 + 0.25 * beatPulse(s, 0.5, 0.15) + all);
            return Vec{width, grown, grown < 0.01 ? 0.001 : 1.0};
        });
    }
}

// Each struck stone sends a shaft of light up and a flash over the ground before it.
void addRuneLights(Shot& shot) {
    placeAt(shot, "shafts", {0, 0, 0});
    setParamColour(shot, "shafts", {1.0f, 0.36f, 0.34f});
    setParam(shot, "shafts", "Stagger", constant(strikeTime(1)));
    setParam(shot, "shafts", "Lead", constant(0));
    setParam(shot, "shafts", "Strength",
             [](double s) { return 0.34 + 0.22 * beatPulse(s, 0.5, 0.2) + 0.4 * easeBetween(10.8, 12, s); });
    // One lamp serves all stones, one after the other.
    const auto struck = [](double s) { return std::clamp(static_cast<int>(s), 0, stoneCount - 1); };
    addSpot(
        shot, "Rune", coral, {.range = 200, .cone = 44, .edge = 24},
        [struck](double s) { return onRing(struck(s) / 12.0, ringRadius - 14, 84); },
        [struck](double s) { return onRing(struck(s) / 12.0, ringRadius - 110, 0); },
        [struck](double s) {
            const double since = s - strikeTime(struck(s));
            return std::min(1.0, since / 0.08) * (1 - easeBetween(0.4, 1.0, since));
        });
}

void makeStonesShot(Folder& folder) {
    Shot shot = openShot(folder, "stones", 12, abyss);
    addNightSky(shot, 150, constant(0.62));
    // The ring's own glow: it grows with every stone.
    setAmbient(shot, [](double s) {
        const double lit = easeBetween(0, 12, s) * (0.75 + 0.25 * beatPulse(s, 0.5, 0.2));
        return Vec{0.045 + 0.24 * lit, 0.038 + 0.07 * lit, 0.10 + 0.08 * lit};
    });
    placeAt(shot, "ground", {0, 0, 0});
    placeSpark(shot, sparkOnRing, {.period = 1.0, .size = 1.1, .range = 210, .aura = 0.5}, constant(1));
    addMist(shot, constant(0.6), [](double s) { return 0.7 * easeBetween(2, 12, s); });
    addStones(shot);
    addRunes(shot);
    placeDrift(shot, {"mote", 40, {0, 60, 0}, {190, 55, 190}, 2.0, 1.0});
    addRuneLights(shot);
    const Path eye = [](double s) {
        const double turns = 0.54 + s * 0.042; // leaves the ring between two stones
        const double out = easeBetween(1.0, 12.0, s);
        return onRing(turns, 40 + 420 * out, 34 + 200 * out * out);
    };
    const Path target = [](double s) {
        const Vec spark = sparkOnRing(std::max(0.0, s - 0.5)) + Vec{0, 14, 0};
        const double home = easeBetween(2.0, 9.0, s);
        return spark * (1.0 - home) + Vec{0, 34 + 34 * easeBetween(7.0, 12.0, s), 0} * home;
    };
    film(shot, eye, target, constant(60), [](double s) { return -4.0 * std::sin(s * 0.45); });
    setGlow(
        shot, [](double s) { return 0.12 + 0.22 * beatPulse(s, 1.0, 0.3); },
        [](double s) { return 8 + 5 * beatPulse(s, 1.0, 0.3); });
    saveShot(shot);
}

// --- the city ---------------------------------------------------------------------------------------

void addTowers(Shot& shot) {
    for (int i = 0; i < 22; ++i) {
        const int kind = i % 6;
        for (const double side : {-1.0, 1.0}) {
            const int seed = kind * 2 + (side > 0 ? 1 : 0);
            const double z = -160.0 + i * block / 6 + (side > 0 ? 26 : 0);
            const double height = 0.7 + 0.9 * hash01(seed, 41);
            if (kind == (side > 0 ? 1 : 4)) {
                placeAt(shot, "lattice", {side * 96, 0, z});
            } else {
                placeAt(shot, hash01(seed, 42) > 0.45 ? "tower" : "block",
                        {side * (104 + 14 * hash01(seed, 43)), 0, z}, {0, 0, 0}, {1, height, 1});
            }
            if (i % 3 == 0) {
                placeAt(shot, "tower", {side * (205 + 30 * hash01(seed, 44)), 0, z + 30}, {45.3, 0, 0},
                        {1.3, 1.0 + 0.7 * hash01(seed, 45), 1.3});
            }
        }
    }
}

void addBars(Shot& shot) {
    for (int i = 0; i < postPairs; ++i) {
        for (const double side : {-1.0, 1.0}) {
            const double z = postPlace(i);
            QbExportMotion& motion = place(shot, "bar").motion;
            qbExportSetPosition(motion, toFloats({side * 52, 0, z}));
            const double weight = 0.5 + 1.0 * hash01(i % 12, side > 0 ? 1 : 0, 46);
            const double period = i % 3 == 0 ? 1.0 : 0.5;
            moveScale(shot, motion, [=](double s) {
                const double level =
                    0.9 + weight * 3.4 * beatPulse(s + (i % 2 == 0 ? 0.0 : 0.25), period, 0.17);
                return Vec{1, level, 1}; // the street cuts it in half
            });
        }
    }
}

// On the right they come, on the left they overtake.
void addTraffic(Shot& shot) {
    for (int i = 0; i < 25; ++i) {
        const double home = -720.0 + i * block / 4;
        for (const double side : {-1.0, 1.0}) {
            const double pace = side > 0 ? -1.0 : 2.0; // blocks a lap
            movePosition(shot, place(shot, "streak").motion, [=](double s) {
                return Vec{side * 24, 0, home + pace * block * s / lap};
            });
        }
    }
}

Vec cityEye(double s) {
    return {16 * std::sin(s * tau / lap), 40 + 13 * std::sin(s * tau / lap + 1.2), block * s / lap};
}

// The lamps of the kerbs that are near: one that falls behind the eye comes up again far ahead.
void addStreetLamps(Shot& shot) {
    static constexpr const char* names[3] = {"Kerb 1", "Kerb 2", "Kerb 3"};
    constexpr double reach = block, spacing = reach / 3;
    for (int i = 0; i < 3; ++i) {
        const auto ahead = [i](double s) {
            const double way = i * spacing + 20 - cityEye(s).z;
            return way - std::floor(way / reach) * reach;
        };
        addLamp(
            shot, names[i], i % 3 == 0 ? coral : amber, 78,
            [=](double s) {
                return Vec{i % 2 == 0 ? -56.0 : 56.0, 30, cityEye(s).z + ahead(s)};
            },
            [=](double s) {
                return easeBetween(reach, reach - 90, ahead(s)) * easeBetween(0, 40, ahead(s)) *
                       (0.55 + 0.45 * beatPulse(s, 0.5, 0.2));
            });
    }
}

// The street runs into a glow that keeps its distance.
void addFarGlow(Shot& shot) {
    QbExportMotion& glow = place(shot, "moonlight").motion;
    movePosition(shot, glow, [](double s) { return Vec{0, 60, cityEye(s).z + 960}; });
    qbExportSetScale(glow, {330, 330, 60});
    setParamColour(shot, "moonlight", {1.0f, 0.46f, 0.30f});
    setParam(shot, "moonlight", "Focus", constant(2.5));
    setParam(shot, "moonlight", "Strength", [](double s) { return 0.30 + 0.12 * beatPulse(s, 0.5, 0.2); });
}

// Two beams from far roofs that sweep over the fronts; the shaft and the light go together.
void addSearchLights(Shot& shot) {
    for (const double side : {-1.0, 1.0}) {
        const Path lamp = [side](double s) { return Vec{side * 70, 150, cityEye(s).z + 400}; };
        const Path spot = [side](double s) {
            return Vec{side * (-20 + 95 * std::sin(s * tau / 4 + side)), 0,
                       cityEye(s).z + 370 + 40 * std::cos(s * tau / 8 + side)};
        };
        addSpot(shot, side < 0 ? "Search left" : "Search right", {0.62f, 0.60f, 1.0f},
                {.range = 170, .cone = 22, .edge = 10}, lamp, spot, constant(1));
        QbExportMotion& shaft = place(shot, "beam").motion;
        movePosition(shot, shaft, lamp);
        moveAim(shot, shaft, lamp, spot);
        qbExportSetScale(shaft, {2.2f, 2.2f, 2.1f});
    }
    setParamColour(shot, "beam", {0.55f, 0.50f, 1.0f});
    setParam(shot, "beam", "Strength", [](double s) { return 0.30 + 0.15 * beatPulse(s, 1.0, 0.3); });
}

void makeCityShot(Folder& folder) {
    Shot shot = openShot(folder, "city", lap, night);
    addDistantLight(shot, "Moon", {0.44f, 0.48f, 0.96f}, 160, 40, constant(0.5));
    setAmbient(shot, constantVec({0.06, 0.045, 0.13}));
    const Spark spark = {.period = 0.5, .size = 0.8, .range = 72, .aura = 0.5};
    const Path sparkWay = [](double s) {
        return cityEye(s) + Vec{18 * std::sin(s * tau / 4), 10 + 8 * std::sin(s * tau / 2), 165};
    };
    placeSpark(shot, sparkWay, spark, constant(1));
    placeSparkBelow(shot, sparkWay, spark);
    addFarGlow(shot);
    // A near sky that travels along: it swallows the far towers, so that their end never shows and the lap
    // has no seam.
    for (const char* sky : {"dome", "stars"}) {
        QbExportMotion& motion = place(shot, sky).motion;
        movePosition(shot, motion, [](double s) { return Vec{0, 0, cityEye(s).z}; });
        qbExportSetScale(motion, {0.4f, 0.4f, 0.4f});
    }
    setParam(shot, "dome", "Ground", constant(0));
    placeAt(shot, "street", {0, 0, 900});
    setParam(shot, "street", "Pulse", [](double s) { return beatPulse(s, 0.5, 0.2); });
    addTowers(shot);
    addBars(shot);
    addTraffic(shot);
    addStreetLamps(shot);
    addSearchLights(shot);
    film(
        shot, cityEye,
        [](double s) {
            return cityEye(s) + Vec{-14 * std::sin(s * tau / lap), 22, 200};
        },
        constant(64), [](double s) { return -7.0 * std::cos(s * tau / lap); });
    setGlow(
        shot, [](double s) { return 0.14 + 0.16 * beatPulse(s, 0.5, 0.2); },
        [](double s) { return 8 + 5 * beatPulse(s, 0.5, 0.2); });
    saveShot(shot);
}

} // namespace

void makeNight(const std::string& directory) {
    Folder folder{directory, {}};
    addNightModels(folder);
    saveModels(folder);
    makeSparkShot(folder);
    makeStonesShot(folder);
    makeCityShot(folder);
}
