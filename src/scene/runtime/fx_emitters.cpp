#include "scene/runtime/fx_emitters.h"

#include "engine/engine.h"
#include "platform/message.h"
#include "platform/path.h"
#include "scene/runtime/box_emitter.h"
#include "scene/runtime/objects.h"

#include <algorithm>
#include <cmath>
#include <irrlicht/irrlicht.h>
#include <memory>

using irr::u32;
using irr::core::dimension2df;
using irr::core::vector3df;
using irr::scene::IAnimatedMeshSceneNode;
using irr::scene::IMesh;
using irr::scene::IParticleAffector;
using irr::scene::IParticleEmitter;
using irr::scene::IParticleSystemSceneNode;
using irr::video::ITexture;
using irr::video::SColor;

static const SColor START_COLOR(0, 255, 255, 255);
static const u32 FADE_OUT_MS = 1000;
static const u32 GRAVITY_MS = 100000; // until gravity alone moves a particle
// A flat generator keeps a box that is not empty.
static const double BOX_MARGIN = 0.00001;

static QbFxEmitterRec* emitterAt(int id) {
    return static_cast<QbFxEmitterRec*>(qbIdListGet(qbEngineGet()->fxemitters, id));
}

static IParticleSystemSceneNode* nodeAt(int id) {
    const QbFxEmitterRec* emitter = emitterAt(id);
    return emitter ? emitter->node : nullptr;
}

static QbBoxEmitter* boxEmitterAt(int id) {
    const QbFxEmitterRec* emitter = emitterAt(id);
    if (!emitter || emitter->kind != QB_FX_EMITTER_BOX) return nullptr;
    return static_cast<QbBoxEmitter*>(emitter->node->getEmitter());
}

// --- values of a scene ----------------------------------------------------------------------------------

static float finiteOrZero(float value) {
    return std::isfinite(value) ? value : 0.0F;
}

static bool isFinite(float x, float y, float z) {
    return std::isfinite(x) && std::isfinite(y) && std::isfinite(z);
}

static int cutWithin(double value, int low, int high) {
    if (std::isnan(value)) return 0;
    return static_cast<int>(std::clamp(value, static_cast<double>(low), static_cast<double>(high)));
}

static u32 cutUpTo(double value, int high) {
    return static_cast<u32>(cutWithin(value, 0, high));
}

static double tenthMore(float value) {
    const double exact = value;
    return exact / 10.0 + exact;
}

static dimension2df smallestSize(float size) {
    return dimension2df(finiteOrZero(size), finiteOrZero(size));
}

static dimension2df largestSize(float size) {
    const auto largest = finiteOrZero(static_cast<float>(tenthMore(size)));
    return dimension2df(largest, largest);
}

static float halfExtent(float generator) {
    return static_cast<float>(static_cast<double>(finiteOrZero(generator)) / 2.0 + BOX_MARGIN);
}

// --- making and freeing ---------------------------------------------------------------------------------

static ITexture* loadImage(const char* image) {
    irr::video::IVideoDriver* driver = qbEngineGet()->driver;
    // Irrlicht reports a missing file as an error.
    if (!image || !driver || (!qbFileExists(image) && !driver->findTexture(image))) return nullptr;
    return driver->getTexture(image);
}

static void freeRecord(QbFxEmitterRec* emitter) {
    if (emitter->node) emitter->node->remove();
    if (emitter->source) emitter->source->drop();
    delete emitter;
}

using Record = std::unique_ptr<QbFxEmitterRec, void (*)(QbFxEmitterRec*)>;

// Null when the engine makes no node.
static Record createRecord(QbFxEmitterKind kind) {
    Record emitter(new QbFxEmitterRec{nullptr, 0, kind}, freeRecord);
    emitter->node = qbEngineGet()->smgr->addParticleSystemSceneNode(
        false, nullptr, -1, vector3df(0.0F, 0.0F, 0.0F), vector3df(0.0F, 0.0F, 0.0F),
        vector3df(1.0F, 1.0F, 1.0F));
    if (!emitter->node) emitter.reset();
    return emitter;
}

