#pragma once

#include <string>
#include <string_view>
#include <vector>

// Names of pictures inside meshes and shaders, as they stand there.

// In the order of the file; what stands behind damage is not found.
std::vector<std::string> qbMeshTextures(std::string_view bytes);

// The files of a shader's name: one, or an assembler pair.
std::vector<std::string> qbShaderFiles(const std::string& name);
// The pictures of a shader's text, a cube map's six one by one. Textures of the surface are none. `path`
// names the file in messages.
std::vector<std::string> qbShaderPictures(const std::string& text, const char* path);

// The six pictures of a cube map: "sky.jpg" means "sky00.jpg" to "sky05.jpg".
std::vector<std::string> qbCubeMapFaces(const std::string& name);
