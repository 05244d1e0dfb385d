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
        mRect area;
        mGraphics *g = beginPaint(erase, area);
        painted = area;
        surface = g;
        paletteDuringPaint = GetCurrentObject(dcOf(*g), OBJ_PAL);
        if (pen)
            g->setPen(pen);
        if (brush) {
            g->setBrush(brush);
            g->fillRect(area);
        }
        return true;
    }
    void onSetColor(mBrush *&b, mColor *&text, mColor *&background) override {
        b = controlBrush;
        text = controlText;
        background = controlBackground;
    }
    long controlColor(HDC dc) { return setControlColor(dc); }
    mGraphics *current() const { return graphics; }

    int paints = 0;
    mRect painted;
    mGraphics *surface = nullptr;
    HGDIOBJ paletteDuringPaint = nullptr;
    mPen *pen = nullptr;
    mBrush *brush = nullptr;
    mBrush *controlBrush = nullptr;
    mColor *controlText = nullptr;
    mColor *controlBackground = nullptr;
};

class WindowPaint : public ::testing::Test {
protected:
    void SetUp() override {
        vt::drainMessages();
        app = new mApp("PaintTest");
        previous = app->setCurrentApp();
        frame = new PaintedFrame(app);
        frame->setVisible(true);
        vt::pumpUntil([&] { return frame->paints > 0; }, 3000);
    }
    void TearDown() override {
        if (app->getStateCount()) {
            frame->destroy();
            vt::pumpUntil([&] { return app->getStateCount() == 0; }, 3000);
        }
        delete app;
        if (previous)
            previous->setCurrentApp();
        vt::drainMessages();
    }
    HWND peer() const { return reinterpret_cast<HWND>(frame->getPeer()); }
    // Repaints part of the client area and waits for the paint.
    void repaint(const mRect &area) {
        const int before = frame->paints;
        frame->invalidate(area, true);
        ASSERT_TRUE(vt::pumpUntil([&] { return frame->paints > before; }, 3000));
    }
    // What the window shows, read through a context of its own.
    COLORREF shown(long x, long y) {
        HDC dc = GetDC(peer());
        const COLORREF color = GetPixel(dc, x, y);
        ReleaseDC(peer(), dc);
        return color;
    }

    mApp *app = nullptr;
    mApp *previous = nullptr;
    PaintedFrame *frame = nullptr;
};

TEST_F(WindowPaint, APaintHandsOutASurfaceAndTakesItBack) {
    mPen pen(mColor(1, 2, 3), 1);
    mBrush brush(mColor(0, 0, 255));
    frame->pen = &pen;
    frame->brush = &brush;
    repaint(mRect(10, 10, 30, 20));
    EXPECT_EQ(mRect(10, 10, 30, 20), frame->painted);
    EXPECT_NE(nullptr, frame->surface);
    EXPECT_EQ(nullptr, frame->current()) << "the paint's surface is gone after the paint";
    EXPECT_EQ(1, uses(handleOf(pen.getPeer(nullptr))));
    EXPECT_EQ(1, uses(handleOf(brush.getPeer(nullptr))));
    EXPECT_EQ((COLORREF)RGB(0, 0, 255), shown(15, 15));
    EXPECT_NE((COLORREF)RGB(0, 0, 255), shown(35, 15));
}

