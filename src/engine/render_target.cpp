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

const char* qbTargetMissing() {
    if (!driver()->queryFeature(video::EVDF_FRAMEBUFFER_OBJECT)) return "framebuffer objects";
    if (!driver()->queryFeature(video::EVDF_MULTIPLE_RENDER_TARGETS)) return "multiple render targets";
    if (!isOpenGl()) return nullptr;
    if (!epoxy_has_gl_extension("GL_ARB_clip_control") && epoxy_gl_version() < 45)
        return "ARB_clip_control (OpenGL 4.5)";
    if (!epoxy_has_gl_extension("GL_ARB_texture_rg") && epoxy_gl_version() < 30)
        return "ARB_texture_rg (OpenGL 3.0)";
    return nullptr;
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
