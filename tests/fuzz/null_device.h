#pragma once

#include "engine/engine.h"
#include "fuzz/fuzz.h"

#include <irrlicht/irrlicht.h>

// The engine without a window, once for all inputs. It says nothing and finds no file of its own accord.
inline void qbFuzzOpenEngine() {
    irr::SIrrlichtCreationParameters wishes;
    wishes.DriverType = irr::video::EDT_NULL;
    wishes.LoggingLevel = irr::ELL_NONE;
    QbEngine* engine = qbEngineGet();
    engine->device = irr::createDeviceEx(wishes);
    qbFuzzExpect(engine->device != nullptr);
    engine->driver = engine->device->getVideoDriver();
    engine->smgr = engine->device->getSceneManager();
    engine->camera = engine->smgr->addCameraSceneNode();
    engine->objects = qbIdListCreate(1000);
}
