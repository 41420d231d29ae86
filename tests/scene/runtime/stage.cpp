#include "stage.h"

#include "scene/runtime/fx_emitters.h"
#include "scene/runtime/objects.h"
#include "scene/runtime/slots.h"

void Stage::SetUp() {
    irr::SIrrlichtCreationParameters wishes;
    wishes.DriverType = irr::video::EDT_NULL;
    wishes.LoggingLevel = irr::ELL_NONE;
    QbEngine* engine = qbEngineGet();
    *engine = {};
    engine->device = irr::createDeviceEx(wishes);
    ASSERT_NE(engine->device, nullptr);
    engine->driver = engine->device->getVideoDriver();
    engine->smgr = smgr = engine->device->getSceneManager();
    engine->camera = camera = smgr->addCameraSceneNode();
    engine->cameraHolder = holder = smgr->addEmptySceneNode();
    for (QbIdList** list : {&engine->objects, &engine->lights, &engine->fxemitters})
        *list = qbIdListCreate(1000);
    qbSceneSetReportLoadErrors(1);
    writeBox("box.x");
    writeMesh("slide.x", slidingMesh());
    writePicture("spark.png");
    scene.frameEnd = 10;
}

void Stage::TearDown() {
    for (int slot = 0; slot < QB_SCENE_SLOTS; slot++)
        qbSceneFree(slot);
    for (int id = 0; id < 1000; id++) {
        qbObjectFree(id);
        qbFxEmitterFree(id);
    }
    QbEngine* engine = qbEngineGet();
    for (QbIdList* list : {engine->objects, engine->lights, engine->fxemitters})
        qbIdListFree(list);
    engine->device->drop();
    *engine = {};
}

unsigned Stage::nodes() const {
    irr::core::array<irr::scene::ISceneNode*> all;
    smgr->getSceneNodesFromType(irr::scene::ESNT_ANY, all);
    return all.size() - 1; // the root
}

// --- files ----------------------------------------------------------------------------------------------

QbExportMesh triangleMesh(float width) {
    QbExportMesh mesh;
    mesh.vertices.resize(3);
    mesh.vertices[1].position = {0, 1, 0};
    mesh.vertices[2].position = {width, 0, 0};
    for (QbExportVertex& vertex : mesh.vertices)
        vertex.normal = {0, 0, -1};
    mesh.triangles.resize(1);
    mesh.triangles[0].corners = {0, 1, 2};
    return mesh;
}

QbExportMesh slidingMesh() {
    QbExportMesh mesh = triangleMesh(1);
    QbExportBone& bone = mesh.bones.emplace_back();
    bone.name = "bone";
    bone.weights = {{0, 1}, {1, 1}, {2, 1}};
    bone.keys.resize(2);
    bone.keys[1].tick = 10;
    bone.keys[1].position = {10, 0, 0};
    return mesh;
}

void Stage::writeMesh(const char* name, const QbExportMesh& mesh) const {
    directory.write(name); // makes its directory
    std::string error;
    EXPECT_EQ(qbMeshExportSave(mesh, QB_EXPORT_X_TEXT, name, error), 0) << error;
}

void Stage::writeBox(const char* name, float edge) const {
    writeMesh(name, qbShapeBox({edge, edge, edge}));
}

void Stage::writePicture(const char* name) {
    irr::video::IVideoDriver* driver = qbEngineGet()->driver;
    irr::video::IImage* image = driver->createImage(irr::video::ECF_R8G8B8, irr::core::dimension2du(4, 4));
    EXPECT_TRUE(driver->writeImageToFile(image, name));
    image->drop();
}

// --- scenes ---------------------------------------------------------------------------------------------

int Stage::load(QbExportScene show, int slot, int first, int extra, const char* key) {
    auto name = [number = 0](auto& items) mutable {
        for (auto& item : items)
            if (item.name.empty()) item.name = "item" + std::to_string(number++);
    };
    name(show.lights);
    name(show.cameras);
    name(show.emitters);
    show.name = show.fileName = "show.lws";
    std::string error;
    EXPECT_EQ(qbSceneExportSave(show, "show.quab", error), 0) << error;
    return qbSceneLoad("show.quab", slot, first, first, first, 0, key, extra);
}

QbExportObject object(const char* name, const char* file) {
    QbExportObject object;
    object.name = name;
    object.fileName = file;
    return object;
}

QbExportChannel ramp(float first, float step) {
    QbExportChannel channel;
    for (int frame = 0; frame <= 10; frame++)
        channel.samples.push_back(first + step * static_cast<float>(frame));
    return channel;
}

QbExportSceneObject surfacesOf(const char* file, size_t count) {
    QbExportSceneObject object;
    object.name = object.fileName = file;
    object.surfaces.resize(count);
    for (size_t i = 0; i < count; i++)
        object.surfaces[i].name = "s" + std::to_string(i);
    return object;
}
