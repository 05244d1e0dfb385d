#include "ExpectError.h"
#include "ObjFileFixture.h"
#include "mAswLib/mAswObject.h"

namespace {

const char source[] = "mAswLib/mAswObject";
const char prematureEOF[] = "Premature EOF: ";

using BodyTest = ObjFileTest;

// ---- Stored, LZSS and audio blocks, and the fix-up of bitmaps

TEST_F(BodyTest, BlocksKeepAllButWhatTheBitmapFixUpSets) {
    const struct {
        short typeWord;
        unsigned long flags;
        unsigned short bits;
        unsigned long pixelOffset;
        bool marked;            // 'B', 'M' at offset 4
        unsigned short planes;  // the planes word after the fix-up; 0: no fix-up
        unsigned long colors;   // the colour count after the fix-up
    } cases[] = {
        {0, 0, 8, 54, true, 40, 0},
        {0, 1, 8, 54, true, 40, 0},
        {5, 1, 8, 54, false, 40, 0},   // packed bitmaps get their mark
        {1, 0, 8, 54, false, 0, 0},    // stored ones without it stay as they are
        {4, 0, 8, 566, true, 552, 3},  // a stored table is left unused
        {6, 1, 16, 54, true, 1, 0},    // fifteen-bit images keep planes 1
        {0, 64, 8, 566, true, 2, 0},
        {0, 64, 8, 1078, true, 3, 0},
        {2, 0, 8, 54, true, 0, 0},  // sound and data are never fixed up
        {2, 1, 8, 54, true, 0, 0},
        {3, 0, 8, 54, true, 0, 0},
        {3, 1, 8, 54, true, 0, 0},
    };
    for (const auto &c : cases) {
        Bytes block = bitmapBlock(c.bits, c.pixelOffset, c.pixelOffset > 54 ? 3 : 0);
        block[4] = c.marked ? 'B' : 'x';
        // A stored body is U bytes long, whatever C says.
        Record stored = rawRecord(c.typeWord, (unsigned long)block.size(), 0, join({block, Bytes(9, 0xEE)}));
        Object got = only(c.flags ? packedRecord(c.typeWord, block, c.flags) : stored);
        ASSERT_TRUE(got.block);
        ASSERT_EQ((int)block.size(), got.size);
        Bytes expected = block;
        poke(expected, 0, {4, block.size()});
        if (c.planes) {
            poke(expected, 0, {2, 4});
            expected[4] = 'B';
            poke(expected, 30, {2, c.planes});
            poke(expected, 50, {4, c.colors});
        }
        EXPECT_EQ(expected, got.bytes(0, block.size())) << c.typeWord << " " << c.flags << " " << c.pixelOffset;
    }
}

TEST_F(BodyTest, AudioKeepsItsPrefixAndDecodesTheSamples) {
    Bytes prefix = pattern(48, 5);
    Object got = only(soundRecord(prefix));
    ASSERT_TRUE(got.block);
    EXPECT_EQ(mObjFile::objSound, got.type);
    ASSERT_EQ((int)soundSamples.size(), got.size);
    Bytes expected = join({prefix, soundSamples});
    poke(expected, 0, {4, soundSamples.size()});
    EXPECT_EQ(expected, got.bytes(0, expected.size()));
}

// ---- The 8-bit and 4-bit objects

// The headers in front of the (unstored) colour table of a converted image.
Bytes convertedHeader(unsigned long blockSize, unsigned long extra, unsigned long pixelOffset, unsigned long width,
                      unsigned long height, unsigned short planes, unsigned long compression,
                      unsigned long imageSize) {
    return le({{2, 0}, {4, blockSize}, {4, extra}, {4, pixelOffset}, {4, 40}, {4, width}, {4, height}, {2, planes},
               {2, 8}, {4, compression}, {4, imageSize}, {4, 3800}, {4, 3800}, {8, 0}});
}

TEST_F(BodyTest, EightBitObjectsBecomeImagesWithAFullTable) {
    Bytes pixels = pattern(40, 4);
    for (unsigned long flags : {8ul, 32ul})
        for (unsigned long colors : {16ul, 256ul}) {
            std::vector<unsigned long> longs = {16 + 40 + 4 * colors, 7, 5, 2, 40};
            if (flags == 32)
                longs.push_back(0x12345678);
            Object got = only(rawRecord(0, 58 + 4 * colors + 40, flags, eightBitBody(longs, pixels)));
            ASSERT_TRUE(got.block);
            ASSERT_EQ(1078 + 40, got.size);
            Bytes head = convertedHeader(1118, flags == 32 ? 0x12345678 : 0, 1078, 7, 5, 1064, 2, 40);
            EXPECT_EQ(head, got.bytes(0, 54)) << flags << " " << colors;
            EXPECT_EQ(pixels, got.bytes(1078, 1118));
        }
}

// With h 22 each nibble goes through the map; with h 8 the whole image takes the first map byte.
TEST_F(BodyTest, FourBitObjectsExpandThroughTheIndexMap) {
    const Bytes map = {200, 17, 34, 51, 68, 85, 102, 119, 136, 153, 170, 187, 204, 221, 238, 255};
    for (unsigned short h : {22, 8})
        for (unsigned long width : {1ul, 6ul, 7ul, 9ul}) {
            const unsigned long height = 3, stride = (width + 3) & ~3ul, sourceStride = ((width + 1) / 2 + 3) & ~3ul;
            Bytes rows = pattern(sourceStride * height, (unsigned)width);
            unsigned long u = 1078 + stride * height;
            Object got = only(rawRecord(0, u, 16, fourBitBody(h, map, width, height, rows)));
            ASSERT_TRUE(got.block);
            ASSERT_EQ((int)(u - 4), got.size);
            Bytes head = join({convertedHeader(u - 4, 0, 1064, width, height, 1, 0, u - 1082), Bytes(1024, 0)});
            EXPECT_EQ(head, got.bytes(0, 1078)) << h << " " << width;
            for (unsigned long y = 0; y < height; ++y)
                for (unsigned long x = 0; x < width; ++x) {
                    unsigned char packed = rows[y * sourceStride + x / 2];
                    unsigned char index = h == 8 ? map[0] : map[x % 2 ? packed & 15 : packed >> 4];
                    ASSERT_EQ(index, got.block.get()[1078 + y * stride + x])
                        << h << " " << width << ": " << x << "," << y;
                }
        }
}

// ---- Failures of the body reader

struct Failure {
    Bytes file;
    const char *message;  // prematureEOF is followed by the path
    long value;
    const char *from = source;
};

TEST_F(BodyTest, FailuresCarryTheirMessageAndValue) {
    const char codec[] = "mUtil/mCodec";
    auto one = [](const Record &r) { return objectFile({r}).bytes; };
    Bytes good = fourBitBody(22, Bytes(16, 1), 4, 2, pattern(8, 9));
    Bytes badHeader = good, smallR = good;
    badHeader[0] = 10;
    poke(smallR, 18, {4, 53});
    Bytes coded = lzss(pattern(100, 6));
    Record overrun = packedRecord(3, pattern(500, 7), 1), cutShort = rawRecord(3, 100, 1, Bytes(60, 1));
    overrun.u = 100;
    cutShort.c = 80;
    Bytes sizesCut = one(rawRecord(3, 8, 0, {}));
    sizesCut.resize(sizesCut.size() - 2);

    const Failure failures[] = {
        {one(rawRecord(3, 10, 2, Bytes(10, 0))), "Unknown/unsupported Compressor flags", 2},
        {one(rawRecord(3, 10, 65, Bytes(10, 0))), "Unknown/unsupported Compressor flags", 65},
        {one(packedRecord(0, bitmapBlock(8, 54, 0), 64)), "Invalid Palette DIB encountered!", 54},
        {one(rawRecord(0, 1082, 8, Bytes(19, 0))), "Short size for 8 bit bitmap object", 19},
        {one(rawRecord(0, 1082, 32, Bytes(23, 0))), "Short size for 8 bit bitmap object", 23},
        // The checks of a 4-bit object, each case passing those before it.
        {one(rawRecord(0, 2000, 16, Bytes(7, 0))), "Short size for 4 bit bitmap object", 7},
        {one(rawRecord(0, 0x60001, 16, badHeader)), "Bad header size for 4 bit bitmap object", 10},
        {one(rawRecord(0, 0x60001, 16, good)), "Bad 4 bit image target size.  Cannot decode", 0x60001},
        {one(rawRecord(0, 100, 16, smallR)), "Uncompressed size for 4 bit image too small", 53},
        {one(rawRecord(0, 1077, 16, good)), "Target size of 4 bit image too small.  Cannot decode", 1077},
        // A reference token cut after its first byte, and streams longer than their block.
        {one(rawRecord(3, 3, 1, {0x00, 0x00})), "Hit EOF on decompression", 0, codec},
        {one(overrun), "Compressed data overruns its block", 100, codec},
        {one(rawRecord(0, 1182, 8, eightBitBody({1080, 20, 20, 0, 400}, pattern(400, 8)))),
         "Compressed data overruns its block", 100, codec},
        // Bodies cut short by the end of the file.
        {one(rawRecord(3, 100, 0, Bytes(60, 1))), prematureEOF, 0},
        {one(cutShort), prematureEOF, 0},
        {one(rawRecord(3, 0xFFFFFFF0, 0, Bytes(60, 1))), prematureEOF, 0},
        {sizesCut, prematureEOF, 0},
        // Stated sizes that no stream of C bytes can fill, refused before anything is allocated.
        {one(rawRecord(3, 10 * (unsigned long)coded.size(), 1, coded)), prematureEOF, 0},
        {one(rawRecord(2, 0x7FFFFFFF, 4, Bytes(60, 0x80))), prematureEOF, 0},
        {one(rawRecord(0, 1082, 8, eightBitBody({0x80000000, 2, 2, 0, 4}, Bytes(4, 1)))), prematureEOF, 0},
        {one(rawRecord(0, 2000, 16, fourBitBody(22, Bytes(16, 1), 4, 2, pattern(8, 9), 0x7FFFFFFF))), prematureEOF, 0},
    };
    for (const Failure &f : failures) {
        SCOPED_TRACE(f.message);
        mString path = put(f.file);
        mObjFile file(path);
        mString text = f.message == prematureEOF ? mString(prematureEOF) + path : mString(f.message);
        EXPECT_MERROR(readObject(file, 0), text, f.value, f.from);
    }
    EXPECT_EQ(0x60000 - 4, only(rawRecord(0, 0x60000, 16, good)).size);
}

// ---- Sizes that lie: every write stays inside its block

TEST_F(BodyTest, FourBitRowsStayInsideTheirBlocks) {
    // Rows of a tall image: only as many as the target holds are written.
    Object got = only(rawRecord(0, 1078 + 29, 16, fourBitBody(22, Bytes(16, 3), 8, 50, pattern(4 * 50, 10))));
    ASSERT_EQ(1078 + 25, got.size);
    EXPECT_EQ(join({Bytes(24, 3), Bytes(5, 0)}), got.bytes(1078, 1078 + 29));

    // A stated width far beyond the unpacked rows reads no row at all.
    got = only(rawRecord(0, 4000, 16, fourBitBody(22, Bytes(16, 3), 0x7FFFFFF0, 3, Bytes(40, 0x11))));
    ASSERT_EQ(4000 - 4, got.size);
    EXPECT_EQ(Bytes(4000 - 1078, 0), got.bytes(1078, 4000));

    // More unpacked rows stated than the stream gives: the rest reads as index 0.
    got = only(rawRecord(0, 1078 + 32, 16, fourBitBody(22, Bytes(16, 9), 8, 4, pattern(4, 11), 54 + 4 * 4)));
    ASSERT_TRUE(got.block);
    EXPECT_EQ(9, got.block.get()[1078 + 8 * 3]);
}

TEST_F(BodyTest, TinyStatedSizesStillGetTheirHeaders) {
    Bytes block = bitmapBlock(8, 54, 0);
    for (unsigned long u : {0ul, 3ul, 6ul, 20ul}) {
        Bytes part(block.begin(), block.begin() + u);
        EXPECT_EQ((int)u, only(storedRecord(0, part)).size);
        Object unpacked = only(packedRecord(0, part, 1));
        EXPECT_EQ((int)u, unpacked.size);
        ASSERT_TRUE(unpacked.block);
        EXPECT_EQ(4, unpacked.block.get()[0]);
    }
    EXPECT_EQ(0, only(rawRecord(0, 2, 8, eightBitBody({1080, 2, 2, 0, 4}, {}))).size);
}

// ---- The record reader on its own

TEST_F(BodyTest, RecordReaderGivesItsHeaderAndItsEnd) {
    Record record = storedRecord(-2, pattern(20, 12));
    record.name = "seventeen-chars!!";
    ObjImage image = objectFile({record, storedRecord(3, pattern(8, 13))});
    mObjFile file(put(image.bytes));
    mAswObject object(&file, (long)image.offsets[0]);
    EXPECT_EQ(7, object.getId());
    EXPECT_EQ(0, object.getReserved());
    EXPECT_EQ(-2, object.getTypeWord());
    EXPECT_EQ(mObjFile::objNone, object.getType());
    EXPECT_STREQ("seventeen-chars!!", object.getName().c_str());
    EXPECT_EQ(image.offsets[1], object.getEnd());
}

TEST_F(BodyTest, BodyReaderTakesTypeWordsAndLeavesThePositionBehindTheBody) {
    Bytes stream = recordBytes(packedRecord(7, bitmapBlock(8, 54, 0), 1));
    stream.erase(stream.begin(), stream.begin() + 23);
    stream.push_back(0xEE);
    mInputFile file(put(stream));
    ASSERT_TRUE(file.OpenFile(true));
    int size;
    BlockPtr got(static_cast<unsigned char *>(mAswObject::readBody(file, size, 7)));
    EXPECT_EQ((long)stream.size() - 1, file.getCurrentPosition());
    EXPECT_EQ(4, got.get()[0]) << "type word 7 counts as a bitmap here";
}

} // namespace
