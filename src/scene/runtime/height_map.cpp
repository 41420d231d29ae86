#include "scene/runtime/height_map.h"

#include "engine/engine.h"
#include "platform/file_bytes.h"
#include "platform/message.h"
#include "platform/path.h"
#include "scene/runtime/bmp_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <irrlicht/irrlicht.h>
#include <new>
#include <string>

using irr::io::IReadFile;

using FilePtr = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
using Samples = std::unique_ptr<uint16_t[]>;

enum { RAW_SAMPLE_MAX = 65535 };
static const double GREY_STEPS = 250.0;
// Raw maps are used at the size that they have.
static const bool DOUBLES_RAW_MAPS = false;

// --- files in memory --------------------------------------------------------------------------------------

namespace {

// The floats of a terrain, in the order in which it reads them, filled pixel by pixel.
class HeightFloats {
public:
    HeightFloats(size_t width, size_t height)
        : width_(width), height_(height), bytes_(new (std::nothrow) char[size()]) {}
    bool isEmpty() const { return !bytes_; }

    void set(size_t column, size_t row, float value) {
        const size_t number = (width_ - 1 - column) * height_ + row;
        memcpy(bytes_.get() + number * sizeof value, &value, sizeof value);
    }

    // Null on failure. The file owns the floats.
    IReadFile* open() {
        IReadFile* file = qbEngineGet()->smgr->getFileSystem()->createMemoryReadFile(
            bytes_.get(), static_cast<irr::s32>(size()), "heightmap", true);
        if (file) static_cast<void>(bytes_.release());
        return file;
    }

private:
    size_t size() const { return width_ * height_ * sizeof(float); }

    size_t width_, height_;
    std::unique_ptr<char[]> bytes_;
};

} // namespace

static float luminanceOf(uint32_t red, uint32_t green, uint32_t blue) {
    return irr::video::SColor(255, red, green, blue).getLuminance();
}

// --- raw --------------------------------------------------------------------------------------------------

void qbHeightToGrey(double value, double maximum, int32_t* red, int32_t* green, int32_t* blue) {
    static const struct {
        double over;
        int red, green, blue;
    } additions[] = {
        {0.95, 1, 1, 1}, {0.86, 3, 0, 0}, {0.76, 0, 1, 2}, {0.66, 0, 1, 1}, {0.57, 2, 0, 0},
        {0.47, 1, 0, 2}, {0.38, 1, 0, 1}, {0.27, 1, 0, 0}, {0.17, 0, 0, 2}, {0.06, 0, 0, 1},
    };
    *red = *green = *blue = 0;
    if (!(maximum > 0.0) || !(value > 0.0)) return;
    // Two infinities have no quotient.
    const double x = value < maximum ? value / maximum * GREY_STEPS : GREY_STEPS;
    const double whole = std::floor(x);
    *red = *green = *blue = static_cast<int32_t>(whole);
    for (const auto& addition : additions) {
        if (!(x - whole > addition.over)) continue;
        *red += addition.red;
        *green += addition.green;
        *blue += addition.blue;
        return;
    }
}

Samples qbHeightMapDouble(Samples samples, uint32_t n, uint32_t* newSize) {
    if (!samples || n == 0 || n > 32768) return nullptr;
    const size_t size = 2 * size_t{n} - 1;
    Samples doubled(new (std::nothrow) uint16_t[size * size]);
    if (!doubled) return nullptr;
    const auto at = [&](size_t y, size_t x) { return uint32_t{samples[y * n + x]}; };
    for (size_t y = 0; y < size; y++) {
        for (size_t x = 0; x < size; x++) {
            const size_t x0 = x / 2, x1 = std::min<size_t>((x + 1) / 2, n - 1);
            const size_t y0 = y / 2, y1 = std::min<size_t>((y + 1) / 2, n - 1);
            doubled[y * size + x] =
                static_cast<uint16_t>((at(y0, x0) + at(y0, x1) + at(y1, x0) + at(y1, x1)) >> 2);
        }
    }
    *newSize = static_cast<uint32_t>(size);
    return doubled;
}

