#include "engine/gpu_program.h"

#include "engine/cube_map.h"
#include "engine/engine.h"
#include "engine/hlsl.h"
#include "platform/span.h"

#include <algorithm>
#include <array>
#include <epoxy/gl.h>
#include <irrlicht/irrlicht.h>
#include <vector>

using namespace irr;

namespace {

enum {
    MATRIX_STRIDE = 16,
    MATRIX_PITCH = 4
}; // floats of a matrix, and of a row of it, as Irrlicht stores it

struct Constant {
    std::string name;
    std::string glslName;
    QbGpuStage stage;
    QbHlslType type;
    int rows, columns;
    int elements; // 1 when it is no array
    size_t first; // its floats in QbGpuProgram::held
    bool initialised;
    GLint location = -1;

    int floats() const { return rows * columns * elements; }
};

} // namespace

class QbGpuProgram {
public:
    bool isDirect3D = false;
    bool isReady = false; // what is sent once has been sent
    bool isUsed = false;  // the driver's constants may hold something
    int baseMaterial = 0;
    std::vector<Constant> constants;
    std::vector<float> initial;  // what the constants begin as, elements and rows without gaps
    std::vector<float> held;     // what they hold
    std::vector<GLint> integers; // room to convert any of the integer constants
    std::vector<QbHlslSampler> samplers;
    std::array<const ITextureCUBE*, QB_GPU_LAYERS_MAX> cubeMaps{};
    std::vector<int> cubeLayers;                          // those that a cube sampler reads
    unsigned flatLayers = 0;                              // bits of those that any other sampler reads
    video::IMaterialRendererServices* services = nullptr; // of this draw
};

void QbGpuProgramDeleter::operator()(QbGpuProgram* program) const {
    delete program;
}

// --- Creation --------------------------------------------------------------------------------------------

static void takeConstants(const QbHlslStage& translated, QbGpuStage stage, QbGpuProgram* program) {
    for (const QbHlslUniform& uniform : translated.uniforms) {
        const Constant constant{uniform.name,
                                uniform.glslName,
                                stage,
                                uniform.type,
                                uniform.rows,
                                uniform.columns,
                                std::max(uniform.count, 1),
                                program->held.size(),
                                !uniform.value.empty()};
        const size_t floats = static_cast<size_t>(constant.floats());
        program->held.insert(program->held.end(), uniform.value.begin(),
                             uniform.value.begin() +
                                 static_cast<ptrdiff_t>(std::min(floats, uniform.value.size())));
        program->held.resize(constant.first + floats);
        if (uniform.type != QB_HLSL_FLOAT)
            program->integers.resize(std::max(program->integers.size(), floats));
        program->constants.push_back(constant);
    }
}

static void takeSamplers(const QbHlslStage& translated, QbGpuProgram* program) {
    program->samplers.insert(program->samplers.end(), translated.samplers.begin(), translated.samplers.end());
}

// Texture units belong to both programs.
static bool layersAgree(const QbGpuSource& source, const QbGpuProgram& program, std::string* errors) {
    for (const QbHlslSampler& a : program.samplers)
        for (const QbHlslSampler& b : program.samplers) {
            const bool hasFirstOfB = a.layer <= b.layer && b.layer < a.layer + std::max(a.count, 1);
            if (!hasFirstOfB || a.dimension == b.dimension) continue;
            *errors += std::string(source.file) + ": the samplers '" + a.name + "' and '" + b.name +
                       "' are of different kinds and share layer " + std::to_string(b.layer) +
                       ": give one of them another register\n";
            return false;
        }
    return true;
}

static void takeLayers(QbGpuProgram* program) {
    for (const QbHlslSampler& sampler : program->samplers)
        for (int i = sampler.layer; i < sampler.layer + std::max(sampler.count, 1); ++i) {
            if (i >= QB_GPU_LAYERS_MAX) break;
            if (sampler.dimension == QB_HLSL_CUBE)
                program->cubeLayers.push_back(i);
            else
                program->flatLayers |= 1U << i;
        }
}

