// Dawn: the swimmer, the sunrise, the title and what comes after. One set of models for all four.

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
// --- the swimmer: a skin over a chain of bones, head at +Z ------------------------------------------

constexpr int chainBones = 14;
constexpr double boneLength = 11.0;
constexpr double headZ = 70.0;
constexpr double tailZ = headZ - 160.0;
constexpr uint32_t swimTicks = 360; // twelve seconds
constexpr uint32_t keyStep = 5;

// Half height and half width of the body, from the nose (0) to the tail (1).
double bodyWidth(double way) {
    const double head = std::sqrt(std::max(0.0, 1.0 - std::pow(1.0 - std::min(way / 0.16, 1.0), 2.0)));
    return 0.4 + 12.5 * head * std::pow(1.0 - smoothBetween(0.1, 1.0, way) * 0.97, 1.1);
}

double bodyHeight(double way) {
    return bodyWidth(way) * (0.62 + 0.25 * smoothBetween(0.2, 0.5, way)) + 5.0 * smoothBetween(0.9, 1.0, way);
}

QbExportMesh makeBody() {
    std::vector<std::vector<Vec>> rings;
    for (int k = 0; k <= 30; ++k) {
        const double way = k / 30.0;
        std::vector<Vec>& ring = rings.emplace_back();
        for (int i = 0; i < 10; ++i) {
            const double angle = tau * (i / 10.0 - 0.25); // the seam runs along the belly
            ring.push_back({bodyWidth(way) * std::cos(angle), bodyHeight(way) * std::sin(angle),
                            headZ + (tailZ - headZ) * way});
        }
    }
    return skinOverRings(rings);
}

void addLeaf(QbExportMesh& mesh, const std::vector<Vec>& front, const std::vector<Vec>& back,
             uint32_t material) {
    for (size_t i = 0; i + 1 < front.size(); ++i) {
        addQuad(mesh, front[i], front[i + 1], back[i + 1], back[i], material);
        addQuad(mesh, back[i], back[i + 1], front[i + 1], front[i], material);
    }
}

// Two wide wings, a comb along the back and a tail fin, on material 1.
void addFins(QbExportMesh& mesh) {
    for (const double side : {-1.0, 1.0}) {
        std::vector<Vec> front, back;
        for (int i = 0; i <= 6; ++i) {
            const double out = i / 6.0;
            const double x = side * (7.0 + 52.0 * out);
            front.push_back({x, 2.0 * std::sin(out * 3.0), 42.0 - 26.0 * out * out});
            back.push_back({x, 0.0, 10.0 - 16.0 * out - 5.0 * std::sin(out * 12.0)});
        }
        addLeaf(mesh, front, back, 1);
    }
    std::vector<Vec> low, high;
    for (int i = 0; i <= 22; ++i) {
        const double way = 0.14 + 0.84 * i / 22.0;
        const double z = headZ + (tailZ - headZ) * way;
        const double crest = 11.0 * std::sin(std::min(1.0, way * 1.15) * 3.0) * (i % 2 == 0 ? 1.0 : 0.62);
        low.push_back({0, bodyHeight(way) * 0.9, z});
        high.push_back({0, bodyHeight(way) * 0.9 + std::max(0.6, crest), z - 5.0});
    }
    addLeaf(mesh, low, high, 1);
    addLeaf(mesh, {{0, 0, tailZ + 12}, {0, 20, tailZ - 22}}, {{0, 0, tailZ - 3}, {0, 17, tailZ - 24}}, 1);
    addLeaf(mesh, {{0, 0, tailZ + 12}, {0, -16, tailZ - 20}}, {{0, 0, tailZ - 3}, {0, -13, tailZ - 23}}, 1);
}

// On material 2.
void addEyes(QbExportMesh& mesh) {
    for (const float side : {-1.0f, 1.0f}) {
        QbExportMesh eye = qbShapeIcosphere(1.5f, 1);
        qbMeshTransform(eye, {side * 7.4f, 3.2f, static_cast<float>(headZ) - 8.0f});
        qbMeshAppend(mesh, eye, 2);
    }
}

