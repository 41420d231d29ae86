#include "scene/runtime/box_emitter.h"

#include <algorithm>
#include <limits>

using irr::f32;
using irr::u32;
using irr::core::vector3df;
using irr::scene::SParticle;

// Of the maximum rate, in one call.
static const uint64_t SECONDS_AT_ONCE = 4;

QbBoxEmitter::QbBoxEmitter(irr::IRandomizer* randomizer) : randomizer_(randomizer) {
    randomizer_->grab();
}

QbBoxEmitter::~QbBoxEmitter() {
    randomizer_->drop();
}

void QbBoxEmitter::setMaxParticlesPerSecond(u32 rate) {
    maxRate_ = rate;
    if (rate == 0) time_ = 0;
}

// --- how many -------------------------------------------------------------------------------------------

void QbBoxEmitter::addTime(u32 milliseconds) {
    // A timer that was set back gives a step of weeks.
    if (milliseconds > static_cast<u32>(std::numeric_limits<int32_t>::max())) return;
    time_ += std::min(milliseconds, std::numeric_limits<u32>::max() - time_);
}

float QbBoxEmitter::randomRate() const {
    const auto lowest = static_cast<f32>(minRate_);
    if (maxRate_ <= minRate_) return lowest;
    return lowest + randomizer_->frand() * static_cast<f32>(maxRate_ - minRate_);
}

// Particles due by now, taken off the limit.
uint32_t QbBoxEmitter::takeDue() {
    const f32 rate = randomRate();
    if (limit_ != NO_LIMIT && count_ >= limit_) return 0;
    if (rate <= 0.0F) return 0;
    const f32 interval = 1000.0F / rate;
    const auto time = static_cast<f32>(time_);
    if (!(time > interval)) return 0;
    time_ = 0;
    const uint64_t most = SECONDS_AT_ONCE * std::max(minRate_, maxRate_);
    uint64_t due = std::min(static_cast<uint64_t>(time / interval + 0.5F), most);
    if (limit_ != NO_LIMIT) {
        due = std::min(due, static_cast<uint64_t>(limit_ - count_));
        count_ += static_cast<int32_t>(due);
    }
    return static_cast<uint32_t>(std::min<uint64_t>(due, PARTICLES_MAX));
}

// --- the particles --------------------------------------------------------------------------------------

vector3df QbBoxEmitter::randomPlace() const {
    const vector3df extent = box_.getExtent();
    vector3df place = box_.MinEdge;
    place.X += randomizer_->frand() * extent.X;
    place.Y += randomizer_->frand() * extent.Y;
    place.Z += randomizer_->frand() * extent.Z;
    return place;
}

vector3df QbBoxEmitter::randomVector() const {
    vector3df vector = direction_;
    if (maxAngle_ == 0) return vector;
    const auto angle = static_cast<f32>(maxAngle_);
    vector.rotateXYBy(randomizer_->frand() * angle);
    vector.rotateYZBy(randomizer_->frand() * angle);
    vector.rotateXZBy(randomizer_->frand() * angle);
    return vector;
}

u32 QbBoxEmitter::randomEnd(u32 now) const {
    uint64_t end = uint64_t{now} + minLife_;
    if (maxLife_ > minLife_) end += static_cast<u32>(randomizer_->rand()) % (maxLife_ - minLife_);
    return static_cast<u32>(std::min<uint64_t>(end, std::numeric_limits<u32>::max()));
}

SParticle QbBoxEmitter::createParticle(u32 now) const {
    SParticle particle;
    particle.pos = randomPlace();
    particle.vector = particle.startVector = randomVector();
    particle.startTime = now;
    particle.endTime = randomEnd(now);
    particle.startColor = minColor_;
    if (!(minColor_ == maxColor_))
        particle.startColor = minColor_.getInterpolated(maxColor_, randomizer_->frand());
    particle.color = particle.startColor;
    particle.startSize = minSize_;
    if (minSize_ != maxSize_) particle.startSize = minSize_.getInterpolated(maxSize_, randomizer_->frand());
    particle.size = particle.startSize;
    return particle;
}

irr::s32 QbBoxEmitter::emitt(u32 now, u32 timeSinceLastCall, SParticle*& outArray) {
    addTime(timeSinceLastCall);
    const uint32_t due = takeDue();
    particles_.clear();
    for (uint32_t i = 0; i < due; ++i)
        particles_.push_back(createParticle(now));
    outArray = particles_.data();
    return static_cast<irr::s32>(due);
}
