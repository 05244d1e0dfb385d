// Helpers of the drawing-surface tests: a palette of plain colours, memory images with a look
// at their surface side, and reading pixels back by top-down coordinates.
#pragma once
#include "../mSprite/ImageKit.h"

#include "mSprite/m15BitMemImage.h"
#include "mSprite/m8BitMemImage.h"
#include "mSprite/mTransform.h"
#include "mWindow/mGraphics.h"

// Index 0 black, 1 white, 2 red, 3 green, 4 blue, 5 yellow, then a grey ramp; far enough
// apart that the platform's nearest match of a plain colour is the entry itself.
enum Plain { black, white, red, green, blue, yellow, plainCount };

inline std::vector<mColor> plainColors(int count = 16) {
    std::vector<mColor> colors = {mColor(0, 0, 0),   mColor(255, 255, 255), mColor(255, 0, 0),
                                  mColor(0, 255, 0), mColor(0, 0, 255),     mColor(255, 255, 0)};
    for (int i = plainCount; i < count; ++i)
        colors.push_back(mColor(i * 8, i * 8 + 2, i * 8 + 4));
    return colors;
}

inline mPalette plainPalette(int count = 16) {
    std::vector<mColor> colors = plainColors(count);
    return mPalette(colors.data(), (int)colors.size());
}

// The surface side's own fields, for the checks that need them.
template <class Image> class Peek : public Image {
public:
    using Image::Image;
    const BITMAPINFO *info() const { return static_cast<const BITMAPINFO *>(this->bitmapInfo); }
    HBITMAP section() const { return reinterpret_cast<HBITMAP>(this->bitmap); }
    HDC dc() const { return reinterpret_cast<HDC>(this->peer); }
};
typedef Peek<m8BitMemImage> Peek8;
typedef Peek<m15BitMemImage> Peek15;

inline HDC dcOf(mGraphics &g) { return reinterpret_cast<HDC>(g.getPeer()); }
inline HGDIOBJ handleOf(SYSTEM_INFO_STRUCT *p) { return reinterpret_cast<HGDIOBJ>(p); }

// Uses of a platform object in the library's table; 0 when it has no entry.
inline int uses(HGDIOBJ object) {
    mPeerRef *entry = mPeerRef::find(reinterpret_cast<SYSTEM_INFO_STRUCT *>(object), false);
    return entry ? entry->getRefCount() : 0;
}

// The pixels of an image as rows of text, one character per pixel: '0' + value, and '.' for
// `background`; a 15-bit pixel counts as the number of its plain colour, '?' for none. A
// failed comparison then shows the picture.
inline std::string picture(mBitMap &image, int background) {
    const std::vector<mColor> colors = plainColors();
    const bool wide = image.getBitmapType() == mBitMap::bitmap15;
    std::string out;
    const mSize size = image.getSize();
    for (long y = 0; y < size.cy; ++y) {
        for (long x = 0; x < size.cx; ++x) {
            int v = wide ? 15 : px8(image, x, y);
            for (int i = 0; wide && i < plainCount; ++i)
                v = colors[i].getRGB15() == px15(image, x, y) ? i : v;
            out += v == background ? '.' : (char)('0' + v);
        }
        out += '\n';
    }
    return out;
}
