#include "scene/export/opened_scene.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <random>

namespace {

using Vector = std::array<float, 3>;

double radians(double degrees) {
    return degrees * std::numbers::pi / 180;
}

// A vector turned by degrees about axis 0, 1 or 2 of a left-handed space.
Vector turned(Vector v, size_t axis, float degrees) {
    const auto a = static_cast<float>(radians(degrees));
    const float c = std::cos(a), s = std::sin(a);
    float &p = v[(axis + 1) % 3], &q = v[(axis + 2) % 3];
    const float old = p;
    p = old * c - q * s;
    q = old * s + q * c;
    return v;
}

void expectNear(const Vector& out, const Vector& wanted, float tolerance) {
    for (size_t i = 0; i < 3; i++)
        EXPECT_NEAR(out[i], wanted[i], tolerance) << "part " << i;
}

// The engine turns about X, Y, Z, the scene by bank, pitch and heading.
void expectSameOrientation(const Vector& engine, const Vector& hpb) {
    for (const Vector& v : {Vector{1, 0, 0}, Vector{0, 1, 0}})
        expectNear(turned(turned(turned(v, 0, engine[0]), 1, engine[1]), 2, engine[2]),
                   turned(turned(turned(v, 2, hpb[2]), 0, hpb[1]), 1, hpb[0]), 1e-4f);
}

// An object with these headings, pitches and banks in degrees, one a frame.
struct Played : OpenedScene {
    explicit Played(const std::vector<Vector>& hpb) {
        scene.frameEnd = static_cast<int32_t>(hpb.size()) - 1;
        scene.objects.emplace_back().name = "ball";
        for (size_t i = 0; i < 3; i++)
            scene.objects[0].motion.rotation[i] = qbExportByFrame(
                scene, [&](int32_t frame) { return radians(hpb[static_cast<size_t>(frame)][i]); });
        open();
    }
    Vector at(float frame, int32_t kind = QB_ITEM_ROTATION_ALT) {
        Vector out;
        h->objectInfo->itemParam(out.data(), h, 0, kind, 40 * frame);
        return out;
    }
};

TEST(Transform, GivesTheKnownAngles) {
    const struct {
        int32_t kind;
        Vector hpb, wanted;
        float tolerance = 0.001f;
    } ROWS[] = {
        {QB_ITEM_ROTATION_ALT, {10, 20, 30}, {22.24599f, -1.03300f, 28.02928f}},
        {QB_ITEM_ROTATION_ALT, {90, 0, 0}, {0, 90, 90}, 0.03f},
        {QB_ITEM_ROTATION_ALT, {-90, 0, 0}, {0, -90, 90}, 0.03f},
        {QB_ITEM_ROTATION, {45, 0, 0}, {45, 0, 0}},
        {QB_ITEM_ROTATION, {0, 0, 30}, {0, 0, 30}},
        {QB_ITEM_ROTATION, {0, 90, 0}, {0, 90, 0}, 0.03f},
    };
    for (const auto& row : ROWS)
        for (const float frame : {0.0f, 0.4f})
            expectNear(Played({row.hpb, row.hpb}).at(frame, row.kind), row.wanted, row.tolerance);
}

TEST(Transform, EngineAnglesGiveTheSameOrientation) {
    std::mt19937 random(3);
    std::uniform_real_distribution<float> angle(-180, 180);
    std::vector<Vector> hpb(2000);
    for (Vector& v : hpb)
        v = {angle(random), angle(random), angle(random)};
    Played played(hpb);
    for (size_t i = 0; i < hpb.size() && !HasFailure(); i++) {
        const Vector engine = played.at(static_cast<float>(i));
        if (std::abs(engine[1]) < 88) expectSameOrientation(engine, hpb[i]); // beyond: filled with constants
    }
}

TEST(Transform, FollowsTheShorterArcBetweenSamples) {
    // Heading turns last, so the arc between two that differ in it alone is one turn about the world's Y.
    Played played({{130, -35, 50}, {-110, -35, 50}});
    for (const float share : {0.0f, 0.25f, 0.5f, 1.0f})
        expectSameOrientation(played.at(share), {130 + 120 * share, -35, 50});
    expectNear(Played({{359, 0, 0}, {1, 0, 0}}).at(0.5f, QB_ITEM_ROTATION), {0, 0, 0}, 0.001f);
}

} // namespace