std::vector<QbExportBone> makeChain() {
    std::vector<QbExportBone> bones(chainBones);
    for (int i = 0; i < chainBones; ++i) {
        QbExportBone& bone = bones[static_cast<size_t>(i)];
        bone.name = "spine" + std::to_string(i);
        bone.parent = i - 1;
        bone.rest.position = {0, 0, static_cast<float>(i == 0 ? headZ - 8.0 : -boneLength)};
        for (uint32_t tick = 0; tick <= swimTicks; tick += keyStep) {
            QbExportBoneKey key = bone.rest;
            key.tick = tick;
            const double phase = tau * tick / 60.0 - i * 0.62; // a stroke in two seconds
            const double reach = 1.5 + 8.5 * i / chainBones;
            key.rotation = {static_cast<float>(0.35 * reach * std::sin(phase * 0.5 + 1.0)),
                            static_cast<float>((i == 0 ? 3.5 : reach) * std::sin(phase)), 0};
            bone.keys.push_back(key);
        }
    }
    return bones;
}

void addWing(std::vector<QbExportBone>& bones, const char* name, double side, double x, int32_t parent,
             double delay) {
    QbExportBone& bone = bones.emplace_back();
    bone.name = name;
    bone.parent = parent;
    const bool root = parent < chainBones;
    // The spine bone that carries the wings stands at z = headZ - 8 - 3 boneLength.
    bone.rest.position = {static_cast<float>(side * x), 0, root ? 4.0f : 0.0f};
    for (uint32_t tick = 0; tick <= swimTicks; tick += keyStep) {
        QbExportBoneKey key = bone.rest;
        key.tick = tick;
        const double stroke = std::sin(tau * tick / 60.0 - delay);
        key.rotation = {0, 0, static_cast<float>(side * (root ? 17.0 : 24.0) * stroke)};
        bone.keys.push_back(key);
    }
}

void weighVertex(std::vector<QbExportBone>& bones, uint32_t vertex, const std::array<float, 3>& p,
                 bool wing) {
    if (wing) {
        const double out = std::abs(static_cast<double>(p[0]));
        const size_t inner = p[0] < 0 ? chainBones : chainBones + 2;
        const double tip = smoothBetween(24, 44, out), body = 1.0 - smoothBetween(7, 14, out);
        const double shares[3] = {body, (1 - body) * (1 - tip), (1 - body) * tip};
        const size_t owners[3] = {3, inner, inner + 1};
        for (size_t i = 0; i < 3; ++i) {
            if (shares[i] > 0) {
                bones[owners[i]].weights.push_back({vertex, static_cast<float>(shares[i])});
            }
        }
        return;
    }
    const double along =
        std::clamp((headZ - 8.0 - static_cast<double>(p[2])) / boneLength, 0.0, chainBones - 1.0);
    const auto bone = std::min(static_cast<size_t>(along), static_cast<size_t>(chainBones - 2));
    const double share = along - static_cast<double>(bone);
    if (share < 1) {
        bones[bone].weights.push_back({vertex, static_cast<float>(1 - share)});
    }
    if (share > 0) {
        bones[bone + 1].weights.push_back({vertex, static_cast<float>(share)});
    }
}

QbExportMesh makeSwimmer() {
    QbExportMesh mesh = makeBody();
    const size_t bodyVertices = mesh.vertices.size();
    addFins(mesh);
    const size_t finVertices = mesh.vertices.size();
    addEyes(mesh);
    std::vector<QbExportBone> bones = makeChain();
    addWing(bones, "left_wing", -1, 7, 3, 0.0);
    addWing(bones, "left_tip", -1, 24, chainBones, 0.9);
    addWing(bones, "right_wing", 1, 7, 3, 0.0);
    addWing(bones, "right_tip", 1, 24, chainBones + 2, 0.9);
    for (size_t i = 0; i < mesh.vertices.size(); ++i) {
        const auto& p = mesh.vertices[i].position;
        const bool wing = i >= bodyVertices && i < finVertices && std::abs(p[0]) > 6.5f;
        weighVertex(bones, static_cast<uint32_t>(i), p, wing);
    }
    mesh.bones = std::move(bones);
    return mesh;
}

// --- land and sky -----------------------------------------------------------------------------------

