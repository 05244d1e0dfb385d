// The picture in the test program's bitmap resources, shared by their generator and the
// tests: the bitmap file and the compressed block that hold it, and the byte writer of both.
#pragma once

#define RES_SPRITE 1
#define RES_BROKEN 3
#define RES_MISSING 99

// The resource compiler reads the ids only.
#ifndef RC_INVOKED
#include <cstddef>
#include <vector>

const int spriteWidth = 13, spriteHeight = 9, spriteColors = 16;

// Top-down coordinates.
inline int spritePixel(int x, int y) { return (x * 3 + y) % 7 + 1; }
inline unsigned long spriteColor(int i) { return ((unsigned long)(i * 15) << 16) | ((255UL - i * 15) << 8) | (i * 5); }

inline void putBytes(std::vector<unsigned char> &out, unsigned long v, int bytes) {
    for (int i = 0; i < bytes; ++i)
        out.push_back((unsigned char)(v >> (8 * i)));
}

// The sprite as an 8-bit bitmap file: file header, info header, colour table, rows bottom first.
inline std::vector<unsigned char> spriteFile() {
    const int line = (spriteWidth + 3) & ~3;
    const unsigned long offset = 54 + 4 * spriteColors, size = line * spriteHeight;
    std::vector<unsigned char> out = {'B', 'M'};
    for (unsigned long v : {offset + size, 0UL, offset, 40UL, (unsigned long)spriteWidth, (unsigned long)spriteHeight})
        putBytes(out, v, 4);
    putBytes(out, 1, 2);
    putBytes(out, 8, 2);
    for (unsigned long v : {0UL, size, 2835UL, 2835UL, (unsigned long)spriteColors, 0UL})
        putBytes(out, v, 4);
    for (int i = 0; i < spriteColors; ++i)
        putBytes(out, spriteColor(i), 4);
    out.resize(offset + size, 0);
    for (int y = 0; y < spriteHeight; ++y)
        for (int x = 0; x < spriteWidth; ++x)
            out[offset + (spriteHeight - 1 - y) * line + x] = (unsigned char)spritePixel(x, y);
    return out;
}

// A compressed block (decoded size, stored size, stream) whose stream holds nothing but
// literals: a flag byte of eight literal bits before every eight bytes.
inline std::vector<unsigned char> compressedBlock(const std::vector<unsigned char> &data) {
    std::vector<unsigned char> out;
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
