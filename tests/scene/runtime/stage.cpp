#include "stage.h"

#include "engine/engine.h"
#include "scene/runtime/objects.h"
#include "scene/runtime/slots.h"

void Stage::SetUp() {
    irr::SIrrlichtCreationParameters wishes;
    wishes.DriverType = irr::video::EDT_NULL;
    wishes.LoggingLevel = irr::ELL_NONE;
    device = irr::createDeviceEx(wishes);
    ASSERT_NE(device, nullptr);
    smgr = device->getSceneManager();
    camera = smgr->addCameraSceneNode();
    holder = smgr->addEmptySceneNode();
    QbEngine* engine = qbEngineGet();
    *engine = {};
    engine->device = device;
    engine->driver = device->getVideoDriver();
    engine->smgr = smgr;
    engine->camera = camera;
    engine->cameraHolder = holder;
    engine->objects = qbIdListCreate(1000);
    engine->lights = qbIdListCreate(1000);
    engine->fxemitters = qbIdListCreate(1000);
    qbSceneSetReportLoadErrors(1);
}

void Stage::TearDown() {
    for (int slot = 0; slot < QB_SCENE_SLOTS; slot++)
        qbSceneFree(slot);
    QbEngine* engine = qbEngineGet();
    for (int id = 0; id < qbIdListCapacity(engine->objects); id++)
        qbObjectFree(id);
    qbIdListFree(engine->objects);
    qbIdListFree(engine->lights);
    qbIdListFree(engine->fxemitters);
    *engine = {};
    device->drop();
}

static unsigned countNodes(const irr::scene::ISceneNode* node) {
    unsigned count = 0;
    for (const irr::scene::ISceneNode* child : node->getChildren())
        count += 1 + countNodes(child);
    return count;
}

unsigned Stage::nodes() const {
    return countNodes(smgr->getRootSceneNode());
}
