// The drawing surface: its pens, brushes and fonts on real device contexts, and what its
// drawing leaves in the pixels of a memory image.
#include "ExpectError.h"
#include "SurfaceKit.h"
#include "VelnorTest.h"

#include <string>

namespace {

// A memory image of plain colours, cleared to black, to draw on and read back.
class Drawing : public ::testing::Test {
protected:
    Drawing() : palette(plainPalette()), image(new Peek8(nullptr, mSize(40, 30), &palette)) { clear(black); }
    ~Drawing() override { image->free(); }

    void clear(int value) { std::memset(image->getDIBPtr(), value, head(*image).dataSize); }
    int at(long x, long y) { return px8(*image, x, y); }
    // Pixels of the image that differ from `value`, inside and outside a rectangle.
    int countOther(int value, const mRect &area, bool inside) {
        int n = 0;
        for (long y = 0; y < 30; ++y)
            for (long x = 0; x < 40; ++x)
                n += at(x, y) != value && area.hasPoint(mPoint(x, y)) == inside;
        return n;
    }

    mPalette palette;
    Peek8 *image;
};

TEST_F(Drawing, LinesRectanglesAndFillsLandOnTheirPixels) {
    mPen redPen(mColor(255, 0, 0), 1);
    image->setPen(&redPen);
    image->moveTo(mPoint(2, 5));
    image->lineTo(mPoint(20, 5));
    image->flush();
    for (long x = 0; x < 40; ++x)
        EXPECT_EQ(x >= 2 && x < 20 ? red : black, at(x, 5)) << "x " << x;
    EXPECT_EQ(18, countOther(black, mRect(0, 0, 40, 30), true));

    clear(black);
    mPen greenPen(mColor(0, 255, 0), 1);
    mBrush blueBrush(mColor(0, 0, 255));
    image->setPen(&greenPen);
    image->setBrush(&blueBrush);
    image->rectangle(mRect(10, 10, 30, 20));
    image->flush();
    for (long y = 0; y < 30; ++y) {
        for (long x = 0; x < 40; ++x) {
            const bool in = x >= 10 && x < 30 && y >= 10 && y < 20;
            const bool edge = in && (x == 10 || x == 29 || y == 10 || y == 19);
            ASSERT_EQ(edge ? green : in ? blue : black, at(x, y)) << x << "," << y;
        }
    }

    clear(black);
    image->fillRect(mRect(3, 25, 8, 30));
    image->flush();
    EXPECT_EQ(0, countOther(blue, mRect(3, 25, 8, 30), true));
    EXPECT_EQ(0, countOther(black, mRect(3, 25, 8, 30), false));

    // A system colour fills evenly, and only its area.
    clear(black);
    image->fillRect(mRect(1, 1, 4, 3), mColor::buttonFace);
    image->flush();
    const int face = at(1, 1);
    EXPECT_EQ(0, countOther(face, mRect(1, 1, 4, 3), true));
    EXPECT_EQ(0, countOther(black, mRect(1, 1, 4, 3), false));
}

TEST_F(Drawing, ShapesStayInTheirBoxes) {
    mPen whitePen(mColor(255, 255, 255), 1);
    mBrush redBrush(mColor(255, 0, 0));
    image->setPen(&whitePen);
    image->setBrush(&redBrush);
    const mRect box(5, 5, 25, 21);
    image->ellipse(box);
    image->flush();
    EXPECT_EQ(red, at(15, 13));
    EXPECT_EQ(black, at(5, 5));
    EXPECT_EQ(0, countOther(black, box, false));

    clear(black);
    image->roundRectangle(box, mSize(6, 6));
    image->flush();
    EXPECT_EQ(white, at(15, 5));
    EXPECT_EQ(red, at(15, 13));
    EXPECT_EQ(black, at(5, 5));
    EXPECT_EQ(0, countOther(black, box, false));

    clear(black);
    const mPoint triangle[] = {mPoint(2, 2), mPoint(30, 2), mPoint(2, 26)};
    image->polygon(triangle, 3);
    image->flush();
    EXPECT_EQ(red, at(6, 6));
    EXPECT_EQ(black, at(28, 24));
    EXPECT_EQ(0, countOther(black, mRect(2, 2, 31, 27), false));
}

TEST_F(Drawing, PolyLineWithOnePointOnlyMoves) {
    mPen redPen(mColor(255, 0, 0), 1);
    image->setPen(&redPen);
    const mPoint one[] = {mPoint(7, 9)};
    image->polyLine(one, 1);
    image->flush();
    POINT current;
    GetCurrentPositionEx(image->dc(), &current);
    EXPECT_EQ(7, current.x);
    EXPECT_EQ(9, current.y);
    EXPECT_EQ(0, countOther(black, mRect(0, 0, 40, 30), true));

    const mPoint path[] = {mPoint(1, 1), mPoint(11, 1), mPoint(11, 6)};
    image->polyLine(path, 3);
    image->polyLine(path, 0);
    image->flush();
    for (long x = 1; x <= 11; ++x)
        EXPECT_EQ(red, at(x, 1)) << x;
    for (long y = 1; y < 6; ++y)
        EXPECT_EQ(red, at(11, y)) << y;
    EXPECT_EQ(15, countOther(black, mRect(0, 0, 40, 30), true));
}

TEST_F(Drawing, TextLandsInsideItsBox) {
    mFont font(mFont::fontSwiss, 16, true, false);
    image->setFont(&font);
    image->setTextColor(mColor(255, 255, 255));
    image->setBackgroundColor(mColor(true));
    EXPECT_EQ(TRANSPARENT, GetBkMode(image->dc()));

    const mString text("HIH");
    const int width = image->getWidth(text), height = image->getHeight();
    ASSERT_GT(width, 0);
    EXPECT_EQ(height, image->getAscent() + image->getDescent());
    EXPECT_EQ(mPoint(6 + width, 2), image->writeText(text, mPoint(6, 2)));
    image->flush();
    const mRect box(6, 2, 6 + width, 2 + height);
    EXPECT_GT(countOther(black, box, true), 10);
    EXPECT_EQ(0, countOther(black, box, false));

    // An opaque background fills the whole cell of the text.
    clear(black);
    image->setBackgroundColor(mColor(255, 0, 0));
    EXPECT_EQ(OPAQUE, GetBkMode(image->dc()));
    image->writeText(text, mPoint(6, 2));
    image->flush();
    EXPECT_EQ(0, countOther(black, box, false));
    int cell = 0;
    for (long y = box.top; y < box.bottom; ++y)
        for (long x = box.left; x < box.right; ++x)
            cell += at(x, y) == red;
    EXPECT_GT(cell, width * height / 2);
}

TEST_F(Drawing, TextInARectangleIsMeasuredJustifiedAndKeptInside) {
    image->setTextColor(mColor(255, 255, 255));
    image->setBackgroundColor(mColor(true));
    const mString text("Hi");
    const mSize size = image->sizeText(text, mRect(0, 0, 40, 30), mGraphics::justifyLeft, false);
    EXPECT_EQ(image->getWidth(text), size.cx);
    EXPECT_GE(size.cy, image->getHeight());
    EXPECT_EQ(0, countOther(black, mRect(0, 0, 40, 30), true)) << "measuring draws nothing";

    image->writeText(text, mRect(0, 0, 40, 30), mGraphics::justifyRight, false, false);
    image->flush();
    EXPECT_GT(countOther(black, mRect(40 - size.cx, 0, 40, size.cy), true), 0);
    EXPECT_EQ(0, countOther(black, mRect(40 - size.cx, 0, 40, size.cy), false));

    // A long text in a narrow box wraps and is cut at the box.
    clear(black);
    const mRect narrow(4, 4, 24, 14);
    image->writeText("A long line of words", narrow, mGraphics::justifyCenter, true, true);
    image->flush();
    EXPECT_GT(countOther(black, narrow, true), 0);
    EXPECT_EQ(0, countOther(black, narrow, false));
    const mSize wrapped = image->sizeText("A long line of words", narrow, mGraphics::justifyLeft, false);
    EXPECT_GT(wrapped.cy, size.cy);
    EXPECT_EQ(0, image->getWidth(""));
}

TEST_F(Drawing, OneClipAtATime) {
    mBrush brush(mColor(255, 0, 0));
    image->setBrush(&brush);
    image->setClip(mRect(5, 5, 15, 10));
    image->fillRect(mRect(0, 0, 40, 30));
    image->flush();
    EXPECT_EQ(0, countOther(red, mRect(5, 5, 15, 10), true));
    EXPECT_EQ(0, countOther(black, mRect(5, 5, 15, 10), false));

    // A new clip replaces the old one rather than narrowing it.
    clear(black);
    image->setClip(mRect(20, 12, 30, 20));
    image->removeClip(mRect(20, 12, 25, 20));
    image->fillRect(mRect(0, 0, 40, 30));
    image->flush();
    EXPECT_EQ(0, countOther(red, mRect(25, 12, 30, 20), true));
    EXPECT_EQ(0, countOther(black, mRect(25, 12, 30, 20), false));

    clear(black);
    image->clearClip();
    image->fillRect(mRect(0, 0, 40, 30));
    image->flush();
    EXPECT_EQ(0, countOther(red, mRect(0, 0, 40, 30), true));
}

TEST_F(Drawing, ControlRect3DReportsHowFarItDrewIn) {
    const mRect area(4, 4, 30, 20);
    EXPECT_EQ(mInset(2, 2, 2, 2), image->controlRect3D(area, true, false));
    EXPECT_EQ(mInset(2, 2, 2, 2), image->controlRect3D(area, false, false));
    image->flush();
    EXPECT_EQ(0, countOther(black, area, false));
    const mRect inner(6, 6, 28, 18);
    EXPECT_EQ(0, countOther(black, inner, true));
    EXPECT_GT(countOther(black, area, true), 0);

    clear(black);
    EXPECT_EQ(mInset(1, 1, 1, 1), image->controlRect3D(area, true, true));
    EXPECT_EQ(mInset(1, 1, 1, 1), image->controlRect3D(area, false, true));
    image->flush();
    EXPECT_EQ(0, countOther(black, mRect(5, 5, 29, 19), true));
}

// ---- Selection of tools on a plain memory context.

// A context with a bitmap of 32 bits, which shows every colour as it is.
class Tools : public ::testing::Test {
protected:
    Tools() : dc(CreateCompatibleDC(nullptr)) {
        BITMAPINFO info = {};
        info.bmiHeader.biSize = sizeof(info.bmiHeader);
        info.bmiHeader.biWidth = info.bmiHeader.biHeight = 4;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        void *bits;
        section = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
        firstBitmap = SelectObject(dc, section);
        firstPen = GetCurrentObject(dc, OBJ_PEN);
        firstBrush = GetCurrentObject(dc, OBJ_BRUSH);
        firstFont = GetCurrentObject(dc, OBJ_FONT);
        firstPalette = GetCurrentObject(dc, OBJ_PAL);
    }
    ~Tools() override {
        SelectObject(dc, firstBitmap);
        DeleteObject(section);
        DeleteDC(dc);
    }

