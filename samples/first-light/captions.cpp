// Lettering and overlays, which play as extras. They have no light of their own and shine.

#include "letters.h"
#include "overlay.h"
#include "palette.h"
#include "shots.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double captionSeconds = 6.0;

const Look& faceLook() {
    static const Look look = {
        .name = "Face", .colour = cream, .diffuse = 0, .luminosity = 1.0f, .glow = 0.12f};
    return look;
}

const Look& wallLook() {
    static const Look look = {
        .name = "Wall", .colour = coral, .diffuse = 0.1f, .luminosity = 0.62f, .glow = 0.0f};
    return look;
}

// --- captions: a line of letters over a rule that grows ------------------------------------------------

struct Caption {
    const char* name;
    const char* text;
    double left = -9.9;
};

constexpr Caption captions[] = {
    {"one_spark", "ONE SPARK"},           {"twelve_stones", "TWELVE STONES"},
    {"many_windows", "MANY WINDOWS"},     {"deep_swimmer", "A SWIMMER"},
    {"the_lake_wakes", "THE LAKE WAKES"}, {"made_with_quab", "MADE WITH QUAB", 1.4},
};

void makeCaption(Folder& folder, const Caption& caption) {
    const double size = 0.62;
    const double width = layLetters(caption.text, 0.34).width * size;
    const double x = caption.left + width / 2;
    Shot shot = openOverlay(folder, caption.name, captionSeconds);
    const auto gone = [](double s) { return easeBetween(captionSeconds - 0.7, captionSeconds - 0.1, s); };
    QbExportMotion& text = place(shot, caption.name).motion;
    movePosition(shot, text, [=](double s) {
        const double in = 1.0 - easeBetween(0.0, 0.9, s);
        return Vec{x - 1.2 * in + 0.25 * s / captionSeconds, -6.4 - 4.5 * in * in - 4.5 * gone(s),
                   overlayDepth};
    });
    moveScale(shot, text, [=](double) { return Vec{size, size, size}; });
    QbExportMotion& shade = place(shot, "shade").motion;
    qbExportSetPosition(shade, toFloats({x, -6.2, overlayDepth + 1}));
    moveScale(shot, shade, [=](double s) {
        const double shown = easeBetween(0.1, 1.2, s) * (1 - gone(s));
        return Vec{(width + 6.0) * shown + 0.001, 3.4 * shown + 0.001, 1};
    });
    QbExportMotion& rule = place(shot, "rule").motion;
    movePosition(shot, rule, [=, &caption](double s) {
        return Vec{caption.left, -6.95 - 4.0 * gone(s), overlayDepth};
    });
    moveScale(shot, rule, [=](double s) {
        return Vec{std::max(0.001, (width + 1.0) * easeBetween(0.1, 1.4, s)), 1, 1};
    });
    saveShot(shot);
}

// --- the title: one object a letter, each let go on an eighth note --------------------------------------

struct TitleLetter {
    char letter;
    double x;
};

std::vector<TitleLetter> layTitle(const char* word, double spacing) {
    std::vector<TitleLetter> letters;
    double x = 0;
    for (const char* c = word; *c != '\0'; ++c) {
        const double width = layLetters(std::string_view(c, 1), 0).width;
        letters.push_back({*c, x + width / 2});
        x += width + spacing;
    }
    for (TitleLetter& letter : letters) {
        letter.x -= (x - spacing) / 2;
    }
    return letters;
}

std::string glyphStem(char letter) {
    return std::string("glyph_") + static_cast<char>(letter - 'A' + 'a');
}

void makeTitle(Folder& folder) {
    constexpr double seconds = 12.0, size = 2.35;
    Shot shot = openOverlay(folder, "title", seconds);
    int count = 0;
    const std::vector<TitleLetter> rows[2] = {layTitle("FIRST", 0.42), layTitle("LIGHT", 0.42)};
    for (int row = 0; row < 2; ++row) {
        for (const TitleLetter& letter : rows[row]) {
            const double start = 0.25 * count++;
            const Vec home = {letter.x * size, row == 0 ? 4.35 : 1.2, overlayDepth};
            const auto gone = [start](double s) {
                return easeBetween(10.2 + start * 0.2, 11.6 + start * 0.1, s);
            };
            QbExportMotion& motion = place(shot, glyphStem(letter.letter)).motion;
            movePosition(shot, motion, [=](double s) {
                const double in = 1.0 - easeBetween(start, start + 1.1, s);
                return home + Vec{0, -13.0 * in * in + 9.0 * gone(s), -3.0 * in};
            });
            moveRotation(shot, motion, [=](double s) {
                const double in = 1.0 - overshoot(start, start + 1.5, s);
                return Vec{-75 * in + 5 * std::sin(s * 0.8 + start * 2), 20 * in, 0};
            });
            moveScale(shot, motion, [](double) { return Vec{size, size, size}; });
        }
    }
    QbExportMotion& rule = place(shot, "rule").motion;
    movePosition(shot, rule, [](double s) {
        const double half = 6.2 * easeBetween(2.5, 4.5, s) * (1 - easeBetween(10.2, 11.2, s));
        return Vec{-half, 0.1, overlayDepth};
    });
    moveScale(shot, rule, [](double s) {
        return Vec{std::max(0.001, 12.4 * easeBetween(2.5, 4.5, s) * (1 - easeBetween(10.2, 11.2, s))), 1, 1};
    });
    saveShot(shot);
}

