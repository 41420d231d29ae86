#include "platform/text_alias.h"

#include <cerrno>
#include <memory>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

struct QbTextAlias {
    int descriptor = -1;
    std::string name;

    QbTextAlias() = default;
    QbTextAlias(const QbTextAlias&) = delete;
    QbTextAlias& operator=(const QbTextAlias&) = delete;
    ~QbTextAlias() {
        if (descriptor >= 0) close(descriptor);
    }
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
    alias->descriptor = memfd_create("text", MFD_CLOEXEC);
    if (alias->descriptor < 0 || !writeAll(alias->descriptor, text, length)) return nullptr;
    alias->name = "/proc/self/fd/" + std::to_string(alias->descriptor);
    return alias.release();
}

const char* qbTextAliasName(const QbTextAlias* alias) {
    return alias->name.c_str();
}

void qbTextAliasFree(QbTextAlias* alias) {
    delete alias;
}
