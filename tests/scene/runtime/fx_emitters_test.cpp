#include "scene/runtime/fx_emitters.h"

#include "engine/engine.h"
#include "fake_scene.h"
#include "meshes.h"
#include "scene/runtime/box_emitter.h"
#include "scene/runtime/objects.h"
#include "scene/runtime/slots.h"

#include <climits>
#include <cmath>
#include <cstring>
#include <tuple>

using namespace irr;
using core::vector3df;
using scene::SParticle;
using Particles = std::vector<SParticle>;

namespace {

int now; // milliseconds
int clockNow() {
    return now;
}

QbFxEmitterRec* recordOf(int id) {
    return static_cast<QbFxEmitterRec*>(qbIdListGet(qbEngineGet()->fxemitters, id));
}

// Sees the particles of a system as they stand after its other affectors, the newborn among them.
class Recorder : public scene::IParticleAffector {
public:
    void affect(u32, SParticle* array, u32 count) override { all.assign(array, array + count); }
    scene::E_PARTICLE_AFFECTOR_TYPE getType() const override { return scene::EPAT_NONE; }
    int births() const {
        return static_cast<int>(std::count_if(
            all.begin(), all.end(), [](const SParticle& p) { return p.startTime == static_cast<u32>(now); }));
    }
    Particles all;
};

// Lives as long as its emitter.
const Recorder& record(int id) {
    auto* recorder = new Recorder;
    recordOf(id)->node->addAffector(recorder);
    recorder->drop();
    return *recorder;
}

class FxEmitters : public FakeStage {
protected:
    void SetUp() override {
        FakeStage::SetUp();
        video::IVideoDriver* driver = qbEngineGet()->driver;
        video::IImage* image = driver->createImage(video::ECF_A8R8G8B8, core::dimension2du(2, 2));
        driver->writeImageToFile(image, "spark.png");
        image->drop();
        directory.write("box.x", boxMesh(2.0F));
        directory.write("slide.x", slidingMesh());
        qbObjectLoad("box.x", 1);
        qbObjectLoad("slide.x", 2);
        startClock();
    }
    void TearDown() override {
        for (int id = 0; id < 1000; id++)
            qbFxEmitterFree(id);
        qbEngineSetTimeSource(nullptr);
        FakeStage::TearDown();
    }

    static void startClock() {
        now = 0;
        qbEngineSetTimeSource(clockNow);
        qbEngineTime();
    }
    void step(int milliseconds) {
        now += milliseconds;
        qbEngineTime();
        smgr->drawAll();
    }
    // A particle system counts from its second frame.
    const Recorder& watch(int id) {
        const Recorder& recorder = record(id);
        step(40);
        step(0);
        return recorder;
    }
    const Recorder& box(float rate, int limit = -1) {
        qbFxEmitterFree(0);
        qbFxEmitterCreateBox(0, "spark.png", 2.0F, 1e5F, 0.0F, 1.0F, 1.0F, 1.0F);
        qbFxEmitterSetLimit(0, limit);
        const Recorder& made = watch(0);
        qbFxEmitterSetBirthRate(0, rate);
        return made;
    }
    int birthsIn(const Recorder& watched, int frames, int milliseconds) {
        int births = 0;
        for (int i = 0; i < frames; i++) {
            step(milliseconds);
            births += watched.births();
        }
        return births;
    }
    static QbBoxEmitter* boxEmitter(int id) {
        return static_cast<QbBoxEmitter*>(recordOf(id)->node->getEmitter());
    }
};

// There are no gaps in a particle.
bool same(const Particles& a, const Particles& b) {
    return a.size() == b.size() && (a.empty() || memcmp(a.data(), b.data(), a.size() * sizeof a[0]) == 0);
}

} // namespace

// --- numbers --------------------------------------------------------------------------------------------

