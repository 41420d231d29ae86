#include "engine/hlsl.h"

#include "engine/hlsl_stages.h"
#include "platform/span.h"

#include <algorithm>
#include <condition_variable>
#include <list>
#include <mutex>
#include <new>
#include <thread>
#include <unordered_map>

constexpr size_t STAGES_KEPT_MAX = 1024;     // some KB each
constexpr size_t STAGE_TEXT_MAX = 64 * 1024; // of one that is kept
constexpr size_t AHEAD_THREADS_MAX = 3;

std::string qbHlslErrorText(const QbHlslError& error) {
    std::string place = error.file;
    if (error.line > 0) {
        place += "(" + std::to_string(error.line);
        if (error.column > 0) place += "," + std::to_string(error.column);
        place += ")";
    }
    return place + ": " + error.reason;
}

// Both programs tell the same errors of the text that they share.
static void addErrors(const std::vector<QbHlslError>& from, std::vector<QbHlslError>* to) {
    for (const QbHlslError& error : from) {
        const auto same = [&](const QbHlslError& other) {
            return other.line == error.line && other.column == error.column && other.reason == error.reason;
        };
        if (std::none_of(to->begin(), to->end(), same)) to->push_back(error);
    }
}

static void addNumber(std::string* key, double number) {
    key->append(reinterpret_cast<const char*>(&number), sizeof number);
}

// All that the program of one stage is made of.
static std::string keyOf(HlslStage stage, const HlslScan& scan, std::string_view entry) {
    std::string key(stage == HlslStage::Vertex ? "v" : "p");
    key.append(entry).append(1, '\0').append(scan.text);
    for (const HlslGlobal& global : scan.globals) {
        key.append(1, '\0').append(global.name).append(1, '\0');
        addNumber(&key, global.type);
        for (const float part : global.value)
            addNumber(&key, static_cast<double>(part));
    }
    for (const HlslSamplerDeclaration& sampler : scan.samplers) {
        const QbHlslSamplerState& state = sampler.state;
        key.append(1, '\0').append(sampler.name).append(1, '\0').append(state.texture).append(1, '\0');
        for (const int number : {sampler.layer, sampler.line, sampler.column, int{state.minFilter},
                                 int{state.magFilter}, int{state.mipFilter}, int{state.addressU},
                                 int{state.addressV}, int{state.addressW}, state.maxAnisotropy})
            addNumber(&key, number);
    }
    return key;
}

namespace {

// What was made of one stage's text so far. Of any thread.
class Stages {
public:
    bool find(const std::string& key, HlslGlsl* glsl) {
        const std::lock_guard lock(mutex_);
        const auto found = made_.find(key);
        if (found == made_.end()) return false;
        *glsl = found->second;
        return true;
    }
    void keep(const std::string& key, const HlslGlsl& glsl) {
        if (key.size() > STAGE_TEXT_MAX) return;
        const std::lock_guard lock(mutex_);
        if (made_.size() >= STAGES_KEPT_MAX) made_.clear();
        made_.emplace(key, glsl);
    }

private:
    std::mutex mutex_;
    std::unordered_map<std::string, HlslGlsl> made_;
};

} // namespace

static Stages& stages() {
    static Stages all;
    return all;
}

// Variants of a shader share their vertex program, and a scene that is loaded again all it has.
static bool writeStage(HlslStage stage, const HlslScan& scan, std::string_view entry, HlslGlsl* glsl,
                       std::vector<QbHlslError>* errors) {
    const std::string key = keyOf(stage, scan, entry);
    if (stages().find(key, glsl)) return true;
    std::vector<uint32_t> spirv;
    std::vector<QbHlslError> own;
    const bool good =
        hlslCompile(stage, scan, entry, &spirv, &own) && hlslToGlsl(stage, scan, spirv, glsl, &own);
    addErrors(own, errors);
    if (!good) return false;
    stages().keep(key, *glsl);
    return true;
}

static void moveStage(HlslGlsl* from, QbHlslStage* to) {
    to->glsl = std::move(from->text);
    to->uniforms = std::move(from->uniforms);
    to->samplers = std::move(from->samplers);
}

// The scans of the two programs; `whole` holds what they point into.
static bool scanBoth(const QbHlslSource& source, HlslScan* whole, HlslScan* vertex, HlslScan* pixel,
                     std::vector<QbHlslError>* errors) {
    if (source.vertexText == source.pixelText) {
        const bool good = hlslScan(source.file, source.vertexText, whole);
        addErrors(whole->errors, errors);
        if (good) hlslPrune(*whole, source.vertexMain, source.pixelMain, vertex, pixel);
        return good;
    }
    bool good = hlslScan(source.file, source.vertexText, vertex);
    good &= hlslScan(source.file, source.pixelText, pixel);
    addErrors(vertex->errors, errors);
    addErrors(pixel->errors, errors);
    return good;
}

