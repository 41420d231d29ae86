#include "materials/shader_file.h"

#include "materials/shader_annotation.h"
#include "materials/shader_preprocess.h"
#include "platform/file_bytes.h"
#include "platform/memory.h"
#include "platform/message.h"
#include "platform/path.h"
#include "platform/text.h"

#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string>

// --- reading --------------------------------------------------------------------------------------------

static bool storePath(char (&target)[QB_SHADER_PATH_SIZE], const std::string& path) {
    if (path.size() >= sizeof target) {
        qbMessage("Shader '%.40s...': the path holds %zu characters, %zu at most", path.c_str(), path.size(),
                  sizeof target - 1);
        return false;
    }
    memcpy(target, path.c_str(), path.size() + 1);
    return true;
}

// The kind lies anywhere in the name. A point of a directory begins no extension.
static bool chooseFiles(QbIrrShader& shader, const std::string& name) {
    shader.highLevel =
        name.find(".hlsl") != std::string::npos || name.find(".fx") != std::string::npos ? 1 : 0;
    if (shader.highLevel) return storePath(shader.vertexFile, name) && storePath(shader.pixelFile, name);

    const size_t mark = name.find_last_of("./\\");
    const bool hasExtension = mark != std::string::npos && name[mark] == '.';
    const std::string stem = hasExtension ? name.substr(0, mark) : name;
    return storePath(shader.vertexFile, stem + ".vsh") && storePath(shader.pixelFile, stem + ".psh");
}

// The text with a zero behind it, allocated by new[]; null on failure.
static char* loadShaderFileContent(const char* path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(qbPathOpen(qbFindFile(path), "rb"), fclose);
    if (!file || fseek(file.get(), 0, SEEK_END) != 0) return nullptr;
    const long length = ftell(file.get());
    if (length > QB_SHADER_SIZE_MAX)
        qbTrace("%s: %ld bytes, a shader holds %d at most\n", path, length, QB_SHADER_SIZE_MAX);
    if (length < 0 || length > QB_SHADER_SIZE_MAX || fseek(file.get(), 0, SEEK_SET) != 0) return nullptr;

    const size_t size = static_cast<size_t>(length);
    auto text = std::make_unique<char[]>(size + 1);
    if (qbFileFill(file.get(), text.get(), size) != size) return nullptr;
    text[size] = '\0';
    return text.release();
}

static char* loadText(const char* path) {
    char* text = loadShaderFileContent(path);
    if (!text) qbTrace("!! ERROR: qbIrrShaderCreate() loadShaderFileContent('%s') failed\n", path);
    return text;
}

static bool uncover(char* text, const char* path, const char* const* defines) {
    if (shaderPreprocess(text, defines) == 0) return true;
    qbTrace("!! ERROR: qbIrrShaderCreate() shaderPreprocess('%s') failed\n", path);
    return false;
}

static bool parse(QbIrrShader& shader, const char* path, const char* text, bool isPixelFile) {
    if (parseShaderFile(&shader, path, text, isPixelFile) == 0) return true;
    qbTrace("parseShaderFile(%s) failed\n", path);
    return false;
}

static bool readShader(QbIrrShader& shader, const char* const* defines) {
    const bool isPair = strcmp(shader.vertexFile, shader.pixelFile) != 0;
    return (shader.vertexText = loadText(shader.vertexFile)) &&
           (shader.pixelText = loadText(shader.pixelFile)) &&
           uncover(shader.vertexText, shader.vertexFile, defines) &&
           uncover(shader.pixelText, shader.pixelFile, defines) &&
           parse(shader, shader.vertexFile, shader.vertexText, false) &&
           (!isPair || parse(shader, shader.pixelFile, shader.pixelText, true));
}

static QbIrrShader* createShader(const char* fileName, const char* const* defines) {
    std::unique_ptr<QbIrrShader, void (*)(QbIrrShader*)> shader(new QbIrrShader(), qbIrrShaderFree);
    strcpy(shader->vertexMain, "vertexMain");
    strcpy(shader->pixelMain, "pixelMain");
    shader->materialType = -1;
    if (!chooseFiles(*shader, fileName) || !readShader(*shader, defines)) return nullptr;
    return shader.release();
}

QbIrrShader* qbIrrShaderCreate(const char* fileName, const char* const* defines) {
    const char* name = fileName ? fileName : "";
    return qbUnlessOutOfMemory<QbIrrShader*>(name, nullptr, [&] { return createShader(name, defines); });
}

