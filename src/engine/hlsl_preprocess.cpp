#include "engine/hlsl_scan.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <unordered_map>

namespace {

using Tokens = std::vector<HlslToken>;

struct Macro {
    bool function = false;
    std::vector<std::string_view> parameters;
    Tokens body;
};

// One #if with the branches that follow it.
struct Branch {
    HlslToken start;
    bool outerLive = true; // the text around it is compiled
    bool taken = false;    // a branch so far was compiled
    bool live = false;     // this branch is
    bool hadElse = false;
};

class Preprocessor {
public:
    explicit Preprocessor(HlslScan* scan) : scan_(scan), in_(std::move(scan->tokens)) {
        scan->tokens.clear();
    }
    bool run();

private:
    static constexpr size_t stepsMax =
        4 * HLSL_TOKENS_MAX; // macro look-ups: words that expand to nothing count too
    static constexpr size_t depthMax =
        64; // macros and their arguments inside one another, brackets in an #if

    bool fail(const HlslToken& where, std::string reason) {
        return hlslFail(scan_, where, std::move(reason));
    }
    bool live() const { return branches_.empty() || branches_.back().live; }

    bool directive(size_t begin, size_t end);
    bool conditional(std::string_view word, size_t begin, size_t end);
    bool otherwise(Branch& branch, std::string_view word, size_t begin, size_t end);
    bool define(size_t begin, size_t end);
    bool parameters(Macro& macro, size_t& at, size_t end);
    bool condition(size_t begin, size_t end, bool* value);

    bool liveText(size_t begin, size_t end);
    bool expand(const Tokens& in, size_t begin, size_t end, Tokens& out);
    bool expandOne(const Tokens& in, size_t& at, size_t end, Tokens& out);
    bool arguments(const Tokens& in, size_t& at, size_t end, const Macro& macro, std::vector<Tokens>& list);
    bool substitute(const Macro& macro, const std::vector<Tokens>& list, const HlslToken& use, Tokens& out);
    bool paste(const HlslToken& right, Tokens& out);
    bool push(const HlslToken& token, const HlslToken& use, Tokens& out);

    HlslScan* scan_;
    Tokens in_;
    std::unordered_map<std::string_view, Macro> macros_;
    std::vector<std::string_view> active_; // macros being expanded: a macro does not expand inside itself
    std::vector<Branch> branches_;
    size_t depth_ = 0; // of expand in itself
    size_t steps_ = 0;
};

// --- Conditions ------------------------------------------------------------------------------------------

// Whole-number expressions of #if, by precedence climbing. Arithmetic wraps.
class Condition {
public:
    Condition(const Tokens& tokens, size_t depthLimit) : tokens_(tokens), depthLimit_(depthLimit) {}
    bool evaluate(int64_t* value) { return expression(1, 0, value) && at_ == tokens_.size(); }

private:
    static int precedence(std::string_view mark);
    static bool apply(std::string_view mark, int64_t a, int64_t b, int64_t* value);
    bool expression(int lowest, size_t depth, int64_t* value);
    bool operand(size_t depth, int64_t* value);
    std::string_view look() const { return at_ < tokens_.size() ? tokens_[at_].text : std::string_view(); }

