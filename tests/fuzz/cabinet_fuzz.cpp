#include "fuzz/fuzz.h"
#include "platform/cabinet/cabinet.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

// Any file is a cabinet: unpacked into a directory, with nothing changed around it, and what came out agrees
// with the list.

namespace fs = std::filesystem;

enum { FILE_HEADER = 36, FOLDER_SIZE = 8, DATA_HEADER = 8, BLOCK_SIZE = 32768 };

static void checkAround(const fs::path& directory) {
    size_t count = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        const std::string name = entry.path().filename();
        qbFuzzExpect(name == "input.cab" || name == "beside" || name == "out");
        ++count;
    }
    qbFuzzExpect(count == 3 && fs::file_size(directory / "beside") == 1);
}

static void checkOutput(const fs::path& out, const std::vector<QbCabinetFile>& listed, bool isWhole,
                        size_t most) {
    size_t files = 0, bytes = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(out)) {
        qbFuzzExpect(!entry.is_symlink() && (entry.is_directory() || entry.is_regular_file()));
        if (!entry.is_regular_file()) continue;
        ++files;
        bytes += entry.file_size();
        const auto isIts = [size = entry.file_size()](const QbCabinetFile& file) {
            return file.size == size;
        };
        qbFuzzExpect(!isWhole || std::ranges::any_of(listed, isIts));
    }
    qbFuzzExpect(bytes <= most);
    qbFuzzExpect(files <= listed.size() && (!isWhole || listed.empty() == (files == 0)));
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const fs::path directory = qbFuzzDirectory(), out = directory / "out";
    qbFuzzFile("beside", "b", 1);
    const std::string cabinet = qbFuzzFile("input.cab", data, size);
    fs::create_directory(out);
    std::vector<QbCabinetFile> listed;
    const int isListed = qbCabinetList(cabinet.c_str(), listed);
    const int isUnpacked = qbCabinetUnpack(cabinet.c_str(), out.c_str());
    qbFuzzExpect(isListed == 0 || isUnpacked == isListed);
    checkAround(directory);
    checkOutput(out, listed, isUnpacked == 0, size / DATA_HEADER * BLOCK_SIZE);
    fs::remove_all(out);
    return 0;
}

static uint32_t numberAt(const uint8_t* at, size_t bytes) {
    uint32_t number = 0;
    while (bytes-- > 0)
        number = number << 8 | at[bytes];
    return number;
}

// Bytes alone never get past the checksums of the data blocks. Zero stands for "no checksum".
size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t most, unsigned seed) {
    size = LLVMFuzzerMutate(data, size, most);
    if (seed % 8 == 0 || size < FILE_HEADER) return size;
    const uint32_t folders = numberAt(data + 26, 2);
    for (size_t folder = FILE_HEADER;
         folder < FILE_HEADER + folders * FOLDER_SIZE && folder + FOLDER_SIZE <= size;
         folder += FOLDER_SIZE) {
        size_t at = numberAt(data + folder, 4);
        for (uint32_t blocks = numberAt(data + folder + 4, 2); blocks > 0 && at + DATA_HEADER <= size;
             --blocks) {
            memset(data + at, 0, 4);
            at += DATA_HEADER + numberAt(data + at + 4, 2);
        }
    }
    if (seed % 2 == 0) {
        const uint32_t length = static_cast<uint32_t>(size);
        memcpy(data + 8, &length, sizeof(length));
    }
    return size;
}
