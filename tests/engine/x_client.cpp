#include "engine/x_client.h"

#include <X11/Xlib.h>

void xClientAskToClose(unsigned long window) {
    Display* display = XOpenDisplay(nullptr);
    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
    XSendEvent(display, window, False, NoEventMask, &event);
    XCloseDisplay(display);
}

void xClientDestroy(unsigned long window) {
    Display* display = XOpenDisplay(nullptr);
    XDestroyWindow(display, window);
    XCloseDisplay(display);
}
