#include "render/renderer.h"

#include "engine/engine.h"
#include "render/pipeline.h"

static QbLppState* state;

QbLppState* qbRendererState() {
    return state;
}

static int create() {
    state = qbRendererCreate(qbEngineGet());
    return state ? 0 : -1;
}

static void drawFrame() {
    qbRendererDrawFrame(qbEngineGet(), state);
}

static void freeState() {
    qbRendererFree(qbEngineGet(), state);
    state = nullptr;
}

static void warmUp() {
    qbRendererWarmUp(qbEngineGet(), state);
}

const QbRendererOps* qbRendererOps() {
    static const QbRendererOps operations = {create, drawFrame, freeState, warmUp};
    return &operations;
}