static QbHlslSource hlslSource(const QbGpuSource& source) {
    return {source.file, source.vertexText, source.pixelText, source.vertexMain, source.pixelMain};
}

void qbGpuProgramsPrepare(const std::vector<QbGpuSource>& sources) {
    std::vector<QbHlslSource> texts;
    for (const QbGpuSource& source : sources)
        if (source.highLevel) texts.push_back(hlslSource(source));
    qbHlslTranslateAhead(texts.data(), texts.size());
}

static int createHlsl(const QbGpuSource& source, video::IGPUProgrammingServices* services,
                      video::IShaderConstantSetCallBack* callback, QbGpuProgram* program,
                      std::string* errors) {
    QbHlslProgram translated;
    // Direct3D compiles the author's text itself; the translation then tells errors and constants.
    if (qbHlslTranslate(hlslSource(source), &translated) != 0) {
        for (const QbHlslError& error : translated.errors)
            *errors += qbHlslErrorText(error) + "\n";
        return -1;
    }
    takeConstants(translated.vertex, QB_GPU_VERTEX, program);
    takeConstants(translated.pixel, QB_GPU_PIXEL, program);
    takeSamplers(translated.vertex, program);
    takeSamplers(translated.pixel, program);
    takeLayers(program);
    if (!program->isDirect3D && !layersAgree(source, *program, errors)) return -1;
    program->initial = program->held;

    const QbSpan span("shaders: driver");
    const bool own = program->isDirect3D;
    const int type = services->addHighLevelShaderMaterial(
        own ? source.vertexText : translated.vertex.glsl.c_str(), own ? source.vertexMain : "main",
        video::EVST_VS_2_0, own ? source.pixelText : translated.pixel.glsl.c_str(),
        own ? source.pixelMain : "main", video::EPST_PS_2_0, callback,
        static_cast<video::E_MATERIAL_TYPE>(source.baseMaterial));
    if (type < 0)
        *errors += std::string(source.file) +
                   ": the driver refuses the translated program, for the reason in the log\n";
    return type;
}

// ARB programs know no "//", which opens the annotations of all shaders.
static std::string withArbComments(const char* text) {
    std::string changed = text;
    for (size_t at = 0; (at = changed.find("//", at)) != std::string::npos;)
        changed.replace(at, 2, "# ");
    return changed;
}

static int createAssembly(const QbGpuSource& source, video::IGPUProgrammingServices* services,
                          video::IShaderConstantSetCallBack* callback, bool isDirect3D, std::string* errors) {
    const std::string vertex = isDirect3D ? source.vertexText : withArbComments(source.vertexText);
    const std::string pixel = isDirect3D ? source.pixelText : withArbComments(source.pixelText);
    const int type = services->addShaderMaterial(vertex.c_str(), pixel.c_str(), callback,
                                                 static_cast<video::E_MATERIAL_TYPE>(source.baseMaterial));
    if (type < 0)
        *errors += std::string(source.file) + " + " + source.pixelFile +
                   ": the driver refuses the programs, for the reason in the log\n";
    return type;
}

int qbGpuProgramCreate(const QbGpuSource& source, video::IShaderConstantSetCallBack* callback,
                       QbGpuProgramPtr* program, std::string* errors) {
    video::IVideoDriver* driver = qbEngineGet()->driver;
    video::IGPUProgrammingServices* services = driver ? driver->getGPUProgrammingServices() : nullptr;
    if (!services) {
        *errors += std::string(source.file) + ": the driver runs no shader programs\n";
        return -1;
    }
    QbGpuProgramPtr made(new QbGpuProgram());
    made->isDirect3D = driver->getDriverType() == video::EDT_DIRECT3D9;
    made->baseMaterial = source.baseMaterial;
    const int type = source.highLevel ? createHlsl(source, services, callback, made.get(), errors)
                                      : createAssembly(source, services, callback, made->isDirect3D, errors);
    if (type >= 0) *program = std::move(made);
    return type;
}

