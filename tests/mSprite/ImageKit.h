// Helpers of the image tests: owning handles, payload builders and pixel access by
// top-down coordinates, written independently of the library's own row arithmetic.
#pragma once
#include "mSprite/m15Bit.h"
#include "mSprite/m8Bit.h"
#include "mSprite/m8BitRLE.h"
#include "mWindow/mPalette.h"

#include "mUtil/mApp.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

typedef std::vector<unsigned char> Bytes;

// Images are released through free(); these hold one use.
struct FreeImage {
    void operator()(mBitMap *image) const {
        if (image)
            image->free();
    }
};
template <class T> using Owned = std::unique_ptr<T, FreeImage>;

template <class T> Owned<T> own(T *image) { return Owned<T>(image); }

// A bitmap payload: info header (and optionally the 14-byte file header), then `table`
// and `pixels` as given.
struct Payload {
    long width = 0, height = 0;
    int planes = 1, bitsPerPixel = 8, compression = 0;
    long colorsUsed = 0;
    long headerSize = 40;
    Bytes table, pixels;

    Bytes build(bool fileHeader) const {
        Bytes out;
        if (fileHeader) {
            out = {'B', 'M'};
            out.resize(14, 0);
        }
        const size_t info = out.size();
        out.resize(info + 40, 0);
        put32(out, info + 0, headerSize);
        put32(out, info + 4, width);
        put32(out, info + 8, height);
        put16(out, info + 12, planes);
        put16(out, info + 14, bitsPerPixel);
        put32(out, info + 16, compression);
        put32(out, info + 32, colorsUsed);
        out.insert(out.end(), table.begin(), table.end());
        out.insert(out.end(), pixels.begin(), pixels.end());
        return out;
    }
    static void put16(Bytes &b, size_t at, long v) {
        b[at] = (unsigned char)v;
        b[at + 1] = (unsigned char)(v >> 8);
    }
    static void put32(Bytes &b, size_t at, long v) {
        for (int i = 0; i < 4; ++i)
            b[at + i] = (unsigned char)((unsigned long)v >> (8 * i));
    }
};

// A 4-byte colour table entry: blue, green, red, unused.
inline void addEntry(Bytes &table, const mColor &c) {
    table.insert(table.end(), {c.getBlue(), c.getGreen(), c.getRed(), 0});
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

// The whole data block, padding included.
inline Bytes blockOf(const mBitMap &image) {
    const unsigned char *p = static_cast<const unsigned char *>(image.getData());
    return Bytes(p, p + head(image).dataSize);
}

// A palette of `count` distinct colours, entry i being (i, 255 - i, i * 7).
inline std::vector<mColor> rampColors(int count) {
    std::vector<mColor> colors;
    for (int i = 0; i < count; ++i)
        colors.push_back(mColor(i, 255 - i, (i * 7) & 255));
    return colors;
}

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
    Payload p;
    p.width = width;
    p.height = height;
    p.compression = 1;
    p.planes = 40; // no colour table: the tokens follow the header
    p.pixels = stream;
    Bytes block = p.build(false);
    return own(mBitMap::create(block.data(), (long)block.size(), false));
}

// A small pseudo-random sequence, the same on every run.
struct Lcg {
    uint32_t state;
    explicit Lcg(uint32_t seed) : state(seed) {}
    uint32_t next() { return state = state * 1664525u + 1013904223u; }
    long in(long lo, long hi) { return lo + (long)((next() >> 8) % (uint32_t)(hi - lo + 1)); }
};

// Memory with inaccessible pages on both sides; the block either starts right behind the
// first or ends right before the second, so that a step past that edge faults at once.
class GuardedBlock {
public:
    GuardedBlock(size_t size, bool atEnd) {
        const size_t page = 4096, span = (size + page - 1) / page * page + (size ? 0 : page);
        base = static_cast<unsigned char *>(VirtualAlloc(nullptr, span + 2 * page, MEM_RESERVE | MEM_COMMIT, PAGE_NOACCESS));
        DWORD old;
        VirtualProtect(base + page, span, PAGE_READWRITE, &old);
        start = atEnd ? base + page + span - size : base + page;
    }
    ~GuardedBlock() { VirtualFree(base, 0, MEM_RELEASE); }
    GuardedBlock(const GuardedBlock &) = delete;
    GuardedBlock &operator=(const GuardedBlock &) = delete;
    unsigned char *get() const { return start; }

private:
    unsigned char *base;
    unsigned char *start;
};

// An image of a library class whose block lies in guarded memory, as a memory image's
// block lies in memory the image does not own.
template <class Base> class Guarded : public Base {
public:
    template <class... Args>
    Guarded(bool atEnd, Args &&...args) : Base(args...), block((size_t)this->header->dataSize, atEnd) {
        std::memcpy(block.get(), this->data, (size_t)this->header->dataSize);
        mApp::free(this->data);
        this->data = block.get();
    }
    ~Guarded() override { this->data = nullptr; }

private:
    GuardedBlock block;
};

// A run-length source of any make: a token stream that ends at a guarded page.
class GuardedStream : public mBitMap {
public:
    GuardedStream(long width, long height, const Bytes &stream) : block(stream.size(), true) {
        header->bits = 8;
        header->compression = 1;
        header->width = width;
        header->height = height;
        header->dataSize = (long)stream.size();
        if (!stream.empty())
            std::memcpy(block.get(), stream.data(), stream.size());
        data = block.get();
    }
    ~GuardedStream() override { data = nullptr; }
    BitmapType getBitmapType() const override { return bitmapRLE; }

private:
    GuardedBlock block;
};
