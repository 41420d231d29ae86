#include "materials/surface_mark.h"

#include <cstring>
#include <irrlicht/irrlicht.h>
#include <vector>

// Behind the bits of 1.0: as bits of small integers the fields would be denormal floats, which a driver may
// have told the processor to take for zero, and materials that differ would be taken for the same.
static const uint32_t NUMBER_BASE = 0x3F800000;

static std::vector<const QbSurfaceCtx*> surfaces; // keeps its room from frame to frame

static float asFloat(uint32_t bits) {
    float value = 0.0F;
    memcpy(&value, &bits, sizeof value);
    return value;
}

void qbSurfaceMarksClear() {
    surfaces.clear();
}

void qbMaterialMark(irr::video::SMaterial* material, const QbSurfaceCtx* surface) {
    surfaces.push_back(surface);
    material->MaterialTypeParam = asFloat(QB_MATERIAL_MARK);
    material->MaterialTypeParam2 = asFloat(NUMBER_BASE + static_cast<uint32_t>(surfaces.size()));
}

const QbSurfaceCtx* qbMarkedSurface(uint32_t mark, uint32_t number) {
    // Numbers begin at 1. What lies below the base becomes larger than any.
    const uint32_t index = number - NUMBER_BASE - 1;
    return mark == QB_MATERIAL_MARK && index < surfaces.size() ? surfaces[index] : nullptr;
}