static void setEmitter(IParticleSystemSceneNode* node, IParticleEmitter* emitter) {
    node->setEmitter(emitter);
    emitter->drop();
}

static void addAffector(IParticleSystemSceneNode* node, IParticleAffector* affector) {
    node->addAffector(affector);
    affector->drop();
}

static void setMaterial(IParticleSystemSceneNode* node, ITexture* texture) {
    node->setMaterialFlag(irr::video::EMF_ZWRITE_ENABLE, false);
    node->setMaterialTexture(0, texture);
    node->setMaterialType(irr::video::EMT_TRANSPARENT_VERTEX_ALPHA);
    node->setMaterialFlag(irr::video::EMF_LIGHTING, false);
}

// What both kinds end with. Gives the record to the list; a refused one goes, with its node.
static void registerEmitter(int id, Record emitter, ITexture* texture) {
    addAffector(emitter->node, emitter->node->createFadeOutParticleAffector(SColor(0), FADE_OUT_MS));
    setMaterial(emitter->node, texture);
    if (qbIdListAdd(qbEngineGet()->fxemitters, id, emitter.get()) == 0) static_cast<void>(emitter.release());
}

static QbBoxEmitter* createBoxEmitter(float size, float life, float angle, const vector3df& half) {
    auto* box = new QbBoxEmitter(qbEngineGet()->device->getRandomizer());
    box->setBox(irr::core::aabbox3df(-half, half));
    box->setMinStartColor(START_COLOR);
    box->setMaxStartColor(START_COLOR);
    box->setMinLifeTime(cutUpTo(life, QB_FX_EMITTER_LIFE_MAX));
    box->setMaxLifeTime(cutUpTo(tenthMore(life), QB_FX_EMITTER_LIFE_MAX));
    box->setMaxAngleDegrees(cutWithin(angle, -QB_FX_EMITTER_ANGLE_MAX, QB_FX_EMITTER_ANGLE_MAX));
    box->setMinStartSize(smallestSize(size));
    box->setMaxStartSize(largestSize(size));
    return box;
}

void qbFxEmitterCreateBox(int id, const char* image, float size, float life, float angle, float generatorX,
                          float generatorY, float generatorZ) {
    ITexture* texture = loadImage(image);
    if (!texture) return;
    Record emitter = createRecord(QB_FX_EMITTER_BOX);
    if (!emitter) return;
    const vector3df half(halfExtent(generatorX), halfExtent(generatorY), halfExtent(generatorZ));
    setEmitter(emitter->node, createBoxEmitter(size, life, angle, half));
    registerEmitter(id, std::move(emitter), texture);
}

// A mesh without buffers would be divided by their number.
static bool canEmit(const IMesh* mesh) {
    return mesh && mesh->getMeshBufferCount() > 0;
}

static IParticleEmitter* createMeshEmitter(IParticleSystemSceneNode* node, IMesh* mesh, float size) {
    if (!canEmit(mesh)) return nullptr;
    return node->createMeshEmitter(mesh, false, vector3df(0.0F, 0.0F, 0.0F), 100.0F, -1, true, 50, 50,
                                   START_COLOR, START_COLOR, 20, 20, 0, smallestSize(size),
                                   largestSize(size));
}

static IParticleEmitter* createAnimatedEmitter(IParticleSystemSceneNode* node, IAnimatedMeshSceneNode* source,
                                               float size) {
    if (!canEmit(source->getMesh())) return nullptr;
    return node->createAnimatedMeshSceneNodeEmitter(source, false, vector3df(0.0F, 0.0F, 0.0F), 100.0F, -1,
                                                    false, 5000, 5000, START_COLOR, START_COLOR, 200, 500, 0,
                                                    smallestSize(size), largestSize(size));
}

