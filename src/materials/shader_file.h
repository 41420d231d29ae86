#pragma once

#include <cstdint>

// A shader is one HLSL file, or a pair of assembler files, whose comments tell the engine what it must know:
// entry points, base material, textures, and where the value of each constant comes from.
// docs/shader-annotations.md is the reference for authors.

class ITextureCUBE;
class QbGpuProgram;

enum {
    QB_SHADER_TEXTURES_MAX = 8,
    QB_SHADER_VARIABLES_MAX = 20, // of a record; both files of an assembler pair count together
    // Sizes of names, with their terminator.
    QB_SHADER_PATH_SIZE = 256,
    QB_SHADER_NAME_SIZE = 80,
    QB_SHADER_TEXTURE_NAME_SIZE = 128,
    QB_SHADER_LINE_LENGTH_MAX = 255,     // of a line of the annotation block
    QB_SHADER_REGISTERS = 256,           // constant registers of an assembler program
    QB_SHADER_SIZE_MAX = 2 * 1024 * 1024 // of a file, bytes
};

enum QbShaderKind {
    QB_SHADER_FLOAT = 0,
    QB_SHADER_FLOAT2 = 1,
    QB_SHADER_FLOAT3 = 2,
    QB_SHADER_FLOAT4 = 3,
    QB_SHADER_FLOAT4X4 = 4,
    QB_SHADER_FLOATN = 5,
};

// Values that are computed at each draw. A matrix named without TRANSPOSE is sent transposed, one named with
// it as Irrlicht stores it.
enum QbShaderAutomatic {
    QB_SHADER_TIME0_X = 0,
    QB_SHADER_VIEW_PROJECTION = 1,
    QB_SHADER_VIEW_PROJECTION_TRANSPOSE = 2,
    QB_SHADER_VIEW = 3,
    QB_SHADER_VIEW_TRANSPOSE = 4,
    QB_SHADER_VIEW_POSITION = 5,
    QB_SHADER_WORLD_VIEW_PROJECTION = 6,
    QB_SHADER_WORLD_VIEW_PROJECTION_TRANSPOSE = 7,
    QB_SHADER_WORLD_VIEW = 8,
    QB_SHADER_WORLD_VIEW_TRANSPOSE = 9,
    QB_SHADER_WORLD_VIEW_INVERSE = 10,
    QB_SHADER_WORLD_VIEW_INVERSE_TRANSPOSE = 11,
    QB_SHADER_WORLD_INVERSE = 12,
    QB_SHADER_WORLD_INVERSE_TRANSPOSE = 13,
    QB_SHADER_WORLD = 14,
    QB_SHADER_WORLD_TRANSPOSE = 15,
    QB_SHADER_FRUSTRUM_FAR_CORNERS = 16,
    QB_SHADER_ZFAR_VALUE = 17,
    QB_SHADER_PIXEL_SIZE = 18,
    QB_SHADER_HALF_PIXEL_SIZE = 19,
    QB_SHADER_LIGHT_POS0 = 20,
    QB_SHADER_LIGHT_DIR0 = 21,
    QB_SHADER_LIGHT_DIFFUSE0 = 22,
    QB_SHADER_LIGHT_AMBIENT0 = 23,
    QB_SHADER_LIGHT_POS1 = 24,
    QB_SHADER_LIGHT_DIR1 = 25,
    QB_SHADER_LIGHT_DIFFUSE1 = 26,
    QB_SHADER_LIGHT_AMBIENT1 = 27,
    // Plus the index into QbSurfaceCtx::params, below QB_SURFACE_VALUE_COUNT.
    QB_SHADER_SURFACE_BASE = 0x10000,
};

// Irrlicht's numbers of the base materials that a file can ask for.
enum QbShaderBaseMaterial {
    QB_BASE_SOLID = 0,
    QB_BASE_TRANSPARENT_ADD_COLOR = 12,
    QB_BASE_TRANSPARENT_ALPHA_CHANNEL = 13,
    QB_BASE_TRANSPARENT_ALPHA_CHANNEL_REF = 14,
    QB_BASE_TRANSPARENT_VERTEX_ALPHA = 15,
    QB_BASE_ONETEXTURE_BLEND = 23,
};

struct QbShaderTexture {
    uint32_t used;                          // 1 when declared
    uint32_t cube;                          // 1 for a cube map
    char name[QB_SHADER_TEXTURE_NAME_SIZE]; // a file, or a channel of the surface
    const ITextureCUBE* cubeMap;            // bound at each draw; null: none
};

