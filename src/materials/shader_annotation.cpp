#include "materials/shader_annotation.h"

#include "materials/shader_file.h"
#include "platform/message.h"
#include "platform/text.h"
#include "scene/format/tables.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <iterator>
#include <system_error>

// The last token takes the rest of the line.
enum { TOKENS_MAX = 32 };

namespace {

struct Tokens {
    std::array<std::string_view, TOKENS_MAX> items;
    size_t count = 0;

    std::string_view operator[](size_t index) const { return items[index]; }
};

struct Parser {
    QbIrrShader& shader;
    const char* name; // of the file
    bool isPixelFile;
    std::string_view rest; // text behind the line
    int line = 0;          // number of the line, from 1
    int nextLine = 1;
    bool hasRefused = false;
};

struct NamedId {
    std::string_view name;
    uint32_t id;
};

constexpr NamedId baseMaterials[] = {
    {"transparent_add_color", QB_BASE_TRANSPARENT_ADD_COLOR},
    {"transparent_vertex_alpha", QB_BASE_TRANSPARENT_VERTEX_ALPHA},
    {"transparent_alpha_channel", QB_BASE_TRANSPARENT_ALPHA_CHANNEL},
    {"transparent_alpha_channel_ref", QB_BASE_TRANSPARENT_ALPHA_CHANNEL_REF},
    {"onetexture_blend", QB_BASE_ONETEXTURE_BLEND},
    {"transparent", QB_BASE_TRANSPARENT_ALPHA_CHANNEL},
};

constexpr NamedId kinds[] = {
    {"float", QB_SHADER_FLOAT},   {"float2", QB_SHADER_FLOAT2},     {"float3", QB_SHADER_FLOAT3},
    {"float4", QB_SHADER_FLOAT4}, {"float4x4", QB_SHADER_FLOAT4X4}, {"floatN", QB_SHADER_FLOATN},
};

constexpr NamedId automatics[] = {
    {"Time0_X", QB_SHADER_TIME0_X},
    {"Time_0_X", QB_SHADER_TIME0_X},
    {"ViewProjection", QB_SHADER_VIEW_PROJECTION},
    {"ViewProjectionTranspose", QB_SHADER_VIEW_PROJECTION_TRANSPOSE},
    {"View", QB_SHADER_VIEW},
    {"ViewTranspose", QB_SHADER_VIEW_TRANSPOSE},
    {"ViewPosition", QB_SHADER_VIEW_POSITION},
    {"WorldViewProjection", QB_SHADER_WORLD_VIEW_PROJECTION},
    {"WorldViewProjectionTranspose", QB_SHADER_WORLD_VIEW_PROJECTION_TRANSPOSE},
    {"WorldView", QB_SHADER_WORLD_VIEW},
    {"WorldViewTranspose", QB_SHADER_WORLD_VIEW_TRANSPOSE},
    {"WorldViewInverse", QB_SHADER_WORLD_VIEW_INVERSE},
    {"WorldViewInverseTranspose", QB_SHADER_WORLD_VIEW_INVERSE_TRANSPOSE},
    {"WorldInverse", QB_SHADER_WORLD_INVERSE},
    {"WorldInverseTranspose", QB_SHADER_WORLD_INVERSE_TRANSPOSE},
    {"World", QB_SHADER_WORLD},
    {"WorldTranspose", QB_SHADER_WORLD_TRANSPOSE},
    {"FrustrumFarCorners", QB_SHADER_FRUSTRUM_FAR_CORNERS},
    {"ZFarValue", QB_SHADER_ZFAR_VALUE},
    {"PixelSize", QB_SHADER_PIXEL_SIZE},
    {"HalfPixelSize", QB_SHADER_HALF_PIXEL_SIZE},
    {"LightPos0", QB_SHADER_LIGHT_POS0},
    {"LightDir0", QB_SHADER_LIGHT_DIR0},
    {"LightDiffuse0", QB_SHADER_LIGHT_DIFFUSE0},
    {"LightAmbient0", QB_SHADER_LIGHT_AMBIENT0},
    {"LightPos1", QB_SHADER_LIGHT_POS1},
    {"LightDir1", QB_SHADER_LIGHT_DIR1},
    {"LightDiffuse1", QB_SHADER_LIGHT_DIFFUSE1},
    {"LightAmbient1", QB_SHADER_LIGHT_AMBIENT1},
};

constexpr std::string_view SURFACE_PREFIX = "Surface_";

// By index into a surface's parameters.
constexpr std::string_view surfaceNames[] = {
    "BaseColor",
    "Luminosity",
    "Diffuse",
    "Specularity",
    "Reflectivity",
    "Transparency",
    "Translucency",
    "IOR",
    "Bump",
    "Glossiness",
    "SpecialBuffer1",
    "SpecialBuffer2",
    "SpecialBuffer3",
    "SpecialBuffer4",
    "DiffuseSharpness",
    "BumpDropoff",
    "SmoothingAngle",
    "ReflectionSeamAngle",
    "RefractionSeamAngle",
    "ReflectionBlurring",
    "RefractionBlurring",
    "ColorFilter",
    "ColorHighlights",
    "AdditiveTransparency",
    "AlphaValue",
    "GlowValue",
    "LineColor",
    "LineSize",
    "AlphaOptions",
    "ReflectionOptions",
    "RefractionOptions",
    "Sidedness",
    "ExcludeFromVStack",
    "Glow",
    "RenderOutlines",
    "ReflectionImage",
    "RefractionImage",
    "VertexColoring",
    "VertexNormal",
};
static_assert(std::size(surfaceNames) == QB_SURFACE_VALUE_COUNT);

} // namespace

