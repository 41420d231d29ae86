#include "render/stage.h"

#include "engine/camera.h"
#include "engine/lights.h"
#include "engine/render_target.h"
#include "render/renderer.h"
#include "scene/runtime/objects.h"

#include <cmath>
#include <memory>

using namespace irr;
using core::vector3df;

// --- meshes ---------------------------------------------------------------------------------------------

static video::S3DVertex vertexAt(vector3df position, vector3df normal, float u, float v) {
    return video::S3DVertex(position, normal, video::SColor(0xFFFFFFFF), core::vector2df(u, v));
}

static void append(StageMesh& mesh, const StageMesh& part) {
    const auto base = static_cast<u16>(mesh.vertices.size());
    mesh.vertices.insert(mesh.vertices.end(), part.vertices.begin(), part.vertices.end());
    for (const u16 index : part.indices)
        mesh.indices.push_back(static_cast<u16>(base + index));
}

StageMesh stageQuad(vector3df corner, vector3df right, vector3df up) {
    const vector3df normal = up.crossProduct(right).normalize();
    StageMesh mesh;
    mesh.vertices = {vertexAt(corner, normal, 0, 1), vertexAt(corner + up, normal, 0, 0),
                     vertexAt(corner + up + right, normal, 1, 0), vertexAt(corner + right, normal, 1, 1)};
    mesh.indices = {0, 1, 2, 0, 2, 3};
    return mesh;
}

StageMesh stageBox(vector3df center, vector3df size) {
    const vector3df h = size * 0.5F;
    const vector3df x(size.X, 0, 0), y(0, size.Y, 0), z(0, 0, size.Z);
    const vector3df low = center - h;
    StageMesh mesh;
    append(mesh, stageQuad(low, x, y));          // -Z
    append(mesh, stageQuad(low + x + z, -x, y)); // +Z
    append(mesh, stageQuad(low + z, -z, y));     // -X
    append(mesh, stageQuad(low + x, z, y));      // +X
    append(mesh, stageQuad(low + y, x, z));      // +Y
    append(mesh, stageQuad(low + z, x, -z));     // -Y
    return mesh;
}

static void appendGridIndices(StageMesh& mesh, int columns, int rows) {
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column) {
            const int a = row * (columns + 1) + column;
            const int b = a + columns + 1;
            for (const int index : {a, a + 1, b, a + 1, b + 1, b})
                mesh.indices.push_back(static_cast<u16>(index));
        }
}

StageMesh stageSphere(vector3df center, float radius, int segments, int rings) {
    StageMesh mesh;
    for (int ring = 0; ring <= rings; ++ring)
        for (int segment = 0; segment <= segments; ++segment) {
            const float v = static_cast<float>(ring) / static_cast<float>(rings);
            const float u = static_cast<float>(segment) / static_cast<float>(segments);
            const float latitude = v * core::PI;
            const float longitude = u * 2.0F * core::PI;
            const vector3df normal(std::sin(latitude) * std::cos(longitude), std::cos(latitude),
                                   std::sin(latitude) * std::sin(longitude));
            mesh.vertices.push_back(vertexAt(center + normal * radius, normal, u, v));
        }
    appendGridIndices(mesh, segments, rings);
    return mesh;
}

StageMesh stageHills(vector3df center, float size, float height, int cells) {
    StageMesh mesh;
    const float wave = 2.0F * core::PI / size;
    for (int row = 0; row <= cells; ++row)
        for (int column = 0; column <= cells; ++column) {
            const float u = static_cast<float>(column) / static_cast<float>(cells);
            const float v = static_cast<float>(row) / static_cast<float>(cells);
            const float x = (u - 0.5F) * size;
            const float z = (0.5F - v) * size;
            const float y = height * std::sin(wave * x) * std::cos(wave * z);
            const vector3df normal(-height * wave * std::cos(wave * x) * std::cos(wave * z), 1.0F,
                                   height * wave * std::sin(wave * x) * std::sin(wave * z));
            mesh.vertices.push_back(
                vertexAt(center + vector3df(x, y, z), vector3df(normal).normalize(), u, v));
        }
    appendGridIndices(mesh, cells, cells);
    return mesh;
}

// --- surfaces -------------------------------------------------------------------------------------------

StageSurface::StageSurface() {
    values_.name = "surface";
    color(1, 1, 1).value(QB_SURFACE_DIFFUSE, 1);
}

StageSurface& StageSurface::color(float r, float g, float b) {
    QbSurfaceParamValue& param = values_.params[QB_SURFACE_BASE_COLOR];
    param.kind = 0;
    param.color[0] = r;
    param.color[1] = g;
    param.color[2] = b;
    return *this;
}

StageSurface& StageSurface::value(QbSurfaceSlot slot, float value) {
    values_.params[slot].kind = 1;
    values_.params[slot].color[0] = value;
    return *this;
}

StageSurface& StageSurface::integer(QbSurfaceSlot slot, int32_t value) {
    values_.params[slot].kind = 2;
    values_.params[slot].integer = value;
    return *this;
}

StageSurface& StageSurface::image(QbSurfaceSlot slot, const char* texture) {
    values_.params[slot].textureImage = texture;
    return *this;
}

StageSurface& StageSurface::shader(const char* file) {
    values_.hasShader = 1;
    values_.shader.shaderName = file;
    return *this;
}

// --- stage ----------------------------------------------------------------------------------------------

void RenderStage::open(int width, int height) {
    QbSetup setup;
    setup.width = width;
    setup.height = height;
    setup.cameraNear = 1.0F;
    setup.cameraFar = 1000.0F;
    qbEngineSetRenderer(qbRendererOps());
    ASSERT_EQ(qbEngineOpen(&setup), 0);
    ASSERT_NE(state(), nullptr);
}

