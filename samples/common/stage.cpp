#include "stage.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>

namespace {

constexpr float framesPerSecond = 30.0f;
constexpr Colour underground = {0.016f, 0.012f, 0.055f};

QbExportMaterial materialOf(const Look& look) {
    const Colour base = look.image != nullptr ? Colour{1, 1, 1} : look.colour;
    QbExportMaterial material;
    for (size_t i = 0; i < 3; ++i) {
        material.diffuse[i] = base[i] * look.diffuse;
        material.emissive[i] = base[i] * look.luminosity;
        material.specular[i] = look.specularity;
    }
    const float root = look.glossiness * 10.0f;
    material.power = look.specularity > 0 ? std::min(root * root * root, 120.0f) : 0.0f;
    material.textureFileName = look.image != nullptr ? look.image : "";
    return material;
}

void addReflection(QbExportSurface& surface, const Look& look) {
    qbExportSetImage(surface, "ReflectionImage", look.reflection);
    qbExportSetInt(surface, "ReflectionOptions", 2);
    qbExportSetFloat(surface, "ReflectionSeamAngle", 0.0f);
}

QbExportSurface surfaceFrom(const Look& look) {
    QbExportSurface surface;
    surface.name = look.name;
    qbExportSetColor(surface, "BaseColor", look.colour);
    qbExportSetFloat(surface, "Luminosity", look.luminosity);
    qbExportSetFloat(surface, "Diffuse", look.diffuse);
    qbExportSetFloat(surface, "Specularity", look.specularity);
    qbExportSetFloat(surface, "Glossiness", look.glossiness);
    qbExportSetFloat(surface, "Reflectivity", look.reflectivity);
    qbExportSetFloat(surface, "GlowValue", look.glow);
    qbExportSetInt(surface, "Sidedness", look.bothSides ? 3 : 1);
    if (look.image != nullptr) {
        qbExportSetImage(surface, "BaseColor", look.image);
    }
    const struct {
        const char* property;
        const char* image;
    } maps[] = {{"Luminosity", look.luminosityMap},
                {"Specularity", look.specularityMap},
                {"Glossiness", look.glossinessMap}};
    for (const auto& map : maps) {
        if (map.image != nullptr) {
            qbExportSetImage(surface, map.property, map.image);
        }
    }
    if (look.bump != nullptr) {
        qbExportSetFloat(surface, "Bump", 4.0f);
        qbExportSetImage(surface, "Bump", look.bump);
    }
    if (look.reflection != nullptr) {
        addReflection(surface, look);
    }
    surface.shaderName = look.shader != nullptr ? look.shader : "";
    return surface;
}

const Model& findModel(const Folder& folder, std::string_view stem, int layer) {
    for (const Model& model : folder.models) {
        if (model.stem == stem && model.layer == layer) {
            return model;
        }
    }
    std::fprintf(stderr, "no model %.*s, layer %d, in %s\n", static_cast<int>(stem.size()), stem.data(),
                 layer, folder.path.c_str());
    std::exit(1);
}

void addSceneObject(Shot& shot, const Model& model) {
    const std::string fileName = model.stem + ".lwo";
    for (const QbExportSceneObject& known : shot.scene.sceneObjects) {
        if (known.fileName == fileName) {
            return;
        }
    }
    QbExportSceneObject& object = shot.scene.sceneObjects.emplace_back();
    object.name = model.stem;
    object.fileName = fileName;
    for (const Look& look : model.looks) {
        object.surfaces.push_back(surfaceFrom(look));
    }
}

std::string itemName(const Shot& shot, const Model& model) {
    const std::string base = model.stem + ":Layer" + std::to_string(model.layer);
    const auto same = std::count_if(shot.scene.objects.begin(), shot.scene.objects.end(), [&](const auto& o) {
        return o.name == base || o.name.starts_with(base + " ");
    });
    return same == 0 ? base : base + " (" + std::to_string(same + 1) + ")";
}

uint32_t addVertex(QbExportMesh& mesh, Vec position, float u, float v) {
    QbExportVertex vertex;
    vertex.position = toFloats(position);
    vertex.uv = {u, v};
    mesh.vertices.push_back(vertex);
    return static_cast<uint32_t>(mesh.vertices.size() - 1);
}

void failSave(const std::string& path, const std::string& error) {
    std::fprintf(stderr, "%s: %s\n", path.c_str(), error.c_str());
    std::exit(1);
}

QbVec3 channelVector(const Path& path, double seconds) {
    return toFloats(path(seconds));
}

} // namespace

