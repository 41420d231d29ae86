#pragma once

#include "scene/format/tables.h"

#include <cstdint>

// What a surface keeps at run time: the values of its last update, for shaders and renderer.

// Surfaces of one object.
enum { NOF_SURFACE_MAX = 65, MAX_SURFACES = 65 };

struct QbSurfaceCtx {
    int32_t hasShader;
    int32_t needsTangents;
    QbSurfaceParamValue params[QB_SURFACE_VALUE_COUNT];
};

// Clears the record and copies the parameters. 0.
int qbSurfaceInit(QbSurfaceCtx* ctx, const QbSurfaceValues* values);
// Copies the parameters of this moment. 0.
int qbSurfaceUpdate(QbSurfaceCtx* ctx, const QbSurfaceValues* values, int32_t timeMs);
