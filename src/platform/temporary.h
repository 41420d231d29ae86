#pragma once

#include <cstdio>

// Directories and files for temporary data. Paths are full ones, taken exactly as given.

// The system's directory for them with its trailing separator, 2048 characters at most. "" with errno set
// when there is none: EINVAL when its path is no full one, ENAMETOOLONG when it does not fit. Static buffer.
const char* qbTemporaryDirectory();

// A directory that this process holds for itself alone.
struct QbHeldDirectory;

enum QbHoldResult {
    QB_HOLD_DONE = 0,
    QB_HOLD_BUSY = 1,        // held already, by this process or another one
    QB_HOLD_REFUSED = 2,     // what lies there is not taken; errno: EPERM another user's, ELOOP a link,
                             // ENOTDIR no directory, or why it can not be entered or held
    QB_HOLD_NOT_CREATED = 3, // nothing lies there and nothing can be made; errno tells why
};

// Makes the directory, or takes over one that a process of this user left behind, with what lies in it; from
// then on nobody else may look into it. The system lets go of it when the process ends in whatever way.
// `held` is the caller's to remove, and null unless QB_HOLD_DONE.
QbHoldResult qbDirectoryHold(const char* path, QbHeldDirectory** held);
// Deletes the directory with all that lies in it (links are not followed) and lets go of it. In a process
// forked off the one that holds it nothing is deleted. Null is allowed.
void qbDirectoryRemove(QbHeldDirectory* held);

// Makes a file that this user alone may read, in place of one that lies there, and never through a link. Null
// with errno set when that fails. The caller closes it.
std::FILE* qbTemporaryFile(const char* path);
