// Plays the whole show in stepped time, a quarter of a second a frame, and looks at its pictures. They are
// small, since the renderer draws each of them in many passes.

#include "demo/player.h"
#include "engine/engine.h"
#include "render/renderer.h"
#include "support/messages.h"

#include <array>
#include <cstdlib>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <utility>

namespace {

constexpr int STEP = 250;           // ms
using Moment = std::pair<int, int>; // part from 0, clock in ms
using Color = std::array<uint8_t, 3>;
using Picture = std::vector<Color>;

struct Showing {
    int now = 0;
    Moment moment = {-1, 0};
    std::vector<Moment> frames;
    std::map<Moment, Picture> kept;
};

Showing run;

void observe(const QbDemo*, int part, int elapsed) {
    run.moment = {part, elapsed};
    run.frames.push_back(run.moment);
}

void atFrameEnd() {
    run.now += STEP;
    const int time = run.moment.second;
    if (run.moment.first < 0 || (time != 0 && time % 2000 != 1000 && time != 19750)) return;
    int width = 0, height = 0;
    qbEngineFrameSize(&width, &height);
    Picture picture(static_cast<size_t>(width * height));
    const auto capacity = static_cast<uint32_t>(picture.size() * 3);
    ASSERT_EQ(qbEngineReadPixels(picture[0].data(), capacity, &width, &height), 0);
    run.kept[std::exchange(run.moment, {-1, 0})] = std::move(picture);
}

Showing play() {
    run = Showing();
    QbSetup setup;
    setup.width = 320;
    setup.height = 240;
    qbEngineSetRenderer(qbRendererOps());
    EXPECT_EQ(qbEngineOpen(&setup), 0);
    qbEngineSetTimeSource([] { return run.now; });
    qbEngineSetFrameHook(atFrameEnd);
    qbDemoSetObserver(observe);
    EXPECT_EQ(qbDemoRun(QB_BINARY_DIR "/samples/first-light/first-light.demo.ini", 0), 0);
    qbDemoSetObserver(nullptr);
    qbEngineSetFrameHook(nullptr);
    qbEngineSetTimeSource(nullptr);
    qbEngineClose();
    qbEngineSetRenderer(nullptr);
    return std::move(run);
}

int distance(const Color& a, const Color& b) {
    return abs(a[0] - b[0]) + abs(a[1] - b[1]) + abs(a[2] - b[2]);
}

} // namespace

TEST(FirstLight, PlaysFromItsFirstFrameToItsEnd) {
    const Messages messages;
    const Showing first = play();
    EXPECT_EQ(messages.texts(), std::vector<std::string>{});

    // Parts begin on the bar; the fourth, the fifth and the last go on counting.
    const std::pair<size_t, Moment> starts[] = {{0, {0, 0}},        {12000, {1, 0}},     {24000, {2, 0}},
                                                {32000, {3, 8000}}, {40000, {4, 16000}}, {52000, {5, 0}},
                                                {64000, {6, 0}},    {76000, {7, 12000}}};
    ASSERT_EQ(first.frames.size(), 84000U / STEP);
    for (const auto& [time, moment] : starts)
        EXPECT_EQ(first.frames[time / STEP], moment) << time;

    // The first frame is black under its fader; the last is nine tenths of the way to 0x0E0B2A, so that a
    // tenth of what the scene shows remains. In between there is something to see.
    EXPECT_EQ(first.kept.at({0, 0}), Picture(first.kept.at({0, 0}).size()));
    for (const Color& color : first.kept.at({7, 19750}))
        ASSERT_LE(distance(color, {0x0E, 0x0B, 0x2A}), 3 * 27);
    // The same script gives the same pictures on every run.
    const Showing second = play();
    for (const auto& [moment, picture] : first.kept) {
        const std::set<Color> colors(picture.begin(), picture.end());
        EXPECT_TRUE(colors.size() > 200 || moment.second % 2000 != 1000) << moment.first;
        EXPECT_TRUE(picture == second.kept.at(moment)) << "part " << moment.first << " at " << moment.second;
    }
}
