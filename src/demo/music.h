#pragma once

#include <cstdint>

// Tunes by id (1 to 49) in the engine's list. One plays at a time, once: a stopped tune is stopped for good.

struct QbMusicPlayer;

struct QbMusic {
    char path[2048];
    QbMusicPlayer* player; // null once stopped
    int32_t playing;
};

// 0, or -1 when there is no memory or the id is refused. A file that can not be played is no failure:
// silence.
int qbMusicLoad(const char* path, int id);
int qbMusicExists(int id); // 1 or 0
// 0, or -1 for an empty id:
int qbMusicFree(int id);
int qbMusicPlay(int id); // stops the current one first
int qbMusicStop(int id); // a tune that is not the current one is left alone
