#include "scene/runtime/bmp_file.h"

#include <array>
#include <cstddef>

// All numbers little-endian.
//
//    0  "BM"                        14  size of this second header, at least 40
//    2  size of the file (unused)   18  width, signed
//   10  place of the pixels         22  height, signed; negative: rows from the top, else from the bottom
//                                   28  bits a pixel, 16 bits wide
//                                   30  compression
//                                   54  masks of red, green and blue, with bit fields
// The palette, blue, green, red, 0 for each colour, lies behind the second header; rows are padded to four
// bytes.
enum { SECOND_HEADER = 14, SMALLEST_HEADER = 54, MASKS = 54, MASKS_SIZE = 12 };

// Values of "compression".
enum { PLAIN = 0, RUNS_OF_8_BITS = 1, RUNS_OF_4_BITS = 2, BIT_FIELDS = 3 };

static const char CUT_SHORT[] = "is cut short; copy it again";
static const char ADVICE[] = "save it as an uncompressed .bmp with 8 or 24 bits";

namespace {

struct Header {
    uint32_t pixels; // where they begin
    uint32_t second; // size of the second header
    int64_t width;
    int64_t height; // as in the file
    uint32_t bits;
    uint32_t compression;
};

struct Colors {
    std::array<uint32_t, 3> masks;       // red, green, blue
    std::array<uint32_t, 256> palette{}; // of pictures up to 8 bits, under the masks
};

// Pixels as numbers, each row on its own.
struct Rows {
    const unsigned char* first;
    size_t stride;
    uint32_t bits;
};

} // namespace

static const unsigned char* bytesAt(std::string_view bytes, size_t place) {
    return reinterpret_cast<const unsigned char*>(bytes.data()) + place;
}

static uint32_t littleEndian(const unsigned char* at, uint32_t count) {
    uint32_t value = 0;
    for (uint32_t i = 0; i < count; i++)
        value |= static_cast<uint32_t>(at[i]) << (8 * i);
    return value;
}

static uint32_t numberAt(std::string_view bytes, size_t place) {
    return littleEndian(bytesAt(bytes, place), 4);
}

// --- header -----------------------------------------------------------------------------------------------

static Header headerOf(std::string_view bytes) {
    Header header{};
    header.pixels = numberAt(bytes, 10);
    header.second = numberAt(bytes, SECOND_HEADER);
    header.width = static_cast<int32_t>(numberAt(bytes, 18));
    header.height = static_cast<int32_t>(numberAt(bytes, 22));
    header.bits = littleEndian(bytesAt(bytes, 28), 2);
    header.compression = numberAt(bytes, 30);
    return header;
}

static bool isKnownKind(const Header& header) {
    switch (header.compression) {
    case PLAIN:
        return header.bits == 1 || header.bits == 4 || header.bits == 8 || header.bits == 16 ||
               header.bits == 24 || header.bits == 32;
    case RUNS_OF_8_BITS:
        return header.bits == 8;
    case RUNS_OF_4_BITS:
        return header.bits == 4;
    case BIT_FIELDS:
        return header.bits == 16 || header.bits == 32;
    default:
        return false;
    }
}

static uint32_t heightOf(const Header& header) {
    return static_cast<uint32_t>(header.height < 0 ? -header.height : header.height);
}

static std::string checkHeader(std::string_view bytes, const Header& header) {
    const int64_t height = heightOf(header);
    if (header.second < 40 || !isKnownKind(header))
        return std::string("is a .bmp of an unknown kind; ") + ADVICE;
    if (header.width < 1 || height < 1 || header.width > QB_BMP_SIDE_MAX || height > QB_BMP_SIDE_MAX)
        return "is " + std::to_string(header.width) + " x " + std::to_string(height) + " pixels; at most " +
               std::to_string(QB_BMP_SIDE_MAX) + " a side can be read";
    const size_t masks = header.compression == BIT_FIELDS ? MASKS_SIZE : 0;
    if (bytes.size() < MASKS + masks || header.pixels < MASKS + masks || header.pixels > bytes.size())
        return CUT_SHORT;
    return {};
}

// --- colours ----------------------------------------------------------------------------------------------

static Colors colorsOf(std::string_view bytes, const Header& header) {
    Colors colors{};
    colors.masks = {0xFF0000, 0xFF00, 0xFF};
    if (header.bits == 16) colors.masks = {0x7C00, 0x3E0, 0x1F};
    for (size_t i = 0; header.compression == BIT_FIELDS && i < colors.masks.size(); i++)
        colors.masks[i] = numberAt(bytes, MASKS + 4 * i);
    if (header.bits > 8) return colors;
    const uint64_t begin = uint64_t{SECOND_HEADER} + header.second;
    for (uint32_t i = 0; i < colors.palette.size() && begin + 4 * (i + 1) <= header.pixels; i++)
        colors.palette[i] = numberAt(bytes, static_cast<size_t>(begin + 4 * i));
    return colors;
}

