// Plays the sample shows over and over in one process, in stepped time, and loads and frees their scenes in
// random order in between; after each round it counts what could have piled up:
//
//   tools/with_display build/bin/soak > trace.txt
//
// Nothing may grow after the third round of a window; the last rounds have a window of their own each. The
// report goes to the error stream, since the standard output holds the program's trace. The exit status is 0
// when all is flat, 1 when something is not, 2 when a show did not play.

#include "demo/demo.h"
#include "demo/load.h"
#include "demo/player.h"
#include "engine/engine.h"
#include "engine/events.h"
#include "engine/fader.h"
#include "platform/message.h"
#include "platform/path.h"
#include "platform/process.h"
#include "render/renderer.h"
#include "scene/runtime/slots.h"
#include "soak_counts.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

enum {
    SETTLED_ROUND = 3, // from which nothing grows
    SHOWN_EVERY = 25,  // rounds
    ESCAPE_EVERY = 4,  // plays, on average
    BATCHES = 3,       // of scenes that come and go in random order, a round
    BATCH_SCENES_MAX = 5,
};

struct Options {
    int rounds = 150; // in one window
    int windows = 8;  // rounds behind them, each in a window of its own
    unsigned seed = 1;
    int step = 5000; // ms of show time a frame, on average
    int width = 160, height = 120;
    std::vector<std::string> shows;
};

// A scene file of a show, as its script names it.
struct Scene {
    std::string base, directory, filename;
    int reuseObjects, isExtra;
};

// The next ones that are free.
struct Ids {
    int object = 1, light = 0, emitter = 0;
};

struct Play {
    size_t show;
    int window;
    double loading; // ms
};

// The clock of all shows, and what the hooks of the play need.
struct Stepper {
    int now = 0;         // ms
    int step = 1;        // ms, on average
    bool isShow = false; // loading pictures take no time
    int framesLeft = -1; // until Escape is pressed; -1: never
    int64_t frames = 0;  // of all plays
};

Options options;
Stepper stepper;
std::mt19937 randomNumbers;
std::vector<Scene> scenes;
std::vector<Play> plays;
int windows = 0; // opened until now
int messages = 0;

} // namespace

static int randomBelow(int end) {
    return static_cast<int>(randomNumbers() % static_cast<unsigned>(end));
}

static double wallTime() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::milli>(now).count();
}

// --- playing ----------------------------------------------------------------------------------------------

static void atFrameEnd() {
    if (!stepper.isShow) return;
    ++stepper.frames;
    stepper.now += 1 + randomBelow(2 * stepper.step);
    if (stepper.framesLeft > 0 && --stepper.framesLeft == 0) qbEventReceiver()->keys[27] = 1;
}

// The steps of qbDemoRun, without its half second of rest.
static bool play(size_t show) {
    const auto demo = std::make_unique<QbDemo>();
    const double start = wallTime();
    const bool loaded = qbDemoLoad(demo.get(), options.shows[show].c_str(), 1) == 0;
    if (loaded) {
        qbEngineWarmUp();
        plays.push_back({show, windows, wallTime() - start});
        stepper.framesLeft = randomBelow(ESCAPE_EVERY) == 0 ? 1 + randomBelow(20) : -1;
        stepper.isShow = true;
        qbDemoPlay(demo.get());
        stepper.isShow = false;
        qbEventReceiver()->keys[27] = 0;
    }
    qbDemoFree(demo.get());
    qbFaderRemove(); // the program closes its window here
    return loaded;
}

// --- scenes in random order -------------------------------------------------------------------------------

template <class Owner>
static void addScene(const std::string& base, const Owner& owner, int isExtra) {
    if (!owner.filename[0]) return;
    for (const Scene& scene : scenes)
        if (scene.base == base && scene.directory == owner.directory && scene.filename == owner.filename)
            return;
    scenes.push_back({base, owner.directory, owner.filename, owner.reuseObjects, isExtra});
}

static bool readScenes() {
    const auto demo = std::make_unique<QbDemo>();
    for (const std::string& show : options.shows) {
        if (qbDemoParse(demo.get(), show.c_str()) != 0) return false;
        const std::string base = std::filesystem::path(show).parent_path();
        for (int i = 0; i < demo->partCount; ++i) {
            const QbDemoPart& part = demo->parts[i];
            addScene(base, part, 0);
            for (int extra = 0; extra < part.extraCount; ++extra)
                addScene(base, part.extras[extra], 1);
        }
    }
    return scenes.size() > 1;
}

static std::vector<int> shuffled(int count) {
    std::vector<int> order(static_cast<size_t>(count));
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), randomNumbers);
    return order;
}

