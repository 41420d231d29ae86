#include "scene/runtime/fx_emitters.h"

#include "scene/runtime/box_emitter.h"
#include "scene/runtime/objects.h"
#include "scene/runtime/slots.h"
#include "stage.h"

#include <climits>
#include <cmath>

using namespace irr;
using scene::SParticle;

namespace {

class FxEmitters : public Stage {
protected:
    static QbFxEmitterRec* record(int id) {
        return static_cast<QbFxEmitterRec*>(qbIdListGet(qbEngineGet()->fxemitters, id));
    }
    static QbBoxEmitter* boxEmitter(int id = 0) {
        return static_cast<QbBoxEmitter*>(record(id)->node->getEmitter());
    }
    // Emitter 0 anew.
    static void makeBox(float rate, int limit = -1) {
        qbFxEmitterFree(0);
        qbFxEmitterCreateBox(0, "spark.png", 2, 1e5F, 0, 1, 1, 1);
        qbFxEmitterSetLimit(0, limit);
        qbFxEmitterSetBirthRate(0, rate);
    }
    // What emitter 0 gives birth to in one frame.
    std::vector<SParticle> emit(u32 milliseconds) {
        SParticle* first = nullptr;
        const s32 count = record(0)->node->getEmitter()->emitt(now += milliseconds, milliseconds, first);
        return {first, first + count};
    }
    int births(int frames, u32 milliseconds) {
        size_t sum = 0;
        for (int i = 0; i < frames; i++)
            sum += emit(milliseconds).size();
        return static_cast<int>(sum);
    }

private:
    u32 now = 0;
};

} // namespace

TEST_F(FxEmitters, EmitByTheRate) {
    // Rate, frames of so many milliseconds, births: whenever more than 1000 / rate have gone by.
    const float cases[][4] = {
        {7, 100, 40, 25},    // every fourth frame: 142 ms
        {7.9F, 100, 40, 25}, // cut to 7, but 8.69 to 8: 142 ms or 125 ms to wait
        {7, 30, 300, 60},    // 2.1 a frame
        {1, 9, 500, 6},      // 1.5 in two of three frames
        {100, 50, 40, 200},  // 100 to 110 a second: 4 in 40 ms
        {7, 1, 60000, 28},   // four seconds' worth at the most
        {0.9F, 20, 5000, 0}, {-1e30F, 20, 5000, 0}, {NAN, 20, 5000, 0},
    };
    for (const auto& [rate, frames, ms, count] : cases) {
        makeBox(rate);
        EXPECT_EQ(births(static_cast<int>(frames), static_cast<u32>(ms)), static_cast<int>(count)) << rate;
    }
    makeBox(1000);
    EXPECT_NEAR(births(10, 40), 422, 22) << "1000 to 1100 a second";
}

TEST_F(FxEmitters, StopAtTheirLimitForGood) {
    for (const auto& [limit, count] : {std::pair(10, 10), {0, 0}, {-1, 400}, {INT_MIN, 0}}) {
        makeBox(100, limit);
        EXPECT_EQ(births(100, 40), count) << limit;
    }
    // What no particle system has room for counts as well.
    makeBox(1e6F, 40001);
    EXPECT_EQ(births(9, 40), QbBoxEmitter::PARTICLES_MAX + 1);
    boxEmitter()->resetParticleCount();
    EXPECT_EQ(births(1, 60000), QbBoxEmitter::PARTICLES_MAX);
}

TEST_F(FxEmitters, DoNotBurstAfterSilence) {
    makeBox(7);
    for (const float silent : {0.0F, 0.5F}) {
        for (int i = 0; i < 250; i++) {
            qbFxEmitterSetBirthRate(0, silent);
            births(1, 40);
        }
        qbFxEmitterSetBirthRate(0, silent);
        qbFxEmitterSetBirthRate(0, 7);
        EXPECT_EQ(births(3, 40), 0);
        EXPECT_EQ(births(1, 40), 1);
    }
    EXPECT_EQ(births(1, 0xFFFFFFF0U), 0) << "a timer that was set back";
}

