#include "storage/cabinet.h"

#include "platform/cabinet/cabinet.h"
#include "platform/memory.h"
#include "platform/message.h"
#include "platform/path.h"
#include "platform/resource/resource.h"
#include "platform/temporary.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

enum {
    DIRECTORY_PATH_SIZE = 2048, // with terminator
    BASE_WORD_MAX = 255,        // characters
    COPIES_MAX = 99,            // of a show that run at once
};

static const char* const RESOURCE_TYPE = "CAB";

namespace {

struct ExtractDir {
    int used; // 1 when a cabinet was unpacked into it
    char path[DIRECTORY_PATH_SIZE];
    QbHeldDirectory* held; // also after a cabinet could not be unpacked; until the next one, or the end
};

} // namespace

static ExtractDir qbExtractDir[QB_CAB_ROWS];
static std::string baseWord = "TheDemoExtractDir";

// --- resources ------------------------------------------------------------------------------------------

int qbResourceExists(int id) {
    return qbResourceFind(RESOURCE_TYPE, id);
}

int qbHasResources() {
    for (const int id : {QB_CAB_DATA, QB_CAB_MUSIC, QB_CAB_LOADING}) {
        if (qbResourceExists(id) == 0) return -1;
    }
    return 0;
}

// --- unpacking ------------------------------------------------------------------------------------------

static int failScratch(const std::string& scratch, int error, int code) {
    fprintf(stderr, "%s can not be written: %s\n", scratch.c_str(), strerror(error));
    return code;
}

static int fillScratch(const QbResource* resource, const std::string& scratch) {
    std::FILE* file = qbTemporaryFile(scratch.c_str());
    if (!file) return failScratch(scratch, errno, QB_CAB_NOT_CREATED);
    const QbResourceResult result = qbResourceCopy(resource, file);
    int error = result == QB_RESOURCE_NOT_WRITTEN ? errno : 0;
    if (fclose(file) != 0 && error == 0) error = errno; // the disk may be full only now
    if (result == QB_RESOURCE_COPIED && error == 0) return 0;
    std::remove(scratch.c_str());
    if (result == QB_RESOURCE_DAMAGED) return QB_CAB_NOT_LOCKED;
    if (error == EINTR) return error;
    return failScratch(scratch, error, QB_CAB_NOT_WRITTEN);
}

static int writeScratch(int id, const std::string& scratch) {
    if (qbResourceExists(id) == 0) return QB_CAB_NOT_FOUND;
    const std::unique_ptr<QbResource, decltype(&qbResourceClose)> resource(qbResourceOpen(RESOURCE_TYPE, id),
                                                                           qbResourceClose);
    if (!resource) return QB_CAB_NOT_LOADED;
    return fillScratch(resource.get(), scratch);
}

int qbCabExtract(int id, const char* directory) {
    if (!directory) return QB_CAB_NOT_CREATED;
    const std::string scratch = std::string(directory) + "/hollow.tmp";
    if (const int code = writeScratch(id, scratch); code != 0) return code;
    if (const int error = qbCabinetUnpack(scratch.c_str(), directory); error != 0) return error;
    std::remove(scratch.c_str());
    return 0;
}

// --- directories ----------------------------------------------------------------------------------------

int qbCabSetExtractDir(const char* name) {
    const std::string word = name ? name : "";
    if (word.empty() || word.size() > BASE_WORD_MAX || word.find_first_of("/\\") != std::string::npos)
        return -1;
    baseWord = word;
    return 0;
}

static void releaseDirectory(ExtractDir& directory) {
    qbDirectoryRemove(directory.held);
    directory = {};
}

static void releaseAll() {
    for (ExtractDir& directory : qbExtractDir)
        releaseDirectory(directory);
}

// The name of a row's directory for the first copy of the show, and for those that run beside it.
static std::string copyPath(const std::string& first, int copy) {
    return copy == 1 ? first : first + '.' + std::to_string(copy);
}

static const char* reasonOf(int error) {
    if (error == EPERM) return "it belongs to another user";
    if (error == ELOOP) return "it is a link";
    if (error == ENOTDIR) return "it is no directory";
    return strerror(error);
}

