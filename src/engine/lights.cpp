#include "engine/lights.h"

#include "engine/engine.h"
#include "engine/internal.h"

#include <cstdio>
#include <irrlicht/irrlicht.h>
#include <memory>

using namespace irr;

static const float UNLIMITED_RADIUS = 10000000.0F; // world units
static const float BYTE_SCALE = 0.003921569F;

static QbLightRec* firstVisible; // head of the chain of visible lights

static QbLightRec* lightOf(int id) {
    return static_cast<QbLightRec*>(qbIdListGet(qbEngineGet()->lights, id));
}

static scene::ILightSceneNode* nodeOf(int id) {
    const QbLightRec* light = lightOf(id);
    return light ? light->node : nullptr;
}

static video::SLight* dataOf(int id) {
    scene::ILightSceneNode* node = nodeOf(id);
    return node ? &node->getLightData() : nullptr;
}

static video::SColorf toFloats(uint32_t color) {
    const auto channel = [color](int shift) {
        return static_cast<float>(color >> shift & 0xFF) * BYTE_SCALE;
    };
    return video::SColorf(channel(16), channel(8), channel(0), channel(24));
}

// --- chain of visible lights ------------------------------------------------------------------------------

static void appendVisible(QbLightRec* light) {
    light->prev = nullptr;
    light->next = nullptr;
    if (!firstVisible) {
        firstVisible = light;
        return;
    }
    QbLightRec* last = firstVisible;
    while (last->next)
        last = last->next;
    last->next = light;
    light->prev = last;
}

static void removeVisible(QbLightRec* light) {
    if (!firstVisible) {
        std::printf("ERROR: make the light not visible but no visible light present!\n");
        return;
    }
    (light->prev ? light->prev->next : firstVisible) = light->next;
    if (light->next) light->next->prev = light->prev;
}

static void qbLightSetListed(QbLightRec* light, uint8_t listed) {
    if (listed == light->listed) return;
    light->listed = listed;
    if (listed)
        appendVisible(light);
    else
        removeVisible(light);
}

scene::ILightSceneNode* qbVisibleLightNode(int n) {
    if (n < 0) return nullptr;
    const QbLightRec* light = firstVisible;
    for (; light && n > 0; --n)
        light = light->next;
    return light ? light->node : nullptr;
}

video::SLight* qbVisibleLightData(int n) {
    scene::ILightSceneNode* node = qbVisibleLightNode(n);
    return node ? &node->getLightData() : nullptr;
}

// --- life -----------------------------------------------------------------------------------------------

void qbLightCreate(int id) {
    QbEngine* engine = qbEngineGet();
    if (!engine->smgr) return;
    auto light = std::make_unique<QbLightRec>();
    light->node = engine->smgr->addLightSceneNode(nullptr, core::vector3df(0.0F, 0.0F, 0.0F),
                                                  video::SColorf(1.0F, 1.0F, 1.0F, 1.0F), 100.0F, -1);
    if (!light->node) return;
    if (qbIdListAdd(engine->lights, id, light.get()) != 0) {
        light->node->remove();
        return;
    }
    qbLightSetListed(light.release(), 1);
}

void qbLightFree(int id) {
    const std::unique_ptr<QbLightRec> light(lightOf(id));
    if (!light) return;
    qbLightSetListed(light.get(), 0);
    if (light->node) light->node->remove();
    qbIdListRemove(qbEngineGet()->lights, id);
}

void qbLightFreeAll() {
    const int capacity = qbIdListCapacity(qbEngineGet()->lights);
    for (int id = 0; id < capacity; ++id)
        qbLightFree(id);
    firstVisible = nullptr;
}

static void setShown(int id, bool shown) {
    QbLightRec* light = lightOf(id);
    if (!light) return;
    if (light->node) light->node->setVisible(shown);
    qbLightSetListed(light, shown ? 1 : 0);
}

void qbLightShow(int id) {
    setShown(id, true);
}

void qbLightHide(int id) {
    setShown(id, false);
}

// --- values ---------------------------------------------------------------------------------------------
// Radii go straight into the light's data: the node's own setRadius would change the attenuation too.

void qbLightSetDirectional(int id) {
    if (scene::ILightSceneNode* node = nodeOf(id)) node->setLightType(video::ELT_DIRECTIONAL);
}

void qbLightSetSpot(int id, float inner, float outer) {
    scene::ILightSceneNode* node = nodeOf(id);
    if (!node) return;
    node->setLightType(video::ELT_SPOT);
    video::SLight& data = node->getLightData();
    data.InnerCone = inner;
    data.OuterCone = outer;
    data.Radius = UNLIMITED_RADIUS;
}

void qbLightSetPoint(int id) {
    scene::ILightSceneNode* node = nodeOf(id);
    if (!node) return;
    node->setLightType(video::ELT_POINT);
    node->getLightData().Radius = UNLIMITED_RADIUS;
}

void qbLightSetRange(int id, float range) {
    if (video::SLight* data = dataOf(id)) data->Radius = range;
}

void qbLightSetColor(int id, uint32_t color) {
    if (video::SLight* data = dataOf(id)) data->DiffuseColor = toFloats(color);
}

void qbLightSetPosition(int id, float x, float y, float z) {
    if (scene::ILightSceneNode* node = nodeOf(id)) node->setPosition(core::vector3df(x, y, z));
}

void qbLightSetRotation(int id, float x, float y, float z) {
    if (scene::ILightSceneNode* node = nodeOf(id)) node->setRotation(core::vector3df(x, y, z));
}

void qbEngineSetAmbient(uint32_t color) {
    if (video::SLight* data = qbVisibleLightData(0)) data->AmbientColor = toFloats(color);
}

uint32_t qbColorPack(int r, int g, int b) {
    const auto low = [](int value) { return static_cast<uint32_t>(value) & 0xFF; };
    return 0xFF000000U | low(r) << 16 | low(g) << 8 | low(b);
}
