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

enum : uint32_t {
    QB_MATERIAL_MARK = 0x12345678,
    // What the numbers in MaterialTypeParam2 count from, their first being this plus 1: the bits of 1.0 for
    // surfaces and of 2.0 for the shader records of materials without mark. As bits of small integers the
    // fields would be denormal floats, which a driver may have told the processor to take for zero, and
    // materials that differ would be taken for the same.
    QB_SURFACE_NUMBERS = 0x3F800000,
    QB_RECORD_NUMBERS = 0x40000000,
};

// Forgets all numbers: once a frame, before the first mark.
void qbSurfaceMarksClear();
// Gives the surface a number and writes both fields. `surface` must live until the next clear.
void qbMaterialMark(irr::video::SMaterial* material, const QbSurfaceCtx* surface);
// The surface behind the bits of the two fields; null without the mark or for a number not given out.
const QbSurfaceCtx* qbMarkedSurface(uint32_t mark, uint32_t number);
