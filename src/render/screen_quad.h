#pragma once

#include <irrlicht/irrlicht.h>

// Two triangles over the whole target, in clip space. Its material writes no depth; the passes set type and
// layers.
class CScreenQuad {
public:
    CScreenQuad();
    virtual void render(irr::video::IVideoDriver* driver);
    virtual irr::video::SMaterial& getMaterial();
    virtual ~CScreenQuad() = default;

private:
    irr::video::S3DVertex vertices_[6];
    irr::video::SMaterial material_;
};
