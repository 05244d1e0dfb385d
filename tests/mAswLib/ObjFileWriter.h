// Builds object files for the tests, well formed or not: records, the bodies of the compressor
// flags, and bitmap blocks.
#pragma once
#include "mUtil/mCodec.h"

#include <algorithm>
#include <initializer_list>
#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

// A little-endian field of size bytes.
struct Field {
    int size;
    unsigned long long value;
};

inline Bytes le(std::initializer_list<Field> fields) {
    Bytes b;
    for (const Field &f : fields)
        for (int i = 0; i < f.size; ++i)
            b.push_back((unsigned char)(f.value >> (8 * i)));
    return b;
}

inline Bytes join(std::initializer_list<Bytes> parts) {
    Bytes b;
    for (const Bytes &part : parts)
        b.insert(b.end(), part.begin(), part.end());
    return b;
}

inline void poke(Bytes &b, size_t offset, Field field) {
    Bytes bytes = le({field});
    std::copy(bytes.begin(), bytes.end(), b.begin() + offset);
}

// A stream of the library's LZSS encoder.
inline Bytes lzss(const Bytes &plain) {
    unsigned long n = (unsigned long)plain.size();
    Bytes coded(mCodec::compressBound(n));
    coded.resize(mCodec::compress(plain.data(), n, coded.data(), (unsigned long)coded.size()));
    return coded;
}

// Bytes that are not all alike, so that a test sees where each one lands.
inline Bytes pattern(size_t n, unsigned seed) {
    Bytes b(n);
    unsigned v = seed * 2654435761u + 1;
    for (size_t i = 0; i < n; ++i) {
        v = v * 1103515245u + 12345u;
        b[i] = (unsigned char)((i % 7 == 0) ? b[i ? i - 1 : 0] : (v >> 16));
    }
    return b;
}

// ---- Records and files

struct Record {
    short typeWord;
    unsigned long u, c, f;
    Bytes body;
    std::string name;
};

inline Record rawRecord(short typeWord, unsigned long u, unsigned long f, const Bytes &body) {
    return Record{typeWord, u, (unsigned long)body.size(), f, body, "object"};
}

inline Record storedRecord(short typeWord, const Bytes &block) {
    return rawRecord(typeWord, (unsigned long)block.size(), 0, block);
}

inline Record packedRecord(short typeWord, const Bytes &block, unsigned long flags) {
    return rawRecord(typeWord, (unsigned long)block.size(), flags, lzss(block));
}

// The 23-byte header, the three sizes and the body.
inline Bytes recordBytes(const Record &r) {
    Bytes name(r.name.begin(), r.name.begin() + std::min<size_t>(r.name.size(), 17));
    name.resize(17, 0);
    return join({le({{2, 7}, {2, 0}, {2, (unsigned short)r.typeWord}}), name, le({{4, r.u}, {4, r.c}, {4, r.f}}),
                 r.body});
}

struct ObjImage {
    Bytes bytes;
    std::vector<unsigned long> offsets;  // where each record begins
};

// With a directory: "iOBL", the count and the offsets; without: the count, then the records.
inline ObjImage objectFile(const std::vector<Record> &records, bool directory = false) {
    ObjImage image;
    Bytes head = join({directory ? Bytes{'i', 'O', 'B', 'L'} : Bytes{}, le({{2, records.size()}})});
    size_t at = head.size() + (directory ? 4 * records.size() : 0);
    Bytes body;
    for (const Record &r : records) {
        image.offsets.push_back((unsigned long)(at + body.size()));
        body = join({body, recordBytes(r)});
        if (directory)
            head = join({head, le({{4, image.offsets.back()}})});
    }
    image.bytes = join({head, body});
    return image;
}

// ---- Bodies

// A sound behind F 4: 48 stored bytes from prefix, then a delta stream of the first sample, a
// 4-bit block of row 0 (+2, +8, -8, +1), a run of three, and the absolute sample 10.
inline const Bytes soundSamples = {128, 130, 138, 130, 131, 131, 131, 131, 10};

inline Record soundRecord(const Bytes &prefix) {
    return rawRecord(2, (unsigned long)soundSamples.size(), 4, join({prefix, {4, 128, 0x30, 0x9F, 0x08, 0x43, 0x85}}));
}

// The block behind F 0, 1 and 64 for a 6 x 3 image: a 4-byte slot, the 54 bytes of a bitmap
// file image's headers, and 40 bytes that stand for its colour table and pixels.
inline Bytes bitmapBlock(unsigned short bits, unsigned long pixelOffset, unsigned long colors) {
    const unsigned long slotted = 58 + 40 - 4;
    return join({le({{4, slotted}, {1, 'B'}, {1, 'M'}, {4, slotted}, {4, 0}, {4, pixelOffset}, {4, 40}, {4, 6},
                     {4, 3}, {2, 1}, {2, bits}, {4, 0}, {4, 40}, {8, 0}, {4, colors}, {4, 0}}),
                 pattern(40, bits)});
}

// An 8-bit bitmap object (F 8 with 5 longs, F 32 with 6): the header longs, then the pixels coded.
inline Bytes eightBitBody(const std::vector<unsigned long> &longs, const Bytes &pixels) {
    Bytes b;
    for (unsigned long v : longs)
        b = join({b, le({{4, v}})});
    return join({b, lzss(pixels)});
}

// The body of a 4-bit bitmap object: h, the map (16 indices with h 22, 2 bytes with h 8), r,
// and the coded block that it unpacks to: width at 22, height at 26, rows from 54. r states the
// size of that block; 0 gives its true size.
inline Bytes fourBitBody(unsigned short h, const Bytes &map, unsigned long width, unsigned long height,
                         const Bytes &rows, unsigned long r = 0) {
    Bytes unpacked = join({Bytes(22, 0), le({{4, width}, {4, height}}), Bytes(24, 0), rows});
    Bytes padded = map;
    padded.resize(h - 6, 0);
    return join({le({{2, h}}), padded, le({{4, r ? r : unpacked.size()}}), lzss(unpacked)});
}
