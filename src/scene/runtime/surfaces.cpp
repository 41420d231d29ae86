#include "scene/runtime/surfaces.h"

#include "engine/engine.h"
#include "platform/message.h"
#include "scene/runtime/objects.h"

#include <algorithm>
#include <irrlicht/irrlicht.h>
#include <vector>

using irr::scene::IMesh;
using irr::scene::IMeshSceneNode;
using irr::scene::ISceneNode;
using irr::video::SMaterial;

static int limitSurfaces(int numSurfaces) {
    if (numSurfaces <= MAX_SURFACES) return std::max(numSurfaces, 0);
    qbTrace("surfaceSetup(): numSurfaces=%d > MAX_SURFACES=%d\n", numSurfaces, MAX_SURFACES);
    qbMessage("surfaceSetup(): numSurfaces=%d > MAX_SURFACES=%d", numSurfaces, MAX_SURFACES);
    return MAX_SURFACES;
}

static int surfacesWithMaterial(QbObjectRec* object, int numSurfaces) {
    const ISceneNode* node = qbObjectActiveNode(object);
    if (!node) return 0;
    return std::min({numSurfaces, object->surfaceCount, static_cast<int>(node->getMaterialCount())});
}

static std::vector<SMaterial> materialsOf(ISceneNode* node) {
    std::vector<SMaterial> materials(node->getMaterialCount());
    for (irr::u32 i = 0; i < node->getMaterialCount(); i++)
        materials[i] = node->getMaterial(i);
    return materials;
}

// The node stays, and with it id, name, place, parent, children and visibility. Only its materials would
// start anew with the mesh. Copies made from now on share the new mesh, which lives as long as their nodes.
static void buildTangents(QbObjectRec* object) {
    const irr::scene::IMeshManipulator* manipulator = qbEngineGet()->smgr->getMeshManipulator();
    IMesh* mesh = manipulator->createMeshWithTangents(object->mesh, false, false, false, true);
    if (!mesh) return;
    const std::vector<SMaterial> materials = materialsOf(object->node);
    static_cast<IMeshSceneNode*>(object->node)->setMesh(mesh);
    for (irr::u32 i = 0; i < object->node->getMaterialCount(); i++)
        object->node->getMaterial(i) = materials.at(i);
    object->mesh = mesh;
    mesh->drop();
}

int surfaceSetup(QbObjectRec* object, int numSurfaces, const QbSurfaceValues* values) {
    const int limited = limitSurfaces(numSurfaces);
    object->surfaces = std::make_unique<QbSurfaceCtx[]>(static_cast<size_t>(limited));
    object->surfaceCount = limited; // only now: memory may run out
    const int count = surfacesWithMaterial(object, numSurfaces);
    bool needsTangents = false;
    for (int i = 0; i < count; i++) {
        QbSurfaceCtx* surface = &object->surfaces[static_cast<size_t>(i)];
        if (qbSurfaceInit(surface, &values[i]) != 0) qbMessage("surfaceSetup(): init surface=%d failed", i);
        if (surface->needsTangents) needsTangents = true;
    }
    // A copy, which holds no mesh, has them from its source; an animated mesh keeps its kind of vertices.
    if (needsTangents && object->isStatic && object->mesh) buildTangents(object);
    ISceneNode* node = qbObjectActiveNode(object);
    for (int i = 0; i < count; i++) {
        if (qbSurfaceSetupMaterial(&object->surfaces[static_cast<size_t>(i)],
                                   node->getMaterial(static_cast<irr::u32>(i)), &values[i],
                                   object->isTerrain != 0) != 0)
            qbMessage("surfaceSetup(): setup material of surface=%d failed", i);
    }
    return 0;
}

void qbSurfacesFree(QbObjectRec* object) {
    for (int i = 0; i < object->surfaceCount; i++)
        qbSurfaceFree(&object->surfaces[static_cast<size_t>(i)]);
    object->surfaceCount = 0;
    object->surfaces.reset();
}

int qbSurfacesUpdate(QbObjectRec* object, int numSurfaces, const QbSurfaceValues* values, int32_t timeMs) {
    ISceneNode* node = qbObjectActiveNode(object);
    const int count = surfacesWithMaterial(object, numSurfaces);
    for (int i = 0; i < count; i++) {
        qbSurfaceUpdate(&object->surfaces[static_cast<size_t>(i)],
                        node->getMaterial(static_cast<irr::u32>(i)), &values[i], timeMs);
    }
    return 0;
}