// Triangles of their own tint; those at the level of the lake are material 1.
QbExportMesh makeLand() {
    QbExportMesh mesh;
    constexpr int cellsX = 44, cellsZ = 62;
    const auto point = [](int i, int k) {
        const bool inside = i > 0 && i < cellsX;
        const double x = -880.0 + 40.0 * i + (inside ? 22.0 * (hash01(i, k, 1) - 0.5) : 0.0);
        const double z = -900.0 + 40.0 * k + 22.0 * (hash01(i, k, 2) - 0.5);
        return Vec{x, landHeight(x, z), z};
    };
    const auto triangle = [&mesh](Vec a, Vec b, Vec c, int tint) {
        const bool lake = a.y + b.y + c.y <= 0.0;
        const size_t first = mesh.vertices.size();
        addTriangle(mesh, a, b, c, lake ? 1 : 0);
        const double height = (a.y + b.y + c.y) / 3.0;
        for (size_t i = first; i < first + 3; ++i) {
            mesh.vertices[i].uv = {static_cast<float>(0.05 + 0.9 * hash01(tint, 5)),
                                   static_cast<float>(0.98 - 0.96 * std::min(1.0, height / 380.0))};
        }
    };
    for (int k = 0; k < cellsZ; ++k) {
        for (int i = 0; i < cellsX; ++i) {
            const Vec a = point(i, k + 1), b = point(i + 1, k + 1), c = point(i + 1, k), d = point(i, k);
            triangle(a, b, c, (k * cellsX + i) * 2);
            triangle(a, c, d, (k * cellsX + i) * 2 + 1);
        }
    }
    return mesh;
}

QbExportMesh makeTree() {
    QbExportMesh mesh = qbShapeCylinder(9, 0, 26, 6);
    qbMeshTransform(mesh, {0, 15, 0});
    QbExportMesh top = qbShapeCylinder(6.5f, 0, 22, 6);
    qbMeshTransform(top, {0, 29, 0});
    qbMeshAppend(mesh, top, 0);
    qbMeshFlatNormals(mesh);
    return mesh;
}

// A disc that faces -Z.
QbExportMesh makeDisc(double radius, int corners) {
    QbExportMesh mesh;
    for (int i = 0; i < corners; ++i) {
        const double a = tau * i / corners, b = tau * (i + 1) / corners;
        addTriangle(mesh, {0, 0, 0}, {radius * std::sin(a), radius * std::cos(a), 0},
                    {radius * std::sin(b), radius * std::cos(b), 0});
    }
    return mesh;
}

// A ring that faces -Z, v across it.
QbExportMesh makeHalo() {
    constexpr int corners = 72;
    QbExportMesh mesh;
    const auto at = [](int i, double radius) {
        return Vec{radius * std::sin(tau * i / corners), radius * std::cos(tau * i / corners), 0};
    };
    for (int i = 0; i < corners; ++i) {
        addQuad(mesh, at(i, 1.0), at(i + 1, 1.0), at(i + 1, 0.955), at(i, 0.955));
    }
    return mesh;
}

// A bank of haze across the valley. It faces -Z but takes light from the sun behind it.
QbExportMesh makeHaze() {
    QbExportMesh mesh;
    addQuad(mesh, {-0.5, 1, 0}, {0.5, 1, 0}, {0.5, 0, 0}, {-0.5, 0, 0});
    for (QbExportVertex& vertex : mesh.vertices) {
        vertex.normal = {0, 0.34f, 0.94f};
    }
    return mesh;
}

double floorHeight(double x, double z) {
    return 46.0 * smoothNoise(x / 150.0, z / 150.0, 81) - 60.0;
}

// The bottom of the deep: dunes.
QbExportMesh makeFloor() {
    const auto height = [](float x, float z) { return static_cast<float>(floorHeight(x, z)); };
    QbExportMesh mesh = qbShapeHeightField(1700, 2800, 34, 56, height);
    qbMeshScaleUv(mesh, 10, 16);
    return mesh;
}