static int refuseDirectory(const std::string& path, QbHoldResult result) {
    const int error = errno;
    if (result == QB_HOLD_REFUSED) {
        qbMessage("%s can not be used for the show's data: %s. %s to another directory.", path.c_str(),
                  reasonOf(error), error == EPERM ? "Set TMPDIR" : "Remove it, or set TMPDIR");
        return QB_CAB_NO_DIRECTORY;
    }
    qbMessage("%s can not be made for the show's data: %s. Set TMPDIR to a directory that can be written and "
              "has room.",
              path.c_str(), strerror(error));
    return QB_CAB_NOT_CREATED;
}

// Takes the first name that no other copy of the show holds.
static int holdDirectory(ExtractDir& directory, const std::string& first) {
    for (int copy = 1; copy <= COPIES_MAX; ++copy) {
        const std::string path = copyPath(first, copy);
        const QbHoldResult result = qbDirectoryHold(path.c_str(), &directory.held);
        if (result == QB_HOLD_BUSY) continue;
        if (result != QB_HOLD_DONE) return refuseDirectory(path, result);
        path.copy(directory.path, sizeof directory.path - 1);
        return 0;
    }
    qbMessage("%s and the names behind it are taken by %d running copies of the show: end some of them.",
              first.c_str(), COPIES_MAX);
    return QB_CAB_NO_DIRECTORY;
}

// Removes what copies of the show that were killed left, under the names of all rows.
static void removeAbandoned(const std::string& firstWord) {
    for (int row = 0; row < QB_CAB_ROWS; ++row) {
        for (int copy = 1; copy <= COPIES_MAX; ++copy) {
            const std::string path = copyPath(firstWord + '.' + std::to_string(row), copy);
            std::error_code error;
            if (!is_directory(std::filesystem::symlink_status(path, error))) continue;
            QbHeldDirectory* held = nullptr;
            qbDirectoryHold(path.c_str(), &held); // busy where a copy runs, and where this one does
            qbDirectoryRemove(held);
        }
    }
}

static int takeDirectory(ExtractDir& directory, int row) {
    const char* place = qbTemporaryDirectory();
    int error = *place ? 0 : errno;
    const std::string firstWord = place + baseWord;
    const std::string first = firstWord + '.' + std::to_string(row);
    if (first.size() + sizeof ".99" > sizeof directory.path) error = ENAMETOOLONG;
    if (error != 0) {
        qbMessage("There is no directory for the show's data: %s. Set TMPDIR to the full path of one.",
                  error == EINVAL ? "TMPDIR is no full path" : strerror(error));
        return QB_CAB_NO_DIRECTORY;
    }
    // Whatever ends the process in an orderly way, a library too, leaves nothing behind.
    static const int registered = std::atexit(releaseAll);
    static_cast<void>(registered);
    if (const int code = holdDirectory(directory, first); code != 0) return code;
    removeAbandoned(firstWord);
    return 0;
}

// --- rows -----------------------------------------------------------------------------------------------

static ExtractDir* usedRow(int row) {
    if (row < 0 || row >= QB_CAB_ROWS || qbExtractDir[row].used == 0) return nullptr;
    return &qbExtractDir[row];
}

static int openRow(int row, int id) {
    ExtractDir& directory = qbExtractDir[row];
    releaseDirectory(directory);
    if (const int code = takeDirectory(directory, row); code != 0) return code;
    if (const int code = qbCabExtract(id, directory.path); code != 0) return code;
    directory.used = 1;
    qbSetDirectory(directory.path);
    return 0;
}

int qbCabOpen(int row, int id) {
    if (row < 0 || row >= QB_CAB_ROWS) return QB_CAB_NO_DIRECTORY;
    return qbUnlessOutOfMemory("The packed data", ENOMEM, [=] { return openRow(row, id); });
}

int qbCabUse(int row) {
    const ExtractDir* directory = usedRow(row);
    return directory ? qbSetDirectory(directory->path) : -1;
}

int qbCabClose(int row) {
    ExtractDir* directory = usedRow(row);
    if (!directory) return -1;
    releaseDirectory(*directory);
    return 0;
}

int qbCabCloseAll() {
    for (int row = 0; row < QB_CAB_ROWS; ++row)
        qbCabClose(row);
    return 0;
}