// --- Constants -------------------------------------------------------------------------------------------

static void uploadMatrix(const Constant& constant, const float* packed) {
    const GLint at = constant.location;
    const GLsizei count = constant.elements;
    // A row here is a column in GLSL: neither order of storage nor multiplication changes.
    switch (constant.rows * 10 + constant.columns) {
    case 22:
        return glUniformMatrix2fv(at, count, GL_FALSE, packed);
    case 23:
        return glUniformMatrix2x3fv(at, count, GL_FALSE, packed);
    case 24:
        return glUniformMatrix2x4fv(at, count, GL_FALSE, packed);
    case 32:
        return glUniformMatrix3x2fv(at, count, GL_FALSE, packed);
    case 33:
        return glUniformMatrix3fv(at, count, GL_FALSE, packed);
    case 34:
        return glUniformMatrix3x4fv(at, count, GL_FALSE, packed);
    case 42:
        return glUniformMatrix4x2fv(at, count, GL_FALSE, packed);
    case 43:
        return glUniformMatrix4x3fv(at, count, GL_FALSE, packed);
    case 44:
        return glUniformMatrix4fv(at, count, GL_FALSE, packed);
    default:
        return;
    }
}

// Of scalars and vectors; one function of the driver for each number of columns.
template <class T>
using Upload = void (*)(GLint location, GLsizei count, const T* values);

template <class T>
static void uploadVectors(const Constant& constant, const T* packed,
                          const std::array<Upload<T>, 4>& byColumns) {
    byColumns.at(static_cast<size_t>(constant.columns - 1))(constant.location, constant.elements, packed);
}

static GLint toInteger(QbHlslType type, float x) {
    if (type == QB_HLSL_BOOL) return x != 0.0F ? 1 : 0;
    const float lowest = type == QB_HLSL_UINT ? 0.0F : -2147483648.0F;
    // The largest float below 2^31. What is no number becomes `lowest`.
    return static_cast<GLint>(x >= lowest ? std::min(x, 2147483520.0F) : lowest);
}

static void uploadIntegers(const Constant& constant, const float* packed, GLint* integers) {
    std::transform(packed, packed + constant.floats(), integers,
                   [&](float x) { return toInteger(constant.type, x); });
    if (constant.type == QB_HLSL_INT)
        uploadVectors<GLint>(constant, integers, {glUniform1iv, glUniform2iv, glUniform3iv, glUniform4iv});
    else
        uploadVectors<GLuint>(constant, reinterpret_cast<const GLuint*>(integers),
                              {glUniform1uiv, glUniform2uiv, glUniform3uiv, glUniform4uiv});
}

static void uploadByName(const Constant& constant, const float* packed,
                         video::IMaterialRendererServices* services) {
    if (constant.stage == QB_GPU_VERTEX)
        services->setVertexShaderConstant(constant.name.c_str(), packed, constant.floats());
    else
        services->setPixelShaderConstant(constant.name.c_str(), packed, constant.floats());
}

static void upload(QbGpuProgram* program, const Constant& constant) {
    const float* packed = program->held.data() + constant.first;
    if (program->isDirect3D) return uploadByName(constant, packed, program->services);
    if (constant.location < 0) return;
    if (constant.type != QB_HLSL_FLOAT)
        uploadIntegers(constant, packed, program->integers.data());
    else if (constant.rows > 1)
        uploadMatrix(constant, packed);
    else
        uploadVectors<float>(constant, packed, {glUniform1fv, glUniform2fv, glUniform3fv, glUniform4fv});
}

