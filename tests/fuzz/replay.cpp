// The main of a fuzz target that is built without libFuzzer: gives it each file that is named, and each file
// of a directory that is named. An input that shows a fault ends the program, the last name printed being its
// own.

#include "fuzz/fuzz.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace fs = std::filesystem;

extern "C" [[gnu::weak]] int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

extern "C" size_t LLVMFuzzerMutate(uint8_t*, size_t size, size_t) {
    return size;
}

static void addFiles(const fs::path& path, std::vector<fs::path>& files) {
    if (!fs::is_directory(path)) {
        files.push_back(path);
        return;
    }
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
}

static bool replay(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return false;
    printf("%s\n", path.c_str());
    fflush(stdout);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    // A block of exactly this size, so that reading past its end is seen.
    const std::unique_ptr<uint8_t[]> data(new uint8_t[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), data.get());
    LLVMFuzzerTestOneInput(data.get(), bytes.size());
    return true;
}

int main(int argc, char** argv) {
    LLVMFuzzerInitialize(&argc, &argv);
    std::vector<fs::path> files;
    for (int i = 1; i < argc; ++i)
        addFiles(argv[i], files);
    std::sort(files.begin(), files.end());
    if (files.empty()) {
        fprintf(stderr, "no input; name files, or directories of files\n");
        return 1;
    }
    for (const fs::path& path : files) {
        if (!replay(path)) {
            fprintf(stderr, "%s: can not be read\n", path.c_str());
            return 1;
        }
    }
    printf("%zu inputs\n", files.size());
}