// --- words ----------------------------------------------------------------------------------------------

template <size_t Size>
static const NamedId* find(const NamedId (&table)[Size], std::string_view name) {
    const auto found = std::find_if(std::begin(table), std::end(table),
                                    [name](const NamedId& entry) { return qbSameText(entry.name, name); });
    return found == std::end(table) ? nullptr : found;
}

static Tokens split(std::string_view text, const char* separators) {
    Tokens tokens;
    while (tokens.count < TOKENS_MAX - 1) {
        const size_t start = text.find_first_not_of(separators);
        if (start == std::string_view::npos) return tokens;
        text.remove_prefix(start);
        const size_t end = std::min(text.find_first_of(separators), text.size());
        tokens.items[tokens.count++] = text.substr(0, end);
        text.remove_prefix(end);
    }
    const size_t start = text.find_first_not_of(" \t");
    if (start != std::string_view::npos) tokens.items[tokens.count++] = text.substr(start);
    return tokens;
}

static Tokens qbShaderSplitLine(std::string_view line) {
    return split(line, " \t: /;\r\n");
}

static Tokens qbShaderSplitValues(std::string_view text) {
    return split(text, " ,\r\n");
}

// Numbers are read as far as they go: "1.5f" is 1.5.
template <class Number>
static std::errc readNumber(std::string_view text, Number& value) {
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    return std::from_chars(text.data(), text.data() + text.size(), value).ec;
}

// A word that is no number, or does not fit, is 0.
static float decimalFloat(std::string_view text) {
    float value = 0.0F;
    if (readNumber(text, value) != std::errc() || !std::isfinite(value)) return 0.0F;
    return value;
}

// 0 to below `limit`, or -1.
static int decimalIndex(std::string_view text, int limit) {
    int value = -1;
    if (readNumber(text, value) != std::errc() || value < 0 || value >= limit) return -1;
    return value;
}

// --- messages and names ---------------------------------------------------------------------------------

