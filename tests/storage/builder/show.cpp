#include "show.h"

#include "scene/export/quab_writer.h"
#include "scene/export/x_writer.h"

#include <gtest/gtest.h>

const char SHOW_SCRIPT[] = "show/-my \"show\" one.demo.ini";

static void save(const QbExportScene& scene, const std::string& path) {
    std::string error;
    EXPECT_EQ(qbSceneExportSave(scene, path, error), 0) << error;
}

static void addObject(QbExportScene& scene, const std::string& stem, int32_t points = 3) {
    QbExportObject& object = scene.objects.emplace_back();
    object.name = stem + ":Layer1";
    object.fileName = stem + ".lwo";
    object.numPoints = points;
    QbExportSceneObject& file = scene.sceneObjects.emplace_back();
    file.name = stem;
    file.fileName = stem + ".lwo";
}

static QbExportSurface& addSurface(QbExportScene& scene, const char* name) {
    QbExportSurface& surface = scene.sceneObjects.back().surfaces.emplace_back();
    surface.name = name;
    return surface;
}

static void addMesh(const std::string& path, const char* texture, QbExportXFormat format) {
    QbExportMesh mesh;
    mesh.vertices.resize(3);
    mesh.triangles.push_back({{0, 1, 2}, 0});
    mesh.materials.emplace_back().textureFileName = texture;
    std::string error;
    EXPECT_EQ(qbMeshExportSave(mesh, format, path, error), 0) << error;
}

static QbExportScene room() {
    QbExportScene scene;
    scene.frameEnd = 1;
    addObject(scene, "ville");
    QbExportSurface& wall = addSurface(scene, "Wall");
    qbExportSetImage(wall, "BaseColor", "WALL.png");
    qbExportSetImage(wall, "Bump", "..\\xport\\.\\bump.jpeg");
    wall.shaderName = "glow.hlsl";
    addSurface(scene, "Roof").shaderName = "old.asm";
    addObject(scene, "isle.terrain");
    addObject(scene, "nothing", 0);
    QbExportEmitter& emitter = scene.emitters.emplace_back();
    emitter.name = "Smoke";
    emitter.hyperVoxelImage = "puff.gif";
    return scene;
}

void writeShow(const TemporaryDirectory& directory) {
    directory.write(SHOW_SCRIPT, "[setup]\nmusicdirectory=music\nshadersdirectory=fx\n"
                                 "[part.1]\ntime=0\nmusic=tune.mp3\ndirectory=xport\nfilename=room.quab\n"
                                 "extra.1.directory=Deep\\Yard\nextra.1.filename=yard.quab\n"
                                 "shader.1.name=blur.hlsl\n"
                                 "[part.2]\ntime=1000\ndirectory=./XPORT/\nfilename=ROOM.quab\n");
    for (const std::string& file : showFiles())
        if (!std::filesystem::exists("show/" + file)) directory.write("show/" + file, file);
    directory.write("show/music/Tune.MP3", "silence");
    directory.write("show/loading.png", "picture");
    directory.write("show/xport/glow.hlsl",
                    "// [QUAB_BEGIN]\n// texture 0 : noise.bmp;\n// texture 1 : Color;\n"
                    "// texture 2 : sky.jpg; cube\n// [QUAB_END]\n");
    save(room(), "show/xport/Room.quab");
    addMesh("show/xport/ville.layer1.x", "C:\\art\\brick.jpg", QB_EXPORT_X_TEXT);
    QbExportScene yard;
    yard.frameEnd = 1;
    addObject(yard, "prop");
    save(yard, "show/deep/yard/yard.quab");
    addMesh("show/deep/yard/prop.layer1.x", "tile.png", QB_EXPORT_X_BINARY);
}

std::vector<std::string> showFiles() {
    return {
        "xport/Room.quab", "xport/ville.layer1.x", "xport/brick.jpg",         "xport/wall.png",
        "xport/bump.jpeg", "xport/glow.hlsl",      "xport/noise.bmp",         "xport/sky00.jpg",
        "xport/sky01.jpg", "xport/sky02.jpg",      "xport/sky03.jpg",         "xport/sky04.jpg",
        "xport/sky05.jpg", "xport/old.vsh",        "xport/old.psh",           "xport/isle.terrain_height.raw",
        "xport/puff.gif",  "deep/yard/yard.quab",  "deep/yard/prop.layer1.x", "deep/yard/tile.png",
        "fx/blur.hlsl"};
}