// A statement of an unknown type leaves a slot with an empty name and no target, which counts but is never
// sent.
struct QbShaderVariable {
    char name[QB_SHADER_NAME_SIZE]; // of the constant in the program, and for the writers below
    uint32_t kind;                  // QbShaderKind
    uint32_t automatic;             // 1: computed at each draw; 0: a plain value
    uint32_t automaticId;           // QbShaderAutomatic; 0 for a plain value
    float value[4];                 // a plain value
    const float* values;            // of a floatN set from code, the caller's; otherwise null
    uint32_t count;                 // floats in `values`
    uint32_t toVertex;              // 1: goes to the vertex program
    uint32_t toPixel;               // 1: goes to the pixel program
    uint32_t firstRegister;         // assembler only: 0 to QB_SHADER_REGISTERS - 1
};

struct QbIrrShader {
    uint32_t highLevel;                   // 1: HLSL; 0: an assembler pair
    char vertexFile[QB_SHADER_PATH_SIZE]; // as given, not as found
    char pixelFile[QB_SHADER_PATH_SIZE];  // of HLSL: the same
    char vertexMain[QB_SHADER_NAME_SIZE]; // entry point, "vertexMain" unless the file says otherwise
    char pixelMain[QB_SHADER_NAME_SIZE];  // entry point, "pixelMain" unless the file says otherwise
    char* vertexText;                     // with its conditional lines uncovered, until qbShaderTextsFree
    char* pixelText;                      // a buffer of its own even when the file is the same
    uint32_t tangents;                    // 1: the mesh must be built with tangents
    uint32_t baseMaterial;                // QbShaderBaseMaterial
    int32_t materialType;                 // given by Irrlicht; -1 until then
    QbGpuProgram* program;                // the material's; null until then
    uint32_t number;                      // of the record among all that have a material type; 0 until then
    float time;                           // seconds
    QbShaderTexture textures[QB_SHADER_TEXTURES_MAX]; // by material layer
    int32_t variableCount;                            // used entries of `variables`
    QbShaderVariable variables[QB_SHADER_VARIABLES_MAX];
};

// Reads a file into a new record. `defines` names what the conditional lines ask for and ends with a null
// entry; null leaves those lines covered, which an empty list does not. The file is looked for as qbFindFile
// does. Null on failure, with the reason in the trace. The caller's until qbIrrShaderFree.
//
// The texts have the lines of the files: a line number from a compiler is the author's.
QbIrrShader* qbIrrShaderCreate(const char* fileName, const char* const* defines);
void qbIrrShaderFree(QbIrrShader* shader); // null is allowed
// Frees both texts and sets them to null.
void qbShaderTextsFree(QbIrrShader* shader);

// Readers. An index outside the record gives 0.
uint32_t qbShaderTangents(const QbIrrShader* shader);
const char* qbShaderFileName(const QbIrrShader* shader); // for display
int32_t qbShaderMaterialType(const QbIrrShader* shader);
uint32_t qbShaderBaseMaterial(const QbIrrShader* shader);
uint32_t qbShaderTextureUsed(const QbIrrShader* shader, int32_t index);
uint32_t qbShaderTextureCube(const QbIrrShader* shader, int32_t index);    // 0 when not used
const char* qbShaderTextureName(const QbIrrShader* shader, int32_t index); // null when not used
int32_t qbShaderVariableCount(const QbIrrShader* shader);
const QbShaderVariable* qbShaderVariableGet(const QbIrrShader* shader, int32_t index);
// The first variable of that name, without regard to case; -1 when there is none.
int32_t qbShaderVariableFind(const QbIrrShader* shader, const char* name);

// Writers by index; an index outside the record does nothing. An automatic variable stays what it is.
// The floats of FloatN stay the caller's and must live as long as the shader is drawn.
void qbShaderVariableSetFloat(QbIrrShader* shader, int32_t index, float x);
void qbShaderVariableSetFloat2(QbIrrShader* shader, int32_t index, float x, float y);
void qbShaderVariableSetFloat3(QbIrrShader* shader, int32_t index, float x, float y, float z);
void qbShaderVariableSetFloat4(QbIrrShader* shader, int32_t index, float x, float y, float z, float w);
void qbShaderVariableSetFloatN(QbIrrShader* shader, int32_t index, const float* values, uint32_t count);

// The same by name. Variants of a shader differ in their variables: an unknown name does nothing.
void qbShaderSetFloat(QbIrrShader* shader, const char* name, float x);
void qbShaderSetFloat2(QbIrrShader* shader, const char* name, float x, float y);
void qbShaderSetFloat3(QbIrrShader* shader, const char* name, float x, float y, float z);
void qbShaderSetFloat4(QbIrrShader* shader, const char* name, float x, float y, float z, float w);
void qbShaderSetFloatN(QbIrrShader* shader, const char* name, const float* values, uint32_t count);

void qbShaderSetTime(QbIrrShader* shader, float seconds);