TEST_F(FxEmitters, EmitByTheRate) {
    // Whenever more than 1000 / rate ms have gone by: one in four frames, two a frame, one in four, two in
    // three.
    for (const auto& [rate, frames, ms, births] :
         {std::array{7, 100, 40, 25}, {7, 30, 300, 60}, {9, 90, 33, 22}, {1, 9, 500, 6}})
        EXPECT_EQ(birthsIn(box(static_cast<float>(rate)), frames, ms), births) << rate;
    EXPECT_EQ(birthsIn(box(7.9F), 100, 40), 25) << "7.9 is cut to 7, but 8.69 to 8: 142 ms or 125 ms to wait";
    EXPECT_EQ(birthsIn(box(100.0F), 50, 40), 200) << "100 to 110 a second: 4 in 40 ms";
    const int many = birthsIn(box(1000.0F), 10, 40);
    EXPECT_GE(many, 400);
    EXPECT_LE(many, 445) << "1000 to 1100 a second";
    EXPECT_EQ(birthsIn(box(7.0F), 1, 60000), 28) << "after a minute without a frame";
    const Recorder& watched = box(7.0F);
    boxEmitter(0)->setMaxParticlesPerSecond(1);
    EXPECT_EQ(birthsIn(watched, 1, 60000), 28) << "a maximum below the minimum";
    for (const float none : {0.0F, 0.5F, -5.0F, -1e30F, NAN, INFINITY})
        EXPECT_EQ(birthsIn(box(none), 20, 5000), 0) << none;
}

TEST_F(FxEmitters, StopAtTheirLimitForGood) {
    for (const auto& [limit, births] :
         {std::pair(10, 10), {1, 1}, {0, 0}, {-1, 400}, {-7, 0}, {INT_MIN, 0}}) {
        const Recorder& watched = box(100.0F, limit);
        EXPECT_EQ(birthsIn(watched, 100, 40), births) << limit;
    }
    // What no particle system has room for counts as well.
    EXPECT_EQ(birthsIn(box(1e6F, 40001), 9, 40), static_cast<int>(QbBoxEmitter::PARTICLES_MAX));
    EXPECT_EQ(birthsIn(box(1e6F, INT_MAX), 2, 60000), static_cast<int>(QbBoxEmitter::PARTICLES_MAX));
}

TEST_F(FxEmitters, DoNotBurstAfterSilence) {
    for (const float silent : {0.0F, 0.5F}) {
        const Recorder& watched = box(7.0F);
        qbFxEmitterSetBirthRate(0, silent);
        for (int i = 0; i < 250; i++) {
            step(40);
            qbFxEmitterSetBirthRate(0, silent);
        }
        qbFxEmitterSetBirthRate(0, 7.0F);
        EXPECT_EQ(birthsIn(watched, 3, 40), 0);
        EXPECT_EQ(birthsIn(watched, 1, 40), 1);
    }
    const Recorder& watched = box(7.0F);
    qbFxEmitterHide(0);
    birthsIn(watched, 1, 60000);
    qbFxEmitterShow(0);
    EXPECT_EQ(birthsIn(watched, 4, 40), 1) << "hidden time does not count";
    now = 40; // the timer goes back
    step(0);
    EXPECT_EQ(watched.births(), 0);
}

// --- values ---------------------------------------------------------------------------------------------

