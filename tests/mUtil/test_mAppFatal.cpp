#include "VelnorTest.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

std::vector<std::string> log;

class FatalTest : public vt::AppFixture {
protected:
    FatalTest() : vt::AppFixture("FatalTest") {}
    void SetUp() override {
        log.clear();
        vt::AppFixture::SetUp();
    }

    // Runs the title with one idle listener that does `fail` on its first round, and
    // answers the one box that must come.
    int runFailing(std::function<void()> fail) {
        frame = new Frame(app);
        new Exit(&box);
        bool failed = false;
        Idle idle([&] {
            if (!failed) {
                failed = true;
                fail();
            }
        });
        app->registerIdle(&idle);
        int rc = vt::runBounded(*app);
        EXPECT_TRUE(box.waitFor(1, 1000));
        EXPECT_EQ(1, box.count()) << "one box, however the failure went on";
        return rc;
    }

    struct Frame : vt::TestFrame {
        explicit Frame(mApp *app) : vt::TestFrame(app) {}
        void onWindowGone() override {
            log.push_back("frame.gone");
            mMainFrame::onWindowGone();
        }
    };
    struct Exit : mExitListener {
        explicit Exit(vt::DialogAnswerer *box) : box(box) {}
        void onExit(bool fatal) override {
            log.push_back(std::string(fatal ? "exit(fatal)" : "exit") + (box->count() ? " after box" : " before box"));
        }
        vt::DialogAnswerer *box;
    };
    struct Idle : mAppListener {
        explicit Idle(std::function<void()> f) : f(f) {}
        void onIdle(unsigned long) override { f(); }
        std::function<void()> f;
    };

    Frame *frame = nullptr;
    vt::DialogAnswerer box{"Fatal error!!!"};
};

int volatile zero = 0;
int *volatile nowhere = reinterpret_cast<int *>(0x10);

} // namespace

TEST_F(FatalTest, AnErrorReachingTheLoopIsShownOnceAfterTheExits) {
    int rc = runFailing([] { throw mError("boom", 7, "tests/fatal", 33); });
    EXPECT_EQ(1, rc);
    EXPECT_TRUE(app->isFatal());
    std::string text = box.lastText();
    EXPECT_NE(std::string::npos, text.find("tests/fatal:33 Error:")) << text;
    EXPECT_NE(std::string::npos, text.find("boom, value = 7")) << text;
    std::vector<std::string> expected = {"exit(fatal) before box", "frame.gone"};
    EXPECT_EQ(expected, log);
}

TEST_F(FatalTest, AnErrorFromAWindowCrossesTheDispatch) {
    frame = new Frame(app);
    frame->userHandler = [](short, int, long, int &) -> bool { throw mError("from a window", 0, "w", 1); };
    frame->postUserMessage(3, 0, 0);
    EXPECT_EQ(1, vt::runBounded(*app));
    ASSERT_TRUE(box.waitFor(1, 1000));
    EXPECT_NE(std::string::npos, box.lastText().find("from a window, value = 0")) << box.lastText();
    EXPECT_EQ(std::vector<std::string>({"frame.gone"}), log);
}

TEST_F(FatalTest, AnErrorFromATimerCrossesTheDispatch) {
    struct Thrower : mTimerListener {
        void timerPopped(mTimer &) override { throw mError("timer failed", 12, "t", 2); }
    } thrower;
    frame = new Frame(app);
    mTimer timer(5, &thrower, 0, false);
    EXPECT_EQ(1, vt::runBounded(*app));
    ASSERT_TRUE(box.waitFor(1, 1000));
    EXPECT_NE(std::string::npos, box.lastText().find("timer failed, value = 12")) << box.lastText();
}

TEST_F(FatalTest, AReadAccessViolationIsReportedBeforeTheExits) {
    int rc = runFailing([] { log.push_back(std::to_string(*nowhere)); });
    EXPECT_EQ(1, rc);
    std::string text = box.lastText();
    EXPECT_EQ(0u, text.find("Exception: Access violation reading 0x00000010 occurred at 0x")) << text;
    std::vector<std::string> expected = {"exit(fatal) after box", "frame.gone"};
    EXPECT_EQ(expected, log);
}

