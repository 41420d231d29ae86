#include "materials/surface.h"

#include "engine/cube_map.h"
#include "engine/engine.h"
#include "materials/shader_file.h"
#include "materials/shader_gpu.h"
#include "platform/message.h"
#include "platform/path.h"
#include "platform/span.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <irrlicht/irrlicht.h>
#include <iterator>
#include <memory>
#include <string>

using irr::video::IImage;
using irr::video::ITexture;
using irr::video::IVideoDriver;
using irr::video::SMaterial;

enum { BOTH_SIDES = 3, REFLECTION_OF_IMAGE = 2, CUBE_FACES = 6 };

// Height of the relief for Irrlicht's parallax materials.
static const float PARALLAX_HEIGHT = 0.035F;

static const char* shown(const char* text) {
    return text ? text : "(null)";
}

static void copyParams(QbSurfaceCtx* ctx, const QbSurfaceValues* values) {
    std::copy(std::begin(values->params), std::end(values->params), std::begin(ctx->params));
}

// --- files ----------------------------------------------------------------------------------------------

static void loadTexture(QbSurfaceCtx* ctx, int slot, const QbSurfaceValues* values) {
    const char* image = values->params[slot].textureImage;
    if (!image) return;
    const QbSpan span("textures");
    IVideoDriver* driver = qbEngineGet()->driver;
    const bool mipMaps = driver->getTextureCreationFlag(irr::video::ETCF_CREATE_MIP_MAPS);
    // Reflections stay sharp however far away the surface is.
    if (slot == QB_SURFACE_REFLECTION_IMAGE)
        driver->setTextureCreationFlag(irr::video::ETCF_CREATE_MIP_MAPS, false);
    ctx->textures[slot] = driver->getTexture(image);
    driver->setTextureCreationFlag(irr::video::ETCF_CREATE_MIP_MAPS, mipMaps);
    if (!ctx->textures[slot]) qbMessage("Surface '%s': can't load texture '%s'", shown(values->name), image);
}

// Each surface has a shader of its own, with its own values and time.
static QbIrrShader* loadShader(const char* name) {
    QbIrrShader* shader = qbIrrShaderCreate(name, nullptr);
    if (!shader) {
        qbMessage("Cannot qbIrrShaderCreate('%s') failed", shown(name));
        return nullptr;
    }
    if (qbIrrShaderSetupGpuMaterial(shader) == 0) return shader;
    qbMessage("qbIrrShaderSetupGpuMaterial(%s) failed\n", shown(name));
    qbIrrShaderFree(shader);
    return nullptr;
}

namespace {

struct ImageDrop {
    void operator()(IImage* image) const { image->drop(); }
};
using ImagePtr = std::unique_ptr<IImage, ImageDrop>;

} // namespace

ITextureCUBE* qbSurfaceLoadCubeMap(const char* fileName) {
    const QbSpan span("cube maps");
    const std::string name = fileName;
    const size_t point = std::min(name.rfind('.'), name.size());
    const std::string ending = "." + name.substr(std::min(point + 1, name.size()));
    std::array<ImagePtr, CUBE_FACES> faces;
    for (size_t i = 0; i < faces.size(); i++) {
        const std::string face = name.substr(0, point) + "0" + std::to_string(i) + ending;
        faces[i].reset(qbEngineGet()->driver->createImageFromFile(face.c_str()));
        if (!faces[i]) {
            qbMessage("CubeMap: Fail to load '%s'\n", face.c_str());
            return nullptr;
        }
    }
    // Under its full path: the same name in two directories is two cube maps.
    const char* path = qbFullPath(fileName);
    ITextureCUBE* cube = addTextureCubeMap(*path ? path : fileName, faces[0].get(), faces[1].get(),
                                           faces[2].get(), faces[3].get(), faces[4].get(), faces[5].get());
    if (!cube) qbMessage("Fail to create cube map for '%s'\n", fileName);
    return cube;
}

int qbSurfaceInit(QbSurfaceCtx* ctx, const QbSurfaceValues* values) {
    *ctx = {};
    copyParams(ctx, values);
    for (int slot = 0; slot < QB_SURFACE_VALUE_COUNT; slot++)
        loadTexture(ctx, slot, values);
    if (values->hasShader) {
        ctx->hasShader = 1;
        ctx->shader = loadShader(values->shader.shaderName);
    }
    const bool bumps = values->params[QB_SURFACE_BUMP].textureImage != nullptr;
    ctx->needsTangents = bumps || (ctx->shader && qbShaderTangents(ctx->shader)) ? 1 : 0;
    return 0;
}

