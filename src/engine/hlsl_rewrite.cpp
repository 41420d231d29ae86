#include "engine/hlsl_scan.h"

#include "platform/text.h"

#include <algorithm>
#include <cstdlib>
#include <unordered_map>
#include <unordered_set>

namespace {

constexpr struct {
    std::string_view name;
    QbHlslFilter filter;
} filters[] = {{"none", QB_HLSL_FILTER_NONE},     {"point", QB_HLSL_FILTER_POINT},
               {"linear", QB_HLSL_FILTER_LINEAR}, {"anisotropic", QB_HLSL_FILTER_ANISOTROPIC},
               {"0", QB_HLSL_FILTER_NONE},        {"1", QB_HLSL_FILTER_POINT},
               {"2", QB_HLSL_FILTER_LINEAR},      {"3", QB_HLSL_FILTER_ANISOTROPIC}};

constexpr struct {
    std::string_view name;
    QbHlslAddress address;
} addresses[] = {{"wrap", QB_HLSL_ADDRESS_WRAP},     {"mirror", QB_HLSL_ADDRESS_MIRROR},
                 {"clamp", QB_HLSL_ADDRESS_CLAMP},   {"border", QB_HLSL_ADDRESS_BORDER},
                 {"1", QB_HLSL_ADDRESS_WRAP},        {"2", QB_HLSL_ADDRESS_MIRROR},
                 {"3", QB_HLSL_ADDRESS_CLAMP},       {"4", QB_HLSL_ADDRESS_BORDER},
                 {"5", QB_HLSL_ADDRESS_MIRROR_ONCE}, {"mirroronce", QB_HLSL_ADDRESS_MIRROR_ONCE}};

constexpr std::string_view samplerTypes[] = {"sampler", "sampler1D", "sampler2D", "sampler3D", "samplerCUBE"};
constexpr std::string_view modifiers[] = {"uniform",  "extern",    "shared",
                                          "volatile", "row_major", "column_major"};
constexpr int layersMax = 16;
constexpr size_t globalsMax = 1024; // four times the constants of profile 2.0
constexpr size_t samplersMax = 256;

class Rewriter {
public:
    explicit Rewriter(HlslScan* scan) : scan_(scan), in_(std::move(scan->tokens)), read_(in_, 0, in_.size()) {
        scan->tokens.clear();
    }
    bool run();

private:
    bool fail(const HlslToken& where, std::string reason) {
        return hlslFail(scan_, where, std::move(reason));
    }
    void emit(HlslToken token);
    void emitUpTo(size_t end);
    bool atPostfixMark();
    void putMarkInFront(HlslToken mark);
    size_t operandStart() const;
    size_t groupStart(size_t at) const;
    size_t statementEnd() const;

    bool declaration();
    bool dropTechnique();
    void remember(size_t end);
    bool atFunction() const;
    bool function();
    bool checkParameters(size_t begin, size_t end);
    bool typeWords(HlslTypeName* type, bool* known);

    bool samplers(size_t end);
    void findFetches();
    std::string_view samplerType(const HlslToken& word, const HlslToken& name) const;
    bool samplerTail(size_t end, HlslSamplerDeclaration* sampler);
    bool samplerRegister(HlslSamplerDeclaration* sampler);
    bool samplerStates(HlslSamplerDeclaration* sampler);
    bool samplerState(const HlslToken& state, const HlslToken& value, QbHlslSamplerState* states);

    bool variables(const HlslTypeName& type, bool known, size_t end);
    bool record(size_t end);
    bool variable(const HlslTypeName& type, bool known, size_t end);
    bool initialiser(const HlslToken& name, const HlslTypeName& type, size_t elements, size_t begin,
                     size_t end);
    size_t declaratorEnd(size_t end) const;
    void skipNotes(size_t end);

