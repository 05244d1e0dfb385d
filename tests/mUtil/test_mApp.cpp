#include "VelnorTest.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

std::vector<std::string> events;

class AppTest : public vt::AppFixture {
protected:
    AppTest() : vt::AppFixture("SpineTest") {}
    void SetUp() override {
        events.clear();
        vt::AppFixture::SetUp();
    }
};

// A frame that records its end.
class Frame : public vt::TestFrame {
public:
    Frame(mApp *app, const char *name, unsigned short resume = 0) : vt::TestFrame(app, resume), name(name) {}
    bool onClose(bool forced) override {
        events.push_back(name + ".close");
        return allowClose;
    }
    void onDestroy() override { events.push_back(name + ".destroy"); }
    void onWindowGone() override {
        events.push_back(name + ".gone");
        mMainFrame::onWindowGone();
    }
    bool onCommand(int id, int code) override {
        events.push_back(name + ".command " + std::to_string(id));
        return true;
    }
    std::string name;
    bool allowClose = true;
};

class Exit : public mExitListener {
public:
    explicit Exit(const char *name, bool throws = false) : name(name), throws(throws) {}
    void onExit(bool fatal) override {
        events.push_back(name + (fatal ? ".exit(fatal)" : ".exit"));
        if (throws)
            throw mError("exit failed");
    }
    std::string name;
    bool throws;
};

class Idle : public mAppListener {
public:
    explicit Idle(std::function<void(unsigned long)> f) : f(f) {}
    void onIdle(unsigned long count) override { f(count); }
    std::function<void(unsigned long)> f;
};

bool queueHas(UINT message) {
    MSG msg;
    return PeekMessageA(&msg, nullptr, message, message, PM_NOREMOVE) != 0;
}

} // namespace

TEST_F(AppTest, StartWithoutStateReturnsZeroAndLeavesTheQueue) {
    PostThreadMessageA(GetCurrentThreadId(), WM_USER + 7, 0, 0);
    EXPECT_EQ(0, app->start());
    EXPECT_TRUE(queueHas(WM_USER + 7));
    EXPECT_EQ(nullptr, app->getMainWindow());
    EXPECT_EQ(nullptr, app->getActiveDialog());
}

