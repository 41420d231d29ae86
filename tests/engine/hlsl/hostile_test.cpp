#include "engine/hlsl/programs.h"
#include "engine/hlsl_scan.h"

#include <random>

static std::string repeated(const std::string& part, size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i)
        text += part;
    return text;
}

// The first error, or nothing.
static std::string scanError(const std::string& text) {
    HlslScan scan;
    if (hlslScan("test.hlsl", text, &scan)) return {};
    return scan.errors.empty() ? "failed without an error" : qbHlslErrorText(scan.errors[0]);
}

TEST(HlslHostile, LimitsHoldAtTheirValueAndFailBehindIt) {
    const auto nested = [](size_t depth) { return repeated("(", depth) + repeated(")", depth); };
    EXPECT_EQ(scanError(nested(HLSL_NESTING_MAX)), "");
    EXPECT_EQ(scanError(nested(HLSL_NESTING_MAX + 1)), "test.hlsl(1,101): brackets nest deeper than 100");
    const auto statement = [](size_t words) { return "float f() {" + repeated(" a", words) + ";}"; };
    EXPECT_EQ(scanError(statement(HLSL_STATEMENT_MAX)), "");
    EXPECT_EQ(scanError(statement(HLSL_STATEMENT_MAX + 1)),
              "test.hlsl(1,3013): a statement of more than 1500 words");
    EXPECT_EQ(scanError("float " + std::string(HLSL_WORD_MAX, 'a') + ";"), "");
    EXPECT_EQ(scanError(std::string(HLSL_WORD_MAX + 1, 'a')),
              "test.hlsl(1,1): a word of more than 255 characters");
    EXPECT_EQ(scanError("float a[4096];"), "");
    EXPECT_EQ(scanError("float a[4097];"), "test.hlsl(1,9): arrays have at most 4096 elements");
    EXPECT_EQ(scanError("float a[64][65];"), "test.hlsl(1,7): arrays have at most 4096 elements");
    EXPECT_EQ(scanError(std::string(HLSL_TEXT_MAX, '\n')), "");
    EXPECT_EQ(scanError(std::string(HLSL_TEXT_MAX + 1, '\n')),
              "test.hlsl(1,1): the text is longer than 2097152 bytes");
    EXPECT_EQ(scanError(repeated("; ", HLSL_TOKENS_MAX)), "");
    EXPECT_EQ(scanError(repeated("; ", HLSL_TOKENS_MAX + 1)), "test.hlsl(1,200001): more than 100000 words");
}

TEST(HlslHostile, MacrosDoNotGrowWithoutBound) {
    std::string doubling = "#define M0 x\n", empty = "#define M0\n", calls = "#define M(a) a a\n";
    for (int i = 1; i < 60; ++i) {
        const std::string line =
            "#define M" + std::to_string(i) + repeated(" M" + std::to_string(i - 1), 2) + "\n";
        doubling += line;
        empty += line;
    }
    const std::string tooMuch = "the macros expand to too much text";
    EXPECT_EQ(scanError(doubling + "M59"), "test.hlsl(61,1): " + tooMuch);
    EXPECT_EQ(scanError(empty + "M59"), "test.hlsl(61,1): " + tooMuch);
    EXPECT_NE(scanError(calls + repeated("M(", 40) + "1" + repeated(")", 40)).find(tooMuch),
              std::string::npos);
    EXPECT_EQ(scanError(calls + repeated("M(", 9000)).substr(0, 9), "test.hlsl");
    EXPECT_NE(scanError("#if " + repeated("(", 100000) + "1"), "");
}

