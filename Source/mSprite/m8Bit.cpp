#include "mSprite/m8Bit.h"

#include "mSprite/m15Bit.h"
#include "mSprite/m8BitRLE.h"
#include "mSprite/mTransform.h"
#include "mUtil/mModule.h"
#include "mWindow/mPalette.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

static const char srcPath[] = "mSprite/m8Bit";

namespace {

// The 12-bit key of the mapping table: four bits of each channel.
inline unsigned keyOf(unsigned red4, unsigned green4, unsigned blue4) { return (red4 << 8) | (green4 << 4) | blue4; }
inline unsigned keyOf(const mColor &c) { return keyOf(c.getRed() >> 4, c.getGreen() >> 4, c.getBlue() >> 4); }

struct mOffset {
    signed char dr, dg, db;
};

// The offsets of the mapping search, nearest first, each triple expanded into its
// permutations and, unless it starts with 0, their negations.
const std::vector<mOffset> &searchOffsets() {
    static const signed char triples[][3] = {{0, 0, 0},  {1, 0, 0},   {1, 1, 0},  {1, 1, 1},  {1, -1, 0},  {2, 1, 1},
                                             {2, 0, 0},  {2, 1, 0},   {-2, 1, 0}, {2, 1, -1}, {2, -1, 1},  {2, -1, -1},
                                             {3, 0, 0},  {3, 1, 0},   {3, 1, 1},  {3, 1, -1}, {3, -1, 0},  {3, -1, 1}};
    static std::vector<mOffset> offsets;
    if (!offsets.empty())
        return offsets;
    for (const auto &t : triples) {
        const signed char a = t[0], b = t[1], c = t[2];
        mOffset group[6];
        int n = 0;
        if (a == b && b == c) {
            group[n++] = {a, a, a};
        } else if (a == b) {
            group[n++] = {b, b, c};
            group[n++] = {b, c, b};
            group[n++] = {c, b, b};
        } else if (b == c) {
            group[n++] = {b, b, a};
            group[n++] = {b, a, b};
            group[n++] = {a, b, b};
        } else {
            group[n++] = {a, b, c};
            group[n++] = {a, c, b};
            group[n++] = {b, a, c};
            group[n++] = {c, a, b};
            group[n++] = {b, c, a};
            group[n++] = {c, b, a};
        }
        offsets.insert(offsets.end(), group, group + n);
        for (int i = 0; a != 0 && i < n; ++i)
            offsets.push_back({(signed char)-group[i].dr, (signed char)-group[i].dg, (signed char)-group[i].db});
    }
    return offsets;
}

} // namespace

// ---- Construction.

void m8Bit::init() {
    header->bits = 8;
    header->compression = 0;
    header->noPalette = false;
    mapping = nullptr;
    conversionTransparent = mColor(true);
    conversionIndex = -1;
    transparent = -1;
}

m8Bit::m8Bit() { init(); }

m8Bit::m8Bit(const mSize &size, const mPalette *palette) {
    init();
    allocPixels(size.cx, size.cy, 1);
    setColors(palette);
}

m8Bit::m8Bit(const mBitMap &source, const mBitMap *mappingImage) {
    init();
    const mBHeader &s = *source.getHeader();
    const mSize size = source.getSize();
    if (s.bits == 8 && (s.compression == 0 || s.compression == 1)) {
        copyCMap(source);
        allocPixels(size.cx, size.cy, 1);
        if (s.compression == 1) {
            const int background = source.getUnusedIndex();
            std::memset(data, background < 0 ? 0 : background, header->dataSize);
        }
        copy(&source, mRect(0, 0, size.cx, size.cy), mPoint(0, 0));
        return;
    }
    if (!mappingImage)
        VELNOR_THROW("Clone to 8 bit requires mapping image", 0);
    if (mappingImage->getBitmapType() != bitmap8)
        VELNOR_THROW("Clone requires mapping bitmap to be m8Bit", 0);
    const m8Bit *lender = dynamic_cast<const m8Bit *>(mappingImage);
    if (!lender || !lender->mapping)
        VELNOR_THROW("Close to 8 bit requires image with setMapping() called", 0);
    copyCMap(*lender);
    allocPixels(size.cx, size.cy, 1);
    // The table is borrowed for this one copy; on a throw the object is gone and frees nothing of it.
    mapping = lender->mapping;
    conversionIndex = lender->conversionIndex;
    conversionTransparent = lender->conversionTransparent;
    copy(&source, mRect(0, 0, size.cx, size.cy), mPoint(0, 0));
    mapping = nullptr;
    conversionIndex = -1;
}

