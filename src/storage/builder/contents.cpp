#include "storage/builder/contents.h"

#include "engine/x_guard.h"
#include "platform/file_bytes.h"
#include "platform/message.h"
#include "platform/path.h"
#include "platform/text.h"
#include "scene/format/tables.h"
#include "scene/runtime/terrain.h"
#include "storage/builder/patterns.h"
#include "storage/builder/references.h"
#include "storage/file.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <unordered_map>
#include <unordered_set>

namespace {

// Names of a cabinet as they are, by the same in small letters.
using Names = std::unordered_map<std::string, std::string>;

struct Check {
    std::string baseDir;
    Names data, music;
    std::unordered_set<std::string>
        looked; // scenes, and meshes and shaders with the directory of their scene
    std::unordered_set<std::string> reported;
    QbShowCheck result;
};

// An open scene. Names in it are relative to `directory`.
struct Scene {
    QbSceneHandle* handle;
    std::string directory, path;
};

using ScenePtr = std::unique_ptr<QbSceneHandle, void (*)(QbSceneHandle*)>;

} // namespace

// --- names ----------------------------------------------------------------------------------------------

static std::string folded(std::string text) {
    for (char& c : text)
        c = qbFoldCase(c);
    return text;
}

static Names namesOf(const std::vector<QbCabinetFile>& files) {
    Names names;
    for (const QbCabinetFile& file : files)
        names.emplace(folded(file.name), file.name);
    return names;
}

static bool isAbsolute(const std::string& name) {
    return name.find_first_of("/\\") == 0 || (name.size() > 1 && name[1] == ':');
}

static std::string below(const std::string& directory, const std::string& name) {
    return isAbsolute(name) ? name : qbTidyPath(directory + '/' + name);
}

// An empty directory is the script's, not the root of the disk.
static std::string belowScript(const char* directory, const char* name) {
    return *directory ? below(directory, name) : below(".", name);
}

static std::string quoted(const char* name) {
    return std::string("\"") + (name ? name : "") + '"';
}

static bool leadsOut(const std::string& path) {
    return isAbsolute(path) || path == ".." || path.starts_with("../");
}

// The name in the cabinet of the first of `paths` that is there; else null, and the first one is missing.
static const std::string* need(Check& check, const Names& names, const std::vector<std::string>& paths,
                               const std::string& owner) {
    for (const std::string& path : paths) {
        const auto found = names.find(folded(path));
        if (found != names.end()) return &found->second;
    }
    if (!check.reported.insert(folded(paths[0])).second) return nullptr;
    const bool outside = std::all_of(paths.begin(), paths.end(), leadsOut);
    check.result.missing.push_back(
        {paths[0], owner, outside ? "leads out of the script's directory: move it below" : ""});
    return nullptr;
}

static bool isFirstLook(Check& check, const std::string& directory, const std::string& path) {
    return check.looked.insert(folded(qbTidyPath(directory) + '\n' + path)).second;
}

static std::string readFile(const std::string& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(qbPathOpen(path.c_str(), "rb"), &std::fclose);
    std::string bytes;
    if (qbFileBytes(file.get(), QB_X_FILE_MAX, bytes) == 0) return bytes;
    qbMessage("%s: %s: what it names was not looked for", path.c_str(), strerror(errno));
    return "";
}

// --- what scenes name -----------------------------------------------------------------------------------

// Looked for as the engine does: as named, beside the mesh, in the scene's directory.
static void checkMeshTextures(Check& check, const Scene& scene, const std::string& mesh) {
    if (!isFirstLook(check, scene.directory, mesh)) return;
    const std::string meshDirectory = mesh.substr(0, mesh.rfind('/') + 1);
    for (const std::string& texture : qbMeshTextures(readFile(check.baseDir + mesh))) {
        const std::string plain = texture.substr(texture.find_last_of("/\\") + 1);
        need(check, check.data,
             {below(scene.directory, texture), qbTidyPath(meshDirectory + plain),
              below(scene.directory, plain)},
             "mesh " + mesh);
    }
}

// The pictures of a terrain are optional; of the height maps either will do.
static void checkTerrain(Check& check, const Scene& scene, const std::string& name,
                         const std::string& owner) {
    const QbTerrainFiles files = qbTerrainFiles(name);
    need(check, check.data, {below(scene.directory, files.raw), below(scene.directory, files.bmp)}, owner);
}

static void checkMesh(Check& check, const Scene& scene, int32_t object) {
    const QbObjectInfo* info = scene.handle->objectInfo;
    const std::string name = info->meshFileName(scene.handle, object);
    const std::string owner = "object " + quoted(info->name(scene.handle, object)) + " of " + scene.path;
    if (name.empty()) return;
    if (qbTerrainIsTerrainFile(name.c_str())) return checkTerrain(check, scene, name, owner);
    const std::string* mesh = need(check, check.data, {below(scene.directory, name)}, owner);
    if (mesh) checkMeshTextures(check, scene, *mesh);
}

