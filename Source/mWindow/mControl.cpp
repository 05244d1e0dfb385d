#include "mWindow/mControl.h"
#include "mWindow/mPeer.h"
#include "mUtil/mApp.h"
#include "mUtil/mModule.h"
#include "mWindow/mGraphics.h"

#include <algorithm>
#include <windows.h>

static const char srcPath[] = "mWindow/mControl";

std::vector<mControl *> mControl::controls;
bool mControl::genericRegistered = false;

namespace {

// The subclass procedure of every wrapped control. The original procedure is taken first:
// handling the message may take the control apart.
LRESULT CALLBACK controlProc(HWND peer, UINT message, WPARAM wParam, LPARAM lParam) {
    mControl *control = mControl::findCWindow(handle(peer));
    if (!control)
        return 0;
    WNDPROC original = reinterpret_cast<WNDPROC>(control->getOrigProc());
    mLResult result = 0;
    if (control->processParked((int)message, wParam, lParam, result))
        return result;
    return CallWindowProcA(original, peer, message, wParam, lParam);
}

mRect rectOf(const RECT &r) { return mRect(r.left, r.top, r.right, r.bottom); }

} // namespace

// ---- Construction and wrapping.

mControl::mControl() : mWindow(nullptr), origProc(nullptr), id(0), dlgCode(0), font(nullptr) {
    // A control shows the platform's own cursor (the edit's I-beam, for one).
    cursor = 0;
    cursorIsSystem = false;
}

mControl::mControl(SYSTEM_INFO_STRUCT *p) : mControl() { attach(p); }

mControl::mControl(SYSTEM_INFO_STRUCT *p, const char *className) : mControl() { wrap(p, className); }

mControl::mControl(mWindow *owner, int controlId, const char *className) : mControl() {
    SYSTEM_INFO_STRUCT *p = owner->getControlPeer(controlId);
    if (!p)
        VELNOR_THROW("Control id not found", controlId);
    wrap(p, className);
}

mControl::mControl(mWindow *owner, int controlId, const mRect &bounds, const mString &title, bool visible)
    : mControl() {
    mString className = getBaseClassName() + "gc";
    if (!genericRegistered)
        genericRegistered = registerControlClass(nullptr, className, true);
    createUserPeer(className, owner, controlId, bounds, title, visible, false);
}

mControl::~mControl() {
    detach();
    delete font;
}

void mControl::wrap(SYSTEM_INFO_STRUCT *p, const char *className) {
    if (!p)
        VELNOR_THROW("Attempt to wrap NULL control", 0);
    if (!isClass(p, className)) {
        char real[100];
        getClassName(p, real, sizeof real);
        VELNOR_THROW(mString("Tried to make ") + className + " out of " + real, 0);
    }
    attach(p);
}

void mControl::attach(SYSTEM_INFO_STRUCT *p) {
    if (findCWindow(p))
        VELNOR_THROW("Already wrapped", 0);
    peer = p;
    origProc = reinterpret_cast<void *>(GetWindowLongPtrA(hwnd(p), GWLP_WNDPROC));
    SetWindowLongPtrA(hwnd(p), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(controlProc));
    controls.insert(controls.begin(), this);
    parent = findWindow(handle(GetParent(hwnd(p))));
    id = (int)GetWindowLongA(hwnd(p), GWL_ID);
}

// The peer gets its own procedure back and lives on as a plain control.
void mControl::detach() {
    if (!origProc)
        return;
    SetWindowLongPtrA(hwnd(peer), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(origProc));
    origProc = nullptr;
    peer = nullptr;
    controls.erase(std::find(controls.begin(), controls.end(), this));
}

void mControl::createControl(mWindow *owner, const char *className, const mRect &bounds, unsigned long style,
                             unsigned long exStyle, int controlId, const mString &text) {
    setParent(owner);
    mCreateInfo info;
    info.title = text;
    info.className = className;
    info.style = style | WS_CHILD;
    info.exStyle = exStyle;
    info.instance = libraryInstance();
    info.id = controlId;
    createPeer(bounds, info);
    attach(peer);
}

void mControl::createUserPeer(const mString &className, mWindow *owner, int controlId, const mRect &bounds,
                              const mString &title, bool visible, bool group) {
    unsigned long style = WS_CLIPCHILDREN | WS_TABSTOP;
    if (visible)
        style |= WS_VISIBLE;
    if (group)
        style |= WS_GROUP;
    createControl(owner, className.c_str(), bounds, style, 0, controlId, title);
}

