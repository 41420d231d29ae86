#include "render/reference/glow.h"

#include "render/reference/formulas.h"

namespace {
constexpr double TAPS[] = {-0.840144, -0.695914, -0.326212, -0.203345,
                           0.840144,  0.695914,  0.326212,  0.203345};

// Linear filter, clamped at the edges; u right and v down, 0..1 over the picture.
QbRef4 sample(const QbRefPicture& picture, QbRef2 uv) {
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
QbRefPicture shadeAll(int width, int height, const Shade& shade) {
    QbRefPicture result(width, height);
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            result.at(x, y) = shade(x, y, QbRef2{(x + 0.5) / width, (y + 0.5) / height});
    return result;
}
} // namespace

QbRefPicture qbRefHalf(const QbRefPicture& picture) {
    return shadeAll(picture.width / 2, picture.height / 2,
                    [&](int, int, QbRef2 uv) { return qbRefStore8(sample(picture, uv)); });
}

QbRefPicture qbRefBrightPass(const QbRefPicture& picture) {
    return shadeAll(picture.width, picture.height, [&](int x, int y, QbRef2) {
        const QbRef4 c = picture.at(x, y);
        return qbRefStore8(QbRef4{c.a * c.r, c.a * c.g, c.a * c.b, 1});
    });
}

QbRefPicture qbRefBlurPass(const QbRefPicture& picture, QbRef2 axis) {
    return shadeAll(picture.width, picture.height, [&](int, int, QbRef2 uv) {
        QbRef4 sum = sample(picture, uv);
        for (double tap : TAPS)
            sum = sum + sample(picture, {uv.x + axis.x * tap, uv.y + axis.y * tap});
        return qbRefStore8(sum * (2.0 / 8));
    });
}

QbRefPicture qbRefCompose(const QbRefPicture& frame, const QbRefPicture& glow, double intensity) {
    return shadeAll(frame.width, frame.height, [&](int x, int y, QbRef2 uv) {
        QbRef4 source = sample(glow, uv) * intensity;
        source.a = intensity;
        return qbRefAddColor(frame.at(x, y), source);
    });
}
