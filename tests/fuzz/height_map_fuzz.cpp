#include "fuzz/fuzz.h"
#include "fuzz/null_device.h"
#include "scene/runtime/bmp_file.h"
#include "scene/runtime/height_map.h"
#include "scene/runtime/terrain.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

// A bitmap, as a map by itself and, small ones, as a terrain too. Or behind an 'R' a raw map, refused for its
// size, and then a square of samples that is doubled, and doubles that are turned into colours.

namespace {

enum { TERRAIN_MIN = 33, TERRAIN_MAX = 66 };

struct Map {
    irr::io::IReadFile* file;
    uint32_t width, height;
};

} // namespace

// --- bitmap -----------------------------------------------------------------------------------------------

static void expectHeights(const Map& map) {
    if (!map.file) return;
    qbFuzzExpect(map.width >= 1 && map.width <= QB_BMP_SIDE_MAX);
    qbFuzzExpect(map.height >= 1 && map.height <= QB_BMP_SIDE_MAX);
    std::vector<float> heights(size_t{map.width} * map.height);
    const auto size = static_cast<irr::u32>(heights.size() * sizeof(float));
    qbFuzzExpect(map.file->getSize() == static_cast<long>(size));
    qbFuzzExpect(map.file->read(heights.data(), size) == static_cast<irr::s32>(size));
    const auto [lowest, highest] = std::minmax_element(heights.begin(), heights.end());
    qbFuzzExpect(*lowest >= 0.0F && *highest < 255.01F);
    map.file->drop();
}

static void expectTerrain(const Map& map) {
    const uint32_t side = std::max(map.width, map.height);
    if (!map.file || side < TERRAIN_MIN || side > TERRAIN_MAX) return;
    const std::string name = std::string(qbFuzzDirectory()) + "map.terrain.layer1.x";
    irr::scene::ITerrainSceneNode* node = qbTerrainLoad(name.c_str());
    qbFuzzExpect((node != nullptr) == (map.width == map.height));
    if (!node) return;
    qbEngineGet()->smgr->drawAll();
    node->remove();
}

static void openBitmap(const uint8_t* data, size_t size) {
    const char* path = qbFuzzFile("map.terrain_height.bmp", data, size);
    Map map{};
    map.file = qbHeightMapOpenBmp(path, &map.width, &map.height);
    expectTerrain(map);
    expectHeights(map);
}

// --- raw --------------------------------------------------------------------------------------------------

static void doubleSamples(const uint8_t* data, size_t size) {
    const auto n = static_cast<uint32_t>(std::sqrt(size / 2));
    std::unique_ptr<uint16_t[]> samples(new uint16_t[size_t{n} * n + 1]);
    memcpy(samples.get(), data, size_t{n} * n * sizeof(uint16_t));
    const uint16_t first = samples[0];
    uint32_t newSize = 0;
    const auto doubled = qbHeightMapDouble(std::move(samples), n, &newSize);
    qbFuzzExpect((doubled != nullptr) == (n > 0));
    if (doubled) qbFuzzExpect(newSize == 2 * n - 1 && doubled[0] == first);
}

static void turnToGrey(const uint8_t* data, size_t size) {
    for (double numbers[2]; size >= sizeof numbers; data += 8, size -= 8) {
        memcpy(numbers, data, sizeof numbers);
        int32_t red = -1, green = -1, blue = -1;
        qbHeightToGrey(numbers[0], numbers[1], &red, &green, &blue);
        qbFuzzExpect(red >= 0 && green >= 0 && blue >= 0);
        qbFuzzExpect(red <= 252 && green <= 252 && blue <= 252);
    }
}

static void openRaw(const uint8_t* data, size_t size) {
    Map map{};
    qbFuzzExpect(!openHeightMapFileRaw(qbFuzzFile("raw", data, size), &map.width, &map.height));
    doubleSamples(data, size);
    turnToGrey(data, size);
}

int LLVMFuzzerInitialize(int*, char***) {
    qbFuzzOpenEngine();
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 0 && data[0] == 'R')
        openRaw(data + 1, size - 1);
    else
        openBitmap(data, size);
    return 0;
}
