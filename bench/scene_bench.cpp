// What scenes cost, in ratios to plain work of the same size that is measured in the same run:
//
//   opening       1,000 objects of 7,000 frames, against fread of the file's bytes
//   evaluation    nine motion channels of 1,000 items at the next frame, against as many linear
//                 interpolations over plain float arrays; channels of one chunk and of thousands
//
// Processor time counts, and of all repetitions of a row the fastest, since what disturbs only adds.

#include "scene/export/quab_writer.h"
#include "scene/format/channel.h"
#include "scene/format/container.h"
#include "scene/format/tables.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int32_t ITEMS = 1000;
constexpr int32_t CHANNELS = 9;
constexpr int32_t FRAMES = 7000;
constexpr float FRAMES_PER_SECOND = 25;

// Literal values that no run can shorten, small enough to be angles.
float sampleValue(size_t channel, int32_t frame) {
    return std::sin(static_cast<float>(frame) * 0.01f + static_cast<float>(channel));
}

// A time between two frames, so that every evaluation blends two samples.
float timeOf(int32_t frame) {
    return (static_cast<float>(frame) + 0.5f) * 1000 / FRAMES_PER_SECOND;
}

// --- opening

struct SceneFile {
    std::filesystem::path directory;
    std::string path;
    std::string error;

    SceneFile() {
        std::random_device random;
        do
            directory = std::filesystem::temp_directory_path() / ("quab-bench-" + std::to_string(random()));
        while (!std::filesystem::create_directory(directory));
        path = (directory / "bench.quab").string();
        if (qbSceneExportSave(makeScene(), path, error) == 0) error.clear();
    }
    SceneFile(const SceneFile&) = delete;
    SceneFile& operator=(const SceneFile&) = delete;
    ~SceneFile() { std::filesystem::remove_all(directory); }

    static QbExportScene makeScene() {
        QbExportScene scene;
        scene.name = scene.fileName = "bench.lws";
        scene.frameEnd = FRAMES - 1;
        scene.framesPerSecond = FRAMES_PER_SECOND;
        scene.cameras.emplace_back().name = "Camera";
        scene.lights.emplace_back().name = "Light";
        for (int32_t i = 0; i < ITEMS; i++) {
            const std::string stem = "item" + std::to_string(i);
            QbExportObject& object = scene.objects.emplace_back();
            object.name = stem + ":Layer1";
            object.fileName = stem + ".lwo";
            for (size_t axis = 0; axis < 3; axis++) {
                const size_t channel = static_cast<size_t>(i) * CHANNELS + axis * 3;
                for (auto [part, offset] : {std::pair{&object.motion.position[axis], 0u},
                                            {&object.motion.rotation[axis], 1u},
                                            {&object.motion.scale[axis], 2u}})
                    *part =
                        qbExportByFrame(scene, [&](int32_t f) { return sampleValue(channel + offset, f); });
            }
            QbExportSceneObject& file = scene.sceneObjects.emplace_back();
            file.name = stem;
            file.fileName = object.fileName;
            file.surfaces.emplace_back().name = "Default";
        }
        return scene;
    }
};

const SceneFile& sceneFile() {
    static const SceneFile file;
    return file;
}

void readBytes(benchmark::State& state) {
    const SceneFile& scene = sceneFile();
    if (!scene.error.empty()) return state.SkipWithError(scene.error.c_str());
    const auto size = static_cast<size_t>(std::filesystem::file_size(scene.path));
    for (auto _ : state) {
        std::FILE* file = std::fopen(scene.path.c_str(), "rb");
        const std::unique_ptr<uint8_t[]> bytes(new uint8_t[size]);
        if (!file || std::fread(bytes.get(), 1, size, file) != size)
            state.SkipWithError("the file does not read");
        benchmark::DoNotOptimize(bytes.get());
        if (file) std::fclose(file);
    }
    state.counters["MiB"] = static_cast<double>(size) / (1 << 20);
}

void openScene(benchmark::State& state) {
    const SceneFile& file = sceneFile();
    if (!file.error.empty()) return state.SkipWithError(file.error.c_str());
    for (auto _ : state) {
        QbSceneHandle* scene = qbSceneOpen(file.path.c_str());
        if (!scene || scene->objectInfo->count(scene) != ITEMS)
            state.SkipWithError("the scene does not open");
        qbSceneClose(scene);
    }
}

