#include "shell/pictures.h"

#include "demo/player.h"
#include "engine/engine.h"
#include "platform/message.h"
#include "platform/path.h"
#include "platform/process.h"
#include "scene/runtime/slots.h"
#include "shell/scene_view.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <irrlicht/irrlicht.h>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

enum {
    VIEW_PICTURES = 4,
    VIEW_SPAN_OBJECT = 4000, // milliseconds
    VIEW_SPAN_SCENE = 12000, // at most, of a long scene
    SHEET_COLUMNS = 3,
    SHEET_WIDTH = 320,       // of one picture, pixels
    SHEET_HEIGHT_MAX = 1280, // likewise; taller pictures are squeezed
    SHEET_GAP = 8,
};

namespace {

struct Picture {
    std::string name; // without directory
    std::string what; // what the script or the viewer says of this moment
    int width, height;
    std::vector<uint8_t> rgb;
};

struct State {
    bool running = false;
    std::string directory; // empty: no pictures
    bool unattended = false;
    QbPicturesJob job = QB_PICTURES_OBJECT;
    std::vector<Picture> taken;
    std::string armedName; // the picture to take at the end of this frame; empty: none
    std::string armedWhat;
    int lastPart = -1; // demo: the last part that has its picture
    int viewStart = -1;
    int viewTaken = 0;
    bool shows = false; // the job draws its own frames; those of the loading picture do not count
    int lastFrame = -1; // ms; -1: nothing to measure from
    int frames = 0;     // intervals between frames, and their sum and longest in ms
    int sum = 0;
    int longest = 0;
};

} // namespace

static State state;

template <typename... Args>
static std::string format(const char* text, Args... args) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, text, args...);
    return buffer;
}

// --- what to take, and when -------------------------------------------------------------------------------

// On the timeline's clock, milliseconds. A script may hold any times: differences are taken wider.
static int64_t startOf(const QbDemoPart& part) {
    return part.timeReset != 0 ? 0 : part.time;
}

static std::string describePart(const QbDemo* demo, int index, int elapsed) {
    const QbDemoPart& part = demo->parts[index];
    std::string text = format("part %d at %" PRId64 " ms", index + 1, elapsed - startOf(part));
    text += part.filename[0] != '\0' ? format(": scene %s", part.filename)
                                     : std::string(": the scene before goes on");
    for (int i = 0; i < part.extraCount; ++i) {
        if (part.extras[i].active != 0) text += format(", extra %s", part.extras[i].filename);
    }
    for (int i = 0; i < part.faderCount; ++i) {
        if (part.faders[i].active != 0)
            text += format(", fade %s 0x%06X", part.faders[i].fadeOut != 0 ? "to" : "from",
                           static_cast<unsigned>(part.faders[i].color));
    }
    return text;
}

// A part's picture is due half-way between its own start and the next part's.
static void watchDemo(const QbDemo* demo, int index, int elapsed) {
    state.shows = true;
    if (index < 0 || index == state.lastPart || index + 1 >= demo->partCount) return;
    const int64_t start = startOf(demo->parts[index]);
    const int64_t middle = start + (demo->parts[index + 1].time - start) / 2;
    if (elapsed < middle) return;
    state.lastPart = index;
    state.armedName = format("part-%02d-at-%06dms.png", index + 1, elapsed);
    state.armedWhat = describePart(demo, index, elapsed);
}

static int viewSpan() {
    if (state.job == QB_PICTURES_OBJECT) return VIEW_SPAN_OBJECT;
    return std::min<int>(qbSceneDurationMs(QB_VIEW_SLOT), VIEW_SPAN_SCENE);
}

static void watchView() {
    // The viewer's last frames show that its scene is gone.
    if (state.job == QB_PICTURES_SCENE && qbSceneObjectCount(QB_VIEW_SLOT) < 0) return;
    if (state.viewStart < 0) state.viewStart = qbEngineTime();
    if (state.viewTaken == VIEW_PICTURES) return;
    const int elapsed = qbEngineTime() - state.viewStart;
    const int due = (viewSpan() / (VIEW_PICTURES - 1)) * state.viewTaken;
    if (elapsed < due) return;
    ++state.viewTaken;
    state.armedName = format("view-%d-at-%06dms.png", state.viewTaken, elapsed);
    state.armedWhat = format("%d ms after the first frame", elapsed);
    if (state.unattended && state.viewTaken == VIEW_PICTURES) qbEngineGet()->device->closeDevice();
}

static void take() {
    Picture picture;
    picture.name.swap(state.armedName);
    picture.what.swap(state.armedWhat);
    if (state.directory.empty()) return;
    qbEngineFrameSize(&picture.width, &picture.height);
    const size_t size = static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height) * 3;
    picture.rgb.resize(size);
    if (qbEngineReadPixels(picture.rgb.data(), static_cast<uint32_t>(size), &picture.width,
                           &picture.height) != 0)
        return;
    state.taken.push_back(std::move(picture));
}

static void measureFrame() {
    const int now = qbEngineTime();
    if (state.lastFrame >= 0) {
        ++state.frames;
        state.sum += now - state.lastFrame;
        state.longest = std::max(state.longest, now - state.lastFrame);
    }
    state.lastFrame = now;
}

