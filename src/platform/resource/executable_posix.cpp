#include "platform/resource/store.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <elf.h>

static_assert(std::endian::native == std::endian::little, "headers and store are read as they stand");

namespace {

// What the headers say about a file, checked against its size.
struct Extent {
    int file;
    uint64_t fileSize;
    uint64_t end;
    bool cut;
    bool unreadable;
};

} // namespace

static void add(Extent& extent, uint64_t offset, uint64_t size) {
    if (size == 0) return;
    if (offset > extent.fileSize || size > extent.fileSize - offset)
        extent.cut = true;
    else
        extent.end = std::max(extent.end, offset + size);
}

static void addRecord(Extent& extent, const Elf64_Phdr& segment) {
    add(extent, segment.p_offset, segment.p_filesz);
}

static void addRecord(Extent& extent, const Elf64_Shdr& section) {
    // The size in the empty first section is the count of sections when that is large.
    if (section.sh_type == SHT_NULL || section.sh_type == SHT_NOBITS) return;
    add(extent, section.sh_offset, section.sh_size);
}

// Adds a table and what its records reach.
template <class Record>
static void addTable(Extent& extent, uint64_t offset, uint64_t count) {
    if (count == 0) return;
    if (offset > extent.fileSize || count > (extent.fileSize - offset) / sizeof(Record)) {
        extent.cut = true;
        return;
    }
    add(extent, offset, count * sizeof(Record));
    std::array<Record, 64> records;
    for (uint64_t done = 0; done < count;) {
        const size_t piece = static_cast<size_t>(std::min<uint64_t>(count - done, records.size()));
        if (!qbStoreReadAt(extent.file, offset + done * sizeof(Record), records.data(),
                           piece * sizeof(Record))) {
            extent.unreadable = true;
            return;
        }
        for (size_t i = 0; i < piece; ++i)
            addRecord(extent, records[i]);
        done += piece;
    }
}

static bool isExecutable(const Elf64_Ehdr& header) {
    return memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 && header.e_ident[EI_CLASS] == ELFCLASS64 &&
           header.e_ident[EI_DATA] == ELFDATA2LSB && (header.e_type == ET_EXEC || header.e_type == ET_DYN) &&
           header.e_phnum != 0 && header.e_phentsize == sizeof(Elf64_Phdr) &&
           (header.e_shoff == 0 || header.e_shentsize == sizeof(Elf64_Shdr));
}

// Counts that do not fit the header stand in the first section.
static void addTables(Extent& extent, const Elf64_Ehdr& header) {
    uint64_t segments = header.e_phnum;
    uint64_t sections = header.e_shnum;
    if (header.e_shoff != 0 && (segments == PN_XNUM || sections == 0)) {
        Elf64_Shdr first;
        if (header.e_shoff > extent.fileSize || sizeof(first) > extent.fileSize - header.e_shoff) {
            extent.cut = true;
            return;
        }
        if (!qbStoreReadAt(extent.file, header.e_shoff, &first, sizeof(first))) {
            extent.unreadable = true;
            return;
        }
        // What tells the counts is part of the executable, also when it counts no section.
        add(extent, header.e_shoff, sizeof(first));
        if (segments == PN_XNUM) segments = first.sh_info;
        if (sections == 0) sections = first.sh_size;
    }
    addTable<Elf64_Phdr>(extent, header.e_phoff, segments);
    if (header.e_shoff != 0) addTable<Elf64_Shdr>(extent, header.e_shoff, sections);
}

QbStoreState qbExecutableEnd(int file, uint64_t size, uint64_t& end) {
    Elf64_Ehdr header;
    if (size < sizeof(header)) return QB_STORE_NO_PROGRAM;
    if (!qbStoreReadAt(file, 0, &header, sizeof(header))) return QB_STORE_UNREADABLE;
    if (!isExecutable(header)) return QB_STORE_NO_PROGRAM;

    Extent extent{file, size, sizeof(header), false, false};
    addTables(extent, header);
    if (extent.unreadable) return QB_STORE_UNREADABLE;
    if (extent.cut) return QB_STORE_PROGRAM_CUT;
    end = extent.end;
    return QB_STORE_NONE;
}