// --- evaluation

// Writes a VALS chunk of FRAMES samples.
using ChannelWriter = void (*)(std::vector<uint8_t>& image, size_t channel);

void putWord(std::vector<uint8_t>& image, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
        image.push_back(static_cast<uint8_t>(value >> shift));
}

void putHalf(std::vector<uint8_t>& image, size_t value) {
    image.push_back(static_cast<uint8_t>(value >> 8));
    image.push_back(static_cast<uint8_t>(value));
}

void putFloat(std::vector<uint8_t>& image, float value) {
    putWord(image, std::bit_cast<uint32_t>(value));
}

void writeOneChunk(std::vector<uint8_t>& image, size_t channel) {
    putHalf(image, 10 + 4 * FRAMES);
    putWord(image, QB_TAG_VDAT);
    putHalf(image, 4 + 4 * FRAMES);
    putWord(image, FRAMES);
    for (int32_t frame = 0; frame < FRAMES; frame++)
        putFloat(image, sampleValue(channel, frame));
}

// 2,000 literals, 1,000 runs of two and 1,000 of three, in another order for each channel: 4,000 chunks for
// 7,000 frames, close to what 65,535 bytes hold.
void writeManyChunks(std::vector<uint8_t>& image, size_t channel) {
    static std::vector<uint32_t> lengths = [] {
        std::vector<uint32_t> made(4000, 1);
        std::fill_n(made.begin(), 1000, 2);
        std::fill_n(made.begin() + 1000, 1000, 3);
        return made;
    }();
    std::shuffle(lengths.begin(), lengths.end(), std::minstd_rand(static_cast<uint32_t>(channel) + 1));
    putHalf(image, lengths.size() * 14);
    uint32_t frame = 0;
    for (const uint32_t length : lengths) {
        putWord(image, length == 1 ? QB_TAG_VDAT : QB_TAG_VRUN);
        putHalf(image, 8);
        putWord(image, length);
        putFloat(image, sampleValue(channel, static_cast<int32_t>(frame)));
        frame += length;
    }
}

// A run for each frame, as far as they fit; the frames behind them are one run.
void writeChunkPerFrame(std::vector<uint8_t>& image, size_t channel) {
    constexpr int32_t chunks = 65535 / 14;
    putHalf(image, chunks * 14);
    for (int32_t frame = 0; frame < chunks; frame++) {
        putWord(image, QB_TAG_VRUN);
        putHalf(image, 8);
        putWord(image, frame < chunks - 1 ? 1 : FRAMES - chunks + 1);
        putFloat(image, sampleValue(channel, frame));
    }
}

// A bound scene of ITEMS objects, made in memory, behind a stock handle.
class MovingScene {
public:
    explicit MovingScene(ChannelWriter write) {
        image.reserve(static_cast<size_t>(ITEMS) * CHANNELS * 65600);
        putHalf(image, 0);
        for (QbObject& object : objects)
            for (QbChannelRef& channel : object.motion.channels) {
                channel.vals = static_cast<uint32_t>(image.size()) + 2;
                write(image, channels++);
            }
        globals.frameEnd = FRAMES - 1;
        globals.framesPerSecond = FRAMES_PER_SECOND;
        record.file = qbFileOpenMemory(image.data(), static_cast<int32_t>(image.size()));
        record.globals = &globals;
        record.objects = objects.data();
        record.objectCount = ITEMS;
    }
    MovingScene(const MovingScene&) = delete;
    MovingScene& operator=(const MovingScene&) = delete;
    ~MovingScene() { qbFileClose(record.file); }

    std::vector<uint8_t> image;
    std::vector<QbObject> objects{static_cast<size_t>(ITEMS)};
    QbSceneGlobals globals{};
    QbScene record{};
    size_t channels = 0;
};

template <ChannelWriter write>
MovingScene& movingScene() {
    static MovingScene scene(write);
    return scene;
}

// The frame after the last one asked for. Starts again before the frames that only some writers vary.
int32_t nextFrame(int32_t& frame) {
    return frame = (frame + 1) % 4600;
}

std::vector<float>& results() {
    static std::vector<float> values(static_cast<size_t>(ITEMS) * CHANNELS);
    return values;
}

