#pragma once

#include "scene/format/container.h"
#include "scene/format/scene.h"

#include <bit>
#include <cstdint>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

inline Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

inline Bytes half(uint32_t value) {
    return {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
}

inline Bytes word(uint32_t value) {
    return half(value >> 16) + half(value & 0xffff);
}

inline Bytes chunk(uint32_t tag, uint32_t size, const Bytes& body) {
    return word(tag) + half(size) + body;
}

inline Bytes vrun(uint32_t count, float value) {
    return chunk(QB_TAG_VRUN, 8, word(count) + word(std::bit_cast<uint32_t>(value)));
}

inline Bytes vdat(const std::vector<float>& values) {
    Bytes body = word(static_cast<uint32_t>(values.size()));
    for (const float value : values)
        body = body + word(std::bit_cast<uint32_t>(value));
    return chunk(QB_TAG_VDAT, static_cast<uint32_t>(body.size()), body);
}

// A scene filled by hand around an image that holds nothing but VALS chunks. Add all channels first.
struct TestScene {
    Bytes image = {0, 0};
    QbSceneGlobals globals{};
    QbBackdrop backdrop{};
    QbProcessing processing{};
    QbScene record{};

    explicit TestScene(int32_t frameStart = 0, int32_t frameEnd = 100, float framesPerSecond = 25) {
        globals.frameStart = frameStart;
        globals.frameEnd = frameEnd;
        globals.framesPerSecond = framesPerSecond;
        record.globals = &globals;
        record.backdrop = &backdrop;
        record.processing = &processing;
    }
    TestScene(const TestScene&) = delete;
    TestScene& operator=(const TestScene&) = delete;
    ~TestScene() {
        if (record.file) qbFileClose(record.file);
    }

    QbChannelRef add(const Bytes& body) { return addSized(static_cast<uint32_t>(body.size()), body); }
    QbChannelRef addSized(uint32_t size, const Bytes& body) {
        image = image + half(size);
        QbChannelRef channel{};
        channel.vals = static_cast<uint32_t>(image.size());
        image = image + body;
        return channel;
    }
    QbChannelRef constant(float value) { return add(vrun(101, value)); }

    const QbScene* scene() {
        image.shrink_to_fit(); // a read behind the image is then one behind the buffer
        if (!record.file) record.file = qbFileOpenMemory(image.data(), static_cast<int32_t>(image.size()));
        return &record;
    }
};
