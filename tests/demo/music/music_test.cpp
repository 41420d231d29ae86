#include "demo/music.h"

#include "engine/engine.h"
#include "platform/music/music_player.h"
#include "platform/music/tone.h"
#include "support/temporary_directory.h"

#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <thread>

static QbEngine engine;

QbEngine* qbEngineGet() {
    return &engine;
}

namespace {

class Music : public testing::Test {
protected:
    void SetUp() override {
        engine.musics = qbIdListCreate(50);
        writeWave(path("a.wav"), {{1000, 15}});
        writeWave(path("b.wav"), {{1700, 15}});
    }
    void TearDown() override {
        for (int id = 0; id < 50; ++id)
            qbMusicFree(id);
        qbIdListFree(engine.musics);
        engine.musics = nullptr;
        qbMusicPlayerSetSink(nullptr);
    }
    std::string path(const char* name) const { return directory.path() + "/" + name; }
    // Loads a tune that records what is heard of it.
    int load(const char* tune, int id, const char* heard) const {
        qbMusicPlayerSetSink(recordingSink(path(heard), true).c_str());
        return qbMusicLoad(path(tune).c_str(), id);
    }
    uintmax_t heard(const char* name) const {
        std::error_code error;
        const uintmax_t size = std::filesystem::file_size(path(name), error);
        return error ? 0 : size;
    }
    bool sounds(const char* name) const {
        const uintmax_t before = heard(name);
        for (int i = 0; i < 1000 && heard(name) <= before; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return heard(name) > before;
    }
    bool isStill(const char* name) const {
        const uintmax_t before = heard(name);
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        return heard(name) == before;
    }
    static const QbMusic* tune(int id) { return static_cast<const QbMusic*>(qbIdListGet(engine.musics, id)); }

    TemporaryDirectory directory;
};

} // namespace

TEST_F(Music, IdsWithoutATuneAreRefused) {
    for (const int id : {-1, 0, 1, 49, 50, 1000000}) {
        EXPECT_EQ(qbMusicExists(id), 0) << id;
        EXPECT_EQ(qbMusicPlay(id), -1) << id;
        EXPECT_EQ(qbMusicStop(id), -1) << id;
        EXPECT_EQ(qbMusicFree(id), -1) << id;
    }
}

TEST_F(Music, TheListHoldsIds0To49) {
    EXPECT_EQ(load("a.wav", 49, "x"), 0);
    EXPECT_EQ(qbMusicExists(49), 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(load("a.wav", 50, "x"), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "fail to add to list id=50 > max\n");
    EXPECT_EQ(qbMusicExists(50), 0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(load("a.wav", -1, "x"), -1);
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Music, PlaysUntilStoppedForGood) {
    ASSERT_EQ(load("a.wav", 1, "heard"), 0);
    EXPECT_EQ(tune(1)->path, path("a.wav"));
    EXPECT_EQ(tune(1)->playing, 0);
    EXPECT_EQ(qbMusicPlay(1), 0);
    EXPECT_EQ(tune(1)->playing, 1);
    EXPECT_TRUE(sounds("heard"));
    EXPECT_EQ(qbMusicStop(1), 0);
    EXPECT_EQ(tune(1)->playing, 0);
    EXPECT_TRUE(isStill("heard"));

    EXPECT_EQ(tune(1)->player, nullptr);
    EXPECT_EQ(qbMusicPlay(1), 0);
    EXPECT_TRUE(isStill("heard"));
    EXPECT_EQ(qbMusicStop(1), 0);
    EXPECT_EQ(qbMusicExists(1), 1);
    EXPECT_EQ(qbMusicFree(1), 0);
}

TEST_F(Music, OnlyOneTunePlaysAndStoppingAnotherLeavesItAlone) {
    ASSERT_EQ(load("a.wav", 1, "first"), 0);
    ASSERT_EQ(load("b.wav", 2, "second"), 0);
    ASSERT_EQ(qbMusicPlay(1), 0);
    EXPECT_EQ(qbMusicStop(2), 0);
    EXPECT_EQ(tune(1)->playing, 1);
    ASSERT_TRUE(sounds("first"));
    ASSERT_EQ(qbMusicPlay(2), 0);
    EXPECT_EQ(tune(1)->playing, 0);
    EXPECT_EQ(tune(2)->playing, 1);
    EXPECT_TRUE(isStill("first"));
    EXPECT_TRUE(sounds("second")) << "a stop before its turn has not used it up";
}

TEST_F(Music, FreeingOrReplacingThePlayingTuneStopsIt) {
    for (const bool replace : {false, true}) {
        ASSERT_EQ(load("a.wav", 1, "first"), 0);
        ASSERT_EQ(qbMusicPlay(1), 0);
        ASSERT_TRUE(sounds("first"));
        EXPECT_EQ(replace ? 0 : qbMusicFree(1), 0);
        EXPECT_EQ(qbMusicExists(1), replace ? 1 : 0);
        const int next = replace ? 1 : 2; // the freed id is no longer current
        ASSERT_EQ(load("b.wav", next, "second"), 0);
        EXPECT_TRUE(isStill("first"));
        EXPECT_EQ(tune(next)->path, path("b.wav"));
        EXPECT_EQ(tune(next)->playing, 0);
        ASSERT_EQ(qbMusicPlay(next), 0);
        EXPECT_TRUE(sounds("second"));
        qbMusicFree(next);
        std::filesystem::remove(path("first"));
        std::filesystem::remove(path("second"));
    }
}

TEST_F(Music, AnUnreadableFileIsSilenceWithoutAWord) {
    testing::internal::CaptureStderr();
    for (const std::string& file : {path("none.mp3"), std::string(), std::string(5000, 'x')}) {
        EXPECT_EQ(qbMusicLoad(file.c_str(), 7), 0);
        EXPECT_EQ(qbMusicExists(7), 1);
        EXPECT_EQ(qbMusicPlay(7), 0);
        EXPECT_EQ(tune(7)->playing, 1);
        EXPECT_EQ(qbMusicStop(7), 0);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Music, WithoutAnEngineEverythingIsRefused) {
    QbIdList* musics = engine.musics;
    engine.musics = nullptr;
    EXPECT_EQ(qbMusicLoad(path("a.wav").c_str(), 1), -1);
    EXPECT_EQ(qbMusicExists(1), 0);
    EXPECT_EQ(qbMusicPlay(1), -1);
    engine.musics = musics;
}
