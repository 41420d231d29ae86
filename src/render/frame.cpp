#include "engine/engine.h"
#include "engine/render_target.h"
#include "materials/surface.h"
#include "materials/surface_mark.h"
#include "render/draw_order.h"
#include "render/passes.h"
#include "render/pipeline.h"
#include "render/renderer.h"
#include "render/variants.h"
#include "scene/runtime/objects.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <limits>
#include <utility>
#include <vector>

using namespace irr;

static QbPassHook passHook;

void qbRendererSetPassHook(QbPassHook hook) {
    passHook = hook;
}

static void beginPass(QbRenderPass pass) {
    if (passHook) passHook(pass);
}

namespace {

// The frame within Irrlicht's drawAll, which calls these at each pass and around each solid node. A node can
// not be taken out of its solid loop: one that has no part in the geometry pass is drawn without effect.
class Passes : public scene::ILightManager {
public:
    void begin(QbEngine* engine, QbLppState* state);
    void OnPreRender(core::array<scene::ISceneNode*>& lightList) override;
    void OnPostRender() override {}
    void OnRenderPassPreRender(scene::E_SCENE_NODE_RENDER_PASS pass) override;
    void OnRenderPassPostRender(scene::E_SCENE_NODE_RENDER_PASS pass) override;
    void OnNodePreRender(scene::ISceneNode* node) override;
    void OnNodePostRender(scene::ISceneNode* node) override;

private:
    void beginGeometry();
    void addParticles(scene::ISceneNode* node);
    void restoreParticles(scene::ISceneNode* node);

    QbEngine* engine_ = nullptr;
    QbLppState* state_ = nullptr;
    bool inSolidPass_ = false;
    bool hasObject_ = false; // the node that is being drawn has an object record
    int surfacesDrawn_ = 0;
    QbDrawOrder order_;
    QbSavedMaterials saved_;
    core::array<scene::ISceneNode*> lights_; // in the order of the scene graph
    std::vector<std::pair<float, u32>> byDistance_;
    std::vector<scene::ISceneNode*> solidNodes_; // with an object record
    std::vector<u32> addedMaterials_;            // of the particle node that is being drawn
};

} // namespace

// Whatever is drawn under it leaves neither colour nor depth, in the named passes of Irrlicht. Depth test and
// lighting of the frame's own draws stand in their materials and need no override.
static void silence(video::SOverrideMaterial* override, u16 passes) {
    override->Material.ColorMask = video::ECP_NONE;
    override->Material.ZWriteEnable = false;
    override->EnableFlags = video::EMF_COLOR_MASK | video::EMF_ZWRITE_ENABLE;
    override->EnablePasses = passes;
}

void Passes::begin(QbEngine* engine, QbLppState* state) {
    engine_ = engine;
    state_ = state;
    inSolidPass_ = false;
    surfacesDrawn_ = 0;
    solidNodes_.clear();
    lights_.set_used(0);
    qbSurfaceMarksClear();
    // Sky boxes have no place in this frame.
    silence(&engine->driver->getOverrideMaterial(), scene::ESNRP_SKY_BOX);
    order_.impose(engine);
}

// --- lights ---------------------------------------------------------------------------------------------

// The first eight of the list are the lights of the fixed pipeline, which draws the transparent surfaces:
// they shall be the nearest ones.
void Passes::OnPreRender(core::array<scene::ISceneNode*>& lightList) {
    order_.restore(); // all nodes have registered
    const core::vector3df eye = engine_->smgr->getActiveCamera()->getAbsolutePosition();
    byDistance_.clear();
    for (u32 i = 0; i < lightList.size(); ++i) {
        lights_.push_back(lightList[i]);
        const float distance = lightList[i]->getAbsolutePosition().getDistanceFromSQ(eye);
        // A scene may put a light nowhere: what is not a number has no place in an order.
        byDistance_.emplace_back(std::isnan(distance) ? std::numeric_limits<float>::infinity() : distance, i);
    }
    std::sort(byDistance_.begin(), byDistance_.end());
    for (u32 i = 0; i < lightList.size(); ++i)
        lightList[i] = lights_[byDistance_[i].second];
}

// --- surfaces of a node ---------------------------------------------------------------------------------

