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

uint32_t samplesHeld(uint32_t tag, uint32_t count, uint32_t valueBytes) {
    if (tag == QB_TAG_VDAT) return std::min(count, valueBytes / VALUE_SIZE);
    return tag == QB_TAG_VRUN && valueBytes >= VALUE_SIZE ? count : 0;
}

uint32_t samplesCounted(const uint8_t* body, const QbChannelPlace& place) {
    return place.values ? readWord(body + place.values - CHUNK_COUNT) : 0;
}

void standAt(const uint8_t* body, QbChannelPlace& place, uint32_t header, uint32_t first) {
    const uint32_t tag = readWord(body + header);
    const uint32_t count = readWord(body + header + CHUNK_HEADER);
    const uint32_t values = header + CHUNK_HEADER + CHUNK_COUNT;
    const uint32_t next = std::min<uint32_t>(header + CHUNK_HEADER + readHalf(body + header + 4), place.end);
    place.first = first;
    place.held = samplesHeld(tag, count, next - values);
    place.values = static_cast<uint16_t>(values);
    place.stride = tag == QB_TAG_VDAT ? VALUE_SIZE : 0;
    place.next = static_cast<uint16_t>(next);
}

// Moves the place forward to the chunk of a sample, or to the last chunk when there is no such sample. A
// chunk whose count is missing or impossible ends the channel: the samples behind it can not be numbered.
bool walkForward(const uint8_t* body, QbChannelPlace& place, uint32_t index) {
    uint32_t first = place.first, count = samplesCounted(body, place);
    uint32_t header = 0, next = place.next;
    bool moved = false;
    while (index - first >= count && place.end - next >= CHUNK_HEADER + CHUNK_COUNT) {
        const uint32_t size = readHalf(body + next + 4);
        const uint32_t samples = readWord(body + next + CHUNK_HEADER);
        if (size < CHUNK_COUNT || samples > SAMPLES_MAX - (first + count)) break;
        first += count;
        count = samples;
        header = next;
        next = std::min<uint32_t>(next + CHUNK_HEADER + size, place.end);
        moved = true;
    }
    if (moved) standAt(body, place, header, first);
    return index - first < count;
}

inline bool holds(const QbChannelPlace& place, uint32_t index) {
    return index - place.first < place.held;
}

inline float heldValue(const uint8_t* body, const QbChannelPlace& place, uint32_t index) {
    return std::bit_cast<float>(readWord(body + place.values + (index - place.first) * place.stride));
}

void reportMissing(const uint8_t* body, const QbChannelPlace& place) {
    const uint32_t tag = readWord(body + place.values - CHUNK_COUNT - CHUNK_HEADER);
    if (tag != QB_TAG_VRUN && tag != QB_TAG_VDAT)
        std::fputs("dumpquab_ext_vals_get_value: Unknown Chunk !\n", stdout);
}

// A sample outside the remembered chunk. False, and 0.0, when the channel has no value for it.
[[gnu::noinline]] bool seekValue(const qbMemoryFile& image, const QbChannelRef& channel, uint32_t index,
                                 float& value) {
    QbChannelPlace& place = channel.place;
    value = 0.0f;
    if (index > SAMPLES_MAX) return false;
    if (place.end == 0 || index < place.first) {
        place = {};
        place.end = bodySize(image, channel.vals);
        if (place.end == 0) return false;
    }
    const uint8_t* body = image.data + channel.vals;
    if (!walkForward(body, place, index)) return false;
    if (!holds(place, index)) return reportMissing(body, place), false;
    value = heldValue(body, place, index);
    return true;
}

inline bool fetch(const qbMemoryFile& image, const QbChannelRef& channel, uint32_t index, float& value) {
    if (!holds(channel.place, index)) return seekValue(image, channel, index, value);
    value = heldValue(image.data + channel.vals, channel.place, index);
    return true;
}

// Two neighbours. In play they are mostly those of the frame before, or lie one further.
inline void fetchPair(const qbMemoryFile& image, const QbChannelRef& channel, uint32_t first,
                      float& firstValue, float& secondValue) {
    QbChannelPlace& place = channel.place;
    bool isFirstThere = true;
    if (place.pair == first + 1) {
        firstValue = place.firstValue;
        secondValue = place.secondValue;
        return;
    }
    if (place.pair != 0 && place.pair == first)
        firstValue = place.secondValue;
    else
        isFirstThere = fetch(image, channel, first, firstValue);
    const bool isSecondThere = fetch(image, channel, first + 1, secondValue);
    place.pair = isFirstThere && isSecondThere ? first + 1 : 0;
    place.firstValue = firstValue;
    place.secondValue = secondValue;
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
    float first, second;
    if (pair.second == pair.first) {
        fetch(image, channel, static_cast<uint32_t>(pair.first), first);
        return first;
    }
    fetchPair(image, channel, static_cast<uint32_t>(pair.first), first, second);
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
    float value = 0.0f;
    if (channel->vals) fetch(imageOf(scene), *channel, static_cast<uint32_t>(index), value);
    return value;
}

void qbChannelSamplePair(const QbScene* scene, const QbChannelRef* channel, int32_t first, int32_t second,
                         float* firstValue, float* secondValue) {
    if (first >= 0 && second == first + 1 && channel->vals) {
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
