#include "VelnorTest.h"


namespace vt {

void drainMessages() {
    MSG msg;
    while (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
        if (msg.message != WM_QUIT)
            DispatchMessageA(&msg);
    }
    mApp::rethrowParked();
}

bool pumpUntil(const std::function<bool()> &done, int ms) {
    DWORD start = GetTickCount();
    while (!done()) {
        if ((int)(GetTickCount() - start) > ms)
            return false;
        MSG msg;
        if (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&msg);
            mApp::dispatch(&msg);
        } else {
            Sleep(1);
        }
    }
    return true;
}

namespace {

struct Found {
    const std::string *title;
    HWND window;
};

BOOL CALLBACK findDialog(HWND w, LPARAM param) {
    Found *f = reinterpret_cast<Found *>(param);
    DWORD pid = 0;
    GetWindowThreadProcessId(w, &pid);
    if (pid != GetCurrentProcessId() || !IsWindowVisible(w))
        return TRUE;
    char cls[64] = {}, caption[256] = {};
    GetClassNameA(w, cls, sizeof cls);
    GetWindowTextA(w, caption, sizeof caption);
    if (std::string(cls) == "#32770" && *f->title == caption) {
        f->window = w;
        return FALSE;
    }
    return TRUE;
}

BOOL CALLBACK collectStatic(HWND w, LPARAM param) {
    char cls[64] = {}, text[1024] = {};
    GetClassNameA(w, cls, sizeof cls);
    if (lstrcmpiA(cls, "Static") == 0) {
        GetWindowTextA(w, text, sizeof text);
        if (*text) {
            std::string *all = reinterpret_cast<std::string *>(param);
            if (!all->empty())
                *all += "\n";
            *all += text;
        }
    }
    return TRUE;
}

} // namespace

DialogAnswerer::DialogAnswerer(const std::string &title, int button)
    : title(title), button(button), worker([this] { run(); }) {}

DialogAnswerer::~DialogAnswerer() {
    stop = true;
    worker.join();
}

std::string DialogAnswerer::lastText() {
    std::lock_guard<std::mutex> hold(lock);
    return text;
}

void DialogAnswerer::setAction(std::function<void(HWND)> a) {
    std::lock_guard<std::mutex> hold(lock);
    action = a;
}

bool DialogAnswerer::waitFor(int n, int ms) {
    return pumpUntil([&] { return answered.load() >= n; }, ms);
}

void DialogAnswerer::run() {
    HWND last = nullptr;
    while (!stop) {
        Found f = {&title, nullptr};
        EnumWindows(findDialog, reinterpret_cast<LPARAM>(&f));
        if (f.window && f.window != last) {
            Sleep(50);
            std::string all;
            EnumChildWindows(f.window, collectStatic, reinterpret_cast<LPARAM>(&all));
            std::function<void(HWND)> act;
            {
                std::lock_guard<std::mutex> hold(lock);
                text = all;
                act = action;
            }
            if (act)
                act(f.window);
            PostMessageA(f.window, WM_COMMAND, MAKEWPARAM(button, BN_CLICKED),
                         reinterpret_cast<LPARAM>(GetDlgItem(f.window, button)));
            last = f.window;
            ++answered;
        } else if (!f.window) {
            last = nullptr;
        }
        Sleep(20);
    }
}

Watchdog::Watchdog(int ms)
    : thread(GetCurrentThreadId()), worker([this, ms] {
          DWORD start = GetTickCount();
          while (!stop) {
              if ((int)(GetTickCount() - start) >= ms) {
                  didFire = true;
                  PostThreadMessageA(thread, WM_QUIT, 99, 0);
                  Sleep(200);
                  continue;
              }
              Sleep(10);
          }
      }) {}

Watchdog::~Watchdog() {
    stop = true;
    worker.join();
}

mModule *testModule() {
    static mModule module(reinterpret_cast<SYSTEM_INFO_STRUCT *>(GetModuleHandleA(nullptr)));
    return &module;
}

void AppFixture::SetUp() {
    drainMessages();
    // The new application makes itself current: the one before it is read first.
    previous = mApp::getCurrentApp();
    app = new mApp(name);
    app->setCurrentApp();
}

void AppFixture::TearDown() {
    delete app;
    if (previous)
        previous->setCurrentApp();
    drainMessages();
}

int runBounded(mApp &app, int ms) {
    Watchdog dog(ms);
    int rc = app.start();
    EXPECT_FALSE(dog.fired()) << "the run loop did not end by itself";
    return rc;
}

} // namespace vt
