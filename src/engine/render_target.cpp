#include "engine/render_target.h"

#include "engine/engine.h"

#include <epoxy/gl.h>

using namespace irr;

static const double DEPTH_STEPS = 4.0 / 16777216.0; // of a depth buffer of 24 bits

static video::IVideoDriver* driver() {
    return qbEngineGet()->driver;
}

static bool isOpenGl() {
    return driver()->getDriverType() == video::EDT_OPENGL;
}

// What the renderer draws with and OpenGL's versions hold from `version` on. Of the textures the engine asks
// the list alone, whatever the version.
static constexpr struct {
    const char* extension;
    int version; // as epoxy tells it; 0 when only the list counts
    const char* name;
} NEEDED[] = {
    {"GL_ARB_texture_non_power_of_two", 0, "ARB_texture_non_power_of_two (OpenGL 2.0)"},
    {"GL_ARB_texture_rg", 0, "ARB_texture_rg (OpenGL 3.0)"},
    {"GL_ARB_texture_float", 30, "ARB_texture_float (OpenGL 3.0)"},
    {"GL_ARB_framebuffer_object", 30, "ARB_framebuffer_object (OpenGL 3.0)"}, // targets of unlike formats
    {"GL_ARB_vertex_shader", 20, "ARB_vertex_shader (OpenGL 2.0)"},
    {"GL_ARB_fragment_shader", 20, "ARB_fragment_shader (OpenGL 2.0)"},
    {"GL_ARB_clip_control", 45, "ARB_clip_control (OpenGL 4.5)"},
};

const char* qbTargetMissing() {
    if (!driver()->queryFeature(video::EVDF_FRAMEBUFFER_OBJECT))
        return "framebuffer objects (EXT_framebuffer_object)";
    if (!driver()->queryFeature(video::EVDF_MULTIPLE_RENDER_TARGETS))
        return "multiple render targets (ARB_draw_buffers)";
    if (!isOpenGl()) return nullptr;
    for (const auto& needed : NEEDED) {
        const bool included = needed.version != 0 && epoxy_gl_version() >= needed.version;
        if (!included && !epoxy_has_gl_extension(needed.extension)) return needed.name;
    }
    // Epoxy ends the process at a call that the version lacks.
    return epoxy_gl_version() < 30 || epoxy_glsl_version() < 130 ? "OpenGL 3.0 with GLSL 1.30" : nullptr;
}

static void useTextureConvention(bool inTexture) {
    if (!isOpenGl()) return;
    glClipControl(inTexture ? GL_UPPER_LEFT : GL_LOWER_LEFT,
                  inTexture ? GL_ZERO_TO_ONE : GL_NEGATIVE_ONE_TO_ONE);
    glDepthRange(0.0, inTexture ? 1.0 - DEPTH_STEPS : 1.0);
}

// A clear obeys the mask of the material drawn last. What is drawn next sets its own: the engine compares it
// with that of the last material, and sets everything anew after a change of the target.
static void unmask() {
    if (isOpenGl()) glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
}

void qbTargetSet(video::ITexture* texture, bool clear, video::SColor color) {
    unmask();
    driver()->setRenderTarget(texture, clear, false, color);
    useTextureConvention(true);
}

void qbTargetSetMany(const core::array<video::IRenderTarget>& targets, video::SColor color) {
    unmask();
    driver()->setRenderTarget(targets, true, true, color);
    useTextureConvention(true);
}

void qbTargetSetWindow() {
    driver()->setRenderTarget(static_cast<video::ITexture*>(nullptr), false, false);
    useTextureConvention(false);
}

void qbTargetScissor(const core::recti& pixels) {
    if (!isOpenGl()) return;
    glEnable(GL_SCISSOR_TEST);
    glScissor(pixels.UpperLeftCorner.X, pixels.UpperLeftCorner.Y, pixels.getWidth(), pixels.getHeight());
}

void qbTargetScissorOff() {
    if (isOpenGl()) glDisable(GL_SCISSOR_TEST);
}

void qbTargetDepthBehind(bool behind) {
    if (!isOpenGl()) return;
    // Two ranges of one width, so that the distance between them is the same at every depth. Polygon offset
    // would do, but the engine sets it with each material.
    glDepthRange(behind ? DEPTH_STEPS : 0.0, behind ? 1.0 : 1.0 - DEPTH_STEPS);
}

void qbTargetFinish() {
    if (isOpenGl()) glFinish();
}

void qbTargetRead(video::ITexture* texture, float* rgba) {
    const core::dimension2du size = texture->getSize();
    qbTargetSet(texture, false);
    glReadPixels(0, 0, static_cast<GLsizei>(size.Width), static_cast<GLsizei>(size.Height), GL_RGBA, GL_FLOAT,
                 rgba);
    qbTargetSetWindow();
}
