// Paints the show's pictures: first_light_images <directory of the show>.

#include "land.h"
#include "letters.h"
#include "noise.h"
#include "palette.h"
#include "picture.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <numbers>
#include <string>
#include <vector>

namespace {

// Half a step of noise hides the bands of a slow gradient.
double dither(int x, int y) {
    return (hash01(x, y, 91) - 0.5) / 90.0;
}

// The name over a horizon that the sun is about to cross.
Picture paintLoading() {
    Picture picture(200, 60);
    const Lettering name = layLetters("FIRST LIGHT", 0.24);
    const double size = 176.0 / name.width;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const Point p = {(x + 0.5 - 12.0) / size, (34.0 - y - 0.5) / size};
            const double letters = std::clamp(1.1 - distanceToStrokes(name, p) * size, 0.0, 1.0);
            const double across = std::abs(x + 0.5 - 100.0) / 100.0;
            const double line =
                std::clamp(1.2 - std::abs(y + 0.5 - 46.0), 0.0, 1.0) * (1.0 - across * across);
            const double away = std::hypot((x + 0.5 - 100.0) * 0.55, y + 0.5 - 46.0);
            const double glow = y < 47 ? 0.55 * std::exp(-away * away / 160.0) : 0.0;
            const Colour ink = gradient({{0, coral}, {0.5, gold}, {1, coral}}, x / 200.0);
            const double alpha = std::max({letters, line, glow});
            setTexel(picture, x, y, letters > line ? cream : ink, 1.0, alpha);
        }
    }
    return picture;
}

using Heights = double (*)(double u, double v); // of a picture that tiles: u, v and the height from 0 to 1
using Paint = Colour (*)(int x, int y);

Picture paint(int width, int height, Paint colourOf) {
    Picture picture(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            setTexel(picture, x, y, colourOf(x, y));
        }
    }
    return picture;
}

// A picture of one number, for the maps of specularity, glossiness and luminosity.
Picture paintMap(int size, double (*valueOf)(double u, double v)) {
    Picture picture(size, size);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            setTexel(picture, x, y, {1, 1, 1}, valueOf((x + 0.5) / size, (y + 0.5) / size));
        }
    }
    return picture;
}

// The normals of a relief, with its height in alpha. Red points along u, green along -v.
Picture paintNormals(int size, double steepness, Heights heightOf) {
    Picture picture(size, size);
    const double step = 1.0 / size;
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            const double u = x * step, v = y * step;
            const double dx = (heightOf(u - step, v) - heightOf(u + step, v)) * steepness;
            const double dy = (heightOf(u, v + step) - heightOf(u, v - step)) * steepness;
            const double length = std::sqrt(dx * dx + dy * dy + 1.0);
            const Colour normal = {static_cast<float>(0.5 + 0.5 * dx / length),
                                   static_cast<float>(0.5 + 0.5 * dy / length),
                                   static_cast<float>(0.5 + 0.5 / length)};
            setTexel(picture, x, y, normal, 1.0, heightOf(u, v));
        }
    }
    return picture;
}

// --- the city's front -----------------------------------------------------------------------------------

struct Pane {
    bool inside, lit;
    double warmth, power;
};

// 16 by 16 windows of 16 by 16 pixels.
Pane paneAt(int x, int y) {
    const int column = x / 16, row = y / 16, inX = x % 16, inY = y % 16;
    const bool inside = inX >= 4 && inX < 12 && inY >= 3 && inY < 12;
    // The light falls off towards the foot, so that a pane reads as a room.
    const double power = (0.5 + 0.5 * hash01(column, row, 9)) * (1.0 - 0.05 * (inY - 3));
    return {inside, inside && hash01(column, row, 7) > 0.56, hash01(column, row, 8), power};
}

Colour windowColour(int x, int y) {
    const Pane pane = paneAt(x, y);
    if (pane.lit) {
        return scaleColour(pane.warmth > 0.8 ? cream : (pane.warmth > 0.35 ? gold : coral),
                           static_cast<float>(pane.power));
    }
    if (pane.inside) {
        return mixColours(night, indigo, 0.6f);
    }
    const double groove = x % 16 == 0 || y % 16 == 0 ? 0.6 : 1.0;
    return scaleColour({0.36f, 0.30f, 0.50f},
                       static_cast<float>(groove * (0.85 + 0.2 * hash01(x / 2, y / 2, 3))));
}

