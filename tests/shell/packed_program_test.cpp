// A show in one executable, as its audience starts and ends it.

#include "platform/cabinet/cabinet.h"
#include "platform/resource/resource.h"
#include "shell/program_stage.h"
#include "storage/cabinet.h"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <functional>
#include <png.h>
#include <signal.h>
#include <spawn.h>
#include <thread>
#include <vector>

#include "support/windows.h" // behind the others, which the macros of Xlib break

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

const char* const NO_DISPLAY = "-u DISPLAY";
const char* const MUSIC = "TheDemoExtractDir.2"; // all that lies there while a show plays

void writePng(const char* path) {
    png_image png = {};
    png.version = PNG_IMAGE_VERSION;
    png.width = png.height = 16;
    png.format = PNG_FORMAT_RGB;
    const std::vector<uint8_t> pixels(16 * 16 * 3, 200);
    ASSERT_NE(png_image_write_to_file(&png, path, 0, pixels.data(), 0, nullptr), 0);
}

bool waitUntil(const std::function<bool()>& condition) {
    for (int i = 0; i < 1200; ++i) {
        if (condition()) return true;
        std::this_thread::sleep_for(50ms);
    }
    return false;
}

// A program that runs beside the test.
class Child {
public:
    Child(const char* program, std::vector<std::string> words) {
        words.insert(words.begin(), program);
        std::vector<char*> arguments;
        for (std::string& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
        // What a shell starts in the background ignores Ctrl+C, and so would its children.
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        sigset_t signals;
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes, &signals);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
        EXPECT_EQ(posix_spawn(&id_, program, &actions, &attributes, arguments.data(), environ), 0);
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&actions);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() {
        if (status_ == -1) end(SIGKILL);
    }
    // As waitpid tells it.
    int end(int signal) {
        if (signal != 0) kill(id_, signal);
        waitpid(id_, &status_, 0);
        return status_;
    }

private:
    pid_t id_ = -1;
    int status_ = -1;
};

// Does `action` with the window of the show.
void withWindow(void (*action)(Display* display, Window window)) {
    Display* display = XOpenDisplay(nullptr);
    Window root = 0, parent = 0, *children = nullptr;
    unsigned count = 0;
    XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count);
    for (unsigned i = 0; i < count; ++i) {
        XWindowAttributes attributes;
        if (XGetWindowAttributes(display, children[i], &attributes) && attributes.map_state == IsViewable)
            action(display, children[i]);
    }
    if (children) XFree(children);
    XCloseDisplay(display);
}

void pressEscape(Display* display, Window window) {
    XEvent event = {};
    event.xkey.type = KeyPress;
    event.xkey.window = window;
    event.xkey.root = DefaultRootWindow(display);
    event.xkey.keycode = 9;
    event.xkey.same_screen = True;
    XSendEvent(display, window, True, KeyPressMask, &event);
}

class PackedProgram : public Program {
protected:
    void SetUp() override {
        fs::create_directories("show/xport");
        fs::create_directories("show/music");
        fs::create_directory("temporary");
        writeBox("show/xport/Box.Layer1.x", {1, 1, 1});
        writeScene("show/xport/red.quab", "box", {1, 0, 0});
        writePng("show/loading.png");
        directory.write("show/music/silence.mp3");
        directory.write("hall/quab-setup.ini", "[Setup]\ndisplay=320 240 32\nwindowed=1\n");
        writeScript(600000);
        pack("hall/show", "quab");
        setenv("TMPDIR", (directory.path() + "/temporary").c_str(), 1);
    }
    void TearDown() override { unsetenv("TMPDIR"); }

    void writeScript(int length) const {
        directory.write("show/tiny.demo.ini",
                        "[setup]\nmusicdirectory=music\n[part.1]\ntime=0\ntimereset=1\nmusic=silence.mp3\n"
                        "directory=XPORT\nfilename=Red.QUAB\n[part.2]\ntime=" +
                            std::to_string(length) + "\n");
    }
    static void pack(const std::string& target, const std::string& program) {
        const std::string packer = program == "quab" ? QB_PROGRAM : program;
        const std::string command =
            "'" + packer + "' -demoexe " + target + " show/tiny.demo.ini >out.txt 2>err.txt";
        EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 255);
        EXPECT_EQ(readFile("err.txt"), "");
    }
    // Plays to the end, with arguments that nobody looks at.
    static Result play(const std::string& program, const std::string& environment = "") {
        const std::string command = "cd hall && env " + environment + " timeout 60 " + program +
                                    " --unattended --help >../out.txt 2>../err.txt";
        const int status = std::system(command.c_str());
        return {WEXITSTATUS(status), readFile("out.txt"), readFile("err.txt")};
    }

    static std::vector<std::string> extracted() {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator("temporary"))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }
    static void expectPlaying(const std::vector<std::string>& directories) {
        EXPECT_TRUE(waitUntil([&] { return extracted() == directories; }))
            << testing::PrintToString(extracted());
    }
};

using Names = std::vector<std::string>;

} // namespace

