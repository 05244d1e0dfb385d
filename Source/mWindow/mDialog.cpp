#include "mWindow/mDialog.h"
#include "mWindow/mPeer.h"
#include "mUtil/mApp.h"
#include "mUtil/mModule.h"

#include <cstring>
#include <windows.h>

static const char srcPath[] = "mWindow/mDialog";

namespace {

INT_PTR CALLBACK dialogProc(HWND peer, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG)
        SetWindowLongPtrA(peer, DWLP_USER, lParam);
    mDialog *dialog = reinterpret_cast<mDialog *>(GetWindowLongPtrA(peer, DWLP_USER));
    if (!dialog)
        return 0;
    try {
        return dialog->process(reinterpret_cast<SYSTEM_INFO_STRUCT *>(peer), (int)message, wParam, lParam);
    } catch (...) {
        mApp::parkException();
        return 0;
    }
}

} // namespace

mDialog::mDialog(mWindow *parent, bool modal)
    : mTopLevel(parent), focusKilled(false), startUnfocused(false), modal(modal) {}

mDialog::mDialog(mWindow *parent, unsigned short templateId, bool startUnfocused, mModule *module)
    : mDialog(parent, false) {
    go(templateId, startUnfocused, module);
}

mDialog::~mDialog() {}

int mDialog::go(unsigned short templateId, bool unfocused, mModule *module) {
    if (peer)
        VELNOR_THROW("Dialog cannot be recreated", 0);
    if (!module)
        module = parent->getModule();
    startUnfocused = unfocused;
    HINSTANCE instance = module ? reinterpret_cast<HINSTANCE>(module->getInstance()) : GetModuleHandleA(nullptr);
    HWND owner = hwnd(parent->getPeer());
    if (modal) {
        INT_PTR result = DialogBoxParamA(instance, MAKEINTRESOURCEA(templateId), owner, dialogProc,
                                         reinterpret_cast<LPARAM>(this));
        mApp::rethrowParked();
        return (int)result;
    }
    HWND created = CreateDialogParamA(instance, MAKEINTRESOURCEA(templateId), owner, dialogProc,
                                      reinterpret_cast<LPARAM>(this));
    if (!created || reinterpret_cast<SYSTEM_INFO_STRUCT *>(created) != peer)
        VELNOR_THROW("Dialog not initialized correctly", GetLastError());
    return 0;
}

void mDialog::destroy(int result) {
    if (modal)
        EndDialog(hwnd(peer), result);
    else
        mWindow::destroy();
}

mLResult mDialog::process(SYSTEM_INFO_STRUCT *p, int message, mWParam wParam, mLParam lParam) {
    switch (message) {
    case WM_NCDESTROY:
        gone = true;
        onWindowGone();
        if (mApp *app = mApp::getCurrentApp())
            app->unregisterDialog(this);
        if (!modal)
            delete this;
        return 0;
    case WM_SYSKEYDOWN:
        if (mOnSysKeyDown((int)wParam))
            return 1;
        break;
    case WM_INITDIALOG:
        peer = p;
        if (mApp *app = mApp::getCurrentApp())
            app->registerDialog(this);
        // Not every dialog manager asks for the default button while it sets up; asking once
        // from the queue makes the focus-less start happen all the same.
        if (startUnfocused)
            PostMessageA(hwnd(peer), DM_GETDEFID, 0, 0);
        return onInitDialog();
    case WM_CTLCOLORDLG: {
        bool handled = false;
        return mOnColorControl(handled, reinterpret_cast<void *>(wParam), reinterpret_cast<void *>(lParam), 4);
    }
    case DM_GETDEFID:
        if (startUnfocused) {
            focusKilled = true;
            startUnfocused = false;
            killFocus();
            return 1;
        }
        break;
    default:
        break;
    }
    mLResult result = 0;
    mTopLevel::process(message, wParam, lParam, result);
    return result;
}

bool mDialog::mOnSysKeyDown(int key) {
    if (!focusKilled || key != VK_TAB)
        return false;
    HWND first = GetWindow(hwnd(peer), GW_CHILD);
    SetFocus(first ? first : hwnd(peer));
    focusKilled = false;
    return true;
}

mLResult mDialog::mOnColorControl(bool &handled, void *dc, void *control, int kind) {
    handled = true;
    if (control == peer)
        return setControlColor(dc);
    return mWindow::mOnColorControl(handled, dc, control, kind);
}