// A tall curved stem, for the deep; its tip leans along X.
QbExportMesh makeStem() {
    std::vector<std::vector<Vec>> rings;
    for (int k = 0; k <= 12; ++k) {
        const double way = k / 12.0;
        std::vector<Vec>& ring = rings.emplace_back();
        const double radius = 5.0 * (1.0 - 0.86 * way) + 0.4;
        for (int i = 0; i < 6; ++i) {
            const double angle = tau * i / 6;
            ring.push_back({radius * std::cos(angle) + 60 * way * way + 9 * std::sin(way * 9), 320 * way,
                            radius * std::sin(angle) + 10 * std::sin(way * 7)});
        }
    }
    QbExportMesh mesh = skinOverRings(rings);
    QbExportMesh lamp = qbShapeIcosphere(8, 1);
    qbMeshTransform(lamp, {60 + 9 * 0.41f, 322, 6.5f});
    qbMeshFlatNormals(lamp);
    qbMeshAppend(mesh, lamp, 1);
    return mesh;
}

QbExportMesh makeSeed() {
    QbExportMesh mesh = qbShapeRevolve({{0, -2.2f}, {1.2f, -0.4f}, {0, 2.8f}}, 5);
    qbMeshFlatNormals(mesh);
    return mesh;
}

// Light that falls in from above, aslant.
QbExportMesh makeShafts() {
    QbExportMesh mesh;
    for (int i = 0; i < 5; ++i) {
        const float width = 0.8f + 0.6f * static_cast<float>(hash01(i, 92));
        QbExportMesh shaft = makeBeam(8, 58, 740);
        qbMeshTransform(shaft, toFloats({-260.0 + 130 * i, 560, 260 + 260 * hash01(i, 91) + 90 * (i % 3)}),
                        {72 + 5 * static_cast<float>(hash01(i, 93)), 200, 0}, {width, 1, 1});
        qbMeshAppend(mesh, shaft, 0);
    }
    return mesh;
}

void addDeepModels(Folder& folder) {
    const Look fin = {.name = "Fin",
                      .colour = gold,
                      .diffuse = 0.7f,
                      .luminosity = 0.34f,
                      .specularity = 0.3f,
                      .glossiness = 0.25f,
                      .glow = 0.16f,
                      .image = "fin.jpg"};
    addModel(folder, "swimmer", makeSwimmer(),
             {{.name = "Skin",
               .colour = coral,
               .diffuse = 0.9f,
               .luminosity = 0.12f,
               .specularity = 0.7f,
               .glossiness = 0.3f,
               .glow = 0.06f,
               .image = "skin.jpg",
               .reflection = "deep.jpg",
               .reflectivity = 0.4f},
              fin,
              {.name = "Eye", .colour = cream, .diffuse = 0.1f, .luminosity = 1, .glow = 0.8f}},
             QB_EXPORT_X_TEXT);
    addModel(folder, "deep", makeDome(2600),
             {{.name = "Deep", .colour = violet, .diffuse = 0, .luminosity = 1, .image = "deep.jpg"}});
    addModel(folder, "floor", makeFloor(),
             {{.name = "Floor",
               .colour = violet,
               .diffuse = 0.8f,
               .specularity = 0.25f,
               .glossiness = 0.24f,
               .image = "sand.jpg",
               .bump = "sand_normal.png"}});
    addModel(folder, "stem", makeStem(),
             {{.name = "Stem",
               .colour = plum,
               .diffuse = 0.9f,
               .luminosity = 0.05f,
               .specularity = 0.5f,
               .glossiness = 0.25f},
              {.name = "Lantern", .colour = amber, .diffuse = 0.2f, .luminosity = 0.95f, .glow = 0.6f}});
    addModel(folder, "shafts", makeShafts(), {{.name = "Shafts", .colour = violet, .shader = "beam.hlsl"}});
    addModel(folder, "lantern", qbShapeIcosphere(1, 2),
             {{.name = "Lantern Light", .colour = amber, .diffuse = 0, .shader = "aura.hlsl"}});
}

