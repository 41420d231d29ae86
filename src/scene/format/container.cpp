#include "scene/format/container.h"

#include "platform/message.h"
#include "scene/format/dump.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <span>

// Headers and values are read where they lie in the file's image, never copied: opening a scene costs little
// more than reading its bytes.

namespace {

constexpr uint32_t topHeaderBytes = 8;    // tag, u32 size
constexpr uint32_t nestedHeaderBytes = 6; // tag, u16 size

QbChunkCallback chunkCallback = nullptr;
QbFatalHandler fatalHandler = nullptr;
const char* walkedName = nullptr;

struct Walk {
    QbFile* file;
    std::span<const uint8_t> image;
    uint32_t position;
};

struct Chunk {
    uint32_t tag;
    uint32_t header; // offset of the tag
    uint32_t body;   // offset behind the header
    uint32_t size;   // of the body
};

// Reads the body at the walk's position, whose bytes are known to lie in the image; 0 or -1. A container
// opens in the dump at `depth`, a leaf stands one level deeper.
using Reader = int (*)(Walk& walk, int depth, uint32_t nbytes);

struct Child {
    uint32_t tag;
    Reader read;
};

} // namespace

QbTagText qbTagText(uint32_t tag) {
    QbTagText result = {};
    for (int i = 0; i < 4; ++i) {
        const uint32_t letter = tag >> (24 - 8 * i) & 0xff;
        result.text[i] = letter >= 0x20 && letter < 0x7f ? static_cast<char>(letter) : '?';
    }
    return result;
}

void qbIffSetChunkCallback(QbChunkCallback callback) {
    chunkCallback = callback;
}

void qbIffSetFileName(const char* fileName) {
    walkedName = fileName;
}

void qbIffSetFatalHandler(QbFatalHandler handler) {
    fatalHandler = handler;
}

// --- the image

static std::span<const uint8_t> imageOf(const QbFile* file) {
    const uint8_t* data = file ? qbFileData(file) : nullptr;
    if (!data) return {};
    return {data, static_cast<size_t>(std::max(qbFileDataSize(file), 0))};
}