void RenderStage::clear() {
    while (objects_ > 0)
        qbObjectFree(objects_--);
    while (lights_ > 0)
        qbLightFree(--lights_);
}

void RenderStage::TearDown() {
    clear();
    qbEngineClose();
    qbEngineSetRenderer(nullptr);
}

void RenderStage::addTexture(const char* name, int width, int height, const TexelOf& texel) {
    video::IVideoDriver* driver = qbEngineGet()->driver;
    video::IImage* image = driver->createImage(
        video::ECF_A8R8G8B8, core::dimension2du(static_cast<u32>(width), static_cast<u32>(height)));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image->setPixel(static_cast<u32>(x), static_cast<u32>(y), video::SColor(texel(x, y)));
    driver->addTexture(name, image);
    image->drop();
}

static scene::SMesh* toIrrlicht(const StageMesh& mesh) {
    auto* buffer = new scene::SMeshBuffer();
    buffer->append(mesh.vertices.data(), static_cast<u32>(mesh.vertices.size()), mesh.indices.data(),
                   static_cast<u32>(mesh.indices.size()));
    buffer->recalculateBoundingBox();
    auto* result = new scene::SMesh();
    result->addMeshBuffer(buffer);
    result->recalculateBoundingBox();
    buffer->drop();
    return result;
}

int RenderStage::add(const StageMesh& mesh, const StageSurface& surface) {
    const int id = ++objects_;
    scene::SMesh* plain = toIrrlicht(mesh);
    auto* animated = new scene::SAnimatedMesh(plain);
    plain->drop();
    auto object = std::make_unique<QbObjectRec>();
    object->id = id;
    object->isStatic = 1;
    object->mesh = animated;
    object->node = qbEngineGet()->smgr->addMeshSceneNode(animated);
    object->node->setID(id);
    EXPECT_EQ(qbIdListAdd(qbEngineGet()->objects, id, object.get()), 0);
    static_cast<void>(object.release());
    qbObjectSetSurfaces(id, 1, &surface.values(), 0);
    animated->drop();
    return id;
}

scene::ISceneNode* RenderStage::node(int id) const {
    return qbObjectActiveNode(static_cast<QbObjectRec*>(qbIdListGet(qbEngineGet()->objects, id)));
}

void RenderStage::lookAt(vector3df eye, vector3df target, float fovY) {
    scene::ICameraSceneNode* camera = qbEngineGet()->camera;
    camera->setPosition(eye);
    camera->setTarget(target);
    camera->setUpVector(vector3df(0, 1, 0));
    camera->setFOV(fovY);
    camera->updateAbsolutePosition();
}

scene::ILightSceneNode* RenderStage::addLight() {
    qbLightCreate(lights_++);
    return qbVisibleLightNode(lights_ - 1);
}

scene::ILightSceneNode* RenderStage::addPoint(vector3df position, float range, video::SColorf color) {
    scene::ILightSceneNode* light = addLight();
    light->setPosition(position);
    light->getLightData().DiffuseColor = color;
    qbLightSetPoint(lights_ - 1);
    qbLightSetRange(lights_ - 1, range);
    return light;
}

scene::ILightSceneNode* RenderStage::addDistant(vector3df direction, video::SColorf color) {
    scene::ILightSceneNode* light = addLight();
    light->setRotation(direction.getHorizontalAngle());
    light->getLightData().DiffuseColor = color;
    qbLightSetDirectional(lights_ - 1);
    return light;
}

scene::ILightSceneNode* RenderStage::addSpot(vector3df position, vector3df direction, float range,
                                             float inner, float outer, video::SColorf color) {
    scene::ILightSceneNode* light = addPoint(position, range, color);
    light->setRotation(direction.getHorizontalAngle());
    qbLightSetSpot(lights_ - 1, inner, outer);
    qbLightSetRange(lights_ - 1, range);
    return light;
}

void RenderStage::ambient(uint32_t color) {
    qbEngineSetAmbient(color);
}

static StagePicture grabbed;

static void grab() {
    qbEngineFrameSize(&grabbed.width, &grabbed.height);
    const auto count = static_cast<size_t>(grabbed.width) * static_cast<size_t>(grabbed.height);
    std::vector<uint8_t> rgb(count * 3);
    ASSERT_EQ(
        qbEngineReadPixels(rgb.data(), static_cast<uint32_t>(rgb.size()), &grabbed.width, &grabbed.height),
        0);
    grabbed.rgba.assign(count * 4, 1.0F);
    for (size_t i = 0; i < count * 3; ++i)
        grabbed.rgba[i / 3 * 4 + i % 3] = static_cast<float>(rgb[i]) / 255.0F;
}

void RenderStage::draw() {
    qbEngineSetFrameHook(grab);
    ASSERT_EQ(qbEngineIsOver(), 0);
    qbEngineDrawFrame();
    qbEngineSetFrameHook(nullptr);
}

StagePicture RenderStage::read(video::ITexture* target) const {
    StagePicture picture;
    picture.width = static_cast<int>(target->getSize().Width);
    picture.height = static_cast<int>(target->getSize().Height);
    picture.rgba.resize(static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height) * 4);
    qbTargetRead(target, picture.rgba.data());
    return picture;
}

StagePicture RenderStage::window() const {
    return grabbed;
}

std::array<float, 4> StagePicture::at(int x, int y) const {
    const size_t i = (static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * 4;
    return {rgba.at(i), rgba.at(i + 1), rgba.at(i + 2), rgba.at(i + 3)};
}