m8Bit::m8Bit(const unsigned char *info, long length) {
    init();
    const int planes = mModule::leReadWord(info + 12);
    const int bitsPerPixel = mModule::leReadWord(info + 14);
    long count = mModule::leReadLong(info + 32);
    if (count == 0)
        count = 1L << bitsPerPixel;
    if (count < 0 || count > 256)
        VELNOR_THROW("256 color bit map has bad color table", 0);
    const long width = mModule::leReadLong(info + 4), height = mModule::leReadLong(info + 8);
    const long long start = planes == 2 ? 40 + 2 * count : planes == 1 || planes == 3 ? 40 + 4 * count : planes;
    const long long sourceLine =
        bitsPerPixel == 8 ? ((long long)width + 3) & ~3LL : (((long long)width + 1) / 2 + 3) & ~3LL;
    if (width < 0 || height < 0 || length - start < sourceLine * height)
        VELNOR_THROW("256 color bit has insufficient data", 0);

    if (planes == 1) {
        std::vector<mColor> table(count);
        for (long i = 0; i < count; ++i) {
            const unsigned char *entry = info + 40 + 4 * i;
            table[i] = mColor(entry[2], entry[1], entry[0]);
        }
        setColors(table.data(), (int)count);
    } else if (planes == 2 || planes == 3) {
        std::vector<mColor> table(count);
        for (long i = 0; i < count; ++i)
            table[i].setRGB15(mModule::leReadWord(info + 40 + 2 * i));
        setColors(table.data(), (int)count);
        if (start < length)
            transparent = info[start];
    }

    allocPixels(width, height, 1);
    const unsigned char *pixels = info + start;
    if (bitsPerPixel == 8) {
        std::memcpy(data, pixels, header->dataSize);
        return;
    }
    // Four bits: an index each, or through the first bytes of the table that lies behind
    // the header when the planes field names the start of the pixels.
    unsigned char nibble[16];
    for (int i = 0; i < 16; ++i)
        nibble[i] = (unsigned char)(planes > 3 && i < count && 40 + 4 * i < length ? info[40 + 4 * i] : i);
    const long pairs = (width + 1) / 2;
    for (long y = 0; y < height; ++y) {
        const unsigned char *from = pixels + y * sourceLine;
        unsigned char *to = data + y * header->lineBytes;
        for (long i = 0; i < pairs; ++i) {
            to[2 * i] = nibble[from[i] >> 4];
            to[2 * i + 1] = nibble[from[i] & 15];
        }
    }
}

m8Bit::~m8Bit() { delete[] mapping; }

mBitMap *m8Bit::load(const void *block, long length, bool fileHeader) {
    const unsigned char *info = infoHeader(block, length, fileHeader);
    if (!info)
        return nullptr;
    const int bitsPerPixel = mModule::leReadWord(info + 14);
    if ((bitsPerPixel != 8 && bitsPerPixel != 4) || mModule::leReadLong(info + 16) != 0)
        return nullptr;
    return new m8Bit(info, length);
}

mBitMap *m8Bit::createBlank(int bits, const mSize &size, const mPalette *palette) {
    return bits > 8 ? nullptr : new m8Bit(size, palette);
}

// ---- Transparency.

bool m8Bit::hasTransparency() const { return (unsigned short)transparent < 65535; }

void m8Bit::setTransparent() { transparent = data ? data[0] : -1; }