static bool loadScene(int slot, const Scene& scene, Ids* ids) {
    qbSetDirectory(scene.base.c_str());
    qbSetDirectory(scene.directory.c_str());
    if (qbSceneLoad(scene.filename.c_str(), slot, ids->object, ids->light, ids->emitter, scene.reuseObjects,
                    scene.directory.c_str(), scene.isExtra) != 0)
        return false;
    ids->object += qbSceneObjectCount(slot);
    ids->light += qbSceneLightCount(slot);
    ids->emitter += qbSceneFxEmitterCount(slot);
    return true;
}

// One at a time: the driver makes programs of its own for every mixture of lights that it meets.
static void showScene(int slot) {
    qbSceneStart(slot);
    qbSceneUpdate(slot, randomBelow(std::max(1, qbSceneDurationMs(slot))));
    qbEngineDrawFrame();
    qbSceneStop(slot);
}

// Some scenes of any show, as a script could name them: slots and ids ascend, and scenes of one directory
// share meshes. Every other time the last makes room for one more. They go in any order.
static bool loadAndFree() {
    const std::vector<int> order = shuffled(static_cast<int>(scenes.size()));
    const int count = 1 + randomBelow(std::min<int>(BATCH_SCENES_MAX, static_cast<int>(scenes.size()) - 1));
    Ids ids, last;
    for (int slot = 0; slot < count; ++slot) {
        last = ids;
        if (!loadScene(slot, scenes[static_cast<size_t>(order[static_cast<size_t>(slot)])], &ids))
            return false;
    }
    const Scene& oneMore = scenes[static_cast<size_t>(order[static_cast<size_t>(count)])];
    if (randomBelow(2) == 0 && !loadScene(count - 1, oneMore, &last)) return false;
    for (const int slot : shuffled(count))
        showScene(slot);
    for (const int slot : shuffled(count))
        qbSceneFree(slot);
    return true;
}

// --- rounds -----------------------------------------------------------------------------------------------

static bool openWindow() {
    QbSetup setup;
    setup.width = options.width;
    setup.height = options.height;
    ++windows;
    qbEngineSetRenderer(qbRendererOps());
    return qbEngineOpen(&setup) == 0;
}

static bool playRound(Counts* counts) {
    for (const int show : shuffled(static_cast<int>(options.shows.size())))
        if (!play(static_cast<size_t>(show))) return false;
    for (int i = 0; i < BATCHES; ++i)
        if (!loadAndFree()) return false;
    qbEngineDrawFrame(); // the driver drops with a frame what nobody uses any more
    *counts = countAll();
    return messages == 0;
}

// --- the report -------------------------------------------------------------------------------------------

static void printHead() {
    std::fprintf(stderr, "%-8s", "round");
    for (int i = 0; i < COUNTS; ++i)
        std::fprintf(stderr, " %s%s", countInfo(i).name, i + 1 < COUNTS ? " |" : "\n");
}

static void printRow(size_t round, const Counts& counts) {
    std::fprintf(stderr, "%-8zu", round);
    for (int i = 0; i < COUNTS; ++i) {
        const auto width = static_cast<int>(std::strlen(countInfo(i).name));
        std::fprintf(stderr, " %*lld%s", width, static_cast<long long>(counts[static_cast<size_t>(i)]),
                     i + 1 < COUNTS ? " |" : "\n");
    }
}

static bool isShown(size_t round, size_t last) {
    return round <= SETTLED_ROUND || round % SHOWN_EVERY == 0 || round == last;
}

static void printMargins() {
    for (int i = 0; i < COUNTS; ++i)
        if (countInfo(i).margin != 0)
            std::fprintf(stderr, "flat within %lld: %s, since %s\n",
                         static_cast<long long>(countInfo(i).margin), countInfo(i).name, countInfo(i).why);
}

// The first round that differs too much from the settled one, told for each count.
static bool isFlat(const std::vector<Counts>& rounds) {
    bool flat = true;
    for (int i = 0; i < COUNTS; ++i) {
        const auto at = static_cast<size_t>(i);
        for (size_t round = SETTLED_ROUND; round < rounds.size(); ++round) {
            const int64_t growth = rounds[round][at] - rounds[SETTLED_ROUND - 1][at];
            const int64_t margin = countInfo(i).margin;
            if (growth == 0 || (margin > 0 && growth <= margin)) continue;
            std::fprintf(stderr, "NOT FLAT: %s is %+lld in round %zu, %lld allowed\n", countInfo(i).name,
                         static_cast<long long>(growth), round + 1, static_cast<long long>(margin));
            flat = false;
            break;
        }
    }
    return flat;
}

