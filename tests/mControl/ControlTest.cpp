#include "ControlKit.h"
#include "ExpectError.h"

using ck::hwnd;
using Events = std::vector<std::string>;

namespace {

class ControlTest : public ck::ControlFixture {};

// A button that keeps its double clicks to itself.
struct QuietButton : mButton {
    QuietButton(mWindow *p, BUTTON_STYLE s, int id)
        : mButton(p, mRect(10, 10, 110, 40), s, id, "Press", true, true) {}
    bool onNotifyParent(int code) override { return code == 17; }
};

} // namespace

TEST_F(ControlTest, ButtonsReportClicksAndKeepTheirCheckState) {
    QuietButton *push = new QuietButton(frame, mButton::PUSH_BUTTON, 101);
    mButton *check = new mButton(frame, mRect(10, 50, 110, 70), mButton::AUTO_CHECK_BOX, 102, "Check", true, true);
    click(push, 5, 5);
    click(check, 5, 5);
    EXPECT_EQ(Events({"command 101 16", "command 102 16"}), take());
    EXPECT_EQ(BST_CHECKED, SendMessageA(hwnd(check), BM_GETCHECK, 0, 0));
    EXPECT_TRUE(check->isChecked());
    check->setCheck(false);
    EXPECT_EQ(BST_UNCHECKED, SendMessageA(hwnd(check), BM_GETCHECK, 0, 0));
    EXPECT_EQ(mButton::AUTO_CHECK_BOX, check->getStyle());

    notify(push, BN_DOUBLECLICKED); // kept by the button
    notify(push, 99);               // a code the family does not know is dropped
    notify(check, BN_DOUBLECLICKED);
    EXPECT_EQ(Events({"command 102 17"}), take());

    EXPECT_EQ("Press", ck::str(push->getText()));
    push->setText("Pressed twice");
    char text[64];
    GetWindowTextA(hwnd(push), text, sizeof text);
    EXPECT_STREQ("Pressed twice", text);
    EXPECT_EQ(push, frame->getControl(101));
    EXPECT_EQ(push, mWindow::findWindow(push->getPeer()));
}

TEST_F(ControlTest, RadioButtonsCheckOneOfTheirGroup) {
    mButton *a = new mButton(frame, mRect(10, 10, 90, 30), mButton::RADIO_BUTTON, 201, "A", true, true);
    mButton *b = new mButton(frame, mRect(10, 40, 90, 60), mButton::RADIO_BUTTON, 202, "B", true, false);
    a->radioCheck(201, 202);
    b->radioCheck(201, 202);
    EXPECT_FALSE(a->isChecked());
    EXPECT_TRUE(b->isChecked());
}

TEST_F(ControlTest, NotificationsOfUnwrappedControlsComeInTheLibrarysNumbering) {
    HWND list = CreateWindowExA(0, "listbox", "", WS_CHILD | LBS_NOTIFY, 0, 0, 50, 50, hwnd(frame), (HMENU)7,
                                nullptr, nullptr);
    HWND combo = CreateWindowExA(0, "combobox", "", WS_CHILD | CBS_DROPDOWNLIST, 0, 0, 50, 50, hwnd(frame),
                                 (HMENU)8, nullptr, nullptr);
    SendMessageA(hwnd(frame), WM_COMMAND, MAKEWPARAM(7, (WORD)LBN_ERRSPACE), (LPARAM)list);
    SendMessageA(hwnd(frame), WM_COMMAND, MAKEWPARAM(8, (WORD)CBN_ERRSPACE), (LPARAM)combo);
    SendMessageA(hwnd(frame), WM_COMMAND, MAKEWPARAM(9, 0), 0);
    EXPECT_EQ(Events({"command 7 257", "command 8 389", "command 9 0"}), take());
}

