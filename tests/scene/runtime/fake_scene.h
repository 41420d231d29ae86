#pragma once

#include "scene/format/tables.h"

#include <array>
#include <map>
#include <string>
#include <vector>

// Scenes made of plain values behind the operation tables. The test defines qbSceneOpen, qbSceneClose and
// qbSceneSave: a name opens the scene of that name in `fakeScenes`, an unknown one opens nothing.

using FakeVector = std::array<float, 3>;

struct FakeMotion {
    FakeVector position{};
    FakeVector rotation{}; // as the engine turns: X, Y, Z degrees
    FakeVector scale{1.0F, 1.0F, 1.0F};
    float speed = 0.0F; // world units a millisecond along X
};

struct FakeObject {
    std::string name;
    std::string mesh;
    bool isNull = false;
    FakeMotion motion{};
    int surfaceCount = 0;       // surface s has the value s + time in slot 1 ("Luminosity")
    const char* bump = nullptr; // image of each surface's bump slot
};

struct FakeLight {
    int type = 1;
    FakeMotion motion{};
    FakeVector color{1.0F, 1.0F, 1.0F};
    float intensity = 1.0F;
    float cone = 30.0F, edge = 5.0F;
    int falloff = 0;
    float range = 0.0F;
};

struct FakeCamera {
    FakeMotion motion{};
    float fov = 60.0F;
    int depthOfField = 0;
    float focalDistance = 0.0F, fStop = 0.0F;
};

struct FakeEmitter {
    std::string name;
    const char* image = nullptr;
    FakeVector size{};
    FakeMotion motion{};
};

struct FakeScene {
    int firstFrame = 0, lastFrame = 0, framesPerSecond = 25;
    int camera = 0;
    int glow = 0;
    float glowIntensity = 0.0F, glowRadius = 0.0F;
    FakeVector zenith{}, ambient{};
    std::vector<FakeObject> objects;
    std::vector<FakeLight> lights;
    std::vector<FakeCamera> cameras;
    std::vector<FakeEmitter> emitters;
};

extern std::map<std::string, FakeScene> fakeScenes;
extern int fakeOpenScenes; // opened and not closed
// What the tables were asked, in order, while `fakeLogs` is set.
extern std::vector<std::string> fakeLog;
extern bool fakeLogs;
void fakeReset();