// --- overlays ---------------------------------------------------------------------------------------

// Twelve marks along the upper edge; one fills with each stone that is struck.
void makeCount(Folder& folder) {
    Shot shot = openOverlay(folder, "count", 12);
    for (int i = 0; i < 12; ++i) {
        const Vec home = {-5.5 + i * 1.0, 6.7, overlayDepth};
        QbExportMotion& mark = place(shot, "mark").motion;
        qbExportSetPosition(mark, toFloats(home));
        moveScale(shot, mark, [i](double s) {
            const double in = easeBetween(0.04 * i, 0.5 + 0.04 * i, s), out = 1 - easeBetween(11.4, 11.9, s);
            const double size = std::max(0.001, 0.1 * in * out);
            return Vec{size, size, 1};
        });
        QbExportMotion& fill = place(shot, "fill").motion;
        qbExportSetPosition(fill, toFloats(home + Vec{0, 0, -0.1}));
        moveScale(shot, fill, [i](double s) {
            const double flash = s >= i ? 0.35 * std::exp(-(s - i) / 0.15) : 0.0;
            const double size = overshoot(i, i + 0.3, s) * 0.26 + flash;
            const double shown = std::max(0.001, size * (1 - easeBetween(11.4, 11.9, s)));
            return Vec{shown, shown, 1};
        });
    }
    saveShot(shot);
}

// Two dark bars close on the picture and let it go again.
void makeFrame(Folder& folder) {
    Shot shot = openOverlay(folder, "frame", 12);
    for (const double side : {-1.0, 1.0}) {
        QbExportMotion& bar = place(shot, "matte").motion;
        movePosition(shot, bar, [side](double s) {
            const double in = easeBetween(0.0, 1.5, s) * (1 - easeBetween(10.5, 12.0, s));
            return Vec{0, side * (5.4 - 0.68 * in), overlayDepth / 2};
        });
    }
    saveShot(shot);
}

void addLetterModels(Folder& folder) {
    for (const Caption& caption : captions) {
        addModel(folder, caption.name, makeText(caption.text, 0.34, 0.095, 0.06), {faceLook(), wallLook()});
    }
    for (const char letter : {'F', 'I', 'R', 'S', 'T', 'L', 'G', 'H'}) {
        const char text[2] = {letter, '\0'};
        addModel(folder, glyphStem(letter).c_str(), makeText(text, 0, 0.13, 0.22), {faceLook(), wallLook()});
    }
    QbExportMesh rule = qbShapeBox({1, 0.045f, 0.02f});
    qbMeshTransform(rule, {0.5f, 0, 0});
    const Look golden = {.name = "Rule", .colour = gold, .diffuse = 0, .luminosity = 1, .glow = 0.2f};
    addModel(folder, "rule", rule, {golden});
    QbExportMesh sheet;
    addQuad(sheet, {-0.5, 0.5, 0}, {0.5, 0.5, 0}, {0.5, -0.5, 0}, {-0.5, -0.5, 0});
    addModel(folder, "shade", sheet,
             {{.name = "Shade", .colour = abyss, .diffuse = 0, .luminosity = 1, .image = "shade.png"}});
    QbExportMesh diamond = qbShapeBox({1, 1, 0.02f});
    qbMeshTransform(diamond, {0, 0, 0}, {0, 0, 45});
    addModel(folder, "mark", diamond, {{.name = "Mark", .colour = plum, .diffuse = 0, .luminosity = 1}});
    addModel(folder, "fill", diamond,
             {{.name = "Fill", .colour = coral, .diffuse = 0, .luminosity = 1, .glow = 0.6f}});
    addModel(folder, "matte", qbShapeBox({16, 2, 0.02f}),
             {{.name = "Matte", .colour = abyss, .diffuse = 0, .luminosity = 0.6f}}, QB_EXPORT_X_TEXT);
}

} // namespace

void makeLetters(const std::string& directory) {
    Folder folder{directory, {}};
    addLetterModels(folder);
    saveModels(folder);
    for (const Caption& caption : captions) {
        makeCaption(folder, caption);
    }
    makeTitle(folder);
    makeCount(folder);
    makeFrame(folder);
}