void addLakeModels(Folder& folder) {
    addModel(folder, "sky", makeDome(3200),
             {{.name = "Sky",
               .colour = coral,
               .diffuse = 0,
               .luminosity = 1,
               .image = "clouds.jpg",
               .shader = "sky.hlsl"}});
    addModel(folder, "land", makeLand(),
             {{.name = "Hills", .colour = plum, .diffuse = 1.0f, .luminosity = 0.05f, .image = "hills.jpg"},
              {.name = "Lake", .colour = {0.50f, 0.26f, 0.50f}, .shader = "lake.hlsl"}});
    addModel(folder, "tree", makeTree(),
             {{.name = "Needles",
               .colour = {0.34f, 0.16f, 0.38f},
               .diffuse = 1.0f,
               .luminosity = 0.05f,
               .specularity = 0.2f,
               .glossiness = 0.2f}});
    addModel(folder, "sun", makeDisc(190, 72),
             {{.name = "Sun", .colour = {1.0f, 0.88f, 0.58f}, .diffuse = 0, .luminosity = 1, .glow = 0.55f}});
    addModel(folder, "halo", makeHalo(),
             {{.name = "Halo", .colour = cream, .diffuse = 0, .bothSides = true, .shader = "halo.hlsl"}});
    addModel(folder, "rays", makeDisc(1, 24),
             {{.name = "Rays", .colour = gold, .diffuse = 0, .shader = "rays.hlsl"}});
    addModel(folder, "haze", makeHaze(),
             {{.name = "Haze",
               .colour = gold,
               .diffuse = 0.9f,
               .luminosity = 0.28f,
               .image = "haze.png",
               .bothSides = true}});
}

void addDawnModels(Folder& folder) {
    addDeepModels(folder);
    addLakeModels(folder);
    addModel(folder, "seed", makeSeed(),
             {{.name = "Seed",
               .colour = {1.0f, 0.86f, 0.66f},
               .diffuse = 0.1f,
               .luminosity = 0.95f,
               .glow = 0.35f}},
             QB_EXPORT_X_TEXT);
    addSparkModels(folder);
    addStoneModels(folder);
}

// --- what the scenes share --------------------------------------------------------------------------

// Heading, pitch and bank of something that swims along a path.
Vec headingOn(const Path& path, double s) {
    const Vec way = path(s + 0.05) - path(s - 0.05);
    const Vec turn = path(s + 0.5) - path(s - 0.5);
    const double now = std::atan2(way.x, way.z), soon = std::atan2(turn.x, turn.z);
    const double flat = std::hypot(way.x, way.z);
    return {now * 360 / tau, -std::atan2(way.y, flat) * 360 / tau, std::remainder(now - soon, tau) * 80};
}

void addSwimmer(Shot& shot, const Path& path, double size) {
    QbExportMotion& motion = place(shot, "swimmer").motion;
    movePosition(shot, motion, path);
    moveRotation(shot, motion, [&path](double s) { return headingOn(path, s); });
    const float factor = static_cast<float>(size);
    qbExportSetScale(motion, {factor, factor, factor});
}

// --- the scenes -------------------------------------------------------------------------------------

// Light that falls in from above: shafts that sway, and a spot that goes with the swimmer.
void addShafts(Shot& shot, const Path& swim) {
    QbExportMotion& shafts = place(shot, "shafts").motion;
    movePosition(shot, shafts, [](double s) { return Vec{18 * std::sin(s * 0.5), 0, 0}; });
    moveRotation(shot, shafts, [](double s) { return Vec{0, 0, 2.5 * std::sin(s * 0.6)}; });
    setParamColour(shot, "shafts", {0.72f, 0.46f, 1.0f});
    setParam(shot, "shafts", "Strength", [](double s) { return 0.42 + 0.08 * std::sin(s * 0.9); });
    addSpot(
        shot, "Ray", {0.80f, 0.66f, 1.0f}, {.range = 210, .cone = 32, .edge = 18},
        [swim](double s) {
            return swim(s) + Vec{-34, 104, 44};
        },
        [swim](double s) {
            return swim(s) + Vec{0, 0, -10};
        },
        [](double s) { return 0.85 + 0.15 * std::sin(s * 1.3); });
}

