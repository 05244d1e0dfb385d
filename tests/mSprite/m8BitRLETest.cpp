// Run-length images: the row encoder byte for byte, loading, hit tests, mirroring, colours,
// decoding into both plain depths, and streams that do not keep to the format.
#include "ExpectError.h"
#include "ImageKit.h"

namespace {

const char source[] = "mSprite/m8BitRLE";

const unsigned char A = 1, B = 2, C = 3, D = 4, E = 5, F = 6, T = 0;

// The stream of a one-row image with T transparent.
Bytes encodeRow(const Bytes &pixels) {
    Owned<m8Bit> plain = make8((long)pixels.size(), 1, nullptr, [&](long x, long) { return pixels[x]; });
    plain->setTransparent(T);
    Owned<m8BitRLE> rle(new m8BitRLE(*plain));
    return blockOf(*rle);
}

Bytes cat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes &p : parts)
        out.insert(out.end(), p.begin(), p.end());
    return out;
}

const Bytes noSkip = {0, 2, 0, 0}, rowEnd = {0, 0}, imageEnd = {0, 1};

TEST(RunLengthEncode, RowsComeOutByteForByte) {
    EXPECT_EQ(cat({noSkip, {4, A}, rowEnd, imageEnd}), encodeRow({A, A, A, A}));
    EXPECT_EQ(cat({{0, 2, 3, 0}, rowEnd, imageEnd}), encodeRow({T, T, T}));
    EXPECT_EQ(cat({{0, 2, 255, 0}, {0, 2, 45, 0}, rowEnd, imageEnd}), encodeRow(Bytes(300, T)));
    EXPECT_EQ(cat({noSkip, {0, 4, A, B, C, D}, rowEnd, imageEnd}), encodeRow({A, B, C, D}));
    EXPECT_EQ(cat({noSkip, {0, 3, A, B, C, 0}, rowEnd, imageEnd}), encodeRow({A, B, C}));
    EXPECT_EQ(cat({noSkip, {1, A}, {1, B}, rowEnd, imageEnd}), encodeRow({A, B}));
    EXPECT_EQ(cat({noSkip, {0, 3, A, A, B, 0}, rowEnd, imageEnd}), encodeRow({A, A, B}));
    EXPECT_EQ(cat({noSkip, {0, 5, A, B, C, D, E, 0}, {3, F}, rowEnd, imageEnd}), encodeRow({A, B, C, D, E, F, F, F}));
    EXPECT_EQ(cat({noSkip, {255, A}, {45, A}, rowEnd, imageEnd}), encodeRow(Bytes(300, A)));
    EXPECT_EQ(cat({{0, 2, 1, 0}, {1, A}, {0, 2, 2, 0}, {1, B}, {1, B}, rowEnd, imageEnd}), encodeRow({T, A, T, T, B, B}));
    EXPECT_EQ(cat({noSkip, {0, 3, A, B, C, 0}, {0, 2, 2, 0}, {3, D}, rowEnd, imageEnd}),
              encodeRow({A, B, C, T, T, D, D, D}));
    // Three equal pixels inside the first six stay in the literal.
    EXPECT_EQ(cat({noSkip, {0, 7, A, B, B, B, C, D, E, 0}, rowEnd, imageEnd}), encodeRow({A, B, B, B, C, D, E}));
    // A run of exactly 255 transparent pixels is one skip.
    EXPECT_EQ(cat({{0, 2, 255, 0}, {1, A}, rowEnd, imageEnd}), encodeRow(cat({Bytes(255, T), {A}})));
}

TEST(RunLengthEncode, LongLiteralsSplitAt255) {
    Bytes row;
    for (int i = 0; i < 300; ++i)
        row.push_back((unsigned char)(1 + i % 5));
    Bytes first(row.begin(), row.begin() + 255), second(row.begin() + 255, row.end());
    EXPECT_EQ(cat({noSkip, {0, 255}, first, {0}, {0, 45}, second, {0}, rowEnd, imageEnd}), encodeRow(row));
}

TEST(RunLengthEncode, RowsGoBottomFirstAndTheBottomLeftPixelIsTheDefaultTransparency) {
    // Top row A A A, bottom row A B: without a transparent value, A (bottom-left) becomes it.
    Owned<m8Bit> plain = make8(3, 2, nullptr, [](long x, long y) { return y == 0 ? A : x == 1 ? B : A; });
    Owned<m8BitRLE> rle(new m8BitRLE(*plain));
    EXPECT_EQ(cat({{0, 2, 1, 0}, {1, B}, {0, 2, 1, 0}, rowEnd, {0, 2, 3, 0}, rowEnd, imageEnd}), blockOf(*rle));

    Owned<m8Bit> flat(new m8Bit(mSize(7, 0), nullptr));
    EXPECT_EQ(imageEnd, blockOf(*own(new m8BitRLE(*flat))));
    // A clone of a run-length image takes its stream and colours as they are.
    Owned<m8BitRLE> again(new m8BitRLE(*rle));
    EXPECT_EQ(blockOf(*rle), blockOf(*again));
    Owned<m15Bit> colour(new m15Bit(mSize(2, 2)));
    EXPECT_MERROR(own(new m8BitRLE(*colour)), "Cannot convert source image to RLE", 0, source);
}

