#include "scene/runtime/fx_emitters.h"

#include "engine/engine.h"

#include <irrlicht/irrlicht.h>
#include <memory>

using irr::core::vector3df;
using irr::scene::IParticleSystemSceneNode;

static QbFxEmitterRec* emitterAt(int id) {
    return static_cast<QbFxEmitterRec*>(qbIdListGet(qbEngineGet()->fxemitters, id));
}

static IParticleSystemSceneNode* nodeAt(int id) {
    const QbFxEmitterRec* emitter = emitterAt(id);
    return emitter ? emitter->node : nullptr;
}

// --- making and freeing ---------------------------------------------------------------------------------

void qbFxEmitterCreateBox(int, const char*, float, float, float, float, float, float) {}

void qbFxEmitterCreateFromMesh(int, int, const char*, float) {}

bool qbFxEmitterExists(int id) {
    return emitterAt(id) != nullptr;
}

void qbFxEmitterFree(int id) {
    const std::unique_ptr<QbFxEmitterRec> emitter(emitterAt(id));
    if (!emitter) return;
    if (emitter->node) emitter->node->remove();
    qbIdListRemove(qbEngineGet()->fxemitters, id);
}

// --- state ----------------------------------------------------------------------------------------------

void qbFxEmitterShow(int id) {
    if (IParticleSystemSceneNode* node = nodeAt(id)) node->setVisible(true);
}

void qbFxEmitterHide(int id) {
    if (IParticleSystemSceneNode* node = nodeAt(id)) node->setVisible(false);
}

void qbFxEmitterSetPosition(int id, float x, float y, float z) {
    if (IParticleSystemSceneNode* node = nodeAt(id)) node->setPosition(vector3df(x, y, z));
}

void qbFxEmitterSetRotation(int id, float x, float y, float z) {
    if (IParticleSystemSceneNode* node = nodeAt(id)) node->setRotation(vector3df(x, y, z));
}

void qbFxEmitterAttachToHolder(int id) {
    if (IParticleSystemSceneNode* node = nodeAt(id)) node->setParent(qbEngineGet()->cameraHolder);
}

// --- values of box emitters: none is made yet ------------------------------------------------------------

void qbFxEmitterSetVelocity(int, float, float, float) {}
void qbFxEmitterSetGravity(int, float, float, float) {}
void qbFxEmitterSetBirthRate(int, float) {}
void qbFxEmitterSetLimit(int, int) {}
void qbFxEmitterSetLifeTime(int, float) {}
