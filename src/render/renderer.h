#pragma once

// The light pre-pass renderer, as the engine takes it: qbEngineSetRenderer(qbRendererOps()) before
// qbEngineOpen.

struct QbRendererOps;

const QbRendererOps* qbRendererOps();

// The passes of a frame in their order.
enum QbRenderPass {
    QB_PASS_PREPARE, // animation, culling, sorting, lights of the fixed pipeline
    QB_PASS_GEOMETRY,
    QB_PASS_LIGHT,
    QB_PASS_FINAL,
    QB_PASS_TRANSPARENT,
    QB_PASS_POST,    // glow
    QB_PASS_PRESENT, // copy to the window, GUI, overlay
    QB_PASS_END,     // nothing is drawn any more; the picture is not shown yet
    QB_PASS_COUNT,
};

// Called as each pass of a frame begins, for measurements; null removes it. Passes that a frame skips are
// told as well.
using QbPassHook = void (*)(QbRenderPass pass);
void qbRendererSetPassHook(QbPassHook hook);
