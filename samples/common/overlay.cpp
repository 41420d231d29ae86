#include "overlay.h"

#include "letters.h"

#include <algorithm>

namespace {

// A stroke as a bar of constant width with mitred corners; its front, on `face`, looks along -Z.
void addStroke(QbExportMesh& mesh, const Stroke& stroke, double width, double thickness, uint32_t face,
               uint32_t wall) {
    std::vector<Vec> left, right;
    const auto way = [&stroke](size_t i) {
        return unitVector({stroke[i + 1].x - stroke[i].x, stroke[i + 1].y - stroke[i].y, 0});
    };
    for (size_t i = 0; i < stroke.size(); ++i) {
        const Vec before = way(i == 0 ? 0 : i - 1), behind = way(std::min(i, stroke.size() - 2));
        const Vec middle = unitVector(before + behind);
        const Vec side = {-middle.y, middle.x, 0};
        const double cosine = std::max(0.35, before.x * middle.x + before.y * middle.y);
        // Ends reach half a width further, so that strokes that meet close their corner.
        const double end = i == 0 ? -0.5 : (i + 1 == stroke.size() ? 0.5 : 0.0);
        const Vec at = Vec{stroke[i].x, stroke[i].y, 0} + (i == 0 ? behind : before) * (end * width);
        left.push_back(at + side * (0.5 * width / cosine));
        right.push_back(at - side * (0.5 * width / cosine));
    }
    const Vec front = {0, 0, -thickness / 2}, back = {0, 0, thickness / 2};
    for (size_t i = 0; i + 1 < stroke.size(); ++i) {
        addQuad(mesh, left[i] + front, left[i + 1] + front, right[i + 1] + front, right[i] + front, face);
        addQuad(mesh, left[i] + back, left[i + 1] + back, left[i + 1] + front, left[i] + front, wall);
        addQuad(mesh, right[i] + front, right[i + 1] + front, right[i + 1] + back, right[i] + back, wall);
    }
    addQuad(mesh, left[0] + back, left[0] + front, right[0] + front, right[0] + back, wall);
    addQuad(mesh, left.back() + front, left.back() + back, right.back() + back, right.back() + front, wall);
}

} // namespace

Shot openOverlay(Folder& folder, const std::string& name, double seconds) {
    Shot shot = openShot(folder, name, seconds, {0.016f, 0.012f, 0.055f});
    film(
        shot,
        [](double) {
            return Vec{0, 0, 0};
        },
        [](double) {
            return Vec{0, 0, 1};
        },
        constant(60), constant(0));
    return shot;
}

QbExportMesh makeText(const char* text, double spacing, double width, double thickness) {
    const Lettering lettering = layLetters(text, spacing);
    QbExportMesh mesh;
    for (Stroke stroke : lettering.strokes) {
        for (Point& point : stroke) {
            point.x -= lettering.width / 2;
        }
        addStroke(mesh, stroke, width, thickness, 0, 1);
    }
    return mesh;
}
