// Helpers of the image tests: owning handles, payload builders and pixel access by
// top-down coordinates, written independently of the library's own row arithmetic.
#pragma once
#include "mSprite/m15Bit.h"
#include "mSprite/m8Bit.h"
#include "mSprite/m8BitRLE.h"
#include "mWindow/mPalette.h"

#include "Fenced.h"
#include "mUtil/mApp.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

typedef std::vector<unsigned char> Bytes;
typedef std::vector<unsigned short> Words;

inline void putBytes(Bytes &out, unsigned long v, int bytes) {
    for (int i = 0; i < bytes; ++i)
        out.push_back((unsigned char)(v >> (8 * i)));
}

// A bitmap payload: info header (and optionally the 14-byte file header), then `table`
// and `pixels` as given.
struct Payload {
    Payload(long width, long height, int bitsPerPixel = 8, int planes = 1, const Bytes &pixels = Bytes())
        : width(width), height(height), planes(planes), bitsPerPixel(bitsPerPixel), pixels(pixels) {}

    long width, height;
    int planes, bitsPerPixel, compression = 0;
    long colorsUsed = 0;
    Bytes table, pixels;

    Bytes build(bool fileHeader) const {
        Bytes out;
        if (fileHeader) {
            out = {'B', 'M'};
            for (unsigned long v : {0UL, 0UL, (unsigned long)(54 + table.size())})
                putBytes(out, v, 4);
        }
        for (long v : {40L, width, height})
            putBytes(out, v, 4);
        putBytes(out, planes, 2);
        putBytes(out, bitsPerPixel, 2);
        for (long v : {(long)compression, 0L, 0L, 0L, colorsUsed, 0L})
            putBytes(out, v, 4);
        out.insert(out.end(), table.begin(), table.end());
        out.insert(out.end(), pixels.begin(), pixels.end());
        return out;
    }
};

// Images are released through free(); these hold one use.
struct FreeImage {
    void operator()(mBitMap *image) const {
        if (image)
            image->free();
    }
};
template <class T> using Owned = std::unique_ptr<T, FreeImage>;

template <class T> Owned<T> own(T *image) { return Owned<T>(image); }

inline Owned<mBitMap> createFrom(const Payload &p, bool fileHeader = false) {
    const Bytes block = p.build(fileHeader);
    return own(mBitMap::create(block.data(), (long)block.size(), fileHeader));
}

inline const mBHeader &head(const mBitMap &image) { return *image.getHeader(); }

// Pixels by top-down coordinates, stored bottom row first.
inline unsigned char *row8(mBitMap &image, long y) {
    const mBHeader &h = head(image);
    return static_cast<unsigned char *>(const_cast<void *>(image.getData())) + (h.height - 1 - y) * h.lineBytes;
}
inline unsigned char &px8(mBitMap &image, long x, long y) { return row8(image, y)[x]; }
inline unsigned short &px15(mBitMap &image, long x, long y) {
    return reinterpret_cast<unsigned short *>(row8(image, y))[x];
}
// A pixel of either plain depth.
inline int pixelAt(mBitMap &image, long x, long y) { return head(image).bits == 8 ? px8(image, x, y) : px15(image, x, y); }

// The whole data block, padding included.
inline Bytes blockOf(const mBitMap &image) {
    const unsigned char *p = static_cast<const unsigned char *>(image.getData());
    return Bytes(p, p + head(image).dataSize);
}

// The standard image of `area`, and the colours in use as RGB values.
inline Words stdImage(const mBitMap &image, const mRect &area, bool opaque) {
    std::unique_ptr<unsigned short[]> words(image.getStdImage(area, opaque));
    return Words(words.get(), words.get() + area.width() * area.height());
}
inline std::vector<unsigned long> usedColors(mBitMap &image, int threshold) {
    int count = 0;
    std::unique_ptr<mColor[]> used(image.getUsedColors(count, threshold));
    std::vector<unsigned long> rgb;
    for (int i = 0; i < count; ++i)
        rgb.push_back(used[i].getRGB());
    return rgb;
}

