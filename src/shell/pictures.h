#pragma once

// Pictures of a job while it runs, and the end of a viewer that nobody watches.
//
// A demo leaves one picture a part, taken half-way through it ("part-01-at-004000ms.png"); a viewer leaves
// four, spread over the scene or over four seconds ("view-1-at-001000ms.png"). "contact-sheet.png" shows them
// all in that order. How smoothly the frames came is printed.

enum QbPicturesJob { QB_PICTURES_DEMO, QB_PICTURES_SCENE, QB_PICTURES_OBJECT };

struct QbPicturesOptions {
    const char* directory; // created when it does not exist; null takes no pictures
    int unattended;        // 1: a viewer ends by itself after its last picture's time
    QbPicturesJob job;
};

// Call it with the engine open, before the job runs. 0, or -1 after a message when the directory can not be
// used.
int qbPicturesStart(const QbPicturesOptions* options);
// Writes what was taken, with the engine still open, and prints where it lies. 0, or -1 after a message when
// a file could not be written. Harmless when nothing was started.
int qbPicturesFinish();
