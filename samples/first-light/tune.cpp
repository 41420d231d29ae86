// Composes the two tunes of the show: first_light_tunes <directory>.
//
// 120 beats a minute, so a beat is 500 ms and a bar 2 s; the parts of the show change on bars. The first tune
// grows from a drone to a climb that the second one resolves.

#include "mp3.h"
#include "synth.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <initializer_list>

namespace {

constexpr double beat = 0.5;
constexpr double bar = 4 * beat;

constexpr Patch warmPad = {Wave::saw, 4, 9, 0.8, 0.0, 0.7, 2.0, 0.85, 0.5, 650, 500, 1.5, 0.1, 0.0};
constexpr Patch brightPad = {Wave::saw, 6, 13, 0.9, 0.0, 0.25, 2.0, 0.9, 0.35, 2600, 1400, 1.0, 0.1, 0.0};
constexpr Patch pluck = {Wave::saw, 2, 7, 0.5, 0.0, 0.003, 0.18, 0.0, 0.08, 1300, 4600, 0.10, 0.35, 0.0};
constexpr Patch glass = {Wave::triangle, 2, 4, 0.7, 0.0, 0.004, 0.3, 0.0, 0.2, 3000, 2500, 0.2, 0.1, 0.0};
constexpr Patch bassLine = {Wave::saw, 2, 5, 0.1, 0.9, 0.004, 0.25, 0.45, 0.05, 220, 1100, 0.08, 0.3, 0.0};
constexpr Patch deepBass = {Wave::triangle, 1, 0, 0.0, 0.8, 0.05, 1.0, 0.8, 0.25, 300, 200, 0.5, 0.0, 0.0};
constexpr Patch singing = {Wave::saw, 3, 8, 0.4, 0.0, 0.03, 0.6, 0.7, 0.18, 1500, 1800, 0.3, 0.2, 0.16};
constexpr Patch breath = {Wave::triangle, 2, 5, 0.3, 0.0, 0.09, 0.8, 0.8, 0.35, 2400, 300, 0.3, 0.0, 0.22};

struct Chord {
    int bass;
    std::array<int, 4> notes;
};

// Night is B minor, dawn its relative D major.
constexpr Chord minorB = {35, {59, 62, 66, 73}};
constexpr Chord majorG = {31, {59, 62, 67, 69}};
constexpr Chord majorD = {38, {57, 62, 66, 69}};
constexpr Chord majorA = {33, {57, 61, 64, 71}};
constexpr Chord minorE = {40, {59, 64, 67, 66 + 12}};
constexpr Chord minorF = {42, {57, 61, 66, 69}};
constexpr Chord hangA = {33, {57, 62, 64, 69}};
constexpr Chord openG = {43, {59, 62, 66, 69}};

struct Note {
    double at;     // beats from the start of the phrase
    double length; // beats
    int note;
};

// Four bars: the call of the first light. It is heard in pieces, whole over the city, and again at sunrise.
constexpr std::array<Note, 12> theme = {{{0, 1.5, 78},
                                         {1.5, 0.5, 76},
                                         {2, 2, 71},
                                         {4, 1.5, 74},
                                         {5.5, 0.5, 76},
                                         {6, 2, 71},
                                         {8, 1, 69},
                                         {9, 1, 74},
                                         {10, 2, 78},
                                         {12, 2, 76},
                                         {14, 1, 73},
                                         {15, 1, 69}}};

struct Buses {
    Bus drums, bass, pads, keys, room;
    std::vector<double> kicks;
    explicit Buses(double seconds)
        : drums(seconds), bass(seconds), pads(seconds), keys(seconds), room(seconds) {}
};

double barTime(int bars, double beats = 0) {
    return bars * bar + beats * beat;
}

void addPad(Buses& buses, const Patch& patch, const Chord& chord, double start, double held, double gain) {
    for (const int note : chord.notes) {
        playPatch(buses.pads, patch, note, {start, held, gain, 0});
    }
}

// The chord's notes in turn, up and down over two octaves.
void addArpeggio(Buses& buses, const Patch& patch, const Chord& chord, double start, double length,
                 double step, double gain) {
    constexpr std::array<int, 8> order = {0, 1, 2, 3, 4, 3, 6, 5};
    const int count = static_cast<int>(length / step + 0.5);
    for (int i = 0; i < count; ++i) {
        const int place = order[static_cast<size_t>(i % 8)];
        const int note = chord.notes[static_cast<size_t>(place % 4)] + (place >= 4 ? 12 : 0) + 12;
        const double accent = i % 4 == 0 ? 1.0 : 0.7;
        playPatch(buses.keys, patch, note,
                  {start + i * step, step * 0.9, gain * accent, i % 2 == 0 ? -0.4 : 0.4});
    }
}

void addBass(Buses& buses, const Chord& chord, double start, std::initializer_list<double> beats,
             double gain) {
    for (const double at : beats) {
        const int lift = at == 3.5 ? 12 : 0;
        playPatch(buses.bass, bassLine, chord.bass + 12 + lift, {start + at * beat, beat * 0.42, gain, 0});
    }
}

void addKick(Buses& buses, double at, double gain) {
    playKick(buses.drums, {at, 0, gain, 0});
    buses.kicks.push_back(at);
}

void addClap(Buses& buses, double at, uint32_t seed, double gain) {
    for (const double late : {0.0, 0.011, 0.021}) {
        playNoise(buses.drums, 1500, 0.45, late > 0.02 ? 0.11 : 0.012,
                  seed + static_cast<uint32_t>(late * 1000), {at + late, 0, 1.5 * gain, 0.05});
    }
    playNoise(buses.room, 1700, 0.3, 0.05, seed + 77, {at, 0, gain * 0.8, 0});
}

void addHats(Buses& buses, double start, int sixteenths, double gain) {
    for (int i = 0; i < sixteenths; ++i) {
        const bool open = i % 4 == 2;
        const double level = open ? 1.0 : (i % 2 == 0 ? 0.55 : 0.3);
        playNoise(buses.drums, 9500, 0.2, open ? 0.07 : 0.022, 500 + static_cast<uint32_t>(i % 16),
                  {start + i * beat / 4, 0, 2.6 * gain * level, i % 2 == 0 ? 0.25 : -0.2});
    }
}

void addTheme(Buses& buses, const Patch& patch, double start, int transpose, double gain) {
    for (const Note& n : theme) {
        playPatch(buses.keys, patch, n.note + transpose,
                  {start + n.at * beat, n.length * beat * 0.94, gain, 0.08});
    }
}

void addBellTheme(Buses& buses, double start, int count, double gain) {
    for (int i = 0; i < count; ++i) {
        const Note& n = theme[static_cast<size_t>(i)];
        playBell(buses.keys, n.note + 12, 3.5, 1.6, 0.9,
                 {start + n.at * beat, 0, gain, i % 2 == 0 ? -0.3 : 0.3});
    }
}

// Bars 0 to 5: a drone, a heart, one bell.
void composeSpark(Buses& buses) {
    playPatch(buses.bass, deepBass, 47, {0, barTime(6) - 0.2, 0.16, 0});
    const std::array<Chord, 3> chords = {minorB, openG, minorB};
    for (int i = 0; i < 3; ++i) {
        addPad(buses, warmPad, chords[static_cast<size_t>(i)], barTime(i * 2), barTime(2), 0.035 + 0.012 * i);
    }
    for (int i = 0; i < 6; ++i) {
        playBoom(buses.drums, {barTime(i), 0, i == 0 ? 0.10 : 0.16, 0});
        if (i > 0) {
            playKick(buses.drums, {barTime(i), 0, 0.14, 0});
            playKick(buses.drums, {barTime(i, 0.5), 0, 0.09, 0});
        }
    }
    addBellTheme(buses, barTime(1), 3, 0.07);
    addBellTheme(buses, barTime(2), 6, 0.08);
    addArpeggio(buses, glass, minorB, barTime(4), barTime(2), beat / 2, 0.035);
    playRiser(buses.room, 11, {barTime(5), bar, 0.10, 0});
}

// Bars 6 to 11: one stone is struck each second.
void composeStones(Buses& buses) {
    constexpr std::array<Chord, 6> chords = {minorB, majorG, majorD, majorA, minorB, majorG};
    constexpr std::array<int, 12> strikes = {47, 54, 43, 50, 50, 57, 45, 52, 47, 59, 43, 62};
    playBoom(buses.drums, {barTime(6), 0, 0.30, 0});
    for (int i = 0; i < 6; ++i) {
        const Chord& chord = chords[static_cast<size_t>(i)];
        const double start = barTime(6 + i);
        addPad(buses, warmPad, chord, start, bar, 0.055);
        addArpeggio(buses, i < 2 ? glass : pluck, chord, start, bar, beat / 2, 0.05 + 0.004 * i);
        addBass(buses, chord, start, {0, 0.5, 1.5, 2.5, 3}, i < 2 ? 0.09 : 0.16);
        for (int half = 0; half < 2; ++half) {
            const int note = strikes[static_cast<size_t>(i * 2 + half)];
            const double at = start + half * 2 * beat;
            playBell(buses.keys, note, 1.41, 2.6, 0.55, {at, 0, 0.13, half == 0 ? -0.5 : 0.5});
            playBell(buses.room, note + 12, 2.76, 1.5, 0.4, {at, 0, 0.06, 0});
            addKick(buses, at, 0.34);
        }
        if (i >= 2) {
            addKick(buses, start + 1 * beat, 0.26);
            addKick(buses, start + 3 * beat, 0.26);
            addHats(buses, start, 16, 0.035);
        }
    }
    for (int i = 0; i < 8; ++i) {
        addClap(buses, barTime(11, 2 + i * 0.25), 40 + static_cast<uint32_t>(i), 0.05 + 0.02 * i);
    }
    playRiser(buses.room, 23, {barTime(11), bar, 0.16, 0});
}

// Bars 12 to 19: the street, twice round; the theme joins the second time.
void composeCity(Buses& buses) {
    constexpr std::array<Chord, 4> chords = {minorB, majorG, majorD, majorA};
    playBoom(buses.drums, {barTime(12), 0, 0.32, 0});
    playNoise(buses.room, 5200, 0.1, 0.7, 3, {barTime(12), 0, 0.13, 0});
    playNoise(buses.room, 5200, 0.1, 0.7, 5, {barTime(16), 0, 0.17, 0});
    for (int i = 0; i < 8; ++i) {
        const Chord& chord = chords[static_cast<size_t>(i % 4)];
        const double start = barTime(12 + i);
        addPad(buses, brightPad, chord, start, bar, 0.045);
        addArpeggio(buses, pluck, chord, start, bar, beat / 4, 0.082);
        addBass(buses, chord, start, {0.5, 1, 1.5, 2.5, 3, 3.5}, 0.22);
        for (int n = 0; n < 4; ++n) {
            addKick(buses, start + n * beat, 0.50);
        }
        addClap(buses, start + beat, 60 + static_cast<uint32_t>(i), 0.17);
        addClap(buses, start + 3 * beat, 70 + static_cast<uint32_t>(i), 0.17);
        addHats(buses, start, 16, 0.065);
    }
    addTheme(buses, singing, barTime(16), 0, 0.115);
    addTheme(buses, breath, barTime(16), -12, 0.06);
    playRiser(buses.room, 31, {barTime(18), 2 * bar, 0.13, 0});
}

// Bars 20 to 25: under water. Half the pulse, triplets of glass, a long breath.
void composeSwimmer(Buses& buses) {
    constexpr std::array<Chord, 6> chords = {minorE, minorE, openG, openG, minorB, majorA};
    constexpr std::array<Note, 9> line = {{{0, 3, 71},
                                           {3, 1, 74},
                                           {4, 4, 76},
                                           {8, 3, 74},
                                           {11, 1, 71},
                                           {12, 4, 69},
                                           {16, 2, 66},
                                           {18, 2, 71},
                                           {20, 4, 76}}};
    playBoom(buses.drums, {barTime(20), 0, 0.34, 0});
    for (int i = 0; i < 6; ++i) {
        const Chord& chord = chords[static_cast<size_t>(i)];
        const double start = barTime(20 + i);
        addPad(buses, warmPad, chord, start, bar, 0.085);
        addArpeggio(buses, glass, chord, start, bar, beat / 3, 0.075);
        playPatch(buses.bass, deepBass, chord.bass + 12, {start, bar * 0.9, 0.24, 0});
        addKick(buses, start, 0.32);
        playKick(buses.drums, {start + 2.5 * beat, 0, 0.2, 0});
        addClap(buses, start + 2 * beat, 90 + static_cast<uint32_t>(i), 0.06);
    }
    for (const Note& n : line) {
        playPatch(buses.keys, breath, n.note,
                  {barTime(20) + n.at * beat, n.length * beat * 0.95, 0.15, -0.1});
    }
    playRiser(buses.room, 41, {barTime(25), bar, 0.12, 0});
}

// Bars 26 to 31: the sun climbs, and the last chord hangs.
void composeSunrise(Buses& buses) {
    constexpr std::array<Chord, 6> chords = {majorG, majorA, minorB, minorF, majorG, hangA};
    playBoom(buses.drums, {barTime(26), 0, 0.34, 0});
    playNoise(buses.room, 4800, 0.1, 0.8, 7, {barTime(26), 0, 0.13, 0});
    for (int i = 0; i < 6; ++i) {
        const Chord& chord = chords[static_cast<size_t>(i)];
        const double start = barTime(26 + i);
        addPad(buses, brightPad, chord, start, bar, 0.042 + 0.005 * i);
        addArpeggio(buses, pluck, chord, start, bar, beat / 4, 0.070 + 0.005 * i);
        addBass(buses, chord, start, {0, 0.5, 1, 1.5, 2, 2.5, 3, 3.5}, 0.2);
        for (int n = 0; n < 4; ++n) {
            addKick(buses, start + n * beat, 0.42);
        }
        addHats(buses, start, 16, 0.045 + 0.005 * i);
        const int roll = i < 2 ? 2 : (i < 4 ? 4 : (i == 4 ? 8 : 16));
        for (int n = 0; n < roll; ++n) {
            addClap(buses, start + bar * n / roll + (roll == 2 ? beat : 0), 110 + static_cast<uint32_t>(n),
                    roll == 2 ? 0.15 : 0.06 + 0.09 * n / roll);
        }
    }
    addTheme(buses, singing, barTime(26), 0, 0.10);
    addTheme(buses, breath, barTime(26), -12, 0.06);
    playPatch(buses.keys, singing, 78, {barTime(30), bar * 0.95, 0.11, 0});
    playPatch(buses.keys, singing, 81, {barTime(31), bar * 0.98, 0.12, 0});
    playRiser(buses.room, 53, {barTime(29), 3 * bar, 0.26, 0});
}

void finishMix(Buses& buses, Bus& out) {
    duckBus(buses.bass, buses.kicks, 0.75, 0.09);
    duckBus(buses.pads, buses.kicks, 0.6, 0.13);
    duckBus(buses.keys, buses.kicks, 0.25, 0.08);
    addEcho(buses.keys, beat * 0.75, 0.5, 0.34);
    mixBus(buses.room, buses.keys, 0.45);
    mixBus(buses.room, buses.pads, 0.40);
    mixBus(out, buses.drums, 1.0);
    mixBus(out, buses.bass, 0.8);
    mixBus(out, buses.pads, 1.3);
    mixBus(out, buses.keys, 1.45);
    mixBus(out, buses.room, 0.35);
    mixBus(out, makeReverb(buses.room, 2.8, 0.35), 0.5);
}

Bus composeFirstLight() {
    Buses buses(barTime(32));
    composeSpark(buses);
    composeStones(buses);
    composeCity(buses);
    composeSwimmer(buses);
    composeSunrise(buses);
    Bus out(barTime(32));
    finishMix(buses, out);
    masterBus(out, 1.25, 0.93);
    fadeBus(out, barTime(32) - 0.02, barTime(32));
    return out;
}

// Ten bars without a drum: the chord that the climb asked for, and bells that thin out.
Bus composeAfterglow() {
    constexpr std::array<Chord, 5> chords = {majorD, openG, minorB, majorG, majorD};
    constexpr std::array<Note, 11> line = {{{0, 4, 78},
                                            {4, 2, 76},
                                            {6, 2, 74},
                                            {8, 4, 71},
                                            {12, 2, 74},
                                            {14, 2, 76},
                                            {16, 4, 78},
                                            {20, 2, 81},
                                            {22, 2, 78},
                                            {24, 4, 76},
                                            {28, 6, 74}}};
    Buses buses(barTime(10));
    playBoom(buses.drums, {0, 0, 0.5, 0});
    playNoise(buses.room, 4200, 0.1, 1.2, 9, {0, 0, 0.16, 0});
    for (int i = 0; i < 5; ++i) {
        const Chord& chord = chords[static_cast<size_t>(i)];
        const double start = barTime(i * 2);
        addPad(buses, i == 0 ? brightPad : warmPad, chord, start, 2 * bar, i == 0 ? 0.06 : 0.10);
        playPatch(buses.bass, deepBass, chord.bass + 12, {start, 2 * bar * 0.92, 0.26, 0});
        addArpeggio(buses, glass, chord, start, i < 4 ? 2 * bar : bar, i < 3 ? beat / 2 : beat, 0.06);
    }
    for (const Note& n : line) {
        playBell(buses.keys, n.note, 3.5, 1.2, 1.5, {n.at * beat, 0, 0.14, 0.1});
        playPatch(buses.keys, breath, n.note - 12, {n.at * beat, n.length * beat * 0.95, 0.10, -0.15});
    }
    Bus out(barTime(10));
    finishMix(buses, out);
    masterBus(out, 1.1, 0.93);
    fadeBus(out, barTime(7), barTime(10) - 0.1);
    return out;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: first_light_tunes <directory for the mp3 files>\n", stderr);
        return 1;
    }
    const std::string directory = std::string(argv[1]) + "/";
    std::string error;
    if (saveMp3(composeFirstLight(), directory + "first-light.mp3", error) != 0 ||
        saveMp3(composeAfterglow(), directory + "afterglow.mp3", error) != 0) {
        std::fprintf(stderr, "first_light_tunes: %s\n", error.c_str());
        return 1;
    }
    return 0;
}