TEST_F(ControlTest, ListBoxFollowsClicksAndAnswersForItsItems) {
    mListBox *list = new mListBox(frame, mRect(10, 10, 150, 150), 301, true, true, false, true, true,
                                  mListBox::SEL_SINGLE, mListBox::DRAW_PLAIN, false, false);
    for (const char *name : {"pear", "apple", "fig"})
        list->add(mString(name));
    EXPECT_EQ("apple", ck::str(list->getText(0))); // sorted
    mRect second = list->getItemBounds(1);
    click(list, 5, (int)second.top + 2);
    EXPECT_EQ(1, SendMessageA(hwnd(list), LB_GETCURSEL, 0, 0));
    EXPECT_TRUE(list->isSelected(1));
    EXPECT_EQ("fig", ck::str(list->getText((short)list->getSelected())));
    PostMessageA(hwnd(list), WM_LBUTTONDBLCLK, MK_LBUTTON, MAKELPARAM(5, second.top + 2));
    PostMessageA(hwnd(list), WM_LBUTTONUP, 0, MAKELPARAM(5, second.top + 2));
    settle();
    Events events = take();
    EXPECT_NE(events.end(), std::find(events.begin(), events.end(), "command 301 259"));
    EXPECT_NE(events.end(), std::find(events.begin(), events.end(), "command 301 256"));

    EXPECT_EQ(2, list->findString("pe", 0, false));
    EXPECT_EQ(-1, list->findString("pe", -1, true));
    EXPECT_EQ("", ck::str(list->getText(7)));
    EXPECT_EQ(mRect(0, 0, 0, 0), list->getItemBounds(7));
    list->setItem(0, 0xBEEF);
    EXPECT_EQ(0xBEEFul, list->getItem(0));
    list->select(0, 2, true); // a single-selection list takes no range
    EXPECT_EQ(1, list->getSelected());
    list->remove(0);
    EXPECT_EQ(2, list->getCount());
}

TEST_F(ControlTest, AListOfSeveralSelectionsTakesRanges) {
    mListBox *multi = new mListBox(frame, mRect(110, 10, 200, 100), 2, true, false, false, false, false,
                                   mListBox::SEL_MULTIPLE, mListBox::DRAW_PLAIN, false, true);
    for (const char *name : {"a", "b", "c", "d"})
        multi->add(mString(name));
    EXPECT_TRUE(multi->isMulti());
    multi->select(1, 2, true);
    EXPECT_EQ(2, SendMessageA(hwnd(multi), LB_GETSELCOUNT, 0, 0));
    EXPECT_TRUE(multi->isSelected(2));
    EXPECT_FALSE(multi->isSelected(3));
}

TEST_F(ControlTest, ComboBoxChoosesByKeyboard) {
    mComboBox *combo = new mComboBox(frame, mRect(10, 10, 150, 120), 401, "", true, false, false, true, false,
                                     mComboBox::DROP_LIST, mListBox::DRAW_PLAIN, false, false);
    for (const char *name : {"low", "medium", "high"})
        combo->add(mString(name));
    combo->select(0);
    combo->focus();
    take();
    key(combo, VK_DOWN);
    EXPECT_EQ(1, SendMessageA(hwnd(combo), CB_GETCURSEL, 0, 0));
    EXPECT_EQ("medium", ck::str(combo->getText()));
    Events events = take();
    EXPECT_NE(events.end(), std::find(events.begin(), events.end(), "command 401 392"));
    EXPECT_EQ(2, combo->findString("high", -1, true));
    EXPECT_EQ("", ck::str(combo->getText(9)));
}

TEST_F(ControlTest, EditsTakeTypedTextAndMapTheirStyles) {
    mEdit *upper = new mEdit(frame, mRect(10, 10, 200, 30), 501, true, "", false, true, false, false, true, false,
                             false, false, false, mEdit::ALIGN_LEFT, mEdit::CASE_UPPER, false);
    mEdit *lines = new mEdit(frame, mRect(10, 40, 200, 140), 502, true, "one\r\n\r\nthree", false, false, true, true,
                             true, true, true, false, false, mEdit::ALIGN_LEFT, mEdit::CASE_ANY, false);
    take();
    type(upper, "abc");
    char text[32];
    GetWindowTextA(hwnd(upper), text, sizeof text);
    EXPECT_STREQ("ABC", text);
    EXPECT_TRUE(upper->isModified());
    Events events = take();
    ASSERT_EQ(6u, events.size());
    EXPECT_EQ("command 501 517", events[0]);
    EXPECT_EQ("command 501 512", events[1]);

    EXPECT_EQ(3, lines->getLines());
    EXPECT_EQ("one", ck::str(lines->getLine(0)));
    EXPECT_EQ("", ck::str(lines->getLine(1)));
    EXPECT_EQ("three", ck::str(lines->getLine(2)));
    EXPECT_EQ("", ck::str(lines->getLine(5)));
    lines->setEditSelection(0, 3);
    lines->replaceSelection("1");
    int start, end;
    lines->getEditSelection(start, end);
    EXPECT_EQ(1, start);
    EXPECT_EQ(1, end);
    EXPECT_EQ("1\r\n\r\nthree", ck::str(lines->getText()));
    lines->setReadOnly(true);
    type(lines, "x");
    EXPECT_EQ("1\r\n\r\nthree", ck::str(lines->getText()));
}

