#include "ExpectError.h"
#include "WindowKit.h"

#include <algorithm>

namespace {

class MenuTest : public wk::WindowFixture {
protected:
    MenuTest() : wk::WindowFixture("MenuTest") {}
    static HMENU hmenu(mMenu *m) { return reinterpret_cast<HMENU>(m->getPeer()); }
    static std::string peerText(HMENU m, int position) {
        char text[80] = "";
        GetMenuStringA(m, (UINT)position, text, sizeof text, MF_BYPOSITION);
        return text;
    }
};

// An item that draws itself and tells how it was asked.
struct Drawn : mMenuItem {
    explicit Drawn(unsigned short id) : mMenuItem(id, "", false, true) {}
    mSize onMeasure() override {
        ++measured;
        return mSize(90, 24);
    }
    void onDraw(mGraphics *g, const mRect &area, bool entire, bool checked, int state) override { drawn = area; }
    int measured = 0;
    mRect drawn;
};

} // namespace

TEST_F(MenuTest, ResourceMenuIsMirroredAndStatesWriteThrough) {
    mMenu bar(vt::testModule(), 500);
    ASSERT_EQ(2, bar.getCount());
    mMenu *file = static_cast<mMenu *>(bar.getItem(0));
    EXPECT_FALSE(file->isMenuItem());
    EXPECT_EQ("&File", std::string(file->getLabel().c_str()));
    ASSERT_EQ(4, file->getCount());
    EXPECT_TRUE(file->getItem(1)->isSeparator());
    EXPECT_EQ(file->getItem(2), bar.findId(502));
    EXPECT_TRUE(bar.findId(502)->checkFlag(mMenuItem::DISABLED));
    EXPECT_TRUE(bar.checkFlag(503, mMenuItem::CHECKED)) << "found depth first, in a sub-sub-menu";
    EXPECT_EQ(bar.getItem(-1), bar.findId(504));
    EXPECT_EQ(nullptr, bar.getItem(2));
    EXPECT_EQ(mString("E&xit"), bar.findId(502)->getLabel());

    HMENU filePeer = hmenu(file);
    EXPECT_TRUE(bar.changeState(501, mMenuItem::CHECKED, 0));
    EXPECT_EQ((UINT)MF_CHECKED, GetMenuState(filePeer, 501, MF_BYCOMMAND) & (MF_CHECKED | MF_GRAYED));
    EXPECT_TRUE(bar.changeState(502, mMenuItem::ENABLED, mMenuItem::DISABLED));
    EXPECT_EQ(0u, GetMenuState(filePeer, 502, MF_BYCOMMAND) & MF_GRAYED);
    bar.findId(501)->setState(0);  // neither enabled nor disabled: grayed, since only the enabled bit counts
    EXPECT_EQ((UINT)MF_GRAYED, GetMenuState(filePeer, 501, MF_BYCOMMAND) & (MF_CHECKED | MF_GRAYED));
    EXPECT_FALSE(bar.changeState(999, mMenuItem::CHECKED, 0));

    mMenu *recent = static_cast<mMenu *>(file->getItem(3));
    EXPECT_EQ(recent, recent->getItem(0)->getParent());
    EXPECT_NE(static_cast<mMenuItem *>(recent), bar.findId(recent->getId())) << "a sub-menu is not found by its own id";
}

TEST_F(MenuTest, ItemsKeepTheirPositionsWithThePeer) {
    mMenu menu(true, false);
    EXPECT_EQ(nullptr, menu.getItem(-1));
    menu.append(new mMenuItem(1, "one", false, false));
    menu.insert(new mMenuItem(3, "three", false, false), 1);  // the count: appends
    menu.insert(new mMenuItem(2, "two", false, false), -2);   // before the last
    menu.insert(new mMenuItem(mMenuItem::SEPARATOR), 0);
    menu.insert(new mMenuItem(9, "never", false, false), 9);
    HMENU p = hmenu(&menu);
    ASSERT_EQ(4, menu.getCount());
    ASSERT_EQ(4, GetMenuItemCount(p));
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(i, menu.getItem(i)->getPosition());
        EXPECT_EQ((UINT)menu.getItem(i)->getId(), GetMenuItemID(p, i) == (UINT)-1 ? 0u : GetMenuItemID(p, i));
    }
    EXPECT_TRUE(menu.getItem(0)->isSeparator()) << "read back from the peer as a separator";
    EXPECT_EQ("two", peerText(p, 2));

    mMenuItem *two = menu.getItem(2);
    two->remove();
    EXPECT_EQ(-1, two->getPosition());
    EXPECT_EQ(2, menu.getItem(-1)->getPosition());
    EXPECT_EQ(3, GetMenuItemCount(p));
    delete two;

    Drawn *drawn = new Drawn(5);
    menu.append(drawn);
    EXPECT_TRUE(drawn->isOwnerDraw());
    drawn->setLabel("five");
    EXPECT_FALSE(drawn->isOwnerDraw());
    EXPECT_EQ("five", peerText(p, 3));
    delete menu.getItem(1);  // an item deleted by its holder leaves its menu
    EXPECT_EQ(3, GetMenuItemCount(p));
    EXPECT_EQ(2, drawn->getPosition());
}

