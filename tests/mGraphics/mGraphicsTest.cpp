// The drawing surface: its pens, brushes and fonts on real device contexts, and what its
// drawing leaves in the pixels of a memory image.
#include "ExpectError.h"
#include "SurfaceKit.h"
#include "VelnorTest.h"

#include <functional>
#include <map>
#include <string>

namespace {

// A memory image of plain colours, cleared to black, to draw on and read back.
class Drawing : public ::testing::Test {
protected:
    Drawing() : palette(plainPalette()), image(new Peek8(nullptr, mSize(40, 30), &palette)) { clear(); }
    ~Drawing() override { image->free(); }

    void clear() { std::memset(image->getDIBPtr(), black, head(*image).dataSize); }
    int at(long x, long y) { return px8(*image, x, y); }
    // Pixels of the image that differ from `value`, inside or outside a rectangle.
    int countOther(int value, const mRect &area, bool inside) {
        int n = 0;
        for (long y = 0; y < 30; ++y)
            for (long x = 0; x < 40; ++x)
                n += at(x, y) != value && area.hasPoint(mPoint(x, y)) == inside;
        return n;
    }
    // Whether `area` is all `value` and the rest of the image still black.
    bool only(int value, const mRect &area) {
        return countOther(value, area, true) == 0 && countOther(black, area, false) == 0;
    }

