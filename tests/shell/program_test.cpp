#include "scene/export/mesh_shapes.h"
#include "scene/export/quab_writer.h"
#include "scene/export/x_writer.h"
#include "support/temporary_directory.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <png.h>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

const char NO_DISPLAY[] = "-u DISPLAY";

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
std::vector<Image> readPictures() {
    std::map<fs::path, Image> images;
    std::error_code none;
    for (const auto& entry : fs::directory_iterator("shots", none)) {
        if (entry.path().filename() != "contact-sheet.png") images[entry.path()] = readPng(entry.path());
    }
    std::vector<Image> inOrder;
    for (auto& [name, image] : images)
        inOrder.push_back(std::move(image));
    return inOrder;
}

class Program : public testing::Test {
protected:
    // Runs the program as a shell does; `meanwhile` is a command beside it.
    static Result run(const std::string& arguments, const char* environment = "",
                      const std::string& meanwhile = "") {
        const std::string command = meanwhile + "env " + environment + " timeout 60 '" QB_PROGRAM "' " +
                                    arguments + " >out.txt 2>err.txt";
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readFile("out.txt"), readFile("err.txt")};
    }

    // Shows a scene or a mesh with pictures, gives it keys (as xdotool takes them) and leaves it.
    static Result view(const std::string& arguments, const std::string& keys) {
        fs::remove_all("shots");
        // The pointer has to be in the window: without a window manager keys go to what lies under it.
        return run("--pictures=shots " + arguments, "",
                   "{ for i in $(seq 200); do"
                   "  xdotool search --onlyvisible --name '^Quab$' mousemove 300 200 && break; sleep 0.05;"
                   "  done; sleep 0.5; xdotool " +
                       keys + " key Escape; } >keys.txt 2>&1 & ");
    }

    // A box of 40 units in `color`, lit by itself, and a scene that moves it right by 20 units a second for
    // four seconds, before a backdrop of one colour.
    static void writeBox(const fs::path& path, std::array<float, 3> color, const char* texture = "") {
        QbExportMesh mesh = qbShapeBox({40, 40, 40});
        QbExportMaterial material;
        material.emissive = color;
        material.textureFileName = texture;
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

    TemporaryDirectory directory; // where the program runs
};

} // namespace

TEST_F(Program, WithoutADisplayItConvertsAndSaysWhatItIs) {
    const Result help = run("--help", NO_DISPLAY);
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("-framestart <frame>"), std::string::npos);
    const Result version = run("--version", NO_DISPLAY);
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out.substr(0, 5), "quab ");

    writeBox("box.layer1.x", {1, 0, 0});
    writeScene("box.quab", "box", {0, 0, 0});
    const Result good = run("-binary box.quab", NO_DISPLAY);
    EXPECT_EQ(good.status, 255);
    EXPECT_EQ(good.err, "");
    const Result missing = run("-binary gone.quab", NO_DISPLAY);
    EXPECT_EQ(missing.status, 255);
    EXPECT_NE(missing.err.find("Failed to load scene"), std::string::npos);
}

TEST_F(Program, SaysWhatItLacksAndEnds) {
    // Nothing of boxes that nobody could see.
    const std::string noDisplay =
        "fails to createDevice\n"
        "there is no display: start a desktop session, or set DISPLAY to an X server\n";
    for (const char* file : {"some.demo.ini", "some.quab", "some.x"}) {
        const Result result = run(file, NO_DISPLAY);
        EXPECT_EQ(result.status, 255) << file;
        EXPECT_EQ(result.err, noDisplay) << file;
    }
    EXPECT_EQ(run("", NO_DISPLAY).status, 255); // no file, and nobody to ask
    const Result unattended = run("--unattended");
    EXPECT_EQ(unattended.status, 255);
    EXPECT_EQ(unattended.err,
              "No file is named, and --unattended asks for none: name a script, a scene or a mesh.\n");
    EXPECT_EQ(run("readme.txt").status, 0); // a window opens and closes
}

TEST_F(Program, PlaysAScriptMadeOnWindows) {
    const fs::path set = "Sz\xC3\xA9ne 1/xport";
    fs::create_directories(set);
    writeBox(set / "Box.Layer1.x", {1, 1, 1});
    writeScene(set / "red.quab", "box", {1, 0, 0});
    writeScene(set / "green.quab", "BOX", {0, 1, 0});
    directory.write("my show.demo.ini",
                    "[part.1]\ntime=0\ntimereset=1\ndirectory=Sz\xC3\xA9ne 1\\XPORT\nfilename=Red.QUAB\n"
                    "[part.2]\ntime=800\ntimereset=1\ndirectory=sz\xC3\xA9ne 1/xport\nfilename=green.quab\n"
                    "fader.1.time=0\nfader.1.length=5000\nfader.1.fadelength=1\nfader.1.color=0x0000FF\n"
                    "[part.3]\ntime=800\ntimereset=1\n");
    const Result result = run("--unattended --pictures=shots 'my show.demo.ini'");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    const std::vector<Image> pictures = readPictures();
    ASSERT_EQ(pictures.size(), 2U);
    EXPECT_EQ(pictures[0].width, 640);
    EXPECT_EQ(pictures[0].height, 480);
    EXPECT_EQ(pictures[0].at(5, 5), 0xFF0000U);
    EXPECT_EQ(pictures[0].at(330, 240), 0xFFFFFFU);
    EXPECT_EQ(pictures[1].at(5, 5), 0x0000FFU); // faded out to blue
    EXPECT_TRUE(fs::exists("shots/contact-sheet.png"));
}

