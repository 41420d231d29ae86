#pragma once

#include <irrlicht/irrlicht.h>
#include <vector>

// Materials of a node for the length of one pass: each surface gets the variant that its maps ask for, and
// everything reads as before when the pass is over.

struct QbLppState;
struct QbSurfaceCtx;

// How a layer samples its texture; a pass's shader has its own wishes.
struct materialLayerCtx_s {
    irr::u8 wrapU, wrapV;
    bool bilinear, trilinear;
    irr::u8 anisotropic;
};

// The fields of a material that a pass writes.
struct materialCtx_s {
    irr::u32 materialType;
    irr::video::ITexture* textures[irr::video::MATERIAL_MAX_TEXTURES];
    float materialTypeParam;
    float materialTypeParam2;
    materialLayerCtx_s layers[irr::video::MATERIAL_MAX_TEXTURES];
    irr::video::E_BLEND_OPERATION blendOperation;
    bool useMipMaps;
};

// The materials of one node. Kept by the passes from node to node, so that a frame allocates nothing.
using QbSavedMaterials = std::vector<materialCtx_s>;

void qbLppSaveMaterials(irr::scene::ISceneNode* node, QbSavedMaterials* saved);
void qbLppRestoreMaterials(irr::scene::ISceneNode* node, const QbSavedMaterials& saved);

// True for a surface that the geometry buffer can not hold: with a shader of its own, or transparent.
bool qbLppSurfaceExcluded(const irr::video::SMaterial& material, const QbSurfaceCtx* surface);

// Makes the material that of the surface's variant. Textures beyond the fourth are left out.
void qbLppSelectDepth(const QbLppState* state, irr::video::SMaterial* material, const QbSurfaceCtx* surface);
void qbLppSelectFinal(const QbLppState* state, irr::video::SMaterial* material, const QbSurfaceCtx* surface);
