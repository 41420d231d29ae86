#pragma once

#include "render/screen_quad.h"

#include <irrlicht/irrlicht.h>

// What the renderer keeps for the whole run: targets, shaders, quads.
//
// normalRTT: RG view-space normal away from the camera, encoded; B specular amount; A glossiness.
// depthRTT:  R view-space depth over the camera's far value; G depth-of-field blur.
// lightRTT:  RGB diffuse light; A specular light.
// sceneRTT:  the picture; A is what glows. The window's own depth buffer can not be shared with the targets,
//            so the picture is drawn here and copied to the window at the end.

struct QbEngine;
struct QbIrrShader;

enum {
    QB_DEPTH_VARIANTS = 16,
    QB_LIGHT_VARIANTS = 3,
    QB_FINAL_VARIANTS = 8,
    QB_FINAL_REFLECT_VARIANTS = 32,
};

// Bits of the variants, in the order of their defines.
enum { QB_DEPTH_TEX_NORM = 1, QB_DEPTH_TEX_SPEC = 2, QB_DEPTH_TEX_GLOS = 4, QB_DEPTH_DOF = 8 };
enum {
    QB_FINAL_TEX_COLOR = 1,
    QB_FINAL_TEX_LUMINOSITY = 2,
    QB_FINAL_TEX_DIFFUSE = 4,
    QB_FINAL_TEX_REFLECTIVITY = 8, // these two with reflection only
    QB_FINAL_TEX_NORMAL = 16,
};
enum { QB_LIGHT_DISTANT = 0, QB_LIGHT_POINT = 1, QB_LIGHT_SPOT = 2 };

struct QbLppState {
    irr::video::ITexture* depthRTT;
    irr::video::ITexture* normalRTT;
    irr::video::ITexture* lightRTT;
    irr::core::array<irr::video::IRenderTarget>* gbufferTargets; // normalRTT, depthRTT
    irr::video::ITexture* halfScreen[2];                         // half the size, rounded down, at least 1
    QbIrrShader* depthClear;
    QbIrrShader* depthPass[QB_DEPTH_VARIANTS];
    QbIrrShader* lightClear;
    QbIrrShader* lightPass[QB_LIGHT_VARIANTS];
    QbIrrShader* finalPass[QB_FINAL_VARIANTS];
    QbIrrShader* finalReflectPass[QB_FINAL_REFLECT_VARIANTS];
    QbIrrShader* glowAlphaMul;
    QbIrrShader* glowHVBlur; // compiled, never drawn
    QbIrrShader* glowHBlur;
    QbIrrShader* glowVBlur;
    QbIrrShader* glowCompose;
    CScreenQuad* screenQuad;   // layers: depthRTT, normalRTT
    CScreenQuad* screenQuadPP; // layer 0 changes with each pass
    irr::video::ITexture* sceneRTT;
    QbIrrShader* screenCopy;
};

// Makes targets and shaders for the open device. Null after a message.
QbLppState* qbRendererCreate(QbEngine* engine);
// Removes the targets; the shaders stay with the device.
void qbRendererFree(QbEngine* engine, QbLppState* state);
// One frame, to the window.
void qbRendererDrawFrame(QbEngine* engine, QbLppState* state);

// Draws all objects once through all passes, hidden or not, without showing them.
void qbRendererWarmUp(QbEngine* engine, QbLppState* state);

// The state of the open engine's renderer; null without one.
QbLppState* qbRendererState();
