// Images from object files, written here record by record.
#include "ExpectError.h"
#include "ImageKit.h"
#include "ScratchDir.h"
#include "mAswLib/mObjFile.h"
#include "mUtil/mCodec.h"

namespace {

const char source[] = "mSprite/mBitMap";

Bytes lzss(const Bytes &plain) {
    Bytes out(mCodec::compressBound((unsigned long)plain.size()));
    out.resize(mCodec::compress(plain.data(), (unsigned long)plain.size(), out.data(), (unsigned long)out.size()));
    return out;
}

// One object: a type word, the three sizes, the compressor flags and the body.
struct Object {
    short type;
    unsigned long u, c, flags;
    Bytes body;
};

Object stored(short type, const Bytes &block) { return {type, (unsigned long)block.size(), (unsigned long)block.size(), 0, block}; }

Object packed(short type, const Bytes &block, unsigned long flags) {
    const Bytes body = lzss(block);
    return {type, (unsigned long)block.size(), (unsigned long)body.size(), flags, body};
}

// An object file without a directory: the count, then the records one behind the other.
Bytes objectFile(const std::vector<Object> &objects) {
    Bytes out;
    putBytes(out, objects.size(), 2);
    for (size_t i = 0; i < objects.size(); ++i) {
        const Object &o = objects[i];
        putBytes(out, i, 4);
        putBytes(out, o.type, 2);
        out.resize(out.size() + 17, 0);
        for (unsigned long v : {o.u, o.c, o.flags})
            putBytes(out, v, 4);
        out.insert(out.end(), o.body.begin(), o.body.end());
    }
    return out;
}

// The block of a stored bitmap: a 4-byte slot, then a bitmap file image.
Bytes bitmapBlock(const Payload &p) {
    Bytes image = p.build(true);
    image.insert(image.begin(), 4, 0);
    return image;
}

int picture(long x, long y) { return (int)(1 + (x * 5 + y * 3) % 11); }

Bytes pictureRows(long width, long height) {
    const long line = (width + 3) & ~3L;
    Bytes rows(line * height, 0);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x)
            rows[(height - 1 - y) * line + x] = (unsigned char)picture(x, y);
    return rows;
}

void expectPicture(mBitMap &image, long width, long height) {
    ASSERT_EQ(mSize(width, height), image.getSize());
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x)
            ASSERT_EQ(picture(x, y), px8(image, x, y)) << x << "," << y;
}

class BitMapObject : public testing::Test {
protected:
    BitMapObject() : dir("BitMapObject") {}
    mObjFile *open(const std::vector<Object> &objects) {
        file.reset(new mObjFile(mString(dir.write("objects.obj", objectFile(objects)).c_str())));
        return file.get();
    }

    ScratchDir dir;
    std::unique_ptr<mObjFile> file;
};

TEST_F(BitMapObject, StoredAndPackedBitmapsOfEveryKind) {
    Payload plain(7, 5);
    plain.pixels = pictureRows(7, 5);
    // A table of 256 15-bit colours between header and pixels.
    Payload withTable = plain;
    for (unsigned short w : {0x7FFF, 0x001F, 0x03E0, 0x7C00})
        putBytes(withTable.table, w, 2);
    withTable.table.resize(512, 0);
    Payload runs(3, 2);
    runs.compression = 1;
    runs.pixels = {0, 2, 0, 0, 3, 9, 0, 0, 0, 2, 1, 0, 2, 8, 0, 0, 0, 1};
    Payload colour(2, 1);
    colour.bitsPerPixel = 16;
    colour.pixels = {0x34, 0x12, 0x21, 0x43};
    // An 8-bit object: the header longs and the coded pixels.
    Bytes eight;
    for (unsigned long v : {56UL, 7UL, 5UL, 0UL, (unsigned long)plain.pixels.size()})
        putBytes(eight, v, 4);
    const Bytes coded = lzss(plain.pixels);
    eight.insert(eight.end(), coded.begin(), coded.end());

    mObjFile *objects = open({stored(1, bitmapBlock(plain)), packed(4, bitmapBlock(withTable), 64),
                              stored(0, bitmapBlock(runs)), packed(6, bitmapBlock(colour), 1),
                              {5, 58 + (unsigned long)plain.pixels.size(), (unsigned long)eight.size(), 8, eight}});

    Owned<mBitMap> first = own(mBitMap::create(objects, 0));
    EXPECT_EQ(0, first->getColors());
    expectPicture(*first, 7, 5);

    Owned<mBitMap> tabled = own(mBitMap::create(objects, 1));
    ASSERT_EQ(256, tabled->getColors());
    EXPECT_EQ(0xFFFFFFUL, tabled->getColor(0).getRGB());
    EXPECT_EQ(0xFF0000UL, tabled->getColor(3).getRGB());
    EXPECT_TRUE(tabled->hasTransparency());
    expectPicture(*tabled, 7, 5);

    Owned<mBitMap> rle = own(mBitMap::create(objects, 2));
    ASSERT_EQ(mBitMap::bitmapRLE, rle->getBitmapType());
    EXPECT_EQ(runs.pixels, blockOf(*rle));

    Owned<mBitMap> words = own(mBitMap::create(objects, 3));
    ASSERT_EQ(mBitMap::bitmap15, words->getBitmapType());
    EXPECT_EQ(0x4321, px15(*words, 1, 0));

    // Its block begins with 00 00: the two bytes become "BM" and the image starts there.
    Owned<mBitMap> unpacked = own(mBitMap::create(objects, 4));
    EXPECT_EQ(0, unpacked->getColors());
    expectPicture(*unpacked, 7, 5);
}

TEST_F(BitMapObject, AFirstWordOfTwoOrMoreIsAPrefixToSkip) {
    // A stored object whose block the reader leaves alone: its first four bytes become the
    // size, 65542, whose low word 6 is the prefix in front of the bitmap file image.
    Payload p(256, 255);
    p.planes = 40;
    p.pixels = pictureRows(256, 255);
    Bytes block = p.build(true);
    block.insert(block.begin(), {0, 0, 0, 0, 'x', 'y'});
    block.resize(65542, 0xEE);
    Owned<mBitMap> loaded = own(mBitMap::create(open({stored(1, block)}), 0));
    expectPicture(*loaded, 256, 255);
}

TEST_F(BitMapObject, RefusalsAndErrorsThatComeThrough) {
    Payload deep(1, 1);
    deep.bitsPerPixel = 24;
    deep.pixels = {1, 2, 3, 0};
    Payload shortData(4, 4);
    shortData.planes = 40;
    shortData.pixels = {1, 2, 3};
    mObjFile *objects = open({stored(2, Bytes(40, 0)), stored(1, bitmapBlock(deep)), stored(1, bitmapBlock(shortData)),
                              {1, 10, 10, 2, Bytes(10, 0)}, stored(7, Bytes(40, 0))});
    for (int notABitmap : {0, 4, 5})
        EXPECT_MERROR(mBitMap::create(objects, notABitmap), "Not a bitmap object", 0, source);
    EXPECT_MERROR(mBitMap::create((mObjFile *)nullptr, 0), "Not a bitmap object", 0, source);
    EXPECT_MERROR(mBitMap::create(objects, 1), "Bitmap object:No support for this bitmap format", 0, source);
    EXPECT_MERROR(mBitMap::create(objects, 2), "Bitmap object:256 color bit has insufficient data", 0,
                  "mSprite/m8Bit");
    EXPECT_MERROR(mBitMap::create(objects, 3), "Bitmap object:Unknown/unsupported Compressor flags", 2,
                  "mAswLib/mAswObject");
}

} // namespace