TEST_F(FxEmitters, SpreadTheirParticlesWithinTheRanges) {
    qbFxEmitterCreateBox(0, "spark.png", 2.0F, 1000.9F, 22.5F, 10.0F, 0.0F, 20.0F);
    qbFxEmitterSetPosition(0, 100.0F, 50.0F, 0.0F);
    qbFxEmitterSetVelocity(0, 0.0F, 500.0F, 0.0F);
    const Recorder& watched = watch(0);
    qbFxEmitterSetBirthRate(0, 5000.0F);
    step(40);
    ASSERT_GE(watched.all.size(), 200U);
    const struct {
        float low, high;
        float (*value)(const SParticle&);
    } ranges[] = {
        {95.0F, 105.0F, [](const SParticle& p) { return p.pos.X; }},
        {49.99999F, 50.00001F, [](const SParticle& p) { return p.pos.Y; }},
        {-10.0F, 10.0F, [](const SParticle& p) { return p.pos.Z; }},
        {1000.0F, 1100.0F, [](const SParticle& p) { return static_cast<float>(p.endTime - p.startTime); }},
        {2.0F, 2.2F, [](const SParticle& p) { return p.size.Width; }},
        {2.0F, 2.2F, [](const SParticle& p) { return p.size.Height; }},
        {0.5F, 0.5F, [](const SParticle& p) { return p.vector.getLength(); }},
        // Turned by up to 22 degrees twice about axes across it.
        {0.5F * std::pow(std::cos(22.0F * core::DEGTORAD), 2.0F), 0.5F,
         [](const SParticle& p) { return p.vector.Y; }},
    };
    for (const auto& range : ranges) {
        float low = INFINITY, high = -INFINITY;
        for (const SParticle& particle : watched.all) {
            low = std::min(low, range.value(particle));
            high = std::max(high, range.value(particle));
        }
        const float reach = (range.high - range.low) / 10.0F + 4e-6F;
        EXPECT_TRUE(low >= range.low - 4e-6F && low <= range.low + reach) << &range - ranges << ": " << low;
        EXPECT_TRUE(high <= range.high + 4e-6F && high >= range.high - reach)
            << &range - ranges << ": " << high;
    }
}

TEST_F(FxEmitters, FallByTheFirstGravityThatIsNotZero) {
    const Recorder& watched = box(7.0F);
    qbFxEmitterSetVelocity(0, 500.0F, 0.0F, 0.0F);
    for (const float y : {0.0F, NAN, INFINITY, -8.0F, 80.0F})
        qbFxEmitterSetGravity(0, 0.0F, y, 0.0F);
    birthsIn(watched, 30, 400);
    ASSERT_GT(watched.all.size(), 60U);
    const Recorder& last = record(0); // behind the gravity
    step(0);
    for (const SParticle& particle : last.all) {
        const float worn = static_cast<float>(static_cast<u32>(now) - particle.startTime) / 100000.0F;
        EXPECT_NEAR(particle.vector.Y, -0.8F * worn, 1e-6F);
        EXPECT_NEAR(particle.vector.X, 0.5F - 0.5F * worn, 1e-6F);
    }
}

TEST_F(FxEmitters, TakeAnyNumber) {
    for (const float wild : {NAN, INFINITY, -INFINITY, 1e38F, -1e38F, -1.0F}) {
        qbFxEmitterCreateBox(0, "spark.png", wild, wild, wild, wild, wild, wild);
        qbFxEmitterSetPosition(0, wild, 0.0F, 0.0F);
        qbFxEmitterSetRotation(0, wild, 0.0F, 0.0F);
        qbFxEmitterSetVelocity(0, wild, wild, wild);
        qbFxEmitterSetGravity(0, 0.0F, wild, 0.0F);
        const Recorder& watched = watch(0);
        qbFxEmitterSetBirthRate(0, wild);
        birthsIn(watched, 4, 40);
        EXPECT_EQ(boxEmitter(0)->getMaxLifeTime(), wild > 1.0F ? u32{QB_FX_EMITTER_LIFE_MAX} : 0U) << wild;
        EXPECT_LE(std::abs(boxEmitter(0)->getMaxAngleDegrees()), QB_FX_EMITTER_ANGLE_MAX) << wild;
        qbFxEmitterFree(0);
    }
}

// --- meshes ---------------------------------------------------------------------------------------------

