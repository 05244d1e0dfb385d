// Transforms: the matrices and their constants, and transformed copies and hit tests checked
// pixel for pixel on small images.
#include "ExpectError.h"
#include "SurfaceKit.h"

#include <cmath>
#include <string>

namespace {

const double truncatedDegree = 0.017453292519444445;

// ---- The map itself.

TEST(Transform, TheDefaultIsTheIdentity) {
    const mTransform t;
    EXPECT_EQ(0.0f, t.getRotation());
    EXPECT_EQ(0.0f, t.getShear());
    EXPECT_EQ(1.0f, t.getScaleX());
    EXPECT_EQ(1.0f, t.getScaleY());
    for (float x : {-7.5f, 0.0f, 3.25f, 1000.0f}) {
        const mFPoint p = t.transform(mFPoint(x, -x / 2)), q = t.inverse(mFPoint(x, -x / 2));
        EXPECT_EQ(x, p.x);
        EXPECT_EQ(-x / 2, p.y);
        EXPECT_EQ(x, q.x);
        EXPECT_EQ(-x / 2, q.y);
    }
}

TEST(Transform, AnglesAreKeptInRange) {
    mTransform t;
    t.setRotation(-90);
    EXPECT_EQ(270.0f, t.getRotation());
    t.setRotation(720);
    EXPECT_EQ(0.0f, t.getRotation());
    t.setRotation(370);
    EXPECT_EQ(10.0f, t.getRotation());
    t.setRotation(360);
    EXPECT_EQ(0.0f, t.getRotation());
    t.setShear(-90);
    EXPECT_EQ(-70.0f, t.getShear());
    t.setShear(80);
    EXPECT_EQ(70.0f, t.getShear());
    t.setShear(-12.5f);
    EXPECT_EQ(-12.5f, t.getShear());

    // Absurd angles end in range instead of counting turns for ever.
    for (float absurd : {1e30f, -3e20f, INFINITY, NAN}) {
        t.setRotation(absurd);
        EXPECT_GE(t.getRotation(), 0.0f);
        EXPECT_LT(t.getRotation(), 360.0f);
    }
    t.setShear(NAN);
    EXPECT_GE(t.getShear(), -70.0f);
    EXPECT_LE(t.getShear(), 70.0f);
    EXPECT_EQ(10.0f, mTransform(-350, 0, 1, 1).getRotation());
}

TEST(Transform, InverseUndoesTheMap) {
    for (float rotation : {0.0f, 17.0f, 90.0f, 123.4f, 270.0f, 359.0f}) {
        for (float shear : {-70.0f, -30.0f, 0.0f, 45.0f, 70.0f}) {
            for (float scale : {0.5f, 1.0f, 3.0f, -2.0f}) {
                const mTransform t(rotation, shear, scale, 1.5f);
                for (const mFPoint &p : {mFPoint(10, -4), mFPoint(-33.5f, 12), mFPoint(0.25f, 0.75f)}) {
                    const mFPoint back = t.inverse(t.transform(p));
                    EXPECT_NEAR(p.x, back.x, 1e-3) << rotation << " " << shear << " " << scale;
                    EXPECT_NEAR(p.y, back.y, 1e-3) << rotation << " " << shear << " " << scale;
                }
            }
        }
    }
}

// Rotation first, then the shear, then the scales: checked against the three maps applied
// one after the other.
TEST(Transform, ScalingIsOutermostAndShearSitsBetween) {
    const double r = 30 * truncatedDegree, tangent = std::tan(20 * truncatedDegree);
    const mTransform t(30, 20, 2, 3);
    const mFPoint p(5, -2);
    const double rx = std::cos(r) * p.x - std::sin(r) * p.y, ry = std::sin(r) * p.x + std::cos(r) * p.y;
    const double hx = rx, hy = ry + tangent * rx;
    const mFPoint q = t.transform(p);
    EXPECT_NEAR(2 * hx, q.x, 1e-4);
    EXPECT_NEAR(3 * hy, q.y, 1e-4);
}

TEST(Transform, DegreesUseTheTruncatedPi) {
    // cos of 90 degrees by 3.1415926535 / 180 is 4.49e-11; by the full value it would be 6e-17.
    const mTransform quarter(90, 0, 1, 1);
    const mFPoint p = quarter.transform(mFPoint(1, 0));
    EXPECT_NEAR(4.4897e-11, p.x, 1e-14);
    EXPECT_FLOAT_EQ(1.0f, p.y);
    // The x axis turns toward +y, which is downward on the screen.
    const mFPoint down = quarter.transform(mFPoint(0, 1));
    EXPECT_FLOAT_EQ(-1.0f, down.x);

    mTransform slanted;
    slanted.setShear(45);
    EXPECT_NEAR(10.0f, slanted.getShearDelta(10), 1e-5);
    EXPECT_FLOAT_EQ((float)(10 * std::tan(45 * truncatedDegree)), slanted.getShearDelta(10));
    EXPECT_EQ(0.0f, mTransform().getShearDelta(10));
}

TEST(Transform, RoundingAndBoxes) {
    EXPECT_EQ(3, mTransform::round(2.5f));
    EXPECT_EQ(-3, mTransform::round(-2.5f));
    EXPECT_EQ(0, mTransform::round(0.49f));
    EXPECT_EQ(0, mTransform::round(0.49999997f));
    EXPECT_EQ(-1, mTransform::round(-0.5f));
    EXPECT_EQ(2, mTransform::round(1.9f));

    EXPECT_EQ(mSize(50, 100), mTransform(90, 0, 1, 1).newSize(mSize(100, 50)));
    EXPECT_EQ(mSize(100, 50), mTransform(180, 0, 1, 1).newSize(mSize(100, 50)));
    EXPECT_EQ(mSize(200, 25), mTransform(0, 0, 2, 0.5f).newSize(mSize(100, 50)));
    EXPECT_EQ(mSize(71, 71), mTransform(45, 0, 1, 1).newSize(mSize(50, 50)));

    const mFRect box = mTransform(90, 0, 1, 1).bounds(mRect(0, 0, 4, 3));
    EXPECT_NEAR(-3.0f, box.left, 1e-6);
    EXPECT_NEAR(0.0f, box.top, 1e-6);
    EXPECT_NEAR(0.0f, box.right, 1e-6);
    EXPECT_NEAR(4.0f, box.bottom, 1e-6);

    // Widened by half a pixel, then cut toward zero: a smallest x of 0.2 gives 0, not -1.
    const mTransform narrow(0, 0, 0.1f, 1);
    EXPECT_EQ(mRect(0, 0, 1, 10), narrow.intBounds(mRect(2, 0, 12, 10)));
    EXPECT_EQ(mRect(-3, 0, 0, 4), mTransform(90, 0, 1, 1).intBounds(mRect(0, 0, 4, 3)));
}

// ---- Transformed copies.

// A target the size of the transformed box, with the source drawn so that the box's corner
// lies at the target's origin, as a sprite places it.
struct Placed {
    mTransform t;
    mFPoint origin;
    mSize size;
    Placed(const mTransform &t, const mSize &source) : t(t) {
        const mFRect box = t.bounds(mRect(0, 0, source.cx, source.cy));
        origin = mFPoint(-box.left, -box.top);
        size = t.newSize(source);
    }
};

// A source of distinct values 1 and up, with 0 left for the background that it skips.
Owned<m8Bit> numbered(long w, long h) {
    Owned<m8Bit> source = make8(w, h, nullptr, [w](long x, long y) { return 1 + x + y * w; });
    source->setTransparent(0);
    return source;
}

Owned<m8Bit> drawn(const mBitMap &source, const mTransform &t, int background = 0) {
    const Placed p(t, source.getSize());
    Owned<m8Bit> target(new m8Bit(p.size, nullptr));
    std::memset(const_cast<void *>(target->getData()), background, head(*target).dataSize);
    target->copy(&source, mRect(0, 0, p.size.cx, p.size.cy), mRect(0, 0, source.getSize().cx, source.getSize().cy),
                 mPoint(0, 0), p.origin, t);
    return target;
}

TEST(TransformCopy, QuarterTurnsMovePixelsExactly) {
    const long w = 5, h = 3;
    Owned<m8Bit> source = numbered(w, h);
    const struct {
        float degrees;
        long tw, th;
        // The source pixel that lands on target pixel (x, y).
        long (*sx)(long x, long y);
        long (*sy)(long x, long y);
    } turns[] = {
        {0, w, h, [](long x, long) { return x; }, [](long, long y) { return y; }},
        {90, h, w, [](long, long y) { return y; }, [](long x, long) { return h - 1 - x; }},
        {180, w, h, [](long x, long) { return w - 1 - x; }, [](long, long y) { return h - 1 - y; }},
        {270, h, w, [](long, long y) { return w - 1 - y; }, [](long x, long) { return x; }},
    };
    for (const auto &turn : turns) {
        Owned<m8Bit> target = drawn(*source, mTransform(turn.degrees, 0, 1, 1));
        ASSERT_EQ(mSize(turn.tw, turn.th), target->getSize()) << turn.degrees;
        std::string expected;
        for (long y = 0; y < turn.th; ++y) {
            for (long x = 0; x < turn.tw; ++x)
                expected += (char)('0' + px8(*source, turn.sx(x, y), turn.sy(x, y)));
            expected += '\n';
        }
        EXPECT_EQ(expected, picture(*target, 0)) << turn.degrees << " degrees";
    }
}

TEST(TransformCopy, ScaleByTwoDoublesEachPixel) {
    Owned<m8Bit> source = numbered(3, 2);
    Owned<m8Bit> target = drawn(*source, mTransform(0, 0, 2, 2));
    EXPECT_EQ("112233\n"
              "112233\n"
              "445566\n"
              "445566\n",
              picture(*target, 0));
    Owned<m8Bit> wide = drawn(*source, mTransform(0, 0, 2, 1));
    EXPECT_EQ("112233\n"
              "445566\n",
              picture(*wide, 0));
}

TEST(TransformCopy, ShearMovesEachColumnDown) {
    Owned<m8Bit> source = numbered(3, 3);
    Owned<m8Bit> target = drawn(*source, mTransform(0, 45, 1, 1));
    EXPECT_EQ("1..\n"
              "42.\n"
              "753\n"
              ".86\n"
              "..9\n"
              "...\n",
              picture(*target, 0));
}

TEST(TransformCopy, TheIdentityStepsAThousandthLong) {
    const mTransformWalk walk(mRect(0, 0, 100, 100), mRect(0, 0, 100, 100), mSize(100, 100), mPoint(0, 0),
                              mFPoint(0, 0), mTransform());
    EXPECT_EQ(65601, walk.colStepX);
    EXPECT_EQ(65601, walk.rowStepY);
    EXPECT_EQ(0, walk.rowStepX);
    EXPECT_EQ(0, walk.colStepY);
    EXPECT_EQ(0, walk.col);
    EXPECT_EQ(0, walk.row);

    // A falling walk starts just below the boundary.
    const mTransformWalk turned(mRect(0, 0, 3, 4), mRect(0, 0, 4, 3), mSize(4, 3), mPoint(0, 0), mFPoint(3, 0),
                                mTransform(90, 0, 1, 1));
    EXPECT_EQ(-65601, turned.colStepY);
    EXPECT_EQ(65601, turned.rowStepX);
    EXPECT_EQ(4 * 65536 - 1, turned.col);

    // Column x of the identity reads column trunc(x * 65601 / 65536): the same as a plain
    // copy below a thousand pixels, with the last column reached from inside.
    Owned<m8Bit> source = make8(100, 100, nullptr, [](long x, long y) { return (x * 7 + y * 3) % 250 + 1; });
    source->setTransparent(5);
    Owned<m8Bit> viaWalk(new m8Bit(mSize(100, 100), nullptr)), plain(new m8Bit(mSize(100, 100), nullptr));
    viaWalk->copy(source.get(), mRect(0, 0, 100, 100), mRect(0, 0, 100, 100), mPoint(0, 0), mFPoint(0, 0),
                  mTransform());
    plain->copy(source.get(), mRect(0, 0, 100, 100), mPoint(0, 0));
    EXPECT_EQ(blockOf(*plain), blockOf(*viaWalk));
}

TEST(TransformCopy, AWideSourceLosesItsLastColumnsUnderTheIdentity) {
    const long w = 1100;
    Owned<m8Bit> source = make8(w, 1, nullptr, [](long x, long) { return x % 200 + 1; });
    source->setTransparent(0);
    Owned<m8Bit> target(new m8Bit(mSize(w, 1), nullptr));
    target->copy(source.get(), mRect(0, 0, w, 1), mRect(0, 0, w, 1), mPoint(0, 0), mFPoint(0, 0), mTransform());
    for (long x = 0; x < w - 1; ++x)
        ASSERT_EQ(px8(*source, x * 65601 / 65536, 0), px8(*target, x, 0)) << x;
    EXPECT_EQ(0, px8(*target, w - 1, 0)) << "the walker has left the source";
}

// Checked against the inverse map taken at each pixel's centre: well inside the image a
// pixel shows the quarter of the source that its centre comes from, well outside it keeps
// the target's own value.
TEST(TransformCopy, TurnedImagesKeepTheirQuartersAndTheirOutline) {
    const long w = 30, h = 18;
    auto quarter = [](float x, float y) { return (x < w / 2 ? 5 : 6) + (y < h / 2 ? 0 : 2); };
    Owned<m8Bit> source = make8(w, h, nullptr, [&](long x, long y) { return quarter(x + 0.5f, y + 0.5f); });
    source->setTransparent(200);
    for (float degrees : {30.0f, 135.0f, 200.0f, 315.0f}) {
        for (float shear : {0.0f, 25.0f}) {
            const mTransform t(degrees, shear, 1.5f, 1);
            Owned<m8Bit> target = drawn(*source, t, 9);
            const Placed p(t, source->getSize());
            int inside = 0;
            const mSize size = target->getSize();
            for (long y = 0; y < size.cy; ++y) {
                for (long x = 0; x < size.cx; ++x) {
                    const mFPoint q = t.inverse(mFPoint(x + 0.5f - p.origin.x, y + 0.5f - p.origin.y));
                    const auto away = [](float v, float edge) { return std::fabs(v - edge) > 1.5f; };
                    const bool deepIn = q.x > 1.5f && q.x < w - 1.5f && q.y > 1.5f && q.y < h - 1.5f &&
                                        away(q.x, w / 2) && away(q.y, h / 2);
                    const bool farOut = q.x < -1.5f || q.x > w + 1.5f || q.y < -1.5f || q.y > h + 1.5f;
                    const int v = px8(*target, x, y);
                    if (deepIn) {
                        ASSERT_EQ(quarter(q.x, q.y), v) << degrees << " " << shear << " at " << x << "," << y;
                    }
                    if (farOut) {
                        ASSERT_EQ(9, v) << degrees << " " << shear << " at " << x << "," << y;
                    }
                    inside += v != 9;
                }
            }
            EXPECT_NEAR(w * h * 1.5, inside, w * h * 1.5 * 0.15) << degrees << " " << shear;
        }
    }
}

TEST(TransformCopy, AreaAndClipBoundTheCopy) {
    Owned<m8Bit> source = numbered(4, 4);
    const mTransform turn(90, 0, 1, 1);
    const Placed p(turn, source->getSize());
    Owned<m8Bit> target(new m8Bit(mSize(6, 6), nullptr));
    // Only the area is repainted, at the box's place in the target.
    target->copy(source.get(), mRect(2, 1, 4, 3), mRect(0, 0, 4, 4), mPoint(1, 1), p.origin, turn);
    EXPECT_EQ("......\n"
              "..95..\n"
              "..:6..\n"
              "......\n"
              "......\n"
              "......\n",
              picture(*target, 0));

    // The clip's left edge and its bottom land on the box's left edge and top: rows count
    // from the bottom of the image, so that clip (1, 0, 3, 2) reads columns 1 and 2 of the
    // bottom two rows, and shows them upside up at the top of the box.
    Owned<m8Bit> clipped(new m8Bit(mSize(4, 4), nullptr));
    clipped->copy(source.get(), mRect(0, 0, 4, 4), mRect(1, 0, 3, 2), mPoint(0, 0), mFPoint(0, 0), mTransform());
    EXPECT_EQ(":;..\n"
              ">?..\n"
              "....\n"
              "....\n",
              picture(*clipped, 0));

    // An area outside the target ends the copy, even for a source it cannot take.
    Owned<m8BitRLE> runs(new m8BitRLE(*source));
    target->copy(runs.get(), mRect(6, 0, 9, 3), mRect(0, 0, 4, 4), mPoint(0, 0), mFPoint(0, 0), turn);
    target->copy(runs.get(), mRect(2, 2, 2, 5), mRect(0, 0, 4, 4), mPoint(0, 0), mFPoint(0, 0), turn);
    EXPECT_MERROR(target->copy(runs.get(), mRect(0, 0, 3, 3), mRect(0, 0, 4, 4), mPoint(0, 0), mFPoint(0, 0), turn),
                  "Unsupported transform copy into 8 bit uncompressed image", 0, "mSprite/m8Bit");
    target->copy(nullptr, mRect(0, 0, 3, 3), mRect(0, 0, 4, 4), mPoint(0, 0), mFPoint(0, 0), turn);
}

TEST(TransformCopy, EachSourceSkipsItsOwnBackground) {
    mPalette palette = plainPalette();
    const mTransform twice(0, 0, 2, 2);
    // Without a transparent value, an 8-bit source skips its first stored pixel, the
    // bottom-left one; with one, that value.
    Owned<m8Bit> plain = make8(2, 2, &palette, [](long x, long y) { return x + y * 2 + 1; });
    EXPECT_EQ("1122\n1122\n..44\n..44\n", picture(*drawn(*plain, twice), 0));
    plain->setTransparent(2);
    EXPECT_EQ("11..\n11..\n3344\n3344\n", picture(*drawn(*plain, twice), 0));

    // 15-bit pixels reach an 8-bit target through its mapping table.
    const std::vector<mColor> colors = plainColors();
    Owned<m15Bit> wide = make15(2, 1, [&](long x, long) { return colors[x ? red : green].getRGB15(); });
    Owned<m8Bit> target(new m8Bit(mSize(4, 2), &palette));
    const mRect all(0, 0, 4, 2), whole(0, 0, 2, 1);
    EXPECT_MERROR(target->copy(wide.get(), all, whole, mPoint(0, 0), mFPoint(0, 0), twice),
                  "m8Bit::setMapping() not called before copy 15 bit source", 0, "mSprite/m8Bit");
    target->setMapping(&palette, mColor(true));
    target->copy(wide.get(), all, whole, mPoint(0, 0), mFPoint(0, 0), twice);
    EXPECT_EQ("3322\n3322\n", picture(*target, 0)) << "without transparency every pixel is drawn";
    target->fill(mColor(0, 0, 0));
    wide->setTransparent(colors[red]);
    target->copy(wide.get(), all, whole, mPoint(0, 0), mFPoint(0, 0), twice);
    EXPECT_EQ("33..\n33..\n", picture(*target, 0));

    // Into 15 bits: a 15-bit source skips its transparent word, or its first stored one.
    Owned<m15Bit> deep(new m15Bit(mSize(4, 2)));
    wide->setTransparent(mColor(true));
    deep->copy(wide.get(), all, whole, mPoint(0, 0), mFPoint(0, 0), twice);
    EXPECT_EQ(0, px15(*deep, 0, 0));
    EXPECT_EQ(colors[red].getRGB15(), px15(*deep, 3, 1));
    wide->setTransparent(colors[red]);
    std::memset(const_cast<void *>(deep->getData()), 0, head(*deep).dataSize);
    deep->copy(wide.get(), all, whole, mPoint(0, 0), mFPoint(0, 0), twice);
    EXPECT_EQ(colors[green].getRGB15(), px15(*deep, 1, 1));
    EXPECT_EQ(0, px15(*deep, 2, 0));

    // An 8-bit source goes through the target's table and skips its first stored pixel,
    // whatever its own transparent value says.
    Owned<m8Bit> indices = make8(2, 1, &palette, [](long x, long) { return x ? blue : yellow; });
    indices->setTransparent(blue);
    std::memset(const_cast<void *>(deep->getData()), 0, head(*deep).dataSize);
    EXPECT_MERROR(deep->copy(indices.get(), all, whole, mPoint(0, 0), mFPoint(0, 0), twice),
                  "Conversion palette required for 8 bit to 15 bit image copy", 0, "mSprite/m15Bit");
    deep->setMapping(&palette, mColor(true));
    deep->copy(indices.get(), all, whole, mPoint(0, 0), mFPoint(0, 0), twice);
    EXPECT_EQ(0, px15(*deep, 0, 0));
    EXPECT_EQ(colors[blue].getRGB15(), px15(*deep, 2, 1));

    Owned<m8BitRLE> runs(new m8BitRLE(*plain));
    EXPECT_MERROR(deep->copy(runs.get(), all, whole, mPoint(0, 0), mFPoint(0, 0), twice),
                  "Unsupported transform copy into 15 bit uncompressed image", 0, "mSprite/m15Bit");
    deep->copy(runs.get(), mRect(4, 0, 8, 2), whole, mPoint(0, 0), mFPoint(0, 0), twice);
}

// Random transforms, areas, clips and places, with source and target blocks fenced by
// inaccessible pages: nothing is read or written outside them, and nothing outside the area.
template <class Target, class Pixel, class Source>
void fuzzCopies(Source &source, const std::function<Target *(const mSize &, bool)> &makeTarget, unsigned seed) {
    Lcg rng(seed);
    const mSize s = source.getSize();
    for (int round = 0; round < 400; ++round) {
        const mSize size(rng.in(1, 40), rng.in(1, 30));
        std::unique_ptr<Target, FreeImage> target(makeTarget(size, round & 1));
        for (long y = 0; y < size.cy; ++y)
            for (long x = 0; x < size.cx; ++x)
                reinterpret_cast<Pixel *>(row8(*target, y))[x] = (Pixel)(0xEE);
        const mTransform t((float)rng.in(-400, 400), (float)rng.in(-80, 80), rng.in(1, 40) / 10.0f * (rng.in(0, 1) ? 1 : -1),
                           rng.in(1, 40) / 10.0f);
        const mRect area = randomRect(rng, size.cx, size.cy);
        const mRect clip = randomRect(rng, s.cx, s.cy);
        const mPoint at(rng.in(-60, 60), rng.in(-60, 60));
        const mFPoint origin((float)rng.in(-50, 50), (float)rng.in(-50, 50));
        target->copy(&source, area, clip, at, origin, t);
        mRect inside = area;
        inside &= mRect(0, 0, size.cx, size.cy);
        for (long y = 0; y < size.cy; ++y)
            for (long x = 0; x < size.cx; ++x)
                if (!inside.hasPoint(mPoint(x, y))) {
                    ASSERT_EQ(0xEE, reinterpret_cast<Pixel *>(row8(*target, y))[x]) << "round " << round;
                }
    }
}

TEST(TransformCopy, NeverReadsOrWritesOutsideItsImages) {
    mPalette palette = plainPalette();
    for (bool atEnd : {false, true}) {
        Guarded<m8Bit> source8(atEnd, mSize(13, 9), &palette);
        for (long y = 0; y < 9; ++y)
            for (long x = 0; x < 13; ++x)
                px8(source8, x, y) = (unsigned char)(1 + (x + y) % 15);
        Guarded<m15Bit> source15(atEnd, mSize(11, 7));
        for (long y = 0; y < 7; ++y)
            for (long x = 0; x < 11; ++x)
                px15(source15, x, y) = (unsigned short)(x * 1000 + y);

        auto target8 = [&](const mSize &size, bool end) {
            Guarded<m8Bit> *t = new Guarded<m8Bit>(end, size, &palette);
            t->setMapping(&palette, mColor(true));
            return static_cast<m8Bit *>(t);
        };
        auto target15 = [&](const mSize &size, bool end) {
            Guarded<m15Bit> *t = new Guarded<m15Bit>(end, size);
            t->setMapping(&palette, mColor(true));
            return static_cast<m15Bit *>(t);
        };
        fuzzCopies<m8Bit, unsigned char>(source8, target8, 11 + atEnd);
        fuzzCopies<m8Bit, unsigned char>(source15, target8, 21 + atEnd);
        fuzzCopies<m15Bit, unsigned short>(source15, target15, 31 + atEnd);
        fuzzCopies<m15Bit, unsigned short>(source8, target15, 41 + atEnd);
    }
}

// ---- Transformed hit tests.

TEST(TransformHit, FollowsTheTurnedImage) {
    // An 8-bit image is solid where it differs from its first stored pixel.
    Owned<m8Bit> image = make8(4, 3, nullptr, [](long x, long y) { return x == 0 && y == 2 ? 7 : (x == 3 ? 7 : 1); });
    image->setTransparent(1);
    const mRect frame(0, 0, 4, 3);
    const mTransform identity;
    EXPECT_FALSE(image->isSolid(mPoint(0, 2), frame, mFPoint(0, 0), identity));
    EXPECT_FALSE(image->isSolid(mPoint(3, 0), frame, mFPoint(0, 0), identity));
    EXPECT_TRUE(image->isSolid(mPoint(1, 1), frame, mFPoint(0, 0), identity)) << "its transparent value plays no part";
    EXPECT_FALSE(image->isSolid(mPoint(4, 1), frame, mFPoint(0, 0), identity));
    EXPECT_FALSE(image->isSolid(mPoint(-1, 1), frame, mFPoint(0, 0), identity));

    // A quarter turn: point (x, y) of the box is taken back as it is, not as a pixel's
    // centre, and reads source point (y, 3 - x).
    const Placed p(mTransform(90, 0, 1, 1), image->getSize());
    for (long y = 0; y < 4; ++y) {
        for (long x = 0; x < 3; ++x) {
            const bool expected = image->isSolid(mPoint(y, 3 - x), frame, mFPoint(0, 0), identity);
            EXPECT_EQ(expected, image->isSolid(mPoint(x, y), frame, p.origin, p.t)) << x << "," << y;
        }
    }
    EXPECT_TRUE(image->isSolid(mPoint(1, 1), frame, p.origin, p.t));
    EXPECT_FALSE(image->isSolid(mPoint(0, 1), frame, p.origin, p.t));

    // A frame larger than the image never reads past it.
    EXPECT_FALSE(image->isSolid(mPoint(10, 10), mRect(0, 0, 40, 40), mFPoint(0, 0), identity));
    EXPECT_FALSE(image->isSolid(mPoint(1, 0), frame, mFPoint(0, 0), mTransform(0, 0, 1e-30f, 1)));

    // A 15-bit image is solid everywhere in the frame without transparency, and otherwise
    // where it differs from its transparent word.
    Owned<m15Bit> wide = make15(3, 2, [](long x, long) { return x == 1 ? 0x1234 : 0x0042; });
    const mRect wideFrame(0, 0, 3, 2);
    EXPECT_TRUE(wide->isSolid(mPoint(1, 0), wideFrame, mFPoint(0, 0), identity));
    EXPECT_FALSE(wide->isSolid(mPoint(3, 0), wideFrame, mFPoint(0, 0), identity));
    wide->setTransparent();
    EXPECT_FALSE(wide->isSolid(mPoint(0, 0), wideFrame, mFPoint(0, 0), identity));
    EXPECT_TRUE(wide->isSolid(mPoint(1, 1), wideFrame, mFPoint(0, 0), identity));
    const mTransform doubled(0, 0, 2, 2);
    EXPECT_TRUE(wide->isSolid(mPoint(3, 3), wideFrame, mFPoint(0, 0), doubled));
    EXPECT_FALSE(wide->isSolid(mPoint(4, 3), wideFrame, mFPoint(0, 0), doubled));
}

} // namespace
