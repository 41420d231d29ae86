#include <gtest/gtest.h> // ahead of Xlib, whose macros None and Bool break it

#include "platform/music/music_player.h"
#include "platform/music/tone.h"
#include "support/temporary_directory.h"
#include "support/windows.h"
#include <chrono>
#include <clocale>
#include <memory>
#include <sys/stat.h>
#include <thread>

namespace fs = std::filesystem;

static void sleepFor(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

namespace {

// Stands in a directory of its own, where "heard" is what the sink records.
class MusicPlayer : public testing::Test {
protected:
    ~MusicPlayer() override { qbMusicPlayerSetSink(nullptr); }
    void record(bool live) const {
        qbMusicPlayerSetSink(recordingSink(directory.path() + "/heard", live).c_str());
    }
    static uintmax_t heardSize() { return fs::exists("heard") ? fs::file_size("heard") : 0; }
    static bool isStill() {
        const uintmax_t size = heardSize();
        sleepFor(150);
        return heardSize() == size;
    }
    // Writes 20 s of a tone to "tune.wav" and loads it.
    void load(double frequency) const {
        writeWave("tune.wav", frequency, 20);
        ASSERT_EQ(qbMusicPlayerLoad(player.get(), "tune.wav"), 0);
    }
    void run(double seconds) const {
        const auto bytes = static_cast<uintmax_t>(seconds * RECORD_RATE * 2);
        ASSERT_EQ(qbMusicPlayerRun(player.get()), 0);
        for (int i = 0; i < 2000 && heardSize() < bytes; ++i)
            sleepFor(5);
        ASSERT_GE(heardSize(), bytes);
    }
    // Plays 1.5 s of a tune of 1000 Hz as fast as it decodes.
    void expectHeard(const std::string& file, double amplitude) const {
        record(false);
        EXPECT_EQ(qbMusicPlayerLoad(player.get(), file.c_str()), 0);
        run(1.5);
        qbMusicPlayerStop(player.get());
        const std::vector<int16_t> samples = readRecording("heard");
        EXPECT_NEAR(amplitudeOf(1000, samples), amplitude, amplitude / 5) << file;
        EXPECT_LT(amplitudeOf(1300, samples), amplitude / 50) << file;
        fs::remove("heard");
    }
    TemporaryDirectory directory;
    std::unique_ptr<QbMusicPlayer, decltype(&qbMusicPlayerFree)> player{qbMusicPlayerCreate(),
                                                                        qbMusicPlayerFree};
};

} // namespace

TEST_F(MusicPlayer, IsHeardFromRunToPauseOrStop) {
    record(true);
    load(1000);
    EXPECT_TRUE(isStill() && heardSize() == 0);
    run(0.3);
    ASSERT_EQ(qbMusicPlayerPause(player.get()), 0);
    sleepFor(100);
    EXPECT_TRUE(isStill());
    run(0.6);
    EXPECT_EQ(qbMusicPlayerStop(player.get()), 0);
    EXPECT_TRUE(isStill());
    ASSERT_EQ(qbMusicPlayerRun(player.get()), 0); // and at once
    ASSERT_EQ(qbMusicPlayerStop(player.get()), 0);
    EXPECT_TRUE(isStill());
    record(false);
    load(1000);
    fs::remove("tune.wav"); // it may go
    fs::remove("heard");
    run(19);
}

TEST_F(MusicPlayer, WhatCanNotBePlayedIsSilentInEveryWay) {
    directory.write("empty.mp3");
    std::string garbage;
    for (uint32_t i = 0, x = 1; i < 60000; ++i, x = x * 1664525 + 1013904223)
        garbage += static_cast<char>(x >> 24);
    directory.write("garbage.mp3", garbage);
    ASSERT_EQ(mkfifo("pipe.mp3", 0600), 0);
    writeWave("mute.wav", 0, 2); // there may be a sound device, or none
    const std::pair<const char*, int> files[] = {{"none.mp3", -1}, {".", -1},          {"pipe.mp3", -1},
                                                 {"empty.mp3", 0}, {"garbage.mp3", 0}, {"mute.wav", 0}};
    testing::internal::CaptureStderr();
    EXPECT_EQ(qbMusicPlayerPause(player.get()), -1); // nothing is loaded
    for (const auto& [file, loaded] : files) {
        EXPECT_EQ(qbMusicPlayerLoad(player.get(), file), loaded) << file;
        EXPECT_EQ(qbMusicPlayerRun(player.get()), loaded) << file;
        sleepFor(50);
        EXPECT_EQ(qbMusicPlayerStop(player.get()), loaded) << file;
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    qbMusicPlayerSetSink("nosuchsink");
    testing::internal::CaptureStderr();
    load(1000);
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(said.find("No sound: the sink \"nosuchsink\" does not work: "), 0U) << said;
}

TEST_F(MusicPlayer, TunesReachTheSinkUnderAWindowsPathAndOfAFilmTheSoundAlone) {
    record(true);
    load(1700);
    run(0.1); // replaced by the next
    fs::create_directory("Music");
    writeWave("Music/Tune.wav", 1000, 2);
    expectHeard(directory.path() + "\\music\\TUNE.WAV", 0.5);
    EXPECT_STREQ(setlocale(LC_NUMERIC, nullptr), "C");
    const std::string sound = "ffmpeg -v quiet -y -f lavfi -i sine=frequency=1000:duration=2 ";
    const std::string picture = "-f lavfi -i testsrc=duration=2:size=64x64:rate=25 ";
    const unsigned windows = windowCount(false);
    for (const std::string& options :
         {std::string("-c:a libmp3lame -id3v2_version 3 -metadata title=T tune.mp3"),
          picture + "-c:v mpeg1video -c:a mp2 -f mpeg film.mpg",
          picture + "-c:v mpeg2video -c:a mp2 -f vob film.mpeg"}) {
        const std::string command = sound + options + " </dev/null >/dev/null 2>&1";
        if (std::system(command.c_str()) != 0) GTEST_SKIP() << "ffmpeg does not write it here";
        expectHeard(options.substr(options.rfind(' ') + 1), 0.125); // the generator's amplitude
        EXPECT_EQ(windowCount(false), windows);
    }
}
