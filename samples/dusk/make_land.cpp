// Makes the terrains and pictures of the show: dusk_land <directory of the show>.

#include "land.h"
#include "letters.h"
#include "noise.h"
#include "palette.h"
#include "picture.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

using HeightAt = double (*)(double x, double z);

// --- height maps ------------------------------------------------------------------------------------------

// A map lies on the ground as its picture does on paper: column c at X = c * extent / n, row r from the top
// at Z = (n - 1 - r) * extent / n.
class HeightMap {
public:
    HeightMap(int n, HeightAt height) : n_(n), spacing_(landExtent / n) {
        for (int r = 0; r < n; ++r) {
            for (int c = 0; c < n; ++c) {
                samples_.push_back(height(c * spacing_, (n - 1 - r) * spacing_));
            }
        }
    }
    double spacing() const { return spacing_; }
    const std::vector<double>& samples() const { return samples_; }
    // Between the samples as the terrain shows it, near enough.
    double at(double x, double z) const {
        const double column = std::clamp(x / spacing_, 0.0, n_ - 1.001);
        const double row = std::clamp(n_ - 1 - z / spacing_, 0.0, n_ - 1.001);
        const double u = column - std::floor(column), v = row - std::floor(row);
        const auto stride = static_cast<size_t>(n_);
        const double* low = &samples_[static_cast<size_t>(row) * stride + static_cast<size_t>(column)];
        return (low[0] * (1 - u) + low[1] * u) * (1 - v) + (low[stride] * (1 - u) + low[stride + 1] * u) * v;
    }
    // How steeply the ground falls: 1 is a slope of 45 degrees. It looks as far as the terrain's normals do,
    // so that colours and light change in the same places.
    double steepness(double x, double z) const {
        return std::hypot(at(x + spacing_, z) - at(x - spacing_, z),
                          at(x, z + spacing_) - at(x, z - spacing_)) /
               (2 * spacing_);
    }

private:
    int n_;
    double spacing_;
    std::vector<double> samples_;
};

const HeightMap& valleyMap() {
    static const HeightMap map(513, valleyHeight);
    return map;
}

const HeightMap& craterMap() {
    static const HeightMap map(257, [](double x, double z) { return terraceAt(x, z).height; });
    return map;
}

// Sixteen bits a sample, little-endian; 65535 stands for the top.
std::vector<uint8_t> rawHeights(const HeightMap& map) {
    std::vector<uint8_t> bytes;
    for (const double h : map.samples()) {
        const auto value = static_cast<uint32_t>(std::clamp(h / landTop, 0.0, 1.0) * 65535 + 0.5);
        bytes.push_back(static_cast<uint8_t>(value));
        bytes.push_back(static_cast<uint8_t>(value >> 8));
    }
    return bytes;
}

void addNumber(std::vector<uint8_t>& bytes, uint32_t value, int count) {
    for (int i = 0; i < count; ++i) {
        bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
    }
}

// A grey bitmap of 24 bits: eight units a grey step. Rows go up, each to a multiple of four bytes.
std::vector<uint8_t> bitmapHeights(const HeightMap& map) {
    const auto side = static_cast<uint32_t>(landExtent / map.spacing() + 0.5);
    const uint32_t padding = (4 - side * 3 % 4) % 4, size = (side * 3 + padding) * side;
    std::vector<uint8_t> bytes = {'B', 'M'};
    for (const uint32_t value : {54 + size, 0u, 54u, 40u, side, side}) {
        addNumber(bytes, value, 4);
    }
    addNumber(bytes, 1, 2);
    addNumber(bytes, 24, 2);
    for (const uint32_t value : {0u, size, 2835u, 2835u, 0u, 0u}) {
        addNumber(bytes, value, 4);
    }
    for (uint32_t row = side; row-- > 0;) {
        for (uint32_t c = 0; c < side; ++c) {
            const double grey = std::clamp(map.samples()[row * side + c] / 8, 0.0, 255.0);
            bytes.insert(bytes.end(), 3, static_cast<uint8_t>(grey + 0.5));
        }
        bytes.insert(bytes.end(), padding, 0);
    }
    return bytes;
}

