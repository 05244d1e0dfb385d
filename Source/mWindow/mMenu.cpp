#include "mWindow/mMenu.h"
#include "mWindow/mPeer.h"
#include "mUtil/mApp.h"
#include "mUtil/mModule.h"
#include "mWindow/mFrame.h"
#include "mWindow/mGraphics.h"

#include <windows.h>

static const char srcPath[] = "mWindow/mMenu";

namespace {

// Item texts are read through a buffer of this size.
const int textBuffer = 80;

MENUITEMINFOA emptyInfo(UINT mask) {
    MENUITEMINFOA info = {};
    info.cbSize = sizeof info;
    info.fMask = mask;
    return info;
}

} // namespace

// ---- Items.

mMenuItem::mMenuItem()
    : parent(nullptr), state(ENABLED), label(nullptr), id(0), separator(false), ownerDraw(false), rightJustify(false),
      position(0) {}

mMenuItem::mMenuItem(unsigned short id, mString text, bool rightJustify, bool ownerDraw) : mMenuItem() {
    this->id = id;
    this->rightJustify = rightJustify;
    this->ownerDraw = ownerDraw;
    label = new mString(text);
}

mMenuItem::mMenuItem(SPECIAL) : mMenuItem() {
    separator = true;
    state = 0;
}

mMenuItem::mMenuItem(mMenu *menu, int index) : mMenuItem() { assignParent(menu, index); }

mMenuItem::~mMenuItem() {
    remove();
    delete label;
}

void mMenuItem::getPeerInfo(void *record) {
    MENUITEMINFOA &info = *static_cast<MENUITEMINFOA *>(record);
    info = emptyInfo(MIIM_STATE | MIIM_ID | MIIM_TYPE);
    info.wID = id;
    info.fState = (UINT)getPeerState(0);
    info.fType = (separator ? MFT_SEPARATOR : 0) | (ownerDraw ? MFT_OWNERDRAW : 0) | (rightJustify ? MFT_RIGHTJUSTIFY : 0);
    info.dwTypeData = const_cast<char *>(label ? label->c_str() : "");
}

mWindow *mMenuItem::getWindow() { return parent ? parent->getWindow() : nullptr; }

int mMenuItem::getPosition() { return parent ? position : -1; }

void mMenuItem::setLabel(mString text) {
    delete label;
    label = new mString(text);
    ownerDraw = false;
    if (!parent || !parent->peer || separator)
        return;
    MENUITEMINFOA info = emptyInfo(MIIM_TYPE);
    info.fType = MFT_STRING | (rightJustify ? MFT_RIGHTJUSTIFY : 0);
    info.dwTypeData = const_cast<char *>(label->c_str());
    SetMenuItemInfoA(hmenu(parent->peer), (UINT)position, TRUE, &info);
}

mString mMenuItem::getLabel() const { return label ? *label : mString(); }

void mMenuItem::setState(int value) {
    state = value;
    if (!parent || !parent->peer)
        return;
    MENUITEMINFOA info = emptyInfo(MIIM_STATE);
    GetMenuItemInfoA(hmenu(parent->peer), (UINT)position, TRUE, &info);
    info.fState = (UINT)getPeerState((int)info.fState);
    SetMenuItemInfoA(hmenu(parent->peer), (UINT)position, TRUE, &info);
}

void mMenuItem::changeState(int set, int clear) { setState((state | set) & ~clear); }

void mMenuItem::remove() {
    if (!parent)
        return;
    parent->removeItem(this);
    parent = nullptr;
}

// A state without the enabled bit shows the item grayed, whatever else it holds.
int mMenuItem::getPeerState(int old) const {
    int peerState = old & ~(MFS_CHECKED | MFS_GRAYED);
    if (state & CHECKED)
        peerState |= MFS_CHECKED;
    if (!(state & ENABLED))
        peerState |= MFS_GRAYED;
    return peerState;
}

void mMenuItem::setWrapperState(int peerState) {
    state = (peerState & MFS_CHECKED) ? CHECKED : 0;
    state |= (peerState & MFS_GRAYED) ? DISABLED : ENABLED;
}

void mMenuItem::assignParent(mMenu *menu, int index) {
    bool wasFree = parent == nullptr;
    parent = menu;
    position = index;
    if (!wasFree || !menu || !menu->peer)
        return;
    char text[textBuffer] = "";
    MENUITEMINFOA info = emptyInfo(MIIM_STATE | MIIM_ID | MIIM_TYPE);
    info.dwTypeData = text;
    info.cch = sizeof text;
    GetMenuItemInfoA(hmenu(menu->peer), (UINT)index, TRUE, &info);
    rightJustify = (info.fType & MFT_RIGHTJUSTIFY) != 0;
    id = (unsigned short)info.wID;
    ownerDraw = (info.fType & MFT_OWNERDRAW) != 0;
    setWrapperState((int)info.fState);
    delete label;
    label = nullptr;
    // Separators count as drawn items: they have no text to read.
    if (!(info.fType & (MFT_OWNERDRAW | MFT_BITMAP | MFT_SEPARATOR))) {
        text[sizeof text - 1] = 0;
        label = new mString(text);
        separator = false;
    } else {
        separator = !ownerDraw;
    }
}

