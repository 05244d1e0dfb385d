// The demo title: a main frame, an idle listener that counts the rounds of the run loop,
// and a timer that ends the run.
#include <Velnor11.h>

#include <cstdio>
#include <windows.h>

namespace {

class DemoFrame : public mMainFrame {
public:
    DemoFrame(mApp *app, mModule *module)
        : mMainFrame(app, module, mRect(40, 40, 680, 520), TITLE_BAR | CLOSE_ENABLED | SYSTEM_MENU, "Velnor11 demo",
                     0) {}
};

class IdleCounter : public mAppListener {
public:
    void onIdle(unsigned long count) override { ++rounds; }
    unsigned long rounds = 0;
};

class Ending : public mTimerListener {
public:
    explicit Ending(mApp *app) : app(app) {}
    void timerPopped(mTimer &timer) override {
        std::printf("timer: popped after %lu ms, ending the run\n", mTimer::getCurTime() - started);
        app->shutdown(0);
    }
    mApp *app;
    unsigned long started = mTimer::getCurTime();
};

} // namespace

int main() {
    mApp app("VelnorDemo");
    mModule module(reinterpret_cast<SYSTEM_INFO_STRUCT *>(GetModuleHandleA(nullptr)));
    DemoFrame *frame = new DemoFrame(&app, &module);
    IdleCounter idle;
    app.registerIdle(&idle);
    frame->setVisible(true);
    std::printf("frame: \"%s\" shown at %ldx%ld, client area %dx%d\n", frame->getTitle().c_str(),
                frame->getPosition().x, frame->getPosition().y, frame->getClientBounds().width(),
                frame->getClientBounds().height());
    Ending ending(&app);
    mTimer timer(500, &ending, 0, false);
    int rc = app.start();
    std::printf("idle: %lu rounds of the run loop\n", idle.rounds);
    std::printf("demo: start returned %d\n", rc);
    return rc;
}