Vec crossProduct(Vec a, Vec b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

Vec unitVector(Vec a) {
    return a * (1.0 / std::max(1e-9, std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z)));
}

QbVec3 toFloats(Vec a) {
    return {static_cast<float>(a.x), static_cast<float>(a.y), static_cast<float>(a.z)};
}

Path throughKeys(std::vector<Key> keys) {
    return [keys = std::move(keys)](double seconds) {
        const size_t last = keys.size() - 1;
        size_t i = 0;
        while (i + 1 < last && seconds > keys[i + 1].seconds) {
            ++i;
        }
        const auto slope = [&](size_t k) {
            const Key& before = keys[k == 0 ? 0 : k - 1];
            const Key& behind = keys[std::min(k + 1, last)];
            return (behind.value - before.value) * (1.0 / (behind.seconds - before.seconds));
        };
        const double span = keys[i + 1].seconds - keys[i].seconds;
        const double t = std::clamp((seconds - keys[i].seconds) / span, 0.0, 1.0);
        const double t2 = t * t, t3 = t2 * t;
        return keys[i].value * (2 * t3 - 3 * t2 + 1) + slope(i) * (span * (t3 - 2 * t2 + t)) +
               keys[i + 1].value * (3 * t2 - 2 * t3) + slope(i + 1) * (span * (t3 - t2));
    };
}

double easeBetween(double from, double to, double at) {
    const double t = std::clamp((at - from) / (to - from), 0.0, 1.0);
    return t * t * t * (t * (6 * t - 15) + 10);
}

double overshoot(double from, double to, double at) {
    const double t = std::clamp((at - from) / (to - from), 0.0, 1.0);
    const double u = t - 1.0;
    return t <= 0.0 ? 0.0 : 1.0 + 2.7 * u * u * u + 1.7 * u * u;
}

double beatPulse(double seconds, double period, double decay) {
    const double since = seconds - std::floor(seconds / period + 1e-6) * period;
    return std::exp(-std::max(0.0, since) / decay);
}

void addModel(Folder& folder, const char* stem, QbExportMesh mesh, std::vector<Look> looks,
              QbExportXFormat format, int layer) {
    mesh.materials.clear();
    for (const Look& look : looks) {
        mesh.materials.push_back(materialOf(look));
    }
    folder.models.push_back({stem, layer, std::move(mesh), std::move(looks), format});
}

void addTriangle(QbExportMesh& mesh, Vec a, Vec b, Vec c, uint32_t material) {
    const QbVec3 normal = toFloats(unitVector(crossProduct(b - a, c - a)));
    const uint32_t first = addVertex(mesh, a, 0, 0);
    addVertex(mesh, b, 1, 0);
    addVertex(mesh, c, 1, 1);
    for (uint32_t i = first; i < first + 3; ++i) {
        mesh.vertices[i].normal = normal;
    }
    mesh.triangles.push_back({{first, first + 1, first + 2}, material});
}

void addQuad(QbExportMesh& mesh, Vec a, Vec b, Vec c, Vec d, uint32_t material) {
    const QbVec3 normal = toFloats(unitVector(crossProduct(b - a, c - a)));
    const uint32_t first = addVertex(mesh, a, 0, 0);
    addVertex(mesh, b, 1, 0);
    addVertex(mesh, c, 1, 1);
    addVertex(mesh, d, 0, 1);
    for (uint32_t i = first; i < first + 4; ++i) {
        mesh.vertices[i].normal = normal;
    }
    mesh.triangles.push_back({{first, first + 1, first + 2}, material});
    mesh.triangles.push_back({{first, first + 2, first + 3}, material});
}