void qbFxEmitterCreateFromMesh(int id, int objectId, const char* image, float size) {
    irr::scene::IMeshSceneNode* plain = qbObjectMeshNode(objectId);
    IAnimatedMeshSceneNode* animated = plain ? nullptr : qbObjectAnimatedNode(objectId);
    if (!plain && !animated) return qbMessage("Arg");
    ITexture* texture = loadImage(image);
    if (!texture) return;
    Record emitter = createRecord(QB_FX_EMITTER_MESH);
    if (!emitter) return;
    IParticleEmitter* made = plain ? createMeshEmitter(emitter->node, plain->getMesh(), size)
                                   : createAnimatedEmitter(emitter->node, animated, size);
    if (!made) return;
    setEmitter(emitter->node, made);
    // The object may be freed first.
    if (plain)
        emitter->source = plain->getMesh();
    else
        emitter->source = animated;
    emitter->source->grab();
    registerEmitter(id, std::move(emitter), texture);
}

bool qbFxEmitterExists(int id) {
    return emitterAt(id) != nullptr;
}

void qbFxEmitterFree(int id) {
    const Record emitter(emitterAt(id), freeRecord);
    if (emitter) qbIdListRemove(qbEngineGet()->fxemitters, id);
}

// --- state ----------------------------------------------------------------------------------------------

void qbFxEmitterShow(int id) {
    if (IParticleSystemSceneNode* node = nodeAt(id)) node->setVisible(true);
}

void qbFxEmitterHide(int id) {
    if (IParticleSystemSceneNode* node = nodeAt(id)) node->setVisible(false);
}

void qbFxEmitterSetPosition(int id, float x, float y, float z) {
    IParticleSystemSceneNode* node = nodeAt(id);
    if (node && isFinite(x, y, z)) node->setPosition(vector3df(x, y, z));
}

void qbFxEmitterSetRotation(int id, float x, float y, float z) {
    IParticleSystemSceneNode* node = nodeAt(id);
    if (node && isFinite(x, y, z)) node->setRotation(vector3df(x, y, z));
}

void qbFxEmitterAttachToHolder(int id) {
    if (IParticleSystemSceneNode* node = nodeAt(id)) node->setParent(qbEngineGet()->cameraHolder);
}

// --- values of box emitters -----------------------------------------------------------------------------

void qbFxEmitterSetVelocity(int id, float x, float y, float z) {
    QbBoxEmitter* box = boxEmitterAt(id);
    // Particles move by the millisecond.
    if (box && isFinite(x, y, z)) box->setDirection(vector3df(x / 1000.0F, y / 1000.0F, z / 1000.0F));
}

void qbFxEmitterSetGravity(int id, float x, float y, float z) {
    QbFxEmitterRec* emitter = emitterAt(id);
    if (!emitter || emitter->kind != QB_FX_EMITTER_BOX || emitter->hasGravity) return;
    if (!isFinite(x, y, z) || (x == 0.0F && y == 0.0F && z == 0.0F)) return;
    IParticleSystemSceneNode* node = emitter->node;
    const vector3df gravity(x / 10.0F, y / 10.0F, z / 10.0F);
    addAffector(node, node->createGravityAffector(gravity, GRAVITY_MS));
    emitter->hasGravity = 1;
}

void qbFxEmitterSetBirthRate(int id, float rate) {
    QbBoxEmitter* box = boxEmitterAt(id);
    if (!box || !std::isfinite(rate)) return;
    box->setMinParticlesPerSecond(cutUpTo(rate, QB_FX_EMITTER_RATE_MAX));
    box->setMaxParticlesPerSecond(cutUpTo(tenthMore(rate), QB_FX_EMITTER_RATE_MAX));
}

void qbFxEmitterSetLimit(int id, int limit) {
    if (QbBoxEmitter* box = boxEmitterAt(id)) box->setParticleLimit(limit);
}

void qbFxEmitterSetLifeTime(int, float) {}
