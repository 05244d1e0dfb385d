#include "mUtil/mCodec.h"

#include "mFile/mFile.h"
#include "mUtil/mError.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

static const char srcPath[] = "mUtil/mCodec";

namespace {

const unsigned RING = 4096;
const unsigned RING_MASK = RING - 1;
const unsigned LONGEST = 18;
const unsigned SHORTEST = 3;
const unsigned START = RING - LONGEST;
const unsigned char FILL = 0x20;
const unsigned NIL = RING;

// The most a stream can yield for each of its bytes: a 2-byte reference gives 18
// bytes; an audio run command gives 63 samples. The unbounded decoders use these
// to bound their target by their input alone.
static_assert(mCodec::LZSS_MOST_PER_BYTE == LONGEST / 2, "a reference of two bytes yields LONGEST");
const size_t LZSS_MOST_PER_BYTE = mCodec::LZSS_MOST_PER_BYTE;
const size_t AUDIO_MOST_PER_BYTE = 63;

// The decoders' loops report how they ended; the throwing happens outside them.
enum Outcome { decoded, truncated, overrun };

void throwFor(Outcome outcome, size_t dstLength) {
    if (outcome == truncated)
        VELNOR_THROW("Hit EOF on decompression", 0);
    if (outcome == overrun)
        VELNOR_THROW("Compressed data overruns its block", dstLength);
}

// Moves the bytes of a reference. The output is its own history: ring position p, seen
// from output offset o, is the byte written ((4078 + o - p - 1) mod 4096) + 1 bytes back, or
// a fill space when fewer bytes than that have been written. Writes exactly `len` bytes at
// dst + o, in the order of the format, so that a reference may read what it writes.
inline void copyReference(unsigned char *dst, size_t o, size_t position, size_t len) {
    const size_t dist = ((START + o - position - 1) & RING_MASK) + 1;
    unsigned char *const out = dst + o;
    if (dist > o) {
        for (size_t k = 0; k < len; ++k)
            out[k] = o + k >= dist ? dst[o + k - dist] : FILL;
        return;
    }
    const unsigned char *const from = out - dist;
    if (dist >= 8 && len >= 8) {
        // Each word is read after the bytes it reads were written, the last one overlapping
        // the one before.
        uint64_t word;
        for (size_t k = 0; k + 8 < len; k += 8) {
            std::memcpy(&word, from + k, 8);
            std::memcpy(out + k, &word, 8);
        }
        std::memcpy(&word, from + len - 8, 8);
        std::memcpy(out + len - 8, &word, 8);
    } else if (dist >= len) {
        // 3 to 7 bytes that do not overlap their source.
        uint32_t head, tail;
        if (len >= 4) {
            std::memcpy(&head, from, 4);
            std::memcpy(&tail, from + len - 4, 4);
            std::memcpy(out, &head, 4);
            std::memcpy(out + len - 4, &tail, 4);
        } else {
            out[0] = from[0];
            out[1] = from[1];
            out[2] = from[2];
        }
    } else if (dist == 1) {
        // A run of the byte before: words of it, the last one overlapping.
        const uint64_t run = from[0] * 0x0101010101010101ULL;
        if (len >= 8) {
            for (size_t k = 0; k + 8 < len; k += 8)
                std::memcpy(out + k, &run, 8);
            std::memcpy(out + len - 8, &run, 8);
        } else if (len >= 4) {
            std::memcpy(out, &run, 4);
            std::memcpy(out + len - 4, &run, 4);
        } else {
            out[0] = out[1] = out[2] = from[0];
        }
    } else {
        for (size_t k = 0; k < len; ++k)
            out[k] = from[k];
    }
}

// Decodes a group at a time. Where a whole group's input is there and the block has room
// for the most it can yield, the group goes without a check, its eight literals at once when
// it has nothing else; elsewhere each token is checked as it comes.
Outcome decodeLzss(const unsigned char *src, size_t srcLength, unsigned char *dst, size_t dstLength,
                   size_t &written) {
    const unsigned char *in = src;
    const unsigned char *const inEnd = src + srcLength;
    size_t o = 0;
    Outcome outcome = decoded;
    while (in != inEnd && outcome == decoded) {
        unsigned flags = *in++;
        if ((size_t)(inEnd - in) >= 2 * 8 && dstLength - o >= LONGEST * 8) {
            if (flags == 0xFF) {
                std::memcpy(dst + o, in, 8);
                in += 8;
                o += 8;
                continue;
            }
            for (int k = 0; k < 8; ++k, flags >>= 1) {
                if (flags & 1) {
                    dst[o++] = *in++;
                    continue;
                }
                const unsigned b0 = in[0], b1 = in[1];
                in += 2;
                const size_t len = (b1 & 0x0F) + SHORTEST;
                copyReference(dst, o, b0 | ((b1 & 0xF0) << 4), len);
                o += len;
            }
            continue;
        }
        // The stream ends at any token's end but the first: a flag byte needs a token behind it.
        for (int k = 0; k < 8 && (k == 0 || in != inEnd); ++k, flags >>= 1) {
            if (flags & 1) {
                if (in == inEnd) {
                    outcome = truncated;
                    break;
                }
                if (o == dstLength) {
                    outcome = overrun;
                    break;
                }
                dst[o++] = *in++;
                continue;
            }
            if (inEnd - in < 2) {
                outcome = truncated;
                break;
            }
            const unsigned b0 = in[0], b1 = in[1];
            in += 2;
            const size_t len = (b1 & 0x0F) + SHORTEST;
            if (dstLength - o < len) {
                outcome = overrun;
                break;
            }
            copyReference(dst, o, b0 | ((b1 & 0xF0) << 4), len);
            o += len;
        }
    }
    written = o;
    return outcome;
}

// Row r, entry k of the audio steps: (k - 8) * (r + 1) below 8, (k - 7) * (r + 1)
// from 8 on; no zero step, and the one value of 128 is held to 127.
struct AudioSteps {
    signed char step[16][16];
};

constexpr AudioSteps makeAudioSteps() {
    AudioSteps table{};
    for (int r = 0; r < 16; ++r)
        for (int k = 0; k < 16; ++k) {
            const int value = (k < 8 ? k - 8 : k - 7) * (r + 1);
            table.step[r][k] = (signed char)(value > 127 ? 127 : value);
        }
    return table;
}

constexpr AudioSteps audioSteps = makeAudioSteps();

// The stream's own count of `length` runs out one byte behind the block it
// describes, so the block's end is what ends decoding: a command that would stand
// there is not read.
Outcome decodeAudio(const unsigned char *src, size_t srcLength, unsigned char *dst, size_t dstLength,
                    size_t &written) {
    written = 0;
    if (srcLength < 2)
        return decoded;
    if (dstLength == 0)
        return overrun;
    const size_t blockLength = src[0];
    const unsigned char *in = src + 1;
    const unsigned char *const inEnd = src + srcLength;
    int cur = *in++;
    dst[0] = (unsigned char)cur;
    size_t o = 1;
    Outcome outcome = decoded;
    while (in != inEnd) {
        const unsigned c = *in++;
        if (c & 0x80) {
            if (o == dstLength) {
                outcome = overrun;
                break;
            }
            cur = (c & 0x7F) * 2;
            dst[o++] = (unsigned char)cur;
            continue;
        }
        if (c & 0x40) {
            const size_t n = c & 0x3F;
            if (dstLength - o < n) {
                outcome = overrun;
                break;
            }
            for (size_t k = 0; k < n; ++k)
                dst[o + k] = (unsigned char)cur;
            o += n;
            continue;
        }
        const unsigned kind = c >> 4;
        if (kind == 0)
            continue;
        // Kinds 1, 2 and 3 pack 1, 2 and 4 bits a step; a 1-bit code picks entry
        // 7 or 8 of the row, a 2-bit code entries 6 to 9, a 4-bit code any.
        const unsigned bits = 1u << (kind - 1);
        const unsigned codeMask = (1u << bits) - 1;
        const signed char *row = audioSteps.step[c & 0x0F] + (kind == 1 ? 7 : kind == 2 ? 6 : 0);
        const size_t dataBytes = blockLength >> (4 - kind);
        if ((size_t)(inEnd - in) < dataBytes) {
            outcome = truncated;
            break;
        }
        if (dstLength - o < dataBytes * (8 / bits)) {
            outcome = overrun;
            break;
        }
        for (size_t i = 0; i < dataBytes; ++i) {
            const unsigned byte = in[i];
            for (int shift = 8 - (int)bits; shift >= 0; shift -= (int)bits) {
                cur += row[(byte >> shift) & codeMask];
                cur = cur < 0 ? 0 : cur > 255 ? 255 : cur;
                dst[o++] = (unsigned char)cur;
            }
        }
        in += dataBytes;
    }
    written = o;
    return outcome;
}

typedef Outcome (*Decoder)(const unsigned char *, size_t, unsigned char *, size_t, size_t &);

size_t decodeOrThrow(Decoder decode, const unsigned char *src, size_t srcLength, unsigned char *dst,
                     size_t dstLength) {
    size_t written;
    throwFor(decode(src, srcLength, dst, dstLength, written), dstLength);
    return written;
}

// Where the encoder's groups go.
class GroupSink {
public:
    virtual void put(const unsigned char *bytes, unsigned count) = 0;

protected:
    ~GroupSink() = default;
};

class BlockSink : public GroupSink {
public:
    BlockSink(unsigned char *dst, unsigned long dstLength) : dst(dst), capacity(dstLength), used(0) {}
    void put(const unsigned char *bytes, unsigned count) override {
        if (capacity - used < count)
            throwFor(overrun, capacity);
        memcpy(dst + used, bytes, count);
        used += count;
    }

private:
    unsigned char *dst;
    unsigned long capacity;
    unsigned long used;
};

class FileSink : public GroupSink {
public:
    explicit FileSink(const mOutputFile &file) : file(file) {}
    void put(const unsigned char *bytes, unsigned count) override { file.writeBytes(bytes, (int)count); }

private:
    const mOutputFile &file;
};

// The encoder's working record for one call: binary search trees over the ring,
// one tree for each first byte, whose nodes are ring positions.
class LzssEncoder {
public:
    LzssEncoder(const unsigned char *src, unsigned long length, GroupSink &out)
        : src(src), left(length), out(out), written(0), matchPosition(0), matchLength(0) {}