mDialog *mDialog::findDWindow(SYSTEM_INFO_STRUCT *p, const char *) {
    if (reinterpret_cast<DLGPROC>(GetWindowLongPtrA(hwnd(p), DWLP_DLGPROC)) != dialogProc)
        return nullptr;
    return reinterpret_cast<mDialog *>(GetWindowLongPtrA(hwnd(p), DWLP_USER));
}

int mDialog::getDefaultControlId() { return (int)(SendMessageA(hwnd(peer), DM_GETDEFID, 0, 0) & 0xFFFF); }

void mDialog::setDefaultControlId(unsigned short id) { SendMessageA(hwnd(peer), DM_SETDEFID, id, 0); }

void mDialog::reposition() { SendMessageA(hwnd(peer), DM_REPOSITION, 0, 0); }

// ---- The message box.

mMsgBox::MBRESULT mMsgBox::doit(const mString &text, const mString &title, unsigned long flags, bool help,
                                MBICON icon) {
    static const unsigned long icons[] = {0, MB_ICONHAND, MB_ICONEXCLAMATION, MB_ICONASTERISK, MB_ICONQUESTION};
    if ((unsigned)icon < sizeof icons / sizeof icons[0])
        flags |= icons[icon];
    flags |= MB_TASKMODAL;
    if (help)
        flags |= MB_HELP;
    switch (MessageBoxA(nullptr, text.c_str(), title.c_str(), (UINT)flags)) {
    case IDOK: return OK;
    case IDRETRY: return RETRY;
    case IDIGNORE: return NO;
    case IDYES: return OK;
    case IDNO: return NO;
    default: return CANCEL;
    }
}

mMsgBox::MBRESULT mMsgBox::ok(const mString &text, const mString &title, MBRESULT def, bool extra, MBICON icon,
                              bool help) {
    unsigned long flags = extra ? MB_OKCANCEL : MB_OK;
    if (extra && def == CANCEL)
        flags |= MB_DEFBUTTON2;
    return doit(text, title, flags, help, icon);
}

mMsgBox::MBRESULT mMsgBox::yesNo(const mString &text, const mString &title, MBRESULT def, bool extra,
                                 MBICON icon, bool help) {
    unsigned long flags = extra ? MB_YESNOCANCEL : MB_YESNO;
    if (extra && def == CANCEL)
        flags |= MB_DEFBUTTON3;
    else if (def == NO)
        flags |= MB_DEFBUTTON2;
    return doit(text, title, flags, help, icon);
}

mMsgBox::MBRESULT mMsgBox::retry(const mString &text, const mString &title, MBRESULT def, bool extra,
                                 MBICON icon, bool help) {
    unsigned long flags = extra ? MB_ABORTRETRYIGNORE : MB_RETRYCANCEL;
    if (extra) {
        if (def == RETRY)
            flags |= MB_DEFBUTTON2;
        else if (def == NO)
            flags |= MB_DEFBUTTON3;
    } else if (def == CANCEL) {
        flags |= MB_DEFBUTTON2;
    }
    return doit(text, title, flags, help, icon);
}

// ---- Clipboard and beeps.

bool mWinUtil::copyToClipboard(const mString &text) {
    if (!OpenClipboard(nullptr))
        return false;
    EmptyClipboard();
    HGLOBAL block = GlobalAlloc(GMEM_DDESHARE, text.length() + 1);
    if (block) {
        memcpy(GlobalLock(block), text.c_str(), text.length() + 1);
        GlobalUnlock(block);
        SetClipboardData(CF_TEXT, block);
    }
    CloseClipboard();
    return block != nullptr;
}

bool mWinUtil::copyFromClipboard(mString &text) {
    if (!IsClipboardFormatAvailable(CF_TEXT) || !OpenClipboard(nullptr))
        return false;
    bool read = false;
    if (HANDLE data = GetClipboardData(CF_TEXT)) {
        if (const char *p = static_cast<const char *>(GlobalLock(data))) {
            text = p;
            GlobalUnlock(data);
            read = true;
        }
    }
    CloseClipboard();
    return read;
}

void mWinUtil::errorBeep() { MessageBeep(MB_ICONEXCLAMATION); }

void mWinUtil::stdBeep() { MessageBeep(0); }
