#include "CodecTesting.h"
#include "ExpectError.h"
#include "MixedData.h"
#include "ScratchDir.h"

#include <cstdio>
#include <cstring>

using codec::Bytes;
using codec::Fenced;

namespace {

Bytes bytesOf(const char *s) { return Bytes(s, s + strlen(s)); }

// Encodes into a fenced block of the bound's size.
Bytes encode(const Bytes &in) {
    const unsigned long bound = mCodec::compressBound((unsigned long)in.size());
    Fenced src(in), dst(bound);
    unsigned long size = 0;
    codec::guarded([&] { size = mCodec::compress(src.data(), (unsigned long)in.size(), dst.data(), bound); });
    EXPECT_LE(size, bound);
    return dst.first(size);
}

// Decodes from a fenced stream into a fenced block of `size` bytes, through the
// bounded form; gives what was written.
Bytes decode(const Bytes &stream, size_t size) {
    Fenced src(stream), dst(size);
    long written = 0;
    codec::guarded([&] {
        written = mCodec::unCompress(src.data(), (long)stream.size(), dst.data(), (long)size);
    });
    EXPECT_LE((size_t)written, size);
    return dst.first((size_t)written);
}

// Builds a stream token by token, as a hand-made encoder would.
class Stream {
public:
    Stream &literal(unsigned char c) {
        startToken(true);
        bytes.push_back(c);
        return *this;
    }
    Stream &literals(const char *s) {
        while (*s)
            literal((unsigned char)*s++);
        return *this;
    }
    Stream &reference(unsigned position, unsigned length) {
        startToken(false);
        bytes.push_back((unsigned char)position);
        bytes.push_back((unsigned char)(((position >> 4) & 0xF0) | (length - 3)));
        return *this;
    }
    Bytes bytes;

private:
    void startToken(bool isLiteral) {
        if (tokens == 8) {
            flagAt = bytes.size();
            bytes.push_back(0);
            tokens = 0;
        }
        if (isLiteral)
            bytes[flagAt] |= (unsigned char)(1 << tokens);
        ++tokens;
    }
    size_t flagAt = 0;
    int tokens = 8;
};

const char *const truncatedMessage = "Hit EOF on decompression";
const char *const overrunMessage = "Compressed data overruns its block";
const char *const codecPath = "mUtil/mCodec";

// Outputs worked out by hand from the encoder's rules: ring positions start at
// 4078 (0xFEE), a reference is position low byte, then position high nibble and
// length - 3; the tree walk keeps the first node among equally long matches.
TEST(LzssEncoder, EncodesHandWorkedInputsByteForByte) {
    // No match anywhere: literals only, in one partial group.
    EXPECT_EQ(encode(bytesOf("abc")), (Bytes{0x07, 'a', 'b', 'c'}));
    // A run: one literal, then a reference to it that overlaps what it writes.
    EXPECT_EQ(encode(Bytes(10, 'a')), (Bytes{0x01, 'a', 0xEE, 0xF6}));
    // Both "abc" repeats go back to the first one, which the walk meets first,
    // not to the nearer second one; eight tokens fill exactly one group.
    EXPECT_EQ(encode(bytesOf("abcXabcYabcZ")),
              (Bytes{0xAF, 'a', 'b', 'c', 'X', 0xEE, 0xF0, 'Y', 0xEE, 0xF0, 'Z'}));
    // A full 18-byte match hands the matched node's place to the new position:
    // the third copy refers to the second (position 0, after the ring wrapped),
    // not to the first.
    const char *x = "ABCDEFGHIJKLMNOPQR";
    Bytes three = bytesOf(x);
    three.insert(three.end(), x, x + 18);
    three.insert(three.end(), x, x + 18);
    EXPECT_EQ(encode(three), (Bytes{0xFF, 'A', 'B', 'C', 'D', 'E', 'F', 'G', 'H',
                                    0xFF, 'I', 'J', 'K', 'L', 'M', 'N', 'O', 'P',
                                    0x03, 'Q', 'R', 0xEE, 0xFF, 0x00, 0x0F}));
    // 40 bytes of a run: 1 + 18 + 18 + 3. The last three come from the oldest
    // node of the run's chain (position 4), the first met on the walk.
    EXPECT_EQ(encode(Bytes(40, 'a')), (Bytes{0x01, 'a', 0xEE, 0xFF, 0x00, 0x0F, 0x04, 0x00}));
}

TEST(LzssEncoder, MatchesTheInitialSpacesAndReadsZerosBehindTheSource) {
    // The ring's spaces match at once. With the bytes behind the source read as
    // zeros, position 4077 is the node the walk meets first.
    EXPECT_EQ(encode(Bytes(5, ' ')), (Bytes{0x00, 0xED, 0xF2}));
}

// Bytes from 0xA0 on in which no three in a row come twice: pairs of a high
// and a low part of a counter. They encode as literals only.
class Filler {
public:
    unsigned char next() {
        const unsigned k = t / 2;
        return (unsigned char)(t++ % 2 == 0 ? 0xE0 + (k >> 6) : 0xA0 + (k & 63));
    }

private:
    unsigned t = 0;
};

TEST(LzssEncoder, DeletingANodeWithTwoSonsPromotesTheRightmostOfItsLeftSubtree) {
    // "QXYM" at ring 4078 is the root's node P; "QXYF" goes left of it (L),
    // "QXYT" right (R), "QXYH" right of L (LR). Each later one refers to P.
    // Reading input byte 4096 deletes P, and LR takes its place, with L and R
    // as its sons. "QXYG" at input 4079 then meets LR first, then L, both
    // matching 3 bytes: it refers to LR, at ring (4078 + 60) mod 4096 = 42.
    Filler filler;
    Bytes in;
    Stream expected;
    auto fill = [&](size_t until) {
        while (in.size() < until) {
            in.push_back(filler.next());
            expected.literal(in.back());
        }
    };
    auto segment = [&](char last, int position) {
        in.insert(in.end(), {'Q', 'X', 'Y', (unsigned char)last});
        if (position < 0)
            expected.literals("QXY");
        else
            expected.reference((unsigned)position, 3);
        expected.literal((unsigned char)last);
    };
    segment('M', -1);
    fill(20);
    segment('F', 4078);
    fill(40);
    segment('T', 4078);
    fill(60);
    segment('H', 4078);
    fill(4079);
    segment('G', 42);
    fill(4103);
    EXPECT_EQ(encode(in), expected.bytes);
}

TEST(LzssEncoder, EmptyInputWritesNothing) {
    EXPECT_EQ(encode(Bytes()), Bytes());
}

TEST(LzssEncoder, FillsABlockExactlyAndThrowsBeforeWritingPastOne) {
    mixed::Random rng(7);
    const Bytes data = mixed::text(3000, rng);
    const Bytes stream = encode(data);
    Fenced src(data);
    // Blocks from a group's length short to exactly the stream's size.
    for (size_t size = stream.size() - 20; size <= stream.size(); ++size) {
        Fenced dst(size);
        auto run = [&] {
            codec::guarded([&] {
                EXPECT_EQ(mCodec::compress(src.data(), (unsigned long)data.size(), dst.data(), (unsigned long)size),
                          (unsigned long)stream.size());
            });
        };
        if (size == stream.size()) {
            run();
            EXPECT_EQ(dst.first(size), stream);
        } else {
            EXPECT_MERROR(run(), overrunMessage, size, codecPath);
        }
    }
}

Bytes readFile(const std::string &path) {
    Bytes bytes;
    if (std::FILE *f = std::fopen(path.c_str(), "rb")) {
        for (int c; (c = std::fgetc(f)) != EOF;)
            bytes.push_back((unsigned char)c);
        std::fclose(f);
    }
    return bytes;
}

TEST(LzssEncoder, WritesToAFileAtItsPresentPosition) {
    ScratchDir dir("codec");
    mixed::Random rng(17);
    const Bytes data = mixed::mix(200000, rng);
    const Bytes stream = encode(data);
    const std::string path = dir.path("stream.bin");
    {
        mOutputFile out(mString(path.c_str()));
        ASSERT_TRUE(out.OpenFile(true, mFile::createFile));
        out.writeBytes("HEAD", 4);
        EXPECT_EQ(mCodec::compress(data.data(), out, (unsigned long)data.size()), (unsigned long)stream.size());
        EXPECT_EQ(mCodec::compress(data.data(), out, 0), 0ul);
    }
    Bytes expected = bytesOf("HEAD");
    expected.insert(expected.end(), stream.begin(), stream.end());
    EXPECT_EQ(readFile(path), expected);
}

TEST(LzssEncoder, UnopenedFileFailsAtTheFirstWrite) {
    ScratchDir dir("codec");
    mOutputFile out(mString(dir.path("never.bin").c_str()));
    const Bytes data = bytesOf("some bytes to encode");
    EXPECT_EQ(mCodec::compress(data.data(), out, 0), 0ul);
    EXPECT_MERROR(mCodec::compress(data.data(), out, (unsigned long)data.size()), "Write to unopened file!", 0,
                  "mFile/mFile");
}

TEST(LzssEncoder, NoiseGrowsButStaysWithinTheBound) {
    mixed::Random rng(11);
    const Bytes noise = mixed::noise(50000, rng);
    const Bytes stream = encode(noise);
    EXPECT_GT(stream.size(), noise.size());
    EXPECT_EQ(decode(stream, noise.size()), noise);
}

TEST(LzssRoundTrip, LargeMixedDataComesBackExactly) {
    mixed::Random rng(2024);
    struct Case {
        const char *name;
        Bytes data;
    } cases[] = {{"text", mixed::text(300000, rng)},
                 {"runs", mixed::runs(300000, rng)},
                 {"image", mixed::image(300000, rng)},
                 {"sparse", mixed::sparse(300000, rng)},
                 {"mixed", mixed::mix(1200000, rng)}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const Bytes stream = encode(c.data);
        EXPECT_LT(stream.size(), c.data.size());
        EXPECT_EQ(decode(stream, c.data.size()), c.data);
        // The encoder reads nothing it did not set: a second run gives the same stream.
        EXPECT_EQ(encode(c.data), stream);
        // The unbounded form gives the same bytes.
        Bytes plain(c.data.size());
        mCodec::unCompress(stream.data(), plain.data(), (long)stream.size());
        EXPECT_EQ(plain, c.data);
    }
}

TEST(LzssRoundTrip, EveryLengthAroundAGroupEnd) {
    mixed::Random rng(5);
    const Bytes base = mixed::text(200, rng);
    for (size_t n = 1; n <= base.size(); ++n) {
        const Bytes in(base.begin(), base.begin() + n);
        ASSERT_EQ(decode(encode(in), n), in) << "length " << n;
    }
}

TEST(LzssDecoder, ReferencesReadTheInitialRingAsSpaces) {
    EXPECT_EQ(decode(Bytes{0x00, 0x00, 0x00}, 3), bytesOf("   "));
    // Starting in never-written ring bytes and running into the bytes it writes.
    EXPECT_EQ(decode(Stream().literals("ab").reference(4077, 4).bytes, 6), bytesOf("ab ab "));
}

TEST(LzssDecoder, ReferencesWrapAroundTheRing) {
    // 20 literals fill ring positions 4078 to 4095, then 0 and 1.
    const Bytes stream = Stream().literals("0123456789ABCDEFGHIJ").reference(4094, 4).bytes;
    EXPECT_EQ(decode(stream, 24), bytesOf("0123456789ABCDEFGHIJGHIJ"));
}

TEST(LzssDecoder, ReferenceToTheWritePositionReadsTheOldestByte) {
    Stream s;
    Bytes expected;
    for (int i = 0; i < 4096; ++i) {
        const unsigned char c = (unsigned char)(i * 7 + i / 256);
        s.literal(c);
        expected.push_back(c);
    }
    // After 4096 bytes the write position is back at 4078.
    s.reference(4078, 5);
    expected.insert(expected.end(), expected.begin(), expected.begin() + 5);
    EXPECT_EQ(decode(s.bytes, expected.size()), expected);
}

TEST(LzssDecoder, UnusedFlagBitsOfTheLastGroupAreIgnored) {
    // The flag byte promises references after "ij"; the stream ends at a token's end.
    const Bytes stream = {0xFF, 'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 0x03, 'i', 'j'};
    EXPECT_EQ(decode(stream, 10), bytesOf("abcdefghij"));
}

TEST(LzssDecoder, NoInputDoesNothing) {
    // Decoded, these bytes would be a reference into a block of no bytes.
    Fenced src(Bytes{0x00, 0x01}), dst(0);
    codec::guarded([&] {
        EXPECT_EQ(mCodec::unCompress(src.data(), 0, dst.data(), 0), 0);
        EXPECT_EQ(mCodec::unCompress(src.data(), -5, dst.data(), 0), 0);
        mCodec::unCompress(src.data(), dst.data(), 0);
        mCodec::unCompress(src.data(), dst.data(), -1);
    });
}

TEST(LzssDecoder, TruncatedTokensThrow) {
    const Bytes cases[] = {
        {0x00, 0xEE},                                         // a reference cut in the middle
        {0x03, 'a', 'b', 0xEE},                               // the same behind two literals
        {0x01},                                               // a flag byte with nothing behind it
        {0xFF, 'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 0x01}, // the last byte is a flag byte
    };
    for (const Bytes &stream : cases) {
        SCOPED_TRACE(testing::Message() << "stream of " << stream.size());
        EXPECT_MERROR(decode(stream, 100), truncatedMessage, 0, codecPath);
    }
    Fenced src(cases[0]);
    Bytes plain(100);
    EXPECT_MERROR(codec::guarded([&] { mCodec::unCompress(src.data(), plain.data(), 2); }), truncatedMessage, 0,
                  codecPath);
}

TEST(LzssDecoder, EveryPrefixOfAStreamDecodesToAPrefixOrThrows) {
    mixed::Random rng(99);
    const Bytes data = mixed::mix(70000, rng);
    const Bytes stream = encode(data);
    for (size_t cut = 1; cut < stream.size(); cut += 1 + cut / 50) {
        try {
            const Bytes out = decode(Bytes(stream.begin(), stream.begin() + cut), data.size());
            ASSERT_LT(out.size(), data.size());
            ASSERT_EQ(out, Bytes(data.begin(), data.begin() + out.size())) << "cut at " << cut;
        } catch (const mError &e) {
            ASSERT_STREQ(e.message.c_str(), truncatedMessage) << "cut at " << cut;
        }
    }
}

TEST(LzssDecoder, OutputBeyondTheBlockThrowsBeforeWritingPastIt) {
    const Bytes stream = encode(Bytes(100, 'z'));
    for (long size : {0L, 1L, 50L, 99L}) {
        EXPECT_MERROR(decode(stream, (size_t)size), overrunMessage, size, codecPath);
    }
    // A literal that finds the block full.
    EXPECT_MERROR(decode(bytesOf("\x07xyz"), 2), overrunMessage, 2, codecPath);
}

TEST(LzssDecoder, RandomStreamsStayInsideTheirBlocks) {
    mixed::Random rng(31337);
    for (int round = 0; round < 3000; ++round) {
        const Bytes junk = mixed::noise(1 + rng.below(600), rng);
        try {
            decode(junk, rng.below(2000));
        } catch (const mError &e) {
            const bool known = strcmp(e.message.c_str(), truncatedMessage) == 0 ||
                               strcmp(e.message.c_str(), overrunMessage) == 0;
            ASSERT_TRUE(known) << e.message.c_str();
        }
    }
}

} // namespace