double windowLight(double u, double v) {
    const Pane pane = paneAt(static_cast<int>(u * 256), static_cast<int>(v * 256));
    return pane.lit ? 1.0 : (pane.inside ? 0.12 : 0.07);
}

double windowShine(double u, double v) {
    return paneAt(static_cast<int>(u * 256), static_cast<int>(v * 256)).inside ? 0.85 : 0.12;
}

// --- stone and soil -------------------------------------------------------------------------------------

double slateHeight(double u, double v) {
    return 0.5 * tiledNoise(u * 3, v * 40, 120, 5) + 0.3 * tiledClouds(u, v, 8, 3, 6) +
           0.2 * std::abs(2 * tiledClouds(u, v, 5, 2, 16) - 1);
}

Colour slateColour(int x, int y) {
    const double height = slateHeight(x / 256.0, y / 256.0);
    const Colour colour = gradient(
        {{0, {0.30f, 0.27f, 0.46f}}, {0.5, {0.56f, 0.51f, 0.66f}}, {1, {0.92f, 0.84f, 0.88f}}}, height);
    return scaleColour(colour, static_cast<float>(0.85 + 0.2 * hash01(x, y, 2)));
}

// Where the layers stand out they are worn and shine.
double slateShine(double u, double v) {
    return 0.1 + 0.7 * smoothBetween(0.42, 0.7, slateHeight(u, v));
}

double slateGloss(double u, double v) {
    return 0.2 + 0.15 * tiledClouds(u, v, 6, 2, 26);
}

double soilHeight(double u, double v) {
    const double pebbles = tiledNoise(u * 24, v * 24, 24, 61);
    return 0.45 * tiledClouds(u, v, 6, 4, 60) + 0.55 * pebbles * pebbles;
}

Colour soilColour(int x, int y) {
    const double height = soilHeight(x / 256.0, y / 256.0);
    return gradient({{0, {0.20f, 0.17f, 0.36f}}, {0.5, {0.36f, 0.31f, 0.54f}}, {1, {0.60f, 0.54f, 0.72f}}},
                    height);
}

// Water stands in the hollows.
double soilShine(double u, double v) {
    return 0.06 + 0.85 * smoothBetween(0.40, 0.26, tiledClouds(u, v, 6, 4, 60));
}

double sandHeight(double u, double v) {
    const double bend = 1.6 * tiledClouds(u, v, 4, 2, 70);
    return 0.6 * (0.5 + 0.5 * std::sin((v * 9 + bend) * 2 * std::numbers::pi)) +
           0.4 * tiledClouds(u, v, 8, 3, 72);
}

Colour sandColour(int x, int y) {
    return mixColours({0.26f, 0.18f, 0.52f}, {0.86f, 0.58f, 0.80f},
                      static_cast<float>(sandHeight(x / 256.0, y / 256.0)));
}

// --- water and air --------------------------------------------------------------------------------------

double rippleHeight(double u, double v) {
    return 0.65 * tiledClouds(u, v, 8, 3, 80) + 0.35 * tiledNoise(u * 10, v * 26, 130, 84);
}

double cloudCover(double u, double v) {
    return tiledClouds(u, v, 4, 6, 40);
}

// A bank of haze: dense at its foot, torn at its upper edge, open at both ends.
Picture paintHaze() {
    Picture picture(256, 64);
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 256; ++x) {
            const double up = 1.0 - (y + 0.5) / 64, across = (x + 0.5) / 256;
            const double torn = 0.55 + 0.45 * tiledClouds(across, up * 0.25, 6, 4, 50);
            const double ends = smoothBetween(0, 0.18, across) * smoothBetween(1, 0.82, across);
            const double dense = smoothBetween(torn, 0.02, up) * smoothBetween(0, 0.2, up);
            setTexel(picture, x, y, mixColours(gold, coral, static_cast<float>(up)), 1.0,
                     0.62 * dense * ends);
        }
    }
    return picture;
}