void addStems(Shot& shot) {
    int lanterns = 0;
    for (int i = 0; i < 44; ++i) {
        const double side = i % 2 == 0 ? -1 : 1;
        const double x = side * (130 + 420 * hash01(i, 11)), z = -520 + 36.0 * i;
        const Vec foot = {x, floorHeight(x, z) - 6, z};
        const double heading = hash01(i, 13) * 300 + 7, tall = 0.7 + 0.8 * hash01(i, 14);
        placeAt(shot, "stem", foot, {heading, 0, 0}, {1, tall, 1});
        // The nearest ones light what is around them.
        if (std::abs(foot.x) > 270 || foot.z < -330 || foot.z > 560 || lanterns == 4) {
            continue;
        }
        const double turn = heading * tau / 360;
        const Vec tip = foot + Vec{63.7 * std::cos(turn) + 6.5 * std::sin(turn), 322 * tall,
                                   -63.7 * std::sin(turn) + 6.5 * std::cos(turn)};
        placeAt(shot, "lantern", tip, {0, 0, 0}, {38, 38, 38});
        static constexpr const char* names[4] = {"Lantern 1", "Lantern 2", "Lantern 3", "Lantern 4"};
        const Path still = [tip](double) { return tip; };
        addLamp(shot, names[lanterns++], amber, 115, still,
                [](double s) { return 0.6 + 0.3 * beatPulse(s, 1.0, 0.5); });
    }
    setParamColour(shot, "lantern", {1.0f, 0.50f, 0.20f});
    setParam(shot, "lantern", "Strength", [](double s) { return 0.42 + 0.2 * beatPulse(s, 1.0, 0.5); });
}

void makeSwimmerShot(Folder& folder) {
    Shot shot = openShot(folder, "swimmer", 12, night);
    addDistantLight(shot, "From above", {0.62f, 0.58f, 1.0f}, 30, 62, constant(0.6));
    setAmbient(shot, constantVec({0.15, 0.075, 0.19}));
    const Path swim = [](double s) {
        const double climb = easeBetween(6.5, 13.0, s);
        return Vec{70 * std::sin(s * 0.55), 120 + 14 * std::sin(s * 0.9) + 230 * climb,
                   -330 + 62 * s + 6 * s * climb};
    };
    placeSpark(
        shot,
        [&swim](double s) {
            return swim(s + 1.75) + Vec{9 * std::sin(s * 2.1), 10 + 6 * std::sin(s * 3.3), 0};
        },
        {.period = 1.0, .size = 0.75, .range = 170, .aura = 0.5}, constant(1));
    placeAt(shot, "deep", {0, 0, 0});
    placeAt(shot, "floor", {0, 0, 0});
    addSwimmer(shot, swim, 1.0);
    addShafts(shot, swim);
    addStems(shot);
    placeDrift(shot, {"seed", 80, {0, 190, 120}, {260, 170, 480}, 5, 1.0});
    // Ahead of it, beside it, then below it as it climbs.
    const Path around = throughKeys({{0, {-104, -18, 212}},
                                     {3, {-172, -4, 120}},
                                     {6, {-182, 26, -10}},
                                     {9, {-120, 10, -130}},
                                     {12, {-36, -62, -196}}});
    const Path eye = [&](double s) { return swim(s) + around(s); };
    const Path target = [&swim](double s) { return swim(s) + Vec{0, 4, 16}; };
    film(
        shot, eye, target, [](double s) { return 60 - 6 * easeBetween(8, 12, s); },
        [](double s) { return 5 * std::sin(s * 0.6 + 0.5); });
    setGlow(
        shot, [](double s) { return 0.18 + 0.14 * beatPulse(s, 1.0, 0.5); },
        [](double s) { return 10 + 4 * beatPulse(s, 1.0, 0.5); });
    saveShot(shot);
}

Vec sunAt(double height) {
    return {0, height, 1680};
}

struct SparkFlight {
    Path path;
    Spark spark;
};