    const Tokens& tokens_;
    size_t depthLimit_;
    size_t at_ = 0;
};

int Condition::precedence(std::string_view mark) {
    static const std::unordered_map<std::string_view, int> table = {
        {"||", 1}, {"&&", 2}, {"|", 3},  {"^", 4},  {"&", 5}, {"==", 6}, {"!=", 6}, {"<", 7},  {">", 7},
        {"<=", 7}, {">=", 7}, {"<<", 8}, {">>", 8}, {"+", 9}, {"-", 9},  {"*", 10}, {"/", 10}, {"%", 10}};
    const auto found = table.find(mark);
    return found == table.end() ? 0 : found->second;
}

bool Condition::apply(std::string_view mark, int64_t a, int64_t b, int64_t* value) {
    const uint64_t x = static_cast<uint64_t>(a), y = static_cast<uint64_t>(b);
    if (mark == "||") return *value = a || b, true;
    if (mark == "&&") return *value = a && b, true;
    if (mark == "|") return *value = a | b, true;
    if (mark == "^") return *value = a ^ b, true;
    if (mark == "&") return *value = a & b, true;
    if (mark == "==") return *value = a == b, true;
    if (mark == "!=") return *value = a != b, true;
    if (mark == "<") return *value = a < b, true;
    if (mark == ">") return *value = a > b, true;
    if (mark == "<=") return *value = a <= b, true;
    if (mark == ">=") return *value = a >= b, true;
    if (mark == "<<") return *value = static_cast<int64_t>(x << (y & 63)), true;
    if (mark == ">>") return *value = a >> (y & 63), true;
    if (mark == "+") return *value = static_cast<int64_t>(x + y), true;
    if (mark == "-") return *value = static_cast<int64_t>(x - y), true;
    if (mark == "*") return *value = static_cast<int64_t>(x * y), true;
    if (b == 0) return false;
    if (b == -1) return *value = mark == "/" ? static_cast<int64_t>(0 - x) : 0, true;
    return *value = mark == "/" ? a / b : a % b, true;
}

bool Condition::operand(size_t depth, int64_t* value) {
    std::string prefixes;
    while (look() == "!" || look() == "-" || look() == "+" || look() == "~")
        prefixes += tokens_[at_++].text;
    if (look() == "(") {
        ++at_;
        if (depth >= depthLimit_ || !expression(1, depth + 1, value) || look() != ")") return false;
        ++at_;
    } else {
        if (at_ >= tokens_.size()) return false;
        const HlslToken& token = tokens_[at_++];
        if (token.kind != HlslKind::Name && token.kind != HlslKind::Number) return false;
        // A word that is no macro counts as 0.
        *value =
            token.kind == HlslKind::Number ? std::strtoll(std::string(token.text).c_str(), nullptr, 0) : 0;
    }
    for (auto mark = prefixes.rbegin(); mark != prefixes.rend(); ++mark) {
        if (*mark == '!') *value = !*value;
        if (*mark == '~') *value = ~*value;
        if (*mark == '-') *value = static_cast<int64_t>(0 - static_cast<uint64_t>(*value));
    }
    return true;
}

bool Condition::expression(int lowest, size_t depth, int64_t* value) {
    if (!operand(depth, value)) return false;
    while (precedence(look()) >= lowest) {
        const std::string_view mark = tokens_[at_++].text;
        int64_t right = 0;
        if (!expression(precedence(mark) + 1, depth, &right) || !apply(mark, *value, right, value))
            return false;
    }
    return true;
}

bool Preprocessor::condition(size_t begin, size_t end, bool* value) {
    const HlslToken& where = in_[begin - 1];
    Tokens plain;
    for (size_t i = begin; i < end; ++i) {
        if (in_[i].text != "defined") {
            plain.push_back(in_[i]);
            continue;
        }
        const bool bracket = i + 1 < end && in_[i + 1].text == "(";
        i += bracket ? 2 : 1;
        if (i >= end || in_[i].kind != HlslKind::Name ||
            (bracket && (i + 1 >= end || in_[i + 1].text != ")")))
            return fail(where, "'defined' needs one name");
        HlslToken answer = in_[i];
        answer.kind = HlslKind::Number;
        answer.text = macros_.count(in_[i].text) ? "1" : "0";
        plain.push_back(answer);
        i += bracket ? 1 : 0;
    }
    Tokens words;
    if (!expand(plain, 0, plain.size(), words)) return false;
    int64_t number = 0;
    if (!Condition(words, depthMax).evaluate(&number))
        return fail(where, "the condition is not an expression of whole numbers");
    *value = number != 0;
    return true;
}

// --- Directives ------------------------------------------------------------------------------------------

bool Preprocessor::otherwise(Branch& branch, std::string_view word, size_t begin, size_t end) {
    if (branch.hadElse) return fail(in_[begin - 1], "#" + std::string(word) + " behind #else");
    bool value = word == "else";
    branch.hadElse = value;
    branch.live = false;
    if (!branch.outerLive || branch.taken) return true;
    if (!value && !condition(begin, end, &value)) return false;
    branch.live = branch.taken = value;
    return true;
}

bool Preprocessor::conditional(std::string_view word, size_t begin, size_t end) {
    const HlslToken& where = in_[begin - 1];
    if (word == "if" || word == "ifdef" || word == "ifndef") {
        Branch branch;
        branch.start = where;
        branch.outerLive = live();
        bool value = false;
        if (branch.outerLive && word == "if") {
            if (!condition(begin, end, &value)) return false;
        } else if (branch.outerLive) {
            if (begin >= end || in_[begin].kind != HlslKind::Name)
                return fail(where, "#" + std::string(word) + " needs a name");
            value = (macros_.count(in_[begin].text) != 0) == (word == "ifdef");
        }
        branch.live = branch.taken = value;
        branches_.push_back(branch);
        return true;
    }
    if (branches_.empty()) return fail(where, "#" + std::string(word) + " without #if");
    if (word != "endif") return otherwise(branches_.back(), word, begin, end);
    branches_.pop_back();
    return true;
}

bool Preprocessor::parameters(Macro& macro, size_t& at, size_t end) {
    const HlslToken& where = in_[at - 1];
    macro.function = true;
    for (++at; at < end && in_[at].text != ")"; ++at) {
        if (in_[at].kind != HlslKind::Name) return fail(in_[at], "a macro's parameters are names");
        macro.parameters.push_back(in_[at].text);
        if (at + 1 < end && in_[at + 1].text == ",") ++at;
    }
    if (at >= end) return fail(where, "the macro's parameters are not closed with ')'");
    ++at;
    return true;
}

bool Preprocessor::define(size_t begin, size_t end) {
    if (begin >= end || in_[begin].kind != HlslKind::Name)
        return fail(in_[begin - 1], "#define needs a name");
    const HlslToken& name = in_[begin];
    Macro macro;
    size_t at = begin + 1;
    // Only a bracket that touches the name begins parameters.
    if (at < end && in_[at].text == "(" && in_[at].line == name.line &&
        in_[at].column == name.column + static_cast<int>(name.text.size()))
        if (!parameters(macro, at, end)) return false;
    macro.body.assign(in_.begin() + static_cast<std::ptrdiff_t>(at),
                      in_.begin() + static_cast<std::ptrdiff_t>(end));
    for (const HlslToken& token : macro.body)
        if (token.text == "#")
            return fail(token, "'#' in a macro makes a text: there are no texts in a shader");
    macros_[name.text] = std::move(macro);
    return true;
}

bool Preprocessor::directive(size_t begin, size_t end) {
    if (begin + 1 >= end) return true;
    const HlslToken& name = in_[begin + 1];
    const std::string_view word = name.text;
    if (word == "if" || word == "ifdef" || word == "ifndef" || word == "elif" || word == "else" ||
        word == "endif")
        return conditional(word, begin + 2, end);
    // Packing is always by rows, and lines are counted in the author's own file.
    if (!live() || word == "pragma" || word == "line") return true;
    if (word == "define") return define(begin + 2, end);
    if (word == "undef") {
        if (begin + 2 < end) macros_.erase(in_[begin + 2].text);
        return true;
    }
    if (word == "include") return fail(name, "#include: a shader is one file, copy the text in");
    if (word == "error") {
        std::string said = "#error";
        for (size_t i = begin + 2; i < end; ++i)
            said += " " + std::string(in_[i].text);
        return fail(name, said);
    }
    return fail(name, "unknown directive #" + std::string(word));
}

// --- Macros ----------------------------------------------------------------------------------------------

bool Preprocessor::push(const HlslToken& token, const HlslToken& use, Tokens& out) {
    if (out.size() >= HLSL_TOKENS_MAX || ++steps_ > stepsMax)
        return fail(use, "the macros expand to too much text");
    out.push_back(token);
    return true;
}

bool Preprocessor::paste(const HlslToken& right, Tokens& out) {
    if (out.empty()) return fail(right, "'##' needs a word on both sides");
    HlslToken& left = out.back();
    std::string both = std::string(left.text) + std::string(right.text);
    if (both.size() > HLSL_WORD_MAX) return fail(right, "'##' makes a word that is too long");
    scan_->made.push_back(std::move(both));
    left.text = scan_->made.back();
    return true;
}

// The body with the arguments in place; words beside ## take their argument as it was written.
bool Preprocessor::substitute(const Macro& macro, const std::vector<Tokens>& list, const HlslToken& use,
                              Tokens& out) {
    for (size_t i = 0; i < macro.body.size(); ++i) {
        if (macro.body[i].text == "##" && i + 1 < macro.body.size()) continue;
        const bool behind = i > 0 && macro.body[i - 1].text == "##";
        const bool ahead = i + 1 < macro.body.size() && macro.body[i + 1].text == "##";
        const auto found = std::find(macro.parameters.begin(), macro.parameters.end(), macro.body[i].text);
        Tokens words;
        if (found == macro.parameters.end()) {
            words.push_back(macro.body[i]);
        } else {
            const Tokens& given = list[static_cast<size_t>(found - macro.parameters.begin())];
            if (behind || ahead) {
                words = given;
            } else if (!expand(given, 0, given.size(), words)) {
                return false;
            }
        }
        for (size_t k = 0; k < words.size(); ++k) {
            words[k].line = use.line;
            words[k].column = use.column;
            words[k].fromMacro = true;
            if (k == 0 && behind) {
                if (!paste(words[k], out)) return false;
            } else if (!push(words[k], use, out)) {
                return false;
            }
        }
    }
    return true;
}

// From the opening bracket at `at` to behind the closing one.
bool Preprocessor::arguments(const Tokens& in, size_t& at, size_t end, const Macro& macro,
                             std::vector<Tokens>& list) {
    const HlslToken& use = in[at - 1];
    size_t depth = 0;
    list.emplace_back();
    for (; at < end; ++at) {
        const std::string_view text = in[at].text;
        if (text == "(" && depth++ == 0) continue;
        if (text == ")" && --depth == 0) break;
        if (text == "," && depth == 1) {
            list.emplace_back();
        } else {
            list.back().push_back(in[at]);
        }
    }
    const std::string name(use.text);
    if (at >= end) return fail(use, "the macro '" + name + "' is not closed with ')'");
    ++at;
    if (macro.parameters.empty() && list.size() == 1 && list[0].empty()) list.clear();
    if (list.size() == macro.parameters.size()) return true;
    return fail(use, "the macro '" + name + "' takes " + std::to_string(macro.parameters.size()) +
                         " arguments, not " + std::to_string(list.size()));
}

// One word, or one use of a macro with its arguments.
bool Preprocessor::expandOne(const Tokens& in, size_t& at, size_t end, Tokens& out) {
    const HlslToken& use = in[at];
    const auto found = use.kind == HlslKind::Name ? macros_.find(use.text) : macros_.end();
    if (found == macros_.end() || std::find(active_.begin(), active_.end(), use.text) != active_.end() ||
        (found->second.function && (at + 1 >= end || in[at + 1].text != "("))) {
        ++at;
        return push(use, use, out);
    }
    std::vector<Tokens> list;
    ++at;
    if (found->second.function && !arguments(in, at, end, found->second, list)) return false;
    Tokens body;
    if (!substitute(found->second, list, use, body)) return false;
    active_.push_back(use.text);
    const bool good = expand(body, 0, body.size(), out);
    active_.pop_back();
    return good;
}

bool Preprocessor::expand(const Tokens& in, size_t begin, size_t end, Tokens& out) {
    if (begin >= end) return true;
    if (depth_ > depthMax) return fail(in[begin], "macros nest too deep");
    ++depth_;
    bool good = true;
    for (size_t at = begin; good && at < end;) {
        good = ++steps_ <= stepsMax || fail(in[at], "the macros expand to too much text");
        if (good) good = expandOne(in, at, end, out);
    }
    --depth_;
    return good;
}

static std::string shownByte(char c) {
    char text[48];
    if (c > ' ' && c < 0x7F) {
        std::snprintf(text, sizeof text, "'%c' has no meaning in a shader", c);
    } else {
        std::snprintf(text, sizeof text, "the byte 0x%02X outside a comment",
                      static_cast<unsigned>(c) & 0xFFu);
    }
    return text;
}

bool Preprocessor::liveText(size_t begin, size_t end) {
    for (size_t i = begin; i < end; ++i) {
        if (in_[i].kind == HlslKind::Other) return fail(in_[i], shownByte(in_[i].text[0]));
        if (in_[i].text.size() > HLSL_WORD_MAX)
            return fail(in_[i], "a word of more than " + std::to_string(HLSL_WORD_MAX) + " characters");
        if (in_[i].kind == HlslKind::Text && (in_[i].text.size() < 2 || in_[i].text.back() != '"'))
            return fail(in_[i], "this text is not closed with '\"' on its line");
        if (in_[i].text == "#" || in_[i].text == "##")
            return fail(in_[i], "'#' must be the first on its line");
    }
    return expand(in_, begin, end, scan_->tokens);
}

bool Preprocessor::run() {
    size_t textStart = 0;
    for (size_t at = 0; at < in_.size();) {
        const bool first = at == 0 || in_[at - 1].row != in_[at].row;
        if (!first || in_[at].text != "#") {
            ++at;
            continue;
        }
        size_t end = at;
        while (end < in_.size() && in_[end].row == in_[at].row)
            ++end;
        if (live() && !liveText(textStart, at)) return false;
        if (!directive(at, end)) return false;
        at = textStart = end;
    }
    if (!branches_.empty()) return fail(branches_.back().start, "this condition is never closed with #endif");
    return liveText(textStart, in_.size());
}

} // namespace

bool hlslPreprocess(HlslScan* scan) {
    return Preprocessor(scan).run();
}
