#include "engine/file_resolver.h"

#include "engine/picture_check.h"
#include "platform/file_bytes.h"
#include "platform/message.h"
#include "platform/path.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
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

// 0, or errno's number for what is wrong.
static int readFile(const std::string& path, std::string& bytes) {
    errno = 0;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(qbPathOpen(path.c_str(), "rb"), &std::fclose);
    if (qbFileBytes(file.get(), FILE_SIZE_MAX, bytes) != 0) return errno ? errno : EIO;
    return bytes.size() > FILE_SIZE_MAX ? EFBIG : 0;
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
    explicit ResolverArchive(io::IFileSystem* system) : fileSystem(system) {
        static char zeros[32] = "";
        nothing = fileSystem->createMemoryReadFile(zeros, sizeof(zeros), "nothing");
    }
    ResolverArchive(const ResolverArchive&) = delete;
    ResolverArchive& operator=(const ResolverArchive&) = delete;
    ~ResolverArchive() override {
        if (nothing) nothing->drop();
    }

    // Irrlicht's frames are not made to be left by an exception.
    io::IReadFile* createAndOpenFile(const io::path& name) override {
        std::string fullName;
        try {
            return open(name, fullName);
        } catch (const std::bad_alloc&) {
            qbMessage("%.512s: out of memory", fullName.empty() ? name.c_str() : fullName.c_str());
            return openNothing();
        }
    }

    io::IReadFile* createAndOpenFile(u32) override { return nullptr; }
    const io::IFileList* getFileList() const override { return &list; }

private:
    // Null for what is no file; one that can not be read or is refused must not be left to Irrlicht, which
    // would read it unchecked.
    io::IReadFile* open(const io::path& name, std::string& fullName) {
        std::string path, bytes;
        if (!qbPathResolve(name.c_str(), path)) return nullptr;
        if (path != name.c_str() && !qbPathIsFile(path)) return nullptr;
        // Textures are cached under the name of their file: only the full one tells directories apart.
        fullName = fileSystem->getAbsolutePath(path.c_str()).c_str();
        if (isNoData(path)) return openNothing();
        if (const int error = readFile(path, bytes)) {
            if (refused.insert(fullName).second)
                qbMessage("%.512s: the file can not be read: %s", fullName.c_str(), strerror(error));
            return openNothing();
        }
        const char* problem = qbPictureCheck(fullName.c_str(), bytes);
        if (!problem) return openBytes(fullName, bytes);
        if (refused.insert(fullName).second) qbMessage("The picture '%.512s' %s", fullName.c_str(), problem);
        return openNothing();
    }

    // What no reader takes, under a name that none of them looks for. Not empty: some look at the first and
    // the last bytes whatever the size. One for all, which takes no memory.
    io::IReadFile* openNothing() noexcept {
        if (!nothing) return nullptr;
        nothing->seek(0);
        nothing->grab();
        return nothing;
    }

    // The very bytes that were checked, whatever happens to the file meanwhile.
    io::IReadFile* openBytes(const std::string& name, const std::string& bytes) {
        std::unique_ptr<char[]> copy(new char[bytes.size()]);
        bytes.copy(copy.get(), bytes.size());
        io::IReadFile* file =
            fileSystem->createMemoryReadFile(copy.get(), static_cast<s32>(bytes.size()), name.c_str(), true);
        if (file) (void)copy.release(); // the file's now
        return file ? file : openNothing();
    }

    io::IFileSystem* fileSystem; // owns this archive
    io::IReadFile* nothing = nullptr;
    ResolverList list;
    std::set<std::string> refused; // files, told of once
};

} // namespace

void qbFileResolverAttach(io::IFileSystem* fileSystem) {
    auto* archive = new ResolverArchive(fileSystem);
    // The file system takes the reference over.
    if (!fileSystem->addFileArchive(archive)) archive->drop();
}
