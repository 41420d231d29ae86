#include "platform/path.h"

#include "platform/path_system.h"
#include "platform/process.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <vector>

// Sizes of the results in static buffers, without terminator.
enum { BASE_NAME_MAX = 256, PATH_LENGTH_MAX = 2048 };

// --- resolving ------------------------------------------------------------------------------------------

static std::string joined(const std::string& directory, std::string_view name) {
    std::string path = directory;
    if (!path.empty() && path.back() != '/') path += '/';
    return path += name;
}

static std::vector<std::string_view> components(std::string_view name) {
    std::vector<std::string_view> parts;
    while (!name.empty()) {
        const size_t end = std::min(name.find_first_of("/\\"), name.size());
        if (end > 0) parts.push_back(name.substr(0, end));
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    return parts;
}

static std::vector<std::string> sortedNames(const std::string& directory) {
    std::vector<std::string> names = qbSystemList(directory);
    std::sort(names.begin(), names.end());
    return names;
}

// Two directories may differ in case alone, with the file in either: each is followed to its end before the
// next is tried, the exact one first, the others in byte order so that the answer does not depend on the
// disk.
static bool walk(const std::string& directory, const std::vector<std::string_view>& parts, size_t index,
                 std::string& found) {
    if (index == parts.size()) {
        found = directory;
        return true;
    }
    const std::string exact = joined(directory, parts[index]);
    if (qbSystemExists(exact) && walk(exact, parts, index + 1, found)) return true;
    if (parts[index] == "." || parts[index] == "..") return false;

    for (const std::string& name : sortedNames(directory.empty() ? "." : directory)) {
        if (name == parts[index] || !qbSameText(name, parts[index])) continue;
        if (walk(joined(directory, name), parts, index + 1, found)) return true;
    }
    return false;
}

bool qbPathResolve(const char* name, std::string& found) {
    if (!name || !*name) return false;
    const std::string wanted = name;
    if (qbSystemExists(wanted)) {
        found = wanted;
        return true;
    }
    const bool rooted = wanted[0] == '/' || wanted[0] == '\\';
    std::string real;
    if (!walk(rooted ? "/" : "", components(wanted), 0, real) || !qbSystemExists(real)) return false;
    found = real;
    return true;
}

bool qbPathIsFile(const std::string& name) {
    return qbSystemIsFile(name);
}

bool qbPathIsSame(const std::string& a, const std::string& b) {
    return qbSystemIsSame(a, b);
}

// A backslash is a letter of the name where a file has it in its name, and a separator everywhere else.
static const char* separatorsOf(const std::string& path) {
    return path.find('\\') == std::string::npos || qbSystemExists(path) ? "/" : "/\\";
}

// Where the name proper begins: behind the last separator.
static size_t nameStart(const std::string& path) {
    const size_t separator = path.find_last_of(separatorsOf(path));
    return separator == std::string::npos ? 0 : separator + 1;
}

static std::FILE* openForWriting(const std::string& name, const char* mode) {
    const size_t start = nameStart(name);
    if (start == 0 || qbSystemExists(name)) return qbSystemOpen(name, mode);
    std::string directory;
    if (!qbPathResolve(name.substr(0, start).c_str(), directory) || start == name.size()) {
        errno = ENOENT;
        return nullptr;
    }
    return qbSystemOpen(joined(directory, name.substr(start)), mode);
}

std::FILE* qbPathOpen(const char* name, const char* mode) {
    if (!name || !*name || !mode) return nullptr;
    if (mode[0] != 'r') return openForWriting(name, mode);
    std::string found;
    if (!qbPathResolve(name, found)) {
        errno = ENOENT;
        return nullptr;
    }
    return qbSystemOpen(found, mode);
}

// --- parts of a path ------------------------------------------------------------------------------------

template <size_t Size>
static const char* keep(std::array<char, Size>& buffer, std::string_view text) {
    const size_t length = std::min(text.size(), Size - 1);
    memcpy(buffer.data(), text.data(), length);
    buffer[length] = '\0';
    return buffer.data();
}

const char* qbBaseName(const char* path) {
    static std::array<char, BASE_NAME_MAX + 1> buffer;
    const std::string text = path ? path : "";
    return keep(buffer, std::string_view(text).substr(nameStart(text)));
}

const char* qbDirName(const char* path) {
    static std::array<char, PATH_LENGTH_MAX + 1> buffer;
    const std::string text = path ? path : "";
    return keep(buffer, std::string_view(text).substr(0, nameStart(text)));
}

// --- directories ----------------------------------------------------------------------------------------

const char* qbFullPath(const char* path) {
    static std::array<char, PATH_LENGTH_MAX + 1> buffer;
    const std::string name = path ? path : "";
    std::string full;
    if (!name.empty() && !qbPathResolve(name.c_str(), full)) full = name;
    while (full.starts_with("./"))
        full.erase(0, std::min(full.find_first_not_of('/', 1), full.size()));
    if (!qbSystemIsAbsolute(full)) {
        std::string directory;
        if (!qbSystemCurrentDirectory(directory)) return keep(buffer, "");
        full = full.empty() || full == "." ? directory : joined(directory, full);
    }
    return keep(buffer, full.size() <= PATH_LENGTH_MAX ? full : "");
}

const char* qbCurrentDirectory() {
    static std::array<char, PATH_LENGTH_MAX + 1> buffer;
    std::string directory;
    if (!qbSystemCurrentDirectory(directory) || directory.size() > PATH_LENGTH_MAX) directory.clear();
    return keep(buffer, directory);
}

int qbSetDirectory(const char* path) {
    if (!path) return -1;
    if (!*path) return 0;
    std::string found;
    return qbPathResolve(path, found) && qbSystemEnter(found) ? 0 : -1;
}

const char* qbProgramDirectory() {
    static const std::string directory = qbDirName(qbProgramPath());
    return directory.empty() ? nullptr : directory.c_str();
}

// --- looking for files ----------------------------------------------------------------------------------

std::vector<std::string> qbPathList(const char* directory) {
    std::string found;
    if (!qbPathResolve(directory, found)) return {};
    return sortedNames(found);
}

int qbFileExists(const char* path) {
    std::FILE* file = qbPathOpen(path, "rb");
    if (!file) return 0;
    fclose(file);
    return 1;
}

const char* qbFindFile(const char* name) {
    static std::string result;
    const std::string wanted = name ? name : "";
    const char* program = qbProgramDirectory();

    std::vector<std::string> candidates = {wanted, "shaders/" + wanted};
    if (program) {
        candidates.push_back(program + wanted);
        candidates.push_back(std::string(program) + "shaders/" + wanted);
    }
    const auto found = std::find_if(candidates.begin(), candidates.end(),
                                    [](const std::string& path) { return qbFileExists(path.c_str()) != 0; });
    result = found == candidates.end() ? wanted : *found;
    return result.c_str();
}
