#include "engine/camera.h"
#include "engine/engine.h"
#include "engine/fader.h"
#include "engine/fixture.h"
#include "engine/lights.h"
#include "support/messages.h"

#include <X11/Xlib.h> // behind the others, which its macros break
#include <cstdlib>
#include <cstring>
#include <irrlicht/irrlicht.h>
#include <string>

using namespace irr;
using Texts = std::vector<std::string>;

static bool isCleared() {
    const QbEngine cleared = {};
    return memcmp(qbEngineGet(), &cleared, sizeof(cleared)) == 0;
}

static void askToClose(unsigned long window) {
    Display* display = XOpenDisplay(nullptr);
    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
    XSendEvent(display, window, False, NoEventMask, &event);
    XCloseDisplay(display);
}

static void destroy(unsigned long window) {
    Display* display = XOpenDisplay(nullptr);
    XDestroyWindow(display, window);
    XCloseDisplay(display);
}

namespace {

// Counts the calls of a renderer that draws nothing.
struct Renderer {
    static inline int created, drawn, freed, result;
    static int create() {
        ++created;
        return result;
    }
    static void drawFrame() { ++drawn; }
    static void free() { ++freed; }
    static void set(int createResult) {
        static const QbRendererOps ops = {create, drawFrame, free};
        created = drawn = freed = 0;
        result = createResult;
        qbEngineSetRenderer(&ops);
    }
};

class DeviceTest : public EngineTest {
protected:
    static void expectSize(int width, int height) {
        int size[2] = {};
        qbEngineFrameSize(&size[0], &size[1]);
        EXPECT_EQ(size[0], width);
        EXPECT_EQ(size[1], height);
    }
};

// Opens by itself.
class OpenTest : public DeviceTest {
    void SetUp() override {}
};

} // namespace

TEST_F(DeviceTest, StandsAsSettledWhenNothingWasAskedFor) {
    const QbEngine* engine = qbEngineGet();
    expectSize(640, 480);
    EXPECT_EQ(engine->bits, 32);
    EXPECT_EQ(engine->ride, 0);
    EXPECT_FALSE(engine->device->isFullscreen());
    EXPECT_TRUE(engine->device->getCursorControl()->isVisible());
    EXPECT_EQ(engine->font, engine->gui->getBuiltInFont());
    EXPECT_EQ(engine->camera->getPosition(), core::vector3df(0, 0, 100));
    EXPECT_FLOAT_EQ(engine->camera->getNearValue(), 0.01F);
    EXPECT_FLOAT_EQ(engine->camera->getFarValue(), 3000.0F);
    EXPECT_TRUE(engine->smgr->getParameters()->getAttributeAsBool("Allow_ZWrite_On_Transparent"));
    EXPECT_EQ(qbIdListCapacity(engine->objects), 1000);
    EXPECT_EQ(qbIdListCapacity(engine->lights), 1000);
    EXPECT_EQ(qbIdListCapacity(engine->fxemitters), 1000);
    EXPECT_EQ(qbIdListCapacity(engine->musics), 50);
}

TEST_F(OpenTest, TakesWhatWasAskedFor) {
    setup.width = 321;
    setup.height = 123;
    setup.hideMouse = 1;
    setup.ride = 1;
    setup.vsync = 0;
    setup.antialias = 4;
    setup.lightPrePass = 0;
    setup.cameraFar = 55.0F;
    ASSERT_EQ(qbEngineOpen(&setup), 0);
    const QbEngine* engine = qbEngineGet();
    expectSize(321, 123);
    EXPECT_FALSE(engine->device->getCursorControl()->isVisible());
    EXPECT_TRUE(engine->camera->isInputReceiverEnabled());
    EXPECT_EQ(engine->antialiasRequested, 0);
    EXPECT_EQ(engine->lightPrePass, 1);
    EXPECT_FLOAT_EQ(engine->camera->getFarValue(), 55.0F);
}

