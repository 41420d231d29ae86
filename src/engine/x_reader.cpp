#include "engine/x_reader.h"

#include <algorithm>
#include <cfloat>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <vector>

enum BinaryToken : uint16_t {
    TOKEN_NAME = 1,
    TOKEN_STRING = 2,
    TOKEN_INTEGER = 3,
    TOKEN_GUID = 5,
    TOKEN_INTEGER_LIST = 6,
    TOKEN_FLOAT_LIST = 7,
    TOKEN_FLOAT = 0x42,
};

// The engine's reader loses its place in a longer run of digits: it stops where a float overflows.
enum { DIGITS_MAX = 38 };

// Powers of ten below one from which on a number counts as zero.
enum { SMALL_DIGITS = 30 };

// About half a nanosecond each.
static const uint64_t WORK_MAX = 20'000'000'000;

static const char NOT_FINITE[] = "this number is not finite";

// --- failures ---------------------------------------------------------------------------------------------

bool qbXFail(QbXReader& reader, const char* format, ...) {
    if (!reader.failure.empty()) return false;
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    reader.failure = text;
    reader.failedAt = reader.token;
    return false;
}

bool qbXFailAtEnd(QbXReader& reader) {
    if (!reader.failure.empty()) return false;
    reader.token = reader.end;
    reader.cut = true;
    return qbXFail(reader, "the file ends here");
}

bool qbXSpend(QbXReader& reader, uint64_t steps, const char* reason) {
    reader.work += steps;
    return reader.work <= WORK_MAX ||
           qbXFail(reader, "the engine would take too long to read it: %s", reason);
}

// --- text -------------------------------------------------------------------------------------------------

static bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

static bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

static bool isDelimiter(char c) {
    return c == ';' || c == ',' || c == '{' || c == '}';
}

static bool atComment(const QbXReader& reader) {
    if (*reader.at == '#') return true;
    return *reader.at == '/' && reader.end - reader.at > 1 && reader.at[1] == '/';
}

static void passLine(QbXReader& reader) {
    while (reader.at < reader.end && *reader.at != '\n' && *reader.at != '\r')
        reader.at++;
    if (reader.at < reader.end) reader.at++;
}

static void passBlanks(QbXReader& reader) {
    while (reader.at < reader.end) {
        if (isBlank(*reader.at))
            reader.at++;
        else if (atComment(reader))
            passLine(reader);
        else
            return;
    }
}

// The engine's reader copies what it has of a word for each further character.
static bool spendWord(QbXReader& reader, size_t length) {
    return length < 256 || qbXSpend(reader, uint64_t{length} * length / 2, "a word of the text is too long");
}

static bool readTextToken(QbXReader& reader, std::string_view& token) {
    passBlanks(reader);
    reader.token = reader.at;
    if (reader.at == reader.end) return qbXFailAtEnd(reader);
    const char* first = reader.at++;
    if (!isDelimiter(*first))
        while (reader.at < reader.end && !isBlank(*reader.at) && !isDelimiter(*reader.at))
            reader.at++;
    // The engine's reader looks one character behind a slash.
    if (reader.at == reader.end && *first == '/') return qbXFailAtEnd(reader);
    token = {first, static_cast<size_t>(reader.at - first)};
    return spendWord(reader, token.size());
}

static bool readQuotedText(QbXReader& reader, std::string_view& text) {
    passBlanks(reader);
    reader.token = reader.at;
    if (reader.at == reader.end) return qbXFailAtEnd(reader);
    if (*reader.at != '"') return qbXFail(reader, "a text in quotation marks is missing");
    const char* first = reader.at + 1;
    const auto* last = static_cast<const char*>(memchr(first, '"', static_cast<size_t>(reader.end - first)));
    if (!last || last + 1 == reader.end) return qbXFailAtEnd(reader);
    if (last[1] != ';') return qbXFail(reader, "no \";\" stands behind the text in quotation marks");
    text = {first, static_cast<size_t>(last - first)};
    reader.at = last + 2;
    return spendWord(reader, text.size());
}

// The loops below keep the place in a local: through the record it would go to memory for each character.
static bool seekNumber(QbXReader& reader) {
    const char* at = reader.at;
    while (at < reader.end && !isDigit(*at) && *at != '-' && *at != '.') {
        if (isBlank(*at) || *at == ';' || *at == ',' || *at == '+') {
            at++;
            continue;
        }
        reader.token = reader.at = at;
        if (!atComment(reader)) return qbXFail(reader, "a number is missing: a count before it is too large");
        passLine(reader);
        at = reader.at;
    }
    reader.token = reader.at = at;
    return at < reader.end || qbXFailAtEnd(reader);
}

