// Writes the binary resources of the test modules into the current directory: a small 8-bit
// bitmap file and a compressed block of the library's own format.
#include "pattern.h"

#include <cstdio>
#include <cstring>
#include <vector>

namespace {
typedef std::vector<unsigned char> Bytes;

const int ringSize = 4096;
const int ringMask = ringSize - 1;
const int ringStart = 4078;
const int longestMatch = 18;
const int shortestMatch = 3;

void putWord(Bytes &out, unsigned v) {
    out.push_back((unsigned char)v);
    out.push_back((unsigned char)(v >> 8));
}

void putLong(Bytes &out, unsigned long v) {
    putWord(out, (unsigned)(v & 0xFFFF));
    putWord(out, (unsigned)(v >> 16));
}

// How many bytes of data a reference to ring position p would reproduce, when the next byte
// is written at r. Bytes that the reference itself writes are read back as the decoder would.
int matchLength(const unsigned char *ring, int r, int p, const unsigned char *data, int most) {
    int k = 0;
    for (; k < most; ++k) {
        int back = (p + k - r) & ringMask;
        unsigned char b = back < k ? data[back] : ring[(p + k) & ringMask];
        if (b != data[k])
            break;
    }
    return k;
}

// A greedy encoder: the longest match anywhere in the ring, else a literal.
Bytes encode(const unsigned char *data, int n) {
    unsigned char ring[ringSize];
    memset(ring, ' ', sizeof ring);
    int r = ringStart;
    Bytes out;
    int i = 0;
    while (i < n) {
        size_t flags = out.size();
        out.push_back(0);
        for (int bit = 0; bit < 8 && i < n; ++bit) {
            int most = n - i < longestMatch ? n - i : longestMatch;
            int best = 0, where = 0;
            for (int p = 0; p < ringSize; ++p) {
                int length = matchLength(ring, r, p, data + i, most);
                if (length > best) {
                    best = length;
                    where = p;
                }
            }
            if (best >= shortestMatch) {
                out.push_back((unsigned char)where);
                out.push_back((unsigned char)(((where >> 4) & 0xF0) | (best - shortestMatch)));
            } else {
                best = 1;
                out[flags] |= (unsigned char)(1 << bit);
                out.push_back(data[i]);
            }
            for (int k = 0; k < best; ++k, r = (r + 1) & ringMask)
                ring[r] = data[i + k];
            i += best;
        }
    }
    return out;
}

Bytes compressedBlock() {
    Bytes plain;
    for (int i = 0; i < pattern::blockSize; ++i)
        plain.push_back(pattern::blockByte(i));
    Bytes stream = encode(plain.data(), (int)plain.size());
    Bytes block;
    putLong(block, plain.size());
    putLong(block, 8 + stream.size());
    block.insert(block.end(), stream.begin(), stream.end());
    return block;
}

Bytes bitmapFile() {
    using namespace pattern;
    const unsigned long bits = 14 + 40 + 4 * bitmapColors;
    const unsigned long imageSize = bitmapStride * bitmapHeight;
    Bytes out;
    out.push_back('B');
    out.push_back('M');
    putLong(out, bits + imageSize);
    putLong(out, 0);
    putLong(out, bits);
    putLong(out, 40);
    putLong(out, bitmapWidth);
    putLong(out, bitmapHeight);
    putWord(out, 1);
    putWord(out, 8);
    putLong(out, 0);
    putLong(out, imageSize);
    putLong(out, 2835);
    putLong(out, 2835);
    putLong(out, bitmapColors);
    putLong(out, 0);
    for (int entry = 0; entry < bitmapColors; ++entry)
        for (int channel = 0; channel < 4; ++channel)
            out.push_back(paletteByte(entry, channel));
    for (int y = bitmapHeight - 1; y >= 0; --y)
        for (int x = 0; x < bitmapStride; ++x)
            out.push_back(x < bitmapWidth ? pixel(x, y) : 0);
    return out;
}

bool save(const char *name, const Bytes &bytes) {
    FILE *f = fopen(name, "wb");
    if (!f)
        return false;
    bool ok = fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    return fclose(f) == 0 && ok;
}
} // namespace

int main() {
    if (!save("tiny.bmp", bitmapFile()) || !save("block.imp", compressedBlock())) {
        fprintf(stderr, "resgen: cannot write the test resources\n");
        return 1;
    }
    return 0;
}
