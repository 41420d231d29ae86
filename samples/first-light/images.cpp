// Paints the show's pictures: first_light_images <directory of the show>.

#include "letters.h"
#include "noise.h"
#include "palette.h"
#include "picture.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <numbers>

namespace {

struct Stop {
    double at;
    Colour colour;
};

Colour gradient(std::initializer_list<Stop> stops, double at) {
    const Stop* before = stops.begin();
    for (const Stop& stop : stops) {
        if (at <= stop.at) {
            const double span = stop.at - before->at;
            return mixColours(before->colour, stop.colour,
                              span > 0 ? static_cast<float>((at - before->at) / span) : 1.0f);
        }
        before = &stop;
    }
    return before->colour;
}

void setTexel(Picture& picture, int x, int y, const Colour& colour, double light = 1.0, double alpha = 1.0) {
    const Colour c = scaleColour(colour, static_cast<float>(light));
    picture.at(x, y) = {c[0], c[1], c[2], static_cast<float>(alpha)};
}

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

// Lit and dark panes. The light in a pane falls off towards its foot, so that it reads as a room.
Picture paintWindows() {
    Picture picture(256, 256);
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x) {
            const int column = x / 16, row = y / 16;
            const int inX = x % 16, inY = y % 16;
            const bool pane = inX >= 4 && inX < 12 && inY >= 3 && inY < 12;
            const double chance = hash01(column, row, 7);
            Colour colour = mixColours(night, indigo, 0.35f);
            double light = 0.75 + 0.12 * hash01(x / 2, y / 2, 3);
            if (pane && chance > 0.58) {
                const double warmth = hash01(column, row, 8);
                colour = warmth > 0.75 ? cream : (warmth > 0.35 ? gold : coral);
                light = (0.55 + 0.45 * hash01(column, row, 9)) * (1.0 - 0.045 * inY);
            } else if (pane) {
                colour = abyss;
                light = 1.5;
            }
            setTexel(picture, x, y, colour, light);
        }
    }
    return picture;
}

double slateHeight(double x, double y) {
    const double layers = smoothNoise(x * 3 + 40, y * 40, 5);
    const double lumps = smoothNoise(x * 9, y * 9, 6);
    return 0.55 * layers + 0.45 * lumps;
}

Picture paintSlate() {
    Picture picture(256, 256);
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x) {
            const double height = slateHeight(x / 256.0, y / 256.0);
            const Colour colour =
                gradient({{0, indigo}, {0.5, {0.32f, 0.29f, 0.48f}}, {1, {0.62f, 0.54f, 0.66f}}}, height);
            setTexel(picture, x, y, colour, 0.8 + 0.3 * hash01(x, y, 2));
        }
    }
    return picture;
}

// Normals of the slate, with its height in alpha.
Picture paintSlateNormals() {
    Picture picture(256, 256);
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x) {
            const double u = x / 256.0, v = y / 256.0, step = 1.0 / 256.0;
            const double dx = (slateHeight(u - step, v) - slateHeight(u + step, v)) * 2.5;
            const double dy = (slateHeight(u, v - step) - slateHeight(u, v + step)) * 2.5;
            const double length = std::sqrt(dx * dx + dy * dy + 1.0);
            const Colour normal = {static_cast<float>(0.5 + 0.5 * dx / length),
                                   static_cast<float>(0.5 + 0.5 * dy / length),
                                   static_cast<float>(0.5 + 0.5 / length)};
            setTexel(picture, x, y, normal, 1.0, slateHeight(u, v));
        }
    }
    return picture;
}

// A dark road with lines of light along and across it.
Picture paintStreet() {
    Picture picture(256, 256);
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x) {
            const double along = std::min(std::abs(x - 128), std::min(x, 256 - x));
            const double across = std::min(y, 256 - y);
            const double line = std::exp(-along * along / 12.0);
            const double rung = 0.45 * std::exp(-across * across / 12.0);
            const Colour base = scaleColour(night, static_cast<float>(0.55 + 0.2 * hash01(x / 4, y / 4, 4)));
            const Colour lit = x > 64 && x < 192 ? gold : rose;
            setTexel(picture, x, y, mixColours(base, lit, static_cast<float>(std::max(line, rung * 0.7))));
        }
    }
    return picture;
}

// A sky dome's picture: u runs round the horizon (0.25 lies ahead, along Z), v from the zenith down.
Picture paintSky(std::initializer_list<Stop> heights, const Colour& ahead, double aheadReach) {
    Picture picture(512, 256);
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 512; ++x) {
            const double up = 1.0 - y / 127.5; // 1 zenith, 0 horizon
            Colour colour = gradient(heights, std::clamp(1.0 - up, 0.0, 1.2));
            const double turn = std::remainder(x / 512.0 - 0.25, 1.0) * 2.0 * std::numbers::pi;
            const double away = std::sqrt(turn * turn + up * up * 7.0) / aheadReach;
            colour = mixColours(colour, ahead, static_cast<float>(0.9 * std::exp(-away * away)));
            const double light = 1.0 + dither(x, y) * 2.0;
            setTexel(picture, x, y, colour, light);
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
    const char* name;
    Picture picture;
};

int saveAll(const std::string& directory, std::string& error) {
    const std::initializer_list<Stop> late = {{0, abyss},    {0.55, night}, {0.85, indigo},
                                              {1.0, violet}, {1.05, night}, {1.2, abyss}};
    const std::initializer_list<Stop> deep = {
        {0, night}, {0.5, indigo}, {0.8, violet}, {1, plum}, {1.2, night}};
    const std::initializer_list<Stop> dawn = {{0, indigo},   {0.35, violet}, {0.62, plum}, {0.8, rose},
                                              {0.92, coral}, {1, amber},     {1.2, rose}};
    const File files[] = {
        {"loading.png", paintLoading()},
        {"night/windows.jpg", paintWindows()},
        {"night/slate.jpg", paintSlate()},
        {"night/slate_normal.png", paintSlateNormals()},
        {"night/street.jpg", paintStreet()},
        {"night/sky.jpg", paintSky(late, plum, 0.9)},
        {"dawn/deep.jpg", paintSky(deep, rose, 0.8)},
        {"dawn/sky.jpg", paintSky(dawn, gold, 0.75)},
        {"dawn/skin.jpg", paintSkin()},
        {"dawn/fin.jpg", paintFin()},
        {"dawn/hills.jpg", paintHills()},
        {"dawn/slate.jpg", paintSlate()},
        {"dawn/slate_normal.png", paintSlateNormals()},
    };
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
