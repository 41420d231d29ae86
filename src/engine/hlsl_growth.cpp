#include "engine/hlsl_scan.h"

#include <algorithm>
#include <cstdlib>
#include <unordered_map>

namespace {

// What a short text can make large: records of arrays of records, which the compiler takes apart number by
// number, and functions that call each other, of which the GLSL writer visits every call of every caller.
class GrowthCheck {
public:
    explicit GrowthCheck(HlslScan* scan) : scan_(scan), in_(scan->tokens), read_(in_, 0, in_.size()) {}
    bool run();

private:
    struct Function {
        const HlslToken* name = nullptr;
        std::vector<std::pair<size_t, size_t>> bodies; // of all functions of that name
        size_t words = 0;                              // with all that it calls; 0: not counted yet
        bool open = false;
    };

    bool unitOf(std::string_view type, size_t* unit) const;
    bool dimensions(size_t name, size_t most, size_t* size);
    bool record(size_t begin);
    bool declarator(size_t type);
    void function(size_t name);
    bool count(Function& function, size_t depth);

    HlslScan* scan_;
    const std::vector<HlslToken>& in_;
    HlslReader read_;
    std::unordered_map<std::string_view, size_t> records_; // sizes in numbers
    std::unordered_map<std::string_view, Function> functions_;
};

bool GrowthCheck::unitOf(std::string_view type, size_t* unit) const {
    HlslTypeName numbers;
    const auto found = records_.find(type);
    if (found != records_.end()) return *unit = found->second, true;
    if (!hlslTypeName(type, &numbers)) return false;
    *unit = static_cast<size_t>(numbers.rows * numbers.columns);
    return true;
}

// Of the name at `name`, whose size without them is given; one that is no plain number counts as the largest.
bool GrowthCheck::dimensions(size_t name, size_t most, size_t* size) {
    for (size_t at = name + 1; at < in_.size() && in_[at].text == "["; at = read_.behindGroup(at)) {
        const bool plain = at + 2 < in_.size() && in_[at + 2].text == "]";
        const double read = plain ? std::strtod(std::string(in_[at + 1].text).c_str(), nullptr) : 0;
        *size *=
            read >= 1 ? static_cast<size_t>(std::min(read, double{HLSL_ARRAY_MAX})) : size_t{HLSL_ARRAY_MAX};
        if (*size > most) break;
    }
    return *size <= most || hlslFail(scan_, in_[name],
                                     "'" + std::string(in_[name].text) + "' holds more than " +
                                         std::to_string(most) + " numbers");
}

// From the word `struct`.
bool GrowthCheck::record(size_t begin) {
    size_t unit = 1, sum = 0;
    if (begin + 2 >= in_.size() || in_[begin + 2].text != "{") return true;
    const size_t end = read_.behindGroup(begin + 2);
    for (size_t at = begin + 3; at + 1 < end; ++at) {
        if (in_[at].kind != HlslKind::Name || in_[at - 1].text == ":" || unitOf(in_[at].text, &unit))
            continue;
        const std::string_view next = in_[at + 1].text;
        if (next != "[" && next != ";" && next != "," && next != ":") continue;
        size_t size = unit;
        if (!dimensions(at, HLSL_RECORD_MAX, &size)) return false;
        sum += size;
    }
    if (sum > HLSL_RECORD_MAX)
        return hlslFail(scan_, in_[begin + 1],
                        "a record of more than " + std::to_string(HLSL_RECORD_MAX) + " numbers");
    records_[in_[begin + 1].text] = std::max<size_t>(sum, 1);
    return true;
}

// A type at `type`, perhaps with a name behind it.
bool GrowthCheck::declarator(size_t type) {
    size_t size = 1;
    if (type + 1 >= in_.size() || in_[type + 1].kind != HlslKind::Name || !unitOf(in_[type].text, &size))
        return true;
    const bool isRecord = records_.count(in_[type].text) != 0;
    if (!dimensions(type + 1, isRecord ? size_t{HLSL_ARRAY_MAX} : HLSL_VALUES_MAX, &size)) return false;
    if (isRecord && type > 0 && in_[type - 1].text == "typedef") records_[in_[type + 1].text] = size;
    return true;
}

// A name with a bracket behind it, outside all braces.
void GrowthCheck::function(size_t name) {
    size_t body = read_.behindGroup(name + 1);
    while (body < in_.size() && (in_[body].kind == HlslKind::Name || in_[body].text == ":"))
        ++body; // its semantic
    if (body >= in_.size() || in_[body].text != "{") return;
    Function& function = functions_[in_[name].text];
    function.name = &in_[name];
    function.bodies.emplace_back(body, read_.behindGroup(body));
}

bool GrowthCheck::count(Function& function, size_t depth) {
    if (function.words > 0 || function.open) return true; // the compiler refuses recursion itself
    function.open = true;
    size_t words = 1;
    for (const auto& [begin, end] : function.bodies) {
        words += end - begin;
        for (size_t at = begin; at + 1 < end; ++at) {
            const auto called = in_[at + 1].text == "(" ? functions_.find(in_[at].text) : functions_.end();
            if (called == functions_.end()) continue;
            if (depth >= HLSL_NESTING_MAX)
                return hlslFail(scan_, in_[at],
                                "functions call each other deeper than " + std::to_string(HLSL_NESTING_MAX));
            if (!count(called->second, depth + 1)) return false;
            words += called->second.words;
            if (words > HLSL_CALLED_MAX)
                return hlslFail(scan_, *function.name,
                                "'" + std::string(function.name->text) +
                                    "' calls too many functions that call others");
        }
    }
    function.words = words;
    function.open = false;
    return true;
}

bool GrowthCheck::run() {
    int depth = 0;
    for (size_t at = 0; at < in_.size(); ++at) {
        const std::string_view text = in_[at].text;
        depth += text == "{" ? 1 : text == "}" ? -1 : 0;
        if (text == "struct" && !record(at)) return false;
        if (in_[at].kind != HlslKind::Name) continue;
        if (!declarator(at)) return false;
        if (depth == 0 && at + 1 < in_.size() && in_[at + 1].text == "(") function(at);
    }
    for (auto& [name, function] : functions_)
        if (!count(function, 0)) return false;
    return true;
}

} // namespace

bool hlslCheckGrowth(HlslScan* scan) {
    return GrowthCheck(scan).run();
}
