// The order of a stand-alone run, and every way out of it. All that it calls is a fake that writes down its
// name.

#include "shell/standalone.h"

#include "demo/load.h"
#include "demo/player.h"
#include "engine/engine.h"
#include "engine/loading.h"
#include "materials/camera_shaders.h"
#include "platform/path.h"
#include "platform/process.h"
#include "scene/runtime/slots.h"
#include "shell/setup.h"
#include "storage/cabinet.h"
#include "support/fake.h"
#include "support/messages.h"
#include "support/temporary_directory.h"

#include <cerrno>
#include <csignal>
#include <gtest/gtest.h>
#include <map>

namespace {

std::vector<std::string> calls;
std::map<std::string, int> results; // of calls, where not 0
int opened = 0;                     // the cabinet that was opened last
int shaders = 0;

template <class... Arguments>
int called(const char* name, const Arguments&... arguments) {
    calls.push_back(callText(name, arguments...));
    const auto found = results.find(calls.back());
    return found == results.end() ? 0 : found->second;
}

} // namespace

FAKE(int, qbHasResources, (), called("has"))
FAKE(int, qbCabOpen, (int row, int id), called("open", row, opened = id))
FAKE(int, qbCabUse, (int), called("use", opened))
FAKE(int, qbCabClose, (int row), called("close", row))
FAKE(int, qbSetupOpen, (const char* name, int dialog, int ride), called("setup", name, dialog, ride))
FAKE(int, qbSetupShaders, (), shaders)
FAKE(int, qbEngineClose, (), called("engine-close"))
FAKE(void, qbLoadingOpen, (), called("picture"))
FAKE(void, qbLoadingClose, (), called("picture-close"))
FAKE(int, qbShadersInit, (const char*), called("shaders"))
FAKE(void, qbSceneSetReportLoadErrors, (int on), called("report", on))
FAKE(int, qbDemoParse, (QbDemo*, const char* path), called("parse", path))
FAKE(int, qbDemoPrepare, (QbDemo*), called("prepare"))
FAKE(int, qbDemoLoadScenes, (QbDemo*, const char* base),
     called("scenes", base == std::string(qbCurrentDirectory())))
FAKE(int, qbDemoLoadShaders, (QbDemo*), called("windows"))
FAKE(int, qbDemoLoadMusics, (QbDemo*), called("tunes"))
FAKE(void, qbDemoGetReady, (), called("ready"))
FAKE(int, qbDemoPlay, (QbDemo * demo), called("play", demo->shadersEnabled))
FAKE(int, qbDemoFree, (QbDemo*), called("free"))

namespace {

class Standalone : public testing::Test {
protected:
    // Plays with one call failing; the calls come back as one text.
    std::string run(const std::string& failing, int result, int expected) {
        calls.clear();
        messages.texts().clear();
        results = {{failing, result}};
        EXPECT_EQ(qbStandaloneRun(), expected) << failing;
        std::string text;
        for (const std::string& call : calls)
            text += (text.empty() ? "" : ", ") + call;
        return text;
    }
    void SetUp() override {
        shaders = 1;
        directory.write("b.demo.ini");
        directory.write("A.DEMO.INI");
        directory.write("demo.ini.txt");
    }

    TemporaryDirectory directory; // stands for the unpacked one
    Messages messages;
};

} // namespace

TEST_F(Standalone, UnpacksLoadsAndPlaysInOrder) {
    const std::string start =
        "has, open 1 503, use 503, setup quab-setup.ini 1 -1, close 1, "
        "open 1 502, use 502, picture, close 1, open 1 500, use 500, parse A.DEMO.INI, prepare, ";
    const std::string end = "close 1, open 2 501, use 501, tunes, picture-close, ready, play ";
    // A show goes on without its shader windows.
    for (const char* failing : {"", "windows"})
        EXPECT_EQ(run(failing, -1, 0),
                  start + "shaders, report 1, scenes 1, windows, " + end + "1, free, close 2, engine-close");
    shaders = 0;
    EXPECT_EQ(run("", 0, 0), start + "report 1, scenes 1, " + end + "0, free, close 2, engine-close");
    EXPECT_TRUE(Messages::texts().empty());
}

TEST_F(Standalone, EveryWayOutSaysWhyAndCleansUp) {
    const struct {
        const char* failing;
        int result;
        const char* message; // empty: the step has told it
        const char* end;     // of the calls
    } table[] = {
        {"has", -1, "Resources don't exist", "has"},
        {"open 1 503", -10, "Failed to open default data err=-10", "open 1 503"},
        {"use 503", -1, "Failed to use default data", "use 503, close 1"},
        {"setup quab-setup.ini 1 -1", -1, "", "use 503, setup quab-setup.ini 1 -1"},
        {"open 1 502", -30, "Failed to open loading err=-30", "open 1 502, free, engine-close"},
        {"use 502", -1, "Failed to use loading", "use 502, close 1, free, engine-close"},
        {"open 1 500", 28, "Failed to open data err=28", "open 1 500, free, engine-close"},
        {"use 500", -1, "Failed to use data", "use 500, close 1, free, engine-close"},
        {"parse A.DEMO.INI", -1, "", "parse A.DEMO.INI, close 1, free, engine-close"},
        {"prepare", -1, "Failed to prepare", "prepare, close 1, free, engine-close"},
        {"shaders", -1, "Failed to init shaders !\n", "prepare, shaders, free, engine-close"},
        {"scenes 1", -1, "Failed to load scenes", "scenes 1, close 1, free, engine-close"},
        {"open 2 501", -50, "Failed to open music err=-50", "close 1, open 2 501, free, engine-close"},
        {"use 501", -1, "Failed to use music", "use 501, close 2, free, engine-close"},
        {"tunes", -1, "Failed to load music", "tunes, close 2, free, engine-close"},
        {"play 1", -1, "Failed to play demo", "play 1, free, close 2, engine-close"},
    };
    for (const auto& row : table) {
        EXPECT_TRUE(std::string_view(run(row.failing, row.result, -1)).ends_with(row.end)) << row.failing;
        EXPECT_EQ(Messages::texts(), std::vector<std::string>(*row.message ? 1 : 0, row.message));
    }
    for (const char* name : {"b.demo.ini", "A.DEMO.INI"})
        std::filesystem::remove(name);
    EXPECT_TRUE(std::string_view(run("", 0, -1)).ends_with("use 500, close 1, free, engine-close"));
    EXPECT_EQ(Messages::texts(), std::vector<std::string>{"Failed to find .demo.ini"});
}

// It has not failed, and nobody waits to read why.
TEST_F(Standalone, AShowThatIsEndedWhileItLoadsSaysNothing) {
    const auto endWhileLoading = [this] {
        qbProcessCatchEnd();
        raise(SIGTERM);
        run("open 1 500", EINTR, -1);
        std::_Exit(Messages::texts().empty() ? 0 : 1);
    };
    EXPECT_EXIT(endWhileLoading(), testing::ExitedWithCode(0), "");
}
