#include "demo/load.h"

#include "demo/fakes.h"
#include "platform/process.h"
#include "support/messages.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>
#include <memory>
#include <unistd.h>

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
        messages.texts().assign(1, "");
        return qbDemoLoad(demo.get(), "SHOW\\a.demo.ini", shadersEnabled);
    }
    TemporaryDirectory directory;
    Messages messages;
    std::unique_ptr<QbDemo> demo = std::make_unique<QbDemo>();
};

} // namespace

TEST_F(Load, TakesTheStepsInTheirOrder) {
    ASSERT_EQ(load("[setup]\nmusicdirectory=tunes\npalettedirectory=pal\nshadersdirectory=fx\n"
                   "[part.1]\nmusic=a.mp3\npalette=p\ndirectory=xport\nfilename=a.quab\nreuseobjects=4\n"
                   "extra.1.directory=other dir\nextra.1.filename=x.quab\nshader.1.name=blur.hlsl\n"
                   "[part.2]\nmusic=a.mp3\npalette=q\npalette.r=5\n"
                   "extra.1.directory=xport\nextra.1.filename=\nextra.2.directory=\nextra.2.filename=y\n",
                   1),
              0);
    // The same file twice is two tunes.
    EXPECT_EQ(takeCalls(),
              "reportLoadErrors 1; loadingOpen; musicLoad tunes/a.mp3 1; musicExists 1; "
              "musicLoad tunes/a.mp3 2; musicExists 2; paletteLoad pal/p 1; paletteExists 1; "
              "paletteEntry 1 -1 -1; paletteLoad pal/q 2; paletteExists 2; shadersInit fx; progress 0; "
              "sceneLoad a.quab 0 1 0 0 4 \"xport\" 0 in xport; "
              "sceneLoad x.quab 1 4 2 1 0 \"other dir\" 1 in Other Dir; progress 50; "
              "sceneLoad y 2 7 4 2 0 \"\" 1 in show; "
              "shaderLoad fx/blur.hlsl 1; cameraShadersEnable; loadingClose");
    EXPECT_EQ(std::filesystem::current_path(), directory.path() + "/show");
    const QbDemoPart& part = demo->parts[0];
    const QbDemoExtra& extra = part.extras[0];
    using Ids = std::vector<int>;
    EXPECT_EQ((Ids{part.musicId, part.paletteId, part.sceneSlot, part.firstObject, part.shaders[0].shaderId}),
              (Ids{1, 1, 0, 1, 1}));
    EXPECT_EQ((Ids{extra.sceneSlot, extra.firstObject, extra.firstLight, extra.firstEmitter}),
              (Ids{1, 4, 2, 1}));
    EXPECT_EQ(demo->parts[1].sceneSlot, -1);

    qbDemoFree(demo.get());
    EXPECT_EQ(takeCalls(),
              "musicFree 1; musicFree 2; paletteFree 1; paletteFree 2; sceneFree 0; sceneFree 1; "
              "sceneFree 2; cameraShadersDisable; shaderFree 1");
    qbDemoFree(demo.get()); // nothing twice
    EXPECT_EQ(takeCalls(), "cameraShadersDisable");
}

TEST_F(Load, ReportsWhatFailsAndGoesOnWithoutShaders) {
    const struct {
        const char *call, *message, *released;
    } cases[] = {
        {"musicExists 2", "Fail to load music b.mp3", "musicFree 1"},
        {"paletteExists", "Fail to load palette p", "musicFree 1; musicFree 2"},
        {"shadersInit", "Failed to init shaders !",
         "musicFree 1; musicFree 2; paletteFree 1; cameraShadersDisable"},
        {"sceneLoad s", "Fail to load scene s",
         "musicFree 1; musicFree 2; paletteFree 1; cameraShadersDisable"},
        {"sceneLoad y",
         "There is no directory Nowhere for the scene y: correct it in the script\n"
         "Fail to load in scene s the extra id=1 y",
         "musicFree 1; musicFree 2; paletteFree 1; sceneFree 0; sceneFree 1; cameraShadersDisable"},
        {"shaderLoad ./n", "Failed to load shader ./n", "*"},
        {"cameraShadersEnable", "Failed to enable camera shaders", "*"},
    };
    const std::string script = "[part]\nmusic=a.mp3\nfilename=s\nextra.1.directory=\nextra.1.filename=x\n"
                               "extra.2.directory=Nowhere\nextra.2.filename=y\nshader.1.name=n\n"
                               "[part2]\nmusic=b.mp3\npalette=p\n";
    for (const auto& [call, message, released] : cases) {
        fakes.failing = call;
        EXPECT_EQ(load(script, 1), *released == '*' ? 0 : -1);
        std::string told;
        for (const std::string& text : messages.texts())
            told += (told.empty() ? "" : "\n") + text;
        EXPECT_EQ(told, message);
        takeCalls();
        qbDemoFree(demo.get());
        EXPECT_TRUE(takeCalls() == released || *released == '*') << call;
    }
}

TEST_F(Load, StopsAheadOfTheNextSceneWhenTheProcessIsAskedToEnd) {
    for (const char* last : {"sceneLoad a", "sceneLoad x", "sceneLoad y"}) {
        const auto part = [&] {
            qbProcessCatchEnd();
            fakes.ending = last;
            const int result = load("[part]\nfilename=a\nextra.1.directory=\nextra.1.filename=x\n"
                                    "[part2]\nfilename=y\nextra.1.directory=\nextra.1.filename=z\n");
            const std::string calls = takeCalls({"sceneLoad"});
            const bool stopped = calls.substr(calls.rfind("sceneLoad")).starts_with(last);
            _exit(result == -1 && stopped && messages.texts().size() == 1 ? 0 : 1);
        };
        EXPECT_EXIT(part(), testing::ExitedWithCode(0), "") << last;
    }
}

TEST_F(Load, SharesShadersByName) {
    const std::string script = "[part]\nshader.1.name=Blur.hlsl\nshader.2.name=x\n"
                               "[part2]\nshader.1.name=blur.HLSL\nshader.2.name=blur\n";
    ASSERT_EQ(load(script, 1), 0);
    EXPECT_EQ(takeCalls({"shaderLoad"}), "shaderLoad ./Blur.hlsl 1; shaderLoad ./x 2; shaderLoad ./blur 3");
    EXPECT_EQ(demo->parts[1].shaders[0].shaderId, 1);
    EXPECT_EQ(demo->parts[1].shaders[1].shaderId, 3);
    ASSERT_EQ(load(script, 0), 0);
    EXPECT_EQ(takeCalls({"shader", "cameraShaders"}), ""); // switched off
    EXPECT_EQ(demo->parts[0].shaders[0].shaderId, -1);
}
