#include "shell/program_stage.h"

#include <algorithm>
#include <iterator>
#include <png.h>
#include <set>

namespace fs = std::filesystem;

namespace {

const char NO_DISPLAY[] = "-u DISPLAY";

struct Image {
    int width = 0, height = 0;
    std::vector<uint8_t> rgb;
    uint32_t at(int x, int y) const {
        const uint8_t* p = &rgb[static_cast<size_t>((y * width + x) * 3)];
        return static_cast<uint32_t>(p[0] << 16 | p[1] << 8 | p[2]);
    }
};

Image readPng(const fs::path& path) {
    png_image png = {};
    png.version = PNG_IMAGE_VERSION;
    png_image_begin_read_from_file(&png, path.c_str());
    png.format = PNG_FORMAT_RGB;
    Image image = {static_cast<int>(png.width), static_cast<int>(png.height), {}};
    image.rgb.resize(PNG_IMAGE_SIZE(png));
    png_image_finish_read(&png, nullptr, image.rgb.data(), 0, nullptr);
    return image;
}

// Pictures of a run in the order of their names, without the contact sheet.
std::vector<Image> readPictures() {
    std::set<fs::path> names;
    std::error_code none;
    for (const auto& entry : fs::directory_iterator("shots", none))
        names.insert(entry.path());
    names.erase("shots/contact-sheet.png");
    std::vector<Image> images;
    std::transform(names.begin(), names.end(), std::back_inserter(images), readPng);
    return images;
}

class Viewer : public Program {
protected:
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
};

} // namespace

TEST_F(Program, SaysWhatItLacksAndConvertsWithoutADisplay) {
    // Nothing of boxes that nobody could see.
    const std::string noDisplay =
        "fails to createDevice\n"
        "there is no display: start a desktop session, or set DISPLAY to an X server\n";
    writeBox("box.layer1.x", {1, 0, 0});
    writeScene("box.quab", "box", {0, 0, 0});
    const struct {
        std::string arguments, environment;
        int status;
        std::string out, err;
    } cases[] = {
        {"--help", NO_DISPLAY, 0, "Usage: quab ", ""},
        {"--version", NO_DISPLAY, 0, "quab ", ""},
        {"-binary box.quab", NO_DISPLAY, 255, "", ""},
        {"some.demo.ini", NO_DISPLAY, 255, "", noDisplay},
        {"--unattended", "", 255, "",
         "No file is named, and --unattended asks for none: name a script, a scene or a mesh.\n"},
        {"readme.txt", "", 0, "", ""}, // a window opens and closes
    };
    for (const auto& one : cases) {
        const Result result = run(one.arguments, one.environment);
        EXPECT_EQ(result.status, one.status) << one.arguments;
        EXPECT_EQ(result.out.substr(0, one.out.size()), one.out);
        EXPECT_EQ(result.err, one.err) << one.arguments;
    }
}

TEST_F(Program, PlaysAScriptMadeOnWindows) {
    const fs::path set = "Sz\xC3\xA9ne 1/xport";
    fs::create_directories(set);
    writeBox(set / "Box.Layer1.x", {1, 1, 1});
    writeScene(set / "red.quab", "box", {1, 0, 0});
    writeScene(set / "green.quab", "BOX", {0, 1, 0});
    directory.write(
        "my show.demo.ini",
        "[part.1]\ntime=-2147483648\ntimereset=1\ndirectory=Sz\xC3\xA9ne 1\\XPORT\nfilename=Red.QUAB\n"
        "[part.2]\ntime=800\ntimereset=1\ndirectory=sz\xC3\xA9ne 1/xport\nfilename=green.quab\n"
        "fader.1.time=0\nfader.1.length=5000\nfader.1.fadelength=1\nfader.1.color=0x0000FF\n"
        "[part.3]\ntime=800\ntimereset=1\n");
    const Result result = run("--unattended --pictures=shots 'my show.demo.ini'");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    const std::vector<Image> pictures = readPictures();
    ASSERT_EQ(pictures.size(), 2U);
    EXPECT_EQ(pictures[0].width * 1000 + pictures[0].height, 640480);
    EXPECT_EQ(pictures[0].at(5, 5), 0xFF0000U);
    EXPECT_EQ(pictures[0].at(330, 240), 0xFFFFFFU);
    EXPECT_EQ(pictures[1].at(5, 5), 0x0000FFU); // faded out to blue
    EXPECT_TRUE(fs::exists("shots/contact-sheet.png"));
}

TEST_F(Program, WhatIsMissingIsNamed) {
    writeScene("lonely.quab", "gone", {1, 0, 1});
    directory.write("quab-setup.ini", "[Setup]\ndisplay=1 16384 32\n"); // narrow pictures, too
    directory.write("lonely.demo.ini", "[part.1]\ntime=0\nmusic=gone.mp3\nfilename=lonely.quab\n"
                                       "[part.2]\ntime=600\n");
    const struct {
        const char *file, *message;
        size_t pictures;
    } cases[] = {{"none.demo.ini", "Fail to parse ini", 0},
                 {"lonely.demo.ini", "The object id=1 'gone.layer1.x' cannot be loaded", 1},
                 {"gone.x", "Failed to load object gone.x\n", 0},
                 {"gone.quab", "Failed to load scene", 0}};
    for (const auto& [file, message, pictures] : cases) {
        fs::remove_all("shots");
        const Result result = run(std::string("--unattended --pictures=shots ") + file);
        EXPECT_EQ(result.status, 0) << file;
        EXPECT_NE(result.err.find(message), std::string::npos) << file << ": " << result.err;
        EXPECT_EQ(readPictures().size(), pictures) << file;
    }
}

TEST_F(Viewer, ObeysMouseAndKeys) {
    writeBox("box.layer1.x", {1, 1, 1});
    writeScene("box.quab", "box", {0, 0, 1});
    EXPECT_EQ(run("--unattended --pictures=shots -paused -framestart 25 box.quab").status, 0);
    std::vector<Image> pictures = readPictures();
    ASSERT_EQ(pictures.size(), 4U);
    // Frame 25 stands at 20 units, where the box has its left edge in the middle.
    for (const Image& picture : {pictures[0], pictures[3]}) {
        EXPECT_EQ(picture.at(300, 240), 0x0000FFU);
        EXPECT_EQ(picture.at(340, 240), 0xFFFFFFU);
    }
    EXPECT_EQ(view("-paused box.quab", "").status, 0); // left at once: no picture of the emptied scene
    for (const Image& picture : readPictures())
        EXPECT_EQ(picture.at(320, 240), 0xFFFFFFU);

    for (const std::string keys : {"mousedown 1 sleep 0.3 mousemove 300 260 sleep 0.3 mouseup 1",
                                   "keydown Left sleep 0.5 keyup Left"}) {
        EXPECT_EQ(view("box.layer1.x", keys + " sleep 3.5").status, 0);
        pictures = readPictures();
        ASSERT_EQ(pictures.size(), 4U);
        // Seen from one and a half depths, the near side stands 40 units away: 20 of them are 165 pixels.
        EXPECT_EQ(pictures[0].at(320, 240 - 160), 0xFFFFFFU);
        EXPECT_EQ(pictures[0].at(320, 240 - 170), 0x113366U);
        EXPECT_NE(pictures[0].rgb, pictures[3].rgb) << keys;
    }
}
