#include "engine/hlsl_stages.h"

#include "platform/text.h"

#include <spirv_cross/spirv_cross_c.h>

#include <algorithm>
#include <memory>

namespace {

using Context = std::unique_ptr<spvc_context_s, decltype(&spvc_context_destroy)>;

constexpr unsigned layersMax = 16;
constexpr size_t portsMax = 64;
constexpr int fieldsMax = 4096; // uniforms of one program, records taken apart
constexpr int nestingMax = 16;  // records in records

struct Resource {
    spvc_variable_id id;
    spvc_type_id type, baseType;
    std::string name;
};

class Writer {
public:
    Writer(HlslStage stage, const HlslScan& scan, HlslGlsl* glsl, std::vector<QbHlslError>* errors)
        : isVertex_(stage == HlslStage::Vertex), scan_(scan), glsl_(glsl), errors_(errors) {}
    bool run(const std::vector<uint32_t>& spirv);

private:
    bool fail(std::string reason, int line = 0, int column = 0) {
        errors_->push_back({scan_.file, line, column, std::move(reason)});
        return false;
    }
    bool good(spvc_result result) {
        return result == SPVC_SUCCESS || fail(spvc_context_get_last_error_string(context_.get()));
    }
    std::string prefix() const { return isVertex_ ? "vs" : "ps"; }

    bool open(const std::vector<uint32_t>& spirv);
    bool resources(spvc_resource_type type, std::vector<Resource>* list);
    bool readPorts(spvc_resource_type type, const char* prefix, std::vector<HlslPort>* ports);
    void locate(const std::string& field, std::string_view semantic, HlslPort* port) const;
    bool nameUniforms();
    bool readUniforms(const std::string& path, std::vector<QbHlslUniform>* list);
    void joinUniforms(const std::vector<QbHlslUniform>& written);
    bool readFields(spvc_type_id record, unsigned member, const std::string& path, int depth,
                    std::vector<QbHlslUniform>* list);
    bool nameSamplers();
    const HlslSamplerDeclaration* declaration(const std::string& name, size_t* order) const;
    bool numberSamplers();