bool mControl::registerControlClass(mModule *module, const mString &name, bool background) {
    WNDCLASSA wc = {};
    wc.style = CS_GLOBALCLASS | CS_HREDRAW | CS_VREDRAW;
    wc.lpfnWndProc = DefWindowProcA;
    wc.cbWndExtra = sizeof(LONG_PTR);
    wc.hInstance = hinstance(module ? module->getInstance() : libraryInstance());
    wc.hCursor = LoadCursorA(nullptr, IDC_ARROW);
    wc.hbrBackground = background ? reinterpret_cast<HBRUSH>(6) : nullptr;
    wc.lpszClassName = name.c_str();
    return RegisterClassA(&wc) != 0;
}

// ---- Finding objects.

bool mControl::isClass(SYSTEM_INFO_STRUCT *p, const char *name) {
    char real[25];
    getClassName(p, real, sizeof real);
    return lstrcmpiA(real, name) == 0;
}

mControl *mControl::findCWindow(SYSTEM_INFO_STRUCT *p) {
    for (mControl *c : controls)
        if (c->peer == p)
            return c;
    return nullptr;
}

mControl *mControl::findControl(mWindow *owner, int controlId) {
    for (mControl *c : controls)
        if (c->parent == owner && c->id == controlId)
            return c;
    return nullptr;
}

// ---- Messages.

bool mControl::process(int message, mWParam wParam, mLParam lParam, mLResult &result) {
    switch (message) {
    case WM_NCDESTROY: {
        // The platform's procedure and the deletion run even when onWindowGone fails.
        struct Finisher {
            mControl *control;
            mWParam wParam;
            mLParam lParam;
            mLResult &result;
            ~Finisher() {
                result = CallWindowProcA(reinterpret_cast<WNDPROC>(control->origProc), hwnd(control->peer),
                                         WM_NCDESTROY, wParam, lParam);
                delete control;
            }
        } finisher{this, wParam, lParam, result};
        gone = true;
        onWindowGone();
        return true;
    }
    case WM_GETDLGCODE:
        result = CallWindowProcA(reinterpret_cast<WNDPROC>(origProc), hwnd(peer), WM_GETDLGCODE, wParam, lParam) |
                 (mLResult)dlgCode;
        return true;
    case REFLECT_COLOR:
        result = setControlColor(reinterpret_cast<void *>(wParam));
        return true;
    default:
        return mWindow::process(message, wParam, lParam, result);
    }
}

mLResult mControl::send(unsigned int message, mWParam wParam, mLParam lParam) {
    return SendMessageA(hwnd(peer), message, wParam, lParam);
}

bool mControl::translate(int &code, const CodePair *table, int count) {
    for (int i = 0; i < count; ++i) {
        if (table[i].platform == code) {
            code = table[i].library;
            return true;
        }
    }
    return false;
}

bool mControl::convert(int &code, SYSTEM_INFO_STRUCT *p, const char *className, const CodePair *table, int count) {
    if (!p || !isClass(p, className))
        return false;
    if (!translate(code, table, count))
        return true;
    mControl *control = findCWindow(p);
    return control ? control->onNotifyParent(code) : false;
}

// ---- Text, state and focus.

mString mControl::getText() {
    int length = GetWindowTextLengthA(hwnd(peer));
    mString text(length, ' ');
    if (length > 0) {
        int read = GetWindowTextA(hwnd(peer), &text[0], length + 1);
        text.erase(read, -1);
    }
    return text;
}

int mControl::getTextLength() { return GetWindowTextLengthA(hwnd(peer)); }

void mControl::setText(const mString &text) { SetWindowTextA(hwnd(peer), text.c_str()); }

void mControl::setEnable(bool enable) { EnableWindow(hwnd(peer), enable); }

bool mControl::isEnabled() { return IsWindowEnabled(hwnd(peer)) != 0; }

void mControl::setFont(const mFont *f) {
    if (!f)
        return;
    mFont *copy = new mFont(*f);
    delete font;
    font = copy;
    send(WM_SETFONT, reinterpret_cast<mWParam>(font->getPeer()), TRUE);
}

mFont *mControl::getFont() const { return font ? new mFont(*font) : nullptr; }

void mControl::focus() { SetFocus(hwnd(peer)); }

void mControl::transferFocus(bool back) {
    if (HWND next = GetWindow(hwnd(peer), back ? GW_HWNDPREV : GW_HWNDNEXT))
        SetFocus(next);
}

void mControl::setTabStop(bool on) {
    LONG style = GetWindowLongA(hwnd(peer), GWL_STYLE);
    SetWindowLongA(hwnd(peer), GWL_STYLE, on ? (style | WS_TABSTOP) : (style & ~WS_TABSTOP));
}

