#include "storage/builder/builder.h"

#include "demo/demo.h"
#include "platform/cabinet/cabinet.h"
#include "platform/file_bytes.h"
#include "platform/memory.h"
#include "platform/message.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/resource/resource.h"
#include "platform/text.h"
#include "storage/builder/contents.h"
#include "storage/builder/patterns.h"
#include "storage/cabinet.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>

namespace {

struct Cabinet {
    int id;
    const char* name;    // of the temporary file
    const char* holds;   // for the report
    const char* failure; // what the message of a failure calls it
    const char* remedy;  // when no file matches
};

// Of the extraction directories: one that playing uses too, which clears up after a packer that was killed.
enum { ROW_SHADERS = 1 };

// What is going to be packed.
struct Show {
    std::string baseDir, script; // the script by its name
    QbPatternList data, music;
};

using FilePtr = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
using Files = std::vector<QbCabinetFile>;

} // namespace

static const Cabinet CABINETS[] = {
    {QB_CAB_DATA, "tmp_demo_data.cab", "script and scenes", "data", "name the script as its file is named"},
    {QB_CAB_MUSIC, "tmp_demo_music.cab", "tunes", "music",
     "put a tune into the directory of the tunes, a file of silence will do"},
    {QB_CAB_LOADING, "tmp_demo_loading.cab", "loading picture", "loading",
     "put a loading.png beside the script: it is shown while the show loads"},
    {QB_CAB_DEFDATA, "tmp_demo_defdata.cab", "built-in shaders", "default data",
     "put the shaders that come with the program beside it"},
};
static const Cabinet OTHER_CABINET = {0, "tmp_cab.cab", "files", "files", "check the names"};

static const Cabinet& cabinetOf(int id) {
    for (const Cabinet& cabinet : CABINETS)
        if (cabinet.id == id) return cabinet;
    return OTHER_CABINET;
}

static void tellReason(const char* path, int error) {
    qbMessage("%s: %s", path, std::strerror(error));
}

// -1 when it can not be told; the file then stands at its beginning.
static long sizeOf(std::FILE* file) {
    if (!file || fseek(file, 0, SEEK_END) != 0) return -1;
    const long size = ftell(file);
    return fseek(file, 0, SEEK_SET) == 0 ? size : -1;
}

static long sizeOfFile(const char* path) {
    const FilePtr file(qbPathOpen(path, "rb"), fclose);
    return sizeOf(file.get());
}

// --- storing a cabinet ----------------------------------------------------------------------------------

// Null after a message.
static std::unique_ptr<uint8_t[]> readCabinet(const char* cab, size_t& size) {
    const FilePtr file(qbPathOpen(cab, "rb"), fclose);
    const long length = sizeOf(file.get());
    if (length <= 0) {
        qbMessage("Failed to get size of cab %s", cab);
        return nullptr;
    }
    size = static_cast<size_t>(length);
    std::unique_ptr<uint8_t[]> data(new (std::nothrow) uint8_t[size]);
    if (!data) {
        qbMessage("Alloc failure %d bytes", static_cast<int>(std::min<long>(length, INT_MAX)));
    } else if (qbFileFill(file.get(), data.get(), size) != size) {
        qbMessage("Failed to read cab %s", cab);
        data.reset();
    }
    return data;
}

int qbCabStore(const char* exe, const char* cab, int id) {
    size_t size = 0;
    const std::unique_ptr<uint8_t[]> data = readCabinet(cab, size);
    if (!data) return -1;
    QbResourceUpdate* update = qbResourceUpdateBegin(exe);
    if (!update) {
        tellReason(exe, errno);
        qbMessage("Failed to BeginUpdate %s", exe);
        return -1;
    }
    if (qbResourceUpdatePut(update, "CAB", id, data.get(), size) != 0) {
        const int error = errno;
        qbResourceUpdateEnd(update, 1);
        tellReason(exe, error);
        qbMessage("Failed to UpdateResource %s", exe);
        return -1;
    }
    if (const int error = qbResourceUpdateEnd(update, 0); error != 0) {
        tellReason(exe, error);
        qbMessage("Failed to EndUpdate %s lastError=%d", exe, error);
        return -1;
    }
    return 0;
}

// --- making a cabinet -----------------------------------------------------------------------------------

// Shaders that do not lie beside the program come out of it; their directory is deleted at the end.
static bool isUnpacked(const std::string& baseDir, int id) {
    const char* program = qbProgramDirectory();
    return id == QB_CAB_DEFDATA && baseDir != (program ? program : "");
}

// Where the tool's output goes: the base directory, or beside the cabinet where that may not be written or
// does not last.
static std::string outputPath(const std::string& baseDir, const std::string& cabinet, int id) {
    const std::string name = "out-" + std::to_string(id) + ".txt";
    const std::string beside = qbDirName(cabinet.c_str()) + name;
    if (isUnpacked(baseDir, id)) return beside;
    const FilePtr file(qbPathOpen((baseDir + name).c_str(), "wb"), fclose);
    return file ? baseDir + name : beside;
}

