#include "VelnorTest.h"
#include "mUtil/mApp.h"
#include "mWindow/mFrame.h"
#include "mWindow/mPalette.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <map>
#include <memory>

namespace {

// Paints are counted by name outside the objects, which the platform deletes.
std::map<int, int> paints;

class CountingWindow : public mWindow {
public:
    CountingWindow(int name, mWindow *parent, const mRect &bounds) : mWindow(parent, bounds, false), name(name) {
        setVisible(true);
    }

    bool onPaint() override {
        ++paints[name];
        bool erase;
        mRect area;
        beginPaint(erase, area);
        return true;
    }

private:
    int name;
};

// The window object goes with its peer, through the queue.
bool destroyAndWait(mWindow *window) {
    HWND peer = reinterpret_cast<HWND>(window->getPeer());
    window->destroy();
    return vt::pumpUntil([peer] { return !IsWindow(peer); }, 3000);
}

int useCount(const mPalette &p) { return mPeerRef::find(p.getPeer(), false)->getRefCount(); }

// One shown top-level window for the suite: the platform takes its time to take one down.
class WindowPalette : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        app = new mApp("PaletteTests");
        desk = new mFrame(nullptr, mRect(10, 10, 330, 250), 0, "palette");
        desk->setVisible(true);
    }
    static void TearDownTestSuite() {
        destroyAndWait(desk);
        delete app;
        app = nullptr;
    }
    static mApp *app;
    static mWindow *desk;
};
mApp *WindowPalette::app = nullptr;
mWindow *WindowPalette::desk = nullptr;

TEST_F(WindowPalette, KeepsItsOwnSharingCopy) {
    mColor colors[] = {mColor(1, 2, 3)};
    mPalette palette(colors, 1);
    CountingWindow *window = new CountingWindow(0, desk, mRect(0, 0, 20, 20));
    EXPECT_EQ(nullptr, window->getPalette());

    window->setPalette(&palette);
    EXPECT_NE(&palette, window->getPalettePtr());
    std::unique_ptr<mPalette> copy(window->getPalette());
    ASSERT_NE(nullptr, copy);
    EXPECT_EQ(palette.getPeer(), copy->getPeer());
    EXPECT_EQ(3, useCount(palette));
    copy.reset();
    window->setPalette(window->getPalettePtr());
    EXPECT_EQ(2, useCount(palette));
    window->setPalette(nullptr);
    EXPECT_FALSE(window->hasPalette());
    EXPECT_EQ(1, useCount(palette));

    window->setPalette(&palette);
    EXPECT_TRUE(destroyAndWait(window));
    EXPECT_EQ(1, useCount(palette));
}

TEST_F(WindowPalette, PaletteChangeRepaintsOnlyWindowsWithAPalette) {
    mColor colors[] = {mColor(10, 20, 30)};
    mPalette palette(colors, 1);
    CountingWindow *top = new CountingWindow(0, desk, mRect(0, 0, 300, 200));
    CountingWindow *withPalette = new CountingWindow(1, top, mRect(0, 0, 50, 50));
    CountingWindow *without = new CountingWindow(2, top, mRect(60, 0, 200, 150));
    CountingWindow *grandchild = new CountingWindow(3, without, mRect(5, 5, 40, 40));
    withPalette->setPalette(&palette);
    grandchild->setPalette(&palette);
    vt::pumpUntil([] { return false; }, 200);

    std::map<int, int> expected = {{1, 1}, {3, 1}};
    for (bool topHasOne : {false, true}) {
        if (topHasOne) {
            top->setPalette(&palette);
            expected[0] = 1;
        }
        paints.clear();
        SendMessageA(reinterpret_cast<HWND>(top->getPeer()), WM_PALETTECHANGED, 0, 0);
        EXPECT_EQ(expected, paints) << topHasOne;
    }
    EXPECT_TRUE(destroyAndWait(top));
    EXPECT_EQ(1, useCount(palette));
}

} // namespace
