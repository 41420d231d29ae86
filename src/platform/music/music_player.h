#pragma once

// One tune on the system's default audio output, decoded and played in the background. No call waits for a
// sound device: where there is none, or where nothing decodes the file, the tune is silent.

struct QbMusicPlayer; // owned by the caller from qbMusicPlayerCreate to qbMusicPlayerFree

// Null only when there is no memory.
QbMusicPlayer* qbMusicPlayerCreate();
// Prepares the file (mp3, mpg, mpeg and whatever else has a decoder), in place of the one before. 0, or -1
// when it can not be opened or the machine plays no sound at all; whether something decodes the file turns
// out in the background. It is opened here, so that it may be deleted afterwards without ending the tune.
int qbMusicPlayerLoad(QbMusicPlayer* player, const char* path);
// Starts, or goes on after a pause; from the beginning after a stop. Returns at once. 0, or -1 when nothing
// is loaded.
int qbMusicPlayerRun(QbMusicPlayer* player);
int qbMusicPlayerPause(QbMusicPlayer* player);
// Stops the sound before it returns (a device that hangs is left alone after a second). 0, or -1 when nothing
// is loaded.
int qbMusicPlayerStop(QbMusicPlayer* player);
// Stops and releases; null is allowed.
void qbMusicPlayerFree(QbMusicPlayer* player);

// Names the element that takes the sound of players loaded from now on, as a description that
// gst_parse_bin_from_description accepts ("wavenc ! filesink location=x.wav"); null goes back to the default.
void qbMusicPlayerSetSink(const char* description);
