#include "demo/music.h"

#include "engine/engine.h"
#include "platform/music/music_player.h"
#include "support/fake.h"

#include <gtest/gtest.h>
#include <utility>

// The engine is a record with a list of tunes in it; the players write down what is asked of them.

struct QbMusicPlayer {
    std::string file;
};

static QbEngine engine;
static std::string calls;

static int record(const char* call, const QbMusicPlayer* player) {
    calls += callText(call, player->file) + "; ";
    return player->file == "none" ? -1 : 0;
}

FAKE(QbEngine*, qbEngineGet, (), &engine)
FAKE(QbMusicPlayer*, qbMusicPlayerCreate, (), new QbMusicPlayer)
int qbMusicPlayerLoad(QbMusicPlayer* player, const char* path) {
    player->file = path;
    return record("load", player);
}
FAKE(int, qbMusicPlayerRun, (QbMusicPlayer * player), record("run", player))
void qbMusicPlayerFree(QbMusicPlayer* player) {
    if (player) record("free", player);
    delete player;
}

TEST(Music, PlaysOneTuneUntilItIsStoppedFreedOrReplaced) {
    engine.musics = qbIdListCreate(50);
    const auto playing = [](int id) {
        return static_cast<const QbMusic*>(qbIdListGet(engine.musics, id))->playing;
    };
    for (const auto& [file, id] : {std::pair("a", 1), std::pair("b", 2), std::pair("none", 49)})
        EXPECT_EQ(qbMusicLoad(file, id), 0) << "an unreadable file is silence";
    EXPECT_EQ(qbMusicPlay(1), 0);
    EXPECT_EQ(qbMusicStop(2), 0); // not its turn yet, which leaves the other alone
    EXPECT_EQ(playing(1) * 10 + playing(2), 10);
    EXPECT_EQ(qbMusicPlay(2), 0);
    EXPECT_EQ(playing(1) * 10 + playing(2), 1);
    EXPECT_EQ(qbMusicStop(2), 0);
    EXPECT_EQ(qbMusicPlay(2), 0); // stopped for good
    EXPECT_EQ(qbMusicPlay(49), 0);
    EXPECT_EQ(qbMusicLoad("c", 49), 0);
    EXPECT_EQ(playing(49), 0);
    EXPECT_EQ(qbMusicPlay(49), 0);
    EXPECT_EQ(qbMusicFree(49), 0);
    EXPECT_EQ(std::exchange(calls, ""), "load a; load b; load none; run a; free a; run b; free b; run none; "
                                        "free none; load c; run c; free c; ");
    for (const int id : {-1, 0, 49, 50, 1000000}) {
        EXPECT_EQ(qbMusicExists(id), 0) << id;
        EXPECT_EQ(qbMusicPlay(id), -1) << id;
        EXPECT_EQ(qbMusicStop(id), -1) << id;
        EXPECT_EQ(qbMusicFree(id), -1) << id;
    }
    EXPECT_EQ(qbMusicLoad("d", 50), -1);
    for (const int id : {1, 2})
        EXPECT_EQ(qbMusicFree(id), 0);
    EXPECT_EQ(calls, "free ; "); // of the refused id
    qbIdListFree(engine.musics);
    engine.musics = nullptr;
    EXPECT_EQ(qbMusicLoad("a", 1), -1);
}
