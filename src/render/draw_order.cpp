#include "render/draw_order.h"

#include "engine/engine.h"
#include "scene/runtime/objects.h"

#include <algorithm>
#include <functional>
#include <utility>

using namespace irr;

enum { STAND_INS = 1000 /* as many as there are object ids */ };

// Never asked for anything but its address.
class QbDrawOrder::StandIn : public video::ITexture {
public:
    StandIn() : ITexture("draw order") {}
    void* lock(video::E_TEXTURE_LOCK_MODE, u32) override { return nullptr; }
    void unlock() override {}
    const core::dimension2d<u32>& getOriginalSize() const override { return size_; }
    const core::dimension2d<u32>& getSize() const override { return size_; }
    video::E_DRIVER_TYPE getDriverType() const override { return video::EDT_NULL; }
    video::ECOLOR_FORMAT getColorFormat() const override { return video::ECF_A8R8G8B8; }
    u32 getPitch() const override { return 0; }
    void regenerateMipMapLevels(void*) override {}

private:
    core::dimension2d<u32> size_;
};

QbDrawOrder::QbDrawOrder() : standIns_(new StandIn[STAND_INS]) {
    entries_.reserve(STAND_INS);
}

QbDrawOrder::~QbDrawOrder() = default;

void QbDrawOrder::groupByTexture() {
    std::sort(entries_.begin(), entries_.end(), [](const Entry& a, const Entry& b) {
        if (a.texture != b.texture) return std::less<>()(a.texture, b.texture);
        return a.id < b.id;
    });
    for (size_t i = 0; i < entries_.size(); ++i) {
        const bool first = i == 0 || entries_[i].texture != entries_[i - 1].texture;
        entries_[i].group = first ? entries_[i].id : entries_[i - 1].group;
    }
    std::sort(entries_.begin(), entries_.end(), [](const Entry& a, const Entry& b) {
        return std::pair(a.group, a.id) < std::pair(b.group, b.id);
    });
}

void QbDrawOrder::impose(QbEngine* engine) {
    entries_.clear();
    const int capacity = std::min<int>(qbIdListCapacity(engine->objects), STAND_INS);
    for (int id = 0; id < capacity; ++id) {
        auto* object = static_cast<QbObjectRec*>(qbIdListGet(engine->objects, id));
        scene::ISceneNode* node = object ? qbObjectActiveNode(object) : nullptr;
        if (!node || node->getMaterialCount() == 0) continue;
        entries_.push_back({node, node->getMaterial(0).getTexture(0), static_cast<u32>(id), 0});
    }
    groupByTexture();
    for (size_t i = 0; i < entries_.size(); ++i)
        entries_[i].node->getMaterial(0).setTexture(0, &standIns_[i]);
}

void QbDrawOrder::restore() {
    for (const Entry& entry : entries_)
        entry.node->getMaterial(0).setTexture(0, entry.texture);
    entries_.clear();
}