static void atFrameEnd() {
    if (state.shows) measureFrame();
    if (state.job != QB_PICTURES_DEMO) watchView();
    if (state.armedName.empty()) return;
    take();
    state.lastFrame = -1; // what a picture costs is not the show's
}

// --- writing ----------------------------------------------------------------------------------------------

static irr::video::IImage* imageOf(Picture* picture) {
    const irr::core::dimension2du size(static_cast<uint32_t>(picture->width),
                                       static_cast<uint32_t>(picture->height));
    return qbEngineGet()->driver->createImageFromData(irr::video::ECF_R8G8B8, size, picture->rgb.data(), true,
                                                      false);
}

// Irrlicht does not look whether the disk took all: a whole PNG ends with an empty chunk of this name.
static bool isWhole(const std::string& path) {
    enum { TAIL = 8 }; // bytes from the name to the end
    char tail[TAIL] = {};
    std::FILE* file = qbPathOpen(path.c_str(), "rb");
    if (!file) return false;
    const bool read = std::fseek(file, -TAIL, SEEK_END) == 0 && std::fread(tail, 1, TAIL, file) == TAIL;
    std::fclose(file);
    return read && std::string_view(tail, 4) == "IEND";
}

static int writeImage(irr::video::IImage* image, const std::string& name) {
    const std::string path = state.directory + "/" + name;
    if (qbEngineGet()->driver->writeImageToFile(image, path.c_str()) && isWhole(path)) return 0;
    std::error_code gone;
    std::filesystem::remove(path, gone);
    qbMessage("The picture '%s' could not be written. Is the disk full, or the directory read-only?",
              path.c_str());
    return -1;
}

static int writePictures() {
    for (Picture& picture : state.taken) {
        irr::video::IImage* image = imageOf(&picture);
        const int result = writeImage(image, picture.name);
        image->drop();
        if (result != 0) return -1;
        std::printf("%s: %s\n", picture.name.c_str(), picture.what.c_str());
    }
    return 0;
}

// Of one picture on the sheet, in the proportion of the first.
static uint32_t sheetHeight() {
    const Picture& first = state.taken[0];
    const int height = SHEET_WIDTH * first.height / std::max(1, first.width);
    return static_cast<uint32_t>(std::clamp<int>(height, 1, SHEET_HEIGHT_MAX));
}

static int writeSheet() {
    const auto count = static_cast<uint32_t>(state.taken.size());
    const uint32_t height = sheetHeight();
    const uint32_t columns = std::min<uint32_t>(count, SHEET_COLUMNS);
    const uint32_t rows = (count + columns - 1) / columns;
    const irr::core::dimension2du size(columns * (SHEET_WIDTH + SHEET_GAP) + SHEET_GAP,
                                       rows * (height + SHEET_GAP) + SHEET_GAP);
    irr::video::IVideoDriver* driver = qbEngineGet()->driver;
    irr::video::IImage* sheet = driver->createImage(irr::video::ECF_R8G8B8, size);
    irr::video::IImage* cell = driver->createImage(irr::video::ECF_R8G8B8, {SHEET_WIDTH, height});
    sheet->fill(irr::video::SColor(255, 24, 24, 28));
    for (uint32_t i = 0; i < count; ++i) {
        irr::video::IImage* image = imageOf(&state.taken[i]);
        image->copyToScalingBoxFilter(cell);
        image->drop();
        const auto x = static_cast<int>(i % columns * (SHEET_WIDTH + SHEET_GAP) + SHEET_GAP);
        const auto y = static_cast<int>(i / columns * (height + SHEET_GAP) + SHEET_GAP);
        cell->copyTo(sheet, irr::core::position2di(x, y));
    }
    const int result = writeImage(sheet, "contact-sheet.png");
    cell->drop();
    sheet->drop();
    return result;
}

// --- the job's frame --------------------------------------------------------------------------------------

int qbPicturesStart(const QbPicturesOptions* options) {
    state = State();
    if (options->directory != nullptr) {
        std::error_code error;
        std::filesystem::create_directories(options->directory, error);
        if (error) {
            qbMessage("The directory '%s' for pictures can not be created: %s.", options->directory,
                      error.message().c_str());
            return -1;
        }
        // The job changes the current directory.
        state.directory = qbFullPath(options->directory);
    }
    state.running = true;
    state.unattended = options->unattended != 0;
    state.job = options->job;
    state.shows = state.job != QB_PICTURES_DEMO;
    if (state.job == QB_PICTURES_DEMO) qbDemoSetObserver(watchDemo);
    qbEngineSetFrameHook(atFrameEnd);
    return 0;
}

int qbPicturesFinish() {
    if (!state.running) return 0;
    state.running = false;
    qbDemoSetObserver(nullptr);
    qbEngineSetFrameHook(nullptr);
    if (state.sum > 0)
        std::printf("%d frames a second, the longest took %d ms\n",
                    static_cast<int>(int64_t{1000} * state.frames / state.sum), state.longest);
    if (state.taken.empty()) return 0;
    if (writePictures() != 0 || writeSheet() != 0) return -1;
    std::printf("%zu pictures and contact-sheet.png in %s\n", state.taken.size(), state.directory.c_str());
    state.taken.clear();
    return 0;
}
