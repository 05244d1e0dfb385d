#include "CodecTesting.h"
#include "ExpectError.h"
#include "ScratchDir.h"

#include <cstring>
#include <fstream>
#include <iterator>

using codec::Bytes;
using codec::Fenced;

namespace {

Bytes bytesOf(const char *s) { return Bytes(s, s + strlen(s)); }

Bytes decode(const Bytes &stream, size_t size) { return codec::decode(codec::lzss, stream, size); }

// Encodes a fenced copy of the input into a fenced block of the bound's size.
Bytes encode(const Bytes &in) {
    const unsigned long bound = mCodec::compressBound((unsigned long)in.size());
    Fenced src(in), dst(bound);
    unsigned long size = 0;
    codec::guarded([&] { size = mCodec::compress(src.data(), (unsigned long)in.size(), dst.data(), bound); });
    EXPECT_LE(size, bound);
    return dst.first(size < bound ? size : bound);
}

// Builds a stream token by token, as a hand-made encoder would.
struct Stream {
    Stream &literal(unsigned char c) { return token(true, {c}); }
    Stream &reference(unsigned position, unsigned length) {
        return token(false, {(unsigned char)position, (unsigned char)(((position >> 4) & 0xF0) | (length - 3))});
    }
    Stream &token(bool isLiteral, std::initializer_list<unsigned char> body) {
        if (tokens % 8 == 0) {
            flagAt = bytes.size();
            bytes.push_back(0);
        }
        bytes[flagAt] |= (unsigned char)(isLiteral << tokens++ % 8);
        bytes.insert(bytes.end(), body);
        return *this;
    }
    Bytes bytes;
    size_t flagAt = 0;
    int tokens = 0;
};

// Outputs worked out by hand from the encoder's rules: ring positions start at
// 4078 (0xFEE), a reference is position low byte, then position high nibble and
// length - 3; the tree walk keeps the first node among equally long matches.
TEST(LzssEncoder, EncodesHandWorkedInputsByteForByte) {
    const std::string x = "ABCDEFGHIJKLMNOPQR";
    const struct Case {
        Bytes in, out;
    } cases[] = {
        {Bytes(), Bytes()},
        // No match anywhere: literals only, in one partial group.
        {bytesOf("abc"), {0x07, 'a', 'b', 'c'}},
        // A run: one literal, then a reference to it that overlaps what it writes.
        {Bytes(10, 'a'), {0x01, 'a', 0xEE, 0xF6}},
        // Both "abc" repeats go back to the first one, which the walk meets first,
        // not to the nearer second one; eight tokens fill exactly one group.
        {bytesOf("abcXabcYabcZ"), {0xAF, 'a', 'b', 'c', 'X', 0xEE, 0xF0, 'Y', 0xEE, 0xF0, 'Z'}},
        // A full 18-byte match hands the matched node's place to the new position:
        // the third copy refers to the second (position 0, after the ring
        // wrapped), not to the first.
        {bytesOf((x + x + x).c_str()), {0xFF, 'A', 'B', 'C', 'D', 'E', 'F', 'G', 'H',
                                        0xFF, 'I', 'J', 'K', 'L', 'M', 'N', 'O', 'P',
                                        0x03, 'Q', 'R', 0xEE, 0xFF, 0x00, 0x0F}},
        // 40 bytes of a run: 1 + 18 + 18 + 3. The last three come from the oldest
        // node of the run's chain (position 4), the first met on the walk.
        {Bytes(40, 'a'), {0x01, 'a', 0xEE, 0xFF, 0x00, 0x0F, 0x04, 0x00}},
    };
    for (const Case &c : cases)
        EXPECT_EQ(encode(c.in), c.out) << "case " << &c - cases;
    // The ring's spaces match at once. With the bytes behind the source read as
    // zeros, position 4077 is the node the walk meets first, even when a run of
    // spaces has just filled the working memory that the encoder gets again.
    encode(Bytes(100, ' '));
    EXPECT_EQ(encode(Bytes(5, ' ')), (Bytes{0x00, 0xED, 0xF2}));
}

TEST(LzssEncoder, DeletingANodeWithTwoSonsPromotesTheRightmostOfItsLeftSubtree) {
    // "QXYM" at ring 4078 is the root's node P; "QXYF" goes left of it (L),
    // "QXYT" right (R), "QXYH" right of L (LR). Each later one refers to P.
    // Reading input byte 4096 deletes P, and LR takes its place, with L and R
    // as its sons. "QXYG" at input 4079 then meets LR first, then L, both
    // matching 3 bytes: it refers to LR, at ring (4078 + 60) mod 4096 = 42.
    // The filler behind each, a counter's high and low parts in turn from 0xA0
    // on, repeats no three bytes and so is all literals.
    const struct {
        char last;
        int position; // of the reference to "QXY", or -1 for literals
        size_t fillTo;
    } segments[] = {{'M', -1, 20}, {'F', 4078, 40}, {'T', 4078, 60}, {'H', 4078, 4079}, {'G', 42, 4103}};
    Bytes in;
    Stream expected;
    unsigned t = 0;
    for (const auto &g : segments) {
        in.insert(in.end(), {'Q', 'X', 'Y', (unsigned char)g.last});
        if (g.position < 0)
            expected.literal('Q').literal('X').literal('Y');
        else
            expected.reference((unsigned)g.position, 3);
        expected.literal((unsigned char)g.last);
        for (; in.size() < g.fillTo; ++t) {
            in.push_back((unsigned char)(t % 2 == 0 ? 0xE0 + (t / 2 >> 6) : 0xA0 + (t / 2 & 63)));
            expected.literal(in.back());
        }
    }
    EXPECT_EQ(encode(in), expected.bytes);
}

TEST(LzssEncoder, ThrowsBeforeWritingPastItsBlock) {
    mixed::Random rng(7);
    const Bytes data = mixed::text(3000, rng);
    const unsigned long needed = (unsigned long)encode(data).size();
    Fenced src(data);
    // Blocks from a group's length short of the stream to one byte short; a block
    // of exactly the stream's size is filled by encode("abc") above.
    for (unsigned long size = needed - 20; size < needed; ++size) {
        Fenced dst(size);
        auto encodeInto = [&] { mCodec::compress(src.data(), (unsigned long)data.size(), dst.data(), size); };
        EXPECT_MERROR(codec::guarded(encodeInto), codec::overrunMessage, size, codec::codecPath);
    }
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
        EXPECT_EQ(mCodec::compress(data.data(), out, 0), 0ul);
        EXPECT_EQ(mCodec::compress(data.data(), out, (unsigned long)data.size()), (unsigned long)stream.size());
    }
    Bytes expected = bytesOf("HEAD");
    expected.insert(expected.end(), stream.begin(), stream.end());
    std::ifstream file(path, std::ios::binary);
    EXPECT_EQ(Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()), expected);
}

