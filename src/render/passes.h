#pragma once

// What the files of this folder say to one another: the passes of a frame.

#include <irrlicht/irrlicht.h>

struct QbEngine;
struct QbLppState;

// --- light_pass.cpp ---------------------------------------------------------------------------------------

// Fills lightRTT with all lights, by the camera's transforms that the driver holds.
void qbLppLightPass(QbEngine* engine, QbLppState* state,
                    const irr::core::array<irr::scene::ISceneNode*>& lights);

// --- glow.cpp
// -----------------------------------------------------------------------------------------------

// Glow and depth of field over sceneRTT, as far as they are switched on.
void qbLppPostProcess(QbEngine* engine, QbLppState* state);
// Draws `source` over the whole of the bound target.
void qbLppDrawQuad(QbLppState* state, irr::video::ITexture* source, const struct QbIrrShader* shader);
