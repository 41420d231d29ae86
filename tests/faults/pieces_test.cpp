// Files that come, and go, in small pieces, between signals, or not to their end.

#include "demo/demo.h"
#include "materials/shader_file.h"
#include "platform/cabinet/cabinet.h"
#include "platform/file_bytes.h"
#include "platform/path.h"
#include "platform/resource/resource.h"
#include "scene/export/quab_writer.h"
#include "scene/format/tables.h"
#include "storage/file.h"
#include "support/files.h"
#include "support/messages.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <unistd.h>

namespace {

// What the system does to the calls of the code under test.
struct Fault {
    size_t most = SIZE_MAX;   // bytes that one call moves
    bool interrupts = false;  // every second call
    size_t failAt = SIZE_MAX; // bytes that all calls have moved when they begin to fail
    int error = EIO;          // so; 0: as at the end of the file
    size_t moved = 0, calls = 0;

    // Of `size` bytes, those that move; -1 with errno, 0 at the end.
    ssize_t piece(size_t size) {
        if (interrupts && ++calls % 2 == 1) errno = EINTR;
        if (interrupts && calls % 2 == 1) return -1;
        if (moved >= failAt && error) errno = error;
        if (moved >= failAt) return error ? -1 : 0;
        const size_t given = std::min({size, most, failAt - moved});
        moved += given;
        return static_cast<ssize_t>(given);
    }
};
Fault fault;

ssize_t readCookie(void* file, char* bytes, size_t size) {
    const ssize_t piece = fault.piece(size);
    return piece > 0
               ? static_cast<ssize_t>(fread(bytes, 1, static_cast<size_t>(piece), static_cast<FILE*>(file)))
               : piece;
}
int seekCookie(void* file, off64_t* offset, int origin) {
    if (fseek(static_cast<FILE*>(file), *offset, origin) != 0) return -1;
    *offset = ftell(static_cast<FILE*>(file));
    return 0;
}
int closeCookie(void* file) {
    return fclose(static_cast<FILE*>(file));
}

} // namespace

extern "C" {
FILE* __real_fopen(const char* name, const char* mode);
ssize_t __real_pread(int file, void* bytes, size_t size, off_t offset);
ssize_t __real_write(int file, const void* bytes, size_t size);
ssize_t __real_pwrite(int file, const void* bytes, size_t size, off_t offset);

FILE* __wrap_fopen(const char* name, const char* mode) {
    FILE* file = __real_fopen(name, mode);
    if (!file || *mode != 'r' || *name == '/') return file; // memory under a name is read without stops
    return fopencookie(file, mode, {readCookie, nullptr, seekCookie, closeCookie});
}
ssize_t __wrap_pread(int file, void* bytes, size_t size, off_t offset) {
    const ssize_t piece = fault.piece(size);
    return piece > 0 ? __real_pread(file, bytes, static_cast<size_t>(piece), offset) : piece;
}
ssize_t __wrap_write(int file, const void* bytes, size_t size) {
    const ssize_t piece = fault.piece(size);
    return piece > 0 ? __real_write(file, bytes, static_cast<size_t>(piece)) : piece;
}
ssize_t __wrap_pwrite(int file, const void* bytes, size_t size, off_t offset) {
    const ssize_t piece = fault.piece(size);
    return piece > 0 ? __real_pwrite(file, bytes, static_cast<size_t>(piece), offset) : piece;
}
}

