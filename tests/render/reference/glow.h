// The glow chain on the CPU, over whole pictures. Every pass writes an 8-bit target, so results are clamped
// and rounded.
#pragma once

#include "render/reference/vector.h"

#include <cstddef>
#include <vector>

// Rows run from the top. Width and height above 0.
struct QbRefPicture {
    int width = 0;
    int height = 0;
    std::vector<QbRef4> texels;

    QbRefPicture(int w, int h, QbRef4 fill = {})
        : width(w), height(h), texels(static_cast<std::size_t>(w * h), fill) {}

    // x and y within the picture.
    QbRef4& at(int x, int y) { return texels[static_cast<std::size_t>(y * width + x)]; }
    const QbRef4& at(int x, int y) const { return texels[static_cast<std::size_t>(y * width + x)]; }
};

// Copy at half the size, rounded down; a picture of one row or column has no half.
QbRefPicture qbRefHalf(const QbRefPicture& picture);

QbRefPicture qbRefBrightPass(const QbRefPicture& picture);

// Along `axis`, whose length is the distance in texture coordinates: the chain uses radius / 1000.
QbRefPicture qbRefBlurPass(const QbRefPicture& picture, QbRef2 axis);

// The glow laid over the frame; the two may differ in size.
QbRefPicture qbRefCompose(const QbRefPicture& frame, const QbRefPicture& glow, double intensity);
