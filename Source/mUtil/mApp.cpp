#include "mUtil/mApp.h"
#include "mUtil/mFaultGuard.h"
#include "mUtil/mModule.h"
#include "mWindow/mDialog.h"
#include "mWindow/mFrame.h"

#include <cstdlib>
#include <exception>
#include <new>
#include <windows.h>

static const char srcPath[] = "mUtil/mApp";

mApp *mApp::currApp = nullptr;

namespace {
std::exception_ptr parked;
HWND hwndOf(mWindow *w) { return reinterpret_cast<HWND>(w->getPeer()); }
} // namespace

// ---- The one heap: the library's own new and delete come here too.

void *mApp::malloc(int size) { return std::malloc(size > 0 ? (size_t)size : 1); }

void mApp::free(void *block) { std::free(block); }

void *operator new(size_t size) {
    void *p = mApp::malloc((int)size);
    if (!p)
        throw std::bad_alloc();
    return p;
}
void *operator new[](size_t size) { return operator new(size); }
void *operator new(size_t size, const std::nothrow_t &) noexcept { return mApp::malloc((int)size); }
void *operator new[](size_t size, const std::nothrow_t &) noexcept { return mApp::malloc((int)size); }
void operator delete(void *p) noexcept { mApp::free(p); }
void operator delete[](void *p) noexcept { mApp::free(p); }
void operator delete(void *p, size_t) noexcept { mApp::free(p); }
void operator delete[](void *p, size_t) noexcept { mApp::free(p); }

// ---- Exceptions that cross the platform's dispatch.

void mApp::parkException() {
    if (!parked)
        parked = std::current_exception();
}

void mApp::rethrowParked() {
    if (parked) {
        std::exception_ptr e = parked;
        parked = nullptr;
        std::rethrow_exception(e);
    }
}

void mApp::dispatch(const void *msg) {
    DispatchMessageA(static_cast<const MSG *>(msg));
    rethrowParked();
}

// ---- Listeners and states.

mExitListener::mExitListener() {
    mApp *app = mApp::getCurrentApp();
    if (app && app->current)
        app->current->exitListeners.push_back(this);
}

mExitListener::~mExitListener() { removeExit(); }

void mExitListener::onExit(bool fatal) { delete this; }

void mExitListener::removeExit() {
    mApp *app = mApp::getCurrentApp();
    if (!app || !app->states)
        return;
    for (auto s = app->states->rbegin(); s != app->states->rend(); ++s) {
        std::vector<mExitListener *> &list = (*s)->exitListeners;
        for (size_t i = list.size(); i-- > 0;) {
            if (list[i] == this) {
                list[i] = nullptr;
                return;
            }
        }
    }
}

mAppState::mAppState(mMainFrame *frame, mWindow *client, mModule *module, unsigned short resumeMessage,
                     bool isClient)
    : mainFrame(frame), clientWindow(client), module(module), resumeMessage(resumeMessage), isClient(isClient) {}

mAppState::~mAppState() {
    notifyExits(false);
    for (mAccel *a : accelerators)
        delete a;
}

void mAppState::notifyExits(bool fatal) {
    for (size_t i = exitListeners.size(); i-- > 0;) {
        if (i >= exitListeners.size())
            continue;
        mExitListener *listener = exitListeners[i];
        exitListeners[i] = nullptr;
        if (!listener)
            continue;
        try {
            listener->onExit(fatal);
        } catch (mError &) {
            // One listener's failure must not keep the others from hearing of the end.
        }
    }
    exitListeners.clear();
}

// ---- Construction.

mApp::mApp(const mString &name)
    : states(new std::deque<mAppState *>), current(nullptr), quit(false), exitCode(0), closing(false),
      activation(false), fatal(false), activity(true), otherInstance(nullptr) {
    mWindow::registerClass(name, nullptr);
    otherInstance = reinterpret_cast<SYSTEM_INFO_STRUCT *>(FindWindowA(mWindow::getBaseClassName().c_str(), nullptr));
    if (!currApp)
        currApp = this;
}

mApp::~mApp() {
    while (!states->empty())
        popState();
    delete states;
    states = nullptr;
    if (currApp == this)
        currApp = nullptr;
}

mApp *mApp::setCurrentApp() {
    mApp *previous = currApp;
    currApp = this;
    return previous;
}