    unsigned long run();

private:
    void insert(unsigned r);
    void remove(unsigned p);
    void takePlace(unsigned p, unsigned q);
    void putToken(unsigned r);
    void flushGroup();

    const unsigned char *src;
    unsigned long left;
    GroupSink &out;
    unsigned long written;
    unsigned matchPosition;
    unsigned matchLength;
    unsigned char group[1 + 2 * 8];
    unsigned groupSize;
    unsigned char mask;
    // The first LONGEST - 1 ring bytes stand again behind the ring, so that a
    // comparison never wraps.
    unsigned char text[RING + LONGEST - 1];
    unsigned short lson[RING + 1];
    unsigned short rson[RING + 1 + 256];
    unsigned short dad[RING + 1];
};

// Walks down from the root of r's first byte, remembering the first longest
// match; a full match takes over the matched node's place in the tree.
void LzssEncoder::insert(unsigned r) {
    const unsigned char *key = &text[r];
    unsigned p = RING + 1 + key[0];
    int cmp = 1;
    rson[r] = lson[r] = NIL;
    matchLength = 0;
    for (;;) {
        unsigned short *next = cmp >= 0 ? &rson[p] : &lson[p];
        if (*next == NIL) {
            *next = (unsigned short)r;
            dad[r] = (unsigned short)p;
            return;
        }
        p = *next;
        // Eight bytes at a time up to the first difference, then byte by byte
        // for the compare result.
        unsigned i = 1;
        for (; i + 8 <= LONGEST; i += 8) {
            uint64_t a, b;
            memcpy(&a, key + i, 8);
            memcpy(&b, &text[p + i], 8);
            if (a != b) {
                i += (unsigned)__builtin_ctzll(a ^ b) / 8;
                break;
            }
        }
        for (; i < LONGEST; ++i)
            if ((cmp = key[i] - text[p + i]) != 0)
                break;
        if (i > matchLength) {
            matchPosition = p;
            matchLength = i;
            if (i >= LONGEST)
                break;
        }
    }
    lson[r] = lson[p];
    rson[r] = rson[p];
    dad[lson[p]] = (unsigned short)r;
    dad[rson[p]] = (unsigned short)r;
    takePlace(p, r);
}

// q takes p's place below p's parent, and p leaves the tree.
void LzssEncoder::takePlace(unsigned p, unsigned q) {
    dad[q] = dad[p];
    if (rson[dad[p]] == p)
        rson[dad[p]] = (unsigned short)q;
    else
        lson[dad[p]] = (unsigned short)q;
    dad[p] = NIL;
}

// The ordinary delete: a node with two sons gives way to the rightmost node of
// its left subtree.
void LzssEncoder::remove(unsigned p) {
    if (dad[p] == NIL)
        return;
    unsigned q;
    if (rson[p] == NIL) {
        q = lson[p];
    } else if (lson[p] == NIL) {
        q = rson[p];
    } else {
        q = lson[p];
        if (rson[q] != NIL) {
            do
                q = rson[q];
            while (rson[q] != NIL);
            rson[dad[q]] = lson[q];
            dad[lson[q]] = dad[q];
            lson[q] = lson[p];
            dad[lson[p]] = (unsigned short)q;
        }
        rson[q] = rson[p];
        dad[rson[p]] = (unsigned short)q;
    }
    takePlace(p, q);
}

// Adds the token at r to the group: a literal for a match below the shortest
// (which then counts as one byte), else a reference.
void LzssEncoder::putToken(unsigned r) {
    if (matchLength < SHORTEST) {
        matchLength = 1;
        group[0] |= mask;
        group[groupSize++] = text[r];
    } else {
        group[groupSize++] = (unsigned char)matchPosition;
        group[groupSize++] = (unsigned char)(((matchPosition >> 4) & 0xF0) | (matchLength - SHORTEST));
    }
    mask = (unsigned char)(mask << 1);
    if (mask == 0)
        flushGroup();
}

void LzssEncoder::flushGroup() {
    out.put(group, groupSize);
    written += groupSize;
    group[0] = 0;
    groupSize = 1;
    mask = 1;
}

unsigned long LzssEncoder::run() {
    for (unsigned i = RING + 1; i <= RING + 256; ++i)
        rson[i] = NIL;
    for (unsigned i = 0; i < RING; ++i)
        dad[i] = NIL;
    group[0] = 0;
    groupSize = 1;
    mask = 1;
    // Bytes behind the source's end stay zero, so that the last matches do not
    // depend on what the memory held before.
    memset(text, ' ', START);
    memset(text + START, 0, sizeof text - START);
    unsigned s = 0, r = START;
    unsigned len = 0;
    for (; len < LONGEST && left; ++len, --left)
        text[r + len] = *src++;
    if (len == 0)
        return 0;
    for (unsigned i = 1; i <= LONGEST; ++i)
        insert(r - i);
    insert(r);
    do {
        if (matchLength > len)
            matchLength = len;
        putToken(r);
        const unsigned consumed = matchLength;
        unsigned i = 0;
        for (; i < consumed && left; ++i, --left) {
            remove(s);
            const unsigned char c = *src++;
            text[s] = c;
            if (s < LONGEST - 1)
                text[s + RING] = c;
            s = (s + 1) & RING_MASK;
            r = (r + 1) & RING_MASK;
            insert(r);
        }
        for (; i < consumed; ++i) {
            remove(s);
            s = (s + 1) & RING_MASK;
            r = (r + 1) & RING_MASK;
            if (--len)
                insert(r);
        }
    } while (len > 0);
    if (groupSize > 1)
        flushGroup();
    return written;
}

unsigned long encodeLzss(const unsigned char *src, unsigned long length, GroupSink &out) {
    std::unique_ptr<LzssEncoder> encoder(new LzssEncoder(src, length, out));
    return encoder->run();
}

} // namespace