void m8Bit::setTransparent(const mColor &color) { transparent = color.isTransparent() ? -1 : indexOf(color); }

bool m8Bit::isSolid(mPoint p) {
    if (!hasTransparency())
        return true;
    if (!mRect(0, 0, header->width, header->height).hasPoint(p))
        return false;
    return row(p.y)[p.x] != (unsigned char)transparent;
}

unsigned char m8Bit::indexOf(const mColor &color) const {
    std::unique_ptr<mPalette> palette(getPalette());
    if (!palette)
        VELNOR_THROW("Color of a bitmap without color table", 0);
    return (unsigned char)palette->getIndex(color);
}

// ---- Copies.

void m8Bit::copy(const mBitMap *source, mRect sourceRect, mPoint position) {
    if (!source || !clipCopy(source, sourceRect, position))
        return;
    if (source->getBitmapType() == bitmap15) {
        const m15Bit *colours = dynamic_cast<const m15Bit *>(source);
        if (!colours)
            VELNOR_THROW("Unsupported copy into 8 bit uncompressed image", 0);
        copy15(*colours, sourceRect, position);
        return;
    }
    const mBHeader &s = *source->getHeader();
    if (s.bits != 8 || (s.compression != 0 && s.compression != 1))
        VELNOR_THROW("Unsupported copy into 8 bit uncompressed image", 0);
    if (s.compression == 1) {
        unsigned char *bottomLeft = row(position.y + sourceRect.height() - 1) + position.x;
        mRLERows scratch;
        m8BitRLE::rowsOf(*source, scratch).draw(sourceRect, bottomLeft, header->lineBytes);
        return;
    }
    copyPlain(*source, sourceRect, position);
}

// Rows go bottom up through memory; the order of rows does not matter between two images.
void m8Bit::copyPlain(const mBitMap &source, const mRect &r, mPoint position) {
    const mBHeader &s = *source.getHeader();
    if (!holdsRows(source, 1))
        return;
    const long sourceLine = s.lineBytes, targetLine = header->lineBytes;
    const long cols = r.width(), rows = r.height();
    const unsigned char *from =
        static_cast<const unsigned char *>(source.getData()) + (s.height - r.bottom) * sourceLine + r.left;
    unsigned char *to = row(position.y + rows - 1) + position.x;

    const m8Bit *plain = dynamic_cast<const m8Bit *>(&source);
    if (!plain || !plain->hasTransparency()) {
        if (cols == sourceLine && cols == targetLine) {
            std::memcpy(to, from, (size_t)cols * rows);
            return;
        }
        for (long y = 0; y < rows; ++y, from += sourceLine, to += targetLine)
            std::memcpy(to, from, cols);
        return;
    }
    // A select rather than a branch per pixel: the target is read and written back, which
    // lets the compiler handle many pixels at once.
    const unsigned char t = (unsigned char)plain->transparent;
    for (long y = 0; y < rows; ++y, from += sourceLine, to += targetLine) {
        for (long x = 0; x < cols; ++x) {
            const unsigned char v = from[x];
            to[x] = v == t ? to[x] : v;
        }
    }
}

void m8Bit::copy15(const m15Bit &source, const mRect &r, mPoint position) {
    if (!mapping)
        VELNOR_THROW("m8Bit::setMapping() not called before copy 15 bit source", 0);
    const mBHeader &s = *source.getHeader();
    if (!holdsRows(source, 2))
        return;
    const long sourceLine = s.lineBytes / 2, targetLine = header->lineBytes;
    const long cols = r.width(), rows = r.height();
    const unsigned short *from =
        static_cast<const unsigned short *>(source.getData()) + (s.height - r.bottom) * sourceLine + r.left;
    unsigned char *to = row(position.y + rows - 1) + position.x;
    // No pixel word reaches 0x10000, so a source without transparency skips nothing.
    const unsigned t = source.hasTransparency() ? source.transparent : 0x10000;
    const unsigned char *map = mapping;
    for (long y = 0; y < rows; ++y, from += sourceLine, to += targetLine) {
        for (long x = 0; x < cols; ++x) {
            const unsigned v = from[x];
            if (v != t)
                to[x] = map[mappingKey(v)];
        }
    }
}

