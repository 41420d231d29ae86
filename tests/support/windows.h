#pragma once

#include <X11/Xlib.h>

// Windows on the display's root: all that there are, or those that can be seen.
inline unsigned windowCount(bool visibleOnly) {
    Display* display = XOpenDisplay(nullptr);
    Window root = 0;
    Window parent = 0;
    Window* children = nullptr;
    unsigned count = 0;
    XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count);
    unsigned visible = 0;
    for (unsigned i = 0; i < count; ++i) {
        XWindowAttributes attributes;
        if (XGetWindowAttributes(display, children[i], &attributes) && attributes.map_state == IsViewable)
            ++visible;
    }
    if (children) XFree(children);
    XCloseDisplay(display);
    return visibleOnly ? visible : count;
}

// What a window's close button sends.
inline void askToClose(Display* display, Window window) {
    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
    XSendEvent(display, window, False, NoEventMask, &event);
}
