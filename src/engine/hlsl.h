#pragma once

#include <string>
#include <string_view>
#include <vector>

// Shader programs for OpenGL: annotated HLSL of profile 2.0 in, GLSL 130 of the compatibility context out,
// ready for IGPUProgrammingServices::addHighLevelShaderMaterial with "main" as both entry points.
//
// What the GLSL keeps of Direct3D 9:
// - mul(v, M) is the row-vector product, with M sent as Irrlicht stores it and no transposition.
// - Vertex inputs by semantic: POSITION, NORMAL, COLOR, TEXCOORD0 to TEXCOORD7; TANGENT and BINORMAL are
//   TEXCOORD1 and TEXCOORD2. Missing components read 0, 0, 0, 1.
// - COLOR0 and COLOR1 between the programs are clamped to 0..1.
// - VPOS counts whole pixels, VFACE is 1 in front and -1 behind; both follow the driver's glClipControl and
//   glFrontFace.
//
// Assembler pairs (`.vsh`, `.psh`) do not pass here.

enum QbHlslType {
    QB_HLSL_FLOAT,
    QB_HLSL_INT,
    QB_HLSL_UINT,
    QB_HLSL_BOOL, // a uint in the GLSL text: glUniform*ui with 0 or 1
};

struct QbHlslUniform {
    std::string name;     // as the author wrote it; a field of a record is "lights[1].color"
    std::string glslName; // "vs." or "ps." and the name, followed by "[0]" for an array
    QbHlslType type = QB_HLSL_FLOAT;
    int rows = 1;    // 1 for scalars and vectors
    int columns = 1; // 1 to 4; a row of a matrix is a column in GLSL: glUniformMatrix<rows>x<columns>fv
    int count = 0;   // elements of an array; 0: not an array
    std::vector<float> value; // initialiser: all elements in row order; empty: none was written
};

enum QbHlslDimension { QB_HLSL_1D, QB_HLSL_2D, QB_HLSL_3D, QB_HLSL_CUBE };

enum QbHlslFilter {
    QB_HLSL_FILTER_UNSET, // not written: the material layer's own setting stays
    QB_HLSL_FILTER_NONE,  // for mipFilter: no mip maps
    QB_HLSL_FILTER_POINT,
    QB_HLSL_FILTER_LINEAR,
    QB_HLSL_FILTER_ANISOTROPIC,
};

enum QbHlslAddress {
    QB_HLSL_ADDRESS_UNSET, // not written: the material layer's own setting stays
    QB_HLSL_ADDRESS_WRAP,
    QB_HLSL_ADDRESS_MIRROR,
    QB_HLSL_ADDRESS_CLAMP,
    QB_HLSL_ADDRESS_BORDER,
    QB_HLSL_ADDRESS_MIRROR_ONCE,
};

struct QbHlslSamplerState {
    QbHlslFilter minFilter = QB_HLSL_FILTER_UNSET;
    QbHlslFilter magFilter = QB_HLSL_FILTER_UNSET;
    QbHlslFilter mipFilter = QB_HLSL_FILTER_UNSET;
    QbHlslAddress addressU = QB_HLSL_ADDRESS_UNSET;
    QbHlslAddress addressV = QB_HLSL_ADDRESS_UNSET;
    QbHlslAddress addressW = QB_HLSL_ADDRESS_UNSET;
    int maxAnisotropy = 0; // 0: not written
    std::string texture;   // name in `Texture = <...>`; empty: not written
};

struct QbHlslSampler {
    std::string name; // as the author wrote it
    std::string
        glslName; // set this uniform to `layer`, an array ("[0]" at the end) to `layer` and those that follow
    QbHlslDimension dimension = QB_HLSL_2D;
    int layer =
        0; // 0 to 15: the register, or Direct3D's numbering of the samplers in use, in order of declaration
    int count = 0; // elements of an array; 0: not an array
    QbHlslSamplerState state;
};

// One of the two programs. Uniforms and samplers that its code does not use are left out.
struct QbHlslStage {
    std::string glsl;
    std::vector<QbHlslUniform> uniforms;
    std::vector<QbHlslSampler> samplers;
};

struct QbHlslError {
    std::string file;
    int line = 0;   // from 1; 0: not tied to a line
    int column = 0; // from 1; 0: not tied to a column
    std::string reason;
};

struct QbHlslSource {
    std::string_view file;       // name for messages
    std::string_view vertexText; // at most 2 MiB each; usually both are the same text
    std::string_view pixelText;
    std::string_view vertexMain; // entry points
    std::string_view pixelMain;
    bool negateY =
        false; // ends the vertex program with gl_Position.y = -gl_Position.y, for want of ARB_clip_control
};

struct QbHlslProgram {
    QbHlslStage vertex, pixel;
    std::vector<QbHlslError> errors; // not empty when the translation failed
};

// 0, or -1 with `errors` filled and both stages empty. Any text at all may be given. One thread at a time.
int qbHlslTranslate(const QbHlslSource& source, QbHlslProgram* program);

// Begins to translate in threads of its own what qbHlslTranslate will be asked for, best in this order; that
// call then takes what is made. The texts are copied. A later call drops what was not asked for;
// without sources it does nothing else.
void qbHlslTranslateAhead(const QbHlslSource* sources, size_t count);

// "file(line,column): reason", without the numbers that are 0.
std::string qbHlslErrorText(const QbHlslError& error);
