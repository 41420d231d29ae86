#include "engine/picture_check.h"

#include "platform/text.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <zlib.h>

using std::string_view;

static const char CUT_SHORT[] = "is cut short; copy it again";
static const char DAMAGED[] = "is damaged; save it anew";
static const char UNKNOWN[] = "is of a kind that can not be read; save it as a .png or .jpg";
static const char BAD_SIDE[] = "has a side of no or more than 16384 pixels; save it at another size";
static const char TOO_LARGE[] = "has too many pixels for its kind; save it smaller, or as a .png";

// Irrlicht reckons sizes of pictures in signed 32 bits, and some of them in bits.
static const uint64_t BITS_MAX = INT32_MAX;

// --- numbers ----------------------------------------------------------------------------------------------

static uint32_t byteAt(string_view bytes, size_t place) {
    return static_cast<unsigned char>(bytes[place]);
}

static uint32_t little16(string_view bytes, size_t place) {
    return byteAt(bytes, place) | byteAt(bytes, place + 1) << 8;
}

static uint32_t little32(string_view bytes, size_t place) {
    return little16(bytes, place) | little16(bytes, place + 2) << 16;
}

static uint32_t big16(string_view bytes, size_t place) {
    return byteAt(bytes, place) << 8 | byteAt(bytes, place + 1);
}

static uint32_t big32(string_view bytes, size_t place) {
    return big16(bytes, place) << 16 | big16(bytes, place + 2);
}

static void setLittle32(std::string& bytes, size_t place, uint32_t value) {
    for (size_t i = 0; i < 4; i++)
        bytes[place + i] = static_cast<char>(value >> (8 * i) & 255);
}

static bool isSide(int64_t side) {
    return side >= 1 && side <= QB_PICTURE_SIDE_MAX;
}

// More pixels than the best packing gets into a byte: memory for them would be taken in vain.
static bool isHollow(uint64_t width, uint64_t height, size_t size, uint64_t pixelsPerByte) {
    return width * height > size * pixelsPerByte;
}

static bool beginsWith(string_view bytes, string_view begin) {
    return bytes.substr(0, begin.size()) == begin;
}

// --- .jpg -------------------------------------------------------------------------------------------------

enum { JPEG_EMPTY = 1, JPEG_END = 0xD9, JPEG_SCAN = 0xDA }; // markers; the first has no length
enum { JPEG_COLORS_CMYK = 4, JPEG_PIXELS = 1024, JPEG_ENDS = 0x9000 };

