#include "town.h"

#include "scene/export/mesh_shapes.h"
#include "scene/export/quab_writer.h"

static QbExportMesh slidingTriangle() {
    QbExportMesh mesh;
    mesh.vertices.resize(3);
    mesh.vertices[1].position = {0, 1, 0};
    mesh.vertices[2].position = {1, 0, 0};
    mesh.triangles.push_back({{0, 1, 2}, 0});
    QbExportBone& bone = mesh.bones.emplace_back();
    bone.name = "bone";
    bone.weights = {{0, 1}, {1, 1}, {2, 1}};
    bone.keys.resize(2);
    bone.keys[1].tick = 20;
    bone.keys[1].position = {20, 0, 0};
    return mesh;
}

static void addObject(QbExportScene& scene, const char* name, const char* fileName, int polygons) {
    QbExportObject& object = scene.objects.emplace_back();
    object.name = name;
    object.fileName = fileName;
    object.numPolygons = polygons;
}

static QbExportScene town() {
    QbExportScene scene;
    scene.name = scene.fileName = "town.lws";
    scene.frameStart = 10;
    scene.frameEnd = 59;
    addObject(scene, "house:Layer1", "house.lwo", 1);
    addObject(scene, "pivot", "", 0);
    addObject(scene, "house:Layer2", "house.lwo", 1);
    addObject(scene, "walker", "Walker.lwo", 1);
    qbExportPositionBySeconds(scene, scene.objects[2].motion, [](double s) {
        return std::array<float, 3>{static_cast<float>(10 * s), 2, 3};
    });
    qbExportSetScale(scene.objects[2].motion, {2, 1, 0.5F});

    QbExportSceneObject& file = scene.sceneObjects.emplace_back();
    file.name = "house";
    file.fileName = "house.lwo";
    QbExportSurface& wall = file.surfaces.emplace_back();
    wall.name = "Wall";
    qbExportSetFloat(wall, "Luminosity", 0.25F);

    QbExportLight& light = scene.lights.emplace_back();
    light.name = "Lamp";
    light.type = QB_EXPORT_LIGHT_SPOT;
    light.coneAngles = {qbExportRadians(40), qbExportRadians(10)};
    light.ambient = {0.2F, 0.2F, 0.2F};
    qbExportSetPosition(light.motion, {0, 9, 0});

    QbExportCamera& camera = scene.cameras.emplace_back();
    camera.name = "Camera";
    camera.fovAngles = {qbExportRadians(60), qbExportRadians(45)};
    qbExportSetPosition(camera.motion, {1, 2, -20});
    qbExportSetRotation(camera.motion, {30, 0, 0});
    return scene;
}

std::string writeTown(const std::string& directory) {
    std::string error;
    // The layers of one file are files of their own; the case of names is the author's affair.
    const auto save = [&](const QbExportMesh& mesh, QbExportXFormat format, const char* name) {
        return qbMeshExportSave(mesh, format, directory + name, error) == 0;
    };
    const bool saved = save(qbShapeBox({2, 2, 2}), QB_EXPORT_X_BINARY, "house.layer1.x") &&
                       save(qbShapeBox({4, 4, 4}), QB_EXPORT_X_TEXT, "House.Layer2.X") &&
                       save(slidingTriangle(), QB_EXPORT_X_TEXT, "walker.layer1.x") &&
                       qbSceneExportSave(town(), directory + "town.quab", error) == 0;
    return saved ? "" : error;
}
