#include "scene/export/save.h"

#include <filesystem>
#include <fstream>
#include <system_error>

namespace {

// Takes what was written of a file away again, unless it is whole. What is no file, such as a pipe or a
// device, is not ours to remove.
struct Part {
    explicit Part(const std::string& name) : path(name) {}
    Part(const Part&) = delete;
    Part& operator=(const Part&) = delete;
    ~Part() {
        std::error_code ignored;
        if (begun && !whole && is_regular_file(path, ignored)) remove(path, ignored);
    }
    std::filesystem::path path;
    bool begun = false, whole = false;
};

} // namespace

static int writeFile(const std::string& path, const std::vector<uint8_t>& bytes, std::string& error) {
    Part part(path);
    error = "cannot create \"" + path + "\": check that its folder exists and may be written";
    std::ofstream file;
    part.begun = true;
    file.open(path, std::ios::binary | std::ios::trunc);
    if (!file) {
        part.begun = false;
        return -1;
    }
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    file.close();
    part.whole = file.good();
    error = part.whole ? "" : "cannot write all of \"" + path + "\": check the space on the disk";
    return part.whole ? 0 : -1;
}

int qbExportSaveBytes(const std::string& path, const std::vector<uint8_t>& bytes, std::string& error) {
    return qbExportUnlessOutOfMemory(error, [&] { return writeFile(path, bytes, error); });
}