void qbSurfaceFree(QbSurfaceCtx* ctx) {
    qbShaderRelease(ctx->shader);
    ctx->shader = nullptr;
}

// --- material of a shader -------------------------------------------------------------------------------

// The slot of the surface that a shader's texture statement names; -1 for the name of a file.
static int referencedSlot(const char* name) {
    static const struct {
        const char* name;
        int slot;
    } references[] = {
        {"Color", QB_SURFACE_BASE_COLOR},
        {"Luminosity", QB_SURFACE_LUMINOSITY},
        {"Diffuse", QB_SURFACE_DIFFUSE},
        {"Specularity", QB_SURFACE_SPECULARITY},
        {"Reflectivity", QB_SURFACE_REFLECTIVITY},
        {"Transparency", QB_SURFACE_TRANSPARENCY},
        {"Translucency", QB_SURFACE_TRANSLUCENCY},
        {"RefractionIndex", QB_SURFACE_IOR},
        {"Bump", QB_SURFACE_BUMP},
        {"Glossiness", QB_SURFACE_GLOSSINESS},
        {"ReflectionImage", QB_SURFACE_REFLECTION_IMAGE},
        {"RefractionImage", QB_SURFACE_REFRACTION_IMAGE},
    };
    for (const auto& reference : references)
        if (qbSameText(reference.name, name)) return reference.slot;
    return -1;
}

// A slot beyond the material's layers lands nowhere.
static void setCubeMap(QbIrrShader* shader, SMaterial& material, int slot) {
    const ITextureCUBE* cube = qbSurfaceLoadCubeMap(qbShaderTextureName(shader, slot));
    if (slot >= static_cast<int>(irr::video::MATERIAL_MAX_TEXTURES)) return;
    material.setTexture(static_cast<irr::u32>(slot), nullptr);
    qbShaderSetCubeMap(shader, slot, cube);
}

static void setTexture(const QbSurfaceCtx* ctx, SMaterial& material, int slot) {
    const char* name = qbShaderTextureName(ctx->shader, slot);
    const int reference = referencedSlot(name);
    ITexture* texture = reference >= 0 ? ctx->textures[reference] : qbEngineGet()->driver->getTexture(name);
    if (texture) {
        material.setTexture(static_cast<irr::u32>(slot), texture);
    } else if (reference >= 0) {
        qbMessage("Shader '%s': can't load texture '%s' (ref='%s')", qbShaderFileName(ctx->shader),
                  shown(ctx->params[reference].textureImage), name);
    } else {
        qbMessage("Shader '%s': can't load texture '%s'", qbShaderFileName(ctx->shader), name);
    }
}

static void setAdditiveBlending(SMaterial& material) {
    material.MaterialTypeParam = irr::video::pack_textureBlendFunc(
        irr::video::EBF_ONE, irr::video::EBF_ONE, irr::video::EMFN_MODULATE_1X, irr::video::EAS_NONE);
    material.ZWriteEnable = false;
}

static void setupShaderMaterial(const QbSurfaceCtx* ctx, SMaterial& material) {
    material.Lighting = false;
    if (qbShaderBaseMaterial(ctx->shader) == QB_BASE_ONETEXTURE_BLEND) setAdditiveBlending(material);
    for (int slot = 0; slot < QB_SHADER_TEXTURES_MAX; slot++) {
        if (!qbShaderTextureUsed(ctx->shader, slot)) continue;
        if (qbShaderTextureCube(ctx->shader, slot))
            setCubeMap(ctx->shader, material, slot);
        else
            setTexture(ctx, material, slot);
    }
    qbShaderApply(ctx->shader, &material);
}

// --- material without a shader --------------------------------------------------------------------------

static bool isCutOut(const ITexture* texture) {
    // The driver keeps nearly every picture with alpha: only its file tells whether that means anything.
    return texture && texture->hasAlpha() && strstr(texture->getName().getPath().c_str(), ".png");
}

