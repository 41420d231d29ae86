#include "engine/engine.h"
#include "engine/internal.h"
#include "platform/process.h"

#include <algorithm>
#include <irrlicht/irrlicht.h>

using namespace irr;

enum { RANDOM_SEED = 0x0f0f0f0f };

// Unsigned, so that a timer that runs over wraps without harm.
static QbTimeSource timeSource;
static bool latched;
static uint32_t base;     // of the present source
static uint32_t realTime; // of Irrlicht's timer when it was stopped
static bool timerHeld;    // Irrlicht counts stops across devices: each needs its start

static ITimer* deviceTimer() {
    IrrlichtDevice* device = qbEngineGet()->device;
    return device ? device->getTimer() : nullptr;
}

static uint32_t processTime() {
    return static_cast<uint32_t>(qbProcessTime());
}

static uint32_t rawTime() {
    if (timeSource) return static_cast<uint32_t>(timeSource());
    ITimer* timer = deviceTimer();
    if (!timer) return processTime();
    // Otherwise the timer stands still between two calls of IrrlichtDevice::run, and whatever was loaded in
    // between would count as played.
    timer->tick();
    return timer->getTime();
}

// --- Irrlicht's own timer under a replaced source ---------------------------------------------------------

static void holdTimer() {
    ITimer* timer = deviceTimer();
    if (!timer || timerHeld) return;
    realTime = timer->getTime();
    timer->stop();
    timerHeld = true;
    qbEngineGet()->device->getRandomizer()->reset(RANDOM_SEED);
}

static void releaseTimer() {
    ITimer* timer = deviceTimer();
    if (!timer || !timerHeld) return;
    timer->setTime(realTime);
    timer->start();
    timerHeld = false;
}

static void setHeldTimer(uint32_t time) {
    if (!timerHeld) return;
    const auto shown = static_cast<uint32_t>(std::max(static_cast<int32_t>(time), 0));
    deviceTimer()->setTime(shown);
}

// --- facade ---------------------------------------------------------------------------------------------

int qbEngineTime() {
    const uint32_t raw = rawTime();
    if (!latched) {
        base = raw;
        latched = true;
    }
    setHeldTimer(raw - base);
    return static_cast<int>(raw - base);
}

void qbEngineSleep(int milliseconds) {
    qbProcessSleep(milliseconds);
}

void qbEngineSetTimeSource(QbTimeSource source) {
    releaseTimer();
    timeSource = source;
    latched = false;
    if (source) holdTimer();
}

void qbClockStep() {
    if (timerHeld) setHeldTimer(latched ? rawTime() - base : 0);
}

void qbClockAttach() {
    if (timeSource) return holdTimer();
    if (latched) base = rawTime() - (processTime() - base);
}

void qbClockDetach() {
    if (!timeSource && latched) base = processTime() - (rawTime() - base);
    releaseTimer();
}
