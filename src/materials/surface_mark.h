#pragma once

#include <cstdint>

// How a material that stands for a surface in a pass of the renderer says so: QB_MATERIAL_MARK in the bits of
// MaterialTypeParam, and a number for the surface in the bits of MaterialTypeParam2, since a pointer does not
// fit.

namespace irr {
namespace video {
class SMaterial;
}
} // namespace irr

struct QbSurfaceCtx;

enum : uint32_t { QB_MATERIAL_MARK = 0x12345678 };

// Forgets all numbers: once a frame, before the first mark.
void qbSurfaceMarksClear();
// Gives the surface a number and writes both fields. `surface` must live until the next clear.
void qbMaterialMark(irr::video::SMaterial* material, const QbSurfaceCtx* surface);
// The surface behind the bits of the two fields; null without the mark or for a number not given out.
const QbSurfaceCtx* qbMarkedSurface(uint32_t mark, uint32_t number);