    HlslScan* scan_;
    std::vector<HlslToken> in_;
    HlslReader read_;
    std::unordered_set<std::string_view> functions_;
    std::unordered_set<std::string_view> names_; // of global variables
    std::vector<HlslNamedValue> known_;          // constants so far
    size_t valuesLeft_ = HLSL_VALUES_MAX;
    std::unordered_map<std::string_view, std::string_view> fetched_; // sampler type by sampler
};

// --- Output ----------------------------------------------------------------------------------------------

// The compiler knows VPOS as a pixel position with a half added; as a name of nobody's it comes through as a
// plain input.
void Rewriter::emit(HlslToken token) {
    if (qbSameText(token.text, "VPOS") && !scan_->tokens.empty() && scan_->tokens.back().text == ":")
        token.text = "QB_VPOS";
    // The compiler's own rounds down and not toward 0.
    if (token.text == "fmod") token.text = "qbFmod";
    // How a matrix lies in registers does not matter here: all are sent by rows.
    if (token.text == "row_major" || token.text == "column_major") return;
    scan_->tokens.push_back(token);
}

static bool isKeyword(std::string_view word) {
    static constexpr std::string_view keywords[] = {"return", "if",   "while", "for",
                                                    "switch", "else", "do",    "case"};
    return std::find(std::begin(keywords), std::end(keywords), word) != std::end(keywords);
}

// Where the operand that ends the words given out begins: a name, fields, indices, calls.
size_t Rewriter::operandStart() const {
    const std::vector<HlslToken>& out = scan_->tokens;
    const auto isName = [&](size_t i) { return out[i].kind == HlslKind::Name && !isKeyword(out[i].text); };
    size_t start = out.size() - 1;
    while (true) {
        const std::string_view text = out[start].text;
        const bool group = text == ")" || text == "]";
        if (group) start = groupStart(start);
        if (start == 0) return start;
        const std::string_view before = out[start - 1].text;
        if (group && (isName(start - 1) || before == ")" || before == "]")) {
            --start;
        } else if (!group && before == "." && start > 1) {
            start -= 2;
        } else {
            return start;
        }
    }
}

// `a.x++` becomes `++a.x`, or `(++a.x - 1)` where the value is used: the compiler does not survive a mistake
// in front of a mark that stands behind.
void Rewriter::putMarkInFront(HlslToken mark) {
    std::vector<HlslToken>& out = scan_->tokens;
    const size_t start = operandStart();
    const std::string_view before = start > 0 ? out[start - 1].text : std::string_view();
    const bool statement = read_.is(";", 1) && (before == ";" || before == "{" || before == "}");
    const bool step = read_.is(")", 1) && before == ";";
    const bool increment = mark.text == "++";
    HlslToken bracket = mark;
    mark.line = bracket.line = out[start].line;
    mark.column = bracket.column = out[start].column;
    bracket.text = "(";
    if (statement || step) {
        out.insert(out.begin() + static_cast<std::ptrdiff_t>(start), mark);
        return;
    }
    out.insert(out.begin() + static_cast<std::ptrdiff_t>(start), {bracket, mark});
    for (const std::string_view word : {increment ? "-" : "+", "1", ")"}) {
        bracket = read_.peek();
        bracket.text = word;
        bracket.kind = word == "1" ? HlslKind::Number : HlslKind::Mark;
        out.push_back(bracket);
    }
}

// Behind an operand, and with none that follows.
bool Rewriter::atPostfixMark() {
    if ((!read_.is("++") && !read_.is("--")) || scan_->tokens.empty()) return false;
    const std::vector<HlslToken>& out = scan_->tokens;
    const HlslToken& after = read_.peek(1);
    const bool value = after.kind == HlslKind::Name || after.kind == HlslKind::Number || after.text == "(";
    bool operand =
        out.back().text == "]" || (out.back().kind == HlslKind::Name && !isKeyword(out.back().text));
    if (out.back().text == ")") {
        // Casts and the heads of statements end with a bracket as operands do.
        const size_t start = groupStart(out.size() - 1);
        const bool cast = out.size() - start == 3 && out[start + 1].kind == HlslKind::Name;
        operand = !value || (!cast && (start == 0 || !isKeyword(out[start - 1].text)));
    }
    if (out.back().kind == HlslKind::Number)
        fail(read_.peek(), "'" + std::string(read_.peek().text) + "' behind a number");
    if (operand && value) fail(read_.peek(), "'" + std::string(read_.peek().text) + "' between two values");
    return operand && !value;
}

// The opening bracket of the one that closes at `at`, among the words given out.
size_t Rewriter::groupStart(size_t at) const {
    size_t depth = 0;
    for (size_t i = at; i > 0; --i) {
        const std::string_view text = scan_->tokens[i].text;
        if (text == ")" || text == "]") ++depth;
        if ((text == "(" || text == "[") && --depth == 0) return i;
    }
    return 0;
}

void Rewriter::emitUpTo(size_t end) {
    for (end = std::min(end, in_.size()); read_.at() < end; read_.step()) {
        if (atPostfixMark()) {
            putMarkInFront(read_.peek());
        } else {
            emit(read_.peek());
        }
    }
}

// Behind the semicolon that ends the declaration at the position. Annotations hold semicolons of their own.
size_t Rewriter::statementEnd() const {
    bool value = false;
    for (size_t i = read_.at(); i < in_.size(); ++i) {
        const std::string_view text = in_[i].text;
        if (text == ";") return i + 1;
        if (text == "=") value = true;
        if (text == "(" || text == "[" || text == "{") i = read_.behindGroup(i) - 1;
        while (text == "<" && !value && i < in_.size() && in_[i].text != ">")
            ++i;
    }
    return in_.size();
}

// `<...>` behind a name: an annotation for tools.
void Rewriter::skipNotes(size_t end) {
    if (!read_.is("<")) return;
    while (read_.at() < end && !read_.accept(">"))
        read_.step();
}

// --- Samplers --------------------------------------------------------------------------------------------

// A plain `sampler` is of the kind of the first fetch from it.
void Rewriter::findFetches() {
    static constexpr struct {
        std::string_view call, type;
    } fetches[] = {
        {"texCUBE", "samplerCUBE"}, {"tex3D", "sampler3D"}, {"tex2D", "sampler2D"}, {"tex1D", "sampler1D"}};
    for (size_t i = 2; i < in_.size(); ++i) {
        if (in_[i - 1].text != "(" || in_[i].kind != HlslKind::Name) continue;
        for (const auto& fetch : fetches)
            if (in_[i - 2].text.substr(0, fetch.call.size()) == fetch.call)
                fetched_.emplace(in_[i].text, fetch.type);
    }
}

std::string_view Rewriter::samplerType(const HlslToken& word, const HlslToken& name) const {
    for (const std::string_view type : samplerTypes)
        if (qbSameText(word.text, type) && type != "sampler") return type;
    const auto found = fetched_.find(name.text);
    return found == fetched_.end() ? "sampler2D" : found->second;
}

bool Rewriter::samplerState(const HlslToken& state, const HlslToken& value, QbHlslSamplerState* states) {
    const std::string_view name = state.text;
    const auto setFilter = [&](QbHlslFilter& to) {
        for (const auto& one : filters)
            if (qbSameText(value.text, one.name)) return to = one.filter, true;
        return fail(value,
                    "'" + std::string(value.text) + "' is no filter: None, Point, Linear or Anisotropic");
    };
    const auto setAddress = [&](QbHlslAddress& to) {
        for (const auto& one : addresses)
            if (qbSameText(value.text, one.name)) return to = one.address, true;
        return fail(value, "'" + std::string(value.text) +
                               "' is no address mode: Wrap, Mirror, Clamp, Border or MirrorOnce");
    };
    if (qbSameText(name, "MinFilter")) return setFilter(states->minFilter);
    if (qbSameText(name, "MagFilter")) return setFilter(states->magFilter);
    if (qbSameText(name, "MipFilter")) return setFilter(states->mipFilter);
    if (qbSameText(name, "AddressU")) return setAddress(states->addressU);
    if (qbSameText(name, "AddressV")) return setAddress(states->addressV);
    if (qbSameText(name, "AddressW")) return setAddress(states->addressW);
    if (qbSameText(name, "Texture")) return states->texture = value.text, true;
    if (qbSameText(name, "MaxAnisotropy")) {
        const double most = std::strtod(std::string(value.text).c_str(), nullptr);
        if (value.kind != HlslKind::Number || most < 1 || most > 16)
            return fail(value, "MaxAnisotropy is 1 to 16");
        return states->maxAnisotropy = static_cast<int>(most), true;
    }
    for (const std::string_view other : {"BorderColor", "MipMapLodBias", "MaxMipLevel", "SRGBTexture"})
        if (qbSameText(name, other)) return true;
    return fail(state, "unknown sampler state '" + std::string(name) + "'");
}

// `sampler_state { Name = Value; ... }`, the word itself being optional.
bool Rewriter::samplerStates(HlslSamplerDeclaration* sampler) {
    if (qbSameText(read_.peek().text, "sampler_state")) read_.step();
    const HlslToken& open = read_.peek();
    if (!read_.accept("{")) return fail(open, "'sampler_state' needs its states in braces");
    while (!read_.accept("}")) {
        if (read_.accept(";")) continue;
        const HlslToken& state = read_.peek();
        read_.step();
        if (state.kind != HlslKind::Name || !read_.accept("="))
            return fail(state, "a sampler state is written as Name = Value;");
        // A texture stands in brackets of either kind.
        if (read_.is("<") || read_.is("(")) read_.step();
        if (!samplerState(state, read_.peek(), &sampler->state)) return false;
        while (!read_.done() && !read_.is(";") && !read_.is("}"))
            read_.step();
        if (read_.is("}"))
            return fail(read_.peek(), "the state '" + std::string(state.text) + "' needs a ';'");
    }
    return true;
}

// `register(s2)` or `register(ps_2_0, s2)`.
bool Rewriter::samplerRegister(HlslSamplerDeclaration* sampler) {
    const HlslToken& where = read_.peek();
    if (!read_.is("(", 1)) return fail(where, "a register is written as register(s0)");
    const size_t behind = read_.behindGroup(read_.at() + 1);
    const std::string_view name = in_[behind - 2].text;
    read_.seek(behind);
    if (name.size() < 2 || name.size() > 3 || (name[0] != 's' && name[0] != 'S') ||
        name.find_first_not_of("0123456789", 1) != std::string_view::npos)
        return fail(where, "a sampler's register is s0 to s15");
    sampler->layer = std::atoi(std::string(name.substr(1)).c_str());
    return sampler->layer < layersMax || fail(where, "a sampler's register is s0 to s15");
}

bool Rewriter::samplerTail(size_t end, HlslSamplerDeclaration* sampler) {
    while (read_.is("["))
        emitUpTo(read_.behindGroup(read_.at()));
    while (read_.accept(":")) {
        if (!read_.is("register")) {
            read_.step();
        } else if (!samplerRegister(sampler)) {
            return false;
        }
    }
    skipNotes(end);
    const bool states = read_.accept("=") || read_.is("{");
    return !states || samplerStates(sampler);
}

// At the type; one declaration may name several samplers.
bool Rewriter::samplers(size_t end) {
    HlslToken type = read_.peek();
    type.text = samplerType(type, read_.peek(1));
    emit(type);
    read_.step();
    while (true) {
        HlslSamplerDeclaration sampler;
        const HlslToken& name = read_.peek();
        if (name.kind != HlslKind::Name) return fail(name, "a sampler needs a name");
        sampler.name = name.text;
        sampler.line = name.line;
        sampler.column = name.column;
        emitUpTo(read_.at() + 1);
        if (!samplerTail(end, &sampler)) return false;
        scan_->samplers.push_back(sampler);
        if (scan_->samplers.size() > samplersMax)
            return fail(name, "more than " + std::to_string(samplersMax) + " samplers");
        if (!read_.is(",") && !read_.is(";"))
            return fail(read_.peek(), "expected ';' behind the sampler '" + sampler.name + "'");
        const bool last = read_.is(";");
        emitUpTo(read_.at() + 1);
        if (last) return true;
    }
}

// --- Variables -------------------------------------------------------------------------------------------

size_t Rewriter::declaratorEnd(size_t end) const {
    for (size_t i = read_.at(); i < end; ++i) {
        if (in_[i].text == "," || in_[i].text == ";") return i;
        if (in_[i].text == "(" || in_[i].text == "{") i = read_.behindGroup(i) - 1;
    }
    return end;
}

bool Rewriter::initialiser(const HlslToken& name, const HlslTypeName& type, size_t elements, size_t begin,
                           size_t end) {
    const std::string shown = "'" + std::string(name.text) + "'";
    HlslValue value;
    if (!hlslEvaluate(HlslReader(in_, begin, end), known_, &value))
        return fail(name, "the value of " + shown + " must be made of plain numbers");
    const size_t wanted = static_cast<size_t>(type.rows * type.columns) * elements;
    if (wanted > valuesLeft_)
        return fail(name, "the values of all variables are more than " + std::to_string(HLSL_VALUES_MAX) +
                              " numbers");
    if (value.parts.size() == 1) value.parts.assign(wanted, value.parts[0]);
    if (value.parts.size() != wanted)
        return fail(name, shown + " takes " + std::to_string(wanted) + " values, not " +
                              std::to_string(value.parts.size()));
    valuesLeft_ -= wanted;
    for (const double part : value.parts)
        scan_->globals.back().value.push_back(static_cast<float>(part));
    return true;
}

bool Rewriter::variable(const HlslTypeName& type, bool known, size_t end) {
    const HlslToken& name = read_.peek();
    size_t elements = 1;
    emitUpTo(read_.at() + 1);
    scan_->globals.push_back({std::string(name.text), type.type, {}});
    if (scan_->globals.size() > globalsMax)
        return fail(name, "more than " + std::to_string(globalsMax) + " global variables");
    while (read_.is("[")) {
        const size_t behind = read_.behindGroup(read_.at());
        HlslValue size;
        const bool good = hlslEvaluate(HlslReader(in_, read_.at() + 1, behind - 1), known_, &size);
        if (good && size.parts.size() == 1 && size.parts[0] >= 1 && size.parts[0] <= HLSL_ARRAY_MAX)
            elements *= static_cast<size_t>(size.parts[0]);
        if (elements > static_cast<size_t>(HLSL_ARRAY_MAX))
            return fail(name, "arrays have at most " + std::to_string(HLSL_ARRAY_MAX) + " elements");
        emitUpTo(behind);
    }
    // Semantics and registers of globals are for tools and for Direct3D's own numbering.
    while (read_.accept(":")) {
        read_.step();
        if (read_.is("(")) read_.seek(read_.behindGroup(read_.at()));
    }
    skipNotes(end);
    if (!read_.accept("=")) return true;
    const size_t begin = read_.at();
    read_.seek(declaratorEnd(end));
    if (known) return initialiser(name, type, elements, begin, read_.at());
    return fail(name,
                "'" + std::string(name.text) + "': only numbers, vectors and matrices can have a value here");
}

bool Rewriter::variables(const HlslTypeName& type, bool known, size_t end) {
    while (true) {
        const HlslToken& name = read_.peek();
        if (name.kind != HlslKind::Name) return fail(name, "expected a name");
        // The compiler does not survive two globals of one name.
        if (!names_.insert(name.text).second)
            return fail(name, "'" + std::string(name.text) + "' is declared twice");
        if (!variable(type, known, end)) return false;
        const bool last = read_.is(";");
        if (!last && !read_.is(",")) return fail(read_.peek(), "expected ';'");
        emitUpTo(read_.at() + 1);
        if (last) return true;
    }
}

// A record, with or without variables of its type behind it.
bool Rewriter::record(size_t end) {
    // Nor a record and a global of one name.
    const HlslToken& tag = read_.peek(1);
    if (tag.kind == HlslKind::Name && !read_.is(";", 2) && !names_.insert(tag.text).second)
        return fail(tag, "'" + std::string(tag.text) + "' is declared twice");
    while (read_.at() < end && !read_.is("{") && !read_.is(";"))
        emitUpTo(read_.at() + 1);
    if (read_.is("{")) emitUpTo(read_.behindGroup(read_.at()));
    if (read_.peek().kind == HlslKind::Name) return variables({}, false, end);
    if (!read_.is(";")) return fail(read_.peek(), "expected ';' behind the record");
    emitUpTo(read_.at() + 1);
    return true;
}

// A type at the position is passed on; `known` says that it is made of numbers.
bool Rewriter::typeWords(HlslTypeName* type, bool* known) {
    const std::string_view word = read_.peek().text;
    *known = hlslTypeName(word, type);
    emitUpTo(read_.at() + 1);
    if (!read_.is("<")) return true;
    // vector<float, 4> and matrix<float, 4, 4>
    HlslTypeName base;
    const bool matrix = read_.is(",", 4);
    *known = hlslTypeName(read_.peek(1).text, &base);
    *type = base;
    type->columns = std::atoi(std::string(read_.peek(matrix ? 5 : 3).text).c_str());
    if (matrix) type->rows = std::atoi(std::string(read_.peek(3).text).c_str());
    if (type->columns < 1 || type->columns > 4 || type->rows < 1 || type->rows > 4)
        return fail(read_.peek(), "vectors and matrices have 1 to 4 rows and columns");
    emitUpTo(std::min(read_.at() + (matrix ? 7 : 5), in_.size()));
    return true;
}

// A bracket comes before anything that a variable could have behind its name.
bool Rewriter::atFunction() const {
    for (size_t i = read_.at(); i < in_.size(); ++i) {
        const std::string_view text = in_[i].text;
        if (text == "(") return i > read_.at() && in_[i - 1].kind == HlslKind::Name;
        if (text == "=" || text == ";" || text == ":" || text == "{" || text == "[") return false;
    }
    return false;
}

// The compiler does not survive a parameter without a name in an entry point.
bool Rewriter::checkParameters(size_t begin, size_t end) {
    size_t names = 0;
    bool headDone = false; // behind the name
    const HlslToken* first = nullptr;
    for (size_t i = begin; i <= end; ++i) {
        const HlslToken& token = in_[i];
        if (i == end || token.text == ",") {
            const bool nothing = begin == end || (names == 1 && first && first->text == "void" && i == end);
            if (names < 2 && !nothing)
                return fail(first ? *first : in_[i], "a parameter needs a type and a name");
            names = 0;
            headDone = false;
            first = nullptr;
            continue;
        }
        if (!first) first = &token;
        if (token.text == ":" || token.text == "=" || token.text == "[") headDone = true;
        const bool modifier = token.text == "in" || token.text == "out" || token.text == "inout" ||
                              token.text == "const" || token.text == "uniform";
        if (!headDone && token.kind == HlslKind::Name && !modifier) ++names;
        if (token.text == "(" || token.text == "[" || token.text == "{") i = read_.behindGroup(i) - 1;
        while (token.text == "<" && i + 1 < end && in_[i].text != ">")
            ++i;
    }
    return true;
}

// The head, then the body or a semicolon.
bool Rewriter::function() {
    size_t open = read_.at();
    while (in_[open].text != "(")
        ++open;
    const HlslToken& name = in_[open - 1];
    functions_.insert(name.text);
    if (names_.count(name.text)) return fail(name, "'" + std::string(name.text) + "' is declared twice");
    const size_t behind = read_.behindGroup(open);
    if (!checkParameters(open + 1, behind - 1)) return false;
    emitUpTo(behind);
    if (!read_.is(":") && !read_.is("{") && !read_.is(";")) return fail(read_.peek(), "expected '{'");
    while (!read_.done() && !read_.is("{") && !read_.is(";")) {
        emitUpTo(read_.at() + 1);
        const bool isSemantic = read_.at() > 0 && in_[read_.at() - 1].text == ":";
        if (!isSemantic && read_.peek().kind == HlslKind::Name) return fail(read_.peek(), "expected '{'");
    }
    emitUpTo(read_.is("{") ? read_.behindGroup(read_.at()) : read_.at() + 1);
    return true;
}

// Static constants with a plain value may stand in the values that follow.
void Rewriter::remember(size_t end) {
    size_t at = read_.at() + 2;
    while (at < end && in_[at].text != "=")
        ++at;
    HlslTypeName type;
    HlslValue value;
    if (at + 1 >= end || !hlslTypeName(in_[at - 2].text, &type) || known_.size() >= globalsMax ||
        !hlslEvaluate(HlslReader(in_, at + 1, end - 1), known_, &value) ||
        value.parts.size() > HLSL_MATRIX_PARTS)
        return;
    value.whole = type.type != QB_HLSL_FLOAT;
    known_.push_back({in_[at - 1].text, std::move(value)});
}

// --- Declarations ----------------------------------------------------------------------------------------

// A technique says which programs and states a tool would use: the annotation block has its place here.
bool Rewriter::dropTechnique() {
    const HlslToken& word = read_.peek();
    read_.step();
    while (!read_.done() && !read_.is("{"))
        read_.step();
    if (read_.done()) return fail(word, "a technique needs its passes in braces");
    read_.seek(read_.behindGroup(read_.at()));
    read_.accept(";");
    return true;
}

static bool isTextureType(std::string_view word) {
    if (qbSameText(word, "string")) return true;
    if (word.substr(0, 7) == "Texture" && word.size() > 7) return false;
    return qbSameText(word, "texture") || qbSameText(word, "texture1D") || qbSameText(word, "texture2D") ||
           qbSameText(word, "texture3D") || qbSameText(word, "textureCUBE");
}

bool Rewriter::declaration() {
    while (std::find(std::begin(modifiers), std::end(modifiers), read_.peek().text) != std::end(modifiers))
        emitUpTo(read_.at() + 1);
    const HlslToken& first = read_.peek();
    const std::string_view word = first.text;
    const bool block = word == "struct" || word == "cbuffer" || word == "tbuffer" || word == "typedef";
    if (first.kind != HlslKind::Name) return emitUpTo(read_.at() + 1), true;
    if (qbSameText(word, "technique") || qbSameText(word, "technique10")) return dropTechnique();
    if (!block && atFunction()) return function();
    const size_t end = statementEnd();
    if (word == "struct") return record(end);
    if (word == "typedef" && end >= 2 && in_[end - 2].kind == HlslKind::Name)
        names_.insert(in_[end - 2].text);
    if (block) return emitUpTo(end), true;
    if (isTextureType(word)) return read_.seek(end), true;
    for (const std::string_view type : samplerTypes)
        if (qbSameText(word, type)) return samplers(end);
    if (word == "static" || word == "const") return remember(end), emitUpTo(end), true;
    HlslTypeName type;
    bool known = false;
    return typeWords(&type, &known) && variables(type, known, end);
}

bool Rewriter::run() {
    findFetches();
    while (!read_.done())
        if (!declaration()) return false;
    return scan_->errors.empty();
}

} // namespace

