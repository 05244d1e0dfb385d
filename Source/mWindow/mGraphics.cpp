#include "mWindow/mGraphics.h"

#include "mUtil/mApp.h"
#include "mUtil/mModule.h"
#include "mWindow/mPalette.h"
#include "mWindow/mWindow.h"

#include <windows.h>

#include <climits>
#include <cstring>
#include <new>
#include <vector>

static const char srcPath[] = "mWindow/mGraphics";

namespace {

HDC hdc(SYSTEM_INFO_STRUCT *p) { return reinterpret_cast<HDC>(p); }
HGDIOBJ gdi(SYSTEM_INFO_STRUCT *p) { return reinterpret_cast<HGDIOBJ>(p); }
SYSTEM_INFO_STRUCT *handleOf(const void *p) { return reinterpret_cast<SYSTEM_INFO_STRUCT *>(const_cast<void *>(p)); }
RECT toRECT(const mRect &r) {
    RECT rc = {r.left, r.top, r.right, r.bottom};
    return rc;
}
COLORREF plainColor(const mColor &c) { return RGB(c.getRed(), c.getGreen(), c.getBlue()); }

// The drawing objects are chosen with SelectObject, palettes with SelectPalette; both hand
// back what the surface held.
typedef SYSTEM_INFO_STRUCT *(*Chooser)(SYSTEM_INFO_STRUCT *dc, SYSTEM_INFO_STRUCT *object);
SYSTEM_INFO_STRUCT *chooseObject(SYSTEM_INFO_STRUCT *dc, SYSTEM_INFO_STRUCT *object) {
    return handleOf(SelectObject(hdc(dc), gdi(object)));
}
SYSTEM_INFO_STRUCT *choosePalette(SYSTEM_INFO_STRUCT *dc, SYSTEM_INFO_STRUCT *object) {
    return handleOf(SelectPalette(hdc(dc), reinterpret_cast<HPALETTE>(object), FALSE));
}

// One step of selection for every kind of tool; `handleOf` gives a tool's platform object,
// making it first if need be. The copy is made before anything is selected, so that the
// surface never holds an object that no wrapper keeps.
template <class Tool, class Given, class HandleOf>
void exchange(SYSTEM_INFO_STRUCT *dc, Chooser choose, Tool *&current, SYSTEM_INFO_STRUCT *&saved, Given *tool,
              HandleOf handleOf) {
    SYSTEM_INFO_STRUCT *handle = tool ? handleOf(tool) : nullptr;
    if (tool && current && handle == handleOf(current))
        return;
    Tool *copy = tool ? new Tool(*tool) : nullptr;
    if (tool) {
        SYSTEM_INFO_STRUCT *previous = choose(dc, handle);
        if (!saved)
            saved = previous;
    } else if (saved) {
        choose(dc, saved);
    }
    delete current;
    current = copy;
}

// A new copy of the current tool or, without one, a wrapper of the object that the surface
// holds; null if there is none. `Tool` befriends mGraphics, which hands in its constructor.
template <class Tool, class Wrap>
Tool *toolOrCurrent(const Tool *current, SYSTEM_INFO_STRUCT *dc, UINT type, Wrap wrap) {
    if (current)
        return new (std::nothrow) Tool(*current);
    HGDIOBJ object = GetCurrentObject(hdc(dc), type);
    return object ? wrap(handleOf(object)) : nullptr;
}

// The context that a new surface is made like: that of `compatible`, or for the moment an
// information context of the display.
class Likeness {
public:
    explicit Likeness(mGraphics *compatible)
        : made(compatible ? nullptr : CreateICA("DISPLAY", nullptr, nullptr, nullptr)),
          dc(compatible ? hdc(compatible->getPeer()) : made) {}
    ~Likeness() {
        if (made)
            DeleteDC(made);
    }
    HDC get() const { return dc; }

private:
    HDC made;
    HDC dc;
};

// What a pen's platform object says about it.
struct PenFacts {
    bool null;
    COLORREF color;
    int width;
};

bool describePen(HGDIOBJ pen, PenFacts &facts) {
    if (GetObjectType(pen) == OBJ_EXTPEN) {
        int size = GetObjectA(pen, 0, nullptr);
        if (size < (int)sizeof(EXTLOGPEN) - (int)sizeof(DWORD))
            return false;
        std::vector<unsigned char> block((size_t)size + sizeof(DWORD));
        EXTLOGPEN *ext = reinterpret_cast<EXTLOGPEN *>(block.data());
        if (!GetObjectA(pen, size, ext))
            return false;
        facts.null = (ext->elpPenStyle & PS_STYLE_MASK) == PS_NULL;
        facts.color = ext->elpColor;
        facts.width = (int)ext->elpWidth;
        return true;
    }
    LOGPEN logical;
    if (GetObjectA(pen, sizeof(logical), &logical) != sizeof(logical))
        return false;
    facts.null = logical.lopnStyle == PS_NULL;
    facts.color = logical.lopnColor;
    facts.width = (int)logical.lopnWidth.x;
    return true;
}

const int fontNameRoom = 100;

} // namespace

