#include "engine/hlsl_stages.h"

#include <functional>

namespace {

// `[flat] in|out <type> <name>[<size>];` at the start of a line, outside all functions.
struct PortLine {
    std::string_view type, name, size; // size with its brackets
    int width = 0;                     // 1 for float to 4 for vec4; 0 for any other type or an array
};

struct Source {
    std::string text;
    int width;
};

class Connector {
public:
    Connector(HlslGlsl* vertex, HlslGlsl* pixel, std::vector<QbHlslError>* errors)
        : vertex_(vertex), pixel_(pixel), errors_(errors) {}
    bool run(const HlslScan& vertexScan, const HlslScan& pixelScan, bool negateY);

private:
    using Replace = std::function<std::string(const HlslPort&, const PortLine&)>;

    void fail(const HlslPort& port, std::string reason) {
        errors_->push_back({file_, port.line, port.column, std::move(reason)});
    }
    void rewrite(HlslGlsl* glsl, const std::vector<HlslPort>& ports, const Replace& replace);
    std::string attribute(const HlslPort& port, const PortLine& line);
    std::string vertexOutput(const HlslPort& port, const PortLine& line);
    std::string pixelInput(const HlslPort& port, const PortLine& line);
    std::string varying(const HlslPort& port, const PortLine& line);
    std::string target(const HlslPort& port, const PortLine& line);

    HlslGlsl *vertex_, *pixel_;
    std::vector<QbHlslError>* errors_;
    std::string file_;
    std::string ending_; // behind the vertex program's last statement
    bool position_ = false, color_ = false;
    struct Varying {
        std::string semantic, name, type, size;
        int width;
    };
    std::vector<Varying> varyings_;
};

} // namespace

// --- Text ------------------------------------------------------------------------------------------------

static bool parsePortLine(std::string_view line, PortLine* port) {
    if (line.size() < 2 || line.back() != ';' || line[0] == ' ') return false;
    line.remove_suffix(1);
    std::vector<std::string_view> words;
    while (!line.empty()) {
        const size_t end = std::min(line.find(' '), line.size());
        words.push_back(line.substr(0, end));
        line.remove_prefix(std::min(end + 1, line.size()));
    }
    if (words.size() < 3) return false;
    const std::string_view way = words[words.size() - 3];
    if (way != "in" && way != "out") return false;
    port->type = words[words.size() - 2];
    const std::string_view name = words.back();
    const size_t bracket = std::min(name.find('['), name.size());
    port->name = name.substr(0, bracket);
    port->size = name.substr(bracket);
    if (!port->size.empty()) return true;
    if (port->type == "float") port->width = 1;
    if (port->type.substr(0, 3) == "vec") port->width = port->type[3] - '0';
    return true;
}

// The source with as many components as are wanted; those it lacks are 0, 0, 0, 1.
static std::string resized(const Source& source, int width) {
    if (width == source.width) return source.text;
    if (width < source.width)
        return source.text + "." + std::string("xyzw").substr(0, static_cast<size_t>(width));
    std::string text = "vec" + std::to_string(width) + "(" + source.text;
    for (int i = source.width; i < width; ++i)
        text += i == 3 ? ", 1.0" : ", 0.0";
    return text + ")";
}

static std::string defined(std::string_view name, const std::string& meaning) {
    return "#define " + std::string(name) + " " + meaning;
}

static std::string floatsOnly(const HlslPort& port) {
    return port.semantic + " must be float, float2, float3 or float4";
}

void Connector::rewrite(HlslGlsl* glsl, const std::vector<HlslPort>& ports, const Replace& replace) {
    std::string text;
    const std::string_view all = glsl->text;
    for (size_t at = 0; at < all.size();) {
        const size_t end = std::min(all.find('\n', at), all.size());
        std::string line(all.substr(at, end - at));
        PortLine parsed;
        if (parsePortLine(line, &parsed))
            for (const HlslPort& port : ports)
                if (port.glslName == parsed.name) {
                    line = replace(port, parsed);
                    break;
                }
        text += line + "\n";
        at = end + 1;
    }
    glsl->text = std::move(text);
}

// --- Vertex program --------------------------------------------------------------------------------------

std::string Connector::attribute(const HlslPort& port, const PortLine& line) {
    // Irrlicht sends tangents and binormals as texture coordinates.
    static const struct {
        const char* semantic;
        Source source;
    } table[] = {{"POSITION0", {"gl_Vertex", 4}},
                 {"NORMAL0", {"gl_Normal", 3}},
                 {"COLOR0", {"gl_Color", 4}},
                 {"TANGENT0", {"gl_MultiTexCoord1", 4}},
                 {"BINORMAL0", {"gl_MultiTexCoord2", 4}},
                 {"TEXCOORD0", {"gl_MultiTexCoord0", 4}},
                 {"TEXCOORD1", {"gl_MultiTexCoord1", 4}},
                 {"TEXCOORD2", {"gl_MultiTexCoord2", 4}},
                 {"TEXCOORD3", {"gl_MultiTexCoord3", 4}},
                 {"TEXCOORD4", {"gl_MultiTexCoord4", 4}},
                 {"TEXCOORD5", {"gl_MultiTexCoord5", 4}},
                 {"TEXCOORD6", {"gl_MultiTexCoord6", 4}},
                 {"TEXCOORD7", {"gl_MultiTexCoord7", 4}}};
    for (const auto& entry : table) {
        if (port.semantic != entry.semantic) continue;
        if (line.width == 0) break;
        return defined(line.name, resized(entry.source, line.width));
    }
    fail(port,
         line.width == 0 ? floatsOnly(port) : "meshes have no " + port.semantic + " for the vertex program");
    return {};
}