static void choosePlainType(SMaterial& material) {
    if (isCutOut(material.getTexture(0))) {
        material.MaterialType = irr::video::EMT_TRANSPARENT_ALPHA_CHANNEL;
    } else if (material.DiffuseColor.getAlpha() == 255) {
        material.MaterialType = irr::video::EMT_SOLID;
    } else {
        material.MaterialType = irr::video::EMT_TRANSPARENT_VERTEX_ALPHA;
        material.DiffuseColor.setAlpha(255);
    }
}

// Behind the picture that the mesh brought along.
static void setFreeLayer(SMaterial& material, ITexture* texture) {
    material.setTexture(material.getTexture(0) ? 1 : 0, texture);
}

static void chooseByTransparency(SMaterial& material, irr::video::E_MATERIAL_TYPE solid,
                                 irr::video::E_MATERIAL_TYPE transparent) {
    material.MaterialType =
        material.MaterialType == irr::video::EMT_TRANSPARENT_VERTEX_ALPHA ? transparent : solid;
}

// With both reflection and bump the later one sets the type.
static void setupPlainMaterial(const QbSurfaceCtx* ctx, SMaterial& material, const QbSurfaceValues* values) {
    choosePlainType(material);
    if (values->params[QB_SURFACE_REFLECTION_IMAGE].textureImage &&
        values->params[QB_SURFACE_REFLECTION_OPTIONS].integer >= REFLECTION_OF_IMAGE) {
        setFreeLayer(material, ctx->textures[QB_SURFACE_REFLECTION_IMAGE]);
        chooseByTransparency(material, irr::video::EMT_REFLECTION_2_LAYER,
                             irr::video::EMT_TRANSPARENT_REFLECTION_2_LAYER);
    }
    if (values->params[QB_SURFACE_BUMP].textureImage) {
        setFreeLayer(material, ctx->textures[QB_SURFACE_BUMP]);
        chooseByTransparency(material, irr::video::EMT_PARALLAX_MAP_SOLID,
                             irr::video::EMT_PARALLAX_MAP_TRANSPARENT_VERTEX_ALPHA);
        material.MaterialTypeParam = PARALLAX_HEIGHT;
    }
}

// --- both -----------------------------------------------------------------------------------------------

// Below 0 the sharper of two sizes of a picture is taken; in eighths of a size.
static void setSharpness(SMaterial& material, bool isTerrain) {
    static const std::array<irr::s8, 4> mesh = {-8, -8, -8, -8};
    static const std::array<irr::s8, 4> terrain = {-16, -4, -8, -8};
    static_assert(irr::video::MATERIAL_MAX_TEXTURES >= mesh.size(), "a layer for each number");
    for (size_t i = 0; i < mesh.size(); i++)
        material.TextureLayer[i].LODBias = isTerrain ? terrain[i] : mesh[i];
}

int qbSurfaceSetupMaterial(QbSurfaceCtx* ctx, SMaterial& material, const QbSurfaceValues* values,
                           bool isTerrain) {
    setSharpness(material, isTerrain);
    if (isTerrain) material.FogEnable = true;
    if (values->params[QB_SURFACE_SIDEDNESS].integer == BOTH_SIDES) material.BackfaceCulling = false;
    material.NormalizeNormals = true;
    if (ctx->shader) setupShaderMaterial(ctx, material);
    if (!ctx->hasShader && !isTerrain) setupPlainMaterial(ctx, material, values);
    return 0;
}

static void updateShader(QbIrrShader* shader, const QbShaderValues& values, int32_t timeMs) {
    qbShaderSetTime(shader, static_cast<float>(timeMs / 1000.0));
    for (int32_t i = 0; i < std::min<int32_t>(values.paramCount, QB_SHADER_VALUE_PARAMS_MAX); i++)
        qbShaderSetFloat(shader, values.paramNames[i], values.paramValues[i]);
}

// Thick outlines are points.
static void updateOutlines(SMaterial& material, float size) {
    material.Wireframe = size > 0.0F && size < 1.0F;
    material.PointCloud = size >= 1.0F;
    if (size >= 1.0F) material.Thickness = size;
}

int qbSurfaceUpdate(QbSurfaceCtx* ctx, SMaterial& material, const QbSurfaceValues* values, int32_t timeMs) {
    if (ctx->shader && values->hasShader) updateShader(ctx->shader, values->shader, timeMs);
    if (values->params[QB_SURFACE_RENDER_OUTLINES].integer != 0)
        updateOutlines(material, values->params[QB_SURFACE_LINE_SIZE].color[0]);
    copyParams(ctx, values);
    return 0;
}
