#include "scene/export/mesh_shapes.h"
#include "scene/export/quab_writer.h"
#include "scene/export/x_writer.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <png.h>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

struct Result {
    int status = -1;
    std::string out, err;
};

struct Image {
    int width = 0, height = 0;
    std::vector<uint8_t> rgb;
    uint32_t at(int x, int y) const {
        const uint8_t* p = &rgb[static_cast<size_t>((y * width + x) * 3)];
        return static_cast<uint32_t>(p[0] << 16 | p[1] << 8 | p[2]);
    }
};

std::string readFile(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

Image readPng(const fs::path& path) {
    Image image;
    png_image png = {};
    png.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&png, path.c_str()) == 0) return image;
    png.format = PNG_FORMAT_RGB;
    image.width = static_cast<int>(png.width);
    image.height = static_cast<int>(png.height);
    image.rgb.resize(PNG_IMAGE_SIZE(png));
    png_image_finish_read(&png, nullptr, image.rgb.data(), 0, nullptr);
    return image;
}

// Pictures of a run in the order of their names, without the contact sheet.
std::vector<Image> readPictures(const fs::path& directory) {
    std::vector<fs::path> names;
    if (fs::exists(directory)) {
        for (const auto& entry : fs::directory_iterator(directory)) {
            if (entry.path().filename() != "contact-sheet.png") names.push_back(entry.path());
        }
    }
    std::sort(names.begin(), names.end());
    std::vector<Image> images;
    for (const auto& name : names)
        images.push_back(readPng(name));
    return images;
}

class Program : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = fs::temp_directory_path() / "quab-program-XXXXXX";
        root = mkdtemp(pattern.data());
    }
    void TearDown() override { fs::remove_all(root); }

    // Starts the program in `root`; finish() waits for it.
    pid_t start(std::vector<std::string> arguments, bool display = true) const {
        const pid_t child = fork();
        if (child != 0) return child;
        if (chdir(root.c_str()) != 0) _exit(99);
        if (!display) unsetenv("DISPLAY");
        if (freopen("out.txt", "w", stdout) == nullptr || freopen("err.txt", "w", stderr) == nullptr)
            _exit(98);
        std::vector<char*> argv = {const_cast<char*>(QB_PROGRAM)};
        for (std::string& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        execv(QB_PROGRAM, argv.data());
        _exit(97);
    }
    Result finish(pid_t child) const {
        Result result;
        int status = 0;
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (waitpid(child, &status, WNOHANG) == 0) {
            if (std::chrono::steady_clock::now() > end) kill(child, SIGKILL);
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
        result.out = readFile(root / "out.txt");
        result.err = readFile(root / "err.txt");
        return result;
    }
    Result run(const std::vector<std::string>& arguments, bool display = true) const {
        return finish(start(arguments, display));
    }

    static void xdotool(const std::string& command) {
        ASSERT_EQ(std::system(("xdotool " + command + " >/dev/null 2>&1").c_str()), 0) << command;
    }
    // Puts the pointer into the window as well: without a window manager keys go to what lies under it.
    static bool waitForWindow() {
        for (int i = 0; i < 200; ++i) {
            if (std::system(
                    "xdotool search --onlyvisible --name '^Quab$' mousemove 300 200 >/dev/null 2>&1") == 0)
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return false;
    }

    // A box of 40 units in `color`, lit by itself, and a scene that moves it right by 20 units a second for
    // four seconds, before a backdrop of one colour.
    static void writeBox(const fs::path& path, std::array<float, 3> color) {
        QbExportMesh mesh = qbShapeBox({40, 40, 40});
        QbExportMaterial material;
        material.emissive = color;
        mesh.materials.push_back(material);
        std::string error;
        ASSERT_EQ(qbMeshExportSave(mesh, QB_EXPORT_X_TEXT, path, error), 0) << error;
    }
    static void writeScene(const fs::path& path, const std::string& mesh, std::array<float, 3> zenith) {
        QbExportScene scene;
        scene.name = scene.fileName = "box.lws";
        scene.frameEnd = 100;
        scene.backdrop.zenith = zenith;
        QbExportObject& box = scene.objects.emplace_back();
        box.name = mesh + ":Layer1";
        box.fileName = mesh + ".lwo";
        qbExportPositionBySeconds(scene, box.motion, [](double seconds) {
            return std::array<float, 3>{static_cast<float>(20 * seconds), 0, 0};
        });
        QbExportCamera& camera = scene.cameras.emplace_back();
        camera.name = "Camera";
        qbExportSetPosition(camera.motion, {0, 0, -150});
        std::string error;
        ASSERT_EQ(qbSceneExportSave(scene, path, error), 0) << error;
    }
    void writeText(const fs::path& name, const std::string& text) const {
        std::ofstream(root / name) << text;
    }

    fs::path root;
};

} // namespace

TEST_F(Program, SaysWhatItIsWithoutAWindow) {
    const Result help = run({"--help"}, false);
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("-framestart <frame>"), std::string::npos);
    const Result version = run({"--version"}, false);
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out.substr(0, 5), "quab ");
}

