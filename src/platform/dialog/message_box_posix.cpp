#include "platform/dialog/dialog.h"

#include "platform/dialog/session_posix.h"

#include <FL/Fl.H>
#include <FL/Fl_Scroll.H>
#include <FL/fl_draw.H>
#include <FL/fl_utf8.h>
#include <algorithm>
#include <memory>
#include <string>
#include <string_view>

enum {
    MARGIN = 18,
    TEXT_WIDTH_MIN = 180,
    TEXT_WIDTH_MAX = 560,
    BUTTON_WIDTH = 88,
    BUTTON_HEIGHT = 28,
    SCROLLBAR = 18
};

static constexpr double POLL_INTERVAL = 0.03; // seconds

namespace {

// Draws its label as it stands: a box would read '@' and '&' in it as commands.
class PlainText : public Fl_Widget {
public:
    PlainText(int x, int y, int w, int h, const char* text) : Fl_Widget(x, y, w, h) { copy_label(text); }
    void draw() override {
        fl_color(FL_FOREGROUND_COLOR);
        fl_font(FL_HELVETICA, FL_NORMAL_SIZE);
        fl_draw(label(), x(), y(), w(), h(), FL_ALIGN_TOP_LEFT, nullptr, 0);
    }
};

struct Poll {
    Fl_Window* window;
    Fl_Widget* button;
    bool armed = false; // set once everything is up: a key held since before is no answer
};

} // namespace

static int widthOf(std::string_view text) {
    return static_cast<int>(fl_width(text.data(), static_cast<int>(text.size())) + 0.999);
}

// Bytes of the longest beginning of `line` that fits; at least one character, and at a blank where there is
// one.
static size_t fittingLength(std::string_view line, int width) {
    size_t fitting = 0;
    size_t blank = 0;
    while (fitting < line.size()) {
        const int bytes = std::max(1, fl_utf8len(line[fitting]));
        const size_t next = std::min(line.size(), fitting + static_cast<size_t>(bytes));
        if (fitting > 0 && widthOf(line.substr(0, next)) > width) break;
        if (line[fitting] == ' ') blank = fitting + 1;
        fitting = next;
    }
    return fitting < line.size() && blank > 0 ? blank : fitting;
}

static void wrapLine(std::string_view line, int width, std::string& wrapped) {
    do {
        const size_t length = fittingLength(line, width);
        wrapped += line.substr(0, length);
        wrapped += '\n';
        line.remove_prefix(length);
    } while (!line.empty());
}

static std::string wrapText(std::string_view text, int width) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
        text.remove_suffix(1);
    std::string wrapped;
    while (true) {
        const size_t end = text.find('\n');
        wrapLine(text.substr(0, end), width, wrapped);
        if (end == std::string_view::npos) break;
        text.remove_prefix(end + 1);
    }
    wrapped.pop_back();
    return wrapped;
}

static void hideWindow(Fl_Widget* widget, void*) {
    widget->window()->hide();
}

static Fl_Scroll* createView(const std::string& text, int textWidth, int textHeight, int heightMax) {
    const int margin = qbDialogPixels(MARGIN);
    const bool scrolls = textHeight > heightMax;
    const int width = std::max(textWidth, qbDialogPixels(TEXT_WIDTH_MIN)) + (scrolls ? SCROLLBAR : 0);
    auto* view = new Fl_Scroll(margin, margin, width, scrolls ? heightMax : textHeight);
    view->type(Fl_Scroll::VERTICAL);
    new PlainText(margin, margin, textWidth, textHeight, text.c_str());
    view->end();
    return view;
}

static std::unique_ptr<Fl_Double_Window> createBox(const char* text, Fl_Widget** button) {
    const QbArea area = qbDialogPrimaryArea();
    const int margin = qbDialogPixels(MARGIN);
    const int buttonWidth = qbDialogPixels(BUTTON_WIDTH);
    const int buttonHeight = qbDialogPixels(BUTTON_HEIGHT);
    fl_font(FL_HELVETICA, FL_NORMAL_SIZE);
    const int widthMax = std::min(area.w - 4 * margin, qbDialogPixels(TEXT_WIDTH_MAX));
    const std::string wrapped = wrapText(text, widthMax);
    int textWidth = 0;
    int textHeight = 0;
    fl_measure(wrapped.c_str(), textWidth, textHeight, 0);

    auto window = std::make_unique<Fl_Double_Window>(0, 0, "");
    const Fl_Scroll* view = createView(wrapped, textWidth, textHeight, area.h / 2);
    window->size(view->w() + 2 * margin, view->h() + buttonHeight + 3 * margin);
    *button = new QbDefaultButton((window->w() - buttonWidth) / 2, view->h() + 2 * margin, buttonWidth,
                                  buttonHeight, "OK");
    (*button)->callback(hideWindow);
    (*button)->take_focus();
    window->end();
    return window;
}

static void pollAnswer(void* data) {
    auto* poll = static_cast<Poll*>(data);
    const QbArea area = {poll->window->x() + poll->button->x(), poll->window->y() + poll->button->y(),
                         poll->button->w(), poll->button->h()};
    const bool down = qbDialogAnswerIsDown(area);
    if (down && poll->armed) {
        poll->window->hide();
        return;
    }
    poll->armed = poll->armed || !down;
    Fl::repeat_timeout(POLL_INTERVAL, pollAnswer, data);
}

void qbMessageBox(const char* text) {
    const QbDialogSession session("The message box");
    if (!session.open()) return;
    Fl_Widget* button = nullptr;
    std::unique_ptr<Fl_Double_Window> window = createBox(text, &button);
    Poll poll = {window.get(), button};
    if (qbDialogInputIsHeld()) {
        // A show on the whole screen holds the input: no event arrives here, and only a window that no
        // window manager handles gets in front of it.
        window->set_override();
        Fl::add_timeout(POLL_INTERVAL, pollAnswer, &poll);
    }
    qbDialogRun(window);
    Fl::remove_timeout(pollAnswer, &poll);
}