// --- the terrains' colours --------------------------------------------------------------------------------

Colour valleyColour(double x, double z) {
    const double height = valleyMap().at(x, z), steep = valleyMap().steepness(x, z);
    const double patch = smoothNoise(x / 90, z / 90, 61), grain = smoothNoise(x / 17, z / 17, 62);
    const double shore = shoreDistance(x, z);
    Colour colour = mixColours({0.20f, 0.21f, 0.15f}, {0.36f, 0.31f, 0.19f}, static_cast<float>(patch));
    const double strata = 0.5 + 0.5 * std::sin(height / 13 + 4 * smoothNoise(x / 160, z / 160, 63));
    const Colour rock = mixColours({0.27f, 0.25f, 0.28f}, {0.46f, 0.41f, 0.40f}, static_cast<float>(strata));
    colour = mixColours(colour, rock, static_cast<float>(smoothBetween(0.45, 0.85, steep + 0.25 * grain)));
    const double line = 430 + 240 * patch;
    const double white =
        smoothBetween(line, line + 260, height) * smoothBetween(1.7, 0.9, steep + 0.3 * grain);
    colour = mixColours(colour, {0.90f, 0.92f, 1.0f}, static_cast<float>(white));
    // The first snow lies in the hollows of the meadows as well.
    colour = mixColours(
        colour, snow,
        static_cast<float>(0.55 * smoothBetween(0.60, 0.85, patch) * smoothBetween(0.5, 0.2, steep)));
    const double wet = smoothBetween(24, -6, shore);
    colour = mixColours(colour, {0.13f, 0.12f, 0.13f}, static_cast<float>(0.8 * wet));
    return scaleColour(colour, static_cast<float>(0.86 + 0.28 * grain));
}

Colour craterColour(double x, double z) {
    const Terrace terrace = terraceAt(x, z);
    const double away = std::hypot(x - craterMiddle, z - craterMiddle);
    const double grain = smoothNoise(x / 22, z / 22, 65), patch = smoothNoise(x / 210, z / 210, 66);
    const double steep = craterMap().steepness(x, z);
    // Flooded fields between banks of moss and walls of earth.
    Colour colour = mixColours({0.34f, 0.50f, 0.68f}, {0.42f, 0.52f, 0.58f}, static_cast<float>(patch));
    const Colour bank = mixColours({0.28f, 0.31f, 0.20f}, {0.52f, 0.42f, 0.32f}, static_cast<float>(grain));
    colour = mixColours(colour, bank, static_cast<float>(smoothBetween(0.06, 0.30, steep)));
    const double level = terrace.height / terraceStep - std::floor(terrace.height / terraceStep);
    const double kerb = smoothBetween(0.005, 0.02, level) * smoothBetween(0.12, 0.05, level);
    colour = mixColours(colour, {0.70f, 0.66f, 0.56f}, static_cast<float>(0.8 * kerb));
    const double outside = smoothBetween(2250, 2600, away);
    const Colour rock = scaleColour({0.36f, 0.36f, 0.40f}, static_cast<float>(0.8 + 0.4 * grain));
    colour = mixColours(colour, rock, static_cast<float>(outside));
    return mixColours(colour, snow, static_cast<float>(outside * smoothBetween(1.0, 0.5, steep)));
}

// Water stands on the treads and mirrors the sky.
Colour craterShine(double x, double z) {
    const double away = std::hypot(x - craterMiddle, z - craterMiddle);
    const double level = smoothBetween(0.22, 0.06, craterMap().steepness(x, z));
    const auto shine = static_cast<float>(0.08 + 0.46 * level * smoothBetween(2300, 2200, away));
    return {shine, shine, shine};
}

// They are as bright as the sky that they mirror.
Colour craterLight(double x, double z) {
    return scaleColour(craterShine(x, z), 0.34f);
}

// On the ground as its height map lies.
Picture paintGround(int size, Colour (*colourOf)(double x, double z)) {
    Picture picture(size, size);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            setTexel(picture, x, y,
                     colourOf((x + 0.5) * landExtent / size, (size - y - 0.5) * landExtent / size));
        }
    }
    return picture;
}

