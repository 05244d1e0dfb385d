#include "mWindow/mWindow.h"
#include "mWindow/mPeer.h"
#include "mUtil/mApp.h"
#include "mUtil/mModule.h"
#include "mWindow/mControl.h"
#include "mWindow/mDialog.h"
#include "mWindow/mFrame.h"
#include "mWindow/mMenu.h"

#include <windows.h>

static const char srcPath[] = "mWindow/mWindow";

mString mWindow::baseClassName;
std::vector<mWindow *> mWindow::trackers;

namespace {

// The bridge from the platform to the object in the first window word.
LRESULT CALLBACK windowProc(HWND peer, UINT message, WPARAM wParam, LPARAM lParam) {
    mWindow *window = reinterpret_cast<mWindow *>(GetWindowLongPtrA(peer, 0));
    mLResult result = 0;
    if (window && window->processParked((int)message, wParam, lParam, result))
        return result;
    return DefWindowProcA(peer, message, wParam, lParam);
}

const LPCSTR systemCursors[] = {IDC_WAIT, IDC_IBEAM, IDC_ARROW, IDC_CROSS, IDC_NO};

int lowSigned(uintptr_t v) { return (short)(v & 0xFFFF); }
int highSigned(uintptr_t v) { return (short)((v >> 16) & 0xFFFF); }
int highWord(uintptr_t v) { return (int)((v >> 16) & 0xFFFF); }
void *pointer(uintptr_t v) { return reinterpret_cast<void *>(v); }

} // namespace

void *mWindow::operator new(size_t size) { return mApp::malloc((int)size); }
void mWindow::operator delete(void *block) { mApp::free(block); }

// ---- Construction.

mWindow::mWindow(mWindow *parent)
    : peer(nullptr), paintInfo(mApp::malloc(sizeof(PAINTSTRUCT))), graphics(nullptr), palette(nullptr),
      cursor(ARROW), cursorIsSystem(true), enumDeep(false), childList(nullptr), parent(parent), hScroll(nullptr),
      vScroll(nullptr), gone(false) {
    static_cast<PAINTSTRUCT *>(paintInfo)->hdc = nullptr;
}

mWindow::mWindow(mWindow *parent, const mRect &bounds, bool sizingBorder) : mWindow(parent) {
    createPeer(bounds, sizingBorder ? WS_THICKFRAME : 0);
}

mWindow::mWindow(mWindow *parent, SYSTEM_INFO_STRUCT *foreign) : mWindow(parent) {
    mApp::free(paintInfo);
    paintInfo = nullptr;
    peer = foreign;
    gone = true;
}

// A copy shares the peer; its paint record and palette copy are its own.
mWindow::mWindow(const mWindow &w) : mWindow(w.parent) { *this = w; }

mWindow &mWindow::operator=(const mWindow &w) {
    peer = w.peer;
    graphics = w.graphics;
    setPalette(w.palette);
    cursor = w.cursor;
    cursorIsSystem = w.cursorIsSystem;
    enumDeep = w.enumDeep;
    childList = w.childList;
    parent = w.parent;
    hScroll = w.hScroll;
    vScroll = w.vScroll;
    gone = w.gone;
    return *this;
}

mWindow::~mWindow() {
    setTrackCursor(false);
    if (!gone && peer) {
        gone = true;
        SetWindowLongPtrA(hwnd(peer), 0, 0);
        DestroyWindow(hwnd(peer));
    }
    mApp::free(paintInfo);
    setPalette(nullptr);
    // The own bars without a peer are the window's; bars with one are children and go with it.
    for (mScrollBar *bar : {hScroll, vScroll})
        if (bar && !bar->getPeer())
            delete bar;
}

void mWindow::registerClass(const mString &name, SYSTEM_INFO_STRUCT *instance) {
    baseClassName = mString("mWinBase") + name;
    WNDCLASSA wc = {};
    wc.style = CS_GLOBALCLASS | CS_HREDRAW | CS_VREDRAW;
    wc.lpfnWndProc = windowProc;
    wc.cbWndExtra = sizeof(LONG_PTR);
    wc.hInstance = hinstance(instance ? instance : libraryInstance());
    wc.hCursor = LoadCursorA(nullptr, IDC_ARROW);
    wc.hbrBackground = reinterpret_cast<HBRUSH>(6);
    wc.lpszClassName = baseClassName.c_str();
    RegisterClassA(&wc);
    mString noClose = baseClassName + "nc";
    wc.style |= CS_NOCLOSE;
    wc.lpszClassName = noClose.c_str();
    RegisterClassA(&wc);
}

