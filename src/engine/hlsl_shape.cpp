#include "engine/hlsl_scan.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <unordered_set>

namespace {

class ShapeCheck {
public:
    explicit ShapeCheck(HlslScan* scan) : scan_(scan) {}
    bool run();

private:
    bool bracket(const HlslToken& token);
    bool lengths(const HlslToken& token);
    bool label(size_t at);
    bool innerFunction(size_t at);
    bool semicolon(const HlslToken& token);
    bool word(const HlslToken& token);
    bool redeclaration(size_t at);
    bool arraySize(size_t at);

    HlslScan* scan_;
    struct Open {
        const HlslToken* token;
        bool isSwitch;
    };
    std::vector<Open> open_;
    using Names = std::unordered_set<std::string_view>;
    Names constants_;
    std::vector<Names> blocks_; // plain variables of each open brace
    Names parameters_;          // of the head that comes before a brace
    const HlslToken *closed_ = nullptr,
                    *lastClosed_ = nullptr; // opening brackets of the last pair, and last ()
    bool switchHead_ = false;               // between `switch` and its brace
    size_t statement_ = 0;
    int prefixes_ = 0, elses_ = 0;
};

bool ShapeCheck::bracket(const HlslToken& token) {
    const std::string_view text = token.text;
    if (text == "(" || text == "[" || text == "{") {
        if (open_.size() >= HLSL_NESTING_MAX)
            return hlslFail(scan_, token, "brackets nest deeper than " + std::to_string(HLSL_NESTING_MAX));
        open_.push_back({&token, switchHead_ && text == "{"});
        if (text == "{") switchHead_ = false;
    }
    if (text != ")" && text != "]" && text != "}") return true;
    const std::string shown = "'" + std::string(text) + "'";
    if (open_.empty()) return hlslFail(scan_, token, shown + " closes nothing");
    const std::string_view opening = open_.back().token->text;
    if ((opening == "(") != (text == ")") || (opening == "[") != (text == "]"))
        return hlslFail(scan_, token,
                        shown + " where '" + std::string(opening) + "' of line " +
                            std::to_string(open_.back().token->line) + " is still open");
    closed_ = open_.back().token;
    open_.pop_back();
    return true;
}

// The compiler walks chains of operators, casts and statements without braces by recursion.
bool ShapeCheck::lengths(const HlslToken& token) {
    const std::string_view text = token.text;
    const bool inBraces = open_.empty() || open_.back().token->text == "{";
    const bool ends = text == ";" || text == "{" || text == "}" || text == ",";
    statement_ = inBraces && ends ? 0 : statement_ + 1;
    if (statement_ > HLSL_STATEMENT_MAX)
        return hlslFail(scan_, token,
                        "a statement of more than " + std::to_string(HLSL_STATEMENT_MAX) + " words");
    const bool prefix =
        text == "-" || text == "+" || text == "!" || text == "~" || text == "--" || text == "++";
    prefixes_ = prefix ? prefixes_ + 1 : 0;
    if (prefixes_ > HLSL_PREFIX_MAX)
        return hlslFail(scan_, token, "more than " + std::to_string(HLSL_PREFIX_MAX) + " signs in a row");
    if (open_.empty()) elses_ = 0;
    if (text == "else" && ++elses_ > HLSL_ELSE_MAX)
        return hlslFail(scan_, token,
                        "more than " + std::to_string(HLSL_ELSE_MAX) + " 'else' in one function");
    return true;
}

// What follows up to the next check are mistakes that the compiler does not survive.

// A label stands right in its switch and names a constant.
bool ShapeCheck::label(size_t at) {
    const std::vector<HlslToken>& tokens = scan_->tokens;
    const std::string_view word = tokens[at].text;
    if (word == "switch") switchHead_ = true;
    if (word == ";") switchHead_ = false;
    if (word == "const")
        for (size_t i = at + 1; i < tokens.size() && i < at + 4; ++i)
            constants_.insert(tokens[i].text);
    if (word != "case" && word != "default") return true;
    if (open_.empty() || !open_.back().isSwitch)
        return hlslFail(scan_, tokens[at], "'" + std::string(word) + "' outside a switch");
    for (size_t i = at + 1; i < tokens.size() && tokens[i].text != ":" && tokens[i].text != ";"; ++i)
        if (tokens[i].kind == HlslKind::Name && !constants_.count(tokens[i].text))
            return hlslFail(scan_, tokens[i], "'" + std::string(tokens[i].text) + "' is no constant");
    return true;
}

// A name that stands for a plain variable of the block must not come again as an array.
bool ShapeCheck::redeclaration(size_t at) {
    const std::vector<HlslToken>& tokens = scan_->tokens;
    if (tokens[at].text == "{") blocks_.push_back(std::move(parameters_));
    if (tokens[at].text == "{" || tokens[at].text == ";") parameters_.clear();
    if (tokens[at].text == "}" && !blocks_.empty()) blocks_.pop_back();
    if (at == 0 || tokens[at].kind != HlslKind::Name || at + 1 >= tokens.size()) return true;
    const HlslToken& before = tokens[at - 1];
    const bool keyword =
        before.text == "return" || before.text == "else" || before.text == "do" || before.text == "case";
    const bool declared = (before.kind == HlslKind::Name && !keyword) || before.text == ",";
    const bool isArray = tokens[at + 1].text == "[";
    const bool inList = !open_.empty() && open_.back().token->text == "(";
    if (!declared || (before.text == "," && inList)) return true;
    auto& names = inList || blocks_.empty() ? parameters_ : blocks_.back();
    if (isArray && before.kind == HlslKind::Name && names.count(tokens[at].text))
        return hlslFail(scan_, tokens[at], "'" + std::string(tokens[at].text) + "' is declared twice");
    if (!isArray) names.insert(tokens[at].text);
    return true;
}

// Words of later profiles, and one of none.
bool ShapeCheck::word(const HlslToken& token) {
    static constexpr std::string_view refused[] = {"noise",       "InputPatch", "OutputPatch",
                                                   "PointStream", "LineStream", "TriangleStream",
                                                   "class",       "interface"};
    if (std::find(std::begin(refused), std::end(refused), token.text) == std::end(refused)) return true;
    return hlslFail(scan_, token, "'" + std::string(token.text) + "' is not for this profile");
}

bool ShapeCheck::semicolon(const HlslToken& token) {
    if (token.text != ";" || open_.empty()) return true;
    const HlslToken* open = open_.back().token;
    if (open->text == "{" || (open->text == "(" && open != scan_->tokens.data() && (open - 1)->text == "for"))
        return true;
    return hlslFail(scan_, token, "';' inside '" + std::string(open->text) + "'");
}

bool ShapeCheck::innerFunction(size_t at) {
    const std::vector<HlslToken>& tokens = scan_->tokens;
    if (tokens[at].text == ")") lastClosed_ = closed_;
    if (tokens[at].text != "{" || at == 0 || tokens[at - 1].text != ")" || open_.size() < 2 || !lastClosed_)
        return true;
    const std::string_view head = lastClosed_ == tokens.data() ? std::string_view() : (lastClosed_ - 1)->text;
    if (head == "if" || head == "for" || head == "while" || head == "switch") return true;
    return hlslFail(scan_, *lastClosed_, "a function inside a function");
}

bool ShapeCheck::arraySize(size_t at) {
    const std::vector<HlslToken>& tokens = scan_->tokens;
    if (tokens[at].kind != HlslKind::Number || at == 0 || tokens[at - 1].text != "[") return true;
    if (std::strtod(std::string(tokens[at].text).c_str(), nullptr) <= HLSL_ARRAY_MAX) return true;
    return hlslFail(scan_, tokens[at], "arrays have at most " + std::to_string(HLSL_ARRAY_MAX) + " elements");
}

bool ShapeCheck::run() {
    for (size_t i = 0; i < scan_->tokens.size(); ++i) {
        const HlslToken& token = scan_->tokens[i];
        if (!bracket(token) || !lengths(token) || !label(i) || !innerFunction(i) || !semicolon(token) ||
            !word(token) || !redeclaration(i) || !arraySize(i))
            return false;
    }
    if (open_.empty()) return true;
    return hlslFail(scan_, *open_.back().token,
                    "'" + std::string(open_.back().token->text) + "' is never closed");
}

} // namespace

bool hlslCheckShape(HlslScan* scan) {
    return ShapeCheck(scan).run();
}
