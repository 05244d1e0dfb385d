#include "VelnorTest.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

struct Frame : vt::TestFrame {
    explicit Frame(mApp *app, int style = TITLE_BAR | CLOSE_ENABLED | SYSTEM_MENU | SIZING)
        : vt::TestFrame(app, 0, style) {}
    bool onChar(int q, int code) override {
        keys.push_back("char " + std::to_string(code));
        return true;
    }
    bool onCharUp(int q, int code) override {
        keys.push_back("up " + std::to_string(code));
        return true;
    }
    bool onMouseDown(int button, int info, const mPoint &p) override {
        keys.push_back("down " + std::to_string(button) + " " + std::to_string(info) + " " + std::to_string(p.x) +
                       "," + std::to_string(p.y));
        return true;
    }
    bool onCommand(int id, int code) override {
        keys.push_back("command " + std::to_string(id) + " " + std::to_string(code));
        return true;
    }
    void onSize(ShowState s, const mSize &size) override { sizes.push_back(s); }
    std::vector<std::string> keys;
    std::vector<int> sizes;
};

class WindowTest : public vt::FrameFixture<Frame> {
protected:
    WindowTest() : vt::FrameFixture<Frame>("WindowTest") {}
};

} // namespace

TEST_F(WindowTest, UserMessagesAndTheirLimit) {
    int got = -1;
    frame->userHandler = [&](short message, int p1, long p2, int &result) {
        got = message;
        result = p1 + (int)p2;
        return true;
    };
    EXPECT_EQ(7, frame->sendUserMessage(12287, 3, 4));
    EXPECT_EQ(12287, got);
    EXPECT_EQ(-1, frame->sendUserMessage(12288, 3, 4));
    frame->postUserMessage(12288, 0, 0);
    MSG msg;
    EXPECT_FALSE(PeekMessageA(&msg, nullptr, 0x8000, 0xAFFF, PM_NOREMOVE));
    frame->postUserMessage(0, 0, 0);
    EXPECT_TRUE(PeekMessageA(&msg, nullptr, 0x8000, 0x8000, PM_NOREMOVE));
}

TEST_F(WindowTest, ClassesAndFinding) {
    char name[100];
    mWindow::getClassName(frame->getPeer(), name, sizeof name);
    EXPECT_STREQ("mWinBaseWindowTest", name);
    EXPECT_STREQ("mWinBaseWindowTest", mWindow::getBaseClassName().c_str());
    EXPECT_EQ(frame, mWindow::findWindow(frame->getPeer()));
    EXPECT_EQ(nullptr, mWindow::findWindow(nullptr));
    char tiny[4];
    mWindow::getClassName(frame->getPeer(), tiny, sizeof tiny);
    EXPECT_STREQ("mWi", tiny);

    struct NoClose : mFrame {
        NoClose() : mFrame(nullptr, mRect(0, 0, 50, 50), TITLE_BAR, "nc") {}
    };
    NoClose *nc = new NoClose;
    mWindow::getClassName(nc->getPeer(), name, sizeof name);
    EXPECT_STREQ("mWinBaseWindowTestnc", name);
    EXPECT_EQ(nullptr, mWindow::findWindow(nc->getPeer())) << "only the base class is read as an object";
    nc->destroy();
    vt::drainMessages();
}

TEST_F(WindowTest, CloseRefusedIsStillHandled) {
    struct Stay : Frame {
        explicit Stay(mApp *app) : Frame(app) {}
        bool onClose(bool) override { return false; }
    };
    Stay *stay = new Stay(app);
    SendMessageA(reinterpret_cast<HWND>(stay->getPeer()), WM_CLOSE, 0, 0);
    vt::drainMessages();
    EXPECT_TRUE(IsWindow(reinterpret_cast<HWND>(stay->getPeer())));
    stay->destroy();
    stay->destroy();
    vt::pumpUntil([&] { return app->getStateCount() == 1; }, 2000);
    EXPECT_EQ(1, app->getStateCount());
}

TEST_F(WindowTest, VisibilityFollowsThePlacement) {
    EXPECT_FALSE(frame->isVisible());
    frame->setVisible(true);
    EXPECT_TRUE(frame->isVisible());
    frame->setShow(mWindow::MINIMIZED);
    EXPECT_EQ(mWindow::MINIMIZED, frame->getShow());
    frame->setVisible(false);
    EXPECT_EQ(mWindow::MINIMIZED, frame->getShow()) << "a minimized window stays minimized";
    EXPECT_FALSE(frame->isVisible());
    frame->setVisible(true);
    EXPECT_EQ(mWindow::NORMAL, frame->getShow());
    EXPECT_TRUE(frame->isVisible());
    frame->setVisible(false);
    EXPECT_FALSE(IsWindowVisible(peer()));
}

TEST_F(WindowTest, GeometryAndLimits) {
    frame->setBounds(mRect(20, 30, 220, 180));
    frame->move(5, -10);
    frame->setSize(mSize(300, 200));
    EXPECT_EQ(mRect(25, 20, 325, 220), frame->getBounds());
    mInset in = frame->getInsets();
    mRect client = frame->getClientBounds();
    EXPECT_EQ(300 - in.left - in.right, client.width());
    EXPECT_EQ(200 - in.top - in.bottom, client.height());

    frame->setLimits(mSize(100, 60), mSize(0, 0));
    EXPECT_EQ(mSize(300, 200), frame->getSize()) << "limits apply to visible windows only";
    mSize mn, mx;
    frame->getLimits(mn, mx);
    EXPECT_EQ(mSize(100, 60), mn);
    EXPECT_EQ(mSize(0, 0), mx);
    frame->setVisible(true);
    frame->setLimits(mSize(0, 0), mSize(150, 100));
    EXPECT_EQ(mSize(150 + in.left + in.right, 100 + in.top + in.bottom), frame->getSize());
    frame->setTitle(mString(250, 'x'));
    EXPECT_EQ(199, frame->getTitle().length());
}