// A copy that lies in the folder "shaders" below the scene's directory is found too, the built-in ones are
// not: they are gone when scenes are loaded.
static void checkShader(Check& check, const Scene& scene, const char* name, const std::string& owner) {
    for (const std::string& file : qbShaderFiles(name ? name : "")) {
        const std::string* shader =
            need(check, check.data, {below(scene.directory, file), below(scene.directory, "shaders/" + file)},
                 owner);
        if (!shader || !isFirstLook(check, scene.directory, *shader)) continue;
        const std::string text = readFile(check.baseDir + *shader);
        for (const std::string& picture : qbShaderPictures(text, shader->c_str()))
            need(check, check.data, {below(scene.directory, picture)}, "shader " + *shader);
    }
}

static void checkSurface(Check& check, const Scene& scene, const QbSurfaceValues& surface) {
    const std::string owner = "surface " + quoted(surface.name) + " of " + scene.path;
    for (const QbSurfaceParamValue& param : surface.params)
        if (param.textureImage && *param.textureImage)
            need(check, check.data, {below(scene.directory, param.textureImage)}, owner);
    if (surface.hasShader) checkShader(check, scene, surface.shader.shaderName, owner);
}

static void checkObjects(Check& check, const Scene& scene) {
    const QbObjectInfo* info = scene.handle->objectInfo;
    std::vector<QbSurfaceValues> surfaces;
    for (int32_t i = 0; i < info->count(scene.handle); i++) {
        if (info->isNull(scene.handle, i)) continue;
        checkMesh(check, scene, i);
        const int32_t count = info->surfaceCount(scene.handle, i);
        surfaces.assign(static_cast<size_t>(std::max(count, 0)), {});
        info->surfaces(scene.handle, i, surfaces.data(), count, 0.0F);
        for (const QbSurfaceValues& surface : surfaces)
            checkSurface(check, scene, surface);
    }
}

static void checkEmitters(Check& check, const Scene& scene) {
    const QbEmitterInfo* info = scene.handle->emitterInfo;
    for (int32_t i = 0; i < info->count(scene.handle); i++) {
        const char* image = info->hyperVoxelImage(scene.handle, i);
        if (!image || !*image) continue;
        need(check, check.data, {below(scene.directory, image)},
             "emitter " + quoted(info->name(scene.handle, i)) + " of " + scene.path);
    }
}

// --- what the script names ------------------------------------------------------------------------------

// By its name alone, as the player opens it: what the directory is called must not choose the format.
static ScenePtr openScene(const std::string& directory, const char* filename) {
    const std::string root = qbFileRootGet();
    qbFileSetRoot(directory.c_str());
    ScenePtr scene(qbSceneOpen(filename), qbSceneClose);
    qbFileSetRoot(root.c_str());
    return scene;
}

static void checkScene(Check& check, const char* directory, const char* filename, const std::string& owner) {
    if (!*filename) return;
    const std::string path = belowScript(directory, filename);
    if (!need(check, check.data, {path}, owner) || !isFirstLook(check, directory, path)) return;
    const ScenePtr handle = openScene(check.baseDir + directory, filename);
    if (!handle) {
        check.result.complete = false;
        qbMessage("%s can not be read as a scene: what it names was not looked for", path.c_str());
        return;
    }
    const Scene scene = {handle.get(), *directory ? directory : ".", path};
    checkObjects(check, scene);
    checkEmitters(check, scene);
}

static void checkPart(Check& check, const QbDemo& demo, int index) {
    const QbDemoPart& part = demo.parts[index];
    const std::string owner = "part " + std::to_string(index + 1) + " of the script";
    checkScene(check, part.directory, part.filename, owner);
    for (int i = 0; i < part.extraCount; i++)
        checkScene(check, part.extras[i].directory, part.extras[i].filename,
                   "extra " + std::to_string(i + 1) + " of " + owner);
    for (int i = 0; i < part.shaderCount; i++)
        need(check, check.data, {belowScript(demo.shadersDirectory, part.shaders[i].name)},
             "shader window " + std::to_string(i + 1) + " of " + owner);
    if (part.music[0])
        need(check, check.music, {belowScript(demo.musicDirectory, part.music)}, "tune of " + owner);
}

QbShowCheck qbShowCheck(const QbDemo& demo, const std::string& baseDir,
                        const std::vector<QbCabinetFile>& data, const std::vector<QbCabinetFile>& music) {
    Check check;
    check.baseDir = baseDir;
    check.data = namesOf(data);
    check.music = namesOf(music);
    for (int i = 0; i < demo.partCount; i++)
        checkPart(check, demo, i);
    return std::move(check.result);
}
