#include "shell/setup.h"

#include "engine/engine.h"
#include "platform/dialog/dialog.h"
#include "platform/path.h"
#include "platform/process.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

QbSetup opened;      // what the engine was asked for
int openResult = 0;  // what it answers
int dialogShown = 0; // how often
int dialogResult = 0;
int dialogWindowed = 1;

class Setup : public testing::Test {
protected:
    void SetUp() override {
        opened = QbSetup();
        openResult = dialogShown = dialogResult = 0;
        dialogWindowed = 1;
        std::string pattern = std::filesystem::temp_directory_path() / "quab-setup-XXXXXX";
        directory = mkdtemp(pattern.data());
        ASSERT_EQ(qbSetDirectory(directory.c_str()), 0);
    }
    void TearDown() override {
        qbSetDirectory("/");
        std::filesystem::remove_all(directory);
    }
    static int open(const std::string& text, int allowDialog = 0, int ride = -1) {
        std::ofstream("quab-setup.ini") << "[Setup]\n" << text << "\n";
        return qbSetupOpen("quab-setup.ini", allowDialog, ride);
    }
    std::string directory;
};

} // namespace

int qbEngineOpen(const QbSetup* setup) {
    opened = *setup;
    return openResult;
}
int qbSetupDialog(int* width, int* height, int* bits, int* windowed, int* vsync, int* fps, int* antialias,
                  int* shaders) {
    ++dialogShown;
    if (dialogResult != 0) return dialogResult;
    *width = 1280;
    *height = 720;
    *bits = 32;
    *windowed = dialogWindowed;
    *vsync = 0;
    *fps = 60;
    *antialias = 1;
    *shaders = 1;
    return 0;
}
int qbProcessHasDisplay() {
    return 1;
}

TEST_F(Setup, WithoutAFileEverythingStaysOpenExceptVsync) {
    EXPECT_EQ(qbSetupOpen("quab-setup.ini", 0, -1), 0);
    EXPECT_EQ(opened.width, -1);
    EXPECT_EQ(opened.windowed, -1);
    EXPECT_EQ(opened.vsync, 1);
    EXPECT_FLOAT_EQ(opened.cameraNear, 0.01F);
    EXPECT_FLOAT_EQ(opened.cameraFar, 3000.0F);
    EXPECT_EQ(dialogShown, 0);
    EXPECT_EQ(qbSetupFileRead(), 0);
}

TEST_F(Setup, TheFileFillsTheRecord) {
    EXPECT_EQ(
        open("display=1024 768 16\nwindowed=0\nvsync=0\nhide_mouse=1\nfps=50\nantialias=4\nlightprepass=0\n"
             "shaders=1\nride=1\ncamerarange=0.5 250.25",
             1),
        0);
    EXPECT_EQ(opened.width, 1024);
    EXPECT_EQ(opened.height, 768);
    EXPECT_EQ(opened.bits, 16);
    EXPECT_EQ(opened.windowed, 0);
    EXPECT_EQ(opened.vsync, 1); // never off
    EXPECT_EQ(opened.hideMouse, 1);
    EXPECT_EQ(opened.fps, 50);
    EXPECT_EQ(opened.ride, 1);
    EXPECT_FLOAT_EQ(opened.cameraNear, 0.5F);
    EXPECT_FLOAT_EQ(opened.cameraFar, 250.25F);
    EXPECT_EQ(qbSetupShaders(), 1);
    EXPECT_EQ(qbSetupFileRead(), 1);
    EXPECT_EQ(dialogShown, 0);

    std::filesystem::remove("quab-setup.ini");
    EXPECT_EQ(qbSetupOpen("quab-setup.ini", 0, -1), 0);
    EXPECT_EQ(qbSetupFileRead(), 0);
    EXPECT_EQ(qbSetupShaders(), 0);
}

TEST_F(Setup, WhatDoesNotScanStays) {
    EXPECT_EQ(open("display=1024 768\ncamerarange=near far"), 0);
    EXPECT_EQ(opened.width, 1024);
    EXPECT_EQ(opened.bits, -1);
    EXPECT_FLOAT_EQ(opened.cameraNear, 0.01F);
    EXPECT_EQ(open("display=99999999999 768 32"), 0);
    EXPECT_EQ(opened.width, -1);
    EXPECT_EQ(open("camerarange=2"), 0);
    EXPECT_FLOAT_EQ(opened.cameraNear, 2.0F);
    EXPECT_FLOAT_EQ(opened.cameraFar, 3000.0F);
    EXPECT_EQ(qbSetupShaders(), 0);
}

TEST_F(Setup, Windowed) {
    const std::pair<const char*, int> cases[] = {{"1", 1}, {"yes", 1}, {"YES", 1}, {"Y", 1},
                                                 {"0", 0}, {"no", 0},  {"2", 0},   {"true", 0}};
    for (const auto& [text, windowed] : cases) {
        EXPECT_EQ(open(std::string("windowed=") + text), 0);
        EXPECT_EQ(opened.windowed, windowed) << text;
    }
    EXPECT_EQ(open("vsync=1"), 0);
    EXPECT_EQ(opened.windowed, -1);
}

TEST_F(Setup, TheCallersRideWins) {
    EXPECT_EQ(open("ride=0", 0, 1), 0);
    EXPECT_EQ(opened.ride, 1);
    EXPECT_EQ(open("ride=0"), 0);
    EXPECT_EQ(opened.ride, 0);
}

TEST_F(Setup, TheDialogStandsInForAMissingOrBrokenFile) {
    EXPECT_EQ(qbSetupOpen("quab-setup.ini", 1, -1), 0);
    EXPECT_EQ(dialogShown, 1);
    EXPECT_EQ(opened.width, 1280);
    EXPECT_EQ(opened.vsync, 1);
    EXPECT_EQ(opened.hideMouse, 0);
    EXPECT_EQ(qbSetupShaders(), 1);

    dialogWindowed = 0;
    EXPECT_EQ(open("a line that is none", 1), 0);
    EXPECT_EQ(dialogShown, 2);
    EXPECT_EQ(opened.hideMouse, 1);
}

TEST_F(Setup, Failures) {
    dialogResult = -1;
    EXPECT_EQ(qbSetupOpen("quab-setup.ini", 1, -1), -1);
    openResult = -1;
    EXPECT_EQ(qbSetupOpen("quab-setup.ini", 0, -1), -1);
}
