#pragma once

#include "scene/format/container.h"
#include "support/messages.h"
#include "support/temporary_directory.h"

#include <bit>
#include <cstdint>
#include <string>
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

// With a size that need not be the body's.
inline std::string topSized(const char* tag, uint32_t size, const std::string& body) {
    return tag + be32(size) + body;
}
inline std::string nestedSized(const char* tag, uint32_t size, const std::string& body) {
    return tag + be16(size) + body;
}
inline std::string top(const char* tag, const std::string& body) {
    return topSized(tag, static_cast<uint32_t>(body.size()), body);
}
inline std::string nested(const char* tag, const std::string& body) {
    return nestedSized(tag, static_cast<uint32_t>(body.size()), body);
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

// A memory file over a copy that ends exactly where the bytes do, so that a read past them is noticed.
class Image {
public:
    explicit Image(const std::string& bytes) : data_(bytes.begin(), bytes.end()) {
        data_.shrink_to_fit();
        file_ = qbFileOpenMemory(data_.data(), static_cast<int32_t>(data_.size()));
    }
    ~Image() {
        if (file_) qbFileClose(file_);
    }
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;
    QbFile* file() const { return file_; }

private:
    std::vector<uint8_t> data_;
    QbFile* file_;
};
