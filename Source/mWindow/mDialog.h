// Dialogs from a module's templates, the one-call message box, and the clipboard and beeps.
#pragma once
#include "mWindow/mTopLevel.h"

class VELNOR_API mDialog : public mTopLevel {
public:
    mDialog(mWindow *parent, bool modal);
    mDialog(mWindow *parent, unsigned short templateId, bool startUnfocused, mModule *module);

    int go(unsigned short templateId, bool startUnfocused, mModule *module);
    void destroy() override { destroy(0); }
    void destroy(int result);
    virtual bool onInitDialog() { return true; }
    mLResult process(SYSTEM_INFO_STRUCT *peer, int message, mWParam wParam, mLParam lParam);
    using mTopLevel::process;

    static mDialog *findDWindow(SYSTEM_INFO_STRUCT *peer, const char *className);
    int getDefaultControlId();
    void setDefaultControlId(unsigned short id);
    void reposition();
    bool isModal() const { return modal; }

protected:
    ~mDialog() override;
    mLResult mOnColorControl(bool &handled, void *dc, void *control, int kind) override;
    bool mOnSysKeyDown(int key);

    bool focusKilled;
    bool startUnfocused;
    bool modal;
};

class VELNOR_API mMsgBox {
public:
    enum MBRESULT { CANCEL = 0, OK = 1, NO = 2, RETRY = 3 };
    enum MBICON { NOICON = 0, STOP = 1, EXCLAMATION = 2, INFORMATION = 3, QUESTION = 4 };

    static MBRESULT ok(const mString &text, const mString &title, MBRESULT defaultResult, bool extraButton,
                       MBICON icon, bool helpButton);
    static MBRESULT yesNo(const mString &text, const mString &title, MBRESULT defaultResult, bool extraButton,
                          MBICON icon, bool helpButton);
    static MBRESULT retry(const mString &text, const mString &title, MBRESULT defaultResult, bool extraButton,
                          MBICON icon, bool helpButton);

private:
    static MBRESULT doit(const mString &text, const mString &title, unsigned long flags, bool help, MBICON icon);
};

class VELNOR_API mWinUtil {
public:
    static bool copyToClipboard(const mString &text);
    static bool copyFromClipboard(mString &text);
    static void errorBeep();
    static void stdBeep();
};
