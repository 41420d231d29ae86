// What a frame of the renderer costs, in one run and side by side with Irrlicht's own drawAll of the same
// scene:
//
//   objects   a frame of many boxes without lights: processor time of the drawing thread, pass by pass
//   lights    what one light adds to a frame: over the whole picture, over a tenth of it, over a hundredth
//   particles what 16 emitters of 1,000 particles each add to a frame, and what Irrlicht's own do
//   terrain   what a terrain of 513 x 513 adds to a frame, and to Irrlicht's own frame
//   start     targets and all shader variants, the second time in a row (the driver's cache is warm)
//
// Every row is measured many times, in turns with the others; the fastest counts, since what disturbs only
// adds. "finished" times wait for the driver after each pass; on a software renderer that is the drawing
// itself. GPU times come from timer queries where the driver has them.

#include "engine/engine.h"
#include "engine/lights.h"
#include "materials/surface.h"
#include "platform/message.h"
#include "render/pipeline.h"
#include "render/renderer.h"
#include "render_measure.h"
#include "scene/runtime/objects.h"

#include <epoxy/gl.h>
#include <irrlicht/irrlicht.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

using namespace irr;

namespace {

// --- scene ----------------------------------------------------------------------------------------------

const char TEXTURE[] = "checks"; // of all objects

void makeTexture() {
    video::IVideoDriver* driver = qbEngineGet()->driver;
    video::IImage* image = driver->createImage(video::ECF_A8R8G8B8, core::dimension2du(64, 64));
    for (u32 y = 0; y < 64; ++y)
        for (u32 x = 0; x < 64; ++x)
            image->setPixel(x, y,
                            (x / 8 + y / 8) % 2 ? video::SColor(0xFFC08040) : video::SColor(0xFFE0D0C0));
    driver->addTexture(TEXTURE, image);
    image->drop();
}

scene::SAnimatedMesh* makeBox(float size) {
    scene::IMesh* box = qbEngineGet()->smgr->getGeometryCreator()->createCubeMesh(core::vector3df(size));
    auto* mesh = new scene::SAnimatedMesh(box);
    box->drop();
    return mesh;
}

void addObject(int id, scene::SAnimatedMesh* mesh, core::vector3df position) {
    auto object = std::make_unique<QbObjectRec>();
    object->id = id;
    object->isStatic = 1;
    object->mesh = mesh;
    object->node = qbEngineGet()->smgr->addMeshSceneNode(mesh, nullptr, id, position);
    object->node->getMaterial(0).setTexture(0, qbEngineGet()->driver->getTexture(TEXTURE));
    if (qbIdListAdd(qbEngineGet()->objects, id, object.get()) != 0) return;
    static_cast<void>(object.release());
    static QbSurfaceValues surface;
    surface.name = "box";
    surface.params[QB_SURFACE_BASE_COLOR] = {0, {0.8F, 0.7F, 0.6F}, 0, 0, nullptr};
    surface.params[QB_SURFACE_BASE_COLOR].textureImage = TEXTURE;
    for (const QbSurfaceSlot slot : {QB_SURFACE_DIFFUSE, QB_SURFACE_SPECULARITY, QB_SURFACE_GLOSSINESS})
        surface.params[slot] = {1, {0.5F, 0, 0}, 0, 0, nullptr};
    qbObjectSetSurfaces(id, 1, &surface, 0);
}

// Boxes in a square grid that fills the picture, at distance 100.
void fillScene(int objects, float heightAt100, float aspect) {
    const int columns = static_cast<int>(std::ceil(std::sqrt(static_cast<double>(objects))));
    const float step = heightAt100 / static_cast<float>(columns);
    scene::SAnimatedMesh* mesh = makeBox(step * 0.8F);
    for (int i = 0; i < objects; ++i) {
        const float x = (static_cast<float>(i % columns) + 0.5F) * step - heightAt100 / 2;
        const float y = (static_cast<float>(i / columns) + 0.5F) * step - heightAt100 / 2;
        addObject(i, mesh, core::vector3df(x * aspect, y, 100.0F));
    }
    mesh->drop();
}

void clearObjects() {
    for (int id = 0; id < 1000; ++id)
        qbObjectFree(id);
}

void setLights(int count, core::vector3df first, core::vector3df step, float range) {
    for (int id = 0; id < count; ++id) {
        qbLightCreate(id);
        qbLightSetPoint(id);
        qbLightSetRange(id, range);
        qbLightSetColor(id, 0x010101);
        const core::vector3df at = first + step * static_cast<float>(id % 10);
        qbLightSetPosition(id, at.X, at.Y, at.Z);
    }
}

void clearLights() {
    for (int id = 0; id < 1000; ++id)
        qbLightFree(id);
}

// --- rows -----------------------------------------------------------------------------------------------

bool measureObjects(const Options& options) {
    Times thread = unmeasured(), finished = unmeasured(), gpu = unmeasured();
    double stock = 1e9;
    drawFrame();
    for (int i = 0; i < options.frames; ++i) {
        stock = std::min(stock, stockFrame());
        drawFrame();
        keepFastest(thread, threadTimes());
        if (hasGpuTimes()) keepFastest(gpu, gpuTimes());
        keepFastest(finished, finishedFrame());
    }
    std::printf("\nOBJECTS: %d, no light, %d x %d, milliseconds\n", options.objects, options.width,
                options.height);
    printPasses("drawing thread", thread);
    printPasses("finished", finished);
    if (hasGpuTimes()) printPasses("GPU", gpu);
    std::printf("%-24s frame %.3f\n", "stock drawAll, thread", stock);
    return printRatio("frame of the renderer / stock drawAll, drawing thread", thread[QB_PASS_END] / stock,
                      2.5);
}

// Light pass of so many lights less the pass without one.
struct LightRow {
    const char* what;
    core::vector3df first, step;
    float range;
    double finished = 1e9, gpu = 1e9;
};

void measureRow(const Options& options, LightRow& row) {
    setLights(options.lights, row.first, row.step, row.range);
    drawFrame();
    for (int i = 0; i < 3; ++i) {
        row.finished = std::min(row.finished, finishedFrame()[QB_PASS_LIGHT]);
        drawFrame();
        if (hasGpuTimes()) row.gpu = std::min(row.gpu, gpuTimes()[QB_PASS_LIGHT]);
    }
    clearLights();
}

// Half the height of the picture at distance 100 is `half`: a sphere of a tenth of the picture's area has a
// radius of sqrt(0.4 x half^2 x aspect / pi).
bool measureLights(const Options& options, float half, float aspect) {
    const auto radius = [&](float share) {
        return std::sqrt(4.0F * share * half * half * aspect / core::PI);
    };
    const core::vector3df left(-half * 0.5F, 0, 100), step(half * 0.1F, 0, 0);
    LightRow rows[] = {{"whole picture", left, step, 1e7F},
                       {"a tenth of it", left, step, radius(0.1F)},
                       {"a hundredth of it", left, step, radius(0.01F)}};
    double none = 1e9, noneGpu = 1e9;
    for (int i = 0; i < std::max(options.frames / 6, 1); ++i) {
        none = std::min(none, finishedFrame()[QB_PASS_LIGHT]);
        drawFrame();
        if (hasGpuTimes()) noneGpu = std::min(noneGpu, gpuTimes()[QB_PASS_LIGHT]);
        for (LightRow& row : rows)
            measureRow(options, row);
    }
    std::printf("\nLIGHTS: %d of a kind, %d x %d; light pass without one %.3f ms\n", options.lights,
                options.width, options.height, none);
    for (const LightRow& row : rows) {
        std::printf("%-24s pass %.3f ms, a light %.4f ms", row.what, row.finished,
                    (row.finished - none) / options.lights);
        if (hasGpuTimes()) std::printf("; GPU pass %.3f ms (%.3f without lights)", row.gpu, noneGpu);
        std::printf("\n");
    }
    return printRatio("a light over a tenth / a light over the whole picture",
                      (rows[1].finished - none) / (rows[0].finished - none), 0.2);
}

// --- the run --------------------------------------------------------------------------------------------

QbSetup setupOf(const Options& options) {
    QbSetup setup;
    setup.width = options.width;
    setup.height = options.height;
    setup.vsync = 0;
    setup.cameraNear = 1.0F;
    setup.cameraFar = 1000.0F;
    return setup;
}

double createTime;

int timedCreate() {
    const double begin = wallTime();
    const int result = qbRendererOps()->create();
    createTime = wallTime() - begin;
    return result;
}

bool openEngine(const Options& options) {
    static const QbRendererOps timed = {timedCreate, qbRendererOps()->drawFrame, qbRendererOps()->free,
                                        nullptr};
    qbEngineSetRenderer(&timed);
    const QbSetup setup = setupOf(options);
    return qbEngineOpen(&setup) == 0;
}

// The word behind `name=`, or null.
const char* valueOf(const char* argument, const char* name) {
    const size_t length = std::strlen(name);
    return std::strncmp(argument, name, length) == 0 ? argument + length : nullptr;
}

bool readOptions(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const char* argument = argv[i];
        if (const char* size = valueOf(argument, "--size=")) {
            if (std::sscanf(size, "%dx%d", &options.width, &options.height) != 2) return false;
        } else if (const char* objects = valueOf(argument, "--objects=")) {
            options.objects = std::clamp(std::atoi(objects), 0, 1000);
        } else if (const char* lights = valueOf(argument, "--lights=")) {
            options.lights = std::clamp(std::atoi(lights), 1, 1000);
        } else if (const char* frames = valueOf(argument, "--frames=")) {
            options.frames = std::max(std::atoi(frames), 1);
        } else {
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    if (!readOptions(argc, argv, options)) {
        std::fprintf(stderr, "Usage: render_bench [--size=WxH] [--objects=N] [--lights=N] [--frames=N]\n");
        return 2;
    }
    if (!openEngine(options)) return 2;
    const double first = createTime;
    qbEngineClose();
    if (!openEngine(options)) return 2;
    const double second = createTime;

    scene::ICameraSceneNode* camera = qbEngineGet()->camera;
    camera->setPosition(core::vector3df(0, 0, 0));
    camera->setTarget(core::vector3df(0, 0, 100));
    camera->setFOV(1.0F);
    const float half = 100.0F * std::tan(0.5F);
    const float aspect = camera->getAspectRatio();
    makeTexture();
    fillScene(options.objects, 2 * half, aspect);
    startMeasuring();
    std::printf("%s\n", reinterpret_cast<const char*>(glGetString(GL_RENDERER)));
    bool met = measureObjects(options);
    met &= measureLights(options, half, aspect);
    clearObjects();
    measureParticles(options);
    measureTerrain(options);
    std::printf("\nSTART: targets and all shaders %.0f ms, the second time %.0f ms\n", first, second);
    met &= printRatio("start, the second time, in seconds", second / 1000.0, 0.6);
    qbRendererSetPassHook(nullptr);
    qbEngineClose();
    return met ? 0 : 1;
}
