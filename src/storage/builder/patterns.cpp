#include "storage/builder/patterns.h"

#include "platform/path.h"
#include "platform/text.h"

#include <algorithm>
#include <unordered_map>

static const char SEPARATORS[] = "/\\";

std::string qbTidyPath(std::string_view path) {
    const bool rooted = !path.empty() && path.find_first_of(SEPARATORS) == 0;
    std::vector<std::string_view> parts;
    while (!path.empty()) {
        const std::string_view part = path.substr(0, path.find_first_of(SEPARATORS));
        path.remove_prefix(std::min(part.size() + 1, path.size()));
        if (part.empty() || part == ".") continue;
        if (part == ".." && !parts.empty() && parts.back() != "..")
            parts.pop_back();
        else
            parts.push_back(part);
    }
    std::string tidy = rooted ? "/" : "";
    for (const std::string_view part : parts) {
        if (!tidy.empty() && tidy.back() != '/') tidy += '/';
        tidy += part;
    }
    return tidy;
}

// --- what the script names ------------------------------------------------------------------------------

static bool addDirectory(const char* directory, std::vector<std::string>& directories) {
    if (*directory) directories.emplace_back(directory);
    return directories.size() <= QB_SHOW_DIRECTORIES_MAX;
}

static bool sameDirectory(const std::string& a, const std::string& b) {
    return qbSameText(qbTidyPath(a), qbTidyPath(b));
}

static void dropRepeated(std::vector<std::string>& directories) {
    std::vector<std::string> kept;
    for (const std::string& directory : directories) {
        const auto same = [&](const std::string& other) { return sameDirectory(directory, other); };
        if (std::none_of(kept.begin(), kept.end(), same)) kept.push_back(directory);
    }
    directories = std::move(kept);
}

bool qbShowDirectories(const QbDemo& demo, std::vector<std::string>& directories) {
    directories.clear();
    for (int i = 0; i < demo.partCount; i++) {
        const QbDemoPart& part = demo.parts[i];
        if (!addDirectory(part.directory, directories)) return false;
        for (int k = 0; k < part.extraCount; k++)
            if (!addDirectory(part.extras[k].directory, directories)) return false;
    }
    dropRepeated(directories);
    return true;
}

// --- patterns -------------------------------------------------------------------------------------------

template <size_t Size>
static void addPatterns(QbPatternList& list, const std::string& directory,
                        const char* const (&endings)[Size]) {
    for (const char* ending : endings)
        list.push_back(directory + "\\*" + ending);
}

QbPatternList qbDataPatterns(const std::vector<std::string>& directories, const char* shadersDirectory,
                             const char* scriptName) {
    static const char* const scene[] = {".x",   ".lws.ini.bin", ".quab", ".jpg", ".png", ".jpeg",
                                        ".bmp", ".gif",         ".hlsl", ".vsh", ".psh", ".raw"};
    static const char* const shaders[] = {".dbs", ".fx", ".hlsl"};
    QbPatternList list;
    for (const std::string& directory : directories)
        addPatterns(list, directory, scene);
    if (*shadersDirectory) addPatterns(list, shadersDirectory, shaders);
    list.emplace_back(scriptName);
    return list;
}

QbPatternList qbMusicPatterns(const char* musicDirectory) {
    static const char* const tunes[] = {".mp3", ".mpg", ".mpeg"};
    QbPatternList list;
    addPatterns(list, musicDirectory, tunes);
    return list;
}

QbPatternList qbLoadingPatterns() {
    return {"loading.png"};
}

QbPatternList qbShaderPatterns() {
    static const char* const shaders[] = {".fx", ".hlsl", ".vsh", ".psh"};
    QbPatternList list;
    addPatterns(list, "shaders", shaders);
    return list;
}

std::string qbPatternText(const QbPatternList& list) {
    std::string text;
    for (const std::string& pattern : list)
        text += pattern + ' ';
    return text;
}

// --- the files ------------------------------------------------------------------------------------------

namespace {

// A directory of the disk, and how files in it are named from the base directory.
struct Directory {
    std::string path, prefix; // with a separator at the end, or empty
    std::vector<std::string> names;
};

struct Matches {
    QbMatchedFiles result;
    std::unordered_map<std::string, size_t> indexes; // of `result.files`, by the name in the cabinet
};

} // namespace

static bool isRooted(const std::string& path) {
    return path.find_first_of(SEPARATORS) == 0;
}

static std::string withSeparator(std::string path) {
    if (!path.empty() && path.back() != '/') path += '/';
    return path;
}

static Directory openDirectory(const std::string& baseDir, const std::string& name) {
    Directory directory;
    if (!qbPathResolve((isRooted(name) ? name : baseDir + name).c_str(), directory.path)) return {};
    directory.path = withSeparator(directory.path);
    const bool below = !isRooted(name) && directory.path.starts_with(baseDir);
    directory.prefix =
        withSeparator(qbTidyPath(std::string_view(directory.path).substr(below ? baseDir.size() : 0)));
    directory.names = qbPathList(directory.path.c_str());
    return directory;
}

static size_t lengthOutside(const std::string& file) {
    size_t length = isRooted(file) ? 1 : 0;
    while (file.compare(length, 3, "../") == 0)
        length += 3;
    return length;
}

static void addMatch(Matches& matches, const std::string& file) {
    std::vector<std::string>& files = matches.result.files;
    const auto [entry, isNew] = matches.indexes.emplace(file.substr(lengthOutside(file)), files.size());
    if (isNew) {
        files.push_back(file);
        return;
    }
    std::string& other = files[entry->second];
    if (other == file) return;
    const bool replaces = lengthOutside(file) == 0;
    matches.result.leftOut.push_back(replaces ? other : file);
    if (replaces) other = file;
}

static void matchAll(Matches& matches, const Directory& directory, const std::string& pattern) {
    for (const std::string& name : directory.names)
        if (qbMatchesPattern(name, pattern) && qbPathIsFile(directory.path + name))
            addMatch(matches, directory.prefix + name);
}

// Where several differ in case alone, one is meant: the exact one, else the first.
static void matchName(Matches& matches, const Directory& directory, const std::string& wanted) {
    const std::string* found = nullptr;
    for (const std::string& name : directory.names) {
        if (!qbSameText(name, wanted) || !qbPathIsFile(directory.path + name)) continue;
        if (!found || name == wanted) found = &name;
    }
    if (found) addMatch(matches, directory.prefix + *found);
}

QbMatchedFiles qbPatternFiles(const std::string& baseDir, const QbPatternList& list) {
    Matches matches;
    Directory directory;
    std::string opened; // patterns of one directory stand together
    bool isOpen = false;
    for (const std::string& pattern : list) {
        // A script may be called "*.demo.ini", or have a backslash in its name.
        if (pattern.find('/') == std::string::npos && qbPathIsFile(baseDir + pattern)) {
            addMatch(matches, pattern);
            continue;
        }
        const size_t separator = pattern.find_last_of(SEPARATORS);
        const std::string wanted = separator == std::string::npos ? "" : pattern.substr(0, separator);
        const std::string name = separator == std::string::npos ? pattern : pattern.substr(separator + 1);
        if (!isOpen || wanted != opened) directory = openDirectory(baseDir, wanted);
        opened = wanted;
        isOpen = true;
        if (name.starts_with("*."))
            matchAll(matches, directory, name);
        else
            matchName(matches, directory, name);
    }
    return matches.result;
}