TEST_F(FatalTest, AWriteAccessViolationInsideAWindowProcedure) {
    frame = new Frame(app);
    new Exit(&box);
    frame->userHandler = [](short, int, long, int &) {
        *reinterpret_cast<int *>(reinterpret_cast<uintptr_t>(nowhere) + 0x10) = 1;
        return true;
    };
    frame->postUserMessage(1, 0, 0);
    EXPECT_EQ(1, vt::runBounded(*app));
    ASSERT_TRUE(box.waitFor(1, 1000));
    EXPECT_EQ(0u, box.lastText().find("Exception: Access violation writing to 0x00000020 occurred at 0x"))
        << box.lastText();
    EXPECT_EQ("exit(fatal) after box", log.front());
    EXPECT_EQ("frame.gone", log.back()) << "the windows close in the second run";
}

TEST_F(FatalTest, ADivideByZeroIsReported) {
    int rc = runFailing([] { log.push_back(std::to_string(100 / zero)); });
    EXPECT_EQ(1, rc);
    EXPECT_EQ(0u, box.lastText().find("Exception: Divide by 0 occurred at 0x")) << box.lastText();
}

TEST_F(FatalTest, AForeignExceptionIsAFaultToo) {
    int rc = runFailing([] { throw std::runtime_error("not ours"); });
    EXPECT_EQ(1, rc);
    EXPECT_EQ(0u, box.lastText().find("Exception: 0x20474343 occurred at 0x")) << box.lastText();
}

TEST_F(FatalTest, AFailureWhileClosingShowsNoSecondBox) {
    struct Stubborn : Frame {
        explicit Stubborn(mApp *app) : Frame(app) {}
        void onDestroy() override { throw mError("again"); }
    };
    frame = new Stubborn(app);
    bool failed = false;
    Idle idle([&] {
        if (!failed) {
            failed = true;
            throw mError("first");
        }
    });
    app->registerIdle(&idle);
    EXPECT_EQ(1, vt::runBounded(*app));
    box.waitFor(2, 500);
    EXPECT_EQ(1, box.count());
    EXPECT_NE(std::string::npos, box.lastText().find("first"));
}

TEST_F(FatalTest, AFailureAfterTheLastStateEndsWithZero) {
    struct Late : Frame {
        explicit Late(mApp *app) : Frame(app) {}
        void onWindowGone() override {
            mMainFrame::onWindowGone();
            throw mError("after the end");
        }
    };
    frame = new Late(app);
    frame->destroy();
    // The quit message is already waiting, so the platform closes the box at once.
    EXPECT_EQ(0, vt::runBounded(*app));
    EXPECT_TRUE(app->isFatal());
    EXPECT_EQ(0, app->getStateCount());
}

TEST(mFaultGuard, DescribesEveryKnownFault) {
    mFaultInfo f;
    f.address = reinterpret_cast<const void *>(0x1234);
    f.code = 0xC0000094;
    EXPECT_STREQ("Exception: Divide by 0 occurred at 0x00001234", mFaultGuard::describe(f).c_str());
    f.code = 0xC00000FD;
    EXPECT_STREQ("Exception: Stack overflow occurred at 0x00001234", mFaultGuard::describe(f).c_str());
    f.code = 0x80000003;
    EXPECT_STREQ("Exception: Breakpoint occurred at 0x00001234", mFaultGuard::describe(f).c_str());
    f.code = 0xE0001234;
    EXPECT_STREQ("Exception: 0xE0001234 occurred at 0x00001234", mFaultGuard::describe(f).c_str());
    f.code = 0xC0000005;
    f.write = true;
    f.target = reinterpret_cast<const void *>(0xABCDEF);
    EXPECT_STREQ("Exception: Access violation writing to 0x00ABCDEF occurred at 0x00001234",
                 mFaultGuard::describe(f).c_str());
}