// ---- mPeerHolder

mPeerHolder::mPeerHolder(const mPeerHolder &other) : peer(other.peer) {
    if (peer)
        peer->use();
}

mPeerHolder::~mPeerHolder() {
    if (peer)
        peer->release();
}

void mPeerHolder::own(SYSTEM_INFO_STRUCT *object) {
    if (object)
        peer = mPeerRef::find(object, true);
}

void mPeerHolder::adopt(SYSTEM_INFO_STRUCT *object) {
    if (!object)
        return;
    peer = mPeerRef::find(object, true);
    peer->markForeign();
}

SYSTEM_INFO_STRUCT *mPeerHolder::handle() const { return peer ? peer->getHandle() : nullptr; }

// ---- mPen

mPen::mPen(const mColor &color, int width) : color(color), width(width), dash(false), dot(false) {}

mPen::mPen(const mColor &color, int width, bool dash, bool dot) : color(color), width(width), dash(dash), dot(dot) {}

mPen::mPen(const mPen &other)
    : mPeerHolder(other), color(other.color), width(other.width), dash(other.dash), dot(other.dot) {}

mPen::mPen(SYSTEM_INFO_STRUCT *object) : color(0, 0, 0), width(0), dash(false), dot(false) { adopt(object); }

void mPen::render(mGraphics *graphics) {
    if (peer)
        return;
    if (graphics && graphics->isMatch())
        color = mColor(graphics, color);
    if (color.isTransparent()) {
        adopt(handleOf(GetStockObject(NULL_PEN)));
        return;
    }
    const int style = (dot ? PS_DOT : PS_SOLID) + (dash ? PS_DASH : PS_SOLID);
    own(handleOf(CreatePen(style, width, plainColor(color))));
}

SYSTEM_INFO_STRUCT *mPen::getPeer(mGraphics *graphics) {
    render(graphics);
    return handle();
}

mColor mPen::getColor() {
    PenFacts facts;
    if (!peer || !describePen(gdi(handle()), facts))
        return color;
    if (facts.null)
        return mColor(true);
    mColor result;
    result.setPeerColor(&facts.color);
    return result;
}

int mPen::getWidth() {
    PenFacts facts;
    return peer && describePen(gdi(handle()), facts) ? facts.width : width;
}

// ---- mBrush

mBrush::mBrush(const mColor &color) : color(color) {}

mBrush::mBrush(const mBrush &other) : mPeerHolder(other), color(other.color) {}

mBrush::mBrush(SYSTEM_INFO_STRUCT *object) : color(0, 0, 0) { adopt(object); }

void mBrush::render(mGraphics *graphics) {
    if (peer)
        return;
    if (graphics && graphics->isMatch())
        color = mColor(graphics, color);
    if (color.isTransparent())
        adopt(handleOf(GetStockObject(NULL_BRUSH)));
    else
        own(handleOf(CreateSolidBrush(plainColor(color))));
}

SYSTEM_INFO_STRUCT *mBrush::getPeer(mGraphics *graphics) {
    render(graphics);
    return handle();
}

// ---- mFont

