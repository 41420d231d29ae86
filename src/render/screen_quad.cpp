#include "render/screen_quad.h"

#include "engine/engine.h"
#include "materials/shader_gpu.h"
#include "render/passes.h"

using namespace irr;

CScreenQuad::CScreenQuad() {
    static const struct {
        float x, y, u, v;
    } corners[] = {{-1, -1, 0, 1}, {-1, 1, 0, 0}, {1, 1, 1, 0}, {1, -1, 1, 1}, {-1, -1, 0, 1}, {1, 1, 1, 0}};
    for (size_t i = 0; i < 6; ++i)
        vertices_[i] = video::S3DVertex(corners[i].x, corners[i].y, 0.0F, 0.0F, 0.0F, 1.0F, video::SColor(0),
                                        corners[i].u, corners[i].v);
    material_.Wireframe = false;
    material_.Lighting = false;
    material_.ZWriteEnable = false;
}

void CScreenQuad::render(video::IVideoDriver* driver) {
    static const u16 indices[] = {0, 1, 2, 3, 4, 5};
    driver->setMaterial(material_);
    driver->setTransform(video::ETS_WORLD, core::IdentityMatrix);
    driver->drawVertexPrimitiveList(vertices_, 6, indices, 2, video::EVT_STANDARD, scene::EPT_TRIANGLES,
                                    video::EIT_16BIT);
}

video::SMaterial& CScreenQuad::getMaterial() {
    return material_;
}

void qbLppDrawQuad(QbEngine* engine, CScreenQuad* quad, const QbIrrShader* shader) {
    qbShaderApply(shader, &quad->getMaterial());
    quad->render(engine->driver);
}
