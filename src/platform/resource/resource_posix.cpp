#include "platform/message.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/resource/resource.h"
#include "platform/resource/store.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

namespace {

// Whose resources are read, and what was found in its file.
struct Program {
    std::string path; // "" for the running one
    bool examined = false;
    uint64_t base = 0;
    QbStoreBlock block = qbStoreEmpty();
};

} // namespace

static Program program;

struct QbResource {
    QbDescriptor file;
    uint64_t offset = 0; // in the file
    uint64_t size = 0;
    uint32_t checksum = 0;
};

static int openProgram() {
    return program.path.empty() ? qbStoreOpenRunning() : qbStoreOpen(program.path.c_str(), false);
}

// The path stands last: a message that gets too long loses no more than the path's end.
static void tell(QbStoreState state) {
    const char* path = program.path.empty() ? qbProgramPath() : program.path.c_str();
    switch (state) {
    case QB_STORE_CUT:
    case QB_STORE_PROGRAM_CUT:
        qbMessage("The data packed into this file is cut off. Copy the file again, or pack it again: %s",
                  path);
        break;
    case QB_STORE_DAMAGED:
        qbMessage("The data packed into this file is damaged. Copy the file again, or pack it again: %s",
                  path);
        break;
    case QB_STORE_UNREADABLE:
        qbMessage("The data packed into this file can not be read (%s). Allow reading it: %s",
                  strerror(errno), path);
        break;
    case QB_STORE_GOOD:
    case QB_STORE_NONE:
    case QB_STORE_NO_PROGRAM:
        break;
    }
}

static void examineProgram() {
    if (program.examined) return;
    program.examined = true;
    const QbDescriptor file(openProgram());
    QbStore store;
    const QbStoreState state = file.number() < 0 ? QB_STORE_UNREADABLE : qbStoreExamine(file.number(), store);
    if (state == QB_STORE_GOOD) {
        program.base = store.base;
        program.block = store.block;
    }
    tell(state);
}

void qbResourceSetProgram(const char* path) {
    program = Program{};
    if (path) program.path = path;
}

int qbResourceFind(const char* type, int id) {
    examineProgram();
    return qbStoreFind(program.block, type, id) >= 0 ? 1 : 0;
}

QbResource* qbResourceOpen(const char* type, int id) {
    examineProgram();
    const int index = qbStoreFind(program.block, type, id);
    if (index < 0) return nullptr;
    auto resource = std::make_unique<QbResource>();
    resource->file.reset(openProgram());
    if (resource->file.number() < 0) return nullptr;
    const QbStoreEntry& entry = program.block.entries[index];
    resource->offset = program.base + entry.offset;
    resource->size = entry.size;
    resource->checksum = entry.checksum;
    return resource.release();
}

void qbResourceClose(QbResource* resource) {
    delete resource;
}

// 0, or -1 with errno set, which not every stream sees to.
static int append(std::FILE* target, const void* data, size_t size) {
    errno = 0;
    if (fwrite(data, 1, size, target) == size && fflush(target) == 0) return 0;
    if (errno == 0) errno = EIO;
    return -1;
}

QbResourceResult qbResourceCopy(const QbResource* resource, std::FILE* target) {
    const auto buffer = std::make_unique<char[]>(QB_STORE_PIECE);
    uint32_t checksum = 0;
    for (uint64_t done = 0; done < resource->size;) {
        if (qbProcessEndAsked()) {
            errno = EINTR;
            return QB_RESOURCE_NOT_WRITTEN;
        }
        const size_t piece = static_cast<size_t>(std::min<uint64_t>(resource->size - done, QB_STORE_PIECE));
        if (!qbStoreReadAt(resource->file.number(), resource->offset + done, buffer.get(), piece))
            return QB_RESOURCE_DAMAGED;
        checksum = qbStoreChecksum(checksum, buffer.get(), piece);
        if (append(target, buffer.get(), piece) != 0) return QB_RESOURCE_NOT_WRITTEN;
        done += piece;
    }
    return checksum == resource->checksum ? QB_RESOURCE_COPIED : QB_RESOURCE_DAMAGED;
}