TEST_F(AppTest, ShutdownWithoutStatePostsTheCode) {
    app->shutdown(5);
    MSG msg;
    ASSERT_TRUE(PeekMessageA(&msg, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
    EXPECT_EQ(5u, msg.wParam);
}

TEST_F(AppTest, ClosingTheLastFrameEndsInOrder) {
    Frame *frame = new Frame(app, "main");
    new Exit("a");
    new Exit("b");
    EXPECT_EQ(frame, app->getMainWindow());
    PostMessageA(reinterpret_cast<HWND>(frame->getPeer()), WM_CLOSE, 0, 0);
    EXPECT_EQ(0, vt::runBounded(*app));
    std::vector<std::string> expected = {"main.close", "main.destroy", "main.gone", "b.exit", "a.exit"};
    EXPECT_EQ(expected, events);
    EXPECT_EQ(nullptr, app->getMainWindow());
    EXPECT_EQ(0, app->getStateCount());
}

// A message posted once the run has ended, with nothing else queued, is left for whoever pumps
// next (a sound's completion, for one), not taken and dropped.
TEST_F(AppTest, MessagesPostedAsTheRunEndsStayQueued) {
    struct Poster : Frame {
        using Frame::Frame;
        void onWindowGone() override {
            Frame::onWindowGone();
            vt::drainMessages();
            PostThreadMessageA(GetCurrentThreadId(), WM_USER + 8, 0, 0);
        }
    };
    Poster *frame = new Poster(app, "main");
    PostMessageA(reinterpret_cast<HWND>(frame->getPeer()), WM_CLOSE, 0, 0);
    EXPECT_EQ(0, vt::runBounded(*app));
    EXPECT_TRUE(queueHas(WM_USER + 8));
}

TEST_F(AppTest, ShutdownWalksDownTwoMainStates) {
    new Frame(app, "lower");
    new Exit("lowerExit");
    new Frame(app, "upper");
    new Exit("upperExit");
    Idle idle([&](unsigned long) { app->shutdown(42); });
    app->registerIdle(&idle);
    EXPECT_EQ(42, vt::runBounded(*app));
    std::vector<std::string> expected = {"upper.destroy", "upper.gone", "upperExit.exit",
                                         "lower.destroy", "lower.gone", "lowerExit.exit"};
    EXPECT_EQ(expected, events);
}

TEST_F(AppTest, ShutdownEndsClientStatesBeforeTheFrameIsTouched) {
    Frame *frame = new Frame(app, "main");
    struct ClientExit : mExitListener {
        void onExit(bool fatal) override {
            events.push_back(queueHas(mWindow::DEFERRED_DESTROY) ? "client.exit late" : "client.exit");
        }
    };
    app->setClientWindow(nullptr, vt::testModule(), 0);
    EXPECT_EQ(frame, app->getMainWindow()) << "a client state keeps its frame";
    new ClientExit;
    Idle idle([&](unsigned long) { app->shutdown(9); });
    app->registerIdle(&idle);
    EXPECT_EQ(9, vt::runBounded(*app));
    std::vector<std::string> expected = {"client.exit", "main.destroy", "main.gone"};
    EXPECT_EQ(expected, events);
    EXPECT_EQ(0, app->getStateCount());
}

TEST_F(AppTest, ExitStateBringsTheLowerStateBackWithItsResumeMessage) {
    Frame *lower = new Frame(app, "lower", 17);
    Frame *upper = new Frame(app, "upper", 23);
    int rounds = 0;
    Idle upperIdle([&](unsigned long) {
        if (++rounds == 1)
            app->exitState();
    });
    app->registerIdle(&upperIdle);
    lower->userHandler = [&](short message, int, long, int &) {
        events.push_back("lower.resume " + std::to_string(message));
        app->shutdown(4);
        return true;
    };
    EXPECT_EQ(4, vt::runBounded(*app));
    EXPECT_TRUE(upper->userMessages.empty());
    std::vector<std::string> expected = {"upper.destroy", "upper.gone", "lower.resume 17", "lower.destroy", "lower.gone"};
    EXPECT_EQ(expected, events);
}

TEST_F(AppTest, ExitStateWithoutResumeMessageShowsTheLowerFrame) {
    Frame *lower = new Frame(app, "lower");
    new Frame(app, "upper");
    EXPECT_FALSE(lower->isVisible());
    app->exitState();
    ASSERT_TRUE(vt::pumpUntil([&] { return app->getStateCount() == 1; }, 5000));
    EXPECT_TRUE(lower->isVisible());
    Idle idle([&](unsigned long) { app->shutdown(2); });
    app->registerIdle(&idle);
    EXPECT_EQ(2, vt::runBounded(*app));
}

TEST_F(AppTest, ExitStateOnTheLastStateKeepsTheExitCode) {
    new Frame(app, "only");
    Idle idle([&](unsigned long count) {
        if (count == 0)
            app->exitState();
    });
    app->registerIdle(&idle);
    EXPECT_EQ(0, vt::runBounded(*app));
    EXPECT_EQ(0, app->getStateCount());
}

TEST_F(AppTest, ClientStateComesAndGoesInsideOneFrame) {
    Frame *frame = new Frame(app, "main");
    frame->setVisible(true);
    frame->setLimits(mSize(100, 80), mSize(0, 0));
    mSize minBefore, maxBefore;
    frame->getLimits(minBefore, maxBefore);

    app->setClientWindow(nullptr, nullptr, 0);
    frame->setLimits(mSize(200, 150), mSize(400, 300));
    app->exitState();
    mSize minAfter, maxAfter;
    frame->getLimits(minAfter, maxAfter);
    EXPECT_EQ(minBefore, minAfter);
    EXPECT_EQ(maxBefore, maxAfter);
    EXPECT_EQ(mSize(100, 80), minAfter);
    EXPECT_EQ(mSize(0, 0), maxAfter);
    EXPECT_EQ(1, app->getStateCount());
}

TEST_F(AppTest, ExitListenersLastFirstStatesTopDownAndFailuresContained) {
    new Frame(app, "lower");
    new Exit("l1");
    new Frame(app, "upper");
    new Exit("u1");
    new Exit("u2", true);
    Exit *early = new Exit("deleted");
    new Exit("u3");
    delete early;
    Idle idle([&](unsigned long) { app->shutdown(0); });
    app->registerIdle(&idle);
    vt::runBounded(*app);
    std::vector<std::string> expected = {"upper.destroy", "upper.gone", "u3.exit", "u2.exit", "u1.exit",
                                         "lower.destroy", "lower.gone", "l1.exit"};
    EXPECT_EQ(expected, events);
}

TEST_F(AppTest, IdleListenersMayComeAndGoDuringARound) {
    new Frame(app, "main");
    std::vector<std::string> calls;
    Idle *second = nullptr;
    Idle third([&](unsigned long count) { calls.push_back("third " + std::to_string(count)); });
    Idle added([&](unsigned long count) { calls.push_back("added " + std::to_string(count)); });
    Idle first([&](unsigned long count) {
        calls.push_back("first " + std::to_string(count));
        if (count == 0)
            app->registerIdle(&added);
        if (count == 2)
            app->shutdown(0);
    });
    Idle secondListener([&](unsigned long count) {
        calls.push_back("second " + std::to_string(count));
        if (count == 0)
            app->unregisterIdle(second);
    });
    second = &secondListener;
    app->registerIdle(&first);
    app->registerIdle(&secondListener);
    app->registerIdle(&third);
    vt::runBounded(*app);
    // The listener that went shifted the list: the third missed round 0, and the one added
    // during round 0 ran in that same round.
    std::vector<std::string> expected = {"first 0", "second 0", "added 0", "first 1", "third 1",
                                         "added 1", "first 2", "third 2", "added 2"};
    EXPECT_EQ(expected, calls);
}

TEST_F(AppTest, HandleMessagesRunsOneIdleRoundOnAnEmptyQueue) {
    new Frame(app, "main");
    std::vector<unsigned long> counts;
    Idle idle([&](unsigned long count) { counts.push_back(count); });
    app->registerIdle(&idle);
    vt::drainMessages();
    EXPECT_FALSE(app->handleMessages());
    EXPECT_EQ(std::vector<unsigned long>({0}), counts);
}

TEST_F(AppTest, HandleMessagesHoldsBackTheDestroyOfAFrame) {
    Frame *frame = new Frame(app, "main");
    struct Other : mFrame {
        Other() : mFrame(nullptr, mRect(0, 0, 50, 50), 0, "other") {}
        void onDestroy() override { events.push_back("other.destroy"); }
    };
    vt::drainMessages();
    Other *other = new Other;
    other->destroy();
    EXPECT_FALSE(app->handleMessages());
    EXPECT_EQ(std::vector<std::string>({"other.destroy"}), events);

    frame->destroy();
    EXPECT_TRUE(app->handleMessages());
    EXPECT_TRUE(frame->isValid());
    EXPECT_TRUE(queueHas(mWindow::DEFERRED_DESTROY)) << "re-posted for the outer loop";
    EXPECT_EQ(0, vt::runBounded(*app));
    EXPECT_FALSE(events.empty());
    EXPECT_EQ("main.gone", events.back());
}

TEST_F(AppTest, HandleMessagesPassesTheQuitMessageOn) {
    new Frame(app, "main");
    PostQuitMessage(6);
    EXPECT_TRUE(app->handleMessages());
    EXPECT_TRUE(queueHas(WM_QUIT));
    EXPECT_EQ(6, vt::runBounded(*app)) << "a quit from elsewhere gives its own parameter";
}

TEST_F(AppTest, LongWorkInsideAHandlerKeepsTheTitleAlive) {
    Frame *frame = new Frame(app, "main");
    int idleRounds = 0;
    std::vector<int> received;
    Idle idle([&](unsigned long) { ++idleRounds; });
    frame->userHandler = [&](short message, int, long, int &) {
        received.push_back(message);
        if (message == 1) {
            frame->postUserMessage(2, 0, 0);
            for (int i = 0; i < 50 && !app->handleMessages(); ++i)
                ;
            app->shutdown(11);
        }
        return true;
    };
    app->registerIdle(&idle);
    frame->postUserMessage(1, 0, 0);
    EXPECT_EQ(11, vt::runBounded(*app));
    EXPECT_EQ(std::vector<int>({1, 2}), received);
    EXPECT_GT(idleRounds, 0);
}

TEST_F(AppTest, AcceleratorsOfTheCurrentStateBecomeCommands) {
    Frame *frame = new Frame(app, "main");
    frame->setVisible(true);
    app->registerAccelerators(200);
    PostMessageA(reinterpret_cast<HWND>(frame->getPeer()), WM_KEYDOWN, VK_F5, 0);
    Idle idle([&](unsigned long count) {
        if (count == 20)
            app->shutdown(0);
    });
    app->registerIdle(&idle);
    vt::runBounded(*app);
    EXPECT_EQ("main.command 301", events.front());

}

TEST_F(AppTest, ModelessDialogsGetTheirKeysThroughTheLoop) {
    Frame *frame = new Frame(app, "main");
    struct Dialog : mDialog {
        Dialog(mWindow *parent) : mDialog(parent, false) {}
        bool onCommand(int id, int code) override {
            if (id != IDCANCEL)
                return false;
            events.push_back("dialog.command " + std::to_string(id));
            destroy();
            return true;
        }
        void onWindowGone() override { events.push_back("dialog.gone"); }
    };
    Dialog *dialog = new Dialog(frame);
    dialog->go(100, false, nullptr);
    EXPECT_EQ(dialog, app->getActiveDialog());
    HWND edit = GetDlgItem(reinterpret_cast<HWND>(dialog->getPeer()), 101);
    PostMessageA(edit, WM_KEYDOWN, VK_ESCAPE, 0);
    Idle idle([&](unsigned long) {
        if (!app->getActiveDialog())
            app->shutdown(0);
    });
    app->registerIdle(&idle);
    vt::runBounded(*app);
    std::vector<std::string> expected = {"dialog.command 2", "dialog.gone"};
    ASSERT_GE(events.size(), 2u);
    EXPECT_EQ(expected, std::vector<std::string>(events.begin(), events.begin() + 2));
    EXPECT_THROW(Dialog(frame).go(9999, false, vt::testModule()), mError);
}

TEST_F(AppTest, GetNextCharTakesKeysWithoutDispatching) {
    new Frame(app, "main");
    vt::drainMessages();
    EXPECT_EQ(-1, mApp::getNextChar(false));
    PostThreadMessageA(GetCurrentThreadId(), WM_KEYDOWN, VK_F3, 0);
    EXPECT_EQ(0x1003, mApp::getNextChar(false));
    PostThreadMessageA(GetCurrentThreadId(), WM_KEYDOWN, VK_OEM_PLUS + 100, 0);
    EXPECT_EQ(-1, mApp::getNextChar(false)) << "a key with no mapping";
    PostThreadMessageA(GetCurrentThreadId(), WM_SYSKEYDOWN, VK_LEFT, 0);
    EXPECT_EQ(-1, mApp::getNextChar(false));
    EXPECT_EQ(0x1015, mApp::getNextChar(true));
}

TEST_F(AppTest, QueriesAndActivity) {
    EXPECT_TRUE(app->anyActivity());
    EXPECT_FALSE(app->anyActivity());
    unsigned long version = mApp::getVersion();
    EXPECT_NE(0u, version);
    EXPECT_EQ(0u, version & 0xFFFF);
    EXPECT_EQ(mApp::OS_WINNT, mApp::getOS());
    mRect work = mApp::getScreenBounds();
    EXPECT_EQ(mSize(work.width(), work.height()), mApp::getScreenSize(false));
}

TEST_F(AppTest, SecondInstanceIsFound) {
    new Frame(app, "main");
    mApp second("SpineTest");
    EXPECT_TRUE(second.isAnyRunning());
    mApp other("SomethingElse");
    EXPECT_FALSE(other.isAnyRunning());
    second.activateOther();
}

TEST_F(AppTest, SearchPathStartsAtTheModuleDirectory) {
    new Frame(app, "main");
    ASSERT_EQ(1u, app->getFileSearchPath().size());
    mFSdir dir = app->getAppDirectory();
    char exe[MAX_PATH];
    GetModuleFileNameA(nullptr, exe, MAX_PATH);
    std::string expected(exe);
    expected = expected.substr(0, expected.rfind('\\'));
    EXPECT_STREQ(expected.c_str(), dir.getFullPath().c_str());
    app->appendFileSearchPath(mFSdir("C:\\extra"));
    new Frame(app, "second");
    ASSERT_EQ(1u, app->getFileSearchPath().size()) << "only the first entry goes up to a state of the same module";
    EXPECT_STREQ(expected.c_str(), app->getAppDirectory().getFullPath().c_str());
}
