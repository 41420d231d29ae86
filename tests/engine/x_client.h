#pragma once

// Another client of the same X server; apart, because Xlib's macros collide with GoogleTest.

// Asks the window to close, as a window manager does.
void xClientAskToClose(unsigned long window);
// Destroys the window behind its owner's back.
void xClientDestroy(unsigned long window);
