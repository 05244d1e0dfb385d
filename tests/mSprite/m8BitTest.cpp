// 8-bit images: loading every palette kind, clones, copies, drawing in place, colours,
// the mapping search and the standard image.
#include "ExpectError.h"
#include "ImageKit.h"

#include <algorithm>

namespace {

const char source[] = "mSprite/m8Bit";

Owned<mBitMap> load(const Payload &p) { return createFrom(p, false); }

m8Bit &as8(mBitMap &image) { return dynamic_cast<m8Bit &>(image); }

TEST(EightBitLoad, FourByteTableStoresPixelsBottomRowFirst) {
    Payload p(3, 2);
    p.colorsUsed = 2;
    addEntry(p.table, mColor(10, 20, 30));
    addEntry(p.table, mColor(40, 50, 60));
    p.pixels = {1, 0, 1, 9, /* top row: */ 0, 1, 1, 9};
    for (bool fileHeader : {false, true}) {
        Owned<mBitMap> image = createFrom(p, fileHeader);
        ASSERT_EQ(mBitMap::bitmap8, image->getBitmapType());
        EXPECT_EQ(mSize(3, 2), image->getSize());
        EXPECT_EQ(2, image->getColors());
        EXPECT_EQ(0x28323CUL, image->getColor(1).getRGB());
        EXPECT_EQ(0, px8(*image, 0, 0));
        EXPECT_EQ(1, px8(*image, 0, 1));
        EXPECT_FALSE(image->hasTransparency());
        // The padding comes along with the rows.
        EXPECT_EQ(p.pixels, blockOf(*image));
    }
}

TEST(EightBitLoad, FifteenBitTablesMakeTheFirstPixelTransparent) {
    for (int planes : {2, 3}) {
        Payload p(2, 1);
        p.planes = planes;
        p.colorsUsed = 3;
        for (unsigned short w : {0x7FFF, 0x0421, 0x7C00})
            p.table.insert(p.table.end(), {(unsigned char)w, (unsigned char)(w >> 8)});
        if (planes == 3)
            p.table.resize(12, 0xEE); // the words fill only the front of a 4-byte-entry table
        p.pixels = {2, 1, 0, 0};
        Owned<mBitMap> image = load(p);
        m8Bit &eight = as8(*image);
        EXPECT_EQ(3, image->getColors());
        EXPECT_EQ(0xFFFFFFUL, image->getColor(0).getRGB());
        EXPECT_EQ(0x080808UL, image->getColor(1).getRGB());
        EXPECT_EQ(2, eight.getTransparent());
        EXPECT_TRUE(eight.hasTransparency());
        EXPECT_EQ(1, px8(*image, 1, 0));
    }
}

TEST(EightBitLoad, OtherPlanesNameWhereThePixelsBegin) {
    Payload p(2, 1);
    p.planes = 44;
    p.table = {0xAA, 0xBB, 0xCC, 0xDD};
    p.pixels = {5, 6, 0, 0};
    Owned<mBitMap> image = load(p);
    EXPECT_EQ(0, image->getColors());
    EXPECT_EQ(5, px8(*image, 0, 0));
    EXPECT_EQ(6, px8(*image, 1, 0));
    EXPECT_FALSE(image->hasTransparency());
}

TEST(EightBitLoad, FourBitPayloadsUnpackHighNibbleFirst) {
    Payload p(5, 2);
    p.bitsPerPixel = 4;
    for (int i = 0; i < 16; ++i)
        addEntry(p.table, mColor(i, i, i));
    // Rows of (5 + 1) / 2 = 3 bytes padded to 4; the sixth nibble lands in the padding.
    p.pixels = {0x12, 0x34, 0x5F, 0x00, /* top row: */ 0xAB, 0xCD, 0xE7, 0x00};
    Owned<mBitMap> image = load(p);
    EXPECT_EQ(16, image->getColors());
    const unsigned char top[] = {0xA, 0xB, 0xC, 0xD, 0xE};
    for (int x = 0; x < 5; ++x)
        EXPECT_EQ(top[x], px8(*image, x, 0));
    EXPECT_EQ(0x7, row8(*image, 0)[5]);
    EXPECT_EQ(0xF, row8(*image, 1)[5]);

    // With planes naming the pixel start, the table's first bytes translate the nibbles.
    Payload mapped = p;
    mapped.planes = 40 + 64;
    mapped.colorsUsed = 16;
    mapped.table.clear();
    for (int i = 0; i < 16; ++i)
        mapped.table.insert(mapped.table.end(), {(unsigned char)(100 + i), 0, 0, 0});
    Owned<mBitMap> translated = load(mapped);
    EXPECT_EQ(0, translated->getColors());
    EXPECT_EQ(110, px8(*translated, 0, 0));
    EXPECT_EQ(101, px8(*translated, 0, 1));
}

TEST(EightBitLoad, BadTablesAndShortDataThrow) {
    Payload p(4, 2);
    p.planes = 40;
    p.colorsUsed = 257;
    p.pixels = Bytes(8, 0);
    EXPECT_MERROR(load(p), "256 color bit map has bad color table", 0, source);
    p.colorsUsed = -1;
    EXPECT_MERROR(load(p), "256 color bit map has bad color table", 0, source);
    p.colorsUsed = 0;
    p.pixels.pop_back();
    EXPECT_MERROR(load(p), "256 color bit has insufficient data", 0, source);
    p.pixels = Bytes(8, 0);
    p.height = -2;
    EXPECT_MERROR(load(p), "256 color bit has insufficient data", 0, source);
    p.height = 0x40000000;
    p.width = 0x40000000;
    EXPECT_MERROR(load(p), "256 color bit has insufficient data", 0, source);
    // A table that does not fit is short data as well.
    p = Payload();
    p.width = 1;
    p.height = 1;
    p.colorsUsed = 200;
    p.pixels = Bytes(4, 0);
    EXPECT_MERROR(load(p), "256 color bit has insufficient data", 0, source);
}

// ---- Copies against a per-pixel model.

TEST(EightBitCopy, OpaqueAndTransparentCopiesMatchTheModel) {
    Owned<m8Bit> picture = make8(23, 17, nullptr, [](long x, long y) { return (x * 3 + y * 5) % 7; });
    checkCopiesInto8(*picture, [&](long x, long y) { return (int)px8(*picture, x, y); }, 1);
    picture->setTransparent(3);
    checkCopiesInto8(*picture, [&](long x, long y) {
        const int v = px8(*picture, x, y);
        return v == 3 ? -1 : v;
    }, 2);
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

TEST(EightBitCopy, SourcesTheTargetCannotTake) {
    Owned<m8Bit> target(new m8Bit(mSize(8, 8), nullptr));
    Payload p(2, 2);
    p.bitsPerPixel = 16;
    p.planes = 1;
    p.pixels = Bytes(8, 0);
    Owned<mBitMap> colour = load(p);
    EXPECT_MERROR(target->copy(colour.get(), mRect(0, 0, 2, 2), mPoint(0, 0)),
                  "m8Bit::setMapping() not called before copy 15 bit source", 0, source);
    // Clipping comes first: nothing left, nothing thrown.
    target->copy(colour.get(), mRect(5, 5, 9, 9), mPoint(0, 0));
    target->copy(colour.get(), mRect(0, 0, 2, 2), mPoint(8, 0));
    target->copy(nullptr, mRect(0, 0, 2, 2), mPoint(0, 0));
}

TEST(EightBitCopy, FifteenBitSourcesGoThroughTheMapping) {
    const std::vector<mColor> colors = {mColor(0, 0, 0), mColor(255, 0, 0), mColor(0, 255, 0), mColor(0, 0, 255)};
    mPalette palette(colors.data(), 4);
    Owned<m8Bit> target(new m8Bit(mSize(4, 1), nullptr));
    target->setMapping(&palette, mColor(true));
    Owned<m15Bit> picture = make15(4, 1, [](long x, long) {
        const unsigned short words[] = {0x7C00, 0x03E0, 0x001F, 0x0421};
        return words[x];
    });
    target->copy(picture.get(), mRect(0, 0, 4, 1), mPoint(0, 0));
    EXPECT_EQ(Bytes({1, 2, 3, 0}), blockOf(*target));
    // A transparent word leaves the target alone.
    picture->setTransparent(mColor(0, 255, 0));
    target->fill(mRect(0, 0, 4, 1), mColor(0, 0, 255));
    target->copy(picture.get(), mRect(0, 0, 4, 1), mPoint(0, 0));
    EXPECT_EQ(Bytes({1, 3, 3, 0}), blockOf(*target));
}

// ---- Clones.

TEST(EightBitClone, PlainAndRunLengthSourcesKeepTheirValues) {
    const std::vector<mColor> colors = rampColors(8);
    mPalette palette(colors.data(), 8);
    Owned<m8Bit> picture = make8(5, 3, &palette, [](long x, long y) { return (x + y) % 4; });
    Owned<m8Bit> copy(new m8Bit(*picture, nullptr));
    EXPECT_EQ(blockOf(*picture), blockOf(*copy));
    EXPECT_EQ(8, copy->getColors());
    EXPECT_FALSE(copy->hasTransparency());

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
    EXPECT_MERROR(own(new m8Bit(*picture, bare.get())), "Close to 8 bit requires image with setMapping() called", 0, source);

    const std::vector<mColor> colors = {mColor(255, 0, 0), mColor(0, 0, 255)};
    mPalette palette(colors.data(), 2);
    bare->setMapping(&palette, mColor(true));
    Owned<m8Bit> clone(new m8Bit(*picture, bare.get()));
    EXPECT_EQ(Bytes({0, 1, 1, 0, 0, 1, 1, 0}), blockOf(*clone));
    EXPECT_EQ(2, clone->getColors());
    // The table was only lent: the clone has none of its own.
    EXPECT_MERROR(clone->getStdImage(mRect(0, 0, 1, 1), false), "m8Bit::setMapping() not called before getStdImage", 0,
                  source);
    EXPECT_EQ(-1, clone->getConversionTransparentIndex());
}

// ---- Drawing in place.

TEST(EightBitDraw, FillTakesTheNearestIndexWithinTheImage) {
    const std::vector<mColor> colors = {mColor(0, 0, 0), mColor(250, 250, 250), mColor(200, 0, 0)};
    mPalette palette(colors.data(), 3);
    Owned<m8Bit> image(new m8Bit(mSize(5, 3), &palette));
    image->fill(mRect(-10, 1, 3, 99), mColor(255, 255, 255));
    EXPECT_EQ(1, px8(*image, 2, 2));
    EXPECT_EQ(1, px8(*image, 0, 1));
    EXPECT_EQ(0, px8(*image, 3, 1));
    EXPECT_EQ(0, px8(*image, 0, 0));
    EXPECT_EQ(0, row8(*image, 1)[5]); // padding untouched
    image->setTransparent(2);
    image->fill(mColor(true));
    EXPECT_EQ(Bytes({2, 2, 2, 2, 2, 0, 0, 0, 2, 2, 2, 2, 2, 0, 0, 0, 2, 2, 2, 2, 2, 0, 0, 0}), blockOf(*image));

    Owned<m8Bit> bare(new m8Bit(mSize(2, 2), nullptr));
    bare->fill(mRect(5, 5, 9, 9), mColor(1, 2, 3));
    EXPECT_MERROR(bare->fill(mColor(1, 2, 3)), "Color of a bitmap without color table", 0, source);
}

TEST(EightBitDraw, FlipReversesEachRowAndLeavesThePadding) {
    for (long width : {1L, 2L, 3L, 5L, 6L}) {
        Owned<m8Bit> image = make8(width, 3, nullptr, [](long x, long y) { return 1 + x + 10 * y; });
        for (long y = 0; y < 3; ++y)
            for (long x = width; x < head(*image).lineBytes; ++x)
                row8(*image, y)[x] = 0xEE;
        image->flip();
        for (long y = 0; y < 3; ++y) {
            for (long x = 0; x < width; ++x)
                EXPECT_EQ(1 + (width - 1 - x) + 10 * y, px8(*image, x, y));
            for (long x = width; x < head(*image).lineBytes; ++x)
                EXPECT_EQ(0xEE, row8(*image, y)[x]);
        }
    }
}

// The scroll model: pixels of the area move by (dx, dy); the vacated strips take `fill`
// (or keep their pixels when fill is negative).
Bytes modelScroll(mBitMap &image, mRect area, int dx, int dy, int fill) {
    const long w = head(image).width, h = head(image).height, line = head(image).lineBytes;
    Bytes before = blockOf(image), after = before;
    area &= mRect(0, 0, w, h);
    auto at = [&](Bytes &b, long x, long y) -> unsigned char & { return b[(h - 1 - y) * line + x]; };
    for (long y = area.top; y < area.bottom; ++y) {
        for (long x = area.left; x < area.right; ++x) {
            const long fx = x - dx, fy = y - dy;
            if (area.hasPoint(mPoint(fx, fy)))
                at(after, x, y) = at(before, fx, fy);
            else if (fill >= 0)
                at(after, x, y) = (unsigned char)fill;
        }
    }
    return after;
}

TEST(EightBitDraw, ScrollMovesWithinTheAreaAndFillsTheStrips) {
    const std::vector<mColor> colors = {mColor(0, 0, 0), mColor(9, 9, 9), mColor(255, 255, 255)};
    mPalette palette(colors.data(), 3);
    mColor white(255, 255, 255), none(true);
    const int moves[][2] = {{0, 0}, {2, 0}, {-2, 0}, {0, 3}, {0, -3}, {1, 1}, {-3, 2}, {2, -1}, {-1, -4}};
    const mRect areas[] = {mRect(0, 0, 9, 7), mRect(2, 1, 7, 6), mRect(-4, -4, 5, 20)};
    for (const mRect &area : areas) {
        for (const auto &m : moves) {
            Owned<m8Bit> image = make8(9, 7, &palette, [](long x, long y) { return 10 + x + 9 * y; });
            Bytes expected = modelScroll(*image, area, m[0], m[1], 2);
            image->scroll(area, m[0], m[1], white);
            EXPECT_EQ(expected, blockOf(*image)) << area.left << " " << m[0] << "," << m[1];

            Owned<m8Bit> kept = make8(9, 7, &palette, [](long x, long y) { return 10 + x + 9 * y; });
            expected = modelScroll(*kept, area, m[0], m[1], -1);
            kept->scroll(area, m[0], m[1], none);
            EXPECT_EQ(expected, blockOf(*kept));
        }
    }
    // The whole image, and moves beyond the area's size fill all of it.
    Owned<m8Bit> image = make8(9, 7, &palette, [](long x, long y) { return 10 + x + 9 * y; });
    Bytes expected = modelScroll(*image, mRect(0, 0, 9, 7), 0, 2, 2);
    image->scroll(0, 2, white);
    EXPECT_EQ(expected, blockOf(*image));
    image->scroll(mRect(1, 1, 4, 4), 100, -100000, white);
    for (long y = 1; y < 4; ++y)
        for (long x = 1; x < 4; ++x)
            EXPECT_EQ(2, px8(*image, x, y));
}

// ---- Colours.

TEST(EightBitColors, UsedColorsCountPixelsNotPadding) {
    const std::vector<mColor> colors = rampColors(6);
    mPalette palette(colors.data(), 6);
    Owned<m8Bit> image = make8(3, 3, &palette, [](long x, long y) { return x == 2 && y == 2 ? 4 : x == 0 ? 1 : 2; });
    for (long y = 0; y < 3; ++y)
        row8(*image, y)[3] = 5; // padding does not count
    int count = 0;
    std::unique_ptr<mColor[]> all(image->getUsedColors(count, 0));
    EXPECT_EQ(6, count);
    std::unique_ptr<mColor[]> used(image->getUsedColors(count, 1));
    ASSERT_EQ(3, count);
    EXPECT_EQ(colors[1].getRGB(), used[0].getRGB());
    EXPECT_EQ(colors[4].getRGB(), used[2].getRGB());
    std::unique_ptr<mColor[]> common(image->getUsedColors(count, 3));
    ASSERT_EQ(2, count);
    EXPECT_EQ(colors[2].getRGB(), common[1].getRGB());
    EXPECT_EQ(nullptr, image->getUsedColors(count, 10));
    EXPECT_EQ(0, count);
}

TEST(EightBitColors, ChangePaletteRemapsPixelsAndKeepsTransparentPixelsApart) {
    const std::vector<mColor> old = {mColor(255, 0, 255), mColor(255, 0, 0), mColor(0, 255, 0)};
    mPalette oldPalette(old.data(), 3);
    Owned<m8Bit> image = make8(3, 1, &oldPalette, [](long x, long) { return x; });
    image->setTransparent(0);
    // Magenta's nearest entry is red, where the red pixels go as well.
    const std::vector<mColor> fresh = {mColor(0, 255, 0), mColor(250, 0, 0)};
    mPalette freshPalette(fresh.data(), 2);
    image->changePalette(freshPalette, false);
    const int t = image->getTransparent();
    EXPECT_EQ(1, px8(*image, 1, 0));
    EXPECT_EQ(0, px8(*image, 2, 0));
    EXPECT_EQ(t, px8(*image, 0, 0));
    EXPECT_NE(1, t);
    EXPECT_NE(0, t);
    EXPECT_EQ(0x00FF00UL, image->getColor(0).getRGB());
    EXPECT_EQ(0xFA0000UL, image->getColor(1).getRGB());

    // The first pixel becomes transparent on request; it lands on a free index.
    Owned<m8Bit> plain = make8(3, 1, &oldPalette, [](long x, long) { return x == 2 ? 1 : 0; });
    plain->changePalette(freshPalette, true);
    ASSERT_TRUE(plain->hasTransparency());
    EXPECT_EQ(plain->getTransparent(), px8(*plain, 0, 0));
    EXPECT_EQ(1, px8(*plain, 2, 0));
    EXPECT_NE(1, plain->getTransparent());
}

// The index that the mapping gives a colour, read through a copy from a 15-bit pixel.
int mapped(m8Bit &target, int red4, int green4, int blue4) {
    Owned<m15Bit> pixel = make15(1, 1, [&](long, long) { return (red4 << 11) | (green4 << 6) | (blue4 << 1); });
    target.copy(pixel.get(), mRect(0, 0, 1, 1), mPoint(0, 0));
    return px8(target, 0, 0);
}

TEST(EightBitMapping, OneEntryTakesEveryKey) {
    const mColor only(90, 20, 200);
    mPalette palette(&only, 1);
    Owned<m8Bit> target(new m8Bit(mSize(256, 128), nullptr));
    target->setMapping(&palette, mColor(true));
    EXPECT_EQ(1, target->getColors());
    // Every 15-bit colour at once.
    Owned<m15Bit> all = make15(256, 128, [](long x, long y) { return x + 256 * y; });
    target->fill(mRect(0, 0, 256, 128), mColor(255, 255, 255));
    for (long y = 0; y < 128; ++y)
        row8(*target, y)[0] = 7;
    target->copy(all.get(), mRect(0, 0, 256, 128), mPoint(0, 0));
    for (long y = 0; y < 128; ++y)
        for (long x = 0; x < 256; ++x)
            ASSERT_EQ(0, px8(*target, x, y));
}

TEST(EightBitMapping, TheNearestOffsetWinsAndTheLowestIndexOnTheSameOffset) {
    std::vector<mColor> colors(8, mColor(255, 255, 255));
    colors[3] = mColor(0, 0, 0);
    colors[7] = mColor(0, 0, 0);
    mPalette palette(colors.data(), 8);
    Owned<m8Bit> target(new m8Bit(mSize(1, 1), nullptr));
    target->setMapping(&palette, mColor(true));
    EXPECT_EQ(3, mapped(*target, 0, 0, 0));
    EXPECT_EQ(3, mapped(*target, 2, 1, 1));
    EXPECT_EQ(0, mapped(*target, 15, 15, 15));
    EXPECT_EQ(0, mapped(*target, 14, 13, 15));

    // Entry 0 at red 2 and entry 1 at red 0: red 1 is one step from both, and the positive
    // offset comes first, so it goes to entry 1 though entry 0 is the lower index.
    const std::vector<mColor> pair = {mColor(2 << 4, 0, 0), mColor(0, 0, 0)};
    mPalette pairPalette(pair.data(), 2);
    target->setMapping(&pairPalette, mColor(true));
    EXPECT_EQ(1, mapped(*target, 1, 0, 0));
    EXPECT_EQ(0, mapped(*target, 3, 0, 0));
    // Beyond the reach of the offsets the nearest entry counts, the first one on a tie.
    EXPECT_EQ(0, mapped(*target, 9, 9, 9));
    const std::vector<mColor> distant = {mColor(0, 0, 0), mColor(0xF0, 0xF0, 0xF0)};
    mPalette farPalette(distant.data(), 2);
    target->setMapping(&farPalette, mColor(true));
    EXPECT_EQ(0, mapped(*target, 7, 7, 7));
    EXPECT_EQ(1, mapped(*target, 8, 8, 8));
    EXPECT_EQ(0, mapped(*target, 3, 3, 3));
}

TEST(EightBitMapping, TheTransparentColourReservesItsIndex) {
    const std::vector<mColor> colors = rampColors(256);
    mPalette palette(colors.data(), 256);
    Owned<m8Bit> target(new m8Bit(mSize(256, 128), nullptr));
    const mColor key(255, 0, 255);
    target->setMapping(&palette, key);
    const int reserved = target->getConversionTransparentIndex();
    ASSERT_GE(reserved, 0);
    EXPECT_EQ(0xFF00FFUL, target->getConversionTransparentColor().getRGB());
    Owned<m15Bit> all = make15(256, 128, [](long x, long y) { return x + 256 * y; });
    target->copy(all.get(), mRect(0, 0, 256, 128), mPoint(0, 0));
    const unsigned keyOfMagenta = (15 << 8) | (0 << 4) | 15;
    for (long y = 0; y < 128; ++y) {
        for (long x = 0; x < 256; ++x) {
            const unsigned p = x + 256 * y;
            const unsigned k = ((p & 0x7800) >> 3) + ((p & 0x03C0) >> 2) + ((p & 0x001E) >> 1);
            ASSERT_EQ(k == keyOfMagenta, px8(*target, x, y) == reserved) << std::hex << p;
        }
    }
    target->setMapping(nullptr, key);
    EXPECT_EQ(256, target->getColors());
    EXPECT_MERROR(mapped(*target, 1, 1, 1), "m8Bit::setMapping() not called before copy 15 bit source", 0, source);
}

// ---- The standard image.

TEST(EightBitStdImage, ReadMarksTheTransparentValue) {
    const std::vector<mColor> colors = {mColor(255, 0, 0), mColor(0, 255, 0), mColor(0, 0, 255)};
    mPalette palette(colors.data(), 3);
    Owned<m8Bit> image = make8(3, 2, &palette, [](long x, long y) { return y == 1 && x == 0 ? 2 : x; });
    EXPECT_MERROR(image->getStdImage(mRect(0, 0, 1, 1), false), "m8Bit::setMapping() not called before getStdImage",
                  0, source);
    image->setMapping(&palette, mColor(true));
    // Without transparency the bottom-left pixel's value (2) is the one marked.
    std::unique_ptr<unsigned short[]> std(image->getStdImage(mRect(0, 0, 3, 2), false));
    const unsigned short expected[] = {0x7C00, 0x03E0, 0x8000, 0x8000, 0x03E0, 0x8000};
    EXPECT_TRUE(std::equal(expected, expected + 6, std.get()));
    std.reset(image->getStdImage(mRect(1, 1, 3, 2), true));
    EXPECT_EQ(0x03E0, std[0]);
    EXPECT_EQ(0x001F, std[1]);
    image->setTransparent(1);
    std.reset(image->getStdImage(mRect(0, 0, 2, 1), false));
    EXPECT_EQ(0x7C00, std[0]);
    EXPECT_EQ(0x8000, std[1]);
    for (const mRect &bad : {mRect(-1, 0, 2, 2), mRect(0, 0, 4, 2), mRect(1, 0, 1, 2), mRect(0, 1, 3, 3)})
        EXPECT_MERROR(image->getStdImage(bad, false), "Requested standard image not contained in source", 0, source);
}

TEST(EightBitStdImage, WriteMapsColoursAndChecksBothRectangles) {
    const std::vector<mColor> colors = {mColor(255, 0, 0), mColor(0, 255, 0), mColor(0, 0, 255)};
    mPalette palette(colors.data(), 3);
    Owned<m8Bit> image = make8(4, 3, &palette, [](long, long) { return 1; });
    const unsigned short words[] = {0x7C00, 0x8000, 0x001F, 0x03E0, 0x001F, 0x8000};
    const mSize size(3, 2);
    EXPECT_MERROR(image->writeStdImage(words, size, mRect(0, 0, 3, 2), mPoint(0, 0), true),
                  "m8Bit::setMapping() not called before writeStdImage", 0, source);
    image->setMapping(&palette, mColor(true));
    image->writeStdImage(words, size, mRect(0, 0, 3, 2), mPoint(1, 1), true);
    EXPECT_EQ(0, px8(*image, 1, 1));
    EXPECT_EQ(1, px8(*image, 2, 1));
    EXPECT_EQ(2, px8(*image, 3, 1));
    EXPECT_EQ(1, px8(*image, 1, 2));
    EXPECT_EQ(1, px8(*image, 0, 1));
    image->setTransparent(2);
    image->writeStdImage(words, size, mRect(1, 1, 3, 2), mPoint(0, 0), false);
    EXPECT_EQ(2, px8(*image, 0, 0));
    EXPECT_EQ(2, px8(*image, 1, 0));
    EXPECT_MERROR(image->writeStdImage(words, size, mRect(0, 0, 4, 2), mPoint(0, 0), false),
                  "Write of standard image not contained in source", 0, source);
    EXPECT_MERROR(image->writeStdImage(words, size, mRect(0, 0, 3, 2), mPoint(2, 0), false),
                  "Standard image does not fit in target", 0, source);
    EXPECT_MERROR(image->writeStdImage(words, size, mRect(0, 0, 3, 2), mPoint(0, -1), false),
                  "Standard image does not fit in target", 0, source);
}

TEST(EightBitTransparency, SolidityAndTheWaysOfSettingIt) {
    const std::vector<mColor> colors = {mColor(0, 0, 0), mColor(255, 255, 255)};
    mPalette palette(colors.data(), 2);
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
