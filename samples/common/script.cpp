#include "script.h"

#include <cstdio>
#include <memory>

int saveScript(const std::string& path, std::string_view script, const char* program) {
    struct FileClose {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    const std::unique_ptr<std::FILE, FileClose> file(std::fopen(path.c_str(), "wb"));
    if (!file || std::fwrite(script.data(), 1, script.size(), file.get()) != script.size()) {
        std::fprintf(stderr, "%s: cannot write %s\n", program, path.c_str());
        return -1;
    }
    return 0;
}
