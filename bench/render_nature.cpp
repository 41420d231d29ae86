// Particles and terrain: what they add to an empty frame. Time is stepped, so that all rows see the same
// picture.

#include "engine/camera.h"
#include "engine/engine.h"
#include "render_measure.h"
#include "scene/runtime/fx_emitters.h"
#include "scene/runtime/objects.h"
#include "support/temporary_directory.h"

#include <irrlicht/irrlicht.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <vector>

using namespace irr;

enum { EMITTERS = 16, RATE = 1000 /* a second */, LIFE = 1000 /* ms */, STEP = 10 /* ms a frame */ };
enum { TERRAIN_ID = 1, TERRAIN_SIDE = 513, PATCHES = (TERRAIN_SIDE - 1) / 32 };

static const char IMAGE[] = "checks"; // made by the objects' rows

static int now = 0; // ms

static void stepFrame() {
    now += STEP;
    drawFrame();
}

namespace {

struct Row {
    Times thread = unmeasured(), finished = unmeasured();
    double stock = 1e9; // Irrlicht's own frame, drawing thread
};

} // namespace

static Row measureFrames(int frames) {
    Row row;
    for (int i = 0; i < 2 * LIFE / STEP; ++i)
        stepFrame(); // until as many die as are born
    for (int i = 0; i < frames; ++i) {
        row.stock = std::min(row.stock, stockFrame());
        stepFrame();
        keepFastest(row.thread, threadTimes());
        now += STEP;
        keepFastest(row.finished, finishedFrame());
    }
    return row;
}

// What `row` has more than the empty frame, and which part of the frame that is.
static void printAdded(const char* what, const Row& row, const Row& empty) {
    const double thread = row.thread[QB_PASS_END] - empty.thread[QB_PASS_END];
    const double finished = row.finished[QB_PASS_END] - empty.finished[QB_PASS_END];
    std::printf("%-24s drawing thread %.3f ms, %2.0f %% of its frame; finished %.3f ms, %2.0f %%; stock "
                "drawAll, thread "
                "%.3f ms\n",
                what, thread, 100 * thread / row.thread[QB_PASS_END], finished,
                100 * finished / row.finished[QB_PASS_END], row.stock - empty.stock);
}

// --- particles ------------------------------------------------------------------------------------------

static core::vector3df emitterPosition(int index) {
    return core::vector3df(static_cast<float>(index % 4 - 2) * 20.0F,
                           static_cast<float>(index / 4 - 2) * 15.0F, 100.0F);
}

static void addEmitters() {
    for (int id = 0; id < EMITTERS; ++id) {
        qbFxEmitterCreateBox(id, IMAGE, 1.0F, LIFE, 30.0F, 10.0F, 10.0F, 10.0F);
        const core::vector3df at = emitterPosition(id);
        qbFxEmitterSetPosition(id, at.X, at.Y, at.Z);
        qbFxEmitterSetVelocity(id, 0.0F, 10.0F, 0.0F);
        qbFxEmitterSetBirthRate(id, RATE);
    }
}

static std::vector<scene::IParticleSystemSceneNode*> addStockEmitters() {
    QbEngine* engine = qbEngineGet();
    std::vector<scene::IParticleSystemSceneNode*> nodes;
    const video::SColor color(0, 255, 255, 255);
    for (int i = 0; i < EMITTERS; ++i) {
        auto* node = engine->smgr->addParticleSystemSceneNode(false, nullptr, -1, emitterPosition(i));
        scene::IParticleEmitter* emitter = node->createBoxEmitter(
            core::aabbox3df(-5, -5, -5, 5, 5, 5), core::vector3df(0, 0.01F, 0), RATE, RATE + RATE / 10, color,
            color, LIFE, LIFE + LIFE / 10, 30, core::dimension2df(1, 1), core::dimension2df(1.1F, 1.1F));
        node->setEmitter(emitter);
        emitter->drop();
        scene::IParticleAffector* fade = node->createFadeOutParticleAffector(video::SColor(0), 1000);
        node->addAffector(fade);
        fade->drop();
        node->setMaterialFlag(video::EMF_ZWRITE_ENABLE, false);
        node->setMaterialFlag(video::EMF_LIGHTING, false);
        node->setMaterialTexture(0, engine->driver->getTexture(IMAGE));
        node->setMaterialType(video::EMT_TRANSPARENT_VERTEX_ALPHA);
        nodes.push_back(node);
    }
    return nodes;
}

void measureParticles(const Options& options) {
    qbEngineSetTimeSource([] { return now; });
    qbEngineTime();
    const Row empty = measureFrames(options.frames);
    addEmitters();
    const Row ours = measureFrames(options.frames);
    for (int id = 0; id < EMITTERS; ++id)
        qbFxEmitterFree(id);
    const std::vector<scene::IParticleSystemSceneNode*> nodes = addStockEmitters();
    const Row theirs = measureFrames(options.frames);
    for (scene::IParticleSystemSceneNode* node : nodes)
        node->remove();
    qbEngineSetTimeSource(nullptr);
    std::printf("\nPARTICLES: %d emitters of about %d particles; empty frame %.3f ms, finished %.3f\n",
                int{EMITTERS}, RATE * LIFE / 1000, empty.thread[QB_PASS_END], empty.finished[QB_PASS_END]);
    printAdded("box emitters", ours, empty);
    printAdded("Irrlicht's box emitters", theirs, empty);
}

// --- terrain --------------------------------------------------------------------------------------------

static void writeHills(const char* name) {
    std::ofstream file(name, std::ios::binary);
    for (int row = 0; row < TERRAIN_SIDE; ++row)
        for (int column = 0; column < TERRAIN_SIDE; ++column) {
            const double height = 1 + std::sin(column * 0.05) * std::cos(row * 0.07);
            const auto sample = static_cast<uint16_t>(height * 4000);
            file.put(static_cast<char>(sample & 0xFF));
            file.put(static_cast<char>(sample >> 8));
        }
}

static bool addTerrain() {
    const TemporaryDirectory directory;
    writeHills("hills.terrain_height.raw");
    qbObjectLoad("hills.terrain.layer1.x", TERRAIN_ID);
    if (!qbObjectExists(TERRAIN_ID)) return false;
    QbSurfaceValues surface = {};
    surface.name = "hills";
    surface.params[QB_SURFACE_BASE_COLOR] = {0, {0.5F, 0.6F, 0.4F}, 0, 0, nullptr};
    surface.params[QB_SURFACE_DIFFUSE] = {1, {1.0F, 0, 0}, 0, 0, nullptr};
    qbObjectSetSurfaces(TERRAIN_ID, 1, &surface, 0);
    return true;
}

void measureTerrain(const Options& options) {
    scene::ICameraSceneNode* camera = qbEngineGet()->camera;
    qbCameraSetRange(1.0F, 10000.0F);
    camera->setPosition(core::vector3df(3840, 900, -200));
    camera->setTarget(core::vector3df(3840, 300, 3840));
    const Row empty = measureFrames(options.frames);
    if (!addTerrain()) {
        std::printf("\nTERRAIN: not measured, it does not load\n");
        return;
    }
    const Row hills = measureFrames(options.frames);
    qbObjectFree(TERRAIN_ID);
    std::printf("\nTERRAIN: %d x %d, %d patches; empty frame %.3f ms, finished %.3f\n", int{TERRAIN_SIDE},
                int{TERRAIN_SIDE}, PATCHES * PATCHES, empty.thread[QB_PASS_END], empty.finished[QB_PASS_END]);
    printAdded("terrain", hills, empty);
}