mFont::mFont(FONTS kind, int size, bool bold, bool italic) {
    if (kind == fontSystem || kind == fontStock) {
        adopt(handleOf(GetStockObject(SYSTEM_FONT)));
        return;
    }
    static const BYTE families[] = {FF_ROMAN, FF_SWISS, 0, FF_MODERN, FF_SCRIPT};
    LOGFONTA logical;
    std::memset(&logical, 0, sizeof(logical));
    // A negative height asks for the height of the characters, not of the cell.
    logical.lfHeight = -size;
    logical.lfWeight = bold ? FW_BOLD : FW_NORMAL;
    logical.lfItalic = italic ? 1 : 0;
    const unsigned index = (unsigned)kind;
    logical.lfPitchAndFamily = index < sizeof(families) ? families[index] : 0;
    own(handleOf(CreateFontIndirectA(&logical)));
}

mFont::mFont(const mFont &other) : mPeerHolder(other) {}

mFont::mFont(SYSTEM_INFO_STRUCT *object) { adopt(object); }

// ---- mIcon

static SYSTEM_INFO_STRUCT *loadIcon(mModule *module, int id) {
    HINSTANCE instance = module ? reinterpret_cast<HINSTANCE>(module->getInstance()) : nullptr;
    return handleOf(LoadImageA(instance, MAKEINTRESOURCEA(id), IMAGE_ICON, 0, 0, LR_SHARED));
}

mIcon::mIcon(mModule *module, int id) : handle(loadIcon(module, id)), module(module), id(id) {}

mIcon::mIcon(const mIcon &other) : handle(loadIcon(other.module, other.id)), module(other.module), id(other.id) {}

// ---- mGraphics: surfaces

void mGraphics::init(SYSTEM_INFO_STRUCT *context, int ownership) {
    owner = ownership;
    window = nullptr;
    savedBrush = savedPen = savedFont = savedPalette = nullptr;
    brush = nullptr;
    pen = nullptr;
    font = nullptr;
    palette = nullptr;
    background = mColor(true);
    match = true;
    peer = context;
    bitmap = nullptr;
    bitmapInfo = nullptr;
    bits = nullptr;
    clipRegion = nullptr;
    if (!context)
        return;
    COLORREF color = GetBkColor(hdc(context));
    background.setPeerColor(&color);
    background.setTransparent(GetBkMode(hdc(context)) == TRANSPARENT);
}

mGraphics::mGraphics() { init(nullptr, 0); }

mGraphics::mGraphics(SYSTEM_INFO_STRUCT *context, mWindow *w, bool keep) {
    init(context, keep ? 0 : (w ? 1 : 2));
    window = w ? w->getPeer() : nullptr;
}

mGraphics::mGraphics(mGraphics *compatible, const mSize &size) {
    init(nullptr, 2);
    Likeness like(compatible);
    HBITMAP made = CreateCompatibleBitmap(like.get(), size.cx, size.cy);
    peer = handleOf(CreateCompatibleDC(like.get()));
    bitmap = handleOf(made);
    if (made)
        SelectObject(hdc(peer), made);
}

mGraphics::mGraphics(mGraphics *compatible, mModule *module, unsigned short id) {
    init(nullptr, 2);
    HINSTANCE instance = module ? reinterpret_cast<HINSTANCE>(module->getInstance()) : nullptr;
    HBITMAP loaded = LoadBitmapA(instance, MAKEINTRESOURCEA(id));
    if (!loaded)
        VELNOR_THROW("Cannot find bitmap id", id);
    Likeness like(compatible);
    peer = handleOf(CreateCompatibleDC(like.get()));
    bitmap = handleOf(loaded);
    SelectObject(hdc(peer), loaded);
}

mGraphics::~mGraphics() {
    reset();
    if (peer && owner == 1)
        ReleaseDC(reinterpret_cast<HWND>(window), hdc(peer));
    else if (peer && owner == 2)
        DeleteDC(hdc(peer));
    // The context is gone, so the bitmap is no longer selected anywhere and can go too.
    if (bitmap)
        DeleteObject(gdi(bitmap));
    mApp::free(bitmapInfo);
}

void mGraphics::reset() {
    setBrush(nullptr);
    setPen(nullptr);
    setFont(nullptr);
    setPalette(nullptr);
    clearClip();
}

