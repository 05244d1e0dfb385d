// What the window tests share: an application with a hidden frame that records its events,
// and an idle listener that runs a function, the way into the platform's modal loops.
#pragma once
#include "VelnorTest.h"

#include <functional>
#include <string>
#include <vector>

namespace wk {

struct Idle : mAppListener {
    explicit Idle(std::function<void(unsigned long)> f) : f(f) {}
    void onIdle(unsigned long count) override {
        ++rounds;
        f(count);
    }
    std::function<void(unsigned long)> f;
    int rounds = 0;
};

struct Frame : vt::TestFrame {
    explicit Frame(mApp *app, int style = TITLE_BAR | CLOSE_ENABLED | SYSTEM_MENU | SIZING)
        : vt::TestFrame(app, 0, style) {}
    // The system's own commands (moving, closing) are left to the platform.
    bool onCommand(int id, int code) override {
        events.push_back("command " + std::to_string(id) + " " + std::to_string(code));
        return id < 0x8000;
    }
    bool onMenuSelect(int id) override {
        events.push_back("select " + std::to_string(id));
        return false;
    }
    void onUserDrag(bool starting) override { events.push_back(starting ? "drag" : "drop"); }
    std::vector<std::string> events;
};

class WindowFixture : public vt::FrameFixture<Frame> {
protected:
    explicit WindowFixture(const char *name) : vt::FrameFixture<Frame>(name) {}
    // Posts keys to the window in order, as a person at the keyboard would type them.
    void type(std::initializer_list<WPARAM> keys) {
        for (WPARAM key : keys)
            PostMessageA(peer(), WM_KEYDOWN, key, 0);
    }
};

} // namespace wk