TEST_F(WindowTest, KeysAndMouseBecomeEvents) {
    frame->setVisible(true);
    SendMessageA(peer(), WM_KEYDOWN, VK_F12, 0);
    SendMessageA(peer(), WM_KEYUP, VK_HOME, 0);
    SendMessageA(peer(), WM_KEYDOWN, 'A', 0);  // no mapping: no event from the key message
    SendMessageA(peer(), WM_CHAR, 'a', 0);
    SendMessageA(peer(), WM_LBUTTONDOWN, MK_LBUTTON | MK_SHIFT, MAKELPARAM((WORD)-5, 7));
    SendMessageA(peer(), WM_SYSCOMMAND, SC_MINIMIZE, 0);
    SendMessageA(peer(), WM_SYSCOMMAND, 0x120, 0);
    std::vector<std::string> expected = {"char 4108", "up 4111", "char 97", "down 1 9 -5,7", "command 32772 1",
                                         "command 288 1"};
    EXPECT_EQ(expected, frame->keys);
    EXPECT_EQ(0x1000, mWindow::convVKey('A'));
    EXPECT_EQ(0x101B, mWindow::convVKey(VK_CANCEL));
    EXPECT_EQ(0x1001, mWindow::convVKey(VK_F1));
}

TEST_F(WindowTest, CursorsOfTwoKinds) {
    bool system = false;
    EXPECT_EQ(mWindow::ARROW, frame->getCursor(system));
    EXPECT_TRUE(system);
    EXPECT_TRUE(frame->setCursor(300));
    EXPECT_EQ(300, frame->getCursor(system));
    EXPECT_FALSE(system);
    EXPECT_TRUE(frame->setSysCursor(mWindow::CROSS));
    EXPECT_EQ(mWindow::CROSS, frame->getCursor(system));
    EXPECT_TRUE(system);
    EXPECT_FALSE(frame->setSysCursor(static_cast<mWindow::SYSCURSOR>(6)));
    EXPECT_EQ(mWindow::CROSS, frame->getCursor(system));
    EXPECT_EQ(1, SendMessageA(peer(), WM_SETCURSOR, (WPARAM)peer(), MAKELPARAM(HTCLIENT, WM_MOUSEMOVE)));
    EXPECT_TRUE(frame->setTrackCursor(true));
    EXPECT_FALSE(frame->setTrackCursor(true));
    EXPECT_TRUE(frame->setTrackCursor(false));
}

TEST_F(WindowTest, ChildrenAreWalked) {
    struct Lister : mChildList {
        bool onChild(mWindow &child, int id) override {
            ids.push_back(id);
            EXPECT_FALSE(child.isValid()) << "children are handed out as wrappers";
            return id == stopAt;
        }
        std::vector<int> ids;
        int stopAt = -1;
    } list;
    EXPECT_FALSE(frame->enumChildren(list, false));
    EXPECT_TRUE(list.ids.empty());
    HWND a = CreateWindowExA(0, "STATIC", "a", WS_CHILD, 0, 0, 10, 10, peer(), (HMENU)11, nullptr, nullptr);
    HWND b = CreateWindowExA(0, "STATIC", "b", WS_CHILD, 0, 0, 10, 10, peer(), (HMENU)12, nullptr, nullptr);
    CreateWindowExA(0, "STATIC", "c", WS_CHILD, 0, 0, 10, 10, a, (HMENU)13, nullptr, nullptr);
    EXPECT_FALSE(frame->enumChildren(list, false));
    EXPECT_EQ(std::vector<int>({11, 12}), list.ids);
    list.ids.clear();
    EXPECT_FALSE(frame->enumChildren(list, true));
    EXPECT_EQ(3u, list.ids.size());
    list.ids.clear();
    list.stopAt = 11;
    EXPECT_TRUE(frame->enumChildren(list, false));
    EXPECT_EQ(std::vector<int>({11}), list.ids);
    EXPECT_EQ(reinterpret_cast<SYSTEM_INFO_STRUCT *>(b), frame->getControlPeer(12));
    EXPECT_EQ(nullptr, frame->getControlPeer(13)) << "only direct children";
}

TEST_F(WindowTest, DeletingAWindowDirectlyDestroysItsPeer) {
    int destroyed = 0;
    struct Child : mWindow {
        Child(mWindow *parent, int *count) : mWindow(parent, mRect(0, 0, 20, 20), false), count(count) {}
        ~Child() override {}
        void onDestroy() override { ++*count; }
        int *count;
    };
    Child *c = new Child(frame, &destroyed);
    HWND h = reinterpret_cast<HWND>(c->getPeer());
    EXPECT_TRUE(IsWindow(h));
    EXPECT_EQ(frame, c->getMain());
    EXPECT_EQ(vt::testModule(), c->getModule());
    delete c;
    EXPECT_FALSE(IsWindow(h));
    EXPECT_EQ(0, destroyed) << "no event reaches a half-destroyed object";
}

