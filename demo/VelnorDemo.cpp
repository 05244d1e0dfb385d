// The demo title: a main frame, an idle listener and a timer that ends the run.
#include <Velnor11.h>

#include <cstdio>
#include <windows.h>

namespace {

class DemoFrame : public mMainFrame {
public:
    DemoFrame(mApp *app, mModule *module)
        : mMainFrame(app, module, mRect(40, 40, 680, 520), TITLE_BAR | CLOSE_ENABLED | SYSTEM_MENU, "Velnor11 demo", 0) {}
};

class IdleCounter : public mAppListener {
public:
    void onIdle(unsigned long count) override {
        ++rounds;
        if (rounds == 200) {
            std::printf("idle: %lu rounds, frame shown, closing\n", rounds);
            std::fflush(stdout);
            mApp::getCurrentApp()->shutdown(0);
        }
    }
    unsigned long rounds = 0;
};

} // namespace

int main() {
    mApp app("VelnorDemo");
    mModule module(reinterpret_cast<SYSTEM_INFO_STRUCT *>(GetModuleHandleA(nullptr)));
    DemoFrame *frame = new DemoFrame(&app, &module);
    IdleCounter idle;
    app.registerIdle(&idle);
    frame->setVisible(true);
    int rc = app.start();
    std::printf("demo: start returned %d\n", rc);
    return rc;
}
