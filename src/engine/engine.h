#pragma once

#include "engine/id_list.h"

#include <cstdint>

// The engine facade: device, frame, clock, keys, mouse, overlay. One record, one thread.

namespace irr {
class IrrlichtDevice;
namespace video {
class IVideoDriver;
}
namespace scene {
class ISceneManager;
class ICameraSceneNode;
class ISceneNode;
} // namespace scene
namespace gui {
class IGUIEnvironment;
class IGUIFont;
class IGUIInOutFader;
} // namespace gui
} // namespace irr

struct QbEngine {
    irr::IrrlichtDevice* device;
    irr::video::IVideoDriver* driver;
    irr::scene::ISceneManager* smgr;
    irr::gui::IGUIEnvironment* gui;
    irr::gui::IGUIFont* font;
    irr::gui::IGUIInOutFader* fader; // the one screen fader, or null
    irr::scene::ICameraSceneNode* camera;
    irr::scene::ISceneNode* cameraHolder; // scenes move this; the camera follows
    int32_t ride;                         // 1 when the user steers the camera
    int32_t width, height, bits;          // as asked for
    uint8_t antialiasRequested;           // always 0
    uint8_t lightPrePass;                 // always 1
    int32_t glowEnabled;
    float glowIntensity, glowRadius;
    int32_t depthOfFieldEnabled;
    float focalDistance, fStop;
    QbIdList* objects;    // 1000 ids
    QbIdList* lights;     // 1000 ids
    QbIdList* fxemitters; // 1000 ids
    QbIdList* musics;     // 50 ids
};

// Wishes for the device; -1 is "absent" in the integer fields.
struct QbSetup {
    float cameraNear = 0.01F;
    float cameraFar = 3000.0F;
    int32_t width = -1;        // pixels, 640 when absent
    int32_t height = -1;       // pixels, 480 when absent
    int32_t bits = -1;         // 32 when absent
    int32_t windowed = -1;     // only 0 asks for the whole screen
    int32_t vsync = -1;        // only 0 turns it off
    int32_t fps = -1;          // carried, read by nobody
    int32_t antialias = -1;    // carried; antialiasing is always off
    int32_t lightPrePass = -1; // carried; the light pre-pass is always on
    int32_t hideMouse = -1;
    int32_t shaders = -1;
    int32_t ride = -1;
};

// The renderer, as the engine sees it. `create` 0 or -1; `drawFrame` draws one whole frame and ends it with
// qbEngineEndScene; `free` follows a `create` of either result, and may be called without any. `warmUp` draws
// all objects once, unseen; null when there is nothing to warm.
struct QbRendererOps {
    int (*create)();
    void (*drawFrame)();
    void (*free)();
    void (*warmUp)();
};

// --- device ---------------------------------------------------------------------------------------------

// Names the renderer of devices opened from now on; null draws the plain frame.
void qbEngineSetRenderer(const QbRendererOps* renderer);
// Opens window, driver, camera and id lists, in place of what is open. Width and height go from 1 to 16384.
// 0, or -1 after a message, with everything closed again.
int qbEngineOpen(const QbSetup* setup);
// Closes renderer and device; harmless when closed. Objects and emitters that still stand in the lists are
// their makers' to free before. Always 0.
int qbEngineClose();
QbEngine* qbEngineGet(); // never null; all zero while closed
// Pumps the window's messages: call it once a frame. 1 when the window is gone or was asked to close, when
// Escape is down, when the process was asked to end, and when nothing is open.
int qbEngineIsOver();
int qbEngineIsActive();
void qbEngineMaximize();
void qbEngineRestore();

// --- frame ----------------------------------------------------------------------------------------------

void qbEngineDrawFrame();
// Draws all objects once, hidden or not, without showing them, and waits for the driver: what it compiles and
// uploads at the first use of a shader or a texture shall not hold up the show. For the end of loading. Does
// nothing without a renderer.
void qbEngineWarmUp();
void qbEngineSetBackground(uint32_t color); // 0xRRGGBB
uint32_t qbEngineBackground();
void qbEngineSetGlow(int32_t enabled, float intensity, float radius);
void qbEngineSetDepthOfField(int32_t enabled, float focalDistance, float fStop);
// Draws the overlay texts and empties their table; for renderers, between the GUI and the end of the frame.
void qbEngineDrawOverlay();
// Ends the frame: runs the frame hook while the finished picture still stands in the back buffer, then shows
// it.
void qbEngineEndScene();
// Called at the end of each frame with the finished picture in the back buffer; null removes it.
using QbFrameHook = void (*)();
void qbEngineSetFrameHook(QbFrameHook hook);
// Reads the finished picture, to be called in a frame hook: rows from the top, 3 bytes a pixel (red, green,
// blue), width * height * 3 bytes. 0, or -1 when `capacity` is too small, nothing is open or the driver is
// not OpenGL. Sizes in pixels.
int qbEngineReadPixels(uint8_t* rgb, uint32_t capacity, int* width, int* height);
// Picture size of the open window in pixels.
void qbEngineFrameSize(int* width, int* height);

// --- overlay --------------------------------------------------------------------------------------------

// Queues one line for the next frame at pixel (x, y); cut at 511 characters. Four lines at most: the fourth
// and every further call of a frame share the fourth place.
void qbEngineText(int x, int y, const char* text);

// --- time -----------------------------------------------------------------------------------------------

// Milliseconds since the first call of this function, which returns 0.
int qbEngineTime();
// Sleeps; a replaced time source is not moved by it.
void qbEngineSleep(int milliseconds);
// Replaces the clock behind qbEngineTime, in milliseconds from any zero, and latches the base anew at the
// next call; null goes back to the device's timer. With a replaced source Irrlicht's own timer (particles,
// the screen fader) is set to the same time at every qbEngineTime and every frame, so that a show can be
// stepped frame by frame; Irrlicht's random numbers start anew. The source is called several times a frame.
using QbTimeSource = int (*)();
void qbEngineSetTimeSource(QbTimeSource source);

// --- keys and mouse, as they stood at the last qbEngineIsOver ---------------------------------------------

uint8_t qbKeyEnter();
uint8_t qbKeySpace();
uint8_t qbKeyShift();
uint8_t qbKeyRight();
uint8_t qbKeyLeft();
uint8_t qbKeyDown();
uint8_t qbKeyUp();
int qbMouseButtons(); // 1 left, 2 right, 3 both
int qbMouseX();       // pixels
int qbMouseY();       // pixels
int qbMouseWheel();   // sum of all turns, truncated towards zero
