#include "fake_scene.h"

std::map<std::string, FakeScene> fakeScenes;
int fakeOpenScenes = 0;
std::string fakeLog;

namespace {

using H = QbSceneHandle*;

// The tables never look into the record: the handle carries the fake in its place.
FakeScene& sceneOf(H h) {
    return *reinterpret_cast<FakeScene*>(h->impl);
}

template <class T>
int32_t count(const std::vector<T>& items) {
    return static_cast<int32_t>(items.size());
}

template <class T>
T& item(std::vector<T>& items, int32_t i) {
    return items.at(static_cast<size_t>(i));
}

template <class T>
T logged(char what, T answer) {
    fakeLog += what;
    return answer;
}

float* give(float* out, const FakeVector& value) {
    std::copy(value.begin(), value.end(), out);
    return out;
}

float* giveMotion(char what, float* out, const FakeMotion& motion, int32_t kind, float time) {
    if (kind == QB_ITEM_ROTATION_ALT) return give(out, motion.rotation);
    if (kind == QB_ITEM_SCALING) return give(out, motion.scale);
    give(out, logged(what, motion.position));
    out[0] += motion.speed * time;
    return out;
}

const QbSceneInfo SCENE_INFO = {
    [](H h) { return sceneOf(h).firstFrame; },      [](H h) { return sceneOf(h).lastFrame; },
    [](H h) { return sceneOf(h).framesPerSecond; }, [](H) { return uint32_t{1}; },
    [](H h, float) { return sceneOf(h).camera; },
};

float* giveNothing(float* out, H) {
    return out;
}
const QbBackdropInfo BACKDROP_INFO = {[](float* out, H h) { return give(out, sceneOf(h).zenith); },
                                      giveNothing, giveNothing, giveNothing, giveNothing};

int32_t zero(H) {
    return 0;
}
const QbProcessingInfo PROCESSING_INFO = {
    zero,
    zero,
    zero,
    [](H, float) { return 0.0F; },
    [](H h) { return logged('g', sceneOf(h).glow); },
    [](H, float) { return 0.5F; },
    [](H, float) { return 9.0F; },
};

void giveSurfaces(H h, int32_t i, QbSurfaceValues* out, int32_t capacity, float time) {
    const int given = std::min(logged('s', item(sceneOf(h).objects, i).surfaceCount), capacity);
    for (int s = 0; s < given; s++) {
        out[s] = {};
        out[s].params[1].color[0] = static_cast<float>(s) + time;
    }
}

const QbObjectInfo OBJECT_INFO = {
    [](H h) { return count(sceneOf(h).objects); },
    [](H h, int32_t i) { return item(sceneOf(h).objects, i).name.c_str(); },
    [](H h, int32_t i) { return item(sceneOf(h).objects, i).mesh.c_str(); },
    [](H h, int32_t i) -> const char* {
        static char buffer[256];
        snprintf(buffer, sizeof buffer, "%s", item(sceneOf(h).objects, i).mesh.c_str());
        return buffer;
    },
    [](H h, int32_t i) { return item(sceneOf(h).objects, i).isNull ? 1 : 0; },
    [](H, int32_t) { return 2; },
    [](H, int32_t) { return 0; },
    [](float* out, H h, int32_t i, int32_t kind, float time) {
        return giveMotion('o', out, item(sceneOf(h).objects, i).motion, kind, time);
    },
    [](H, int32_t) { return 1; },
    [](H, int32_t) { return 0.5F; },
    [](H, int32_t) { return 0.0F; },
    [](H h, int32_t i) { return item(sceneOf(h).objects, i).surfaceCount; },
    giveSurfaces,
};

const QbLightInfo LIGHT_INFO = {
    [](H h) { return count(sceneOf(h).lights); },
    [](float* out, H h, float) { return give(out, logged('a', sceneOf(h).ambient)); },
    [](H, int32_t) { return ""; },
    [](H h, int32_t i) { return logged('t', item(sceneOf(h).lights, i).type); },
    [](H, int32_t) { return 0; },
    [](H h, int32_t i, float* cone, float* edge, float) {
        *cone = 30.0F;
        *edge = item(sceneOf(h).lights, i).edge;
    },
    [](H, int32_t) { return 0; },
    [](H, int32_t, float time) { return 40.0F + time; },
    [](H h, int32_t i) { return item(sceneOf(h).lights, i).falloff; },
    [](float* out, H h, int32_t i, float) { return give(out, item(sceneOf(h).lights, i).color); },
    [](H h, int32_t i, float) { return item(sceneOf(h).lights, i).intensity; },
    [](float* out, H, int32_t) { return out; },
    [](float* out, H h, int32_t i, int32_t kind, float time) {
        return giveMotion('l', out, {{}, item(sceneOf(h).lights, i).rotation}, kind, time);
    },
};

const QbCameraInfo CAMERA_INFO = {
    [](H h) { return count(sceneOf(h).cameras); },
    [](H, int32_t) { return ""; },
    [](H h, int32_t i, float* horizontal, float* vertical, float) {
        *horizontal = item(sceneOf(h).cameras, i).fov;
        *vertical = 1.0F;
    },
    [](H h, int32_t i, int32_t* enabled, float* focalDistance, float* fStop, float) {
        const FakeCamera& camera = item(sceneOf(h).cameras, i);
        *enabled = camera.depthOfField;
        *focalDistance = camera.focalDistance;
        *fStop = camera.fStop;
    },
    [](float* out, H h, int32_t i, int32_t kind, float time) {
        return giveMotion('c', out, item(sceneOf(h).cameras, i).motion, kind, time);
    },
};

FakeEmitter& emitter(H h, int32_t i) {
    return item(sceneOf(h).emitters, i);
}
const QbEmitterInfo EMITTER_INFO = {
    [](H h) { return count(sceneOf(h).emitters); },
    [](H h, int32_t i) { return emitter(h, i).name.c_str(); },
    [](H h, int32_t i) { return logged('i', emitter(h, i).image); },
    [](H h, int32_t i) { return emitter(h, i).particleSize; },
    [](float* out, H h, int32_t i) { return give(out, emitter(h, i).size); },
    [](float* out, H h, int32_t i, int32_t kind, float time) {
        return giveMotion('e', out, emitter(h, i).motion, kind, time);
    },
    [](float* out, H h, int32_t i) { return give(out, emitter(h, i).velocity); },
    [](float* out, H h, int32_t i) { return give(out, emitter(h, i).gravity); },
    [](H h, int32_t i, float time) {
        return time < emitter(h, i).birthFrom ? 0.0F : emitter(h, i).birthRate;
    },
    [](H h, int32_t i) { return emitter(h, i).life; },
    [](H h, int32_t i) { return emitter(h, i).explosion; },
    [](H h, int32_t i) { return emitter(h, i).limit; },
};

} // namespace

QbSceneHandle* qbSceneOpen(const char* fileName) {
    const auto found = fakeScenes.find(fileName);
    if (found == fakeScenes.end()) return nullptr;
    fakeOpenScenes++;
    return new QbSceneHandle{reinterpret_cast<QbScene*>(&found->second),
                             1,
                             &SCENE_INFO,
                             &BACKDROP_INFO,
                             &PROCESSING_INFO,
                             &OBJECT_INFO,
                             &LIGHT_INFO,
                             &CAMERA_INFO,
                             &EMITTER_INFO};
}

void qbSceneClose(QbSceneHandle* handle) {
    fakeOpenScenes--;
    delete handle;
}

int qbSceneSave(QbSceneHandle*, const char* where) {
    return where ? 7 : -1;
}
