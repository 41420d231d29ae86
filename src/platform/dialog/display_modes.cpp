#include "platform/dialog/dialog.h"

#include <algorithm>
#include <cstdio>
#include <tuple>

enum {
    OFFERED_MAX = 200,
    WIDTH_MIN = 720, // pixels
    BITS_MIN = 32,
    RECOMMENDED_WIDTH = 1280,
    RECOMMENDED_HEIGHT = 720,
    RECOMMENDED_BITS = 32,
};

static bool sameMode(const QbDisplayMode& a, const QbDisplayMode& b) {
    return a.width == b.width && a.height == b.height && a.bits == b.bits;
}

static bool isRecommended(const QbDisplayMode& mode) {
    return sameMode(mode, {RECOMMENDED_WIDTH, RECOMMENDED_HEIGHT, RECOMMENDED_BITS, 0});
}

static bool isBefore(const QbDisplayMode& a, const QbDisplayMode& b) {
    return std::tie(a.width, a.height, a.bits, a.refresh) < std::tie(b.width, b.height, b.bits, b.refresh);
}

int qbDisplayModesOffered(QbDisplayMode* modes, int count) {
    QbDisplayMode* end = modes;
    for (int i = 0; i < count && end - modes < OFFERED_MAX; ++i) {
        const QbDisplayMode mode = modes[i];
        if (mode.width < WIDTH_MIN || mode.bits < BITS_MIN) continue;
        if (std::any_of(modes, end, [&](const QbDisplayMode& kept) { return sameMode(kept, mode); }))
            continue;
        *end++ = mode;
    }
    std::sort(modes, end, isBefore);
    return static_cast<int>(end - modes);
}

const char* qbDisplayModeLabel(const QbDisplayMode* mode) {
    static char label[64];
    snprintf(label, sizeof(label), "%4d x %4d %2d Bits%s", mode->width, mode->height, mode->bits,
             isRecommended(*mode) ? " (recommended)" : "");
    return label;
}

int qbDisplayModeDefault(const QbDisplayMode* modes, int count, const QbDisplayMode* desktop) {
    const QbDisplayMode* end = modes + count;
    const QbDisplayMode* found = std::find_if(modes, end, isRecommended);
    if (found == end)
        found = std::find_if(modes, end, [&](const QbDisplayMode& mode) { return sameMode(mode, *desktop); });
    return found == end ? -1 : static_cast<int>(found - modes);
}