std::string Connector::vertexOutput(const HlslPort& port, const PortLine& line) {
    const std::string name(line.name), type(line.type), size(line.size);
    if (port.semantic == "POSITION0") {
        position_ = true;
        if (line.width != 4) fail(port, "the vertex program's POSITION must be float4");
        return defined(name, "gl_Position");
    }
    if (port.semantic == "PSIZE0") {
        if (line.width != 1) fail(port, "PSIZE must be float");
        return defined(name, "gl_PointSize");
    }
    const bool floats =
        line.width != 0 || type.substr(0, 3) == "vec" || type.substr(0, 3) == "mat" || type == "float";
    if (!floats) fail(port, floatsOnly(port));
    if ((port.semantic == "COLOR0" || port.semantic == "COLOR1") && line.width != 0)
        ending_ += "    " + name + " = clamp(" + name + ", 0.0, 1.0);\n";
    varyings_.push_back({port.semantic, name, type, size, line.width});
    return "out " + type + " " + name + size + ";";
}

// --- Pixel program ---------------------------------------------------------------------------------------

std::string Connector::varying(const HlslPort& port, const PortLine& line) {
    for (const Varying& from : varyings_) {
        if (from.semantic != port.semantic) continue;
        const std::string declared = "in " + from.type + " " + from.name + from.size + ";\n";
        if (from.width != 0 && line.width != 0)
            return declared + defined(line.name, resized({from.name, from.width}, line.width));
        if (from.type != line.type || from.size != line.size)
            fail(port, port.semantic + " has another type in the vertex program");
        return declared + defined(line.name, from.name);
    }
    fail(port, "the pixel program reads " + port.semantic + ", which the vertex program does not write");
    return {};
}

std::string Connector::pixelInput(const HlslPort& port, const PortLine& line) {
    static const struct {
        const char* semantic;
        Source source;
    } table[] = {{"QB_VPOS0", {"vec4(gl_FragCoord.xy - 0.5, gl_FragCoord.zw)", 4}},
                 {"VFACE0", {"(gl_FrontFacing ? 1.0 : -1.0)", 1}},
                 {"POSITION0", {"gl_FragCoord", 4}}};
    for (const auto& entry : table)
        if (port.semantic == entry.semantic && line.width != 0)
            return defined(line.name, resized(entry.source, line.width));
    return varying(port, line);
}

std::string Connector::target(const HlslPort& port, const PortLine& line) {
    const std::string& semantic = port.semantic;
    if (semantic == "DEPTH0") {
        if (line.width != 1) fail(port, "DEPTH must be float");
        return defined(line.name, "gl_FragDepth");
    }
    const std::string number = semantic.substr(semantic.size() - 1);
    const std::string base = semantic.substr(0, semantic.size() - 1);
    if ((base != "COLOR" && base != "SV_TARGET") || number[0] > '3') {
        fail(port, "a pixel program writes COLOR0 to COLOR3 and DEPTH, not " + semantic);
    } else if (line.width != 4) {
        fail(port, "the pixel program's " + semantic + " must be float4");
    }
    color_ |= number == "0";
    return defined(line.name, "gl_FragData[" + number + "]");
}

// --- Both ------------------------------------------------------------------------------------------------

bool Connector::run(const HlslScan& vertexScan, const HlslScan& pixelScan, bool negateY) {
    const auto with = [this](auto method) {
        return [this, method](const HlslPort& port, const PortLine& line) {
            return (this->*method)(port, line);
        };
    };
    file_ = vertexScan.file;
    rewrite(vertex_, vertex_->inputs, with(&Connector::attribute));
    rewrite(vertex_, vertex_->outputs, with(&Connector::vertexOutput));
    if (!position_ && !vertex_->writesPosition) fail({}, "the vertex program writes no POSITION");
    if (negateY) ending_ += "    gl_Position.y = -gl_Position.y;\n";
    const size_t close = vertex_->text.rfind('}');
    if (close != std::string::npos) vertex_->text.insert(close, ending_);
    // Programs that compute a position alike shall land on the same depth, as two passes over one mesh need.
    const size_t entry = vertex_->text.rfind("void main()");
    if (entry != std::string::npos) vertex_->text.insert(entry, "invariant gl_Position;\n\n");

    file_ = pixelScan.file;
    rewrite(pixel_, pixel_->inputs, with(&Connector::pixelInput));
    rewrite(pixel_, pixel_->outputs, with(&Connector::target));
    if (!color_) fail({}, "the pixel program writes no COLOR0");
    return errors_->empty();
}

bool hlslConnect(const HlslScan& vertexScan, HlslGlsl* vertex, const HlslScan& pixelScan, HlslGlsl* pixel,
                 bool negateY, std::vector<QbHlslError>* errors) {
    return Connector(vertex, pixel, errors).run(vertexScan, pixelScan, negateY);
}
