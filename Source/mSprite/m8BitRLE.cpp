#include "mSprite/m8BitRLE.h"

#include "mSprite/m8Bit.h"
#include "mSprite/mRLETokens.h"
#include "mUtil/mModule.h"
#include "mWindow/mPalette.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

static const char srcPath[] = "mSprite/m8BitRLE";

namespace {

void put(unsigned char *&out, unsigned char a, unsigned char b) {
    out[0] = a;
    out[1] = b;
    out += 2;
}

void putSkip(unsigned char *&out, unsigned char dx) {
    put(out, 0, 2);
    put(out, dx, 0);
}

} // namespace

// ---- Construction.

void m8BitRLE::init() {
    header->bits = 8;
    header->compression = 1;
    header->noPalette = false;
    header->lineBytes = 0;
}

m8BitRLE::m8BitRLE() { init(); }

m8BitRLE::m8BitRLE(const mBitMap &source) {
    init();
    const mBHeader &s = *source.getHeader();
    if (s.bits == 8 && s.compression == 0)
        from8Bit(source);
    else if (s.bits == 8 && s.compression == 1)
        from8BitRLE(source);
    else
        VELNOR_THROW("Cannot convert source image to RLE", 0);
}

m8BitRLE::m8BitRLE(const unsigned char *info, long length) {
    init();
    const int planes = mModule::leReadWord(info + 12);
    long count = mModule::leReadLong(info + 32);
    if (count == 0)
        count = 256;
    if (count < 0 || count > 256)
        VELNOR_THROW("256 RLE color bit map has bad color table", 0);
    if (planes == 2 || planes == 3)
        VELNOR_THROW("256 RLE  color bit map with RGB555 palette info!", 0);
    const long width = mModule::leReadLong(info + 4), height = mModule::leReadLong(info + 8);
    if (width < 0 || height < 0)
        VELNOR_THROW("Bad bitmap size", width < 0 ? width : height);
    const long start = planes == 1 ? 40 + 4 * count : planes;
    if (planes == 1) {
        if (start > length)
            VELNOR_THROW("256 RLE color bit map has bad color table", 0);
        std::vector<mColor> table(count);
        for (long i = 0; i < count; ++i) {
            const unsigned char *entry = info + 40 + 4 * i;
            table[i] = mColor(entry[2], entry[1], entry[0]);
        }
        setColors(table.data(), (int)count);
    }
    header->width = width;
    header->height = height;
    const long stream = start < length ? length - start : 0;
    allocData(stream);
    std::memcpy(data, info + start, stream);
    indexRows();
}

m8BitRLE::~m8BitRLE() {}

mBitMap *m8BitRLE::load(const void *block, long length, bool fileHeader) {
    const unsigned char *info = infoHeader(block, length, fileHeader);
    if (!info || mModule::leReadWord(info + 14) != 8 || mModule::leReadLong(info + 16) != 1)
        return nullptr;
    return new m8BitRLE(info, length);
}

void m8BitRLE::from8BitRLE(const mBitMap &source) {
    const mBHeader &s = *source.getHeader();
    copyCMap(source);
    header->width = s.width;
    header->height = s.height;
    const long size = source.getData() && s.dataSize > 0 ? s.dataSize : 0;
    allocData(size);
    std::memcpy(data, source.getData(), size);
    indexRows();
}

void m8BitRLE::from8Bit(const mBitMap &source) {
    const mBHeader &s = *source.getHeader();
    if (!holdsRows(source, 1))
        VELNOR_THROW("Cannot convert source image to RLE", 0);
    copyCMap(source);
    header->width = s.width;
    header->height = s.height;
    // The worst row: a skip in front, then single pixels between single transparent ones,
    // three bytes a pixel, and the row's end.
    const long long rowBound = 4LL * s.width + 8;
    const long long bound = rowBound * s.height + 2;
    if (bound > 0x7FFFFFF0LL)
        VELNOR_THROW("Bitmap too large", s.width);
    std::unique_ptr<unsigned char[]> work(new unsigned char[(size_t)bound]);
    const unsigned char *pixels = static_cast<const unsigned char *>(source.getData());
    const m8Bit *plain = dynamic_cast<const m8Bit *>(&source);
    const unsigned char t =
        plain && plain->hasTransparency() ? (unsigned char)plain->getTransparent() : pixels[0];
    unsigned char *out = work.get();
    for (long y = 0; y < s.height; ++y)
        rowToRLE(out, pixels + y * s.lineBytes, t);
    put(out, 0, 1);
    const long size = (long)(out - work.get());
    allocData(size);
    std::memcpy(data, work.get(), size);
    indexRows();
}

int m8BitRLE::rowToRLE(unsigned char *&out, const unsigned char *row, unsigned char t) {
    unsigned char *const start = out;
    const long width = header->width;
    if (width <= 0 || row[0] != t)
        putSkip(out, 0);
    long n = width;
    const unsigned char *p = row;
    while (n > 0) {
        if (*p == t) {
            long k = 1;
            while (k < n && p[k] == t)
                ++k;
            p += k;
            n -= k;
            for (; k > 255; k -= 255)
                putSkip(out, 255);
            putSkip(out, (unsigned char)k);
            continue;
        }
        const long m = n < 255 ? n : 255;
        const unsigned char v = *p;
        long len = 1;
        while (len < m && p[len] == v)
            ++len;
        if (len >= 3) {
            put(out, (unsigned char)len, v);
        } else {
            // A literal, ended early where three equal pixels would begin a run.
            while (len < m && p[len] != t && len < 6)
                ++len;
            if (len == 6) {
                while (len < m && p[len] != t) {
                    if (p[len] == p[len - 1] && p[len] == p[len - 2]) {
                        len -= 2;
                        break;
                    }
                    ++len;
                }
            }
            if (len >= 3) {
                put(out, 0, (unsigned char)len);
                std::memcpy(out, p, len);
                out += len;
                if (len & 1)
                    *out++ = 0;
            } else {
                for (long i = 0; i < len; ++i)
                    put(out, 1, p[i]);
            }
        }
        p += len;
        n -= len;
    }
    put(out, 0, 0);
    return (int)(out - start);
}

