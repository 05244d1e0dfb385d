// The framework: counting, clipping, tiling, colour tables, the registry, creation from
// memory, and the flip and scroll of both plain depths.
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
    image->free();
    image->free();
    EXPECT_FALSE(gone);
    image->free();
    EXPECT_TRUE(gone);
}

// A default-constructed prototype has no data and cannot be used.
TEST(BitMapCounting, APrototypeCannotBeUsed) {
    Owned<m8Bit> prototype(new m8Bit());
    EXPECT_MERROR(prototype->use(), "Cannot use bitmap that is not loaded", 0, source);
    EXPECT_EQ(1, head(*prototype).refCount);
}

// Clips a copy of `r` at `p` from a source of `size` into a 100-by-100 target.
void expectClip(const mSize &size, mRect r, mPoint p, const mRect &wantR, const mPoint &wantP) {
    Owned<m8Bit> target(new m8Bit(mSize(100, 100), nullptr));
    target->clip(size, r, p);
    EXPECT_EQ(wantR, r);
    EXPECT_EQ(wantP, p);
}

TEST(BitMapClip, WorkedExamples) {
    expectClip(mSize(20, 20), mRect(0, 0, 20, 20), mPoint(-5, -5), mRect(5, 5, 20, 20), mPoint(0, 0));
    // Negative source rectangle and negative position add up.
    expectClip(mSize(20, 20), mRect(-3, -4, 10, 10), mPoint(-5, 2), mRect(2, 0, 10, 10), mPoint(0, 6));
    // The right and bottom edges of the target and of the source.
    expectClip(mSize(25, 20), mRect(0, 0, 30, 20), mPoint(90, 95), mRect(0, 0, 10, 5), mPoint(90, 95));
}

TEST(BitMapClip, AbsurdValuesComeOutEmptyWithoutWrapping) {
    Owned<m8Bit> target(new m8Bit(mSize(100, 100), nullptr));
    const long extremes[] = {LONG_MIN, LONG_MIN + 1, -100000, -1, 0, 1, 99, 100, 100000, LONG_MAX - 1, LONG_MAX};
    for (long a : extremes) {
        for (long b : extremes) {
            mRect r(a, 0, b, 10);
            mPoint p(b, a);
            target->clip(mSize(50, 50), r, p);
            EXPECT_TRUE(r.isEmpty() || (r.left >= 0 && r.right <= 50 && p.x >= 0 && p.x + r.width() <= 100 &&
                                        p.y >= 0 && p.y + r.height() <= 100))
                << a << ", " << b;
        }
    }
}

// The columns of row 10 where a tile with a marked column 0 landed.
std::vector<long> markedColumns(m8Bit &target) {
    std::vector<long> columns;
    for (long x = 0; x < head(target).width; ++x) {
        if (px8(target, x, 10) == 1)
            columns.push_back(x);
    }
    return columns;
}

TEST(BitMapTile, TilesKeepTheirPlaceInTheGridAndHonourTransparency) {
    Owned<m8Bit> target(new m8Bit(mSize(100, 40), nullptr));
    Owned<m8Bit> tile = make8(30, 40, nullptr, [](long x, long y) { return x == 0 ? 1 : y == 0 ? 2 : 3; });
    target->tile(tile.get(), true);
    // (100 - 30) / 2 = 35, moved left to -25: tiles at -25, 5, 35, 65 and 95.
    EXPECT_EQ((std::vector<long>{5, 35, 65, 95}), markedColumns(*target));
    EXPECT_EQ(3, px8(*target, 4, 10));
    // From the corner, over those: where the tiles are transparent, the centred ones stay.
    tile->setTransparent(3);
    target->tile(tile.get(), false);
    EXPECT_EQ((std::vector<long>{0, 5, 30, 35, 60, 65, 90, 95}), markedColumns(*target));

    // A source larger than the target keeps its negative start; an empty one does nothing.
    Owned<m8Bit> wide = make8(200, 40, nullptr, [](long x, long) { return x; });
    target->tile(wide.get(), true);
    EXPECT_EQ(50, px8(*target, 0, 0));
    EXPECT_EQ(149, px8(*target, 99, 39));
    const Bytes before = blockOf(*target);
    target->tile(own(new m8Bit(mSize(0, 5), nullptr)).get(), true);
    EXPECT_EQ(before, blockOf(*target));
}