// Gives the node the materials of the geometry pass, with which Irrlicht draws it next; the count of its
// surfaces that have a part in that pass.
static int qbLppDepthNode(const QbLppState* state, scene::ISceneNode* node, QbSavedMaterials* saved) {
    qbLppSaveMaterials(node, saved);
    int drawn = 0;
    for (u32 i = 0; i < node->getMaterialCount(); ++i) {
        const QbSurfaceCtx* surface = qbObjectSurfaceCtx(node->getID(), static_cast<int>(i));
        if (!surface) continue;
        video::SMaterial& material = node->getMaterial(i);
        if (qbLppSurfaceExcluded(material, surface)) {
            // In a solid pass the node leaves out what is transparent.
            material.MaterialType = video::EMT_TRANSPARENT_ALPHA_CHANNEL;
            continue;
        }
        qbLppSelectDepth(state, &material, surface);
        ++drawn;
    }
    return drawn;
}

// Excluded surfaces keep their material: an opaque one with a shader of its own is drawn here.
static void qbLppFinalNode(const QbLppState* state, scene::ISceneNode* node, QbSavedMaterials* saved) {
    qbLppSaveMaterials(node, saved);
    for (u32 i = 0; i < node->getMaterialCount(); ++i) {
        const QbSurfaceCtx* surface = qbObjectSurfaceCtx(node->getID(), static_cast<int>(i));
        video::SMaterial& material = node->getMaterial(i);
        if (surface && !qbLppSurfaceExcluded(material, surface)) qbLppSelectFinal(state, &material, surface);
    }
    node->render();
    qbLppRestoreMaterials(node, *saved);
}

// --- passes ---------------------------------------------------------------------------------------------

void Passes::OnRenderPassPreRender(scene::E_SCENE_NODE_RENDER_PASS pass) {
    inSolidPass_ = pass == scene::ESNRP_SOLID;
    if (inSolidPass_) beginGeometry();
    // Shadow volumes have no place in this frame; they are drawn past the override material.
    if (pass == scene::ESNRP_SHADOW) qbTargetScissor(core::recti());
    if (pass == scene::ESNRP_TRANSPARENT) beginPass(QB_PASS_TRANSPARENT);
}

void Passes::beginGeometry() {
    beginPass(QB_PASS_GEOMETRY);
    qbTargetSetMany(*state_->gbufferTargets, video::SColor(0, 0, 0, 0));
    qbLppDrawQuad(engine_, state_->screenQuad, state_->depthClear);
    // The final pass draws the same triangles again, and shall never lose against them by a rounding.
    qbTargetDepthBehind(true);
}

// The solid pass ends twice: with the lights, then with the same nodes once more, now lit.
void Passes::OnRenderPassPostRender(scene::E_SCENE_NODE_RENDER_PASS pass) {
    if (pass == scene::ESNRP_SHADOW) qbTargetScissorOff();
    if (pass != scene::ESNRP_SOLID) return;
    inSolidPass_ = false;
    qbTargetDepthBehind(false);
    beginPass(QB_PASS_LIGHT);
    if (surfacesDrawn_ != 0) {
        qbTargetSet(state_->lightRTT, false);
        qbLppLightPass(engine_, state_, lights_);
    }
    beginPass(QB_PASS_FINAL);
    // Alpha 0: what no surface covers does not glow.
    qbTargetSet(state_->sceneRTT, true, video::SColor(qbEngineBackground() & 0xFFFFFF));
    for (scene::ISceneNode* node : solidNodes_)
        qbLppFinalNode(state_, node, &saved_);
}

// --- nodes ----------------------------------------------------------------------------------------------

// Particles are light: they add to what lies behind them. By their material they would blend by the alpha of
// their colour, which is 0.
void Passes::addParticles(scene::ISceneNode* node) {
    addedMaterials_.clear();
    if (node->getType() != scene::ESNT_PARTICLE_SYSTEM) return;
    for (u32 i = 0; i < node->getMaterialCount(); ++i) {
        video::SMaterial& material = node->getMaterial(i);
        if (material.MaterialType != video::EMT_TRANSPARENT_VERTEX_ALPHA) continue;
        material.MaterialType = video::EMT_TRANSPARENT_ADD_COLOR;
        addedMaterials_.push_back(i);
    }
}