static bool isJpegFrame(uint32_t marker) {
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

static bool isJpegRestart(uint32_t marker) {
    return marker >= 0xD0 && marker <= 0xD7;
}

// The place of the next marker's second byte; in the data of a scan 0xFF00 and restarts are none.
static size_t nextJpegMarker(string_view bytes, size_t at) {
    for (at = bytes.find('\xFF', at); at != string_view::npos; at = bytes.find('\xFF', at)) {
        at = bytes.find_first_not_of('\xFF', at);
        if (at == string_view::npos || (byteAt(bytes, at) != 0 && !isJpegRestart(byteAt(bytes, at))))
            return at;
    }
    return at;
}

// `at` is that of the frame's length.
static const char* checkJpegFrame(string_view bytes, size_t at) {
    if (big16(bytes, at) < 8) return DAMAGED;
    const uint32_t height = big16(bytes, at + 3), width = big16(bytes, at + 5);
    if (!isSide(width) || !isSide(height)) return BAD_SIDE;
    if (isHollow(width, height, bytes.size(), JPEG_PIXELS)) return CUT_SHORT;
    // The length of a row is kept in 16 bits.
    const uint32_t colors = byteAt(bytes, at + 7) == JPEG_COLORS_CMYK ? 4 : 3;
    return width * colors > UINT16_MAX ? TOO_LARGE : nullptr;
}

static bool isJpegProgressive(uint32_t frame) {
    return frame % 4 == 2;
}

// `end` is behind all that is needed, before a marker.
static const char* walkJpeg(string_view bytes, size_t& end) {
    uint32_t frame = 0, colors = 0;
    bool hasScan = false;
    for (size_t at = nextJpegMarker(bytes, 2); at != string_view::npos; at = nextJpegMarker(bytes, at)) {
        end = at - 1;
        const uint32_t marker = byteAt(bytes, at++);
        if (marker == JPEG_END) return hasScan ? nullptr : DAMAGED;
        // What follows the only scan is not looked at: Irrlicht would give the picture up for it, and twice
        // its rows.
        if (hasScan && colors == 0) return nullptr;
        if (marker == JPEG_EMPTY) continue;
        if (bytes.size() - at < 2 || big16(bytes, at) > bytes.size() - at) return CUT_SHORT;
        if (isJpegFrame(marker) && frame == 0) {
            const char* problem = checkJpegFrame(bytes, at);
            if (problem) return problem;
            frame = marker;
            colors = byteAt(bytes, at + 7);
        }
        if (marker == JPEG_SCAN) {
            if (frame == 0 || big16(bytes, at) < 3) return DAMAGED;
            if (!hasScan && byteAt(bytes, at + 2) == colors && !isJpegProgressive(frame)) colors = 0;
            hasScan = true;
        }
        if (big16(bytes, at) < 2) return DAMAGED;
        at += big16(bytes, at);
    }
    return CUT_SHORT;
}

// Irrlicht goes on reading where the data end. No marker of a damaged file leads beyond 64 KiB of ends.
static const char* checkJpeg(std::string& bytes) {
    if (bytes.size() < 2) return CUT_SHORT;
    if (!beginsWith(bytes, "\xFF\xD8")) return nullptr;
    if (bytes.size() > 2 && bytes[2] != '\xFF') return DAMAGED;
    size_t end = 0;
    const char* problem = walkJpeg(bytes, end);
    if (problem) return problem;
    bytes.resize(end);
    for (int i = 0; i < JPEG_ENDS; i++)
        bytes += "\xFF\xD9";
    return nullptr;
}

// --- .png -------------------------------------------------------------------------------------------------

enum { PNG_SIZES = 17, PNG_PIXELS = 8256 };

static const string_view PNG_BEGIN = "\x89PNG\r\n\x1A\n";

static const char* checkPngSize(string_view header, size_t size) {
    if (header.size() != PNG_SIZES) return DAMAGED;
    const uint32_t width = big32(header, 4), height = big32(header, 8);
    if (!isSide(width) || !isSide(height)) return BAD_SIDE;
    return isHollow(width, height, size, PNG_PIXELS) ? CUT_SHORT : nullptr;
}

// Chunks: length, type, that many bytes, checksum of the type and the bytes.
static const char* checkPng(std::string& bytes) {
    if (bytes.size() < PNG_BEGIN.size()) return CUT_SHORT;
    if (!beginsWith(bytes, PNG_BEGIN)) return nullptr;
    for (size_t at = PNG_BEGIN.size();;) {
        const size_t rest = bytes.size() - at;
        if (rest < 12 || big32(bytes, at) > rest - 12) return CUT_SHORT;
        const uint32_t length = big32(bytes, at);
        const string_view chunk = string_view(bytes).substr(at + 4, length + size_t{4});
        if (at == PNG_BEGIN.size() && !beginsWith(chunk, "IHDR")) return DAMAGED;
        const char* problem = beginsWith(chunk, "IHDR") ? checkPngSize(chunk, bytes.size()) : nullptr;
        if (problem) return problem;
        // libpng forgives the others, whose types begin with a small letter.
        const bool needed = !(byteAt(chunk, 0) & 0x20);
        const auto* data = reinterpret_cast<const Bytef*>(chunk.data());
        if (needed && crc32(0, data, static_cast<uInt>(chunk.size())) != big32(bytes, at + 8 + length))
            return DAMAGED;
        if (beginsWith(chunk, "IEND")) return nullptr;
        at += size_t{12} + length;
    }
}

// --- .bmp -------------------------------------------------------------------------------------------------

// As drawn in scene/runtime/bmp_file.cpp. Irrlicht reads the palette from 54 up to the pixels.
enum { BMP_PIXELS = 10, BMP_DATA_SIZE = 34, BMP_HEADER = 54, BMP_PIXELS_PER_BYTE = 1024 };
enum { BMP_PLAIN = 0, BMP_RUNS_OF_8_BITS = 1, BMP_RUNS_OF_4_BITS = 2 };

// Writes and reads as Irrlicht does, which ends at the picture's end or at the mark for it, not at that of
// the data, and takes pixels one by one of 4 bits from one and the same byte.
static bool bmpRunsFit(string_view data, uint64_t line, uint64_t height, bool nibbles) {
    const uint64_t unit = nibbles ? 2 : 1, end = line * height * unit;
    uint64_t to = 0, lines = 0;
    size_t at = 0;
    while (to < end) {
        if (data.size() - at < 2) return false;
        const uint32_t count = byteAt(data, at), code = byteAt(data, at + 1);
        at += 2;
        if (count != 0) {
            to += count;
            if (to > end) return false;
        } else if (code == 0) {
            to = ++lines * line * unit;
        } else if (code == 1) {
            return true;
        } else if (code == 2) {
            if (data.size() - at < 2) return false;
            const uint32_t x = byteAt(data, at);
            to = nibbles ? (to / 2 + x / 2) * 2 + x % 2 : to + x;
            to += byteAt(data, at + 1) * line * unit;
            at += 2;
        } else {
            const size_t taken = (nibbles ? 0 : code) + code % 2;
            to += code;
            if (to > end || at == data.size() || taken > data.size() - at) return false;
            at += taken;
        }
    }
    return true;
}

static bool isBmpKind(uint32_t compression, uint32_t bits) {
    if (compression == BMP_RUNS_OF_8_BITS) return bits == 8;
    if (compression == BMP_RUNS_OF_4_BITS) return bits == 4;
    return compression == BMP_PLAIN &&
           (bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32);
}

// A colour for each number that a pixel may have.
static void fillBmpPalette(std::string& bytes, uint32_t bits) {
    if (bits > 8) return;
    const uint32_t pixels = little32(bytes, BMP_PIXELS), wanted = BMP_HEADER + (4U << bits);
    if (pixels >= wanted) return;
    bytes.insert(pixels, wanted - pixels, '\0');
    setLittle32(bytes, BMP_PIXELS, wanted);
}

static const char* checkBmp(std::string& bytes) {
    if (bytes.size() < BMP_HEADER) return CUT_SHORT;
    if (!beginsWith(bytes, "BM")) return nullptr;
    const auto width = static_cast<int32_t>(little32(bytes, 18));
    const auto height = static_cast<int32_t>(little32(bytes, 22));
    const uint32_t bits = little16(bytes, 28), compression = little32(bytes, 30);
    if (!isBmpKind(compression, bits) || height < 0) return UNKNOWN;
    if (!isSide(width) || !isSide(height)) return BAD_SIDE;
    const size_t pixels = little32(bytes, BMP_PIXELS);
    if (pixels < BMP_HEADER) return DAMAGED;
    if (pixels >= bytes.size()) return CUT_SHORT;

    const uint64_t rows = static_cast<uint64_t>(height);
    const uint64_t used = (uint64_t{bits} * static_cast<uint64_t>(width) + 7) / 8, line = (used + 3) / 4 * 4;
    if (compression == BMP_PLAIN) {
        if (line * (rows - 1) + used > bytes.size() - pixels) return CUT_SHORT;
        // Irrlicht takes the padding of 16 bits for twice of what it is.
        bytes.append(line - used + (bits == 16 ? (line - used) * rows : 0), '\0');
    } else if (isHollow(rows, line, bytes.size(), BMP_PIXELS_PER_BYTE)) {
        return CUT_SHORT;
    } else if (!bmpRunsFit(string_view(bytes).substr(pixels), line, rows, bits == 4)) {
        return DAMAGED;
    }
    fillBmpPalette(bytes, bits);
    setLittle32(bytes, BMP_DATA_SIZE, 0); // all that there is
    return nullptr;
}

// --- .tga -------------------------------------------------------------------------------------------------

//    0  bytes of text   5  colours in the palette   12  width    16  bits a pixel
//    1  has a palette   7  bits a colour            14  height   18  text, palette, pixels
//    2  type
enum { TGA_PALETTE_SIZE = 5, TGA_HEADER = 18, TGA_INDICES = 1, TGA_GREY = 3, TGA_RUNS = 10 };

static const size_t TGA_FOOTER_SIZE = 26;
static const string_view TGA_FOOTER{"TRUEVISION-XFILE.", 18}; // its end, with the zero

static const char* checkTgaRuns(string_view data, uint64_t pixels, uint32_t size) {
    size_t at = 0;
    while (pixels > 0) {
        if (at == data.size()) return CUT_SHORT;
        const uint32_t head = byteAt(data, at++), count = (head & 127) + 1;
        const size_t taken = (head < 128 ? count : 1) * size_t{size};
        if (taken > data.size() - at) return CUT_SHORT;
        if (count > pixels) return DAMAGED;
        at += taken;
        pixels -= count;
    }
    return nullptr;
}

static const char* checkTga(std::string& bytes) {
    if (bytes.size() < TGA_HEADER) return CUT_SHORT;
    const uint32_t type = byteAt(bytes, 2), bits = byteAt(bytes, 16), colorBits = byteAt(bytes, 7);
    if ((type < TGA_INDICES || type > TGA_GREY) && type != TGA_RUNS) return nullptr; // taken by no reader
    if (bits != 8 && bits != 16 && bits != 24 && bits != 32) return UNKNOWN;
    const uint32_t width = little16(bytes, 12), height = little16(bytes, 14);
    if (!isSide(width) || !isSide(height)) return BAD_SIDE;
    if (uint64_t{width} * height * bits > BITS_MAX) return TOO_LARGE;

    const uint32_t colors = byteAt(bytes, 1) ? little16(bytes, TGA_PALETTE_SIZE) : 0;
    const bool hasIndices = bits == 8 && type != TGA_GREY;
    if (hasIndices && (colors == 0 || (colorBits != 16 && colorBits != 24 && colorBits != 32)))
        return UNKNOWN;
    const size_t pixels = TGA_HEADER + byteAt(bytes, 0) + size_t{colorBits / 8} * colors;
    if (pixels > bytes.size()) return CUT_SHORT;
    const string_view data = string_view(bytes).substr(pixels);
    const uint64_t count = uint64_t{width} * height;
    if (type != TGA_RUNS && count * (bits / 8) > data.size()) return CUT_SHORT;
    const char* problem = type == TGA_RUNS ? checkTgaRuns(data, count, bits / 8) : nullptr;
    if (problem || !hasIndices || colors >= 256) return problem;

    bytes.insert(pixels, size_t{colorBits / 8} * (256 - colors), '\0');
    bytes[TGA_PALETTE_SIZE] = 0;
    bytes[TGA_PALETTE_SIZE + 1] = 1;
    return nullptr;
}

// --- .pcx -------------------------------------------------------------------------------------------------

//    0  10   2  1   3  bits a plane   4  left, top, right, bottom   65  planes   66  bytes a line and plane
//  128  runs, and behind those of a single plane, at the very end, 256 colours
enum { PCX_HEADER = 128, PCX_PALETTE = 768 };

static const char* checkPcxRuns(string_view data, uint64_t count) {
    size_t at = 0;
    while (count > 0) {
        if (at == data.size()) return CUT_SHORT;
        const uint32_t head = byteAt(data, at++);
        const bool isRun = (head & 0xC0) == 0xC0;
        if (isRun && at++ == data.size()) return CUT_SHORT;
        const uint32_t run = isRun ? head & 63 : 1;
        if (run > count) return DAMAGED;
        count -= run;
    }
    return nullptr;
}

static const char* checkPcx(std::string& bytes) {
    if (bytes.size() < PCX_HEADER) return CUT_SHORT;
    const uint32_t bits = byteAt(bytes, 3), planes = byteAt(bytes, 65);
    if (bytes[0] != 10 && bytes[2] != 1) return nullptr; // either will do for Irrlicht
    if (bits != 1 && bits != 4 && bits != 8) return nullptr;
    // Irrlicht leaves the rows of fewer than 8 bits.
    if (bits != 8 || (planes != 1 && planes != 3)) return UNKNOWN;
    const int64_t width = int64_t{little16(bytes, 8)} - little16(bytes, 4) + 1;
    const int64_t height = int64_t{little16(bytes, 10)} - little16(bytes, 6) + 1;
    if (!isSide(width) || !isSide(height)) return BAD_SIDE;
    const uint64_t line = little16(bytes, 66);
    if (line < static_cast<uint64_t>(width)) return DAMAGED;
    const uint64_t count = line * planes * static_cast<uint64_t>(height);
    if (count * 8 > BITS_MAX) return TOO_LARGE;
    const size_t palette = planes == 1 ? PCX_PALETTE : 0;
    if (bytes.size() - PCX_HEADER < palette) return CUT_SHORT;
    return checkPcxRuns(string_view(bytes).substr(PCX_HEADER, bytes.size() - PCX_HEADER - palette), count);
}

// --- .psd -------------------------------------------------------------------------------------------------

//    0  "8BPS"        12  channels   18  width              24  3: red, green, blue
//    4  1, 16 bits    14  height     22  bits a channel     26  three sections behind their lengths
// and then the compression and the channels one after the other. All numbers big-endian.
enum { PSD_HEADER = 26, PSD_SECTIONS = 3, PSD_COLORS = 3, PSD_PLAIN = 0, PSD_RUNS = 1 };

static const char* checkPsdRow(string_view row, uint32_t width) {
    for (size_t at = 0; at < row.size();) {
        const uint32_t head = byteAt(row, at++);
        if (head == 128) continue;
        const uint32_t count = head < 128 ? head + 1 : 257 - head;
        const size_t taken = head < 128 ? count : 1;
        if (count > width || taken > row.size() - at) return DAMAGED;
        at += taken;
        width -= count;
    }
    return width == 0 ? nullptr : DAMAGED;
}

// The lengths of all rows come first.
static const char* checkPsdRuns(string_view data, uint32_t width, uint32_t rows) {
    size_t at = size_t{2} * rows;
    if (at > data.size()) return CUT_SHORT;
    for (size_t i = 0; i < rows; i++) {
        const uint32_t length = big16(data, 2 * i);
        if (length > data.size() - at) return CUT_SHORT;
        const char* problem = checkPsdRow(data.substr(at, length), width);
        if (problem) return problem;
        at += length;
    }
    return nullptr;
}

static const char* checkPsd(std::string& bytes) {
    if (bytes.size() < PSD_HEADER) return CUT_SHORT;
    if (!beginsWith(bytes, "8BPS")) return nullptr;
    const uint32_t channels = big16(bytes, 12), height = big32(bytes, 14), width = big32(bytes, 18);
    if (big16(bytes, 4) != 1 || big16(bytes, 22) != 8 || big16(bytes, 24) != 3 || channels < PSD_COLORS)
        return UNKNOWN;
    if (!isSide(width) || !isSide(height)) return BAD_SIDE;
    size_t at = PSD_HEADER;
    for (int i = 0; i < PSD_SECTIONS; i++) {
        if (bytes.size() - at < 4 || big32(bytes, at) > bytes.size() - at - 4) return CUT_SHORT;
        at += size_t{4} + big32(bytes, at);
    }
    if (bytes.size() - at < 2) return CUT_SHORT;
    const uint32_t compression = big16(bytes, at);
    const string_view data = string_view(bytes).substr(at + 2);
    if (compression == PSD_RUNS) return checkPsdRuns(data, width, height * channels);
    if (compression != PSD_PLAIN) return UNKNOWN;
    return uint64_t{PSD_COLORS} * width * height > data.size() ? CUT_SHORT : nullptr;
}

// --- kinds ------------------------------------------------------------------------------------------------

// Their readers write out of bounds even for some sound files.
static const char* refuse(std::string&) {
    return UNKNOWN;
}

static bool isPixmap(string_view bytes) {
    return bytes.size() >= 2 && bytes[0] == 'P' && bytes[1] >= '1' && bytes[1] <= '6';
}

static bool isTga(string_view bytes) {
    return bytes.size() >= TGA_FOOTER.size() && bytes.substr(bytes.size() - TGA_FOOTER.size()) == TGA_FOOTER;
}

namespace {

struct Kind {
    string_view endings; // of names, each between blanks
    string_view begin;   // of files; "" for none
    bool (*isKind)(string_view bytes);
    const char* (*check)(std::string& bytes);
};

} // namespace

// Irrlicht tries each reader whose ending or whose beginning a file has.
static const Kind KINDS[] = {
    {" jpg jpeg ", "\xFF\xD8\xFF", nullptr, checkJpeg},
    {" png ", PNG_BEGIN, nullptr, checkPng},
    {" bmp ", "BM", nullptr, checkBmp},
    {" tga ", "", isTga, checkTga},
    {" pcx ", "\n", nullptr, checkPcx},
    {" psd ", "8BPS", nullptr, checkPsd},
    {" ppm pgm pbm ", "", isPixmap, refuse},
    {" rgb rgba sgi int inta bw ", "\x01\xDA", nullptr, refuse},
    {" lmp wal wal2 ", "", nullptr, refuse},
};

static bool isOfKind(const Kind& kind, string_view ending, string_view bytes) {
    return kind.endings.find(ending) != string_view::npos ||
           (!kind.begin.empty() && beginsWith(bytes, kind.begin)) || (kind.isKind && kind.isKind(bytes));
}

const char* qbPictureCheck(const char* name, std::string& bytes) {
    std::string ending = name;
    ending.erase(0, ending.rfind('.') + 1);
    std::transform(ending.begin(), ending.end(), ending.begin(), [](char c) { return qbFoldCase(c); });
    ending = ' ' + ending + ' ';
    for (const Kind& kind : KINDS) {
        const char* problem = isOfKind(kind, ending, bytes) ? kind.check(bytes) : nullptr;
        if (problem) return problem;
    }
    // Irrlicht looks for a footer ahead of the beginning of shorter ones.
    bytes.resize(std::max(bytes.size(), TGA_FOOTER_SIZE), '\0');
    return nullptr;
}