TEST(LzssRoundTrip, DataOfEveryKindComesBackExactly) {
    mixed::Random rng(2024);
    const Bytes cases[] = {mixed::text(300000, rng),  mixed::runs(300000, rng),   mixed::image(300000, rng),
                           mixed::sparse(300000, rng), mixed::noise(50000, rng), mixed::mix(1200000, rng)};
    for (const Bytes &data : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &data - cases);
        const Bytes stream = encode(data);
        EXPECT_EQ(stream.size() > data.size(), &data == &cases[4]) << "only noise grows";
        EXPECT_EQ(decode(stream, data.size()), data);
        // The encoder reads nothing it did not set: a second run gives the same stream.
        EXPECT_EQ(encode(data), stream);
        Bytes plain(data.size());
        mCodec::unCompress(stream.data(), plain.data(), (long)stream.size());
        EXPECT_EQ(plain, data);
    }
    // Every length of a last group, and every way for the look-ahead to run dry.
    for (size_t n = 1; n <= 200; ++n) {
        const Bytes in(cases[0].begin(), cases[0].begin() + n);
        ASSERT_EQ(decode(encode(in), n), in) << "length " << n;
    }
}

TEST(LzssDecoder, DecodesHandMadeStreams) {
    // 4096 literals bring the write position back to 4078, where a reference
    // reads the oldest bytes.
    mixed::Random rng(1);
    Bytes history = mixed::noise(4096, rng);
    Stream oldest;
    for (unsigned char c : history)
        oldest.literal(c);
    oldest.reference(4078, 5);
    history.insert(history.end(), history.begin(), history.begin() + 5);
    const struct Case {
        Bytes stream, out;
    } cases[] = {
        // The initial ring reads as spaces.
        {{0x00, 0x00, 0x00}, bytesOf("   ")},
        // Starting in never-written ring bytes and running into the bytes it writes.
        {{0x03, 'a', 'b', 0xED, 0xF1}, bytesOf("ab ab ")},
        // 20 literals fill ring positions 4078 to 4095, then 0 and 1; 4094 wraps.
        {bytesOf("\xFF" "01234567" "\xFF" "89ABCDEF" "\x0F" "GHIJ" "\xFE\xF1"), bytesOf("0123456789ABCDEFGHIJGHIJ")},
        // The flag byte promises references after "ij"; the stream ends at a token's end.
        {bytesOf("\xFF" "abcdefgh" "\x03" "ij"), bytesOf("abcdefghij")},
        {oldest.bytes, history},
    };
    for (const Case &c : cases)
        EXPECT_EQ(decode(c.stream, c.out.size()), c.out) << "case " << &c - cases;
    // No input does nothing, though these bytes would be a reference into a block of no bytes.
    Fenced src(Bytes{0x00, 0x01}), dst(0);
    for (long length : {0L, -5L})
        codec::guarded([&] {
            EXPECT_EQ(mCodec::unCompress(src.data(), length, dst.data(), 0), 0);
            mCodec::unCompress(src.data(), dst.data(), length);
        });
}