TEST_F(ControlTest, ScrollBarsMoveTheirThumbBeforeTheParentHears) {
    mScrollBar *bar = new mScrollBar(frame, mRect(10, 10, 200, 27), true, 601, true, false, false);
    bar->setMinMax(0, 100, true);
    bar->setPage(10, true);
    const int arrow = GetSystemMetrics(SM_CXHSCROLL) / 2;
    click(bar, 190 - arrow, 3); // the right arrow
    EXPECT_EQ(1, bar->getScrollPos());
    EXPECT_EQ(1, GetScrollPos(hwnd(bar), SB_CTL));
    Events events = take();
    ASSERT_FALSE(events.empty());
    EXPECT_EQ("hscroll 641 bar", events.front());
    EXPECT_EQ("hscroll 646 bar", events.back());

    auto send = [&](int code) { SendMessageA(hwnd(frame), WM_HSCROLL, (WPARAM)code, (LPARAM)hwnd(bar)); };
    send(SB_PAGEUP);
    EXPECT_EQ(0, bar->getScrollPos());
    send(SB_PAGEUP); // at the minimum nothing moves
    EXPECT_EQ(0, bar->getScrollPos());
    bar->setScrollPos(95, true);
    send(SB_PAGEDOWN);
    EXPECT_EQ(91, bar->getScrollPos()); // the last position a page of 10 leaves
    send(SB_TOP);                       // not in the table: dropped
    EXPECT_EQ(Events({"hscroll 642 bar", "hscroll 642 bar", "hscroll 643 bar"}), take());
}

TEST_F(ControlTest, TheWindowsOwnBarScrollsToo) {
    mScrollBar *own = new mScrollBar(frame, true);
    EXPECT_FALSE(own->isControl());
    ShowScrollBar(hwnd(frame), SB_HORZ, TRUE);
    own->setMinMax(0, 20, true);
    SendMessageA(hwnd(frame), WM_HSCROLL, SB_LINEDOWN, 0);
    EXPECT_EQ(1, GetScrollPos(hwnd(frame), SB_HORZ));
    EXPECT_EQ(Events({"hscroll 641 own"}), take());
    new mScrollBar(frame, true); // takes the place of the first, which goes
}

TEST_F(ControlTest, MisuseThrowsTheLibrarysErrors) {
    mButton *button = new mButton(frame, mRect(0, 0, 50, 20), mButton::PUSH_BUTTON, 701, "B", true, true);
    EXPECT_MERROR(new mControl(button->getPeer()), "Already wrapped", 0, "mWindow/mControl");
    EXPECT_MERROR(new mEdit(nullptr), "Attempt to wrap NULL control", 0, "mWindow/mControl");
    EXPECT_MERROR(new mEdit(button->getPeer()), "Tried to make Edit out of Button", 0, "mWindow/mControl");
    EXPECT_MERROR(new mListBox(frame, 702), "Control id not found", 702, "mWindow/mControl");
    EXPECT_MERROR(new mButton(frame, mRect(), (mButton::BUTTON_STYLE)8, 1, "", true, true),
                  "Bad style for push button", 8, "mWindow/mControl");
    EXPECT_MERROR(new mStatic(frame, mRect(), (mStatic::STATIC_STYLE)0, 1, "", true, 0),
                  "Bad style for static control", 0, "mWindow/mControl");
}

namespace {

struct ThrowingEdit : mEdit {
    explicit ThrowingEdit(mWindow *p)
        : mEdit(p, mRect(0, 30, 80, 50), 703, true, "", false, false, false, false, false, false, false, false,
                false, ALIGN_LEFT, CASE_ANY, false) {}
    bool onChar(int, int code) override { throw mError("typed", code, "test", 1); }
};

} // namespace

TEST_F(ControlTest, AFailureInAControlsEventReachesTheLoop) {
    ThrowingEdit *edit = new ThrowingEdit(frame);
    PostMessageA(hwnd(edit), WM_CHAR, 'q', 1);
    EXPECT_MERROR(settle(), "typed", 'q', "test");
    EXPECT_EQ("", ck::str(edit->getText()));
}

