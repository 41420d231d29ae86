#pragma once

#include <cmath>
#include <cstdint>
#include <fstream>
#include <numbers>
#include <span>
#include <string>
#include <vector>

// Tones written to a file, and found again in what a sink recorded.

// One channel of 16 bits, of half the full scale.
inline void writeWave(const std::string& path, double frequency, double seconds) {
    constexpr uint32_t rate = 22050;
    std::vector<int16_t> samples(static_cast<size_t>(seconds * rate));
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<int16_t>(
            16383.5 * std::sin(2 * std::numbers::pi * frequency * static_cast<double>(i) / rate));
    const auto bytes = [](auto& values) {
        return std::string(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(values[0]));
    };
    const auto size = static_cast<uint32_t>(samples.size() * 2);
    const std::vector<uint32_t> riff = {36 + size}, data = {size};
    const std::vector<uint32_t> format = {16, 1 | 1 << 16, rate, rate * 2, 2 | 16 << 16};
    std::ofstream(path, std::ios::binary)
        << "RIFF" + bytes(riff) + "WAVEfmt " + bytes(format) + "data" + bytes(data) + bytes(samples);
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
    for (int16_t sample = 0; file.read(reinterpret_cast<char*>(&sample), 2);)
        samples.push_back(sample);
    return samples;
}

// Amplitude of one frequency in the samples, of full scale.
inline double amplitudeOf(double frequency, std::span<const int16_t> samples) {
    double across = 0, along = 0, angle = 0;
    for (const int16_t sample : samples) {
        across += sample / 32768.0 * std::sin(angle);
        along += sample / 32768.0 * std::cos(angle);
        angle += 2 * std::numbers::pi * frequency / RECORD_RATE;
    }
    return samples.empty() ? 0 : 2 * std::hypot(across, along) / static_cast<double>(samples.size());
}