namespace {

// Each gives the text that it has read, "" after a failure.

std::string readScene() {
    const std::unique_ptr<QbSceneHandle, decltype(&qbSceneClose)> scene(qbSceneOpen("a.quab"), qbSceneClose);
    return scene ? scene->lightInfo->name(scene.get(), 0) : "";
}

std::string readScript() {
    const auto demo = std::make_unique<QbDemo>();
    return qbDemoParse(demo.get(), "a.demo.ini") == 0 ? demo->parts[1].filename : "";
}

std::string readShader() {
    const std::unique_ptr<QbIrrShader, decltype(&qbIrrShaderFree)> shader(
        qbIrrShaderCreate("a.hlsl", nullptr), qbIrrShaderFree);
    return shader ? shader->vertexText : "";
}

std::string readBytes() {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(qbPathOpen("a.quab", "rb"), std::fclose);
    std::string bytes;
    return qbFileBytes(file.get(), SIZE_MAX - 1, bytes) == 0 ? bytes : "";
}

std::string readArchive() {
    tarlib_arch archive;
    if (tarlib_arch_open_file(&archive, "a.tar") != 0) return "";
    qbFileUseTar(&archive);
    std::string text = readScene();
    qbFileUseStdio();
    tarlib_arch_close(&archive);
    return text;
}

std::string unpack() {
    std::filesystem::remove_all("out");
    std::filesystem::create_directory("out");
    return qbCabinetUnpack("a.cab", "out") == 0 ? readFile("out/a.demo.ini") : "";
}

std::string store() {
    QbResourceUpdate* update = qbResourceUpdateBegin("program");
    const int put = update ? qbResourceUpdatePut(update, "CAB", 500, "data", 4) : -1;
    if (!update || qbResourceUpdateEnd(update, put != 0) != 0 || put != 0) return "";
    qbResourceSetProgram("program");
    const std::unique_ptr<QbResource, decltype(&qbResourceClose)> resource(qbResourceOpen("CAB", 500),
                                                                           qbResourceClose);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> target(__real_fopen("copy", "wb"), std::fclose);
    if (!resource || qbResourceCopy(resource.get(), target.get()) != QB_RESOURCE_COPIED) return "";
    return readFile("copy") + "stored";
}

} // namespace

TEST(Pieces, AllOfItOrARefusal) {
    const TemporaryDirectory directory;
    const Messages messages;
    QbExportScene scene;
    scene.frameEnd = 100;
    scene.lights.emplace_back().name = "Lamp";
    std::string error, command, reason;
    ASSERT_EQ(qbSceneExportSave(scene, "a.quab", error), 0) << error;
    directory.write("a.demo.ini", "[part.1]\ntime=0\n[part.2]\ntime=1000\nfilename=b.quab\n");
    directory.write("a.hlsl", "float4 vertexMain(float4 p : POSITION) : POSITION { return p; }\n");
    ASSERT_EQ(std::system("tar cf a.tar a.quab"), 0);
    QbCabinetPacking packing;
    packing.cabinet = directory.path() + "/a.cab";
    packing.files = {"a.demo.ini"};
    packing.output = "out.txt";
    ASSERT_EQ(qbCabinetPack(packing, command, reason), 0) << reason;
    ASSERT_EQ(qbResourceCopyProgram("/bin/true", "program"), 0);

    const struct {
        const char* name;
        std::string (*read)();
        void (*mode)();
        size_t failAt;
        bool says; // else its caller does
    } table[] = {
        {"scene", readScene, qbFileUseStdio, 60, true},
        {"scene in memory", readScene, qbFileUseMemory, 60, true},
        {"script", readScript, qbFileUseStdio, 30, true},
        {"shader", readShader, qbFileUseStdio, 30, false},
        {"whole file", readBytes, qbFileUseStdio, 60, false},
        {"archive", readArchive, qbFileUseStdio, 700, true},
        {"cabinet", unpack, qbFileUseStdio, 40, true},
        {"resources", store, qbFileUseStdio, 200, false},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.name);
        row.mode();
        fault = {};
        const std::string good = row.read();
        EXPECT_NE(good, "");
        fault = {.most = 3};
        EXPECT_EQ(row.read(), good) << "in small pieces";
        fault = {.most = 7, .interrupts = true};
        EXPECT_EQ(row.read(), good) << "between signals";
        fault = {.failAt = row.failAt};
        testing::internal::CaptureStderr();
        const std::string cut = row.read();
        fault = {};
        EXPECT_EQ(cut, "") << "with an error";
        EXPECT_EQ(testing::internal::GetCapturedStderr() != "", row.says);
        fault = {};
        EXPECT_EQ(row.read(), good) << "afterwards";
    }
    qbFileUseStdio();
    Messages::texts().clear();
    fault = {.failAt = 60, .error = 0};
    EXPECT_EQ(readScene(), "") << "a file that became shorter";
    EXPECT_NE(Messages::texts().back().find("a.quab: the file can not be read to its end"),
              std::string::npos);
    qbResourceSetProgram(nullptr);
}
