#include "height_files.h"
#include "scene/runtime/bmp_file.h"
#include "scene/runtime/height_map.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

using Samples = std::vector<uint16_t>;

static double luminance(const int32_t* rgb) {
    return 0.3 * rgb[0] + 0.59 * rgb[1] + 0.11 * rgb[2];
}

static double greyOf(double value, double maximum, int32_t* rgb) {
    qbHeightToGrey(value, maximum, &rgb[0], &rgb[1], &rgb[2]);
    return luminance(rgb);
}

TEST(HeightToGrey, RaisesTheLuminanceByTheFraction) {
    const struct {
        double over, gain;
    } rows[] = {{0.06, 0.11}, {0.17, 0.22}, {0.27, 0.30}, {0.38, 0.41}, {0.47, 0.52},
                {0.57, 0.60}, {0.66, 0.70}, {0.76, 0.81}, {0.86, 0.90}, {0.95, 1.00}};
    int32_t rgb[3];
    double below = 0.0;
    for (const auto& row : rows) {
        // The largest value that does not pass the bound, and the next one.
        double value = row.over / 250.0;
        while (value * 250.0 > row.over)
            value = std::nextafter(value, 0.0);
        EXPECT_NEAR(greyOf(value, 1.0, rgb), below, 1e-9) << row.over;
        while (value * 250.0 <= row.over)
            value = std::nextafter(value, 1.0);
        EXPECT_NEAR(greyOf(value, 1.0, rgb), row.gain, 1e-9) << row.over;
        EXPECT_NEAR(greyOf(7.01 + row.over, 250.0, rgb), 7.0 + row.gain, 1e-9) << row.over;
        below = row.gain;
    }
}

TEST(HeightToGrey, StaysNearGreyAndInRange) {
    int32_t rgb[3];
    double worst = 0.0, last = 0.0;
    int32_t largest = 0;
    for (int sample = 0; sample <= 65535; sample++) {
        const double height = greyOf(sample, 65535.0, rgb);
        EXPECT_GE(height, last - 1e-9) << sample;
        worst = std::max(worst, std::abs(height - sample / 65535.0 * 250.0));
        largest = std::max({largest, rgb[0], rgb[1], rgb[2]});
        last = height;
    }
    EXPECT_NEAR(worst, 0.08, 0.001);
    EXPECT_EQ(largest, 252);
    const double inputs[][3] = {{65536, 65535, 250}, {1, 0, 0}, {std::nan(""), 1, 0}};
    for (const auto& [value, maximum, grey] : inputs) {
        greyOf(value, maximum, rgb);
        for (const int32_t channel : rgb)
            EXPECT_EQ(channel, static_cast<int32_t>(grey)) << value << " of " << maximum;
    }
}

TEST(HeightMapDouble, PutsTheMeanBetweenSamples) {
    const struct {
        Samples input, output;
    } cases[] = {
        {{10, 20, 30, 41}, {10, 15, 20, 20, 25, 30, 30, 35, 41}},
    };
    for (const auto& test : cases) {
        const auto n = static_cast<uint32_t>(std::lround(std::sqrt(test.input.size())));
        auto samples = std::make_unique<uint16_t[]>(test.input.size());
        std::copy(test.input.begin(), test.input.end(), samples.get());
        uint32_t size = 0;
        const auto doubled = qbHeightMapDouble(std::move(samples), n, &size);
        ASSERT_EQ(size, 2 * n - 1);
        EXPECT_EQ(Samples(doubled.get(), doubled.get() + size * size), test.output) << n;
    }
    for (const uint32_t n : {0U, 32769U, 0x80000001U, UINT32_MAX}) {
        uint32_t size = 5;
        EXPECT_EQ(qbHeightMapDouble(std::make_unique<uint16_t[]>(1), n, &size), nullptr) << n;
        EXPECT_EQ(size, 5U);
    }
}

// --- bitmaps ----------------------------------------------------------------------------------------------

// Three columns, two rows: red, green, blue; black, grey, white.
static const uint32_t picture[] = {0xFF0000, 0x00FF00, 0x0000FF, 0x000000, 0xEFEFEF, 0xFFFFFF};

static std::string bytes(std::initializer_list<int> values) {
    std::string text;
    for (const int value : values)
        text += static_cast<char>(value);
    return text;
}

static std::string colorTable() {
    std::string table;
    for (const uint32_t color : picture)
        table += littleEndian(color, 4);
    return table;
}

static std::string pixels32(bool swapped) {
    std::string text;
    for (const uint32_t color : picture)
        text += littleEndian(swapped ? (color & 0xFF) << 16 | (color & 0xFF00) | color >> 16 : color, 4);
    return text;
}

static const std::string masks565 = littleEndian(0xF800, 4) + littleEndian(0x7E0, 4) + littleEndian(0x1F, 4);
static const std::string masksBgr =
    littleEndian(0xFF, 4) + littleEndian(0xFF00, 4) + littleEndian(0xFF0000, 4);
static const std::string pixels555 = // from the bottom
    bytes({0, 0, 0xBD, 0x77, 0xFF, 0x7F, 0, 0, 0, 0x7C, 0xE0, 3, 0x1F, 0, 0, 0});
static const std::string pixels565 =
    bytes({0, 0, 0x7D, 0xEF, 0xFF, 0xFF, 0, 0, 0, 0xF8, 0xE0, 7, 0x1F, 0, 0, 0});
static const std::string runs8 = // a run, the end of a row, a delta of nothing, single pixels, the end
    bytes({1, 3, 1, 4, 1, 5, 0, 0, 0, 2, 0, 0, 0, 3, 0, 1, 2, 0, 0, 1});
