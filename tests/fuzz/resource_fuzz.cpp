#include "fuzz/fuzz.h"
#include "platform/resource/resource.h"
#include "platform/resource/store.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <unistd.h>

// Any file is an executable with resources: each is found and copied; another one is stored beside them.

namespace {

constexpr char NEW_DATA[] = "stored anew";

struct Copy {
    QbResourceResult result;
    std::string bytes;
};

} // namespace

static Copy copyOf(const char* type, int id) {
    QbResource* resource = qbResourceOpen(type, id);
    qbFuzzExpect(resource);
    char* bytes = nullptr;
    size_t size = 0;
    std::FILE* target = open_memstream(&bytes, &size);
    const QbResourceResult result = qbResourceCopy(resource, target);
    fclose(target);
    qbResourceClose(resource);
    const Copy copy = {result, std::string(bytes, size)};
    free(bytes);
    return copy;
}

static QbStore examined(const char* path, QbStoreState& state) {
    QbStore store;
    const int file = qbStoreOpen(path, false);
    state = qbStoreExamine(file, store);
    close(file);
    return store;
}

static void readAll(const QbStoreBlock& block) {
    for (uint32_t i = 0; i < block.count; ++i) {
        const QbStoreEntry& entry = block.entries[i];
        qbFuzzExpect(qbResourceFind(entry.type, static_cast<int>(entry.id)) == 1);
        const Copy copy = copyOf(entry.type, static_cast<int>(entry.id));
        qbFuzzExpect(copy.result != QB_RESOURCE_COPIED || copy.bytes.size() == entry.size);
    }
    qbFuzzExpect(block.count > 0 || qbResourceFind("CAB", 500) == 0);
}

static void storeOneMore(const char* path, const QbStoreBlock& before) {
    QbResourceUpdate* update = qbResourceUpdateBegin(path);
    if (!update) return;
    const bool isPut = qbResourceUpdatePut(update, "NEW", 1, NEW_DATA, sizeof(NEW_DATA)) == 0;
    qbFuzzExpect(isPut || before.count > 0);
    const bool isDone = qbResourceUpdateEnd(update, isPut ? 0 : 1) == 0;
    if (!isPut || !isDone) return;
    qbResourceSetProgram(path);
    const Copy copy = copyOf("NEW", 1);
    qbFuzzExpect(copy.result == QB_RESOURCE_COPIED &&
                 copy.bytes == std::string_view(NEW_DATA, sizeof(NEW_DATA)));
    for (uint32_t i = 0; i < before.count; ++i)
        qbFuzzExpect(qbResourceFind(before.entries[i].type, static_cast<int>(before.entries[i].id)) == 1);
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string path = qbFuzzFile("program", data, size);
    QbStoreState state;
    const QbStore store = examined(path.c_str(), state);
    qbFuzzExpect(store.block.count == 0 || state == QB_STORE_GOOD);
    qbResourceSetProgram(path.c_str());
    readAll(store.block);
    storeOneMore(path.c_str(), store.block);
    qbResourceSetProgram(nullptr);
    return 0;
}

// Bytes alone never get past the checksum of the block.
size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t most, unsigned seed) {
    size = LLVMFuzzerMutate(data, size, most);
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const size_t base = text.find(std::string_view(QB_STORE_MAGIC, sizeof(QB_STORE_MAGIC)));
    if (seed % 8 == 0 || base == std::string_view::npos || size - base < sizeof(QbStoreBlock)) return size;
    QbStoreBlock block;
    memcpy(&block, data + base, sizeof(block));
    for (QbStoreEntry& entry : block.entries) {
        if (seed % 8 > 3 || entry.offset > size - base || entry.size > size - base - entry.offset) continue;
        entry.checksum = qbStoreChecksum(0, data + base + entry.offset, entry.size);
    }
    qbStoreSeal(block);
    memcpy(data + base, &block, sizeof(block));
    return size;
}
