// A window's painting on a shown window: the surfaces it hands out, with its palette on them,
// and what reaches the screen through them.
#include "SurfaceKit.h"
#include "VelnorTest.h"

namespace {

class PaintedFrame : public vt::TestFrame {
public:
    explicit PaintedFrame(mApp *app) : vt::TestFrame(app) {}

    bool onPaint() override {
        ++paints;
        bool erase = false;
        mGraphics *g = beginPaint(erase, painted);
        paletteDuringPaint = GetCurrentObject(dcOf(*g), OBJ_PAL);
        if (brush) {
            g->setBrush(brush);
            g->fillRect(painted);
        }
        return true;
    }
    // Controls are coloured with the same brush as the paint.
    void onSetColor(mBrush *&b, mColor *&text, mColor *&background) override {
        b = brush;
        text = controlText;
        background = controlBackground;
    }
    long controlColor(HDC dc) { return setControlColor(dc); }
    mGraphics *current() const { return graphics; }

    int paints = 0;
    mRect painted;
    HGDIOBJ paletteDuringPaint = nullptr;
    mBrush *brush = nullptr;
    mColor *controlText = nullptr;
    mColor *controlBackground = nullptr;
};

class WindowPaint : public vt::AppFixture {
protected:
    WindowPaint() : vt::AppFixture("PaintTest") {}
    void SetUp() override {
        vt::AppFixture::SetUp();
        frame = new PaintedFrame(app);
        frame->setVisible(true);
        vt::pumpUntil([&] { return frame->paints > 0; }, 3000);
    }
    void TearDown() override {
        if (app->getStateCount()) {
            frame->destroy();
            vt::pumpUntil([&] { return app->getStateCount() == 0; }, 3000);
        }
        vt::AppFixture::TearDown();
    }
    // Repaints part of the client area and waits for the paint.
    void repaint(const mRect &area) {
        const int before = frame->paints;
        frame->invalidate(area, true);
        ASSERT_TRUE(vt::pumpUntil([&] { return frame->paints > before; }, 3000));
    }
    // What the window shows, read through a context of its own.
    COLORREF shown(long x, long y) {
        HWND window = reinterpret_cast<HWND>(frame->getPeer());
        HDC dc = GetDC(window);
        const COLORREF color = GetPixel(dc, x, y);
        ReleaseDC(window, dc);
        return color;
    }

    PaintedFrame *frame = nullptr;
};

TEST_F(WindowPaint, APaintHandsOutASurfaceAndTakesItBack) {
    mBrush brush(mColor(0, 0, 255));
    frame->brush = &brush;
    repaint(mRect(10, 10, 30, 20));
    EXPECT_EQ(mRect(10, 10, 30, 20), frame->painted);
    EXPECT_EQ(nullptr, frame->current()) << "the paint's surface is gone after the paint";
    EXPECT_EQ(1, uses(handleOf(brush.getPeer(nullptr))));
    EXPECT_EQ((COLORREF)RGB(0, 0, 255), shown(15, 15));
    EXPECT_NE((COLORREF)RGB(0, 0, 255), shown(35, 15));
}

TEST_F(WindowPaint, TheWindowsPaletteGoesOnItsSurfacesWhileActive) {
    mColor colors[] = {mColor(10, 20, 30), mColor(40, 50, 60)};
    mPalette palette(colors, 2);
    frame->setPalette(&palette);
    HGDIOBJ own = handleOf(palette.getPeer());
    const auto onNewSurface = [&] {
        std::unique_ptr<mGraphics> g(frame->getGraphics());
        return GetCurrentObject(dcOf(*g), OBJ_PAL) == own;
    };
    const auto onPaint = [&] {
        repaint(mRect(0, 0, 5, 5));
        return frame->paletteDuringPaint == own;
    };

    app->setActivation(true);
    EXPECT_TRUE(onNewSurface());
    EXPECT_TRUE(onPaint());
    EXPECT_EQ(2, uses(own)) << "the palette and the window's copy; the surfaces gave theirs back";
    app->setActivation(false);
    EXPECT_FALSE(onNewSurface());
    EXPECT_FALSE(onPaint());
    frame->setPalette(nullptr);
    app->setActivation(true);
    EXPECT_FALSE(onNewSurface());
}

TEST_F(WindowPaint, ControlColoursComeFromOnSetColor) {
    HDC dc = CreateCompatibleDC(nullptr);
    mColor text(200, 100, 0), background(0, 100, 200);
    frame->controlText = &text;
    frame->controlBackground = &background;
    EXPECT_EQ(0, frame->controlColor(dc)) << "no brush, no colours";
    EXPECT_NE((COLORREF)RGB(200, 100, 0), GetTextColor(dc));

    mBrush brush(mColor(7, 7, 7));
    frame->brush = &brush;
    EXPECT_EQ((long)(LONG_PTR)brush.getPeer(nullptr), frame->controlColor(dc));
    EXPECT_EQ((COLORREF)RGB(200, 100, 0), GetTextColor(dc));
    EXPECT_EQ((COLORREF)RGB(0, 100, 200), GetBkColor(dc));
    EXPECT_EQ(OPAQUE, GetBkMode(dc));

    // A transparent background turns the background off; without a text colour the old one stays.
    background.setTransparent(true);
    frame->controlText = nullptr;
    SetTextColor(dc, RGB(1, 1, 1));
    frame->controlColor(dc);
    EXPECT_EQ(TRANSPARENT, GetBkMode(dc));
    EXPECT_EQ((COLORREF)RGB(1, 1, 1), GetTextColor(dc));
    DeleteDC(dc);
}

} // namespace
