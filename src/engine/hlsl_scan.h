#pragma once

#include "engine/hlsl.h"

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

// The passes over HLSL text ahead of the compiler: words, directives and macros, then what Direct3D's effect
// language has and the compiler lacks. Everything stays on its line. Also the guard in front of the compiler:
// nesting, statement length and the growth of macros are bounded, since its recursion is not.

enum class HlslKind : uint8_t { Name, Number, Text, Mark, Other };

struct HlslToken {
    std::string_view text; // in the author's text or in HlslScan::made
    HlslKind kind = HlslKind::Mark;
    int line = 1, column = 1; // where the author wrote it; a macro's words stand where the macro is used
    int row = 1;              // line with continued lines joined
    int outColumn = 0;        // column in HlslScan::text
    bool fromMacro = false;
};

// A global variable that the program may set, in order of declaration.
struct HlslGlobal {
    std::string name;
    QbHlslType type = QB_HLSL_FLOAT;
    std::vector<float> value; // empty: no initialiser
};

struct HlslSamplerDeclaration {
    std::string name;
    int line = 1, column = 1;
    int layer = -1; // register; -1: none written
    QbHlslSamplerState state;
};

struct HlslScan {
    std::string file;
    std::string text;              // for the compiler
    std::vector<HlslToken> tokens; // of `text`, in order
    std::vector<HlslGlobal> globals;
    std::vector<HlslSamplerDeclaration> samplers;
    std::vector<QbHlslError> errors;
    std::deque<std::string> made; // words pasted together by macros
};

constexpr size_t HLSL_TEXT_MAX = 2u << 20;  // bytes
constexpr size_t HLSL_TOKENS_MAX = 100000;  // before and after macros
constexpr size_t HLSL_WORD_MAX = 255;       // characters, of quoted texts too
constexpr size_t HLSL_NESTING_MAX = 100;    // brackets of all kinds
constexpr size_t HLSL_STATEMENT_MAX = 1500; // words
constexpr size_t HLSL_RECORD_MAX = 1024;    // numbers, as many as the profile has in all its registers
constexpr size_t HLSL_CALLED_MAX = 1000000; // words of a function and all that it calls, as often as it does
constexpr int HLSL_ELSE_MAX = 250;          // in one function
constexpr int HLSL_PREFIX_MAX = 64;         // of - + ! ~ ++ -- in a row
constexpr int HLSL_ARRAY_MAX = 4096;        // elements
constexpr size_t HLSL_MATRIX_PARTS = 16;    // numbers in the largest value that is not an array
constexpr size_t HLSL_VALUES_MAX = 65536;   // numbers in all initialisers together

// All passes. False with `errors` filled. The text must outlive the scan.
bool hlslScan(std::string_view file, std::string_view text, HlslScan* scan);

// The passes, each false after an error.
bool hlslTokenize(std::string_view text, HlslScan* scan);
bool hlslPreprocess(HlslScan* scan);
bool hlslCheckShape(HlslScan* scan);
bool hlslCheckGrowth(HlslScan* scan);
bool hlslRewrite(HlslScan* scan);
// Writes `text` from `tokens`: the end of the last pass.
bool hlslWriteText(HlslScan* scan);

// What each of the two programs of one text needs, on its lines and in its columns. The scan must outlive
// both.
void hlslPrune(const HlslScan& scan, std::string_view vertexEntry, std::string_view pixelEntry,
               HlslScan* vertex, HlslScan* pixel);

// Always false, so that a pass can end with it.
bool hlslFail(HlslScan* scan, const HlslToken& where, std::string reason);

// A run of words with a position; past the end it gives an empty mark at the last word's place.
class HlslReader {
public:
    HlslReader(const std::vector<HlslToken>& tokens, size_t begin, size_t end)
        : tokens_(tokens), at_(begin), end_(end) {
        if (end_ == 0) return;
        past_.line = tokens_[end_ - 1].line;
        past_.column = tokens_[end_ - 1].column;
        past_.row = tokens_[end_ - 1].row;
    }
    const HlslToken& peek(size_t ahead = 0) const;
    bool is(std::string_view text, size_t ahead = 0) const { return peek(ahead).text == text; }
    bool accept(std::string_view text);
    bool done() const { return at_ >= end_; }
    size_t at() const { return at_; }
    void seek(size_t to) { at_ = to; }
    void step(size_t count = 1) { at_ += count; }
    // Behind the bracket that closes the one at the position; the end when there is none.
    size_t behindGroup(size_t from) const;

private:
    const std::vector<HlslToken>& tokens_;
    size_t at_, end_;
    HlslToken past_;
};

// --- hlsl_values.cpp -------------------------------------------------------------------------------------

// A value of an initialiser: the components in row order.
struct HlslValue {
    std::vector<double> parts;
    bool whole = false; // int: division drops the fraction
};

struct HlslNamedValue {
    std::string_view name;
    HlslValue value;
};

struct HlslTypeName {
    QbHlslType type = QB_HLSL_FLOAT;
    int rows = 1, columns = 1;
};

// float, int, uint, bool, half, double with sizes, vector, matrix. False for any other word.
bool hlslTypeName(std::string_view word, HlslTypeName* type);

// The value of the expression from the reader's position to its end; false when it is not made of numbers,
// constructors, casts, lists, known names and + - * /.
bool hlslEvaluate(HlslReader reader, const std::vector<HlslNamedValue>& known, HlslValue* value);
