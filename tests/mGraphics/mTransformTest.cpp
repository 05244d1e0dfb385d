// Transforms: the matrices and their constants, and transformed copies and hit tests checked
// pixel for pixel on small images.
#include "ExpectError.h"
#include "SurfaceKit.h"

#include <cmath>
#include <string>

namespace {

const double truncatedDegree = 0.017453292519444445;

// ---- The map itself.

// Rotation first, then the shear, then the scales: checked against the three maps applied
// one after the other, and the inverse against the way back. The default is the identity.
TEST(Transform, RotatesThenShearsThenScalesAndInverseUndoesIt) {
    const float scales[][2] = {{1, 1}, {2, 3}, {0.5f, -1.5f}, {-2, 0.75f}};
    for (float rotation : {0.0f, 17.0f, 90.0f, 123.4f, 270.0f, 359.0f}) {
        for (float shear : {-70.0f, -30.0f, 0.0f, 45.0f, 70.0f}) {
            for (const auto &scale : scales) {
                const mTransform t(rotation, shear, scale[0], scale[1]);
                const double r = rotation * truncatedDegree, tangent = std::tan(shear * truncatedDegree);
                for (const mFPoint &p : {mFPoint(5, -2), mFPoint(-33.5f, 12), mFPoint(0.25f, 0.75f)}) {
                    const double rx = std::cos(r) * p.x - std::sin(r) * p.y, ry = std::sin(r) * p.x + std::cos(r) * p.y;
                    const mFPoint q = t.transform(p), back = t.inverse(q);
                    const std::string where = std::to_string(rotation) + " " + std::to_string(shear);
                    EXPECT_NEAR(scale[0] * rx, q.x, 1e-3) << where;
                    EXPECT_NEAR(scale[1] * (ry + tangent * rx), q.y, 1e-3) << where;
                    EXPECT_NEAR(p.x, back.x, 1e-3) << where;
                    EXPECT_NEAR(p.y, back.y, 1e-3) << where;
                }
            }
        }
    }
    // Degrees become radians by 3.1415926535 / 180: cos of 90 degrees is then 4.49e-11; by
    // the full value of pi it would be 6e-17.
    const mFPoint p = mTransform(90, 0, 1, 1).transform(mFPoint(1, 0));
    EXPECT_NEAR(4.4897e-11, p.x, 1e-14);
    EXPECT_FLOAT_EQ(1.0f, p.y);
    EXPECT_NEAR(10.0f, mTransform(0, 45, 1, 1).getShearDelta(10), 1e-5);
}

TEST(Transform, AnglesAreKeptInRange) {
    const struct {
        float given, rotation, shear;
    } cases[] = {{-90, 270, -70}, {720, 0, 70}, {370, 10, 70}, {360, 0, 70}, {-12.5f, 347.5f, -12.5f}, {-350, 10, -70}};
    for (const auto &c : cases) {
        mTransform t;
        t.setRotation(c.given);
        t.setShear(c.given);
        EXPECT_EQ(c.rotation, t.getRotation()) << c.given;
        EXPECT_EQ(c.shear, t.getShear()) << c.given;
        EXPECT_EQ(c.rotation, mTransform(c.given, 0, 1, 1).getRotation()) << c.given;
    }

    // Absurd angles end in range instead of counting turns for ever.
    mTransform t;
    for (float absurd : {1e30f, -3e20f, INFINITY, NAN}) {
        t.setRotation(absurd);
        EXPECT_GE(t.getRotation(), 0.0f);
        EXPECT_LT(t.getRotation(), 360.0f);
    }
    t.setShear(NAN);
    EXPECT_GE(t.getShear(), -70.0f);
    EXPECT_LE(t.getShear(), 70.0f);
}

TEST(Transform, RoundingAndBoxes) {
    const struct {
        float v;
        int rounded;
    } rounding[] = {{2.5f, 3}, {-2.5f, -3}, {0.49f, 0}, {0.49999997f, 0}, {-0.5f, -1}, {1.9f, 2}};
    for (const auto &r : rounding)
        EXPECT_EQ(r.rounded, mTransform::round(r.v)) << r.v;

    EXPECT_EQ(mSize(50, 100), mTransform(90, 0, 1, 1).newSize(mSize(100, 50)));
    EXPECT_EQ(mSize(100, 50), mTransform(180, 0, 1, 1).newSize(mSize(100, 50)));
    EXPECT_EQ(mSize(200, 25), mTransform(0, 0, 2, 0.5f).newSize(mSize(100, 50)));
    EXPECT_EQ(mSize(71, 71), mTransform(45, 0, 1, 1).newSize(mSize(50, 50)));

    // Widened by half a pixel, then cut toward zero: a smallest x of 0.2 gives 0, not -1.
    EXPECT_EQ(mRect(0, 0, 1, 10), mTransform(0, 0, 0.1f, 1).intBounds(mRect(2, 0, 12, 10)));
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

Owned<m8Bit> drawn(const mBitMap &source, const mTransform &t) {
    const Placed p(t, source.getSize());
    Owned<m8Bit> target(new m8Bit(p.size, nullptr));
    std::memset(const_cast<void *>(target->getData()), 0, head(*target).dataSize);
    target->copy(&source, mRect(0, 0, p.size.cx, p.size.cy), mRect(0, 0, source.getSize().cx, source.getSize().cy),
                 mPoint(0, 0), p.origin, t);
    return target;
}

// Pictures worked out by hand: the x axis turns toward +y, downward on the screen; a scale of
// two doubles each pixel; a shear moves each column down by its distance from the left.
TEST(TransformCopy, SmallCopiesLandPixelForPixel) {
    Owned<m8Bit> wide = numbered(5, 3), square = numbered(3, 3), flat = numbered(3, 2);
    const struct {
        m8Bit *source;
        mTransform t;
        const char *picture;
    } cases[] = {
        {wide.get(), mTransform(), "12345\n6789:\n;<=>?\n"},
        {wide.get(), mTransform(90, 0, 1, 1), ";61\n<72\n=83\n>94\n?:5\n"},
        {wide.get(), mTransform(180, 0, 1, 1), "?>=<;\n:9876\n54321\n"},
        {wide.get(), mTransform(270, 0, 1, 1), "5:?\n49>\n38=\n27<\n16;\n"},
        {flat.get(), mTransform(0, 0, 2, 2), "112233\n112233\n445566\n445566\n"},
        {flat.get(), mTransform(0, 0, 2, 1), "112233\n445566\n"},
        {square.get(), mTransform(0, 45, 1, 1), "1..\n42.\n753\n.86\n..9\n...\n"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(c.picture, picture(*drawn(*c.source, c.t), 0))
            << "rotation " << c.t.getRotation() << " shear " << c.t.getShear() << " scale " << c.t.getScaleX();
}

// The walk divides by 0.999 of each length, so that the identity steps 65601 rather than
// 65536: column x reads column trunc(x * 65601 / 65536), the last column of a small image is
// reached from inside, and past a thousand pixels the walker leaves before the last column.
TEST(TransformCopy, TheIdentityStepsAThousandthLong) {
    const mTransformWalk walk(mRect(0, 0, 100, 100), mRect(0, 0, 100, 100), mSize(100, 100), mPoint(0, 0),
                              mFPoint(0, 0), mTransform());
    EXPECT_EQ(65601, walk.colStepX);
    EXPECT_EQ(65601, walk.rowStepY);
    EXPECT_EQ(0, walk.rowStepX | walk.colStepY | walk.col | walk.row);

    const long w = 1100;
    Owned<m8Bit> wide = make8(w, 2, nullptr, [](long x, long y) { return x % 200 + 1 + y; });
    wide->setTransparent(0);
    Owned<m8Bit> target(new m8Bit(mSize(w, 2), nullptr));
    target->copy(wide.get(), mRect(0, 0, w, 2), mRect(0, 0, w, 2), mPoint(0, 0), mFPoint(0, 0), mTransform());
    for (long y = 0; y < 2; ++y)
        for (long x = 0; x < w - 1; ++x)
            ASSERT_EQ(px8(*wide, x * 65601 / 65536, y), px8(*target, x, y)) << x << "," << y;
    EXPECT_EQ(0, px8(*target, w - 1, 0));
}

TEST(TransformCopy, AreaAndClipBoundTheCopy) {
    Owned<m8Bit> source = numbered(4, 4);
    const mTransform turn(90, 0, 1, 1);
    const Placed p(turn, source->getSize());
    Owned<m8Bit> target(new m8Bit(mSize(5, 4), nullptr));
    // Only the area is repainted, at the box's place in the target.
    target->copy(source.get(), mRect(2, 1, 4, 3), mRect(0, 0, 4, 4), mPoint(1, 1), p.origin, turn);
    EXPECT_EQ(".....\n"
              "..95.\n"
              "..:6.\n"
              ".....\n",
              picture(*target, 0));

    // The clip's left edge and its bottom land on the box's left edge and top: rows count
    // from the bottom of the image, so that clip (1, 1, 3, 3) reads columns 1 and 2 of the
    // second and third rows from the bottom, and shows them upside up from the box's top.
    Owned<m8Bit> clipped(new m8Bit(mSize(4, 4), nullptr));
    clipped->copy(source.get(), mRect(0, 0, 4, 4), mRect(1, 1, 3, 3), mPoint(0, 1), mFPoint(0, 0), mTransform());
    EXPECT_EQ("....\n"
              "67..\n"
              ":;..\n"
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
    const std::vector<mColor> colors = plainColors();
    Owned<m8Bit> plain = make8(2, 2, &palette, [](long x, long y) { return x + y * 2 + 1; });
    Owned<m8Bit> indices = make8(2, 1, &palette, [](long x, long) { return x ? blue : yellow; });
    Owned<m15Bit> wide = make15(2, 1, [&](long x, long) { return colors[x ? red : green].getRGB15(); });
    Owned<m8BitRLE> runs(new m8BitRLE(*plain));
    Owned<m8Bit> target(new m8Bit(mSize(4, 2), &palette));
    Owned<m15Bit> deep(new m15Bit(mSize(4, 2)));
    const mTransform twice(0, 0, 2, 2);
    const auto copyTwice = [&](mBitMap &to, const mBitMap &from) {
        std::memset(const_cast<void *>(to.getData()), 0, head(to).dataSize);
        to.copy(&from, mRect(0, 0, 4, 2), mRect(0, 0, 2, 1), mPoint(0, 0), mFPoint(0, 0), twice);
        return picture(to, 0);
    };
    // Conversions need their tables, and a run-length image cannot be drawn through a transform.
    EXPECT_MERROR(copyTwice(*target, *wide), "m8Bit::setMapping() not called before copy 15 bit source", 0,
                  "mSprite/m8Bit");
    EXPECT_MERROR(copyTwice(*deep, *indices), "Conversion palette required for 8 bit to 15 bit image copy", 0,
                  "mSprite/m15Bit");
    target->setMapping(&palette, mColor(true));
    deep->setMapping(&palette, mColor(true));
    EXPECT_MERROR(copyTwice(*deep, *runs), "Unsupported transform copy into 15 bit uncompressed image", 0,
                  "mSprite/m15Bit");

    // Without a transparent value, an 8-bit source skips its first stored pixel, the
    // bottom-left one; with one, that value.
    EXPECT_EQ("1122\n1122\n..44\n..44\n", picture(*drawn(*plain, twice), 0));
    plain->setTransparent(2);
    EXPECT_EQ("11..\n11..\n3344\n3344\n", picture(*drawn(*plain, twice), 0));
    // A 15-bit source without transparency: into 8 bits through the mapping table, every
    // pixel; into 15 bits, all but its first stored word. With transparency, its word.
    EXPECT_EQ("3322\n3322\n", copyTwice(*target, *wide));
    EXPECT_EQ("..22\n..22\n", copyTwice(*deep, *wide));
    wide->setTransparent(colors[red]);
    EXPECT_EQ("33..\n33..\n", copyTwice(*target, *wide));
    EXPECT_EQ("33..\n33..\n", copyTwice(*deep, *wide));
    // An 8-bit source goes through the target's table and skips its first stored pixel,
    // whatever its own transparent value says.
    indices->setTransparent(blue);
    EXPECT_EQ("..44\n..44\n", copyTwice(*deep, *indices));
    deep->copy(runs.get(), mRect(4, 0, 8, 2), mRect(0, 0, 2, 1), mPoint(0, 0), mFPoint(0, 0), twice);
}

// A fenced target of either depth; an 8-bit one starts without colours.
Guarded<m8Bit> *newGuarded(bool atEnd, const mSize &size, m8Bit *) {
    return new Guarded<m8Bit>(atEnd, size, (const mPalette *)nullptr);
}
Guarded<m15Bit> *newGuarded(bool atEnd, const mSize &size, m15Bit *) { return new Guarded<m15Bit>(atEnd, size); }

// Random transforms, areas, clips and places, with source and target blocks fenced by
// inaccessible pages: nothing is read or written outside them, and nothing outside the area.
template <class Target, class Pixel>
void fuzzCopies(const mBitMap &source, const mPalette &palette, unsigned seed) {
    Lcg rng(seed);
    const mSize s = source.getSize();
    for (int round = 0; round < 400; ++round) {
        const mSize size(rng.in(1, 40), rng.in(1, 30));
        std::unique_ptr<Guarded<Target>> target(newGuarded(round & 1, size, (Target *)nullptr));
        target->setMapping(&palette, mColor(true));
        std::memset(const_cast<void *>(target->getData()), 0xEE, head(*target).dataSize);
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
                    ASSERT_EQ((Pixel)0xEEEE, reinterpret_cast<Pixel *>(row8(*target, y))[x]) << "round " << round;
                }
    }
}

TEST(TransformCopy, NeverReadsOrWritesOutsideItsImages) {
    mPalette palette = plainPalette();
    for (bool atEnd : {false, true}) {
        Guarded<m8Bit> source8(atEnd, mSize(13, 9), &palette);
        Guarded<m15Bit> source15(atEnd, mSize(11, 7));
        for (mBitMap *source : {(mBitMap *)&source8, (mBitMap *)&source15}) {
            unsigned char *bytes = static_cast<unsigned char *>(const_cast<void *>(source->getData()));
            for (long i = 0; i < head(*source).dataSize; ++i)
                bytes[i] = (unsigned char)(1 + i % 15);
        }
        fuzzCopies<m8Bit, unsigned char>(source8, palette, 11 + atEnd);
        fuzzCopies<m8Bit, unsigned char>(source15, palette, 21 + atEnd);
        fuzzCopies<m15Bit, unsigned short>(source15, palette, 31 + atEnd);
        fuzzCopies<m15Bit, unsigned short>(source8, palette, 41 + atEnd);
    }
}

// ---- Transformed hit tests.

// The hit test at each point of a box of `size`: rows of '#' where solid, '.' where not.
std::string hits(mBitMap &image, const mSize &size, const mFPoint &origin, const mTransform &t) {
    const mRect frame(0, 0, image.getSize().cx, image.getSize().cy);
    std::string out;
    for (long y = 0; y < size.cy; ++y) {
        for (long x = 0; x < size.cx; ++x)
            out += image.isSolid(mPoint(x, y), frame, origin, t) ? '#' : '.';
        out += '\n';
    }
    return out;
}

TEST(TransformHit, FollowsTheTurnedImage) {
    // An 8-bit image is solid where it differs from its first stored pixel, the bottom-left
    // one; its transparent value plays no part. A box wider than the image reads nothing past it.
    Owned<m8Bit> image = make8(4, 3, nullptr, [](long x, long y) { return x == 3 || (x == 0 && y == 2) ? 7 : 1; });
    image->setTransparent(1);
    EXPECT_EQ("###..\n###..\n.##..\n", hits(*image, mSize(5, 3), mFPoint(0, 0), mTransform()));
    EXPECT_FALSE(image->isSolid(mPoint(-1, 1), mRect(0, 0, 4, 3), mFPoint(0, 0), mTransform()));
    EXPECT_FALSE(image->isSolid(mPoint(10, 10), mRect(0, 0, 40, 40), mFPoint(0, 0), mTransform()));
    EXPECT_FALSE(image->isSolid(mPoint(1, 0), mRect(0, 0, 4, 3), mFPoint(0, 0), mTransform(0, 0, 1e-30f, 1)));

    // A quarter turn: point (x, y) of the box is taken back as it is, not as a pixel's
    // centre, and reads source point (y, 3 - x); the first column falls outside.
    const Placed p(mTransform(90, 0, 1, 1), image->getSize());
    EXPECT_EQ("..#\n.##\n.##\n...\n", hits(*image, mSize(3, 4), p.origin, p.t));

    // A 15-bit image is solid everywhere in the frame without transparency, and otherwise
    // where it differs from its transparent word.
    Owned<m15Bit> wide = make15(3, 2, [](long x, long) { return x == 1 ? 0x1234 : 0x0042; });
    EXPECT_EQ("###.\n###.\n", hits(*wide, mSize(4, 2), mFPoint(0, 0), mTransform()));
    wide->setTransparent();
    EXPECT_EQ(".#.\n.#.\n", hits(*wide, mSize(3, 2), mFPoint(0, 0), mTransform()));
    EXPECT_EQ("..##..\n..##..\n..##..\n..##..\n", hits(*wide, mSize(6, 4), mFPoint(0, 0), mTransform(0, 0, 2, 2)));
}

} // namespace
