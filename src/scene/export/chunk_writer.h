#pragma once

#include "scene/format/container.h"

#include <cstdint>
#include <string>
#include <vector>

// Builds the bytes of one form, chunk by chunk. The first thing that does not fit is kept as `error`, with
// the place where it happened in the user's terms; what is written afterwards is of no use.
struct QbChunkWriter {
    std::vector<uint8_t> bytes;
    std::vector<size_t> open;       // offsets of the headers of the chunks being written, the form first
    std::vector<std::string> place; // `object "room"`, `channel "Position.X"`: outermost first
    std::string error;
};

enum { QB_CHUNK_SIZE_MAX = 65535 }; // body of a chunk below the top level

void qbChunkFail(QbChunkWriter& writer, const std::string& reason);

void qbFormBegin(QbChunkWriter& writer);
void qbFormEnd(QbChunkWriter& writer);
void qbChunkBegin(QbChunkWriter& writer, uint32_t tag);
void qbChunkEnd(QbChunkWriter& writer);

void qbChunkWord(QbChunkWriter& writer, uint32_t word);
void qbChunkFloat(QbChunkWriter& writer, float value);
// `what` names the string in the message when it does not fit.
void qbChunkString(QbChunkWriter& writer, const std::string& text, const char* what);

// A chunk of one string; nothing for an empty one.
void qbChunkStringChunk(QbChunkWriter& writer, uint32_t tag, const std::string& text);
void qbChunkPropInt(QbChunkWriter& writer, const char* name, int32_t value);
void qbChunkPropInt2(QbChunkWriter& writer, const char* name, const int32_t* values);
// One to three floats, `count` of them.
void qbChunkPropFloats(QbChunkWriter& writer, const char* name, const float* values, size_t count);
void qbChunkPropString(QbChunkWriter& writer, const char* name, const std::string& text);

// One whole CHAN: a value for each of `frames`, from one sample or from as many.
void qbChunkChannel(QbChunkWriter& writer, const std::string& name, uint32_t type,
                    const std::vector<float>& samples, size_t frames);

// Names the place that is being written while it lives.
struct QbChunkPlace {
    QbChunkPlace(QbChunkWriter& owner, const char* kind, const std::string& name);
    ~QbChunkPlace();
    QbChunkPlace(const QbChunkPlace&) = delete;
    QbChunkPlace& operator=(const QbChunkPlace&) = delete;
    QbChunkWriter& writer;
};
