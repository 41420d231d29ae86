#include "platform/text_alias.h"

#include "platform/descriptor_posix.h"

#include <cerrno>
#include <memory>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

struct QbTextAlias {
    QbDescriptor file;
    std::string name;
};

static bool writeAll(int descriptor, const char* text, size_t length) {
    while (length > 0) {
        const ssize_t written = write(descriptor, text, length);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        text += written;
        length -= static_cast<size_t>(written);
    }
    return true;
}

QbTextAlias* qbTextAliasCreate(const char* text, unsigned length) {
    if (!text && length > 0) return nullptr;
    auto alias = std::make_unique<QbTextAlias>();
    alias->file.reset(memfd_create("text", MFD_CLOEXEC));
    const int descriptor = alias->file.number();
    if (descriptor < 0 || !writeAll(descriptor, text, length)) return nullptr;
    alias->name = "/proc/self/fd/" + std::to_string(descriptor);
    return alias.release();
}

const char* qbTextAliasName(const QbTextAlias* alias) {
    return alias->name.c_str();
}

void qbTextAliasFree(QbTextAlias* alias) {
    delete alias;
}