// A shade behind a line of letters, so that it reads before any picture.
Picture paintShade() {
    Picture picture(128, 32);
    for (int y = 0; y < 32; ++y) {
        for (int x = 0; x < 128; ++x) {
            const double u = std::abs((x + 0.5) / 64 - 1), v = std::abs((y + 0.5) / 16 - 1);
            const double alpha = smoothBetween(1.0, 0.55, u) * smoothBetween(1.0, 0.1, v);
            setTexel(picture, x, y, abyss, 1.0, 0.72 * alpha);
        }
    }
    return picture;
}

// A dark road with lines of light along and across it.
Colour streetColour(int x, int y) {
    const double along = std::min(std::abs(x - 128), std::min(x, 256 - x));
    const double across = std::min(y, 256 - y);
    const double line = std::exp(-along * along / 9.0);
    const double rung = 0.3 * std::exp(-across * across / 9.0);
    const Colour base =
        scaleColour(night, static_cast<float>(0.4 + 0.3 * tiledClouds(x / 256.0, y / 256.0, 16, 3, 4)));
    return mixColours(base, x > 64 && x < 192 ? gold : rose, static_cast<float>(std::max(line, rung)));
}

// The moon: a disc with seas and a few craters, bright at its rim.
Colour moonColour(int x, int y) {
    const double u = x / 64.0 - 1, v = y / 64.0 - 1;
    double light = 0.96 - 0.34 * smoothBetween(0.48, 0.66, tiledClouds(x / 128.0, y / 128.0, 3, 4, 33));
    for (int i = 0; i < 9; ++i) {
        const double away = std::hypot(u - 1.4 * (hash01(i, 34) - 0.5), v - 1.4 * (hash01(i, 35) - 0.5));
        const double radius = 0.06 + 0.12 * hash01(i, 36);
        light += 0.10 * std::exp(-std::pow((away - radius) / 0.03, 2.0)) - (away < radius ? 0.06 : 0.0);
    }
    return scaleColour({0.93f, 0.92f, 1.0f}, static_cast<float>(light));
}

// --- panoramas: u runs round the horizon (0.25 lies ahead, along Z), v from the zenith down
// -------------------

// What a sky shows at a height (1 zenith, 0 horizon), warmed or cooled ahead.
Colour skyColour(std::initializer_list<Stop> heights, const Colour& ahead, double reach, double turn,
                 double up) {
    const Colour colour = gradient(heights, std::clamp(1.0 - up, 0.0, 1.2));
    const double away = std::sqrt(turn * turn + up * up * 7.0) / reach;
    return mixColours(colour, ahead, static_cast<float>(0.9 * std::exp(-away * away)));
}

double turnAt(int x) {
    return std::remainder(x / 512.0 - 0.25, 1.0) * 2.0 * std::numbers::pi;
}

Picture paintSky(std::initializer_list<Stop> heights, const Colour& ahead, double aheadReach) {
    Picture picture(512, 256);
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 512; ++x) {
            const Colour colour = skyColour(heights, ahead, aheadReach, turnAt(x), 1.0 - y / 127.5);
            setTexel(picture, x, y, colour, 1.0 + dither(x, y) * 2.0);
        }
    }
    return picture;
}

// Night with a band of far stars over a range of hills. What lies below the horizon is the sky once more: the
// wet street shows it.
Picture paintNightSky(std::initializer_list<Stop> heights) {
    Picture picture(512, 256);
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 512; ++x) {
            const double up = std::abs(1.0 - y / 127.5), u = x / 512.0;
            Colour colour = skyColour(heights, plum, 0.8, turnAt(x), up);
            const double band = up - 0.5 - 0.3 * std::sin((u + 0.1) * 2 * std::numbers::pi);
            const double cloud = tiledClouds(u, y / 512.0, 6, 5, 44);
            const double milk = std::exp(-band * band * 14) * smoothBetween(0.35, 0.75, cloud);
            colour = mixColours(colour, {0.46f, 0.36f, 0.80f}, static_cast<float>(0.62 * milk));
            const double dust = hash01(x, y, 45) > 0.993 ? 0.5 + 0.5 * hash01(x, y, 46) : 0.0;
            colour = mixColours(colour, cream, static_cast<float>(dust * (0.15 + 0.6 * milk)));
            const double hill =
                0.035 + 0.05 * tiledNoise(u * 24, 0.5, 24, 47) + 0.02 * tiledNoise(u * 90, 0.5, 90, 48);
            if (up < hill) {
                colour = scaleColour(night, 0.55f);
            }
            setTexel(picture, x, y, colour, 1.0 + dither(x, y) * 2.0);
        }
    }
    return picture;
}

