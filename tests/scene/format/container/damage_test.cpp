#include "scene/format/channel.h"
#include "scene/format/dump.h"

#include "scene/format/container/chunks.h"

#include <bit>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <span>

// Damaged scenes must be refused or read as far as they make sense: no crash, no hang, no read outside.

namespace {

template <class Record>
std::span<Record> all(Record* records, int32_t count) {
    return {records, static_cast<size_t>(count)};
}

// The samples of a channel, by both ways of asking.
void use(const QbScene& scene, const QbChannelRef& channel) {
    if (channel.vals == 0) return;
    for (const int32_t index : {0, 1, 2, 6, 7, 8, 3, 2147483647, -1}) {
        const float walked = dumpquab_ext_vals_get_value(scene.file, channel.vals, index);
        const float remembered = qbChannelSample(&scene, &channel, index);
        EXPECT_EQ(std::bit_cast<uint32_t>(remembered), std::bit_cast<uint32_t>(walked)) << index;
    }
}

void use(const QbScene& scene, const QbChannelGroup& group) {
    EXPECT_LE(group.name ? std::strlen(group.name) : 0, 255u);
    for (const QbChannel& channel : all(group.channels, group.channelCount))
        use(scene, {channel.vals, {}});
    for (const QbChannelGroup& child : all(group.groups, group.groupCount))
        use(scene, child);
}

struct DamageTest : testing::Test {
    void SetUp() override {
        qbIffSetFatalHandler([](int) {});
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
    }
    void TearDown() override {
        qbIffSetFatalHandler(nullptr);
        testing::internal::GetCapturedStdout();
        testing::internal::GetCapturedStderr();
    }
    // True when the scene was read.
    static bool read(const std::string& bytes, bool isDumped) {
        Image image(bytes);
        qbIffMode = QB_DUMP_LABELS;
        if (isDumped) qbIffReadFile(image.file());
        qbIffMode = QB_DUMP_SILENT;
        qbFileSeek(image.file(), 0, 0);
        const QbScene* scene = image.scene();
        if (!scene) return false;
        qbSceneMeshFileName(&scene->objects[0]);
        for (const QbChannelGroup& group : all(scene->groups, scene->groupCount))
            use(*scene, group);
        return true;
    }
};

TEST_F(DamageTest, EveryTruncationIsRefused) {
    const std::string good = everything();
    ASSERT_TRUE(read(good, true));
    for (size_t length = 0; length < good.size(); ++length) {
        EXPECT_FALSE(read(good.substr(0, length), true)) << length;
        // The same with a form that knows how long the file is.
        if (length >= 12) read(form(good.substr(12, length - 12)), true);
    }
}

TEST_F(DamageTest, RandomChangesDoNoHarm) {
    const std::string good = everything();
    std::mt19937 random(20);
    int readCount = 0;
    for (int round = 0; round < 10'000; ++round) {
        std::string bad = good;
        for (auto change = random() % 3 + 1; change > 0; --change)
            bad[random() % bad.size()] =
                static_cast<char>(random() % 4 ? random() % 256 : 255 * (random() % 2));
        readCount += read(bad, round % 8 == 0);
    }
    // Both ways must have been gone often.
    EXPECT_GT(readCount, 1'000);
    EXPECT_LT(readCount, 9'000);
}

} // namespace