TEST(RunLengthLoad, TablesAndStreamStarts) {
    Payload p(2, 1, 8, 1, cat({{2, 1}, rowEnd, imageEnd}));
    p.compression = 1;
    p.colorsUsed = 2;
    for (unsigned long rgb : {0x010203UL, 0x040506UL})
        putBytes(p.table, rgb, 4);
    Owned<mBitMap> image = createFrom(p, true);
    ASSERT_EQ(mBitMap::bitmapRLE, image->getBitmapType());
    EXPECT_EQ(2, image->getColors());
    EXPECT_EQ(0x040506UL, image->getColor(1).getRGB());
    EXPECT_EQ(p.pixels, blockOf(*image));

    for (int planes : {2, 3}) {
        p.planes = planes;
        EXPECT_MERROR(createFrom(p), "256 RLE  color bit map with RGB555 palette info!", 0, source);
    }
    // A count of 0 means 256 entries, more than the block holds.
    p.planes = 1;
    for (long count : {300L, 0L}) {
        p.colorsUsed = count;
        EXPECT_MERROR(createFrom(p), "256 RLE color bit map has bad color table", 0, source);
    }
}

// A random picture with long runs, literals and transparent stretches; T is transparent.
Owned<m8Bit> randomPicture(Lcg &rng, long width, long height) {
    Owned<m8Bit> picture(new m8Bit(mSize(width, height), nullptr));
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width;) {
            const long n = rng.in(1, rng.in(0, 3) == 0 ? 300 : 6);
            const int kind = (int)rng.in(0, 2);
            const unsigned char v = (unsigned char)rng.in(1, 12);
            for (long i = 0; i < n && x < width; ++i, ++x)
                px8(*picture, x, y) = kind == 0 ? T : kind == 1 ? v : (unsigned char)rng.in(0, 12);
        }
    }
    picture->setTransparent(T);
    return picture;
}

TEST(RunLengthDecode, CopiesIntoBothDepthsMatchTheModel) {
    Lcg rng(7);
    const std::vector<mColor> colors = rampColors(13);
    mPalette palette = paletteOf(colors);
    for (int i = 0; i < 10; ++i) {
        Owned<m8Bit> picture = randomPicture(rng, rng.in(1, 40), rng.in(1, 20));
        auto index = [&](long x, long y) { return px8(*picture, x, y) == T ? -1 : (int)px8(*picture, x, y); };
        auto colour = [&](long x, long y) { return index(x, y) < 0 ? -1 : (int)colors[index(x, y)].getRGB15(); };
        Owned<m8BitRLE> rle(new m8BitRLE(*picture));
        checkCopies<unsigned char>(*rle, index, nullptr, 100 + i, 100);
        // Without colours of its own the source goes through the target's mapping table.
        checkCopies<unsigned short>(*rle, colour, &palette, 200 + i, 100);
        picture->copyPalette(palette, 0, 0, 0);
        checkCopies<unsigned short>(*own(new m8BitRLE(*picture)), colour, nullptr, 300 + i, 100);
    }
}

