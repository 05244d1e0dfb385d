#include "mWindow/mFrame.h"
#include "mWindow/mPeer.h"
#include "mFile/mFile.h"
#include "mUtil/mApp.h"
#include "mUtil/mModule.h"
#include "mWindow/mMenu.h"

#include <windows.h>

mCreateInfo mFrame::genInfo(int style, const mString &title) {
    mCreateInfo info;
    info.title = title;
    info.instance = libraryInstance();
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

// The menus still held are the frame's own.
mFrame::~mFrame() {
    if (systemMenu) {
        systemMenu->frame = nullptr;
        delete systemMenu;
        systemMenu = nullptr;
    }
    delete setHelpMenu(nullptr);
    delete setMenu(nullptr);
}

mMenu *mFrame::setMenu(mMenu *bar) {
    if (bar)
        bar->checkFree();
    if (helpMenu)
        removeHelp();
    mMenu *previous = menu;
    if (previous) {
        menu = nullptr;
        previous->attach(nullptr);
        SetMenu(hwnd(peer), nullptr);
    }
    if (bar) {
        bar->attach(this);
        menu = bar;
        SetMenu(hwnd(peer), hmenu(bar->getPeer()));
    }
    if (helpMenu)
        appendHelp();
    return previous;
}

mMenu *mFrame::setHelpMenu(mMenu *help) {
    if (help)
        help->checkFree();
    mMenu *previous = helpMenu;
    if (previous)
        removeHelp();
    helpMenu = help;
    if (help)
        appendHelp();
    return previous;
}

mMenuItem *mFrame::getHelpMenu() const {
    if (helpMenu && helpMenu->getLabel().empty())
        return helpMenu->getItem(0);
    return helpMenu;
}

// The help menu goes at the end of the bar, on a bar of its own if there is no menu. A help
// menu without a label stands for its first entry, a single command on the bar.
void mFrame::appendHelp() {
    HMENU bar = menu ? hmenu(menu->getPeer()) : CreateMenu();
    helpMenu->setHelpMenu(this);
    mMenuItem *entry = helpMenu->getLabel().empty() ? helpMenu->getItem(0) : helpMenu;
    if (entry) {
        MENUITEMINFOA info;
        entry->getPeerInfo(&info);
        info.fMask |= MIIM_DATA;
        info.dwItemData = reinterpret_cast<ULONG_PTR>(entry);
        InsertMenuItemA(bar, menu ? (UINT)GetMenuItemCount(bar) : 0, TRUE, &info);
    }
    if (!menu)
        SetMenu(hwnd(peer), bar);
}

void mFrame::removeHelp() {
    if (menu) {
        HMENU bar = hmenu(menu->getPeer());
        RemoveMenu(bar, (UINT)(GetMenuItemCount(bar) - 1), MF_BYPOSITION);
    } else {
        HMENU bar = GetMenu(hwnd(peer));
        RemoveMenu(bar, 0, MF_BYPOSITION);
        SetMenu(hwnd(peer), nullptr);
        DestroyMenu(bar);
    }
    helpMenu->setHelpMenu(nullptr);
}

mMenu *mFrame::getSystemMenu() {
    if (!systemMenu)
        systemMenu = new mMenu(this, reinterpret_cast<SYSTEM_INFO_STRUCT *>(GetSystemMenu(hwnd(peer), FALSE)));
    return systemMenu;
}

void mFrame::resetSystemMenu() { delete detachSystemMenu(); }

// The platform's own system menu comes back; the wrapper, if any, goes to the caller.
mMenu *mFrame::detachSystemMenu() {
    mMenu *wrapper = systemMenu;
    systemMenu = nullptr;
    if (wrapper)
        wrapper->frame = nullptr;
    GetSystemMenu(hwnd(peer), TRUE);
    return wrapper;
}

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

void mFrame::updateMenu() { DrawMenuBar(hwnd(peer)); }

mMainFrame::mMainFrame(mApp *app, mModule *module, const mRect &bounds, int style, const mString &title,
                       unsigned short resumeMessage)
    : mFrame(bounds, style, title), module(module), app(app), helpOpen(false) {
    app->setMainWindow(this, module, resumeMessage);
}

// ---- Help.

// The full path of the help file, found along the file search path; empty if there is none.
mString mMainFrame::getFullHelpFile(const mString &file) const {
    mInputFile help(file.empty() ? defaultHelp : file);
    if (!help.OpenFile(true))
        return mString();
    return help.getFullPath();
}

bool mMainFrame::help(const mString &file, unsigned int command, uintptr_t data) {
    if (file.empty())
        return false;
    if (!WinHelpA(hwnd(peer), file.c_str(), command, data))
        return false;
    helpOpen = true;
    return true;
}

bool mMainFrame::openHelpTopic(const mString &keyword, const mString &file) {
    return help(getFullHelpFile(file), HELP_KEY, reinterpret_cast<uintptr_t>(keyword.c_str()));
}

bool mMainFrame::openHelpTopic(unsigned long context, const mString &file) {
    return help(getFullHelpFile(file), HELP_CONTEXT, context);
}

bool mMainFrame::openHelpContents(const mString &file) { return help(getFullHelpFile(file), HELP_CONTENTS, 0); }

bool mMainFrame::openHelpSystem() { return help("WINHELP.HLP", HELP_HELPONHELP, 0); }

bool mMainFrame::closeHelp() {
    if (!helpOpen)
        return false;
    helpOpen = false;
    return WinHelpA(hwnd(peer), "", HELP_QUIT, 0) != 0;
}

void mMainFrame::onWindowGone() {
    closeHelp();
    app->destroyed(this);
}
