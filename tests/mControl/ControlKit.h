// A parent frame that writes down what its controls tell it, and input posted as a person
// would give it.
#pragma once
#include "VelnorTest.h"

#include <string>
#include <vector>

namespace ck {

inline HWND hwnd(const mWindow *w) { return reinterpret_cast<HWND>(w->getPeer()); }
inline std::string str(const mString &s) { return s.c_str(); }

struct Parent : vt::TestFrame {
    explicit Parent(mApp *app) : vt::TestFrame(app) {}
    bool onCommand(int id, int code) override {
        events.push_back("command " + std::to_string(id) + " " + std::to_string(code));
        return true;
    }
    bool onHScroll(int code, mScrollBar *bar, int position) override {
        events.push_back("hscroll " + std::to_string(code) + (bar ? " bar" : " own"));
        return true;
    }
    std::vector<std::string> events;
};

class ControlFixture : public vt::FrameFixture<Parent> {
protected:
    ControlFixture() : vt::FrameFixture<Parent>("ControlTest") {}
    // Lets everything posted so far be handled.
    void settle() { vt::drainMessages(); }
    void click(const mWindow *w, int x, int y) {
        PostMessageA(hwnd(w), WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(x, y));
        PostMessageA(hwnd(w), WM_LBUTTONUP, 0, MAKELPARAM(x, y));
        settle();
    }
    void type(const mWindow *w, const char *text) {
        for (const char *c = text; *c; ++c)
            PostMessageA(hwnd(w), WM_CHAR, (WPARAM)(unsigned char)*c, 1);
        settle();
    }
    void key(const mWindow *w, int vk) {
        PostMessageA(hwnd(w), WM_KEYDOWN, (WPARAM)vk, 1);
        PostMessageA(hwnd(w), WM_KEYUP, (WPARAM)vk, 0xC0000001);
        settle();
    }
    // What a control would send its parent, with a code of our choosing.
    void notify(const mWindow *w, int code) {
        SendMessageA(hwnd(frame), WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(hwnd(w)), (WORD)code), (LPARAM)hwnd(w));
    }
    std::vector<std::string> take() {
        std::vector<std::string> e;
        e.swap(frame->events);
        return e;
    }
};

} // namespace ck
