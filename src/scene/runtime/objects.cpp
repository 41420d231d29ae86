#include "scene/runtime/objects.h"

#include "engine/engine.h"
#include "scene/runtime/mesh_file.h"
#include "scene/runtime/surfaces.h"
#include "scene/runtime/terrain.h"

#include <irrlicht/irrlicht.h>
#include <memory>
#include <string>

using irr::core::vector3df;
using irr::scene::IAnimatedMesh;
using irr::scene::IAnimatedMeshSceneNode;
using irr::scene::IMesh;
using irr::scene::IMeshSceneNode;
using irr::scene::ISceneManager;
using irr::scene::ISceneNode;

static QbObjectRec* objectAt(int id) {
    return static_cast<QbObjectRec*>(qbIdListGet(qbEngineGet()->objects, id));
}

static ISceneNode* activeNodeAt(int id) {
    return qbObjectActiveNode(objectAt(id));
}

// A terrain stays where it was built: it has no movable node.
static ISceneNode* movableNodeAt(int id) {
    const QbObjectRec* object = objectAt(id);
    return object ? object->node : nullptr;
}

ISceneNode* qbObjectActiveNode(QbObjectRec* object) {
    if (!object) return nullptr;
    return object->isTerrain ? object->terrain : object->node;
}

IMesh* qbObjectActiveMesh(QbObjectRec* object) {
    return object && !object->isTerrain ? object->mesh : nullptr;
}

// --- making and freeing ---------------------------------------------------------------------------------

static bool addMeshNode(QbObjectRec* object, IMesh* mesh) {
    ISceneManager* smgr = qbEngineGet()->smgr;
    const vector3df origin(0.0F, 0.0F, 0.0F);
    const vector3df unit(1.0F, 1.0F, 1.0F);
    if (object->isStatic) {
        object->node = smgr->addMeshSceneNode(mesh, nullptr, -1, origin, origin, unit);
    } else {
        // Only plain meshes are ever built anew.
        auto* animated = static_cast<IAnimatedMesh*>(mesh);
        object->node = smgr->addAnimatedMeshSceneNode(animated, nullptr, -1, origin, origin, unit);
    }
    return object->node != nullptr;
}

static bool loadMesh(QbObjectRec* object, const char* name) {
    std::string path;
    if (!qbMeshFileFind(name, path)) return false;
    IAnimatedMesh* mesh = qbMeshFileLoad(path);
    if (!mesh) return false;
    object->mesh = mesh;
    object->isStatic = mesh->getFrameCount() <= 1 ? 1 : 0;
    return addMeshNode(object, mesh);
}

static bool loadTerrain(QbObjectRec* object, const char* name) {
    object->isStatic = 1;
    object->isTerrain = 1;
    object->terrain = qbTerrainLoad(name);
    return object->terrain != nullptr;
}

// Gives the record to the list; a refused one goes, with its node.
static void registerObject(std::unique_ptr<QbObjectRec> object) {
    ISceneNode* node = qbObjectActiveNode(object.get());
    node->setID(object->id);
    // Scenes scale their objects: without it the light would be scaled as well.
    node->setMaterialFlag(irr::video::EMF_NORMALIZE_NORMALS, true);
    if (!object->isStatic) static_cast<IAnimatedMeshSceneNode*>(object->node)->setAnimationSpeed(0.0F);
    if (qbIdListAdd(qbEngineGet()->objects, object->id, object.get()) != 0) {
        node->remove();
        return;
    }
    static_cast<void>(object.release());
}

void qbObjectLoad(const char* name, int id) {
    if (!name || !qbEngineGet()->smgr) return;
    auto object = std::make_unique<QbObjectRec>();
    object->id = id;
    const bool loaded =
        qbTerrainIsTerrainFile(name) ? loadTerrain(object.get(), name) : loadMesh(object.get(), name);
    if (loaded) registerObject(std::move(object));
}

void qbObjectCopy(int id, int sourceId) {
    IMesh* mesh = qbObjectActiveMesh(objectAt(sourceId));
    if (!mesh) return;
    auto object = std::make_unique<QbObjectRec>();
    object->id = id;
    object->isStatic = objectAt(sourceId)->isStatic;
    if (addMeshNode(object.get(), mesh)) registerObject(std::move(object));
}

