#include "town.h"

#include "scene/export/quab_writer.h"

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

std::string writeTown(const std::string& path) {
    std::string error;
    return qbSceneExportSave(town(), path, error) == 0 ? "" : error;
}
