#include "scene/runtime/surfaces.h"

#include "platform/message.h"
#include "scene/runtime/objects.h"

#include <algorithm>
#include <irrlicht/irrlicht.h>

static int limitSurfaces(int numSurfaces) {
    if (numSurfaces <= MAX_SURFACES) return std::max(numSurfaces, 0);
    qbTrace("surfaceSetup(): numSurfaces=%d > MAX_SURFACES=%d\n", numSurfaces, MAX_SURFACES);
    qbMessage("surfaceSetup(): numSurfaces=%d > MAX_SURFACES=%d", numSurfaces, MAX_SURFACES);
    return MAX_SURFACES;
}

static int surfacesWithMaterial(QbObjectRec* object, int numSurfaces) {
    const irr::scene::ISceneNode* node = qbObjectActiveNode(object);
    if (!node) return 0;
    return std::min({numSurfaces, object->surfaceCount, static_cast<int>(node->getMaterialCount())});
}

int surfaceSetup(QbObjectRec* object, int numSurfaces, const QbSurfaceValues* values) {
    object->surfaceCount = limitSurfaces(numSurfaces);
    const int count = surfacesWithMaterial(object, numSurfaces);
    for (int i = 0; i < count; i++) {
        if (qbSurfaceInit(&object->surfaces[i], &values[i]) != 0)
            qbMessage("surfaceSetup(): init surface=%d failed", i);
    }
    return 0;
}

int qbSurfacesUpdate(QbObjectRec* object, int numSurfaces, const QbSurfaceValues* values, int32_t timeMs) {
    const int count = surfacesWithMaterial(object, numSurfaces);
    for (int i = 0; i < count; i++)
        qbSurfaceUpdate(&object->surfaces[i], &values[i], timeMs);
    return 0;
}