QbExportMesh skinOverRings(const std::vector<std::vector<Vec>>& rings) {
    QbExportMesh mesh;
    const auto around = static_cast<uint32_t>(rings[0].size());
    const auto along = static_cast<uint32_t>(rings.size());
    for (uint32_t k = 0; k < along; ++k) {
        for (uint32_t i = 0; i <= around; ++i) { // the first point again, for the seam of u
            addVertex(mesh, rings[k][i % around], static_cast<float>(i) / static_cast<float>(around),
                      static_cast<float>(k) / static_cast<float>(along - 1));
        }
    }
    for (uint32_t k = 0; k + 1 < along; ++k) {
        for (uint32_t i = 0; i < around; ++i) {
            const uint32_t low = k * (around + 1) + i;
            const uint32_t high = low + around + 1;
            mesh.triangles.push_back({{high, high + 1, low + 1}, 0});
            mesh.triangles.push_back({{high, low + 1, low}, 0});
        }
    }
    const uint32_t top = (along - 1) * (around + 1);
    for (uint32_t i = 1; i + 1 < around; ++i) {
        mesh.triangles.push_back({{0, i, i + 1}, 0});
        mesh.triangles.push_back({{top, top + i + 1, top + i}, 0});
    }
    qbMeshSmoothNormals(mesh);
    return mesh;
}

void addBeam(QbExportMesh& mesh, Vec from, Vec to, double thickness) {
    const Vec axis = unitVector(to - from);
    const Vec side = unitVector(crossProduct(axis, std::abs(axis.y) > 0.9 ? Vec{1, 0, 0} : Vec{0, 1, 0}));
    const Vec other = crossProduct(axis, side);
    const double h = thickness / 2;
    const Vec corners[4] = {side * h + other * h, side * -h + other * h, side * -h + other * -h,
                            side * h + other * -h};
    for (int i = 0; i < 4; ++i) {
        const Vec a = corners[i], b = corners[(i + 1) % 4];
        addQuad(mesh, to + a, to + b, from + b, from + a);
    }
}

QbExportMesh makeDome(double radius) {
    constexpr uint32_t around = 32, down = 16;
    QbExportMesh mesh;
    for (uint32_t k = 0; k <= down; ++k) {
        for (uint32_t i = 0; i <= around; ++i) {
            const double angle = 2.0 * std::numbers::pi * i / around;
            const double up = std::numbers::pi * (0.5 - static_cast<double>(k) / down);
            const Vec p = {std::cos(angle) * std::cos(up), std::sin(up), std::sin(angle) * std::cos(up)};
            const uint32_t at =
                addVertex(mesh, p * radius, static_cast<float>(i) / around, static_cast<float>(k) / down);
            mesh.vertices[at].normal = toFloats(p * -1.0);
        }
    }
    for (uint32_t k = 0; k < down; ++k) {
        for (uint32_t i = 0; i < around; ++i) {
            const uint32_t high = k * (around + 1) + i, low = high + around + 1;
            mesh.triangles.push_back({{high + 1, high, low}, 0});
            mesh.triangles.push_back({{high + 1, low, low + 1}, 0});
        }
    }
    return mesh;
}

QbExportMesh makeBeam(double footRadius, double endRadius, double length) {
    constexpr uint32_t around = 20, along = 6;
    QbExportMesh mesh;
    for (uint32_t k = 0; k <= along; ++k) {
        const double way = static_cast<double>(k) / along;
        const double radius = footRadius + (endRadius - footRadius) * way;
        for (uint32_t i = 0; i <= around; ++i) {
            const double angle = 2.0 * std::numbers::pi * i / around;
            const Vec out = {std::cos(angle), std::sin(angle), 0};
            const uint32_t at = addVertex(mesh, out * radius + Vec{0, 0, length * way},
                                          static_cast<float>(i) / around, static_cast<float>(way));
            mesh.vertices[at].normal =
                toFloats(unitVector(out + Vec{0, 0, (footRadius - endRadius) / length}));
        }
    }
    for (uint32_t k = 0; k < along; ++k) {
        for (uint32_t i = 0; i < around; ++i) {
            const uint32_t low = k * (around + 1) + i, high = low + around + 1;
            mesh.triangles.push_back({{low, low + 1, high + 1}, 0});
            mesh.triangles.push_back({{low, high + 1, high}, 0});
        }
    }
    return mesh;
}

