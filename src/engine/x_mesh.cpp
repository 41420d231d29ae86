#include "engine/x_check.h"

#include "platform/text.h"

#include <algorithm>

namespace {

// The engine's reader counts the indices of a face's triangles in 16 bits.
enum { CORNERS_MIN = 3, CORNERS_MAX = 65535 / 3 + 2 };

// Of one mesh: DeclData and FVFData, each of which makes a second texture coordinate for every vertex, and
// MeshMaterialLists, each of which takes in every face.
enum { EXTRA_DATA_MAX = 8, MATERIAL_LISTS_MAX = 8 };

// The engine's reader looks a texture up in three places.
const uint64_t TEXTURE_WORK = 50'000;

struct Mesh {
    uint32_t vertices = 0;
    std::vector<uint16_t> corners;   // of each face
    std::vector<uint32_t> indices;   // corner by corner
    std::vector<uint32_t> materials; // of each face, once there is a list
    uint64_t triangles = 0;
    uint64_t materialCount = 0;
    std::vector<bool> weighted; // of each vertex, once there are weights
    uint64_t weights = 0;
    int extraData = 0;
    int materialLists = 0;
    const char* listAt = ""; // the last MeshMaterialList, for messages
};

uint32_t faceCount(const Mesh& mesh) {
    return static_cast<uint32_t>(mesh.corners.size());
}

// --- geometry ---------------------------------------------------------------------------------------------

// `use` begins the message: "a face has".
bool readVertex(QbXReader& reader, const Mesh& mesh, const char* use, uint32_t& vertex) {
    if (!qbXReadInt(reader, vertex)) return false;
    return vertex < mesh.vertices ||
           qbXFail(reader, "%s vertex %u, but the mesh has %u vertices, from 0", use, vertex, mesh.vertices);
}

bool readCorners(QbXReader& reader, Mesh& mesh, uint32_t corners) {
    for (uint32_t i = 0; i < corners; i++) {
        uint32_t vertex = 0;
        if (!readVertex(reader, mesh, "a face has", vertex)) return false;
        mesh.indices.push_back(vertex);
    }
    return true;
}

// The engine's reader moves the indices of all faces, those to come too, for each face that is no triangle.
bool spendFace(QbXReader& reader, const Mesh& mesh, uint32_t faces, uint32_t corners) {
    enum { TEXT_BYTES_MIN = 8 };
    if (corners == CORNERS_MIN) return true;
    const auto left = static_cast<uint64_t>(reader.end - reader.at) / TEXT_BYTES_MIN;
    const uint64_t triangles = mesh.triangles + std::min<uint64_t>(faces - mesh.corners.size(), left);
    return qbXSpend(reader, triangles * 3, "too many faces have more than 3 corners; make triangles");
}

bool readFaces(QbXReader& reader, Mesh& mesh) {
    uint32_t faces = 0;
    if (!qbXReadInt(reader, faces)) return false;
    for (uint32_t face = 0; face < faces; face++) {
        uint32_t corners = 0;
        if (!qbXReadInt(reader, corners)) return false;
        if (corners < CORNERS_MIN || corners > CORNERS_MAX)
            return qbXFail(reader, "face %u has %u corners, not %d to %d", face, corners, CORNERS_MIN,
                           CORNERS_MAX);
        if (!readCorners(reader, mesh, corners) || !spendFace(reader, mesh, faces, corners)) return false;
        mesh.corners.push_back(static_cast<uint16_t>(corners));
        mesh.triangles += corners - 2;
    }
    return qbXPassSemicolons(reader, 2);
}

bool readGeometry(QbXReader& reader, Mesh& mesh) {
    if (!qbXReadHead(reader, reader.name) || !qbXReadInt(reader, mesh.vertices)) return false;
    return qbXReadFinite(reader, uint64_t{mesh.vertices} * 3) && qbXPassSemicolons(reader, 2) &&
           readFaces(reader, mesh);
}

// --- what is said of each vertex --------------------------------------------------------------------------

bool checkFaceNormals(QbXReader& reader, const Mesh& mesh, uint32_t normals) {
    uint32_t faces = 0;
    if (!qbXReadInt(reader, faces)) return false;
    if (faces > mesh.corners.size())
        return qbXFail(reader, "normals for %u faces, but the mesh has %u", faces, faceCount(mesh));
    for (uint32_t face = 0; face < faces; face++) {
        uint32_t corners = 0;
        if (!qbXReadInt(reader, corners)) return false;
        if (corners != mesh.corners[face])
            return qbXFail(reader, "face %u has %u normals, but %u corners", face, corners,
                           static_cast<unsigned>(mesh.corners[face]));
        for (uint32_t i = 0; i < corners; i++) {
            uint32_t index = 0;
            if (!qbXReadInt(reader, index)) return false;
            if (index >= normals)
                return qbXFail(reader, "a face has normal %u, but there are %u normals, from 0", index,
                               normals);
        }
    }
    return true;
}

bool checkNormals(QbXReader& reader, const Mesh& mesh) {
    const QbXPlace place(reader, "MeshNormals");
    std::string_view name;
    uint32_t normals = 0;
    if (!qbXReadHead(reader, name) || !qbXReadInt(reader, normals)) return false;
    return qbXReadFloats(reader, uint64_t{normals} * 3) && qbXPassSemicolons(reader, 2) &&
           checkFaceNormals(reader, mesh, normals) && qbXPassSemicolons(reader, 2) && qbXReadClose(reader);
}

bool checkTextureCoords(QbXReader& reader, const Mesh& mesh) {
    const QbXPlace place(reader, "MeshTextureCoords");
    std::string_view name;
    uint32_t count = 0;
    if (!qbXReadHead(reader, name) || !qbXReadInt(reader, count)) return false;
    if (count > mesh.vertices)
        return qbXFail(reader, "coordinates for %u vertices, but the mesh has %u", count, mesh.vertices);
    return qbXReadFloats(reader, uint64_t{count} * 2) && qbXPassSemicolons(reader, 2) && qbXReadClose(reader);
}

bool checkVertexColors(QbXReader& reader, const Mesh& mesh) {
    const QbXPlace place(reader, "MeshVertexColors");
    std::string_view name;
    uint32_t count = 0;
    if (!qbXReadHead(reader, name) || !qbXReadInt(reader, count)) return false;
    for (uint32_t i = 0; i < count; i++) {
        uint32_t vertex = 0;
        if (!readVertex(reader, mesh, "a colour for", vertex) || !qbXReadFloats(reader, 4)) return false;
        // One for the colour, one for its entry: each is passed for itself.
        if (!qbXPassSemicolons(reader, 1) || !qbXPassSemicolons(reader, 1)) return false;
    }
    return qbXPassSemicolons(reader, 1) && qbXReadClose(reader);
}

bool readWords(QbXReader& reader, uint32_t& count) {
    uint32_t word = 0;
    if (!qbXReadInt(reader, count)) return false;
    for (uint32_t i = 0; i < count; i++)
        if (!qbXReadInt(reader, word)) return false;
    return true;
}

bool checkExtraDataSize(QbXReader& reader, Mesh& mesh, uint32_t words, uint64_t bytesWanted) {
    if (++mesh.extraData > EXTRA_DATA_MAX)
        return qbXFail(reader, "more than %d DeclData and FVFData in a mesh", EXTRA_DATA_MAX);
    if (uint64_t{words} * 4 < bytesWanted)
        return qbXFail(reader, "%u words are too few for %u vertices", words, mesh.vertices);
    return true;
}

// Bytes of one element of DeclData by its type.
uint32_t declaredSize(uint32_t type) {
    static const uint8_t SIZES[] = {4, 8, 12, 16, 4, 4, 4, 8, 4, 4, 8, 4, 8, 4, 4, 4, 8};
    return type < sizeof SIZES ? SIZES[type] : 0;
}

// The engine's reader takes normals of type 2 and texture coordinates of type 1 by their places in a vertex.
bool readDeclaration(QbXReader& reader, uint64_t& stride, uint64_t& reach) {
    enum { DECL_NORMAL = 3, DECL_TEXTURE = 5, ELEMENTS_MAX = 64 };
    uint32_t elements = 0;
    if (!qbXReadInt(reader, elements)) return false;
    if (elements > ELEMENTS_MAX) return qbXFail(reader, "%u elements: at most %d", elements, ELEMENTS_MAX);
    for (uint32_t i = 0; i < elements; i++) {
        uint32_t type = 0, method = 0, usage = 0, index = 0;
        if (!qbXReadInt(reader, type) || !qbXReadInt(reader, method) || !qbXReadInt(reader, usage) ||
            !qbXReadInt(reader, index))
            return false;
        // Any number that ends in the same 16 bits means the same type to it.
        if (usage == DECL_NORMAL && (type & 0xffff) == 2) reach = std::max(reach, stride + 12);
        if (usage == DECL_TEXTURE && (type & 0xffff) == 1) reach = std::max(reach, stride + 8);
        stride += declaredSize(type);
    }
    return true;
}

bool checkDeclData(QbXReader& reader, Mesh& mesh) {
    const QbXPlace place(reader, "DeclData");
    if (reader.binary) return qbXFail(reader, "the engine reads it in text files only");
    std::string_view token;
    uint64_t stride = 0, reach = 0;
    uint32_t words = 0;
    if (!qbXReadToken(reader, token)) return false;
    if (!qbXIs(token, "{")) return qbXFail(reader, "\"{\" is missing");
    if (!readDeclaration(reader, stride, reach) || !readWords(reader, words)) return false;
    const uint64_t wanted = mesh.vertices && reach ? (mesh.vertices - 1) * stride + reach : 0;
    return checkExtraDataSize(reader, mesh, words, wanted) && qbXPassSemicolons(reader, 1) &&
           qbXReadClose(reader);
}

bool checkFvfData(QbXReader& reader, Mesh& mesh) {
    const QbXPlace place(reader, "FVFData");
    std::string_view name;
    uint32_t format = 0, words = 0;
    if (!qbXReadHead(reader, name) || !qbXReadInt(reader, format) || !readWords(reader, words)) return false;
    const uint64_t stride = (format >> 8 & 0xf) * 8;
    const uint64_t wanted = mesh.vertices && (format & 0x102) ? (mesh.vertices - 1) * stride + 8 : 0;
    return checkExtraDataSize(reader, mesh, words, wanted) && qbXPassSemicolons(reader, 1) &&
           qbXReadClose(reader);
}

// --- skin -------------------------------------------------------------------------------------------------

bool checkSkinHeader(QbXReader& reader) {
    const QbXPlace place(reader, "XSkinMeshHeader");
    std::string_view token;
    uint32_t number = 0;
    if (!qbXReadHead(reader, token)) return false;
    for (int i = 0; i < 3; i++)
        if (!qbXReadInt(reader, number)) return false;
    if (!reader.binary && !qbXReadToken(reader, token)) return false;
    return qbXReadClose(reader);
}

bool readWeights(QbXReader& reader, Mesh& mesh, QbXJoint& joint) {
    uint32_t count = 0, vertex = 0;
    if (!qbXReadInt(reader, count)) return false;
    for (uint32_t i = 0; i < count; i++) {
        if (!readVertex(reader, mesh, "a weight for", vertex)) return false;
        mesh.weighted.resize(mesh.vertices);
        mesh.weighted[vertex] = true;
    }
    for (uint32_t i = 0; i < count; i++) {
        QbXFloat strength = QB_X_POSITIVE;
        if (!qbXReadFloat(reader, strength)) return false;
        if (strength == QB_X_NOT_FINITE) return qbXFail(reader, "a weight is not finite");
        joint.idleWeights += strength == QB_X_ZERO_OR_LESS;
    }
    joint.weights += count;
    mesh.weights += count;
    return true;
}

bool checkSkinWeights(QbXCheck& check, Mesh& mesh) {
    QbXReader& reader = check.reader;
    const QbXPlace place(reader, "SkinWeights");
    std::string_view name;
    uint32_t joint = 0;
    if (!qbXReadHead(reader, name) || !qbXReadText(reader, reader.name)) return false;
    if (!qbXFindJoint(check, reader.name, joint)) return false;
    if (!qbXSpend(reader, mesh.weights + check.joints[joint].weights, "too many SkinWeights")) return false;
    return readWeights(reader, mesh, check.joints[joint]) && qbXReadMatrix(reader) &&
           qbXPassSemicolons(reader, 1) && qbXReadClose(reader);
}

// --- materials --------------------------------------------------------------------------------------------

bool addMaterials(QbXCheck& check, Mesh& mesh, uint64_t count) {
    mesh.materialCount += count;
    return check.materials + mesh.materialCount <= QB_X_MATERIALS_MAX ||
           qbXFail(check.reader, "more than %d materials", QB_X_MATERIALS_MAX);
}

bool readFaceMaterials(QbXReader& reader, Mesh& mesh) {
    uint32_t count = 0, material = 0;
    if (!qbXReadInt(reader, count)) return false;
    if (count > mesh.corners.size())
        return qbXFail(reader, "materials for %u faces, but the mesh has %u", count, faceCount(mesh));
    // A short list lets its last material stand for the rest.
    mesh.materials.assign(mesh.corners.size(), 0);
    for (size_t face = 0; face < mesh.materials.size(); face++) {
        if (face < count && !qbXReadInt(reader, material)) return false;
        mesh.materials[face] = material;
    }
    return true;
}

// { name }: all materials of that name outside the meshes.
bool checkMaterialReference(QbXCheck& check, Mesh& mesh) {
    std::string_view name, brace;
    if (!qbXReadToken(check.reader, name)) return false;
    const auto found = check.templates.find(qbXKey(name));
    if (!addMaterials(check, mesh, found == check.templates.end() ? 0 : found->second)) return false;
    return qbXSpend(check.reader, check.templateCount * QB_X_COMPARE_WORK,
                    "too many references to materials") &&
           qbXReadToken(check.reader, brace);
}

bool checkMaterialListPart(QbXCheck& check, Mesh& mesh, std::string_view kind) {
    if (qbXIs(kind, "{")) return checkMaterialReference(check, mesh);
    if (qbXIs(kind, "Material")) return addMaterials(check, mesh, 1) && qbXCheckMaterial(check);
    if (qbXIs(kind, ";")) return true;
    return qbXPassObject(check.reader);
}

bool readMaterialCount(QbXReader& reader, Mesh& mesh) {
    uint32_t count = 0;
    if (!qbXReadInt(reader, count)) return false;
    if (count > QB_X_MATERIALS_MAX)
        return qbXFail(reader, "%u materials: at most %d", count, QB_X_MATERIALS_MAX);
    // A second list first cuts what the one before it gathered.
    mesh.materialCount = std::min<uint64_t>(mesh.materialCount, count);
    return true;
}

bool checkMaterialList(QbXCheck& check, Mesh& mesh) {
    QbXReader& reader = check.reader;
    const QbXPlace place(reader, "MeshMaterialList");
    if (++mesh.materialLists > MATERIAL_LISTS_MAX)
        return qbXFail(reader, "more than %d of them in a mesh", MATERIAL_LISTS_MAX);
    mesh.listAt = reader.token;
    std::string_view name, kind;
    if (!qbXReadHead(reader, name) || !readMaterialCount(reader, mesh) || !readFaceMaterials(reader, mesh))
        return false;
    if (!reader.binary && *reader.at == ';') reader.at++;
    while (qbXReadKind(reader, kind)) {
        if (qbXIs(kind, "}")) return true;
        if (!checkMaterialListPart(check, mesh, kind)) return false;
    }
    return false;
}

bool checkTexture(QbXReader& reader) {
    const QbXPlace place(reader, "TextureFilename");
    std::string_view name;
    return qbXReadHead(reader, name) && qbXReadText(reader, name) && qbXReadClose(reader) &&
           qbXSpend(reader, TEXTURE_WORK, "too many textures");
}

// --- the mesh ---------------------------------------------------------------------------------------------

bool checkMeshPart(QbXCheck& check, Mesh& mesh, std::string_view kind) {
    QbXReader& reader = check.reader;
    if (qbXIs(kind, "MeshNormals")) return checkNormals(reader, mesh);
    if (qbXIs(kind, "MeshTextureCoords")) return checkTextureCoords(reader, mesh);
    if (qbXIs(kind, "MeshVertexColors")) return checkVertexColors(reader, mesh);
    if (qbXIs(kind, "MeshMaterialList")) return checkMaterialList(check, mesh);
    if (qbXIs(kind, "DeclData")) return checkDeclData(reader, mesh);
    if (qbXIs(kind, "FVFData")) return checkFvfData(reader, mesh);
    if (qbXIs(kind, "XSkinMeshHeader")) return checkSkinHeader(reader);
    if (qbXIs(kind, "SkinWeights")) return checkSkinWeights(check, mesh);
    return qbXPassObject(reader);
}

// A mesh without material has one of the engine's.
bool checkFaceMaterials(QbXCheck& check, Mesh& mesh) {
    if (mesh.materialCount == 0 && !addMaterials(check, mesh, 1)) return false;
    mesh.materials.resize(mesh.corners.size());
    const auto count = static_cast<uint32_t>(mesh.materialCount);
    for (uint32_t face = 0; face < faceCount(mesh); face++)
        if (mesh.materials[face] >= count) {
            check.reader.token = mesh.listAt;
            return qbXFail(check.reader, "face %u has material %u, but the list has %u, from 0", face,
                           mesh.materials[face], count);
        }
    if (check.materials == 0)
        check.firstBufferUsed =
            std::find(mesh.materials.begin(), mesh.materials.end(), 0U) != mesh.materials.end();
    check.materials += mesh.materialCount;
    return true;
}

// The engine's reader gives each material vertices of its own. A vertex belongs to the material of its first
// triangle; each further triangle of another one doubles it, and then the whole table of owners moves.
bool checkSharedVertices(QbXReader& reader, const Mesh& mesh, std::vector<uint32_t>& owners) {
    static const uint32_t NOBODY = UINT32_MAX;
    owners.assign(mesh.vertices, NOBODY);
    uint64_t doubled = 0;
    size_t first = 0;
    for (size_t face = 0; face < mesh.corners.size(); face++) {
        const size_t corners = mesh.corners[face];
        for (size_t i = 0; i < corners; i++) {
            uint32_t& owner = owners[mesh.indices[first + i]];
            // A fan's first corner stands in all its triangles, the inner ones in two.
            const uint64_t uses = i == 0 ? corners - 2 : i == 1 || i == corners - 1 ? 1 : 2;
            if (owner == NOBODY)
                owner = mesh.materials[face];
            else if (owner != mesh.materials[face])
                doubled += uses;
        }
        first += corners;
    }
    return qbXSpend(reader, doubled * (mesh.vertices + doubled),
                    "too many vertices have faces of several materials");
}

bool finishMesh(QbXCheck& check, Mesh& mesh) {
    QbXReader& reader = check.reader;
    std::vector<uint32_t> owners;
    if (!checkFaceMaterials(check, mesh) || !checkSharedVertices(reader, mesh, owners)) return false;
    if (mesh.weights && mesh.corners.empty()) return qbXFail(reader, "SkinWeights in a mesh without faces");
    for (size_t vertex = 0; vertex < mesh.weighted.size(); vertex++)
        if (mesh.weighted[vertex] && owners[vertex] == UINT32_MAX) check.strayWeights = true;
    check.meshes++;
    return true;
}

} // namespace

