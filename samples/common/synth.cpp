#include "synth.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace {

constexpr double rate = synthRate;
constexpr double turn = 2.0 * std::numbers::pi;

double noteHertz(double note) {
    return 440.0 * std::exp2((note - 69.0) / 12.0);
}

// Noise with a seed of its own for each hit, so that a tune is the same on every run.
class Noise {
public:
    explicit Noise(uint32_t seed) : state(seed * 2654435761u + 1u) {}
    double next() {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return static_cast<double>(state) / 2147483648.0 - 1.0;
    }

private:
    uint32_t state;
};

// State variable filter in its trapezoidal form: stable at any cutoff below half the rate.
class Filter {
public:
    void tune(double cutoff, double resonance) {
        g = std::tan(std::numbers::pi * std::clamp(cutoff, 20.0, rate * 0.45) / rate);
        k = 2.0 - 2.0 * std::clamp(resonance, 0.0, 0.97);
        a = 1.0 / (1.0 + g * (g + k));
    }
    void push(double in) {
        const double high = in - second;
        band = a * first + g * a * high;
        low = second + g * band;
        first = 2.0 * band - first;
        second = 2.0 * low - second;
    }
    double low = 0.0;
    double band = 0.0;

private:
    double g = 0.0, k = 2.0, a = 1.0, first = 0.0, second = 0.0;
};

// Removes the corner of a step that falls between two samples.
double stepCorrection(double phase, double step) {
    if (phase < step) {
        const double x = phase / step;
        return x + x - x * x - 1.0;
    }
    if (phase > 1.0 - step) {
        const double x = (phase - 1.0) / step;
        return x * x + x + x + 1.0;
    }
    return 0.0;
}

double waveValue(Wave wave, double phase, double step) {
    switch (wave) {
    case Wave::saw:
        return 2.0 * phase - 1.0 - stepCorrection(phase, step);
    case Wave::pulse: {
        const double fall = std::fmod(phase + 0.62, 1.0);
        return (phase < 0.38 ? 1.0 : -1.0) + stepCorrection(phase, step) - stepCorrection(fall, step);
    }
    case Wave::triangle:
        return 4.0 * std::abs(phase - 0.5) - 1.0;
    }
    return 0.0;
}

double envelope(const Patch& patch, double t, double held) {
    const double on = std::min(t, held);
    double level = on < patch.attack
                       ? on / patch.attack
                       : patch.sustain + (1.0 - patch.sustain) * std::exp(-(on - patch.attack) / patch.decay);
    if (t > held) {
        level *= std::exp(-(t - held) / patch.release);
    }
    return level;
}

struct Range {
    size_t first, count;
};

Range noteRange(const Bus& bus, double start, double seconds) {
    const size_t first = std::min(static_cast<size_t>(start * rate + 0.5), bus.left.size());
    return {first, std::min(static_cast<size_t>(seconds * rate), bus.left.size() - first)};
}

void addSample(Bus& bus, size_t i, double value, double pan) {
    bus.left[i] += static_cast<float>(value * std::min(1.0, 1.0 - pan));
    bus.right[i] += static_cast<float>(value * std::min(1.0, 1.0 + pan));
}

} // namespace

Bus::Bus(double seconds) : left(static_cast<size_t>(seconds * rate + 0.5), 0.0f), right(left.size(), 0.0f) {}

void playPatch(Bus& bus, const Patch& patch, int note, const Place& place) {
    const Range range = noteRange(bus, place.start, place.held + patch.release * 6.0);
    std::array<double, 8> phases{};
    std::array<double, 8> ratios{};
    const int voices = std::min(patch.voices, 8);
    for (int v = 0; v < voices; ++v) {
        const double side = voices > 1 ? 2.0 * v / (voices - 1) - 1.0 : 0.0;
        ratios[static_cast<size_t>(v)] = std::exp2(side * patch.detune / 1200.0);
        phases[static_cast<size_t>(v)] = std::fmod(0.37 * v + 0.013 * note, 1.0);
    }
    Filter filterLeft, filterRight;
    double subPhase = 0.0;
    double base = noteHertz(note) / rate;
    for (size_t i = 0; i < range.count; ++i) {
        const double t = static_cast<double>(i) / rate;
        if (i % 32 == 0) { // control rate
            const double cutoff = patch.cutoff + patch.sweep * std::exp(-t / patch.sweepDecay);
            filterLeft.tune(cutoff, patch.resonance);
            filterRight.tune(cutoff, patch.resonance);
            const double bend = patch.vibrato * std::min(1.0, t * 2.0) * std::sin(turn * 5.2 * t);
            base = noteHertz(note + bend) / rate;
        }
        double left = 0.0, right = 0.0;
        for (int v = 0; v < voices; ++v) {
            const auto slot = static_cast<size_t>(v);
            const double step = base * ratios[slot];
            const double value = waveValue(patch.wave, phases[slot], step);
            const double side = voices > 1 ? patch.width * ((v % 2) * 2.0 - 1.0) : 0.0;
            left += value * (1.0 - side) * 0.5;
            right += value * (1.0 + side) * 0.5;
            phases[slot] += step;
            phases[slot] -= std::floor(phases[slot]);
        }
        const double sub = patch.sub * std::sin(turn * subPhase);
        subPhase = std::fmod(subPhase + base * 0.5, 1.0);
        filterLeft.push(left + sub);
        filterRight.push(right + sub);
        const double level = place.gain * envelope(patch, t, place.held) / std::sqrt(voices);
        bus.left[range.first + i] +=
            static_cast<float>(filterLeft.low * level * std::min(1.0, 1.0 - place.pan));
        bus.right[range.first + i] +=
            static_cast<float>(filterRight.low * level * std::min(1.0, 1.0 + place.pan));
    }
}

