#include <gtest/gtest.h> // ahead of Xlib, whose macros None and Bool break it

#include "platform/dialog/dialog.h"
#include "platform/message.h"
#include "platform/process.h"
#include "support/temporary_directory.h"
#include "support/windows.h"

#include <FL/Fl.H>
#include <FL/Fl_Window.H>
#include <cstring>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Works the dialog from another process, as a user would: the script runs once the window is there, and finds
// its id in $id. A dialog that stays open after it fails the test and is closed.
class Hands {
public:
    explicit Hands(const std::string& script) {
        Display* display = XOpenDisplay(nullptr);
        XAutoRepeatOff(display); // on a busy machine a key may be down so long that the server repeats it
        XCloseDisplay(display);
        process_ = fork();
        if (process_ != 0) return;
        const std::string whole = opening + script + closing;
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
    static inline const std::string opening = "is_there() { id=$(xdotool search --onlyvisible --class quab "
                                              "2>/dev/null | head -1); [ -n \"$id\" ]; }\n"
                                              "for i in $(seq 200); do is_there && break; sleep 0.05; done\n"
                                              "xdotool mousemove --window $id 20 10; sleep 0.2\n"
                                              "eval $(xdotool getwindowgeometry --shell $id)\n"
                                              "fail() { xdotool key Escape; exit 1; }\n";
    static inline const std::string closing =
        "\nfor i in $(seq 100); do is_there || exit 0; sleep 0.05; done; fail\n";
    pid_t process_;
};

bool isToldOfAWrongName = false;

void lookForComplaint(void*) {
    const Fl_Window* window = Fl::first_window();
    for (int i = 0; window && i < window->children(); ++i) {
        const char* label = window->child(i)->label();
        if (label && strcmp(label, "There is no file of this name. Check the name and try again.") == 0)
            isToldOfAWrongName = true;
    }
    Fl::repeat_timeout(0.05, lookForComplaint);
}

const char* askForFile() {
    const QbFileFilter filters[] = {{"Quab Scene (.quab)", "*.quab"},
                                    {"Quab Scene (lws.ini)", "*.lws.ini;*.lws.ini.bin"},
                                    {"All", "*.*"}};
    return qbOpenFileDialog("Open Quab scene", filters, 3);
}

// The result, then width, height, bits, windowed, vsync, frames a second, antialias and shaders.
std::vector<int> askForMode() {
    std::vector<int> v(9, -7);
    v[0] = qbSetupDialog(&v[1], &v[2], &v[3], &v[4], &v[5], &v[6], &v[7], &v[8]);
    return v;
}

} // namespace

TEST(MessageBox, FitsTheScreenAndStandsUntilEnter) {
    for (const std::string& text :
         {std::string(1000, '\xE9') + "\xF0", std::string(1023, '\n'), std::string("Failed\nto load")}) {
        const Hands hands("[ $((X + WIDTH)) -le 1280 ] && [ $((Y + HEIGHT)) -le 1024 ] || fail\n"
                          "xdotool key Return");
        qbMessageBox(text.c_str());
    }
    EXPECT_EQ(windowCount(true), 0U);
}

// A full-screen show takes keyboard and mouse for its own window: the box must be answerable all the same.
TEST(MessageBox, IsAnsweredWhileAnotherWindowHoldsTheInput) {
    // Keys and buttons are seen while they are down: they are pressed until the box is gone.
    for (const std::string key : {"key%s Return", "mouse%s 1"}) {
        Display* display = XOpenDisplay(nullptr);
        XSetWindowAttributes attributes = {};
        attributes.override_redirect = True;
        const Window show =
            XCreateWindow(display, DefaultRootWindow(display), 0, 0, 1280, 1024, 0, CopyFromParent,
                          InputOutput, CopyFromParent, CWOverrideRedirect, &attributes);
        XMapRaised(display, show);
        XSync(display, False);
        XGrabKeyboard(display, show, True, GrabModeAsync, GrabModeAsync, CurrentTime);
        XGrabPointer(display, show, True, ButtonPressMask, GrabModeAsync, GrabModeAsync, show, None,
                     CurrentTime);
        XFlush(display);
        {
            const Hands hands("xdotool mousemove --window $id $((WIDTH / 2)) $((HEIGHT - 30))\n"
                              "for i in $(seq 20); do for way in down up; do xdotool $(printf '" +
                              key + "' $way); sleep 0.3; done; is_there || break; done");
            qbMessageBox("Failed to load scene");
        }
        XCloseDisplay(display);
    }
}