void mGraphics::flush() { GdiFlush(); }

void *mGraphics::createSection(mGraphics *compatible, long width, long height, int bitCount, const mColor *colors,
                               int colorCount, unsigned long &error) {
    // A negative height would turn the rows top down, and the images count on bottom up;
    // and the images measure their blocks in 32 bits.
    const long long lineBytes = ((long long)width * bitCount + 31) / 32 * 4;
    if (width < 0 || height < 0 || lineBytes * height > INT_MAX) {
        error = width < 0 || height < 0 ? ERROR_INVALID_PARAMETER : ERROR_NOT_ENOUGH_MEMORY;
        return nullptr;
    }
    const int entries = bitCount <= 8 ? 1 << bitCount : 0;
    const int size = (int)sizeof(BITMAPINFOHEADER) + entries * (int)sizeof(RGBQUAD);
    BITMAPINFO *info = static_cast<BITMAPINFO *>(mApp::malloc(size));
    if (!info)
        throw std::bad_alloc();
    std::memset(info, 0, size);
    bitmapInfo = info;
    BITMAPINFOHEADER &h = info->bmiHeader;
    h.biSize = sizeof(BITMAPINFOHEADER);
    h.biWidth = width;
    h.biHeight = height;
    h.biPlanes = 1;
    h.biBitCount = (WORD)bitCount;
    h.biCompression = BI_RGB;
    h.biXPelsPerMeter = h.biYPelsPerMeter = 1000;
    h.biClrImportant = entries ? 256 : 0;
    if (entries)
        setSectionColors(colors, colorCount, 0, colorCount);

    Likeness like(compatible);
    peer = handleOf(CreateCompatibleDC(like.get()));
    void *pixels = nullptr;
    HBITMAP made = CreateDIBSection(like.get(), info, DIB_RGB_COLORS, &pixels, nullptr, 0);
    if (!made || !pixels) {
        error = GetLastError();
        if (made)
            DeleteObject(made);
        return nullptr;
    }
    bitmap = handleOf(made);
    bits = pixels;
    SelectObject(hdc(peer), made);
    return pixels;
}

void mGraphics::setSectionColors(const mColor *colors, int colorCount, int first, int count) {
    BITMAPINFO *info = static_cast<BITMAPINFO *>(bitmapInfo);
    const int entries = info && info->bmiHeader.biBitCount <= 8 ? 1 << info->bmiHeader.biBitCount : 0;
    if (first < 0 || !colors)
        return;
    if (count > entries - first)
        count = entries - first;
    if (count > colorCount - first)
        count = colorCount - first;
    if (count <= 0)
        return;
    RGBQUAD *table = info->bmiColors + first;
    for (int i = 0; i < count; ++i) {
        const mColor &c = colors[first + i];
        const RGBQUAD quad = {c.getBlue(), c.getGreen(), c.getRed(), 0};
        table[i] = quad;
    }
    info->bmiHeader.biClrUsed = (DWORD)(colorCount < entries ? colorCount : entries);
    // Drawing through the surface matches colours against the bitmap's own table.
    if (bitmap)
        SetDIBColorTable(hdc(peer), (UINT)first, (UINT)count, table);
}

// ---- mGraphics: drawing state

void mGraphics::setPen(mPen *p) {
    exchange(peer, chooseObject, pen, savedPen, p, [this](mPen *tool) { return tool->getPeer(this); });
}

mPen *mGraphics::getPen() {
    return toolOrCurrent(pen, peer, OBJ_PEN, [](SYSTEM_INFO_STRUCT *h) { return new (std::nothrow) mPen(h); });
}

void mGraphics::setBrush(mBrush *b) {
    exchange(peer, chooseObject, brush, savedBrush, b, [this](mBrush *tool) { return tool->getPeer(this); });
}

mBrush *mGraphics::getBrush() {
    return toolOrCurrent(brush, peer, OBJ_BRUSH, [](SYSTEM_INFO_STRUCT *h) { return new (std::nothrow) mBrush(h); });
}

void mGraphics::setFont(mFont *f) {
    exchange(peer, chooseObject, font, savedFont, f, [](const mFont *tool) { return tool->getPeer(); });
}

