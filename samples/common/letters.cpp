#include "letters.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

struct Glyph {
    std::vector<Stroke> strokes;
    double width;
};

// Degrees count from the right, counter-clockwise.
Stroke arc(double x, double y, double radiusX, double radiusY, double from, double to) {
    const int steps = std::max(4, static_cast<int>(std::abs(to - from) / 15.0));
    Stroke stroke;
    for (int i = 0; i <= steps; ++i) {
        const double angle = (from + (to - from) * i / steps) * std::numbers::pi / 180.0;
        stroke.push_back({x + radiusX * std::cos(angle), y + radiusY * std::sin(angle)});
    }
    return stroke;
}

Stroke join(Stroke first, const Stroke& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// A bowl: out from the stem at `top`, round, and back to the stem at `bottom`.
Stroke bowl(double x, double right, double bottom, double top) {
    const double radius = (top - bottom) / 2;
    Stroke stroke = {{x, top}};
    stroke = join(stroke, arc(right - radius, bottom + radius, radius, radius, 90, -90));
    stroke.push_back({x, bottom});
    return stroke;
}

Glyph glyph(char letter) {
    switch (letter) {
    case 'A':
        return {{{{0, 0}, {0.36, 1}, {0.72, 0}}, {{0.13, 0.34}, {0.59, 0.34}}}, 0.72};
    case 'B':
        return {{{{0, 0}, {0, 1}}, bowl(0, 0.48, 0.53, 1), bowl(0, 0.54, 0, 0.53)}, 0.54};
    case 'C':
        return {{arc(0.48, 0.5, 0.48, 0.5, 48, 312)}, 0.8};
    case 'D':
        return {{{{0, 0}, {0, 1}},
                 join({{0, 1}, {0.16, 1}}, join(arc(0.16, 0.5, 0.5, 0.5, 75, -75), {{0.16, 0}, {0, 0}}))},
                0.66};
    case 'E':
        return {{{{0.5, 1}, {0, 1}, {0, 0}, {0.5, 0}}, {{0, 0.53}, {0.42, 0.53}}}, 0.5};
    case 'F':
        return {{{{0.5, 1}, {0, 1}, {0, 0}}, {{0, 0.53}, {0.42, 0.53}}}, 0.5};
    case 'G':
        return {{join(arc(0.48, 0.5, 0.48, 0.5, 48, 335), {{0.92, 0.45}, {0.56, 0.45}})}, 0.92};
    case 'H':
        return {{{{0, 0}, {0, 1}}, {{0.64, 0}, {0.64, 1}}, {{0, 0.53}, {0.64, 0.53}}}, 0.64};
    case 'I':
        return {{{{0, 0}, {0, 1}}}, 0.0};
    case 'J':
        return {{join({{0.34, 1}}, arc(0.14, 0.2, 0.2, 0.2, 0, -150))}, 0.34};
    case 'K':
        return {{{{0, 0}, {0, 1}}, {{0.54, 1}, {0.03, 0.47}, {0.58, 0}}}, 0.58};
    case 'L':
        return {{{{0, 1}, {0, 0}, {0.46, 0}}}, 0.46};
    case 'M':
        return {{{{0, 0}, {0.1, 1}, {0.42, 0.25}, {0.74, 1}, {0.84, 0}}}, 0.84};
    case 'N':
        return {{{{0, 0}, {0, 1}, {0.64, 0}, {0.64, 1}}}, 0.64};
    case 'O':
        return {{arc(0.5, 0.5, 0.5, 0.5, 90, 450)}, 1.0};
    case 'P':
        return {{{{0, 0}, {0, 1}}, bowl(0, 0.52, 0.44, 1)}, 0.52};
    case 'Q':
        return {{arc(0.5, 0.5, 0.5, 0.5, 90, 450), {{0.62, 0.26}, {0.92, -0.08}}}, 1.0};
    case 'R':
        return {{{{0, 0}, {0, 1}}, bowl(0, 0.52, 0.46, 1), {{0.26, 0.46}, {0.56, 0}}}, 0.56};
    case 'S':
        return {{join(arc(0.25, 0.755, 0.235, 0.245, 35, 255), arc(0.25, 0.26, 0.25, 0.26, 80, -150))}, 0.5};
    case 'T':
        return {{{{0, 1}, {0.6, 1}}, {{0.3, 1}, {0.3, 0}}}, 0.6};
    case 'U':
        return {{join({{0, 1}}, join(arc(0.3, 0.3, 0.3, 0.3, 180, 360), {{0.6, 1}}))}, 0.6};
    case 'V':
        return {{{{0, 1}, {0.34, 0}, {0.68, 1}}}, 0.68};
    case 'W':
        return {{{{0, 1}, {0.26, 0}, {0.52, 0.85}, {0.78, 0}, {1.04, 1}}}, 1.04};
    case 'X':
        return {{{{0, 0}, {0.64, 1}}, {{0, 1}, {0.64, 0}}}, 0.64};
    case 'Y':
        return {{{{0, 1}, {0.32, 0.47}, {0.64, 1}}, {{0.32, 0.47}, {0.32, 0}}}, 0.64};
    case 'Z':
        return {{{{0, 1}, {0.58, 1}, {0, 0}, {0.6, 0}}}, 0.6};
    default:
        return {{}, 0.22};
    }
}

double distanceToSegment(Point p, Point a, Point b) {
    const double dx = b.x - a.x, dy = b.y - a.y;
    const double length = dx * dx + dy * dy;
    const double way =
        length > 0 ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / length, 0.0, 1.0) : 0.0;
    return std::hypot(p.x - a.x - way * dx, p.y - a.y - way * dy);
}

} // namespace

Lettering layLetters(std::string_view text, double spacing) {
    Lettering lettering{{}, 0.0};
    double x = 0.0;
    for (const char letter : text) {
        const Glyph shape = glyph(letter);
        for (Stroke stroke : shape.strokes) {
            for (Point& point : stroke) {
                point.x += x;
            }
            lettering.strokes.push_back(std::move(stroke));
        }
        lettering.width = x + shape.width;
        x += shape.width + spacing;
    }
    return lettering;
}

double distanceToStrokes(const Lettering& lettering, Point point) {
    double nearest = 1e9;
    for (const Stroke& stroke : lettering.strokes) {
        for (size_t i = 1; i < stroke.size(); ++i) {
            nearest = std::min(nearest, distanceToSegment(point, stroke[i - 1], stroke[i]));
        }
    }
    return nearest;
}
