#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// All that matters of a float. What is so small that the engine's reader may make a zero of it counts as
// zero.
enum QbXFloat { QB_X_POSITIVE, QB_X_ZERO_OR_LESS, QB_X_NOT_FINITE };

// Reads the tokens of a .x file step for step as the engine's reader does, but never past the end of the
// data. Where that reader would go on with a guess, this one fails.
//
//   text:   words divided by blanks, ';' ',' '{' '}'; comments begin with "//" or '#'
//   binary: u16 kind; a name: u32 length, characters; a string: the same and a u16; lists of integers and of
//           floats: u32 count, values; all little-endian
//
// Every function returns false once something failed; the first failure stays.
struct QbXReader {
    const char* begin = nullptr;
    const char* at = nullptr;
    const char* end = nullptr;
    bool binary = false;
    size_t floatSize = 4;      // bytes of a binary float: 4 or 8
    uint32_t listLeft = 0;     // binary: numbers of the open list not read yet
    bool listFloats = false;   // they are floats
    uint64_t work = 0;         // steps that the engine's reader makes beyond one for each byte
    const char* kind = "";     // data object being read, for messages
    std::string_view name;     // its name
    const char* token = "";    // where the last token or number begins
    std::string failure;       // empty: none
    const char* failedAt = ""; // place of the failure
    bool cut = false;          // the failure is the end of the data
};

// Fails with the place of the last token.
[[gnu::format(printf, 2, 3)]] bool qbXFail(QbXReader& reader, const char* format, ...);
// Fails with the end of the data.
bool qbXFailAtEnd(QbXReader& reader);

// The next token; never empty. Stays valid as long as the data.
bool qbXReadToken(QbXReader& reader, std::string_view& token);
// A string: text in quotation marks with a ';' behind it; in binary any token, also an empty one.
bool qbXReadText(QbXReader& reader, std::string_view& text);
bool qbXReadInt(QbXReader& reader, uint32_t& value);
bool qbXReadFloat(QbXReader& reader, QbXFloat& value);
bool qbXReadFloats(QbXReader& reader, uint64_t count); // of any value
bool qbXReadFinite(QbXReader& reader, uint64_t count); // refuses infinities and what is no number

// Text only: passes over one ';'. `found` tells whether it stood there; if not, the reader goes one character
// back from the end of the token that did, as the engine's reader does.
bool qbXReadSemicolon(QbXReader& reader, bool& found);
bool qbXPassSemicolons(QbXReader& reader, int count); // up to `count` of them

// The token is `word`; a zero byte ends a token as it ends a word.
bool qbXIs(std::string_view token, std::string_view word);

// Nothing but zeros, blanks and Ctrl-Z up to the end.
bool qbXAtPadding(const QbXReader& reader);

// Adds to the work; fails, naming the reason, when the engine's reader would need more than about ten
// seconds.
bool qbXSpend(QbXReader& reader, uint64_t steps, const char* reason);