void Passes::restoreParticles(scene::ISceneNode* node) {
    for (const u32 i : addedMaterials_)
        node->getMaterial(i).MaterialType = video::EMT_TRANSPARENT_VERTEX_ALPHA;
}

void Passes::OnNodePreRender(scene::ISceneNode* node) {
    if (!inSolidPass_) return addParticles(node);
    hasObject_ = node->getID() != -1;
    if (hasObject_) solidNodes_.push_back(node);
    const int drawn = hasObject_ ? qbLppDepthNode(state_, node, &saved_) : 0;
    if (drawn == 0) engine_->driver->getOverrideMaterial().Enabled = true;
    surfacesDrawn_ += drawn;
}

void Passes::OnNodePostRender(scene::ISceneNode* node) {
    if (!inSolidPass_) return restoreParticles(node);
    engine_->driver->getOverrideMaterial().Enabled = false;
    if (hasObject_) qbLppRestoreMaterials(node, saved_);
}

// --- frame ----------------------------------------------------------------------------------------------

static void present(QbEngine* engine, QbLppState* state) {
    beginPass(QB_PASS_PRESENT);
    qbTargetSetWindow();
    // The window keeps its own alpha, 1: the picture's is its glow, which a desktop would take for glass.
    video::SMaterial& material = state->screenQuadPP->getMaterial();
    material.setTexture(0, state->sceneRTT);
    material.ColorMask = video::ECP_RGB;
    qbLppDrawQuad(engine, state->screenQuadPP, state->screenCopy);
    material.ColorMask = video::ECP_ALL;
    engine->gui->drawAll();
    qbEngineDrawOverlay();
    beginPass(QB_PASS_END);
}

// Everything up to the picture in sceneRTT.
static void drawPicture(QbEngine* engine, QbLppState* state) {
    // Counted references: the scene manager takes and gives back one each frame, and this one stays.
    static Passes* const passes = new Passes();
    passes->begin(engine, state);
    engine->smgr->setLightManager(passes);
    engine->smgr->drawAll();
    engine->smgr->setLightManager(nullptr);
    video::SOverrideMaterial& override = engine->driver->getOverrideMaterial();
    override.EnableFlags = 0;
    override.EnablePasses = 0;
}

void qbRendererDrawFrame(QbEngine* engine, QbLppState* state) {
    beginPass(QB_PASS_PREPARE);
    engine->driver->beginScene(true, true, video::SColor(qbEngineBackground() | 0xFF000000));
    drawPicture(engine, state);
    beginPass(QB_PASS_POST);
    qbLppPostProcess(engine, state);
    present(engine, state);
    qbEngineEndScene();
}

// --- warming up -----------------------------------------------------------------------------------------

namespace {

// Shows a node wherever it stands, or hides it, and puts it back at the end.
class Shown {
public:
    Shown(scene::ISceneNode* node, bool visible)
        : node_(node), visible_(node->isVisible()), culling_(node->getAutomaticCulling()) {
        node->setVisible(visible);
        node->setAutomaticCulling(scene::EAC_OFF);
    }
    Shown(const Shown&) = delete;
    Shown& operator=(const Shown&) = delete;
    ~Shown() {
        node_->setVisible(visible_);
        node_->setAutomaticCulling(culling_);
    }

private:
    scene::ISceneNode* node_;
    bool visible_;
    u32 culling_;
};

} // namespace

void qbRendererWarmUp(QbEngine* engine, QbLppState* state) {
    const QbPassHook hook = std::exchange(passHook, nullptr); // this is no frame
    std::deque<Shown> nodes;
    for (int id = 0; id < qbIdListCapacity(engine->objects); ++id) {
        auto* object = static_cast<QbObjectRec*>(qbIdListGet(engine->objects, id));
        if (scene::ISceneNode* node = qbObjectActiveNode(object)) nodes.emplace_back(node, true);
    }
    // Hidden, it gives the view all the same, and one that the user steers does not start its clock.
    nodes.emplace_back(engine->smgr->getActiveCamera(), false);
    drawPicture(engine, state);
    qbTargetSet(state->lightRTT, false);
    qbLppWarmUpLights(engine, state);
    qbLppGlow(engine, state);
    qbTargetSetWindow();
    qbTargetFinish();
    passHook = hook;
}
