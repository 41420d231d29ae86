#pragma once

// The cabinets of a stand-alone show, and the numbered directories that they are unpacked into, one at a
// time.
//
// A directory is "TheDemoExtractDir.1" for row 1, in the system's directory for temporary files (TMPDIR). It
// is this process's alone as long as the row is open, and nobody else may look into it:
// - When another running copy of the show holds it, the row takes the next free name,
//   "TheDemoExtractDir.1.2" up to ".99".
// - What a killed copy left behind is held by nobody: the next run takes it over with what lies in it, and
//   removes it when it closes the row. What was left under other names and of other rows goes at once.
// - One that belongs to another user, a link or a file of that name is refused with a message.
// Every directory that this process still holds when it ends by exit() or by the end of main is removed then,
// after a failure too.

enum {
    QB_CAB_DATA = 500,    // the script, and its scene directories
    QB_CAB_MUSIC = 501,   // the tunes
    QB_CAB_LOADING = 502, // the loading picture
    QB_CAB_DEFDATA = 503, // the built-in shaders
    QB_CAB_ROWS = 10,     // directories are numbered 0 to 9
};

// Why a cabinet was not unpacked; a positive number is the system's error number, EINTR when the process was
// asked to end.
enum {
    QB_CAB_NO_DIRECTORY = -1, // no such row, or what lies under the directory's name is refused
    QB_CAB_NOT_FOUND = -10,   // the program carries no such cabinet
    QB_CAB_NOT_LOADED = -20,  // the program's file does not open any more
    QB_CAB_NOT_LOCKED = -30,  // the resource is damaged
    QB_CAB_NOT_CREATED = -40, // the directory or the scratch file in it can not be made
    QB_CAB_NOT_WRITTEN = -50, // the disk is full
};

int qbResourceExists(int id); // 1 when the running program carries this cabinet, else 0
int qbHasResources();         // 0 when it carries 500, 501 and 502, else -1

// Unpacks a cabinet into the directory of this row, which becomes the current one. A row in use is closed
// first. 0, or one of the codes above with the row not in use; a message tells why the directory can not be
// had.
int qbCabOpen(int row, int id);
int qbCabUse(int row);   // enters the directory; 0, or -1 when the row is not in use
int qbCabClose(int row); // deletes the directory; 0, or -1 when the row is not in use
int qbCabCloseAll();     // closes the rows in use; 0
// The first word of the directories' names, 255 characters at most; "TheDemoExtractDir" at first. 0, or -1
// when it is too long, empty or holds a separator. Rows in use keep their directories.
int qbCabSetExtractDir(const char* name);
// Unpacks a cabinet into a directory that exists, by way of the file "hollow.tmp" in it, which is deleted
// afterwards; a cabinet that can not be unpacked stays there under this name. 0, or one of the codes above,
// after a line on the error stream when the disk is at fault.
int qbCabExtract(int id, const char* directory);