bool mControl::isTabStop() { return (GetWindowLongA(hwnd(peer), GWL_STYLE) & WS_TABSTOP) != 0; }

void mControl::tabProcessing(bool on) { dlgCode = on ? (dlgCode | DLGC_WANTTAB) : (dlgCode & ~DLGC_WANTTAB); }

void mControl::allKeyProcessing(bool on) {
    dlgCode = on ? (dlgCode | DLGC_WANTALLKEYS) : (dlgCode & ~DLGC_WANTALLKEYS);
}

// ---- Owner drawing, on behalf of the parent.

namespace {
// Draw, measure and delete records all begin with the control's kind and id.
mControl *recordControl(mWindow *owner, const void *record) {
    return mControl::findControl(owner, (int)static_cast<const UINT *>(record)[1]);
}
MEASUREITEMSTRUCT *measureRecord(const void *record) {
    return const_cast<MEASUREITEMSTRUCT *>(static_cast<const MEASUREITEMSTRUCT *>(record));
}
} // namespace

bool mControl::oDraw(mWindow *owner, const void *record, bool draw) {
    mControl *control = recordControl(owner, record);
    if (!control)
        return false;
    if (!draw) {
        measureRecord(record)->itemHeight = (UINT)control->onMeasure();
        return true;
    }
    const DRAWITEMSTRUCT *d = static_cast<const DRAWITEMSTRUCT *>(record);
    mGraphics surface(reinterpret_cast<SYSTEM_INFO_STRUCT *>(d->hDC), nullptr, true);
    mApp *app = mApp::getCurrentApp();
    if (control->hasPalette() && app && app->getActivation())
        surface.setPalette(control->getPalettePtr());
    control->onDraw(&surface, rectOf(d->rcItem), (d->itemAction & ODA_DRAWENTIRE) != 0,
                    (d->itemState & ODS_DEFAULT) != 0, convertDrawState((int)d->itemState));
    return true;
}

bool mControl::oDrawItem(mWindow *owner, const void *record, bool draw, bool deleting) {
    mControl *control = recordControl(owner, record);
    if (!control)
        return false;
    if (deleting) {
        const DELETEITEMSTRUCT *d = static_cast<const DELETEITEMSTRUCT *>(record);
        control->onItemDelete((short)d->itemID, (unsigned long)d->itemData);
        return false;
    }
    if (!draw) {
        MEASUREITEMSTRUCT *m = measureRecord(record);
        m->itemHeight = (UINT)control->onItemMeasure((short)m->itemID, (unsigned long)m->itemData);
        return true;
    }
    const DRAWITEMSTRUCT *d = static_cast<const DRAWITEMSTRUCT *>(record);
    mGraphics surface(reinterpret_cast<SYSTEM_INFO_STRUCT *>(d->hDC), nullptr, true);
    control->onItemDraw(&surface, rectOf(d->rcItem), (d->itemAction & ODA_DRAWENTIRE) != 0,
                        convertDrawState((int)d->itemState), (short)d->itemID, (unsigned long)d->itemData);
    return true;
}

// ---- Buttons.

namespace {
const unsigned long buttonStyles[] = {BS_PUSHBUTTON,    BS_DEFPUSHBUTTON,   BS_CHECKBOX, BS_AUTOCHECKBOX,
                                      BS_RADIOBUTTON,   BS_AUTORADIOBUTTON, BS_OWNERDRAW};
const unsigned long staticStyles[] = {SS_LEFT, SS_CENTER, SS_RIGHT, SS_SIMPLE, SS_OWNERDRAW};
} // namespace

mButton::mButton(mWindow *owner, int controlId) : mControl(owner, controlId, "button") {}

mButton::mButton(mWindow *owner, const mRect &bounds, BUTTON_STYLE style, int controlId, const mString &text,
                 bool visible, bool tabStop) {
    unsigned long s = convStyle(style) | BS_NOTIFY;
    if (visible)
        s |= WS_VISIBLE;
    if (tabStop)
        s |= WS_TABSTOP;
    createControl(owner, "button", bounds, s, style == OWNER_DRAW_BUTTON ? WS_EX_TRANSPARENT : 0, controlId, text);
}

unsigned long mButton::convStyle(BUTTON_STYLE style) {
    if (style < PUSH_BUTTON || style > OWNER_DRAW_BUTTON)
        VELNOR_THROW("Bad style for push button", style);
    return buttonStyles[style - PUSH_BUTTON];
}

