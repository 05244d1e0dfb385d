// 15-bit images: loading, conversions, copies from every depth, drawing in place and the
// standard image.
#include "ExpectError.h"
#include "ImageKit.h"

#include <algorithm>

namespace {

const char source[] = "mSprite/m15Bit";

unsigned short rgb15(int r5, int g5, int b5) { return (unsigned short)((r5 << 10) | (g5 << 5) | b5); }

Bytes words(std::initializer_list<unsigned short> list) {
    Bytes out;
    for (unsigned short w : list)
        out.insert(out.end(), {(unsigned char)w, (unsigned char)(w >> 8)});
    return out;
}

TEST(FifteenBitLoad, PixelsFollowTheHeaderAndRowsPadToFourBytes) {
    EXPECT_EQ(8L, head(*own(new m15Bit(mSize(3, 2)))).lineBytes);
    EXPECT_EQ(4L, head(*own(new m15Bit(mSize(2, 2)))).lineBytes);
    Payload p(3, 2);
    p.bitsPerPixel = 16;
    p.pixels = words({1, 2, 3, 0, /* top row: */ 4, 5, 6, 0});
    Owned<mBitMap> image = createFrom(p, true);
    ASSERT_EQ(mBitMap::bitmap15, image->getBitmapType());
    EXPECT_EQ(15, head(*image).bits);
    EXPECT_TRUE(head(*image).noPalette);
    EXPECT_EQ(4, px15(*image, 0, 0));
    EXPECT_EQ(3, px15(*image, 2, 1));
    EXPECT_FALSE(image->hasTransparency());

    p.pixels.pop_back();
    EXPECT_MERROR(createFrom(p, false), "15 bit image has insufficient data", 0,
                  source);
    p.height = -1;
    EXPECT_MERROR(createFrom(p, false), "15 bit image has insufficient data", 0,
                  source);
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
    EXPECT_FALSE(image->hasTransparency());
    for (long y = 0; y < 2; ++y)
        for (long x = 0; x < 2; ++x)
            EXPECT_TRUE(image->isSolid(mPoint(x, y)));
    mColor c;
    c.setRGB15(0x1234);
    image->setTransparent(c);
    EXPECT_EQ(0x1234, image->getTransparent().getRGB15());
}

TEST(FifteenBitCopy, FifteenBitSourcesMatchTheModel) {
    Owned<m15Bit> picture = make15(21, 13, [](long x, long y) { return rgb15(x, y, (x + y) & 31); });
    checkCopiesInto15(*picture, [&](long x, long y) { return (int)px15(*picture, x, y); }, nullptr, 1);
    picture->setTransparent(mColor(0, 8, 8)); // (0, 1, 1) in five bits
    checkCopiesInto15(*picture, [&](long x, long y) {
        const int v = px15(*picture, x, y);
        return v == rgb15(0, 1, 1) ? -1 : v;
    }, nullptr, 2);
}

TEST(FifteenBitCopy, EightBitSourcesUseTheirColoursOrTheMappingTable) {
    const std::vector<mColor> colors = rampColors(9);
    mPalette palette(colors.data(), 9);
    auto value = [](long x, long y) { return (x * 2 + y) % 9; };
    Owned<m8Bit> coloured = make8(17, 11, &palette, value);
    auto read = [&](long x, long y) { return (int)colors[value(x, y)].getRGB15(); };
    checkCopiesInto15(*coloured, read, nullptr, 3);
    coloured->setTransparent(4);
    auto readSkipping = [&](long x, long y) { return value(x, y) == 4 ? -1 : read(x, y); };
    checkCopiesInto15(*coloured, readSkipping, nullptr, 4);
    Owned<m8Bit> bare = make8(17, 11, nullptr, value);
    checkCopiesInto15(*bare, read, &palette, 5);
}

TEST(FifteenBitCopy, SourcesItCannotTake) {
    Owned<m15Bit> target(new m15Bit(mSize(4, 4)));
    Owned<m8Bit> bare = make8(2, 2, nullptr, [](long, long) { return 1; });
    EXPECT_MERROR(target->copy(bare.get(), mRect(0, 0, 2, 2), mPoint(0, 0)),
                  "Conversion palette required for 8 bit to 15 bit image copy", 0, source);
    target->copy(bare.get(), mRect(0, 0, 2, 2), mPoint(4, 4));
    target->copy(bare.get(), mRect(2, 0, 9, 2), mPoint(0, 0));

    // A source of another depth: the palette test comes first, then the depth.
    class Odd : public mBitMap {
    public:
        Odd() {
            header->bits = 4;
            header->width = 2;
            header->height = 2;
        }
        BitmapType getBitmapType() const override { return bitmapGeneric; }
    };
    Odd *odd = new Odd();
    EXPECT_MERROR(target->copy(odd, mRect(0, 0, 2, 2), mPoint(0, 0)),
                  "Conversion palette required for 8 bit to 15 bit image copy", 0, source);
    const mColor black;
    mPalette palette(&black, 1);
    target->setMapping(&palette, mColor(true));
    EXPECT_MERROR(target->copy(odd, mRect(0, 0, 2, 2), mPoint(0, 0)), "Unsupported copy into 15 bit image", 0, source);
    odd->free();
}

TEST(FifteenBitConvert, FromEveryDepth) {
    const std::vector<mColor> colors = rampColors(4);
    mPalette palette(colors.data(), 4);
    Owned<m8Bit> coloured = make8(3, 2, &palette, [](long x, long y) { return x + y; });
    Owned<m15Bit> fromPlain(new m15Bit(*coloured, nullptr));
    EXPECT_EQ(colors[3].getRGB15(), px15(*fromPlain, 2, 1));
    EXPECT_EQ(nullptr, fromPlain->getMappingPalette());

    // A run-length image needs the palette; its background takes the unused index's colour.
    std::vector<mColor> many = rampColors(256);
    mPalette big(many.data(), 256);
    coloured->setTransparent(0);
    Owned<m8BitRLE> rle(new m8BitRLE(*coloured));
    EXPECT_MERROR(own(new m15Bit(*rle, nullptr)), "Conversion palette required for 8 bit to 15 bit image copy", 0,
                  source);
    Owned<m15Bit> fromRle(new m15Bit(*rle, &big));
    EXPECT_EQ(many[245].getRGB15(), px15(*fromRle, 0, 0));
    EXPECT_EQ(colors[1].getRGB15(), px15(*fromRle, 1, 0));
    EXPECT_FALSE(fromRle->hasTransparency());
    std::unique_ptr<mPalette> mapping(fromRle->getMappingPalette());
    ASSERT_NE(nullptr, mapping);
    EXPECT_EQ(big.getPeer(), mapping->getPeer());

    Owned<m15Bit> again(new m15Bit(*fromPlain, nullptr));
    EXPECT_EQ(blockOf(*fromPlain), blockOf(*again));
}

TEST(FifteenBitDraw, FillsFlipAndScroll) {
    Owned<m15Bit> image(new m15Bit(mSize(3, 2)));
    image->fill(mColor(255, 0, 0));
    EXPECT_EQ(words({0x7C00, 0x7C00, 0x7C00, 0x7C00, 0x7C00, 0x7C00, 0x7C00, 0x7C00}), blockOf(*image));
    mColor clear(true);
    clear.setRGB(0xFFFFFF);
    image->fill(mRect(-1, 1, 2, 5), clear);
    EXPECT_EQ(words({0x7FFF, 0x7FFF, 0x7C00, 0x7C00, 0x7C00, 0x7C00, 0x7C00, 0x7C00}), blockOf(*image));

    for (long width : {1L, 2L, 3L, 5L, 6L}) {
        Owned<m15Bit> rows = make15(width, 3, [](long x, long y) { return 1 + x + 100 * y; });
        rows->flip();
        for (long y = 0; y < 3; ++y)
            for (long x = 0; x < width; ++x)
                EXPECT_EQ(1 + (width - 1 - x) + 100 * y, px15(*rows, x, y));
    }

    mColor blue(0, 0, 255);
    Owned<m15Bit> moving = make15(5, 4, [](long x, long y) { return x + 10 * y; });
    moving->scroll(mRect(1, 0, 5, 4), -1, 2, blue);
    const unsigned short expected[4][5] = {
        {0, 0x1F, 0x1F, 0x1F, 0x1F}, {10, 0x1F, 0x1F, 0x1F, 0x1F}, {20, 2, 3, 4, 0x1F}, {30, 12, 13, 14, 0x1F}};
    for (long y = 0; y < 4; ++y)
        for (long x = 0; x < 5; ++x)
            EXPECT_EQ(expected[y][x], px15(*moving, x, y)) << x << "," << y;
    moving->scroll(0, 0, blue);
    EXPECT_EQ(20, px15(*moving, 0, 2));
}

TEST(FifteenBitStdImage, ReadAndWrite) {
    Owned<m15Bit> image = make15(3, 2, [](long x, long y) { return y == 1 && x == 0 ? 0x0421 : x == 2 ? 0x0421 : x; });
    // Without transparency the bottom-left word is the one marked.
    std::unique_ptr<unsigned short[]> std(image->getStdImage(mRect(0, 0, 3, 2), false));
    const unsigned short marked[] = {0, 1, 0x8000, 0x8000, 1, 0x8000};
    EXPECT_TRUE(std::equal(marked, marked + 6, std.get()));
    std.reset(image->getStdImage(mRect(0, 0, 3, 1), true));
    EXPECT_EQ(0x0421, std[2]);
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
    // image; one with its top bit set gives the transparent value.
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