// Writes the constant's own part of the values to `held`; true when that changed it.
static bool hold(const Constant& constant, const float* values, int count, float* held) {
    const bool isMatrix = constant.rows > 1;
    const int stride = isMatrix ? int{MATRIX_STRIDE} : constant.columns;
    const int pitch = isMatrix ? int{MATRIX_PITCH} : constant.columns;
    bool changed = false;
    for (int element = 0; element < constant.elements; ++element)
        for (int row = 0; row < constant.rows; ++row)
            for (int column = 0; column < constant.columns; ++column) {
                const int from = element * stride + row * pitch + column;
                const float x = from < count ? values[from] : 0.0F;
                changed |= x != *held;
                *held++ = x;
            }
    return changed;
}

int qbGpuConstantFind(const QbGpuProgram* program, QbGpuStage stage, const char* name) {
    for (size_t i = 0; i < program->constants.size(); ++i)
        if (program->constants[i].stage == stage && program->constants[i].name == name)
            return static_cast<int>(i);
    return -1;
}

void qbGpuConstantSend(QbGpuProgram* program, int constant, const float* values, int count) {
    if (constant < 0 || !program->isReady) return;
    const Constant& target = program->constants[static_cast<size_t>(constant)];
    const bool changed = hold(target, values, count, program->held.data() + target.first);
    if (changed) upload(program, target);
}

// --- Use -------------------------------------------------------------------------------------------------

static void sendLayers(GLuint id, const QbHlslSampler& sampler) {
    std::array<GLint, QB_GPU_LAYERS_MAX> layers{};
    const int count = std::clamp(sampler.count, 1, static_cast<int>(layers.size()));
    for (int i = 0; i < count; ++i)
        layers[static_cast<size_t>(i)] = sampler.layer + i;
    glUniform1iv(glGetUniformLocation(id, sampler.glslName.c_str()), count, layers.data());
}

static void sendOnce(QbGpuProgram* program) {
    GLint current = 0;
    glGetIntegerv(GL_CURRENT_PROGRAM, &current);
    const GLuint id = static_cast<GLuint>(current);
    for (Constant& constant : program->constants) {
        constant.location = glGetUniformLocation(id, constant.glslName.c_str());
        if (constant.initialised || program->isUsed) upload(program, constant);
    }
    for (const QbHlslSampler& sampler : program->samplers)
        sendLayers(id, sampler);
    program->isUsed = true;
}

static void bindCubeMaps(const QbGpuProgram& program) {
    for (const int layer : program.cubeLayers) {
        glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(layer));
        if (const ITextureCUBE* texture = program.cubeMaps[static_cast<size_t>(layer)])
            texture->bind(layer);
        else
            glBindTexture(GL_TEXTURE_CUBE_MAP, 0);
    }
}

// The engine switches an empty layer off, which a program does not heed: it would see what the draw before
// left there.
static void unbindEmptyLayers(unsigned layers) {
    for (GLenum layer = 0; layers != 0; ++layer, layers >>= 1) {
        if (!(layers & 1)) continue;
        glActiveTexture(GL_TEXTURE0 + layer);
        glBindTexture(GL_TEXTURE_2D, 0);
    }
}

// Direct3D's registers belong to all programs: what they hold is another program's.
static void sendAll(QbGpuProgram* program) {
    for (const Constant& constant : program->constants)
        upload(program, constant);
}

void qbGpuProgramUse(QbGpuProgram* program, video::IMaterialRendererServices* services,
                     unsigned emptyLayers) {
    program->services = services;
    const bool isFirst = !program->isReady;
    program->isReady = true;
    if (program->isDirect3D) return sendAll(program);
    if (isFirst) sendOnce(program);
    // This base tests for an alpha above 0, where adding colour may go with any alpha.
    if (program->baseMaterial == video::EMT_ONETEXTURE_BLEND) glDisable(GL_ALPHA_TEST);
    const unsigned empty = program->flatLayers & emptyLayers;
    if (empty == 0 && program->cubeLayers.empty()) return;
    bindCubeMaps(*program);
    unbindEmptyLayers(empty);
    // Where the engine believes to be.
    glActiveTexture(GL_TEXTURE0);
}