void playBell(Bus& bus, int note, double ratio, double index, double decay, const Place& place) {
    const Range range = noteRange(bus, place.start, decay * 7.0);
    const double step = turn * noteHertz(note) / rate;
    for (size_t i = 0; i < range.count; ++i) {
        const double n = static_cast<double>(i);
        const double t = n / rate;
        const double body = std::exp(-t / decay);
        const double modulator = index * body * body * std::sin(step * ratio * n);
        const double value = std::sin(step * n + modulator) + 0.35 * std::sin(2.0 * step * n) * body;
        addSample(bus, range.first + i, place.gain * body * std::min(1.0, t / 0.002) * value, place.pan);
    }
}

void playKick(Bus& bus, const Place& place) {
    const Range range = noteRange(bus, place.start, 0.45);
    double phase = 0.0;
    for (size_t i = 0; i < range.count; ++i) {
        const double t = static_cast<double>(i) / rate;
        phase += (46.0 + 150.0 * std::exp(-t / 0.028)) / rate;
        const double click = 0.4 * std::exp(-t / 0.0025) * std::sin(turn * 1900.0 * t);
        const double body = std::sin(turn * phase) * std::exp(-t / 0.16);
        addSample(bus, range.first + i, place.gain * (std::tanh(1.6 * body) + click), place.pan);
    }
}

void playNoise(Bus& bus, double centre, double resonance, double decay, uint32_t seed, const Place& place) {
    const Range range = noteRange(bus, place.start, decay * 7.0);
    Noise noise(seed);
    Filter filter;
    filter.tune(centre, resonance);
    for (size_t i = 0; i < range.count; ++i) {
        const double t = static_cast<double>(i) / rate;
        filter.push(noise.next());
        addSample(bus, range.first + i, place.gain * filter.band * std::exp(-t / decay), place.pan);
    }
}

void playRiser(Bus& bus, uint32_t seed, const Place& place) {
    const Range range = noteRange(bus, place.start, place.held);
    Noise noise(seed);
    Filter filter;
    for (size_t i = 0; i < range.count; ++i) {
        const double way = static_cast<double>(i) / static_cast<double>(range.count);
        if (i % 32 == 0) {
            filter.tune(180.0 * std::exp2(way * 5.6), 0.55);
        }
        filter.push(noise.next());
        const double sway = 0.6 * std::sin(turn * 3.0 * way * way);
        addSample(bus, range.first + i, place.gain * filter.band * way * way, sway);
    }
}

void playBoom(Bus& bus, const Place& place) {
    const Range range = noteRange(bus, place.start, 4.0);
    double phase = 0.0;
    for (size_t i = 0; i < range.count; ++i) {
        const double t = static_cast<double>(i) / rate;
        phase += (34.0 + 40.0 * std::exp(-t / 0.09)) / rate;
        const double value = std::sin(turn * phase) * std::exp(-t / 0.9) * std::min(1.0, t / 0.003);
        addSample(bus, range.first + i, place.gain * value, place.pan);
    }
}