TEST_F(Program, ConvertsWithoutADisplay) {
    writeBox(root / "box.layer1.x", {1, 0, 0});
    writeScene(root / "box.quab", "box", {0, 0, 0});
    const Result good = run({"-binary", "box.quab"}, false);
    EXPECT_EQ(good.status, 255);
    EXPECT_EQ(good.err, "");
    const Result missing = run({"-binary", "gone.quab"}, false);
    EXPECT_EQ(missing.status, 255);
    EXPECT_NE(missing.err.find("Failed to load scene"), std::string::npos);
}

TEST_F(Program, WithoutADisplayItSaysSoAndEnds) {
    for (const char* file : {"some.demo.ini", "some.quab", "some.x"}) {
        const Result result = run({file}, false);
        EXPECT_EQ(result.status, 255) << file;
        // Nothing of boxes that nobody could see.
        EXPECT_EQ(result.err,
                  "fails to createDevice\n"
                  "there is no display: start a desktop session, or set DISPLAY to an X server\n");
    }
    EXPECT_EQ(run({}, false).status, 255); // no file, and nobody to ask
}

TEST_F(Program, UnattendedItAsksForNothing) {
    const Result result = run({"--unattended"});
    EXPECT_EQ(result.status, 255);
    EXPECT_EQ(result.err,
              "No file is named, and --unattended asks for none: name a script, a scene or a mesh.\n");
}

TEST_F(Program, AnUnknownNameOpensAndClosesAWindow) {
    EXPECT_EQ(run({"readme.txt"}).status, 0);
}

