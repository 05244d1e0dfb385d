// 8-bit images: loading every palette kind, clones, copies, drawing in place, colours,
// the mapping search and the standard image.
#include "ExpectError.h"
#include "ImageKit.h"

namespace {

const char source[] = "mSprite/m8Bit";

// Planes 1: a table of 4-byte entries; 2: of 15-bit words; 3: of 15-bit words in the room
// of 4-byte entries; otherwise no table, the pixels at that offset. The 15-bit tables make
// the first pixel transparent.
TEST(EightBitLoad, PlanesSayWhatTheTableHoldsAndWhereThePixelsBegin) {
    Bytes entries, words;
    for (unsigned long rgb : {0x0A141EUL, 0x28323CUL})
        putBytes(entries, rgb, 4);
    for (unsigned short w : {0x7FFF, 0x0421})
        putBytes(words, w, 2);
    Bytes padded = words;
    padded.resize(8, 0xEE);
    const struct {
        int planes;
        Bytes table;
        int colors;
        unsigned long second;
        short transparent;
    } cases[] = {{1, entries, 2, 0x28323C, -1}, {2, words, 2, 0x080808, 2}, {3, padded, 2, 0x080808, 2},
                 {44, {0xAA, 0xBB, 0xCC, 0xDD}, 0, 0, -1}};
    for (const auto &c : cases) {
        Payload p(3, 2, 8, c.planes, {2, 0, 1, 9, 0, 1, 1, 9});
        p.colorsUsed = c.colors;
        p.table = c.table;
        for (bool fileHeader : {false, true}) {
            Owned<mBitMap> image = createFrom(p, fileHeader);
            EXPECT_EQ(c.colors, image->getColors());
            EXPECT_EQ(c.second, c.colors ? image->getColor(1).getRGB() : 0);
            EXPECT_EQ(c.transparent, dynamic_cast<m8Bit &>(*image).getTransparent());
            EXPECT_EQ(p.pixels, blockOf(*image)); // the padding comes along
        }
    }
}

TEST(EightBitLoad, FourBitPayloadsUnpackHighNibbleFirst) {
    // Rows of (5 + 1) / 2 = 3 bytes padded to 4; the sixth nibble lands in the padding.
    Payload p(5, 2, 4, 1, {0x12, 0x34, 0x5F, 0x00, /* top row: */ 0xAB, 0xCD, 0xE7, 0x00});
    for (int i = 0; i < 16; ++i)
        putBytes(p.table, i * 0x010101, 4);
    Owned<mBitMap> image = createFrom(p);
    EXPECT_EQ(16, image->getColors());
    EXPECT_EQ(Bytes({1, 2, 3, 4, 5, 0xF, 0, 0, 0xA, 0xB, 0xC, 0xD, 0xE, 7, 0, 0}), blockOf(*image));

    // With planes naming the pixel start, the table's first bytes translate the nibbles.
    p.planes = 40 + 64;
    p.colorsUsed = 16;
    p.table.clear();
    for (int i = 0; i < 16; ++i)
        putBytes(p.table, 100 + i, 4);
    Owned<mBitMap> translated = createFrom(p);
    EXPECT_EQ(0, translated->getColors());
    EXPECT_EQ(110, px8(*translated, 0, 0));
    EXPECT_EQ(101, px8(*translated, 0, 1));
}

TEST(EightBitLoad, BadTablesAndShortDataThrow) {
    const char *badTable = "256 color bit map has bad color table", *shortData = "256 color bit has insufficient data";
    const struct {
        int planes;
        long width, height, colorsUsed, bytes;
        const char *error;
    } cases[] = {
        {40, 4, 2, 257, 8, badTable},  {40, 4, 2, -1, 8, badTable},  {40, 4, 2, 0, 7, shortData},
        {40, 4, -2, 0, 8, shortData}, {40, 0x40000000, 0x40000000, 0, 8, shortData},
        {1, 1, 1, 200, 4, shortData}, // a table that does not fit
    };
    for (const auto &c : cases) {
        Payload p(c.width, c.height, 8, c.planes, Bytes(c.bytes));
        p.colorsUsed = c.colorsUsed;
        EXPECT_MERROR(createFrom(p), c.error, 0, source);
    }
}

TEST(EightBitCopy, OpaqueAndTransparentCopiesMatchTheModel) {
    Owned<m8Bit> picture = make8(23, 17, nullptr, [](long x, long y) { return (x * 3 + y * 5) % 7; });
    checkCopies<unsigned char>(*picture, [&](long x, long y) { return (int)px8(*picture, x, y); }, nullptr, 1);
    picture->setTransparent(3);
    checkCopies<unsigned char>(*picture, [&](long x, long y) {
        const int v = px8(*picture, x, y);
        return v == 3 ? -1 : v;
    }, nullptr, 2);
}

TEST(EightBitCopy, FullWidthRowsGoAsOneBlockAndStillLandRight) {
    Owned<m8Bit> picture = make8(16, 8, nullptr, [](long x, long y) { return x + 16 * y; });
    Owned<m8Bit> target(new m8Bit(mSize(16, 8), nullptr));
    target->copy(picture.get(), mRect(0, 0, 16, 8), mPoint(0, 0));
    EXPECT_EQ(blockOf(*picture), blockOf(*target));
    target->copy(picture.get(), mRect(0, 2, 16, 5), mPoint(0, 0));
    EXPECT_EQ(32, px8(*target, 0, 0));
    EXPECT_EQ(16 * 4 + 15, px8(*target, 15, 2));
    EXPECT_EQ(16 * 3, px8(*target, 0, 3));
}

TEST(EightBitCopy, FifteenBitSourcesSkipTheirTransparentWord) {
    Owned<m8Bit> target = make8(4, 1, nullptr, [](long, long) { return 3; });
    Owned<m15Bit> picture = make15(4, 1, [](long x, long) { return x == 0 ? 0x7C00 : x == 1 ? 0x03E0 : 0x0421; });
    // Without the mapping, clipping comes first: nothing left, nothing thrown.
    target->copy(picture.get(), mRect(5, 0, 9, 1), mPoint(0, 0));
    target->copy(picture.get(), mRect(0, 0, 2, 1), mPoint(4, 0));
    target->copy(nullptr, mRect(0, 0, 2, 2), mPoint(0, 0));

    mPalette palette = paletteOf({mColor(0, 0, 0), mColor(255, 0, 0), mColor(0, 255, 0), mColor(0, 0, 255)});
    target->setMapping(&palette, mColor(true));
    picture->setTransparent(mColor(0, 255, 0));
    target->copy(picture.get(), mRect(0, 0, 4, 1), mPoint(0, 0));
    EXPECT_EQ(Bytes({1, 3, 0, 0}), blockOf(*target));
}

TEST(EightBitClone, PlainAndRunLengthSourcesKeepTheirValues) {
    mPalette palette = paletteOf(rampColors(8));
    Owned<m8Bit> picture = make8(5, 3, &palette, [](long x, long y) { return (x + y) % 4; });
    Owned<m8Bit> copy(new m8Bit(*picture, nullptr));
    EXPECT_EQ(blockOf(*picture), blockOf(*copy));
    EXPECT_EQ(8, copy->getColors());

    // From run-length: the background takes the unused index 245, the rest as it was.
    picture->setTransparent(0);
    Owned<m8BitRLE> rle(new m8BitRLE(*picture));
    Owned<m8Bit> back(new m8Bit(*rle, nullptr));
    for (long y = 0; y < 3; ++y)
        for (long x = 0; x < 5; ++x)
            EXPECT_EQ(px8(*picture, x, y) == 0 ? 245 : px8(*picture, x, y), px8(*back, x, y));
    EXPECT_FALSE(back->hasTransparency());
}

TEST(EightBitClone, OtherSourcesNeedALoadedMappingImage) {
    Owned<m15Bit> picture = make15(3, 2, [](long x, long) { return x == 0 ? 0x7C00 : 0x001F; });
    Owned<m8Bit> bare(new m8Bit(mSize(1, 1), nullptr));
    Owned<m8BitRLE> rle(new m8BitRLE(*bare));
    EXPECT_MERROR(own(new m8Bit(*picture, nullptr)), "Clone to 8 bit requires mapping image", 0, source);
    EXPECT_MERROR(own(new m8Bit(*picture, rle.get())), "Clone requires mapping bitmap to be m8Bit", 0, source);
    EXPECT_MERROR(own(new m8Bit(*picture, bare.get())), "Close to 8 bit requires image with setMapping() called", 0,
                  source);

    mPalette palette = paletteOf({mColor(255, 0, 0), mColor(0, 0, 255)});
    bare->setMapping(&palette, mColor(true));
    Owned<m8Bit> clone(new m8Bit(*picture, bare.get()));
    EXPECT_EQ(Bytes({0, 1, 1, 0, 0, 1, 1, 0}), blockOf(*clone));
    EXPECT_EQ(2, clone->getColors());
    // The table was only lent: the clone has none of its own.
    EXPECT_MERROR(clone->getStdImage(mRect(0, 0, 1, 1), false), "m8Bit::setMapping() not called before getStdImage", 0,
                  source);
    EXPECT_EQ(-1, clone->getConversionTransparentIndex());
}

TEST(EightBitDraw, FillTakesTheNearestIndexWithinTheImage) {
    mPalette palette = paletteOf({mColor(0, 0, 0), mColor(250, 250, 250), mColor(200, 0, 0)});
    Owned<m8Bit> image(new m8Bit(mSize(5, 3), &palette));
    image->fill(mRect(-10, 1, 3, 99), mColor(255, 255, 255));
    // The bottom two rows, padding untouched.
    EXPECT_EQ(Bytes({1, 1, 1, 0, 0, 0, 0, 0, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}), blockOf(*image));
    image->setTransparent(2);
    image->fill(mColor(true));
    EXPECT_EQ(Bytes({2, 2, 2, 2, 2, 0, 0, 0, 2, 2, 2, 2, 2, 0, 0, 0, 2, 2, 2, 2, 2, 0, 0, 0}), blockOf(*image));

    Owned<m8Bit> bare(new m8Bit(mSize(2, 2), nullptr));
    bare->fill(mRect(5, 5, 9, 9), mColor(1, 2, 3));
    EXPECT_MERROR(bare->fill(mColor(1, 2, 3)), "Color of a bitmap without color table", 0, source);
}

TEST(EightBitColors, UsedColorsCountPixelsNotPadding) {
    const std::vector<mColor> colors = rampColors(6);
    mPalette palette = paletteOf(colors);
    Owned<m8Bit> image = make8(3, 3, &palette, [](long x, long y) { return x == 2 && y == 2 ? 4 : x == 0 ? 1 : 2; });
    for (long y = 0; y < 3; ++y)
        row8(*image, y)[3] = 5;
    EXPECT_EQ(6u, usedColors(*image, 0).size());
    EXPECT_EQ((std::vector<unsigned long>{colors[1].getRGB(), colors[2].getRGB(), colors[4].getRGB()}),
              usedColors(*image, 1));
    EXPECT_EQ((std::vector<unsigned long>{colors[1].getRGB(), colors[2].getRGB()}), usedColors(*image, 3));
    EXPECT_TRUE(usedColors(*image, 10).empty());
}

TEST(EightBitColors, ChangePaletteRemapsPixelsAndKeepsTransparentPixelsApart) {
    mPalette oldPalette = paletteOf({mColor(255, 0, 255), mColor(255, 0, 0), mColor(0, 255, 0)});
    Owned<m8Bit> image = make8(3, 1, &oldPalette, [](long x, long) { return x; });
    image->setTransparent(0);
    // Magenta's nearest entry is red, where the red pixels go as well.
    mPalette freshPalette = paletteOf({mColor(0, 255, 0), mColor(250, 0, 0)});
    image->changePalette(freshPalette, false);
    const int t = image->getTransparent();
    EXPECT_EQ(Bytes({(unsigned char)t, 1, 0}), Bytes(row8(*image, 0), row8(*image, 0) + 3));
    EXPECT_TRUE(t != 0 && t != 1);
    EXPECT_EQ(0xFA0000UL, image->getColor(1).getRGB());

    // The first pixel becomes transparent on request; it lands on a free index.
    Owned<m8Bit> plain = make8(3, 1, &oldPalette, [](long x, long) { return x == 2 ? 1 : 0; });
    plain->changePalette(freshPalette, true);
    ASSERT_TRUE(plain->hasTransparency());
    const int u = plain->getTransparent();
    EXPECT_EQ(Bytes({(unsigned char)u, (unsigned char)u, 1}), Bytes(row8(*plain, 0), row8(*plain, 0) + 3));
    EXPECT_NE(1, u);
}

// The index that the mapping gives a colour, read through a copy from a 15-bit pixel.
int mapped(m8Bit &target, int red4, int green4, int blue4) {
    Owned<m15Bit> pixel = make15(1, 1, [&](long, long) { return (red4 << 11) | (green4 << 6) | (blue4 << 1); });
    target.copy(pixel.get(), mRect(0, 0, 1, 1), mPoint(0, 0));
    return px8(target, 0, 0);
}

TEST(EightBitMapping, TheNearestOffsetWinsAndTheLowestIndexOnTheSameOffset) {
    std::vector<mColor> blackAt3And7(8, mColor(255, 255, 255));
    blackAt3And7[3] = blackAt3And7[7] = mColor(0, 0, 0);
    // Red 1 is one step from both entries, and the positive offset comes first, so it goes
    // to entry 1 though entry 0 is the lower index.
    const std::vector<mColor> pair = {mColor(2 << 4, 0, 0), mColor(0, 0, 0)};
    // Beyond the reach of the offsets the nearest entry counts, the first one on a tie.
    const std::vector<mColor> distant = {mColor(0, 0, 0), mColor(0xF0, 0xF0, 0xF0)};
    const struct {
        const std::vector<mColor> &colors;
        int red4, green4, blue4, index;
    } cases[] = {
        {blackAt3And7, 0, 0, 0, 3}, {blackAt3And7, 2, 1, 1, 3}, {blackAt3And7, 15, 15, 15, 0},
        {blackAt3And7, 14, 13, 15, 0}, {pair, 1, 0, 0, 1}, {pair, 3, 0, 0, 0}, {pair, 9, 9, 9, 0},
        {distant, 7, 7, 7, 0}, {distant, 8, 8, 8, 1}, {distant, 3, 3, 3, 0},
    };
    Owned<m8Bit> target(new m8Bit(mSize(1, 1), nullptr));
    for (const auto &c : cases) {
        mPalette palette = paletteOf(c.colors);
        target->setMapping(&palette, mColor(true));
        EXPECT_EQ(c.index, mapped(*target, c.red4, c.green4, c.blue4)) << c.red4 << "," << c.green4 << "," << c.blue4;
    }
}

TEST(EightBitMapping, EveryKeyIsFilledAndTheTransparentColourReservesItsIndex) {
    Owned<m15Bit> everyColour = make15(256, 128, [](long x, long y) { return x + 256 * y; });
    const mColor only(90, 20, 200);
    mPalette one(&only, 1);
    Owned<m8Bit> target = make8(256, 128, nullptr, [](long, long) { return 7; });
    target->setMapping(&one, mColor(true));
    target->copy(everyColour.get(), mRect(0, 0, 256, 128), mPoint(0, 0));
    EXPECT_EQ(Bytes(256 * 128, 0), blockOf(*target));

    mPalette palette = paletteOf(rampColors(256));
    target->setMapping(&palette, mColor(255, 0, 255));
    const int reserved = target->getConversionTransparentIndex();
    ASSERT_GE(reserved, 0);
    EXPECT_EQ(0xFF00FFUL, target->getConversionTransparentColor().getRGB());
    target->copy(everyColour.get(), mRect(0, 0, 256, 128), mPoint(0, 0));
    // Only the words with magenta's top four bits of each channel get the reserved index.
    for (long y = 0; y < 128; ++y) {
        for (long x = 0; x < 256; ++x) {
            const unsigned p = x + 256 * y;
            const bool magenta = (p & 0x7800) == 0x7800 && (p & 0x03C0) == 0 && (p & 0x001E) == 0x001E;
            ASSERT_EQ(magenta, px8(*target, x, y) == reserved) << std::hex << p;
        }
    }
    target->setMapping(nullptr, mColor(255, 0, 255));
    EXPECT_EQ(256, target->getColors());
    EXPECT_MERROR(mapped(*target, 1, 1, 1), "m8Bit::setMapping() not called before copy 15 bit source", 0, source);
}

TEST(EightBitStdImage, ReadMarksTheTransparentValue) {
    mPalette palette = paletteOf({mColor(255, 0, 0), mColor(0, 255, 0), mColor(0, 0, 255)});
    Owned<m8Bit> image = make8(3, 2, &palette, [](long x, long y) { return y == 1 && x == 0 ? 2 : x; });
    EXPECT_MERROR(image->getStdImage(mRect(0, 0, 1, 1), false), "m8Bit::setMapping() not called before getStdImage",
                  0, source);
    image->setMapping(&palette, mColor(true));
    // Without transparency the bottom-left pixel's value (2) is the one marked.
    EXPECT_EQ(Words({0x7C00, 0x03E0, 0x8000, 0x8000, 0x03E0, 0x8000}), stdImage(*image, mRect(0, 0, 3, 2), false));
    EXPECT_EQ(Words({0x03E0, 0x001F}), stdImage(*image, mRect(1, 1, 3, 2), true));
    image->setTransparent(1);
    EXPECT_EQ(Words({0x7C00, 0x8000}), stdImage(*image, mRect(0, 0, 2, 1), false));
    for (const mRect &bad : {mRect(-1, 0, 2, 2), mRect(0, 0, 4, 2), mRect(1, 0, 1, 2), mRect(0, 1, 3, 3)})
        EXPECT_MERROR(image->getStdImage(bad, false), "Requested standard image not contained in source", 0, source);
}

TEST(EightBitStdImage, WriteMapsColoursAndChecksBothRectangles) {
    mPalette palette = paletteOf({mColor(255, 0, 0), mColor(0, 255, 0), mColor(0, 0, 255)});
    Owned<m8Bit> image = make8(4, 3, &palette, [](long, long) { return 1; });
    const unsigned short words[] = {0x7C00, 0x8000, 0x001F, 0x03E0, 0x001F, 0x8000};
    const mSize size(3, 2);
    EXPECT_MERROR(image->writeStdImage(words, size, mRect(0, 0, 3, 2), mPoint(0, 0), true),
                  "m8Bit::setMapping() not called before writeStdImage", 0, source);
    image->setMapping(&palette, mColor(true));
    image->writeStdImage(words, size, mRect(0, 0, 3, 2), mPoint(1, 1), true);
    // Bottom row first: rows 2 and 1 from column 1, the transparent words kept.
    EXPECT_EQ(Bytes({1, 1, 2, 1, 1, 0, 1, 2, 1, 1, 1, 1}), blockOf(*image));
    image->setTransparent(2);
    image->writeStdImage(words, size, mRect(1, 1, 3, 2), mPoint(0, 0), false);
    EXPECT_EQ(2, px8(*image, 0, 0));
    EXPECT_EQ(2, px8(*image, 1, 0));
    EXPECT_MERROR(image->writeStdImage(words, size, mRect(0, 0, 4, 2), mPoint(0, 0), false),
                  "Write of standard image not contained in source", 0, source);
    for (const mPoint &outside : {mPoint(2, 0), mPoint(0, -1)})
        EXPECT_MERROR(image->writeStdImage(words, size, mRect(0, 0, 3, 2), outside, false),
                      "Standard image does not fit in target", 0, source);
}

TEST(EightBitTransparency, SolidityAndTheWaysOfSettingIt) {
    mPalette palette = paletteOf({mColor(0, 0, 0), mColor(255, 255, 255)});
    Owned<m8Bit> image = make8(2, 2, &palette, [](long x, long y) { return y == 1 && x == 0 ? 1 : 0; });
    EXPECT_TRUE(image->isSolid(mPoint(0, 1)));
    image->setTransparent();
    EXPECT_EQ(1, image->getTransparent());
    EXPECT_FALSE(image->isSolid(mPoint(0, 1)));
    EXPECT_TRUE(image->isSolid(mPoint(1, 1)));
    EXPECT_FALSE(image->isSolid(mPoint(5, 1)));
    image->setTransparent(mColor(10, 10, 10));
    EXPECT_EQ(0, image->getTransparent());
    image->setTransparent(mColor(true));
    EXPECT_FALSE(image->hasTransparency());
    EXPECT_TRUE(image->isSolid(mPoint(0, 1)));
}

} // namespace
