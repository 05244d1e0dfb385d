#include "CodecTesting.h"
#include "ExpectError.h"

#include <cmath>
#include <cstdlib>

using codec::Bytes;

namespace {

Bytes decode(const Bytes &stream, size_t size) { return codec::decode(codec::audio, stream, size); }

TEST(AudioDecoder, DecodesHandMadeStreams) {
    const struct Case {
        Bytes stream, out;
    } cases[] = {
        // B = 8 from 100. Each block is followed by an absolute 2 (0x81), which
        // shows where the decoder took its next command. Row 0 of 4 bits: nibble
        // 15 adds 8, nibble 0 subtracts 8.
        {{8, 100, 0x30, 0xF0, 0xF0, 0xF0, 0xF0, 0x81}, {100, 108, 100, 108, 100, 108, 100, 108, 100, 2}},
        // Row 1 of 2 bits: codes 3, 2, 1, 0 add entries 9, 8, 7, 6: +4, +2, -2, -4.
        {{8, 100, 0x21, 0xE4, 0xE4, 0x81}, {100, 104, 106, 104, 100, 104, 106, 104, 100, 2}},
        // Row 2 of 1 bit: set bits add 3, clear bits subtract 3.
        {{8, 100, 0x12, 0xAA, 0x81}, {100, 103, 100, 103, 100, 103, 100, 103, 100, 2}},
        // Row 15 of 1 bit, +16 or -16: steps stick at the limits and go on from there.
        {{16, 200, 0x1F, 0xFF, 0x0F},
         {200, 216, 232, 248, 255, 255, 255, 255, 255, 239, 223, 207, 191, 207, 223, 239, 255}},
        {{16, 20, 0x1F, 0x00, 0xF0}, {20, 4, 0, 0, 0, 0, 0, 0, 0, 16, 32, 48, 64, 48, 32, 16, 0}},
        // Row 15 of 4 bits: nibble 15 adds 127, nibble 8 adds 16, nibble 0 subtracts 128.
        {{2, 0, 0x3F, 0xF0, 0x3F, 0x08}, {0, 127, 0, 0, 16}},
        // Absolute samples are even; runs repeat them, 63 at most.
        {{32, 7, 0xFF, 0x80, 0xC1, 0x43}, {7, 254, 0, 130, 130, 130, 130}},
        {{32, 9, 0x7F}, Bytes(64, 9)},
        // A run of none and commands 0x00 to 0x0F give nothing; nor does a block
        // of 1 bit when B is below 8, as it has no data bytes.
        {{32, 50, 0x40, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 0x42}, {50, 50, 50}},
        {{7, 50, 0x1F, 0x41}, {50, 50}},
        // The end of the stream ends decoding; one byte is only the block length.
        {{32, 60, 0x80, 0x81}, {60, 0, 2}},
        {{32}, {}},
        {{}, {}},
    };
    for (const Case &c : cases)
        EXPECT_EQ(decode(c.stream, c.out.size()), c.out) << "case " << &c - cases;
}

TEST(AudioDecoder, BadStreamsThrowBeforeLeavingTheirBlocks) {
    // A 4-bit block of B = 8 wants 4 data bytes; 3 are there.
    EXPECT_MERROR(decode({8, 100, 0x30, 0x88, 0x88, 0x88}, 100), codec::truncatedMessage, 0, codec::codecPath);
    const Bytes streams[] = {
        {32, 1, 0x45},                         // a run
        {32, 1, 0x80, 0x80, 0x80, 0x80, 0x80}, // absolute samples
        {8, 1, 0x20, 0x55, 0x55},              // a block of 8 samples
    };
    for (const Bytes &s : streams)
        for (size_t size : {0, 1, 4})
            EXPECT_MERROR(decode(s, size), codec::overrunMessage, size, codec::codecPath);
}

enum Kind { absolute, run, nothing, block1, block2, block4, kinds };
const int tolerance = 6;

// An encoder for the audio stream, which the library only decodes: it makes long
// streams with every kind of command, and knows what they decode to. It puts a
// run where the samples repeat the present value, else the narrowest block that
// lands within tolerance of every sample, else an absolute sample; after every
// seventh command, one that does nothing.
struct AudioEncoder {
    AudioEncoder(const Bytes &samples, unsigned char blockLength)
        : samples(samples), blockLength(blockLength), bytes{blockLength, samples[0]}, expected{samples[0]} {
        for (size_t i = 1, commands = 1; i < samples.size(); ++commands) {
            const int cur = expected.back();
            size_t n = 0;
            while (i + n < samples.size() && n < 63 && samples[i + n] == cur)
                expected.push_back(samples[i + n++]);
            if (n) {
                put(0x40 | n, run);
            } else if (!(n = block(i, cur))) {
                put(0x80 | samples[i] >> 1, absolute);
                expected.push_back(samples[i] & 0xFE);
                n = 1;
            }
            i += n;
            if (commands % 7 == 0)
                put(commands / 7 & 0x0F, nothing);
        }
    }