mButton::BUTTON_STYLE mButton::getStyle() {
    unsigned long s = (unsigned long)GetWindowLongA(hwnd(peer), GWL_STYLE) & 0xF;
    if (s == BS_3STATE)
        return CHECK_BOX;
    if (s == BS_AUTO3STATE)
        return AUTO_CHECK_BOX;
    for (int i = 0; i < OWNER_DRAW_BUTTON; ++i)
        if (buttonStyles[i] == s)
            return (BUTTON_STYLE)(i + PUSH_BUTTON);
    return (BUTTON_STYLE)0;
}

mButton::CHECK_STATE mButton::getCheck() { return (CHECK_STATE)send(BM_GETCHECK, 0, 0); }

void mButton::setCheck(CHECK_STATE state) { send(BM_SETCHECK, (mWParam)state, 0); }

bool mButton::getHilite() { return (send(BM_GETSTATE, 0, 0) & BST_PUSHED) != 0; }

void mButton::setHilite(bool on) { send(BM_SETSTATE, on, 0); }

void mButton::radioCheck(int first, int last) { CheckRadioButton(hwnd(parent->getPeer()), first, last, getId()); }

bool mButton::convertButton(int &code, SYSTEM_INFO_STRUCT *p) {
    static const CodePair table[] = {{BN_CLICKED, 16}, {BN_DOUBLECLICKED, 17}};
    return convertCode(code, p, "button", table);
}

// ---- Statics.

mStatic::mStatic(mWindow *owner, int controlId) : mControl(owner, controlId, "static") {}

mStatic::mStatic(mWindow *owner, const mRect &bounds, STATIC_STYLE style, int controlId, const mString &text,
                 bool visible, int frame) {
    unsigned long s = convStyle(style) | SS_NOPREFIX | SS_NOTIFY;
    if (visible)
        s |= WS_VISIBLE;
    if (frame & CENTER_IMAGE)
        s |= SS_CENTERIMAGE;
    // One edge only: the last of the bits given wins.
    unsigned long ex = 0;
    if (frame & CLIENT_EDGE)
        ex = WS_EX_CLIENTEDGE;
    if (frame & WINDOW_EDGE)
        ex = WS_EX_WINDOWEDGE;
    if (frame & STATIC_EDGE)
        ex = WS_EX_STATICEDGE;
    if (style == OWNER_DRAW_STATIC)
        ex |= WS_EX_TRANSPARENT;
    createControl(owner, "static", bounds, s, ex, controlId, text);
}

unsigned long mStatic::convStyle(STATIC_STYLE style) {
    if (style < LEFT_TEXT || style > OWNER_DRAW_STATIC)
        VELNOR_THROW("Bad style for static control", style);
    return staticStyles[style - LEFT_TEXT];
}

mStatic::STATIC_STYLE mStatic::getStyle() {
    unsigned long s = (unsigned long)GetWindowLongA(hwnd(peer), GWL_STYLE) & SS_TYPEMASK;
    for (int i = 0; i < OWNER_DRAW_STATIC; ++i)
        if (staticStyles[i] == s)
            return (STATIC_STYLE)(i + LEFT_TEXT);
    return (STATIC_STYLE)0;
}

bool mStatic::convertStatic(int &code, SYSTEM_INFO_STRUCT *p) {
    static const CodePair table[] = {{STN_CLICKED, 128}, {STN_DBLCLK, 129}};
    return convertCode(code, p, "static", table);
}

// ---- Lists of items.

namespace {
const mItemControl::Messages listMessages = {LB_ADDSTRING,   LB_INSERTSTRING, LB_DELETESTRING, LB_RESETCONTENT,
                                             LB_GETCOUNT,    LB_GETTEXTLEN,   LB_GETTEXT,      LB_GETITEMDATA,
                                             LB_SETITEMDATA, LB_GETCURSEL,    LB_SETCURSEL,    LB_SETITEMHEIGHT,
                                             LB_FINDSTRING,  LB_FINDSTRINGEXACT};
const mItemControl::Messages comboMessages = {CB_ADDSTRING,   CB_INSERTSTRING, CB_DELETESTRING, CB_RESETCONTENT,
                                              CB_GETCOUNT,    CB_GETLBTEXTLEN, CB_GETLBTEXT,    CB_GETITEMDATA,
                                              CB_SETITEMDATA, CB_GETCURSEL,    CB_SETCURSEL,    CB_SETITEMHEIGHT,
                                              CB_FINDSTRING,  CB_FINDSTRINGEXACT};
} // namespace

