#pragma once

#include "scene/format/container.h"
#include "scene/format/scene.h"
#include "support/messages.h"
#include "support/temporary_directory.h"

#include <bit>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// Writes scene files chunk by chunk, good ones and bad ones.

inline std::string be16(uint32_t value) {
    return {static_cast<char>(value >> 8), static_cast<char>(value)};
}
inline std::string be32(uint32_t value) {
    return be16(value >> 16) + be16(value & 0xffff);
}
inline std::string beFloat(float value) {
    return be32(std::bit_cast<uint32_t>(value));
}

inline std::string padded(const std::string& text) {
    return text + std::string(text.size() % 2 ? 1 : 2, '\0');
}

// A chunk; its size may be told wrong.
inline std::string top(const char* tag, const std::string& body, int64_t size = -1) {
    return tag + be32(static_cast<uint32_t>(size < 0 ? static_cast<int64_t>(body.size()) : size)) + body;
}
inline std::string nested(const char* tag, const std::string& body, int64_t size = -1) {
    return tag + be16(static_cast<uint32_t>(size < 0 ? static_cast<int64_t>(body.size()) : size)) + body;
}
inline std::string form(const std::string& chunks) {
    return "FORM" + be32(static_cast<uint32_t>(chunks.size() + 4)) + "QUAB" + chunks;
}

inline std::string name(const std::string& text) {
    return nested("NAME", padded(text));
}
inline std::string fnam(const std::string& text) {
    return nested("FNAM", padded(text));
}
inline std::string prop(uint32_t type, const std::string& key, const std::string& value) {
    return nested("PROP", be32(type) + padded(key) + value);
}
inline std::string intProp(const std::string& key, int32_t value) {
    return prop(QB_PROP_INT, key, be32(static_cast<uint32_t>(value)));
}
inline std::string stringProp(const std::string& key, const std::string& value) {
    return prop(QB_PROP_STRING, key, padded(value));
}
inline std::string run(uint32_t count, float value) {
    return nested("VRUN", be32(count) + beFloat(value));
}
inline std::string literals(const std::vector<float>& values) {
    std::string body = be32(static_cast<uint32_t>(values.size()));
    for (const float value : values)
        body += beFloat(value);
    return nested("VDAT", body);
}
inline std::string chan(const std::string& text, uint32_t type, const std::string& values) {
    return nested("CHAN", name(text) + nested("TYPE", be32(type)) + nested("VALS", values));
}

// Most kinds of chunks, and unknown ones at three depths.
inline std::string everything() {
    const std::string prps =
        nested("PRPS", intProp("numPoints", -4) + prop(2, "framesPerSecond", beFloat(0.1f)) +
                           stringProp("image", "sky.png") +
                           prop(4, "zenith", beFloat(0) + beFloat(0.5f) + beFloat(1e9f)) +
                           prop(5, "resolution", be32(640) + be32(0xffffffff)) +
                           prop(6, "squeeze", beFloat(2) + beFloat(1.0f / 3)) + nested("ODDS", "12"));
    const std::string mixed = run(3, 1) + literals({1, 2.5f}) + run(4, 7) + nested("WHAT", "");
    const std::string inner = nested("CGRP", name("in") + nested("CGRP", chan("X", 2, run(8, 2))));
    return form(top("NONE", "") + top("SCEN", fnam("ville.lws") + prps) +
                top("OBJE", name("a:Layer2") + fnam("a.lwo")) +
                top("SOBJ", fnam("a.lwo") + nested("SURF", name("stone") + nested("JUNK", "odd") +
                                                               nested("VALS", "not a chunk"))) +
                top("CGRP", name("Quab.World:a:Layer2") + chan("Scale.X", 3, mixed) + inner) +
                top("PROP", be32(3) + padded("ERROR") + padded("not found")) + top("NEWS", ""));
}

// A memory file over a copy that ends exactly where the bytes do, so that a read past them is noticed.
class Image {
public:
    explicit Image(const std::string& bytes) : data_(bytes.begin(), bytes.end()) {
        file_ = qbFileOpenMemory(data_.data(), static_cast<int32_t>(data_.size()));
    }
    ~Image() {
        if (scene_)
            qbSceneRecordFree(scene_);
        else if (file_)
            qbFileClose(file_);
    }
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;
    QbFile* file() const { return file_; }
    // Once: the scene in the file, channels bound. Null when it is refused.
    QbScene* scene() {
        scene_ = qbSceneReadImage(std::exchange(file_, nullptr), "show.quab");
        if (scene_) qbSceneBindChannels(scene_);
        return scene_;
    }

private:
    std::vector<uint8_t> data_;
    QbFile* file_;
    QbScene* scene_ = nullptr;
};
