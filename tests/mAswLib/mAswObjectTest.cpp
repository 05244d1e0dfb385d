#include "ExpectError.h"
#include "ObjFileFixture.h"
#include "mAswLib/mAswObject.h"

#include <cmath>
#include <cstring>

namespace {

const char source[] = "mAswLib/mAswObject";

class BodyTest : public ObjFileTest {
protected:
    // Expects the error that reading the one object of a file made of record gives.
    void expectFailure(const Record &record, const char *message, long value, const char *from = source) {
        mString path = put(objectFile({record}, false).bytes);
        mObjFile file(path);
        mObjFile::mObjType type;
        int size;
        mString text = mString(message);
        if (text == "Premature EOF: ")
            text += path;
        EXPECT_MERROR(file.getObject(0, type, size), text, value, from);
    }
};

// ---- Stored, LZSS and audio blocks

TEST_F(BodyTest, DataAndSoundBlocksKeepAllButTheirLengthSlot) {
    Bytes block = pattern(300, 1);
    for (short typeWord : {2, 3})
        for (unsigned long flags : {0ul, 1ul}) {
            Record record = flags ? packedRecord(typeWord, block, flags) : storedRecord(typeWord, block);
            mObjFile::mObjType type;
            int size;
            BlockPtr got = only(record, type, size);
            ASSERT_TRUE(got);
            EXPECT_EQ(typeWord == 2 ? mObjFile::objSound : mObjFile::objData, type);
            ASSERT_EQ(300, size);
            EXPECT_EQ(300ul, peekLong(got.get(), 0));
            EXPECT_EQ(0, memcmp(block.data() + 4, got.get() + 4, 296)) << typeWord << " " << flags;
        }
}

TEST_F(BodyTest, StoredBlocksReadTheUncompressedSize) {
    Bytes block = pattern(64, 2);
    Record record = rawRecord(3, 40, 64, 0, block);
    mObjFile::mObjType type;
    int size;
    BlockPtr got = only(record, type, size);
    ASSERT_EQ(40, size);
    EXPECT_EQ(0, memcmp(block.data() + 4, got.get() + 4, 36));
}

TEST_F(BodyTest, AudioKeepsItsPrefixAndDecodesTheSamples) {
    Bytes samples;
    for (int i = 0; i < 700; ++i)
        samples.push_back((unsigned char)(128 + 100 * std::sin(i / 9.0) * (i < 400 ? 1 : 0)));
    AudioCode code = encodeAudio(samples, 32);
    ASSERT_EQ(samples.size(), code.decoded.size());
    Bytes body = {0xAA, 0xBB, 0xCC, 0xDD};
    Bytes wave = waveHeader((unsigned long)samples.size());
    body.insert(body.end(), wave.begin(), wave.end());
    body.insert(body.end(), code.stream.begin(), code.stream.end());
    Record record = rawRecord(2, (unsigned long)samples.size(), (unsigned long)body.size(), 4, body);

    mObjFile::mObjType type;
    int size;
    BlockPtr got = only(record, type, size);
    ASSERT_TRUE(got);
    EXPECT_EQ(mObjFile::objSound, type);
    ASSERT_EQ((int)samples.size(), size);
    EXPECT_EQ((unsigned long)samples.size(), peekLong(got.get(), 0));
    EXPECT_EQ(0, memcmp(wave.data(), got.get() + 4, 44));
    EXPECT_EQ(0, memcmp(code.decoded.data(), got.get() + 48, samples.size()));
}

// ---- Bitmap blocks and their fix-up

BitmapBlock sampleBitmap(unsigned short bits) {
    BitmapBlock spec;
    spec.width = 6;
    spec.height = 3;
    spec.bits = bits;
    spec.pixels = pattern(bits == 8 ? 8 * 3 : 12 * 3, 3);
    return spec;
}

void expectBitmapFixed(const unsigned char *got, const Bytes &block, unsigned short planes, size_t size) {
    EXPECT_EQ(4, got[0]);
    EXPECT_EQ(0, got[1]);
    EXPECT_EQ(size >> 16, peekWord(got, 2)) << "the high half of U stays in the length slot";
    EXPECT_EQ('B', got[4]);
    EXPECT_EQ('M', got[5]);
    EXPECT_EQ(planes, peekWord(got, 30));
    EXPECT_EQ(0, memcmp(block.data() + 6, got + 6, 24));
    EXPECT_EQ(0, memcmp(block.data() + 32, got + 32, 18));
    EXPECT_EQ(0, memcmp(block.data() + 54, got + 54, size - 54));
}

TEST_F(BodyTest, BitmapsGetTheirPixelOffsetInThePlanesWord) {
    for (unsigned long flags : {0ul, 1ul}) {
        Bytes block = bitmapBlock(sampleBitmap(8));
        Record record = flags ? packedRecord(0, block, flags) : storedRecord(0, block);
        mObjFile::mObjType type;
        int size;
        BlockPtr got = only(record, type, size);
        EXPECT_EQ(mObjFile::objBitmap, type);
        ASSERT_EQ((int)block.size(), size);
        expectBitmapFixed(got.get(), block, 40, block.size());
    }

    // A stored image with a colour table loads without its colours.
    BitmapBlock withTable = sampleBitmap(8);
    withTable.colors = {0x7C00, 0x03E0, 0x001F};
    Bytes table = bitmapBlock(withTable);
    mObjFile::mObjType type;
    int size;
    BlockPtr got = only(storedRecord(4, table), type, size);
    expectBitmapFixed(got.get(), table, 552, table.size());
    EXPECT_EQ(3ul, peekLong(got.get(), 50));

    // Fifteen-bit images keep planes 1.
    Bytes wide = bitmapBlock(sampleBitmap(16));
    got = only(packedRecord(6, wide, 1), type, size);
    expectBitmapFixed(got.get(), wide, 1, wide.size());
}

TEST_F(BodyTest, PackedBitmapsGetTheirMarkAndOthersKeepTheirBytes) {
    Bytes block = bitmapBlock(sampleBitmap(8));
    block[4] = 'x';
    block[5] = 'y';
    mObjFile::mObjType type;
    int size;
    BlockPtr packed = only(packedRecord(5, block, 1), type, size);
    EXPECT_EQ('B', packed.get()[4]);
    EXPECT_EQ(4, packed.get()[0]);
    EXPECT_EQ(40, peekWord(packed.get(), 30));

    BlockPtr stored = only(storedRecord(1, block), type, size);
    EXPECT_EQ(0, memcmp(block.data() + 4, stored.get() + 4, block.size() - 4)) << "no mark, no fix-up";

    Bytes marked = bitmapBlock(sampleBitmap(8));
    BlockPtr data = only(packedRecord(3, marked, 1), type, size);
    EXPECT_EQ(0, memcmp(marked.data() + 4, data.get() + 4, marked.size() - 4)) << "data is never fixed up";
}

TEST_F(BodyTest, PaletteBitmapsSayWhereTheirTableIs) {
    BitmapBlock spec = sampleBitmap(8);
    spec.colors = {0x7C00, 0x03E0};
    for (long offset : {566l, 1078l}) {
        spec.pixelOffset = offset;
        Bytes block = bitmapBlock(spec);
        mObjFile::mObjType type;
        int size;
        BlockPtr got = only(packedRecord(0, block, 64), type, size);
        ASSERT_EQ((int)block.size(), size);
        EXPECT_EQ(offset == 566 ? 2 : 3, peekWord(got.get(), 30));
        EXPECT_EQ(0ul, peekLong(got.get(), 50));
        EXPECT_EQ(4, got.get()[0]);
        EXPECT_EQ(0, memcmp(block.data() + 58, got.get() + 58, block.size() - 58));
    }
    spec.pixelOffset = 54;
    expectFailure(packedRecord(0, bitmapBlock(spec), 64), "Invalid Palette DIB encountered!", 54);
}

// ---- The 8-bit object

TEST_F(BodyTest, EightBitObjectsBecomeImagesWithAFullTable) {
    Bytes pixels = pattern(8 * 5, 4);
    for (unsigned long flags : {8ul, 32ul}) {
        for (int colors : {16, 256}) {
            unsigned long l0 = 16 + 40 + 4 * colors;
            unsigned long u = 58 + 4 * colors + (unsigned long)pixels.size();
            Bytes body = eightBitBody(l0, 7, 5, 0, (unsigned long)pixels.size(), flags == 32, 0x12345678, pixels);
            mObjFile::mObjType type;
            int size;
            BlockPtr got = only(rawRecord(0, u, (unsigned long)body.size(), flags, body), type, size);
            ASSERT_TRUE(got);
            const unsigned char *b = got.get();
            unsigned long grown = u + 4 * (256 - colors);
            ASSERT_EQ((int)(grown - 4), size);
            EXPECT_EQ(1078 + pixels.size(), (size_t)size);
            EXPECT_EQ(0, peekWord(b, 0));
            EXPECT_EQ(grown - 4, peekLong(b, 2));
            EXPECT_EQ(flags == 32 ? 0x5678 : 0, peekWord(b, 6));
            EXPECT_EQ(flags == 32 ? 0x1234 : 0, peekWord(b, 8));
            EXPECT_EQ(1078ul, peekLong(b, 10));
            EXPECT_EQ(40ul, peekLong(b, 14));
            EXPECT_EQ(7ul, peekLong(b, 18));
            EXPECT_EQ(5ul, peekLong(b, 22));
            EXPECT_EQ(1064, peekWord(b, 26));
            EXPECT_EQ(8, peekWord(b, 28));
            EXPECT_EQ(0ul, peekLong(b, 30));
            EXPECT_EQ(pixels.size(), peekLong(b, 34));
            EXPECT_EQ(3800ul, peekLong(b, 38));
            EXPECT_EQ(3800ul, peekLong(b, 42));
            EXPECT_EQ(0ul, peekLong(b, 46));
            EXPECT_EQ(0ul, peekLong(b, 50));
            EXPECT_EQ(0, memcmp(pixels.data(), b + 1078, pixels.size()));
        }
    }
}

TEST_F(BodyTest, EightBitObjectsNeedTheirHeaderLongs) {
    Bytes body = eightBitBody(1080, 2, 2, 0, 4, false, 0, Bytes(4, 1));
    body.resize(19);
    expectFailure(rawRecord(0, 1082, 19, 8, body), "Short size for 8 bit bitmap object", 19);
    body.resize(23);
    expectFailure(rawRecord(0, 1082, 23, 32, body), "Short size for 8 bit bitmap object", 23);
}

// ---- The 4-bit object

Bytes nibbleRows(long width, long height, unsigned seed) {
    long stride = ((width + 1) / 2 + 3) & ~3l;
    Bytes rows = pattern((size_t)(stride * height), seed);
    return rows;
}

TEST_F(BodyTest, FourBitObjectsExpandThroughTheIndexMap) {
    Bytes map = {200, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 255};
    for (long width : {1l, 6l, 7l, 9l}) {
        const long height = 3;
        Bytes rows = nibbleRows(width, height, (unsigned)width);
        Bytes unpacked = unpacked4Bit(width, height, rows);
        Bytes body = fourBitBody(22, map, unpacked, (long)unpacked.size());
        long stride = (width + 3) & ~3l;
        unsigned long u = 1078 + (unsigned long)(stride * height);
        mObjFile::mObjType type;
        int size;
        BlockPtr got = only(rawRecord(0, u, (unsigned long)body.size(), 16, body), type, size);
        ASSERT_TRUE(got);
        const unsigned char *b = got.get();
        ASSERT_EQ((int)(u - 4), size);
        EXPECT_EQ(u - 4, peekLong(b, 2));
        EXPECT_EQ(1064ul, peekLong(b, 10));
        EXPECT_EQ(40ul, peekLong(b, 14));
        EXPECT_EQ((unsigned long)width, peekLong(b, 18));
        EXPECT_EQ((unsigned long)height, peekLong(b, 22));
        EXPECT_EQ(1, peekWord(b, 26));
        EXPECT_EQ(8, peekWord(b, 28));
        EXPECT_EQ(0ul, peekLong(b, 30));
        EXPECT_EQ(u - 1082, peekLong(b, 34));
        EXPECT_EQ(3800ul, peekLong(b, 38));
        EXPECT_EQ(3800ul, peekLong(b, 42));
        long sourceStride = ((width + 1) / 2 + 3) & ~3l;
        for (long y = 0; y < height; ++y)
            for (long x = 0; x < width; ++x) {
                unsigned char packed = rows[(size_t)(y * sourceStride + x / 2)];
                unsigned char nibble = x % 2 ? packed & 15 : packed >> 4;
                ASSERT_EQ(map[nibble], b[1078 + y * stride + x]) << width << ": " << x << "," << y;
            }
    }
}

TEST_F(BodyTest, FourBitObjectsWithAShortHeaderAreOneColour) {
    Bytes unpacked = unpacked4Bit(5, 4, {});
    Bytes body = fourBitBody(8, {77, 99}, unpacked, 54);
    unsigned long u = 1078 + 8 * 4;
    mObjFile::mObjType type;
    int size;
    BlockPtr got = only(rawRecord(1, u, (unsigned long)body.size(), 16, body), type, size);
    ASSERT_EQ((int)(u - 4), size);
    for (unsigned long i = 1078; i < u; ++i)
        ASSERT_EQ(77, got.get()[i]) << i;
    for (unsigned long i = 46; i < 1078; ++i)
        ASSERT_EQ(0, got.get()[i]) << i;
}

TEST_F(BodyTest, FourBitChecksComeInTheirOrder) {
    Bytes unpacked = unpacked4Bit(4, 2, nibbleRows(4, 2, 9));
    Bytes good = fourBitBody(22, Bytes(16, 1), unpacked, (long)unpacked.size());
    unsigned long c = (unsigned long)good.size();

    Bytes shortBody(good.begin(), good.begin() + 7);
    expectFailure(rawRecord(0, 2000, 7, 16, shortBody), "Short size for 4 bit bitmap object", 7);
    Bytes badHeader = good;
    badHeader[0] = 10;
    expectFailure(rawRecord(0, 0x60001, c, 16, badHeader), "Bad header size for 4 bit bitmap object", 10);
    expectFailure(rawRecord(0, 0x60001, c, 16, good), "Bad 4 bit image target size.  Cannot decode", 0x60001);
    Bytes smallR = good;
    pokeLong(smallR, 18, 53);
    expectFailure(rawRecord(0, 100, c, 16, smallR), "Uncompressed size for 4 bit image too small", 53);
    expectFailure(rawRecord(0, 1077, c, 16, good), "Target size of 4 bit image too small.  Cannot decode", 1077);

    mObjFile::mObjType type;
    int size;
    BlockPtr most = only(rawRecord(0, 0x60000, c, 16, good), type, size);
    EXPECT_EQ(0x60000 - 4, size);
}

// ---- Other failures of the body reader

TEST_F(BodyTest, UnknownFlagsAndTruncatedStreams) {
    for (unsigned long flags : {2ul, 3ul, 65ul, 0xFFFFFFFFul})
        expectFailure(rawRecord(3, 10, 10, flags, Bytes(10, 0)), "Unknown/unsupported Compressor flags",
                      (long)flags);

    // A reference token cut after its first byte.
    expectFailure(rawRecord(3, 3, 2, 1, {0x00, 0x00}), "Hit EOF on decompression", 0, "mUtil/mCodec");
}

TEST_F(BodyTest, BodiesCutShortArePrematureEnds) {
    expectFailure(rawRecord(3, 100, 100, 0, Bytes(60, 1)), "Premature EOF: ", 0);
    expectFailure(rawRecord(3, 100, 80, 1, Bytes(60, 1)), "Premature EOF: ", 0);
    expectFailure(rawRecord(3, 0xFFFFFFF0, 0xFFFFFFF0, 0, Bytes(60, 1)), "Premature EOF: ", 0);

    Bytes sizesOnly = objectFile({rawRecord(3, 8, 8, 0, {})}, false).bytes;
    sizesOnly.resize(sizesOnly.size() - 2);
    mString path = put(sizesOnly);
    mObjFile file(path);
    mObjFile::mObjType type;
    int size;
    EXPECT_MERROR(file.getObject(0, type, size), mString("Premature EOF: ") + path, 0, source);
}

// ---- Sizes that lie: every write stays inside its block

TEST_F(BodyTest, StatedSizesThatTheStreamCannotFillAreRefused) {
    Bytes coded = lzss(pattern(100, 6));
    unsigned long c = (unsigned long)coded.size();
    expectFailure(rawRecord(3, 10 * c, c, 1, coded), "Premature EOF: ", 0);
    expectFailure(rawRecord(3, 0xFFFFFFFF, c, 64, coded), "Premature EOF: ", 0);
    expectFailure(rawRecord(2, 0x7FFFFFFF, 60, 4, Bytes(60, 0x80)), "Premature EOF: ", 0);
    // An absurd colour table offset would make the 8-bit image grow past any stream.
    Bytes body = eightBitBody(0x80000000, 2, 2, 0, 4, false, 0, Bytes(4, 1));
    expectFailure(rawRecord(0, 1082, (unsigned long)body.size(), 8, body), "Premature EOF: ", 0);
    Bytes unpacked = unpacked4Bit(4, 2, nibbleRows(4, 2, 9));
    Bytes bigR = fourBitBody(22, Bytes(16, 1), unpacked, 0x7FFFFFFF);
    expectFailure(rawRecord(0, 2000, (unsigned long)bigR.size(), 16, bigR), "Premature EOF: ", 0);
}

TEST_F(BodyTest, StreamsLongerThanTheirBlockAreRefused) {
    Bytes block = pattern(500, 7);
    Record record = packedRecord(3, block, 1);
    record.u = 100;
    mObjFile::mObjType type;
    int size;
    mObjFile file(put(objectFile({record}, false).bytes));
    EXPECT_THROW(file.getObject(0, type, size), mError);

    Bytes pixels = pattern(400, 8);
    Bytes body = eightBitBody(1080, 20, 20, 0, 400, false, 0, pixels);
    mObjFile eight(put(objectFile({rawRecord(0, 1082 + 100, (unsigned long)body.size(), 8, body)}, false).bytes));
    EXPECT_THROW(eight.getObject(0, type, size), mError);
}

TEST_F(BodyTest, FourBitRowsStayInsideTheirBlocks) {
    // Rows of a huge image: only as many as the target holds are written.
    Bytes rows = nibbleRows(8, 50, 10);
    Bytes unpacked = unpacked4Bit(8, 50, rows);
    Bytes body = fourBitBody(22, Bytes(16, 3), unpacked, (long)unpacked.size());
    mObjFile::mObjType type;
    int size;
    BlockPtr got = only(rawRecord(0, 1078 + 8 * 3 + 5, (unsigned long)body.size(), 16, body), type, size);
    EXPECT_EQ(1078 + 8 * 3 + 1, size);
    for (int i = 1078; i < 1078 + 24; ++i)
        EXPECT_EQ(3, got.get()[i]);
    for (int i = 1078 + 24; i < 1078 + 29; ++i)
        EXPECT_EQ(0, got.get()[i]);

    // A stated width far beyond the unpacked rows reads no row at all.
    Bytes wideUnpacked = unpacked4Bit(0x7FFFFFF0, 3, Bytes(40, 0x11));
    Bytes wide = fourBitBody(22, Bytes(16, 3), wideUnpacked, (long)wideUnpacked.size());
    got = only(rawRecord(0, 4000, (unsigned long)wide.size(), 16, wide), type, size);
    EXPECT_EQ(4000 - 4, size);
    for (int i = 1078; i < 4000; ++i)
        ASSERT_EQ(0, got.get()[i]);

    // More unpacked rows stated than the stream gives: the rest reads as index 0.
    Bytes fewRows = unpacked4Bit(8, 4, nibbleRows(8, 1, 11));
    Bytes few = fourBitBody(22, Bytes(16, 9), fewRows, 54 + 4 * 4);
    got = only(rawRecord(0, 1078 + 32, (unsigned long)few.size(), 16, few), type, size);
    EXPECT_EQ(9, got.get()[1078 + 8 * 3]);
}

TEST_F(BodyTest, TinyStatedSizesStillGetTheirHeaders) {
    Bytes block = bitmapBlock(sampleBitmap(8));
    for (unsigned long u : {0ul, 3ul, 6ul, 20ul}) {
        mObjFile::mObjType type;
        int size;
        BlockPtr stored = only(rawRecord(0, u, u, 0, Bytes(block.begin(), block.begin() + u)), type, size);
        EXPECT_EQ((int)u, size);
        Record packed = packedRecord(0, Bytes(block.begin(), block.begin() + u), 1);
        BlockPtr unpacked = only(packed, type, size);
        EXPECT_EQ((int)u, size);
        ASSERT_TRUE(unpacked);
        EXPECT_EQ(4, unpacked.get()[0]);
    }
    Bytes body = eightBitBody(1080, 2, 2, 0, 4, false, 0, {});
    mObjFile::mObjType type;
    int size;
    BlockPtr eight = only(rawRecord(0, 2, (unsigned long)body.size(), 8, body), type, size);
    EXPECT_EQ(0, size);
}

// ---- The record reader on its own

TEST_F(BodyTest, RecordReaderGivesItsHeaderAndItsEnd) {
    Record record = storedRecord(-2, pattern(20, 12));
    record.name = "seventeen-chars!!";
    ObjImage image = objectFile({record, storedRecord(3, pattern(8, 13))}, false);
    mObjFile file(put(image.bytes));
    mAswObject object(&file, (long)image.offsets[0]);
    EXPECT_EQ(7, object.getId());
    EXPECT_EQ(0, object.getReserved());
    EXPECT_EQ(-2, object.getTypeWord());
    EXPECT_EQ(mObjFile::objNone, object.getType());
    EXPECT_STREQ("seventeen-chars!!", object.getName().c_str());
    EXPECT_EQ(image.offsets[1], object.getEnd());

    mAswObject second(&file, (long)image.offsets[1]);
    EXPECT_EQ(mObjFile::objData, second.getType());
    int size;
    BlockPtr body(static_cast<unsigned char *>(second.getBody(size)));
    EXPECT_EQ(8, size);
}

TEST_F(BodyTest, BodyReaderTakesTypeWordsAndLeavesThePositionBehindTheBody) {
    Bytes block = bitmapBlock(sampleBitmap(8));
    Record record = packedRecord(7, block, 1);
    Bytes stream = recordBytes(record);
    stream.erase(stream.begin(), stream.begin() + 23);
    stream.push_back(0xEE);
    mInputFile file(put(stream));
    ASSERT_TRUE(file.OpenFile(true));
    int size;
    BlockPtr got(static_cast<unsigned char *>(mAswObject::readBody(file, size, 7)));
    EXPECT_EQ((long)stream.size() - 1, file.getCurrentPosition());
    EXPECT_EQ(4, got.get()[0]) << "type word 7 counts as a bitmap here";

    file.seekFrom(0, mFile::seekStart);
    BlockPtr data(static_cast<unsigned char *>(mAswObject::readBody(file, size, 2)));
    EXPECT_EQ(block.size(), peekLong(data.get(), 0));
    EXPECT_EQ(0, memcmp(block.data() + 4, data.get() + 4, block.size() - 4));
}

} // namespace
