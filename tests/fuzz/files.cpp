#include "fuzz/fuzz.h"

#include <cstdio>
#include <filesystem>
#include <string>

namespace {

class Directory {
public:
    Directory() {
        std::string pattern = std::filesystem::temp_directory_path() / "fuzz-XXXXXX";
        if (!mkdtemp(pattern.data())) {
            perror(pattern.c_str());
            exit(2);
        }
        path_ = pattern + '/';
    }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;
    ~Directory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    const char* path() const { return path_.c_str(); }

private:
    std::string path_;
};

} // namespace

const char* qbFuzzDirectory() {
    static const Directory directory;
    return directory.path();
}

const char* qbFuzzFile(const char* name, const void* data, size_t size) {
    static std::string path;
    path = std::string(qbFuzzDirectory()) + name;
    std::FILE* file = fopen(path.c_str(), "wb");
    if (!file || (size != 0 && fwrite(data, size, 1, file) != 1) || fclose(file) != 0) {
        perror(path.c_str());
        exit(2);
    }
    return path.c_str();
}
