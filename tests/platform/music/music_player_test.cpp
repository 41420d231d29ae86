#include <gtest/gtest.h> // ahead of Xlib, whose macros None and Bool break it

#include "platform/music/music_player.h"
#include "platform/music/tone.h"
#include "support/temporary_directory.h"
#include "support/windows.h"
#include <chrono>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <utility>

namespace fs = std::filesystem;

static void sleepFor(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

static bool waitUntil(const std::function<bool()>& condition) {
    for (int i = 0; i < 2000 && !condition(); ++i)
        sleepFor(5);
    return condition();
}

static void expectTone(const std::vector<int16_t>& samples, double frequency, double other,
                       double amplitude) {
    EXPECT_NEAR(amplitudeOf(frequency, samples), amplitude, amplitude / 5);
    EXPECT_LT(amplitudeOf(other, samples), amplitude / 50);
}

namespace {

struct Free {
    void operator()(QbMusicPlayer* player) const { qbMusicPlayerFree(player); }
};

// Stands in a directory of its own, where "heard" is what the sink records.
class MusicPlayer : public testing::Test {
protected:
    ~MusicPlayer() override { qbMusicPlayerSetSink(nullptr); }
    void record(bool live) const {
        qbMusicPlayerSetSink(recordingSink(directory.path() + "/heard", live).c_str());
    }
    static uintmax_t heardSize() {
        std::error_code error;
        const uintmax_t size = fs::file_size("heard", error);
        return error ? 0 : size;
    }
    // Writes the tones to "tune.wav" and loads it.
    void load(const std::vector<Tone>& tones) const {
        writeWave("tune.wav", tones);
        ASSERT_EQ(qbMusicPlayerLoad(player.get(), "tune.wav"), 0);
    }
    void run(uintmax_t bytes) const {
        ASSERT_EQ(qbMusicPlayerRun(player.get()), 0);
        ASSERT_TRUE(waitUntil([&] { return heardSize() > bytes; })) << heardSize() << " bytes came out";
    }
    // Plays a file as fast as it decodes and gives back what came out, at least `seconds` of it.
    std::vector<int16_t> hear(const char* file, double seconds) const {
        record(false);
        EXPECT_EQ(qbMusicPlayerLoad(player.get(), file), 0);
        run(static_cast<uintmax_t>(seconds * RECORD_RATE) * 2);
        qbMusicPlayerStop(player.get());
        return readRecording("heard");
    }
    TemporaryDirectory directory;
    std::unique_ptr<QbMusicPlayer, Free> player{qbMusicPlayerCreate()};
};

} // namespace

TEST_F(MusicPlayer, ATunesToneReachesTheSinkUnderAWindowsPath) {
    fs::create_directory("Music");
    writeWave("Music/Tune.wav", {{1000, 2}});
    expectTone(hear((directory.path() + "\\music\\TUNE.WAV").c_str(), 1.9), 1000, 1300, 0.5);
    EXPECT_STREQ(setlocale(LC_NUMERIC, nullptr), "C");
}

TEST_F(MusicPlayer, NothingIsHeardBeforeRunAndAfterStop) {
    record(true);
    load({{1000, 60}});
    sleepFor(200);
    EXPECT_EQ(heardSize(), 0U);
    run(4000);
    EXPECT_EQ(qbMusicPlayerStop(player.get()), 0);
    const uintmax_t size = heardSize();
    sleepFor(200);
    EXPECT_EQ(heardSize(), size);
}

TEST_F(MusicPlayer, AStopRightBehindRunStopsToo) {
    record(true);
    for (int i = 0; i < 10; ++i) {
        load({{1000, 2}});
        ASSERT_EQ(qbMusicPlayerRun(player.get()), 0);
        ASSERT_EQ(qbMusicPlayerStop(player.get()), 0);
        const uintmax_t size = heardSize();
        sleepFor(30);
        EXPECT_EQ(heardSize(), size);
    }
}

TEST_F(MusicPlayer, PauseHoldsAndRunGoesOn) {
    record(true);
    load({{1000, 60}});
    run(4000);
    ASSERT_EQ(qbMusicPlayerPause(player.get()), 0);
    uintmax_t size = 0;
    ASSERT_TRUE(waitUntil([&] {
        const uintmax_t before = std::exchange(size, heardSize());
        sleepFor(200);
        return before == size && heardSize() == size;
    }));
    run(size + 4000);
}

TEST_F(MusicPlayer, RunAfterStopBeginsAgain) {
    record(false);
    load({{1000, 1}, {1700, 20}});
    for (int round = 0; round < 2; ++round) {
        run(5 * RECORD_RATE);
        ASSERT_EQ(qbMusicPlayerStop(player.get()), 0);
        const std::vector<int16_t> samples = readRecording("heard");
        const std::span<const int16_t> all(samples);
        EXPECT_NEAR(amplitudeOf(1000, all.first(7000)), 0.5, 0.05);
        EXPECT_LT(amplitudeOf(1000, all.subspan(9000)), 0.05);
        fs::remove("heard");
    }
}

TEST_F(MusicPlayer, TheFileMayGoOnceItIsLoaded) {
    record(false);
    load({{1000, 20}});
    fs::remove("tune.wav");
    run(19 * 2 * RECORD_RATE);
}

TEST_F(MusicPlayer, ALoadReplacesTheTuneBefore) {
    record(true);
    load({{1000, 60}});
    run(1000);
    writeWave("high.wav", {{1700, 2}});
    expectTone(hear("high.wav", 1.5), 1700, 1000, 0.5);
}

TEST_F(MusicPlayer, WhatCanNotBePlayedIsSilentInEveryWay) {
    directory.write("empty.mp3");
    directory.write("text.mp3", "The quick brown fox jumps over the lazy dog.\n");
    std::string garbage;
    for (uint32_t i = 0, x = 1; i < 60000; ++i, x = x * 1664525 + 1013904223)
        garbage += static_cast<char>(x >> 24);
    directory.write("garbage.mp3", garbage);
    ASSERT_EQ(mkfifo("pipe.mp3", 0600), 0);
    const std::pair<const char*, int> files[] = {{"none.mp3", -1},  {".", -1},        {"pipe.mp3", -1},
                                                 {"", -1},          {"empty.mp3", 0}, {"text.mp3", 0},
                                                 {"garbage.mp3", 0}};
    EXPECT_EQ(qbMusicPlayerPause(player.get()), -1); // nothing is loaded
    for (const auto& [file, loaded] : files) {
        SCOPED_TRACE(file);
        testing::internal::CaptureStderr();
        EXPECT_EQ(qbMusicPlayerLoad(player.get(), file), loaded);
        EXPECT_EQ(qbMusicPlayerRun(player.get()), loaded);
        sleepFor(50);
        EXPECT_EQ(qbMusicPlayerStop(player.get()), loaded);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    }
    qbMusicPlayerFree(nullptr);
}

// Whether there is a sound device or not, nothing is written to the console. The tune is a silent one.
TEST_F(MusicPlayer, TheDefaultOutputKeepsQuiet) {
    testing::internal::CaptureStderr();
    load({{1000, 2, 0.0}});
    const std::unique_ptr<QbMusicPlayer, Free> second(qbMusicPlayerCreate());
    EXPECT_EQ(qbMusicPlayerLoad(second.get(), "tune.wav"), 0);
    for (QbMusicPlayer* each : {player.get(), second.get()}) {
        EXPECT_EQ(qbMusicPlayerRun(each), 0);
        sleepFor(300);
        EXPECT_EQ(qbMusicPlayerStop(each), 0);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(MusicPlayer, ASinkThatDoesNotWorkIsNamedAndSilent) {
    qbMusicPlayerSetSink("nosuchsink");
    testing::internal::CaptureStderr();
    load({{1000, 1}});
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(said.find("No sound: the sink \"nosuchsink\" does not work: "), 0U) << said;
    EXPECT_EQ(qbMusicPlayerRun(player.get()), 0);
}

TEST_F(MusicPlayer, PlayersLeaveNoThreadsAndFilesBehind) {
    const auto count = [](const char* what) {
        return std::distance(fs::directory_iterator(what), fs::directory_iterator());
    };
    record(true);
    const auto cycle = [&](int times) {
        for (int i = 0; i < times; ++i) {
            player.reset(qbMusicPlayerCreate());
            load({{1000, 2}});
            qbMusicPlayerRun(player.get());
            sleepFor(20);
            player.reset();
        }
    };
    cycle(5);
    const auto threads = count("/proc/self/task");
    const auto descriptors = count("/proc/self/fd");
    cycle(30);
    EXPECT_LT(count("/proc/self/task"), threads + 10) << "a few idle threads belong to GLib's pool";
    EXPECT_EQ(count("/proc/self/fd"), descriptors);
}

// --- the formats of a demo ------------------------------------------------------------------------------

TEST_F(MusicPlayer, Mp3PlaysAndAFilmPlaysItsSoundAlone) {
    const std::string picture = "-f lavfi -i testsrc=duration=3:size=64x64:rate=25 ";
    const std::pair<const char*, std::string> files[] = {
        {"tune.mp3", "-c:a libmp3lame -id3v2_version 3 -metadata title=T"},
        {"film.mpg", picture + "-c:v mpeg1video -c:a mp2 -f mpeg"},
        {"film.mpeg", picture + "-c:v mpeg2video -c:a mp2 -f vob"},
        {"film.avi", picture + "-c:v mjpeg -c:a pcm_s16le"}};
    const unsigned windows = windowCount(false);
    for (const auto& [name, options] : files) {
        SCOPED_TRACE(name);
        const std::string command = "ffmpeg -v quiet -y -f lavfi -i sine=frequency=1000:duration=3 " +
                                    options + " " + name + " </dev/null >/dev/null 2>&1";
        if (std::system(command.c_str()) != 0) GTEST_SKIP() << "ffmpeg does not write it here";
        // The generator's tone has an eighth of full scale.
        expectTone(hear(name, 2.5), 1000, 1300, 0.125);
        EXPECT_EQ(windowCount(false), windows);
        fs::remove("heard");
    }
}
