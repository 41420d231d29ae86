#pragma once

#include "scene/format/tables.h"

#include <cstdint>

// What a LightWave surface becomes on an engine material. Colours and scalars reach the screen as inputs of
// shaders; textures, material type and flags are set here.

namespace irr {
namespace video {
class ITexture;
class SMaterial;
} // namespace video
} // namespace irr

class ITextureCUBE;
struct QbIrrShader;

// Surfaces of one object.
enum { NOF_SURFACE_MAX = 65, MAX_SURFACES = 65 };

struct QbSurfaceCtx {
    int32_t hasShader;     // 1 when the surface names a shader, loaded or not
    QbIrrShader* shader;   // null when it did not load or compile; until qbSurfaceFree
    int32_t needsTangents; // 1 when the mesh must carry tangents
    QbSurfaceParamValue params[QB_SURFACE_VALUE_COUNT];     // of the last update
    irr::video::ITexture* textures[QB_SURFACE_VALUE_COUNT]; // the driver's; null without image or on failure
};

// Clears the record, copies the parameters, loads textures and shader. Files are looked for from the current
// directory. What fails has a message and stays out. Always 0.
int qbSurfaceInit(QbSurfaceCtx* ctx, const QbSurfaceValues* values);
// Gives the shader back, for the end of the object; the textures stay with the driver.
void qbSurfaceFree(QbSurfaceCtx* ctx);
// Turns the node's material, as the mesh file made it, into that of the surface. Once. A terrain without a
// shader keeps its textures and type, and so does a surface whose shader failed. Always 0.
int qbSurfaceSetupMaterial(QbSurfaceCtx* ctx, irr::video::SMaterial& material, const QbSurfaceValues* values,
                           bool isTerrain);
// The values of this moment: shader time and parameters, outlines, params. Always 0.
int qbSurfaceUpdate(QbSurfaceCtx* ctx, irr::video::SMaterial& material, const QbSurfaceValues* values,
                    int32_t timeMs);

// The cube map of six files: "sky.jpg" stands for "sky00.jpg" to "sky05.jpg", in the order +X, -X, +Y, -Y,
// +Z, -Z. The engine's; null after a message.
ITextureCUBE* qbSurfaceLoadCubeMap(const char* fileName);
