#include "engine/fixture.h"

using ClockTest = EngineTest;

static irr::ITimer* timer() {
    return qbEngineGet()->device->getTimer();
}

TEST_F(ClockTest, FollowsTheReplacedSourceFromItsFirstReading) {
    now = 1000;
    qbEngineSetTimeSource(steppedTime);
    const int random = qbEngineGet()->device->getRandomizer()->rand();
    EXPECT_EQ(qbEngineTime(), 0);
    now = 1250;
    EXPECT_EQ(qbEngineTime(), 250);
    qbEngineSleep(2);
    qbEngineIsOver();
    EXPECT_EQ(timer()->getTime(), 250U) << "Irrlicht's timer runs by itself";
    now = 1290;
    draw();
    EXPECT_EQ(timer()->getTime(), 290U) << "a frame does not step the timer";
    now = 900;
    EXPECT_EQ(qbEngineTime(), -100);
    EXPECT_EQ(timer()->getTime(), 0U);
    qbEngineSetTimeSource(steppedTime);
    EXPECT_EQ(qbEngineGet()->device->getRandomizer()->rand(), random) << "random numbers do not start anew";
    EXPECT_EQ(qbEngineTime(), 0) << "the base is not latched anew";
    ASSERT_EQ(qbEngineOpen(&setup), 0);
    EXPECT_TRUE(timer()->isStopped()) << "a later device runs freely";
    qbEngineSetTimeSource(nullptr);
    EXPECT_FALSE(timer()->isStopped());
}

TEST_F(ClockTest, RunsOnWhileTheDeviceComesAndGoes) {
    int last = qbEngineTime();
    for (const char* where : {"open", "closed", "open again"}) {
        qbEngineSleep(3);
        const int time = qbEngineTime();
        EXPECT_TRUE(time >= last + 2 && time < last + 20000) << where << ": from " << last << " to " << time;
        last = time;
        qbEngineGet()->device ? qbEngineClose() : qbEngineOpen(&setup);
    }
}
