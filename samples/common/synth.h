#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// A small synthesiser that renders notes straight into stereo buses. Times are seconds from the start of the
// tune, notes are MIDI numbers, pans run from -1 (left) to 1 (right). A note that reaches past the end of its
// bus is cut there.

inline constexpr int synthRate = 44100;

struct Bus {
    std::vector<float> left, right;
    explicit Bus(double seconds);
};

struct Place {
    double start;
    double held;
    double gain;
    double pan;
};

enum class Wave { saw, pulse, triangle };

// A subtractive patch: detuned oscillators, one low-pass filter, an amplitude envelope.
struct Patch {
    Wave wave;
    int voices;        // oscillators side by side, spread over detune and stereo width
    double detune;     // cents from the middle to the outermost oscillator
    double width;      // 0 all in the middle, 1 spread from left to right
    double sub;        // level of a sine an octave below
    double attack;     // seconds
    double decay;      // seconds to fall to 1/e on the way to sustain
    double sustain;    // level
    double release;    // seconds to fall to 1/e
    double cutoff;     // hertz at rest
    double sweep;      // hertz added at the start of a note
    double sweepDecay; // seconds
    double resonance;  // 0 to below 1
    double vibrato;    // semitones
};

void playPatch(Bus& bus, const Patch& patch, int note, const Place& place);
// A struck metal: two-operator frequency modulation with a decaying index.
void playBell(Bus& bus, int note, double ratio, double index, double decay, const Place& place);
void playKick(Bus& bus, const Place& place);
// Filtered noise with an exponential tail; `centre` in hertz.
void playNoise(Bus& bus, double centre, double resonance, double decay, uint32_t seed, const Place& place);
// Noise that climbs from a rumble to a hiss over place.held.
void playRiser(Bus& bus, uint32_t seed, const Place& place);
// A low boom with a long tail.
void playBoom(Bus& bus, const Place& place);

// Lowers a bus behind each of the given moments, as a compressor keyed by the kick would.
void duckBus(Bus& bus, const std::vector<double>& moments, double depth, double recovery);
void mixBus(Bus& into, const Bus& from, double gain);
// Adds echoes that change sides; `feedback` below 1.
void addEcho(Bus& bus, double seconds, double feedback, double gain);
// The reverberation of a bus alone; `tail` is the time to fall by 60 dB.
Bus makeReverb(const Bus& bus, double tail, double damping);
// Rumble filter, soft saturation, then the loudest sample is brought to `peak`.
void masterBus(Bus& bus, double drive, double peak);
void fadeBus(Bus& bus, double from, double to);
