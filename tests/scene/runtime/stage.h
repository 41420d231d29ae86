#pragma once

#include "engine/engine.h"
#include "scene/export/mesh_shapes.h"
#include "scene/export/quab_writer.h"
#include "support/messages.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>
#include <irrlicht/irrlicht.h>

using irr::core::vector3df;
using Texts = std::vector<std::string>;

// An engine without window or picture, with the messages caught, in a current directory of its own with three
// files: a cube of edge 2 ("box.x"), slidingMesh ("slide.x") and a picture ("spark.png").
class Stage : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Nodes in the scene graph, cameras and all.
    unsigned nodes() const;
    void writeMesh(const char* name, const QbExportMesh& mesh) const;
    void writeBox(const char* name, float edge = 2) const;
    static void writePicture(const char* name);
    // The ids of all three kinds begin at `first`. Items may lack names.
    static int load(QbExportScene show, int slot, int first, int extra = 0, const char* key = "data");

    irr::scene::ISceneManager* smgr = nullptr;
    irr::scene::ICameraSceneNode* camera = nullptr;
    irr::scene::ISceneNode* holder = nullptr;
    TemporaryDirectory directory;
    Messages sink;
    Texts& messages = Messages::texts();
    QbExportScene scene; // frames 0 to 10, 40 ms each
};

// A triangle with the corners (0 0 0), (0 1 0), (`width` 0 0) and the normal (0 0 -1).
QbExportMesh triangleMesh(float width);
// One that moves along X by one unit a frame, keys at 0 and 10. The engine counts ten frames there, 0 to 9.
QbExportMesh slidingMesh();

QbExportObject object(const char* name, const char* file);
// A channel that grows by `step` a frame.
QbExportChannel ramp(float first, float step);
// The surfaces of the objects with that file.
QbExportSceneObject surfacesOf(const char* file, size_t count);
