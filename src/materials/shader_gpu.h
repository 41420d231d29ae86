#pragma once

#include <vector>

// The GPU half of a shader: from the texts of its record to a material type.

namespace irr {
namespace video {
class SMaterial;
}
} // namespace irr

class ITextureCUBE;
struct QbIrrShader;

// Begins in threads what qbIrrShaderSetupGpuMaterial will do for these records, best in this order.
void qbIrrShadersPrepare(const std::vector<const QbIrrShader*>& shaders);

// Compiles the texts, stores the material type and frees the texts. Records of the same texts share one
// material type, each with its own values, but for assembly and arrays set from code. Once, after a
// successful create. From then on the record goes with the device, unless it is given back before. On
// failure -1, after a message with file, line, column and reason of each error; the record stays the caller's
// and keeps its texts.
int qbIrrShaderSetupGpuMaterial(QbIrrShader* shader);

// Frees the record, of which nothing may be drawn any more. Its material type stays for later records of the
// same texts, since the driver parts with none. Null is allowed.
void qbShaderRelease(QbIrrShader* shader);
// Records that have a material type.
int qbShaderRecordCount();

// Makes a material one of this shader's: its type, its blending, the filters and address modes of its
// samplers, and in MaterialTypeParam2 the record whose values its draws take. Layers' textures and all other
// fields stay.
void qbShaderApply(const QbIrrShader* shader, irr::video::SMaterial* material);

// A cube map for a texture slot, 0 to QB_SHADER_TEXTURES_MAX - 1, bound whenever the record is drawn, which
// it must outlive; null takes it away.
void qbShaderSetCubeMap(QbIrrShader* shader, int slot, const ITextureCUBE* texture);
