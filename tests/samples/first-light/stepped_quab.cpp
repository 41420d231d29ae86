// The program itself on a clock that goes one second a frame, with ten pictures of what it shows:
//
//   stepped_quab <directory of the pictures> <arguments of quab>

#include "demo/player.h"
#include "engine/engine.h"
#include "shell/entry.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

enum { STEP = 1000 /* ms */, PICTURE_EVERY = 8, PICTURE_FIRST = 4 /* frames */ };

static std::string directory;
static int now = 0;    // ms
static int frame = -1; // of the show; the loading pictures do not count
static bool isShow = false;

static void save() {
    int width = 0, height = 0;
    qbEngineFrameSize(&width, &height);
    std::vector<uint8_t> rgb(static_cast<size_t>(width * height) * 3);
    if (qbEngineReadPixels(rgb.data(), static_cast<uint32_t>(rgb.size()), &width, &height) != 0) return;
    const std::string name = directory + "/" + std::to_string(100 + frame) + ".ppm";
    std::FILE* file = std::fopen(name.c_str(), "wb");
    if (!file) return;
    std::fprintf(file, "P6\n%d %d\n255\n", width, height);
    std::fwrite(rgb.data(), 1, rgb.size(), file);
    std::fclose(file);
}

static void atFrameEnd() {
    if (!isShow) return;
    now += STEP;
    if (frame % PICTURE_EVERY == PICTURE_FIRST) save();
}

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    directory = argv[1];
    argv[1] = argv[0];
    qbEngineSetTimeSource([] { return now; });
    qbEngineSetFrameHook(atFrameEnd);
    qbDemoSetObserver([](const QbDemo*, int, int) {
        isShow = true;
        ++frame;
    });
    return qbMain(argc - 1, argv + 1);
}