static bool translate(const QbHlslSource& source, QbHlslProgram* program) {
    HlslScan whole, vertexScan, pixelScan;
    if (!scanBoth(source, &whole, &vertexScan, &pixelScan, &program->errors)) return false;

    HlslGlsl vertex, pixel;
    bool good = writeStage(HlslStage::Vertex, vertexScan, source.vertexMain, &vertex, &program->errors);
    good &= writeStage(HlslStage::Pixel, pixelScan, source.pixelMain, &pixel, &program->errors);
    if (!good || !hlslConnect(vertexScan, &vertex, pixelScan, &pixel, source.negateY, &program->errors))
        return false;
    moveStage(&vertex, &program->vertex);
    moveStage(&pixel, &program->pixel);
    return true;
}

// --- ahead of the question ---------------------------------------------------------------------------------

namespace {

struct Job {
    enum State { Waiting, Running, Done, Failed };

    explicit Job(const QbHlslSource& from)
        : file(from.file), vertexText(from.vertexText), pixelText(from.pixelText),
          vertexMain(from.vertexMain), pixelMain(from.pixelMain), negateY(from.negateY) {}
    QbHlslSource source() const { return {file, vertexText, pixelText, vertexMain, pixelMain, negateY}; }
    bool isOf(const QbHlslSource& other) const {
        return file == other.file && vertexText == other.vertexText && pixelText == other.pixelText &&
               vertexMain == other.vertexMain && pixelMain == other.pixelMain && negateY == other.negateY;
    }

    const std::string file, vertexText, pixelText, vertexMain, pixelMain;
    const bool negateY;
    State state = Waiting;
    QbHlslProgram program;
};

// Threads that take jobs in their order until none waits, beside the one that asks for the results.
class Ahead {
public:
    Ahead();
    ~Ahead() { join(); }
    void start(const QbHlslSource* sources, size_t count);
    // Moves the result out. False when there is none: the caller then translates.
    bool take(const QbHlslSource& source, QbHlslProgram* program);

private:
    using Jobs = std::list<Job>;

    void join();
    void work();

    std::mutex mutex_;
    std::condition_variable changed_;
    Jobs jobs_;
    std::vector<std::thread> threads_;
};

// The compilers make their tables at the first program: on this thread, so that they outlive the others, and
// that no lock is left behind by a thread that finds no memory for them.
Ahead::Ahead() {
    static constexpr std::string_view text = "float4 v(float4 p : POSITION) : POSITION { return p; }\n"
                                             "float4 p() : COLOR0 { return 0; }\n";
    QbHlslProgram program;
    translate({"", text, text, "v", "p"}, &program);
}

void Ahead::join() {
    {
        const std::lock_guard lock(mutex_);
        jobs_.remove_if([](const Job& job) { return job.state != Job::Running; });
    }
    for (std::thread& thread : threads_) {
        // A process may end on one of them, for want of memory.
        if (thread.get_id() == std::this_thread::get_id())
            thread.detach();
        else
            thread.join();
    }
    threads_.clear();
    jobs_.clear();
}

void Ahead::start(const QbHlslSource* sources, size_t count) {
    join();
    for (size_t i = 0; i < count; ++i)
        jobs_.emplace_back(sources[i]);
    const size_t others = std::max(std::thread::hardware_concurrency(), 1U) - 1;
    while (threads_.size() < std::min({others, count, AHEAD_THREADS_MAX}))
        threads_.emplace_back([this] { work(); });
}

void Ahead::work() {
    std::unique_lock lock(mutex_);
    for (;;) {
        const auto next = std::find_if(jobs_.begin(), jobs_.end(),
                                       [](const Job& job) { return job.state == Job::Waiting; });
        if (next == jobs_.end()) return;
        next->state = Job::Running;
        lock.unlock();
        QbHlslProgram program;
        Job::State state = Job::Done;
        try {
            translate(next->source(), &program);
        } catch (...) {
            state = Job::Failed; // whoever asks for it tries again, and tells
        }
        lock.lock();
        next->program = std::move(program);
        next->state = state;
        changed_.notify_all();
    }
}

bool Ahead::take(const QbHlslSource& source, QbHlslProgram* program) {
    std::unique_lock lock(mutex_);
    const auto job =
        std::find_if(jobs_.begin(), jobs_.end(), [&](const Job& one) { return one.isOf(source); });
    if (job == jobs_.end()) return false;
    changed_.wait(lock, [&] { return job->state != Job::Running; });
    const bool isDone = job->state == Job::Done;
    if (isDone) *program = std::move(job->program);
    jobs_.erase(job);
    return isDone;
}

} // namespace

static Ahead& ahead() {
    static Ahead all;
    return all;
}

void qbHlslTranslateAhead(const QbHlslSource* sources, size_t count) {
    try {
        ahead().start(sources, count);
    } catch (const std::exception&) {
        // Without the threads, or the room, each is translated when it is asked for.
    }
}

int qbHlslTranslate(const QbHlslSource& source, QbHlslProgram* program) {
    const QbSpan span("shaders: translation");
    *program = QbHlslProgram();
    if (!ahead().take(source, program)) translate(source, program);
    return program->errors.empty() ? 0 : -1;
}