void mCodec::unCompress(const unsigned char *src, unsigned char *dst, long srcLength) {
    if (srcLength <= 0)
        return;
    decodeOrThrow(decodeLzss, src, (size_t)srcLength, dst, (size_t)srcLength * LZSS_MOST_PER_BYTE);
}

long mCodec::unCompress(const unsigned char *src, long srcLength, unsigned char *dst, long dstLength) {
    if (srcLength <= 0)
        return 0;
    return (long)decodeOrThrow(decodeLzss, src, (size_t)srcLength, dst, dstLength > 0 ? (size_t)dstLength : 0);
}

unsigned long mCodec::compress(const unsigned char *src, mOutputFile &out, unsigned long length) {
    FileSink sink(out);
    return encodeLzss(src, length, sink);
}

unsigned long mCodec::compress(const unsigned char *src, unsigned long length, unsigned char *dst,
                               unsigned long dstLength) {
    BlockSink sink(dst, dstLength);
    return encodeLzss(src, length, sink);
}

void mCodec::unAComp(const unsigned char *src, unsigned char *dst, unsigned long length) {
    decodeOrThrow(decodeAudio, src, length, dst, (size_t)length * AUDIO_MOST_PER_BYTE);
}

unsigned long mCodec::unAComp(const unsigned char *src, unsigned long length, unsigned char *dst,
                              unsigned long dstLength) {
    return (unsigned long)decodeOrThrow(decodeAudio, src, length, dst, dstLength);
}
