#include "engine/file_resolver.h"

#include "platform/path.h"

#include <cstdint>
#include <filesystem>
#include <irrlicht/irrlicht.h>
#include <string>
#include <system_error>

using namespace irr;

static const uintmax_t FILE_SIZE_MAX = 1 << 30; // bytes

// Irrlicht asks its archives ahead of the disk, both to open a file and, through their lists, whether one
// exists. So a name finds its file by way of an archive that holds no files of its own.

// True, with the name on the disk, for a file that exists under another spelling only. A directory does not
// count: Irrlicht shortens a path that it can not follow to its first unknown part, and asks for that too.
static bool findOtherSpelling(const io::path& name, std::string& found) {
    return qbPathResolve(name.c_str(), found) && found != name.c_str() && qbFileExists(found.c_str()) == 1;
}

// Irrlicht would wait for ever on a pipe, read a device without end, and take room for the size that a
// directory or a file of holes has. Other spellings lead to the exact name, which is asked for then.
static bool isNoData(const io::path& name) {
    std::string found;
    if (!qbPathResolve(name.c_str(), found) || found != name.c_str()) return false;
    std::error_code error;
    if (!qbPathIsFile(found)) return true;
    const uintmax_t size = std::filesystem::file_size(found, error);
    return size == 0 || size > FILE_SIZE_MAX;
}

namespace {

class ResolverList : public io::IFileList {
public:
    s32 findFile(const io::path& name, bool isFolder) const override {
        std::string found;
        return !isFolder && findOtherSpelling(name, found) ? 0 : -1;
    }

    u32 getFileCount() const override { return 0; }
    const io::path& getFileName(u32) const override { return none; }
    const io::path& getFullFileName(u32) const override { return none; }
    u32 getFileSize(u32) const override { return 0; }
    u32 getFileOffset(u32) const override { return 0; }
    u32 getID(u32) const override { return 0; }
    bool isDirectory(u32) const override { return false; }
    const io::path& getPath() const override { return none; }
    u32 addItem(const io::path&, u32, u32, bool, u32) override { return 0; }
    void sort() override {}

private:
    io::path none;
};

class ResolverArchive : public io::IFileArchive {
public:
    explicit ResolverArchive(io::IFileSystem* system) : fileSystem(system) {}

    io::IReadFile* createAndOpenFile(const io::path& name) override {
        // Not empty: the engine's JPEG reader looks at the first bytes whatever the size.
        static char nothing[16] = "";
        if (isNoData(name)) return fileSystem->createMemoryReadFile(nothing, sizeof(nothing), name);
        std::string found;
        if (!findOtherSpelling(name, found)) return nullptr;
        // Textures are cached under the name of their file: only the full one tells directories apart.
        return fileSystem->createAndOpenFile(fileSystem->getAbsolutePath(found.c_str()));
    }

    io::IReadFile* createAndOpenFile(u32) override { return nullptr; }
    const io::IFileList* getFileList() const override { return &list; }

private:
    io::IFileSystem* fileSystem; // owns this archive
    ResolverList list;
};

} // namespace

void qbFileResolverAttach(io::IFileSystem* fileSystem) {
    auto* archive = new ResolverArchive(fileSystem);
    // The file system takes the reference over.
    if (!fileSystem->addFileArchive(archive)) archive->drop();
}
