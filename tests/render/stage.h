#pragma once

#include "engine/engine.h"
#include "materials/surface.h"
#include "render/pipeline.h"
#include "render/reference/formulas.h"
#include "render/reference/glow.h"
#include "support/messages.h"

#include <functional>
#include <gtest/gtest.h>
#include <irrlicht/irrlicht.h>
#include <string>
#include <vector>

// A small window with the real renderer, and a scene put together by hand.

struct StageMesh {
    std::vector<irr::video::S3DVertex> vertices;
    std::vector<irr::u16> indices; // three a triangle, clockwise as seen from outside
};

// A parallelogram from `corner` along `right` and `up`, facing against right x up; uv (0, 0) at the far end
// of `up`.
StageMesh stageQuad(irr::core::vector3df corner, irr::core::vector3df right, irr::core::vector3df up);
// Smooth normals, uv by longitude and latitude.
StageMesh stageSphere(irr::core::vector3df center, float radius);

// Values of one surface: white, diffuse 1, nothing else.
class StageSurface {
public:
    StageSurface();
    StageSurface& color(float r, float g, float b);
    StageSurface& value(QbSurfaceSlot slot, float value);
    StageSurface& integer(QbSurfaceSlot slot, int32_t value);
    StageSurface& image(QbSurfaceSlot slot, const char* texture); // literal, or outlives the surface
    StageSurface& shader(const char* file);                       // likewise
    const QbSurfaceValues& values() const { return values_; }

private:
    QbSurfaceValues values_{};
};

class RenderStage : public testing::Test {
protected:
    void TearDown() override;

    // Opens the engine with the renderer; the camera's far value is 1000. Once a test.
    void open(int width, int height);

    // A texture that surfaces find by this name. `texel` gives 0xAARRGGBB.
    using TexelOf = std::function<uint32_t(int x, int y)>;
    void addTexture(const char* name, int size, const TexelOf& texel);

    // Object ids count from 1 in the order of the calls. The node stands at the origin without rotation.
    int add(const StageMesh& mesh, const StageSurface& surface);
    irr::scene::ISceneNode* node(int id) const;
    // Takes objects and lights away; ids begin anew.
    void clear();

    // fovY in radians.
    void lookAt(irr::core::vector3df eye, irr::core::vector3df target, float fovY);
    // In world space.
    void addLight(const QbRefLight& light);

    void draw();
    QbLppState* state() const { return qbRendererState(); }
    QbRefPicture read(irr::video::ITexture* target) const;
    // The window as it was drawn last, alpha 1.
    const QbRefPicture& window() const;

    std::vector<std::string>& messages = Messages::texts();

private:
    Messages sink_;
    int objects_ = 0;
    int lights_ = 0;
};
