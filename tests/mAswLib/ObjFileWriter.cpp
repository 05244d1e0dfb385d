#include "ObjFileWriter.h"
#include "mUtil/mCodec.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

void appendLong(Bytes &b, unsigned long v) {
    for (int i = 0; i < 4; ++i)
        b.push_back((unsigned char)(v >> (8 * i)));
}

void appendWord(Bytes &b, unsigned short v) {
    b.push_back((unsigned char)v);
    b.push_back((unsigned char)(v >> 8));
}

void pokeLong(Bytes &b, size_t offset, unsigned long v) {
    for (int i = 0; i < 4; ++i)
        b[offset + i] = (unsigned char)(v >> (8 * i));
}

unsigned long peekLong(const unsigned char *p, size_t offset) {
    unsigned long v;
    std::memcpy(&v, p + offset, 4);
    return v;
}

unsigned short peekWord(const unsigned char *p, size_t offset) {
    unsigned short v;
    std::memcpy(&v, p + offset, 2);
    return v;
}

Bytes lzss(const Bytes &plain) {
    Bytes coded(mCodec::compressBound((unsigned long)plain.size()) + 1);
    unsigned long n = mCodec::compress(plain.data(), (unsigned long)plain.size(), coded.data(),
                                       (unsigned long)coded.size());
    coded.resize(n);
    return coded;
}

Bytes pattern(size_t n, unsigned seed) {
    Bytes b(n);
    unsigned v = seed * 2654435761u + 1;
    for (size_t i = 0; i < n; ++i) {
        v = v * 1103515245u + 12345u;
        b[i] = (unsigned char)((i % 7 == 0) ? b[i ? i - 1 : 0] : (v >> 16));
    }
    return b;
}

// ---- Audio: 4-bit blocks where a row fits, runs of equal samples, and absolute samples.

namespace {

int scaleStep(int row, int k) {
    int s = row + 1;
    int v = k < 8 ? (k - 8) * s : (k - 7) * s;
    return v > 127 ? 127 : v;
}

int clampSample(int v) { return v < 0 ? 0 : (v > 255 ? 255 : v); }

// The nibbles of one block in one row, chosen step by step, and the error they leave.
long fitRow(const unsigned char *target, int count, int row, int cur, std::vector<int> &codes) {
    long error = 0;
    codes.clear();
    for (int i = 0; i < count; ++i) {
        int best = 0, bestValue = clampSample(cur + scaleStep(row, 0));
        for (int k = 1; k < 16; ++k) {
            int value = clampSample(cur + scaleStep(row, k));
            if (std::abs(value - target[i]) < std::abs(bestValue - target[i])) {
                best = k;
                bestValue = value;
            }
        }
        codes.push_back(best);
        error += std::abs(bestValue - target[i]);
        cur = bestValue;
    }
    return error;
}

} // namespace

AudioCode encodeAudio(const Bytes &samples, int blockLength) {
    AudioCode out;
    if (samples.empty())
        return out;
    out.stream = {(unsigned char)blockLength, samples[0]};
    out.decoded = {samples[0]};
    int cur = samples[0];
    size_t i = 1, n = samples.size();
    std::vector<int> codes, bestCodes;
    while (i < n) {
        size_t run = 0;
        while (i + run < n && samples[i + run] == cur && run < 63)
            ++run;
        if (run >= 2) {
            out.stream.push_back((unsigned char)(0x40 | run));
            out.decoded.insert(out.decoded.end(), run, (unsigned char)cur);
            i += run;
        } else if (n - i >= (size_t)blockLength) {
            long bestError = -1;
            int bestRow = 0;
            for (int row = 0; row < 16; ++row) {
                long error = fitRow(&samples[i], blockLength, row, cur, codes);
                if (bestError < 0 || error < bestError) {
                    bestError = error;
                    bestRow = row;
                    bestCodes = codes;
                }
            }
            out.stream.push_back((unsigned char)(0x30 | bestRow));
            for (int k = 0; k < blockLength; k += 2)
                out.stream.push_back((unsigned char)((bestCodes[k] << 4) | bestCodes[k + 1]));
            for (int code : bestCodes) {
                cur = clampSample(cur + scaleStep(bestRow, code));
                out.decoded.push_back((unsigned char)cur);
            }
            i += blockLength;
        } else {
            int half = samples[i] >> 1;
            out.stream.push_back((unsigned char)(0x80 | half));
            cur = half * 2;
            out.decoded.push_back((unsigned char)cur);
            ++i;
        }
    }
    return out;
}

// ---- Records and files

Record rawRecord(short typeWord, unsigned long u, unsigned long c, unsigned long f, const Bytes &body) {
    Record r;
    r.typeWord = typeWord;
    r.u = u;
    r.c = c;
    r.f = f;
    r.body = body;
    r.name = "object";
    return r;
}

