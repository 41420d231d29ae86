// Dawn: the swimmer, the sunrise, the title and what comes after. One set of models for all four.

#include "noise.h"
#include "props.h"
#include "shots.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double tau = 2.0 * std::numbers::pi;
constexpr double smooth(double from, double to, double x) {
    const double t = std::clamp((x - from) / (to - from), 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

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
    return 0.4 + 12.5 * head * std::pow(1.0 - smooth(0.1, 1.0, way) * 0.97, 1.1);
}

double bodyHeight(double way) {
    return bodyWidth(way) * (0.62 + 0.25 * smooth(0.2, 0.5, way)) + 5.0 * smooth(0.9, 1.0, way);
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
        const double tip = smooth(24, 44, out), body = 1.0 - smooth(7, 14, out);
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

// A lake along Z between hills that rise with the distance from the shore.
double landHeight(double x, double z) {
    const double shore = std::abs(x + 70.0 * std::sin(z / 330.0)) - 26.0 * smoothNoise(x / 70, z / 70, 3);
    const double up = smooth(120, 620, shore);
    const double ridge = 1.0 - std::abs(2.0 * smoothNoise(x / 260, z / 260, 9) - 1.0);
    const double height =
        up * (110 + 250 * ridge) + 34 * smooth(100, 220, shore) * smoothNoise(x / 75, z / 75, 10);
    return height < 3.0 ? 0.0 : height;
}

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

QbExportMesh makeHalo() {
    QbExportMesh mesh = qbShapeRing(0.975f, 1.0f, 0.01f, 64);
    qbMeshTransform(mesh, {0, 0, 0}, {-90, 0, 0});
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

void addDawnModels(Folder& folder) {
    const Look fin = {.name = "Fin",
                      .colour = gold,
                      .diffuse = 0.6f,
                      .luminosity = 0.5f,
                      .glow = 0.45f,
                      .image = "fin.jpg",
                      .bothSides = true};
    addModel(folder, "swimmer", makeSwimmer(),
             {{.name = "Skin",
               .colour = coral,
               .diffuse = 0.9f,
               .luminosity = 0.24f,
               .specularity = 0.25f,
               .glossiness = 0.28f,
               .glow = 0.15f,
               .image = "skin.jpg",
               .reflection = "deep.jpg",
               .reflectivity = 0.15f},
              fin,
              {.name = "Eye", .colour = cream, .diffuse = 0.1f, .luminosity = 1, .glow = 1}},
             QB_EXPORT_X_TEXT);
    addModel(folder, "deep", makeDome(2600),
             {{.name = "Deep", .colour = violet, .diffuse = 0, .luminosity = 1, .image = "deep.jpg"}});
    addModel(folder, "sky", makeDome(3200),
             {{.name = "Sky", .colour = coral, .diffuse = 0, .luminosity = 1, .image = "sky.jpg"}});
    addModel(folder, "land", makeLand(),
             {{.name = "Hills", .colour = plum, .diffuse = 0.95f, .luminosity = 0.06f, .image = "hills.jpg"},
              {.name = "Lake",
               .colour = {0.50f, 0.26f, 0.50f},
               .diffuse = 0.55f,
               .luminosity = 0.28f,
               .specularity = 0.32f,
               .glossiness = 0.26f,
               .reflection = "sky.jpg",
               .reflectivity = 0.35f}});
    addModel(folder, "tree", makeTree(),
             {{.name = "Needles", .colour = {0.34f, 0.16f, 0.38f}, .diffuse = 0.9f, .luminosity = 0.08f}});
    addModel(folder, "sun", makeDisc(190, 56),
             {{.name = "Sun", .colour = {1.0f, 0.86f, 0.52f}, .diffuse = 0, .luminosity = 1, .glow = 1}});
    addModel(folder, "halo", makeHalo(),
             {{.name = "Halo",
               .colour = cream,
               .diffuse = 0,
               .luminosity = 0.95f,
               .glow = 0.6f,
               .bothSides = true}});
    addModel(folder, "glint", qbShapeBox({1, 0.6f, 5}),
             {{.name = "Glint", .colour = gold, .diffuse = 0, .luminosity = 1, .glow = 0.5f}});
    addModel(folder, "stem", makeStem(),
             {{.name = "Stem",
               .colour = plum,
               .diffuse = 0.8f,
               .luminosity = 0.10f,
               .specularity = 0.1f,
               .glossiness = 0.25f},
              {.name = "Lantern", .colour = amber, .diffuse = 0.2f, .luminosity = 0.95f, .glow = 0.9f}});
    addModel(folder, "seed", makeSeed(),
             {{.name = "Seed", .colour = cream, .diffuse = 0.15f, .luminosity = 0.9f, .glow = 0.6f}},
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

void makeSwimmerShot(Folder& folder) {
    Shot shot = openShot(folder, "swimmer", 12, night);
    addDistantLight(shot, "From above", {0.55f, 0.40f, 0.95f}, 30, 60, constant(0.55));
    addDistantLight(shot, "From the rim", rose, 200, -10, constant(0.45));
    setAmbient(shot, {0.03f, 0.02f, 0.06f});
    placeAt(shot, "deep", {0, 0, 0});
    const Path swim = [](double s) {
        const double climb = easeBetween(6.5, 13.0, s);
        return Vec{70 * std::sin(s * 0.55), 120 + 14 * std::sin(s * 0.9) + 230 * climb,
                   -330 + 62 * s + 6 * s * climb};
    };
    addSwimmer(shot, swim, 1.0);
    placeSpark(
        shot,
        [&swim](double s) {
            return swim(s + 1.75) + Vec{9 * std::sin(s * 2.1), 10 + 6 * std::sin(s * 3.3), 0};
        },
        1.0, 0.75, 420, constant(1));
    for (int i = 0; i < 44; ++i) {
        const double side = i % 2 == 0 ? -1 : 1;
        const double x = side * (130 + 420 * hash01(i, 11)), z = -520 + 36.0 * i;
        placeAt(shot, "stem", {x, -40 - 50 * hash01(i, 12), z}, {hash01(i, 13) * 300 + 7, 0, 0},
                {1, 0.7 + 0.8 * hash01(i, 14), 1});
    }
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
        shot, [](double s) { return 0.6 + 0.3 * beatPulse(s, 1.0, 0.5); }, constant(20));
    saveShot(shot);
}

Vec sunAt(double height) {
    return {0, height, 1680};
}

// Land, sky, sun and its track on the water. `sun` gives the disc's height over time.
void addLandscape(Shot& shot, const Curve& sun, double haloPeriod) {
    const auto risen = [&sun](double s) { return std::clamp((sun(s) + 200) / 420.0, 0.0, 1.0); };
    addDistantLight(shot, "Sun", {1.0f, 0.70f, 0.45f}, 180.0, 14,
                    [&](double s) { return 0.12 + 0.85 * risen(s); });
    addDistantLight(shot, "Sky", {0.42f, 0.30f, 0.85f}, 20, 55, constant(0.42));
    addDistantLight(shot, "Side", rose, 118, 22, [&](double s) { return 0.22 + 0.18 * risen(s); });
    setAmbient(shot, {0.05f, 0.03f, 0.07f});
    placeAt(shot, "sky", {0, -40, 200});
    placeAt(shot, "land", {0, 0, 0});
    movePosition(shot, place(shot, "sun").motion, [&sun](double s) { return sunAt(sun(s)); });
    for (int i = 0; i < 4; ++i) {
        QbExportMotion& halo = place(shot, "halo").motion;
        movePosition(shot, halo, [&sun, i](double s) { return sunAt(sun(s)) + Vec{0, 0, 4.0 + i}; });
        moveScale(shot, halo, [=](double s) {
            const double way = std::fmod(s / haloPeriod + i * 0.25, 1.0);
            const double size = 195 + 330 * (1 - (1 - way) * (1 - way));
            return Vec{size, size, 1};
        });
    }
    for (int i = 0; i < 40; ++i) {
        const double z = -180 + 44.0 * i;
        QbExportMotion& glint = place(shot, "glint").motion;
        qbExportSetPosition(glint, toFloats({6 * std::sin(i * 2.7), 1.0, z}));
        moveScale(shot, glint, [=, &sun](double s) {
            const double shimmer = 0.55 + 0.45 * std::sin(s * (2.0 + hash01(i, 21)) + i * 1.9);
            const double wide = (26 + z * 0.13) * shimmer * risen(s) * (0.8 + 0.4 * beatPulse(s, 0.5, 0.2));
            return Vec{std::max(0.01, wide), 1, 1 + z / 500};
        });
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
    addLandscape(shot, sun, 4.0);
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
    placeSpark(
        shot,
        [](double s) {
            const double way = easeBetween(3, 11.5, s);
            return Vec{14 * std::sin(s * 1.4) * (1 - way), 42 + 60 * way, -540 + 60 * s + 1500 * way * way};
        },
        0.5, 1.0, 420, constant(1));
    const Path eye =
        throughKeys({{0, {-36, 26, -800}}, {4, {-20, 34, -650}}, {8, {10, 60, -500}}, {12, {20, 105, -330}}});
    const Path target = throughKeys({{0, {60, 60, 200}}, {5, {10, 75, 600}}, {12, {0, 120, 1200}}});
    film(
        shot, eye, target, [](double s) { return 60 + 7 * easeBetween(8, 13, s); },
        [](double s) { return 3.0 * std::sin(s * 0.4); });
    setGlow(
        shot, [](double s) { return 0.35 + 0.4 * easeBetween(0, 12, s); }, constant(22));
    saveShot(shot);
}

void makeTitleShot(Folder& folder) {
    Shot shot = openShot(folder, "title", 12, plum);
    const Curve sun = [](double s) { return 60 + 70 * easeBetween(0, 14, s); };
    addLandscape(shot, sun, 8.0);
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
        shot, [](double s) { return 0.5 + 0.5 * std::exp(-s / 1.5); }, constant(24));
    saveShot(shot);
}

void makeAfterglowShot(Folder& folder) {
    Shot shot = openShot(folder, "afterglow", 8, plum);
    addLandscape(shot, constant(135), 8.0);
    const Vec stone = {-188, landHeight(-188, -360) - 6, -360};
    const Vec second = {-290, landHeight(-290, -300) - 8, -300};
    placeAt(shot, "stone", stone, {18, 0, 2});
    placeAt(shot, "rune", runePosition(stone, 18, 1), {18, 0, 2});
    placeAt(shot, "stone", second, {-31, 0, -3}, {0.9, 0.85, 0.9});
    const Vec rest = stone + Vec{4, 150, 0};
    placeSpark(
        shot,
        [rest](double s) {
            return rest + Vec{0, 3 * std::sin(s * 1.5) + 60 * (1 - easeBetween(0, 2.5, s)), 0};
        },
        2.0, 1.0, 300, constant(1));
    placeDrift(shot, {"seed", 56, stone + Vec{60, 90, 20}, {130, 80, 90}, 11, 1.0});
    const Path eye = throughKeys(
        {{0, stone + Vec{92, 74, -262}}, {4, stone + Vec{84, 84, -232}}, {8, stone + Vec{80, 94, -206}}});
    const Path target = throughKeys({{0, stone + Vec{66, 92, 60}}, {8, stone + Vec{56, 104, 60}}});
    film(shot, eye, target, constant(60), [](double s) { return 1.2 * std::sin(s * 0.5); });
    setGlow(shot, constant(0.6), constant(24));
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
