#include "scene/format/channel.h"

#include "scene/format/container.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <limits>

namespace {

//   VRUN, VDAT:  tag, u16 size, u32 count, values
constexpr uint32_t CHUNK_HEADER = 6;
constexpr uint32_t CHUNK_COUNT = 4;
constexpr uint32_t VALUE_SIZE = 4;

// Samples that a channel can number.
constexpr uint32_t SAMPLES_MAX = 0x7fffffff;

// The largest sample number that a float holds and a signed integer too.
constexpr int64_t LAST_SAMPLE_MAX = 0x7fffff80;

struct SamplePair {
    int32_t first, second;
    float blend;
};

uint32_t readHalf(const uint8_t* at) {
    return static_cast<uint32_t>(at[0]) << 8 | at[1];
}

uint32_t readWord(const uint8_t* at) {
    return static_cast<uint32_t>(at[0]) << 24 | static_cast<uint32_t>(at[1]) << 16 |
           static_cast<uint32_t>(at[2]) << 8 | at[3];
}

// Evaluation reads the record itself: a call for each fetch would cost as much as the fetch.
const qbMemoryFile& imageOf(const QbScene* scene) {
    return *static_cast<const qbMemoryFile*>(scene->file->handle);
}

// The size in front of a VALS body, as far as the image reaches.
uint16_t bodySize(const qbMemoryFile& image, uint32_t vals) {
    const auto size = static_cast<uint32_t>(image.size);
    if (vals < 2 || vals > size) return 0;
    return static_cast<uint16_t>(std::min(readHalf(image.data + vals - 2), size - vals));
}

// The chunk of a place, in registers.
struct Cursor {
    uint32_t first, count, held, values, stride, next;
};

// Values copied at once: most chunks of a channel with many chunks are no longer.
constexpr uint32_t LANES = 4;

Cursor cursorOf(const QbChannelPlace& place) {
    return {place.first, place.count, place.held, place.values, place.stride, place.next};
}

void keepCursor(QbChannelPlace& place, const Cursor& cursor) {
    place.first = cursor.first;
    place.count = cursor.count;
    place.held = cursor.held;
    place.values = static_cast<uint16_t>(cursor.values);
    place.next = static_cast<uint16_t>(cursor.next);
    place.stride = static_cast<uint8_t>(cursor.stride);
}

// Goes on to the chunk behind. False, and the cursor stays, at the end of the body and at a chunk whose count
// is missing or impossible: the samples behind it can not be numbered. Tells literals from runs without
// branches: which comes next can not be foreseen, and a wrong guess costs more than all else here.
inline bool enterNextChunk(const uint8_t* body, uint32_t end, Cursor& cursor) {
    const uint32_t at = cursor.next;
    if (end - at < CHUNK_HEADER + CHUNK_COUNT) return false;
    const uint32_t tag = readWord(body + at);
    const uint32_t size = readHalf(body + at + 4);
    const uint32_t count = readWord(body + at + CHUNK_HEADER);
    const uint32_t first = cursor.first + cursor.count;
    if (size < CHUNK_COUNT || count > SAMPLES_MAX - first) return false;

    cursor.first = first;
    cursor.count = count;
    cursor.values = at + CHUNK_HEADER + CHUNK_COUNT;
    cursor.next = std::min(at + CHUNK_HEADER + size, end);
    const uint32_t valueBytes = cursor.next - cursor.values;
    const uint32_t isLiteral = tag == QB_TAG_VDAT;
    const uint32_t isRun = (tag == QB_TAG_VRUN) & (valueBytes >= VALUE_SIZE);
    cursor.held = std::min(count, valueBytes / VALUE_SIZE * isLiteral | (0 - isRun));
    cursor.stride = VALUE_SIZE * isLiteral;
    return true;
}

// Writes `count` values, and up to LANES - 1 more that mean nothing.
inline void copyValues(float* to, const uint8_t* from, uint32_t stride, uint32_t count, uint32_t bytesLeft) {
    uint32_t i = 0;
    if (bytesLeft >= LANES * VALUE_SIZE)
        for (; i < LANES; i++)
            to[i] = std::bit_cast<float>(readWord(from + i * stride));
    for (; i < count; i++)
        to[i] = std::bit_cast<float>(readWord(from + i * stride));
}

// Adds samples to a window from a numbered one on, up to its end or to the first sample without a value;
// returns how many the window holds then. The cursor goes along.
inline uint32_t fillWindow(const uint8_t* body, uint32_t end, Cursor& cursor, uint32_t index, float* window,
                           uint32_t filled) {
    while (filled < QB_CHANNEL_WINDOW) {
        const uint32_t offset = index - cursor.first;
        if (offset < cursor.held) {
            const uint32_t count = std::min(cursor.held - offset, QB_CHANNEL_WINDOW - filled);
            const uint32_t at = cursor.values + offset * cursor.stride;
            copyValues(window + filled, body + at, cursor.stride, count, end - at);
            filled += count;
            index += count;
        } else if (offset < cursor.count || !enterNextChunk(body, end, cursor)) {
            break;
        }
    }
    return filled;
}

// Moves the window so that it begins with a sample, and empties it when the channel has no value for that
// one.
[[gnu::noinline]] void moveWindow(const qbMemoryFile& image, const QbChannelRef& channel, uint32_t index) {
    QbChannelPlace& place = channel.place;
    if (place.end == 0) place.end = bodySize(image, channel.vals);
    if (place.end == 0 || index > SAMPLES_MAX) {
        place.windowCount = 0;
        return;
    }

    float window[QB_CHANNEL_WINDOW + LANES] = {};
    uint32_t kept = 0;
    const uint32_t slot = index - place.windowFirst;
    if (slot < place.windowCount) {
        kept = place.windowCount - slot;
        std::copy_n(place.window + slot, kept, window);
    }
    // The cursor is at the window's end: what lies before it is found again from the start of the body.
    const bool isBehind = kept == 0 && index < place.first;
    Cursor cursor = isBehind ? Cursor{} : cursorOf(place);
    const uint8_t* body = image.data + channel.vals;
    const uint32_t filled = fillWindow(body, place.end, cursor, index + kept, window, kept);
    keepCursor(place, cursor);
    place.windowFirst = index;
    place.windowCount = static_cast<uint8_t>(filled);
    std::copy_n(window, QB_CHANNEL_WINDOW, place.window);
}

// A foreign chunk still begins with a count, and is heard of when one of its samples is asked for.
void reportMissing(const qbMemoryFile& image, const QbChannelRef& channel, uint32_t index) {
    const QbChannelPlace& place = channel.place;
    if (index - place.first >= place.count) return;
    const uint32_t tag = readWord(image.data + channel.vals + place.values - CHUNK_COUNT - CHUNK_HEADER);
    if (tag != QB_TAG_VRUN && tag != QB_TAG_VDAT)
        std::fputs("dumpquab_ext_vals_get_value: Unknown Chunk !\n", stdout);
}

inline float fetch(const qbMemoryFile& image, const QbChannelRef& channel, uint32_t index) {
    const QbChannelPlace& place = channel.place;
    if (index - place.windowFirst >= place.windowCount) moveWindow(image, channel, index);
    if (index - place.windowFirst < place.windowCount) return place.window[index - place.windowFirst];
    reportMissing(image, channel, index);
    return 0.0f;
}

inline bool holdsPair(const QbChannelPlace& place, uint32_t index) {
    const uint32_t slot = index - place.windowFirst;
    return slot < place.windowCount && slot + 1 < place.windowCount;
}

inline SamplePair samplePair(const QbScene* scene, float time) {
    const QbSceneGlobals& globals = *scene->globals;
    const int64_t span = static_cast<int64_t>(globals.frameEnd) - globals.frameStart;
    const auto last = static_cast<int32_t>(std::clamp<int64_t>(span, 0, LAST_SAMPLE_MAX));
    const auto end = static_cast<float>(last);
    auto t = static_cast<float>(static_cast<double>(globals.framesPerSecond) * time / 1000.0);
    if (!(t > 0.0f)) t = 0.0f; // NaN as well
    if (t > end) t = end;

    const int32_t low = std::min(static_cast<int32_t>(t), last);
    const float blend = t - static_cast<float>(low);
    if (!(blend > 0.0f)) return {low, low, 0.0f};
    return {low, low + 1, blend};
}

// A sample and the one behind it.
[[gnu::always_inline]] inline void fetchPair(const qbMemoryFile& image, const QbChannelRef& channel,
                                             uint32_t index, float& first, float& second) {
    const QbChannelPlace& place = channel.place;
    if (!holdsPair(place, index)) moveWindow(image, channel, index);
    if (holdsPair(place, index)) {
        const float* at = place.window + (index - place.windowFirst);
        first = at[0];
        second = at[1];
        return;
    }
    first = fetch(image, channel, index);
    second = fetch(image, channel, index + 1);
}

inline float blendedValue(const qbMemoryFile& image, const QbChannelRef& channel, const SamplePair& pair) {
    const auto index = static_cast<uint32_t>(pair.first);
    if (pair.second == pair.first) return fetch(image, channel, index);
    float first, second;
    fetchPair(image, channel, index, first, second);
    return (1.0f - pair.blend) * first + pair.blend * second;
}

} // namespace

