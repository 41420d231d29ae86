#include "engine/engine.h"
#include "engine/render_target.h"
#include "materials/shader_file.h"
#include "platform/message.h"
#include "render/light_bounds.h"
#include "render/passes.h"
#include "render/pipeline.h"

#include <cmath>

using namespace irr;

static const double RADIANS = 0.017453292519943295; // of a degree

namespace {

// The camera's transforms, for positions and for directions.
struct View {
    core::matrix4 position;
    core::matrix4 direction; // inverse, transposed
    core::matrix4 projection;
};

} // namespace

static View viewOf(video::IVideoDriver* driver) {
    View view;
    view.position = driver->getTransform(video::ETS_VIEW);
    core::matrix4 inverse = view.position;
    inverse.makeInverse();
    view.direction = inverse.getTransposed();
    view.projection = driver->getTransform(video::ETS_PROJECTION);
    return view;
}

static core::vector3df positionIn(const View& view, const core::vector3df& world) {
    core::vector3df result = world;
    view.position.transformVect(result);
    return result;
}

static core::vector3df directionIn(const View& view, const core::vector3df& world) {
    core::vector3df result = world;
    view.direction.rotateVect(result);
    return result.normalize();
}

// --- constants ------------------------------------------------------------------------------------------

static void setVector(QbIrrShader* shader, const char* name, const core::vector3df& value) {
    qbShaderSetFloat3(shader, name, value.X, value.Y, value.Z);
}

static void setRange(QbIrrShader* shader, const core::vector3df& position, const video::SLight& light) {
    setVector(shader, "LightPosition", position);
    qbShaderSetFloat(shader, "InvLightRadiusSqr", 1.0F / light.Radius * (1.0F / light.Radius));
}

// Equal cones would divide by zero: they get the sharpest edge that a float can tell.
static void setCones(QbIrrShader* shader, const video::SLight& light) {
    const auto inner = static_cast<float>(std::cos(light.InnerCone * RADIANS));
    const auto outer = static_cast<float>(std::cos(light.OuterCone * RADIANS));
    const bool isSharp = std::abs(inner - outer) < 1e-6F;
    qbShaderSetFloat2(shader, "SpotlightAngles", isSharp ? outer + 1e-6F : inner, outer);
}

// The shader of the light's kind, with its constants; `last` for a kind that does not exist. `position` is
// the light's in view space.
static QbIrrShader* prepareLight(QbLppState* state, const View& view, const core::vector3df& position,
                                 video::E_LIGHT_TYPE type, const video::SLight& light, QbIrrShader* last) {
    QbIrrShader* shader = last;
    switch (type) {
    case video::ELT_POINT:
        shader = state->lightPass[QB_LIGHT_POINT];
        setRange(shader, position, light);
        break;
    case video::ELT_SPOT:
        shader = state->lightPass[QB_LIGHT_SPOT];
        setVector(shader, "LightDirection", directionIn(view, light.Direction));
        setRange(shader, position, light);
        setCones(shader, light);
        break;
    case video::ELT_DIRECTIONAL:
        shader = state->lightPass[QB_LIGHT_DISTANT];
        setVector(shader, "LightDirection", directionIn(view, light.Direction));
        break;
    default:
        qbTrace("wrong light type\n");
    }
    qbShaderSetFloat3(shader, "LightColor", light.DiffuseColor.r, light.DiffuseColor.g, light.DiffuseColor.b);
    return shader;
}

// --- drawing --------------------------------------------------------------------------------------------

// Outside its range a light adds nothing: only the pixels that the range can touch are drawn. False: none.
static bool limitToRange(const QbLppState* state, const View& view, const core::vector3df& position,
                         video::E_LIGHT_TYPE type, const video::SLight& light) {
    if (type != video::ELT_POINT && type != video::ELT_SPOT) return true;
    // The shaders square it: a negative range is as good.
    const float range = std::abs(light.Radius);
    if (!(range > 0.0F)) return false;
    const core::recti pixels = qbSphereBounds(position, range, view.projection, state->lightRTT->getSize());
    if (pixels.getWidth() <= 0 || pixels.getHeight() <= 0) return false;
    qbTargetScissor(pixels);
    return true;
}

void qbLppLightPass(QbEngine* engine, QbLppState* state, const core::array<scene::ISceneNode*>& lights) {
    const View view = viewOf(engine->driver);
    qbLppDrawQuad(engine, state->screenQuad, state->lightClear);
    QbIrrShader* shader = state->lightPass[QB_LIGHT_DISTANT];
    for (u32 i = 0; i < lights.size(); ++i) {
        auto* node = static_cast<scene::ILightSceneNode*>(lights[i]);
        const video::E_LIGHT_TYPE type = node->getLightType();
        const video::SLight& light = node->getLightData();
        const core::vector3df position = positionIn(view, light.Position);
        if (!limitToRange(state, view, position, type, light)) continue;
        shader = prepareLight(state, view, position, type, light, shader);
        qbLppDrawQuad(engine, state->screenQuad, shader);
        qbTargetScissorOff();
    }
}

void qbLppWarmUpLights(QbEngine* engine, QbLppState* state) {
    for (const QbIrrShader* shader : state->lightPass)
        qbLppDrawQuad(engine, state->screenQuad, shader);
}
