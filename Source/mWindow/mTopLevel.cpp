#include "mWindow/mTopLevel.h"
#include "mWindow/mPeer.h"
#include "mUtil/mApp.h"
#include "mUtil/mModule.h"
#include "mWindow/mGraphics.h"

#include <windows.h>

namespace {

// While the user drags or sizes a window the platform runs a loop of its own, which never
// reaches the run loop's idle rounds; this timer of the window's brings them back there.
const UINT_PTR dragIdleTimer = 0xB002;

// The module key of the current state, or empty when there is none to name.
mString currentModuleKey() {
    mApp *app = mApp::getCurrentApp();
    mModule *module = app ? app->getModule() : nullptr;
    return module ? module->getModuleName(true) : mString();
}

// Reads the value of key with at least count numbers into list; a store that cannot even
// name the key counts as no value.
bool readBounds(const mString &key, int count, std::vector<long> &list, mString &suffix, const mString &module) {
    try {
        return mApp::getProfileValue(key, list, count, suffix, true, module);
    } catch (mError &) {
        return false;
    }
}

// Moves the span [low, high) back inside [first, last), and cuts it where it is wider.
void fitSpan(long &low, long &high, long first, long last) {
    if (high > last) {
        low -= high - last;
        high = last;
    }
    if (low < first) {
        high += first - low;
        low = first;
    }
    if (high > last)
        high = last;
}
} // namespace

mTopLevel::mTopLevel(mWindow *parent)
    : mWindow(parent), minWidth(0), minHeight(0), maxWidth(0), maxHeight(0), icon(nullptr) {}

mTopLevel::~mTopLevel() { delete icon; }

bool mTopLevel::process(int message, mWParam wParam, mLParam lParam, mLResult &result) {
    switch (message) {
    case WM_GETMINMAXINFO:
        if (maxWidth || maxHeight) {
            MINMAXINFO *info = reinterpret_cast<MINMAXINFO *>(lParam);
            info->ptMaxSize.x = maxWidth;
            info->ptMaxSize.y = maxHeight;
            result = 0;
            return true;
        }
        break;
    case WM_SIZING: {
        RECT *r = reinterpret_cast<RECT *>(lParam);
        mRect area(r->left, r->top, r->right, r->bottom);
        bool left = wParam == WMSZ_LEFT || wParam == WMSZ_TOPLEFT || wParam == WMSZ_BOTTOMLEFT;
        bool top = wParam == WMSZ_TOP || wParam == WMSZ_TOPLEFT || wParam == WMSZ_TOPRIGHT;
        boundRect(area, left, top);
        *r = {(LONG)area.left, (LONG)area.top, (LONG)area.right, (LONG)area.bottom};
        result = TRUE;
        return true;
    }
    case WM_ENTERSIZEMOVE:
        SetTimer(hwnd(peer), dragIdleTimer, USER_TIMER_MINIMUM, nullptr);
        onUserDrag(true);
        return false;
    case WM_EXITSIZEMOVE:
        KillTimer(hwnd(peer), dragIdleTimer);
        onUserDrag(false);
        return false;
    case WM_TIMER:
        if (wParam != dragIdleTimer)
            break;
        mOnEnterIdle(0, nullptr);
        result = 0;
        return true;
    default:
        break;
    }
    return mWindow::process(message, wParam, lParam, result);
}

void mTopLevel::setLimits(const mSize &minSize, const mSize &maxSize) {
    mInset in = getInsets();
    long dw = in.left + in.right, dh = in.top + in.bottom;
    minWidth = minSize.cx > 0 ? minSize.cx + dw : minSize.cx;
    minHeight = minSize.cy > 0 ? minSize.cy + dh : minSize.cy;
    maxWidth = maxSize.cx > 0 ? maxSize.cx + dw : maxSize.cx;
    maxHeight = maxSize.cy > 0 ? maxSize.cy + dh : maxSize.cy;
    boundSize();
}

void mTopLevel::getLimits(mSize &minSize, mSize &maxSize) {
    mInset in = getInsets();
    long dw = in.left + in.right, dh = in.top + in.bottom;
    minSize = mSize(minWidth > 0 ? minWidth - dw : minWidth, minHeight > 0 ? minHeight - dh : minHeight);
    maxSize = mSize(maxWidth > 0 ? maxWidth - dw : maxWidth, maxHeight > 0 ? maxHeight - dh : maxHeight);
}

// The change of size that brings area within the limits; false when none is needed.
bool mTopLevel::correction(const mRect &area, int &dx, int &dy) const {
    dx = dy = 0;
    int w = area.width(), h = area.height();
    if (minWidth > 0 && w < minWidth) dx = (int)minWidth - w;
    if (maxWidth > 0 && w > maxWidth) dx = (int)maxWidth - w;
    if (minHeight > 0 && h < minHeight) dy = (int)minHeight - h;
    if (maxHeight > 0 && h > maxHeight) dy = (int)maxHeight - h;
    return dx || dy;
}

void mTopLevel::boundRect(mRect &area, bool left, bool top) {
    int dx, dy;
    if (!isVisible() || !hasLimits() || !correction(area, dx, dy))
        return;
    if (left) area.left -= dx; else area.right += dx;
    if (top) area.top -= dy; else area.bottom += dy;
}

void mTopLevel::boundSize() {
    if (!isVisible() || !hasLimits())
        return;
    RECT r;
    GetWindowRect(hwnd(peer), &r);
    mRect area(r.left, r.top, r.right, r.bottom);
    int dx, dy;
    if (correction(area, dx, dy))
        SetWindowPos(hwnd(peer), nullptr, 0, 0, area.width() + dx, area.height() + dy, SWP_NOMOVE | SWP_NOZORDER);
}