void qbObjectCopyUnshared(int id, int sourceId) {
    qbObjectCopy(id, sourceId);
}

bool qbObjectExists(int id) {
    return objectAt(id) != nullptr;
}

void qbObjectFree(int id) {
    const std::unique_ptr<QbObjectRec> object(objectAt(id));
    if (!object) return;
    if (object->isTerrain)
        qbTerrainFree(object->terrain);
    else if (object->node)
        object->node->remove();
    qbSurfacesFree(object.get());
    qbIdListRemove(qbEngineGet()->objects, id);
}

// --- state ----------------------------------------------------------------------------------------------

void qbObjectShow(int id) {
    if (ISceneNode* node = activeNodeAt(id)) node->setVisible(true);
}

void qbObjectHide(int id) {
    if (ISceneNode* node = activeNodeAt(id)) node->setVisible(false);
}

void qbObjectSetPosition(int id, float x, float y, float z) {
    if (ISceneNode* node = movableNodeAt(id)) node->setPosition(vector3df(x, y, z));
}

void qbObjectSetRotation(int id, float x, float y, float z) {
    if (ISceneNode* node = movableNodeAt(id)) node->setRotation(vector3df(x, y, z));
}

void qbObjectSetScale(int id, float x, float y, float z) {
    if (ISceneNode* node = movableNodeAt(id)) node->setScale(vector3df(x / 100.0F, y / 100.0F, z / 100.0F));
}

void qbObjectAttachToHolder(int id) {
    if (ISceneNode* node = activeNodeAt(id)) node->setParent(qbEngineGet()->cameraHolder);
}

int qbObjectFrameCount(int id) {
    if (!qbObjectExists(id)) return 0;
    const IAnimatedMeshSceneNode* node = qbObjectAnimatedNode(id);
    return node ? node->getEndFrame() - node->getStartFrame() + 1 : 1;
}

void qbObjectSetFrame(int id, float frame) {
    IAnimatedMeshSceneNode* node = qbObjectAnimatedNode(id);
    if (node) node->setCurrentFrame(static_cast<float>(node->getStartFrame()) + frame);
}

float qbObjectRadius(int id) {
    const IMesh* mesh = qbObjectActiveMesh(objectAt(id));
    if (!mesh) return 0.0F;
    const irr::core::aabbox3df& box = mesh->getBoundingBox();
    return box.MaxEdge.Z - box.MinEdge.Z;
}

float qbObjectDepth(int id) {
    return qbObjectRadius(id);
}

// --- surfaces and nodes ---------------------------------------------------------------------------------

void qbObjectSetSurfaces(int id, int count, const QbSurfaceValues* values, int32_t timeMs) {
    QbObjectRec* object = objectAt(id);
    if (!object) return;
    if (!object->surfacesReady) {
        surfaceSetup(object, count, values);
        object->surfacesReady = 1;
    }
    qbSurfacesUpdate(object, count, values, timeMs);
}

QbSurfaceCtx* qbObjectSurfaceCtx(int id, int index) {
    QbObjectRec* object = objectAt(id);
    if (!object || index < 0 || index >= object->surfaceCount) return nullptr;
    return &object->surfaces[index];
}

IMeshSceneNode* qbObjectMeshNode(int id) {
    const QbObjectRec* object = objectAt(id);
    return object && object->isStatic ? static_cast<IMeshSceneNode*>(object->node) : nullptr;
}

IAnimatedMeshSceneNode* qbObjectAnimatedNode(int id) {
    const QbObjectRec* object = objectAt(id);
    return object && !object->isStatic ? static_cast<IAnimatedMeshSceneNode*>(object->node) : nullptr;
}

// --- hooks of a scene's load ----------------------------------------------------------------------------

void qbObjectReceiveShadows(int) {}
void qbObjectSurfacesSet(int) {}
void qbObjectSetTranslucent(int) {}
void qbObjectSetTransparent(int, float) {}
