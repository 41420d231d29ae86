#pragma once

#include <cstdint>

// Particle emitters by id (0 to 999). On an empty id an operation does nothing. Times in milliseconds, angles
// in degrees.
//
// The values come from scenes. Where one is no finite number, a creation takes 0 and a setter changes
// nothing; where it is turned into an integer it is cut towards zero and kept within the limits below. The
// engine's particle system shows at most 16250 particles at a time.
//
// The image is drawn as light, added to what lies behind: black shows nothing, and its alpha is not used.
//
// Particles live on Irrlicht's timer, in the frame that draws them: a scene time that jumps leaves them
// alone.

namespace irr {
class IReferenceCounted;
namespace scene {
class IParticleSystemSceneNode;
}
} // namespace irr

enum QbFxEmitterKind { QB_FX_EMITTER_BOX = 0, QB_FX_EMITTER_MESH = 1 };

enum {
    QB_FX_EMITTER_RATE_MAX = 1000000,    // particles a second
    QB_FX_EMITTER_LIFE_MAX = 1000000000, // milliseconds
    QB_FX_EMITTER_ANGLE_MAX = 36000,     // degrees either way
};

struct QbFxEmitterRec {
    irr::scene::IParticleSystemSceneNode* node;
    int32_t hasGravity; // the gravity affector was added
    int32_t kind;       // QbFxEmitterKind
    // What a mesh emitter reads, a mesh or a node: held here, as Irrlicht's emitters do not. Null for a box.
    irr::IReferenceCounted* source = nullptr;
};

// Both leave the id empty when the image does not load, and when the id is taken or outside the table; the
// caller reports. `size` is a particle's edge, which is up to a tenth larger.
//
// An emitter that fills a box of these edge lengths, silent until it gets a rate. Particles live for `life`
// and up to a tenth longer; `angle` is the largest deviation from their direction.
void qbFxEmitterCreateBox(int id, const char* image, float size, float life, float angle, float generatorX,
                          float generatorY, float generatorZ);
// An emitter on the vertices of an object's mesh, with rates and life times of its own: a plain mesh emits 50
// particles a second from each vertex for 20 ms, an animated one 5000 from all of them for 200 to 500 ms. An
// object without such a mesh shows a message.
void qbFxEmitterCreateFromMesh(int id, int objectId, const char* image, float size);
bool qbFxEmitterExists(int id);
void qbFxEmitterFree(int id);
void qbFxEmitterShow(int id);
void qbFxEmitterHide(int id); // emits nothing meanwhile
void qbFxEmitterSetPosition(int id, float x, float y, float z);
void qbFxEmitterSetRotation(int id, float x, float y, float z);
void qbFxEmitterAttachToHolder(int id);

// Box emitters only.
void qbFxEmitterSetVelocity(int id, float x, float y, float z); // world units a second
void qbFxEmitterSetGravity(int id, float x, float y, float z);  // the first value that is not zero stays
// Particles a second, and up to a tenth more. Below 1 nothing is emitted, and nothing piles up.
void qbFxEmitterSetBirthRate(int id, float rate);
void qbFxEmitterSetLimit(int id, int limit); // of all particles ever; -1 for none

// The place of a life time that varies; it has no effect, life times are fixed at creation.
void qbFxEmitterSetLifeTime(int id, float life);
