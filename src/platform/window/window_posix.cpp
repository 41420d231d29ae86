#include "platform/window/window.h"

#include <GL/glx.h>
#include <X11/Xlib.h>
#include <cstdio>
#include <string>
#include <string_view>

// --- vsync ----------------------------------------------------------------------------------------------

// The client library exports every swap control there is. What counts is the list of this display: with a
// software renderer an unlisted call goes to the X server, which refuses it with GLXBadContextTag.
static bool offers(Display* display, std::string_view extension) {
    const char* list = glXQueryExtensionsString(display, DefaultScreen(display));
    if (!list) return false;
    const std::string padded = " " + std::string(list) + " ";
    return padded.find(" " + std::string(extension) + " ") != std::string::npos;
}

template <class Function>
static Function entryPoint(const char* name) {
    return reinterpret_cast<Function>(glXGetProcAddress(reinterpret_cast<const GLubyte*>(name)));
}

int qbVsyncSet(int on) {
    Display* display = glXGetCurrentDisplay();
    const GLXDrawable drawable = glXGetCurrentDrawable();
    if (!display || !drawable) return -1;
    const int interval = on ? 1 : 0;

    if (offers(display, "GLX_EXT_swap_control")) {
        const auto swap = entryPoint<void (*)(Display*, GLXDrawable, int)>("glXSwapIntervalEXT");
        if (swap) swap(display, drawable, interval);
        return swap ? 0 : -1;
    }
    if (offers(display, "GLX_MESA_swap_control")) {
        const auto swap = entryPoint<int (*)(unsigned)>("glXSwapIntervalMESA");
        return swap && swap(static_cast<unsigned>(interval)) == 0 ? 0 : -1;
    }
    // This one knows no interval of 0.
    if (interval == 1 && offers(display, "GLX_SGI_swap_control")) {
        const auto swap = entryPoint<int (*)(int)>("glXSwapIntervalSGI");
        return swap && swap(interval) == 0 ? 0 : -1;
    }
    return -1;
}

// --- errors ---------------------------------------------------------------------------------------------

static XErrorHandler handlerBefore;
static bool guarding;
static bool windowLost;
static bool reported;

static int takeError(Display* display, XErrorEvent* error) {
    if (error->error_code == BadWindow || error->error_code == BadDrawable || error->error_code == BadAlloc)
        windowLost = true;
    if (reported || windowLost) return 0;
    reported = true;
    char text[256] = "";
    XGetErrorText(display, error->error_code, text, sizeof(text));
    std::fprintf(stderr, "the X server reports: %s (request %d.%d)\n", text, error->request_code,
                 error->minor_code);
    return 0;
}

void qbWindowGuardBegin() {
    if (guarding) return;
    windowLost = false;
    reported = false;
    guarding = true;
    handlerBefore = XSetErrorHandler(takeError);
}

void qbWindowGuardEnd() {
    if (!guarding) return;
    XSetErrorHandler(handlerBefore);
    guarding = false;
}

int qbWindowLost() {
    XEvent event;
    Display* display = guarding ? glXGetCurrentDisplay() : nullptr;
    if (display && XCheckTypedEvent(display, DestroyNotify, &event)) windowLost = true;
    return windowLost ? 1 : 0;
}
