#pragma once

#include "materials/surface.h"

#include <cstdint>
#include <memory>

// Objects by id (1 to 999): Irrlicht nodes behind integers. On an empty id an operation does nothing or gives
// the value stated. Angles in degrees.

namespace irr {
namespace scene {
class IAnimatedMeshSceneNode;
class IMesh;
class IMeshSceneNode;
class ISceneNode;
class ITerrainSceneNode;
} // namespace scene
} // namespace irr

struct QbSurfaceValues;

struct QbObjectRec {
    int32_t id;       // also the node's id
    int32_t isStatic; // plain mesh node or terrain
    int32_t isTerrain;
    int32_t surfacesReady; // the surfaces were set up
    // An IAnimatedMesh of the engine's mesh cache, or one built with tangents, which the node alone holds.
    // Null for a copy, which shares its source's mesh, and for a terrain.
    irr::scene::IMesh* mesh;
    irr::scene::ITerrainSceneNode* terrain;
    irr::scene::ISceneNode* node;             // null for a terrain
    int32_t surfaceCount;                     // at most NOF_SURFACE_MAX
    std::unique_ptr<QbSurfaceCtx[]> surfaces; // surfaceCount of them, from the set-up on; they never move
};

// A name without separator is looked up in the current directory; a separator may be a backslash or a slash.
// The id stays empty when the mesh does not load, or when the id is taken or outside the table; the caller
// reports. A .x file that is damaged or that the engine can not read has a message of its own.
void qbObjectLoad(const char* name, int id);
// A node of its own on the source's mesh. The id stays empty for an empty source, a terrain or a copy.
void qbObjectCopy(int id, int sourceId);
void qbObjectCopyUnshared(int id, int sourceId); // forwards to qbObjectCopy
bool qbObjectExists(int id);
void qbObjectFree(int id);
void qbObjectShow(int id);
void qbObjectHide(int id);
void qbObjectSetPosition(int id, float x, float y, float z);
void qbObjectSetRotation(int id, float x, float y, float z);
void qbObjectSetScale(int id, float x, float y, float z); // percent
int qbObjectFrameCount(int id);                           // 0 empty, 1 without animation
void qbObjectSetFrame(int id, float frame);               // from 0, animated nodes only
float qbObjectRadius(int id); // depth of the mesh's box along Z; 0.0 for an empty id and for a terrain
float qbObjectDepth(int id);  // the same value, under the word that fits it
void qbObjectAttachToHolder(int id);
void qbObjectSetSurfaces(int id, int count, const QbSurfaceValues* values, int32_t timeMs);
QbSurfaceCtx* qbObjectSurfaceCtx(int id, int index); // null outside the surfaces in use
irr::scene::IMeshSceneNode* qbObjectMeshNode(int id);
irr::scene::IAnimatedMeshSceneNode* qbObjectAnimatedNode(int id);
irr::scene::ISceneNode* qbObjectActiveNode(QbObjectRec* object);
irr::scene::IMesh* qbObjectActiveMesh(QbObjectRec* object);

// Hooks in the order of a scene's load: places for shadows and for opacity of whole objects. They do nothing.
void qbObjectReceiveShadows(int id);
void qbObjectSurfacesSet(int id);
void qbObjectSetTranslucent(int id);
void qbObjectSetTransparent(int id, float percent); // of opacity