static bool endNumber(QbXReader& reader, const char* what) {
    if (reader.at == reader.end) return qbXFailAtEnd(reader);
    return isBlank(*reader.at) || isDelimiter(*reader.at) || qbXFail(reader, "%s", what);
}

static bool readTextInt(QbXReader& reader, uint32_t& value) {
    static const char NO_COUNT[] = "this is no whole number from 0 to 4294967295";
    if (!seekNumber(reader)) return false;
    if (!isDigit(*reader.at)) return qbXFail(reader, "%s", NO_COUNT);
    const char* at = reader.at;
    uint64_t sum = 0;
    for (; at < reader.end && isDigit(*at); at++) {
        sum = sum * 10 + static_cast<uint64_t>(*at - '0');
        if (sum > UINT32_MAX) return qbXFail(reader, "%s", NO_COUNT);
    }
    reader.at = at;
    value = static_cast<uint32_t>(sum);
    return endNumber(reader, NO_COUNT);
}

// A run of digits. Its leading zeros are not significant.
struct Digits {
    int count = 0;
    int significant = 0;
};

static Digits readDigits(QbXReader& reader) {
    const char* at = reader.at;
    while (at < reader.end && *at == '0')
        at++;
    const char* significant = at;
    while (at < reader.end && isDigit(*at))
        at++;
    const Digits digits = {static_cast<int>(std::min<ptrdiff_t>(at - reader.at, INT_MAX)),
                           static_cast<int>(std::min<ptrdiff_t>(at - significant, INT_MAX))};
    reader.at = at;
    return digits;
}

// The engine's reader works the power of ten out as a float, which ends at 38.
static bool readExponent(QbXReader& reader, int wholeDigits, QbXFloat& value) {
    int exponent = 0;
    if (reader.end - reader.at > 1 && *reader.at == '+' && isDigit(reader.at[1])) reader.at++;
    const std::from_chars_result read = std::from_chars(reader.at, reader.end, exponent);
    reader.at = read.ptr;
    if (read.ec != std::errc()) return false;
    if (exponent > FLT_MAX_10_EXP || exponent + wholeDigits > FLT_MAX_10_EXP) value = QB_X_NOT_FINITE;
    if (exponent < -SMALL_DIGITS) value = QB_X_ZERO_OR_LESS;
    return true;
}

static bool readTextFloat(QbXReader& reader, QbXFloat& value) {
    static const char NO_NUMBER[] = "this is no number";
    if (!seekNumber(reader)) return false;
    const bool negative = *reader.at == '-';
    if (negative) reader.at++;
    const Digits whole = readDigits(reader);
    Digits fraction;
    if (reader.at < reader.end && *reader.at == '.') {
        reader.at++;
        fraction = readDigits(reader);
    }
    if (reader.at == reader.end) return qbXFailAtEnd(reader);
    if (whole.significant > DIGITS_MAX || fraction.significant > DIGITS_MAX)
        return qbXFail(reader, "this number has more than %d digits", DIGITS_MAX);
    if (whole.count + fraction.count == 0) return qbXFail(reader, "%s", NO_NUMBER);
    const bool small = fraction.significant == 0 || fraction.count - fraction.significant > SMALL_DIGITS;
    value = negative || (whole.significant == 0 && small) ? QB_X_ZERO_OR_LESS : QB_X_POSITIVE;
    if (*reader.at == 'e' || *reader.at == 'E') {
        reader.at++;
        if (!readExponent(reader, whole.significant, value))
            return reader.at == reader.end ? qbXFailAtEnd(reader) : qbXFail(reader, "%s", NO_NUMBER);
    }
    return endNumber(reader, NO_NUMBER);
}

// --- binary -----------------------------------------------------------------------------------------------

static bool take(QbXReader& reader, uint64_t size, const char*& bytes) {
    if (size > static_cast<uint64_t>(reader.end - reader.at)) return qbXFailAtEnd(reader);
    bytes = reader.at;
    reader.at += size;
    return true;
}

