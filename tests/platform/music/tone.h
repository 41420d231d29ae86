#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <numbers>
#include <span>
#include <string>
#include <utility>
#include <vector>

// Tones written to a file, and found again in what a sink recorded.

struct Tone {
    double frequency; // Hz
    double seconds;
    double amplitude = 0.5; // of full scale
};

inline void putNumber(std::ofstream& file, uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
        file.put(static_cast<char>(value >> (8 * i) & 0xFF));
}

// One channel of 16 bits; the tones follow one another.
inline void writeWave(const std::string& path, const std::vector<Tone>& tones) {
    constexpr uint32_t rate = 22050;
    std::vector<int16_t> samples;
    for (const Tone& tone : tones) {
        const auto count = static_cast<size_t>(tone.seconds * rate);
        for (size_t i = 0; i < count; ++i) {
            const double angle = 2 * std::numbers::pi * tone.frequency * static_cast<double>(i) / rate;
            samples.push_back(static_cast<int16_t>(std::lround(32767 * tone.amplitude * std::sin(angle))));
        }
    }
    const auto bytes = static_cast<uint32_t>(samples.size() * 2);
    std::ofstream file(path, std::ios::binary);
    file << "RIFF";
    putNumber(file, 36 + bytes, 4);
    file << "WAVEfmt ";
    for (const auto& [value, size] :
         {std::pair<uint32_t, int>{16, 4}, {1, 2}, {1, 2}, {rate, 4}, {rate * 2, 4}, {2, 2}, {16, 2}})
        putNumber(file, value, size);
    file << "data";
    putNumber(file, bytes, 4);
    for (const int16_t sample : samples)
        putNumber(file, static_cast<uint16_t>(sample), 2);
}

inline constexpr int RECORD_RATE = 8000;

// A sink that records one channel of 16 bits as bare samples, at the speed of the clock when `live`.
inline std::string recordingSink(const std::string& path, bool live) {
    return "audioconvert ! audioresample ! audio/x-raw,format=S16LE,channels=1,rate=8000 ! "
           "filesink buffer-mode=unbuffered sync=" +
           std::string(live ? "true" : "false") + " location=\"" + path + "\"";
}

inline std::vector<int16_t> readRecording(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<int16_t> samples;
    char pair[2];
    while (file.read(pair, 2))
        samples.push_back(
            static_cast<int16_t>(static_cast<uint8_t>(pair[0]) | static_cast<uint8_t>(pair[1]) << 8));
    return samples;
}

// Amplitude of one frequency in the samples, of full scale (Goertzel).
inline double amplitudeOf(double frequency, std::span<const int16_t> samples) {
    if (samples.empty()) return 0;
    const double angle = 2 * std::numbers::pi * frequency / RECORD_RATE;
    double last = 0;
    double before = 0;
    for (const int16_t sample : samples) {
        const double next = sample / 32768.0 + 2 * std::cos(angle) * last - before;
        before = last;
        last = next;
    }
    const double power = last * last + before * before - 2 * std::cos(angle) * last * before;
    return 2 * std::sqrt(std::max(0.0, power)) / static_cast<double>(samples.size());
}