void mTopLevel::setShow(ShowState state) {
    switch (state) {
    case NORMAL: ShowWindow(hwnd(peer), SW_RESTORE); break;
    case MINIMIZED: ShowWindow(hwnd(peer), SW_MINIMIZE); break;
    case MAXIMIZED: ShowWindow(hwnd(peer), SW_MAXIMIZE); break;
    default: break;
    }
}

mWindow::ShowState mTopLevel::getShow() {
    WINDOWPLACEMENT p = {};
    p.length = sizeof p;
    GetWindowPlacement(hwnd(peer), &p);
    if (p.showCmd == SW_SHOWMINIMIZED) return MINIMIZED;
    if (p.showCmd == SW_SHOWMAXIMIZED) return MAXIMIZED;
    return NORMAL;
}

void mTopLevel::setEnable(bool enable) { EnableWindow(hwnd(peer), enable); }

bool mTopLevel::isEnabled() { return IsWindowEnabled(hwnd(peer)) != 0; }

void mTopLevel::activate() { SetActiveWindow(hwnd(peer)); }

void mTopLevel::center(bool onScreen) {
    RECT reference;
    if (onScreen || !parent) {
        mRect work = mApp::getScreenBounds();
        reference = {(LONG)work.left, (LONG)work.top, (LONG)work.right, (LONG)work.bottom};
    } else {
        GetWindowRect(hwnd(parent->getPeer()), &reference);
    }
    RECT r;
    GetWindowRect(hwnd(peer), &r);
    int left = r.left + (reference.left + reference.right - r.left - r.right) / 2;
    int top = r.top + (reference.top + reference.bottom - r.top - r.bottom) / 2;
    SetWindowPos(hwnd(peer), nullptr, left, top, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOREDRAW);
}

// The icon goes into the peer's class, so every window of that class shows it.
void mTopLevel::setIcon(mIcon *newIcon) {
    delete icon;
    icon = newIcon ? new mIcon(*newIcon) : nullptr;
    SetClassLongPtrA(hwnd(peer), GCLP_HICON, reinterpret_cast<LONG_PTR>(icon ? icon->getPeer(nullptr) : nullptr));
}

void mTopLevel::setTitle(const mString &title) { SetWindowTextA(hwnd(peer), title.c_str()); }

mString mTopLevel::getTitle() {
    char buffer[200];
    buffer[0] = 0;
    GetWindowTextA(hwnd(peer), buffer, sizeof buffer);
    return mString(buffer);
}

// ---- Bounds in the profile store.

mWindow::ShowState mTopLevel::decodeShowState(mString state) {
    state.toUpper();
    if (state.compare(0, 3, "MIN") == 0)
        return MINIMIZED;
    if (state.compare(0, 3, "MAX") == 0)
        return MAXIMIZED;
    return NORMAL;
}

bool mTopLevel::storeBounds(const mString &key, const mString &module) {
    mRect area = getBounds();
    std::vector<long> list = {area.left, area.top, area.right, area.bottom};
    ShowState state = getShow();
    mString suffix = state == MINIMIZED ? "minimized" : state == MAXIMIZED ? "maximized" : "";
    try {
        mApp::setProfileValue(key, list, suffix, true, module);
    } catch (mError &) {
        return false;
    }
    return true;
}

mWindow::ShowState mTopLevel::loadBounds(const mString &key, mRect defaults, bool minimized, const mString &module) {
    ShowState result = minimized ? MINIMIZED : NORMAL;
    mRect area = defaults;
    std::vector<long> list;
    mString suffix;
    if (readBounds(key, 4, list, suffix, module)) {
        result = decodeShowState(suffix);
        area = mRect(list[0], list[1], list[2], list[3]);
    }
    if (minWidth > 0 && area.width() < minWidth) area.right = area.left + minWidth;
    if (maxWidth > 0 && area.width() > maxWidth) area.right = area.left + maxWidth;
    if (minHeight > 0 && area.height() < minHeight) area.bottom = area.top + minHeight;
    if (maxHeight > 0 && area.height() > maxHeight) area.bottom = area.top + maxHeight;
    mRect work = mApp::getScreenBounds();
    fitSpan(area.left, area.right, work.left, work.right);
    fitSpan(area.top, area.bottom, work.top, work.bottom);
    setBounds(area);
    remember(key, module);
    return result;
}

mWindow::ShowState mTopLevel::loadPosition(const mString &key, bool minimized, const mString &module) {
    ShowState result = minimized ? MINIMIZED : NORMAL;
    mPoint position = getPosition();
    std::vector<long> list;
    mString suffix;
    if (readBounds(key, 2, list, suffix, module)) {
        result = decodeShowState(suffix);
        position = mPoint(list[0], list[1]);
    }
    mSize size = getSize();
    mRect work = mApp::getScreenBounds();
    if (position.x + size.cx > work.right) position.x = work.right - size.cx;
    if (position.y + size.cy > work.bottom) position.y = work.bottom - size.cy;
    if (position.x < work.left) position.x = work.left;
    if (position.y < work.top) position.y = work.top;
    setPosition(position);
    remember(key, module);
    return result;
}

void mTopLevel::remember(const mString &key, const mString &module) {
    configModule = module.empty() ? currentModuleKey() : module;
    configKey = key;
}

void mTopLevel::changeConfigKey(const mString &key, const mString &module) {
    configKey = key;
    if (!module.empty())
        configModule = module;
}

void mTopLevel::mOnDestroy(bool &handled) {
    if (!configKey.empty())
        storeBounds(configKey, configModule);
    mWindow::mOnDestroy(handled);
}