static uint32_t littleEndian(const char* bytes, int size) {
    uint32_t value = 0;
    for (int i = 0; i < size; i++)
        value |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
    return value;
}

static bool readWord(QbXReader& reader, uint32_t& value) {
    const char* bytes = nullptr;
    if (!take(reader, 2, bytes)) return false;
    value = littleEndian(bytes, 2);
    return true;
}

static bool readLong(QbXReader& reader, uint32_t& value) {
    const char* bytes = nullptr;
    if (!take(reader, 4, bytes)) return false;
    value = littleEndian(bytes, 4);
    return true;
}

// A counted run of `stride` bytes each, with `more` bytes behind it.
static bool takeRun(QbXReader& reader, uint64_t stride, uint64_t more, std::string_view& run) {
    uint32_t count = 0;
    const char* bytes = nullptr;
    if (!readLong(reader, count) || !take(reader, count * stride + more, bytes)) return false;
    run = {bytes, static_cast<size_t>(count * stride)};
    return true;
}

// The word that the engine's reader makes of a token without data; empty for a kind that it does not know.
static std::string_view plainToken(uint32_t kind) {
    static const struct {
        uint32_t first;
        std::vector<std::string_view> words;
    } RUNS[] = {
        {0x0a, {"{", "}", "(", ")", "[", "]", "<", ">", ".", ",", ";"}},
        {0x1f, {"template"}},
        {0x28, {"WORD", "DWORD", "FLOAT", "DOUBLE", "CHAR", "UCHAR", "SWORD", "SDWORD"}},
        {0x30, {"void", "string", "unicode", "cstring", "array"}},
    };
    for (const auto& run : RUNS)
        if (kind >= run.first && kind - run.first < run.words.size()) return run.words[kind - run.first];
    return {};
}

static bool readBinaryToken(QbXReader& reader, std::string_view& token) {
    reader.token = reader.at;
    if (reader.listLeft)
        return qbXFail(reader, "a list holds %u numbers more than the counts say", reader.listLeft);
    uint32_t kind = 0;
    const char* bytes = nullptr;
    std::string_view run;
    if (!readWord(reader, kind)) return false;
    switch (kind) {
    case TOKEN_NAME:
        return takeRun(reader, 1, 0, token);
    case TOKEN_STRING:
        return takeRun(reader, 1, 2, token);
    case TOKEN_INTEGER:
        token = "<integer>";
        return take(reader, 4, bytes);
    case TOKEN_GUID:
        token = "<guid>";
        return take(reader, 16, bytes);
    case TOKEN_INTEGER_LIST:
        token = "<int_list>";
        return takeRun(reader, 4, 0, run);
    case TOKEN_FLOAT_LIST:
        token = "<flt_list>";
        return takeRun(reader, reader.floatSize, 0, run);
    default:
        break;
    }
    token = plainToken(kind);
    return !token.empty() || qbXFail(reader, "%u is no kind of token", kind);
}

// Makes sure that a number of the wanted kind comes next.
static bool openList(QbXReader& reader, bool floats) {
    const char* const wanted = floats ? "floats" : "integers";
    if (reader.listLeft) {
        if (reader.listFloats == floats) return true;
        reader.token = reader.at;
        return qbXFail(reader, "%s are missing: a count before them is wrong", wanted);
    }
    reader.token = reader.at;
    uint32_t kind = 0;
    if (!readWord(reader, kind)) return false;
    const uint32_t list = floats ? TOKEN_FLOAT_LIST : TOKEN_INTEGER_LIST;
    const uint32_t single = floats ? TOKEN_FLOAT : TOKEN_INTEGER;
    if (kind != list && kind != single)
        return qbXFail(reader, "%s are missing: a count before them is wrong", wanted);
    reader.listFloats = floats;
    reader.listLeft = 1;
    if (kind == list && !readLong(reader, reader.listLeft)) return false;
    const uint64_t size = floats ? reader.floatSize : 4;
    if (reader.listLeft * size > static_cast<uint64_t>(reader.end - reader.at)) return qbXFailAtEnd(reader);
    return reader.listLeft != 0 || qbXFail(reader, "a list of %s is empty", wanted);
}

static bool readBinaryInt(QbXReader& reader, uint32_t& value) {
    if ((reader.listLeft == 0 || reader.listFloats) && !openList(reader, false)) return false;
    reader.listLeft--;
    reader.token = reader.at;
    value = littleEndian(reader.at, 4);
    reader.at += 4;
    return true;
}

