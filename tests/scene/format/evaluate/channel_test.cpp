#include "scene/format/channel.h"

#include "test_scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <random>

namespace {

constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();
constexpr float INFINITE = std::numeric_limits<float>::infinity();

float sampleOf(TestScene& scene, const QbChannelRef& channel, int32_t index) {
    return qbChannelSample(scene.scene(), &channel, index);
}

// The same without a place that is remembered.
float walkedSample(TestScene& scene, const QbChannelRef& channel, int32_t index) {
    return dumpquab_ext_vals_get_value(scene.scene()->file, channel.vals, index);
}

TEST(ChannelSampleTime, MapsTimeToSamples) {
    const struct {
        int32_t frameStart, frameEnd;
        float framesPerSecond, time;
        int32_t first, second;
        float blend;
    } rows[] = {
        {0, 100, 25, 0, 0, 0, 0},
        {0, 100, 25, 40, 1, 1, 0},
        {0, 100, 25, 60, 1, 2, 0.5f},
        {0, 100, 25, 39, 0, 1, 0.975f},
        {0, 100, 25, -1000, 0, 0, 0},
        {10, 100, 30, 2990, 89, 90, 0.7f},
        {10, 100, 30, 3000, 90, 90, 0},
        {10, 100, 30, 3600, 90, 90, 0},
        {5, 5, 25, 20, 0, 0, 0},
        {5, 4, 25, 20, 0, 0, 0},
        {INT_MAX, INT_MIN, 25, 20, 0, 0, 0},
        {0, 100, 25, NOT_A_NUMBER, 0, 0, 0},
        {0, 100, 25, INFINITE, 100, 100, 0},
        {0, 100, 25, -INFINITE, 0, 0, 0},
        {0, 100, 0, 60, 0, 0, 0},
        {0, 100, 0, INFINITE, 0, 0, 0},
        {0, 100, -25, 60, 0, 0, 0},
        {0, 100, NOT_A_NUMBER, 60, 0, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.frameStart << ".." << row.frameEnd << " at " << row.time);
        TestScene scene(row.frameStart, row.frameEnd, row.framesPerSecond);
        int32_t first = -1, second = -1;
        float blend = -1;
        qbChannelSampleTime(&scene.record, row.time, &first, &second, &blend);
        EXPECT_EQ(first, row.first);
        EXPECT_EQ(second, row.second);
        EXPECT_NEAR(blend, row.blend, 1e-5f);
    }

    TestScene widest(INT_MIN, INT_MAX);
    int32_t first, second;
    float blend;
    qbChannelSampleTime(&widest.record, 1e30f, &first, &second, &blend);
    EXPECT_GT(first, INT_MAX - 256);
    EXPECT_EQ(second, first);
}

struct Coded {
    std::vector<float> samples;
    std::string body;
};

Coded randomChannel(std::mt19937& random, size_t count) {
    Coded coded;
    while (coded.samples.size() < count) {
        const size_t length = std::min<size_t>(random() % 9, count - coded.samples.size());
        std::vector<float> values(length);
        for (float& value : values)
            value = static_cast<float>(random() % 2000) / 8 - 100;
        const bool isRun = random() % 2;
        if (isRun) std::fill(values.begin(), values.end(), length ? values[0] : 1);
        coded.body += isRun ? run(static_cast<uint32_t>(length), length ? values[0] : 1) : literals(values);
        coded.samples.insert(coded.samples.end(), values.begin(), values.end());
    }
    return coded;
}

TEST(ChannelSample, EqualsAPlainArrayInAnyOrder) {
    std::mt19937 random(7);
    for (int round = 0; round < 20; round++) {
        TestScene scene;
        const Coded coded = randomChannel(random, 101);
        const QbChannelRef channel = scene.add(coded.body);
        const auto expect = [&](int32_t i) {
            const float wanted = i < 101 ? coded.samples[static_cast<size_t>(i)] : 0.0f;
            ASSERT_EQ(sampleOf(scene, channel, i), wanted) << "round " << round << " sample " << i;
            ASSERT_EQ(walkedSample(scene, channel, i), wanted);
        };
        for (int32_t i = 0; i < 104; i++)
            expect(i);
        for (int32_t i = 104; i-- > 0;)
            expect(i);
        for (int i = 0; i < 300; i++)
            expect(static_cast<int32_t>(random() % 104));
    }
}

TEST(ChannelValue, BlendsNeighboursInAnyOrder) {
    std::mt19937 random(11);
    TestScene scene(3, 103, 25);
    const Coded coded[3] = {randomChannel(random, 101), randomChannel(random, 101),
                            randomChannel(random, 101)};
    const QbChannelRef channels[3] = {scene.add(coded[0].body), scene.add(coded[1].body),
                                      scene.add(coded[2].body)};
    std::vector<int> eighths;
    for (int i = -8; i < 820; i++)
        eighths.push_back(i);
    for (int order = 0; order < 3; order++) {
        if (order == 1) std::reverse(eighths.begin(), eighths.end());
        if (order == 2) std::shuffle(eighths.begin(), eighths.end(), random);
        for (const int eighth : eighths) {
            const float time = static_cast<float>(eighth) * 5; // 40 ms a frame
            const int at = std::clamp(eighth, 0, 800);
            const auto low = static_cast<size_t>(at / 8), high = static_cast<size_t>((at + 7) / 8);
            float vector[3];
            ASSERT_EQ(qbChannelVector(vector, scene.scene(), channels, time), vector);
            for (int c = 0; c < 3; c++) {
                const auto& samples = coded[c].samples;
                const float wanted =
                    samples[low] + (samples[high] - samples[low]) * static_cast<float>(at % 8) / 8;
                ASSERT_NEAR(vector[c], wanted, 1e-3f) << "order " << order << " time " << time;
                ASSERT_EQ(qbChannelValue(scene.scene(), &channels[c], time), vector[c]);
            }
        }
    }
}

TEST(ChannelValue, OfAnUnboundChannelIsZero) {
    TestScene scene;
    const QbChannelRef channels[3] = {scene.constant(2), {}, scene.constant(3)};
    float vector[3] = {9, 9, 9};
    qbChannelVector(vector, scene.scene(), channels, 60);
    EXPECT_EQ(vector[0], 2.0f);
    EXPECT_EQ(vector[1], 0.0f);
    EXPECT_EQ(vector[2], 3.0f);
    EXPECT_EQ(qbChannelValue(scene.scene(), &channels[1], 60), 0.0f);

    float first = 9, second = 9;
    qbChannelSamplePair(scene.scene(), &channels[1], 0, 1, &first, &second);
    EXPECT_EQ(first, 0.0f);
    EXPECT_EQ(second, 0.0f);
}

struct Wanted {
    int32_t index;
    float value;
};

TEST(ChannelSample, StandsAtTheEdgesAndStaysInsideDamage) {
    std::vector<float> halves(12);
    for (size_t i = 0; i < halves.size(); i++)
        halves[i] = static_cast<float>(i) + 0.5f;
    const std::string mixed = run(0, 99) + literals(halves) + literals({}) + run(59, 7),
                      good = literals({5, 6});
    const std::string one = be32(4) + beFloat(1);
    const struct {
        const char* name;
        std::string body;
        std::vector<Wanted> wanted;
        uint32_t extraSize = 0; // added to the size in front of the body
    } rows[] = {
        {"literals, then a run", mixed, {{11, 11.5f}, {12, 7}, {70, 7}, {71, 0}, {INT_MAX, 0}}},
        {"backwards and outside", mixed, {{12, 7}, {11, 11.5f}, {0, 0.5f}, {-1, 0}, {INT_MIN, 0}}},
        {"chunks behind the run", mixed + run(0, 98) + literals({3, 4}), {{71, 3}, {72, 4}, {73, 0}}},
        {"empty", "", {{0, 0}, {5, 0}}},
        {"longest run", run(0x7fffffff, 6), {{INT_MAX - 1, 6}, {INT_MAX, 0}}},
        {"run of 2^31", run(0x80000000, 6), {{0, 0}}},
        {"body over the image's end", good + run(9, 3), {{1, 6}, {10, 3}, {11, 0}}, 60000},
        {"value cut off by the image", good.substr(0, 17), {{0, 5}, {1, 0}}, 1},
        {"header cut off", good + "VRUN", {{1, 6}, {2, 0}}},
        {"count cut off", good + "VRUN" + be16(8) + be16(0), {{1, 6}, {2, 0}}},
        {"no room for a count", good + nestedSized("VRUN", 2, be32(4)) + good, {{1, 6}, {2, 0}, {6, 0}}},
        {"run's value cut off", good + nestedSized("VRUN", 8, be32(4)), {{1, 6}, {2, 0}, {5, 0}}},
        {"run without value", nested("VRUN", be32(4)) + good, {{0, 0}, {3, 0}, {4, 5}, {5, 6}}},
        {"literals fewer than their count", nested("VDAT", one) + good, {{0, 1}, {1, 0}, {3, 0}, {4, 5}}},
        {"literals cut off by the body", nestedSized("VDAT", 20, one), {{0, 1}, {1, 0}, {3, 0}}},
        {"chunk over the body's end", good + nestedSized("VRUN", 60000, one), {{2, 1}, {6, 0}}},
        {"negative count", good + run(0xffffffff, 3) + good, {{1, 6}, {2, 0}, {3, 0}}},
        {"sum over 2^31", good + run(0x7ffffffe, 3) + good, {{1, 6}, {2, 0}, {INT_MAX, 0}}},
        {"sum of 2^31 - 1", good + run(0x7ffffffd, 3) + good, {{2, 3}, {INT_MAX - 1, 3}, {INT_MAX, 0}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        TestScene scene;
        const QbChannelRef channel = scene.add(row.body, row.extraSize);
        for (int pass = 0; pass < 2; pass++) // the second with a place that the first one left
            for (const Wanted& wanted : row.wanted) {
                EXPECT_EQ(sampleOf(scene, channel, wanted.index), wanted.value) << wanted.index;
                EXPECT_EQ(walkedSample(scene, channel, wanted.index), wanted.value) << wanted.index;
            }
    }
}

TEST(ChannelSample, OutsideTheImageIsZero) {
    TestScene scene;
    scene.constant(1);
    const auto size = static_cast<uint32_t>(scene.image.size());
    for (const uint32_t vals : {0u, 1u, size, size + 1, 0x80000000u, 0xffffffffu}) {
        const QbChannelRef outside{vals, {}};
        EXPECT_EQ(sampleOf(scene, outside, 0), 0.0f) << vals;
        EXPECT_EQ(walkedSample(scene, outside, 0), 0.0f) << vals;
    }
}

TEST(ChannelSample, ReportsAForeignChunk) {
    TestScene scene;
    const QbChannelRef channel = scene.add(literals({5, 6}) + nested("XXXX", be32(3) + be16(0)) + run(2, 8));
    for (const auto ask : {sampleOf, walkedSample}) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(ask(scene, channel, 5), 8.0f);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");

        testing::internal::CaptureStdout();
        EXPECT_EQ(ask(scene, channel, 4), 0.0f);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "dumpquab_ext_vals_get_value: Unknown Chunk !\n");
        EXPECT_EQ(ask(scene, channel, 6), 8.0f);
        EXPECT_EQ(ask(scene, channel, 1), 6.0f);
    }
}

TEST(ChannelParam, TakesTheChannelBeforeTheConstant) {
    TestScene scene;
    QbSurfaceParam constant{};
    constant.color[0] = 0.25f;
    constant.color[2] = 0.75f;
    constant.integer = -3;
    QbSurfaceParam bound = constant;
    bound.channels[0] = scene.add(literals({2, 1}) + literals({-2, -1}));
    float vector[3];

    EXPECT_EQ(qbParamFloat(scene.scene(), &constant, 0), 0.25f);
    EXPECT_EQ(qbParamInt(scene.scene(), &constant, 0), -3);
    EXPECT_EQ(qbParamVector(vector, scene.scene(), &constant, 0), vector);
    EXPECT_EQ(vector[2], 0.75f);

    EXPECT_EQ(qbParamFloat(scene.scene(), &bound, 20), 1.5f);
    EXPECT_EQ(qbParamInt(scene.scene(), &bound, 20), 1);
    EXPECT_EQ(qbParamInt(scene.scene(), &bound, 100), -1) << "toward zero";
    qbParamVector(vector, scene.scene(), &bound, 20);
    EXPECT_EQ(vector[0], 1.5f);
    EXPECT_EQ(vector[2], 0.0f) << "the first channel decides for all three";
}

TEST(ChannelParam, TruncatesWithinTheRange) {
    const struct {
        float value;
        int32_t wanted;
    } rows[] = {{1.9f, 1},
                {-1.9f, -1},
                {2147483520.0f, 2147483520},
                {2147483648.0f, INT_MAX},
                {1e30f, INT_MAX},
                {-1e30f, INT_MIN},
                {-2147483648.0f, INT_MIN},
                {INFINITE, INT_MAX},
                {-INFINITE, INT_MIN},
                {NOT_A_NUMBER, 0}};
    for (const auto& row : rows)
        EXPECT_EQ(qbTruncate(row.value), row.wanted) << row.value;
}

} // namespace
