// A drawing surface over a platform device context, with the pens, brushes, fonts and icons
// that draw on it. Platform objects are counted through mPeerRef, so that a surface never
// holds an object whose last wrapper is gone.
#pragma once
#include "mUtil/mGeometry.h"
#include "mUtil/mString.h"
#include "mWindow/mColor.h"

class mGraphics;
class mModule;
class mPalette;
class mPeerRef;
class mWindow;

// What pens, brushes and fonts share: one counted platform object. Copies share it, and the
// last one to go deletes it, unless it was found on a surface and belongs to someone else.
class VELNOR_API mPeerHolder {
protected:
    mPeerHolder() : peer(nullptr) {}
    mPeerHolder(const mPeerHolder &other);
    ~mPeerHolder();

    // Takes a new object of ours into the table.
    void own(SYSTEM_INFO_STRUCT *handle);
    // Takes an object that the platform or another owner keeps alive: stock objects and what
    // a surface held before we came.
    void adopt(SYSTEM_INFO_STRUCT *handle);
    SYSTEM_INFO_STRUCT *handle() const;

    mPeerRef *peer;

private:
    mPeerHolder &operator=(const mPeerHolder &);
};

class VELNOR_API mPen : public mPeerHolder {
public:
    // No platform object yet: the colour a pen can have depends on the surface it meets.
    mPen(const mColor &color, int width);
    mPen(const mColor &color, int width, bool dash, bool dot);
    mPen(const mPen &other);

    SYSTEM_INFO_STRUCT *getPeer(mGraphics *graphics);
    // From the platform object once there is one: a null pen reads back as transparent.
    mColor getColor();
    int getWidth();

private:
    friend class mGraphics;
    explicit mPen(SYSTEM_INFO_STRUCT *handle);
    mPen &operator=(const mPen &);
    void render(mGraphics *graphics);

    mColor color;
    int width;
    bool dash;
    bool dot;
};

class VELNOR_API mBrush : public mPeerHolder {
public:
    mBrush(const mColor &color);
    mBrush(const mBrush &other);

    SYSTEM_INFO_STRUCT *getPeer(mGraphics *graphics);

private:
    friend class mGraphics;
    explicit mBrush(SYSTEM_INFO_STRUCT *handle);
    mBrush &operator=(const mBrush &);
    // A null surface takes the colour as it is.
    void render(mGraphics *graphics);

    mColor color;
};

class VELNOR_API mFont : public mPeerHolder {
public:
    enum FONTS { fontRoman = 0, fontSwiss = 1, fontSystem = 2, fontModern = 3, fontScript = 4, fontStock = 5 };

    mFont(FONTS kind, int size, bool bold, bool italic);
    mFont(const mFont &other);

    SYSTEM_INFO_STRUCT *getPeer() const { return handle(); }

private:
    friend class mGraphics;
    explicit mFont(SYSTEM_INFO_STRUCT *handle);
    mFont &operator=(const mFont &);
};

// A shared icon of a module's resources; the platform keeps it, so nothing is released.
class VELNOR_API mIcon {
public:
    mIcon(mModule *module, int id);
    mIcon(const mIcon &other);
    ~mIcon() {}

    SYSTEM_INFO_STRUCT *getPeer(mGraphics *graphics) const { return handle; }

private:
    mIcon &operator=(const mIcon &);

    SYSTEM_INFO_STRUCT *handle;
    mModule *module;
    int id;
};

class VELNOR_API mGraphics {
public:
    enum TJustify { justifyLeft = 0, justifyCenter = 1, justifyRight = 2 };

    // Wraps a context. With keep the context is left alone at the end; otherwise it is
    // released to `window`, or deleted when there is no window.
    mGraphics(SYSTEM_INFO_STRUCT *peer, mWindow *window, bool keep);
    // An offscreen surface with a bitmap of `size` like `compatible` (the display if null).
    mGraphics(mGraphics *compatible, const mSize &size);
    // An offscreen surface holding a bitmap of a module's resources.
    mGraphics(mGraphics *compatible, mModule *module, unsigned short id);
    virtual ~mGraphics();