// What the panes of the city see: the other side of the street.
Picture paintCityAround() {
    Picture picture(256, 128);
    for (int y = 0; y < 128; ++y) {
        for (int x = 0; x < 256; ++x) {
            const double up = 1.0 - y / 63.5;
            const double roof = 0.25 + 0.5 * hash01(x / 11, 51);
            const bool lit = hash01(x / 2, y / 2, 52) > 0.72;
            const Colour sky = mixColours(plum, indigo, static_cast<float>(std::abs(up)));
            const Colour wall =
                lit ? mixColours(gold, coral, static_cast<float>(hash01(x / 2, y / 2, 53))) : night;
            setTexel(picture, x, y, std::abs(up) < roof ? wall : sky);
        }
    }
    return picture;
}

// --- the lake's surroundings on six faces ------------------------------------------------------------------

struct Meeting {
    double distance, height; // distance 0: nothing was met
};

// The first hill that a look from the middle of the lake meets.
Meeting lookAtHills(Way way) {
    for (double d = 60; d < 1700 && way.y * d < 380; d += 6 + d * 0.012) {
        const double x = way.x * d, z = 200 + way.z * d;
        if (std::abs(x) > 880 || z < -900 || z > 1580) {
            break;
        }
        const double height = landHeight(x, z);
        if (height > 4 + way.y * d) {
            return {d, height};
        }
    }
    return {0, 0};
}

Colour aroundLake(std::initializer_list<Stop> dawn, Way way) {
    const double length = std::sqrt(way.x * way.x + way.y * way.y + way.z * way.z);
    way = {way.x / length, std::abs(way.y) / length, way.z / length};
    const Colour sky = skyColour(dawn, gold, 0.75, std::atan2(way.x, way.z), way.y);
    const Meeting hill = lookAtHills(way);
    if (hill.distance <= 0) {
        return sky;
    }
    const Colour slope =
        mixColours({0.13f, 0.07f, 0.26f}, {0.36f, 0.17f, 0.38f}, static_cast<float>(hill.height / 330));
    return mixColours(slope, sky, static_cast<float>(std::min(0.5, hill.distance / 3400)));
}

Picture paintFace(std::initializer_list<Stop> dawn, int face) {
    constexpr int size = 128;
    Picture picture(size, size);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            const Way way = wayThrough(face, (x + 0.5) / size * 2 - 1, (y + 0.5) / size * 2 - 1);
            setTexel(picture, x, y, aroundLake(dawn, way));
        }
    }
    return picture;
}

// The swimmer's skin: u around the body (0.5 at the back), v from head to tail.
Picture paintSkin() {
    Picture picture(128, 256);
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 128; ++x) {
            const double v = y / 255.0;
            const double back = 0.5 + 0.5 * std::cos((x / 127.0 - 0.5) * 2.0 * std::numbers::pi);
            Colour colour = gradient({{0, gold}, {0.25, coral}, {0.6, rose}, {1, violet}}, v);
            colour = mixColours(mixColours(colour, cream, 0.55f), scaleColour(colour, 0.8f),
                                static_cast<float>(back));
            const double band = std::sin(v * 60.0 + 1.6 * std::cos((x / 127.0 - 0.5) * 6.28));
            if (band > 0.55 && back > 0.35) {
                colour = mixColours(colour, indigo, 0.55f);
            }
            setTexel(picture, x, y, colour, 0.92 + 0.08 * hash01(x / 2, y / 2, 12));
        }
    }
    return picture;
}

// One field of a fin: v from its front edge to its hem, ribs at both sides.
Picture paintFin() {
    Picture picture(64, 64);
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x) {
            const double rib = std::exp(-std::pow(std::min(x, 63 - x) / 5.0, 2.0));
            const Colour web = gradient({{0, gold}, {0.35, coral}, {0.8, rose}, {1, plum}}, y / 63.0);
            setTexel(picture, x, y, mixColours(web, cream, static_cast<float>(0.6 * rib)));
        }
    }
    return picture;
}

