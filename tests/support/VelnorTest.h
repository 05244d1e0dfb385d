// Helpers shared by the test programs: message pumping, automatic answers to boxes and
// dialogs, and watchdogs that keep a broken run loop from hanging a test.
#pragma once
#include <Velnor11.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>
#include <windows.h>

namespace vt {

// Removes every waiting message of this thread, a quit message included.
void drainMessages();

// Dispatches messages for up to ms milliseconds, or until done() says so; returns done().
bool pumpUntil(const std::function<bool()> &done, int ms);

// Answers the dialogs of this process whose title matches, from a thread of its own:
// it reads the texts of the dialog's static controls and then presses the button `button`.
class DialogAnswerer {
public:
    explicit DialogAnswerer(const std::string &title, int button = IDOK);
    ~DialogAnswerer();
    int count() const { return answered.load(); }
    std::string lastText();
    // Runs before the button is pressed, on the answering thread, with the dialog's handle.
    void setAction(std::function<void(HWND)> action);
    // Waits up to ms for at least n answers.
    bool waitFor(int n, int ms);

private:
    void run();

    std::string title;
    int button;
    std::atomic<int> answered{0};
    std::atomic<bool> stop{false};
    std::mutex lock;
    std::string text;
    std::function<void(HWND)> action;
    std::thread worker;
};

// Posts quit messages to the thread that made it once ms have passed, so a loop that does
// not end by itself still returns; fired() tells the test it had to.
class Watchdog {
public:
    explicit Watchdog(int ms);
    ~Watchdog();
    bool fired() const { return didFire.load(); }

private:
    DWORD thread;
    std::atomic<bool> stop{false};
    std::atomic<bool> didFire{false};
    std::thread worker;
};

// The module of the test program itself.
mModule *testModule();

// A main frame of the test's own, hidden unless shown.
class TestFrame : public mMainFrame {
public:
    TestFrame(mApp *app, unsigned short resumeMessage = 0, int style = TITLE_BAR | CLOSE_ENABLED | SYSTEM_MENU)
        : mMainFrame(app, testModule(), mRect(10, 10, 330, 250), style, "Velnor test", resumeMessage) {}
    bool onUserMessage(short message, int p1, long p2, int &result) override {
        userMessages.push_back(message);
        if (userHandler)
            return userHandler(message, p1, p2, result);
        return false;
    }
    std::vector<int> userMessages;
    std::function<bool(short, int, long, int &)> userHandler;
};

// A test with an application of its own, made current for the test and gone after it, and
// with an empty message queue on both sides.
class AppFixture : public ::testing::Test {
protected:
    explicit AppFixture(const char *name) : name(name) {}
    void SetUp() override;
    void TearDown() override;

    const char *name;
    mApp *app = nullptr;
    mApp *previous = nullptr;
};

// An application with one frame of type F made for each test; the frame, if still there,
// is destroyed and its state left before the application goes.
template <class F> class FrameFixture : public AppFixture {
protected:
    explicit FrameFixture(const char *name) : AppFixture(name) {}
    void SetUp() override {
        AppFixture::SetUp();
        frame = new F(app);
    }
    void TearDown() override {
        if (app->getStateCount()) {
            frame->destroy();
            pumpUntil([&] { return app->getStateCount() == 0; }, 3000);
        }
        AppFixture::TearDown();
    }
    HWND peer() const { return reinterpret_cast<HWND>(frame->getPeer()); }

    F *frame = nullptr;
};

// Runs app.start() under a watchdog; the test fails if the watchdog had to end the loop.
int runBounded(mApp &app, int ms = 10000);

} // namespace vt
