#include "engine/hlsl_scan.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <unordered_set>

// Both programs are in one text. What the other one alone uses is left out of each: it would be compiled for
// nothing, and most variants of a shader then have the same vertex program.

namespace {

using Names = std::unordered_set<std::string_view>;

// A function, a record or the variables of one statement, from the first word to the one behind the last.
struct Declaration {
    size_t begin, end;
    std::vector<std::string_view> names; // empty: of another kind, which stays
};

class Pruner {
public:
    explicit Pruner(const HlslScan& scan) : scan_(scan), tokens_(scan.tokens) { split(); }

    // Which declarations the function needs, and all that they need; what stays anyway counts as needed.
    // Those that are not in `elsewhere` are needed as well.
    std::vector<bool> needed(std::string_view entry, const std::vector<bool>* elsewhere = nullptr) const;
    HlslScan take(const std::vector<bool>& wanted) const;

private:
    void split();
    Declaration declaration(size_t begin) const;
    void nameVariables(Declaration* found) const;

    const HlslScan& scan_;
    const std::vector<HlslToken>& tokens_;
    std::vector<Declaration> list_;
    std::unordered_multimap<std::string_view, size_t> byName_;
};

int depthChange(std::string_view text) {
    if (text == "(" || text == "[" || text == "{") return 1;
    return text == ")" || text == "]" || text == "}" ? -1 : 0;
}

bool isOneOf(std::string_view text, std::initializer_list<std::string_view> list) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

void Pruner::nameVariables(Declaration* found) const {
    int depth = 0;
    for (size_t i = found->begin; i + 1 < found->end; ++i) {
        depth += depthChange(tokens_[i].text);
        const bool isName = depth == 0 && tokens_[i].kind == HlslKind::Name;
        if (isName && isOneOf(tokens_[i + 1].text, {",", ";", "=", "[", ":"}))
            found->names.push_back(tokens_[i].text);
    }
}

Declaration Pruner::declaration(size_t begin) const {
    Declaration found{begin, tokens_.size(), {}};
    const bool isRecord = tokens_[begin].text == "struct";
    const bool isPlain =
        tokens_[begin].kind == HlslKind::Name &&
        !isOneOf(tokens_[begin].text, {"struct", "typedef", "cbuffer", "tbuffer", "namespace", "technique"});
    std::string_view function; // the word ahead of the first bracket
    bool hasValue = false, hasBody = false;
    int depth = 0;
    for (size_t i = begin; i < tokens_.size(); ++i) {
        const std::string_view text = tokens_[i].text;
        if (depth == 0 && text == "(" && function.empty() && !hasValue && i > begin)
            function = tokens_[i - 1].text;
        if (depth == 0 && text == "=") hasValue = true;
        if (depth == 0 && text == "{" && !hasValue) hasBody = true;
        depth += depthChange(text);
        const bool endsBody = depth == 0 && text == "}" && isPlain && hasBody && !function.empty();
        if (!endsBody && (depth != 0 || text != ";")) continue;
        found.end = i + 1;
        if (endsBody)
            found.names = {function};
        else if (isRecord || (isPlain && !hasBody && (function.empty() || function == "register")))
            nameVariables(&found);
        if (isRecord && begin + 1 < found.end) found.names.push_back(tokens_[begin + 1].text);
        return found;
    }
    return found;
}

void Pruner::split() {
    for (size_t at = 0; at < tokens_.size(); at = list_.back().end) {
        list_.push_back(declaration(at));
        for (const std::string_view name : list_.back().names)
            byName_.emplace(name, list_.size() - 1);
    }
}

std::vector<bool> Pruner::needed(std::string_view entry, const std::vector<bool>* elsewhere) const {
    std::vector<bool> wanted(list_.size());
    std::vector<size_t> open;
    const auto want = [&](size_t index) {
        if (!wanted[index]) open.push_back(index);
        wanted[index] = true;
    };
    const auto wantName = [&](std::string_view name) {
        const auto [first, last] = byName_.equal_range(name);
        for (auto found = first; found != last; ++found)
            want(found->second);
    };
    for (size_t i = 0; i < list_.size(); ++i)
        if (list_[i].names.empty() || (elsewhere && !(*elsewhere)[i])) want(i);
    wantName(entry);
    while (!open.empty()) {
        const Declaration& next = list_[open.back()];
        open.pop_back();
        for (size_t i = next.begin; i < next.end; ++i)
            if (tokens_[i].kind == HlslKind::Name) wantName(tokens_[i].text);
    }
    return wanted;
}

HlslScan Pruner::take(const std::vector<bool>& wanted) const {
    HlslScan part;
    Names words;
    part.file = scan_.file;
    for (size_t i = 0; i < list_.size(); ++i)
        if (wanted[i])
            part.tokens.insert(part.tokens.end(),
                               tokens_.begin() + static_cast<std::ptrdiff_t>(list_[i].begin),
                               tokens_.begin() + static_cast<std::ptrdiff_t>(list_[i].end));
    for (const HlslToken& token : part.tokens)
        words.insert(token.text);
    const auto isThere = [&](const auto& declared) { return words.count(declared.name) != 0; };
    std::copy_if(scan_.globals.begin(), scan_.globals.end(), std::back_inserter(part.globals), isThere);
    std::copy_if(scan_.samplers.begin(), scan_.samplers.end(), std::back_inserter(part.samplers), isThere);
    hlslWriteText(&part);
    return part;
}

} // namespace

void hlslPrune(const HlslScan& scan, std::string_view vertexEntry, std::string_view pixelEntry,
               HlslScan* vertex, HlslScan* pixel) {
    const Pruner pruner(scan);
    const std::vector<bool> forVertex = pruner.needed(vertexEntry);
    // What neither uses is compiled once, for its errors.
    const std::vector<bool> forPixel = pruner.needed(pixelEntry, &forVertex);
    *vertex = pruner.take(forVertex);
    *pixel = pruner.take(forPixel);
}