// --- Text ------------------------------------------------------------------------------------------------

// Every word on its author's line, and in its column where that is still free.
bool hlslWriteText(HlslScan* scan) {
    std::string& text = scan->text;
    int line = 1;
    size_t lineStart = 0;
    bool behindMacro = false;
    for (HlslToken& token : scan->tokens) {
        for (; line < token.line; ++line) {
            text += '\n';
            lineStart = text.size();
        }
        const size_t wanted = lineStart + static_cast<size_t>(token.column - 1);
        if (text.size() < wanted) {
            text.append(wanted - text.size(), ' ');
        } else if (text.size() > wanted || (text.size() > lineStart && (token.fromMacro || behindMacro))) {
            text += ' '; // two marks that a macro brought together stay two
        }
        behindMacro = token.fromMacro;
        token.outColumn = static_cast<int>(text.size() - lineStart) + 1;
        text += token.text;
        if (text.size() > 2 * HLSL_TEXT_MAX)
            return hlslFail(scan, token, "the macros expand to too much text");
    }
    text += '\n';
    return true;
}

bool hlslRewrite(HlslScan* scan) {
    return Rewriter(scan).run() && hlslWriteText(scan);
}

bool hlslScan(std::string_view file, std::string_view text, HlslScan* scan) {
    scan->file = file;
    return hlslTokenize(text, scan) && hlslPreprocess(scan) && hlslCheckShape(scan) &&
           hlslCheckGrowth(scan) && hlslRewrite(scan);
}
