#pragma once

// The program as a user runs it, in a fresh directory, and small shows for it.

#include "scene/export/mesh_shapes.h"
#include "scene/export/quab_writer.h"
#include "scene/export/x_writer.h"
#include "support/files.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>
#include <sstream>
#include <sys/wait.h>

struct Result {
    int status = -1;
    std::string out, err;
};

class Program : public testing::Test {
protected:
    // Runs the program as a shell does; `meanwhile` is a command beside it.
    static Result run(const std::string& arguments, const std::string& environment = "",
                      const std::string& meanwhile = "") {
        const std::string command = meanwhile + "env " + environment + " timeout 60 '" QB_PROGRAM "' " +
                                    arguments + " >out.txt 2>err.txt";
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readFile("out.txt"), readFile("err.txt")};
    }

    // A box of 40 units in `color`, lit by itself, and a scene that moves it right by 20 units a second for
    // four seconds, before a backdrop of one colour.
    static void writeBox(const std::filesystem::path& path, std::array<float, 3> color) {
        QbExportMesh mesh = qbShapeBox({40, 40, 40});
        QbExportMaterial material;
        material.emissive = color;
        mesh.materials.push_back(material);
        std::string error;
        ASSERT_EQ(qbMeshExportSave(mesh, QB_EXPORT_X_TEXT, path, error), 0) << error;
    }
    static void writeScene(const std::filesystem::path& path, const std::string& mesh,
                           std::array<float, 3> zenith) {
        QbExportScene scene;
        scene.name = scene.fileName = "box.lws";
        scene.frameEnd = 100;
        scene.backdrop.zenith = zenith;
        QbExportObject& box = scene.objects.emplace_back();
        box.name = mesh + ":Layer1";
        box.fileName = mesh + ".lwo";
        qbExportPositionBySeconds(scene, box.motion, [](double seconds) {
            return std::array<float, 3>{static_cast<float>(20 * seconds), 0, 0};
        });
        QbExportCamera& camera = scene.cameras.emplace_back();
        camera.name = "Camera";
        qbExportSetPosition(camera.motion, {0, 0, -150});
        std::string error;
        ASSERT_EQ(qbSceneExportSave(scene, path, error), 0) << error;
    }

    TemporaryDirectory directory; // where the program runs
};
