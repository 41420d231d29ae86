#include "demo/load.h"

#include "demo/fakes.h"
#include "demo/player.h"
#include "support/messages.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

class Load : public testing::Test {
protected:
    void SetUp() override {
        fakes = {};
        directory.write("show/xport/here");
        directory.write("show/Other Dir/here");
    }
    int load(const std::string& text, int shadersEnabled = 0) {
        directory.write("show/a.demo.ini", text);
        std::filesystem::current_path(directory.path());
        return qbDemoLoad(demo.get(), "SHOW\\a.demo.ini", shadersEnabled);
    }
    std::string message() const {
        return messages.texts().size() == 1 ? messages.texts()[0] : "none or many";
    }

    TemporaryDirectory directory;
    Messages messages;
    std::unique_ptr<QbDemo> demo = std::make_unique<QbDemo>();
};

using Ids = std::vector<int>;

// Parts with one key each, of the values "x0", "x1" and so on.
std::string parts(int count, const std::string& key) {
    std::string text;
    for (int index = 0; index < count; index++)
        text += "[part." + std::to_string(index) + "]\n" + key + "=x" + std::to_string(index) + "\n";
    return text;
}

} // namespace

TEST_F(Load, TakesTheStepsInTheirOrder) {
    ASSERT_EQ(load("[setup]\nmusicdirectory=tunes\npalettedirectory=pal\nshadersdirectory=fx\n"
                   "[part.1]\nmusic=a.mp3\npalette=p\ndirectory=xport\nfilename=a.quab\nreuseobjects=4\n"
                   "extra.1.directory=other dir\nextra.1.filename=x.quab\nshader.1.name=blur.hlsl\n"
                   "[part.2]\nmusic=a.mp3\n",
                   1),
              0);
    EXPECT_EQ(takeCalls(), "reportLoadErrors 1; loadingOpen; musicLoad tunes/a.mp3 1; musicExists 1; "
                           "musicLoad tunes/a.mp3 2; musicExists 2; paletteLoad pal/p 1; paletteExists 1; "
                           "paletteEntry 1 -1 -1; shadersInit fx; progress 0; "
                           "sceneLoad a.quab 0 1 0 0 4 \"xport\" 0 in xport; "
                           "sceneLoad x.quab 1 4 2 1 0 \"other dir\" 1 in Other Dir; progress 50; "
                           "shaderLoad fx/blur.hlsl 1; cameraShadersEnable; loadingClose");
    EXPECT_EQ(std::filesystem::current_path(), directory.path() + "/show");
    const QbDemoPart* parts = demo->parts;
    const QbDemoExtra& extra = parts[0].extras[0];
    EXPECT_EQ((Ids{parts[0].musicId, parts[0].paletteId, parts[0].sceneSlot, parts[0].firstObject}),
              (Ids{1, 1, 0, 1}));
    EXPECT_EQ((Ids{extra.sceneSlot, extra.firstObject, extra.firstLight, extra.firstEmitter}),
              (Ids{1, 4, 2, 1}));
    EXPECT_EQ(parts[0].shaders[0].shaderId, 1);
    // The same file twice is two tunes.
    EXPECT_EQ((Ids{parts[1].musicId, parts[1].paletteId, parts[1].sceneSlot, parts[1].firstObject}),
              (Ids{2, -1, -1, -1}));

    qbDemoFree(demo.get());
    EXPECT_EQ(takeCalls(), "musicFree 1; musicFree 2; paletteFree 1; sceneFree 0; sceneFree 1; "
                           "cameraShadersDisable; shaderFree 1");
    qbDemoFree(demo.get()); // nothing twice
    EXPECT_EQ(takeCalls(), "cameraShadersDisable");
}

TEST_F(Load, APartWithoutASceneStillHasItsExtras) {
    ASSERT_EQ(
        load("[part]\nextra.1.directory=\nextra.1.filename=x\nextra.2.directory=xport\nextra.2.filename=\n"
             "[part.2]\nfilename=b\n"),
        0);
    EXPECT_EQ(takeCalls({"sceneLoad"}),
              "sceneLoad x 0 1 0 0 0 \"\" 1 in show; sceneLoad b 1 4 2 1 0 \"\" 0 in show");
    EXPECT_EQ(demo->parts[0].sceneSlot, -1);
    EXPECT_EQ(demo->parts[0].extras[1].sceneSlot, -1);
}

TEST_F(Load, SetsEveryPaletteEntryButTheRedOne) {
    ASSERT_EQ(load("[part1]\npalette=a\npalette.r=5\n[part2]\npalette=b\npalette.b=6\n[part3]\npalette=c\n"),
              0);
    EXPECT_EQ(takeCalls({"paletteEntry"}), "paletteEntry 2 2 6; paletteEntry 3 -1 -1");
}

TEST_F(Load, ShowsItsProgress) {
    ASSERT_EQ(load(parts(5, "filename")), 0);
    EXPECT_EQ(takeCalls({"progress"}), "progress 0; progress 20; progress 40; progress 60; progress 80");
}

