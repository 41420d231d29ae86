#pragma once

#include <memory>
#include <string>
#include <vector>

// GPU programs as materials of the engine, and their constants by location. The one place that knows which
// language the driver speaks.

namespace irr {
namespace video {
class IMaterialRendererServices;
class IShaderConstantSetCallBack;
class SMaterial;
} // namespace video
} // namespace irr

class ITextureCUBE;
class QbGpuProgram; // what is known of one program: its constants and samplers

enum QbGpuStage { QB_GPU_VERTEX = 0, QB_GPU_PIXEL = 1 };
enum { QB_GPU_LAYERS_MAX = 16 }; // samplers of a program

struct QbGpuSource {
    bool highLevel = true; // HLSL; otherwise assembly of the driver: ARB programs on OpenGL, comments by //
    const char* file = ""; // for messages; of an assembler pair, the vertex file
    const char* pixelFile = "";
    const char* vertexText = "";
    const char* pixelText = "";
    const char* vertexMain = "vertexMain"; // entry points; of HLSL only
    const char* pixelMain = "pixelMain";
    int baseMaterial = 0; // E_MATERIAL_TYPE: how the result is blended
};

struct QbGpuProgramDeleter {
    void operator()(QbGpuProgram* program) const;
};
using QbGpuProgramPtr = std::unique_ptr<QbGpuProgram, QbGpuProgramDeleter>;

// Begins in threads what qbGpuProgramCreate will be asked for, best in this order. The texts are copied.
void qbGpuProgramsPrepare(const std::vector<QbGpuSource>& sources);

// Compiles both programs into a material type of the open device. -1 on failure, with one line a reason in
// `errors`: "file(line,column): reason" in the author's line numbers. `callback` is held by the material and
// called at each draw; `program` must live as long as it.
int qbGpuProgramCreate(const QbGpuSource& source, irr::video::IShaderConstantSetCallBack* callback,
                       QbGpuProgramPtr* program, std::string* errors);

// To be called in OnSetConstants, with its `services`, before anything is sent. Sends what is sent once
// (layers of the samplers, initialisers of the constants) at its first call, and binds the cube maps.
// `emptyLayers` has a bit for each layer of the material without texture: samplers of such a layer read 0, 0,
// 0, 1, and so do cube samplers without a cube map.
void qbGpuProgramUse(QbGpuProgram* program, irr::video::IMaterialRendererServices* services,
                     unsigned emptyLayers);

// All constants begin anew, as their initialiser or as 0. The cube maps are taken away.
void qbGpuProgramReset(QbGpuProgram* program);

// A constant of an HLSL program by the author's name (letter case counts); to be kept by the caller. -1: the
// compiled program does not use it. Assembly knows no names: always -1.
int qbGpuConstantFind(const QbGpuProgram* program, QbGpuStage stage, const char* name);
// Sends `count` floats to the constant, in OnSetConstants behind qbGpuProgramUse; nothing for -1. A matrix
// takes 16 floats as Irrlicht stores them, whatever part of it the program declares; the elements of an array
// of vectors follow one another without gaps. What the constant has no room for is left out, what is missing
// is 0. A value that the program already holds costs no call of the driver. All constants begin as their
// initialiser, or as 0.
void qbGpuConstantSend(QbGpuProgram* program, int constant, const float* values, int count);

// Bound on its unit whenever the program is used, since the engine's materials know no cube maps. Layers go
// from 0 to QB_GPU_LAYERS_MAX - 1, others do nothing. Null takes it away. The texture must outlive the
// program's use.
void qbGpuProgramSetCubeMap(QbGpuProgram* program, int layer, const ITextureCUBE* texture);

// Writes the filters and address modes that the program's samplers ask for into the material's layers; what
// they leave open stays. Mip maps are switched off when all samplers ask for none. A null program does
// nothing.
void qbGpuProgramApplySampling(const QbGpuProgram* program, irr::video::SMaterial* material);