mFont *mGraphics::getFont() {
    return toolOrCurrent(font, peer, OBJ_FONT, [](SYSTEM_INFO_STRUCT *h) { return new (std::nothrow) mFont(h); });
}

void mGraphics::setPalette(const mPalette *p) {
    exchange(peer, choosePalette, palette, savedPalette, p, [](const mPalette *tool) { return tool->getPeer(); });
}

void mGraphics::realizePalette() { RealizePalette(hdc(peer)); }

unsigned long mGraphics::peerColor(const mColor &color) const {
    return match ? PALETTERGB(color.getRed(), color.getGreen(), color.getBlue()) : plainColor(color);
}

void mGraphics::setTextColor(const mColor &color) { SetTextColor(hdc(peer), peerColor(color)); }

mColor mGraphics::getTextColor() {
    COLORREF color = GetTextColor(hdc(peer));
    mColor result;
    result.setPeerColor(&color);
    return result;
}

void mGraphics::setBackgroundColor(const mColor &color) {
    background = match ? mColor(this, color) : color;
    SetBkMode(hdc(peer), color.isTransparent() ? TRANSPARENT : OPAQUE);
    SetBkColor(hdc(peer), peerColor(background));
}

void mGraphics::setClip(const mRect &area) {
    HRGN region = CreateRectRgn(area.left, area.top, area.right, area.bottom);
    SelectClipRgn(hdc(peer), region);
    if (clipRegion)
        DeleteObject(gdi(clipRegion));
    clipRegion = handleOf(region);
}

void mGraphics::removeClip(const mRect &area) {
    ExcludeClipRect(hdc(peer), area.left, area.top, area.right, area.bottom);
}

void mGraphics::clearClip() {
    if (!clipRegion)
        return;
    SelectClipRgn(hdc(peer), nullptr);
    DeleteObject(gdi(clipRegion));
    clipRegion = nullptr;
}

// ---- mGraphics: text

unsigned int mGraphics::textFlags(TJustify justify, bool expandTabs) const {
    unsigned int flags = DT_WORDBREAK | DT_EXTERNALLEADING | DT_NOPREFIX;
    if (justify == justifyCenter)
        flags |= DT_CENTER;
    else if (justify == justifyRight)
        flags |= DT_RIGHT;
    if (expandTabs)
        flags |= DT_EXPANDTABS;
    return flags;
}

mPoint mGraphics::writeText(const mString &text, const mPoint &at) {
    TextOutA(hdc(peer), at.x, at.y, text.c_str(), text.length());
    return mPoint(at.x + getWidth(text), at.y);
}

void mGraphics::writeText(const mString &text, const mRect &area, TJustify justify, bool expandTabs, bool ellipsis) {
    RECT rc = toRECT(area);
    DrawTextA(hdc(peer), text.c_str(), -1, &rc, textFlags(justify, expandTabs) | (ellipsis ? DT_END_ELLIPSIS : 0));
}

mSize mGraphics::sizeText(const mString &text, const mRect &area, TJustify justify, bool expandTabs) {
    RECT rc = toRECT(area);
    DrawTextA(hdc(peer), text.c_str(), -1, &rc, textFlags(justify, expandTabs) | DT_CALCRECT);
    return mSize(rc.right - rc.left, rc.bottom - rc.top);
}

int mGraphics::getAscent() {
    TEXTMETRICA metrics = {};
    GetTextMetricsA(hdc(peer), &metrics);
    return metrics.tmAscent;
}

int mGraphics::getDescent() {
    TEXTMETRICA metrics = {};
    GetTextMetricsA(hdc(peer), &metrics);
    return metrics.tmDescent;
}

int mGraphics::getHeight() {
    TEXTMETRICA metrics = {};
    GetTextMetricsA(hdc(peer), &metrics);
    return metrics.tmHeight;
}

int mGraphics::getWidth(const mString &text) {
    if (text.length() == 0)
        return 0;
    return LOWORD(GetTabbedTextExtentA(hdc(peer), text.c_str(), text.length(), 0, nullptr));
}