TEST(FileDialog, GivesTheFileThatIsTypedOrClickedAndNothingElse) {
    const TemporaryDirectory place;
    place.write("scenes/Ville.quab");
    const std::pair<const char*, bool> scripts[] = {
        {"xdotool type 'SCENES\\ville.QUAB'; xdotool key Return", true},
        {"xdotool type scenes; xdotool key Return; xdotool type Ville.quab; xdotool key KP_Enter", true},
        {"xdotool type scenes/Ville.quab; xdotool key Escape", false},
        {"xdotool type none.quab; xdotool key Return; sleep 1; xdotool key Escape", false},
        {"xdotool mousemove --window $id $((WIDTH - 40)) $((HEIGHT - 55)) click 1", false}}; // Cancel
    Fl::add_timeout(0.1, lookForComplaint);
    for (const auto& [script, found] : scripts) {
        const Hands hands(script);
        const char* path = askForFile();
        EXPECT_EQ(path ? path : "", found ? place.path() + "/scenes/Ville.quab" : "") << script;
        EXPECT_EQ(std::filesystem::current_path(), place.path());
    }
    Fl::remove_timeout(lookForComplaint);
    EXPECT_TRUE(isToldOfAWrongName);
}

TEST(SetupDialog, GivesWhatIsChosen) {
    // The check box stands at (4, 190), 10 high, of 147 x 223 units; the button's middle is at (73, 23).
    const std::string
        window = "xdotool mousemove --window $id $((WIDTH * 8 / 147)) $((HEIGHT * 195 / 223)) click 1\n",
        start = "xdotool mousemove --window $id $((WIDTH * 73 / 147)) $((HEIGHT * 23 / 223)) click 1";
    const std::pair<std::string, std::vector<int>> scripts[] = {
        {"xdotool key Return", {0, 1280, 1024, 32, 0, 1, 60, 1, 0}}, // the desktop's mode
        {window + start, {0, 1280, 1024, 32, 1, 1, 60, 1, 0}},
        // Typed what no mode begins with: nothing is selected, and the caller's size stays.
        {"xdotool key Tab key ctrl+a type 9; xdotool key Return", {0, -7, -7, -7, 0, 1, 60, 1, 0}},
        {"xdotool key Escape", {-1, -7, -7, -7, -7, -7, -7, -7, -7}}};
    for (const auto& [script, values] : scripts) {
        const Hands hands("[ \"$(xdotool getwindowname $id)\" = 'Screen Mode' ] || fail\n" + script);
        EXPECT_EQ(askForMode(), values) << script;
    }
}

// What comes after it returns at once, too.
static void closeBy(const char* script) {
    qbProcessCatchEnd();
    int result = 0;
    {
        const Hands hands(script);
        result = askForMode()[0];
    }
    qbMessageBox("after");
    exit(result == -1 && !askForFile() && !testing::Test::HasFailure() ? 0 : 1);
}

TEST(Ending, ClosesTheOpenDialogAndThoseToCome) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(closeBy("kill -TERM $PPID"), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(closeBy("xdotool windowkill $id"), testing::ExitedWithCode(0), "can not be shown any longer");
}

TEST(WithoutDisplay, EveryDialogReturnsAtOnceAndSaysWhy) {
    const std::string display = getenv("DISPLAY");
    unsetenv("DISPLAY");
    testing::internal::CaptureStderr();
    qbMessageBox("text");
    EXPECT_EQ(askForFile(), nullptr);
    EXPECT_EQ(askForMode()[0], -1);
    const std::string why =
        " can not be shown: no X display answers; start the program in a graphical session.\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "The message box" + why + "The file dialog" + why + "The Screen Mode dialog" + why);
    setenv("DISPLAY", display.c_str(), 1);
}
