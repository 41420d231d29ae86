#include "storage/ini.h"

#include "platform/memory.h"
#include "platform/text_alias.h"
#include "storage/file.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>

// The parser compares each key with all before it: twice the lines of the largest script take it a second,
// all the lines that TEXT_SIZE_MAX holds hours.
enum { LINES_MAX = 32768 };

// LINE_SIZE is iniparser's own line buffer: a longer line is an error there.
// TABLES_SIZE and ROOM_PER_BYTE are more than its tables take, empty and for each byte of text.
enum { LINE_SIZE = 1024, TEXT_SIZE_MAX = 16 * 1024 * 1024, TABLES_SIZE = 64 * 1024, ROOM_PER_BYTE = 32 };

// iniparser opens its input by itself and knows it by the alias; the user knows the file.
static const char* aliasName = nullptr;
static const char* fileName = nullptr;

static int printError(const char* format, ...) {
    char buffer[4 * LINE_SIZE];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(buffer, sizeof(buffer), format, arguments);
    va_end(arguments);
    if (length < 0) return length;
    const char* alias = strstr(buffer, aliasName);
    if (!alias) return fputs(buffer, stderr);
    return fprintf(stderr, "%.*s%s%s", static_cast<int>(alias - buffer), buffer, fileName,
                   alias + strlen(aliasName));
}

static bool readText(const char* name, std::string& text) {
    errno = 0;
    const std::unique_ptr<QbFile, decltype(&qbFileClose)> file(qbFileOpen(name, "r"), qbFileClose);
    if (!file && errno == ENOMEM) throw std::bad_alloc();
    if (!file) {
        fprintf(stderr, "iniparser: cannot open %s\n", name);
        return false;
    }
    if (!qbFileHasLines(file.get())) {
        const char* place = qbFileData(file.get()) ? "memory" : "an archive";
        fprintf(stderr, "iniparser: %s can not be read by lines from %s\n", name, place);
        return false;
    }
    char line[LINE_SIZE] = "";
    for (int lines = 1; qbFileGets(line, sizeof(line), file.get()); ++lines) {
        const size_t length = strnlen(line, sizeof(line));
        text.append(line, length);
        // A zero byte inside a line hides its line end; the next line must not be glued to it.
        if (length + 1 < sizeof(line) && !text.ends_with('\n')) text += '\n';
        if (text.size() > TEXT_SIZE_MAX) {
            fprintf(stderr, "iniparser: %s is too large\n", name);
            return false;
        }
        if (lines > LINES_MAX) {
            fprintf(stderr, "iniparser: %s has more than %d lines\n", name, LINES_MAX);
            return false;
        }
    }
    // Half a script must not pass for a whole one.
    const int error = errno;
    if (qbFileTell(file.get()) == qbFileSize(file.get())) return true;
    qbMessage("%.512s: the file can not be read to its end (%s); copy it again", name, strerror(error));
    return false;
}

static dictionary* loadIni(const char* name) {
    std::string text;
    if (!readText(name, text)) return nullptr;
    std::string_view lines = text;
    if (constexpr std::string_view mark = "\xEF\xBB\xBF"; lines.starts_with(mark))
        lines.remove_prefix(mark.size());

    const std::unique_ptr<QbTextAlias, decltype(&qbTextAliasFree)> alias(
        qbTextAliasCreate(lines.data(), static_cast<unsigned>(lines.size())), qbTextAliasFree);
    if (!alias) {
        qbMessage("%.512s: no room for its text: %s", name, strerror(errno));
        return nullptr;
    }
    aliasName = qbTextAliasName(alias.get());
    fileName = name;
    iniparser_set_error_callback(printError);
    // The parser does not check all that it asks for: this much is there.
    std::string().reserve(TABLES_SIZE + size_t{ROOM_PER_BYTE} * text.size());
    errno = 0;
    dictionary* result = iniparser_load(aliasName);
    // Without memory the parser leaves out what it finds no room for.
    const bool isWhole = errno != ENOMEM;
    iniparser_set_error_callback(nullptr);
    if (isWhole) return result;
    iniparser_freedict(result);
    throw std::bad_alloc();
}

dictionary* qbIniLoad(const char* name) {
    if (!name) return nullptr;
    return qbUnlessOutOfMemory<dictionary*>(name, nullptr, [name] { return loadIni(name); });
}