void mWindow::createPeer(const mRect &bounds, mCreateInfo &info) {
    HWND parentPeer = parent ? hwnd(parent->peer) : nullptr;
    int x = bounds.left == -1 ? CW_USEDEFAULT : (int)bounds.left;
    int w = bounds.right == -1 || bounds.left == -1 ? CW_USEDEFAULT : (int)(bounds.right - bounds.left);
    int y = bounds.top == -1 ? CW_USEDEFAULT : (int)bounds.top;
    int h = bounds.bottom == -1 || bounds.top == -1 ? CW_USEDEFAULT : (int)(bounds.bottom - bounds.top);
    mString className = info.className;
    if (className.empty())
        className = info.noClose ? baseClassName + "nc" : baseClassName;
    HMENU menuOrId = (info.style & WS_CHILD) ? reinterpret_cast<HMENU>((intptr_t)info.id) : nullptr;
    HWND created = CreateWindowExA(info.exStyle, className.c_str(), info.title.c_str(), info.style, x, y, w, h,
                                   parentPeer, menuOrId, reinterpret_cast<HINSTANCE>(info.instance), nullptr);
    if (!created)
        VELNOR_THROW("Failed to create control peer", GetLastError());
    peer = handle(created);
    if (!info.unbound)
        SetWindowLongPtrA(created, 0, reinterpret_cast<LONG_PTR>(this));
}

void mWindow::createPeer(const mRect &bounds, unsigned long style) {
    mCreateInfo info;
    info.style = style | WS_CHILD | WS_CLIPCHILDREN;
    info.instance = libraryInstance();
    info.unbound = false;
    createPeer(bounds, info);
}

void mWindow::createPeer(const mString &className, mModule *module) {
    mCreateInfo info;
    info.className = className;
    info.style = WS_CHILD | WS_CLIPCHILDREN;
    info.instance = module ? module->getInstance() : libraryInstance();
    info.unbound = false;
    createPeer(mRect(0, 0, 1, 1), info);
}

// ---- Finding objects.

void mWindow::getClassName(SYSTEM_INFO_STRUCT *p, char *buffer, int size) {
    if (size < 1)
        return;
    buffer[0] = 0;
    GetClassNameA(hwnd(p), buffer, size);
    buffer[size - 1] = 0;
}

mWindow *mWindow::findWindow(SYSTEM_INFO_STRUCT *p) {
    if (!p)
        return nullptr;
    char name[100];
    getClassName(p, name, sizeof name);
    if (baseClassName == name)
        return reinterpret_cast<mWindow *>(GetWindowLongPtrA(hwnd(p), 0));
    if (mDialog *dialog = mDialog::findDWindow(p, name))
        return dialog;
    return mControl::findCWindow(p);
}

mWindow *mWindow::getNextWindow() { return findWindow(handle(GetWindow(hwnd(peer), GW_HWNDNEXT))); }

mWindow *mWindow::childWindow(const mPoint &point) {
    POINT p = {(LONG)point.x, (LONG)point.y};
    return findWindow(handle(ChildWindowFromPoint(hwnd(peer), p)));
}

mWindow *mWindow::getFocus() { return findWindow(handle(GetFocus())); }

void mWindow::killFocus() { SetFocus(nullptr); }