TEST_F(FxEmitters, RiseFromMeshesAtFixedRates) {
    const struct {
        int object, births;
        u32 minLife, maxLife;
    } cases[] = {{1, 2 * 8, 20, 20}, {2, 200, 200, 499}};
    for (const auto& c : cases) {
        qbFxEmitterCreateFromMesh(0, c.object, "spark.png", 3.0F);
        ASSERT_TRUE(qbFxEmitterExists(0));
        qbFxEmitterSetVelocity(0, 900.0F, 0.0F, 0.0F);
        qbFxEmitterSetGravity(0, 0.0F, 9.0F, 0.0F);
        qbFxEmitterSetBirthRate(0, 1.0F);
        qbFxEmitterSetLimit(0, 3);
        EXPECT_EQ(recordOf(0)->node->getAffectors().size(), 1U);
        const Recorder& watched = watch(0);
        for (int i = 0; i < 20; i++) {
            // The object may go before its emitter.
            if (i == 10) qbObjectFree(c.object);
            step(40);
            EXPECT_EQ(watched.births(), c.births) << i;
        }
        for (const SParticle& particle : watched.all) {
            EXPECT_GE(particle.endTime - particle.startTime, c.minLife);
            EXPECT_LE(particle.endTime - particle.startTime, c.maxLife);
            EXPECT_EQ(particle.vector, vector3df());
            EXPECT_EQ(particle.startColor, video::SColor(0, 255, 255, 255));
            EXPECT_NEAR(particle.size.Width, 3.15F, 0.1501F);
        }
        qbFxEmitterFree(0);
    }
    EXPECT_TRUE(messages.empty());
}

TEST_F(FxEmitters, StandEmptyWithoutMeshOrImage) {
    auto* bare = new QbObjectRec{}; // an animated mesh without buffers
    auto* mesh = new scene::SAnimatedMesh;
    bare->node = smgr->addAnimatedMeshSceneNode(mesh);
    mesh->drop();
    qbIdListAdd(qbEngineGet()->objects, 50, bare);
    const unsigned before = nodes();
    qbEngineGet()->device->getLogger()->setLogLevel(ELL_ERROR);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    qbFxEmitterCreateFromMesh(0, 77, "spark.png", 1.0F);
    qbFxEmitterCreateFromMesh(1, 1, "gone.png", 1.0F);
    qbFxEmitterCreateFromMesh(2, 50, "spark.png", 1.0F);
    for (const char* image : {"gone.png", "", ".", static_cast<const char*>(nullptr)})
        qbFxEmitterCreateBox(3, image, 1.0F, 1.0F, 1.0F, 1.0F, 1.0F, 1.0F);
    qbFxEmitterCreateBox(1000, "spark.png", 1.0F, 1.0F, 1.0F, 1.0F, 1.0F, 1.0F); // outside the table
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "the caller reports";
    EXPECT_EQ(messages, std::vector<std::string>{"Arg"});
    for (const int id : {0, 1, 2, 3, 1000})
        EXPECT_FALSE(qbFxEmitterExists(id)) << id;
    EXPECT_EQ(nodes(), before);
}

// --- scenes ---------------------------------------------------------------------------------------------