// ---- Menus.

mMenu::mMenu(mModule *module, unsigned short menuId)
    : peer(nullptr), frame(nullptr), isSystem(false), isHelp(false), popup(false),
      items(new std::vector<mMenuItem *>) {
    HINSTANCE instance = module ? reinterpret_cast<HINSTANCE>(module->getInstance()) : nullptr;
    peer = handle(LoadMenuA(instance, MAKEINTRESOURCEA(menuId)));
    createWrappers();
}

mMenu::mMenu(bool isPopupMenu, bool drawn)
    : peer(handle(isPopupMenu ? CreatePopupMenu() : CreateMenu())), frame(nullptr), isSystem(false), isHelp(false),
      popup(isPopupMenu), items(new std::vector<mMenuItem *>) {
    ownerDraw = drawn;
}

mMenu::mMenu(mFrame *owner, SYSTEM_INFO_STRUCT *systemPeer)
    : peer(systemPeer), frame(owner), isSystem(true), isHelp(false), popup(true),
      items(new std::vector<mMenuItem *>) {
    createWrappers();
}

mMenu::mMenu(mMenu *menu, int index, SYSTEM_INFO_STRUCT *subPeer)
    : peer(subPeer), frame(nullptr), isSystem(false), isHelp(false), popup(true),
      items(new std::vector<mMenuItem *>) {
    assignParent(menu, index);
    createWrappers();
}

mMenu::~mMenu() {
    if (frame) {
        if (isHelp)
            frame->setHelpMenu(nullptr);
        else if (isSystem)
            frame->detachSystemMenu();
        else
            frame->setMenu(nullptr);
    }
    // Sub-menus leave the peer first, so that each peer is destroyed once, by its own object.
    for (int i = getCount() - 1; i >= 0; --i)
        if (!(*items)[i]->isMenuItem())
            RemoveMenu(hmenu(peer), (UINT)i, MF_BYPOSITION);
    for (mMenuItem *item : *items) {
        item->parent = nullptr;
        delete item;
    }
    remove();
    // The platform keeps a window's system menu and restores it by itself.
    if (!isSystem)
        DestroyMenu(hmenu(peer));
    delete items;
}

void mMenu::getPeerInfo(void *record) {
    mMenuItem::getPeerInfo(record);
    MENUITEMINFOA &info = *static_cast<MENUITEMINFOA *>(record);
    info.fMask |= MIIM_SUBMENU;
    info.hSubMenu = hmenu(peer);
}

mWindow *mMenu::getWindow() {
    for (mMenu *m = this; m; m = m->parent)
        if (m->frame)
            return m->frame;
    return nullptr;
}

void mMenu::createWrappers() {
    int count = GetMenuItemCount(hmenu(peer));
    for (int i = 0; i < count; ++i) {
        MENUITEMINFOA info = emptyInfo(MIIM_SUBMENU | MIIM_TYPE);
        GetMenuItemInfoA(hmenu(peer), (UINT)i, TRUE, &info);
        mMenuItem *item = info.hSubMenu ? new mMenu(this, i, handle(info.hSubMenu)) : new mMenuItem(this, i);
        items->push_back(item);
        MENUITEMINFOA data = emptyInfo(MIIM_DATA);
        data.dwItemData = reinterpret_cast<ULONG_PTR>(item);
        SetMenuItemInfoA(hmenu(peer), (UINT)i, TRUE, &data);
    }
}

mMenuItem *mMenu::getItem(int index) const {
    if (index < 0)
        index += getCount();
    if (index < 0 || index >= getCount())
        return nullptr;
    return (*items)[index];
}

mMenuItem *mMenu::findId(unsigned short wanted) const {
    for (mMenuItem *item : *items) {
        if (item->isMenuItem()) {
            if (item->id == wanted)
                return item;
        } else if (mMenuItem *found = static_cast<mMenu *>(item)->findId(wanted)) {
            return found;
        }
    }
    return nullptr;
}

bool mMenu::changeState(unsigned short wanted, int set, int clear) {
    mMenuItem *item = findId(wanted);
    if (!item)
        return false;
    item->changeState(set, clear);
    return true;
}

bool mMenu::checkFlag(unsigned short wanted, FLAGS flag) const {
    mMenuItem *item = findId(wanted);
    return item && item->checkFlag(flag);
}

void mMenu::insert(mMenuItem *item, int at) {
    if (at < 0)
        at += getCount() + 1;
    if (at < 0 || at > getCount())
        return;
    items->insert(items->begin() + at, item);
    MENUITEMINFOA info;
    item->getPeerInfo(&info);
    info.fMask |= MIIM_DATA;
    info.dwItemData = reinterpret_cast<ULONG_PTR>(item);
    InsertMenuItemA(hmenu(peer), (UINT)at, TRUE, &info);
    renumber(at);
}