static void tellLeftOut(const QbMatchedFiles& matched, const std::string& baseDir) {
    if (matched.leftOut.empty()) return;
    qbMessage("Left out, since other files have these names in the cabinet: %s (%zu in all). Move what lies "
              "outside of %s into it.",
              matched.leftOut[0].c_str(), matched.leftOut.size(), baseDir.c_str());
}

static int runTool(const QbCabinetPacking& packing, const QbPatternList& list, const Cabinet& cabinet) {
    std::string command, reason;
    int result = qbCabinetPack(packing, command, reason);
    if (packing.files.empty()) {
        result = -1;
        reason = std::string("Nothing to pack: ") + cabinet.remedy + ".\nNothing in " +
                 packing.baseDirectory + " matches " + qbPatternText(list);
    }
    if (result == 0) return 0;
    qbMessage("%s", reason.c_str());
    qbMessage("Failed to execute: %s", command.c_str());
    return -1;
}

static void report(const Cabinet& cabinet, int id, const Files& contents, const std::string& path) {
    uint64_t size = 0;
    for (const QbCabinetFile& file : contents)
        size += file.size;
    qbTrace("%d %-18s %5zu files %12llu bytes, packed %12ld\n", id, cabinet.holds, contents.size(),
            static_cast<unsigned long long>(size), sizeOfFile(path.c_str()));
}

int qbCabAdd(const char* target, int id, const char* baseDir, const QbPatternList& list, Files* contents) {
    const Cabinet& cabinet = cabinetOf(id);
    const std::string full = qbFullPath(target);
    QbMatchedFiles matched = qbPatternFiles(baseDir, list);
    QbCabinetPacking packing;
    packing.cabinet = qbFullPath(cabinet.name);
    packing.baseDirectory = baseDir;
    packing.files = std::move(matched.files);
    packing.output = outputPath(baseDir, packing.cabinet, id);

    if (runTool(packing, list, cabinet) != 0) return -1;
    tellLeftOut(matched, baseDir);
    Files packed;
    if (qbCabinetList(packing.cabinet.c_str(), packed) != 0) {
        qbMessage("%s can not be read back and is not stored", packing.cabinet.c_str());
        return -1;
    }
    if (qbCabStore(full.c_str(), packing.cabinet.c_str(), id) != 0) return -1;
    report(cabinet, id, packed, packing.cabinet);
    if (contents) *contents = std::move(packed);
    return 0;
}

// --- the whole show -------------------------------------------------------------------------------------

// The full path of the directory that a path begins with, with its trailing separator, and without ".." and
// links where there is such a directory.
static std::string fullDirectory(const std::string& path) {
    std::string full = qbFullPath(qbDirName(path.c_str()));
    std::error_code error;
    const std::filesystem::path real = std::filesystem::canonical(full, error);
    if (!error) full = real.string();
    if (!full.empty() && full.back() != '/') full += '/';
    return full;
}

static bool isMatched(const std::string& target, const std::string& baseDir, const QbPatternList& list) {
    for (const std::string& file : qbPatternFiles(baseDir, list).files)
        if (qbPathIsSame(target, file.starts_with('/') ? file : baseDir + file)) return true;
    return false;
}

static bool isToBePacked(const std::string& target, const Show& show) {
    const char* program = qbProgramDirectory();
    return isMatched(target, show.baseDir, show.data) || isMatched(target, show.baseDir, show.music) ||
           isMatched(target, show.baseDir, qbLoadingPatterns()) ||
           isMatched(target, program ? program : "", qbShaderPatterns());
}

// The full path; empty after a message.
static std::string checkedTarget(const std::string& target, const Show& show) {
    // A name to be written: another file that differs in letter case alone is left in peace.
    const std::string full = fullDirectory(target) + target.substr(strlen(qbDirName(target.c_str())));
    if (full.size() > QB_TARGET_PATH_MAX) {
        qbMessage("The full path of the target holds %zu characters, %d at most: choose a shorter one\n%s",
                  full.size(), QB_TARGET_PATH_MAX, full.c_str());
        return "";
    }
    if (qbPathIsSame(full, show.baseDir + show.script)) {
        qbMessage("The target is the script itself, choose another name: %s", full.c_str());
        return "";
    }
    if (!isToBePacked(full, show)) return full;
    qbMessage("The target is a file of the show that is to be packed, choose another name: %s", full.c_str());
    return "";
}

static int copyProgram(const std::string& target) {
    const std::string program = qbProgramPath();
    if (qbResourceCopyProgram(nullptr, target.c_str()) == 0) return 0;
    const int error = errno;
    if (error == EINVAL)
        qbMessage("%s: it is this very program, choose another target", target.c_str());
    else if (error == EEXIST)
        qbMessage("%s: it is no plain file, choose another target", target.c_str());
    else if (error == ENOEXEC || !qbFileExists(program.c_str()))
        tellReason(program.c_str(), error);
    else
        tellReason(target.c_str(), error);
    qbMessage("Failed to copy %s to %s\n", program.c_str(), target.c_str());
    return -1;
}

