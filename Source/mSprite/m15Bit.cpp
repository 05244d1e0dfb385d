#include "mSprite/m15Bit.h"

#include "mSprite/m8Bit.h"
#include "mSprite/m8BitRLE.h"
#include "mSprite/mTransform.h"
#include "mUtil/mModule.h"
#include "mWindow/mPalette.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>

static const char srcPath[] = "mSprite/m15Bit";

// ---- Construction.

void m15Bit::init() {
    header->bits = 15;
    header->noPalette = true;
    header->compression = 0;
    transparent = 0xFFFF;
    mappingPalette = nullptr;
    mappingTable = nullptr;
}

m15Bit::m15Bit() { init(); }

m15Bit::m15Bit(const mSize &size) {
    init();
    allocPixels(size.cx, size.cy, 2);
}

m15Bit::m15Bit(const mBitMap &source, mPalette *palette) {
    init();
    const mBHeader &s = *source.getHeader();
    allocPixels(s.width, s.height, 2);
    // The destructor does not run if a constructor throws: what this one owns goes first.
    try {
        if (s.bits <= 8)
            setMapping(palette, mColor(true));
        if (s.compression == 1) {
            if (!palette)
                VELNOR_THROW("Conversion palette required for 8 bit to 15 bit image copy", 0);
            const int background = source.getUnusedIndex();
            fill(palette->getColor(background < 0 ? 0 : background));
        }
        copy(&source, mRect(0, 0, s.width, s.height), mPoint(0, 0));
    } catch (...) {
        delete mappingPalette;
        delete[] mappingTable;
        throw;
    }
}

m15Bit::m15Bit(const unsigned char *info, long length) {
    init();
    const long width = mModule::leReadLong(info + 4), height = mModule::leReadLong(info + 8);
    const long long line = (2LL * width + 3) & ~3LL;
    if (width < 0 || height < 0 || length - 40 < line * height)
        VELNOR_THROW("15 bit image has insufficient data", 0);
    allocPixels(width, height, 2);
    std::memcpy(data, info + 40, header->dataSize);
}

m15Bit::~m15Bit() {
    delete mappingPalette;
    delete[] mappingTable;
}

mBitMap *m15Bit::load(const void *block, long length, bool fileHeader) {
    const unsigned char *info = infoHeader(block, length, fileHeader);
    if (!info || mModule::leReadWord(info + 12) != 1 || mModule::leReadWord(info + 14) != 16 ||
        mModule::leReadLong(info + 16) != 0)
        return nullptr;
    return new m15Bit(info, length);
}

mBitMap *m15Bit::createBlank(int bits, const mSize &size, const mPalette *palette) {
    return bits == 15 || bits == 16 ? new m15Bit(size) : nullptr;
}

// ---- Transparency and the mapping palette.

void m15Bit::setTransparent(const mColor &color) { transparent = color.isTransparent() ? 0xFFFF : color.getRGB15(); }

void m15Bit::setTransparent() {
    if (header->dataSize > 1)
        transparent = pixels()[0];
}

mColor m15Bit::getTransparent() const {
    if (!hasTransparency())
        return mColor(true);
    mColor color;
    color.setRGB15(transparent);
    return color;
}

bool m15Bit::isSolid(mPoint p) {
    if (!hasTransparency())
        return true;
    if (!mRect(0, 0, header->width, header->height).hasPoint(p))
        return false;
    return row(p.y)[p.x] != transparent;
}

void m15Bit::setMapping(const mPalette *palette, mColor) {
    delete mappingPalette;
    mappingPalette = nullptr;
    if (!palette)
        return;
    mappingPalette = new mPalette(*palette);
    if (!mappingTable)
        mappingTable = new unsigned short[256];
    int count = 0;
    std::unique_ptr<mColor[]> colors(palette->getColors(count));
    for (int i = 0; i < 256; ++i)
        mappingTable[i] = i < count ? colors[i].getRGB15() : 0;
}

mPalette *m15Bit::getMappingPalette() const { return mappingPalette ? new mPalette(*mappingPalette) : nullptr; }