static double median(std::vector<double> times) {
    if (times.empty()) return 0;
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

// The first time in a window meshes and pictures are read and programs compiled.
static void printLoading(size_t show) {
    std::vector<double> first, later;
    int window = 0;
    for (const Play& one : plays) {
        if (one.show != show) continue;
        (one.window == window ? later : first).push_back(one.loading);
        window = one.window;
    }
    std::fprintf(stderr, "loading %s: %.0f ms the very first time, ",
                 std::filesystem::path(options.shows[show]).filename().c_str(), first.front());
    std::fprintf(stderr, "%.0f ms the first time in a window, %.0f ms later (medians)\n", median(first),
                 median(later));
}

// --- the whole --------------------------------------------------------------------------------------------

static bool soak(int rounds, bool newWindows, std::vector<Counts>* counted) {
    if (rounds > 0) printHead();
    for (int round = 1; round <= rounds; ++round) {
        if ((round == 1 || newWindows) && !openWindow()) return false;
        Counts counts;
        if (!playRound(&counts)) return false;
        counted->push_back(counts);
        if (newWindows || isShown(counted->size(), static_cast<size_t>(rounds)))
            printRow(counted->size(), counts);
    }
    return true;
}

static bool readOption(const char* word) {
    const struct {
        const char* name;
        int* value;
        int least;
    } numbers[] = {{"--rounds=", &options.rounds, 1},
                   {"--windows=", &options.windows, 0},
                   {"--step=", &options.step, 1}};
    for (const auto& number : numbers) {
        const size_t length = std::strlen(number.name);
        if (std::strncmp(word, number.name, length) != 0) continue;
        *number.value = std::atoi(word + length);
        return *number.value >= number.least;
    }
    if (std::strncmp(word, "--seed=", 7) == 0)
        options.seed = static_cast<unsigned>(std::strtoul(word + 7, nullptr, 10));
    else if (word[0] != '-')
        options.shows.push_back(std::filesystem::absolute(word));
    else
        return false;
    return true;
}

static bool readOptions(int argc, char** argv) {
    for (int i = 1; i < argc; ++i)
        if (!readOption(argv[i])) return false;
    if (options.shows.empty())
        options.shows = {QB_BINARY_DIR "/samples/first-light/first-light.demo.ini",
                         QB_BINARY_DIR "/samples/dusk/dusk.demo.ini"};
    return true;
}

// What the shows leave in it can be counted, since nobody else uses it.
static std::filesystem::path makeTemporaryDirectory() {
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("quab-soak-" + std::to_string(qbProcessTime()));
    std::filesystem::create_directory(path);
    setenv("TMPDIR", path.c_str(), 1);
    return path;
}

static int run() {
    stepper.step = options.step;
    randomNumbers.seed(options.seed);
    qbMessageSetSink([](const char*) { ++messages; });
    qbEngineSetTimeSource([] { return stepper.now; });
    qbEngineSetFrameHook(atFrameEnd);
    std::fprintf(stderr, "seed %u, %d rounds of %zu shows in one window, then %d in windows of their own\n",
                 options.seed, options.rounds, options.shows.size(), options.windows);
    const auto rounds = static_cast<size_t>(options.rounds + options.windows);
    std::vector<Counts> inOne, inOwn;
    inOne.reserve(rounds); // so that the report itself takes nothing while it counts
    inOwn.reserve(rounds);
    plays.reserve(rounds * options.shows.size());
    if (!readScenes() || !soak(options.rounds, false, &inOne) || !soak(options.windows, true, &inOwn)) {
        std::fprintf(stderr, "FAILED: a show or a scene did not load, or there were messages\n");
        return 2;
    }
    std::fprintf(stderr, "%zu plays, %lld frames, %.0f s of show time\n", plays.size(),
                 static_cast<long long>(stepper.frames), stepper.now / 1000.0);
    for (size_t show = 0; show < options.shows.size(); ++show)
        printLoading(show);
    printMargins();
    const bool flat = isFlat(inOne);
    const bool flatInWindows = isFlat(inOwn);
    std::fprintf(stderr, flat && flatInWindows ? "FLAT\n" : "NOT FLAT\n");
    return flat && flatInWindows ? 0 : 1;
}

int main(int argc, char** argv) {
    qbProcessStart(argc, argv);
    if (!readOptions(argc, argv)) {
        std::fprintf(stderr, "Usage: soak [--rounds=N] [--windows=N] [--seed=N] [--step=MS] [script...]\n");
        return 2;
    }
    const std::filesystem::path temporary = makeTemporaryDirectory();
    const int status = run();
    qbEngineClose();
    std::filesystem::remove_all(temporary);
    return status;
}