int mItemControl::add(const mString &text) {
    return (int)send(messages->add, 0, reinterpret_cast<mLParam>(text.c_str()));
}
int mItemControl::add(unsigned long data) { return (int)send(messages->add, 0, (mLParam)data); }
int mItemControl::add(const mString &text, short index) {
    return (int)send(messages->insert, (mWParam)index, reinterpret_cast<mLParam>(text.c_str()));
}
int mItemControl::add(unsigned long data, short index) {
    return (int)send(messages->insert, (mWParam)index, (mLParam)data);
}
int mItemControl::remove(short index) { return (int)send(messages->remove, (mWParam)index, 0); }
void mItemControl::clear() { send(messages->clear, 0, 0); }
int mItemControl::getCount() { return (int)send(messages->count, 0, 0); }

mString mItemControl::getText(short index) {
    int length = (int)send(messages->textLength, (mWParam)index, 0);
    if (length <= 0)
        return mString();
    mString text(length, ' ');
    int read = (int)send(messages->text, (mWParam)index, reinterpret_cast<mLParam>(&text[0]));
    text.erase(read < 0 ? 0 : read, -1);
    return text;
}

unsigned long mItemControl::getItem(short index) { return (unsigned long)send(messages->getData, (mWParam)index, 0); }
void mItemControl::setItem(short index, unsigned long data) { send(messages->setData, (mWParam)index, (mLParam)data); }
int mItemControl::getSelected() { return (int)send(messages->getSelected, 0, 0); }
void mItemControl::select(short index) { send(messages->select, (mWParam)index, 0); }
void mItemControl::setItemHeight(short index, int height) { send(messages->itemHeight, (mWParam)index, height); }

void mItemControl::recalcItemHeight(short index) {
    setItemHeight(index, onItemMeasure(index, index < 0 ? 0 : getItem(index)));
}

int mItemControl::findString(const mString &text, short start, bool exact) {
    return (int)send(exact ? messages->findExact : messages->find, (mWParam)start,
                     reinterpret_cast<mLParam>(text.c_str()));
}

// Without text, a find compares the items' data.
int mItemControl::findData(unsigned long data, short start) {
    return (int)send(messages->find, (mWParam)start, (mLParam)data);
}

// ---- List boxes.

namespace {
unsigned long scrollAndBorder(bool hScroll, bool vScroll, bool border) {
    return (hScroll ? WS_HSCROLL : 0) | (vScroll ? WS_VSCROLL : 0) | (border ? WS_BORDER : 0);
}
} // namespace

mListBox::mListBox(mWindow *owner, int controlId) : mItemControl(owner, controlId, "listbox", listMessages) {
    multi = (GetWindowLongA(hwnd(peer), GWL_STYLE) & (LBS_MULTIPLESEL | LBS_EXTENDEDSEL)) != 0;
}

mListBox::mListBox(mWindow *owner, const mRect &bounds, int controlId, bool visible, bool sorted, bool hScroll,
                   bool vScroll, bool border, SELMODE selection, DRAWMODE drawing, bool hasStrings,
                   bool integralHeight)
    : mItemControl(listMessages), multi(selection == SEL_MULTIPLE || selection == SEL_EXTENDED) {
    static const unsigned long selections[] = {0, LBS_MULTIPLESEL, LBS_EXTENDEDSEL, LBS_NOSEL};
    unsigned long s = LBS_NOTIFY | scrollAndBorder(hScroll, vScroll, border) | selections[selection & 3];
    if (visible)
        s |= WS_VISIBLE;
    if (sorted)
        s |= LBS_SORT;
    if (drawing == DRAW_OWNER)
        s |= LBS_OWNERDRAWFIXED | (hasStrings ? LBS_HASSTRINGS : 0);
    if (!integralHeight)
        s |= LBS_NOINTEGRALHEIGHT;
    createControl(owner, "listbox", bounds, s, 0, controlId, mString());
}

int mListBox::getSelected() { return multi ? (int)send(LB_GETCARETINDEX, 0, 0) : mItemControl::getSelected(); }

void mListBox::select(short index) {
    if (multi)
        send(LB_SETCARETINDEX, (mWParam)index, 0);
    else
        mItemControl::select(index);
}

bool mListBox::isSelected(short index) {
    if (multi)
        return send(LB_GETSEL, (mWParam)index, 0) > 0;
    return getSelected() == index;
}

void mListBox::select(short first, short last, bool on) {
    if (multi)
        send(LB_SELITEMRANGE, on, MAKELPARAM((WORD)first, (WORD)last));
}

void mListBox::makeVisible(short index) { send(LB_SETTOPINDEX, (mWParam)index, 0); }

