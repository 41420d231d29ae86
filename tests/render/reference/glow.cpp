#include "render/reference/glow.h"

#include "render/reference/lighting.h"

namespace {
constexpr double AXIS_TAPS[] = {-0.840144, -0.695914, -0.326212, -0.203345,
                                0.840144,  0.695914,  0.326212,  0.203345};

constexpr QbRef2 DISC_TAPS[] = {{-0.326212, -0.405805}, {-0.840144, -0.073580}, {-0.695914, 0.457137},
                                {-0.203345, 0.620716},  {0.962340, -0.194983},  {0.473434, -0.480026},
                                {0.519456, 0.767022},   {0.185461, -0.893124},  {0.507431, 0.064425},
                                {0.896420, 0.412458},   {-0.321940, -0.932615}, {-0.791559, -0.597705}};

QbRef2 center(const QbRefPicture& picture, int x, int y) {
    return {(x + 0.5) / picture.width, (y + 0.5) / picture.height};
}

template <typename Shade>
QbRefPicture shadeAll(int width, int height, const Shade& shade) {
    QbRefPicture result(width, height);
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            result.at(x, y) = shade(x, y);
    return result;
}

QbRef4 blurAxis(const QbRefPicture& picture, QbRef2 uv, QbRef2 axis) {
    QbRef4 sum = qbRefSample(picture, uv.x, uv.y);
    for (double tap : AXIS_TAPS)
        sum = sum + qbRefSample(picture, uv.x + axis.x * tap, uv.y + axis.y * tap);
    return sum * (2.0 / 8);
}

QbRef4 blurDisc(const QbRefPicture& picture, QbRef2 uv, double distance) {
    QbRef4 sum = qbRefSample(picture, uv.x, uv.y);
    for (QbRef2 tap : DISC_TAPS)
        sum = sum + qbRefSample(picture, uv.x + tap.x * distance, uv.y + tap.y * distance);
    return sum * (2.0 / 13);
}
} // namespace

QbRef4 qbRefSample(const QbRefPicture& picture, double u, double v) {
    const double x = std::clamp(u * picture.width - 0.5, 0.0, picture.width - 1.0);
    const double y = std::clamp(v * picture.height - 0.5, 0.0, picture.height - 1.0);
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

QbRefPicture qbRefHalf(const QbRefPicture& picture) {
    const int width = picture.width / 2;
    const int height = picture.height / 2;
    return shadeAll(width, height, [&](int x, int y) {
        return qbRefStore8(qbRefSample(picture, (x + 0.5) / width, (y + 0.5) / height));
    });
}

QbRefPicture qbRefBrightPass(const QbRefPicture& picture) {
    return shadeAll(picture.width, picture.height, [&](int x, int y) {
        const QbRef4 c = picture.at(x, y);
        return qbRefStore8(QbRef4{c.a * c.r, c.a * c.g, c.a * c.b, 1});
    });
}

QbRefPicture qbRefBlurPass(const QbRefPicture& picture, QbRefBlur blur, double distance) {
    return shadeAll(picture.width, picture.height, [&](int x, int y) {
        const QbRef2 uv = center(picture, x, y);
        if (blur == QbRefBlur::Disc) return qbRefStore8(blurDisc(picture, uv, distance));
        const QbRef2 axis = blur == QbRefBlur::Horizontal ? QbRef2{distance, 0} : QbRef2{0, distance};
        return qbRefStore8(blurAxis(picture, uv, axis));
    });
}

QbRefPicture qbRefCompose(const QbRefPicture& frame, const QbRefPicture& glow, double intensity) {
    return shadeAll(frame.width, frame.height, [&](int x, int y) {
        const QbRef2 uv = center(frame, x, y);
        QbRef4 source = qbRefSample(glow, uv.x, uv.y) * intensity;
        source.a = intensity;
        return qbRefAddColor(frame.at(x, y), source);
    });
}

QbRefPicture qbRefGlow(const QbRefPicture& frame, double intensity, double radius) {
    const QbRefPicture bright = qbRefBrightPass(qbRefHalf(frame));
    const QbRefPicture across = qbRefBlurPass(bright, QbRefBlur::Horizontal, radius / 1000);
    return qbRefCompose(frame, qbRefBlurPass(across, QbRefBlur::Vertical, radius / 1000), intensity);
}
