#include <Velnor11.h>

#include <cstdio>
#include <windows.h>

class Frame : public mMainFrame {
public:
    Frame(mApp *app, mModule *module) : mMainFrame(app, module, mRect(0, 0, 200, 100), TITLE_BAR, "consumer", 0) {}
};

class Quit : public mAppListener {
public:
    void onIdle(unsigned long count) override {
        if (count == 10)
            mApp::getCurrentApp()->shutdown(21);
    }
};

int main() {
    mApp app("Consumer");
    mModule module(reinterpret_cast<SYSTEM_INFO_STRUCT *>(GetModuleHandleA(nullptr)));
    new Frame(&app, &module);
    Quit quit;
    app.registerIdle(&quit);
    int rc = app.start();
    std::printf("consumer: start returned %d\n", rc);
    return rc == 21 ? 0 : 1;
}