void mMenu::renumber(int from) {
    for (int i = from; i < getCount(); ++i)
        (*items)[i]->assignParent(this, i);
}

void mMenu::removeItem(mMenuItem *item) {
    if (item->parent != this)
        return;
    int at = item->position;
    RemoveMenu(hmenu(peer), (UINT)at, MF_BYPOSITION);
    items->erase(items->begin() + at);
    renumber(at);
}

// ---- Bar and pop-up.

void mMenu::checkFree() const {
    if (frame)
        VELNOR_THROW("Cannot use menu which is already in use", 0);
}

void mMenu::attach(mFrame *owner) {
    if (owner)
        checkFree();
    convertPopup(false);
    frame = owner;
}

void mMenu::setHelpMenu(mFrame *owner) {
    if (owner) {
        checkFree();
        // A help menu with a label stands on the bar as a sub-menu.
        if (!getLabel().empty())
            convertPopup(true);
    }
    frame = owner;
    isHelp = owner != nullptr;
}

void mMenu::convertPopup(bool toPopup) {
    if (popup == toPopup)
        return;
    if (frame)
        VELNOR_THROW("Cannot convert menu when used by window", 0);
    HMENU old = hmenu(peer), fresh = toPopup ? CreatePopupMenu() : CreateMenu();
    int count = GetMenuItemCount(old);
    for (int i = 0, at = 0; i < count; ++i) {
        char text[textBuffer] = "";
        MENUITEMINFOA info = emptyInfo(0x3F);
        info.dwTypeData = text;
        info.cch = sizeof text;
        if (!GetMenuItemInfoA(old, (UINT)at, TRUE, &info)) {
            DestroyMenu(fresh);
            VELNOR_THROW("Menu conversion error for item", i);
        }
        // A sub-menu leaves the old peer first, or its destruction would take the sub-menu along.
        if (info.hSubMenu)
            RemoveMenu(old, (UINT)at, MF_BYPOSITION);
        else
            ++at;
        InsertMenuItemA(fresh, (UINT)i, TRUE, &info);
    }
    DestroyMenu(old);
    peer = handle(fresh);
    popup = toPopup;
}

int mMenu::popUp(mWindow *owner, const mPoint &at, bool rightButton, ALIGN_MODE horizontal, ALIGN_MODE vertical,
                 bool sendCommand) {
    convertPopup(true);
    UINT flags = TPM_NONOTIFY | TPM_RETURNCMD;
    if (rightButton)
        flags |= TPM_RIGHTBUTTON;
    if (horizontal == ALIGN_CENTER)
        flags |= TPM_CENTERALIGN;
    else if (horizontal == ALIGN_END)
        flags |= TPM_RIGHTALIGN;
    if (vertical == ALIGN_CENTER)
        flags |= TPM_VCENTERALIGN;
    else if (vertical == ALIGN_END)
        flags |= TPM_BOTTOMALIGN;
    int command = (int)TrackPopupMenu(hmenu(peer), flags, (int)at.x, (int)at.y, 0,
                                      reinterpret_cast<HWND>(owner->getPeer()), nullptr);
    mApp::rethrowParked();
    if (sendCommand && command)
        owner->onCommand(command, 0);
    return command;
}

// ---- Owner drawing.

bool mMenu::oDraw(mFrame *frame, const void *record, bool draw) {
    UINT itemId = draw ? static_cast<const DRAWITEMSTRUCT *>(record)->itemID
                       : static_cast<const MEASUREITEMSTRUCT *>(record)->itemID;
    mMenuItem *item = frame->getMenu() ? frame->getMenu()->findId((unsigned short)itemId) : nullptr;
    if (!item)
        item = frame->getSystemMenu()->findId((unsigned short)itemId);
    if (!item)
        return false;
    if (draw) {
        const DRAWITEMSTRUCT &d = *static_cast<const DRAWITEMSTRUCT *>(record);
        mGraphics graphics(reinterpret_cast<SYSTEM_INFO_STRUCT *>(d.hDC), nullptr, true);
        mRect area(d.rcItem.left, d.rcItem.top, d.rcItem.right, d.rcItem.bottom);
        item->onDraw(&graphics, area, (d.itemAction & ODA_DRAWENTIRE) != 0, (d.itemState & ODS_CHECKED) != 0,
                     mWindow::convertDrawState((int)d.itemState));
    } else {
        MEASUREITEMSTRUCT &m = *static_cast<MEASUREITEMSTRUCT *>(const_cast<void *>(record));
        mSize size = item->onMeasure();
        m.itemWidth = (UINT)size.cx;
        m.itemHeight = (UINT)size.cy;
    }
    return true;
}
