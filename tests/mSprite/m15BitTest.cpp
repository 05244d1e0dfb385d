// 15-bit images: loading, conversions, copies from every depth, drawing in place and the
// standard image.
#include "ExpectError.h"
#include "ImageKit.h"

namespace {

const char source[] = "mSprite/m15Bit";

unsigned short rgb15(int r5, int g5, int b5) { return (unsigned short)((r5 << 10) | (g5 << 5) | b5); }

Bytes bytesOf(const Words &words) {
    Bytes out;
    for (unsigned short w : words)
        putBytes(out, w, 2);
    return out;
}

TEST(FifteenBitLoad, PixelsFollowTheHeaderAndRowsPadToFourBytes) {
    Payload p(3, 2, 16, 1, bytesOf({1, 2, 3, 0, /* top row: */ 4, 5, 6, 0}));
    Owned<mBitMap> image = createFrom(p, true);
    ASSERT_EQ(mBitMap::bitmap15, image->getBitmapType());
    EXPECT_TRUE(head(*image).noPalette);
    EXPECT_EQ(p.pixels, blockOf(*image));
    EXPECT_FALSE(image->hasTransparency());
    p.pixels.pop_back();
    EXPECT_MERROR(createFrom(p), "15 bit image has insufficient data", 0, source);
    p.height = -1;
    EXPECT_MERROR(createFrom(p), "15 bit image has insufficient data", 0, source);
}

TEST(FifteenBitTransparency, SettingReadingAndSolidity) {
    Owned<m15Bit> image = make15(2, 2, [](long x, long y) { return x + 2 * y + 0x1230; });
    EXPECT_TRUE(image->getTransparent().isTransparent());
    image->setTransparent();
    EXPECT_EQ(0x1232, image->getTransparent().getRGB15());
    EXPECT_FALSE(image->isSolid(mPoint(0, 1)));
    EXPECT_TRUE(image->isSolid(mPoint(1, 1)));
    EXPECT_FALSE(image->isSolid(mPoint(2, 1)));
    image->setTransparent(mColor(true));
    EXPECT_TRUE(image->isSolid(mPoint(0, 1)));
    mColor c;
    c.setRGB15(0x1234);
    image->setTransparent(c);
    EXPECT_EQ(0x1234, image->getTransparent().getRGB15());
}

TEST(FifteenBitCopy, FifteenBitSourcesMatchTheModel) {
    Owned<m15Bit> picture = make15(21, 13, [](long x, long y) { return rgb15(x, y, (x + y) & 31); });
    checkCopies<unsigned short>(*picture, [&](long x, long y) { return (int)px15(*picture, x, y); }, nullptr, 1);
    picture->setTransparent(mColor(0, 8, 8)); // (0, 1, 1) in five bits
    checkCopies<unsigned short>(*picture, [&](long x, long y) {
        const int v = px15(*picture, x, y);
        return v == rgb15(0, 1, 1) ? -1 : v;
    }, nullptr, 2);
}

TEST(FifteenBitCopy, EightBitSourcesUseTheirColoursOrTheMappingTable) {
    const std::vector<mColor> colors = rampColors(9);
    mPalette palette = paletteOf(colors);
    auto value = [](long x, long y) { return (x * 2 + y) % 9; };
    Owned<m8Bit> coloured = make8(17, 11, &palette, value);
    auto read = [&](long x, long y) { return (int)colors[value(x, y)].getRGB15(); };
    checkCopies<unsigned short>(*coloured, read, nullptr, 3);
    coloured->setTransparent(4);
    checkCopies<unsigned short>(*coloured, [&](long x, long y) { return value(x, y) == 4 ? -1 : read(x, y); }, nullptr, 4);
    Owned<m8Bit> bare = make8(17, 11, nullptr, value);
    checkCopies<unsigned short>(*bare, read, &palette, 5);
    // Without either, a copy that is not clipped away throws.
    Owned<m15Bit> target(new m15Bit(mSize(4, 4)));
    EXPECT_MERROR(target->copy(bare.get(), mRect(0, 0, 2, 2), mPoint(0, 0)),
                  "Conversion palette required for 8 bit to 15 bit image copy", 0, source);
    target->copy(bare.get(), mRect(0, 0, 2, 2), mPoint(4, 4));
    target->copy(bare.get(), mRect(17, 0, 19, 2), mPoint(0, 0));
}

TEST(FifteenBitConvert, FromEveryDepth) {
    const std::vector<mColor> colors = rampColors(4);
    mPalette palette = paletteOf(colors);
    Owned<m8Bit> coloured = make8(3, 2, &palette, [](long x, long y) { return x + y; });
    Owned<m15Bit> fromPlain(new m15Bit(*coloured, nullptr));
    EXPECT_EQ(colors[3].getRGB15(), px15(*fromPlain, 2, 1));
    EXPECT_EQ(nullptr, fromPlain->getMappingPalette());
    Owned<m15Bit> again(new m15Bit(*fromPlain, nullptr));
    EXPECT_EQ(blockOf(*fromPlain), blockOf(*again));

    // A run-length image needs the palette; its background takes the unused index's colour.
    const std::vector<mColor> many = rampColors(256);
    mPalette big = paletteOf(many);
    coloured->setTransparent(0);
    Owned<m8BitRLE> rle(new m8BitRLE(*coloured));
    EXPECT_MERROR(own(new m15Bit(*rle, nullptr)), "Conversion palette required for 8 bit to 15 bit image copy", 0,
                  source);
    Owned<m15Bit> fromRle(new m15Bit(*rle, &big));
    EXPECT_EQ(many[245].getRGB15(), px15(*fromRle, 0, 0));
    EXPECT_EQ(colors[1].getRGB15(), px15(*fromRle, 1, 0));
    EXPECT_FALSE(fromRle->hasTransparency());
    EXPECT_EQ(big.getPeer(), std::unique_ptr<mPalette>(fromRle->getMappingPalette())->getPeer());
}

TEST(FifteenBitDraw, FillsWholeAndClipped) {
    Owned<m15Bit> image(new m15Bit(mSize(3, 2)));
    image->fill(mColor(255, 0, 0));
    EXPECT_EQ(bytesOf(Words(8, 0x7C00)), blockOf(*image));
    mColor clear(true);
    clear.setRGB(0xFFFFFF);
    image->fill(mRect(-1, 1, 2, 5), clear);
    EXPECT_EQ(bytesOf({0x7FFF, 0x7FFF, 0x7C00, 0x7C00, 0x7C00, 0x7C00, 0x7C00, 0x7C00}), blockOf(*image));
}

TEST(FifteenBitStdImage, ReadAndWrite) {
    Owned<m15Bit> image = make15(3, 2, [](long x, long y) { return y == 1 && x == 0 ? 0x0421 : x == 2 ? 0x0421 : x; });
    // Without transparency the bottom-left word is the one marked.
    EXPECT_EQ(Words({0, 1, 0x8000, 0x8000, 1, 0x8000}), stdImage(*image, mRect(0, 0, 3, 2), false));
    EXPECT_EQ(Words({0, 1, 0x0421}), stdImage(*image, mRect(0, 0, 3, 1), true));
    EXPECT_MERROR(image->getStdImage(mRect(0, 0, 3, 3), false), "Requested standard image not contained in source", 0,
                  source);

    const unsigned short picture[] = {0x1111, 0x8000, 0x2222, 0x3333, 0x4444, 0x5555, 0x8000, 0x6666, 0x7777};
    const mSize size(3, 3);
    Owned<m15Bit> target = make15(4, 4, [](long, long) { return 0x0F0F; });
    target->writeStdImage(picture, size, mRect(0, 0, 3, 3), mPoint(1, 1), true);
    EXPECT_EQ(0x1111, px15(*target, 1, 1));
    EXPECT_EQ(0x0F0F, px15(*target, 2, 1));
    EXPECT_EQ(0x0F0F, px15(*target, 1, 3));
    // At other positions, transparent words take this image's transparent value, or its
    // bottom-left word.
    target->writeStdImage(picture, size, mRect(0, 0, 3, 3), mPoint(1, 0), false);
    EXPECT_EQ(0x0F0F, px15(*target, 2, 0));
    target->setTransparent(mColor(0, 0, 255));
    target->writeStdImage(picture, size, mRect(0, 2, 2, 3), mPoint(2, 3), false);
    EXPECT_EQ(0x001F, px15(*target, 2, 3));
    // At the origin, the word that lands on the bottom-left pixel when the area fills the
    // image; one with its top bit set gives the transparent value, or 0.
    target->writeStdImage(picture, size, mRect(1, 0, 2, 2), mPoint(0, 0), false);
    EXPECT_EQ(0x3333, px15(*target, 0, 0));
    target->writeStdImage(picture, size, mRect(1, 0, 3, 3), mPoint(0, 0), false);
    EXPECT_EQ(0x001F, px15(*target, 0, 0));
    target->setTransparent(mColor(true));
    target->writeStdImage(picture, size, mRect(1, 0, 3, 3), mPoint(0, 0), false);
    EXPECT_EQ(0, px15(*target, 0, 0));

    EXPECT_MERROR(target->writeStdImage(picture, size, mRect(0, 0, 3, 4), mPoint(0, 0), false),
                  "Write of standard image not contained in source", 0, source);
    EXPECT_MERROR(target->writeStdImage(picture, size, mRect(0, 0, 3, 3), mPoint(2, 2), false),
                  "Standard image does not fit in target", 0, source);
}

} // namespace
