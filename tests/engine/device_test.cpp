#include "engine/engine.h"
#include "engine/fixture.h"
#include "engine/x_client.h"
#include "support/messages.h"

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

static unsigned long windowOf(const QbEngine* engine) {
    return engine->driver->getExposedVideoData().OpenGLLinux.X11Window;
}

namespace {

// Counts the calls of a renderer that draws nothing but the clear colour.
struct Renderer {
    static inline int created, drawn, freed, result;
    static int create() {
        ++created;
        return result;
    }
    static void drawFrame() {
        ++drawn;
        qbEngineGet()->driver->beginScene(true, true, video::SColor(255, 0, 200, 0));
        qbEngineEndScene();
    }
    static void free() { ++freed; }
    static void reset(int createResult) {
        created = drawn = freed = 0;
        result = createResult;
    }
    static inline const QbRendererOps ops = {create, drawFrame, free};
};

class DeviceTest : public EngineTest {};

// Opens by itself.
class OpenTest : public EngineTest {
    void SetUp() override {}
};

} // namespace

TEST_F(DeviceTest, StandsAsSettledWhenNothingWasAskedFor) {
    const QbEngine* engine = qbEngineGet();
    int width = 0;
    int height = 0;
    qbEngineFrameSize(&width, &height);
    EXPECT_EQ(width, 640);
    EXPECT_EQ(height, 480);
    EXPECT_EQ(engine->width, 640);
    EXPECT_EQ(engine->height, 480);
    EXPECT_EQ(engine->bits, 32);
    EXPECT_EQ(engine->antialiasRequested, 0);
    EXPECT_EQ(engine->lightPrePass, 1);
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
    EXPECT_EQ(qbEngineBackground(), 0U);

    video::SColor color;
    video::E_FOG_TYPE type = video::EFT_FOG_EXP;
    float start = 0;
    float end = 0;
    float density = 0;
    bool perPixel = false;
    bool range = true;
    engine->driver->getFog(color, type, start, end, density, perPixel, range);
    EXPECT_EQ(color.color, 0x008A517DU);
    EXPECT_EQ(type, video::EFT_FOG_LINEAR);
    EXPECT_FLOAT_EQ(start, 2000.0F);
    EXPECT_FLOAT_EQ(end, 12000.0F);
    EXPECT_FLOAT_EQ(density, 0.003F);
    EXPECT_TRUE(perPixel);
    EXPECT_FALSE(range);
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
    int width = 0;
    int height = 0;
    qbEngineFrameSize(&width, &height);
    EXPECT_EQ(width, 321);
    EXPECT_EQ(height, 123);
    EXPECT_FALSE(engine->device->getCursorControl()->isVisible());
    EXPECT_EQ(engine->ride, 1);
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
        const char* text;
    } sizes[] = {
        {0, 480,
         "a window of 0 x 480 pixels is not possible: in quab-setup.ini give \"display\" a "
         "width and a height from 1 to 16384"},
        {640, -2,
         "a window of 640 x -2 pixels is not possible: in quab-setup.ini give \"display\" a "
         "width and a height from 1 to 16384"},
        {16385, 1,
         "a window of 16385 x 1 pixels is not possible: in quab-setup.ini give \"display\" a "
         "width and a height from 1 to 16384"},
    };
    for (const auto& size : sizes) {
        const Messages messages;
        setup.width = size.width;
        setup.height = size.height;
        EXPECT_EQ(qbEngineOpen(&setup), -1);
        EXPECT_EQ(messages.texts(), Texts{size.text});
        EXPECT_TRUE(isCleared());
    }
}

TEST_F(OpenTest, SaysThatThereIsNoDisplay) {
    const std::string display = getenv("DISPLAY");
    const Messages messages;
    unsetenv("DISPLAY");
    testing::internal::CaptureStderr();
    const int result = qbEngineOpen(&setup);
    const std::string errors = testing::internal::GetCapturedStderr();
    setenv("DISPLAY", display.c_str(), 1);
    EXPECT_EQ(result, -1);
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
    uint8_t pixel[3];
    int width = -1;
    int height = -1;
    EXPECT_EQ(qbEngineReadPixels(pixel, sizeof(pixel), &width, &height), -1);
    EXPECT_EQ(width, 0);
    EXPECT_EQ(height, 0);
}

// --- renderer -------------------------------------------------------------------------------------------

TEST_F(OpenTest, LeavesTheFrameToTheRenderer) {
    Renderer::reset(0);
    qbEngineSetRenderer(&Renderer::ops);
    ASSERT_EQ(qbEngineOpen(&setup), 0);
    qbEngineDrawFrame();
    EXPECT_EQ(Renderer::drawn, 1);
    qbEngineClose();
    qbEngineClose();
    EXPECT_EQ(Renderer::created, 1);
    EXPECT_EQ(Renderer::freed, 1);
}

TEST_F(OpenTest, ClosesWhatItOpenedWhenTheRendererFails) {
    Renderer::reset(-1);
    qbEngineSetRenderer(&Renderer::ops);
    const Messages messages;
    EXPECT_EQ(qbEngineOpen(&setup), -1);
    EXPECT_EQ(messages.texts(), Texts{"fails to create renderer"});
    EXPECT_EQ(Renderer::freed, 1);
    EXPECT_TRUE(isCleared());
    EXPECT_EQ(qbEngineClose(), 0);

    qbEngineSetRenderer(nullptr);
    EXPECT_EQ(qbEngineOpen(&setup), 0);
}

// --- ends -----------------------------------------------------------------------------------------------

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

TEST_F(DeviceTest, IsOverWhenTheWindowIsAskedToClose) {
    EXPECT_EQ(qbEngineIsOver(), 0);
    qbEngineDrawFrame();
    xClientAskToClose(windowOf(qbEngineGet()));
    EXPECT_EQ(qbEngineIsOver(), 1);
}

TEST_F(DeviceTest, IsOverWhenTheWindowIsDestroyed) {
    EXPECT_EQ(qbEngineIsOver(), 0);
    xClientDestroy(windowOf(qbEngineGet()));
    testing::internal::CaptureStderr();
    int rounds = 0;
    while (rounds < 10 && qbEngineIsOver() == 0) {
        qbEngineDrawFrame();
        ++rounds;
    }
    qbEngineClose();
    EXPECT_LT(rounds, 10);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}
