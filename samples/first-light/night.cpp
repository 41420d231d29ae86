// Night: the spark, the ring of stones, the city. One set of models for all three.

#include "noise.h"
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

// Low facets that roll a little; flat enough to stand on.
QbExportMesh makeGround() {
    const auto height = [](float x, float z) {
        return static_cast<float>(7.0 * smoothNoise(x / 52.0, z / 52.0, 31) - 5.0);
    };
    QbExportMesh mesh = qbShapeHeightField(1500, 1500, 40, 40, height);
    qbMeshFlatNormals(mesh);
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
    return mesh;
}

QbExportMesh makeStreet() {
    QbExportMesh mesh = qbShapePlane(1200, 2400, 20, 40);
    qbMeshScaleUv(mesh, 10, 60);
    return mesh;
}

// The posts along both kerbs are one mesh: only what stands on them moves.
QbExportMesh makePosts() {
    QbExportMesh mesh;
    for (int i = 0; i < postPairs; ++i) {
        for (const float side : {-1.0f, 1.0f}) {
            QbExportMesh post = makeBlock({2.4f, 16, 2.4f}, 1, 1);
            qbMeshTransform(post, {side * 52, 0, static_cast<float>(postPlace(i))});
            qbMeshAppend(mesh, post, 0);
        }
    }
    return mesh;
}

QbExportMesh makeDiamond(float radius, float height) {
    QbExportMesh mesh = qbShapeRevolve({{0, -height / 2}, {radius, 0}, {0, height / 2}}, 4);
    qbMeshFlatNormals(mesh);
    return mesh;
}

void addNightModels(Folder& folder) {
    addSparkModels(folder);
    addStoneModels(folder);
    addModel(folder, "mote", makeDiamond(1.1f, 3.2f),
             {{.name = "Mote", .colour = cream, .diffuse = 0.8f, .luminosity = 0.45f, .glow = 0.3f}});
    addModel(
        folder, "ground", makeGround(),
        {{.name = "Ground", .colour = {0.30f, 0.26f, 0.50f}, .specularity = 0.07f, .glossiness = 0.22f}});
    addModel(folder, "stars", makeStars(),
             {{.name = "Stars",
               .colour = cream,
               .diffuse = 0,
               .luminosity = 0.9f,
               .glow = 0.4f,
               .bothSides = true}});
    addModel(folder, "dome", makeDome(2600),
             {{.name = "Sky", .colour = indigo, .diffuse = 0, .luminosity = 1.0f, .image = "sky.jpg"}});
    const Look windows = {.name = "Windows",
                          .colour = indigo,
                          .diffuse = 0.8f,
                          .luminosity = 0.55f,
                          .specularity = 0.15f,
                          .glossiness = 0.3f,
                          .glow = 0.15f,
                          .image = "windows.jpg",
                          .reflection = "sky.jpg",
                          .reflectivity = 0.12f};
    const Look crown = {.name = "Crown", .colour = gold, .diffuse = 0.1f, .luminosity = 1.0f, .glow = 0.8f};
    addModel(folder, "tower", makeStepTower(), {windows, crown});
    addModel(folder, "block", makeBlock({64, 120, 60}, 9, 16), {windows});
    addModel(folder, "lattice", makeLattice(),
             {{.name = "Steel",
               .colour = rose,
               .diffuse = 1.0f,
               .luminosity = 0.16f,
               .specularity = 0.2f,
               .glossiness = 0.3f},
              crown});
    addModel(folder, "street", makeStreet(),
             {{.name = "Street",
               .colour = night,
               .diffuse = 0.7f,
               .luminosity = 0.75f,
               .glow = 0.1f,
               .image = "street.jpg"}});
    addModel(folder, "posts", makePosts(),
             {{.name = "Posts", .colour = violet, .diffuse = 0.8f, .luminosity = 0.1f}});
    addModel(folder, "bar", makeBlock({3.6f, 7, 3.6f}, 1, 1),
             {{.name = "Bar", .colour = amber, .diffuse = 0.1f, .luminosity = 1.0f, .glow = 0.7f}});
    addModel(folder, "streak", qbShapeBox({2.2f, 1.4f, 34}),
             {{.name = "Streak", .colour = coral, .diffuse = 0.0f, .luminosity = 1.0f, .glow = 0.8f}});
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
    addDistantLight(shot, "Moon", {0.26f, 0.24f, 0.85f}, 205, 38,
                    [](double s) { return 0.08 + 0.45 * easeBetween(3, 11, s); });
    setAmbient(shot, {0.010f, 0.008f, 0.030f});
    placeAt(shot, "ground", {0, 0, 0});
    placeSpark(shot, sparkAlone, 2.0, 1.0, 420, [](double s) { return 0.22 + 0.78 * easeBetween(2, 10, s); });
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
        shot, [](double s) { return 0.55 + 0.35 * beatPulse(s, 2.0, 0.4); }, constant(18));
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