// Grain around mid grey, which leaves the colours below it as they are.
Picture paintDetails(int salt, double strength) {
    Picture picture(256, 256);
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x) {
            const double cloud = tiledClouds(x / 256.0, y / 256.0, 12, 5, salt);
            setTexel(picture, x, y, {0.5f, 0.5f, 0.5f}, 1 + strength * (cloud - 0.5));
        }
    }
    return picture;
}

// --- sky and water ----------------------------------------------------------------------------------------

Picture paintClouds() {
    Picture picture(256, 256);
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x) {
            setTexel(picture, x, y, {1, 1, 1}, tiledClouds(x / 256.0, y / 256.0, 4, 6, 40));
        }
    }
    return picture;
}

double rippleHeight(double u, double v) {
    return 0.6 * tiledClouds(u, v, 8, 3, 80) + 0.4 * tiledNoise(u * 26, v * 12, 130, 84);
}

Picture paintRipples() {
    Picture picture(256, 256);
    constexpr double step = 1.0 / 256;
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x) {
            const double u = x * step, v = y * step;
            const double dx = 10 * (rippleHeight(u - step, v) - rippleHeight(u + step, v));
            const double dy = 10 * (rippleHeight(u, v + step) - rippleHeight(u, v - step));
            const double half = 0.5 / std::sqrt(dx * dx + dy * dy + 1);
            setTexel(picture, x, y,
                     {static_cast<float>(0.5 + dx * half), static_cast<float>(0.5 + dy * half),
                      static_cast<float>(0.5 + half)});
        }
    }
    return picture;
}

// As sky.hlsl shows it, without clouds.
Colour skyColour(Way way) {
    constexpr Way sun = {0.3903, 0.0392, 0.9198};
    const double up = std::clamp(way.y, 0.0, 1.0);
    const double near = std::max(0.0, way.x * sun.x + way.y * sun.y + way.z * sun.z);
    Colour colour = mixColours(mauve, slateBlue, static_cast<float>(std::min(1.0, up * 3.2)));
    colour = mixColours(colour, deepBlue, static_cast<float>(std::clamp(up * 1.5 - 0.3, 0.0, 1.0)));
    const double low = std::pow(std::clamp(1 - up * 2.6, 0.0, 1.0), 2.0);
    const double wide = std::pow(near, 4.0) * low, close = std::pow(near, 26.0) * low;
    const double warm[3] = {0.62 * wide + 0.40 * close, 0.24 * wide + 0.34 * close,
                            0.00 * wide + 0.14 * close};
    for (size_t i = 0; i < 3; ++i) {
        colour[i] += static_cast<float>(warm[i]);
    }
    return colour;
}

// What a look from the middle of the lake meets: mountains before the sky.
Colour aroundLake(Way way) {
    const double length = std::sqrt(way.x * way.x + way.y * way.y + way.z * way.z);
    way = {way.x / length, std::abs(way.y) / length, way.z / length};
    constexpr double fromZ = 4300;
    for (double d = 120; d < 4200; d += 8 + d * 0.01) {
        const double x = lakeMiddle(fromZ) + way.x * d, z = fromZ + way.z * d, y = lakeLevel + way.y * d;
        if (y > landTop || x < 0 || z < 0 || x > landExtent || z > landExtent) {
            break;
        }
        if (valleyMap().at(x, z) > y) {
            const Colour slope = mixColours({0.06f, 0.06f, 0.10f}, {0.26f, 0.22f, 0.32f},
                                            static_cast<float>(std::min(1.0, y / 1300)));
            return mixColours(slope, skyColour({way.x, 0.05, way.z}),
                              static_cast<float>(std::min(0.7, d / 5000)));
        }
    }
    return skyColour(way);
}

Picture paintFace(int face) {
    constexpr int size = 128;
    Picture picture(size, size);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            setTexel(picture, x, y,
                     aroundLake(wayThrough(face, (x + 0.5) / size * 2 - 1, (y + 0.5) / size * 2 - 1)));
        }
    }
    return picture;
}

// --- particles: light on black, since they add to what lies behind them -----------------------------------

