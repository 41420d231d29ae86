#include "scene/runtime/height_map.h"

#include "height_files.h"
#include "scene/runtime/bmp_file.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

using Samples = std::vector<uint16_t>;

static double greyOf(double value, double maximum, int32_t* rgb) {
    qbHeightToGrey(value, maximum, &rgb[0], &rgb[1], &rgb[2]);
    return 0.3 * rgb[0] + 0.59 * rgb[1] + 0.11 * rgb[2];
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
    double last = 0.0;
    for (int sample = 0; sample <= 65535; sample++) {
        const double height = greyOf(sample, 65535.0, rgb);
        EXPECT_TRUE(height >= last - 1e-9 && std::abs(height - sample / 65535.0 * 250.0) < 0.081) << sample;
        last = height;
    }
    const double wild[][3] = {
        {65536, 65535, 250}, {-1, 1, 0}, {1, 0, 0}, {NAN, 1, 0}, {INFINITY, INFINITY, 250}};
    for (const auto& [value, maximum, grey] : wild)
        EXPECT_EQ(greyOf(value, maximum, rgb), grey) << value << " of " << maximum;
}

TEST(HeightMapDouble, PutsTheMeanBetweenSamples) {
    const Samples input = {10, 20, 30, 41};
    auto samples = std::make_unique<uint16_t[]>(input.size());
    std::copy(input.begin(), input.end(), samples.get());
    uint32_t size = 0;
    const auto doubled = qbHeightMapDouble(std::move(samples), 2, &size);
    ASSERT_EQ(size, 3U);
    EXPECT_EQ(Samples(doubled.get(), doubled.get() + 9), (Samples{10, 15, 20, 20, 25, 30, 30, 35, 41}));
    for (const uint32_t n : {0U, 32769U})
        EXPECT_EQ(qbHeightMapDouble(std::make_unique<uint16_t[]>(1), n, &size), nullptr) << n;
}

// --- bitmaps ----------------------------------------------------------------------------------------------

// Three columns, two rows: red, green, blue; black, grey, white.
static const uint32_t picture[] = {0xFF0000, 0x00FF00, 0x0000FF, 0x000000, 0xEFEFEF, 0xFFFFFF};

static std::string words(std::initializer_list<uint32_t> values, int bytes) {
    std::string text;
    for (const uint32_t value : values)
        text += littleEndian(value, bytes);
    return text;
}

static const std::string palette = words({0xFF0000, 0x00FF00, 0x0000FF, 0, 0xEFEFEF, 0xFFFFFF}, 4);
static const std::string masks565 = words({0xF800, 0x7E0, 0x1F}, 4);
static const std::string runs8 = // a run, the end of a row, a delta of nothing, single pixels, the end
    words({1, 3, 1, 4, 1, 5, 0, 0, 0, 2, 0, 0, 0, 3, 0, 1, 2, 0, 0, 1}, 1);

TEST(BmpFile, ReadsEveryKindAlike) {
    const struct {
        const char* name;
        std::string file;
    } kinds[] = {
        {"24", bmpOf(3, 2, [](int x, int y) { return picture[y * 3 + x]; })},
        {"32 from the top", bmpFile(3, -2, 32, 0, "", palette)},
        {"32 with fields", bmpFile(3, -2, 32, 3, words({0xFF, 0xFF00, 0xFF0000}, 4),
                                   words({0xFF, 0xFF00, 0xFF0000, 0, 0xEFEFEF, 0xFFFFFF}, 4))},
        {"16", bmpFile(3, 2, 16, 0, "", words({0, 0x77BD, 0x7FFF, 0, 0x7C00, 0x3E0, 0x1F, 0}, 2))},
        {"16 with fields",
         bmpFile(3, 2, 16, 3, masks565, words({0, 0xEF7D, 0xFFFF, 0, 0xF800, 0x7E0, 0x1F, 0}, 2))},
        {"8, its padding cut", bmpFile(3, 2, 8, 0, palette, words({3, 4, 5, 9, 0, 1, 2}, 1))},
        {"4", bmpFile(3, 2, 4, 0, palette, words({0x34, 0x50, 0, 0, 0x01, 0x20, 0, 0}, 1))},
        {"8 in runs", bmpFile(3, 2, 8, 1, palette, runs8)},
        {"8 in runs, without their end", bmpFile(3, 2, 8, 1, palette, runs8.substr(0, 18))},
        {"4 in runs",
         bmpFile(3, 2, 4, 2, palette, words({2, 0x34, 1, 0x50, 0, 0, 0, 3, 0x01, 0x20, 0, 1}, 1))},
    };
    QbBmp bmp;
    for (const auto& kind : kinds) {
        ASSERT_EQ(qbBmpRead(kind.file, bmp), "") << kind.name;
        ASSERT_EQ(bmp.rgb.size(), 18U) << kind.name;
        for (size_t i = 0; i < 6; i++)
            EXPECT_EQ(bmp.rgb[i * 3] << 16 | bmp.rgb[i * 3 + 1] << 8 | bmp.rgb[i * 3 + 2],
                      static_cast<int>(picture[i]))
                << kind.name << ", pixel " << i;
    }
    ASSERT_EQ(qbBmpRead(bmpFile(9, 1, 1, 0, palette.substr(0, 8), words({0x55, 0x80, 0, 0}, 1)), bmp), "");
    EXPECT_TRUE(bmp.rgb[0] == 0xFF && bmp.rgb[1 * 3 + 1] == 0xFF && bmp.rgb[8 * 3 + 1] == 0xFF);
    ASSERT_EQ(qbBmpRead(bmpFile(1, 1, 8, 0, palette, words({200, 0, 0, 0}, 1)), bmp), "");
    EXPECT_EQ(bmp.rgb, std::vector<uint8_t>(3)) << "beyond the palette";
}

TEST(BmpFile, TellsWhatIsWrong) {
    const std::string kind =
        "is a .bmp of an unknown kind; save it as an uncompressed .bmp with 8 or 24 bits";
    const std::string none = "is not a .bmp; save it as an uncompressed .bmp with 8 or 24 bits";
    const std::string cut = "is cut short; copy it again";
    const auto size = [](const char* text) {
        return std::string("is ") + text + " pixels; at most 1025 a side can be read";
    };
    const std::string good = plainBmp(3, 2, 0xFFFFFF);
    const std::pair<std::string, std::string> cases[] = {
        {"", none},
        {"PM" + good.substr(2), none},
        {good.substr(0, good.size() - 4), cut},
        {bmpFile(3, 2, 24, 4, "", good.substr(54)), kind},
        {bmpFile(0, 2, 24, 0, "", ""), size("0 x 2")},
        {bmpFile(1026, 1, 24, 0, "", ""), size("1026 x 1")},
        {bmpFile(1, INT32_MIN, 24, 0, "", ""), size("1 x 2147483648")},
        {bmpFile(1025, 1025, 32, 0, "", ""), cut},
        {bmpFile(3, 2, 32, 3, "", ""), cut},
        {bmpFile(3, 2, 8, 1, palette, runs8.substr(0, 9)), cut},
        {bmpFile(3, 2, 8, 1, palette, words({4, 0, 0, 1}, 1)), cut},
    };
    for (const auto& [file, problem] : cases) {
        QbBmp bmp;
        EXPECT_EQ(qbBmpRead(file, bmp), problem);
        EXPECT_TRUE(bmp.rgb.empty());
    }
}
