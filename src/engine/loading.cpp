#include "engine/loading.h"

#include "engine/engine.h"
#include "platform/path.h"
#include "platform/span.h"
#include "platform/window/window.h"

#include <irrlicht/irrlicht.h>

using namespace irr;

static const char fileName[] = "loading.png";

static gui::IGUIImage* image; // null without a picture
static core::vector2di position;

// Whole percents in unsigned arithmetic; a picture that is too large wraps to a place left of or above the
// window.
static s32 nearEdge(u32 screen, u32 size) {
    return static_cast<s32>(screen - (screen * 5) / 100 - size);
}

static void drawFrame() {
    const QbSpan span("loading picture");
    if (qbWindowLost()) return;
    QbEngine* engine = qbEngineGet();
    engine->driver->beginScene(true, true, video::SColor(255, 0, 0, 0));
    engine->gui->drawAll();
    qbEngineEndScene();
}

void qbLoadingOpen() {
    QbEngine* engine = qbEngineGet();
    qbLoadingClose();
    // Irrlicht reports a missing file as an error.
    if (!engine->driver || !qbFileExists(fileName)) return;
    video::ITexture* texture = engine->driver->getTexture(fileName);
    if (!texture) return;
    const core::dimension2du screen = engine->driver->getScreenSize();
    const core::dimension2du size = texture->getOriginalSize();
    position.set(nearEdge(screen.Width, size.Width), nearEdge(screen.Height, size.Height));
    image = engine->gui->addImage(texture, position);
    drawFrame();
}

void qbLoadingProgress(int percent) {
    if (!image) return;
    image->setRelativePosition(core::vector2di(position.X - percent, position.Y));
    drawFrame();
}

void qbLoadingClose() {
    if (!image) return;
    image->remove();
    image = nullptr;
}
