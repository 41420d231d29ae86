#include "render/variants.h"

#include "engine/engine.h"
#include "materials/shader_gpu.h"
#include "materials/surface.h"
#include "materials/surface_mark.h"
#include "render/pipeline.h"

using namespace irr;

// --- saving ---------------------------------------------------------------------------------------------

static materialCtx_s contextOf(const video::SMaterial& material) {
    materialCtx_s context{};
    context.materialType = material.MaterialType;
    context.blendOperation = material.BlendOperation;
    context.useMipMaps = material.UseMipMaps;
    context.materialTypeParam = material.MaterialTypeParam;
    context.materialTypeParam2 = material.MaterialTypeParam2;
    for (u32 i = 0; i < video::MATERIAL_MAX_TEXTURES; ++i) {
        const video::SMaterialLayer& layer = material.TextureLayer[i];
        context.textures[i] = layer.Texture;
        context.layers[i] = {layer.TextureWrapU, layer.TextureWrapV, layer.BilinearFilter,
                             layer.TrilinearFilter, layer.AnisotropicFilter};
    }
    return context;
}

static void putBack(const materialCtx_s& context, video::SMaterial* material) {
    material->MaterialType = static_cast<video::E_MATERIAL_TYPE>(context.materialType);
    material->BlendOperation = context.blendOperation;
    material->UseMipMaps = context.useMipMaps;
    material->MaterialTypeParam = context.materialTypeParam;
    material->MaterialTypeParam2 = context.materialTypeParam2;
    for (u32 i = 0; i < video::MATERIAL_MAX_TEXTURES; ++i) {
        const materialLayerCtx_s& from = context.layers[i];
        video::SMaterialLayer& layer = material->TextureLayer[i];
        layer.Texture = context.textures[i];
        layer.TextureWrapU = from.wrapU & 0xF; // four bits wide
        layer.TextureWrapV = from.wrapV & 0xF;
        layer.BilinearFilter = from.bilinear;
        layer.TrilinearFilter = from.trilinear;
        layer.AnisotropicFilter = from.anisotropic;
    }
}

void qbLppSaveMaterials(scene::ISceneNode* node, QbSavedMaterials* saved) {
    saved->clear();
    for (u32 i = 0; i < node->getMaterialCount(); ++i)
        saved->push_back(contextOf(node->getMaterial(i)));
}

void qbLppRestoreMaterials(scene::ISceneNode* node, const QbSavedMaterials& saved) {
    for (u32 i = 0; i < saved.size(); ++i)
        putBack(saved[i], &node->getMaterial(i));
}

// --- choosing -------------------------------------------------------------------------------------------

bool qbLppSurfaceExcluded(const video::SMaterial& material, const QbSurfaceCtx* surface) {
    if (surface->hasShader) return true;
    const auto type = static_cast<u32>(material.MaterialType);
    const video::IMaterialRenderer* renderer = qbEngineGet()->driver->getMaterialRenderer(type);
    if (renderer && renderer->isTransparent()) return true;
    return surface->params[QB_SURFACE_TRANSPARENCY].color[0] != 0.0F ||
           surface->textures[QB_SURFACE_TRANSPARENCY] != nullptr;
}

namespace {

// Binds the maps of a surface to the layers, one after the other.
class LayerBinder {
public:
    LayerBinder(video::SMaterial* material, const QbSurfaceCtx* surface)
        : material_(material), surface_(surface) {}

    // The bit, or 0 when the surface has no such map.
    int map(QbSurfaceSlot slot, int bit) {
        video::ITexture* texture = surface_->textures[slot];
        if (!texture) return 0;
        bind(texture);
        return bit;
    }
    void bind(video::ITexture* texture) { material_->setTexture(next_++, texture); }

private:
    video::SMaterial* material_;
    const QbSurfaceCtx* surface_;
    u32 next_ = 0;
};

} // namespace

static bool reflects(const QbSurfaceCtx* surface) {
    return surface->textures[QB_SURFACE_REFLECTION_IMAGE] &&
           surface->params[QB_SURFACE_REFLECTION_OPTIONS].integer > 1;
}

static void applyVariant(const QbIrrShader* shader, video::SMaterial* material, const QbSurfaceCtx* surface) {
    qbShaderApply(shader, material);
    qbMaterialMark(material, surface);
}

void qbLppSelectDepth(const QbLppState* state, video::SMaterial* material, const QbSurfaceCtx* surface) {
    LayerBinder layers(material, surface);
    int variant = layers.map(QB_SURFACE_BUMP, QB_DEPTH_TEX_NORM);
    variant |= layers.map(QB_SURFACE_SPECULARITY, QB_DEPTH_TEX_SPEC);
    variant |= layers.map(QB_SURFACE_GLOSSINESS, QB_DEPTH_TEX_GLOS);
    if (qbEngineGet()->depthOfFieldEnabled) variant |= QB_DEPTH_DOF;
    applyVariant(state->depthPass[variant], material, surface);
}

void qbLppSelectFinal(const QbLppState* state, video::SMaterial* material, const QbSurfaceCtx* surface) {
    LayerBinder layers(material, surface);
    int variant = layers.map(QB_SURFACE_BASE_COLOR, QB_FINAL_TEX_COLOR);
    variant |= layers.map(QB_SURFACE_LUMINOSITY, QB_FINAL_TEX_LUMINOSITY);
    variant |= layers.map(QB_SURFACE_DIFFUSE, QB_FINAL_TEX_DIFFUSE);
    const bool isReflecting = reflects(surface);
    if (isReflecting) {
        layers.bind(surface->textures[QB_SURFACE_REFLECTION_IMAGE]);
        variant |= layers.map(QB_SURFACE_REFLECTIVITY, QB_FINAL_TEX_REFLECTIVITY);
        variant |= layers.map(QB_SURFACE_BUMP, QB_FINAL_TEX_NORMAL);
    }
    layers.bind(state->lightRTT);
    applyVariant(isReflecting ? state->finalReflectPass[variant] : state->finalPass[variant], material,
                 surface);
}
