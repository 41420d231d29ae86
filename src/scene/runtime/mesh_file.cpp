#include "scene/runtime/mesh_file.h"

#include "engine/engine.h"
#include "engine/x_guard.h"
#include "platform/file_bytes.h"
#include "platform/message.h"
#include "platform/path.h"
#include "platform/span.h"
#include "platform/text.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <irrlicht/irrlicht.h>
#include <memory>
#include <string_view>

using irr::core::aabbox3df;
using irr::core::matrix4;
using irr::scene::IAnimatedMesh;
using irr::scene::ISceneManager;
using irr::scene::ISkinnedMesh;
using irr::scene::SSkinMeshBuffer;

bool qbMeshFileFind(const char* name, std::string& path) {
    if (!name || !*name) return false;
    std::string wanted = name;
    if (wanted.find_first_of("/\\") == std::string::npos)
        wanted = std::string(qbCurrentDirectory()) + "\\" + wanted;
    if (!qbPathResolve(wanted.c_str(), path)) return false;
    // The engine keeps meshes by name: the same relative name in two directories is two meshes.
    path = qbFullPath(path.c_str());
    return !path.empty();
}

// --- reading ----------------------------------------------------------------------------------------------

static bool hasXEnding(std::string_view path) {
    return path.size() >= 2 && path[path.size() - 2] == '.' && qbFoldCase(path.back()) == 'x';
}

static void logCut() {
    irr::IrrlichtDevice* device = qbEngineGet()->device;
    if (device && device->getLogger())
        device->getLogger()->log("QUAB Object: getNextToken reached end!!", irr::ELL_ERROR);
}

// The engine gets the very bytes that were checked, whatever happens to the file meanwhile.
static IAnimatedMesh* loadX(ISceneManager* smgr, const std::string& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> source(qbPathOpen(path.c_str(), "rb"),
                                                                 &std::fclose);
    std::string bytes;
    if (qbFileBytes(source.get(), QB_X_FILE_MAX, bytes) != 0) {
        qbMessage("%.512s: the mesh can not be read: %s", path.c_str(), strerror(errno));
        return nullptr;
    }
    const QbXVerdict verdict = qbXGuardCheck(bytes, path.c_str());
    if (verdict.cut) logCut();
    if (!verdict.message.empty()) {
        qbMessage("%s", verdict.message.c_str());
        return nullptr;
    }
    irr::io::IReadFile* file = smgr->getFileSystem()->createMemoryReadFile(
        bytes.data(), static_cast<irr::s32>(verdict.size), path.c_str());
    IAnimatedMesh* mesh = smgr->getMesh(file);
    file->drop();
    return mesh;
}

// --- meshes that do not move ------------------------------------------------------------------------------

static void bakeBuffer(SSkinMeshBuffer* buffer) {
    const matrix4 place = buffer->Transformation;
    matrix4 inverse;
    // A flattened mesh has no inverse; its normals turn as its points do.
    const matrix4 turn = place.getInverse(inverse) ? inverse.getTransposed() : place;
    for (irr::u32 i = 0; i < buffer->getVertexCount(); i++) {
        place.transformVect(buffer->getPosition(i));
        turn.rotateVect(buffer->getNormal(i));
        buffer->getNormal(i).normalize();
    }
    buffer->Transformation.makeIdentity();
    buffer->boundingBoxNeedsRecalculated();
    buffer->recalculateBoundingBox();
    buffer->setDirty(irr::scene::EBT_VERTEX);
}

// A second call finds nothing left to do.
static void bakeStatic(IAnimatedMesh* mesh) {
    if (mesh->getMeshType() != irr::scene::EAMT_SKINNED || mesh->getFrameCount() > 1) return;
    irr::core::array<SSkinMeshBuffer*>& buffers = static_cast<ISkinnedMesh*>(mesh)->getMeshBuffers();
    if (buffers.empty()) return;
    for (irr::u32 i = 0; i < buffers.size(); i++)
        if (!buffers[i]->Transformation.isIdentity()) bakeBuffer(buffers[i]);
    aabbox3df box = buffers[0]->getBoundingBox();
    for (irr::u32 i = 1; i < buffers.size(); i++)
        box.addInternalBox(buffers[i]->getBoundingBox());
    mesh->setBoundingBox(box);
}

IAnimatedMesh* qbMeshFileLoad(const std::string& path) {
    ISceneManager* smgr = qbEngineGet()->smgr;
    IAnimatedMesh* mesh = smgr->getMeshCache()->getMeshByName(path.c_str());
    if (mesh) return mesh;
    const QbSpan span("meshes");
    mesh = hasXEnding(path) ? loadX(smgr, path) : smgr->getMesh(path.c_str());
    if (mesh) bakeStatic(mesh);
    return mesh;
}
