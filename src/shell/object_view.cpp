#include "shell/object_view.h"

#include "engine/camera.h"
#include "engine/engine.h"
#include "engine/lights.h"
#include "platform/message.h"
#include "scene/runtime/objects.h"

enum { VIEW_OBJECT = 1, VIEW_LIGHT = 1, VIEW_FPS = 30, VIEW_BACKGROUND = 0x113366 };

namespace {

struct Turntable {
    float rotationX = 0.0F; // degrees
    float rotationY = 0.0F;
    float zoom = 0.0F; // camera's z
    float depth = 0.0F;
    bool dragging = false;
    int lastX = 0, lastY = 0, lastWheel = 0;
    int frames = 0;
    int startTime = 0;
};

} // namespace

static bool turnByMouse(Turntable* view) {
    if (qbMouseButtons() != 1) {
        view->dragging = false;
        return false;
    }
    const int x = qbMouseX();
    const int y = qbMouseY();
    if (!view->dragging) {
        // The press itself only samples, so that the object does not jump.
        view->lastX = x;
        view->lastY = y;
        view->dragging = true;
        return false;
    }
    if (x == view->lastX && y == view->lastY) return false;
    view->rotationY -= static_cast<float>(x - view->lastX) * 0.5F;
    view->rotationX -= static_cast<float>(y - view->lastY) * 0.5F;
    view->lastX = x;
    view->lastY = y;
    return true;
}

static bool turnByKeys(Turntable* view) {
    if (qbKeyLeft() != 0) {
        view->rotationY += 1.0F;
        return true;
    }
    if (qbKeyRight() != 0) {
        view->rotationY -= 1.0F;
        return true;
    }
    return false;
}

static bool zoomByWheel(Turntable* view) {
    const int wheel = qbMouseWheel();
    if (wheel == view->lastWheel) return false;
    view->zoom += static_cast<float>(wheel - view->lastWheel) * view->depth / 20.0F;
    view->lastWheel = wheel;
    return true;
}

static bool zoomByKeys(Turntable* view) {
    if (qbKeyUp() != 0) {
        view->zoom -= view->depth / 40.0F;
        return true;
    }
    if (qbKeyDown() != 0) {
        view->zoom += view->depth / 40.0F;
        return true;
    }
    return false;
}

static void animate(const Turntable* view) {
    if (view->frames <= 1) return;
    const int time = qbEngineTime() - view->startTime;
    const long long cycle = static_cast<long long>(view->frames) * 1000 / VIEW_FPS;
    const auto elapsed = static_cast<double>(time % cycle); // milliseconds
    qbObjectSetFrame(VIEW_OBJECT, static_cast<float>(elapsed * double{VIEW_FPS} / 1000.0));
}

static void prepare(Turntable* view) {
    view->depth = qbObjectDepth(VIEW_OBJECT);
    if (view->depth == 0.0F) view->depth = 20.0F;
    qbLightCreate(VIEW_LIGHT);
    qbLightSetDirectional(VIEW_LIGHT);
    qbEngineSetBackground(VIEW_BACKGROUND);
    view->zoom = view->depth * -1.5F;
    view->lastX = qbMouseX();
    view->lastY = qbMouseY();
    view->lastWheel = qbMouseWheel();
    qbObjectSetRotation(VIEW_OBJECT, 0.0F, 0.0F, 0.0F);
    qbCameraSetPosition(0.0F, 0.0F, view->zoom);
    view->frames = qbObjectFrameCount(VIEW_OBJECT);
    view->startTime = qbEngineTime();
}

int qbObjectView(const char* path) {
    qbObjectLoad(path, VIEW_OBJECT);
    if (!qbObjectExists(VIEW_OBJECT)) {
        qbMessage("Failed to load object %s\n", path);
        return -1;
    }
    Turntable view;
    prepare(&view);
    while (qbEngineIsOver() == 0) {
        bool turned = turnByMouse(&view);
        if (turnByKeys(&view)) turned = true;
        if (turned) qbObjectSetRotation(VIEW_OBJECT, view.rotationX, view.rotationY, 0.0F);

        bool moved = zoomByWheel(&view);
        if (zoomByKeys(&view)) moved = true;
        if (moved) qbCameraSetPosition(0.0F, 0.0F, view.zoom);

        animate(&view);
        qbEngineDrawFrame();
        if (qbEngineIsActive() == 0) qbEngineSleep(20);
    }
    qbObjectFree(VIEW_OBJECT);
    return 0;
}
