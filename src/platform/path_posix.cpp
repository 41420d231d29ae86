#include "platform/path_system.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

bool qbSystemExists(const std::string& name) {
    struct stat info;
    return stat(name.c_str(), &info) == 0;
}

bool qbSystemIsFile(const std::string& name) {
    struct stat info;
    return stat(name.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool qbSystemIsSame(const std::string& a, const std::string& b) {
    struct stat first, second;
    return stat(a.c_str(), &first) == 0 && stat(b.c_str(), &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

bool qbSystemIsAbsolute(const std::string& name) {
    return !name.empty() && name[0] == '/';
}

std::vector<std::string> qbSystemList(const std::string& directory) {
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(directory.c_str()), closedir);
    if (!stream) return names;
    while (const dirent* entry = readdir(stream.get())) {
        if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0)
            names.emplace_back(entry->d_name);
    }
    return names;
}

std::FILE* qbSystemOpen(const std::string& name, const char* mode) {
    struct stat info = {};
    const bool exists = stat(name.c_str(), &info) == 0;
    // fopen accepts a directory for reading; only the reads would fail.
    if (exists && S_ISDIR(info.st_mode)) {
        errno = EISDIR;
        return nullptr;
    }
    // And it waits without end for somebody to write to a pipe.
    if (exists && mode[0] == 'r' && !S_ISREG(info.st_mode)) {
        errno = EINVAL;
        return nullptr;
    }
    return fopen(name.c_str(), mode);
}

bool qbSystemCurrentDirectory(std::string& directory) {
    const std::unique_ptr<char, decltype(&free)> name(getcwd(nullptr, 0), free);
    if (!name) return false;
    directory = name.get();
    return true;
}

bool qbSystemEnter(const std::string& directory) {
    return chdir(directory.c_str()) == 0;
}