    void put(size_t byte, Kind kind) {
        bytes.push_back((unsigned char)byte);
        ++count[kind];
    }

    // Where a step of row r, entry k lands from value.
    static int land(int value, int r, int k) {
        const int step = (k < 8 ? k - 8 : k - 7) * (r + 1);
        const int sum = value + (step > 127 ? 127 : step);
        return sum < 0 ? 0 : sum > 255 ? 255 : sum;
    }

    // Puts a block at i if one fits, trying each row and at each step the code
    // that lands nearest the sample; gives the samples it covers, or 0.
    size_t block(size_t i, int cur) {
        for (int width = 0; width < 3; ++width) {
            const int bits = 1 << width, firstEntry = bits == 4 ? 0 : 8 - bits;
            const size_t steps = (blockLength >> (3 - width)) * 8 / bits;
            for (int row = 0; row < 16 && steps && i + steps <= samples.size(); ++row) {
                Bytes data, out;
                for (int value = cur; out.size() < steps;) {
                    const int target = samples[i + out.size()];
                    int code = 0;
                    for (int c = 1; c < 1 << bits; ++c)
                        if (std::abs(land(value, row, firstEntry + c) - target) <
                            std::abs(land(value, row, firstEntry + code) - target))
                            code = c;
                    value = land(value, row, firstEntry + code);
                    if (std::abs(value - target) > tolerance)
                        break;
                    if (out.size() % (8 / bits) == 0)
                        data.push_back(0);
                    data.back() = (unsigned char)(data.back() << bits | code);
                    out.push_back((unsigned char)value);
                }
                if (out.size() < steps)
                    continue;
                put((width + 1) << 4 | row, Kind(block1 + width));
                bytes.insert(bytes.end(), data.begin(), data.end());
                expected.insert(expected.end(), out.begin(), out.end());
                return steps;
            }
        }
        return 0;
    }

    const Bytes &samples;
    const unsigned char blockLength;
    Bytes bytes;    // the stream, its block-length byte first
    Bytes expected; // what it decodes to
    int count[kinds] = {};
};

// Silence, slow and fast tones, a tone clipped at both limits, noise, and the top value held.
Bytes testSignal() {
    Bytes samples(2000, 128);
    const double pi = 3.14159265358979;
    for (int i = 0; i < 9000; ++i) {
        const double v = i < 3000   ? 128 + 20 * std::sin(i * 2 * pi / 700)
                         : i < 6000 ? 128 + 90 * std::sin(i * 2 * pi / 60)
                                    : 128 + 200 * std::sin(i * 2 * pi / 150);
        samples.push_back((unsigned char)(v < 0 ? 0 : v > 255 ? 255 : v));
    }
    mixed::Random rng(3);
    const Bytes noise = mixed::noise(2000, rng);
    samples.insert(samples.end(), noise.begin(), noise.end());
    samples.insert(samples.end(), 500, 255);
    return samples;
}

TEST(AudioRoundTrip, EveryCommandKindDecodesAsEncodedWholeOrCut) {
    const Bytes samples = testSignal();
    for (unsigned char blockLength : {32, 27, 255}) {
        SCOPED_TRACE(testing::Message() << "B = " << (int)blockLength);
        const AudioEncoder s(samples, blockLength);
        ASSERT_EQ(s.expected.size(), samples.size());
        for (int kind = 0; kind < kinds && blockLength == 32; ++kind)
            EXPECT_GT(s.count[kind], 0) << "kind " << kind;
        const Bytes out = decode(s.bytes, samples.size());
        ASSERT_EQ(out, s.expected);
        for (size_t i = 0; i < samples.size(); ++i)
            ASSERT_LE(std::abs(out[i] - samples[i]), tolerance) << "sample " << i;
        Bytes plain(samples.size());
        mCodec::unAComp(s.bytes.data(), plain.data(), (unsigned long)s.bytes.size());
        EXPECT_EQ(plain, s.expected);
        if (blockLength == 32)
            codec::expectHostileStreamsContained(codec::audio, s.bytes, s.expected);
    }
}

} // namespace
