#include "scene/runtime/terrain.h"

#include "engine/engine.h"
#include "platform/message.h"
#include "platform/path.h"
#include "scene/runtime/bmp_file.h"
#include "scene/runtime/height_map.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <irrlicht/irrlicht.h>
#include <string>

using irr::core::vector3df;
using irr::io::IReadFile;
using irr::scene::IMeshBuffer;
using irr::scene::ITerrainSceneNode;
using irr::video::ITexture;

enum { PATCH_SIZE = 33, MAX_LOD = 1, NO_SMOOTHING = 0 };
static const float EXTENT = 7680.0F; // in X and Z
static const float HEIGHT_SCALE = 8.0F;
static const float DETAIL_REPEATS = 20.0F;
// Of the camera, in units: what the engine lets pass before it looks anew which patches are in view.
static const float MOVEMENT_DELTA = 10.0F;

bool qbTerrainIsTerrainFile(const char* name) {
    return name && strstr(name, ".terrain") != nullptr;
}

QbTerrainFiles qbTerrainFiles(const std::string& name) {
    const std::string base = name.substr(0, name.find(".layer"));
    return {base, base + "_height.raw", base + "_height.bmp", base + "_texture.jpg", base + "_details.jpg"};
}

// --- shape ------------------------------------------------------------------------------------------------

// The engine's normals are those of the map before it is scaled and turned.
static void buildNormals(IMeshBuffer* buffer, uint32_t n) {
    for (uint32_t x = 0; x < n; x++) {
        const uint32_t left = x > 0 ? x - 1 : 0, right = std::min(x + 1, n - 1);
        for (uint32_t z = 0; z < n; z++) {
            const uint32_t before = z > 0 ? z - 1 : 0, behind = std::min(z + 1, n - 1);
            const vector3df alongX = buffer->getPosition(right * n + z) - buffer->getPosition(left * n + z);
            const vector3df alongZ =
                buffer->getPosition(x * n + behind) - buffer->getPosition(x * n + before);
            buffer->getNormal(x * n + z) = alongZ.crossProduct(alongX).normalize();
        }
    }
    buffer->setDirty(irr::scene::EBT_VERTEX);
}

// The engine leaves them as they lay in memory until a detail texture is scaled.
static void clearDetailCoordinates(IMeshBuffer* buffer) {
    auto* vertices = static_cast<irr::video::S3DVertex2TCoords*>(buffer->getVertices());
    for (irr::u32 i = 0; i < buffer->getVertexCount(); i++)
        vertices[i].TCoords2.set(0.0F, 0.0F);
}

namespace {

// The engine looks anew which patches are in view when the camera moves or turns, but not when it sees
// farther or wider, and late when it rolls or zooms slowly.
class ViewWatch : public irr::scene::ISceneNodeAnimator {
public:
    void animateNode(irr::scene::ISceneNode* node, irr::u32) override {
        const View view = viewOf(node->getSceneManager()->getActiveCamera());
        static_cast<ITerrainSceneNode*>(node)->setCameraMovementDelta(view == view_ ? MOVEMENT_DELTA : 0.0F);
        view_ = view;
    }
    irr::scene::ISceneNodeAnimator* createClone(irr::scene::ISceneNode*,
                                                irr::scene::ISceneManager*) override {
        return nullptr;
    }

private:
    using View = std::array<float, 6>;

    static View viewOf(const irr::scene::ICameraSceneNode* camera) {
        if (!camera) return {};
        const vector3df up = camera->getUpVector();
        return {camera->getFarValue(), camera->getFOV(), camera->getAspectRatio(), up.X, up.Y, up.Z};
    }

    View view_{};
};

} // namespace

static void watchView(ITerrainSceneNode* node) {
    auto* watch = new ViewWatch();
    node->addAnimator(watch);
    watch->drop();
}

static bool isUsable(const char* path, uint32_t width, uint32_t height) {
    if (width != height || width < PATCH_SIZE) {
        qbMessage("height map '%s' is %u x %u pixels; it must be square, of %d to %d pixels a side (best 257 "
                  "or 513)",
                  path, width, height, static_cast<int>(PATCH_SIZE), static_cast<int>(QB_BMP_SIDE_MAX));
        return false;
    }
    const int squares = PATCH_SIZE - 1;
    if ((width - 1) % static_cast<uint32_t>(squares) != 0)
        qbTrace("height map '%s' is %u pixels a side, no multiple of %d plus 1: its left and lower border is "
                "left out\n",
                path, width, squares);
    return true;
}

// The engine would read a bitmap by another measure of lightness, so it gets the terrain first, without a
// map, and the heights as floats then.
static ITerrainSceneNode* buildNode(IReadFile* heights, uint32_t n) {
    const float step = EXTENT / static_cast<float>(n);
    const irr::video::SColor white(255, 255, 255, 255);
    ITerrainSceneNode* node = qbEngineGet()->smgr->addTerrainSceneNode(
        static_cast<IReadFile*>(nullptr), nullptr, -1, vector3df(0.0F, 0.0F, 0.0F),
        vector3df(0.0F, -180.0F, 0.0F), vector3df(step, HEIGHT_SCALE, step), white, MAX_LOD,
        irr::scene::ETPS_33, NO_SMOOTHING, true);
    if (!node) return nullptr;
    if (!node->loadHeightMapRAW(heights, 32, true, true, static_cast<irr::s32>(n), white, NO_SMOOTHING)) {
        node->remove();
        return nullptr;
    }
    clearDetailCoordinates(node->getRenderBuffer());
    buildNormals(node->getRenderBuffer(), n);
    watchView(node);
    return node;
}

// --- material ---------------------------------------------------------------------------------------------

// Null without a word for a missing file, of which the engine would complain.
static ITexture* textureOf(const std::string& path) {
    return qbFileExists(path.c_str()) ? qbEngineGet()->driver->getTexture(path.c_str()) : nullptr;
}

static void setupMaterial(ITerrainSceneNode* node, const QbTerrainFiles& files) {
    node->setMaterialFlag(irr::video::EMF_LIGHTING, false);
    if (ITexture* texture = textureOf(files.texture)) node->setMaterialTexture(0, texture);
    if (ITexture* details = textureOf(files.details)) {
        node->setMaterialTexture(1, details);
        node->setMaterialType(irr::video::EMT_DETAIL_MAP);
        node->scaleTexture(1.0F, DETAIL_REPEATS);
    }
}

ITerrainSceneNode* qbTerrainLoad(const char* name) {
    const QbTerrainFiles files = qbTerrainFiles(name);
    uint32_t width = 0, height = 0;
    IReadFile* heights = openHeightMapFileRaw(files.raw.c_str(), &width, &height);
    if (!heights) heights = qbHeightMapOpenBmp(files.bmp.c_str(), &width, &height);
    if (!heights) {
        qbMessage("Cannot load height map file '%s'", files.bmp.c_str());
        return nullptr;
    }
    ITerrainSceneNode* node =
        isUsable(files.bmp.c_str(), width, height) ? buildNode(heights, width) : nullptr;
    heights->drop();
    if (!node) {
        qbMessage("Cannot load terrain basename='%s'. Check height map file '%s'", files.base.c_str(),
                  files.bmp.c_str());
        return nullptr;
    }
    setupMaterial(node, files);
    return node;
}

void qbTerrainFree(ITerrainSceneNode* node) {
    // Otherwise the driver would hold it, and its own copy of it, for 20000 more frames.
    qbEngineGet()->driver->removeHardwareBuffer(node->getRenderBuffer());
    node->remove();
}