TEST(BitMapColors, EntriesAreCheckedAndTheCacheFollowsChanges) {
    mPalette palette = paletteOf(rampColors(4));
    Owned<m8Bit> image(new m8Bit(mSize(2, 2), &palette));
    for (int outside : {4, -1})
        EXPECT_MERROR(image->getColor(outside), "Color index does not exist", 4, source);
    EXPECT_MERROR(image->setColor(mColor(1, 2, 3), 4), "Color index does not exist", 4, source);
    image->getRGB15convert(); // a table that the change below must not leave stale
    image->setColor(mColor(255, 0, 0), 3);
    EXPECT_EQ(0x7C00, image->getRGB15convert()[3]);

    int count = 0;
    std::unique_ptr<mColor[]> copy(image->getColors(count));
    ASSERT_EQ(4, count);
    EXPECT_EQ(0xFF0000UL, copy[3].getRGB());
    EXPECT_EQ(4, std::unique_ptr<mPalette>(image->getPalette())->getColorCount());
}

TEST(BitMapColors, CopyPaletteFromAPaletteCountsBothIndicesAgainstTheLimit) {
    const std::vector<mColor> colors = rampColors(256);
    mPalette palette = paletteOf(colors);
    Owned<m8Bit> image(new m8Bit(mSize(1, 1), nullptr));
    // 5 + 10 + 245 = 260: the count becomes 256 - 10 - 5.
    EXPECT_EQ(241, image->copyPalette(palette, 10, 5, 245));
    ASSERT_EQ(251, image->getColors());
    EXPECT_EQ(colors[5].getRGB(), image->getColor(10).getRGB());
    EXPECT_EQ(colors[245].getRGB(), image->getColor(250).getRGB());
    EXPECT_EQ(0UL, image->getColor(9).getRGB());

    // A count of 0 takes the whole palette; a smaller palette keeps the entries behind it.
    mPalette small = paletteOf({mColor(1, 1, 1), mColor(2, 2, 2)});
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
    mPalette palette = paletteOf(colors);
    Owned<m8Bit> from(new m8Bit(mSize(1, 1), &palette));
    Owned<m8Bit> to(new m8Bit(mSize(1, 1), nullptr));
    Owned<m15Bit> colour(new m15Bit(mSize(1, 1)));
    EXPECT_EQ(0, to->copyPalette(own(new m8Bit(mSize(1, 1), nullptr)).get()));
    EXPECT_EQ(8, to->copyPalette(from.get()));
    EXPECT_EQ(8, to->getColors());
    EXPECT_EQ(colors[7].getRGB(), to->getColor(7).getRGB());
    EXPECT_MERROR(to->copyPalette(colour.get()), "Source does not use palette", 0, source);
    EXPECT_MERROR(colour->copyPalette(from.get()), "Target does not use palette", 0, source);
}

TEST(BitMapCreate, BlankImagesByDepth) {
    Owned<mBitMap> eight = own(mBitMap::create(8, mSize(5, 3), nullptr));
    ASSERT_EQ(mBitMap::bitmap8, eight->getBitmapType());
    EXPECT_EQ(0, eight->getColors());
    EXPECT_EQ(Bytes(24, 0), blockOf(*eight));
    EXPECT_EQ(mBitMap::bitmap8, own(mBitMap::create(4, mSize(1, 1), nullptr))->getBitmapType());
    for (int bits : {15, 16})
        EXPECT_EQ(mBitMap::bitmap15, own(mBitMap::create(bits, mSize(3, 2), nullptr))->getBitmapType());
    EXPECT_EQ(nullptr, mBitMap::create(24, mSize(3, 2), nullptr));
    EXPECT_MERROR(mBitMap::create(8, mSize(-1, 4), nullptr), "Bad bitmap size", -1, source);
    EXPECT_MERROR(mBitMap::create(16, mSize(0x7FFFFFF0, 0x7FFFFFF0), nullptr), "Bitmap too large", 0x7FFFFFF0,
                  source);
}

void expectRefused(const void *block, long length, bool fileHeader) {
    EXPECT_MERROR(mBitMap::create(block, length, fileHeader), "No support for this bitmap format", 0, source);
}