static uint32_t rawSide(long size) {
    for (const long side : {257L, 513L})
        if (size == side * side * 2) return static_cast<uint32_t>(side);
    return 0;
}

static long sizeOf(std::FILE* file) {
    const long size = fseek(file, 0, SEEK_END) == 0 ? ftell(file) : -1;
    rewind(file);
    return size;
}

// Null when the file does not give them all.
static Samples readSamples(std::FILE* file, size_t count) {
    Samples samples(new (std::nothrow) uint16_t[count]);
    if (!samples) return nullptr;
    for (size_t i = 0; i < count; i++) {
        std::array<unsigned char, 2> bytes{};
        if (qbFileFill(file, bytes.data(), bytes.size()) != bytes.size()) return nullptr;
        samples[i] = static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
    }
    return samples;
}

static IReadFile* openSamples(const char* path, const uint16_t* samples, uint32_t n) {
    HeightFloats heights(n, n);
    if (heights.isEmpty()) {
        qbTrace("openHeightMapFileRaw(%s) failed to malloc buffer for bmp file\n", path);
        return nullptr;
    }
    for (size_t i = 0; i < size_t{n} * n; i++) {
        int32_t red = 0, green = 0, blue = 0;
        qbHeightToGrey(samples[i], RAW_SAMPLE_MAX, &red, &green, &blue);
        heights.set(i % n, i / n,
                    luminanceOf(static_cast<uint32_t>(red), static_cast<uint32_t>(green),
                                static_cast<uint32_t>(blue)));
    }
    IReadFile* result = heights.open();
    qbTrace(result ? "openHeightMapFileRaw(%s) success\n"
                   : "openHeightMapFileRaw(%s) failed to createMemoryReadFile()\n",
            path);
    return result;
}

IReadFile* openHeightMapFileRaw(const char* path, uint32_t* width, uint32_t* height) {
    FilePtr file(qbPathOpen(path, "rb"), &std::fclose);
    if (!file) {
        qbTrace("openHeightMapFileRaw(%s) file not found\n", path);
        return nullptr;
    }
    uint32_t n = rawSide(sizeOf(file.get()));
    if (n == 0) {
        qbTrace("height map raw file '%s' is not 257 or 513 size\n", path);
        qbMessage("height map raw file '%s' is not 257 or 513 size", path);
        return nullptr;
    }
    Samples samples = readSamples(file.get(), size_t{n} * n);
    if (!samples) {
        qbTrace("openHeightMapFileRaw(%s) failed to malloc buffer\n", path);
        return nullptr;
    }
    if (DOUBLES_RAW_MAPS) {
        samples = qbHeightMapDouble(std::move(samples), n, &n);
        if (!samples) {
            qbTrace("openHeightMapFileRaw(%s) failed to double buffer size\n", path);
            return nullptr;
        }
    }
    *width = *height = n;
    return openSamples(path, samples.get(), n);
}

// --- bitmap -----------------------------------------------------------------------------------------------

IReadFile* qbHeightMapOpenBmp(const char* path, uint32_t* width, uint32_t* height) {
    const FilePtr file(qbPathOpen(path, "rb"), &std::fclose);
    if (!file) return nullptr;
    const size_t most = size_t{4} * (QB_BMP_SIDE_MAX + 1) * QB_BMP_SIDE_MAX; // of the largest picture
    QbBmp picture;
    std::string bytes;
    const bool isRead = qbFileBytes(file.get(), most, bytes) == 0;
    const std::string problem =
        isRead ? qbBmpRead(bytes, picture) : std::string("can not be read: ") + strerror(errno);
    if (!problem.empty()) {
        qbTrace("height map '%s' %s\n", path, problem.c_str());
        qbMessage("height map '%s' %s", path, problem.c_str());
        return nullptr;
    }
    HeightFloats heights(picture.width, picture.height);
    if (heights.isEmpty()) return nullptr;
    const uint8_t* color = picture.rgb.data();
    for (uint32_t row = 0; row < picture.height; row++)
        for (uint32_t column = 0; column < picture.width; column++, color += 3)
            heights.set(column, row, luminanceOf(color[0], color[1], color[2]));
    *width = picture.width;
    *height = picture.height;
    return heights.open();
}
