#include "platform/dialog/session_posix.h"

#include "platform/process.h"

#include <FL/Fl.H>
#include <FL/fl_draw.H>
#include <FL/x.H>
#include <X11/Xlib.h>
#include <X11/keysym.h>
#include <algorithm>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

enum { FONT_SIZE = 13 /* pixels at 96 dpi */, DPI = 96, DPI_MAX = 384 };

static constexpr double END_INTERVAL = 0.2; // seconds between two looks whether the process shall end

static bool displayLost = false;

// --- errors ---------------------------------------------------------------------------------------------

// A window may vanish between an event and the answer to it; nothing a dialog does needs the difference.
static int ignoreError(Display*, XErrorEvent*) {
    return 0;
}

static int loseDisplay(Display*) {
    displayLost = true;
    return 0;
}

// Xlib ends the process when this one is not replaced.
static void goOn(Display*, void*) {}

static void sayNothing(const char*, ...) {}

static void loseToolkit(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vfprintf(stderr, format, arguments);
    va_end(arguments);
    fputc('\n', stderr);
    displayLost = true;
}

// --- opening --------------------------------------------------------------------------------------------

static int fontSize() {
    const char* text = XGetDefault(fl_display, "Xft", "dpi");
    const int dpi = text ? atoi(text) : DPI;
    return FONT_SIZE * std::clamp<int>(dpi, DPI, DPI_MAX) / DPI;
}

static void chooseLooks() {
    Fl_Window::default_xclass("quab");
    Fl::scheme("gtk+");
    Fl::background(238, 238, 238);
    Fl::background2(255, 255, 255);
    Fl::foreground(20, 20, 20);
    Fl::set_color(FL_SELECTION_COLOR, 48, 98, 160);
    FL_NORMAL_SIZE = fontSize();
}

int qbDialogPixels(int length) {
    return length * FL_NORMAL_SIZE / FONT_SIZE;
}

// FLTK opens the display by itself too, but ends the process when that fails.
static bool openDisplay() {
    if (fl_display) return true;
    Display* display = XOpenDisplay(nullptr);
    if (!display) return false;
    // Typed letters come in the user's encoding; numbers stay as they are.
    setlocale(LC_CTYPE, "");
    XSetLocaleModifiers("");
    XSetIOErrorExitHandler(display, goOn, nullptr);
    Fl::fatal = loseToolkit;
    Fl::error = sayNothing;
    Fl::warning = sayNothing;
    fl_open_display(display);
    chooseLooks();
    return true;
}

QbDialogSession::QbDialogSession(const char* what) {
    if (displayLost || qbProcessHasDisplay() == 0) {
        fprintf(stderr,
                "%s can not be shown: no X display answers; start the program in a graphical session.\n",
                what);
        return;
    }
    previousError_ = XSetErrorHandler(ignoreError);
    previousLoss_ = XSetIOErrorHandler(loseDisplay);
    open_ = openDisplay();
    if (open_) return;
    fprintf(stderr, "%s can not be shown: the X display refuses the connection.\n", what);
}

QbDialogSession::~QbDialogSession() {
    if (!previousError_) return;
    if (open_ && !displayLost) XSync(fl_display, False); // errors of this session end in this session
    XSetErrorHandler(previousError_);
    XSetIOErrorHandler(previousLoss_);
}

// --- running --------------------------------------------------------------------------------------------

static void centre(Fl_Double_Window& window) {
    const QbArea area = qbDialogPrimaryArea();
    window.position(area.x + std::max(0, area.w - window.w()) / 2,
                    area.y + std::max(0, area.h - window.h()) / 2);
}

bool qbDialogRun(std::unique_ptr<Fl_Double_Window>& window) {
    centre(*window);
    window->show();
    while (window->shown() && !displayLost && qbProcessEndAsked() == 0)
        Fl::wait(END_INTERVAL);
    if (displayLost) {
        static_cast<void>(window.release());
        fputs("The window can not be shown any longer: the X display is gone.\n", stderr);
        return false;
    }
    window->hide();
    XSync(fl_display, False);
    return true;
}

// --- input held by another window -----------------------------------------------------------------------

bool qbDialogInputIsHeld() {
    const Window root = RootWindow(fl_display, fl_screen);
    const int keyboard = XGrabKeyboard(fl_display, root, False, GrabModeAsync, GrabModeAsync, CurrentTime);
    if (keyboard == GrabSuccess) XUngrabKeyboard(fl_display, CurrentTime);
    const int pointer =
        XGrabPointer(fl_display, root, False, 0, GrabModeAsync, GrabModeAsync, None, None, CurrentTime);
    if (pointer == GrabSuccess) XUngrabPointer(fl_display, CurrentTime);
    XFlush(fl_display);
    return keyboard == AlreadyGrabbed || pointer == AlreadyGrabbed;
}

static bool keyIsDown(const char (&keys)[32], KeySym symbol) {
    const unsigned code = XKeysymToKeycode(fl_display, symbol);
    return code != 0 && (static_cast<unsigned char>(keys[code / 8]) >> (code % 8) & 1) != 0;
}

bool qbDialogAnswerIsDown(const QbArea& area) {
    char keys[32] = {};
    XQueryKeymap(fl_display, keys);
    for (const KeySym symbol : {XK_Return, XK_KP_Enter, XK_space, XK_Escape}) {
        if (keyIsDown(keys, symbol)) return true;
    }
    Window root = 0;
    Window child = 0;
    int x = 0;
    int y = 0;
    int windowX = 0;
    int windowY = 0;
    unsigned state = 0;
    if (!XQueryPointer(fl_display, RootWindow(fl_display, fl_screen), &root, &child, &x, &y, &windowX,
                       &windowY, &state))
        return false;
    const bool inside = x >= area.x && x < area.x + area.w && y >= area.y && y < area.y + area.h;
    return inside && (state & (Button1Mask | Button2Mask | Button3Mask)) != 0;
}