// Land, sky, sun, its track on the water, and the spark. `sun` gives the disc's height over time.
void addLandscape(Shot& shot, const Curve& sun, double haloPeriod, const SparkFlight& flight) {
    const auto risen = [&sun](double s) { return std::clamp((sun(s) + 200) / 320.0, 0.0, 1.0); };
    addDistantLight(shot, "Sun", {1.0f, 0.60f, 0.44f}, 168.0, 38,
                    [&](double s) { return 0.16 + 0.74 * risen(s); });
    placeSpark(shot, flight.path, flight.spark, constant(1));
    setAmbient(shot, [&](double s) {
        return Vec{0.10 + 0.12 * risen(s), 0.06 + 0.05 * risen(s), 0.20 + 0.03 * risen(s)};
    });
    placeAt(shot, "sky", {0, -40, 200});
    placeAt(shot, "land", {0, 0, 0});
    for (const char* stem : {"sky", "land"}) {
        const size_t surface = std::string_view(stem) == "land" ? 1 : 0;
        setParam(shot, stem, "SunHeight", sun, surface);
        setParam(shot, stem, "Rise", risen, surface);
    }
    movePosition(shot, place(shot, "sun").motion, [&sun](double s) { return sunAt(sun(s)); });
    QbExportMotion& rays = place(shot, "rays").motion;
    movePosition(shot, rays, [&sun](double s) { return sunAt(sun(s)) + Vec{0, 0, 2}; });
    qbExportSetScale(rays, {1500, 1500, 1});
    setParam(shot, "rays", "Strength",
             [&](double s) { return 0.55 * risen(s) * (0.85 + 0.15 * beatPulse(s, 2.0, 0.6)); });
    for (int i = 0; i < 4; ++i) {
        QbExportMotion& halo = place(shot, "halo").motion;
        movePosition(shot, halo, [&sun, i](double s) { return sunAt(sun(s)) + Vec{0, 0, -4.0 - i}; });
        moveScale(shot, halo, [=](double s) {
            const double way = std::fmod(s / haloPeriod + i * 0.25, 1.0);
            const double size = 195 + 330 * (1 - (1 - way) * (1 - way));
            return Vec{size, size, 1};
        });
    }
    setParam(shot, "halo", "Strength",
             [&](double s) { return (0.36 + 0.2 * beatPulse(s, 0.5, 0.2)) * risen(s); });
    for (int i = 0; i < 5; ++i) {
        QbExportMotion& haze = place(shot, "haze").motion;
        const double side = i % 2 == 0 ? 1 : -1, z = 1460 - 250.0 * i;
        movePosition(shot, haze, [=](double s) { return Vec{side * (60 + 7 * s) - 30.0 * side * i, 2, z}; });
        qbExportSetScale(haze, {static_cast<float>(1500 - 90 * i), static_cast<float>(150 - 16 * i), 1});
    }
    for (int i = 0; i < 90; ++i) {
        const double x = (hash01(i, 31) * 2 - 1) * 520, z = -820 + 1900 * hash01(i, 32);
        const double height = landHeight(x, z);
        const bool clearing = x < -40 && x > -340 && z < -230; // the last scene's stones stand there
        if (height > 12 && height < 150 && !clearing) {
            const double size = 0.8 + 0.9 * hash01(i, 33);
            placeAt(shot, "tree", {x, height - 3, z}, {hash01(i, 34) * 60 + 5, 0, 0}, {size, size, size});
        }
    }
}

void makeSunriseShot(Folder& folder) {
    Shot shot = openShot(folder, "sunrise", 12, plum);
    const Curve sun = [](double s) { return -215 + 330 * easeBetween(-1.5, 13.5, s); };
    const SparkFlight flight = {
        [](double s) {
            const double way = easeBetween(3, 11.5, s);
            return Vec{14 * std::sin(s * 1.4) * (1 - way), 30 + 72 * way, -560 + 60 * s + 1500 * way * way};
        },
        {.period = 0.5, .size = 1.0, .range = 260, .aura = 0.5}};
    addLandscape(shot, sun, 4.0, flight);
    placeDrift(shot, {"seed", 40, {0, 70, -380}, {150, 50, 260}, 6, 0.8});
    for (int i = 0; i < 3; ++i) {
        addSwimmer(
            shot,
            [i](double s) {
                return Vec{(i - 1) * 170.0 + 80 * std::sin(s * 0.5 + i),
                           150.0 + 52 * i + 18 * std::sin(s * 0.8 + i * 2), -330.0 + i * 150 + 112 * s};
            },
            1.0);
    }
    const Path eye =
        throughKeys({{0, {-36, 26, -800}}, {4, {-20, 34, -650}}, {8, {10, 60, -500}}, {12, {20, 105, -330}}});
    const Path target = throughKeys({{0, {60, 60, 200}}, {5, {10, 75, 600}}, {12, {0, 120, 1200}}});
    film(
        shot, eye, target, [](double s) { return 60 + 7 * easeBetween(8, 13, s); },
        [](double s) { return 3.0 * std::sin(s * 0.4); });
    setGlow(
        shot, [](double s) { return 0.14 + 0.12 * easeBetween(0, 12, s); },
        [](double s) { return 9 + 5 * easeBetween(0, 12, s); });
    saveShot(shot);
}