void addMirrored(QbExportMesh& mesh) {
    QbExportMesh below = mesh;
    qbMeshTransform(below, {0, 0, 0}, {0, 0, 0}, {1, -1, 1});
    const auto first = static_cast<uint32_t>(mesh.vertices.size());
    mesh.vertices.insert(mesh.vertices.end(), below.vertices.begin(), below.vertices.end());
    for (QbExportTriangle triangle : below.triangles) {
        for (uint32_t& corner : triangle.corners) {
            corner += first;
        }
        mesh.triangles.push_back(triangle);
    }
}

Shot openShot(Folder& folder, const std::string& name, double seconds, const Colour& zenith) {
    Shot shot{folder, {}};
    shot.scene.name = shot.scene.fileName = name + ".lws";
    shot.scene.framesPerSecond = framesPerSecond;
    shot.scene.frameEnd = static_cast<int32_t>(seconds * static_cast<double>(framesPerSecond) + 0.5);
    shot.scene.backdrop.type = 1;
    shot.scene.backdrop.zenith = shot.scene.backdrop.sky = zenith;
    shot.scene.backdrop.ground = shot.scene.backdrop.nadir = underground;
    return shot;
}

QbExportObject& place(Shot& shot, std::string_view stem, int layer) {
    const Model& model = findModel(shot.folder, stem, layer);
    addSceneObject(shot, model);
    const std::string name = itemName(shot, model);
    QbExportObject& object = shot.scene.objects.emplace_back();
    object.name = name;
    object.fileName = model.stem + ".lwo";
    object.numPoints = static_cast<int32_t>(model.mesh.vertices.size());
    object.numPolygons = static_cast<int32_t>(model.mesh.triangles.size());
    return object;
}

void placeAt(Shot& shot, std::string_view stem, Vec position, Vec degrees, Vec scale) {
    QbExportMotion& motion = place(shot, stem).motion;
    qbExportSetPosition(motion, toFloats(position));
    qbExportSetRotation(motion, toFloats(degrees));
    qbExportSetScale(motion, toFloats(scale));
}

QbExportSurface& surfaceOf(Shot& shot, std::string_view stem, size_t index) {
    for (QbExportSceneObject& object : shot.scene.sceneObjects) {
        if (object.name == stem) {
            return object.surfaces.at(index);
        }
    }
    std::fprintf(stderr, "no object %.*s on the stage\n", static_cast<int>(stem.size()), stem.data());
    std::exit(1);
}

void setParam(Shot& shot, std::string_view stem, const char* param, const Curve& value, size_t surface) {
    surfaceOf(shot, stem, surface).shaderParams.push_back({param, qbExportBySeconds(shot.scene, value)});
}

void setParamColour(Shot& shot, std::string_view stem, const Colour& colour) {
    static constexpr const char* names[3] = {"Red", "Green", "Blue"};
    for (size_t i = 0; i < 3; ++i) {
        surfaceOf(shot, stem, 0).shaderParams.push_back({names[i], colour[i]});
    }
}

void setAmbient(Shot& shot, const Path& colour) {
    qbExportVectorBySeconds(shot.scene, shot.scene.ambientChannels,
                            [&](double s) { return channelVector(colour, s); });
}

void setGlow(Shot& shot, const Curve& intensity, const Curve& radius) {
    shot.scene.processing.glowEffect = 1;
    shot.scene.processing.glowIntensity = static_cast<float>(intensity(0));
    shot.scene.processing.glowRadius = static_cast<float>(radius(0));
    shot.scene.processing.glowIntensityChannel = qbExportBySeconds(shot.scene, intensity);
    shot.scene.processing.glowRadiusChannel = qbExportBySeconds(shot.scene, radius);
}

