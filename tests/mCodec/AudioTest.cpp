#include "AudioEncoder.h"
#include "CodecTesting.h"
#include "ExpectError.h"
#include "MixedData.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

using codec::Bytes;
using codec::Fenced;

namespace {

// Decodes from a fenced stream of `length` bytes into a fenced block of `size`
// samples, through the bounded form; gives what was written.
Bytes decode(const Bytes &stream, size_t size, size_t length) {
    Fenced src(Bytes(stream.begin(), stream.begin() + length)), dst(size);
    unsigned long written = 0;
    codec::guarded([&] {
        written = mCodec::unAComp(src.data(), (unsigned long)length, dst.data(), (unsigned long)size);
    });
    EXPECT_LE(written, size);
    return dst.first(written);
}

Bytes decode(const Bytes &stream, size_t size) { return decode(stream, size, stream.size()); }

Bytes concat(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes &p : parts)
        all.insert(all.end(), p.begin(), p.end());
    return all;
}

Bytes repeat(size_t n, const Bytes &pattern) {
    Bytes all;
    while (all.size() < n)
        all.insert(all.end(), pattern.begin(), pattern.end());
    all.resize(n);
    return all;
}

TEST(AudioDecoder, BlocksOfEachWidthTakeTheirBytesAndGiveBlockLengthSamples) {
    // B = 32, first sample 100. Each block is followed by an absolute 2 (0x81),
    // which shows where the decoder took its next command.
    struct Case {
        Bytes command;
        size_t dataBytes;
        unsigned char data;
        Bytes pattern; // the samples the data give, repeating
    } cases[] = {
        // Row 0: nibble 15 adds 8, nibble 0 subtracts 8.
        {{0x30}, 16, 0xF0, {108, 100}},
        // Row 1, codes 3, 2, 1, 0 add entries 9, 8, 7, 6: +4, +2, -2, -4.
        {{0x21}, 8, 0xE4, {104, 106, 104, 100}},
        // Row 2: set bits add 3, clear bits subtract 3.
        {{0x12}, 4, 0xAA, {103, 100}},
    };
    for (const Case &c : cases) {
        const Bytes stream = concat({{32, 100}, c.command, Bytes(c.dataBytes, c.data), {0x81}});
        const Bytes expected = concat({{100}, repeat(32, c.pattern), {2}});
        EXPECT_EQ(decode(stream, 34), expected) << "command " << (int)c.command[0];
    }
}

TEST(AudioDecoder, StepsStickAtTheLimitsAndGoOnFromThere) {
    // Row 15 of 1 bit: +16 or -16. From 200: 216, 232, 248, then 255 (held), and
    // back down from 255, not from 264.
    const Bytes up = decode({32, 200, 0x1F, 0xFF, 0x0F, 0x00, 0x00}, 33);
    EXPECT_EQ(Bytes(up.begin(), up.begin() + 13),
              (Bytes{200, 216, 232, 248, 255, 255, 255, 255, 255, 239, 223, 207, 191}));
    // From 20 down: 4, 0, 0, then up again from 0.
    const Bytes down = decode({32, 20, 0x1F, 0x00, 0xF0, 0x00, 0x00}, 33);
    EXPECT_EQ(Bytes(down.begin(), down.begin() + 13), (Bytes{20, 4, 0, 0, 0, 0, 0, 0, 0, 16, 32, 48, 64}));
}

TEST(AudioDecoder, TheLargestStepIs127) {
    // Row 15 of 4 bits: nibble 15 adds 127, nibble 8 adds 16, nibble 0 subtracts 128.
    const Bytes out = decode({2, 0, 0x3F, 0xF0, 0x3F, 0x08}, 5);
    EXPECT_EQ(out, (Bytes{0, 127, 0, 0, 16}));
}

TEST(AudioDecoder, AbsoluteSamplesAreEvenAndRunsRepeatThem) {
    EXPECT_EQ(decode({32, 7, 0xFF, 0x80, 0xC1, 0x43}, 7), (Bytes{7, 254, 0, 130, 130, 130, 130}));
    // A run of 63 is the longest.
    EXPECT_EQ(decode({32, 9, 0x7F}, 64), Bytes(64, 9));
}

TEST(AudioDecoder, CommandsThatOutputNothing) {
    Bytes stream = {32, 50, 0x40};
    for (unsigned char c = 0x00; c <= 0x0F; ++c)
        stream.push_back(c);
    stream.push_back(0x42);
    EXPECT_EQ(decode(stream, 3), (Bytes{50, 50, 50}));
    // With B below 8, a block of 1 bit has no data bytes and gives nothing.
    EXPECT_EQ(decode({7, 50, 0x1F, 0x41}, 2), (Bytes{50, 50}));
}