TEST(LzssDecoder, BadStreamsThrowBeforeLeavingTheirBlocks) {
    const Bytes truncated[] = {
        {0x00, 0xEE},                                         // a reference cut in the middle
        {0x03, 'a', 'b', 0xEE},                               // the same behind two literals
        {0x01},                                               // a flag byte with nothing behind it
        {0xFF, 'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 0x01}, // the last byte is a flag byte
    };
    for (const Bytes &stream : truncated)
        EXPECT_MERROR(decode(stream, 100), codec::truncatedMessage, 0, codec::codecPath);
    Fenced src(truncated[0]);
    Bytes plain(100);
    EXPECT_MERROR(codec::guarded([&] { mCodec::unCompress(src.data(), plain.data(), 2); }), codec::truncatedMessage, 0,
                  codec::codecPath);
    const Bytes run = encode(Bytes(100, 'z'));
    for (size_t size : {0, 1, 50, 99})
        EXPECT_MERROR(decode(run, size), codec::overrunMessage, size, codec::codecPath);
    // A literal that finds the block full.
    EXPECT_MERROR(decode({0x07, 'x', 'y', 'z'}, 2), codec::overrunMessage, 2, codec::codecPath);
    mixed::Random rng(99);
    const Bytes data = mixed::mix(70000, rng);
    const Bytes stream = encode(data);
    // Blocks a little short of the output: whole groups run up to the end of the block.
    for (size_t missing : {1, 8, 17, 18, 143, 144, 145})
        EXPECT_MERROR(decode(stream, data.size() - missing), codec::overrunMessage, data.size() - missing,
                      codec::codecPath);
    codec::expectHostileStreamsContained(codec::lzss, stream, data);
}

} // namespace