TEST(BitMapCreate, BlocksNoFormatTakesEndInTheLastResort) {
    const Payload eight(1, 1, 8, 40, {7, 0, 0, 0});
    Bytes file = eight.build(true), info = eight.build(false);
    const long size = (long)info.size();
    expectRefused(file.data(), 53, true);
    expectRefused(info.data(), 39, false);
    expectRefused(nullptr, 100, false);
    file[1] = 'N';
    expectRefused(file.data(), size + 14, true);
    info[0] = 12; // the size of another kind of info header
    expectRefused(info.data(), size, false);
    info[0] = 40;
    info[14] = 24;
    expectRefused(info.data(), size, false);
    info[14] = 16; // with 16 bits, planes must be 1
    info[12] = 2;
    expectRefused(info.data(), size, false);
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
    Payload p(1, 1, 24, 1, {1, 2, 3, 0});
    EXPECT_NE(nullptr, dynamic_cast<TitleFormat *>(createFrom(p).get()));
    // An 8-bit payload still goes to the library's format, which comes first.
    p.bitsPerPixel = 8;
    p.planes = 40;
    EXPECT_EQ(nullptr, dynamic_cast<TitleFormat *>(createFrom(p).get()));
    format->withdraw();
    format->withdraw();
    format->free();
    p.bitsPerPixel = 24;
    EXPECT_MERROR(createFrom(p), "No support for this bitmap format", 0, source);
}

int ramp(long x, long y) { return (int)(10 + x + 9 * y); }

TEST(PlainDraw, FlipReversesEachRowAndLeavesThePadding) {
    for (long width : {1L, 2L, 3L, 5L, 6L}) {
        Owned<mBitMap> images[] = {make8(width, 3, nullptr, ramp), make15(width, 3, ramp)};
        for (Owned<mBitMap> &image : images) {
            const long used = width * (head(*image).bits == 8 ? 1 : 2), line = head(*image).lineBytes;
            for (long y = 0; y < 3; ++y)
                std::fill(row8(*image, y) + used, row8(*image, y) + line, 0xEE);
            image->flip();
            for (long y = 0; y < 3; ++y) {
                for (long x = 0; x < width; ++x)
                    EXPECT_EQ(ramp(width - 1 - x, y), pixelAt(*image, x, y));
                EXPECT_EQ(Bytes(line - used, 0xEE), Bytes(row8(*image, y) + used, row8(*image, y) + line));
            }
        }
    }
}

// What a scroll of `area` by (dx, dy) leaves at (x, y) of a 9-by-7 ramp image: the pixel
// from (x - dx, y - dy) if that lies in the area and the image, else `fill`, or the old
// pixel when fill is negative.
int scrolled(mRect area, long x, long y, int dx, int dy, int fill) {
    area &= mRect(0, 0, 9, 7);
    if (!area.hasPoint(mPoint(x, y)))
        return ramp(x, y);
    if (area.hasPoint(mPoint(x - dx, y - dy)))
        return ramp(x - dx, y - dy);
    return fill < 0 ? ramp(x, y) : fill;
}

TEST(PlainDraw, ScrollMovesWithinTheAreaAndFillsTheStrips) {
    mPalette palette = paletteOf({mColor(0, 0, 0), mColor(9, 9, 9), mColor(255, 255, 255)});
    mColor white(255, 255, 255), none(true);
    const int moves[][2] = {{0, 0}, {2, 0}, {-2, 0}, {0, 3}, {0, -3}, {1, 1}, {-3, 2}, {2, -1}, {-1, -4}, {100, -100000}};
    const mRect whole(0, 0, 9, 7), areas[] = {whole, mRect(2, 1, 7, 6), mRect(-4, -4, 5, 20)};
    for (const mRect &area : areas) {
        for (const auto &m : moves) {
            for (mColor *fill : {&white, &none}) {
                Owned<mBitMap> images[] = {make8(9, 7, &palette, ramp), make15(9, 7, ramp)};
                for (Owned<mBitMap> &image : images) {
                    const int value = fill == &none ? -1 : head(*image).bits == 8 ? 2 : 0x7FFF;
                    if (area == whole)
                        image->scroll(m[0], m[1], *fill);
                    else
                        image->scroll(area, m[0], m[1], *fill);
                    for (long y = 0; y < 7; ++y)
                        for (long x = 0; x < 9; ++x)
                            ASSERT_EQ(scrolled(area, x, y, m[0], m[1], value), pixelAt(*image, x, y))
                                << head(*image).bits << " bits, move " << m[0] << "," << m[1] << " at " << x << "," << y;
                }
            }
        }
    }
}

} // namespace