void makeTitleShot(Folder& folder) {
    Shot shot = openShot(folder, "title", 12, plum);
    const Curve sun = [](double s) { return 60 + 70 * easeBetween(0, 14, s); };
    // Far off, a second light on the water under the sun.
    const SparkFlight flight = {[](double s) {
                                    return Vec{120 * std::sin(s * 0.5 + 0.6), 26 + 6 * std::sin(s * 1.7),
                                               60 + 40 * std::cos(s * 0.5)};
                                },
                                {.period = 1.0, .size = 0.55, .range = 240, .aura = 0.45}};
    addLandscape(shot, sun, 8.0, flight);
    placeDrift(shot, {"seed", 50, {0, 130, -180}, {260, 110, 230}, 8, 0.9});
    addSwimmer(
        shot,
        [](double s) {
            const double a = 0.9 + s * 0.16;
            return Vec{430 * std::sin(a - 0.6) - 120, 120 + 20 * std::sin(s * 0.7), 120 + 300 * std::cos(a)};
        },
        1.0);
    const Path eye = throughKeys({{0, {0, 96, -330}}, {6, {-16, 128, -410}}, {12, {-30, 150, -470}}});
    const Path target = throughKeys({{0, {0, 236, 700}}, {6, {0, 262, 700}}, {12, {0, 274, 700}}});
    film(shot, eye, target, constant(60), [](double s) { return 1.5 * std::sin(s * 0.35); });
    setGlow(
        shot, [](double s) { return 0.20 + 0.35 * std::exp(-s / 1.5); },
        [](double s) { return 12 + 6 * std::exp(-s / 1.5); });
    saveShot(shot);
}

void makeAfterglowShot(Folder& folder) {
    Shot shot = openShot(folder, "afterglow", 8, plum);
    const Vec stone = {-188, landHeight(-188, -360) - 6, -360};
    const Vec second = {-290, landHeight(-290, -300) - 8, -300};
    const Vec rest = stone + Vec{4, 150, 0};
    const SparkFlight flight = {
        [rest](double s) {
            return rest + Vec{0, 3 * std::sin(s * 1.5) + 60 * (1 - easeBetween(0, 2.5, s)), 0};
        },
        {.period = 2.0, .size = 1.4, .range = 190, .aura = 0.5}};
    addLandscape(shot, constant(135), 8.0, flight);
    placeAt(shot, "stone", stone, {18, 0, 2});
    placeAt(shot, "rune", runePosition(stone, 18, 1), {18, 0, 2});
    addLamp(
        shot, "Rune Light", coral, 110,
        [stone](double) {
            return stone + Vec{-8, 60, -40};
        },
        [](double s) { return 0.45 + 0.3 * beatPulse(s, 2.0, 0.5); });
    placeAt(shot, "stone", second, {-31, 0, -3}, {0.9, 0.85, 0.9});
    placeDrift(shot, {"seed", 56, stone + Vec{60, 90, 20}, {130, 80, 90}, 11, 1.0});
    const Path eye = throughKeys(
        {{0, stone + Vec{92, 74, -262}}, {4, stone + Vec{84, 84, -232}}, {8, stone + Vec{80, 94, -206}}});
    const Path target = throughKeys({{0, stone + Vec{66, 92, 60}}, {8, stone + Vec{56, 104, 60}}});
    film(shot, eye, target, constant(60), [](double s) { return 1.2 * std::sin(s * 0.5); });
    setGlow(
        shot, [](double s) { return 0.2 + 0.06 * beatPulse(s, 2.0, 0.5); }, constant(13));
    saveShot(shot);
}

} // namespace

void makeDawn(const std::string& directory) {
    Folder folder{directory, {}};
    addDawnModels(folder);
    saveModels(folder);
    makeSwimmerShot(folder);
    makeSunriseShot(folder);
    makeTitleShot(folder);
    makeAfterglowShot(folder);
}
