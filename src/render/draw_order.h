#pragma once

#include <irrlicht/irrlicht.h>
#include <memory>
#include <vector>

struct QbEngine;

// The order in which the frame draws the solid objects: those of one texture together, the textures in the
// order of their first object, within a texture by id. Irrlicht alone orders by where textures lie in memory,
// so that pixels which two objects share would differ from run to run.
//
// Irrlicht looks at the first texture of each node's first material when the node registers. From `impose` to
// `restore` stand-ins are in their place, which lie in memory as the objects are to be drawn; nothing may be
// drawn meanwhile.
class QbDrawOrder {
public:
    QbDrawOrder();
    QbDrawOrder(const QbDrawOrder&) = delete;
    QbDrawOrder& operator=(const QbDrawOrder&) = delete;
    ~QbDrawOrder();
    void impose(QbEngine* engine);
    void restore(); // harmless when nothing is imposed

private:
    class StandIn;
    struct Entry {
        irr::scene::ISceneNode* node;
        irr::video::ITexture* texture;
        irr::u32 id;
        irr::u32 group; // id of the first object with this texture
    };

    void groupByTexture();

    std::unique_ptr<StandIn[]> standIns_;
    std::vector<Entry> entries_;
};
