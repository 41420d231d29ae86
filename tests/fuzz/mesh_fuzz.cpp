#include "fuzz/fuzz.h"
#include "fuzz/null_device.h"
#include "scene/runtime/objects.h"

#include <initializer_list>

// A .x file, loaded as an object, posed and drawn; one that does not move is given tangents as well, as it is
// for a surface with bumps.

using irr::u32;
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

static void giveTangents(IMesh* mesh) {
    IMesh* tangents =
        qbEngineGet()->smgr->getMeshManipulator()->createMeshWithTangents(mesh, false, false, false, true);
    expectSound(*tangents);
    tangents->drop();
}

static void use(int id) {
    auto* object = static_cast<QbObjectRec*>(qbIdListGet(qbEngineGet()->objects, id));
    expectSound(*object->mesh);
    for (const float frame : {0.0F, 7.5F, 1e6F}) {
        qbObjectSetFrame(id, frame);
        qbEngineGet()->smgr->drawAll();
    }
    if (object->isStatic) giveTangents(object->mesh);
}

int LLVMFuzzerInitialize(int*, char***) {
    qbFuzzOpenEngine();
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    enum { ID = 1 };
    qbObjectLoad(qbFuzzFile("input.x", data, size), ID);
    if (qbObjectExists(ID)) use(ID);
    qbObjectFree(ID);
    qbEngineGet()->smgr->getMeshCache()->clear();
    return 0;
}
