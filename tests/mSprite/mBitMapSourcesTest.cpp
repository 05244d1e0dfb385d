// Images from a title's resources, plain and compressed, from an open file, and from object
// files written here record by record.
#include "ExpectError.h"
#include "ImageKit.h"
#include "ScratchDir.h"
#include "sprites.h"
#include "mAswLib/mObjFile.h"
#include "mFile/mFile.h"
#include "mUtil/mCodec.h"
#include "mUtil/mModule.h"

namespace {

const char source[] = "mSprite/mBitMap";
const unsigned short missing = 99;

// The picture of the bitmap resources, as their script has it.
const int spriteWidth = 4, spriteHeight = 2, spriteColors = 4;
int spritePixel(long x, long y) { return (int)((x * 3 + y) % 4); }
unsigned long spriteColor(int i) { return 0x102030UL + i * 0x303030UL; }

// Rows of 8-bit pixels from f(x, y), stored bottom row first on four-byte boundaries.
Bytes rowsOf(long width, long height, int (*f)(long, long)) {
    const long line = (width + 3) & ~3L;
    Bytes rows(line * height, 0);
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x)
            rows[(height - 1 - y) * line + x] = (unsigned char)f(x, y);
    return rows;
}

// The picture as a bitmap file, and a file as a compressed block (decoded size, stored size,
// stream) of literals only: a flag byte of eight literal bits before every eight bytes.
Bytes spriteFile() {
    Payload p(spriteWidth, spriteHeight, 8, 1, rowsOf(spriteWidth, spriteHeight, spritePixel));
    p.colorsUsed = spriteColors;
    for (int i = 0; i < spriteColors; ++i)
        putBytes(p.table, spriteColor(i), 4);
    return p.build(true);
}
Bytes compressedBlock(const Bytes &data) {
    Bytes out;
    putBytes(out, data.size(), 4);
    putBytes(out, data.size() + (data.size() + 7) / 8 + 8, 4);
    for (size_t i = 0; i < data.size(); ++i) {
        if (i % 8 == 0)
            out.push_back(0xFF);
        out.push_back(data[i]);
    }
    return out;
}

// The test program stands for the title: its module holds the resources.
mModule &title() {
    static mModule module(reinterpret_cast<SYSTEM_INFO_STRUCT *>(GetModuleHandleA(nullptr)));
    return module;
}

// An image of the sprite's pixels, of its colours too unless `colorless`.
void expectSprite(mBitMap *loaded, long width = spriteWidth, long height = spriteHeight, bool colorless = false) {
    ASSERT_NE(nullptr, loaded);
    Owned<mBitMap> image(loaded);
    ASSERT_EQ(mBitMap::bitmap8, image->getBitmapType());
    ASSERT_EQ(mSize(width, height), image->getSize());
    ASSERT_EQ(colorless ? 0 : spriteColors, image->getColors());
    for (int i = 0; i < image->getColors(); ++i)
        EXPECT_EQ(spriteColor(i), image->getColor(i).getRGB());
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x)
            ASSERT_EQ(spritePixel(x, y), px8(*image, x, y)) << x << "," << y;
}

TEST(BitMapResources, PlainAndCompressedGiveTheSameImage) {
    expectSprite(mBitMap::create(&title(), RES_SPRITE, false));
    expectSprite(mBitMap::create(&title(), RES_SPRITE, true));
}

TEST(BitMapResources, FailuresSayWhatWentWrong) {
    EXPECT_MERROR(mBitMap::create(&title(), missing, false), "Bitmap Resource not found", missing, source);
    EXPECT_MERROR(mBitMap::create(&title(), missing, true), "Bitmap Resource not found", missing, source);
    EXPECT_MERROR(mBitMap::create((mModule *)nullptr, RES_SPRITE, false), "Bitmap Resource not found", RES_SPRITE,
                  source);
    // The module's own failure passes on.
    EXPECT_MERROR(mBitMap::create(&title(), RES_BROKEN, true), "Short compression file", (long)spriteFile().size(),
                  "mUtil/mModule");
}

TEST(BitMapFile, ReadsFromThePresentPosition) {
    ScratchDir dir("BitMapFile");
    const Bytes image = spriteFile(), packed = compressedBlock(image);
    Bytes contents = image;
    contents.insert(contents.begin(), 10, 0x55);
    contents.insert(contents.end(), packed.begin(), packed.end());
    mInputFile file(mString(dir.write("sprites.bin", contents).c_str()));
    ASSERT_TRUE(file.OpenFile(true));
    ASSERT_TRUE(file.seekFrom(10, mFile::seekStart));
    expectSprite(mBitMap::create(file, (long)image.size(), false));
    expectSprite(mBitMap::create(file, (long)packed.size(), true));
}

