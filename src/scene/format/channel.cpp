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

// Goes on to the chunk behind the place. False, and the place stays, at the end of the body and at a chunk
// whose count is missing or impossible: the samples behind it can not be numbered.
inline bool stepChunk(const uint8_t* body, QbChannelPlace& place) {
    const uint32_t at = place.next;
    if (place.end - at < CHUNK_HEADER + CHUNK_COUNT) return false;
    const uint32_t size = readHalf(body + at + 4);
    const uint32_t count = readWord(body + at + CHUNK_HEADER);
    const uint32_t first = static_cast<uint32_t>(place.first) + place.count;
    if (size < CHUNK_COUNT || count > static_cast<uint32_t>(std::numeric_limits<int32_t>::max()) - first)
        return false;

    const uint32_t tag = readWord(body + at);
    const uint32_t values = at + CHUNK_HEADER + CHUNK_COUNT;
    const uint32_t next = std::min<uint32_t>(at + CHUNK_HEADER + size, place.end);
    place.first = static_cast<int32_t>(first);
    place.count = count;
    place.held = samplesHeld(tag, count, next - values);
    place.values = static_cast<uint16_t>(values);
    place.stride = tag == QB_TAG_VDAT ? VALUE_SIZE : 0;
    place.next = static_cast<uint16_t>(next);
    return true;
}

// Moves the place forward to the chunk of a sample, from the start of the body when the sample lies behind.
bool seekSample(const qbMemoryFile& image, uint32_t vals, QbChannelPlace& place, int32_t index) {
    if (index < 0) return false;
    if (place.end == 0 || index < place.first) {
        place = {};
        place.end = bodySize(image, vals);
        if (place.end == 0) return false;
    }
    while (static_cast<uint32_t>(index - place.first) >= place.count)
        if (!stepChunk(image.data + vals, place)) return false;
    return true;
}

inline bool holds(const QbChannelPlace& place, int32_t index) {
    return static_cast<uint32_t>(index) - static_cast<uint32_t>(place.first) < place.held;
}

inline float heldValue(const uint8_t* body, const QbChannelPlace& place, int32_t index) {
    const auto slot = static_cast<uint32_t>(index - place.first);
    return std::bit_cast<float>(readWord(body + place.values + slot * place.stride));
}

float missingValue(const uint8_t* body, const QbChannelPlace& place) {
    const uint32_t tag = readWord(body + place.values - CHUNK_COUNT - CHUNK_HEADER);
    if (tag != QB_TAG_VRUN && tag != QB_TAG_VDAT)
        std::fputs("dumpquab_ext_vals_get_value: Unknown Chunk !\n", stdout);
    return 0.0f;
}

float seekValue(const qbMemoryFile& image, uint32_t vals, QbChannelPlace& place, int32_t index) {
    if (!seekSample(image, vals, place, index)) return 0.0f;
    const uint8_t* body = image.data + vals;
    return holds(place, index) ? heldValue(body, place, index) : missingValue(body, place);
}

inline float fetch(const qbMemoryFile& image, const QbChannelRef& channel, int32_t index) {
    if (holds(channel.place, index)) return heldValue(image.data + channel.vals, channel.place, index);
    return seekValue(image, channel.vals, channel.place, index);
}

// The sample behind the place, which stays: the next frame asks for the same two samples or goes one on.
inline float fetchAhead(const qbMemoryFile& image, const QbChannelRef& channel, int32_t index) {
    if (holds(channel.place, index)) return heldValue(image.data + channel.vals, channel.place, index);
    QbChannelPlace ahead = channel.place;
    return seekValue(image, channel.vals, ahead, index);
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
    const float first = fetch(image, channel, pair.first);
    if (pair.second == pair.first) return first;
    return (1.0f - pair.blend) * first + pair.blend * fetchAhead(image, channel, pair.second);
}

} // namespace

void qbChannelSampleTime(const QbScene* scene, float time, int32_t* first, int32_t* second, float* blend) {
    const SamplePair pair = samplePair(scene, time);
    *first = pair.first;
    *second = pair.second;
    *blend = pair.blend;
}

float qbChannelSample(const QbScene* scene, const QbChannelRef* channel, int32_t index) {
    return channel->vals ? fetch(imageOf(scene), *channel, index) : 0.0f;
}

void qbChannelSamplePair(const QbScene* scene, const QbChannelRef* channel, int32_t first, int32_t second,
                         float* firstValue, float* secondValue) {
    *firstValue = *secondValue = 0.0f;
    if (!channel->vals) return;
    *firstValue = fetch(imageOf(scene), *channel, first);
    *secondValue = second == first ? *firstValue : fetchAhead(imageOf(scene), *channel, second);
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
