#include "engine/hlsl_scan.h"

#include "platform/text.h"

#include <algorithm>
#include <array>
#include <cstdio>

bool hlslFail(HlslScan* scan, const HlslToken& where, std::string reason) {
    scan->errors.push_back({scan->file, where.line, where.column, std::move(reason)});
    return false;
}

static bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

static bool isLetter(char c) {
    return (qbFoldCase(c) >= 'a' && qbFoldCase(c) <= 'z') || c == '_';
}

// --- Reader ----------------------------------------------------------------------------------------------

const HlslToken& HlslReader::peek(size_t ahead) const {
    return at_ + ahead < end_ ? tokens_[at_ + ahead] : past_;
}

bool HlslReader::accept(std::string_view text) {
    if (done() || peek().text != text) return false;
    ++at_;
    return true;
}

size_t HlslReader::behindGroup(size_t from) const {
    size_t depth = 0;
    for (size_t i = from; i < end_; ++i) {
        const std::string_view text = tokens_[i].text;
        if (text == "(" || text == "[" || text == "{") ++depth;
        if (text == ")" || text == "]" || text == "}") {
            if (depth <= 1) return i + 1;
            --depth;
        }
    }
    return end_;
}

// --- Words -----------------------------------------------------------------------------------------------

namespace {

// A walk over the text that knows its line and column.
struct Cursor {
    std::string_view text;
    size_t at = 0, lineStart = 0;
    int line = 1, row = 1;

    bool done() const { return at >= text.size(); }
    char look(size_t ahead = 0) const { return at + ahead < text.size() ? text[at + ahead] : '\0'; }
    int column() const { return static_cast<int>(at - lineStart) + 1; }
    HlslToken here() const {
        HlslToken token;
        token.line = line;
        token.column = column();
        token.row = row;
        return token;
    }
    // Line ends are LF, CR and CR LF.
    bool atLineEnd() const { return look() == '\n' || look() == '\r'; }
    void newLine() {
        at += look() == '\r' && look(1) == '\n' ? 2 : 1;
        lineStart = at;
        ++line;
        ++row;
    }
    // A backslash at the end of a line joins it with the next one.
    bool joinLine() {
        if (look() != '\\' || (look(1) != '\n' && look(1) != '\r')) return false;
        ++at;
        newLine();
        --row;
        return true;
    }
};

} // namespace

static void skipLineComment(Cursor& cursor) {
    while (!cursor.done() && !cursor.atLineEnd())
        if (!cursor.joinLine()) ++cursor.at;
}

static bool skipBlockComment(Cursor& cursor) {
    // A comment over several lines does not end a directive.
    const int row = cursor.row;
    for (cursor.at += 2; !cursor.done();) {
        if (cursor.look() == '*' && cursor.look(1) == '/') {
            cursor.at += 2;
            cursor.row = row;
            return true;
        }
        if (cursor.atLineEnd()) {
            cursor.newLine();
        } else {
            ++cursor.at;
        }
    }
    return false;
}

static size_t nameLength(const Cursor& cursor) {
    size_t n = 0;
    while (isLetter(cursor.look(n)) || isDigit(cursor.look(n)))
        ++n;
    return n;
}

static size_t numberLength(const Cursor& cursor) {
    size_t n = 0;
    while (isLetter(cursor.look(n)) || isDigit(cursor.look(n)) || cursor.look(n) == '.' ||
           ((cursor.look(n) == '+' || cursor.look(n) == '-') && n > 0 &&
            qbFoldCase(cursor.look(n - 1)) == 'e' && qbFoldCase(cursor.look(1)) != 'x'))
        ++n;
    return n;
}

// The closing quote is part of the word; without one the line's end ends it.
static size_t textLength(const Cursor& cursor) {
    size_t n = 1;
    for (; cursor.at + n < cursor.text.size(); ++n) {
        const char c = cursor.look(n);
        if (c == '"') return n + 1;
        if (c == '\n' || c == '\r') break;
    }
    return n;
}

static size_t markLength(const Cursor& cursor) {
    static constexpr std::array<std::string_view, 24> marks = {
        "<<=", ">>=", "&&", "||", "==", "!=", "<=", ">=", "+=", "-=", "*=", "/=",
        "%=",  "&=",  "|=", "^=", "++", "--", "<<", ">>", "::", "##", "->", "..."};
    const std::string_view rest = cursor.text.substr(cursor.at, 3);
    for (const std::string_view mark : marks)
        if (rest.substr(0, mark.size()) == mark) return mark.size();
    return 1;
}

static HlslToken takeToken(Cursor& cursor) {
    HlslToken token = cursor.here();
    const char c = cursor.look();
    size_t length = 1;
    if (isLetter(c)) {
        token.kind = HlslKind::Name;
        length = nameLength(cursor);
    } else if (isDigit(c) || (c == '.' && isDigit(cursor.look(1)))) {
        token.kind = HlslKind::Number;
        length = numberLength(cursor);
    } else if (c == '"') {
        token.kind = HlslKind::Text;
        length = textLength(cursor);
    } else if (c > ' ' && c < 0x7F && std::string_view("'`@$\\").find(c) == std::string_view::npos) {
        length = markLength(cursor);
    } else {
        token.kind = HlslKind::Other;
    }
    token.text = cursor.text.substr(cursor.at, length);
    cursor.at += length;
    return token;
}

static bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\v' || c == '\f';
}

// Skips blanks, comments and line ends. False at a comment that does not end.
static bool skipBlanks(Cursor& cursor, HlslScan* scan) {
    while (!cursor.done()) {
        if (cursor.atLineEnd()) {
            cursor.newLine();
        } else if (isBlank(cursor.look())) {
            ++cursor.at;
        } else if (cursor.look() == '/' && cursor.look(1) == '/') {
            skipLineComment(cursor);
        } else if (cursor.look() == '/' && cursor.look(1) == '*') {
            const HlslToken start = cursor.here();
            if (!skipBlockComment(cursor))
                return hlslFail(scan, start, "this comment is never closed with */");
        } else if (!cursor.joinLine()) {
            break;
        }
    }
    return true;
}

bool hlslTokenize(std::string_view text, HlslScan* scan) {
    Cursor cursor;
    cursor.text = text;
    if (text.size() > HLSL_TEXT_MAX)
        return hlslFail(scan, cursor.here(),
                        "the text is longer than " + std::to_string(HLSL_TEXT_MAX) + " bytes");
    if (text.substr(0, 3) == "\xEF\xBB\xBF") cursor.at = cursor.lineStart = 3;
    while (true) {
        if (!skipBlanks(cursor, scan)) return false;
        if (cursor.done()) return true;
        if (scan->tokens.size() >= HLSL_TOKENS_MAX)
            return hlslFail(scan, cursor.here(), "more than " + std::to_string(HLSL_TOKENS_MAX) + " words");
        scan->tokens.push_back(takeToken(cursor));
    }
}