Picture paintGlow(const Colour& core, const Colour& rim, double focus) {
    Picture picture(32, 32);
    for (int y = 0; y < 32; ++y) {
        for (int x = 0; x < 32; ++x) {
            const double away = std::hypot(x - 15.5, y - 15.5) / 15.5;
            const double light = std::pow(std::clamp(1 - away, 0.0, 1.0), focus);
            setTexel(picture, x, y, mixColours(rim, core, static_cast<float>(light)), light);
        }
    }
    return picture;
}

// --- loading ----------------------------------------------------------------------------------------------

// The name over a ridge with the last light behind it.
Picture paintLoading() {
    Picture picture(200, 60);
    const Lettering name = layLetters("DUSK", 0.5);
    const double size = 92.0 / name.width;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const Point p = {(x + 0.5 - 54.0) / size, (36.0 - y - 0.5) / size};
            const double letters = std::clamp(1.1 - distanceToStrokes(name, p) * size, 0.0, 1.0);
            const double ridge = 50 - 6 * smoothNoise(x / 21.0, 0.5, 3) - 3 * smoothNoise(x / 7.0, 0.5, 4);
            const double ends = smoothBetween(0, 50, x) * smoothBetween(200, 150, x);
            const double glow = y < ridge ? 0.7 * ends * std::exp((y - 50) / 9.0) : 0.0;
            setTexel(picture, x, y,
                     letters > glow ? snow : mixColours(mauve, peach, static_cast<float>(glow)), 1.0,
                     std::max(letters, glow));
        }
    }
    return picture;
}

// --- files ------------------------------------------------------------------------------------------------

struct FileClose {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

int saveBytes(const std::vector<uint8_t>& bytes, const std::string& path, std::string& error) {
    const std::unique_ptr<std::FILE, FileClose> file(std::fopen(path.c_str(), "wb"));
    if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) {
        error = "cannot write " + path;
        return -1;
    }
    return 0;
}

struct File {
    std::string name;
    Picture picture;
};

int saveAll(const std::string& directory, std::string& error) {
    std::vector<File> files = {
        {"loading.png", paintLoading()},
        {"valley/valley.terrain_texture.jpg", paintGround(1024, valleyColour)},
        {"valley/valley.terrain_details.jpg", paintDetails(101, 1.2)},
        {"valley/clouds.jpg", paintClouds()},
        {"valley/ripple.png", paintRipples()},
        {"valley/flake.jpg", paintGlow({0.80f, 0.85f, 1.0f}, snow, 1.6)},
        {"valley/ember.jpg", paintGlow({1.0f, 0.86f, 0.56f}, flame, 1.8)},
        {"crater/crater.terrain_texture.jpg", paintGround(1024, craterColour)},
        {"crater/crater.terrain_details.jpg", paintDetails(103, 0.9)},
        {"crater/crater_shine.jpg", paintGround(512, craterShine)},
        {"crater/crater_light.jpg", paintGround(512, craterLight)},
        {"crater/clouds.jpg", paintClouds()},
        {"crater/ember.jpg", paintGlow({1.0f, 0.86f, 0.56f}, flame, 1.8)},
        {"crater/spark.jpg", paintGlow({0.75f, 0.92f, 1.0f}, {0.12f, 0.40f, 0.90f}, 1.8)},
    };
    for (int face = 0; face < 6; ++face) {
        files.push_back({"valley/around0" + std::to_string(face) + ".jpg", paintFace(face)});
    }
    for (const File& file : files) {
        const std::string path = directory + "/" + file.name;
        const bool png = path.ends_with(".png");
        if ((png ? savePng(file.picture, path, error) : saveJpg(file.picture, path, error)) != 0) {
            return -1;
        }
    }
    const std::string valley = directory + "/valley/valley.terrain_height.raw";
    const std::string crater = directory + "/crater/crater.terrain_height.bmp";
    return saveBytes(rawHeights(valleyMap()), valley, error) == 0 &&
                   saveBytes(bitmapHeights(craterMap()), crater, error) == 0
               ? 0
               : -1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: dusk_land <directory of the show>\n", stderr);
        return 1;
    }
    std::string error;
    if (saveAll(argv[1], error) != 0) {
        std::fprintf(stderr, "dusk_land: %s\n", error.c_str());
        return 1;
    }
    return 0;
}
