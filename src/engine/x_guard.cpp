#include "engine/x_guard.h"

#include "engine/x_check.h"

#include <algorithm>
#include <cstdio>

// A .x file begins with 16 characters: "xof ", version, format, bits of a float.
//
//   0      4      8      12
//   "xof " "0303" "txt " "0032"
enum { HEADER_SIZE = 16 };

static const char ADVICE[] = "save the mesh again as .x";

// --- the header -------------------------------------------------------------------------------------------

static std::string checkHeader(std::string_view bytes, const std::string& path) {
    if (bytes.size() < HEADER_SIZE || bytes.substr(0, 4) != "xof ")
        return path + " is not a .x file: it does not begin with \"xof \"; " + ADVICE;
    const std::string_view format = bytes.substr(8, 4);
    const std::string_view floats = bytes.substr(12, 4);
    if (format == "tzip" || format == "bzip")
        return path + " is a compressed .x file; save it as text or binary (not compressed)";
    if ((format != "txt " && format != "bin ") || (floats != "0032" && floats != "0064"))
        return path + " is a .x file of an unknown kind; save it as text or binary with 32-bit floats";
    if (bytes.size() > QB_X_FILE_MAX)
        return path + " is larger than " + std::to_string(QB_X_FILE_MAX >> 20) + " MiB; divide the mesh";
    return {};
}

static void openReader(QbXReader& reader, std::string_view bytes) {
    reader.begin = bytes.data();
    reader.end = bytes.data() + bytes.size();
    reader.at = reader.begin + HEADER_SIZE;
    reader.binary = bytes.substr(8, 4) == "bin ";
    reader.floatSize = bytes.substr(12, 4) == "0064" ? 8 : 4;
    if (reader.binary) return;
    // The header owns its whole line.
    while (reader.at < reader.end && *reader.at != '\n' && *reader.at != '\r')
        reader.at++;
}

// --- the file ---------------------------------------------------------------------------------------------

static bool checkTemplate(QbXReader& reader) {
    const QbXPlace place(reader, "template");
    std::string_view token;
    if (!qbXReadHead(reader, reader.name)) return false;
    if (!qbXReadToken(reader, token)) return false; // its identifier, whatever it looks like
    do {
        if (!qbXReadToken(reader, token)) return false;
    } while (!qbXIs(token, "}"));
    return true;
}

static bool checkTemplateMaterial(QbXCheck& check) {
    std::string_view name;
    if (!qbXReadToken(check.reader, name)) return false;
    check.templates[qbXKey(name)]++;
    check.templateCount++;
    return qbXCheckMaterial(check);
}

static bool checkObject(QbXCheck& check) {
    QbXReader& reader = check.reader;
    std::string_view kind;
    if (!qbXReadKind(reader, kind)) return false;
    if (qbXIs(kind, "template")) return checkTemplate(reader);
    if (qbXIs(kind, "Frame")) return qbXCheckFrame(check, 1, QB_X_NO_JOINT);
    if (qbXIs(kind, "Mesh")) return qbXCheckMesh(check);
    if (qbXIs(kind, "AnimationSet")) return qbXCheckAnimationSet(check);
    if (qbXIs(kind, "Material")) return checkTemplateMaterial(check);
    if (qbXIs(kind, "}")) return true;
    return qbXPassObject(reader);
}

static bool checkWhole(QbXCheck& check) {
    QbXReader& reader = check.reader;
    while (!qbXAtPadding(reader))
        if (!checkObject(check)) return false;
    reader.token = reader.at;
    if (check.strayWeights && !check.firstBufferUsed)
        return qbXFail(reader, "SkinWeights name vertices of no face, and no face has the first material");
    return qbXCheckJoints(check);
}

// --- the message ------------------------------------------------------------------------------------------

// A name as it may stand in a message: short, and without what no terminal shows.
static std::string shownName(std::string_view name) {
    enum { SHOWN_MAX = 40 };
    std::string shown;
    for (const char c : name.substr(0, SHOWN_MAX))
        shown += static_cast<unsigned char>(c) < ' ' || c == 127 ? '?' : c;
    return shown;
}

static std::string whereFailed(const QbXReader& reader) {
    const auto offset = static_cast<size_t>(reader.failedAt - reader.begin);
    if (reader.binary) return "byte " + std::to_string(offset);
    return "line " + std::to_string(1 + std::count(reader.begin, reader.failedAt, '\n'));
}

static std::string describe(const QbXReader& reader, const std::string& path) {
    std::string text = path + ", " + whereFailed(reader);
    if (*reader.kind) text += std::string(", in ") + reader.kind;
    if (*reader.kind && !reader.name.empty()) text += " \"" + shownName(reader.name) + "\"";
    return text + ": " + reader.failure + "; " + (reader.cut ? "copy the file again or " : "") + ADVICE;
}

QbXVerdict qbXGuardCheck(std::string_view bytes, const char* path) {
    QbXVerdict verdict;
    verdict.message = checkHeader(bytes, path);
    if (!verdict.message.empty()) return verdict;
    QbXCheck check;
    QbXReader& reader = check.reader;
    openReader(reader, bytes);
    if (!checkWhole(check)) {
        verdict.message = describe(reader, path);
        verdict.cut = reader.binary && reader.cut;
    } else if (check.meshes == 0) {
        verdict.message = std::string(path) + " holds no Mesh; " + ADVICE;
    } else {
        verdict.size = static_cast<size_t>(reader.at - reader.begin);
    }
    return verdict;
}