TEST_F(WindowPaint, AMemoryImageCopiedToTheWindowShowsThere) {
    mPalette palette = plainPalette();
    Peek8 *image = new Peek8(nullptr, mSize(20, 10), &palette);
    for (long y = 0; y < 10; ++y)
        for (long x = 0; x < 20; ++x)
            px8(*image, x, y) = (unsigned char)(x < 10 ? red : (y < 5 ? green : yellow));

    mGraphics *g = frame->getGraphics();
    ASSERT_NE(nullptr, g);
    g->copyImage(image, mRect(0, 0, 20, 10), mPoint(40, 30));
    delete g;
    EXPECT_EQ((COLORREF)RGB(255, 0, 0), shown(40, 30));
    EXPECT_EQ((COLORREF)RGB(255, 0, 0), shown(49, 39));
    EXPECT_EQ((COLORREF)RGB(0, 255, 0), shown(50, 30));
    EXPECT_EQ((COLORREF)RGB(255, 255, 0), shown(59, 39));
    EXPECT_NE((COLORREF)RGB(255, 255, 0), shown(60, 39));

    // A new colour for the image shows at the next copy; the pixels stay as they are.
    mColor orange[] = {mColor(255, 128, 0)};
    image->copyPalette(mPalette(orange, 1), yellow, 0, 1);
    g = frame->getGraphics();
    g->copyImage(image, mRect(10, 5, 20, 10), mPoint(50, 35));
    delete g;
    EXPECT_EQ((COLORREF)RGB(255, 128, 0), shown(59, 39));
    EXPECT_EQ((COLORREF)RGB(0, 255, 0), shown(50, 30));
    EXPECT_EQ(yellow, px8(*image, 19, 9));
    image->free();
}

TEST_F(WindowPaint, TheWindowsPaletteGoesOnItsSurfacesWhileActive) {
    mColor colors[] = {mColor(10, 20, 30), mColor(40, 50, 60)};
    mPalette palette(colors, 2);
    frame->setPalette(&palette);
    HGDIOBJ own = handleOf(palette.getPeer());

    app->setActivation(true);
    mGraphics *g = frame->getGraphics();
    EXPECT_EQ(own, GetCurrentObject(dcOf(*g), OBJ_PAL));
    EXPECT_EQ(3, uses(own)) << "the palette, the window's copy and the surface's";
    delete g;
    EXPECT_EQ(2, uses(own));
    repaint(mRect(0, 0, 5, 5));
    EXPECT_EQ(own, frame->paletteDuringPaint);

    app->setActivation(false);
    g = frame->getGraphics();
    EXPECT_NE(own, GetCurrentObject(dcOf(*g), OBJ_PAL));
    delete g;
    repaint(mRect(0, 0, 5, 5));
    EXPECT_NE(own, frame->paletteDuringPaint);

    frame->setPalette(nullptr);
    app->setActivation(true);
    g = frame->getGraphics();
    EXPECT_NE(own, GetCurrentObject(dcOf(*g), OBJ_PAL));
    delete g;
}

TEST_F(WindowPaint, ControlColoursComeFromOnSetColor) {
    HDC dc = CreateCompatibleDC(nullptr);
    SetTextColor(dc, RGB(1, 1, 1));
    SetBkColor(dc, RGB(2, 2, 2));
    SetBkMode(dc, OPAQUE);
    mColor text(200, 100, 0), background(0, 100, 200);
    frame->controlText = &text;
    frame->controlBackground = &background;
    EXPECT_EQ(0, frame->controlColor(dc)) << "no brush, no colours";
    EXPECT_EQ((COLORREF)RGB(1, 1, 1), GetTextColor(dc));
    EXPECT_EQ((COLORREF)RGB(2, 2, 2), GetBkColor(dc));

    mBrush brush(mColor(7, 7, 7));
    frame->controlBrush = &brush;
    const long result = frame->controlColor(dc);
    EXPECT_EQ((long)(LONG_PTR)brush.getPeer(nullptr), result);
    LOGBRUSH description;
    GetObjectA(handleOf(brush.getPeer(nullptr)), sizeof(description), &description);
    EXPECT_EQ((COLORREF)RGB(7, 7, 7), description.lbColor);
    EXPECT_EQ((COLORREF)RGB(200, 100, 0), GetTextColor(dc));
    EXPECT_EQ((COLORREF)RGB(0, 100, 200), GetBkColor(dc));
    EXPECT_EQ(OPAQUE, GetBkMode(dc));

    background.setTransparent(true);
    frame->controlText = nullptr;
    SetTextColor(dc, RGB(1, 1, 1));
    frame->controlColor(dc);
    EXPECT_EQ(TRANSPARENT, GetBkMode(dc));
    EXPECT_EQ((COLORREF)RGB(1, 1, 1), GetTextColor(dc));
    DeleteDC(dc);
}

} // namespace