[[gnu::format(printf, 2, 3)]] static void refuse(Parser& parser, const char* format, ...) {
    char what[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(what, sizeof what, format, arguments);
    va_end(arguments);

    // Each message stops the program until it is read: one a file is enough.
    if (parser.hasRefused)
        qbTrace("%s:%d: %s\n", parser.name, parser.line, what);
    else
        qbMessage("%s:%d: %s", parser.name, parser.line, what);
    parser.hasRefused = true;
}

static int printable(std::string_view text) {
    return static_cast<int>(text.size());
}

template <size_t Size>
static bool storeName(Parser& parser, char (&target)[Size], std::string_view name, const char* what) {
    if (name.size() >= Size) {
        refuse(parser, "the %s '%.40s...' holds %zu characters, %zu at most; the line is left out", what,
               name.data(), name.size(), Size - 1);
        return false;
    }
    target[name.copy(target, Size - 1)] = '\0';
    return true;
}

// --- statements -----------------------------------------------------------------------------------------

// function vertexMain|pixelMain : name
static int qbShaderParseFunction(Parser& parser, const Tokens& tokens) {
    if (tokens.count < 3) return -1;
    if (qbSameText(tokens[1], "vertexMain"))
        return storeName(parser, parser.shader.vertexMain, tokens[2], "entry point") ? 0 : -1;
    if (qbSameText(tokens[1], "pixelMain"))
        return storeName(parser, parser.shader.pixelMain, tokens[2], "entry point") ? 0 : -1;
    return 0;
}

// config baseMaterial : name
// config tangents
static int qbShaderParseConfig(Parser& parser, const Tokens& tokens) {
    if (tokens.count >= 3 && qbSameText(tokens[1], "baseMaterial")) {
        const NamedId* base = find(baseMaterials, tokens[2]);
        if (base) parser.shader.baseMaterial = base->id;
    }
    if (tokens.count >= 2 && qbSameText(tokens[1], "tangents")) parser.shader.tangents = 1;
    return 0;
}

// texture index : name [cube]
static int qbShaderParseTexture(Parser& parser, const Tokens& tokens) {
    if (tokens.count < 3) return -1;
    const int index = decimalIndex(tokens[1], QB_SHADER_TEXTURES_MAX);
    if (index < 0) {
        refuse(parser, "texture %.*s: the index must be 0 to %d; the line is left out", printable(tokens[1]),
               tokens[1].data(), QB_SHADER_TEXTURES_MAX - 1);
        return -1;
    }
    QbShaderTexture& texture = parser.shader.textures[index];
    if (!storeName(parser, texture.name, tokens[2], "texture name")) return -1;
    texture.used = 1;
    texture.cube = tokens.count > 3 && qbSameText(tokens[3], "cube") ? 1 : 0;
    return 0;
}

static bool findAutomatic(std::string_view value, uint32_t& id) {
    if (const NamedId* automatic = find(automatics, value)) {
        id = automatic->id;
        return true;
    }
    if (value.substr(0, SURFACE_PREFIX.size()) != SURFACE_PREFIX) return false;
    const auto name =
        std::find(std::begin(surfaceNames), std::end(surfaceNames), value.substr(SURFACE_PREFIX.size()));
    if (name == std::end(surfaceNames)) return false;
    id = QB_SHADER_SURFACE_BASE + static_cast<uint32_t>(name - std::begin(surfaceNames));
    return true;
}

static void readVector(const Parser& parser, QbShaderVariable& variable, std::string_view value,
                       const char* type, size_t needed, size_t wanted) {
    const Tokens pieces = qbShaderSplitValues(value);
    if (pieces.count < needed) {
        qbMessage("ERROR: Shader Parse error for variable '%s' of type %s\n", variable.name, type);
        qbTrace("%s:%d: '%.*s' holds %zu numbers of %zu; write them with commas and no blank\n", parser.name,
                parser.line, printable(value), value.data(), pieces.count, needed);
        return;
    }
    for (size_t i = 0; i < std::min(pieces.count, wanted); ++i)
        variable.value[i] = decimalFloat(pieces[i]);
}

static void readPlainValue(const Parser& parser, QbShaderVariable& variable, const Tokens& tokens) {
    switch (variable.kind) {
    case QB_SHADER_FLOAT:
        variable.value[0] = decimalFloat(tokens[2]);
        return;
    case QB_SHADER_FLOAT2:
        readVector(parser, variable, tokens[2], "float2", 2, 2);
        return;
    case QB_SHADER_FLOAT3:
        readVector(parser, variable, tokens[2], "float3", 3, 3);
        return;
    case QB_SHADER_FLOAT4:
        readVector(parser, variable, tokens[2], "float4", 4, 4);
        return;
    case QB_SHADER_FLOATN:
        readVector(parser, variable, tokens[2], "floatN", 1, std::size(variable.value));
        return;
    default:
        qbTrace("ERROR: Shader Parse: Unsupported value '%.*s' for variable '%s' of type '%.*s'\n",
                printable(tokens[2]), tokens[2].data(), variable.name, printable(tokens[0]),
                tokens[0].data());
    }
}

static int chooseProgram(QbShaderVariable& variable, const Tokens& tokens) {
    const std::string_view target = tokens.count > 3 ? tokens[3] : std::string_view();
    const bool both = qbSameText(target, "both");
    variable.toPixel = both || qbSameText(target, "pixel") ? 1 : 0;
    variable.toVertex = both || !variable.toPixel ? 1 : 0;
    return 0;
}

static int chooseRegister(Parser& parser, QbShaderVariable& variable, const Tokens& tokens) {
    if (tokens.count < 4) {
        qbTrace("Missing register for Assembler shader!\n");
        return -1;
    }
    const int index = decimalIndex(tokens[3], QB_SHADER_REGISTERS);
    if (index < 0) {
        refuse(parser, "'%s': the register %.*s must be 0 to %d; the variable is not sent", variable.name,
               printable(tokens[3]), tokens[3].data(), QB_SHADER_REGISTERS - 1);
        return -1;
    }
    variable.firstRegister = static_cast<uint32_t>(index);
    variable.toPixel = parser.isPixelFile ? 1 : 0;
    variable.toVertex = parser.isPixelFile ? 0 : 1;
    return 0;
}

// type name : value; [vertex|pixel|both], and for assembler type name : value; register
static int qbShaderParseVariable(Parser& parser, const Tokens& tokens) {
    if (tokens.count < 3) return -1;
    QbIrrShader& shader = parser.shader;
    if (shader.variableCount >= QB_SHADER_VARIABLES_MAX) {
        refuse(
            parser,
            "'%.*s %.*s' is one variable too many, %d at most; every line counts that is no function, config "
            "or texture, conditional lines that stay covered too",
            printable(tokens[0]), tokens[0].data(), printable(tokens[1]), tokens[1].data(),
            QB_SHADER_VARIABLES_MAX);
        return -1;
    }
    QbShaderVariable& variable = shader.variables[shader.variableCount++];
    const NamedId* kind = find(kinds, tokens[0]);
    if (!kind) return 0;
    if (!storeName(parser, variable.name, tokens[1], "name of the variable")) return -1;
    variable.kind = kind->id;
    if (findAutomatic(tokens[2], variable.automaticId))
        variable.automatic = 1;
    else
        readPlainValue(parser, variable, tokens);
    return shader.highLevel ? chooseProgram(variable, tokens) : chooseRegister(parser, variable, tokens);
}

// --- the block ------------------------------------------------------------------------------------------

// False at the end of the text. Empty lines are passed over.
static bool qbShaderReadLine(Parser& parser, std::string_view& line) {
    std::string_view& rest = parser.rest;
    if (rest.empty()) return false;
    line = rest.substr(0, rest.find_first_of("\r\n"));
    rest.remove_prefix(line.size());
    parser.line = parser.nextLine;
    while (!rest.empty() && (rest[0] == '\r' || rest[0] == '\n')) {
        const bool isPair = rest.substr(0, 2) == "\r\n";
        rest.remove_prefix(isPair ? 2 : 1);
        ++parser.nextLine;
    }
    return true;
}

static bool contains(std::string_view line, std::string_view word) {
    return line.find(word) != std::string_view::npos;
}

static bool isTooLong(Parser& parser, std::string_view line) {
    if (line.size() <= QB_SHADER_LINE_LENGTH_MAX) return false;
    refuse(parser, "the line holds %zu characters, %d at most; it is left out", line.size(),
           QB_SHADER_LINE_LENGTH_MAX);
    return true;
}

static int parseStatement(Parser& parser, std::string_view line) {
    if (isTooLong(parser, line)) return -1;
    const Tokens tokens = qbShaderSplitLine(line);
    printf("[Shader:%s] ", parser.name);
    for (size_t i = 0; i < tokens.count; ++i)
        printf("[%d:%.*s] ", static_cast<int>(i), printable(tokens[i]), tokens[i].data());
    printf("\n");

    if (tokens.count == 0) return 0;
    if (qbSameText(tokens[0], "function")) return qbShaderParseFunction(parser, tokens);
    if (qbSameText(tokens[0], "config")) return qbShaderParseConfig(parser, tokens);
    if (qbSameText(tokens[0], "texture")) return qbShaderParseTexture(parser, tokens);
    return qbShaderParseVariable(parser, tokens);
}

static int parseTextureStatement(Parser& parser, std::string_view line) {
    if (isTooLong(parser, line)) return -1;
    const Tokens tokens = qbShaderSplitLine(line);
    if (tokens.count == 0 || !qbSameText(tokens[0], "texture")) return 0;
    return qbShaderParseTexture(parser, tokens);
}

static void parseBlock(Parser& parser, int (*statement)(Parser&, std::string_view)) {
    std::string_view line;
    while (qbShaderReadLine(parser, line))
        if (contains(line, "[QUAB_BEGIN]")) break;
    while (qbShaderReadLine(parser, line)) {
        if (contains(line, "[QUAB_END]")) break;
        statement(parser, line);
    }
}

int parseShaderFile(QbIrrShader* shader, const char* name, const char* text, bool isPixelFile) {
    Parser parser{*shader, name, isPixelFile, text};
    parseBlock(parser, parseStatement);
    return 0;
}

void qbShaderParseTextures(QbIrrShader* shader, const char* name, const char* text) {
    Parser parser{*shader, name, false, text};
    parseBlock(parser, parseTextureStatement);
}
