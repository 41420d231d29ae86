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
        : width(w), height(h), texels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h), fill) {}

    // x and y within the picture.
    QbRef4& at(int x, int y) { return texels[index(x, y)]; }
    const QbRef4& at(int x, int y) const { return texels[index(x, y)]; }

private:
    std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
    }
};

enum class QbRefBlur { Horizontal, Vertical, Disc };

// Linear filter, clamped at the edges; u right and v down, 0..1 over the picture.
QbRef4 qbRefSample(const QbRefPicture& picture, double u, double v);

// Copy at half the size, rounded down; a picture of one row or column has no half.
QbRefPicture qbRefHalf(const QbRefPicture& picture);

QbRefPicture qbRefBrightPass(const QbRefPicture& picture);

// `distance` in texture coordinates: the chain uses radius / 1000.
QbRefPicture qbRefBlurPass(const QbRefPicture& picture, QbRefBlur blur, double distance);

// The glow laid over the frame; the two may differ in size.
QbRefPicture qbRefCompose(const QbRefPicture& frame, const QbRefPicture& glow, double intensity);

// All steps of the chain; the frame's alpha says what glows.
QbRefPicture qbRefGlow(const QbRefPicture& frame, double intensity, double radius);