TEST_F(PackedProgram, LeavesNothingBehindHoweverItEnds) {
    const struct {
        const char* what;
        void (*end)(Display*, Window);
        int signal;
    } table[] = {
        {"Escape", pressEscape, 0},
        {"closed window", askToClose, 0},
        {"Ctrl+C", nullptr, SIGINT},
        {"end of the session", nullptr, SIGTERM},
    };
    for (const auto& row : table) {
        Child show("hall/show", {"-paused", "other.quab"});
        expectPlaying({MUSIC});
        EXPECT_EQ(fs::status("temporary/" + std::string(MUSIC)).permissions(), fs::perms::owner_all);
        if (row.end) withWindow(row.end);
        EXPECT_EQ(show.end(row.signal), 0) << row.what;
        EXPECT_EQ(extracted(), Names()) << row.what;
    }
    // What a killed one leaves is taken over by the next, which plays to its own end.
    Child killed("hall/show", {});
    expectPlaying({MUSIC});
    killed.end(SIGKILL);
    EXPECT_EQ(extracted(), Names{MUSIC});
    writeScript(500);
    pack("hall/short", "quab");
    EXPECT_EQ(play("./short").err, "");
    EXPECT_EQ(extracted(), Names());
}

TEST_F(PackedProgram, TwoAtOnceKeepApart) {
    Child first("hall/show", {});
    expectPlaying({MUSIC});
    Child second("hall/show", {});
    expectPlaying({MUSIC, MUSIC + std::string(".2")});
    EXPECT_EQ(first.end(SIGTERM), 0);
    EXPECT_EQ(extracted(), Names{MUSIC + std::string(".2")});
    EXPECT_TRUE(waitUntil([] { return fs::exists("temporary/TheDemoExtractDir.2.2/music/silence.mp3"); }));
    EXPECT_EQ(second.end(SIGTERM), 0);
    EXPECT_EQ(extracted(), Names());
}

TEST_F(PackedProgram, StillPacksAndConverts) {
    writeScript(500);
    pack("hall/first", "quab");
    pack("hall/second", "hall/show"); // in place of what it carries
    EXPECT_EQ(fs::file_size("hall/first"), fs::file_size("hall/second"));
    const Result result = play("./second");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out.find("Usage"), std::string::npos);
    EXPECT_EQ(WEXITSTATUS(std::system("env -u DISPLAY hall/show -binary gone.quab 2>err.txt")), 255);
    EXPECT_EQ(readFile("err.txt"), "Failed to load scene\n");
}

// Executables that carry some of the cabinets, or bad ones.
TEST_F(PackedProgram, SaysWhatItLacks) {
    const std::string cabinets[] = {readFile("tmp_demo_data.cab"), readFile("tmp_demo_music.cab"),
                                    readFile("tmp_demo_loading.cab"), readFile("tmp_demo_defdata.cab")};
    const std::string shaders = cabinets[QB_CAB_DEFDATA - QB_CAB_DATA];
    const struct {
        const char* what;
        std::vector<int> ids;
        std::string defaults; // in the place of cabinet 503
        std::string usage, err;
    } table[] = {
        {"no 502", {500, 501}, "", "Usage", ""},
        {"no 503", {500, 501, 502}, "", "", "Failed to open default data err=-10\n"},
        {"cut cabinet",
         {500, 501, 502, 503},
         shaders.substr(0, shaders.size() / 2),
         "",
         "Failed to open default data err=74\n"},
    };
    for (const auto& row : table) {
        ASSERT_EQ(qbResourceCopyProgram(QB_PROGRAM, "hall/odd"), 0);
        QbResourceUpdate* update = qbResourceUpdateBegin("hall/odd");
        ASSERT_NE(update, nullptr);
        for (const int id : row.ids) {
            const std::string& data = id == QB_CAB_DEFDATA ? row.defaults : cabinets[id - QB_CAB_DATA];
            EXPECT_EQ(qbResourceUpdatePut(update, "CAB", id, data.data(), data.size()), 0);
        }
        EXPECT_EQ(qbResourceUpdateEnd(update, 0), 0);
        const Result result = play("./odd", NO_DISPLAY); // nor boxes that wait for an answer
        EXPECT_EQ(result.status, 0) << row.what;
        EXPECT_EQ(result.out.substr(0, row.usage.size()), row.usage) << row.what;
        EXPECT_EQ(result.err.empty(), row.err.empty()) << row.what << ": " << result.err;
        EXPECT_NE(result.err.find(row.err), std::string::npos) << row.what << ": " << result.err;
        EXPECT_EQ(extracted(), Names()) << row.what;
    }
    // Cut off, as a copy that was broken off: no show any more, and it says so.
    fs::copy_file("hall/show", "hall/cut");
    fs::resize_file("hall/cut", fs::file_size("hall/cut") - 100);
    const Result cut = play("./cut", NO_DISPLAY);
    EXPECT_EQ(cut.status, 0);
    EXPECT_EQ(cut.out.substr(0, 5), "Usage");
    EXPECT_NE(cut.err.find("cut off"), std::string::npos) << cut.err;
}

// The list of docs/packing.md, between the fences behind "ldd".
TEST(PackedProgramLibraries, AreThoseOfADesktop) {
    std::istringstream text(readFile(QB_SOURCE_DIR "/docs/packing.md"));
    std::vector<std::string> allowed, needed;
    std::string word;
    while (text >> word && word != "```ldd") {
    }
    while (text >> word && word != "```")
        allowed.push_back(word);
    ASSERT_GT(allowed.size(), 20U);
    ASSERT_EQ(std::system("ldd '" QB_PROGRAM "' >ldd.txt"), 0);
    std::istringstream lines(readFile("ldd.txt"));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream(line) >> word;
        needed.push_back(fs::path(word).filename());
    }
    fs::remove("ldd.txt");
    if (std::any_of(needed.begin(), needed.end(), [](const auto& name) { return name.find("libasan") == 0; }))
        GTEST_SKIP() << "a sanitised program needs more";
    for (const std::string& name : needed)
        EXPECT_EQ(std::count(allowed.begin(), allowed.end(), name), 1)
            << name << " is not in docs/packing.md";
}
