#include "scene/runtime/mesh_file.h"

#include "platform/message.h"
#include "platform/path.h"

#include <array>
#include <cctype>
#include <cstdio>
#include <memory>
#include <string_view>

// A .x file begins with 16 characters: "xof ", version, format, bits of a float.
//
//   0      4      8      12
//   "xof " "0303" "txt " "0032"
enum { HEADER_SIZE = 16 };

bool qbMeshFileFind(const char* name, std::string& path) {
    if (!name || !*name) return false;
    std::string wanted = name;
    if (wanted.find_first_of("/\\") == std::string::npos)
        wanted = std::string(qbCurrentDirectory()) + "\\" + wanted;
    if (!qbPathResolve(wanted.c_str(), path)) return false;
    // The engine keeps meshes by name: the same relative name in two directories is two meshes.
    path = qbFullPath(path.c_str());
    return !path.empty();
}

static bool hasXEnding(std::string_view path) {
    return path.size() >= 2 && path[path.size() - 2] == '.' && tolower(path.back()) == 'x';
}

static std::string readHeader(const char* path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(qbPathOpen(path, "rb"), &std::fclose);
    std::array<char, HEADER_SIZE> header = {};
    const size_t length = file ? fread(header.data(), 1, header.size(), file.get()) : 0;
    return {header.data(), length};
}

bool qbMeshFileCheck(const char* path) {
    if (!hasXEnding(path)) return true;
    const std::string header = readHeader(path);
    if (header.size() < HEADER_SIZE || header.compare(0, 4, "xof ") != 0) {
        qbMessage("%s is not a .x file: it does not begin with \"xof \"; save the mesh again as .x", path);
        return false;
    }
    const std::string format = header.substr(8, 4);
    const std::string floats = header.substr(12, 4);
    if (format == "tzip" || format == "bzip") {
        qbMessage("%s is a compressed .x file; save it as text or binary (not compressed)", path);
        return false;
    }
    if ((format != "txt " && format != "bin ") || (floats != "0032" && floats != "0064")) {
        qbMessage("%s is a .x file of an unknown kind; save it as text or binary with 32-bit floats", path);
        return false;
    }
    return true;
}
