#include "materials/surface.h"

#include <algorithm>
#include <iterator>

enum { SLOT_BUMP = 8 };

static void copyParams(QbSurfaceCtx* ctx, const QbSurfaceValues* values) {
    std::copy(std::begin(values->params), std::end(values->params), std::begin(ctx->params));
}

int qbSurfaceInit(QbSurfaceCtx* ctx, const QbSurfaceValues* values) {
    *ctx = {};
    copyParams(ctx, values);
    ctx->hasShader = values->hasShader ? 1 : 0;
    ctx->needsTangents = values->params[SLOT_BUMP].textureImage ? 1 : 0;
    return 0;
}

int qbSurfaceUpdate(QbSurfaceCtx* ctx, const QbSurfaceValues* values, int32_t) {
    copyParams(ctx, values);
    return 0;
}
