#include "ExpectError.h"
#include "WindowKit.h"

namespace {

class DialogTest : public wk::WindowFixture {
protected:
    DialogTest() : wk::WindowFixture("DialogTest") {}
};

const char dialogTitle[] = "Window test dialog";

// A dialog of the test template that ends itself with 5 on OK, and colours itself.
struct Dialog : mDialog {
    Dialog(mWindow *parent, bool modal) : mDialog(parent, modal), brush(mColor(10, 20, 30)) {}
    bool onCommand(int id, int code) override {
        if (id != IDOK)
            return false;
        destroy(5);
        return true;
    }
    void onSetColor(mBrush *&b, mColor *&text, mColor *&background) override { b = &brush; }
    mBrush brush;
};

// The default button of a box (it has the focus when the box opens) and the box's answer when `button` is pressed.
struct BoxAnswer {
    int defaultButton = 0;
    mMsgBox::MBRESULT result = mMsgBox::CANCEL;
};

BoxAnswer answerBox(const char *title, int button, const std::function<mMsgBox::MBRESULT()> &show) {
    BoxAnswer answer;
    vt::DialogAnswerer answerer(title, button);
    answerer.setAction([&](HWND box) {
        GUITHREADINFO info = {};
        info.cbSize = sizeof info;
        GetGUIThreadInfo(GetWindowThreadProcessId(box, nullptr), &info);
        answer.defaultButton = GetDlgCtrlID(info.hwndFocus);
    });
    answer.result = show();
    return answer;
}

} // namespace

TEST_F(DialogTest, ModalDialogEndsWithItsValueAndKeepsIdleRounds) {
    {
        // The answerer goes before the next dialog opens, so that it cannot press OK there.
        Dialog dialog(frame, true);
        mLResult brushSeen = 0;
        vt::DialogAnswerer answerer(dialogTitle, IDOK);
        answerer.setAction([&](HWND w) { brushSeen = SendMessageA(w, WM_CTLCOLORDLG, 0, (LPARAM)w); });
        wk::Idle idle([](unsigned long) {});
        app->registerIdle(&idle);
        EXPECT_EQ(5, dialog.go(600, false, nullptr));
        app->unregisterIdle(&idle);
        EXPECT_GT(idle.rounds, 0) << "the dialog's loop runs idle rounds";
        EXPECT_EQ(reinterpret_cast<mLResult>(dialog.brush.getPeer(nullptr)), brushSeen) << "the brush at full width";
        EXPECT_MERROR(dialog.go(600, false, nullptr), "Dialog cannot be recreated", 0, "mWindow/mDialog");
    }

    Dialog closed(frame, true);
    vt::DialogAnswerer closer(dialogTitle, IDCANCEL);
    closer.setAction([](HWND w) { PostMessageA(w, WM_SYSCOMMAND, SC_CLOSE, 0); });
    EXPECT_EQ(0, closed.go(600, false, vt::testModule())) << "the close box ends a modal dialog with 0";
}

TEST_F(DialogTest, ModelessDialogStartsUnfocusedUntilTab) {
    Dialog *dialog = new Dialog(frame, false);
    EXPECT_EQ(0, dialog->go(600, true, nullptr));
    HWND peer = reinterpret_cast<HWND>(dialog->getPeer());
    HWND edit = GetDlgItem(peer, 601);
    EXPECT_EQ(dialog, mWindow::findWindow(dialog->getPeer()));
    EXPECT_EQ(dialog, app->getActiveDialog());
    vt::drainMessages();
    EXPECT_EQ(nullptr, GetFocus());
    SendMessageA(peer, WM_SYSKEYDOWN, VK_TAB, 0);
    EXPECT_EQ(edit, GetFocus()) << "the first Tab gives the focus back";
    EXPECT_EQ(IDOK, dialog->getDefaultControlId());
    dialog->setDefaultControlId(IDCANCEL);
    EXPECT_EQ(IDCANCEL, dialog->getDefaultControlId());
    dialog->destroy(3);
    vt::pumpUntil([&] { return !IsWindow(peer); }, 2000);
    EXPECT_EQ(nullptr, app->getActiveDialog());
}

TEST_F(DialogTest, MessageBoxesDefaultButtonsAndResults) {
    struct Case {
        const char *title;
        int answer, defaultButton;
        mMsgBox::MBRESULT result;
        std::function<mMsgBox::MBRESULT()> show;
    };
    const Case cases[] = {
        {"Box one", IDCANCEL, IDCANCEL, mMsgBox::CANCEL,
         [] { return mMsgBox::ok("Sure?", "Box one", mMsgBox::CANCEL, true, mMsgBox::QUESTION, false); }},
        {"Box three", IDNO, IDNO, mMsgBox::NO,
         [] { return mMsgBox::yesNo("Save?", "Box three", mMsgBox::NO, true, mMsgBox::EXCLAMATION, false); }},
        {"Box four", IDCANCEL, IDRETRY, mMsgBox::CANCEL,
         [] { return mMsgBox::retry("Again?", "Box four", mMsgBox::OK, false, mMsgBox::STOP, false); }},
        {"Box five", IDIGNORE, IDIGNORE, mMsgBox::NO,
         [] { return mMsgBox::retry("Disk?", "Box five", mMsgBox::NO, true, mMsgBox::NOICON, false); }},
    };
    for (const Case &c : cases) {
        const BoxAnswer a = answerBox(c.title, c.answer, c.show);
        EXPECT_EQ(c.defaultButton, a.defaultButton) << c.title;
        EXPECT_EQ(c.result, a.result) << c.title;
    }
}

TEST_F(DialogTest, ClipboardCarriesTextOnly) {
    ASSERT_TRUE(mWinUtil::copyToClipboard("Velnor clip"));
    mString text;
    ASSERT_TRUE(mWinUtil::copyFromClipboard(text));
    EXPECT_EQ(mString("Velnor clip"), text);

    ASSERT_TRUE(OpenClipboard(nullptr));
    EmptyClipboard();
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 4);
    SetClipboardData(RegisterClipboardFormatA("Velnor private"), block);
    CloseClipboard();
    text = "kept";
    EXPECT_FALSE(mWinUtil::copyFromClipboard(text));
    EXPECT_EQ(mString("kept"), text);
}
