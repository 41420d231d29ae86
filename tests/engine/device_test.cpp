#include "engine/camera.h"
#include "engine/fader.h"
#include "engine/fixture.h"
#include "engine/lights.h"
#include "support/messages.h"

#include "support/windows.h" // behind the others, which the macros of Xlib break
#include <cstring>

using namespace irr;
using DeviceTest = EngineTest;

static bool isCleared() {
    const QbEngine cleared = {};
    return memcmp(qbEngineGet(), &cleared, sizeof(cleared)) == 0;
}

static void destroy(Display* display, unsigned long window) {
    XDestroyWindow(display, window);
}

static void pressEscape(Display*, unsigned long) {
    SEvent event = {};
    event.EventType = EET_KEY_INPUT_EVENT;
    event.KeyInput = {0, static_cast<EKEY_CODE>(27), true, false, false};
    qbEngineGet()->device->postEventFromUser(event);
}

TEST_F(DeviceTest, TakesWhatWasAskedForAndRefusesSizesThatNoWindowHas) {
    setup.hideMouse = setup.ride = 1;
    setup.antialias = 4;
    setup.lightPrePass = 0;
    setup.cameraFar = 55.0F;
    const std::tuple<int, int, const char*> sizes[] = {
        {321, 123, nullptr}, {0, 480, "0 x 480"}, {640, -2, "640 x -2"}, {16385, 1, "16385 x 1"}};
    const QbEngine* engine = qbEngineGet();
    for (const auto& [width, height, refused] : sizes) {
        const Messages messages;
        setup.width = width;
        setup.height = height;
        EXPECT_EQ(qbEngineOpen(&setup), refused ? -1 : 0);
        EXPECT_EQ(isCleared(), refused != nullptr);
        if (refused) {
            EXPECT_EQ(messages.texts().at(0), std::string("a window of ") + refused +
                                                  " pixels is not possible: in quab-setup.ini give "
                                                  "\"display\" a width and a height from 1 to 16384");
            continue;
        }
        EXPECT_EQ(engine->driver->getScreenSize(), core::dimension2du(321, 123));
        EXPECT_FALSE(engine->device->getCursorControl()->isVisible());
        EXPECT_TRUE(engine->camera->isInputReceiverEnabled());
        EXPECT_EQ(engine->camera->getFarValue(), 55.0F);
        EXPECT_EQ(engine->antialiasRequested * 10 + engine->lightPrePass, 1);
        EXPECT_TRUE(engine->smgr->getParameters()->getAttributeAsBool("Allow_ZWrite_On_Transparent"));
        EXPECT_EQ(qbIdListCapacity(engine->lights) + qbIdListCapacity(engine->musics), 1000 + 50);
    }
}

TEST_F(DeviceTest, LeavesTheFrameToTheRendererAndStaysOnItsFeetWhenItFails) {
    static int result;
    static std::string calls;
    const QbRendererOps ops = {[] { return calls += "create ", result; }, [] { calls += "draw "; },
                               [] { calls += "free "; }, [] { calls += "warm "; }};
    const Messages messages;
    qbEngineSetRenderer(&ops);
    for (result = 0; result >= -1; --result) {
        EXPECT_EQ(qbEngineOpen(&setup), result);
        qbEngineWarmUp();
        qbEngineDrawFrame();
    }
    EXPECT_EQ(calls, "create warm draw free create free ");
    EXPECT_EQ(messages.texts(), std::vector<std::string>{"fails to create renderer"});
    EXPECT_EQ(qbEngineIsOver(), 1);
    for (const auto act :
         {qbEngineMaximize, qbEngineRestore, qbEngineDrawOverlay, qbEngineEndScene, qbFaderRemove})
        act();
    qbCameraSetRange(1, 2);
    qbCameraSetFov(60);
    qbCameraSetPosition(1, 2, 3);
    qbFaderOut(10, 0);
    qbLightCreate(0);
    EXPECT_EQ(qbEngineClose(), 0);
    EXPECT_TRUE(isCleared());
}

TEST_F(DeviceTest, IsOverWhenItsUserOrItsWindowEndsIt) {
    testing::internal::CaptureStderr();
    for (const auto end : {pressEscape, askToClose, destroy}) {
        ASSERT_EQ(qbEngineOpen(&setup), 0);
        EXPECT_EQ(qbEngineIsOver(), 0) << "the key still counts as down in the next window";
        Display* display = XOpenDisplay(nullptr);
        const auto& window = qbEngineGet()->driver->getExposedVideoData().OpenGLLinux;
        end(display, window.X11Window);
        XCloseDisplay(display);
        XSync(static_cast<Display*>(window.X11Display), False);
        const int before = frames;
        if (end == destroy) qbEngineDrawFrame(); // would write anywhere
        EXPECT_EQ(frames, before);
        int rounds = 0;
        for (; rounds < 10 && qbEngineIsOver() == 0; ++rounds)
            qbEngineDrawFrame();
        EXPECT_LT(rounds, 10);
    }
    qbEngineClose();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}
