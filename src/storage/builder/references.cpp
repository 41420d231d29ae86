#include "storage/builder/references.h"

#include "engine/x_reader.h"
#include "materials/shader_annotation.h"
#include "materials/shader_file.h"
#include "platform/text.h"

#include <algorithm>
#include <memory>

enum { X_HEADER_SIZE = 16, CUBE_FACES = 6 };

// --- meshes ---------------------------------------------------------------------------------------------

static bool isTextureKind(std::string_view token) {
    return qbSameText(token, "TextureFilename") || qbSameText(token, "NormalmapFilename");
}

// A template has the words of a data object without its data.
static void passTemplate(QbXReader& reader) {
    std::string_view token;
    while (qbXReadToken(reader, token) && !qbXIs(token, "}")) {
    }
}

// Its name is optional. False for one whose text can not be read.
static bool readTexture(QbXReader& reader, std::string_view& text) {
    std::string_view token;
    while (qbXReadToken(reader, token))
        if (qbXIs(token, "{")) return qbXReadText(reader, text);
    return false;
}

std::vector<std::string> qbMeshTextures(std::string_view bytes) {
    if (bytes.size() < X_HEADER_SIZE || bytes.substr(0, 4) != "xof ") return {};
    QbXReader reader;
    reader.begin = bytes.data();
    reader.at = reader.begin + X_HEADER_SIZE;
    reader.end = reader.begin + bytes.size();
    reader.binary = bytes.substr(8, 4) == "bin ";
    reader.floatSize = bytes.substr(12, 4) == "0064" ? 8 : 4;

    std::vector<std::string> textures;
    std::string_view token, text;
    while (qbXReadToken(reader, token)) {
        if (qbXIs(token, "template")) passTemplate(reader);
        if (isTextureKind(token) && readTexture(reader, text) && !text.empty()) textures.emplace_back(text);
    }
    return textures;
}

// --- shaders --------------------------------------------------------------------------------------------

std::vector<std::string> qbShaderFiles(const std::string& name) {
    if (name.find(".hlsl") != std::string::npos || name.find(".fx") != std::string::npos) return {name};
    const size_t mark = name.find_last_of("./\\");
    const bool hasEnding = mark != std::string::npos && name[mark] == '.';
    const std::string stem = hasEnding ? name.substr(0, mark) : name;
    return {stem + ".vsh", stem + ".psh"};
}

std::vector<std::string> qbCubeMapFaces(const std::string& name) {
    const size_t point = std::min(name.rfind('.'), name.size());
    std::vector<std::string> faces;
    for (int i = 0; i < CUBE_FACES; i++)
        faces.push_back(name.substr(0, point) + '0' + std::to_string(i) + name.substr(point));
    return faces;
}

std::vector<std::string> qbShaderPictures(const std::string& text, const char* path) {
    const auto shader = std::make_unique<QbIrrShader>();
    qbShaderParseTextures(shader.get(), path, text.c_str());
    std::vector<std::string> pictures;
    for (const QbShaderTexture& texture : shader->textures) {
        const std::string name = texture.name;
        if (!texture.used) continue;
        if (texture.cube) {
            const std::vector<std::string> faces = qbCubeMapFaces(name);
            pictures.insert(pictures.end(), faces.begin(), faces.end());
        } else if (name.find('.') != std::string::npos) { // else a texture of the surface
            pictures.push_back(name);
        }
    }
    return pictures;
}
