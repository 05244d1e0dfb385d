#include "ControlKit.h"
#include "ExpectError.h"

using ck::hwnd;

namespace {

class TemplateTest : public ck::ControlFixture {};

struct Form : mDialog {
    explicit Form(mWindow *p) : mDialog(p, false) {}
    bool onCommand(int id, int code) override {
        commands.push_back(std::to_string(id) + " " + std::to_string(code));
        return true;
    }
    std::vector<std::string> commands;
};

} // namespace

TEST_F(TemplateTest, ControlsOfATemplateAreWrappedByIdAndLetGoAgain) {
    Form *form = new Form(frame);
    form->go(100, false, vt::testModule());
    mEdit *edit = new mEdit(form, 10);
    mListBox *list = new mListBox(form, 11);
    mScrollBar *bar = new mScrollBar(form, 12);
    mStatic *label = new mStatic(form, 13);
    mButton *ok = new mButton(form, IDOK);
    EXPECT_EQ(form, edit->getParent());
    EXPECT_TRUE(list->isMulti());
    EXPECT_FALSE(bar->isHorizontal());
    EXPECT_EQ(mStatic::LEFT_TEXT, label->getStyle());
    EXPECT_EQ(mButton::DEFAULT_PUSH_BUTTON, ok->getStyle());
    EXPECT_MERROR(new mListBox(form, 10), "Tried to make listbox out of Edit", 0, "mWindow/mControl");

    type(edit, "hello");
    click(ok, 3, 3);
    EXPECT_EQ("hello", ck::str(edit->getText()));
    ASSERT_FALSE(form->commands.empty());
    EXPECT_EQ("1 16", form->commands.back());

    // A wrapper can end while the dialog lives on; the control keeps working.
    delete edit;
    SetWindowTextA(GetDlgItem(hwnd(form), 10), "still here");
    char text[32];
    GetWindowTextA(GetDlgItem(hwnd(form), 10), text, sizeof text);
    EXPECT_STREQ("still here", text);
    form->destroy();
    settle();
}