static uint8_t channelOf(uint32_t color, uint32_t mask) {
    if (mask == 0) return 0;
    const uint32_t step = mask & ~(mask - 1); // its lowest bit
    const uint64_t largest = mask / step;
    return static_cast<uint8_t>(((color & mask) / step * uint64_t{255} + largest / 2) / largest);
}

// --- pixels -----------------------------------------------------------------------------------------------

static uint32_t pixelAt(const Rows& rows, size_t row, size_t column) {
    const unsigned char* at = rows.first + row * rows.stride;
    if (rows.bits >= 8) return littleEndian(at + column * (rows.bits / 8), rows.bits / 8);
    const size_t bit = column * rows.bits;
    const auto shift = static_cast<uint32_t>(8 - rows.bits - bit % 8);
    return static_cast<uint32_t>(at[bit / 8]) >> shift & ((1U << rows.bits) - 1);
}

namespace {

// Spreads runs to one byte a pixel, rows from the bottom.
class RunReader {
public:
    RunReader(std::string_view data, size_t width, size_t height, bool nibbles)
        : data_(data), width_(width), height_(height), nibbles_(nibbles) {}

    // False for data that end before the last pixel or leave the picture.
    bool read() {
        indices_.resize(width_ * height_);
        while (at_ + 2 <= data_.size()) {
            const size_t count = next();
            const size_t value = next();
            if (count == 0 && value == 1) return true;
            if (!(count ? fill(count, value) : escape(value))) return false;
        }
        return row_ >= height_ || (row_ + 1 == height_ && column_ >= width_);
    }
    const std::vector<unsigned char>& indices() const { return indices_; }

private:
    size_t next() { return static_cast<unsigned char>(data_[at_++]); }

    bool put(size_t index) {
        if (column_ >= width_ || row_ >= height_) return false;
        indices_[row_ * width_ + column_++] = static_cast<unsigned char>(index);
        return true;
    }
    size_t part(size_t value, size_t i) const { return !nibbles_ ? value : i % 2 ? value & 15 : value >> 4; }
    bool fill(size_t count, size_t value) {
        for (size_t i = 0; i < count; i++)
            if (!put(part(value, i))) return false;
        return true;
    }
    bool escape(size_t code) {
        if (code > 2) return copy(code);
        if (code == 0) {
            column_ = 0;
            row_++;
        } else {
            if (at_ + 2 > data_.size()) return false;
            column_ += next();
            row_ += next();
        }
        return true;
    }
    // Pixels one by one, padded to two bytes.
    bool copy(size_t count) {
        const size_t length = nibbles_ ? (count + 1) / 2 : count;
        if (length > data_.size() - at_) return false;
        for (size_t i = 0; i < count; i++) {
            const size_t byte = nibbles_ ? i / 2 : i;
            if (!put(part(static_cast<unsigned char>(data_[at_ + byte]), i))) return false;
        }
        at_ += length + length % 2;
        return true;
    }

    std::string_view data_;
    size_t width_, height_;
    bool nibbles_;
    std::vector<unsigned char> indices_;
    size_t at_ = 0, column_ = 0, row_ = 0;
};

} // namespace

static void paint(const Rows& rows, const Colors& colors, bool fromTop, QbBmp& picture) {
    picture.rgb.reserve(size_t{3} * picture.width * picture.height);
    for (uint32_t y = 0; y < picture.height; y++) {
        const uint32_t row = fromTop ? y : picture.height - 1 - y;
        for (uint32_t x = 0; x < picture.width; x++) {
            const uint32_t pixel = pixelAt(rows, row, x);
            const uint32_t color = rows.bits <= 8 ? colors.palette[pixel] : pixel;
            for (const uint32_t mask : colors.masks)
                picture.rgb.push_back(channelOf(color, mask));
        }
    }
}

std::string qbBmpRead(std::string_view bytes, QbBmp& picture) {
    picture = {};
    if (bytes.size() < SMALLEST_HEADER || bytes.substr(0, 2) != "BM")
        return std::string("is not a .bmp; ") + ADVICE;
    const Header header = headerOf(bytes);
    picture.width = header.width > 0 ? static_cast<uint32_t>(header.width) : 0;
    picture.height = heightOf(header);
    std::string problem = checkHeader(bytes, header);
    if (!problem.empty()) return problem;

    const Colors colors = colorsOf(bytes, header);
    const size_t lineBits = size_t{picture.width} * header.bits;
    const std::string_view data = bytes.substr(header.pixels);
    Rows rows{bytesAt(data, 0), (lineBits + 31) / 32 * 4, header.bits};
    RunReader runs(data, picture.width, picture.height, header.bits == 4);
    if (header.compression == RUNS_OF_8_BITS || header.compression == RUNS_OF_4_BITS) {
        if (!runs.read()) return CUT_SHORT;
        rows = {runs.indices().data(), picture.width, 8};
    } else if (rows.stride * (picture.height - 1) + (lineBits + 7) / 8 > data.size()) {
        return CUT_SHORT;
    }
    paint(rows, colors, header.height < 0, picture);
    return {};
}