// ---- Drawing in place.

void m8Bit::fill(const mColor &color) { fill(mRect(0, 0, header->width, header->height), color); }

void m8Bit::fill(mRect area, const mColor &color) {
    if (!clipToImage(area))
        return;
    const unsigned char value = color.isTransparent() ? (unsigned char)transparent : indexOf(color);
    for (long y = area.top; y < area.bottom; ++y)
        std::memset(row(y) + area.left, value, area.width());
}

void m8Bit::flip() {
    for (long y = 0; y < header->height; ++y) {
        unsigned char *line = data + y * header->lineBytes;
        std::reverse(line, line + header->width);
    }
}

void m8Bit::scroll(const mRect &area, int dx, int dy, mColor &fillColor) { scrollPixels(area, dx, dy, fillColor, 1); }

// ---- Colours.

void m8Bit::changePalette(const mPalette &palette, bool firstPixelTransparent) {
    int t = -1;
    if (hasTransparency())
        t = (unsigned char)transparent;
    else if (firstPixelTransparent && data)
        t = data[0];
    std::unique_ptr<unsigned short[]> table(createNewIndicies(palette, 256, t));
    if (t >= 0)
        transparent = (short)(table[t] & 0xFF);
    for (long i = 0; i < header->dataSize; ++i)
        data[i] = (unsigned char)table[data[i]];
    copyPalette(palette, 0, 0, palette.getColorCount());
}

mColor *m8Bit::getUsedColors(int &count, int threshold) {
    long tally[256] = {};
    for (long y = 0; y < header->height; ++y) {
        const unsigned char *line = data + y * header->lineBytes;
        for (long x = 0; x < header->width; ++x)
            ++tally[line[x]];
    }
    return colorsUsed(tally, count, threshold);
}

void m8Bit::setMapping(const mPalette *palette, mColor transparentColor) {
    if (!palette) {
        delete[] mapping;
        mapping = nullptr;
        return;
    }
    setColors(palette);
    conversionTransparent = transparentColor;
    if (!mapping)
        mapping = new unsigned char[4096];
    std::vector<bool> filled(4096, false);
    int open = 4096;
    conversionIndex = -1;
    if (!transparentColor.isTransparent()) {
        const unsigned key = keyOf(transparentColor);
        filled[key] = true;
        --open;
        conversionIndex = getClosestIndex((unsigned short)key);
        mapping[key] = (unsigned char)conversionIndex;
    }
    const mColor *colors = header->colors;
    const int count = header->colorCount;
    for (const mOffset &o : searchOffsets()) {
        if (!open)
            break;
        for (int i = 0; i < count; ++i) {
            const int r = (colors[i].getRed() >> 4) + o.dr;
            const int g = (colors[i].getGreen() >> 4) + o.dg;
            const int b = (colors[i].getBlue() >> 4) + o.db;
            if (r < 0 || r > 15 || g < 0 || g > 15 || b < 0 || b > 15)
                continue;
            const unsigned key = keyOf(r, g, b);
            if (!filled[key] && i != conversionIndex) {
                mapping[key] = (unsigned char)i;
                filled[key] = true;
                --open;
            }
        }
    }
    for (unsigned key = 0; open && key < 4096; ++key) {
        if (!filled[key]) {
            mapping[key] = (unsigned char)getClosestIndex((unsigned short)key);
            --open;
        }
    }
}

int m8Bit::getClosestIndex(unsigned short key) {
    const int kr = key >> 8, kg = (key >> 4) & 15, kb = key & 15;
    int best = 32767, index = 0;
    for (int i = 0; header->colors && i < header->colorCount; ++i) {
        if (i == conversionIndex)
            continue;
        const mColor &c = header->colors[i];
        const int dr = (c.getRed() >> 4) - kr, dg = (c.getGreen() >> 4) - kg, db = (c.getBlue() >> 4) - kb;
        const int distance = dr * dr + dg * dg + db * db;
        if (distance < best) {
            best = distance;
            index = i;
        }
    }
    return index;
}

