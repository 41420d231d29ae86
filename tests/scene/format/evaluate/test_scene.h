#pragma once

#include "scene/format/container/chunks.h"
#include "scene/format/scene.h"

#include <memory>
#include <string>
#include <vector>

// Puts the records of a test behind those of a scene.
template <class Record>
void attach(std::vector<Record>& records, Record*& to, int32_t& count) {
    to = records.data();
    count = static_cast<int32_t>(records.size());
}

// A scene filled by hand around an image that holds nothing but VALS chunks. Add all channels first.
struct TestScene {
    std::string image = std::string(2, '\0');
    std::unique_ptr<Image> file;
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

    QbChannelRef add(const std::string& body, uint32_t extraSize = 0) {
        image += be16(static_cast<uint32_t>(body.size()) + extraSize);
        QbChannelRef channel{};
        channel.vals = static_cast<uint32_t>(image.size());
        image += body;
        return channel;
    }
    QbChannelRef constant(float value) { return add(run(101, value)); }

    const QbScene* scene() {
        if (!file) file = std::make_unique<Image>(image);
        record.file = file->file();
        return &record;
    }
};