    mPalette palette;
    Peek8 *image;
};

// Each shape in a white pen and a red brush: the pixels named have the colours given, and
// nothing lands outside the box.
TEST_F(Drawing, ShapesKeepToTheirBoxes) {
    mPen whitePen(mColor(255, 255, 255), 1);
    mBrush redBrush(mColor(255, 0, 0));
    image->setPen(&whitePen);
    image->setBrush(&redBrush);
    const mPoint triangle[] = {mPoint(2, 2), mPoint(30, 2), mPoint(2, 26)};
    const mPoint path[] = {mPoint(1, 1), mPoint(11, 1), mPoint(11, 6)}, one[] = {mPoint(7, 9)};
    const mRect box(5, 5, 25, 21);
    const struct {
        std::function<void()> draw;
        mRect box;
        std::vector<std::pair<mPoint, int>> pixels;
    } shapes[] = {
        {[&] { image->rectangle(mRect(10, 10, 30, 20)); }, mRect(10, 10, 30, 20),
         {{mPoint(10, 10), white}, {mPoint(29, 19), white}, {mPoint(11, 11), red}, {mPoint(28, 18), red}}},
        {[&] { image->ellipse(box); }, box, {{mPoint(15, 5), white}, {mPoint(15, 13), red}, {mPoint(5, 5), black}}},
        {[&] { image->roundRectangle(box, mSize(6, 6)); }, box,
         {{mPoint(15, 5), white}, {mPoint(15, 13), red}, {mPoint(5, 5), black}}},
        {[&] { image->polygon(triangle, 3); }, mRect(2, 2, 31, 27),
         {{mPoint(15, 2), white}, {mPoint(6, 6), red}, {mPoint(28, 24), black}}},
        {[&] {
             image->polyLine(path, 3);
             image->polyLine(path, 0);
         },
         mRect(1, 1, 12, 6), {{mPoint(1, 1), white}, {mPoint(11, 5), white}, {mPoint(10, 2), black}}},
        {[&] { image->fillRect(mRect(3, 25, 8, 30)); }, mRect(3, 25, 8, 30), {{mPoint(3, 25), red}, {mPoint(7, 29), red}}},
        // A polyline of one point draws nothing; it only moves.
        {[&] { image->polyLine(one, 1); }, mRect(), {}},
    };
    for (const auto &shape : shapes) {
        clear();
        shape.draw();
        image->flush();
        for (const auto &p : shape.pixels)
            EXPECT_EQ(p.second, at(p.first.x, p.first.y)) << p.first.x << "," << p.first.y << "\n" << picture(*image, black);
        EXPECT_EQ(0, countOther(black, shape.box, false)) << picture(*image, black);
    }
    POINT current;
    GetCurrentPositionEx(image->dc(), &current);
    EXPECT_EQ(7, current.x);
    EXPECT_EQ(9, current.y);
}

TEST_F(Drawing, OneClipAtATime) {
    mBrush brush(mColor(255, 0, 0));
    image->setBrush(&brush);
    const mRect whole(0, 0, 40, 30);
    const auto fill = [&] {
        clear();
        image->fillRect(whole);
        image->flush();
    };
    image->setClip(mRect(5, 5, 15, 10));
    fill();
    EXPECT_TRUE(only(red, mRect(5, 5, 15, 10))) << picture(*image, black);
    // A new clip replaces the old one rather than narrowing it.
    image->setClip(mRect(20, 12, 30, 20));
    image->removeClip(mRect(20, 12, 25, 20));
    fill();
    EXPECT_TRUE(only(red, mRect(25, 12, 30, 20))) << picture(*image, black);
    image->clearClip();
    fill();
    EXPECT_TRUE(only(red, whole));

    // A system colour fills evenly, and only its area.
    clear();
    image->fillRect(mRect(1, 1, 4, 3), mColor::buttonFace);
    image->flush();
    EXPECT_TRUE(only(at(1, 1), mRect(1, 1, 4, 3))) << picture(*image, black);
}

TEST_F(Drawing, TextIsMeasuredJustifiedAndKeptInsideItsBox) {
    image->setTextColor(mColor(255, 255, 255));
    image->setBackgroundColor(mColor(true));
    const mString text("HIH");
    const int width = image->getWidth(text);
    EXPECT_EQ(0, image->getWidth(""));
    EXPECT_EQ(image->getHeight(), image->getAscent() + image->getDescent());
    EXPECT_EQ(mPoint(6 + width, 2), image->writeText(text, mPoint(6, 2)));

    // Measuring draws nothing; right-justified text ends at the box's right edge.
    clear();
    const mSize size = image->sizeText(text, mRect(0, 0, 40, 30), mGraphics::justifyLeft, false);
    EXPECT_EQ(width, size.cx);
    image->writeText(text, mRect(0, 0, 40, 30), mGraphics::justifyRight, false, false);
    image->flush();
    EXPECT_GT(countOther(black, mRect(40 - size.cx, 0, 40, size.cy), true), 0);
    EXPECT_EQ(0, countOther(black, mRect(40 - size.cx, 0, 40, size.cy), false));

    // A long text in a narrow box wraps, and is cut at the box.
    clear();
    const mRect narrow(4, 4, 24, 24);
    EXPECT_GT(image->sizeText("A long line of words", narrow, mGraphics::justifyLeft, false).cy, size.cy);
    image->writeText("A long line of words", narrow, mGraphics::justifyCenter, true, true);
    image->flush();
    EXPECT_GT(countOther(black, narrow, true), 0);
    EXPECT_EQ(0, countOther(black, narrow, false));
}

TEST_F(Drawing, ControlRect3DReportsHowFarItDrewIn) {
    const mRect area(4, 4, 30, 20);
    for (bool thin : {false, true}) {
        for (bool raised : {true, false}) {
            clear();
            const long d = thin ? 1 : 2;
            EXPECT_EQ(mInset(d, d, d, d), image->controlRect3D(area, raised, thin));
            image->flush();
            EXPECT_EQ(0, countOther(black, mRect(4 + d, 4 + d, 30 - d, 20 - d), true));
            EXPECT_EQ(0, countOther(black, area, false));
            EXPECT_GT(countOther(black, area, true), 0);
        }
    }
}

// ---- Selection of tools.

// An offscreen surface made like the display, which shows every colour as it is; the tests
// wrap its context again, keeping it, and look at what the context holds.
class Tools : public ::testing::Test {
protected:
    Tools() : offscreen(nullptr, mSize(4, 4)), dc(dcOf(offscreen)) {
        for (UINT type : {OBJ_PEN, OBJ_BRUSH, OBJ_FONT, OBJ_PAL})
            first[type] = GetCurrentObject(dc, type);
    }
    SYSTEM_INFO_STRUCT *surface() { return offscreen.getPeer(); }

