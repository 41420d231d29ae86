#include "scene/export/save.h"

#include <fstream>

int qbExportSaveBytes(const std::string& path, const std::vector<uint8_t>& bytes, std::string& error) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!file) {
        error = "cannot create \"" + path + "\": check that its folder exists and may be written";
        return -1;
    }
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (file.good()) return 0;
    error = "cannot write all of \"" + path + "\": check the space on the disk";
    return -1;
}
