// The name of the show, in the sky over the valley.

#include "overlay.h"
#include "palette.h"
#include "shots.h"

#include <algorithm>
#include <cmath>

namespace {

// Letters come one after the other, as snow does: from above, turning a little.
void addLetter(Shot& shot, const char* stem, int i) {
    const double start = 0.22 * i, gone = titleSeconds - 1.1 + 0.1 * i;
    const Vec home = {-6.6 + 4.4 * i, 3.1, overlayDepth};
    QbExportMotion& motion = place(shot, stem).motion;
    movePosition(shot, motion, [=](double s) {
        const double in = 1 - easeBetween(start, start + 1.4, s), out = easeBetween(gone, gone + 0.9, s);
        return home + Vec{0.5 * in, 8 * in + 8.5 * out, 0};
    });
    moveRotation(shot, motion, [=](double s) {
        const double in = 1 - easeBetween(start, start + 2.0, s);
        return Vec{50 * in + 4 * std::sin(s + i), 0, -14 * in};
    });
    qbExportSetScale(motion, {2.1f, 2.1f, 2.1f});
}

} // namespace

void makeTitle(const std::string& directory) {
    Folder folder{directory, {}};
    const Look face = {.name = "Face", .colour = snow, .diffuse = 0, .luminosity = 1, .glow = 0.2f};
    const Look wall = {.name = "Wall", .colour = peach, .diffuse = 0, .luminosity = 0.7f};
    constexpr const char* stems[4] = {"letter_d", "letter_u", "letter_s", "letter_k"};
    constexpr const char* texts[4] = {"D", "U", "S", "K"};
    for (size_t i = 0; i < 4; ++i) {
        addModel(folder, stems[i], makeText(texts[i], 0, 0.10, 0.16), {face, wall});
    }
    saveModels(folder);
    Shot shot = openOverlay(folder, "title", titleSeconds);
    for (int i = 0; i < 4; ++i) {
        addLetter(shot, stems[i], i);
    }
    saveShot(shot);
}
