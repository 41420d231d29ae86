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

StageMesh stageQuad(vector3df corner, vector3df right, vector3df up) {
    const vector3df normal = up.crossProduct(right).normalize();
    StageMesh mesh;
    mesh.vertices = {vertexAt(corner, normal, 0, 1), vertexAt(corner + up, normal, 0, 0),
                     vertexAt(corner + up + right, normal, 1, 0), vertexAt(corner + right, normal, 1, 1)};
    mesh.indices = {0, 1, 2, 0, 2, 3};
    return mesh;
}

StageMesh stageSphere(vector3df center, float radius) {
    enum { SEGMENTS = 24, RINGS = 12 };
    StageMesh mesh;
    for (int i = 0; i < (SEGMENTS + 1) * (RINGS + 1); ++i) {
        const float u = static_cast<float>(i % (SEGMENTS + 1)) / SEGMENTS;
        const float v = static_cast<float>(i / (SEGMENTS + 1)) / RINGS;
        vector3df normal(0, std::cos(v * core::PI), std::sin(v * core::PI));
        normal.rotateXZBy(u * 360 - 90);
        mesh.vertices.push_back(vertexAt(center + normal * radius, normal, u, v));
        if (u == 1 || v == 1) continue;
        for (const int corner : {i, i + 1, i + SEGMENTS + 1, i + 1, i + SEGMENTS + 2, i + SEGMENTS + 1})
            mesh.indices.push_back(static_cast<u16>(corner));
    }
    return mesh;
}

// --- surfaces -------------------------------------------------------------------------------------------

StageSurface::StageSurface() {
    values_.name = "surface";
    color(1, 1, 1).value(QB_SURFACE_DIFFUSE, 1);
}

StageSurface& StageSurface::color(float r, float g, float b) {
    float* rgb = values_.params[QB_SURFACE_BASE_COLOR].color;
    for (const float channel : {r, g, b})
        *rgb++ = channel;
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

void RenderStage::addTexture(const char* name, int size, const TexelOf& texel) {
    video::IVideoDriver* driver = qbEngineGet()->driver;
    const auto edge = static_cast<u32>(size);
    video::IImage* image = driver->createImage(video::ECF_A8R8G8B8, core::dimension2du(edge, edge));
    for (int i = 0; i < size * size; ++i)
        image->setPixel(static_cast<u32>(i % size), static_cast<u32>(i / size),
                        video::SColor(texel(i % size, i / size)));
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

static vector3df toIrrlicht(QbRef3 v) {
    return vector3df(static_cast<f32>(v.x), static_cast<f32>(v.y), static_cast<f32>(v.z));
}

void RenderStage::addLight(const QbRefLight& light) {
    static const video::E_LIGHT_TYPE kinds[] = {video::ELT_DIRECTIONAL, video::ELT_POINT, video::ELT_SPOT};
    const int id = lights_++;
    qbLightCreate(id);
    qbLightSetSpot(id, static_cast<float>(light.innerCone), static_cast<float>(light.outerCone));
    qbLightSetRange(id, static_cast<float>(light.radius));
    scene::ILightSceneNode* shown = qbVisibleLightNode(id);
    shown->setPosition(toIrrlicht(light.position));
    shown->setRotation(toIrrlicht(light.direction).getHorizontalAngle());
    const vector3df color = toIrrlicht(light.color);
    shown->getLightData().DiffuseColor = video::SColorf(color.X, color.Y, color.Z);
    shown->setLightType(kinds[static_cast<size_t>(light.kind)]);
}

static QbRefPicture grabbed(1, 1);

static void grab() {
    int width = 0, height = 0;
    qbEngineFrameSize(&width, &height);
    grabbed = QbRefPicture(width, height);
    std::vector<uint8_t> rgb(grabbed.texels.size() * 3);
    ASSERT_EQ(qbEngineReadPixels(rgb.data(), static_cast<uint32_t>(rgb.size()), &width, &height), 0);
    for (size_t i = 0; i < grabbed.texels.size(); ++i)
        grabbed.texels[i] = {rgb[i * 3] / 255.0, rgb[i * 3 + 1] / 255.0, rgb[i * 3 + 2] / 255.0, 1};
}

void RenderStage::draw() {
    qbEngineSetFrameHook(grab);
    ASSERT_EQ(qbEngineIsOver(), 0);
    qbEngineDrawFrame();
    qbEngineSetFrameHook(nullptr);
}

QbRefPicture RenderStage::read(video::ITexture* target) const {
    const core::dimension2du size = target->getSize();
    QbRefPicture picture(static_cast<int>(size.Width), static_cast<int>(size.Height));
    std::vector<float> rgba(picture.texels.size() * 4);
    qbTargetRead(target, rgba.data());
    for (size_t i = 0; i < picture.texels.size(); ++i)
        picture.texels[i] = {rgba[i * 4], rgba[i * 4 + 1], rgba[i * 4 + 2], rgba[i * 4 + 3]};
    return picture;
}

const QbRefPicture& RenderStage::window() const {
    return grabbed;
}
