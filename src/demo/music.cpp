#include "demo/music.h"

#include "engine/engine.h"
#include "platform/memory.h"
#include "platform/music/music_player.h"

#include <cstdio>
#include <new>

static int32_t qbMusicCurrent = -1;

static QbMusic* findMusic(int id) {
    const QbIdList* musics = qbEngineGet()->musics;
    return musics ? static_cast<QbMusic*>(qbIdListGet(musics, id)) : nullptr;
}

int qbMusicLoad(const char* path, int id) {
    QbIdList* musics = qbEngineGet()->musics;
    if (!musics) return -1;
    if (qbMusicExists(id) != 0) qbMusicFree(id);
    if (qbMusicCurrent == id) qbMusicCurrent = -1; // left over from an engine that was closed in between
    auto* music = new (std::nothrow) QbMusic{};
    if (!music) return -1;
    snprintf(music->path, sizeof(music->path), "%s", path);
    music->player = qbMusicPlayerCreate();
    if (!music->player || qbIdListAdd(musics, id, music) != 0) {
        qbMusicPlayerFree(music->player);
        delete music;
        return -1;
    }
    // A tune that can not be played is silent.
    qbUnlessOutOfMemory(path, -1, [=] { return qbMusicPlayerLoad(music->player, path); });
    return 0;
}

int qbMusicExists(int id) {
    return findMusic(id) ? 1 : 0;
}

int qbMusicFree(int id) {
    QbMusic* music = findMusic(id);
    if (!music) return -1;
    if (music->playing != 0) qbMusicStop(id);
    qbMusicPlayerFree(music->player);
    delete music;
    qbIdListRemove(qbEngineGet()->musics, id);
    return 0;
}

int qbMusicPlay(int id) {
    QbMusic* music = findMusic(id);
    if (!music) return -1;
    if (qbMusicCurrent != -1) qbMusicStop(qbMusicCurrent);
    if (music->player) qbMusicPlayerRun(music->player);
    music->playing = 1;
    qbMusicCurrent = id;
    return 0;
}

int qbMusicStop(int id) {
    QbMusic* music = findMusic(id);
    if (!music) return -1;
    if (qbMusicCurrent != id) return 0;
    qbMusicPlayerFree(music->player); // stopped for good, so the device is free for the next tune
    music->player = nullptr;
    qbMusicCurrent = -1;
    music->playing = 0;
    return 0;
}
