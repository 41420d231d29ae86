#include <gtest/gtest.h> // ahead of Xlib, whose macros None and Bool break it

#include "platform/dialog/dialog.h"
#include "platform/message.h"
#include "support/temporary_directory.h"
#include "support/windows.h"

#include <FL/Fl.H>
#include <FL/Fl_Choice.H>
#include <FL/Fl_File_Browser.H>
#include <FL/Fl_Window.H>
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace {

// Works the dialog from another process, as a user would: the script runs once the window is there, and finds
// its id in $id. A dialog that stays open after it fails the test and is closed.
class Hands {
public:
    explicit Hands(const std::string& script) {
        stopKeyRepeat();
        process_ = fork();
        if (process_ != 0) return;
        const std::string whole = std::string(opening) + script + closing;
        execl("/bin/sh", "sh", "-c", whole.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    ~Hands() {
        int status = 0;
        waitpid(process_, &status, 0);
        EXPECT_EQ(status, 0) << "the dialog did not end, or xdotool could not do its part";
    }
    Hands(const Hands&) = delete;
    Hands& operator=(const Hands&) = delete;

private:
    static constexpr const char* opening = "is_there() { id=$(xdotool search --onlyvisible --class quab "
                                           "2>/dev/null | head -1); [ -n \"$id\" ]; }\n"
                                           "for i in $(seq 200); do is_there && break; sleep 0.05; done\n"
                                           "xdotool mousemove --window $id 20 10\n"
                                           "sleep 0.2\n";
    static constexpr const char* closing = "\nfor i in $(seq 100); do is_there || exit 0; sleep 0.05; done\n"
                                           "xdotool key Escape\n"
                                           "exit 1\n";

    // On a busy machine a key may be down so long that the server repeats it.
    static void stopKeyRepeat() {
        Display* display = XOpenDisplay(nullptr);
        XAutoRepeatOff(display);
        XCloseDisplay(display);
    }
    pid_t process_;
};

// Looks at the open window from inside. Runs once, a moment after the dialog has started its loop.
class Glance {
public:
    explicit Glance(std::function<void(Fl_Window&)> look) : look_(std::move(look)) {
        Fl::add_timeout(0.1, happen, this);
    }
    ~Glance() {
        Fl::remove_timeout(happen, this);
        EXPECT_TRUE(done_) << "no window was shown";
    }
    Glance(const Glance&) = delete;
    Glance& operator=(const Glance&) = delete;

private:
    static void happen(void* data) {
        auto* glance = static_cast<Glance*>(data);
        Fl_Window* window = Fl::first_window();
        if (!window) return;
        glance->done_ = true;
        glance->look_(*window);
    }
    std::function<void(Fl_Window&)> look_;
    bool done_ = false;
};

struct Picked {
    int result = 0, width = -7, height = -7, bits = -7, windowed = -7;
    int vsync = -7, fps = -7, antialias = -7, shaders = -7;
};

} // namespace

static const QbFileFilter filters[] = {
    {"Quab Scene (.quab)", "*.quab"}, {"Quab Scene (lws.ini)", "*.lws.ini;*.lws.ini.bin"}, {"All", "*.*"}};

static void forEachWidget(const Fl_Group& group, const std::function<void(Fl_Widget&)>& visit) {
    for (int i = 0; i < group.children(); ++i) {
        visit(*group.child(i));
        if (const Fl_Group* inner = group.child(i)->as_group()) forEachWidget(*inner, visit);
    }
}

static Fl_Widget* findLabel(const Fl_Group& group, const std::string& label) {
    Fl_Widget* found = nullptr;
    forEachWidget(group, [&](Fl_Widget& widget) {
        if (widget.label() && widget.label() == label) found = &widget;
    });
    return found;
}

// --- message box ----------------------------------------------------------------------------------------

TEST(MessageBox, ShowsAMessageAsItStandsUntilEnter) {
    qbMessageSetSink(qbMessageBox);
    const Hands hands("xdotool key Return");
    const Glance glance([](Fl_Window& window) {
        EXPECT_STREQ(window.label(), "");
        EXPECT_NE(findLabel(window, "Failed to load @C1 mesh & \"a\" 100%\nSecond"), nullptr);
        EXPECT_NE(findLabel(window, "OK"), nullptr);
    });
    qbMessage("Failed to load @C%d mesh & \"a\" 100%%\nSecond\n", 1);
    qbMessageSetSink(nullptr);
    EXPECT_EQ(windowCount(true), 0U);
}

TEST(MessageBox, ClosesAtAClickOnOk) {
    const Hands hands("eval $(xdotool getwindowgeometry --shell $id)\n"
                      "xdotool mousemove --window $id $((WIDTH / 2)) $((HEIGHT - 30)) click 1");
    qbMessageBox("Failed to use data");
}

TEST(MessageBox, KeepsLongTextsOnTheScreen) {
    const std::string texts[] = {std::string(1023, 'w'), std::string(1023, '\n'), std::string(1023, ' '),
                                 std::string(1000, '\xE9') + "\xF0", ""};
    for (const std::string& text : texts) {
        SCOPED_TRACE(text);
        const Hands hands("xdotool key Escape");
        const Glance glance([](Fl_Window& window) {
            EXPECT_LE(window.w(), 1280);
            EXPECT_LE(window.h(), 1024);
            const Fl_Widget* button = findLabel(window, "OK");
            ASSERT_NE(button, nullptr);
            EXPECT_LE(button->y() + button->h(), window.h());
        });
        qbMessageBox(text.c_str());
    }
}

// A full-screen show takes keyboard and mouse for its own window: the box must be answerable all the same.
TEST(MessageBox, IsAnsweredWhileAnotherWindowHoldsTheInput) {
    // Keys and buttons are seen while they are down: they are pressed until the box is gone.
    const std::string again = "is_there || break; done";
    for (const char* answer :
         {"for i in $(seq 20); do xdotool keydown Return; sleep 0.3; xdotool keyup Return; ",
          "eval $(xdotool getwindowgeometry --shell $id)\n"
          "xdotool mousemove --window $id $((WIDTH / 2)) $((HEIGHT - 30))\n"
          "for i in $(seq 20); do xdotool mousedown 1; sleep 0.3; xdotool mouseup 1; "}) {
        Display* display = XOpenDisplay(nullptr);
        XSetWindowAttributes attributes = {};
        attributes.override_redirect = True;
        const Window show =
            XCreateWindow(display, DefaultRootWindow(display), 0, 0, 1280, 1024, 0, CopyFromParent,
                          InputOutput, CopyFromParent, CWOverrideRedirect, &attributes);
        XMapRaised(display, show);
        XSync(display, False);
        ASSERT_EQ(XGrabKeyboard(display, show, True, GrabModeAsync, GrabModeAsync, CurrentTime), GrabSuccess);
        ASSERT_EQ(XGrabPointer(display, show, True, ButtonPressMask, GrabModeAsync, GrabModeAsync, show, None,
                               CurrentTime),
                  GrabSuccess);
        XFlush(display);
        {
            const Hands hands(answer + again);
            qbMessageBox("Failed to load scene");
        }
        XCloseDisplay(display);
    }
}

// --- file dialog ----------------------------------------------------------------------------------------

TEST(FileDialog, GivesTheFileThatIsTypedOrClicked) {
    const TemporaryDirectory place;
    place.write("scenes/Ville.quab");
    const char* const scripts[] = {
        "xdotool type scenes/Ville.quab; xdotool key Return",
        "xdotool type 'SCENES\\ville.QUAB'; xdotool key Return",
        "xdotool type scenes; xdotool key Return; xdotool type Ville.quab; xdotool key KP_Enter",
        // By mouse: the first line leads up, the second is the file.
        "xdotool type scenes; xdotool key Return; sleep 0.3\n"
        "xdotool mousemove --window $id 60 70 click --repeat 2 --delay 60 1"};
    for (const char* script : scripts) {
        SCOPED_TRACE(script);
        const Hands hands(script);
        const char* path = qbOpenFileDialog("Open Quab scene", filters, 3);
        ASSERT_NE(path, nullptr);
        EXPECT_EQ(path, place.path() + "/scenes/Ville.quab");
        EXPECT_EQ(fs::current_path(), place.path());
    }
}

TEST(FileDialog, CancelGivesNothing) {
    const TemporaryDirectory place;
    place.write("a.quab");
    for (const char* script : {"xdotool type a.quab; xdotool key Escape",
                               "eval $(xdotool getwindowgeometry --shell $id)\n"
                               "xdotool mousemove --window $id $((WIDTH - 40)) $((HEIGHT - 55)) click 1"}) {
        const Hands hands(script);
        EXPECT_EQ(qbOpenFileDialog("Open Quab scene", filters, 3), nullptr);
        EXPECT_EQ(fs::current_path(), place.path());
    }
}

static void lookForComplaint(void* data) {
    auto& complained = *static_cast<bool*>(data);
    const Fl_Window* window = Fl::first_window();
    complained =
        complained || (window && findLabel(*window, "There is no file of this name. Check the name and "
                                                    "try again."));
    Fl::repeat_timeout(0.05, lookForComplaint, data);
}

TEST(FileDialog, RefusesAFileThatDoesNotExist) {
    const TemporaryDirectory place;
    const Hands hands("xdotool type none.quab; xdotool key Return; sleep 1; xdotool key Escape");
    bool complained = false;
    Fl::add_timeout(0.05, lookForComplaint, &complained);
    EXPECT_EQ(qbOpenFileDialog("Open Quab scene", filters, 3), nullptr);
    Fl::remove_timeout(lookForComplaint, &complained);
    EXPECT_TRUE(complained);
}

static std::vector<std::string> listed(Fl_Window& window, int filter) {
    std::vector<std::string> names;
    forEachWidget(window, [&](Fl_Widget& widget) {
        if (auto* choice = dynamic_cast<Fl_Choice*>(&widget)) {
            choice->value(filter);
            choice->do_callback();
        }
    });
    forEachWidget(window, [&](Fl_Widget& widget) {
        const auto* list = dynamic_cast<Fl_File_Browser*>(&widget);
        for (int line = 1; list && line <= list->size(); ++line)
            names.emplace_back(list->text(line));
    });
    std::sort(names.begin(), names.end());
    return names;
}

TEST(FileDialog, ListsWhatTheFilterLetsThrough) {
    const TemporaryDirectory place;
    for (const char* name : {"a.quab", "B.QUAB", ".hidden.quab", "c.quab.txt", "d.lws.ini", "E.Lws.Ini.bin",
                             "plain", "sub/x.quab"})
        place.write(name);
    const Hands hands("xdotool key Escape");
    const Glance glance([](Fl_Window& window) {
        using Names = std::vector<std::string>;
        EXPECT_STREQ(window.label(), "Open Quab scene");
        EXPECT_EQ(listed(window, 0), (Names{"../", "B.QUAB", "a.quab", "sub/"}));
        EXPECT_EQ(listed(window, 1), (Names{"../", "E.Lws.Ini.bin", "d.lws.ini", "sub/"}));
        EXPECT_EQ(listed(window, 2), (Names{"../", "B.QUAB", "E.Lws.Ini.bin", "a.quab", "c.quab.txt",
                                            "d.lws.ini", "plain", "sub/"}));
    });
    EXPECT_EQ(qbOpenFileDialog("Open Quab scene", filters, 3), nullptr);
}

// --- setup dialog ---------------------------------------------------------------------------------------

static Picked ask() {
    Picked p;
    p.result =
        qbSetupDialog(&p.width, &p.height, &p.bits, &p.windowed, &p.vsync, &p.fps, &p.antialias, &p.shaders);
    return p;
}

TEST(DisplayModesOfTheSystem, HoldTheDesktopsOwn) {
    QbDisplayMode modes[4] = {};
    QbDisplayMode desktop = {};
    ASSERT_GE(qbDisplayModes(modes, 4, &desktop), 1);
    EXPECT_EQ(desktop.width, 1280);
    EXPECT_EQ(desktop.height, 1024);
    EXPECT_EQ(desktop.bits, 32);
    EXPECT_EQ(modes[0].width, 1280);
    EXPECT_EQ(qbDisplayModes(modes, 0, &desktop), 0);
}

TEST(SetupDialog, EnterStartsWithTheDesktopsMode) {
    const Hands hands("xdotool key Return");
    const Picked p = ask();
    const std::vector<int> all = {p.result, p.width, p.height,    p.bits,   p.windowed,
                                  p.vsync,  p.fps,   p.antialias, p.shaders};
    EXPECT_EQ(all, (std::vector<int>{0, 1280, 1024, 32, 0, 1, 60, 1, 0}));
    EXPECT_EQ(windowCount(true), 0U);
}

TEST(SetupDialog, ClicksChooseAWindow) {
    // The check box stands at (4, 190), 10 high, of 147 x 223 units; the button's middle is at (73, 23).
    const Hands hands("eval $(xdotool getwindowgeometry --shell $id)\n"
                      "xdotool mousemove --window $id $((WIDTH * 8 / 147)) $((HEIGHT * 195 / 223)) click 1\n"
                      "xdotool mousemove --window $id $((WIDTH * 73 / 147)) $((HEIGHT * 23 / 223)) click 1");
    const Picked p = ask();
    EXPECT_EQ(p.result, 0);
    EXPECT_EQ(p.windowed, 1);
}

TEST(SetupDialog, TypingSelectsOrDeselects) {
    {
        const Hands hands("xdotool key shift+Tab key Tab key Tab key ctrl+a type 12; xdotool key Return");
        EXPECT_EQ(ask().width, 1280);
    }
    const Hands hands("xdotool key Tab key ctrl+a type 9; xdotool key Return");
    const Picked p = ask();
    EXPECT_EQ(p.result, 0);
    EXPECT_EQ(p.width, -7) << "nothing is selected: the caller's size stays";
    EXPECT_EQ(p.vsync, 1);
}

TEST(SetupDialog, ShowsTwoControlsAndCancelLeavesEverything) {
    const Hands hands("xdotool key Escape");
    const Glance glance([](Fl_Window& window) {
        EXPECT_STREQ(window.label(), "Screen Mode");
        const std::pair<const char*, bool> controls[] = {{"Start ", true},
                                                         {"Windowed", true},
                                                         {"500$ Shaders", false},
                                                         {"vsync (recommended)", false},
                                                         {"antialias (recommended)", false}};
        for (const auto& [label, visible] : controls) {
            const Fl_Widget* widget = findLabel(window, label);
            ASSERT_NE(widget, nullptr) << label;
            EXPECT_EQ(widget->visible() != 0, visible) << label;
        }
    });
    const Picked p = ask();
    EXPECT_EQ(p.result, -1);
    for (const int untouched : {p.width, p.windowed, p.fps})
        EXPECT_EQ(untouched, -7);
}

// --- no display -----------------------------------------------------------------------------------------

TEST(WithoutDisplay, EveryDialogReturnsAtOnceAndSaysWhy) {
    const std::string display = getenv("DISPLAY");
    unsetenv("DISPLAY");
    testing::internal::CaptureStderr();
    qbMessageBox("text");
    EXPECT_EQ(qbOpenFileDialog("Open Quab scene", filters, 3), nullptr);
    EXPECT_EQ(ask().result, -1);
    const std::string why =
        " can not be shown: no X display answers; start the program in a graphical session.\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "The message box" + why + "The file dialog" + why + "The Screen Mode dialog" + why);
    setenv("DISPLAY", display.c_str(), 1);
}

static void loseTheDisplay() {
    int result = 0;
    {
        const Hands hands("xdotool windowkill $id");
        result = ask().result;
    }
    qbMessageBox("after");
    exit(result == -1 ? 0 : 1);
}

TEST(WithoutDisplay, LosingItCancelsTheDialogAndNotTheProgram) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(loseTheDisplay(), testing::ExitedWithCode(0), "can not be shown any longer");
}
