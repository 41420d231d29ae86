#pragma once

#include <cstdint>

// Particle emitters by id (0 to 999). On an empty id an operation does nothing. Times in milliseconds, angles
// in degrees.
//
// Particle systems are not made yet: creation leaves the id empty, as it does when an image is missing.

namespace irr {
namespace scene {
class IParticleSystemSceneNode;
}
} // namespace irr

enum QbFxEmitterKind { QB_FX_EMITTER_BOX = 0, QB_FX_EMITTER_MESH = 1 };

struct QbFxEmitterRec {
    irr::scene::IParticleSystemSceneNode* node;
    int32_t hasGravity; // the gravity affector was added
    int32_t kind;       // QbFxEmitterKind
};

// An emitter that fills a box of these edge lengths; `angle` is the largest deviation from its direction.
void qbFxEmitterCreateBox(int id, const char* image, float size, float life, float angle, float generatorX,
                          float generatorY, float generatorZ);
// An emitter on the surface of an object's mesh.
void qbFxEmitterCreateFromMesh(int id, int objectId, const char* image, float size);
bool qbFxEmitterExists(int id);
void qbFxEmitterFree(int id);
void qbFxEmitterShow(int id);
void qbFxEmitterHide(int id);
void qbFxEmitterSetPosition(int id, float x, float y, float z);
void qbFxEmitterSetRotation(int id, float x, float y, float z);
void qbFxEmitterAttachToHolder(int id);

// Box emitters only.
void qbFxEmitterSetVelocity(int id, float x, float y, float z); // world units a second
void qbFxEmitterSetGravity(int id, float x, float y, float z);  // the first value that is not zero stays
void qbFxEmitterSetBirthRate(int id, float rate);               // particles a second
void qbFxEmitterSetLimit(int id, int limit);                    // of all particles ever; -1 for none

// The place of a life time that varies; it has no effect, life times are fixed at creation.
void qbFxEmitterSetLifeTime(int id, float life);
