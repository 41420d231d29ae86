#include "props.h"

#include "palette.h"

#include <array>

namespace {

// As if the air were even: every shell stands for the air between it and the one before.
constexpr std::array<float, 5> shells = {480, 1000, 1700, 2600, 3700};

} // namespace

void addAirModels(Folder& folder) {
    addModel(folder, "sky", makeDome(1),
             {{.name = "Sky", .colour = mauve, .diffuse = 0, .luminosity = 1, .shader = "sky.hlsl"}});
    addModel(folder, "air", makeDome(1),
             {{.name = "Air", .colour = mauve, .diffuse = 0, .shader = "haze.hlsl"}});
}

void placeAir(Shot& shot, const Path& eye, const Air& air) {
    QbExportMotion& sky = place(shot, "sky").motion;
    movePosition(shot, sky, eye);
    qbExportSetScale(sky, {air.radius, air.radius, air.radius});
    setParam(shot, "sky", "Late", constant(air.late));
    for (const float radius : shells) {
        QbExportMotion& shell = place(shot, "air").motion;
        movePosition(shot, shell, eye);
        qbExportSetScale(shell, {radius, radius, radius});
    }
    setParam(shot, "air", "Strength", constant(air.haze * 0.077));
    setParam(shot, "air", "Height", constant(0.5));
    setParam(shot, "air", "Warmth", constant(1 - air.late));
}

void placeTerrain(Shot& shot, const char* stem, const Ground& ground) {
    QbExportObject& object = shot.scene.objects.emplace_back();
    object.name = stem;
    object.fileName = std::string(stem) + ".lwo";
    QbExportSceneObject& file = shot.scene.sceneObjects.emplace_back();
    file.name = stem;
    file.fileName = object.fileName;
    QbExportSurface& surface = file.surfaces.emplace_back();
    surface.name = "Ground";
    qbExportSetImage(surface, "BaseColor", ground.image);
    qbExportSetFloat(surface, "Diffuse", 1);
    if (ground.luminosityMap != nullptr) {
        qbExportSetImage(surface, "Luminosity", ground.luminosityMap);
    }
    if (ground.specularityMap != nullptr) {
        qbExportSetImage(surface, "Specularity", ground.specularityMap);
        qbExportSetFloat(surface, "Glossiness", ground.glossiness);
    }
}

void addEmitter(Shot& shot, const Emitter& emitter, const Path& position) {
    QbExportEmitter& added = shot.scene.emitters.emplace_back();
    const float frames = shot.scene.framesPerSecond;
    added.name = emitter.name;
    added.hyperVoxelImage = emitter.image;
    added.hyperVoxelParticleSize = emitter.size;
    added.generatorSize = toFloats(emitter.box);
    added.velocity = toFloats(emitter.velocity);
    added.gravity = toFloats(emitter.gravity);
    added.explosion = emitter.spread;
    added.birthRate = emitter.rate;
    added.lifeTime = {emitter.seconds * frames, 0};
    added.particleLimit = emitter.limit;
    added.fixed = emitter.from > 0 ? 1 : 0;
    added.startFrame = static_cast<int32_t>(emitter.from * static_cast<double>(frames) + 0.5);
    if (position) {
        movePosition(shot, added.motion, position);
    }
}