    const bool isVertex_;
    const HlslScan& scan_;
    HlslGlsl* glsl_;
    std::vector<QbHlslError>* errors_;
    Context context_{nullptr, spvc_context_destroy};
    spvc_compiler compiler_ = nullptr; // owned by the context, as all below
    spvc_resources resources_ = nullptr;
    std::vector<Resource> blocks_, samplers_;
    std::vector<std::vector<unsigned>> blockMembers_; // those in use
};

bool Writer::open(const std::vector<uint32_t>& spirv) {
    spvc_context context = nullptr;
    spvc_parsed_ir code = nullptr;
    spvc_compiler_options options = nullptr;
    spvc_set active = nullptr;
    if (spvc_context_create(&context) != SPVC_SUCCESS) return fail("the GLSL writer does not start");
    context_.reset(context);
    if (!good(spvc_context_parse_spirv(context, spirv.data(), spirv.size(), &code)) ||
        !good(spvc_context_create_compiler(context, SPVC_BACKEND_GLSL, code, SPVC_CAPTURE_MODE_TAKE_OWNERSHIP,
                                           &compiler_)) ||
        !good(spvc_compiler_create_compiler_options(compiler_, &options)))
        return false;
    spvc_compiler_options_set_uint(options, SPVC_COMPILER_OPTION_GLSL_VERSION, 130);
    spvc_compiler_options_set_bool(options, SPVC_COMPILER_OPTION_GLSL_ES, SPVC_FALSE);
    spvc_compiler_options_set_bool(options, SPVC_COMPILER_OPTION_GLSL_EMIT_UNIFORM_BUFFER_AS_PLAIN_UNIFORMS,
                                   SPVC_TRUE);
    spvc_compiler_options_set_bool(options, SPVC_COMPILER_OPTION_GLSL_ENABLE_420PACK_EXTENSION, SPVC_FALSE);
    if (!good(spvc_compiler_install_compiler_options(compiler_, options)) ||
        !good(spvc_compiler_get_active_interface_variables(compiler_, &active)) ||
        !good(spvc_compiler_create_shader_resources_for_active_variables(compiler_, &resources_, active)))
        return false;
    return good(spvc_compiler_set_enabled_interface_variables(compiler_, active));
}

bool Writer::resources(spvc_resource_type type, std::vector<Resource>* list) {
    const spvc_reflected_resource* found = nullptr;
    size_t count = 0;
    if (!good(spvc_resources_get_resource_list_for_type(resources_, type, &found, &count))) return false;
    for (size_t i = 0; i < count; ++i) {
        const char* name = spvc_compiler_get_name(compiler_, found[i].id);
        list->push_back({found[i].id, found[i].type_id, found[i].base_type_id, name ? name : ""});
    }
    return true;
}

// --- Inputs and outputs ----------------------------------------------------------------------------------

// The field or parameter with that semantic; of several the last, since the pixel program stands behind.
void Writer::locate(const std::string& field, std::string_view semantic, HlslPort* port) const {
    const std::string_view name = std::string_view(field).substr(field.rfind('.') + 1);
    bool byName = false;
    for (size_t i = 1; i + 1 < scan_.tokens.size(); ++i) {
        if (scan_.tokens[i].text != ":" || !qbSameText(scan_.tokens[i + 1].text, semantic)) continue;
        const bool same = scan_.tokens[i - 1].text == name;
        if (byName && !same) continue;
        byName = same;
        port->line = scan_.tokens[i + 1].line;
        port->column = scan_.tokens[i + 1].column;
    }
}

// COLOR and COLOR0 are one.
static std::string numberedSemantic(std::string_view text) {
    std::string semantic(text);
    for (char& c : semantic)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    size_t digits = semantic.size();
    while (digits > 0 && semantic[digits - 1] >= '0' && semantic[digits - 1] <= '9')
        --digits;
    if (digits == semantic.size()) return semantic + "0";
    while (digits + 1 < semantic.size() && semantic[digits] == '0')
        semantic.erase(digits, 1);
    return semantic;
}

bool Writer::readPorts(spvc_resource_type type, const char* prefix, std::vector<HlslPort>* ports) {
    std::vector<Resource> list;
    if (!resources(type, &list)) return false;
    if (list.size() > portsMax) return fail("more than " + std::to_string(portsMax) + " inputs or outputs");
    for (const Resource& one : list) {
        const char* written =
            spvc_compiler_get_decoration_string(compiler_, one.id, SpvDecorationHlslSemanticGOOGLE);
        const std::string text = written ? written : "";
        HlslPort port;
        port.semantic = numberedSemantic(text);
        locate(one.name, text, &port);
        if (text.empty()) {
            const std::string name = one.name.substr(0, one.name.find("@entryPointOutput"));
            return fail(name.empty() ? "what the entry point returns needs a semantic"
                                     : "the parameter '" + name + "' needs a semantic");
        }
        port.id = one.id;
        for (const HlslPort& other : *ports)
            if (other.semantic == port.semantic)
                return fail("the semantic " + text + " is used twice", port.line, port.column);
        spvc_compiler_set_name(compiler_, one.id, (prefix + port.semantic).c_str());
        ports->push_back(port);
    }
    return true;
}

// --- Uniforms --------------------------------------------------------------------------------------------

// All plain globals are fields of one record; a cbuffer would be a second one.
bool Writer::nameUniforms() {
    if (!resources(SPVC_RESOURCE_TYPE_UNIFORM_BUFFER, &blocks_)) return false;
    for (const Resource& block : blocks_) {
        if (blocks_.size() > 1)
            return fail("'cbuffer' is not for this profile: write plain global variables");
        const spvc_buffer_range* ranges = nullptr;
        size_t count = 0;
        if (!good(spvc_compiler_get_active_buffer_ranges(compiler_, block.id, &ranges, &count))) return false;
        std::vector<unsigned> members;
        for (size_t i = 0; i < count; ++i)
            members.push_back(ranges[i].index);
        std::sort(members.begin(), members.end());
        members.erase(std::unique(members.begin(), members.end()), members.end());
        blockMembers_.push_back(members);
        spvc_compiler_set_name(compiler_, block.id, prefix().c_str());
        spvc_compiler_set_name(compiler_, block.baseType, (prefix() + "Constants").c_str());
    }
    return true;
}

static QbHlslType typeOf(spvc_basetype base) {
    if (base == SPVC_BASETYPE_INT32) return QB_HLSL_INT;
    if (base == SPVC_BASETYPE_UINT32) return QB_HLSL_UINT;
    return QB_HLSL_FLOAT;
}

// One member of a record, or what it is made of; each with its name in `name`.
bool Writer::readFields(spvc_type_id record, unsigned member, const std::string& path, int depth,
                        std::vector<QbHlslUniform>* list) {
    const spvc_type_id id =
        spvc_type_get_member_type(spvc_compiler_get_type_handle(compiler_, record), member);
    const spvc_type type = spvc_compiler_get_type_handle(compiler_, id);
    const bool array = spvc_type_get_num_array_dimensions(type) > 0;
    const unsigned elements = array ? spvc_type_get_array_dimension(type, 0) : 1;
    const std::string name = path + spvc_compiler_get_member_name(compiler_, record, member);
    if (depth > nestingMax || list->size() >= fieldsMax)
        return fail("the record '" + name + "' has too many fields");
    if (spvc_type_get_basetype(type) == SPVC_BASETYPE_STRUCT) {
        for (unsigned i = 0; i < elements; ++i)
            for (unsigned k = 0; k < spvc_type_get_num_member_types(type); ++k)
                if (!readFields(spvc_type_get_base_type_id(type), k,
                                name + (array ? "[" + std::to_string(i) + "]." : "."), depth + 1, list))
                    return false;
        return true;
    }
    QbHlslUniform uniform;
    uniform.name = name;
    uniform.type = typeOf(spvc_type_get_basetype(type));
    uniform.rows = static_cast<int>(spvc_type_get_columns(type));
    uniform.columns = static_cast<int>(spvc_type_get_vector_size(type));
    uniform.count = array ? static_cast<int>(elements) : 0;
    list->push_back(uniform);
    return true;
}

bool Writer::readUniforms(const std::string& path, std::vector<QbHlslUniform>* list) {
    for (size_t b = 0; b < blocks_.size(); ++b)
        for (const unsigned member : blockMembers_[b])
            if (!readFields(blocks_[b].baseType, member, path, 0, list)) return false;
    return true;
}

// Writing the text has changed names that GLSL keeps for itself: `written` holds the new ones in the same
// order.
void Writer::joinUniforms(const std::vector<QbHlslUniform>& written) {
    for (size_t i = 0; i < glsl_->uniforms.size() && i < written.size(); ++i) {
        QbHlslUniform& uniform = glsl_->uniforms[i];
        uniform.glslName = written[i].name + (uniform.count > 0 ? "[0]" : "");
        for (const HlslGlobal& global : scan_.globals) {
            if (global.name != uniform.name) continue;
            if (global.type == QB_HLSL_BOOL) uniform.type = QB_HLSL_BOOL;
            uniform.value = global.value;
        }
    }
}

// --- Samplers --------------------------------------------------------------------------------------------

const HlslSamplerDeclaration* Writer::declaration(const std::string& name, size_t* order) const {
    for (*order = 0; *order < scan_.samplers.size(); ++*order)
        if (scan_.samplers[*order].name == name) return &scan_.samplers[*order];
    return nullptr;
}

bool Writer::nameSamplers() {
    std::vector<Resource> others;
    if (!resources(SPVC_RESOURCE_TYPE_SAMPLED_IMAGE, &samplers_) ||
        !resources(SPVC_RESOURCE_TYPE_SEPARATE_IMAGE, &others) ||
        !resources(SPVC_RESOURCE_TYPE_SEPARATE_SAMPLERS, &others))
        return false;
    if (!others.empty())
        return fail("'" + others[0].name +
                    "' is not for this profile: write sampler2D and tex2D, or samplerCUBE and texCUBE");
    // A sampler of both programs is two uniforms: each program numbers its own.
    for (const Resource& one : samplers_)
        if (isVertex_) spvc_compiler_set_name(compiler_, one.id, ("vs_" + one.name).c_str());
    return true;
}

static QbHlslDimension dimensionOf(SpvDim dim) {
    return dim == SpvDim1D     ? QB_HLSL_1D
           : dim == SpvDim3D   ? QB_HLSL_3D
           : dim == SpvDimCube ? QB_HLSL_CUBE
                               : QB_HLSL_2D;
}

// Registers first; the others take what is free, in order of declaration.
bool Writer::numberSamplers() {
    std::vector<std::pair<size_t, QbHlslSampler>> list;
    for (const Resource& one : samplers_) {
        size_t order = 0;
        const HlslSamplerDeclaration* declared = declaration(one.name, &order);
        const spvc_type type = spvc_compiler_get_type_handle(compiler_, one.type);
        const bool array = spvc_type_get_num_array_dimensions(type) > 0;
        QbHlslSampler sampler;
        sampler.name = one.name;
        sampler.glslName = std::string(spvc_compiler_get_name(compiler_, one.id)) + (array ? "[0]" : "");
        sampler.dimension = dimensionOf(spvc_type_get_image_dimension(type));
        sampler.count =
            array ? static_cast<int>(std::min(spvc_type_get_array_dimension(type, 0), layersMax + 1)) : 0;
        sampler.layer = declared ? declared->layer : -1;
        if (declared) sampler.state = declared->state;
        list.emplace_back(order, sampler);
    }
    std::sort(list.begin(), list.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    uint32_t taken = 0;
    const auto maskOf = [](const QbHlslSampler& sampler, unsigned layer) {
        return ((1u << std::max(sampler.count, 1)) - 1) << layer;
    };
    const auto place = [&](size_t order, QbHlslSampler& sampler, bool fixed) {
        const HlslSamplerDeclaration where =
            order < scan_.samplers.size() ? scan_.samplers[order] : HlslSamplerDeclaration();
        unsigned layer = fixed ? static_cast<unsigned>(sampler.layer) : 0;
        while (!fixed && layer < layersMax && (taken & maskOf(sampler, layer)))
            ++layer;
        const unsigned behind = layer + static_cast<unsigned>(std::max(sampler.count, 1));
        if (behind > layersMax)
            return fail("no layer of 0 to 15 is left for the sampler '" + sampler.name + "'", where.line,
                        where.column);
        if (taken & maskOf(sampler, layer))
            return fail("the register of the sampler '" + sampler.name + "' is taken", where.line,
                        where.column);
        taken |= maskOf(sampler, layer);
        sampler.layer = static_cast<int>(layer);
        return true;
    };
    for (const bool fixed : {true, false})
        for (auto& [order, sampler] : list)
            if ((sampler.layer >= 0) == fixed && !place(order, sampler, fixed)) return false;
    for (auto& [order, sampler] : list)
        glsl_->samplers.push_back(std::move(sampler));
    return true;
}

bool Writer::run(const std::vector<uint32_t>& spirv) {
    std::vector<QbHlslUniform> written;
    const char* text = nullptr;
    if (!open(spirv) || !readPorts(SPVC_RESOURCE_TYPE_STAGE_INPUT, "qbIn_", &glsl_->inputs) ||
        !readPorts(SPVC_RESOURCE_TYPE_STAGE_OUTPUT, isVertex_ ? "qbVarying_" : "qbOut_", &glsl_->outputs) ||
        !nameUniforms() || !nameSamplers() || !readUniforms("", &glsl_->uniforms) ||
        !good(spvc_compiler_compile(compiler_, &text)) || !readUniforms(prefix() + ".", &written))
        return false;
    glsl_->text = text;
    glsl_->writesPosition =
        spvc_compiler_has_active_builtin(compiler_, SpvBuiltInPosition, SpvStorageClassOutput);
    for (std::vector<HlslPort>* ports : {&glsl_->inputs, &glsl_->outputs})
        for (HlslPort& port : *ports)
            port.glslName = spvc_compiler_get_name(compiler_, port.id);
    joinUniforms(written);
    return numberSamplers();
}

} // namespace

bool hlslToGlsl(HlslStage stage, const HlslScan& scan, const std::vector<uint32_t>& spirv, HlslGlsl* glsl,
                std::vector<QbHlslError>* errors) {
    return Writer(stage, scan, glsl, errors).run(spirv);
}
