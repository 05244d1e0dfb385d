#include "VelnorTest.h"

#include <gtest/gtest.h>
#include <functional>
#include <string>
#include <vector>

namespace {

struct Recorder : mTimerListener {
    explicit Recorder(std::vector<std::string> *log, std::function<void(mTimer &)> then = nullptr)
        : log(log), then(then) {}
    void timerPopped(mTimer &t) override {
        log->push_back("pop " + std::to_string(t.getUserData()));
        if (then)
            then(t);
    }
    std::vector<std::string> *log;
    std::function<void(mTimer &)> then;
};

class TimerTest : public ::testing::Test {
protected:
    void SetUp() override { vt::drainMessages(); }
    void TearDown() override { vt::drainMessages(); }
    std::vector<std::string> log;
};

} // namespace

TEST_F(TimerTest, AnEmptyQueueHoldsNoPlatformTimer) {
    EXPECT_FALSE(mTimerQueue::hasPlatformTimer());
    {
        Recorder r(&log);
        mTimer t(10000, &r, 1, false);
        EXPECT_TRUE(mTimerQueue::hasPlatformTimer());
        t.cancel();
        t.cancel();
        EXPECT_FALSE(t.isActive());
    }
    mTimerQueue::elapse();  // the platform timer may still elapse and find nothing
    EXPECT_FALSE(mTimerQueue::hasPlatformTimer());
    EXPECT_TRUE(log.empty());
}

TEST_F(TimerTest, ZeroIntervalPopsAtTheNextDispatch) {
    Recorder r(&log);
    mTimer t(0, &r, 7, false);
    EXPECT_TRUE(vt::pumpUntil([&] { return !log.empty(); }, 2000));
    EXPECT_EQ(std::vector<std::string>({"pop 7"}), log);
    EXPECT_EQ(0u, t.getDueTime()) << "a popped one-shot timer is out of the queue";
    EXPECT_TRUE(t.isActive());
    t.cancel();  // finds nothing and does no harm
    EXPECT_FALSE(mTimerQueue::hasPlatformTimer());
}

TEST_F(TimerTest, TimersOfOnePopRunInOrderOfCreation) {
    Recorder r(&log);
    mTimer later(30, &r, 2, false);
    mTimer first(20, &r, 1, false);
    Sleep(40);
    mTimerQueue::elapse();
    EXPECT_EQ(std::vector<std::string>({"pop 2", "pop 1"}), log);
}

TEST_F(TimerTest, CancellingAnotherTimerOfTheSamePopPreventsItsCall) {
    mTimer *victim = nullptr;
    Recorder killer(&log, [&](mTimer &) { victim->cancel(); });
    Recorder r(&log);
    mTimer a(5, &killer, 1, false);
    mTimer b(5, &r, 2, false);
    victim = &b;
    Sleep(20);
    mTimerQueue::elapse();
    EXPECT_EQ(std::vector<std::string>({"pop 1"}), log);
}

TEST_F(TimerTest, ANewTimerFromAListenerWaitsForTheNextElapse) {
    Recorder inner(&log);
    mTimer *made = nullptr;
    Recorder maker(&log, [&](mTimer &) { made = new mTimer(0, &inner, 9, false); });
    mTimer t(5, &maker, 1, false);
    Sleep(20);
    mTimerQueue::elapse();
    EXPECT_EQ(std::vector<std::string>({"pop 1"}), log);
    ASSERT_NE(nullptr, made);
    EXPECT_TRUE(mTimerQueue::hasPlatformTimer());
    EXPECT_TRUE(vt::pumpUntil([&] { return log.size() == 2; }, 2000));
    EXPECT_EQ("pop 9", log.back());
    delete made;
}

TEST_F(TimerTest, APeriodicTimerKeepsItsRateAndStopsWhenCancelledInItsListener) {
    int pops = 0;
    Recorder r(&log, [&](mTimer &t) {
        if (++pops == 10)
            t.cancel();
    });
    DWORD start = GetTickCount();
    mTimer t(20, &r, 3, true);
    EXPECT_TRUE(vt::pumpUntil([&] { return pops == 10; }, 3000));
    DWORD elapsed = GetTickCount() - start;
    vt::pumpUntil([] { return false; }, 100);
    EXPECT_EQ(10, pops);
    EXPECT_GE(elapsed, 180u) << "ten periods of 20 ms";
    EXPECT_FALSE(t.isActive());
}

TEST_F(TimerTest, AOneShotListenerMayDeleteItsTimer) {
    mTimer *self = nullptr;
    Recorder r(&log, [&](mTimer &t) {
        EXPECT_EQ(self, &t);
        delete self;
    });
    self = new mTimer(0, &r, 4, false);
    EXPECT_TRUE(vt::pumpUntil([&] { return !log.empty(); }, 2000));
    EXPECT_FALSE(mTimerQueue::hasPlatformTimer());
}

TEST_F(TimerTest, TimersPopInsideAModalLoop) {
    // The timer closes the box it pops under: it can only do so if the box's own loop
    // dispatches the queue's elapse.
    Recorder closer(&log, [](mTimer &) {
        HWND box = FindWindowA("#32770", "Timer box");
        if (box)
            PostMessageA(box, WM_COMMAND, IDOK, 0);
    });
    mTimer t(50, &closer, 6, true);
    vt::Watchdog dog(5000);
    mMsgBox::MBRESULT result = mMsgBox::ok("waiting", "Timer box", mMsgBox::OK, false, mMsgBox::NOICON, false);
    EXPECT_FALSE(dog.fired());
    EXPECT_EQ(mMsgBox::OK, result);
    EXPECT_FALSE(log.empty());
}
