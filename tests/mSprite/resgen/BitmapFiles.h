// Bitmap payloads written byte by byte, and the picture in the test program's bitmap
// resources: shared by the generator of those resources and the tests.
#pragma once

#define RES_SPRITE 1
#define RES_BROKEN 3
#define RES_MISSING 99

// The resource compiler reads the ids only.
#ifndef RC_INVOKED
#include <cstddef>
#include <vector>

typedef std::vector<unsigned char> Bytes;

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

// Rows of `height` 8-bit pixels from f(x, y) in top-down coordinates, stored bottom row
// first on four-byte boundaries.
template <class F> Bytes rowsOf(long width, long height, F f) {
    const long line = (width + 3) & ~3L;
    Bytes rows(line * height, 0);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x)
            rows[(height - 1 - y) * line + x] = (unsigned char)f(x, y);
    return rows;
}

const int spriteWidth = 13, spriteHeight = 9, spriteColors = 16;

inline int spritePixel(long x, long y) { return (int)((x * 3 + y) % 7 + 1); }
inline unsigned long spriteColor(int i) { return ((unsigned long)(i * 15) << 16) | ((255UL - i * 15) << 8) | (i * 5); }

// The sprite as an 8-bit bitmap file.
inline Bytes spriteFile() {
    Payload p(spriteWidth, spriteHeight);
    p.colorsUsed = spriteColors;
    for (int i = 0; i < spriteColors; ++i)
        putBytes(p.table, spriteColor(i), 4);
    p.pixels = rowsOf(spriteWidth, spriteHeight, spritePixel);
    return p.build(true);
}

// A compressed block (decoded size, stored size, stream) whose stream holds nothing but
// literals: a flag byte of eight literal bits before every eight bytes.
inline Bytes compressedBlock(const Bytes &data) {
    Bytes out;
    putBytes(out, data.size(), 4);
    putBytes(out, data.size() + (data.size() + 7) / 8 + 8, 4);
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (i % 8 == 0)
            out.push_back(0xFF);
        out.push_back(data[i]);
    }
    return out;
}
#endif