bool qbXCheckMaterial(QbXCheck& check) {
    QbXReader& reader = check.reader;
    const QbXPlace place(reader, "Material");
    const auto readColor = [&reader](size_t numbers) {
        // One for the colour, one for its entry: each is passed for itself.
        return qbXReadFloats(reader, numbers) && qbXPassSemicolons(reader, 1) && qbXPassSemicolons(reader, 1);
    };
    if (!qbXReadHead(reader, reader.name)) return false;
    if (!readColor(4) || !qbXReadFloats(reader, 1) || !readColor(3) || !readColor(3)) return false;
    std::string_view kind;
    while (qbXReadKind(reader, kind)) {
        if (qbXIs(kind, "}")) return true;
        const bool texture = qbSameText(kind, "TextureFilename") || qbSameText(kind, "NormalmapFilename");
        if (!(texture ? checkTexture(reader) : qbXPassObject(reader))) return false;
    }
    return false;
}

bool qbXCheckMesh(QbXCheck& check) {
    QbXReader& reader = check.reader;
    const QbXPlace place(reader, "Mesh");
    Mesh mesh;
    std::string_view kind;
    if (!readGeometry(reader, mesh)) return false;
    while (qbXReadKind(reader, kind)) {
        if (qbXIs(kind, "}")) return finishMesh(check, mesh);
        if (!checkMeshPart(check, mesh, kind)) return false;
    }
    return false;
}
