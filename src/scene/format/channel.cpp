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

struct Chunk {
    uint32_t tag;
    uint32_t count;
    uint32_t values; // offsets in the body
    uint32_t next;
};

struct Sample {
    float value; // 0.0 where the channel has none
    bool isThere;
};

// False at the end of the body, and for a chunk too small for its count.
inline bool readChunk(const uint8_t* body, uint32_t at, uint32_t end, Chunk& chunk) {
    if (end - at < CHUNK_HEADER + CHUNK_COUNT) return false;
    const uint32_t size = readHalf(body + at + 4);
    chunk.tag = readWord(body + at);
    chunk.count = readWord(body + at + CHUNK_HEADER);
    chunk.values = at + CHUNK_HEADER + CHUNK_COUNT;
    chunk.next = std::min(at + CHUNK_HEADER + size, end);
    return size >= CHUNK_COUNT;
}

// Without branches: whether a literal or a run comes next can not be foreseen, and in a channel of many
// chunks a wrong guess costs more than all else.
inline void standAt(QbChannelPlace& place, const Chunk& chunk, uint32_t first) {
    const uint32_t valueBytes = chunk.next - chunk.values;
    const uint32_t isLiteral = chunk.tag == QB_TAG_VDAT;
    const uint32_t isRun = (chunk.tag == QB_TAG_VRUN) & (valueBytes >= VALUE_SIZE);
    place.first = first;
    place.held = std::min(chunk.count, valueBytes / VALUE_SIZE * isLiteral | (0 - isRun));
    place.values = static_cast<uint16_t>(chunk.values);
    place.stride = static_cast<uint16_t>(VALUE_SIZE * isLiteral);
    place.next = static_cast<uint16_t>(chunk.next);
}

inline bool holds(const QbChannelPlace& place, uint32_t index) {
    return index - place.first < place.held;
}

inline float heldValue(const uint8_t* body, const QbChannelPlace& place, uint32_t index) {
    return std::bit_cast<float>(readWord(body + place.values + (index - place.first) * place.stride));
}

uint32_t samplesCounted(const uint8_t* body, const QbChannelPlace& place) {
    return place.values ? readWord(body + place.values - CHUNK_COUNT) : 0;
}

void reportMissing(const uint8_t* body, const QbChannelPlace& place) {
    const uint32_t tag = readWord(body + place.values - CHUNK_COUNT - CHUNK_HEADER);
    if (tag != QB_TAG_VRUN && tag != QB_TAG_VDAT)
        std::fputs("dumpquab_ext_vals_get_value: Unknown Chunk !\n", stdout);
}

// Moves the place forward to the chunk of a sample, or to the last chunk when there is no such sample. A
// count that is missing or impossible ends the channel: the samples behind it can not be numbered.
bool walkForward(const uint8_t* body, QbChannelPlace& place, uint32_t index) {
    uint32_t first = place.first;
    uint32_t count = samplesCounted(body, place);
    if (index - first < count) return true;
    uint32_t at = place.next;
    uint32_t last = 0, lastFirst = 0;
    Chunk chunk;
    while (readChunk(body, at, place.end, chunk) && chunk.count <= SAMPLES_MAX - (first + count)) {
        first += count;
        count = chunk.count;
        if (index - first < count) return standAt(place, chunk, first), true;
        last = at + 1;
        lastFirst = first;
        at = chunk.next;
    }
    if (last != 0 && readChunk(body, last - 1, place.end, chunk)) standAt(place, chunk, lastFirst);
    return false;
}

[[gnu::cold, gnu::noinline]] bool rewind(const qbMemoryFile& image, const QbChannelRef& channel) {
    channel.place = {};
    channel.place.end = bodySize(image, channel.vals);
    return channel.place.end != 0;
}

// A sample outside the remembered chunk, or without a value in it.
[[gnu::noinline]] Sample seekSample(const qbMemoryFile& image, const QbChannelRef& channel, uint32_t index) {
    QbChannelPlace& place = channel.place;
    if (index > SAMPLES_MAX) return {0.0f, false};
    if ((place.end == 0 || index < place.first) && !rewind(image, channel)) return {0.0f, false};
    const uint8_t* body = image.data + channel.vals;
    if (!walkForward(body, place, index)) return {0.0f, false};
    if (!holds(place, index)) return reportMissing(body, place), Sample{0.0f, false};
    return {heldValue(body, place, index), true};
}

inline Sample fetch(const qbMemoryFile& image, const QbChannelRef& channel, uint32_t index) {
    if (!holds(channel.place, index)) return seekSample(image, channel, index);
    return {heldValue(image.data + channel.vals, channel.place, index), true};
}

// Two neighbours, left in the place. In play they are mostly those of the frame before, or lie one further.
inline void fetchPair(const qbMemoryFile& image, const QbChannelRef& channel, uint32_t index) {
    QbChannelPlace& place = channel.place;
    if (place.pair == index + 1) return;
    const bool isNext = place.pair != 0 && place.pair == index;
    const Sample first = isNext ? Sample{place.secondValue, true} : fetch(image, channel, index);
    const Sample second = fetch(image, channel, index + 1);
    place.pair = first.isThere && second.isThere ? index + 1 : 0;
    place.firstValue = first.value;
    place.secondValue = second.value;
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
    if (!(blend > 0.0f) || low == last) return {low, low, 0.0f};
    return {low, low + 1, blend};
}

inline float blendedValue(const qbMemoryFile& image, const QbChannelRef& channel, const SamplePair& pair) {
    const auto first = static_cast<uint32_t>(pair.first);
    if (pair.second == pair.first) return fetch(image, channel, first).value;
    fetchPair(image, channel, first);
    return (1.0f - pair.blend) * channel.place.firstValue + pair.blend * channel.place.secondValue;
}

} // namespace

void qbChannelSampleTime(const QbScene* scene, float time, int32_t* first, int32_t* second, float* blend) {
    const SamplePair pair = samplePair(scene, time);
    *first = pair.first;
    *second = pair.second;
    *blend = pair.blend;
}

float qbChannelSample(const QbScene* scene, const QbChannelRef* channel, int32_t index) {
    return channel->vals ? fetch(imageOf(scene), *channel, static_cast<uint32_t>(index)).value : 0.0f;
}

void qbChannelSamplePair(const QbScene* scene, const QbChannelRef* channel, int32_t first, int32_t second,
                         float* firstValue, float* secondValue) {
    if (first < 0 || second != first + 1 || !channel->vals) {
        *firstValue = qbChannelSample(scene, channel, first);
        *secondValue = second == first ? *firstValue : qbChannelSample(scene, channel, second);
        return;
    }
    fetchPair(imageOf(scene), *channel, static_cast<uint32_t>(first));
    *firstValue = channel->place.firstValue;
    *secondValue = channel->place.secondValue;
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
