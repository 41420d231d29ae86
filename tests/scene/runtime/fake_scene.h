#pragma once

#include "scene/format/tables.h"
#include "stage.h"

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
    std::string name, mesh;
    bool isNull = false;
    FakeMotion motion{};
    int surfaceCount = 0; // surface s has the value s + time in slot 1 ("Luminosity")
};

struct FakeLight {
    int type = 1;
    FakeVector rotation{};
    FakeVector color{1.0F, 1.0F, 1.0F};
    float intensity = 1.0F, edge = 5.0F; // the cone has 30 degrees
    int falloff = 0;
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
    float particleSize = 0.0F, life = 0.0F, explosion = 0.0F;
    FakeVector velocity{}, gravity{};
    float birthRate = 0.0F, birthFrom = 0.0F; // nothing before, milliseconds
    int limit = -1;
};

struct FakeScene {
    int firstFrame = 0, lastFrame = 0, framesPerSecond = 25, camera = 0, glow = 0;
    FakeVector zenith{}, ambient{};
    std::vector<FakeObject> objects;
    std::vector<FakeLight> lights;
    std::vector<FakeCamera> cameras;
    std::vector<FakeEmitter> emitters;
};

extern std::map<std::string, FakeScene> fakeScenes;
extern int fakeOpenScenes; // opened and not closed
// What the tables were asked: (g)low, (a)mbient, the position of a (c)amera, (l)ight, (e)mitter, (o)bject,
// (s)urfaces, (t)ype of a light, (i)mage of an emitter.
extern std::string fakeLog;

class FakeStage : public Stage {
protected:
    void TearDown() override {
        Stage::TearDown();
        EXPECT_EQ(fakeOpenScenes, 0);
        fakeScenes.clear();
    }
};
