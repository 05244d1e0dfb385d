#include "mWindow/mFrame.h"
#include "mUtil/mApp.h"
#include "mUtil/mModule.h"

#include <windows.h>

mCreateInfo mFrame::genInfo(int style, const mString &title) {
    mCreateInfo info;
    info.title = title;
    const mModule *library = mModule::getVelnor();
    info.instance = library ? library->getInstance() : reinterpret_cast<SYSTEM_INFO_STRUCT *>(GetModuleHandleA(nullptr));
    unsigned long s = WS_DLGFRAME | WS_CLIPCHILDREN;
    if (style & TITLE_BAR) s |= WS_BORDER;
    if (style & SIZING) s |= WS_THICKFRAME;
    if (style & MAXIMIZE_BOX) s |= WS_MAXIMIZEBOX;
    if (style & MINIMIZE_BOX) s |= WS_MINIMIZEBOX;
    if (style & SYSTEM_MENU) s |= WS_SYSMENU;
    if (style & HSCROLL) s |= WS_HSCROLL;
    if (style & VSCROLL) s |= WS_VSCROLL;
    info.style = s;
    info.noClose = (style & CLOSE_ENABLED) == 0;
    info.unbound = false;
    return info;
}

mFrame::mFrame(mWindow *parent, const mRect &bounds, int style, const mString &title)
    : mTopLevel(parent), menu(nullptr), systemMenu(nullptr), helpMenu(nullptr) {
    mCreateInfo info = genInfo(style, title);
    createPeer(bounds, info);
}

mFrame::mFrame(const mRect &bounds, int style, const mString &title) : mFrame(nullptr, bounds, style, title) {}

mFrame::~mFrame() {}

bool mFrame::process(int message, mWParam wParam, mLParam lParam, mLResult &result) {
    if (message != WM_MENUSELECT)
        return mTopLevel::process(message, wParam, lParam, result);
    result = 0;
    int flags = (int)((wParam >> 16) & 0xFFFF);
    int id = (int)(wParam & 0xFFFF);
    if (flags & MF_POPUP)
        id = 0;
    if (!lParam || flags == 0xFFFF)
        id = 0;
    return onMenuSelect(id);
}

void mFrame::updateMenu() { DrawMenuBar(reinterpret_cast<HWND>(peer)); }

mMainFrame::mMainFrame(mApp *app, mModule *module, const mRect &bounds, int style, const mString &title,
                       unsigned short resumeMessage)
    : mFrame(bounds, style, title), module(module), app(app), helpOpen(false) {
    app->setMainWindow(this, module, resumeMessage);
}

bool mMainFrame::closeHelp() {
    if (!helpOpen)
        return false;
    helpOpen = false;
    return WinHelpA(reinterpret_cast<HWND>(peer), "", HELP_QUIT, 0) != 0;
}

void mMainFrame::onWindowGone() {
    closeHelp();
    app->destroyed(this);
}