// The hills' colours: v is height, u a tint of its own for each triangle.
Picture paintHills() {
    Picture picture(64, 256);
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 64; ++x) {
            const double height = 1.0 - y / 255.0;
            const Colour colour = gradient({{0, {0.26f, 0.17f, 0.45f}},
                                            {0.2, {0.47f, 0.25f, 0.52f}},
                                            {0.5, {0.80f, 0.40f, 0.50f}},
                                            {0.8, {1.0f, 0.62f, 0.50f}},
                                            {1, cream}},
                                           height);
            setTexel(picture, x, y, colour, 0.86 + 0.28 * (x / 63.0));
        }
    }
    return picture;
}

struct File {
    std::string name;
    Picture picture;
};

int saveAll(const std::string& directory, std::string& error) {
    const std::initializer_list<Stop> late = {{0, abyss}, {0.45, night}, {0.8, indigo}, {1.0, violet}};
    const std::initializer_list<Stop> deep = {
        {0, night}, {0.5, indigo}, {0.8, violet}, {1, plum}, {1.2, night}};
    const std::initializer_list<Stop> dawn = {{0, indigo},   {0.35, violet}, {0.62, plum}, {0.8, rose},
                                              {0.92, coral}, {1, amber},     {1.2, rose}};
    std::vector<File> files = {
        {"loading.png", paintLoading()},
        {"night/windows.jpg", paint(256, 256, windowColour)},
        {"night/windows_light.jpg", paintMap(256, windowLight)},
        {"night/windows_shine.jpg", paintMap(256, windowShine)},
        {"night/around.jpg", paintCityAround()},
        {"night/street.jpg", paint(256, 256, streetColour)},
        {"night/soil.jpg", paint(256, 256, soilColour)},
        {"night/soil_normal.png", paintNormals(256, 5.0, soilHeight)},
        {"night/soil_shine.jpg", paintMap(256, soilShine)},
        {"night/moon.jpg", paint(128, 128, moonColour)},
        {"night/clouds.jpg", paintMap(256, cloudCover)},
        {"night/sky.jpg", paintNightSky(late)},
        {"dawn/deep.jpg", paintSky(deep, rose, 0.8)},
        {"dawn/sky.jpg", paintSky(dawn, gold, 0.75)},
        {"dawn/skin.jpg", paintSkin()},
        {"dawn/fin.jpg", paintFin()},
        {"dawn/hills.jpg", paintHills()},
        {"dawn/sand.jpg", paint(256, 256, sandColour)},
        {"dawn/sand_normal.png", paintNormals(256, 4.0, sandHeight)},
        {"dawn/ripple.png", paintNormals(256, 10.0, rippleHeight)},
        {"dawn/clouds.jpg", paintMap(256, cloudCover)},
        {"dawn/haze.png", paintHaze()},
        {"letters/shade.png", paintShade()},
    };
    for (const std::string place : {"night", "dawn"}) {
        files.push_back({place + "/slate.jpg", paint(256, 256, slateColour)});
        files.push_back({place + "/slate_normal.png", paintNormals(256, 6.0, slateHeight)});
        files.push_back({place + "/slate_shine.jpg", paintMap(256, slateShine)});
        files.push_back({place + "/slate_gloss.jpg", paintMap(256, slateGloss)});
    }
    for (int face = 0; face < 6; ++face) {
        files.push_back({"dawn/sky0" + std::to_string(face) + ".jpg", paintFace(dawn, face)});
    }
    for (const File& file : files) {
        const std::string path = directory + "/" + file.name;
        const bool png = path.ends_with(".png");
        if ((png ? savePng(file.picture, path, error) : saveJpg(file.picture, path, error)) != 0) {
            return -1;
        }
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: first_light_images <directory of the show>\n", stderr);
        return 1;
    }
    std::string error;
    if (saveAll(argv[1], error) != 0) {
        std::fprintf(stderr, "first_light_images: %s\n", error.c_str());
        return 1;
    }
    return 0;
}