static QbXFloat binaryFloat(const QbXReader& reader, const char* bytes) {
    double value = 0.0;
    float narrow = 0.0F;
    if (reader.floatSize == sizeof value) {
        memcpy(&value, bytes, sizeof value);
    } else {
        memcpy(&narrow, bytes, sizeof narrow);
        value = static_cast<double>(narrow);
    }
    if (!(std::fabs(value) <= static_cast<double>(FLT_MAX))) return QB_X_NOT_FINITE;
    return value > static_cast<double>(FLT_MIN) ? QB_X_POSITIVE : QB_X_ZERO_OR_LESS;
}

// The next run of floats in one list, at most `count` of them; `run` is their first.
static bool readBinaryRun(QbXReader& reader, uint64_t& count, const char*& run) {
    if (!openList(reader, true)) return false;
    count = std::min<uint64_t>(count, reader.listLeft);
    reader.listLeft -= static_cast<uint32_t>(count);
    reader.token = run = reader.at;
    reader.at += count * reader.floatSize;
    return true;
}

static bool readBinaryFloat(QbXReader& reader, QbXFloat& value) {
    uint64_t one = 1;
    const char* bytes = nullptr;
    if (!readBinaryRun(reader, one, bytes)) return false;
    value = binaryFloat(reader, bytes);
    return true;
}

static bool readBinaryFloats(QbXReader& reader, uint64_t count, bool finite) {
    while (count > 0) {
        uint64_t length = count;
        const char* run = nullptr;
        if (!readBinaryRun(reader, length, run)) return false;
        for (count -= length; finite && length > 0; length--, run += reader.floatSize) {
            reader.token = run;
            if (binaryFloat(reader, run) == QB_X_NOT_FINITE) return qbXFail(reader, "%s", NOT_FINITE);
        }
    }
    return true;
}

// --- both -------------------------------------------------------------------------------------------------

bool qbXReadToken(QbXReader& reader, std::string_view& token) {
    if (!reader.binary) return readTextToken(reader, token);
    if (!readBinaryToken(reader, token)) return false;
    // The engine's reader takes it for the end of the file.
    return !token.empty() || qbXFail(reader, "a name is empty");
}

bool qbXReadText(QbXReader& reader, std::string_view& text) {
    return reader.binary ? readBinaryToken(reader, text) : readQuotedText(reader, text);
}

bool qbXReadInt(QbXReader& reader, uint32_t& value) {
    return reader.binary ? readBinaryInt(reader, value) : readTextInt(reader, value);
}

bool qbXReadFloat(QbXReader& reader, QbXFloat& value) {
    return reader.binary ? readBinaryFloat(reader, value) : readTextFloat(reader, value);
}

bool qbXReadFloats(QbXReader& reader, uint64_t count) {
    if (reader.binary) return readBinaryFloats(reader, count, false);
    QbXFloat value = QB_X_POSITIVE;
    for (uint64_t i = 0; i < count; i++)
        if (!readTextFloat(reader, value)) return false;
    return true;
}

bool qbXReadFinite(QbXReader& reader, uint64_t count) {
    if (reader.binary) return readBinaryFloats(reader, count, true);
    QbXFloat value = QB_X_POSITIVE;
    for (uint64_t i = 0; i < count; i++) {
        if (!readTextFloat(reader, value)) return false;
        if (value == QB_X_NOT_FINITE) return qbXFail(reader, "%s", NOT_FINITE);
    }
    return true;
}

bool qbXReadSemicolon(QbXReader& reader, bool& found) {
    found = true;
    if (reader.binary) return true;
    std::string_view token;
    if (!readTextToken(reader, token)) return false;
    found = qbXIs(token, ";");
    if (!found) reader.at--;
    return true;
}

bool qbXPassSemicolons(QbXReader& reader, int count) {
    bool found = true;
    for (int i = 0; i < count && found; i++)
        if (!qbXReadSemicolon(reader, found)) return false;
    return true;
}

bool qbXIs(std::string_view token, std::string_view word) {
    return token.substr(0, token.find('\0')) == word;
}

bool qbXAtPadding(const QbXReader& reader) {
    for (const char* c = reader.at; c < reader.end; c++)
        if (!isBlank(*c) && *c != '\0' && *c != '\x1a') return false;
    return true;
}