TEST(RunLengthSolid, HitTestsAndMirroringFollowThePixels) {
    Lcg rng(3);
    for (int i = 0; i < 20; ++i) {
        const long w = rng.in(1, 600), h = rng.in(1, 6);
        Owned<m8Bit> picture = randomPicture(rng, w, h);
        Owned<m8BitRLE> rle(new m8BitRLE(*picture));
        for (long y = 0; y < h; ++y)
            for (long x = 0; x < w; ++x)
                ASSERT_EQ(px8(*picture, x, y) != T, rle->isSolid(mPoint(x, y))) << x << "," << y;
        for (const mPoint &outside : {mPoint(-1, 0), mPoint(w, 0), mPoint(0, h), mPoint(0, -1)})
            EXPECT_FALSE(rle->isSolid(outside));
        // Flipped, the stream draws the mirrored picture; flipped back, it is as it was.
        const Bytes original = blockOf(*rle);
        rle->flip();
        picture->flip();
        Owned<m8Bit> drawn = make8(w, h, nullptr, [](long, long) { return 99; });
        drawn->copy(rle.get(), mRect(0, 0, w, h), mPoint(0, 0));
        for (long y = 0; y < h; ++y)
            for (long x = 0; x < w; ++x)
                ASSERT_EQ(px8(*picture, x, y) == T ? 99 : px8(*picture, x, y), px8(*drawn, x, y));
        rle->flip();
        EXPECT_EQ(original, blockOf(*rle));
    }
    // A pixel behind the row's last token is not solid.
    Owned<mBitMap> shortRow = rleFromStream(10, 1, cat({noSkip, {3, A}, rowEnd, imageEnd}));
    EXPECT_TRUE(shortRow->isSolid(mPoint(2, 0)));
    EXPECT_FALSE(shortRow->isSolid(mPoint(3, 0)));
    // The leading skip becomes the uncovered right end, tokens reverse, literals too.
    Owned<mBitMap> row = rleFromStream(9, 1, cat({{0, 2, 2, 0}, {2, A}, {0, 3, B, C, D, 0}, rowEnd, imageEnd}));
    row->flip();
    EXPECT_EQ(cat({{0, 2, 2, 0}, {0, 3, D, C, B, 0}, {2, A}, rowEnd, imageEnd}), blockOf(*row));
}

TEST(RunLengthColors, UnusedIndexAndUsedColours) {
    auto literal = [](int count) {
        Bytes tokens = {0, (unsigned char)count};
        for (int v = 0; v < count + (count & 1); ++v)
            tokens.push_back((unsigned char)(v < count ? v : 0));
        return tokens;
    };
    EXPECT_EQ(245, rleFromStream(4, 1, cat({{0, 2, 4, 0}, rowEnd, imageEnd}))->getUnusedIndex());
    EXPECT_EQ(244, rleFromStream(1, 1, cat({{1, 245}, rowEnd, imageEnd}))->getUnusedIndex());
    // All of 0 to 245 in use: the top ten follow, from the top.
    EXPECT_EQ(255, rleFromStream(246, 1, cat({literal(246), rowEnd, imageEnd}))->getUnusedIndex());
    EXPECT_EQ(254, rleFromStream(247, 1, cat({literal(246), {1, 255}, rowEnd, imageEnd}))->getUnusedIndex());
    EXPECT_EQ(-1, rleFromStream(256, 1, cat({literal(255), {1, 255}, rowEnd, imageEnd}))->getUnusedIndex());

    const std::vector<mColor> colors = rampColors(5);
    mPalette palette = paletteOf(colors);
    Owned<m8Bit> plain = make8(9, 1, &palette, [](long x, long) -> int { return x < 4 ? 2 : x == 4 ? T : x == 5 ? 3 : 4; });
    plain->setTransparent(T);
    Owned<m8BitRLE> rle(new m8BitRLE(*plain));
    EXPECT_EQ((std::vector<unsigned long>{colors[2].getRGB(), colors[3].getRGB(), colors[4].getRGB()}),
              usedColors(*rle, 1));
    EXPECT_EQ((std::vector<unsigned long>{colors[2].getRGB(), colors[4].getRGB()}), usedColors(*rle, 2));
    EXPECT_EQ(5u, usedColors(*rle, 0).size());
}

TEST(RunLengthColors, ChangePaletteRewritesValuesAndKeepsSkips) {
    mPalette oldPalette = paletteOf({mColor(0, 0, 0), mColor(255, 0, 0), mColor(0, 255, 0)});
    Owned<m8Bit> plain = make8(8, 1, &oldPalette, [](long x, long) { return x < 3 ? 1 : x < 5 ? 0 : 2; });
    plain->setTransparent(0);
    Owned<m8BitRLE> rle(new m8BitRLE(*plain));
    mPalette freshPalette = paletteOf({mColor(0, 250, 0), mColor(250, 0, 0)});
    rle->changePalette(freshPalette, true);
    EXPECT_EQ(cat({noSkip, {3, 1}, {0, 2, 2, 0}, {3, 0}, rowEnd, imageEnd}), blockOf(*rle));
    Owned<m8Bit> drawn = make8(8, 1, nullptr, [](long, long) { return 9; });
    drawn->copy(rle.get(), mRect(0, 0, 8, 1), mPoint(0, 0));
    EXPECT_EQ(Bytes({1, 1, 1, 9, 9, 0, 0, 0}), blockOf(*drawn));
    EXPECT_EQ(0x00FA00UL, rle->getColor(0).getRGB());
    EXPECT_EQ(3, rle->getColors());
}

