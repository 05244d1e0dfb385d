// Images from object files, written here record by record. How the object reader readies
// each kind of stored bitmap is its own concern; these cover what the image loader adds.
#include "ExpectError.h"
#include "ImageKit.h"
#include "ScratchDir.h"
#include "mAswLib/mObjFile.h"
#include "mUtil/mCodec.h"

namespace {

const char source[] = "mSprite/mBitMap";

// One object: a type word, the three sizes, the compressor flags and the body.
struct Object {
    short type;
    unsigned long u, c, flags;
    Bytes body;
};

Object stored(short type, const Bytes &block) { return {type, (unsigned long)block.size(), (unsigned long)block.size(), 0, block}; }

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

void expectPicture(mBitMap *loaded, long width, long height) {
    Owned<mBitMap> image(loaded);
    ASSERT_EQ(mSize(width, height), image->getSize());
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x)
            ASSERT_EQ(picture(x, y), px8(*image, x, y)) << x << "," << y;
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

TEST_F(BitMapObject, TheFirstWordIsAPrefixToSkipOrTheStartOfTheImage) {
    const Payload plain(7, 5, 8, 1, rowsOf(7, 5, picture));
    // An 8-bit object: the header longs and the coded pixels. Its block begins with 00 00:
    // the two bytes become "BM" and the image starts there.
    Bytes eight;
    for (unsigned long v : {56UL, 7UL, 5UL, 0UL, (unsigned long)plain.pixels.size()})
        putBytes(eight, v, 4);
    Bytes coded(mCodec::compressBound((unsigned long)plain.pixels.size()));
    coded.resize(mCodec::compress(plain.pixels.data(), (unsigned long)plain.pixels.size(), coded.data(),
                                  (unsigned long)coded.size()));
    eight.insert(eight.end(), coded.begin(), coded.end());
    // A stored block the reader leaves alone: its first four bytes become the size, 65542,
    // whose low word 6 is the prefix in front of the bitmap file image.
    Bytes prefixed = Payload(256, 255, 8, 40, rowsOf(256, 255, picture)).build(true);
    prefixed.insert(prefixed.begin(), {0, 0, 0, 0, 'x', 'y'});
    prefixed.resize(65542, 0xEE);

    mObjFile *objects = open({stored(1, bitmapBlock(plain)),
                              {5, 58 + (unsigned long)plain.pixels.size(), (unsigned long)eight.size(), 8, eight},
                              stored(1, prefixed)});
    expectPicture(mBitMap::create(objects, 0), 7, 5);
    expectPicture(mBitMap::create(objects, 1), 7, 5);
    expectPicture(mBitMap::create(objects, 2), 256, 255);
}

TEST_F(BitMapObject, RefusalsAndErrorsThatComeThrough) {
    const Payload deep(1, 1, 24, 1, {1, 2, 3, 0}), shortData(4, 4, 8, 40, {1, 2, 3});
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
