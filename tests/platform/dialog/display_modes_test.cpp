#include "platform/dialog/dialog.h"

#include <gtest/gtest.h>
#include <tuple>
#include <vector>

static bool operator==(const QbDisplayMode& a, const QbDisplayMode& b) {
    return std::tie(a.width, a.height, a.bits, a.refresh) == std::tie(b.width, b.height, b.bits, b.refresh);
}

static std::vector<QbDisplayMode> offered(std::vector<QbDisplayMode> modes) {
    modes.resize(static_cast<size_t>(qbDisplayModesOffered(modes.data(), static_cast<int>(modes.size()))));
    return modes;
}

TEST(DisplayModes, AreSortedAndNarrowShallowAndDoubleOnesDropped) {
    EXPECT_TRUE(offered({}).empty());
    EXPECT_EQ(offered({{719, 576, 32, 60}, {720, 400, 32, 60}, {1024, 768, 31, 60}, {1024, 768, 24, 60}}),
              (std::vector<QbDisplayMode>{{720, 400, 32, 60}}));
    EXPECT_EQ(offered({{800, 600, 32, 75}, {800, 600, 32, 60}, {800, 600, 48, 60}, {800, 600, 32, 75}}),
              (std::vector<QbDisplayMode>{{800, 600, 32, 75}, {800, 600, 48, 60}}));
    EXPECT_EQ(offered({{1280, 1024, 32, 60}, {1280, 720, 48, 60}, {800, 600, 32, 60}, {1280, 720, 32, 90}}),
              (std::vector<QbDisplayMode>{
                  {800, 600, 32, 60}, {1280, 720, 32, 90}, {1280, 720, 48, 60}, {1280, 1024, 32, 60}}));
}

TEST(DisplayModes, AtMost200AreOffered) {
    std::vector<QbDisplayMode> modes;
    for (int i = 0; i < 200; ++i)
        modes.push_back({2000 - i, 900, 32, 60});
    EXPECT_EQ(offered(modes).size(), 200U);
    modes.push_back({720, 900, 32, 60});
    const std::vector<QbDisplayMode> kept = offered(modes);
    EXPECT_EQ(kept.size(), 200U);
    EXPECT_EQ(kept.front().width, 1801) << "the 201st is the one that has no place";
}

TEST(DisplayModes, LabelsAlignAndRecommendOne) {
    const auto label = [](QbDisplayMode mode) { return std::string(qbDisplayModeLabel(&mode)); };
    EXPECT_EQ(label({800, 600, 32, 60}), " 800 x  600 32 Bits");
    EXPECT_EQ(label({1920, 1080, 32, 0}), "1920 x 1080 32 Bits");
    EXPECT_EQ(label({1280, 720, 32, 50}), "1280 x  720 32 Bits (recommended)");
    EXPECT_EQ(label({1280, 720, 48, 50}), "1280 x  720 48 Bits");
    EXPECT_EQ(label({1280, 800, 32, 50}), "1280 x  800 32 Bits");
}

TEST(DisplayModes, TheRecommendedOneIsSelectedElseTheDesktops) {
    const std::vector<QbDisplayMode> modes = {
        {800, 600, 32, 60}, {1024, 768, 32, 60}, {1280, 720, 32, 60}, {1920, 1080, 32, 60}};
    const QbDisplayMode desktop = {1024, 768, 32, 75};
    const QbDisplayMode elsewhere = {1024, 768, 24, 60};
    EXPECT_EQ(qbDisplayModeDefault(modes.data(), 4, &desktop), 2);
    EXPECT_EQ(qbDisplayModeDefault(modes.data(), 2, &desktop), 1) << "the refresh rate does not count";
    EXPECT_EQ(qbDisplayModeDefault(modes.data(), 2, &elsewhere), -1);
    EXPECT_EQ(qbDisplayModeDefault(modes.data(), 0, &desktop), -1);
}