void makeStonesShot(Folder& folder) {
    Shot shot = openShot(folder, "stones", 12, abyss);
    addDistantLight(shot, "Moon", {0.26f, 0.24f, 0.85f}, 205, 38, constant(0.6));
    setAmbient(shot, {0.014f, 0.010f, 0.040f});
    placeAt(shot, "dome", {0, 0, 0});
    placeAt(shot, "stars", {0, 0, 0});
    placeAt(shot, "ground", {0, 0, 0});
    placeSpark(shot, sparkOnRing, 1.0, 1.1, 420, constant(1));
    addStones(shot);
    addRunes(shot);
    placeDrift(shot, {"mote", 40, {0, 60, 0}, {190, 55, 190}, 2.0, 1.0});
    // The ring's own glow: it grows with every stone.
    addLamp(
        shot, "Ring", coral, 520,
        [](double) {
            return Vec{0, 70, 0};
        },
        [](double s) { return 0.75 * easeBetween(0, 12, s) * (0.7 + 0.3 * beatPulse(s, 0.5, 0.2)); });
    for (int i = 0; i < 4; ++i) {
        const double strike = strikeTime(i * 3);
        static constexpr const char* names[4] = {"Rune 1", "Rune 2", "Rune 3", "Rune 4"};
        addLamp(
            shot, names[i], rose, 260, [i](double) { return onRing(i * 0.25, ringRadius - 60, 50); },
            [strike](double s) { return s < strike ? 0.0 : 0.3 + 0.6 * std::exp(-(s - strike) / 0.5); });
    }
    const Path eye = [](double s) {
        const double turns = 0.5 + 0.02 + s * 0.042;
        const double out = easeBetween(1.0, 12.0, s);
        return onRing(turns, 40 + 420 * out, 34 + 200 * out * out);
    };
    const Path target = [](double s) {
        const Vec spark = sparkOnRing(std::max(0.0, s - 0.5)) + Vec{0, 14, 0};
        const double home = easeBetween(2.0, 9.0, s);
        return spark * (1.0 - home) + Vec{0, 34, 0} * home;
    };
    film(shot, eye, target, constant(60), [](double s) { return -4.0 * std::sin(s * 0.45); });
    setGlow(
        shot, [](double s) { return 0.5 + 0.5 * beatPulse(s, 1.0, 0.3); }, constant(16));
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
            if (i % 2 == 0) {
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
            qbExportSetPosition(motion, toFloats({side * 52, 16, z}));
            const double weight = 0.5 + 1.0 * hash01(i % 12, side > 0 ? 1 : 0, 46);
            const double period = i % 3 == 0 ? 1.0 : 0.5;
            moveScale(shot, motion, [=](double s) {
                const double level =
                    0.5 + weight * 3.2 * beatPulse(s + (i % 2 == 0 ? 0.0 : 0.25), period, 0.17);
                return Vec{1, level, 1};
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
                return Vec{side * 24, 3.5, home + pace * block * s / lap};
            });
        }
    }
}

Vec cityEye(double s) {
    return {16 * std::sin(s * tau / lap), 40 + 13 * std::sin(s * tau / lap + 1.2), block * s / lap};
}

void makeCityShot(Folder& folder) {
    Shot shot = openShot(folder, "city", lap, night);
    addDistantLight(shot, "Moon", {0.36f, 0.34f, 0.85f}, 160, 40, constant(0.5));
    setAmbient(shot, {0.02f, 0.015f, 0.05f});
    // A near sky that travels along: it swallows the far towers, so that their end never shows and the lap
    // has no seam.
    for (const char* sky : {"dome", "stars"}) {
        QbExportMotion& motion = place(shot, sky).motion;
        movePosition(shot, motion, [](double s) { return Vec{0, 0, cityEye(s).z}; });
        qbExportSetScale(motion, {0.4f, 0.4f, 0.4f});
    }
    placeAt(shot, "street", {0, 0, 900});
    placeAt(shot, "posts", {0, 0, 0});
    addTowers(shot);
    addBars(shot);
    addTraffic(shot);
    addLamp(
        shot, "Ahead", coral, 700,
        [](double s) {
            return cityEye(s) + Vec{0, 50, 260};
        },
        [](double s) { return 0.55 + 0.45 * beatPulse(s, 0.5, 0.2); });
    addLamp(
        shot, "Beside", gold, 420,
        [](double s) {
            return cityEye(s) + Vec{0, 10, 60};
        },
        [](double s) { return 0.3 + 0.3 * beatPulse(s + 0.5, 1.0, 0.2); });
    addLamp(
        shot, "Far", rose, 900,
        [](double s) {
            return cityEye(s) + Vec{0, 120, 620};
        },
        constant(1));
    placeSpark(
        shot,
        [](double s) {
            return cityEye(s) + Vec{18 * std::sin(s * tau / 4), 10 + 8 * std::sin(s * tau / 2), 150};
        },
        0.5, 0.8, 420, constant(1));
    film(
        shot, cityEye,
        [](double s) {
            return cityEye(s) + Vec{-14 * std::sin(s * tau / lap), 22, 200};
        },
        constant(64), [](double s) { return -7.0 * std::cos(s * tau / lap); });
    setGlow(
        shot, [](double s) { return 0.5 + 0.5 * beatPulse(s, 0.5, 0.2); },
        [](double s) { return 14 + 6 * beatPulse(s, 0.5, 0.2); });
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
