#include "engine/engine.h"

#include "engine/camera.h"
#include "engine/events.h"
#include "engine/file_resolver.h"
#include "engine/internal.h"
#include "engine/loading.h"
#include "platform/message.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/span.h"
#include "platform/window/window.h"

#include <irrlicht/irrlicht.h>

using namespace irr;

enum {
    DEFAULT_WIDTH = 640,
    DEFAULT_HEIGHT = 480,
    DEFAULT_BITS = 32,
    WINDOW_SIZE_MAX = 16384, // pixels a side: the largest picture that drivers draw
    NOF_OBJECTS = 1000,
    NOF_LIGHTS = 1000,
    NOF_FX_EMITTERS = 1000,
    NOF_MUSICS = 50,
};

static QbEngine engine;
static const QbRendererOps* nextRenderer; // of the devices opened from now on
static const QbRendererOps* renderer;     // of this device
static bool rendererCreated;
static uint32_t backgroundColor;

QbEngine* qbEngineGet() {
    return &engine;
}

void qbEngineSetRenderer(const QbRendererOps* ops) {
    nextRenderer = ops;
}

// --- opening: window and driver ---------------------------------------------------------------------------

static video::E_DRIVER_TYPE chooseDriver() {
    return IrrlichtDevice::isDriverSupported(video::EDT_DIRECT3D9) ? video::EDT_DIRECT3D9 : video::EDT_OPENGL;
}

static IrrlichtDevice* createWindow(int fullscreen, int vsync) {
    SIrrlichtCreationParameters wishes;
    wishes.DriverType = chooseDriver();
    wishes.WindowSize.set(static_cast<u32>(engine.width), static_cast<u32>(engine.height));
    wishes.Bits = static_cast<u8>(engine.bits);
    wishes.ZBufferBits = 24;
    wishes.WithAlphaChannel = true;
    wishes.Fullscreen = fullscreen != 0;
    wishes.Stencilbuffer = true;
    // On OpenGL Irrlicht asks for it in a way that a software renderer's X server answers with a fatal error.
    wishes.Vsync = vsync != 0 && wishes.DriverType != video::EDT_OPENGL;
    wishes.AntiAlias = 0;
    wishes.EventReceiver = qbEventReceiver();
    wishes.LoggingLevel = ELL_WARNING;

    *qbEventReceiver() = MyEventReceiver();
    qbWindowGuardBegin();
    IrrlichtDevice* device = createDeviceEx(wishes);
    if (device && wishes.DriverType == video::EDT_OPENGL) qbVsyncSet(vsync);
    return device;
}

static int createDeviceFailed(const char* why) {
    qbMessage("fails to createDevice");
    qbMessage("%s", why);
    return 1;
}

static int openDevice(int fullscreen, int vsync) {
    const QbSpan span("window");
    if (!qbProcessHasDisplay())
        return createDeviceFailed(
            "there is no display: start a desktop session, or set DISPLAY to an X server");
    engine.device = createWindow(fullscreen, vsync);
    if (engine.device && qbWindowLost())
        return createDeviceFailed("the X server could not make the window: ask for a smaller one with "
                                  "\"display\" in quab-setup.ini");
    if (!engine.device)
        return createDeviceFailed("the display offers no OpenGL (GLX) with a depth buffer of 24 bits");
    qbClockAttach();
    qbFileResolverAttach(engine.device->getFileSystem());
    engine.device->setWindowCaption(L"Quab");
    return 0;
}

static int openDriver() {
    engine.driver = engine.device->getVideoDriver();
    if (!engine.driver) {
        qbMessage("fails to getVideoDriver");
        return 1;
    }
    engine.driver->setTextureCreationFlag(video::ETCF_ALWAYS_32_BIT, true);
    engine.smgr = engine.device->getSceneManager();
    if (!engine.smgr) {
        qbMessage("fails to getSceneManager");
        return 1;
    }
    engine.gui = engine.device->getGUIEnvironment();
    if (!engine.gui) {
        qbMessage("fails to getGUIEnvironment");
        return 1;
    }
    return 0;
}

// --- opening: what stands in the window -------------------------------------------------------------------

static gui::IGUIFont* openFont() {
    static const char fileName[] = "fontcourier.bmp";
    // Irrlicht reports a missing file as an error.
    gui::IGUIFont* font = qbFileExists(fileName) ? engine.gui->getFont(fileName) : nullptr;
    return font ? font : engine.gui->getBuiltInFont();
}

static int openCamera(int ride) {
    engine.ride = ride ? 1 : 0;
    if (ride)
        engine.camera = engine.smgr->addCameraSceneNodeFPS(nullptr, 100.0F, 0.5F, -1, nullptr, 0, false, 0.0F,
                                                           false, true);
    else
        engine.camera = engine.smgr->addCameraSceneNode(nullptr, core::vector3df(0.0F, 0.0F, 100.0F),
                                                        core::vector3df(0.0F, 0.0F, 0.0F), -1, true);
    if (!engine.camera) return 1;
    engine.cameraHolder = engine.smgr->addEmptySceneNode(nullptr, -1);
    return engine.cameraHolder ? 0 : 1;
}

static int openRenderer() {
    const QbSpan span("renderer");
    renderer = nextRenderer;
    if (!engine.lightPrePass || !renderer) return 0;
    rendererCreated = renderer->create() == 0;
    if (rendererCreated) return 0;
    qbMessage("fails to create renderer");
    return 1;
}