TEST_F(FxEmitters, SpreadTheirParticlesWithinTheRanges) {
    qbFxEmitterCreateBox(0, "spark.png", 2, 1000.9F, 22.5F, 10, 0, 20);
    qbFxEmitterSetVelocity(0, 0, 500, 0);
    qbFxEmitterSetBirthRate(0, 5000);
    const std::vector<SParticle> particles = emit(40);
    ASSERT_GE(particles.size(), 200U);
    const struct {
        float low, high;
        float (*value)(const SParticle&);
    } ranges[] = {
        {-5, 5, [](const SParticle& p) { return p.pos.X; }},
        {-1e-5F, 1e-5F, [](const SParticle& p) { return p.pos.Y; }}, // flat, but not empty
        {-10, 10, [](const SParticle& p) { return p.pos.Z; }},
        {1000, 1100, [](const SParticle& p) { return static_cast<float>(p.endTime - p.startTime); }},
        {2, 2.2F, [](const SParticle& p) { return p.size.Width; }},
        // Turned by up to 22 degrees twice about axes across it.
        {0.5F * std::pow(std::cos(22.0F * core::DEGTORAD), 2.0F), 0.5F,
         [](const SParticle& p) { return p.vector.Y; }},
    };
    for (const auto& range : ranges) {
        float low = INFINITY, high = -INFINITY;
        for (const SParticle& particle : particles) {
            low = std::min(low, range.value(particle));
            high = std::max(high, range.value(particle));
        }
        const float rim = (range.high - range.low) / 10 + 1e-6F;
        EXPECT_NEAR(low, range.low + rim / 2, rim / 2 + 1e-6F) << &range - ranges;
        EXPECT_NEAR(high, range.high - rim / 2, rim / 2 + 1e-6F) << &range - ranges;
    }
}

TEST_F(FxEmitters, TakeAnyNumber) {
    for (const float wild : {NAN, INFINITY, -INFINITY, 1e38F, -1e38F}) {
        qbFxEmitterCreateBox(0, "spark.png", wild, wild, wild, wild, wild, wild);
        qbFxEmitterSetPosition(0, wild, 0, 0);
        qbFxEmitterSetVelocity(0, wild, wild, wild);
        qbFxEmitterSetGravity(0, 0, wild, 0);
        qbFxEmitterSetBirthRate(0, wild);
        births(4, 40);
        EXPECT_EQ(boxEmitter()->getMaxLifeTime(), wild > 1 ? u32{QB_FX_EMITTER_LIFE_MAX} : 0U) << wild;
        EXPECT_LE(std::abs(boxEmitter()->getMaxAngleDegrees()), QB_FX_EMITTER_ANGLE_MAX) << wild;
        EXPECT_EQ(record(0)->node->getAffectors().size(), std::isfinite(wild) ? 2U : 1U) << wild;
        qbFxEmitterFree(0);
    }
}