void mApp::activateOther() {
    HWND other = reinterpret_cast<HWND>(otherInstance);
    if (!other || !SetForegroundWindow(other))
        return;
    WINDOWPLACEMENT placement;
    placement.length = sizeof placement;
    GetWindowPlacement(other, &placement);
    if (placement.showCmd & 2)
        ShowWindow(other, SW_RESTORE);
}

// ---- The run loop.

int mApp::guardedStart(void *app) { return static_cast<mApp *>(app)->processStart(); }
int mApp::guardedCloseDown(void *app) { return static_cast<mApp *>(app)->closeDown(); }

int mApp::start() {
    int rc = 1;
    mFaultInfo fault;
    if (!mFaultGuard::run(&mApp::guardedStart, this, rc, fault)) {
        // The report comes first, then the exit listeners: the opposite order to an mError.
        mMsgBox::ok(mFaultGuard::describe(fault), "Fatal error!!!", mMsgBox::OK, false, mMsgBox::STOP, false);
        rc = 1;
        fatal = true;
        callAllExits();
    }
    if (!fatal)
        return rc;
    // A second, guarded run of the loop closes the windows; it reports nothing more.
    exitCode = rc;
    int second = rc;
    if (!mFaultGuard::run(&mApp::guardedCloseDown, this, second, fault))
        return rc;
    return second;
}

int mApp::closeDown() {
    shutdown(exitCode);
    return processStart();
}

int mApp::processStart() {
    if (!current)
        return 0;
    try {
        return runLoop();
    } catch (mError &e) {
        if (!fatal) {
            fatal = true;
            callAllExits();
            mString text = e.text(mString("Error:") + mFSobject::getTextEOL(), true);
            mMsgBox::ok(text, "Fatal error!!!", mMsgBox::OK, false, mMsgBox::STOP, false);
        }
        exitCode = 1;
        return exitCode;
    }
}

int mApp::runLoop() {
    MSG msg;
    bool inHand = false;
    unsigned long idleCount = 0;
    for (;;) {
        if (quit)
            return exitCode;
        while (inHand) {
            if (quit)
                return exitCode;
            filterAndDispatch(&msg);
            if (msg.message == WM_QUIT) {
                quit = true;
                return (int)msg.wParam;
            }
            // A message taken once the run has ended would be lost: it stays queued for whoever
            // pumps next.
            if (quit)
                return exitCode;
            inHand = PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE) != 0;
        }
        if (quit)
            return exitCode;
        if (current && !current->idleListeners.empty()) {
            processIdle(idleCount++);
            inHand = !quit && PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE) != 0;
            Sleep(0);
            continue;
        }
        GetMessageA(&msg, nullptr, 0, 0);
        inHand = true;
        idleCount = 0;
    }
}

void mApp::filterAndDispatch(void *m) {
    MSG *msg = static_cast<MSG *>(m);
    if (!activity)
        checkUserActivity(msg);
    if (current && !current->dialogs.empty() && dialogMsg(msg))
        return;
    if (current && !current->accelerators.empty() && accelerate(msg))
        return;
    TranslateMessage(msg);
    dispatch(msg);
}

bool mApp::processIdle(unsigned long count) {
    mAppState *state = current;
    if (!state || state->idleListeners.empty())
        return true;
    // By position, with the length read anew: listeners may come and go during the round.
    // A listener that changes the state ends the round.
    for (size_t i = 0; current == state && i < state->idleListeners.size(); ++i)
        state->idleListeners[i]->onIdle(count);
    return false;
}

bool mApp::handleMessages() {
    for (;;) {
        MSG msg;
        if (!PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
            if (current && !current->idleListeners.empty())
                processIdle(0);
            Sleep(0);
            return quit;
        }
        if (msg.message == mWindow::DEFERRED_DESTROY && isMainFramePeer(msg.hwnd)) {
            // The frame must outlive the work in progress: the outer loop destroys it.
            PostMessageA(msg.hwnd, msg.message, msg.wParam, msg.lParam);
            return true;
        }
        filterAndDispatch(&msg);
        if (msg.message == WM_QUIT) {
            PostMessageA(nullptr, WM_QUIT, msg.wParam, msg.lParam);
            return true;
        }
    }
}