    mGraphics offscreen;
    HDC dc;
    std::map<UINT, HGDIOBJ> first;
};

TEST_F(Tools, EachSetSelectsOnceAndResetBringsTheFirstBack) {
    mGraphics g(surface(), nullptr, true);
    g.setPen(nullptr);
    EXPECT_EQ(first[OBJ_PEN], GetCurrentObject(dc, OBJ_PEN));

    mPen a(mColor(255, 0, 0), 1), b(mColor(0, 255, 0), 2);
    g.setPen(&a);
    HGDIOBJ ha = handleOf(a.getPeer(&g));
    g.setPen(&a);
    EXPECT_EQ(ha, GetCurrentObject(dc, OBJ_PEN));
    EXPECT_EQ(2, uses(ha)) << "the same object again keeps the copy";
    g.setPen(&b);
    HGDIOBJ hb = handleOf(b.getPeer(&g));
    EXPECT_EQ(hb, GetCurrentObject(dc, OBJ_PEN));
    EXPECT_EQ(1, uses(ha));
    EXPECT_EQ(2, uses(hb));
    // Setting null gives back the first object, not the one before.
    g.setPen(nullptr);
    EXPECT_EQ(first[OBJ_PEN], GetCurrentObject(dc, OBJ_PEN));
    EXPECT_EQ(1, uses(hb));

    mBrush brush(mColor(0, 0, 255));
    mFont font(mFont::fontRoman, 12, false, true);
    mColor colors[] = {mColor(1, 2, 3), mColor(4, 5, 6)};
    mPalette palette(colors, 2);
    g.setPen(&a);
    g.setBrush(&brush);
    g.setFont(&font);
    g.setPalette(&palette);
    const std::map<UINT, HGDIOBJ> set = {{OBJ_PEN, ha},
                                         {OBJ_BRUSH, handleOf(brush.getPeer(&g))},
                                         {OBJ_FONT, handleOf(font.getPeer())},
                                         {OBJ_PAL, handleOf(palette.getPeer())}};
    for (const auto &kind : set) {
        EXPECT_EQ(kind.second, GetCurrentObject(dc, kind.first)) << kind.first;
        EXPECT_EQ(2, uses(kind.second)) << kind.first;
    }
    g.reset();
    for (const auto &kind : set) {
        EXPECT_EQ(first[kind.first], GetCurrentObject(dc, kind.first)) << kind.first;
        EXPECT_EQ(1, uses(kind.second)) << kind.first;
    }

    // Tools left on a surface go with it: its copy keeps a tool's object past the tool.
    mPen *pen = new mPen(mColor(9, 9, 9), 3);
    HGDIOBJ object;
    {
        mGraphics other(surface(), nullptr, true);
        other.setPen(pen);
        object = handleOf(pen->getPeer(&other));
        delete pen;
        EXPECT_EQ(1, uses(object));
        EXPECT_EQ(OBJ_PEN, GetObjectType(object));
    }
    EXPECT_EQ(0, uses(object));
    EXPECT_EQ(0u, GetObjectType(object));
    EXPECT_EQ(first[OBJ_PEN], GetCurrentObject(dc, OBJ_PEN));
}

TEST_F(Tools, GetHandsOutCopiesOrForeignWrappers) {
    HPEN own = CreatePen(PS_SOLID, 3, RGB(10, 20, 30));
    HBRUSH ownBrush = CreateSolidBrush(RGB(1, 2, 3));
    SelectObject(dc, own);
    SelectObject(dc, ownBrush);
    {
        mGraphics g(surface(), nullptr, true);
        {
            std::unique_ptr<mPen> foreign(g.getPen()), again(g.getPen());
            EXPECT_EQ(own, handleOf(foreign->getPeer(&g)));
            EXPECT_EQ(3, foreign->getWidth());
            EXPECT_EQ(mColor(10, 20, 30).getRGB(), foreign->getColor().getRGB());
            EXPECT_EQ(2, uses(own));
        }
        EXPECT_EQ(0, uses(own));
        EXPECT_EQ(OBJ_PEN, GetObjectType(own)) << "a foreign pen is not ours to delete";
        std::unique_ptr<mBrush> brush(g.getBrush());
        std::unique_ptr<mFont> font(g.getFont());
        EXPECT_EQ(ownBrush, handleOf(brush->getPeer(&g)));
        EXPECT_EQ(first[OBJ_FONT], handleOf(font->getPeer()));

        // With a pen set, a copy of it that shares its object.
        mPen set(mColor(1, 1, 1), 1);
        g.setPen(&set);
        std::unique_ptr<mPen> copy(g.getPen());
        EXPECT_EQ(set.getPeer(&g), copy->getPeer(&g));
        EXPECT_EQ(3, uses(handleOf(set.getPeer(&g))));
    }
    EXPECT_EQ(OBJ_BRUSH, GetObjectType(ownBrush));
    EXPECT_EQ(own, GetCurrentObject(dc, OBJ_PEN));
    SelectObject(dc, first[OBJ_PEN]);
    SelectObject(dc, first[OBJ_BRUSH]);
    DeleteObject(own);
    DeleteObject(ownBrush);
}

// What the platform says about one of its objects.
template <class Description> Description describe(SYSTEM_INFO_STRUCT *object) {
    Description d = {};
    EXPECT_EQ((int)sizeof(d), GetObjectA(handleOf(object), sizeof(d), &d));
    return d;
}

TEST_F(Tools, PensBrushesAndFontsAreMadeAsAsked) {
    mGraphics g(surface(), nullptr, true);
    mPen pen(mColor(200, 100, 50), 4);
    mPen early(pen);
    HGDIOBJ object = handleOf(pen.getPeer(&g));
    EXPECT_EQ(object, handleOf(pen.getPeer(&g))) << "once made, a pen keeps its object";
    EXPECT_NE(object, handleOf(early.getPeer(&g))) << "a copy made before has its own";
    const struct {
        bool dash, dot;
        UINT style;
    } styles[] = {{true, false, PS_DASH}, {false, true, PS_DOT}, {true, true, PS_DASHDOT}};
    for (const auto &s : styles)
        EXPECT_EQ(s.style, describe<LOGPEN>(mPen(mColor(0, 0, 0), 1, s.dash, s.dot).getPeer(&g)).lopnStyle) << s.dash << s.dot;

    mPen clear(mColor(true), 1);
    EXPECT_EQ(GetStockObject(NULL_PEN), handleOf(clear.getPeer(&g)));
    EXPECT_TRUE(clear.getColor().isTransparent());
    EXPECT_EQ(GetStockObject(NULL_BRUSH), handleOf(mBrush(mColor(true)).getPeer(nullptr)));
    EXPECT_EQ((COLORREF)RGB(7, 8, 9), describe<LOGBRUSH>(mBrush(mColor(7, 8, 9)).getPeer(&g)).lbColor);

    HGDIOBJ stock = GetStockObject(SYSTEM_FONT);
    EXPECT_EQ(stock, handleOf(mFont(mFont::fontSystem, 30, true, true).getPeer()));
    EXPECT_EQ(stock, handleOf(mFont(mFont::fontStock, 8, false, false).getPeer()));
    const struct {
        mFont::FONTS kind;
        int family;
    } kinds[] = {{mFont::fontRoman, FF_ROMAN},   {mFont::fontSwiss, FF_SWISS},   {mFont::fontModern, FF_MODERN},
                 {mFont::fontScript, FF_SCRIPT}, {(mFont::FONTS)9, FF_DONTCARE}};
    for (const auto &k : kinds) {
        const LOGFONTA description = describe<LOGFONTA>(mFont(k.kind, 20, true, false).getPeer());
        EXPECT_EQ(-20, description.lfHeight);
        EXPECT_EQ(FW_BOLD, description.lfWeight);
        EXPECT_EQ(0, description.lfItalic);
        EXPECT_EQ(k.family, description.lfPitchAndFamily);
    }
    EXPECT_EQ(1, describe<LOGFONTA>(mFont(mFont::fontRoman, 9, false, true).getPeer()).lfItalic);
    // Tabs expand with no stops given, so a tab counts for more than a space.
    EXPECT_GT(g.getWidth("a\tb"), g.getWidth("a b"));
    EXPECT_GT(g.getFontName().length(), 0);
}

TEST_F(Tools, ColoursAreMatchedToTheSurfaceOnlyWhileAsked) {
    mGraphics g(surface(), nullptr, true);
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

    // A fresh memory context holds a bitmap of one bit: black and white are all it shows.
    const mColor wanted(13, 200, 77), pale(240, 230, 250);
    EXPECT_EQ(wanted.getRGB(), mColor(&g, wanted).getRGB());
    mGraphics mono(reinterpret_cast<SYSTEM_INFO_STRUCT *>(CreateCompatibleDC(nullptr)), nullptr, false);
    EXPECT_EQ(0x000000u, mColor(&mono, wanted).getRGB());
    EXPECT_EQ(0xFFFFFFu, mColor(&mono, pale).getRGB());
    EXPECT_TRUE(mColor(&mono, mColor(true)).isTransparent());

    // A matching surface makes its pens and brushes in the nearest colour, and keeps it.
    mPen pen(pale, 1);
    mBrush brush(pale);
    mono.setPen(&pen);
    mono.setBrush(&brush);
    EXPECT_EQ(0xFFFFFFu, pen.getColor().getRGB());
    EXPECT_EQ((COLORREF)RGB(255, 255, 255), describe<LOGBRUSH>(brush.getPeer(&g)).lbColor);
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

// A small 15-bit memory image, its rows padded and cleared to black, shows what lands on it in plain colours,
// whatever table the source used.
class Copies : public ::testing::Test {
protected:
    Copies() : target(new Peek15(nullptr, mSize(9, 6))) { clear(); }
    ~Copies() override { target->free(); }
    void clear() { std::memset(target->getDIBPtr(), 0, head(*target).dataSize); }
    std::string shown() { return picture(*target, black); }

    Peek15 *target;
};

TEST_F(Copies, NegativeCornersMoveTheDestination) {
    mPalette palette = plainPalette();
    Owned<Peek8> source(new Peek8(nullptr, mSize(6, 3), &palette));
    for (long y = 0; y < 3; ++y)
        for (long x = 0; x < 6; ++x)
            px8(*source, x, y) = (unsigned char)(red + (x + y) % 4);
    target->copyImage(source.get(), mRect(-3, 0, 3, 3), mPoint(2, 1));
    target->copyImage(source.get(), mRect(2, -2, 4, 3), mPoint(1, 1));
    const std::string expected = ".........\n"
                                 ".....234.\n"
                                 ".....345.\n"
                                 ".45..452.\n"
                                 ".52......\n"
                                 ".23......\n";
    EXPECT_EQ(expected, shown());
    // An inverted area, or no source, copies nothing.
    target->copyImage(source.get(), mRect(4, 0, 2, 3), mPoint(0, 0));
    target->copyImage(nullptr, mRect(0, 0, 4, 4), mPoint(0, 0));
    EXPECT_EQ(expected, shown());
}

TEST_F(Copies, OffscreenSurfacesCopyThroughTheirContext) {
    mBrush green(mColor(0, 255, 0)), red(mColor(255, 0, 0));
    mGraphics offscreen(target, mSize(8, 6));
    offscreen.setBrush(&green);
    offscreen.fillRect(mRect(0, 0, 8, 6));
    offscreen.setBrush(&red);
    offscreen.fillRect(mRect(2, 1, 4, 2));
    target->copyImage(&offscreen, mRect(1, 1, 5, 3), mPoint(5, 3));
    EXPECT_EQ(".........\n"
              ".........\n"
              ".........\n"
              ".....3223\n"
              ".....3333\n"
              ".........\n",
              shown());
}

TEST_F(Copies, BitmapsAndIconsFromAModule) {
    // The bitmap is white, with red, green and blue corners.
    mGraphics bitmap(target, vt::testModule(), 300);
    target->copyImage(&bitmap, mRect(0, 0, 8, 4), mPoint(1, 1));
    EXPECT_EQ(".........\n"
              ".21111113\n"
              ".11111111\n"
              ".11111111\n"
              ".41111111\n"
              ".........\n",
              shown());
    EXPECT_MERROR(mGraphics(target, vt::testModule(), 301), "Cannot find bitmap id", 301, "mWindow/mGraphics");

    // The icon is a yellow square of 32 pixels; its lower right corner shows.
    clear();
    mIcon icon(vt::testModule(), 400);
    mIcon again(icon);
    ASSERT_NE(nullptr, icon.getPeer(target));
    EXPECT_EQ(icon.getPeer(target), again.getPeer(target)) << "a shared icon is loaded once";
    target->copyImage(&again, mPoint(-26, -28));
    EXPECT_EQ("555555...\n"
              "555555...\n"
              "555555...\n"
              "555555...\n"
              ".........\n"
              ".........\n",
              shown());
}

} // namespace
