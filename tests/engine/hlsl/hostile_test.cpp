#include "engine/hlsl/programs.h"
#include "engine/hlsl_scan.h"

static std::string repeated(const std::string& part, size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i)
        text += part;
    return text;
}

// The first error behind the file's name, or nothing.
static std::string scanError(const std::string& text) {
    HlslScan scan;
    if (hlslScan("", text, &scan)) return {};
    return scan.errors.empty() ? "failed without an error" : qbHlslErrorText(scan.errors[0]);
}

TEST(HlslHostile, BadTextIsRefusedAtItsPlaceAndLimitsHold) {
    const auto nested = [](size_t depth) { return repeated("(", depth) + repeated(")", depth); };
    const auto statement = [](size_t words) { return "float f() {" + repeated(" a", words) + ";}"; };
    const std::string calls = "#define M(a) a a\n";
    std::string doubling = "#define M0 x\n", empty = "#define M0\n";
    for (int i = 1; i < 60; ++i) {
        const std::string before = " M" + std::to_string(i - 1);
        const std::string line = "#define M" + std::to_string(i) + before + before + "\n";
        doubling += line;
        empty += line;
    }
    const std::pair<std::string, const char*> table[] = {
        {"", ""},
        {std::string("a\0b", 3), "(1,2): the byte 0x00 outside a comment"},
        {"a \xE4", "(1,3): the byte 0xE4 outside a comment"},
        {"a = \"b\n\";", "(1,5): this text is not closed with '\"' on its line"},
        {"a @", "(1,3): '@' has no meaning in a shader"},
        {"\n  {{}", "(2,3): '{' is never closed"},
        {"a }", "(1,3): '}' closes nothing"},
        {"(\n]", "(2,1): ']' where '(' of line 1 is still open"},
        {"a /* b", "(1,3): this comment is never closed with */"},
        {"#if 1 / 0", "(1,2): the condition is not an expression of whole numbers"},
        {"sampler", "(1,1): a sampler needs a name"},
        {"technique", "(1,1): a technique needs its passes in braces"},
        {nested(HLSL_NESTING_MAX), ""},
        {nested(HLSL_NESTING_MAX + 1), "(1,101): brackets nest deeper than 100"},
        {statement(HLSL_STATEMENT_MAX), ""},
        {statement(HLSL_STATEMENT_MAX + 1), "(1,3013): a statement of more than 1500 words"},
        {"float " + std::string(HLSL_WORD_MAX, 'a') + ";", ""},
        {std::string(HLSL_WORD_MAX + 1, 'a'), "(1,1): a word of more than 255 characters"},
        {"float a[4096];", ""},
        {"float a[64][65];", "(1,7): arrays have at most 4096 elements"},
        {"struct A { float a[1025]; };", "(1,18): 'a' holds more than 1024 numbers"},
        {"struct A { float a[600], b[600]; };", "(1,8): a record of more than 1024 numbers"},
        {"struct A { float a[1000]; }; A b[5];", "(1,32): 'b' holds more than 4096 numbers"},
        {"float4x4 a[4096] = 1; float b = 1;",
         "(1,29): the values of all variables are more than 65536 numbers"},
        {std::string(HLSL_TEXT_MAX, '\n'), ""},
        {std::string(HLSL_TEXT_MAX + 1, '\n'), "(1,1): the text is longer than 2097152 bytes"},
        {repeated("; ", HLSL_TOKENS_MAX), ""},
        {repeated("; ", HLSL_TOKENS_MAX + 1), "(1,200001): more than 100000 words"},
        {doubling + "M59", "(61,1): the macros expand to too much text"},
        {empty + "M59", "(61,1): the macros expand to too much text"},
    };
    for (const auto& [text, error] : table)
        EXPECT_EQ(scanError(text), error);
    EXPECT_NE(scanError(calls + repeated("M(", 40) + "1" + repeated(")", 40)).find("too much text"),
              std::string::npos);
    EXPECT_NE(scanError(calls + repeated("M(", 9000)), "");
    EXPECT_NE(scanError("#if " + repeated("(", 100000) + "1"), "");
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
