#pragma once

// One tune on the system's default audio output, decoded and played in the background.

struct QbMusicPlayer; // owned by the caller from qbMusicPlayerCreate to qbMusicPlayerFree

// Null only when there is no memory.
QbMusicPlayer* qbMusicPlayerCreate();
// Prepares the file (mp3, mpg, mpeg and whatever else has a decoder). 0, or -1 when it can not be played. The
// file is opened here, so that it may be deleted afterwards without ending the tune.
int qbMusicPlayerLoad(QbMusicPlayer* player, const char* path);
// Starts; returns at once. 0, or -1 when nothing is ready.
int qbMusicPlayerRun(QbMusicPlayer* player);
int qbMusicPlayerPause(QbMusicPlayer* player);
// Stops the sound before it returns. 0, or -1 when nothing is ready.
int qbMusicPlayerStop(QbMusicPlayer* player);
// Stops and releases; null is allowed.
void qbMusicPlayerFree(QbMusicPlayer* player);

// Names the element that takes the sound of players created from now on, as a description that
// gst_parse_bin_from_description accepts ("wavenc ! filesink location=x.wav"); null goes back to the default.
void qbMusicPlayerSetSink(const char* description);