void qbGpuProgramReset(QbGpuProgram* program) {
    program->isReady = false;
    program->held = program->initial;
    program->cubeMaps = {};
}

void qbGpuProgramSetCubeMap(QbGpuProgram* program, int layer, const ITextureCUBE* texture) {
    if (layer < 0 || layer >= QB_GPU_LAYERS_MAX) return;
    program->cubeMaps[static_cast<size_t>(layer)] = texture;
}

// --- Sampling --------------------------------------------------------------------------------------------

static bool isAny(const QbHlslSamplerState& state, QbHlslFilter filter) {
    return state.minFilter == filter || state.magFilter == filter;
}

static void applyFilters(const QbHlslSamplerState& state, video::SMaterialLayer* layer) {
    if (isAny(state, QB_HLSL_FILTER_ANISOTROPIC)) {
        const int most = state.maxAnisotropy > 0 ? std::min(state.maxAnisotropy, 255) : 255;
        layer->AnisotropicFilter = static_cast<u8>(most); // the driver takes what it can of it
        layer->BilinearFilter = true;
    } else if (isAny(state, QB_HLSL_FILTER_LINEAR)) {
        layer->BilinearFilter = true;
        layer->AnisotropicFilter = 0;
    } else if (isAny(state, QB_HLSL_FILTER_POINT)) {
        layer->BilinearFilter = layer->TrilinearFilter = false;
        layer->AnisotropicFilter = 0;
    }
    if (state.mipFilter != QB_HLSL_FILTER_UNSET)
        layer->TrilinearFilter = layer->BilinearFilter && (state.mipFilter == QB_HLSL_FILTER_LINEAR ||
                                                           state.mipFilter == QB_HLSL_FILTER_ANISOTROPIC);
}

static u32 wrapOf(QbHlslAddress address, u32 unset) {
    switch (address) {
    case QB_HLSL_ADDRESS_WRAP:
        return video::ETC_REPEAT;
    case QB_HLSL_ADDRESS_MIRROR:
        return video::ETC_MIRROR;
    case QB_HLSL_ADDRESS_CLAMP:
        return video::ETC_CLAMP_TO_EDGE;
    case QB_HLSL_ADDRESS_BORDER:
        return video::ETC_CLAMP_TO_BORDER;
    case QB_HLSL_ADDRESS_MIRROR_ONCE:
        return video::ETC_MIRROR_CLAMP_TO_EDGE;
    default:
        return unset;
    }
}

static void applySampler(const QbHlslSampler& sampler, video::SMaterial* material) {
    const int behind =
        std::min(sampler.layer + std::max(sampler.count, 1), static_cast<int>(video::MATERIAL_MAX_TEXTURES));
    for (int i = sampler.layer; i < behind; ++i) {
        video::SMaterialLayer& layer = material->TextureLayer[i];
        applyFilters(sampler.state, &layer);
        layer.TextureWrapU = wrapOf(sampler.state.addressU, layer.TextureWrapU) & 0xF;
        layer.TextureWrapV = wrapOf(sampler.state.addressV, layer.TextureWrapV) & 0xF;
    }
}

void qbGpuProgramApplySampling(const QbGpuProgram* program, video::SMaterial* material) {
    if (!program) return;
    int samplers = 0;
    int withoutMipMaps = 0;
    for (const QbHlslSampler& sampler : program->samplers) {
        if (sampler.dimension == QB_HLSL_CUBE) continue;
        applySampler(sampler, material);
        ++samplers;
        withoutMipMaps += sampler.state.mipFilter == QB_HLSL_FILTER_NONE ? 1 : 0;
    }
    // One setting for all layers.
    if (samplers > 0 && withoutMipMaps == samplers) material->UseMipMaps = false;
}