mRect mListBox::getItemBounds(short index) {
    RECT r = {0, 0, 0, 0};
    if (send(LB_GETITEMRECT, (mWParam)index, reinterpret_cast<mLParam>(&r)) == LB_ERR)
        return mRect(0, 0, 0, 0);
    return rectOf(r);
}

int mListBox::getTopIndex() { return (int)send(LB_GETTOPINDEX, 0, 0); }
void mListBox::setScrollWidth(int width) { send(LB_SETHORIZONTALEXTENT, (mWParam)width, 0); }
int mListBox::getScrollWidth() { return (int)send(LB_GETHORIZONTALEXTENT, 0, 0); }

bool mListBox::convertListBox(int &code, SYSTEM_INFO_STRUCT *p) {
    static const CodePair table[] = {{LBN_DBLCLK, 256},    {LBN_ERRSPACE, 257},  {LBN_SELCANCEL, 258},
                                     {LBN_SELCHANGE, 259}, {LBN_KILLFOCUS, 260}, {LBN_SETFOCUS, 261}};
    return convertCode(code, p, "listbox", table);
}

// ---- Combo boxes.

mComboBox::mComboBox(mWindow *owner, int controlId) : mItemControl(owner, controlId, "combobox", comboMessages) {}

mComboBox::mComboBox(mWindow *owner, const mRect &bounds, int controlId, const mString &text, bool visible,
                     bool sorted, bool autoScroll, bool vScroll, bool border, DROPMODE drop, mListBox::DRAWMODE,
                     bool, bool integralHeight)
    : mItemControl(comboMessages) {
    static const unsigned long drops[] = {CBS_SIMPLE, CBS_DROPDOWN, CBS_DROPDOWNLIST};
    unsigned long s = scrollAndBorder(false, vScroll, border) | drops[drop % 3];
    if (visible)
        s |= WS_VISIBLE;
    if (sorted)
        s |= CBS_SORT;
    if (autoScroll)
        s |= CBS_AUTOHSCROLL;
    if (!integralHeight)
        s |= CBS_NOINTEGRALHEIGHT;
    createControl(owner, "combobox", bounds, s, 0, controlId, text);
}

void mComboBox::setTextLimit(int limit) { send(CB_LIMITTEXT, (mWParam)limit, 0); }

void mComboBox::getEditSelection(int &start, int &end) {
    mLResult both = send(CB_GETEDITSEL, 0, 0);
    start = (int)(both & 0xFFFF);
    end = (int)((both >> 16) & 0xFFFF);
}

void mComboBox::setEditSelection(int start, int end) { send(CB_SETEDITSEL, 0, MAKELPARAM(start, end)); }
void mComboBox::dropDown(bool show) { send(CB_SHOWDROPDOWN, show, 0); }

