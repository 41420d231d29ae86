#include "engine/file_resolver.h"

#include "engine/picture_check.h"
#include "platform/file_bytes.h"
#include "platform/message.h"
#include "platform/path.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <irrlicht/irrlicht.h>
#include <memory>
#include <new>
#include <set>
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
// directory or a file of holes has.
static bool isNoData(const std::string& path) {
    std::error_code error;
    if (!qbPathIsFile(path)) return true;
    return std::filesystem::file_size(path, error) > FILE_SIZE_MAX;
}

// False for a file that does not open.
static bool readFile(const std::string& path, std::string& bytes) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(qbPathOpen(path.c_str(), "rb"), &std::fclose);
    return file && qbFileBytes(file.get(), FILE_SIZE_MAX, bytes) == 0 && bytes.size() <= FILE_SIZE_MAX;
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
        std::string path, bytes;
        if (!qbPathResolve(name.c_str(), path)) return nullptr;
        if (path != name.c_str() && !qbPathIsFile(path)) return nullptr;
        if (isNoData(path)) return openNothing();
        if (!readFile(path, bytes)) return nullptr;
        // Textures are cached under the name of their file: only the full one tells directories apart.
        const io::path fullName = fileSystem->getAbsolutePath(path.c_str());
        const char* problem = qbPictureCheck(fullName.c_str(), bytes);
        if (!problem) return openBytes(fullName, bytes);
        if (refused.insert(fullName.c_str()).second)
            qbMessage("The picture '%.512s' %s", fullName.c_str(), problem);
        return openNothing();
    }

    io::IReadFile* createAndOpenFile(u32) override { return nullptr; }
    const io::IFileList* getFileList() const override { return &list; }

private:
    // What no reader takes, under a name that none of them looks for. Not empty: some look at the first and
    // the last bytes whatever the size.
    io::IReadFile* openNothing() {
        static char nothing[32] = "";
        return fileSystem->createMemoryReadFile(nothing, sizeof(nothing), "nothing");
    }

    // The very bytes that were checked, whatever happens to the file meanwhile.
    io::IReadFile* openBytes(const io::path& name, const std::string& bytes) {
        std::unique_ptr<char[]> copy(new (std::nothrow) char[bytes.size()]);
        if (!copy) return openNothing();
        bytes.copy(copy.get(), bytes.size());
        return fileSystem->createMemoryReadFile(copy.release(), static_cast<s32>(bytes.size()), name, true);
    }

    io::IFileSystem* fileSystem; // owns this archive
    ResolverList list;
    std::set<std::string> refused; // pictures, told of once
};

} // namespace

void qbFileResolverAttach(io::IFileSystem* fileSystem) {
    auto* archive = new ResolverArchive(fileSystem);
    // The file system takes the reference over.
    if (!fileSystem->addFileArchive(archive)) archive->drop();
}
