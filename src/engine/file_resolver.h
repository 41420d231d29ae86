#pragma once

namespace irr {
namespace io {
class IFileSystem;
}
} // namespace irr

// From here on every file that Irrlicht opens by itself (textures named in meshes, pictures, fonts) may be
// named with backslashes and the wrong letter case. A picture that would harm its reader is told to the user
// once, and then as good as empty.
void qbFileResolverAttach(irr::io::IFileSystem* fileSystem);