bool mApp::isMainFramePeer(void *hwnd) const {
    for (auto s = states->rbegin(); s != states->rend(); ++s)
        if ((*s)->mainFrame && (*s)->mainFrame->getPeer() == hwnd)
            return true;
    return false;
}

void mApp::checkUserActivity(void *m) {
    switch (static_cast<MSG *>(m)->message) {
    case WM_MOUSEMOVE:
    case WM_SYSKEYDOWN:
    case WM_KEYDOWN:
    case WM_LBUTTONDOWN:
    case WM_MBUTTONDOWN:
    case WM_RBUTTONDOWN:
    case WM_NCMOUSEMOVE:
    case WM_NCLBUTTONDOWN:
        activity = true;
        break;
    default:
        break;
    }
}

bool mApp::anyActivity() {
    bool seen = activity;
    activity = false;
    return seen;
}

bool mApp::dialogMsg(void *msg) {
    std::vector<mDialog *> &dialogs = current->dialogs;
    for (size_t i = 0; i < dialogs.size(); ++i)
        if (IsDialogMessageA(hwndOf(dialogs[i]), static_cast<MSG *>(msg)))
            return true;
    return false;
}

bool mApp::accelerate(void *msg) {
    std::vector<mAccel *> &accelerators = current->accelerators;
    HWND frame = current->mainFrame ? hwndOf(current->mainFrame) : nullptr;
    for (size_t i = 0; i < accelerators.size(); ++i)
        if (TranslateAcceleratorA(frame, reinterpret_cast<HACCEL>(accelerators[i]->getPeer()),
                                  static_cast<MSG *>(msg)))
            return true;
    return false;
}

int mApp::getNextChar(bool sys) {
    MSG key, ch;
    UINT down = sys ? WM_SYSKEYDOWN : WM_KEYDOWN;
    if (!PeekMessageA(&key, nullptr, down, down, PM_REMOVE))
        return -1;
    UINT charMsg = sys ? WM_SYSCHAR : WM_CHAR;
    if (TranslateMessage(&key) && PeekMessageA(&ch, nullptr, charMsg, charMsg, PM_REMOVE))
        return (signed char)(ch.wParam & 0xFF);
    int code = mWindow::convVKey((int)key.wParam);
    return code == 0x1000 ? -1 : code;
}

// ---- States.

void mApp::pushState(mAppState *state) {
    if (current && current->module == state->module && !current->searchPath.empty())
        state->searchPath.push_back(current->searchPath.front());
    if (state->isClient && current && current->mainFrame)
        current->mainFrame->getLimits(current->minSize, current->maxSize);
    if (state->searchPath.empty() && state->module)
        state->searchPath.push_back(state->module->getModuleDirectory());
    states->push_back(state);
    current = state;
}

void mApp::popState() {
    mAppState *top = states->back();
    states->pop_back();
    current = states->empty() ? nullptr : states->back();
    delete top;
}

void mApp::setMainWindow(mMainFrame *frame, mModule *module, unsigned short resumeMessage) {
    pushState(new mAppState(frame, nullptr, module, resumeMessage, false));
}

void mApp::setClientWindow(mWindow *window, mModule *module, unsigned short resumeMessage) {
    if (!current)
        VELNOR_THROW("A client window needs an application state", 0);
    pushState(new mAppState(current->mainFrame, window, module, resumeMessage, true));
}

void mApp::storeClientWindow(mWindow *window) {
    if (current)
        current->clientWindow = window;
}

mMainFrame *mApp::getMainWindow() const { return current ? current->mainFrame : nullptr; }
mWindow *mApp::getClientWindow() const { return current ? current->clientWindow : nullptr; }
mModule *mApp::getModule() const { return current ? current->module : nullptr; }
mDialog *mApp::getActiveDialog() const {
    return current && !current->dialogs.empty() ? current->dialogs.back() : nullptr;
}

void mApp::exitState() {
    if (!current)
        return;
    if (current->isClient) {
        if (current->clientWindow)
            current->clientWindow->destroy();
        popState();
        if (current->mainFrame)
            current->mainFrame->setLimits(current->minSize, current->maxSize);
        resume(current->clientWindow);
        return;
    }
    current->notifyExits(false);
    if (current->mainFrame)
        current->mainFrame->destroy();
}

void mApp::resume(mWindow *window) {
    if (!window)
        return;
    if (current->resumeMessage)
        window->postUserMessage(current->resumeMessage, 0, 0);
    else
        window->setVisible(true);
}

