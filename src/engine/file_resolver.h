#pragma once

namespace irr {
namespace io {
class IFileSystem;
}
} // namespace irr

// From here on every file that Irrlicht opens by itself (textures named in meshes, pictures, fonts) may be
// named with backslashes and the wrong letter case. A name that exists exactly as it stands is left to
// Irrlicht.
void qbFileResolverAttach(irr::io::IFileSystem* fileSystem);
