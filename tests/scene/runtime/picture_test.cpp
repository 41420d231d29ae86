#include "engine/engine.h"
#include "fake_scene.h"
#include "meshes.h"
#include "scene/runtime/slots.h"
#include "support/messages.h"
#include "support/temporary_directory.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <vector>

// A scene in the plain frame: what the nodes, the light and the camera were set to must be on the picture.

namespace {

enum { WIDTH = 640, HEIGHT = 480 };

std::vector<uint8_t> picture(WIDTH* HEIGHT * 3);

void grab() {
    int width = 0;
    int height = 0;
    EXPECT_EQ(qbEngineReadPixels(picture.data(), static_cast<uint32_t>(picture.size()), &width, &height), 0);
}

// Where a point lands for a camera at `eye` that looks along Z and opens `degrees` wide.
std::array<int, 2> project(const FakeVector& point, const FakeVector& eye, double degrees) {
    const double scale = 1.0 / std::tan(degrees * 3.14 / 230.0 / 2.0);
    const double depth = point[2] - eye[2];
    const double x = scale * HEIGHT / WIDTH * (point[0] - eye[0]) / depth;
    const double y = scale * (point[1] - eye[1]) / depth;
    return {static_cast<int>((x + 1.0) / 2.0 * WIDTH), static_cast<int>((1.0 - y) / 2.0 * HEIGHT)};
}

// One step for the driver's rounding, one for the light's.
void expectPixel(const std::array<int, 2>& at, const std::array<int, 3>& color, const char* what) {
    for (int c = 0; c < 3; c++) {
        const auto index = static_cast<size_t>((at[1] * WIDTH + at[0]) * 3 + c);
        EXPECT_NEAR(picture[index], color[static_cast<size_t>(c)], 2) << what << ", channel " << c;
    }
}

void fillScene(FakeScene& scene) {
    scene.zenith = {0.0F, 0.2F, 0.4F};
    scene.ambient = {0.1F, 0.1F, 0.1F};
    scene.objects = {{"A", "orange.x"}, {"B", "blue.x"}};
    scene.objects[0].motion.position = {-2.0F, 0.0F, 0.0F};
    scene.objects[1].motion.position = {2.0F, 1.0F, 0.0F};
    scene.objects[1].motion.scale = {0.5F, 2.0F, 0.5F};
    scene.lights.resize(1);
    scene.lights[0].type = 0;
    scene.lights[0].intensity = 0.8F;
    scene.cameras.resize(1);
    scene.cameras[0].motion.position = {0.0F, 0.0F, -10.0F};
    scene.cameras[0].motion.speed = 0.001F;
}

} // namespace

TEST(Picture, ShowsObjectsLightAndCamera) {
    const TemporaryDirectory directory;
    const Messages messages;
    directory.write("orange.x", boxMesh(2.0F, "1.0;0.5;0.0"));
    directory.write("blue.x", boxMesh(2.0F, "0.0;0.25;1.0"));
    fillScene(fakeScenes["scene"]);
    const QbSetup setup;
    ASSERT_EQ(qbEngineOpen(&setup), 0);
    qbEngineSetFrameHook(grab);
    ASSERT_EQ(qbSceneLoad("scene", 1, 1, 0, 0, 0, "data", 0), 0);

    // Light 204 on the faces that look at it, times their colour, and ambient 25 on all.
    const std::array<int, 3> orange = {229, 127, 25};
    const std::array<int, 3> blue = {25, 76, 229};
    const std::array<int, 3> sky = {0, 51, 102};
    qbSceneStart(1);
    for (const int time : {0, 2000}) {
        ASSERT_EQ(qbEngineIsOver(), 0);
        qbSceneUpdate(1, time);
        qbEngineDrawFrame();
        const FakeVector eye = {static_cast<float>(time) * 0.001F, 0.0F, -10.0F};
        expectPixel(project({-2.0F, 0.0F, -1.0F}, eye, 60.0), orange, "front of A");
        expectPixel(project({2.0F, 1.0F, -0.5F}, eye, 60.0), blue, "front of B, scaled");
        expectPixel(project({2.0F, 2.9F, -0.5F}, eye, 60.0), blue, "B is two high");
        expectPixel(project({2.6F, 1.0F, -0.5F}, eye, 60.0), sky, "and a half wide");
        expectPixel(project({0.0F, 0.0F, -1.0F}, eye, 60.0), sky, "between them");
    }

    qbSceneStop(1);
    qbEngineDrawFrame();
    expectPixel(project({-2.0F, 0.0F, -1.0F}, {2.0F, 0.0F, -10.0F}, 60.0), sky, "stopped");
    EXPECT_TRUE(Messages::texts().empty());
    qbSceneFree(1);
    EXPECT_EQ(qbEngineClose(), 0);
}