TEST_F(Program, PlaysAScriptMadeOnWindows) {
    const fs::path set = root / "Sz\xC3\xA9ne 1" / "xport";
    fs::create_directories(set);
    writeBox(set / "Box.Layer1.x", {1, 1, 1});
    writeScene(set / "red.quab", "box", {1, 0, 0});
    writeScene(set / "green.quab", "BOX", {0, 1, 0});
    writeText("my show.demo.ini",
              "[part.1]\ntime=0\ntimereset=1\ndirectory=Sz\xC3\xA9ne 1\\XPORT\nfilename=Red.QUAB\n"
              "[part.2]\ntime=800\ntimereset=1\ndirectory=sz\xC3\xA9ne 1/xport\nfilename=green.quab\n"
              "fader.1.time=0\nfader.1.length=5000\nfader.1.fadelength=1\nfader.1.color=0x0000FF\n"
              "[part.3]\ntime=800\ntimereset=1\n");
    const Result result = run({"--unattended", "--pictures=shots", "my show.demo.ini"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    const std::vector<Image> pictures = readPictures(root / "shots");
    ASSERT_EQ(pictures.size(), 2U);
    EXPECT_EQ(pictures[0].width, 640);
    EXPECT_EQ(pictures[0].height, 480);
    EXPECT_EQ(pictures[0].at(5, 5), 0xFF0000U);
    EXPECT_EQ(pictures[0].at(330, 240), 0xFFFFFFU);
    EXPECT_EQ(pictures[1].at(5, 5), 0x0000FFU); // faded out to blue
    EXPECT_TRUE(fs::exists(root / "shots" / "contact-sheet.png"));
}

TEST_F(Program, TakesPicturesOfAPartThatBeganLongAgo) {
    writeText("long.demo.ini", "[part.1]\ntime=-2147483648\n[part.2]\ntime=300\n");
    const Result result = run({"--unattended", "--pictures=shots", "long.demo.ini"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(readPictures(root / "shots").size(), 1U);
    EXPECT_NE(result.out.find(" at 21474"), std::string::npos) << result.out;
}

TEST_F(Program, ANarrowWindowHasAContactSheetToo) {
    writeText("quab-setup.ini", "[Setup]\ndisplay=1 16384 32\n");
    writeText("a.demo.ini", "[part.1]\ntime=0\n[part.2]\ntime=300\n");
    EXPECT_EQ(run({"--unattended", "--pictures=shots", "a.demo.ini"}).status, 0);
    EXPECT_EQ(readPng(root / "shots" / "contact-sheet.png").height, 8 + 1280 + 8);
}

TEST_F(Program, WhatIsMissingIsNamed) {
    writeScene(root / "lonely.quab", "gone", {1, 0, 1});
    writeText("scene.demo.ini", "[part.1]\ntime=0\nfilename=gone.quab\n[part.2]\ntime=600\n");
    writeText("mesh.demo.ini",
              "[setup]\nmusicdirectory=.\n[part.1]\ntime=0\nfilename=lonely.quab\nmusic=gone.mp3\n"
              "[part.2]\ntime=600\n");
    const struct {
        const char* script;
        const char* message;
        size_t pictures;
    } cases[] = {{"gone.demo.ini", "Fail to parse ini", 0},
                 {"scene.demo.ini", "Fail to load scene gone.quab", 0},
                 {"mesh.demo.ini", "The object id=1 'gone.layer1.x' cannot be loaded", 1}};
    for (const auto& item : cases) {
        const Result result = run({"--unattended", "--pictures=shots", item.script});
        EXPECT_EQ(result.status, 0) << item.script;
        EXPECT_NE(result.err.find(item.message), std::string::npos) << item.script << ": " << result.err;
        EXPECT_EQ(readPictures(root / "shots").size(), item.pictures) << item.script;
    }
    const Result mesh = run({"--unattended", "gone.x"});
    EXPECT_NE(mesh.err.find("Failed to load object gone.x\n"), std::string::npos);
    const Result scene = run({"--unattended", "gone.quab"});
    EXPECT_NE(scene.err.find("Failed to load scene"), std::string::npos);
}

TEST_F(Program, SceneViewerObeysItsKeys) {
    writeBox(root / "box.layer1.x", {1, 1, 1});
    writeScene(root / "box.quab", "box", {0, 0, 1});
    const pid_t child = start({"--pictures=shots", "-paused", "-framestart", "25", "box.quab"});
    ASSERT_TRUE(waitForWindow());
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    xdotool("keydown shift keydown Right");
    std::this_thread::sleep_for(std::chrono::milliseconds(4000));
    xdotool("keyup Right keyup shift key Escape");
    const Result result = finish(child);
    EXPECT_EQ(result.status, 0) << result.err;
    const std::vector<Image> pictures = readPictures(root / "shots");
    ASSERT_EQ(pictures.size(), 4U);
    // Frame 25 stands at 20 units; the end of the scene at 80, where the box has left the middle.
    EXPECT_EQ(pictures[0].at(345, 240), 0xFFFFFFU);
    EXPECT_EQ(pictures[3].at(345, 240), 0x0000FFU);
}

TEST_F(Program, TakesNoPictureOfAnEmptiedScene) {
    writeBox(root / "box.layer1.x", {1, 1, 1});
    writeScene(root / "box.quab", "box", {0, 0, 1});
    const pid_t child = start({"--pictures=shots", "-paused", "box.quab"});
    ASSERT_TRUE(waitForWindow());
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    xdotool("key Escape");
    EXPECT_EQ(finish(child).status, 0);
    const std::vector<Image> pictures = readPictures(root / "shots");
    EXPECT_FALSE(pictures.empty());
    for (const Image& picture : pictures)
        EXPECT_EQ(picture.at(320, 240), 0xFFFFFFU);
}

TEST_F(Program, ObjectViewerTurnsByMouseAndKeys) {
    // A flat slab, seen from its side: turned, it covers more or less of the picture.
    QbExportMesh mesh = qbShapeBox({100, 4, 20});
    mesh.materials.emplace_back();
    mesh.materials[0].emissive = {1, 1, 1};
    std::string error;
    ASSERT_EQ(qbMeshExportSave(mesh, QB_EXPORT_X_BINARY, root / "slab.x", error), 0) << error;
    for (const bool byMouse : {true, false}) {
        const pid_t child = start({"--pictures=shots", "slab.x"});
        ASSERT_TRUE(waitForWindow());
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        if (byMouse)
            xdotool("mousemove 300 200 mousedown 1 sleep 0.3 mousemove 300 260 sleep 0.3 mouseup 1");
        else
            xdotool("keydown Left sleep 0.5 keyup Left");
        std::this_thread::sleep_for(std::chrono::milliseconds(3500));
        xdotool("key Escape");
        const Result result = finish(child);
        const std::vector<Image> pictures = readPictures(root / "shots");
        EXPECT_EQ(result.status, 0) << result.err;
        ASSERT_EQ(pictures.size(), 4U);
        EXPECT_NE(pictures[0].rgb, pictures[3].rgb) << (byMouse ? "mouse" : "keys");
        fs::remove_all(root / "shots");
    }
}
