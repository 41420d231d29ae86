#include "engine/fader.h"

#include "engine/engine.h"

#include <irrlicht/irrlicht.h>

using namespace irr;

// A fresh element over the whole screen; null when no device is open.
static gui::IGUIInOutFader* addFader(const video::SColor& color) {
    QbEngine* engine = qbEngineGet();
    qbFaderRemove();
    if (!engine->gui) return nullptr;
    engine->fader = engine->gui->addInOutFader(nullptr, nullptr, -1);
    if (!engine->fader) return nullptr;
    engine->fader->setColor(color);
    engine->fader->setColor(color);
    return engine->fader;
}

// Irrlicht divides by the length, so that a fade of none at all is put on the screen in its final state: in,
// that is the picture alone, as an element that was never started leaves it.
void qbFaderIn(int32_t length, uint32_t color) {
    gui::IGUIInOutFader* fader = addFader(video::SColor(color));
    if (fader && length > 0) fader->fadeIn(static_cast<u32>(length));
}

void qbFaderOut(int32_t length, uint32_t color) {
    gui::IGUIInOutFader* fader = addFader(video::SColor(color));
    if (!fader) return;
    if (length > 0) return fader->fadeOut(static_cast<u32>(length));
    const video::SColor opaque(color | 0xFF000000U);
    fader->setColor(opaque, opaque);
    fader->fadeOut(1);
}

void qbFaderRemove() {
    QbEngine* engine = qbEngineGet();
    if (engine->fader) engine->fader->remove();
    engine->fader = nullptr;
}
