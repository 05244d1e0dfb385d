// Window bounds kept in the profile store, on real frames.
#include "helpers.h"
#include "mUtil/mModule.h"
#include "mWindow/mFrame.h"

#include <vector>

namespace {
const char moduleKey[] = "VelnorTestBounds";

class BoundsFrame : public mFrame {
public:
    BoundsFrame() : mFrame(nullptr, mRect(50, 60, 250, 210), TITLE_BAR | SIZING | CLOSE_ENABLED, "Bounds") {}
    using mTopLevel::decodeShowState;
    using mTopLevel::maxWidth;
    using mTopLevel::minHeight;
    const mString &key() const { return configKey; }
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

    ScratchKey scratch{moduleKey};
    const mString module{moduleKey};
    BoundsFrame *frame = nullptr;
    const mRect work = mApp::getScreenBounds();

    void closeFrame() {
        if (frame)
            DestroyWindow(reinterpret_cast<HWND>(frame->getPeer()));
        frame = nullptr;
        vt::drainMessages();
    }
    void store(const std::vector<long> &values, const mString &suffix) {
        mApp::setProfileValue("main", values, suffix, true, module);
    }
    // A rectangle given relative to the work area's top left corner.
    mRect inWork(long left, long top, long right, long bottom) const {
        return mRect(work.left + left, work.top + top, work.left + right, work.top + bottom);
    }
    bool stored(std::vector<long> &values, mString &suffix) {
        return mApp::getProfileValue("main", values, 4, suffix, true, module);
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

TEST_F(Bounds, WithoutAValueTheDefaultsAreBroughtIntoView) {
    mRect defaults(work.right - 100, work.bottom - 50, work.right + 100, work.bottom + 50);
    EXPECT_EQ(frame->loadBounds("main", defaults, true, module), mWindow::MINIMIZED);
    EXPECT_EQ(frame->getBounds(), mRect(work.right - 200, work.bottom - 100, work.right, work.bottom));
    EXPECT_EQ(frame->loadBounds("main", inWork(30, 40, 230, 140), false, module), mWindow::NORMAL);
    EXPECT_EQ(frame->getBounds(), inWork(30, 40, 230, 140));
}

TEST_F(Bounds, StoredBoundsOffTheScreenAreShiftedNotReplaced) {
    store({-2000, -1500, -1800, -1350}, "Maximized");
    EXPECT_EQ(frame->loadBounds("main", mRect(10, 10, 400, 300), false, module), mWindow::MAXIMIZED);
    EXPECT_EQ(frame->getBounds(), inWork(0, 0, 200, 150));
}

TEST_F(Bounds, AWindowLargerThanTheWorkAreaFillsIt) {
    mRect huge = inWork(100, 100, 100 + work.width() * 2, 100 + work.height() * 3);
    store({huge.left, huge.top, huge.right, huge.bottom}, "");
    frame->loadBounds("main", mRect(), false, module);
    EXPECT_EQ(frame->getBounds(), work);
}

TEST_F(Bounds, LimitsApplyToLoadedBounds) {
    frame->maxWidth = 150;
    frame->minHeight = 120;
    mRect wide = inWork(10, 20, 410, 70);
    store({wide.left, wide.top, wide.right, wide.bottom}, "");
    frame->loadBounds("main", mRect(), false, module);
    EXPECT_EQ(frame->getBounds(), inWork(10, 20, 160, 140));
}

TEST_F(Bounds, TheWindowStoresItsBoundsWhenItGoes) {
    frame->loadBounds("main", inWork(20, 20, 220, 170), false, module);
    EXPECT_STREQ(frame->key().c_str(), "main");
    EXPECT_STREQ(frame->keyModule().c_str(), moduleKey);
    mRect moved = inWork(40, 50, 300, 250);
    frame->setBounds(moved);
    closeFrame();
    std::vector<long> values;
    mString suffix;
    ASSERT_TRUE(stored(values, suffix));
    EXPECT_EQ(values, (std::vector<long>{moved.left, moved.top, moved.right, moved.bottom}));
    EXPECT_TRUE(suffix.empty());
}

TEST_F(Bounds, AMaximizedWindowStoresItsNormalBounds) {
    mRect normal = inWork(40, 50, 300, 250);
    frame->setBounds(normal);
    frame->setShow(mWindow::MAXIMIZED);
    ASSERT_EQ(frame->getShow(), mWindow::MAXIMIZED);
    EXPECT_TRUE(frame->storeBounds("main", module));
    std::vector<long> values;
    mString suffix;
    ASSERT_TRUE(stored(values, suffix));
    EXPECT_EQ(values, (std::vector<long>{normal.left, normal.top, normal.right, normal.bottom}));
    EXPECT_STREQ(suffix.c_str(), "maximized");
    EXPECT_EQ(frame->loadBounds("main", mRect(), false, module), mWindow::MAXIMIZED);
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

TEST_F(Bounds, ChangingTheKeyKeepsTheModuleUnlessGiven) {
    frame->loadBounds("main", inWork(20, 20, 220, 170), false, module);
    frame->changeConfigKey("second", "");
    EXPECT_STREQ(frame->key().c_str(), "second");
    EXPECT_STREQ(frame->keyModule().c_str(), moduleKey);
    frame->changeConfigKey("third", "VelnorTestOther");
    EXPECT_STREQ(frame->keyModule().c_str(), "VelnorTestOther");
    frame->changeConfigKey("", "");
    closeFrame();
    std::vector<long> values;
    mString suffix;
    EXPECT_FALSE(stored(values, suffix));
    EXPECT_FALSE(scratch.exists(HKEY_CURRENT_USER));
}

TEST_F(Bounds, AStoreThatCannotNameItsKeyIsNoFailure) {
    // No state, so no module to take the key from: the defaults stand and nothing is stored.
    EXPECT_EQ(frame->loadBounds("main", inWork(20, 20, 220, 170), false, ""), mWindow::NORMAL);
    EXPECT_EQ(frame->getBounds(), inWork(20, 20, 220, 170));
    EXPECT_TRUE(frame->keyModule().empty());
    EXPECT_FALSE(frame->storeBounds("main", ""));
    EXPECT_FALSE(frame->storeBounds("main", mString(300, 'k')));
    closeFrame();
}

TEST_F(Bounds, TheModuleKeyDefaultsToTheCurrentState) {
    ScratchKey titleKey(vt::testModule()->getModuleName(true));
    app->setMainWindow(nullptr, vt::testModule(), 0);
    frame->loadBounds("main", inWork(20, 20, 220, 170), false, "");
    EXPECT_STREQ(frame->keyModule().c_str(), titleKey.module.c_str());
    closeFrame();
    std::vector<long> values;
    mString suffix;
    EXPECT_TRUE(mApp::getProfileValue("main", values, 4, suffix, true, titleKey.module));
}
