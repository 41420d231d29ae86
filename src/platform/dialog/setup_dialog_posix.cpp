#include "platform/dialog/dialog.h"

#include "platform/dialog/session_posix.h"
#include "platform/text.h"

#include <FL/Fl.H>
#include <FL/Fl_Check_Button.H>
#include <FL/Fl_Hold_Browser.H>
#include <FL/Fl_Input.H>
#include <FL/fl_draw.H>
#include <array>
#include <cmath>
#include <memory>
#include <string_view>

enum { LISTED_MAX = 2000, FPS = 60 };

// Dialog units: a quarter of the font's mean width across, an eighth of its height down.
enum { DIALOG_WIDTH = 147, DIALOG_HEIGHT = 223, EDIT_HEIGHT = 13 };

namespace {

struct Units {
    double x, y; // pixels a unit
};

// Leaves Enter to the dialog's default button.
class ModeList : public Fl_Hold_Browser {
public:
    using Fl_Hold_Browser::Fl_Hold_Browser;
    int handle(int event) override {
        const int key = Fl::event_key();
        if (event == FL_KEYBOARD && (key == FL_Enter || key == FL_KP_Enter)) return 0;
        return Fl_Hold_Browser::handle(event);
    }
};

// The edit line hands the keys that walk through a list to the list below it.
class ModeEdit : public Fl_Input {
public:
    using Fl_Input::Fl_Input;
    ModeList* list = nullptr;
    int handle(int event) override {
        const int key = Fl::event_key();
        const bool walks = key == FL_Up || key == FL_Down;
        if (event == FL_KEYBOARD && walks) return walk(key == FL_Down ? 1 : -1);
        return Fl_Input::handle(event);
    }

private:
    int walk(int step) {
        const int line = list->value() + step;
        if (line < 1 || line > list->size()) return 1;
        list->value(line);
        list->do_callback();
        return 1;
    }
};

struct SetupWindow {
    std::unique_ptr<Fl_Double_Window> window;
    ModeEdit* edit = nullptr;
    ModeList* list = nullptr; // line n shows modes[n - 1]
    Fl_Check_Button* windowed = nullptr;
    Fl_Check_Button* shaders = nullptr;
    Fl_Check_Button* vsync = nullptr;
    Fl_Check_Button* antialias = nullptr;
    std::array<QbDisplayMode, LISTED_MAX> modes = {};
    bool started = false;
};

} // namespace

// --- controls -------------------------------------------------------------------------------------------

static Units dialogUnits() {
    static const char letters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    fl_font(FL_HELVETICA, FL_NORMAL_SIZE);
    return {fl_width(letters) / 52 / 4, fl_height() / 8.0};
}

static QbArea place(const Units& units, int x, int y, int w, int h) {
    const auto across = [&](int n) { return static_cast<int>(std::lround(n * units.x)); };
    const auto down = [&](int n) { return static_cast<int>(std::lround(n * units.y)); };
    return {across(x), down(y), across(w), down(h)};
}

static Fl_Check_Button* addCheck(const QbArea& area, const char* text, bool visible, bool checked) {
    auto* check = new Fl_Check_Button(area.x, area.y, area.w, area.h, text);
    check->value(checked ? 1 : 0);
    if (!visible) check->hide();
    return check;
}

static void start(Fl_Widget*, void* data) {
    auto* setup = static_cast<SetupWindow*>(data);
    setup->started = true;
    setup->window->hide();
}

static void showSelected(Fl_Widget*, void* data) {
    auto* setup = static_cast<SetupWindow*>(data);
    const int line = setup->list->value();
    if (line < 1) return;
    setup->edit->value(setup->list->text(line));
    setup->list->make_visible(line);
}

static std::string_view withoutBlanks(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text;
}

static bool beginsWith(std::string_view text, std::string_view typed) {
    return !typed.empty() && qbSameText(text.substr(0, typed.size()), typed);
}

// What is typed selects the first line that begins with it, or nothing.
static void selectTyped(Fl_Widget*, void* data) {
    auto* setup = static_cast<SetupWindow*>(data);
    const std::string_view typed = withoutBlanks(setup->edit->value());
    setup->list->deselect();
    for (int line = 1; line <= setup->list->size(); ++line) {
        if (!beginsWith(withoutBlanks(setup->list->text(line)), typed)) continue;
        setup->list->value(line);
        setup->list->make_visible(line);
        return;
    }
}

static void addModes(SetupWindow& setup, const QbArea& area, int editHeight) {
    setup.edit = new ModeEdit(area.x, area.y, area.w, editHeight);
    setup.list = new ModeList(area.x, area.y + editHeight, area.w, area.h - editHeight);
    setup.edit->list = setup.list;
    setup.edit->callback(selectTyped, &setup);
    setup.edit->when(FL_WHEN_CHANGED);
    setup.list->callback(showSelected, &setup);
    setup.list->has_scrollbar(Fl_Browser_::VERTICAL);
}

static void createWindow(SetupWindow& setup) {
    const Units units = dialogUnits();
    const QbArea size = place(units, 0, 0, DIALOG_WIDTH, DIALOG_HEIGHT);
    setup.window = std::make_unique<Fl_Double_Window>(size.w, size.h, "Screen Mode");

    const QbArea button = place(units, 35, 12, 76, 22);
    auto* startButton = new QbDefaultButton(button.x, button.y, button.w, button.h, "Start ");
    startButton->callback(start, &setup);
    addModes(setup, place(units, 2, 44, 143, 140), place(units, 0, 0, 0, EDIT_HEIGHT).h);
    setup.windowed = addCheck(place(units, 4, 190, 49, 10), "Windowed", true, false);
    setup.shaders = addCheck(place(units, 4, 213, 60, 10), "500$ Shaders", false, false);
    setup.shaders->deactivate();
    setup.vsync = addCheck(place(units, 50, 213, 87, 10), "vsync (recommended)", false, true);
    setup.vsync->deactivate();
    setup.antialias = addCheck(place(units, 4, 203, 94, 10), "antialias (recommended)", false, true);
    startButton->take_focus();
    setup.window->end();
}

// --- modes ----------------------------------------------------------------------------------------------

static void fillModes(SetupWindow& setup) {
    QbDisplayMode desktop = {};
    const int listed = qbDisplayModes(setup.modes.data(), LISTED_MAX, &desktop);
    const int offered = qbDisplayModesOffered(setup.modes.data(), listed);
    for (int i = 0; i < offered; ++i)
        setup.list->add(qbDisplayModeLabel(&setup.modes[static_cast<size_t>(i)]));
    const int selected = qbDisplayModeDefault(setup.modes.data(), offered, &desktop);
    if (selected < 0) return;
    setup.list->value(selected + 1);
    showSelected(setup.list, &setup);
    setup.list->middleline(selected + 1);
}

int qbSetupDialog(int* width, int* height, int* bits, int* windowed, int* vsync, int* fps, int* antialias,
                  int* shaders) {
    const QbDialogSession session("The Screen Mode dialog");
    if (!session.open()) return -1;
    SetupWindow setup;
    createWindow(setup);
    fillModes(setup);
    if (!qbDialogRun(setup.window) || !setup.started) return -1;

    if (const int line = setup.list->value(); line > 0) {
        const QbDisplayMode& mode = setup.modes[static_cast<size_t>(line - 1)];
        *width = mode.width;
        *height = mode.height;
        *bits = mode.bits;
    }
    *windowed = setup.windowed->value();
    *vsync = setup.vsync->value();
    *fps = FPS;
    *antialias = setup.antialias->value();
    *shaders = setup.shaders->value();
    return 0;
}
