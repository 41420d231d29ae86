#include <gtest/gtest.h> // ahead of Xlib, whose macros None and Bool break it

#include "platform/music/music_player.h"
#include "platform/music/tone.h"
#include <X11/Xlib.h>
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

namespace {

struct Free {
    void operator()(QbMusicPlayer* player) const { qbMusicPlayerFree(player); }
};
using Player = std::unique_ptr<QbMusicPlayer, Free>;

class MusicPlayer : public testing::Test {
protected:
    void SetUp() override {
        std::string name = (fs::temp_directory_path() / "quab-music-XXXXXX").string();
        directory_ = mkdtemp(name.data());
    }
    void TearDown() override {
        qbMusicPlayerSetSink(nullptr);
        fs::remove_all(directory_);
    }
    std::string path(const char* name) const { return (directory_ / name).string(); }
    std::string record(bool live) const {
        qbMusicPlayerSetSink(recordingSink(path("heard"), live).c_str());
        return path("heard");
    }
    // Plays a file as fast as it decodes and gives back what came out, at most about `seconds` of it.
    std::vector<int16_t> hear(const std::string& file, double seconds) const;
    fs::path directory_;
};

} // namespace

static bool waitUntil(const std::function<bool()>& condition) {
    for (int i = 0; i < 2000 && !condition(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return condition();
}

static uintmax_t sizeOf(const std::string& path) {
    std::error_code error;
    const uintmax_t size = fs::file_size(path, error);
    return error ? 0 : size;
}

std::vector<int16_t> MusicPlayer::hear(const std::string& file, double seconds) const {
    const std::string heard = record(false);
    const Player player(qbMusicPlayerCreate());
    EXPECT_EQ(qbMusicPlayerLoad(player.get(), file.c_str()), 0);
    EXPECT_EQ(qbMusicPlayerRun(player.get()), 0);
    const auto bytes = static_cast<uintmax_t>(seconds * RECORD_RATE * 2);
    EXPECT_TRUE(waitUntil([&] { return sizeOf(heard) >= bytes; })) << sizeOf(heard) << " bytes came out";
    qbMusicPlayerStop(player.get());
    return readRecording(heard);
}

static void expectTone(const std::vector<int16_t>& samples, double frequency, double other,
                       double amplitude) {
    EXPECT_NEAR(amplitudeOf(frequency, samples), amplitude, amplitude / 5);
    EXPECT_LT(amplitudeOf(other, samples), amplitude / 50);
}

TEST_F(MusicPlayer, ATunesToneReachesTheSink) {
    writeWave(path("tune.wav"), {{1000, 2}});
    expectTone(hear(path("tune.wav"), 1.9), 1000, 1300, 0.5);
    EXPECT_STREQ(setlocale(LC_NUMERIC, nullptr), "C");
}

TEST_F(MusicPlayer, ThePathMayBeAWindowsPath) {
    fs::create_directory(path("Music"));
    writeWave(path("Music/Tune.wav"), {{1000, 1}});
    expectTone(hear(directory_.string() + "\\music\\TUNE.WAV", 0.9), 1000, 1300, 0.5);
}

TEST_F(MusicPlayer, NothingIsHeardBeforeRunAndAfterStop) {
    writeWave(path("tune.wav"), {{1000, 60}});
    const std::string heard = record(true);
    const Player player(qbMusicPlayerCreate());
    ASSERT_EQ(qbMusicPlayerLoad(player.get(), path("tune.wav").c_str()), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_EQ(sizeOf(heard), 0U);
    ASSERT_EQ(qbMusicPlayerRun(player.get()), 0);
    ASSERT_TRUE(waitUntil([&] { return sizeOf(heard) > 4000; }));
    EXPECT_EQ(qbMusicPlayerStop(player.get()), 0);
    const uintmax_t size = sizeOf(heard);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_EQ(sizeOf(heard), size);
}

TEST_F(MusicPlayer, AStopRightBehindRunStopsToo) {
    writeWave(path("tune.wav"), {{1000, 60}});
    const std::string heard = record(true);
    for (int i = 0; i < 10; ++i) {
        const Player player(qbMusicPlayerCreate());
        ASSERT_EQ(qbMusicPlayerLoad(player.get(), path("tune.wav").c_str()), 0);
        ASSERT_EQ(qbMusicPlayerRun(player.get()), 0);
        ASSERT_EQ(qbMusicPlayerStop(player.get()), 0);
        const uintmax_t size = sizeOf(heard);
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        EXPECT_EQ(sizeOf(heard), size);
    }
}

TEST_F(MusicPlayer, PauseHoldsAndRunGoesOn) {
    writeWave(path("tune.wav"), {{1000, 60}});
    const std::string heard = record(true);
    const Player player(qbMusicPlayerCreate());
    ASSERT_EQ(qbMusicPlayerLoad(player.get(), path("tune.wav").c_str()), 0);
    ASSERT_EQ(qbMusicPlayerRun(player.get()), 0);
    ASSERT_TRUE(waitUntil([&] { return sizeOf(heard) > 4000; }));
    ASSERT_EQ(qbMusicPlayerPause(player.get()), 0);
    uintmax_t size = 0;
    ASSERT_TRUE(waitUntil([&] {
        const uintmax_t before = std::exchange(size, sizeOf(heard));
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        return before == size && sizeOf(heard) == size;
    }));
    ASSERT_EQ(qbMusicPlayerRun(player.get()), 0);
    EXPECT_TRUE(waitUntil([&] { return sizeOf(heard) > size + 4000; }));
}

TEST_F(MusicPlayer, RunAfterStopBeginsAgain) {
    writeWave(path("tune.wav"), {{1000, 1}, {1700, 20}});
    const std::string heard = record(false);
    const Player player(qbMusicPlayerCreate());
    ASSERT_EQ(qbMusicPlayerLoad(player.get(), path("tune.wav").c_str()), 0);
    for (int round = 0; round < 2; ++round) {
        ASSERT_EQ(qbMusicPlayerRun(player.get()), 0);
        ASSERT_TRUE(waitUntil([&] { return sizeOf(heard) > 5 * RECORD_RATE; }));
        ASSERT_EQ(qbMusicPlayerStop(player.get()), 0);
        const std::vector<int16_t> samples = readRecording(heard);
        const std::span<const int16_t> all(samples);
        EXPECT_NEAR(amplitudeOf(1000, all.first(7000)), 0.5, 0.05);
        EXPECT_LT(amplitudeOf(1000, all.subspan(9000)), 0.05);
        fs::remove(heard);
    }
}

TEST_F(MusicPlayer, TheFileMayGoOnceItIsLoaded) {
    writeWave(path("tune.wav"), {{1000, 20}});
    const std::string heard = record(false);
    const Player player(qbMusicPlayerCreate());
    ASSERT_EQ(qbMusicPlayerLoad(player.get(), path("tune.wav").c_str()), 0);
    fs::remove(path("tune.wav"));
    ASSERT_EQ(qbMusicPlayerRun(player.get()), 0);
    EXPECT_TRUE(waitUntil([&] { return sizeOf(heard) >= 19 * 2 * RECORD_RATE; }));
}

TEST_F(MusicPlayer, ALoadReplacesTheTuneBefore) {
    writeWave(path("low.wav"), {{1000, 60}});
    writeWave(path("high.wav"), {{1700, 2}});
    const std::string heard = record(true);
    const Player player(qbMusicPlayerCreate());
    ASSERT_EQ(qbMusicPlayerLoad(player.get(), path("low.wav").c_str()), 0);
    ASSERT_EQ(qbMusicPlayerRun(player.get()), 0);
    ASSERT_TRUE(waitUntil([&] { return sizeOf(heard) > 1000; }));
    record(false);
    ASSERT_EQ(qbMusicPlayerLoad(player.get(), path("high.wav").c_str()), 0);
    ASSERT_EQ(qbMusicPlayerRun(player.get()), 0);
    ASSERT_TRUE(waitUntil([&] { return sizeOf(heard) >= 3 * RECORD_RATE; }));
    qbMusicPlayerStop(player.get());
    expectTone(readRecording(heard), 1700, 1000, 0.5);
}

TEST_F(MusicPlayer, WhatCanNotBePlayedIsSilentInEveryWay) {
    std::ofstream(path("empty.mp3"));
    std::ofstream(path("text.mp3")) << "The quick brown fox jumps over the lazy dog.\n";
    std::ofstream garbage(path("garbage.mp3"), std::ios::binary);
    for (uint32_t i = 0, x = 1; i < 60000; ++i, x = x * 1664525 + 1013904223)
        garbage.put(static_cast<char>(x >> 24));
    garbage.close();
    ASSERT_EQ(mkfifo(path("pipe.mp3").c_str(), 0600), 0);
    const std::pair<std::string, int> files[] = {
        {path("none.mp3"), -1}, {directory_.string(), -1}, {path("pipe.mp3"), -1},   {"", -1},
        {path("empty.mp3"), 0}, {path("text.mp3"), 0},     {path("garbage.mp3"), 0},
    };
    for (const auto& [file, loaded] : files) {
        SCOPED_TRACE(file);
        testing::internal::CaptureStderr();
        const Player player(qbMusicPlayerCreate());
        EXPECT_EQ(qbMusicPlayerLoad(player.get(), file.c_str()), loaded);
        EXPECT_EQ(qbMusicPlayerRun(player.get()), loaded);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(qbMusicPlayerStop(player.get()), loaded);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    }
}

TEST_F(MusicPlayer, AnEmptyPlayerRefuses) {
    const Player player(qbMusicPlayerCreate());
    EXPECT_EQ(qbMusicPlayerRun(player.get()), -1);
    EXPECT_EQ(qbMusicPlayerPause(player.get()), -1);
    EXPECT_EQ(qbMusicPlayerStop(player.get()), -1);
    qbMusicPlayerFree(nullptr);
}

// Whether there is a sound device or not, nothing is written to the console. The tune is a silent one.
TEST_F(MusicPlayer, TheDefaultOutputKeepsQuiet) {
    writeWave(path("tune.wav"), {{1000, 2, 0.0}});
    testing::internal::CaptureStderr();
    const Player first(qbMusicPlayerCreate());
    const Player second(qbMusicPlayerCreate());
    EXPECT_EQ(qbMusicPlayerLoad(first.get(), path("tune.wav").c_str()), 0);
    EXPECT_EQ(qbMusicPlayerLoad(second.get(), path("tune.wav").c_str()), 0);
    EXPECT_EQ(qbMusicPlayerRun(first.get()), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(qbMusicPlayerStop(first.get()), 0);
    EXPECT_EQ(qbMusicPlayerRun(second.get()), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(qbMusicPlayerStop(second.get()), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(MusicPlayer, ASinkThatDoesNotWorkIsNamedAndSilent) {
    writeWave(path("tune.wav"), {{1000, 1}});
    qbMusicPlayerSetSink("nosuchsink");
    testing::internal::CaptureStderr();
    const Player player(qbMusicPlayerCreate());
    EXPECT_EQ(qbMusicPlayerLoad(player.get(), path("tune.wav").c_str()), 0);
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(said.find("No sound: the sink \"nosuchsink\" does not work: "), 0U) << said;
    EXPECT_EQ(qbMusicPlayerRun(player.get()), 0);
}

static auto threadCount() {
    return std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator());
}

static auto descriptorCount() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

TEST_F(MusicPlayer, PlayersLeaveNoThreadsAndFilesBehind) {
    writeWave(path("tune.wav"), {{1000, 60}});
    record(true);
    const auto cycle = [&] {
        const Player player(qbMusicPlayerCreate());
        qbMusicPlayerLoad(player.get(), path("tune.wav").c_str());
        qbMusicPlayerRun(player.get());
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    };
    for (int i = 0; i < 5; ++i)
        cycle();
    const auto threads = threadCount();
    const auto descriptors = descriptorCount();
    for (int i = 0; i < 30; ++i)
        cycle();
    EXPECT_LT(threadCount(), threads + 10) << "a few idle threads belong to GLib's pool";
    EXPECT_EQ(descriptorCount(), descriptors);
}

// --- the formats of a demo ------------------------------------------------------------------------------

static bool convert(const std::string& options) {
    return std::system(("ffmpeg -v quiet -y " + options + " </dev/null >/dev/null 2>&1").c_str()) == 0;
}

static unsigned windowCount() {
    Display* display = XOpenDisplay(nullptr);
    Window root = 0;
    Window parent = 0;
    Window* children = nullptr;
    unsigned count = 0;
    XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count);
    if (children) XFree(children);
    XCloseDisplay(display);
    return count;
}

TEST_F(MusicPlayer, Mp3Plays) {
    if (!convert(
            "-f lavfi -i sine=frequency=1000:duration=3 -c:a libmp3lame -id3v2_version 3 -metadata title=T " +
            path("tune.mp3")))
        GTEST_SKIP() << "ffmpeg writes no mp3 here";
    expectTone(hear(path("tune.mp3"), 2.5), 1000, 1300,
               0.125); // the generator's tone has an eighth of full scale
}

TEST_F(MusicPlayer, AFilmPlaysItsSoundAlone) {
    const char* films[][2] = {{"film.mpg", "-c:v mpeg1video -c:a mp2 -f mpeg"},
                              {"film.mpeg", "-c:v mpeg2video -c:a mp2 -f vob"},
                              {"film.avi", "-c:v mjpeg -c:a pcm_s16le"}};
    const unsigned windows = windowCount();
    for (const auto& [name, codecs] : films) {
        SCOPED_TRACE(name);
        if (!convert(std::string("-f lavfi -i testsrc=duration=3:size=64x64:rate=25 -f lavfi -i "
                                 "sine=frequency=1000:duration=3 ") +
                     codecs + " " + path(name)))
            GTEST_SKIP() << "ffmpeg writes no films here";
        expectTone(hear(path(name), 2.5), 1000, 1300, 0.125);
        EXPECT_EQ(windowCount(), windows);
    }
}