TEST(BitMapFile, ClosedAndShortFilesAreRefused) {
    ScratchDir dir("BitMapShort");
    Bytes image = spriteFile();
    const long full = (long)image.size();
    image.resize(image.size() - 5);
    mInputFile file(mString(dir.write("cut.bmp", image).c_str()));
    const mString closed = mString("Bitmap file not opened! -") + file.getFullPath();
    EXPECT_MERROR(mBitMap::create(file, 100, false), closed.c_str(), 0, source);
    ASSERT_TRUE(file.OpenFile(true));
    EXPECT_MERROR(mBitMap::create(file, full, false), "256 color bit has insufficient data", 0, "mSprite/m8Bit");
}

// ---- Object files. How the object reader readies each kind of stored bitmap is its own
// concern; these cover what the image loader adds.

// One object: a type word, the three sizes, the compressor flags and the body.
struct Object {
    short type;
    unsigned long u, c, flags;
    Bytes body;
};

// A block stored as it is; with `slot`, a bitmap behind the 4-byte slot the reader fills.
Object stored(short type, Bytes block, bool slot = true) {
    if (slot)
        block.insert(block.begin(), 4, 0);
    return {type, (unsigned long)block.size(), (unsigned long)block.size(), 0, block};
}

// An object file without a directory: the count, then the records one behind the other.
std::unique_ptr<mObjFile> objectFile(const ScratchDir &dir, const std::vector<Object> &objects) {
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
    return std::unique_ptr<mObjFile>(new mObjFile(mString(dir.write("objects.obj", out).c_str())));
}

TEST(BitMapObject, TheFirstWordIsAPrefixToSkipOrTheStartOfTheImage) {
    ScratchDir dir("BitMapObject");
    // An 8-bit object: the header longs and the coded pixels. Its block begins with 00 00:
    // the two bytes become "BM" and the image starts there.
    const Bytes rows = rowsOf(spriteWidth, spriteHeight, spritePixel);
    Bytes eight, coded(mCodec::compressBound((unsigned long)rows.size()));
    for (unsigned long v : {56UL, (unsigned long)spriteWidth, (unsigned long)spriteHeight, 0UL, (unsigned long)rows.size()})
        putBytes(eight, v, 4);
    coded.resize(mCodec::compress(rows.data(), (unsigned long)rows.size(), coded.data(), (unsigned long)coded.size()));
    eight.insert(eight.end(), coded.begin(), coded.end());
    // A block the reader leaves alone: its first four bytes become the size, 65542, whose
    // low word 6 is the prefix in front of the bitmap file image.
    Bytes prefixed = Payload(256, 255, 8, 40, rowsOf(256, 255, spritePixel)).build(true);
    prefixed.insert(prefixed.begin(), {0, 0, 0, 0, 'x', 'y'});
    prefixed.resize(65542, 0xEE);
    std::unique_ptr<mObjFile> objects = objectFile(
        dir, {stored(1, spriteFile()), {5, 58 + (unsigned long)rows.size(), (unsigned long)eight.size(), 8, eight},
              stored(1, prefixed, false)});
    // The reader puts where the pixels begin in the planes field: no colour table is read.
    expectSprite(mBitMap::create(objects.get(), 0), spriteWidth, spriteHeight, true);
    expectSprite(mBitMap::create(objects.get(), 1), spriteWidth, spriteHeight, true);
    expectSprite(mBitMap::create(objects.get(), 2), 256, 255, true);
}

TEST(BitMapObject, RefusalsAndErrorsThatComeThrough) {
    ScratchDir dir("BitMapObjectRefused");
    std::unique_ptr<mObjFile> objects =
        objectFile(dir, {stored(2, Bytes(40, 0)), stored(1, Payload(1, 1, 24, 1, {1, 2, 3, 0}).build(true)),
                         stored(1, Payload(4, 4, 8, 40, {1, 2, 3}).build(true)), {1, 10, 10, 2, Bytes(10, 0)},
                         stored(7, Bytes(40, 0))});
    for (int notABitmap : {0, 4, 5})
        EXPECT_MERROR(mBitMap::create(objects.get(), notABitmap), "Not a bitmap object", 0, source);
    EXPECT_MERROR(mBitMap::create((mObjFile *)nullptr, 0), "Not a bitmap object", 0, source);
    EXPECT_MERROR(mBitMap::create(objects.get(), 1), "Bitmap object:No support for this bitmap format", 0, source);
    EXPECT_MERROR(mBitMap::create(objects.get(), 2), "Bitmap object:256 color bit has insufficient data", 0,
                  "mSprite/m8Bit");
    EXPECT_MERROR(mBitMap::create(objects.get(), 3), "Bitmap object:Unknown/unsupported Compressor flags", 2,
                  "mAswLib/mAswObject");
}

} // namespace
