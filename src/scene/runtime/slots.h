#pragma once

#include <cstdint>

// The 60 scene slots: loading a scene into engine nodes and driving them. A slot of 60 or more, a negative
// one and an empty one do nothing, or give the value stated. Main thread only; loading is not re-entrant.
enum { QB_SCENE_SLOTS = 60 };

// Loads into a slot, freeing what it held. `directory` is the key under which meshes are shared between
// scenes; an extra has no lights and no camera of its own and hangs on the camera. The scene then stands
// stopped and hidden in its pose of time 0. 0, or -1 (the caller reports); items that fail leave holes and
// messages.
int qbSceneLoad(const char* filename, int slot, int firstObject, int firstLight, int firstEmitter,
                int reuseObjects, const char* directory, int isExtra);
void qbSceneFree(int slot);
void qbSceneStart(int slot); // shows nodes and lights, sets the background from the backdrop's zenith
void qbSceneStop(int slot);
void qbSceneHide(int slot); // a started extra outside its window: objects parked far away
void qbSceneShow(int slot);
void qbSceneUpdate(int slot, int32_t timeMs); // any time in any order

// Counts, -1 for an empty slot; emptied items count, ids run through them.
int qbSceneObjectCount(int slot);
int qbSceneLightCount(int slot);
int qbSceneFxEmitterCount(int slot);
int qbSceneDurationMs(int slot);                   // 0 for an empty slot
int qbSceneFramesPerSecond(int slot);              // likewise
int qbSceneFirstFrame(int slot);                   // likewise
int qbSceneSaveBinary(int slot, const char* path); // the result of qbSceneSave, -1 for an empty slot

// Object ids by mesh file (all slots with that directory key) and by item name; no case; -1 when there is
// none.
int qbSceneFindObjectByMesh(const char* directory, const char* meshFile);
int qbSceneFindObjectByName(int slot, const char* name);

// 1: single items that fail to load are reported; off at start.
void qbSceneSetReportLoadErrors(int report);
