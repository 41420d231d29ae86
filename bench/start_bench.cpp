// Where the time goes from the start of the process to the end of the show's first frame:
//
//   start_bench <file.demo.ini> [rounds] [--beside=PROGRAM]      under a display
//
// The program runs itself once a round, as `quab` would play the show, and ends after the first frame. Each
// row is the time spent on one thing and on nothing else within it, in milliseconds, the least of all rounds:
// by the clock, and of the processor by the thread that loads (what disturbs adds little to that). With
// --beside the start_bench of another build takes turns with this one, for a comparison in one run.

#include "demo/player.h"
#include "engine/engine.h"
#include "platform/span.h"
#include "shell/entry.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <irrlicht/irrlicht.h>
#include <map>
#include <string>
#include <time.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

// Of a clock that all processes share, milliseconds.
double wallTime() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::milli>(now).count();
}

// Of this thread, milliseconds.
double threadTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

struct Times {
    double wall = 0, thread = 0;
};

Times now() {
    return {wallTime(), threadTime()};
}

// --- the program that is measured -------------------------------------------------------------------------

bool isShow = false;
std::map<std::string, Times> spent;
std::vector<std::string> open; // spans, the innermost last
Times since;                   // when the innermost took over

void takeSpan(const char* name, int isBegin) {
    const Times moment = now();
    Times& sum = spent[open.empty() ? "everything else" : open.back()];
    sum.wall += moment.wall - since.wall;
    sum.thread += moment.thread - since.thread;
    since = moment;
    if (isBegin)
        open.emplace_back(name);
    else
        open.pop_back();
}

void endAfterFirstFrame() {
    if (!isShow) return;
    qbEngineSetFrameHook(nullptr);
    takeSpan("end", 1);
    for (const auto& [name, time] : spent)
        std::printf("spent %.3f %.3f %s\n", time.wall, time.thread, name.c_str());
    std::printf("first frame %.3f %.3f\n", since.wall, since.thread);
    std::fflush(stdout);
    qbEngineGet()->device->closeDevice();
}

int playFirstFrame(int argc, char** argv) {
    since = now();
    std::printf("main %.3f %.3f\n", since.wall, since.thread);
    qbSpanSetSink(takeSpan);
    qbDemoSetObserver([](const QbDemo*, int, int) { isShow = true; });
    qbEngineSetFrameHook(endAfterFirstFrame);
    return qbMain(argc, argv);
}

// --- measuring --------------------------------------------------------------------------------------------

using Rows = std::map<std::string, Times>;

void keepLeast(Rows& rows, const char* name, double wall, double thread) {
    const auto [row, isNew] = rows.try_emplace(name, Times{wall, thread});
    row->second = {std::min(row->second.wall, wall), std::min(row->second.thread, thread)};
}

bool runOnce(const std::string& command, Rows& rows) {
    const double start = wallTime();
    std::FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return false;
    char line[1024], name[64];
    bool isDone = false;
    double wall = 0, thread = 0;
    while (std::fgets(line, sizeof line, pipe)) {
        if (std::sscanf(line, "main %lf %lf", &wall, &thread) == 2)
            keepLeast(rows, "process start to main", wall - start, thread);
        if (std::sscanf(line, "spent %lf %lf %63[^\n]", &wall, &thread, name) == 3)
            keepLeast(rows, name, wall, thread);
        if (std::sscanf(line, "first frame %lf %lf", &wall, &thread) != 2) continue;
        keepLeast(rows, "process start to first frame", wall - start, thread);
        isDone = true;
    }
    pclose(pipe);
    return isDone;
}

void print(const Rows& rows, const Rows& beside) {
    std::vector<std::pair<Times, std::string>> order;
    for (const auto& [name, times] : rows)
        order.emplace_back(times, name);
    std::sort(order.begin(), order.end(),
              [](const auto& a, const auto& b) { return a.first.wall > b.first.wall; });
    std::printf("%-32s %9s %9s", "milliseconds", "clock", "thread");
    if (!beside.empty()) std::printf("   beside: %9s %9s", "clock", "thread");
    std::printf("\n");
    for (const auto& [times, name] : order) {
        std::printf("%-32s %9.1f %9.1f", name.c_str(), times.wall, times.thread);
        const auto other = beside.find(name);
        if (other != beside.end())
            std::printf("           %9.1f %9.1f", other->second.wall, other->second.thread);
        std::printf("\n");
    }
}

std::string commandOf(const fs::path& program, const fs::path& script) {
    return "cd '" + script.parent_path().string() + "' && QUAB_BENCH_CHILD=1 '" + program.string() + "' '" +
           script.filename().string() + "'";
}

int measure(const fs::path& script, const fs::path& other, int rounds) {
    Rows rows, beside;
    for (int i = 0; i < rounds; ++i) {
        bool good = runOnce(commandOf(fs::canonical("/proc/self/exe"), script), rows);
        if (!other.empty()) good &= runOnce(commandOf(other, script), beside);
        if (!good) {
            std::fprintf(stderr, "the show did not play\n");
            return 1;
        }
    }
    print(rows, beside);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2 || getenv("QUAB_BENCH_CHILD")) return playFirstFrame(argc, argv);
    int rounds = 9;
    fs::path other;
    for (int i = 2; i < argc; ++i) {
        if (std::strncmp(argv[i], "--beside=", 9) == 0)
            other = fs::absolute(argv[i] + 9);
        else
            rounds = std::max(1, std::atoi(argv[i]));
    }
    return measure(fs::absolute(argv[1]), other, rounds);
}