mString mGraphics::getFontName() {
    char name[fontNameRoom] = {};
    GetTextFaceA(hdc(peer), fontNameRoom, name);
    name[fontNameRoom - 1] = 0;
    return mString(name);
}

// ---- mGraphics: shapes

void mGraphics::moveTo(const mPoint &point) { MoveToEx(hdc(peer), point.x, point.y, nullptr); }

void mGraphics::lineTo(const mPoint &point) { LineTo(hdc(peer), point.x, point.y); }

void mGraphics::rectangle(const mRect &r) { Rectangle(hdc(peer), r.left, r.top, r.right, r.bottom); }

void mGraphics::ellipse(const mRect &r) { Ellipse(hdc(peer), r.left, r.top, r.right, r.bottom); }

void mGraphics::roundRectangle(const mRect &r, const mSize &corner) {
    RoundRect(hdc(peer), r.left, r.top, r.right, r.bottom, corner.cx, corner.cy);
}

void mGraphics::polygon(const mPoint *points, int count) {
    if (!points || count <= 0)
        return;
    std::vector<POINT> copy((size_t)count);
    for (int i = 0; i < count; ++i)
        copy[i] = POINT{points[i].x, points[i].y};
    Polygon(hdc(peer), copy.data(), count);
}

void mGraphics::polyLine(const mPoint *points, int count) {
    if (!points || count <= 0)
        return;
    moveTo(points[0]);
    for (int i = 1; i < count; ++i)
        lineTo(points[i]);
}

void mGraphics::invertRect(const mRect &area) {
    RECT rc = toRECT(area);
    InvertRect(hdc(peer), &rc);
}

void mGraphics::focusRect(const mRect &area) {
    RECT rc = toRECT(area);
    DrawFocusRect(hdc(peer), &rc);
}

void mGraphics::fillRect(const mRect &area) {
    RECT rc = toRECT(area);
    HGDIOBJ with = brush ? gdi(brush->getPeer(this)) : GetCurrentObject(hdc(peer), OBJ_BRUSH);
    FillRect(hdc(peer), &rc, static_cast<HBRUSH>(with));
}

void mGraphics::fillRect(const mRect &area, mColor::SYSCOLOR color) {
    RECT rc = toRECT(area);
    bool isSystem;
    // The platform takes a system colour's index plus one in place of a brush.
    FillRect(hdc(peer), &rc, reinterpret_cast<HBRUSH>((INT_PTR)(mColor::getSysColorCode(color, isSystem) + 1)));
}

mInset mGraphics::controlRect3D(const mRect &area, bool raised, bool thin) {
    RECT rc = toRECT(area);
    const UINT edge = thin ? (raised ? BDR_RAISEDOUTER : BDR_SUNKENOUTER) : (raised ? EDGE_RAISED : EDGE_SUNKEN);
    DrawEdge(hdc(peer), &rc, edge, BF_RECT | BF_ADJUST);
    return mInset(rc.left - area.left, rc.top - area.top, area.right - rc.right, area.bottom - rc.bottom);
}

void mGraphics::copyImage(mGraphics *source, mRect area, mPoint at) {
    if (!source || area.isEmpty())
        return;
    if (area.left < 0) {
        at.x -= area.left;
        area.left = 0;
    }
    if (area.top < 0) {
        at.y -= area.top;
        area.top = 0;
    }
    const BITMAPINFO *info = static_cast<const BITMAPINFO *>(source->bitmapInfo);
    if (info) {
        // Bottom-up rows: the source's lower-left corner counts from its last row.
        const long h = info->bmiHeader.biHeight;
        SetDIBitsToDevice(hdc(peer), at.x, at.y, area.right - area.left, area.bottom - area.top, area.left,
                          h - area.bottom, 0, h, source->bits, info, DIB_RGB_COLORS);
        return;
    }
    BitBlt(hdc(peer), at.x, at.y, area.right - area.left, area.bottom - area.top, hdc(source->peer), area.left,
           area.top, SRCCOPY);
}

void mGraphics::copyImage(mIcon *icon, const mPoint &at) {
    if (icon)
        DrawIcon(hdc(peer), at.x, at.y, reinterpret_cast<HICON>(icon->getPeer(this)));
}
