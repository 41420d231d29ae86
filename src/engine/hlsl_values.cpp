#include "engine/hlsl_scan.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

// --- Types -----------------------------------------------------------------------------------------------

bool hlslTypeName(std::string_view word, HlslTypeName* type) {
    static constexpr struct {
        std::string_view name;
        QbHlslType type;
    } bases[] = {{"float", QB_HLSL_FLOAT}, {"half", QB_HLSL_FLOAT}, {"double", QB_HLSL_FLOAT},
                 {"int", QB_HLSL_INT},     {"uint", QB_HLSL_UINT},  {"bool", QB_HLSL_BOOL},
                 {"dword", QB_HLSL_UINT}};
    if (word == "vector") word = "float4";
    if (word == "matrix") word = "float4x4";
    const auto size = [](char c) { return c >= '1' && c <= '4' ? c - '0' : 0; };
    for (const auto& base : bases) {
        if (word.substr(0, base.name.size()) != base.name) continue;
        const std::string_view rest = word.substr(base.name.size());
        *type = {base.type, 1, 1};
        if (rest.empty()) return true;
        if (rest.size() == 1) return (type->columns = size(rest[0])) != 0;
        if (rest.size() != 3 || rest[1] != 'x') return false;
        type->rows = size(rest[0]);
        type->columns = size(rest[2]);
        return type->rows != 0 && type->columns != 0;
    }
    return false;
}

// --- Expressions -----------------------------------------------------------------------------------------

namespace {

constexpr size_t partsMax = 65536; // numbers in one initialiser

// Recursion follows brackets and signs, whose nesting hlslCheckShape has bounded.
class Evaluator {
public:
    Evaluator(HlslReader reader, const std::vector<HlslNamedValue>& known) : reader_(reader), known_(known) {}
    bool all(HlslValue* value) { return sum(value) && reader_.done(); }

private:
    bool sum(HlslValue* value);
    bool product(HlslValue* value);
    bool signedOperand(HlslValue* value);
    bool operand(HlslValue* value);
    bool number(HlslValue* value);
    bool named(HlslValue* value);
    bool list(std::string_view close, HlslValue* value);
    bool cast(const HlslTypeName& type, HlslValue* value);
    static bool combine(char mark, const HlslValue& right, HlslValue* value);

    HlslReader reader_;
    const std::vector<HlslNamedValue>& known_;
};

bool Evaluator::combine(char mark, const HlslValue& right, HlslValue* value) {
    HlslValue left = std::move(*value);
    const size_t count = std::max(left.parts.size(), right.parts.size());
    if (count > HLSL_MATRIX_PARTS || left.parts.empty() || right.parts.empty()) return false;
    if (left.parts.size() != right.parts.size() && left.parts.size() != 1 && right.parts.size() != 1)
        return false;
    value->whole = left.whole && right.whole;
    value->parts.resize(count);
    for (size_t i = 0; i < count; ++i) {
        const double a = left.parts[left.parts.size() == 1 ? 0 : i];
        const double b = right.parts[right.parts.size() == 1 ? 0 : i];
        if (mark == '/' && b == 0) return false;
        double& part = value->parts[i];
        part = mark == '+' ? a + b : mark == '-' ? a - b : mark == '*' ? a * b : a / b;
        if (value->whole) part = std::trunc(part);
    }
    return true;
}

bool Evaluator::sum(HlslValue* value) {
    if (!product(value)) return false;
    while (reader_.is("+") || reader_.is("-")) {
        const char mark = reader_.peek().text[0];
        reader_.step();
        HlslValue right;
        if (!product(&right) || !combine(mark, right, value)) return false;
    }
    return true;
}

bool Evaluator::product(HlslValue* value) {
    if (!signedOperand(value)) return false;
    while (reader_.is("*") || reader_.is("/")) {
        const char mark = reader_.peek().text[0];
        reader_.step();
        HlslValue right;
        if (!signedOperand(&right) || !combine(mark, right, value)) return false;
    }
    return true;
}

bool Evaluator::signedOperand(HlslValue* value) {
    bool negative = false;
    for (; reader_.is("-") || reader_.is("+"); reader_.step())
        negative ^= reader_.is("-");
    if (!operand(value)) return false;
    for (double& part : value->parts)
        part = negative ? -part : part;
    return true;
}

bool Evaluator::number(HlslValue* value) {
    const std::string text(reader_.peek().text);
    const bool hex = text.size() > 1 && (text[1] == 'x' || text[1] == 'X');
    char* end = nullptr;
    const double read = std::strtod(text.c_str(), &end);
    const std::string_view suffix(end);
    if (suffix.size() > 1 ||
        (!suffix.empty() && std::string_view("fFhHlLuU").find(suffix[0]) == std::string_view::npos))
        return false;
    const bool fraction = !hex && text.find_first_of(".eEfFhH") != std::string::npos;
    value->parts.assign(1, read);
    value->whole = !fraction;
    reader_.step();
    return true;
}

// Comma-separated values up to the bracket `close`, end to end.
bool Evaluator::list(std::string_view close, HlslValue* value) {
    value->parts.clear();
    value->whole = true;
    while (!reader_.accept(close)) {
        HlslValue part;
        if (reader_.done() || !sum(&part) || value->parts.size() + part.parts.size() > partsMax) return false;
        value->parts.insert(value->parts.end(), part.parts.begin(), part.parts.end());
        value->whole &= part.whole;
        if (!reader_.accept(",") && !reader_.is(close)) return false;
    }
    return !value->parts.empty();
}

// A scalar spreads over the type; a longer value is cut to it.
bool Evaluator::cast(const HlslTypeName& type, HlslValue* value) {
    const size_t count = static_cast<size_t>(type.rows * type.columns);
    if (value->parts.size() == 1) value->parts.assign(count, value->parts[0]);
    if (value->parts.size() < count) return false;
    value->parts.resize(count);
    value->whole = type.type != QB_HLSL_FLOAT;
    for (double& part : value->parts) {
        if (type.type == QB_HLSL_BOOL) part = part != 0;
        if (value->whole) part = std::trunc(part);
    }
    return true;
}

bool Evaluator::named(HlslValue* value) {
    const std::string_view name = reader_.peek().text;
    HlslTypeName type;
    reader_.step();
    if (name == "true" || name == "false") {
        value->parts.assign(1, name == "true");
        value->whole = true;
        return true;
    }
    if (hlslTypeName(name, &type))
        return reader_.accept("(") && list(")", value) &&
               value->parts.size() == static_cast<size_t>(type.rows * type.columns) && cast(type, value);
    for (const HlslNamedValue& one : known_)
        if (one.name == name) return *value = one.value, true;
    return false;
}

bool Evaluator::operand(HlslValue* value) {
    if (reader_.accept("{")) return list("}", value);
    if (reader_.accept("(")) {
        HlslTypeName type;
        if (reader_.is(")", 1) && hlslTypeName(reader_.peek().text, &type)) {
            reader_.step(2);
            return signedOperand(value) && cast(type, value);
        }
        return sum(value) && reader_.accept(")");
    }
    if (reader_.peek().kind == HlslKind::Number) return number(value);
    return reader_.peek().kind == HlslKind::Name && named(value);
}

} // namespace

bool hlslEvaluate(HlslReader reader, const std::vector<HlslNamedValue>& known, HlslValue* value) {
    return Evaluator(reader, known).all(value);
}