void plainArrays(benchmark::State& state) {
    static const std::unique_ptr<float[]> samples = [] {
        std::unique_ptr<float[]> made(new float[static_cast<size_t>(ITEMS) * CHANNELS * FRAMES]);
        for (size_t i = 0; i < static_cast<size_t>(ITEMS) * CHANNELS * FRAMES; i++)
            made[i] = sampleValue(i / FRAMES, static_cast<int32_t>(i % FRAMES));
        return made;
    }();
    static int32_t frame = 0;
    float* out = results().data();
    for (auto _ : state) {
        nextFrame(frame);
        const float blend = 0.5f;
        for (size_t channel = 0; channel < static_cast<size_t>(ITEMS) * CHANNELS; channel++) {
            const float* at = samples.get() + channel * FRAMES + frame;
            out[channel] = (1 - blend) * at[0] + blend * at[1];
        }
        benchmark::DoNotOptimize(out);
        benchmark::ClobberMemory();
    }
}

template <ChannelWriter write>
void channelVectors(benchmark::State& state) {
    MovingScene& scene = movingScene<write>();
    static int32_t frame = 0;
    for (auto _ : state) {
        const float time = timeOf(nextFrame(frame));
        float* out = results().data();
        for (const QbObject& object : scene.objects)
            for (int first = 0; first < CHANNELS; first += 3, out += 3)
                qbChannelVector(out, &scene.record, object.motion.channels + first, time);
        benchmark::ClobberMemory();
    }
}

template <ChannelWriter write>
void channelValues(benchmark::State& state) {
    MovingScene& scene = movingScene<write>();
    static int32_t frame = 0;
    for (auto _ : state) {
        const float time = timeOf(nextFrame(frame));
        float* out = results().data();
        for (const QbObject& object : scene.objects)
            for (const QbChannelRef& channel : object.motion.channels)
                *out++ = qbChannelValue(&scene.record, &channel, time);
        benchmark::ClobberMemory();
    }
}

// The tables are reached as everybody else reaches them, through a handle.
struct TableScene {
    std::filesystem::path path;
    QbSceneHandle* opened = nullptr;
    QbSceneHandle handle{};

    explicit TableScene(QbScene* record) {
        std::random_device random;
        path = std::filesystem::temp_directory_path() / ("quab-bench-" + std::to_string(random()) + ".quab");
        std::string error;
        if (qbSceneExportSave(QbExportScene(), path.string(), error) == 0)
            opened = qbSceneOpen(path.string().c_str());
        if (!opened) return;
        handle = *opened;
        handle.impl = record;
    }
    TableScene(const TableScene&) = delete;
    TableScene& operator=(const TableScene&) = delete;
    ~TableScene() {
        qbSceneClose(opened);
        std::filesystem::remove(path);
    }
};

template <ChannelWriter write>
void itemParams(benchmark::State& state) {
    TableScene tables(&movingScene<write>().record);
    if (!tables.opened) return state.SkipWithError("no scene could be opened");
    QbSceneHandle* h = &tables.handle;
    static int32_t frame = 0;
    for (auto _ : state) {
        const float time = timeOf(nextFrame(frame));
        float* out = results().data();
        for (int32_t i = 0; i < ITEMS; i++, out += CHANNELS) {
            h->objectInfo->itemParam(out, h, i, QB_ITEM_POSITION, time);
            h->objectInfo->itemParam(out + 3, h, i, QB_ITEM_ROTATION_ALT, time);
            h->objectInfo->itemParam(out + 6, h, i, QB_ITEM_SCALING, time);
        }
        benchmark::ClobberMemory();
    }
}

template <ChannelWriter write>
void randomSeeks(benchmark::State& state) {
    MovingScene& scene = movingScene<write>();
    static std::minstd_rand random(1);
    for (auto _ : state) {
        const float time = timeOf(static_cast<int32_t>(random() % 4600));
        float* out = results().data();
        for (const QbObject& object : scene.objects)
            for (int first = 0; first < CHANNELS; first += 3, out += 3)
                qbChannelVector(out, &scene.record, object.motion.channels + first, time);
        benchmark::ClobberMemory();
    }
}

// --- the table of ratios

double fastest(const std::vector<double>& times) {
    return *std::min_element(times.begin(), times.end());
}

class FastestReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            if (run.aggregate_name == "fastest")
                milliseconds[run.run_name.function_name] = run.GetAdjustedCPUTime();
    }
    std::map<std::string, double> milliseconds;
};

struct Ratio {
    const char* what;
    const char* measured;
    const char* reference;
    double target; // at most; 0: none
};

constexpr Ratio RATIOS[] = {
    {"opening / fread of the bytes", "open_scene", "fread", 2},
    {"vectors, one chunk / plain arrays", "vectors_one_chunk", "plain_arrays", 4},
    {"vectors, 4,000 chunks / plain arrays", "vectors_4000_chunks", "plain_arrays", 4},
    {"vectors, a chunk per frame / plain arrays", "vectors_chunk_per_frame", "plain_arrays", 4},
    {"single values, one chunk / plain arrays", "values_one_chunk", "plain_arrays", 4},
    {"single values, 4,000 chunks / plain arrays", "values_4000_chunks", "plain_arrays", 4},
    {"single values, a chunk per frame / plain arrays", "values_chunk_per_frame", "plain_arrays", 4},
    {"4,000 chunks / one chunk, vectors", "vectors_4000_chunks", "vectors_one_chunk", 0},
    {"items with rotation, one chunk / plain arrays", "items_one_chunk", "plain_arrays", 0},
    {"items with rotation, 4,000 chunks / plain arrays", "items_4000_chunks", "plain_arrays", 0},
    {"random seek, one chunk / next frame", "seek_one_chunk", "vectors_one_chunk", 0},
    {"random seek, 4,000 chunks / next frame", "seek_4000_chunks", "vectors_4000_chunks", 0},
};

// False when a target was missed. Rows that a filter left out are passed over.
bool printRatios(const std::map<std::string, double>& milliseconds) {
    bool met = true;
    std::printf("\n%-52s %10s %8s %8s\n", "RATIOS", "ms", "ratio", "target");
    for (const Ratio& row : RATIOS) {
        const auto measured = milliseconds.find(row.measured), reference = milliseconds.find(row.reference);
        if (measured == milliseconds.end() || reference == milliseconds.end()) continue;
        const double ratio = measured->second / reference->second;
        const bool isMet = row.target == 0 || ratio <= row.target;
        std::printf("%-52s %10.4f %8.2f", row.what, measured->second, ratio);
        if (row.target > 0) std::printf(" %8.1f  %s", row.target, isMet ? "met" : "missed");
        std::printf("\n");
        met = met && isMet;
    }
    return met;
}

using Function = void (*)(benchmark::State&);

void add(const char* name, Function function, double seconds, int repetitions) {
    benchmark::RegisterBenchmark(name, function)
        ->Unit(benchmark::kMillisecond)
        ->MinTime(seconds)
        ->Repetitions(repetitions)
        ->ComputeStatistics("fastest", fastest)
        ->ReportAggregatesOnly();
}

// Many short repetitions: some of them fall between what else the machine does.
void addEvaluation(const char* name, Function function) {
    add(name, function, 0.02, 40);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 1) return 2;
    add("fread", readBytes, 0.2, 10);
    add("open_scene", openScene, 0.2, 10);
    addEvaluation("plain_arrays", plainArrays);
    addEvaluation("vectors_one_chunk", channelVectors<writeOneChunk>);
    addEvaluation("vectors_4000_chunks", channelVectors<writeManyChunks>);
    addEvaluation("vectors_chunk_per_frame", channelVectors<writeChunkPerFrame>);
    addEvaluation("values_one_chunk", channelValues<writeOneChunk>);
    addEvaluation("values_4000_chunks", channelValues<writeManyChunks>);
    addEvaluation("values_chunk_per_frame", channelValues<writeChunkPerFrame>);
    addEvaluation("items_one_chunk", itemParams<writeOneChunk>);
    addEvaluation("items_4000_chunks", itemParams<writeManyChunks>);
    add("seek_one_chunk", randomSeeks<writeOneChunk>, 0.2, 5);
    add("seek_4000_chunks", randomSeeks<writeManyChunks>, 0.5, 5);

    // Repetitions of all rows take turns, so that a busy spell of the machine meets them alike.
    std::vector<char*> arguments(argv, argv + argc);
    std::string interleave = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, interleave.data());
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;
    FastestReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return printRatios(reporter.milliseconds) ? 0 : 1;
}