    HDC dc;
    HBITMAP section;
    HGDIOBJ firstBitmap, firstPen, firstBrush, firstFont, firstPalette;
};

TEST_F(Tools, EachSetSelectsOnceAndResetBringsTheFirstBack) {
    mGraphics g(reinterpret_cast<SYSTEM_INFO_STRUCT *>(dc), nullptr, true);
    g.setPen(nullptr);
    EXPECT_EQ(firstPen, GetCurrentObject(dc, OBJ_PEN));

    mPen a(mColor(255, 0, 0), 1), b(mColor(0, 255, 0), 2);
    g.setPen(&a);
    HGDIOBJ ha = handleOf(a.getPeer(&g));
    EXPECT_EQ(ha, GetCurrentObject(dc, OBJ_PEN));
    EXPECT_EQ(2, uses(ha));
    g.setPen(&a);
    EXPECT_EQ(2, uses(ha)) << "the same object again keeps the copy";
    g.setPen(&b);
    HGDIOBJ hb = handleOf(b.getPeer(&g));
    EXPECT_NE(ha, hb);
    EXPECT_EQ(hb, GetCurrentObject(dc, OBJ_PEN));
    EXPECT_EQ(1, uses(ha));
    EXPECT_EQ(2, uses(hb));

    mBrush brush(mColor(0, 0, 255));
    mFont font(mFont::fontRoman, 12, false, true);
    mColor colors[] = {mColor(1, 2, 3), mColor(4, 5, 6)};
    mPalette palette(colors, 2);
    g.setBrush(&brush);
    g.setFont(&font);
    g.setPalette(&palette);
    EXPECT_EQ(handleOf(brush.getPeer(&g)), GetCurrentObject(dc, OBJ_BRUSH));
    EXPECT_EQ(handleOf(font.getPeer()), GetCurrentObject(dc, OBJ_FONT));
    EXPECT_EQ(handleOf(palette.getPeer()), GetCurrentObject(dc, OBJ_PAL));
    EXPECT_EQ(2, uses(handleOf(palette.getPeer())));

    // Setting null gives back the first object, not the one before.
    g.setPen(nullptr);
    EXPECT_EQ(firstPen, GetCurrentObject(dc, OBJ_PEN));
    EXPECT_EQ(1, uses(hb));
    g.setPen(&a);

    g.reset();
    EXPECT_EQ(firstPen, GetCurrentObject(dc, OBJ_PEN));
    EXPECT_EQ(firstBrush, GetCurrentObject(dc, OBJ_BRUSH));
    EXPECT_EQ(firstFont, GetCurrentObject(dc, OBJ_FONT));
    EXPECT_EQ(firstPalette, GetCurrentObject(dc, OBJ_PAL));
    EXPECT_EQ(1, uses(ha));
    EXPECT_EQ(1, uses(handleOf(brush.getPeer(&g))));
    EXPECT_EQ(1, uses(handleOf(font.getPeer())));
    EXPECT_EQ(1, uses(handleOf(palette.getPeer())));

    // The tools outlive the surface's copies, and the surface outlives the tools.
    g.setPen(&b);
    g.setBrush(&brush);
}

TEST_F(Tools, ToolsLeftOnASurfaceGoWithIt) {
    mPen *pen = new mPen(mColor(9, 9, 9), 3);
    HGDIOBJ object;
    {
        mGraphics g(reinterpret_cast<SYSTEM_INFO_STRUCT *>(dc), nullptr, true);
        g.setPen(pen);
        object = handleOf(pen->getPeer(&g));
        delete pen;
        EXPECT_EQ(1, uses(object));
        EXPECT_EQ(OBJ_PEN, GetObjectType(object)) << "the surface's copy keeps it";
    }
    EXPECT_EQ(0, uses(object));
    EXPECT_EQ(0u, GetObjectType(object));
    EXPECT_EQ(firstPen, GetCurrentObject(dc, OBJ_PEN));
}

TEST_F(Tools, GetHandsOutCopiesOrForeignWrappers) {
    HPEN own = CreatePen(PS_SOLID, 3, RGB(10, 20, 30));
    HBRUSH ownBrush = CreateSolidBrush(RGB(1, 2, 3));
    SelectObject(dc, own);
    SelectObject(dc, ownBrush);
    {
        mGraphics g(reinterpret_cast<SYSTEM_INFO_STRUCT *>(dc), nullptr, true);
        mPen *first = g.getPen();
        ASSERT_NE(nullptr, first);
        EXPECT_EQ(own, handleOf(first->getPeer(&g)));
        EXPECT_EQ(3, first->getWidth());
        EXPECT_EQ(mColor(10, 20, 30).getRGB(), first->getColor().getRGB());
        mPen *second = g.getPen();
        EXPECT_EQ(2, uses(own));
        delete first;
        delete second;
        EXPECT_EQ(0, uses(own));
        EXPECT_EQ(OBJ_PEN, GetObjectType(own)) << "a foreign pen is not ours to delete";

        mBrush *brush = g.getBrush();
        ASSERT_NE(nullptr, brush);
        EXPECT_EQ(ownBrush, handleOf(brush->getPeer(&g)));
        delete brush;
        EXPECT_EQ(OBJ_BRUSH, GetObjectType(ownBrush));

        mFont *font = g.getFont();
        ASSERT_NE(nullptr, font);
        EXPECT_EQ(firstFont, handleOf(font->getPeer()));
        delete font;

        // With a pen set, a copy of it that shares its object.
        mPen set(mColor(1, 1, 1), 1);
        g.setPen(&set);
        mPen *copy = g.getPen();
        EXPECT_EQ(set.getPeer(&g), copy->getPeer(&g));
        EXPECT_EQ(3, uses(handleOf(set.getPeer(&g))));
        delete copy;
    }
    EXPECT_EQ(own, GetCurrentObject(dc, OBJ_PEN));
    SelectObject(dc, firstPen);
    SelectObject(dc, firstBrush);
    DeleteObject(own);
    DeleteObject(ownBrush);
}

TEST_F(Tools, PensAndBrushesAreMadeOnFirstUse) {
    mGraphics g(reinterpret_cast<SYSTEM_INFO_STRUCT *>(dc), nullptr, true);
    mPen pen(mColor(200, 100, 50), 4, true, false);
    EXPECT_EQ(4, pen.getWidth());
    EXPECT_EQ(mColor(200, 100, 50).getRGB(), pen.getColor().getRGB());
    mPen early(pen);
    HGDIOBJ object = handleOf(pen.getPeer(&g));
    ASSERT_NE(nullptr, object);
    LOGPEN description;
    ASSERT_EQ((int)sizeof(description), GetObjectA(object, sizeof(description), &description));
    EXPECT_EQ(PS_DASH, (int)description.lopnStyle);
    EXPECT_EQ(object, handleOf(pen.getPeer(&g))) << "once made, a pen keeps its object";
    EXPECT_NE(object, handleOf(early.getPeer(&g))) << "a copy made before has its own";

    mPen dotted(mColor(0, 0, 0), 1, false, true), both(mColor(0, 0, 0), 1, true, true);
    GetObjectA(handleOf(dotted.getPeer(&g)), sizeof(description), &description);
    EXPECT_EQ(PS_DOT, (int)description.lopnStyle);
    GetObjectA(handleOf(both.getPeer(&g)), sizeof(description), &description);
    EXPECT_EQ(PS_DASHDOT, (int)description.lopnStyle);

    mPen clear(mColor(true), 1);
    EXPECT_EQ(GetStockObject(NULL_PEN), handleOf(clear.getPeer(&g)));
    EXPECT_TRUE(clear.getColor().isTransparent());
    mBrush hollow(mColor(true));
    EXPECT_EQ(GetStockObject(NULL_BRUSH), handleOf(hollow.getPeer(nullptr)));

    mBrush solid(mColor(7, 8, 9));
    LOGBRUSH brushDescription;
    GetObjectA(handleOf(solid.getPeer(&g)), sizeof(brushDescription), &brushDescription);
    EXPECT_EQ((COLORREF)RGB(7, 8, 9), brushDescription.lbColor);
}

TEST_F(Tools, FontsFollowTheirKind) {
    mGraphics g(reinterpret_cast<SYSTEM_INFO_STRUCT *>(dc), nullptr, true);
    HGDIOBJ stock = GetStockObject(SYSTEM_FONT);
    {
        mFont system(mFont::fontSystem, 30, true, true), other(mFont::fontStock, 8, false, false);
        EXPECT_EQ(stock, handleOf(system.getPeer()));
        EXPECT_EQ(stock, handleOf(other.getPeer()));
    }
    EXPECT_EQ(OBJ_FONT, GetObjectType(stock));

    const struct {
        mFont::FONTS kind;
        int family;
    } kinds[] = {{mFont::fontRoman, FF_ROMAN},   {mFont::fontSwiss, FF_SWISS},   {mFont::fontModern, FF_MODERN},
                 {mFont::fontScript, FF_SCRIPT}, {(mFont::FONTS)9, FF_DONTCARE}};
    for (const auto &k : kinds) {
        mFont font(k.kind, 20, true, false);
        LOGFONTA description;
        ASSERT_EQ((int)sizeof(description), GetObjectA(handleOf(font.getPeer()), sizeof(description), &description));
        EXPECT_EQ(-20, description.lfHeight);
        EXPECT_EQ(FW_BOLD, description.lfWeight);
        EXPECT_EQ(0, description.lfItalic);
        EXPECT_EQ(k.family, description.lfPitchAndFamily);
        EXPECT_STREQ("", description.lfFaceName);
    }

    mFont big(mFont::fontSwiss, 40, false, false), small(mFont::fontSwiss, 10, false, false);
    g.setFont(&small);
    const int smallHeight = g.getHeight(), smallWidth = g.getWidth("Wide words");
    EXPECT_GT(g.getFontName().length(), 0);
    g.setFont(&big);
    EXPECT_GT(g.getHeight(), smallHeight * 2);
    EXPECT_GT(g.getWidth("Wide words"), smallWidth * 2);
    // Tabs expand with no stops given, so a tab counts for more than a space.
    EXPECT_GT(g.getWidth("a\tb"), g.getWidth("a b"));
}

TEST_F(Tools, ColoursArePaletteRelativeOnlyWhileMatched) {
    mGraphics g(reinterpret_cast<SYSTEM_INFO_STRUCT *>(dc), nullptr, true);
    EXPECT_TRUE(g.isMatch());
    g.setTextColor(mColor(0x12, 0x34, 0x56));
    EXPECT_EQ(0x02563412u, GetTextColor(dc));
    EXPECT_EQ(0x123456u, g.getTextColor().getRGB());
    g.setBackgroundColor(mColor(0x40, 0x80, 0xC0));
    EXPECT_EQ(0x02C08040u, GetBkColor(dc));
    EXPECT_EQ(OPAQUE, GetBkMode(dc));

    g.setMatch(false);
    g.setTextColor(mColor(0x12, 0x34, 0x56));
    EXPECT_EQ(0x00563412u, GetTextColor(dc));
    g.setBackgroundColor(mColor(true));
    EXPECT_EQ(TRANSPARENT, GetBkMode(dc));
    EXPECT_TRUE(g.getBackgroundColor().isTransparent());
}

TEST_F(Tools, TheNearestColourOfASurface) {
    const mColor wanted(13, 200, 77);
    EXPECT_EQ(wanted.getRGB(), mColor(nullptr, wanted).getRGB());
    mGraphics full(reinterpret_cast<SYSTEM_INFO_STRUCT *>(dc), nullptr, true);
    EXPECT_EQ(wanted.getRGB(), mColor(&full, wanted).getRGB());

    // A fresh memory context holds a bitmap of one bit: black and white are all it shows.
    mGraphics mono(reinterpret_cast<SYSTEM_INFO_STRUCT *>(CreateCompatibleDC(nullptr)), nullptr, false);
    EXPECT_EQ(0x000000u, mColor(&mono, wanted).getRGB());
    EXPECT_EQ(0xFFFFFFu, mColor(&mono, mColor(240, 230, 250)).getRGB());
    mColor clear(240, 230, 250);
    clear.setTransparent(true);
    EXPECT_TRUE(mColor(&mono, clear).isTransparent());

    // A matching surface makes its pens and brushes in the nearest colour, and keeps it.
    mPen pen(mColor(240, 230, 250), 1);
    mBrush brush(mColor(240, 230, 250));
    mono.setPen(&pen);
    mono.setBrush(&brush);
    EXPECT_EQ(0xFFFFFFu, pen.getColor().getRGB());
    LOGBRUSH description;
    GetObjectA(handleOf(brush.getPeer(&full)), sizeof(description), &description);
    EXPECT_EQ((COLORREF)RGB(255, 255, 255), description.lbColor);
    mono.setBackgroundColor(wanted);
    EXPECT_EQ(0u, mono.getBackgroundColor().getRGB());
    EXPECT_EQ(0x02000000u, GetBkColor(dcOf(mono)));

    mono.setMatch(false);
    mPen exact(wanted, 1);
    mono.setPen(&exact);
    EXPECT_EQ(wanted.getRGB(), exact.getColor().getRGB());
    mono.setBackgroundColor(wanted);
    EXPECT_EQ(wanted.getRGB(), mono.getBackgroundColor().getRGB());
}

// ---- Copies between surfaces, offscreen surfaces and resources.

// A 15-bit memory image shows what lands on it in colours, whatever table the source used.
class Copies : public ::testing::Test {
protected:
    Copies() : target(new Peek15(nullptr, mSize(24, 12))) { clear(); }
    ~Copies() override { target->free(); }
    void clear() { std::fill(target->getDIBPtr(), target->getDIBPtr() + head(*target).dataSize / 2, 0x7FFF); }
    unsigned short at(long x, long y) { return px15(*target, x, y); }
    static unsigned short rgb15(int r, int g, int b) { return mColor(r, g, b).getRGB15(); }

