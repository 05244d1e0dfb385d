// Memory images: one block of pixels that is both an image and a surface, and the colour
// table through which it reaches a window.
#include "ExpectError.h"
#include "SurfaceKit.h"
#include "VelnorTest.h"

#include <algorithm>

namespace {

// Entry i of the colour table that the surface hands to the platform.
unsigned long tableRGB(const Peek8 &image, int i) {
    const RGBQUAD &q = image.info()->bmiColors[i];
    return mColor(q.rgbRed, q.rgbGreen, q.rgbBlue).getRGB();
}

// Drawing through the surface lands in the image's block (the drawing tests read it back, and
// the copies read 15-bit images with padded rows); here the way round, from data to surface.
TEST(MemImage, OneBlockServesTheImageAndTheSurface) {
    mPalette palette = plainPalette();
    Peek8 *image = new Peek8(nullptr, mSize(5, 3), &palette);
    EXPECT_EQ(image->getData(), image->getDIBPtr());
    EXPECT_EQ(8, image->getLineBytes());
    EXPECT_EQ(24, head(*image).dataSize);
    EXPECT_EQ(16, image->getColors());
    EXPECT_FALSE(image->isMatch());
    px8(*image, 4, 0) = red;
    EXPECT_EQ((COLORREF)RGB(255, 0, 0), GetPixel(image->dc(), 4, 0));
    EXPECT_EQ((COLORREF)RGB(0, 0, 0), GetPixel(image->dc(), 3, 0));
    image->free();
}

TEST(MemImage, CopyPaletteRewritesTheSurfaceTable) {
    mPalette palette = plainPalette(40);
    Peek8 *image = new Peek8(nullptr, mSize(4, 4), &palette);
    const std::vector<mColor> others = rampColors(40);
    mPalette other(others.data(), 40);
    const std::vector<mColor> before = plainColors(40);

    EXPECT_EQ(20, image->copyPalette(other, 10, 0, 20));
    for (int i = 0; i < 40; ++i)
        EXPECT_EQ((i >= 10 && i < 30 ? others[i - 10] : before[i]).getRGB(), tableRGB(*image, i)) << i;
    EXPECT_EQ(40u, image->info()->bmiHeader.biClrUsed);

    // A table that grows takes the surface table along.
    EXPECT_EQ(20, image->copyPalette(other, 50, 20, 20));
    EXPECT_EQ(70, image->getColors());
    EXPECT_EQ(70u, image->info()->bmiHeader.biClrUsed);
    EXPECT_EQ(others[20].getRGB(), tableRGB(*image, 50));

    Owned<m8Bit> source = make8(2, 2, &other, [](long, long) { return 0; });
    EXPECT_EQ(40, image->copyPalette(source.get()));
    for (int i = 0; i < 40; ++i)
        EXPECT_EQ(others[i].getRGB(), tableRGB(*image, i)) << i;
    image->free();

    m15BitMemImage *wide = new m15BitMemImage(nullptr, mSize(2, 2));
    EXPECT_EQ(0, wide->copyPalette(other, 10, 0, 20));
    EXPECT_EQ(0, wide->copyPalette(source.get()));
    EXPECT_EQ(0, wide->getColors());
    wide->free();
}

TEST(MemImage, AColourChangeShowsAtTheNextCopyWithoutTouchingPixels) {
    mPalette palette = plainPalette();
    Peek15 *screen = new Peek15(nullptr, mSize(6, 2));
    // Made like another surface, as a sprite context makes its image like the window.
    Peek8 *image = new Peek8(screen, mSize(6, 2), &palette);
    for (long y = 0; y < 2; ++y)
        for (long x = 0; x < 6; ++x)
            px8(*image, x, y) = (unsigned char)(x < 3 ? red : green);
    const auto shown = [&] {
        screen->copyImage(image, mRect(0, 0, 6, 2), mPoint(0, 0));
        return picture(*screen, black);
    };

    // A new palette for the image remaps its pixels, and the surface follows.
    std::vector<mColor> reversed = plainColors();
    std::reverse(reversed.begin(), reversed.end());
    image->changePalette(mPalette(reversed.data(), (int)reversed.size()), false);
    EXPECT_EQ("===<<<\n===<<<\n", picture(*image, -1));
    EXPECT_EQ("222333\n222333\n", shown());

    const Bytes pixels = blockOf(*image);
    mColor purple[] = {mColor(128, 0, 128)};
    image->copyPalette(mPalette(purple, 1), 15 - red, 0, 1);
    EXPECT_EQ(pixels, blockOf(*image));
    EXPECT_EQ("???333\n???333\n", shown());
    image->free();
    screen->free();
}

TEST(MemImage, DestructionGivesBackTheSectionOnce) {
    mPalette palette = plainPalette();
    for (int round = 0; round < 50; ++round) {
        Peek8 *image = new Peek8(nullptr, mSize(64, 32), &palette);
        const HBITMAP section = image->section();
        const HDC dc = image->dc();
        image->setPalette(&palette);
        image->free();
        ASSERT_EQ(0u, GetObjectType(section));
        ASSERT_EQ(0u, GetObjectType(dc));
        ASSERT_EQ(1, uses(handleOf(palette.getPeer())));
    }
}

TEST(MemImage, AFailedSectionReportsThePlatformsError) {
    mPalette palette = plainPalette();
    EXPECT_MERROR(new m8BitMemImage(nullptr, mSize(-1, 4), &palette), "Failed to create DI Bitmap",
                  ERROR_INVALID_PARAMETER, "mSprite/m8BitMemImage");
    EXPECT_MERROR(new m15BitMemImage(nullptr, mSize(4, -3)), "Failed to create DI Bitmap", ERROR_INVALID_PARAMETER,
                  "mSprite/m15BitMemImage");
    EXPECT_MERROR(new m8BitMemImage(nullptr, mSize(70000, 70000), &palette), "Failed to create DI Bitmap",
                  ERROR_NOT_ENOUGH_MEMORY, "mSprite/m8BitMemImage");
    // An empty section is refused by the platform itself, with a code of its own.
    try {
        new m15BitMemImage(nullptr, mSize(0, 0));
        ADD_FAILURE() << "an empty memory image was made";
    } catch (const mError &e) {
        EXPECT_STREQ("Failed to create DI Bitmap", e.message.c_str());
        EXPECT_STREQ("mSprite/m15BitMemImage", e.file);
    }
}

} // namespace
