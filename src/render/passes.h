#pragma once

// What the files of this folder say to one another: the passes of a frame.

#include "render/screen_quad.h"

#include <irrlicht/irrlicht.h>

struct QbEngine;
struct QbIrrShader;
struct QbLppState;

// --- light_pass.cpp ---

// Fills lightRTT with all lights, by the camera's transforms that the driver holds.
void qbLppLightPass(QbEngine* engine, QbLppState* state,
                    const irr::core::array<irr::scene::ISceneNode*>& lights);

// Draws each kind of light once, whatever it lights.
void qbLppWarmUpLights(QbEngine* engine, QbLppState* state);

// --- glow.cpp ---

// Glow and depth of field over sceneRTT, as far as they are switched on.
void qbLppPostProcess(QbEngine* engine, QbLppState* state);
void qbLppGlow(QbEngine* engine, QbLppState* state);

// --- screen_quad.cpp ---

// Draws the quad over the whole of the bound target, with its layers as they stand.
void qbLppDrawQuad(QbEngine* engine, CScreenQuad* quad, const QbIrrShader* shader);
