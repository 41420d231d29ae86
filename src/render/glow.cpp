#include "engine/engine.h"
#include "engine/render_target.h"
#include "materials/shader_file.h"
#include "materials/shader_gpu.h"
#include "render/passes.h"
#include "render/pipeline.h"

using namespace irr;

void qbLppDrawQuad(QbLppState* state, video::ITexture* source, const QbIrrShader* shader) {
    video::SMaterial& material = state->screenQuadPP->getMaterial();
    material.setTexture(0, source);
    qbShaderApply(shader, &material);
    state->screenQuadPP->render(qbEngineGet()->driver);
}

static void blur(QbLppState* state, QbIrrShader* shader, video::ITexture* source, float radius) {
    qbShaderSetFloat(shader, "sampleDist1", radius / 1000.0F);
    qbLppDrawQuad(state, source, shader);
}

// Each pass covers its target entirely: none is cleared.
static void qbLppGlow(QbEngine* engine, QbLppState* state) {
    video::ITexture* a = state->halfScreen[0];
    video::ITexture* b = state->halfScreen[1];
    qbTargetSet(a, false);
    qbLppDrawQuad(state, state->sceneRTT, state->screenCopy);
    qbTargetSet(b, false);
    qbLppDrawQuad(state, a, state->glowAlphaMul);
    qbTargetSet(a, false);
    blur(state, state->glowHBlur, b, engine->glowRadius);
    qbTargetSet(b, false);
    blur(state, state->glowVBlur, a, engine->glowRadius);
    qbTargetSet(state->sceneRTT, false);
    qbShaderSetFloat(state->glowCompose, "GlowIntensity", engine->glowIntensity);
    qbLppDrawQuad(state, b, state->glowCompose);
}

// A place in the frame: the blur amount stands in depthRTT, and no pass reads it yet.
static void qbLppDepthOfField(QbEngine*, QbLppState*) {}

void qbLppPostProcess(QbEngine* engine, QbLppState* state) {
    if (engine->glowEnabled != 0 && engine->glowIntensity != 0.0F) qbLppGlow(engine, state);
    if (engine->depthOfFieldEnabled != 0) qbLppDepthOfField(engine, state);
}
