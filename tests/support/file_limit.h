#pragma once

#include <csignal>
#include <cstddef>
#include <sys/resource.h>

// As long as the object lives no file may grow beyond `size` bytes: as on a full disk, with EFBIG.
class FileLimit {
public:
    explicit FileLimit(size_t size) {
        signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{size, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    FileLimit(const FileLimit&) = delete;
    FileLimit& operator=(const FileLimit&) = delete;
    ~FileLimit() { setrlimit(RLIMIT_FSIZE, &before_); }

private:
    rlimit before_;
};