void qbChannelSampleTime(const QbScene* scene, float time, int32_t* first, int32_t* second, float* blend) {
    const SamplePair pair = samplePair(scene, time);
    *first = pair.first;
    *second = pair.second;
    *blend = pair.blend;
}

float qbChannelSample(const QbScene* scene, const QbChannelRef* channel, int32_t index) {
    return channel->vals ? fetch(imageOf(scene), *channel, static_cast<uint32_t>(index)) : 0.0f;
}

void qbChannelSamplePair(const QbScene* scene, const QbChannelRef* channel, int32_t first, int32_t second,
                         float* firstValue, float* secondValue) {
    if (channel->vals && second == first + 1) {
        fetchPair(imageOf(scene), *channel, static_cast<uint32_t>(first), *firstValue, *secondValue);
        return;
    }
    *firstValue = qbChannelSample(scene, channel, first);
    *secondValue = second == first ? *firstValue : qbChannelSample(scene, channel, second);
}

float qbChannelValue(const QbScene* scene, const QbChannelRef* channel, float time) {
    return channel->vals ? blendedValue(imageOf(scene), *channel, samplePair(scene, time)) : 0.0f;
}

float* qbChannelVector(float* out, const QbScene* scene, const QbChannelRef* channels, float time) {
    const SamplePair pair = samplePair(scene, time);
    for (int i = 0; i < 3; i++)
        out[i] = channels[i].vals ? blendedValue(imageOf(scene), channels[i], pair) : 0.0f;
    return out;
}

int32_t qbTruncate(float value) {
    constexpr float limit = 2147483648.0f;
    if (value != value) return 0;
    if (value >= limit) return std::numeric_limits<int32_t>::max();
    if (value < -limit) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(value);
}

float qbParamFloat(const QbScene* scene, const QbSurfaceParam* param, float time) {
    return param->channels[0].vals ? qbChannelValue(scene, &param->channels[0], time) : param->color[0];
}

int32_t qbParamInt(const QbScene* scene, const QbSurfaceParam* param, float time) {
    return param->channels[0].vals ? qbTruncate(qbChannelValue(scene, &param->channels[0], time))
                                   : param->integer;
}

float* qbParamVector(float* out, const QbScene* scene, const QbSurfaceParam* param, float time) {
    if (param->channels[0].vals) return qbChannelVector(out, scene, param->channels, time);
    std::copy_n(param->color, 3, out);
    return out;
}