// A palette of `count` distinct colours, entry i being (i, 255 - i, i * 7).
inline std::vector<mColor> rampColors(int count) {
    std::vector<mColor> colors;
    for (int i = 0; i < count; ++i)
        colors.push_back(mColor(i, 255 - i, (i * 7) & 255));
    return colors;
}

inline mPalette paletteOf(const std::vector<mColor> &colors) { return mPalette(colors.data(), (int)colors.size()); }

// An 8-bit image with colours, filled by f(x, y).
template <class F> Owned<m8Bit> make8(long width, long height, const mPalette *palette, F f) {
    Owned<m8Bit> image(new m8Bit(mSize(width, height), palette));
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x)
            px8(*image, x, y) = (unsigned char)f(x, y);
    return image;
}

template <class F> Owned<m15Bit> make15(long width, long height, F f) {
    Owned<m15Bit> image(new m15Bit(mSize(width, height)));
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x)
            px15(*image, x, y) = (unsigned short)f(x, y);
    return image;
}

// A run-length image straight from a token stream, through the payload loader.
inline Owned<mBitMap> rleFromStream(long width, long height, const Bytes &stream) {
    Payload p(width, height, 8, 40, stream); // no colour table: the tokens follow the header
    p.compression = 1;
    return createFrom(p);
}

// A small pseudo-random sequence, the same on every run.
struct Lcg {
    uint32_t state;
    explicit Lcg(uint32_t seed) : state(seed) {}
    uint32_t next() { return state = state * 1664525u + 1013904223u; }
    long in(long lo, long hi) { return lo + (long)((next() >> 8) % (uint32_t)(hi - lo + 1)); }
};

// A rectangle around and across an image of w by h, at times empty or inverted.
inline mRect randomRect(Lcg &rng, long w, long h) {
    const long l = rng.in(-w, 2 * w), t = rng.in(-h, 2 * h);
    return mRect(l, t, l + rng.in(-3, 2 * w + 3), t + rng.in(-3, 2 * h + 3));
}

// Copies `from` into many targets of the depth of Pixel (15-bit ones with `mapping`), each
// block fenced by an inaccessible page on one side, with random rectangles and positions,
// and compares every byte with what a copy must produce: each source pixel s of the
// rectangle that lies in the source lands at position + (s - the rectangle's corner), if
// that lies in the target. `read` gives the value to write, or -1 for a pixel not drawn.
template <class Pixel>
void checkCopies(const mBitMap &from, const std::function<int(long, long)> &read, const mPalette *mapping,
                 unsigned seed, int rounds = 300) {
    const long w = head(from).width, h = head(from).height;
    Lcg rng(seed);
    for (int round = 0; round < rounds; ++round) {
        const long tw = rng.in(1, 40), th = rng.in(1, 30);
        Owned<mBitMap> target;
        if constexpr (sizeof(Pixel) == 1) {
            target.reset(new Guarded<m8Bit>(round & 1, mSize(tw, th), (const mPalette *)nullptr));
        } else {
            Guarded<m15Bit> *wide = new Guarded<m15Bit>(round & 1, mSize(tw, th));
            wide->setMapping(mapping, mColor(true));
            target.reset(wide);
        }
        for (long y = 0; y < th; ++y)
            for (long x = 0; x < tw; ++x)
                reinterpret_cast<Pixel *>(row8(*target, y))[x] = (Pixel)(200 + (x + y) % 50);
        Bytes expected = blockOf(*target);
        const long line = head(*target).lineBytes;
        const mRect r = randomRect(rng, w, h);
        const mPoint at(rng.in(-tw, tw + 5), rng.in(-th, th + 5));
        for (long y = std::max(r.top, 0L); y < std::min(r.bottom, h); ++y) {
            for (long x = std::max(r.left, 0L); x < std::min(r.right, w); ++x) {
                const long long tx = at.x + ((long long)x - r.left), ty = at.y + ((long long)y - r.top);
                const int v = read(x, y);
                if (tx >= 0 && ty >= 0 && tx < tw && ty < th && v >= 0)
                    reinterpret_cast<Pixel *>(&expected[(th - 1 - ty) * line])[tx] = (Pixel)v;
            }
        }
        target->copy(&from, r, at);
        ASSERT_EQ(expected, blockOf(*target)) << "round " << round;
    }
}