TEST_F(MenuTest, BarHelpMenuAndSystemMenuOfAFrame) {
    mMenu *bar = new mMenu(vt::testModule(), 500);
    EXPECT_EQ(nullptr, frame->setMenu(bar));
    EXPECT_EQ(hmenu(bar), GetMenu(peer()));
    EXPECT_EQ(static_cast<mWindow *>(frame), bar->findId(503)->getWindow());

    mMenu *help = new mMenu(true, false);
    help->setLabel("&Help");
    help->append(new mMenuItem(701, "&Contents", false, false));
    frame->setHelpMenu(help);
    EXPECT_EQ(3, GetMenuItemCount(GetMenu(peer())));
    EXPECT_EQ("&Help", peerText(GetMenu(peer()), 2));
    EXPECT_EQ(help, frame->getHelpMenu());

    wk::Frame *other = new wk::Frame(app);
    EXPECT_MERROR(other->setMenu(bar), "Cannot use menu which is already in use", 0, "mWindow/mMenu");
    EXPECT_MERROR(bar->popUp(frame, mPoint(0, 0), false, mMenu::ALIGN_START, mMenu::ALIGN_START, false),
                  "Cannot convert menu when used by window", 0, "mWindow/mMenu");

    EXPECT_EQ(bar, frame->setMenu(nullptr));
    EXPECT_EQ(2, GetMenuItemCount(hmenu(bar))) << "the help entry left the old bar";
    EXPECT_EQ(1, GetMenuItemCount(GetMenu(peer()))) << "the help menu stands on a bar of its own";
    EXPECT_EQ(nullptr, other->setMenu(bar));

    help->setLabel("");  // a help menu without a label is its single command
    frame->setHelpMenu(nullptr);
    EXPECT_EQ(nullptr, GetMenu(peer()));
    frame->setHelpMenu(help);
    EXPECT_EQ(help->getItem(0), frame->getHelpMenu());
    EXPECT_EQ("&Contents", peerText(GetMenu(peer()), 0));
    EXPECT_EQ(701u, GetMenuItemID(GetMenu(peer()), 0));

    HMENU system = GetSystemMenu(peer(), FALSE);
    int platformCount = GetMenuItemCount(system);
    mMenu *sys = frame->getSystemMenu();
    EXPECT_EQ(platformCount, sys->getCount());
    sys->append(new mMenuItem(0x120, "Title's own", false, false));
    EXPECT_EQ(platformCount + 1, GetMenuItemCount(GetSystemMenu(peer(), FALSE)));
    frame->resetSystemMenu();
    EXPECT_EQ(platformCount, GetMenuItemCount(GetSystemMenu(peer(), FALSE)));
    other->destroy();  // takes the bar with it
}

TEST_F(MenuTest, AMenuBarWorksFromTheKeyboardAndKeepsIdleRounds) {
    mMenu *bar = new mMenu(vt::testModule(), 500);
    mMenu *file = static_cast<mMenu *>(bar->getItem(0));
    Drawn *drawn = new Drawn(505);
    file->append(drawn);
    bar->changeState(502, mMenuItem::ENABLED, mMenuItem::DISABLED);
    frame->setMenu(bar);
    frame->setVisible(true);
    // Alt+F opens File with its first entry selected; Down and Return then pick Exit, once the
    // menu waits for input.
    bool typed = false;
    wk::Idle idle([&](unsigned long) {
        if (!typed && frame->events.size() >= 2 && frame->events.back() == "select 501") {
            typed = true;
            type({VK_DOWN, VK_RETURN});
        }
    });
    app->registerIdle(&idle);
    SendMessageA(peer(), WM_SYSCOMMAND, SC_KEYMENU, 'f');
    vt::pumpUntil([&] { return frame->events.back().rfind("command", 0) == 0; }, 3000);
    app->unregisterIdle(&idle);
    EXPECT_GT(idle.rounds, 0) << "the menu's loop runs idle rounds";
    EXPECT_EQ("command 502 0", frame->events.back()) << "the separator is skipped";
    EXPECT_NE(frame->events.end(), std::find(frame->events.begin(), frame->events.end(), "select 502"));
    EXPECT_NE(frame->events.end(), std::find(frame->events.begin(), frame->events.end(), "select 0"));
    EXPECT_EQ(1, std::count(frame->events.begin(), frame->events.end(), "select 501"));
    EXPECT_GT(drawn->measured, 0);
    EXPECT_EQ(24, drawn->drawn.height());
}

TEST_F(MenuTest, PopUpReturnsTheChoiceAndConvertsABarForGood) {
    mMenu *bar = new mMenu(false, false);
    bar->append(new mMenuItem(11, "eleven", false, false));
    bar->append(new mMenuItem(12, "twelve", false, false));
    frame->setVisible(true);
    bool typed = false;
    wk::Idle idle([&](unsigned long) {
        if (!typed)
            type({VK_DOWN, VK_DOWN, VK_RETURN});
        typed = true;
    });
    app->registerIdle(&idle);
    int chosen = bar->popUp(frame, mPoint(100, 100), false, mMenu::ALIGN_CENTER, mMenu::ALIGN_END, true);
    app->unregisterIdle(&idle);
    EXPECT_EQ(12, chosen);
    EXPECT_EQ("command 12 0", frame->events.back());
    EXPECT_TRUE(bar->isPopup());
    EXPECT_EQ(12, bar->getItem(1)->getId()) << "items keep their objects through the conversion";

    typed = false;
    idle.f = [&](unsigned long) {
        if (!typed)
            type({VK_ESCAPE});
        typed = true;
    };
    app->registerIdle(&idle);
    EXPECT_EQ(0, bar->popUp(frame, mPoint(100, 100), true, mMenu::ALIGN_START, mMenu::ALIGN_START, true));
    app->unregisterIdle(&idle);
    frame->setMenu(bar);
    EXPECT_FALSE(bar->isPopup());
    EXPECT_EQ("twelve", peerText(GetMenu(peer()), 1));
}
