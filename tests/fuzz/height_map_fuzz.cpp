#include "engine/engine.h"
#include "fuzz/fuzz.h"
#include "scene/runtime/bmp_file.h"
#include "scene/runtime/height_map.h"
#include "scene/runtime/terrain.h"

#include <algorithm>
#include <cmath>
#include <irrlicht/irrlicht.h>
#include <string>

// A bitmap; or behind an 'R' the first samples of a raw map, which is filled up with its last one. Both as a
// map by itself, small ones as a terrain too.

namespace {

enum { RAW_SIZE = 257 * 257 * 2, TERRAIN_MIN = 33, TERRAIN_MAX = 66 };

struct Map {
    irr::io::IReadFile* file;
    uint32_t width, height;
};

} // namespace

// The heights of qbHeightToGrey and of white.
static const float HEIGHT_MAX = 255.0F;

static void expectHeights(const Map& map) {
    if (!map.file) return;
    qbFuzzExpect(map.width >= 1 && map.height >= 1);
    qbFuzzExpect(map.width <= QB_BMP_SIDE_MAX && map.height <= QB_BMP_SIDE_MAX);
    qbFuzzExpect(map.file->getSize() == static_cast<long>(sizeof(float)) * map.width * map.height);
    for (float height = 0; map.file->read(&height, sizeof height) == sizeof height;)
        qbFuzzExpect(height >= 0 && height <= HEIGHT_MAX + 0.01F);
    map.file->drop();
}

static void expectTerrain(const Map& map) {
    const uint32_t side = std::max(map.width, map.height);
    if (!map.file || side > TERRAIN_MAX) return;
    const std::string name = std::string(qbFuzzDirectory()) + "map.terrain.layer1.x";
    irr::scene::ITerrainSceneNode* node = qbTerrainLoad(name.c_str());
    qbFuzzExpect((node != nullptr) == (map.width == map.height && side >= TERRAIN_MIN));
    if (!node) return;
    const irr::core::aabbox3df& box = node->getBoundingBox();
    qbFuzzExpect(std::isfinite(box.MinEdge.Y) && std::isfinite(box.MaxEdge.Y));
    node->remove();
}

static Map openRaw(const uint8_t* data, size_t size) {
    std::string samples(reinterpret_cast<const char*>(data), std::min<size_t>(size, RAW_SIZE) & ~size_t{1});
    while (size > 1 && samples.size() < RAW_SIZE)
        samples += samples.substr(samples.size() - 2);
    const char* path = qbFuzzFile("map.terrain_height.raw", samples.data(), samples.size());
    Map map{};
    map.file = openHeightMapFileRaw(path, &map.width, &map.height);
    qbFuzzExpect((map.file != nullptr) == (samples.size() == RAW_SIZE));
    return map;
}

static Map openBitmap(const uint8_t* data, size_t size) {
    Map map{};
    map.file = qbHeightMapOpenBmp(qbFuzzFile("map.terrain_height.bmp", data, size), &map.width, &map.height);
    return map;
}

int LLVMFuzzerInitialize(int*, char***) {
    irr::SIrrlichtCreationParameters wishes;
    wishes.DriverType = irr::video::EDT_NULL;
    wishes.LoggingLevel = irr::ELL_NONE;
    QbEngine* engine = qbEngineGet();
    engine->device = irr::createDeviceEx(wishes);
    qbFuzzExpect(engine->device != nullptr);
    engine->driver = engine->device->getVideoDriver();
    engine->smgr = engine->device->getSceneManager();
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 0 && data[0] == 'R') {
        expectHeights(openRaw(data + 1, size - 1));
        return 0;
    }
    const Map map = openBitmap(data, size);
    expectTerrain(map);
    expectHeights(map);
    return 0;
}