static int addStep(const std::string& target, int id, const std::string& baseDir, const QbPatternList& list,
                   Files& contents) {
    if (qbProcessEndAsked() != 0) return -1;
    if (qbCabAdd(target.c_str(), id, baseDir.c_str(), list, &contents) == 0) return 0;
    qbMessage("Failed to add %s to cab base_dir='%s' dirlist='%s'\n", cabinetOf(id).failure, baseDir.c_str(),
              qbPatternText(list).c_str());
    return -1;
}

// For the files that have none of their own.
static std::string commonRemedy(const std::vector<QbMissingFile>& missing) {
    const auto count =
        std::count_if(missing.begin(), missing.end(), [](const auto& file) { return file.remedy.empty(); });
    if (count == 0) return "Then pack again.";
    return std::string("Put ") + (static_cast<size_t>(count) == missing.size() ? "it" : "the others") +
           " into the directory of the scene or of the tunes, below the script's, and pack again.";
}

// The message holds the first ones, as far as they fit; the standard output has all.
static void reportMissing(const std::vector<QbMissingFile>& missing) {
    enum { SHOWN_MAX = 10, SHOWN_LENGTH_MAX = 700 };
    std::string list;
    size_t shown = 0;
    for (const QbMissingFile& file : missing) {
        const std::string remedy = file.remedy.empty() ? "" : " - " + file.remedy;
        const std::string line = file.path + " (" + file.owner + ")" + remedy + "\n";
        std::fputs(("Not packed: " + line).c_str(), stdout);
        if (shown >= SHOWN_MAX || list.size() + line.size() > SHOWN_LENGTH_MAX) continue;
        list += line;
        shown++;
    }
    if (shown < missing.size()) list += "and " + std::to_string(missing.size() - shown) + " more\n";
    qbMessage("The packed show will not find what no cabinet holds:\n%s%s", list.c_str(),
              commonRemedy(missing).c_str());
}

static void checkScript(const std::string& script, const Files& data, std::vector<QbMissingFile>& missing) {
    const auto isScript = [&](const QbCabinetFile& file) { return file.name == script; };
    const char* remedy = nullptr;
    if (!qbMatchesPattern(script, "*.demo.ini"))
        remedy = "rename the script to end in .demo.ini";
    else if (std::none_of(data.begin(), data.end(), isScript))
        remedy = "give it a plainer name";
    if (remedy) missing.insert(missing.begin(), {script, "the script", remedy});
}

// Where the built-in shaders lie: beside the program, or, where a packed program stands alone, among what it
// carries, unpacked until the row is closed.
static std::string shaderBase() {
    const char* program = qbProgramDirectory();
    std::string base = program ? program : "";
    if (qbResourceExists(QB_CAB_DEFDATA) == 0 || !qbPatternFiles(base, qbShaderPatterns()).files.empty())
        return base;
    const std::string current = qbCurrentDirectory();
    if (qbCabOpen(ROW_SHADERS, QB_CAB_DEFDATA) == 0) base = qbCurrentDirectory() + std::string("/");
    qbSetDirectory(current.c_str());
    return base;
}

static void packShow(const QbDemo& demo, const Show& show, const std::string& target) {
    Files data, music, loading, shaders;
    if (addStep(target, QB_CAB_DATA, show.baseDir, show.data, data) != 0 ||
        addStep(target, QB_CAB_MUSIC, show.baseDir, show.music, music) != 0 ||
        addStep(target, QB_CAB_LOADING, show.baseDir, qbLoadingPatterns(), loading) != 0 ||
        addStep(target, QB_CAB_DEFDATA, shaderBase(), qbShaderPatterns(), shaders) != 0)
        return;
    QbShowCheck check = qbShowCheck(demo, show.baseDir, data, music);
    checkScript(show.script, data, check.missing);
    if (!check.missing.empty())
        reportMissing(check.missing);
    else if (check.complete)
        qbTrace("Everything that the script names is packed.\n");
    qbTrace("%s: %ld bytes\n", target.c_str(), sizeOfFile(target.c_str()));
}

static int packDemo(const char* target, const char* ini) {
    const std::unique_ptr<QbDemo> demo(new (std::nothrow) QbDemo);
    if (!demo) return -1;
    if (qbDemoParse(demo.get(), ini) != 0) {
        qbMessage("Failed to load ini file %s\n", ini ? ini : "(null)");
        return -1;
    }
    std::vector<std::string> directories;
    if (!qbShowDirectories(*demo, directories)) {
        qbMessage("Reached max directories\n");
        return -1;
    }
    const std::string script = qbFullPath(ini);
    Show show;
    show.baseDir = fullDirectory(script);
    show.script = qbBaseName(script.c_str());
    show.data = qbDataPatterns(directories, demo->shadersDirectory, show.script.c_str());
    show.music = qbMusicPatterns(demo->musicDirectory);
    const std::string full = checkedTarget(target, show);
    if (!full.empty() && copyProgram(full) == 0) packShow(*demo, show, full);
    return 0;
}

void qbDemoExe(const char* target, const char* ini) {
    qbUnlessOutOfMemory(target, -1, [=] { return packDemo(target, ini); });
    qbCabClose(ROW_SHADERS); // harmless when nothing was unpacked
}
