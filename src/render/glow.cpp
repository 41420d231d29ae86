#include "engine/engine.h"
#include "engine/render_target.h"
#include "materials/shader_file.h"
#include "render/passes.h"
#include "render/pipeline.h"

using namespace irr;

static void draw(QbEngine* engine, QbLppState* state, video::ITexture* source, const QbIrrShader* shader) {
    state->screenQuadPP->getMaterial().setTexture(0, source);
    qbLppDrawQuad(engine, state->screenQuadPP, shader);
}

static void blur(QbEngine* engine, QbLppState* state, QbIrrShader* shader, video::ITexture* source) {
    qbShaderSetFloat(shader, "sampleDist1", engine->glowRadius / 1000.0F);
    draw(engine, state, source, shader);
}

// Each pass covers its target entirely: none is cleared.
void qbLppGlow(QbEngine* engine, QbLppState* state) {
    video::ITexture* a = state->halfScreen[0];
    video::ITexture* b = state->halfScreen[1];
    qbTargetSet(a, false);
    draw(engine, state, state->sceneRTT, state->screenCopy);
    qbTargetSet(b, false);
    draw(engine, state, a, state->glowAlphaMul);
    qbTargetSet(a, false);
    blur(engine, state, state->glowHBlur, b);
    qbTargetSet(b, false);
    blur(engine, state, state->glowVBlur, a);
    qbTargetSet(state->sceneRTT, false);
    qbShaderSetFloat(state->glowCompose, "GlowIntensity", engine->glowIntensity);
    draw(engine, state, b, state->glowCompose);
}

// A place in the frame: the blur amount stands in depthRTT, and no pass reads it yet.
static void qbLppDepthOfField(QbEngine*, QbLppState*) {}

void qbLppPostProcess(QbEngine* engine, QbLppState* state) {
    if (engine->glowEnabled != 0 && engine->glowIntensity != 0.0F) qbLppGlow(engine, state);
    if (engine->depthOfFieldEnabled != 0) qbLppDepthOfField(engine, state);
}
