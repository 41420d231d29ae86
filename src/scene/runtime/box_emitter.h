#pragma once

#include <cstdint>
#include <irrlicht/irrlicht.h>
#include <vector>

// Irrlicht's box emitter with two additions: a total number of particles, and a clock that a rate of 0 sets
// back.
//
// Everything is 0 at first. A maximum below its minimum counts as the minimum.
class QbBoxEmitter final : public irr::scene::IParticleBoxEmitter {
public:
    // What one particle system takes: the engine leaves out the rest.
    static constexpr uint32_t PARTICLES_MAX = 16250;
    static constexpr int32_t NO_LIMIT = -1;

    explicit QbBoxEmitter(irr::IRandomizer* randomizer); // holds it
    ~QbBoxEmitter() override;
    QbBoxEmitter(const QbBoxEmitter&) = delete;
    QbBoxEmitter& operator=(const QbBoxEmitter&) = delete;

    // Particles that are ever emitted, until the count is reset; NO_LIMIT at first.
    void setParticleLimit(int32_t limit) { limit_ = limit; }
    void resetParticleCount() { count_ = 0; }

    // The array stays until the next call.
    irr::s32 emitt(irr::u32 now, irr::u32 timeSinceLastCall, irr::scene::SParticle*& outArray) override;

    void setBox(const irr::core::aabbox3df& box) override { box_ = box; }
    void setDirection(const irr::core::vector3df& direction) override { direction_ = direction; }
    void setMinParticlesPerSecond(irr::u32 rate) override { minRate_ = rate; }
    // 0 also forgets the time gone by, so that nothing has piled up when the rate returns.
    void setMaxParticlesPerSecond(irr::u32 rate) override;
    void setMinStartColor(const irr::video::SColor& color) override { minColor_ = color; }
    void setMaxStartColor(const irr::video::SColor& color) override { maxColor_ = color; }
    void setMaxStartSize(const irr::core::dimension2df& size) override { maxSize_ = size; }
    void setMinStartSize(const irr::core::dimension2df& size) override { minSize_ = size; }
    void setMinLifeTime(irr::u32 milliseconds) override { minLife_ = milliseconds; }
    void setMaxLifeTime(irr::u32 milliseconds) override { maxLife_ = milliseconds; }
    void setMaxAngleDegrees(irr::s32 angle) override { maxAngle_ = angle; }

    const irr::core::aabbox3df& getBox() const override { return box_; }
    const irr::core::vector3df& getDirection() const override { return direction_; }
    irr::u32 getMinParticlesPerSecond() const override { return minRate_; }
    irr::u32 getMaxParticlesPerSecond() const override { return maxRate_; }
    const irr::video::SColor& getMinStartColor() const override { return minColor_; }
    const irr::video::SColor& getMaxStartColor() const override { return maxColor_; }
    const irr::core::dimension2df& getMaxStartSize() const override { return maxSize_; }
    const irr::core::dimension2df& getMinStartSize() const override { return minSize_; }
    irr::u32 getMinLifeTime() const override { return minLife_; }
    irr::u32 getMaxLifeTime() const override { return maxLife_; }
    irr::s32 getMaxAngleDegrees() const override { return maxAngle_; }

private:
    void addTime(irr::u32 milliseconds);
    float randomRate() const;
    uint32_t takeDue();
    irr::core::vector3df randomPlace() const;
    irr::core::vector3df randomVector() const;
    irr::u32 randomEnd(irr::u32 now) const;
    irr::scene::SParticle createParticle(irr::u32 now) const;

    irr::IRandomizer* randomizer_;
    int32_t limit_ = NO_LIMIT;
    int32_t count_ = 0; // emitted under a limit
    irr::u32 time_ = 0; // milliseconds since the last emission
    irr::core::aabbox3df box_{0, 0, 0, 0, 0, 0};
    irr::core::vector3df direction_;
    irr::u32 minRate_ = 0, maxRate_ = 0; // particles a second
    irr::u32 minLife_ = 0, maxLife_ = 0;
    irr::s32 maxAngle_ = 0;
    irr::video::SColor minColor_{0}, maxColor_{0};
    irr::core::dimension2df minSize_{0, 0}, maxSize_{0, 0};
    std::vector<irr::scene::SParticle> particles_;
};