SYSTEM_INFO_STRUCT *mWindow::getControlPeer(int id) {
    for (HWND child = GetWindow(hwnd(peer), GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
        if (GetDlgCtrlID(child) == id)
            return handle(child);
    return nullptr;
}

mControl *mWindow::getControl(int id) { return mControl::findControl(this, id); }

mWindow *mWindow::getMain() {
    mWindow *w = this;
    while (w->parent)
        w = w->parent;
    return w;
}

mModule *mWindow::getModule() {
    mMainFrame *frame = dynamic_cast<mMainFrame *>(getMain());
    return frame ? frame->getModule() : nullptr;
}

// ---- Geometry.

namespace {
WINDOWPLACEMENT placementOf(SYSTEM_INFO_STRUCT *peer) {
    WINDOWPLACEMENT p = {};
    p.length = sizeof p;
    GetWindowPlacement(hwnd(peer), &p);
    return p;
}
} // namespace

mPoint mWindow::getPosition() {
    RECT r = placementOf(peer).rcNormalPosition;
    return mPoint(r.left, r.top);
}

mRect mWindow::getBounds() {
    RECT r = placementOf(peer).rcNormalPosition;
    return mRect(r.left, r.top, r.right, r.bottom);
}

mInset mWindow::getInsets() {
    RECT r = {0, 0, 1, 1};
    HWND h = hwnd(peer);
    AdjustWindowRect(&r, (DWORD)GetWindowLongA(h, GWL_STYLE), GetMenu(h) != nullptr);
    return mInset(-r.left, -r.top, r.right - 1, r.bottom - 1);
}

mRect mWindow::getClientBounds() {
    RECT r = {0, 0, 0, 0};
    GetClientRect(hwnd(peer), &r);
    return mRect(r.left, r.top, r.right, r.bottom);
}

void mWindow::setPosition(const mPoint &p) {
    SetWindowPos(hwnd(peer), nullptr, (int)p.x, (int)p.y, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
}

void mWindow::setBounds(const mRect &r) {
    SetWindowPos(hwnd(peer), nullptr, (int)r.left, (int)r.top, r.width(), r.height(), SWP_NOZORDER);
}

mSize mWindow::getSize() {
    WINDOWPLACEMENT p = placementOf(peer);
    if (p.showCmd == SW_SHOWMAXIMIZED)
        return mApp::getScreenSize(false);
    return mSize(p.rcNormalPosition.right - p.rcNormalPosition.left,
                 p.rcNormalPosition.bottom - p.rcNormalPosition.top);
}

mPoint mWindow::convertToScreen(const mPoint &point) {
    POINT p = {(LONG)point.x, (LONG)point.y};
    ClientToScreen(hwnd(peer), &p);
    return mPoint(p.x, p.y);
}

void mWindow::setSize(const mSize &s) {
    SetWindowPos(hwnd(peer), nullptr, 0, 0, (int)s.cx, (int)s.cy, SWP_NOMOVE | SWP_NOZORDER);
}

void mWindow::move(int dx, int dy) {
    mPoint p = getPosition();
    p += mPoint(dx, dy);
    setPosition(p);
}

// ---- Visibility and drawing.

bool mWindow::isVisible() {
    UINT show = placementOf(peer).showCmd;
    if (show == SW_HIDE || show == SW_SHOWMINIMIZED)
        return false;
    return IsWindowVisible(hwnd(peer)) != 0;
}

void mWindow::setVisible(bool visible) {
    WINDOWPLACEMENT p = placementOf(peer);
    bool normal = p.showCmd != SW_SHOWMINIMIZED && p.showCmd != SW_SHOWMAXIMIZED;
    if (visible)
        p.showCmd = normal ? SW_SHOW : SW_RESTORE;
    else if (normal)
        p.showCmd = SW_HIDE;
    else
        return;
    SetWindowPlacement(hwnd(peer), &p);
}

void mWindow::update(bool all) {
    if (all)
        InvalidateRect(hwnd(peer), nullptr, FALSE);
    UpdateWindow(hwnd(peer));
}

void mWindow::invalidate(const mRect &area, bool erase) {
    RECT r = {(LONG)area.left, (LONG)area.top, (LONG)area.right, (LONG)area.bottom};
    InvalidateRect(hwnd(peer), &r, erase);
}

void mWindow::setAutoClip(bool on) {
    LONG style = GetWindowLongA(hwnd(peer), GWL_STYLE);
    style = on ? (style | WS_CLIPCHILDREN) : (style & ~WS_CLIPCHILDREN);
    SetWindowLongA(hwnd(peer), GWL_STYLE, style);
}

// ---- Cursor and mouse.

bool mWindow::applyCursor() {
    if (cursorIsSystem) {
        SetCursor(cursor == NONE ? nullptr : LoadCursorA(nullptr, systemCursors[cursor]));
        return true;
    }
    if (!cursor)
        return false;
    mModule *module = getModule();
    HINSTANCE instance = module ? reinterpret_cast<HINSTANCE>(module->getInstance()) : nullptr;
    SetCursor(LoadCursorA(instance, MAKEINTRESOURCEA(cursor)));
    return true;
}

bool mWindow::setCursor(unsigned short id) {
    cursor = id;
    cursorIsSystem = false;
    applyCursor();
    return true;
}

bool mWindow::setSysCursor(SYSCURSOR c) {
    if ((unsigned)c > NONE)
        return false;
    cursor = (unsigned short)c;
    cursorIsSystem = true;
    applyCursor();
    return true;
}

void mWindow::setCursorPos(mPoint point) {
    mPoint screen = convertToScreen(point);
    SetCursorPos((int)screen.x, (int)screen.y);
}

void mWindow::setMouseCapture(bool on) {
    if (on)
        SetCapture(hwnd(peer));
    else if (GetCapture() == hwnd(peer))
        ReleaseCapture();
}

bool mWindow::setTrackCursor(bool on) {
    for (auto it = trackers.begin(); it != trackers.end(); ++it) {
        if (*it == this) {
            if (on)
                return false;
            trackers.erase(it);
            return true;
        }
    }
    if (!on)
        return false;
    trackers.push_back(this);
    return true;
}

int mWindow::mSetCursor(void *, int hit, int mouse, bool &handled) {
    for (size_t i = 0; i < trackers.size(); ++i)
        trackers[i]->onTrackCursor(this);
    bool hasCursor = cursorIsSystem || cursor != 0;
    if (hasCursor && hit == HTCLIENT) {
        applyCursor();
        handled = true;
        return 1;
    }
    if (!(hit == HTERROR && mouse == WM_LBUTTONDOWN))
        return 0;
    // A click on a window that a modal dialog disabled brings that dialog forward.
    struct Finder {
        static BOOL CALLBACK each(HWND w, LPARAM found) {
            LONG style = GetWindowLongA(w, GWL_STYLE);
            if ((style & WS_DLGFRAME) && (style & DS_MODALFRAME)) {
                *reinterpret_cast<HWND *>(found) = w;
                return FALSE;
            }
            return TRUE;
        }
    };
    HWND dialog = nullptr;
    EnumThreadWindows(GetCurrentThreadId(), Finder::each, reinterpret_cast<LPARAM>(&dialog));
    if (dialog && dialog != GetActiveWindow()) {
        SetActiveWindow(dialog);
        handled = true;
        return 1;
    }
    return 0;
}

// ---- Messages.

void mWindow::postUserMessage(int id, int wParam, long lParam) {
    if (id < USER_MESSAGE_LIMIT)
        PostMessageA(hwnd(peer), USER_MESSAGE_BASE + id, (WPARAM)wParam, (LPARAM)lParam);
}

int mWindow::sendUserMessage(int id, int wParam, long lParam) {
    if (id >= USER_MESSAGE_LIMIT)
        return -1;
    int result = (int)SendMessageA(hwnd(peer), USER_MESSAGE_BASE + id, (WPARAM)wParam, (LPARAM)lParam);
    mApp::rethrowParked();
    return result;
}

void mWindow::sendCommand(unsigned short id, unsigned short code, mControl *control) {
    HWND from = control ? hwnd(control->getPeer()) : nullptr;
    SendMessageA(hwnd(peer), WM_COMMAND, MAKEWPARAM(id, code), reinterpret_cast<LPARAM>(from));
    mApp::rethrowParked();
}

void mWindow::destroy() {
    if (!gone)
        PostMessageA(hwnd(peer), DEFERRED_DESTROY, 0, 0);
}

// ---- Children.

bool mWindow::enumChildren(mChildList &list, bool deep) {
    struct Walker {
        static BOOL CALLBACK each(HWND child, LPARAM self) {
            return reinterpret_cast<mWindow *>(self)->childEnum(handle(child)) ? FALSE : TRUE;
        }
    };
    childList = &list;
    enumDeep = deep;
    stopped = false;
    EnumChildWindows(hwnd(peer), Walker::each, reinterpret_cast<LPARAM>(this));
    childList = nullptr;
    return stopped;
}

bool mWindow::childEnum(SYSTEM_INFO_STRUCT *child) {
    if (!enumDeep && GetParent(hwnd(child)) != hwnd(peer))
        return false;
    int id = GetDlgCtrlID(hwnd(child));
    mWindow wrapper(enumDeep ? nullptr : this, child);
    stopped = childList->onChild(wrapper, id);
    return stopped;
}

// ---- Keys and mouse.

int mWindow::convVKey(int key) {
    if (key >= VK_F1 && key <= VK_F12)
        return 0x1001 + key - VK_F1;
    switch (key) {
    case VK_INSERT: return 0x100D;
    case VK_DELETE: return 0x100E;
    case VK_HOME: return 0x100F;
    case VK_END: return 0x1010;
    case VK_PRIOR: return 0x1011;
    case VK_NEXT: return 0x1012;
    case VK_UP: return 0x1013;
    case VK_DOWN: return 0x1014;
    case VK_LEFT: return 0x1015;
    case VK_RIGHT: return 0x1016;
    case VK_CAPITAL: return 0x1017;
    case VK_NUMLOCK: return 0x1018;
    case VK_SHIFT: return 0x1019;
    case VK_CONTROL: return 0x101A;
    case VK_CANCEL: return 0x101B;
    default: return 0x1000;
    }
}

namespace {
// Translates the platform's flag bits into the library's, pair by pair.
struct FlagPair {
    int platform, library;
};
template <size_t N> int translateFlags(int value, const FlagPair (&pairs)[N]) {
    int result = 0;
    for (const FlagPair &p : pairs)
        if (value & p.platform)
            result |= p.library;
    return result;
}
} // namespace

int mWindow::convertDrawState(int state) {
    static const FlagPair pairs[] = {{ODS_SELECTED, 8}, {ODS_GRAYED, 4}, {ODS_FOCUS, 2}, {ODS_DISABLED, 1}};
    return translateFlags(state, pairs);
}

int mWindow::buttonInfo(int keys) {
    static const FlagPair pairs[] = {{MK_LBUTTON, 1}, {MK_RBUTTON, 4}, {MK_SHIFT, 8}, {MK_CONTROL, 16}};
    return translateFlags(keys, pairs);
}

int mWindow::getKeyQualifiers() {
    int q = 0;
    if (GetKeyState(VK_SHIFT) < 0) q |= 1;
    if (GetKeyState(VK_CONTROL) < 0) q |= 2;
    if (GetKeyState(VK_CAPITAL) & 1) q |= 8;
    return q;
}

bool mWindow::vkeyUD(int key, int qualifiers, bool down) {
    int code = convVKey(key);
    if (code == 0x1000)
        return false;
    return down ? onChar(qualifiers, code) : onCharUp(qualifiers, code);
}

// ---- The message table.

bool mWindow::processParked(int message, mWParam wParam, mLParam lParam, mLResult &result) {
    try {
        return process(message, wParam, lParam, result);
    } catch (...) {
        mApp::parkException();
        result = 0;
        return true;
    }
}

bool mWindow::process(int message, mWParam wParam, mLParam lParam, mLResult &result) {
    bool handled = false;
    result = 0;
    int x = lowSigned(lParam), y = highSigned(lParam);
    switch (message) {
    case WM_DESTROY: mOnDestroy(handled); break;
    case WM_MOVE: mOnMove(handled, x, y); break;
    case WM_SIZE: mOnSize(handled, (int)wParam, x, y); break;
    case WM_ACTIVATE:
        mOnActivate(handled, (int)(wParam & 0xFFFF), pointer(lParam), highWord(wParam));
        break;
    case WM_SETFOCUS: mOnSetFocus(handled, pointer(wParam)); break;
    case WM_KILLFOCUS: mOnKillFocus(handled, pointer(wParam)); break;
    case WM_PAINT: mOnPaint(handled); break;
    case WM_CLOSE: mOnClose(handled); break;
    case WM_ERASEBKGND: result = mOnEraseBkgnd(handled, pointer(wParam)); break;
    case WM_ACTIVATEAPP: mOnActivateApp(handled, (int)wParam, (unsigned long)lParam); break;
    case WM_CANCELMODE: mOnCancelMode(handled); break;
    case WM_SETCURSOR:
        result = mSetCursor(pointer(wParam), lowSigned(lParam), highWord(lParam), handled);
        break;
    case WM_DRAWITEM: mOnDrawItem(handled, pointer(lParam)); result = 1; break;
    case WM_MEASUREITEM: mOnMeasureItem(handled, pointer(lParam)); result = 1; break;
    case WM_DELETEITEM: mOnDeleteItem(handled, pointer(lParam)); result = 1; break;
    case WM_NCDESTROY: {
        // The object goes with its peer, even when onWindowGone fails.
        struct Deleter {
            mWindow *window;
            ~Deleter() { delete window; }
        } deleter{this};
        gone = true;
        SetWindowLongPtrA(hwnd(peer), 0, 0);
        onWindowGone();
        return false;
    }
    case WM_KEYDOWN: mOnKeyUD(handled, (int)wParam, 1, x, highWord(lParam)); break;
    case WM_KEYUP: mOnKeyUD(handled, (int)wParam, 0, x, highWord(lParam)); break;
    case WM_CHAR: mOnChar(handled, (signed char)(wParam & 0xFF), x); break;
    case WM_SYSKEYDOWN: mOnSysKeyUD(handled, (int)wParam, 1, x, highWord(lParam)); break;
    case WM_SYSKEYUP: mOnSysKeyUD(handled, (int)wParam, 0, x, highWord(lParam)); break;
    case WM_SYSCHAR: mOnSysChar(handled, (signed char)(wParam & 0xFF), x); break;
    case WM_COMMAND:
        // Notification codes are signed: list and combo boxes report failures as -1 and -2.
        mOnCommand(handled, (int)(wParam & 0xFFFF), pointer(lParam), highSigned(wParam));
        break;
    case WM_SYSCOMMAND: mOnSysCommand(handled, (int)wParam, x, y); break;
    case WM_HSCROLL:
        mOnHScroll(handled, pointer(lParam), (int)(wParam & 0xFFFF), highWord(wParam));
        break;
    case WM_VSCROLL:
        mOnVScroll(handled, pointer(lParam), (int)(wParam & 0xFFFF), highWord(wParam));
        break;
    case WM_ENTERIDLE: mOnEnterIdle((int)wParam, pointer(lParam)); break;
    case WM_CTLCOLOREDIT: case WM_CTLCOLORLISTBOX: case WM_CTLCOLORBTN: case WM_CTLCOLORSCROLLBAR:
    case WM_CTLCOLORSTATIC: {
        static const int kinds[] = {1, 2, 3, 0, 5, 6};
        result = mOnColorControl(handled, pointer(wParam), pointer(lParam), kinds[message - WM_CTLCOLOREDIT]);
        break;
    }
    case WM_MOUSEMOVE: mOnMouseMove(handled, x, y, (int)wParam); break;
    case WM_LBUTTONDOWN: mOnLButtonDown(handled, 0, x, y, (int)wParam); break;
    case WM_LBUTTONUP: mOnLButtonUp(handled, x, y, (int)wParam); break;
    case WM_LBUTTONDBLCLK: mOnLButtonDown(handled, 1, x, y, (int)wParam); break;
    case WM_RBUTTONDOWN: mOnRButtonDown(handled, 0, x, y, (int)wParam); break;
    case WM_RBUTTONUP: mOnRButtonUp(handled, x, y, (int)wParam); break;
    case WM_RBUTTONDBLCLK: mOnRButtonDown(handled, 1, x, y, (int)wParam); break;
    case WM_PALETTECHANGED: mOnPaletteChanged(handled, pointer(wParam)); break;
    case DEFERRED_DESTROY:
        if (gone)
            return false;
        gone = true;
        DestroyWindow(hwnd(peer));
        return true;
    default:
        if (message >= USER_MESSAGE_BASE && message < DEFERRED_DESTROY) {
            int value = 0;
            handled = onUserMessage((short)(message - USER_MESSAGE_BASE), (int)wParam, (long)lParam, value);
            result = value;
        }
        break;
    }
    return handled;
}

// ---- Handlers.

void mWindow::mOnPaint(bool &handled) {
    mGraphics *saved = graphics;
    handled = onPaint();
    endPaint();
    graphics = saved;
}

void mWindow::mOnActivate(bool &handled, int state, void *, int minimized) {
    if (palette)
        update(true);
    handled = onActivate(state == WA_ACTIVE, minimized != 0);
}

void mWindow::mOnActivateApp(bool &handled, int active, unsigned long) {
    if (mApp *app = mApp::getCurrentApp())
        app->setActivation(active != 0);
    if (palette)
        update(true);
    bool scratchFlag = false;
    mOnPaletteChanged(scratchFlag, nullptr);
    handled = onActivateApp(active != 0);
}

void mWindow::mOnSetFocus(bool &handled, void *other) { handled = onGotFocus(findWindow(handle(other))); }

void mWindow::mOnKillFocus(bool &handled, void *other) { handled = onLostFocus(findWindow(handle(other))); }

void mWindow::mOnLButtonDown(bool &handled, int dbl, int x, int y, int keys) {
    handled = dbl ? onDoubleClick(1, buttonInfo(keys), mPoint(x, y)) : onMouseDown(1, buttonInfo(keys), mPoint(x, y));
}

void mWindow::mOnLButtonUp(bool &handled, int x, int y, int keys) {
    handled = onMouseUp(1, buttonInfo(keys), mPoint(x, y));
}

void mWindow::mOnRButtonDown(bool &handled, int dbl, int x, int y, int keys) {
    handled = dbl ? onDoubleClick(4, buttonInfo(keys), mPoint(x, y)) : onMouseDown(4, buttonInfo(keys), mPoint(x, y));
}

void mWindow::mOnRButtonUp(bool &handled, int x, int y, int keys) {
    handled = onMouseUp(4, buttonInfo(keys), mPoint(x, y));
}

void mWindow::mOnMouseMove(bool &handled, int x, int y, int keys) {
    handled = onMouseMove(buttonInfo(keys), mPoint(x, y));
}

void mWindow::mOnKeyUD(bool &handled, int key, int down, int, int) {
    handled = vkeyUD(key, getKeyQualifiers(), down != 0);
}

int mWindow::mOnEraseBkgnd(bool &handled, void *) {
    handled = onEraseBkgnd();
    return handled;
}

void mWindow::mOnChar(bool &handled, int character, int) { handled = onChar(getKeyQualifiers(), character); }

void mWindow::mOnSysKeyUD(bool &handled, int key, int down, int, int) {
    handled = vkeyUD(key, getKeyQualifiers() | 4, down != 0);
}

void mWindow::mOnSysChar(bool &handled, int character, int) { handled = onChar(getKeyQualifiers() | 4, character); }

mLResult mWindow::mOnColorControl(bool &handled, void *dc, void *control, int kind) {
    handled = true;
    return SendMessageA(static_cast<HWND>(control), REFLECT_COLOR, reinterpret_cast<WPARAM>(dc), kind);
}

void mWindow::mOnDeleteItem(bool &, const void *record) {
    int kind = (int)static_cast<const DELETEITEMSTRUCT *>(record)->CtlType;
    if (kind == ODT_LISTBOX || kind == ODT_COMBOBOX)
        mControl::oDrawItem(this, record, false, true);
}

// A control's notification comes in the family's own numbering; a family may keep it to itself.
void mWindow::mOnCommand(bool &handled, int id, void *control, int code) {
    typedef bool (*Conversion)(int &, SYSTEM_INFO_STRUCT *);
    static const Conversion families[] = {mButton::convertButton, mStatic::convertStatic, mListBox::convertListBox,
                                          mComboBox::convertComboBox, mEdit::convertEdit};
    SYSTEM_INFO_STRUCT *peer = static_cast<SYSTEM_INFO_STRUCT *>(control);
    for (Conversion convert : families)
        if (convert(code, peer))
            return;
    handled = onCommand(id, code);
}

void mWindow::mOnSysCommand(bool &handled, int command, int, int) {
    int id;
    switch (command & 0xFFF0) {
    case SC_SIZE: id = 0x8006; break;
    case SC_MOVE: id = 0x8005; break;
    case SC_MINIMIZE: id = 0x8004; break;
    case SC_MAXIMIZE: id = 0x8003; break;
    case SC_CLOSE: id = 0x8001; break;
    case SC_RESTORE: id = 0x8007; break;
    case SC_DEFAULT: id = 0x8002; break;
    default:
        if (command >= 0x8000)
            return;
        id = command;
        break;
    }
    handled = onCommand(id, 1);
}

// The bar that scrolled moves its thumb first; the window's own bars come with no control.
static bool scrollFirst(mScrollBar *&bar, int &code, void *control, mScrollBar *own) {
    if (mScrollBar::convertScrollBar(bar, code, static_cast<SYSTEM_INFO_STRUCT *>(control)))
        return true;
    return !control && own && own->onNotifyParent(code);
}

void mWindow::mOnHScroll(bool &handled, void *control, int code, int position) {
    mScrollBar *bar = nullptr;
    handled = scrollFirst(bar, code, control, hScroll) || onHScroll(code, bar, position);
}

void mWindow::mOnVScroll(bool &handled, void *control, int code, int position) {
    mScrollBar *bar = nullptr;
    handled = scrollFirst(bar, code, control, vScroll) || onVScroll(code, bar, position);
}

void mWindow::setScroller(mScrollBar *bar) {
    mScrollBar *&slot = bar->isHorizontal() ? hScroll : vScroll;
    if (slot && slot != bar && !slot->getPeer())
        delete slot;
    slot = bar;
}

void mWindow::mOnCancelMode(bool &) { setMouseCapture(false); }

void mWindow::mOnDrawItem(bool &handled, const void *record) { handled = drawMeasure(record, true); }

void mWindow::mOnMeasureItem(bool &handled, const void *record) { handled = drawMeasure(record, false); }

bool mWindow::drawMeasure(const void *record, bool draw) {
    switch (*static_cast<const UINT *>(record)) {
    case ODT_MENU: {
        mFrame *frame = dynamic_cast<mFrame *>(this);
        return frame && mMenu::oDraw(frame, record, draw);
    }
    case ODT_LISTBOX:
    case ODT_COMBOBOX: return mControl::oDrawItem(this, record, draw, false);
    case ODT_BUTTON:
    case ODT_STATIC: return mControl::oDraw(this, record, draw);
    default: return false;
    }
}

void mWindow::mOnDestroy(bool &) {
    gone = true;
    onDestroy();
}

void mWindow::mOnClose(bool &handled) {
    handled = true;
    if (onClose(false))
        destroy();
}

void mWindow::mOnSize(bool &, int type, int width, int height) {
    ShowState state = NORMAL;
    if (type == SIZE_MINIMIZED || type == 4)
        state = MINIMIZED;
    else if (type == SIZE_MAXIMIZED)
        state = MAXIMIZED;
    onSize(state, mSize(width, height));
}

void mWindow::mOnMove(bool &, int x, int y) { onMove(mPoint(x, y)); }

// Every window of this family that has a palette is repainted, this one first; the others would
// only repaint the same pixels.
void mWindow::mOnPaletteChanged(bool &, void *) {
    struct Gatherer : mChildList {
        std::vector<mWindow *> windows;
        bool onChild(mWindow &child, int) override {
            mWindow *window = findWindow(child.getPeer());
            if (window && window->hasPalette())
                windows.push_back(window);
            return false;
        }
    } gatherer;
    if (hasPalette())
        gatherer.windows.push_back(this);
    enumChildren(gatherer, true);
    for (mWindow *window : gatherer.windows)
        window->update(true);
}

void mWindow::mOnEnterIdle(int, void *) {
    mApp *app = mApp::getCurrentApp();
    if (!app)
        return;
    MSG msg;
    for (unsigned long counter = 0;; ++counter) {
        if (PeekMessageA(&msg, nullptr, 0, 0, PM_NOREMOVE)) {
            // Looking at the queue marks its input as seen, and a modal loop that waits for new
            // input would sleep on it; a message of our own wakes it.
            PostMessageA(hwnd(peer), WM_NULL, 0, 0);
            return;
        }
        if (app->processIdle(counter))
            return;
        Sleep(0);
    }
}