Record storedRecord(short typeWord, const Bytes &block) {
    return rawRecord(typeWord, (unsigned long)block.size(), (unsigned long)block.size(), 0, block);
}

Record packedRecord(short typeWord, const Bytes &block, unsigned long flags) {
    Bytes coded = lzss(block);
    return rawRecord(typeWord, (unsigned long)block.size(), (unsigned long)coded.size(), flags, coded);
}

Bytes recordBytes(const Record &r) {
    Bytes b;
    appendWord(b, 7);
    appendWord(b, 0);
    appendWord(b, (unsigned short)r.typeWord);
    for (size_t i = 0; i < 17; ++i)
        b.push_back(i < r.name.size() ? (unsigned char)r.name[i] : 0);
    appendLong(b, r.u);
    appendLong(b, r.c);
    appendLong(b, r.f);
    b.insert(b.end(), r.body.begin(), r.body.end());
    return b;
}

ObjImage objectFile(const std::vector<Record> &records, bool directory) {
    ObjImage image;
    size_t n = records.size();
    if (directory)
        image.bytes = {'i', 'O', 'B', 'L'};
    appendWord(image.bytes, (unsigned short)n);
    size_t at = image.bytes.size() + (directory ? 4 * n : 0);
    Bytes body;
    for (const Record &r : records) {
        image.offsets.push_back((unsigned long)(at + body.size()));
        Bytes one = recordBytes(r);
        body.insert(body.end(), one.begin(), one.end());
    }
    if (directory)
        for (unsigned long offset : image.offsets)
            appendLong(image.bytes, offset);
    image.bytes.insert(image.bytes.end(), body.begin(), body.end());
    return image;
}

// ---- Bitmap blocks and bitmap objects

Bytes bitmapBlock(const BitmapBlock &spec) {
    bool table = !spec.colors.empty();
    unsigned long s = 58 + (table ? 512 : 0) + (unsigned long)spec.pixels.size();
    Bytes b;
    appendLong(b, s - 4);
    b.push_back('B');
    b.push_back('M');
    appendLong(b, s - 4);
    appendLong(b, 0);
    appendLong(b, spec.pixelOffset >= 0 ? (unsigned long)spec.pixelOffset : (table ? 566 : 54));
    appendLong(b, 40);
    appendLong(b, (unsigned long)spec.width);
    appendLong(b, (unsigned long)spec.height);
    appendWord(b, 1);
    appendWord(b, spec.bits);
    appendLong(b, spec.compression);
    appendLong(b, (unsigned long)spec.pixels.size());
    appendLong(b, 0);
    appendLong(b, 0);
    appendLong(b, (unsigned long)spec.colors.size());
    appendLong(b, 0);
    if (table)
        for (int i = 0; i < 256; ++i)
            appendWord(b, i < (int)spec.colors.size() ? spec.colors[i] : 0);
    b.insert(b.end(), spec.pixels.begin(), spec.pixels.end());
    return b;
}

Bytes eightBitBody(unsigned long l0, long width, long height, unsigned long compression, unsigned long imageSize,
                   bool sixth, unsigned long sixthValue, const Bytes &pixels) {
    Bytes b;
    appendLong(b, l0);
    appendLong(b, (unsigned long)width);
    appendLong(b, (unsigned long)height);
    appendLong(b, compression);
    appendLong(b, imageSize);
    if (sixth)
        appendLong(b, sixthValue);
    Bytes coded = lzss(pixels);
    b.insert(b.end(), coded.begin(), coded.end());
    return b;
}

Bytes unpacked4Bit(long width, long height, const Bytes &rows) {
    Bytes b(54 + rows.size(), 0);
    pokeLong(b, 22, (unsigned long)width);
    pokeLong(b, 26, (unsigned long)height);
    std::copy(rows.begin(), rows.end(), b.begin() + 54);
    return b;
}

Bytes fourBitBody(unsigned short h, const Bytes &map, const Bytes &unpacked, long r) {
    Bytes b;
    appendWord(b, h);
    for (size_t i = 0; i + 6 < h; ++i)
        b.push_back(i < map.size() ? map[i] : 0);
    appendLong(b, (unsigned long)r);
    Bytes coded = lzss(unpacked);
    b.insert(b.end(), coded.begin(), coded.end());
    return b;
}

Bytes waveHeader(unsigned long samples) {
    Bytes b = {'R', 'I', 'F', 'F'};
    appendLong(b, 36 + samples);
    for (char c : std::string("WAVEfmt "))
        b.push_back((unsigned char)c);
    appendLong(b, 16);
    appendWord(b, 1);
    appendWord(b, 1);
    appendLong(b, 11025);
    appendLong(b, 11025);
    appendWord(b, 1);
    appendWord(b, 8);
    for (char c : std::string("data"))
        b.push_back((unsigned char)c);
    appendLong(b, samples);
    return b;
}
