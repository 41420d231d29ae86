#include "scene/format/transform.h"

#include "test_scene.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <random>

namespace {

using Vector = std::array<float, 3>;
using Matrix = std::array<std::array<double, 3>, 3>;

Matrix operator*(const Matrix& a, const Matrix& b) {
    Matrix c{};
    for (size_t i = 0; i < 3; i++)
        for (size_t j = 0; j < 3; j++)
            for (size_t k = 0; k < 3; k++)
                c[i][j] += a[i][k] * b[k][j];
    return c;
}

Matrix transposed(const Matrix& a) {
    Matrix t{};
    for (size_t i = 0; i < 3; i++)
        for (size_t j = 0; j < 3; j++)
            t[i][j] = a[j][i];
    return t;
}

// Rotation by degrees about X, Y or Z for row vectors in a left-handed space.
Matrix turn(char axis, double degrees) {
    const double a = degrees * std::numbers::pi / 180, c = std::cos(a), s = std::sin(a);
    if (axis == 'x') return {{{1, 0, 0}, {0, c, s}, {0, -s, c}}};
    if (axis == 'y') return {{{c, 0, -s}, {0, 1, 0}, {s, 0, c}}};
    return {{{c, s, 0}, {-s, c, 0}, {0, 0, 1}}};
}

Matrix fromHpb(const Vector& hpb) {
    return turn('z', hpb[2]) * turn('x', hpb[1]) * turn('y', hpb[0]);
}

Matrix fromEngine(const Vector& xyz) {
    return turn('x', xyz[0]) * turn('y', xyz[1]) * turn('z', xyz[2]);
}

double farthest(const Matrix& a, const Matrix& b) {
    double most = 0;
    for (size_t i = 0; i < 3; i++)
        for (size_t j = 0; j < 3; j++)
            most = std::max(most, std::abs(a[i][j] - b[i][j]));
    return most;
}

// Two samples, 40 ms apart, given in degrees.
struct Rotation {
    TestScene scene;
    QbChannelRef channels[3];

    Rotation(const Vector& from, const Vector& to) {
        for (size_t i = 0; i < 3; i++)
            channels[i] = scene.add(literals({radians(from[i]), radians(to[i])}));
    }
    static float radians(float degrees) { return static_cast<float>(degrees * std::numbers::pi / 180); }
    Vector hpb(float time) {
        Vector out;
        qbItemRotationHpb(out.data(), scene.scene(), channels, time);
        return out;
    }
    Vector engine(float time) {
        Vector out;
        qbItemRotationEngine(out.data(), scene.scene(), channels, time);
        return out;
    }
};

void expectNear(const Vector& out, const Vector& wanted, float tolerance = 0.001f) {
    for (size_t i = 0; i < 3; i++)
        EXPECT_NEAR(out[i], wanted[i], tolerance) << "part " << i;
}

TEST(Transform, GivesTheKnownAngles) {
    const struct {
        Vector hpb, engine, back;
    } rows[] = {
        {{10, 20, 30}, {22.24599f, -1.03300f, 28.02928f}, {0, 0, 0}},
        {{45, 0, 0}, {0, 45, 0}, {45, 0, 0}},
        {{0, 30, 0}, {30, 0, 0}, {0, 30, 0}},
        {{0, 0, 30}, {0, 0, 30}, {0, 0, 30}},
        {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}},
        {{90, 0, 0}, {0, 90, 90}, {90, 0, 0}},
        {{-90, 0, 0}, {0, -90, 90}, {-90, 0, 0}},
        {{0, 90, 0}, {90, 0, 0}, {0, 90, 0}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.hpb[0] << " " << row.hpb[1] << " " << row.hpb[2]);
        Rotation rotation(row.hpb, row.hpb);
        expectNear(rotation.engine(0), row.engine, 0.03f);
        expectNear(rotation.engine(17), row.engine, 0.03f);
        if (&row != &rows[0]) expectNear(rotation.hpb(17), row.back, 0.03f);
    }
    Rotation rotation({10, 20, 30}, {10, 20, 30});
    expectNear(rotation.engine(0), {22.24599f, -1.03300f, 28.02928f});
}

TEST(Transform, EngineAnglesGiveTheSameOrientation) {
    std::mt19937 random(3);
    std::uniform_real_distribution<float> angle(-180, 180);
    int compared = 0;
    for (int i = 0; i < 2000; i++) {
        const Vector hpb = {angle(random), angle(random), angle(random)};
        Rotation rotation(hpb, hpb);
        const Vector engine = rotation.engine(0);
        if (std::abs(engine[1]) > 88) continue; // the case that is filled with constants
        ASSERT_LT(farthest(fromEngine(engine), fromHpb(hpb)), 1e-4)
            << hpb[0] << " " << hpb[1] << " " << hpb[2];
        compared++;
    }
    EXPECT_GT(compared, 1900);
}

TEST(Transform, FollowsTheArcBetweenSamples) {
    Rotation wrap({359, 0, 0}, {1, 0, 0});
    EXPECT_NEAR(wrap.hpb(20)[0], 0, 0.001);
    EXPECT_NEAR(wrap.engine(20)[1], 0, 0.001);

    Rotation heading({10, 0, 0}, {50, 0, 0});
    EXPECT_NEAR(heading.engine(0)[1], 10, 0.001);
    EXPECT_NEAR(heading.engine(10)[1], 20, 0.001);
    EXPECT_NEAR(heading.hpb(30)[0], 40, 0.001);
    EXPECT_NEAR(heading.engine(40)[1], 50, 0.001);

    // Halfway along the arc, the same step leads from the start to the middle and from there to the end.
    const Vector from = {20, -35, 50}, to = {60, 15, -10};
    const Matrix start = fromHpb(from), end = fromHpb(to), middle = fromEngine(Rotation(from, to).engine(20));
    EXPECT_LT(farthest(middle * transposed(start), end * transposed(middle)), 1e-4);
}

TEST(Transform, NormalizesByTheSquaredLength) {
    float q[4] = {0, 2, 0, 0};
    qbQuatNormalize(q);
    EXPECT_EQ(q[1], 0.5f);
    float zero[4] = {0, 0, 0, 0};
    qbQuatNormalize(zero);
    EXPECT_EQ(zero[3], 0.0f);
}

TEST(Transform, SlerpTakesTheShorterArc) {
    const float a[4] = {0, 0, 0, 1}, right[4] = {1, 0, 0, 0}, flipped[4] = {0, 0, 0, -1};
    float out[4];
    qbQuatSlerp(a, right, 0.5f, out); // at a right angle nothing is negated
    EXPECT_NEAR(out[0], std::sqrt(0.5), 1e-6);
    EXPECT_NEAR(out[3], std::sqrt(0.5), 1e-6);
    qbQuatSlerp(a, flipped, 0.25f, out);
    EXPECT_EQ(out[3], -1.0f) << "the first one turns, towards the second";
}

TEST(Transform, UnboundChannelsDoNotRotate) {
    TestScene scene;
    const QbChannelRef channels[3] = {};
    Vector out = {9, 9, 9};
    qbItemRotationEngine(out.data(), scene.scene(), channels, 20);
    expectNear(out, {0, 0, 0});
}

} // namespace