static const std::string runs4 = bytes({2, 0x34, 1, 0x50, 0, 0, 0, 3, 0x01, 0x20, 0, 1});

TEST(BmpFile, ReadsEveryKindAlike) {
    const struct {
        const char* name;
        std::string file;
    } kinds[] = {
        {"24", bmpOf(3, 2, [](int x, int y) { return picture[y * 3 + x]; })},
        {"32 from the top", bmpFile(3, -2, 32, 0, "", pixels32(false))},
        {"32 with fields", bmpFile(3, -2, 32, 3, masksBgr, pixels32(true))},
        {"16", bmpFile(3, 2, 16, 0, "", pixels555)},
        {"16 with fields", bmpFile(3, 2, 16, 3, masks565, pixels565)},
        {"8", bmpFile(3, 2, 8, 0, colorTable(), bytes({3, 4, 5, 9, 0, 1, 2, 9}))},
        {"8, its padding cut", bmpFile(3, 2, 8, 0, colorTable(), bytes({3, 4, 5, 9, 0, 1, 2}))},
        {"4", bmpFile(3, 2, 4, 0, colorTable(), bytes({0x34, 0x50, 0, 0, 0x01, 0x20, 0, 0}))},
        {"8 in runs", bmpFile(3, 2, 8, 1, colorTable(), runs8)},
        {"8 in runs, without their end", bmpFile(3, 2, 8, 1, colorTable(), runs8.substr(0, 18))},
        {"4 in runs", bmpFile(3, 2, 4, 2, colorTable(), runs4)},
    };
    for (const auto& kind : kinds) {
        QbBmp bmp;
        ASSERT_EQ(qbBmpRead(kind.file, bmp), "") << kind.name;
        ASSERT_EQ(bmp.rgb.size(), 18U) << kind.name;
        for (size_t i = 0; i < 6; i++) {
            const uint32_t color =
                static_cast<uint32_t>(bmp.rgb[i * 3] << 16 | bmp.rgb[i * 3 + 1] << 8 | bmp.rgb[i * 3 + 2]);
            EXPECT_EQ(color, picture[i]) << kind.name << ", pixel " << i;
        }
    }
    QbBmp bmp;
    ASSERT_EQ(qbBmpRead(bmpFile(9, 1, 1, 0, colorTable().substr(0, 8), bytes({0x55, 0x80, 0, 0})), bmp), "");
    EXPECT_EQ(bmp.rgb[0], 0xFF);
    EXPECT_EQ(bmp.rgb[1 * 3 + 1], 0xFF);
    EXPECT_EQ(bmp.rgb[8 * 3 + 1], 0xFF);
    ASSERT_EQ(qbBmpRead(bmpFile(1, 1, 8, 0, colorTable(), bytes({200, 0, 0, 0})), bmp), "");
    EXPECT_EQ(bmp.rgb, std::vector<uint8_t>(3)) << "beyond the palette";
}

TEST(BmpFile, TellsWhatIsWrong) {
    const std::string kind =
        "is a .bmp of an unknown kind; save it as an uncompressed .bmp with 8 or 24 bits";
    const std::string cut = "is cut short; copy it again";
    const auto size = [](const std::string& text) {
        return "is " + text + " pixels; at most 1025 a side can be read";
    };
    const auto runs = [](const std::string& data) { return bmpFile(3, 2, 8, 1, colorTable(), data); };
    const std::string good = plainBmp(3, 2, 0xFFFFFF);
    const struct {
        std::string file, problem;
    } cases[] = {
        {"", "is not a .bmp; save it as an uncompressed .bmp with 8 or 24 bits"},
        {"PM" + good.substr(2), "is not a .bmp; save it as an uncompressed .bmp with 8 or 24 bits"},
        {good.substr(0, good.size() - 4), cut},
        {bmpFile(3, 2, 24, 4, "", good.substr(54)), kind},
        {bmpFile(0, 2, 24, 0, "", ""), size("0 x 2")},
        {bmpFile(1026, 1, 24, 0, "", ""), size("1026 x 1")},
        {bmpFile(100000, 100000, 32, 0, "", ""), size("100000 x 100000")},
        {bmpFile(1, INT32_MIN, 24, 0, "", ""), size("1 x 2147483648")},
        {bmpFile(1025, 1025, 32, 0, "", ""), cut},
        {bmpFile(3, 2, 32, 3, "", ""), cut},
        {runs(runs8.substr(0, 9)), cut},
        {runs(bytes({4, 0, 0, 1})), cut},
    };
    for (const auto& test : cases) {
        QbBmp bmp;
        EXPECT_EQ(qbBmpRead(test.file, bmp), test.problem);
        EXPECT_TRUE(bmp.rgb.empty());
    }
}

// Whatever a byte of a small file becomes, nothing is read or written outside of it.
TEST(BmpFile, SurvivesDamage) {
    const std::string files[] = {bmpFile(3, 2, 8, 1, colorTable(), runs8),
                                 bmpFile(3, 2, 4, 0, colorTable(), bytes({0x34, 0x50, 0, 0, 1, 2, 0, 0})),
                                 bmpFile(3, 2, 16, 3, masks565, pixels565)};
    for (const std::string& file : files) {
        for (size_t place = 0; place < file.size(); place++) {
            for (const int value : {0, 1, 2, 3, 16, 54, 127, 128, 255}) {
                std::string damaged = file;
                damaged[place] = static_cast<char>(value);
                QbBmp bmp;
                if (qbBmpRead(damaged, bmp).empty()) {
                    EXPECT_EQ(bmp.rgb.size(), size_t{3} * bmp.width * bmp.height);
                }
            }
        }
    }
}
