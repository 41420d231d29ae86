// Plays the show in stepped time and looks at moments of it twice: as they are, and once more at the same
// time without the terrain or an emitter. What differs is what the missing one draws.

#include "demo/player.h"
#include "engine/engine.h"
#include "render/renderer.h"
#include "samples/show_check.h"
#include "scene/runtime/fx_emitters.h"
#include "scene/runtime/objects.h"
#include "support/messages.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace fs = std::filesystem;

namespace {

const fs::path show = fs::path(QB_BINARY_DIR) / "samples/dusk";
constexpr int STEP = 500; // ms
constexpr int WIDTH = 320, HEIGHT = 240;
constexpr const char* TERRAIN = ".terrain"; // an item's name that holds it

using Picture = std::vector<std::array<uint8_t, 3>>;

// What is drawn of an item at a moment: shares of the picture's lower half in percent for a terrain, pixels
// of the whole picture for particles.
struct Probe {
    int part, time;
    const char* item;
    int least, most;
    int drawn = -1; // what was found
};

std::vector<Probe> probes() {
    constexpr int all = WIDTH * HEIGHT;
    return {
        {0, 4000, TERRAIN, 10, 100}, // beside the lake
        {0, 4000, "Snow", 100, all},
        {0, 7500, "Burst", 0, 0}, // the fire is lit at 8 s
        {0, 9000, "Burst", 30, all},
        {0, 9000, "Trickle", 0, 0}, // from 9.5 s
        {0, 14000, "Trickle", 10, all},
        {0, 14000, "Burst", 0, 0}, // its limit was reached at 9 s, and the
                                   // last ember lives until 12.6 s
        {1, 5000, TERRAIN, 95, 100},
        {1, 5000, "crown:Layer1", 50, all},
        {1, 5000, "Fireflies", 10, all},
    };
}

struct Showing {
    int now = 0;
    int part = -1, time = 0, firstObject = 0, firstEmitter = 0;
    std::string scene;
    size_t next = 0; // probe
    std::vector<Probe> probes;
    Picture whole;
    bool hidden = false;
};

Showing run;

// Where the probe's item stands in its scene.
int indexOf(const Probe& probe) {
    const std::unique_ptr<QbSceneHandle, decltype(&qbSceneClose)> scene(qbSceneOpen(run.scene.c_str()),
                                                                        qbSceneClose);
    const bool terrain = probe.item == TERRAIN;
    const int count =
        terrain ? scene->objectInfo->count(scene.get()) : scene->emitterInfo->count(scene.get());
    for (int i = 0; i < count; i++) {
        const std::string name =
            terrain ? scene->objectInfo->name(scene.get(), i) : scene->emitterInfo->name(scene.get(), i);
        if (terrain ? name.find(TERRAIN) != std::string::npos : name == probe.item) return i;
    }
    ADD_FAILURE() << "no " << probe.item << " in " << run.scene;
    return 0;
}

void setShown(const Probe& probe, bool shown) {
    const int index = indexOf(probe);
    if (probe.item == TERRAIN)
        (shown ? qbObjectShow : qbObjectHide)(run.firstObject + index);
    else
        (shown ? qbFxEmitterShow : qbFxEmitterHide)(run.firstEmitter + index);
}

bool isDue(const Probe& probe) {
    return probe.part == run.part && probe.time == run.time;
}

void observe(const QbDemo* demo, int part, int elapsed) {
    run.part = part;
    run.time = elapsed;
    if (part < 0) return;
    const QbDemoPart& playing = demo->parts[part];
    run.scene = (show / playing.directory / playing.filename).string();
    run.firstObject = playing.firstObject;
    run.firstEmitter = playing.firstEmitter;
    if (run.hidden) setShown(run.probes[run.next], false);
}

int drawnBy(const Probe& probe, const Picture& without) {
    const auto begin = probe.item == TERRAIN ? run.whole.size() / 2 : 0;
    int count = 0;
    for (size_t i = begin; i < run.whole.size(); i++)
        count += run.whole[i] != without[i];
    return probe.item == TERRAIN ? count * 100 / static_cast<int>(run.whole.size() - begin) : count;
}

// The clock stands still while there are probes for its moment.
void atFrameEnd() {
    if (run.next == run.probes.size() || !isDue(run.probes[run.next])) {
        run.now += STEP;
        return;
    }
    int width = 0, height = 0;
    Picture picture(WIDTH * HEIGHT);
    ASSERT_EQ(qbEngineReadPixels(picture[0].data(), WIDTH * HEIGHT * 3, &width, &height), 0);
    Probe& probe = run.probes[run.next];
    if (run.hidden) {
        probe.drawn = drawnBy(probe, picture);
        setShown(probe, true);
        run.next++;
    }
    run.hidden = !run.hidden;
    run.whole = std::move(picture);
}

} // namespace

TEST(Dusk, NamesFilesThatAreThere) {
    const auto demo = std::make_unique<QbDemo>();
    ASSERT_EQ(qbDemoParse(demo.get(), (show / "dusk.demo.ini").c_str()), 0);
    ASSERT_EQ(demo->partCount, 3);
    EXPECT_EQ(demo->parts[1].time + demo->parts[2].time, 28000);
    EXPECT_TRUE(fs::exists(show / demo->musicDirectory / demo->parts[0].music));
    for (int i = 0; i < 2; i++) {
        const SceneCheck check(show / demo->parts[i].directory / demo->parts[i].filename);
        EXPECT_GE(check.objects(), 10);
    }
    const QbDemoExtra& title = demo->parts[0].extras[0];
    EXPECT_EQ(SceneCheck(show / title.directory / title.filename).objects(), 4);
    EXPECT_EQ(fs::file_size(show / "valley/valley.terrain_height.raw"), 513U * 513 * 2);
    EXPECT_EQ(fs::file_size(show / "crater/crater.terrain_height.bmp"), 54U + 257 * (257 * 3 + 1));
}

TEST(Dusk, ShowsLandAndParticlesWhenTheirTimeHasCome) {
    const Messages messages;
    run = Showing();
    run.probes = probes();
    QbSetup setup;
    setup.width = WIDTH;
    setup.height = HEIGHT;
    qbEngineSetRenderer(qbRendererOps());
    ASSERT_EQ(qbEngineOpen(&setup), 0);
    qbEngineSetTimeSource([] { return run.now; });
    qbEngineSetFrameHook(atFrameEnd);
    qbDemoSetObserver(observe);
    EXPECT_EQ(qbDemoRun((show / "dusk.demo.ini").c_str(), 0), 0);
    qbDemoSetObserver(nullptr);
    qbEngineSetFrameHook(nullptr);
    qbEngineSetTimeSource(nullptr);
    qbEngineClose();
    qbEngineSetRenderer(nullptr);
    EXPECT_EQ(messages.texts(), std::vector<std::string>{});
    for (const Probe& probe : run.probes) {
        EXPECT_GE(probe.drawn, probe.least) << probe.item << " at " << probe.time;
        EXPECT_LE(probe.drawn, probe.most) << probe.item << " at " << probe.time;
    }
}
