#include "engine/engine.h"
#include "engine/fixture.h"

#include <irrlicht/irrlicht.h>
#include <vector>

using namespace irr;

namespace {
class ClockTest : public EngineTest {
protected:
    static ITimer* timer() { return qbEngineGet()->device->getTimer(); }
    static void step(int time) {
        now = time;
        qbEngineSetTimeSource(steppedTime);
    }
};
} // namespace

TEST_F(ClockTest, FollowsTheReplacedSourceFromItsFirstReading) {
    step(1000);
    draw();
    EXPECT_EQ(timer()->getTime(), 0U);
    EXPECT_EQ(qbEngineTime(), 0);
    now = 1250;
    EXPECT_EQ(qbEngineTime(), 250);
    EXPECT_EQ(timer()->getTime(), 250U);
    qbEngineSleep(2);
    qbEngineIsOver();
    EXPECT_EQ(timer()->getTime(), 250U) << "Irrlicht's timer runs by itself";
    now = 1290;
    draw();
    EXPECT_EQ(timer()->getTime(), 290U) << "a frame does not step the timer";
    now = 900;
    EXPECT_EQ(qbEngineTime(), -100);
    EXPECT_EQ(timer()->getTime(), 0U);

    step(5000);
    EXPECT_EQ(qbEngineTime(), 0) << "the base is not latched anew";
}

TEST_F(ClockTest, GoesBackToTheDevicesTimer) {
    const uint32_t before = timer()->getTime();
    step(0);
    qbEngineTime();
    now = 900000;
    qbEngineTime();
    qbEngineSetTimeSource(nullptr);
    EXPECT_FALSE(timer()->isStopped());
    EXPECT_LT(timer()->getTime() - before, 800000U);
    EXPECT_EQ(qbEngineTime(), 0);
    qbEngineSleep(3);
    EXPECT_GE(qbEngineTime(), 2) << "the clock stands still between two calls of qbEngineIsOver";
}

TEST_F(ClockTest, MakesRandomNumbersRepeatable) {
    std::vector<int> runs[2];
    for (std::vector<int>& run : runs) {
        step(0);
        for (int i = 0; i < 5; ++i)
            run.push_back(qbEngineGet()->device->getRandomizer()->rand());
    }
    EXPECT_EQ(runs[0], runs[1]);
}

TEST_F(ClockTest, RunsOnWhileTheDeviceComesAndGoes) {
    int last = qbEngineTime();
    const auto advance = [&last](const char* where) {
        qbEngineSleep(3);
        const int time = qbEngineTime();
        EXPECT_GE(time, last + 2) << where;
        EXPECT_LT(time, last + 20000) << where;
        last = time;
    };
    advance("open");
    qbEngineClose();
    advance("closed");
    ASSERT_EQ(qbEngineOpen(&setup), 0);
    advance("open again");
}

TEST_F(ClockTest, HoldsTheTimerOfALaterDeviceToo) {
    step(100);
    qbEngineTime();
    ASSERT_EQ(qbEngineOpen(&setup), 0);
    now = 150;
    EXPECT_EQ(qbEngineTime(), 50);
    EXPECT_TRUE(timer()->isStopped());
    EXPECT_EQ(timer()->getTime(), 50U);
    qbEngineClose();
    qbEngineSetTimeSource(nullptr);
    ASSERT_EQ(qbEngineOpen(&setup), 0);
    EXPECT_FALSE(timer()->isStopped());
}