// Every operation that reads a stream, on a stream that ends at an inaccessible page.
void exercise(long width, long height, const Bytes &stream) {
    mPalette palette = paletteOf(rampColors(256));
    Guarded<m8BitRLE> rle(true, *rleFromStream(width, height, stream));
    const long w = width < 50 ? width : 50, h = height < 50 ? height : 50;
    auto copies = [&] {
        for (int atEnd = 0; atEnd < 2; ++atEnd) {
            Guarded<m8Bit> eight(atEnd, mSize(w + 3, h + 2), (const mPalette *)nullptr);
            eight.copy(&rle, mRect(0, 0, width, height), mPoint(1, 1));
            eight.copy(&rle, mRect(2, 1, width - 1, height), mPoint(0, 0));
            eight.copy(&rle, mRect(-5, -5, width + 5, height + 5), mPoint(-1, -2));
            Guarded<m15Bit> fifteen(atEnd, mSize(w + 3, h + 2));
            fifteen.setMapping(&palette, mColor(true));
            fifteen.copy(&rle, mRect(0, 0, width, height), mPoint(0, 0));
            fifteen.copy(&rle, mRect(3, 0, width, height), mPoint(2, 1));
        }
    };
    copies();
    for (long y = -1; y <= h; ++y)
        for (long x = -1; x <= w; ++x)
            rle.isSolid(mPoint(x, y));
    rle.getUnusedIndex();
    usedColors(rle, 1);
    rle.flip();
    rle.changePalette(palette, false);
    rle.flip();
    // Now drawn through rows indexed anew from the guarded stream.
    copies();
    if ((long long)width * height <= 1 << 20) {
        own(new m8Bit(rle, nullptr));
        own(new m15Bit(rle, &palette));
    }
}

TEST(RunLengthHostile, MalformedStreamsStayWithinTargetAndStream) {
    const std::vector<Bytes> streams = {
        {},
        {0},
        {0, 1},
        {0, 0},
        cat({noSkip, {200, A}, rowEnd, imageEnd}),                 // a row longer than the image
        cat({noSkip, {0, 255, A, B}}),                             // a literal past the end
        cat({noSkip, {0, 9, A, B, C, D, E, F, A, B, C}}),          // an odd literal without its pad
        cat({{0, 2, 250, 0}, {0, 2, 250, 7}, {9, A}, rowEnd}),     // skips with dy, no image end
        cat({noSkip, {0, 2, 5}}),                                  // a skip cut short
        cat({noSkip, {4, A}, rowEnd}),                             // too few rows
        cat({{9, A}, {9, B}, {9, C}, {9, D}}),                     // no row ends at all
        cat({noSkip, {0, 4, A, B, C, D}, {0, 2, 255, 0}, {0, 3, A, B, C, 0}, rowEnd, {7}}), // odd length
    };
    for (const Bytes &stream : streams) {
        exercise(6, 3, stream);
        exercise(1, 1, stream);
        exercise(300, 2, stream);
    }
    exercise(0, 0, cat({{5, A}, rowEnd, imageEnd}));
    exercise(5, 70000, cat({{5, A}, rowEnd, imageEnd}));
}

TEST(RunLengthHostile, RandomStreams) {
    Lcg rng(13);
    for (int i = 0; i < 1500; ++i) {
        Bytes stream((size_t)rng.in(0, 80));
        for (unsigned char &b : stream) {
            // Mostly small values, so that token heads and ends turn up often.
            b = (unsigned char)(rng.in(0, 9) < 5 ? rng.in(0, 3) : rng.in(0, 255));
        }
        exercise(rng.in(0, 20), rng.in(0, 6), stream);
    }
}

TEST(RunLengthHostile, ARowLongerThanTheImageDrawsOnlyTheImagesWidth) {
    Owned<mBitMap> rle = rleFromStream(4, 2, cat({noSkip, {200, A}, rowEnd, {3, B}, rowEnd, imageEnd}));
    Owned<m8Bit> target = make8(6, 2, nullptr, [](long, long) { return 9; });
    target->copy(rle.get(), mRect(0, 0, 4, 2), mPoint(1, 0));
    EXPECT_EQ(Bytes({9, A, A, A, A, 9, 0, 0, 9, B, B, B, 9, 9, 0, 0}), blockOf(*target));
    // Too few rows: what is there is drawn, the rest stays.
    Owned<mBitMap> shortImage = rleFromStream(2, 3, cat({{2, C}, rowEnd}));
    Owned<m8Bit> tall = make8(2, 3, nullptr, [](long, long) { return 9; });
    tall->copy(shortImage.get(), mRect(0, 0, 2, 3), mPoint(0, 0));
    EXPECT_EQ(Bytes({C, C, 0, 0, 9, 9, 0, 0, 9, 9, 0, 0}), blockOf(*tall));
}

} // namespace
