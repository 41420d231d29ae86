#pragma once

#include <cstdint>

// The surfaces of one object against the materials of its node, matched by position: surface i goes with
// material i. What one surface does is told in materials/surface.h.

struct QbObjectRec;
struct QbSurfaceValues;

// First set-up: sets surfaceCount, makes the surfaces and turns the node's materials into theirs. When one of
// them asks for tangents, the mesh of a plain node gets them. A count over MAX_SURFACES shows a message and
// is cut; `values` holds at least the smaller of `numSurfaces` and MAX_SURFACES records. A surface beyond the
// node's materials stays cleared. Always 0.
int surfaceSetup(QbObjectRec* object, int numSurfaces, const QbSurfaceValues* values);

// Gives back what the set-up took. The object's node must be gone.
void qbSurfacesFree(QbObjectRec* object);

// The values of this moment, for the surfaces that were set up. Always 0.
int qbSurfacesUpdate(QbObjectRec* object, int numSurfaces, const QbSurfaceValues* values, int32_t timeMs);
