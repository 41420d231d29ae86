#include "render_measure.h"

#include "engine/engine.h"

#include <epoxy/gl.h>
#include <irrlicht/irrlicht.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>

using namespace irr;

static const char* const PASS_NAMES[QB_PASS_COUNT] = {"prepare",     "geometry", "light",   "final",
                                                      "transparent", "post",     "present", "frame"};

// --- clocks ---------------------------------------------------------------------------------------------

double wallTime() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::milli>(now).count();
}

// Of the drawing thread alone: a software renderer draws in threads of its own.
double threadTime() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

namespace {

// Marks at the beginning of each pass of the frame that is being drawn.
struct Marks {
    std::array<double, QB_PASS_COUNT> thread{}, wall{};
    std::array<GLuint, QB_PASS_COUNT> queries{};
    bool finish = false; // wait for the driver at each mark
} marks;

} // namespace

static void markPass(QbRenderPass pass) {
    if (marks.finish) glFinish();
    if (marks.queries[pass]) glQueryCounter(marks.queries[pass], GL_TIMESTAMP);
    marks.thread[pass] = threadTime();
    marks.wall[pass] = wallTime();
}

static Times passTimes(const std::array<double, QB_PASS_COUNT>& begun) {
    Times times{};
    for (size_t pass = 0; pass + 1 < QB_PASS_COUNT; ++pass)
        times[pass] = begun[pass + 1] - begun[pass];
    times[QB_PASS_END] = begun[QB_PASS_END] - begun[QB_PASS_PREPARE];
    return times;
}

Times threadTimes() {
    return passTimes(marks.thread);
}

Times gpuTimes() {
    std::array<double, QB_PASS_COUNT> begun{};
    for (size_t pass = 0; pass < QB_PASS_COUNT; ++pass) {
        GLuint64 nanoseconds = 0;
        glGetQueryObjectui64v(marks.queries[pass], GL_QUERY_RESULT, &nanoseconds);
        begun[pass] = static_cast<double>(nanoseconds) * 1e-6;
    }
    return passTimes(begun);
}

void keepFastest(Times& best, const Times& times) {
    for (size_t i = 0; i < QB_PASS_COUNT; ++i)
        best[i] = std::min(best[i], times[i]);
}

Times unmeasured() {
    Times times;
    times.fill(1e9);
    return times;
}

// --- frames ---------------------------------------------------------------------------------------------

void drawFrame() {
    if (qbEngineIsOver()) std::exit(1);
    qbEngineDrawFrame();
}

// Irrlicht's own frame of the same scene, without the end that both share.
double stockFrame() {
    QbEngine* engine = qbEngineGet();
    const double begin = threadTime();
    engine->driver->beginScene(true, true, video::SColor(0));
    engine->smgr->drawAll();
    engine->gui->drawAll();
    const double end = threadTime();
    engine->driver->endScene();
    return end - begin;
}

Times finishedFrame() {
    marks.finish = true;
    drawFrame();
    marks.finish = false;
    return passTimes(marks.wall);
}

// --- rows -----------------------------------------------------------------------------------------------

bool printRatio(const char* what, double ratio, double target) {
    std::printf("%-60s %8.2f  target %.2f  %s\n", what, ratio, target, ratio <= target ? "met" : "missed");
    return ratio <= target;
}

void printPasses(const char* what, const Times& times) {
    std::printf("%-24s", what);
    for (size_t pass = 0; pass < QB_PASS_COUNT; ++pass)
        std::printf(" %s %.3f", PASS_NAMES[pass], times[pass]);
    std::printf("\n");
}

// --- starting -------------------------------------------------------------------------------------------

static void startQueries() {
    if (!epoxy_has_gl_extension("GL_ARB_timer_query")) return;
    glGenQueries(QB_PASS_COUNT, marks.queries.data());
}

void startMeasuring() {
    startQueries();
    qbRendererSetPassHook(markPass);
}

bool hasGpuTimes() {
    return marks.queries[0] != 0;
}