static uint32_t wordAt(const uint8_t* bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

static uint32_t halfAt(const uint8_t* bytes) {
    return uint32_t{bytes[0]} << 8 | bytes[1];
}

static float floatAt(const uint8_t* bytes) {
    return std::bit_cast<float>(wordAt(bytes));
}

static uint32_t wordIn(std::span<const uint8_t> bytes, size_t offset) {
    if (offset > bytes.size() || bytes.size() - offset < 4) return 0;
    return wordAt(bytes.data() + offset);
}

static std::span<const uint8_t> bodyOf(std::span<const uint8_t> image, uint32_t position, uint32_t size) {
    if (position > image.size()) return {};
    return image.subspan(position, std::min<size_t>(size, image.size() - position));
}

// Offset of the terminating zero; the size of `bytes` when there is none.
static size_t stringLength(std::span<const uint8_t> bytes) {
    if (bytes.empty()) return 0;
    const void* zero = std::memchr(bytes.data(), 0, bytes.size());
    return zero ? static_cast<size_t>(static_cast<const uint8_t*>(zero) - bytes.data()) : bytes.size();
}

// Bytes that a string takes in the file: with its zero, made even.
static size_t paddedBytes(size_t length) {
    return (length + 2) & ~size_t{1};
}

static const char* stringIn(std::span<const uint8_t> bytes) {
    if (stringLength(bytes) == bytes.size()) return nullptr;
    return reinterpret_cast<const char*>(bytes.data());
}

static const char* stringAt(const Walk& walk, size_t position) {
    return reinterpret_cast<const char*>(walk.image.data() + position);
}

// --- damage

[[gnu::format(printf, 2, 3)]] static int reportDamage(uint32_t offset, const char* format, ...) {
    char what[256];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(what, sizeof what, format, arguments);
    va_end(arguments);
    qbMessage("%.512s: damaged scene file, byte %u: %s", walkedName ? walkedName : "(no name)", offset, what);
    return -1;
}

// A scene whose names or properties are damaged is not survived, not even in the middle of a show.
static int reportSizeError(const char* reader, size_t bytesRead, const Chunk& chunk) {
    std::fprintf(stderr, "Error: %s: bytesread(%d)  != nbytes expected(%d)\n", reader,
                 static_cast<int>(bytesRead), static_cast<int>(chunk.size));
    if (walkedName)
        std::fprintf(stderr, "%s: damaged scene file, byte %u: export it again\n", walkedName, chunk.header);
    if (!fatalHandler) std::exit(1);
    fatalHandler(1);
    return -1;
}

// Bytes of the string at an offset. A zero that is missing counts as if it stood behind the image.
static size_t stringBytes(const Walk& walk, size_t offset) {
    if (offset > walk.image.size()) return paddedBytes(0);
    return paddedBytes(stringLength(walk.image.subspan(offset)));
}

static size_t propBytes(const Walk& walk, uint32_t body) {
    const uint32_t type = wordIn(walk.image, body);
    const size_t value = 4 + stringBytes(walk, size_t{body} + 4);
    switch (type) {
    case QB_PROP_INT:
    case QB_PROP_FLOAT:
        return value + 4;
    case QB_PROP_STRING:
        return value + stringBytes(walk, body + value);
    case QB_PROP_FLOAT3:
        return value + 12;
    case QB_PROP_INT2:
    case QB_PROP_FLOAT2:
        return value + 8;
    default:
        return value;
    }
}

// Chunks whose content tells its own length have to agree with their header, to the byte.
static int checkContent(const Walk& walk, const Chunk& chunk) {
    size_t bytes = chunk.size;
    const char* reader = "";
    if (chunk.tag == QB_TAG_NAME) {
        reader = "read_name";
        bytes = stringBytes(walk, chunk.body);
    } else if (chunk.tag == QB_TAG_FNAM) {
        reader = "read_fnam";
        bytes = stringBytes(walk, chunk.body);
    } else if (chunk.tag == QB_TAG_PROP) {
        reader = "read_prop";
        bytes = propBytes(walk, chunk.body);
    }
    return bytes == chunk.size ? 0 : reportSizeError(reader, bytes, chunk);
}

static int checkStringLength(const Walk& walk, size_t offset) {
    const size_t length = stringLength(walk.image.subspan(offset));
    if (length <= QB_STRING_MAX) return 0;
    return reportDamage(static_cast<uint32_t>(offset), "a string of %zu characters, %d are allowed", length,
                        QB_STRING_MAX);
}

// --- leaves

static int readString(Walk& walk, int depth, uint32_t nbytes, uint32_t tag) {
    if (checkStringLength(walk, walk.position) != 0) return -1;
    qbDumpLine(depth + 1, nbytes, tag, "\"%s\"", stringAt(walk, walk.position));
    return 0;
}

static int read_name(Walk& walk, int depth, uint32_t nbytes) {
    return readString(walk, depth, nbytes, QB_TAG_NAME);
}

static int read_fnam(Walk& walk, int depth, uint32_t nbytes) {
    return readString(walk, depth, nbytes, QB_TAG_FNAM);
}

static void dumpPropValue(const Walk& walk, uint32_t type, size_t offset) {
    const uint8_t* value = walk.image.data() + offset;
    switch (type) {
    case QB_PROP_INT:
        qbDumpPrint(" %d", static_cast<int32_t>(wordAt(value)));
        break;
    case QB_PROP_FLOAT:
        qbDumpPrint(" %.8g", floatAt(value));
        break;
    case QB_PROP_STRING:
        qbDumpPrint("\"%s\"", stringAt(walk, offset));
        break;
    case QB_PROP_FLOAT3:
        qbDumpPrint(" %.8g %.8g %.8g", floatAt(value), floatAt(value + 4), floatAt(value + 8));
        break;
    case QB_PROP_INT2:
        qbDumpPrint(" %d %d", static_cast<int32_t>(wordAt(value)), static_cast<int32_t>(wordAt(value + 4)));
        break;
    case QB_PROP_FLOAT2:
        qbDumpPrint(" %.8g %.8g", floatAt(value), floatAt(value + 4));
        break;
    default:
        break;
    }
}

static int read_prop(Walk& walk, int depth, uint32_t nbytes) {
    const size_t name = size_t{walk.position} + 4;
    const uint32_t type = wordIn(walk.image, walk.position);
    const size_t value = name + stringBytes(walk, name);
    if (checkStringLength(walk, name) != 0) return -1;
    if (type == QB_PROP_STRING && checkStringLength(walk, value) != 0) return -1;
    qbDumpBegin(depth + 1, nbytes, QB_TAG_PROP);
    qbDumpPrint(" %d \"%s\"", static_cast<int32_t>(type), stringAt(walk, name));
    dumpPropValue(walk, type, value);
    qbDumpPrint("\n");
    return 0;
}

static int read_type(Walk& walk, int depth, uint32_t nbytes) {
    if (nbytes != 4) return reportDamage(walk.position, "TYPE has %u bytes, 4 are expected", nbytes);
    qbDumpLine(depth + 1, nbytes, QB_TAG_TYPE, "%d", static_cast<int32_t>(wordIn(walk.image, walk.position)));
    return 0;
}

static int read_vrun(Walk& walk, int depth, uint32_t nbytes) {
    if (nbytes != 8) return reportDamage(walk.position, "VRUN has %u bytes, 8 are expected", nbytes);
    const uint8_t* body = walk.image.data() + walk.position;
    qbDumpLine(depth + 1, nbytes, QB_TAG_VRUN, "%d %.8g", static_cast<int32_t>(wordAt(body)),
               floatAt(body + 4));
    return 0;
}

static int read_vdat(Walk& walk, int depth, uint32_t nbytes) {
    const uint32_t count = nbytes >= 4 ? wordIn(walk.image, walk.position) : 0;
    if (nbytes < 4 || nbytes % 4 != 0 || count != (nbytes - 4) / 4)
        return reportDamage(walk.position, "VDAT has %u bytes and says that it holds %u values", nbytes,
                            count);
    if (qbIffMode == QB_DUMP_SILENT) return 0;
    const uint8_t* values = walk.image.data() + walk.position + 4;
    qbDumpBegin(depth + 1, nbytes, QB_TAG_VDAT);
    qbDumpPrint(" %d", static_cast<int32_t>(count));
    for (uint32_t i = 0; i < count; ++i)
        qbDumpPrint(" %.8g", floatAt(values + size_t{4} * i));
    qbDumpPrint("\n");
    return 0;
}

// --- containers

// Reads the header at the walk's position. The width of the size goes by the depth and not by the tag.
static int readHeader(const Walk& walk, uint32_t end, uint32_t parent, int depth, Chunk& chunk) {
    const uint32_t headerBytes = depth == 0 ? topHeaderBytes : nestedHeaderBytes;
    const uint32_t left = end - walk.position;
    if (left < headerBytes)
        return reportDamage(walk.position, "%u bytes are left in %s, a chunk's header has %u", left,
                            qbTagText(parent).text, headerBytes);
    const uint8_t* header = walk.image.data() + walk.position;
    chunk.tag = wordAt(header);
    chunk.header = walk.position;
    chunk.body = walk.position + headerBytes;
    chunk.size = depth == 0 ? wordAt(header + 4) : halfAt(header + 4);
    return 0;
}

// The walk's position stands at the body before and behind it after.
static int readChunk(Walk& walk, const Child* child, uint32_t parent, int depth, const Chunk& chunk) {
    int answer = QB_CHUNK_WALK;
    if (chunkCallback) answer = chunkCallback(walk.file, depth, parent, chunk.tag, chunk.body, chunk.size);
    if (answer != QB_CHUNK_WALK && answer != QB_CHUNK_SKIP) return -1;

    const bool isPassedOver = answer == QB_CHUNK_SKIP && qbIffMode == QB_DUMP_SILENT;
    const bool isTooDeep = chunk.tag == QB_TAG_CGRP && depth >= QB_GROUP_NESTING_MAX;
    if (!child || isTooDeep)
        qbDumpSkipped(depth + 1, chunk.size, chunk.tag);
    else if (!isPassedOver && child->read(walk, depth + 1, chunk.size) != 0)
        return -1;
    // The declared size counts, whatever the reader looked at.
    walk.position = chunk.body + chunk.size;
    return 0;
}

static int readContainer(Walk& walk, uint32_t tag, std::span<const Child> children, int depth,
                         uint32_t nbytes) {
    const uint32_t end = walk.position + nbytes;
    qbDumpOpen(depth, depth == 0 ? -1 : int64_t{nbytes}, tag);
    while (walk.position < end) {
        Chunk chunk = {};
        if (readHeader(walk, end, tag, depth, chunk) != 0) return -1;
        const auto child = std::find_if(children.begin(), children.end(),
                                        [&chunk](const Child& c) { return c.tag == chunk.tag; });
        const bool isKnown = child != children.end();
        // Comes first: a string that is longer than its chunk is reported as such even when the wrong size
        // leads out of the parent as well.
        if (isKnown && checkContent(walk, chunk) != 0) return -1;
        if (chunk.size > end - chunk.body)
            return reportDamage(chunk.header, "%s has %u bytes, %u are left in %s", qbTagText(chunk.tag).text,
                                chunk.size, end - chunk.body, qbTagText(tag).text);
        walk.position = chunk.body;
        if (readChunk(walk, isKnown ? &*child : nullptr, tag, depth, chunk) != 0) return -1;
    }
    qbDumpClose(depth);
    return 0;
}

static int read_prps(Walk& walk, int depth, uint32_t nbytes) {
    static constexpr Child children[] = {{QB_TAG_PROP, read_prop}};
    return readContainer(walk, QB_TAG_PRPS, children, depth, nbytes);
}

static int read_vals(Walk& walk, int depth, uint32_t nbytes) {
    static constexpr Child children[] = {{QB_TAG_VRUN, read_vrun}, {QB_TAG_VDAT, read_vdat}};
    return readContainer(walk, QB_TAG_VALS, children, depth, nbytes);
}

static int read_chan(Walk& walk, int depth, uint32_t nbytes) {
    static constexpr Child children[] = {
        {QB_TAG_NAME, read_name}, {QB_TAG_TYPE, read_type}, {QB_TAG_VALS, read_vals}};
    return readContainer(walk, QB_TAG_CHAN, children, depth, nbytes);
}

static int read_scen(Walk& walk, int depth, uint32_t nbytes) {
    static constexpr Child children[] = {{QB_TAG_NAME, read_name},
                                         {QB_TAG_FNAM, read_fnam},
                                         {QB_TAG_PRPS, read_prps},
                                         {QB_TAG_CHAN, read_chan}};
    return readContainer(walk, QB_TAG_SCEN, children, depth, nbytes);
}

static int read_bkdr(Walk& walk, int depth, uint32_t nbytes) {
    static constexpr Child children[] = {{QB_TAG_PRPS, read_prps}};
    return readContainer(walk, QB_TAG_BKDR, children, depth, nbytes);
}

static int read_proc(Walk& walk, int depth, uint32_t nbytes) {
    static constexpr Child children[] = {{QB_TAG_PRPS, read_prps}};
    return readContainer(walk, QB_TAG_PROC, children, depth, nbytes);
}

static int read_obje(Walk& walk, int depth, uint32_t nbytes) {
    static constexpr Child children[] = {
        {QB_TAG_NAME, read_name}, {QB_TAG_FNAM, read_fnam}, {QB_TAG_PRPS, read_prps}};
    return readContainer(walk, QB_TAG_OBJE, children, depth, nbytes);
}

static int read_ligh(Walk& walk, int depth, uint32_t nbytes) {
    static constexpr Child children[] = {{QB_TAG_NAME, read_name}, {QB_TAG_PRPS, read_prps}};
    return readContainer(walk, QB_TAG_LIGH, children, depth, nbytes);
}

static int read_came(Walk& walk, int depth, uint32_t nbytes) {
    static constexpr Child children[] = {{QB_TAG_NAME, read_name}, {QB_TAG_PRPS, read_prps}};
    return readContainer(walk, QB_TAG_CAME, children, depth, nbytes);
}

static int read_fxem(Walk& walk, int depth, uint32_t nbytes) {
    static constexpr Child children[] = {{QB_TAG_NAME, read_name}, {QB_TAG_PRPS, read_prps}};
    return readContainer(walk, QB_TAG_FXEM, children, depth, nbytes);
}

static int read_surf(Walk& walk, int depth, uint32_t nbytes) {
    static constexpr Child children[] = {{QB_TAG_NAME, read_name}, {QB_TAG_PRPS, read_prps}};
    return readContainer(walk, QB_TAG_SURF, children, depth, nbytes);
}

static int read_sobj(Walk& walk, int depth, uint32_t nbytes) {
    static constexpr Child children[] = {
        {QB_TAG_NAME, read_name}, {QB_TAG_FNAM, read_fnam}, {QB_TAG_SURF, read_surf}};
    return readContainer(walk, QB_TAG_SOBJ, children, depth, nbytes);
}

static int read_cgrp(Walk& walk, int depth, uint32_t nbytes) {
    static constexpr Child children[] = {
        {QB_TAG_NAME, read_name}, {QB_TAG_CHAN, read_chan}, {QB_TAG_CGRP, read_cgrp}};
    return readContainer(walk, QB_TAG_CGRP, children, depth, nbytes);
}

static int readForm(Walk& walk, uint32_t nbytes) {
    static constexpr Child children[] = {
        {QB_TAG_SCEN, read_scen}, {QB_TAG_BKDR, read_bkdr}, {QB_TAG_PROC, read_proc},
        {QB_TAG_OBJE, read_obje}, {QB_TAG_LIGH, read_ligh}, {QB_TAG_CAME, read_came},
        {QB_TAG_SOBJ, read_sobj}, {QB_TAG_FXEM, read_fxem}, {QB_TAG_CGRP, read_cgrp}};
    return readContainer(walk, QB_TAG_QUAB, children, 0, nbytes);
}

int qbIffReadFile(QbFile* file) {
    const std::span<const uint8_t> image = imageOf(file);
    const long start = image.empty() ? 0 : std::max(qbFileTell(file), 0L);
    const auto form = static_cast<uint32_t>(std::min<size_t>(static_cast<size_t>(start), image.size()));
    if (wordIn(image, form) != QB_TAG_FORM) {
        std::fputs("Not an IFF file (Missing FORM tag)", stderr);
        return -1;
    }
    if (wordIn(image, form + 8) != QB_TAG_QUAB) {
        std::fputs("Not a QUAB scene file (Missing QUAB tag)", stderr);
        return -1;
    }
    const uint32_t size = wordIn(image, form + 4);
    const uint32_t left = static_cast<uint32_t>(image.size()) - form - 8;
    if (size < 4 || size > left)
        return reportDamage(form, "the form says that it has %u bytes, the file holds %u", size, left);
    if (qbIffMode == QB_DUMP_RAW) qbDumpPrint("FORM [%d]\n", static_cast<int32_t>(size));

    Walk walk = {file, image, form + 12};
    if (readForm(walk, size - 4) != 0) return -1;
    qbFileSeek(file, static_cast<long>(walk.position), 0);
    return 0;
}

// Nothing is said of a file that does not open.
static void reportUnread(const char* fileName, int error) {
    if (error == EFBIG)
        qbMessage("%.512s: the file can not be read whole; a scene file has less than 2 GiB", fileName);
    else if (error == ENOMEM)
        qbMessage("%.512s: out of memory", fileName);
    else if (error == ENODATA || error == EIO)
        qbMessage("%.512s: the file can not be read to its end (%s); copy it again", fileName,
                  error == EIO ? std::strerror(error) : "it became shorter meanwhile");
}

QbFile* qbIffLoad(const char* fileName) {
    QbFile* image = qbFileLoad(fileName, "rb");
    if (!image) reportUnread(fileName, errno);
    return image;
}

// --- reading by offsets

const char* qbIffString(const QbFile* file, uint32_t position, uint32_t size) {
    return stringIn(bodyOf(imageOf(file), position, size));
}

uint32_t qbIffWord(const QbFile* file, uint32_t position) {
    return wordIn(imageOf(file), position);
}

// The value behind type and name; empty when there is no name.
static std::span<const uint8_t> propValue(const QbFile* file, uint32_t position, uint32_t size) {
    const std::span<const uint8_t> body = bodyOf(imageOf(file), position, size);
    if (body.size() < 4) return {};
    const size_t offset = 4 + paddedBytes(stringLength(body.subspan(4)));
    return offset <= body.size() ? body.subspan(offset) : std::span<const uint8_t>();
}

const char* qbIffPropName(const QbFile* file, uint32_t position, uint32_t size) {
    const std::span<const uint8_t> body = bodyOf(imageOf(file), position, size);
    return body.size() < 4 ? nullptr : stringIn(body.subspan(4));
}

int32_t qbIffPropInt(const QbFile* file, uint32_t position, uint32_t size, int i) {
    if (i < 0) return 0;
    return static_cast<int32_t>(wordIn(propValue(file, position, size), size_t{4} * static_cast<size_t>(i)));
}

float qbIffPropFloat(const QbFile* file, uint32_t position, uint32_t size, int i) {
    return std::bit_cast<float>(qbIffPropInt(file, position, size, i));
}

const char* qbIffPropString(const QbFile* file, uint32_t position, uint32_t size) {
    return stringIn(propValue(file, position, size));
}

// --- samples

static float sampleIn(uint32_t tag, std::span<const uint8_t> chunk, uint32_t slot) {
    if (tag == QB_TAG_VDAT) return std::bit_cast<float>(wordIn(chunk, 4 + size_t{4} * slot));
    if (tag == QB_TAG_VRUN) return std::bit_cast<float>(wordIn(chunk, 4));
    std::fputs("dumpquab_ext_vals_get_value: Unknown Chunk !\n", stdout);
    return 0.0f;
}

float dumpquab_ext_vals_get_value(const QbFile* file, uint32_t vals, int32_t index) {
    const std::span<const uint8_t> image = imageOf(file);
    if (vals < 2 || vals > image.size() || index < 0) return 0.0f;
    const std::span<const uint8_t> body = bodyOf(image, vals, halfAt(image.data() + vals - 2));
    uint32_t first = 0;
    for (size_t at = 0; body.size() - at >= nestedHeaderBytes + 4;) {
        const uint8_t* header = body.data() + at;
        const uint32_t size = halfAt(header + 4);
        const uint32_t count = wordAt(header + nestedHeaderBytes);
        // Behind such a chunk no sample has a number.
        if (size < 4 || count > std::numeric_limits<int32_t>::max() - first) return 0.0f;
        const auto chunk = body.subspan(at + nestedHeaderBytes)
                               .first(std::min<size_t>(size, body.size() - at - nestedHeaderBytes));
        const uint32_t slot = static_cast<uint32_t>(index) - first;
        if (slot < count) return sampleIn(wordAt(header), chunk, slot);
        first += count;
        at += nestedHeaderBytes + chunk.size();
    }
    return 0.0f;
}
