// A show in one executable, as its audience starts and ends it.

#include "shell/program_stage.h"

#include <algorithm>
#include <csignal>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;
const Names PLAYING = {"TheDemoExtractDir.2"}; // the tunes are all that lies there while a show plays

const std::string_view
    WHITE_PIXEL("\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR\0\0\0\1\0\0\0\1\x08\2\0\0\0\x90wS\xde\0\0\0\x0c"
                "IDATx\x9c\x63\xf8\xff\xff?\0\5\xfe\2\xfe\x0d\xef\x46\xb8\0\0\0\0IEND\xae\x42\x60\x82",
                69);

class PackedProgram : public Program {
protected:
    void SetUp() override {
        fs::create_directories("show/xport");
        fs::create_directory("temporary");
        writeBox("show/xport/Box.Layer1.x", {1, 1, 1});
        writeScene("show/xport/red.quab", "box", {1, 0, 0});
        directory.write("show/loading.png", WHITE_PIXEL);
        directory.write("show/music/silence.mp3");
        directory.write("hall/quab-setup.ini", "[Setup]\ndisplay=320 240 32\nwindowed=1\n");
        setenv("TMPDIR", (directory.path() + "/temporary").c_str(), 1);
    }
    void TearDown() override { unsetenv("TMPDIR"); }

    void pack(const std::string& target, int length, const std::string& packer = QB_PROGRAM) const {
        directory.write("show/tiny.demo.ini",
                        "[setup]\nmusicdirectory=music\n[part.1]\ntime=0\ntimereset=1\nmusic=silence.mp3\n"
                        "directory=XPORT\nfilename=Red.QUAB\n[part.2]\ntime=" +
                            std::to_string(length) + "\n");
        const std::string command =
            "'" + packer + "' -demoexe " + target + " show/tiny.demo.ini >out.txt 2>err.txt";
        EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 255);
        EXPECT_EQ(readFile("err.txt"), "");
    }
    // Plays to the end, with arguments that nobody looks at.
    static void expectPlays(const std::string& program) {
        const std::string command =
            "cd hall && timeout 60 " + program + " --unattended --help >../out.txt 2>../err.txt";
        EXPECT_EQ(std::system(command.c_str()), 0);
        EXPECT_EQ(readFile("err.txt"), "");
        EXPECT_EQ(readFile("out.txt").find("Usage"), std::string::npos);
    }
    // Starts "hall/show", which returns when it plays.
    static pid_t start() {
        const pid_t process = fork();
        if (process == 0) {
            std::signal(SIGINT, SIG_DFL); // ignored in what a shell starts in the background
            const bool isQuiet = std::freopen("/dev/null", "w", stdout) != nullptr;
            _exit(isQuiet && execl("hall/show", "hall/show", "other.quab", nullptr) == 0 ? 0 : 127);
        }
        for (int i = 0; i < 1200 && extracted() != PLAYING; ++i)
            usleep(50000);
        EXPECT_EQ(extracted(), PLAYING);
        return process;
    }
    static Names extracted() {
        Names names;
        for (const auto& entry : fs::directory_iterator("temporary"))
            names.push_back(entry.path().filename());
        return names;
    }
};

} // namespace

TEST_F(PackedProgram, LeavesNothingBehindHoweverItEnds) {
    pack("hall/show", 600000);
    for (const std::string end : {"xdotool mousemove 100 100 key Escape #", "kill -INT ", "kill -TERM "}) {
        const pid_t show = start();
        int status = -1;
        EXPECT_EQ(std::system((end + std::to_string(show)).c_str()), 0);
        waitpid(show, &status, 0);
        EXPECT_EQ(status, 0) << end;
        EXPECT_EQ(extracted(), Names()) << end;
    }
}

TEST_F(PackedProgram, StillPacksAndConverts) {
    pack("hall/first", 500);
    pack("hall/second", 500, "hall/first"); // in place of what it carries
    EXPECT_EQ(fs::file_size("hall/first"), fs::file_size("hall/second"));
    expectPlays("./second");
    EXPECT_EQ(extracted(), Names());
    EXPECT_EQ(WEXITSTATUS(std::system("env -u DISPLAY hall/first -binary gone.quab 2>err.txt")), 255);
    EXPECT_EQ(readFile("err.txt"), "Failed to load scene\n");
}

// The list of docs/packing.md behind "ldd".
TEST(PackedProgramLibraries, AreThoseOfADesktop) {
    std::string guide = readFile(QB_SOURCE_DIR "/docs/packing.md");
    guide.erase(0, guide.find("```ldd"));
    std::replace(guide.begin(), guide.end(), '\n', ' ');
    const TemporaryDirectory directory;
    ASSERT_EQ(std::system("ldd '" QB_PROGRAM "' | awk '{print $1}' >ldd.txt"), 0);
    if (readFile("ldd.txt").find("libasan") != std::string::npos)
        GTEST_SKIP() << "a sanitised program needs more";
    std::istringstream lines(readFile("ldd.txt"));
    for (std::string line; std::getline(lines, line);) {
        const std::string name = fs::path(line).filename();
        EXPECT_NE(guide.find(' ' + name + ' '), std::string::npos) << name << " is not in docs/packing.md";
    }
}
