#include "scene/export/chunk_writer.h"

#include <bit>
#include <cmath>

// A shorter run costs more as a chunk of its own than as literals.
enum { RUN_MIN = 4 };

void qbChunkFail(QbChunkWriter& writer, const std::string& reason) {
    if (!writer.error.empty()) return;
    for (const std::string& part : writer.place)
        writer.error += part + ": ";
    writer.error += reason;
}

QbChunkPlace::QbChunkPlace(QbChunkWriter& owner, const char* kind, const std::string& name) : writer(owner) {
    writer.place.push_back(std::string(kind) + " \"" + name + "\"");
}

QbChunkPlace::~QbChunkPlace() {
    writer.place.pop_back();
}

static uint32_t wordAt(const QbChunkWriter& writer, size_t offset) {
    uint32_t word = 0;
    for (size_t i = 0; i < 4; i++)
        word = word << 8 | writer.bytes[offset + i];
    return word;
}

static void setBigEndian(QbChunkWriter& writer, size_t offset, size_t value, size_t width) {
    for (size_t i = 0; i < width; i++)
        writer.bytes[offset + i] = static_cast<uint8_t>(value >> 8 * (width - 1 - i));
}

void qbChunkWord(QbChunkWriter& writer, uint32_t word) {
    for (int shift = 24; shift >= 0; shift -= 8)
        writer.bytes.push_back(static_cast<uint8_t>(word >> shift));
}

void qbChunkFloat(QbChunkWriter& writer, float value) {
    qbChunkWord(writer, std::bit_cast<uint32_t>(value));
}

void qbFormBegin(QbChunkWriter& writer) {
    qbChunkBegin(writer, QB_TAG_FORM);
    qbChunkWord(writer, QB_TAG_QUAB);
}

void qbFormEnd(QbChunkWriter& writer) {
    qbChunkEnd(writer);
}

// The form and its direct children have sizes of 32 bits, everything below has 16.
static size_t sizeWidth(size_t depth) {
    return depth < 2 ? 4 : 2;
}

void qbChunkBegin(QbChunkWriter& writer, uint32_t tag) {
    size_t width = sizeWidth(writer.open.size());
    writer.open.push_back(writer.bytes.size());
    qbChunkWord(writer, tag);
    writer.bytes.insert(writer.bytes.end(), width, 0);
}

void qbChunkEnd(QbChunkWriter& writer) {
    size_t header = writer.open.back();
    writer.open.pop_back();
    size_t width = sizeWidth(writer.open.size());
    size_t size = writer.bytes.size() - header - 4 - width;
    size_t limit = width == 2 ? size_t{QB_CHUNK_SIZE_MAX} : size_t{INT32_MAX};
    if (size > limit)
        qbChunkFail(writer, std::string("chunk ") + qbTagText(wordAt(writer, header)).text + " takes " +
                                std::to_string(size) + " bytes, at most " + std::to_string(limit) +
                                " fit: use fewer frames, or split it up");
    setBigEndian(writer, header + 4, size, width);
}

void qbChunkString(QbChunkWriter& writer, const std::string& text, const char* what) {
    if (text.size() > QB_STRING_MAX)
        qbChunkFail(writer, std::string(what) + " has " + std::to_string(text.size()) +
                                " characters, at most " + std::to_string(QB_STRING_MAX) + " fit");
    if (text.find('\0') != std::string::npos) qbChunkFail(writer, std::string(what) + " holds a zero byte");
    writer.bytes.insert(writer.bytes.end(), text.begin(), text.end());
    writer.bytes.insert(writer.bytes.end(), text.size() % 2 == 0 ? 2 : 1, 0);
}

void qbChunkStringChunk(QbChunkWriter& writer, uint32_t tag, const std::string& text) {
    if (text.empty()) return;
    qbChunkBegin(writer, tag);
    qbChunkString(writer, text, tag == QB_TAG_FNAM ? "file name" : "name");
    qbChunkEnd(writer);
}

static void propBegin(QbChunkWriter& writer, QbPropType type, const char* name) {
    qbChunkBegin(writer, QB_TAG_PROP);
    qbChunkWord(writer, type);
    qbChunkString(writer, name, "property name");
}