static int openLists() {
    const struct {
        QbIdList** list;
        int capacity;
        const char* message;
    } wanted[] = {
        {&engine.objects, NOF_OBJECTS, "fails to create object list"},
        {&engine.lights, NOF_LIGHTS, "fails to create light list"},
        {&engine.fxemitters, NOF_FX_EMITTERS, "fails to create fxemitter list"},
        {&engine.musics, NOF_MUSICS, "fails to create music list"},
    };
    for (const auto& entry : wanted) {
        *entry.list = qbIdListCreate(entry.capacity);
        if (*entry.list) continue;
        qbMessage("%s", entry.message);
        return 1;
    }
    return 0;
}

// Antialiasing and the light pre-pass are settled, whatever is asked for.
static int qbDeviceCreate(int width, int height, int bits, int fullscreen, int vsync, int /*antialias*/,
                          int /*lightPrePass*/, int ride) {
    engine = {};
    engine.width = width;
    engine.height = height;
    engine.bits = bits;
    engine.antialiasRequested = 0;
    engine.lightPrePass = 1;
    if (openDevice(fullscreen, vsync) != 0 || openDriver() != 0) return 1;
    engine.font = openFont();
    if (openCamera(ride) != 0) return 1;
    engine.smgr->getParameters()->setAttribute(scene::ALLOW_ZWRITE_ON_TRANSPARENT, true);
    engine.driver->setFog(video::SColor(0, 0x8A, 0x51, 0x7D), video::EFT_FOG_LINEAR, 2000.0F, 12000.0F,
                          0.003F, true, false);
    qbOverlayClear();
    if (openRenderer() != 0) return 1;
    return openLists();
}

static int orDefault(int value, int absent) {
    return value == -1 ? absent : value;
}

static bool isSwitchedOn(int value) {
    return value != -1 && value != 0;
}

int qbEngineOpen(const QbSetup* setup) {
    qbEngineClose();
    const int width = orDefault(setup->width, DEFAULT_WIDTH);
    const int height = orDefault(setup->height, DEFAULT_HEIGHT);
    if (width < 1 || height < 1 || width > WINDOW_SIZE_MAX || height > WINDOW_SIZE_MAX) {
        qbMessage(
            "a window of %d x %d pixels is not possible: in quab-setup.ini give \"display\" a width and a "
            "height from 1 to %d",
            width, height, WINDOW_SIZE_MAX);
        return -1;
    }
    const int failed =
        qbDeviceCreate(width, height, orDefault(setup->bits, DEFAULT_BITS), setup->windowed == 0,
                       setup->vsync != 0, setup->antialias, setup->lightPrePass, isSwitchedOn(setup->ride));
    if (failed) {
        qbEngineClose();
        return -1;
    }
    qbEngineSetBackground(0);
    if (isSwitchedOn(setup->hideMouse)) engine.device->getCursorControl()->setVisible(false);
    qbCameraSetRange(setup->cameraNear, setup->cameraFar);
    return 0;
}

// --- closing: what opening made, in mirrored order --------------------------------------------------------

static void closeLists() {
    qbLightFreeAll();
    for (QbIdList* list : {engine.musics, engine.fxemitters, engine.lights, engine.objects})
        qbIdListFree(list);
}

int qbEngineClose() {
    if (engine.device) {
        closeLists();
        if (renderer) renderer->free();
        qbLoadingClose();
        qbOverlayClear();
        qbCubeMapFreeAll();
        qbClockDetach();
        engine.device->drop();
    }
    qbWindowGuardEnd();
    renderer = nullptr;
    rendererCreated = false;
    engine = {};
    return 0;
}

// --- while it is open -------------------------------------------------------------------------------------

int qbEngineIsOver() {
    qbEventReceiver()->BeginFrame();
    // Irrlicht drops the event that tells of a lost window.
    if (!engine.device || qbWindowLost() || !engine.device->run() || qbWindowLost() || qbProcessEndAsked())
        return 1;
    return qbEventReceiver()->IsKeyDown(KEY_ESCAPE);
}

int qbEngineIsActive() {
    return engine.device && engine.device->isWindowActive() ? 1 : 0;
}

void qbEngineMaximize() {
    if (engine.device) engine.device->maximizeWindow();
}

void qbEngineRestore() {
    if (engine.device) engine.device->restoreWindow();
}

void qbEngineDrawFrame() {
    if (!engine.device || qbWindowLost()) return;
    qbClockStep();
    if (engine.lightPrePass && rendererCreated)
        renderer->drawFrame();
    else
        qbFrameDrawPlain();
}

void qbEngineWarmUp() {
    const QbSpan span("warm up");
    if (engine.device && !qbWindowLost() && rendererCreated && renderer->warmUp) renderer->warmUp();
}

void qbEngineSetBackground(uint32_t color) {
    backgroundColor = color;
}

uint32_t qbEngineBackground() {
    return backgroundColor;
}

void qbEngineSetGlow(int32_t enabled, float intensity, float radius) {
    engine.glowEnabled = enabled;
    engine.glowIntensity = intensity;
    engine.glowRadius = radius;
}

void qbEngineSetDepthOfField(int32_t enabled, float focalDistance, float fStop) {
    engine.depthOfFieldEnabled = enabled;
    engine.focalDistance = focalDistance;
    engine.fStop = fStop;
}
