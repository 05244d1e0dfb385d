#include "WindowKit.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace {

class WindowCoreTest : public wk::WindowFixture {
protected:
    WindowCoreTest() : wk::WindowFixture("WindowCoreTest") {}

    // The top-level windows of this thread and the children of the frame.
    int windowCount() {
        struct Counter {
            static BOOL CALLBACK each(HWND, LPARAM n) {
                ++*reinterpret_cast<int *>(n);
                return TRUE;
            }
        };
        int n = 0;
        EnumThreadWindows(GetCurrentThreadId(), Counter::each, reinterpret_cast<LPARAM>(&n));
        EnumChildWindows(peer(), Counter::each, reinterpret_cast<LPARAM>(&n));
        return n;
    }
};

// Objects of the window layer that count themselves in and out.
int alive = 0;
template <class Base> struct Counted : Base {
    template <class... A> explicit Counted(A... a) : Base(a...) { ++alive; }
    ~Counted() override { --alive; }
};
struct Child : mWindow {
    explicit Child(mWindow *parent) : mWindow(parent, mRect(0, 0, 20, 20), false) {}
};
struct Frame : mFrame {
    Frame() : mFrame(nullptr, mRect(0, 0, 60, 60), TITLE_BAR | CLOSE_ENABLED, "cycle") {}
};

} // namespace

TEST_F(WindowCoreTest, DraggingAWindowKeepsIdleRoundsRunning) {
    frame->setVisible(true);
    // The platform's move loop ends with Return; the idle rounds type it, so the loop only
    // ends if they run while it lasts. A late Escape keeps a broken build from hanging.
    int roundsWhileDragging = 0;
    wk::Idle idle([&](unsigned long) {
        if (frame->events.empty() || frame->events.back() != "drag")
            return;
        if (++roundsWhileDragging == 20)
            type({VK_RETURN});
    });
    app->registerIdle(&idle);
    HWND window = peer();
    std::atomic<bool> ended{false};
    std::thread rescue([&] {
        for (int waited = 0; waited < 8000 && !ended; waited += 10)
            Sleep(10);
        if (!ended)
            PostMessageA(window, WM_KEYDOWN, VK_ESCAPE, 0);
    });
    RECT r;
    GetWindowRect(window, &r);
    DWORD started = GetTickCount();
    SendMessageA(window, WM_SYSCOMMAND, SC_MOVE | HTCAPTION, MAKELPARAM(r.left + 20, r.top + 5));
    DWORD took = GetTickCount() - started;
    ended = true;
    rescue.join();
    app->unregisterIdle(&idle);
    EXPECT_EQ(std::vector<std::string>({"command 32773 1", "drag", "drop"}), frame->events);
    EXPECT_GE(roundsWhileDragging, 20);
    EXPECT_LT(took, 8000u) << "the loop was ended by the rescue, not by idle rounds";
    MSG msg;
    EXPECT_FALSE(PeekMessageA(&msg, window, WM_TIMER, WM_TIMER, PM_NOREMOVE)) << "the idle timer goes with the drag";
}

TEST_F(WindowCoreTest, HandlesAndCodesKeepTheirWidthAndSign) {
    // A control answers its colours itself, with a handle that needs all 64 bits.
    struct Control {
        static LRESULT CALLBACK proc(HWND w, UINT m, WPARAM wp, LPARAM lp) {
            if (m == mWindow::REFLECT_COLOR)
                return (LRESULT)0x123456789AB0LL + (LRESULT)lp;
            return DefWindowProcA(w, m, wp, lp);
        }
    };
    WNDCLASSA wc = {};
    wc.lpfnWndProc = Control::proc;
    wc.lpszClassName = "VelnorWideControl";
    RegisterClassA(&wc);
    HWND control = CreateWindowExA(0, "VelnorWideControl", "", WS_CHILD, 0, 0, 5, 5, peer(), nullptr, nullptr, nullptr);
    EXPECT_EQ((LRESULT)0x123456789AB1LL, SendMessageA(peer(), WM_CTLCOLOREDIT, 0, (LPARAM)control));
    EXPECT_EQ((LRESULT)0x123456789AB6LL, SendMessageA(peer(), WM_CTLCOLORSTATIC, 0, (LPARAM)control));

    // A list box reports a failure with a negative code in the high word; a menu command has 0.
    SendMessageA(peer(), WM_COMMAND, MAKEWPARAM(7, (WORD)LBN_ERRSPACE), 0);
    SendMessageA(peer(), WM_COMMAND, MAKEWPARAM(8, 0), 0);
    EXPECT_EQ(std::vector<std::string>({"command 7 -2", "command 8 0"}), frame->events);

    mIcon icon(vt::testModule(), 700);
    frame->setIcon(&icon);
    EXPECT_NE(0, GetClassLongPtrA(peer(), GCLP_HICON));
    frame->setIcon(nullptr);
    EXPECT_EQ(0, GetClassLongPtrA(peer(), GCLP_HICON));
}

TEST_F(WindowCoreTest, ThousandCyclesLeaveNoObjectOrPeerBehind) {
    const int windowsBefore = windowCount();
    auto cycle = [&](const char *kind, const std::function<void()> &once) {
        for (int i = 0; i < 1000; ++i)
            once();
        vt::drainMessages();
        EXPECT_EQ(0, alive) << kind;
        EXPECT_EQ(windowsBefore, windowCount()) << kind;
    };
    cycle("child", [&] { (new Counted<Child>(static_cast<mWindow *>(frame)))->destroy(); });
    cycle("frame", [] { (new Counted<Frame>())->destroy(); });
    cycle("dialog", [&] {
        mDialog *dialog = new Counted<mDialog>(static_cast<mWindow *>(frame), false);
        dialog->go(600, false, nullptr);
        dialog->destroy();
    });
    std::vector<HMENU> menus;
    cycle("menu", [&] {
        mMenu *bar = new Counted<mMenu>(vt::testModule(), (unsigned short)500);
        menus.push_back(reinterpret_cast<HMENU>(bar->getPeer()));
        static_cast<mMenu *>(bar->getItem(0))->append(new Counted<mMenuItem>((unsigned short)9, mString("x"), false, false));
        delete frame->setMenu(bar);  // the one before goes to its new owner, who deletes it
        if (menus.size() == 1000)
            delete frame->setMenu(nullptr);
    });
    EXPECT_EQ(0, std::count_if(menus.begin(), menus.end(), [](HMENU m) { return IsMenu(m) != FALSE; }));
}
