#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

// Resources of an executable: pieces of data under a type and a number, carried in the program's own file and
// read while it runs.

enum {
    QB_RESOURCE_TYPE_SIZE = 8, // with terminator
    QB_RESOURCES_MAX = 16,     // per executable
    QB_RESOURCE_ID_MAX = 65535,
};

struct QbResource;

// 1 when the running program carries it, else 0. The program's file is examined once; when its resources are
// damaged or cut, a message says so and there are none.
int qbResourceFind(const char* type, int id);
// Null when there is none, or when the program's file does not open any more.
QbResource* qbResourceOpen(const char* type, int id);
void qbResourceClose(QbResource* resource); // null is allowed

enum QbResourceResult { QB_RESOURCE_COPIED = 0, QB_RESOURCE_DAMAGED = -1, QB_RESOURCE_NOT_WRITTEN = -2 };
// Appends the whole resource to `target` in pieces, which are flushed. QB_RESOURCE_DAMAGED when it can not be
// read or is not what was stored, which may be known only after it was written; QB_RESOURCE_NOT_WRITTEN, with
// errno set, when `target` does not take it (a full disk), EINTR when the process was asked to end.
QbResourceResult qbResourceCopy(const QbResource* resource, std::FILE* target);

// Reads the resources of another executable from now on; null goes back to the running one. Either is
// examined anew, so this is also the call after an update.
void qbResourceSetProgram(const char* path);

// --- storing --------------------------------------------------------------------------------------------

// Copies an executable (null: the running one), without its resources, to `target`, with its permissions; the
// owner may write the copy. An old target is replaced at once by the whole copy, or stays as it is; it may be
// running. 0, or -1 with errno set: EINVAL when both are the same file, ENOEXEC when `source` is no
// executable, EISDIR when `target` is a directory, EEXIST when it is something else that is no plain file.
int qbResourceCopyProgram(const char* source, const char* target);

struct QbResourceUpdate;

// Opens an executable to store resources in it. What it carries stays, unless a message would say that it is
// damaged or cut: then all of it is dropped. Null with errno set when it can not be written (ETXTBSY while it
// runs) or is no executable (ENOEXEC).
QbResourceUpdate* qbResourceUpdateBegin(const char* executable);
// Stores one resource in place of one of the same type and number; the directory must then have room for the
// whole new executable. 0, or -1 with errno set and nothing stored: EINVAL for a type that is empty or longer
// than 7 characters, or an id outside 0 to QB_RESOURCE_ID_MAX; ENOSPC for one more than QB_RESOURCES_MAX.
int qbResourceUpdatePut(QbResourceUpdate* update, const char* type, int id, const void* data, size_t size);
// Makes what was put take effect, or drops it (`discard` 1), and releases `update`. 0, or an errno: the
// executable then carries what it carried before.
int qbResourceUpdateEnd(QbResourceUpdate* update, int discard);