    Peek15 *target;
};

TEST_F(Copies, NegativeCornersMoveTheDestination) {
    mPalette palette = plainPalette();
    Peek8 *source = new Peek8(nullptr, mSize(6, 3), &palette);
    std::vector<mColor> colors = plainColors();
    for (long y = 0; y < 3; ++y)
        for (long x = 0; x < 6; ++x)
            px8(*source, x, y) = (unsigned char)((x + y) % plainCount);

    target->copyImage(source, mRect(-5, 0, 5, 3), mPoint(10, 2));
    for (long y = 0; y < 12; ++y) {
        for (long x = 0; x < 24; ++x) {
            const bool in = x >= 15 && x < 20 && y >= 2 && y < 5;
            const unsigned short expected = in ? colors[(x - 15 + y - 2) % plainCount].getRGB15() : 0x7FFF;
            ASSERT_EQ(expected, at(x, y)) << x << "," << y;
        }
    }

    clear();
    target->copyImage(source, mRect(2, -2, 4, 3), mPoint(1, 1));
    EXPECT_EQ(colors[2].getRGB15(), at(1, 3));
    EXPECT_EQ(colors[3].getRGB15(), at(2, 3));
    EXPECT_EQ(colors[5].getRGB15(), at(2, 5));
    EXPECT_EQ(0x7FFF, at(1, 2));
    EXPECT_EQ(0x7FFF, at(1, 6));

    clear();
    target->copyImage(source, mRect(4, 0, 2, 3), mPoint(0, 0));
    target->copyImage(nullptr, mRect(0, 0, 4, 4), mPoint(0, 0));
    EXPECT_EQ(0x7FFF, at(0, 0)) << "an inverted area copies nothing";
    source->free();
}

TEST_F(Copies, OffscreenSurfacesCopyThroughTheirContext) {
    mGraphics offscreen(target, mSize(8, 6));
    mBrush green(mColor(0, 255, 0));
    offscreen.setMatch(false);
    offscreen.setBrush(&green);
    offscreen.fillRect(mRect(0, 0, 8, 6));
    mBrush red(mColor(255, 0, 0));
    offscreen.setBrush(&red);
    offscreen.fillRect(mRect(2, 1, 4, 2));
    target->copyImage(&offscreen, mRect(1, 1, 5, 3), mPoint(10, 4));
    EXPECT_EQ(rgb15(0, 255, 0), at(10, 4));
    EXPECT_EQ(rgb15(255, 0, 0), at(11, 4));
    EXPECT_EQ(rgb15(255, 0, 0), at(12, 4));
    EXPECT_EQ(rgb15(0, 255, 0), at(13, 5));
    EXPECT_EQ(0x7FFF, at(14, 4));
    EXPECT_EQ(0x7FFF, at(10, 6));

    // Made like the display when nothing is given.
    mGraphics alone(nullptr, mSize(3, 3));
    alone.setBrush(&red);
    alone.fillRect(mRect(0, 0, 3, 3));
    target->copyImage(&alone, mRect(0, 0, 3, 3), mPoint(0, 0));
    EXPECT_EQ(rgb15(255, 0, 0), at(2, 2));
}

TEST_F(Copies, BitmapsAndIconsFromAModule) {
    mGraphics picture(target, vt::testModule(), 300);
    target->copyImage(&picture, mRect(0, 0, 8, 4), mPoint(3, 2));
    EXPECT_EQ(rgb15(255, 0, 0), at(3, 2));
    EXPECT_EQ(rgb15(0, 255, 0), at(10, 2));
    EXPECT_EQ(rgb15(0, 0, 255), at(3, 5));
    EXPECT_EQ(rgb15(255, 255, 255), at(5, 3));
    EXPECT_EQ(0x7FFF, at(11, 2));

    EXPECT_MERROR(mGraphics(target, vt::testModule(), 301), "Cannot find bitmap id", 301, "mWindow/mGraphics");

    Peek15 *wide = new Peek15(nullptr, mSize(40, 40));
    std::fill(wide->getDIBPtr(), wide->getDIBPtr() + head(*wide).dataSize / 2, 0);
    mIcon icon(vt::testModule(), 400);
    ASSERT_NE(nullptr, icon.getPeer(wide));
    mIcon again(icon);
    EXPECT_EQ(icon.getPeer(wide), again.getPeer(wide)) << "a shared icon is loaded once";
    wide->copyImage(&again, mPoint(4, 4));
    EXPECT_EQ(rgb15(255, 255, 0), px15(*wide, 4, 4));
    EXPECT_EQ(rgb15(255, 255, 0), px15(*wide, 35, 35));
    EXPECT_EQ(0, px15(*wide, 3, 4));
    EXPECT_EQ(0, px15(*wide, 36, 36));
    wide->free();
}

} // namespace
