#pragma once

#include <algorithm>
#include <cmath>
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

// One channel of 16 bits; the tones follow one another.
inline void writeWave(const std::string& path, const std::vector<Tone>& tones) {
    constexpr uint32_t rate = 22050;
    std::string samples;
    const auto put = [](std::string& bytes, uint32_t value, int size) {
        for (int i = 0; i < size; ++i)
            bytes += static_cast<char>(value >> (8 * i) & 0xFF);
    };
    for (const Tone& tone : tones) {
        for (int i = 0; i < static_cast<int>(tone.seconds * rate); ++i) {
            const double wave = std::sin(2 * std::numbers::pi * tone.frequency * i / rate);
            put(samples, static_cast<uint32_t>(std::lround(32767 * tone.amplitude * wave)), 2);
        }
    }
    const auto size = static_cast<uint32_t>(samples.size());
    std::string head = "RIFF";
    put(head, 36 + size, 4);
    head += "WAVEfmt ";
    for (const auto& [value, bytes] :
         {std::pair<uint32_t, int>{16, 4}, {1, 2}, {1, 2}, {rate, 4}, {rate * 2, 4}, {2, 2}, {16, 2}})
        put(head, value, bytes);
    head += "data";
    put(head, size, 4);
    std::ofstream(path, std::ios::binary) << head << samples;
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
    const double turn = 2 * std::cos(2 * std::numbers::pi * frequency / RECORD_RATE);
    double last = 0;
    double before = 0;
    for (const int16_t sample : samples)
        before = std::exchange(last, sample / 32768.0 + turn * last - before);
    const double power = last * last + before * before - turn * last * before;
    return 2 * std::sqrt(std::max(0.0, power)) / static_cast<double>(samples.size());
}
