#include "shell/setup.h"

#include "engine/engine.h"
#include "platform/dialog/dialog.h"
#include "platform/process.h"
#include "support/fake.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

namespace {

QbSetup opened; // what the engine was asked for
int engineResult, dialogResult;

class Setup : public testing::Test {
protected:
    void SetUp() override { engineResult = dialogResult = 0; }
    // What the engine is asked for after a setup file of this text, without one for null.
    static std::string asked(const char* text, int allowDialog = 0, int ride = -1) {
        std::filesystem::remove("quab-setup.ini");
        if (text) std::ofstream("quab-setup.ini") << "[Setup]\n" << text << "\n";
        EXPECT_EQ(qbSetupOpen("quab-setup.ini", allowDialog, ride), 0);
        const QbSetup& o = opened;
        return callText("", o.width, o.height, o.bits, "w", o.windowed, "v", o.vsync, "m", o.hideMouse, "f",
                        o.fps, "a", o.antialias, "l", o.lightPrePass, "r", o.ride, "c", o.cameraNear,
                        o.cameraFar, "s", qbSetupShaders());
    }
    TemporaryDirectory directory;
};

} // namespace

int qbEngineOpen(const QbSetup* setup) {
    opened = *setup;
    return engineResult;
}
int qbSetupDialog(int* width, int* height, int* bits, int* windowed, int* vsync, int* fps, int* antialias,
                  int* shaders) {
    *width = 1280, *height = 720, *bits = 32, *windowed = 0, *vsync = 0, *fps = 60;
    *antialias = *shaders = 1;
    return dialogResult;
}
FAKE(int, qbProcessHasDisplay, (), 1)

TEST_F(Setup, AsksForWhatFileAndDialogSayButAlwaysForVsync) {
    const char* const nothing = " -1 -1 -1 w -1 v 1 m -1 f -1 a -1 l -1 r -1 c 0.01 3000 s 0";
    const char* const dialog = " 1280 720 32 w 0 v 1 m 1 f 60 a 1 l -1 r -1 c 0.01 3000 s 1";
    const char* const text = "display=1024 768 16\nwindowed=0\nvsync=0\nhide_mouse=1\nfps=50\nantialias=4\n"
                             "lightprepass=0\nshaders=1\nride=0\ncamerarange=0.5 250.25";
    EXPECT_EQ(asked(text, 1), " 1024 768 16 w 0 v 1 m 1 f 50 a 4 l 0 r 0 c 0.5 250.25 s 1");
    EXPECT_EQ(qbSetupFileRead(), 1);
    asked(text, 1, 1);
    EXPECT_EQ(opened.ride, 1) << "the caller's wins";
    EXPECT_EQ(asked(nullptr), nothing);
    EXPECT_EQ(qbSetupFileRead(), 0);
    EXPECT_EQ(asked("display=99999999999 768 32\ncamerarange=near far"), nothing); // what does not scan
    EXPECT_EQ(asked("display=1024 768\ncamerarange=2"),
              " 1024 768 -1 w -1 v 1 m -1 f -1 a -1 l -1 r -1 c 2 3000 s 0");
    for (const auto& [word, windowed] : {std::pair("1", 1), {"YES", 1}, {"Y", 1}, {"0", 0}, {"true", 0}}) {
        asked((std::string("windowed=") + word).c_str());
        EXPECT_EQ(opened.windowed, windowed) << word;
    }
    EXPECT_EQ(asked(nullptr, 1), dialog);
    EXPECT_EQ(asked("a line that is none", 1), dialog);
}

TEST_F(Setup, FailsWithDialogOrEngine) {
    dialogResult = -1;
    EXPECT_EQ(qbSetupOpen("quab-setup.ini", 1, -1), -1);
    engineResult = -1;
    EXPECT_EQ(qbSetupOpen("quab-setup.ini", 0, -1), -1);
}