TEST(AudioDecoder, StopsAtTheEndOfItsBlock) {
    // A run command stands behind the 4 bytes given; it is not read.
    const Bytes stream = {32, 60, 0x80, 0x81, 0x45};
    EXPECT_EQ(decode(stream, 10, 4), (Bytes{60, 0, 2}));
    // One byte is only the block length; none is nothing at all.
    EXPECT_EQ(decode(stream, 4, 1), Bytes());
    EXPECT_EQ(decode(stream, 4, 0), Bytes());
}

TEST(AudioDecoder, BlockDataCutShortThrows) {
    // A 4-bit block of B = 32 wants 16 data bytes; 15 are there.
    EXPECT_MERROR(decode(concat({{32, 100, 0x30}, Bytes(15, 0x88)}), 100), "Hit EOF on decompression", 0,
                  "mUtil/mCodec");
}

TEST(AudioDecoder, OutputBeyondTheBlockThrowsBeforeWritingPastIt) {
    const Bytes streams[] = {
        {32, 1, 0x45},                           // a run
        {32, 1, 0x80, 0x80, 0x80, 0x80, 0x80},   // absolute samples
        concat({{32, 1, 0x20}, Bytes(8, 0x55)}), // a block of 32 samples
    };
    for (const Bytes &s : streams) {
        for (size_t size : {0, 1, 4}) {
            EXPECT_MERROR(decode(s, size), "Compressed data overruns its block", size, "mUtil/mCodec");
        }
    }
}

// Silence, slow and fast tones, a tone clipped at both limits, and noise.
Bytes testSignal() {
    Bytes samples(2000, 128);
    const double pi = 3.14159265358979;
    for (int i = 0; i < 3000; ++i)
        samples.push_back((unsigned char)(128 + 20 * std::sin(i * 2 * pi / 700)));
    for (int i = 0; i < 3000; ++i)
        samples.push_back((unsigned char)(128 + 90 * std::sin(i * 2 * pi / 60)));
    for (int i = 0; i < 3000; ++i) {
        const double v = 128 + 200 * std::sin(i * 2 * pi / 150);
        samples.push_back((unsigned char)(v < 0 ? 0 : v > 255 ? 255 : v));
    }
    mixed::Random rng(3);
    const Bytes noise = mixed::noise(2000, rng);
    samples.insert(samples.end(), noise.begin(), noise.end());
    samples.insert(samples.end(), 500, 255);
    return samples;
}

TEST(AudioRoundTrip, EveryCommandKindDecodesAsEncoded) {
    const Bytes samples = testSignal();
    const int tolerance = 6;
    for (unsigned char blockLength : {32, 27, 255}) {
        SCOPED_TRACE(testing::Message() << "B = " << (int)blockLength);
        const codec::AudioStream s = codec::encodeAudio(samples, blockLength, tolerance, 7);
        ASSERT_EQ(s.expected.size(), samples.size());
        if (blockLength == 32) {
            EXPECT_GT(s.absolutes, 0);
            EXPECT_GT(s.runs, 0);
            EXPECT_GT(s.nothings, 0);
            EXPECT_GT(s.blocks[0], 0);
            EXPECT_GT(s.blocks[1], 0);
            EXPECT_GT(s.blocks[2], 0);
            EXPECT_GT(s.clamped, 0);
        }
        const Bytes out = decode(s.bytes, samples.size());
        ASSERT_EQ(out, s.expected);
        for (size_t i = 0; i < samples.size(); ++i)
            ASSERT_LE(std::abs(out[i] - samples[i]), tolerance) << "sample " << i;
        Bytes plain(samples.size());
        mCodec::unAComp(s.bytes.data(), plain.data(), (unsigned long)s.bytes.size());
        EXPECT_EQ(plain, s.expected);
    }
}

TEST(AudioRoundTrip, EveryPrefixDecodesToAPrefixOrThrows) {
    const Bytes samples = testSignal();
    const codec::AudioStream s = codec::encodeAudio(samples, 32, 6, 5);
    for (size_t cut = 0; cut < s.bytes.size(); cut += 1 + cut / 100) {
        try {
            const Bytes out = decode(s.bytes, samples.size(), cut);
            ASSERT_EQ(out, Bytes(s.expected.begin(), s.expected.begin() + out.size())) << "cut at " << cut;
        } catch (const mError &e) {
            ASSERT_STREQ(e.message.c_str(), "Hit EOF on decompression") << "cut at " << cut;
        }
    }
}

TEST(AudioDecoder, RandomStreamsStayInsideTheirBlocks) {
    mixed::Random rng(4242);
    for (int round = 0; round < 3000; ++round) {
        try {
            decode(mixed::noise(rng.below(400), rng), rng.below(3000));
        } catch (const mError &e) {
            const bool known = strcmp(e.message.c_str(), "Hit EOF on decompression") == 0 ||
                               strcmp(e.message.c_str(), "Compressed data overruns its block") == 0;
            ASSERT_TRUE(known) << e.message.c_str();
        }
    }
}

} // namespace
