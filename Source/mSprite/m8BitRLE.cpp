#include "mSprite/m8BitRLE.h"

#include "mSprite/m8Bit.h"
#include "mUtil/mModule.h"
#include "mWindow/mPalette.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

static const char srcPath[] = "mSprite/m8BitRLE";

namespace {

// ---- The token stream: c v a run, 00 00 a row's end, 00 01 the image's end,
// 00 02 dx dy a skip, 00 n and n bytes (padded to even) a literal.

// The kinds that cover pixels come first: a row goes on while a token's kind is below tokenRowEnd.
enum mTokenKind { tokenRun, tokenSkip, tokenLiteral, tokenRowEnd, tokenImageEnd };

struct mToken {
    mTokenKind kind;
    long length;                 // pixels covered by a run, skip or literal
    unsigned value;              // the value of a run, the dy of a skip
    const unsigned char *pixels; // the bytes of a literal
};

// Reads the token at `p` and moves `p` behind it. A token cut off by the end of the
// stream reads as the end of the image, so that no walk ever leaves the stream.
inline mTokenKind readToken(const unsigned char *&p, const unsigned char *end, mToken &t) {
    const long left = end - p;
    if (left < 2)
        return t.kind = tokenImageEnd;
    const unsigned c = p[0], v = p[1];
    if (c) {
        t.length = c;
        t.value = v;
        p += 2;
        return t.kind = tokenRun;
    }
    if (v < 2) {
        p += 2;
        return t.kind = v ? tokenImageEnd : tokenRowEnd;
    }
    if (v == 2) {
        if (left < 4)
            return t.kind = tokenImageEnd;
        t.length = p[2];
        t.value = p[3];
        p += 4;
        return t.kind = tokenSkip;
    }
    if (left < 2 + (long)v)
        return t.kind = tokenImageEnd;
    t.length = v;
    t.pixels = p + 2;
    // The pad byte of the stream's very last literal may be missing.
    p += left < 2 + (long)(v + (v & 1)) ? 2 + v : 2 + v + (v & 1);
    return t.kind = tokenLiteral;
}

// Passes the tokens up to the end of the present row; false if the image ends first.
inline bool passRow(const unsigned char *&p, const unsigned char *end) {
    mToken t;
    mTokenKind kind;
    while ((kind = readToken(p, end, t)) < tokenRowEnd) {
    }
    return kind == tokenRowEnd;
}

// ---- Writing decoded pixels into a plain target.

// Moves of any length in eight-byte units, the last unit overlapping the one before, so
// that a few stores and no byte loop serve every length; nothing outside [0, n) is touched.
struct mWrite8 {
    typedef unsigned char Pixel;
    void run(Pixel *to, long n, unsigned v) const {
        const uint64_t eight = v * 0x0101010101010101ULL;
        if (n >= 8) {
            for (long i = 0; i + 8 < n; i += 8)
                std::memcpy(to + i, &eight, 8);
            std::memcpy(to + n - 8, &eight, 8);
        } else if (n >= 4) {
            std::memcpy(to, &eight, 4);
            std::memcpy(to + n - 4, &eight, 4);
        } else if (n > 0) {
            to[0] = to[n / 2] = to[n - 1] = (Pixel)v;
        }
    }
    void literal(Pixel *to, const unsigned char *from, long n) const {
        if (n >= 8) {
            uint64_t eight;
            for (long i = 0; i + 8 < n; i += 8) {
                std::memcpy(&eight, from + i, 8);
                std::memcpy(to + i, &eight, 8);
            }
            std::memcpy(&eight, from + n - 8, 8);
            std::memcpy(to + n - 8, &eight, 8);
        } else if (n >= 4) {
            uint32_t head, tail;
            std::memcpy(&head, from, 4);
            std::memcpy(&tail, from + n - 4, 4);
            std::memcpy(to, &head, 4);
            std::memcpy(to + n - 4, &tail, 4);
        } else if (n > 0) {
            to[0] = from[0];
            to[n / 2] = from[n / 2];
            to[n - 1] = from[n - 1];
        }
    }
};

struct mWrite15 {
    typedef unsigned short Pixel;
    const unsigned short *table;
    void run(Pixel *to, long n, unsigned v) const {
        const uint64_t four = table[v] * 0x0001000100010001ULL;
        if (n >= 4) {
            for (long i = 0; i + 4 < n; i += 4)
                std::memcpy(to + i, &four, 8);
            std::memcpy(to + n - 4, &four, 8);
        } else if (n > 0) {
            to[0] = to[n / 2] = to[n - 1] = (Pixel)four;
        }
    }
    void literal(Pixel *to, const unsigned char *from, long n) const {
        for (long i = 0; i < n; ++i)
            to[i] = table[from[i]];
    }
};

// Draws one stream row. `left` columns are passed over first (only when Clipped), then at
// most `room` are drawn; the rest of the row is passed over. False if the image ends.
template <bool Clipped, class Writer>
inline bool drawRow(const unsigned char *&p, const unsigned char *end, typename Writer::Pixel *to, long left,
                    long room, const Writer &write) {
    mToken t;
    mTokenKind kind;
    while ((kind = readToken(p, end, t)) < tokenRowEnd) {
        long n = t.length;
        const unsigned char *bytes = t.pixels;
        if (Clipped && left > 0) {
            if (n <= left) {
                left -= n;
                continue;
            }
            if (kind == tokenLiteral)
                bytes += left;
            n -= left;
            left = 0;
        }
        if (n > room)
            n = room;
        if (kind == tokenRun)
            write.run(to, n, t.value);
        else if (kind == tokenLiteral)
            write.literal(to, bytes, n);
        to += n;
        room -= n;
        if (room == 0)
            return passRow(p, end);
    }
    return kind == tokenRowEnd;
}

template <class Writer>
void decode(const mBitMap &source, const mRect &area, typename Writer::Pixel *to, long linePixels,
            const Writer &write) {
    const mBHeader &h = *source.getHeader();
    const unsigned char *p = static_cast<const unsigned char *>(source.getData());
    const long rows = area.height(), cols = area.width();
    if (!p || h.dataSize < 2 || rows <= 0 || cols <= 0 || area.left < 0)
        return;
    const unsigned char *end = p + h.dataSize;
    for (long below = h.height - area.bottom; below > 0; --below) {
        if (!passRow(p, end))
            return;
    }
    // The loop without a left edge is chosen once for the whole copy.
    if (area.left == 0 && cols >= h.width) {
        for (long r = 0; r < rows && drawRow<false>(p, end, to, 0, cols, write); ++r)
            to += linePixels;
    } else {
        for (long r = 0; r < rows && drawRow<true>(p, end, to, area.left, cols, write); ++r)
            to += linePixels;
    }
}

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

void m8BitRLE::decodeInto(const mBitMap &source, const mRect &area, unsigned char *bottomLeft, long linePixels) {
    decode(source, area, bottomLeft, linePixels, mWrite8());
}

void m8BitRLE::decodeInto(const mBitMap &source, const mRect &area, unsigned short *bottomLeft, long linePixels,
                          const unsigned short *table) {
    decode(source, area, bottomLeft, linePixels, mWrite15{table});
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
    mToken t;
    while (p.y > 0) {
        switch (readToken(q, end, t)) {
        case tokenLiteral:
            x += t.length;
            break;
        case tokenSkip:
            x += t.length;
            p.y -= t.value;
            break;
        case tokenRowEnd:
            --p.y;
            x = 0;
            break;
        case tokenImageEnd:
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
        switch (readToken(q, end, t)) {
        case tokenRun:
        case tokenLiteral:
            x += t.length;
            if (p.x < x)
                return true;
            break;
        case tokenSkip:
            if (t.value != 0)
                return false;
            x += t.length;
            break;
        default:
            return false;
        }
    }
}

int m8BitRLE::getUnusedIndex() const {
    std::vector<bool> used(256, false);
    const unsigned char *p = data, *end = streamEnd();
    mToken t;
    for (mTokenKind kind; (kind = readToken(p, end, t)) != tokenImageEnd;) {
        if (kind == tokenRun)
            used[t.value] = true;
        else if (kind == tokenLiteral)
            for (long i = 0; i < t.length; ++i)
                used[t.pixels[i]] = true;
    }
    return freeIndex(used);
}

mColor *m8BitRLE::getUsedColors(int &count, int threshold) {
    long tally[256] = {};
    const unsigned char *p = data, *end = streamEnd();
    mToken t;
    for (mTokenKind kind; (kind = readToken(p, end, t)) != tokenImageEnd;) {
        if (kind == tokenRun)
            tally[t.value] += t.length;
        else if (kind == tokenLiteral)
            for (long i = 0; i < t.length; ++i)
                ++tally[t.pixels[i]];
    }
    return colorsUsed(tally, count, threshold);
}

// ---- Rewriting the stream in place.

void m8BitRLE::convertIndexVals(unsigned short *table) {
    const unsigned char *p = data, *end = streamEnd();
    mToken t;
    for (mTokenKind kind; (kind = readToken(p, end, t)) != tokenImageEnd;) {
        if (kind == tokenRun)
            data[p - data - 1] = (unsigned char)table[t.value];
        else if (kind == tokenLiteral)
            for (unsigned char *v = data + (t.pixels - data), *stop = v + t.length; v < stop; ++v)
                *v = (unsigned char)table[*v];
    }
}

void m8BitRLE::changePalette(const mPalette &palette, bool firstPixelTransparent) {
    std::unique_ptr<unsigned short[]> table(createNewIndicies(palette, 256, -1));
    convertIndexVals(table.get());
    copyPalette(palette, 0, 0, palette.getColorCount());
}

// Each row is rebuilt in the same bytes: its leading skip becomes the skip over what the
// row leaves uncovered on the right, and the other tokens follow in reverse order.
void m8BitRLE::flip() {
    const unsigned char *p = data, *end = streamEnd();
    // No row's tokens can outgrow the stream.
    std::vector<unsigned char> scratch(header->dataSize > 0 ? header->dataSize : 1);
    unsigned char *const scratchEnd = scratch.data() + scratch.size();
    mToken t;
    for (;;) {
        const unsigned char *rowStart = p;
        const mTokenKind first = readToken(p, end, t);
        if (first == tokenImageEnd)
            return;
        if (first == tokenRowEnd)
            continue;
        if (first != tokenSkip) {
            // A row without its leading skip has no room for the new one; it stays as it is.
            if (!passRow(p, end))
                return;
            continue;
        }
        long x = header->width - t.length;
        unsigned char *back = scratchEnd;
        for (;;) {
            const unsigned char *tokenStart = p;
            const mTokenKind kind = readToken(p, end, t);
            if (kind == tokenImageEnd)
                return;
            if (kind == tokenRowEnd)
                break;
            const long size = (long)(p - tokenStart);
            back -= size;
            std::memcpy(back, tokenStart, size);
            if (kind == tokenLiteral)
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