// ---- Copies.

void m15Bit::copy(const mBitMap *source, mRect sourceRect, mPoint position) {
    if (!source || !clipCopy(source, sourceRect, position))
        return;
    const mBHeader &s = *source->getHeader();
    if (s.bits == 15 && s.compression == 0) {
        if (!holdsRows(*source, 2))
            return;
        const m15Bit *colours = dynamic_cast<const m15Bit *>(source);
        copyRows(*source, sourceRect, position, colours ? colours->transparent : 0xFFFF);
        return;
    }
    if (!mappingPalette && !source->getRGB15convert())
        VELNOR_THROW("Conversion palette required for 8 bit to 15 bit image copy", 0);
    if (s.bits != 8)
        VELNOR_THROW("Unsupported copy into 15 bit image", 0);
    copy8(source, sourceRect, position);
}

// 0xFFFF stands for no transparency: a pixel never has its top bit set, and rows can then
// move as blocks.
void m15Bit::copyRows(const mBitMap &source, const mRect &r, mPoint position, unsigned short t) {
    const mBHeader &s = *source.getHeader();
    const long sourceLine = s.lineBytes / 2, targetLine = header->lineBytes / 2;
    const long cols = r.width(), rows = r.height();
    const unsigned short *from =
        static_cast<const unsigned short *>(source.getData()) + (s.height - r.bottom) * sourceLine + r.left;
    unsigned short *to = row(position.y + rows - 1) + position.x;
    if (t == 0xFFFF) {
        if (cols == sourceLine && cols == targetLine) {
            std::memcpy(to, from, (size_t)cols * rows * 2);
            return;
        }
        for (long y = 0; y < rows; ++y, from += sourceLine, to += targetLine)
            std::memcpy(to, from, (size_t)cols * 2);
        return;
    }
    for (long y = 0; y < rows; ++y, from += sourceLine, to += targetLine) {
        for (long x = 0; x < cols; ++x) {
            const unsigned short v = from[x];
            to[x] = v == t ? to[x] : v;
        }
    }
}

void m15Bit::copy8(const mBitMap *source, const mRect &r, mPoint position) {
    const mBHeader &s = *source->getHeader();
    // A full table, so that no pixel value can look beyond it.
    unsigned short table[256] = {};
    if (const unsigned short *own = source->getRGB15convert())
        std::copy(own, own + std::min(s.colorCount, 256), table);
    else if (mappingTable)
        std::copy(mappingTable, mappingTable + 256, table);
    const long targetLine = header->lineBytes / 2;
    const long cols = r.width(), rows = r.height();
    unsigned short *to = row(position.y + rows - 1) + position.x;
    if (s.compression == 1) {
        mRLERows scratch;
        m8BitRLE::rowsOf(*source, scratch).draw(r, to, targetLine, table);
        return;
    }
    if (s.compression != 0)
        VELNOR_THROW("Unsupported copy into 15 bit image", 0);
    if (!holdsRows(*source, 1))
        return;
    const unsigned char *from =
        static_cast<const unsigned char *>(source->getData()) + (s.height - r.bottom) * s.lineBytes + r.left;
    const m8Bit *plain = dynamic_cast<const m8Bit *>(source);
    // A value of 256 is no pixel: a source without transparency skips nothing.
    const unsigned t = plain && plain->hasTransparency() ? (unsigned char)plain->getTransparent() : 256;
    for (long y = 0; y < rows; ++y, from += s.lineBytes, to += targetLine) {
        for (long x = 0; x < cols; ++x) {
            const unsigned v = from[x];
            if (v != t)
                to[x] = table[v];
        }
    }
}

// ---- Drawing in place.

void m15Bit::fill(const mColor &color) {
    const uint32_t pair = color.getRGB15() * 0x10001u;
    unsigned char *p = data;
    long n = header->dataSize;
    for (; n >= 4; n -= 4, p += 4)
        std::memcpy(p, &pair, 4);
    if (n >= 2)
        std::memcpy(p, &pair, 2);
}

