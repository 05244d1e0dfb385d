// Images from a title's resources, plain and compressed, and from an open file.
#include "ExpectError.h"
#include "ImageKit.h"
#include "ScratchDir.h"
#include "BitmapFiles.h"
#include "mFile/mFile.h"
#include "mUtil/mModule.h"

namespace {

const char source[] = "mSprite/mBitMap";

// The test program stands for the title: its module holds the resources.
mModule &title() {
    static mModule module(reinterpret_cast<SYSTEM_INFO_STRUCT *>(GetModuleHandleA(nullptr)));
    return module;
}

void expectSprite(mBitMap *image) {
    ASSERT_NE(nullptr, image);
    Owned<mBitMap> held(image);
    ASSERT_EQ(mBitMap::bitmap8, image->getBitmapType());
    ASSERT_EQ(mSize(spriteWidth, spriteHeight), image->getSize());
    ASSERT_EQ(spriteColors, image->getColors());
    for (int i = 0; i < spriteColors; ++i)
        EXPECT_EQ(spriteColor(i), image->getColor(i).getRGB());
    for (int y = 0; y < spriteHeight; ++y)
        for (int x = 0; x < spriteWidth; ++x)
            ASSERT_EQ(spritePixel(x, y), px8(*image, x, y)) << x << "," << y;
}

TEST(BitMapResources, PlainAndCompressedGiveTheSameImage) {
    expectSprite(mBitMap::create(&title(), RES_SPRITE, false));
    expectSprite(mBitMap::create(&title(), RES_SPRITE, true));
}

TEST(BitMapResources, FailuresSayWhatWentWrong) {
    EXPECT_MERROR(mBitMap::create(&title(), RES_MISSING, false), "Bitmap Resource not found", RES_MISSING, source);
    EXPECT_MERROR(mBitMap::create(&title(), RES_MISSING, true), "Bitmap Resource not found", RES_MISSING, source);
    EXPECT_MERROR(mBitMap::create((mModule *)nullptr, RES_SPRITE, false), "Bitmap Resource not found", RES_SPRITE,
                  source);
    // The module's own failure passes on.
    try {
        mBitMap::create(&title(), RES_BROKEN, true);
        ADD_FAILURE() << "no error from a broken compressed block";
    } catch (const mError &e) {
        EXPECT_STREQ("Short compression file", e.message.c_str());
        EXPECT_STREQ("mUtil/mModule", e.file);
    }
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

} // namespace