// ---- The standard image.

unsigned short *m8Bit::getStdImage(const mRect &area, bool opaque) const {
    if (!mapping)
        VELNOR_THROW("m8Bit::setMapping() not called before getStdImage", 0);
    if (!isWithin(area, getSize()))
        VELNOR_THROW("Requested standard image not contained in source", 0);
    unsigned short words[256] = {};
    for (int i = 0; i < header->colorCount && i < 256; ++i)
        words[i] = header->colors[i].getRGB15();
    const unsigned t = hasTransparency() ? (unsigned char)transparent : data[0];
    return readStandard<unsigned char>(area, opaque ? 0x100 : t, [&](unsigned char v) { return words[v]; });
}

void m8Bit::writeStdImage(const unsigned short *image, const mSize &imageSize, const mRect &area,
                          const mPoint &position, bool keepTarget) {
    if (!mapping)
        VELNOR_THROW("m8Bit::setMapping() not called before writeStdImage", 0);
    if (!isWithin(area, imageSize))
        VELNOR_THROW("Write of standard image not contained in source", 0);
    if (!fitsAt(position, mSize(area.width(), area.height()), getSize()))
        VELNOR_THROW("Standard image does not fit in target", 0);
    if (!image)
        return;
    const unsigned char clear = (unsigned char)(hasTransparency() ? transparent : conversionIndex);
    const unsigned char *map = mapping;
    writeStandard(image, imageSize, area, position, keepTarget, clear, [map](unsigned w) { return map[mappingKey(w)]; });
}

// ---- Transformed copies and hit tests.

void m8Bit::copy(const mBitMap *source, mRect area, mRect clip, mPoint position, mFPoint origin,
                 const mTransform &t) {
    if (!source || !clipToImage(area))
        return;
    const mBHeader &s = *source->getHeader();
    unsigned char *bottomLine = row(area.bottom - 1);
    if (source->getBitmapType() == bitmap15) {
        const m15Bit *colours = dynamic_cast<const m15Bit *>(source);
        if (!colours)
            VELNOR_THROW("Unsupported transform copy into 8 bit uncompressed image", 0);
        if (!mapping)
            VELNOR_THROW("m8Bit::setMapping() not called before copy 15 bit source", 0);
        if (!holdsRows(*source, 2))
            return;
        // No pixel word reaches 0x10000, so a source without transparency skips nothing.
        const unsigned skip = colours->hasTransparency() ? colours->transparent : 0x10000;
        mTransformWalk(area, clip, source->getSize(), position, origin, t)
            .draw(static_cast<const unsigned short *>(source->getData()), s.lineBytes / 2, skip, mapping, bottomLine,
                  header->lineBytes);
        return;
    }
    if (s.bits != 8 || s.compression != 0)
        VELNOR_THROW("Unsupported transform copy into 8 bit uncompressed image", 0);
    if (!holdsRows(*source, 1))
        return;
    const unsigned char *pixels = static_cast<const unsigned char *>(source->getData());
    // Without a transparent value of its own, the first stored pixel stands for the background.
    const m8Bit *plain = dynamic_cast<const m8Bit *>(source);
    const unsigned skip = plain && plain->hasTransparency() ? (unsigned char)plain->transparent : pixels[0];
    mTransformWalk(area, clip, source->getSize(), position, origin, t)
        .draw(pixels, s.lineBytes, skip, bottomLine, header->lineBytes);
}

// Solid where the pixel differs from the first stored one; the transparent value plays no
// part here.
bool m8Bit::isSolid(mPoint p, const mRect &frame, mFPoint origin, const mTransform &t) {
    mPoint pixel;
    if (!t.framePixel(p, frame, origin, pixel) || !holdsRows(*this, 1) ||
        !mRect(0, 0, header->width, header->height).hasPoint(pixel))
        return false;
    return row(pixel.y)[pixel.x] != data[0];
}