void m15Bit::fill(mRect area, const mColor &color) {
    if (!clipToImage(area))
        return;
    const unsigned short word = color.getRGB15();
    for (long y = area.top; y < area.bottom; ++y)
        std::fill_n(row(y) + area.left, area.width(), word);
}

void m15Bit::flip() {
    for (long y = 0; y < header->height; ++y) {
        unsigned short *line = pixels() + y * (header->lineBytes / 2);
        std::reverse(line, line + header->width);
    }
}

void m15Bit::scroll(const mRect &area, int dx, int dy, mColor &fillColor) { scrollPixels(area, dx, dy, fillColor, 2); }

// ---- The standard image.

unsigned short *m15Bit::getStdImage(const mRect &area, bool opaque) const {
    if (!isWithin(area, getSize()))
        VELNOR_THROW("Requested standard image not contained in source", 0);
    const unsigned t = hasTransparency() ? transparent : pixels()[0];
    return readStandard<unsigned short>(area, opaque ? 0x10000 : t, [](unsigned short v) { return v & 0x7FFF; });
}

void m15Bit::writeStdImage(const unsigned short *image, const mSize &imageSize, const mRect &area,
                           const mPoint &position, bool keepTarget) {
    if (!isWithin(area, imageSize))
        VELNOR_THROW("Write of standard image not contained in source", 0);
    if (!fitsAt(position, mSize(area.width(), area.height()), getSize()))
        VELNOR_THROW("Standard image does not fit in target", 0);
    if (!image)
        return;
    // The word for transparent pixels: at the origin the one that lands on the first stored
    // pixel when the area fills the image, elsewhere this image's own transparent value.
    unsigned short clear;
    if (position.x == 0 && position.y == 0)
        clear = image[(area.bottom - area.top - 1) * imageSize.cx];
    else
        clear = hasTransparency() ? transparent : pixels()[0];
    if (clear & 0x8000)
        clear = getTransparent().getRGB15();
    writeStandard(image, imageSize, area, position, keepTarget, clear, [](unsigned w) { return (unsigned short)w; });
}

// ---- Transformed copies and hit tests.

void m15Bit::copy(const mBitMap *source, mRect area, mRect clip, mPoint position, mFPoint origin,
                  const mTransform &t) {
    if (!source || !clipToImage(area))
        return;
    const mBHeader &s = *source->getHeader();
    unsigned short *bottomLine = row(area.bottom - 1);
    const long targetLine = header->lineBytes / 2;
    if (source->getBitmapType() == bitmap15) {
        if (!holdsRows(*source, 2))
            return;
        const unsigned short *words = static_cast<const unsigned short *>(source->getData());
        const m15Bit *colours = dynamic_cast<const m15Bit *>(source);
        const unsigned skip = colours && colours->hasTransparency() ? colours->transparent : words[0];
        mTransformWalk(area, clip, source->getSize(), position, origin, t)
            .draw(words, s.lineBytes / 2, skip, bottomLine, targetLine);
        return;
    }
    if (source->getBitmapType() != bitmap8)
        VELNOR_THROW("Unsupported transform copy into 15 bit uncompressed image", 0);
    if (!mappingTable)
        VELNOR_THROW("Conversion palette required for 8 bit to 15 bit image copy", 0);
    if (!holdsRows(*source, 1))
        return;
    // The first stored pixel is the background here, whatever the source's transparent says.
    const unsigned char *pixels = static_cast<const unsigned char *>(source->getData());
    mTransformWalk(area, clip, source->getSize(), position, origin, t)
        .draw(pixels, s.lineBytes, pixels[0], mappingTable, bottomLine, targetLine);
}

bool m15Bit::isSolid(mPoint p, const mRect &frame, mFPoint origin, const mTransform &t) {
    mPoint pixel;
    if (!t.framePixel(p, frame, origin, pixel) || !mRect(0, 0, header->width, header->height).hasPoint(pixel))
        return false;
    return !hasTransparency() || (holdsRows(*this, 2) && row(pixel.y)[pixel.x] != transparent);
}