namespace {

// Draws its face and items itself, and writes down what it was asked.
struct DrawnButton : mButton {
    explicit DrawnButton(mWindow *p) : mButton(p, mRect(0, 0, 60, 30), OWNER_DRAW_BUTTON, 801, "", true, true) {}
    void onDraw(mGraphics *g, const mRect &area, bool entire, bool isDefault, int state) override {
        calls.push_back("draw " + std::to_string(area.width()) + "x" + std::to_string(area.height()) +
                        (entire ? " entire" : ""));
        g->fillRect(area, mColor::SYSCOLOR(0));
    }
    std::vector<std::string> calls;
};

struct DrawnList : mListBox {
    explicit DrawnList(mWindow *p)
        : mListBox(p, mRect(70, 0, 200, 100), 802, true, false, false, false, false, SEL_SINGLE, DRAW_OWNER, false,
                   false) {}
    void onItemDraw(mGraphics *, const mRect &, bool, int state, short item, unsigned long data) override {
        calls.push_back("item " + std::to_string(item) + " " + std::to_string(data) + " " + std::to_string(state));
    }
    int onItemMeasure(short item, unsigned long data) override { return 20 + item; }
    void onItemDelete(short item, unsigned long data) override {
        calls.push_back("delete " + std::to_string(item) + " " + std::to_string(data));
    }
    std::vector<std::string> calls;
};

} // namespace

TEST_F(ControlTest, OwnerDrawingReachesTheControl) {
    frame->setVisible(true);
    DrawnButton *button = new DrawnButton(frame);
    DrawnList *list = new DrawnList(frame);
    list->add(41ul);
    list->add(42ul);
    list->recalcItemHeight(1);
    EXPECT_EQ(21, SendMessageA(hwnd(list), LB_GETITEMHEIGHT, 0, 0));
    button->update(true);
    list->update(true);
    EXPECT_EQ(std::vector<std::string>({"draw 60x30 entire"}), button->calls);
    EXPECT_EQ(std::vector<std::string>({"item 0 41 0", "item 1 42 0"}), list->calls);
    list->calls.clear();
    list->remove(0);
    EXPECT_EQ(std::vector<std::string>({"delete 0 41"}), list->calls);
}

namespace {

// Counts the objects alive, to show that each goes exactly once with its peer.
template <class Base> struct Counted : Base {
    template <class... A> Counted(A... a) : Base(a...) { ++alive; }
    ~Counted() override { --alive; }
    static int alive;
};
template <class Base> int Counted<Base>::alive = 0;

int children(HWND w) {
    int n = 0;
    for (HWND c = GetWindow(w, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT))
        ++n;
    return n;
}

} // namespace

TEST_F(ControlTest, NoControlOutlivesItsPeerOrGoesTwice) {
    const mRect r(0, 0, 80, 40);
    // A thousand of each kind, destroyed a hundred rounds at a time.
    for (int round = 0; round < 10; ++round) {
        std::vector<mControl *> made;
        for (int i = 0; i < 100; ++i) {
            made.push_back(new Counted<mButton>(frame, r, mButton::CHECK_BOX, 1, mString("b"), true, true));
            made.push_back(new Counted<mStatic>(frame, r, mStatic::LEFT_TEXT, 2, mString("s"), true, 4));
            made.push_back(new Counted<mListBox>(frame, r, 3, true, false, true, true, true, mListBox::SEL_EXTENDED,
                                                 mListBox::DRAW_PLAIN, false, false));
            made.push_back(new Counted<mComboBox>(frame, r, 4, mString("c"), true, true, true, true, true,
                                                  mComboBox::DROP_DOWN, mListBox::DRAW_PLAIN, false, false));
            made.push_back(new Counted<mEdit>(frame, r, 5, true, mString("e"), true, true, true, true, true, true,
                                              true, true, false, mEdit::ALIGN_RIGHT, mEdit::CASE_LOWER, false));
            made.push_back(new Counted<mScrollBar>(frame, r, false, 6, true, true, true));
        }
        for (mControl *c : made)
            c->destroy();
        settle();
    }
    EXPECT_EQ(0, Counted<mButton>::alive + Counted<mStatic>::alive + Counted<mListBox>::alive +
                     Counted<mComboBox>::alive + Counted<mEdit>::alive + Counted<mScrollBar>::alive);
    EXPECT_EQ(0, children(hwnd(frame)));

    // A wrapper deleted while its peer lives gives the peer back its own procedure.
    HWND plain = CreateWindowExA(0, "button", "", WS_CHILD, 0, 0, 10, 10, hwnd(frame), (HMENU)9, nullptr, nullptr);
    LONG_PTR before = GetWindowLongPtrA(plain, GWLP_WNDPROC);
    delete new Counted<mButton>(frame, 9);
    EXPECT_EQ(before, GetWindowLongPtrA(plain, GWLP_WNDPROC));
    EXPECT_EQ(nullptr, mWindow::findWindow(reinterpret_cast<SYSTEM_INFO_STRUCT *>(plain)));
    EXPECT_EQ(0, Counted<mButton>::alive);
}
