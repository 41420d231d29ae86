#pragma once

#include <irrlicht/irrlicht.h>

// Cube textures beside the engine, whose drivers know none. A cube texture never stands in a material's
// layer: GPU programs bind it (qbGpuProgramSetCubeMap).

class ITextureCUBE : public irr::video::ITexture {
public:
    explicit ITextureCUBE(const irr::io::path& name) : ITexture(name) {}
    // Binds it on a texture unit of the driver, for programs that sample it; 0 is the first.
    virtual void bind(int unit) const = 0;
};

// Makes a cube texture of six images of one size, in the order +X, -X, +Y, -Y, +Z, -Z; what is not square is
// stretched. The edge is the width rounded up to a power of two, or down when that would exceed 64. One
// texture a name: a name that is there already gives that texture. Owned by the engine until it closes. Null
// when an image is null, the sizes differ, or the driver refuses, with the reason in the log.
ITextureCUBE* addTextureCubeMap(const char* name, irr::video::IImage* positiveX,
                                irr::video::IImage* negativeX, irr::video::IImage* positiveY,
                                irr::video::IImage* negativeY, irr::video::IImage* positiveZ,
                                irr::video::IImage* negativeZ);