void film(Shot& shot, const Path& eye, const Path& target, const Curve& fovDegrees,
          const Curve& bankDegrees) {
    QbExportCamera& camera = shot.scene.cameras.emplace_back();
    camera.name = "Camera";
    movePosition(shot, camera.motion, eye);
    qbExportRotationBySeconds(shot.scene, camera.motion, [&](double seconds) {
        return qbExportAim(toFloats(eye(seconds)), toFloats(target(seconds)),
                           static_cast<float>(bankDegrees(seconds)));
    });
    camera.zoomChannel = qbExportBySeconds(shot.scene, [&](double seconds) {
        return 1.0 / std::tan(fovDegrees(seconds) * std::numbers::pi / 360.0);
    });
}

void addLamp(Shot& shot, const char* name, const Colour& colour, float range, const Path& position,
             const Curve& intensity) {
    QbExportLight& light = shot.scene.lights.emplace_back();
    light.name = name;
    light.type = QB_EXPORT_LIGHT_POINT;
    light.falloff = 1;
    light.range = range;
    light.rangeChannel = range;
    light.rawColor = colour;
    movePosition(shot, light.motion, position);
    // Colour times intensity is kept as one byte a channel, so it must not pass 1.
    light.intensityChannel = qbExportBySeconds(
        shot.scene, [&](double seconds) { return std::clamp(intensity(seconds), 0.0, 1.0); });
}

void addDistantLight(Shot& shot, const char* name, const Colour& colour, double heading, double pitch,
                     const Curve& intensity) {
    QbExportLight& light = shot.scene.lights.emplace_back();
    light.name = name;
    light.type = QB_EXPORT_LIGHT_DISTANT;
    light.rawColor = colour;
    qbExportSetRotation(light.motion, toFloats({heading, pitch, 0}));
    light.intensityChannel = qbExportBySeconds(
        shot.scene, [&](double seconds) { return std::clamp(intensity(seconds), 0.0, 1.0); });
}

void addSpot(Shot& shot, const char* name, const Colour& colour, const SpotShape& shape, const Path& position,
             const Path& towards, const Curve& intensity) {
    addLamp(shot, name, colour, shape.range, position, intensity);
    QbExportLight& light = shot.scene.lights.back();
    light.type = QB_EXPORT_LIGHT_SPOT;
    light.coneAngles = {qbExportRadians(shape.cone), qbExportRadians(shape.edge)};
    moveAim(shot, light.motion, position, towards);
}

void movePosition(Shot& shot, QbExportMotion& motion, const Path& path) {
    qbExportPositionBySeconds(shot.scene, motion, [&](double s) { return channelVector(path, s); });
}

void moveRotation(Shot& shot, QbExportMotion& motion, const Path& degrees) {
    qbExportRotationBySeconds(shot.scene, motion, [&](double s) { return channelVector(degrees, s); });
}

void moveScale(Shot& shot, QbExportMotion& motion, const Path& factors) {
    qbExportScaleBySeconds(shot.scene, motion, [&](double s) { return channelVector(factors, s); });
}

void moveAim(Shot& shot, QbExportMotion& motion, const Path& from, const Path& to) {
    qbExportRotationBySeconds(shot.scene, motion,
                              [&](double s) { return qbExportAim(toFloats(from(s)), toFloats(to(s))); });
}

Curve constant(double value) {
    return [value](double) { return value; };
}

Path constantVec(Vec value) {
    return [value](double) { return value; };
}

void saveShot(const Shot& shot) {
    const std::string& name = shot.scene.name;
    const std::string path = shot.folder.path + "/" + name.substr(0, name.rfind('.')) + ".quab";
    std::string error;
    if (qbSceneExportSave(shot.scene, path, error) != 0) {
        failSave(path, error);
    }
}

void saveModels(const Folder& folder) {
    for (const Model& model : folder.models) {
        const std::string path =
            folder.path + "/" + model.stem + ".layer" + std::to_string(model.layer) + ".x";
        std::string error;
        if (qbMeshExportSave(model.mesh, model.format, path, error) != 0) {
            failSave(path, error);
        }
    }
}
