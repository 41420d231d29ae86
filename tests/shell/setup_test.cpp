#include "shell/setup.h"

#include "engine/engine.h"
#include "platform/dialog/dialog.h"
#include "platform/process.h"
#include "support/fake.h"
#include "support/temporary_directory.h"

#include <array>
#include <gtest/gtest.h>
#include <string>

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
    }
    static int open(const std::string& text, int allowDialog = 0, int ride = -1) {
        std::ofstream("quab-setup.ini") << "[Setup]\n" << text << "\n";
        return qbSetupOpen("quab-setup.ini", allowDialog, ride);
    }
    // Width, height, bits, windowed, vsync, hidden mouse, frames a second, antialias, ride.
    using Numbers = std::array<int, 9>;
    static Numbers numbers() {
        return {opened.width,     opened.height, opened.bits,      opened.windowed, opened.vsync,
                opened.hideMouse, opened.fps,    opened.antialias, opened.ride};
    }
    static std::pair<float, float> range() { return {opened.cameraNear, opened.cameraFar}; }
    TemporaryDirectory directory;
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
    *width = 1280, *height = 720, *bits = 32;
    *windowed = dialogWindowed;
    *vsync = 0, *fps = 60;
    *antialias = *shaders = 1;
    return 0;
}
FAKE(int, qbProcessHasDisplay, (), 1)

TEST_F(Setup, WithoutAFileEverythingStaysOpenExceptVsync) {
    EXPECT_EQ(qbSetupOpen("quab-setup.ini", 0, -1), 0);
    EXPECT_EQ(numbers(), (Numbers{-1, -1, -1, -1, 1, -1, -1, -1, -1}));
    EXPECT_EQ(range(), std::pair(0.01F, 3000.0F));
    EXPECT_EQ(dialogShown, 0);
    EXPECT_EQ(qbSetupFileRead(), 0);
}

TEST_F(Setup, TheFileFillsTheRecordAndTheCallersRideWins) {
    const std::string text = "display=1024 768 16\nwindowed=0\nvsync=0\nhide_mouse=1\nfps=50\nantialias=4\n"
                             "lightprepass=0\nshaders=1\nride=0\ncamerarange=0.5 250.25";
    EXPECT_EQ(open(text, 1), 0);
    EXPECT_EQ(numbers(), (Numbers{1024, 768, 16, 0, 1, 1, 50, 4, 0})); // vsync is never off
    EXPECT_EQ(opened.lightPrePass, 0);
    EXPECT_EQ(range(), std::pair(0.5F, 250.25F));
    EXPECT_EQ(qbSetupShaders(), 1);
    EXPECT_EQ(qbSetupFileRead(), 1);
    EXPECT_EQ(dialogShown, 0);
    EXPECT_EQ(open(text, 1, 1), 0);
    EXPECT_EQ(opened.ride, 1);

    std::filesystem::remove("quab-setup.ini");
    EXPECT_EQ(qbSetupOpen("quab-setup.ini", 0, -1), 0);
    EXPECT_EQ(qbSetupFileRead(), 0);
    EXPECT_EQ(qbSetupShaders(), 0);
}

TEST_F(Setup, WhatDoesNotScanStays) {
    EXPECT_EQ(open("display=1024 768\ncamerarange=near far"), 0);
    EXPECT_EQ(opened.width, 1024);
    EXPECT_EQ(opened.bits, -1);
    EXPECT_EQ(range(), std::pair(0.01F, 3000.0F));
    EXPECT_EQ(open("display=99999999999 768 32"), 0);
    EXPECT_EQ(opened.width, -1);
    EXPECT_EQ(open("camerarange=2"), 0);
    EXPECT_EQ(range(), std::pair(2.0F, 3000.0F));
}

TEST_F(Setup, Windowed) {
    const std::pair<const char*, int> cases[] = {{"windowed=1", 1}, {"windowed=yes", 1},  {"windowed=YES", 1},
                                                 {"windowed=Y", 1}, {"windowed=0", 0},    {"windowed=no", 0},
                                                 {"windowed=2", 0}, {"windowed=true", 0}, {"vsync=1", -1}};
    for (const auto& [text, windowed] : cases) {
        EXPECT_EQ(open(text), 0);
        EXPECT_EQ(opened.windowed, windowed) << text;
    }
}

TEST_F(Setup, TheDialogStandsInForAMissingOrBrokenFile) {
    EXPECT_EQ(qbSetupOpen("quab-setup.ini", 1, -1), 0);
    EXPECT_EQ(dialogShown, 1);
    EXPECT_EQ(numbers(), (Numbers{1280, 720, 32, 1, 1, 0, 60, 1, -1}));
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
