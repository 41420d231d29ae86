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

bool qbSystemIsDirectory(const std::string& name) {
    struct stat info;
    return stat(name.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool qbSystemIsAbsolute(const std::string& name) {
    return !name.empty() && name[0] == '/';
}

std::vector<std::string> qbSystemList(const std::string& directory) {
    std::vector<std::string> names;
    DIR* stream = opendir(directory.c_str());
    if (!stream) return names;
    while (const dirent* entry = readdir(stream)) {
        if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0)
            names.emplace_back(entry->d_name);
    }
    closedir(stream);
    return names;
}

std::FILE* qbSystemOpen(const std::string& name, const char* mode) {
    // fopen accepts a directory for reading; only the reads would fail.
    if (qbSystemIsDirectory(name)) {
        errno = EISDIR;
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