    // Takes away pen, brush, font, palette and clip: the surface has its first objects back.
    void reset();
    SYSTEM_INFO_STRUCT *getPeer() const { return peer; }
    void setMatch(bool on) { match = on; }
    bool isMatch() const { return match; }
    // Drawing through the surface can be batched by the platform; this makes it land before
    // pixels are touched directly.
    void flush();

    // Each set keeps a copy sharing the platform object; null gives back the first object of
    // the surface. Each get returns a new object for the caller, or null.
    void setPen(mPen *pen);
    mPen *getPen();
    void setBrush(mBrush *brush);
    mBrush *getBrush();
    void setFont(mFont *font);
    mFont *getFont();
    void setPalette(const mPalette *palette);
    void realizePalette();

    void setTextColor(const mColor &color);
    mColor getTextColor();
    // A transparent colour switches the text background off.
    void setBackgroundColor(const mColor &color);
    mColor getBackgroundColor() const { return background; }

    // One clip at a time; nothing is stacked.
    void setClip(const mRect &area);
    void removeClip(const mRect &area);
    void clearClip();

    mPoint writeText(const mString &text, const mPoint &at);
    void writeText(const mString &text, const mRect &area, TJustify justify, bool expandTabs, bool ellipsis);
    mSize sizeText(const mString &text, const mRect &area, TJustify justify, bool expandTabs);
    int getAscent();
    int getDescent();
    int getHeight();
    int getWidth(const mString &text);
    mString getFontName();

    void moveTo(const mPoint &point);
    void lineTo(const mPoint &point);
    void rectangle(const mRect &area);
    void ellipse(const mRect &area);
    void roundRectangle(const mRect &area, const mSize &corner);
    void polygon(const mPoint *points, int count);
    void polyLine(const mPoint *points, int count);
    void invertRect(const mRect &area);
    void focusRect(const mRect &area);
    void fillRect(const mRect &area);
    void fillRect(const mRect &area, mColor::SYSCOLOR color);
    // Draws a sunken or raised edge inside `area`; returns how far each side moved in.
    mInset controlRect3D(const mRect &area, bool raised, bool thin);
    // Copies `area` of `source` to `at`; a memory image goes through its own colour table.
    void copyImage(mGraphics *source, mRect area, mPoint at);
    void copyImage(mIcon *icon, const mPoint &at);

protected:
    // A surface without a context, for images that are surfaces in name only.
    mGraphics();
    // Makes this surface the drawing side of a memory image: a memory context of its own with
    // a device-independent bitmap selected, described by `bitmapInfo`. Returns the pixels, or
    // null with the platform's error code.
    void *createSection(mGraphics *compatible, long width, long height, int bitCount, const mColor *colors,
                        int colorCount, unsigned long &error);
    // Rewrites `count` entries of the colour table from `first` on, in `bitmapInfo` and in the
    // bitmap itself, from an image's table of `colorCount` colours.
    void setSectionColors(const mColor *colors, int colorCount, int first, int count);

    int owner;
    SYSTEM_INFO_STRUCT *window;
    SYSTEM_INFO_STRUCT *savedBrush;
    SYSTEM_INFO_STRUCT *savedPen;
    SYSTEM_INFO_STRUCT *savedFont;
    SYSTEM_INFO_STRUCT *savedPalette;
    mBrush *brush;
    mPen *pen;
    mFont *font;
    mPalette *palette;
    mColor background;
    bool match;
    SYSTEM_INFO_STRUCT *peer;
    SYSTEM_INFO_STRUCT *bitmap;
    void *bitmapInfo;
    void *bits;
    // The clip region in force; named apart from mBitMap::clip, since images are surfaces too.
    SYSTEM_INFO_STRUCT *clipRegion;

private:
    mGraphics(const mGraphics &);
    mGraphics &operator=(const mGraphics &);

    void init(SYSTEM_INFO_STRUCT *context, int ownership);
    // The colour as the platform takes it: palette-relative while colours are matched.
    unsigned long peerColor(const mColor &color) const;
    unsigned int textFlags(TJustify justify, bool expandTabs) const;
};
