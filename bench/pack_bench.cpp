// What packing a show costs, and what a packed show costs at its start, each beside its baseline in one run:
//
//   pack      `-demoexe` of the show / the tool alone making the same four cabinets
//   start     process start to the end of the first frame: packed show / its script
//
//   pack_bench <file.demo.ini> [rounds]          under a display
//
// The packed show is a copy of this very program, which then plays what it carries and ends after its first
// frame. Rounds alternate; the fastest counts, since what disturbs only adds.

#include "demo/player.h"
#include "engine/engine.h"
#include "platform/cabinet/cabinet.h"
#include "shell/entry.h"
#include "storage/cabinet.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <irrlicht/irrlicht.h>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

// Of a clock that all processes share, milliseconds.
double wallTime() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::milli>(now).count();
}

// --- the program that is measured -------------------------------------------------------------------------

bool isShow = false;

void endAfterFirstFrame() {
    if (!isShow) return;
    qbEngineSetFrameHook(nullptr);
    std::printf("first frame %.3f\n", wallTime());
    std::fflush(stdout);
    qbEngineGet()->device->closeDevice();
}

int playFirstFrame(int argc, char** argv) {
    qbDemoSetObserver([](const QbDemo*, int, int) { isShow = true; });
    qbEngineSetFrameHook(endAfterFirstFrame);
    return qbMain(argc, argv);
}

// --- measuring --------------------------------------------------------------------------------------------

struct Run {
    double total = -1; // milliseconds; -1: failed
    double firstFrame = -1;
};

Run runCommand(const std::string& command) {
    Run run;
    const double start = wallTime();
    std::FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return run;
    std::array<char, 1024> line;
    while (std::fgets(line.data(), line.size(), pipe)) {
        double moment = 0;
        if (std::sscanf(line.data(), "first frame %lf", &moment) == 1) run.firstFrame = moment - start;
    }
    pclose(pipe);
    run.total = wallTime() - start;
    return run;
}

const char* const CABINETS[] = {"tmp_demo_data.cab", "tmp_demo_music.cab", "tmp_demo_loading.cab",
                                "tmp_demo_defdata.cab"};

// The tool alone, on what the packing before gave it.
double packAgain(const fs::path& scriptDirectory, const fs::path& programDirectory) {
    double total = 0;
    for (const char* name : CABINETS) {
        std::vector<QbCabinetFile> files;
        if (qbCabinetList(name, files) != 0) return -1;
        const bool isOwn = name == CABINETS[3];
        QbCabinetPacking packing = {
            fs::absolute("alone.cab"), isOwn ? programDirectory : scriptDirectory, {}, "/dev/null"};
        for (const QbCabinetFile& file : files)
            packing.files.push_back(file.name);
        std::string command, reason;
        const double start = wallTime();
        if (qbCabinetPack(packing, command, reason) != 0) {
            std::fprintf(stderr, "%s: %s\n", command.c_str(), reason.c_str());
            return -1;
        }
        total += wallTime() - start;
    }
    return total;
}

void keepFastest(double& fastest, double time) {
    if (time >= 0 && (fastest < 0 || time < fastest)) fastest = time;
}

bool printRatio(const char* what, double measured, double baseline, double target) {
    const double ratio = measured / baseline;
    std::printf("%-50s %8.1f / %8.1f ms = %5.2f  target %.2f  %s\n", what, measured, baseline, ratio, target,
                ratio <= target ? "met" : "missed");
    return ratio <= target;
}

int measure(const char* program, const char* scriptName, int rounds) {
    const fs::path script = fs::absolute(scriptName), self = fs::canonical(program);
    std::string pattern = fs::temp_directory_path() / "quab-pack-bench-XXXXXX";
    if (!mkdtemp(pattern.data())) return 1;
    const fs::path work = pattern;
    fs::create_directory(work / "hall");
    fs::current_path(work);
    if (fs::exists(script.parent_path() / "quab-setup.ini"))
        fs::copy_file(script.parent_path() / "quab-setup.ini", "hall/quab-setup.ini");
    const std::string pack = "'" + self.string() + "' -demoexe hall/show '" + script.string() + "'";
    const std::string play = "cd '" + script.parent_path().string() + "' && '" + self.string() + "' '" +
                             script.filename().string() + "'";
    double packing = -1, tool = -1, packed = -1, plain = -1;
    for (int i = 0; i < rounds; ++i) {
        keepFastest(packing, runCommand(pack).total);
        keepFastest(tool, packAgain(script.parent_path(), self.parent_path()));
        keepFastest(plain, runCommand(play).firstFrame);
        keepFastest(packed, runCommand("cd hall && ./show").firstFrame);
    }
    fs::current_path("/");
    fs::remove_all(work);
    if (tool < 0 || plain < 0 || packed < 0) {
        std::fprintf(stderr, "the show did not pack or did not play\n");
        return 1;
    }
    const bool fastPack = printRatio("packing / the tool alone", packing, tool, 1.5);
    const bool fastStart = printRatio("start to first frame, packed / script", packed, plain, 1.5);
    return fastPack && fastStart ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    const bool isMeasuring = argc > 1 && argv[1][0] != '-' && getenv("QUAB_BENCH_CHILD") == nullptr;
    if (!isMeasuring || qbHasResources() == 0) return playFirstFrame(argc, argv);
    setenv("QUAB_BENCH_CHILD", "1", 1);
    return measure(argv[0], argv[1], argc > 2 ? std::max(1, std::atoi(argv[2])) : 5);
}
