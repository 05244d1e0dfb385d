// The framework: counting, clipping, tiling, colour tables, the registry and creation from memory.
#include "ExpectError.h"
#include "ImageKit.h"

#include <climits>

namespace {

const char source[] = "mSprite/mBitMap";

// An 8-bit image that reports its end.
class Tracked : public m8Bit {
public:
    Tracked(bool *gone) : m8Bit(mSize(2, 2), nullptr), gone(gone) {}
    ~Tracked() override { *gone = true; }

private:
    bool *gone;
};

TEST(BitMapCounting, UseAndFreeKeepTheImageUntilTheLastUse) {
    bool gone = false;
    mBitMap *image = new Tracked(&gone);
    EXPECT_EQ(image, image->use());
    image->use();
    EXPECT_EQ(3, head(*image).refCount);
    image->free();
    image->free();
    EXPECT_FALSE(gone);
    EXPECT_EQ(1, head(*image).refCount);
    image->free();
    EXPECT_TRUE(gone);
}

TEST(BitMapCounting, AnImageWithoutDataCannotBeUsed) {
    Owned<m8Bit> prototype(new m8Bit());
    EXPECT_EQ(nullptr, prototype->getData());
    EXPECT_MERROR(prototype->use(), "Cannot use bitmap that is not loaded", 0, source);
    EXPECT_EQ(1, head(*prototype).refCount);
}

TEST(BitMapCounting, PrototypesWithoutDataAnswerEverythingSafely) {
    const mColor black;
    mPalette palette(&black, 1);
    mColor white(255, 255, 255);
    Owned<m8Bit> eight(new m8Bit());
    Owned<m8BitRLE> rle(new m8BitRLE());
    Owned<m15Bit> colour(new m15Bit());
    Owned<m8Bit> target(new m8Bit(mSize(4, 4), &palette));
    for (mBitMap *image : std::vector<mBitMap *>{eight.get(), rle.get(), colour.get()}) {
        EXPECT_FALSE(image->isSolid(mPoint(0, 0)) && image->hasTransparency());
        image->flip();
        int count = 0;
        delete[] image->getUsedColors(count, 0);
        target->copy(image, mRect(0, 0, 4, 4), mPoint(0, 0));
    }
    eight->setTransparent();
    eight->changePalette(palette, true);
    eight->fill(mRect(0, 0, 4, 4), white);
    eight->scroll(1, 1, white);
    eight->copy(target.get(), mRect(0, 0, 4, 4), mPoint(0, 0));
    rle->changePalette(palette, true);
    EXPECT_EQ(245, rle->getUnusedIndex());
    colour->setTransparent();
    colour->fill(white);
    colour->copy(target.get(), mRect(0, 0, 4, 4), mPoint(0, 0));
}

TEST(BitMapClip, WorkedExamples) {
    Owned<m8Bit> target(new m8Bit(mSize(100, 100), nullptr));
    mRect r(0, 0, 20, 20);
    mPoint p(-5, -5);
    target->clip(mSize(20, 20), r, p);
    EXPECT_EQ(mRect(5, 5, 20, 20), r);
    EXPECT_EQ(mPoint(0, 0), p);

    // Negative source rectangle and negative position add up.
    r = mRect(-3, -4, 10, 10);
    p = mPoint(-5, 2);
    target->clip(mSize(20, 20), r, p);
    EXPECT_EQ(mRect(2, 0, 10, 10), r);
    EXPECT_EQ(mPoint(0, 6), p);

    // The right and bottom edges of the target and of the source.
    r = mRect(0, 0, 30, 20);
    p = mPoint(90, 95);
    target->clip(mSize(25, 20), r, p);
    EXPECT_EQ(mRect(0, 0, 10, 5), r);
    EXPECT_EQ(mPoint(90, 95), p);
}

TEST(BitMapClip, AbsurdValuesComeOutEmptyWithoutWrapping) {
    Owned<m8Bit> target(new m8Bit(mSize(100, 100), nullptr));
    const long extremes[] = {LONG_MIN, LONG_MIN + 1, -100000, -1, 0, 1, 99, 100, 100000, LONG_MAX - 1, LONG_MAX};
    for (long a : extremes) {
        for (long b : extremes) {
            mRect r(a, 0, b, 10);
            mPoint p(b, a);
            target->clip(mSize(50, 50), r, p);
            if (!r.isEmpty()) {
                EXPECT_GE(r.left, 0);
                EXPECT_LE(r.right, 50);
                EXPECT_GE(p.x, 0);
                EXPECT_LE(p.x + r.width(), 100);
                EXPECT_GE(p.y, 0);
                EXPECT_LE(p.y + r.height(), 100);
            }
        }
    }
}

// A source whose column 0 and row 0 are marked, so each tile shows where it landed.
Owned<m8Bit> markedTile(long width, long height) {
    return make8(width, height, nullptr, [](long x, long y) { return x == 0 ? 1 : y == 0 ? 2 : 3; });
}

std::vector<long> markedColumns(m8Bit &target, long y) {
    std::vector<long> columns;
    for (long x = 0; x < head(target).width; ++x) {
        if (px8(target, x, y) == 1)
            columns.push_back(x);
    }
    return columns;
}

TEST(BitMapTile, CentredTilesKeepTheirPlaceInTheGrid) {
    Owned<m8Bit> target(new m8Bit(mSize(100, 40), nullptr));
    Owned<m8Bit> tile = markedTile(30, 40);
    target->tile(tile.get(), true);
    // (100 - 30) / 2 = 35, moved left to -25: tiles at -25, 5, 35, 65 and 95.
    EXPECT_EQ((std::vector<long>{5, 35, 65, 95}), markedColumns(*target, 10));
    EXPECT_EQ(3, px8(*target, 4, 10));

    target->fill(mRect(0, 0, 100, 40), mColor(true));
    target->tile(tile.get(), false);
    EXPECT_EQ((std::vector<long>{0, 30, 60, 90}), markedColumns(*target, 10));
}

TEST(BitMapTile, ASourceLargerThanTheTargetKeepsItsNegativeStart) {
    Owned<m8Bit> target(new m8Bit(mSize(100, 20), nullptr));
    Owned<m8Bit> wide = make8(200, 20, nullptr, [](long x, long) { return x; });
    target->tile(wide.get(), true);
    EXPECT_EQ(50, px8(*target, 0, 0));
    EXPECT_EQ(149, px8(*target, 99, 19));
}

TEST(BitMapTile, TilesHonourTransparencyAndEmptySourcesDoNothing) {
    Owned<m8Bit> target = make8(10, 10, nullptr, [](long, long) { return 9; });
    Owned<m8Bit> tile = make8(3, 3, nullptr, [](long x, long y) { return x == 1 && y == 1 ? 5 : 0; });
    tile->setTransparent(0);
    target->tile(tile.get(), false);
    EXPECT_EQ(5, px8(*target, 4, 4));
    EXPECT_EQ(9, px8(*target, 3, 3));

    Owned<m8Bit> empty(new m8Bit(mSize(0, 5), nullptr));
    const Bytes before = blockOf(*target);
    target->tile(empty.get(), true);
    EXPECT_EQ(before, blockOf(*target));
}

TEST(BitMapColors, EntriesAreCheckedAndTheCacheFollowsChanges) {
    const std::vector<mColor> colors = rampColors(4);
    mPalette palette(colors.data(), 4);
    Owned<m8Bit> image(new m8Bit(mSize(2, 2), &palette));
    EXPECT_EQ(4, image->getColors());
    EXPECT_MERROR(image->getColor(4), "Color index does not exist", 4, source);
    EXPECT_MERROR(image->getColor(-1), "Color index does not exist", 4, source);
    EXPECT_MERROR(image->setColor(mColor(1, 2, 3), 4), "Color index does not exist", 4, source);

    const unsigned short *table = image->getRGB15convert();
    ASSERT_NE(nullptr, table);
    EXPECT_EQ(colors[3].getRGB15(), table[3]);
    image->setColor(mColor(255, 0, 0), 3);
    EXPECT_EQ(0x7C00, image->getRGB15convert()[3]);

    int count = 0;
    std::unique_ptr<mColor[]> copy(image->getColors(count));
    ASSERT_EQ(4, count);
    EXPECT_EQ(0xFF0000UL, copy[3].getRGB());
    std::unique_ptr<mPalette> back(image->getPalette());
    ASSERT_NE(nullptr, back);
    EXPECT_EQ(4, back->getColorCount());
}

TEST(BitMapColors, CopyPaletteFromAPaletteCountsBothIndicesAgainstTheLimit) {
    const std::vector<mColor> colors = rampColors(256);
    mPalette palette(colors.data(), 256);
    Owned<m8Bit> image(new m8Bit(mSize(1, 1), nullptr));
    // 5 + 10 + 245 = 260: the count becomes 256 - 10 - 5.
    EXPECT_EQ(241, image->copyPalette(palette, 10, 5, 245));
    ASSERT_EQ(251, image->getColors());
    EXPECT_EQ(colors[5].getRGB(), image->getColor(10).getRGB());
    EXPECT_EQ(colors[245].getRGB(), image->getColor(250).getRGB());
    EXPECT_EQ(0UL, image->getColor(9).getRGB());

    // A count of 0 takes the whole palette; a smaller palette keeps the entries behind it.
    const std::vector<mColor> few = {mColor(1, 1, 1), mColor(2, 2, 2)};
    mPalette small(few.data(), 2);
    EXPECT_EQ(2, image->copyPalette(small, 0, 0, 0));
    EXPECT_EQ(251, image->getColors());
    EXPECT_EQ(0x020202UL, image->getColor(1).getRGB());
    EXPECT_EQ(colors[5].getRGB(), image->getColor(10).getRGB());

    EXPECT_MERROR(image->copyPalette(small, -1, 0, 1), "Bad target index", 0, source);
    Owned<m15Bit> colour(new m15Bit(mSize(1, 1)));
    EXPECT_MERROR(colour->copyPalette(small, 0, 0, 0), "Target does not use palette", 0, source);
    EXPECT_EQ(0, image->copyPalette(small, 300, 0, 4));
}

TEST(BitMapColors, CopyPaletteFromAnImage) {
    const std::vector<mColor> colors = rampColors(8);
    mPalette palette(colors.data(), 8);
    Owned<m8Bit> from(new m8Bit(mSize(1, 1), &palette));
    Owned<m8Bit> to(new m8Bit(mSize(1, 1), nullptr));
    Owned<m15Bit> colour(new m15Bit(mSize(1, 1)));
    Owned<m8Bit> bare(new m8Bit(mSize(1, 1), nullptr));

    EXPECT_EQ(0, to->copyPalette(bare.get()));
    EXPECT_EQ(8, to->copyPalette(from.get()));
    EXPECT_EQ(8, to->getColors());
    EXPECT_EQ(colors[7].getRGB(), to->getColor(7).getRGB());
    EXPECT_MERROR(to->copyPalette(colour.get()), "Source does not use palette", 0, source);
    EXPECT_MERROR(colour->copyPalette(from.get()), "Target does not use palette", 0, source);
}

TEST(BitMapCreate, BlankImagesByDepth) {
    Owned<mBitMap> eight = own(mBitMap::create(8, mSize(5, 3), nullptr));
    ASSERT_NE(nullptr, eight);
    EXPECT_EQ(mBitMap::bitmap8, eight->getBitmapType());
    EXPECT_EQ(8L, head(*eight).lineBytes);
    EXPECT_EQ(0, eight->getColors());
    EXPECT_EQ(Bytes(24, 0), blockOf(*eight));

    Owned<mBitMap> four = own(mBitMap::create(4, mSize(1, 1), nullptr));
    EXPECT_EQ(mBitMap::bitmap8, four->getBitmapType());
    for (int bits : {15, 16}) {
        Owned<mBitMap> colour = own(mBitMap::create(bits, mSize(3, 2), nullptr));
        ASSERT_NE(nullptr, colour);
        EXPECT_EQ(mBitMap::bitmap15, colour->getBitmapType());
        EXPECT_EQ(8L, head(*colour).lineBytes);
    }
    EXPECT_EQ(nullptr, mBitMap::create(24, mSize(3, 2), nullptr));
    EXPECT_MERROR(mBitMap::create(8, mSize(-1, 4), nullptr), "Bad bitmap size", -1, source);
    EXPECT_MERROR(mBitMap::create(16, mSize(0x7FFFFFF0, 0x7FFFFFF0), nullptr), "Bitmap too large", 0x7FFFFFF0,
                  source);
}

TEST(BitMapCreate, EachFormatTakesItsOwnPayload) {
    Payload p(2, 1);
    p.colorsUsed = 1;
    addEntry(p.table, mColor(1, 2, 3));
    p.pixels = {0, 0, 0, 0};
    for (bool fileHeader : {false, true}) {
        Owned<mBitMap> image = createFrom(p, fileHeader);
        EXPECT_EQ(mBitMap::bitmap8, image->getBitmapType());
    }
    Payload rle = p;
    rle.compression = 1;
    rle.pixels = {2, 0, 0, 0, 0, 1};
    EXPECT_EQ(mBitMap::bitmapRLE, createFrom(rle, true)->getBitmapType());
    Payload colour(1, 1);
    colour.bitsPerPixel = 16;
    colour.pixels = {0x34, 0x12, 0, 0};
    EXPECT_EQ(mBitMap::bitmap15, createFrom(colour, false)->getBitmapType());
}

TEST(BitMapCreate, BlocksNoFormatTakesEndInTheLastResort) {
    Payload p(1, 1);
    p.bitsPerPixel = 24;
    p.pixels = {1, 2, 3, 0};
    EXPECT_MERROR(createFrom(p, true), "No support for this bitmap format", 0,
                  source);
    // Too short, a wrong tag, a wrong header size, 16 bits with other planes.
    Payload eight(1, 1);
    eight.planes = 40;
    eight.pixels = {7, 0, 0, 0};
    Bytes block = eight.build(true);
    EXPECT_MERROR(mBitMap::create(block.data(), 53, true), "No support for this bitmap format", 0, source);
    EXPECT_MERROR(mBitMap::create(block.data(), 39, false), "No support for this bitmap format", 0, source);
    block[1] = 'N';
    EXPECT_MERROR(mBitMap::create(block.data(), (long)block.size(), true), "No support for this bitmap format", 0,
                  source);
    eight.headerSize = 12;
    EXPECT_MERROR(createFrom(eight, false), "No support for this bitmap format", 0,
                  source);
    Payload sixteen;
    sixteen.planes = 2;
    sixteen.bitsPerPixel = 16;
    EXPECT_MERROR(createFrom(sixteen, false), "No support for this bitmap format", 0,
                  source);
    EXPECT_MERROR(mBitMap::create((const void *)nullptr, 100L, false), "No support for this bitmap format", 0, source);
}

// A title's own format: takes 24-bit payloads, as a 1-by-1 8-bit image.
class TitleFormat : public m8Bit {
public:
    TitleFormat() {}
    explicit TitleFormat(int) : m8Bit(mSize(1, 1), nullptr) {}
    mBitMap *load(const void *data, long length, bool fileHeader) override {
        const unsigned char *info = infoHeader(data, length, fileHeader);
        return info && info[14] == 24 ? new TitleFormat(1) : nullptr;
    }
    void enroll() { registerFormat(); }
    void withdraw() { unregisterFormat(); }
};

TEST(BitMapCreate, ATitlesFormatIsTriedAfterTheLibrarysOwn) {
    TitleFormat *format = new TitleFormat();
    format->enroll();
    Payload p(1, 1);
    p.bitsPerPixel = 24;
    p.pixels = {1, 2, 3, 0};
    Owned<mBitMap> image = createFrom(p, false);
    EXPECT_NE(nullptr, dynamic_cast<TitleFormat *>(image.get()));
    // An 8-bit payload still goes to the library's format, which comes first.
    p.bitsPerPixel = 8;
    p.planes = 40;
    Owned<mBitMap> plain = createFrom(p, false);
    EXPECT_EQ(nullptr, dynamic_cast<TitleFormat *>(plain.get()));
    format->withdraw();
    format->withdraw();
    format->free();
    p.bitsPerPixel = 24;
    EXPECT_MERROR(createFrom(p, false), "No support for this bitmap format", 0,
                  source);
}

} // namespace
