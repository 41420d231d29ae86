#pragma once

#include <irrlicht/irrlicht.h>

// The pixels that a sphere can touch, rows from the top: a rectangle that may be too large, never too small.
// `center` in view space (x right, y up, z forward); `projection` is the camera's, symmetric or not. Empty
// (width or height 0) when the sphere lies behind the camera or beside the picture.
irr::core::recti qbSphereBounds(const irr::core::vector3df& center, float radius,
                                const irr::core::matrix4& projection, const irr::core::dimension2du& size);