void duckBus(Bus& bus, const std::vector<double>& moments, double depth, double recovery) {
    std::vector<float> gains(bus.left.size(), 1.0f);
    for (const double moment : moments) {
        const Range range = noteRange(bus, moment, recovery * 6.0);
        for (size_t i = 0; i < range.count; ++i) {
            const double t = static_cast<double>(i) / rate;
            const double dip = depth * std::exp(-t / recovery) * std::min(1.0, t / 0.004);
            gains[range.first + i] = std::min(gains[range.first + i], static_cast<float>(1.0 - dip));
        }
    }
    for (size_t i = 0; i < gains.size(); ++i) {
        bus.left[i] *= gains[i];
        bus.right[i] *= gains[i];
    }
}

void mixBus(Bus& into, const Bus& from, double gain) {
    const auto factor = static_cast<float>(gain);
    for (size_t i = 0; i < into.left.size(); ++i) {
        into.left[i] += from.left[i] * factor;
        into.right[i] += from.right[i] * factor;
    }
}

void addEcho(Bus& bus, double seconds, double feedback, double gain) {
    const auto delay = static_cast<size_t>(seconds * rate + 0.5);
    std::vector<float> left(bus.left.size(), 0.0f), right(bus.left.size(), 0.0f);
    float dullLeft = 0.0f, dullRight = 0.0f;
    for (size_t i = delay; i < left.size(); ++i) {
        const float mono = 0.5f * (bus.left[i - delay] + bus.right[i - delay]);
        dullLeft += 0.35f * (right[i - delay] - dullLeft);
        dullRight += 0.35f * (left[i - delay] - dullRight);
        left[i] = mono + static_cast<float>(feedback) * dullLeft;
        right[i] = static_cast<float>(feedback) * dullRight;
    }
    for (size_t i = 0; i < left.size(); ++i) {
        bus.left[i] += static_cast<float>(gain) * left[i];
        bus.right[i] += static_cast<float>(gain) * right[i];
    }
}

Bus makeReverb(const Bus& bus, double tail, double damping) {
    // Eight delay lines of lengths without common divisors, fed back through a reflection of their sum.
    constexpr std::array<size_t, 8> lengths = {1427, 1637, 1871, 2053, 2371, 2659, 2999, 3319};
    Bus out(static_cast<double>(bus.left.size()) / rate);
    std::array<std::vector<float>, 8> lines;
    std::array<float, 8> gains{}, dull{};
    std::array<size_t, 8> heads{};
    for (size_t n = 0; n < lines.size(); ++n) {
        lines[n].assign(lengths[n], 0.0f);
        gains[n] = static_cast<float>(std::pow(0.001, static_cast<double>(lengths[n]) / (tail * rate)));
    }
    const auto keep = static_cast<float>(1.0 - damping);
    const size_t total = std::min(out.left.size(), bus.left.size());
    for (size_t i = 0; i < total; ++i) {
        float sum = 0.0f;
        for (size_t n = 0; n < lines.size(); ++n) {
            dull[n] += keep * (lines[n][heads[n]] - dull[n]);
            sum += dull[n];
        }
        for (size_t n = 0; n < lines.size(); ++n) {
            const float in = n % 2 == 0 ? bus.left[i] : bus.right[i];
            lines[n][heads[n]] = in + gains[n] * (dull[n] - 0.25f * sum);
            heads[n] = (heads[n] + 1) % lengths[n];
        }
        out.left[i] = 0.35f * (dull[0] - dull[2] + dull[4] - dull[6]);
        out.right[i] = 0.35f * (dull[1] - dull[3] + dull[5] - dull[7]);
    }
    return out;
}

static void removeRumble(std::vector<float>& samples) {
    double last = 0.0, out = 0.0;
    for (float& sample : samples) {
        out = 0.9965 * (out + sample - last);
        last = sample;
        sample = static_cast<float>(out);
    }
}

void masterBus(Bus& bus, double drive, double peak) {
    removeRumble(bus.left);
    removeRumble(bus.right);
    double loudest = 1e-9;
    for (auto* side : {&bus.left, &bus.right}) {
        for (float& sample : *side) {
            sample = static_cast<float>(std::tanh(drive * sample));
            loudest = std::max(loudest, std::abs(static_cast<double>(sample)));
        }
    }
    for (auto* side : {&bus.left, &bus.right}) {
        for (float& sample : *side) {
            sample = static_cast<float>(sample * peak / loudest);
        }
    }
}

void fadeBus(Bus& bus, double from, double to) {
    for (size_t i = static_cast<size_t>(from * rate); i < bus.left.size(); ++i) {
        const double way = std::clamp((static_cast<double>(i) / rate - from) / (to - from), 0.0, 1.0);
        const auto gain = static_cast<float>(0.5 + 0.5 * std::cos(std::numbers::pi * way));
        bus.left[i] *= gain;
        bus.right[i] *= gain;
    }
}
