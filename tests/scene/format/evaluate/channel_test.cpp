#include "scene/format/channel.h"

#include "scene/export/opened_scene.h"
#include "scene/format/container/chunks.h"

#include <algorithm>
#include <climits>
#include <limits>
#include <numeric>
#include <random>

namespace {

// A sample by both ways of asking, with a remembered place and without.
void expectSample(const QbScene* scene, const QbChannelRef& channel, int32_t index, float wanted) {
    ASSERT_EQ(qbChannelSample(scene, &channel, index), wanted) << index;
    ASSERT_EQ(dumpquab_ext_vals_get_value(scene->file, channel.vals, index), wanted) << index;
}

TEST(ChannelSampleTime, MapsTimeToSamples) {
    constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();
    const struct {
        int32_t frameStart, frameEnd;
        float framesPerSecond, time;
        int32_t first, second;
        float blend;
    } ROWS[] = {
        {0, 100, 25, 40, 1, 1, 0},
        {0, 100, 25, 39, 0, 1, 0.975f},
        {0, 100, 25, -1000, 0, 0, 0},
        {10, 100, 30, 2990, 89, 90, 0.7f},
        {10, 100, 30, 3600, 90, 90, 0},
        {5, 5, 25, 20, 0, 0, 0},
        {INT_MAX, INT_MIN, 25, 20, 0, 0, 0},
        {0, 100, 25, NOT_A_NUMBER, 0, 0, 0},
        {INT_MIN, INT_MAX, 25, 1e30f, INT_MAX - 127, INT_MAX - 127, 0},
    };
    for (const auto& row : ROWS) {
        QbSceneGlobals globals{};
        globals.frameStart = row.frameStart;
        globals.frameEnd = row.frameEnd;
        globals.framesPerSecond = row.framesPerSecond;
        QbScene scene{};
        scene.globals = &globals;
        int32_t first = -1, second = -1;
        float blend = -1;
        qbChannelSampleTime(&scene, row.time, &first, &second, &blend);
        EXPECT_TRUE(first == row.first && second == row.second) << row.time << ": " << first << " " << second;
        EXPECT_NEAR(blend, row.blend, 1e-5f) << row.time;
    }
}

TEST(ChannelValue, EqualsTheSamplesWrittenInAnyOrder) {
    std::mt19937 random(11);
    OpenedScene opened;
    opened.scene.frameEnd = 100;
    opened.scene.objects.emplace_back().name = "ball";
    std::vector<float> written[3];
    for (size_t c = 0; c < 3; c++) {
        while (written[c].size() < 101) {
            const size_t run = std::min<size_t>(1 + random() % 8, 101 - written[c].size());
            written[c].insert(written[c].end(), run, static_cast<float>(random() % 2000) / 8 - 100);
        }
        opened.scene.objects[0].motion.position[c] = written[c];
    }
    opened.open();
    const QbScene* scene = opened.h->impl;
    const QbChannelRef* channels = scene->objects[0].motion.channels;
    std::vector<int> eighths(828); // of a frame, from one before the start to one behind the end
    std::iota(eighths.begin(), eighths.end(), -8);
    for (int order = 0; order < 3; order++) {
        if (order == 1) std::reverse(eighths.begin(), eighths.end());
        if (order == 2) std::shuffle(eighths.begin(), eighths.end(), random);
        for (const int eighth : eighths) {
            const int at = std::clamp(eighth, 0, 800);
            float vector[3];
            qbChannelVector(vector, scene, channels, static_cast<float>(eighth) * 5);
            for (size_t c = 0; c < 3; c++) {
                const float low = written[c][static_cast<size_t>(at / 8)];
                const float high = written[c][static_cast<size_t>((at + 7) / 8)];
                ASSERT_NEAR(vector[c], low + (high - low) * static_cast<float>(at % 8) / 8, 1e-3f) << eighth;
                expectSample(scene, channels[c], at / 8, low);
            }
        }
    }
}

// A VALS body with its size in front, which may be told wrong, at the end of an image.
struct Body {
    Image image;
    QbScene scene{};
    QbChannelRef channel{4, {}};

    explicit Body(const std::string& bytes, uint32_t extraSize = 0)
        : image("12" + be16(static_cast<uint32_t>(bytes.size()) + extraSize) + bytes) {
        scene.file = image.file();
    }
};

TEST(ChannelSample, StandsAtTheEdgesAndStaysInsideDamage) {
    const std::string good = literals({5, 6}),
                      mixed = run(0, 99) + literals({1, 2, 3}) + literals({}) + run(59, 7);
    const std::string one = be32(4) + beFloat(1);
    const struct {
        const char* name;
        std::string body;
        std::vector<std::pair<int32_t, float>> wanted;
        uint32_t extraSize = 0; // added to the size in front of the body
    } ROWS[] = {
        {"literals, then a run", mixed, {{2, 3}, {3, 7}, {61, 7}, {62, 0}, {INT_MAX, 0}}},
        {"backwards and outside", mixed, {{3, 7}, {2, 3}, {0, 1}, {-1, 0}, {INT_MIN, 0}}},
        {"chunks behind the run", mixed + run(0, 98) + literals({3, 4}), {{62, 3}, {63, 4}, {64, 0}}},
        {"empty", "", {{0, 0}, {5, 0}}},
        {"longest run", run(0x7fffffff, 6), {{INT_MAX - 1, 6}, {INT_MAX, 0}}},
        {"body over the image's end", good + run(9, 3), {{1, 6}, {10, 3}, {11, 0}}, 60000},
        {"value cut off by the image", good.substr(0, 17), {{0, 5}, {1, 0}}, 1},
        {"no room for a count", good + nested("VRUN", be32(4), 2) + good, {{1, 6}, {2, 0}, {6, 0}}},
        {"run without value", nested("VRUN", be32(4)) + good, {{0, 0}, {3, 0}, {4, 5}, {5, 6}}},
        {"literals fewer than their count", nested("VDAT", one) + good, {{0, 1}, {1, 0}, {3, 0}, {4, 5}}},
        {"chunk over the body's end", good + nested("VRUN", one, 60000), {{2, 1}, {6, 0}}},
        {"sum over 2^31", good + run(0x7ffffffe, 3) + good, {{1, 6}, {2, 0}, {INT_MAX, 0}}},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.name);
        const Body body(row.body, row.extraSize);
        for (int pass = 0; pass < 2; pass++) // the second with a place that the first one left
            for (const auto& [index, value] : row.wanted)
                expectSample(&body.scene, body.channel, index, value);
        for (const uint32_t outside : {0u, 1u, 0x80000000u})
            expectSample(&body.scene, {outside, {}}, 0, 0);
    }
}

TEST(ChannelSample, ReportsAForeignChunkOnlyWhenItsSamplesAreAskedFor) {
    const Body body(literals({5, 6}) + nested("XXXX", be32(3) + be16(0)) + run(2, 8));
    const std::string report = "dumpquab_ext_vals_get_value: Unknown Chunk !\n";
    for (const auto& [index, value] : {std::pair{5, 8.0f}, {4, 0.0f}, {6, 8.0f}, {1, 6.0f}}) {
        testing::internal::CaptureStdout();
        expectSample(&body.scene, body.channel, index, value);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), index == 4 ? report + report : "") << index;
    }
}

} // namespace