void mApp::destroyed(mMainFrame *) {
    if (states->empty())
        return;
    popState();
    if (!current) {
        quit = true;
        PostQuitMessage(0);
        return;
    }
    if (closing)
        shutdown(exitCode);
    else
        resume(current->mainFrame);
}

void mApp::shutdown(int code) {
    exitCode = code;
    if (bubbleUp()) {
        closing = true;
        current->mainFrame->destroy();
    } else {
        quit = true;
        PostQuitMessage(code);
    }
}

bool mApp::bubbleUp() {
    if (!current)
        return false;
    while (current->isClient) {
        popState();
        if (!current)
            return false;
    }
    return current->mainFrame != nullptr;
}

void mApp::callAllExits() {
    for (auto s = states->rbegin(); s != states->rend(); ++s)
        (*s)->notifyExits(true);
}

// ---- Lists of the current state.

void mApp::registerIdle(mAppListener *listener) {
    if (current)
        current->idleListeners.push_back(listener);
}

template <class T> static void removeFirst(std::vector<T *> &list, T *item) {
    for (auto it = list.begin(); it != list.end(); ++it) {
        if (*it == item) {
            list.erase(it);
            return;
        }
    }
}

void mApp::unregisterIdle(mAppListener *listener) {
    if (current)
        removeFirst(current->idleListeners, listener);
}

void mApp::registerDialog(mDialog *dialog) {
    if (current)
        current->dialogs.push_back(dialog);
}

void mApp::unregisterDialog(mDialog *dialog) {
    if (current)
        removeFirst(current->dialogs, dialog);
}

void mApp::registerAccelerators(unsigned short id) {
    if (current)
        current->accelerators.push_back(new mAccel(current->module, id));
}

void mApp::unregisterAccelerators(unsigned short id) {
    if (!current)
        return;
    std::vector<mAccel *> &list = current->accelerators;
    for (auto it = list.begin(); it != list.end(); ++it) {
        if ((*it)->getId() == id) {
            delete *it;
            list.erase(it);
            return;
        }
    }
}

void mApp::appendFileSearchPath(const mFSdir &dir) {
    if (current)
        current->searchPath.push_back(dir);
}

std::vector<mFSdir> &mApp::getFileSearchPath() {
    static std::vector<mFSdir> none;
    return current ? current->searchPath : none;
}

mFSdir mApp::getAppDirectory() const {
    return current && !current->searchPath.empty() ? current->searchPath.front() : mFSdir();
}

// ---- Queries.

mSize mApp::getScreenSize(bool whole) {
    if (whole)
        return mSize(GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN));
    mRect r = getScreenBounds();
    return mSize(r.width(), r.height());
}

mRect mApp::getScreenBounds() {
    RECT r = {0, 0, 0, 0};
    SystemParametersInfoA(SPI_GETWORKAREA, 0, &r, 0);
    return mRect(r.left, r.top, r.right, r.bottom);
}

unsigned long mApp::getVersion() {
    OSVERSIONINFOA info;
    info.dwOSVersionInfoSize = sizeof info;
    if (!GetVersionExA(&info))
        return 0;
    return (info.dwMajorVersion << 24) | ((info.dwMinorVersion & 0xFF) << 16);
}

mApp::mOS mApp::getOS() {
    OSVERSIONINFOA info;
    info.dwOSVersionInfoSize = sizeof info;
    if (!GetVersionExA(&info))
        return OS_UNKNOWN;
    if (info.dwPlatformId == VER_PLATFORM_WIN32_NT)
        return OS_WINNT;
    return info.dwMinorVersion == 0 ? OS_WIN95 : OS_WIN98;
}

int mApp::getScreenColorDepth() {
    HWND desktop = GetDesktopWindow();
    HDC dc = GetDC(desktop);
    int bits = GetDeviceCaps(dc, BITSPIXEL);
    ReleaseDC(desktop, dc);
    return bits;
}

mPoint mApp::getMousePos() {
    POINT p = {0, 0};
    GetCursorPos(&p);
    return mPoint(p.x, p.y);
}

unsigned long mApp::availMem() {
    MEMORYSTATUS status;
    status.dwLength = sizeof status;
    GlobalMemoryStatus(&status);
    return (unsigned long)status.dwAvailVirtual;
}
