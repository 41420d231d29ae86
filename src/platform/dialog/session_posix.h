#pragma once

#include <FL/Fl_Double_Window.H>
#include <FL/Fl_Return_Button.H>
#include <X11/Xlib.h>
#include <memory>

// What the dialogs share: the connection to the display, and the loop that runs one window to its end.

struct QbArea {
    int x, y, w, h; // pixels of the X screen
};

// While one lives, FLTK can be used, and neither an X error nor the loss of the display ends the program.
// The connection stays open between sessions: FLTK keeps fonts on it.
class QbDialogSession {
public:
    // `what` opens the line on the error stream when there is no display: "The file dialog".
    explicit QbDialogSession(const char* what);
    ~QbDialogSession();
    QbDialogSession(const QbDialogSession&) = delete;
    QbDialogSession& operator=(const QbDialogSession&) = delete;
    bool open() const { return open_; }

private:
    bool open_ = false;
    XErrorHandler previousError_ = nullptr;
    XIOErrorHandler previousLoss_ = nullptr;
};

// The button that Enter presses, told by its bold text.
class QbDefaultButton : public Fl_Return_Button {
public:
    QbDefaultButton(int x, int y, int w, int h, const char* text) : Fl_Return_Button(x, y, w, h, text) {
        labelfont(FL_HELVETICA_BOLD);
    }
    void draw() override { Fl_Button::draw(); }
};

// Lengths are given in pixels at 96 dpi; this is what they are on the user's display.
int qbDialogPixels(int length);

// Shows the window in the middle of the primary display and returns when it is hidden, with nothing of it
// left on the screen. When the process is asked to end the window is hidden as if the user had closed it.
// False when the display went away meanwhile; the window is then dropped unreleased,
// since releasing it would talk to the display.
bool qbDialogRun(std::unique_ptr<Fl_Double_Window>& window);

// Where windows are centred. Needs an open session, as do those below.
QbArea qbDialogPrimaryArea();

// True when another window holds keyboard or mouse for itself alone, as a show on the whole screen does.
bool qbDialogInputIsHeld();

// For a window that gets no events while input is held: true when Enter, space or Escape is down, or a mouse
// button over this part of the screen.
bool qbDialogAnswerIsDown(const QbArea& area);
