#include "soak_counts.h"

#include "engine/engine.h"
#include "engine/lights.h"
#include "materials/shader_gpu.h"
#include "scene/runtime/slots.h"

#include <epoxy/gl.h>
#include <irrlicht/irrlicht.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <new>
#include <string>

using namespace irr;

const CountInfo& countInfo(int count) {
    static const char* const threads = "GLib keeps up to 8 idle threads for 15 seconds";
    static const char* const own = "malloc gives a block a little more room at one time than at another";
    static const char* const heap = "the driver keeps a program for each mixture of lights that it has met";
    static const char* const resident =
        "what lives scatters over more pages, and the driver keeps its programs";
    static const CountInfo infos[] = {
        {"slots", 0, nullptr},     {"ids", 0, nullptr},           {"lights", 0, nullptr},
        {"shaders", 0, nullptr},   {"nodes", 0, nullptr},         {"animators", 0, nullptr},
        {"GUI", 0, nullptr},       {"textures", 0, nullptr},      {"meshes", 0, nullptr},
        {"renderers", 0, nullptr}, {"GL textures", 0, nullptr},   {"buffers", 0, nullptr},
        {"programs", 0, nullptr},  {"frame buffers", 0, nullptr}, {"descriptors", 0, nullptr},
        {"threads", 8, threads},   {"temporary", 0, nullptr},     {"blocks", 0, nullptr},
        {"own KiB", 64, own},      {"heap KiB", 16384, heap},     {"resident KiB", 32768, resident},
    };
    static_assert(sizeof infos / sizeof infos[0] == COUNTS, "a line for each");
    return infos[count];
}

// --- tables of this program -------------------------------------------------------------------------------

static int64_t loadedSlots() {
    int64_t loaded = 0;
    for (int slot = 0; slot < QB_SCENE_SLOTS; ++slot)
        loaded += qbSceneObjectCount(slot) >= 0 ? 1 : 0;
    return loaded;
}

static int64_t idsInLists() {
    const QbEngine* engine = qbEngineGet();
    int64_t ids = 0;
    for (const QbIdList* list : {engine->objects, engine->lights, engine->fxemitters, engine->musics})
        for (int id = 0; id < qbIdListCapacity(list); ++id)
            ids += qbIdListGet(list, id) ? 1 : 0;
    return ids;
}

static int64_t shownLights() {
    int shown = 0;
    while (qbVisibleLightNode(shown))
        ++shown;
    return shown;
}

// --- Irrlicht ---------------------------------------------------------------------------------------------

static void countNodes(scene::ISceneNode* node, Counts* counts) {
    ++(*counts)[COUNT_NODES];
    (*counts)[COUNT_ANIMATORS] += static_cast<int64_t>(node->getAnimators().size());
    for (scene::ISceneNode* child : node->getChildren())
        countNodes(child, counts);
}

static int64_t elementsBelow(gui::IGUIElement* element) {
    int64_t elements = 1;
    for (gui::IGUIElement* child : element->getChildren())
        elements += elementsBelow(child);
    return elements;
}

// --- the driver -------------------------------------------------------------------------------------------

using IsName = GLboolean (*)(GLuint name);

// Drivers give the lowest free name.
static int64_t namesOf(IsName isName) {
    const GLuint gap = 1024;
    int64_t names = 0;
    GLuint last = 0;
    for (GLuint name = 1; name < last + gap; ++name) {
        if (isName(name) == GL_FALSE) continue;
        ++names;
        last = name;
    }
    return names;
}

static void countDriver(Counts* counts) {
    (*counts)[COUNT_GL_TEXTURES] = namesOf([](GLuint name) { return glIsTexture(name); });
    (*counts)[COUNT_GL_BUFFERS] = namesOf([](GLuint name) { return glIsBuffer(name); });
    (*counts)[COUNT_GL_PROGRAMS] = namesOf([](GLuint name) { return glIsProgram(name); }) +
                                   namesOf([](GLuint name) { return glIsShader(name); }) +
                                   namesOf([](GLuint name) { return glIsProgramARB(name); });
    (*counts)[COUNT_GL_FRAMES] = namesOf([](GLuint name) { return glIsFramebuffer(name); }) +
                                 namesOf([](GLuint name) { return glIsRenderbuffer(name); });
}

// --- blocks of this program -------------------------------------------------------------------------------

static std::atomic<int64_t> blocks, blockBytes; // the tune's thread takes some, too

void* operator new(size_t size) {
    void* block = std::malloc(size);
    if (!block) throw std::bad_alloc();
    ++blocks;
    blockBytes += static_cast<int64_t>(malloc_usable_size(block));
    return block;
}

void operator delete(void* block) noexcept {
    if (!block) return;
    --blocks;
    blockBytes -= static_cast<int64_t>(malloc_usable_size(block));
    std::free(block);
}

void operator delete(void* block, size_t) noexcept {
    operator delete(block);
}

// --- the process ------------------------------------------------------------------------------------------

static int64_t entriesIn(const std::filesystem::path& directory) {
    int64_t entries = 0;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        static_cast<void>(entry);
        ++entries;
    }
    return entries;
}

static int64_t statusField(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.compare(0, name.size(), name) == 0) return std::stoll(line.substr(name.size()));
    return -1;
}

static void countProcess(Counts* counts) {
    malloc_trim(0); // what is resident is then what is used
    const struct mallinfo2 heap = mallinfo2();
    const int64_t blocksNow = blocks, bytesNow = blockBytes;
    (*counts)[COUNT_DESCRIPTORS] = entriesIn("/proc/self/fd");
    (*counts)[COUNT_THREADS] = entriesIn("/proc/self/task");
    (*counts)[COUNT_TEMPORARY] = entriesIn(std::filesystem::temp_directory_path());
    (*counts)[COUNT_BLOCKS] = blocksNow;
    (*counts)[COUNT_OWN_HEAP] = bytesNow / 1024;
    (*counts)[COUNT_HEAP] = static_cast<int64_t>((heap.uordblks + heap.hblkhd) / 1024);
    (*counts)[COUNT_RESIDENT] = statusField("VmRSS:");
}

Counts countAll() {
    const QbEngine* engine = qbEngineGet();
    Counts counts{};
    counts[COUNT_SLOTS] = loadedSlots();
    counts[COUNT_IDS] = idsInLists();
    counts[COUNT_LIGHTS_SHOWN] = shownLights();
    counts[COUNT_SHADERS] = qbShaderRecordCount();
    countNodes(engine->smgr->getRootSceneNode(), &counts);
    counts[COUNT_ELEMENTS] = elementsBelow(engine->gui->getRootGUIElement());
    counts[COUNT_TEXTURES] = engine->driver->getTextureCount();
    counts[COUNT_MESHES] = engine->smgr->getMeshCache()->getMeshCount();
    counts[COUNT_RENDERERS] = engine->driver->getMaterialRendererCount();
    countDriver(&counts);
    countProcess(&counts);
    return counts;
}