TEST_F(Program, TakesPicturesOfAPartThatBeganLongAgoInANarrowWindow) {
    directory.write("quab-setup.ini", "[Setup]\ndisplay=1 16384 32\n");
    directory.write("long.demo.ini", "[part.1]\ntime=-2147483648\n[part.2]\ntime=300\n");
    const Result result = run("--unattended --pictures=shots long.demo.ini");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(readPictures().size(), 1U);
    EXPECT_NE(result.out.find(" at 21474"), std::string::npos) << result.out;
    EXPECT_EQ(readPng("shots/contact-sheet.png").height, 8 + 1280 + 8);
}

TEST_F(Program, WhatIsMissingIsNamed) {
    writeScene("lonely.quab", "gone", {1, 0, 1});
    writeBox("bare.layer1.x", {1, 1, 1}, "gone.png");
    writeScene("bare.quab", "bare", {1, 0, 1});
    directory.write("image.demo.ini", "[part.1]\ntime=0\nfilename=bare.quab\n[part.2]\ntime=600\n");
    directory.write("scene.demo.ini", "[part.1]\ntime=0\nfilename=gone.quab\n[part.2]\ntime=600\n");
    directory.write("mesh.demo.ini",
                    "[setup]\nmusicdirectory=.\n[part.1]\ntime=0\nfilename=lonely.quab\nmusic=gone.mp3\n"
                    "[part.2]\ntime=600\n");
    const struct {
        const char *file, *message;
        size_t pictures;
    } cases[] = {{"gone.demo.ini", "Fail to parse ini", 0},
                 {"scene.demo.ini", "Fail to load scene gone.quab", 0},
                 {"mesh.demo.ini", "The object id=1 'gone.layer1.x' cannot be loaded", 1},
                 {"image.demo.ini", "gone.png", 1},
                 {"gone.x", "Failed to load object gone.x\n", 0},
                 {"gone.quab", "Failed to load scene", 0}};
    for (const auto& item : cases) {
        fs::remove_all("shots");
        const Result result = run(std::string("--unattended --pictures=shots ") + item.file);
        EXPECT_EQ(result.status, 0) << item.file;
        // The engine says on the standard output which image it could not load.
        const std::string said = result.err + result.out;
        EXPECT_NE(said.find(item.message), std::string::npos) << item.file << ": " << said;
        EXPECT_EQ(readPictures().size(), item.pictures) << item.file;
    }
}

TEST_F(Program, SceneViewerObeysItsKeys) {
    writeBox("box.layer1.x", {1, 1, 1});
    writeScene("box.quab", "box", {0, 0, 1});
    const Result result = view("-paused -framestart 25 box.quab",
                               "keydown shift keydown Right sleep 4 keyup Right keyup shift");
    EXPECT_EQ(result.status, 0) << result.err;
    std::vector<Image> pictures = readPictures();
    ASSERT_EQ(pictures.size(), 4U);
    // Frame 25 stands at 20 units; the end of the scene at 80, where the box has left the middle.
    EXPECT_EQ(pictures[0].at(345, 240), 0xFFFFFFU);
    EXPECT_EQ(pictures[3].at(345, 240), 0x0000FFU);

    EXPECT_EQ(view("-paused box.quab", "").status, 0); // left at once: no picture of the emptied scene
    pictures = readPictures();
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
    ASSERT_EQ(qbMeshExportSave(mesh, QB_EXPORT_X_BINARY, "slab.x", error), 0) << error;
    for (const std::string keys : {"mousedown 1 sleep 0.3 mousemove 300 260 sleep 0.3 mouseup 1",
                                   "keydown Left sleep 0.5 keyup Left"}) {
        const Result result = view("slab.x", keys + " sleep 3.5");
        const std::vector<Image> pictures = readPictures();
        EXPECT_EQ(result.status, 0) << result.err;
        ASSERT_EQ(pictures.size(), 4U);
        EXPECT_NE(pictures[0].rgb, pictures[3].rgb) << keys;
    }
}
