// Composes the tune of the show: dusk_tune <directory>. Slow chords, a few bells, and silence at the end.

#include "mp3.h"
#include "synth.h"

#include <array>
#include <cstdio>

namespace {

constexpr double seconds = 28;
constexpr double bar = 4;

constexpr Patch pad = {Wave::saw, 4, 10, 0.9, 0.0, 1.3, 2.0, 0.85, 1.1, 620, 420, 2.0, 0.1, 0.0};
constexpr Patch bass = {Wave::triangle, 1, 0, 0.0, 0.8, 0.4, 1.0, 0.8, 0.6, 260, 160, 0.8, 0.0, 0.0};
constexpr Patch breath = {Wave::triangle, 2, 5, 0.3, 0.0, 0.25, 0.8, 0.8, 0.6, 2000, 300, 0.3, 0.0, 0.2};

struct Chord {
    int root;
    std::array<int, 4> notes;
};
// D dorian; the crater begins on the fifth, and the last one stays open.
constexpr std::array<Chord, 7> chords = {{{38, {57, 62, 65, 69}},
                                          {43, {59, 62, 67, 69}},
                                          {38, {57, 62, 65, 72}},
                                          {36, {55, 60, 64, 71}},
                                          {41, {57, 60, 65, 67}},
                                          {43, {59, 62, 66, 69}},
                                          {38, {57, 62, 64, 69}}}};

struct Note {
    double at, held;
    int note;
};
constexpr std::array<Note, 15> melody = {{{2, 3, 74},
                                          {5, 1, 76},
                                          {6, 2, 71},
                                          {8, 3, 77},
                                          {11, 1, 76},
                                          {12, 2, 72},
                                          {14, 2, 67},
                                          {16, 3, 81},
                                          {19, 1, 79},
                                          {20, 1.5, 78},
                                          {21.5, 1.5, 74},
                                          {23, 1, 71},
                                          {24, 1, 69},
                                          {24.5, 1, 74},
                                          {25, 1.5, 76}}};

Bus composeDusk() {
    Bus pads(seconds), keys(seconds), room(seconds), out(seconds);
    for (size_t i = 0; i < chords.size(); ++i) {
        const double start = static_cast<double>(i) * bar;
        for (const int note : chords[i].notes) {
            playPatch(pads, pad, note, {start, bar * 0.96, 0.08, 0});
        }
        playPatch(pads, bass, chords[i].root, {start, bar * 0.9, 0.22, 0});
    }
    for (size_t i = 0; i < melody.size(); ++i) {
        const Note& n = melody[i];
        playBell(keys, n.note, 3.5, 1.1, 1.4, {n.at, 0, 0.10, i % 2 == 0 ? -0.35 : 0.35});
        playPatch(keys, breath, n.note - 12, {n.at, n.held, 0.05, 0.1});
    }
    playBoom(room, {0, 0, 0.25, 0});
    playNoise(room, 2600, 0.1, 1.5, 5, {8, 0, 0.10, 0}); // the fire is lit
    playBoom(room, {8, 0, 0.20, 0});
    playBoom(room, {16, 0, 0.35, 0});
    addEcho(keys, 0.75, 0.45, 0.35);
    mixBus(room, keys, 0.6);
    mixBus(room, pads, 0.4);
    mixBus(out, pads, 1.1);
    mixBus(out, keys, 1.2);
    mixBus(out, room, 0.4);
    mixBus(out, makeReverb(room, 3.4, 0.4), 0.6);
    masterBus(out, 1.05, 0.85);
    fadeBus(out, 23.5, seconds - 0.2);
    return out;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: dusk_tune <directory for the mp3 file>\n", stderr);
        return 1;
    }
    std::string error;
    if (saveMp3(composeDusk(), std::string(argv[1]) + "/dusk.mp3", error) != 0) {
        std::fprintf(stderr, "dusk_tune: %s\n", error.c_str());
        return 1;
    }
    return 0;
}