void qbShaderTextsFree(QbIrrShader* shader) {
    delete[] shader->vertexText;
    delete[] shader->pixelText;
    shader->vertexText = shader->pixelText = nullptr;
}

void qbIrrShaderFree(QbIrrShader* shader) {
    if (!shader) return;
    qbShaderTextsFree(shader);
    delete shader;
}

// --- readers --------------------------------------------------------------------------------------------

uint32_t qbShaderTangents(const QbIrrShader* shader) {
    return shader->tangents;
}

const char* qbShaderFileName(const QbIrrShader* shader) {
    return shader->vertexFile;
}

int32_t qbShaderMaterialType(const QbIrrShader* shader) {
    return shader->materialType;
}

uint32_t qbShaderBaseMaterial(const QbIrrShader* shader) {
    return shader->baseMaterial;
}

static const QbShaderTexture* usedTexture(const QbIrrShader* shader, int32_t index) {
    const bool exists = index >= 0 && index < QB_SHADER_TEXTURES_MAX && shader->textures[index].used;
    return exists ? &shader->textures[index] : nullptr;
}

uint32_t qbShaderTextureUsed(const QbIrrShader* shader, int32_t index) {
    return usedTexture(shader, index) ? 1 : 0;
}

uint32_t qbShaderTextureCube(const QbIrrShader* shader, int32_t index) {
    const QbShaderTexture* texture = usedTexture(shader, index);
    return texture ? texture->cube : 0;
}

const char* qbShaderTextureName(const QbIrrShader* shader, int32_t index) {
    const QbShaderTexture* texture = usedTexture(shader, index);
    return texture ? texture->name : nullptr;
}

int32_t qbShaderVariableCount(const QbIrrShader* shader) {
    return shader->variableCount;
}

const QbShaderVariable* qbShaderVariableGet(const QbIrrShader* shader, int32_t index) {
    return index >= 0 && index < shader->variableCount ? &shader->variables[index] : nullptr;
}

int32_t qbShaderVariableFind(const QbIrrShader* shader, const char* name) {
    // The empty name is that of the slots which nobody can set.
    if (!name || !*name) return -1;
    for (int32_t i = 0; i < shader->variableCount; ++i)
        if (qbSameText(shader->variables[i].name, name)) return i;
    return -1;
}

// --- writers --------------------------------------------------------------------------------------------

static void setFloats(QbIrrShader* shader, int32_t index, std::initializer_list<float> floats) {
    if (index < 0 || index >= shader->variableCount) return;
    float* value = shader->variables[index].value;
    for (const float x : floats)
        *value++ = x;
}

void qbShaderVariableSetFloat(QbIrrShader* shader, int32_t index, float x) {
    setFloats(shader, index, {x});
}

void qbShaderVariableSetFloat2(QbIrrShader* shader, int32_t index, float x, float y) {
    setFloats(shader, index, {x, y});
}

void qbShaderVariableSetFloat3(QbIrrShader* shader, int32_t index, float x, float y, float z) {
    setFloats(shader, index, {x, y, z});
}

void qbShaderVariableSetFloat4(QbIrrShader* shader, int32_t index, float x, float y, float z, float w) {
    setFloats(shader, index, {x, y, z, w});
}

void qbShaderVariableSetFloatN(QbIrrShader* shader, int32_t index, const float* values, uint32_t count) {
    if (index < 0 || index >= shader->variableCount) return;
    shader->variables[index].values = values;
    shader->variables[index].count = values ? count : 0;
}

void qbShaderSetFloat(QbIrrShader* shader, const char* name, float x) {
    qbShaderVariableSetFloat(shader, qbShaderVariableFind(shader, name), x);
}

void qbShaderSetFloat2(QbIrrShader* shader, const char* name, float x, float y) {
    qbShaderVariableSetFloat2(shader, qbShaderVariableFind(shader, name), x, y);
}

void qbShaderSetFloat3(QbIrrShader* shader, const char* name, float x, float y, float z) {
    qbShaderVariableSetFloat3(shader, qbShaderVariableFind(shader, name), x, y, z);
}

void qbShaderSetFloat4(QbIrrShader* shader, const char* name, float x, float y, float z, float w) {
    qbShaderVariableSetFloat4(shader, qbShaderVariableFind(shader, name), x, y, z, w);
}

void qbShaderSetFloatN(QbIrrShader* shader, const char* name, const float* values, uint32_t count) {
    qbShaderVariableSetFloatN(shader, qbShaderVariableFind(shader, name), values, count);
}

void qbShaderSetTime(QbIrrShader* shader, float seconds) {
    shader->time = seconds;
}
