#pragma once

#include "storage/file.h"

#include <cstdint>

// The scene file: an IFF-like tree of chunks, big-endian.
//
//   offset  0  "FORM"
//           4  u32  form size: bytes behind this field
//           8  "QUAB"
//          12  top-level chunks: tag, u32 size, body
//                nested chunks:  tag, u16 size, body      (at every deeper level)
//
// A size never counts its header, and no pad byte follows a chunk. A string is its bytes, a zero, and one
// more zero when that count is odd.

constexpr uint32_t qbTag(char a, char b, char c, char d) {
    return static_cast<uint32_t>(static_cast<unsigned char>(a)) << 24 |
           static_cast<uint32_t>(static_cast<unsigned char>(b)) << 16 |
           static_cast<uint32_t>(static_cast<unsigned char>(c)) << 8 |
           static_cast<uint32_t>(static_cast<unsigned char>(d));
}

enum : uint32_t {
    QB_TAG_FORM = qbTag('F', 'O', 'R', 'M'),
    QB_TAG_QUAB = qbTag('Q', 'U', 'A', 'B'),
    QB_TAG_SCEN = qbTag('S', 'C', 'E', 'N'),
    QB_TAG_BKDR = qbTag('B', 'K', 'D', 'R'),
    QB_TAG_PROC = qbTag('P', 'R', 'O', 'C'),
    QB_TAG_OBJE = qbTag('O', 'B', 'J', 'E'),
    QB_TAG_LIGH = qbTag('L', 'I', 'G', 'H'),
    QB_TAG_CAME = qbTag('C', 'A', 'M', 'E'),
    QB_TAG_FXEM = qbTag('F', 'X', 'E', 'M'),
    QB_TAG_SOBJ = qbTag('S', 'O', 'B', 'J'),
    QB_TAG_SURF = qbTag('S', 'U', 'R', 'F'),
    QB_TAG_CGRP = qbTag('C', 'G', 'R', 'P'),
    QB_TAG_CHAN = qbTag('C', 'H', 'A', 'N'),
    QB_TAG_VALS = qbTag('V', 'A', 'L', 'S'),
    QB_TAG_VRUN = qbTag('V', 'R', 'U', 'N'),
    QB_TAG_VDAT = qbTag('V', 'D', 'A', 'T'),
    QB_TAG_TYPE = qbTag('T', 'Y', 'P', 'E'),
    QB_TAG_NAME = qbTag('N', 'A', 'M', 'E'),
    QB_TAG_FNAM = qbTag('F', 'N', 'A', 'M'),
    QB_TAG_PRPS = qbTag('P', 'R', 'P', 'S'),
    QB_TAG_PROP = qbTag('P', 'R', 'O', 'P'),
};

// Longest string of a file, without its terminating zero.
enum { QB_STRING_MAX = 255 };

// Value types of a PROP chunk.
enum QbPropType {
    QB_PROP_INT = 1,
    QB_PROP_FLOAT = 2,
    QB_PROP_STRING = 3,
    QB_PROP_FLOAT3 = 4,
    QB_PROP_INT2 = 5,
    QB_PROP_FLOAT2 = 6,
};

// The four letters of a tag; bytes that do not print become '?'.
struct QbTagText {
    char text[5];
};
QbTagText qbTagText(uint32_t tag);

enum {
    // Channel groups nest this deep at most, the top-level ones being at depth 1; deeper ones are passed
    // over.
    QB_GROUP_NESTING_MAX = 256,
    // The deepest parent that a callback is told of: the VALS of a CHAN of such a group.
    QB_PARENT_DEPTH_MAX = QB_GROUP_NESTING_MAX + 2,
};

// What a chunk callback answers.
enum QbChunkAnswer {
    QB_CHUNK_WALK = 0,  // go on, into the chunk's body
    QB_CHUNK_SKIP = 1,  // go on behind the chunk, its children unseen and unchecked; same as WALK in a dump
    QB_CHUNK_STOP = -1, // end the walk with -1; the callback has said why
};

// Called for every chunk of every container after its header was read and before its body is walked: depth
// and tag of the parent (0 and "QUAB" for top-level chunks), tag of the chunk, offset and size of its body.
// The body lies inside the file. The callback does not move the file.
using QbChunkCallback = int (*)(QbFile* file, int depth, uint32_t parent, uint32_t tag, uint32_t position,
                                uint32_t size);
void qbIffSetChunkCallback(QbChunkCallback callback); // null means none

// Walks one form of a memory file from its current position, printing through scene/format/dump.h, and leaves
// the file behind the form. 0, or -1 when the file is no scene or is damaged: a message names the file and
// the offset. A NAME, FNAM or PROP whose content disagrees with its size ends the process with status 1.
int qbIffReadFile(QbFile* file);

// As qbFileLoad, for a file that is to be walked. Null on failure: in silence when the file does not open,
// with a message when it opens and can not be read or held whole (2 GiB and more).
QbFile* qbIffLoad(const char* fileName);

// Name under which messages about damage speak of the file being walked; null for none. Not copied.
void qbIffSetFileName(const char* fileName);

// What the three size errors call after printing; the state at start, and null, end the process with
// status 1. A replacement that returns makes the walk end with -1.
using QbFatalHandler = void (*)(int status);
void qbIffSetFatalHandler(QbFatalHandler handler);

// Reading an image by offsets, for callbacks and evaluation. `position` is a body offset as the callback got
// it, and `size` that body's size; what lies outside the body or the image reads as 0, 0.0 or null. Strings
// live as long as the image; a string without its zero inside the body is null.

const char* qbIffString(const QbFile* file, uint32_t position, uint32_t size); // NAME, FNAM
uint32_t qbIffWord(const QbFile* file, uint32_t position);                     // 0 outside the image
const char* qbIffPropName(const QbFile* file, uint32_t position, uint32_t size);
// Word i of the value.
int32_t qbIffPropInt(const QbFile* file, uint32_t position, uint32_t size, int i);
float qbIffPropFloat(const QbFile* file, uint32_t position, uint32_t size, int i);
const char* qbIffPropString(const QbFile* file, uint32_t position, uint32_t size);

// Value of one sample of a channel, by its number from 0, from the offset of its VALS body. 0.0 past the last
// sample, for a negative number and where the chunks are damaged. A foreign chunk prints a line on the
// standard output and gives 0.0. Walks the channel from its start.
float dumpquab_ext_vals_get_value(const QbFile* file, uint32_t vals, int32_t index);
