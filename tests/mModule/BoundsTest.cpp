// Window bounds kept in the profile store, on real frames.
#include "helpers.h"
#include "mWindow/mFrame.h"

#include <ostream>
#include <vector>

// Readable values in failure messages.
inline void PrintTo(const mRect &r, std::ostream *os) {
    *os << "(" << r.left << ", " << r.top << ", " << r.right << ", " << r.bottom << ")";
}
inline void PrintTo(const mPoint &p, std::ostream *os) { *os << "(" << p.x << ", " << p.y << ")"; }

namespace {
typedef std::vector<long> Longs;

class BoundsFrame : public mFrame {
public:
    BoundsFrame() : mFrame(nullptr, mRect(50, 60, 250, 210), TITLE_BAR | SIZING | CLOSE_ENABLED, "Bounds") {}
    using mTopLevel::decodeShowState;
    using mTopLevel::maxWidth;
    using mTopLevel::minHeight;
    const mString &keyModule() const { return configModule; }
};

class Bounds : public vt::AppFixture {
protected:
    Bounds() : vt::AppFixture("BoundsTest") {}
    void SetUp() override {
        vt::AppFixture::SetUp();
        frame = new BoundsFrame;
    }
    void TearDown() override {
        closeFrame();
        vt::AppFixture::TearDown();
    }

    ScratchKey scratch{"VelnorTestBounds"};
    const mString &module = scratch.module;
    BoundsFrame *frame = nullptr;
    const mRect work = mApp::getScreenBounds();

    void closeFrame() {
        if (frame)
            DestroyWindow(reinterpret_cast<HWND>(frame->getPeer()));
        frame = nullptr;
        vt::drainMessages();
    }
    void store(const Longs &values, const mString &suffix) {
        mApp::setProfileValue("main", values, suffix, true, module);
    }
    // A rectangle given relative to the work area's top left corner.
    mRect inWork(long left, long top, long right, long bottom) const {
        return mRect(work.left + left, work.top + top, work.left + right, work.top + bottom);
    }
};
} // namespace

TEST_F(Bounds, ShowStatesIgnoreCaseAndLookAtThreeLetters) {
    EXPECT_EQ(BoundsFrame::decodeShowState("minimized"), mWindow::MINIMIZED);
    EXPECT_EQ(BoundsFrame::decodeShowState("MaXimum"), mWindow::MAXIMIZED);
    EXPECT_EQ(BoundsFrame::decodeShowState("min"), mWindow::MINIMIZED);
    EXPECT_EQ(BoundsFrame::decodeShowState("mi"), mWindow::NORMAL);
    EXPECT_EQ(BoundsFrame::decodeShowState(" max"), mWindow::NORMAL);
    EXPECT_EQ(BoundsFrame::decodeShowState(""), mWindow::NORMAL);
}

TEST_F(Bounds, LoadedBoundsAreBroughtIntoTheWorkArea) {
    // With no value the defaults stand, and the flag gives the state.
    mRect defaults(work.right - 100, work.bottom - 50, work.right + 100, work.bottom + 50);
    EXPECT_EQ(frame->loadBounds("main", defaults, true, module), mWindow::MINIMIZED);
    EXPECT_EQ(frame->getBounds(), mRect(work.right - 200, work.bottom - 100, work.right, work.bottom));
    // Bounds on a screen that is gone are shifted into view, not replaced by the defaults.
    store({-2000, -1500, -1800, -1350}, "Maximized");
    EXPECT_EQ(frame->loadBounds("main", defaults, false, module), mWindow::MAXIMIZED);
    EXPECT_EQ(frame->getBounds(), inWork(0, 0, 200, 150));
    // A window larger than the work area fills it; the stored state wins over the flag.
    store({work.left + 100, work.top + 100, work.right + 2 * work.width(), work.bottom + 3 * work.height()}, "");
    EXPECT_EQ(frame->loadBounds("main", defaults, true, module), mWindow::NORMAL);
    EXPECT_EQ(frame->getBounds(), work);
    // Limits apply before that.
    frame->maxWidth = 150;
    frame->minHeight = 120;
    store({work.left + 10, work.top + 20, work.left + 410, work.top + 70}, "");
    frame->loadBounds("main", defaults, false, module);
    EXPECT_EQ(frame->getBounds(), inWork(10, 20, 160, 140));
}

TEST_F(Bounds, APositionKeepsTheSizeAndComesBackIntoView) {
    mSize size = frame->getSize();
    store({work.right - 20, work.top + 30, 0, 0}, "min");
    EXPECT_EQ(frame->loadPosition("main", false, module), mWindow::MINIMIZED);
    EXPECT_EQ(frame->getPosition(), mPoint(work.right - size.cx, work.top + 30));
    EXPECT_EQ(frame->getSize(), size);
    store({work.left - 500, work.bottom + 500, 0, 0}, "");
    frame->loadPosition("main", false, module);
    EXPECT_EQ(frame->getPosition(), mPoint(work.left, work.bottom - size.cy));
}

TEST_F(Bounds, TheWindowStoresItsNormalBoundsUnderItsKeyWhenItGoes) {
    frame->loadBounds("main", inWork(20, 20, 220, 170), false, module);
    frame->changeConfigKey("second", "");
    mRect normal = inWork(40, 50, 300, 250);
    frame->setBounds(normal);
    frame->setShow(mWindow::MAXIMIZED);
    ASSERT_EQ(frame->getShow(), mWindow::MAXIMIZED);
    closeFrame();
    Longs values;
    mString suffix;
    ASSERT_TRUE(mApp::getProfileValue("second", values, 4, suffix, true, module));
    EXPECT_EQ(values, (Longs{normal.left, normal.top, normal.right, normal.bottom}));
    EXPECT_STREQ(suffix.c_str(), "maximized");
    EXPECT_FALSE(mApp::getProfileValue("main", values, 4, suffix, true, module));
}

TEST_F(Bounds, ANewKeyTakesAModuleOnlyWhenGivenAndAnEmptyOneStoresNothing) {
    ScratchKey other("VelnorTestOther");
    frame->loadBounds("main", inWork(20, 20, 220, 170), false, module);
    frame->changeConfigKey("third", other.module);
    EXPECT_STREQ(frame->keyModule().c_str(), other.module.c_str());
    frame->changeConfigKey("", "");
    closeFrame();
    EXPECT_FALSE(other.exists());
    EXPECT_FALSE(scratch.exists());
}

TEST_F(Bounds, AStoreThatCannotNameItsKeyIsNoFailure) {
    // No state, so no module to take the key from: the defaults stand and nothing is stored.
    EXPECT_EQ(frame->loadBounds("main", inWork(20, 20, 220, 170), false, ""), mWindow::NORMAL);
    EXPECT_EQ(frame->getBounds(), inWork(20, 20, 220, 170));
    EXPECT_TRUE(frame->keyModule().empty());
    EXPECT_FALSE(frame->storeBounds("main", ""));
    EXPECT_FALSE(frame->storeBounds("main", mString(300, 'k')));
}

TEST_F(Bounds, TheModuleKeyDefaultsToTheCurrentState) {
    ScratchKey titleKey(vt::testModule()->getModuleName(true));
    app->setMainWindow(nullptr, vt::testModule(), 0);
    frame->loadBounds("main", inWork(20, 20, 220, 170), false, "");
    EXPECT_STREQ(frame->keyModule().c_str(), titleKey.module.c_str());
    closeFrame();  // it stores on the way, under the key that is about to go
}
