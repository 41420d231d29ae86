// The glow chain on the CPU, over whole pictures. Every pass writes an 8-bit target, so results are clamped
// and rounded.
#pragma once

#include "render/reference/formulas.h"

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

// Linear filter, clamped at the edges; u right and v down, 0..1 over the picture.
inline QbRef4 qbRefSample(const QbRefPicture& picture, QbRef2 uv) {
    const double x = std::clamp(uv.x * picture.width - 0.5, 0.0, picture.width - 1.0);
    const double y = std::clamp(uv.y * picture.height - 0.5, 0.0, picture.height - 1.0);
    const int left = static_cast<int>(x);
    const int top = static_cast<int>(y);
    const int right = std::min(left + 1, picture.width - 1);
    const int bottom = std::min(top + 1, picture.height - 1);
    const double s = x - left;
    const double t = y - top;
    const QbRef4 above = picture.at(left, top) * (1 - s) + picture.at(right, top) * s;
    const QbRef4 below = picture.at(left, bottom) * (1 - s) + picture.at(right, bottom) * s;
    return above * (1 - t) + below * t;
}

// `shade` gets a texel's place and the coordinates of its centre.
template <typename Shade>
QbRefPicture qbRefShadeAll(int width, int height, const Shade& shade) {
    QbRefPicture result(width, height);
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            result.at(x, y) = shade(x, y, QbRef2{(x + 0.5) / width, (y + 0.5) / height});
    return result;
}

// Copy at half the size, rounded down; a picture of one row or column has no half.
inline QbRefPicture qbRefHalf(const QbRefPicture& picture) {
    return qbRefShadeAll(picture.width / 2, picture.height / 2,
                         [&](int, int, QbRef2 uv) { return qbRefStore8(qbRefSample(picture, uv)); });
}

inline QbRefPicture qbRefBrightPass(const QbRefPicture& picture) {
    return qbRefShadeAll(picture.width, picture.height, [&](int x, int y, QbRef2) {
        const QbRef4 c = picture.at(x, y);
        return qbRefStore8(QbRef4{c.a * c.r, c.a * c.g, c.a * c.b, 1});
    });
}

// Along `axis`, whose length is the distance in texture coordinates: the chain uses radius / 1000.
inline QbRefPicture qbRefBlurPass(const QbRefPicture& picture, QbRef2 axis) {
    return qbRefShadeAll(picture.width, picture.height, [&](int, int, QbRef2 uv) {
        QbRef4 sum = qbRefSample(picture, uv);
        for (const double tap :
             {-0.840144, -0.695914, -0.326212, -0.203345, 0.840144, 0.695914, 0.326212, 0.203345})
            sum = sum + qbRefSample(picture, {uv.x + axis.x * tap, uv.y + axis.y * tap});
        return qbRefStore8(sum * (2.0 / 8));
    });
}

// The glow laid over the frame; the two may differ in size.
inline QbRefPicture qbRefCompose(const QbRefPicture& frame, const QbRefPicture& glow, double intensity) {
    return qbRefShadeAll(frame.width, frame.height, [&](int x, int y, QbRef2 uv) {
        QbRef4 source = qbRefSample(glow, uv) * intensity;
        source.a = intensity;
        return qbRefAddColor(frame.at(x, y), source);
    });
}
