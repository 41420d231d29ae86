#include "engine/engine.h"
#include "fuzz/fuzz.h"
#include "scene/runtime/mesh_file.h"

#include <irrlicht/irrlicht.h>

// A .x file, loaded as a scene loads it, then used as nodes and surfaces do: animated, given tangents,
// picked.

using irr::u32;
using irr::scene::IAnimatedMesh;
using irr::scene::IMesh;
using irr::scene::IMeshBuffer;

static void expectSound(const IMeshBuffer& buffer) {
    qbFuzzExpect(buffer.getIndexCount() % 3 == 0);
    for (u32 i = 0; i < buffer.getIndexCount(); ++i)
        qbFuzzExpect(buffer.getIndices()[i] < buffer.getVertexCount());
}

static void expectSound(const IMesh& mesh) {
    for (u32 i = 0; i < mesh.getMeshBufferCount(); ++i)
        expectSound(*mesh.getMeshBuffer(i));
}

static void useMesh(IAnimatedMesh* mesh) {
    irr::scene::ISceneManager* smgr = qbEngineGet()->smgr;
    expectSound(*mesh);
    irr::scene::IAnimatedMeshSceneNode* node = smgr->addAnimatedMeshSceneNode(mesh);
    for (const float frame : {0.0F, 7.5F, 1e6F}) {
        node->setCurrentFrame(frame);
        smgr->drawAll();
    }
    node->remove();
    IMesh* tangents =
        smgr->getMeshManipulator()->createMeshWithTangents(mesh->getMesh(0), false, false, false);
    expectSound(*tangents);
    tangents->drop();
}

int LLVMFuzzerInitialize(int*, char***) {
    irr::SIrrlichtCreationParameters wishes;
    wishes.DriverType = irr::video::EDT_NULL;
    wishes.LoggingLevel = irr::ELL_NONE;
    QbEngine* engine = qbEngineGet();
    engine->device = irr::createDeviceEx(wishes);
    qbFuzzExpect(engine->device != nullptr);
    engine->driver = engine->device->getVideoDriver();
    engine->smgr = engine->device->getSceneManager();
    engine->camera = engine->smgr->addCameraSceneNode();
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (IAnimatedMesh* mesh = qbMeshFileLoad(qbFuzzFile("input.x", data, size))) useMesh(mesh);
    qbEngineGet()->smgr->getMeshCache()->clear();
    return 0;
}