// ---- Reading the stream.

void m8BitRLE::indexRows() { rows.build(data, header->dataSize, header->width, header->height); }

const mRLERows &m8BitRLE::rowsOf(const mBitMap &source, mRLERows &scratch) {
    if (const m8BitRLE *own = dynamic_cast<const m8BitRLE *>(&source))
        return own->rows;
    const mBHeader &h = *source.getHeader();
    scratch.build(static_cast<const unsigned char *>(source.getData()), h.dataSize, h.width, h.height);
    return scratch;
}

bool m8BitRLE::isSolid(mPoint p) {
    if (!mRect(0, 0, header->width, header->height).hasPoint(p))
        return false;
    mPoint stored(p.x, header->height - p.y - 1);
    return scanSolid(stored);
}

bool m8BitRLE::scanSolid(mPoint &p) {
    const unsigned char *q = data, *end = streamEnd();
    long x = 0;
    rle::Token t;
    while (p.y > 0) {
        switch (rle::readToken(q, end, t)) {
        case rle::literal:
            x += t.length;
            break;
        case rle::skip:
            x += t.length;
            p.y -= t.value;
            break;
        case rle::rowEnd:
            --p.y;
            x = 0;
            break;
        case rle::imageEnd:
            return false;
        default:
            break;
        }
    }
    if (p.y != 0)
        return false;
    for (;;) {
        if (x > p.x)
            return false;
        switch (rle::readToken(q, end, t)) {
        case rle::run:
        case rle::literal:
            x += t.length;
            if (p.x < x)
                return true;
            break;
        case rle::skip:
            if (t.value != 0)
                return false;
            x += t.length;
            break;
        default:
            return false;
        }
    }
}

// How many pixels of the stream have each value.
void m8BitRLE::tallyValues(long tally[256]) const {
    const unsigned char *p = data, *end = streamEnd();
    rle::Token t;
    for (rle::Kind kind; (kind = rle::readToken(p, end, t)) != rle::imageEnd;) {
        if (kind == rle::run)
            tally[t.value] += t.length;
        else if (kind == rle::literal)
            for (long i = 0; i < t.length; ++i)
                ++tally[t.pixels[i]];
    }
}

int m8BitRLE::getUnusedIndex() const {
    long tally[256] = {};
    tallyValues(tally);
    std::vector<bool> used(256);
    for (int i = 0; i < 256; ++i)
        used[i] = tally[i] > 0;
    return freeIndex(used);
}

mColor *m8BitRLE::getUsedColors(int &count, int threshold) {
    long tally[256] = {};
    tallyValues(tally);
    return colorsUsed(tally, count, threshold);
}

// ---- Rewriting the stream in place.

void m8BitRLE::convertIndexVals(unsigned short *table) {
    const unsigned char *p = data, *end = streamEnd();
    rle::Token t;
    for (rle::Kind kind; (kind = rle::readToken(p, end, t)) != rle::imageEnd;) {
        if (kind == rle::run)
            data[p - data - 1] = (unsigned char)table[t.value];
        else if (kind == rle::literal)
            for (unsigned char *v = data + (t.pixels - data), *stop = v + t.length; v < stop; ++v)
                *v = (unsigned char)table[*v];
    }
    indexRows();
}

void m8BitRLE::changePalette(const mPalette &palette, bool firstPixelTransparent) {
    std::unique_ptr<unsigned short[]> table(createNewIndicies(palette, 256, -1));
    convertIndexVals(table.get());
    copyPalette(palette, 0, 0, palette.getColorCount());
}

void m8BitRLE::flip() {
    mirrorRows();
    indexRows();
}

// Each row is rebuilt in the same bytes: its leading skip becomes the skip over what the
// row leaves uncovered on the right, and the other tokens follow in reverse order.
void m8BitRLE::mirrorRows() {
    const unsigned char *p = data, *end = streamEnd();
    // No row's tokens can outgrow the stream.
    std::vector<unsigned char> scratch(header->dataSize > 0 ? header->dataSize : 1);
    unsigned char *const scratchEnd = scratch.data() + scratch.size();
    rle::Token t;
    for (;;) {
        const unsigned char *rowStart = p;
        const rle::Kind first = rle::readToken(p, end, t);
        if (first == rle::imageEnd)
            return;
        if (first == rle::rowEnd)
            continue;
        if (first != rle::skip) {
            // A row without its leading skip has no room for the new one; it stays as it is.
            if (!rle::passRow(p, end))
                return;
            continue;
        }
        long x = header->width - t.length;
        unsigned char *back = scratchEnd;
        for (;;) {
            const unsigned char *tokenStart = p;
            const rle::Kind kind = rle::readToken(p, end, t);
            if (kind == rle::imageEnd)
                return;
            if (kind == rle::rowEnd)
                break;
            const long size = (long)(p - tokenStart);
            back -= size;
            std::memcpy(back, tokenStart, size);
            if (kind == rle::literal)
                std::reverse(back + 2, back + 2 + t.length);
            x -= t.length;
        }
        if (x < 0)
            x = 0;
        unsigned char *row = data + (rowStart - data);
        putSkip(row, (unsigned char)(x & 0xFF));
        row[-1] = (unsigned char)(x >> 8);
        std::memcpy(row, back, scratchEnd - back);
    }
}