TEST(HlslHostile, BrokenTextIsRefusedAtItsPlace) {
    const struct {
        std::string text, error;
    } table[] = {
        {std::string("a\0b", 3), "test.hlsl(1,2): the byte 0x00 outside a comment"},
        {"a \xE4", "test.hlsl(1,3): the byte 0xE4 outside a comment"},
        {"a = \"b\n\";", "test.hlsl(1,5): this text is not closed with '\"' on its line"},
        {"a @", "test.hlsl(1,3): '@' has no meaning in a shader"},
        {"\n  {{}", "test.hlsl(2,3): '{' is never closed"},
        {"a }", "test.hlsl(1,3): '}' closes nothing"},
        {"(\n]", "test.hlsl(2,1): ']' where '(' of line 1 is still open"},
        {"a /* b", "test.hlsl(1,3): this comment is never closed with */"},
        {"#if 1 / 0", "test.hlsl(1,2): the condition is not an expression of whole numbers"},
        {"sampler", "test.hlsl(1,1): a sampler needs a name"},
        {"technique", "test.hlsl(1,1): a technique needs its passes in braces"},
    };
    for (const auto& one : table)
        EXPECT_EQ(scanError(one.text), one.error);
    EXPECT_EQ(scanError(""), "");
    EXPECT_NE(scanError(std::string(1 << 20, '\x01')), "");
    EXPECT_NE(scanError("x = \"" + std::string(1 << 20, 'a') + "\";"), "");
}

// What the guard lets through must not exhaust the compilers' stacks.
TEST(HlslHostile, TheLongestChainsCompile) {
    const std::string chains[] = {
        "return a" + repeated("+a", 700) + ";",
        "return " + repeated("(", 60) + "a" + repeated(")", 60) + ";",
        "return " + repeated("(float4)", 480) + "a;",
        "return " + repeated("- ", 64) + "a;",
        "return " + repeated("a.x>0?a:", 180) + "a;",
        repeated("if(a.x>0)", 160) + "a=0;return a;",
        repeated("for(;a.x>0;)", 120) + "a=0;return a;",
        repeated("if(a.x>0){a=1;}else ", 249) + "a=0;return a;",
        repeated("{", 90) + repeated("}", 90) + "return a;",
        "a" + repeated("=a", 700) + ";return a;",
    };
    for (const std::string& chain : chains)
        translated(withPlainVertex("float4 pixelMain(float4 a : TEXCOORD0) : COLOR0 {" + chain + "}"));
}

namespace {

// Damage as editors, transfers and enemies do it; the same run each time.
class Damage {
public:
    std::string once(std::string_view from) {
        std::string text(from);
        for (uint32_t n = number(4) + 1; n > 0; --n)
            change(text);
        return text;
    }

private:
    uint32_t number(size_t below) { return static_cast<uint32_t>(random_() % below); }
    void change(std::string& text) {
        static constexpr std::string_view bits = "(){}[]<>;,:=#\"\\/*\n\0\xFF+-.e0x";
        const size_t at = number(text.size());
        const size_t length = std::min<size_t>(number(60), text.size() - at);
        const std::string part = text.substr(at, length);
        switch (number(5)) {
        case 0:
            text[at] = static_cast<char>(number(256));
            break;
        case 1:
            text[at] = bits[number(bits.size())];
            break;
        case 2:
            text.erase(at, std::min(length, text.size() - 1));
            break;
        case 3:
            text.insert(number(text.size()), part);
            break;
        default:
            text.insert(at, 1, bits[number(bits.size())]);
            break;
        }
    }

    std::mt19937 random_{20080}; // NOLINT: the same damage on each run
};

} // namespace

TEST(HlslHostile, DamagedTextIsScanned) {
    Damage damage;
    for (int i = 0; i < 5000; ++i) {
        HlslScan scan;
        const std::string text = damage.once(richText);
        const bool good = hlslScan("test.hlsl", text, &scan);
        EXPECT_EQ(good, scan.errors.empty()) << text;
    }
}

TEST(HlslHostile, DamagedTextIsTranslatedOrRefused) {
    translated(richText);
    Damage damage;
    for (int i = 0; i < 200; ++i) {
        const std::string text = damage.once(richText);
        QbHlslProgram program;
        const int result = qbHlslTranslate(sourceOf(text), &program);
        EXPECT_EQ(result == 0, program.errors.empty()) << text;
    }
}
