#include "engine/engine.h"
#include "engine/internal.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <epoxy/gl.h>
#include <irrlicht/irrlicht.h>

using namespace irr;

enum { OVERLAY_SLOTS = 4, OVERLAY_TEXT_SIZE = 512, OVERLAY_RIGHT = 512, OVERLAY_BOTTOM = 60 };

struct OverlaySlot {
    char text[OVERLAY_TEXT_SIZE];
    int x, y;
};

static std::array<OverlaySlot, OVERLAY_SLOTS> overlay;
static size_t overlayCount; // of slots in use
static QbFrameHook frameHook;

// --- overlay --------------------------------------------------------------------------------------------

void qbOverlayClear() {
    overlay = {};
    overlayCount = 0;
}

void qbEngineText(int x, int y, const char* text) {
    OverlaySlot& slot = overlay[overlayCount];
    const size_t length = text ? std::min(strlen(text), sizeof(slot.text) - 1) : 0;
    if (length > 0) memcpy(slot.text, text, length);
    slot.text[length] = '\0';
    slot.x = x;
    slot.y = y;
    // The count stays below the last slot, which all further texts of the frame share.
    if (overlayCount < OVERLAY_SLOTS - 1) ++overlayCount;
}

static void drawSlot(gui::IGUIFont* font, const OverlaySlot& slot) {
    wchar_t wide[OVERLAY_TEXT_SIZE] = {};
    for (size_t i = 0; slot.text[i]; ++i)
        wide[i] = static_cast<unsigned char>(slot.text[i]);
    font->draw(wide, core::recti(slot.x, slot.y, OVERLAY_RIGHT, OVERLAY_BOTTOM),
               video::SColor(255, 255, 255, 255));
}

void qbEngineDrawOverlay() {
    gui::IGUIFont* font = qbEngineGet()->font;
    for (OverlaySlot& slot : overlay) {
        if (font && slot.text[0]) drawSlot(font, slot);
        slot = {};
    }
    overlayCount = 0;
}

// --- frame ----------------------------------------------------------------------------------------------

void qbFrameDrawPlain() {
    QbEngine* engine = qbEngineGet();
    engine->driver->beginScene(true, true, video::SColor(qbEngineBackground()));
    engine->smgr->drawAll();
    engine->gui->drawAll();
    qbEngineDrawOverlay();
    qbEngineEndScene();
}

void qbEngineEndScene() {
    video::IVideoDriver* driver = qbEngineGet()->driver;
    if (!driver) return;
    if (frameHook) frameHook();
    driver->endScene();
}

void qbEngineSetFrameHook(QbFrameHook hook) {
    frameHook = hook;
}

void qbEngineFrameSize(int* width, int* height) {
    const video::IVideoDriver* driver = qbEngineGet()->driver;
    const core::dimension2du size = driver ? driver->getScreenSize() : core::dimension2du();
    *width = static_cast<int>(size.Width);
    *height = static_cast<int>(size.Height);
}

// --- picture --------------------------------------------------------------------------------------------

static void readBackBuffer(uint8_t* rgb, int width, int height) {
    GLint source = GL_BACK;
    GLint alignment = 4;
    glGetIntegerv(GL_READ_BUFFER, &source);
    glGetIntegerv(GL_PACK_ALIGNMENT, &alignment);
    glReadBuffer(GL_BACK);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, width, height, GL_RGB, GL_UNSIGNED_BYTE, rgb);
    glPixelStorei(GL_PACK_ALIGNMENT, alignment);
    glReadBuffer(static_cast<GLenum>(source));
}

// Row 0 is at the bottom in OpenGL and at the top for the caller.
static void flipRows(uint8_t* rgb, size_t stride, size_t height) {
    for (size_t top = 0; top < height / 2; ++top) {
        uint8_t* row = rgb + top * stride;
        std::swap_ranges(row, row + stride, rgb + (height - 1 - top) * stride);
    }
}

int qbEngineReadPixels(uint8_t* rgb, uint32_t capacity, int* width, int* height) {
    qbEngineFrameSize(width, height);
    const video::IVideoDriver* driver = qbEngineGet()->driver;
    if (!driver || driver->getDriverType() != video::EDT_OPENGL) return -1;
    const size_t stride = static_cast<size_t>(*width) * 3;
    const size_t rows = static_cast<size_t>(*height);
    if (!rgb || rows == 0 || capacity / rows < stride) return -1;
    readBackBuffer(rgb, *width, *height);
    flipRows(rgb, stride, rows);
    return 0;
}
