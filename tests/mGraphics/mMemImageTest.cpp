// Memory images: one block of pixels that is both an image and a surface, and the colour
// table through which it reaches a window.
#include "ExpectError.h"
#include "SurfaceKit.h"
#include "VelnorTest.h"

namespace {

COLORREF peerOf(const mColor &c) { return RGB(c.getRed(), c.getGreen(), c.getBlue()); }

TEST(MemImage, OneBlockServesTheImageAndTheSurface) {
    mPalette palette = plainPalette();
    Peek8 *image = new Peek8(nullptr, mSize(5, 3), &palette);
    EXPECT_EQ(image->getData(), image->getDIBPtr());
    EXPECT_EQ(8, image->getLineBytes());
    EXPECT_EQ(24, head(*image).dataSize);
    EXPECT_EQ(mSize(5, 3), image->getSize());
    EXPECT_EQ(16, image->getColors());
    EXPECT_EQ(mBitMap::bitmap8, image->getBitmapType());
    EXPECT_FALSE(image->isMatch());

    const BITMAPINFOHEADER &h = image->info()->bmiHeader;
    EXPECT_EQ(40u, h.biSize);
    EXPECT_EQ(5, h.biWidth);
    EXPECT_EQ(3, h.biHeight);
    EXPECT_EQ(1, h.biPlanes);
    EXPECT_EQ(8, h.biBitCount);
    EXPECT_EQ((DWORD)BI_RGB, h.biCompression);
    EXPECT_EQ(0u, h.biSizeImage);
    EXPECT_EQ(1000, h.biXPelsPerMeter);
    EXPECT_EQ(1000, h.biYPelsPerMeter);
    EXPECT_EQ(16u, h.biClrUsed);
    EXPECT_EQ(256u, h.biClrImportant);
    const std::vector<mColor> colors = plainColors();
    for (int i = 0; i < 16; ++i) {
        const RGBQUAD &q = image->info()->bmiColors[i];
        EXPECT_EQ(colors[i].getRGB(), mColor(q.rgbRed, q.rgbGreen, q.rgbBlue).getRGB()) << i;
        EXPECT_EQ(0, q.rgbReserved);
    }

    // A pixel written as image data is seen by the surface, and the other way round.
    px8(*image, 4, 0) = red;
    EXPECT_EQ(peerOf(colors[red]), GetPixel(image->dc(), 4, 0));
    EXPECT_EQ(peerOf(colors[black]), GetPixel(image->dc(), 3, 0));
    mBrush brush(colors[yellow]);
    image->setBrush(&brush);
    image->fillRect(mRect(1, 2, 3, 3));
    image->flush();
    EXPECT_EQ(yellow, px8(*image, 1, 2));
    EXPECT_EQ(yellow, px8(*image, 2, 2));
    EXPECT_EQ(black, px8(*image, 3, 2));
    EXPECT_EQ(black, px8(*image, 1, 1));
    image->free();

    Peek15 *wide = new Peek15(nullptr, mSize(5, 2));
    EXPECT_EQ(wide->getData(), wide->getDIBPtr());
    EXPECT_EQ(12, wide->getLineBytes());
    EXPECT_EQ(mBitMap::bitmap15, wide->getBitmapType());
    EXPECT_EQ(0, wide->getColors());
    EXPECT_EQ(16, wide->info()->bmiHeader.biBitCount);
    EXPECT_EQ(0u, wide->info()->bmiHeader.biClrUsed);
    EXPECT_EQ(0u, wide->info()->bmiHeader.biClrImportant);
    px15(*wide, 2, 1) = mColor(255, 0, 0).getRGB15();
    EXPECT_EQ((COLORREF)RGB(255, 0, 0), GetPixel(wide->dc(), 2, 1));
    wide->free();
}

TEST(MemImage, TheBlittersWorkOnTheSurfacesBlock) {
    mPalette palette = plainPalette();
    Peek8 *image = new Peek8(nullptr, mSize(12, 8), &palette);
    Owned<m8Bit> sprite = make8(3, 2, &palette, [](long x, long y) { return x == 1 ? black : green; });
    sprite->setTransparent(black);
    image->fill(mColor(0, 0, 255));
    image->copy(sprite.get(), mRect(0, 0, 3, 2), mPoint(4, 5));
    EXPECT_EQ((COLORREF)RGB(0, 255, 0), GetPixel(image->dc(), 4, 5));
    EXPECT_EQ((COLORREF)RGB(0, 0, 255), GetPixel(image->dc(), 5, 5));
    EXPECT_EQ((COLORREF)RGB(0, 255, 0), GetPixel(image->dc(), 6, 6));
    EXPECT_EQ((COLORREF)RGB(0, 0, 255), GetPixel(image->dc(), 7, 6));

    // And a memory image is a source like any 8-bit image.
    Owned<m8Bit> plain(new m8Bit(mSize(12, 8), &palette));
    plain->copy(image, mRect(0, 0, 12, 8), mPoint(0, 0));
    EXPECT_EQ(blockOf(*image), blockOf(*plain));

    // A counted memory image lives until its last use is given back.
    image->use();
    image->free();
    EXPECT_EQ(green, px8(*image, 4, 5));
    image->free();
}

TEST(MemImage, CopyPaletteRewritesTheSurfaceTable) {
    mPalette palette = plainPalette(40);
    Peek8 *image = new Peek8(nullptr, mSize(4, 4), &palette);
    std::vector<mColor> others;
    for (int i = 0; i < 40; ++i)
        others.push_back(mColor(255 - i, i * 3, 100));
    mPalette other(others.data(), 40);

    EXPECT_EQ(20, image->copyPalette(other, 10, 0, 20));
    const std::vector<mColor> before = plainColors(40);
    for (int i = 0; i < 40; ++i) {
        const RGBQUAD &q = image->info()->bmiColors[i];
        const mColor expected = i >= 10 && i < 30 ? others[i - 10] : before[i];
        EXPECT_EQ(expected.getRGB(), mColor(q.rgbRed, q.rgbGreen, q.rgbBlue).getRGB()) << i;
        EXPECT_EQ(expected.getRGB(), image->getColor(i).getRGB()) << i;
    }
    EXPECT_EQ(40u, image->info()->bmiHeader.biClrUsed);

    // A table that grows takes the surface table along.
    EXPECT_EQ(20, image->copyPalette(other, 50, 20, 20));
    EXPECT_EQ(70, image->getColors());
    EXPECT_EQ(70u, image->info()->bmiHeader.biClrUsed);
    EXPECT_EQ(others[20].getRGB(), mColor(image->info()->bmiColors[50].rgbRed, image->info()->bmiColors[50].rgbGreen,
                                          image->info()->bmiColors[50].rgbBlue)
                                       .getRGB());

    Owned<m8Bit> source = make8(2, 2, &other, [](long, long) { return 0; });
    EXPECT_EQ(40, image->copyPalette(source.get()));
    for (int i = 0; i < 40; ++i) {
        const RGBQUAD &q = image->info()->bmiColors[i];
        EXPECT_EQ(others[i].getRGB(), mColor(q.rgbRed, q.rgbGreen, q.rgbBlue).getRGB()) << i;
    }
    image->free();

    m15BitMemImage *wide = new m15BitMemImage(nullptr, mSize(2, 2));
    EXPECT_EQ(0, wide->copyPalette(other, 10, 0, 20));
    EXPECT_EQ(0, wide->copyPalette(source.get()));
    EXPECT_EQ(0, wide->getColors());
    wide->free();
}

TEST(MemImage, AColourChangeShowsAtTheNextCopyWithoutTouchingPixels) {
    mPalette palette = plainPalette();
    Peek8 *image = new Peek8(nullptr, mSize(6, 4), &palette);
    for (long y = 0; y < 4; ++y)
        for (long x = 0; x < 6; ++x)
            px8(*image, x, y) = (unsigned char)(x < 3 ? red : green);
    Peek15 *screen = new Peek15(nullptr, mSize(6, 4));
    screen->copyImage(image, mRect(0, 0, 6, 4), mPoint(0, 0));
    EXPECT_EQ(mColor(255, 0, 0).getRGB15(), px15(*screen, 0, 0));
    EXPECT_EQ(mColor(0, 255, 0).getRGB15(), px15(*screen, 5, 3));

    const Bytes pixels = blockOf(*image);
    mColor purple[] = {mColor(128, 0, 128)};
    mPalette change(purple, 1);
    image->copyPalette(change, red, 0, 1);
    EXPECT_EQ(pixels, blockOf(*image));
    screen->copyImage(image, mRect(0, 0, 6, 4), mPoint(0, 0));
    EXPECT_EQ(mColor(128, 0, 128).getRGB15(), px15(*screen, 0, 0));
    EXPECT_EQ(mColor(0, 255, 0).getRGB15(), px15(*screen, 5, 3));

    // A new palette for the image remaps its pixels, and the surface follows.
    std::vector<mColor> reversed = plainColors();
    std::reverse(reversed.begin(), reversed.end());
    mPalette backwards(reversed.data(), (int)reversed.size());
    image->changePalette(backwards, false);
    EXPECT_EQ(15 - green, px8(*image, 5, 3));
    screen->copyImage(image, mRect(0, 0, 6, 4), mPoint(0, 0));
    EXPECT_EQ(mColor(0, 255, 0).getRGB15(), px15(*screen, 5, 3));
    screen->free();
    image->free();
}

TEST(MemImage, DestructionGivesBackTheSectionOnce) {
    mPalette palette = plainPalette();
    mPen pen(mColor(255, 0, 0), 1);
    for (int round = 0; round < 50; ++round) {
        Peek8 *image = new Peek8(nullptr, mSize(64, 32), &palette);
        const HBITMAP section = image->section();
        const HDC dc = image->dc();
        image->setPen(&pen);
        image->setPalette(&palette);
        image->free();
        ASSERT_EQ(0u, GetObjectType(section));
        ASSERT_EQ(0u, GetObjectType(dc));
        ASSERT_EQ(1, uses(handleOf(pen.getPeer(nullptr))));
        ASSERT_EQ(1, uses(handleOf(palette.getPeer())));

        Peek15 *wide = new Peek15(nullptr, mSize(16, 16));
        const HBITMAP wideSection = wide->section();
        wide->free();
        ASSERT_EQ(0u, GetObjectType(wideSection));
    }
}

TEST(MemImage, MadeLikeAnotherSurface) {
    mPalette palette = plainPalette();
    Peek15 *screen = new Peek15(nullptr, mSize(8, 8));
    Peek8 *image = new Peek8(screen, mSize(3, 3), &palette);
    std::memset(image->getDIBPtr(), blue, head(*image).dataSize);
    screen->copyImage(image, mRect(0, 0, 3, 3), mPoint(2, 2));
    EXPECT_EQ(mColor(0, 0, 255).getRGB15(), px15(*screen, 4, 4));
    EXPECT_EQ(0, px15(*screen, 5, 5));
    image->free();
    screen->free();
}

TEST(MemImage, AFailedSectionReportsThePlatformsError) {
    mPalette palette = plainPalette();
    EXPECT_MERROR(new m8BitMemImage(nullptr, mSize(-1, 4), &palette), "Failed to create DI Bitmap",
                  ERROR_INVALID_PARAMETER, "mSprite/m8BitMemImage");
    EXPECT_MERROR(new m15BitMemImage(nullptr, mSize(4, -3)), "Failed to create DI Bitmap", ERROR_INVALID_PARAMETER,
                  "mSprite/m15BitMemImage");
    EXPECT_MERROR(new m8BitMemImage(nullptr, mSize(70000, 70000), &palette), "Failed to create DI Bitmap",
                  ERROR_NOT_ENOUGH_MEMORY, "mSprite/m8BitMemImage");
    // An empty section is refused by the platform itself.
    try {
        new m15BitMemImage(nullptr, mSize(0, 0));
        ADD_FAILURE() << "an empty memory image was made";
    } catch (const mError &e) {
        EXPECT_STREQ("Failed to create DI Bitmap", e.message.c_str());
        EXPECT_STREQ("mSprite/m15BitMemImage", e.file);
    }
}

} // namespace