TEST_F(FxEmitters, FollowTheirScene) {
    FakeScene& scene = fakeScenes["scene"];
    scene.cameras = {{{{7.0F, 7.0F, 7.0F}, {}, {}}}};
    scene.objects = {{"Rock", "box.x"}};
    FakeEmitter snow{"snow", "spark.png", {10.0F, 0.0F, 10.0F}};
    snow.motion = {{1.0F, 2.0F, 3.0F}, {0.0F, 90.0F, 0.0F}, {}, 0.5F};
    std::tie(snow.particleSize, snow.life, snow.explosion) = std::tuple(0.5F, 3000.0F, 2.0F);
    std::tie(snow.birthRate, snow.birthFrom, snow.limit) = std::tuple(7.0F, 1000.0F, 12);
    snow.velocity = {3.0F, -6.0F, 0.0F};
    snow.gravity = {0.0F, -1.0F, 0.0F};
    scene.emitters = {snow, {"ROCK", "spark.png"}};
    for (const int extra : {0, 1}) {
        const int first = extra * 10;
        ASSERT_EQ(qbSceneLoad("scene", extra, 100 + first, 0, first, 0, "data", extra), 0);
        EXPECT_TRUE(messages.empty());
        scene::IParticleSystemSceneNode* node = recordOf(first)->node;
        EXPECT_FALSE(node->isVisible());
        EXPECT_EQ(node->getParent() == holder, extra == 1);
        EXPECT_EQ(recordOf(first + 1)->kind, QB_FX_EMITTER_MESH);
        const QbBoxEmitter* emitter = boxEmitter(first);
        EXPECT_EQ(emitter->getMaxAngleDegrees(), 90);
        EXPECT_EQ(emitter->getMaxLifeTime(), 3300U);
        EXPECT_EQ(emitter->getMinStartSize().Width, 0.5F);
        EXPECT_EQ(emitter->getDirection(), vector3df(0.003F, -0.006F, 0.0F));
        EXPECT_EQ(emitter->getMaxStartColor(), video::SColor(0, 255, 255, 255));
        EXPECT_EQ(node->getAffectors().size(), 2U) << "fading and gravity";
        auto* fade = static_cast<scene::IParticleFadeOutAffector*>(*node->getAffectors().begin());
        EXPECT_EQ(fade->getType(), scene::EPAT_FADE_OUT);
        EXPECT_EQ(fade->getFadeOutTime(), 1000U);
        EXPECT_EQ(fade->getTargetColor(), video::SColor(0));
        const video::SMaterial& material = node->getMaterial(0);
        EXPECT_EQ(material.MaterialType, video::EMT_TRANSPARENT_VERTEX_ALPHA);
        EXPECT_FALSE(material.ZWriteEnable || material.Lighting);
        EXPECT_NE(material.getTexture(0), nullptr);

        qbSceneStart(extra);
        qbSceneUpdate(extra, 1000);
        EXPECT_EQ(node->getPosition(), vector3df(501.0F, 2.0F, 3.0F)) << "no camera is taken off";
        EXPECT_EQ(node->getRotation(), vector3df(0.0F, 90.0F, 0.0F));
        EXPECT_EQ(emitter->getMaxParticlesPerSecond(), 7U);
        // A scene that jumps back, before its particles began, leaves those that live.
        const Recorder& watched = watch(first);
        EXPECT_EQ(birthsIn(watched, 32, 40), 8);
        qbSceneUpdate(extra, 0);
        EXPECT_EQ(birthsIn(watched, 20, 40), 0);
        EXPECT_EQ(watched.all.size(), 8U);
        qbSceneHide(extra);
        EXPECT_FALSE(node->isVisible());
        qbSceneFree(extra);
        EXPECT_FALSE(qbFxEmitterExists(first) || qbFxEmitterExists(first + 1));
    }
}

TEST_F(FxEmitters, AreTheSameInEverySteppedRun) {
    const auto run = [this] {
        qbEngineSetTimeSource(nullptr);
        startClock();
        qbFxEmitterCreateBox(0, "spark.png", 1.0F, 900.0F, 90.0F, 3.0F, 4.0F, 5.0F);
        qbFxEmitterCreateFromMesh(1, 2, "spark.png", 1.0F);
        qbFxEmitterSetVelocity(0, 1.0F, 2.0F, 3.0F);
        qbFxEmitterSetGravity(0, 1.0F, 2.0F, 3.0F);
        qbFxEmitterSetBirthRate(0, 300.0F);
        const Recorder &first = record(0), &second = record(1);
        for (int i = 0; i < 50; i++)
            step(i % 3 + 20);
        Particles all = first.all;
        all.insert(all.end(), second.all.begin(), second.all.end());
        qbFxEmitterFree(0);
        qbFxEmitterFree(1);
        return all;
    };
    const Particles first = run();
    EXPECT_GT(first.size(), 1000U);
    qbEngineGet()->device->getRandomizer()->rand();
    EXPECT_TRUE(same(run(), first));
}