TEST_F(Load, HoldsSixtyScenes) {
    ASSERT_EQ(load(parts(60, "filename")), 0);
    EXPECT_EQ(demo->parts[59].sceneSlot, 59);
    EXPECT_EQ(demo->parts[59].firstObject, 1 + 59 * 3);
    EXPECT_EQ(load(parts(61, "filename")), -1);
    EXPECT_EQ(message(), "Fail to load scene x60");
    EXPECT_EQ(takeCalls({"loadingClose", "sceneFree"}), "loadingClose"); // of the first load alone
    qbDemoFree(demo.get());
    EXPECT_EQ(fakes.calls.size(), 60U);
    EXPECT_EQ(fakes.calls.back(), "sceneFree 59");
}

TEST_F(Load, ReportsWhatFails) {
    const struct {
        const char *call, *message, *released;
    } cases[] = {
        {"musicExists 2", "Fail to load music b.mp3", "musicFree 1"},
        {"paletteExists", "Fail to load palette p", "musicFree 1; musicFree 2"},
        {"shadersInit", "Failed to init shaders !",
         "musicFree 1; musicFree 2; paletteFree 1; cameraShadersDisable"},
        {"sceneLoad y", "Fail to load in scene s the extra id=1 y",
         "musicFree 1; musicFree 2; paletteFree 1; sceneFree 0; sceneFree 1; cameraShadersDisable"},
    };
    for (const auto& c : cases) {
        fakes.failing = c.call;
        messages.texts().clear();
        EXPECT_EQ(
            load("[part]\nmusic=a.mp3\nfilename=s\nextra.1.directory=\nextra.1.filename=x\n"
                 "extra.2.directory=\nextra.2.filename=y\nshader.1.name=n\n[part2]\nmusic=b.mp3\npalette=p\n",
                 1),
            -1);
        EXPECT_EQ(message(), c.message);
        takeCalls();
        qbDemoFree(demo.get());
        EXPECT_EQ(takeCalls(), c.released) << c.call;
    }
}

TEST_F(Load, GoesOnWithoutItsShaders) {
    for (const auto& [call, text] : {std::pair("shaderLoad ./b", "Failed to load shader ./b"),
                                     std::pair("cameraShadersEnable", "Failed to enable camera shaders")}) {
        fakes.failing = call;
        messages.texts().clear();
        EXPECT_EQ(load("[part]\nshader.1.name=a\nshader.2.name=b\n", 1), 0);
        EXPECT_EQ(message(), text);
        EXPECT_EQ(fakes.calls.back(), "loadingClose");
    }
}

TEST_F(Load, SharesShadersByName) {
    ASSERT_EQ(load("[part]\nshader.1.name=Blur.hlsl\nshader.2.name=x\n[part2]\nshader.1.name=blur.HLSL\n"
                   "shader.2.name=blur\n",
                   1),
              0);
    EXPECT_EQ(takeCalls({"shaderLoad"}), "shaderLoad ./Blur.hlsl 1; shaderLoad ./x 2; shaderLoad ./blur 3");
    EXPECT_EQ(demo->parts[0].shaders[0].shaderId, 1);
    EXPECT_EQ(demo->parts[1].shaders[0].shaderId, 1);
    EXPECT_EQ(demo->parts[1].shaders[1].shaderId, 3);
    qbDemoFreeShaders(demo.get());
    EXPECT_EQ(takeCalls(), "cameraShadersDisable; shaderFree 1; shaderFree 2; shaderFree 1; shaderFree 3");

    ASSERT_EQ(load("[part]\nshader.1.name=Blur.hlsl\n", 0), 0);
    EXPECT_EQ(takeCalls({"shader", "cameraShaders"}), ""); // switched off
    EXPECT_EQ(demo->parts[0].shaders[0].shaderId, -1);
}

TEST_F(Load, HoldsFortyNineTunes) {
    ASSERT_EQ(load(parts(49, "music")), 0); // ids 1 to 49, beside the script
    EXPECT_EQ(takeCalls({"musicLoad"}).substr(0, 34), "musicLoad ./x0 1; musicLoad ./x1 2");
    EXPECT_EQ(load(parts(50, "music")), -1);
    EXPECT_EQ(message(), "Fail to load music x49");
    takeCalls();
    qbDemoFree(demo.get());
    EXPECT_EQ(fakes.calls.size(), 49U);
}

TEST_F(Load, RunLoadsPlaysAndFrees) {
    directory.write("show/a.demo.ini", "[part]\nfilename=s\ntime=0\n[part2]\ntime=100\n");
    fakes.frames = {0, 100};
    EXPECT_EQ(qbDemoRun("show/a.demo.ini", 0), 0);
    EXPECT_EQ(takeCalls({"sceneLoad", "loadingClose", "sleep", "update", "draw", "sceneFree"}),
              "sceneLoad s 0 1 0 0 0 \"\" 0 in show; loadingClose; sleep 500; update 0 0; draw; sceneFree 0");

    EXPECT_EQ(qbDemoRun("missing.demo.ini", 1), -1);
    EXPECT_EQ(message(), "Fail to parse ini");
    EXPECT_EQ(takeCalls(), "");
    EXPECT_EQ(qbDemoRun("a.demo.ini", 0), 0);
    fakes.failing = "sceneLoad";
    takeCalls();
    EXPECT_EQ(qbDemoRun("a.demo.ini", 0), -1);
    EXPECT_EQ(takeCalls({"sleep", "draw", "sceneFree"}), "");
}