TEST_F(OpenTest, OpensAndClosesAgainInSilence) {
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    EXPECT_EQ(qbEngineClose(), 0);
    for (int round = 0; round < 3; ++round) {
        setup.width = 200 + round;
        ASSERT_EQ(qbEngineOpen(&setup), 0);
        for (int frame = 0; frame < 3; ++frame) {
            EXPECT_EQ(qbEngineIsOver(), 0);
            qbEngineDrawFrame();
        }
        EXPECT_EQ(qbEngineClose(), 0);
        EXPECT_TRUE(isCleared());
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(OpenTest, RefusesSizesThatNoWindowHas) {
    const struct {
        int width, height;
        const char* size;
    } sizes[] = {{0, 480, "0 x 480"}, {640, -2, "640 x -2"}, {16385, 1, "16385 x 1"}};
    for (const auto& [width, height, size] : sizes) {
        const Messages messages;
        setup.width = width;
        setup.height = height;
        EXPECT_EQ(qbEngineOpen(&setup), -1);
        EXPECT_EQ(messages.texts(), Texts{std::string("a window of ") + size +
                                          " pixels is not possible: in quab-setup.ini give \"display\" a "
                                          "width and a height from 1 to 16384"});
        EXPECT_TRUE(isCleared());
    }
}

TEST_F(OpenTest, SaysThatThereIsNoDisplay) {
    const std::string display = getenv("DISPLAY");
    const Messages messages;
    unsetenv("DISPLAY");
    testing::internal::CaptureStderr();
    EXPECT_EQ(qbEngineOpen(&setup), -1);
    const std::string errors = testing::internal::GetCapturedStderr();
    setenv("DISPLAY", display.c_str(), 1);
    const Texts texts = {"fails to createDevice",
                         "there is no display: start a desktop session, or set DISPLAY to an X server"};
    EXPECT_EQ(messages.texts(), texts);
    EXPECT_EQ(errors, texts[0] + "\n" + texts[1] + "\n");
    EXPECT_TRUE(isCleared());
}

TEST_F(OpenTest, StaysOnItsFeetWithoutADevice) {
    EXPECT_EQ(qbEngineIsOver(), 1);
    EXPECT_EQ(qbEngineIsActive(), 0);
    qbEngineMaximize();
    qbEngineRestore();
    qbEngineDrawFrame();
    qbEngineDrawOverlay();
    qbEngineEndScene();
    qbCameraSetRange(1, 2);
    qbCameraSetFov(60);
    qbCameraSetPosition(1, 2, 3);
    qbCameraSetRotation(1, 2, 3);
    qbFaderOut(10, 0);
    qbFaderRemove();
    qbLightCreate(0);
    EXPECT_TRUE(isCleared());
    uint8_t pixel[3];
    int size[2] = {-1, -1};
    EXPECT_EQ(qbEngineReadPixels(pixel, sizeof(pixel), &size[0], &size[1]), -1);
    EXPECT_EQ(size[0], 0);
    EXPECT_EQ(size[1], 0);
}

TEST_F(OpenTest, LeavesTheFrameToTheRendererAndClosesWhenItFails) {
    const Messages messages;
    for (const int result : {0, -1}) {
        Renderer::set(result);
        EXPECT_EQ(qbEngineOpen(&setup), result);
        EXPECT_EQ(isCleared(), result != 0);
        qbEngineDrawFrame();
        qbEngineClose();
        qbEngineClose();
        EXPECT_EQ(Renderer::created, 1);
        EXPECT_EQ(Renderer::drawn, result == 0 ? 1 : 0);
        EXPECT_EQ(Renderer::freed, 1);
    }
    EXPECT_EQ(messages.texts(), Texts{"fails to create renderer"});
    qbEngineSetRenderer(nullptr);
    EXPECT_EQ(qbEngineOpen(&setup), 0);
}

TEST_F(DeviceTest, IsOverAtEscape) {
    SEvent event = {};
    event.EventType = EET_KEY_INPUT_EVENT;
    event.KeyInput.Key = static_cast<EKEY_CODE>(27);
    event.KeyInput.PressedDown = true;
    EXPECT_EQ(qbEngineIsOver(), 0);
    qbEngineGet()->device->postEventFromUser(event);
    EXPECT_EQ(qbEngineIsOver(), 1);

    ASSERT_EQ(qbEngineOpen(&setup), 0);
    EXPECT_EQ(qbEngineIsOver(), 0) << "the key still counts as down in the next window";
}

TEST_F(DeviceTest, IsOverWhenTheWindowIsClosedOrDestroyed) {
    for (const auto end : {askToClose, destroy}) {
        ASSERT_EQ(qbEngineOpen(&setup), 0);
        EXPECT_EQ(qbEngineIsOver(), 0);
        end(qbEngineGet()->driver->getExposedVideoData().OpenGLLinux.X11Window);
        testing::internal::CaptureStderr();
        int rounds = 0;
        for (; rounds < 10 && qbEngineIsOver() == 0; ++rounds)
            qbEngineDrawFrame();
        qbEngineClose();
        EXPECT_LT(rounds, 10);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    }
}