SYSTEM_INFO_STRUCT *mComboBox::getEditControlPeer() {
    for (HWND child = GetWindow(hwnd(peer), GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
        if (isClass(handle(child), "edit"))
            return handle(child);
    return nullptr;
}

bool mComboBox::convertComboBox(int &code, SYSTEM_INFO_STRUCT *p) {
    static const CodePair table[] = {
        {CBN_DBLCLK, 384},      {CBN_CLOSEUP, 385},        {CBN_DROPDOWN, 386},   {CBN_EDITUPDATE, 387},
        {CBN_EDITCHANGE, 388},  {CBN_ERRSPACE, 389},       {CBN_SELENDCANCEL, 390}, {CBN_SELENDOK, 391},
        {CBN_SELCHANGE, 392},   {CBN_KILLFOCUS, 393},      {CBN_SETFOCUS, 394}};
    return convertCode(code, p, "combobox", table);
}

// ---- Edits.

mEdit::mEdit(mWindow *owner, int controlId) : mControl(owner, controlId, "Edit") {}

mEdit::mEdit(SYSTEM_INFO_STRUCT *p) : mControl(p, "Edit") {}

mEdit::mEdit(mWindow *owner, const mRect &bounds, int controlId, bool visible, const mString &text, bool hScroll,
             bool autoH, bool vScroll, bool autoV, bool border, bool multiline, bool wantReturn, bool noHideSel,
             bool readOnly, ALIGNMODE align, CASEMODE letterCase, bool password) {
    static const unsigned long aligns[] = {ES_LEFT, ES_CENTER, ES_RIGHT};
    static const unsigned long cases[] = {0, ES_UPPERCASE, ES_LOWERCASE, ES_NUMBER};
    unsigned long s = scrollAndBorder(hScroll, vScroll, border) | aligns[align % 3] | cases[letterCase & 3];
    const struct {
        bool on;
        unsigned long bit;
    } flags[] = {{visible, WS_VISIBLE},       {autoH, ES_AUTOHSCROLL},       {autoV, ES_AUTOVSCROLL},
                 {multiline, ES_MULTILINE},   {wantReturn, ES_WANTRETURN},   {noHideSel, ES_NOHIDESEL},
                 {readOnly, ES_READONLY},     {password, ES_PASSWORD}};
    for (const auto &f : flags)
        if (f.on)
            s |= f.bit;
    createControl(owner, "Edit", bounds, s, 0, controlId, text);
}

void mEdit::getEditSelection(int &start, int &end) {
    DWORD first = 0, last = 0;
    send(EM_GETSEL, reinterpret_cast<mWParam>(&first), reinterpret_cast<mLParam>(&last));
    start = (int)first;
    end = (int)last;
}

void mEdit::setEditSelection(int start, int end) { send(EM_SETSEL, (mWParam)start, end); }
void mEdit::scroll(int lines, int columns) { send(EM_LINESCROLL, (mWParam)columns, lines); }
void mEdit::gotoCaret() { send(EM_SCROLLCARET, 0, 0); }
bool mEdit::isModified() { return send(EM_GETMODIFY, 0, 0) != 0; }
void mEdit::modified(bool on) { send(EM_SETMODIFY, on, 0); }
int mEdit::getLines() { return (int)send(EM_GETLINECOUNT, 0, 0); }
int mEdit::getCharNo(int line) { return (int)send(EM_LINEINDEX, (mWParam)line, 0); }
int mEdit::getLineLength(int character) { return (int)send(EM_LINELENGTH, (mWParam)character, 0); }

mString mEdit::getLine(int line) {
    int first = getCharNo(line);
    int length = first < 0 ? 0 : getLineLength(first);
    if (length <= 0)
        return mString();
    // The platform reads the room from the first word and writes no end byte.
    mString text(length < 2 ? 2 : length, ' ');
    *reinterpret_cast<WORD *>(&text[0]) = (WORD)length;
    int read = (int)send(EM_GETLINE, (mWParam)line, reinterpret_cast<mLParam>(&text[0]));
    text.erase(read < 0 ? 0 : read, -1);
    return text;
}

void mEdit::replaceSelection(const mString &text) {
    send(EM_REPLACESEL, TRUE, reinterpret_cast<mLParam>(text.c_str()));
}
void mEdit::setTextLimit(int limit) { send(EM_LIMITTEXT, (mWParam)limit, 0); }
int mEdit::getLineNumber(int character) { return (int)send(EM_LINEFROMCHAR, (mWParam)character, 0); }
void mEdit::setReadOnly(bool on) { send(EM_SETREADONLY, on, 0); }
void mEdit::cut() { send(WM_CUT, 0, 0); }
void mEdit::copy() { send(WM_COPY, 0, 0); }
void mEdit::paste() { send(WM_PASTE, 0, 0); }
void mEdit::clear() { send(WM_CLEAR, 0, 0); }

bool mEdit::convertEdit(int &code, SYSTEM_INFO_STRUCT *p) {
    static const CodePair table[] = {{EN_CHANGE, 512},    {EN_ERRSPACE, 513}, {EN_HSCROLL, 514},  {EN_VSCROLL, 515},
                                     {EN_MAXTEXT, 516},   {EN_UPDATE, 517},   {EN_KILLFOCUS, 518}, {EN_SETFOCUS, 519}};
    return convertCode(code, p, "Edit", table);
}

// ---- Scroll bars.

mScrollBar::mScrollBar(mWindow *owner, int controlId)
    : mControl(owner, controlId, "scrollbar"), barKind(SB_CTL), barOwner(nullptr) {
    horizontal = (GetWindowLongA(hwnd(peer), GWL_STYLE) & SBS_VERT) == 0;
    barOwner = peer;
}

mScrollBar::mScrollBar(mWindow *owner, const mRect &bounds, bool horizontal, int controlId, bool visible,
                       bool alignRightOrBottom, bool tabStop)
    : horizontal(horizontal), barKind(SB_CTL), barOwner(nullptr) {
    unsigned long s = horizontal ? SBS_HORZ : SBS_VERT;
    if (visible)
        s |= WS_VISIBLE;
    if (tabStop)
        s |= WS_TABSTOP;
    // No thickness asks the platform for its standard one, against the side chosen.
    if ((horizontal ? bounds.height() : bounds.width()) == 0)
        s |= alignRightOrBottom ? SBS_BOTTOMALIGN : SBS_TOPALIGN;
    createControl(owner, "scrollbar", bounds, s, 0, controlId, mString());
    barOwner = peer;
}

mScrollBar::mScrollBar(mWindow *owner, bool horizontal)
    : horizontal(horizontal), barKind(horizontal ? SB_HORZ : SB_VERT), barOwner(owner->getPeer()) {
    setParent(owner);
    owner->setScroller(this);
}

void mScrollBar::readInfo(unsigned int mask, void *record) {
    SCROLLINFO *info = static_cast<SCROLLINFO *>(record);
    info->cbSize = sizeof *info;
    info->fMask = mask;
    GetScrollInfo(hwnd(barOwner), barKind, info);
}

void mScrollBar::writeInfo(unsigned int mask, int minimum, int maximum, int page, int position, bool redraw) {
    SCROLLINFO info = {};
    info.cbSize = sizeof info;
    info.fMask = mask;
    info.nMin = minimum;
    info.nMax = maximum;
    info.nPage = (UINT)page;
    info.nPos = position;
    SetScrollInfo(hwnd(barOwner), barKind, &info, redraw);
}

int mScrollBar::readField(int field) {
    static const unsigned int masks[] = {SIF_RANGE, SIF_RANGE, SIF_PAGE, SIF_POS, SIF_TRACKPOS};
    SCROLLINFO info;
    readInfo(masks[field], &info);
    const int values[] = {info.nMin, info.nMax, (int)info.nPage, info.nPos, info.nTrackPos};
    return values[field];
}

int mScrollBar::getMin() { return readField(FIELD_MIN); }
int mScrollBar::getMax() { return readField(FIELD_MAX); }
int mScrollBar::getPage() { return readField(FIELD_PAGE); }
int mScrollBar::getScrollPos() { return readField(FIELD_POS); }
int mScrollBar::getTrackPosition() { return readField(FIELD_TRACK); }

void mScrollBar::setMinMax(int minimum, int maximum, bool redraw) { writeInfo(SIF_RANGE, minimum, maximum, 0, 0, redraw); }
void mScrollBar::setPage(int page, bool redraw) { writeInfo(SIF_PAGE, 0, 0, page, 0, redraw); }
void mScrollBar::setScrollPos(int position, bool redraw) { writeInfo(SIF_POS, 0, 0, 0, position, redraw); }
void mScrollBar::disable(bool redraw) { writeInfo(SIF_DISABLENOSCROLL, 0, 0, 0, 0, redraw); }

void mScrollBar::enableArrows(bool first, bool second) {
    UINT arrows = first ? (second ? ESB_ENABLE_BOTH : ESB_DISABLE_RTDN) : (second ? ESB_DISABLE_LTUP : ESB_DISABLE_BOTH);
    EnableScrollBar(hwnd(barOwner), barKind, arrows);
}

void mScrollBar::setVisible(bool visible) { ShowScrollBar(hwnd(barOwner), barKind, visible); }

// The thumb follows a line, a page or a drag by itself, so that the parent's onHScroll or
// onVScroll sees the position up to date.
bool mScrollBar::onNotifyParent(int code) {
    SCROLLINFO info;
    readInfo(SIF_ALL, &info);
    int position = info.nPos;
    int last = info.nMax;
    switch (code) {
    case 640: if (position > info.nMin) setScrollPos(position - 1, true); break;
    case 641: if (position < last) setScrollPos(position + 1, true); break;
    case 642: if (position > info.nMin) setScrollPos(std::max(info.nMin, position - (int)info.nPage), true); break;
    case 643: if (position < last) setScrollPos(std::min(last, position + (int)info.nPage), true); break;
    case 644: setScrollPos(info.nTrackPos, false); break;
    default: break;
    }
    return false;
}

bool mScrollBar::convertScrollBar(mScrollBar *&bar, int &code, SYSTEM_INFO_STRUCT *p) {
    static const CodePair table[] = {{SB_LINEUP, 640},        {SB_LINEDOWN, 641},   {SB_PAGEUP, 642}, {SB_PAGEDOWN, 643},
                                     {SB_THUMBPOSITION, 644}, {SB_THUMBTRACK, 645}, {SB_ENDSCROLL, 646}};
    if (!p)
        return !translate(code, table, (int)(sizeof table / sizeof table[0]));
    if (!isClass(p, "scrollbar"))
        return false;
    if (!translate(code, table, (int)(sizeof table / sizeof table[0])))
        return true;
    mScrollBar *found = dynamic_cast<mScrollBar *>(findCWindow(p));
    if (!found)
        return false;
    bar = found;
    return found->onNotifyParent(code);
}