TEST_F(FxEmitters, RiseFromMeshesAtFixedRates) {
    const struct {
        const char* mesh;
        size_t births;
        u32 minLife, maxLife;
    } cases[] = {{"box.x", 2 * 24, 20, 20}, {"slide.x", 200, 200, 499}};
    for (const auto& c : cases) {
        qbObjectLoad(c.mesh, 1);
        qbFxEmitterCreateFromMesh(0, 1, "spark.png", 3);
        ASSERT_TRUE(qbFxEmitterExists(0));
        qbFxEmitterSetVelocity(0, 900, 0, 0);
        qbFxEmitterSetGravity(0, 0, 9, 0);
        qbFxEmitterSetBirthRate(0, 1);
        qbFxEmitterSetLimit(0, 3);
        EXPECT_EQ(record(0)->node->getAffectors().size(), 1U) << "no gravity";
        qbObjectFree(1); // may go before its emitter
        smgr->getMeshCache()->clear();
        qbFxEmitterCreateFromMesh(1, 1, "spark.png", 3);
        EXPECT_EQ(messages, Texts{"Arg"});
        messages.clear();
        const std::vector<SParticle> particles = emit(40);
        EXPECT_EQ(particles.size(), c.births);
        for (const SParticle& particle : particles) {
            EXPECT_GE(particle.endTime - particle.startTime, c.minLife);
            EXPECT_LE(particle.endTime - particle.startTime, c.maxLife);
            EXPECT_EQ(particle.vector, vector3df());
            EXPECT_NEAR(particle.size.Width, 3.15F, 0.1501F);
        }
        qbFxEmitterFree(0);
    }
}

TEST_F(FxEmitters, FollowTheirScene) {
    qbExportSetPosition(scene.cameras.emplace_back().motion, {7, 7, 7});
    scene.objects = {object("Rock", "box.x")};
    scene.emitters.resize(2);
    QbExportEmitter& snow = scene.emitters[0];
    snow.hyperVoxelImage = scene.emitters[1].hyperVoxelImage = "spark.png";
    snow.motion.position[0] = ramp(1, 20);
    qbExportSetRotation(snow.motion, {30, 0, 0});
    snow.hyperVoxelParticleSize = 0.5F;
    snow.lifeTime = {75, 0}; // frames
    snow.explosion = 2;
    snow.velocity = {3, -6, 0};
    snow.gravity = {0, -8, 0};
    snow.birthRate = 7;
    snow.fixed = 1;
    snow.startFrame = 5;
    scene.emitters[1].name = "ROCK"; // rises from the object
    scene.emitters[1].generatorSize = {};
    ASSERT_EQ(load(scene, 0, 100, 1), 0);
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(record(101)->kind, QB_FX_EMITTER_MESH);
    irr::scene::IParticleSystemSceneNode* node = record(100)->node;
    const QbBoxEmitter* box = boxEmitter(100);
    EXPECT_EQ(box->getMaxAngleDegrees(), 90);
    EXPECT_EQ(box->getMaxLifeTime(), 3300U);
    EXPECT_EQ(box->getMinStartSize().Width, 0.5F);
    EXPECT_EQ(box->getDirection(), vector3df(0.003F, -0.006F, 0));
    EXPECT_EQ(box->getMaxStartColor(), video::SColor(0, 255, 255, 255));
    EXPECT_EQ(box->getMaxParticlesPerSecond(), 0U) << "before its start frame";
    qbSceneUpdate(0, 240);
    EXPECT_EQ(box->getMaxParticlesPerSecond(), 7U);
    EXPECT_EQ(node->getPosition(), vector3df(121, 0, 0)) << "the camera of an extra is not taken off";
    EXPECT_TRUE(node->getRotation().equals(vector3df(0, 30, 0), 1e-4F));

    ASSERT_EQ(node->getAffectors().size(), 2U);
    const auto* fade = static_cast<irr::scene::IParticleFadeOutAffector*>(*node->getAffectors().begin());
    EXPECT_EQ(fade->getType(), irr::scene::EPAT_FADE_OUT);
    EXPECT_EQ(fade->getFadeOutTime(), 1000U);
    EXPECT_EQ(fade->getTargetColor(), video::SColor(0));
    qbFxEmitterSetGravity(100, 0, 80, 0); // the first one stays
    const auto* fall = static_cast<irr::scene::IParticleGravityAffector*>(*node->getAffectors().getLast());
    EXPECT_EQ(fall->getType(), irr::scene::EPAT_GRAVITY);
    EXPECT_EQ(fall->getGravity(), vector3df(0, -0.8F, 0));
    EXPECT_EQ(fall->getTimeForceLost(), 100000.0F);
}
