#include "platform/dialog/dialog.h"

#include <gtest/gtest.h>
#include <sstream>
#include <vector>

static std::string offered(std::vector<QbDisplayMode> modes) {
    const int count = qbDisplayModesOffered(modes.data(), static_cast<int>(modes.size()));
    std::ostringstream text;
    for (int i = 0; i < count; ++i)
        text << modes[i].width << 'x' << modes[i].height << 'x' << modes[i].bits << '@' << modes[i].refresh
             << ' ';
    return text.str();
}

TEST(DisplayModes, AreSortedAndNarrowShallowAndDoubleOnesDropped) {
    EXPECT_EQ(offered({}), "");
    EXPECT_EQ(offered({{719, 576, 32, 60}, {720, 400, 32, 60}, {1024, 768, 31, 60}}), "720x400x32@60 ");
    EXPECT_EQ(offered({{1280, 1024, 32, 60},
                       {1280, 720, 48, 60},
                       {800, 600, 32, 75},
                       {1280, 720, 32, 90},
                       {800, 600, 32, 60}}),
              "800x600x32@75 1280x720x32@90 1280x720x48@60 1280x1024x32@60 ");
    std::vector<QbDisplayMode> modes;
    for (int i = 0; i < 200; ++i)
        modes.push_back({2000 - i, 900, 32, 60});
    modes.push_back({720, 900, 32, 60});
    EXPECT_EQ(qbDisplayModesOffered(modes.data(), 201), 200);
    EXPECT_EQ(modes[0].width, 1801) << "the 201st is the one that has no place";
}

TEST(DisplayModes, LabelsAlignAndRecommendOneWhichIsSelectedElseTheDesktops) {
    const QbDisplayMode modes[] = {
        {800, 600, 32, 60}, {1024, 768, 32, 60}, {1280, 720, 48, 60}, {1280, 720, 32, 60}};
    const char* const labels[] = {" 800 x  600 32 Bits", "1024 x  768 32 Bits", "1280 x  720 48 Bits",
                                  "1280 x  720 32 Bits (recommended)"};
    for (int i = 0; i < 4; ++i)
        EXPECT_STREQ(qbDisplayModeLabel(&modes[i]), labels[i]);
    const QbDisplayMode desktop = {1024, 768, 32, 75}, elsewhere = {1024, 768, 24, 60};
    EXPECT_EQ(qbDisplayModeDefault(modes, 4, &desktop), 3);
    EXPECT_EQ(qbDisplayModeDefault(modes, 2, &desktop), 1) << "the refresh rate does not count";
    EXPECT_EQ(qbDisplayModeDefault(modes, 2, &elsewhere), -1);
    EXPECT_EQ(qbDisplayModeDefault(modes, 0, &desktop), -1);
}
