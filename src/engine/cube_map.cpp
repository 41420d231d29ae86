#include "engine/cube_map.h"

#include "engine/engine.h"
#include "engine/internal.h"

#include <algorithm>
#include <array>
#include <epoxy/gl.h>
#include <string>
#include <vector>

using namespace irr;

namespace {

enum { FACES = 6, ROUND_UP_LIMIT = 64 };
using Faces = std::array<video::IImage*, FACES>;

class CubeMap : public ITextureCUBE {
public:
    CubeMap(const io::path& name, const Faces& faces, u32 edge);
    ~CubeMap() override { glDeleteTextures(1, &id_); }

    void bind(int unit) const override {
        glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
        glBindTexture(GL_TEXTURE_CUBE_MAP, id_);
    }
    void* lock(video::E_TEXTURE_LOCK_MODE, u32) override { return nullptr; } // the driver keeps the texels
    void unlock() override {}
    const core::dimension2du& getOriginalSize() const override { return originalSize_; }
    const core::dimension2du& getSize() const override { return size_; }
    video::E_DRIVER_TYPE getDriverType() const override { return video::EDT_OPENGL; }
    video::ECOLOR_FORMAT getColorFormat() const override { return video::ECF_A8R8G8B8; }
    u32 getPitch() const override { return size_.Width * 4; }
    void regenerateMipMapLevels(void*) override {} // there is one level

private:
    core::dimension2du originalSize_, size_;
    GLuint id_ = 0;
};

} // namespace

static std::vector<CubeMap*> cubeMaps;

CubeMap::CubeMap(const io::path& name, const Faces& faces, u32 edge)
    : ITextureCUBE(name), originalSize_(faces[0]->getDimension()), size_(edge, edge) {
    const GLsizei side = static_cast<GLsizei>(edge);
    std::vector<u32> texels(static_cast<size_t>(edge) * edge);
    glGenTextures(1, &id_);
    bind(0);
    for (u32 face = 0; face < FACES; ++face) {
        faces[face]->copyToScaling(texels.data(), edge, edge, video::ECF_A8R8G8B8, edge * 4);
        glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 0, GL_RGBA8, side, side, 0, GL_BGRA,
                     GL_UNSIGNED_INT_8_8_8_8_REV, texels.data());
    }
    glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAX_LEVEL, 0);
    for (const GLenum filter : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER})
        glTexParameteri(GL_TEXTURE_CUBE_MAP, filter, GL_LINEAR);
    for (const GLenum wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T, GL_TEXTURE_WRAP_R})
        glTexParameteri(GL_TEXTURE_CUBE_MAP, wrap, GL_CLAMP_TO_EDGE);
    glBindTexture(GL_TEXTURE_CUBE_MAP, 0);
}

// --- Creation --------------------------------------------------------------------------------------------

static ITextureCUBE* refuse(const char* name, const std::string& reason) {
    const std::string text = "cube map '" + std::string(name) + "': " + reason;
    if (IrrlichtDevice* device = qbEngineGet()->device) device->getLogger()->log(text.c_str(), ELL_ERROR);
    return nullptr;
}

static std::string sizeText(const core::dimension2du& size) {
    return std::to_string(size.Width) + " x " + std::to_string(size.Height) + " pixels";
}

static ITextureCUBE* findCubeMap(const io::path& name) {
    for (CubeMap* made : cubeMaps)
        if (made->getName().getPath() == name) return made;
    return nullptr;
}

// As for plain textures: up to a power of two, but down where that would cost much memory.
static u32 edgeOf(u32 width) {
    u32 edge = 1;
    while (edge < width)
        edge *= 2;
    return edge > width && edge > ROUND_UP_LIMIT ? edge / 2 : edge;
}

// Empty when the faces make a cube, otherwise what is wrong with them.
static std::string faceFault(const Faces& faces) {
    for (size_t face = 0; face < FACES; ++face) {
        if (!faces[face]) return "image " + std::to_string(face) + " is missing";
        const core::dimension2du size = faces[face]->getDimension();
        if (size != faces[0]->getDimension())
            return "image " + std::to_string(face) + " has " + sizeText(size) + ", the first one " +
                   sizeText(faces[0]->getDimension());
        if (size.Width < 1 || size.Height < 1) return "the images are empty";
    }
    return {};
}

ITextureCUBE* addTextureCubeMap(const char* name, video::IImage* positiveX, video::IImage* negativeX,
                                video::IImage* positiveY, video::IImage* negativeY, video::IImage* positiveZ,
                                video::IImage* negativeZ) {
    video::IVideoDriver* driver = qbEngineGet()->driver;
    if (!driver || driver->getDriverType() != video::EDT_OPENGL)
        return refuse(name, "only the OpenGL driver has cube maps");
    const Faces faces{positiveX, negativeX, positiveY, negativeY, positiveZ, negativeZ};
    const std::string fault = faceFault(faces);
    if (!fault.empty()) return refuse(name, fault);
    if (ITextureCUBE* made = findCubeMap(name)) return made;

    GLint largest = 0;
    glGetIntegerv(GL_MAX_CUBE_MAP_TEXTURE_SIZE, &largest);
    const u32 edge = edgeOf(faces[0]->getDimension().Width);
    if (edge > static_cast<u32>(largest))
        return refuse(name, "the driver takes at most " + std::to_string(largest) + " pixels a side");

    if (epoxy_gl_version() >= 32 || epoxy_has_gl_extension("GL_ARB_seamless_cube_map"))
        glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    while (glGetError() != GL_NO_ERROR) {
        // Errors of earlier calls would be taken for this one's.
    }
    CubeMap* made = new CubeMap(name, faces, edge);
    if (glGetError() == GL_OUT_OF_MEMORY) {
        made->drop();
        return refuse(name, "the driver has no memory left");
    }
    cubeMaps.push_back(made);
    return made;
}

void qbCubeMapFreeAll() {
    for (CubeMap* made : cubeMaps)
        made->drop();
    cubeMaps.clear();
}
