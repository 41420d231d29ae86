#include "materials/surface_mark.h"

#include <irrlicht/irrlicht.h>
#include <vector>

static std::vector<const QbSurfaceCtx*> surfaces; // keeps its room from frame to frame

void qbSurfaceMarksClear() {
    surfaces.clear();
}

void qbMaterialMark(irr::video::SMaterial* material, const QbSurfaceCtx* surface) {
    surfaces.push_back(surface);
    material->MaterialTypeParam = irr::core::FR(QB_MATERIAL_MARK);
    material->MaterialTypeParam2 = irr::core::FR(QB_SURFACE_NUMBERS + static_cast<uint32_t>(surfaces.size()));
}

const QbSurfaceCtx* qbMarkedSurface(uint32_t mark, uint32_t number) {
    // Numbers begin at 1. What lies below the base becomes larger than any.
    const uint32_t index = number - QB_SURFACE_NUMBERS - 1;
    return mark == QB_MATERIAL_MARK && index < surfaces.size() ? surfaces[index] : nullptr;
}