void qbChunkPropInt(QbChunkWriter& writer, const char* name, int32_t value) {
    propBegin(writer, QB_PROP_INT, name);
    qbChunkWord(writer, static_cast<uint32_t>(value));
    qbChunkEnd(writer);
}

void qbChunkPropInt2(QbChunkWriter& writer, const char* name, const int32_t* values) {
    propBegin(writer, QB_PROP_INT2, name);
    qbChunkWord(writer, static_cast<uint32_t>(values[0]));
    qbChunkWord(writer, static_cast<uint32_t>(values[1]));
    qbChunkEnd(writer);
}

void qbChunkPropFloats(QbChunkWriter& writer, const char* name, const float* values, size_t count) {
    propBegin(writer, count == 1 ? QB_PROP_FLOAT : count == 2 ? QB_PROP_FLOAT2 : QB_PROP_FLOAT3, name);
    for (size_t i = 0; i < count; i++) {
        if (!std::isfinite(values[i]))
            qbChunkFail(writer, "\"" + std::string(name) + "\" is not a finite number");
        qbChunkFloat(writer, values[i]);
    }
    qbChunkEnd(writer);
}

void qbChunkPropString(QbChunkWriter& writer, const char* name, const std::string& text) {
    propBegin(writer, QB_PROP_STRING, name);
    qbChunkString(writer, text, ("\"" + std::string(name) + "\"").c_str());
    qbChunkEnd(writer);
}

// By bits: 0.0 and -0.0 are equal numbers and different samples.
static size_t runLength(const std::vector<float>& samples, size_t first) {
    size_t last = first;
    while (last < samples.size() &&
           std::bit_cast<uint32_t>(samples[last]) == std::bit_cast<uint32_t>(samples[first]))
        last++;
    return last - first;
}

static void writeRun(QbChunkWriter& writer, float value, size_t count) {
    qbChunkBegin(writer, QB_TAG_VRUN);
    qbChunkWord(writer, static_cast<uint32_t>(count));
    qbChunkFloat(writer, value);
    qbChunkEnd(writer);
}

static void writeLiterals(QbChunkWriter& writer, const std::vector<float>& samples, size_t first,
                          size_t count) {
    if (count == 0) return;
    qbChunkBegin(writer, QB_TAG_VDAT);
    qbChunkWord(writer, static_cast<uint32_t>(count));
    for (size_t i = 0; i < count; i++)
        qbChunkFloat(writer, samples[first + i]);
    qbChunkEnd(writer);
}

static void writeValues(QbChunkWriter& writer, const std::vector<float>& samples) {
    size_t literals = 0; // first sample that is not written yet
    size_t position = 0;
    while (position < samples.size()) {
        size_t run = runLength(samples, position);
        if (run >= RUN_MIN || run == samples.size()) {
            writeLiterals(writer, samples, literals, position - literals);
            writeRun(writer, samples[position], run);
            literals = position + run;
        }
        position += run;
    }
    writeLiterals(writer, samples, literals, samples.size() - literals);
}

static bool checkSamples(QbChunkWriter& writer, const std::vector<float>& samples, size_t frames) {
    if (samples.size() != 1 && samples.size() != frames) {
        qbChunkFail(writer, std::to_string(samples.size()) + " samples, the scene has " +
                                std::to_string(frames) + " frames: give one for each, or a single one");
        return false;
    }
    for (size_t i = 0; i < samples.size(); i++) {
        if (std::isfinite(samples[i])) continue;
        qbChunkFail(writer, "sample " + std::to_string(i) + " is not a finite number");
        return false;
    }
    return true;
}

void qbChunkChannel(QbChunkWriter& writer, const std::string& name, uint32_t type,
                    const std::vector<float>& samples, size_t frames) {
    QbChunkPlace place(writer, "channel", name);
    if (!checkSamples(writer, samples, frames)) return;
    qbChunkBegin(writer, QB_TAG_CHAN);
    qbChunkStringChunk(writer, QB_TAG_NAME, name);
    qbChunkBegin(writer, QB_TAG_TYPE);
    qbChunkWord(writer, type);
    qbChunkEnd(writer);
    qbChunkBegin(writer, QB_TAG_VALS);
    if (samples.size() == 1)
        writeRun(writer, samples[0], frames);
    else
        writeValues(writer, samples);
    qbChunkEnd(writer);
    qbChunkEnd(writer);
}
