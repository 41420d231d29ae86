#include "scene/format/container/chunks.h"

#include <gtest/gtest.h>

namespace {

// A VALS chunk at the start of an image; its body is at 6.
constexpr uint32_t valsPosition = 6;

float sample(const std::string& body, int32_t index) {
    const Image image(nested("VALS", body) + "behind");
    return dumpquab_ext_vals_get_value(image.file(), valsPosition, index);
}

std::vector<float> counting(int count) {
    std::vector<float> values;
    for (int i = 0; i < count; ++i)
        values.push_back(static_cast<float>(i) + 0.5f);
    return values;
}

} // namespace

TEST(SampleTest, ValuesAndBoundaries) {
    const std::string mixed = data(counting(12)) + run(59, 7.0f);
    const std::string foreign = nested("WHAT", be32(3) + "12");
    const struct {
        const char* what;
        std::string body;
        int32_t index;
        float value;
    } cases[] = {
        {"first literal", mixed, 0, 0.5f},
        {"twelfth literal", mixed, 11, 11.5f},
        {"first of the run", mixed, 12, 7.0f},
        {"last of the run", mixed, 70, 7.0f},
        {"behind the last", mixed, 71, 0.0f},
        {"the next chunk's first", mixed + data({3, 4}), 71, 3.0f},
        {"the next chunk's last", mixed + data({3, 4}), 72, 4.0f},
        {"far behind", mixed, 2147483647, 0.0f},
        {"below zero", mixed, -1, 0.0f},
        {"far below zero", run(5, 1), -2147483647 - 1, 0.0f},
        {"empty body", "", 0, 0.0f},
        {"empty body, later index", "", 5, 0.0f},
        {"run of none is stepped over", run(0, 9) + run(1, 2), 0, 2.0f},
        {"data of none is stepped over", data({}) + run(1, 2), 0, 2.0f},
        {"foreign chunk is counted", foreign + run(1, 2), 3, 2.0f},
        {"longest run", run(0x7fffffff, 6), 2147483646, 6.0f},
        {"count beyond 31 bits numbers nothing", run(0x80000000, 6), 0, 0.0f},
        {"sum beyond 31 bits numbers nothing", run(1, 5) + run(0x7fffffff, 6), 1, 0.0f},
        {"value before the impossible sum", run(1, 5) + run(0x7fffffff, 6), 0, 5.0f},
        {"data that says more than it holds", nested("VDAT", be32(9) + beFloat(1) + beFloat(2)), 1, 2.0f},
        {"beyond what it holds", nested("VDAT", be32(9) + beFloat(1) + beFloat(2)), 2, 0.0f},
        {"run without its value", nested("VRUN", be32(9)), 0, 0.0f},
        {"chunk too small for a count", nested("VRUN", "12") + run(1, 2), 0, 0.0f},
        {"header cut", run(1, 2) + "VRUN", 1, 0.0f},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(sample(c.body, c.index), c.value);
    }
}

TEST(SampleTest, ForeignChunkIsNamedOnTheOutput) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(sample(run(1, 2) + nested("WHAT", be32(3) + "12"), 2), 0.0f);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "dumpquab_ext_vals_get_value: Unknown Chunk !\n");
}

TEST(SampleTest, PositionsOutsideTheImageGiveZero) {
    const Image image(nested("VALS", run(4, 3)));
    for (const uint32_t vals : {0u, 1u, 20u, 21u, 0x80000000u, 0xffffffffu})
        EXPECT_EQ(dumpquab_ext_vals_get_value(image.file(), vals, 0), 0.0f) << vals;
    EXPECT_EQ(dumpquab_ext_vals_get_value(image.file(), valsPosition, 0), 3.0f);
}

TEST(SampleTest, ABodyCutByTheImageKeepsWhatItHas) {
    const std::string whole = nested("VALS", data({1, 2}));
    const Image image(whole.substr(0, whole.size() - 1));
    EXPECT_EQ(dumpquab_ext_vals_get_value(image.file(), valsPosition, 0), 1.0f);
    EXPECT_EQ(dumpquab_ext_vals_get_value(image.file(), valsPosition, 1), 0.0f);
}
