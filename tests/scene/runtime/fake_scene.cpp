#include "fake_scene.h"

#include <cstdio>

std::map<std::string, FakeScene> fakeScenes;
int fakeOpenScenes = 0;
std::vector<std::string> fakeLog;
bool fakeLogs = false;

void fakeReset() {
    fakeScenes.clear();
    fakeLog.clear();
    fakeLogs = false;
}

namespace {

using H = QbSceneHandle*;

// The tables never look into the record: the handle carries the fake in its place.
FakeScene& sceneOf(H h) {
    return *reinterpret_cast<FakeScene*>(h->impl);
}

FakeObject& objectOf(H h, int32_t i) {
    return sceneOf(h).objects.at(static_cast<size_t>(i));
}

FakeLight& lightOf(H h, int32_t i) {
    return sceneOf(h).lights.at(static_cast<size_t>(i));
}

FakeCamera& cameraOf(H h, int32_t i) {
    return sceneOf(h).cameras.at(static_cast<size_t>(i));
}

FakeEmitter& emitterOf(H h, int32_t i) {
    return sceneOf(h).emitters.at(static_cast<size_t>(i));
}

void log(const char* what, const char* more = "") {
    if (fakeLogs) fakeLog.push_back(std::string(what) + more);
}

template <class T>
T logged(const char* what, T answer) {
    log(what);
    return answer;
}

float* give(float* out, const FakeVector& value) {
    std::copy(value.begin(), value.end(), out);
    return out;
}

float* giveMotion(const char* item, float* out, const FakeMotion& motion, int32_t kind, float time) {
    const char* name = kind == QB_ITEM_POSITION  ? " position"
                       : kind == QB_ITEM_SCALING ? " scale"
                                                 : " rotation";
    log(item, name);
    give(out, {});
    if (kind == QB_ITEM_POSITION) {
        give(out, motion.position);
        out[0] += motion.speed * time;
    }
    if (kind == QB_ITEM_ROTATION_ALT) give(out, motion.rotation);
    if (kind == QB_ITEM_SCALING) give(out, motion.scale);
    return out;
}

int32_t sizeOf(size_t size) {
    return static_cast<int32_t>(size);
}

const QbSceneInfo SCENE_INFO = {
    [](H h) { return sceneOf(h).firstFrame; },
    [](H h) { return sceneOf(h).lastFrame; },
    [](H h) { return sceneOf(h).framesPerSecond; },
    [](H) { return uint32_t{1}; },
    [](H h, float) { return logged("current camera", sceneOf(h).camera); },
};

const QbBackdropInfo BACKDROP_INFO = {
    [](float* out, H h) { return give(out, sceneOf(h).zenith); },
    [](float* out, H) { return out; },
    [](float* out, H) { return out; },
    [](float* out, H) { return out; },
    [](float* out, H) { return out; },
};

const QbProcessingInfo PROCESSING_INFO = {
    [](H) { return 0; },
    [](H) { return 0; },
    [](H) { return 0; },
    [](H, float) { return 0.0F; },
    [](H h) { return logged("glow", sceneOf(h).glow); },
    [](H h, float) { return sceneOf(h).glowIntensity; },
    [](H h, float) { return sceneOf(h).glowRadius; },
};

void giveSurfaces(H h, int32_t i, QbSurfaceValues* out, int32_t capacity, float time) {
    log("object surfaces");
    for (int s = 0; s < std::min(objectOf(h, i).surfaceCount, capacity); s++) {
        out[s] = {};
        out[s].params[1].color[0] = static_cast<float>(s) + time;
        out[s].params[8].textureImage = objectOf(h, i).bump;
    }
}

const QbObjectInfo OBJECT_INFO = {
    [](H h) { return sizeOf(sceneOf(h).objects.size()); },
    [](H h, int32_t i) { return objectOf(h, i).name.c_str(); },
    [](H h, int32_t i) { return objectOf(h, i).mesh.c_str(); },
    [](H h, int32_t i) -> const char* {
        static char buffer[256];
        snprintf(buffer, sizeof buffer, "%s", objectOf(h, i).mesh.c_str());
        return buffer;
    },
    [](H h, int32_t i) { return objectOf(h, i).isNull ? 1 : 0; },
    [](H, int32_t) { return 2; },
    [](H, int32_t) { return 0; },
    [](float* out, H h, int32_t i, int32_t kind, float time) {
        return giveMotion("object", out, objectOf(h, i).motion, kind, time);
    },
    [](H, int32_t) { return 1; },
    [](H, int32_t) { return logged("object transparency", 0.5F); },
    [](H, int32_t) { return logged("object translucency", 0.0F); },
    [](H h, int32_t i) { return objectOf(h, i).surfaceCount; },
    giveSurfaces,
};

const QbLightInfo LIGHT_INFO = {
    [](H h) { return sizeOf(sceneOf(h).lights.size()); },
    [](float* out, H h, float) { return logged("ambient", give(out, sceneOf(h).ambient)); },
    [](H, int32_t) { return ""; },
    [](H h, int32_t i) { return logged("light type", lightOf(h, i).type); },
    [](H, int32_t) { return 0; },
    [](H h, int32_t i, float* cone, float* edge, float) {
        log("light cone");
        *cone = lightOf(h, i).cone;
        *edge = lightOf(h, i).edge;
    },
    [](H, int32_t) { return 0; },
    [](H h, int32_t i, float time) { return logged("light range", lightOf(h, i).range + time); },
    [](H h, int32_t i) { return lightOf(h, i).falloff; },
    [](float* out, H h, int32_t i, float) { return logged("light color", give(out, lightOf(h, i).color)); },
    [](H h, int32_t i, float) { return lightOf(h, i).intensity; },
    [](float* out, H, int32_t) { return out; },
    [](float* out, H h, int32_t i, int32_t kind, float time) {
        return giveMotion("light", out, lightOf(h, i).motion, kind, time);
    },
};

const QbCameraInfo CAMERA_INFO = {
    [](H h) { return sizeOf(sceneOf(h).cameras.size()); },
    [](H, int32_t) { return ""; },
    [](H h, int32_t i, float* horizontal, float* vertical, float) {
        log("fov");
        *horizontal = cameraOf(h, i).fov;
        *vertical = 1.0F;
    },
    [](H h, int32_t i, int32_t* enabled, float* focalDistance, float* fStop, float) {
        log("depth of field");
        *enabled = cameraOf(h, i).depthOfField;
        *focalDistance = cameraOf(h, i).focalDistance;
        *fStop = cameraOf(h, i).fStop;
    },
    [](float* out, H h, int32_t i, int32_t kind, float time) {
        return giveMotion("camera", out, cameraOf(h, i).motion, kind, time);
    },
};

const QbEmitterInfo EMITTER_INFO = {
    [](H h) { return sizeOf(sceneOf(h).emitters.size()); },
    [](H h, int32_t i) { return emitterOf(h, i).name.c_str(); },
    [](H h, int32_t i) { return logged("emitter image", emitterOf(h, i).image); },
    [](H, int32_t) { return 1.0F; },
    [](float* out, H h, int32_t i) { return give(out, emitterOf(h, i).size); },
    [](float* out, H h, int32_t i, int32_t kind, float time) {
        return giveMotion("emitter", out, emitterOf(h, i).motion, kind, time);
    },
    [](float* out, H, int32_t) { return logged("emitter velocity", give(out, {})); },
    [](float* out, H, int32_t) { return logged("emitter gravity", give(out, {})); },
    [](H, int32_t, float) { return logged("emitter birth rate", 0.0F); },
    [](H, int32_t) { return 0.0F; },
    [](H, int32_t) { return 0.0F; },
    [](H, int32_t) { return logged("emitter limit", -1); },
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
