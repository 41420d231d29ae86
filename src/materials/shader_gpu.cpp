#include "materials/shader_gpu.h"

#include "engine/gpu_program.h"
#include "materials/shader_constants.h"
#include "materials/shader_file.h"
#include "platform/memory.h"
#include "platform/message.h"

#include <algorithm>
#include <initializer_list>
#include <irrlicht/irrlicht.h>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

using namespace irr;

static_assert(int{QB_BASE_SOLID} == int{video::EMT_SOLID});
static_assert(int{QB_BASE_TRANSPARENT_ADD_COLOR} == int{video::EMT_TRANSPARENT_ADD_COLOR});
static_assert(int{QB_BASE_TRANSPARENT_ALPHA_CHANNEL} == int{video::EMT_TRANSPARENT_ALPHA_CHANNEL});
static_assert(int{QB_BASE_TRANSPARENT_ALPHA_CHANNEL_REF} == int{video::EMT_TRANSPARENT_ALPHA_CHANNEL_REF});
static_assert(int{QB_BASE_TRANSPARENT_VERTEX_ALPHA} == int{video::EMT_TRANSPARENT_VERTEX_ALPHA});
static_assert(int{QB_BASE_ONETEXTURE_BLEND} == int{video::EMT_ONETEXTURE_BLEND});

enum { ERROR_LINES_MAX = 8, ERROR_TEXT_MAX = 960 }; // of one message; the latter in characters

// The first lines, and how many more there are.
static std::string shortened(std::string_view errors) {
    std::string text;
    int lines = 0;
    int hidden = 0;
    while (!errors.empty()) {
        const size_t end = std::min(errors.find('\n'), errors.size() - 1) + 1;
        if (lines == 0 && end > ERROR_TEXT_MAX) {
            text = std::string(errors.substr(0, ERROR_TEXT_MAX)) + "...\n";
            ++lines;
        } else if (lines < ERROR_LINES_MAX && text.size() + end <= ERROR_TEXT_MAX) {
            text += errors.substr(0, end);
            ++lines;
        } else {
            ++hidden;
        }
        errors.remove_prefix(end);
    }
    if (hidden > 0)
        return text + "and " + std::to_string(hidden) + (hidden == 1 ? " more error" : " more errors");
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

static void reportFailure(const QbIrrShader& shader, const std::string& errors) {
    if (shader.highLevel)
        qbTrace("!! ERROR: addHighLevelShaderMaterialFromFiles('%s') failed\n", shader.pixelFile);
    else
        qbTrace("!! ERROR: addShaderMaterialFromFiles('%s'+'%s') failed\n", shader.vertexFile,
                shader.pixelFile);
    qbMessage("%s", shortened(errors).c_str());
}

static QbGpuSource sourceOf(const QbIrrShader& shader) {
    QbGpuSource source;
    source.highLevel = shader.highLevel != 0;
    source.file = shader.vertexFile;
    source.pixelFile = shader.pixelFile;
    source.vertexText = shader.vertexText;
    source.pixelText = shader.pixelText;
    if (*shader.vertexMain) source.vertexMain = shader.vertexMain;
    if (*shader.pixelMain) source.pixelMain = shader.pixelMain;
    source.baseMaterial = static_cast<int>(shader.baseMaterial);
    return source;
}

void qbIrrShadersPrepare(const std::vector<const QbIrrShader*>& shaders) {
    std::vector<QbGpuSource> sources;
    for (const QbIrrShader* shader : shaders)
        if (shader->vertexText && shader->pixelText) sources.push_back(sourceOf(*shader));
    qbGpuProgramsPrepare(sources);
}

// What a record sets only now and then, or the engine only with a change of the material type, would reach
// the next record: arrays from code, and assembly.
static bool canShare(const QbIrrShader& shader) {
    for (int i = 0; i < shader.variableCount; ++i)
        if (!shader.variables[i].automatic && shader.variables[i].kind == QB_SHADER_FLOATN) return false;
    return shader.highLevel != 0;
}

// All that a program is made of.
static std::string keyOf(const QbIrrShader& shader) {
    std::string key(1, static_cast<char>(shader.baseMaterial));
    const char* const pixelText = shader.highLevel ? "" : shader.pixelText; // of HLSL: the same
    for (const char* part : std::initializer_list<const char*>{shader.vertexMain, shader.pixelMain,
                                                               shader.vertexText, pixelText})
        key.append(1, '\0').append(part);
    return key;
}

// Irrlicht holds the callback with its new material type. Null after a message.
static MyShaderCallBack* compile(const QbIrrShader& shader, const std::string& key) {
    const auto drop = [](MyShaderCallBack* held) { held->drop(); };
    const std::unique_ptr<MyShaderCallBack, decltype(drop)> owner(new MyShaderCallBack(key, canShare(shader)),
                                                                  drop);
    MyShaderCallBack* callback = owner.get();
    QbGpuProgramPtr program;
    std::string errors;
    const int type = qbGpuProgramCreate(sourceOf(shader), callback, &program, &errors);
    if (type >= 0)
        callback->start(type, std::move(program));
    else
        reportFailure(shader, errors);
    return type >= 0 ? callback : nullptr;
}

static int setUp(QbIrrShader* shader) {
    const std::string key = keyOf(*shader);
    MyShaderCallBack* callback = MyShaderCallBack::find(key);
    if (!callback) callback = compile(*shader, key);
    if (!callback) return -1;
    callback->adopt(shader);
    qbShaderTextsFree(shader);
    return 0;
}

int qbIrrShaderSetupGpuMaterial(QbIrrShader* shader) {
    if (!shader->vertexText || !shader->pixelText) {
        qbMessage("%s: the shader has no text any more to compile", shader->vertexFile);
        return -1;
    }
    return qbUnlessOutOfMemory(shader->vertexFile, -1, [shader] { return setUp(shader); });
}

void qbShaderRelease(QbIrrShader* shader) {
    if (shader) MyShaderCallBack::release(shader);
}

int qbShaderRecordCount() {
    return MyShaderCallBack::recordCount();
}

static bool isBlended(uint32_t baseMaterial) {
    return baseMaterial == QB_BASE_TRANSPARENT_ADD_COLOR ||
           baseMaterial == QB_BASE_TRANSPARENT_ALPHA_CHANNEL ||
           baseMaterial == QB_BASE_TRANSPARENT_VERTEX_ALPHA || baseMaterial == QB_BASE_ONETEXTURE_BLEND;
}

void qbShaderApply(const QbIrrShader* shader, video::SMaterial* material) {
    if (shader->materialType < 0) return;
    // The base switches blending on, and the driver off again after each change of the target unless the
    // material names an operation.
    material->BlendOperation = isBlended(shader->baseMaterial) ? video::EBO_ADD : video::EBO_NONE;
    material->MaterialType = static_cast<video::E_MATERIAL_TYPE>(shader->materialType);
    MyShaderCallBack::choose(shader, material);
    qbGpuProgramApplySampling(shader->program, material);
}

void qbShaderSetCubeMap(QbIrrShader* shader, int slot, const ITextureCUBE* texture) {
    if (slot >= 0 && slot < QB_SHADER_TEXTURES_MAX) shader->textures[slot].cubeMap = texture;
}
